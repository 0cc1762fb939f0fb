#include "cogent/engine/InferenceEngine.h"

namespace cogent {

void TInferenceEngine::RenameRule(const TKBName& OldName, const TKBName& NewName) {
  if (!FRules || OldName == NewName) return;
  TRule* Rule = nullptr;
  if (!FRules->TryGetValue(OldName, Rule) || !Rule) return;
  TRule* Other = nullptr;
  if (FRules->TryGetValue(NewName, Other) && Other != Rule) throw EKBException(Format(_SDuplicateRuleNames, NewName));
  // The table is silenced, so that the rule is moved rather than removed
  // (which would free it) and added (which would raise events).
  FRules->SetEngine(nullptr);
  try {
    FRules->ExtractPair(OldName);
    FRules->PutItem(NewName, Rule);
  } catch (...) {
    FRules->SetEngine(this);
    throw;
  }
  FRules->SetEngine(this);
}

void TInferenceEngine::RuleChange(TRule* Rule) {
  if (!FRules || !Rule) return;
  TRule* Stored = nullptr;
  if (!FRules->TryGetValue(Rule->GetRuleName(), Stored) || Stored != Rule) return;
  // The network takes the rule out and compiles it again here once it
  // compiles rules; until then it holds nothing of it.
}

}  // namespace cogent
