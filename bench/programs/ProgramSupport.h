#pragma once
// What the rule programs of bench/programs/ share in their C++ harness: the
// program's text, a small deterministic random source, and making and
// reading facts through the engine.

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"

namespace cogent::programs {

// A file of bench/programs, read whole. The build names the source tree; a
// harness built without it looks beside this header.
inline std::string ReadProgram(const std::string& FileName) {
#ifdef COGENT_SOURCE_DIR
  const std::string Path = std::string(COGENT_SOURCE_DIR) + "/bench/programs/" + FileName;
#else
  std::string Path = __FILE__;
  Path = Path.substr(0, Path.find_last_of("/\\") + 1) + FileName;
#endif
  std::ifstream Stream(Path, std::ios::binary);
  if (!Stream) throw std::runtime_error("cannot read " + Path);
  std::ostringstream Text;
  Text << Stream.rdbuf();
  return Text.str();
}

// SplitMix64: the same numbers on every platform and library, which the
// distributions of <random> do not promise.
class TRandom {
public:
  explicit TRandom(std::uint64_t Seed) : FState(Seed) {}

  std::uint64_t Next() {
    std::uint64_t Z = (FState += 0x9E3779B97F4A7C15ULL);
    Z = (Z ^ (Z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    Z = (Z ^ (Z >> 27)) * 0x94D049BB133111EBULL;
    return Z ^ (Z >> 31);
  }

  // 0 to Bound - 1; the bias of the modulo is of no account here.
  int Below(int Bound) { return static_cast<int>(Next() % static_cast<std::uint64_t>(Bound)); }

private:
  std::uint64_t FState;
};

inline IKBValue AtomValue(const std::string& Text) { return IKBValue(new TKBValue(Text, dtAtom)); }
inline IKBValue IntValue(std::int32_t Value) { return IKBValue(new TKBValue(Value, dtInteger)); }

// A fact of a template of the program, filled slot by slot.
class TFactBuilder {
public:
  TFactBuilder(TInferenceEngine& Engine, const std::string& Template) : FEngine(Engine) {
    const IFactTemplate Found = Engine.FindFactTemplate(Template);
    if (!Found) throw std::runtime_error("the program has no template " + Template);
    FFact = Found->NewFact();
  }
  TFactBuilder& Set(const std::string& Slot, const std::string& Atom) {
    FFact->SetValue(Slot, AtomValue(Atom));
    return *this;
  }
  TFactBuilder& Set(const std::string& Slot, std::int32_t Value) {
    FFact->SetValue(Slot, IntValue(Value));
    return *this;
  }
  std::int32_t Assert() { return FEngine.Assert(FFact); }

private:
  TInferenceEngine& FEngine;
  IFact FFact;
};

// The facts of working memory made from Template, in fact list order.
inline std::vector<IFact> FactsOf(const TInferenceEngine& Engine, const std::string& Template) {
  std::vector<IFact> Result;
  for (int I = 0; I < Engine.GetFactCount(); ++I) {
    const IFact Fact = Engine.GetFact(I);
    if (Fact && Fact->GetTemplate() && Fact->GetTemplate()->GetTemplateName() == Template) Result.push_back(Fact);
  }
  return Result;
}

inline std::string SlotText(const IFact& Fact, const std::string& Slot) { return Fact->GetValue(Slot)->GetAsString(); }
inline std::int32_t SlotInt(const IFact& Fact, const std::string& Slot) { return Fact->GetValue(Slot)->GetAsInteger(); }

}  // namespace cogent::programs
