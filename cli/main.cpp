// cogent: loads rule programs and runs an interactive session over one
// engine, as a database's shell does over its library.

#include <iostream>
#include <string>
#include <vector>

#include "cli/FuzzyPictures.h"
#include "cli/Shell.h"

using namespace cogent;

namespace {

constexpr const char* Usage =
    "Usage: cogent [OPTION]... [FILE]... [-i]\n"
    "Loads each rule program FILE in order, running its top-level calls, so\n"
    "that a program may end with (reset) (run). A FILE of - is standard input.\n"
    "Without a FILE, or with -i after them, a session starts at a prompt.\n"
    "\n"
    "Options:\n"
    "  -i, --interactive  start a session after the files are loaded\n"
    "      --echo         print each construct's name and each call's result\n"
    "                     while files load\n"
    "      --watch KIND   trace KIND before loading: facts, rules, activations,\n"
    "                     compilations, statistics, focus or all; repeatable\n"
    "      --statistics   print the statistics of each run as it ends (rules\n"
    "                     fired, run time, facts and activations)\n"
    "      --plot-svg DIR after the files are loaded, write a picture of each\n"
    "                     fuzzy variable of the program to DIR/NAME.svg,\n"
    "                     making DIR when missing\n"
    "      --help         print this help and exit\n"
    "      --version      print the engine's version and exit\n"
    "\n"
    "Exit status: 0 when every file loads and runs, also after (exit);\n"
    "1 after an error, reported as FILE:LINE: message; 2 for a bad option.\n";

struct TOptions {
  std::vector<std::string> Files;
  std::vector<std::string> Watches;
  std::string PlotDir;
  bool Interactive = false;
  bool Echo = false;
};

// False after a bad option, which has been reported.
bool ReadOptions(int ArgC, char** ArgV, TOptions& Options, bool& Done) {
  bool OptionsEnd = false;
  for (int I = 1; I < ArgC; ++I) {
    const std::string Arg = ArgV[I];
    if (OptionsEnd || Arg == "-" || Arg.empty() || Arg[0] != '-') {
      Options.Files.push_back(Arg);
    } else if (Arg == "--") {
      OptionsEnd = true;
    } else if (Arg == "-i" || Arg == "--interactive") {
      Options.Interactive = true;
    } else if (Arg == "--echo") {
      Options.Echo = true;
    } else if (Arg == "--statistics") {
      // The engine gathers the figures of a run only while it is to print
      // them: its statistics lines at the end of each run are the report.
      Options.Watches.emplace_back("statistics");
    } else if (Arg == "--watch" || Arg.rfind("--watch=", 0) == 0) {
      if (Arg == "--watch") {
        if (I + 1 >= ArgC) {
          std::cerr << "cogent: --watch needs a kind\n";
          return false;
        }
        Options.Watches.emplace_back(ArgV[++I]);
      } else {
        Options.Watches.push_back(Arg.substr(8));
      }
    } else if (Arg == "--plot-svg" || Arg.rfind("--plot-svg=", 0) == 0) {
      if (Arg == "--plot-svg") {
        if (I + 1 >= ArgC) {
          std::cerr << "cogent: --plot-svg needs a folder\n";
          return false;
        }
        Options.PlotDir = ArgV[++I];
      } else {
        Options.PlotDir = Arg.substr(11);
      }
      if (Options.PlotDir.empty()) {
        std::cerr << "cogent: --plot-svg needs a folder\n";
        return false;
      }
    } else if (Arg == "--help" || Arg == "-h") {
      std::cout << Usage;
      Done = true;
      return true;
    } else if (Arg == "--version") {
      TInferenceEngine Engine;
      std::cout << "cogent " << Format("%.1f", static_cast<double>(Engine.GetVersion())) << "\n";
      Done = true;
      return true;
    } else {
      std::cerr << "cogent: unknown option " << Arg << "\nTry cogent --help.\n";
      return false;
    }
  }
  if (Options.Files.empty()) Options.Interactive = true;
  return true;
}

}  // namespace

int main(int ArgC, char** ArgV) {
  TOptions Options;
  bool Done = false;
  if (!ReadOptions(ArgC, ArgV, Options, Done)) return 2;
  if (Done) return 0;

  const std::unique_ptr<TLineReader> Input = NewConsoleLineReader();
  TShell Shell(std::cout, std::cerr, *Input);
  Shell.SetEcho(Options.Echo);
  for (const std::string& Kind : Options.Watches) {
    try {
      Shell.Watch(Kind);
    } catch (const std::exception& E) {
      std::cerr << "cogent: --watch " << Kind << ": " << E.what() << "\n";
      return 2;
    }
  }
  TShellResult Result = srDone;
  for (const std::string& File : Options.Files) {
    Result = Shell.LoadFile(File);
    if (Result != srDone) break;
  }
  // What the files defined is pictured even when one of them ended with
  // (exit); after an error the program is not whole.
  if (Result != srError && !Options.PlotDir.empty()) {
    try {
      SaveFuzzyPictures(Shell.GetEngine(), Options.PlotDir);
    } catch (const std::exception& E) {
      std::cerr << "cogent: --plot-svg " << Options.PlotDir << ": " << E.what() << "\n";
      return 1;
    }
  }
  if (Result == srDone && Options.Interactive) Result = Shell.RunSession(*Input);
  return Result == srError ? 1 : 0;
}
