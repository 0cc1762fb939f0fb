#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {

TEST(ControlFunctions, TheEngineComesWithThePackages) {
  TInferenceEngine Engine;
  for (const char* Name : {"and", "if", "try", "bind", "assert", "modify", "focus", "pop-focus", "set-current-module",
                           "store", "do-backward-chaining"})
    EXPECT_TRUE(Engine.ContainsUserFunction(Name)) << Name;
  // The family members describe themselves by name.
  IUserFunction Focus, Pop;
  ASSERT_TRUE(Engine.ContainsUserFunction("focus", Focus));
  ASSERT_TRUE(Engine.ContainsUserFunction("pop-focus", Pop));
  EXPECT_EQ(1, Focus->GetMinArgumentCount());
  EXPECT_EQ(0, Pop->GetMaxArgumentCount());
  EXPECT_EQ("Too many arguments for pop-focus", ErrorOfCall(Engine, "(pop-focus 1)"));
  // Taking the standard package away takes its functions away.
  Engine.SetPackages(TFunctionPackages{});
  EXPECT_FALSE(Engine.ContainsUserFunction("and"));
}

TEST(ControlFunctions, LogicStopsAsSoonAsTheAnswerIsKnown) {
  TInferenceEngine Engine;
  int Count = 0;
  AddCounter(Engine, "tick", Count, FCTrue);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(and)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(or)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(and 1)"));
  // Only TRUE makes or true; only FALSE makes and false.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(or 1 \"TRUE\" 0)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(and 0 nil \"FALSE\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(not 1)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(not FALSE)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(and (tick) FALSE (tick))"));
  EXPECT_EQ(1, Count);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(or FALSE (tick) (tick))"));
  EXPECT_EQ(2, Count);
  EXPECT_EQ("Too few arguments for not", ErrorOfCall(Engine, "(not)"));
}

TEST(ControlFunctions, EqualityByTypeByValueAndByNumber) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq x)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(= 1)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(= 1 1.0)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(eq 1 1.0)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq* 1 1.0)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(eq a \"a\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq a a a)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(eq a a b)"));
  // = compares exactly, eq within the tolerance of values.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(= 0.1 0.10000001)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq 0.1 0.10000001)"));
  // Later arguments are only compared with the first.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(neq 1 2 2)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(neq 1 2 1)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(<> 1 2 1)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(<> 1 2 2)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(= \"3\" 3)"));
  EXPECT_EQ("Not a numeric type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(= a 1)"));
}

TEST(ControlFunctions, OrderComparisonsChainAndStopEarly) {
  TInferenceEngine Engine;
  int Count = 0;
  AddCounter(Engine, "five", Count, Int(5));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(< 1 2 3)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(< 1 3 2 (five))"));
  EXPECT_EQ(0, Count);
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(< 1 1)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(<= 1 1 2.5 (five))"));
  EXPECT_EQ(1, Count);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(> 3 2 1)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(> 3 3)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(>= 3 3 -1)"));
  EXPECT_EQ("Too few arguments for <", ErrorOfCall(Engine, "(< 1)"));
  EXPECT_EQ("Too few arguments for >=", ErrorOfCall(Engine, "(>= 1)"));
}

TEST(ControlFunctions, IfRunsOneBranchAndGivesItsLastValue) {
  TInferenceEngine Engine;
  int Count = 0;
  AddCounter(Engine, "tick", Count, Atom("ticked"));
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(if TRUE then 1 2 else 3)"));
  EXPECT_EQ("dtInteger 4", Eval(Engine, "(if FALSE then 1 2 else 3 4)"));
  EXPECT_EQ("dtAtom a", Eval(Engine, "(if 0 then a)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(if TRUE then)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(if FALSE then 1)"));
  // An else right after then is no branch of a false test.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(if FALSE then else)"));
  EXPECT_EQ("dtAtom ticked", Eval(Engine, "(if TRUE then (tick) else (tick))"));
  EXPECT_EQ("dtAtom ticked", Eval(Engine, "(if FALSE then (tick) else (tick))"));
  EXPECT_EQ(2, Count);
  EXPECT_EQ("Syntax Error: Missing \"then\" in an IF statement", ErrorOfCall(Engine, "(if x else 1)"));
  // The string is no keyword.
  EXPECT_EQ("Syntax Error: Missing \"then\" in an IF statement", ErrorOfCall(Engine, "(if x \"then\" 1)"));
  EXPECT_EQ("Too few arguments for if", ErrorOfCall(Engine, "(if x)"));
}

TEST(ControlFunctions, WhileLoopsUntilTheTestIsFalse) {
  TInferenceEngine Engine;
  SetVariable(Engine, "i", Int(0));
  SetVariable(Engine, "sum", Int(0));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(while (< ?i 4) do (bind ?i (+ ?i 1)) (bind ?sum (+ ?sum ?i)))"));
  EXPECT_EQ("dtInteger 10", Show(Engine.GetGlobalContext()->GetVariable("sum")));
  // Without do, too.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(while (> ?i 0) (bind ?i (- ?i 1)))"));
  EXPECT_EQ("dtInteger 0", Show(Engine.GetGlobalContext()->GetVariable("i")));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(while FALSE do (assert (never)))"));
  EXPECT_EQ(1, Engine.GetFactCount());
}

TEST(ControlFunctions, ForEachBindsEachItemInTheCallersContext) {
  TInferenceEngine Engine;
  SetVariable(Engine, "items", List({Int(1), Int(2), Int(3)}));
  SetVariable(Engine, "empty", List({}));
  SetVariable(Engine, "sum", Int(0));
  EXPECT_EQ("dtInteger 6", Eval(Engine, "(foreach i ?items (bind ?sum (+ ?sum ?i)))"));
  // The loop variable stays bound.
  EXPECT_EQ("dtInteger 3", Show(Engine.GetGlobalContext()->GetVariable("i")));
  EXPECT_EQ("nil", Eval(Engine, "(foreach j ?empty (assert (never)))"));
  EXPECT_EQ(1, Engine.GetFactCount());
  EXPECT_EQ("Not a list type.  Value (5) is a dtInteger type", ErrorOfCall(Engine, "(foreach k 5 1)"));
}

TEST(ControlFunctions, BindStoresTheValueUnderTheWrittenName) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(bind ?x (+ 1 2))"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(?x)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(__get-var x)"));
  EXPECT_EQ("nil", Eval(Engine, "(__get-var never)"));
  EXPECT_EQ("Corrupted Binding, variable not found: y", ErrorOfCall(Engine, "(?y)"));
  EXPECT_EQ("Too few arguments for bind", ErrorOfCall(Engine, "(bind ?x)"));
  EXPECT_EQ("Too many arguments for bind", ErrorOfCall(Engine, "(bind ?x 1 2)"));
  EXPECT_EQ("Too many arguments for __get-var", ErrorOfCall(Engine, "(?x 1 2)"));
  // A call that gives no value cannot be bound.
  EXPECT_EQ("Argument 2 of bind has no value", ErrorOfCall(Engine, "(bind ?x (clear-storage))"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(?x)"));
}

TEST(ControlFunctions, TryRunsFinallyAndCatchInOrder) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtString \"boom\"", Eval(Engine, "(try (throw \"boom\") catch ?__ERROR)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(try (throw \"boom\") finally 1)"));
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(try 1 finally 2)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(try 1 catch 2)"));
  // The body stops at the error, finally runs, then catch.
  EXPECT_EQ("dtAtom done",
            Eval(Engine, "(try (bind ?log a) (throw \"x\") (bind ?log never) finally (bind ?log b) catch "
                         "(bind ?log2 ?log) done)"));
  EXPECT_EQ("dtAtom b", Eval(Engine, "(?log2)"));
  // Errors of the engine are caught with their message.
  EXPECT_EQ("dtString \"Too few arguments for not\"", Eval(Engine, "(try (not) except ?__ERROR)"));
  // An error in finally during normal flow is caught, and finally isn't run again.
  EXPECT_EQ("dtString \"second\"", Eval(Engine, "(try 1 finally (throw \"second\") catch ?__ERROR)"));
  // A catch before finally is no catch section.
  EXPECT_EQ("Missing catch or finally statement for try block", ErrorOfCall(Engine, "(try 1 2)"));
  EXPECT_EQ("inner", ErrorOfCall(Engine, "(try (throw \"x\") catch (throw \"inner\"))"));
  // exit passes through, after finally.
  EXPECT_TRUE(Engine.GetGlobalContext()->GetVariable("log"));
  EXPECT_EQ("exit", ErrorOf<EAbort>([&] { Engine.ParseNExecuteFunCall("(try (exit) finally (bind ?log f) catch 1)"); }));
  EXPECT_EQ("dtAtom f", Eval(Engine, "(?log)"));
}

TEST(ControlFunctions, ReturnStopsTheSequencesItStandsIn) {
  TInferenceEngine Engine;
  TKBContext* Global = Engine.GetGlobalContext();
  // The raw argument is what the caller gets.
  EXPECT_EQ("dtVariable ?x", Eval(Engine, "(if TRUE then (return ?x) 2)"));
  EXPECT_TRUE(Global->GetReturning());
  Global->ClearReturnValue();
  EXPECT_EQ("dtAtom pop-focus", Eval(Engine, "(return)"));
  Global->ClearReturnValue();
  // finally runs its first expression only, since return is pending.
  EXPECT_EQ("dtInteger 7", Eval(Engine, "(try (return 7) (bind ?z never) finally (bind ?f 1) (bind ?f 2) catch 3)"));
  Global->ClearReturnValue();
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(?f)"));
  EXPECT_EQ("nil", Eval(Engine, "(__get-var z)"));
  SetVariable(Engine, "n", Int(0));
  EXPECT_EQ("dtInteger 9", Eval(Engine, "(while TRUE do (bind ?n (+ ?n 1)) (if (= ?n 3) then (return 9)))"));
  Global->ClearReturnValue();
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(?n)"));
}

TEST(ControlFunctions, HaltThrowAndExit) {
  TInferenceEngine Engine;
  EXPECT_FALSE(Engine.GetHalt());
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(halt)"));
  EXPECT_TRUE(Engine.GetHalt());
  EXPECT_EQ("Too many arguments for halt", ErrorOfCall(Engine, "(halt 1)"));
  EXPECT_EQ("boom", ErrorOf<Exception>([&] { Engine.ParseNExecuteFunCall("(throw boom)"); }));
  EXPECT_EQ("exit", ErrorOf<EAbort>([&] { Engine.ParseNExecuteFunCall("(exit)"); }));
}

}  // namespace cogent::test
