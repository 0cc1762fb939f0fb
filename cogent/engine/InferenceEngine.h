#pragma once
// The engine: the one object a host creates and holds. Everything else hangs
// from it, and everything that works on facts, rules, the agenda or the
// network works on the collections of its current module.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/host/SyncObjs.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBAgenda;
class TReteNetwork;
class TKBPattern;
class TActivation;
class TRule;
class TFactSet;
class TUserPackage;

// What the factory builds.
enum TKBObjectType : std::uint8_t {
  otAgenda,
  otEngineVariables,
  otFacts,
  otFactSets,
  otFactTemplates,
  otGlobalVariables,
  otDefinedTypes,
  otIOStreams,
  otRules,
  otUserFunctions,
  otReteNetwork,
  otModules,
  otFactsPending
};

enum TFunctionPackage : std::uint8_t {
  pStandard,
  pPredicate,
  pMath,
  pMiscellaneous,
  pString,
  pObject,
  pTrigonometry,
  pBusiness,
  pFuzzyLogic
};
using TFunctionPackages = TSet<TFunctionPackage>;
inline constexpr TFunctionPackages AllFunctionPackages = TFunctionPackages::Range(pStandard, pFuzzyLogic);

// Event types; Sender is the engine.
using TActivationEvent = std::function<void(TObject* Sender, int Index, TActivation* Activation)>;
using TFactEvent = std::function<void(TObject* Sender, const IFact& Fact)>;
using TRuleEvent = std::function<void(TObject* Sender, TRule* Rule)>;
using TFactTemplateEvent = std::function<void(TObject* Sender, const IFactTemplate& Template)>;
using TDefinedTypeEvent = std::function<void(TObject* Sender, const IKBDefinedType& DefType)>;
using TUserFunctionEvent = std::function<void(TObject* Sender, const IUserFunction& UserFunction)>;
using TModuleEvent = std::function<void(TObject* Sender, const IModule& Module)>;
using TReadTokenEvent = std::function<void(TObject* Sender, const std::string& InID, IStreamToken& Token)>;
using TFuzzyCorrelationEvent =
    std::function<void(TObject* Sender, const IFact& Fact, float Strength, bool& Done)>;
using TFuzzyInferenceEvent =
    std::function<void(TObject* Sender, const IFact& Fact1, const IFact& Fact2, bool& Done)>;

class TInferenceEngine : public TComponent, public IReasoner {
public:
  // A complete engine: the main module current and focused, the default
  // packages present.
  explicit TInferenceEngine(TComponent* AOwner = nullptr);
  ~TInferenceEngine() override;

  // ------------------------------------------------------------ factory
  // Builds every collection of the engine and of its modules; a host
  // subclass replaces a collection by overriding it. Nil for an unknown kind.
  virtual TObject* CreateKBObject(TKBObjectType KBObject, TModule* Module);

  // ------------------------------------------------------------ identity and small services
  std::int32_t NewFactId() { return FFactIdCounter++; }
  std::int32_t NewRuleId() { return FRuleIdCounter++; }
  std::string GenerateSymbol(const std::string& Prefix);
  std::int32_t GetSymbolIndex() const noexcept { return FSymbolIndex; }
  // The index never goes back: a value not above the present one only adds 1.
  void SetSymbolIndex(std::int32_t Value);
  void Lock();
  void Unlock();

  IFactTemplate FindFactTemplate(const TKBName& AName) const;
  // The template of that name in the current module, made as an implied
  // template when missing.
  virtual IFactTemplate CreateFactTemplate(const TKBName& AName);

  // ------------------------------------------------------------ modules
  IModule GetCurrentModule() const override { return FCurrentModule; }
  void SetCurrentModule(const IModule& Value);
  IModule GetCurrentFocus() const;
  TModules* GetModules() const noexcept { return FModules.get(); }
  TModules* GetFocusStack() const noexcept { return FFocusStack.get(); }
  virtual int AddModule(const IModule& Module);
  virtual void RenameModule(const std::string& OldName, const std::string& NewName);

  // ------------------------------------------------------------ the current module's collections
  TKBAgenda* GetAgenda() const noexcept { return FAgenda; }
  TKBDefinedTypes* GetDefinedTypes() const noexcept { return FDefinedTypes; }
  TFacts* GetFacts() const noexcept { return FFacts; }
  TFactSets* GetFactSets() const noexcept { return FFactSets; }
  TFactTemplates* GetFactTemplates() const noexcept { return FFactTemplates; }
  TReteNetwork* GetRete() const noexcept { return FRete; }
  TRules* GetRules() const noexcept { return FRules; }
  TFactsPending* GetFactsPending() const noexcept { return FFactsPending; }
  IFact GetNullFact() const { return FNullFact; }
  TKBPattern* GetInitialFactPattern() const noexcept { return FInitialFactPattern; }
  int GetAgendaCount() const;

  // ------------------------------------------------------------ engine-wide objects
  TUserFunctions* GetUserFunctions() const noexcept { return FUserFunctions; }
  TGlobalVariables* GetGlobalVariables() const noexcept { return FGlobalVariables; }
  TEngineVariables* GetStorage() const noexcept { return FStorage; }
  TIOStreams* GetIOStreams() const noexcept { return FIOStreams; }
  TStream* GetOutputStream() const noexcept { return FOutputStream.get(); }
  TActivation* GetCurrentAgendaItem() const noexcept { return FCurrentAgendaItem; }

  // ------------------------------------------------------------ properties
  TDuplicateConstructs GetDuplicateConstructs() const noexcept { return FDuplicateConstructs; }
  void SetDuplicateConstructs(TDuplicateConstructs Value) noexcept { FDuplicateConstructs = Value; }
  TFunctionPackages GetPackages() const noexcept { return FPackages; }
  void SetPackages(TFunctionPackages Value);
  bool GetFactDuplication() const noexcept { return FFactDuplication; }
  void SetFactDuplication(bool Value);
  bool GetFuzzyAutoTerms() const noexcept { return FFuzzyAutoTerms; }
  void SetFuzzyAutoTerms(bool Value) noexcept { FFuzzyAutoTerms = Value; }
  TFuzzyCorrelationMethod GetFuzzyCorrelationMethod() const noexcept { return FFuzzyCorrelationMethod; }
  void SetFuzzyCorrelationMethod(TFuzzyCorrelationMethod Value) noexcept { FFuzzyCorrelationMethod = Value; }
  TFuzzyInferenceMethod GetFuzzyInferenceMethod() const noexcept { return FFuzzyInferenceMethod; }
  void SetFuzzyInferenceMethod(TFuzzyInferenceMethod Value) noexcept { FFuzzyInferenceMethod = Value; }
  float GetFuzzyEqualsThreshold() const noexcept { return FFuzzyEqualsThreshold; }
  void SetFuzzyEqualsThreshold(float Value) noexcept { FFuzzyEqualsThreshold = Value; }
  float GetMinActivationStrength() const noexcept { return FMinActivationStrength; }
  void SetMinActivationStrength(float Value) noexcept { FMinActivationStrength = Value; }
  TErrorHandling GetParserErrorHandling() const noexcept { return FParserErrorHandling; }
  void SetParserErrorHandling(TErrorHandling Value);
  std::int32_t GetParserMaxErrors() const noexcept { return FParserMaxErrors; }
  void SetParserMaxErrors(std::int32_t Value);
  bool GetResetGlobals() const noexcept { return FResetGlobals; }
  void SetResetGlobals(bool Value) noexcept { FResetGlobals = Value; }
  TSearchStrategy GetStrategy() const noexcept { return FStrategy; }
  virtual void SetStrategy(TSearchStrategy Value);
  TTypeChecks GetTypeChecks() const noexcept { return FTypeChecks; }
  void SetTypeChecks(TTypeChecks Value);
  TConstructWatches GetWatch() const noexcept { return FWatch; }
  void SetWatch(TConstructWatches Value) noexcept { FWatch = Value; }
  TSalience GetEvalSalience() const noexcept { return FEvalSalience; }
  void SetEvalSalience(TSalience Value) noexcept { FEvalSalience = Value; }
  bool GetHalt() const noexcept { return FHalt; }
  void SetHalt(bool Value) noexcept { FHalt = Value; }
  bool GetIsRunning() const noexcept { return FIsRunning; }
  float GetVersion() const noexcept { return FVersion; }
  std::int32_t GetFactIdCounter() const noexcept { return FFactIdCounter; }
  std::int32_t GetStatNumRulesFired() const noexcept { return FStatNumRulesFired; }
  double GetStatRunTime() const noexcept { return FStatRunTime; }
  std::int32_t GetStatMaxActivations() const noexcept { return FStatMaxActivations; }
  float GetStatMeanActivations() const noexcept { return FStatMeanActivations; }
  float GetStatMeanFacts() const noexcept { return FStatMeanFacts; }
  std::int32_t GetStatMaxFacts() const noexcept { return FStatMaxFacts; }

  // ------------------------------------------------------------ construct events
  // The collections call these; each raises its event and nothing more.
  virtual void AddFactTemplate(const IFactTemplate& Template);
  virtual void RemoveFactTemplate(const IFactTemplate& Template);
  virtual void AddDefinedType(const IKBDefinedType& DefType);
  virtual void RemoveDefinedType(const IKBDefinedType& DefType);
  virtual void AddRule(TRule* Rule);
  virtual void RemoveRule(TRule* Rule);
  virtual void AddFunction(const IUserFunction& UserFunction);
  virtual void RemoveFunction(const IUserFunction& UserFunction);
  virtual void ClearDefinedTypes();
  virtual void ClearFactTemplates();
  virtual void ClearModules();
  virtual void ClearRules();

  // ------------------------------------------------------------ events
  TNotifyEvent OnAddDefaultPackages;
  TActivationEvent OnAddActivation;
  TActivationEvent OnRemoveActivation;
  TFactEvent OnAssertion;
  TFactEvent OnRetraction;
  TRuleEvent OnRuleFired;
  TRuleEvent OnAddRule;
  TRuleEvent OnRemoveRule;
  TFactTemplateEvent OnNewFactTemplate;
  TFactTemplateEvent OnRemoveFactTemplate;
  TDefinedTypeEvent OnAddDefinedType;
  TDefinedTypeEvent OnRemoveDefinedType;
  TUserFunctionEvent OnAddUserFunction;
  TUserFunctionEvent OnRemoveUserFunction;
  TModuleEvent OnAddModule;
  TModuleEvent OnRemoveModule;
  TNotifyEvent OnClear;
  TModuleEvent OnClearModule;
  TNotifyEvent OnClearDefinedTypes;
  TNotifyEvent OnClearFacts;
  TNotifyEvent OnClearFactTemplates;
  TNotifyEvent OnClearModules;
  TNotifyEvent OnClearRules;
  TNotifyEvent OnReset;
  TNotifyEvent OnChangeCurrentModule;
  TModuleEvent OnPushFocus;
  TModuleEvent OnPopFocus;
  TNotifyEvent OnStartInference;
  TInferenceEvent OnEndInference;
  TPrintOutEvent OnPrintOut;
  TReadLineEvent OnReadLine;
  TReadTokenEvent OnReadToken;
  TFuzzyCorrelationEvent OnFuzzyCorrelation;
  TFuzzyInferenceEvent OnFuzzyInference;

protected:
  // For a subclass whose overrides of CreateKBObject or AddDefaultPackages
  // must take part in construction: its constructor passes this tag and calls
  // Construct() at its end, when its overrides are in place.
  struct TDeferredConstruction {};
  TInferenceEngine(TComponent* AOwner, TDeferredConstruction);
  void Construct();

  virtual void AddDefaultPackages();
  virtual void DoChangeCurrentModule();
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  void ClearEvents();

  std::string FModuleText;
  std::unique_ptr<TCriticalSection> FCriticalSection;
  TUserFunctions* FUserFunctions = nullptr;
  std::int32_t FFactIdCounter = 0;
  std::int32_t FRuleIdCounter = 0;
  TSearchStrategy FStrategy = ssDepthFirst;
  TSalience FEvalSalience = sActivate;
  bool FHalt = false;
  TEngineVariables* FStorage = nullptr;
  std::int32_t FSymbolIndex = 0;
  bool FResetGlobals = false;
  TGlobalVariables* FGlobalVariables = nullptr;
  TIOStreams* FIOStreams = nullptr;
  TActivation* FCurrentAgendaItem = nullptr;
  TConstructWatches FWatch;
  float FVersion = 0;
  TFunctionPackages FPackages;
  bool FFactDuplication = false;
  std::int32_t FStatNumRulesFired = 0;
  double FStatRunTime = 0;
  std::int32_t FStatMaxActivations = 0;
  float FStatMeanActivations = 0;
  float FStatMeanFacts = 0;
  std::int32_t FStatMaxFacts = 0;
  bool FIsRunning = false;
  TTypeChecks FTypeChecks;
  TDuplicateConstructs FDuplicateConstructs = dcOverwrite;
  std::int32_t FParserMaxErrors = 0;
  TErrorHandling FParserErrorHandling = ehRaiseImmediate;
  std::unique_ptr<TStream> FOutputStream;
  TFuzzyInferenceMethod FFuzzyInferenceMethod{};
  TFuzzyCorrelationMethod FFuzzyCorrelationMethod{};
  bool FFuzzyAutoTerms = false;
  float FFuzzyEqualsThreshold = 0;
  float FMinActivationStrength = 0;
  Ref<TModules> FModules;
  Ref<TModules> FFocusStack;
  IModule FIsModuleOp;
  // The current module's collections, owned by the module.
  TKBAgenda* FAgenda = nullptr;
  TKBDefinedTypes* FDefinedTypes = nullptr;
  TFacts* FFacts = nullptr;
  TFactSets* FFactSets = nullptr;
  TFactTemplates* FFactTemplates = nullptr;
  TReteNetwork* FRete = nullptr;
  TRules* FRules = nullptr;
  TFactsPending* FFactsPending = nullptr;
  IFact FNullFact;
  TKBPattern* FInitialFactPattern = nullptr;
  IModule FCurrentModule;

  friend class TModule;
};

}  // namespace cogent
