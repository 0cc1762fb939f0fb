#include "cogent/facts/KBContext.h"

#include <atomic>
#include <vector>

#include "cogent/facts/KBPackages.h"
#include "cogent/matching/KBToken.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {
// A compiled call owns the binding addresses of its arguments, and a value
// that owns an object is cloned through the class's factory.
[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TBindingInfo, TPersistent>();
  return true;
}();
}  // namespace

std::string EnumName(TTableNotification V) {
  static constexpr const char* Names[] = {"tnAdded", "tnDeleted", "tnCleared"};
  return static_cast<std::size_t>(V) < std::size(Names) ? Names[V] : std::string();
}

// ---------------------------------------------------------------- TBindingInfo

const IKBValue& TBindingInfo::ValueIn(const TFact& Fact, IKBValue& Keep) const {
  if (IsFactAddress()) {
    Keep = IKBValue(new TKBValue(Fact.GetID(), dtFactId));
    return Keep;
  }
  const IKBValue& Value = Fact.GetValueRef(GetSlotRef());
  if (GetSubIndex() == NoSubIndex) return Value;
  Keep = Value->GetAsList()->Get(GetSubIndex());
  return Keep;
}

bool TBindingInfo::Equals(const TObject* Other) const {
  const auto* Info = dynamic_cast<const TBindingInfo*>(Other);
  if (!Info) return false;
  return Info->FFactIndex == FFactIndex && Info->GetSlotIndex() == GetSlotIndex() && Info->FSubIndex == FSubIndex;
}

std::string TBindingInfo::ToString() const {
  std::string Result = "FactIdx=" + IntToStr(FFactIndex) + " SlotIdx=" + GetSlotIndex();
  if (FSubIndex != NoSubIndex) Result += " SubIdx=" + IntToStr(FSubIndex);
  return Result;
}

void TBindingInfo::Assign(TPersistent* Source) {
  if (auto* Info = dynamic_cast<TBindingInfo*>(Source)) {
    FSubIndex = Info->FSubIndex;
    FFactIndex = Info->FFactIndex;
    FSlotIndex = Info->FSlotIndex;
    FKind = Info->FKind;
    return;
  }
  TPersistent::Assign(Source);
}

// ---------------------------------------------------------------- TBinding

bool TBinding::Equals(const TObject* Other) const {
  const auto* Binding = dynamic_cast<const TBinding*>(Other);
  if (!Binding || !TBindingInfo::Equals(Other) || Binding->FName != FName) return false;
  if (Binding->FValue == FValue) return true;
  return FValue && Binding->FValue && FValue->Equals(Binding->FValue);
}

std::string TBinding::ToString() const {
  std::string Result = "name=" + FName;
  if (FValue) Result += " value=" + FValue->GetToString();
  return Result + " " + TBindingInfo::ToString();
}

// ---------------------------------------------------------------- TBindings

namespace {
std::atomic<std::uint64_t> LastStamp{0};
}  // namespace

TBindings::TBindings(TKBContext* AOwner) : FOwner(AOwner) { Restamp(); }

void TBindings::Restamp() noexcept { FStamp = LastStamp.fetch_add(1, std::memory_order_relaxed) + 1; }

TBindings::~TBindings() {
  // The owner is going too: free the bindings and tell nobody.
  FOwner = nullptr;
  Clear();
}

void TBindings::Notify(TBinding* Binding, TTableNotification Action) {
  if (FOwner) FOwner->Notify(Binding, Action);
}

void TBindings::Add(TBinding* Binding) {
  if (!Binding) return;
  const std::string Name = Binding->GetName();
  try {
    PutItem(Name, Binding);
  } catch (...) {
    // Only a binding that never got in is still ours to free.
    TBinding* Stored = nullptr;
    if (!(TryGetValue(Name, Stored) && Stored == Binding)) delete Binding;
    throw;
  }
}

void TBindings::Clear() {
  Restamp();
  std::vector<std::unique_ptr<TBinding>> Gone;
  Gone.reserve(static_cast<std::size_t>(FCount));
  for (const auto& Item : FItems)
    if (Item.HashCode != EmptyHash) Gone.emplace_back(Item.Value);
  TInherited::Clear();
  Gone.clear();
  Notify(nullptr, tnCleared);
}

void TBindings::DoAdd(std::int32_t HashCode, std::int32_t Index, const std::string& Key, TBinding* const& Value) {
  if (!Value) return;
  TBinding* const Binding = Value;
  Restamp();
  TInherited::DoAdd(HashCode, Index, Key, Binding);
  Notify(Binding, tnAdded);
}

void TBindings::DoSetValue(std::int32_t Index, TBinding* const& Value) {
  if (!Value) {
    const std::string Key = FItems[Index].Key;
    Remove(Key);
    return;
  }
  TBinding* const Binding = Value;
  TBinding* const Old = FItems[Index].Value;
  TInherited::DoSetValue(Index, Binding);
  if (Old == Binding) return;
  Restamp();
  const std::unique_ptr<TBinding> Gone(Old);
  Notify(Old, tnDeleted);
  Notify(Binding, tnAdded);
}

TBinding* TBindings::DoRemove(const std::string& Key, std::int32_t HashCode, TCollectionNotification Notification) {
  TBinding* const Result = TInherited::DoRemove(Key, HashCode, Notification);
  if (!Result) return nullptr;
  Restamp();
  if (Notification == cnExtracted) {
    Notify(Result, tnDeleted);
    return Result;
  }
  const std::unique_ptr<TBinding> Gone(Result);
  Notify(Result, tnDeleted);
  return nullptr;
}

// ---------------------------------------------------------------- TKBContext

TKBContext::TKBContext(TKBContext* AParent, TComponent* AEngine)
    : FEngine(KnowledgeBaseOf(AEngine) ? AEngine : nullptr), FBindings(this), FParent(AParent) {}

TKBContext::~TKBContext() = default;

void TKBContext::SetToken(const IReteToken& Value) { FToken = Value; }

void TKBContext::SetFact(const IFact& Value) { FFact = Value; }

// ------------------------------------------------------------ return state

void TKBContext::SetReturnValue(const IKBValue& Value) {
  FReturnValue = Value;
  FReturning = true;
}

void TKBContext::ClearReturnValue() {
  FReturning = false;
  FReturnValue = nullptr;
}

// ------------------------------------------------------------ bindings

TKBContext* TKBContext::Root() noexcept {
  TKBContext* Result = this;
  while (Result->FParent) Result = Result->FParent;
  return Result;
}

const TKBContext* TKBContext::Root() const noexcept {
  const TKBContext* Result = this;
  while (Result->FParent) Result = Result->FParent;
  return Result;
}

TBinding* TKBContext::FindBinding(const TKBName& Name) const {
  TBinding* Result = nullptr;
  for (const TKBContext* Level = this; Level; Level = Level->FParent)
    if (Level->FBindings.TryGetValue(Name, Result)) return Result;
  return nullptr;
}

TBinding* TKBContext::FindGlobalBinding(const TKBName& Name) const {
  TBinding* Result = nullptr;
  Root()->FBindings.TryGetValue(Name, Result);
  return Result;
}

IKBValue TKBContext::GetVariable(const TKBName& Name) const {
  const TBinding* Binding = FindBinding(Name);
  if (!Binding) throw EKBException(Format(_SUnknownVariable, Name));
  return Binding->GetValue();
}

void TKBContext::SetVariable(const TKBName& Name, const IKBValue& Value) {
  TBinding* Binding = nullptr;
  if (FBindings.TryGetValue(Name, Binding)) {
    Binding->SetValue(Value);
    return;
  }
  AddBinding(Name, Value);
}

TBinding* TKBContext::AddGlobalBinding(const TKBName& Name, const IKBValue& Value) {
  TKBContext* Global = Root();
  TBinding* Binding = nullptr;
  if (Global->FBindings.TryGetValue(Name, Binding)) {
    Binding->SetValue(Value);
    return Binding;
  }
  Binding = new TBinding(Name, Value);
  Global->FBindings.Add(Binding);
  return Binding;
}

TBinding* TKBContext::AddLocalBinding(const TKBName& Name, const IKBValue& Value) {
  auto* Binding = new TBinding(Name, Value);
  FBindings.Add(Binding);
  return Binding;
}

TBinding* TKBContext::AddBinding(const TKBName& Name, std::int32_t FactIndex, const std::string& SlotIndex,
                                 std::int32_t SubIndex) {
  auto* Binding = new TBinding(Name, FactIndex, SlotIndex, SubIndex);
  FBindings.Add(Binding);
  return Binding;
}

TBinding* TKBContext::AddBinding(const TKBName& Name, const IKBValue& Value) {
  if (TBinding* Binding = FindBinding(Name)) {
    Binding->SetValue(Value);
    return Binding;
  }
  return AddLocalBinding(Name, Value);
}

void TKBContext::Clear() { FBindings.Clear(); }

void TKBContext::Notify(TBinding* Binding, TTableNotification Action) {
  (void)Binding;
  if (Action == tnCleared) ClearReturnValue();
}

// ------------------------------------------------------------ levels

std::unique_ptr<TKBContext> TKBContext::Push() {
  // This level's engine has passed the check already; a rule pushes a level
  // per firing, and the check is a cross cast.
  auto Level = std::make_unique<TKBContext>(this, nullptr);
  Level->FEngine = FEngine;
  return Level;
}

void TKBContext::Reattach(TKBContext* AParent) noexcept {
  FParent = AParent;
  FEngine = AParent ? AParent->FEngine : nullptr;
}

TKBContext* TKBContext::Pop() {
  if (!FParent) return this;
  FParent->FReturning = FReturning;
  FParent->FReturnValue = FReturnValue;
  return FParent;
}

// ------------------------------------------------------------ evaluation

void TKBContext::ExpandInto(TValueVector& Result, const IValueVector& List) {
  if (!List) return;
  for (int I = 0; I < List->GetCount(); ++I) {
    const IKBValue Item = List->Get(I);
    const IKBValue Resolved = Item ? Item->Resolve(this) : Item;
    if (Resolved && Resolved->GetDType() == dtList)
      ExpandInto(Result, Resolved->GetAsList());
    else
      Result.Add(Resolved);
  }
}

IValueVector TKBContext::ExpandList(const IValueVector& List) {
  IValueVector Result(new TValueVector());
  ExpandInto(*Result, List);
  return Result;
}

void TKBContext::FlattenInto(TValueVector& Result, const IValueVector& List) {
  if (!List) return;
  for (int I = 0; I < List->GetCount(); ++I) {
    const IKBValue Item = List->Get(I);
    if (Item && Item->GetDType() == dtList)
      FlattenInto(Result, Item->GetAsList());
    else
      Result.Add(Item);
  }
}

IValueVector TKBContext::FlattenList(const IValueVector& List) {
  IValueVector Result(new TValueVector());
  FlattenInto(*Result, List);
  return Result;
}

namespace {

// A fuzzy slot's value as a set (or sets) of the slot type's variable: an
// expression is evaluated by the engine in Context, a set without a
// variable takes the slot's.
IKBValue ResolveFuzzySlot(TKBContext& Context, const TFactTemplate& Template, const TKBName& Name,
                          const IKBValue& Value) {
  const TFactSlot* Slot = Template.SlotAt(Template.PositionOf(Name));
  if (!Slot || !Slot->IsFuzzy()) return Value;
  const IKBDefinedType Type = Slot->GetExtendedTypeInfo();
  const IFuzzyVariable Variable = Type ? Type->GetFuzzyType() : IFuzzyVariable();
  const TKBType Kind = Value->GetDType();
  const IValueVector List = Kind == dtList ? Value->GetAsList() : IValueVector();
  if (Kind == dtFuzzy || (List && List->GetCount() == 1 && List->Get(0) && List->Get(0)->GetDType() == dtFuzzy)) {
    const IFuzzySet Set = Kind == dtFuzzy ? Value->GetAsFuzzy() : List->Get(0)->GetAsFuzzy();
    if (Set && !Set->GetVariable() && Variable) Set->SetVariable(Variable);
    return Value;
  }
  IKnowledgeBase* Engine = KnowledgeBaseOf(Context.GetEngine());
  if (!Engine) return Value;
  IKBValue Result = Engine->EvalFuzzyExpression(Variable, Value, &Context);
  if (Result && Kind != dtList && Result->GetDType() != dtList && Slot->GetSlotType().Contains(dtList)) {
    IValueVector Single(new TValueVector());
    Single->Add(Result);
    Result = IKBValue(new TKBValue(Single));
  }
  return Result;
}

}  // namespace

IKBValue TKBContext::FitSlotValue(const TFactTemplate& Template, bool Fuzzy, const TKBName& Name, IKBValue Value) {
  if (!Value) return Value;
  // A fuzzy slot's value becomes a set of the slot type's variable.
  if (Fuzzy) return ResolveFuzzySlot(*this, Template, Name, Value);
  // A fresh value: the resolved one may be a variable's own or a shared
  // constant.
  if (Value->GetDType() == dtList) return IKBValue(new TKBValue(ExpandList(Value->GetAsList())));
  return Value;
}

IFact TKBContext::Resolve(const IFact& Fact) {
  const IFactTemplate Template = Fact ? Fact->GetTemplate() : IFactTemplate();
  if (!Template) return Fact;
  const bool Fuzzy = Template->IsFuzzy();
  const TStringList<>& Names = Template->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const std::string Name = Names.GetString(I);
    IKBValue Value = Fact->GetValue(Name);
    if (Value) Value = Value->Resolve(this);
    Fact->SetValue(Name, FitSlotValue(*Template, Fuzzy, Name, std::move(Value)));
  }
  return Fact;
}

TKBValue* TKBContext::PeekBound(const TBindingInfo& Info, IKBValue& Keep) {
  const int FactCount = FToken ? FToken->GetCount() : 0;
  const IFact* Fact = nullptr;
  if (Info.GetFactIndex() == FactCount && FFact)
    Fact = &FFact;
  else if (FToken)
    Fact = &FToken->GetFacts(Info.GetFactIndex());
  if (!Fact || !*Fact) throw EListError(Format(SListIndexError, Info.GetFactIndex()));
  return Info.ValueIn(**Fact, Keep).get();
}

IKBValue TKBContext::ResolveValue(TKBValue& Value) {
  // A call runs without the round through the value and a second cast of
  // this context.
  if (Value.GetDType() == dtFunCall)
    if (const IFunCall Call = Value.GetAsFunCall()) return TFunctionCall::RunCall(Call, this);
  return Value.Resolve(this);
}

IFact TKBContext::ResolveClone(const IFact& Fact) {
  if (!Fact || !Fact->GetTemplateRef()) return Fact ? Fact->Clone() : Fact;
  const IFact Result = Fact->GetTemplateRef()->NewBlankFact();
  Result->SetID(Fact->GetID());
  Result->SetTag(Fact->GetTag());
  // The clone's template, which nothing can take from the clone while its
  // values resolve.
  const TFactTemplate& Template = *Result->GetTemplateRef();
  const bool Fuzzy = Template.IsFuzzy();
  // Slot by slot in name order, as Resolve goes. Resolving may run any
  // function, so the template's tables are read afresh after each slot.
  for (std::size_t I = 0;; ++I) {
    const std::vector<int>& Positions = Template.GetSortedPositions();
    if (I >= Positions.size()) break;
    const int Position = Positions[I];
    const TFactSlot* Slot = Template.SlotAt(Position);
    if (!Slot) continue;
    IKBValue Value;
    if (TKBValue* Entered = Fact->GetEnteredValue(Position)) {
      // A clone resolves as its original does, except that a value standing
      // for itself gives the clone.
      Value = ResolveValue(*Entered);
      if (Value.get() == Entered) Value = Entered->Clone();
    } else {
      // The default a clone would enter as its slot is first read.
      const IKBValue Default = Slot->GetSlotDefault();
      Value = Default ? Default->Clone()->Resolve(this) : FCNil;
    }
    Slot = Template.SlotAt(Position);
    if (!Slot) continue;
    Result->SetValue(Slot->GetName(), FitSlotValue(Template, Fuzzy, Slot->GetName(), std::move(Value)));
  }
  return Result;
}

void TKBContext::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TKBContext*>(Source)) {
    if (Other == this) return;
    FReturning = Other->FReturning;
    FReturnValue = Other->FReturnValue ? Other->FReturnValue->Clone() : IKBValue();
    return;
  }
  TPersistent::Assign(Source);
}

}  // namespace cogent
