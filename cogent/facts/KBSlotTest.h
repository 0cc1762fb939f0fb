#pragma once
// Patterns and slot tests. For now a pattern is its name, its template and its
// place in the rule; the tests come with rules.

#include "cogent/facts/KBFacts.h"

namespace cogent {

class TRule;

class TKBPattern : public TPersistent {
public:
  TKBPattern(TRule* ARule, const TKBName& AName, const IFactTemplate& ATemplate, int AIndex)
      : FRule(ARule), FName(AName), FTemplate(ATemplate), FIndex(AIndex) {}

  TRule* GetRule() const noexcept { return FRule; }
  const TKBName& GetName() const noexcept { return FName; }
  IFactTemplate GetTemplate() const { return FTemplate; }
  int GetIndex() const noexcept { return FIndex; }

private:
  TRule* FRule;
  TKBName FName;
  IFactTemplate FTemplate;
  int FIndex;
};

}  // namespace cogent
