#pragma once
// Rules. For now a rule is a named component bound to an engine; patterns,
// actions, salience and firing come with rules.

#include <string>

#include "cogent/facts/KBModule.h"

namespace cogent {

class TRule : public TComponent {
public:
  explicit TRule(TComponent* AOwner) : TComponent(AOwner) {}
  // A rule destroyed by its owner leaves its engine's current rule table
  // itself: by the time the engine hears of it the object is no rule any more.
  ~TRule() override;

  const TKBName& GetRuleName() const noexcept { return FRuleName; }
  void SetRuleName(const TKBName& Value) {
    if (Value == FRuleName) return;
    CheckKBName(Value);
    FRuleName = Value;
  }
  TComponent* GetEngine() const noexcept { return FEngine; }
  virtual void SetEngine(TComponent* Value) { FEngine = Value; }
  // Forgets what firing left on the rule.
  virtual void Reset() {}
  // The compilation trace of the rule.
  virtual std::string GetCompilation() const { return {}; }
  std::string ToString() const override { return FRuleName; }

private:
  TKBName FRuleName;
  TComponent* FEngine = nullptr;
};

}  // namespace cogent
