#include "cli/Shell.h"

#include <exception>
#include <iostream>
#include <iterator>
#include <sstream>

#include "cogent/host/Guards.h"
#include "cogent/language/KBTokenizer.h"

namespace cogent {

namespace {

constexpr const char* Prompt = "cogent> ";
constexpr const char* ContinuationPrompt = "   ...> ";
constexpr const char* StandardInputName = "<stdin>";

// Messages carry the engine's CR LF; a report on a terminal wants LF.
std::string WithLineFeeds(const std::string& Text) {
  std::string Result;
  Result.reserve(Text.size());
  for (std::size_t I = 0; I < Text.size(); ++I)
    if (Text[I] != '\r' || I + 1 >= Text.size() || Text[I + 1] != '\n') Result.push_back(Text[I]);
  while (!Result.empty() && (Result.back() == '\n' || Result.back() == '\r')) Result.pop_back();
  return Result;
}

}  // namespace

// ---------------------------------------------------------------- line readers

bool TStreamLineReader::ReadLine(const std::string&, std::string& Line) {
  if (!std::getline(FInput, Line)) return false;
  // A file written with CR LF line ends reads as it would with LF.
  if (!Line.empty() && Line.back() == '\r') Line.pop_back();
  return true;
}

bool IsCompleteInput(const std::string& Text) {
  int Depth = 0;
  bool InString = false;
  bool InComment = false;
  for (std::size_t I = 0; I < Text.size(); ++I) {
    const char C = Text[I];
    if (InComment) {
      InComment = C != '\n' && C != '\r';
    } else if (InString) {
      if (C == '\\')
        ++I;
      else if (C == '"')
        InString = false;
    } else if (C == '"') {
      InString = true;
    } else if (C == ';') {
      InComment = true;
    } else if (C == '(') {
      ++Depth;
    } else if (C == ')') {
      // Too many closing parentheses: the parser says so at once.
      if (--Depth < 0) return true;
    }
  }
  return !InString && Depth == 0;
}

// ---------------------------------------------------------------- TLineEndFilter

void TLineEndFilter::Write(const std::string& Text) {
  std::size_t Start = 0;
  if (FPendingCR) {
    FPendingCR = false;
    if (Text.empty()) {
      FPendingCR = true;
      return;
    }
    if (Text.front() == '\n') {
      FOutput.put('\n');
      Start = 1;
    } else {
      FOutput.put('\r');
    }
  }
  for (std::size_t I = Start; I < Text.size(); ++I) {
    const char C = Text[I];
    if (C != '\r') {
      FOutput.put(C);
    } else if (I + 1 == Text.size()) {
      FPendingCR = true;
    } else if (Text[I + 1] == '\n') {
      FOutput.put('\n');
      ++I;
    } else {
      FOutput.put('\r');
    }
  }
}

void TLineEndFilter::Flush() {
  if (FPendingCR) FOutput.put('\r');
  FPendingCR = false;
  FOutput.flush();
}

// ---------------------------------------------------------------- TShell

TShell::TShell(std::ostream& AOut, std::ostream& AErr, TLineReader& AInput)
    : FErr(AErr), FInput(AInput), FOut(AOut), FEngine(std::make_unique<TInferenceEngine>()) {
  WireEvents();
  SetEcho(false);
}

TShell::~TShell() {
  // The engine's last words, if any, still reach the output.
  FEngine.reset();
  FOut.Flush();
}

void TShell::SetEcho(bool Value) {
  FEcho = Value;
  FEngine->GetParser()->SetEcho(Value);
}

void TShell::Watch(const std::string& Kind) { FEngine->ParseNExecuteFunCall("(watch " + QuoteString(Kind) + ")"); }

void TShell::WireEvents() {
  FEngine->OnPrintOut = [this](TObject*, const std::string&, const std::string& Text) { FOut.Write(Text); };
  // At the end of input read gives an empty line and never waits.
  FEngine->OnReadLine = [this](TObject*, const std::string&, std::string& Text) {
    FOut.Flush();
    if (!FInput.ReadLine({}, Text)) Text.clear();
  };
  FEngine->OnReadToken = [this](TObject*, const std::string&, IStreamToken& Token) {
    FOut.Flush();
    std::string Line;
    while (FInput.ReadLine({}, Line)) {
      TVXStringStream Source(Line);
      const std::unique_ptr<TGTextStream> Tokenizer = FEngine->NewTokenizer(&Source, nullptr);
      auto* Tokens = dynamic_cast<TKBTokenizerStream*>(Tokenizer.get());
      if (Tokens == nullptr) break;
      Token = Tokens->NextToken();
      // A blank line holds no token; the next line may.
      if (!Token->IsEOF()) return;
    }
    Token = IStreamToken(new TKBStreamToken(dtNone, 0, "EOF"));
  };
  FEngine->GetParser()->OnParse = [this](TObject*, TParsedType Kind, TObject*, const IInterface& Made) {
    if (!FPrintResults || (Kind != ptFunCall && Kind != ptValue)) return;
    if (const IKBValue Value = Made.As<TKBValue>()) FOut.Write(Value->ToString() + "\n");
  };
}

void TShell::ReportError(const std::string& Where, const std::string& Message) {
  FOut.Flush();
  if (Where.empty())
    FErr << WithLineFeeds(Message) << "\n";
  else
    FErr << Where << ": " << WithLineFeeds(Message) << "\n";
  FErr.flush();
}

TShellResult TShell::LoadFile(const std::string& FileName) {
  if (FileName == "-") {
    const std::string Text(std::istreambuf_iterator<char>(std::cin), {});
    return LoadText(Text, StandardInputName);
  }
  std::unique_ptr<TGTextStream> Tokens;
  try {
    Tokens = FEngine->NewTokenizer(FileName, fmOpenRead);
  } catch (const std::exception& E) {
    // No line to point at: the file could not be opened at all.
    ReportError(FileName + ":0", E.what());
    return srError;
  }
  return LoadTokens(*Tokens, FileName);
}

TShellResult TShell::LoadText(const std::string& Text, const std::string& Name) {
  TVXStringStream Source(Text);
  const std::unique_ptr<TGTextStream> Tokens = FEngine->NewTokenizer(&Source, nullptr);
  return LoadTokens(*Tokens, Name);
}

TShellResult TShell::LoadTokens(TGTextStream& Tokens, const std::string& Name) {
  auto* RuleTokens = dynamic_cast<TKBTokenizerStream*>(&Tokens);
  TKBParser& Parser = *FEngine->GetParser();
  TGTextStream* const Previous = Parser.GetStream();
  Parser.SetStream(&Tokens);
  const TFinally Restore([&Parser, Previous] { Parser.SetStream(Previous); });
  TKBContext& Global = *FEngine->GetGlobalContext();
  // A return at the top level would leave the global context returning, and
  // every later call would stop after its first step.
  const TFinally ClearReturn([&Global] { Global.ClearReturnValue(); });
  std::int32_t Line = 0;
  const auto Fail = [&](std::int32_t At, const char* Message) {
    ReportError(Name.empty() ? std::string() : Name + ":" + std::to_string(At), Message);
    return srError;
  };
  try {
    for (;;) {
      // The line where the expression begins, for an error while it runs.
      Line = Tokens.GetLineNumber();
      if (RuleTokens != nullptr) {
        const IStreamToken First = RuleTokens->NextToken();
        Line = First->GetLineNumber();
        RuleTokens->PutBackToken(First);
      }
      if (!Parser.ParseExpression(true)) return srDone;
      Global.ClearReturnValue();
    }
  } catch (const EAbort&) {
    return srExit;
  } catch (const EKBParseException& E) {
    return Fail(E.GetLineNumber() > 0 ? E.GetLineNumber() : Line, E.what());
  } catch (const std::exception& E) {
    return Fail(Line, E.what());
  }
}

TShellResult TShell::RunSession(TLineReader& Reader) {
  const bool Echo = FEcho;
  FEngine->GetParser()->SetEcho(false);
  FPrintResults = true;
  const TFinally Restore([this, Echo] {
    FPrintResults = false;
    FEngine->GetParser()->SetEcho(Echo);
  });
  std::string Pending;
  std::int32_t LineNumber = 0;
  std::int32_t FirstLine = 1;
  std::string Line;
  for (;;) {
    FOut.Flush();
    const bool Got = Reader.ReadLine(Pending.empty() ? Prompt : ContinuationPrompt, Line);
    if (Got) {
      ++LineNumber;
      if (Pending.empty()) FirstLine = LineNumber;
      Pending += Line;
      Pending += '\n';
      if (!IsCompleteInput(Pending)) continue;
    } else if (Pending.empty()) {
      return srDone;
    }
    // Whole expressions, or what is left at the end of input, which the
    // parser then reports as unfinished.
    TVXStringStream Source(Pending);
    Pending.clear();
    const std::unique_ptr<TGTextStream> Tokens = FEngine->NewTokenizer(&Source, nullptr);
    // Messages name the lines of the session.
    Tokens->SetLineNumber(FirstLine);
    if (LoadTokens(*Tokens, {}) == srExit) return srExit;
    if (!Got) return srDone;
  }
}

}  // namespace cogent
