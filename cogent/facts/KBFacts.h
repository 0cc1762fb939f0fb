#pragma once
// Working-memory items and their schema: template slots, fact templates,
// facts, and fact sets (the deffacts construct).

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cogent/facts/KBModule.h"
#include "cogent/foundation/VXCollections.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBDefinedType;
using IKBDefinedType = Ref<TKBDefinedType>;
class IKnowledgeBase;
class TFactTemplate;

// ---------------------------------------------------------------- TFactSlot

// A persistent base that adds only interface support.
class TFactSlotPersistent : public TPersistent, public ICloneable {};

// One named slot of a template: its allowed types, its default and an
// optional defined type that constrains it.
class TFactSlot : public TFactSlotPersistent {
public:
  // Out of line: the defined type is incomplete here.
  explicit TFactSlot(TFactTemplate* AOwner = nullptr);

  TFactTemplate* GetOwner() const noexcept { return FOwner; }
  bool GetDefaultDynamic() const noexcept { return FDefaultDynamic; }
  void SetDefaultDynamic(bool Value) noexcept;
  IKBDefinedType GetExtendedTypeInfo() const;
  virtual void SetExtendedTypeInfo(const IKBDefinedType& Value);
  const TKBName& GetName() const noexcept { return FName; }
  // Checks the name; with an owner the template re-files the slot under it.
  virtual void SetName(const TKBName& Value);
  IKBValue GetSlotDefault() const { return FSlotDefault; }
  // Constants are shared, anything else is cloned; under dynamic type checks
  // an invalid default raises _SInvalidSlotDefault.
  virtual void SetSlotDefault(const IKBValue& Value);
  TKBTypes GetSlotType() const noexcept { return FSlotType; }
  virtual void SetSlotType(TKBTypes Value);
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  // The owner's name, empty for a free slot.
  TKBName GetTemplateName() const;
  bool IsFuzzy() const noexcept { return FSlotType.Contains(dtFuzzy); }
  bool IsMultiSlot() const noexcept { return FSlotType.Contains(dtMultiSlot); }
  virtual IKBValue CreateValidDefault(bool Multi);
  // Empty for a valid value, else "<reason> for <name> slot".
  std::string GetInvalidValueString(const IKBValue& Value) const;
  bool IsValid(const IKBValue& Value) const;
  // Valid by its type alone: a first check that needs neither the engine nor
  // a defined type. False says nothing.
  bool IsPlainlyValid(const IKBValue& Value) const noexcept {
    return Value && Value != FCNil && !FExtendedTypeInfo && Value->GetDType() != dtList &&
           FSlotType.Contains(Value->GetDType());
  }
  std::string ToString() const override;

  bool Equals(const IFactSlot& Other) const;
  bool Equals(const IInterface& Other) const override;
  void Assign(const IInterface& Source) override;
  void Assign(TPersistent* Source) override;
  IFactSlot Clone() const;
  IInterface CloneInterface() const override;

protected:
  ~TFactSlot() override;
  // The default was changed from the outside.
  virtual void ValueChanged(const IKBValue& Value);

private:
  friend class TFactTemplate;
  // Under dynamic type checks of the owner's engine.
  bool DynamicChecks() const;
  void AssignSlot(const TFactSlot& Source);

  TFactTemplate* FOwner;
  IKBValue FSlotDefault;
  TKBName FName;
  TKBTypes FSlotType;
  std::intptr_t FTag = 0;
  IKBDefinedType FExtendedTypeInfo;
  bool FDefaultDynamic = false;
};

// Slots by name, with an iterator over the slots in table order.
class TFactTemplateSlots : public TVXStringHashTable<IFactSlot> {
public:
  TFactTemplateSlots() : TVXStringHashTable<IFactSlot>(11) {}
  IInterfaceIterator GetIterator() const;
};

// ---------------------------------------------------------------- TFactTemplate

// A class of facts: its relation name and its named slots. A template with
// one multislot "__Data" is ordered: its facts are plain lists of fields.
class TFactTemplate : public TModuleConstruct {
public:
  // AOwner is the engine or any other owner; with an engine the template's
  // home is the engine's current module.
  explicit TFactTemplate(TPersistent* AOwner);
  TFactTemplate(TPersistent* AOwner, const TKBName& AName);
  // A child of AParent: a copy of the parent with its own name and comment.
  TFactTemplate(TPersistent* AOwner, const TKBName& AName, const std::string& AComment, const IFactTemplate& AParent);

  TPersistent* GetAOwner() const noexcept { return FOwner; }
  // The owner when it is an engine.
  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  const TKBName& GetTemplateName() const noexcept { return FTemplateName; }
  // Checks the name; with an engine the engine is told of the rename first.
  virtual void SetTemplateName(const TKBName& Value);
  const std::string& GetComment() const noexcept { return FComment; }
  virtual void SetComment(const std::string& Value) { FComment = Value; }
  bool IsBackwardChaining() const noexcept { return FBackwardChaining; }
  virtual void SetBackwardChaining(bool Value) { FBackwardChaining = Value; }
  IFactTemplate GetParent() const { return FParent; }
  virtual void SetParent(const IFactTemplate& Value);
  bool IsOrdered() const noexcept { return FOrdered; }
  // True when a slot holds fuzzy values; cached until a slot type changes.
  bool IsFuzzy() const { return FNeedIsFuzzy ? UpdateIsFuzzy() : FIsFuzzy; }
  // Hash of the name and the sorted slot names; cached until a name changes.
  std::int32_t GetHashCode() const;

  int GetSlotCount() const { return FFactSlots.GetCount(); }
  // Raises _SInvalidSlotName for an unknown name.
  IFactSlot GetSlot(const TKBName& Name) const;
  const TFactTemplateSlots& GetSlots() const noexcept { return FFactSlots; }
  // The slot names in sorted order.
  const TStringList<>& GetSlotNames() const noexcept { return FFactSlotNames; }
  // Raises _SNoIndexNameMatch when Slot's name isn't Name.
  virtual void SetSlot(const TKBName& Name, const IFactSlot& Slot);
  virtual IFactSlot AddMultiSlot(const TKBName& Name, const IKBValue& Default);
  virtual IFactSlot AddSlot(const TKBName& Name, const IKBValue& Default);
  // Adds a copy of Slot; the given slot is never shared.
  virtual IFactSlot AddSlot(const IFactSlot& Slot);
  bool ContainsSlot(const TKBName& Name) const { return FFactSlots.ContainsKey(Name); }
  bool ContainsSlot(const TKBName& Name, IFactSlot& Slot) const;
  // The first slot constrained by that very type, else nil.
  IFactSlot ContainsType(const IKBDefinedType& DefinedType) const;

  // Slots by position. A slot name keeps the position it first had for the
  // template's life, so that facts and compiled tests can hold positions;
  // the serial changes whenever a name takes a new position, so that a
  // position looked up for a name may be kept under the serial.
  int GetPositionCount() const {
    if (FNeedPositions) UpdatePositions();
    return static_cast<int>(FSlotAt.size());
  }
  // -1 for a name no slot of the template has had.
  int PositionOf(std::string_view Name) const {
    if (FNeedPositions) UpdatePositions();
    const int Position = LiveNameAt(Name);
    return Position >= 0 ? Position : PositionOfSlowly(Name);
  }
  // The slot called Name now, nil if none is, and its position; the one
  // look-up that setting a value by name takes.
  TFactSlot* SlotNamed(std::string_view Name, int& Position) const {
    if (FNeedPositions) UpdatePositions();
    Position = LiveNameAt(Name);
    if (Position >= 0) return FSlotAt[static_cast<std::size_t>(Position)];
    Position = PositionOfSlowly(Name);
    return Position >= 0 ? FSlotAt[static_cast<std::size_t>(Position)] : nullptr;
  }
  // The same while the positions are up to date and Name is among the names
  // kept in place, else nil: a look-up that calls nothing, for a caller that
  // takes the long way when it fails.
  TFactSlot* KnownSlotNamed(std::string_view Name, int& Position) const noexcept {
    if (FNeedPositions) return nullptr;
    Position = LiveNameAt(Name);
    return Position >= 0 ? FSlotAt[static_cast<std::size_t>(Position)] : nullptr;
  }
  // The slot that has the position now, or nil.
  TFactSlot* SlotAt(int Position) const {
    if (FNeedPositions) UpdatePositions();
    return Position >= 0 && static_cast<std::size_t>(Position) < FSlotAt.size()
               ? FSlotAt[static_cast<std::size_t>(Position)]
               : nullptr;
  }
  // The positions of the slots in sorted name order.
  const std::vector<int>& GetSortedPositions() const;
  // The slots by position, nil where a slot has left.
  const std::vector<TFactSlot*>& GetSlotsAt() const {
    if (FNeedPositions) UpdatePositions();
    return FSlotAt;
  }
  std::uint64_t GetSerial() const {
    if (FNeedPositions) UpdatePositions();
    return FSerial;
  }
  virtual void RemoveSlot(const TKBName& Name);
  virtual void ClearSlots();

  // A fact of this template with id -1, filled with defaults.
  virtual IFact NewFact();
  // A fact of this template with room for every slot and nothing in any:
  // what a copy fills slot by slot.
  IFact NewBlankFact();
  // Gives Fact a clone of each slot's default; dynamic defaults are resolved
  // in the engine's global context.
  virtual void FillFactWithDefaults(const IFact& Fact);
  // Clears the slots and rebuilds each from Source's.
  void AssignSlots(const IFactTemplate& Source);

  std::string ToString() const override;
  bool Equals(const IFactTemplate& Other) const;
  bool Equals(const IInterface& Other) const override;
  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source) override;
  // A copy owned by AOwner. It starts as "<name> Copy" under an engine and
  // nameless otherwise, then takes this template's name with the rest of it
  // (the engine is not told).
  IFactTemplate Clone(TPersistent* AOwner) const;
  IInterface CloneInterface() const override;

protected:
  ~TFactTemplate() override;
  // The hooks a slot calls on its owner.
  virtual void NewSlotName(TFactSlot* Slot, TKBName& Name);
  virtual void NewSlotDefault(TFactSlot* Slot, IKBValue& Value);
  virtual void NewSlotType(TFactSlot* Slot, TKBTypes& Types);
  virtual std::string SlotToString(const TFactSlot* Slot) const;

private:
  friend class TFactSlot;
  void UpdateOrdered();
  void MarkStale() noexcept;
  // Brings the positions up to date with the slots.
  void UpdatePositions() const;
  bool UpdateIsFuzzy() const;
  // The position of the live slot called Name among the names kept in
  // place, else -1. A template has a few slots: comparing their names is
  // quicker than hashing the one asked for, and most names differ in length
  // or first byte.
  int LiveNameAt(std::string_view Name) const noexcept {
    const std::size_t Length = Name.size();
    const char* const Text = Name.data();
    const TNameAt* const Names = FNameAt.data();
    const std::size_t Count = FNameAt.size();
    for (std::size_t Position = 0; Position < Count; ++Position) {
      const TNameAt& Known = Names[Position];
      if (Known.Size != Length || (Length != 0 && Known.Data[0] != Text[0])) continue;
      // Slot names are short: a byte loop here beats a call.
      std::size_t Same = 1;
      while (Same < Length && Known.Data[Same] == Text[Same]) ++Same;
      if (Same >= Length) return static_cast<int>(Position);
    }
    return -1;
  }
  // PositionOf past the names compared in place.
  int PositionOfSlowly(std::string_view Name) const;
  // Clears the owner of a slot that leaves this template.
  void ReleaseSlot(const IFactSlot& Slot) noexcept;

  bool FBackwardChaining = false;
  IFactTemplate FParent;
  std::string FComment;
  TFactTemplateSlots FFactSlots;
  TKBName FTemplateName;
  bool FOrdered = false;
  TPersistent* FOwner;
  // The owner as engine, when it is one; the owner never changes, and facts
  // ask for the engine on every slot they set.
  IKnowledgeBase* FEngine;
  mutable bool FNeedIsFuzzy = true;
  mutable bool FIsFuzzy = false;
  mutable bool FNeedHashCode = true;
  mutable std::int32_t FHashCode = 0;
  TStringList<> FFactSlotNames;
  mutable bool FNeedPositions = true;
  mutable std::uint64_t FSerial;
  // Looked up by any text, without making a name of it.
  struct TNameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view Name) const noexcept { return std::hash<std::string_view>()(Name); }
  };
  // A live slot's name in place; a position whose slot has left matches nothing.
  struct TNameAt {
    const char* Data = nullptr;
    std::size_t Size = std::string_view::npos;
  };
  mutable std::unordered_map<TKBName, int, TNameHash, std::equal_to<>> FPositions;
  mutable std::vector<TFactSlot*> FSlotAt;
  // The slots' names by position, for a template of few positions; else empty.
  mutable std::vector<TNameAt> FNameAt;
  mutable std::vector<int> FSortedPositions;
  // Some slot's default is worked out anew for each fact.
  mutable bool FAnyDynamicDefault = false;
};

// A slot named once and read in many facts, as compiled tests do: its
// position is looked up once per template and kept.
class TSlotRef {
public:
  explicit TSlotRef(TKBName AName = {}) : FName(std::move(AName)) {}
  const TKBName& GetName() const noexcept { return FName; }
  void SetName(const TKBName& Value) {
    FName = Value;
    FSerial = 0;
  }
  // -1 when Template has never had the slot.
  int PositionIn(const TFactTemplate& Template) const {
    const std::uint64_t Serial = Template.GetSerial();
    if (Serial != FSerial) {
      FPosition = Template.PositionOf(FName);
      FSerial = Serial;
    }
    return FPosition;
  }

private:
  TKBName FName;
  mutable std::uint64_t FSerial = 0;
  mutable int FPosition = -1;
};

// ---------------------------------------------------------------- TFact

// A fact's values by slot position: an array and its length, a third of a
// vector's size in the fact. One value, an ordered fact's one slot, is kept
// in place of the array's address and takes no block of its own.
class TFactValues {
public:
  TFactValues() noexcept : FItems(nullptr) {}
  explicit TFactValues(std::size_t Count) : FItems(nullptr) {
    if (Count == 1) {
      ::new (static_cast<void*>(&FOne)) IKBValue();
    } else if (Count) {
      FItems = static_cast<IKBValue*>(pool::Allocate(Count * sizeof(IKBValue)));
      // A template has a few slots: a call to clear a few words costs more
      // than storing them.
      switch (Count) {
        case 4: ::new (static_cast<void*>(FItems + 3)) IKBValue(); [[fallthrough]];
        case 3: ::new (static_cast<void*>(FItems + 2)) IKBValue(); [[fallthrough]];
        case 2:
          ::new (static_cast<void*>(FItems + 1)) IKBValue();
          ::new (static_cast<void*>(FItems)) IKBValue();
          break;
        default: std::uninitialized_value_construct_n(FItems, Count);
      }
    }
    FCount = Narrow(Count);
  }
  TFactValues(TFactValues&& Other) noexcept : FItems(nullptr) { Take(Other); }
  TFactValues& operator=(TFactValues&& Other) noexcept {
    if (this != &Other) {
      clear();
      Take(Other);
    }
    return *this;
  }
  ~TFactValues() { clear(); }

  std::size_t size() const noexcept { return FCount; }
  IKBValue& operator[](std::size_t Index) const noexcept { return begin()[Index]; }
  IKBValue* begin() const noexcept { return FCount == 1 ? const_cast<IKBValue*>(&FOne) : FItems; }
  IKBValue* end() const noexcept { return begin() + FCount; }
  void clear() noexcept {
    if (FCount == 1) {
      // Let go while the value is still in place: its end may look here.
      FOne.reset();
      FOne.~IKBValue();
      FItems = nullptr;
      FCount = 0;
      return;
    }
    if (!FItems) return;
    std::destroy_n(FItems, FCount);
    pool::Free(FItems, FCount * sizeof(IKBValue));
    FItems = nullptr;
    FCount = 0;
  }
  // Keeps the values that still fit; new positions are nil.
  void resize(std::size_t Count) {
    TFactValues Grown(Count);
    for (std::size_t I = 0; I < Count && I < FCount; ++I) Grown[I] = std::move(begin()[I]);
    *this = std::move(Grown);
  }
  void swap(TFactValues& Other) noexcept {
    TFactValues Held(std::move(Other));
    Other = std::move(*this);
    *this = std::move(Held);
  }

private:
  static std::uint32_t Narrow(std::size_t Count) noexcept { return static_cast<std::uint32_t>(Count); }
  // Other's values moved into this empty array; Other is left empty.
  void Take(TFactValues& Other) noexcept {
    if (Other.FCount == 1) {
      ::new (static_cast<void*>(&FOne)) IKBValue(std::move(Other.FOne));
      Other.FOne.~IKBValue();
      Other.FItems = nullptr;
    } else {
      FItems = std::exchange(Other.FItems, nullptr);
    }
    FCount = std::exchange(Other.FCount, 0);
  }

  // A block of the pool, without the count that new[] keeps before the
  // items; the one value itself when the count is 1.
  union {
    IKBValue* FItems;
    IKBValue FOne;
  };
  std::uint32_t FCount = 0;
};

// One item of working memory. Slot values are filled in lazily from the
// template's defaults as they are read.
class TFact : public TPersistent, public ICloneable {
public:
  COGENT_POOLED(TFact)

  explicit TFact(const IFactTemplate& ATemplate = nullptr, const IFact& ASource = nullptr);

  std::int32_t GetID() const noexcept { return FID; }
  virtual void SetID(std::int32_t Value) { FID = Value; }
  IFactTemplate GetTemplate() const { return FTemplate; }
  const IFactTemplate& GetTemplateRef() const noexcept { return FTemplate; }
  // Values of the slots the two templates share survive the change.
  virtual void SetTemplate(const IFactTemplate& Value);
  // Few facts carry a tag: it lives in a table of its own, keyed by the fact.
  std::intptr_t GetTag() const override { return FHasTag ? LookUpTag() : 0; }
  void SetTag(std::intptr_t Value) override;

  // The slot's value, entered from the default on first reading; raises
  // _SInvalidSlotName for a slot the template lacks.
  IKBValue GetValue(const TKBName& Name) const;
  IKBValue GetValue(const TSlotRef& Slot) const;
  // The same without a count of their own, for tests that only compare: a
  // reference that holds while the fact does not change.
  const IKBValue& GetValueRef(const TSlotRef& Slot) const {
    if (FTemplate) {
      const auto Position = static_cast<std::size_t>(Slot.PositionIn(*FTemplate));
      if (Position < FValues.size() && FValues[Position]) return FValues[Position];
    }
    return GetValueRefSlowly(Slot);
  }
  // Nil for a slot the template lacks.
  const IKBValue& ContainsKeyRef(const TSlotRef& Slot) const;
  // The value entered at a position, nil where none was read or set yet;
  // unlike the readers above it enters no default.
  TKBValue* GetEnteredValue(int Position) const noexcept {
    return Position >= 0 && static_cast<std::size_t>(Position) < FValues.size()
               ? FValues[static_cast<std::size_t>(Position)].get()
               : nullptr;
  }
  // The slot's value like GetValue, or nil for a slot the template lacks.
  IKBValue ContainsKey(const TKBName& Name) const;
  IKBValue ContainsKey(const TSlotRef& Slot) const;
  // Shares Value; under dynamic type checks converts or refuses it.
  virtual void SetValue(std::string_view Name, IKBValue Value);
  // SetValue for the slot at Position, as the template's PositionOf gives it;
  // raises _SInvalidSlotName when no slot of the template has the position.
  void SetValueAt(int Position, const IKBValue& Value);
  // Takes clones of Source's values; both must have the same template.
  virtual void AssignValues(const IFact& Source);
  // The values read or set so far, and their slot names, by position.
  IInterfaceIterator GetSlotValues() const;
  IStringIterator GetSlotNames() const;

  // Template identity and the values of the non-fuzzy slots.
  bool Equals(const IFact& Other) const;
  bool Equals(const IInterface& Other) const override;
  // Mixes the template's identity and the hash of each non-fuzzy slot value
  // in slot position order, a multifield item by item after its length; equal
  // facts hash alike. Kept until the fact changes through its own setters (a
  // value changed in place under the fact does not re-hash it).
  //
  // The fact's first integer field gives the code its low NeighbourBits bits
  // (mixed with the rest) and is mixed in without them: facts that differ in
  // those bits of that field alone, as facts numbered in sequence do, share
  // the code's other bits, and an index can file them side by side.
  std::int32_t GetHashCode() const { return FHashValid ? FHashCode : HashValues(); }
  static constexpr int NeighbourBits = 2;
  // The hash code as last worked out, also when the fact has changed since:
  // the one an index filed the fact under.
  std::int32_t GetLastHashCode() const noexcept { return FHashCode; }
  std::string ToString() const override;
  // "f-<id> <text>", the id padded to the digits of the engine's counter.
  std::string GetToIDString() const;

  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source) override;
  IFact Clone() const;
  IInterface CloneInterface() const override;

protected:
  ~TFact() override;

private:
  friend class TFactTemplate;
  std::intptr_t LookUpTag() const noexcept;
  // A new fact of the template with room for each of its positions.
  TFact(TFactTemplate* ATemplate, std::size_t Positions) : FValues(Positions), FTemplate(ATemplate) {}
  // The engine of the template's owner, if any.
  IKnowledgeBase* TemplateEngine() const noexcept;
  // Under dynamic type checks of that engine.
  bool DynamicChecks() const noexcept;
  // Crosses engines through the fact's text; true when it did.
  bool AssignAcrossEngines(const TFact& Source);
  // Both Assign forms; ThroughSetValue is the persistent one.
  void AssignFact(const TFact& Source, bool ThroughSetValue);
  // Clones of the values by position.
  static TFactValues CloneValues(const TFact& Source);
  // Values by the positions of the fact's template.
  void ReplaceValues(TFactValues&& Values);
  // The value at the position of Slot, entered from its default on first reading.
  const IKBValue& ValueAt(int Position, const TFactSlot& Slot) const;
  const IKBValue& GetValueRefSlowly(const TSlotRef& Slot) const;
  // Stores Value at the position of Slot, after the checks of SetValue.
  void StoreAt(int Position, const TFactSlot& Slot, IKBValue Value);
  // Stores a value that needs no check.
  void Put(int Position, IKBValue&& Value);
  // SetValue past its common case.
  void SetValueSlowly(std::string_view Name, IKBValue& Value);
  // Works the hash code out and keeps it.
  std::int32_t HashValues() const;
  // GetValue of the slot at Position, called Name.
  const IKBValue& GetValueAt(int Position, const TKBName& Name) const;
  // Room for every position of the template, so that a reference to one
  // value stays good while others are entered.
  void CoverPositions() const {
    const auto Count = static_cast<std::size_t>(FTemplate->GetPositionCount());
    if (FValues.size() < Count) FValues.resize(Count);
  }

  void Changed() noexcept { FHashValid = false; }

  // By the template's slot positions; nil where not read or set yet.
  // The hash code sits in the gap after the values' length.
  [[no_unique_address]] mutable TFactValues FValues;
  mutable std::int32_t FHashCode = 0;
  std::int32_t FID = -1;
  mutable bool FHashValid = false;
  bool FHasTag = false;
  IFactTemplate FTemplate;
};

inline IFact TFactTemplate::NewBlankFact() {
  return IFact(new TFact(this, static_cast<std::size_t>(GetPositionCount())));
}

// ---------------------------------------------------------------- fact sets

class TFactSet;

// The lines of a fact set: each fact's text, with the parsed fact as data.
class TFactSetFacts : public TStringList<IInterface> {
public:
  explicit TFactSetFacts(TFactSet* AFactSet) : FFactSet(AFactSet) {}
  IFact GetFactData(int Index) const { return GetData(Index).As<TFact>(); }
  void PutFactData(int Index, const IFact& Fact) { PutData(Index, Fact); }
  int IndexOfData(const IFact& Fact) const;
  TFactSet* GetFactSet() const noexcept { return FFactSet; }

private:
  TFactSet* FFactSet;
};

// A named list of facts asserted at each reset, kept as text and as parsed
// facts side by side so that it can live without an engine.
class TFactSet : public TComponent {
public:
  explicit TFactSet(TComponent* AOwner);
  TFactSet(TComponent* AOwner, const std::string& AModule, const TKBName& AName);
  ~TFactSet() override;

  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  const TKBName& GetFactSetName() const noexcept { return FFactSetName; }
  void SetFactSetName(const TKBName& Value);
  // Empty means "MAIN".
  const std::string& GetModule() const noexcept { return FModule; }
  void SetModule(const std::string& Value);
  TComponent* GetEngine() const noexcept { return FEngine; }
  // Enters the set into its module's fact sets and parses its lines anew.
  void SetEngine(TComponent* Value);
  // Moves the set between engines without parsing.
  void SetEngineNoParse(TComponent* Value);
  TFactSetFacts* GetFacts() const noexcept { return FFacts.get(); }
  void SetFacts(const TStrings& Value);

  int GetCount() const { return FFacts->GetCount(); }
  virtual void AddFact(const IFact& Fact);
  // The parsed fact of a line, parsing it when needed; may be nil.
  IFact GetFact(int Index);
  void SetFact(int Index, const IFact& Fact);
  int IndexOf(const IFact& Fact) const { return FFacts->IndexOfData(Fact); }
  void Remove(const IFact& Fact);
  // Focuses the set's module when another is current; gives the module that
  // was current then, else nil.
  IModule FocusModule(bool Force);
  // Asserts a resolved clone of each fact into the set's module.
  virtual void Reset();
  virtual void Reload();
  TFactSet* Clone(TComponent* AOwner) const;
  void Assign(TPersistent* Source) override;
  std::string ToString() const override;

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;
  void Loaded() override;

private:
  IKnowledgeBase* Engine() const noexcept;
  // Takes the set out of every module's fact sets of AEngine, telling nobody.
  void LeaveLists(IKnowledgeBase* AEngine);
  void ForgetParsedFacts();
  void ParseLines();

  std::string FComment;
  TComponent* FEngine = nullptr;
  TKBName FFactSetName = "FactSet";
  std::unique_ptr<TFactSetFacts> FFacts;
  std::string FModule;
};

}  // namespace cogent
