#pragma once
// Fuzzy sets and fuzzy variables. A set is a piecewise-linear membership curve
// given by its points; a variable is a named universe of discourse holding its
// linguistic terms. Nothing else in the system computes on points.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"

namespace cogent {

using TFzyFloat = double;

COGENT_DECLARE_EXCEPTION(EFuzzyException, EVXException)

// ---------------------------------------------------------------- enumerations

// How a set came to have its points; the printed form of a set follows it.
enum TFuzzySetType : std::uint8_t { fstCustom, fstTriangle, fstZ, fstPi, fstBeta, fstS };
inline constexpr std::array<const char*, 6> FuzzySetTypeNames{"custom", "triangle", "z", "pi", "beta", "s"};

// How two sets combine into one by union or intersection, membership by
// membership (a and b):
//   zadeh        union max(a, b),          intersection min(a, b)
//   mean         (a + b) / 2 either way
//   mean-sqr     (a^2 + b^2) / 2 either way
//   mean-sqrt    (sqrt(a) + sqrt(b)) / 2 either way
//   product      union a + b - ab,         intersection ab
//   bounded-sum  union min(1, a + b),      intersection max(0, a + b - 1)
//   sum          union a + b, the whole curve scaled down to a peak of 1 where
//                it rises above; intersection as bounded-sum
// The means are compromises, neither larger nor smaller than both sets, so
// union and intersection agree for them.
enum TFuzzyOperation : std::uint8_t {
  foZadeh,
  foMean,
  foMeanSqr,
  foMeanSqrt,
  foProduct,
  foBoundedSum,
  foSum
};
inline constexpr std::array<const char*, 7> FuzzyOperationNames{
    "zadeh", "mean", "mean-sqr", "mean-sqrt", "product", "bounded-sum", "sum"};

// How a fuzzy fact combines with an equal fact already in working memory.
enum TFuzzyInferenceMethod : std::uint8_t { fimMinMax, fimSum, fimMean, fimProduct, fimBoundedSum };
inline constexpr std::array<const char*, 5> FuzzyInferenceNames{"min-max", "sum", "mean", "product",
                                                                "bounded-sum"};

// How the strength of a rule weakens the sets of its conclusion.
enum TFuzzyCorrelationMethod : std::uint8_t { fcmMinimum, fcmProduct };
inline constexpr std::array<const char*, 2> FuzzyCorrelationNames{"minimum", "product"};

// The "expected ..." part of the messages for an unknown method name.
inline constexpr const char* FuzzyCorrelationSuffixNameList = "minimum or product";
inline constexpr const char* FuzzyInferenceSuffixNameList = "min-max, sum, mean, product, or bounded-sum";

// Linguistic hedges, each a change of every membership y of a set:
// not 1 - y; very y^2; somewhat y^(1/3); more-or-less y^(1/2); extremely y^3;
// slightly min(y, 1 - y^2) scaled to a peak of 1, which keeps the middling
// members and drops the full ones; plus y^1.25; norm scales the peak to 1;
// intensify 2y^2 below 0.5 and 1 - 2(1 - y)^2 above, pushing values away
// from 0.5. A curved change of a sloped piece is drawn with extra points, so
// that very of a triangle is 0.25 where the triangle is 0.5.
enum TFuzzyHedge : std::uint8_t {
  fhNot,
  fhVery,
  fhSomewhat,
  fhMoreOrLess,
  fhExtremely,
  fhSlightly,
  fhPlus,
  fhNorm,
  fhIntensify
};
inline constexpr std::array<const char*, 9> FuzzyHedgeNames{"not",  "very", "somewhat",   "more-or-less", "extremely",
                                                            "slightly", "plus", "norm", "intensify"};

// The scalar step: each membership y of a set combined with a number n.
// Correlation relies on bhProduct (y * n) and bhMinimum (min(y, n)) keeping
// their places. The flag of the step says what happens to a result above 1:
// true cuts it to 1, false scales the whole curve down by its peak, keeping
// its shape. A result below 0 is always cut to 0.
enum TBaseFuzzyHedge : std::uint8_t {
  bhAdd,       // y + n
  bhSubtract,  // y - n
  bhProduct,   // y * n
  bhDivide,    // y / n, n not 0
  bhPower,     // y ^ n, n above 0
  bhRoot,      // y ^ (1 / n), n above 0
  bhMaximum,   // max(y, n)
  bhMinimum    // min(y, n)
};

// The words of the scalar steps in a fuzzy expression, between a set and a
// number: "cold at-most 0.5". The "scaled" forms scale instead of cutting.
struct TFuzzyHedgeOperatorName {
  const char* Text;
  TBaseFuzzyHedge BaseHedge;
  bool Clip;
};
inline constexpr std::array<TFuzzyHedgeOperatorName, 16> FuzzyHedgeOperatorNames{{
    {"+", bhAdd, true},
    {"-", bhSubtract, true},
    {"*", bhProduct, true},
    {"/", bhDivide, true},
    {"^", bhPower, true},
    {"root", bhRoot, true},
    {"at-least", bhMaximum, true},
    {"at-most", bhMinimum, true},
    {"scaled+", bhAdd, false},
    {"scaled-", bhSubtract, false},
    {"scaled*", bhProduct, false},
    {"scaled/", bhDivide, false},
    {"scaled^", bhPower, false},
    {"scaled-root", bhRoot, false},
    {"scaled-at-least", bhMaximum, false},
    {"scaled-at-most", bhMinimum, false},
}};

// The keywords of a fuzzy expression: "or" and "and" join two sets by union
// and intersection under zadeh; "or-" or "and-" followed by the name of an
// operation ("or-product", "and-mean-sqrt") under that operation.
inline constexpr const char* FuzzyUnionKeyword = "or";
inline constexpr const char* FuzzyIntersectionKeyword = "and";

// Exact, case-sensitive look-ups of the names above; the out values are
// left alone when the text is no name.
bool IsFuzzyCorrelation(std::string_view Text, TFuzzyCorrelationMethod& Method);
bool IsFuzzyInference(std::string_view Text, TFuzzyInferenceMethod& Method);
bool IsFuzzyOperation(std::string_view Text, TFuzzyOperation& Operation);
bool IsFuzzyHedge(std::string_view Text);
bool IsFuzzyHedge(std::string_view Text, TFuzzyHedge& Hedge);
bool IsFuzzyHedgeOperator(std::string_view Text);
bool IsFuzzyHedgeOperator(std::string_view Text, TBaseFuzzyHedge& BaseHedge, bool& Clip);
bool IsFuzzyKeyword(std::string_view Text, bool& IsUnion, TFuzzyOperation& Operation);

// The scalar step with which a correlation method weakens a conclusion:
// bhProduct for product, bhMinimum for any other.
TBaseFuzzyHedge FuzzyCorrelationBaseHedge(TFuzzyCorrelationMethod Method) noexcept;
// The operation under which an inference method combines two sets; zadeh for
// a value that is no method.
TFuzzyOperation FuzzyInferenceOperation(TFuzzyInferenceMethod Method) noexcept;

// ---------------------------------------------------------------- constants

// Name of the empty set a variable makes for a fuzzy value with no term. Kept
// out of the way of any term a user would name.
inline constexpr const char* SEmptyFuzzy = "__empty";
// The label of a plot row: fills the four columns in front of the axis.
inline constexpr const char* FuzzyFormatStr = "%4.2f";
inline constexpr const char* _SLowFuzzyTerm = "low";
inline constexpr const char* _SMediumFuzzyTerm = "medium";
inline constexpr const char* _SHighFuzzyTerm = "high";

// The most pieces a curve may be drawn with on each side of a bend.
inline constexpr std::int32_t MaxFuzzyCurveSteps = 1000;

// Threshold of a new variable, and of a set that has no variable.
inline constexpr float DefaultFuzzyEqualsThreshold = 0.01F;

// The library's own messages. The low-high and different-variables texts are
// the engine's messages of the same meaning, repeated here so that this layer
// needs no engine header.
inline constexpr const char* SFuzzyInvalidLowHiLimits = "Invalid low and high limits specified: %.4f to %.4f";
inline constexpr const char* SFuzzyDifferentVariables =
    "Fuzzy variables are different, %s is a term from %s and %s is a term from %s";
inline constexpr const char* SFuzzyPointIndexError = "Fuzzy set point index out of bounds (%d)";
inline constexpr const char* SFuzzyTermIndexError = "Fuzzy variable term index out of bounds (%d)";
inline constexpr const char* SFuzzyInvalidPoint = "Invalid fuzzy set point: coordinates must be finite numbers";
inline constexpr const char* SFuzzyInvalidMembership =
    "Invalid fuzzy set point (%.4f %.4f): the membership must lie between 0 and 1";
inline constexpr const char* SFuzzyPointOrder =
    "Invalid fuzzy set point (%.4f %.4f): points must come in order of x, and it follows x %.4f";
inline constexpr const char* SFuzzyNilSet = "Cannot add a nil fuzzy set to fuzzy variable %s";
inline constexpr const char* SFuzzyClassError = "Cannot create an instance of fuzzy class %s";
inline constexpr const char* SFuzzyTermOutsideUniverse =
    "Fuzzy term %s lies outside the universe of discourse of %s: %.4f to %.4f";
inline constexpr const char* SFuzzyInvalidCurve = "Invalid %s curve: %s";
inline constexpr const char* SFuzzyInvalidHedge = "Invalid fuzzy hedge (%d)";
inline constexpr const char* SFuzzyInvalidHedgeNumber = "Invalid number for fuzzy hedge %s: %g";
inline constexpr const char* SFuzzyInvalidOperation = "Invalid fuzzy operation (%d)";
inline constexpr const char* SFuzzyNilOperand = "Missing fuzzy set to combine with %s";
inline constexpr const char* SFuzzyEmptyDefuzzify = "Cannot defuzzify an empty fuzzy set: no membership is above 0";

// ---------------------------------------------------------------- declarations

class TFuzzySet;
class TFuzzyVariable;
using IFuzzySet = Ref<TFuzzySet>;
using IFuzzyVariable = Ref<TFuzzyVariable>;

// The view of the engine that sets and variables hold, by plain pointer: it
// evaluates linguistic expressions, parses and prints fuzzy text.
class IFuzzyParser {
public:
  // The set goes to FuzzySet; the result is its crisp value.
  virtual double EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression,
                                     IFuzzySet& FuzzySet) = 0;
  virtual IFuzzySet EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression) = 0;
  // One "(term name value)" of the variable.
  virtual IFuzzySet ParseFuzzySet(const IFuzzyVariable& Variable, const std::string& Text) = 0;
  // The clauses of a fuzzy type: range, units, values.
  virtual IFuzzyVariable ParseFuzzyVariable(const std::string& Text) = 0;
  virtual std::string PrettyPrint(const IFuzzySet& FuzzySet, bool AsDefinition) = 0;
  virtual std::string PrettyPrint(const IFuzzyVariable& Variable) = 0;

protected:
  ~IFuzzyParser() = default;
};

struct TFuzzyPoint {
  TFzyFloat X = 0.0;
  TFzyFloat Y = 0.0;
  friend bool operator==(const TFuzzyPoint&, const TFuzzyPoint&) = default;
};
using TFuzzyPoints = std::vector<TFuzzyPoint>;

// ---------------------------------------------------------------- TFuzzySet

// A membership curve through points in order of x, each membership from 0
// to 1. Between two points the curve is linear; left of the first point it
// keeps the first y, right of the last the last y; a set without points is 0
// everywhere. Points of equal x are all kept, in the order they came, so that
// a curve can jump (a crisp edge); at such an x the membership is the
// greatest of their ys.
//
// The back reference to the variable is a plain pointer: the variable holds
// its terms by counted reference and clears this pointer in every set that
// still points at it when it goes.
//
// Clone makes an instance of the set's own class: a subclass registers itself
// with RegisterClass<TSubclass, TFuzzySet>() (which also lets a variable make
// it by class), or overrides NewInstance.
class TFuzzySet : public TPersistent, public ICloneable {
public:
  // A callback of Iterate: X and the membership of this set (Y1) and of the
  // other (Y2) there, and the equality threshold of this set. True stops the
  // walk and makes Iterate answer true.
  using TFuzzyOperator = bool (TFuzzySet::*)(TFzyFloat X, TFzyFloat Y1, TFzyFloat Y2, TFzyFloat Threshold) const;

  TFuzzySet();
  explicit TFuzzySet(TFuzzyVariable* Variable, const std::string& Name = {});
  explicit TFuzzySet(const IFuzzyVariable& Variable, const std::string& Name = {});
  TFuzzySet(const TFuzzySet&) = delete;
  TFuzzySet& operator=(const TFuzzySet&) = delete;
  ~TFuzzySet() override;

  // ---- identity
  const std::string& GetName() const noexcept { return FName; }
  virtual void SetName(const std::string& Value);
  // Nil when the set has no variable or its variable is gone.
  TFuzzyVariable* GetVariable() const noexcept { return FVariable; }
  virtual void SetVariable(TFuzzyVariable* Value);
  void SetVariable(const IFuzzyVariable& Value);
  IFuzzyParser* GetParser() const noexcept { return FParser; }
  void SetParser(IFuzzyParser* Value) noexcept { FParser = Value; }
  TFuzzySetType GetFuzzySetType() const noexcept { return FFuzzySetType; }
  void SetFuzzySetType(TFuzzySetType Value) noexcept { FFuzzySetType = Value; }
  // The text of a custom set made from an expression, or empty.
  const std::string& GetExpression() const noexcept { return FExpression; }
  void SetExpression(const std::string& Value) { FExpression = Value; }
  // A set that a variable shares as one of its terms; code that changes a
  // term's shape works on a clone.
  bool GetIsTerm() const noexcept { return FIsTerm; }
  void SetIsTerm(bool Value) noexcept { FIsTerm = Value; }
  // Sort key of the terms of a variable.
  std::int32_t GetOrderNumber() const noexcept { return FOrderNumber; }
  void SetOrderNumber(std::int32_t Value) noexcept { FOrderNumber = Value; }
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  // ---- points
  std::int32_t GetPointCount() const noexcept { return static_cast<std::int32_t>(FPoints.size()); }
  TFzyFloat GetX(std::int32_t Index) const;
  TFzyFloat GetY(std::int32_t Index) const;
  const TFuzzyPoints& GetPoints() const noexcept { return FPoints; }
  // Appends a point; its x may not lie below the last point's, its y must
  // lie in 0..1, both finite, else EFuzzyException and the set is unchanged.
  // Makes the set custom and drops its expression text.
  void AddPoint(TFzyFloat X, TFzyFloat Y);
  void ClearPoints();
  // Replaces all points, checked as AddPoint does, and records how they were
  // made.
  void SetPoints(TFuzzyPoints Points, TFuzzySetType SetType);
  // Counted for callers that build a set in steps; points are checked as they
  // come either way.
  void BeginUpdate() noexcept { ++FUpdateCount; }
  void EndUpdate() noexcept {
    if (FUpdateCount > 0) --FUpdateCount;
  }
  std::int32_t GetUpdateCount() const noexcept { return FUpdateCount; }

  // ---- shapes: each replaces the points and records the set type. Steps is
  // the number of straight pieces on each side of a bend's mid-point, 1 to
  // MaxFuzzyCurveSteps. Bad arguments raise SFuzzyInvalidCurve and leave the
  // set as it was.
  // (Left, 0), (Centre, 1), (Right, 0); Left <= Centre <= Right.
  void TriangleCurve(TFzyFloat Left, TFzyFloat Centre, TFzyFloat Right);
  // Rising (s): 0 up to A, 0.5 at Mid, 1 from B on, by two parabolas; falling
  // (z) the mirror. A <= Mid <= B.
  void SCurve(std::int32_t Steps, TFzyFloat A, TFzyFloat B, TFzyFloat Mid, bool Rising);
  // Pi: an s curve from Centre - Range up to Centre, a z curve down to
  // Centre + Range; Range >= 0.
  void BellCurve(std::int32_t Steps, TFzyFloat Range, TFzyFloat Centre);
  // The same through three points: up from Left, down to Right.
  void BellCurve(std::int32_t Steps, TFzyFloat Left, TFzyFloat Right, TFzyFloat Centre);
  // Beta: 1 / (1 + Weight * ((x - Centre) / Inflection)^2) from Centre - Range
  // to Centre + Range, dropping to 0 at both ends. Inflection is the distance
  // from the centre at which an unweighted curve is 0.5. Range >= 0,
  // Inflection > 0, Weight >= 0.
  void BetaCurve(std::int32_t Steps, TFzyFloat Range, TFzyFloat Centre, TFzyFloat Inflection,
                 TFzyFloat Weight = 1.0);
  // The inflection and weight a beta curve was made with; 0 for other sets.
  TFzyFloat GetBetaInflection() const noexcept { return FFuzzySetType == fstBeta ? FInflection : 0.0; }
  TFzyFloat GetBetaWeight() const noexcept { return FFuzzySetType == fstBeta ? FWeight : 0.0; }

  // ---- changes in place; each makes the set custom. An unknown ordinal, a
  // step number that is not finite, a division by 0 or an exponent not above
  // 0 raise EFuzzyException and leave the set as it was.
  void Hedge(TFuzzyHedge AHedge);
  void Hedge(TBaseFuzzyHedge BaseHedge, TFzyFloat Number, bool Clip);

  // ---- combinations: a new custom set of this set's class, on this set's
  // variable (or the other's), named "a or b" after the keyword. Sets of two
  // variables of different names raise SFuzzyDifferentVariables; a nil
  // Other raises SFuzzyNilOperand.
  IFuzzySet Union(const IFuzzySet& Other, TFuzzyOperation Operation = foZadeh) const;
  IFuzzySet Intersection(const IFuzzySet& Other, TFuzzyOperation Operation = foZadeh) const;

  // ---- evaluation
  TFzyFloat DegreeOfMembership(TFzyFloat X) const;
  // Centre of gravity of the area under the curve between the first and the
  // last point. A set of area 0 with some positive y (singletons, a crisp
  // spike) gives the mean of the xs weighted by y. A set with no membership
  // above 0 has no crisp value: SFuzzyEmptyDefuzzify.
  TFzyFloat MomentDefuzzify() const;
  TFzyFloat GetCrispValue() const { return MomentDefuzzify(); }
  // Mean of maxima: the middle of the plateaus at the greatest y, weighted by
  // their widths; without a plateau the mean x of the points at the greatest
  // y. The centre of a pi or beta set. An empty set raises as above.
  TFzyFloat MaximumDefuzzify() const;
  // True when the maximum gives no single answer: no membership is above 0,
  // or the greatest membership is reached in two places apart, so that their
  // mean may fall where the set hardly holds.
  bool IsUndecidable() const;
  // How strongly the set holds anywhere: its greatest membership, 0 for an
  // empty set. A conclusion weakened by a rule of strength s has at most s.
  TFzyFloat GetCompatibilityIndex() const;

  // Walks both curves at the union of their points and at each crossing of
  // the two, which is exact for the greatest minimum and the like. A nil or
  // pointless pair of sets never calls Callback.
  bool Iterate(const TFuzzySet& Other, TFuzzyOperator Callback) const;
  bool Iterate(const IFuzzySet& Other, TFuzzyOperator Callback) const;
  // True where min(Y1, Y2) exceeds the threshold, compared in single
  // precision as thresholds are kept.
  bool FuzzyOperatorMinThreshold(TFzyFloat X, TFzyFloat Y1, TFzyFloat Y2, TFzyFloat Threshold) const;
  // Raises the running maximum to min(Y1, Y2); never stops the walk.
  bool FuzzyOperatorMaxOfMin(TFzyFloat X, TFzyFloat Y1, TFzyFloat Y2, TFzyFloat Threshold) const;
  // The running maximum of FuzzyOperatorMaxOfMin; its caller resets it.
  TFzyFloat GetRunningMaximum() const noexcept { return FRunningMaximum; }
  void SetRunningMaximum(TFzyFloat Value) noexcept { FRunningMaximum = Value; }
  // The threshold of the variable, or the default without one.
  float GetEqualityThreshold() const noexcept;
  // Degree strictly above the threshold, compared in single precision, so
  // that a degree that equals a single-precision threshold is not above it.
  static bool AboveThreshold(TFzyFloat Degree, TFzyFloat Threshold) noexcept;
  bool ExceedsEqualityThreshold(TFzyFloat Degree) const noexcept {
    return AboveThreshold(Degree, GetEqualityThreshold());
  }

  // Another set is equal when the two curves overlap above the threshold.
  bool Equals(const IInterface& Other) const override;
  // The greatest minimum of the two curves; 0 for anything but a set.
  virtual float FuzzyEquals(const IInterface& Other);
  // Same points, coordinates within Epsilon.
  bool SameShape(const TFuzzySet& Other, TFzyFloat Epsilon = 0.0001) const noexcept;

  // ---- copying and text
  // A new set of this class with the points, type, beta figures, expression,
  // name, variable and parser; it is no term.
  IFuzzySet Clone() const;
  IInterface CloneInterface() const override;
  using TPersistent::Assign;
  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source) override;
  // With a parser and held by a counted reference: the parser's form, a term
  // by its name, any other set as a definition. Otherwise the point list,
  // "((0.0000 0.0000) (5.0000 1.0000) (10.0000 0.0000) )".
  std::string ToString() const override;
  std::string PointsToString() const;

protected:
  virtual IFuzzySet NewInstance() const;
  // Takes over sorted points; every change of the whole curve comes here.
  virtual void DoSetPoints(TFuzzyPoints&& Points, TFuzzySetType SetType);

private:
  friend class TFuzzyVariable;
  void AttachTo(TFuzzyVariable* Value) noexcept;
  void CheckPointIndex(std::int32_t Index) const;
  IFuzzySet Combine(const IFuzzySet& Other, TFuzzyOperation Operation, bool IsUnion) const;
  void SetShape(TFuzzyPoints&& Points, TFuzzySetType SetType);

  std::string FName;
  TFuzzyVariable* FVariable = nullptr;
  TFuzzySet* FPrevOfVariable = nullptr;  // the variable's list of the sets that point at it
  TFuzzySet* FNextOfVariable = nullptr;
  IFuzzyParser* FParser = nullptr;
  TFuzzySetType FFuzzySetType = fstCustom;
  std::string FExpression;
  bool FIsTerm = false;
  std::int32_t FOrderNumber = 0;
  std::intptr_t FTag = 0;
  TFuzzyPoints FPoints;
  std::int32_t FUpdateCount = 0;
  TFzyFloat FInflection = 0.0;
  TFzyFloat FWeight = 0.0;
  mutable TFzyFloat FRunningMaximum = 0.0;
};

using TIFuzzySet = TFuzzySet;

// ---------------------------------------------------------------- TFuzzyVariable

// A universe of discourse with a name and units, and the sets it holds: its
// terms (is-term flag set) and sets made on it that are no terms, such as the
// empty set. Set names are case-sensitive; a set added under a name that is
// already held replaces it in its place and keeps its order number.
class TFuzzyVariable : public TPersistent, public ICloneable {
public:
  explicit TFuzzyVariable(const std::string& Name = {});
  TFuzzyVariable(const TFuzzyVariable&) = delete;
  TFuzzyVariable& operator=(const TFuzzyVariable&) = delete;
  ~TFuzzyVariable() override;

  const std::string& GetName() const noexcept { return FName; }
  virtual void SetName(const std::string& Value);
  const std::string& GetUnits() const noexcept { return FUnits; }
  void SetUnits(const std::string& Value) { FUnits = Value; }
  IFuzzyParser* GetParser() const noexcept { return FParser; }
  void SetParser(IFuzzyParser* Value) noexcept { FParser = Value; }
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  // The universe, 0 to 1 in a new variable. Low must lie below High, else
  // EFuzzyException SFuzzyInvalidLowHiLimits, and it must hold every term,
  // else SFuzzyTermOutsideUniverse; either way nothing changes. Set both at
  // once where both move.
  TFzyFloat GetUniverseLow() const noexcept { return FUniverseLow; }
  TFzyFloat GetUniverseHigh() const noexcept { return FUniverseHigh; }
  void SetUniverse(TFzyFloat Low, TFzyFloat High);
  void SetUniverseLow(TFzyFloat Value) { SetUniverse(Value, FUniverseHigh); }
  void SetUniverseHigh(TFzyFloat Value) { SetUniverse(FUniverseLow, Value); }

  // Two sets of the variable are equal when they overlap above it; kept in
  // single precision and clipped to 0..1.
  float GetEqualityThreshold() const noexcept { return FEqualityThreshold; }
  void SetEqualityThreshold(float Value) noexcept;

  // The class of the sets the variable makes; TFuzzySet in a new variable.
  TClass GetFuzzySetClass() const noexcept { return FFuzzySetClass; }
  void SetFuzzySetClass(TClass Value) noexcept { FFuzzySetClass = Value; }

  std::int32_t GetTermCount() const noexcept { return static_cast<std::int32_t>(FTerms.size()); }
  const IFuzzySet& GetTerm(std::int32_t Index) const;
  IFuzzySet FindFuzzySet(std::string_view Name) const;
  // A new set of the variable's set class on this variable, with its parser;
  // the variable does not hold it.
  virtual IFuzzySet NewFuzzySet(const std::string& Name);
  // Holds Set as the next term: marks it a term, gives it the next order
  // number and, when it has none, this variable. Returns its index. Once the
  // universe has been set, a term with a point outside it raises
  // SFuzzyTermOutsideUniverse; before, any term is taken, so that a definition
  // may give its terms before its range.
  std::int32_t AddTerm(const IFuzzySet& Set);
  // The same without making it a term.
  std::int32_t AddFuzzySet(const IFuzzySet& Set);
  void ClearTerms();
  // The set named SEmptyFuzzy, made and held when missing.
  IFuzzySet GetEmptyFuzzySet();
  // A linguistic expression through the parser; without one, the empty text
  // or SEmptyFuzzy gives the empty set and other text a set by name (nil when
  // there is none).
  IFuzzySet GetFuzzySetFromExpression(const std::string& Expression);

  // Same name, units and universe, and terms of the same shapes by name; sets
  // the variable holds that are no terms (the empty set) and the threshold,
  // which the engine sets, are not compared.
  bool Equals(const IInterface& Other) const override;
  IFuzzyVariable Clone() const;
  IInterface CloneInterface() const override;
  using TPersistent::Assign;
  // Copies everything, with clones of the sets on this variable.
  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source) override;
  // With a parser and held by a counted reference, the parser's form of the
  // body of a fuzzy type; otherwise the same clauses with the terms' points.
  std::string ToString() const override;

protected:
  virtual IFuzzyVariable NewInstance() const;

private:
  friend class TFuzzySet;
  void Link(TFuzzySet* Set) noexcept;
  void Unlink(TFuzzySet* Set) noexcept;
  std::int32_t DoAddSet(const IFuzzySet& Set, bool AsTerm);
  void CheckInUniverse(const TFuzzySet& Set, TFzyFloat Low, TFzyFloat High) const;

  std::string FName;
  std::string FUnits;
  TFzyFloat FUniverseLow = 0.0;
  TFzyFloat FUniverseHigh = 1.0;
  bool FUniverseSet = false;
  float FEqualityThreshold = DefaultFuzzyEqualsThreshold;
  IFuzzyParser* FParser = nullptr;
  TClass FFuzzySetClass;
  std::intptr_t FTag = 0;
  std::vector<IFuzzySet> FTerms;
  std::int32_t FLastOrderNumber = 0;
  TFuzzySet* FFirstSet = nullptr;  // every set whose FVariable is this
};

using TIFuzzyVariable = TFuzzyVariable;

// ---------------------------------------------------------------- inference

// A conclusion weakened by a rule of the given strength: a clone of Set with
// the method's scalar step applied, cut to 0..1. Set itself, which a variable
// or another fact may share, is not changed. A nil Set gives nil.
IFuzzySet FuzzyCorrelate(const IFuzzySet& Set, TFuzzyCorrelationMethod Method, TFzyFloat Strength);
// Two sets of one fuzzy slot combined under an inference method: their union,
// or their intersection, under the method's operation; a new set.
IFuzzySet FuzzyCombine(const IFuzzySet& Set1, const IFuzzySet& Set2, TFuzzyInferenceMethod Method, bool IsUnion);

}  // namespace cogent
