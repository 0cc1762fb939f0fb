// The engine's side of the agenda: activations that the network makes enter
// the agenda of the current module in order of salience, and leave it when
// their match goes or their rule fires.

#include <memory>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"
#include "cogent/rules/KBRule.h"

namespace cogent {

namespace {
std::int32_t SalienceOf(const TActivation* Activation) noexcept {
  const IReteRule* Rule = Activation ? Activation->GetRule() : nullptr;
  return Rule ? Rule->GetSalience() : 0;
}
}  // namespace

void TInferenceEngine::AddActivation(TActivation* Activation) {
  if (!Activation) return;
  if (!FCache.Agenda) {
    delete Activation;
    return;
  }
  IReteRule* Rule = Activation->GetRule();
  // The place depends on the salience as it is now.
  if (Rule) {
    try {
      Rule->EvaluateSalience();
    } catch (...) {
      delete Activation;
      throw;
    }
  }
  const int Index = FCache.Agenda->Add(Activation);
  if (FWatch.Contains(cwActivation) && OnPrintOut)
    PrintOut("", "==> Activation: " + Activation->ToString() + sLineBreak);
  if (OnAddActivation) OnAddActivation(this, Index, Activation);
  if (Rule && Rule->GetAutoFocus() && FFocusStack && FFocusStack->GetCount() > 0) PushFocus(FCurrentModule);
}

int TInferenceEngine::SearchSalience(std::int32_t Salience) {
  const int Count = FCache.Agenda ? FCache.Agenda->GetCount() : 0;
  if (Count == 0) return -1;
  // Each end is read only when the strategy asks for it: most newcomers
  // are placed by the first end they ask.
  const auto First = [this] { return SalienceOf(FCache.Agenda->GetActivations(0)); };
  const auto Last = [this, Count] { return SalienceOf(FCache.Agenda->GetActivations(Count - 1)); };
  switch (FStrategy) {
    case ssDepthFirst:
      if (Salience >= First()) return 0;
      if (Salience < Last()) return -1;
      break;
    case ssBreadthFirst:
      if (Salience <= Last()) return -1;
      if (Salience > First()) return 0;
      break;
    default:
      return -1;
  }
  // Inside the list an equal salience stands in front of the first entry of
  // its group that the bisection meets: neither strategy reaches in there.
  int Lo = 0;
  int Hi = Count - 1;
  while (Lo <= Hi) {
    const int Mid = (Lo + Hi) / 2;
    const std::int32_t S = SalienceOf(FCache.Agenda->GetActivations(Mid));
    if (Salience > S)
      Hi = Mid - 1;
    else if (Salience < S)
      Lo = Mid + 1;
    else
      return Mid;
  }
  return Hi + 1;
}

void TInferenceEngine::RemoveActivation(int Index) {
  if (!FCache.Agenda) return;
  TActivation* Activation = FCache.Agenda->GetActivations(Index);
  if (OnRemoveActivation) OnRemoveActivation(this, Index, Activation);
  if (FWatch.Contains(cwActivation) && OnPrintOut) {
    const IReteRule* Rule = Activation ? Activation->GetRule() : nullptr;
    const IReteToken* Token = Activation ? &Activation->GetToken() : nullptr;
    PrintOut("", "<== Activation: " + (Rule ? Rule->GetRuleName() : std::string()) + " : " +
                     (Token && *Token ? (*Token)->GetToFactsString() : std::string()) + sLineBreak);
  }
  // The activation that fires is the run loop's to free.
  if (Activation && Activation == FCurrentAgendaItem)
    FCache.Agenda->Extract(Index);
  else
    FCache.Agenda->Delete(Index);
}

void TInferenceEngine::RemoveActivation(TActivation* Activation) {
  if (!Activation) return;
  const auto Remove = [this, Activation] {
    if (!FCache.Agenda) return;
    const int Index = FCache.Agenda->IndexOfData(Activation);
    if (Index >= 0) RemoveActivation(Index);
  };
  const TPatternMatchTerminalNode* Node = Activation->GetNode();
  const TReteNetwork* Rete = Node ? Node->GetRete() : nullptr;
  if (!Rete || Rete == FCache.Rete) {
    Remove();
    return;
  }
  // The activation may stand on another module's agenda.
  const TFocusBack Back(FCurrentModule, IModule(Rete->GetModule()));
  Remove();
}

void TInferenceEngine::RuleFired(TActivation* Activation) {
  if (!Activation) return;
  if (OnRuleFired) OnRuleFired(this, dynamic_cast<TRule*>(Activation->GetRule()));
  RemoveActivation(Activation);
}

TActivation* TInferenceEngine::GetActivation(int Index) const {
  if (!FCache.Agenda) throw EListError(Format(SListIndexError, Index));
  return FCache.Agenda->GetActivations(Index);
}

void TInferenceEngine::SetActivation(int Index, TActivation* Value) {
  if (!FCache.Agenda) throw EListError(Format(SListIndexError, Index));
  FCache.Agenda->SetActivations(Index, Value);
}

void TInferenceEngine::SetStrategy(TSearchStrategy Value) {
  if (Value == FStrategy) return;
  FStrategy = Value;
  if (FCache.Agenda) SetAgenda(FCache.Agenda);
}

void TInferenceEngine::RebuildThrough(TKBAgenda& Copy) {
  // The copy takes the entries over and frees them when it goes or is
  // assigned again; the agenda lets them go unfreed while it is rebuilt from
  // their clones.
  TKBAgenda* Agenda = FCache.Agenda;
  const bool FreeData = Agenda->GetFreeData();
  const TFinally Restore([Agenda, FreeData] { Agenda->SetFreeData(FreeData); });
  Agenda->SetFreeData(false);
  Copy.Assign(Agenda);
  SetAgenda(&Copy);
}

void TInferenceEngine::SetAgenda(TKBAgenda* Value) {
  if (!FCache.Agenda || !Value) return;
  if (Value == FCache.Agenda) {
    // Rebuilding from itself goes through a copy that appends only.
    TKBAgenda Temporary(nullptr, nullptr);
    RebuildThrough(Temporary);
    return;
  }
  const std::vector<TActivation*> Entries = Value->ToArray();
  FCache.Agenda->Clear();
  for (TActivation* Entry : Entries) {
    if (!Entry) continue;
    std::unique_ptr<TActivation> Clone = Entry->Clone();
    // The node stands the clone down where it would have stood the original.
    if (TPatternMatchTerminalNode* Node = Clone->GetNode()) Node->Relist(Entry, Clone.get());
    AddActivation(Clone.release());
  }
}

}  // namespace cogent
