#pragma once
// TSet<E>: a bit set over an unscoped enumeration with at most 64 values,
// bit number = ordinal value.

#include <cstdint>
#include <initializer_list>

namespace cogent {

template <class E>
class TSet {
public:
  constexpr TSet() noexcept = default;
  constexpr TSet(std::initializer_list<E> AItems) noexcept {
    for (E Item : AItems) FBits |= Bit(Item);
  }
  static constexpr TSet FromBits(std::uint64_t ABits) noexcept {
    TSet Result;
    Result.FBits = ABits;
    return Result;
  }
  // All ordinals from Low to High inclusive.
  static constexpr TSet Range(E Low, E High) noexcept {
    TSet Result;
    for (unsigned I = static_cast<unsigned>(Low); I <= static_cast<unsigned>(High); ++I)
      Result.FBits |= std::uint64_t{1} << I;
    return Result;
  }

  constexpr bool Contains(E Item) const noexcept { return (FBits & Bit(Item)) != 0; }
  constexpr bool Empty() const noexcept { return FBits == 0; }
  constexpr std::uint64_t Bits() const noexcept { return FBits; }
  constexpr TSet& Include(E Item) noexcept {
    FBits |= Bit(Item);
    return *this;
  }
  constexpr TSet& Exclude(E Item) noexcept {
    FBits &= ~Bit(Item);
    return *this;
  }

  friend constexpr TSet operator+(TSet A, TSet B) noexcept { return FromBits(A.FBits | B.FBits); }
  friend constexpr TSet operator-(TSet A, TSet B) noexcept { return FromBits(A.FBits & ~B.FBits); }
  friend constexpr TSet operator*(TSet A, TSet B) noexcept { return FromBits(A.FBits & B.FBits); }
  friend constexpr bool operator==(TSet A, TSet B) noexcept { return A.FBits == B.FBits; }
  // Subset.
  friend constexpr bool operator<=(TSet A, TSet B) noexcept { return (A.FBits & ~B.FBits) == 0; }

private:
  static constexpr std::uint64_t Bit(E Item) noexcept {
    return std::uint64_t{1} << static_cast<unsigned>(Item);
  }
  std::uint64_t FBits = 0;
};

}  // namespace cogent
