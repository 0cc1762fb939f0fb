#include "cogent/language/KBTokenizer.h"

#include <cmath>
#include <limits>

#include "cogent/common/VXNexus.h"
#include "cogent/facts/KBContext.h"
#include "cogent/language/KBParser.h"

namespace cogent {

namespace {

constexpr char32_t CR = U'\r';
constexpr char32_t LF = U'\n';

// Toward zero, saturating at the ends of TInt; NaN gives 0.
template <class TInt>
TInt Truncate(double Value) noexcept {
  if (std::isnan(Value)) return 0;
  constexpr double Low = static_cast<double>(std::numeric_limits<TInt>::min());  // exactly -2^(n-1)
  if (Value <= Low) return std::numeric_limits<TInt>::min();
  if (Value >= -Low) return std::numeric_limits<TInt>::max();
  return static_cast<TInt>(Value);
}

// A token by itself, whatever follows it.
bool IsPunctuation(char32_t C) noexcept {
  switch (C) {
    case U'&':
    case U'(':
    case U')':
    case U'=':
    case U'[':
    case U']':
    case U'|':
    case U'~':
      return true;
    default:
      return false;
  }
}

// Ends a word and begins the next token.
bool EndsWord(char32_t C) noexcept {
  switch (C) {
    case U'[':
    case U'"':
    case U'&':
    case U'(':
    case U')':
    case U';':
    case U'<':
    case U']':
    case U'|':
    case U'~':
      return true;
    default:
      return false;
  }
}

bool IsValidCodePoint(std::int32_t Code) noexcept {
  return Code > 0 && Code <= 0x10FFFF && (Code < 0xD800 || Code > 0xDFFF);
}

}  // namespace

// ================================================================ TKBStreamToken

TKBStreamToken::TKBStreamToken(std::int32_t ADataType, std::int32_t ALineNumber, std::string AText, double ANumber)
    : FDataType(ADataType), FLineNumber(ALineNumber), FNumber(ANumber), FText(std::move(AText)) {}

std::string TKBStreamToken::ToString() const {
  switch (FDataType) {
    case dtVariable:
      return "?" + FText;
    case dtMultiVariable:
      return "$?" + FText;
    case dtString:
      return "\\\"" + FText + "\"\\";
    case dtInteger:
      return IntToStr(Truncate<std::int64_t>(FNumber));
    case dtFloat:
      return Format("%.4f", FNumber);
    default:
      break;
  }
  if (!FText.empty()) return FText;
  std::string Result;
  if (IsValidCodePoint(FDataType)) UTF8Append(Result, static_cast<char32_t>(FDataType));
  return Result;
}

IKBValue TKBStreamToken::Value() const {
  switch (FDataType) {
    case dtAtom:
      if (FText == FCTrue->GetAsString()) return FCTrue;
      if (FText == FCFalse->GetAsString()) return FCFalse;
      // "nil" can't take more bytes than this in any case mapping.
      if (FText.size() <= 6 && LowerCase(FText) == "nil") return FCNil;
      return IKBValue(new TKBValue(FText, dtAtom));
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      return IKBValue(new TKBValue(FText, static_cast<TKBType>(FDataType)));
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      return IKBValue(new TKBValue(Truncate<std::int32_t>(FNumber), static_cast<TKBType>(FDataType)));
    case dtFloat:
      return IKBValue(new TKBValue(FNumber));
    case dtObject: {
      IKBValue Result(new TKBValue());
      Result->SetAsObject(reinterpret_cast<TObject*>(Truncate<std::intptr_t>(FNumber)));
      return Result;
    }
    case dtExternalAddress: {
      IKBValue Result(new TKBValue());
      Result->SetAsExternalAddress(reinterpret_cast<void*>(Truncate<std::intptr_t>(FNumber)));
      return Result;
    }
    case dtNone:
      if (FText == "EOF") return FCEOF;
      break;
    default:
      break;
  }
  return IKBValue(new TKBValue(IntToStr(FDataType), dtString));
}

IKBValue TKBStreamToken::Value(TObject* Context) const {
  const auto* KBContext = dynamic_cast<const TKBContext*>(Context);
  if (KBContext == nullptr || (FDataType != dtVariable && FDataType != dtMultiVariable)) return Value();
  const TBinding* Binding = KBContext->FindBinding(FText);
  if (Binding == nullptr) RaiseUnknownVariable(FText);
  return Binding->GetValue();
}

void TKBStreamToken::RaiseUnknownVariable(const std::string& Name) {
  const bool OnlyMarks = Name.size() >= 2 && Name.find_first_not_of('?') == std::string::npos;
  throw EKBException(Format(OnlyMarks ? _SEncodingProblem : _SUnknownVariable, Name));
}

void TKBStreamToken::SetValue(const IKBValue& AValue) {
  if (!AValue) return;
  const TKBType Kind = AValue->GetDType();
  // Read first, so that a refusing getter leaves the token alone.
  switch (Kind) {
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      FNumber = AValue->GetAsInteger();
      break;
    case dtFloat:
      FNumber = AValue->GetAsFloat();
      break;
    case dtObject:
      FNumber = static_cast<double>(reinterpret_cast<std::intptr_t>(AValue->GetAsObject()));
      break;
    case dtExternalAddress:
      FNumber = static_cast<double>(reinterpret_cast<std::intptr_t>(AValue->GetAsExternalAddress()));
      break;
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      FText = AValue->GetAsString();
      break;
    default:
      break;
  }
  FDataType = Kind;
}

bool TKBStreamToken::Equals(const TPersistent* Other) const {
  const auto* Token = dynamic_cast<const TKBStreamToken*>(Other);
  return Token != nullptr && Token->FDataType == FDataType && Token->FLineNumber == FLineNumber &&
         Token->FNumber == FNumber;
}

bool TKBStreamToken::Equals(const IInterface& Other) const { return Equals(Other.As<TKBStreamToken>().get()); }

void TKBStreamToken::Assign(TPersistent* Source) {
  auto* Token = dynamic_cast<TKBStreamToken*>(Source);
  if (Token == nullptr) {
    TKBStreamTokenPersistent::Assign(Source);
    return;
  }
  if (Token == this) return;
  FDataType = Token->FDataType;
  FLineNumber = Token->FLineNumber;
  FNumber = Token->FNumber;
  FText = Token->FText;
  FTag = Token->FTag;
  FWhitespace = Token->FWhitespace;
}

void TKBStreamToken::Assign(const IInterface& Source) {
  if (const IStreamToken Token = Source.As<TKBStreamToken>())
    Assign(static_cast<TPersistent*>(Token.get()));
  else
    AssignError(dynamic_cast<TPersistent*>(Source.get()));
}

IStreamToken TKBStreamToken::Clone() const {
  IStreamToken Result(new TKBStreamToken());
  Result->Assign(const_cast<TKBStreamToken*>(this));
  return Result;
}

IInterface TKBStreamToken::CloneInterface() const { return Clone(); }

// ================================================================ TKBTokenizerStream

TKBTokenizerStream::TKBTokenizerStream(TStream* AStream, TEncoding* AEncoding, bool AOwnsStream)
    : TGTextStream(AStream, AEncoding, AOwnsStream) {}

// ================================================================ TKBRuleStream

TKBRuleStream::TKBRuleStream(TStream* AStream, TEncoding* AEncoding, bool AOwnsStream)
    : TKBTokenizerStream(AStream, AEncoding, AOwnsStream), FToString({}, TEncoding::UTF8()) {}

TKBRuleStream::~TKBRuleStream() = default;

void TKBRuleStream::SetEngine(TComponent* Value) {
  if (Value == FOwner) return;
  if (FOwnerNexus && FOwner != nullptr) FOwnerNexus->Unwatch(FOwner);
  FOwner = Value;
  if (Value == nullptr) return;
  if (!FOwnerNexus)
    FOwnerNexus = std::make_unique<TComponentNexus>([this](TComponent* AComponent, TOperation Operation) {
      if (Operation == opRemove && AComponent == FOwner) FOwner = nullptr;
    });
  FOwnerNexus->Watch(Value);
}

std::string TKBRuleStream::GenerateSymbol(const char* Prefix) {
  if (auto* Engine = KnowledgeBaseOf(FOwner)) return Engine->GenerateSymbol(Prefix);
  return Prefix + IntToStr(++FSymbolIndex);
}

bool TKBRuleStream::SkipInLineSpaces() {
  for (;;) {
    const char32_t C = GetChar();
    if (C == EndOfStream) return false;
    if (C > 32) {
      PutBack(C);
      return false;
    }
    FWhiteSpace.push_back(static_cast<char>(C));
    if (C == LF) return true;
    if (C == CR) {
      const char32_t Next = GetChar();
      if (Next == LF)
        FWhiteSpace.push_back('\n');
      else
        PutBack(Next);
      return true;
    }
  }
}

std::string TKBRuleStream::GetLine() {
  std::string Line = TKBTokenizerStream::GetLine();
  FWhiteSpace += Line;
  FWhiteSpace += sLineBreak;
  return Line;
}

void TKBRuleStream::ReadString() {
  FText.clear();
  // A string left open runs to the end of the text; the line where it opens
  // is the one that tells the reader what to mend.
  const std::int32_t FirstLine = FLineNumber;
  for (;;) {
    char32_t C = GetChar();
    if (C == U'"') return;
    if (C == U'\\') C = GetChar();
    if (C == EndOfStream) throw EKBParseException(_SUnterminatedString, FirstLine);
    UTF8Append(FText, C);
  }
}

IStreamToken TKBRuleStream::BuildNextToken() {
  for (;;) {
    FText.clear();
    while (SkipInLineSpaces()) {
    }
    const char32_t C = GetChar();
    if (C == EndOfStream) return FinishToken(-1, FText);
    if (C == U'"') {
      ReadString();
      return FinishToken('"', FText);
    }
    if (IsPunctuation(C)) {
      FText.push_back(static_cast<char>(C));
      return FinishToken(static_cast<std::int32_t>(C), FText);
    }
    if (C == U';') {
      FWhiteSpace.push_back(';');
      GetLine();
      continue;
    }
    UTF8Append(FText, C);
    for (;;) {
      char32_t Next = GetChar();
      if (Next == EndOfStream) return FinishToken(-1, FText);
      if (Next < 33) {
        FWhiteSpace.push_back(static_cast<char>(Next));
        // A line end that ends the word is counted already, but the word
        // stands on the line before it.
        if (Next != CR && (Next != LF || FLastChar == CR)) return FinishToken(0, FText);
        --FLineNumber;
        IStreamToken Token;
        try {
          Token = FinishToken(0, FText);
        } catch (...) {
          ++FLineNumber;
          throw;
        }
        ++FLineNumber;
        return Token;
      }
      if (EndsWord(Next)) {
        PutBack(Next);
        return FinishToken(0, FText);
      }
      if (Next == U'\\') {
        Next = GetChar();
        if (Next == EndOfStream) return FinishToken(-1, FText);
      }
      UTF8Append(FText, Next);
    }
  }
}

IStreamToken TKBRuleStream::FinishToken(std::int32_t Hint, const std::string& Text) {
  if (Hint == -1 && !Text.empty()) Hint = 0;
  const bool Valid = Hint == -1 || Hint == 0 || Hint == 13 || Hint == '"' ||
                     (Hint > 0 && IsPunctuation(static_cast<char32_t>(Hint)));
  if (!Valid) throw EKBParseException(Format(_SInvalidTokenHint, IntToStr(Hint)), FLineNumber);

  IStreamToken Token(new TKBStreamToken(dtNone, FLineNumber));
  // Variables and a lone sign leave the white space for the next token too.
  bool KeepWhiteSpace = false;
  switch (Hint) {
    case -1:
      Token->SetText("EOF");
      KeepWhiteSpace = true;
      break;
    case 13:
      Token->SetDataType(dtAtom);
      Token->SetText("CRLF");
      break;
    case 0: {
      std::int32_t Integer = 0;
      double Float = 0;
      std::size_t Pos = 0;
      const char32_t First = Text.empty() ? 0 : UTF8Decode(Text, Pos);
      if (First == U'?') {
        Token->SetDataType(dtVariable);
        Token->SetText(Text.size() == 1 ? GenerateSymbol(SBlankPrefix) : Text.substr(1));
        KeepWhiteSpace = true;
      } else if (First == U'$' && Text.size() >= 2 && Text[1] == '?') {
        Token->SetDataType(dtMultiVariable);
        Token->SetText(Text.size() == 2 ? GenerateSymbol(SBlankMulti) : Text.substr(2));
        KeepWhiteSpace = true;
      } else if (Pos == Text.size() && IsNumberSymbol(First)) {
        Token->SetDataType(dtAtom);
        Token->SetText(Text);
        KeepWhiteSpace = true;
      } else if (IsNumberChar(First) && TryStrToInt(Text, Integer)) {
        Token->SetDataType(dtInteger);
        Token->SetNumber(Integer);
      } else if (IsNumberChar(First) && TryStrToFloat(Text, Float)) {
        Token->SetDataType(dtFloat);
        Token->SetNumber(Float);
      } else {
        Token->SetDataType(dtAtom);
        Token->SetText(Text);
      }
      break;
    }
    case '"':
      Token->SetDataType(dtString);
      Token->SetText(Text);
      break;
    default:
      Token->SetDataType(Hint);
      Token->SetText(Text);
      break;
  }
  if (KeepWhiteSpace) {
    Token->SetWhitespace(FWhiteSpace);
  } else {
    Token->SetWhitespace(std::move(FWhiteSpace));
    FWhiteSpace.clear();
  }
  return Token;
}

void TKBRuleStream::PrepareSExp() {
  FToString.SetDataString({});
  FTempStack.clear();
  std::int32_t Level = 0;
  StartRecording();
  try {
    for (;;) {
      IStreamToken Token = BuildNextToken();
      if (Token->GetDataType() == '(')
        ++Level;
      else if (Token->GetDataType() == ')')
        --Level;
      const bool AtEnd = Token->IsEOF();
      FTempStack.push_back(std::move(Token));
      if (Level == 0 || AtEnd) break;
    }
  } catch (...) {
    FTempStack.clear();
    FExpressionSource = StopRecording();
    throw;
  }
  FExpressionSource = StopRecording();
  // Blanks and comment lines before the expression are not part of it.
  std::size_t Start = 0;
  while (Start < FExpressionSource.size()) {
    const char C = FExpressionSource[Start];
    if (C == ';')
      while (Start < FExpressionSource.size() && FExpressionSource[Start] != '\n' && FExpressionSource[Start] != '\r')
        ++Start;
    else if (static_cast<unsigned char>(C) <= 32)
      ++Start;
    else
      break;
  }
  FExpressionSource.erase(0, Start);
  while (!FTempStack.empty()) {
    FStack.push_back(std::move(FTempStack.back()));
    FTempStack.pop_back();
  }
}

IStreamToken TKBRuleStream::NextToken() {
  if (FStack.empty()) PrepareSExp();
  IStreamToken Token = std::move(FStack.back());
  FStack.pop_back();
  if (FCurrentToken && FCurrentToken->GetLineNumber() < Token->GetLineNumber()) FToString.WriteString(sLineBreak);
  const std::int32_t Kind = Token->GetDataType();
  // Atoms and punctuation print as their text; spare the copy.
  if ((Kind == dtAtom || Kind > dtMultiSlot) && !Token->GetText().empty())
    FToString.WriteString(Token->GetText());
  else
    FToString.WriteString(Token->ToString());
  FToString.WriteString(" ");
  if (Kind == ')')
    --FParenthesisLevel;
  else if (Kind == '(')
    ++FParenthesisLevel;
  FCurrentToken = Token;
  return Token;
}

void TKBRuleStream::PutBackToken(const IStreamToken& Token) {
  if (!Token) return;
  FStack.push_back(Token);
  FCurrentToken = Token;
  // Back to the text before the token, closed by one blank.
  const std::string& Data = FToString.GetBytes();
  const std::int64_t Before =
      FToString.GetPosition() - static_cast<std::int64_t>(Token->ToString().size()) - 1;
  std::size_t End = Before <= 0 ? 0 : std::min(static_cast<std::size_t>(Before), Data.size());
  while (End > 0 && static_cast<unsigned char>(Data[End - 1]) <= 32) --End;
  FToString.Seek(static_cast<std::int64_t>(End), soBeginning);
  FToString.WriteString(" ");
  if (Token->GetDataType() == ')')
    ++FParenthesisLevel;
  else if (Token->GetDataType() == '(')
    --FParenthesisLevel;
}

std::string TKBRuleStream::Head() {
  const IStreamToken First = NextToken();
  if (First->GetDataType() != '(' || FStack.empty()) return {};
  const IStreamToken Peeked = FStack.back();
  PutBackToken(First);
  switch (Peeked->GetDataType()) {
    case dtAtom:
      return Peeked->GetText().empty() ? Peeked->ToString() : Peeked->GetText();
    case '-':
      return "-";
    case '=':
      return "=";
    case dtVariable:
      return Peeked->GetText();
    default:
      return {};
  }
}

IStreamToken TKBRuleStream::GetCurrentToken() {
  if (!FCurrentToken) NextToken();
  return FCurrentToken;
}

std::string TKBRuleStream::ToString() const { return FToString.GetDataString(); }

void TKBRuleStream::Clear() {
  FStack.clear();
  FToString.SetDataString({});
}

void TKBRuleStream::DiscardUntilEOL() {
  // A word may have ended on the line end already; then the line is over.
  if (FCurrentChar == LF) return;
  if (FCurrentChar == CR) {
    const char32_t Next = GetChar();
    if (Next == LF)
      FWhiteSpace.push_back('\n');
    else
      PutBack(Next);
    return;
  }
  GetLine();
}

void TKBRuleStream::MoveToNextConstruct() {
  while (FParenthesisLevel != 0)
    if (NextToken()->IsEOF()) break;
}

}  // namespace cogent
