// Facts: lazily filled slot values, conversion under dynamic type checks,
// equality, hashing and text.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

// Walks a snapshot of a fact's values or names, taken when it is made.
template <class TElement>
class TSnapshotIterator final : public TCustomIterator<TElement> {
public:
  explicit TSnapshotIterator(std::vector<TElement> AItems) : FItems(std::move(AItems)) {}
  TElement CurrentElement() const override { return FItems[static_cast<std::size_t>(FIndex)]; }
  int GetCount() const override { return static_cast<int>(FItems.size()); }
  bool HasMoreElements() const override { return FIndex + 1 < GetCount(); }
  TElement NextElement() override { return FItems[static_cast<std::size_t>(++FIndex)]; }
  void Reset() override { FIndex = -1; }

private:
  std::vector<TElement> FItems;
  std::int32_t FIndex = -1;
};

[[noreturn, gnu::noinline]] void RefuseSlotName(std::string_view Name) {
  throw EKBException(Format(_SInvalidSlotName, TKBName(Name)));
}

IKBValue CloneDefault(const TFactSlot& Slot) {
  const IKBValue Default = Slot.GetSlotDefault();
  return Default ? Default->Clone() : FCNil;
}

}  // namespace

// ================================================================ TFact

// Working memory holds many facts: a fact fits a 56-byte block of the pool.
static_assert(sizeof(TFact) <= 56);

TFact::TFact(const IFactTemplate& ATemplate, const IFact& ASource) : FTemplate(ATemplate) {
  if (ASource) Assign(IInterface(ASource));
}

TFact::~TFact() {
  if (FHasTag) SetSideTag(this, 0);
}

std::intptr_t TFact::LookUpTag() const noexcept { return FindSideTag(this); }

void TFact::SetTag(std::intptr_t Value) {
  if (!Value && !FHasTag) return;
  SetSideTag(this, Value);
  FHasTag = Value != 0;
}

IKnowledgeBase* TFact::TemplateEngine() const noexcept { return FTemplate ? FTemplate->GetEngine() : nullptr; }

bool TFact::DynamicChecks() const noexcept {
  const IKnowledgeBase* Engine = TemplateEngine();
  return Engine && Engine->GetTypeChecks().Contains(tcDynamic);
}

const IKBValue& TFact::ValueAt(int Position, const TFactSlot& Slot) const {
  CoverPositions();
  IKBValue& Value = FValues[static_cast<std::size_t>(Position)];
  if (!Value) Value = CloneDefault(Slot);
  return Value;
}

IKBValue TFact::GetValue(const TKBName& Name) const {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  return GetValueAt(FTemplate->PositionOf(Name), Name);
}

IKBValue TFact::GetValue(const TSlotRef& Ref) const { return GetValueRef(Ref); }

const IKBValue& TFact::GetValueRefSlowly(const TSlotRef& Ref) const {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  return GetValueAt(Ref.PositionIn(*FTemplate), Ref.GetName());
}

const IKBValue& TFact::GetValueAt(int Position, const TKBName& Name) const {
  CoverPositions();
  // A value once entered is kept, also when its slot has left the template since.
  if (Position >= 0 && FValues[static_cast<std::size_t>(Position)]) return FValues[static_cast<std::size_t>(Position)];
  const TFactSlot* Slot = FTemplate->SlotAt(Position);
  if (!Slot) throw EKBException(Format(_SInvalidSlotName, Name));
  return ValueAt(Position, *Slot);
}

IKBValue TFact::ContainsKey(const TKBName& Name) const {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  const int Position = FTemplate->PositionOf(Name);
  const TFactSlot* Slot = FTemplate->SlotAt(Position);
  return Slot ? ValueAt(Position, *Slot) : nullptr;
}

IKBValue TFact::ContainsKey(const TSlotRef& Ref) const { return ContainsKeyRef(Ref); }

const IKBValue& TFact::ContainsKeyRef(const TSlotRef& Ref) const {
  static const IKBValue None;
  if (!FTemplate) throw EKBException(_SNoTemplate);
  const int Position = Ref.PositionIn(*FTemplate);
  const TFactSlot* Slot = FTemplate->SlotAt(Position);
  return Slot ? ValueAt(Position, *Slot) : None;
}

inline void TFact::Put(int Position, IKBValue&& Value) {
  const auto At = static_cast<std::size_t>(Position);
  if (At >= FValues.size()) [[unlikely]]
    CoverPositions();
  FValues[At] = std::move(Value);
  Changed();
}

void TFact::SetValue(std::string_view Name, IKBValue Value) {
  // The common case calls nothing: a slot found among the names kept in
  // place, a value its type plainly takes, room for it. Any other takes the
  // long way, which begins again.
  int Position;
  const TFactSlot* Slot;
  if (const TFactTemplate* const Template = FTemplate.get();
      Template && (Slot = Template->KnownSlotNamed(Name, Position)) && Slot->IsPlainlyValid(Value) &&
      static_cast<std::size_t>(Position) < FValues.size()) [[likely]] {
    IKBValue& Target = FValues[static_cast<std::size_t>(Position)];
    // The value replaced goes last: its end may run code that reads the fact.
    const IKBValue Replaced = std::move(Target);
    Target = std::move(Value);
    Changed();
    return;
  }
  SetValueSlowly(Name, Value);
}

void TFact::SetValueSlowly(std::string_view Name, IKBValue& Value) {
  const TFactTemplate* const Template = FTemplate.get();
  if (!Template) [[unlikely]]
    throw EKBException(_SNoTemplate);
  int Position;
  if (!Template->SlotNamed(Name, Position)) [[unlikely]]
    RefuseSlotName(Name);
  SetValueAt(Position, Value);
}

void TFact::SetValueAt(int Position, const IKBValue& Value) {
  const TFactTemplate* const Template = FTemplate.get();
  if (!Template) throw EKBException(_SNoTemplate);
  const TFactSlot* const Slot = Template->SlotAt(Position);
  if (!Slot) throw EKBException(Format(_SInvalidSlotName, std::to_string(Position)));
  if (Slot->IsPlainlyValid(Value)) [[likely]]
    Put(Position, IKBValue(Value));
  else
    StoreAt(Position, *Slot, Value);
}

void TFact::StoreAt(int Position, const TFactSlot& Slot, IKBValue Value) {
  IKBValue Stored = Value ? std::move(Value) : FCNil;
  // Everything is checked before anything changes, the caller's value
  // included. A value of a type the slot plainly takes passes either way,
  // without asking the engine.
  if (!Slot.IsPlainlyValid(Stored) && DynamicChecks() && !Slot.IsValid(Stored)) {
    const TKBType Type = Stored->GetDType();
    if (Type == dtInteger && Slot.GetSlotType().Contains(dtFloat)) {
      const IKBValue AsFloat(new TKBValue(static_cast<double>(Stored->GetAsInteger())));
      if (!Slot.IsValid(AsFloat)) throw EKBException(Slot.GetInvalidValueString(Stored));
      // The caller's value changes with the conversion; a shared constant never does.
      if (IsValueConstant(Stored))
        Stored = AsFloat;
      else
        Stored->SetAsFloat(AsFloat->GetAsFloat());
    } else if ((Type == dtAtom || Type == dtString) && Slot.GetSlotType().Contains(dtFuzzy)) {
      // A word for a fuzzy slot is a linguistic expression of its variable.
      const IKBDefinedType DefType = Slot.GetExtendedTypeInfo();
      const IFuzzyVariable Variable = DefType ? DefType->GetFuzzyType() : IFuzzyVariable();
      const IFuzzySet Set = Variable ? Variable->GetFuzzySetFromExpression(Stored->GetAsString()) : IFuzzySet();
      if (!Set) throw EKBException(Slot.GetInvalidValueString(Stored));
      if (IsValueConstant(Stored))
        Stored = IKBValue(new TKBValue(Set));
      else
        Stored->SetAsFuzzy(Set);
    } else {
      throw EKBException(Slot.GetInvalidValueString(Stored));
    }
  }
  Put(Position, std::move(Stored));
}

void TFact::SetTemplate(const IFactTemplate& Value) {
  if (Value == FTemplate) return;
  Changed();
  if (!Value) {
    FValues.clear();
    FTemplate = nullptr;
    return;
  }
  // The values of the slots both templates have stay; the others take the
  // new template's defaults.
  TFactValues Values(static_cast<std::size_t>(Value->GetPositionCount()));
  for (const int Position : Value->GetSortedPositions()) {
    const TFactSlot* Slot = Value->SlotAt(Position);
    IKBValue& Target = Values[static_cast<std::size_t>(Position)];
    if (FTemplate) {
      const int Old = FTemplate->PositionOf(Slot->GetName());
      if (FTemplate->SlotAt(Old) && static_cast<std::size_t>(Old) < FValues.size())
        Target = FValues[static_cast<std::size_t>(Old)];
    }
    if (!Target) Target = CloneDefault(*Slot);
  }
  FTemplate = Value;
  FValues = std::move(Values);
}

TFactValues TFact::CloneValues(const TFact& Source) {
  TFactValues Result(Source.FValues.size());
  for (std::size_t I = 0; I < Result.size(); ++I)
    if (const IKBValue& Value = Source.FValues[I]) Result[I] = Value->Clone();
  return Result;
}

void TFact::ReplaceValues(TFactValues&& Values) {
  Changed();
  FValues = std::move(Values);
}

void TFact::AssignValues(const IFact& Source) {
  if (!FTemplate || !Source || !Source->FTemplate) throw EKBException(_SNoTemplate);
  if (Source->FTemplate != FTemplate)
    throw EKBException(
        Format(_SFactTemplatesDifferent, FTemplate->GetTemplateName(), Source->FTemplate->GetTemplateName()));
  if (Source.get() == this) return;
  ReplaceValues(CloneValues(*Source));
}

IInterfaceIterator TFact::GetSlotValues() const {
  std::vector<IInterface> Values;
  for (const IKBValue& Value : FValues)
    if (Value) Values.emplace_back(Value);
  return IInterfaceIterator(new TSnapshotIterator<IInterface>(std::move(Values)));
}

IStringIterator TFact::GetSlotNames() const {
  std::vector<std::string> Names;
  for (std::size_t I = 0; I < FValues.size(); ++I)
    if (FValues[I])
      if (const TFactSlot* Slot = FTemplate->SlotAt(static_cast<int>(I))) Names.push_back(Slot->GetName());
  return IStringIterator(new TSnapshotIterator<std::string>(std::move(Names)));
}

bool TFact::Equals(const IFact& Other) const {
  if (!Other) return false;
  if (Other.get() == this) return true;
  if (Other->FTemplate != FTemplate) return false;
  if (!FTemplate) return true;
  for (const int Position : FTemplate->GetSortedPositions()) {
    const TFactSlot& Slot = *FTemplate->SlotAt(Position);
    // Fuzzy slots are left out, so that fuzzy facts can combine.
    if (Slot.IsFuzzy()) continue;
    if (!ValueAt(Position, Slot)->Equals(Other->ValueAt(Position, Slot))) return false;
  }
  return true;
}

bool TFact::Equals(const IInterface& Other) const { return Equals(Other.As<TFact>()); }

namespace {
constexpr std::uint64_t HashGolden = 0x9E3779B97F4A7C15ULL;

// A multiply per value; the high bits, which depend on every bit of every
// value, are folded down once at the end, so that tables taking their
// bucket from the low bits or from the high ones both spread.
std::uint64_t MixIn(std::uint64_t Mix, std::int32_t Hash) noexcept {
  return (Mix ^ static_cast<std::uint32_t>(Hash)) * HashGolden;
}

// The mix of a fact's fields so far, and its first integer field, negative
// while there is none.
struct TFactMix {
  std::uint64_t Mix;
  std::int64_t Near;
};

// The first integer goes in without its low bits, which the code takes apart.
inline void MixInField(TFactMix& Fields, const TKBValue& Value) noexcept {
  const std::int32_t Hash = Value.GetHashCode();
  if (Value.GetDType() == dtInteger && Fields.Near < 0) {
    Fields.Near = static_cast<std::uint32_t>(Hash);
    Fields.Mix = MixIn(Fields.Mix, static_cast<std::int32_t>(Fields.Near >> TFact::NeighbourBits));
  } else {
    Fields.Mix = MixIn(Fields.Mix, Hash);
  }
}

// A multifield: its length, then item by item.
[[gnu::noinline]] TFactMix MixInList(TFactMix Fields, const TValueVector& List) noexcept {
  Fields.Mix = MixIn(Fields.Mix, List.GetCount());
  for (const IKBValue& Item : List)
    if (Item)
      MixInField(Fields, *Item);
    else
      Fields.Mix = MixIn(Fields.Mix, 0);
  return Fields;
}
}  // namespace

std::int32_t TFact::HashValues() const {
  const TFactTemplate* const Template = FTemplate.get();
  TFactMix Fields{0, -1};
  if (Template) {
    const bool Fuzzy = Template->IsFuzzy();
    // In the template's position order: only facts of one template can be
    // equal, and for them that order is the same.
    const std::vector<TFactSlot*>& Slots = Template->GetSlotsAt();
    if (FValues.size() < Slots.size()) CoverPositions();
    // Neither array moves below: a default entered fills its place only.
    const IKBValue* Entered = FValues.begin();
    for (TFactSlot* const* Slot = Slots.data(); Slot != Slots.data() + Slots.size(); ++Slot, ++Entered) {
      if (!*Slot || (Fuzzy && (*Slot)->IsFuzzy())) continue;
      const TKBValue* Value = Entered->get();
      if (!Value) [[unlikely]]
        Value = ValueAt(static_cast<int>(Slot - Slots.data()), **Slot).get();
      if (const TValueVector* const List = Value->GetListInPlace()) [[unlikely]]
        Fields = MixInList(Fields, *List);
      else
        MixInField(Fields, *Value);
    }
  }
  // The template comes in last, past the multiplies: mixed in first, its
  // address, which differs from another template's in a few low bits, would
  // cancel against a first value that differs in the same bits (an integer
  // id), and the facts of two templates would pair off under one hash.
  std::uint64_t Mix = Fields.Mix ^ reinterpret_cast<std::uintptr_t>(Template);
  Mix ^= Mix >> 32;
  Mix *= HashGolden;
  constexpr std::uint32_t NearMask = (1u << NeighbourBits) - 1;
  const auto High = static_cast<std::uint32_t>(Mix >> 32);
  const auto Near = static_cast<std::uint32_t>(Fields.Near);
  FHashCode = static_cast<std::int32_t>((High & ~NearMask) | ((High ^ Near) & NearMask));
  FHashValid = true;
  return FHashCode;
}

std::string TFact::ToString() const {
  if (const IKnowledgeBase* Engine = TemplateEngine()) return Engine->PrettyPrint(*this);
  return cogent::PrettyPrint(*this);
}

std::string TFact::GetToIDString() const {
  if (const IKnowledgeBase* Engine = TemplateEngine()) {
    const std::size_t Digits = std::to_string(Engine->GetFactIdCounter()).size();
    return Format("%s%." + std::to_string(Digits) + "d %s", "f-", FID, ToString());
  }
  return "f-" + std::to_string(FID) + " " + ToString();
}

bool TFact::AssignAcrossEngines(const TFact& Source) {
  IKnowledgeBase* Engine = TemplateEngine();
  if (!Engine) return false;
  const IFactTemplate& SourceTemplate = Source.FTemplate;
  IFactTemplate Template = Engine->FindFactTemplate(SourceTemplate->GetTemplateName());
  if (!Template) {
    Template = Engine->CreateFactTemplate(SourceTemplate->GetTemplateName());
    Template->Assign(IInterface(SourceTemplate));
  }
  // The fact crosses as text read by this engine's parser, so that calls and
  // values bind here.
  const IFact Parsed = Engine->ParseFact(Source.ToString());
  if (!Parsed) return false;
  FTemplate = Parsed->GetTemplate();
  ReplaceValues(CloneValues(*Parsed));
  return true;
}

void TFact::AssignFact(const TFact& Source, bool ThroughSetValue) {
  if (&Source == this) return;
  if (FTemplate && Source.FTemplate && FTemplate->GetAOwner() != Source.FTemplate->GetAOwner() &&
      AssignAcrossEngines(Source)) {
    // A fact read from text has no number and no tag yet.
    FID = ThroughSetValue ? -1 : Source.FID;
    SetTag(ThroughSetValue ? 0 : Source.GetTag());
    return;
  }
  if (!Source.FTemplate) {
    Changed();
    FValues.clear();
    FTemplate = nullptr;
  } else if (ThroughSetValue) {
    // Filled on a scratch fact, so that a refused value changes nothing here.
    const IFact Scratch(new TFact(Source.FTemplate));
    for (std::size_t I = 0; I < Source.FValues.size(); ++I) {
      const IKBValue& Value = Source.FValues[I];
      if (!Value) continue;
      const TFactSlot* Slot = Source.FTemplate->SlotAt(static_cast<int>(I));
      if (Slot) Scratch->SetValue(Slot->GetName(), Value->Clone());
    }
    FTemplate = Source.FTemplate;
    ReplaceValues(std::move(Scratch->FValues));
  } else {
    auto Values = CloneValues(Source);
    FTemplate = Source.FTemplate;
    ReplaceValues(std::move(Values));
  }
  FID = Source.FID;
  SetTag(Source.GetTag());
}

void TFact::Assign(TPersistent* Source) {
  if (const auto* Fact = dynamic_cast<const TFact*>(Source)) {
    AssignFact(*Fact, true);
    return;
  }
  TPersistent::Assign(Source);
}

void TFact::Assign(const IInterface& Source) {
  const IFact Fact = Source.As<TFact>();
  if (!Fact) AssignError(dynamic_cast<TPersistent*>(Source.get()));
  AssignFact(*Fact, false);
}

IFact TFact::Clone() const { return IFact(new TFact(FTemplate, IFact(const_cast<TFact*>(this)))); }

IInterface TFact::CloneInterface() const { return Clone(); }

}  // namespace cogent
