// The engine's module list, reset and clear.

#include <algorithm>

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

namespace {

// The list's own check comes after the fact; this one refuses the module
// before a module of its name is taken away. Every import must name another
// module that stays, placed before the new one: so imports never form a cycle.
void CheckImports(const TModules& Modules, const IModule& Module) {
  if (Module->GetImportModuleCount() == 0) return;
  std::vector<IModule> Future;
  for (const IModule& Item : Modules)
    if (Item && Item->GetName() != Module->GetName()) Future.push_back(Item);
  const auto NewIndex = Module->IsMain() ? 0 : Future.size();
  Future.insert(Future.begin() + static_cast<std::ptrdiff_t>(NewIndex), Module);
  for (int I = 0; I < Module->GetImportModuleCount(); ++I) {
    const IModuleImport Import = Module->GetImportModule(I);
    if (!Import) continue;
    const std::string& Exporter = Import->GetModule();
    if (Exporter == Module->GetName()) throw EKBException(Format(_SModuleImportsItself, Exporter));
    const auto Found = std::find_if(Future.begin(), Future.end(),
                                    [&](const IModule& Item) { return Item->GetName() == Exporter; });
    if (Found == Future.end()) throw EKBException(Format(_SNoSuchModule, Exporter));
    if (Modules.GetEnforceImportOrder() && static_cast<std::size_t>(Found - Future.begin()) > NewIndex)
      throw EKBException(Format(_SInvalidModuleDependency, Module->GetName(), Exporter));
  }
}

}  // namespace

// ---------------------------------------------------------------- modules

int TInferenceEngine::AddModule(const IModule& Module) {
  if (!Module) return -1;
  CheckImports(*FModules, Module);
  const int Existing = FModules->IndexOf(Module->GetName());
  if (Existing >= 0) RemoveModule(FModules->Get(Existing));

  FIsModuleOp = Module;
  int Index = -1;
  try {
    if (Module->IsMain()) {
      FModules->ListInsert(0, Module);
      Index = 0;
    } else {
      Index = FModules->ListAdd(Module);
    }
  } catch (...) {
    // The list refused it after the fact (import order): take it out again.
    const int Placed = FModules->IndexOf(Module);
    if (Placed >= 0) FModules->ListDelete(Placed);
    FIsModuleOp = nullptr;
    throw;
  }
  FIsModuleOp = nullptr;

  Module->Prepare();
  try {
    Module->ImportConstructs();
  } catch (...) {
    // A clash in the importer's tables: the module does not stay half imported.
    RemoveModule(Module);
    throw;
  }
  if (OnAddModule) OnAddModule(this, Module);
  return Index;
}

void TInferenceEngine::RemoveModule(const IModule& Module) {
  if (!Module || Module == FIsModuleOp) return;
  if (OnRemoveModule) OnRemoveModule(this, Module);
  Clear(Module);
  Module->Release();
  if (FFocusStack)
    for (int I = FFocusStack->GetCount() - 1; I >= 0; --I)
      if (FFocusStack->GetRef(I) == Module) FFocusStack->ListDelete(I);

  FIsModuleOp = Module;
  const int Index = FModules->IndexOf(Module);
  if (Index >= 0) {
    try {
      FModules->ListDelete(Index);
    } catch (...) {
      FIsModuleOp = nullptr;
      throw;
    }
  }
  FIsModuleOp = nullptr;

  if (FModules->GetCount() == 0) {
    ClearModuleCache();
    FCurrentModule = nullptr;
  } else {
    // The released module's collections are gone: the cache must not keep them.
    if (FCurrentModule == Module) FCurrentModule = nullptr;
    SetCurrentModule(FModules->Get(0));
  }
}

// ---------------------------------------------------------------- reset

void TInferenceEngine::Reset() {
  FFactIdCounter = 0;
  while (PeekFocus()) PopFocus();
  PushFocus(FModules->Get(0));
  const std::vector<IModule> Modules = FModules->Items();
  for (const IModule& Module : Modules) ClearFacts(Module);
  for (const IModule& Module : Modules) Reset(Module);

  {
    const TFinally Back([this, Remembered = FCurrentModule] { SetCurrentModule(Remembered); });
    SetCurrentModule(FModules->Get(0));
    Assert(SInitialFact);
  }

  if (FResetGlobals && FGlobalVariables)
    for (const auto& Pair : FGlobalVariables->ToArray()) ResetGlobalVariable(Pair.Key, Pair.Value);
  if (OnReset) OnReset(this);
}

void TInferenceEngine::Reset(const IModule& Module) {
  if (!Module) return;
  const TFinally Back([this, Remembered = FCurrentModule] { SetCurrentModule(Remembered); });
  SetCurrentModule(Module);
  if (FCache.Rules)
    for (TRule* Rule : FCache.Rules->GetValues().ToArray())
      if (Rule) Rule->Reset();
  // A fact set asserts into its own module, so the list is walked by index.
  for (int I = 0; FCache.FactSets && I < FCache.FactSets->GetCount(); ++I)
    if (TFactSet* FactSet = FCache.FactSets->GetItem(I)) FactSet->Reset();
}

// ---------------------------------------------------------------- clear

void TInferenceEngine::Clear() {
  FHalt = false;
  FFactIdCounter = 0;
  FRuleIdCounter = 0;
  FFocusStack->Clear();
  for (int I = FModules->GetCount() - 1; I >= 0; --I) {
    if (I >= FModules->GetCount()) continue;
    const IModule Module = FModules->Get(I);
    if (Module && !Module->IsMain()) RemoveModule(Module);
  }
  if (FModules->GetCount() == 0) AddModule(IModule(new TModule(this, true)));
  PushFocus(FModules->Get(0));
  Clear(FCurrentModule);

  if (FUserFunctions && FUserFunctions->GetNumInterpreted() > 0) {
    std::vector<std::string> Names;
    for (const auto& Item : *FUserFunctions)
      if (Item.Value && Item.Value->IsInterpreted()) Names.push_back(Item.Key);
    for (const std::string& Name : Names) FUserFunctions->Remove(Name);
  }
  if (FStorage) FStorage->Clear();
  if (FIOStreams) FIOStreams->Clear();
  if (OnClear) OnClear(this);
}

void TInferenceEngine::Clear(const IModule& Module) {
  if (!Module) return;
  FHalt = false;
  {
    const TFocusBack Back(FCurrentModule, Module);
    // Asked before the templates go: clearing them takes their home away.
    const TFactTemplate* InitialTemplate =
        FCache.InitialFactPattern && FCache.InitialFactPattern->GetTemplate() ? FCache.InitialFactPattern->GetTemplate().get() : nullptr;
    const bool HoldsInitialFact =
        Module->IsMain() || (InitialTemplate && InitialTemplate->GetModuleObject() == Module.get());

    if (FCache.Agenda) FCache.Agenda->Clear();
    if (FCache.Rete) FCache.Rete->Clear();
    if (FCache.Rules) FCache.Rules->Clear();
    if (FCache.FactSets) FCache.FactSets->Clear();
    if (FCache.Facts) FCache.Facts->Clear();
    if (FCache.FactTemplates) FCache.FactTemplates->Clear();
    if (FCache.DefinedTypes) FCache.DefinedTypes->Clear();
    FCache.NullFact = nullptr;
    if (FCache.FactsPending) FCache.FactsPending->Clear();

    // Only the module that holds the initial-fact template has its pattern.
    if (!GetComponentState().Contains(csDestroying)) Module->RenewInitialFact(HoldsInitialFact);
  }
  if (OnClearModule) OnClearModule(this, Module);
}

void TInferenceEngine::ClearFacts(const IModule& Module) {
  if (!Module) return;
  const TFocusBack Back(FCurrentModule, Module);
  if (FCache.Facts) FCache.Facts->Clear();
}

void TInferenceEngine::ResetGlobalVariable(const std::string& Name, const IKBValue& Value) {
  IKBValue Current = Value;
  // The table keeps the expression, the context the present value, so that
  // a reset can start the global over.
  if (Current && Current->GetDType() == dtFunCall) {
    if (const IFunCall Call = Current->GetAsFunCall()) {
      const std::unique_ptr<TKBContext> Local = FGlobalContext->Push();
      Current = Call->Execute(Local.get());
      Local->Pop();
    }
  }
  FGlobalContext->AddGlobalBinding(Name, Current);
}

}  // namespace cogent
