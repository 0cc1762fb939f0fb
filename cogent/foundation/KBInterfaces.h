#pragma once
// The counted interfaces of the engine, each a handle to the root class of the
// family that implements it, and the views of the engine that lower layers
// hold (not counted).

#include <cstdint>
#include <memory>
#include <string>

#include "cogent/foundation/KBConsts.h"
#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"

namespace cogent {

class TKBValue;
using IKBValue = Ref<TKBValue>;
class TValueVector;
using IValueVector = Ref<TValueVector>;
class TSingletonsVector;
using ISingletonsVector = Ref<TSingletonsVector>;
class TFact;
using IFact = Ref<TFact>;
class TFactTemplate;
using IFactTemplate = Ref<TFactTemplate>;
class TFactSlot;
using IFactSlot = Ref<TFactSlot>;
class TFunctionCall;
using IFunCall = Ref<TFunctionCall>;
class TKBDefinedType;
using IKBDefinedType = Ref<TKBDefinedType>;
class TKBUserFunction;
using IUserFunction = Ref<TKBUserFunction>;
class TKBStreamToken;
using IStreamToken = Ref<TKBStreamToken>;
class TModule;
using IModule = Ref<TModule>;
class TModuleImportExport;
using IModuleImport = Ref<TModuleImportExport>;
using IModuleExport = Ref<TModuleImportExport>;

class TEncoding;
class TKBContext;
class TKBPattern;
class TRule;
class TActivation;
class TModules;
class TFactTemplates;
class TKBDefinedTypes;
class TFactSets;
class TRules;
class TUserFunctions;
class TGlobalVariables;
class TFuzzyVariable;

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

// What values, functions and types see of the engine.
class IReasoner {
public:
  // ------------------------------------------------------------ functions
  // A function's description: its name, comment and syntax line.
  virtual std::string PrettyPrint(const IUserFunction& UserFunction) const = 0;
  // A defined type as "deftype" text, or the clauses of an implicit one.
  virtual std::string PrettyPrint(const TKBDefinedType& DefinedType) const = 0;

  // ------------------------------------------------------------ renaming
  // Re-files the type under its new name in every table that holds it;
  // raises when the name is taken by another type there.
  virtual void RenameDefinedType(TKBDefinedType* DefinedType, const std::string& OldName,
                                 const std::string& NewName) = 0;
  // Enters the function under its name, following the engine's policy for
  // a name that is taken.
  virtual void AddUserFunction(const IUserFunction& UserFunction) = 0;
  // Takes the function out, if it is the one entered under its name.
  virtual void RemoveUserFunction(const IUserFunction& UserFunction) = 0;
  virtual bool ContainsUserFunction(const std::string& Name) const = 0;
  virtual bool ContainsUserFunction(const std::string& Name, IUserFunction& UserFunction) const = 0;
  // Nil for a name that is not known.
  virtual IUserFunction GetUserFunction(const std::string& Name) const = 0;
  // Nil removes the function of that name.
  virtual void SetUserFunction(const std::string& Name, const IUserFunction& UserFunction) = 0;

  virtual IModule GetCurrentModule() const = 0;

protected:
  ~IReasoner() = default;
};

// What templates, facts, patterns, modules, rules and the parser see of the
// engine: its modules and the construct tables of the current one, the
// global context, working memory's entry, and the text services they call
// back. The engine implements it; KnowledgeBaseOf finds it behind an owner.
class IKnowledgeBase : public IReasoner {
public:
  using IReasoner::PrettyPrint;

  // ------------------------------------------------------------ factory
  // A collection of the module's, built by the engine's (replaceable) factory.
  virtual TObject* CreateKBObject(TKBObjectType KBObject, TModule* Module) = 0;

  // ------------------------------------------------------------ modules
  virtual TModules* GetModules() const noexcept = 0;
  virtual int AddModule(const IModule& Module) = 0;
  virtual void RemoveModule(const IModule& Module) = 0;
  virtual void ClearModules() = 0;
  // The module that the engine itself is adding or removing: the module
  // list's own moves of it are the engine's and go no further.
  virtual const IModule& GetModuleInOperation() const noexcept = 0;
  virtual void SetCurrentModule(const IModule& Value) = 0;
  // The module becomes current without an event: the engine caches its
  // collections. Only a module calls this, from FocusModule.
  virtual void UseModule(TModule& Module) = 0;
  virtual void RenameModule(const std::string& OldName, const std::string& NewName) = 0;
  virtual IModule PopFocus() = 0;

  // ------------------------------------------------------------ the current module's tables
  virtual TFactTemplates* GetFactTemplates() const noexcept = 0;
  virtual TKBDefinedTypes* GetDefinedTypes() const noexcept = 0;
  virtual TFactSets* GetFactSets() const noexcept = 0;
  virtual TRules* GetRules() const noexcept = 0;
  virtual TUserFunctions* GetUserFunctions() const noexcept = 0;
  // The defglobals: each keeps its expression, evaluated on entry and at reset.
  virtual TGlobalVariables* GetGlobalVariables() const noexcept = 0;
  virtual TKBPattern* GetInitialFactPattern() const noexcept = 0;
  // The current module's stand-in for "no fact" in a token.
  virtual IFact GetNullFact() const = 0;
  virtual TKBContext* GetGlobalContext() const noexcept = 0;
  // The current module's type of that name, or nil.
  virtual IKBDefinedType FindDefinedType(const TKBName& Name) const = 0;

  // ------------------------------------------------------------ templates and rules
  virtual IFactTemplate FindFactTemplate(const TKBName& AName) const = 0;
  virtual IFactTemplate CreateFactTemplate(const TKBName& AName) = 0;
  virtual void RenameFactTemplate(TFactTemplate* Template, const TKBName& OldName, const TKBName& NewName) = 0;
  virtual std::int32_t NewRuleId() = 0;
  virtual void RenameRule(const TKBName& OldName, const TKBName& NewName) = 0;
  // A rule's patterns or actions changed: the network recompiles it.
  virtual void RuleChange(TRule* Rule) = 0;

  // ------------------------------------------------------------ working memory
  virtual std::int32_t Assert(const IFact& Fact, bool Unconditional) = 0;
  // The facts of the current module, in list order.
  virtual int GetFactCount() const noexcept = 0;
  virtual IFact GetFact(int Index) const = 0;
  // Queues a fact to assert (or retract) once the propagation under way is
  // done: the network never changes working memory in the middle of a token.
  virtual void AddPendingFact(const IFact& Fact, bool Assert) = 0;
  // Enters the fact into the module's facts (the current module's for nil)
  // and runs it through that module's network; the module stays focused.
  virtual void AddFactToModule(const IFact& Fact, const IModule& Module) = 0;

  // ------------------------------------------------------------ agenda
  // The agenda takes the activation over.
  virtual void AddActivation(TActivation* Activation) = 0;
  // Takes the activation off the agenda of its node's module and frees it;
  // one on no agenda is ignored.
  virtual void RemoveActivation(TActivation* Activation) = 0;
  // Tells of the firing, then removes the activation.
  virtual void RuleFired(TActivation* Activation) = 0;
  // Where an activation of that salience goes on the current agenda; -1
  // appends.
  virtual int SearchSalience(std::int32_t Salience) = 0;
  virtual std::int32_t GetFactIdCounter() const noexcept = 0;
  virtual TTypeChecks GetTypeChecks() const noexcept = 0;

  // ------------------------------------------------------------ text
  virtual std::string GenerateSymbol(const std::string& Prefix) = 0;
  virtual void PrintOut(const std::string& OutID, const std::string& Text) = 0;
  virtual std::string PrettyPrint(const TFact& Fact) const = 0;
  virtual bool GetPrintModuleQualifiers() const noexcept = 0;
  virtual IFact ParseFact(const std::string& AString, TEncoding* Encoding = nullptr) = 0;
  virtual IKBValue ParseValue(const std::string& AString, const IFactSlot& Slot, TEncoding* Encoding = nullptr) = 0;
  virtual IFactSlot ParseFactTemplateSlot(const std::string& AString, TEncoding* Encoding = nullptr) = 0;
  virtual std::unique_ptr<TRule> ParseRule(const std::string& AString, TEncoding* Encoding = nullptr) = 0;

  // ------------------------------------------------------------ fuzzy values
  // A term, number, point list or expression as a fuzzy value of Variable;
  // without a context, what needs one to be evaluated stays as it is.
  virtual IKBValue EvalFuzzyExpression(const Ref<TFuzzyVariable>& Variable, const IKBValue& Term,
                                       TKBContext* Context) = 0;

protected:
  ~IKnowledgeBase() = default;
};

// The knowledge base that Object is, or nil.
inline IKnowledgeBase* KnowledgeBaseOf(TObject* Object) noexcept { return dynamic_cast<IKnowledgeBase*>(Object); }

// The factory's object as the caller's own, or nil (and freed) when the
// factory built something of another class.
template <class T>
std::unique_ptr<T> CreateKBObjectAs(IKnowledgeBase& Factory, TKBObjectType KBObject, TModule* Module) {
  std::unique_ptr<TObject> Object(Factory.CreateKBObject(KBObject, Module));
  if (auto* Result = dynamic_cast<T*>(Object.get())) {
    (void)Object.release();
    return std::unique_ptr<T>(Result);
  }
  return nullptr;
}

}  // namespace cogent
