// The engine's performance targets, each measured and printed next to its
// target. `make bench` runs it after the Google Benchmark cases; it fails
// only when a figure cannot be measured.
//
// Every figure is measured in a child process of its own, so that one
// measurement's heap and resident set do not colour the next. Rates are by
// the processor time of the child, best of three children, with the worst
// beside; a busy machine stretches even processor time, through caches and
// page faults that other work shares. Whole programs through the
// command-line program are timed by the wall clock, best of three, with
// their processor time beside.
//
//     cogent_targets            all figures
//     cogent_targets NAME...    the figures whose names contain one of NAME
//
// COGENT_TARGETS_REDUCE=N divides the counts of the rate figures by N and
// measures each once, for a run under callgrind whose instruction counts
// compare two builds exactly.

#include <sys/resource.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "../programs/Instances.h"
#include "cogent/engine/InferenceEngine.h"

namespace cogent::bench {
namespace {

double CpuSeconds() {
  timespec Now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &Now);
  return static_cast<double>(Now.tv_sec) + static_cast<double>(Now.tv_nsec) * 1e-9;
}

long ReduceDivisor() {
  const char* Text = std::getenv("COGENT_TARGETS_REDUCE");
  return Text ? std::strtol(Text, nullptr, 10) : 1;
}

// Count, divided as COGENT_TARGETS_REDUCE asks.
int Reduced(int Count) {
  const long Divisor = ReduceDivisor();
  return Divisor > 1 ? static_cast<int>(Count / Divisor) + 1 : Count;
}

// Resident set of this process in bytes. Read with plain system calls into
// a buffer on the stack: a reading through streams would run code, and
// allocate, for the first time between two readings, and the pages that
// brings in would count as growth.
double ResidentBytes() {
  char Text[128] = {};
  const int File = open("/proc/self/statm", O_RDONLY);
  if (File < 0) return 0;
  const ssize_t Read = read(File, Text, sizeof Text - 1);
  close(File);
  if (Read <= 0) return 0;
  char* Rest = nullptr;
  std::strtol(Text, &Rest, 10);  // the total size, then the resident pages
  const long Resident = std::strtol(Rest, nullptr, 10);
  return static_cast<double>(Resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// Measure() run in a child; its figures come back through a pipe. An
// exception or a crash in the child gives no figures.
std::vector<double> InChild(const std::function<std::vector<double>()>& Measure) {
  int Pipe[2];
  if (pipe(Pipe) != 0) return {};
  std::fflush(nullptr);
  const pid_t Child = fork();
  if (Child == 0) {
    close(Pipe[0]);
    // A forked child maps the program's code afresh, page run by page run,
    // as it first runs it: a first reading would bring in the code of the
    // reading itself (64 kB at a time), and the next one would count that as
    // growth of the engine's memory.
    ResidentBytes();
    std::vector<double> Figures;
    try {
      Figures = Measure();
    } catch (const std::exception& E) {
      std::fprintf(stderr, "  error: %s\n", E.what());
    }
    const auto Written = write(Pipe[1], Figures.data(), Figures.size() * sizeof(double));
    _exit(Written == static_cast<ssize_t>(Figures.size() * sizeof(double)) ? 0 : 1);
  }
  close(Pipe[1]);
  std::vector<double> Figures;
  double Figure = 0;
  while (read(Pipe[0], &Figure, sizeof Figure) == static_cast<ssize_t>(sizeof Figure)) Figures.push_back(Figure);
  close(Pipe[0]);
  int Status = 0;
  waitpid(Child, &Status, 0);
  return Figures;
}

// The figures of the best of three runs of Measure, each in a child of its
// own, by the first figure (the lowest when Lower), and the first figure of
// the worst run after them. Once only under COGENT_TARGETS_REDUCE.
std::vector<double> BestOfThree(const std::function<std::vector<double>()>& Measure, bool Lower) {
  const int Runs = ReduceDivisor() > 1 ? 1 : 3;
  std::vector<double> Best;
  double Worst = 0;
  for (int Run = 0; Run < Runs; ++Run) {
    const std::vector<double> Figures = InChild(Measure);
    if (Figures.empty()) return {};
    const bool Better = Best.empty() || (Lower ? Figures[0] < Best[0] : Figures[0] > Best[0]);
    const bool Poorer = Run == 0 || (Lower ? Figures[0] > Worst : Figures[0] < Worst);
    if (Better) Best = Figures;
    if (Poorer) Worst = Figures[0];
  }
  Best.push_back(Worst);
  return Best;
}

struct TFigure {
  std::string Name;
  std::string Unit;
  double Target;
  bool AtMost;  // the figure must stay at or below the target
  std::function<std::vector<double>()> Measure;
  // What is printed after the figure, from all the figures Measure gave.
  std::function<std::string(const std::vector<double>&)> Detail;
};

std::string Fixed(double Value, int Digits = 0) {
  char Text[64];
  std::snprintf(Text, sizeof Text, "%.*f", Digits, Value);
  return Text;
}

// ---------------------------------------------------------------- programs

// Wall seconds of `cogent FILE` on Text, best of three, and the processor
// seconds of that run.
std::vector<double> ProgramSeconds(const std::string& Text) {
  const std::filesystem::path File =
      std::filesystem::temp_directory_path() / ("cogent-target-" + std::to_string(getpid()) + ".kb");
  std::ofstream(File) << Text;
  double Best = 1e9, BestCpu = 0;
  for (int Round = 0; Round < 3; ++Round) {
    const auto Start = std::chrono::steady_clock::now();
    const pid_t Child = fork();
    if (Child == 0) {
      if (!std::freopen("/dev/null", "w", stdout)) _exit(127);
      execl(COGENT_PROGRAM, COGENT_PROGRAM, File.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    int Status = 0;
    rusage Usage{};
    wait4(Child, &Status, 0, &Usage);
    const double Wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
    if (!WIFEXITED(Status) || WEXITSTATUS(Status) != 0) {
      std::filesystem::remove(File);
      throw std::runtime_error("cogent failed on the program");
    }
    if (Wall < Best) {
      Best = Wall;
      BestCpu = static_cast<double>(Usage.ru_utime.tv_sec + Usage.ru_stime.tv_sec) +
                static_cast<double>(Usage.ru_utime.tv_usec + Usage.ru_stime.tv_usec) * 1e-6;
    }
  }
  std::filesystem::remove(File);
  return {Best, BestCpu};
}

std::string SeatingProgram(int Guests) {
  std::ostringstream Out;
  programs::WriteSeatingProgram(Out, Guests);
  return Out.str();
}

std::string LabellingProgram(int Regions) {
  std::ostringstream Out;
  programs::WriteLabellingProgram(Out, Regions);
  return Out.str();
}

// ---------------------------------------------------------------- the API

IKBValue Int(std::int32_t Value) { return IKBValue(new TKBValue(Value, dtInteger)); }

TInferenceEngine* QuietEngine(const std::string& Text) {
  auto* Engine = new TInferenceEngine();  // the child exits without freeing it
  Engine->GetParser()->SetEcho(false);
  Engine->Parse(Text, true);
  Engine->Reset();
  return Engine;
}

IFact TemplateFact(const IFactTemplate& Template, std::int32_t I) {
  const IFact Fact = Template->NewFact();
  Fact->SetValue("a", Int(I));
  Fact->SetValue("b", Int(I % 1000));
  Fact->SetValue("c", Int(I % 7));
  return Fact;
}

// Template facts of three slots asserted through the API: facts per
// processor second, and resident bytes per fact.
std::vector<double> AssertTemplateFacts(const std::string& Rules, int Count) {
  TInferenceEngine& Engine = *QuietEngine("(deftemplate p (slot a) (slot b) (slot c))" + Rules);
  const IFactTemplate Template = Engine.FindFactTemplate("p");
  const double Resident = ResidentBytes();
  const double Start = CpuSeconds();
  for (int I = 0; I < Count; ++I) Engine.Assert(TemplateFact(Template, I));
  const double Seconds = CpuSeconds() - Start;
  return {Count / Seconds, (ResidentBytes() - Resident) / Count};
}

// Ordered facts of three fields, read from text: resident bytes per fact.
std::vector<double> OrderedFactBytes(int Count) {
  TInferenceEngine& Engine = *QuietEngine("");
  const double Resident = ResidentBytes();
  for (int I = 0; I < Count; ++I)
    Engine.Assert(Engine.ParseFact("(o " + std::to_string(I) + " " + std::to_string(I % 1000) + " x)"));
  return {(ResidentBytes() - Resident) / Count};
}

// 50 rules whose first patterns are one shared node.
std::string SharedFirstPatternRules() {
  std::string Rules = "(deftemplate q (slot a) (slot b))";
  for (int K = 0; K < 50; ++K)
    Rules += "(defrule r" + std::to_string(K) + " (p (a ?x) (c 3)) (q (a ?x) (b " + std::to_string(K) + ")) =>)";
  return Rules;
}

// A chain: each firing asserts the fact the next one matches.
std::vector<double> ChainFirings(int Length) {
  TInferenceEngine& Engine = *QuietEngine("(deftemplate step (slot n))"
                                          "(defrule next (step (n ?n&:(< ?n " +
                                          std::to_string(Length) + "))) => (assert (step (n (+ ?n 1)))))");
  Engine.Parse("(assert (step (n 0)))", true);
  const double Start = CpuSeconds();
  const std::int32_t Fired = Engine.Run();
  return {Fired / (CpuSeconds() - Start)};
}

// Cycles of assert, modify and retract through a join, a window of live
// facts kept: the resident set after the first 10^4 cycles and after all.
std::vector<double> Churn(int Cycles) {
  TInferenceEngine& Engine = *QuietEngine("(deftemplate p (slot a) (slot b) (slot c))"
                                          "(deftemplate q (slot a) (slot b))"
                                          "(defrule join (p (a ?x) (b ?y)) (q (a ?x) (b ?y)) =>)");
  const IFactTemplate P = Engine.FindFactTemplate("p"), Q = Engine.FindFactTemplate("q");
  constexpr int Window = 1000;
  std::vector<IFact> Live(Window);
  for (int K = 0; K < Window; ++K) {
    const IFact Fact = Q->NewFact();
    Fact->SetValue("a", Int(K));
    Fact->SetValue("b", Int(K % 1000));
    Engine.Assert(Fact);
  }
  double Early = 0;
  for (int I = 0; I < Cycles; ++I) {
    IFact& Slot = Live[static_cast<std::size_t>(I % Window)];
    if (Slot) Engine.Retract(Slot);
    Slot = TemplateFact(P, I % (Window * 3));
    Engine.Assert(Slot);
    IFact& Other = Live[static_cast<std::size_t>((I * 7) % Window)];
    if (Other) {
      Engine.BeginFactModify(Other);
      Other->SetValue("c", Int(I));
      Engine.EndFactModify(Other);
    }
    if (I + 1 == 10000) Early = ResidentBytes();
  }
  return {100.0 * (ResidentBytes() - Early) / Early, Early, ResidentBytes()};
}

// Seconds of processor time to read Count rules of three patterns.
std::vector<double> ReadRules(int Count) {
  std::ostringstream Text;
  Text << "(deftemplate p (slot a) (slot b) (slot c))(deftemplate q (slot a) (slot b))";
  for (int K = 0; K < Count; ++K)
    Text << "(defrule rule-" << K << " \"rule " << K << "\" (declare (salience " << K % 10 << "))\n  (p (a ?x) (b " << K
         << "))\n  (q (a ?x) (b ?y&:(> ?y " << K << ")))\n  (not (p (a ?y)))\n =>\n  (printout t ?x \" \" ?y crlf))\n";
  TInferenceEngine& Engine = *QuietEngine("");
  const double Start = CpuSeconds();
  Engine.Parse(Text.str(), false);
  const double Seconds = CpuSeconds() - Start;
  if (Engine.GetRules()->GetCount() != Count) throw std::runtime_error("rules missing");
  return {Seconds};
}

// A program whose matches grow as its facts: items each joined with its one
// tag, every pair firing once, Facts facts in all. Processor seconds to
// assert and run.
std::vector<double> LinearProgram(int Facts) {
  const int Count = Facts / 2;
  TInferenceEngine& Engine = *QuietEngine("(deftemplate item (slot id) (slot kind))"
                                          "(deftemplate tag (slot id) (slot label))"
                                          "(defglobal ?*pairs* = 0)"
                                          "(defrule pair (item (id ?x) (kind ?k)) (tag (id ?x) (label ?k))"
                                          " => (bind ?*pairs* (+ ?*pairs* 1)))");
  const IFactTemplate Item = Engine.FindFactTemplate("item"), Tag = Engine.FindFactTemplate("tag");
  const IKBValue Kind = IKBValue(new TKBValue("k", dtAtom));
  const double Start = CpuSeconds();
  for (int I = 0; I < Count; ++I) {
    IFact Fact = Item->NewFact();
    Fact->SetValue("id", Int(I));
    Fact->SetValue("kind", Kind);
    Engine.Assert(Fact);
    Fact = Tag->NewFact();
    Fact->SetValue("id", Int(I));
    Fact->SetValue("label", Kind);
    Engine.Assert(Fact);
  }
  const std::int32_t Fired = Engine.Run();
  const double Seconds = CpuSeconds() - Start;
  if (Fired != Count) throw std::runtime_error("wrong number of firings");
  return {Seconds};
}

// Processor seconds of Runs runs of the linear program over Facts facts, each
// in a child of its own; negative when one failed.
double LinearSeconds(int Facts, int Runs) {
  double Sum = 0;
  for (int Run = 0; Run < Runs; ++Run) {
    const std::vector<double> F = InChild([Facts] { return LinearProgram(Facts); });
    if (F.empty()) return -1;
    Sum += F[0];
  }
  return Sum;
}

// The time ratio per doubling from 10^4 to 10^6 facts, then the seconds of
// one run at 10^4, 10^5 and 10^6. Each of five rounds runs 10^6 facts' worth
// at every size, the smaller sizes half before the largest and half after:
// every size then spans the same work and the same stretch of a shared
// host's changing speed. (The best of three single runs would catch a quiet
// moment far more often in a short run than in a long one, and tilt the
// curve.) The figure is the median round's.
std::vector<double> Scaling() {
  constexpr int Facts[] = {10000, 100000, 1000000};
  std::vector<std::vector<double>> Rounds;
  for (int Round = 0; Round < 5; ++Round) {
    std::vector<double> Seconds(3, 0.0);
    int Runs[3] = {};
    for (const int Size : {0, 1, 2, 1, 0}) {
      // Half a size's runs at each of its two turns; the largest has one.
      const int Half = std::max(1, 1000000 / Facts[Size] / 2);
      const double Sum = LinearSeconds(Facts[Size], Half);
      if (Sum < 0) return {};
      Seconds[Size] += Sum;
      Runs[Size] += Half;
    }
    for (int Size = 0; Size < 3; ++Size) Seconds[Size] /= Runs[Size];
    // A hundred times the facts is log2(100) doublings.
    Seconds.insert(Seconds.begin(), std::pow(Seconds[2] / Seconds[0], 1 / std::log2(100.0)));
    Rounds.push_back(std::move(Seconds));
  }
  std::sort(Rounds.begin(), Rounds.end());
  return Rounds[Rounds.size() / 2];
}

std::vector<TFigure> Figures() {
  const auto Program = [](std::string Text) {
    return [Text = std::move(Text)] { return ProgramSeconds(Text); };
  };
  const auto CpuBeside = [](const std::vector<double>& F) { return "(processor " + Fixed(F[1], 2) + " s)"; };
  const auto None = [](const std::vector<double>&) { return std::string(); };
  std::vector<TFigure> Result;
  Result.push_back({"seating 128 through cogent", "s", 0.5, true, Program(SeatingProgram(128)), CpuBeside});
  Result.push_back({"seating 64 through cogent", "s", 0.1, true, Program(SeatingProgram(64)), CpuBeside});
  Result.push_back({"labelling 16 through cogent", "s", 0.5, true, Program(LabellingProgram(16)), CpuBeside});
  const auto Rate = [](std::function<std::vector<double>()> Measure) {
    return [Measure = std::move(Measure)] { return BestOfThree(Measure, false); };
  };
  const auto WorstRate = [](const std::vector<double>& F) {
    return F.size() < 2 ? std::string() : "(worst of three " + Fixed(F.back()) + " /s)";
  };
  Result.push_back(
      {"chain firings", "/s", 1e6, false, Rate([] { return ChainFirings(Reduced(200000)); }), WorstRate});
  Result.push_back({"template asserts, no rules", "/s", 2e6, false,
                    Rate([] { return AssertTemplateFacts("", Reduced(1000000)); }), WorstRate});
  Result.push_back({"template asserts, 50 rules sharing nodes", "/s", 1e6, false,
                    Rate([] { return AssertTemplateFacts(SharedFirstPatternRules(), Reduced(1000000)); }),
                    WorstRate});
  Result.push_back({"bytes per template fact", "B", 300, true,
                    [] {
                      const std::vector<double> F = AssertTemplateFacts("", 1000000);
                      return F.empty() ? F : std::vector<double>{F[1]};
                    },
                    None});
  Result.push_back({"bytes per ordered fact", "B", 300, true, [] { return OrderedFactBytes(Reduced(1000000)); }, None});
  Result.push_back({"churn growth, 10^4 to 10^6 cycles", "%", 1, true, [] { return Churn(1000000); },
                    [](const std::vector<double>& F) {
                      return "(" + Fixed(F[1] / 1048576, 1) + " MB to " + Fixed(F[2] / 1048576, 1) + " MB)";
                    }});
  Result.push_back({"reading 10,000 rules", "s", 1, true, [] { return ReadRules(10000); }, None});
  Result.push_back({"scaling, 10^4 to 10^6 facts (time ratio per doubling)", "x", 2, true,
                    Scaling,
                    [](const std::vector<double>& F) {
                      return "(median of five rounds: 10^4 " + Fixed(F[1], 3) + " s, 10^5 " + Fixed(F[2], 3) +
                             " s, 10^6 " + Fixed(F[3], 2) + " s)";
                    }});
  return Result;
}

}  // namespace
}  // namespace cogent::bench

int main(int argc, char** argv) {
  using namespace cogent::bench;
  std::printf("%-56s %16s %14s  %s\n", "figure", "measured", "target", "");
  bool AllMeasured = true;
  for (const TFigure& Figure : Figures()) {
    bool Wanted = argc < 2;
    for (int I = 1; I < argc; ++I) Wanted = Wanted || Figure.Name.find(argv[I]) != std::string::npos;
    if (!Wanted) continue;
    const std::vector<double> Measured = InChild(Figure.Measure);
    if (Measured.empty()) {
      std::printf("%-56s %16s\n", Figure.Name.c_str(), "failed");
      AllMeasured = false;
      continue;
    }
    const double Value = Measured[0];
    const bool Met = Figure.AtMost ? Value <= Figure.Target : Value >= Figure.Target;
    const int Digits = Value < 10 ? 3 : 0;
    std::printf("%-56s %14s %-2s %s%11s %-2s  %-6s %s\n", Figure.Name.c_str(), Fixed(Value, Digits).c_str(),
                Figure.Unit.c_str(), Figure.AtMost ? "<=" : ">=", Fixed(Figure.Target, Figure.Target < 10 ? 1 : 0).c_str(),
                Figure.Unit.c_str(), Met ? "met" : "MISSED", Figure.Detail(Measured).c_str());
    std::fflush(stdout);
  }
  return AllMeasured ? 0 : 1;
}
