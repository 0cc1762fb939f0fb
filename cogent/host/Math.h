#pragma once
// The host's mathematics library: floating-point results checked as the
// host's arithmetic reports them, and the finance operations (annuities,
// discounting, rates, depreciation). Every domain error is an exception of
// the EMathError family; no operation gives a NaN or an infinity.

#include <cstdint>
#include <string_view>
#include <vector>

#include "cogent/host/SysUtils.h"

namespace cogent {

// An argument outside the domain of an operation.
COGENT_DECLARE_EXCEPTION(EInvalidArgument, EMathError)

inline constexpr const char* SRateOutOfRange = "Invalid argument to %s: the rate must be greater than -1";
inline constexpr const char* SPeriodsOutOfRange = "Invalid argument to %s: the number of periods must be positive";
inline constexpr const char* SLifeOutOfRange = "Invalid argument to %s: the life must be positive";
inline constexpr const char* SPeriodOutOfRange = "Invalid argument to %s: the period %d lies outside 1 to %d";
inline constexpr const char* SNoPeriodCount = "Invalid argument to %s: no number of periods balances the cash flows";
inline constexpr const char* SNoConvergence = "Invalid argument to %s: the search for a rate does not converge";
inline constexpr const char* SNoCashFlows = "Invalid argument to %s: there are no cash flows";
inline constexpr const char* SInvalidPaymentTime = "'%s' is not a payment time";

// ---------------------------------------------------------------- checked arithmetic

// A result as the host's floating-point unit reports it: NaN is an invalid
// operation (EInvalidOp), an infinity an overflow (EOverflow).
double CheckFloat(double Value);
// Division that raises EZeroDivide for a zero divisor, EInvalidOp for 0 / 0.
double FloatDivide(double Dividend, double Divisor);
// Logarithms: EZeroDivide at 0, EInvalidOp below it.
double Ln(double Value);
double Log10(double Value);
// EInvalidOp below 0.
double Sqrt(double Value);

// ---------------------------------------------------------------- finance

// When the payments of an annuity fall: at the end of each period (an
// ordinary annuity) or at its start (an annuity due).
enum TPaymentTime : std::uint8_t { ptEndOfPeriod, ptStartOfPeriod };
inline constexpr const char* PaymentTimeNames[] = {"ptEndOfPeriod", "ptStartOfPeriod"};
// The payment time of that name, in any case; EConvertError for another.
TPaymentTime StrToPaymentTime(std::string_view Name);

// The annuity equation, with r the rate per period, n the number of periods,
// w 0 at the end and 1 at the start of the period, and the amounts signed by
// the direction of the cash (paid out negative, received positive):
//   PV * (1 + r)^n + PMT * (1 + r * w) * ((1 + r)^n - 1) / r + FV = 0,
// which for r = 0 reads PV + PMT * n + FV = 0. Each operation solves it for
// the one amount it is not given.
double FutureValue(double Rate, std::int32_t NPeriods, double Payment, double PresentValue, TPaymentTime PaymentTime);
double PresentValue(double Rate, std::int32_t NPeriods, double Payment, double FutureValue, TPaymentTime PaymentTime);
double Payment(double Rate, std::int32_t NPeriods, double PresentValue, double FutureValue, TPaymentTime PaymentTime);
double NumberOfPeriods(double Rate, double Payment, double PresentValue, double FutureValue, TPaymentTime PaymentTime);
// Searched from a rate of 10%.
double InterestRate(std::int32_t NPeriods, double Payment, double PresentValue, double FutureValue,
                    TPaymentTime PaymentTime);

// The payment of period Period (1 to NPeriods) split into its interest and
// its principal; the two add up to Payment of the same arguments.
double InterestPayment(double Rate, std::int32_t Period, std::int32_t NPeriods, double PresentValue,
                       double FutureValue, TPaymentTime PaymentTime);
double PeriodPayment(double Rate, std::int32_t Period, std::int32_t NPeriods, double PresentValue, double FutureValue,
                     TPaymentTime PaymentTime);

// The flows discounted to the start: flow i (from 0) by (1 + r)^(i + 1) at
// the end of the period, by (1 + r)^i at its start.
double NetPresentValue(double Rate, const std::vector<double>& CashFlows, TPaymentTime PaymentTime);
// The rate at which the net present value of the flows (at the end of the
// period) is 0, searched from Guess. The first flow is the investment.
double InternalRateOfReturn(double Guess, const std::vector<double>& CashFlows);

// Depreciation of an asset bought for Cost and worth Salvage after Life
// periods: straight line, sum of the years' digits for one period, and
// double-declining balance for one period (2 / Life of the book value at the
// start of the period, never below the salvage value).
double SLNDepreciation(double Cost, double Salvage, std::int32_t Life);
double SYDDepreciation(double Cost, double Salvage, std::int32_t Life, std::int32_t Period);
double DoubleDecliningBalance(double Cost, double Salvage, std::int32_t Life, std::int32_t Period);

}  // namespace cogent
