#include "cogent/facts/KBSlotTest.h"

#include <gtest/gtest.h>

#include <cctype>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/matching/KBToken.h"
#include "cogent/rules/KBRule.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// "a" with the plain slots size and colour and the multislot items, added
// out of order.
IFactTemplate ATemplate(TPersistent* Owner = nullptr) {
  const IFactTemplate T(new TFactTemplate(Owner, "a"));
  T->AddSlot("size", Int(0));
  T->AddMultiSlot("items", FCNilList);
  T->AddSlot("colour", Atom("none"));
  return T;
}

IKBValue CallValue(const std::string& Name, std::initializer_list<IKBValue> Arguments) {
  IFunCall Call(new TFunctionCall(Name));
  for (const IKBValue& Argument : Arguments) Call->AddArgument(Argument);
  return IKBValue(new TKBValue(Call));
}

// Adds to Slot the tests that Text writes as words: "?x", a number, an
// atom, or "%" for the next of Calls; a leading "|" makes the test an
// alternative, "~" negates it and "@n" after it gives the multislot position.
TKBPatternMatchTest* Add(TKBPattern& P, const std::string& Slot, const std::string& Text,
                         std::vector<IKBValue> Calls = {}) {
  TKBPatternMatchTest* Last = nullptr;
  std::istringstream Words(Text);
  std::size_t NextCall = 0;
  for (std::string W; Words >> W;) {
    const bool Alternative = W[0] == '|', Negated = W[Alternative] == '~';
    const auto At = W.find('@');
    const int Sub = At == std::string::npos ? NoSubIndex : std::stoi(W.substr(At + 1));
    W = W.substr(Alternative + Negated, At - Alternative - Negated);
    const IKBValue Value = W == "%" ? Calls.at(NextCall++)
                           : W[0] == '?' ? Var(W.substr(1))
                           : std::isdigit(static_cast<unsigned char>(W[0])) ? Int(std::stoi(W)) : Atom(W);
    Last = P.AddTest(Slot, Value, Sub, Negated, !Alternative);
  }
  return Last;
}

// The slot's tests, each as "=value" or "~value" with "@sub" and "|" for an
// alternative.
std::vector<std::string> Tests(const TKBPattern& P, const std::string& Slot) {
  std::vector<std::string> Result;
  const int Line = P.IndexOfSlotName(Slot);
  for (int I = 0; I < P.GetSlotTestCount(Line); ++I) {
    const TKBPatternMatchTest* T = P.GetSlotTest(Line, I);
    std::string S = T->GetSlotTestType() == sttEquals ? "=" : "~";
    S += T->GetSlotValue()->ToString();
    if (T->GetMultiSlotSubIndex() != NoSubIndex) S += "@" + IntToStr(T->GetMultiSlotSubIndex());
    if (!T->GetConjunction()) S += "|";
    Result.push_back(S);
  }
  return Result;
}

TEST(KBPatternTest, SlotLinesAndAddingTests) {
  TKBPattern P(nullptr, "a", ATemplate(), 0);
  const IKBValue Red = Atom("red");
  TKBPatternMatchTest* T = P.AddTest("colour", Red, NoSubIndex, false, true);
  EXPECT_EQ(P.GetSlotTest(0, 0), T);
  // The test keeps a copy of its own.
  EXPECT_NE(T->GetSlotValue(), Red);
  EXPECT_TRUE(T->GetSlotValue()->Equals(Red));
  Add(P, "items", "|~?x@1");
  EXPECT_EQ(Tests(P, "items"), std::vector<std::string>{"~?x@1|"});

  // An unknown slot adds no line; a pattern without template takes no test.
  EXPECT_EQ(ErrorOf([&] { Add(P, "weight", "1"); }), "No such slot name: \"weight\"");
  EXPECT_EQ(P.GetSlotCount(), 3);
  TKBPattern Bare(nullptr, "b", IFactTemplate(), 0);
  EXPECT_EQ(Bare.GetSlotCount(), 0);
  EXPECT_EQ(ErrorOf([&] { Add(Bare, "x", "1"); }), "Fact Template is missing");

  // Slot lines sort as the template's names do, case included.
  const IFactTemplate Mixed(new TFactTemplate(nullptr, "m"));
  for (const char* Name : {"b", "B", "a"}) Mixed->AddSlot(Name, FCNil);
  TKBPattern M(nullptr, "m", Mixed, 0);
  for (int I = 0; I < 3; ++I) EXPECT_EQ(M.GetSlotName(I), Mixed->GetSlotNames().Get(I));
}

TEST(KBPatternTest, ShapeFlagsAndChangeReports) {
  const IFactTemplate T = ATemplate();
  // not, not not (exists), not exists.
  for (int Count : {1, 2, 3}) EXPECT_EQ(TKBPattern(nullptr, "a", T, Count).IsNegated(), Count != 2) << Count;

  // Each setter, the tests' own included, reports a change once, and only
  // when the value changes.
  TKBPattern P(nullptr, "a", T, 0);
  TKBPatternMatchTest* Test = Add(P, "colour", "red");
  int Changes = 0;
  P.SetOnChange([&](TObject* Sender) { Changes += Sender == &P; });
  P.SetUnique(true);
  P.SetUnique(true);
  P.SetExplicit(true);
  P.SetNegatedCount(3);
  P.SetName("b");
  P.SetComment("c");
  Test->SetSlotTestType(sttNotEquals);
  Test->SetSlotTestType(sttNotEquals);
  EXPECT_EQ(Changes, 6);

  // An update gathers its changes into one, at the outermost end.
  Changes = 0;
  P.BeginUpdate();
  P.BeginUpdate();
  Add(P, "size", "1");
  P.SetNegatedCount(0);
  P.EndUpdate();
  EXPECT_EQ(Changes, 0);
  P.EndUpdate();
  EXPECT_EQ(Changes, 1);

  // FixTests reports once, and not at all with nothing to fold.
  Add(P, "items", "?i@0 ~x@0 |y@0");
  Changes = 0;
  P.FixTests();
  P.FixTests();
  EXPECT_EQ(Changes, 1);

  // A negated test pattern cannot be bound; anything else can.
  const IFactTemplate TestTemplate(new TFactTemplate(nullptr, "test"));
  TestTemplate->AddMultiSlot(SDefaultSlotName, FCNilList);
  TKBPattern NegatedTest(nullptr, "test", TestTemplate, 1);
  EXPECT_EQ(ErrorOf([&] { NegatedTest.SetBoundName("f"); }), "Cannot bind a negated pattern to a variable");
  EXPECT_EQ(NegatedTest.GetBoundName(), "");
}

TEST(KBPatternTest, CountersFollowTestsAndConjunctions) {
  TKBPattern P(nullptr, "a", ATemplate(), 0);
  TKBPatternMatchTest* X = Add(P, "items", "~?x@0");
  TKBPatternMatchTest* A = Add(P, "items", "|a@0");
  Add(P, "size", "|1");
  EXPECT_EQ(P.GetNumSlotTests(), 3);
  EXPECT_EQ(P.GetNumORConstraints(), 2);
  X->SetConjunction(false);
  A->SetConjunction(true);
  EXPECT_EQ(P.GetNumORConstraints(), 2);

  // Taking tests out counts down, alternatives included.
  TSlotTests* Items = P.GetSlotTests(P.IndexOfSlotName("items"));
  std::unique_ptr<TKBPatternMatchTest> Taken = Items->Extract(X);
  ASSERT_EQ(Taken.get(), X);
  EXPECT_EQ(P.GetNumSlotTests(), 2);
  EXPECT_EQ(P.GetNumORConstraints(), 1);
  Items->Delete(0);
  P.GetSlotTests(P.IndexOfSlotName("size"))->Clear();
  EXPECT_EQ(P.GetNumSlotTests(), 0);
  EXPECT_EQ(P.GetNumORConstraints(), 0);

  // Replacing a test counts the old one out and the new one in.
  Add(P, "size", "1");
  P.SetSlotTest(P.IndexOfSlotName("size"), 0, std::make_unique<TKBPatternMatchTest>(nullptr, *Taken, Int(2)));
  EXPECT_EQ(P.GetNumSlotTests(), 1);
  EXPECT_EQ(P.GetNumORConstraints(), 1);
  EXPECT_EQ(Tests(P, "size"), std::vector<std::string>{"~2@0|"});
  EXPECT_EQ(P.GetSlotTest(P.IndexOfSlotName("size"), 0)->GetPattern(), &P);
}

TEST(KBPatternTest, FixTestsFoldsAlternativesIntoOrCalls) {
  TKBPattern P(nullptr, "a", ATemplate(), 0);
  Add(P, "colour", "?c red big |blue");
  Add(P, "items", "?i@0 ~x@0 |y@0 a@1 ?b@2 |?c@2");
  TKBPatternMatchTest* Size = Add(P, "size", "1");
  P.FixTests();
  EXPECT_EQ(P.GetNumORConstraints(), 0);
  EXPECT_EQ(Tests(P, "colour"), (std::vector<std::string>{"=?c", "=(or (and (eq red ?c) (eq big ?c)) (eq blue ?c))"}));
  EXPECT_EQ(Tests(P, "items"), (std::vector<std::string>{"=?i@0", "=(or (neq x ?i) (eq y ?i))@0", "=a@1", "=?b@2",
                                                         "=(or (eq ?c ?b))@2"}));
  // A slot without alternatives keeps its very tests.
  EXPECT_EQ(P.GetSlotTest(P.IndexOfSlotName("size"), 0), Size);
  EXPECT_EQ(P.GetNumSlotTests(), 8);

  // Calls are kept as they stand, negated ones wrapped in not.
  TKBPattern Q(nullptr, "a", ATemplate(), 0);
  const IKBValue Big = CallValue("zz-big", {Var("s")});
  Add(Q, "size", "?s % |~%", {Big, CallValue("zz-odd", {Var("s")})});
  Q.FixTests();
  EXPECT_EQ(Tests(Q, "size"), (std::vector<std::string>{"=?s", "=(or (zz-big ?s) (not (zz-odd ?s)))"}));
  // The test's call was its own copy, not the caller's.
  EXPECT_NE(Q.GetSlotTest(2, 1)->GetSlotValue()->GetAsFunCall()->GetArgument(0)->GetAsFunCall(), Big->GetAsFunCall());
}

TEST(KBPatternTest, FixTestsBindsAFreshVariableThroughTheRule) {
  // (colour red|blue) must bind a new variable, which only a rule can hold;
  // a negated variable is no binder either.
  TKBPattern Q(nullptr, "a", ATemplate(), 0);
  TKBPatternMatchTest* Blue = Add(Q, "colour", "red |blue");
  Add(Q, "size", "~?s |1");
  EXPECT_EQ(ErrorOf([&] { Q.FixTests(); }), "Rule missing for pattern");
  EXPECT_EQ(Q.GetSlotTest(0, 1), Blue);
  EXPECT_EQ(Q.GetNumORConstraints(), 2);

  TInferenceEngine Engine;
  auto* Rule = new TRule(&Engine);
  TKBPattern P(nullptr, "a", ATemplate(&Engine), 0);
  Add(P, "items", "x@0 ~a@1 |b@1");
  P.SetOwner(Rule);
  P.FixTests();
  const std::string Name = P.GetSlotTest(1, 1)->GetSlotValue()->GetAsVariable();
  EXPECT_EQ(Tests(P, "items"), (std::vector<std::string>{"=x@0", "=?" + Name + "@1",
                                                         "=(or (neq a ?" + Name + ") (eq b ?" + Name + "))@1"}));
  const TBinding* Binding = Rule->GetBindingByName(Name);
  ASSERT_NE(Binding, nullptr);
  EXPECT_EQ(Binding->GetSlotIndex(), "items");
  EXPECT_EQ(Binding->GetSubIndex(), 1);
  // The calls find their functions through the rule's engine.
  EXPECT_EQ(P.GetSlotTest(1, 2)->GetSlotValue()->GetAsFunCall()->GetReasoner(), static_cast<IReasoner*>(&Engine));
  P.SetOwner(nullptr);
}

TEST(KBPatternMatchTestTest, PerformTestAgainstAFact) {
  TInferenceEngine Engine;
  const IFact Fact(new TFact(ATemplate(&Engine)));
  std::unique_ptr<TKBContext> Context = Engine.GetGlobalContext()->Push();
  Context->SetFact(Fact);

  // Constants: anything but FALSE passes.
  EXPECT_TRUE(TKBPatternMatchTest(nullptr, sttEquals, Atom("blue")).PerformTest(Context.get()));
  EXPECT_FALSE(TKBPatternMatchTest(nullptr, sttEquals, FCFalse).PerformTest(Context.get()));

  // (zz-is-red <colour of the fact under test>)
  auto* IsRed = new TUserFunction(&Engine, "zz-is-red");
  IsRed->OnCall = [](TObject*, const IFunCall& FunCall, TKBContext* C, IKBValue& Result) {
    Result = FunCall->GetArgument(0)->Resolve(C)->GetAsAtom() == "red" ? FCTrue : FCFalse;
  };
  IsRed->SetEngine(&Engine);
  TBindingInfo Colour(0, "colour");
  const IKBValue Test = CallValue("zz-is-red", {IKBValue(new TKBValue(&Colour, false))});
  TKBPatternMatchTest Equal(nullptr, sttEquals, Test);
  TKBPatternMatchTest Unequal(nullptr, sttNotEquals, Test);
  for (const std::string Colour : {"red", "blue"}) {
    Fact->SetValue("colour", Atom(Colour));
    EXPECT_EQ(Equal.PerformTest(Context.get()), Colour == "red") << Colour;
    EXPECT_EQ(Unequal.PerformTest(Context.get()), Colour != "red") << Colour;
  }
}

TEST(KBSlotTestTest, JoinTestsPerformCompareAndPrint) {
  const IFactTemplate T = ATemplate();
  auto MakeFact = [&](const std::string& Colour, std::initializer_list<IKBValue> Items) {
    const IFact Fact(new TFact(T));
    Fact->SetValue("colour", Atom(Colour));
    Fact->SetValue("items", List(Items));
    return Fact;
  };
  const IFact First = MakeFact("red", {Atom("x"), Atom("red")});
  const IFact Second = MakeFact("blue", {Atom("blue")});
  const IReteToken Left(new TKBToken(IReteToken(new TKBToken(taAdd, First)), Second));
  TKBContext Context(nullptr, nullptr);
  Context.SetToken(Left);
  Context.SetFact(MakeFact("red", {Atom("blue"), Atom("z")}));

  struct TCase {
    TKBJoinTest Test;
    bool Passes;
  };
  const TCase Cases[] = {
      {{sttEquals, "colour", "colour", 0}, true},
      {{sttEquals, "colour", "colour", 1}, false},
      {{sttNotEquals, "colour", "colour", 1}, true},
      // Positions: red at 1 of the first fact's items against the right colour.
      {{sttEquals, "items", 1, "colour", NoSubIndex, 0}, true},
      {{sttEquals, "items", 0, "items", 0, 1}, true},
      {{sttEquals, "items", 0, "items", 1, 1}, false},
      {{sttEquals, "items", 5, "items", 0, 1}, false},
      // A missing left fact passes, also when the test is negated.
      {{sttNotEquals, "items", 0, "items", 0, 7}, true},
  };
  for (const TCase& C : Cases) EXPECT_EQ(C.Test.PerformTest(&Context), C.Passes) << C.Test.ToString();

  const TKBJoinTest Whole(sttEquals, "colour", "colour", 1);
  EXPECT_TRUE(Whole.Equals(Whole.Clone().get()));
  EXPECT_FALSE(Whole.Equals(&Cases[0].Test));
  EXPECT_FALSE(Whole.Equals(&Cases[2].Test));
  EXPECT_FALSE(Whole.Equals(TKBJoinTest(sttEquals, "colour", NoSubIndex, "colour", NoSubIndex, 1).Clone().get()));
  EXPECT_EQ(TKBJoinTest(sttNotEquals, "items", 2, "colour", -1, 0).ToString(),
            "<> tstMultiSlot TokenIdx: 0 Left: items 2 Right: colour -1");
}

TEST(KBPatternTest, AssignAndClone) {
  TInferenceEngine Engine;
  const IFactTemplate T = ATemplate(&Engine);
  TKBPattern P(nullptr, "a", T, 3);
  P.SetComment("note");
  P.SetBoundName("f");
  P.SetUnique(true);
  P.SetExplicit(true);
  Add(P, "items", "?x@0 |~%@0", {CallValue("f", {Var("x")})});
  P.SetSlotLength(P.IndexOfSlotName("items"), 1);

  const std::unique_ptr<TKBPattern> C = P.Clone(&Engine);
  EXPECT_EQ(C->GetFactTemplate(), T);
  EXPECT_EQ(C->ToString(), P.ToString());  // name, negation, flags, bound name and tests
  EXPECT_EQ(C->GetComment(), "note");
  EXPECT_EQ(C->GetNumORConstraints(), 1);
  EXPECT_EQ(C->GetSlotTest(1, 1)->GetPattern(), C.get());
  EXPECT_NE(C->GetSlotTest(1, 1)->GetSlotValue()->GetAsFunCall(), P.GetSlotTest(1, 1)->GetSlotValue()->GetAsFunCall());

  // Assign replaces all, counters included; a template without the tested
  // slots refuses and changes nothing.
  TKBPattern Other(nullptr, "b", T, 0);
  Add(Other, "size", "|1");
  Other.Assign(&P);
  EXPECT_EQ(Other.ToString(), P.ToString());
  EXPECT_EQ(Other.GetNumORConstraints(), 1);
  const IFactTemplate Small(new TFactTemplate(nullptr, "small"));
  Small->AddSlot("size", Int(0));
  TKBPattern Narrow(nullptr, "small", Small, 0);
  Add(Narrow, "size", "1");
  EXPECT_EQ(ErrorOf([&] { Narrow.SetTests(P.GetTests()); }), "No such slot name: \"items\"");
  EXPECT_EQ(Narrow.GetNumSlotTests(), 1);
  EXPECT_EQ(Narrow.GetSlotCount(), 1);

  // A clone into another engine takes a copy of the template there, made once.
  TInferenceEngine Target;
  const std::unique_ptr<TKBPattern> Moved = P.Clone(&Target);
  const IFactTemplate There = Target.FindFactTemplate("a");
  ASSERT_TRUE(There);
  EXPECT_EQ(Moved->GetFactTemplate(), There);
  EXPECT_EQ(Tests(*Moved, "items"), Tests(P, "items"));
  EXPECT_EQ(P.Clone(&Target)->GetFactTemplate(), There);
}

TEST(KBPatternTest, TextForm) {
  TKBPattern P(nullptr, "a", ATemplate(), 0);
  Add(P, "items", "?x@0 ~b@0 %@1", {CallValue("f", {Var("x")})});
  Add(P, "size", "1");
  P.SetNegatedCount(3);
  P.SetUnique(true);
  EXPECT_EQ(P.ToString(), "(not (exists (unique (a (items ?x&~b :(f ?x)) (size 1) ))))");
  P.SetNegatedCount(0);
  P.SetUnique(false);
  P.SetExplicit(true);
  P.SetBoundName("f");
  EXPECT_EQ(P.ToString(), "?f <- (explicit (a (items ?x&~b :(f ?x)) (size 1) ))");

  const IFactTemplate TestTemplate(new TFactTemplate(nullptr, "test"));
  TestTemplate->AddMultiSlot(SDefaultSlotName, FCNilList);
  TKBPattern Test(nullptr, "test", TestTemplate, 0);
  Add(Test, SDefaultSlotName, "~%", {CallValue(">", {Var("x"), Int(1)})});
  EXPECT_EQ(Test.ToString(), "(not (test (> ?x 1)))");
  EXPECT_EQ(ErrorOf([] { (void)TKBPattern(nullptr, "b", IFactTemplate(), 0).ToString(); }),
            "Fact Template is missing");
}

}  // namespace
}  // namespace cogent
