#include "cogent/values/KBDefinedType.h"

namespace cogent {

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

}  // namespace cogent
