#pragma once
// Fuzzy sets that compare with values: what lets a fuzzy slot be matched
// against a number or another set.

#include <string>

#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBFuzzySet : public TIFuzzySet {
public:
  TKBFuzzySet() = default;
  TKBFuzzySet(TFuzzyVariable* Variable, const std::string& Name) : TIFuzzySet(Variable, Name) {}
  TKBFuzzySet(const IFuzzyVariable& Variable, const std::string& Name) : TIFuzzySet(Variable, Name) {}

  // Against a set or a fuzzy value: the curves meet above the threshold.
  // Against an integer or a float: its membership is strictly above the
  // threshold (the variable's; a set without a variable uses the engine's
  // default). Against anything else: false.
  bool Equals(const IInterface& Other) const override;
  // The greatest membership the two have in common, from 0 to 1.
  float FuzzyEquals(const IInterface& Other) override;

  // The value a term was read from, kept while its set cannot be built yet
  // (a shape call whose function is not registered, a fuzzy expression); the
  // evaluation that builds the set reads it from here. Nil for a set that
  // has its points.
  const IKBValue& GetDefinition() const noexcept { return FDefinition; }
  void SetDefinition(const IKBValue& Value) { FDefinition = Value; }

  using TIFuzzySet::Assign;
  // Also takes the definition of another TKBFuzzySet.
  void Assign(TPersistent* Source) override;

protected:
  ~TKBFuzzySet() override = default;
  IFuzzySet NewInstance() const override;

private:
  IKBValue FDefinition;
};

// A fuzzy variable whose sets are TKBFuzzySets.
class TKBFuzzyVariable : public TIFuzzyVariable {
public:
  explicit TKBFuzzyVariable(const std::string& Name = {});

protected:
  ~TKBFuzzyVariable() override = default;
  IFuzzyVariable NewInstance() const override;
};

}  // namespace cogent
