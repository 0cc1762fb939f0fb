// The engine's side of the agenda: activations that the network makes enter
// the agenda of the current module, and leave it when their match goes or
// their rule fires.

#include "cogent/engine/InferenceEngine.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

void TInferenceEngine::AddActivation(TActivation* Activation) {
  if (!Activation) return;
  if (!FCache.Agenda) {
    delete Activation;
    return;
  }
  // The agenda owns the activation before anything can go wrong.
  const int Index = FCache.Agenda->Add(Activation);
  if (FWatch.Contains(cwActivation) && OnPrintOut)
    PrintOut("", "==> Activation: " + Activation->ToString() + sLineBreak);
  if (OnAddActivation) OnAddActivation(this, Index, Activation);
  const auto* Rule = dynamic_cast<const TRule*>(Activation->GetRule());
  if (Rule && Rule->GetAutoFocus() && FFocusStack && FFocusStack->GetCount() > 0) PushFocus(FCurrentModule);
}

void TInferenceEngine::RemoveActivation(int Index) {
  if (!FCache.Agenda) return;
  RemoveActivation(FCache.Agenda->GetActivation(Index), Index);
}

void TInferenceEngine::RemoveActivation(TActivation* Activation, int Index) {
  if (OnRemoveActivation) OnRemoveActivation(this, Index, Activation);
  if (FWatch.Contains(cwActivation) && OnPrintOut) {
    const IReteRule* Rule = Activation->GetRule();
    const IReteToken& Token = Activation->GetToken();
    PrintOut("", "<== Activation: " + (Rule ? Rule->GetRuleName() : std::string()) + " : " +
                     (Token ? Token->GetToFactsString() : std::string()) + sLineBreak);
  }
  // The activation that fires is the run loop's to free.
  FCache.Agenda->Extract(Activation);
  if (Activation != FCurrentAgendaItem) delete Activation;
}

void TInferenceEngine::RemoveActivation(TActivation* Activation) {
  if (!Activation) return;
  const TPatternMatchTerminalNode* Node = Activation->GetNode();
  const TReteNetwork* Rete = Node ? Node->GetRete() : nullptr;
  // The activation may belong to another module's agenda.
  const TFocusBack Back(FCurrentModule, Rete && Rete != FCache.Rete ? IModule(Rete->GetModule()) : IModule());
  if (!FCache.Agenda || !FCache.Agenda->Contains(Activation)) return;
  // Only the event needs the place on the agenda, and finding it costs a walk.
  RemoveActivation(Activation, OnRemoveActivation ? FCache.Agenda->IndexOfData(Activation) : -1);
}

void TInferenceEngine::RuleFired(TActivation* Activation) {
  if (!Activation) return;
  if (OnRuleFired) OnRuleFired(this, dynamic_cast<TRule*>(Activation->GetRule()));
  RemoveActivation(Activation);
}

TActivation* TInferenceEngine::GetActivation(int Index) const {
  if (!FCache.Agenda) throw EListError(Format(SListIndexError, Index));
  return FCache.Agenda->GetActivation(Index);
}

}  // namespace cogent
