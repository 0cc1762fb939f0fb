#include "cogent/common/VXCommon.h"

#include <cmath>
#include <memory>

namespace cogent {

// ---------------------------------------------------------------- hashing

namespace {

constexpr std::uint32_t FnvOffsetBasis = 2166136261u;
constexpr std::uint32_t FnvPrime = 16777619u;

// The final mix of MurmurHash3: FNV-1a alone leaves the low bits weak for
// short keys, and the hash tables take their bucket from the low bits.
constexpr std::uint32_t Avalanche(std::uint32_t H) noexcept {
  H ^= H >> 16;
  H *= 0x85EBCA6Bu;
  H ^= H >> 13;
  H *= 0xC2B2AE35u;
  H ^= H >> 16;
  return H;
}

std::uint32_t HashBytes(std::string_view S, std::uint32_t Seed) noexcept {
  std::uint32_t H = FnvOffsetBasis ^ (Seed * 0x9E3779B1u);
  for (const char C : S) {
    H ^= static_cast<std::uint8_t>(C);
    H *= FnvPrime;
  }
  H ^= static_cast<std::uint32_t>(S.size());
  return Avalanche(H);
}

}  // namespace

std::int32_t CalculateHash(std::string_view S) noexcept {
  return static_cast<std::int32_t>(HashBytes(S, 0));
}

std::int32_t CalculateHash(std::string_view S, std::int32_t Seed) noexcept {
  return static_cast<std::int32_t>(HashBytes(S, static_cast<std::uint32_t>(Seed)));
}

std::int32_t HashCombine(std::int32_t Seed, std::int32_t Value) noexcept {
  const auto H = static_cast<std::uint32_t>(Seed);
  const auto V = static_cast<std::uint32_t>(Value);
  return static_cast<std::int32_t>(Avalanche(H ^ (V + 0x9E3779B9u + (H << 6) + (H >> 2))));
}

std::string QuoteString(std::string_view Text) {
  std::string Result;
  Result.reserve(Text.size() + 2);
  Result += '"';
  for (const char C : Text) {
    if (C == '"' || C == '\\') Result += '\\';
    Result += C;
  }
  Result += '"';
  return Result;
}

// ---------------------------------------------------------------- comparison

bool FloatEquals(double A, double B, double Epsilon) noexcept {
  // Equal infinities differ by NaN, yet are equal.
  return A == B || std::fabs(A - B) <= Epsilon;
}

std::size_t ContainsCharacters(std::string_view Text, std::string_view Chars) noexcept {
  std::size_t Pos = 0;
  std::size_t Index = 0;
  while (Pos < Text.size()) {
    const char32_t C = UTF8Decode(Text, Pos);
    ++Index;
    std::size_t CharPos = 0;
    while (CharPos < Chars.size())
      if (UTF8Decode(Chars, CharPos) == C) return Index;
  }
  return 0;
}

bool InCircularRange(int Bottom, int Item, int TopInclusive) noexcept {
  return (Bottom < Item && Item <= TopInclusive) || (TopInclusive < Bottom && Bottom < Item) ||
         (Item <= TopInclusive && TopInclusive < Bottom);
}

// ---------------------------------------------------------------- objects

TPersistent* ClonePersistentClass(TPersistent* P) {
  if (P == nullptr) return nullptr;
  std::unique_ptr<TObject> Instance(P->ClassType()->CreateInstance(nullptr));
  auto* Result = dynamic_cast<TPersistent*>(Instance.get());
  if (Result == nullptr) return nullptr;
  Result->Assign(P);
  Instance.release();
  return Result;
}

// ---------------------------------------------------------------- characters

std::string VXUpperCase(std::string_view S) { return UpperCase(S); }

std::string VXLowerCase(std::string_view S) { return LowerCase(S); }

bool VXCharInSet(char32_t C, std::u32string_view Set) noexcept {
  return Set.find(C) != std::u32string_view::npos;
}

bool IsNumberChar(char32_t C) noexcept { return (C >= U'0' && C <= U'9') || IsNumberSymbol(C); }

bool IsNumberSymbol(char32_t C) noexcept { return C == U'+' || C == U'-' || C == U'.'; }

// ---------------------------------------------------------------- names and text

std::string RenameCopy(std::string_view Name) {
  static constexpr std::string_view Prefix = "Copy_";
  static constexpr std::string_view Of = "_of_";
  if (Name.starts_with("Copy_of_"))
    return "Copy_2_of_" + std::string(Name.substr(8));
  // "Copy_<n>_of_X" counts on.
  if (Name.starts_with(Prefix)) {
    const std::size_t OfPos = Name.find(Of, Prefix.size());
    if (OfPos != std::string_view::npos && OfPos > Prefix.size()) {
      const std::string_view Digits = Name.substr(Prefix.size(), OfPos - Prefix.size());
      bool AllDigits = Digits.size() <= 9 && Digits.front() != '0';
      for (const char C : Digits) AllDigits = AllDigits && C >= '0' && C <= '9';
      if (AllDigits) {
        const std::int32_t N = StrToInt(Digits);
        return "Copy_" + IntToStr(std::int64_t{N} + 1) + std::string(Name.substr(OfPos));
      }
    }
  }
  return "Copy_of_" + std::string(Name);
}

void WritePreambleToStream(TStream& Stream, TEncoding& Encoding) {
  const TBytes Preamble = Encoding.GetPreamble();
  if (!Preamble.empty()) Stream.WriteBuffer(Preamble.data(), static_cast<std::int64_t>(Preamble.size()));
}

void WriteStringToStream(TStream& Stream, std::string_view S, TEncoding& Encoding) {
  const TBytes Bytes = Encoding.GetBytes(S);
  if (!Bytes.empty()) Stream.WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
}

void WritePreambleToStream(TStream& Stream, TEncoding* Encoding) {
  if (Encoding != nullptr) WritePreambleToStream(Stream, *Encoding);
}

void WriteStringToStream(TStream& Stream, std::string_view S, TEncoding* Encoding) {
  if (Encoding != nullptr)
    WriteStringToStream(Stream, S, *Encoding);
  else if (!S.empty())
    Stream.WriteBuffer(S.data(), static_cast<std::int64_t>(S.size()));
}

std::string IndentString(int Level) {
  return Level > 0 ? std::string(static_cast<std::size_t>(Level) * 3, ' ') : std::string();
}

std::string WrapText(const std::string& Line, const std::string& Break, std::size_t Column) {
  std::string Result;
  std::size_t Start = 0;
  while (UTF8Length(std::string_view(Line).substr(Start)) > Column) {
    // The last blank within the column, else the first one after it.
    std::size_t Cut = std::string::npos;
    std::size_t Characters = 0;
    for (std::size_t I = Start; I < Line.size(); ++I) {
      if ((static_cast<unsigned char>(Line[I]) & 0xC0) != 0x80) ++Characters;
      if (Line[I] == ' ') {
        if (Characters <= Column || Cut == std::string::npos) Cut = I;
        if (Characters > Column) break;
      }
    }
    if (Cut == std::string::npos || Cut + 1 >= Line.size()) break;
    Result += Line.substr(Start, Cut + 1 - Start) + Break;
    Start = Cut + 1;
  }
  return Result + Line.substr(Start);
}


}  // namespace cogent
