// The standard package's functions that move text: logical names that stand
// for streams, the console behind "t", and files. All reading and writing
// goes through the engine, which routes it.

#include <memory>

#include "cogent/functions/StandardPackage.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TOpenFunction, TKBUserFunction>();
  RegisterClass<TCloseFunction, TKBUserFunction>();
  RegisterClass<TReadFunction, TKBUserFunction>();
  RegisterClass<TReadLineFunction, TKBUserFunction>();
  RegisterClass<TPrintOutFunction, TKBUserFunction>();
  RegisterClass<TFormatFunction, TKBUserFunction>();
  RegisterClass<TDribbleOnFunction, TKBUserFunction>();
  RegisterClass<TDribbleOffFunction, TKBUserFunction>();
  RegisterClass<TRemoveFunction, TKBUserFunction>();
  RegisterClass<TRenameFunction, TKBUserFunction>();
  RegisterClass<TStrFormatFunction, TKBUserFunction>();
  return true;
}();

// The logical name of read and readline: none means the console.
std::string InputName(const IFunCall& FunCall, TKBContext* Context) {
  return FunCall->GetArgumentCount() > 0 ? TextOf(FunCall, 0, Context) : std::string();
}

// Text as printout shows it: no quotes, the atom crlf a line break.
void AppendPrinted(std::string& Text, const IKBValue& Value) {
  switch (Value->GetDType()) {
    case dtAtom:
      Text += Value->GetAsString() == "crlf" ? std::string(sLineBreak) : Value->GetAsString();
      break;
    case dtString:
    case dtInteger:
    case dtFloat:
      Text += Value->GetAsString();
      break;
    case dtList:
      Text += "(" + Value->GetToString() + ")";
      break;
    default:
      Text += Value->GetToString();
      break;
  }
}

// The arguments from From on, evaluated in order.
IValueVector EvaluateFrom(const IFunCall& FunCall, int From, TKBContext* Context) {
  IValueVector Result(new TValueVector());
  for (int I = From; I < FunCall->GetArgumentCount(); ++I) Result->Add(Evaluate(FunCall, I, Context));
  return Result;
}

// The format text is taken as written: a variable in its place gives its name.
std::string FormatText(const IFunCall& FunCall, int Index) {
  const IKBValue Written = FunCall->GetArgument(Index);
  return Written ? Written->GetAsString() : std::string();
}

}  // namespace

// ---------------------------------------------------------------- streams

void TOpenFunction::InitMetaData() {
  Describe("open", "Opens the file under the logical name, to read (r), read and write (r+), write (w) or append (a)",
           " <filename> <logical-name> [a|r|w|r+]", 2, 3);
}

void TOpenFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Mode = FunCall->GetArgumentCount() > 2 ? TextOf(FunCall, 2, Context) : std::string();
  if (!Mode.empty() && Mode != "r" && Mode != "r+" && Mode != "w" && Mode != "a")
    throw EKBException(Format(_SInvalidFileAccess, Mode));
  const std::string FileName = TextOf(FunCall, 0, Context);
  const IKBValue Name = Evaluate(FunCall, 1, Context);

  // Only what is opened for reading can be read token by token.
  std::unique_ptr<TGTextStream> Stream;
  if (Mode.empty() || Mode == "r")
    Stream = Engine.NewTokenizer(FileName, fmOpenRead);
  else if (Mode == "r+")
    Stream = Engine.NewTokenizer(FileName, fmOpenReadWrite);
  else if (Mode == "w")
    Stream = std::make_unique<TGTextStream>(FileName, fmCreate);
  else {
    Stream = std::make_unique<TGTextStream>(FileName, FileExists(FileName) ? fmOpenReadWrite : fmCreate);
    Stream->SeekToEnd();
  }
  // A name in use is an error, never a replacement: the table's own Add
  // would settle it by the duplicate-construct rule.
  TVXStringObjectHashTable<TGTextStream*>& Streams = *Engine.GetIOStreams();
  Streams.Add(Name->GetAsString(), Stream.get());
  (void)Stream.release();
  Result = Name->Clone();
}

void TCloseFunction::InitMetaData() {
  Describe("close", "Closes the streams of the logical names, or all streams", " [<logical-name>+]", 0);
}

void TCloseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TIOStreams& Streams = *EngineOf(Context).GetIOStreams();
  if (FunCall->GetArgumentCount() == 0)
    Streams.Clear();
  else
    for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Streams.Remove(TextOf(FunCall, I, Context));
  Result = FCTrue;
}

void TReadFunction::InitMetaData() {
  Describe("read", "Reads one token from a line of the logical name's stream or of the console", " [<logical-name>]", 0,
           1);
}

void TReadFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = Engine.ReadToken(InputName(FunCall, Context))->Value();
}

void TReadLineFunction::InitMetaData() {
  Describe("readline", "Reads a line of the logical name's stream or of the console as a string; EOF at the end",
           " [<logical-name>]", 0, 1);
}

void TReadLineFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Line = Engine.ReadLine(InputName(FunCall, Context));
  // An empty line cannot be told from the end.
  Result = Line.empty() ? FCEOF : IKBValue(new TKBValue(Line, dtString));
}

// ---------------------------------------------------------------- output

void TPrintOutFunction::InitMetaData() {
  Describe("printout", "Writes the expressions to the logical name; the atom crlf ends a line",
           " <logical-name> <expression>*", 0);
}

void TPrintOutFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  // A buffer of the call's own, so that a printout inside an argument does
  // not disturb this one.
  std::string Text;
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I)
    if (const IKBValue Value = ResolveArgument(FunCall, I, Context)) AppendPrinted(Text, Value);
  // The channel comes last, after the expressions.
  Engine.PrintOut(FunCall->GetArgumentCount() > 0 ? TextOf(FunCall, 0, Context) : std::string(), Text);
  Result = FCNil;
}

void TFormatFunction::InitMetaData() {
  Describe("format", "Writes the expressions, formatted by the string, to the logical name",
           " <logical-name> <string-expression> <expression>*", 2);
}

void TFormatFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Text = RuleFormat(FormatText(FunCall, 1), EvaluateFrom(FunCall, 2, Context));
  Engine.PrintOut(TextOf(FunCall, 0, Context), Text);
  Result = FCNil;
}

void TStrFormatFunction::InitMetaData() {
  Describe("str-format", "Returns the expressions formatted by the string", "<string-expression> <expression>+", 2);
}

void TStrFormatFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IValueVector Arguments = EvaluateFrom(FunCall, 1, Context);
  Result = IKBValue(new TKBValue(RuleFormat(FormatText(FunCall, 0), Arguments), dtString));
}

void TDribbleOnFunction::InitMetaData() {
  Describe("dribble-on", "Sends console output to the file instead; FALSE when the file cannot be made", " <filename>",
           1, 1);
}

void TDribbleOnFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = Truth(Engine.StartCapture(TextOf(FunCall, 0, Context), nullptr));
}

void TDribbleOffFunction::InitMetaData() { Describe("dribble-off", "Ends sending console output to a file", "", 0, 0); }

void TDribbleOffFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(EngineOf(Context).StopCapture());
}

// ---------------------------------------------------------------- files

void TRemoveFunction::InitMetaData() {
  Describe("remove", "Deletes the file; FALSE when that fails", " [<file-name>]", 1, 1);
}

void TRemoveFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(DeleteFile(TextOf(FunCall, 0, Context)));
}

void TRenameFunction::InitMetaData() {
  Describe("rename", "Renames the file; FALSE when that fails or the new name is taken",
           " [<old-file-name> <new-file-name>]", 2, 2);
}

void TRenameFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string OldName = TextOf(FunCall, 0, Context);
  Result = Truth(RenameFile(OldName, TextOf(FunCall, 1, Context)));
}

}  // namespace cogent
