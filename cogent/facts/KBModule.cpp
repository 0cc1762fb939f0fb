#include "cogent/facts/KBModule.h"

#include <algorithm>
#include <type_traits>

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

// ---------------------------------------------------------------- TModuleConstruct

IModule TModuleConstruct::GetModule() const { return IModule(FModule); }

IModule TModuleConstruct::GetImportModule(int Index) const {
  if (Index < 0 || Index >= GetImportModuleCount()) throw EListError(Format(SListIndexError, Index));
  return IModule(FImportModules[static_cast<std::size_t>(Index)]);
}

void TModuleConstruct::AddImportModule(TModule* Module) {
  if (Module) FImportModules.push_back(Module);
}

void TModuleConstruct::RemoveImportModule(TModule* Module) {
  const int Index = IndexOfImportModule(Module);
  if (Index >= 0) FImportModules.erase(FImportModules.begin() + Index);
}

int TModuleConstruct::IndexOfImportModule(const TModule* Module) const {
  const auto It = std::find(FImportModules.begin(), FImportModules.end(), Module);
  return It == FImportModules.end() ? -1 : static_cast<int>(It - FImportModules.begin());
}

// ---------------------------------------------------------------- TFocusBack

TFocusBack::TFocusBack(const IModule& Current, const IModule& Target) : TFocusBack() {
  if (!Target || Target == Current) return;
  FModule = Current;  // copied first: Current may be the very field that focusing moves
  Target->FocusModule();
}

TFocusBack::~TFocusBack() noexcept(false) {
  if (FModule && FModule->GetAgenda()) CloseScope(FExceptions, [this] { FModule->FocusModule(); });
}

IModule FocusModuleNamed(IKnowledgeBase& Engine, const std::string& Name, bool MustExist) {
  const TModules* Modules = Engine.GetModules();
  if (!Modules) return nullptr;
  const std::string Target = Name.empty() ? std::string(MainModuleName) : Name;
  if (!MustExist && Modules->IndexOf(Target) < 0) return nullptr;
  IModule Current = Engine.GetCurrentModule();
  if (Current && Current->GetName() == Target) return nullptr;
  Modules->GetModule(Target)->FocusModule();
  return Current;
}

// ---------------------------------------------------------------- TModule

TModule::TModule(TComponent* AEngine, bool AIsMain) : FIsMain(AIsMain), FEngine(AEngine) {
  if (FIsMain) FName = MainModuleName;
  FExportItems = IModuleExport(new TModuleImportExport(this, ""));
  FNexus = std::make_unique<TComponentNexus>([this](TComponent* AComponent, TOperation Operation) {
    Notification(AComponent, Operation);
  });
  if (FEngine) FEngine->FreeNotification(FNexus.get());
}

TModule::~TModule() {
  // A module that outlived its engine still frees what it owns.
  if (FCollections.Agenda) {
    if (FEngine)
      Release();
    else
      FreeCollections();
  }
  FNullFact = nullptr;
  ClearImports();
}

void TModule::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation != opRemove) return;
  if (AComponent == FEngine) FEngine = nullptr;
  // A network freed by someone else is not the module's to free again.
  if (FCollections.Rete && AComponent == FCollections.Rete.get()) (void)FCollections.Rete.release();
}

void TModule::Initialize() {
  IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine);
  if (!Engine) return;
  ForEachCollection(
      [&](TKBObjectType Kind, auto& Collection) {
        using TCollection = typename std::remove_reference_t<decltype(Collection)>::element_type;
        Collection = CreateKBObjectAs<TCollection>(*Engine, Kind, this);
      },
      FCollections);
  if (FCollections.Rete) FCollections.Rete->FreeNotification(FNexus.get());

  const IModule Remembered = Engine->GetCurrentModule();
  FocusModule();
  if (FIsMain) FName = MainModuleName;
  RenewInitialFact(true);
  if (Remembered && Remembered.get() != this) Remembered->FocusModule();
}

void TModule::FocusModule() {
  IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine);
  if (!Engine) return;
  if (!FCollections.Agenda) Initialize();
  Engine->UseModule(*this);
}

TModuleCache TModule::GetCache() const {
  TModuleCache Cache;
  ForEachCollection([](TKBObjectType, auto& Owned, auto& Borrowed) { Borrowed = Owned.get(); }, FCollections, Cache);
  Cache.InitialFactPattern = FInitialFactPattern.get();
  Cache.NullFact = FNullFact;
  return Cache;
}

void TModule::RenewInitialFact(bool HoldsInitialFact) {
  IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine);
  if (!Engine) return;
  FInitialFactPattern.reset();
  if (HoldsInitialFact)
    FInitialFactPattern =
        std::make_unique<TKBPattern>(nullptr, SInitialFactPattern, Engine->CreateFactTemplate(SInitialFactPattern), 0);
  FNullFact = Engine->CreateFactTemplate(SNullFact)->NewFact();
  FocusModule();
}

void TModule::Prepare() {
  if (FCollections.Agenda) Release();
  Initialize();
}

void TModule::Release() {
  if (!FEngine) return;
  for (const IModuleImport& Import : FImportModules) Import->Release();
  FreeCollections();
}

void TModule::FreeCollections() {
  // Silence the collections so that their teardown sends no event and no token.
  ForEachCollection(
      [](TKBObjectType, auto& Collection) {
        if constexpr (requires { Collection->SetEngine(nullptr); })
          if (Collection) Collection->SetEngine(nullptr);
      },
      FCollections);
  ForEachCollection([](TKBObjectType, auto& Collection) { Collection.reset(); }, FCollections);
  FInitialFactPattern.reset();
  // The null fact's template names this module as its home: let go of it so
  // that the module is not kept alive by its own fact.
  FNullFact = nullptr;
}

void TModule::SetName(const std::string& Value) {
  if (Value == FName) return;
  if (FIsMain != (Value == MainModuleName)) throw EKBException(_SModuleMAINReserved);
  CheckKBName(Value);
  const std::string OldName = FName;
  FName = Value;
  if (IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine)) Engine->RenameModule(OldName, Value);
}

IModuleImport TModule::GetImportModule(int Index) const {
  if (Index < 0 || Index >= GetImportModuleCount()) throw EListError(Format(SListIndexError, Index));
  return FImportModules[static_cast<std::size_t>(Index)];
}

void TModule::AddImport(const IModuleImport& Import) {
  if (Import) FImportModules.push_back(Import);
}

IModuleImport TModule::AddImport(const std::string& Name) {
  IModuleImport Import(new TModuleImportExport(this, Name));
  AddImport(Import);
  return Import;
}

void TModule::ClearImports() {
  std::vector<IModuleImport> Imports;
  Imports.swap(FImportModules);
  for (const IModuleImport& Import : Imports) Import->Release();
}

void TModule::DeleteImport(int Index) {
  const IModuleImport Import = GetImportModule(Index);
  FImportModules.erase(FImportModules.begin() + Index);
  Import->Release();
}

int TModule::RemoveImport(const IModuleImport& Import) {
  const int Index = IndexOfImport(Import);
  if (Index >= 0) DeleteImport(Index);
  return Index;
}

int TModule::RemoveImport(const std::string& Name) {
  const int Index = IndexOfImport(Name);
  if (Index >= 0) DeleteImport(Index);
  return Index;
}

int TModule::IndexOfImport(const IModuleImport& Import) const {
  const auto It = std::find(FImportModules.begin(), FImportModules.end(), Import);
  return It == FImportModules.end() ? -1 : static_cast<int>(It - FImportModules.begin());
}

int TModule::IndexOfImport(const std::string& Name) const {
  for (std::size_t I = 0; I < FImportModules.size(); ++I)
    if (FImportModules[I]->GetName() == Name) return static_cast<int>(I);
  return -1;
}

void TModule::Assign(const IInterface& Source) {
  const IModule Module = Source.As<TModule>();
  if (!Module) throw EKBException(_SUnknownValueInterface);
  AssignModuleDefinition(Module);
  FTag = Module->FTag;
}

void TModule::AssignModuleDefinition(const IModule& Source) {
  if (!Source || Source.get() == this) return;
  SetName(Source->FName);
  FComment = Source->FComment;
  ClearImports();
  for (const IModuleImport& Import : Source->FImportModules) AddImport(Import->GetName());
  FExportItems->SetName(Source->FExportItems->GetName());
}

bool TModule::Equals(const IInterface& Other) const {
  const IModule Module = Other.As<TModule>();
  return Module && (Module.get() == this || Module->FName == FName);
}

}  // namespace cogent

namespace cogent {

IFact TModule::GetNullFact() const { return FNullFact; }

// ---------------------------------------------------------------- TModules

bool TModules::IsEngineList() const noexcept { return FEngine && FEngine->GetModules() == this; }

int TModules::Add(const IModule& Module) {
  if (IsEngineList() && Module && Module != FEngine->GetModuleInOperation()) return FEngine->AddModule(Module);
  return ListAdd(Module);
}

void TModules::Insert(int Index, const IModule& Module) {
  // The engine decides the place: the main module first, any other last.
  if (IsEngineList() && Module && Module != FEngine->GetModuleInOperation()) {
    CheckIndex(Index, GetCount() + 1);
    FEngine->AddModule(Module);
    return;
  }
  ListInsert(Index, Module);
}

void TModules::Delete(int Index) {
  if (IsEngineList()) {
    const IModule Module = Get(Index);
    if (Module && Module != FEngine->GetModuleInOperation()) {
      FEngine->RemoveModule(Module);
      return;
    }
  }
  ListDelete(Index);
}

int TModules::Remove(const IModule& Module) {
  const int Index = IndexOf(Module);
  if (Index >= 0) Delete(Index);
  return Index;
}

void TModules::Clear() {
  if (!IsEngineList()) {
    TInterfaceListPersistent<TModule>::Clear();
    return;
  }
  for (int I = GetCount() - 1; I >= 0; --I) {
    if (I >= GetCount()) continue;
    const IModule Module = Get(I);
    if (Module)
      FEngine->RemoveModule(Module);
    else
      ListDelete(I);
  }
  FEngine->ClearModules();
}

void TModules::Notify(const IModule& Item, TListNotification Action) {
  if (!Item) return;
  if (Action == lnAdded) {
    if (!FEnforceImportOrder) return;
    const int Index = IndexOf(Item);
    for (int I = 0; I < Item->GetImportModuleCount(); ++I) {
      const IModuleImport Import = Item->GetImportModule(I);
      if (Import && IndexOf(Import->GetName()) > Index)
        throw EKBException(Format(_SInvalidModuleDependency, Item->GetName(), Import->GetName()));
    }
    return;
  }
  // A module that leaves the engine's list by a plain list operation leaves the engine.
  if (IsEngineList() && Item != FEngine->GetModuleInOperation()) FEngine->RemoveModule(Item);
}

IModule TModules::GetModule(const std::string& Name) const {
  const int Index = IndexOf(Name);
  if (Index < 0) throw EKBException(Format(_SNoSuchModule, Name));
  return Get(Index);
}

int TModules::IndexOf(const std::string& Name) const {
  for (int I = 0; I < GetCount(); ++I)
    if (const IModule& Module = GetRef(I); Module && Module->GetName() == Name) return I;
  return -1;
}

std::string TModules::ToString() const {
  std::string Result;
  for (const IModule& Module : *this)
    if (Module) Result += Module->ToString() + sLineBreak;
  return Result;
}

std::string TModules::ToNamesString(const std::string& Separator) const {
  std::string Result;
  for (int I = 0; I < GetCount(); ++I) {
    if (I > 0) Result += Separator;
    if (const IModule& Module = GetRef(I)) Result += Module->GetName();
  }
  return Result;
}

}  // namespace cogent
