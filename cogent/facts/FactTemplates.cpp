// Template slots and fact templates.

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

// Walks the slots by position. A counted owner, when there is one, is held so
// that the table cannot go while the iterator lives.
class TSlotIterator final : public TCustomIterator<IInterface> {
public:
  TSlotIterator(const TFactTemplateSlots* ATable, IInterface AKeepAlive)
      : FTable(ATable), FKeepAlive(std::move(AKeepAlive)) {}
  IInterface CurrentElement() const override { return FTable->GetItemByIndex(FIndex); }
  int GetCount() const override { return FTable->GetCount(); }
  bool HasMoreElements() const override { return FIndex + 1 < FTable->GetCount(); }
  IInterface NextElement() override {
    const IInterface Result = FTable->GetItemByIndex(FIndex + 1);
    ++FIndex;
    return Result;
  }
  void Reset() override { FIndex = -1; }

private:
  const TFactTemplateSlots* FTable;
  IInterface FKeepAlive;
  std::int32_t FIndex = -1;
};

std::string Trim(const std::string& S) {
  const auto First = S.find_first_not_of(" \t\r\n");
  if (First == std::string::npos) return {};
  const auto Last = S.find_last_not_of(" \t\r\n");
  return S.substr(First, Last - First + 1);
}

bool DefaultsEqual(const IKBValue& A, const IKBValue& B) {
  if (A == B) return true;
  if (!A || !B) return false;
  // A loose comparison that refuses the conversion means "different".
  try {
    return A->EqualsStar(B);
  } catch (const EVXException&) {
    return false;
  } catch (const EConvertError&) {
    return false;
  }
}

}  // namespace

// ================================================================ TFactSlot

TFactSlot::TFactSlot(TFactTemplate* AOwner) : FOwner(AOwner) {}

TFactSlot::~TFactSlot() {
  FOwner = nullptr;
  if (FSlotDefault && !IsValueConstant(FSlotDefault)) FSlotDefault->SetOnChange(nullptr);
  FSlotDefault = nullptr;
}

IKBDefinedType TFactSlot::GetExtendedTypeInfo() const { return FExtendedTypeInfo; }

void TFactSlot::SetDefaultDynamic(bool Value) noexcept {
  FDefaultDynamic = Value;
  // The owner keeps whether any of its slots has a dynamic default.
  if (FOwner) FOwner->FNeedPositions = true;
}

bool TFactSlot::DynamicChecks() const {
  if (!FOwner) return false;
  const IKnowledgeBase* Engine = FOwner->GetEngine();
  return Engine && Engine->GetTypeChecks().Contains(tcDynamic);
}

TKBName TFactSlot::GetTemplateName() const { return FOwner ? FOwner->GetTemplateName() : TKBName(); }

void TFactSlot::SetName(const TKBName& Value) {
  CheckKBName(Value);
  TKBName Name = Value;
  if (FOwner) FOwner->NewSlotName(this, Name);
  FName = Name;
}

void TFactSlot::SetSlotDefault(const IKBValue& Value) {
  if (Value && DynamicChecks() && !IsValid(Value))
    throw EKBException(Format(_SInvalidSlotDefault, Value->GetToString()));
  if (FSlotDefault && !IsValueConstant(FSlotDefault)) FSlotDefault->SetOnChange(nullptr);
  IKBValue NewValue = (!Value || IsValueConstant(Value)) ? Value : Value->Clone();
  if (FOwner && NewValue) FOwner->NewSlotDefault(this, NewValue);
  FSlotDefault = NewValue;
  // Constants never change and are shared by many slots: they get no hook.
  if (FSlotDefault && !IsValueConstant(FSlotDefault))
    FSlotDefault->SetOnChange([this](const IKBValue& Changed) { ValueChanged(Changed); });
}

void TFactSlot::ValueChanged(const IKBValue& Value) {
  if (DynamicChecks() && !IsValid(Value))
    throw EKBException(Format(_SInvalidValue, Value ? Value->GetToString() : std::string(), FName));
}

void TFactSlot::SetSlotType(TKBTypes Value) {
  if (Value == FSlotType) return;
  if (Value.Contains(dtFuzzy) && !(Value - TKBTypes{dtFuzzy} - KBMultiSlotTypes).Empty())
    throw EKBException(_SCannotMixFuzzy);
  if (FOwner) FOwner->NewSlotType(this, Value);
  FSlotType = Value;
  if (FExtendedTypeInfo && FExtendedTypeInfo->GetImplicit()) FExtendedTypeInfo->SetBaseTypes(Value);
  if (!FSlotDefault || !IsValid(FSlotDefault)) SetSlotDefault(CreateValidDefault(Value.Contains(dtMultiSlot)));
}

void TFactSlot::SetExtendedTypeInfo(const IKBDefinedType& Value) {
  if (Value == FExtendedTypeInfo) return;
  TKBTypes Types = Value ? Value->GetBaseTypes() : TKBTypes();
  if (FOwner && Value) FOwner->NewSlotType(this, Types);
  FExtendedTypeInfo = Value;
  SetSlotType(FName == SDefaultSlotName ? Types + KBMultiSlotTypes : Types);
}

IKBValue TFactSlot::CreateValidDefault(bool Multi) {
  if (FExtendedTypeInfo) return FExtendedTypeInfo->CreateValidDefault(Multi);
  if (Multi) return FCNilList->Clone();
  IKBValue Result(new TKBValue());
  if (FSlotType.Contains(dtAtom))
    Result->SetAsAtom("");
  else if (FSlotType.Contains(dtString))
    Result->SetAsString("");
  else if (FSlotType.Contains(dtInteger))
    Result->SetAsInteger(0);
  else if (FSlotType.Contains(dtFloat))
    Result->SetAsFloat(0.0);
  else if (FSlotType.Contains(dtObject))
    Result->SetAsObject(nullptr);
  else if (FSlotType.Contains(dtExternalAddress))
    Result->SetAsExternalAddress(nullptr);
  else if (FSlotType.Contains(dtFuzzy))
    return FCNil;
  else if (FSlotType.Contains(dtFactId))
    Result->SetAsFactId(0);
  else if (FSlotType.Contains(dtFact))
    Result->SetAsFact(nullptr);
  else if (FSlotType.Contains(dtDescriptor))
    Result->SetAsDescriptor(0);
  else if (FSlotType.Contains(dtClass))
    Result->SetAsClass(nullptr);
  return Result;
}

bool TFactSlot::IsValid(const IKBValue& Value) const {
  if (!Value) return true;
  if (Value == FCNil) return !FSlotType.Contains(dtList);
  if (Value == FCNilList && FSlotType.Contains(dtList)) return true;
  if (FExtendedTypeInfo) return FExtendedTypeInfo->IsValid(Value);
  const TKBTypes Allowed = FSlotType + KBAlwaysValidTypes;
  if (!Allowed.Contains(Value->GetDType())) return false;
  if (Value->GetDType() == dtList) {
    const IValueVector Items = Value->GetAsList();
    for (int I = 0; I < Items->GetCount(); ++I)
      if (const IKBValue Item = Items->Get(I); Item && !Allowed.Contains(Item->GetDType())) return false;
  }
  return true;
}

std::string TFactSlot::GetInvalidValueString(const IKBValue& Value) const {
  if (IsValid(Value)) return {};
  std::string Reason;
  if (FExtendedTypeInfo) Reason = FExtendedTypeInfo->GetInvalidValueString(Value);
  if (Reason.empty()) {
    std::string TypeName = GetKBTypeName(Value->GetDType());
    const TKBTypes Allowed = FSlotType + KBAlwaysValidTypes;
    if (Value->GetDType() == dtList && Allowed.Contains(dtList)) {
      const IValueVector Items = Value->GetAsList();
      for (int I = 0; I < Items->GetCount(); ++I)
        if (const IKBValue Item = Items->Get(I); Item && !Allowed.Contains(Item->GetDType())) {
          TypeName = GetKBTypeName(Item->GetDType()) + " (" + Item->GetToString() + ")";
          break;
        }
    }
    Reason = Format(_SNotCorrectType, VXUpperCase(SetToString(FSlotType, ", ", false)), Value->GetToString(), TypeName);
  }
  return Format(_SInvalidSlotValue, Reason, FName);
}

std::string TFactSlot::ToString() const { return FOwner ? FOwner->SlotToString(this) : cogent::PrettyPrint(*this); }

bool TFactSlot::Equals(const IFactSlot& Other) const {
  if (!Other) return false;
  if (Other.get() == this) return true;
  if (FName != Other->FName || FSlotType != Other->FSlotType) return false;
  const IKBDefinedType& A = FExtendedTypeInfo;
  const IKBDefinedType& B = Other->FExtendedTypeInfo;
  if (A != B && (!A || !B || !A->Equals(IInterface(B)))) return false;
  return DefaultsEqual(FSlotDefault, Other->FSlotDefault);
}

bool TFactSlot::Equals(const IInterface& Other) const { return Equals(Other.As<TFactSlot>()); }

void TFactSlot::AssignSlot(const TFactSlot& Source) {
  if (&Source == this) return;
  // The name comes first: the data slot's types depend on it.
  SetName(Source.FName);
  SetDefaultDynamic(Source.FDefaultDynamic);
  FTag = Source.FTag;
  // A slot arriving from another engine takes this engine's defined type of
  // the same name, and a default that refers to things of the old engine is
  // read anew here.
  IKnowledgeBase* Target = FOwner ? FOwner->GetEngine() : nullptr;
  const IKnowledgeBase* Origin = Source.FOwner ? Source.FOwner->GetEngine() : nullptr;
  if (Source.FExtendedTypeInfo && Target && Origin && Target != Origin) {
    if (const IKBDefinedType Local = Target->FindDefinedType(Source.FExtendedTypeInfo->GetName())) {
      SetExtendedTypeInfo(Local);
      SetSlotType(Source.FSlotType);
      const IKBValue& Default = Source.FSlotDefault;
      if (Default && KBReparseTypes.Contains(Default->GetDType()))
        SetSlotDefault(Target->ParseValue(Default->GetToString(), IFactSlot(this)));
      else if (Default)
        SetSlotDefault(Default);
      return;
    }
  }
  SetExtendedTypeInfo(Source.FExtendedTypeInfo);
  SetSlotType(Source.FSlotType);
  if (Source.FSlotDefault) SetSlotDefault(Source.FSlotDefault);
}

void TFactSlot::Assign(const IInterface& Source) {
  const IFactSlot Slot = Source.As<TFactSlot>();
  if (!Slot) AssignError(dynamic_cast<TPersistent*>(Source.get()));
  AssignSlot(*Slot);
}

void TFactSlot::Assign(TPersistent* Source) {
  if (auto* Slot = dynamic_cast<TFactSlot*>(Source)) {
    AssignSlot(*Slot);
    return;
  }
  TPersistent::Assign(Source);
}

IFactSlot TFactSlot::Clone() const {
  IFactSlot Result(new TFactSlot());
  Result->AssignSlot(*this);
  return Result;
}

IInterface TFactSlot::CloneInterface() const { return Clone(); }

// ================================================================ TFactTemplateSlots

IInterfaceIterator TFactTemplateSlots::GetIterator() const { return IInterfaceIterator(new TSlotIterator(this, nullptr)); }

// ================================================================ TFactTemplate

namespace {
// Serials of template layouts, unique across all templates of the process.
std::atomic<std::uint64_t> LayoutSerials{0};
std::uint64_t NewLayoutSerial() noexcept { return ++LayoutSerials; }
}  // namespace

TFactTemplate::TFactTemplate(TPersistent* AOwner)
    : FOwner(AOwner), FEngine(KnowledgeBaseOf(AOwner)), FSerial(NewLayoutSerial()) {
  FFactSlotNames.SetSorted(true);
  FFactSlotNames.SetCaseSensitive(true);
  if (IKnowledgeBase* Engine = GetEngine()) SetModule(Engine->GetCurrentModule().get());
}

TFactTemplate::TFactTemplate(TPersistent* AOwner, const TKBName& AName) : TFactTemplate(AOwner) {
  CheckKBName(AName);
  FTemplateName = AName;
}

TFactTemplate::TFactTemplate(TPersistent* AOwner, const TKBName& AName, const std::string& AComment,
                             const IFactTemplate& AParent)
    : TFactTemplate(AOwner) {
  CheckKBName(AName);
  if (AParent) {
    // A copy, so later changes to the parent do not reach the child.
    Assign(IInterface(AParent));
    FParent = AParent->FOwner == FOwner ? AParent : IFactTemplate();
  }
  FTemplateName = AName;
  FComment = AComment;
  FNeedHashCode = true;
}

TFactTemplate::~TFactTemplate() {
  for (const auto& Item : FFactSlots)
    if (Item.Value && Item.Value->FOwner == this) Item.Value->FOwner = nullptr;
}


void TFactTemplate::SetTemplateName(const TKBName& Value) {
  if (Value == FTemplateName) return;
  CheckKBName(Value);
  if (IKnowledgeBase* Engine = GetEngine()) Engine->RenameFactTemplate(this, FTemplateName, Value);
  FTemplateName = Value;
}

void TFactTemplate::SetParent(const IFactTemplate& Value) { FParent = Value; }

bool TFactTemplate::UpdateIsFuzzy() const {
  FIsFuzzy = false;
  for (const auto& Item : FFactSlots)
    if (Item.Value && Item.Value->IsFuzzy()) {
      FIsFuzzy = true;
      break;
    }
  FNeedIsFuzzy = false;
  return FIsFuzzy;
}

std::int32_t TFactTemplate::GetHashCode() const {
  if (FNeedHashCode) {
    FHashCode = CalculateHash(FTemplateName + FFactSlotNames.GetText(), 1);
    FNeedHashCode = false;
  }
  return FHashCode;
}

void TFactTemplate::MarkStale() noexcept {
  FNeedIsFuzzy = true;
  FNeedHashCode = true;
  FNeedPositions = true;
}

void TFactTemplate::UpdatePositions() const {
  if (!FNeedPositions) return;
  const std::size_t Known = FPositions.size();
  for (const auto& Item : FFactSlots) FPositions.try_emplace(Item.Key, static_cast<int>(FPositions.size()));
  if (FPositions.size() != Known) FSerial = NewLayoutSerial();
  FSlotAt.assign(FPositions.size(), nullptr);
  for (const auto& Item : FFactSlots) FSlotAt[static_cast<std::size_t>(FPositions.at(Item.Key))] = Item.Value.get();
  FSortedPositions.clear();
  for (int I = 0; I < FFactSlotNames.GetCount(); ++I)
    FSortedPositions.push_back(FPositions.at(FFactSlotNames.GetString(I)));
  // Up to a few positions PositionOf compares names in place. The names stay
  // where they are until a slot is renamed or leaves, which marks this stale.
  FNameAt.clear();
  if (FSlotAt.size() <= 8)
    for (const TFactSlot* Slot : FSlotAt)
      FNameAt.push_back(Slot ? TNameAt{Slot->GetName().data(), Slot->GetName().size()} : TNameAt{});
  FAnyDynamicDefault = false;
  for (const TFactSlot* Slot : FSlotAt)
    if (Slot && Slot->GetDefaultDynamic()) FAnyDynamicDefault = true;
  FNeedPositions = false;
}

int TFactTemplate::PositionOfSlowly(std::string_view Name) const {
  // Names whose slots have left are in the map.
  const auto Found = FPositions.find(Name);
  return Found == FPositions.end() ? -1 : Found->second;
}

const std::vector<int>& TFactTemplate::GetSortedPositions() const {
  UpdatePositions();
  return FSortedPositions;
}


void TFactTemplate::UpdateOrdered() {
  FOrdered = FFactSlots.GetCount() < 2 && FFactSlots.ContainsKey(SDefaultSlotName);
}

void TFactTemplate::ReleaseSlot(const IFactSlot& Slot) noexcept {
  if (Slot && Slot->FOwner == this) Slot->FOwner = nullptr;
}

IFactSlot TFactTemplate::GetSlot(const TKBName& Name) const {
  IFactSlot Slot;
  if (!FFactSlots.ContainsKey(Name, Slot)) throw EKBException(Format(_SInvalidSlotName, Name));
  return Slot;
}

bool TFactTemplate::ContainsSlot(const TKBName& Name, IFactSlot& Slot) const { return FFactSlots.ContainsKey(Name, Slot); }

void TFactTemplate::SetSlot(const TKBName& Name, const IFactSlot& Slot) {
  if (!Slot) throw EKBException(_SBadSlotType);
  if (Slot->GetName() != Name) throw EKBException(Format(_SNoIndexNameMatch, Name, Slot->GetName()));
  const IFactSlot Old = FFactSlots.Put(Name, Slot);
  if (Old != Slot) ReleaseSlot(Old);
  FFactSlotNames.Add(Name);
  MarkStale();
}

IFactSlot TFactTemplate::AddSlot(const TKBName& Name, const IKBValue& Default) {
  if (!Default) throw EKBException(_SBadSlotType);
  if (Default->GetDType() == dtList) throw EKBException(Format(_SInvalidSlotDefault, Default->GetToString()));
  IFactSlot Slot;
  if (FFactSlots.ContainsKey(Name, Slot)) {
    const IKBValue Existing = Slot->GetSlotDefault();
    if (Existing && Existing->GetDType() == dtList) throw EKBException(_SInvalidExistingMultiSlotChange);
    Slot->SetSlotDefault(Default);
  } else {
    Slot = IFactSlot(new TFactSlot(this));
    Slot->SetSlotType(KBSlotTypes);
    Slot->SetSlotDefault(Default);
    Slot->SetName(Name);
  }
  UpdateOrdered();
  return Slot;
}

IFactSlot TFactTemplate::AddMultiSlot(const TKBName& Name, const IKBValue& Default) {
  if (!Default) throw EKBException(_SBadSlotType);
  if (Default->GetDType() != dtList)
    throw EKBException(Format(_SInvalidDefaultMultislotValue, Default->GetToString()));
  if (Trim(Name).empty()) throw EKBException(Format(_SBadSlotName, Name));
  IFactSlot Slot;
  if (FFactSlots.ContainsKey(Name, Slot)) {
    const IKBValue Existing = Slot->GetSlotDefault();
    if (!Existing || Existing->GetDType() != dtList) throw EKBException(_SInvalidExistingSlotChange);
    Slot->SetSlotDefault(Default);
  } else {
    Slot = IFactSlot(new TFactSlot(this));
    Slot->SetSlotType(KBMultiSlotTypes + KBSlotTypes);
    Slot->SetSlotDefault(Default);
    Slot->SetName(Name);
  }
  UpdateOrdered();
  return Slot;
}

IFactSlot TFactTemplate::AddSlot(const IFactSlot& Slot) {
  if (!Slot) throw EKBException(_SBadSlotType);
  IFactSlot Replaced;
  FFactSlots.ContainsKey(Slot->GetName(), Replaced);
  const IFactSlot Result(new TFactSlot(this));
  try {
    Result->Assign(IInterface(Slot));
  } catch (...) {
    // The new slot entered the tables when it took its name: undo that.
    IFactSlot Entered;
    if (FFactSlots.ContainsKey(Result->GetName(), Entered) && Entered == Result) {
      if (Replaced) {
        FFactSlots.PutItem(Result->GetName(), Replaced);
        Replaced->FOwner = this;
      } else {
        FFactSlots.Remove(Result->GetName());
        const int Index = FFactSlotNames.IndexOf(Result->GetName());
        if (Index >= 0) FFactSlotNames.Delete(Index);
      }
      MarkStale();
    }
    Result->FOwner = nullptr;
    UpdateOrdered();
    throw;
  }
  UpdateOrdered();
  return Result;
}

IFactSlot TFactTemplate::ContainsType(const IKBDefinedType& DefinedType) const {
  if (!DefinedType) return nullptr;
  for (int I = 0; I < FFactSlotNames.GetCount(); ++I) {
    IFactSlot Slot;
    if (FFactSlots.ContainsKey(FFactSlotNames.GetString(I), Slot) && Slot->FExtendedTypeInfo == DefinedType)
      return Slot;
  }
  return nullptr;
}

void TFactTemplate::RemoveSlot(const TKBName& Name) {
  IFactSlot Slot;
  if (!FFactSlots.ContainsKey(Name, Slot)) throw EKBException(Format(_SInvalidSlotName, Name));
  FFactSlots.Remove(Name);
  const int Index = FFactSlotNames.IndexOf(Name);
  if (Index >= 0) FFactSlotNames.Delete(Index);
  ReleaseSlot(Slot);
  MarkStale();
}

void TFactTemplate::ClearSlots() {
  for (const auto& Item : FFactSlots) ReleaseSlot(Item.Value);
  FFactSlots.Clear();
  FFactSlotNames.Clear();
  MarkStale();
}

void TFactTemplate::NewSlotName(TFactSlot* Slot, TKBName& Name) {
  const IFactSlot Held(Slot);
  const TKBName& OldName = Slot->FName;
  IFactSlot Current;
  if (!OldName.empty() && FFactSlots.ContainsKey(OldName, Current) && Current.get() == Slot) {
    FFactSlots.Remove(OldName);
    const int Index = FFactSlotNames.IndexOf(OldName);
    if (Index >= 0) FFactSlotNames.Delete(Index);
  }
  FFactSlotNames.Add(Name);
  const IFactSlot Old = FFactSlots.Put(Name, Held);
  if (Old && Old.get() != Slot) ReleaseSlot(Old);
  // The slot may have replaced another one of that name.
  MarkStale();
  UpdateOrdered();
}

void TFactTemplate::NewSlotDefault(TFactSlot*, IKBValue& Value) {
  // Each template runs its own copy of a call.
  if (Value && Value->GetDType() == dtFunCall)
    if (const IFunCall Call = Value->GetAsFunCall())
      Value = IKBValue(new TKBValue(Call->CloneInterface().As<TFunctionCall>()));
}

void TFactTemplate::NewSlotType(TFactSlot*, TKBTypes&) { FNeedIsFuzzy = true; }

std::string TFactTemplate::SlotToString(const TFactSlot* Slot) const {
  return cogent::PrettyPrint(*Slot);
}

namespace {
// A clone of the slot's default, worked out in the engine's global context
// when the default is dynamic.
IKBValue NewDefault(const TFactSlot& Slot, IKnowledgeBase* Engine) {
  const IKBValue Default = Slot.GetSlotDefault();
  IKBValue Value = Default ? Default->Clone() : FCNil;
  if (Slot.GetDefaultDynamic() && Engine) Value = Value->Resolve(Engine->GetGlobalContext());
  return Value;
}
}  // namespace

IFact TFactTemplate::NewFact() {
  // Room for every position from the start: the first value set needs none.
  const IFact Result = NewBlankFact();
  // A slot left empty takes a clone of its default when first read, the
  // same value as one entered now, so only what must happen now happens:
  // dynamic defaults are worked out in slot order, and dynamic checks see
  // (and may convert) every default.
  IKnowledgeBase* Engine = GetEngine();
  if (!Engine) return Result;
  if (Engine->GetTypeChecks().Contains(tcDynamic)) {
    FillFactWithDefaults(Result);
    return Result;
  }
  if (!FAnyDynamicDefault) return Result;
  for (const int Position : GetSortedPositions())
    if (const TFactSlot* Slot = SlotAt(Position); Slot->GetDefaultDynamic())
      Result->SetValue(Slot->GetName(), NewDefault(*Slot, Engine));
  return Result;
}

void TFactTemplate::FillFactWithDefaults(const IFact& Fact) {
  const IFactTemplate Template = Fact ? Fact->GetTemplate() : IFactTemplate();
  if (!Template) throw EKBException(_SNoTemplate);
  if (Template.get() != this)
    throw EKBException(Format(_SFactTemplatesDifferent, Template->GetTemplateName(), FTemplateName));
  IKnowledgeBase* Engine = GetEngine();
  for (int I = 0; I < FFactSlotNames.GetCount(); ++I) {
    const std::string Name = FFactSlotNames.GetString(I);
    Fact->SetValue(Name, NewDefault(*GetSlot(Name), Engine));
  }
}

void TFactTemplate::AssignSlots(const IFactTemplate& Source) {
  if (!Source || Source.get() == this) return;
  // Each slot is read anew from its text by this template's engine, so that
  // its defined type, its calls and its fuzzy sets are this engine's. All
  // are read before any is replaced: a slot that can't be read here leaves
  // the template as it was. A template without an engine copies the slots.
  IKnowledgeBase* Engine = GetEngine();
  std::vector<IFactSlot> Slots;
  for (int I = 0; I < Source->FFactSlotNames.GetCount(); ++I) {
    const IFactSlot Slot = Source->GetSlot(Source->FFactSlotNames.GetString(I));
    Slots.push_back(Engine ? Engine->ParseFactTemplateSlot(Slot->ToString()) : Slot);
  }
  ClearSlots();
  for (const IFactSlot& Slot : Slots) AddSlot(Slot);
}

std::string TFactTemplate::ToString() const {
  const IKnowledgeBase* Engine = GetEngine();
  return cogent::PrettyPrint(*this, Engine && Engine->GetPrintModuleQualifiers());
}

bool TFactTemplate::Equals(const IFactTemplate& Other) const {
  if (!Other) return false;
  if (Other.get() == this) return true;
  if (FOrdered != Other->FOrdered || FTemplateName != Other->FTemplateName) return false;
  for (int I = 0; I < FFactSlotNames.GetCount(); ++I) {
    const std::string& Name = FFactSlotNames.GetString(I);
    IFactSlot Mine;
    IFactSlot Theirs;
    FFactSlots.ContainsKey(Name, Mine);
    if (!Other->FFactSlots.ContainsKey(Name, Theirs) || !Mine->Equals(Theirs)) return false;
  }
  return true;
}

bool TFactTemplate::Equals(const IInterface& Other) const { return Equals(Other.As<TFactTemplate>()); }

void TFactTemplate::Assign(TPersistent* Source) {
  auto* Template = dynamic_cast<TFactTemplate*>(Source);
  if (!Template) {
    TModuleConstruct::Assign(Source);
    return;
  }
  if (Template == this) return;
  FBackwardChaining = Template->FBackwardChaining;
  FComment = Template->FComment;
  SetTemplateName(Template->FTemplateName);
  const IFactTemplate& Parent = Template->FParent;
  FParent = Parent && Parent->FOwner == FOwner ? Parent : IFactTemplate();
  std::vector<IFactSlot> Slots;
  for (int I = 0; I < Template->FFactSlotNames.GetCount(); ++I)
    Slots.push_back(Template->GetSlot(Template->FFactSlotNames.GetString(I)));
  ClearSlots();
  for (const IFactSlot& Slot : Slots) AddSlot(Slot);
  FOrdered = Template->FOrdered;
}

void TFactTemplate::Assign(const IInterface& Source) {
  const IFactTemplate Template = Source.As<TFactTemplate>();
  if (!Template) AssignError(dynamic_cast<TPersistent*>(Source.get()));
  if (Template.get() == this) return;
  // The slots go first: they are read anew and may fail, and then nothing
  // else has changed either.
  AssignSlots(Template);
  FBackwardChaining = Template->FBackwardChaining;
  FComment = Template->FComment;
  FTemplateName = Template->FTemplateName;
  const IFactTemplate& Parent = Template->FParent;
  FParent = Parent && Parent->FOwner == FOwner ? Parent : IFactTemplate();
  FOrdered = Template->FOrdered;
  FIsFuzzy = Template->IsFuzzy();
  FNeedIsFuzzy = false;
  FHashCode = Template->GetHashCode();
  FNeedHashCode = false;
}

IFactTemplate TFactTemplate::Clone(TPersistent* AOwner) const {
  // The provisional name keeps the new template apart from this one until it
  // takes this one's name, which happens without telling the engine.
  const IFactTemplate Result(new TFactTemplate(AOwner));
  if (Result->GetEngine()) Result->FTemplateName = FTemplateName + " Copy";
  Result->Assign(IInterface(const_cast<TFactTemplate*>(this)));
  return Result;
}

IInterface TFactTemplate::CloneInterface() const { return Clone(FOwner); }

}  // namespace cogent
