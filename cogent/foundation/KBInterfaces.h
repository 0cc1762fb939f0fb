#pragma once
// The counted interfaces of the engine, each a handle to the root class of the
// family that implements it, and the views of the engine that lower layers
// hold (not counted).

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

// What values, functions and types see of the engine.
class IReasoner {
public:
  virtual IModule GetCurrentModule() const = 0;

protected:
  ~IReasoner() = default;
};

}  // namespace cogent
