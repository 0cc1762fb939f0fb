#pragma once
// The string package: building, measuring, searching, cutting and case
// mapping of text. Text is UTF-8, and lengths and positions count code
// points from 1; text that is no valid UTF-8 is refused.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TStringPackage : public TUserPackage {
public:
  explicit TStringPackage(TComponent* AOwner);
  ~TStringPackage() override;

protected:
  void CreateFunctions() override;
};

COGENT_BUILT_IN_FUNCTION(TStrCatFunction)
COGENT_BUILT_IN_FUNCTION(TSymCatFunction)
COGENT_BUILT_IN_FUNCTION(TStrLengthFunction)
COGENT_BUILT_IN_FUNCTION(TStrCompFunction)
COGENT_BUILT_IN_FUNCTION(TStrIndexFunction)
COGENT_BUILT_IN_FUNCTION(TSubStringFunction)
COGENT_BUILT_IN_FUNCTION(TUpperCaseFunction)
COGENT_BUILT_IN_FUNCTION(TLowerCaseFunction)

}  // namespace cogent
