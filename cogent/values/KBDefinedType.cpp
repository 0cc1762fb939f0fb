#include "cogent/values/KBDefinedType.h"

// Placeholder bodies so that the library links while the type is written.

namespace cogent {

TKBDefinedType::TKBDefinedType(IReasoner* AReasoner) : FReasoner(AReasoner) {}
TKBDefinedType::TKBDefinedType(const TKBName& AName, TKBTypes ABaseTypes, IReasoner* AReasoner)
    : FBaseTypes(ABaseTypes), FName(AName), FReasoner(AReasoner) {}
TKBDefinedType::~TKBDefinedType() = default;

void TKBDefinedType::SetAncestor(const IKBDefinedType& Value) { FAncestor = Value; }
void TKBDefinedType::SetBaseTypes(TKBTypes Value) { FBaseTypes = Value; }
void TKBDefinedType::SetComment(const std::string& Value) { FComment = Value; }
void TKBDefinedType::SetConstraints(TValueConstraints Value) { FConstraints = Value; }
void TKBDefinedType::SetFuzzyType(const IFuzzyVariable& Value) { FFuzzyType = Value; }
void TKBDefinedType::SetImplicit(bool Value) { FImplicit = Value; }
void TKBDefinedType::SetMaxCardinality(std::int32_t Value) { FMaxCardinality = Value; }
void TKBDefinedType::SetMaxRange(double Value) { FMaxRange = Value; }
void TKBDefinedType::SetMinCardinality(std::int32_t Value) { FMinCardinality = Value; }
void TKBDefinedType::SetMinRange(double Value) { FMinRange = Value; }
void TKBDefinedType::SetName(const TKBName& Value) { FName = Value; }
void TKBDefinedType::SetReasoner(IReasoner* Value) { FReasoner = Value; }
void TKBDefinedType::SetCardinalityLimited(bool Value) { FCardinalityLimited = Value; }
void TKBDefinedType::SetRangeLimited(bool Value) { FRangeLimited = Value; }
void TKBDefinedType::SetUnits(const std::string& Value) { FUnits = Value; }

std::int32_t TKBDefinedType::GetConstraintAtomsCount() const noexcept { return 0; }
std::string TKBDefinedType::GetConstraintAtom(std::int32_t) const { return {}; }
std::int32_t TKBDefinedType::GetConstraintStringsCount() const noexcept { return 0; }
std::string TKBDefinedType::GetConstraintString(std::int32_t) const { return {}; }
std::int32_t TKBDefinedType::GetConstraintIntegersCount() const noexcept { return 0; }
std::int32_t TKBDefinedType::GetConstraintInteger(std::int32_t) const { return 0; }
std::int32_t TKBDefinedType::GetConstraintFloatsCount() const noexcept { return 0; }
IKBValue TKBDefinedType::GetConstraintFloat(std::int32_t) const { return nullptr; }
void TKBDefinedType::AddConstraint(const IKBValue&) {}
void TKBDefinedType::RemoveConstraint(const IKBValue&) {}
void TKBDefinedType::DeleteConstraint(std::int32_t, TValueConstraint) {}
void TKBDefinedType::ClearConstraints() {}
void TKBDefinedType::ClearConstraints(TValueConstraints) {}
bool TKBDefinedType::IsConstraint(const IKBValue&, TValueConstraint& Kind) const {
  Kind = vcAtom;
  return false;
}

bool TKBDefinedType::IsValid(const IKBValue& Value) const {
  if (!Value || KBAlwaysValidTypes.Contains(Value->GetDType())) return true;
  if (!FBaseTypes.Contains(Value->GetDType())) return false;
  if (Value->GetDType() == dtList)
    for (const IKBValue& Item : *Value->GetAsList())
      if (Item && !KBAlwaysValidTypes.Contains(Item->GetDType()) && !FBaseTypes.Contains(Item->GetDType()))
        return false;
  return true;
}

std::string TKBDefinedType::GetInvalidValueString(const IKBValue& Value) const {
  if (IsValid(Value)) return {};
  return Format(_SNotCorrectType, UpperCase(SetToString(FBaseTypes, ", ", false)), Value->GetToString(),
                GetKBTypeName(Value->GetDType()));
}

IKBValue TKBDefinedType::CreateValidDefault(bool Multi) const {
  if (Multi) return FCNilList->Clone();
  IKBValue Result(new TKBValue());
  if (FBaseTypes.Contains(dtAtom))
    Result->SetAsAtom("");
  else if (FBaseTypes.Contains(dtString))
    Result->SetAsString("");
  else if (FBaseTypes.Contains(dtInteger))
    Result->SetAsInteger(0);
  else if (FBaseTypes.Contains(dtFloat))
    Result->SetAsFloat(0.0);
  return Result;
}

std::string TKBDefinedType::GetValueToString(const IKBValue& Value) const { return Value ? Value->ToString() : ""; }
void TKBDefinedType::BeginUpdate() { ++FUpdateCount; }
void TKBDefinedType::EndUpdate() { --FUpdateCount; }
void TKBDefinedType::Assign(const IInterface&) {}
void TKBDefinedType::Assign(TPersistent* Source) { TModuleConstruct::Assign(Source); }
IKBDefinedType TKBDefinedType::Clone() const { return NewInstance(); }
IInterface TKBDefinedType::CloneInterface() const { return Clone(); }
bool TKBDefinedType::Equals(const IInterface& Other) const { return Other.get() == this; }
std::string TKBDefinedType::ToString() const { return FName; }
void TKBDefinedType::AssignTo(TPersistent* Dest) { TModuleConstruct::AssignTo(Dest); }
void TKBDefinedType::SetUpdateState(bool) {}
void TKBDefinedType::Change() {}
IKBDefinedType TKBDefinedType::NewInstance() const { return IKBDefinedType(new TKBDefinedType(FReasoner)); }

std::string ConstraintToString(const TKBDefinedType&, TValueConstraint) { return {}; }
std::string GetAllowedString(const TKBDefinedType&) { return {}; }

}  // namespace cogent
