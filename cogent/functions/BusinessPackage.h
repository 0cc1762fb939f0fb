#pragma once
// The business package: present and future values, annuity payments, rates
// and depreciation. The functions read their arguments and leave the finance
// to the host's mathematics library; every result is a float.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TBusinessPackage : public TUserPackage {
public:
  explicit TBusinessPackage(TComponent* AOwner);
  ~TBusinessPackage() override;

protected:
  void CreateFunctions() override;
};

COGENT_BUILT_IN_FUNCTION(TDoubleDecliningBalanceFunction)
COGENT_BUILT_IN_FUNCTION(TFutureValueFunction)
COGENT_BUILT_IN_FUNCTION(TInterestPaymentFunction)
COGENT_BUILT_IN_FUNCTION(TInterestRateFunction)
COGENT_BUILT_IN_FUNCTION(TInternalRateOfReturnFunction)
COGENT_BUILT_IN_FUNCTION(TNetPresentValueFunction)
COGENT_BUILT_IN_FUNCTION(TNumberOfPeriodsFunction)
COGENT_BUILT_IN_FUNCTION(TPaymentFunction)
COGENT_BUILT_IN_FUNCTION(TPeriodPaymentFunction)
COGENT_BUILT_IN_FUNCTION(TPresentValueFunction)
COGENT_BUILT_IN_FUNCTION(TSLNDepreciationFunction)
COGENT_BUILT_IN_FUNCTION(TSYDDepreciationFunction)

}  // namespace cogent
