#pragma once
// Helpers shared by the engine layer's tests.

#include <string>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

namespace cogent::test {

// A module of the engine under its name; the current module stays current.
inline IModule AddModule(TInferenceEngine& Engine, const std::string& Name) {
  IModule Module(new TModule(&Engine, false));
  Module->SetName(Name);
  Engine.AddModule(Module);
  return Module;
}

// Stands for a function defined in the rule language, which Clear takes away.
class TInterpretedStub : public TKBUserFunction {
public:
  using TKBUserFunction::TKBUserFunction;
  bool IsInterpreted() const override { return true; }
};

}  // namespace cogent::test
