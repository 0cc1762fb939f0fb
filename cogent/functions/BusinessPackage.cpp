#include "cogent/functions/BusinessPackage.h"

#include <vector>

#include "cogent/host/Math.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TBusinessPackage, TUserPackage>();
  RegisterClass<TDoubleDecliningBalanceFunction, TKBUserFunction>();
  RegisterClass<TFutureValueFunction, TKBUserFunction>();
  RegisterClass<TInterestPaymentFunction, TKBUserFunction>();
  RegisterClass<TInterestRateFunction, TKBUserFunction>();
  RegisterClass<TInternalRateOfReturnFunction, TKBUserFunction>();
  RegisterClass<TNetPresentValueFunction, TKBUserFunction>();
  RegisterClass<TNumberOfPeriodsFunction, TKBUserFunction>();
  RegisterClass<TPaymentFunction, TKBUserFunction>();
  RegisterClass<TPeriodPaymentFunction, TKBUserFunction>();
  RegisterClass<TPresentValueFunction, TKBUserFunction>();
  RegisterClass<TSLNDepreciationFunction, TKBUserFunction>();
  RegisterClass<TSYDDepreciationFunction, TKBUserFunction>();
  return true;
}();

// The last argument, the payment time, is read before all others.
TPaymentTime PaymentTimeOf(const IFunCall& FunCall, TKBContext* Context) {
  return StrToPaymentTime(TextOf(FunCall, FunCall->GetArgumentCount() - 1, Context));
}

// The cash flows of a list, each item read as it stands, unresolved.
std::vector<double> CashFlows(const IFunCall& FunCall, int Index, TKBContext* Context) {
  const IValueVector List = Evaluate(FunCall, Index, Context)->GetAsList();
  std::vector<double> Flows;
  const int Count = List ? List->GetCount() : 0;
  Flows.reserve(static_cast<std::size_t>(Count));
  for (int I = 0; I < Count; ++I) {
    const IKBValue Item = List->Get(I);
    Flows.push_back((Item ? Item : IKBValue(new TKBValue()))->GetAsFloat());
  }
  return Flows;
}

constexpr const char* PaymentTimeSyntax = " ptEndOfPeriod|ptStartOfPeriod";

}  // namespace

// ---------------------------------------------------------------- the package

TBusinessPackage::TBusinessPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TBusinessPackage::~TBusinessPackage() { Destroying(); }

void TBusinessPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TDoubleDecliningBalanceFunction>();
  AddFunction<TFutureValueFunction>();
  AddFunction<TInterestPaymentFunction>();
  AddFunction<TInterestRateFunction>();
  AddFunction<TInternalRateOfReturnFunction>();
  AddFunction<TNetPresentValueFunction>();
  AddFunction<TNumberOfPeriodsFunction>();
  AddFunction<TPaymentFunction>();
  AddFunction<TPeriodPaymentFunction>();
  AddFunction<TPresentValueFunction>();
  AddFunction<TSLNDepreciationFunction>();
  AddFunction<TSYDDepreciationFunction>();
}

// ---------------------------------------------------------------- depreciation

void TDoubleDecliningBalanceFunction::InitMetaData() {
  Describe("double-declining-balance",
           "Returns the depreciation of one period under the double-declining balance method",
           " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression> "
           "<period-integer-expression>",
           4, 4);
}

void TDoubleDecliningBalanceFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double Cost = NumberOf(FunCall, 0, Context);
  const double Salvage = NumberOf(FunCall, 1, Context);
  const std::int32_t Life = IntegerOf(FunCall, 2, Context);
  const std::int32_t Period = IntegerOf(FunCall, 3, Context);
  Result = NewFloat(DoubleDecliningBalance(Cost, Salvage, Life, Period));
}

void TSLNDepreciationFunction::InitMetaData() {
  Describe("sln-depreciation", "Returns the straight-line depreciation of one period: (cost - salvage) / life",
           " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression>", 3, 3);
}

void TSLNDepreciationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double Cost = NumberOf(FunCall, 0, Context);
  const double Salvage = NumberOf(FunCall, 1, Context);
  Result = NewFloat(SLNDepreciation(Cost, Salvage, IntegerOf(FunCall, 2, Context)));
}

void TSYDDepreciationFunction::InitMetaData() {
  Describe("syd-depreciation", "Returns the sum-of-years-digits depreciation of one period",
           " <cost-numeric-expression> <salvage-numeric-expression> <life-integer-expression> "
           "<period-integer-expression>",
           4, 4);
}

void TSYDDepreciationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double Cost = NumberOf(FunCall, 0, Context);
  const double Salvage = NumberOf(FunCall, 1, Context);
  const std::int32_t Life = IntegerOf(FunCall, 2, Context);
  const std::int32_t Period = IntegerOf(FunCall, 3, Context);
  Result = NewFloat(SYDDepreciation(Cost, Salvage, Life, Period));
}

// ---------------------------------------------------------------- annuities

void TFutureValueFunction::InitMetaData() {
  Describe("future-value", "Returns the future value of an investment of regular payments at a fixed rate",
           std::string(" <rate-numeric-expression> <num-periods-integer-expression> <payment-numeric-expression> "
                       "<present-value-numeric-expression>") +
               PaymentTimeSyntax,
           5, 5);
}

void TFutureValueFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 1, Context);
  const double Paid = NumberOf(FunCall, 2, Context);
  const double Present = NumberOf(FunCall, 3, Context);
  Result = NewFloat(FutureValue(Rate, NPeriods, Paid, Present, PaymentTime));
}

void TPresentValueFunction::InitMetaData() {
  Describe("present-value", "Returns the present value of an investment of regular payments at a fixed rate",
           std::string(" <rate-numeric-expression> <num-periods-integer-expression> <payment-numeric-expression> "
                       "<future-value-numeric-expression>") +
               PaymentTimeSyntax,
           5, 5);
}

void TPresentValueFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 1, Context);
  const double Paid = NumberOf(FunCall, 2, Context);
  const double Future = NumberOf(FunCall, 3, Context);
  Result = NewFloat(PresentValue(Rate, NPeriods, Paid, Future, PaymentTime));
}

void TPaymentFunction::InitMetaData() {
  Describe("payment", "Returns the regular payment that pays off a loan at a fixed rate",
           std::string(" <rate-numeric-expression> <num-periods-integer-expression> "
                       "<present-value-numeric-expression> <future-value-numeric-expression>") +
               PaymentTimeSyntax,
           5, 5);
}

void TPaymentFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 1, Context);
  const double Present = NumberOf(FunCall, 2, Context);
  const double Future = NumberOf(FunCall, 3, Context);
  Result = NewFloat(Payment(Rate, NPeriods, Present, Future, PaymentTime));
}

void TNumberOfPeriodsFunction::InitMetaData() {
  Describe("number-of-periods", "Returns the number of periods of an investment of regular payments at a fixed rate",
           std::string(" <rate-numeric-expression> <payment-numeric-expression> <present-value-numeric-expression> "
                       "<future-value-numeric-expression>") +
               PaymentTimeSyntax,
           5, 5);
}

void TNumberOfPeriodsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const double Paid = NumberOf(FunCall, 1, Context);
  const double Present = NumberOf(FunCall, 2, Context);
  const double Future = NumberOf(FunCall, 3, Context);
  Result = NewFloat(NumberOfPeriods(Rate, Paid, Present, Future, PaymentTime));
}

void TInterestRateFunction::InitMetaData() {
  Describe("interest-rate", "Returns the rate per period of an investment of regular payments",
           std::string(" <num-periods-integer-expression> <payment-numeric-expression> "
                       "<present-value-numeric-expression> <future-value-numeric-expression>") +
               PaymentTimeSyntax,
           5, 5);
}

void TInterestRateFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 0, Context);
  const double Paid = NumberOf(FunCall, 1, Context);
  const double Present = NumberOf(FunCall, 2, Context);
  const double Future = NumberOf(FunCall, 3, Context);
  Result = NewFloat(InterestRate(NPeriods, Paid, Present, Future, PaymentTime));
}

void TInterestPaymentFunction::InitMetaData() {
  Describe("interest-payment", "Returns the interest part of the payment of one period of a loan",
           std::string(" <rate-numeric-expression> <period-integer-expression> <num-periods-integer-expression> "
                       "<present-value-numeric-expression> <future-value-numeric-expression>") +
               PaymentTimeSyntax,
           6, 6);
}

void TInterestPaymentFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const std::int32_t Period = IntegerOf(FunCall, 1, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 2, Context);
  const double Present = NumberOf(FunCall, 3, Context);
  const double Future = NumberOf(FunCall, 4, Context);
  Result = NewFloat(InterestPayment(Rate, Period, NPeriods, Present, Future, PaymentTime));
}

void TPeriodPaymentFunction::InitMetaData() {
  Describe("period-payment", "Returns the principal part of the payment of one period of a loan",
           std::string(" <rate-numeric-expression> <period-integer-expression> <num-periods-integer-expression> "
                       "<present-value-numeric-expression> <future-value-numeric-expression>") +
               PaymentTimeSyntax,
           6, 6);
}

void TPeriodPaymentFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  const std::int32_t Period = IntegerOf(FunCall, 1, Context);
  const std::int32_t NPeriods = IntegerOf(FunCall, 2, Context);
  const double Present = NumberOf(FunCall, 3, Context);
  const double Future = NumberOf(FunCall, 4, Context);
  Result = NewFloat(PeriodPayment(Rate, Period, NPeriods, Present, Future, PaymentTime));
}

// ---------------------------------------------------------------- cash flows

void TNetPresentValueFunction::InitMetaData() {
  Describe("net-present-value", "Returns the sum of a list of cash flows, one a period, discounted at a fixed rate",
           std::string(" <rate-numeric-expression> <cash-flows-multifield-expression>") + PaymentTimeSyntax, 3, 3);
}

void TNetPresentValueFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TPaymentTime PaymentTime = PaymentTimeOf(FunCall, Context);
  const double Rate = NumberOf(FunCall, 0, Context);
  Result = NewFloat(NetPresentValue(Rate, CashFlows(FunCall, 1, Context), PaymentTime));
}

void TInternalRateOfReturnFunction::InitMetaData() {
  Describe("internal-rate-of-return",
           "Returns the rate at which the net present value of a list of cash flows is 0, searched from a guess",
           " <guess-numeric-expression> <cash-flows-multifield-expression>", 2, 2);
}

void TInternalRateOfReturnFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double Guess = NumberOf(FunCall, 0, Context);
  Result = NewFloat(InternalRateOfReturn(Guess, CashFlows(FunCall, 1, Context)));
}

}  // namespace cogent
