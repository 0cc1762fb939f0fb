#include "cogent/host/Math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "../TestErrors.h"

using namespace cogent;

using cogent::test::ErrorOf;

TEST(MathTest, CheckedArithmeticRaisesTheHostErrors) {
  EXPECT_EQ("Floating point division by zero", ErrorOf([] { FloatDivide(1, 0); }));
  EXPECT_EQ("Invalid floating point operation", ErrorOf([] { FloatDivide(0, -0.0); }));
  EXPECT_EQ("Floating point division by zero", ErrorOf([] { Ln(0); }));
  EXPECT_EQ("Invalid floating point operation", ErrorOf([] { Log10(-1); }));
  EXPECT_EQ("Invalid floating point operation", ErrorOf([] { Sqrt(-1e-300); }));
  EXPECT_EQ("Floating point overflow", ErrorOf([] { CheckFloat(1e308 * 10); }));
  EXPECT_EQ(0.0, Sqrt(-0.0));
  EXPECT_EQ(ptStartOfPeriod, StrToPaymentTime("PTSTARTOFPERIOD"));
  EXPECT_EQ("'later' is not a payment time", ErrorOf<EConvertError>([] { StrToPaymentTime("later"); }));
}

// Each operation solves the one annuity equation, so each undoes the others,
// for both payment times and for a rate of 0.
TEST(MathTest, AnnuityOperationsSolveOneEquation) {
  for (const TPaymentTime When : {ptEndOfPeriod, ptStartOfPeriod})
    for (const double Rate : {0.0, 0.005, 0.07, -0.02}) {
      SCOPED_TRACE(Rate);
      const std::int32_t N = 24;
      const double PV = 5000, FV = -1200;
      const double PMT = Payment(Rate, N, PV, FV, When);
      EXPECT_NEAR(FV, FutureValue(Rate, N, PMT, PV, When), 1e-8);
      EXPECT_NEAR(PV, PresentValue(Rate, N, PMT, FV, When), 1e-8);
      EXPECT_NEAR(N, NumberOfPeriods(Rate, PMT, PV, FV, When), 1e-9);
      if (Rate > 0) {
        EXPECT_NEAR(Rate, InterestRate(N, PMT, PV, FV, When), 1e-10);
      }
      // Interest and principal add up to the payment, and the principal
      // pays off the loan.
      const double Loan = Payment(Rate, N, PV, 0, When);
      double Principal = 0;
      for (std::int32_t K = 1; K <= N; ++K) {
        const double Interest = InterestPayment(Rate, K, N, PV, 0, When);
        const double Part = PeriodPayment(Rate, K, N, PV, 0, When);
        EXPECT_NEAR(Loan, Interest + Part, 1e-9);
        Principal += Part;
      }
      EXPECT_NEAR(-PV, Principal, 1e-8);
    }
  EXPECT_DOUBLE_EQ(-100, Payment(0, 10, 1000, 0, ptEndOfPeriod));
  EXPECT_NEAR(-10, InterestPayment(0.01, 1, 12, 1000, 0, ptEndOfPeriod), 1e-12);
  // A payment at the start of the first period settles no interest.
  EXPECT_EQ(0, InterestPayment(0.01, 1, 12, 1000, 0, ptStartOfPeriod));
}

TEST(MathTest, CashFlowsDiscountedAndTheirRateOfReturn) {
  EXPECT_NEAR(100, NetPresentValue(0.1, {110}, ptEndOfPeriod), 1e-12);
  EXPECT_NEAR(110, NetPresentValue(0.1, {110}, ptStartOfPeriod), 1e-12);
  EXPECT_NEAR(-100 / 1.1 + 121 / 1.21, NetPresentValue(0.1, {-100, 121}, ptEndOfPeriod), 1e-12);
  EXPECT_EQ(0, NetPresentValue(0.1, {}, ptEndOfPeriod));
  EXPECT_NEAR(0.1, InternalRateOfReturn(0.1, {-100, 110}), 1e-12);
  EXPECT_NEAR(0.1, InternalRateOfReturn(0.9, {-100, 110}), 1e-12);
  const std::vector<double> Flows{-1000, 300, 400, 500};
  const double Rate = InternalRateOfReturn(0, Flows);
  EXPECT_NEAR(0, NetPresentValue(Rate, Flows, ptEndOfPeriod), 1e-9);
  EXPECT_EQ("Invalid argument to InternalRateOfReturn: the search for a rate does not converge",
            ErrorOf([] { InternalRateOfReturn(0.1, {100, 110}); }));
  EXPECT_EQ("Invalid argument to InternalRateOfReturn: there are no cash flows",
            ErrorOf([] { InternalRateOfReturn(0.1, {}); }));
  EXPECT_EQ("Invalid argument to NetPresentValue: the rate must be greater than -1",
            ErrorOf([] { NetPresentValue(-1, {1}, ptEndOfPeriod); }));
  EXPECT_EQ("Invalid argument to InterestRate: the search for a rate does not converge",
            ErrorOf([] { InterestRate(10, 100, 1000, 0, ptEndOfPeriod); }));
  EXPECT_EQ("Invalid argument to NumberOfPeriods: no number of periods balances the cash flows",
            ErrorOf([] { NumberOfPeriods(0.1, 100, -1000, 0, ptEndOfPeriod); }));
  EXPECT_EQ("Invalid argument to Payment: the number of periods must be positive",
            ErrorOf([] { Payment(0.1, 0, 1000, 0, ptEndOfPeriod); }));
  EXPECT_EQ("Invalid argument to InterestPayment: the period 13 lies outside 1 to 12",
            ErrorOf([] { InterestPayment(0.1, 13, 12, 1000, 0, ptEndOfPeriod); }));
}

TEST(MathTest, DepreciationOverTheLife) {
  EXPECT_DOUBLE_EQ(100, SLNDepreciation(1000, 100, 9));
  EXPECT_DOUBLE_EQ(450, SYDDepreciation(1000, 100, 3, 1));
  EXPECT_DOUBLE_EQ(150, SYDDepreciation(1000, 100, 3, 3));
  // Each method writes the asset down to its salvage value over the life;
  // the declining balance stops there.
  for (const std::int32_t Life : {1, 2, 3, 5, 10}) {
    double Syd = 0, Ddb = 0;
    for (std::int32_t Period = 1; Period <= Life; ++Period) {
      Syd += SYDDepreciation(1000, 100, Life, Period);
      Ddb += DoubleDecliningBalance(1000, 100, Life, Period);
    }
    EXPECT_NEAR(900, Syd, 1e-9);
    EXPECT_LE(Ddb, 900 + 1e-9);
  }
  EXPECT_DOUBLE_EQ(400, DoubleDecliningBalance(1000, 100, 5, 1));
  EXPECT_DOUBLE_EQ(240, DoubleDecliningBalance(1000, 100, 5, 2));
  EXPECT_NEAR(29.6, DoubleDecliningBalance(1000, 100, 5, 5), 1e-9);
  EXPECT_DOUBLE_EQ(0, DoubleDecliningBalance(1000, 900, 4, 3));
  // The longest life is had at once, with no sum that overflows.
  EXPECT_GT(SYDDepreciation(1e9, 0, INT32_MAX, INT32_MAX), 0);
  EXPECT_GE(DoubleDecliningBalance(1e9, 0, INT32_MAX, INT32_MAX), 0);
  EXPECT_EQ("Invalid argument to SLNDepreciation: the life must be positive",
            ErrorOf([] { SLNDepreciation(1000, 100, 0); }));
  EXPECT_EQ("Invalid argument to SYDDepreciation: the period 0 lies outside 1 to 3",
            ErrorOf([] { SYDDepreciation(1000, 100, 3, 0); }));
  EXPECT_EQ("Invalid argument to DoubleDecliningBalance: the period -2147483648 lies outside 1 to 3",
            ErrorOf([] { DoubleDecliningBalance(1000, 100, 3, INT32_MIN); }));
}
