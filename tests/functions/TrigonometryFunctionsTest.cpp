#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "FunctionsTestSupport.h"

namespace cogent::test {

namespace {

double Number(TInferenceEngine& Engine, const std::string& Call) {
  return Engine.ParseNExecuteFunCall(Call)->GetAsFloat();
}

constexpr double Pi = std::numbers::pi;

}  // namespace

TEST(TrigonometryFunctions, ResultsAreFloatsAlsoWhenWhole) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(sin 0)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(deg-rad 0)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(rad-deg 0)"));
  EXPECT_EQ("dtFloat 100.0000", Eval(Engine, "(deg-grad 90)"));
  EXPECT_EQ("dtFloat 90.0000", Eval(Engine, "(grad-deg 100)"));
  EXPECT_EQ("dtFloat 5.0000", Eval(Engine, "(hypotenuse 3 \"4\")"));
  EXPECT_DOUBLE_EQ(Pi, Number(Engine, "(deg-rad 180)"));
  EXPECT_DOUBLE_EQ(180, Number(Engine, "(rad-deg (PI))"));
}

TEST(TrigonometryFunctions, InversesAndReciprocals) {
  TInferenceEngine Engine;
  EXPECT_DOUBLE_EQ(Pi, Number(Engine, "(acos -1)"));
  EXPECT_DOUBLE_EQ(Pi / 2, Number(Engine, "(acot 0)"));
  EXPECT_NEAR(std::atanh(0.5), Number(Engine, "(acoth 2)"), 1e-15);
  // The reciprocal inverses add half a turn for a negative argument.
  EXPECT_NEAR(std::acos(0.5) + Pi, Number(Engine, "(asec -2)"), 1e-15);
  EXPECT_NEAR(Pi / 6, Number(Engine, "(acsc 2)"), 1e-15);
  EXPECT_NEAR(Pi / 6 + Pi, Number(Engine, "(acsc -2)"), 1e-15);
  EXPECT_NEAR(2, Number(Engine, "(sec (/ (PI) 3))"), 1e-12);
  // X comes first and Y second, and Y is evaluated first.
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(atan2 (bind ?order 1) (bind ?order 0))"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(+ ?order)"));
  EXPECT_DOUBLE_EQ(Pi / 2, Number(Engine, "(atan2 0 1)"));
  EXPECT_DOUBLE_EQ(-3 * Pi / 4, Number(Engine, "(atan2 -1 -1)"));
}

TEST(TrigonometryFunctions, OutsideTheDomainTheArithmeticRaises) {
  TInferenceEngine Engine;
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(acos 2)"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(acsc 0.5)"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(acoth 0.5)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(cot 0)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(acoth 1)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(atanh -1)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(acsc 0)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(cosh 1000)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(deg-rad 1.0e308)"));
  // csc goes through the cosine of pi/2 - x, which is not quite 0 at x = 0.
  EXPECT_NEAR(1 / std::cos(1.5707963267948966), Number(Engine, "(csc 0)"), 1);
  EXPECT_EQ("Not a numeric type.  Value (zero) is a dtAtom type", ErrorOfCall(Engine, "(sin zero)"));
  EXPECT_EQ("Too few arguments for atan2", ErrorOfCall(Engine, "(atan2 1)"));
  EXPECT_EQ("Too many arguments for tan", ErrorOfCall(Engine, "(tan 1 2)"));
  EXPECT_EQ("dtString \"Invalid floating point operation\"", Eval(Engine, "(try (acos 2) catch ?__ERROR)"));
}

TEST(TrigonometryFunctions, DistancesBetweenPointsGivenAsLists) {
  TInferenceEngine Engine;
  SetVariable(Engine, "o", List({Int(0), Int(0)}));
  SetVariable(Engine, "p", List({Int(3), Str("4")}));
  SetVariable(Engine, "q", List({Flt(-1.5)}));
  SetVariable(Engine, "r", List({Int(2)}));
  SetVariable(Engine, "none", List({}));
  SetVariable(Engine, "word", List({Atom("far")}));
  SetVariable(Engine, "x", Int(2));
  EXPECT_EQ("dtFloat 5.0000", Eval(Engine, "(distance ?o ?p)"));
  EXPECT_EQ("dtFloat 25.0000", Eval(Engine, "(distance-sqr ?o ?p)"));
  EXPECT_EQ("dtFloat 7.0000", Eval(Engine, "(distance-manhattan ?p ?o)"));
  EXPECT_EQ("dtFloat 3.5000", Eval(Engine, "(distance-manhattan ?q ?r)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(distance ?none ?none)"));
  // Each coordinate is resolved: a variable in a list stands for its value.
  SetVariable(Engine, "v", List({Var("x")}));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(distance ?v ?r)"));
  EXPECT_EQ("Invalid multifield arguments, the two multifields must be of the same length",
            ErrorOfCall(Engine, "(distance ?r ?o)"));
  EXPECT_EQ("Invalid multifield arguments, the two multifields must be of the same length",
            ErrorOfCall(Engine, "(distance-sqr ?none ?r)"));
  EXPECT_EQ("Not a list type.  Value (3) is a dtInteger type", ErrorOfCall(Engine, "(distance 3 ?r)"));
  EXPECT_EQ("Not a numeric type.  Value (far) is a dtAtom type", ErrorOfCall(Engine, "(distance-manhattan ?word ?r)"));
}

}  // namespace cogent::test
