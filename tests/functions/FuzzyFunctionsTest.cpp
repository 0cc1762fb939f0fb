#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FunctionsTestSupport.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/functions/FuzzyPackage.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent::test {

namespace {

double Number(TInferenceEngine& Engine, const std::string& Call) {
  return Engine.ParseNExecuteFunCall(Call)->GetAsNumeric();
}

// A fuzzy type "temperature" from 0 to 100 celsius with the terms cold
// (falling from 1 at 0 to 0 at 50) and hot (rising from 0 at 50 to 1 at
// 100), built as a host builds it.
IKBDefinedType AddTemperature(TInferenceEngine& Engine) {
  IKBDefinedType Type(new TKBDefinedType("temperature", TKBTypes{dtFuzzy}, &Engine));
  const IFuzzyVariable Variable = Type->GetFuzzyType();
  Variable->SetUniverse(0, 100);
  Variable->SetUnits("celsius");
  IFuzzySet Cold(new TKBFuzzySet(Variable, "cold"));
  Cold->SetPoints({{0, 1}, {50, 0}}, fstCustom);
  Variable->AddTerm(Cold);
  IFuzzySet Hot(new TKBFuzzySet(Variable, "hot"));
  Hot->SetPoints({{50, 0}, {100, 1}}, fstCustom);
  Variable->AddTerm(Hot);
  // Two terms only: no low, medium and high.
  Engine.SetFuzzyAutoTerms(false);
  Engine.GetDefinedTypes()->Add(Type);
  return Type;
}

// Everything printed on a logical name, in order.
std::vector<std::string> Capture(TInferenceEngine& Engine, const std::string& Call) {
  std::vector<std::string> Lines;
  Engine.OnPrintOut = [&Lines](TObject*, const std::string& OutID, const std::string& Text) {
    Lines.push_back(OutID + ":" + Text);
  };
  Engine.ParseNExecuteFunCall(Call);
  Engine.OnPrintOut = nullptr;
  return Lines;
}

}  // namespace

TEST(FuzzyFunctions, ShapesMakeFuzzyValuesOfTheirOwn) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFuzzy ((0.0000 0.0000) (5.0000 1.0000) (10.0000 0.0000) )", Eval(Engine, "(tri 0 5 10)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(get-fs-length (tri 0 5 10))"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (tri 0 5 10) 2.5)"));
  // S rises, Z falls, both through 0.5 half way.
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (s 0 10) 0)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (s 0 10) 5)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (s 0 10) 10)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (z 0 10) 0)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (z 0 10) 5)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (z 0 10) 10)"));
  // Bells by centre and range, and by three points.
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (pi 5 2) 5)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (pi 5 2) 3)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (pi 5 2) 6)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (pi 3 5 9) 5)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (pi 3 5 9) 7)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (pi 3 5 9) 9)"));
  // Beta: centre, range, inflection and weight; no weight flattens it.
  EXPECT_DOUBLE_EQ(5.0, Number(Engine, "(maximum-defuzzify (beta 5 2))"));
  // Half way up at the inflection, as near as the straight pieces come.
  EXPECT_NEAR(0.5, Number(Engine, "(get-fs-value (beta 5 4 2) 7)"), 0.01);
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (beta 5 4 2 0) 7)"));
  // A shape has no variable until an expression gives it one.
  EXPECT_EQ("dtAtom ", Eval(Engine, "(get-fs-variable (s 0 1))"));
  // The constant pi of the math package keeps its name beside the shape.
  EXPECT_EQ("dtFloat 3.1416", Eval(Engine, "(PI)"));

  EXPECT_EQ("Too few arguments for pi", ErrorOfCall(Engine, "(pi 1)"));
  EXPECT_EQ("Too many arguments for beta", ErrorOfCall(Engine, "(beta 1 2 3 4 5)"));
  EXPECT_EQ("Too few arguments for tri", ErrorOfCall(Engine, "(tri 1 2)"));
  EXPECT_EQ("Not a numeric type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(tri a 5 10)"));
  EXPECT_EQ("Invalid triangle curve: ", ErrorOfCall(Engine, "(tri 10 5 0)").substr(0, 24));
  // Ends so far apart that their distance overflows.
  EXPECT_EQ("Invalid s curve: ", ErrorOfCall(Engine, "(s -1.0e308 1.0e308)").substr(0, 17));
  EXPECT_EQ("Invalid beta curve: ", ErrorOfCall(Engine, "(beta 1.0e308 -1.0e308)").substr(0, 20));
}

TEST(FuzzyFunctions, DefuzzifyAndReadPoints) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat 5.0000", Eval(Engine, "(moment-defuzzify (tri 0 5 10))"));
  EXPECT_NEAR(10.0 / 3, Number(Engine, "(moment-defuzzify (tri 0 0 10))"), 1e-12);
  EXPECT_EQ("dtFloat 5.0000", Eval(Engine, "(maximum-defuzzify (tri 0 5 10))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-undecidable (tri 0 5 10))"));
  // Two peaks apart.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(is-undecidable (fuzzy-union (tri 0 1 2) (tri 8 9 10)))"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(get-compatibility-index (tri 0 5 10))"));

  EXPECT_EQ("dtFloat 5.0000", Eval(Engine, "(get-fs-x (tri 0 5 10) 1)"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(get-fs-y (tri 0 5 10) 1)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(get-fs-y (tri 0 5 10) 2)"));
  EXPECT_EQ("Fuzzy set point index out of bounds (3)", ErrorOfCall(Engine, "(get-fs-x (tri 0 5 10) 3)"));
  EXPECT_EQ("Fuzzy set point index out of bounds (-1)", ErrorOfCall(Engine, "(get-fs-y (tri 0 5 10) -1)"));
  const IKBValue Points = Engine.ParseNExecuteFunCall("(get-fs (tri 0 5 10))");
  ASSERT_EQ(dtSingletons, Points->GetDType());
  const ISingletonsVector Pairs = Points->GetAsSingletons();
  ASSERT_EQ(3, Pairs->GetCount());
  EXPECT_EQ(dtFloat, Pairs->GetXValues(1)->GetDType());
  EXPECT_DOUBLE_EQ(5.0, Pairs->GetXValues(1)->GetAsFloat());
  EXPECT_DOUBLE_EQ(1.0, Pairs->GetYValues(1)->GetAsFloat());
  EXPECT_DOUBLE_EQ(0.0, Pairs->GetYValues(2)->GetAsFloat());

  // Not a set, a fact id without a fact, a fact without a fuzzy slot.
  EXPECT_EQ("Not a fuzzy value type.  Value (abc) is a dtAtom type", ErrorOfCall(Engine, "(moment-defuzzify abc)"));
  EXPECT_EQ("No Such Fact with ID=99 exists", ErrorOfCall(Engine, "(get-fs 99)"));
  Engine.Parse("(deftemplate point (slot x))", true);
  EXPECT_EQ("dtFactId <Fact-1>", Eval(Engine, "(assert (point (x 1)))"));
  EXPECT_EQ("Fact is not a fuzzy fact", ErrorOfCall(Engine, "(moment-defuzzify 1)"));
  // A fuzzy value that holds no set.
  SetVariable(Engine, "n", IKBValue(new TKBValue(IFuzzySet())));
  EXPECT_EQ("Not a fuzzy value type.  Value () is a dtFuzzy type", ErrorOfCall(Engine, "(get-fs ?n)"));
  EXPECT_EQ("Not a fuzzy value type.  Value () is a dtFuzzy type", ErrorOfCall(Engine, "(fuzzy-union (s 0 1) ?n)"));
  // The empty set has no crisp value.
  EXPECT_EQ("Cannot defuzzify an empty fuzzy set: no membership is above 0",
            ErrorOfCall(Engine, "(moment-defuzzify (fuzzy-intersection (tri 0 1 2) (tri 8 9 10)))"));
}

TEST(FuzzyFunctions, UnionAndIntersectionFoldFromTheLeft) {
  TInferenceEngine Engine;
  SetVariable(Engine, "a", Engine.ParseNExecuteFunCall("(tri 0 5 10)"));
  SetVariable(Engine, "b", Engine.ParseNExecuteFunCall("(tri 5 10 15)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (fuzzy-union ?a ?b) 5)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (fuzzy-union ?a ?b) 7.5)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (fuzzy-union ?a ?b) 10)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (fuzzy-intersection ?a ?b) 5)"));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (fuzzy-intersection ?a ?b) 7.5)"));
  // Under product: a + b - ab and ab.
  EXPECT_DOUBLE_EQ(0.75, Number(Engine, "(get-fs-value (fuzzy-union-x product ?a ?b) 7.5)"));
  EXPECT_DOUBLE_EQ(0.25, Number(Engine, "(get-fs-value (fuzzy-intersection-x \"product\" ?a ?b) 7.5)"));
  // Three values, the third joining the union of the first two.
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (fuzzy-union ?a ?b (tri 20 25 30)) 25)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (fuzzy-intersection ?a ?b (tri 20 25 30)) 7.5)"));
  // The operands stay as they were.
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value ?a 7.5)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value ?a 10)"));

  EXPECT_EQ(
      "Invalid Fuzzy operation specified (bogus) for fuzzy-union-x, expected zadeh, mean, mean-sqr, mean-sqrt, "
      "product, bounded-sum, or sum",
      ErrorOfCall(Engine, "(fuzzy-union-x bogus ?a ?b)"));
  EXPECT_EQ("Too few arguments for fuzzy-intersection-x", ErrorOfCall(Engine, "(fuzzy-intersection-x product ?a)"));
  EXPECT_EQ("Not a fuzzy value type.  Value (3.0000) is a dtFloat type", ErrorOfCall(Engine, "(fuzzy-union ?a 3.0)"));
}

TEST(FuzzyFunctions, SettingsGiveThePreviousValue) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat 0.0100", Eval(Engine, "(get-fuzzy-threshold)"));
  EXPECT_EQ("dtFloat 0.0100", Eval(Engine, "(set-fuzzy-threshold 0.5)"));
  EXPECT_EQ("dtFloat 0.5000", Eval(Engine, "(get-fuzzy-threshold)"));
  EXPECT_EQ("dtFloat 0.5000", Eval(Engine, "(set-fuzzy-threshold 2)"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(get-fuzzy-threshold)"));

  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(set-activation-threshold 0.25)"));
  EXPECT_EQ("dtFloat 0.2500", Eval(Engine, "(get-activation-threshold)"));
  EXPECT_FLOAT_EQ(0.25f, Engine.GetRete()->GetMinActivationStrength());
  EXPECT_EQ("dtFloat 0.2500", Eval(Engine, "(set-activation-threshold -3)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(get-activation-threshold)"));

  EXPECT_EQ("dtAtom minimum", Eval(Engine, "(get-fuzzy-correlation)"));
  EXPECT_EQ("dtAtom minimum", Eval(Engine, "(set-fuzzy-correlation product)"));
  EXPECT_EQ("Invalid Fuzzy Correlation specified (bogus), expected minimum or product",
            ErrorOfCall(Engine, "(set-fuzzy-correlation bogus)"));
  EXPECT_EQ("dtAtom product", Eval(Engine, "(get-fuzzy-correlation)"));

  EXPECT_EQ("dtAtom min-max", Eval(Engine, "(get-fuzzy-inference)"));
  EXPECT_EQ("dtAtom min-max", Eval(Engine, "(set-fuzzy-inference \"bounded-sum\")"));
  EXPECT_EQ("Invalid Fuzzy Inference specified (max-min), expected min-max, sum, mean, product, or bounded-sum",
            ErrorOfCall(Engine, "(set-fuzzy-inference max-min)"));
  EXPECT_EQ(fimBoundedSum, Engine.GetFuzzyInferenceMethod());

  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(get-fuzzy-auto-terms)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-fuzzy-auto-terms FALSE)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(set-fuzzy-auto-terms TRUE)"));
  // Only TRUE itself turns them on.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-fuzzy-auto-terms 1)"));
  EXPECT_FALSE(Engine.GetFuzzyAutoTerms());
  EXPECT_EQ("Too many arguments for get-fuzzy-threshold", ErrorOfCall(Engine, "(get-fuzzy-threshold 1)"));
}

TEST(FuzzyFunctions, ExpressionsOnAFuzzyVariable) {
  TInferenceEngine Engine;
  const IKBDefinedType Type = AddTemperature(Engine);
  const IFuzzySet Cold = Type->GetFuzzyType()->FindFuzzySet("cold");

  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (create-fuzzy-value temperature cold) 25)"));
  EXPECT_EQ("dtAtom temperature", Eval(Engine, "(get-fs-variable (create-fuzzy-value \"temperature\" cold))"));
  // A hedge works on a clone: the term keeps its shape.
  EXPECT_DOUBLE_EQ(0.25, Number(Engine, "(get-fs-value (create-fuzzy-value temperature very cold) 25)"));
  EXPECT_DOUBLE_EQ(0.5, Cold->DegreeOfMembership(25));
  EXPECT_DOUBLE_EQ(0.75, Number(Engine, "(get-fs-value (create-fuzzy-value temperature not very cold) 25)"));
  // Keywords join, brackets group, scalar steps take a number.
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (create-fuzzy-value temperature cold or hot) 100)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (create-fuzzy-value temperature cold and hot) 100)"));
  EXPECT_DOUBLE_EQ(0.0, Number(Engine, "(get-fs-value (create-fuzzy-value temperature not [ cold or hot ]) 0)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (create-fuzzy-value temperature not cold or hot) 100)"));
  EXPECT_DOUBLE_EQ(0.3, Number(Engine, "(get-fs-value (create-fuzzy-value temperature cold at-most 0.3) 0)"));
  EXPECT_DOUBLE_EQ(1.0, Cold->DegreeOfMembership(0));
  // A number is a crisp set named by it; a shape takes the variable.
  EXPECT_EQ("dtFloat 25.0000", Eval(Engine, "(maximum-defuzzify (create-fuzzy-value temperature 25))"));
  EXPECT_EQ("dtAtom temperature", Eval(Engine, "(get-fs-variable (create-fuzzy-value temperature (tri 10 20 30)))"));
  // Two expressions side by side give a list of their values.
  const IKBValue Both = Engine.ParseNExecuteFunCall("(create-fuzzy-value temperature very cold hot)");
  ASSERT_EQ(dtList, Both->GetDType());
  ASSERT_EQ(2, Both->GetAsList()->GetCount());
  EXPECT_DOUBLE_EQ(0.25, Both->GetAsList()->Get(0)->GetAsFuzzy()->DegreeOfMembership(25));
  EXPECT_DOUBLE_EQ(1.0, Both->GetAsList()->Get(1)->GetAsFuzzy()->DegreeOfMembership(100));
  // The variable of a fuzzy value serves as well.
  SetVariable(Engine, "c", Engine.ParseNExecuteFunCall("(create-fuzzy-value temperature cold)"));
  EXPECT_DOUBLE_EQ(1.0, Number(Engine, "(get-fs-value (create-fuzzy-value ?c hot) 100)"));

  EXPECT_EQ("Invalid item in fuzzy expression: tepid", ErrorOfCall(Engine, "(create-fuzzy-value temperature tepid)"));
  EXPECT_EQ("Missing Fuzzy Close Bracket in expression",
            ErrorOfCall(Engine, "(create-fuzzy-value temperature [ cold or hot)"));
  EXPECT_EQ("Missing fuzzy operand to be modified by hedge: very",
            ErrorOfCall(Engine, "(create-fuzzy-value temperature very)"));
  EXPECT_EQ("Missing fuzzy operand to be modified by hedge: or",
            ErrorOfCall(Engine, "(create-fuzzy-value temperature cold or)"));
  EXPECT_EQ("fuzzy variable is not defined", ErrorOfCall(Engine, "(create-fuzzy-value humidity cold)"));
  EXPECT_EQ("Invalid argument type for deffunction: \"dtInteger\".  Expected Atom, String, Fuzzy",
            ErrorOfCall(Engine, "(create-fuzzy-value 5 cold)"));

  // The universe of discourse.
  EXPECT_EQ("dtString \"0.0000 - 100.0000 celsius\"", Eval(Engine, "(get-u temperature)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(get-u-from \"temperature\")"));
  EXPECT_EQ("dtFloat 100.0000", Eval(Engine, "(get-u-to ?c)"));
  EXPECT_EQ("dtString \"celsius\"", Eval(Engine, "(get-u-units temperature)"));
  EXPECT_EQ("Invalid argument type for deffunction: \"dtInteger\".  Expected Atom, String, Fuzzy",
            ErrorOfCall(Engine, "(get-u 1)"));
  EXPECT_EQ("fuzzy variable is not defined", ErrorOfCall(Engine, "(get-u (tri 0 1 2))"));

  // The threshold reaches the fuzzy types of the module.
  Engine.ParseNExecuteFunCall("(set-fuzzy-threshold 0.3)");
  EXPECT_FLOAT_EQ(0.3f, Type->GetFuzzyType()->GetEqualityThreshold());
}

TEST(FuzzyFunctions, FuzzyAssertTakesAnInferenceMethod) {
  TInferenceEngine Engine;
  EXPECT_EQ("Invalid Fuzzy Inference specified (bogus), expected min-max, sum, mean, product, or bounded-sum",
            ErrorOfCall(Engine, "(fuzzy-assert bogus (f))"));
  EXPECT_EQ(1, Engine.GetFactCount());
  // Without a name the unconditional form takes its facts from the start.
  EXPECT_EQ("dtFactId <Fact-1>", Eval(Engine, "(fuzzy-assert-unconditional (f))"));
  EXPECT_EQ("dtFactId <Fact-3>", Eval(Engine, "(fuzzy-assert sum (g) (h))"));
  EXPECT_EQ("dtFactId <Fact-4>", Eval(Engine, "(fuzzy-assert-unconditional \"mean\" (i))"));
  // The method holds for these facts only.
  EXPECT_EQ(fimMinMax, Engine.GetFuzzyInferenceMethod());
  // A fact that stands already and isn't fuzzy is not asserted again.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(fuzzy-assert product (f))"));
  EXPECT_EQ("Too few arguments for fuzzy-assert", ErrorOfCall(Engine, "(fuzzy-assert (f))"));
}

TEST(FuzzyFunctions, FuzzySlotsOfFacts) {
  TInferenceEngine Engine;
  AddTemperature(Engine);
  Engine.Parse("(deftemplate reading (slot place) (slot heat (type temperature)))", true);
  SetVariable(Engine, "v", Engine.ParseNExecuteFunCall("(create-fuzzy-value temperature hot)"));
  EXPECT_EQ("dtFactId <Fact-1>", Eval(Engine, "(assert (reading (place attic) (heat ?v)))"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(get-fs-value 1 100)"));
  EXPECT_EQ("dtAtom temperature", Eval(Engine, "(get-fs-variable 1)"));
  // The fact itself, and the fact id that an assertion gives.
  SetVariable(Engine, "f", IKBValue(new TKBValue(Engine.GetFacts()->GetFactByID(1))));
  EXPECT_NEAR(50 + 50 * 2.0 / 3, Number(Engine, "(moment-defuzzify ?f)"), 1e-9);
  EXPECT_EQ("dtInteger 3",
            Eval(Engine, "(get-fs-length (fuzzy-assert-unconditional (reading (place cellar) (heat (tri 0 0 20)))))"));
  SetVariable(Engine, "id", IKBValue(new TKBValue(2, dtFactId)));
  EXPECT_DOUBLE_EQ(0.5, Number(Engine, "(get-fs-value (fuzzy-union 1 ?id (z 40 60)) 50)"));
  // A plot of a fact's set names the variable of the set.
  const std::vector<std::string> Lines = Capture(Engine, "(plot-fuzzy-value t \"*\" nil nil 1 2)");
  ASSERT_EQ(28u, Lines.size());
  EXPECT_EQ("t:Fuzzy Variable: temperature\r\n", Lines[0]);
  EXPECT_EQ("t:Fuzzy Values: hot(*) tri(*)\r\n", Lines[1]);
}

TEST(FuzzyFunctions, PlotsGoToTheLogicalName) {
  TInferenceEngine Engine;
  const std::vector<std::string> Lines = Capture(Engine, "(plot-fuzzy-value t \"*\" 0 10 (tri 0 5 10))");
  ASSERT_EQ(26u, Lines.size());
  EXPECT_EQ("t:Fuzzy Values: tri(*)\r\n", Lines[0]);
  EXPECT_EQ("t:\r\n", Lines[1]);
  // Row 20 holds the peak, in the column of x = 5.
  EXPECT_EQ("t:1.00" + std::string(25, ' ') + "*" + std::string(24, ' ') + "\r\n", Lines[2]);
  EXPECT_EQ('*', Lines[22][2 + 4]);
  EXPECT_EQ("t:    |----|----|----|----|----|----|----|----|----|----|\r\n", Lines[23]);
  EXPECT_EQ("t:   0.00      2.00      4.00      6.00      8.00     10.00\r\n", Lines[24]);
}

TEST(FuzzyFunctions, PlotsOfAVariableKeepToItsUniverse) {
  TInferenceEngine Engine;
  AddTemperature(Engine);
  const std::vector<std::string> Lines =
      Capture(Engine, "(plot-fuzzy-value t \"+-\" -50 nil temperature (create-fuzzy-value temperature 50))");
  ASSERT_FALSE(Lines.empty());
  EXPECT_EQ("t:Fuzzy Variable: temperature\r\n", Lines[0]);
  EXPECT_EQ("t:Fuzzy Values: cold(+) hot(-) 50(-)\r\n", Lines[1]);
  EXPECT_EQ("t:   0.00     20.00     40.00     60.00     80.00    100.00\r\n", Lines[Lines.size() - 3]);
  EXPECT_EQ("t:Universe of Discourse: From 0.00 to 100.00\r\n", Lines.back());
  EXPECT_EQ("Too few arguments for plot-fuzzy-value", ErrorOfCall(Engine, "(plot-fuzzy-value t \"*\" 0 1)"));
  EXPECT_EQ("fuzzy variable is not defined", ErrorOfCall(Engine, "(plot-fuzzy-value t \"*\" 0 1 humidity)"));
}

}  // namespace cogent::test
