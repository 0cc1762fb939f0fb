// The agenda: activations of many saliences placed by conflict resolution and
// stood down again in an order of their own.
//
// K single-pattern rules s-k: (p (b k)) with salience k. N p facts, each with
// a b drawn from 0 .. K-1, go through the network as the engine sends them on
// Assert, so that each makes one activation; then they are retracted in
// another drawn order, each retraction standing down its activation from
// somewhere inside the agenda. The strategy is depth-first (0) or
// breadth-first (1). Every case checks the agenda count and stops with an
// error when it is wrong. Run with
// `make bench BENCH_ARGS=--benchmark_filter=Agenda`.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "../tests/matching/ReteTestSupport.h"
#include "BenchSupport.h"

namespace cogent {
namespace {

using test::Int;

void BM_AgendaMixedSalience(benchmark::State& State) {
  const std::int32_t K = static_cast<std::int32_t>(State.range(0));
  const std::int32_t N = static_cast<std::int32_t>(State.range(1));
  TInferenceEngine Engine;
  Engine.SetStrategy(State.range(2) != 0 ? ssBreadthFirst : ssDepthFirst);
  Engine.Parse("(deftemplate p (slot a) (slot b))", true);
  test::TRuleBuilder R(Engine);
  for (std::int32_t S = 0; S < K; ++S)
    R.Rule("s-" + std::to_string(S), R.Pattern("p", {{"b", Int(S)}}))->SetSalience(S);

  std::mt19937 Random(42);
  std::vector<IFact> Facts;
  const IFactTemplate Template = Engine.FindFactTemplate("p");
  for (std::int32_t I = 0; I < N; ++I) {
    const IFact Fact = Template->NewFact();
    Fact->SetValue("a", Int(I));
    Fact->SetValue("b", Int(std::uniform_int_distribution<std::int32_t>(0, K - 1)(Random)));
    Fact->SetID(I + 1);
    Facts.push_back(Fact);
  }
  std::vector<IFact> Retractions = Facts;
  std::shuffle(Retractions.begin(), Retractions.end(), Random);

  TReteNetwork* Rete = Engine.GetRete();
  for (auto _ : State) {
    for (const IFact& Fact : Facts) Rete->ProcessToken(IReteToken(new TKBToken(taAdd, Fact)));
    if (!bench::CheckAgendaCount(State, Engine, N, "after the assertions")) break;
    for (const IFact& Fact : Retractions) Rete->ProcessToken(IReteToken(new TKBToken(taRemove, Fact)));
    if (!bench::CheckAgendaCount(State, Engine, 0, "after the retractions")) break;
  }
  State.SetItemsProcessed(State.iterations() * static_cast<std::int64_t>(N));
}
BENCHMARK(BM_AgendaMixedSalience)
    ->ArgNames({"K", "N", "breadth"})
    ->ArgsProduct({{10}, {10000, 100000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

// One rule of one salience: every activation goes to the front (depth-first)
// or the back (breadth-first), and the run fires them all from the top; the
// facts then leave the network.
void BM_AgendaFireAll(benchmark::State& State) {
  const std::int32_t N = static_cast<std::int32_t>(State.range(0));
  TInferenceEngine Engine;
  Engine.SetStrategy(State.range(1) != 0 ? ssBreadthFirst : ssDepthFirst);
  Engine.Parse("(deftemplate p (slot a) (slot b))", true);
  test::TRuleBuilder R(Engine);
  R.Rule("one", R.Pattern("p"));
  std::vector<IFact> Facts;
  const IFactTemplate Template = Engine.FindFactTemplate("p");
  for (std::int32_t I = 0; I < N; ++I) {
    const IFact Fact = Template->NewFact();
    Fact->SetValue("a", Int(I));
    Fact->SetID(I + 1);
    Facts.push_back(Fact);
  }
  TReteNetwork* Rete = Engine.GetRete();
  for (auto _ : State) {
    for (const IFact& Fact : Facts) Rete->ProcessToken(IReteToken(new TKBToken(taAdd, Fact)));
    if (!bench::CheckAgendaCount(State, Engine, N, "after the assertions")) break;
    const std::int32_t Fired = Engine.Run();
    if (Fired != N) {
      State.SkipWithError("not every activation fired");
      break;
    }
    // The network forgets the facts; no activation is left to stand down.
    for (const IFact& Fact : Facts) Rete->ProcessToken(IReteToken(new TKBToken(taRemove, Fact)));
  }
  State.SetItemsProcessed(State.iterations() * static_cast<std::int64_t>(N));
}
BENCHMARK(BM_AgendaFireAll)
    ->ArgNames({"N", "breadth"})
    ->ArgsProduct({{100000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace cogent
