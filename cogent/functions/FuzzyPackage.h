#pragma once
// The fuzzy logic package: rule actions make fuzzy values from shapes and
// expressions, combine them, assert fuzzy facts, read sets back as numbers
// and points, plot them as text, and read and set the engine's fuzzy
// settings. The sets themselves and everything computed on their points
// belong to the fuzzy library; these functions only read their arguments
// and call it.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cogent/functions/KBHelperFunctions.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"

namespace cogent {

class TFuzzyLogicPackage : public TUserPackage {
public:
  explicit TFuzzyLogicPackage(TComponent* AOwner);
  ~TFuzzyLogicPackage() override;

protected:
  void CreateFunctions() override;
};

using TFuzzyPackage = TFuzzyLogicPackage;

// ---------------------------------------------------------------- reading sets

// The set that Value stands for once resolved: a fact id (integer or fact
// id) or a fact gives the set of its first fuzzy slot, anything else must
// be a fuzzy value. Raises _SNoSuchFact, _SNotFuzzyFact, or the value's
// conversion error.
IFuzzySet GetFuzzySetFromValue(const IKBValue& Value, TKBContext* Context);
// The value of the first slot of Fact, in the template's slot order, that
// holds a fuzzy set; nil when none does.
IKBValue GetFuzzySlot(const IFact& Fact);

// ---------------------------------------------------------------- the functions

// Families: one class per family of functions, the member chosen by name.
#define COGENT_FUZZY_FAMILY_FUNCTION(Class, Code, First)                                  \
  class Class : public TBuiltInFunction {                                                  \
  public:                                                                                  \
    Class();                                                                               \
    explicit Class(const TKBName& AName) { SetFunctionName(AName); }                       \
                                                                                           \
    T##Code Get##Code() const noexcept { return F##Code; }                                 \
    void Set##Code(T##Code Value);                                                         \
    void SetFunctionName(const TKBName& Value) override;                                   \
                                                                                           \
  protected:                                                                               \
    void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;    \
                                                                                           \
  private:                                                                                 \
    T##Code F##Code = First;                                                               \
  };

// s, z, pi, tri, beta: a new fuzzy value of that shape, with no variable.
enum TCreateFuzzyShapeFunctionType : std::uint8_t {
  fsGrowthShape,
  fsDeclineShape,
  fsPIShape,
  fsTriangleShape,
  fsBetaShape
};
COGENT_FUZZY_FAMILY_FUNCTION(TCreateFuzzyShapeFunction, CreateFuzzyShapeFunctionType, fsGrowthShape)

// moment-defuzzify, maximum-defuzzify, is-undecidable, get-compatibility-index.
enum TDefuzzifyFunctionType : std::uint8_t { dftMoment, dftMaximum, dftUndecidable, dftCompatibilityIndex };
COGENT_FUZZY_FAMILY_FUNCTION(TDefuzzifyFunction, DefuzzifyFunctionType, dftMoment)

// fuzzy-assert, fuzzy-assert-unconditional.
enum TFuzzyAssertFunctionType : std::uint8_t { fafAssert, fafAssertUnconditional };
COGENT_FUZZY_FAMILY_FUNCTION(TFuzzyAssertFunction, FuzzyAssertFunctionType, fafAssert)

// fuzzy-union, fuzzy-union-x, fuzzy-intersection, fuzzy-intersection-x.
enum TFuzzyOperationFunctionType : std::uint8_t {
  fofFuzzyUnion,
  fofFuzzyUnionX,
  fofFuzzyIntersection,
  fofFuzzyIntersectionX
};
COGENT_FUZZY_FAMILY_FUNCTION(TFuzzyOperationFunction, FuzzyOperationFunctionType, fofFuzzyUnion)

// get-fs, get-fs-length, get-fs-x, get-fs-y, get-fs-variable, get-fs-value.
enum TGetFuzzyFunctionType : std::uint8_t {
  gffGetFs,
  gffGetFsLength,
  gffGetFsX,
  gffGetFsY,
  gffGetFsVariable,
  gffGetFsValue
};
COGENT_FUZZY_FAMILY_FUNCTION(TGetFuzzyFunction, GetFuzzyFunctionType, gffGetFs)

// get-u, get-u-from, get-u-to, get-u-units.
enum TUniverseOfDiscourseFunctionType : std::uint8_t { uodGet, uodGetFrom, uodGetTo, uodGetUnits };
COGENT_FUZZY_FAMILY_FUNCTION(TUniverseOfDiscourseFunction, UniverseOfDiscourseFunctionType, uodGet)

// The engine's fuzzy settings: each get- gives the present value, each set-
// the value before it set the new one.
enum TRWActivationThresholdFunctionType : std::uint8_t { atfGetActivationThreshold, atfSetActivationThreshold };
COGENT_FUZZY_FAMILY_FUNCTION(TRWActivationThresholdFunction, RWActivationThresholdFunctionType,
                             atfGetActivationThreshold)

enum TRWFuzzyAutoTermsType : std::uint8_t { fatGetFuzzyAutoTerms, fatSetFuzzyAutoTerms };
COGENT_FUZZY_FAMILY_FUNCTION(TRWFuzzyAutoTerms, RWFuzzyAutoTermsType, fatGetFuzzyAutoTerms)

enum TRWFuzzyCorrelationFunctionType : std::uint8_t { fcfGetCorrelation, fcfSetCorrelation };
COGENT_FUZZY_FAMILY_FUNCTION(TRWFuzzyCorrelationFunction, RWFuzzyCorrelationFunctionType, fcfGetCorrelation)

enum TRWFuzzyInferenceFunctionType : std::uint8_t { fifGetInference, fifSetInference };
COGENT_FUZZY_FAMILY_FUNCTION(TRWFuzzyInferenceFunction, RWFuzzyInferenceFunctionType, fifGetInference)

enum TRWFuzzyThresholdFunctionType : std::uint8_t { ftfGetFuzzyThreshold, ftfSetFuzzyThreshold };
COGENT_FUZZY_FAMILY_FUNCTION(TRWFuzzyThresholdFunction, RWFuzzyThresholdFunctionType, ftfGetFuzzyThreshold)

#undef COGENT_FUZZY_FAMILY_FUNCTION

// create-fuzzy-value: an expression evaluated on the variable of a fuzzy
// type, named, or of a fuzzy value.
COGENT_BUILT_IN_FUNCTION(TCreateFuzzySetFunction)
// plot-fuzzy-value: the text plot of fuzzy values, of the fuzzy slots of
// facts, or of the terms of a fuzzy type.
COGENT_BUILT_IN_FUNCTION(TPlotFuzzySetFunction)

}  // namespace cogent
