#pragma once
// Modules: partitions of the knowledge base, each with its own agenda,
// network, rules, facts, fact sets, templates and defined types.

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/common/VXInterfaceList.h"
#include "cogent/common/VXNexus.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/foundation/VXStringList.h"
#include "cogent/values/KBModuleConstruct.h"

namespace cogent {

class TKBAgenda;
class TKBDefinedTypes;
class TFacts;
class TFactSets;
class TFactTemplates;
class TReteNetwork;
class TRules;
class TKBPattern;
using TFactsPending = TStringList<IInterface>;

// The construct collections of a module, written once for the module that
// owns them (TModuleCollections) and for the engine's view of its current
// module's (TModuleCache). TPtr is the kind of pointer.
template <template <class> class TPtr>
struct TModuleCollectionsOf {
  TPtr<TKBAgenda> Agenda;
  TPtr<TKBDefinedTypes> DefinedTypes;
  TPtr<TFacts> Facts;
  TPtr<TFactSets> FactSets;
  TPtr<TFactTemplates> FactTemplates;
  TPtr<TReteNetwork> Rete;
  TPtr<TRules> Rules;
  TPtr<TFactsPending> FactsPending;
};

template <class T>
using TOwnedPtr = std::unique_ptr<T>;
template <class T>
using TBorrowedPtr = T*;

using TModuleCollections = TModuleCollectionsOf<TOwnedPtr>;

// Calls Fn with each collection's kind and that collection of every one of
// Collections, in the order the collections are made and freed in.
template <class F, class... TCollections>
void ForEachCollection(F&& Fn, TCollections&... Collections) {
  Fn(otAgenda, Collections.Agenda...);
  Fn(otDefinedTypes, Collections.DefinedTypes...);
  Fn(otFacts, Collections.Facts...);
  Fn(otFactSets, Collections.FactSets...);
  Fn(otFactTemplates, Collections.FactTemplates...);
  Fn(otReteNetwork, Collections.Rete...);
  Fn(otRules, Collections.Rules...);
  Fn(otFactsPending, Collections.FactsPending...);
}

// What the engine keeps of its current module: its collections, the
// pattern of its initial fact and its null fact. None of it is the engine's.
struct TModuleCache : TModuleCollectionsOf<TBorrowedPtr> {
  TModuleCache() : TModuleCollectionsOf<TBorrowedPtr>{} {}
  TKBPattern* InitialFactPattern = nullptr;
  IFact NullFact;
};

// One export or import declaration of a module. An export declaration has
// no module name; an import names the exporting module. Each kind of
// construct is shared not at all, wholly, or by the names in its list; the
// lists decide the share as they change.
class TModuleImportExport : public TPersistent, public ICloneable {
public:
  TModuleImportExport(TModule* AOwnerModule, std::string AModuleName);

  TSharedConstructs GetDefinedTypesShared() const noexcept { return FDefinedTypesShared; }
  // mkbNone and mkbAll empty the name list.
  void SetDefinedTypesShared(TSharedConstructs Value);
  TStrings& GetDefinedTypes() noexcept { return FDefinedTypes; }
  const TStrings& GetDefinedTypes() const noexcept { return FDefinedTypes; }
  void SetDefinedTypes(TStrings* Value);
  TSharedConstructs GetFactTemplatesShared() const noexcept { return FFactTemplatesShared; }
  void SetFactTemplatesShared(TSharedConstructs Value);
  TStrings& GetFactTemplates() noexcept { return FFactTemplates; }
  const TStrings& GetFactTemplates() const noexcept { return FFactTemplates; }
  void SetFactTemplates(TStrings* Value);

  // The exporter's name; empty in an export declaration.
  const std::string& GetModule() const noexcept { return FModule; }
  TModule* GetOwnerModule() const noexcept { return FOwnerModule; }
  // The exporter among the engine's modules; nil without owner, engine or
  // module of that name.
  IModule GetImportModule() const;
  // Enters what the exporter shares with this declaration into the owner's
  // tables: types, templates, then the exporter's facts of the imported
  // templates, which run through the owner's network. Only constructs at home
  // in the exporter pass, so nothing is passed on.
  virtual void ImportConstructs();
  // The imported constructs no longer count the owner among their modules.
  virtual void Release();

  void Assign(const IInterface& Source) override;
  using TPersistent::Assign;
  IInterface CloneInterface() const override;
  bool Equals(const IInterface& Other) const override { return Other.get() == this; }
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TModuleImportExport() override = default;

private:
  // The change event of both lists.
  void ImportsExportsChanged(TObject* Sender);

  TSharedConstructs FDefinedTypesShared = mkbNone;
  TSharedConstructs FFactTemplatesShared = mkbNone;
  TStringList<> FDefinedTypes;
  TStringList<> FFactTemplates;
  std::string FModule;
  TModule* FOwnerModule;
  std::intptr_t FTag = 0;
};

class TModule : public TPersistent, public ICloneable {
public:
  // AEngine is the knowledge base; the module hears of its destruction.
  TModule(TComponent* AEngine, bool AIsMain);

  // Makes the collections, the null fact and the initial-fact pattern.
  virtual void Initialize();
  // Makes this module the engine's current one: the engine's cached
  // collections become this module's. Raises no event.
  virtual void FocusModule();
  // Makes a new null fact and, when the module holds the initial-fact
  // template, a new pattern for it; focuses the module.
  void RenewInitialFact(bool HoldsInitialFact);
  // Empties the module but for its declarations.
  void Prepare();
  // Frees the collections; the declarations stay.
  void Release();

  bool IsMain() const noexcept { return FIsMain; }
  const std::string& GetName() const noexcept { return FName; }
  void SetName(const std::string& Value);
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  TComponent* GetEngine() const noexcept { return FEngine; }

  IModuleExport GetExportItems() const { return FExportItems; }
  int GetImportModuleCount() const noexcept { return static_cast<int>(FImportModules.size()); }
  IModuleImport GetImportModule(int Index) const;
  void AddImport(const IModuleImport& Import);
  // A new declaration for that exporter, not yet entered.
  IModuleImport AddImport(const std::string& Name);
  void ClearImports();
  void DeleteImport(int Index);
  int RemoveImport(const IModuleImport& Import);
  int RemoveImport(const std::string& Name);
  int IndexOfImport(const IModuleImport& Import) const;
  int IndexOfImport(const std::string& Name) const;

  TKBAgenda* GetAgenda() const noexcept { return FCollections.Agenda.get(); }
  TKBDefinedTypes* GetDefinedTypes() const noexcept { return FCollections.DefinedTypes.get(); }
  TFacts* GetFacts() const noexcept { return FCollections.Facts.get(); }
  TFactSets* GetFactSets() const noexcept { return FCollections.FactSets.get(); }
  TFactTemplates* GetFactTemplates() const noexcept { return FCollections.FactTemplates.get(); }
  TReteNetwork* GetRete() const noexcept { return FCollections.Rete.get(); }
  TRules* GetRules() const noexcept { return FCollections.Rules.get(); }
  TFactsPending* GetFactsPending() const noexcept { return FCollections.FactsPending.get(); }
  // The collections as the engine caches them for its current module.
  TModuleCache GetCache() const;
  IFact GetNullFact() const;
  TKBPattern* GetInitialFactPattern() const noexcept { return FInitialFactPattern.get(); }

  // Copies the definition and the tag; the knowledge stays this module's.
  void Assign(const IInterface& Source) override;
  using TPersistent::Assign;
  // Copies name, comment and declarations, not the knowledge.
  virtual void AssignModuleDefinition(const IModule& Source);
  // Lets each import declaration take effect, in order.
  virtual void ImportConstructs();
  // A module gets no clone: its copy is made by Assign on a new module.
  IInterface CloneInterface() const override { return nullptr; }
  bool Equals(const IInterface& Other) const override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  virtual void Notification(TComponent* AComponent, TOperation Operation);

  // The "(defmodule ...)" text of the declarations.
  std::string ToString() const override;
  // The module as rule text: its declarations, then its constructs and
  // facts, with a comment head for each part when Comments. With All what it
  // imports too, else only its own. Empty before the module has collections.
  std::string GetExpertSystem(bool Comments, bool All) const;

protected:
  ~TModule() override;

private:
  void FreeCollections();

  std::string FName;
  std::string FComment;
  bool FIsMain;
  std::vector<IModuleImport> FImportModules;
  IModuleExport FExportItems;
  std::unique_ptr<TComponentNexus> FNexus;
  std::intptr_t FTag = 0;
  TModuleCollections FCollections;
  IFact FNullFact;
  TComponent* FEngine;
  // Owned unless its template is imported: then the home module's.
  std::unique_ptr<TKBPattern> FInitialFactPattern;

  friend class TInferenceEngine;
};

// ---------------------------------------------------------------- modules

// All modules of an engine, or its focus stack; index 0 is the main module
// (of the stack: the top). As the engine's module list, list operations are
// engine operations: adding a module adds it to the engine, removing removes it.
class TModules : public TInterfaceListPersistent<TModule> {
public:
  explicit TModules(IKnowledgeBase* AEngine) : FEngine(AEngine) {}

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  bool GetEnforceImportOrder() const noexcept { return FEnforceImportOrder; }
  void SetEnforceImportOrder(bool Value) noexcept { FEnforceImportOrder = Value; }

  int Add(const IModule& Module);
  void Insert(int Index, const IModule& Module);
  void Delete(int Index);
  int Remove(const IModule& Module);
  void Clear() override;
  // Raises _SNoSuchModule for an unknown name.
  IModule GetModule(const std::string& Name) const;
  using TInterfaceListPersistent<TModule>::IndexOf;
  int IndexOf(const std::string& Name) const;
  std::string ToString() const override;
  std::string ToNamesString(const std::string& Separator) const;

protected:
  ~TModules() override = default;
  void Notify(const IModule& Item, TListNotification Action) override;

private:
  friend class TInferenceEngine;
  // True when this is the engine's module list, not the focus stack.
  bool IsEngineList() const noexcept;
  // List work that the engine itself does.
  int ListAdd(const IModule& Module) { return TInterfaceListPersistent<TModule>::Add(Module); }
  void ListInsert(int Index, const IModule& Module) { TInterfaceListPersistent<TModule>::Insert(Index, Module); }
  void ListDelete(int Index) { TInterfaceListPersistent<TModule>::Delete(Index); }

  IKnowledgeBase* FEngine;
  bool FEnforceImportOrder = false;
};

// The name of the module that every engine has.
inline constexpr std::string_view MainModuleName = "MAIN";

// Focuses the module of that name (the main module for none) unless it is
// current; returns the module that was current, for a TFocusBack, or nil when
// nothing moved. An unknown name raises when MustExist, else nothing moves.
IModule FocusModuleNamed(IKnowledgeBase& Engine, const std::string& Name, bool MustExist);

// Focuses the remembered module back when the scope ends, however it ends. A
// module that was released meanwhile is left alone.
class TFocusBack {
public:
  explicit TFocusBack(IModule ARemembered = nullptr) noexcept
      : FModule(std::move(ARemembered)) {}
  // Focuses Target for the scope when it isn't Current, and Current back after.
  TFocusBack(const IModule& Current, const IModule& Target);
  TFocusBack(const TFocusBack&) = delete;
  TFocusBack& operator=(const TFocusBack&) = delete;
  ~TFocusBack() noexcept(false);
  void Remember(IModule Value) noexcept { FModule = std::move(Value); }

private:
  IModule FModule;
  int FExceptions = std::uncaught_exceptions();
};

}  // namespace cogent
