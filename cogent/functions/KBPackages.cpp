#include "cogent/functions/KBPackages.h"

namespace cogent {

IKBValue TFunctionCall::Execute(TObject*) {
  throw EKBException(Format(_SNoSuchFunction, FName));
}

bool TFunctionCall::Equals(const IFunCall& Other) const {
  return Other && Other->FName == FName;
}

bool TFunctionCall::Equals(const IInterface& Other) const {
  const IFunCall Call = Other.As<TFunctionCall>();
  return Call && Equals(Call);
}

std::int32_t TFunctionCall::GetHashCode() const { return CalculateHash(FName); }

std::string TFunctionCall::ToString() const { return "(" + FName + ")"; }

void TFunctionCall::Assign(const IInterface& Source) {
  const IFunCall Call = Source.As<TFunctionCall>();
  if (!Call) throw EKBException(_SUnknownValueInterface);
  FName = Call->FName;
  FTag = Call->FTag;
}

IInterface TFunctionCall::CloneInterface() const {
  IFunCall Result(new TFunctionCall(FName));
  Result->SetTag(FTag);
  return Result;
}

}  // namespace cogent
