#pragma once
// Hash tables: a dictionary with a change event, update brackets and access
// by position, and its string-keyed forms that iterate and exchange their keys
// (and objects) with string lists. Change joins the overridable steps of the
// dictionary.

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/foundation/VXDictionary.h"
#include "cogent/host/Classes.h"
#include "cogent/host/Guards.h"
#include "cogent/host/RefCounted.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

// ---------------------------------------------------------------- TVXHashTable

// A dictionary with a change event, update brackets and access by position in
// bucket order. The position cache makes sweeps by index cost constant time a
// step; it is written by the const getters, so no table may be read from two
// threads at once.
template <class K, class V>
class TVXHashTable : public TVXDictionary<K, V> {
  using TInherited = TVXDictionary<K, V>;

public:
  using typename TInherited::TItem;
  using typename TInherited::TPairType;
  using TInherited::ContainsKey;
  using TInherited::EmptyHash;

  using TInherited::TInherited;

  // Raises EListError for an absent key.
  const V& Get(const K& Key) const { return this->GetItem(Key); }
  // The old value, or V{} for a new key.
  V Put(const K& Key, const V& Value) {
    V OldValue{};
    this->InternalAddOrSetValue(Key, Value, &OldValue);
    return OldValue;
  }
  void PutItem(const K& Key, const V& Value) { this->InternalAddOrSetValue(Key, Value, nullptr); }
  bool ContainsKey(const K& Key, V& Value) const { return this->TryGetValue(Key, Value); }
  bool ContainsItem(const V& Value) const { return this->ContainsValue(Value); }
  bool IsEmpty() const noexcept { return FCount == 0; }

  TPairType GetPairByIndex(std::int32_t Index) const {
    const TItem& Item = this->FItems[BucketOfIndex(Index)];
    return TPairType{Item.Key, Item.Value};
  }
  const V& GetItemByIndex(std::int32_t Index) const { return this->FItems[BucketOfIndex(Index)].Value; }
  const K& GetKeyByIndex(std::int32_t Index) const { return this->FItems[BucketOfIndex(Index)].Key; }

  virtual void BeginUpdate() { ++FUpdating; }
  virtual void EndUpdate() {
    if (FUpdating <= 0) return;
    if (--FUpdating == 0) Change();
  }
  std::int32_t GetUpdating() const noexcept { return FUpdating; }

  // One change, and no key or value notification reaches the events; a
  // subclass that must see each item overrides this.
  void Clear() override {
    const auto Update = UpdateGuard(*this);
    TInherited::Clear();
  }

  const TNotifyEvent& GetOnChange() const noexcept { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }

protected:
  using TInherited::FCount;
  using TInherited::FItems;

  virtual void Change() {
    if (FUpdating <= 0 && FOnChange) FOnChange(this);
  }

  void DoAdd(std::int32_t HashCode, std::int32_t Index, const K& Key, const V& Value) override {
    TInherited::DoAdd(HashCode, Index, Key, Value);
    Change();
  }
  void DoSetValue(std::int32_t Index, const V& Value) override {
    TInherited::DoSetValue(Index, Value);
    Change();
  }
  // Only an actual removal is a change.
  V DoRemove(const K& Key, std::int32_t HashCode, TCollectionNotification Notification) override {
    if (FCount == 0) throw EGHashtableError(SEmptyHashtable);
    const std::int32_t OldCount = FCount;
    V Result = TInherited::DoRemove(Key, HashCode, Notification);
    if (FCount != OldCount) Change();
    return Result;
  }

  // Every key notification means the positions may have moved.
  void KeyNotify(const K& Key, TCollectionNotification Action) override {
    FCachedIndex = -1;
    if (FUpdating < 1) TInherited::KeyNotify(Key, Action);
  }
  void ValueNotify(const V& Value, TCollectionNotification Action) override {
    if (FUpdating < 1) TInherited::ValueNotify(Value, Action);
  }
  void Rehash(std::int32_t NewCapacity) override {
    FCachedIndex = -1;
    TInherited::Rehash(NewCapacity);
  }

  // The bucket at position Index in counting order. From the cached position
  // the walk goes one step forward or back, or on forward when Index lies
  // ahead; anything else counts again from the start.
  std::int32_t BucketOfIndex(std::int32_t Index) const {
    if (Index < 0 || Index >= FCount) throw EListError(Format(SListIndexError, Index));
    if (FCachedIndex < 0 || Index < FCachedIndex - 1) {
      FCachedIndex = 0;
      FCachedItemIndex = NextOccupied(-1);
    }
    if (Index == FCachedIndex - 1) {
      std::int32_t Bucket = FCachedItemIndex - 1;
      while (FItems[Bucket].HashCode == EmptyHash) --Bucket;
      FCachedItemIndex = Bucket;
      FCachedIndex = Index;
    }
    while (FCachedIndex < Index) {
      FCachedItemIndex = NextOccupied(FCachedItemIndex);
      ++FCachedIndex;
    }
    return FCachedItemIndex;
  }

  std::int32_t NextOccupied(std::int32_t Bucket) const {
    do ++Bucket;
    while (FItems[Bucket].HashCode == EmptyHash);
    return Bucket;
  }

  TNotifyEvent FOnChange;
  std::int32_t FUpdating = 0;
  mutable std::int32_t FCachedIndex = -1;
  mutable std::int32_t FCachedItemIndex = -1;
};

// ---------------------------------------------------------------- string tables

template <class V>
class TVXStringHashTable : public TVXHashTable<std::string, V> {
  using TInherited = TVXHashTable<std::string, V>;

public:
  using TInherited::TInherited;
  using TItem = typename TInherited::TItem;

  // Iterates one field of the buckets in table order: the keys here, the
  // values for the object table. It refers to the table, which must outlive
  // it; a table changed under it raises rather than misreads.
  template <class T, T TItem::*Field>
  class TFieldIterator : public TCustomIterator<T> {
  public:
    explicit TFieldIterator(const TVXStringHashTable* AHashTable) : FHashTable(AHashTable) {}
    T CurrentElement() const override {
      if (FIndex < 0 || FIndex >= FHashTable->GetCapacity() || FHashTable->FItems[FIndex].HashCode == TInherited::EmptyHash)
        throw EListError(Format(SListIndexError, FIndex));
      return FHashTable->FItems[FIndex].*Field;
    }
    int GetCount() const override { return FHashTable->FCount; }
    bool HasMoreElements() const override { return FElementCount < FHashTable->FCount; }
    T NextElement() override { return FHashTable->FItems[FHashTable->NextIteratorBucket(FIndex, FElementCount)].*Field; }
    void Reset() override {
      FIndex = -1;
      FElementCount = 0;
    }

  protected:
    const TVXStringHashTable* FHashTable;
    std::int32_t FIndex = -1;
    std::int32_t FElementCount = 0;
  };
  using TStringIterator = TFieldIterator<std::string, &TItem::Key>;

  IStringIterator Indices() const { return IStringIterator(new TStringIterator(this)); }

  // From strings: the keys with empty values, in one update bracket.
  void Assign(TPersistent* Source) override {
    if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
      const auto Update = UpdateGuard(*this);
      this->Clear();
      for (int I = 0; I < Strings->GetCount(); ++I) this->PutItem(Strings->Get(I), V{});
      return;
    }
    TInherited::Assign(Source);
  }

protected:
  using TInherited::FCount;
  using TInherited::FItems;

  // To strings: the target is cleared and gets the keys in table order.
  void AssignTo(TPersistent* Dest) override {
    if (auto* Strings = dynamic_cast<TStrings*>(Dest)) {
      const auto Update = UpdateGuard(*Strings);
      Strings->Clear();
      for (const auto& Item : FItems)
        if (Item.HashCode != TInherited::EmptyHash) Strings->Add(Item.Key);
      return;
    }
    TInherited::AssignTo(Dest);
  }

  // The iterators' step: the next occupied bucket after Index, counted.
  std::int32_t NextIteratorBucket(std::int32_t& Index, std::int32_t& Given) const {
    const auto Size = static_cast<std::int32_t>(FItems.size());
    if (Given >= FCount) throw EListError(Format(SListIndexError, Given));
    do ++Index;
    while (Index < Size && FItems[Index].HashCode == TInherited::EmptyHash);
    if (Index >= Size) throw EListError(Format(SListIndexError, Given));
    ++Given;
    return Index;
  }
};

// A string table of object values (pointers or counted handles).
template <class V>
class TVXStringObjectHashTable : public TVXStringHashTable<V> {
  using TInherited = TVXStringHashTable<V>;

public:
  using TInherited::TInherited;

  // Iterates the values in table order; the table must outlive it.
  using TObjectIterator = typename TInherited::template TFieldIterator<V, &TInherited::TItem::Value>;

  Ref<TCustomIterator<V>> Elements() const { return Ref<TCustomIterator<V>>(new TObjectIterator(this)); }

  // From strings: the keys with their objects. An object of another class
  // than V points to raises before anything changes.
  void Assign(TPersistent* Source) override {
    if constexpr (CarriesObjects) {
      if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
        std::vector<V> Values(static_cast<std::size_t>(Strings->GetCount()));
        for (int I = 0; I < Strings->GetCount(); ++I) {
          TObject* Object = Strings->GetObject(I);
          if (Object == nullptr) continue;
          Values[I] = dynamic_cast<V>(Object);
          if (Values[I] == nullptr) throw EConvertError(Format(SAssignError, Object->ClassName(), this->ClassName()));
        }
        const auto Update = UpdateGuard(*this);
        this->Clear();
        for (int I = 0; I < Strings->GetCount(); ++I) this->PutItem(Strings->Get(I), Values[I]);
        return;
      }
    }
    TInherited::Assign(Source);
  }

protected:
  using TInherited::FCount;
  using TInherited::FItems;

  static constexpr bool CarriesObjects =
      std::is_pointer_v<V> && std::is_base_of_v<TObject, std::remove_cv_t<std::remove_pointer_t<V>>>;

  void AssignTo(TPersistent* Dest) override {
    if constexpr (CarriesObjects) {
      if (auto* Strings = dynamic_cast<TStrings*>(Dest)) {
        const auto Update = UpdateGuard(*Strings);
        Strings->Clear();
        for (const auto& Item : FItems)
          if (Item.HashCode != TInherited::EmptyHash)
            Strings->AddObject(Item.Key, const_cast<TObject*>(static_cast<const TObject*>(Item.Value)));
        return;
      }
    }
    TInherited::AssignTo(Dest);
  }
};

}  // namespace cogent
