#include "cogent/rules/KBRule.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

#include "../matching/ReteTestSupport.h"

namespace cogent {
namespace {

using namespace test;


// An engine with the templates a (x, y, multislot items) and b (y, z), and
// host functions that the actions call:
//   (zz-record args...)  logs its resolved arguments as one line;
//   (zz-return [value])  returns from the rule, with no value popping focus;
//   (zz-fail [pop])      raises, after a return that pops focus when asked;
//   (zz-next)            counts up from 1.
class RuleTest : public ::testing::Test {
protected:
  RuleTest() {
    A = Template("a", {"x", "y"});
    A->AddMultiSlot("items", FCNilList);
    B = Template("b", {"y", "z"});
    Host("zz-record", [this](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
      std::string Line;
      for (int I = 0; I < Call->GetArgumentCount(); ++I)
        Line += (I ? " " : "") + Call->GetArgument(I)->Resolve(Context)->ToString();
      Log.push_back(Line);
      Result = FCTrue;
    });
    Host("zz-return", [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
      Context->SetReturnValue(Call->GetArgumentCount() ? Call->GetArgument(0)->Resolve(Context) : FCPopFocus);
      Result = FCTrue;
    });
    Host("zz-fail", [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue&) {
      if (Call->GetArgumentCount()) Context->SetReturnValue(FCPopFocus);
      throw EKBException("zz-fail failed");
    });
    Host("zz-next", [this](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) { Result = Int(++Counter); });
  }

  IFactTemplate Template(const std::string& Name, std::initializer_list<const char*> Slots) {
    IFactTemplate T(new TFactTemplate(&Engine, Name));
    for (const char* Slot : Slots) T->AddSlot(Slot, Atom("none"));
    Engine.GetFactTemplates()->Add(T);
    return T;
  }

  void Host(const std::string& Name, decltype(TUserFunction::OnCall) Body) {
    auto* Function = new TUserFunction(&Engine, Name);
    Function->OnCall = std::move(Body);
    Function->SetEngine(&Engine);
  }

  struct TTest {
    const char* Slot;
    IKBValue Value;
    std::int32_t Sub = NoSubIndex;
    bool Negated = false;
    bool Conjunction = true;  // false: an alternative to the test before
  };

  // A pattern on T with its slot tests, negated Negated times and bound to Bound.
  static std::unique_ptr<TKBPattern> Pattern(const IFactTemplate& T, std::initializer_list<TTest> Tests = {},
                                             std::int32_t Negated = 0, const char* Bound = "") {
    auto Result = std::make_unique<TKBPattern>(nullptr, T->GetTemplateName(), T, Negated);
    Result->SetBoundName(Bound);
    for (const TTest& Test : Tests) Result->AddTest(Test.Slot, Test.Value, Test.Sub, Test.Negated, Test.Conjunction);
    return Result;
  }

  IModule AddModule(const std::string& Name) {
    IModule Module(new TModule(&Engine, false));
    Module->SetName(Name);
    Engine.AddModule(Module);
    return Module;
  }

  // "name@fact.slot[.sub]" per binding, in order.
  static std::string Bindings(const TRule& Rule) {
    std::string Result;
    for (int I = 0; I < Rule.GetBindingCount(); ++I) {
      const TBinding* B = Rule.GetBinding(I);
      if (I) Result += ", ";
      Result += B->GetName() + "@" + IntToStr(B->GetFactIndex()) + "." + B->GetSlotIndex();
      if (B->GetSubIndex() != NoSubIndex) Result += "." + IntToStr(B->GetSubIndex());
    }
    return Result;
  }

  static std::string Names(const TRule& Rule) {
    std::string Result;
    for (const TKBPattern* P : *Rule.GetPatterns()) Result += (Result.empty() ? "" : " ") + P->GetName();
    return Result;
  }

  static IReteToken Token(std::initializer_list<IFact> Facts) {
    IReteToken Result;
    for (const IFact& Fact : Facts)
      Result = Result ? IReteToken(new TKBToken(Result, Fact)) : IReteToken(new TKBToken(taAdd, Fact));
    return Result;
  }

  IFact FactA(std::int32_t Id, const IKBValue& X, const IKBValue& Items) {
    IFact Fact = A->NewFact();
    Fact->SetID(Id);
    Fact->SetValue("x", X);
    Fact->SetValue("items", Items);
    return Fact;
  }

  TInferenceEngine Engine;
  TRuleBuilder R{Engine};
  IFactTemplate A, B;
  std::vector<std::string> Log;
  int Counter = 0;
};

TEST_F(RuleTest, PatternsGiveBindingsAndFactIndices) {
  // ?p <- (a (x ?x) (items ? ?i)) (test (zz-record ?x)) ?f <- (b (y ?x) (z ?z))
  TRule* Rule = R.NewRule("r1", Pattern(A, {{"x", Var("x")}, {"items", Var("i"), 1}}, 0, "p"),
                        R.Test(Call("zz-record", {Var("x")})));
  auto Third = Pattern(B, {{"y", Var("x")}, {"z", Var("z")}}, 0, "f");
  TKBPattern* ThirdP = Third.get();
  EXPECT_EQ(Rule->GetPatterns()->Add(std::move(Third)), 2);

  // A positive first pattern needs no initial fact; the test takes no place
  // in the token, so the last pattern is fact 1; ?x stays bound to fact 0.
  EXPECT_EQ(Names(*Rule), "a test b");
  EXPECT_EQ(Bindings(*Rule), "p@0.__PATTERN, i@0.items.1, x@0.x, f@1.__PATTERN, z@1.z");
  EXPECT_EQ(ThirdP->GetOwner(), Rule);

  // An equal binding is the one that stands; names are exact.
  TBinding* X = Rule->GetBindingByName("x");
  EXPECT_EQ(Rule->AddBinding("x", 0, "x", NoSubIndex), X);
  EXPECT_NE(Rule->AddBinding("x", 1, "y", NoSubIndex), X);
  EXPECT_EQ(Bindings(*Rule), "p@0.__PATTERN, i@0.items.1, x@0.x, f@1.__PATTERN, z@1.z, x@1.y");
  EXPECT_EQ(Rule->IndexOfBinding("x"), 2);
  EXPECT_EQ(Rule->GetBindingByName("X"), nullptr);
  EXPECT_EQ(ErrorOf([&] { Rule->GetBinding(6); }), Format(SListIndexError, 6));

  // Alternatives are folded on entry: (a (x red|blue)) binds a fresh
  // wildcard and tests it with (or ...).
  TRule* Alternatives =
      R.NewRule("r2", Pattern(A, {{"x", Atom("red")}, {"x", Atom("blue"), NoSubIndex, false, false}}));
  ASSERT_EQ(Alternatives->GetBindingCount(), 1);
  const std::string Binder = Alternatives->GetBinding(0)->GetName();
  EXPECT_TRUE(Binder.starts_with(SBlankPrefix));
  EXPECT_EQ(Bindings(*Alternatives), Binder + "@0.x");
  const TKBPattern* Folded = Alternatives->GetPatterns()->GetItem(0);
  const int Line = Folded->IndexOfSlotName("x");
  ASSERT_EQ(Folded->GetSlotTestCount(Line), 2);
  EXPECT_EQ(Folded->GetSlotTest(Line, 0)->GetSlotValue()->ToString(), "?" + Binder);
  EXPECT_TRUE(Folded->GetSlotTest(Line, 1)->GetSlotValue()->ToString().starts_with("(or "));
}

TEST_F(RuleTest, NegatedFirstUseIsRefused) {
  // (a (x ~?x)) can't compile; the pattern stays in the list.
  TRule* Rule = R.NewRule("r1");
  auto Bad = Pattern(A, {{"y", Var("y")}, {"x", Var("x"), NoSubIndex, true}});
  EXPECT_EQ(ErrorOf([&] { Rule->GetPatterns()->Add(std::move(Bad)); }),
            "First Use of Variable is negated, variable name is x");
  EXPECT_EQ(Rule->GetPatterns()->GetCount(), 1);

  // Once bound, ~?x is a test; a renamed wildcard is no first use.
  TRule* Fine = R.NewRule("r2", Pattern(A, {{"x", Var("x")}}),
                        Pattern(B, {{"y", Var("x"), NoSubIndex, true}, {"z", Var("_blank_3"), NoSubIndex, true}}, 1));
  EXPECT_EQ(Bindings(*Fine), "x@0.x, _2__blank_3@1.z");
}

TEST_F(RuleTest, OddFirstPatternsAndRulesWithoutAnEngine) {
  // A rule that starts with not, exists, a test or a goal hangs from the
  // initial fact; a need pattern is bound and gets a negated companion.
  EXPECT_EQ(Names(*R.NewRule("not", Pattern(A, {}, 1), Pattern(B))), "Initial-Fact a b");
  EXPECT_EQ(Names(*R.NewRule("exists", Pattern(B, {}, 2))), "Initial-Fact b");
  EXPECT_EQ(Names(*R.NewRule("test", R.Test(Call("zz-record", {})), Pattern(A))), "Initial-Fact test a");
  const IFactTemplate Goal = Template("goal", {"v"});
  Goal->SetBackwardChaining(true);
  EXPECT_EQ(Names(*R.NewRule("goal", Pattern(Goal))), "Initial-Fact goal");
  TRule* Need = R.NewRule("need", Pattern(Engine.CreateFactTemplate("need-a"), {{SDefaultSlotName, Var("v"), 0}}));
  ASSERT_EQ(Names(*Need), "need-a a");
  EXPECT_TRUE(Need->GetPatterns()->GetItem(0)->GetBoundName().starts_with(SFactPrefix));
  EXPECT_EQ(Need->GetPatterns()->GetItem(1)->GetNegatedCount(), 1);

  // Without an engine a rule takes no pattern, fires nothing and copies no rule.
  TRule Free(nullptr, "", "free");
  const std::string NoEngine = "Unknown/Undefined Inference Engine";
  EXPECT_EQ(ErrorOf([&] { Free.GetPatterns()->Add(Pattern(A)); }), NoEngine);
  EXPECT_EQ(ErrorOf([&] { Free.Fire(Token({A->NewFact()})); }), NoEngine);
  EXPECT_EQ(ErrorOf([&] { Free.Assign(Need); }), NoEngine);
  EXPECT_FALSE(Free.GetHasFired());
}

TEST_F(RuleTest, FiringRunsTheActionsOnTheTokensValues) {
  // ?p <- (a (x ?x) (items ? ?i)) (test ...) (not (b (y ?x) (z ?z)))
  //   => (zz-record ?x ?i ?p ?__RULE) (zz-record done)
  TRule* Rule = R.NewRule("r1", Pattern(A, {{"x", Var("x")}, {"items", Var("i"), 1}}, 0, "p"),
                        R.Test(Call("zz-record", {Var("x")})), Pattern(B, {{"y", Var("x")}, {"z", Var("z")}}, 1));
  Rule->GetActions()->Add(Call("zz-record", {Var("x"), Var("i"), Var("p"), Var(SRuleBinding)}));
  Rule->GetActions()->Add(Call("zz-record", {Atom("done")}));

  bool SawNoZ = false;
  Rule->OnFire = [&](TObject* Sender, TKBContext* Context) {
    EXPECT_EQ(Sender, Rule);
    // The negated pattern holds the null fact: ?z stays unbound.
    SawNoZ = Context->FindBinding("z") == nullptr && Context->FindBinding("x") != nullptr;
  };
  const IFact Fact = FactA(7, Int(5), List({Atom("one"), Atom("two")}));
  Rule->Fire(Token({Fact, Engine.GetNullFact()}));
  EXPECT_TRUE(SawNoZ);
  const std::string Id = IKBValue(new TKBValue(7, dtFactId))->ToString();
  EXPECT_EQ(Log, (std::vector<std::string>{"5 two " + Id + " \"r1\"", "done"}));
  EXPECT_TRUE(Rule->GetHasFired());
  Rule->Reset();
  EXPECT_FALSE(Rule->GetHasFired());
}

TEST_F(RuleTest, ReturnsAndErrorsEndTheActions) {
  const IModule Other = AddModule("OTHER");
  int Pops = 0;
  Engine.OnPopFocus = [&](TObject*, const IModule&) { ++Pops; };
  TRule* Rule = R.NewRule("r1", Pattern(A, {{"x", Var("x")}}));
  Rule->GetActions()->Add(Call("zz-record", {Var("x")}));
  Rule->GetActions()->Add(Call("zz-record", {}));
  Rule->GetActions()->Add(Call("zz-record", {Atom("after")}));
  const IReteToken Fired = Token({FactA(1, Int(4), FCNilList)});

  // The middle action -> "error | log | focus popped". A return without a
  // value pops the focus once, even when an error follows it.
  const std::pair<IFunCall, const char*> Cases[] = {
      {Call("zz-return", {Int(9)}), "no error | 4 | 0"},
      {Call("zz-return", {}), "no error | 4 | 1"},
      {Call("zz-fail", {}), "zz-fail failed | 4 | 0"},
      {Call("zz-fail", {Atom("pop")}), "zz-fail failed | 4 | 1"},
  };
  for (const auto& [Middle, Expected] : Cases) {
    Engine.PushFocus(Other);
    const int Depth = Engine.GetFocusStack()->GetCount();
    Log.clear();
    Pops = 0;
    Rule->GetActions()->SetItem(1, Middle);
    const std::string Error = ErrorOf([&] { Rule->Fire(Fired); });
    std::string Lines;
    for (const std::string& Line : Log) Lines += Line + " ";
    EXPECT_EQ(Error + " | " + Lines + "| " + IntToStr(Depth - Engine.GetFocusStack()->GetCount()), Expected)
        << Middle->ToString();
    EXPECT_EQ(Pops, Depth - Engine.GetFocusStack()->GetCount());
    EXPECT_TRUE(Rule->GetHasFired());
    EXPECT_FALSE(Engine.GetGlobalContext()->GetReturning());
    EXPECT_EQ(Engine.GetGlobalContext()->FindBinding("x"), nullptr);
  }

  // OnFire may return, which keeps the actions from running, or raise,
  // which ends the firing; the rule fires normally afterwards.
  Log.clear();
  Rule->OnFire = [](TObject*, TKBContext* Context) { Context->SetReturnValue(FCTrue); };
  Rule->Fire(Fired);
  EXPECT_TRUE(Log.empty());
  Rule->OnFire = [](TObject*, TKBContext*) { throw EKBException("handler failed"); };
  EXPECT_EQ(ErrorOf([&] { Rule->Fire(Fired); }), "handler failed");
  EXPECT_FALSE(Engine.GetGlobalContext()->GetReturning());
  Rule->OnFire = nullptr;
  Rule->GetActions()->Delete(1);
  Rule->Fire(Fired);
  EXPECT_EQ(Log, (std::vector<std::string>{"4", "after"}));
}

TEST_F(RuleTest, SalienceIsEvaluatedFromItsExpression) {
  TRule* Rule = R.NewRule("r1");
  int Changes = 0;
  Rule->OnChange = [&](TObject*) { ++Changes; };

  // An expression is read again at each evaluation and stays the rule's
  // salience; the integer property replaces it, telling only of a change.
  Rule->SetSalience(CallValue(Call("zz-next", {})));
  EXPECT_EQ(Rule->GetSalience(), 1);
  EXPECT_EQ(Rule->EvaluateSalience(), 2);
  EXPECT_EQ(Changes, 0);
  Rule->SetSalience(20);
  Rule->SetSalience(20);
  EXPECT_EQ(Rule->EvaluateSalience(), 20);
  EXPECT_EQ(Changes, 1);

  // An expression that fails is refused; the salience stays as it was.
  EXPECT_EQ(ErrorOf([&] { Rule->SetSalience(CallValue(Call("zz-fail", {}))); }), "zz-fail failed");
  EXPECT_EQ(Rule->GetSalience(), 20);
  EXPECT_FALSE(Engine.GetGlobalContext()->GetReturning());

  // Without an engine only a number can be read.
  TRule Free(nullptr);
  Free.SetSalience(Flt(4.7));
  EXPECT_EQ(Free.GetSalience(), 4);
  Free.SetSalience(CallValue(Call("zz-next", {})));
  EXPECT_EQ(Free.EvaluateSalience(), 4);
}

TEST_F(RuleTest, NamesTablesAndModules) {
  TRules* Rules = Engine.GetRules();
  TRule* Rule = R.NewRule("r1");
  Rules->Add(Rule);
  TRule* Taken = R.NewRule("r3");
  Rules->Add(Taken);

  // A new name re-keys the table; a taken one changes nothing.
  Rule->SetRuleName("r2");
  EXPECT_FALSE(Rules->ContainsKey("r1"));
  EXPECT_EQ(ErrorOf([&] { Rule->SetRuleName("r3"); }), "Duplicate Rules defined with same name: \"r3\"");
  EXPECT_EQ(Rules->Get("r2"), Rule);
  EXPECT_EQ(Rules->Get("r3"), Taken);

  // A freed rule leaves the table.
  delete Taken;
  EXPECT_FALSE(Rules->ContainsKey("r3"));

  // A rule moves to another module's table and takes a new id; the current
  // module stays. An unknown module, or a name taken there when duplicates
  // are errors, is refused and the rule stays where it was.
  const IModule Other = AddModule("OTHER");
  const IModule Main = Engine.GetModules()->Get(0);
  Main->FocusModule();
  const std::int32_t OldId = Rule->GetID();
  Rule->SetModule("OTHER");
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_FALSE(Rules->ContainsKey("r2"));
  EXPECT_EQ(Other->GetRules()->Get("r2"), Rule);
  EXPECT_NE(Rule->GetID(), OldId);
  EXPECT_EQ(ErrorOf([&] { Rule->SetModule("NOWHERE"); }), "No such module with name=NOWHERE exists");
  Rules->Add(R.NewRule("r2"));
  Engine.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { Rule->SetModule(""); }), "Duplicate Rules defined with same name: \"r2\"");
  EXPECT_EQ(Other->GetRules()->Get("r2"), Rule);
  EXPECT_EQ(Rule->GetModule(), "OTHER");

  // An engine that goes first leaves its rules without an engine.
  auto* Short = new TInferenceEngine();
  TRule Outlives(nullptr, "", "outlives");
  Outlives.SetEngine(Short);
  delete Short;
  EXPECT_EQ(Outlives.GetEngine(), nullptr);
}

TEST_F(RuleTest, AssignCopiesARuleOfTheSameEngine) {
  TRule* Source = R.NewRule("source", Pattern(A, {{"x", Var("x")}}), Pattern(B, {}, 1));
  const IFunCall Action = Call("zz-record", {Var("x")});
  Source->GetActions()->Add(Action);
  Source->SetSalience(CallValue(Call("zz-next", {})));
  Source->SetOneShot(true);
  Source->SetAutoFocus(true);
  Source->SetEnabled(false);

  TRule* Target = R.NewRule("target");
  int Changes = 0;
  Target->OnChange = [&](TObject*) { ++Changes; };
  Target->Assign(Source);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Target->GetRuleName(), "source");
  EXPECT_TRUE(Target->GetOneShot() && Target->GetAutoFocus() && !Target->GetEnabled());
  EXPECT_EQ(Names(*Target), "a b");
  EXPECT_NE(Target->GetPatterns()->GetItem(0), Source->GetPatterns()->GetItem(0));
  EXPECT_EQ(Target->GetPatterns()->GetItem(0)->GetOwner(), Target);
  EXPECT_EQ(Bindings(*Target), Bindings(*Source));
  ASSERT_EQ(Target->GetActions()->GetCount(), 1);
  EXPECT_EQ(Target->GetActions()->GetItem(0), Action);
  EXPECT_EQ(Target->GetSalienceValue()->GetDType(), dtFunCall);  // the expression, not its value
}

}  // namespace
}  // namespace cogent
