#include "cogent/fuzzy/VXFuzzyLogic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <utility>

#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

// A counted handle to an object only while some handle already holds it: a
// handle to an object with no count (on the stack, or being destroyed) would
// free it when it goes.
template <class T>
Ref<T> HeldRef(const T* Object) {
  return Object->GetRefCount() > 0 ? Ref<T>(const_cast<T*>(Object)) : Ref<T>();
}

// Memberships are doubles, degrees and thresholds singles; a double beyond the
// range of a single must not reach the conversion.
float NarrowToSingle(double Value) noexcept {
  constexpr double Largest = std::numeric_limits<float>::max();
  if (std::isnan(Value)) return 0.0F;
  return static_cast<float>(std::clamp(Value, -Largest, Largest));
}

template <std::size_t N, class E>
bool LookUpName(const std::array<const char*, N>& Names, std::string_view Text, E& Value) {
  for (std::size_t I = 0; I < N; ++I)
    if (Text == Names[I]) {
      Value = static_cast<E>(I);
      return true;
    }
  return false;
}

void CheckFinite(TFzyFloat X, TFzyFloat Y) {
  if (!std::isfinite(X) || !std::isfinite(Y)) throw EFuzzyException(SFuzzyInvalidPoint);
}

// Memberships that computation left a hair outside 0..1 are taken as 0 or 1.
constexpr TFzyFloat MembershipTolerance = 1e-9;

TFzyFloat CheckedMembership(TFzyFloat X, TFzyFloat Y) {
  if (Y < -MembershipTolerance || Y > 1.0 + MembershipTolerance)
    throw EFuzzyException(Format(SFuzzyInvalidMembership, X, Y));
  return std::clamp(Y, 0.0, 1.0);
}

// Cuts to 0..1; NaN, which no operation should give, counts as 0.
TFzyFloat Clamp01(TFzyFloat Y) noexcept { return Y > 0.0 ? (Y < 1.0 ? Y : 1.0) : 0.0; }

// The point a fraction T of the way from A to B; B - A may not be finite
// where A and B are.
TFzyFloat Lerp(TFzyFloat A, TFzyFloat B, TFzyFloat T) noexcept { return T >= 1.0 ? B : A * (1.0 - T) + B * T; }

// ---------------------------------------------------------------- curve walk

// The curve at X seen from both sides: Left is the limit from the left, Right
// from the right, Value the membership (the greatest y where the curve jumps).
struct TCurveSample {
  TFzyFloat Left;
  TFzyFloat Value;
  TFzyFloat Right;
};

// Samples P at X. Index is the first point with an x not below X; it moves
// past the points at X.
TCurveSample SampleAt(const TFuzzyPoints& P, std::size_t& Index, TFzyFloat X) noexcept {
  const std::size_t N = P.size();
  if (N == 0) return {0.0, 0.0, 0.0};
  if (Index < N && P[Index].X == X) {
    TCurveSample S{P[Index].Y, P[Index].Y, P[Index].Y};
    for (; Index < N && P[Index].X == X; ++Index) {
      S.Right = P[Index].Y;
      S.Value = std::max(S.Value, S.Right);
    }
    return S;
  }
  TFzyFloat Y;
  if (Index == 0)
    Y = P.front().Y;
  else if (Index == N)
    Y = P.back().Y;
  else {
    // P[Index - 1].X < X < P[Index].X, so the width is not 0; halved, no
    // difference of two xs overflows.
    const TFuzzyPoint& A = P[Index - 1];
    const TFuzzyPoint& B = P[Index];
    Y = Lerp(A.Y, B.Y, (X / 2 - A.X / 2) / (B.X / 2 - A.X / 2));
  }
  return {Y, Y, Y};
}

// Calls Fn(X, SampleOfA, SampleOfB) at every x of a point of either curve and
// wherever the two cross in between, in order of x. Between two such xs both
// curves are linear and neither is above the other on one side and below on
// the other. Stops when Fn returns true and answers true then.
template <class F>
bool ForEachBreak(const TFuzzyPoints& A, const TFuzzyPoints& B, F&& Fn) {
  std::size_t IA = 0;
  std::size_t IB = 0;
  bool HavePrevious = false;
  TFzyFloat PrevX = 0.0;
  TFzyFloat PrevA = 0.0;
  TFzyFloat PrevB = 0.0;
  while (IA < A.size() || IB < B.size()) {
    const TFzyFloat X = (IA < A.size() && (IB >= B.size() || A[IA].X <= B[IB].X)) ? A[IA].X : B[IB].X;
    const TCurveSample SA = SampleAt(A, IA, X);
    const TCurveSample SB = SampleAt(B, IB, X);
    if (HavePrevious) {
      const TFzyFloat D0 = PrevA - PrevB;
      const TFzyFloat D1 = SA.Left - SB.Left;
      if ((D0 < 0.0 && D1 > 0.0) || (D0 > 0.0 && D1 < 0.0)) {
        const TFzyFloat T = D0 / (D0 - D1);
        const TFzyFloat YA = PrevA + T * (SA.Left - PrevA);
        const TFzyFloat YB = PrevB + T * (SB.Left - PrevB);
        if (Fn(Lerp(PrevX, X, T), TCurveSample{YA, YA, YA}, TCurveSample{YB, YB, YB})) return true;
      }
    }
    if (Fn(X, SA, SB)) return true;
    HavePrevious = true;
    PrevX = X;
    PrevA = SA.Right;
    PrevB = SB.Right;
  }
  return false;
}

// Calls Fn(X, Y1, Y2) with the memberships at each break; exact for the
// greatest minimum of the two curves and the like.
template <class F>
bool WalkCurves(const TFuzzyPoints& A, const TFuzzyPoints& B, F&& Fn) {
  return ForEachBreak(A, B, [&](TFzyFloat X, const TCurveSample& SA, const TCurveSample& SB) {
    return Fn(X, SA.Value, SB.Value);
  });
}

// ---------------------------------------------------------------- reshaping

// The largest change of y that one straight piece of a curved change draws,
// and the most pieces one piece of the original becomes.
constexpr TFzyFloat RefineStep = 0.05;
constexpr int MaxRefinePieces = 20;

int RefinePieces(TFzyFloat Change) noexcept {
  const TFzyFloat Pieces = std::ceil(std::fabs(Change) / RefineStep);
  if (!(Pieces > 1.0)) return 1;
  return Pieces >= MaxRefinePieces ? MaxRefinePieces : static_cast<int>(Pieces);
}

// Where, as a fraction of a piece from Y0 to Y1, the line crosses Level.
void AddCrossing(std::vector<TFzyFloat>& Ts, TFzyFloat Y0, TFzyFloat Y1, TFzyFloat Level) {
  if ((Y0 < Level && Level < Y1) || (Y1 < Level && Level < Y0)) Ts.push_back((Level - Y0) / (Y1 - Y0));
}

void AddRefinement(std::vector<TFzyFloat>& Ts, int Pieces) {
  for (int K = 1; K < Pieces; ++K) Ts.push_back(static_cast<TFzyFloat>(K) / Pieces);
}

void SortFractions(std::vector<TFzyFloat>& Ts) {
  std::sort(Ts.begin(), Ts.end());
  Ts.erase(std::unique(Ts.begin(), Ts.end()), Ts.end());
}

// Drops points that change nothing: repeats, points of a vertical edge
// between the two ends of a rise or fall and, with Straight, points on the
// straight line between their neighbours. Also keeps x from going back by a
// rounding.
TFuzzyPoints Tidy(TFuzzyPoints P, bool Straight) {
  for (std::size_t I = 1; I < P.size(); ++I) P[I].X = std::max(P[I].X, P[I - 1].X);
  TFuzzyPoints R;
  R.reserve(P.size());
  for (const TFuzzyPoint& Point : P) {
    for (;;) {
      if (!R.empty() && R.back() == Point) break;
      if (R.size() < 2) {
        R.push_back(Point);
        break;
      }
      const TFuzzyPoint& A = R[R.size() - 2];
      const TFuzzyPoint& B = R.back();
      bool Redundant;
      if (A.X == B.X && B.X == Point.X)
        Redundant = (A.Y <= B.Y && B.Y <= Point.Y) || (A.Y >= B.Y && B.Y >= Point.Y);
      else if (Straight && A.X < B.X && B.X < Point.X)
        Redundant = std::fabs(B.Y - Lerp(A.Y, Point.Y, (B.X / 2 - A.X / 2) / (Point.X / 2 - A.X / 2))) <= 1e-12;
      else
        Redundant = false;
      if (!Redundant) {
        R.push_back(Point);
        break;
      }
      R.pop_back();
    }
  }
  return R;
}

// Cuts every membership into 0..1, or (Clip false) cuts below 0 and scales
// the curve down by its peak when that lies above 1.
void Bound(TFuzzyPoints& P, bool Clip) {
  TFzyFloat Peak = 0.0;
  for (TFuzzyPoint& Point : P) {
    if (!(Point.Y > 0.0)) Point.Y = 0.0;
    Peak = std::max(Peak, Point.Y);
  }
  if (!Clip && Peak > 1.0)
    for (TFuzzyPoint& Point : P) Point.Y /= Peak;
  for (TFuzzyPoint& Point : P) Point.Y = Clamp01(Point.Y);
}

// A membership change y -> F(y). Levels are the ys at which F bends (or
// reaches the bounds), where a point is put; Curved draws sloped pieces with
// extra points.
struct TMembershipMap {
  std::function<TFzyFloat(TFzyFloat)> F;
  std::vector<TFzyFloat> Levels;
  bool Curved = false;
};

TFuzzyPoints MapCurve(const TFuzzyPoints& P, const TMembershipMap& Map) {
  TFuzzyPoints R;
  std::vector<TFzyFloat> Ts;
  for (std::size_t I = 0; I < P.size(); ++I) {
    if (I > 0 && P[I - 1].X < P[I].X) {
      const TFuzzyPoint& A = P[I - 1];
      const TFuzzyPoint& B = P[I];
      Ts.clear();
      for (const TFzyFloat Level : Map.Levels) AddCrossing(Ts, A.Y, B.Y, Level);
      if (Map.Curved) AddRefinement(Ts, RefinePieces(B.Y - A.Y));
      SortFractions(Ts);
      for (const TFzyFloat T : Ts) R.push_back({Lerp(A.X, B.X, T), Map.F(Lerp(A.Y, B.Y, T))});
    }
    R.push_back({P[I].X, Map.F(P[I].Y)});
  }
  return R;
}

// A membership combination (a, b) -> F(a, b) of two curves.
struct TCombination {
  TFzyFloat (*F)(TFzyFloat, TFzyFloat);
  bool Curved;       // bends between the breaks of the two curves
  bool BendsAtOne;   // bends where a + b = 1
  bool ScaleToPeak;  // may rise above 1, and is then scaled down
};

TFzyFloat Max(TFzyFloat A, TFzyFloat B) { return std::max(A, B); }
TFzyFloat Min(TFzyFloat A, TFzyFloat B) { return std::min(A, B); }
TFzyFloat Mean(TFzyFloat A, TFzyFloat B) { return (A + B) / 2.0; }
TFzyFloat MeanSqr(TFzyFloat A, TFzyFloat B) { return (A * A + B * B) / 2.0; }
TFzyFloat MeanSqrt(TFzyFloat A, TFzyFloat B) { return (std::sqrt(Clamp01(A)) + std::sqrt(Clamp01(B))) / 2.0; }
TFzyFloat AlgebraicSum(TFzyFloat A, TFzyFloat B) { return A + B - A * B; }
TFzyFloat AlgebraicProduct(TFzyFloat A, TFzyFloat B) { return A * B; }
TFzyFloat BoundedSum(TFzyFloat A, TFzyFloat B) { return std::min(1.0, A + B); }
TFzyFloat BoundedProduct(TFzyFloat A, TFzyFloat B) { return std::max(0.0, A + B - 1.0); }
TFzyFloat PlainSum(TFzyFloat A, TFzyFloat B) { return A + B; }

TCombination CombinationOf(TFuzzyOperation Operation, bool IsUnion) {
  switch (Operation) {
    case foZadeh:
      return {IsUnion ? Max : Min, false, false, false};
    case foMean:
      return {Mean, false, false, false};
    case foMeanSqr:
      return {MeanSqr, true, false, false};
    case foMeanSqrt:
      return {MeanSqrt, true, false, false};
    case foProduct:
      return {IsUnion ? AlgebraicSum : AlgebraicProduct, true, false, false};
    case foBoundedSum:
      return {IsUnion ? BoundedSum : BoundedProduct, false, true, false};
    case foSum:
      return IsUnion ? TCombination{PlainSum, false, false, true} : TCombination{BoundedProduct, false, true, false};
  }
  throw EFuzzyException(Format(SFuzzyInvalidOperation, static_cast<int>(Operation)));
}

TFuzzyPoints CombineCurves(const TFuzzyPoints& A, const TFuzzyPoints& B, const TCombination& C) {
  TFuzzyPoints R;
  std::vector<TFzyFloat> Ts;
  bool HavePrevious = false;
  TFzyFloat PrevX = 0.0;
  TFzyFloat PrevA = 0.0;
  TFzyFloat PrevB = 0.0;
  ForEachBreak(A, B, [&](TFzyFloat X, const TCurveSample& SA, const TCurveSample& SB) {
    if (HavePrevious && PrevX < X) {
      Ts.clear();
      if (C.BendsAtOne) AddCrossing(Ts, PrevA + PrevB, SA.Left + SB.Left, 1.0);
      if (C.Curved) AddRefinement(Ts, RefinePieces(std::max(std::fabs(SA.Left - PrevA), std::fabs(SB.Left - PrevB))));
      SortFractions(Ts);
      for (const TFzyFloat T : Ts)
        R.push_back({Lerp(PrevX, X, T), C.F(Lerp(PrevA, SA.Left, T), Lerp(PrevB, SB.Left, T))});
    }
    R.push_back({X, C.F(SA.Left, SB.Left)});
    R.push_back({X, C.F(SA.Value, SB.Value)});
    R.push_back({X, C.F(SA.Right, SB.Right)});
    HavePrevious = true;
    PrevX = X;
    PrevA = SA.Right;
    PrevB = SB.Right;
    return false;
  });
  return R;
}

// An instance of a set class; TFuzzySet itself needs no registration.
IFuzzySet CreateFuzzySetOfClass(TClass AClass) {
  if (AClass == nullptr || AClass == ClassOf<TFuzzySet>()) return IFuzzySet(new TFuzzySet());
  if (AClass->CanCreate()) {
    TObject* Instance = AClass->CreateInstance(nullptr);
    if (auto* Set = dynamic_cast<TFuzzySet*>(Instance)) return IFuzzySet(Set);
    delete Instance;
  }
  throw EFuzzyException(Format(SFuzzyClassError, AClass->ClassName()));
}

}  // namespace

// ---------------------------------------------------------------- names

bool IsFuzzyCorrelation(std::string_view Text, TFuzzyCorrelationMethod& Method) {
  return LookUpName(FuzzyCorrelationNames, Text, Method);
}

bool IsFuzzyInference(std::string_view Text, TFuzzyInferenceMethod& Method) {
  return LookUpName(FuzzyInferenceNames, Text, Method);
}

bool IsFuzzyOperation(std::string_view Text, TFuzzyOperation& Operation) {
  return LookUpName(FuzzyOperationNames, Text, Operation);
}

bool IsFuzzyHedge(std::string_view Text) {
  TFuzzyHedge Hedge;
  return IsFuzzyHedge(Text, Hedge);
}

bool IsFuzzyHedge(std::string_view Text, TFuzzyHedge& Hedge) { return LookUpName(FuzzyHedgeNames, Text, Hedge); }

bool IsFuzzyHedgeOperator(std::string_view Text) {
  TBaseFuzzyHedge BaseHedge;
  bool Clip;
  return IsFuzzyHedgeOperator(Text, BaseHedge, Clip);
}

bool IsFuzzyHedgeOperator(std::string_view Text, TBaseFuzzyHedge& BaseHedge, bool& Clip) {
  for (const TFuzzyHedgeOperatorName& Name : FuzzyHedgeOperatorNames)
    if (Text == Name.Text) {
      BaseHedge = Name.BaseHedge;
      Clip = Name.Clip;
      return true;
    }
  return false;
}

bool IsFuzzyKeyword(std::string_view Text, bool& IsUnion, TFuzzyOperation& Operation) {
  for (const bool Union : {true, false}) {
    const std::string_view Word = Union ? FuzzyUnionKeyword : FuzzyIntersectionKeyword;
    if (Text.substr(0, Word.size()) != Word) continue;
    const std::string_view Rest = Text.substr(Word.size());
    TFuzzyOperation Found = foZadeh;
    if (Rest.empty() || (Rest.front() == '-' && IsFuzzyOperation(Rest.substr(1), Found))) {
      IsUnion = Union;
      Operation = Found;
      return true;
    }
  }
  return false;
}

TBaseFuzzyHedge FuzzyCorrelationBaseHedge(TFuzzyCorrelationMethod Method) noexcept {
  return Method == fcmProduct ? bhProduct : bhMinimum;
}

TFuzzyOperation FuzzyInferenceOperation(TFuzzyInferenceMethod Method) noexcept {
  switch (Method) {
    case fimSum:
      return foSum;
    case fimMean:
      return foMean;
    case fimProduct:
      return foProduct;
    case fimBoundedSum:
      return foBoundedSum;
    default:
      return foZadeh;
  }
}

// ---------------------------------------------------------------- TFuzzySet

TFuzzySet::TFuzzySet() = default;

TFuzzySet::TFuzzySet(TFuzzyVariable* Variable, const std::string& Name) : FName(Name) { AttachTo(Variable); }

TFuzzySet::TFuzzySet(const IFuzzyVariable& Variable, const std::string& Name) : FName(Name) {
  AttachTo(Variable.get());
}

TFuzzySet::~TFuzzySet() { AttachTo(nullptr); }

void TFuzzySet::AttachTo(TFuzzyVariable* Value) noexcept {
  if (FVariable == Value) return;
  if (FVariable) FVariable->Unlink(this);
  FVariable = Value;
  if (FVariable) FVariable->Link(this);
}

void TFuzzySet::SetName(const std::string& Value) { FName = Value; }

void TFuzzySet::SetVariable(TFuzzyVariable* Value) { AttachTo(Value); }

void TFuzzySet::SetVariable(const IFuzzyVariable& Value) { SetVariable(Value.get()); }

void TFuzzySet::CheckPointIndex(std::int32_t Index) const {
  if (Index < 0 || Index >= GetPointCount()) throw EFuzzyException(Format(SFuzzyPointIndexError, Index));
}

TFzyFloat TFuzzySet::GetX(std::int32_t Index) const {
  CheckPointIndex(Index);
  return FPoints[static_cast<std::size_t>(Index)].X;
}

TFzyFloat TFuzzySet::GetY(std::int32_t Index) const {
  CheckPointIndex(Index);
  return FPoints[static_cast<std::size_t>(Index)].Y;
}

void TFuzzySet::AddPoint(TFzyFloat X, TFzyFloat Y) {
  CheckFinite(X, Y);
  Y = CheckedMembership(X, Y);
  if (!FPoints.empty() && X < FPoints.back().X)
    throw EFuzzyException(Format(SFuzzyPointOrder, X, Y, FPoints.back().X));
  FPoints.push_back({X, Y});
  FFuzzySetType = fstCustom;
  FExpression.clear();
}

void TFuzzySet::ClearPoints() {
  FPoints.clear();
  FFuzzySetType = fstCustom;
  FExpression.clear();
}

void TFuzzySet::SetPoints(TFuzzyPoints Points, TFuzzySetType SetType) {
  for (std::size_t I = 0; I < Points.size(); ++I) {
    TFuzzyPoint& P = Points[I];
    CheckFinite(P.X, P.Y);
    P.Y = CheckedMembership(P.X, P.Y);
    if (I > 0 && P.X < Points[I - 1].X) throw EFuzzyException(Format(SFuzzyPointOrder, P.X, P.Y, Points[I - 1].X));
  }
  DoSetPoints(std::move(Points), SetType);
}

void TFuzzySet::DoSetPoints(TFuzzyPoints&& Points, TFuzzySetType SetType) {
  FPoints = std::move(Points);
  FFuzzySetType = SetType;
  FExpression.clear();
}

// Points the library made itself: in order and in range by construction.
// Curves keep the points they are drawn with; what hedges and combinations
// make is thinned out, so that repeated changes don't pile up points.
void TFuzzySet::SetShape(TFuzzyPoints&& Points, TFuzzySetType SetType) {
  for (TFuzzyPoint& P : Points) P.Y = Clamp01(P.Y);
  DoSetPoints(Tidy(std::move(Points), SetType == fstCustom), SetType);
}

// ---------------------------------------------------------------- shapes

namespace {

void CheckCurve(const char* Curve, std::initializer_list<TFzyFloat> Numbers) {
  for (const TFzyFloat Number : Numbers)
    if (!std::isfinite(Number))
      throw EFuzzyException(Format(SFuzzyInvalidCurve, std::string(Curve), std::string("numbers must be finite")));
}

void CheckCurveSteps(const char* Curve, std::int32_t Steps) {
  if (Steps < 1 || Steps > MaxFuzzyCurveSteps)
    throw EFuzzyException(Format(SFuzzyInvalidCurve, std::string(Curve),
                                 Format("steps must be between 1 and %d, not %d", MaxFuzzyCurveSteps, Steps)));
}

// Ends computed from the arguments, such as Centre + Range, may overflow.
void CheckCurvePoints(const char* Curve, const TFuzzyPoints& Points) {
  for (const TFuzzyPoint& P : Points)
    if (!std::isfinite(P.X))
      throw EFuzzyException(Format(SFuzzyInvalidCurve, std::string(Curve), std::string("numbers must be finite")));
}

void CheckCurveOrder(const char* Curve, bool InOrder) {
  if (!InOrder)
    throw EFuzzyException(
        Format(SFuzzyInvalidCurve, std::string(Curve), std::string("its points must come in order of x")));
}

// A rise from 0 at A through 0.5 at Mid to 1 at B (a fall when not Rising):
// a parabola on each side of Mid, Steps pieces each. Built from fractions of
// the widths, so that a width of 0 gives a vertical edge and no division.
void AppendRise(TFuzzyPoints& P, std::int32_t Steps, TFzyFloat A, TFzyFloat Mid, TFzyFloat B, bool Rising) {
  for (std::int32_t K = 0; K <= 2 * Steps; ++K) {
    TFzyFloat X;
    TFzyFloat Y;
    if (K <= Steps) {
      const TFzyFloat T = static_cast<TFzyFloat>(K) / Steps;
      X = Lerp(A, Mid, T);
      Y = 0.5 * T * T;
    } else {
      const TFzyFloat T = static_cast<TFzyFloat>(2 * Steps - K) / Steps;
      X = Lerp(B, Mid, T);
      Y = 1.0 - 0.5 * T * T;
    }
    P.push_back({X, Rising ? Y : 1.0 - Y});
  }
}

}  // namespace

void TFuzzySet::TriangleCurve(TFzyFloat Left, TFzyFloat Centre, TFzyFloat Right) {
  CheckCurve("triangle", {Left, Centre, Right});
  CheckCurveOrder("triangle", Left <= Centre && Centre <= Right);
  // Three points always, a crisp number (x, x, x) too.
  DoSetPoints({{Left, 0.0}, {Centre, 1.0}, {Right, 0.0}}, fstTriangle);
}

void TFuzzySet::SCurve(std::int32_t Steps, TFzyFloat A, TFzyFloat B, TFzyFloat Mid, bool Rising) {
  const char* Curve = Rising ? "s" : "z";
  CheckCurve(Curve, {A, B, Mid});
  CheckCurveSteps(Curve, Steps);
  CheckCurveOrder(Curve, A <= Mid && Mid <= B);
  TFuzzyPoints Points;
  AppendRise(Points, Steps, A, Mid, B, Rising);
  SetShape(std::move(Points), Rising ? fstS : fstZ);
}

void TFuzzySet::BellCurve(std::int32_t Steps, TFzyFloat Range, TFzyFloat Centre) {
  CheckCurve("pi", {Range, Centre});
  if (!(Range >= 0.0))
    throw EFuzzyException(Format(SFuzzyInvalidCurve, std::string("pi"), std::string("its range must not be negative")));
  CheckCurvePoints("pi", {{Centre - Range, 0.0}, {Centre + Range, 0.0}});
  BellCurve(Steps, Centre - Range, Centre + Range, Centre);
}

void TFuzzySet::BellCurve(std::int32_t Steps, TFzyFloat Left, TFzyFloat Right, TFzyFloat Centre) {
  CheckCurve("pi", {Left, Right, Centre});
  CheckCurveSteps("pi", Steps);
  CheckCurveOrder("pi", Left <= Centre && Centre <= Right);
  TFuzzyPoints Points;
  AppendRise(Points, Steps, Left, Lerp(Left, Centre, 0.5), Centre, true);
  AppendRise(Points, Steps, Centre, Lerp(Centre, Right, 0.5), Right, false);
  SetShape(std::move(Points), fstPi);
}

void TFuzzySet::BetaCurve(std::int32_t Steps, TFzyFloat Range, TFzyFloat Centre, TFzyFloat Inflection,
                          TFzyFloat Weight) {
  CheckCurve("beta", {Range, Centre, Inflection, Weight});
  CheckCurveSteps("beta", Steps);
  const char* Fault = !(Range >= 0.0)       ? "its range must not be negative"
                      : !(Inflection > 0.0) ? "its inflection must lie above 0"
                      : !(Weight >= 0.0)    ? "its weight must not be negative"
                                            : nullptr;
  if (Fault) throw EFuzzyException(Format(SFuzzyInvalidCurve, std::string("beta"), std::string(Fault)));
  TFuzzyPoints Points;
  if (Range == 0.0) {
    Points = {{Centre, 0.0}, {Centre, 1.0}, {Centre, 0.0}};
  } else {
    Points.reserve(static_cast<std::size_t>(2 * Steps + 3));
    for (std::int32_t K = -Steps; K <= Steps; ++K) {
      const TFzyFloat X = Centre + Range * (static_cast<TFzyFloat>(K) / Steps);
      const TFzyFloat D = (X - Centre) / Inflection;
      // At least 1: no division by 0, and no overflow past a membership of 0.
      const TFzyFloat Denominator = Weight == 0.0 ? 1.0 : 1.0 + Weight * D * D;
      Points.push_back({X, std::isfinite(Denominator) ? 1.0 / Denominator : 0.0});
    }
    // The curve stops at the ends of its range instead of going on flat.
    if (Points.front().Y > 0.0) Points.insert(Points.begin(), {Points.front().X, 0.0});
    if (Points.back().Y > 0.0) Points.push_back({Points.back().X, 0.0});
  }
  // Kept whole: the second point is the first on the curve, from which the
  // weight can be read back.
  CheckCurvePoints("beta", Points);
  for (TFuzzyPoint& P : Points) P.Y = Clamp01(P.Y);
  for (std::size_t I = 1; I < Points.size(); ++I) Points[I].X = std::max(Points[I].X, Points[I - 1].X);
  DoSetPoints(std::move(Points), fstBeta);
  FInflection = Inflection;
  FWeight = Weight;
}

// ---------------------------------------------------------------- hedges

void TFuzzySet::Hedge(TFuzzyHedge AHedge) {
  TMembershipMap Map;
  bool Normalise = false;
  switch (AHedge) {
    case fhNot:
      Map.F = [](TFzyFloat Y) { return 1.0 - Y; };
      break;
    case fhVery:
      Map = {[](TFzyFloat Y) { return Y * Y; }, {}, true};
      break;
    case fhSomewhat:
      Map = {[](TFzyFloat Y) { return std::cbrt(Y); }, {}, true};
      break;
    case fhMoreOrLess:
      Map = {[](TFzyFloat Y) { return std::sqrt(Clamp01(Y)); }, {}, true};
      break;
    case fhExtremely:
      Map = {[](TFzyFloat Y) { return Y * Y * Y; }, {}, true};
      break;
    case fhSlightly:
      // Bends where y = 1 - y^2, at the golden section.
      Map = {[](TFzyFloat Y) { return std::min(Y, 1.0 - Y * Y); }, {(std::sqrt(5.0) - 1.0) / 2.0}, true};
      Normalise = true;
      break;
    case fhPlus:
      Map = {[](TFzyFloat Y) { return std::pow(Clamp01(Y), 1.25); }, {}, true};
      break;
    case fhNorm:
      Map.F = [](TFzyFloat Y) { return Y; };
      Normalise = true;
      break;
    case fhIntensify:
      Map = {[](TFzyFloat Y) { return Y <= 0.5 ? 2.0 * Y * Y : 1.0 - 2.0 * (1.0 - Y) * (1.0 - Y); }, {0.5}, true};
      break;
    default:
      throw EFuzzyException(Format(SFuzzyInvalidHedge, static_cast<int>(AHedge)));
  }
  TFuzzyPoints Points = MapCurve(FPoints, Map);
  if (FPoints.empty() && Map.F(0.0) > 0.0) {
    // 0 everywhere becomes a constant; one point holds it.
    Points = {{FVariable ? FVariable->GetUniverseLow() : 0.0, Map.F(0.0)}};
  }
  Bound(Points, true);
  if (Normalise) {
    TFzyFloat Peak = 0.0;
    for (const TFuzzyPoint& P : Points) Peak = std::max(Peak, P.Y);
    // A set that is 0 everywhere has no peak to scale to.
    if (Peak > 0.0)
      for (TFuzzyPoint& P : Points) P.Y /= Peak;
  }
  SetShape(std::move(Points), fstCustom);
}

void TFuzzySet::Hedge(TBaseFuzzyHedge BaseHedge, TFzyFloat Number, bool Clip) {
  const auto Refuse = [&] {
    const char* Name = "?";
    for (const TFuzzyHedgeOperatorName& Word : FuzzyHedgeOperatorNames)
      if (Word.BaseHedge == BaseHedge) {
        Name = Word.Text;
        break;
      }
    throw EFuzzyException(Format(SFuzzyInvalidHedgeNumber, std::string(Name), Number));
  };
  if (static_cast<unsigned>(BaseHedge) > bhMinimum)
    throw EFuzzyException(Format(SFuzzyInvalidHedge, static_cast<int>(BaseHedge)));
  if (!std::isfinite(Number)) Refuse();
  const TFzyFloat N = Number;
  TMembershipMap Map;
  switch (BaseHedge) {
    case bhAdd:
      Map = {[N](TFzyFloat Y) { return Y + N; }, {-N, 1.0 - N}, false};
      break;
    case bhSubtract:
      Map = {[N](TFzyFloat Y) { return Y - N; }, {N, 1.0 + N}, false};
      break;
    case bhProduct:
      Map = {[N](TFzyFloat Y) { return Y * N; }, {}, false};
      if (N > 0.0) Map.Levels.push_back(1.0 / N);
      break;
    case bhDivide:
      if (N == 0.0) Refuse();
      Map = {[N](TFzyFloat Y) { return Y / N; }, {N}, false};
      break;
    case bhPower:
      if (!(N > 0.0)) Refuse();
      Map = {[N](TFzyFloat Y) { return std::pow(Clamp01(Y), N); }, {}, true};
      break;
    case bhRoot:
      if (!(N > 0.0)) Refuse();
      Map = {[N](TFzyFloat Y) { return std::pow(Clamp01(Y), 1.0 / N); }, {}, true};
      break;
    case bhMaximum:
      Map = {[N](TFzyFloat Y) { return std::max(Y, N); }, {N}, false};
      break;
    case bhMinimum:
      Map = {[N](TFzyFloat Y) { return std::min(Y, N); }, {N}, false};
      break;
  }
  TFuzzyPoints Points = MapCurve(FPoints, Map);
  if (FPoints.empty() && Map.F(0.0) > 0.0) Points = {{FVariable ? FVariable->GetUniverseLow() : 0.0, Map.F(0.0)}};
  Bound(Points, Clip);
  SetShape(std::move(Points), fstCustom);
}

// ---------------------------------------------------------------- combinations

IFuzzySet TFuzzySet::Union(const IFuzzySet& Other, TFuzzyOperation Operation) const {
  return Combine(Other, Operation, true);
}

IFuzzySet TFuzzySet::Intersection(const IFuzzySet& Other, TFuzzyOperation Operation) const {
  return Combine(Other, Operation, false);
}

IFuzzySet TFuzzySet::Combine(const IFuzzySet& Other, TFuzzyOperation Operation, bool IsUnion) const {
  if (!Other) throw EFuzzyException(Format(SFuzzyNilOperand, FName));
  const TCombination Combination = CombinationOf(Operation, IsUnion);
  TFuzzyVariable* const OtherVariable = Other->FVariable;
  if (FVariable && OtherVariable && FVariable != OtherVariable && FVariable->GetName() != OtherVariable->GetName())
    throw EFuzzyException(
        Format(SFuzzyDifferentVariables, FName, FVariable->GetName(), Other->FName, OtherVariable->GetName()));
  TFuzzyPoints Points = CombineCurves(FPoints, Other->FPoints, Combination);
  Bound(Points, !Combination.ScaleToPeak);

  IFuzzySet Result = NewInstance();
  Result->SetVariable(FVariable ? FVariable : OtherVariable);
  Result->SetParser(FParser ? FParser : Other->FParser);
  if (!FName.empty() && !Other->FName.empty()) {
    std::string Keyword = IsUnion ? FuzzyUnionKeyword : FuzzyIntersectionKeyword;
    if (Operation != foZadeh) Keyword += std::string("-") + FuzzyOperationNames[Operation];
    Result->SetName(FName + " " + Keyword + " " + Other->FName);
  }
  Result->SetShape(std::move(Points), fstCustom);
  return Result;
}

TFzyFloat TFuzzySet::DegreeOfMembership(TFzyFloat X) const {
  if (FPoints.empty() || std::isnan(X)) return 0.0;
  auto Index = static_cast<std::size_t>(
      std::lower_bound(FPoints.begin(), FPoints.end(), X,
                       [](const TFuzzyPoint& P, TFzyFloat Value) { return P.X < Value; }) -
      FPoints.begin());
  return SampleAt(FPoints, Index, X).Value;
}

TFzyFloat TFuzzySet::GetCompatibilityIndex() const {
  TFzyFloat Peak = 0.0;
  for (const TFuzzyPoint& P : FPoints) Peak = std::max(Peak, P.Y);
  return Peak;
}

TFzyFloat TFuzzySet::MomentDefuzzify() const {
  TFzyFloat Area = 0.0;
  TFzyFloat Moment = 0.0;
  for (std::size_t I = 1; I < FPoints.size(); ++I) {
    const TFuzzyPoint& A = FPoints[I - 1];
    const TFuzzyPoint& B = FPoints[I];
    const TFzyFloat Width = B.X - A.X;
    Area += Width * (A.Y + B.Y) / 2.0;
    // The integral of x * y over a linear piece.
    Moment += Width * (A.Y * (2.0 * A.X + B.X) + B.Y * (A.X + 2.0 * B.X)) / 6.0;
  }
  if (Area > 0.0) return Moment / Area;
  TFzyFloat Weight = 0.0;
  TFzyFloat Sum = 0.0;
  for (const TFuzzyPoint& P : FPoints)
    if (P.Y > 0.0) {
      Weight += P.Y;
      Sum += P.X * P.Y;
    }
  if (Weight > 0.0) return Sum / Weight;
  throw EFuzzyException(SFuzzyEmptyDefuzzify);
}

namespace {
// Memberships this close to the peak count as the peak: combinations leave
// rounding noise on what is one plateau.
constexpr TFzyFloat PeakTolerance = 1e-9;
}  // namespace

TFzyFloat TFuzzySet::MaximumDefuzzify() const {
  const TFzyFloat Peak = GetCompatibilityIndex();
  if (!(Peak > 0.0)) throw EFuzzyException(SFuzzyEmptyDefuzzify);
  const auto AtPeak = [Peak](const TFuzzyPoint& P) { return P.Y >= Peak - PeakTolerance; };
  TFzyFloat Width = 0.0;
  TFzyFloat Sum = 0.0;
  for (std::size_t I = 1; I < FPoints.size(); ++I) {
    const TFuzzyPoint& A = FPoints[I - 1];
    const TFuzzyPoint& B = FPoints[I];
    if (AtPeak(A) && AtPeak(B)) {
      Width += B.X - A.X;
      Sum += (B.X - A.X) * (A.X + B.X) / 2.0;
    }
  }
  if (Width > 0.0) return Sum / Width;
  TFzyFloat Count = 0.0;
  Sum = 0.0;
  for (const TFuzzyPoint& P : FPoints)
    if (AtPeak(P)) {
      Sum += P.X;
      Count += 1.0;
    }
  return Sum / Count;  // the peak's own point counts: Count >= 1
}

bool TFuzzySet::IsUndecidable() const {
  const TFzyFloat Peak = GetCompatibilityIndex();
  if (!(Peak > 0.0)) return true;
  int Regions = 0;
  bool InRegion = false;
  for (const TFuzzyPoint& P : FPoints) {
    const bool AtPeak = P.Y >= Peak - PeakTolerance;
    if (AtPeak && !InRegion) ++Regions;
    InRegion = AtPeak;
  }
  return Regions > 1;
}

bool TFuzzySet::Iterate(const TFuzzySet& Other, TFuzzyOperator Callback) const {
  if (Callback == nullptr) return false;
  const TFzyFloat Threshold = GetEqualityThreshold();
  return WalkCurves(FPoints, Other.FPoints, [&](TFzyFloat X, TFzyFloat Y1, TFzyFloat Y2) {
    return (this->*Callback)(X, Y1, Y2, Threshold);
  });
}

bool TFuzzySet::Iterate(const IFuzzySet& Other, TFuzzyOperator Callback) const {
  return Other ? Iterate(*Other, Callback) : false;
}

bool TFuzzySet::AboveThreshold(TFzyFloat Degree, TFzyFloat Threshold) noexcept {
  return NarrowToSingle(Degree) > NarrowToSingle(Threshold);
}

bool TFuzzySet::FuzzyOperatorMinThreshold(TFzyFloat, TFzyFloat Y1, TFzyFloat Y2, TFzyFloat Threshold) const {
  return AboveThreshold(std::min(Y1, Y2), Threshold);
}

bool TFuzzySet::FuzzyOperatorMaxOfMin(TFzyFloat, TFzyFloat Y1, TFzyFloat Y2, TFzyFloat) const {
  FRunningMaximum = std::max(FRunningMaximum, std::min(Y1, Y2));
  return false;
}

float TFuzzySet::GetEqualityThreshold() const noexcept {
  return FVariable ? FVariable->GetEqualityThreshold() : DefaultFuzzyEqualsThreshold;
}

bool TFuzzySet::Equals(const IInterface& Other) const {
  const auto* Set = dynamic_cast<const TFuzzySet*>(Other.get());
  return Set != nullptr && Iterate(*Set, &TFuzzySet::FuzzyOperatorMinThreshold);
}

float TFuzzySet::FuzzyEquals(const IInterface& Other) {
  SetRunningMaximum(0.0);
  if (const auto* Set = dynamic_cast<const TFuzzySet*>(Other.get()))
    Iterate(*Set, &TFuzzySet::FuzzyOperatorMaxOfMin);
  return NarrowToSingle(FRunningMaximum);
}

bool TFuzzySet::SameShape(const TFuzzySet& Other, TFzyFloat Epsilon) const noexcept {
  if (FPoints.size() != Other.FPoints.size()) return false;
  for (std::size_t I = 0; I < FPoints.size(); ++I)
    if (!FloatEquals(FPoints[I].X, Other.FPoints[I].X, Epsilon) ||
        !FloatEquals(FPoints[I].Y, Other.FPoints[I].Y, Epsilon))
      return false;
  return true;
}

IFuzzySet TFuzzySet::NewInstance() const { return CreateFuzzySetOfClass(ClassType()); }

IFuzzySet TFuzzySet::Clone() const {
  IFuzzySet Result = NewInstance();
  Result->Assign(const_cast<TFuzzySet*>(this));
  return Result;
}

IInterface TFuzzySet::CloneInterface() const { return IInterface(Clone()); }

void TFuzzySet::Assign(TPersistent* Source) {
  auto* Set = dynamic_cast<TFuzzySet*>(Source);
  if (Set == nullptr) {
    TPersistent::Assign(Source);
    return;
  }
  if (Set == this) return;
  TFuzzyPoints Points = Set->FPoints;
  DoSetPoints(std::move(Points), Set->FFuzzySetType);
  FInflection = Set->FInflection;
  FWeight = Set->FWeight;
  FExpression = Set->FExpression;
  SetName(Set->FName);
  SetVariable(Set->FVariable);
  FParser = Set->FParser;
}

void TFuzzySet::Assign(const IInterface& Source) {
  if (!Source) throw EConvertError(Format(SAssignError, std::string("nil"), ClassName()));
  Assign(dynamic_cast<TPersistent*>(Source.get()));
}

std::string TFuzzySet::PointsToString() const {
  std::string Result = "(";
  for (const TFuzzyPoint& P : FPoints) {
    Result += '(';
    Result += Format("%.4f %.4f", P.X, P.Y);
    Result += ") ";
  }
  Result += ')';
  return Result;
}

std::string TFuzzySet::ToString() const {
  // The set's own printer, else its variable's.
  IFuzzyParser* Parser = FParser ? FParser : (FVariable ? FVariable->GetParser() : nullptr);
  if (Parser) {
    if (IFuzzySet Self = HeldRef(this)) return Parser->PrettyPrint(Self, !FIsTerm);
  }
  return PointsToString();
}

// ---------------------------------------------------------------- TFuzzyVariable

TFuzzyVariable::TFuzzyVariable(const std::string& Name) : FName(Name), FFuzzySetClass(ClassOf<TFuzzySet>()) {}

TFuzzyVariable::~TFuzzyVariable() {
  // Sets held elsewhere outlive the variable; none may point at it then.
  for (TFuzzySet* Set = FFirstSet; Set != nullptr;) {
    TFuzzySet* Next = Set->FNextOfVariable;
    Set->FVariable = nullptr;
    Set->FPrevOfVariable = nullptr;
    Set->FNextOfVariable = nullptr;
    Set = Next;
  }
  FFirstSet = nullptr;
}

void TFuzzyVariable::Link(TFuzzySet* Set) noexcept {
  Set->FPrevOfVariable = nullptr;
  Set->FNextOfVariable = FFirstSet;
  if (FFirstSet) FFirstSet->FPrevOfVariable = Set;
  FFirstSet = Set;
}

void TFuzzyVariable::Unlink(TFuzzySet* Set) noexcept {
  if (Set->FPrevOfVariable)
    Set->FPrevOfVariable->FNextOfVariable = Set->FNextOfVariable;
  else
    FFirstSet = Set->FNextOfVariable;
  if (Set->FNextOfVariable) Set->FNextOfVariable->FPrevOfVariable = Set->FPrevOfVariable;
  Set->FPrevOfVariable = nullptr;
  Set->FNextOfVariable = nullptr;
}

void TFuzzyVariable::SetName(const std::string& Value) { FName = Value; }

void TFuzzyVariable::SetUniverse(TFzyFloat Low, TFzyFloat High) {
  if (!std::isfinite(Low) || !std::isfinite(High) || !(Low < High))
    throw EFuzzyException(Format(SFuzzyInvalidLowHiLimits, Low, High));
  for (const IFuzzySet& Set : FTerms)
    if (Set->GetIsTerm()) CheckInUniverse(*Set, Low, High);
  FUniverseLow = Low;
  FUniverseHigh = High;
  FUniverseSet = true;
}

void TFuzzyVariable::CheckInUniverse(const TFuzzySet& Set, TFzyFloat Low, TFzyFloat High) const {
  // A bound computed from the others may miss by a rounding.
  const TFzyFloat Slack = 1e-9 * std::max({1.0, std::fabs(Low), std::fabs(High)});
  for (const TFuzzyPoint& P : Set.GetPoints())
    if (P.X < Low - Slack || P.X > High + Slack)
      throw EFuzzyException(Format(SFuzzyTermOutsideUniverse, Set.GetName(), FName, Low, High));
}

void TFuzzyVariable::SetEqualityThreshold(float Value) noexcept {
  if (!(Value > 0.0F))
    Value = 0.0F;
  else if (Value > 1.0F)
    Value = 1.0F;
  FEqualityThreshold = Value;
}

const IFuzzySet& TFuzzyVariable::GetTerm(std::int32_t Index) const {
  if (Index < 0 || Index >= GetTermCount()) throw EFuzzyException(Format(SFuzzyTermIndexError, Index));
  return FTerms[static_cast<std::size_t>(Index)];
}

IFuzzySet TFuzzyVariable::FindFuzzySet(std::string_view Name) const {
  for (const IFuzzySet& Set : FTerms)
    if (Set->GetName() == Name) return Set;
  return nullptr;
}

IFuzzySet TFuzzyVariable::NewFuzzySet(const std::string& Name) {
  IFuzzySet Result = CreateFuzzySetOfClass(FFuzzySetClass);
  Result->SetVariable(this);
  Result->SetName(Name);
  Result->SetParser(FParser);
  return Result;
}

std::int32_t TFuzzyVariable::DoAddSet(const IFuzzySet& Set, bool AsTerm) {
  if (!Set) throw EFuzzyException(Format(SFuzzyNilSet, FName));
  if (AsTerm && FUniverseSet) CheckInUniverse(*Set, FUniverseLow, FUniverseHigh);
  if (Set->GetVariable() == nullptr) Set->SetVariable(this);
  if (AsTerm) Set->SetIsTerm(true);
  for (std::size_t I = 0; I < FTerms.size(); ++I)
    if (FTerms[I]->GetName() == Set->GetName()) {
      if (FTerms[I] != Set) {
        Set->SetOrderNumber(FTerms[I]->GetOrderNumber());
        FTerms[I] = Set;
      }
      return static_cast<std::int32_t>(I);
    }
  Set->SetOrderNumber(++FLastOrderNumber);
  FTerms.push_back(Set);
  return GetTermCount() - 1;
}

std::int32_t TFuzzyVariable::AddTerm(const IFuzzySet& Set) { return DoAddSet(Set, true); }

std::int32_t TFuzzyVariable::AddFuzzySet(const IFuzzySet& Set) { return DoAddSet(Set, false); }

void TFuzzyVariable::ClearTerms() {
  // Released after the list is empty, so that a set going away finds the
  // variable consistent.
  std::vector<IFuzzySet> Old;
  Old.swap(FTerms);
  FLastOrderNumber = 0;
}

IFuzzySet TFuzzyVariable::GetEmptyFuzzySet() {
  if (IFuzzySet Found = FindFuzzySet(SEmptyFuzzy)) return Found;
  IFuzzySet Result = NewFuzzySet(SEmptyFuzzy);
  AddFuzzySet(Result);
  return Result;
}

IFuzzySet TFuzzyVariable::GetFuzzySetFromExpression(const std::string& Expression) {
  if (FParser) {
    if (IFuzzyVariable Self = HeldRef(this)) return FParser->EvalFuzzyExpression(Self, Expression);
  }
  if (Expression.empty() || Expression == SEmptyFuzzy) return GetEmptyFuzzySet();
  return FindFuzzySet(Expression);
}

bool TFuzzyVariable::Equals(const IInterface& Other) const {
  const auto* Variable = dynamic_cast<const TFuzzyVariable*>(Other.get());
  if (Variable == nullptr) return false;
  if (Variable == this) return true;
  if (FName != Variable->FName || FUnits != Variable->FUnits ||
      !FloatEquals(FUniverseLow, Variable->FUniverseLow, 0.0001) ||
      !FloatEquals(FUniverseHigh, Variable->FUniverseHigh, 0.0001))
    return false;
  const auto CountTerms = [](const std::vector<IFuzzySet>& Sets) {
    return std::count_if(Sets.begin(), Sets.end(), [](const IFuzzySet& Set) { return Set->GetIsTerm(); });
  };
  if (CountTerms(FTerms) != CountTerms(Variable->FTerms)) return false;
  for (const IFuzzySet& Set : FTerms) {
    if (!Set->GetIsTerm()) continue;
    const IFuzzySet Match = Variable->FindFuzzySet(Set->GetName());
    if (!Match || !Match->GetIsTerm() || !Set->SameShape(*Match)) return false;
  }
  return true;
}

IFuzzyVariable TFuzzyVariable::NewInstance() const {
  // A subclass that is not registered differs from its base only by its set
  // class, which Assign carries over.
  const TClass Class = ClassType();
  if (Class != ClassOf<TFuzzyVariable>() && Class->CanCreate()) {
    TObject* Instance = Class->CreateInstance(nullptr);
    if (auto* Variable = dynamic_cast<TFuzzyVariable*>(Instance)) return IFuzzyVariable(Variable);
    delete Instance;
  }
  return IFuzzyVariable(new TFuzzyVariable());
}

IFuzzyVariable TFuzzyVariable::Clone() const {
  IFuzzyVariable Result = NewInstance();
  Result->Assign(const_cast<TFuzzyVariable*>(this));
  return Result;
}

IInterface TFuzzyVariable::CloneInterface() const { return IInterface(Clone()); }

void TFuzzyVariable::Assign(TPersistent* Source) {
  auto* Variable = dynamic_cast<TFuzzyVariable*>(Source);
  if (Variable == nullptr) {
    TPersistent::Assign(Source);
    return;
  }
  if (Variable == this) return;
  // Cloning may fail on a set class that can't be made: build first, then
  // take over, so that a failure changes nothing.
  std::vector<IFuzzySet> Sets;
  Sets.reserve(Variable->FTerms.size());
  for (const IFuzzySet& Set : Variable->FTerms) {
    IFuzzySet Copy = Set->Clone();
    Copy->SetIsTerm(Set->GetIsTerm());
    Copy->SetOrderNumber(Set->GetOrderNumber());
    Sets.push_back(std::move(Copy));
  }
  SetName(Variable->FName);
  FUnits = Variable->FUnits;
  FUniverseLow = Variable->FUniverseLow;
  FUniverseHigh = Variable->FUniverseHigh;
  FUniverseSet = Variable->FUniverseSet;
  FEqualityThreshold = Variable->FEqualityThreshold;
  FParser = Variable->FParser;
  FFuzzySetClass = Variable->FFuzzySetClass;
  for (IFuzzySet& Set : Sets)
    if (Set->GetVariable() == Variable) Set->SetVariable(this);
  FTerms.swap(Sets);
  FLastOrderNumber = Variable->FLastOrderNumber;
}

void TFuzzyVariable::Assign(const IInterface& Source) {
  if (!Source) throw EConvertError(Format(SAssignError, std::string("nil"), ClassName()));
  Assign(dynamic_cast<TPersistent*>(Source.get()));
}

std::string TFuzzyVariable::ToString() const {
  if (FParser) {
    if (IFuzzyVariable Self = HeldRef(this)) return FParser->PrettyPrint(Self);
  }
  const std::string Indent = IndentString(1);
  std::string Result = Indent + Format("(range %.4f %.4f)", FUniverseLow, FUniverseHigh) + sLineBreak;
  if (!FUnits.empty()) {
    const bool Quoted = FUnits.find(' ') != std::string::npos;
    Result += Indent + "(units " + (Quoted ? "\"" + FUnits + "\"" : FUnits) + ")" + sLineBreak;
  }
  Result += Indent + "(values " + sLineBreak;
  std::vector<const TFuzzySet*> Terms;
  for (const IFuzzySet& Set : FTerms)
    if (Set->GetIsTerm()) Terms.push_back(Set.get());
  std::stable_sort(Terms.begin(), Terms.end(), [](const TFuzzySet* A, const TFuzzySet* B) {
    return A->GetOrderNumber() < B->GetOrderNumber();
  });
  for (const TFuzzySet* Set : Terms)
    Result += IndentString(2) + "(term " + Set->GetName() + " " + Set->PointsToString() + ")" + sLineBreak;
  Result += Indent + ")";
  return Result;
}

// ---------------------------------------------------------------- inference

IFuzzySet FuzzyCorrelate(const IFuzzySet& Set, TFuzzyCorrelationMethod Method, TFzyFloat Strength) {
  if (!Set) return nullptr;
  IFuzzySet Result = Set->Clone();
  Result->Hedge(FuzzyCorrelationBaseHedge(Method), Strength, true);
  return Result;
}

IFuzzySet FuzzyCombine(const IFuzzySet& Set1, const IFuzzySet& Set2, TFuzzyInferenceMethod Method, bool IsUnion) {
  if (!Set1) throw EFuzzyException(Format(SFuzzyNilOperand, Set2 ? Set2->GetName() : std::string()));
  const TFuzzyOperation Operation = FuzzyInferenceOperation(Method);
  return IsUnion ? Set1->Union(Set2, Operation) : Set1->Intersection(Set2, Operation);
}

}  // namespace cogent
