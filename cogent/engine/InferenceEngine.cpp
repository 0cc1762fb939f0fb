#include "cogent/engine/InferenceEngine.h"

#include "cogent/facts/KBSlotTest.h"
#include "cogent/foundation/VXCollections.h"
#include "cogent/functions/KBPackages.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

// ---------------------------------------------------------------- life

TInferenceEngine::TInferenceEngine(TComponent* AOwner) : TComponent(AOwner) { Construct(); }

TInferenceEngine::TInferenceEngine(TComponent* AOwner, TDeferredConstruction) : TComponent(AOwner) {}

void TInferenceEngine::Construct() {
  // The parser and the tokenizer classes are chosen here once the language
  // layer stands.
  FVersion = 6.0f;
  FIOStreams = dynamic_cast<TIOStreams*>(CreateKBObject(otIOStreams, nullptr));
  FParserMaxErrors = 10;
  FFuzzyEqualsThreshold = 0.01f;
  FResetGlobals = true;
  FModules = Ref<TModules>(dynamic_cast<TModules*>(CreateKBObject(otModules, nullptr)));
  FModules->SetEnforceImportOrder(true);
  AddModule(IModule(new TModule(this, true)));
  FModules->Get(0)->FocusModule();
  FFocusStack = Ref<TModules>(dynamic_cast<TModules*>(CreateKBObject(otModules, nullptr)));
  FFocusStack->Add(FModules->Get(0));
  FGlobalVariables = dynamic_cast<TGlobalVariables*>(CreateKBObject(otGlobalVariables, nullptr));
  FFuzzyAutoTerms = true;
  FStorage = dynamic_cast<TEngineVariables*>(CreateKBObject(otEngineVariables, nullptr));
  FUserFunctions = dynamic_cast<TUserFunctions*>(CreateKBObject(otUserFunctions, nullptr));
  // The global evaluation context is made here once contexts exist.
  FPackages = AllFunctionPackages;
  FTypeChecks = TTypeChecks{tcStatic};
  AddDefaultPackages();
  // Last, the initial fact "(Initial-Fact)" is asserted here as fact 0 once
  // assertion exists, so that functions, module and parser stand before it.
}

void TInferenceEngine::ClearEvents() {
  OnAddDefaultPackages = nullptr;
  OnAddActivation = nullptr;
  OnRemoveActivation = nullptr;
  OnAssertion = nullptr;
  OnRetraction = nullptr;
  OnRuleFired = nullptr;
  OnAddRule = nullptr;
  OnRemoveRule = nullptr;
  OnNewFactTemplate = nullptr;
  OnRemoveFactTemplate = nullptr;
  OnAddDefinedType = nullptr;
  OnRemoveDefinedType = nullptr;
  OnAddUserFunction = nullptr;
  OnRemoveUserFunction = nullptr;
  OnAddModule = nullptr;
  OnRemoveModule = nullptr;
  OnClear = nullptr;
  OnClearModule = nullptr;
  OnClearDefinedTypes = nullptr;
  OnClearFacts = nullptr;
  OnClearFactTemplates = nullptr;
  OnClearModules = nullptr;
  OnClearRules = nullptr;
  OnReset = nullptr;
  OnChangeCurrentModule = nullptr;
  OnPushFocus = nullptr;
  OnPopFocus = nullptr;
  OnStartInference = nullptr;
  OnEndInference = nullptr;
  OnPrintOut = nullptr;
  OnReadLine = nullptr;
  OnReadToken = nullptr;
  OnFuzzyCorrelation = nullptr;
  OnFuzzyInference = nullptr;
}

TInferenceEngine::~TInferenceEngine() {
  Destroying();
  // No handler hears the teardown.
  ClearEvents();
  FOutputStream.reset();
  FCurrentModule = nullptr;
  FInitialFactPattern = nullptr;
  FNullFact = nullptr;
  FFocusStack = nullptr;
  if (FModules) {
    for (int I = 0; I < FModules->GetCount(); ++I)
      if (const IModule& Module = FModules->GetRef(I)) Module->Release();
    FModules = nullptr;
  }
  FAgenda = nullptr;
  FDefinedTypes = nullptr;
  FFacts = nullptr;
  FFactSets = nullptr;
  FFactTemplates = nullptr;
  FRete = nullptr;
  FRules = nullptr;
  FFactsPending = nullptr;
  FreeAndNil(FGlobalVariables);
  FreeAndNil(FUserFunctions);
  FreeAndNil(FStorage);
  FreeAndNil(FIOStreams);
  FCriticalSection.reset();
}

// ---------------------------------------------------------------- factory

TObject* TInferenceEngine::CreateKBObject(TKBObjectType KBObject, TModule* Module) {
  switch (KBObject) {
    case otAgenda:
      return new TKBAgenda(this, Module);
    case otEngineVariables:
      return new TEngineVariables(this);
    case otFacts:
      return new TFacts(this, Module);
    case otFactSets:
      return new TFactSets(this, Module);
    case otFactTemplates:
      return new TFactTemplates(this, Module);
    case otGlobalVariables:
      return new TGlobalVariables(this);
    case otDefinedTypes:
      return new TKBDefinedTypes(this, Module);
    case otIOStreams:
      return new TIOStreams(this);
    case otRules:
      return new TRules(this, Module);
    case otUserFunctions:
      return new TUserFunctions(this);
    case otReteNetwork:
      return new TReteNetwork(this, Module);
    case otModules: {
      // Counted: the caller takes the first reference.
      return new TModules(this);
    }
    case otFactsPending:
      return new TFactsPending();
  }
  return nullptr;
}

// ---------------------------------------------------------------- small services

std::string TInferenceEngine::GenerateSymbol(const std::string& Prefix) {
  return Prefix + IntToStr(FSymbolIndex++);
}

void TInferenceEngine::SetSymbolIndex(std::int32_t Value) {
  if (Value > FSymbolIndex)
    FSymbolIndex = Value;
  else
    ++FSymbolIndex;
}

void TInferenceEngine::Lock() {
  if (!FCriticalSection) FCriticalSection = std::make_unique<TCriticalSection>();
  FCriticalSection->Enter();
}

void TInferenceEngine::Unlock() {
  if (FCriticalSection) FCriticalSection->Leave();
}

IFactTemplate TInferenceEngine::FindFactTemplate(const TKBName& AName) const {
  return FFactTemplates ? FFactTemplates->Find(AName) : IFactTemplate();
}

IFactTemplate TInferenceEngine::CreateFactTemplate(const TKBName& AName) {
  if (IFactTemplate Found = FindFactTemplate(AName)) return Found;
  IFactTemplate Template(new TFactTemplate(this, AName));
  Template->SetComment("(Implied)");
  if (FFactTemplates) FFactTemplates->Add(Template);
  return Template;
}

int TInferenceEngine::GetAgendaCount() const { return FAgenda ? FAgenda->GetCount() : 0; }

// ---------------------------------------------------------------- modules

void TInferenceEngine::SetCurrentModule(const IModule& Value) {
  if (!Value || Value == FCurrentModule) return;
  Value->FocusModule();
  FCurrentModule = Value;
  DoChangeCurrentModule();
}

void TInferenceEngine::DoChangeCurrentModule() {
  if (OnChangeCurrentModule) OnChangeCurrentModule(this);
}

IModule TInferenceEngine::GetCurrentFocus() const {
  return FFocusStack && FFocusStack->GetCount() > 0 ? FFocusStack->Get(0) : IModule();
}

int TInferenceEngine::AddModule(const IModule& Module) {
  if (!Module || FIsModuleOp == Module) return -1;
  const int Existing = FModules->IndexOf(Module);
  if (Existing >= 0) return Existing;
  FIsModuleOp = Module;
  int Index = -1;
  try {
    Index = FModules->Add(Module);
  } catch (...) {
    FIsModuleOp = nullptr;
    throw;
  }
  FIsModuleOp = nullptr;
  if (OnAddModule) OnAddModule(this, Module);
  return Index;
}

void TInferenceEngine::RenameModule(const std::string&, const std::string&) {
  // Constructs that name the module by text follow it here once they exist.
}

// ---------------------------------------------------------------- properties

void TInferenceEngine::SetPackages(TFunctionPackages Value) {
  if (Value == FPackages) return;
  for (int I = GetComponentCount() - 1; I >= 0; --I)
    if (auto* Package = dynamic_cast<TUserPackage*>(GetComponent(I))) delete Package;
  FPackages = Value;
  AddDefaultPackages();
}

void TInferenceEngine::AddDefaultPackages() {
  // The package classes register here, in the order standard, miscellaneous,
  // predicate, math, string, object, trigonometry, business, fuzzy logic,
  // one for each member of FPackages, once they exist.
  if (OnAddDefaultPackages) OnAddDefaultPackages(this);
}

void TInferenceEngine::SetFactDuplication(bool Value) {
  if (Value == FFactDuplication) return;
  FFactDuplication = Value;
  if (FFacts) FFacts->SetCacheHashCodes(!Value);
}

void TInferenceEngine::SetParserErrorHandling(TErrorHandling Value) {
  // Copied to the parser once it exists.
  FParserErrorHandling = Value;
}

void TInferenceEngine::SetParserMaxErrors(std::int32_t Value) { FParserMaxErrors = Value; }

void TInferenceEngine::SetStrategy(TSearchStrategy Value) { FStrategy = Value; }

void TInferenceEngine::SetTypeChecks(TTypeChecks Value) { FTypeChecks = Value; }

// ---------------------------------------------------------------- construct events

void TInferenceEngine::AddFactTemplate(const IFactTemplate& Template) {
  if (OnNewFactTemplate) OnNewFactTemplate(this, Template);
}
void TInferenceEngine::RemoveFactTemplate(const IFactTemplate& Template) {
  if (OnRemoveFactTemplate) OnRemoveFactTemplate(this, Template);
}
void TInferenceEngine::AddDefinedType(const IKBDefinedType& DefType) {
  if (OnAddDefinedType) OnAddDefinedType(this, DefType);
}
void TInferenceEngine::RemoveDefinedType(const IKBDefinedType& DefType) {
  if (OnRemoveDefinedType) OnRemoveDefinedType(this, DefType);
}
void TInferenceEngine::AddRule(TRule* Rule) {
  if (OnAddRule) OnAddRule(this, Rule);
}
void TInferenceEngine::RemoveRule(TRule* Rule) {
  if (OnRemoveRule) OnRemoveRule(this, Rule);
}
void TInferenceEngine::AddFunction(const IUserFunction& UserFunction) {
  if (OnAddUserFunction) OnAddUserFunction(this, UserFunction);
}
void TInferenceEngine::RemoveFunction(const IUserFunction& UserFunction) {
  if (OnRemoveUserFunction) OnRemoveUserFunction(this, UserFunction);
}
void TInferenceEngine::ClearDefinedTypes() {
  if (OnClearDefinedTypes) OnClearDefinedTypes(this);
}
void TInferenceEngine::ClearFactTemplates() {
  if (OnClearFactTemplates) OnClearFactTemplates(this);
}
void TInferenceEngine::ClearModules() {
  if (OnClearModules) OnClearModules(this);
}
void TInferenceEngine::ClearRules() {
  if (OnClearRules) OnClearRules(this);
}

void TInferenceEngine::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  // Rules and fact sets made outside the engine leave its tables here once
  // those tables hold them.
}

}  // namespace cogent
