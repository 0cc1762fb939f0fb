#include "cogent/rules/KBRule.h"

#include "cogent/engine/InferenceEngine.h"

namespace cogent {

TRule::~TRule() {
  Destroying();
  if (auto* Engine = dynamic_cast<TInferenceEngine*>(FEngine))
    if (TRules* Rules = Engine->GetRules()) Rules->Remove(FRuleName, this);
}

}  // namespace cogent
