// Fact sets: named lists of facts asserted at each reset. A set keeps each
// fact as text and as a parsed fact, so that it can outlive its engine and
// be parsed again in another.

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPrinter.h"

namespace cogent {

namespace {

bool IsLoading(const TComponent* Component) {
  return Component && Component->GetComponentState().Contains(csLoading);
}

bool IsDestroying(const TComponent* Component) {
  return Component && Component->GetComponentState().Contains(csDestroying);
}


}  // namespace

// ---------------------------------------------------------------- TFactSetFacts

int TFactSetFacts::IndexOfData(const IFact& Fact) const {
  if (!Fact) return -1;
  for (int I = 0; I < GetCount(); ++I)
    if (SameObject(GetData(I), Fact)) return I;
  return -1;
}

// ---------------------------------------------------------------- TFactSet

TFactSet::TFactSet(TComponent* AOwner) : TComponent(AOwner), FFacts(std::make_unique<TFactSetFacts>(this)) {}

TFactSet::TFactSet(TComponent* AOwner, const std::string& AModule, const TKBName& AName) : TFactSet(AOwner) {
  FModule = AModule;
  FFactSetName = AName;
}

TFactSet::~TFactSet() {
  Destroying();
  // Leave the engine's lists so that none keeps a dangling entry; taking an
  // entry out calls nothing on the engine, which may itself be on its way
  // out. An engine that is already gone has cleared FEngine.
  if (FEngine) {
    if (IKnowledgeBase* Old = Engine()) LeaveLists(Old);
    FEngine->RemoveFreeNotification(this);
    FEngine = nullptr;
  }
  FFacts.reset();
}

IKnowledgeBase* TFactSet::Engine() const noexcept { return KnowledgeBaseOf(FEngine); }

void TFactSet::LeaveLists(IKnowledgeBase* AEngine) {
  // Every module's list, not only the one of the set's module: the module
  // may have been renamed since the set entered it.
  const TModules* Modules = AEngine->GetModules();
  if (!Modules) return;
  for (int I = 0; I < Modules->GetCount(); ++I) {
    const IModule& Module = Modules->GetRef(I);
    if (!Module) continue;
    if (TFactSets* Sets = Module->GetFactSets()) Sets->Extract(this);
  }
}

void TFactSet::SetFactSetName(const TKBName& Value) { FFactSetName = Value; }

// ------------------------------------------------------------ lines and facts

void TFactSet::AddFact(const IFact& Fact) {
  if (!Fact) return;  // nothing to keep
  FFacts->AddObject(Fact->ToString(), nullptr, IInterface(Fact));
}

IFact TFactSet::GetFact(int Index) {
  IFact Fact = FFacts->GetFactData(Index);
  IKnowledgeBase* E = Engine();
  if (!Fact && E && !IsLoading(this) && !IsLoading(FEngine)) {
    const TFocusBack Back(FocusModule(false));
    Fact = E->ParseFact(FFacts->GetString(Index));
    if (Fact) FFacts->PutFactData(Index, Fact);
  }
  return Fact;
}

void TFactSet::SetFact(int Index, const IFact& Fact) {
  if (!Fact) {
    (void)FFacts->GetString(Index);  // still a list index error first
    return;
  }
  const std::string Text = Fact->ToString();
  FFacts->Put(Index, Text);
  FFacts->PutFactData(Index, Fact);
}

void TFactSet::Remove(const IFact& Fact) {
  const int Index = IndexOf(Fact);
  if (Index >= 0) FFacts->Delete(Index);
}

void TFactSet::ForgetParsedFacts() {
  for (int I = 0; I < FFacts->GetCount(); ++I)
    if (FFacts->GetData(I)) FFacts->PutData(I, nullptr);
}

void TFactSet::ParseLines() {
  // GetFact parses each line that lacks its fact.
  for (int I = 0; I < FFacts->GetCount(); ++I) (void)GetFact(I);
}

void TFactSet::SetFacts(const TStrings& Value) {
  if (&Value != FFacts.get()) FFacts->Assign(const_cast<TStrings*>(&Value));
  IKnowledgeBase* E = Engine();
  if (!E) return;
  ForgetParsedFacts();
  if (IsLoading(this) || IsLoading(FEngine)) return;
  const TFocusBack Back(FocusModule(true));
  ParseLines();
}

// ------------------------------------------------------------ module and engine

IModule TFactSet::FocusModule(bool Force) {
  IKnowledgeBase* E = Engine();
  return E ? FocusModuleNamed(*E, FModule, Force) : nullptr;
}

void TFactSet::SetModule(const std::string& Value) {
  if (Value == FModule) return;
  IKnowledgeBase* E = Engine();
  if (IsLoading(this) || !E) {
    FModule = Value;
    return;
  }
  if (!Value.empty() && Value != MainModuleName) (void)E->GetModules()->GetModule(Value);
  TComponent* Keep = FEngine;
  SetEngine(nullptr);
  FModule = Value;
  SetEngine(Keep);
}

void TFactSet::SetEngineNoParse(TComponent* Value) {
  // Never hold on to an engine that is on its way out.
  if (IsDestroying(Value)) Value = nullptr;
  if (Value == FEngine) return;
  TComponent* Old = FEngine;
  if (!IsLoading(this)) {
    // Nil while the set leaves, so that the list's departure notice finds
    // nothing left to take away.
    FEngine = nullptr;
    if (auto* OldEngine = KnowledgeBaseOf(Old)) LeaveLists(OldEngine);
  }
  if (Old) Old->RemoveFreeNotification(this);
  if (Value) Value->FreeNotification(this);
  FEngine = Value;
}

void TFactSet::SetEngine(TComponent* Value) {
  if (IsDestroying(Value)) Value = nullptr;
  if (Value == FEngine) return;
  auto* NewEngine = KnowledgeBaseOf(Value);
  const bool Enter = NewEngine && !IsLoading(this) && !IsLoading(Value);
  // An unknown module is refused before anything changes.
  if (Enter && !FModule.empty() && FModule != MainModuleName) (void)NewEngine->GetModules()->GetModule(FModule);
  SetEngineNoParse(Value);
  ForgetParsedFacts();
  if (!Enter) return;
  const TFocusBack Back(FocusModule(true));
  if (TFactSets* Sets = NewEngine->GetFactSets()) Sets->Add(this);
  if (!GetComponentState().Contains(csDesigning)) ParseLines();
}

void TFactSet::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent && AComponent == FEngine) {
    FEngine = nullptr;
    // The parsed facts' templates belong to the departing engine; the lines
    // stay and are parsed again by the next one.
    ForgetParsedFacts();
  }
}

// ------------------------------------------------------------ reset and loading

void TFactSet::Reset() {
  IKnowledgeBase* E = Engine();
  if (!E) return;
  const TFocusBack Back(FocusModule(true));
  for (int I = 0; I < GetCount(); ++I) {
    const IFact Fact = GetFact(I);
    if (!Fact) continue;
    // Calls and globals in the slots take their values now, in the copy.
    E->Assert(E->GetGlobalContext()->ResolveClone(Fact), false);
  }
}

void TFactSet::Loaded() {
  TComponent::Loaded();
  IKnowledgeBase* E = Engine();
  if (!E) return;
  // A loading engine reloads its fact sets when it has finished; that
  // bookkeeping comes with the engine's persistence.
  if (IsLoading(FEngine)) return;
  Reload();
}

void TFactSet::Reload() {
  IKnowledgeBase* E = Engine();
  if (!E) return;
  {
    const TFocusBack Back(FocusModule(true));
    TFactSets* Sets = E->GetFactSets();
    if (Sets && Sets->IndexOf(this) < 0) Sets->Add(this);
  }
  Reset();
}

// ------------------------------------------------------------ copies and text

TFactSet* TFactSet::Clone(TComponent* AOwner) const {
  auto Result = std::make_unique<TFactSet>(AOwner);
  Result->Assign(const_cast<TFactSet*>(this));
  return Result.release();
}

void TFactSet::Assign(TPersistent* Source) {
  auto* Other = dynamic_cast<TFactSet*>(Source);
  if (!Other) {
    TComponent::Assign(Source);
    return;
  }
  if (Other == this) return;
  // The module first: an unknown one is refused before anything changes.
  SetModule(Other->FModule);
  FComment = Other->FComment;
  FFactSetName = Other->FFactSetName;
  FFacts->Clear();
  if (GetComponentState().Contains(csDesigning)) {
    for (int I = 0; I < Other->GetCount(); ++I) FFacts->Add(Other->FFacts->GetString(I));
    return;
  }
  // Under an engine owner each fact is read in that engine, so that its
  // template and calls bind there; otherwise clones do.
  if (auto* Owner = KnowledgeBaseOf(GetOwner())) {
    const TFocusBack Back(Owner == Engine() ? FocusModule(false) : nullptr);
    for (int I = 0; I < Other->GetCount(); ++I) {
      const IFact Fact = Other->GetFact(I);
      AddFact(Owner->ParseFact(Fact ? Fact->ToString() : Other->FFacts->GetString(I)));
    }
    return;
  }
  for (int I = 0; I < Other->GetCount(); ++I) {
    const IFact Fact = Other->GetFact(I);
    if (Fact)
      AddFact(Fact->Clone());
    else
      FFacts->Add(Other->FFacts->GetString(I));
  }
}

std::string TFactSet::ToString() const {
  const IKnowledgeBase* Engine = KnowledgeBaseOf(FEngine);
  return PrettyPrint(*this, Engine && Engine->GetPrintModuleQualifiers());
}

}  // namespace cogent
