#pragma once
// Evaluation contexts: a chain of binding tables, the token and fact under
// test, and the return state of the running call. A binding holds a value or
// addresses one inside a token.

#include <cstdint>
#include <memory>
#include <string>

#include "cogent/facts/KBFacts.h"
#include "cogent/foundation/VXHashTable.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBContext;
class TKBToken;
using IReteToken = Ref<TKBToken>;

enum TTableNotification : std::uint8_t { tnAdded, tnDeleted, tnCleared };

std::string EnumName(TTableNotification V);

// ---------------------------------------------------------------- TBindingInfo

// The address of a value in a token: which fact, which slot, which item.
// Wrapped in a dtObject value it stands where a compiled call refers to a
// matched variable.
class TBindingInfo : public TPersistent {
public:
  TBindingInfo() = default;
  TBindingInfo(std::int32_t AFactIndex, const std::string& ASlotIndex, std::int32_t ASubIndex = NoSubIndex)
      : FSubIndex(ASubIndex), FFactIndex(AFactIndex), FSlotIndex(ASlotIndex), FKind(KindOf(ASlotIndex)) {}

  std::int32_t GetFactIndex() const noexcept { return FFactIndex; }
  void SetFactIndex(std::int32_t Value) noexcept { FFactIndex = Value; }
  const std::string& GetSlotIndex() const noexcept { return FSlotIndex.GetName(); }
  void SetSlotIndex(const std::string& Value) {
    FSlotIndex.SetName(Value);
    FKind = KindOf(Value);
  }
  // The slot as a fact reads it by position, without looking the name up.
  const TSlotRef& GetSlotRef() const noexcept { return FSlotIndex; }
  // The slot index is SPatternBinding: the address is the fact itself.
  bool IsFactAddress() const noexcept { return FKind == akFact; }
  // The slot index is SLocalBinding: the binding is tied to no fact.
  bool IsLocal() const noexcept { return FKind == akLocal; }
  std::int32_t GetSubIndex() const noexcept { return FSubIndex; }
  void SetSubIndex(std::int32_t Value) noexcept { FSubIndex = Value; }
  // What the address reads from Fact: the slot's value as the fact holds
  // it, good while the fact stays as it is; a value made for the occasion
  // (the fact's id, an item of the slot's list) lands in Keep.
  const IKBValue& ValueIn(const TFact& Fact, IKBValue& Keep) const;

  // Same address; Other must be a binding info itself.
  virtual bool Equals(const TObject* Other) const;
  std::string ToString() const override;
  // Copies the address from another binding info.
  void Assign(TPersistent* Source) override;

private:
  enum TAddressKind : std::uint8_t { akSlot, akFact, akLocal };
  static TAddressKind KindOf(const std::string& SlotIndex) noexcept {
    return SlotIndex == SPatternBinding ? akFact : SlotIndex == SLocalBinding ? akLocal : akSlot;
  }

  std::int32_t FSubIndex = NoSubIndex;
  std::int32_t FFactIndex = LocalBindingIndex;
  TSlotRef FSlotIndex;
  TAddressKind FKind = akSlot;
};

// ---------------------------------------------------------------- TBinding

// A named variable: an address, and the value filled in for it.
class TBinding : public TBindingInfo {
public:
  TBinding(const TKBName& AName, std::int32_t AFactIndex, const std::string& ASlotIndex, std::int32_t ASubIndex)
      : TBindingInfo(AFactIndex, ASlotIndex, ASubIndex), FName(AName) {}
  // A local binding: tied to no fact.
  TBinding(const TKBName& AName, const IKBValue& AValue)
      : TBindingInfo(LocalBindingIndex, SLocalBinding, NoSubIndex), FValue(AValue), FName(AName) {}

  // Without the leading "?".
  const TKBName& GetName() const noexcept { return FName; }
  // Nil while a rule's binding has not been filled.
  const IKBValue& GetValue() const noexcept { return FValue; }
  void SetValue(const IKBValue& Value) { FValue = Value; }

  // Same address and name, and the same value object or equal values.
  bool Equals(const TObject* Other) const override;
  std::string ToString() const override;

private:
  IKBValue FValue;
  TKBName FName;
};

// ---------------------------------------------------------------- TBindings

// One level's bindings by name. The table owns them: a replaced, removed or
// cleared binding is freed once its owner has heard of it.
class TBindings : public TVXStringObjectHashTable<TBinding*> {
  using TInherited = TVXStringObjectHashTable<TBinding*>;

public:
  explicit TBindings(TKBContext* AOwner);
  ~TBindings() override;

  TKBContext* GetOwner() const noexcept { return FOwner; }
  // Changes whenever a binding enters, leaves or is replaced, so that a
  // caller may keep pointers to the bindings while it stays the same. No two
  // tables ever show the same stamp, so a stamp alone names one table in one
  // state, and is never 0.
  std::uint64_t GetStamp() const noexcept { return FStamp; }
  // Enters Binding under its own name, in place of one of that name.
  virtual void Add(TBinding* Binding);
  // Empties the table, frees the bindings and reports tnCleared.
  void Clear() override;

protected:
  virtual void Notify(TBinding* Binding, TTableNotification Action);

  void DoAdd(std::int32_t HashCode, std::int32_t Index, const std::string& Key, TBinding* const& Value) override;
  // A nil binding removes the entry.
  void DoSetValue(std::int32_t Index, TBinding* const& Value) override;
  // An extracted binding goes to the caller; a removed one is freed and nil
  // is given back.
  TBinding* DoRemove(const std::string& Key, std::int32_t HashCode, TCollectionNotification Notification) override;

private:
  void Restamp() noexcept;

  TKBContext* FOwner;
  std::uint64_t FStamp;
};

// ---------------------------------------------------------------- TKBContext

// One level of the chain. The engine holds the root; every other level is
// made by Push and belongs to whoever pushed it.
class TKBContext : public TPersistent {
public:
  // AEngine counts only when it is a knowledge base.
  TKBContext(TKBContext* AParent, TComponent* AEngine);
  ~TKBContext() override;
  TKBContext(const TKBContext&) = delete;
  TKBContext& operator=(const TKBContext&) = delete;

  TKBContext* GetParent() const noexcept { return FParent; }
  // The engine, nil when there is none; reach it with a checked cast.
  TComponent* GetEngine() const noexcept { return FEngine; }
  const TBindings& GetBindings() const noexcept { return FBindings; }
  // The token under test or being fired.
  const IReteToken& GetToken() const noexcept { return FToken; }
  void SetToken(const IReteToken& Value);
  // The fact under test in a node; the fact past the token's last one when
  // a binding is resolved.
  const IFact& GetFact() const noexcept { return FFact; }
  void SetFact(const IFact& Value);

  // ------------------------------------------------------------ return state
  // True once a return value is set: the running body must stop.
  bool GetReturning() const noexcept { return FReturning; }
  const IKBValue& GetReturnValue() const noexcept { return FReturnValue; }
  virtual void SetReturnValue(const IKBValue& Value);
  virtual void ClearReturnValue();

  // ------------------------------------------------------------ bindings
  // This level first, then each level up; nil when nobody has the name.
  TBinding* FindBinding(const TKBName& Name) const;
  // Only the root of the chain.
  TBinding* FindGlobalBinding(const TKBName& Name) const;
  // Raises _SUnknownVariable for a name that no level has.
  IKBValue GetVariable(const TKBName& Name) const;
  // A binding at this level takes the value; otherwise as AddBinding.
  virtual void SetVariable(const TKBName& Name, const IKBValue& Value);
  // At the root: an existing binding takes the value, else a new one.
  virtual TBinding* AddGlobalBinding(const TKBName& Name, const IKBValue& Value);
  // A new binding at this level, hiding any outer one of that name.
  virtual TBinding* AddLocalBinding(const TKBName& Name, const IKBValue& Value);
  // A new address binding at this level, in place of one of that name here;
  // a binding of an outer level stays as it is.
  virtual TBinding* AddBinding(const TKBName& Name, std::int32_t FactIndex, const std::string& SlotIndex,
                               std::int32_t SubIndex);
  // A binding anywhere up the chain takes the value, so that an assignment
  // reaches an outer variable; else a new one at this level.
  virtual TBinding* AddBinding(const TKBName& Name, const IKBValue& Value);
  // Empties this level's table, which also clears the return state.
  virtual void Clear();
  // The table's report; tnCleared clears the return state.
  virtual void Notify(TBinding* Binding, TTableNotification Action);

  // ------------------------------------------------------------ levels
  // A new level below this one with the same engine; the caller owns it
  // and frees it after Pop.
  virtual std::unique_ptr<TKBContext> Push();
  // Hands the return state to the parent and gives the parent; the root
  // gives itself.
  virtual TKBContext* Pop();
  // Hangs a level that its owner keeps between uses below AParent again,
  // with AParent's engine; the bindings stay as they are.
  void Reattach(TKBContext* AParent) noexcept;

  // ------------------------------------------------------------ evaluation
  // Each item resolved; an item that resolves to a list gives its own
  // expansion in its place. The result is flat and has no variables.
  IValueVector ExpandList(const IValueVector& List);
  // The items of List and of all nested lists in order, unresolved.
  static IValueVector FlattenList(const IValueVector& List);
  // Readies Fact for assertion: each slot's value resolved in this context,
  // fitted to fuzzy slots or flattened in plain ones, and written back.
  IFact Resolve(const IFact& Fact);
  // What Resolve gives for a clone of Fact, without copying the values that
  // resolving replaces anyway: a rule's action asserts its written fact so.
  IFact ResolveClone(const IFact& Fact);

  // The value a binding address stands for here, as a value that holds the
  // address resolves it; the fact past the token's last one is the fact
  // under test. A value that a fact owns comes without a count and holds
  // while the fact stays as it is; one made for the occasion lands in Keep.
  TKBValue* PeekBound(const TBindingInfo& Info, IKBValue& Keep);

  // Copies the return state, the value as a clone; bindings stay.
  void Assign(TPersistent* Source) override;

private:
  TKBContext* Root() noexcept;
  const TKBContext* Root() const noexcept;
  void ExpandInto(TValueVector& Result, const IValueVector& List);
  // Value->Resolve(this), with a call run directly.
  IKBValue ResolveValue(TKBValue& Value);
  // One slot's resolved value, fitted as Resolve fits it.
  IKBValue FitSlotValue(const TFactTemplate& Template, bool Fuzzy, const TKBName& Name, IKBValue Value);
  static void FlattenInto(TValueVector& Result, const IValueVector& List);

  bool FReturning = false;
  IKBValue FReturnValue;
  TComponent* FEngine = nullptr;
  TBindings FBindings;
  TKBContext* FParent;
  IFact FFact;
  IReteToken FToken;
};

}  // namespace cogent
