#include <gtest/gtest.h>

#include <string>

#include "../TestErrors.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

namespace cogent {
namespace {

using test::ErrorOf;

class InterpretedFunctionTest : public ::testing::Test {
protected:
  void Define(const std::string& Text) { Engine.Parse(Text, false); }
  std::string Run(const std::string& Call) {
    const IKBValue Result = Engine.ParseNExecuteFunCall(Call);
    return Result ? Result->ToString() : std::string("<none>");
  }
  Ref<TInterpretedFunction> Function(const std::string& Name) {
    const IUserFunction Found = Engine.GetUserFunction(Name);
    return Ref<TInterpretedFunction>(dynamic_cast<TInterpretedFunction*>(Found.get()));
  }

  TInferenceEngine Engine;
};

TEST_F(InterpretedFunctionTest, ParametersBindAndTheBodyRuns) {
  Define("(deffunction f \"first\" (?a $?b) \"second\" (bind ?c ?a) ?b)");
  const Ref<TInterpretedFunction> F = Function("f");
  ASSERT_TRUE(F);
  EXPECT_EQ(F->GetComment(), "second");
  EXPECT_EQ(F->GetArgumentCount(), 2);
  EXPECT_EQ(F->GetStatementCount(), 2);
  EXPECT_EQ(F->GetMinArgumentCount(), 2);
  EXPECT_EQ(F->GetMaxArgumentCount(), TKBUserFunction::NoArgumentLimit);
  EXPECT_EQ(Run("(f 1)"), "");
  EXPECT_EQ(Run("(f 1 2 (+ 1 2))"), "2 3 ");

  Define("(deffunction g (?a) ?a) (deffunction h ())");
  EXPECT_EQ(ErrorOf([&] { Run("(g)"); }), "Too few arguments for g");
  // Arguments beyond the parameters are not evaluated.
  EXPECT_EQ(Run("(g 1 (no-such-function))"), "1");
  EXPECT_EQ(Run("(h)"), "<none>");

  EXPECT_EQ(ErrorOf([&] { F->AddArgument("z", dtString); }),
            "Invalid argument type for deffunction: \"dtString\".  Expected Atom, Variable, MultiVariable");
  EXPECT_NE(ErrorOf([&] { Define("(deffunction bad (1))"); }).find("Expected \")\" in ParseFunction"), std::string::npos);
  EXPECT_FALSE(Engine.GetUserFunction("bad"));
}

TEST_F(InterpretedFunctionTest, ReturnEndsTheFunctionWithItsOwnValues) {
  Define(
      "(deffunction count-to (?n) (bind ?i 0)"
      "  (while TRUE do (bind ?i (+ ?i 1)) (if (>= ?i ?n) then (return ?i))))"
      "(deffunction early (?x) (return ?x) (bind ?never 1) 99)");
  EXPECT_EQ(Run("(count-to 5)"), "5");
  EXPECT_EQ(Run("(early 7)"), "7");
  EXPECT_FALSE(Engine.GetGlobalContext()->GetReturning());
  // The caller's variables are seen and changed through the chain; a
  // parameter of the same name hides the caller's.
  Define("(deffunction set-y () (bind ?y 2)) (deffunction hide (?y) (bind ?y 5) ?y)");
  std::unique_ptr<TKBContext> Caller = Engine.GetGlobalContext()->Push();
  Caller->AddLocalBinding("y", IKBValue(new TKBValue(1, dtInteger)));
  Engine.ParseFunCall("(set-y)")->Execute(Caller.get());
  EXPECT_EQ(Caller->GetVariable("y")->GetAsInteger(), 2);
  EXPECT_EQ(Engine.ParseFunCall("(hide 9)")->Execute(Caller.get())->GetAsInteger(), 5);
  EXPECT_EQ(Caller->GetVariable("y")->GetAsInteger(), 2);
  Caller->Pop();
}

TEST_F(InterpretedFunctionTest, RecursionRunsAndItsCycleEndsWithTheDefinition) {
  Define(
      "(deffunction fact (?n) (if (<= ?n 1) then 1 else (* ?n (fact (- ?n 1)))))"
      "(deffunction even (?n) (if (= ?n 0) then TRUE else (odd (- ?n 1))))"
      "(deffunction odd (?n) (if (= ?n 0) then FALSE else (even (- ?n 1))))"
      "(deffunction forever (?n) (forever (+ ?n 1)))");
  EXPECT_EQ(Run("(fact 10)"), "3628800");
  EXPECT_EQ(Run("(odd 7)"), "TRUE");
  EXPECT_NE(ErrorOf([&] { Run("(forever 0)"); }).find("the stack is nearly used up"), std::string::npos);

  // Once out of the engine, nothing holds the functions but the test.
  const Ref<TInterpretedFunction> Fact = Function("fact");
  const Ref<TInterpretedFunction> Even = Function("even");
  // A redefinition is found by calls that found the old one.
  Define("(deffunction fact (?n) 42)");
  EXPECT_EQ(Fact->GetRefCount(), 1);
  EXPECT_EQ(Run("(fact 3)"), "42");
  Engine.Clear();
  EXPECT_EQ(Even->GetRefCount(), 1);
}

TEST_F(InterpretedFunctionTest, PatternTestsPassTheirMatchedValues) {
  // In a pattern the arguments are references into the token under test.
  Define(
      "(deffunction even (?n) (= (mod ?n 2) 0))"
      "(defrule in-slot (n ?v&:(even ?v)) => )"
      "(defrule in-test (n ?v) (n ?w&~?v) (test (even (+ ?v ?w))) => )");
  Engine.Reset();
  Engine.Assert("(n 1)");
  Engine.Assert("(n 2)");
  Engine.Assert("(n 3)");
  // (n 2) alone, and the pairs 1 and 3 both ways round.
  EXPECT_EQ(Engine.Run(), 3);
}

}  // namespace
}  // namespace cogent
