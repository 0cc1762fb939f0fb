// Matching: facts through compiled rules, the rules built through the
// programming interface.
//
// Most cases hand the facts to the engine's network as the engine does on
// Assert and Retract, one add or remove token per fact, but leave the fact
// list out: what they measure is the network with the agenda it feeds.
// BM_ReteThroughEngine runs one join through Assert and Retract to show what
// the fact list adds, and BM_ReteBytesPerFact asserts through the engine too.
//
// Facts are retracted oldest first, the order they came in, so the agenda
// stands down activations from its front, where it finds them at once.
//
// Every case checks the agenda against the matches it must hold and stops
// with an error when they differ. Run with
// `make bench BENCH_ARGS=--benchmark_filter=Rete`; COGENT_BENCH_LARGE=1 in the
// environment adds the sizes that take a minute or more each.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "../tests/matching/ReteTestSupport.h"
#include "BenchSupport.h"

namespace cogent {
namespace {

using test::Int;
using test::Var;

// Whether the long-running sizes are wanted.
bool Large() {
  const char* Value = std::getenv("COGENT_BENCH_LARGE");
  return Value && *Value && std::string(Value) != "0";
}

// An engine with the templates every case uses, and the rule builder.
struct TReteBed {
  TInferenceEngine Engine;
  test::TRuleBuilder R{Engine};
  std::int32_t LastId = 0;

  TReteBed() {
    std::string Templates;
    for (const char* Name : {"p", "q", "p1", "p2", "p3", "p4", "p5", "p6"})
      Templates += std::string("(deftemplate ") + Name + " (slot a) (slot b) (slot c))";
    Engine.Parse(Templates, true);
  }

  IFact Fact(const std::string& Template, std::int32_t A, std::int32_t B = 0) {
    const IFact Result = Engine.FindFactTemplate(Template)->NewFact();
    Result->SetValue("a", Int(A));
    Result->SetValue("b", Int(B));
    // The id Assert would give; tokens tell facts apart by it.
    Result->SetID(++LastId);
    return Result;
  }

  // What Assert and Retract send through the network.
  void AssertAll(const std::vector<IFact>& Facts) {
    TReteNetwork* Rete = Engine.GetRete();
    for (const IFact& Fact : Facts) Rete->ProcessToken(IReteToken(new TKBToken(taAdd, Fact)));
  }

  void RetractAll(const std::vector<IFact>& Facts) {
    TReteNetwork* Rete = Engine.GetRete();
    for (const IFact& Fact : Facts) Rete->ProcessToken(IReteToken(new TKBToken(taRemove, Fact)));
  }

  // False, after reporting, when the agenda does not hold Expected activations.
  bool Check(benchmark::State& State, std::int64_t Expected, const char* When) {
    return bench::CheckAgendaCount(State, Engine, Expected, When);
  }
};

// Asserts the facts, checks the agenda, retracts them and checks it again.
void AssertRetract(benchmark::State& State, TReteBed& Bed, const std::vector<IFact>& Facts,
                   std::int64_t Matches, std::int64_t Remaining = 0) {
  for (auto _ : State) {
    Bed.AssertAll(Facts);
    if (!Bed.Check(State, Matches, "after the assertions")) break;
    Bed.RetractAll(Facts);
    if (!Bed.Check(State, Remaining, "after the retractions")) break;
  }
  State.SetItemsProcessed(State.iterations() * static_cast<std::int64_t>(Facts.size()));
}

// ---------------------------------------------------------------- M rules

// M rules r-k: (p (a ?x)) (q (a ?x) (b k)). The first patterns are one class
// node that all rules share; q's class node is shared too and fans out to M
// constant tests on b, each feeding its own join, whose left input is p's
// shared node. N facts: N/2 p with a = i and N/2 q with a = i, b = i mod M,
// in pairs; each q fact completes exactly one rule, so N/2 activations.
void BM_ReteSharedFirstPattern(benchmark::State& State) {
  const std::int32_t M = static_cast<std::int32_t>(State.range(0));
  const std::int32_t N = static_cast<std::int32_t>(State.range(1));
  TReteBed Bed;
  for (std::int32_t K = 0; K < M; ++K)
    Bed.R.Rule("r-" + std::to_string(K), Bed.R.Pattern("p", {{"a", Var("x")}}),
               Bed.R.Pattern("q", {{"a", Var("x")}, {"b", Int(K)}}));
  std::vector<IFact> Facts;
  for (std::int32_t I = 0; I < N / 2; ++I) {
    Facts.push_back(Bed.Fact("p", I));
    Facts.push_back(Bed.Fact("q", I, I % M));
  }
  AssertRetract(State, Bed, Facts, N / 2);
}
// 500 rules over 10^5 facts would store 2.5 * 10^7 left tokens, some
// gigabytes: left out.
BENCHMARK(BM_ReteSharedFirstPattern)
    ->ArgNames({"M", "N"})
    ->Args({1, 10000})
    ->Args({50, 10000})
    ->Args({500, 10000})
    ->Apply([](benchmark::internal::Benchmark* B) {
      if (Large()) B->Args({1, 100000})->Args({50, 100000});
    })
    ->Unit(benchmark::kMillisecond);

// M single-pattern rules s-k: (p (a ?x) (b k)). One shared class node fans out
// to M constant tests on b, one terminal each. N p facts with b = i mod 2M:
// half of them complete one rule, half complete none.
void BM_ReteSharedRoot(benchmark::State& State) {
  const std::int32_t M = static_cast<std::int32_t>(State.range(0));
  const std::int32_t N = static_cast<std::int32_t>(State.range(1));
  TReteBed Bed;
  for (std::int32_t K = 0; K < M; ++K)
    Bed.R.Rule("s-" + std::to_string(K), Bed.R.Pattern("p", {{"a", Var("x")}, {"b", Int(K)}}));
  std::vector<IFact> Facts;
  for (std::int32_t I = 0; I < N; ++I) Facts.push_back(Bed.Fact("p", I, I % (2 * M)));
  AssertRetract(State, Bed, Facts, N / 2);
}
BENCHMARK(BM_ReteSharedRoot)
    ->ArgNames({"M", "N"})
    ->ArgsProduct({{1, 50, 500}, {10000, 100000}})
    ->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- joins

// (p (a ?x)) (q (a ?x)): the join keys both memories by slot a. N facts on
// each side, p and q of the same a in pairs; N activations. The memories have
// as many buckets as the network's hash key says, 101 unless set.
void BM_ReteJoinShortCut(benchmark::State& State) {
  const std::int32_t N = static_cast<std::int32_t>(State.range(0));
  TReteBed Bed;
  Bed.Engine.GetRete()->SetHashKey(static_cast<std::int32_t>(State.range(1)));
  Bed.R.Rule("j", Bed.R.Pattern("p", {{"a", Var("x")}}), Bed.R.Pattern("q", {{"a", Var("x")}}));
  std::vector<IFact> Facts;
  for (std::int32_t I = 0; I < N; ++I) {
    Facts.push_back(Bed.Fact("p", I));
    Facts.push_back(Bed.Fact("q", I));
  }
  AssertRetract(State, Bed, Facts, N);
}
BENCHMARK(BM_ReteJoinShortCut)
    ->ArgNames({"N", "buckets"})
    ->ArgsProduct({{1000, 3000, 10000}, {101}})
    ->ArgsProduct({{10000, 100000}, {10007}})
    ->Apply([](benchmark::internal::Benchmark* B) {
      if (Large()) B->Args({100000, 101});
    })
    ->Unit(benchmark::kMillisecond);

// (p (a ?x)) (q (a ~?x)): no equality to key the memories by, so each token
// is tested against the whole opposite memory. All facts have a = 0 (b tells
// them apart) but the first q, which has a = 1 and so pairs with every p: N
// activations, made in the order of the p facts. pairs_per_second counts the
// p-q pairs the join decides, about N^2 on the way in and N^2 on the way out.
void BM_ReteJoinNoShortCut(benchmark::State& State) {
  const std::int32_t N = static_cast<std::int32_t>(State.range(0));
  TReteBed Bed;
  Bed.R.Rule("j", Bed.R.Pattern("p", {{"a", Var("x")}}), Bed.R.Pattern("q", {{"a", Var("x"), NoSubIndex, true}}));
  std::vector<IFact> Facts;
  for (std::int32_t I = 0; I < N; ++I) {
    Facts.push_back(Bed.Fact("p", 0, I));
    Facts.push_back(Bed.Fact("q", I == 0 ? 1 : 0, I));
  }
  AssertRetract(State, Bed, Facts, N);
  State.counters["pairs"] =
      benchmark::Counter(2.0 * N * N * static_cast<double>(State.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ReteJoinNoShortCut)->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- not and exists

// L p facts with a = i stand in working memory. Each round asserts R q facts
// that reach the next R of them, round k taking a = kR .. kR + R - 1 (mod L),
// and retracts them. Under (p (a ?x)) (not (q (a ?x))) each q fact blocks one
// p and frees it on the way out; under (p (a ?x)) (exists (q (a ?x))) it
// activates one and stands it down. Moving on through the left facts keeps
// the activations a round touches at the front of the agenda. An item is one
// q fact asserted and retracted.
void ChurnRightSide(benchmark::State& State, std::int32_t NotCount) {
  const std::int32_t L = static_cast<std::int32_t>(State.range(0));
  const std::int32_t R = static_cast<std::int32_t>(State.range(1));
  TReteBed Bed;
  Bed.R.Rule("n", Bed.R.Pattern("p", {{"a", Var("x")}}), Bed.R.Pattern("q", {{"a", Var("x")}}, NotCount));
  std::vector<IFact> Left;
  for (std::int32_t I = 0; I < L; ++I) Left.push_back(Bed.Fact("p", I));
  Bed.AssertAll(Left);
  std::vector<std::vector<IFact>> Rounds(static_cast<std::size_t>(L / R));
  for (std::int32_t I = 0; I < L / R * R; ++I) Rounds[static_cast<std::size_t>(I / R)].push_back(Bed.Fact("q", I));
  const std::int64_t Free = NotCount == 1 ? L : 0;
  const std::int64_t Held = NotCount == 1 ? L - R : R;
  if (!Bed.Check(State, Free, "before the churn")) return;
  std::size_t Round = 0;
  for (auto _ : State) {
    const std::vector<IFact>& Right = Rounds[Round];
    Round = (Round + 1) % Rounds.size();
    Bed.AssertAll(Right);
    if (!Bed.Check(State, Held, "after the assertions")) break;
    Bed.RetractAll(Right);
    if (!Bed.Check(State, Free, "after the retractions")) break;
  }
  State.SetItemsProcessed(State.iterations() * R);
}

void BM_ReteNotChurn(benchmark::State& State) { ChurnRightSide(State, 1); }
BENCHMARK(BM_ReteNotChurn)
    ->ArgNames({"L", "R"})
    ->Args({10000, 100})
    ->Args({10000, 1000})
    ->Args({100000, 1000})
    ->Unit(benchmark::kMillisecond);

void BM_ReteExistsChurn(benchmark::State& State) { ChurnRightSide(State, 2); }
BENCHMARK(BM_ReteExistsChurn)
    ->ArgNames({"L", "R"})
    ->Args({10000, 100})
    ->Args({10000, 1000})
    ->Args({100000, 1000})
    ->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- chain

// (p1 (a ?x)) (p2 (a ?x)) ... (p6 (a ?x)): five joins in a row. N facts of
// each template with a = i, asserted template by template; N activations of
// six facts each.
void BM_ReteChain(benchmark::State& State) {
  const std::int32_t N = static_cast<std::int32_t>(State.range(0));
  TReteBed Bed;
  auto P = [&](const char* Name) { return Bed.R.Pattern(Name, {{"a", Var("x")}}); };
  Bed.R.Rule("chain", P("p1"), P("p2"), P("p3"), P("p4"), P("p5"), P("p6"));
  std::vector<IFact> Facts;
  for (const char* Name : {"p1", "p2", "p3", "p4", "p5", "p6"})
    for (std::int32_t I = 0; I < N; ++I) Facts.push_back(Bed.Fact(Name, I));
  AssertRetract(State, Bed, Facts, N);
}
BENCHMARK(BM_ReteChain)
    ->Arg(1000)
    ->Arg(3000)
    ->Apply([](benchmark::internal::Benchmark* B) {
      if (Large()) B->Arg(10000);
    })
    ->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- through the engine

// The facts of BM_ReteJoinShortCut through Assert and Retract, without the
// rule (rules 0) or with it (1), retracted oldest first (newest 0) or newest
// first (1). Oldest first erases each fact from the front of the fact list;
// newest first stands down the newest activations, at the back of the agenda.
void BM_ReteThroughEngine(benchmark::State& State) {
  const std::int32_t N = static_cast<std::int32_t>(State.range(0));
  const bool Rule = State.range(1) != 0;
  const bool NewestFirst = State.range(2) != 0;
  TReteBed Bed;
  if (Rule) Bed.R.Rule("j", Bed.R.Pattern("p", {{"a", Var("x")}}), Bed.R.Pattern("q", {{"a", Var("x")}}));
  std::vector<IFact> Facts;
  for (std::int32_t I = 0; I < N; ++I) {
    Facts.push_back(Bed.Fact("p", I));
    Facts.push_back(Bed.Fact("q", I));
  }
  for (auto _ : State) {
    for (const IFact& Fact : Facts) Bed.Engine.Assert(Fact);
    if (!Bed.Check(State, Rule ? N : 0, "after the assertions")) break;
    if (NewestFirst)
      for (auto It = Facts.rbegin(); It != Facts.rend(); ++It) Bed.Engine.Retract(*It);
    else
      for (const IFact& Fact : Facts) Bed.Engine.Retract(Fact);
    if (!Bed.Check(State, 0, "after the retractions")) break;
  }
  State.SetItemsProcessed(State.iterations() * static_cast<std::int64_t>(Facts.size()));
}
BENCHMARK(BM_ReteThroughEngine)
    ->ArgNames({"N", "rules", "newest"})
    ->ArgsProduct({{3000, 10000}, {0, 1}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- memory

// Resident set in bytes.
std::int64_t ResidentBytes() {
  long Size = 0;
  long Resident = 0;
  if (FILE* Statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(Statm, "%ld %ld", &Size, &Resident) != 2) Resident = 0;
    std::fclose(Statm);
  }
  return static_cast<std::int64_t>(Resident) * sysconf(_SC_PAGESIZE);
}

// Growth of the resident set per fact: fact_bytes for making the fact object,
// bytes_per_fact for asserting it. Rules: 0 none, 1 the equality join, 2 the
// chain, 3 BM_ReteSharedFirstPattern with 50 rules. Freed heap goes back to the
// system before each reading, so that what earlier cases left behind does
// not hide the growth. One round only: the facts stay until the engine goes.
void BM_ReteBytesPerFact(benchmark::State& State) {
  const std::int64_t Shape = State.range(0);
  const std::int32_t N = 20000;
  TReteBed Bed;
  auto P = [&](const char* Name) { return Bed.R.Pattern(Name, {{"a", Var("x")}}); };
  std::vector<const char*> Templates{"p", "q"};
  std::int64_t Matches = 0;
  switch (Shape) {
    case 1:
      Bed.R.Rule("j", P("p"), P("q"));
      Matches = N / 2;
      break;
    case 2:
      Bed.R.Rule("chain", P("p1"), P("p2"), P("p3"), P("p4"), P("p5"), P("p6"));
      Templates = {"p1", "p2", "p3", "p4", "p5", "p6"};
      Matches = N / 6;
      break;
    case 3:
      for (std::int32_t K = 0; K < 50; ++K)
        Bed.R.Rule("r-" + std::to_string(K), P("p"), Bed.R.Pattern("q", {{"a", Var("x")}, {"b", Int(K)}}));
      Matches = N / 2;
      break;
    default:
      break;
  }
  const std::int32_t PerTemplate = N / static_cast<std::int32_t>(Templates.size());
  for (auto _ : State) {
    malloc_trim(0);
    const std::int64_t Start = ResidentBytes();
    std::vector<IFact> Facts;
    Facts.reserve(static_cast<std::size_t>(N));
    for (const char* Name : Templates)
      for (std::int32_t I = 0; I < PerTemplate; ++I) Facts.push_back(Bed.Fact(Name, I, I % 50));
    malloc_trim(0);
    const std::int64_t Made = ResidentBytes();
    for (const IFact& Fact : Facts) Bed.Engine.Assert(Fact);
    malloc_trim(0);
    const std::int64_t Asserted = ResidentBytes();
    if (!Bed.Check(State, Matches, "after the assertions")) break;
    const double Count = static_cast<double>(Facts.size());
    State.counters["fact_bytes"] = static_cast<double>(Made - Start) / Count;
    State.counters["bytes_per_fact"] = static_cast<double>(Asserted - Made) / Count;
  }
}
BENCHMARK(BM_ReteBytesPerFact)->ArgName("rules")->DenseRange(0, 3)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace cogent
