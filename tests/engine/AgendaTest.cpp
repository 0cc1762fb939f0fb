#include "cogent/rules/ActivationAgenda.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../matching/ReteTestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;
using TNames = std::vector<std::string>;

// Each rule matches facts of its own template, so asserting "(a)" activates
// rule a alone. The salience of rule d is read from Salience when evaluated.
class AgendaTest : public ::testing::Test {
protected:
  AgendaTest() {
    auto* Function = new TUserFunction(&Engine, "zz-salience");
    Function->OnCall = [this](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) {
      Result = IKBValue(new TKBValue(Salience));
    };
    Function->SetEngine(&Engine);
  }

  TRule* Rule(const std::string& Name, std::int32_t ASalience = 0) {
    TRule* Result = R.Rule(Name, R.Pattern(Name));
    Result->SetSalience(ASalience);
    return Result;
  }
  std::int32_t Activate(const std::string& Name) { return Engine.Assert(std::string("(") + Name + ")"); }

  // Rule names from the top.
  TNames Order() const {
    TNames Result;
    for (int I = 0; I < Engine.GetAgendaCount(); ++I)
      Result.push_back(Engine.GetActivation(I)->GetRule()->GetRuleName());
    return Result;
  }

  TInferenceEngine Engine;
  TRuleBuilder R{Engine};
  std::int32_t Salience = 0;
};

TEST_F(AgendaTest, StrategiesDecideOnlyAtTheEnds) {
  // Equal salience: in front of the top group under depth, behind the
  // bottom group under breadth.
  for (const char* Name : {"a", "b", "c"}) Rule(Name);
  for (const char* Name : {"a", "b", "c"}) Activate(Name);
  EXPECT_EQ(Order(), (TNames{"c", "b", "a"}));

  TInferenceEngine Breadth;
  Breadth.SetStrategy(ssBreadthFirst);
  TRuleBuilder B(Breadth);
  for (const char* Name : {"a", "b", "c"}) B.Rule(Name, B.Pattern(Name));
  for (const char* Name : {"a", "b", "c"}) Breadth.Assert(std::string("(") + Name + ")");
  for (int I = 0; I < 3; ++I) EXPECT_EQ(Breadth.GetActivation(I)->GetRule()->GetRuleName(), TNames({"a", "b", "c"})[I]);

  // Agenda 10, 5, 5, 5, 1 and a new 5: the bisection probes index 2 first
  // and the newcomer stands there, inside the group, under either strategy.
  for (const TSearchStrategy Strategy : {ssDepthFirst, ssBreadthFirst}) {
    SCOPED_TRACE(EnumName(Strategy));
    Engine.Reset();
    Engine.SetStrategy(Strategy);
    Rule("h", 10);
    Rule("l", 1);
    Rule("m1", 5);
    Rule("m2", 5);
    Rule("m3", 5);
    Rule("m4", 5);
    Rule("s", 7);
    for (const char* Name : {"h", "l", "m1", "m2", "m3"}) Activate(Name);
    EXPECT_EQ(Order(), (TNames{"h", "m3", "m2", "m1", "l"}));
    int Added = -1;
    Engine.OnAddActivation = [&](TObject*, int Index, TActivation*) { Added = Index; };
    Activate("m4");
    EXPECT_EQ(Added, 2);
    EXPECT_EQ(Order(), (TNames{"h", "m3", "m4", "m2", "m1", "l"}));
    // A salience between two groups goes between them.
    Activate("s");
    EXPECT_EQ(Added, 1);
    Engine.OnAddActivation = nullptr;
    Engine.GetRules()->Clear();
  }
}

TEST_F(AgendaTest, SalienceIsReadAsEntriesComeInAndStandingEntriesKeepTheirPlaces) {
  Engine.Parse("(deftemplate d (slot n))", true);
  TRule* D = R.Rule("d", R.Pattern("d"));
  Rule("x", 5);
  D->SetSalience(CallValue(Call("zz-salience", {})));
  Salience = 10;
  Engine.Assert("(d (n 1))");
  Activate("x");
  EXPECT_EQ(Order(), (TNames{"d", "x"}));
  // The rule's salience drops; its standing activation stays on top, and the
  // new one is compared with what the entries' rules read now.
  Salience = 1;
  Engine.Assert("(d (n 2))");
  EXPECT_EQ(Engine.GetActivation(0)->GetToken()->GetToFactsString(), "f-3");
  EXPECT_EQ(Order(), (TNames{"d", "d", "x"}));
  // A rebuild places them all anew.
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Order(), (TNames{"x", "d", "d"}));
}

TEST_F(AgendaTest, NewStrategyRebuildsWithTraceAndEventsAndRetractionStillReachesTheClones) {
  for (const char* Name : {"a", "b", "c"}) Rule(Name);
  std::vector<std::int32_t> Ids;
  for (const char* Name : {"a", "b", "c"}) Ids.push_back(Activate(Name));
  std::vector<std::string> Log;
  Engine.SetWatch(TConstructWatches{cwActivation});
  Engine.OnPrintOut = [&](TObject*, const std::string&, const std::string& Text) { Log.push_back(Text); };
  std::vector<int> Added;
  Engine.OnAddActivation = [&](TObject*, int Index, TActivation*) { Added.push_back(Index); };

  // From the top, each appended: the order stands.
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Order(), (TNames{"c", "b", "a"}));
  EXPECT_EQ(Log, (TNames{"==> Activation: 0 c : f-3 (1.0000)\r\n", "==> Activation: 0 b : f-2 (1.0000)\r\n",
                         "==> Activation: 0 a : f-1 (1.0000)\r\n"}));
  EXPECT_EQ(Added, (std::vector<int>{0, 1, 2}));
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Log.size(), 3u);

  // From the top, each to the front: reversed.
  Engine.SetStrategy(ssDepthFirst);
  EXPECT_EQ(Order(), (TNames{"a", "b", "c"}));
  EXPECT_EQ(Log.size(), 6u);

  // The nodes list the clones: a retraction takes its activation off, with
  // the event before it goes and the trace line after.
  Log.clear();
  int Removed = -1;
  Engine.OnRemoveActivation = [&](TObject*, int Index, TActivation* Activation) {
    Removed = Index;
    EXPECT_EQ(Engine.GetActivation(Index), Activation);
    EXPECT_EQ(Log, TNames{});
  };
  Engine.Retract(Ids[1]);
  EXPECT_EQ(Removed, 1);
  EXPECT_EQ(Order(), (TNames{"a", "c"}));
  EXPECT_EQ(Log, TNames{"<== Activation: b : f-2\r\n"});
  Engine.OnRemoveActivation = nullptr;
  Engine.Retract(Ids[0]);
  Engine.Retract(Ids[2]);
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
}

TEST_F(AgendaTest, FiringTellsThenRemoves) {
  Rule("a");
  Activate("a");
  TRule* Fired = nullptr;
  Engine.OnRuleFired = [&](TObject*, TRule* Rule) {
    Fired = Rule;
    EXPECT_EQ(Engine.GetAgendaCount(), 1);
  };
  EXPECT_TRUE(Engine.GetActivation(0)->Fire());
  ASSERT_NE(Fired, nullptr);
  EXPECT_EQ(Fired->GetRuleName(), "a");
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
  EXPECT_THROW(Engine.GetActivation(0), EListError);
}

TEST_F(AgendaTest, StandingDownInAnotherModuleLeavesTheCurrentOneCurrent) {
  const IModule Main = Engine.GetCurrentModule();
  const IModule Other = AddModule(Engine, "OTHER");
  Engine.SetCurrentModule(Other);
  Rule("m");
  Activate("m");
  TActivation* Activation = Engine.GetActivation(0);
  Engine.SetCurrentModule(Main);
  Rule("a");
  Activate("a");
  Engine.RemoveActivation(Activation);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Other->GetAgenda()->GetCount(), 0);
  EXPECT_EQ(Order(), TNames{"a"});
}

// Activations that no node made, placed by a rule of the test's own.
class TPlacedAgenda : public TActivationAgenda {
public:
  int At = -1;

protected:
  int FindInsertion(TActivation*) override { return At < 0 || At > GetCount() ? -1 : At; }
};

TEST(ActivationAgendaTest, PlacesAreFoundByIdentityThroughAnyInsertionSequence) {
  TPlacedAgenda Agenda;
  std::vector<TActivation*> Mirror;
  // Inserting again and again at the same inner place exhausts the room
  // between keys many times over.
  for (int I = 0; I < 200; ++I) {
    auto* Activation = new TActivation(nullptr, IReteToken(), nullptr, 1.0f);
    Agenda.At = I % 7 == 0 ? 0 : (I % 5 == 0 ? -1 : 1);
    const int Index = Agenda.Add(Activation);
    Mirror.insert(Index >= static_cast<int>(Mirror.size()) ? Mirror.end() : Mirror.begin() + Index, Activation);
  }
  Agenda.Exchange(3, 150);
  std::swap(Mirror[3], Mirror[150]);
  ASSERT_EQ(Agenda.GetCount(), 200);
  for (int I = 0; I < 200; ++I) {
    EXPECT_EQ(Agenda.GetActivations(I), Mirror[I]);
    EXPECT_EQ(Agenda.IndexOfData(Mirror[I]), I);
  }
  EXPECT_EQ(Agenda.GetString(0), "0  :  (1.0000)");

  // Extract gives the activation back unfreed and keeps the agenda owning.
  TActivation* Taken = Agenda.Extract(10);
  EXPECT_EQ(Agenda.IndexOfData(Taken), -1);
  EXPECT_EQ(Agenda.IndexOfData(Mirror[11]), 10);
  EXPECT_TRUE(Agenda.GetFreeData());
  Agenda.At = 0;
  Agenda.Add(Taken);
  EXPECT_EQ(Agenda.IndexOfData(Taken), 0);

  // A copy shares the activations; only one of the two may own them.
  TActivationAgenda Copy;
  Copy.SetFreeData(false);
  Copy.Assign(&Agenda);
  EXPECT_EQ(Copy.IndexOfData(Mirror[150]), Agenda.IndexOfData(Mirror[150]));
  Agenda.Delete(0);
  EXPECT_THROW(Agenda.Delete(500), EListError);
  Copy.Delete(0);
  EXPECT_EQ(Copy.GetActivations(0), Agenda.GetActivations(0));
}

}  // namespace
}  // namespace cogent
