#pragma once
// Helpers shared by the language layer's tests.

#include <string>
#include <utility>

#include "../TestErrors.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/language/KBRuleParser.h"

namespace cogent::langtest {

using test::ErrorOf;

inline TKBRuleParser& ParserOf(TInferenceEngine& Engine) { return dynamic_cast<TKBRuleParser&>(*Engine.GetParser()); }

// Collects what the engine prints into Output.
inline void CaptureOutput(TInferenceEngine& Engine, std::string& Output) {
  Engine.OnPrintOut = [&Output](TObject*, const std::string&, const std::string& Text) { Output += Text; };
}

// A host function of the engine, freed with it.
inline void AddFunction(TInferenceEngine& Engine, const std::string& Name, TCallEvent OnCall) {
  auto* Function = new TUserFunction(&Engine, Name);
  Function->OnCall = std::move(OnCall);
  Function->SetEngine(&Engine);
}

inline IModule AddModule(TInferenceEngine& Engine, const std::string& Name) {
  IModule Module(new TModule(&Engine, false));
  Module->SetName(Name);
  Engine.AddModule(Module);
  return Module;
}

}  // namespace cogent::langtest
