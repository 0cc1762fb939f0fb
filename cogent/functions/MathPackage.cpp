#include "cogent/functions/MathPackage.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

#include "cogent/host/Math.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TMathPackage, TUserPackage>();
  RegisterClass<TPlusFunction, TKBUserFunction>();
  RegisterClass<TMinusFunction, TKBUserFunction>();
  RegisterClass<TTimesFunction, TKBUserFunction>();
  RegisterClass<TDivideFunction, TKBUserFunction>();
  RegisterClass<TIntegerDivideFunction, TKBUserFunction>();
  RegisterClass<TModFunction, TKBUserFunction>();
  RegisterClass<TExptFunction, TKBUserFunction>();
  RegisterClass<TAbsFunction, TKBUserFunction>();
  RegisterClass<TExpFunction, TKBUserFunction>();
  RegisterClass<TLogFunction, TKBUserFunction>();
  RegisterClass<TLog10Function, TKBUserFunction>();
  RegisterClass<TSqrtFunction, TKBUserFunction>();
  RegisterClass<TRoundFunction, TKBUserFunction>();
  RegisterClass<TIntegerFunction, TKBUserFunction>();
  RegisterClass<TFloatFunction, TKBUserFunction>();
  RegisterClass<TMaxFunction, TKBUserFunction>();
  RegisterClass<TMinFunction, TKBUserFunction>();
  RegisterClass<TPiFunction, TKBUserFunction>();
  RegisterClass<TRandomFunction, TKBUserFunction>();
  RegisterClass<TRandomizeFunction, TKBUserFunction>();
  RegisterClass<TSeedFunction, TKBUserFunction>();
  return true;
}();


bool IsFloat(const IKBValue& Value) { return Value->GetDType() == dtFloat; }

// Folds the numeric readings of the arguments, from argument From on, into
// an accumulator; one float among them makes the result a float. Read, when
// given, is argument From already evaluated.
template <class Step>
IKBValue FoldFrom(const IFunCall& FunCall, TKBContext* Context, int From, const TKBValue* Read, bool StartWithFirst,
                  double Accumulator, Step&& Apply) {
  bool Float = false;
  for (int I = From; I < FunCall->GetArgumentCount(); ++I) {
    IKBValue Keep;
    const TKBValue& Value = I == From && Read ? *Read : PeekEvaluated(FunCall, I, Context, Keep);
    const double Number = Value.GetAsNumeric();
    Accumulator = I == 0 && StartWithFirst ? Number : CheckFloat(Apply(Accumulator, Number));
    Float = Float || Value.GetDType() == dtFloat;
  }
  return Float ? NewFloat(Accumulator) : NewInteger(TruncToInteger(Accumulator));
}

template <class Step>
IKBValue Fold(const IFunCall& FunCall, TKBContext* Context, bool StartWithFirst, double Start, Step&& Apply) {
  return FoldFrom(FunCall, Context, 0, nullptr, StartWithFirst, Start, Apply);
}

// A sum, or a difference from the first argument: while the arguments are
// integers they add in 64 bits, which is exact where the doubles of the fold
// are (up to 2^22 arguments of 32 bits stay inside a double's 53), and wraps
// to 32 bits as the fold's result does. The first argument of another kind
// carries the sum over into the fold.
template <class Step>
IKBValue AddUp(const IFunCall& FunCall, TKBContext* Context, bool Subtract, Step&& Apply) {
  const int Count = FunCall->GetArgumentCount();
  if (Count > (1 << 22)) return Fold(FunCall, Context, Subtract, 0.0, Apply);
  std::int64_t Whole = 0;
  for (int I = 0; I < Count; ++I) {
    IKBValue Keep;
    const TKBValue& Value = PeekEvaluated(FunCall, I, Context, Keep);
    if (Value.GetDType() != dtInteger) [[unlikely]]
      return FoldFrom(FunCall, Context, I, &Value, Subtract, static_cast<double>(Whole), Apply);
    const std::int64_t Number = Value.GetAsInteger();
    Whole = I == 0 ? Number : Subtract ? Whole - Number : Whole + Number;
  }
  return NewInteger(static_cast<std::int32_t>(static_cast<std::uint32_t>(Whole)));
}

// The best argument by Better; only an argument that becomes the best can
// make the result a float.
template <class Better>
IKBValue Extreme(const IFunCall& FunCall, TKBContext* Context, Better&& IsBetter) {
  const IKBValue First = Evaluate(FunCall, 0, Context);
  double Best = First->GetAsNumeric();
  bool Float = IsFloat(First);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) {
    const IKBValue Value = Evaluate(FunCall, I, Context);
    const double Number = Value->GetAsNumeric();
    if (!IsBetter(Number, Best)) continue;
    Best = Number;
    Float = Float || IsFloat(Value);
  }
  return Float ? NewFloat(Best) : NewInteger(TruncToInteger(Best));
}


}  // namespace

// A linear congruential generator; relaxed atomics keep two threads that
// share it free of data races, not of each other's numbers.
std::atomic<std::uint32_t> RandomSeed{0};

std::int32_t Random(std::int32_t Range) {
  if (Range < 1) return 0;
  std::uint32_t Seed = RandomSeed.load(std::memory_order_relaxed) * 134775813u + 1u;
  RandomSeed.store(Seed, std::memory_order_relaxed);
  return static_cast<std::int32_t>((static_cast<std::uint64_t>(Seed) * static_cast<std::uint32_t>(Range)) >> 32);
}

void SetRandomSeed(std::uint32_t Seed) { RandomSeed.store(Seed, std::memory_order_relaxed); }

std::int32_t TruncToInteger(double Value) {
  // Most results are in range: they need no wrapping.
  if (Value > -2147483649.0 && Value < 2147483648.0) return static_cast<std::int32_t>(Value);
  CheckFloat(Value);
  const double Whole = std::fmod(std::trunc(Value), 4294967296.0);
  const auto Bits = static_cast<std::uint32_t>(static_cast<std::int64_t>(Whole < 0 ? Whole + 4294967296.0 : Whole));
  return static_cast<std::int32_t>(Bits);
}

// ---------------------------------------------------------------- the package

TMathPackage::TMathPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TMathPackage::~TMathPackage() { Destroying(); }

void TMathPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TPlusFunction>();
  AddFunction<TMinusFunction>();
  AddFunction<TTimesFunction>();
  AddFunction<TDivideFunction>();
  AddFunction<TIntegerDivideFunction>();
  AddFunction<TModFunction>();
  AddFunction<TExptFunction>();
  AddFunction<TAbsFunction>();
  AddFunction<TExpFunction>();
  AddFunction<TLogFunction>();
  AddFunction<TLog10Function>();
  AddFunction<TSqrtFunction>();
  AddFunction<TRoundFunction>();
  AddFunction<TIntegerFunction>();
  AddFunction<TFloatFunction>();
  AddFunction<TMaxFunction>();
  AddFunction<TMinFunction>();
  AddFunction<TPiFunction>();
  AddFunction<TRandomFunction>();
  AddFunction<TRandomizeFunction>();
  AddFunction<TSeedFunction>();
}

// ---------------------------------------------------------------- arithmetic

namespace {

// The direct entries of the arithmetic: the arguments are read even when
// the caller drops the value, for what reading them does.
void Sum(const IFunCall& FunCall, TKBContext* Context, IKBValue* Result) {
  IKBValue Value = AddUp(FunCall, Context, false, [](double A, double B) { return A + B; });
  if (Result) *Result = std::move(Value);
}

void Difference(const IFunCall& FunCall, TKBContext* Context, IKBValue* Result) {
  IKBValue Value = AddUp(FunCall, Context, true, [](double A, double B) { return A - B; });
  if (Result) *Result = std::move(Value);
}

void Product(const IFunCall& FunCall, TKBContext* Context, IKBValue* Result) {
  IKBValue Value = Fold(FunCall, Context, false, 1.0, [](double A, double B) { return A * B; });
  if (Result) *Result = std::move(Value);
}

}  // namespace

void TPlusFunction::InitMetaData() {
  Describe("+", "Returns the sum of the arguments, a float if any argument is a float", " <numeric-expression>+", 0);
  SetDirectEntry<TPlusFunction>(&Sum);
}

void TPlusFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Sum(FunCall, Context, &Result);
}

void TMinusFunction::InitMetaData() {
  Describe("-", "Returns the first argument less each of the others", " <numeric-expression>+", 1);
  SetDirectEntry<TMinusFunction>(&Difference);
}

void TMinusFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Difference(FunCall, Context, &Result);
}

void TTimesFunction::InitMetaData() {
  Describe("*", "Returns the product of the arguments, a float if any argument is a float", " <numeric-expression>+",
           0);
  SetDirectEntry<TTimesFunction>(&Product);
}

void TTimesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Product(FunCall, Context, &Result);
}

void TDivideFunction::InitMetaData() {
  Describe("/", "Returns the first argument divided by each of the others, always a float", " <numeric-expression>+",
           1);
}

void TDivideFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  double Accumulator = NumberOf(FunCall, 0, Context);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I)
    Accumulator = FloatDivide(Accumulator, NumberOf(FunCall, I, Context));
  Result = NewFloat(Accumulator);
}

void TIntegerDivideFunction::InitMetaData() {
  Describe("div", "Returns the first argument divided by each of the others as whole numbers, truncated toward zero",
           " <integer-expression>+", 1);
}

void TIntegerDivideFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  std::int32_t Accumulator = Evaluate(FunCall, 0, Context)->GetAsInteger();
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) {
    const std::int32_t Divisor = Evaluate(FunCall, I, Context)->GetAsInteger();
    if (Divisor == 0) throw EDivByZero(SDivByZero);
    if (Divisor == -1 && Accumulator == INT32_MIN) throw EIntOverflow(SIntOverflow);
    Accumulator /= Divisor;
  }
  Result = NewInteger(Accumulator);
}

void TModFunction::InitMetaData() {
  Describe("mod", "Returns the remainder of the first argument divided by the second, with the sign of the first",
           " <integer-expression> <integer-expression>", 2, 2);
}

void TModFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::int32_t Dividend = Evaluate(FunCall, 0, Context)->GetAsInteger();
  const std::int32_t Divisor = Evaluate(FunCall, 1, Context)->GetAsInteger();
  if (Divisor == 0) throw EDivByZero(SDivByZero);
  // The one quotient that does not fit leaves nothing over.
  Result = NewInteger(Divisor == -1 ? 0 : Dividend % Divisor);
}

void TExptFunction::InitMetaData() {
  Describe("**", "Returns the first argument raised to the power of the second, as a float",
           " <numeric-expression> <numeric-expression>", 2, 2);
}

void TExptFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double Base = NumberOf(FunCall, 0, Context);
  Result = NewFloat(std::pow(Base, NumberOf(FunCall, 1, Context)));
}

void TAbsFunction::InitMetaData() {
  Describe("abs", "Returns the absolute value of the argument, of the argument's kind", " <numeric-expression>", 1, 1);
}

void TAbsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue Value = Evaluate(FunCall, 0, Context);
  switch (Value->GetDType()) {
    case dtInteger: {
      const std::int32_t Number = Value->GetAsInteger();
      if (Number == INT32_MIN) throw EIntOverflow(SIntOverflow);
      Result = NewInteger(Number < 0 ? -Number : Number);
      break;
    }
    case dtFloat:
      Result = NewFloat(std::fabs(Value->GetAsFloat()));
      break;
    default:
      throw EKBException(Format(_SMissingNumeric, FFunctionName));
  }
}

#define COGENT_FLOAT_FUNCTION(Class, Name, Comment, Expression)                     \
  void Class::InitMetaData() { Describe(Name, Comment, " <numeric-expression>", 1, 1); } \
  void Class::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {     \
    TBuiltInFunction::Call(FunCall, Context, Result);                                    \
    const double X = NumberOf(FunCall, 0, Context);                                       \
    Result = NewFloat(Expression);                                                       \
  }

COGENT_FLOAT_FUNCTION(TExpFunction, "exp", "Returns e raised to the power of the argument", std::exp(X))
COGENT_FLOAT_FUNCTION(TLogFunction, "log", "Returns the natural logarithm of the argument", Ln(X))
COGENT_FLOAT_FUNCTION(TLog10Function, "log10", "Returns the logarithm to base 10 of the argument", Log10(X))
COGENT_FLOAT_FUNCTION(TSqrtFunction, "sqrt", "Returns the square root of the argument", Sqrt(X))
COGENT_FLOAT_FUNCTION(TRoundFunction, "round", "Returns the argument rounded to the nearest whole number, halves to "
                                               "the even one, as a float", std::nearbyint(X))
COGENT_FLOAT_FUNCTION(TFloatFunction, "float", "Returns the argument as a float", X)

#undef COGENT_FLOAT_FUNCTION

void TIntegerFunction::InitMetaData() {
  Describe("integer", "Returns the argument as a whole number, truncated toward zero", " <numeric-expression>", 1, 1);
}

void TIntegerFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = NewInteger(Evaluate(FunCall, 0, Context)->GetAsInteger());
}

void TMaxFunction::InitMetaData() {
  Describe("max", "Returns the greatest argument; the earlier of equal ones", " <numeric-expression>+", 1);
}

void TMaxFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Extreme(FunCall, Context, [](double A, double B) { return A > B; });
}

void TMinFunction::InitMetaData() {
  Describe("min", "Returns the least argument; the earlier of equal ones", " <numeric-expression>+", 1);
}

void TMinFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Extreme(FunCall, Context, [](double A, double B) { return A < B; });
}

void TPiFunction::InitMetaData() { Describe("PI", "Returns the number pi", "", 0, 0); }

void TPiFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = FCPI;
}

// ---------------------------------------------------------------- random numbers

void TRandomFunction::InitMetaData() {
  Describe("random",
           "Returns a random whole number below the high argument, 65536 without one; a low argument is added to it",
           " [[<low-integer-expression>] <high-integer-expression>]", 0, 2);
}

void TRandomFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  switch (FunCall->GetArgumentCount()) {
    case 0:
      Result = NewInteger(Random(65536));
      break;
    case 1:
      Result = NewInteger(Random(Evaluate(FunCall, 0, Context)->GetAsInteger()));
      break;
    default: {
      // The high argument is a span above the low one, not a bound.
      const std::int64_t Low = Evaluate(FunCall, 0, Context)->GetAsInteger();
      const std::int64_t Sum = Low + Random(Evaluate(FunCall, 1, Context)->GetAsInteger());
      Result = NewInteger(static_cast<std::int32_t>(static_cast<std::uint32_t>(Sum)));
    }
  }
}

void TRandomizeFunction::InitMetaData() {
  Describe("randomize", "Seeds the random numbers with the argument, or from the clock", " [<seed-integer-expression> ]",
           0, 1);
}

void TRandomizeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  if (FunCall->GetArgumentCount() > 0)
    SetRandomSeed(static_cast<std::uint32_t>(Evaluate(FunCall, 0, Context)->GetAsInteger()));
  else
    SetRandomSeed(static_cast<std::uint32_t>(std::chrono::system_clock::now().time_since_epoch().count()));
  Result = FCTrue;
}

void TSeedFunction::InitMetaData() {
  Describe("seed", "Seeds the random numbers with the argument", " <integer-expression>", 1, 1);
}

void TSeedFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  SetRandomSeed(static_cast<std::uint32_t>(Evaluate(FunCall, 0, Context)->GetAsInteger()));
  Result = FCTrue;
}

}  // namespace cogent
