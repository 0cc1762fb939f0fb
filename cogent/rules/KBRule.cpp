#include "cogent/rules/KBRule.h"

#include <string_view>
#include <utility>

#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/host/Guards.h"

namespace cogent {

namespace {

// Renamed variables of a pattern, old name to new name.
using TRenames = std::vector<std::pair<std::string, std::string>>;

// Gives each variable argument of Call, and of the calls nested in it, its
// new name.
void SubstFunCall(const IFunCall& Call, const TRenames& Renames) {
  if (!Call) return;
  for (int I = 0; I < Call->GetArgumentCount(); ++I) {
    const IKBValue Argument = Call->GetArgument(I);
    if (!Argument) continue;
    if (Argument->GetDType() == dtFunCall) {
      SubstFunCall(Argument->GetAsFunCall(), Renames);
    } else if (IsVariable(Argument)) {
      const std::string Name = Argument->GetAsString();
      for (const auto& [Old, New] : Renames)
        if (Old == Name) {
          Call->SetArgument(I, IKBValue(new TKBValue(New, Argument->GetDType())));
          break;
        }
    }
  }
}

// The fact that stands in a token for a negated pattern, or for a branch
// that no fact satisfied.
bool IsNullFact(const IFact& Fact, const IKnowledgeBase& Engine) {
  // The name first: it settles most facts without a count.
  const IFactTemplate& Template = Fact->GetTemplateRef();
  if (Template && Template->GetTemplateName() == std::string_view(SNullFact)) return true;
  return Fact == Engine.GetNullFact();
}

// The value that Binding takes from Token, nil when it takes none. A value
// that a fact of the token holds comes as the fact's own handle, good while
// the fact stays as it is; one made for the occasion lands in Keep.
const IKBValue* TokenValue(const TBinding& Binding, const IReteToken& Token, const IKnowledgeBase* Host,
                           IKBValue& Keep) {
  if (Binding.IsLocal() || !Token) return nullptr;
  const IFact& Fact = Token->GetFacts(Binding.GetFactIndex());
  // No fact satisfied a negated pattern or a branch: nothing to bind.
  if (!Fact || (Host && IsNullFact(Fact, *Host))) return nullptr;
  return &Binding.ValueIn(*Fact, Keep);
}

}  // namespace

// ================================================================ TRulePatternList

TRulePatternList::~TRulePatternList() {
  for (TKBPattern* Pattern : FItems) delete Pattern;
}

void TRulePatternList::CheckIndex(int Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
}

TKBPattern* TRulePatternList::GetItem(int Index) const {
  CheckIndex(Index);
  return FItems[static_cast<std::size_t>(Index)];
}

int TRulePatternList::IndexOf(const TKBPattern* Pattern) const noexcept {
  for (std::size_t I = 0; I < FItems.size(); ++I)
    if (FItems[I] == Pattern) return static_cast<int>(I);
  return -1;
}

int TRulePatternList::Add(std::unique_ptr<TKBPattern> Pattern) {
  TKBPattern* const Item = Pattern.get();
  FItems.push_back(Pattern.release());
  if (Item) Notify(Item, cnAdded);
  // Taking the pattern in may have put others in front of it.
  return Item ? IndexOf(Item) : GetCount() - 1;
}

void TRulePatternList::Insert(int Index, std::unique_ptr<TKBPattern> Pattern) {
  if (Index < 0 || Index > GetCount()) throw EListError(Format(SListIndexError, Index));
  TKBPattern* const Item = Pattern.get();
  FItems.insert(FItems.begin() + Index, Pattern.release());
  if (Item) Notify(Item, cnAdded);
}

void TRulePatternList::Delete(int Index) {
  CheckIndex(Index);
  std::unique_ptr<TKBPattern> Item(FItems[static_cast<std::size_t>(Index)]);
  FItems.erase(FItems.begin() + Index);
  if (Item) Notify(Item.get(), cnRemoved);
}

int TRulePatternList::Remove(const TKBPattern* Pattern) {
  const int Index = IndexOf(Pattern);
  if (Index >= 0) Delete(Index);
  return Index;
}

std::unique_ptr<TKBPattern> TRulePatternList::Extract(const TKBPattern* Pattern) {
  const int Index = IndexOf(Pattern);
  if (Index < 0) return nullptr;
  std::unique_ptr<TKBPattern> Item(FItems[static_cast<std::size_t>(Index)]);
  FItems.erase(FItems.begin() + Index);
  if (Item) Notify(Item.get(), cnExtracted);
  return Item;
}

void TRulePatternList::Clear() {
  while (!FItems.empty()) Delete(GetCount() - 1);
}

void TRulePatternList::Notify(TKBPattern* Pattern, TCollectionNotification Action) {
  if (Pattern && FRule) FRule->PatternNotification(Pattern, Action);
}

// ================================================================ TRuleActionList

TRuleActionList::TRuleActionList(TRule* ARule) : FRule(ARule) {}

TRuleActionList::~TRuleActionList() = default;

void TRuleActionList::CheckIndex(int Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
}

int TRuleActionList::GetCount() const noexcept { return static_cast<int>(FItems.size()); }

IFunCall TRuleActionList::GetItem(int Index) const {
  CheckIndex(Index);
  return FItems[static_cast<std::size_t>(Index)];
}

void TRuleActionList::SetItem(int Index, const IFunCall& Call) {
  CheckIndex(Index);
  const IFunCall Old = FItems[static_cast<std::size_t>(Index)];
  if (Old == Call) return;
  FItems[static_cast<std::size_t>(Index)] = Call;
  if (Old) Notify(Old, cnRemoved);
  if (Call) Notify(Call, cnAdded);
}

int TRuleActionList::IndexOf(const IFunCall& Call) const noexcept {
  for (std::size_t I = 0; I < FItems.size(); ++I)
    if (FItems[I] == Call) return static_cast<int>(I);
  return -1;
}

int TRuleActionList::Add(const IFunCall& Call) {
  FItems.push_back(Call);
  const int Index = GetCount() - 1;
  if (Call) Notify(Call, cnAdded);
  return Index;
}

void TRuleActionList::Insert(int Index, const IFunCall& Call) {
  if (Index < 0 || Index > GetCount()) throw EListError(Format(SListIndexError, Index));
  FItems.insert(FItems.begin() + Index, Call);
  if (Call) Notify(Call, cnAdded);
}

void TRuleActionList::Delete(int Index) {
  CheckIndex(Index);
  const IFunCall Item = FItems[static_cast<std::size_t>(Index)];
  FItems.erase(FItems.begin() + Index);
  if (Item) Notify(Item, cnRemoved);
}

int TRuleActionList::Remove(const IFunCall& Call) {
  const int Index = IndexOf(Call);
  if (Index >= 0) Delete(Index);
  return Index;
}

void TRuleActionList::Clear() {
  while (!FItems.empty()) Delete(GetCount() - 1);
}

void TRuleActionList::Assign(const TRuleActionList& Source) {
  if (&Source == this) return;
  const std::vector<IFunCall> Items(Source.FItems);
  Clear();
  for (const IFunCall& Call : Items) Add(Call);
}

void TRuleActionList::Notify(const IFunCall& Call, TCollectionNotification Action) {
  if (Call && FRule) FRule->ActionNotification(Call, Action);
}

// ================================================================ TRule

TRule::TRule(TComponent* AOwner)
    : TComponent(AOwner),
      FSalienceValue(new TKBValue(0, dtInteger)),
      FActions(std::make_unique<TRuleActionList>(this)),
      FPatterns(std::make_unique<TRulePatternList>(this)) {
  // A rule hears of its engine by free notification; a program of many rules
  // would otherwise tell each one of every other.
  HearNoSiblings();
  TComponent* Found = KnowledgeBaseOf(AOwner) ? AOwner : nullptr;
  if (!Found && AOwner && AOwner->GetComponentState().Contains(csDesigning))
    for (int I = 0; I < AOwner->GetComponentCount() && !Found; ++I)
      if (KnowledgeBaseOf(AOwner->GetComponent(I))) Found = AOwner->GetComponent(I);
  if (Found) {
    SetEngineField(Found);
    FID = KnowledgeBaseOf(Found)->NewRuleId();
    FreeNotification(Found);
  }
  FRuleName = "Rule_" + IntToStr(FID);
}

TRule::TRule(TComponent* AOwner, const std::string& AModuleName, const TKBName& ARuleName) : TRule(AOwner) {
  FModule = AModuleName;
  FRuleName = ARuleName;
}

TRule::~TRule() {
  Destroying();
  SetEngine(nullptr);
}

IKnowledgeBase* TRule::Engine() const noexcept {
  // An engine on its way out has no tables left to leave.
  if (!FEngine || FEngine->GetComponentState().Contains(csDestroying)) return nullptr;
  return FKnowledgeBase;
}

// ------------------------------------------------------------ identity

void TRule::SetRuleName(const TKBName& Value) {
  if (Value == FRuleName) return;
  CheckKBName(Value);
  const TKBName OldName = FRuleName;
  FRuleName = Value;
  FRuleNameValue = nullptr;
  if (IsLoading()) return;
  IKnowledgeBase* Host = Engine();
  if (!Host) return;
  TFocusBack Back;
  try {
    Back.Remember(FocusModule(true));
    TRule* Stored = nullptr;
    if (Host->GetRules() && Host->GetRules()->TryGetValue(OldName, Stored) && Stored == this)
      Host->RenameRule(OldName, Value);
  } catch (...) {
    FRuleName = OldName;
    FRuleNameValue = nullptr;
    throw;
  }
}

void TRule::SetEngine(TComponent* Value) {
  if (Value == FEngine) return;
  if (FEngine) FEngine->RemoveFreeNotification(this);
  if (IsLoading()) {
    SetEngineField(Value);
  } else {
    const bool RuleDestroying = GetComponentState().Contains(csDestroying);
    if (IKnowledgeBase* Old = Engine()) {
      TComponent* const OldComponent = FEngine;
      const TFocusBack Back(FocusModule(!RuleDestroying));
      // Without its engine for the moment, the rule is only taken out of
      // the table: the table neither frees it nor asks it back.
      SetEngineField(nullptr);
      try {
        if (TRules* Rules = Old->GetRules()) {
          TRule* Stored = nullptr;
          if (Rules->TryGetValue(FRuleName, Stored) && Stored == this) Rules->ExtractPair(FRuleName);
        }
      } catch (...) {
        SetEngineField(OldComponent);
        throw;
      }
    }
    SetEngineField(Value);
    if (IKnowledgeBase* New = Engine(); New && !RuleDestroying) {
      const std::int32_t OldID = FID;
      FID = New->NewRuleId();
      TFocusBack Back;
      try {
        Back.Remember(FocusModule(true));
        if (TRules* Rules = New->GetRules()) Rules->Add(this);
      } catch (...) {
        SetEngineField(nullptr);
        FID = OldID;
        throw;
      }
    }
  }
  if (FEngine && !GetComponentState().Contains(csDestroying)) FEngine->FreeNotification(this);
}

void TRule::SetModule(const std::string& Value) {
  if (Value == FModule) return;
  IKnowledgeBase* Host = IsLoading() ? nullptr : Engine();
  if (!Host) {
    FModule = Value;
    return;
  }
  if (!Value.empty() && Value != MainModuleName) Host->GetModules()->GetModule(Value);
  const TFocusBack Back(FocusModule(true));
  const std::string OldModule = FModule;
  TComponent* const Keep = FEngine;
  SetEngine(nullptr);
  FModule = Value;
  try {
    SetEngine(Keep);
  } catch (...) {
    // Back into the table it came from.
    FModule = OldModule;
    SetEngine(Keep);
    throw;
  }
}

IModule TRule::FocusModule(bool ModuleMustExist) {
  IKnowledgeBase* Host = Engine();
  return Host ? FocusModuleNamed(*Host, FModule, ModuleMustExist) : nullptr;
}

// ------------------------------------------------------------ salience

void TRule::SetSalienceInteger(std::int32_t Value) {
  if (Value == FSalience) return;
  FSalience = Value;
  FSalienceValue = IKBValue(new TKBValue(Value, dtInteger));
  Change(nullptr);
}

void TRule::SetSalience(const IKBValue& Value) {
  IKBValue Old = std::exchange(FSalienceValue, Value);
  try {
    EvaluateSalience();
  } catch (...) {
    FSalienceValue = std::move(Old);
    throw;
  }
}

std::int32_t TRule::EvaluateSalience() {
  if (!FSalienceValue) return FSalience;
  // A number needs no context; anything else waits for an engine.
  const TKBType Kind = FSalienceValue->GetDType();
  if (Kind == dtInteger || Kind == dtFloat) return FSalience = FSalienceValue->GetAsInteger();
  IKnowledgeBase* Host = Engine();
  if (!Host) return FSalience;
  // The expression stays: it is read again at each evaluation, and a new
  // value only moves the agenda's order, never the rule's nodes, so the
  // network is not told.
  const std::unique_ptr<TKBContext> Context = Host->GetGlobalContext()->Push();
  const TFinally Pop([&Context] { Context->Pop(); });
  FSalience = FSalienceValue->Resolve(Context.get())->GetAsInteger();
  return FSalience;
}

// ------------------------------------------------------------ patterns, actions, bindings

void TRule::SetPatterns(const TRulePatternList& Value) {
  if (&Value == FPatterns.get()) return;
  const auto Update = UpdateGuard(*this);
  FBindings.clear();
  FLayoutValid = false;
  FPatterns->Clear();
  bool FollowsNeed = false;
  for (const TKBPattern* Pattern : Value) {
    if (!Pattern) continue;
    const bool Skip = FollowsNeed;
    FollowsNeed = Pattern->GetName().starts_with(SBackChainPrefix);
    if (!Skip) FPatterns->Add(Pattern->Clone(FEngine));
  }
}

void TRule::SetActions(const TRuleActionList& Value) { FActions->Assign(Value); }

TBinding* TRule::GetBinding(int Index) const {
  if (Index < 0 || Index >= GetBindingCount()) throw EListError(Format(SListIndexError, Index));
  return FBindings[static_cast<std::size_t>(Index)].get();
}

int TRule::IndexOfBinding(const TKBName& Name) const noexcept {
  for (std::size_t I = 0; I < FBindings.size(); ++I)
    if (FBindings[I]->GetName() == Name) return static_cast<int>(I);
  return -1;
}

TBinding* TRule::GetBindingByName(const TKBName& Name) const noexcept {
  const int Index = IndexOfBinding(Name);
  return Index < 0 ? nullptr : FBindings[static_cast<std::size_t>(Index)].get();
}

TBinding* TRule::AddBinding(const TKBName& AName, std::int32_t AFactIndex, const std::string& ASlotIndex,
                            std::int32_t ASubIndex) {
  auto Binding = std::make_unique<TBinding>(AName, AFactIndex, ASlotIndex, ASubIndex);
  for (const auto& Existing : FBindings)
    if (Existing->Equals(Binding.get())) return Existing.get();
  FBindings.push_back(std::move(Binding));
  FLayoutValid = false;
  return FBindings.back().get();
}

void TRule::AddPattern(TKBPattern* Pattern) {
  IKnowledgeBase* Host = Engine();
  if (!Host) throw EKBException(_SUnknownEngine);
  if (!Pattern) return;
  Pattern->SetOwner(this);
  TKBName BoundName = Pattern->GetBoundName();
  const bool IsNeed = Pattern->GetName().starts_with(SBackChainPrefix);

  // A rule that begins with not, test or a goal template hangs from the
  // initial fact: the network needs a positive pattern to start from.
  if (FPatterns->IndexOf(Pattern) == 0) {
    const IFactTemplate& Template = Pattern->GetFactTemplate();
    const bool CannotStart = Pattern->GetNegatedCount() >= 1 || Pattern->GetName() == STestCE ||
                             (Template && Template->IsBackwardChaining());
    if (CannotStart && Host->GetInitialFactPattern())
      FPatterns->Insert(0, Host->GetInitialFactPattern()->Clone(FEngine));
  }

  // A test pattern puts no fact in the token.
  const int Position = FPatterns->IndexOf(Pattern);
  std::int32_t FactIndex = Position;
  for (int I = 0; I < Position; ++I)
    if (FPatterns->GetItem(I)->GetName() == STestCE) --FactIndex;

  if (IsNeed && BoundName.empty()) BoundName = Host->GenerateSymbol(SFactPrefix);
  if (!BoundName.empty()) {
    AddBinding(BoundName, FactIndex, SPatternBinding, NoSubIndex);
    Pattern->SetBoundName(BoundName);
  }

  const bool Negated = Pattern->GetNegatedCount() >= 1;
  TRenames Renames;
  for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot) {
    const TSlotTests* Tests = Pattern->GetSlotTests(Slot);
    if (!Tests) continue;
    const std::string SlotName = Pattern->GetSlotName(Slot);
    for (TKBPatternMatchTest* Test : *Tests) {
      if (!Test) continue;
      const IKBValue& Value = Test->GetSlotValue();
      if (!IsVariable(Value)) continue;
      std::string Name = Value->GetAsString();
      if (GetBindingByName(Name)) continue;
      bool Renamed = false;
      // Wildcards of different negated patterns must stay apart.
      if (Negated && Name.starts_with(SBlankPrefix)) {
        const std::string NewName = "_" + IntToStr(FPatterns->GetCount()) + "_" + Name;
        Renames.emplace_back(Name, NewName);
        if (Value->GetDType() == dtMultiVariable)
          Value->SetAsMultiVariable(NewName);
        else
          Value->SetAsVariable(NewName);
        Name = NewName;
        Renamed = true;
      }
      if (!Renamed && Test->GetSlotTestType() == sttNotEquals) throw EKBException(Format(_SNegatedVariable, Name));
      AddBinding(Name, FactIndex, SlotName, Test->GetMultiSlotSubIndex());
    }
  }
  if (!Renames.empty())
    for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot)
      if (const TSlotTests* Tests = Pattern->GetSlotTests(Slot))
        for (const TKBPatternMatchTest* Test : *Tests)
          if (Test && Test->GetSlotValue() && Test->GetSlotValue()->GetDType() == dtFunCall)
            SubstFunCall(Test->GetSlotValue()->GetAsFunCall(), Renames);
  Pattern->FixTests();

  // (need-x ...) is followed by (not (x ...)): the rule stays active only
  // while the wanted fact is missing.
  if (IsNeed) {
    const TKBName Wanted = Pattern->GetName().substr(std::char_traits<char>::length(SBackChainPrefix));
    auto Companion = std::make_unique<TKBPattern>(this, Pattern, Wanted, 1);
    Companion->SetBoundName("");
    FPatterns->Add(std::move(Companion));
  }
}

void TRule::PatternNotification(TKBPattern* Pattern, TCollectionNotification Action) {
  if (Action == cnAdded) AddPattern(Pattern);
  Change(nullptr);
}

void TRule::ActionNotification(const IFunCall& Call, TCollectionNotification Action) {
  (void)Call;
  (void)Action;
  Change(nullptr);
}

// ------------------------------------------------------------ change

void TRule::BeginUpdate() { ++FUpdateCount; }

void TRule::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  if (FUpdateCount == 0) Change(nullptr);
}

void TRule::Change(TObject* Sender) {
  (void)Sender;
  if (FUpdateCount >= 1) return;
  if (IKnowledgeBase* Host = Engine()) Host->RuleChange(this);
  if (OnChange) OnChange(this);
}

// ------------------------------------------------------------ firing

bool TRule::BindingValue(const TBinding& Binding, const IReteToken& Token, const IKnowledgeBase* Host,
                         IKBValue& Value) const {
  IKBValue Keep;
  const IKBValue* Found = TokenValue(Binding, Token, Host, Keep);
  if (!Found) return false;
  Value = *Found;
  return true;
}

const IKBValue& TRule::RuleNameValue() {
  if (!FRuleNameValue) FRuleNameValue = IKBValue(new TKBValue(FRuleName, dtString));
  return FRuleNameValue;
}

bool TRule::RefillFiringContext(const IReteToken& Token, const IKnowledgeBase* Host) {
  if (!FLayoutValid || FLayoutStamp != FFiringContext->GetBindings().GetStamp()) return false;
  IKBValue Keep;
  for (std::size_t I = 0; I < FBindings.size(); ++I) {
    const IKBValue* Value = TokenValue(*FBindings[I], Token, Host, Keep);
    // A binding skipped now but not then, or the other way round, has its
    // name in the table when it should not, or not when it should.
    if ((Value != nullptr) != (FLayout[I] != nullptr)) return false;
    if (Value) FLayout[I]->SetValue(*Value);
  }
  // The rule's name stays bound between firings.
  if (FLayout.back()->GetValue() != RuleNameValue()) FLayout.back()->SetValue(RuleNameValue());
  return true;
}

void TRule::Prepare(const IReteToken& Token, TKBContext* Context) {
  if (!Context) return;
  Context->SetToken(Token);
  const IKnowledgeBase* Host = Engine();
  const bool Kept = Context == FFiringContext.get();
  if (Kept) {
    if (RefillFiringContext(Token, Host)) return;
    // Laid out again from an empty table.
    FLayoutValid = false;
    if (Context->GetBindings().GetCount() > 0) Context->Clear();
    FLayout.assign(FBindings.size() + 1, nullptr);
  }
  IKBValue Value;
  for (std::size_t I = 0; I < FBindings.size(); ++I)
    if (BindingValue(*FBindings[I], Token, Host, Value)) {
      TBinding* Entered = Context->AddLocalBinding(FBindings[I]->GetName(), Value);
      if (Kept) FLayout[I] = Entered;
    }
  TBinding* const Named = Context->AddLocalBinding(SRuleBinding, RuleNameValue());
  if (!Kept) return;
  FLayout.back() = Named;
  // A later binding of the same name took the place of an earlier one.
  TBinding* Stored = nullptr;
  for (std::size_t I = 0; I < FBindings.size(); ++I)
    if (FLayout[I] && Context->GetBindings().TryGetValue(FBindings[I]->GetName(), Stored)) FLayout[I] = Stored;
  FLayoutStamp = Context->GetBindings().GetStamp();
  FLayoutValid = true;
}

void TRule::Fire(const IReteToken& Token) {
  IKnowledgeBase* Host = Engine();
  if (!Host) throw EKBException(_SUnknownEngine);
  TKBContext* const Global = Host->GetGlobalContext();
  std::unique_ptr<TKBContext> Own;
  TKBContext* Context;
  if (!FFiringContextBusy) {
    if (!FFiringContext) {
      FFiringContext = Global->Push();
      FLayoutValid = false;
    }
    FFiringContext->Reattach(Global);
    FFiringContextBusy = true;
    Context = FFiringContext.get();
  } else {
    Own = Global->Push();
    Context = Own.get();
  }
  Context->ClearReturnValue();
  // Both steps of the end run however the firing goes, and the kept level
  // is emptied however the end goes.
  const auto End = [this, Context] {
    RunThenClose([this, Context] { EndFiring(Context); },
                 [this, Context] {
                   if (Context == FFiringContext.get()) ReleaseFiringContext();
                 });
  };
  RunThenClose(
      [this, &Token, Context] {
        Prepare(Token, Context);
        FHasFired = true;
        // A handler that sets a return value keeps the actions from running.
        if (OnFire) OnFire(this, Context);
        // By index: an action may change the list it stands in.
        for (int I = 0; I < FActions->GetCount() && !Context->GetReturning(); ++I)
          if (const IFunCall Action = FActions->GetItem(I)) TFunctionCall::RunStatement(Action, Context);
      },
      End);
}

void TRule::EndFiring(TKBContext* Context) {
  if (Context->GetReturning()) {
    // A return without a value leaves the module.
    if (Context->GetReturnValue() == FCPopFocus)
      if (IKnowledgeBase* Host = Engine()) Host->PopFocus();
    Context->ClearReturnValue();
  }
  Context->Pop();
}

void TRule::ReleaseFiringContext() {
  TKBContext& Context = *FFiringContext;
  // The kept level lets go of what the firing bound; bindings that the
  // actions added leave with the layout.
  if (FLayoutValid && FLayoutStamp == Context.GetBindings().GetStamp()) {
    for (std::size_t I = 0; I + 1 < FLayout.size(); ++I)
      if (FLayout[I]) FLayout[I]->SetValue(nullptr);
  } else {
    FLayoutValid = false;
    Context.Clear();
  }
  Context.SetToken(nullptr);
  Context.SetFact(nullptr);
  Context.ClearReturnValue();
  FFiringContextBusy = false;
}

void TRule::Reset() { FHasFired = false; }

// ------------------------------------------------------------ copies and text

std::string TRule::ToString() const {
  const IKnowledgeBase* Host = Engine();
  return PrettyPrint(*this, Host && Host->GetPrintModuleQualifiers());
}

void TRule::Assign(TPersistent* Source) {
  auto* Rule = dynamic_cast<TRule*>(Source);
  if (!Rule) {
    TComponent::Assign(Source);
    return;
  }
  if (Rule == this) return;
  const auto Update = UpdateGuard(*this);
  if (Rule->FEngine == FEngine) {
    SetRuleName(Rule->FRuleName);
    SetAutoFocus(Rule->FAutoFocus);
    SetEnabled(Rule->FEnabled);
    SetComment(Rule->FComment);
    SetOneShot(Rule->FOneShot);
    SetPatterns(*Rule->FPatterns);
    SetActions(*Rule->FActions);
    SetSalience(Rule->FSalienceValue);
    FSource = Rule->FSource;
  } else {
    IKnowledgeBase* Host = Engine();
    if (!Host) throw EKBException(_SUnknownEngine);
    // A rule crosses engines as text: read by this engine's rule grammar.
    const std::unique_ptr<TRule> Copy = Host->ParseRule(Rule->ToString());
    if (Copy) Assign(Copy.get());
  }
}

void TRule::Reload() {
  IKnowledgeBase* Host = Engine();
  if (FText.empty() || !Host) return;
  const std::unique_ptr<TRule> Copy = Host->ParseRule(FText);
  if (Copy) Assign(Copy.get());
  FText.clear();
  const TFocusBack Back(FocusModule(true));
  if (TRules* Rules = Host->GetRules()) Rules->Add(this);
}

void TRule::Loaded() {
  TComponent::Loaded();
  // An engine that is loading itself reads its rules again when it is done.
  if (Engine() && !FEngine->GetComponentState().Contains(csLoading)) Reload();
}

void TRule::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent && AComponent == FEngine) SetEngine(nullptr);
}

// ---------------------------------------------------------------- text

std::string PrettyPrint(const TRule& Rule, TRuleConstruct Construct) {
  std::string Result;
  if (Construct == rcAction) {
    const TRuleActionList& Actions = *Rule.GetActions();
    for (int I = 0; I < Actions.GetCount(); ++I)
      if (const IFunCall Action = Actions.GetItem(I)) Result += IndentString() + NestText(Action->ToString()) + sLineBreak;
    return Result;
  }
  const int Count = Rule.GetPatternCount();
  for (int I = 0; I < Count; ++I) {
    // The companion of a need- pattern is made again when the rule is read.
    if (I > 0 && Rule.GetPattern(I - 1)->GetName().starts_with(SBackChainPrefix)) continue;
    Result += IndentString() + NestText(Rule.GetPattern(I)->ToString());
    if (I < Count - 1) Result += sLineBreak;
  }
  return Result;
}

std::string PrettyPrint(const TRule& Rule, bool PrintModuleQualifiers) {
  std::string Result = "(defrule ";
  if (PrintModuleQualifiers) Result += (Rule.GetModule().empty() ? std::string(MainModuleName) : Rule.GetModule()) + "::";
  Result += Rule.GetRuleName();
  if (!Rule.GetComment().empty()) Result += sLineBreak + IndentString() + QuotedComment(Rule.GetComment());
  Result += sLineBreak;
  if (Rule.GetSalience() != 0 || Rule.GetOneShot() || Rule.GetAutoFocus() || !Rule.GetEnabled()) {
    Result += IndentString() + "(declare";
    if (Rule.GetSalience() != 0) Result += " (salience " + IntToStr(Rule.GetSalience()) + ")";
    if (!Rule.GetEnabled()) Result += " (enabled FALSE)";
    if (Rule.GetAutoFocus()) Result += " (auto-focus TRUE)";
    if (Rule.GetOneShot()) Result += " (oneshot TRUE)";
    Result += std::string(")") + sLineBreak;
  }
  Result += PrettyPrint(Rule, rcPattern);
  Result += sLineBreak + IndentString() + "=>" + sLineBreak;
  Result += PrettyPrint(Rule, rcAction);
  return CloseText(std::move(Result));
}

}  // namespace cogent
