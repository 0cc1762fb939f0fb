// Whole rule programs: seating guests round a table by depth-first search,
// and labelling the lines of a drawing by constraint propagation (the
// programs and their instances are in bench/programs/).
//
// Each iteration parses the program into a new engine, resets it, asserts
// the instance and runs it: the time is that whole, the engine's
// construction and the check of the answer left out. The counters give the
// rules fired per run and the firings per second of the run alone, by the
// processor time of the thread, which a busy machine does not stretch. Every
// answer is checked; a wrong one stops the case with an error. Run with
// `make bench BENCH_ARGS=--benchmark_filter=Program`.

#include <benchmark/benchmark.h>

#include <time.h>

#include <cstdint>
#include <memory>
#include <string>

#include "programs/Labelling.h"
#include "programs/Seating.h"

namespace cogent {
namespace {

// Seconds of processor time the calling thread has used.
double ThreadSeconds() {
  timespec Now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &Now);
  return static_cast<double>(Now.tv_sec) + static_cast<double>(Now.tv_nsec) * 1e-9;
}

struct TRunFigures {
  std::int64_t Firings = 0;
  double RunSeconds = 0;
};

// Loads with Load, runs, and checks with Check (empty: right); false after
// reporting an error.
template <typename TLoad, typename TCheck>
bool RunProgram(benchmark::State& State, TLoad Load, TCheck Check, TRunFigures& Figures) {
  State.PauseTiming();
  auto Engine = std::make_unique<TInferenceEngine>();
  State.ResumeTiming();
  Load(*Engine);
  const double Start = ThreadSeconds();
  const std::int32_t Fired = Engine->Run();
  Figures.RunSeconds += ThreadSeconds() - Start;
  Figures.Firings += Fired;
  State.PauseTiming();
  const std::string Error = Check(*Engine);
  Engine.reset();
  State.ResumeTiming();
  if (Error.empty()) return true;
  State.SkipWithError(Error.c_str());
  return false;
}

void Report(benchmark::State& State, const TRunFigures& Figures) {
  if (State.iterations() == 0) return;
  State.counters["firings"] = static_cast<double>(Figures.Firings) / static_cast<double>(State.iterations());
  if (Figures.RunSeconds > 0)
    State.counters["firings/s"] = static_cast<double>(Figures.Firings) / Figures.RunSeconds;
}

// N guests, N/2 of each sex, one to three hobbies of six.
void BM_ProgramSeating(benchmark::State& State) {
  const std::vector<programs::TGuest> Guests = programs::GenerateSeating(static_cast<int>(State.range(0)));
  TRunFigures Figures;
  for (auto _ : State) {
    const bool Right = RunProgram(
        State, [&](TInferenceEngine& Engine) { programs::LoadSeating(Engine, Guests); },
        [&](const TInferenceEngine& Engine) {
          const programs::TSeatingOutcome Outcome = programs::ReadSeating(Engine);
          if (Outcome.State != "seated") return "ended in state " + Outcome.State;
          return programs::CheckSeating(Guests, Outcome.Seats);
        },
        Figures);
    if (!Right) break;
  }
  Report(State, Figures);
}
BENCHMARK(BM_ProgramSeating)->ArgName("guests")->Arg(16)->Arg(32)->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);

// A row of K cubes, each hiding a corner of the next.
void BM_ProgramLabelling(benchmark::State& State) {
  const programs::TDrawing Drawing = programs::GenerateLabelling(static_cast<int>(State.range(0)));
  TRunFigures Figures;
  for (auto _ : State) {
    const bool Right = RunProgram(
        State, [&](TInferenceEngine& Engine) { programs::LoadLabelling(Engine, Drawing); },
        [&](const TInferenceEngine& Engine) { return programs::CheckLabelling(Engine, Drawing); }, Figures);
    if (!Right) break;
  }
  Report(State, Figures);
}
BENCHMARK(BM_ProgramLabelling)->ArgName("blocks")->Arg(1)->Arg(4)->Arg(16)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace cogent
