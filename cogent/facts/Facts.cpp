// Facts: lazily filled slot values, conversion under dynamic type checks,
// equality, hashing and text.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPrinter.h"

namespace cogent {

namespace {

// Walks a fact's table by position; Element picks what each entry gives. A
// counted owner, when there is one, is held so that the table cannot go while
// the iterator lives.
template <class TElement, TElement (*Element)(const TFactValues&, std::int32_t)>
class TValuesIterator final : public TCustomIterator<TElement> {
public:
  TValuesIterator(const TFactValues* ATable, IInterface AKeepAlive)
      : FTable(ATable), FKeepAlive(std::move(AKeepAlive)) {}
  TElement CurrentElement() const override { return Element(*FTable, FIndex); }
  int GetCount() const override { return FTable->GetCount(); }
  bool HasMoreElements() const override { return FIndex + 1 < FTable->GetCount(); }
  TElement NextElement() override {
    TElement Result = Element(*FTable, FIndex + 1);
    ++FIndex;
    return Result;
  }
  void Reset() override { FIndex = -1; }

private:
  const TFactValues* FTable;
  IInterface FKeepAlive;
  std::int32_t FIndex = -1;
};

IInterface ItemAt(const TFactValues& Table, std::int32_t Index) { return Table.GetItemByIndex(Index).Item; }
std::string KeyAt(const TFactValues& Table, std::int32_t Index) { return Table.GetKeyByIndex(Index); }

using TItemIterator = TValuesIterator<IInterface, ItemAt>;
using TKeyIterator = TValuesIterator<std::string, KeyAt>;

IKBValue CloneDefault(const IFactSlot& Slot) {
  const IKBValue Default = Slot->GetSlotDefault();
  return Default ? Default->Clone() : FCNil;
}

// The entry's slot belongs to a template of that name; the owner is asked
// first, so that the usual case compares no text.
bool SlotOfTemplate(const IFactSlot& Slot, const TFactTemplate& Template) {
  const TFactTemplate* Owner = Slot->GetOwner();
  if (Owner == &Template) return true;
  return Owner ? Owner->GetTemplateName() == Template.GetTemplateName() : Template.GetTemplateName().empty();
}

// A handle for an object that is already held by one, or nothing for one
// that is not (so that dropping the handle cannot free it).
IInterface KeepAlive(const TRefCounted* Object) {
  return Object->GetRefCount() > 0 ? IInterface(const_cast<TRefCounted*>(Object)) : IInterface();
}

}  // namespace

// ================================================================ TFactValues

IInterfaceIterator TFactValues::GetIterator() const { return IInterfaceIterator(new TItemIterator(this, nullptr)); }

// ================================================================ TFact

TFact::TFact(const IFactTemplate& ATemplate, const IFact& ASource) : FTemplate(ATemplate) {
  if (ASource) Assign(IInterface(ASource));
}

IKnowledgeBase* TFact::TemplateEngine() const noexcept { return FTemplate ? FTemplate->GetEngine() : nullptr; }

IKBValue TFact::GetValue(const TKBName& Name) const {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  TFactValueHashtableEntry Entry;
  if (FValues.ContainsKey(Name, Entry)) return Entry.Item;
  IFactSlot Slot;
  if (!FTemplate->ContainsSlot(Name, Slot)) throw EKBException(Format(_SInvalidSlotName, Name));
  IKBValue Value = CloneDefault(Slot);
  FValues.Add(Name, TFactValueHashtableEntry{Value, Slot});
  return Value;
}

IKBValue TFact::ContainsKey(const TKBName& Name) const {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  TFactValueHashtableEntry Entry;
  const bool Found = FValues.ContainsKey(Name, Entry);
  if (Found && Entry.Slot && SlotOfTemplate(Entry.Slot, *FTemplate)) return Entry.Item;
  IFactSlot Slot;
  if (!FTemplate->ContainsSlot(Name, Slot)) return nullptr;
  if (Found) {
    FValues.PutItem(Name, TFactValueHashtableEntry{Entry.Item, Slot});
    return Entry.Item;
  }
  IKBValue Value = CloneDefault(Slot);
  FValues.Add(Name, TFactValueHashtableEntry{Value, Slot});
  return Value;
}

void TFact::SetValue(const TKBName& Name, const IKBValue& Value) {
  if (!FTemplate) throw EKBException(_SNoTemplate);
  const IKnowledgeBase* Engine = TemplateEngine();
  const bool Dynamic = Engine && Engine->GetTypeChecks().Contains(tcDynamic);
  TFactValueHashtableEntry Entry;
  const bool Found = FValues.ContainsKey(Name, Entry);
  IFactSlot Slot = Entry.Slot;
  if (!Found || (Dynamic && (!Slot || !SlotOfTemplate(Slot, *FTemplate))))
    if (!FTemplate->ContainsSlot(Name, Slot)) throw EKBException(Format(_SInvalidSlotName, Name));
  IKBValue Stored = Value ? Value : FCNil;
  // Everything is checked before anything changes, the caller's value included.
  if (Dynamic && !Slot->IsValid(Stored)) {
    const TKBType Type = Stored->GetDType();
    if (Type == dtInteger && Slot->GetSlotType().Contains(dtFloat)) {
      const IKBValue AsFloat(new TKBValue(static_cast<double>(Stored->GetAsInteger())));
      if (!Slot->IsValid(AsFloat)) throw EKBException(Slot->GetInvalidValueString(Stored));
      // The caller's value changes with the conversion; a shared constant never does.
      if (IsValueConstant(Stored))
        Stored = AsFloat;
      else
        Stored->SetAsFloat(AsFloat->GetAsFloat());
    } else {
      // An atom or string for a fuzzy slot is to become a fuzzy set through the
      // slot's fuzzy variable; that comes with fuzzy defined types, and until
      // then such a value is refused like any other.
      throw EKBException(Slot->GetInvalidValueString(Stored));
    }
  }
  FValues.AddOrSetValue(Name, TFactValueHashtableEntry{Stored, Slot});
  Changed();
}

void TFact::SetTemplate(const IFactTemplate& Value) {
  if (Value == FTemplate) return;
  Changed();
  if (!Value) {
    FValues.Clear();
    FTemplate = nullptr;
    return;
  }
  if (FTemplate) {
    const TStringList<>& Names = FTemplate->GetSlotNames();
    for (int I = 0; I < Names.GetCount(); ++I) {
      const std::string& Name = Names.GetString(I);
      TFactValueHashtableEntry Entry;
      if (!FValues.ContainsKey(Name, Entry)) continue;
      IFactSlot Slot;
      if (Value->ContainsSlot(Name, Slot))
        FValues.PutItem(Name, TFactValueHashtableEntry{Entry.Item, Slot});
      else
        FValues.Remove(Name);
    }
  }
  FTemplate = Value;
  const TStringList<>& Names = FTemplate->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const std::string& Name = Names.GetString(I);
    if (!FValues.ContainsKey(Name)) FValues.Add(Name, TFactValueHashtableEntry{CloneDefault(FTemplate->GetSlot(Name)), nullptr});
  }
}

std::vector<std::pair<std::string, IKBValue>> TFact::CloneValues(const TFact& Source) {
  std::vector<std::pair<std::string, IKBValue>> Result;
  Result.reserve(static_cast<std::size_t>(Source.FValues.GetCount()));
  for (const auto& Item : Source.FValues)
    Result.emplace_back(Item.Key, Item.Value.Item ? Item.Value.Item->Clone() : FCNil);
  return Result;
}

void TFact::ReplaceValues(std::vector<std::pair<std::string, IKBValue>>&& Values) {
  Changed();
  FValues.Clear();
  for (auto& [Name, Value] : Values) FValues.PutItem(Name, TFactValueHashtableEntry{std::move(Value), nullptr});
}

void TFact::AssignValues(const IFact& Source) {
  if (!FTemplate || !Source || !Source->FTemplate) throw EKBException(_SNoTemplate);
  if (Source->FTemplate != FTemplate)
    throw EKBException(
        Format(_SFactTemplatesDifferent, FTemplate->GetTemplateName(), Source->FTemplate->GetTemplateName()));
  if (Source.get() == this) return;
  ReplaceValues(CloneValues(*Source));
}

IInterfaceIterator TFact::GetSlotValues() const { return IInterfaceIterator(new TItemIterator(&FValues, KeepAlive(this))); }

IStringIterator TFact::GetSlotNames() const { return IStringIterator(new TKeyIterator(&FValues, KeepAlive(this))); }

bool TFact::Equals(const IFact& Other) const {
  if (!Other) return false;
  if (Other.get() == this) return true;
  if (Other->FTemplate != FTemplate) return false;
  if (!FTemplate) return true;
  const TStringList<>& Names = FTemplate->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const std::string& Name = Names.GetString(I);
    // Fuzzy slots are left out, so that fuzzy facts can combine.
    if (FTemplate->GetSlot(Name)->IsFuzzy()) continue;
    if (!GetValue(Name)->Equals(Other->GetValue(Name))) return false;
  }
  return true;
}

bool TFact::Equals(const IInterface& Other) const { return Equals(Other.As<TFact>()); }

std::int32_t TFact::GetHashCode() const {
  if (FHashValid) return FHashCode;
  std::int32_t Hash = static_cast<std::int32_t>(std::hash<const void*>()(FTemplate.get()));
  if (FTemplate) {
    const bool Fuzzy = FTemplate->IsFuzzy();
    const TStringList<>& Names = FTemplate->GetSlotNames();
    for (int I = 0; I < Names.GetCount(); ++I) {
      const std::string& Name = Names.GetString(I);
      if (Fuzzy && FTemplate->GetSlot(Name)->IsFuzzy()) continue;
      const IKBValue Value = GetValue(Name);
      if (Value->GetDType() != dtList) {
        Hash = HashCombine(Hash, Value->GetHashCode());
        continue;
      }
      const IValueVector List = Value->GetAsList();
      Hash = HashCombine(Hash, List->GetCount());
      for (const IKBValue& Item : *List) Hash = HashCombine(Hash, Item ? Item->GetHashCode() : 0);
    }
  }
  FHashCode = Hash;
  FHashValid = true;
  return Hash;
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
    FTag = ThroughSetValue ? 0 : Source.FTag;
    return;
  }
  if (!Source.FTemplate) {
    Changed();
    FValues.Clear();
    FTemplate = nullptr;
  } else if (ThroughSetValue) {
    // Filled on a scratch fact, so that a refused value changes nothing here.
    const IFact Scratch(new TFact(Source.FTemplate));
    for (const auto& Item : Source.FValues)
      Scratch->SetValue(Item.Key, Item.Value.Item ? Item.Value.Item->Clone() : nullptr);
    std::vector<std::pair<std::string, IKBValue>> Values;
    for (const auto& Item : Scratch->FValues) Values.emplace_back(Item.Key, Item.Value.Item);
    FTemplate = Source.FTemplate;
    ReplaceValues(std::move(Values));
  } else {
    auto Values = CloneValues(Source);
    FTemplate = Source.FTemplate;
    ReplaceValues(std::move(Values));
  }
  FID = Source.FID;
  FTag = Source.FTag;
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
