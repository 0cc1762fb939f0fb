#pragma once
// What the built-in functions share: the base that describes a function in
// one call, the way to the engine, and the reading of arguments, which reach
// a function unevaluated.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

namespace cogent {

// Our own texts for what the message table does not cover.
inline constexpr const char* SNoArgumentValue = "Argument %d of %s has no value";
inline constexpr const char* SNotAvailableYet = "%s is not available yet";
inline constexpr const char* SInvalidUTF8 = "Invalid UTF-8 text given to %s";
inline constexpr const char* SInvalidFormatUTF8 = "Invalid UTF-8 text to format";

// A built-in function: its description is set once, in InitMetaData,
// through Describe.
// One member of a family of functions that share a class and differ by a
// type code: the code is the member's place in its table.
struct TFamilyMember {
  const char* Name;
  const char* Comment;
  const char* Arguments;
  std::int32_t Min;
  std::int32_t Max;
};

class TBuiltInFunction : public TKBUserFunction {
public:
  using TKBUserFunction::TKBUserFunction;

protected:
  // For a name of the family: its type code, comment, argument string and
  // limits. Another name leaves everything as it is.
  template <class Code, std::size_t N>
  void TakeFamilyMember(const TFamilyMember (&Members)[N], const TKBName& Name, Code& Type) {
    for (std::size_t I = 0; I < N; ++I)
      if (Name == Members[I].Name) {
        Type = static_cast<Code>(I);
        FComment = Format(CommentFormat, Members[I].Comment);
        FArgumentString = Members[I].Arguments;
        SetMaxArgumentCount(Members[I].Max);
        SetMinArgumentCount(Members[I].Min);
        return;
      }
  }

  // Name, comment, argument string and limits; the maximum goes first so
  // that the limits land as given.
  void Describe(const TKBName& Name, const std::string& Comment, const std::string& Arguments, std::int32_t Min,
                std::int32_t Max = NoArgumentLimit);
};

// The engine behind Context; raises _SUnknownEngine when there is none.
TInferenceEngine& EngineOf(TKBContext* Context);
// Context itself; raises _SNoContext for a function that needs variables.
TKBContext& ContextOf(TKBContext* Context);

// Argument Index resolved in Context. Evaluate refuses an argument that
// gives no value (a call of a function without a result), since the caller
// goes on to read it; ResolveArgument passes whatever comes back.
IKBValue Evaluate(const IFunCall& FunCall, int Index, TKBContext* Context);
// Evaluate without a count where the value has an owner: read it before
// anything else runs. A value made for the occasion lands in Keep.
const TKBValue& PeekEvaluated(const IFunCall& FunCall, int Index, TKBContext* Context, IKBValue& Keep);
IKBValue ResolveArgument(const IFunCall& FunCall, int Index, TKBContext* Context);
// Argument Index evaluated and read as text, as a number, as an integer or
// as a list.
std::string TextOf(const IFunCall& FunCall, int Index, TKBContext* Context);
double NumberOf(const IFunCall& FunCall, int Index, TKBContext* Context);
std::int32_t IntegerOf(const IFunCall& FunCall, int Index, TKBContext* Context);
IValueVector ListOf(const IFunCall& FunCall, int Index, TKBContext* Context);

// New result values. A float that is no finite number raises the host's
// invalid-operation or overflow error instead of becoming a value.
IKBValue NewFloat(double Value);
inline IKBValue NewInteger(std::int32_t Value) { return IKBValue(new TKBValue(Value, dtInteger)); }
inline IKBValue NewString(const std::string& Text) { return IKBValue(new TKBValue(Text, dtString)); }
inline IKBValue NewAtom(const std::string& Text) { return IKBValue(new TKBValue(Text, dtAtom)); }
inline IKBValue NewList(const IValueVector& Items) { return IKBValue(new TKBValue(Items)); }
// The arguments From to To (inclusive) run in order into Result; stops at a
// return, taking its value, and then gives true.
bool RunSequence(const IFunCall& FunCall, int From, int To, TKBContext* Context, IKBValue& Result);
bool IsReturning(const TKBContext* Context) noexcept;

// Only FALSE is false.
inline bool IsFalse(const IKBValue& Value) { return Value && Value->Equals(FCFalse); }
// The atom of exactly that spelling.
inline bool IsKeyword(const IKBValue& Value, const IKBValue& Keyword) { return Value && Value->Equals(Keyword); }
inline const IKBValue& Truth(bool Value) noexcept { return Value ? FCTrue : FCFalse; }

// The formatter of format and str-format. Each argument in turn takes the
// first directive of the text as it stands by then ("%" ["-"] [width]
// ["." prec] type, d u x e f g m p s), which the host's Format fills in; an
// argument left without a directive is appended after a blank. A plain "%n"
// is a line break and takes no argument; a directive of another type uses
// its argument up and stays as it is. Directives without an argument stay.
// Text that is no valid UTF-8, in the format or in an argument of a text
// kind, raises SInvalidFormatUTF8.
std::string RuleFormat(const std::string& AFormat, const IValueVector& Arguments);

// Whether Text is well-formed UTF-8: no stray or missing continuation bytes,
// no overlong forms, surrogates or code points beyond U+10FFFF.
bool IsValidUTF8(std::string_view Text) noexcept;

}  // namespace cogent

// Declares a built-in function class that adds nothing but its description
// and its work.
#define COGENT_BUILT_IN_FUNCTION(Class)                                                  \
  class Class : public TBuiltInFunction {                                                \
  public:                                                                                \
    using TBuiltInFunction::TBuiltInFunction;                                            \
                                                                                         \
  protected:                                                                             \
    void InitMetaData() override;                                                        \
    void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;  \
  };

// Declares a built-in ordering comparison, which the network may run in place
// of the call: final, so that no subclass changes what it tests.
#define COGENT_NUMERIC_COMPARISON_FUNCTION(Class, Comparison)                                         \
  class Class final : public TBuiltInFunction {                                                       \
  public:                                                                                             \
    using TBuiltInFunction::TBuiltInFunction;                                                         \
    TNumericComparison GetNumericComparison() const noexcept override { return Comparison; }          \
                                                                                                      \
  protected:                                                                                          \
    void InitMetaData() override;                                                                     \
    void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;               \
  };
