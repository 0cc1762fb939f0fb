#pragma once
// Modules: partitions of the knowledge base, each with its own agenda,
// network, rules, facts, fact sets, templates and defined types.

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/common/VXNexus.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
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
template <class T>
class TStringList;
using TFactsPending = TStringList<IInterface>;

// One export or import declaration of a module. What it shares, and how an
// import takes effect, grows with module import and export.
class TModuleImportExport : public TPersistent, public TRefCounted {
public:
  TModuleImportExport(TModule* AModule, std::string AName) : FModule(AModule), FName(std::move(AName)) {}

  TModule* GetModule() const noexcept { return FModule; }
  const std::string& GetName() const noexcept { return FName; }
  void SetName(const std::string& Value) { FName = Value; }
  // Lets go of what the declaration imported.
  virtual void Release() {}

protected:
  ~TModuleImportExport() override = default;

private:
  TModule* FModule;
  std::string FName;
};

class TModule : public TPersistent, public TRefCounted, public ICloneable {
public:
  // AEngine is the TInferenceEngine; the module hears of its destruction.
  TModule(TComponent* AEngine, bool AIsMain);

  // Makes the collections, the null fact and the initial-fact pattern.
  virtual void Initialize();
  // Makes this module the engine's current one: the engine's cached
  // collections become this module's. Raises no event.
  virtual void FocusModule();
  // Takes the engine's cached collections into this module.
  void ImportEngine();
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
  IModuleImport AddImport(const std::string& Name);
  void ClearImports();
  void DeleteImport(int Index);
  int RemoveImport(const IModuleImport& Import);
  int RemoveImport(const std::string& Name);
  int IndexOfImport(const IModuleImport& Import) const;
  int IndexOfImport(const std::string& Name) const;

  TKBAgenda* GetAgenda() const noexcept { return FAgenda; }
  TKBDefinedTypes* GetDefinedTypes() const noexcept { return FDefinedTypes; }
  TFacts* GetFacts() const noexcept { return FFacts; }
  TFactSets* GetFactSets() const noexcept { return FFactSets; }
  TFactTemplates* GetFactTemplates() const noexcept { return FFactTemplates; }
  TReteNetwork* GetRete() const noexcept { return FRete; }
  TRules* GetRules() const noexcept { return FRules; }
  TFactsPending* GetFactsPending() const noexcept { return FFactsPending; }
  IFact GetNullFact() const;
  TKBPattern* GetInitialFactPattern() const noexcept { return FInitialFactPattern; }

  void Assign(const IInterface& Source) override;
  using TPersistent::Assign;
  // Copies name, comment and declarations.
  virtual void AssignModuleDefinition(const IModule& Source);
  // A module gets no clone: its copy is made by Assign on a new module.
  IInterface CloneInterface() const override { return nullptr; }
  bool Equals(const IInterface& Other) const override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  virtual void Notification(TComponent* AComponent, TOperation Operation);

protected:
  ~TModule() override;

private:
  void FreeCollections();

  std::string FName;
  std::string FComment;
  bool FIsMain;
  std::vector<IModuleImport> FImportModules;
  IModuleExport FExportItems;
  TComponentNexus* FNexus = nullptr;
  std::intptr_t FTag = 0;
  TKBAgenda* FAgenda = nullptr;
  TKBDefinedTypes* FDefinedTypes = nullptr;
  TFacts* FFacts = nullptr;
  TFactSets* FFactSets = nullptr;
  TFactTemplates* FFactTemplates = nullptr;
  TReteNetwork* FRete = nullptr;
  TRules* FRules = nullptr;
  TFactsPending* FFactsPending = nullptr;
  IFact FNullFact;
  TComponent* FEngine;
  TKBPattern* FInitialFactPattern = nullptr;

  friend class TInferenceEngine;
};

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
