#pragma once
// The engine: the one object a host creates and holds. Everything else hangs
// from it, and everything that works on facts, rules, the agenda or the
// network works on the collections of its current module.

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/language/KBParser.h"
#include "cogent/language/KBTokenizer.h"
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
class TFacts;

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

class TInferenceEngine : public TComponent, public IKnowledgeBase, public IFuzzyParser {
public:
  // A complete engine: the main module current and focused, the default
  // packages present.
  explicit TInferenceEngine(TComponent* AOwner = nullptr);
  ~TInferenceEngine() override;

  // ------------------------------------------------------------ factory
  // Builds every collection of the engine and of its modules; a host
  // subclass replaces a collection by overriding it. Nil for an unknown kind.
  TObject* CreateKBObject(TKBObjectType KBObject, TModule* Module) override;

  // ------------------------------------------------------------ identity and small services
  std::int32_t NewFactId() { return FFactIdCounter++; }
  std::int32_t NewRuleId() override { return FRuleIdCounter++; }
  std::string GenerateSymbol(const std::string& Prefix) override;
  std::int32_t GetSymbolIndex() const noexcept { return FSymbolIndex; }
  // The index never goes back: a value not above the present one only adds 1.
  void SetSymbolIndex(std::int32_t Value);
  void Lock();
  void Unlock();

  IFactTemplate FindFactTemplate(const TKBName& AName) const override;
  IKBDefinedType FindDefinedType(const TKBName& Name) const override;
  // The template of that name in the current module, made as an implied
  // template when missing.
  IFactTemplate CreateFactTemplate(const TKBName& AName) override;

  // ------------------------------------------------------------ modules
  IModule GetCurrentModule() const override { return FCurrentModule; }
  void SetCurrentModule(const IModule& Value) override;
  void UseModule(TModule& Module) override;
  IModule GetCurrentFocus() const { return PeekFocus(); }
  TModules* GetModules() const noexcept override { return FModules.get(); }
  TModules* GetFocusStack() const noexcept { return FFocusStack.get(); }
  // A module of the same name is removed first; the main module goes to
  // index 0, any other to the end. Gives the index.
  int AddModule(const IModule& Module) override;
  void RemoveModule(const IModule& Module) override;
  const IModule& GetModuleInOperation() const noexcept override { return FIsModuleOp; }
  void RenameModule(const std::string& OldName, const std::string& NewName) override;
  // Re-keys Template in the tables that hold it; raises _SDuplicateTemplateNames
  // when another template has NewName.
  void RenameFactTemplate(TFactTemplate* Template, const TKBName& OldName, const TKBName& NewName) override;
  void RenameDefinedType(TKBDefinedType* DefinedType, const TKBName& OldName, const TKBName& NewName) override;

  // ------------------------------------------------------------ dependents of templates and types
  // What a redefinition took away, as text: a fact with the fact as data, a
  // rule without data.
  using TDependents = TStringList<IInterface>;
  // Whether a value, call or rule refers to Template: a fact of it, a call
  // with such an argument, a rule with a pattern of it or such an action.
  static bool IsDependent(const IKBValue& Value, const IFactTemplate& Template);
  static bool IsDependent(const IFunCall& Call, const IFactTemplate& Template);
  static bool IsDependent(const TRule& Rule, const IFactTemplate& Template);
  // Takes Template, its facts and the rules matching it out of every module
  // that shares it.
  virtual void RemoveDependencies(const IFactTemplate& Template);
  // The same for one module.
  virtual void RemoveDependencies(const IModule& Module, const IFactTemplate& Template);
  // The same in the current module for a redefinition, writing down the
  // facts and the rules (IsDependent) that it takes away.
  virtual void RemoveDependencies(const IFactTemplate& Template, TDependents& Dependents);
  // Before the current module's templates go: its own leave the modules that
  // imported them; its facts, rules, network and pending facts go.
  virtual void RemoveDependencies();
  // Takes DefType and the templates that use it out of every module.
  virtual void RemoveDependencies(const IKBDefinedType& DefType);
  virtual void RemoveDependencies(const IModule& Module, const IKBDefinedType& DefType);
  // Before the current module's types go: its own leave the modules that
  // imported them, and its templates go.
  virtual void RemoveTypeDependencies();
  // Reads the dependents again: facts are asserted anew, rules compiled
  // anew. All are tried; the first error is raised at the end.
  virtual void UpdateDependencies(const TDependents& Dependents);
  virtual void UpdateDependentFact(const IFact& OldFact, const IFact& NewFact);
  // The tables call these once New has taken Old's place in the current
  // module. Under the same name the dependents follow New in every module
  // that shares Old; under another name they go.
  virtual void ReplaceTemplate(const IFactTemplate& Old, const IFactTemplate& New);
  virtual void ReplaceDefinedType(const IKBDefinedType& Old, const IKBDefinedType& New);
  // The current module's own templates that use Old are defined anew with New.
  virtual void ReplaceTypesInFactTemplates(const IKBDefinedType& Old, const IKBDefinedType& New);

  // ------------------------------------------------------------ running
  // Fires at most MaxNumber rules; gives the number fired. Refused from
  // inside a rule's action.
  std::int32_t Run(std::int32_t MaxNumber);
  std::int32_t Run() { return Run(std::numeric_limits<std::int32_t>::max()); }
  virtual void BeginInference();
  virtual void EndInference();

  // ------------------------------------------------------------ focus
  virtual void PushFocus(const IModule& Module);
  // Raises _SNoSuchModule for an unknown name.
  void PushFocus(const std::string& ModuleName);
  virtual IModule PeekFocus() const;
  IModule PopFocus() override;

  // ------------------------------------------------------------ reset and clear
  // Empties working memory and the agendas, asserts the fact sets and the
  // initial fact, and gives the globals their initial values back.
  virtual void Reset();
  // Resets the rules and asserts the fact sets of Module.
  virtual void Reset(const IModule& Module);
  // Takes away all knowledge but the built-in functions and the globals.
  virtual void Clear();
  virtual void Clear(const IModule& Module);
  virtual void ClearFacts(const IModule& Module);
  // Evaluates Value (a call is run) and binds the result to Name.
  void ResetGlobalVariable(const std::string& Name, const IKBValue& Value);

  // ------------------------------------------------------------ assertion and retraction
  // The fact's id, or -1 when an equal fact stands and duplicates are off.
  std::int32_t Assert(const IFact& Fact, bool Unconditional) override;
  std::int32_t Assert(const IFact& Fact, TFuzzyInferenceMethod FuzzyInference, bool Unconditional);
  std::int32_t Assert(const IFact& Fact) { return Assert(Fact, false); }
  // The fact read from its text and resolved in the global context.
  std::int32_t Assert(const std::string& Fact);
  // Index is a position in the current module's facts.
  virtual void RetractFact(int Index);
  void RetractFact(const IFact& Fact);
  // Nothing happens for an id or a fact that isn't there.
  void Retract(std::int32_t FactId);
  void Retract(const IFact& Fact);
  void Retract(const std::string& Fact);
  // Takes the network's memories down and raises OnClearFacts.
  virtual void RetractFacts();
  void AddPendingFact(const IFact& Fact, bool Assert) override;
  virtual void ProcessPendingFacts();
  int GetFactCount() const noexcept override;
  IFact GetFact(int Index) const override;
  IFact GetFactPending(int Index) const;
  virtual void BeginFactModify(const IFact& Fact);
  virtual std::int32_t EndFactModify(const IFact& Fact);
  void AddFactToModule(const IFact& Fact, const IModule& Module) override;
  void RemoveFactFromModule(int Index, const IFact& Fact, const IModule& Module);
  // The facts of every module in module order, in a plain list the caller
  // owns; without Duplicates a fact shared by modules comes once.
  virtual std::unique_ptr<TFacts> GetFacts(bool Duplicates) const;

  // ------------------------------------------------------------ text in and out
  // "" and "t" name the standard device: the capture or OnPrintOut for
  // output, the batch stream or OnReadLine / OnReadToken for input. Any other
  // name is a stream of IOStreams.
  void PrintOut(const std::string& Text) { PrintOut("", Text); }
  void PrintOut(const std::string& OutID, const std::string& Text) override;
  // A named stream gives "" at its end; a line of the batch is echoed.
  virtual std::string ReadLine(const std::string& InID);
  // One token, and the rest of its line is dropped. A named stream must be a
  // tokenizer (EInvalidCast otherwise); a token of the batch is echoed.
  virtual IStreamToken ReadToken(const std::string& InID);
  // Parses the stream line by line with the top-level calls run; while it
  // runs, standard input comes from the lines that follow. Batches nest, and
  // the input stream is the one before also when a line raises.
  virtual bool Batch(TStream& Stream, TEncoding* Encoding);
  // Raises the file stream's error when the file cannot be opened.
  bool Batch(const std::string& FileName, TEncoding* Encoding);
  // The capture stream takes the place of OnPrintOut for standard output;
  // the engine owns it until StopCapture. The encoding serves the preamble.
  virtual bool StartCapture(TStream* Stream, TEncoding* Encoding);
  // Creates (or empties) the file; false, and no error, when that fails.
  bool StartCapture(const std::string& FileName, TEncoding* Encoding);
  bool StopCapture();
  TKBTokenizerStream* GetInputStream() const noexcept { return FInputStream.get(); }
  std::string PrettyPrint(const IFact& Fact) const;
  std::string PrettyPrint(const TFact& Fact) const override;
  std::string PrettyPrint(const IFunCall& FunCall) const;
  // Templates and types are written with module qualifiers when the
  // engine's parser says so (or when it has none).
  std::string PrettyPrint(const IFactTemplate& Template) const;

  // ------------------------------------------------------------ the current module's collections
  TKBAgenda* GetAgenda() const noexcept { return FCache.Agenda; }
  // Empties the current agenda and adds a clone of each of Value's
  // activations from the top, each through AddActivation; the terminal nodes
  // then list the clones in place of the originals. Value is not changed.
  virtual void SetAgenda(TKBAgenda* Value);
  TKBDefinedTypes* GetDefinedTypes() const noexcept override { return FCache.DefinedTypes; }
  TFacts* GetFacts() const noexcept { return FCache.Facts; }
  TFactSets* GetFactSets() const noexcept override { return FCache.FactSets; }
  TFactTemplates* GetFactTemplates() const noexcept override { return FCache.FactTemplates; }
  TReteNetwork* GetRete() const noexcept { return FCache.Rete; }
  TRules* GetRules() const noexcept override { return FCache.Rules; }
  TFactsPending* GetFactsPending() const noexcept { return FCache.FactsPending; }
  IFact GetNullFact() const override { return FCache.NullFact; }
  TKBPattern* GetInitialFactPattern() const noexcept override { return FCache.InitialFactPattern; }
  int GetAgendaCount() const;

  // ------------------------------------------------------------ engine-wide objects
  TUserFunctions* GetUserFunctions() const noexcept override { return FUserFunctions.get(); }
  TGlobalVariables* GetGlobalVariables() const noexcept override { return FGlobalVariables.get(); }
  // The root evaluation context: rules, calls and globals start from it.
  TKBContext* GetGlobalContext() const noexcept override { return FGlobalContext.get(); }
  TEngineVariables* GetStorage() const noexcept { return FStorage.get(); }
  TIOStreams* GetIOStreams() const noexcept { return FIOStreams.get(); }
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
  // Stored within 0..1 and passed on to the fuzzy variables of the current
  // module's types; other modules' types keep theirs.
  void SetFuzzyEqualsThreshold(float Value);
  float GetMinActivationStrength() const noexcept { return FMinActivationStrength; }
  // Stored within 0..1 and passed on to the current module's network only.
  void SetMinActivationStrength(float Value);
  TErrorHandling GetParserErrorHandling() const noexcept { return FParserErrorHandling; }
  void SetParserErrorHandling(TErrorHandling Value);
  std::int32_t GetParserMaxErrors() const noexcept { return FParserMaxErrors; }
  void SetParserMaxErrors(std::int32_t Value);
  bool GetResetGlobals() const noexcept { return FResetGlobals; }
  void SetResetGlobals(bool Value) noexcept { FResetGlobals = Value; }
  TSearchStrategy GetStrategy() const noexcept { return FStrategy; }
  // A new strategy rebuilds the current agenda under it.
  virtual void SetStrategy(TSearchStrategy Value);
  TTypeChecks GetTypeChecks() const noexcept override { return FTypeChecks; }
  void SetTypeChecks(TTypeChecks Value);
  TConstructWatches GetWatch() const noexcept { return FWatch; }
  void SetWatch(TConstructWatches Value) noexcept { FWatch = Value; }
  TSalience GetEvalSalience() const noexcept { return FEvalSalience; }
  void SetEvalSalience(TSalience Value) noexcept { FEvalSalience = Value; }
  bool GetHalt() const noexcept { return FHalt; }
  void SetHalt(bool Value) noexcept { FHalt = Value; }
  bool GetIsRunning() const noexcept { return FIsRunning; }
  float GetVersion() const noexcept { return FVersion; }
  std::int32_t GetFactIdCounter() const noexcept override { return FFactIdCounter; }
  std::int32_t GetStatNumRulesFired() const noexcept { return FStatNumRulesFired; }
  double GetStatRunTime() const noexcept { return FStatRunTime; }
  std::int32_t GetStatMaxActivations() const noexcept { return FStatMaxActivations; }
  float GetStatMeanActivations() const noexcept { return FStatMeanActivations; }
  float GetStatMeanFacts() const noexcept { return FStatMeanFacts; }
  std::int32_t GetStatMaxFacts() const noexcept { return FStatMaxFacts; }

  // ------------------------------------------------------------ loading and saving
  // The file forms open the file (a save creates or empties it) and raise the
  // file stream's error when that fails. Loading parses with the top-level
  // calls run and clears nothing first; the parser's stream is the same
  // afterwards, also when the text raises.
  virtual void LoadFromStream(TStream& Stream, TEncoding* Encoding);
  void LoadFromFile(const std::string& FileName, TEncoding* Encoding);
  // Asserts a bare list of facts.
  virtual void LoadFacts(TStream& Stream, TEncoding* Encoding);
  void LoadFacts(const std::string& FileName, TEncoding* Encoding);
  // The current module's facts, one a line, after the encoding's preamble;
  // with a template name only the facts of that template (case counts).
  virtual void SaveFacts(TStream& Stream, TEncoding* Encoding);
  void SaveFacts(const std::string& FileName, TEncoding* Encoding);
  virtual void SaveFacts(TStream& Stream, const std::string& TemplateName, TEncoding* Encoding);
  void SaveFacts(const std::string& FileName, const std::string& TemplateName, TEncoding* Encoding);
  // The whole system as rule text that Parse reads back: unless Compact a
  // comment head, the fact duplication switch, the deffunctions and the
  // globals; then each module, and the focus stack. Modules print their
  // constructs without qualifiers, each after its defmodule.
  virtual std::string GetExpertSystem(bool Compact);
  std::string GetExpertSystem() { return GetExpertSystem(false); }
  // Clears the engine, reads the text with the top-level calls run, and
  // resets.
  virtual void SetExpertSystem(const std::string& AString);
  // GetExpertSystem after the encoding's preamble.
  virtual void SaveToStream(TStream& Stream, TEncoding* Encoding);
  // Writes a file beside FileName and renames it over FileName, so that a
  // failed save leaves the file as it was.
  void SaveToFile(const std::string& FileName, TEncoding* Encoding);
  // "(defglobal ?name = value ...)" of the global variables.
  std::string PrettyPrintGlobalVariables() const;

  // One kind of construct of the current module. A save writes the
  // encoding's preamble and each construct's text with a line end; a load
  // empties the current module's table (LoadModules: the module list) and
  // reads the stream with the top-level calls run. A file save goes to a
  // scratch file beside the target that takes the target's place once
  // whole, so a failed save leaves the old file as it was.
  virtual void SaveDefinedTypes(TStream& Stream, TEncoding* Encoding);
  void SaveDefinedTypes(const std::string& FileName, TEncoding* Encoding);
  virtual void LoadDefinedTypes(TStream& Stream, TEncoding* Encoding);
  void LoadDefinedTypes(const std::string& FileName, TEncoding* Encoding);
  virtual void SaveFactTemplates(TStream& Stream, TEncoding* Encoding);
  void SaveFactTemplates(const std::string& FileName, TEncoding* Encoding);
  virtual void LoadFactTemplates(TStream& Stream, TEncoding* Encoding);
  void LoadFactTemplates(const std::string& FileName, TEncoding* Encoding);
  virtual void SaveRules(TStream& Stream, TEncoding* Encoding);
  void SaveRules(const std::string& FileName, TEncoding* Encoding);
  virtual void LoadRules(TStream& Stream, TEncoding* Encoding);
  void LoadRules(const std::string& FileName, TEncoding* Encoding);
  virtual void SaveModules(TStream& Stream, TEncoding* Encoding);
  void SaveModules(const std::string& FileName, TEncoding* Encoding);
  virtual void LoadModules(TStream& Stream, TEncoding* Encoding);
  void LoadModules(const std::string& FileName, TEncoding* Encoding);
  // The facts of the current module of each template named, one template
  // after the other, in one file.
  void SaveFacts(const std::string& FileName, const std::vector<std::string>& TemplateNames, TEncoding* Encoding);
  // Makes this engine a copy of Source: settings, functions, modules with
  // their types, templates, fact sets, facts and rules, globals, the focus
  // stack and the current module. Another kind of source goes to the base.
  void Assign(TPersistent* Source) override;
  // Notes a rule or fact set to be read again when the engine has loaded
  // from a component stream; a component dying before that drops out.
  void Reload(TComponent* AComponent);
  // "ModuleText", "FactsList" and "FactSets", and the properties of the
  // current module's types, templates and rules and of the globals.
  void DefineProperties(TFiler& Filer) override;

  // ------------------------------------------------------------ parsing
  // The one parser, an instance of ParserType. Writing assigns into it.
  // A stream left in the parser when the engine goes is freed with it.
  TKBParser* GetParser() const noexcept { return FParser.get(); }
  bool GetPrintModuleQualifiers() const noexcept override;
  void SetParser(TKBParser* Value);
  const TKBParserClass& GetParserType() const noexcept { return FParserType; }
  // Another class replaces the parser by a new one: its handlers are gone,
  // its switches are the engine's (error handling, error limit, type check).
  void SetParserType(const TKBParserClass& Value);
  const TKBTokenizerClass& GetTokenizerType() const noexcept { return FTokenizerType; }
  // Another class takes the stream away from the parser.
  void SetTokenizerType(const TKBTokenizerClass& Value);
  // A parser of ParserType on Stream, with the engine's switches.
  virtual std::unique_ptr<TKBParser> NewParser(TGTextStream* Stream);
  // A tokenizer of TokenizerType on a borrowed stream or on a file it opens
  // with a TFileStream mode; a rule stream names its wildcards through the
  // engine.
  std::unique_ptr<TGTextStream> NewTokenizer(TStream* Stream, TEncoding* Encoding);
  std::unique_ptr<TGTextStream> NewTokenizer(const std::string& FileName, std::uint16_t Mode);

  // Each reads AString (UTF-8 when Encoding is nil) with the parser's
  // operation of the same name; the parser's stream is the same afterwards,
  // also when the operation raises.
  // A whole text of constructs; with Execute the top-level calls run.
  virtual bool Parse(const std::string& AString, bool Execute, TEncoding* Encoding = nullptr);
  // A new value of Kind from the text: names as they stand, strings without
  // their enclosing quotes, numbers converted, calls, facts and lists parsed.
  virtual IKBValue Parse(const std::string& AString, TKBType Kind, TEncoding* Encoding = nullptr);
  virtual TParsedType ParseConstructType(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual IKBDefinedType ParseDefinedType(const std::string& AString, TEncoding* Encoding = nullptr);
  IFact ParseFact(const std::string& AString, TEncoding* Encoding = nullptr) override;
  virtual std::string ParseFactSlot(const std::string& AString, const IFact& Fact, TEncoding* Encoding = nullptr);
  virtual std::unique_ptr<TFactSet> ParseFactSet(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual IFunCall ParseFunCall(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual std::string ParseFullName(const std::string& AString, std::string& Module, TEncoding* Encoding = nullptr);
  virtual IFactTemplate ParseFactTemplate(const std::string& AString, TEncoding* Encoding = nullptr);
  IFactSlot ParseFactTemplateSlot(const std::string& AString, TEncoding* Encoding = nullptr) override;
  virtual IUserFunction ParseFunction(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual bool ParseGlobalVariables(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual IKBValue ParseVariable(const std::string& AString, std::string& Name, TEncoding* Encoding = nullptr);
  virtual IValueVector ParseList(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual IKBValue ParseNExecuteFunCall(const std::string& AString, TEncoding* Encoding = nullptr);
  virtual IModule ParseModule(const std::string& AString, TEncoding* Encoding = nullptr);
  std::unique_ptr<TRule> ParseRule(const std::string& AString, TEncoding* Encoding = nullptr) override;
  virtual void ParseRulePatterns(const std::string& AString, TRule* Rule, TRuleVariables& Variables,
                                 TEncoding* Encoding = nullptr);
  virtual void ParseRuleActions(const std::string& AString, TRule* Rule, TRuleVariables& Variables,
                                TEncoding* Encoding = nullptr);
  virtual IKBValue ParseValue(const std::string& AString, TEncoding* Encoding = nullptr);
  IKBValue ParseValue(const std::string& AString, const IFactSlot& Slot, TEncoding* Encoding = nullptr) override;
  virtual IKBValue ParseValue(const std::string& AString, TKBTypes Types, const IKBDefinedType& DefinedType,
                              TEncoding* Encoding = nullptr);

  // The parse events live in the parser.
  TParseEvent GetOnParse() const;
  void SetOnParse(TParseEvent Value);
  TParseDefinedTypeEvent GetOnParseDefinedType() const;
  void SetOnParseDefinedType(TParseDefinedTypeEvent Value);
  TParseFactEvent GetOnParseFact() const;
  void SetOnParseFact(TParseFactEvent Value);
  TParseFactSetEvent GetOnParseFactSet() const;
  void SetOnParseFactSet(TParseFactSetEvent Value);
  TParseFactTemplateEvent GetOnParseFactTemplate() const;
  void SetOnParseFactTemplate(TParseFactTemplateEvent Value);
  TParseFunctionEvent GetOnParseFunction() const;
  void SetOnParseFunction(TParseFunctionEvent Value);
  TParseFunCallEvent GetOnParseFunCall() const;
  void SetOnParseFunCall(TParseFunCallEvent Value);
  TParseFuzzySetEvent GetOnParseFuzzySet() const;
  void SetOnParseFuzzySet(TParseFuzzySetEvent Value);
  TParseFuzzyVariableEvent GetOnParseFuzzyVariable() const;
  void SetOnParseFuzzyVariable(TParseFuzzyVariableEvent Value);
  TParseSingletonsEvent GetOnParseSingletons() const;
  void SetOnParseSingletons(TParseSingletonsEvent Value);
  TParseVariableEvent GetOnParseVariable() const;
  void SetOnParseVariable(TParseVariableEvent Value);
  TParsePatternEvent GetOnParsePattern() const;
  void SetOnParsePattern(TParsePatternEvent Value);
  TParseModuleEvent GetOnParseModule() const;
  void SetOnParseModule(TParseModuleEvent Value);
  TParseRuleEvent GetOnParseRule() const;
  void SetOnParseRule(TParseRuleEvent Value);

  // ------------------------------------------------------------ functions
  // The engine's table under the function view; functions call these as
  // they register and leave.
  std::string PrettyPrint(const IUserFunction& UserFunction) const override;
  std::string PrettyPrint(const TKBDefinedType& DefinedType) const override;
  void AddUserFunction(const IUserFunction& UserFunction) override;
  void RemoveUserFunction(const IUserFunction& UserFunction) override;
  bool ContainsUserFunction(const std::string& Name) const override;
  bool ContainsUserFunction(const std::string& Name, IUserFunction& UserFunction) const override;
  IUserFunction GetUserFunction(const std::string& Name) const override;
  void SetUserFunction(const std::string& Name, const IUserFunction& UserFunction) override;

  // ------------------------------------------------------------ rules
  // Re-keys the rule under OldName in the current table; raises
  // _SDuplicateRuleNames when another rule has NewName there.
  void RenameRule(const TKBName& OldName, const TKBName& NewName) override;
  // A rule that changed is compiled again if the current table holds it.
  void RuleChange(TRule* Rule) override;

  // ------------------------------------------------------------ agenda
  // Evaluates the rule's salience, places the activation on the current
  // agenda, traces and raises OnAddActivation; a rule with auto-focus takes
  // the focus to its module.
  void AddActivation(TActivation* Activation) override;
  // Entry Index of the current agenda: event, trace, then freed (or only
  // taken out while it is the one that fires).
  virtual void RemoveActivation(int Index);
  void RemoveActivation(TActivation* Activation) override;
  void RuleFired(TActivation* Activation) override;
  // The place for a new activation of that salience on the current agenda,
  // which stands in descending salience: the strategy decides at the ends,
  // a bisection in between. -1 appends.
  int SearchSalience(std::int32_t Salience) override;
  TActivation* GetActivation(int Index) const;
  // Replaces the entry's activation without freeing the old one.
  void SetActivation(int Index, TActivation* Value);

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
  void ClearModules() override;
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

  // ------------------------------------------------------------ fuzzy inference
  // A rule's strength weakens the fuzzy slots of what it asserts: each set is
  // replaced by a weakened clone, so that terms and other facts sharing the
  // old set keep it. A strength of exactly 1 does nothing at all.
  virtual void FuzzyCorrelation(const IFact& Fact, float Correlation);
  // Raises OnFuzzyInference; unless a handler is done, the union of Fact2's
  // fuzzy slots into Fact1's.
  virtual void FuzzyInference(const IFact& Fact1, const IFact& Fact2);
  // Combines the fuzzy slots of Fact2 into those of Fact1 under the
  // inference method; Fact2 is not changed.
  virtual void FuzzyOperation(const IFact& Fact1, const IFact& Fact2, bool Union);
  // Value1 takes its combination with Value2; values of different kinds, or
  // lists of different lengths, are left alone.
  virtual void FuzzyUnion(const IKBValue& Value1, const IKBValue& Value2, TFuzzyOperation Operation);
  virtual void FuzzyIntersection(const IKBValue& Value1, const IKBValue& Value2, TFuzzyOperation Operation);
  // One term, number, point list or expression of Variable as a fuzzy value
  // (or a list of them, for terms side by side). Without a context what
  // needs one stays as it is, and an expression over it stays a list.
  IKBValue EvalFuzzyExpression(const IFuzzyVariable& Variable, const IKBValue& Term, TKBContext* Context) override;
  IKBValue EvalFuzzyExpression(const IFuzzyVariable& Variable, const IValueVector& Expression, TKBContext* Context);
  IKBValue EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression, TKBContext* Context);
  IFuzzySet EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression) override;
  // The set goes to FuzzySet; the result is its crisp value.
  double EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression,
                             IFuzzySet& FuzzySet) override;
  // The text read as a value and evaluated in the global context.
  IFuzzySet ParseFuzzyExpression(const IFuzzyVariable& Variable, const std::string& AString,
                                 TEncoding* Encoding = nullptr);
  IFuzzySet ParseFuzzySet(const IFuzzyVariable& Variable, const std::string& AString) override;
  IFuzzyVariable ParseFuzzyVariable(const std::string& AString) override;
  std::string PrettyPrint(const IFuzzySet& FuzzySet, bool AsDefinition) override;
  std::string PrettyPrint(const IFuzzyVariable& Variable) override;
  // The terms low, medium and high over the universe, each unless the
  // variable has a term of that name.
  virtual void AddDefaultFuzzyTerms(const IFuzzyVariable& Variable);
  // A text plot of one fuzzy value, or of the values of a list, written line
  // by line to OutID; the first set's variable names the plot.
  void PlotFuzzySet(const std::string& OutID, const IKBValue& FuzzySet, double Low, double High,
                    const std::string& PlotChars);
  void PlotFuzzySet(const std::string& OutID, const IValueVector& FuzzySets, double Low, double High,
                    const std::string& PlotChars);

protected:
  // For a subclass whose overrides of CreateKBObject or AddDefaultPackages
  // must take part in construction: its constructor passes this tag and calls
  // Construct() at its end, when its overrides are in place.
  struct TDeferredConstruction {};
  TInferenceEngine(TComponent* AOwner, TDeferredConstruction);
  void Construct();

  virtual void AddDefaultPackages();
  virtual void DoChangeCurrentModule();
  // After a component load: the module text is read, then the rules and
  // fact sets noted by Reload.
  void Loaded() override;
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  // The firing loop on the agenda of the focused module, one firing per turn.
  void FireAgenda(std::int32_t MaxNumber, std::unique_ptr<TKBAgenda>& Temporary);
  // Fires entry 0 and frees it however the rule ends.
  void FireTop();
  // Hands the entries of the current agenda over to Copy, which frees them
  // later, and fills the agenda with their clones in the present order.
  void RebuildThrough(TKBAgenda& Copy);
  // Places every activation of the agenda anew, with saliences evaluated again.
  void RebuildAgenda(std::unique_ptr<TKBAgenda>& Temporary);

  void ClearEvents();
  // A fact from its text, resolved in the global context.
  IFact ReadFact(const std::string& Text);
  // Forgets the collections of the current module.
  void ClearModuleCache() noexcept;
  // Lends the parser a tokenizer on AString (or on Stream) for Operation,
  // and takes it back.
  void ParseFrame(const std::string& AString, TEncoding* Encoding, const std::function<void(TKBParser&)>& Operation);
  void ParseFrame(TStream& Stream, TEncoding* Encoding, const std::function<void(TKBParser&)>& Operation);
  // Each module of Source in order, with its declarations and its knowledge.
  void AssignModules(const TInferenceEngine& Source);
  // Rules and fact sets waiting for the end of a component load; not owned,
  // and one that dies before drops out.
  std::vector<TComponent*> FReloadComps;
  // The current module's facts, or only those of *TemplateName.
  void WriteFacts(TStream& Stream, const std::string* TemplateName, TEncoding* Encoding);

  std::string FModuleText;
  std::unique_ptr<TCriticalSection> FCriticalSection;
  std::unique_ptr<TUserFunctions> FUserFunctions;
  std::int32_t FFactIdCounter = 0;
  std::int32_t FRuleIdCounter = 0;
  TSearchStrategy FStrategy = ssDepthFirst;
  TSalience FEvalSalience = sActivate;
  bool FHalt = false;
  std::unique_ptr<TEngineVariables> FStorage;
  std::int32_t FSymbolIndex = 0;
  bool FResetGlobals = false;
  std::unique_ptr<TGlobalVariables> FGlobalVariables;
  std::unique_ptr<TKBContext> FGlobalContext;
  std::unique_ptr<TIOStreams> FIOStreams;
  TActivation* FCurrentAgendaItem = nullptr;
  TConstructWatches FWatch;
  float FVersion = 0;
  TFunctionPackages FPackages;
  bool FFactDuplication = false;
  std::int32_t FStatNumRulesFired = 0;
  double FStatRunTime = 0;
  // The start of the run for the statistics' run time.
  std::chrono::steady_clock::time_point FRunStarted;
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
  // Set only while a batch runs.
  std::unique_ptr<TKBTokenizerStream> FInputStream;
  TFuzzyInferenceMethod FFuzzyInferenceMethod{};
  TFuzzyCorrelationMethod FFuzzyCorrelationMethod{};
  bool FFuzzyAutoTerms = false;
  float FFuzzyEqualsThreshold = 0;
  float FMinActivationStrength = 0;
  TKBTokenizerClass FTokenizerType;
  TKBParserClass FParserType;
  std::unique_ptr<TKBParser> FParser;
  Ref<TModules> FModules;
  Ref<TModules> FFocusStack;
  IModule FIsModuleOp;
  // The current module's collections, owned by the module.
  TModuleCache FCache;
  static bool HasPatternOf(const TRule& Rule, const IFactTemplate& Template);
  // Takes the pending facts and facts of Template out of the current module
  // (writing the facts down when Dependents is given) and makes its fact
  // sets read theirs again.
  void RemoveFactsOf(const IFactTemplate& Template, TDependents* Dependents);
  IModule FCurrentModule;

  friend class TFacts;
  friend class TRules;
  friend class TModules;
};

}  // namespace cogent
