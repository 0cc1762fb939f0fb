#include "cogent/facts/KBModule.h"

#include <algorithm>
#include <type_traits>

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPrinter.h"
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

// ---------------------------------------------------------------- TModuleImportExport

TModuleImportExport::TModuleImportExport(TModule* AOwnerModule, std::string AModuleName)
    : FModule(std::move(AModuleName)), FOwnerModule(AOwnerModule) {
  FDefinedTypes.SetOnChange([this](TObject* Sender) { ImportsExportsChanged(Sender); });
  FFactTemplates.SetOnChange([this](TObject* Sender) { ImportsExportsChanged(Sender); });
}

void TModuleImportExport::ImportsExportsChanged(TObject* Sender) {
  const auto Settle = [](const TStrings& Names, TSharedConstructs& Shared) {
    if (Names.GetCount() > 0)
      Shared = mkbCustom;
    else if (Shared == mkbCustom)
      Shared = mkbNone;
  };
  if (Sender == &FDefinedTypes) Settle(FDefinedTypes, FDefinedTypesShared);
  if (Sender == &FFactTemplates) Settle(FFactTemplates, FFactTemplatesShared);
}

void TModuleImportExport::SetDefinedTypesShared(TSharedConstructs Value) {
  FDefinedTypesShared = Value;
  if (Value != mkbCustom) FDefinedTypes.Clear();
}

void TModuleImportExport::SetFactTemplatesShared(TSharedConstructs Value) {
  FFactTemplatesShared = Value;
  if (Value != mkbCustom) FFactTemplates.Clear();
}

void TModuleImportExport::SetDefinedTypes(TStrings* Value) { FDefinedTypes.Assign(Value); }

void TModuleImportExport::SetFactTemplates(TStrings* Value) { FFactTemplates.Assign(Value); }

IModule TModuleImportExport::GetImportModule() const {
  if (!FOwnerModule) return nullptr;
  const IKnowledgeBase* Engine = KnowledgeBaseOf(FOwnerModule->GetEngine());
  const TModules* Modules = Engine ? Engine->GetModules() : nullptr;
  if (!Modules || Modules->IndexOf(FModule) < 0) return nullptr;
  return Modules->GetModule(FModule);
}

namespace {

// Whether an export of Shared and Names lets Name out. Construct names are
// exact, unlike the list's own IndexOf.
bool Exports(TSharedConstructs Shared, const TStrings& Names, const std::string& Name) {
  if (Shared == mkbAll) return true;
  if (Shared != mkbCustom) return false;
  for (int I = 0; I < Names.GetCount(); ++I)
    if (Names.Get(I) == Name) return true;
  return false;
}

template <class TTable>
std::vector<std::pair<std::string, typename TTable::TItem>> Entries(const TTable& Table) {
  std::vector<std::pair<std::string, typename TTable::TItem>> Result;
  for (const auto& Entry : Table) Result.emplace_back(Entry.Key, Entry.Value);
  return Result;
}

// Adds into Into what the exporter's table From lets out and the import asks
// for. Only constructs at home in the exporter pass.
template <class TTable>
void ImportTable(const TTable& From, TTable& Into, const TModule* Exporter, TSharedConstructs Exported,
                 const TStrings& ExportedNames, TSharedConstructs Imported, const TStrings& ImportedNames) {
  if (Exported == mkbNone || (Exported == mkbCustom && ExportedNames.GetCount() == 0)) return;
  switch (Imported) {
    case mkbNone:
      return;
    case mkbAll:
      // A snapshot: adding into a table may raise events that change others.
      for (const auto& [Name, Item] : Entries(From))
        if (Item && Item->GetModuleObject() == Exporter && Exports(Exported, ExportedNames, Name)) Into.Add(Item);
      return;
    case mkbCustom:
      for (int I = 0; I < ImportedNames.GetCount(); ++I) {
        const std::string Name = ImportedNames.Get(I);
        typename TTable::TItem Item;
        if (Exports(Exported, ExportedNames, Name) && From.TryGetValue(Name, Item) && Item &&
            Item->GetModuleObject() == Exporter)
          Into.Add(Item);
      }
      return;
  }
}

// The constructs that Into no longer imports from the table From.
template <class TTable>
void ReleaseTable(const TTable& From, TModule* Owner, TSharedConstructs Imported, const TStrings& ImportedNames) {
  if (Imported == mkbAll) {
    for (const auto& Item : From.GetValues().ToArray())
      if (Item) Item->RemoveImportModule(Owner);
  } else if (Imported == mkbCustom) {
    for (int I = 0; I < ImportedNames.GetCount(); ++I) {
      typename TTable::TItem Item;
      if (From.TryGetValue(ImportedNames.Get(I), Item) && Item) Item->RemoveImportModule(Owner);
    }
  }
}

}  // namespace

void TModuleImportExport::ImportConstructs() {
  const IModule Exporter = GetImportModule();
  if (!Exporter) throw EKBException(Format(_SNoSuchModule, FModule));
  IKnowledgeBase* Engine = KnowledgeBaseOf(FOwnerModule->GetEngine());
  TFocusBack Focus(Engine->GetCurrentModule(), IModule(FOwnerModule));
  const TModuleImportExport& Exported = *Exporter->GetExportItems();

  if (TKBDefinedTypes* Types = Engine->GetDefinedTypes(); Types && Exporter->GetDefinedTypes())
    ImportTable(*Exporter->GetDefinedTypes(), *Types, Exporter.get(), Exported.FDefinedTypesShared,
                Exported.FDefinedTypes, FDefinedTypesShared, FDefinedTypes);
  if (TFactTemplates* Templates = Engine->GetFactTemplates(); Templates && Exporter->GetFactTemplates())
    ImportTable(*Exporter->GetFactTemplates(), *Templates, Exporter.get(), Exported.FFactTemplatesShared,
                Exported.FFactTemplates, FFactTemplatesShared, FFactTemplates);

  if (FFactTemplatesShared == mkbNone || !Exporter->GetFacts()) return;
  const TFacts& Facts = *Exporter->GetFacts();
  std::vector<IFact> Snapshot;
  for (int I = 0; I < Facts.GetCount(); ++I) Snapshot.push_back(Facts.Get(I));
  for (const IFact& Fact : Snapshot) {
    const IFactTemplate Template = Fact ? Fact->GetTemplate() : nullptr;
    if (Template && Template->GetModuleObject() == Exporter.get() && Template->IndexOfImportModule(FOwnerModule) > -1)
      Engine->AddFactToModule(Fact, nullptr);
  }
}

void TModuleImportExport::Release() {
  const IModule Exporter = GetImportModule();
  if (!Exporter) return;
  if (const TKBDefinedTypes* Types = Exporter->GetDefinedTypes())
    ReleaseTable(*Types, FOwnerModule, FDefinedTypesShared, FDefinedTypes);
  if (const TFactTemplates* Templates = Exporter->GetFactTemplates())
    ReleaseTable(*Templates, FOwnerModule, FFactTemplatesShared, FFactTemplates);
}

void TModuleImportExport::Assign(const IInterface& Source) {
  const IModuleImport Other = Source.As<TModuleImportExport>();
  if (!Other) throw EKBException(_SUnknownValueInterface);
  if (Other.get() == this) return;
  // The shares first: the lists then settle them as they did in the source.
  FDefinedTypesShared = Other->FDefinedTypesShared;
  FFactTemplatesShared = Other->FFactTemplatesShared;
  FDefinedTypes.Assign(&Other->FDefinedTypes);
  FFactTemplates.Assign(&Other->FFactTemplates);
  FModule = Other->FModule;
}

IInterface TModuleImportExport::CloneInterface() const {
  IModuleImport Copy(new TModuleImportExport(FOwnerModule, FModule));
  Copy->Assign(IInterface(IModuleImport(const_cast<TModuleImportExport*>(this))));
  return Copy;
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

std::string TModule::ToString() const { return PrettyPrint(*this); }

namespace {

constexpr const char* RuleLine = "; *************************";

// A comment head that opens a part of a saved module.
std::string SectionHead(const std::string& Title) {
  return std::string(sLineBreak) + RuleLine + sLineBreak + "; " + Title + " " + sLineBreak + sLineBreak;
}

}  // namespace

std::string TModule::GetExpertSystem(bool Comments, bool All) const {
  const TModuleCollections& C = FCollections;
  if (!C.DefinedTypes || !C.FactTemplates || !C.Rules || !C.FactSets || !C.Facts) return {};
  const int TypeCount = All ? C.DefinedTypes->GetCount() : C.DefinedTypes->GetLocalsCount();
  const int TemplateCount = All ? C.FactTemplates->GetCount() : C.FactTemplates->GetLocalsCount();
  const int FactCount = All ? C.Facts->GetCount() : C.Facts->GetLocalsCount();
  std::string Result;
  if (Comments) {
    auto Count = [](const char* Label, int Value) { return Label + IntToStr(Value) + sLineBreak; };
    Result += std::string(sLineBreak) + RuleLine + sLineBreak + "; Module:                     " + FName + sLineBreak;
    Result += Count("; Number of Defined Types:    ", TypeCount);
    Result += Count("; Number of Fact Templates:   ", TemplateCount);
    Result += Count("; Number of Rules:            ", C.Rules->GetCount());
    Result += Count("; Number of Fact Sets:        ", C.FactSets->GetCount());
    Result += Count("; Number of Facts:            ", FactCount);
    Result += sLineBreak;
  }
  Result += ToString() + sLineBreak;
  if (C.DefinedTypes->GetCount() > 0) {
    if (Comments) Result += SectionHead("Defined Types");
    Result += All ? C.DefinedTypes->ToString() : C.DefinedTypes->LocalsToString();
  }
  if (C.FactTemplates->GetCount() > 0) {
    if (Comments) Result += SectionHead("Fact Templates");
    Result += All ? C.FactTemplates->ToString() : C.FactTemplates->LocalsToString();
  }
  if (C.Rules->GetCount() > 0) {
    if (Comments) Result += SectionHead("Rules");
    Result += C.Rules->ToString();
  }
  if (C.FactSets->GetCount() > 0) {
    if (Comments) Result += SectionHead("Fact Sets");
    Result += C.FactSets->ToString() + sLineBreak;
  }
  if (FactCount > 0) {
    const std::string Facts = All ? C.Facts->ToString() : C.Facts->LocalsToString(false);
    if (!Facts.empty()) {
      if (Comments) Result += SectionHead("Facts");
      Result += std::string("(assert") + sLineBreak + Facts + ")" + sLineBreak;
    }
  }
  return Result;
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
  // The engine may refuse the name; then the module keeps its own.
  if (IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine)) Engine->RenameModule(FName, Value);
  FName = Value;
}

IModuleImport TModule::GetImportModule(int Index) const {
  if (Index < 0 || Index >= GetImportModuleCount()) throw EListError(Format(SListIndexError, Index));
  return FImportModules[static_cast<std::size_t>(Index)];
}

void TModule::AddImport(const IModuleImport& Import) {
  if (Import) FImportModules.push_back(Import);
}

IModuleImport TModule::AddImport(const std::string& Name) { return IModuleImport(new TModuleImportExport(this, Name)); }

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
    if (FImportModules[I]->GetModule() == Name) return static_cast<int>(I);
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
  ClearImports();
  SetName(Source->FName);
  FComment = Source->FComment;
  FExportItems->Assign(IInterface(Source->FExportItems));
  for (const IModuleImport& Import : Source->FImportModules) {
    const IModuleImport Copy = AddImport(Import->GetModule());
    Copy->Assign(IInterface(Import));
    AddImport(Copy);
  }
}

void TModule::ImportConstructs() {
  IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine);
  if (!Engine) return;
  TFocusBack Focus(Engine->GetCurrentModule(), IModule(this));
  // A declaration may be taken away while another one imports.
  const std::vector<IModuleImport> Imports = FImportModules;
  for (const IModuleImport& Import : Imports) Import->ImportConstructs();
}

bool TModule::Equals(const IInterface& Other) const { return Other.get() == this; }

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
      if (Import && IndexOf(Import->GetModule()) > Index)
        throw EKBException(Format(_SInvalidModuleDependency, Item->GetName(), Import->GetModule()));
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
