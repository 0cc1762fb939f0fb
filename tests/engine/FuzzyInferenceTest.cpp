#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"

#include "../TestErrors.h"

namespace cogent {
namespace {

using test::ErrorOf;

// A fuzzy type t over 0..10 with a rising and a flat term, and templates of
// a fuzzy slot, a fuzzy multislot and no fuzzy slot.
struct TFuzzyEngine {
  TInferenceEngine Engine;
  IFuzzyVariable Variable;
  TFuzzyEngine() {
    Engine.Parse(
        "(deftype t extends (type FUZZY) (range 0 10)"
        "  (values (term up ((0 0) (10 1))) (term flat ((0 0.6) (10 0.6))) (term low ((0 0.3) (10 0.3)))))"
        "(deftemplate f (slot k) (slot v (type t)))"
        "(deftemplate g (slot k) (slot v (type t)))"
        "(deftemplate m (multislot v (type t)))"
        "(deftemplate plain (slot k))",
        true);
    Variable = Engine.FindDefinedType("t")->GetFuzzyType();
  }
  IFact Fact(const std::string& Text) { return Engine.GetGlobalContext()->Resolve(Engine.ParseFact(Text)); }
  IKBValue Eval(const std::string& Expression) {
    return Engine.EvalFuzzyExpression(Variable, Expression, Engine.GetGlobalContext());
  }
  static double At(const IKBValue& Value, double X) { return Value->GetAsFuzzy()->DegreeOfMembership(X); }
};

TEST(FuzzyInferenceTest, CorrelationWeakensAClonedSetAndOnlyBelowFullStrength) {
  TFuzzyEngine F;
  const IFuzzySet Term = F.Variable->FindFuzzySet("up");
  int Events = 0;
  F.Engine.OnFuzzyCorrelation = [&](TObject*, const IFact&, float, bool&) { ++Events; };

  const IFact Whole = F.Fact("(f (v up))");
  F.Engine.FuzzyCorrelation(Whole, 1.0f);
  EXPECT_EQ(Events, 0);
  EXPECT_EQ(Whole->GetValue("v")->GetAsFuzzy(), Term);

  const IFact Capped = F.Fact("(f (v up))");
  F.Engine.FuzzyCorrelation(Capped, 0.6f);
  EXPECT_EQ(Events, 1);
  EXPECT_NEAR(TFuzzyEngine::At(Capped->GetValue("v"), 8.0), 0.6, 1e-6);
  EXPECT_NEAR(TFuzzyEngine::At(Capped->GetValue("v"), 3.0), 0.3, 1e-6);
  EXPECT_DOUBLE_EQ(Term->DegreeOfMembership(8.0), 0.8);

  F.Engine.SetFuzzyCorrelationMethod(fcmProduct);
  const IFact Scaled = F.Fact("(m (v up flat))");
  const IKBValue Written = Scaled->GetValue("v");
  const IValueVector Before = Written->GetAsList();
  F.Engine.FuzzyCorrelation(Scaled, 0.5f);
  const IValueVector After = Scaled->GetValue("v")->GetAsList();
  EXPECT_NE(After, Before);
  EXPECT_NEAR(TFuzzyEngine::At(After->Get(0), 8.0), 0.4, 1e-6);
  EXPECT_NEAR(TFuzzyEngine::At(After->Get(1), 8.0), 0.3, 1e-6);
  EXPECT_NEAR(TFuzzyEngine::At(Before->Get(0), 8.0), 0.8, 1e-6);

  // A handler that takes it over leaves the fact alone.
  F.Engine.OnFuzzyCorrelation = [](TObject*, const IFact&, float, bool& Done) { Done = true; };
  const IFact Kept = F.Fact("(f (v up))");
  F.Engine.FuzzyCorrelation(Kept, 0.2f);
  EXPECT_EQ(Kept->GetValue("v")->GetAsFuzzy(), Term);
  F.Engine.OnFuzzyCorrelation = nullptr;
  EXPECT_EQ(ErrorOf([&] { F.Engine.FuzzyCorrelation(F.Fact("(plain (k 1))"), 0.5f); }), "Fact is not a fuzzy fact");
}

TEST(FuzzyInferenceTest, CombinationFollowsTheInferenceMethod) {
  TFuzzyEngine F;
  const struct {
    TFuzzyInferenceMethod Method;
    bool Union;
    double Expected;
  } Cases[] = {{fimMinMax, true, 0.6},  {fimMinMax, false, 0.3},      {fimSum, true, 0.9},
               {fimMean, true, 0.45},   {fimProduct, true, 0.72},     {fimProduct, false, 0.18},
               {fimBoundedSum, true, 0.9}};
  for (const auto& Case : Cases) {
    F.Engine.SetFuzzyInferenceMethod(Case.Method);
    const IFact Fact1 = F.Fact("(f (k 1) (v flat))");
    const IFact Fact2 = F.Fact("(f (k 1) (v low))");
    F.Engine.FuzzyOperation(Fact1, Fact2, Case.Union);
    EXPECT_NEAR(TFuzzyEngine::At(Fact1->GetValue("v"), 5.0), Case.Expected, 1e-9) << Case.Method << Case.Union;
    EXPECT_DOUBLE_EQ(TFuzzyEngine::At(Fact2->GetValue("v"), 5.0), 0.3);
  }
  EXPECT_DOUBLE_EQ(F.Variable->FindFuzzySet("flat")->DegreeOfMembership(5.0), 0.6);

  // Lists of different lengths stay as they are.
  const IFact Two = F.Fact("(m (v flat flat))");
  const IValueVector Before = Two->GetValue("v")->GetAsList();
  F.Engine.FuzzyInference(Two, F.Fact("(m (v low low low))"));
  EXPECT_EQ(Two->GetValue("v")->GetAsList(), Before);

  EXPECT_EQ(ErrorOf([&] { F.Engine.FuzzyOperation(F.Fact("(f (v up))"), F.Fact("(g (v up))"), true); }),
            "Cannot union two facts with different fact templates: f and g");
  EXPECT_EQ(ErrorOf([&] { F.Engine.FuzzyOperation(F.Fact("(plain (k 1))"), F.Fact("(plain (k 2))"), true); }),
            "Fact is not a fuzzy fact");
}

TEST(FuzzyInferenceTest, ExpressionsOfTermsHedgesAndKeywords) {
  TFuzzyEngine F;
  const IFuzzySet Up = F.Variable->FindFuzzySet("up");
  EXPECT_NEAR(TFuzzyEngine::At(F.Eval("very up"), 5.0), 0.25, 1e-9);
  EXPECT_DOUBLE_EQ(Up->DegreeOfMembership(5.0), 0.5);
  // A hedge takes its term before a keyword does; brackets group first.
  EXPECT_NEAR(TFuzzyEngine::At(F.Eval("not up and flat"), 2.0), 0.6, 1e-9);
  EXPECT_NEAR(TFuzzyEngine::At(F.Eval("not [ up and flat ]"), 8.0), 0.4, 1e-9);
  EXPECT_NEAR(TFuzzyEngine::At(F.Eval("up or-product low"), 5.0), 0.65, 1e-9);
  EXPECT_NEAR(TFuzzyEngine::At(F.Eval("up at-most 0.5"), 9.0), 0.5, 1e-9);

  const IKBValue Two = F.Eval("up flat");
  ASSERT_EQ(Two->GetDType(), dtList);
  EXPECT_EQ(Two->GetAsList()->GetCount(), 2);

  const IKBValue Crisp = F.Eval("7");
  EXPECT_EQ(Crisp->GetAsFuzzy()->GetName(), "7");
  EXPECT_DOUBLE_EQ(Crisp->GetAsFuzzy()->MaximumDefuzzify(), 7.0);
  EXPECT_EQ(Crisp->GetAsFuzzy()->GetVariable(), F.Variable.get());

  // Without a context an unbound variable keeps the expression as a list.
  const IKBValue Waiting = F.Engine.EvalFuzzyExpression(F.Variable, F.Engine.ParseValue("very ?x"), nullptr);
  EXPECT_EQ(Waiting->GetDType(), dtList);

  IFuzzySet Set;
  EXPECT_NEAR(F.Engine.EvalFuzzyExpression(F.Variable, "flat", Set), 5.0, 1e-9);
  EXPECT_EQ(Set, F.Variable->FindFuzzySet("flat"));

  EXPECT_EQ(ErrorOf([&] { F.Eval("up or bogus"); }), "Invalid item in fuzzy expression: bogus");
  EXPECT_EQ(ErrorOf([&] { F.Eval("[ up or flat"); }), "Missing Fuzzy Close Bracket in expression");
  EXPECT_EQ(ErrorOf([&] { F.Eval("[ very ]"); }), "Missing fuzzy operand to be modified by hedge: very");
  EXPECT_EQ(ErrorOf([&] { F.Eval("up and"); }), "Missing fuzzy operand to be modified by hedge: and");
  EXPECT_EQ(ErrorOf([&] { F.Engine.EvalFuzzyExpression(nullptr, "up", F.Engine.GetGlobalContext()); }),
            "fuzzy variable is not defined");
  EXPECT_DOUBLE_EQ(Up->DegreeOfMembership(5.0), 0.5);
}

TEST(FuzzyInferenceTest, DefaultTermsAndThresholds) {
  TInferenceEngine Engine;
  Engine.Parse("(deftype d extends (type FUZZY) (range 0 10) (values (term medium ((0 1) (10 1)))))", true);
  const IFuzzyVariable Variable = Engine.FindDefinedType("d")->GetFuzzyType();
  ASSERT_EQ(Variable->GetTermCount(), 3);
  EXPECT_DOUBLE_EQ(Variable->FindFuzzySet("medium")->DegreeOfMembership(0.0), 1.0);
  EXPECT_DOUBLE_EQ(Variable->FindFuzzySet("low")->DegreeOfMembership(2.5), 0.75);
  EXPECT_DOUBLE_EQ(Variable->FindFuzzySet("high")->DegreeOfMembership(2.5), 0.25);

  Engine.SetFuzzyEqualsThreshold(-3.0f);
  EXPECT_EQ(Engine.GetFuzzyEqualsThreshold(), 0.0f);
  EXPECT_EQ(Variable->GetEqualityThreshold(), 0.0f);

  Engine.SetMinActivationStrength(2.0f);
  EXPECT_EQ(Engine.GetMinActivationStrength(), 1.0f);
  EXPECT_EQ(Engine.GetRete()->GetMinActivationStrength(), 1.0f);
  // The same value again does nothing, not even to the network.
  Engine.GetRete()->SetMinActivationStrength(0.5f);
  Engine.SetMinActivationStrength(1.0f);
  EXPECT_EQ(Engine.GetRete()->GetMinActivationStrength(), 0.5f);
}

}  // namespace
}  // namespace cogent
