#pragma once
// The vocabulary that the generic containers share: notifications, key-value
// pairs, equality comparers with their hashes, and enumerables.

#include <bit>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"

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

}  // namespace cogent
