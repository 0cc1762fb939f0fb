#pragma once
// The generic dictionary that the engine's tables derive from. A table does
// its own work in the overridable steps (DoAdd, DoSetValue, DoRemove,
// KeyNotify, ValueNotify, Clear), so the order in which the dictionary calls
// those steps is part of its interface.
//
// C++ note for subclasses: while a base destructor runs, overrides are gone.
// The dictionary therefore notifies nobody on destruction; a subclass whose
// notifications release what the table holds calls Clear() in its own
// destructor.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "cogent/foundation/VXCollectionBase.h"
#include "cogent/host/Classes.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

// Open addressing with linear probing. The table never holds tombstones:
// removal shifts the rest of the probe run back, so a lookup always stops at
// the first empty bucket.
template <class K, class V>
class TVXDictionary : public TVXEnumerable<TPair<K, V>> {
public:
  using TKey = K;
  using TValue = V;
  using TPairType = TPair<K, V>;

  struct TItem {
    std::int32_t HashCode = EmptyHash;
    K Key{};
    V Value{};
  };

  static constexpr std::int32_t EmptyHash = -1;

  // ------------------------------------------------ enumerators
  // Each keeps FDictionary and FIndex (a bucket). They are also forward
  // iterators, so range-for works on the dictionary and on its views.
  template <class TDerived>
  class TBucketEnumerator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using difference_type = std::ptrdiff_t;

    TBucketEnumerator() = default;
    explicit TBucketEnumerator(const TVXDictionary* ADictionary, std::int32_t AIndex = -1)
        : FDictionary(ADictionary), FIndex(AIndex) {}

    bool MoveNext() {
      const auto Size = static_cast<std::int32_t>(FDictionary->FItems.size());
      while (FIndex < Size - 1) {
        ++FIndex;
        if (FDictionary->FItems[FIndex].HashCode != EmptyHash) return true;
      }
      FIndex = Size;
      return false;
    }
    TDerived& operator++() {
      MoveNext();
      return static_cast<TDerived&>(*this);
    }
    TDerived operator++(int) {
      TDerived Result = static_cast<TDerived&>(*this);
      MoveNext();
      return Result;
    }
    friend bool operator==(const TBucketEnumerator& A, const TBucketEnumerator& B) noexcept {
      return A.FIndex == B.FIndex;
    }

    static TDerived Begin(const TVXDictionary* ADictionary) {
      TDerived Result(ADictionary);
      Result.MoveNext();
      return Result;
    }
    static TDerived End(const TVXDictionary* ADictionary) {
      return TDerived(ADictionary, static_cast<std::int32_t>(ADictionary->FItems.size()));
    }

  protected:
    const TItem& Item() const { return FDictionary->FItems[FIndex]; }

    const TVXDictionary* FDictionary = nullptr;
    std::int32_t FIndex = -1;
  };

  // Dereferences to the bucket, which has Key and Value.
  class TPairEnumerator : public TBucketEnumerator<TPairEnumerator> {
  public:
    using value_type = TItem;
    using reference = const TItem&;
    using pointer = const TItem*;
    using TBucketEnumerator<TPairEnumerator>::TBucketEnumerator;
    TPairType GetCurrent() const { return TPairType{this->Item().Key, this->Item().Value}; }
    const TItem& operator*() const { return this->Item(); }
    const TItem* operator->() const { return &this->Item(); }
  };

  // Dereferences to one field of the bucket: its key or its value.
  template <class T, T TItem::*Field>
  class TFieldEnumerator : public TBucketEnumerator<TFieldEnumerator<T, Field>> {
  public:
    using value_type = T;
    using reference = const T&;
    using pointer = const T*;
    using TBucketEnumerator<TFieldEnumerator>::TBucketEnumerator;
    const T& GetCurrent() const { return this->Item().*Field; }
    const T& operator*() const { return this->Item().*Field; }
    const T* operator->() const { return &(this->Item().*Field); }
  };
  using TKeyEnumerator = TFieldEnumerator<K, &TItem::Key>;
  using TValueEnumerator = TFieldEnumerator<V, &TItem::Value>;

  // The keys or the values of the dictionary, as a collection of their own.
  template <class T, class TItemEnumerator>
  class TItemCollection : public TVXEnumerable<T> {
  public:
    explicit TItemCollection(const TVXDictionary* ADictionary) : FDictionary(ADictionary) {}
    std::int32_t GetCount() const noexcept { return FDictionary->FCount; }
    TItemEnumerator GetEnumerator() const { return TItemEnumerator(FDictionary); }
    TItemEnumerator begin() const { return TItemEnumerator::Begin(FDictionary); }
    TItemEnumerator end() const { return TItemEnumerator::End(FDictionary); }
    std::vector<T> ToArray() const override { return std::vector<T>(begin(), end()); }

  protected:
    std::unique_ptr<TEnumerator<T>> DoGetEnumerator() const override {
      return std::make_unique<collections_detail::TEnumeratorAdapter<T, TItemEnumerator>>(GetEnumerator());
    }

  private:
    const TVXDictionary* FDictionary;
  };
  using TKeyCollection = TItemCollection<K, TKeyEnumerator>;
  using TValueCollection = TItemCollection<V, TValueEnumerator>;

  // ------------------------------------------------ construction

  TVXDictionary() : TVXDictionary(0, nullptr) {}
  explicit TVXDictionary(std::int32_t ACapacity, IEqualityComparer<K> AComparer = nullptr)
      : FComparer(AComparer ? std::move(AComparer) : TEqualityComparer<K>::Default()) {
    if (ACapacity < 0) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    SetCapacity(ACapacity);
  }
  explicit TVXDictionary(IEqualityComparer<K> AComparer) : TVXDictionary(0, std::move(AComparer)) {}
  // Overrides are not yet in place here: the pairs reach the base DoAdd.
  explicit TVXDictionary(const TVXEnumerable<TPairType>& Collection, IEqualityComparer<K> AComparer = nullptr)
      : TVXDictionary(0, std::move(AComparer)) {
    auto Enumerator = Collection.GetEnumerator();
    while (Enumerator->MoveNext()) {
      const TPairType Pair = Enumerator->GetCurrent();
      AddOrSetValue(Pair.Key, Pair.Value);
    }
  }
  TVXDictionary(const TVXDictionary&) = delete;
  TVXDictionary& operator=(const TVXDictionary&) = delete;
  ~TVXDictionary() override = default;

  // ------------------------------------------------ operations

  void Add(const K& Key, const V& Value) {
    const std::int32_t HashCode = Hash(Key);
    std::int32_t Index = GetBucketIndex(Key, HashCode);
    if (Index >= 0) throw EListError(SDuplicateItem);
    AddAt(HashCode, ~Index, Key, Value);
  }

  void Remove(const K& Key) { DoRemove(Key, Hash(Key), cnRemoved); }

  TPairType ExtractPair(const K& Key) {
    const std::int32_t HashCode = Hash(Key);
    if (GetBucketIndex(Key, HashCode) < 0) return TPairType{Key, V{}};
    K KeyCopy(Key);
    V Value = DoRemove(KeyCopy, HashCode, cnExtracted);
    return TPairType{std::move(KeyCopy), std::move(Value)};
  }

  // Empties the table, then notifies each former key and value with
  // cnRemoved in old bucket order, so that a handler sees it empty.
  virtual void Clear() {
    std::vector<TItem> OldItems;
    OldItems.swap(FItems);
    FCount = 0;
    FGrowThreshold = 0;
    for (const TItem& Item : OldItems)
      if (Item.HashCode != EmptyHash) {
        KeyNotify(Item.Key, cnRemoved);
        ValueNotify(Item.Value, cnRemoved);
      }
  }

  void TrimExcess() { SetCapacity(FCount + 1); }

  bool TryGetValue(const K& Key, V& Value) const {
    const std::int32_t Index = GetBucketIndex(Key, Hash(Key));
    if (Index < 0) {
      Value = V{};
      return false;
    }
    Value = FItems[Index].Value;
    return true;
  }

  void AddOrSetValue(const K& Key, const V& Value) { InternalAddOrSetValue(Key, Value, nullptr); }

  bool ContainsKey(const K& Key) const { return GetBucketIndex(Key, Hash(Key)) >= 0; }

  bool ContainsValue(const V& Value) const {
    for (const TItem& Item : FItems)
      if (Item.HashCode != EmptyHash && Item.Value == Value) return true;
    return false;
  }

  std::vector<TPairType> ToArray() const override {
    std::vector<TPairType> Result;
    Result.reserve(static_cast<std::size_t>(FCount));
    for (const TItem& Item : FItems)
      if (Item.HashCode != EmptyHash) Result.push_back(TPairType{Item.Key, Item.Value});
    return Result;
  }

  TPairEnumerator GetEnumerator() const { return TPairEnumerator(this); }
  TPairEnumerator begin() const { return TPairEnumerator::Begin(this); }
  TPairEnumerator end() const { return TPairEnumerator::End(this); }

  const TKeyCollection& GetKeys() const {
    if (!FKeyCollection) FKeyCollection = std::make_unique<TKeyCollection>(this);
    return *FKeyCollection;
  }
  const TValueCollection& GetValues() const {
    if (!FValueCollection) FValueCollection = std::make_unique<TValueCollection>(this);
    return *FValueCollection;
  }

  // Items[Key]: both raise EListError for an absent key.
  const V& GetItem(const K& Key) const {
    const std::int32_t Index = GetBucketIndex(Key, Hash(Key));
    if (Index < 0) throw EListError(SItemNotFound);
    return FItems[Index].Value;
  }
  void SetItem(const K& Key, const V& Value) {
    const std::int32_t Index = GetBucketIndex(Key, Hash(Key));
    if (Index < 0) throw EListError(SItemNotFound);
    DoSetValue(Index, Value);
  }

  std::int32_t GetCount() const noexcept { return FCount; }
  std::int32_t GetCapacity() const noexcept { return static_cast<std::int32_t>(FItems.size()); }

  // Buckets: none for 0, else the smallest power of two >= ACapacity and >= 4
  // (one more doubling if that would leave no bucket empty).
  void SetCapacity(std::int32_t ACapacity) {
    if (ACapacity < FCount || ACapacity > MaxCapacity) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    if (ACapacity == 0) {
      Rehash(0);
      return;
    }
    std::int32_t NewCapacity = 4;
    while (NewCapacity < ACapacity) NewCapacity <<= 1;
    if (NewCapacity == FCount) NewCapacity <<= 1;
    Rehash(NewCapacity);
  }

  const IEqualityComparer<K>& GetComparer() const noexcept { return FComparer; }

  const TCollectionNotifyEvent<K>& GetOnKeyNotify() const noexcept { return FOnKeyNotify; }
  void SetOnKeyNotify(TCollectionNotifyEvent<K> Value) { FOnKeyNotify = std::move(Value); }
  const TCollectionNotifyEvent<V>& GetOnValueNotify() const noexcept { return FOnValueNotify; }
  void SetOnValueNotify(TCollectionNotifyEvent<V> Value) { FOnValueNotify = std::move(Value); }

  // Replaces the pairs with those of another dictionary of the same types;
  // the own comparer stays.
  void Assign(TPersistent* Source) override {
    if (Source == this) return;
    if (auto* Other = dynamic_cast<TVXDictionary*>(Source)) {
      Clear();
      for (const TItem& Item : Other->FItems)
        if (Item.HashCode != EmptyHash) AddOrSetValue(Item.Key, Item.Value);
      return;
    }
    TPersistent::Assign(Source);
  }

protected:
  static constexpr std::int32_t MaxCapacity = std::int32_t{1} << 30;

  // The comparer's hash with the sign bit cleared, plus one, cleared again:
  // never EmptyHash.
  std::int32_t Hash(const K& Key) const {
    const auto H = static_cast<std::uint32_t>(FComparer->GetHashCode(Key));
    return static_cast<std::int32_t>(((H & 0x7FFFFFFFu) + 1u) & 0x7FFFFFFFu);
  }

  // The bucket of Key, or the complement of the empty bucket where it would
  // go; with no buckets, the negative value with all lower bits clear.
  std::int32_t GetBucketIndex(const K& Key, std::int32_t HashCode) const {
    if (FItems.empty()) return INT32_MIN;
    const auto Mask = static_cast<std::int32_t>(FItems.size()) - 1;
    std::int32_t Index = HashCode & Mask;
    for (;;) {
      const TItem& Item = FItems[Index];
      if (Item.HashCode == EmptyHash) return ~Index;
      if (Item.HashCode == HashCode && FComparer->Equals(Item.Key, Key)) return Index;
      Index = (Index + 1) & Mask;
    }
  }

  void Grow() { SetCapacity(FItems.empty() ? 4 : static_cast<std::int32_t>(FItems.size()) * 2); }

  // Re-enters the items in old bucket order, without notifications. Keys are
  // distinct already, so only empty buckets are sought.
  virtual void Rehash(std::int32_t NewCapacity) {
    if (NewCapacity == static_cast<std::int32_t>(FItems.size())) return;
    std::vector<TItem> NewItems(static_cast<std::size_t>(NewCapacity));
    const std::int32_t Mask = NewCapacity - 1;
    for (TItem& Item : FItems) {
      if (Item.HashCode == EmptyHash) continue;
      std::int32_t Index = Item.HashCode & Mask;
      while (NewItems[Index].HashCode != EmptyHash) Index = (Index + 1) & Mask;
      NewItems[Index] = std::move(Item);
    }
    FItems.swap(NewItems);
    FGrowThreshold = NewCapacity / 2 + NewCapacity / 4;
  }

  // One lookup for both cases: a new key reaches DoAdd, a present one
  // DoSetValue. OldValue, when given, receives the replaced value or V{}.
  void InternalAddOrSetValue(const K& Key, const V& Value, V* OldValue) {
    const std::int32_t HashCode = Hash(Key);
    const std::int32_t Index = GetBucketIndex(Key, HashCode);
    if (Index >= 0) {
      if (OldValue) *OldValue = FItems[Index].Value;
      DoSetValue(Index, Value);
      return;
    }
    if (OldValue) *OldValue = V{};
    AddAt(HashCode, ~Index, Key, Value);
  }

  // ------------------------------------------------ the overridable steps

  // Stores the item in the empty bucket Index, counts it, then notifies the
  // key and the value with cnAdded.
  virtual void DoAdd(std::int32_t HashCode, std::int32_t Index, const K& Key, const V& Value) {
    TItem& Item = FItems[Index];
    Item.HashCode = HashCode;
    Item.Key = Key;
    Item.Value = Value;
    ++FCount;
    KeyNotify(Key, cnAdded);
    ValueNotify(Value, cnAdded);
  }

  // Adds a key known to be absent at the free bucket Index, growing first
  // when the table is full enough.
  void AddAt(std::int32_t HashCode, std::int32_t Index, const K& Key, const V& Value) {
    if (FCount < FGrowThreshold) {
      DoAdd(HashCode, Index, Key, Value);
      return;
    }
    // Key or Value may live in this table; growing moves the buckets.
    const K KeyCopy(Key);
    const V ValueCopy(Value);
    Grow();
    DoAdd(HashCode, ~GetBucketIndex(KeyCopy, HashCode), KeyCopy, ValueCopy);
  }

  // Replaces the value, then notifies the old one with cnRemoved and the new
  // one with cnAdded.
  virtual void DoSetValue(std::int32_t Index, const V& Value) {
    V OldValue(Value);  // a copy first: Value may be the stored value itself
    std::swap(FItems[Index].Value, OldValue);
    ValueNotify(OldValue, cnRemoved);
    ValueNotify(FItems[Index].Value, cnAdded);
  }

  // Removes Key and closes the gap by shifting back the rest of its probe
  // run; an absent key gives V{} and changes nothing.
  virtual V DoRemove(const K& Key, std::int32_t HashCode, TCollectionNotification Notification) {
    std::int32_t Gap = GetBucketIndex(Key, HashCode);
    if (Gap < 0) return V{};
    K OldKey = std::move(FItems[Gap].Key);
    V Result = std::move(FItems[Gap].Value);
    FItems[Gap] = TItem{};
    const auto Mask = static_cast<std::int32_t>(FItems.size()) - 1;
    for (std::int32_t Index = (Gap + 1) & Mask; FItems[Index].HashCode != EmptyHash; Index = (Index + 1) & Mask) {
      const std::int32_t Home = FItems[Index].HashCode & Mask;
      // An item whose home lies between the gap and itself never probed
      // across the gap and stays.
      if (!InCircularRange(Gap, Home, Index)) {
        FItems[Gap] = std::move(FItems[Index]);
        FItems[Index] = TItem{};
        Gap = Index;
      }
    }
    --FCount;
    KeyNotify(OldKey, Notification);
    ValueNotify(Result, Notification);
    return Result;
  }

  virtual void KeyNotify(const K& Key, TCollectionNotification Action) {
    if (FOnKeyNotify) FOnKeyNotify(this, Key, Action);
  }
  virtual void ValueNotify(const V& Value, TCollectionNotification Action) {
    if (FOnValueNotify) FOnValueNotify(this, Value, Action);
  }

  std::unique_ptr<TEnumerator<TPairType>> DoGetEnumerator() const override {
    return std::make_unique<collections_detail::TEnumeratorAdapter<TPairType, TPairEnumerator>>(GetEnumerator());
  }

  std::int32_t FCount = 0;
  IEqualityComparer<K> FComparer;
  std::int32_t FGrowThreshold = 0;
  std::vector<TItem> FItems;
  TCollectionNotifyEvent<K> FOnKeyNotify;
  TCollectionNotifyEvent<V> FOnValueNotify;
  mutable std::unique_ptr<TKeyCollection> FKeyCollection;
  mutable std::unique_ptr<TValueCollection> FValueCollection;
};

}  // namespace cogent
