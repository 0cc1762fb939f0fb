#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {

namespace {

double Number(TInferenceEngine& Engine, const std::string& Call) {
  return Engine.ParseNExecuteFunCall(Call)->GetAsFloat();
}

}  // namespace

TEST(BusinessFunctions, AnnuitiesAndDepreciationGiveFloats) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtFloat -100.0000", Eval(Engine, "(payment 0 10 1000 0 ptEndOfPeriod)"));
  EXPECT_EQ("dtFloat 100.0000", Eval(Engine, "(sln-depreciation 1000 100 9)"));
  EXPECT_EQ("dtFloat 450.0000", Eval(Engine, "(syd-depreciation 1000 100 3 1)"));
  EXPECT_EQ("dtFloat 150.0000", Eval(Engine, "(syd-depreciation 1000 100 3 3)"));
  EXPECT_EQ("dtFloat 400.0000", Eval(Engine, "(double-declining-balance 1000 100 5 1)"));
  EXPECT_EQ("dtFloat -88.8488", Eval(Engine, "(payment 0.01 12 1000 0 ptEndOfPeriod)"));
  EXPECT_EQ("dtFloat -87.9691", Eval(Engine, "(payment 0.01 12 1000 0 ptStartOfPeriod)"));
  EXPECT_NEAR(Number(Engine, "(payment 0.01 12 1000 0 ptEndOfPeriod)"),
              Number(Engine, "(+ (interest-payment 0.01 5 12 1000 0 ptEndOfPeriod) "
                             "(period-payment 0.01 5 12 1000 0 ptEndOfPeriod))"),
              1e-9);
  EXPECT_NEAR(1000, Number(Engine, "(present-value 0.01 12 (payment 0.01 12 1000 0 ptEndOfPeriod) 0 ptEndOfPeriod)"),
              1e-9);
  EXPECT_NEAR(0, Number(Engine, "(future-value 0.01 12 (payment 0.01 12 1000 0 ptEndOfPeriod) 1000 ptEndOfPeriod)"),
              1e-9);
  EXPECT_NEAR(12, Number(Engine, "(number-of-periods 0.01 (payment 0.01 12 1000 0 ptEndOfPeriod) 1000 0 ptEndOfPeriod)"),
              1e-9);
  EXPECT_NEAR(0.01, Number(Engine, "(interest-rate 12 (payment 0.01 12 1000 0 ptEndOfPeriod) 1000 0 ptEndOfPeriod)"),
              1e-12);
  // Numbers in text are read as numbers, and an integer argument truncates.
  EXPECT_EQ("dtFloat 100.0000", Eval(Engine, "(sln-depreciation \"1000\" 100 9.7)"));
}

TEST(BusinessFunctions, CashFlowsComeAsListsOfNumbers) {
  TInferenceEngine Engine;
  SetVariable(Engine, "flows", List({Int(-100), Str("110")}));
  SetVariable(Engine, "later", List({Int(110)}));
  SetVariable(Engine, "unresolved", List({Var("flows")}));
  EXPECT_NEAR(0.1, Number(Engine, "(internal-rate-of-return 0.1 ?flows)"), 1e-12);
  EXPECT_EQ("dtFloat 100.0000", Eval(Engine, "(net-present-value 0.1 ?later ptEndOfPeriod)"));
  EXPECT_EQ("dtFloat 110.0000", Eval(Engine, "(net-present-value 0.1 ?later ptStartOfPeriod)"));
  // The items of the list are taken as they stand, not resolved.
  EXPECT_EQ("Not a numeric type.  Value (?flows) is a dtVariable type",
            ErrorOfCall(Engine, "(net-present-value 0.1 ?unresolved ptEndOfPeriod)"));
  EXPECT_EQ("Not a list type.  Value (110) is a dtInteger type",
            ErrorOfCall(Engine, "(internal-rate-of-return 0.1 110)"));
}

TEST(BusinessFunctions, PaymentTimeIsReadFirstAndErrorsReachTheCaller) {
  TInferenceEngine Engine;
  // The payment time is read before the rate, which would fail too.
  EXPECT_EQ("'soon' is not a payment time", ErrorOfCall(Engine, "(payment bad 10 1000 0 soon)"));
  EXPECT_EQ("Not a numeric type.  Value (bad) is a dtAtom type",
            ErrorOfCall(Engine, "(payment bad 10 1000 0 ptendofperiod)"));
  EXPECT_EQ("Too few arguments for payment", ErrorOfCall(Engine, "(payment 0.01 12 1000 0)"));
  EXPECT_EQ("Too many arguments for internal-rate-of-return", ErrorOfCall(Engine, "(internal-rate-of-return 0.1 1 2)"));
  EXPECT_EQ("Invalid argument to Payment: the rate must be greater than -1",
            ErrorOfCall(Engine, "(payment -1 12 1000 0 ptEndOfPeriod)"));
  EXPECT_EQ("Invalid argument to SYDDepreciation: the period 4 lies outside 1 to 3",
            ErrorOfCall(Engine, "(syd-depreciation 1000 100 3 4)"));
  EXPECT_EQ("dtString \"Invalid argument to SLNDepreciation: the life must be positive\"",
            Eval(Engine, "(try (sln-depreciation 1000 100 0) catch ?__ERROR)"));
}

}  // namespace cogent::test
