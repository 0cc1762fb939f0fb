// The engine's function table as functions see it.

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBPrinter.h"

namespace cogent {

std::string TInferenceEngine::PrettyPrint(const IUserFunction& UserFunction) const {
  return UserFunction ? cogent::PrettyPrint(*UserFunction) : std::string();
}

void TInferenceEngine::AddUserFunction(const IUserFunction& UserFunction) {
  // Nothing enters a table that is gone.
  if (!UserFunction || !FUserFunctions) return;
  FUserFunctions->Add(UserFunction);
}

void TInferenceEngine::RemoveUserFunction(const IUserFunction& UserFunction) {
  if (!UserFunction || !FUserFunctions) return;
  IUserFunction Present;
  if (FUserFunctions->TryGetValue(UserFunction->GetFunctionName(), Present) && Present == UserFunction)
    FUserFunctions->Remove(UserFunction->GetFunctionName());
}

bool TInferenceEngine::ContainsUserFunction(const std::string& Name) const {
  return FUserFunctions && FUserFunctions->ContainsKey(Name);
}

bool TInferenceEngine::ContainsUserFunction(const std::string& Name, IUserFunction& UserFunction) const {
  UserFunction = nullptr;
  return FUserFunctions && FUserFunctions->TryGetValue(Name, UserFunction);
}

IUserFunction TInferenceEngine::GetUserFunction(const std::string& Name) const {
  IUserFunction Result;
  if (FUserFunctions) FUserFunctions->TryGetValue(Name, Result);
  return Result;
}

void TInferenceEngine::SetUserFunction(const std::string& Name, const IUserFunction& UserFunction) {
  if (!FUserFunctions) return;
  if (!UserFunction) {
    FUserFunctions->Remove(Name);
    return;
  }
  FUserFunctions->Put(Name, UserFunction);
}

}  // namespace cogent
