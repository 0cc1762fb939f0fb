#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/common/VXTextStream.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBSlotTest.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

class TCountingRule : public TRule {
public:
  TCountingRule(TComponent* AOwner, const std::string& Name) : TRule(AOwner) { SetRuleName(Name); }
  void Reset() override { ++FResets; }
  int FResets = 0;
};

TEST(ResetClearTest, FocusPushAndPopTraceAndEvents) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetModules()->Get(0);
  const IModule A = AddModule(Engine, "A");
  std::vector<std::string> Log;
  Engine.OnPrintOut = [&](TObject*, const std::string& Id, const std::string& Text) { Log.push_back(Id + "|" + Text); };
  Engine.OnPushFocus = [&](TObject*, const IModule& M) { Log.push_back("push " + M->GetName()); };
  Engine.OnPopFocus = [&](TObject*, const IModule& M) { Log.push_back("pop " + M->GetName()); };
  Engine.OnChangeCurrentModule = [&](TObject*) { Log.push_back("current " + Engine.GetCurrentModule()->GetName()); };
  Engine.SetWatch(TConstructWatches{cwFocus});

  Engine.PushFocus("A");
  Engine.PushFocus(A);  // already on top: nothing at all
  EXPECT_EQ(Engine.GetCurrentFocus(), A);
  EXPECT_EQ(Engine.PopFocus(), A);
  // The last pop halts and leaves the current module as it is.
  EXPECT_EQ(Engine.PopFocus(), Main);
  EXPECT_TRUE(Engine.GetHalt());
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_FALSE(Engine.PopFocus());
  // Pushing the current module still tells of the change.
  Engine.PushFocus(Main);
  EXPECT_EQ(Log, (std::vector<std::string>{"|==> Focus A from MAIN\r\n", "current A", "push A",        //
                                           "current MAIN", "|==> Focus A to MAIN\r\n", "pop A",        //
                                           "|<== Focus MAIN\r\n", "pop MAIN",                           //
                                           "|==> Focus MAIN\r\n", "current MAIN", "push MAIN"}));
}

TEST(ResetClearTest, ResetFocusesMainAndAssertsTheInitialFact) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetModules()->Get(0);
  const IModule A = AddModule(Engine, "A");
  auto* Rule = new TCountingRule(&Engine, "r");
  A->GetRules()->Add(Rule);
  Engine.PushFocus(A);
  Engine.PushFocus(Main);
  Engine.PushFocus(A);
  Engine.SetCurrentModule(A);
  Engine.Assert(Engine.CreateFactTemplate("thing")->NewFact(), false);
  ASSERT_EQ(A->GetFacts()->GetCount(), 1);

  std::vector<std::string> Log;
  Engine.OnPopFocus = [&](TObject*, const IModule& M) { Log.push_back("pop " + M->GetName()); };
  Engine.OnClearFacts = [&](TObject*) { Log.push_back("clear facts"); };
  Engine.OnReset = [&](TObject*) { Log.push_back("reset"); };
  Engine.Reset();

  EXPECT_EQ(Log, (std::vector<std::string>{"pop A", "pop MAIN", "pop A", "pop MAIN", "clear facts", "clear facts",
                                           "reset"}));
  ASSERT_EQ(Engine.GetFocusStack()->GetCount(), 1);
  EXPECT_EQ(Engine.GetCurrentFocus(), Main);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Rule->FResets, 1);
  // A second reset starts the ids over, with the initial fact as f-0.
  Engine.Reset();
  EXPECT_EQ(Main->GetFacts()->GetToIDString(), "f-0 (Initial-Fact)");
  EXPECT_EQ(Engine.GetFactIdCounter(), 1);
}

TEST(ResetClearTest, ClearOfAModuleThenOfAllLeavesOneEmptyMainModule) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetModules()->Get(0);
  const IModule A = AddModule(Engine, "A");
  // Clearing one module keeps the current one and gives the module a new
  // initial-fact pattern on its own initial-fact template.
  A->GetFactTemplates()->Add(IFactTemplate(new TFactTemplate(&Engine, "thing")));
  Engine.OnChangeCurrentModule = [&](TObject*) { ADD_FAILURE(); };
  Engine.Clear(A);
  Engine.OnChangeCurrentModule = nullptr;
  EXPECT_FALSE(A->GetFactTemplates()->ContainsKey("thing"));
  ASSERT_NE(A->GetInitialFactPattern(), nullptr);
  EXPECT_EQ(A->GetInitialFactPattern()->GetTemplate(), A->GetFactTemplates()->Get("Initial-Fact"));

  const IFactTemplate Person(new TFactTemplate(&Engine, "person"));
  Engine.GetFactTemplates()->Add(Person);
  Engine.Assert(Person->NewFact(), false);
  Engine.GetRules()->Add(new TCountingRule(&Engine, "r"));
  const IUserFunction Plain(new TKBUserFunction("zz-plain"));
  const IUserFunction Defined(new TInterpretedFunction("zz-defined"));
  Engine.GetUserFunctions()->Add(Plain);
  Engine.GetUserFunctions()->Add(Defined);
  Engine.GetStorage()->Put("kept", FCTrue);
  Engine.GetGlobalVariables()->Put("*x*", Int(1));
  TMemoryStream Memory;
  Engine.GetIOStreams()->Add("out", new TGTextStream(&Memory));
  Engine.PushFocus(A);
  Engine.SetHalt(true);

  std::vector<std::string> Log;
  Engine.OnRemoveModule = [&](TObject*, const IModule& M) { Log.push_back("remove " + M->GetName()); };
  Engine.OnClearModule = [&](TObject*, const IModule& M) { Log.push_back("clear " + M->GetName()); };
  Engine.OnClear = [&](TObject*) { Log.push_back("clear"); };
  Engine.Clear();

  EXPECT_EQ(Log, (std::vector<std::string>{"remove A", "clear A", "clear MAIN", "clear"}));
  EXPECT_EQ(A->GetFacts(), nullptr);
  ASSERT_EQ(Engine.GetFocusStack()->GetCount(), 1);
  EXPECT_EQ(Engine.GetCurrentFocus(), Main);
  EXPECT_FALSE(Engine.GetHalt());
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 0);
  EXPECT_EQ(Engine.GetRules()->GetCount(), 0);
  EXPECT_EQ(Person->GetImportModuleCount(), 0);
  EXPECT_EQ(Engine.GetFactIdCounter(), 0);

  // The module is ready for knowledge: the initial-fact pattern and the null fact stand anew.
  ASSERT_NE(Engine.GetInitialFactPattern(), nullptr);
  EXPECT_EQ(Engine.GetInitialFactPattern()->GetTemplate(), Engine.FindFactTemplate("Initial-Fact"));

  // Built-in functions and globals stay; interpreted functions, storage and streams go.
  EXPECT_TRUE(Engine.GetUserFunctions()->ContainsKey("zz-plain"));
  EXPECT_EQ(Engine.GetUserFunctions()->GetNumInterpreted(), 0);
  EXPECT_TRUE(Engine.GetGlobalVariables()->ContainsKey("*x*"));
  EXPECT_EQ(Engine.GetStorage()->GetCount(), 0);
  EXPECT_EQ(Engine.GetIOStreams()->GetCount(), 0);
}

}  // namespace
}  // namespace cogent
