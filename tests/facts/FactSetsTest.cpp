#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBFacts.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// An engine with a second module and a template "person" with one slot.
class FactSetTest : public ::testing::Test {
protected:
  FactSetTest() {
    Main = Engine.GetModules()->Get(0);
    Other = IModule(new TModule(&Engine, false));
    Other->SetName("OTHER");
    Engine.AddModule(Other);
    Main->FocusModule();
    Person = Engine.CreateFactTemplate("person");
    Person->AddSlot("name", Atom("nobody"));
  }

  IFact NewPerson(const std::string& Name) {
    IFact Fact = Person->NewFact();
    Fact->SetValue("name", Atom(Name));
    return Fact;
  }

  // Records each assertion, and its person as "<name>@<current module>".
  void Hear() {
    Engine.OnAssertion = [this](TObject*, const IFact& Fact) {
      Asserted.push_back(Fact);
      Heard.push_back(Fact->GetValue("name")->ToString() + "@" + Engine.GetCurrentModule()->GetName());
    };
  }

  TInferenceEngine Engine;
  IModule Main;
  IModule Other;
  IFactTemplate Person;
  std::vector<IFact> Asserted;
  std::vector<std::string> Heard;
};

TEST_F(FactSetTest, LinesKeepTextAndParsedFact) {
  TFactSet Set(nullptr);

  const IFact Ann = NewPerson("Ann");
  const IFact Bob = NewPerson("Bob");
  Set.AddFact(Ann);
  Set.AddFact(Bob);
  EXPECT_EQ(Set.GetFacts()->Get(0), Ann->ToString());
  EXPECT_EQ(Set.IndexOf(Bob), 1);
  EXPECT_EQ(Set.IndexOf(NewPerson("Bob")), -1);  // by object, not by content

  Set.Remove(Ann);
  Set.Remove(Ann);  // not there: nothing happens
  ASSERT_EQ(Set.GetCount(), 1);
  EXPECT_EQ(Set.GetFact(0), Bob);

  EXPECT_EQ(ErrorOf([&] { Set.GetFact(3); }), "List index out of bounds (3)");

  // Without an engine a line without its fact stays without one.
  TStringList<> Lines;
  Lines.Add("(person (name \"Dan\"))");
  Set.SetFacts(Lines);
  ASSERT_EQ(Set.GetCount(), 1);
  EXPECT_EQ(Set.GetFacts()->Get(0), "(person (name \"Dan\"))");
  EXPECT_FALSE(Set.GetFact(0));
}

TEST_F(FactSetTest, ResetAssertsClonesInOrderIntoItsModule) {
  auto* Set = new TFactSet(&Engine, "", "people");
  Set->SetEngine(&Engine);
  const IFact Ann = NewPerson("Ann");
  Set->AddFact(Ann);
  Set->AddFact(NewPerson("Bob"));
  EXPECT_EQ(Main->GetFactSets()->IndexOf(Set), 0);

  // An empty module means MAIN, whatever module is current.
  Hear();
  Other->FocusModule();
  Set->Reset();
  EXPECT_EQ(Heard, (std::vector<std::string>{"Ann@MAIN", "Bob@MAIN"}));
  // Clones are asserted; the set's own facts stay unasserted.
  EXPECT_NE(Asserted[0], Ann);
  EXPECT_TRUE(Asserted[0]->Equals(Ann));
  EXPECT_EQ(Ann->GetID(), -1);
  EXPECT_EQ(Engine.GetCurrentModule(), Other);

  // The current module comes back also when an assertion fails.
  Set->SetFact(0, NewPerson("Cid"));
  Engine.OnAssertion = [](TObject*, const IFact&) { throw std::runtime_error("refused"); };
  EXPECT_EQ(ErrorOf([&] { Set->Reset(); }), "refused");
  EXPECT_EQ(Engine.GetCurrentModule(), Other);

  // A set of another module asserts there, and MAIN comes back.
  Main->FocusModule();
  auto* Elsewhere = new TFactSet(&Engine, "OTHER", "visitors");
  Elsewhere->SetEngine(&Engine);
  Elsewhere->AddFact(NewPerson("Eve"));
  EXPECT_EQ(Other->GetFactSets()->IndexOf(Elsewhere), 0);
  EXPECT_EQ(Main->GetFactSets()->IndexOf(Elsewhere), -1);
  Heard.clear();
  Hear();
  Elsewhere->Reset();
  EXPECT_EQ(Heard, std::vector<std::string>{"Eve@OTHER"});
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
}

TEST_F(FactSetTest, EngineResetAssertsTheSetsBeforeTheInitialFact) {
  TFactSet Set(nullptr, "", "people");
  Set.SetEngine(&Engine);
  Set.AddFact(NewPerson("Ann"));
  Set.AddFact(NewPerson("Bob"));
  std::vector<std::string> Heard;
  Engine.OnAssertion = [&](TObject*, const IFact& Fact) {
    Heard.push_back(IntToStr(Fact->GetID()) + " " + Fact->GetTemplate()->GetTemplateName());
  };
  Engine.Reset();
  EXPECT_EQ(Heard, (std::vector<std::string>{"0 person", "1 person", "2 Initial-Fact"}));

  // Clearing the module lets the set go alive, without its engine.
  Engine.Clear(Main);
  EXPECT_EQ(Main->GetFactSets()->GetCount(), 0);
  EXPECT_EQ(Set.GetEngine(), nullptr);
  EXPECT_EQ(Set.GetCount(), 2);
}

TEST_F(FactSetTest, FocusModuleResults) {
  TFactSet InMain(nullptr);
  InMain.SetEngine(&Engine);
  EXPECT_FALSE(InMain.FocusModule(false));  // already there
  Other->FocusModule();
  EXPECT_EQ(InMain.FocusModule(false), Other);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);

  TFactSet InOther(nullptr, "OTHER", "o");
  InOther.SetEngine(&Engine);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);  // entering focused back
  EXPECT_EQ(InOther.FocusModule(false), Main);
  EXPECT_EQ(Engine.GetCurrentModule(), Other);
  EXPECT_FALSE(InOther.FocusModule(true));
  Main->FocusModule();

  // A module that doesn't exist: nothing without force, the engine's error with it.
  TFactSet Lost(nullptr, "NOWHERE", "lost");
  Lost.SetEngineNoParse(&Engine);
  EXPECT_FALSE(Lost.FocusModule(false));
  EXPECT_EQ(ErrorOf([&] { Lost.FocusModule(true); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
}

TEST_F(FactSetTest, SetModuleMovesTheSetOrRefusesAnUnknownName) {
  TFactSet Set(nullptr, "", "moving");
  Set.SetEngine(&Engine);
  ASSERT_EQ(Main->GetFactSets()->IndexOf(&Set), 0);

  EXPECT_EQ(ErrorOf([&] { Set.SetModule("NOWHERE"); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Set.GetModule(), "");
  EXPECT_EQ(Set.GetEngine(), &Engine);
  EXPECT_EQ(Main->GetFactSets()->IndexOf(&Set), 0);

  Set.SetModule("OTHER");
  EXPECT_EQ(Set.GetEngine(), &Engine);
  EXPECT_EQ(Main->GetFactSets()->IndexOf(&Set), -1);
  EXPECT_EQ(Other->GetFactSets()->IndexOf(&Set), 0);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);

  // Without an engine any name is kept; entering an engine then checks it.
  TFactSet Free(nullptr);
  Free.SetModule("NOWHERE");
  EXPECT_EQ(Free.GetModule(), "NOWHERE");
  EXPECT_EQ(ErrorOf([&] { Free.SetEngine(&Engine); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Free.GetEngine(), nullptr);
}

TEST_F(FactSetTest, ASetOfAnExistingNameReplacesTheOldOne) {
  TFactSet First(nullptr, "", "people");
  First.SetEngine(&Engine);
  TFactSets* Sets = Main->GetFactSets();
  EXPECT_EQ(Sets->Add(&First), 0);  // the same set gives its index
  ASSERT_EQ(Sets->GetCount(), 1);

  TFactSet Second(nullptr, "", "people");
  Second.SetEngine(&Engine);
  ASSERT_EQ(Sets->GetCount(), 1);
  EXPECT_EQ(Sets->GetItem(0), &Second);
  EXPECT_EQ(First.GetEngine(), nullptr);
}

TEST_F(FactSetTest, ListOperationsMoveTheEngine) {
  TFactSets* Sets = Main->GetFactSets();
  TFactSet A(nullptr, "", "a");
  TFactSet B(nullptr, "", "b");
  TFactSet C(nullptr, "", "c");
  A.AddFact(NewPerson("Ann"));
  Sets->Add(&A);
  Sets->Insert(0, &B);
  EXPECT_EQ(Sets->GetItem(0), &B);
  EXPECT_EQ(B.GetEngine(), &Engine);
  EXPECT_EQ(Sets->ToString(), B.ToString() + A.ToString());

  Sets->SetItem(0, &C);
  EXPECT_EQ(B.GetEngine(), nullptr);
  EXPECT_EQ(C.GetEngine(), &Engine);
  EXPECT_EQ(Sets->Remove(&B), -1);
  EXPECT_EQ(Sets->Remove(&A), 1);
  EXPECT_EQ(A.GetEngine(), nullptr);
  EXPECT_EQ(A.GetCount(), 1);  // leaving keeps the facts

  Sets->Add(&A);
  Sets->Clear();
  EXPECT_EQ(Sets->GetCount(), 0);
  EXPECT_EQ(A.GetEngine(), nullptr);
  EXPECT_EQ(C.GetEngine(), nullptr);
}

TEST_F(FactSetTest, DestroyedSetsLeaveTheLists) {
  // Destroyed by its owner, in a module that is not current.
  auto Owner = std::make_unique<TComponent>(nullptr);
  auto* Set = new TFactSet(Owner.get(), "OTHER", "owned");
  Set->SetEngine(&Engine);
  ASSERT_EQ(Other->GetFactSets()->GetCount(), 1);
  Owner.reset();
  EXPECT_EQ(Other->GetFactSets()->GetCount(), 0);

  // Taken from the engine's components, the set leaves the current list.
  auto* Owned = new TFactSet(&Engine, "", "engine's");
  Owned->SetEngine(&Engine);
  ASSERT_EQ(Main->GetFactSets()->GetCount(), 1);
  Engine.RemoveComponent(Owned);
  EXPECT_EQ(Main->GetFactSets()->GetCount(), 0);
  delete Owned;

  // The module's teardown frees no set.
  TFactSet Survivor(nullptr, "OTHER", "survivor");
  Survivor.SetEngine(&Engine);
  Other->Release();
  EXPECT_EQ(Survivor.GetFactSetName(), "survivor");
  EXPECT_EQ(Survivor.GetEngine(), &Engine);
}

TEST(FactSetEngineTest, TheEngineGoingFirstClearsTheSetsEngine) {
  TFactSet Set(nullptr, "", "left behind");
  {
    TInferenceEngine Engine;
    Set.SetEngine(&Engine);
    // Sets the engine owns go with it.
    auto* Owned = new TFactSet(&Engine, "", "owned");
    Owned->SetEngine(&Engine);
  }
  EXPECT_EQ(Set.GetEngine(), nullptr);
  Set.Reset();  // no engine: nothing to do
}

TEST_F(FactSetTest, CloneAssignAndText) {
  TFactSet Set(nullptr, "OTHER", "people");
  Set.SetComment("who is here");
  const IFact Ann = NewPerson("Ann");
  Set.AddFact(Ann);

  const std::string Text = "(deffacts people \"who is here\"\r\n   " + Ann->ToString() + "\r\n)\r\n";
  EXPECT_EQ(Set.ToString(), Text);
  std::unique_ptr<TFactSet> Copy(Set.Clone(nullptr));
  EXPECT_EQ(Copy->ToString(), Text);
  EXPECT_EQ(Copy->GetModule(), "OTHER");
  EXPECT_NE(Copy->GetFact(0), Ann);
  EXPECT_TRUE(Copy->GetFact(0)->Equals(Ann));

  // Assigning to a set of an engine checks the module first.
  TFactSet Bound(nullptr);
  Bound.SetEngine(&Engine);
  TFactSet Bad(nullptr, "NOWHERE", "bad");
  EXPECT_EQ(ErrorOf([&] { Bound.Assign(&Bad); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Bound.GetFactSetName(), "FactSet");
  Bound.Assign(&Set);
  EXPECT_EQ(Other->GetFactSets()->IndexOf(&Bound), 0);
  EXPECT_EQ(Bound.GetCount(), 1);
}

}  // namespace
}  // namespace cogent
