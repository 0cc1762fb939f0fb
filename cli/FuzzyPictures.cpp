#include "cli/FuzzyPictures.h"

#include <algorithm>

namespace cogent {

std::vector<IFuzzyVariable> FuzzyVariablesOf(const TInferenceEngine& Engine) {
  std::vector<IFuzzyVariable> Result;
  const TModules* Modules = Engine.GetModules();
  if (!Modules) return Result;
  for (int I = 0; I < Modules->GetCount(); ++I) {
    const IModule Module = Modules->Get(I);
    const TKBDefinedTypes* Types = Module ? Module->GetDefinedTypes() : nullptr;
    if (!Types) continue;
    std::vector<IKBDefinedType> Fuzzy;
    for (const IKBDefinedType& Type : Types->GetValues())
      if (Type && Type->GetFuzzyType()) Fuzzy.push_back(Type);
    // The table's own order is that of its hash codes.
    std::sort(Fuzzy.begin(), Fuzzy.end(), [](const IKBDefinedType& A, const IKBDefinedType& B) {
      return CompareStr(A->GetName(), B->GetName()) < 0;
    });
    for (const IKBDefinedType& Type : Fuzzy) {
      IFuzzyVariable Variable = Type->GetFuzzyType();
      if (std::find(Result.begin(), Result.end(), Variable) == Result.end()) Result.push_back(std::move(Variable));
    }
  }
  return Result;
}

std::vector<std::string> SaveFuzzyPictures(const TInferenceEngine& Engine, const std::string& Dir) {
  return SaveFuzzyVariableSVGs(Dir, FuzzyVariablesOf(Engine));
}

}  // namespace cogent
