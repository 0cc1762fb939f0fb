#pragma once
// The generic containers that the engine's collections derive from. A
// collection does its own work in the overridable steps (DoAdd, DoSetValue,
// DoRemove, KeyNotify, ValueNotify, Clear, Change), so the order in which the
// containers call those steps is part of their interface.
//
// C++ note for subclasses: while a base destructor runs, overrides are gone.
// The containers therefore notify nobody on destruction; a subclass whose
// notifications release what the container holds calls Clear() in its own
// destructor.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

// ---------------------------------------------------------------- notifications

enum TCollectionNotification : std::uint8_t { cnAdding, cnAdded, cnExtracting, cnExtracted, cnDeleting, cnRemoved };

std::string EnumName(TCollectionNotification V);

template <class T>
using TCollectionNotifyEvent = std::function<void(TObject* Sender, const T& Item, TCollectionNotification Action)>;

template <class K, class V>
struct TPair {
  K Key;
  V Value;
};

// ---------------------------------------------------------------- comparers

namespace collections_detail {

template <class T>
struct IsRef : std::false_type {};
template <class T>
struct IsRef<Ref<T>> : std::true_type {};

// Addresses are aligned, so their low bits say nothing; spread the rest.
inline std::int32_t MixHash(std::uint64_t X) noexcept {
  X ^= X >> 33;
  X *= 0xFF51AFD7ED558CCDULL;
  X ^= X >> 33;
  X *= 0xC4CEB9FE1A85EC53ULL;
  X ^= X >> 33;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(X));
}

inline std::int32_t FoldHash(std::uint64_t X) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(X ^ (X >> 32)));
}

template <class K>
std::int32_t DefaultHashCode(const K& Value) noexcept {
  if constexpr (std::is_same_v<K, std::string> || std::is_same_v<K, std::string_view>) {
    return CalculateHash(std::string_view(Value));
  } else if constexpr (std::is_enum_v<K>) {
    return FoldHash(static_cast<std::uint64_t>(Value));
  } else if constexpr (std::is_integral_v<K>) {
    // Identity for the 32-bit range: sequential ids fill the buckets evenly.
    return FoldHash(static_cast<std::uint64_t>(Value));
  } else if constexpr (std::is_floating_point_v<K>) {
    if (Value == 0) return 0;  // +0 and -0 are equal
    return FoldHash(std::bit_cast<std::uint64_t>(static_cast<double>(Value)));
  } else if constexpr (std::is_pointer_v<K> || std::is_null_pointer_v<K>) {
    return MixHash(reinterpret_cast<std::uintptr_t>(Value));
  } else if constexpr (IsRef<K>::value) {
    return MixHash(reinterpret_cast<std::uintptr_t>(Value.get()));
  } else {
    return FoldHash(static_cast<std::uint64_t>(std::hash<K>{}(Value)));
  }
}

}  // namespace collections_detail

// A key's equality and hash. The base is the default of the key type: exact
// text (case-sensitive), integers by value, pointers and Ref<T> by identity.
// Keys that are equal must have equal hash codes.
template <class K>
class TEqualityComparer : public TRefCounted {
public:
  virtual bool Equals(const K& Left, const K& Right) const { return Left == Right; }
  virtual std::int32_t GetHashCode(const K& Value) const {
    return collections_detail::DefaultHashCode(Value);
  }

  // The shared default comparer of K.
  static const Ref<TEqualityComparer<K>>& Default() {
    static const Ref<TEqualityComparer<K>> Instance(new TEqualityComparer<K>());
    return Instance;
  }
};

template <class K>
using IEqualityComparer = Ref<TEqualityComparer<K>>;

// Text keys compared with CompareText; the hash is that of the case-folded
// text, which needs no allocation for keys of ordinary length.
class TCaseInsensitiveStringComparer : public TEqualityComparer<std::string> {
public:
  bool Equals(const std::string& Left, const std::string& Right) const override;
  std::int32_t GetHashCode(const std::string& Value) const override;
};

// The shared case-insensitive string comparer.
const IEqualityComparer<std::string>& CaseInsensitiveStringComparer();

// ---------------------------------------------------------------- enumerables

template <class T>
class TEnumerator {
public:
  virtual ~TEnumerator() = default;
  virtual bool MoveNext() = 0;
  virtual T GetCurrent() const = 0;
};

namespace collections_detail {

// Wraps a value enumerator (MoveNext, GetCurrent) as a TEnumerator<T>.
template <class T, class E>
class TEnumeratorAdapter final : public TEnumerator<T> {
public:
  explicit TEnumeratorAdapter(E AInner) : FInner(std::move(AInner)) {}
  bool MoveNext() override { return FInner.MoveNext(); }
  T GetCurrent() const override { return FInner.GetCurrent(); }

private:
  E FInner;
};

}  // namespace collections_detail

template <class T>
class TVXEnumerable : public TPersistent {
public:
  using TElement = T;

  std::unique_ptr<TEnumerator<T>> GetEnumerator() const { return DoGetEnumerator(); }
  virtual std::vector<T> ToArray() const {
    std::vector<T> Result;
    auto Enumerator = DoGetEnumerator();
    while (Enumerator->MoveNext()) Result.push_back(Enumerator->GetCurrent());
    return Result;
  }

protected:
  virtual std::unique_ptr<TEnumerator<T>> DoGetEnumerator() const = 0;
};

// ---------------------------------------------------------------- TVXDictionary

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

  class TKeyEnumerator : public TBucketEnumerator<TKeyEnumerator> {
  public:
    using value_type = K;
    using reference = const K&;
    using pointer = const K*;
    using TBucketEnumerator<TKeyEnumerator>::TBucketEnumerator;
    const K& GetCurrent() const { return this->Item().Key; }
    const K& operator*() const { return this->Item().Key; }
    const K* operator->() const { return &this->Item().Key; }
  };

  class TValueEnumerator : public TBucketEnumerator<TValueEnumerator> {
  public:
    using value_type = V;
    using reference = const V&;
    using pointer = const V*;
    using TBucketEnumerator<TValueEnumerator>::TBucketEnumerator;
    const V& GetCurrent() const { return this->Item().Value; }
    const V& operator*() const { return this->Item().Value; }
    const V* operator->() const { return &this->Item().Value; }
  };

  class TKeyCollection : public TVXEnumerable<K> {
  public:
    explicit TKeyCollection(const TVXDictionary* ADictionary) : FDictionary(ADictionary) {}
    std::int32_t GetCount() const noexcept { return FDictionary->FCount; }
    TKeyEnumerator GetEnumerator() const { return TKeyEnumerator(FDictionary); }
    TKeyEnumerator begin() const { return TKeyEnumerator::Begin(FDictionary); }
    TKeyEnumerator end() const { return TKeyEnumerator::End(FDictionary); }
    std::vector<K> ToArray() const override { return std::vector<K>(begin(), end()); }

  protected:
    std::unique_ptr<TEnumerator<K>> DoGetEnumerator() const override {
      return std::make_unique<collections_detail::TEnumeratorAdapter<K, TKeyEnumerator>>(GetEnumerator());
    }

  private:
    const TVXDictionary* FDictionary;
  };

  class TValueCollection : public TVXEnumerable<V> {
  public:
    explicit TValueCollection(const TVXDictionary* ADictionary) : FDictionary(ADictionary) {}
    std::int32_t GetCount() const noexcept { return FDictionary->FCount; }
    TValueEnumerator GetEnumerator() const { return TValueEnumerator(FDictionary); }
    TValueEnumerator begin() const { return TValueEnumerator::Begin(FDictionary); }
    TValueEnumerator end() const { return TValueEnumerator::End(FDictionary); }
    std::vector<V> ToArray() const override { return std::vector<V>(begin(), end()); }

  protected:
    std::unique_ptr<TEnumerator<V>> DoGetEnumerator() const override {
      return std::make_unique<collections_detail::TEnumeratorAdapter<V, TValueEnumerator>>(GetEnumerator());
    }

  private:
    const TVXDictionary* FDictionary;
  };

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
    if (FCount >= FGrowThreshold) {
      // Key or Value may live in this table; growing moves the buckets.
      const K KeyCopy(Key);
      const V ValueCopy(Value);
      Grow();
      DoAdd(HashCode, ~GetBucketIndex(KeyCopy, HashCode), KeyCopy, ValueCopy);
      return;
    }
    DoAdd(HashCode, ~Index, Key, Value);
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
    if (FCount >= FGrowThreshold) {
      const K KeyCopy(Key);
      const V ValueCopy(Value);
      Grow();
      DoAdd(HashCode, ~GetBucketIndex(KeyCopy, HashCode), KeyCopy, ValueCopy);
      return;
    }
    DoAdd(HashCode, ~Index, Key, Value);
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
    BeginUpdate();
    try {
      TInherited::Clear();
    } catch (...) {
      EndUpdate();
      throw;
    }
    EndUpdate();
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

  // Iterates the keys in table order. It refers to the table, which must
  // outlive it; a table changed under it raises rather than misreads.
  class TStringIterator : public TCustomIterator<std::string> {
  public:
    explicit TStringIterator(const TVXStringHashTable* AHashTable) : FHashTable(AHashTable) {}
    std::string CurrentElement() const override {
      if (FIndex < 0 || FIndex >= FHashTable->GetCapacity() || FHashTable->FItems[FIndex].HashCode == TInherited::EmptyHash)
        throw EListError(Format(SListIndexError, FIndex));
      return FHashTable->FItems[FIndex].Key;
    }
    int GetCount() const override { return FHashTable->FCount; }
    bool HasMoreElements() const override { return FElementCount < FHashTable->FCount; }
    std::string NextElement() override { return FHashTable->FItems[FHashTable->NextIteratorBucket(FIndex, FElementCount)].Key; }
    void Reset() override {
      FIndex = -1;
      FElementCount = 0;
    }

  protected:
    const TVXStringHashTable* FHashTable;
    std::int32_t FIndex = -1;
    std::int32_t FElementCount = 0;
  };

  IStringIterator Indices() const { return IStringIterator(new TStringIterator(this)); }

  // From strings: the keys with empty values, in one update bracket.
  void Assign(TPersistent* Source) override {
    if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
      this->BeginUpdate();
      try {
        this->Clear();
        for (int I = 0; I < Strings->GetCount(); ++I) this->PutItem(Strings->Get(I), V{});
      } catch (...) {
        this->EndUpdate();
        throw;
      }
      this->EndUpdate();
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
      Strings->BeginUpdate();
      try {
        Strings->Clear();
        for (const auto& Item : FItems)
          if (Item.HashCode != TInherited::EmptyHash) Strings->Add(Item.Key);
      } catch (...) {
        Strings->EndUpdate();
        throw;
      }
      Strings->EndUpdate();
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
  class TObjectIterator : public TCustomIterator<V> {
  public:
    explicit TObjectIterator(const TVXStringObjectHashTable* AHashTable) : FHashTable(AHashTable) {}
    V CurrentElement() const override {
      if (FIndex < 0 || FIndex >= FHashTable->GetCapacity() || FHashTable->FItems[FIndex].HashCode == TInherited::EmptyHash)
        throw EListError(Format(SListIndexError, FIndex));
      return FHashTable->FItems[FIndex].Value;
    }
    int GetCount() const override { return FHashTable->FCount; }
    bool HasMoreElements() const override { return FElementCount < FHashTable->FCount; }
    V NextElement() override { return FHashTable->FItems[FHashTable->NextIteratorBucket(FIndex, FElementCount)].Value; }
    void Reset() override {
      FIndex = -1;
      FElementCount = 0;
    }

  protected:
    const TVXStringObjectHashTable* FHashTable;
    std::int32_t FIndex = -1;
    std::int32_t FElementCount = 0;
  };

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
        this->BeginUpdate();
        try {
          this->Clear();
          for (int I = 0; I < Strings->GetCount(); ++I) this->PutItem(Strings->Get(I), Values[I]);
        } catch (...) {
          this->EndUpdate();
          throw;
        }
        this->EndUpdate();
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
        Strings->BeginUpdate();
        try {
          Strings->Clear();
          for (const auto& Item : FItems)
            if (Item.HashCode != TInherited::EmptyHash)
              Strings->AddObject(Item.Key, const_cast<TObject*>(static_cast<const TObject*>(Item.Value)));
        } catch (...) {
          Strings->EndUpdate();
          throw;
        }
        Strings->EndUpdate();
        return;
      }
    }
    TInherited::AssignTo(Dest);
  }
};

// ---------------------------------------------------------------- TVXAssignList

template <class T>
class TVXAssignList : public std::vector<T> {
public:
  using std::vector<T>::vector;
  TVXAssignList() = default;
  TVXAssignList(const TVXAssignList&) = default;
  TVXAssignList(TVXAssignList&&) noexcept = default;
  TVXAssignList& operator=(const TVXAssignList&) = default;
  TVXAssignList& operator=(TVXAssignList&&) noexcept = default;
  virtual ~TVXAssignList() = default;

  // Clears the list and adds the source's items in order.
  virtual void Assign(const TVXAssignList<T>& Source) {
    if (&Source == this) return;
    this->clear();
    this->insert(this->end(), Source.begin(), Source.end());
  }
};

// ---------------------------------------------------------------- TStringList

// The data of a string list that carries none.
struct TNoData {
  friend bool operator==(TNoData, TNoData) noexcept { return true; }
};

template <class T>
struct TVXStringItem {
  std::string FString;
  TObject* FObject = nullptr;
  [[no_unique_address]] T FData{};
};

// The host's string list with a data item of type T beside each line;
// TStringList<> carries no data.
template <class T = TNoData>
class TStringList : public TStrings {
public:
  using TItem = TVXStringItem<T>;
  using TStringListSortCompare = std::function<int(TStringList& List, int Index1, int Index2)>;

  // The data items in line order.
  class TValueCollection : public TVXEnumerable<T> {
  public:
    class TValueEnumerator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using difference_type = std::ptrdiff_t;
      using value_type = T;
      using reference = const T&;
      using pointer = const T*;

      TValueEnumerator() = default;
      TValueEnumerator(const TStringList* AList, int AIndex) : FList(AList), FIndex(AIndex) {}
      bool MoveNext() { return ++FIndex < FList->FCount; }
      const T& GetCurrent() const { return FList->FList[FIndex].FData; }
      const T& operator*() const { return GetCurrent(); }
      TValueEnumerator& operator++() {
        ++FIndex;
        return *this;
      }
      TValueEnumerator operator++(int) {
        TValueEnumerator Result = *this;
        ++FIndex;
        return Result;
      }
      friend bool operator==(const TValueEnumerator& A, const TValueEnumerator& B) noexcept {
        return A.FIndex == B.FIndex;
      }

    private:
      const TStringList* FList = nullptr;
      int FIndex = -1;
    };

    explicit TValueCollection(const TStringList* AList) : FList(AList) {}
    int GetCount() const noexcept { return FList->FCount; }
    TValueEnumerator begin() const { return TValueEnumerator(FList, 0); }
    TValueEnumerator end() const { return TValueEnumerator(FList, FList->FCount); }
    std::vector<T> ToArray() const override { return std::vector<T>(begin(), end()); }

  protected:
    std::unique_ptr<TEnumerator<T>> DoGetEnumerator() const override {
      return std::make_unique<collections_detail::TEnumeratorAdapter<T, TValueEnumerator>>(TValueEnumerator(FList, -1));
    }

  private:
    const TStringList* FList;
  };

  explicit TStringList(bool OwnsObject = false) : FOwnsObject(OwnsObject) {}
  TStringList(const TStringList&) = delete;
  TStringList& operator=(const TStringList&) = delete;
  ~TStringList() override {
    FOnChange = nullptr;
    FOnChanging = nullptr;
    TStringList::DoClear();
  }

  // ------------------------------------------------ TStrings

  int GetCount() const override { return FCount; }
  std::string Get(int Index) const override { return FList[CheckIndex(Index)].FString; }
  // The line without a copy.
  const std::string& GetString(int Index) const { return FList[CheckIndex(Index)].FString; }

  void Put(int Index, const std::string& S) override {
    if (FSorted) throw EStringListError(SSortedListError);
    CheckIndex(Index);
    Changing();
    FList[Index].FString = S;
    Changed();
  }

  TObject* GetObject(int Index) const override { return FList[CheckIndex(Index)].FObject; }
  void PutObject(int Index, TObject* AObject) override {
    CheckIndex(Index);
    Changing();
    FList[Index].FObject = AObject;
    Changed();
  }

  const T& GetData(int Index) const { return FList[CheckIndex(Index)].FData; }
  void PutData(int Index, const T& Data) {
    CheckIndex(Index);
    Changing();
    FList[Index].FData = Data;
    Changed();
  }

  void Clear() override {
    if (FCount == 0) return;
    Changing();
    DoClear();
    Changed();
  }

  void Delete(int Index) override {
    CheckIndex(Index);
    Changing();
    DoDelete(Index);
    Changed();
  }

  using TStrings::AddObject;
  int Add(const std::string& S) override { return AddObject(S, nullptr, T{}); }
  int AddObject(const std::string& S, TObject* AObject) override { return AddObject(S, AObject, T{}); }
  // On a sorted list the line goes where Find puts it: an equal line is
  // ignored (its index is given), refused, or accepted behind its equals.
  virtual int AddObject(const std::string& S, TObject* AObject, const T& Data) {
    int Result = FCount;
    if (FSorted && Find(S, Result)) {
      if (FDuplicates == dupIgnore) return Result;
      if (FDuplicates == dupError) throw EStringListError(SDuplicateString);
    }
    InsertItem(Result, S, AObject, Data);
    return Result;
  }

  using TStrings::InsertObject;
  void Insert(int Index, const std::string& S) override { InsertObject(Index, S, nullptr, T{}); }
  void InsertObject(int Index, const std::string& S, TObject* AObject) override {
    InsertObject(Index, S, AObject, T{});
  }
  virtual void InsertObject(int Index, const std::string& S, TObject* AObject, const T& Data) {
    if (FSorted) throw EStringListError(SSortedListError);
    if (Index < 0 || Index > FCount) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    InsertItem(Index, S, AObject, Data);
  }

  // Keeps the data of a list of the same class.
  void AddStrings(const TStrings& Strings) override {
    const auto* Other = dynamic_cast<const TStringList*>(&Strings);
    if (Other == nullptr) {
      TStrings::AddStrings(Strings);
      return;
    }
    // Adding a list to itself reads a snapshot.
    const std::vector<TItem> Items(Other->FList.begin(), Other->FList.begin() + Other->FCount);
    BeginUpdate();
    try {
      for (const TItem& Item : Items) {
        if (FSorted)
          AddObject(Item.FString, Item.FObject, Item.FData);
        else
          InsertItem(FCount, Item.FString, Item.FObject, Item.FData);
      }
    } catch (...) {
      EndUpdate();
      throw;
    }
    EndUpdate();
  }

  void Exchange(int Index1, int Index2) override {
    if (FSorted) throw EStringListError(SSortedListError);
    CheckIndex(Index1);
    CheckIndex(Index2);
    Changing();
    ExchangeItems(Index1, Index2);
    Changed();
  }

  // Moves the whole item, data and object included.
  void Move(int CurIndex, int NewIndex) override {
    CheckIndex(CurIndex);
    CheckIndex(NewIndex);
    if (CurIndex == NewIndex) return;
    if (FSorted) throw EStringListError(SSortedListError);
    Changing();
    TItem Item = std::move(FList[CurIndex]);
    if (CurIndex < NewIndex)
      std::move(FList.begin() + CurIndex + 1, FList.begin() + NewIndex + 1, FList.begin() + CurIndex);
    else
      std::move_backward(FList.begin() + NewIndex, FList.begin() + CurIndex, FList.begin() + CurIndex + 1);
    FList[NewIndex] = std::move(Item);
    Changed();
  }

  int IndexOf(const std::string& S) const override {
    if (FSorted) {
      int Index = 0;
      return Find(S, Index) ? Index : -1;
    }
    for (int I = 0; I < FCount; ++I)
      if (CompareStrings(FList[I].FString, S) == 0) return I;
    return -1;
  }

  // Binary search. Index is the first equal line, or with dupAccept the
  // place behind the last one, so that a new equal line goes after its
  // equals; without a hit it is where S belongs.
  virtual bool Find(const std::string& S, int& Index) const {
    bool Result = false;
    int L = 0;
    int H = FCount - 1;
    while (L <= H) {
      const int I = L + (H - L) / 2;
      const int C = CompareStrings(FList[I].FString, S);
      if (C == 0) Result = true;
      if (C < 0 || (C == 0 && FDuplicates == dupAccept))
        L = I + 1;
      else
        H = I - 1;
    }
    Index = L;
    return Result;
  }

  void Assign(TPersistent* Source) override {
    if (Source == this) return;
    if (auto* Other = dynamic_cast<TStringList*>(Source)) {
      BeginUpdate();
      FAssigning = true;
      try {
        Clear();
        FList.assign(Other->FList.begin(), Other->FList.begin() + Other->FCount);
        FCount = Other->FCount;
        FCaseSensitive = Other->FCaseSensitive;
        FDuplicates = Other->FDuplicates;
        FSorted = Other->FSorted;
      } catch (...) {
        FAssigning = false;
        EndUpdate();
        throw;
      }
      FAssigning = false;
      EndUpdate();
      return;
    }
    if constexpr (!std::is_same_v<T, TNoData>) {
      if (auto* Plain = dynamic_cast<TStringList<TNoData>*>(Source)) {
        BeginUpdate();
        try {
          Clear();
          FSorted = false;
          FDuplicates = dupAccept;
          for (int I = 0; I < Plain->GetCount(); ++I) AddObject(Plain->GetString(I), Plain->GetObject(I), T{});
          FCaseSensitive = Plain->GetCaseSensitive();
          FDuplicates = Plain->GetDuplicates();
          FSorted = Plain->GetSorted();
        } catch (...) {
          EndUpdate();
          throw;
        }
        EndUpdate();
        return;
      }
    }
    if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
      BeginUpdate();
      try {
        Clear();
        AddStrings(*Strings);
      } catch (...) {
        EndUpdate();
        throw;
      }
      EndUpdate();
      return;
    }
    TStrings::Assign(Source);
  }

  // ------------------------------------------------ sorting

  // Sorts an unsorted list (a sorted one is in order already).
  virtual void Sort() {
    CustomSort([](TStringList& List, int Index1, int Index2) {
      return List.CompareStrings(List.FList[Index1].FString, List.FList[Index2].FString);
    });
  }
  virtual void CustomSort(const TStringListSortCompare& Compare) {
    if (FSorted || FCount <= 1) return;
    Changing();
    QuickSort(0, FCount - 1, Compare);
    Changed();
  }
  void Sort(const TStringListSortCompare& Compare) { CustomSort(Compare); }

  bool GetSorted() const noexcept { return FSorted; }
  void SetSorted(bool Value) {
    if (Value == FSorted) return;
    if (Value) Sort();
    FSorted = Value;
  }
  TDuplicates GetDuplicates() const noexcept { return FDuplicates; }
  void SetDuplicates(TDuplicates Value) noexcept { FDuplicates = Value; }
  bool GetCaseSensitive() const noexcept { return FCaseSensitive; }
  void SetCaseSensitive(bool Value) {
    if (Value == FCaseSensitive) return;
    FCaseSensitive = Value;
    if (FSorted) {
      FSorted = false;
      SetSorted(true);
    }
  }
  bool GetOwnsObject() const noexcept { return FOwnsObject; }
  void SetOwnsObject(bool Value) noexcept { FOwnsObject = Value; }

  int GetCapacity() const noexcept { return static_cast<int>(FList.size()); }
  void SetCapacity(int NewCapacity) {
    if (NewCapacity < FCount) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    FList.resize(static_cast<std::size_t>(NewCapacity));
  }

  const TNotifyEvent& GetOnChange() const noexcept { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TNotifyEvent& GetOnChanging() const noexcept { return FOnChanging; }
  void SetOnChanging(TNotifyEvent Value) { FOnChanging = std::move(Value); }

  const TValueCollection& GetValueCollection() const {
    if (!FValueCollection) FValueCollection = std::make_unique<TValueCollection>(this);
    return *FValueCollection;
  }

  // Locale-like: alphabetical regardless of case; when case-sensitive, a tie
  // puts lower case first.
  int CompareStrings(const std::string& S1, const std::string& S2) const override {
    const int Result = CompareText(S1, S2);
    if (Result != 0 || !FCaseSensitive) return Result;
    return -CompareStr(S1, S2);
  }

protected:
  virtual void Changed() {
    if (GetUpdateCount() == 0 && FOnChange) FOnChange(this);
  }
  virtual void Changing() {
    if (GetUpdateCount() == 0 && FOnChanging) FOnChanging(this);
  }

  void SetUpdateState(bool Updating) override {
    if (Updating)
      Changing();
    else
      Changed();
  }

  // The list is empty before any owned object is freed.
  virtual void DoClear() {
    std::vector<TItem> OldList;
    OldList.swap(FList);
    const int OldCount = FCount;
    FCount = 0;
    if (FOwnsObject)
      for (int I = 0; I < OldCount; ++I) delete std::exchange(OldList[I].FObject, nullptr);
  }

  // The line is gone before its owned object is freed.
  virtual void DoDelete(int Index) {
    TObject* Object = FOwnsObject ? FList[Index].FObject : nullptr;
    std::move(FList.begin() + Index + 1, FList.begin() + FCount, FList.begin() + Index);
    --FCount;
    FList[FCount] = TItem{};
    delete Object;
  }

  virtual void InsertItem(int Index, const std::string& S, TObject* AObject) { InsertItem(Index, S, AObject, T{}); }
  virtual void InsertItem(int Index, const std::string& S, TObject* AObject, const T& Data) {
    Changing();
    // Copies first: S or Data may be an item of this list.
    TItem Item{S, AObject, Data};
    if (FCount == static_cast<int>(FList.size())) Grow();
    std::move_backward(FList.begin() + Index, FList.begin() + FCount, FList.begin() + FCount + 1);
    FList[Index] = std::move(Item);
    ++FCount;
    Changed();
  }

  void ExchangeItems(int Index1, int Index2) { std::swap(FList[Index1], FList[Index2]); }

  // The first allocation is of the size needed; after that it doubles.
  void Grow() { FList.resize(FList.empty() ? 1 : FList.size() * 2); }

  int CheckIndex(int Index) const {
    if (Index < 0 || Index >= FCount) throw EStringListError(Format(SListIndexError, Index));
    return Index;
  }

  // Quicksort on the middle element; not stable. Recursion takes the
  // smaller part, and the scans are bounded, so a comparison that is not a
  // consistent order cannot run off the range.
  void QuickSort(int L, int R, const TStringListSortCompare& Compare) {
    while (L < R) {
      int I = L;
      int J = R;
      int P = L + (R - L) / 2;
      do {
        while (I < R && Compare(*this, I, P) < 0) ++I;
        while (J > L && Compare(*this, J, P) > 0) --J;
        if (I <= J) {
          if (I != J) ExchangeItems(I, J);
          if (P == I)
            P = J;
          else if (P == J)
            P = I;
          ++I;
          --J;
        }
      } while (I <= J);
      if (J - L < R - I) {
        if (L < J) QuickSort(L, J, Compare);
        L = I;
      } else {
        if (I < R) QuickSort(I, R, Compare);
        R = J;
      }
    }
  }

  bool FAssigning = false;
  bool FSorted = false;
  TDuplicates FDuplicates = dupIgnore;
  bool FCaseSensitive = false;
  TNotifyEvent FOnChange;
  TNotifyEvent FOnChanging;
  bool FOwnsObject = false;
  mutable std::unique_ptr<TValueCollection> FValueCollection;
  std::vector<TItem> FList;
  int FCount = 0;
};

}  // namespace cogent
