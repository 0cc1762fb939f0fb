#include "cogent/functions/StringPackage.h"

#include <algorithm>
#include <cstdint>

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TStringPackage, TUserPackage>();
  RegisterClass<TStrCatFunction, TKBUserFunction>();
  RegisterClass<TSymCatFunction, TKBUserFunction>();
  RegisterClass<TStrLengthFunction, TKBUserFunction>();
  RegisterClass<TStrCompFunction, TKBUserFunction>();
  RegisterClass<TStrIndexFunction, TKBUserFunction>();
  RegisterClass<TSubStringFunction, TKBUserFunction>();
  RegisterClass<TUpperCaseFunction, TKBUserFunction>();
  RegisterClass<TLowerCaseFunction, TKBUserFunction>();
  return true;
}();

// The text of argument Index, checked: every count and cut below relies on
// whole code points.
std::string CheckedText(const IFunCall& FunCall, int Index, TKBContext* Context) {
  std::string Text = TextOf(FunCall, Index, Context);
  if (!IsValidUTF8(Text)) throw EKBException(Format(SInvalidUTF8, FunCall->GetName()));
  return Text;
}

std::string JoinedTexts(const IFunCall& FunCall, TKBContext* Context) {
  std::string Result;
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Result += CheckedText(FunCall, I, Context);
  return Result;
}

// The argument's text mapped, as a new value of the argument's own kind,
// which only the text kinds allow.
IKBValue MappedCase(const IFunCall& FunCall, TKBContext* Context, std::string (*Map)(std::string_view)) {
  const IKBValue Value = Evaluate(FunCall, 0, Context);
  std::string Text = Value->GetAsString();
  if (!IsValidUTF8(Text)) throw EKBException(Format(SInvalidUTF8, FunCall->GetName()));
  return IKBValue(new TKBValue(Map(Text), Value->GetDType()));
}

}  // namespace

TStringPackage::TStringPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TStringPackage::~TStringPackage() { Destroying(); }

void TStringPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TStrCatFunction>();
  AddFunction<TSymCatFunction>();
  AddFunction<TStrLengthFunction>();
  AddFunction<TStrCompFunction>();
  AddFunction<TStrIndexFunction>();
  AddFunction<TSubStringFunction>();
  AddFunction<TUpperCaseFunction>();
  AddFunction<TLowerCaseFunction>();
}

// ---------------------------------------------------------------- building

void TStrCatFunction::InitMetaData() {
  Describe("str-cat", "Returns a string of the texts of the arguments joined with nothing in between",
           " <lexeme-expression>*", 0);
}

void TStrCatFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = IKBValue(new TKBValue(JoinedTexts(FunCall, Context), dtString));
}

void TSymCatFunction::InitMetaData() {
  Describe("sym-cat", "Returns a symbol of the texts of the arguments joined with nothing in between",
           " <expression>*", 0);
}

void TSymCatFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = IKBValue(new TKBValue(JoinedTexts(FunCall, Context), dtAtom));
}

// ---------------------------------------------------------------- measuring and searching

void TStrLengthFunction::InitMetaData() {
  Describe("str-length", "Returns the number of characters of the text", " <lexeme-expression>", 1, 1);
}

void TStrLengthFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // A valid text of more characters than an integer holds does not fit in
  // memory as a string the engine could build.
  const std::size_t Length = UTF8Length(CheckedText(FunCall, 0, Context));
  Result = IKBValue(new TKBValue(static_cast<std::int32_t>(std::min<std::size_t>(Length, INT32_MAX)), dtInteger));
}

void TStrCompFunction::InitMetaData() {
  Describe("str-compare",
           "Compares the two texts character by character, case-sensitive: an integer below 0, 0 or above 0 as "
           "the first is before, equal to or after the second",
           " <lexeme-expression> <lexeme-expression>", 2, 2);
}

void TStrCompFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string First = CheckedText(FunCall, 0, Context);
  const int Order = CompareStr(First, CheckedText(FunCall, 1, Context));
  Result = IKBValue(new TKBValue(Order < 0 ? -1 : Order > 0 ? 1 : 0, dtInteger));
}

void TStrIndexFunction::InitMetaData() {
  Describe("str-index",
           "Returns the position, counted from 1, of the first text within the second, or FALSE when it is not "
           "there",
           " <lexeme-expression> <lexeme-expression>", 2, 2);
}

void TStrIndexFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string Needle = CheckedText(FunCall, 0, Context);
  // Both texts are whole code points, so a match of bytes starts on one.
  const std::size_t Position = UTF8Pos(Needle, CheckedText(FunCall, 1, Context));
  Result = Position == 0 ? FCFalse
                         : IKBValue(new TKBValue(static_cast<std::int32_t>(std::min<std::size_t>(Position, INT32_MAX)),
                                                 dtInteger));
}

// ---------------------------------------------------------------- cutting

void TSubStringFunction::InitMetaData() {
  Describe("sub-string",
           "Returns the characters of the text from the start position to the end position, both counted from 1 "
           "and included",
           " <start-integer-expression> <end-integer-expression> <lexeme-expression>", 3, 3);
}

void TSubStringFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // The text first, then the positions.
  const std::string Text = CheckedText(FunCall, 2, Context);
  const std::int32_t Start = Evaluate(FunCall, 0, Context)->GetAsInteger();
  const std::int32_t End = Evaluate(FunCall, 1, Context)->GetAsInteger();
  const auto Length = static_cast<std::int64_t>(UTF8Length(Text));
  const std::int64_t Count = std::int64_t{End} - Start + 1;
  if (Start < 1 || Start > Length || Count < 0) throw EKBException(Format(_SInvalidSubstrParameters, Start, End));
  // An end beyond the text stops at its end.
  Result = IKBValue(new TKBValue(
      UTF8Copy(Text, static_cast<std::size_t>(Start), static_cast<std::size_t>(std::min(Count, Length))), dtString));
}

// ---------------------------------------------------------------- case

void TUpperCaseFunction::InitMetaData() {
  Describe("upcase", "Returns the text in upper case, of the same kind as the argument", " <lexeme-expression>", 1, 1);
}

void TUpperCaseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = MappedCase(FunCall, Context, &UpperCase);
}

void TLowerCaseFunction::InitMetaData() {
  Describe("lowcase", "Returns the text in lower case, of the same kind as the argument",
           " <string-or-symbol-expression>", 1, 1);
}

void TLowerCaseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = MappedCase(FunCall, Context, &LowerCase);
}

}  // namespace cogent
