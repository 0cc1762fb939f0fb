// The recognise-act cycle: the top activation of the focused module fires,
// and modules take turns through the focus stack until every agenda on it is
// used up, a step limit is reached or the engine is halted.

#include <chrono>
#include <ctime>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

namespace cogent {

namespace {

constexpr const char* SNestedRun = "Cannot run the engine from inside a rule action";

// The local time of day as a fraction of a day.
double TimeOfDay() {
  const auto Now = std::chrono::system_clock::now();
  const std::time_t Seconds = std::chrono::system_clock::to_time_t(Now);
  std::tm Local{};
  localtime_r(&Seconds, &Local);
  const double Fraction =
      std::chrono::duration<double>(Now - std::chrono::system_clock::from_time_t(Seconds)).count();
  return (Local.tm_hour * 3600.0 + Local.tm_min * 60.0 + Local.tm_sec + Fraction) / 86400.0;
}

// Holds the engine's lock for a scope. A plain guard: letting go never
// raises, so it needs no watch on exceptions in flight.
class TRunLock {
public:
  explicit TRunLock(TInferenceEngine& AEngine) : FEngine(AEngine) { FEngine.Lock(); }
  TRunLock(const TRunLock&) = delete;
  TRunLock& operator=(const TRunLock&) = delete;
  ~TRunLock() { FEngine.Unlock(); }

private:
  TInferenceEngine& FEngine;
};

}  // namespace

// ---------------------------------------------------------------- run

std::int32_t TInferenceEngine::Run(std::int32_t MaxNumber) {
  // A rule action that runs the engine would fire its own activation again,
  // which still stands at the top of the agenda.
  if (FCurrentAgendaItem) throw EKBException(SNestedRun);
  BeginInference();
  const IModule Top = PeekFocus();
  if (Top && Top != FCurrentModule) SetCurrentModule(Top);
  {
    // The rebuilds under sEveryTime share one agenda across the firings.
    std::unique_ptr<TKBAgenda> Temporary;
    while (!FHalt && PeekFocus() && FStatNumRulesFired < MaxNumber) {
      FireAgenda(MaxNumber, Temporary);
      if (GetAgendaCount() == 0) PopFocus();
    }
  }
  const std::int32_t Result = FStatNumRulesFired;
  EndInference();
  return Result;
}

void TInferenceEngine::FireAgenda(std::int32_t MaxNumber, std::unique_ptr<TKBAgenda>& Temporary) {
  // The agenda and the focus are read in place, without a count taken on
  // the module: this runs once a firing.
  const auto Waiting = [this] { return FCache.Agenda && FCache.Agenda->GetCount() > 0; };
  while (Waiting() && !FHalt && FStatNumRulesFired < MaxNumber) {
    const TRunLock Held(*this);
    if (Waiting()) FireTop();
    if (FEvalSalience == sEveryTime) RebuildAgenda(Temporary);
    // A copy of the new top: changing the module may change the stack.
    if (FFocusStack && FFocusStack->GetCount() > 0 && FFocusStack->GetRef(0) != FCurrentModule)
      SetCurrentModule(IModule(FFocusStack->GetRef(0)));
  }
}

void TInferenceEngine::FireTop() {
  // The activation stays on the agenda while its rule runs; the firing takes
  // it off without freeing it, and it is freed here however the rule ends.
  FCurrentAgendaItem = FCache.Agenda->GetActivations(0);
  // A rule that raised leaves its activation listed: it stands down like
  // any other, while still the current item, so that the agenda gives it
  // up without freeing it.
  const auto Free = [this] {
    if (TPatternMatchTerminalNode* Node = FCurrentAgendaItem->GetNode()) Node->Deactivate(FCurrentAgendaItem);
    delete FCurrentAgendaItem;
    FCurrentAgendaItem = nullptr;
  };
  RunThenClose(
      [this] {
        if (FWatch.Contains(cwRule) && OnPrintOut) {
          const IReteRule* Rule = FCurrentAgendaItem->GetRule();
          const IReteToken& Token = FCurrentAgendaItem->GetToken();
          PrintOut("", "FIRE " + std::to_string(FStatNumRulesFired) + " " +
                           (Rule ? Rule->GetRuleName() : std::string()) + " " +
                           (Token ? Token->GetToFactsString() : std::string()) + sLineBreak);
        }
        FCurrentAgendaItem->Fire();
        if (FWatch.Contains(cwStatistics)) {
          const std::int32_t Facts = GetFactCount();
          const std::int32_t Activations = GetAgendaCount();
          FStatMeanFacts = static_cast<float>(static_cast<double>(FStatMeanFacts) + Facts);
          FStatMeanActivations = static_cast<float>(static_cast<double>(FStatMeanActivations) + Activations);
          if (Facts > FStatMaxFacts) FStatMaxFacts = Facts;
          if (Activations > FStatMaxActivations) FStatMaxActivations = Activations;
        }
      },
      Free);
  ++FStatNumRulesFired;
}

void TInferenceEngine::RebuildAgenda(std::unique_ptr<TKBAgenda>& Temporary) {
  if (!FCache.Agenda) return;
  // The copy holds the originals until the next rebuild or the end of the
  // run, and frees them; the agenda gets their clones.
  if (!Temporary) Temporary = std::make_unique<TKBAgenda>(nullptr, nullptr);
  RebuildThrough(*Temporary);
}

void TInferenceEngine::BeginInference() {
  if (OnStartInference) OnStartInference(this);
  FStatRunTime = TimeOfDay();
  FRunStarted = std::chrono::steady_clock::now();
  FStatNumRulesFired = 0;
  FStatMaxFacts = GetFactCount();
  FStatMeanFacts = 0;
  FStatMaxActivations = GetAgendaCount();
  FStatMeanActivations = 0;
  FHalt = false;
  FIsRunning = true;
  // An empty stack at the start of a run means the main module.
  if (!PeekFocus()) PushFocus(FModules->Get(0));
}

void TInferenceEngine::EndInference() {
  FIsRunning = false;
  if (FWatch.Contains(cwStatistics)) {
    FStatRunTime = std::chrono::duration<double>(std::chrono::steady_clock::now() - FRunStarted).count();
    if (FStatRunTime < 0) FStatRunTime = 0;
    if (FStatNumRulesFired > 0) {
      FStatMeanFacts /= static_cast<float>(FStatNumRulesFired);
      FStatMeanActivations /= static_cast<float>(FStatNumRulesFired);
    }
    if (FStatNumRulesFired >= 1 && OnPrintOut) {
      const std::string Fired = std::to_string(FStatNumRulesFired);
      PrintOut("", Fired + " rules fired.     Run time is " + Format("%.4f", FStatRunTime) + " seconds" + sLineBreak);
      PrintOut("", (FStatRunTime == 0 ? Fired : Format("%.4f", FStatNumRulesFired / FStatRunTime)) +
                       " rules per second" + sLineBreak);
      PrintOut("", Format("%.4f", static_cast<double>(FStatMeanFacts)) + " mean number of facts (" +
                       std::to_string(FStatMaxFacts) + " maximum)" + sLineBreak);
      PrintOut("", Format("%.4f", static_cast<double>(FStatMeanActivations)) + " mean number of activations (" +
                       std::to_string(FStatMaxActivations) + " maximum)" + sLineBreak);
    }
  }
  if (OnEndInference) OnEndInference(this, FStatNumRulesFired);
}

// ---------------------------------------------------------------- focus

void TInferenceEngine::PushFocus(const IModule& Module) {
  if (!Module || PeekFocus() == Module) return;
  FFocusStack->ListInsert(0, Module);
  if (FWatch.Contains(cwFocus) && OnPrintOut) {
    if (FFocusStack->GetCount() == 1)
      PrintOut("", "==> Focus " + Module->GetName() + sLineBreak);
    else
      PrintOut("", "==> Focus " + Module->GetName() + " from " + FFocusStack->GetRef(1)->GetName() + sLineBreak);
  }
  if (Module == FCurrentModule)
    DoChangeCurrentModule();
  else
    SetCurrentModule(Module);
  if (OnPushFocus) OnPushFocus(this, Module);
}

void TInferenceEngine::PushFocus(const std::string& ModuleName) { PushFocus(FModules->GetModule(ModuleName)); }

IModule TInferenceEngine::PeekFocus() const {
  return FFocusStack && FFocusStack->GetCount() > 0 ? FFocusStack->Get(0) : IModule();
}

IModule TInferenceEngine::PopFocus() {
  if (!FFocusStack || FFocusStack->GetCount() == 0) return nullptr;
  const IModule Result = FFocusStack->Get(0);
  FFocusStack->ListDelete(0);
  const IModule Top = PeekFocus();
  if (Top)
    SetCurrentModule(Top);
  else
    FHalt = true;
  if (FWatch.Contains(cwFocus) && OnPrintOut && Result) {
    if (Top)
      PrintOut("", "==> Focus " + Result->GetName() + " to " + Top->GetName() + sLineBreak);
    else
      PrintOut("", "<== Focus " + Result->GetName() + sLineBreak);
  }
  if (OnPopFocus) OnPopFocus(this, Result);
  return Result;
}

}  // namespace cogent
