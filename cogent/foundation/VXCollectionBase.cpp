#include "cogent/foundation/VXCollectionBase.h"

#include <cstddef>
#include <iterator>
#include <string>

#include "cogent/host/SysUtils.h"

namespace cogent {

std::string EnumName(TCollectionNotification V) {
  static constexpr const char* Names[] = {"cnAdding",    "cnAdded",    "cnExtracting",
                                          "cnExtracted", "cnDeleting", "cnRemoved"};
  return static_cast<std::size_t>(V) < std::size(Names) ? Names[V] : std::string();
}

namespace {

// The mapping CompareText compares by, so that equal keys hash alike.
char32_t FoldCase(char32_t C) noexcept { return UnicodeLower(C); }

// Appends C in UTF-8 to Buffer at Length; false when it would not fit.
bool AppendUTF8(char* Buffer, std::size_t Size, std::size_t& Length, char32_t C) noexcept {
  char Bytes[4];
  std::size_t Count;
  if (C < 0x80) {
    Bytes[0] = static_cast<char>(C);
    Count = 1;
  } else if (C < 0x800) {
    Bytes[0] = static_cast<char>(0xC0 | (C >> 6));
    Bytes[1] = static_cast<char>(0x80 | (C & 0x3F));
    Count = 2;
  } else if (C < 0x10000) {
    Bytes[0] = static_cast<char>(0xE0 | (C >> 12));
    Bytes[1] = static_cast<char>(0x80 | ((C >> 6) & 0x3F));
    Bytes[2] = static_cast<char>(0x80 | (C & 0x3F));
    Count = 3;
  } else {
    Bytes[0] = static_cast<char>(0xF0 | (C >> 18));
    Bytes[1] = static_cast<char>(0x80 | ((C >> 12) & 0x3F));
    Bytes[2] = static_cast<char>(0x80 | ((C >> 6) & 0x3F));
    Bytes[3] = static_cast<char>(0x80 | (C & 0x3F));
    Count = 4;
  }
  if (Length + Count > Size) return false;
  for (std::size_t I = 0; I < Count; ++I) Buffer[Length++] = Bytes[I];
  return true;
}

}  // namespace

bool TCaseInsensitiveStringComparer::Equals(const std::string& Left, const std::string& Right) const {
  return SameText(Left, Right);
}

std::int32_t TCaseInsensitiveStringComparer::GetHashCode(const std::string& Value) const {
  // Keys of ordinary length fold on the stack; longer ones on the heap.
  char Buffer[256];
  std::size_t Length = 0;
  std::size_t Pos = 0;
  bool Fits = true;
  while (Fits && Pos < Value.size()) Fits = AppendUTF8(Buffer, sizeof Buffer, Length, FoldCase(UTF8Decode(Value, Pos)));
  if (Fits) return CalculateHash(std::string_view(Buffer, Length));
  std::string Folded;
  Folded.reserve(Value.size());
  Pos = 0;
  while (Pos < Value.size()) UTF8Append(Folded, FoldCase(UTF8Decode(Value, Pos)));
  return CalculateHash(Folded);
}

const IEqualityComparer<std::string>& CaseInsensitiveStringComparer() {
  static const IEqualityComparer<std::string> Instance(new TCaseInsensitiveStringComparer());
  return Instance;
}

}  // namespace cogent
