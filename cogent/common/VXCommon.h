#pragma once
// What the engine needs of the common library: its exceptions, the cloneable
// and iterator interfaces, hashing and comparison helpers.

#include <cstdint>
#include <string>
#include <string_view>

#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"
#include "cogent/host/Streams.h"

namespace cogent {

// ---------------------------------------------------------------- exceptions

COGENT_DECLARE_EXCEPTION(EVXException, Exception)
COGENT_DECLARE_EXCEPTION(EGHashtableError, EVXException)

inline constexpr const char* SEmptyHashtable = "Cannot remove an item from an empty hash table";

// ---------------------------------------------------------------- interfaces

// Copy, clone and compare through the counted interface. Classes that
// implement it also offer a Clone typed for their own interface.
class ICloneable {
public:
  virtual void Assign(const IInterface& Source) = 0;
  virtual IInterface CloneInterface() const = 0;
  virtual bool Equals(const IInterface& Other) const = 0;
  virtual std::intptr_t GetTag() const = 0;
  virtual void SetTag(std::intptr_t Value) = 0;

protected:
  ~ICloneable() = default;
};

template <class TElement>
class TCustomIterator : public TRefCounted {
public:
  virtual TElement CurrentElement() const = 0;
  virtual int GetCount() const = 0;
  virtual bool HasMoreElements() const = 0;
  virtual TElement NextElement() = 0;
  virtual void Reset() = 0;
};

using IStringIterator = Ref<TCustomIterator<std::string>>;
using IInterfaceIterator = Ref<TCustomIterator<IInterface>>;
using IObjectIterator = Ref<TCustomIterator<TObject*>>;

// ---------------------------------------------------------------- functions

// 32-bit hash of the UTF-8 bytes of S; pure and stable across runs.
std::int32_t CalculateHash(std::string_view S) noexcept;
std::int32_t CalculateHash(std::string_view S, std::int32_t Seed) noexcept;
// A and B differ by at most Epsilon.
bool FloatEquals(double A, double B, double Epsilon) noexcept;
// Mixes Value into Seed so that the order of combination counts.
std::int32_t HashCombine(std::int32_t Seed, std::int32_t Value) noexcept;
// Text in double quotes as the rule language reads it back: a backslash
// before each double quote and backslash.
std::string QuoteString(std::string_view Text);
// 1-based code-point position of the first character of Text that is one of
// Chars, else 0.
std::size_t ContainsCharacters(std::string_view Text, std::string_view Chars) noexcept;
// True when Item lies in the circular range from Bottom (exclusive) to
// TopInclusive (inclusive); the range wraps when Bottom >= TopInclusive.
bool InCircularRange(int Bottom, int Item, int TopInclusive) noexcept;
// A new object of P's class with P assigned to it; nil when the class can't be
// made by name.
TPersistent* ClonePersistentClass(TPersistent* P);
std::string VXUpperCase(std::string_view S);
std::string VXLowerCase(std::string_view S);
bool VXCharInSet(char32_t C, std::u32string_view Set) noexcept;
// A character that may open a number: a decimal digit or a number symbol, so
// that "-5" and ".5" are tried as numbers.
bool IsNumberChar(char32_t C) noexcept;
bool IsNumberSymbol(char32_t C) noexcept;  // "+", "-", "."
// "Copy_of_Name", then "Copy_2_of_Name", "Copy_3_of_Name", ...: each call
// gives a name that differs from its argument and is still a valid
// construct name (no blanks or parentheses).
std::string RenameCopy(std::string_view Name);
void WritePreambleToStream(TStream& Stream, TEncoding& Encoding);
void WriteStringToStream(TStream& Stream, std::string_view S, TEncoding& Encoding);
// A nil encoding means UTF-8 without a preamble: no preamble is written and
// text goes out as its UTF-8 bytes.
void WritePreambleToStream(TStream& Stream, TEncoding* Encoding);
void WriteStringToStream(TStream& Stream, std::string_view S, TEncoding* Encoding);
// The indent of pretty-printed text, Level steps deep.
std::string IndentString(int Level = 1);
// Breaks Line at blanks so that no piece passes Column characters where a
// blank allows; Break goes between the pieces, the blank ends the piece.
std::string WrapText(const std::string& Line, const std::string& Break, std::size_t Column);

}  // namespace cogent
