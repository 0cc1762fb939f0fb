#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

IFact Ordered(TInferenceEngine& Engine, const std::string& Relation, std::initializer_list<IKBValue> Fields) {
  IFact Fact = Engine.CreateFactTemplate(Relation)->NewFact();
  IValueVector Items(new TValueVector());
  for (const IKBValue& Field : Fields) Items->Add(Field);
  Fact->SetValue(SDefaultSlotName, IKBValue(new TKBValue(Items)));
  return Fact;
}

// Records what the engine tells a host, in order.
struct TRecorder {
  std::vector<std::string> Log;
  void Attach(TInferenceEngine& Engine) {
    Engine.SetWatch(TConstructWatches{cwFact});
    Engine.OnPrintOut = [this](TObject*, const std::string&, const std::string& Text) { Log.push_back(Text); };
    Engine.OnAssertion = [this](TObject*, const IFact& Fact) { Log.push_back("assert " + Fact->ToString()); };
    Engine.OnRetraction = [this](TObject*, const IFact& Fact) { Log.push_back("retract " + Fact->ToString()); };
  }
};

TEST(AssertionTest, DuplicatesAreRefusedSilentlyUnlessDuplicationIsOn) {
  TInferenceEngine Engine;
  TRecorder Recorder;
  Recorder.Attach(Engine);
  EXPECT_EQ(Engine.Assert(Ordered(Engine, "colour", {Atom("red")})), 1);
  EXPECT_EQ(Engine.Assert(Ordered(Engine, "colour", {Atom("red")})), -1);
  EXPECT_EQ(Recorder.Log, (std::vector<std::string>{" ==> f-1 (colour red )\r\n", "assert (colour red )"}));
  // A host adding through the list asserts, and gets Count - 1 also when
  // the fact is refused.
  EXPECT_EQ(Engine.GetFacts()->Add(Ordered(Engine, "colour", {Atom("red")})), 1);
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 2);

  Engine.SetFactDuplication(true);
  EXPECT_EQ(Engine.Assert(Ordered(Engine, "colour", {Atom("red")})), 2);
  // The content search still finds the first of them without the cache.
  EXPECT_EQ(Engine.GetFacts()->FindFact(Ordered(Engine, "colour", {Atom("red")})), 1);

  // A fact without template is refused before it takes an id.
  for (const IFact& Fact : {IFact(new TFact()), IFact()})
    EXPECT_EQ(ErrorOf([&] { Engine.Assert(Fact); }), "Fact Template is missing");
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 3);
  EXPECT_EQ(Engine.GetFactIdCounter(), 3);
}

TEST(AssertionTest, RetractionOrderAndEvents) {
  TInferenceEngine Engine;
  TRecorder Recorder;
  Recorder.Attach(Engine);
  const IFact Red = Ordered(Engine, "colour", {Atom("red")});
  Engine.Assert(Red);
  Recorder.Log.clear();
  Engine.OnRetraction = [&](TObject*, const IFact& Fact) {
    // Heard while the fact is still in place.
    EXPECT_EQ(Engine.GetFacts()->IndexOf(Fact), 1);
    Recorder.Log.push_back("retract");
  };
  Engine.Retract(1);
  EXPECT_EQ(Red->GetID(), 1);  // the retracted object keeps its id
  // Retracting what is not there does nothing.
  Engine.Retract(1);
  Engine.Retract(Ordered(Engine, "colour", {Atom("blue")}));
  EXPECT_EQ(Recorder.Log, (std::vector<std::string>{"retract", " <== f-1 (colour red )\r\n"}));
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 1);

  // A re-asserted object gets a new id.
  EXPECT_EQ(Engine.Assert(Red), 2);
  EXPECT_EQ(Engine.GetFacts()->GetFactByID(2), Red);
  // So does a modified one, taken out for the change.
  Engine.BeginFactModify(Red);
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 1);
  EXPECT_EQ(Engine.EndFactModify(Red), 3);
}

TEST(AssertionTest, PendingFactsComeBeforeTheEventOfTheirCause) {
  TInferenceEngine Engine;
  TRecorder Recorder;
  Recorder.Attach(Engine);
  const IFact Goal = Ordered(Engine, "need-x", {});
  const IFact Old = Ordered(Engine, "old", {});
  Engine.Assert(Old);
  Recorder.Log.clear();
  Engine.AddPendingFact(Goal, true);
  Engine.AddPendingFact(Old, false);
  EXPECT_EQ(Engine.GetFactPending(0), Goal);
  Engine.Assert(Ordered(Engine, "a", {}));
  // The goal's own assertion serves the rest of the queue before its event.
  EXPECT_EQ(Recorder.Log, (std::vector<std::string>{" ==> f-2 (a)\r\n", " ==> f-3 (need-x)\r\n", "retract (old)",
                                                    " <== f-1 (old)\r\n", "assert (need-x)", "assert (a)"}));
  EXPECT_EQ(Engine.GetFactsPending()->GetCount(), 0);
}

TEST(AssertionTest, HostListOperations) {
  TInferenceEngine Engine;
  int Retracted = 0;
  Engine.OnRetraction = [&](TObject*, const IFact&) { ++Retracted; };
  for (int I = 0; I < 6; ++I) Engine.Assert(Ordered(Engine, "n", {Int(I)}));
  TFacts* Facts = Engine.GetFacts();
  ASSERT_EQ(Facts->GetCount(), 7);
  // Past five facts lookups by id are binary searches.
  EXPECT_EQ(Facts->FindFact(4), 4);
  EXPECT_EQ(Facts->IndexOf(Facts->Get(5)), 5);
  EXPECT_EQ(Facts->FindFact(Ordered(Engine, "n", {Int(3)})), 4);
  EXPECT_EQ(Facts->FindFact(99), -1);

  Facts->Delete(2);  // retracts
  EXPECT_EQ(Retracted, 1);
  EXPECT_EQ(Facts->FindFact(2), -1);
  EXPECT_EQ(Facts->Remove(IInterface(Facts->Get(2))), 2);
  EXPECT_EQ(Retracted, 2);

  Facts->Clear();  // silent fact by fact
  EXPECT_EQ(Retracted, 2);
  EXPECT_EQ(Facts->FindFact(Ordered(Engine, "n", {Int(5)})), -1);

  // A preserved id is kept and moves the counter on.
  Facts->SetPreserveIDs(true);
  const IFact Seventeen = Ordered(Engine, "kept", {});
  Seventeen->SetID(17);
  Facts->Add(Seventeen);
  EXPECT_EQ(Seventeen->GetID(), 17);
  Facts->SetPreserveIDs(false);
  EXPECT_EQ(Engine.Assert(Ordered(Engine, "next", {})), 18);
}

TEST(AssertionTest, SharedTemplateEntersEveryModule) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  const IFactTemplate Shared = Engine.CreateFactTemplate("shared");
  const IModule Other = AddModule(Engine, "OTHER");
  Other->GetFactTemplates()->Add(Shared);
  ASSERT_EQ(Shared->GetImportModuleCount(), 2);

  TRecorder Recorder;
  Recorder.Attach(Engine);
  const IFact Fact = Shared->NewFact();
  EXPECT_EQ(Engine.Assert(Fact), 1);
  EXPECT_EQ(Recorder.Log.size(), 2u);  // heard once
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Main->GetFacts()->IndexOf(Fact), 1);
  EXPECT_EQ(Other->GetFacts()->IndexOf(Fact), 0);

  EXPECT_EQ(Engine.GetFacts(false)->GetCount(), 2);  // the initial fact and the shared one, once
  EXPECT_EQ(Engine.GetFacts(true)->GetCount(), 3);

  Engine.Retract(Fact);
  EXPECT_EQ(Other->GetFacts()->GetCount(), 0);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
}

}  // namespace
}  // namespace cogent
