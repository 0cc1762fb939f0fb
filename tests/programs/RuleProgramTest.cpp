// Whole rule programs read from text, reset and run: the firings, their
// order and the facts they leave.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/cogent.h"

#include "../TestErrors.h"

namespace cogent {
namespace {

using namespace test;

// An engine that notes the rules it fires, in order.
class TProgram {
public:
  explicit TProgram(const std::string& Text, TSearchStrategy Strategy = ssDepthFirst) {
    Engine.SetStrategy(Strategy);
    Engine.OnPrintOut = [this](TObject*, const std::string&, const std::string& Line) { Output += Line; };
    Engine.OnRuleFired = [this](TObject*, TRule* Rule) { Fired.push_back(Rule ? Rule->GetRuleName() : "?"); };
    Engine.Parse(Text, true);
    Engine.Reset();
    Output.clear();
  }

  // The facts of the current module, each as it prints.
  std::vector<std::string> Facts() const {
    std::vector<std::string> Result;
    const TFacts* List = Engine.GetFacts();
    for (int I = 0; I < List->GetCount(); ++I) Result.push_back(List->Get(I)->ToString());
    return Result;
  }
  bool Holds(const std::string& Fact) const {
    for (const std::string& Item : Facts())
      if (Item == Fact) return true;
    return false;
  }

  TInferenceEngine Engine;
  std::vector<std::string> Fired;
  std::string Output;
};

using TNames = std::vector<std::string>;

TEST(RuleProgramTest, AChainOfRulesRunsToItsEnd) {
  TProgram P(R"(
    (deftemplate counter (slot n (type INTEGER)))
    (defrule start => (assert (counter (n 0))))
    (defrule count ?c <- (counter (n ?n&:(< ?n 5))) => (modify ?c (n (+ ?n 1))))
    (defrule done (counter (n 5)) => (assert (finished)))
  )");
  EXPECT_EQ(P.Engine.Run(), 7);
  EXPECT_EQ(P.Fired, (TNames{"start", "count", "count", "count", "count", "count", "done"}));
  EXPECT_TRUE(P.Holds("(finished)"));
  EXPECT_EQ(P.Engine.Run(), 0);
}

TEST(RuleProgramTest, OrderTestsInPatternsTakeNumbersOfEitherKindAndNumericText) {
  TProgram P(R"(
    (deftemplate p (slot a) (slot b))
    (defrule lt (p (a ?a) (b ?b&:(< ?a ?b))) => (printout t "lt " ?a crlf))
    (defrule ge (p (a ?a&:(>= ?a 2.5)) (b ?b)) => (printout t "ge " ?b crlf))
    (deffacts f (p (a 1) (b 2.5)) (p (a 3.0) (b 3)) (p (a "2") (b 4)) (p (a 2.5) (b 1)) (p (a 7) (b "8")))
  )", ssBreadthFirst);
  P.Engine.Run();
  EXPECT_EQ(P.Output, "lt 1\r\nge 3\r\nlt 2\r\nge 1\r\nlt 7\r\nge 8\r\n");
  // A value that is no number still fails as the call does.
  EXPECT_THROW(P.Engine.Parse("(assert (p (a x) (b 1)))", true), Exception);
}

TEST(RuleProgramTest, SalienceFirstThenStrategyOrdersEqualRules) {
  const std::string Text = R"(
    (defrule a (go) => ) (defrule b (go) => ) (defrule c (go) => )
    (defrule high (declare (salience 10)) (go) => )
    (defrule low (declare (salience -5)) (go) => )
  )";
  TProgram Depth(Text);
  Depth.Engine.Assert("(go)");
  Depth.Engine.Run();
  EXPECT_EQ(Depth.Fired, (TNames{"high", "c", "b", "a", "low"}));
  TProgram Breadth(Text, ssBreadthFirst);
  Breadth.Engine.Assert("(go)");
  Breadth.Engine.Run();
  EXPECT_EQ(Breadth.Fired, (TNames{"high", "a", "b", "c", "low"}));
}

TEST(RuleProgramTest, StepsHaltOneShotAndDisabledRules) {
  TProgram P(R"(
    (defrule each (item ?x) => (assert (seen ?x)))
    (defrule stop (declare (salience 5)) (seen 2) => (halt))
    (defrule once (declare (oneshot TRUE)) (item ?x) => (assert (once ?x)))
    (defrule never (declare (enabled FALSE)) (item ?x) => (assert (never ?x)))
  )");
  for (const char* Fact : {"(item 1)", "(item 2)", "(item 3)"}) P.Engine.Assert(Fact);
  const int Waiting = P.Engine.GetAgendaCount();
  EXPECT_EQ(Waiting, 6);  // each and once for every item; never stays off the agenda
  EXPECT_EQ(P.Engine.Run(1), 1);
  EXPECT_EQ(P.Engine.GetAgendaCount(), Waiting - 1);
  P.Engine.Run();
  // The halt stopped the run with entries left on the agenda.
  EXPECT_EQ(P.Fired.back(), "stop");
  EXPECT_GT(P.Engine.GetAgendaCount(), 0);
  P.Engine.Run();
  EXPECT_TRUE(P.Holds("(seen 1 )"));
  EXPECT_FALSE(P.Holds("(never 1 )"));
  // A one-shot rule that has fired makes no new activations until a reset;
  // those made before its firing still fire.
  EXPECT_TRUE(P.Holds("(once 1 )") && P.Holds("(once 3 )"));
  P.Engine.Assert("(item 4)");
  P.Engine.Run();
  EXPECT_TRUE(P.Holds("(seen 4 )"));
  EXPECT_FALSE(P.Holds("(once 4 )"));
}

TEST(RuleProgramTest, FocusPassesControlBetweenModules) {
  TProgram P("");
  IModule Work(new TModule(&P.Engine, false));
  Work->SetName("WORK");
  P.Engine.AddModule(Work);
  P.Engine.Parse(R"(
    (defrule MAIN::begin (start) => (assert (step main)) (focus WORK))
    (defrule MAIN::after (step main) => )
    (defrule WORK::work (task) => (assert (worked)))
    (defrule WORK::alarm (declare (auto-focus TRUE)) (alarm ?) => (pop-focus))
  )", true);
  P.Engine.Reset();
  // Facts go to the module that is current.
  P.Engine.SetCurrentModule(Work);
  P.Engine.Assert("(task)");
  P.Engine.SetCurrentModule(P.Engine.GetModules()->Get(0));
  P.Engine.Assert("(start)");
  P.Output.clear();
  P.Engine.SetWatch(TConstructWatches{cwFocus});
  P.Engine.Run();
  // The rule that asks for the focus finishes; the other module runs dry and
  // hands control back to the rule that waited.
  EXPECT_EQ(P.Fired, (TNames{"begin", "work", "after"}));
  EXPECT_EQ(P.Output, "==> Focus WORK from MAIN\r\n==> Focus WORK to MAIN\r\n<== Focus MAIN\r\n");
  // An auto-focus rule that is activated takes the focus to its module, as
  // long as some module has the focus.
  P.Engine.SetCurrentModule(Work);
  P.Engine.Assert("(alarm 1)");
  EXPECT_EQ(P.Engine.GetFocusStack()->GetCount(), 0);
  P.Engine.PushFocus(P.Engine.GetModules()->Get(0));
  P.Engine.SetCurrentModule(Work);
  P.Output.clear();
  P.Engine.Assert("(alarm 2)");
  EXPECT_EQ(P.Output, "==> Focus WORK from MAIN\r\n");
  P.Engine.Run();
  EXPECT_EQ(P.Fired.back(), "alarm");
  EXPECT_EQ(P.Output, "==> Focus WORK from MAIN\r\n==> Focus WORK to MAIN\r\n<== Focus MAIN\r\n");
}

TEST(RuleProgramTest, GoalsAreAnsweredByBackwardChaining) {
  TProgram P(R"(
    (do-backward-chaining price)
    (defrule quote (item ?i) (price ?i ?p) => (assert (quoted ?i ?p)))
    (defrule find-price (need-price ?i ?) => (assert (price ?i 42)))
  )");
  P.Engine.SetWatch(TConstructWatches{cwFact});
  P.Output.clear();
  P.Engine.Assert("(item apple)");
  // The goal follows the fact that asked for it.
  EXPECT_EQ(P.Output, " ==> f-1 (item apple )\r\n ==> f-2 (need-price apple   )\r\n");
  P.Engine.Run();
  EXPECT_EQ(P.Fired, (TNames{"find-price", "quote"}));
  EXPECT_TRUE(P.Holds("(quoted apple 42 )"));
  // A price that stands already makes no goal.
  P.Output.clear();
  P.Engine.Assert("(price pear 7)");
  P.Engine.Assert("(item pear)");
  EXPECT_EQ(P.Output.find("need-price pear"), std::string::npos);
}

TEST(RuleProgramTest, AnActionThatFailsStopsTheRunAndTheNextRunGoesOn) {
  TProgram P(R"(
    (defrule bad (declare (salience 10)) (go) => (assert (before)) (retract 99) (assert (after)))
    (defrule good (go) => (assert (good)))
  )");
  P.Engine.Assert("(go)");
  EXPECT_EQ(ErrorOf([&] { P.Engine.Run(); }), "Unable to find fact f-99");
  EXPECT_TRUE(P.Holds("(before)"));
  EXPECT_FALSE(P.Holds("(after)"));
  EXPECT_EQ(P.Engine.GetAgendaCount(), 1);
  EXPECT_EQ(P.Engine.Run(), 1);
  EXPECT_TRUE(P.Holds("(good)"));
}

}  // namespace
}  // namespace cogent
