#pragma once
// The base of the constructs that modules share (templates and defined
// types), below the modules so that defined types can derive from it. Its
// operations are in the module unit, where the module is complete.

#include <cstdint>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/host/Classes.h"

namespace cogent {

class TModule;

// It knows its home module and every module whose table
// holds it, the home among them. The modules own their tables, so these are
// back references: a table takes itself out of the list when it lets go of
// the construct, and the home is cleared when its table does.
class TModuleConstruct : public TPersistent, public ICloneable {
public:
  TModuleConstruct() = default;

  IModule GetModule() const;
  // The home without a counted reference, for code that runs while the
  // module is being destroyed.
  TModule* GetModuleObject() const noexcept { return FModule; }
  virtual void SetModule(TModule* Value) { FModule = Value; }
  int GetImportModuleCount() const noexcept { return static_cast<int>(FImportModules.size()); }
  IModule GetImportModule(int Index) const;
  void AddImportModule(TModule* Module);
  void RemoveImportModule(TModule* Module);
  int IndexOfImportModule(const TModule* Module) const;
  bool IsShared() const noexcept { return GetImportModuleCount() > 0; }

  void Assign(const IInterface&) override {}
  using TPersistent::Assign;
  IInterface CloneInterface() const override { return nullptr; }
  bool Equals(const IInterface& Other) const override { return Other.get() == this; }
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TModuleConstruct() override = default;

private:
  std::vector<TModule*> FImportModules;
  TModule* FModule = nullptr;
  std::intptr_t FTag = 0;
};

}  // namespace cogent
