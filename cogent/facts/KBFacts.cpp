#include "cogent/facts/KBFacts.h"

namespace cogent {

bool TFact::Equals(const IInterface& Other) const {
  const IFact Fact = Other.As<TFact>();
  return Fact && Equals(Fact);
}

std::int32_t TFact::GetHashCode() const {
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(this) & 0x7FFFFFFF);
}

void TFact::Assign(const IInterface& Source) {
  if (const IFact Fact = Source.As<TFact>()) FTag = Fact->GetTag();
}

IInterface TFact::CloneInterface() const {
  IFact Result(new TFact());
  Result->SetTag(FTag);
  return Result;
}

}  // namespace cogent

namespace cogent {

TFactTemplate::TFactTemplate(TComponent* AEngine, const TKBName& AName) : FEngine(AEngine) { SetName(AName); }

void TFactTemplate::SetName(const TKBName& Value) {
  if (Value == FName) return;
  CheckKBName(Value);
  FName = Value;
}

IFact TFactTemplate::NewFact() { return IFact(new TFact(IFactTemplate(this))); }

}  // namespace cogent
