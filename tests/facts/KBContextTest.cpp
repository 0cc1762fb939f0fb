#include "cogent/facts/KBContext.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// Hears every report of its table.
class TListeningContext : public TKBContext {
public:
  using TKBContext::TKBContext;
  void Notify(TBinding* Binding, TTableNotification Action) override {
    Heard.push_back(EnumName(Action) + " " + (Binding ? Binding->GetName() : std::string("-")));
    TKBContext::Notify(Binding, Action);
  }
  std::vector<std::string> Heard;
};

TEST(KBContextTest, LookupAndWritingFollowTheChain) {
  TKBContext Global(nullptr, nullptr);
  Global.AddLocalBinding("x", Int(0));
  const auto Level1 = Global.Push();
  const auto Level2 = Level1->Push();
  EXPECT_EQ(Level2->FindBinding("x"), Global.FindBinding("x"));

  // An assignment deep down reaches the outer variable and adds nothing.
  Level2->AddBinding("x", Int(2));
  EXPECT_EQ(Global.GetVariable("x")->GetAsInteger(), 2);
  EXPECT_EQ(Level2->GetBindings().GetCount(), 0);

  // A local binding hides the outer one until its level goes.
  Level2->AddLocalBinding("x", Int(20));
  EXPECT_EQ(Level2->GetVariable("x")->GetAsInteger(), 20);
  Level2->SetVariable("x", Int(21));
  Level2->AddBinding("x", Int(22));
  EXPECT_EQ(Level2->GetVariable("x")->GetAsInteger(), 22);
  EXPECT_EQ(Level1->GetVariable("x")->GetAsInteger(), 2);

  // Global bindings go to the root, also from below.
  TBinding* G = Level2->AddGlobalBinding("g", Atom("one"));
  EXPECT_EQ(Global.FindBinding("g"), G);
  EXPECT_EQ(Level2->AddGlobalBinding("g", Atom("two")), G);
  EXPECT_EQ(G->GetValue()->GetAsAtom(), "two");

  // An address binding replaces one of its own level only.
  TBinding* Address = Level1->AddBinding("x", 1, "name", NoSubIndex);
  EXPECT_EQ(Level1->FindBinding("x"), Address);
  EXPECT_EQ(Address->GetValue(), nullptr);
  EXPECT_EQ(Level1->GetVariable("x"), nullptr);
  EXPECT_EQ(Global.GetVariable("x")->GetAsInteger(), 2);

  EXPECT_EQ(ErrorOf([&] { Level2->GetVariable("y"); }), "Unknown variable name: y");
}

TEST(KBContextTest, PushAndPopCarryTheReturnState) {
  TInferenceEngine Engine;
  TKBContext* Global = Engine.GetGlobalContext();
  ASSERT_NE(Global, nullptr);
  EXPECT_EQ(Global->Pop(), Global);

  const auto Child = Global->Push();
  EXPECT_EQ(Child->GetEngine(), &Engine);
  const auto Grandchild = Child->Push();
  Grandchild->SetReturnValue(Atom("done"));
  EXPECT_EQ(Grandchild->Pop(), Child.get());
  EXPECT_TRUE(Child->GetReturning());
  EXPECT_EQ(Child->GetReturnValue(), Grandchild->GetReturnValue());

  // Clearing the child's table clears its return state, not the parent's.
  Grandchild->AddLocalBinding("a", Int(1));
  Grandchild->Clear();
  EXPECT_FALSE(Grandchild->GetReturning());
  EXPECT_EQ(Grandchild->GetReturnValue(), nullptr);
  EXPECT_EQ(Grandchild->GetBindings().GetCount(), 0);
  EXPECT_TRUE(Child->GetReturning());

  // A level that did not return clears its parent's flag on Pop.
  EXPECT_EQ(Grandchild->Pop(), Child.get());
  EXPECT_FALSE(Child->GetReturning());

  // Assign copies the return state with a clone of the value.
  TKBContext Other(nullptr, nullptr);
  Other.SetReturnValue(Int(7));
  Child->Assign(&Other);
  EXPECT_TRUE(Child->GetReturning());
  EXPECT_NE(Child->GetReturnValue(), Other.GetReturnValue());
}

TEST(KBContextTest, EngineGlobalsLiveInTheGlobalContext) {
  TInferenceEngine Engine;
  TKBContext* Global = Engine.GetGlobalContext();
  // A call runs in a child of the global context, which is gone afterwards.
  auto* Where = new TUserFunction(&Engine, "zz-where");
  Where->OnCall = [&](TObject*, const IFunCall&, TKBContext* C, IKBValue& Result) {
    Result = C->GetParent() == Global ? FCTrue : FCFalse;
  };
  Where->SetEngine(&Engine);
  Engine.ResetGlobalVariable("g", IKBValue(new TKBValue(IFunCall(new TFunctionCall(&Engine, "zz-where")))));
  EXPECT_EQ(Global->FindGlobalBinding("g")->GetValue(), FCTrue);
  EXPECT_EQ(Global->GetBindings().GetCount(), 1);

  // Dynamic defaults are resolved there when a fact is made.
  const IFactTemplate T(new TFactTemplate(&Engine, "probe"));
  T->AddSlot("seen", Var("g"))->SetDefaultDynamic(true);
  T->AddSlot("plain", Var("g"));
  const IFact Fact = T->NewFact();
  EXPECT_EQ(Fact->GetValue("seen"), FCTrue);
  EXPECT_EQ(Fact->GetValue("plain")->GetToString(), "?g");
}

TEST(KBContextTest, TheTableOwnsAndReportsItsBindings) {
  TListeningContext Context(nullptr, nullptr);
  Context.AddLocalBinding("a", Int(1));
  Context.AddBinding("a", 0, "slot", 2);  // replaces and frees the first
  Context.AddLocalBinding("b", Int(2));
  Context.SetReturnValue(Atom("r"));
  EXPECT_EQ(Context.Heard, (std::vector<std::string>{"tnAdded a", "tnDeleted a", "tnAdded a", "tnAdded b"}));
  Context.Heard.clear();

  // Storing nil removes the entry; an extracted binding leaves unfreed.
  auto& Table = const_cast<TBindings&>(Context.GetBindings());
  Table.PutItem("b", nullptr);
  EXPECT_FALSE(Table.ContainsKey("b"));
  Table.Add(new TBinding("c", Int(3)));
  const auto Pair = Table.ExtractPair("c");
  ASSERT_NE(Pair.Value, nullptr);
  EXPECT_EQ(Pair.Value->GetValue()->GetAsInteger(), 3);
  delete Pair.Value;
  EXPECT_EQ(Context.Heard, (std::vector<std::string>{"tnDeleted b", "tnAdded c", "tnDeleted c"}));

  Context.Heard.clear();
  Context.Clear();
  EXPECT_EQ(Context.Heard, (std::vector<std::string>{"tnCleared -"}));
  EXPECT_FALSE(Context.GetReturning());
  Context.AddLocalBinding("left", Int(4));  // freed with the context
}

TEST(KBContextTest, ExpandAndResolveFlattenListsFlattenOnlyFlattens) {
  TKBContext Context(nullptr, nullptr);
  Context.AddLocalBinding("x", List({Atom("b"), List({Atom("c")})}));
  Context.AddLocalBinding("y", Int(9));
  const IKBValue Source = List({Atom("a"), List({Var("x"), List({Var("y")})}), Int(1)});

  const IValueVector Expanded = Context.ExpandList(Source->GetAsList());
  EXPECT_EQ(Expanded->ToString(), "a b c 9 1 ");
  EXPECT_EQ(Expanded->Get(3), Context.GetVariable("y"));  // the bound value itself
  EXPECT_EQ(Source->GetToString(), "a ?x ?y   1 ");     // the source is untouched

  const IValueVector Flat = TKBContext::FlattenList(Source->GetAsList());
  EXPECT_EQ(Flat->ToString(), "a ?x ?y 1 ");

  // Resolving a fact resolves its slots in place and flattens its multislots.
  const IFactTemplate T(new TFactTemplate(nullptr, "order"));
  T->AddSlot("item", Atom("none"));
  T->AddMultiSlot("tags", List({}));
  const IFact Fact(new TFact(T));
  Fact->SetValue("item", Var("y"));
  Fact->SetValue("tags", List({Atom("new"), Var("x")}));
  EXPECT_EQ(Context.Resolve(Fact), Fact);
  EXPECT_EQ(Fact->GetValue("item"), Context.GetVariable("y"));
  EXPECT_EQ(Fact->GetValue("tags")->GetToString(), "new b c ");
  EXPECT_EQ(Context.GetVariable("x")->GetToString(), "b c  ");  // the variable keeps its value
}

}  // namespace
}  // namespace cogent
