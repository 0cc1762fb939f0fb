#include "cogent/engine/InferenceEngine.h"

#include <algorithm>

#include "cogent/facts/KBSlotTest.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

// ---------------------------------------------------------------- life

TInferenceEngine::TInferenceEngine(TComponent* AOwner) : TComponent(AOwner) { Construct(); }

TInferenceEngine::TInferenceEngine(TComponent* AOwner, TDeferredConstruction) : TComponent(AOwner) {}

void TInferenceEngine::Construct() {
  SetParserType(TKBParserClass::Of<TKBRuleParser>());
  SetTokenizerType(TKBTokenizerClass::Of<TKBRuleStream>());
  FVersion = 6.0f;
  FIOStreams = CreateKBObjectAs<TIOStreams>(*this, otIOStreams, nullptr);
  SetParserMaxErrors(10);
  FFuzzyEqualsThreshold = 0.01f;
  FResetGlobals = true;
  FModules = Ref<TModules>(dynamic_cast<TModules*>(CreateKBObject(otModules, nullptr)));
  FModules->SetEnforceImportOrder(true);
  AddModule(IModule(new TModule(this, true)));
  FModules->Get(0)->FocusModule();
  FFocusStack = Ref<TModules>(dynamic_cast<TModules*>(CreateKBObject(otModules, nullptr)));
  FFocusStack->Add(FModules->Get(0));
  FGlobalVariables = CreateKBObjectAs<TGlobalVariables>(*this, otGlobalVariables, nullptr);
  FFuzzyAutoTerms = true;
  FStorage = CreateKBObjectAs<TEngineVariables>(*this, otEngineVariables, nullptr);
  FUserFunctions = CreateKBObjectAs<TUserFunctions>(*this, otUserFunctions, nullptr);
  FGlobalContext = std::make_unique<TKBContext>(nullptr, this);
  FPackages = AllFunctionPackages;
  SetTypeChecks(TTypeChecks{tcStatic});
  AddDefaultPackages();
  // Last, so that functions, module and parser stand before the first fact.
  Assert(SInitialFact);
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
  if (FParser) FParser->ClearEvents();
  FOutputStream.reset();
  FCurrentModule = nullptr;
  FCache.InitialFactPattern = nullptr;
  FCache.NullFact = nullptr;
  FFocusStack = nullptr;
  if (FModules) {
    for (int I = 0; I < FModules->GetCount(); ++I)
      if (const IModule& Module = FModules->GetRef(I)) Module->Release();
    FModules = nullptr;
  }
  ClearModuleCache();
  FGlobalVariables.reset();
  FUserFunctions.reset();
  FGlobalContext.reset();
  FStorage.reset();
  if (FParser) {
    delete FParser->GetStream();
    FParser->SetStream(nullptr);
    FParser.reset();
  }
  FIOStreams.reset();
  FCriticalSection.reset();
}

void TInferenceEngine::ClearModuleCache() noexcept { FCache = TModuleCache(); }

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
  IFactTemplate Result;
  if (FCache.FactTemplates) FCache.FactTemplates->TryGetValue(AName, Result);
  return Result;
}

IFactTemplate TInferenceEngine::CreateFactTemplate(const TKBName& AName) {
  if (IFactTemplate Found = FindFactTemplate(AName)) return Found;
  IFactTemplate Template(new TFactTemplate(this, AName));
  Template->SetComment("(Implied)");
  if (FCache.FactTemplates) FCache.FactTemplates->Add(Template);
  return Template;
}

int TInferenceEngine::GetAgendaCount() const { return FCache.Agenda ? FCache.Agenda->GetCount() : 0; }

// ---------------------------------------------------------------- modules

void TInferenceEngine::SetCurrentModule(const IModule& Value) {
  if (!Value || Value == FCurrentModule) return;
  Value->FocusModule();
  FCurrentModule = Value;
  DoChangeCurrentModule();
}

IKBDefinedType TInferenceEngine::FindDefinedType(const TKBName& Name) const {
  IKBDefinedType Result;
  if (FCache.DefinedTypes) FCache.DefinedTypes->TryGetValue(Name, Result);
  return Result;
}

void TInferenceEngine::UseModule(TModule& Module) {
  FCache = Module.GetCache();
  FCurrentModule = IModule(&Module);
}

bool TInferenceEngine::GetPrintModuleQualifiers() const noexcept {
  return !FParser || FParser->GetPrintModuleQualifiers();
}

void TInferenceEngine::DoChangeCurrentModule() {
  if (OnChangeCurrentModule) OnChangeCurrentModule(this);
}

void TInferenceEngine::RenameModule(const std::string& OldName, const std::string& NewName) {
  if (OldName == NewName || !FModules || FModules->IndexOf(OldName) < 0) return;
  if (FModules->IndexOf(NewName) >= 0) throw EKBException(Format(_SDuplicateModuleNames, NewName));
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
  // Not the order of the enumeration: a later package's name replaces an
  // earlier one's under dcOverwrite.
  static constexpr TFunctionPackage Order[] = {pStandard, pMiscellaneous, pPredicate,    pMath,    pString,
                                               pObject,   pTrigonometry,  pBusiness,     pFuzzyLogic};
  // By enumeration value.
  static constexpr const char* ClassNames[] = {"TStandardPackage", "TPredicatePackage",    "TMathPackage",
                                               "TMiscPackage",     "TStringPackage",       "TObjectPackage",
                                               "TTrigonometryPackage", "TBusinessPackage", "TFuzzyLogicPackage"};
  for (const TFunctionPackage Package : Order) {
    if (!FPackages.Contains(Package)) continue;
    // A package class is known once its unit has registered it.
    const TMetaClass* Class = TMetaClass::FindClass(ClassNames[Package]);
    if (!Class || !Class->CanCreate()) continue;
    TObject* Instance = Class->CreateInstance(this);
    if (!dynamic_cast<TComponent*>(Instance)) delete Instance;
  }
  if (OnAddDefaultPackages) OnAddDefaultPackages(this);
}

void TInferenceEngine::SetFactDuplication(bool Value) {
  if (Value == FFactDuplication) return;
  FFactDuplication = Value;
  if (FCache.Facts) FCache.Facts->SetCacheHashCodes(!Value);
}

void TInferenceEngine::SetParserErrorHandling(TErrorHandling Value) {
  if (Value == FParserErrorHandling) return;
  FParserErrorHandling = Value;
  if (FParser) FParser->SetErrorHandling(Value);
}

void TInferenceEngine::SetParserMaxErrors(std::int32_t Value) {
  if (Value == FParserMaxErrors) return;
  FParserMaxErrors = Value;
  if (FParser) FParser->SetMaxErrors(Value);
}

void TInferenceEngine::SetTypeChecks(TTypeChecks Value) {
  if (Value == FTypeChecks) return;
  FTypeChecks = Value;
  if (FParser) FParser->SetTypeCheck(Value.Contains(tcStatic));
}

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
  if (FCache.Rete) FCache.Rete->RemoveRule(Rule);
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
  if (Operation != opRemove || !AComponent) return;
  FReloadComps.erase(std::remove(FReloadComps.begin(), FReloadComps.end(), AComponent), FReloadComps.end());
  // A rule or fact set going away leaves the current module's tables; a rule
  // being destroyed or owned elsewhere is not freed by its removal.
  if (auto* Rule = dynamic_cast<TRule*>(AComponent)) {
    if (FCache.Rules) FCache.Rules->Remove(Rule->GetRuleName(), Rule);
  } else if (auto* FactSet = dynamic_cast<TFactSet*>(AComponent)) {
    if (FCache.FactSets) FCache.FactSets->Extract(FactSet);
  }
}

}  // namespace cogent
