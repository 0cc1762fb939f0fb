#include "cogent/fuzzy/VXFuzzyLogic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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

bool ByX(const TFuzzyPoint& A, const TFuzzyPoint& B) noexcept { return A.X < B.X; }

void CheckFinite(TFzyFloat X, TFzyFloat Y) {
  if (!std::isfinite(X) || !std::isfinite(Y)) throw EFuzzyException(SFuzzyInvalidPoint);
}

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
    const TFuzzyPoint& A = P[Index - 1];
    const TFuzzyPoint& B = P[Index];
    Y = A.Y + (B.Y - A.Y) * ((X - A.X) / (B.X - A.X));
  }
  return {Y, Y, Y};
}

// Calls Fn(X, Y1, Y2) at every point of either curve and wherever the two
// cross in between. Between two such xs both curves are linear, so a maximum
// or minimum of min or max of the two is found among these calls. Stops when
// Fn returns true and answers true then.
template <class F>
bool WalkCurves(const TFuzzyPoints& A, const TFuzzyPoints& B, F&& Fn) {
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
        if (Fn(PrevX + T * (X - PrevX), PrevA + T * (SA.Left - PrevA), PrevB + T * (SB.Left - PrevB)))
          return true;
      }
    }
    if (Fn(X, SA.Value, SB.Value)) return true;
    HavePrevious = true;
    PrevX = X;
    PrevA = SA.Right;
    PrevB = SB.Right;
  }
  return false;
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
  const TFuzzyPoint Point{X, Y};
  if (FUpdateCount > 0) {
    FUnsorted = FUnsorted || (!FPoints.empty() && X < FPoints.back().X);
    FPoints.push_back(Point);
  } else {
    FPoints.insert(std::upper_bound(FPoints.begin(), FPoints.end(), Point, ByX), Point);
  }
  FFuzzySetType = fstCustom;
}

void TFuzzySet::ClearPoints() {
  FPoints.clear();
  FUnsorted = false;
  FFuzzySetType = fstCustom;
}

void TFuzzySet::SetPoints(TFuzzyPoints Points, TFuzzySetType SetType) {
  for (const TFuzzyPoint& P : Points) CheckFinite(P.X, P.Y);
  std::stable_sort(Points.begin(), Points.end(), ByX);
  DoSetPoints(std::move(Points), SetType);
}

void TFuzzySet::DoSetPoints(TFuzzyPoints&& Points, TFuzzySetType SetType) {
  FPoints = std::move(Points);
  FUnsorted = false;
  FFuzzySetType = SetType;
}

void TFuzzySet::EndUpdate() {
  if (FUpdateCount == 0) return;
  if (--FUpdateCount == 0 && FUnsorted) {
    std::stable_sort(FPoints.begin(), FPoints.end(), ByX);
    FUnsorted = false;
  }
}

TFzyFloat TFuzzySet::DegreeOfMembership(TFzyFloat X) const {
  if (FPoints.empty() || std::isnan(X)) return 0.0;
  auto Index = static_cast<std::size_t>(
      std::lower_bound(FPoints.begin(), FPoints.end(), X,
                       [](const TFuzzyPoint& P, TFzyFloat Value) { return P.X < Value; }) -
      FPoints.begin());
  return SampleAt(FPoints, Index, X).Value;
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
  return Weight > 0.0 ? Sum / Weight : 0.0;
}

TFzyFloat TFuzzySet::MaximumDefuzzify() const {
  if (FPoints.empty()) return 0.0;
  TFzyFloat Peak = FPoints.front().Y;
  for (const TFuzzyPoint& P : FPoints) Peak = std::max(Peak, P.Y);
  TFzyFloat Width = 0.0;
  TFzyFloat Sum = 0.0;
  for (std::size_t I = 1; I < FPoints.size(); ++I) {
    const TFuzzyPoint& A = FPoints[I - 1];
    const TFuzzyPoint& B = FPoints[I];
    if (A.Y == Peak && B.Y == Peak) {
      Width += B.X - A.X;
      Sum += (B.X - A.X) * (A.X + B.X) / 2.0;
    }
  }
  if (Width > 0.0) return Sum / Width;
  TFzyFloat Count = 0.0;
  Sum = 0.0;
  for (const TFuzzyPoint& P : FPoints)
    if (P.Y == Peak) {
      Sum += P.X;
      Count += 1.0;
    }
  return Sum / Count;
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
  SetPoints(Set->FPoints, Set->FFuzzySetType);
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
  if (FParser) {
    if (IFuzzySet Self = HeldRef(this)) return FParser->PrettyPrint(Self, !FIsTerm);
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
  FUniverseLow = Low;
  FUniverseHigh = High;
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
      !FloatEquals(FUniverseHigh, Variable->FUniverseHigh, 0.0001) || FTerms.size() != Variable->FTerms.size())
    return false;
  for (const IFuzzySet& Set : FTerms) {
    const IFuzzySet Match = Variable->FindFuzzySet(Set->GetName());
    if (!Match || Match->GetIsTerm() != Set->GetIsTerm() || !Set->SameShape(*Match)) return false;
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

}  // namespace cogent
