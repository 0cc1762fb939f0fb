#include "cogent/engine/InferenceEngine.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

void TInferenceEngine::RenameRule(const TKBName& OldName, const TKBName& NewName) {
  if (!FCache.Rules || OldName == NewName) return;
  TRule* Rule = nullptr;
  if (!FCache.Rules->TryGetValue(OldName, Rule) || !Rule) return;
  TRule* Other = nullptr;
  if (FCache.Rules->TryGetValue(NewName, Other) && Other != Rule) throw EKBException(Format(_SDuplicateRuleNames, NewName));
  // The table is silenced, so that the rule is moved rather than removed
  // (which would free it) and added (which would raise events).
  FCache.Rules->SetEngine(nullptr);
  try {
    FCache.Rules->ExtractPair(OldName);
    FCache.Rules->PutItem(NewName, Rule);
  } catch (...) {
    FCache.Rules->SetEngine(this);
    throw;
  }
  FCache.Rules->SetEngine(this);
}

void TInferenceEngine::RuleChange(TRule* Rule) {
  if (!FCache.Rules || !Rule) return;
  TRule* Stored = nullptr;
  if (!FCache.Rules->TryGetValue(Rule->GetRuleName(), Stored) || Stored != Rule) return;
  // The network always holds the rule as it stands.
  if (!FCache.Rete) return;
  FCache.Rete->RemoveRule(Rule);
  FCache.Rete->AddRule(Rule);
}

}  // namespace cogent
