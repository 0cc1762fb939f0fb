#pragma once
// The trigonometry package: circular and hyperbolic functions and their
// inverses, conversions between units of angle, and distances between points
// given as lists. Every result is a float.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TTrigonometryPackage : public TUserPackage {
public:
  explicit TTrigonometryPackage(TComponent* AOwner);
  ~TTrigonometryPackage() override;

protected:
  void CreateFunctions() override;
};

COGENT_BUILT_IN_FUNCTION(TACosFunction)
COGENT_BUILT_IN_FUNCTION(TACosHFunction)
COGENT_BUILT_IN_FUNCTION(TACotFunction)
COGENT_BUILT_IN_FUNCTION(TACotHFunction)
COGENT_BUILT_IN_FUNCTION(TACscFunction)
COGENT_BUILT_IN_FUNCTION(TACscHFunction)
COGENT_BUILT_IN_FUNCTION(TASecFunction)
COGENT_BUILT_IN_FUNCTION(TASecHFunction)
COGENT_BUILT_IN_FUNCTION(TASinFunction)
COGENT_BUILT_IN_FUNCTION(TASinHFunction)
COGENT_BUILT_IN_FUNCTION(TATanFunction)
COGENT_BUILT_IN_FUNCTION(TATan2Function)
COGENT_BUILT_IN_FUNCTION(TATanHFunction)
COGENT_BUILT_IN_FUNCTION(TCosFunction)
COGENT_BUILT_IN_FUNCTION(TCosHFunction)
COGENT_BUILT_IN_FUNCTION(TCotFunction)
COGENT_BUILT_IN_FUNCTION(TCotHFunction)
COGENT_BUILT_IN_FUNCTION(TCscFunction)
COGENT_BUILT_IN_FUNCTION(TCscHFunction)
COGENT_BUILT_IN_FUNCTION(TCycleRadFunction)
COGENT_BUILT_IN_FUNCTION(TDegGradFunction)
COGENT_BUILT_IN_FUNCTION(TDegRadFunction)
COGENT_BUILT_IN_FUNCTION(TDistanceFunction)
COGENT_BUILT_IN_FUNCTION(TDistanceSqrFunction)
COGENT_BUILT_IN_FUNCTION(TDistanceManhattanFunction)
COGENT_BUILT_IN_FUNCTION(TGradDegFunction)
COGENT_BUILT_IN_FUNCTION(TGradRadFunction)
COGENT_BUILT_IN_FUNCTION(THypotenuseFunction)
COGENT_BUILT_IN_FUNCTION(TRadCycleFunction)
COGENT_BUILT_IN_FUNCTION(TRadDegFunction)
COGENT_BUILT_IN_FUNCTION(TRadGradFunction)
COGENT_BUILT_IN_FUNCTION(TSecFunction)
COGENT_BUILT_IN_FUNCTION(TSecHFunction)
COGENT_BUILT_IN_FUNCTION(TSinFunction)
COGENT_BUILT_IN_FUNCTION(TSinHFunction)
COGENT_BUILT_IN_FUNCTION(TTanFunction)
COGENT_BUILT_IN_FUNCTION(TTanHFunction)

}  // namespace cogent
