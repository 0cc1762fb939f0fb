// Working memory: asserting, refusing and retracting facts, with duplicate
// checking on. Run with `make bench`.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "cogent/engine/InferenceEngine.h"

namespace cogent {
namespace {

IKBValue Int(std::int32_t Value) { return IKBValue(new TKBValue(Value)); }

struct TWorkingMemory {
  TInferenceEngine Engine;
  IFactTemplate Template;
  std::vector<IFact> Facts;

  explicit TWorkingMemory(std::int64_t Count) {
    Engine.Parse("(deftemplate p (slot a) (slot b) (slot c))", true);
    Template = Engine.FindFactTemplate("p");
    Facts.reserve(static_cast<std::size_t>(Count));
    for (std::int64_t I = 0; I < Count; ++I) {
      const IFact Fact = Template->NewFact();
      Fact->SetValue("a", Int(static_cast<std::int32_t>(I % 1000)));
      Fact->SetValue("b", Int(static_cast<std::int32_t>(I / 1000)));
      Fact->SetValue("c", IKBValue(new TKBValue("x", dtAtom)));
      Facts.push_back(Fact);
    }
  }
};

// Distinct facts, each checked against all that stand before it enters.
void BM_AssertDistinct(benchmark::State& State) {
  for (auto _ : State) {
    State.PauseTiming();
    TWorkingMemory Memory(State.range(0));
    State.ResumeTiming();
    for (const IFact& Fact : Memory.Facts) benchmark::DoNotOptimize(Memory.Engine.Assert(Fact));
    State.PauseTiming();
    Memory.Engine.Clear();
    State.ResumeTiming();
  }
  State.SetItemsProcessed(State.iterations() * State.range(0));
}
BENCHMARK(BM_AssertDistinct)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Every fact again: each is found among N and refused.
void BM_RefuseDuplicates(benchmark::State& State) {
  TWorkingMemory Memory(State.range(0));
  for (const IFact& Fact : Memory.Facts) Memory.Engine.Assert(Fact);
  std::vector<IFact> Copies;
  for (const IFact& Fact : Memory.Facts) Copies.push_back(Fact->Clone());
  for (auto _ : State)
    for (const IFact& Fact : Copies) benchmark::DoNotOptimize(Memory.Engine.Assert(Fact));
  State.SetItemsProcessed(State.iterations() * State.range(0));
}
BENCHMARK(BM_RefuseDuplicates)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Asserting N facts, then retracting them oldest first.
void BM_AssertRetract(benchmark::State& State) {
  for (auto _ : State) {
    State.PauseTiming();
    TWorkingMemory Memory(State.range(0));
    State.ResumeTiming();
    for (const IFact& Fact : Memory.Facts) Memory.Engine.Assert(Fact);
    for (const IFact& Fact : Memory.Facts) Memory.Engine.Retract(Fact);
  }
  State.SetItemsProcessed(State.iterations() * State.range(0));
}
BENCHMARK(BM_AssertRetract)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace cogent
