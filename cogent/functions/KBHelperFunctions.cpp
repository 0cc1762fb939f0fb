#include "cogent/functions/KBHelperFunctions.h"

#include <string_view>
#include <vector>

#include "cogent/host/Math.h"

namespace cogent {

void TBuiltInFunction::Describe(const TKBName& Name, const std::string& Comment, const std::string& Arguments,
                                std::int32_t Min, std::int32_t Max) {
  SetFunctionName(Name);
  FComment = Format(CommentFormat, Comment);
  FArgumentString = Arguments;
  SetMaxArgumentCount(Max);
  SetMinArgumentCount(Min);
}

TInferenceEngine& EngineOf(TKBContext* Context) {
  auto* Engine = Context ? ObjectAs<TInferenceEngine>(Context->GetEngine()) : nullptr;
  if (!Engine) throw EKBException(_SUnknownEngine);
  return *Engine;
}

TKBContext& ContextOf(TKBContext* Context) {
  if (!Context) throw EKBException(Format(_SNoContext, GetKBTypeName(dtVariable)));
  return *Context;
}

IKBValue ResolveArgument(const IFunCall& FunCall, int Index, TKBContext* Context) {
  IKBValue Argument = FunCall->GetArgument(Index);
  if (!Argument || TKBValue::StandsForItself(Argument->GetDType())) return Argument;
  return Argument->Resolve(Context);
}

IKBValue Evaluate(const IFunCall& FunCall, int Index, TKBContext* Context) {
  IKBValue Result = ResolveArgument(FunCall, Index, Context);
  if (!Result) throw EKBException(Format(SNoArgumentValue, Index + 1, FunCall->GetName()));
  return Result;
}

std::string TextOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return Evaluate(FunCall, Index, Context)->GetAsString();
}

double NumberOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return Evaluate(FunCall, Index, Context)->GetAsNumeric();
}

std::int32_t IntegerOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return Evaluate(FunCall, Index, Context)->GetAsInteger();
}

IValueVector ListOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return Evaluate(FunCall, Index, Context)->GetAsList();
}

IKBValue NewFloat(double Value) { return IKBValue(new TKBValue(CheckFloat(Value))); }

bool IsReturning(const TKBContext* Context) noexcept { return Context && Context->GetReturning(); }

bool RunSequence(const IFunCall& FunCall, int From, int To, TKBContext* Context, IKBValue& Result) {
  for (int I = From; I <= To; ++I) {
    Result = ResolveArgument(FunCall, I, Context);
    if (IsReturning(Context)) {
      Result = Context->GetReturnValue();
      return true;
    }
  }
  return false;
}

// ---------------------------------------------------------------- RuleFormat

namespace {

// What may stand between "%" and the type character.
constexpr std::string_view DirectiveFlags = "%-0123456789.";

// An argument that no directive takes.
std::string LooseText(const TKBValue& Value) {
  switch (Value.GetDType()) {
    case dtString:
      return Value.GetAsString();
    case dtFactId:
    case dtExternalAddress:
      return IntToStr(Value.GetAsInteger());
    case dtList:
      return "(" + Value.GetToString() + ")";
    default:
      return Value.GetToString();
  }
}

// Puts Value into the first directive of Result, or appends it when there
// is none. Gives false when the directive was a line break, which leaves
// Value for the next directive.
bool TakeArgument(std::string& Result, const TKBValue& Value) {
  // Always from the start: a "%" that an earlier argument brought in counts.
  const std::size_t P = Result.find('%');
  if (P == std::string::npos) {
    Result += ' ';
    Result += LooseText(Value);
    return true;
  }
  // The last character is the type, whatever it is; a "%" at the very end
  // has none.
  std::size_t Q = P + 1;
  while (Q + 1 < Result.size() && DirectiveFlags.find(Result[Q]) != std::string_view::npos) ++Q;
  const char Type = Q < Result.size() ? Result[Q] : '\0';
  if (Q == P + 1 && Type == 'n') {
    Result.replace(P, 2, sLineBreak);
    return false;
  }
  std::vector<TVarRec> Filled;
  switch (Type) {
    case 's':
      Filled.emplace_back(Value.GetToString());
      break;
    case 'd':
    case 'u':
    case 'x':
      Filled.emplace_back(Value.GetAsInteger());
      break;
    case 'e':
    case 'f':
    case 'g':
    case 'm':
      Filled.emplace_back(Value.GetAsFloat());
      break;
    case 'p':
      Filled.emplace_back(Value.GetAsExternalAddress());
      break;
    default:
      return true;
  }
  Result = FormatV(std::string_view(Result).substr(0, Q + 1), Filled) + Result.substr(Q + 1);
  return true;
}

}  // namespace

bool IsValidUTF8(std::string_view Text) noexcept {
  std::size_t Pos = 0;
  while (Pos < Text.size()) {
    const std::size_t Start = Pos;
    // The decoder steps one byte over a bad sequence and gives U+FFFD, which
    // written out properly takes three.
    if (UTF8Decode(Text, Pos) == U'\uFFFD' && Pos - Start != 3) return false;
  }
  return true;
}

std::string RuleFormat(const std::string& AFormat, const IValueVector& Arguments) {
  // Widths and precisions count characters, so the text must be whole ones.
  if (!IsValidUTF8(AFormat)) throw EKBException(SInvalidFormatUTF8);
  std::string Result = AFormat;
  const int Count = Arguments ? Arguments->GetCount() : 0;
  for (int I = 0; I < Count; ++I) {
    const IKBValue& Value = Arguments->GetRef(I);
    if (!Value) continue;
    if (KBStringTypes.Contains(Value->GetDType()) && !IsValidUTF8(Value->GetAsString()))
      throw EKBException(SInvalidFormatUTF8);
    while (!TakeArgument(Result, *Value)) {
    }
  }
  return StringReplaceAll(Result, "%n", sLineBreak);
}

}  // namespace cogent
