#include "cogent/host/ComponentStreams.h"

#include "cogent/host/Guards.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

constexpr const char* SInvalidStreamFormat = "Invalid stream format";
constexpr const char* SUnknownProperty = "Error reading %s: property %s does not exist";

std::string Quoted(const std::string& Text) {
  std::string Result = "\"";
  for (const char C : Text) {
    switch (C) {
      case '\\': Result += "\\\\"; break;
      case '"': Result += "\\\""; break;
      case '\r': Result += "\\r"; break;
      case '\n': Result += "\\n"; break;
      case '\t': Result += "\\t"; break;
      default: Result += C;
    }
  }
  return Result + "\"";
}

// Reads the whole text of the stream from its position on.
std::string ReadAll(TStream& Stream) {
  std::string Text;
  char Buffer[4096];
  for (;;) {
    const std::int64_t Count = Stream.Read(Buffer, sizeof Buffer);
    if (Count <= 0) break;
    Text.append(Buffer, static_cast<std::size_t>(Count));
  }
  return Text;
}

class TScanner {
public:
  explicit TScanner(std::string AText) : FText(std::move(AText)) {}

  void SkipBlanks() {
    while (FPos < FText.size() && (FText[FPos] == ' ' || FText[FPos] == '\t' || FText[FPos] == '\r' ||
                                   FText[FPos] == '\n'))
      ++FPos;
  }
  bool AtEnd() {
    SkipBlanks();
    return FPos >= FText.size();
  }
  bool Peek(char C) {
    SkipBlanks();
    return FPos < FText.size() && FText[FPos] == C;
  }
  void Expect(char C) {
    if (!Peek(C)) Fail();
    ++FPos;
  }
  // A name: letters, digits, '_' and '.'.
  std::string Word() {
    SkipBlanks();
    const std::size_t Start = FPos;
    while (FPos < FText.size() && (IsNameChar(FText[FPos]))) ++FPos;
    if (FPos == Start) Fail();
    return FText.substr(Start, FPos - Start);
  }
  std::string Text() {
    Expect('"');
    std::string Result;
    while (FPos < FText.size() && FText[FPos] != '"') {
      char C = FText[FPos++];
      if (C == '\\') {
        if (FPos >= FText.size()) Fail();
        switch (FText[FPos++]) {
          case '\\': C = '\\'; break;
          case '"': C = '"'; break;
          case 'r': C = '\r'; break;
          case 'n': C = '\n'; break;
          case 't': C = '\t'; break;
          default: Fail();
        }
      }
      Result += C;
    }
    if (FPos >= FText.size()) Fail();
    ++FPos;
    return Result;
  }
  [[noreturn]] static void Fail() { throw EReadError(SInvalidStreamFormat); }

private:
  static bool IsNameChar(char C) noexcept {
    return (C >= 'a' && C <= 'z') || (C >= 'A' && C <= 'Z') || (C >= '0' && C <= '9') || C == '_' || C == '.';
  }
  std::string FText;
  std::size_t FPos = 0;
};

}  // namespace

void TFiler::DefineChild(const std::string& Name, TPersistent& Child) {
  const std::string Outer = FPrefix;
  FPrefix += Name + ".";
  const TFinally Restore([this, &Outer] { FPrefix = Outer; });
  Child.DefineProperties(*this);
}

// ---------------------------------------------------------------- writing

void TWriter::WriteText(const std::string& Text) {
  FStream.Write(Text.data(), static_cast<std::int64_t>(Text.size()));
}

void TWriter::DefineProperty(const std::string& Name, const TTextReader&, const TTextWriter& Writer, bool HasData) {
  if (!HasData || !Writer) return;
  WriteText("  " + FullName(Name) + " = " + Quoted(Writer()) + "\r\n");
}

void TWriter::DefineListProperty(const std::string& Name, const TListReader&, const TListWriter& Writer,
                                 bool HasData) {
  if (!HasData || !Writer) return;
  std::string Line = "  " + FullName(Name) + " = (";
  bool First = true;
  for (const std::string& Text : Writer()) {
    if (!First) Line += ' ';
    First = false;
    Line += Quoted(Text);
  }
  WriteText(Line + ")\r\n");
}

void WriteComponent(TStream& Stream, TComponent& Component) {
  TWriter Writer(Stream);
  Writer.WriteText("object " + Component.ClassName() + "\r\n");
  Component.DefineProperties(Writer);
  Writer.WriteText("end\r\n");
}

// ---------------------------------------------------------------- reading

TReader::TReader(TStream& Stream) {
  TScanner Scanner(ReadAll(Stream));
  if (Scanner.Word() != "object") TScanner::Fail();
  FClassName = Scanner.Word();
  for (;;) {
    const std::string Name = Scanner.Word();
    if (Name == "end") break;
    Scanner.Expect('=');
    TValue Value;
    if (Scanner.Peek('(')) {
      Scanner.Expect('(');
      Value.IsList = true;
      while (!Scanner.Peek(')')) Value.Texts.push_back(Scanner.Text());
      Scanner.Expect(')');
    } else {
      Value.Texts.push_back(Scanner.Text());
    }
    FValues[Name] = std::move(Value);
  }
  if (!Scanner.AtEnd()) TScanner::Fail();
}

void TReader::DefineProperty(const std::string& Name, const TTextReader& Reader, const TTextWriter&, bool) {
  const auto It = FValues.find(FullName(Name));
  if (It == FValues.end() || !Reader) return;
  if (It->second.IsList) TScanner::Fail();
  It->second.Read = true;
  Reader(It->second.Texts.front());
}

void TReader::DefineListProperty(const std::string& Name, const TListReader& Reader, const TListWriter&, bool) {
  const auto It = FValues.find(FullName(Name));
  if (It == FValues.end() || !Reader) return;
  if (!It->second.IsList) TScanner::Fail();
  It->second.Read = true;
  Reader(It->second.Texts);
}

void TReader::CheckAllRead() const {
  for (const auto& [Name, Value] : FValues)
    if (!Value.Read) throw EReadError(Format(SUnknownProperty, FClassName, Name));
}

void ReadComponent(TStream& Stream, TComponent& Component) {
  TReader Reader(Stream);
  Component.BeginLoading();
  try {
    Component.DefineProperties(Reader);
    Reader.CheckAllRead();
  } catch (...) {
    // Nothing stays loading; the first error is the one reported.
    try {
      Component.EndLoading();
    } catch (...) {
    }
    throw;
  }
  Component.EndLoading();
}

}  // namespace cogent
