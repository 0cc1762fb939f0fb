// The door of working memory: every fact that enters or leaves a module goes
// through Assert and RetractFact, which number it, refuse duplicates, keep
// the fact lists and their caches in step, send one token per module through
// the network, trace the change and raise the events.

#include <algorithm>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {
// Sets a fact list's updating flag for the engine's own list work.
class TUpdatingGuard {
public:
  explicit TUpdatingGuard(TFacts* AFacts) : FFacts(AFacts) { FFacts->SetUpdating(true); }
  ~TUpdatingGuard() { FFacts->SetUpdating(false); }
  TUpdatingGuard(const TUpdatingGuard&) = delete;
  TUpdatingGuard& operator=(const TUpdatingGuard&) = delete;

private:
  TFacts* FFacts;
};
}  // namespace

std::int32_t TInferenceEngine::Assert(const IFact& Fact, bool Unconditional) {
  // The fact holds its template while it is asserted: no count of our own.
  const TFactTemplate* const Template = Fact ? Fact->GetTemplateRef().get() : nullptr;
  if (!Template) throw EKBException(_SNoTemplate);

  if (Template->IsFuzzy()) {
    // A fuzzy fact is never refused: it takes over an equal fact's values.
    // What a firing rule asserts holds only as strongly as the rule matched.
    if (FCurrentAgendaItem) FuzzyCorrelation(Fact, FCurrentAgendaItem->GetStrength());
    const int Existing = FCache.Facts->FindFact(Fact);
    if (Existing >= 0) {
      FuzzyOperation(Fact, FCache.Facts->Get(Existing), !Unconditional);
      RetractFact(Existing);
    }
  } else if (!FFactDuplication && FCache.Facts->FindFact(Fact) >= 0) {
    return -1;
  }

  const std::int32_t Id = NewFactId();
  Fact->SetID(Id);
  // The engine owns its modules: the current one is remembered by address,
  // and focus comes back to it only when the fact went to other modules.
  const TModule* const Home = FCurrentModule.get();
  AddFactToModule(Fact, nullptr);
  // A shared template puts the fact into every module that holds it.
  if (Template->GetImportModuleCount() > 1) {
    TFocusBack Focus;
    for (int I = 0; I < Template->GetImportModuleCount(); ++I) {
      const IModule Module = Template->GetImportModule(I);
      if (Module.get() == Home) continue;
      Focus.Remember(IModule(const_cast<TModule*>(Home)));
      AddFactToModule(Fact, Module);
    }
  }
  if (FWatch.Contains(cwFact) && OnPrintOut) PrintOut("", " ==> " + Fact->GetToIDString() + sLineBreak);
  ProcessPendingFacts();
  if (OnAssertion) OnAssertion(this, Fact);
  return Id;
}

std::int32_t TInferenceEngine::Assert(const IFact& Fact, TFuzzyInferenceMethod FuzzyInference, bool Unconditional) {
  if (FuzzyInference == FFuzzyInferenceMethod) return Assert(Fact, Unconditional);
  const TFinally Restore([this, Saved = FFuzzyInferenceMethod] { FFuzzyInferenceMethod = Saved; });
  FFuzzyInferenceMethod = FuzzyInference;
  return Assert(Fact, Unconditional);
}

void TInferenceEngine::AddFactToModule(const IFact& Fact, const IModule& Module) {
  if (Module) Module->FocusModule();
  FCache.Facts->Append(Fact);
  // The fact is in the list before the network sees it.
  if (FCache.Rete) FCache.Rete->ProcessFact(Fact, taAdd);
}

void TInferenceEngine::RetractFact(int Index) {
  const IFact Fact = FCache.Facts->Get(Index);
  if (OnRetraction) OnRetraction(this, Fact);
  {
    const IModule Home = FCurrentModule;
    TFocusBack Focus;
    RemoveFactFromModule(Index, Fact, nullptr);
    if (const IFactTemplate Template = Fact->GetTemplate(); Template && Template->GetImportModuleCount() > 1) {
      for (int I = 0; I < Template->GetImportModuleCount(); ++I) {
        const IModule Module = Template->GetImportModule(I);
        if (Module == Home) continue;
        Focus.Remember(Home);
        RemoveFactFromModule(-1, Fact, Module);
      }
    }
  }
  if (FWatch.Contains(cwFact) && OnPrintOut) PrintOut("", " <== " + Fact->GetToIDString() + sLineBreak);
  ProcessPendingFacts();
}

void TInferenceEngine::RemoveFactFromModule(int Index, const IFact& Fact, const IModule& Module) {
  if (Module) Module->FocusModule();
  // The network sees the retraction before the fact leaves the list.
  if (FCache.Rete) FCache.Rete->ProcessFact(Fact, taRemove);
  TUpdatingGuard Updating(FCache.Facts);
  if (Index == -1)
    FCache.Facts->Remove(IInterface(Fact));
  else
    FCache.Facts->Delete(Index);
}

void TInferenceEngine::RetractFact(const IFact& Fact) { RetractFact(FCache.Facts->IndexOf(Fact)); }

void TInferenceEngine::Retract(std::int32_t FactId) {
  const int Index = FCache.Facts->FindFact(FactId);
  if (Index >= 0) RetractFact(Index);
}

void TInferenceEngine::Retract(const IFact& Fact) {
  const int Index = FCache.Facts->FindFact(Fact);
  if (Index >= 0) RetractFact(Index);
}

IFact TInferenceEngine::ReadFact(const std::string& Text) {
  const IFact Fact = ParseFact(Text);
  return GetGlobalContext() && Fact ? GetGlobalContext()->Resolve(Fact) : Fact;
}

std::int32_t TInferenceEngine::Assert(const std::string& Fact) { return Assert(ReadFact(Fact), false); }

void TInferenceEngine::Retract(const std::string& Fact) { Retract(ReadFact(Fact)); }

void TInferenceEngine::RetractFacts() {
  if (FCache.Rete) FCache.Rete->ProcessToken(IReteToken(new TKBToken(taClear, nullptr)));
  if (OnClearFacts) OnClearFacts(this);
}

int TInferenceEngine::GetFactCount() const noexcept { return FCache.Facts ? FCache.Facts->GetCount() : 0; }

IFact TInferenceEngine::GetFact(int Index) const {
  if (!FCache.Facts) throw EListError(Format(SListIndexError, Index));
  return FCache.Facts->Get(Index);
}

void TInferenceEngine::AddPendingFact(const IFact& Fact, bool Assert) {
  FCache.FactsPending->AddObject(Assert ? "+" : "-", nullptr, IInterface(Fact));
}

void TInferenceEngine::ProcessPendingFacts() {
  // First in, first out; what the assertions queue is served in the same loop.
  while (FCache.FactsPending && FCache.FactsPending->GetCount() > 0) {
    const IFact Fact = FCache.FactsPending->GetData(0).As<TFact>();
    const std::string Kind = FCache.FactsPending->Get(0);
    FCache.FactsPending->Delete(0);
    if (Kind.empty() || !Fact) continue;
    if (Kind[0] == '+')
      Assert(Fact, false);
    else if (Kind[0] == '-')
      Retract(Fact);
  }
}

IFact TInferenceEngine::GetFactPending(int Index) const { return FCache.FactsPending->GetData(Index).As<TFact>(); }

void TInferenceEngine::BeginFactModify(const IFact& Fact) { Retract(Fact); }

std::int32_t TInferenceEngine::EndFactModify(const IFact& Fact) { return Assert(Fact, false); }

std::unique_ptr<TFacts> TInferenceEngine::GetFacts(bool Duplicates) const {
  auto Result = std::make_unique<TFacts>(nullptr, nullptr);
  for (const IModule& Module : *FModules) {
    if (!Module || !Module->GetFacts()) continue;
    for (const IFact& Fact : *Module->GetFacts()) {
      if (!Duplicates) {
        const auto& Items = Result->Items();
        if (std::find(Items.rbegin(), Items.rend(), Fact) != Items.rend()) continue;
      }
      Result->Add(Fact);
    }
  }
  return Result;
}

// The printer of the engine's parser takes over here once the parser exists.
std::string TInferenceEngine::PrettyPrint(const IFact& Fact) const { return cogent::PrettyPrint(Fact); }

std::string TInferenceEngine::PrettyPrint(const TFact& Fact) const { return cogent::PrettyPrint(Fact); }

std::string TInferenceEngine::PrettyPrint(const IFunCall& FunCall) const { return cogent::PrettyPrint(FunCall); }

std::string TInferenceEngine::PrettyPrint(const IFactTemplate& Template) const {
  return Template ? cogent::PrettyPrint(*Template, GetPrintModuleQualifiers()) : std::string();
}

std::string TInferenceEngine::PrettyPrint(const TKBDefinedType& DefinedType) const {
  return cogent::PrettyPrint(DefinedType, GetPrintModuleQualifiers());
}

}  // namespace cogent
