#pragma once
// The construct collections of a module and of the engine. Each is bound to
// its engine (nil makes it a plain table that raises no event) and, per
// module, to its module. A second construct under a name follows the
// engine's DuplicateConstructs.

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "cogent/common/VXInterfaceList.h"
#include "cogent/common/VXTextStream.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/foundation/VXHashTable.h"
#include "cogent/rules/KBRule.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TInferenceEngine;

// What every collection knows: its engine and its module, both back
// references.
class TKBEngineBound {
public:
  TKBEngineBound(TInferenceEngine* AEngine, TModule* AModule) : FEngine(AEngine), FModule(AModule) {}

  TInferenceEngine* GetEngine() const noexcept { return FEngine; }
  void SetEngine(TInferenceEngine* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }
  void SetModule(TModule* Value) noexcept { FModule = Value; }

protected:
  TInferenceEngine* FEngine;
  TModule* FModule;
};

// ---------------------------------------------------------------- TValueHashTable

// Names to values; the base of the engine's variable tables.
class TValueHashTable : public TVXStringHashTable<IKBValue> {
public:
  TValueHashTable() = default;
  // From another value table: its pairs with clones of the values.
  void Assign(TPersistent* Source) override;
  // "name = value" lines, each ended by CR LF, in table order.
  std::string ToString() const override;
};

// ---------------------------------------------------------------- templates and types

// The table of one kind of construct that modules share (templates and
// defined types). A shared construct is one object in several tables; each
// table keeps the construct's list of importing modules and its own count of
// constructs that other modules own.
template <class T>
class TSharedConstructTable : public TVXStringHashTable<Ref<T>>, public TKBEngineBound {
public:
  using TItem = Ref<T>;

  TSharedConstructTable(TInferenceEngine* AEngine, TModule* AModule) : TKBEngineBound(AEngine, AModule) {}
  ~TSharedConstructTable() override;

  // Put under the construct's name.
  void Add(const TItem& Item);
  // Gives the removed construct, or nil.
  TItem Remove(const TKBName& Key);
  void Clear() override;
  void Clear(TConstructScope Scope);
  // Puts New in the place of Old (or, without Old, under its name) and,
  // with an engine, lets Old's dependents follow it. Gives New.
  TItem Replace(const TItem& Old, const TItem& New);
  int GetImportCount() const noexcept { return FImportCount; }
  int GetLocalsCount() const noexcept { return this->GetCount() - FImportCount; }
  // Parents before their children; LocalsToString only the module's own.
  std::string ToString() const override;
  std::string LocalsToString() const;
  // The module's own constructs, parents before their children.
  std::vector<TItem> Locals() const;

protected:
  // The duplicate policy of the engine.
  void DoSetValue(std::int32_t Index, const TItem& Value) override;
  // Where the DoAdd of a kind ends: the entry, the bookkeeping, the event.
  void Enter(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const TItem& Item);
  // What a construct needs before it enters the table (DoAdd and Replace).
  virtual TItem Admit(const TItem& Item) { return Item; }
  // The engine hears of a removal and takes away what depends on Item.
  virtual void Removing(const TItem& Item) = 0;
  // The engine hears of an addition, of a construct leaving for another.
  virtual void Added(const TItem& Item) = 0;
  virtual void Leaving(const TItem& Item) = 0;
  // New stands where Old stood; what depended on Old follows.
  virtual void Replaced(const TItem& Old, const TItem& New) = 0;
  // What depends on the constructs goes before they do; then the event.
  virtual void Clearing() = 0;
  virtual void Cleared() = 0;
  // Takes Item out if this table holds it, with the bookkeeping.
  bool Forget(const TItem& Item);

private:
  friend class TInferenceEngine;
  // Table work without the policy, the events or the bookkeeping.
  void PutEntry(const TKBName& Key, const TItem& Value);
  // Moves the entry of Item from OldName to NewName.
  void Rekey(const TItem& Item, const TKBName& OldName, const TKBName& NewName);
  // The bookkeeping of a construct that enters or leaves the table.
  void TakeIn(const TItem& Item);
  void LetGo(const TItem& Item);
  std::string Text(const std::vector<TItem>& Items) const;

  int FImportCount = 0;
};

class TFactTemplates : public TSharedConstructTable<TFactTemplate> {
public:
  using TSharedConstructTable<TFactTemplate>::TSharedConstructTable;
  // "Templates", read only: the table is emptied and each text read and added.
  void DefineProperties(TFiler& Filer) override;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IFactTemplate& Value) override;
  // A template without slots gets the multislot "__Data"; with several
  // modules its defined types must be known here.
  IFactTemplate Admit(const IFactTemplate& Template) override;
  void Added(const IFactTemplate& Template) override;
  void Removing(const IFactTemplate& Template) override;
  void Leaving(const IFactTemplate& Template) override;
  void Replaced(const IFactTemplate& Old, const IFactTemplate& New) override;
  void Clearing() override;
  void Cleared() override;
};

class TKBDefinedTypes : public TSharedConstructTable<TKBDefinedType> {
public:
  using TSharedConstructTable<TKBDefinedType>::TSharedConstructTable;
  // "DefTypes", read only: the table is emptied and each text read and added.
  void DefineProperties(TFiler& Filer) override;

  // The first defined type of Template's slots that this table lacks.
  IKBDefinedType FindUnsharedType(const IFactTemplate& Template) const;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IKBDefinedType& Value) override;
  void Added(const IKBDefinedType& DefType) override;
  void Removing(const IKBDefinedType& DefType) override;
  void Leaving(const IKBDefinedType& DefType) override;
  void Replaced(const IKBDefinedType& Old, const IKBDefinedType& New) override;
  void Clearing() override;
  void Cleared() override;
};

// ---------------------------------------------------------------- rules

class TRules : public TVXStringObjectHashTable<TRule*>, public TKBEngineBound {
public:
  TRules(TInferenceEngine* AEngine, TModule* AModule);
  ~TRules() override;

  void Add(TRule* Rule);
  // Removes the entry under Key only if it is ARule.
  void Remove(const TKBName& Key, TRule* ARule);
  void Clear() override;
  // Rule texts sorted ignoring case, an empty line between rules.
  std::string ToString() const override;
  // "Rules", read only and only with an engine: each text read and added.
  void DefineProperties(TFiler& Filer) override;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, TRule* const& Value) override;
  void DoSetValue(std::int32_t Index, TRule* const& Value) override;
  TRule* DoRemove(const TKBName& Key, std::int32_t HashCode, TCollectionNotification Notification) override;
};

// ---------------------------------------------------------------- fact sets

// The fact sets of a module, in order. A set entering the list gets the
// list's engine; a set leaving it loses it.
class TFactSets : public TPersistent, public TKBEngineBound {
public:
  TFactSets(TInferenceEngine* AEngine, TModule* AModule);
  ~TFactSets() override;

  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  // A set of the same name replaces the one in the list, which loses its
  // engine; the same set again gives its index.
  int Add(TFactSet* FactSet);
  void Insert(int Index, TFactSet* FactSet);
  int Remove(TFactSet* FactSet);
  void Delete(int Index);
  // Takes the set out without telling it.
  void Extract(TFactSet* FactSet);
  int IndexOf(const TFactSet* FactSet) const;
  int IndexOf(const TKBName& Name) const;
  TFactSet* GetItem(int Index) const;
  void SetItem(int Index, TFactSet* FactSet);
  void Clear();
  std::string ToString() const override;

private:
  // The set is told the list's engine as it enters, and loses it as it leaves
  // unless it is still in the list.
  void Entered(TFactSet* FactSet);
  void Left(TFactSet* FactSet);

  std::vector<TFactSet*> FItems;
};

// ---------------------------------------------------------------- functions

class TUserFunctions : public TVXStringHashTable<IUserFunction>, public TKBEngineBound {
public:
  explicit TUserFunctions(TInferenceEngine* AEngine);
  ~TUserFunctions() override;

  void Add(const IUserFunction& UserFunction);
  IUserFunction Remove(const TKBName& Key);
  void Clear() override;
  // SafeAssign keeps the functions this table has and Source lacks.
  void Assign(TPersistent* Source) override;
  void Assign(const TUserFunctions& Source, bool SafeAssign);
  void AssignInterpretedFunctions(const TUserFunctions& Source, bool SafeAssign);
  int GetNumInterpreted() const noexcept { return FNumInterpreted; }
  std::string NamesToString() const;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IUserFunction& Value) override;
  void DoSetValue(std::int32_t Index, const IUserFunction& Value) override;

private:
  int FNumInterpreted = 0;
  // The order of definition of the deffunctions, which copies keep.
  std::int32_t FNextOrder = 0;
};

// ---------------------------------------------------------------- variables

class TEngineVariables : public TValueHashTable, public TKBEngineBound {
public:
  explicit TEngineVariables(TInferenceEngine* AEngine) : TKBEngineBound(AEngine, nullptr) {}
  std::string ToString() const override;
  // "Variables": each variable as "?name = value", read back under the
  // name it gives.
  void DefineProperties(TFiler& Filer) override;
};

// Defglobal variables, keyed with their "?*" marks as written. The table
// keeps each expression; the engine's global context keeps the value.
class TGlobalVariables : public TEngineVariables {
public:
  using TEngineVariables::TEngineVariables;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const TKBName& Key, const IKBValue& Value) override;
  void DoSetValue(std::int32_t Index, const IKBValue& Value) override;
};

// ---------------------------------------------------------------- streams

// Logical names to text streams; the table frees each stream that leaves it
// while FreeStream is set.
class TIOStreams : public TVXStringObjectHashTable<TGTextStream*>, public TKBEngineBound {
public:
  explicit TIOStreams(TInferenceEngine* AEngine);
  ~TIOStreams() override;

  bool GetFreeStream() const noexcept { return FFreeStream; }
  void SetFreeStream(bool Value) noexcept { FFreeStream = Value; }
  void Add(const std::string& Key, TGTextStream* Stream);
  void Remove(const std::string& Key);
  void Clear() override;
  // Another stream table gives nothing: each stream has one owner.
  void Assign(TPersistent* Source) override;

protected:
  void DoAdd(std::int32_t HashCode, std::int32_t Index, const std::string& Key, TGTextStream* const& Value) override;
  void DoSetValue(std::int32_t Index, TGTextStream* const& Value) override;
  void ValueNotify(TGTextStream* const& Value, TCollectionNotification Action) override;

private:
  bool FFreeStream = true;
};

// ---------------------------------------------------------------- TFacts

// Gives a table back to the pool's large blocks, which need its size.
struct TFreeLargeTable {
  std::size_t Bytes = 0;
  void operator()(void* Table) const noexcept { pool::FreeLarge(Table, Bytes); }
};

// Facts under their hash codes, for finding a fact by content: open
// addressing with linear probing in one flat table, so that a look-up reads
// one run of neighbouring entries instead of chasing a node per fact.
//
// An entry is one word: the fact's address, and where the address leaves
// them free (as user addresses of the usual 64-bit systems do) the low 16
// bits of the hash in its top bits, marked by the low bit, which an aligned
// fact leaves free. A probe compares those bits and reads the fact only when
// they agree; an entry moved by a removal or a rebuild reads its fact's hash.
class TFactHashIndex {
public:
  void Clear() noexcept;
  // False, with nothing added, when the index is full: the caller rebuilds
  // it from all its facts, this one among them.
  bool Add(std::int32_t Hash, TFact* Fact);
  // Every fact of Facts anew; nil items are left out.
  void Rebuild(const IFact* Facts, std::size_t Count);
  // False when Fact is not filed under Hash.
  bool Remove(std::int32_t Hash, const TFact* Fact) noexcept;
  // For a fact whose hash moved since it was filed.
  bool RemoveAnywhere(const TFact* Fact) noexcept;
  template <class TVisit>
  void ForEach(std::int32_t Hash, TVisit&& Visit) const {
    if (!FEntries) return;
    for (std::size_t I = Home(Hash);; I = (I + 1) & FMask) {
      const TEntry Entry = FEntries[I];
      if (!Entry) return;
      if (Entry & Tagged) {
        if (Entry >> TagShift == static_cast<std::uint16_t>(Hash) && HashOf(Entry) == Hash) Visit(FactOf(Entry));
      } else if (HashOf(Entry) == Hash) {
        Visit(FactOf(Entry));
      }
    }
  }

private:
  using TEntry = std::uint64_t;
  static constexpr TEntry Tagged = 1;
  static constexpr int TagShift = 48;
  static constexpr TEntry AddressMask = (TEntry{1} << TagShift) - 2;
  static TEntry EntryOf(std::int32_t Hash, const TFact* Fact) noexcept {
    const auto Address = static_cast<TEntry>(reinterpret_cast<std::uintptr_t>(Fact));
    if (Address >> TagShift) return Address;
    return Address | Tagged | static_cast<TEntry>(static_cast<std::uint16_t>(Hash)) << TagShift;
  }
  static TFact* FactOf(TEntry Entry) noexcept {
    return reinterpret_cast<TFact*>(static_cast<std::uintptr_t>(Entry & Tagged ? Entry & AddressMask : Entry));
  }
  // The hash the fact was last worked out under.
  static std::int32_t HashOf(TEntry Entry) noexcept;
  std::size_t Home(std::int32_t Hash) const noexcept;
  void Resize(std::size_t Count);
  void Place(TEntry Entry, std::int32_t Hash) noexcept;
  void Erase(std::size_t Index) noexcept;
  // FMask + 1 entries from the pool's large blocks, nil while empty; a new
  // table comes zeroed from them, fresh pages without a pass of our own.
  std::unique_ptr<TEntry[], TFreeLargeTable> FEntries;
  std::size_t FMask = 0;
  std::size_t FCount = 0;
  int FShift = 64;
};

// The facts of one module in ascending id order, with caches that find a
// fact by content. A host may use it as a plain list: adding asserts,
// deleting retracts.
class TFacts : public TInterfaceListPersistent<TFact, pool::TLargeAllocator<IFact>>, public TKBEngineBound {
  using TFactList = TInterfaceListPersistent<TFact, pool::TLargeAllocator<IFact>>;

public:
  TFacts(TInferenceEngine* AEngine, TModule* AModule);
  // Owned by its module, not counted.
  ~TFacts() override;

  int Add(const IFact& Item);
  // The engine's own add, past the door: the fact goes to the end of the
  // list and into the index.
  int Append(const IFact& Item) { return ListAdd(Item); }
  void Insert(int Index, const IFact& Item);
  void Delete(int Index);
  int Remove(const IInterface& Item);
  void Clear() override;
  virtual void Clear(TConstructScope Scope);
  // By id: a binary search from 5 facts on, else identity.
  int IndexOf(const IFact& Item) const;
  // By content, through the cache when it is on; among equal facts the
  // oldest.
  int FindFact(const IFact& AFact) const;
  int FindFact(std::int32_t FactId) const;
  IFact GetFactByID(std::int32_t FactId) const;
  void SortByID();

  bool GetUpdating() const noexcept { return FUpdating; }
  void SetUpdating(bool Value) noexcept { FUpdating = Value; }
  bool GetPreserveIDs() const noexcept { return FPreserveIDs; }
  void SetPreserveIDs(bool Value) noexcept { FPreserveIDs = Value; }
  std::int32_t GetMaxID() const noexcept { return FMaxID; }
  bool GetCacheHashCodes() const noexcept { return FCacheHashCodes; }
  void SetCacheHashCodes(bool Value);
  // Facts whose template's home is another module.
  int GetImportCount() const;
  int GetLocalsCount() const { return GetCount() - GetImportCount(); }

  // Text forms joined by CR LF.
  std::string ToString() const override;
  std::string GetToIDString() const;
  std::string LocalsToString(bool IncludeIDs) const;
  void Assign(TPersistent* Source) override;
  virtual void AssignLocal(TPersistent* Source);
  void AssignTo(TPersistent* Dest) override;

private:
  void CreateCache();
  void FreeCache();
  void CacheAdd(const IFact& Fact);
  void CacheRemove(const IFact& Fact);
  // List work without the engine. The list hears nothing of its own adds:
  // it has no Notify of its own.
  int ListAdd(const IFact& Item);
  void ListDelete(int Index);
  void AddCopies(const TFacts& Source);

  bool FUpdating = false;
  bool FPreserveIDs = false;
  std::int32_t FMaxID = 0;
  bool FCacheHashCodes = false;
  // Every fact under its hash while FCacheHashCodes is on, fuzzy facts too
  // (their hash leaves the fuzzy slots out, as their equality does). A hash
  // only narrows the search: Equals decides.
  TFactHashIndex FCache;
};

}  // namespace cogent
