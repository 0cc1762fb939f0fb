#pragma once
// The command-line host: one engine, its output on standard output, its
// input from standard input, files loaded in order and an interactive
// session at a prompt.

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "cogent/cogent.h"

namespace cogent {

// Where the lines of a session come from: readline on a terminal, a plain
// stream otherwise.
class TLineReader {
public:
  virtual ~TLineReader() = default;
  // One line without its line end; false at the end of input. The prompt is
  // shown only where someone can see it.
  virtual bool ReadLine(const std::string& Prompt, std::string& Line) = 0;
};

// Lines from a stream, without prompts: for pipes, files and tests.
class TStreamLineReader : public TLineReader {
public:
  explicit TStreamLineReader(std::istream& AInput) : FInput(AInput) {}
  bool ReadLine(const std::string& Prompt, std::string& Line) override;

private:
  std::istream& FInput;
};

// The reader for standard input: readline with history when standard input
// is a terminal and the program was built with it, plain lines otherwise.
std::unique_ptr<TLineReader> NewConsoleLineReader();

// True when Text holds whole expressions only: every parenthesis that opens
// is closed, outside strings and comments, and no string is open. A text
// with more closing than opening parentheses counts as whole, so that the
// parser reports it rather than the prompt waiting for ever.
bool IsCompleteInput(const std::string& Text);

// The engine writes CR LF line ends; a text file on this system ends lines
// with LF alone. A CR at the end of one text waits for the next, which may
// begin with the LF.
class TLineEndFilter {
public:
  explicit TLineEndFilter(std::ostream& AOutput) : FOutput(AOutput) {}
  ~TLineEndFilter() { Flush(); }
  TLineEndFilter(const TLineEndFilter&) = delete;
  TLineEndFilter& operator=(const TLineEndFilter&) = delete;

  void Write(const std::string& Text);
  // Writes a CR still waiting and flushes the stream.
  void Flush();

private:
  std::ostream& FOutput;
  bool FPendingCR = false;
};

// Outcome of loading a file or of a session.
enum TShellResult : std::uint8_t { srDone, srError, srExit };

class TShell {
public:
  // Out and Err take the engine's output and the error reports; Input
  // serves read and readline.
  TShell(std::ostream& AOut, std::ostream& AErr, TLineReader& AInput);
  ~TShell();
  TShell(const TShell&) = delete;
  TShell& operator=(const TShell&) = delete;

  TInferenceEngine& GetEngine() noexcept { return *FEngine; }
  // The parser's own echo of constructs and call results; off unless asked.
  void SetEcho(bool Value);
  // Turns on the trace lines that the word names, as the watch function
  // does; raises its error for a word that names none.
  void Watch(const std::string& Kind);

  // Reads the file ("-" for standard input) with its top-level calls run.
  // An error is reported as "FILE:LINE: message" on Err.
  TShellResult LoadFile(const std::string& FileName);
  // The same over a text, under a name for the reports.
  TShellResult LoadText(const std::string& Text, const std::string& Name);
  // Prompts for input until (exit) or its end; call results are printed,
  // constructs are silent, errors are reported and the session goes on.
  TShellResult RunSession(TLineReader& Reader);

  // Text on the engine's output, after what the engine wrote there.
  void Print(const std::string& Text) { FOut.Write(Text); }

private:
  // Reads every expression of Tokens; Name and the line of the failing
  // expression go with an error.
  TShellResult LoadTokens(TGTextStream& Tokens, const std::string& Name);
  void ReportError(const std::string& Where, const std::string& Message);
  void WireEvents();

  std::ostream& FErr;
  TLineReader& FInput;
  TLineEndFilter FOut;
  std::unique_ptr<TInferenceEngine> FEngine;
  bool FEcho = false;
  // At the prompt, the parser's echo is off and call results are printed
  // from the parse event instead, so that constructs stay silent.
  bool FPrintResults = false;
};

}  // namespace cogent
