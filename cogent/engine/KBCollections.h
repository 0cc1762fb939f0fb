#pragma once
// The construct collections of a module and of the engine. Modules are real;
// the tables of templates, types, rules, fact sets, facts, functions,
// variables and streams are bound to their engine and module and grow their
// contents and duplicate policy with working memory.

#include <string>
#include <vector>

#include "cogent/common/VXInterfaceList.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"

namespace cogent {

class TInferenceEngine;

// What every collection knows: its engine (nil silences it) and its module.
class TKBEngineBound {
public:
  TKBEngineBound(TInferenceEngine* AEngine, TModule* AModule) : FEngine(AEngine), FModule(AModule) {}

  TInferenceEngine* GetEngine() const noexcept { return FEngine; }
  void SetEngine(TInferenceEngine* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }

protected:
  TInferenceEngine* FEngine;
  TModule* FModule;
};

class TFactTemplates : public TPersistent, public TKBEngineBound {
public:
  TFactTemplates(TInferenceEngine* AEngine, TModule* AModule) : TKBEngineBound(AEngine, AModule) {}
  ~TFactTemplates() override { Clear(); }

  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  IFactTemplate GetItem(int Index) const { return FItems.at(static_cast<std::size_t>(Index)); }
  IFactTemplate Find(const TKBName& Name) const;
  // Enters the template; the table's module becomes its home if it has none.
  void Add(const IFactTemplate& Template);
  void Clear();

private:
  std::vector<IFactTemplate> FItems;
};

class TKBDefinedTypes : public TPersistent, public TKBEngineBound {
public:
  using TKBEngineBound::TKBEngineBound;
  int GetCount() const noexcept { return 0; }
};

class TRules : public TPersistent, public TKBEngineBound {
public:
  using TKBEngineBound::TKBEngineBound;
  int GetCount() const noexcept { return 0; }
};

class TFactSets : public TPersistent, public TKBEngineBound {
public:
  using TKBEngineBound::TKBEngineBound;
  int GetCount() const noexcept { return 0; }
};

class TFacts : public TPersistent, public TKBEngineBound {
public:
  using TKBEngineBound::TKBEngineBound;
  int GetCount() const noexcept { return 0; }
  // Equal facts are found through cached hash codes; off while facts may
  // be duplicated.
  bool GetCacheHashCodes() const noexcept { return FCacheHashCodes; }
  void SetCacheHashCodes(bool Value) noexcept { FCacheHashCodes = Value; }

private:
  bool FCacheHashCodes = true;
};

class TUserFunctions : public TPersistent, public TKBEngineBound {
public:
  explicit TUserFunctions(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}
  int GetCount() const noexcept { return 0; }
};

class TEngineVariables : public TPersistent, public TKBEngineBound {
public:
  explicit TEngineVariables(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}
  int GetCount() const noexcept { return 0; }
};

class TGlobalVariables : public TEngineVariables {
public:
  using TEngineVariables::TEngineVariables;
};

class TIOStreams : public TPersistent, public TKBEngineBound {
public:
  explicit TIOStreams(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}
  int GetCount() const noexcept { return 0; }
};

// All modules of an engine, or its focus stack; index 0 is the main module
// (of the stack: the top).
class TModules : public TInterfaceListPersistent<TModule> {
public:
  explicit TModules(TInferenceEngine* AEngine) : FEngine(AEngine) {}

  TInferenceEngine* GetEngine() const noexcept { return FEngine; }
  void SetEngine(TInferenceEngine* Value) noexcept { FEngine = Value; }
  bool GetEnforceImportOrder() const noexcept { return FEnforceImportOrder; }
  void SetEnforceImportOrder(bool Value) noexcept { FEnforceImportOrder = Value; }

  IModule GetModule(const std::string& Name) const;
  using TInterfaceListPersistent<TModule>::IndexOf;
  int IndexOf(const std::string& Name) const;
  std::string ToNamesString(const std::string& Separator) const;

protected:
  ~TModules() override = default;
  friend class TInferenceEngine;

private:
  TInferenceEngine* FEngine;
  bool FEnforceImportOrder = false;
};

}  // namespace cogent
