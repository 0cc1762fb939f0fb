#pragma once
// The compiled network of a module's rules. Compilation and propagation come
// with matching; a network that holds no rules lets every token pass unseen.

#include "cogent/facts/KBModule.h"
#include "cogent/matching/KBToken.h"

namespace cogent {

class IKnowledgeBase;

class TReteNetwork : public TComponent {
public:
  TReteNetwork(IKnowledgeBase* AEngine, TModule* AModule) : TComponent(nullptr), FEngine(AEngine), FModule(AModule) {}
  ~TReteNetwork() override { Destroying(); }

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }
  // Sends a token through the network; with no rules nothing takes notice.
  void ProcessToken(const IReteToken& Token) { (void)Token; }

private:
  IKnowledgeBase* FEngine;
  TModule* FModule;
};

}  // namespace cogent
