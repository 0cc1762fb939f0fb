#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/rules/ActivationAgenda.h"

#include "../matching/ReteTestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

// An engine whose output and run events are written down.
struct TRunFixture {
  TInferenceEngine Engine;
  TRuleBuilder Rules{Engine};
  std::string Output;
  std::vector<std::string> Events;
  std::vector<std::string> Fired;

  TRunFixture() {
    Engine.OnPrintOut = [this](TObject*, const std::string&, const std::string& Text) { Output += Text; };
    Engine.OnStartInference = [this](TObject*) { Events.push_back("start"); };
    Engine.OnEndInference = [this](TObject*, std::int32_t N) { Events.push_back("end " + std::to_string(N)); };
  }

  // A rule on one pattern of template Name that notes each firing.
  TRule* Rule(const std::string& RuleName, const std::string& Name) {
    TRule* Result = Rules.NewRule(RuleName, Rules.Pattern(Name, {{SDefaultSlotName, IKBValue(new TKBValue("?x", dtVariable))}}));
    Result->OnFire = [this, RuleName](TObject*, TKBContext*) { Fired.push_back(RuleName); };
    Engine.GetRules()->Add(Result);
    return Result;
  }
};

TEST(RunLoopTest, EmptyAgendaPopsTheMainModuleAndHalts) {
  TRunFixture F;
  F.Engine.SetWatch(TConstructWatches{cwFocus});
  EXPECT_EQ(F.Engine.Run(0), 0);  // no turn at all: nothing pops
  EXPECT_EQ(F.Engine.GetFocusStack()->GetCount(), 1);
  EXPECT_EQ(F.Output, "");
  F.Events.clear();
  EXPECT_EQ(F.Engine.Run(), 0);
  EXPECT_EQ(F.Engine.GetFocusStack()->GetCount(), 0);
  EXPECT_TRUE(F.Engine.GetHalt());
  EXPECT_FALSE(F.Engine.GetIsRunning());
  EXPECT_EQ(F.Output, "<== Focus MAIN\r\n");
  EXPECT_EQ(F.Events, (std::vector<std::string>{"start", "end 0"}));
  // The next run starts from the main module again.
  F.Output.clear();
  F.Engine.Run();
  EXPECT_EQ(F.Output, "==> Focus MAIN\r\n<== Focus MAIN\r\n");
}

TEST(RunLoopTest, StepsFireTheTopAndKeepTheStack) {
  TRunFixture F;
  F.Rule("r", "a");
  F.Engine.Assert("(a 1)");
  F.Engine.Assert("(a 2)");
  F.Engine.Assert("(a 3)");
  ASSERT_EQ(F.Engine.GetAgendaCount(), 3);
  F.Engine.SetWatch(TConstructWatches{cwRule});
  EXPECT_EQ(F.Engine.Run(1), 1);
  EXPECT_EQ(F.Engine.GetAgendaCount(), 2);
  EXPECT_EQ(F.Engine.GetFocusStack()->GetCount(), 1);
  EXPECT_FALSE(F.Engine.GetHalt());
  // The count in the line is that before the firing: each run starts at 0.
  EXPECT_EQ(F.Output.substr(0, 7), "FIRE 0 ");
  EXPECT_EQ(F.Engine.Run(), 2);
  EXPECT_EQ(F.Fired.size(), 3u);
  EXPECT_EQ(F.Engine.GetAgendaCount(), 0);
  EXPECT_EQ(F.Engine.GetFocusStack()->GetCount(), 0);
}

TEST(RunLoopTest, FireLineNamesTheRuleAndItsFacts) {
  TRunFixture F;
  TRule* Rule = F.Rules.Rule("my-rule", F.Rules.Pattern("p"), F.Rules.Pattern("q"));
  (void)Rule;
  F.Engine.Assert("(p)");
  F.Engine.Assert("(q)");
  F.Engine.SetWatch(TConstructWatches{cwRule});
  F.Engine.Run();
  EXPECT_EQ(F.Output, "FIRE 0 my-rule f-1, f-2\r\n");
}

TEST(RunLoopTest, HaltFromAnActionLetsTheRuleFinish) {
  TRunFixture F;
  TRule* Rule = F.Rule("r", "a");
  Rule->OnFire = [&](TObject*, TKBContext*) {
    F.Fired.push_back("r");
    F.Engine.SetHalt(true);
  };
  F.Engine.Assert("(a 1)");
  F.Engine.Assert("(a 2)");
  EXPECT_EQ(F.Engine.Run(), 1);
  EXPECT_EQ(F.Engine.GetAgendaCount(), 1);
  EXPECT_EQ(F.Engine.GetFocusStack()->GetCount(), 1);  // a halt leaves the stack
  EXPECT_EQ(F.Engine.Run(), 1);                         // and the next run goes on
}

TEST(RunLoopTest, AnActionThatRaisesLeavesTheEngineUsable) {
  TRunFixture F;
  TRule* Rule = F.Rule("r", "a");
  int Calls = 0;
  Rule->OnFire = [&](TObject*, TKBContext*) {
    if (++Calls == 1) throw EKBException("boom");
  };
  F.Engine.Assert("(a 1)");
  F.Engine.Assert("(a 2)");
  EXPECT_THROW(F.Engine.Run(), EKBException);
  // The failed activation is off the agenda and freed; the other stands.
  EXPECT_EQ(F.Engine.GetAgendaCount(), 1);
  EXPECT_EQ(F.Engine.GetCurrentAgendaItem(), nullptr);
  EXPECT_TRUE(F.Engine.GetIsRunning());  // an escaping error skips the end of the run
  EXPECT_EQ(F.Engine.Run(), 1);
  EXPECT_EQ(Calls, 2);
}

TEST(RunLoopTest, NestedRunIsRefused) {
  TRunFixture F;
  TRule* Rule = F.Rule("r", "a");
  Rule->OnFire = [&](TObject*, TKBContext*) { F.Engine.Run(); };
  F.Engine.Assert("(a 1)");
  EXPECT_THROW(F.Engine.Run(), EKBException);
  EXPECT_EQ(F.Engine.GetAgendaCount(), 0);
}

TEST(RunLoopTest, ModulesTakeTurnsThroughTheFocusStack) {
  TRunFixture F;
  const IModule A = AddModule(F.Engine, "A");
  F.Engine.SetCurrentModule(A);
  F.Rule("in-a", "a");
  F.Engine.Assert("(a 1)");
  F.Engine.SetCurrentModule(F.Engine.GetModules()->Get(0));
  TRule* Main = F.Rule("in-main", "m");
  Main->OnFire = [&](TObject*, TKBContext*) {
    F.Fired.push_back("in-main");
    F.Engine.PushFocus(A);
  };
  F.Engine.Assert("(m 1)");
  F.Engine.SetWatch(TConstructWatches{cwFocus});
  EXPECT_EQ(F.Engine.Run(), 2);
  EXPECT_EQ(F.Fired, (std::vector<std::string>{"in-main", "in-a"}));
  EXPECT_EQ(F.Output, "==> Focus A from MAIN\r\n==> Focus A to MAIN\r\n<== Focus MAIN\r\n");
}

TEST(RunLoopTest, AutoFocusTakesTheFocusToTheRulesModule) {
  TRunFixture F;
  const IModule A = AddModule(F.Engine, "A");
  F.Engine.SetCurrentModule(A);
  F.Rule("in-a", "a")->SetAutoFocus(true);
  F.Engine.SetCurrentModule(F.Engine.GetModules()->Get(0));
  F.Engine.SetWatch(TConstructWatches{cwFocus});
  // The fact enters module A's network while A is current.
  F.Engine.SetCurrentModule(A);
  F.Engine.Assert("(a 1)");
  EXPECT_EQ(F.Engine.PeekFocus(), A);
  EXPECT_EQ(F.Engine.Run(), 1);
  EXPECT_EQ(F.Fired, (std::vector<std::string>{"in-a"}));
}

TEST(RunLoopTest, StatisticsOnlyWhenWatched) {
  TRunFixture F;
  F.Rule("r", "a");
  F.Engine.Assert("(a 1)");
  F.Engine.Assert("(a 2)");
  F.Engine.Run();
  EXPECT_EQ(F.Engine.GetStatNumRulesFired(), 2);
  EXPECT_EQ(F.Engine.GetStatMeanFacts(), 0.0f);
  EXPECT_EQ(F.Engine.GetStatMaxActivations(), 2);  // the count at the start
  EXPECT_GE(F.Engine.GetStatRunTime(), 0.0);
  EXPECT_LT(F.Engine.GetStatRunTime(), 1.0);  // a fraction of a day

  F.Engine.Assert("(a 3)");
  F.Engine.Assert("(a 4)");
  F.Engine.SetWatch(TConstructWatches{cwStatistics});
  F.Output.clear();
  F.Engine.Run();
  EXPECT_EQ(F.Engine.GetStatMeanActivations(), 0.5f);  // 1 after the first firing, 0 after the second
  EXPECT_EQ(F.Engine.GetStatMaxFacts(), F.Engine.GetFactCount());
  EXPECT_NE(F.Output.find("2 rules fired.     Run time is "), std::string::npos);
  EXPECT_NE(F.Output.find(" mean number of activations (2 maximum)\r\n"), std::string::npos);
  // No firing, no statistics text.
  F.Output.clear();
  F.Engine.Run();
  EXPECT_EQ(F.Output, "");
}

}  // namespace
}  // namespace cogent
