#pragma once
// The counted interfaces of the engine, each a handle to the root class of the
// family that implements it, and the views of the engine that lower layers
// hold (not counted).

#include <cstdint>
#include <string>

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

}  // namespace cogent
