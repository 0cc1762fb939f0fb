#include "cogent/values/KBDefinedType.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "cogent/common/VXCommon.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/host/Guards.h"

namespace cogent {

namespace {

// A default list is built item by item; a minimum cardinality beyond this
// is refused rather than allowed to exhaust memory.
constexpr std::int32_t MaxDefaultListLength = 1 << 20;
constexpr const char* SDefaultListTooLong = "A default list of %d elements is too long, the most is %d";

constexpr TKBTypes ConstraintTypes{dtAtom, dtString, dtInteger, dtFloat};
// What a fuzzy type accepts besides its own sets: all of these can still
// become a set of the variable.
constexpr TKBTypes FuzzyConvertibleTypes{dtAtom,     dtString,     dtInteger,   dtVariable,
                                         dtFloat,    dtFunCall,    dtSingletons, dtMultiVariable};

const char* ConstraintKindName(TValueConstraint Kind) noexcept {
  switch (Kind) {
    case vcAtom:
      return "Atom";
    case vcString:
      return "String";
    case vcInteger:
      return "Integer";
    case vcFloat:
      return "Float";
  }
  return "";
}

// The kind's name as the messages use it: "dtList" is "List".
std::string KindName(TKBType Kind) {
  const std::string Name = GetKBTypeName(Kind);
  return Name.size() > 2 ? Name.substr(2) : Name;
}

// A float is an integer for the allowed lists only when it is one exactly
// and an Integer can hold it.
bool IsWholeInteger(double Value) noexcept {
  return std::isfinite(Value) && std::trunc(Value) == Value && Value >= KBOpenMinRange && Value <= KBOpenMaxRange;
}

// Cut toward zero, clamped to the Integer range; NaN gives 0.
std::int32_t TruncToInteger(double Value) noexcept {
  if (std::isnan(Value)) return 0;
  if (Value >= KBOpenMaxRange) return std::numeric_limits<std::int32_t>::max();
  if (Value <= KBOpenMinRange) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(Value);
}

bool ValidUniverse(double Low, double High) noexcept {
  return std::isfinite(Low) && std::isfinite(High) && Low < High;
}

std::unique_ptr<TStringList<>> NewConstraintStrings() {
  auto Result = std::make_unique<TStringList<>>();
  Result->SetCaseSensitive(false);
  return Result;
}

// The allowed lists of two types, item by item and in order.
bool ConstraintsEqual(const TKBDefinedType& A, const TKBDefinedType& B) {
  if (A.GetConstraintAtomsCount() != B.GetConstraintAtomsCount() ||
      A.GetConstraintStringsCount() != B.GetConstraintStringsCount() ||
      A.GetConstraintIntegersCount() != B.GetConstraintIntegersCount() ||
      A.GetConstraintFloatsCount() != B.GetConstraintFloatsCount())
    return false;
  for (std::int32_t I = 0; I < A.GetConstraintAtomsCount(); ++I)
    if (A.GetConstraintAtom(I) != B.GetConstraintAtom(I)) return false;
  for (std::int32_t I = 0; I < A.GetConstraintStringsCount(); ++I)
    if (A.GetConstraintString(I) != B.GetConstraintString(I)) return false;
  for (std::int32_t I = 0; I < A.GetConstraintIntegersCount(); ++I)
    if (A.GetConstraintInteger(I) != B.GetConstraintInteger(I)) return false;
  for (std::int32_t I = 0; I < A.GetConstraintFloatsCount(); ++I) {
    const IKBValue X = A.GetConstraintFloat(I);
    const IKBValue Y = B.GetConstraintFloat(I);
    if (X != Y && (!X || !X->Equals(Y))) return false;
  }
  return true;
}

// A primitive value whose allowed list is in force must be in it; any other
// value passes.
bool InAllowedList(const TKBDefinedType& Type, const IKBValue& Value) {
  if (!ConstraintTypes.Contains(Value->GetDType())) return true;
  TValueConstraint Kind = vcAtom;
  if (Type.IsConstraint(Value, Kind)) return true;
  return !Type.GetConstraints().Contains(Kind);
}

}  // namespace

// ================================================================ construction

TKBDefinedType::TKBDefinedType(IReasoner* AReasoner) : FReasoner(AReasoner) {
  if (FReasoner) SetModule(FReasoner->GetCurrentModule().get());
}

TKBDefinedType::TKBDefinedType(const TKBName& AName, TKBTypes ABaseTypes, IReasoner* AReasoner)
    : TKBDefinedType(AReasoner) {
  // Not yet in any table, so the reasoner has nothing to re-file.
  CheckKBName(AName);
  FName = AName;
  TKBDefinedType::SetBaseTypes(ABaseTypes);
}

TKBDefinedType::~TKBDefinedType() {
  FOnChange = nullptr;
  if (FFuzzyType) FFuzzyType->SetParser(nullptr);
  FFuzzyType = nullptr;
  FReasoner = nullptr;
}

// ================================================================ properties

void TKBDefinedType::SetAncestor(const IKBDefinedType& Value) {
  if (Value == FAncestor) return;
  for (const TKBDefinedType* Walk = Value.get(); Walk; Walk = Walk->FAncestor.get())
    if (Walk == this) throw EKBException(Format(_STypeInheritanceLoop, FName));
  FAncestor = Value;
  if (FAncestor) FImplicit = false;
  Change();
}

void TKBDefinedType::SetBaseTypes(TKBTypes Value) {
  // The list kinds of a multislot are the slot's business, not the type's:
  // they are reduced away before the mix is judged.
  const TKBTypes Reduced = Value * KBSlotTypesWithFuzzy;
  const TKBTypes FuzzyOnly{dtFuzzy};
  if (Reduced.Contains(dtFuzzy) && Reduced != FuzzyOnly) throw EKBException(_SCannotMixFuzzy);
  if (Reduced == FBaseTypes) return;
  FBaseTypes = Reduced;
  if (Reduced == FuzzyOnly && !FFuzzyType) {
    const IFuzzyVariable Variable(new TKBFuzzyVariable(FName));
    // A range that no universe can hold yet leaves the variable's own.
    if (FRangeLimited && ValidUniverse(FMinRange, FMaxRange)) Variable->SetUniverse(FMinRange, FMaxRange);
    Variable->SetUnits(FUnits);
    SetFuzzyType(Variable);
  } else if (Reduced != FuzzyOnly && FFuzzyType) {
    FFuzzyType->SetParser(nullptr);
    FFuzzyType = nullptr;
  }
  Change();
}

void TKBDefinedType::SetComment(const std::string& Value) {
  if (Value == FComment) return;
  FComment = Value;
  Change();
}

void TKBDefinedType::SetConstraints(TValueConstraints Value) {
  if (Value == FConstraints) return;
  for (const TValueConstraint Kind : {vcAtom, vcString, vcInteger, vcFloat}) {
    if (FConstraints.Contains(Kind) && !Value.Contains(Kind)) {
      ClearConstraint(Kind);
    } else if (!FConstraints.Contains(Kind) && Value.Contains(Kind)) {
      switch (Kind) {
        case vcAtom:
          FConstraintAtoms = NewConstraintStrings();
          break;
        case vcString:
          FConstraintStrings = NewConstraintStrings();
          break;
        case vcInteger:
          FConstraintIntegers = std::make_unique<std::vector<std::int32_t>>();
          break;
        case vcFloat:
          FConstraintFloats = IValueVector(new TValueVector());
          break;
      }
    }
  }
  FConstraints = Value;
  Change();
}

void TKBDefinedType::SetFuzzyType(const IFuzzyVariable& Value) {
  if (Value == FFuzzyType) return;
  if (FFuzzyType) FFuzzyType->SetParser(nullptr);
  FFuzzyType = Value;
  if (FFuzzyType) {
    if (auto* Parser = dynamic_cast<IFuzzyParser*>(FReasoner)) FFuzzyType->SetParser(Parser);
    SetBaseTypes(TKBTypes{dtFuzzy});
    FMinRange = FFuzzyType->GetUniverseLow();
    FMaxRange = FFuzzyType->GetUniverseHigh();
    FUnits = FFuzzyType->GetUnits();
  }
  Change();
}

void TKBDefinedType::SetImplicit(bool Value) {
  if (Value == FImplicit) return;
  FImplicit = Value;
  Change();
}

void TKBDefinedType::SetMaxCardinality(std::int32_t Value) {
  if (Value < 0) Value = 0;
  if (Value == FMaxCardinality) return;
  FMaxCardinality = Value;
  if (FMinCardinality > Value) FMinCardinality = Value;
  Change();
}

void TKBDefinedType::SetMinCardinality(std::int32_t Value) {
  if (Value < 0) Value = 0;
  if (Value == FMinCardinality) return;
  FMinCardinality = Value;
  if (FMaxCardinality < Value) FMaxCardinality = Value;
  Change();
}

void TKBDefinedType::SetMaxRange(double Value) {
  if (Value == FMaxRange) return;
  const double NewMin = Value < FMinRange ? Value : FMinRange;
  // The variable refuses a universe it cannot hold; the type then stays as
  // it was.
  if (FFuzzyType) FFuzzyType->SetUniverse(NewMin, Value);
  FMaxRange = Value;
  FMinRange = NewMin;
  Change();
}

void TKBDefinedType::SetMinRange(double Value) {
  if (Value == FMinRange) return;
  const double NewMax = Value > FMaxRange ? Value : FMaxRange;
  if (FFuzzyType) FFuzzyType->SetUniverse(Value, NewMax);
  FMinRange = Value;
  FMaxRange = NewMax;
  Change();
}

void TKBDefinedType::SetName(const TKBName& Value) {
  if (Value == FName) return;
  CheckKBName(Value);
  if (FReasoner) FReasoner->RenameDefinedType(this, FName, Value);
  FName = Value;
  Change();
}

void TKBDefinedType::SetReasoner(IReasoner* Value) {
  if (Value == FReasoner) return;
  FReasoner = Value;
  if (FReasoner) SetModule(FReasoner->GetCurrentModule().get());
  if (FFuzzyType) FFuzzyType->SetParser(dynamic_cast<IFuzzyParser*>(FReasoner));
  Change();
}

void TKBDefinedType::SetCardinalityLimited(bool Value) {
  if (Value == FCardinalityLimited) return;
  FCardinalityLimited = Value;
  Change();
}

void TKBDefinedType::SetRangeLimited(bool Value) {
  if (Value == FRangeLimited) return;
  FRangeLimited = Value;
  Change();
}

void TKBDefinedType::SetUnits(const std::string& Value) {
  if (Value == FUnits) return;
  FUnits = Value;
  if (FFuzzyType) FFuzzyType->SetUnits(Value);
  Change();
}

// ================================================================ allowed lists

std::int32_t TKBDefinedType::GetConstraintAtomsCount() const noexcept {
  return FConstraintAtoms ? FConstraintAtoms->GetCount() : 0;
}

std::string TKBDefinedType::GetConstraintAtom(std::int32_t Index) const {
  if (!FConstraintAtoms) throw EKBException(Format(_SNoSuchConstraint, FName, ConstraintKindName(vcAtom)));
  return FConstraintAtoms->Get(Index);
}

std::int32_t TKBDefinedType::GetConstraintStringsCount() const noexcept {
  return FConstraintStrings ? FConstraintStrings->GetCount() : 0;
}

std::string TKBDefinedType::GetConstraintString(std::int32_t Index) const {
  if (!FConstraintStrings) throw EKBException(Format(_SNoSuchConstraint, FName, ConstraintKindName(vcString)));
  return FConstraintStrings->Get(Index);
}

std::int32_t TKBDefinedType::GetConstraintIntegersCount() const noexcept {
  return FConstraintIntegers ? static_cast<std::int32_t>(FConstraintIntegers->size()) : 0;
}

std::int32_t TKBDefinedType::GetConstraintInteger(std::int32_t Index) const {
  if (!FConstraintIntegers) throw EKBException(Format(_SNoSuchConstraint, FName, ConstraintKindName(vcInteger)));
  if (Index < 0 || Index >= GetConstraintIntegersCount()) throw EListError(Format(SListIndexError, Index));
  return (*FConstraintIntegers)[static_cast<std::size_t>(Index)];
}

std::int32_t TKBDefinedType::GetConstraintFloatsCount() const noexcept {
  return FConstraintFloats ? FConstraintFloats->GetCount() : 0;
}

IKBValue TKBDefinedType::GetConstraintFloat(std::int32_t Index) const {
  if (!FConstraintFloats) throw EKBException(Format(_SNoSuchConstraint, FName, ConstraintKindName(vcFloat)));
  return FConstraintFloats->Get(Index);
}

TValueConstraint TKBDefinedType::GetValueConstraint(const IKBValue& Value) const {
  const TKBType Kind = Value ? Value->GetDType() : dtNone;
  switch (Kind) {
    case dtAtom:
      return vcAtom;
    case dtString:
      return vcString;
    case dtInteger:
      // An integer is tested against the floats when only those are in force.
      if (!FConstraints.Contains(vcInteger) && FConstraints.Contains(vcFloat)) return vcFloat;
      return vcInteger;
    case dtFloat:
      // And a whole float against the integers likewise.
      if (!FConstraints.Contains(vcFloat) && FConstraints.Contains(vcInteger) && IsWholeInteger(Value->GetAsFloat()))
        return vcInteger;
      return vcFloat;
    default:
      throw EKBException(Format(_SInvalidConstraint, FName, KindName(Kind)));
  }
}

void TKBDefinedType::AddConstraint(const IKBValue& Value) {
  const TValueConstraint Kind = GetValueConstraint(Value);
  if (!FConstraints.Contains(Kind)) throw EKBException(Format(_SInvalidConstraint, FName, KindName(Value->GetDType())));
  switch (Kind) {
    case vcAtom:
    case vcString: {
      TStringList<>& List = Kind == vcAtom ? *FConstraintAtoms : *FConstraintStrings;
      const std::string Text = Value->GetAsString();
      if (List.IndexOf(Text) >= 0) return;
      List.Add(Text);
      break;
    }
    case vcInteger: {
      const std::int32_t Number =
          Value->GetDType() == dtInteger ? Value->GetAsInteger() : TruncToInteger(Value->GetAsFloat());
      for (const std::int32_t Item : *FConstraintIntegers)
        if (Item == Number) return;
      FConstraintIntegers->push_back(Number);
      break;
    }
    case vcFloat: {
      // Stored as a float value of its own, whatever kind it came as.
      const IKBValue Number(new TKBValue(Value->GetAsFloat()));
      for (const IKBValue& Item : *FConstraintFloats)
        if (Item && Item->Equals(Number)) return;
      FConstraintFloats->Add(Number);
      break;
    }
  }
  Change();
}

void TKBDefinedType::RemoveConstraint(const IKBValue& Value) {
  if (!Value || !ConstraintTypes.Contains(Value->GetDType())) return;
  const TValueConstraint Kind = GetValueConstraint(Value);
  bool Removed = false;
  switch (Kind) {
    case vcAtom:
    case vcString: {
      TStringList<>* List = Kind == vcAtom ? FConstraintAtoms.get() : FConstraintStrings.get();
      if (!List) return;
      const int Index = List->IndexOf(Value->GetAsString());
      if (Index >= 0) {
        List->Delete(Index);
        Removed = true;
      }
      break;
    }
    case vcInteger: {
      if (!FConstraintIntegers) return;
      const std::int32_t Number =
          Value->GetDType() == dtInteger ? Value->GetAsInteger() : TruncToInteger(Value->GetAsFloat());
      for (auto It = FConstraintIntegers->begin(); It != FConstraintIntegers->end(); ++It)
        if (*It == Number) {
          FConstraintIntegers->erase(It);
          Removed = true;
          break;
        }
      break;
    }
    case vcFloat: {
      if (!FConstraintFloats) return;
      const IKBValue Number(new TKBValue(Value->GetAsFloat()));
      for (int I = 0; I < FConstraintFloats->GetCount(); ++I)
        if (const IKBValue Item = FConstraintFloats->Get(I); Item && Item->Equals(Number)) {
          FConstraintFloats->Delete(I);
          Removed = true;
          break;
        }
      break;
    }
  }
  if (Removed) Change();
}

void TKBDefinedType::DeleteConstraint(std::int32_t Index, TValueConstraint Kind) {
  if (!FConstraints.Contains(Kind)) throw EKBException(Format(_SNoSuchConstraint, FName, ConstraintKindName(Kind)));
  switch (Kind) {
    case vcAtom:
      FConstraintAtoms->Delete(Index);
      break;
    case vcString:
      FConstraintStrings->Delete(Index);
      break;
    case vcInteger:
      if (Index < 0 || Index >= GetConstraintIntegersCount()) throw EListError(Format(SListIndexError, Index));
      FConstraintIntegers->erase(FConstraintIntegers->begin() + Index);
      break;
    case vcFloat:
      FConstraintFloats->Delete(Index);
      break;
  }
  Change();
}

void TKBDefinedType::ClearConstraint(TValueConstraint Kind) {
  switch (Kind) {
    case vcAtom:
      FConstraintAtoms.reset();
      break;
    case vcString:
      FConstraintStrings.reset();
      break;
    case vcInteger:
      FConstraintIntegers.reset();
      break;
    case vcFloat:
      FConstraintFloats = nullptr;
      break;
  }
  FConstraints.Exclude(Kind);
}

void TKBDefinedType::ClearConstraints() {
  if (FConstraints.Empty()) return;
  for (const TValueConstraint Kind : {vcAtom, vcString, vcInteger, vcFloat}) ClearConstraint(Kind);
  Change();
}

void TKBDefinedType::ClearConstraints(TValueConstraints Kinds) {
  const TValueConstraints Cleared = FConstraints * Kinds;
  if (Cleared.Empty()) return;
  for (const TValueConstraint Kind : {vcAtom, vcString, vcInteger, vcFloat})
    if (Cleared.Contains(Kind)) ClearConstraint(Kind);
  Change();
}

bool TKBDefinedType::IsConstraint(const IKBValue& Value, TValueConstraint& Kind) const {
  if (!Value || !ConstraintTypes.Contains(Value->GetDType())) return false;
  Kind = GetValueConstraint(Value);
  if (!FConstraints.Contains(Kind)) return false;
  switch (Kind) {
    case vcAtom:
      return FConstraintAtoms->IndexOf(Value->GetAsString()) >= 0;
    case vcString:
      return FConstraintStrings->IndexOf(Value->GetAsString()) >= 0;
    case vcInteger: {
      // A float arrives here only when it is a whole Integer.
      const std::int32_t Number =
          Value->GetDType() == dtInteger ? Value->GetAsInteger() : TruncToInteger(Value->GetAsFloat());
      for (const std::int32_t Item : *FConstraintIntegers)
        if (Item == Number) return true;
      return false;
    }
    case vcFloat: {
      const IKBValue Number = Value->GetDType() == dtFloat ? Value : IKBValue(new TKBValue(Value->GetAsFloat()));
      for (const IKBValue& Item : *FConstraintFloats)
        if (Item && Item->Equals(Number)) return true;
      return false;
    }
  }
  return false;
}

// ================================================================ checks

bool TKBDefinedType::IsValid(const IKBValue& Value) const {
  if (!Value) return true;
  const TKBType Kind = Value->GetDType();
  if (Kind == dtList) {
    const IValueVector Items = Value->GetAsList();
    const std::int32_t Count = Items ? Items->GetCount() : 0;
    if (FCardinalityLimited && (Count < FMinCardinality || Count > FMaxCardinality)) return false;
    if (Items)
      for (const IKBValue& Item : *Items)
        if (!IsValid(Item)) return false;
    return true;
  }
  if (FBaseTypes.Contains(dtFuzzy)) {
    if (Kind == dtFuzzy) {
      const IFuzzySet Set = Value->GetAsFuzzy();
      return Set && FFuzzyType && Set->GetVariable() == FFuzzyType.get();
    }
    return FuzzyConvertibleTypes.Contains(Kind);
  }
  if (!FBaseTypes.Contains(Kind) && !KBAlwaysValidTypes.Contains(Kind)) return false;
  if (!InAllowedList(*this, Value)) return false;
  if (FRangeLimited && KBNumericTypes.Contains(Kind)) {
    const double Number = Value->GetAsFloat();
    if (!(Number >= FMinRange && Number <= FMaxRange)) return false;
  }
  return true;
}

std::string TKBDefinedType::GetInvalidValueString(const IKBValue& Value) const {
  if (IsValid(Value)) return {};
  const TKBType Kind = Value->GetDType();
  std::string Reason;
  if (Kind == dtList) {
    const IValueVector Items = Value->GetAsList();
    const std::int32_t Count = Items ? Items->GetCount() : 0;
    if (FCardinalityLimited && (Count < FMinCardinality || Count > FMaxCardinality)) {
      Reason = Format(_SListCardinalityError, FMinCardinality, FMaxCardinality);
    } else if (Items) {
      for (const IKBValue& Item : *Items) {
        Reason = GetInvalidValueString(Item);
        if (!Reason.empty()) break;
      }
    }
  } else if (FBaseTypes.Contains(dtFuzzy)) {
    Reason = _SInvalidFuzzyValue;
  } else if (!FBaseTypes.Contains(Kind) && !KBAlwaysValidTypes.Contains(Kind)) {
    Reason = Format(_SNotCorrectType, UpperCase(SetToString(FBaseTypes, ", ", false)), Value->GetToString(),
                    GetKBTypeName(Kind));
  } else if (!InAllowedList(*this, Value)) {
    Reason = _SNotAllowedValue;
  } else {
    Reason = Format(_SOutOfRangeError, FMinRange, FMaxRange);
  }
  return Format(_SInvalidValue, Value->GetToString(), Reason);
}

IKBValue TKBDefinedType::CreateValidDefault(bool AsList) const {
  if (AsList) {
    if (!FCardinalityLimited || FMinCardinality <= 0) return FCNilList->Clone();
    if (FMinCardinality > MaxDefaultListLength)
      throw EKBException(Format(SDefaultListTooLong, FMinCardinality, MaxDefaultListLength));
    IValueVector Items(new TValueVector());
    for (std::int32_t I = 0; I < FMinCardinality; ++I) Items->Add(CreateValidDefault(false));
    return IKBValue(new TKBValue(Items));
  }
  // Without an allowed item, a limited range gives its bound: the minimum,
  // or the maximum when only the minimum is open.
  const auto Bound = [this]() -> double {
    if (!FRangeLimited) return 0.0;
    const bool MinOpen = FMinRange == KBOpenMinRange;
    const bool MaxOpen = FMaxRange == KBOpenMaxRange;
    if (MinOpen && MaxOpen) return 0.0;
    return MinOpen ? FMaxRange : FMinRange;
  };
  IKBValue Result(new TKBValue());
  if (FBaseTypes.Contains(dtAtom)) {
    Result->SetAsAtom(GetConstraintAtomsCount() > 0 ? FConstraintAtoms->Get(0) : std::string());
  } else if (FBaseTypes.Contains(dtString)) {
    Result->SetAsString(GetConstraintStringsCount() > 0 ? FConstraintStrings->Get(0) : std::string());
  } else if (FBaseTypes.Contains(dtInteger)) {
    Result->SetAsInteger(GetConstraintIntegersCount() > 0 ? FConstraintIntegers->front() : TruncToInteger(Bound()));
  } else if (FBaseTypes.Contains(dtFloat)) {
    Result->SetAsFloat(GetConstraintFloatsCount() > 0 ? FConstraintFloats->Get(0)->GetAsFloat() : Bound());
  } else if (FBaseTypes.Contains(dtObject)) {
    Result->SetAsObject(nullptr);
  } else if (FBaseTypes.Contains(dtExternalAddress)) {
    Result->SetAsExternalAddress(nullptr);
  } else if (FBaseTypes.Contains(dtFuzzy)) {
    if (!FFuzzyType) return FCNil;
    Result->SetAsFuzzy(FFuzzyType->GetEmptyFuzzySet());
  } else if (FBaseTypes.Contains(dtFactId)) {
    Result->SetAsFactId(0);
  } else if (FBaseTypes.Contains(dtFact)) {
    Result->SetAsFact(nullptr);
  } else if (FBaseTypes.Contains(dtDescriptor)) {
    Result->SetAsDescriptor(0);
  } else if (FBaseTypes.Contains(dtClass)) {
    Result->SetAsClass(nullptr);
  }
  return Result;
}

std::string TKBDefinedType::GetValueToString(const IKBValue& Value) const {
  return Value ? Value->GetToString() : std::string();
}

// ================================================================ updates

void TKBDefinedType::BeginUpdate() {
  if (FUpdateCount == 0) SetUpdateState(true);
  ++FUpdateCount;
}

void TKBDefinedType::EndUpdate() {
  if (FUpdateCount <= 0) return;
  --FUpdateCount;
  if (FUpdateCount == 0) SetUpdateState(false);
}

void TKBDefinedType::SetUpdateState(bool Updating) {
  if (!Updating) Change();
}

void TKBDefinedType::Change() {
  if (FUpdateCount == 0 && FOnChange) FOnChange(this);
}

// ================================================================ copying

void TKBDefinedType::AssignType(const TKBDefinedType& Source) {
  if (&Source == this) return;
  const auto Update = UpdateGuard(*this);
  // The ancestor first: a loop raises before anything has changed.
  SetAncestor(Source.FReasoner == FReasoner ? Source.FAncestor : IKBDefinedType());
  SetBaseTypes(Source.FBaseTypes);
  SetName(Source.FName);
  SetComment(Source.FComment);
  // Bounds go in as a pair: one at a time they would drag each other
  // through the follow rules.
  FRangeLimited = Source.FRangeLimited;
  FMinRange = Source.FMinRange;
  FMaxRange = Source.FMaxRange;
  FCardinalityLimited = Source.FCardinalityLimited;
  FMinCardinality = Source.FMinCardinality;
  FMaxCardinality = Source.FMaxCardinality;
  FImplicit = Source.FImplicit;
  SetFuzzyType(Source.FFuzzyType ? Source.FFuzzyType->Clone() : IFuzzyVariable());
  SetTag(Source.GetTag());
  SetUnits(Source.FUnits);
  SetConstraints(Source.FConstraints);
  if (FConstraintAtoms) {
    FConstraintAtoms->Clear();
    FConstraintAtoms->AddStrings(*Source.FConstraintAtoms);
  }
  if (FConstraintStrings) {
    FConstraintStrings->Clear();
    FConstraintStrings->AddStrings(*Source.FConstraintStrings);
  }
  if (FConstraintIntegers) *FConstraintIntegers = *Source.FConstraintIntegers;
  if (FConstraintFloats) FConstraintFloats->Assign(IInterface(Source.FConstraintFloats));
  Change();
}

void TKBDefinedType::Assign(const IInterface& Source) {
  const IKBDefinedType Type = Source.As<TKBDefinedType>();
  if (!Type) AssignError(dynamic_cast<TPersistent*>(Source.get()));
  AssignType(*Type);
}

void TKBDefinedType::Assign(TPersistent* Source) {
  if (auto* Type = dynamic_cast<TKBDefinedType*>(Source)) {
    AssignType(*Type);
    return;
  }
  TModuleConstruct::Assign(Source);
}

void TKBDefinedType::AssignTo(TPersistent* Dest) {
  if (auto* Strings = dynamic_cast<TStrings*>(Dest)) {
    Strings->Append(ToString());
    return;
  }
  TModuleConstruct::AssignTo(Dest);
}

IKBDefinedType TKBDefinedType::NewInstance() const { return IKBDefinedType(new TKBDefinedType(FReasoner)); }

IKBDefinedType TKBDefinedType::Clone() const {
  const IKBDefinedType Result = NewInstance();
  Result->AssignType(*this);
  return Result;
}

IInterface TKBDefinedType::CloneInterface() const { return Clone(); }

bool TKBDefinedType::Equals(const IInterface& Other) const {
  const IKBDefinedType Type = Other.As<TKBDefinedType>();
  if (!Type) return false;
  if (Type.get() == this) return true;
  if (FName != Type->FName || FBaseTypes != Type->FBaseTypes) return false;
  if (FFuzzyType || Type->FFuzzyType) {
    if (!FFuzzyType || !Type->FFuzzyType) return false;
    return FFuzzyType->Equals(IInterface(Type->FFuzzyType));
  }
  return FloatEquals(FMinRange, Type->FMinRange, 0.0001) && FloatEquals(FMaxRange, Type->FMaxRange, 0.0001) &&
         FMinCardinality == Type->FMinCardinality && FMaxCardinality == Type->FMaxCardinality &&
         FConstraints == Type->FConstraints && FRangeLimited == Type->FRangeLimited &&
         FCardinalityLimited == Type->FCardinalityLimited && ConstraintsEqual(*this, *Type);
}

std::string TKBDefinedType::ToString() const {
  return FReasoner ? FReasoner->PrettyPrint(*this) : FName;
}

// ================================================================ text of the allowed lists

std::string ConstraintToString(const TKBDefinedType& Type, TValueConstraint Kind) {
  std::string Result;
  switch (Kind) {
    case vcAtom:
      for (std::int32_t I = 0; I < Type.GetConstraintAtomsCount(); ++I) Result += Type.GetConstraintAtom(I) + " ";
      break;
    case vcString:
      // Written as the reader takes a string back.
      for (std::int32_t I = 0; I < Type.GetConstraintStringsCount(); ++I)
        Result += IKBValue(new TKBValue(Type.GetConstraintString(I), dtString))->GetToString() + " ";
      break;
    case vcInteger:
      for (std::int32_t I = 0; I < Type.GetConstraintIntegersCount(); ++I)
        Result += IntToStr(Type.GetConstraintInteger(I)) + " ";
      break;
    case vcFloat:
      for (std::int32_t I = 0; I < Type.GetConstraintFloatsCount(); ++I) {
        const IKBValue Item = Type.GetConstraintFloat(I);
        Result += Format("%.4f", Item ? Item->GetAsFloat() : 0.0) + " ";
      }
      break;
  }
  return Result;
}

std::string GetAllowedString(const TKBDefinedType& Type) {
  const TValueConstraints Kinds = Type.GetConstraints();
  const std::string Indent = IndentString(1);
  if (Kinds == TValueConstraints{vcAtom, vcString, vcInteger, vcFloat})
    return Indent + "(allowed-values " + ConstraintToString(Type, vcAtom) + ConstraintToString(Type, vcString) +
           ConstraintToString(Type, vcInteger) + ConstraintToString(Type, vcFloat) + ")" + sLineBreak;
  std::string Result;
  const bool Integers = Kinds.Contains(vcInteger);
  const bool Floats = Kinds.Contains(vcFloat);
  if (Integers && Floats)
    Result += Indent + "(allowed-numbers " + ConstraintToString(Type, vcInteger) + ConstraintToString(Type, vcFloat) +
              ") " + sLineBreak;
  else if (Integers)
    Result += Indent + "(allowed-integers " + ConstraintToString(Type, vcInteger) + ") " + sLineBreak;
  else if (Floats)
    Result += Indent + "(allowed-floats " + ConstraintToString(Type, vcFloat) + ") " + sLineBreak;
  const bool Atoms = Kinds.Contains(vcAtom);
  const bool Strings = Kinds.Contains(vcString);
  if (Atoms && Strings)
    Result += Indent + "(allowed-lexemes " + ConstraintToString(Type, vcAtom) + ConstraintToString(Type, vcString) +
              ")" + sLineBreak;
  else if (Strings)
    Result += Indent + "(allowed-strings " + ConstraintToString(Type, vcString) + ")" + sLineBreak;
  else if (Atoms)
    Result += Indent + "(allowed-symbols " + ConstraintToString(Type, vcAtom) + ")" + sLineBreak;
  return Result;
}

}  // namespace cogent
