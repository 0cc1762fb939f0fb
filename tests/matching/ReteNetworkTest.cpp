#include "cogent/matching/ReteNetwork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>

#include "ReteTestSupport.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent {
namespace {

using namespace test;
using TAgenda = std::vector<std::string>;

// An engine with the templates a, b (x, y) and c (x, multislot items), and
// host functions for calls in patterns:
//   (zz-gt a b)  TRUE when a > b;
//   (zz-boom a)  TRUE, but raises while Boom is set.
class ReteNetworkTest : public ::testing::Test {
protected:
  ReteNetworkTest() {
    Engine.Parse("(deftemplate a (slot x) (slot y)) (deftemplate b (slot x) (slot y)) "
                 "(deftemplate c (slot x) (multislot items))",
                 true);
    Host("zz-gt", [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
      const double A = Call->GetArgument(0)->Resolve(Context)->GetAsNumeric();
      const double B = Call->GetArgument(1)->Resolve(Context)->GetAsNumeric();
      Result = A > B ? FCTrue : FCFalse;
    });
    Host("zz-boom", [this](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) {
      if (Boom) throw EKBException("boom");
      Result = FCTrue;
    });
  }

  void Host(const std::string& Name, decltype(TUserFunction::OnCall) Body) {
    auto* Function = new TUserFunction(&Engine, Name);
    Function->OnCall = std::move(Body);
    Function->SetEngine(&Engine);
  }

  TReteNetwork* Rete() const { return Engine.GetRete(); }

  template <class T>
  std::vector<T*> Nodes() const {
    std::vector<T*> Result;
    for (int I = 0; I < Rete()->GetNodeCount(); ++I)
      if (auto* Node = dynamic_cast<T*>(Rete()->GetNode(I))) Result.push_back(Node);
    return Result;
  }

  // What every join memory holds; empty once working memory is.
  std::string Memories() const {
    std::string Result;
    for (TJoinNode* Join : Nodes<TJoinNode>()) {
      if (Join->GetLeftMemory()) Result += Join->GetLeftMemory()->GetToFactsString();
      if (Join->GetRightMemory()) Result += Join->GetRightMemory()->GetToFactsString();
    }
    return Result;
  }

  void RetractAll() {
    while (Engine.GetFactCount() > 0) Engine.RetractFact(Engine.GetFactCount() - 1);
  }

  std::string Compilation(const std::string& Name) const {
    TRule* Found = nullptr;
    Engine.GetRules()->TryGetValue(Name, Found);
    return Found ? Found->GetCompilation() : "missing";
  }

  TInferenceEngine Engine;
  TRuleBuilder R{Engine};
  bool Boom = false;
};

IKBValue CallOf(const std::string& Name, std::initializer_list<IKBValue> Arguments) {
  return CallValue(Call(Name, Arguments));
}

// ------------------------------------------------------------ compilation

TEST_F(ReteNetworkTest, RulesShareChainsAndJoinsAndLeaveNoOrphans) {
  TRule* J1 = R.Rule("j1", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  EXPECT_EQ(J1->GetCompilation(), "j1: +1+1+2+t");
  EXPECT_EQ(Rete()->GetNodeCount(), 4);
  EXPECT_EQ(Rete()->GetRootCount(), 2);
  TRule* J2 = R.Rule("j2", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  EXPECT_EQ(J2->GetCompilation(), "j2: =2+t");
  ASSERT_EQ(Nodes<TJoinNode>().size(), 1u);
  EXPECT_EQ(Nodes<TJoinNode>()[0]->GetRuleUseCount(), 2);
  EXPECT_EQ(Rete()->GetRoot(0)->GetRuleUseCount(), 2);

  // Another join test, a negated pattern or a call in the join: a join of its own.
  R.Rule("j3", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"y", Var("x")}}));
  R.Rule("n1", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  R.Rule("n2", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  const auto WithCall = [&] {
    return R.Pattern("b", {{"x", Var("x")}, {"y", CallOf("zz-gt", {Var("x"), Int(0)})}});
  };
  R.Rule("f1", R.Pattern("a", {{"x", Var("x")}}), WithCall());
  R.Rule("f2", R.Pattern("a", {{"x", Var("x")}}), WithCall());
  for (const char* Name : {"j3", "n1", "n2", "f1", "f2"})
    EXPECT_EQ(Compilation(Name), std::string(Name) + ": +2+t");
  EXPECT_EQ(Nodes<TJoinNode>().size(), 6u);

  // A chain of its own below a shared root; no join for one pattern.
  TRule* S = R.Rule("s", R.Pattern("a", {{"x", Int(1)}, {"y", Int(2)}}));
  EXPECT_EQ(S->GetCompilation(), "s: +1+1+t");
  EXPECT_EQ(R.Rule("s2", R.Pattern("a", {{"x", Int(1)}}))->GetCompilation(), "s2: =1+t");
  // exists: two joins, one account.
  EXPECT_EQ(R.Rule("e", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 2))->GetCompilation(),
            "e: +2+t");
  EXPECT_EQ(Nodes<TJoinNode>().size(), 8u);
  // A variable twice in a pattern tests one slot against the other.
  EXPECT_EQ(R.Rule("v", R.Pattern("a", {{"x", Var("v")}, {"y", Var("v")}}))->GetCompilation(), "v: +1+t");
  const auto SlotNodes = [&] {
    int Count = 0;
    for (TPatternMatchNode* Node : Nodes<TPatternMatchNode>())
      Count += Node->GetPatternMatchTest() == pmtTestSlotValueEqual;
    return Count;
  };
  EXPECT_EQ(SlotNodes(), 1);
  R.Assert("(a (x 1) (y 1))");
  R.Assert("(a (x 1) (y 2))");
  R.Assert("(b (x 1) (y 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "e: f-2, f--1", "f1: f-1, f-3", "f1: f-2, f-3", "f2: f-1, f-3",
                                 "f2: f-2, f-3", "j1: f-1, f-3", "j1: f-2, f-3", "j2: f-1, f-3", "j2: f-2, f-3",
                                 "j3: f-1, f-3", "j3: f-2, f-3", "s2: f-1", "s2: f-2", "s: f-2", "v: f-1"}));

  // Removing a rule takes exactly what no other rule uses.
  const int All = Rete()->GetNodeCount();
  Engine.GetRules()->Remove("j2", J2);
  EXPECT_EQ(Rete()->GetNodeCount(), All - 1);
  EXPECT_EQ(Nodes<TJoinNode>()[0]->GetRuleUseCount(), 1);
  delete S;
  EXPECT_EQ(Rete()->GetNodeCount(), All - 3);
  EXPECT_EQ(SlotNodes(), 1);
  EXPECT_EQ(R.Agenda().size(), 13u);
  for (const char* Name : {"j1", "j3", "n1", "n2", "f1", "f2", "s2", "e", "v"}) {
    TRule* Found = nullptr;
    Engine.GetRules()->TryGetValue(Name, Found);
    Engine.GetRules()->Remove(Name, Found);
  }
  EXPECT_EQ(Rete()->GetNodeCount(), 0);
  EXPECT_EQ(Rete()->GetRootCount(), 0);
  EXPECT_TRUE(R.Agenda().empty());
}

TEST_F(ReteNetworkTest, PatternTwiceAndRulesWithoutPositivePattern) {
  TRule* Twice = R.Rule("t", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("a", {{"x", Var("x")}}));
  EXPECT_EQ(Twice->GetCompilation(), "t: +1+2+t");
  EXPECT_EQ(Rete()->GetRoot(0)->GetRuleUseCount(), 2);
  R.Assert("(a (x 1))");
  R.Assert("(a (x 1) (y 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"t: f-1, f-1", "t: f-1, f-2", "t: f-2, f-1", "t: f-2, f-2"}));
  Engine.Retract(1);
  EXPECT_EQ(R.Agenda(), (TAgenda{"t: f-2, f-2"}));
  delete Twice;
  EXPECT_EQ(Rete()->GetNodeCount(), 0);

  // No pattern, a first not, a first test: each hangs from the initial fact.
  TRule* None = R.Rule("none");
  EXPECT_EQ(None->GetPatternCount(), 1);
  R.Rule("nb", R.Pattern("b", {}, 1));
  R.Rule("tt", R.Test(Call("zz-gt", {Int(2), Int(1)})));
  // A new engine holds the initial fact already; a reset asserts it again.
  const TAgenda Initial{"nb: f-0, f--1", "none: f-0", "tt: f-0"};
  EXPECT_EQ(R.Agenda(), Initial);
  R.Assert("(a (x 3))");
  Engine.Reset();
  EXPECT_EQ(Engine.GetFactCount(), 1);
  EXPECT_EQ(R.Agenda(), Initial);
  R.Assert("(b)");
  EXPECT_EQ(R.Agenda(), (TAgenda{"none: f-0", "tt: f-0"}));
  EXPECT_EQ(Memories(), "f-0\r\nf-1\r\n");
}

// ------------------------------------------------------------ propagation

// Five facts asserted in every order and retracted in every order (a
// different one each round), the agenda checked after each step against what
// the facts present call for.
TEST_F(ReteNetworkTest, JoinsNotAndExistsFollowEveryOrder) {
  R.Rule("j", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  R.Rule("n", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  R.Rule("e", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 2));
  R.Rule("ne", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 3));
  R.Rule("ef", R.Pattern("b", {{"x", Int(1)}}, 2));
  const std::vector<std::string> Texts{"(a (x 1))", "(a (x 1) (y 1))", "(a (x 2))", "(b (x 1))", "(b (x 1) (y 2))"};
  const std::vector<int> X{1, 1, 2, 1, 1};
  std::vector<std::int32_t> Ids(Texts.size(), -1);
  const auto Expected = [&] {
    TAgenda Result;
    const auto F = [](std::int32_t Id) { return "f-" + std::to_string(Id); };
    for (std::size_t A = 0; A < 3; ++A) {
      if (Ids[A] < 0) continue;
      int Bs = 0;
      for (std::size_t B = 3; B < 5; ++B)
        if (Ids[B] >= 0 && X[B] == X[A]) {
          ++Bs;
          Result.push_back("j: " + F(Ids[A]) + ", " + F(Ids[B]));
        }
      for (const char* Rule : Bs ? std::vector<const char*>{"e"} : std::vector<const char*>{"n", "ne"})
        Result.push_back(std::string(Rule) + ": " + F(Ids[A]) + ", f--1");
    }
    if (Ids[3] >= 0 || Ids[4] >= 0) Result.push_back("ef: f-0, f--1");
    std::sort(Result.begin(), Result.end());
    return Result;
  };
  std::vector<std::vector<int>> Orders;
  std::vector<int> Order{0, 1, 2, 3, 4};
  do Orders.push_back(Order);
  while (std::next_permutation(Order.begin(), Order.end()));
  // Each step raises exactly the activations and deactivations that tell
  // the agenda before from the agenda after: none that come and go at once.
  int Events = 0;
  Rete()->OnActivation = [&](TObject*, TActivation*) { ++Events; };
  Rete()->OnDeactivation = [&](TObject*, TActivation*) { ++Events; };
  const auto Step = [&](const std::function<void()>& Action) {
    const TAgenda Before = R.Agenda();
    Events = 0;
    Action();
    const TAgenda After = Expected();
    TAgenda Changed;
    std::set_symmetric_difference(Before.begin(), Before.end(), After.begin(), After.end(),
                                  std::back_inserter(Changed));
    EXPECT_EQ(R.Agenda(), After);
    EXPECT_EQ(Events, static_cast<int>(Changed.size()));
    return !::testing::Test::HasFailure();
  };
  for (std::size_t K = 0; K < Orders.size(); ++K) {
    SCOPED_TRACE("round " + std::to_string(K));
    for (int I : Orders[K])
      ASSERT_TRUE(Step([&] { Ids[I] = Engine.Assert(Texts[I]); }));
    for (int I : Orders[(K * 7 + 3) % Orders.size()])
      ASSERT_TRUE(Step([&] {
        Engine.Retract(Ids[I]);
        Ids[I] = -1;
      }));
    // What is left is ef's: the initial fact on the left of both joins and
    // the first join's output, which blocks it, on the right of the second.
    ASSERT_EQ(Memories(), "f-0\r\nf-0\r\nf-0, f--1\r\n");
  }
}

TEST_F(ReteNetworkTest, NotAndExistsCountTheirMatches) {
  R.Rule("n", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  TRule* E = R.Rule("e", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 2));
  R.Assert("(a (x 1))");
  R.Assert("(a (x 2))");
  const IFact B1 = R.Assert("(b (x 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "n: f-2, f--1"}));
  R.Assert("(b (x 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "e: f-2, f--1"}));
  const IFact B1Again = R.Assert("(b (x 1) (y 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "e: f-2, f--1"}));
  Engine.Retract(B1);
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "e: f-2, f--1"}));
  Engine.Retract(B1Again);
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-2, f--1", "n: f-1, f--1"}));
  delete E;

  // not exists is a third negation: three joins, as plain not.
  EXPECT_EQ(Nodes<TJoinNode>().size(), 1u);
  R.Rule("ne", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 3));
  EXPECT_EQ(Nodes<TJoinNode>().size(), 4u);
  EXPECT_EQ(R.Agenda(), (TAgenda{"n: f-1, f--1", "ne: f-1, f--1"}));

  // unique stops at the first match a left token finds.
  R.Rule("u", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 0, true));
  EXPECT_EQ(R.Agenda().size(), 3u);
  R.Assert("(b (x 2) (y 3))");
  const IFact A3 = R.Assert("(a (x 2) (y 1))");
  const auto Unique = [&] {
    const TAgenda Agenda = R.Agenda();
    return std::count_if(Agenda.begin(), Agenda.end(), [](const std::string& S) { return S.starts_with("u: f-7"); });
  };
  EXPECT_EQ(Unique(), 1);
  Engine.Retract(A3);
  EXPECT_EQ(Unique(), 0);
  RetractAll();
  EXPECT_EQ(R.Agenda(), TAgenda{});
  EXPECT_EQ(Memories(), "");
}

TEST_F(ReteNetworkTest, MultifieldVariablesReshapeTheSlot) {
  // (c (items $?x b)): the variable takes what stands before a last b.
  auto Last = R.Pattern("c", {{"items", MVar("x"), 0}, {"items", Atom("b"), 1}});
  Last->SetSlotLength(Last->IndexOfSlotName("items"), 2);
  R.Rule("last", std::move(Last));
  // (c (items $?x $?y)): every split of the items.
  auto Split = R.Pattern("c", {{"items", MVar("x"), 0}, {"items", MVar("y"), 1}});
  Split->SetSlotLength(Split->IndexOfSlotName("items"), 2);
  R.Rule("split", std::move(Split));
  // "((c d) b)": the reshaped slot, a nested list in parentheses.
  const auto Text = [](const IKBValue& Items) {
    std::string Result;
    for (const IKBValue& Item : *Items->GetAsList()) {
      std::string Part = Item->ToString();
      if (Item->GetDType() == dtList) {
        Part.clear();
        for (const IKBValue& Inner : *Item->GetAsList()) Part += (Part.empty() ? "" : " ") + Inner->ToString();
        Part = "(" + Part + ")";
      }
      Result += (Result.empty() ? "" : " ") + Part;
    }
    return "(" + Result + ")";
  };
  const auto Shapes = [&](const std::string& Rule) {
    TAgenda Result;
    for (int I = 0; I < Engine.GetAgendaCount(); ++I)
      if (TActivation* Activation = Engine.GetActivation(I); Activation->GetRule()->GetRuleName() == Rule)
        Result.push_back(Text(Activation->GetToken()->GetFacts(0)->GetValue("items")));
    std::sort(Result.begin(), Result.end());
    return Result;
  };
  const IFact B = R.Assert("(c (x 1) (items b))");
  EXPECT_EQ(Shapes("last"), (TAgenda{"(() b)"}));
  const IFact CDB = R.Assert("(c (x 2) (items c d b))");
  EXPECT_EQ(Shapes("last"), (TAgenda{"(() b)", "((c d) b)"}));
  R.Assert("(c (x 3) (items))");
  R.Assert("(c (x 4) (items c d))");
  EXPECT_EQ(Shapes("last").size(), 2u);
  Engine.Retract(B);
  EXPECT_EQ(Shapes("last"), (TAgenda{"((c d) b)"}));
  // Two items split three ways; the shapes leave with their fact.
  EXPECT_EQ(R.Agenda().size(), 1u + 4 + 1 + 3);
  // The last item of a reshaped slot joins another pattern.
  auto Tail = R.Pattern("c", {{"items", MVar("x"), 0}, {"items", Var("y"), 1}});
  Tail->SetSlotLength(Tail->IndexOfSlotName("items"), 2);
  R.Rule("tail", std::move(Tail), R.Pattern("a", {{"x", Var("y")}}));
  R.Assert("(a (x b))");
  EXPECT_EQ(Shapes("tail"), (TAgenda{"((c d) b)"}));
  Engine.Retract(CDB);
  EXPECT_EQ(Shapes("split"), (TAgenda{"(() ())", "(() (c d))", "((c d) ())", "((c) (d))"}));
  RetractAll();
  EXPECT_EQ(R.Agenda(), TAgenda{});
}

TEST_F(ReteNetworkTest, DerivedTemplatesCallsAndTests) {
  Engine.Parse("(deftemplate child extends a (slot z))", true);
  // A template that claims a parent but lacks its slots.
  IFactTemplate Odd(new TFactTemplate(&Engine, "odd"));
  Odd->AddSlot("z", Atom("none"));
  Odd->SetParent(Engine.FindFactTemplate("a"));
  Engine.GetFactTemplates()->Add(Odd);
  // Enough roots that a fact meets only those of its template and ancestors.
  for (const char* Name : {"d1", "d2", "d3"}) R.Rule(Name, R.Pattern(Name));

  R.Rule("one", R.Pattern("a", {{"x", Int(1)}}));
  R.Rule("join", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  // A call on the pattern's own variable is a one-input test, one on an
  // earlier pattern's a join test; a test element reads both patterns.
  R.Rule("own", R.Pattern("a", {{"x", Var("x")}, {"y", CallOf("zz-gt", {Var("x"), Int(0)})}}));
  R.Rule("other", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"y", CallOf("zz-gt", {Var("x"), Int(1)})}}));
  R.Rule("tc", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("y")}}),
         R.Test(Call("zz-gt", {Var("x"), Var("y")})));
  R.Rule("mid", R.Pattern("a", {{"x", Var("x")}}), R.Test(Call("zz-gt", {Var("x"), Int(1)})),
         R.Pattern("b", {{"y", Var("y")}}), R.Test(Call("zz-gt", {Var("y"), Var("x")})));
  int Calls = 0;
  for (TPatternMatchNode* Node : Nodes<TPatternMatchNode>())
    Calls += Node->GetValue() && Node->GetValue()->GetDType() == dtFunCall;
  EXPECT_EQ(Calls, 1);
  EXPECT_EQ(Nodes<TTestNode>().size(), 7u);  // five joins and two tests
  ASSERT_GT(Engine.GetRete()->GetRootCount(), 4);

  R.Assert("(child (x 1) (z 9))");
  R.Assert("(odd (z 1))");
  R.Assert("(a (x 0))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"one: f-1", "own: f-1"}));
  R.Assert("(b (x 0) (y 5))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"join: f-3, f-4", "one: f-1", "own: f-1", "tc: f-1, f-4"}));
  R.Assert("(a (x 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"join: f-3, f-4", "mid: f-5, f-4", "one: f-1", "other: f-5, f-4", "own: f-1",
                                 "own: f-5", "tc: f-1, f-4", "tc: f-5, f-4"}));
  RetractAll();
  EXPECT_EQ(R.Agenda(), TAgenda{});
  EXPECT_EQ(Memories(), "");
}

TEST_F(ReteNetworkTest, RulesAddedLaterAndResetAndClear) {
  R.Rule("j", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  R.Rule("n", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  R.Assert("(a (x 1))");
  R.Assert("(b (x 1))");
  R.Assert("(a (x 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"j: f-1, f-2", "n: f-3, f--1"}));
  // A new rule is loaded from the facts that stand, through the roots it
  // shares: the other rules keep one activation each and their memories.
  const std::string Held = Memories();
  R.Rule("j2", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}),
         R.Pattern("a", {{"x", Var("x")}}));
  R.Rule("e", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 2));
  R.Rule("one", R.Pattern("b", {{"x", Int(1)}}));
  EXPECT_EQ(R.Agenda(),
            (TAgenda{"e: f-1, f--1", "j2: f-1, f-2, f-1", "j: f-1, f-2", "n: f-3, f--1", "one: f-2"}));
  EXPECT_TRUE(Memories().starts_with(Held));

  // A rule that changes in the table is compiled anew, its activations with it.
  TRule* One = Engine.GetRules()->Get("one");
  One->GetPatterns()->Add(R.Pattern("a", {{"x", Int(2)}}));
  EXPECT_EQ(One->GetCompilation(), "one: +1+1+2+t");
  EXPECT_EQ(R.Agenda(),
            (TAgenda{"e: f-1, f--1", "j2: f-1, f-2, f-1", "j: f-1, f-2", "n: f-3, f--1", "one: f-2, f-3"}));

  Engine.Reset();
  EXPECT_EQ(R.Agenda(), TAgenda{});
  EXPECT_EQ(Memories(), "");
  R.Assert("(a (x 5))");
  R.Assert("(b (x 5))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "j2: f-1, f-2, f-1", "j: f-1, f-2"}));

  Engine.Clear();
  EXPECT_EQ(Rete()->GetNodeCount(), 0);
  EXPECT_EQ(Engine.GetRules()->GetCount(), 0);
  EXPECT_EQ(R.Agenda(), TAgenda{});
  Engine.Parse("(deftemplate a (slot x))", true);
  R.Rule("again", R.Pattern("a", {{"x", Var("x")}}));
  R.Assert("(a (x 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"again: f-0"}));
}

TEST_F(ReteNetworkTest, JoinsOfOneParentShareALeftMemoryYetKeepTheirOwnMatches) {
  // (a (x ?x) (y 1)) (b (x ?x) (y K)): one left input keyed alike, a right
  // input of each rule's own.
  const auto Rule = [&](const std::string& Name, int K) {
    return R.Rule(Name, R.Pattern("a", {{"x", Var("x")}, {"y", Int(1)}}),
                  R.Pattern("b", {{"x", Var("x")}, {"y", Int(K)}}));
  };
  const auto Shared = [&] {
    int Count = 0;
    for (TJoinNode* Join : Nodes<TJoinNode>()) Count += Join->GetLeftShared();
    return Count;
  };
  TRule* First = Rule("r1", 1);
  R.Assert("(a (x 1) (y 1))");
  R.Assert("(b (x 1) (y 1))");
  R.Assert("(b (x 1) (y 2))");
  // Loaded from the facts that stand, the second rule's memory is the
  // first's, and is taken over.
  Rule("r2", 2);
  EXPECT_EQ(Shared(), 2);
  EXPECT_EQ(R.Agenda(), (TAgenda{"r1: f-1, f-2", "r2: f-1, f-3"}));
  R.Assert("(a (x 2) (y 1))");
  R.Assert("(b (x 2) (y 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"r1: f-1, f-2", "r2: f-1, f-3", "r2: f-4, f-5"}));
  Engine.GetRules()->Remove("r1", First);
  EXPECT_EQ(Shared(), 0);
  R.Assert("(b (x 2) (y 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"r2: f-1, f-3", "r2: f-4, f-5"}));
  Engine.Retract(1);
  EXPECT_EQ(R.Agenda(), (TAgenda{"r2: f-4, f-5"}));

  // An error under the first join ends the round before the others took
  // their turn: they go on with the memory as they saw it, without the
  // token, as a memory of their own would be.
  R.Rule("r0", R.Pattern("a", {{"x", Var("x")}, {"y", Int(1)}}), R.Pattern("b", {{"x", Var("x")}, {"y", Int(0)}}),
         R.Test(Call("zz-boom", {Var("x")})));
  Rule("r3", 3);
  Rule("r4", 4);
  EXPECT_EQ(Shared(), 4);
  R.Assert("(b (x 7) (y 0))");
  Boom = true;
  EXPECT_TRUE(ErrorOf([&] { R.Assert("(a (x 7) (y 1))"); }).starts_with("boom"));
  Boom = false;
  R.Assert("(b (x 7) (y 3))");
  R.Assert("(b (x 2) (y 4))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"r2: f-4, f-5", "r4: f-4, f-10"}));
  // The same for a retraction: a join still to take its turn still holds
  // the token, in its place. (Loading r5 brings f-8 to r0 and r3 at last.)
  R.Assert("(b (x 2) (y 0))");
  Rule("r5", 5);
  Boom = true;
  EXPECT_TRUE(ErrorOf([&] { Engine.Retract(4); }).starts_with("boom"));
  Boom = false;
  R.Assert("(b (x 2) (y 5))");
  EXPECT_EQ(R.Agenda(),
            (TAgenda{"r0: f-4, f-11", "r0: f-8, f-7", "r3: f-8, f-9", "r4: f-4, f-10", "r5: f-4, f-12"}));
  RetractAll();
  EXPECT_EQ(Memories(), "");
}

// ------------------------------------------------------------ errors and size

TEST_F(ReteNetworkTest, ErrorsInCallsLeaveMemoriesConsistent) {
  // (a (x 5) (y ?y&:(zz-boom ?y))): the call's node hangs below x's.
  R.Rule("chain", R.Pattern("a", {{"x", Int(5)}, {"y", Var("y")}, {"y", CallOf("zz-boom", {Var("y")})}}));
  R.Rule("j", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  R.Rule("jb", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"y", CallOf("zz-boom", {Var("x")})}}));
  std::string Chain;
  for (TPatternMatchNode* Node : Nodes<TPatternMatchNode>())
    if (Node->GetPatternMatchTest() == pmtTestEqual) Chain = " for pattern match = " + Node->ToString() + Chain;
  R.Assert("(b (x 5))");
  Boom = true;
  EXPECT_EQ(ErrorOf([&] { R.Assert("(a (x 5) (y 1))"); }), "boom" + Chain);
  EXPECT_EQ(ErrorOf([&] { R.Assert("(a (x 6))"); }), "boom");
  Boom = false;
  // An error ends a token's walk: f-2 never reached the joins, f-3 is in
  // jb's left memory without its match. Retracting them is still clean.
  R.Assert("(a (x 5) (y 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"chain: f-4", "j: f-4, f-1", "jb: f-4, f-1"}));
  RetractAll();
  EXPECT_EQ(R.Agenda(), TAgenda{});
  EXPECT_EQ(Memories(), "");
}

TEST_F(ReteNetworkTest, RulesThatFailToCompileLeaveTheNetworkAsItWas) {
  R.Rule("j", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  R.Assert("(a (x 1))");
  R.Assert("(b (x 1))");
  const int Count = Rete()->GetNodeCount();
  const std::string Held = Memories();
  const auto Unchanged = [&] {
    EXPECT_EQ(Rete()->GetNodeCount(), Count);
    EXPECT_EQ(Rete()->GetRoot(0)->GetRuleUseCount(), 1);
    EXPECT_EQ(Memories(), Held);
    EXPECT_EQ(R.Agenda(), (TAgenda{"j: f-1, f-2"}));
  };
  EXPECT_EQ(ErrorOf([&] {
              R.Rule("t", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}),
                     R.Test(Call("zz-gt", {Var("x"), Var("nope")})));
            }),
            "Unknown variable name: nope");
  Unchanged();
  EXPECT_EQ(ErrorOf([&] { R.Rule("o", R.Pattern("a", {{"y", CallOf("zz-gt", {Var("nope"), Int(1)})}})); }),
            "Unknown variable name: nope");
  Unchanged();
  // A variable that lost its binding after the rule worked its patterns out.
  TRule* Lost = R.NewRule("lost", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  Lost->GetPattern(1)->GetSlotTest(Lost->GetPattern(1)->IndexOfSlotName("x"), 0)->SetSlotValue(Var("gone"));
  EXPECT_EQ(ErrorOf([&] { Engine.GetRules()->Add(Lost); }), "Corrupted Binding, variable not found: gone");
  Unchanged();
  // A call that raises while the new rule is loaded from working memory.
  Boom = true;
  const std::string Error = ErrorOf([&] { R.Rule("boom", R.Pattern("a", {{"y", CallOf("zz-boom", {Int(1)})}})); });
  EXPECT_TRUE(Error.starts_with("boom for pattern match = ")) << Error;
  Boom = false;
  Unchanged();
  R.Assert("(b (x 1) (y 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"j: f-1, f-2", "j: f-1, f-3"}));
}

TEST_F(ReteNetworkTest, LongRulesAndWideFacts) {
  TRule* Long = R.NewRule("long", R.Pattern("a", {{"x", Var("x")}}));
  for (int I = 1; I < 300; ++I) Long->GetPatterns()->Add(R.Pattern("b", {{"x", Var("x")}}));
  Engine.GetRules()->Add(Long);
  EXPECT_EQ(Rete()->GetNodeCount(), 2 + 299 + 1);
  const std::string& Account = Long->GetCompilation();
  std::size_t Joins = 0;
  for (std::size_t At = Account.find("+2"); At != std::string::npos; At = Account.find("+2", At + 1)) ++Joins;
  EXPECT_EQ(Joins, 299u);
  // The b first: the a then runs down all 299 joins at once.
  const IFact B = R.Assert("(b (x 1))");
  R.Assert("(a (x 1))");
  ASSERT_EQ(Engine.GetAgendaCount(), 1);
  EXPECT_EQ(Engine.GetActivation(0)->GetToken()->GetCount(), 300);
  Engine.Retract(B);
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
  R.Assert("(b (x 1))");
  EXPECT_EQ(Engine.GetAgendaCount(), 1);
  RetractAll();
  EXPECT_EQ(Memories(), "");
  delete Long;
  EXPECT_EQ(Rete()->GetNodeCount(), 0);

  std::string Wide = "(deftemplate wide";
  for (int I = 0; I < 2000; ++I) Wide += " (slot s" + std::to_string(I) + ")";
  Engine.Parse(Wide + ")", true);
  R.Rule("w", R.Pattern("wide", {{"s0", Var("x")}, {"s1999", Int(7)}, {"s1000", Var("x")}}),
         R.Pattern("a", {{"x", Var("x")}}));
  R.Assert("(a (x 1))");
  R.Assert("(wide (s0 1) (s1000 1) (s1999 7))");
  R.Assert("(wide (s0 1) (s1000 2) (s1999 7))");
  R.Assert("(wide (s0 1) (s1000 1) (s1999 8))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"w: f-5, f-4"}));
}

// ------------------------------------------------------------ goals and strength

TEST_F(ReteNetworkTest, MissingBackwardChainingMatchAsksForAGoal) {
  // What declaring b backward chaining does: the flag and a goal template
  // with b's slots.
  const IFactTemplate B = Engine.FindFactTemplate("b");
  B->SetBackwardChaining(true);
  IFactTemplate Goal(new TFactTemplate(&Engine, "need-b", "Goal seeker for b", B));
  Goal->SetParent(nullptr);
  Engine.GetFactTemplates()->Add(Goal);
  R.Rule("bc", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}, {"y", Int(3)}}));
  const auto Goals = [&] {
    std::vector<std::string> Result;
    for (int I = 0; I < Engine.GetFactCount(); ++I)
      if (const IFact Fact = Engine.GetFact(I); Fact->GetTemplate()->GetTemplateName() == "need-b")
        Result.push_back(Fact->GetValue("x")->ToString() + " " + Fact->GetValue("y")->ToString());
    return Result;
  };
  R.Assert("(b (x 1) (y 3))");
  R.Assert("(a (x 1))");
  EXPECT_EQ(Goals(), std::vector<std::string>{});
  R.Assert("(a (x 2))");
  EXPECT_EQ(Goals(), std::vector<std::string>{"2 3"});
  // Two tokens that ask the same question make one goal.
  R.Assert("(a (x 2) (y 0))");
  EXPECT_EQ(Goals(), std::vector<std::string>{"2 3"});
  R.Assert("(b (x 2) (y 3))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"bc: f-2, f-1", "bc: f-3, f-6", "bc: f-5, f-6"}));
  // The join outlives the rule that made it: another rule still asks.
  TRule* Second = R.Rule("bc2", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}, {"y", Int(3)}}));
  EXPECT_EQ(Second->GetCompilation(), "bc2: =1=2+t");
  TRule* First = nullptr;
  Engine.GetRules()->TryGetValue("bc", First);
  delete First;
  R.Assert("(a (x 4))");
  EXPECT_EQ(Goals(), (std::vector<std::string>{"2 3", "4 3"}));
  // A rule added to standing facts asks at once.
  R.Rule("bc3", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}, {"y", Int(5)}}));
  EXPECT_EQ(Goals(), (std::vector<std::string>{"2 3", "4 3", "1 5", "2 5", "4 5"}));
}

TEST_F(ReteNetworkTest, FuzzyMatchesWeakenActivations) {
  Rete()->SetMinActivationStrength(-1.0f);
  EXPECT_EQ(Rete()->GetMinActivationStrength(), 0.0f);
  Rete()->SetMinActivationStrength(2.0f);
  EXPECT_EQ(Rete()->GetMinActivationStrength(), 1.0f);
  Rete()->SetMinActivationStrength(0.0f);

  // A ramp from 0 at 0 to 1 at 10: 6 belongs to degree 0.6.
  Ref<TKBFuzzySet> Ramp(new TKBFuzzySet(nullptr, "ramp"));
  Ramp->AddPoint(0, 0);
  Ramp->AddPoint(10, 1);
  const IKBValue Fuzzy(new TKBValue(IFuzzySet(Ramp)));
  R.Rule("f", R.Pattern("a", {{"x", Fuzzy}}));
  R.Rule("fj", R.Pattern("a", {{"x", Fuzzy}, {"y", Var("y")}}), R.Pattern("b", {{"y", Var("y")}}));
  R.Assert("(a (x 6) (y 1))");
  R.Assert("(a (x 0) (y 1))");
  R.Assert("(b (y 1))");
  ASSERT_EQ(R.Agenda(), (TAgenda{"f: f-1", "fj: f-1, f-3"}));
  for (int I = 0; I < Engine.GetAgendaCount(); ++I)
    EXPECT_NEAR(Engine.GetActivation(I)->GetStrength(), 0.6f, 1e-5f);
  RetractAll();
  Rete()->SetMinActivationStrength(0.7f);
  R.Assert("(a (x 6) (y 1))");
  R.Assert("(a (x 8) (y 1))");
  R.Assert("(b (y 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"f: f-5", "fj: f-5, f-6"}));
}

// A terminal node of many activations finds each one again by its token when
// its facts go, whatever the order.
TEST_F(ReteNetworkTest, ManyActivationsLeaveWithTheirFacts) {
  R.Rule("one", R.Pattern("a", {{"x", Var("x")}}));
  R.Rule("two", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  std::vector<IFact> A, B;
  for (int I = 0; I < 10; ++I) B.push_back(R.Assert("(b (x " + std::to_string(I) + "))"));
  for (int I = 0; I < 300; ++I)
    A.push_back(R.Assert("(a (x " + std::to_string(I % 10) + ") (y " + std::to_string(I) + "))"));
  auto Id = [](const IFact& Fact) { return "f-" + std::to_string(Fact->GetID()); };
  // The newest ten a facts' activations fire before any retraction, which
  // then meets activations listed out of their order of making, and facts
  // whose activations are gone.
  EXPECT_EQ(Engine.Run(20), 20);
  for (int I = 1; I < 300; I += 2) Engine.Retract(A[static_cast<std::size_t>(I)]);
  TAgenda Expected;
  for (int I = 0; I < 290; I += 2) {
    Expected.push_back("one: " + Id(A[static_cast<std::size_t>(I)]));
    Expected.push_back("two: " + Id(A[static_cast<std::size_t>(I)]) + ", " + Id(B[static_cast<std::size_t>(I % 10)]));
  }
  std::sort(Expected.begin(), Expected.end());
  EXPECT_EQ(R.Agenda(), Expected);
  for (const IFact& Fact : B) Engine.Retract(Fact);
  Expected.erase(std::remove_if(Expected.begin(), Expected.end(), [](const std::string& S) { return S[0] == 't'; }),
                 Expected.end());
  EXPECT_EQ(R.Agenda(), Expected);
  RetractAll();
  EXPECT_TRUE(R.Agenda().empty());
  EXPECT_EQ(Memories(), "");
}

TEST_F(ReteNetworkTest, ARetractionStandsDownTheNewestActivationOfAnEqualToken) {
  // A network without an engine frees the activations its node lets go.
  TReteNetwork Net(nullptr, nullptr);
  TPatternMatchTerminalNode Node(&Net);
  const IReteToken Other(new TKBToken(taAdd, R.Assert("(a (x 1))")));
  const IReteToken Same(new TKBToken(taAdd, R.Assert("(a (x 2))")));
  for (const IReteToken& Token : {Other, Same, Same}) Node.AddActivation(Token);
  TActivation* Older = Node.GetActivation(1);
  // Firing the first moves the newest into its place in the node's list.
  Node.RuleFired(Node.GetActivation(0));
  ASSERT_EQ(Node.GetActivationCount(), 2);
  Node.StandDown(IReteToken(new TKBToken(taRemove, Same->GetFact())));
  ASSERT_EQ(Node.GetActivationCount(), 1);
  EXPECT_EQ(Node.GetActivation(0), Older);
  Node.StandDown(Same);
  EXPECT_EQ(Node.GetActivationCount(), 0);
}

}  // namespace
}  // namespace cogent
