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

// How two sets combine into one by union or intersection.
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
// slightly a bell around 0.5 that damps the extremes; plus y^1.25; norm
// scales the peak to 1; intensify pushes values away from 0.5.
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
// their places.
enum TBaseFuzzyHedge : std::uint8_t {
  bhAdd,       // y + n
  bhSubtract,  // y - n
  bhProduct,   // y * n
  bhDivide,    // y / n
  bhPower,     // y ^ n
  bhRoot,      // y ^ (1 / n)
  bhMaximum,   // max(y, n)
  bhMinimum    // min(y, n)
};

// Exact, case-sensitive look-ups of the names above; Value is left alone when
// the text is no name.
bool IsFuzzyCorrelation(std::string_view Text, TFuzzyCorrelationMethod& Method);
bool IsFuzzyInference(std::string_view Text, TFuzzyInferenceMethod& Method);
bool IsFuzzyOperation(std::string_view Text, TFuzzyOperation& Operation);
bool IsFuzzyHedge(std::string_view Text);
bool IsFuzzyHedge(std::string_view Text, TFuzzyHedge& Hedge);

// ---------------------------------------------------------------- constants

// Name of the empty set a variable makes for a fuzzy value with no term. Kept
// out of the way of any term a user would name.
inline constexpr const char* SEmptyFuzzy = "__empty";
// The label of a plot row: fills the four columns in front of the axis.
inline constexpr const char* FuzzyFormatStr = "%4.2f";
inline constexpr const char* _SLowFuzzyTerm = "low";
inline constexpr const char* _SMediumFuzzyTerm = "medium";
inline constexpr const char* _SHighFuzzyTerm = "high";

// Threshold of a new variable, and of a set that has no variable.
inline constexpr float DefaultFuzzyEqualsThreshold = 0.01F;

// The library's own messages. The low-high text is the engine's message
// of the same meaning, repeated here so that this layer needs no engine header.
inline constexpr const char* SFuzzyInvalidLowHiLimits = "Invalid low and high limits specified: %.4f to %.4f";
inline constexpr const char* SFuzzyPointIndexError = "Fuzzy set point index out of bounds (%d)";
inline constexpr const char* SFuzzyTermIndexError = "Fuzzy variable term index out of bounds (%d)";
inline constexpr const char* SFuzzyInvalidPoint = "Invalid fuzzy set point: coordinates must be finite numbers";
inline constexpr const char* SFuzzyNilSet = "Cannot add a nil fuzzy set to fuzzy variable %s";
inline constexpr const char* SFuzzyClassError = "Cannot create an instance of fuzzy class %s";

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

// A membership curve through points sorted by x. Between two points the curve
// is linear; left of the first point it keeps the first y, right of the last
// the last y; a set without points is 0 everywhere. Points of equal x are all
// kept, in the order they came, so that a curve can jump (a crisp edge); at
// such an x the membership is the greatest of their ys.
//
// The back reference to the variable is a plain pointer: the variable holds
// its terms by counted reference and clears this pointer in every set that
// still points at it when it goes.
//
// Clone makes an instance of the set's own class: a subclass registers itself
// with RegisterClass<TSubclass, TFuzzySet>() (which also lets a variable make
// it by class), or overrides NewInstance.
class TFuzzySet : public TPersistent, public TRefCounted, public ICloneable {
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
  // Inserts after any point of the same x. Inside BeginUpdate the point is
  // appended and the order is restored by the last EndUpdate; reading the set
  // before then sees the points as they came. Both coordinates must be finite.
  // Makes the set custom.
  void AddPoint(TFzyFloat X, TFzyFloat Y);
  void ClearPoints();
  // Replaces all points and records how they were made; the hook of the
  // shape builders, hedges and scalar steps.
  void SetPoints(TFuzzyPoints Points, TFuzzySetType SetType);
  void BeginUpdate() noexcept { ++FUpdateCount; }
  void EndUpdate();
  std::int32_t GetUpdateCount() const noexcept { return FUpdateCount; }

  // ---- evaluation
  TFzyFloat DegreeOfMembership(TFzyFloat X) const;
  // Centre of gravity of the area under the curve between the first and the
  // last point. A set of area 0 with some positive y (singletons, a crisp
  // spike) gives the mean of the xs weighted by y; an empty or all-zero set
  // gives 0.
  TFzyFloat MomentDefuzzify() const;
  TFzyFloat GetCrispValue() const { return MomentDefuzzify(); }
  // Mean of maxima: the middle of the plateaus at the greatest y, weighted by
  // their widths; without a plateau the mean x of the points at the greatest
  // y. The centre of a symmetric pi or beta set. An empty set gives 0.
  TFzyFloat MaximumDefuzzify() const;

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
  // A new set of this class with the points, type, expression, name,
  // variable and parser; it is no term.
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
  bool FUnsorted = false;
  mutable TFzyFloat FRunningMaximum = 0.0;
};

using TIFuzzySet = TFuzzySet;

// ---------------------------------------------------------------- TFuzzyVariable

// A universe of discourse with a name and units, and the sets it holds: its
// terms (is-term flag set) and sets made on it that are no terms, such as the
// empty set. Set names are case-sensitive; a set added under a name that is
// already held replaces it in its place and keeps its order number.
class TFuzzyVariable : public TPersistent, public TRefCounted, public ICloneable {
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
  // EFuzzyException SFuzzyInvalidLowHiLimits and nothing changes; set both at
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
  // number and, when it has none, this variable. Returns its index.
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

  // Same name, units, universe and threshold, and equal sets by name.
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

  std::string FName;
  std::string FUnits;
  TFzyFloat FUniverseLow = 0.0;
  TFzyFloat FUniverseHigh = 1.0;
  float FEqualityThreshold = DefaultFuzzyEqualsThreshold;
  IFuzzyParser* FParser = nullptr;
  TClass FFuzzySetClass;
  std::intptr_t FTag = 0;
  std::vector<IFuzzySet> FTerms;
  std::int32_t FLastOrderNumber = 0;
  TFuzzySet* FFirstSet = nullptr;  // every set whose FVariable is this
};

using TIFuzzyVariable = TFuzzyVariable;

}  // namespace cogent
