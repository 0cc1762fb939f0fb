#pragma once
// Helpers shared by the function packages' tests: calls are written in the
// rule language and run by the engine in its global context, as a host runs
// them.

#include <string>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

namespace cogent::test {

// The kind and the printed form of what the call gives: "dtInteger 3";
// "none" when it gives no value, "nil" for the shared nil itself.
inline std::string Show(const IKBValue& Value) {
  if (!Value) return "none";
  if (Value == FCNil) return "nil";
  return GetKBTypeName(Value->GetDType()) + " " + Value->GetToString();
}

inline std::string Eval(TInferenceEngine& Engine, const std::string& Call) {
  return Show(Engine.ParseNExecuteFunCall(Call));
}

// The message of the error that the call raises.
inline std::string ErrorOfCall(TInferenceEngine& Engine, const std::string& Call) {
  return ErrorOf([&] { Engine.ParseNExecuteFunCall(Call); });
}

// A host function that counts its calls and gives Value, so that tests see
// which arguments a function evaluated.
inline void AddCounter(TInferenceEngine& Engine, const std::string& Name, int& Count, IKBValue Value) {
  auto* Function = new TUserFunction(&Engine, Name);
  Function->OnCall = [&Count, Value](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) {
    ++Count;
    Result = Value;
  };
  Function->SetEngine(&Engine);
}

inline void SetVariable(TInferenceEngine& Engine, const std::string& Name, const IKBValue& Value) {
  Engine.GetGlobalContext()->SetVariable(Name, Value);
}

}  // namespace cogent::test
