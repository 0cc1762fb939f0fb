#pragma once
// The math package: arithmetic on the two numeric kinds. Sums and products
// are computed in double whatever the arguments; the kind of the result
// follows from the kinds of the arguments afterwards.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TMathPackage : public TUserPackage {
public:
  explicit TMathPackage(TComponent* AOwner);
  ~TMathPackage() override;

protected:
  void CreateFunctions() override;
};

COGENT_BUILT_IN_FUNCTION(TPlusFunction)
COGENT_BUILT_IN_FUNCTION(TMinusFunction)
COGENT_BUILT_IN_FUNCTION(TTimesFunction)
COGENT_BUILT_IN_FUNCTION(TDivideFunction)
COGENT_BUILT_IN_FUNCTION(TIntegerDivideFunction)
COGENT_BUILT_IN_FUNCTION(TModFunction)
COGENT_BUILT_IN_FUNCTION(TExptFunction)
COGENT_BUILT_IN_FUNCTION(TAbsFunction)
COGENT_BUILT_IN_FUNCTION(TExpFunction)
COGENT_BUILT_IN_FUNCTION(TLogFunction)
COGENT_BUILT_IN_FUNCTION(TLog10Function)
COGENT_BUILT_IN_FUNCTION(TSqrtFunction)
COGENT_BUILT_IN_FUNCTION(TRoundFunction)
COGENT_BUILT_IN_FUNCTION(TIntegerFunction)
COGENT_BUILT_IN_FUNCTION(TFloatFunction)
COGENT_BUILT_IN_FUNCTION(TMaxFunction)
COGENT_BUILT_IN_FUNCTION(TMinFunction)
COGENT_BUILT_IN_FUNCTION(TPiFunction)
COGENT_BUILT_IN_FUNCTION(TRandomFunction)
COGENT_BUILT_IN_FUNCTION(TRandomizeFunction)
COGENT_BUILT_IN_FUNCTION(TSeedFunction)

// The one generator of the process, which every engine shares: a whole
// number from 0 to Range - 1, and 0 for a range below 1. The same seed gives
// the same sequence.
std::int32_t Random(std::int32_t Range);
void SetRandomSeed(std::uint32_t Seed);

// A double as a 32-bit integer: truncated, and wrapped where it does not
// fit. Raises the host's overflow error for what is no finite number.
std::int32_t TruncToInteger(double Value);

}  // namespace cogent
