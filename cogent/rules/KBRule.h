#pragma once
// Compiled rules: the patterns of the left-hand side, the calls of the
// right-hand side, the bindings that tie each variable to a slot of a matched
// fact, a salience and a few switches. Adding a pattern is where a rule's
// meaning is worked out; firing builds a context from a token and runs the
// actions in it.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBModule.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/matching/KBToken.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

class TRule;
class IKnowledgeBase;

// Raised as a rule fires, with the context its actions will run in.
using TRuleFireEvent = std::function<void(TObject* Sender, TKBContext* Context)>;

// ---------------------------------------------------------------- TRulePatternList

// The patterns of a rule, in order. Owns them; every change reaches the rule.
// An added pattern is already in its place when the rule hears of it. A
// removed pattern is reported after it left the list and is then freed; an
// extracted one goes back to the caller.
class TRulePatternList : public TObject {
public:
  explicit TRulePatternList(TRule* ARule) : FRule(ARule) {}
  TRulePatternList(const TRulePatternList&) = delete;
  TRulePatternList& operator=(const TRulePatternList&) = delete;
  // Frees the patterns unreported: the rule goes with them.
  ~TRulePatternList() override;

  TRule* GetRule() const noexcept { return FRule; }
  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  // Raises EListError for an index out of range.
  TKBPattern* GetItem(int Index) const;
  TKBPattern* operator[](int Index) const { return GetItem(Index); }
  int IndexOf(const TKBPattern* Pattern) const noexcept;

  // The index of the pattern once the rule has taken it in. A nil pattern is
  // stored unreported.
  int Add(std::unique_ptr<TKBPattern> Pattern);
  void Insert(int Index, std::unique_ptr<TKBPattern> Pattern);
  void Delete(int Index);
  int Remove(const TKBPattern* Pattern);
  std::unique_ptr<TKBPattern> Extract(const TKBPattern* Pattern);
  // Last first, each reported.
  void Clear();

  std::vector<TKBPattern*>::const_iterator begin() const noexcept { return FItems.begin(); }
  std::vector<TKBPattern*>::const_iterator end() const noexcept { return FItems.end(); }

protected:
  virtual void Notify(TKBPattern* Pattern, TCollectionNotification Action);

private:
  void CheckIndex(int Index) const;

  TRule* FRule;
  std::vector<TKBPattern*> FItems;
};

// ---------------------------------------------------------------- TRuleActionList

// The calls of a rule's right-hand side, in order; a call may stand twice.
// Every change reaches the rule, removals after the call left the list.
class TRuleActionList : public TObject {
public:
  explicit TRuleActionList(TRule* ARule);
  TRuleActionList(const TRuleActionList&) = delete;
  TRuleActionList& operator=(const TRuleActionList&) = delete;
  ~TRuleActionList() override;

  TRule* GetRule() const noexcept { return FRule; }
  int GetCount() const noexcept;
  // Raises EListError for an index out of range.
  IFunCall GetItem(int Index) const;
  void SetItem(int Index, const IFunCall& Call);
  int IndexOf(const IFunCall& Call) const noexcept;

  int Add(const IFunCall& Call);
  void Insert(int Index, const IFunCall& Call);
  void Delete(int Index);
  int Remove(const IFunCall& Call);
  // Last first, each reported.
  void Clear();
  // Clears the list and adds Source's calls, shared, in order.
  virtual void Assign(const TRuleActionList& Source);

protected:
  virtual void Notify(const IFunCall& Call, TCollectionNotification Action);

private:
  void CheckIndex(int Index) const;

  TRule* FRule;
  std::vector<IFunCall> FItems;
};

// ---------------------------------------------------------------- TRule

class TRule : public TComponent, public IReteRule {
public:
  // With an engine as owner (at design time: an engine among the owner's
  // components) the rule takes a new id; it enters no table until SetEngine
  // or TRules.Add puts it there.
  explicit TRule(TComponent* AOwner);
  // Stores both names as they stand.
  TRule(TComponent* AOwner, const std::string& AModuleName, const TKBName& ARuleName);
  // Leaves the table and network of its engine first. The engine cannot do
  // that for the rule: by the time it hears, the object is no rule any more.
  ~TRule() override;

  // ------------------------------------------------------------ identity
  std::int32_t GetID() const noexcept { return FID; }
  const TKBName& GetRuleName() const noexcept override { return FRuleName; }
  // Checks the name, and re-keys the rule in its module's table; on an
  // error the old name stays.
  virtual void SetRuleName(const TKBName& Value);
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  // Any component; only a knowledge base counts as an engine.
  TComponent* GetEngine() const noexcept { return FEngine; }
  // Leaves the old engine's table, takes a new id and enters the new
  // engine's table, each in the rule's module.
  virtual void SetEngine(TComponent* Value);
  // Empty means the main module.
  const std::string& GetModule() const noexcept { return FModule; }
  // Moves the rule to the table of another module; with an engine the
  // module must exist.
  virtual void SetModule(const std::string& Value);
  // Makes the rule's module the engine's current one, with no event, and
  // gives the module that was current for the caller to focus back; nil
  // when no switch was needed. Raises _SNoSuchModule for an unknown module
  // only when ModuleMustExist.
  IModule FocusModule(bool ModuleMustExist);

  // ------------------------------------------------------------ switches
  bool GetAutoFocus() const noexcept override { return FAutoFocus; }
  void SetAutoFocus(bool Value) noexcept { FAutoFocus = Value; }
  bool GetEnabled() const noexcept override { return FEnabled; }
  void SetEnabled(bool Value) noexcept { FEnabled = Value; }
  bool GetOneShot() const noexcept override { return FOneShot; }
  void SetOneShot(bool Value) noexcept { FOneShot = Value; }
  bool GetHasFired() const noexcept override { return FHasFired; }

  // ------------------------------------------------------------ salience
  // The last evaluated salience, by which the agenda sorts.
  std::int32_t GetSalience() const noexcept override { return FSalience; }
  void SetSalience(std::int32_t Value) { SetSalienceInteger(Value); }
  // A new integer makes the salience that plain number and tells of the change.
  void SetSalienceInteger(std::int32_t Value);
  // The salience as written: a number, a global or a call.
  const IKBValue& GetSalienceValue() const noexcept { return FSalienceValue; }
  // Stores the expression and evaluates it; one that fails is not kept.
  virtual void SetSalience(const IKBValue& Value);
  // Resolves the expression in a child of the global context (globals and
  // functions, none of the rule's variables) and gives the new salience.
  // Without an engine only a plain number can be read.
  std::int32_t EvaluateSalience() override;

  // ------------------------------------------------------------ patterns, actions, bindings
  TRulePatternList* GetPatterns() const noexcept { return FPatterns.get(); }
  int GetPatternCount() const noexcept override { return FPatterns->GetCount(); }
  TKBPattern* GetPattern(int Index) const override { return FPatterns->GetItem(Index); }
  void AppendPattern(std::unique_ptr<TKBPattern> Pattern) override { FPatterns->Add(std::move(Pattern)); }
  TComponent* GetRuleComponent() noexcept override { return this; }
  // Replaces the patterns and bindings by those that clones of Value's
  // patterns give; a companion of a need- pattern is made again, not copied.
  virtual void SetPatterns(const TRulePatternList& Value);
  TRuleActionList* GetActions() const noexcept { return FActions.get(); }
  void SetActions(const TRuleActionList& Value);
  int GetBindingCount() const noexcept { return static_cast<int>(FBindings.size()); }
  // Raises EListError for an index out of range.
  TBinding* GetBinding(int Index) const;
  // Exact name, first match; -1 or nil when none.
  int IndexOfBinding(const TKBName& Name) const noexcept;
  TBinding* GetBindingByName(const TKBName& Name) const noexcept override;
  // An equal binding that exists is given back instead of a new one.
  virtual TBinding* AddBinding(const TKBName& AName, std::int32_t AFactIndex, const std::string& ASlotIndex,
                               std::int32_t ASubIndex);
  // Works out what a pattern that has just entered the list means for the
  // rule: the initial fact in front of a rule that cannot start with it,
  // the bindings of its first-used variables, the companion of a need-
  // pattern. Raises _SUnknownEngine without an engine and _SNegatedVariable
  // for a variable whose first use is negated; the pattern stays in the list.
  virtual void AddPattern(TKBPattern* Pattern);
  // The network's account of the rule's nodes.
  const std::string& GetCompilation() const noexcept override { return FCompilation; }
  void SetCompilation(const std::string& Value) override { FCompilation = Value; }

  // ------------------------------------------------------------ change
  virtual void BeginUpdate();
  virtual void EndUpdate();
  // Outside an update: the engine recompiles the rule, then OnChange.
  virtual void Change(TObject* Sender);

  // ------------------------------------------------------------ firing
  // Fills Context with the values of the token's facts for each binding,
  // and with the rule's name as "__RULE".
  virtual void Prepare(const IReteToken& Token, TKBContext* Context);
  // Runs the actions in a child of the global context, which is popped and
  // freed whatever happens. A return without value pops the focus.
  void Fire(const IReteToken& Token) override;
  // Forgets that the rule has fired.
  virtual void Reset();

  // ------------------------------------------------------------ copies and text
  std::string ToString() const override;
  std::string GetAsString() const { return ToString(); }
  // From a rule of the same engine field by field; across engines through
  // the source's text, which needs an engine here.
  void Assign(TPersistent* Source) override;
  // The rule text read from a component stream, until Reload.
  const std::string& GetText() const noexcept { return FText; }
  void SetText(const std::string& Value) { FText = Value; }
  // The text the rule was read from, empty for a rule built in code; a
  // redefinition of what the rule depends on compiles it again from this.
  const std::string& GetSource() const noexcept { return FSource; }
  void SetSource(const std::string& Value) { FSource = Value; }
  // Rebuilds the rule from its stream text and enters it in its table.
  virtual void Reload();

  TNotifyEvent OnChange;
  TRuleFireEvent OnFire;

protected:
  friend class TRulePatternList;
  friend class TRuleActionList;
  virtual void ActionNotification(const IFunCall& Call, TCollectionNotification Action);
  virtual void PatternNotification(TKBPattern* Pattern, TCollectionNotification Action);
  void Notification(TComponent* AComponent, TOperation Operation) override;
  void Loaded() override;

private:
  // The engine when it is one, else nil.
  IKnowledgeBase* Engine() const noexcept;
  bool IsLoading() const noexcept { return GetComponentState().Contains(csLoading); }
  void SetEngineField(TComponent* Value) noexcept {
    FEngine = Value;
    FKnowledgeBase = KnowledgeBaseOf(Value);
  }
  // The value of the binding at Index of a token, false when the binding
  // takes no value from it.
  bool BindingValue(const TBinding& Binding, const IReteToken& Token, const IKnowledgeBase* Host,
                    IKBValue& Value) const;
  // The rule's name as a value, made once for each name.
  const IKBValue& RuleNameValue();
  // Fills the kept firing level through its laid-out bindings; false when
  // the layout does not fit this token and the level must be filled anew.
  bool RefillFiringContext(const IReteToken& Token, const IKnowledgeBase* Host);
  // The steps of a firing that run also when an action raises.
  void EndFiring(TKBContext* Context);
  // Empties the kept level for the next firing, whatever the firing did.
  void ReleaseFiringContext();

  std::int32_t FID = 0;
  std::int32_t FSalience = 0;
  std::string FComment;
  TKBName FRuleName;
  IKBValue FSalienceValue;
  std::unique_ptr<TRuleActionList> FActions;
  std::unique_ptr<TRulePatternList> FPatterns;
  std::vector<std::unique_ptr<TBinding>> FBindings;
  TComponent* FEngine = nullptr;
  // FEngine as a knowledge base, cast once.
  IKnowledgeBase* FKnowledgeBase = nullptr;
  // The level each firing runs in, kept so that its table and bindings are
  // made once; a firing inside a firing of the same rule pushes its own.
  std::unique_ptr<TKBContext> FFiringContext;
  bool FFiringContextBusy = false;
  // The binding of the kept level that each of FBindings fills (nil where
  // one was skipped), then the one of the rule's name; good while the
  // level's table shows FLayoutStamp.
  std::vector<TBinding*> FLayout;
  std::uint64_t FLayoutStamp = 0;
  bool FLayoutValid = false;
  IKBValue FRuleNameValue;
  std::string FCompilation;
  std::string FText;
  std::string FSource;
  std::int32_t FUpdateCount = 0;
  bool FOneShot = false;
  bool FHasFired = false;
  bool FEnabled = true;
  std::string FModule;
  bool FAutoFocus = false;
};

// "(defrule ...)": the comment, the declarations that differ from a new
// rule's, the patterns, "=>" and the actions. The name goes with its module
// when PrintModuleQualifiers.
std::string PrettyPrint(const TRule& Rule, bool PrintModuleQualifiers);
// The patterns, or the actions, one an indented line.
std::string PrettyPrint(const TRule& Rule, TRuleConstruct Construct);

}  // namespace cogent
