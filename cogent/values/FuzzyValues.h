#pragma once
// Small helpers of the code that evaluates and combines fuzzy values.

#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/values/KBValue.h"

namespace cogent {

// A new value of kind fuzzy holding Set.
IKBValue FuzzyValue(const IFuzzySet& Set);

// An integer or a float.
bool IsNumber(const IKBValue& Value);

// The set of a fuzzy value; one that holds no set fails as a value that
// isn't fuzzy. Its text is left out: a value without its set has none.
IFuzzySet SetOf(const IKBValue& Value);

}  // namespace cogent
