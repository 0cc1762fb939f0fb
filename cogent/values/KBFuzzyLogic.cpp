#include "cogent/values/KBFuzzyLogic.h"
#include "cogent/values/FuzzyValues.h"

#include <algorithm>

namespace cogent {

namespace {
// The set a fuzzy operand stands for, if it is a set or a fuzzy value.
IFuzzySet FuzzyOperand(const IInterface& Other) {
  if (IFuzzySet Set = Other.As<TFuzzySet>()) return Set;
  if (const IKBValue Value = Other.As<TKBValue>(); Value && Value->GetDType() == dtFuzzy) return Value->GetAsFuzzy();
  return nullptr;
}
}  // namespace

bool TKBFuzzySet::Equals(const IInterface& Other) const {
  if (const IFuzzySet Set = FuzzyOperand(Other)) return Iterate(Set, &TFuzzySet::FuzzyOperatorMinThreshold);
  if (const IKBValue Value = Other.As<TKBValue>(); IsNumber(Value))
    return ExceedsEqualityThreshold(DegreeOfMembership(Value->GetAsNumeric()));
  return false;
}

float TKBFuzzySet::FuzzyEquals(const IInterface& Other) {
  SetRunningMaximum(0.0);
  if (const IFuzzySet Set = FuzzyOperand(Other))
    Iterate(Set, &TFuzzySet::FuzzyOperatorMaxOfMin);
  else if (const IKBValue Value = Other.As<TKBValue>(); IsNumber(Value))
    SetRunningMaximum(DegreeOfMembership(Value->GetAsNumeric()));
  // Memberships lie between 0 and 1; clamp what a malformed set might give.
  return static_cast<float>(std::clamp(GetRunningMaximum(), 0.0, 1.0));
}

void TKBFuzzySet::Assign(TPersistent* Source) {
  TIFuzzySet::Assign(Source);
  // The points of a plain set are all there is to it.
  if (Source == this || dynamic_cast<TFuzzySet*>(Source) == nullptr) return;
  const auto* Set = dynamic_cast<TKBFuzzySet*>(Source);
  FDefinition = Set != nullptr ? Set->FDefinition : IKBValue();
}

IFuzzySet TKBFuzzySet::NewInstance() const { return IFuzzySet(new TKBFuzzySet()); }

TKBFuzzyVariable::TKBFuzzyVariable(const std::string& Name) : TIFuzzyVariable(Name) {
  RegisterClass<TKBFuzzySet, TFuzzySet>();
  SetFuzzySetClass(ClassOf<TKBFuzzySet>());
}

IFuzzyVariable TKBFuzzyVariable::NewInstance() const { return IFuzzyVariable(new TKBFuzzyVariable()); }

// ---------------------------------------------------------------- helpers

IKBValue FuzzyValue(const IFuzzySet& Set) { return IKBValue(new TKBValue(Set)); }

bool IsNumber(const IKBValue& Value) {
  return Value && (Value->GetDType() == dtInteger || Value->GetDType() == dtFloat);
}

IFuzzySet SetOf(const IKBValue& Value) {
  IFuzzySet Set = Value->GetAsFuzzy();
  if (!Set) throw EKBException(Format(_SNotCorrectType, "fuzzy value", "", GetKBTypeName(Value->GetDType())));
  return Set;
}

}  // namespace cogent
