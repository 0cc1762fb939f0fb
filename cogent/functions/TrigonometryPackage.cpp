#include "cogent/functions/TrigonometryPackage.h"

#include <cmath>
#include <numbers>

#include "cogent/host/Math.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TTrigonometryPackage, TUserPackage>();
  RegisterClass<TACosFunction, TKBUserFunction>();
  RegisterClass<TACosHFunction, TKBUserFunction>();
  RegisterClass<TACotFunction, TKBUserFunction>();
  RegisterClass<TACotHFunction, TKBUserFunction>();
  RegisterClass<TACscFunction, TKBUserFunction>();
  RegisterClass<TACscHFunction, TKBUserFunction>();
  RegisterClass<TASecFunction, TKBUserFunction>();
  RegisterClass<TASecHFunction, TKBUserFunction>();
  RegisterClass<TASinFunction, TKBUserFunction>();
  RegisterClass<TASinHFunction, TKBUserFunction>();
  RegisterClass<TATanFunction, TKBUserFunction>();
  RegisterClass<TATan2Function, TKBUserFunction>();
  RegisterClass<TATanHFunction, TKBUserFunction>();
  RegisterClass<TCosFunction, TKBUserFunction>();
  RegisterClass<TCosHFunction, TKBUserFunction>();
  RegisterClass<TCotFunction, TKBUserFunction>();
  RegisterClass<TCotHFunction, TKBUserFunction>();
  RegisterClass<TCscFunction, TKBUserFunction>();
  RegisterClass<TCscHFunction, TKBUserFunction>();
  RegisterClass<TCycleRadFunction, TKBUserFunction>();
  RegisterClass<TDegGradFunction, TKBUserFunction>();
  RegisterClass<TDegRadFunction, TKBUserFunction>();
  RegisterClass<TDistanceFunction, TKBUserFunction>();
  RegisterClass<TDistanceSqrFunction, TKBUserFunction>();
  RegisterClass<TDistanceManhattanFunction, TKBUserFunction>();
  RegisterClass<TGradDegFunction, TKBUserFunction>();
  RegisterClass<TGradRadFunction, TKBUserFunction>();
  RegisterClass<THypotenuseFunction, TKBUserFunction>();
  RegisterClass<TRadCycleFunction, TKBUserFunction>();
  RegisterClass<TRadDegFunction, TKBUserFunction>();
  RegisterClass<TRadGradFunction, TKBUserFunction>();
  RegisterClass<TSecFunction, TKBUserFunction>();
  RegisterClass<TSecHFunction, TKBUserFunction>();
  RegisterClass<TSinFunction, TKBUserFunction>();
  RegisterClass<TSinHFunction, TKBUserFunction>();
  RegisterClass<TTanFunction, TKBUserFunction>();
  RegisterClass<TTanHFunction, TKBUserFunction>();
  return true;
}();

constexpr double Pi = std::numbers::pi;
constexpr double HalfPi = 1.5707963267948966;

// Outside its domain a function gives what the arithmetic gives: a division
// by zero, or, through NewFloat, an invalid operation or overflow for a NaN
// or an infinity.
double Reciprocal(double Value) { return FloatDivide(1, Value); }

// The inverse of a reciprocal function takes the absolute value, and a
// negative argument lands half a turn further on.
template <class Function>
double ReciprocalInverse(double X, Function&& Inverse) {
  return Inverse(Reciprocal(std::fabs(X))) + (X < 0 ? Pi : 0);
}

// Sums Step(D) over the differences D of the points' coordinates.
template <class Step>
double SumOverPoints(const IFunCall& FunCall, TKBContext* Context, Step&& Apply) {
  const IValueVector First = Evaluate(FunCall, 0, Context)->GetAsList();
  const IValueVector Second = Evaluate(FunCall, 1, Context)->GetAsList();
  const int Count = First ? First->GetCount() : 0;
  if (Count != (Second ? Second->GetCount() : 0)) throw EKBException(_SMultifieldLengthMismatch);
  const auto Coordinate = [Context](const IValueVector& Point, int Index) {
    const IKBValue Item = Point->Get(Index);
    const IKBValue Value = Item ? Item->Resolve(Context) : Item;
    return (Value ? Value : IKBValue(new TKBValue()))->GetAsNumeric();
  };
  double Sum = 0.0;
  for (int I = 0; I < Count; ++I) {
    const double A = Coordinate(First, I);
    Sum = CheckFloat(Sum + Apply(A - Coordinate(Second, I)));
  }
  return Sum;
}

}  // namespace

// ---------------------------------------------------------------- the package

TTrigonometryPackage::TTrigonometryPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) {
  Construct();
}

TTrigonometryPackage::~TTrigonometryPackage() { Destroying(); }

void TTrigonometryPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TACosFunction>();
  AddFunction<TACosHFunction>();
  AddFunction<TACotFunction>();
  AddFunction<TACotHFunction>();
  AddFunction<TACscFunction>();
  AddFunction<TACscHFunction>();
  AddFunction<TASecFunction>();
  AddFunction<TASecHFunction>();
  AddFunction<TASinFunction>();
  AddFunction<TASinHFunction>();
  AddFunction<TATanFunction>();
  AddFunction<TATan2Function>();
  AddFunction<TATanHFunction>();
  AddFunction<TCosFunction>();
  AddFunction<TCosHFunction>();
  AddFunction<TCotFunction>();
  AddFunction<TCotHFunction>();
  AddFunction<TCscFunction>();
  AddFunction<TCscHFunction>();
  AddFunction<TCycleRadFunction>();
  AddFunction<TDegGradFunction>();
  AddFunction<TDegRadFunction>();
  AddFunction<TDistanceFunction>();
  AddFunction<TDistanceSqrFunction>();
  AddFunction<TDistanceManhattanFunction>();
  AddFunction<TGradDegFunction>();
  AddFunction<TGradRadFunction>();
  AddFunction<THypotenuseFunction>();
  AddFunction<TRadCycleFunction>();
  AddFunction<TRadDegFunction>();
  AddFunction<TRadGradFunction>();
  AddFunction<TSecFunction>();
  AddFunction<TSecHFunction>();
  AddFunction<TSinFunction>();
  AddFunction<TSinHFunction>();
  AddFunction<TTanFunction>();
  AddFunction<TTanHFunction>();
}

// ---------------------------------------------------------------- functions of one number

#define COGENT_TRIG_FUNCTION(Class, Name, Comment, Expression)                                \
  void Class::InitMetaData() { Describe(Name, Comment, " <numeric-expression>", 1, 1); } \
  void Class::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {     \
    TBuiltInFunction::Call(FunCall, Context, Result);                                    \
    const double X = NumberOf(FunCall, 0, Context);                                       \
    Result = NewFloat(Expression);                                                       \
  }

COGENT_TRIG_FUNCTION(TACosFunction, "acos", "Returns the arccosine of an argument from -1 to 1, from 0 to pi",
                     std::acos(X))
COGENT_TRIG_FUNCTION(TACosHFunction, "acosh", "Returns the inverse hyperbolic cosine of an argument of at least 1",
                     std::acosh(X))
COGENT_TRIG_FUNCTION(TACotFunction, "acot", "Returns the arccotangent of the argument", HalfPi - std::atan(X))
COGENT_TRIG_FUNCTION(TACotHFunction, "acoth", "Returns the inverse hyperbolic cotangent of the argument",
                     Ln(FloatDivide(X + 1, X - 1)) / 2)
COGENT_TRIG_FUNCTION(TACscFunction, "acsc",
                     "Returns the arccosecant of the argument; a negative argument gives an angle above pi/2",
                     ReciprocalInverse(X, [](double V) { return std::asin(V); }))
COGENT_TRIG_FUNCTION(TACscHFunction, "acsch", "Returns the inverse hyperbolic cosecant of the argument",
                     Ln(Reciprocal(X) + Sqrt(Reciprocal(X) * Reciprocal(X) + 1)))
COGENT_TRIG_FUNCTION(TASecFunction, "asec",
                     "Returns the arcsecant of the argument; a negative argument gives an angle above pi",
                     ReciprocalInverse(X, [](double V) { return std::acos(V); }))
COGENT_TRIG_FUNCTION(TASecHFunction, "asech", "Returns the inverse hyperbolic secant of the argument",
                     Ln(Reciprocal(X) + Sqrt(Reciprocal(X) * Reciprocal(X) - 1)))
COGENT_TRIG_FUNCTION(TASinFunction, "asin", "Returns the arcsine of an argument from -1 to 1, from -pi/2 to pi/2",
                     std::asin(X))
COGENT_TRIG_FUNCTION(TASinHFunction, "asinh", "Returns the inverse hyperbolic sine of the argument", std::asinh(X))
COGENT_TRIG_FUNCTION(TATanFunction, "atan", "Returns the arctangent of the argument", std::atan(X))
// At -1 and 1 the function has its poles: a division by zero, as in acoth.
COGENT_TRIG_FUNCTION(TATanHFunction, "atanh", "Returns the inverse hyperbolic tangent of an argument from -1 to 1",
                     std::fabs(X) == 1 ? FloatDivide(X, 0) : std::atanh(X))
COGENT_TRIG_FUNCTION(TCosFunction, "cos", "Returns the cosine of an angle in radians", std::cos(X))
COGENT_TRIG_FUNCTION(TCosHFunction, "cosh", "Returns the hyperbolic cosine of the argument", std::cosh(X))
COGENT_TRIG_FUNCTION(TCotFunction, "cot", "Returns the cotangent of an angle in radians, which should not be 0",
                     Reciprocal(std::tan(X)))
COGENT_TRIG_FUNCTION(TCotHFunction, "coth", "Returns the hyperbolic cotangent of the argument",
                     Reciprocal(std::tanh(X)))
COGENT_TRIG_FUNCTION(TCscFunction, "csc", "Returns the cosecant of an angle in radians",
                     Reciprocal(std::cos(HalfPi - X)))
COGENT_TRIG_FUNCTION(TCscHFunction, "csch", "Returns the hyperbolic cosecant of the argument",
                     Reciprocal(std::sinh(X)))
COGENT_TRIG_FUNCTION(TCycleRadFunction, "cycle-rad", "Converts whole turns to radians", X * 2 * Pi)
COGENT_TRIG_FUNCTION(TDegGradFunction, "deg-grad", "Converts degrees to grads", X * 1.1111111111111112)
COGENT_TRIG_FUNCTION(TDegRadFunction, "deg-rad", "Converts degrees to radians", X * Pi / 180)
COGENT_TRIG_FUNCTION(TGradDegFunction, "grad-deg", "Converts grads to degrees", X * 0.9)
COGENT_TRIG_FUNCTION(TGradRadFunction, "grad-rad", "Converts grads to radians", X * Pi / 200)
COGENT_TRIG_FUNCTION(TRadCycleFunction, "rad-cycle", "Converts radians to whole turns", X / (2 * Pi))
COGENT_TRIG_FUNCTION(TRadDegFunction, "rad-deg", "Converts radians to degrees", X * 180 / Pi)
COGENT_TRIG_FUNCTION(TRadGradFunction, "rad-grad", "Converts radians to grads", X * 200 / Pi)
COGENT_TRIG_FUNCTION(TSecFunction, "sec", "Returns the secant of an angle in radians", Reciprocal(std::cos(X)))
COGENT_TRIG_FUNCTION(TSecHFunction, "sech", "Returns the hyperbolic secant of the argument",
                     Reciprocal(std::cosh(X)))
COGENT_TRIG_FUNCTION(TSinFunction, "sin", "Returns the sine of an angle in radians", std::sin(X))
COGENT_TRIG_FUNCTION(TSinHFunction, "sinh", "Returns the hyperbolic sine of the argument", std::sinh(X))
COGENT_TRIG_FUNCTION(TTanFunction, "tan", "Returns the tangent of an angle in radians", std::tan(X))
COGENT_TRIG_FUNCTION(TTanHFunction, "tanh", "Returns the hyperbolic tangent of the argument", std::tanh(X))

#undef COGENT_TRIG_FUNCTION

// ---------------------------------------------------------------- functions of two numbers

void TATan2Function::InitMetaData() {
  Describe("atan2", "Returns the angle of the point (X, Y), from -pi to pi",
           " <numeric-expression-X> <numeric-expression-Y>", 2, 2);
}

void TATan2Function::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // Y, the second argument, is evaluated first.
  const double Y = NumberOf(FunCall, 1, Context);
  Result = NewFloat(std::atan2(Y, NumberOf(FunCall, 0, Context)));
}

void THypotenuseFunction::InitMetaData() {
  Describe("hypotenuse", "Returns the length of the hypotenuse of a right triangle with the sides X and Y",
           " <numeric-expression-X> <numeric-expression-Y>", 2, 2);
}

void THypotenuseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double X = NumberOf(FunCall, 0, Context);
  Result = NewFloat(std::hypot(X, NumberOf(FunCall, 1, Context)));
}

// ---------------------------------------------------------------- distances

#define COGENT_DISTANCE_FUNCTION(Class, Name, Comment, Step, Total)                                                 \
  void Class::InitMetaData() {                                                                                      \
    Describe(Name, Comment, " <multifield-expression-1> <multifield-expression-2>", 2, 2);                          \
  }                                                                                                                 \
  void Class::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {                                \
    TBuiltInFunction::Call(FunCall, Context, Result);                                                               \
    const double Sum = SumOverPoints(FunCall, Context, [](double D) { return Step; });                             \
    Result = NewFloat(Total);                                                                                       \
  }

COGENT_DISTANCE_FUNCTION(TDistanceFunction, "distance",
                         "Returns the Euclidean distance between two points given as lists of the same length",
                         D * D, Sqrt(Sum))
COGENT_DISTANCE_FUNCTION(TDistanceSqrFunction, "distance-sqr",
                         "Returns the square of the Euclidean distance between two points given as lists of the same "
                         "length",
                         D * D, Sum)
COGENT_DISTANCE_FUNCTION(TDistanceManhattanFunction, "distance-manhattan",
                         "Returns the city-block distance between two points given as lists of the same length",
                         std::fabs(D), Sum)

#undef COGENT_DISTANCE_FUNCTION

}  // namespace cogent
