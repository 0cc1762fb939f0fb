#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"
#include "cogent/functions/MathPackage.h"

namespace cogent::test {

TEST(MathFunctions, SumsAndProductsTakeTheirKindFromTheArguments) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(+)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(*)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(+ 1 2)"));
  EXPECT_EQ("dtFloat 3.0000", Eval(Engine, "(+ 1 2.0)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(+ \"1\" 2)"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(* 2 0.5)"));
  EXPECT_EQ("dtFloat 4.5000", Eval(Engine, "(- 5.5 1)"));
  EXPECT_EQ("dtFloat 5.5000", Eval(Engine, "(- 5.5)"));
  EXPECT_EQ("dtInteger 5", Eval(Engine, "(- 5)"));
  EXPECT_EQ("dtFloat 0.5000", Eval(Engine, "(- 1 0.5)"));
  EXPECT_EQ("dtInteger -4", Eval(Engine, "(- 1 2 3)"));
  // Whole results wrap to 32 bits.
  EXPECT_EQ("dtInteger -2147483648", Eval(Engine, "(+ 2147483647 1)"));
  EXPECT_EQ("dtInteger -2147483647", Eval(Engine, "(- -2147483648 2147483647 2147483647 1)"));
  // Integers summed past 32 bits carry their whole sum into a float.
  EXPECT_EQ("dtFloat 6442450941.5000", Eval(Engine, "(+ 2147483647 2147483647 2147483647 0.5)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(* 65536 65536)"));
  EXPECT_EQ("Too few arguments for -", ErrorOfCall(Engine, "(-)"));
  EXPECT_EQ("Not a numeric type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(+ 1 a)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(* 1.0e300 1.0e300)"));
}

namespace {

// A host's own + that does its work differently.
class TDoublingPlus : public TPlusFunction {
protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override {
    TPlusFunction::Call(FunCall, Context, Result);
    Result = NewInteger(2 * Result->GetAsInteger());
  }
};

}  // namespace

TEST(MathFunctions, AClassDerivedFromABuiltInKeepsItsOwnCall) {
  const IFunCall Call(new TFunctionCall("+"));
  Call->AddArgument(1, dtInteger);
  Call->AddArgument(2, dtInteger);
  Call->SetUserFunction(TKBUserFunction::Create<TPlusFunction>());
  EXPECT_EQ(3, Call->Execute(nullptr)->GetAsInteger());
  Call->SetUserFunction(TKBUserFunction::Create<TDoublingPlus>());
  EXPECT_EQ(6, Call->Execute(nullptr)->GetAsInteger());
}

TEST(MathFunctions, DivisionAndRemainders) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat 0.2500", Eval(Engine, "(/ 1 4)"));
  EXPECT_EQ("dtFloat 2.0000", Eval(Engine, "(/ 4 2)"));
  EXPECT_EQ("dtFloat 4.0000", Eval(Engine, "(/ 4)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(div 1 4)"));
  EXPECT_EQ("dtInteger -3", Eval(Engine, "(div -7 2)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(div 7.9 2.9)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(div 20 3 2)"));
  EXPECT_EQ("dtInteger -1", Eval(Engine, "(mod -7 2)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(mod 7 -2)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(mod -2147483648 -1)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(/ 1 0)"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(/ 0 0.0)"));
  EXPECT_EQ("Division by zero", ErrorOfCall(Engine, "(div 1 0)"));
  EXPECT_EQ("Division by zero", ErrorOfCall(Engine, "(mod 1 0)"));
  EXPECT_EQ("Integer overflow", ErrorOfCall(Engine, "(div -2147483648 -1)"));
  // The errors are ordinary: try catches them.
  EXPECT_EQ("dtString \"Division by zero\"", Eval(Engine, "(try (div 1 0) catch ?__ERROR)"));
}

TEST(MathFunctions, MaxMinAndSingleArgumentFunctions) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(max 1 2)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(min 1 2)"));
  EXPECT_EQ("dtFloat 1.5000", Eval(Engine, "(min 2 1.5)"));
  // Only an argument that became the best makes the result a float.
  EXPECT_EQ("dtFloat 3.0000", Eval(Engine, "(max 1.5 3)"));
  EXPECT_EQ("dtInteger 5", Eval(Engine, "(max 5 1.5)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(abs -3)"));
  EXPECT_EQ("dtFloat 2.5000", Eval(Engine, "(abs -2.5)"));
  EXPECT_EQ("Expected numeric argument to abs function call", ErrorOfCall(Engine, "(abs \"3\")"));
  EXPECT_EQ("dtFloat 2.0000", Eval(Engine, "(round 2.5)"));
  EXPECT_EQ("dtFloat 4.0000", Eval(Engine, "(round 3.5)"));
  EXPECT_EQ("dtFloat -2.0000", Eval(Engine, "(round -2.5)"));
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(integer 3.9)"));
  EXPECT_EQ("dtInteger -3", Eval(Engine, "(integer -3.9)"));
  EXPECT_EQ("dtFloat 3.0000", Eval(Engine, "(float 3)"));
  EXPECT_EQ("dtFloat 8.0000", Eval(Engine, "(** 2 3)"));
  EXPECT_EQ("dtFloat 3.0000", Eval(Engine, "(sqrt 9)"));
  EXPECT_EQ("dtFloat 2.0000", Eval(Engine, "(log10 100)"));
  EXPECT_EQ("dtFloat 1.0000", Eval(Engine, "(log (exp 1))"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(sqrt -1)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(log 0)"));
  EXPECT_EQ(FCPI, Engine.ParseNExecuteFunCall("(PI)"));
}

TEST(MathFunctions, RandomNumbersRepeatForASeed) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(seed 42)"));
  std::vector<std::string> First;
  for (int I = 0; I < 20; ++I) First.push_back(Eval(Engine, "(random 5 10)"));
  Eval(Engine, "(randomize 42)");
  for (int I = 0; I < 20; ++I) EXPECT_EQ(First[static_cast<std::size_t>(I)], Eval(Engine, "(random 5 10)"));
  for (int I = 0; I < 50; ++I) {
    // The high argument is a span: 5 to 14.
    const std::int32_t Value = Engine.ParseNExecuteFunCall("(random 5 10)")->GetAsInteger();
    EXPECT_GE(Value, 5);
    EXPECT_LE(Value, 14);
    const std::int32_t Below = Engine.ParseNExecuteFunCall("(random 3)")->GetAsInteger();
    EXPECT_GE(Below, 0);
    EXPECT_LE(Below, 2);
  }
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(random 0)"));
  EXPECT_EQ("dtInteger 2147483647", Eval(Engine, "(random 2147483647 1)"));
  EXPECT_EQ("Too many arguments for random", ErrorOfCall(Engine, "(random 1 2 3)"));
}

TEST(MathFunctions, WholeNumbersAtTheEdgesOf32Bits) {
  TInferenceEngine Engine;
  // Sums and products are taken in double and wrap only when stored.
  EXPECT_EQ("dtInteger 2147483647", Eval(Engine, "(- -2147483648 1)"));
  EXPECT_EQ("dtInteger -2147483648", Eval(Engine, "(* -1 -2147483648)"));
  EXPECT_EQ("dtInteger -2", Eval(Engine, "(* 2147483647 2)"));
  EXPECT_EQ("dtInteger 2147483647", Eval(Engine, "(- (+ 2147483647 1) 1)"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(+ 2147483647 2147483647 2147483647 2147483647 5)"));
  EXPECT_EQ("dtFloat 2147483648.0000", Eval(Engine, "(+ 2147483647 1.0)"));
  EXPECT_EQ("dtInteger -2147483648", Eval(Engine, "(max -2147483648 -2147483648.5)"));
  EXPECT_EQ("dtInteger 2147483647", Eval(Engine, "(div 2147483647 1)"));
  EXPECT_EQ("dtInteger -2147483648", Eval(Engine, "(div -2147483648 1)"));
  EXPECT_EQ("dtInteger -1", Eval(Engine, "(mod -2147483647 2)"));
  EXPECT_EQ("dtInteger -2147483648", Eval(Engine, "(integer -2147483648.9)"));
  EXPECT_EQ("Integer overflow", ErrorOfCall(Engine, "(abs -2147483648)"));
  EXPECT_EQ("dtInteger 2147483647", Eval(Engine, "(abs -2147483647)"));
  // What a whole number cannot hold is no integer reading.
  EXPECT_EQ("Not a integer type.  Value (2147483648.0000) is a dtFloat type",
            ErrorOfCall(Engine, "(integer 2147483648.0)"));
  // A literal too long for 32 bits is read as a float.
  EXPECT_EQ("Not a integer type.  Value (3000000000.0000) is a dtFloat type",
            ErrorOfCall(Engine, "(div 3000000000 2)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(+ 1.0e308 1.0e308)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(** 10 400)"));
  EXPECT_EQ("Floating point overflow", ErrorOfCall(Engine, "(exp 1000)"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(** -8 0.5)"));
  EXPECT_EQ("Invalid floating point operation", ErrorOfCall(Engine, "(log -1)"));
  EXPECT_EQ("Floating point division by zero", ErrorOfCall(Engine, "(log10 0)"));
  EXPECT_EQ("dtFloat -3.0000", Eval(Engine, "(round -3.4)"));
  EXPECT_EQ("dtFloat -4.0000", Eval(Engine, "(round -3.5)"));
  EXPECT_EQ("dtFloat 0.0000", Eval(Engine, "(round 0.5)"));
  EXPECT_EQ("dtFloat 3.0000", Eval(Engine, "(round \"2.7\")"));
}

}  // namespace cogent::test
