#pragma once
// Helpers shared by the engine layer's tests.

#include <string>
#include <vector>

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

// Standard output gathered as one text with the ids it came under; the
// parser's echo is off, so that only what a program prints shows.
struct TConsole {
  explicit TConsole(TInferenceEngine& Engine) {
    Engine.GetParser()->SetEcho(false);
    Engine.OnPrintOut = [this](TObject*, const std::string& Id, const std::string& Text) {
      Ids.push_back(Id);
      Output += Text;
    };
  }
  std::string Output;
  std::vector<std::string> Ids;
};

}  // namespace cogent::test
