// The functions as rule actions: rules read from text, fired by run.

#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {

namespace {

std::string Facts(TInferenceEngine& Engine) {
  std::string Result;
  for (int I = 0; I < Engine.GetFactCount(); ++I) Result += Engine.GetFact(I)->GetToIDString() + "\n";
  return Result;
}

}  // namespace

TEST(RuleActions, RunFiresRulesAndCountsThem) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(defrule copy (a ?x) => (assert (b ?x)))", true));
  Engine.Assert("(a 1)");
  Engine.Assert("(a 2)");
  // Each firing asserts with its own values from the one parsed action.
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(run 1)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(run)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(run)"));
  EXPECT_EQ(5, Engine.GetFactCount());
  EXPECT_NE(std::string::npos, Facts(Engine).find("(b 1 )"));
  EXPECT_NE(std::string::npos, Facts(Engine).find("(b 2 )"));
  // The limit is read as written.
  SetVariable(Engine, "n", Int(1));
  EXPECT_EQ("Not a integer type.  Value (?n) is a dtVariable type", ErrorOfCall(Engine, "(run ?n)"));
}

TEST(RuleActions, ModifyAndRetractThroughTheFactAddress) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(deftemplate counter (slot n))\n"
                           "(defrule count ?c <- (counter (n ?n&:(< ?n 3))) => (modify ?c (n (+ ?n 1))))\n"
                           "(defrule done ?c <- (counter (n 3)) => (retract ?c) (assert (finished)))",
                           true));
  Engine.Assert("(counter (n 0))");
  EXPECT_EQ("dtInteger 4", Eval(Engine, "(run)"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-5 (finished)\n", Facts(Engine));
}

TEST(RuleActions, HaltStopsAfterTheRuleAndRunRefusesToNest) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(defrule stop (a ?x) => (halt) (assert (after ?x)))", true));
  Engine.Assert("(a 1)");
  Engine.Assert("(a 2)");
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(run)"));
  // The rule's later actions ran.
  EXPECT_EQ(4, Engine.GetFactCount());

  TInferenceEngine Nesting;
  ASSERT_TRUE(Nesting.Parse("(defrule nested (go) => (run))", true));
  Nesting.Assert("(go)");
  EXPECT_EQ("Cannot run the engine from inside a rule action", ErrorOfCall(Nesting, "(run)"));
}

TEST(RuleActions, ReturnEndsTheActionsAndWithoutValuePopsTheFocus) {
  for (const char* Return : {"(return)", "(return 5)"}) {
    TInferenceEngine Engine;
    ASSERT_TRUE(Engine.Parse(std::string("(defrule first (declare (salience 10)) (a) => ") + Return +
                                 " (assert (never)))\n(defrule second (b) => (assert (seen)))",
                             true));
    Engine.Assert("(a)");
    Engine.Assert("(b)");
    const bool Pops = std::string(Return) == "(return)";
    // Popping the only module on the focus stack ends the run.
    EXPECT_EQ(Pops ? "dtInteger 1" : "dtInteger 2", Eval(Engine, "(run)")) << Return;
    const std::string All = Facts(Engine);
    EXPECT_EQ(std::string::npos, All.find("never")) << Return;
    EXPECT_EQ(!Pops, All.find("seen") != std::string::npos) << Return;
  }
}

TEST(RuleActions, ControlFormsInActionsSeeTheRulesVariables) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(defrule classify (n ?x) => "
                           "(if (> ?x 10) then (assert (big ?x)) else (bind ?y (* ?x 2)) (assert (small ?y))))",
                           true));
  Engine.Assert("(n 20)");
  Engine.Assert("(n 3)");
  Engine.Run();
  const std::string All = Facts(Engine);
  EXPECT_NE(std::string::npos, All.find("(big 20 )")) << All;
  EXPECT_NE(std::string::npos, All.find("(small 6 )")) << All;
}

}  // namespace cogent::test
