// The construct collections: the tables of templates, defined types, rules,
// functions, variables and streams, and the module list. Each turns its
// table operations into engine operations and events.

#include "cogent/engine/KBCollections.h"

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/ComponentStreams.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

namespace {

constexpr const char* CRLF = "\r\n";

// Items in table order, without parents first, then the rest so that each
// parent precedes its children; a parent outside Items is taken as written.
template <class T>
std::vector<Ref<T>> ParentsFirst(const std::vector<Ref<T>>& Items, const std::function<Ref<T>(const Ref<T>&)>& ParentOf,
                                 const char* CorruptMessage) {
  std::vector<Ref<T>> Result;
  Result.reserve(Items.size());
  std::unordered_set<const T*> InItems;
  for (const Ref<T>& Item : Items) InItems.insert(Item.get());
  std::unordered_set<const T*> Written;
  std::vector<Ref<T>> Pending;
  for (const Ref<T>& Item : Items) {
    if (ParentOf(Item)) {
      Pending.push_back(Item);
    } else {
      Result.push_back(Item);
      Written.insert(Item.get());
    }
  }
  while (!Pending.empty()) {
    std::vector<Ref<T>> Waiting;
    for (const Ref<T>& Item : Pending) {
      const Ref<T> Parent = ParentOf(Item);
      if (!InItems.contains(Parent.get()) || Written.contains(Parent.get())) {
        Result.push_back(Item);
        Written.insert(Item.get());
      } else {
        Waiting.push_back(Item);
      }
    }
    // No step forward means the parents form a ring.
    if (Waiting.size() == Pending.size()) throw EKBException(CorruptMessage);
    Pending.swap(Waiting);
  }
  return Result;
}

// A second construct under a taken Key, settled by the engine's policy
// (overwrite without an engine): Overwrite runs, nothing happens, or Message
// is raised with the key.
template <class F>
void SettleDuplicate(const TInferenceEngine* Engine, const char* Message, const std::string& Key, F&& Overwrite) {
  switch (Engine ? Engine->GetDuplicateConstructs() : dcOverwrite) {
    case dcOverwrite:
      Overwrite();
      break;
    case dcIgnore:
      break;
    case dcError:
      throw EKBException(Format(Message, Key));
  }
}

}  // namespace

// ---------------------------------------------------------------- TValueHashTable

void TValueHashTable::Assign(TPersistent* Source) {
  auto* Other = dynamic_cast<TValueHashTable*>(Source);
  if (!Other) {
    TVXStringHashTable<IKBValue>::Assign(Source);
    return;
  }
  if (Other == this) return;
  // Values are mutable: the copy must not share them with the source.
  std::vector<std::pair<std::string, IKBValue>> Pairs;
  Pairs.reserve(static_cast<std::size_t>(Other->GetCount()));
  for (const auto& Item : *Other) Pairs.emplace_back(Item.Key, Item.Value ? Item.Value->Clone() : IKBValue());
  const auto Update = UpdateGuard(*this);
  Clear();
  for (const auto& [Key, Value] : Pairs) PutItem(Key, Value);
}

std::string TValueHashTable::ToString() const {
  std::string Result;
  for (const auto& Item : *this) {
    Result += Item.Key;
    Result += " = ";
    if (Item.Value) Result += Item.Value->GetToString();
    Result += CRLF;
  }
  return Result;
}

// ---------------------------------------------------------------- shared construct tables

namespace {
// What differs between the kinds of shared constructs.
template <class T>
struct TSharedConstructKind;

template <>
struct TSharedConstructKind<TFactTemplate> {
  static const TKBName& Name(const TFactTemplate& Template) { return Template.GetTemplateName(); }
  static IFactTemplate Parent(const IFactTemplate& Template) { return Template->GetParent(); }
  static constexpr const char* DuplicateMessage = _SDuplicateTemplateNames;
  static constexpr const char* CorruptMessage = _SFactTemplateInheritanceCorrupt;
};

template <>
struct TSharedConstructKind<TKBDefinedType> {
  static const TKBName& Name(const TKBDefinedType& DefType) { return DefType.GetName(); }
  static IKBDefinedType Parent(const IKBDefinedType& DefType) { return DefType->GetAncestor(); }
  static constexpr const char* DuplicateMessage = _SDuplicateDefTypeNames;
  static constexpr const char* CorruptMessage = _STypeInheritanceCorrupt;
};
}  // namespace

template <class T>
TSharedConstructTable<T>::~TSharedConstructTable() {
  // Constructs may outlive the module: they must not point back at it.
  for (const TItem& Item : this->GetValues().ToArray())
    if (Item) LetGo(Item);
}

template <class T>
void TSharedConstructTable<T>::Add(const TItem& Item) {
  if (Item) this->Put(TSharedConstructKind<T>::Name(*Item), Item);
}

template <class T>
void TSharedConstructTable<T>::TakeIn(const TItem& Item) {
  // A construct made without an engine has no home yet: this table's module becomes it.
  if (!Item->GetModuleObject() && FModule) Item->SetModule(FModule);
  Item->AddImportModule(FModule);
  if (Item->GetModuleObject() != FModule) ++FImportCount;
}

template <class T>
void TSharedConstructTable<T>::LetGo(const TItem& Item) {
  Item->RemoveImportModule(FModule);
  if (Item->GetModuleObject() != FModule)
    --FImportCount;
  else if (FModule)
    Item->SetModule(nullptr);
}

template <class T>
void TSharedConstructTable<T>::PutEntry(const TKBName& Key, const TItem& Value) {
  using TBase = TVXStringHashTable<TItem>;
  const std::int32_t HashCode = this->Hash(Key);
  const std::int32_t Index = this->GetBucketIndex(Key, HashCode);
  if (Index >= 0) {
    TBase::DoSetValue(Index, Value);
    return;
  }
  if (this->FCount >= this->FGrowThreshold) {
    const TKBName KeyCopy(Key);
    const TItem ValueCopy(Value);
    this->Grow();
    TBase::DoAdd(HashCode, ~this->GetBucketIndex(KeyCopy, HashCode), KeyCopy, ValueCopy);
    return;
  }
  TBase::DoAdd(HashCode, ~Index, Key, Value);
}

template <class T>
void TSharedConstructTable<T>::Rekey(const TItem& Item, const TKBName& OldName, const TKBName& NewName) {
  TItem Stored;
  if (!this->TryGetValue(OldName, Stored) || Stored != Item) return;
  this->ExtractPair(OldName);
  PutEntry(NewName, Item);
}

template <class T>
bool TSharedConstructTable<T>::Forget(const TItem& Item) {
  if (!Item) return false;
  const TKBName Key = TSharedConstructKind<T>::Name(*Item);
  TItem Stored;
  if (!this->TryGetValue(Key, Stored) || Stored != Item) return false;
  this->ExtractPair(Key);
  LetGo(Item);
  return true;
}

template <class T>
void TSharedConstructTable<T>::Enter(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const TItem& Item) {
  TVXStringHashTable<TItem>::DoAdd(HashCode, Index, Key, Item);
  TakeIn(Item);
  if (FEngine) Added(Item);
}

template <class T>
void TSharedConstructTable<T>::DoSetValue(std::int32_t Index, const TItem& Value) {
  const TItem Old = this->FItems[Index].Value;
  if (!Value || Old == Value) return;
  SettleDuplicate(FEngine, TSharedConstructKind<T>::DuplicateMessage, this->FItems[Index].Key,
                  [&] { Replace(Old, Value); });
}

template <class T>
typename TSharedConstructTable<T>::TItem TSharedConstructTable<T>::Remove(const TKBName& Key) {
  TItem Item;
  if (!this->TryGetValue(Key, Item)) {
    TVXStringHashTable<TItem>::Remove(Key);
    return nullptr;
  }
  if (FEngine) Removing(Item);
  // Without an engine, or when this table is no module's, the entry is still here.
  TItem Stored;
  if (this->TryGetValue(Key, Stored) && Stored == Item) {
    this->ExtractPair(Key);
    LetGo(Item);
  }
  return Item;
}

template <class T>
void TSharedConstructTable<T>::Clear() {
  if (this->GetCount() == 0) return;
  if (FEngine) {
    const TFocusBack Back(FEngine->GetCurrentModule(), IModule(FModule));
    Clearing();
  }
  const std::vector<TItem> Items = this->GetValues().ToArray();
  TVXStringHashTable<TItem>::Clear();
  for (const TItem& Item : Items)
    if (Item) LetGo(Item);
  FImportCount = 0;
  if (FEngine) Cleared();
}

template <class T>
void TSharedConstructTable<T>::Clear(TConstructScope Scope) {
  for (const TItem& Item : this->GetValues().ToArray()) {
    if (!Item) continue;
    const bool Local = Item->GetModuleObject() == FModule;
    if ((Scope == csLocal) == Local) Remove(TSharedConstructKind<T>::Name(*Item));
  }
}

template <class T>
typename TSharedConstructTable<T>::TItem TSharedConstructTable<T>::Replace(const TItem& Old, const TItem& NewItem) {
  if (!NewItem || Old == NewItem) return NewItem;
  const TItem New = Admit(NewItem);
  const TKBName NewKey = TSharedConstructKind<T>::Name(*New);
  TKBName OldKey;
  if (Old) {
    const auto Found = std::find_if(this->begin(), this->end(), [&Old](const auto& Item) { return Item.Value == Old; });
    if (Found == this->end()) return New;
    OldKey = (*Found).Key;
  }
  TItem Other;
  if (this->TryGetValue(NewKey, Other) && Other != Old)
    throw EKBException(Format(TSharedConstructKind<T>::DuplicateMessage, NewKey));
  if (Old) {
    if (FEngine) Leaving(Old);
    this->ExtractPair(OldKey);
  }
  // Old stays listed with this module until its dependents here are written
  // down, so that a retraction of its facts reaches every module that shares them.
  const TFinally LetOldGo([this, &Old] {
    if (Old) LetGo(Old);
  });
  PutEntry(NewKey, New);
  TakeIn(New);
  if (!FEngine) return New;
  Added(New);
  if (Old) {
    // The table's module is where the dependents are worked through first.
    const TFocusBack Back(FEngine->GetCurrentModule(), IModule(FModule));
    Replaced(Old, New);
  }
  return New;
}

template <class T>
std::string TSharedConstructTable<T>::Text(const std::vector<TItem>& Items) const {
  // By name, so that the text does not depend on the order of the hash table.
  std::vector<TItem> Sorted(Items);
  std::stable_sort(Sorted.begin(), Sorted.end(), [](const TItem& A, const TItem& B) {
    return CompareText(TSharedConstructKind<T>::Name(*A), TSharedConstructKind<T>::Name(*B)) < 0;
  });
  std::string Result;
  for (const TItem& Item :
       ParentsFirst<T>(Sorted, &TSharedConstructKind<T>::Parent, TSharedConstructKind<T>::CorruptMessage))
    Result += Item->ToString() + CRLF;
  return Result;
}

template <class T>
std::string TSharedConstructTable<T>::ToString() const {
  return Text(this->GetValues().ToArray());
}

template <class T>
std::vector<typename TSharedConstructTable<T>::TItem> TSharedConstructTable<T>::Locals() const {
  std::vector<TItem> Result;
  for (const TItem& Item : this->GetValues())
    if (Item && Item->GetModuleObject() == FModule) Result.push_back(Item);
  return ParentsFirst<T>(Result, &TSharedConstructKind<T>::Parent, TSharedConstructKind<T>::CorruptMessage);
}

template <class T>
std::string TSharedConstructTable<T>::LocalsToString() const {
  return Text(Locals());
}

template class TSharedConstructTable<TFactTemplate>;
template class TSharedConstructTable<TKBDefinedType>;

// ---------------------------------------------------------------- TFactTemplates

void TFactTemplates::DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IFactTemplate& Value) {
  if (!Value) return;
  Enter(HashCode, Index, Key, Admit(Value));
}

IFactTemplate TFactTemplates::Admit(const IFactTemplate& Template) {
  // An ordered fact keeps its fields in the one multislot.
  if (Template->GetSlotCount() == 0) Template->AddMultiSlot(SDefaultSlotName, FCNilList);
  if (FEngine && FEngine->GetModules() && FEngine->GetModules()->GetCount() > 1) {
    const TKBDefinedTypes* Types = FModule ? FModule->GetDefinedTypes() : FEngine->GetDefinedTypes();
    if (Types)
      if (const IKBDefinedType Unshared = Types->FindUnsharedType(Template))
        throw EKBException(Format(_SUnsharedFactTemplateType, Template->GetTemplateName(), Unshared->GetName()));
  }
  return Template;
}

void TFactTemplates::Added(const IFactTemplate& Template) { FEngine->AddFactTemplate(Template); }

void TFactTemplates::Removing(const IFactTemplate& Template) {
  FEngine->RemoveFactTemplate(Template);
  FEngine->RemoveDependencies(Template);
}

void TFactTemplates::Leaving(const IFactTemplate& Template) { FEngine->RemoveFactTemplate(Template); }

void TFactTemplates::Replaced(const IFactTemplate& Old, const IFactTemplate& New) { FEngine->ReplaceTemplate(Old, New); }

void TFactTemplates::Clearing() { FEngine->RemoveDependencies(); }

void TFactTemplates::Cleared() { FEngine->ClearFactTemplates(); }

// ---------------------------------------------------------------- TKBDefinedTypes

IKBDefinedType TKBDefinedTypes::FindUnsharedType(const IFactTemplate& Template) const {
  if (!Template) return nullptr;
  for (const auto& Item : Template->GetSlots()) {
    if (!Item.Value) continue;
    const IKBDefinedType DefType = Item.Value->GetExtendedTypeInfo();
    // An implicit type is the slot's own and lives in no table.
    if (DefType && !DefType->GetImplicit() && !ContainsKey(DefType->GetName())) return DefType;
  }
  return nullptr;
}

void TKBDefinedTypes::DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IKBDefinedType& Value) {
  if (!Value) return;
  if (FEngine) {
    if (Value->GetReasoner() != FEngine) Value->SetReasoner(FEngine);
    if (const IFuzzyVariable Variable = Value->GetFuzzyType()) {
      Variable->SetEqualityThreshold(FEngine->GetFuzzyEqualsThreshold());
      if (FEngine->GetFuzzyAutoTerms()) FEngine->AddDefaultFuzzyTerms(Variable);
    }
  }
  Enter(HashCode, Index, Key, Value);
}

void TKBDefinedTypes::Added(const IKBDefinedType& DefType) { FEngine->AddDefinedType(DefType); }

void TKBDefinedTypes::Removing(const IKBDefinedType& DefType) {
  FEngine->RemoveDefinedType(DefType);
  FEngine->RemoveDependencies(DefType);
}

void TKBDefinedTypes::Leaving(const IKBDefinedType& DefType) { FEngine->RemoveDefinedType(DefType); }

void TKBDefinedTypes::Replaced(const IKBDefinedType& Old, const IKBDefinedType& New) {
  FEngine->ReplaceDefinedType(Old, New);
  Old->SetReasoner(nullptr);
}

void TKBDefinedTypes::Clearing() { FEngine->RemoveTypeDependencies(); }

void TKBDefinedTypes::Cleared() { FEngine->ClearDefinedTypes(); }

// ---------------------------------------------------------------- TRules

TRules::TRules(TInferenceEngine* AEngine, TModule* AModule) : TKBEngineBound(AEngine, AModule) {}

// Rules are components: their owner frees them, so the table leaves them be.
TRules::~TRules() = default;

void TRules::Add(TRule* Rule) {
  if (!Rule) return;
  Put(Rule->GetRuleName(), Rule);
}

void TRules::DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, TRule* const& Value) {
  TRule* const Rule = Value;
  if (!Rule) return;
  TReteNetwork* Rete = FEngine ? FEngine->GetRete() : nullptr;
  // A rule of this engine is compiled into the current module's network
  // before it enters the table, so that a rule that does not compile stays
  // out; matching the facts that stand may already raise activations. A rule
  // from elsewhere needs the engine to work out its patterns: it is compiled
  // once it has it, and leaves again if it does not compile.
  const bool Bound = Rule->GetEngine() == FEngine;
  if (Rete && Bound) Rete->AddRule(Rule);
  TVXStringObjectHashTable<TRule*>::DoAdd(HashCode, Index, Key, Rule);
  if (!FEngine) return;
  if (!Bound) {
    Rule->SetEngine(FEngine);
    try {
      if (Rete) Rete->AddRule(Rule);
    } catch (...) {
      TVXStringObjectHashTable<TRule*>::ExtractPair(Key);
      throw;
    }
  }
  if (FEngine->GetWatch().Contains(cwCompilation) && FEngine->OnPrintOut)
    FEngine->PrintOut("", Rule->GetCompilation() + CRLF);
  FEngine->AddRule(Rule);
  // Matching the facts that stand may have queued goals, and the queue is
  // empty at rest.
  FEngine->ProcessPendingFacts();
}

void TRules::DoSetValue(std::int32_t Index, TRule* const& Value) {
  TRule* const Rule = Value;
  if (!Rule || FItems[Index].Value == Rule) return;
  const TKBName Key = FItems[Index].Key;
  SettleDuplicate(FEngine, _SDuplicateRuleNames, Key, [&] {
    TVXStringObjectHashTable<TRule*>::Remove(Key);
    Put(Key, Rule);
  });
}

TRule* TRules::DoRemove(const TKBName& Key, std::int32_t HashCode, TCollectionNotification Notification) {
  TRule* Rule = TVXStringObjectHashTable<TRule*>::DoRemove(Key, HashCode, Notification);
  if (!Rule || !FEngine) return Rule;
  FEngine->RemoveRule(Rule);
  const bool Owned = Rule->GetOwner() == FEngine;
  const bool Destroying = Rule->GetComponentState().Contains(csDestroying);
  if (Notification == cnRemoved && Owned && !Destroying) {
    delete Rule;
    return nullptr;
  }
  if (!Destroying) Rule->SetEngine(nullptr);
  return Rule;
}

void TRules::Remove(const TKBName& Key, TRule* ARule) {
  TRule* Stored = nullptr;
  if (!TryGetValue(Key, Stored) || Stored != ARule) return;
  TVXStringObjectHashTable<TRule*>::Remove(Key);
}

void TRules::Clear() {
  const std::vector<TRule*> Rules = GetValues().ToArray();
  TVXStringObjectHashTable<TRule*>::Clear();
  if (!FEngine) return;
  for (TRule* Rule : Rules) {
    if (!Rule || Rule->GetComponentState().Contains(csDestroying)) continue;
    if (Rule->GetOwner() == FEngine)
      delete Rule;
    else
      Rule->SetEngine(nullptr);
  }
  FEngine->FRuleIdCounter = 0;
  FEngine->ClearRules();
}

std::string TRules::ToString() const {
  std::vector<std::string> Texts;
  Texts.reserve(static_cast<std::size_t>(GetCount()));
  for (TRule* Rule : GetValues())
    if (Rule) Texts.push_back(Rule->ToString());
  std::stable_sort(Texts.begin(), Texts.end(),
                   [](const std::string& A, const std::string& B) { return CompareText(A, B) < 0; });
  std::string Result;
  for (const std::string& Text : Texts) Result += Text + CRLF + CRLF;
  return Result;
}

// ---------------------------------------------------------------- TUserFunctions

TUserFunctions::TUserFunctions(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}

// Functions are shared between engines: each is told that this one lets go.
TUserFunctions::~TUserFunctions() {
  for (const IUserFunction& Function : GetValues().ToArray())
    if (Function && FEngine) Function->DeleteReasoner(FEngine);
}

void TUserFunctions::Add(const IUserFunction& UserFunction) {
  if (!UserFunction) return;
  Put(UserFunction->GetFunctionName(), UserFunction);
}

void TUserFunctions::DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IUserFunction& Value) {
  if (!Value) return;
  const IUserFunction Function(Value);
  if (Key != Function->GetFunctionName())
    throw EKBException(Format(_SWrongFunctionName, Key, Function->GetFunctionName()));
  TVXStringHashTable<IUserFunction>::DoAdd(HashCode, Index, Key, Function);
  if (Function->IsInterpreted()) ++FNumInterpreted;
  if (auto* Interpreted = dynamic_cast<TInterpretedFunction*>(Function.get())) Interpreted->SetOrder(FNextOrder++);
  if (!FEngine) return;
  Function->AddReasoner(FEngine);
  FEngine->AddFunction(Function);
}

void TUserFunctions::DoSetValue(std::int32_t Index, const IUserFunction& Value) {
  if (!Value) return;
  const IUserFunction Function(Value);
  const TKBName Key = FItems[Index].Key;
  if (Key != Function->GetFunctionName())
    throw EKBException(Format(_SWrongFunctionName, Key, Function->GetFunctionName()));
  if (FItems[Index].Value == Function) return;
  SettleDuplicate(FEngine, _SDuplicateFunctionNames, Key, [&] {
    Remove(Key);
    Put(Key, Function);
  });
}

IUserFunction TUserFunctions::Remove(const TKBName& Key) {
  IUserFunction Function;
  if (!TryGetValue(Key, Function)) return nullptr;
  TVXStringHashTable<IUserFunction>::Remove(Key);
  if (!Function) return nullptr;
  if (Function->IsInterpreted()) --FNumInterpreted;
  if (FEngine) {
    Function->DeleteReasoner(FEngine);
    FEngine->RemoveFunction(Function);
  }
  return Function;
}

void TUserFunctions::Clear() {
  const std::vector<IUserFunction> Functions = GetValues().ToArray();
  if (FEngine)
    for (const IUserFunction& Function : Functions)
      if (Function) Function->DeleteReasoner(FEngine);
  TVXStringHashTable<IUserFunction>::Clear();
  FNumInterpreted = 0;
}

void TUserFunctions::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TUserFunctions*>(Source)) {
    Assign(*Other, false);
    return;
  }
  TVXStringHashTable<IUserFunction>::Assign(Source);
}

void TUserFunctions::Assign(const TUserFunctions& Source, bool SafeAssign) {
  if (&Source == this) return;
  const std::vector<IUserFunction> Functions = Source.GetValues().ToArray();
  const auto Update = UpdateGuard(*this);
  Clear();
  // Built-in and host functions are shared between engines.
  for (const IUserFunction& Function : Functions)
    if (Function && !Function->IsInterpreted()) Add(Function);
  if (Source.GetNumInterpreted() > 0) AssignInterpretedFunctions(Source, SafeAssign);
}

void TUserFunctions::AssignInterpretedFunctions(const TUserFunctions& Source, bool SafeAssign) {
  // An interpreted function belongs to one engine: it is read anew from its
  // text, in the order of its dependencies, once the parser stands. Until
  // then the function object itself is entered.
  for (const IUserFunction& Function : Source.GetValues().ToArray()) {
    if (!Function || !Function->IsInterpreted()) continue;
    try {
      Add(Function);
    } catch (const std::exception&) {
      if (!SafeAssign) throw;
    }
  }
}

std::string TUserFunctions::NamesToString() const {
  std::vector<std::string> Names = GetKeys().ToArray();
  std::stable_sort(Names.begin(), Names.end(),
                   [](const std::string& A, const std::string& B) { return CompareText(A, B) < 0; });
  std::string Result;
  for (const std::string& Name : Names) Result += Name + CRLF;
  return Result;
}

// ---------------------------------------------------------------- variables

std::string TEngineVariables::ToString() const {
  std::string Result;
  for (const auto& Item : *this) {
    if (Item.Key.empty()) continue;
    if (Item.Key.front() != '?') Result += '?';
    Result += Item.Key;
    Result += " = ";
    if (Item.Value) Result += Item.Value->GetToString();
    Result += CRLF;
  }
  return Result;
}

void TGlobalVariables::DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IKBValue& Value) {
  const TKBName Name(Key);
  const IKBValue Expression(Value);
  TEngineVariables::DoAdd(HashCode, Index, Name, Expression);
  if (FEngine) FEngine->ResetGlobalVariable(Name, Expression);
}

void TGlobalVariables::DoSetValue(std::int32_t Index, const IKBValue& Value) {
  const TKBName Name = FItems[Index].Key;
  const IKBValue Expression(Value);
  TEngineVariables::DoSetValue(Index, Expression);
  if (FEngine) FEngine->ResetGlobalVariable(Name, Expression);
}

// ---------------------------------------------------------------- TIOStreams

TIOStreams::TIOStreams(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}

TIOStreams::~TIOStreams() {
  if (FFreeStream) Clear();
}

void TIOStreams::Add(const std::string& Key, TGTextStream* Stream) { Put(Key, Stream); }

void TIOStreams::DoAdd(std::int32_t HashCode, std::int32_t Index, const std::string& Key, TGTextStream* const& Value) {
  TVXStringObjectHashTable<TGTextStream*>::DoAdd(HashCode, Index, Key, Value);
}

void TIOStreams::DoSetValue(std::int32_t Index, TGTextStream* const& Value) {
  TGTextStream* const Stream = Value;
  if (FItems[Index].Value == Stream) return;
  const std::string Key = FItems[Index].Key;
  SettleDuplicate(FEngine, _SDuplicateStreamNames, Key, [&] {
    TVXStringObjectHashTable<TGTextStream*>::Remove(Key);
    Put(Key, Stream);
  });
}

void TIOStreams::ValueNotify(TGTextStream* const& Value, TCollectionNotification Action) {
  TGTextStream* const Stream = Value;
  TVXStringObjectHashTable<TGTextStream*>::ValueNotify(Stream, Action);
  // An extracted stream is handed over, a removed one is done with.
  if (Action == cnRemoved && FFreeStream) delete Stream;
}

void TIOStreams::Remove(const std::string& Key) {
  if (!ContainsKey(Key)) throw EKBException(Format(_SInvalidStreamName, Key));
  TVXStringObjectHashTable<TGTextStream*>::Remove(Key);
}

void TIOStreams::Assign(TPersistent* Source) {
  if (dynamic_cast<TIOStreams*>(Source)) return;
  TVXStringObjectHashTable<TGTextStream*>::Assign(Source);
}

void TIOStreams::Clear() {
  // Every stream goes, whoever was meant to own it.
  const bool Saved = FFreeStream;
  FFreeStream = true;
  TVXStringObjectHashTable<TGTextStream*>::Clear();
  FFreeStream = Saved;
}

}  // namespace cogent

// ---------------------------------------------------------------- component streams

namespace cogent {

void TFactTemplates::DefineProperties(TFiler& Filer) {
  TSharedConstructTable<TFactTemplate>::DefineProperties(Filer);
  Filer.DefineListProperty(
      "Templates",
      [this](const std::vector<std::string>& Texts) {
        Clear();
        if (!FEngine) return;
        for (const std::string& Text : Texts) Add(FEngine->ParseFactTemplate(Text));
      },
      nullptr, false);
}

void TKBDefinedTypes::DefineProperties(TFiler& Filer) {
  TSharedConstructTable<TKBDefinedType>::DefineProperties(Filer);
  Filer.DefineListProperty(
      "DefTypes",
      [this](const std::vector<std::string>& Texts) {
        Clear();
        if (!FEngine) return;
        for (const std::string& Text : Texts) Add(FEngine->ParseDefinedType(Text));
      },
      nullptr, false);
}

void TRules::DefineProperties(TFiler& Filer) {
  TVXStringObjectHashTable<TRule*>::DefineProperties(Filer);
  Filer.DefineListProperty(
      "Rules",
      [this](const std::vector<std::string>& Texts) {
        if (!FEngine) return;
        for (const std::string& Text : Texts)
          if (std::unique_ptr<TRule> Rule = FEngine->ParseRule(Text)) Add(Rule.release());
      },
      nullptr, false);
}

void TEngineVariables::DefineProperties(TFiler& Filer) {
  TValueHashTable::DefineProperties(Filer);
  Filer.DefineListProperty(
      "Variables",
      [this](const std::vector<std::string>& Texts) {
        if (!FEngine) return;
        for (const std::string& Text : Texts) {
          std::string Name;
          const IKBValue Value = FEngine->ParseVariable(Text, Name);
          Put(Name, Value);
        }
      },
      [this] {
        std::vector<std::string> Texts;
        for (const auto& Item : *this)
          Texts.push_back("?" + Item.Key + " = " + (Item.Value ? Item.Value->GetToString() : std::string()));
        return Texts;
      },
      GetCount() > 0);
}

}  // namespace cogent
