#include "cogent/host/Math.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace cogent {

// ================================================================ checked arithmetic

double CheckFloat(double Value) {
  if (std::isnan(Value)) throw EInvalidOp(SInvalidOp);
  if (std::isinf(Value)) throw EOverflow(SOverflow);
  return Value;
}

double FloatDivide(double Dividend, double Divisor) {
  if (Divisor == 0) {
    if (Dividend == 0 || std::isnan(Dividend)) throw EInvalidOp(SInvalidOp);
    throw EZeroDivide(SZeroDivide);
  }
  return CheckFloat(Dividend / Divisor);
}

double Ln(double Value) {
  if (Value == 0) throw EZeroDivide(SZeroDivide);
  return CheckFloat(std::log(Value));
}

double Log10(double Value) {
  if (Value == 0) throw EZeroDivide(SZeroDivide);
  return CheckFloat(std::log10(Value));
}

double Sqrt(double Value) { return CheckFloat(std::sqrt(Value)); }

// ================================================================ finance

namespace {

void CheckRate(double Rate, const char* Operation) {
  if (!(Rate > -1)) throw EInvalidArgument(Format(SRateOutOfRange, Operation));
}

void CheckPeriods(std::int32_t NPeriods, const char* Operation) {
  if (NPeriods < 1) throw EInvalidArgument(Format(SPeriodsOutOfRange, Operation));
}

void CheckLife(std::int32_t Life, const char* Operation) {
  if (Life < 1) throw EInvalidArgument(Format(SLifeOutOfRange, Operation));
}

void CheckPeriod(std::int32_t Period, std::int32_t Last, const char* Operation) {
  if (Period < 1 || Period > Last) throw EInvalidArgument(Format(SPeriodOutOfRange, Operation, Period, Last));
}

double Weight(TPaymentTime PaymentTime) { return PaymentTime == ptStartOfPeriod ? 1.0 : 0.0; }

// (1 + r)^n, and ((1 + r)^n - 1) / r, which is n for r = 0; through log1p
// and expm1 so that small rates keep their digits.
double Growth(double Rate, double N) { return std::exp(N * std::log1p(Rate)); }

double AnnuityFactor(double Rate, double N) {
  if (Rate == 0) return N;
  return std::expm1(N * std::log1p(Rate)) / Rate;
}

// What is still owed after N periods of a loan of PresentValue paid off by
// Payment each period, signed as PresentValue.
double Balance(double Rate, double N, double Payment, double PresentValue, TPaymentTime PaymentTime) {
  return PresentValue * Growth(Rate, N) + Payment * (1 + Rate * Weight(PaymentTime)) * AnnuityFactor(Rate, N);
}

// Newton's method on F from Guess, the slope taken numerically, the steps
// held above a rate of -1.
template <class Function>
double SolveRate(Function&& F, double Guess, const char* Operation) {
  constexpr int MaxIterations = 100;
  double Rate = Guess;
  for (int I = 0; I < MaxIterations; ++I) {
    const double Value = F(Rate);
    if (!std::isfinite(Value)) break;
    if (Value == 0) return Rate;
    const double H = std::min(1e-7 * (1 + std::fabs(Rate)), (Rate + 1) / 2);
    const double Slope = (F(Rate + H) - F(Rate - H)) / (2 * H);
    if (!std::isfinite(Slope) || Slope == 0) break;
    double Step = Value / Slope;
    if (std::fabs(Step) <= 1e-12 * std::max(1.0, std::fabs(Rate))) return CheckFloat(Rate - Step);
    // A step held back is no sign of convergence: a rate that runs toward
    // -1 has no root to find there.
    for (int Halvings = 0; !(Rate - Step > -1) && Halvings < 60; ++Halvings) Step /= 2;
    if (!(Rate - Step > -1)) break;
    Rate -= Step;
  }
  throw EInvalidArgument(Format(SNoConvergence, Operation));
}

// The flows discounted to one period before the first: sum of C[i] / (1 + r)^(i + 1).
double Discounted(double Rate, const std::vector<double>& CashFlows) {
  const double Factor = 1 / (1 + Rate);
  double Sum = 0;
  for (auto Flow = CashFlows.rbegin(); Flow != CashFlows.rend(); ++Flow) Sum = (Sum + *Flow) * Factor;
  return Sum;
}

}  // namespace

TPaymentTime StrToPaymentTime(std::string_view Name) {
  for (std::size_t I = 0; I < std::size(PaymentTimeNames); ++I)
    if (SameText(Name, PaymentTimeNames[I])) return static_cast<TPaymentTime>(I);
  throw EConvertError(Format(SInvalidPaymentTime, std::string(Name)));
}

double FutureValue(double Rate, std::int32_t NPeriods, double Payment, double PresentValue, TPaymentTime PaymentTime) {
  CheckRate(Rate, "FutureValue");
  return CheckFloat(-Balance(Rate, NPeriods, Payment, PresentValue, PaymentTime));
}

double PresentValue(double Rate, std::int32_t NPeriods, double Payment, double FutureValue, TPaymentTime PaymentTime) {
  CheckRate(Rate, "PresentValue");
  // Discounted by (1 + r)^-n rather than divided by (1 + r)^n, so that a
  // long annuity gives its finite value and not infinity over infinity.
  const double Paid = Payment * (1 + Rate * Weight(PaymentTime)) * -AnnuityFactor(Rate, -static_cast<double>(NPeriods));
  return CheckFloat(-(FutureValue * Growth(Rate, -static_cast<double>(NPeriods)) + Paid));
}

double Payment(double Rate, std::int32_t NPeriods, double PresentValue, double FutureValue, TPaymentTime PaymentTime) {
  CheckRate(Rate, "Payment");
  CheckPeriods(NPeriods, "Payment");
  const double Owed = PresentValue * Growth(Rate, NPeriods) + FutureValue;
  return FloatDivide(-Owed, (1 + Rate * Weight(PaymentTime)) * AnnuityFactor(Rate, NPeriods));
}

double NumberOfPeriods(double Rate, double Payment, double PresentValue, double FutureValue, TPaymentTime PaymentTime) {
  CheckRate(Rate, "NumberOfPeriods");
  if (Rate == 0) {
    if (Payment == 0) throw EInvalidArgument(Format(SNoPeriodCount, "NumberOfPeriods"));
    return CheckFloat(-(PresentValue + FutureValue) / Payment);
  }
  // With C = PMT * (1 + r * w) / r the equation reads
  // (1 + r)^n * (PV + C) = C - FV.
  const double C = Payment * (1 + Rate * Weight(PaymentTime)) / Rate;
  const double Ratio = (C - FutureValue) / (PresentValue + C);
  if (!(Ratio > 0) || !std::isfinite(Ratio)) throw EInvalidArgument(Format(SNoPeriodCount, "NumberOfPeriods"));
  return CheckFloat(std::log(Ratio) / std::log1p(Rate));
}

double InterestRate(std::int32_t NPeriods, double Payment, double PresentValue, double FutureValue,
                    TPaymentTime PaymentTime) {
  CheckPeriods(NPeriods, "InterestRate");
  return SolveRate(
      [&](double Rate) { return Balance(Rate, NPeriods, Payment, PresentValue, PaymentTime) + FutureValue; }, 0.1,
      "InterestRate");
}

double InterestPayment(double Rate, std::int32_t Period, std::int32_t NPeriods, double PresentValue,
                       double FutureValue, TPaymentTime PaymentTime) {
  CheckRate(Rate, "InterestPayment");
  CheckPeriods(NPeriods, "InterestPayment");
  CheckPeriod(Period, NPeriods, "InterestPayment");
  const double Paid = cogent::Payment(Rate, NPeriods, PresentValue, FutureValue, PaymentTime);
  // At the end of a period its interest is that of the balance at its start.
  // At the start, a payment settles the interest of the period before it,
  // on the balance left after that period's own payment; the first settles
  // none.
  if (PaymentTime == ptEndOfPeriod) return CheckFloat(-Balance(Rate, Period - 1, Paid, PresentValue, PaymentTime) * Rate);
  if (Period == 1) return 0;
  return CheckFloat(-(Balance(Rate, Period - 2, Paid, PresentValue, PaymentTime) + Paid) * Rate);
}

double PeriodPayment(double Rate, std::int32_t Period, std::int32_t NPeriods, double PresentValue, double FutureValue,
                     TPaymentTime PaymentTime) {
  const double Interest = InterestPayment(Rate, Period, NPeriods, PresentValue, FutureValue, PaymentTime);
  return CheckFloat(cogent::Payment(Rate, NPeriods, PresentValue, FutureValue, PaymentTime) - Interest);
}

double NetPresentValue(double Rate, const std::vector<double>& CashFlows, TPaymentTime PaymentTime) {
  CheckRate(Rate, "NetPresentValue");
  const double Sum = Discounted(Rate, CashFlows);
  return CheckFloat(PaymentTime == ptStartOfPeriod ? Sum * (1 + Rate) : Sum);
}

double InternalRateOfReturn(double Guess, const std::vector<double>& CashFlows) {
  CheckRate(Guess, "InternalRateOfReturn");
  if (CashFlows.empty()) throw EInvalidArgument(Format(SNoCashFlows, "InternalRateOfReturn"));
  return SolveRate([&](double Rate) { return Discounted(Rate, CashFlows); }, Guess, "InternalRateOfReturn");
}

double SLNDepreciation(double Cost, double Salvage, std::int32_t Life) {
  CheckLife(Life, "SLNDepreciation");
  return CheckFloat((Cost - Salvage) / Life);
}

double SYDDepreciation(double Cost, double Salvage, std::int32_t Life, std::int32_t Period) {
  CheckLife(Life, "SYDDepreciation");
  CheckPeriod(Period, Life, "SYDDepreciation");
  // In double: the sum of the digits of a long life does not fit 32 bits.
  const double Digits = static_cast<double>(Life) * (static_cast<double>(Life) + 1) / 2;
  return CheckFloat((Cost - Salvage) * ((static_cast<double>(Life) - Period + 1) / Digits));
}

double DoubleDecliningBalance(double Cost, double Salvage, std::int32_t Life, std::int32_t Period) {
  CheckLife(Life, "DoubleDecliningBalance");
  CheckPeriod(Period, Life, "DoubleDecliningBalance");
  // Until it reaches the salvage value the book value shrinks by the same
  // factor each period; from then on it stays there. So the value at the
  // start of the period is had at once, however long the life.
  const double Rate = 2.0 / Life;
  const double Book = std::max(Cost * std::pow(1 - Rate, Period - 1), std::min(Cost, Salvage));
  return CheckFloat(std::min(Book * Rate, std::max(Book - Salvage, 0.0)));
}

}  // namespace cogent
