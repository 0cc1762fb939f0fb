#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"
#include "cogent/engine/KBCollections.h"

namespace cogent::test {

namespace {

// The facts of the current module with their ids, one a line.
std::string Facts(TInferenceEngine& Engine) {
  std::string Result;
  for (int I = 0; I < Engine.GetFactCount(); ++I) Result += Engine.GetFact(I)->GetToIDString() + "\n";
  return Result;
}

IModule AddModule(TInferenceEngine& Engine, const std::string& Name) {
  IModule Module(new TModule(&Engine, false));
  Module->SetName(Name);
  Engine.AddModule(Module);
  return Module;
}

}  // namespace

TEST(FactFunctions, AssertGivesTheLastIdOrFalse) {
  TInferenceEngine Engine;
  SetVariable(Engine, "v", Int(7));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(assert)"));
  EXPECT_EQ("dtFactId <Fact-2>", Eval(Engine, "(assert (a ?v) (b (+ ?v 1)))"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-1 (a 7 )\nf-2 (b 8 )\n", Facts(Engine));
  // A duplicate is refused; the earlier facts of the call stay.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(assert (c 1) (a 7))"));
  EXPECT_EQ(4, Engine.GetFactCount());
  // The written fact is a template: a second run asserts the values of then.
  const IFunCall Call = Engine.ParseFunCall("(assert (d ?v))");
  Call->Execute(Engine.GetGlobalContext());
  SetVariable(Engine, "v", Int(8));
  EXPECT_EQ("dtFactId <Fact-5>", Show(Call->Execute(Engine.GetGlobalContext())));
  EXPECT_EQ("f-5 (d 8 )", Engine.GetFact(5)->GetToIDString());
  EXPECT_EQ("f-4 (d 7 )", Engine.GetFact(4)->GetToIDString());
}

TEST(FactFunctions, AssertStringGivesMinusOneForADuplicate) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFactId <Fact-2>", Eval(Engine, "(assert-string \"(a 1)\" \"(b 2)\")"));
  EXPECT_EQ("dtFactId <Fact--1>", Eval(Engine, "(assert-string \"(a 1)\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(retract-string \"(a 1)\" \"(never 0)\")"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-2 (b 2 )\n", Facts(Engine));
  EXPECT_EQ("Too few arguments for assert-string", ErrorOfCall(Engine, "(assert-string)"));
}

TEST(FactFunctions, RetractByIdOrEverything) {
  TInferenceEngine Engine;
  Engine.Assert("(a 1)");
  Engine.Assert("(a 2)");
  Engine.Assert("(a 3)");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(retract 1 3)"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-2 (a 2 )\n", Facts(Engine));
  // Facts named before a missing one are gone already.
  EXPECT_EQ("Unable to find fact f-9", ErrorOfCall(Engine, "(retract 2 9)"));
  EXPECT_EQ("f-0 (Initial-Fact)\n", Facts(Engine));
  // The first argument is evaluated twice.
  int Count = 0;
  AddCounter(Engine, "zero", Count, Int(0));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(retract (zero))"));
  EXPECT_EQ(2, Count);
  Engine.Assert("(b 1)");
  // A string star goes the id way.
  EXPECT_EQ("Not a fact id type.  Value (\"*\") is a dtString type", ErrorOfCall(Engine, "(retract \"*\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(retract * 99)"));
  EXPECT_EQ(0, Engine.GetFactCount());
}

TEST(FactFunctions, ModifyReassertsUnderANewId) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate p (slot x) (slot y) (multislot m))", true);
  SetVariable(Engine, "n", Int(5));
  EXPECT_EQ("dtFactId <Fact-1>", Eval(Engine, "(assert (p (x 1) (y 2)))"));
  EXPECT_EQ("dtFactId <Fact-2>", Eval(Engine, "(modify 1 (x ?n) (m a ?n c))"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-2 (p (m a 5 c ) (x 5) (y 2))\n", Facts(Engine));
  EXPECT_EQ("No Such Fact with ID=1 exists", ErrorOfCall(Engine, "(modify 1 (x 1))"));
  EXPECT_EQ("No Such Fact with ID=99 exists", ErrorOfCall(Engine, "(modify 99 (x 1))"));
  // A failing slot leaves the fact asserted with what changed before it.
  EXPECT_EQ("Unable to find fact f-77", ErrorOfCall(Engine, "(modify 2 (x 6) (y (retract 77)))"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-3 (p (m a 5 c ) (x 6) (y 2))\n", Facts(Engine));
  EXPECT_EQ("No such slot name: \"z\"", ErrorOfCall(Engine, "(modify 3 (z 1))"));
  EXPECT_EQ(2, Engine.GetFactCount());
}

TEST(FactFunctions, DuplicateKeepsTheSource) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate p (slot x) (slot y))", true);
  Engine.Assert("(p (x 1) (y 2))");
  EXPECT_EQ("dtFactId <Fact-2>", Eval(Engine, "(duplicate 1 (y 3))"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-1 (p (x 1) (y 2))\nf-2 (p (x 1) (y 3))\n", Facts(Engine));
  EXPECT_EQ("dtFactId <Fact--1>", Eval(Engine, "(duplicate 1 (y 3))"));
  EXPECT_EQ("Too few arguments for duplicate", ErrorOfCall(Engine, "(duplicate 1)"));
  EXPECT_EQ("No Such Fact with ID=8 exists", ErrorOfCall(Engine, "(duplicate 8 (x 1))"));
}

TEST(FactFunctions, GetSlotValueGivesACopy) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate p (slot x))", true);
  Engine.Assert("(p (x 4))");
  Engine.Assert("(q a b)");
  EXPECT_EQ("dtInteger 4", Eval(Engine, "(get-slot-value 1 x)"));
  EXPECT_EQ("dtList a b ", Eval(Engine, "(get-slot-value 2)"));
  const IKBValue Copy = Engine.ParseNExecuteFunCall("(get-slot-value 1 x)");
  EXPECT_NE(Copy, Engine.GetFact(1)->GetValue("x"));
  EXPECT_EQ("No Such Fact with ID=7 exists", ErrorOfCall(Engine, "(get-slot-value 7 x)"));
  EXPECT_EQ("Invalid argument type for deffunction: \"dtAtom\".  Expected FactId, Fact",
            ErrorOfCall(Engine, "(get-slot-value a x)"));
  EXPECT_EQ("No such slot name: \"y\"", ErrorOfCall(Engine, "(get-slot-value 1 y)"));
}

TEST(FactFunctions, ResetAndClear) {
  TInferenceEngine Engine;
  Engine.Assert("(a 1)");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(store k 1)") == "dtInteger 1" ? "dtAtom TRUE" : "no");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(reset)"));
  EXPECT_EQ("f-0 (Initial-Fact)\n", Facts(Engine));
  // Storage outlives reset, not clear.
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(fetch k)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(clear)"));
  EXPECT_EQ("nil", Eval(Engine, "(fetch k)"));
  EXPECT_TRUE(Engine.ContainsUserFunction("clear"));
}

// Facts written by template and read back; rule text and commands from files.
TEST(FactFunctions, Files) {
  test::TTempFolder Folder;
  const std::string Saved = Folder / "facts.txt";
  const std::string Picked = Folder / "some.txt";
  TInferenceEngine Engine;
  Engine.Parse("(assert (a 1) (b 2) (a 3))", true);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(save-facts \"" + Saved + "\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(save-facts \"" + Picked + "\" a nosuch b)"));
  EXPECT_EQ(test::ReadFile(Picked), "(a 1 )\r\n(a 3 )\r\n(b 2 )\r\n");
  Eval(Engine, "(reset)");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(load-facts \"" + Picked + "\")"));
  EXPECT_EQ("f-0 (Initial-Fact)\nf-1 (a 1 )\nf-2 (a 3 )\nf-3 (b 2 )\n", Facts(Engine));

  const std::string Rules = Folder / "rules.kb";
  test::WriteFile(Rules, "(defrule r (a ?x) => (assert (seen ?x)))\n(run)\n");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(load \"" + Rules + "\")"));
  EXPECT_NE(Facts(Engine).find("(seen 3 )"), std::string::npos);
  // A file that loads itself ends in an error, not a crash.
  const std::string Loop = Folder / "loop.kb";
  test::WriteFile(Loop, "(load \"" + Loop + "\")\n");
  EXPECT_NE(ErrorOfCall(Engine, "(load \"" + Loop + "\")").find("nested too deeply"), std::string::npos);

  const std::string Commands = Folder / "commands.bat";
  test::WriteFile(Commands, "(assert (batched))\n");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(batch \"" + Commands + "\")"));
  EXPECT_NE(Facts(Engine).find("(batched)"), std::string::npos);
  EXPECT_NE(ErrorOfCall(Engine, "(load \"" + Folder / "missing.kb" + "\")"), "");
  // The whole system goes into a file that another engine reads.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(save \"" + Saved + "\")"));
  TInferenceEngine Reader;
  Reader.LoadFromFile(Saved, nullptr);
  TRule* Rule = nullptr;
  EXPECT_TRUE(Reader.GetRules()->TryGetValue("r", Rule));
}

TEST(FactFunctions, FocusStackAndCurrentModule) {
  TInferenceEngine Engine;
  AddModule(Engine, "A");
  AddModule(Engine, "B");
  EXPECT_EQ("dtAtom MAIN", Eval(Engine, "(get-focus)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(focus A B)"));
  EXPECT_EQ("dtAtom A", Eval(Engine, "(get-focus)"));
  EXPECT_EQ("dtList A B MAIN ", Eval(Engine, "(get-focus-stack)"));
  EXPECT_EQ("dtAtom A", Eval(Engine, "(get-current-module)"));
  EXPECT_EQ("dtAtom A", Eval(Engine, "(pop-focus)"));
  EXPECT_EQ("dtAtom B", Eval(Engine, "(get-current-module)"));
  EXPECT_EQ("No such module with name=C exists", ErrorOfCall(Engine, "(focus C)"));
  EXPECT_EQ("dtAtom MAIN", Eval(Engine, "(set-current-module MAIN)"));
  EXPECT_EQ("No such module with name=C exists", ErrorOfCall(Engine, "(set-current-module C)"));
  EXPECT_FALSE(Engine.GetHalt());
  EXPECT_EQ("none", Eval(Engine, "(clear-focus-stack)"));
  EXPECT_TRUE(Engine.GetHalt());
  EXPECT_EQ("dtList ", Eval(Engine, "(get-focus-stack)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(pop-focus)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-focus)"));
  EXPECT_EQ("Too few arguments for focus", ErrorOfCall(Engine, "(focus)"));
}

TEST(FactFunctions, WatchAndUnwatch) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(watch all)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(unwatch facts)"));
  EXPECT_EQ(KBAllWatches - TConstructWatches{cwFact}, Engine.GetWatch());
  // watch evaluates its word, unwatch reads it as written.
  SetVariable(Engine, "w", Atom("rules"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(unwatch rules)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(watch ?w)"));
  EXPECT_TRUE(Engine.GetWatch().Contains(cwRule));
  EXPECT_EQ("Cannot unwatch w", ErrorOfCall(Engine, "(unwatch ?w)"));
  EXPECT_EQ("Cannot watch bogus", ErrorOfCall(Engine, "(watch bogus)"));
  EXPECT_EQ("Cannot watch Facts", ErrorOfCall(Engine, "(watch Facts)"));
}

TEST(FactFunctions, FactDuplicationSpeaksOfIgnoringDuplicates) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(get-fact-duplication)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-fact-duplication FALSE)"));
  EXPECT_TRUE(Engine.GetFactDuplication());
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-fact-duplication)"));
  Engine.Assert("(a 1)");
  EXPECT_EQ("dtFactId <Fact-2>", Eval(Engine, "(assert (a 1))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(set-fact-duplication 0)"));
  EXPECT_FALSE(Engine.GetFactDuplication());
}

TEST(FactFunctions, StoreAndFetch) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 5", Eval(Engine, "(store k 5)"));
  EXPECT_EQ("dtInteger 5", Eval(Engine, "(fetch k)"));
  EXPECT_EQ("nil", Eval(Engine, "(fetch never)"));
  // store evaluates its name, fetch does not.
  SetVariable(Engine, "key", Atom("k2"));
  EXPECT_EQ("dtAtom v", Eval(Engine, "(store ?key v)"));
  EXPECT_EQ("dtAtom v", Eval(Engine, "(fetch k2)"));
  EXPECT_EQ("nil", Eval(Engine, "(fetch ?key)"));
  // nil stores an entry without a value.
  EXPECT_EQ("none", Eval(Engine, "(store k nil)"));
  EXPECT_EQ("none", Eval(Engine, "(fetch k)"));
  EXPECT_EQ("Argument 2 of bind has no value", ErrorOfCall(Engine, "(bind ?x (fetch k))"));
  EXPECT_EQ("none", Eval(Engine, "(clear-storage)"));
  EXPECT_EQ("nil", Eval(Engine, "(fetch k2)"));
}

TEST(FactFunctions, DoBackwardChainingMakesGoalTemplates) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate x (slot v))", true);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(do-backward-chaining x y)"));
  for (const char* Name : {"x", "y"}) {
    const IFactTemplate Template = Engine.FindFactTemplate(Name);
    ASSERT_TRUE(Template);
    EXPECT_TRUE(Template->IsBackwardChaining());
    const IFactTemplate Goal = Engine.FindFactTemplate(std::string("need-") + Name);
    ASSERT_TRUE(Goal) << Name;
    EXPECT_EQ(std::string("Goal seeker for ") + Name, Goal->GetComment());
    EXPECT_FALSE(Goal->GetParent());
  }
  EXPECT_TRUE(Engine.FindFactTemplate("need-x")->ContainsSlot("v"));
  EXPECT_EQ("Cannot backchain on special CEs: not", ErrorOfCall(Engine, "(do-backward-chaining z not)"));
  EXPECT_TRUE(Engine.FindFactTemplate("need-z"));
  EXPECT_EQ("Cannot backchain on special CEs: test", ErrorOfCall(Engine, "(do-backward-chaining test)"));
}

TEST(FactFunctions, VersionAndEngineLessCalls) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat 6.0000", Eval(Engine, "(version)"));
  const IFunCall Call = Engine.ParseFunCall("(assert (a 1))");
  TKBContext Lonely(nullptr, nullptr);
  EXPECT_EQ("Unknown/Undefined Inference Engine", ErrorOf([&] { Call->Execute(&Lonely); }));
}

}  // namespace cogent::test
