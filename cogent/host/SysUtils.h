#pragma once
// The host's exceptions, text formatting, number conversion and Unicode text
// helpers. Text is UTF-8 in std::string; functions that speak of characters
// count code points.

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace cogent {

// ---------------------------------------------------------------- exceptions

class Exception : public std::exception {
public:
  explicit Exception(std::string AMessage) : FMessage(std::move(AMessage)) {}
  const char* what() const noexcept override { return FMessage.c_str(); }
  const std::string& GetMessage() const noexcept { return FMessage; }
  void SetMessage(std::string AMessage) { FMessage = std::move(AMessage); }

private:
  std::string FMessage;
};

#define COGENT_DECLARE_EXCEPTION(Name, Base) \
  class Name : public Base {                 \
  public:                                    \
    using Base::Base;                        \
  };

COGENT_DECLARE_EXCEPTION(EConvertError, Exception)
COGENT_DECLARE_EXCEPTION(EListError, Exception)
COGENT_DECLARE_EXCEPTION(EStringListError, EListError)
COGENT_DECLARE_EXCEPTION(EArgumentException, Exception)
COGENT_DECLARE_EXCEPTION(EArgumentOutOfRangeException, EArgumentException)
COGENT_DECLARE_EXCEPTION(EInvalidOperation, Exception)
COGENT_DECLARE_EXCEPTION(EStreamError, Exception)
COGENT_DECLARE_EXCEPTION(EReadError, EStreamError)
COGENT_DECLARE_EXCEPTION(EWriteError, EStreamError)
COGENT_DECLARE_EXCEPTION(EFOpenError, EStreamError)
COGENT_DECLARE_EXCEPTION(EFCreateError, EStreamError)
COGENT_DECLARE_EXCEPTION(EEncodingError, Exception)
// A class check that failed: an object is not of the class the caller needs.
COGENT_DECLARE_EXCEPTION(EInvalidCast, Exception)
// The silent exception: it ends work at once and is never reported as an error.
COGENT_DECLARE_EXCEPTION(EAbort, Exception)
// Arithmetic: floating point and whole numbers.
COGENT_DECLARE_EXCEPTION(EMathError, Exception)
COGENT_DECLARE_EXCEPTION(EZeroDivide, EMathError)
COGENT_DECLARE_EXCEPTION(EInvalidOp, EMathError)
COGENT_DECLARE_EXCEPTION(EOverflow, EMathError)
COGENT_DECLARE_EXCEPTION(EIntError, Exception)
COGENT_DECLARE_EXCEPTION(EDivByZero, EIntError)
COGENT_DECLARE_EXCEPTION(EIntOverflow, EIntError)

// The host's own message texts.
inline constexpr const char* SAssignError = "Cannot assign a %s to a %s";
inline constexpr const char* SListIndexError = "List index out of bounds (%d)";
inline constexpr const char* SDuplicateItem = "Duplicates not allowed in this list";
inline constexpr const char* SItemNotFound = "Item not found";
inline constexpr const char* SDuplicateString = "String list does not allow duplicates";
inline constexpr const char* SSortedListError = "Operation not allowed on sorted list";
inline constexpr const char* SArgumentOutOfRange = "Argument out of range";
inline constexpr const char* SInvalidInteger = "'%s' is not a valid integer value";
inline constexpr const char* SInvalidFloat = "'%s' is not a valid floating point value";
inline constexpr const char* SInvalidFormat = "Format '%s' invalid or incompatible with argument";
inline constexpr const char* SArgumentMissing = "No argument for format '%s'";
inline constexpr const char* SReadError = "Stream read error";
inline constexpr const char* SWriteError = "Stream write error";
inline constexpr const char* SFOpenError = "Cannot open file \"%s\". %s";
inline constexpr const char* SFCreateError = "Cannot create file \"%s\". %s";
inline constexpr const char* SInvalidSourceArray = "Invalid source array";
inline constexpr const char* SStreamSetSize = "Error setting stream size";
inline constexpr const char* SZeroDivide = "Floating point division by zero";
inline constexpr const char* SInvalidOp = "Invalid floating point operation";
inline constexpr const char* SOverflow = "Floating point overflow";
inline constexpr const char* SDivByZero = "Division by zero";
inline constexpr const char* SIntOverflow = "Integer overflow";
inline constexpr const char* SInvalidCast = "Invalid class typecast";
inline constexpr const char* SComponentOwnerLoop = "A component cannot own itself or its owner";

// ---------------------------------------------------------------- Format

// One argument of Format, its type kept so that a directive can check it.
class TVarRec {
public:
  enum TKind : std::uint8_t { vtInteger, vtUnsigned, vtFloat, vtString, vtPointer };

  template <class T>
  TVarRec(const T& AValue) {  // NOLINT: implicit by design
    using D = std::decay_t<T>;
    if constexpr (std::is_same_v<D, bool>) {
      // The host's Format takes no Booleans; keep the kind checkable.
      FKind = vtPointer;
      FPointer = nullptr;
      FIsBool = true;
    } else if constexpr (std::is_same_v<D, char>) {
      FKind = vtString;
      FString.assign(1, AValue);
    } else if constexpr (std::is_integral_v<D> && std::is_signed_v<D>) {
      FKind = vtInteger;
      FInteger = static_cast<std::int64_t>(AValue);
    } else if constexpr (std::is_integral_v<D>) {
      FKind = vtUnsigned;
      FUnsigned = static_cast<std::uint64_t>(AValue);
    } else if constexpr (std::is_enum_v<D>) {
      FKind = vtInteger;
      FInteger = static_cast<std::int64_t>(AValue);
    } else if constexpr (std::is_floating_point_v<D>) {
      FKind = vtFloat;
      FFloat = static_cast<long double>(AValue);
    } else if constexpr (std::is_same_v<D, const char*> || std::is_same_v<D, char*>) {
      // A nil C string is the empty text, never a crash.
      FKind = vtString;
      if constexpr (std::is_array_v<T>)
        FString = AValue;
      else if (AValue)
        FString = AValue;
    } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      FKind = vtString;
      FString = std::string(std::string_view(AValue));
    } else if constexpr (std::is_pointer_v<D>) {
      FKind = vtPointer;
      FPointer = static_cast<const void*>(AValue);
    } else {
      static_assert(sizeof(T) == 0, "type not supported by Format");
    }
  }

  TKind Kind() const noexcept { return FKind; }
  bool IsBool() const noexcept { return FIsBool; }
  std::int64_t AsInteger() const noexcept { return FInteger; }
  std::uint64_t AsUnsigned() const noexcept { return FUnsigned; }
  long double AsFloat() const noexcept { return FFloat; }
  const std::string& AsString() const noexcept { return FString; }
  const void* AsPointer() const noexcept { return FPointer; }

private:
  TKind FKind = vtInteger;
  bool FIsBool = false;
  std::int64_t FInteger = 0;
  std::uint64_t FUnsigned = 0;
  long double FFloat = 0;
  std::string FString;
  const void* FPointer = nullptr;
};

// Formats like the host runtime: "%" [index ":"] ["-"] [width] ["." prec] type
// with the types d u x e f g n m p s (either case) and "%%". Width and
// precision may be "*", taken from an integer argument; the index is 0-based
// and later directives go on from it. Width and precision count characters.
// A directive whose argument has another type, or that has no argument,
// raises EConvertError; nothing is undefined. The forms:
//   d  "-00012" for "%.5d": precision pads the digits with zeros
//   u x  a negative argument that fits 32 bits is read as its 32-bit word,
//      as the host reads an Integer; x is upper case
//   f  fixed, 2 decimals by default
//   e  "1.00000000000000E+003": precision (default 15) counts all digits,
//      the exponent has a sign and at least three digits
//   g  precision (default 15) significant digits, trailing zeros dropped;
//      fixed while the value has at most that many integer digits and is at
//      least 0.0001, otherwise "1.5E20" / "1E-7"
//   n  fixed with "," between thousands: "1,234,567.89"
//   m  money: "$1,234.50", "-$0.50" (2 decimals by default)
//   p  the address as 16 upper-case hex digits
//   s  precision cuts the text
// Floats are formatted at double precision and rounded half away from zero
// on their exact decimal value; a result that rounds to zero has no sign;
// NaN and infinities give "NAN", "INF", "-INF". Precision above 18 counts as
// 18 for floats; a width or precision above 2^20 is an invalid format.
std::string FormatV(std::string_view Fmt, const std::vector<TVarRec>& Args);

template <class... Args>
std::string Format(std::string_view Fmt, const Args&... AArgs) {
  return FormatV(Fmt, std::vector<TVarRec>{TVarRec(AArgs)...});
}

// ---------------------------------------------------------------- numbers
// Text to number consumes the whole text: leading and trailing blanks are
// allowed, anything else is refused. Integers may be written in hexadecimal
// with a "$" or "0x" prefix; a decimal integer out of range is refused, a
// hexadecimal one may use every bit of the type ("$FFFFFFFF" is -1), as the
// host reads it. Floats take the forms "1", "1.5", ".5", "5.", "1e3",
// "-2.5E-3" with "." as separator; "inf", "nan" and overflow are refused,
// underflow reads as zero.

bool TryStrToInt(std::string_view S, std::int32_t& Value);
bool TryStrToInt64(std::string_view S, std::int64_t& Value);
bool TryStrToFloat(std::string_view S, double& Value);
std::int32_t StrToInt(std::string_view S);    // EConvertError on failure
std::int64_t StrToInt64(std::string_view S);  // EConvertError on failure
double StrToFloat(std::string_view S);        // EConvertError on failure
std::int32_t StrToIntDef(std::string_view S, std::int32_t Default);
std::string IntToStr(std::int64_t Value);
std::string IntToHex(std::uint64_t Value, int Digits);
// Shortest text that reads back as the same double, "." as separator, laid
// out as "%g" lays it out: "0.1", "100", "1E20", "1.5E-7".
std::string FloatToStr(double Value);

// ---------------------------------------------------------------- Unicode text

// Decodes the code point at byte position Pos and advances Pos; an invalid
// sequence yields U+FFFD and advances one byte. At or past the end it gives
// U+FFFD and leaves Pos alone. Nothing past the end is ever read.
char32_t UTF8Decode(std::string_view S, std::size_t& Pos) noexcept;
void UTF8Append(std::string& S, char32_t C);
std::u32string UTF8ToUTF32(std::string_view S);
std::string UTF32ToUTF8(std::u32string_view S);

// Character counts and positions are 1-based code points, as in the host.
std::size_t UTF8Length(std::string_view S) noexcept;
// Copy of Count code points from the 1-based code-point Index.
std::string UTF8Copy(std::string_view S, std::size_t Index, std::size_t Count);
// 1-based code-point position of SubStr in S, 0 when absent.
std::size_t UTF8Pos(std::string_view SubStr, std::string_view S);

// Simple (one to one) case mapping, independent of the locale, for Basic
// Latin, Latin-1, Latin Extended-A, the regular pairs of Latin Extended-B,
// Latin Extended Additional, Greek and Cyrillic; other code points map to
// themselves ("ß" stays "ß").
char32_t UnicodeUpper(char32_t C) noexcept;
char32_t UnicodeLower(char32_t C) noexcept;
// Bytes that are no valid UTF-8 pass through unchanged.
std::string UpperCase(std::string_view S);
std::string LowerCase(std::string_view S);
// Ordinal comparisons by code point: <0, 0, >0.
int CompareStr(std::string_view A, std::string_view B) noexcept;
int CompareText(std::string_view A, std::string_view B) noexcept;  // ignores case
bool SameText(std::string_view A, std::string_view B) noexcept;
// The Trim family removes every character up to and including the blank.
std::string Trim(std::string_view S);
std::string TrimLeft(std::string_view S);
std::string TrimRight(std::string_view S);
std::string StringReplaceAll(std::string_view S, std::string_view From, std::string_view To);

// ---------------------------------------------------------------- files

// A file that is there and is no directory; links are followed.
bool FileExists(const std::string& FileName);
// False when the file could not be deleted, also when it isn't there.
bool DeleteFile(const std::string& FileName);
// False when the file could not be renamed, also when NewName exists.
bool RenameFile(const std::string& OldName, const std::string& NewName);

// ---------------------------------------------------------------- file system
// The operations below raise EInOutError, or one of its kinds, with a
// message of ours when the system refuses; none leaves a half-written file
// or directory behind: a copy is made under a scratch name beside the target
// and renamed into place only when it is whole.

COGENT_DECLARE_EXCEPTION(EInOutError, Exception)
COGENT_DECLARE_EXCEPTION(EDirectoryNotFoundException, EInOutError)
COGENT_DECLARE_EXCEPTION(EFileNotFoundException, EInOutError)

inline constexpr const char* SPathEmpty = "The path is empty";
inline constexpr const char* SDirectoryNotFound = "Directory \"%s\" not found";
inline constexpr const char* SFileNotFound = "File \"%s\" not found";
inline constexpr const char* SPathExists = "\"%s\" exists already";
// The operation, the path and the system's reason.
inline constexpr const char* SPathError = "Cannot %s \"%s\". %s";
inline constexpr const char* SNoHomePath = "The user has no home directory";

#ifdef _WIN32
inline constexpr char PathDelim = '\\';
#else
inline constexpr char PathDelim = '/';
#endif
// The characters that end a directory part of a path on this platform.
bool IsPathDelimiter(char C) noexcept;

// Path text alone; no file is looked at.
// The extension with its dot, "" when the name has none.
std::string ExtractFileExt(std::string_view FileName);
// The name behind the last delimiter.
std::string ExtractFileName(std::string_view FileName);
// Everything up to and including the last delimiter.
std::string ExtractFilePath(std::string_view FileName);
// The extension (given with its dot) replaced, or added where there is none.
std::string ChangeFileExt(std::string_view FileName, std::string_view Extension);
// The file name under Path; an empty Path leaves the bare name.
std::string ChangeFilePath(std::string_view FileName, std::string_view Path);
std::string IncludeTrailingPathDelimiter(std::string_view Path);
// Whole-name wildcard match: "*" any run of characters, "?" one character
// (a code point); case counts.
bool MatchesMask(std::string_view Name, std::string_view Mask);

// Places of the user and of the system.
std::string GetHomePath();
std::string GetDocumentsPath();
std::string GetTempPath();

// Files. Source must be a file; an existing target is refused unless
// Overwrite is asked for.
void CopyFile(const std::string& Source, const std::string& Dest, bool Overwrite);
// Renames, or copies and deletes across devices; an existing target is refused.
void MoveFile(const std::string& Source, const std::string& Dest);
// Creates FileName with the bytes, or replaces it whole: they are written
// under a scratch name beside it, which is renamed over it at the end, so
// that a failed write leaves the file as it was.
void SaveFileReplacing(const std::string& FileName, std::string_view Bytes);

// Directories.
std::string GetCurrentDir();
void SetCurrentDir(const std::string& Dir);
bool DirectoryExists(const std::string& Dir);  // links are followed
// The entries directly in Dir whose names match Mask ("" for all), in the
// order the system lists them, each as Dir joined with its name.
std::vector<std::string> GetFiles(const std::string& Dir, std::string_view Mask);
std::vector<std::string> GetDirectories(const std::string& Dir, std::string_view Mask);
bool IsDirectoryEmpty(const std::string& Dir);
// Path text: the directory above Path ("" above a root), and the root of Path
// made absolute.
std::string GetParentDirectory(const std::string& Path);
std::string GetDirectoryRoot(const std::string& Path);
// Every missing directory on the way is made.
void ForceDirectories(const std::string& Dir);
// Copies or moves the tree to Dest, which must not exist.
void CopyDirectory(const std::string& Source, const std::string& Dest);
void MoveDirectory(const std::string& Source, const std::string& Dest);
// Without Recursive only an empty directory goes.
void DeleteDirectory(const std::string& Dir, bool Recursive);

// ---------------------------------------------------------------- the operating system

enum TArchitecture : std::uint8_t { arIntelX86, arIntelX64, arARM32, arARM64, arUnknown };
enum TPlatform : std::uint8_t { pfWindows, pfMacOS, pfiOS, pfAndroid, pfWinRT, pfLinux, pfUnknown };
const char* GetArchitectureName(TArchitecture Value) noexcept;  // "arIntelX64"
const char* GetPlatformName(TPlatform Value) noexcept;          // "pfLinux"

// What the running system says of itself, read once.
class TOSVersion {
public:
  static const std::string& GetName();  // descriptive, such as the distribution's name
  static TArchitecture GetArchitecture() noexcept;
  static TPlatform GetPlatform() noexcept;
  static std::int32_t GetMajor();
  static std::int32_t GetMinor();
  static std::int32_t GetBuild();
};

inline constexpr const char* sLineBreak = "\r\n";

}  // namespace cogent
