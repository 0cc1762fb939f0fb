#pragma once
// The agenda of a module. Activations, their order by salience and strategy,
// and the agenda's events come with the run loop; for now it is an empty list
// bound to its engine and module.

#include "cogent/facts/KBModule.h"

namespace cogent {

class IKnowledgeBase;
class TActivation;

class TKBAgenda : public TPersistent {
public:
  TKBAgenda(IKnowledgeBase* AEngine, TModule* AModule) : FEngine(AEngine), FModule(AModule) {}

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }
  int GetCount() const noexcept { return 0; }

private:
  IKnowledgeBase* FEngine;
  TModule* FModule;
};

}  // namespace cogent
