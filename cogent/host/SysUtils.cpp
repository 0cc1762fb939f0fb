#include "cogent/host/SysUtils.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

namespace cogent {

namespace {

// ================================================================ decimal digits

// A finite, non-negative double as decimal digits: Value = 0.Digits * 10^Exponent.
// Digits has no leading zeros and is empty for zero.
struct TDecimal {
  std::string Digits;
  int Exponent = 0;
};

// Significant digits of V > 0 as printed by the C library, correctly rounded to
// Count digits (Count = 768 gives the exact expansion of any double).
TDecimal Decompose(double V, int Count) {
  std::string Buf(static_cast<std::size_t>(Count) + 16, '\0');
  const int Len = std::snprintf(Buf.data(), Buf.size(), "%.*e", Count - 1, V);
  Buf.resize(static_cast<std::size_t>(Len));
  // "d.ddd...e+XX"
  const std::size_t E = Buf.find('e');
  TDecimal Result;
  Result.Digits.reserve(static_cast<std::size_t>(Count));
  for (std::size_t I = 0; I < E; ++I)
    if (Buf[I] != '.') Result.Digits += Buf[I];
  Result.Exponent = std::atoi(Buf.c_str() + E + 1) + 1;
  return Result;
}

constexpr int QuickDigits = 40;
constexpr int ExactDigits = 768;

// V > 0 rounded half away from zero, keeping Keep significant digits, or, when
// Fixed, Keep digits after the decimal point. Trailing zeros are dropped.
TDecimal RoundedDigits(double V, int Keep, bool Fixed) {
  TDecimal D = Decompose(V, QuickDigits);
  int K = Fixed ? D.Exponent + Keep : Keep;
  if (K >= QuickDigits) {
    D = Decompose(V, ExactDigits);
    K = Fixed ? D.Exponent + Keep : Keep;
  } else if (K >= 0 && D.Digits[static_cast<std::size_t>(K)] == '5' &&
             D.Digits.find_first_not_of('0', static_cast<std::size_t>(K) + 1) == std::string::npos) {
    // The short form may have rounded up to an exact half: decide on the exact digits.
    D = Decompose(V, ExactDigits);
  }
  if (K < 0) return TDecimal{};
  if (static_cast<std::size_t>(K) < D.Digits.size()) {
    const bool Up = D.Digits[static_cast<std::size_t>(K)] >= '5';
    D.Digits.resize(static_cast<std::size_t>(K));
    if (Up) {
      std::size_t I = D.Digits.size();
      while (I > 0 && D.Digits[I - 1] == '9') D.Digits[--I] = '0';
      if (I == 0) {
        D.Digits.insert(D.Digits.begin(), '1');
        ++D.Exponent;
      } else {
        ++D.Digits[I - 1];
      }
    }
  }
  const std::size_t Last = D.Digits.find_last_not_of('0');
  D.Digits.resize(Last == std::string::npos ? 0 : Last + 1);
  if (D.Digits.empty()) D.Exponent = 0;
  return D;
}

char DigitAt(const TDecimal& D, int Index) {
  return Index >= 0 && static_cast<std::size_t>(Index) < D.Digits.size() ? D.Digits[static_cast<std::size_t>(Index)]
                                                                          : '0';
}

// "ddd.ddd" with Decimals digits after the point, grouping the integer part by
// thousands when Separator is given.
std::string FixedText(const TDecimal& D, int Decimals, char Separator) {
  std::string Result;
  const int IntDigits = std::max(D.Exponent, 1);
  for (int I = 0; I < IntDigits; ++I) {
    if (Separator && I > 0 && (IntDigits - I) % 3 == 0) Result += Separator;
    Result += D.Exponent <= 0 ? '0' : DigitAt(D, I);
  }
  if (Decimals > 0) {
    Result += '.';
    for (int I = 0; I < Decimals; ++I) Result += DigitAt(D, D.Exponent + I);
  }
  return Result;
}

void AppendExponent(std::string& S, int Exponent, bool PlusSign, int MinDigits) {
  S += 'E';
  if (Exponent < 0)
    S += '-';
  else if (PlusSign)
    S += '+';
  std::string Digits = std::to_string(Exponent < 0 ? -Exponent : Exponent);
  if (static_cast<int>(Digits.size()) < MinDigits) Digits.insert(0, static_cast<std::size_t>(MinDigits) - Digits.size(), '0');
  S += Digits;
}

// The host's scientific form: Precision significant digits, "E", sign, at
// least three exponent digits: 1.00000000000000E+003.
std::string ExponentText(const TDecimal& D, int Precision) {
  std::string Result(1, DigitAt(D, 0));
  if (Precision > 1) {
    Result += '.';
    for (int I = 1; I < Precision; ++I) Result += DigitAt(D, I);
  }
  AppendExponent(Result, D.Digits.empty() ? 0 : D.Exponent - 1, true, 3);
  return Result;
}

// The shortest of fixed and scientific form for digits already rounded to
// Precision: fixed while the value has at most Precision integer digits and is
// at least 0.0001; scientific as "1.5E20" or "1E-7".
std::string GeneralText(const TDecimal& D, int Precision) {
  if (D.Digits.empty()) return "0";
  const int Count = static_cast<int>(D.Digits.size());
  std::string Result;
  if (D.Exponent > Precision || D.Exponent < -3) {
    Result += D.Digits[0];
    if (Count > 1) {
      Result += '.';
      Result.append(D.Digits, 1);
    }
    AppendExponent(Result, D.Exponent - 1, false, 0);
  } else if (D.Exponent <= 0) {
    Result = "0.";
    Result.append(static_cast<std::size_t>(-D.Exponent), '0');
    Result += D.Digits;
  } else {
    for (int I = 0; I < D.Exponent; ++I) Result += DigitAt(D, I);
    if (Count > D.Exponent) {
      Result += '.';
      Result.append(D.Digits, static_cast<std::size_t>(D.Exponent));
    }
  }
  return Result;
}

std::string NonFiniteText(double V) {
  if (std::isnan(V)) return "NAN";
  return V < 0 ? "-INF" : "INF";
}

// ================================================================ Format

constexpr int MaxFormatCount = 1 << 20;  // width and precision beyond are refused
constexpr int MaxFloatPrecision = 18;

[[noreturn]] void RaiseInvalidFormat(std::string_view Fmt) {
  throw EConvertError(FormatV(SInvalidFormat, {TVarRec(Fmt)}));
}

[[noreturn]] void RaiseArgumentMissing(std::string_view Fmt) {
  throw EConvertError(FormatV(SArgumentMissing, {TVarRec(Fmt)}));
}

bool IsIntegerArg(const TVarRec& A) {
  return A.Kind() == TVarRec::vtInteger || A.Kind() == TVarRec::vtUnsigned;
}

// An integer argument seen as the host sees an unsigned: a negative value that
// fits 32 bits is taken as a 32-bit word, like the host's Integer.
std::uint64_t AsWord(const TVarRec& A) {
  if (A.Kind() == TVarRec::vtUnsigned) return A.AsUnsigned();
  const std::int64_t V = A.AsInteger();
  if (V < 0 && V >= std::numeric_limits<std::int32_t>::min())
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(V));
  return static_cast<std::uint64_t>(V);
}

std::string HexText(std::uint64_t V) {
  char Buf[24];
  const auto R = std::to_chars(Buf, Buf + sizeof Buf, V, 16);
  std::string Result(Buf, R.ptr);
  for (char& C : Result)
    if (C >= 'a' && C <= 'f') C = static_cast<char>(C - 'a' + 'A');
  return Result;
}

void PadDigits(std::string& Digits, int Precision) {
  if (Precision > static_cast<int>(Digits.size()))
    Digits.insert(0, static_cast<std::size_t>(Precision) - Digits.size(), '0');
}

std::string FloatDirective(char Type, double V, int Prec) {
  if (!std::isfinite(V)) return NonFiniteText(V);
  const bool Negative = std::signbit(V);
  const double Abs = std::fabs(V);
  std::string Text;
  TDecimal D;
  switch (Type) {
    case 'E': {
      const int P = Prec < 0 ? 15 : std::clamp(Prec, 1, MaxFloatPrecision);
      if (Abs != 0) D = RoundedDigits(Abs, P, false);
      Text = ExponentText(D, P);
      break;
    }
    case 'G': {
      const int P = Prec < 0 ? 15 : std::clamp(Prec, 1, MaxFloatPrecision);
      if (Abs != 0) D = RoundedDigits(Abs, P, false);
      Text = GeneralText(D, P);
      break;
    }
    default: {  // F, N, M
      const int P = Prec < 0 ? 2 : std::min(Prec, MaxFloatPrecision);
      if (Abs != 0) D = RoundedDigits(Abs, P, true);
      Text = FixedText(D, P, Type == 'F' ? '\0' : ',');
      if (Type == 'M') Text.insert(0, 1, '$');
      break;
    }
  }
  // A value that rounds to zero shows no sign.
  if (Negative && !D.Digits.empty()) Text.insert(0, 1, '-');
  return Text;
}

}  // namespace

std::string FormatV(std::string_view Fmt, const std::vector<TVarRec>& Args) {
  std::string Result;
  Result.reserve(Fmt.size() + 16);
  const std::size_t N = Fmt.size();
  std::size_t I = 0;
  std::size_t ArgIndex = 0;

  // Digits or "*" (taken from the next argument, which must be an integer).
  const auto ReadCount = [&](int& Value) -> bool {
    if (I < N && Fmt[I] == '*') {
      ++I;
      if (ArgIndex >= Args.size()) RaiseArgumentMissing(Fmt);
      const TVarRec& A = Args[ArgIndex++];
      if (!IsIntegerArg(A)) RaiseInvalidFormat(Fmt);
      if (A.Kind() == TVarRec::vtUnsigned) {
        if (A.AsUnsigned() > static_cast<std::uint64_t>(MaxFormatCount)) RaiseInvalidFormat(Fmt);
        Value = static_cast<int>(A.AsUnsigned());
      } else {
        if (A.AsInteger() > MaxFormatCount || A.AsInteger() < -MaxFormatCount) RaiseInvalidFormat(Fmt);
        Value = static_cast<int>(A.AsInteger());
      }
      return true;
    }
    if (I >= N || Fmt[I] < '0' || Fmt[I] > '9') return false;
    int V = 0;
    while (I < N && Fmt[I] >= '0' && Fmt[I] <= '9') {
      V = V * 10 + (Fmt[I] - '0');
      if (V > MaxFormatCount) RaiseInvalidFormat(Fmt);
      ++I;
    }
    Value = V;
    return true;
  };

  while (I < N) {
    if (Fmt[I] != '%') {
      const std::size_t Next = std::min(Fmt.find('%', I), N);
      Result.append(Fmt.substr(I, Next - I));
      I = Next;
      continue;
    }
    ++I;
    if (I < N && Fmt[I] == '%') {
      Result += '%';
      ++I;
      continue;
    }

    bool Left = false;
    int Width = -1;
    int Prec = -1;
    int Value = 0;
    bool Have = ReadCount(Value);
    if (Have && I < N && Fmt[I] == ':') {
      if (Value < 0) RaiseInvalidFormat(Fmt);
      ArgIndex = static_cast<std::size_t>(Value);
      ++I;
      Have = false;
    }
    if (!Have) {
      if (I < N && Fmt[I] == '-') {
        Left = true;
        ++I;
      }
      Have = ReadCount(Value);
    }
    if (Have) {
      if (Value < 0) {
        Left = true;
        Value = -Value;
      }
      Width = Value;
    }
    if (I < N && Fmt[I] == '.') {
      ++I;
      if (!ReadCount(Prec)) Prec = 0;
      if (Prec < 0) Prec = -1;
    }
    if (I >= N) RaiseInvalidFormat(Fmt);
    char Type = Fmt[I++];
    if (Type >= 'a' && Type <= 'z') Type = static_cast<char>(Type - 'a' + 'A');
    if (std::strchr("DUXEFGNMPS", Type) == nullptr || Type == '\0') RaiseInvalidFormat(Fmt);

    if (ArgIndex >= Args.size()) RaiseArgumentMissing(Fmt);
    const TVarRec& A = Args[ArgIndex++];
    std::string Text;
    std::size_t TextLength = 0;  // in characters
    switch (Type) {
      case 'D': {
        if (!IsIntegerArg(A)) RaiseInvalidFormat(Fmt);
        bool Negative = false;
        std::uint64_t Magnitude;
        if (A.Kind() == TVarRec::vtUnsigned) {
          Magnitude = A.AsUnsigned();
        } else {
          Negative = A.AsInteger() < 0;
          Magnitude = Negative ? 0 - static_cast<std::uint64_t>(A.AsInteger()) : static_cast<std::uint64_t>(A.AsInteger());
        }
        Text = std::to_string(Magnitude);
        PadDigits(Text, Prec);
        if (Negative) Text.insert(0, 1, '-');
        break;
      }
      case 'U':
        if (!IsIntegerArg(A)) RaiseInvalidFormat(Fmt);
        Text = std::to_string(AsWord(A));
        PadDigits(Text, Prec);
        break;
      case 'X':
        if (!IsIntegerArg(A)) RaiseInvalidFormat(Fmt);
        Text = HexText(AsWord(A));
        PadDigits(Text, Prec);
        break;
      case 'P':
        if (A.Kind() != TVarRec::vtPointer || A.IsBool()) RaiseInvalidFormat(Fmt);
        Text = HexText(reinterpret_cast<std::uintptr_t>(A.AsPointer()));
        PadDigits(Text, static_cast<int>(sizeof(void*) * 2));
        break;
      case 'S':
        if (A.Kind() != TVarRec::vtString) RaiseInvalidFormat(Fmt);
        if (Prec >= 0) {
          Text = UTF8Copy(A.AsString(), 1, static_cast<std::size_t>(Prec));
        } else {
          Text = A.AsString();
        }
        TextLength = UTF8Length(Text);
        break;
      default:  // E F G N M
        if (A.Kind() != TVarRec::vtFloat) RaiseInvalidFormat(Fmt);
        Text = FloatDirective(Type, static_cast<double>(A.AsFloat()), Prec);
        break;
    }
    if (Type != 'S') TextLength = Text.size();
    if (Width > 0 && static_cast<std::size_t>(Width) > TextLength) {
      const std::size_t Pad = static_cast<std::size_t>(Width) - TextLength;
      if (Left)
        Text.append(Pad, ' ');
      else
        Text.insert(0, Pad, ' ');
    }
    Result += Text;
  }
  return Result;
}

// ================================================================ numbers

namespace {

constexpr bool IsBlank(char C) noexcept { return static_cast<unsigned char>(C) <= ' '; }

std::string_view TrimView(std::string_view S) noexcept {
  std::size_t B = 0;
  std::size_t E = S.size();
  while (B < E && IsBlank(S[B])) ++B;
  while (E > B && IsBlank(S[E - 1])) --E;
  return S.substr(B, E - B);
}

int HexDigit(char C) noexcept {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

// Whole-text integer of Bits (32 or 64) bits. Decimal must be in range; a
// hexadecimal value may use all bits and is read as the host does, as the
// two's complement word ("$FFFFFFFF" is -1 for 32 bits).
bool ParseInteger(std::string_view S, int Bits, std::int64_t& Value) {
  S = TrimView(S);
  bool Negative = false;
  if (!S.empty() && (S[0] == '+' || S[0] == '-')) {
    Negative = S[0] == '-';
    S.remove_prefix(1);
  }
  bool Hex = false;
  if (!S.empty() && S[0] == '$') {
    Hex = true;
    S.remove_prefix(1);
  } else if (S.size() >= 2 && S[0] == '0' && (S[1] == 'x' || S[1] == 'X')) {
    Hex = true;
    S.remove_prefix(2);
  }
  if (S.empty()) return false;
  const std::uint64_t Mask = Bits == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << Bits) - 1;
  std::uint64_t Magnitude = 0;
  if (Hex) {
    for (char C : S) {
      const int D = HexDigit(C);
      if (D < 0 || Magnitude > (Mask >> 4)) return false;
      Magnitude = Magnitude << 4 | static_cast<std::uint64_t>(D);
    }
    std::uint64_t Word = (Negative ? 0 - Magnitude : Magnitude) & Mask;
    if (Bits < 64 && (Word >> (Bits - 1)) != 0) Word |= ~Mask;  // sign-extend
    Value = static_cast<std::int64_t>(Word);
    return true;
  }
  const std::uint64_t Limit = (Mask >> 1) + (Negative ? 1 : 0);
  for (char C : S) {
    if (C < '0' || C > '9') return false;
    const auto D = static_cast<std::uint64_t>(C - '0');
    if (Magnitude > (Limit - D) / 10) return false;
    Magnitude = Magnitude * 10 + D;
  }
  Value = Negative ? static_cast<std::int64_t>(0 - Magnitude) : static_cast<std::int64_t>(Magnitude);
  return true;
}

}  // namespace

bool TryStrToInt(std::string_view S, std::int32_t& Value) {
  std::int64_t V;
  if (!ParseInteger(S, 32, V)) return false;
  Value = static_cast<std::int32_t>(V);
  return true;
}

bool TryStrToInt64(std::string_view S, std::int64_t& Value) { return ParseInteger(S, 64, Value); }

bool TryStrToFloat(std::string_view S, double& Value) {
  S = TrimView(S);
  std::size_t I = 0;
  const std::size_t N = S.size();
  bool Negative = false;
  if (I < N && (S[I] == '+' || S[I] == '-')) Negative = S[I++] == '-';
  // Rebuilt in a form every reader accepts: digits, optional ".digits", exponent.
  std::string Text;
  std::string IntPart;
  std::string FracPart;
  while (I < N && S[I] >= '0' && S[I] <= '9') IntPart += S[I++];
  if (I < N && S[I] == '.') {
    ++I;
    while (I < N && S[I] >= '0' && S[I] <= '9') FracPart += S[I++];
  }
  if (IntPart.empty() && FracPart.empty()) return false;
  long Exponent = 0;
  if (I < N && (S[I] == 'e' || S[I] == 'E')) {
    ++I;
    bool ExpNegative = false;
    if (I < N && (S[I] == '+' || S[I] == '-')) ExpNegative = S[I++] == '-';
    if (I >= N || S[I] < '0' || S[I] > '9') return false;
    while (I < N && S[I] >= '0' && S[I] <= '9') {
      if (Exponent < 100000) Exponent = Exponent * 10 + (S[I] - '0');  // saturates; far out of range anyway
      ++I;
    }
    if (ExpNegative) Exponent = -Exponent;
  }
  if (I != N) return false;
  Text = (IntPart.empty() ? "0" : IntPart);
  if (!FracPart.empty()) Text += '.' + FracPart;
  Text += 'e' + std::to_string(Exponent);

  double Result = 0;
  const auto R = std::from_chars(Text.data(), Text.data() + Text.size(), Result, std::chars_format::general);
  if (R.ec == std::errc::result_out_of_range) {
    // Underflow reads as zero; overflow is refused.
    const std::string Digits = IntPart + FracPart;
    const std::size_t First = Digits.find_first_not_of('0');
    const long Magnitude = static_cast<long>(IntPart.size()) - static_cast<long>(First) + Exponent;
    if (Magnitude > 0) return false;
    Result = 0;
  } else if (R.ec != std::errc() || R.ptr != Text.data() + Text.size() || !std::isfinite(Result)) {
    return false;
  }
  Value = Negative ? -Result : Result;
  return true;
}

std::int32_t StrToInt(std::string_view S) {
  std::int32_t V;
  if (!TryStrToInt(S, V)) throw EConvertError(Format(SInvalidInteger, S));
  return V;
}

std::int64_t StrToInt64(std::string_view S) {
  std::int64_t V;
  if (!TryStrToInt64(S, V)) throw EConvertError(Format(SInvalidInteger, S));
  return V;
}

double StrToFloat(std::string_view S) {
  double V;
  if (!TryStrToFloat(S, V)) throw EConvertError(Format(SInvalidFloat, S));
  return V;
}

std::int32_t StrToIntDef(std::string_view S, std::int32_t Default) {
  std::int32_t V;
  return TryStrToInt(S, V) ? V : Default;
}

std::string IntToStr(std::int64_t Value) { return std::to_string(Value); }

std::string IntToHex(std::uint64_t Value, int Digits) {
  std::string Text = HexText(Value);
  PadDigits(Text, Digits);
  return Text;
}

std::string FloatToStr(double Value) {
  if (!std::isfinite(Value)) return NonFiniteText(Value);
  if (Value == 0) return "0";
  // Shortest digits that read back, laid out like the host's general form.
  char Buf[64];
  const auto R = std::to_chars(Buf, Buf + sizeof Buf, std::fabs(Value), std::chars_format::scientific);
  const std::string_view Sci(Buf, static_cast<std::size_t>(R.ptr - Buf));
  const std::size_t E = Sci.find('e');
  TDecimal D;
  for (std::size_t I = 0; I < E; ++I)
    if (Sci[I] != '.') D.Digits += Sci[I];
  D.Exponent = std::atoi(std::string(Sci.substr(E + 1)).c_str()) + 1;
  std::string Text = GeneralText(D, 15);
  if (Value < 0) Text.insert(0, 1, '-');
  return Text;
}

// ================================================================ Unicode text

namespace {

constexpr char32_t ReplacementChar = 0xFFFD;

// Code point at Pos for comparisons: an invalid byte gives a value above the
// Unicode range that keeps distinct bytes apart.
char32_t DecodeForCompare(std::string_view S, std::size_t& Pos) noexcept {
  const std::size_t Start = Pos;
  const char32_t C = UTF8Decode(S, Pos);
  if (C == ReplacementChar && Pos == Start + 1) return 0x110000 + static_cast<unsigned char>(S[Start]);
  return C;
}

// Rewrites S code point by code point; bytes that are no valid UTF-8 stay.
template <class F>
std::string MapCodePoints(std::string_view S, F Map) {
  std::string Result;
  Result.reserve(S.size());
  std::size_t Pos = 0;
  while (Pos < S.size()) {
    const std::size_t Start = Pos;
    const char32_t C = UTF8Decode(S, Pos);
    const char32_t M = (C == ReplacementChar && Pos == Start + 1) ? C : Map(C);
    if (M == C)
      Result.append(S.substr(Start, Pos - Start));
    else
      UTF8Append(Result, M);
  }
  return Result;
}

constexpr bool In(char32_t C, char32_t Lo, char32_t Hi) noexcept { return C >= Lo && C <= Hi; }
constexpr bool Even(char32_t C) noexcept { return (C & 1) == 0; }

}  // namespace

char32_t UTF8Decode(std::string_view S, std::size_t& Pos) noexcept {
  const std::size_t N = S.size();
  if (Pos >= N) return ReplacementChar;
  const auto B0 = static_cast<unsigned char>(S[Pos]);
  if (B0 < 0x80) {
    ++Pos;
    return B0;
  }
  std::size_t Len;
  char32_t C;
  unsigned char Lo = 0x80;
  unsigned char Hi = 0xBF;
  if (In(B0, 0xC2, 0xDF)) {
    Len = 2;
    C = B0 & 0x1Fu;
  } else if (In(B0, 0xE0, 0xEF)) {
    Len = 3;
    C = B0 & 0x0Fu;
    if (B0 == 0xE0) Lo = 0xA0;       // overlong
    else if (B0 == 0xED) Hi = 0x9F;  // surrogates
  } else if (In(B0, 0xF0, 0xF4)) {
    Len = 4;
    C = B0 & 0x07u;
    if (B0 == 0xF0) Lo = 0x90;       // overlong
    else if (B0 == 0xF4) Hi = 0x8F;  // beyond U+10FFFF
  } else {
    ++Pos;
    return ReplacementChar;
  }
  if (N - Pos < Len) {
    ++Pos;
    return ReplacementChar;
  }
  for (std::size_t K = 1; K < Len; ++K) {
    const auto B = static_cast<unsigned char>(S[Pos + K]);
    if (K == 1 ? (B < Lo || B > Hi) : (B < 0x80 || B > 0xBF)) {
      ++Pos;
      return ReplacementChar;
    }
    C = C << 6 | (B & 0x3Fu);
  }
  Pos += Len;
  return C;
}

void UTF8Append(std::string& S, char32_t C) {
  if (C > 0x10FFFF || In(C, 0xD800, 0xDFFF)) C = ReplacementChar;
  if (C < 0x80) {
    S += static_cast<char>(C);
  } else if (C < 0x800) {
    S += static_cast<char>(0xC0 | (C >> 6));
    S += static_cast<char>(0x80 | (C & 0x3F));
  } else if (C < 0x10000) {
    S += static_cast<char>(0xE0 | (C >> 12));
    S += static_cast<char>(0x80 | ((C >> 6) & 0x3F));
    S += static_cast<char>(0x80 | (C & 0x3F));
  } else {
    S += static_cast<char>(0xF0 | (C >> 18));
    S += static_cast<char>(0x80 | ((C >> 12) & 0x3F));
    S += static_cast<char>(0x80 | ((C >> 6) & 0x3F));
    S += static_cast<char>(0x80 | (C & 0x3F));
  }
}

std::u32string UTF8ToUTF32(std::string_view S) {
  std::u32string Result;
  Result.reserve(S.size());
  std::size_t Pos = 0;
  while (Pos < S.size()) Result += UTF8Decode(S, Pos);
  return Result;
}

std::string UTF32ToUTF8(std::u32string_view S) {
  std::string Result;
  Result.reserve(S.size());
  for (char32_t C : S) UTF8Append(Result, C);
  return Result;
}

std::size_t UTF8Length(std::string_view S) noexcept {
  std::size_t Count = 0;
  std::size_t Pos = 0;
  while (Pos < S.size()) {
    if (static_cast<unsigned char>(S[Pos]) < 0x80)
      ++Pos;
    else
      UTF8Decode(S, Pos);
    ++Count;
  }
  return Count;
}

std::string UTF8Copy(std::string_view S, std::size_t Index, std::size_t Count) {
  if (Index < 1) Index = 1;
  std::size_t Pos = 0;
  for (std::size_t I = 1; I < Index && Pos < S.size(); ++I) UTF8Decode(S, Pos);
  const std::size_t Start = Pos;
  for (std::size_t I = 0; I < Count && Pos < S.size(); ++I) UTF8Decode(S, Pos);
  return std::string(S.substr(Start, Pos - Start));
}

std::size_t UTF8Pos(std::string_view SubStr, std::string_view S) {
  if (SubStr.empty()) return 0;
  const std::size_t At = S.find(SubStr);
  if (At == std::string_view::npos) return 0;
  return UTF8Length(S.substr(0, At)) + 1;
}

char32_t UnicodeUpper(char32_t C) noexcept {
  if (C < 0x80) return In(C, 'a', 'z') ? C - 0x20 : C;
  if (C < 0x100) {
    if (In(C, 0xE0, 0xFE) && C != 0xF7) return C - 0x20;
    if (C == 0xFF) return 0x178;
    if (C == 0xB5) return 0x39C;  // micro sign
    return C;
  }
  if (C < 0x180) {  // Latin Extended-A
    if (C == 0x131) return 'I';
    if (C == 0x17F) return 'S';
    if ((In(C, 0x101, 0x137) || In(C, 0x14B, 0x177)) && !Even(C)) return C - 1;
    if ((In(C, 0x13A, 0x148) || In(C, 0x17A, 0x17E)) && Even(C)) return C - 1;
    return C;
  }
  if (C < 0x250) {  // the regular pairs of Latin Extended-B
    if (In(C, 0x1CE, 0x1DC) && Even(C)) return C - 1;
    if ((In(C, 0x1DF, 0x1EF) || In(C, 0x1F9, 0x21F) || In(C, 0x223, 0x233) || In(C, 0x247, 0x24F)) && !Even(C))
      return C - 1;
    if (C == 0x1F5) return 0x1F4;
    return C;
  }
  if (In(C, 0x370, 0x3FF)) {  // Greek
    if (C == 0x371 || C == 0x373 || C == 0x377) return C - 1;
    if (In(C, 0x37B, 0x37D)) return C + 0x82;
    if (C == 0x3AC) return 0x386;
    if (In(C, 0x3AD, 0x3AF)) return C - 0x25;
    if (In(C, 0x3B1, 0x3C1) || In(C, 0x3C3, 0x3CB)) return C - 0x20;
    switch (C) {
      case 0x3C2: return 0x3A3;  // final sigma
      case 0x3CC: return 0x38C;
      case 0x3CD: return 0x38E;
      case 0x3CE: return 0x38F;
      case 0x3D0: return 0x392;
      case 0x3D1: return 0x398;
      case 0x3D5: return 0x3A6;
      case 0x3D6: return 0x3A0;
      case 0x3D7: return 0x3CF;
      case 0x3F0: return 0x39A;
      case 0x3F1: return 0x3A1;
      case 0x3F2: return 0x3F9;
      case 0x3F3: return 0x37F;
      case 0x3F5: return 0x395;
      case 0x3F8: return 0x3F7;
      case 0x3FB: return 0x3FA;
      default: break;
    }
    if (In(C, 0x3D9, 0x3EF) && !Even(C)) return C - 1;
    return C;
  }
  if (In(C, 0x400, 0x52F)) {  // Cyrillic and its supplement
    if (In(C, 0x430, 0x44F)) return C - 0x20;
    if (In(C, 0x450, 0x45F)) return C - 0x50;
    if (C == 0x4CF) return 0x4C0;
    if (In(C, 0x4C2, 0x4CE)) return Even(C) ? C - 1 : C;
    if ((In(C, 0x461, 0x481) || In(C, 0x48B, 0x4BF) || In(C, 0x4D1, 0x52F)) && !Even(C)) return C - 1;
    return C;
  }
  if (In(C, 0x1E00, 0x1EFF)) {  // Latin Extended Additional
    if (C == 0x1E9B) return 0x1E60;
    if ((In(C, 0x1E01, 0x1E95) || In(C, 0x1EA1, 0x1EFF)) && !Even(C)) return C - 1;
    return C;
  }
  return C;
}

char32_t UnicodeLower(char32_t C) noexcept {
  if (C < 0x80) return In(C, 'A', 'Z') ? C + 0x20 : C;
  if (C < 0x100) return (In(C, 0xC0, 0xDE) && C != 0xD7) ? C + 0x20 : C;
  if (C < 0x180) {  // Latin Extended-A
    if (C == 0x130) return 'i';
    if (C == 0x178) return 0xFF;
    if ((In(C, 0x100, 0x137) || In(C, 0x14A, 0x177)) && Even(C)) return C + 1;
    if ((In(C, 0x139, 0x148) || In(C, 0x179, 0x17E)) && !Even(C)) return C + 1;
    return C;
  }
  if (C < 0x250) {
    if (In(C, 0x1CD, 0x1DB) && !Even(C)) return C + 1;
    if ((In(C, 0x1DE, 0x1EF) || In(C, 0x1F8, 0x21F) || In(C, 0x222, 0x233) || In(C, 0x246, 0x24F)) && Even(C))
      return C + 1;
    if (C == 0x1F4) return 0x1F5;
    return C;
  }
  if (In(C, 0x370, 0x3FF)) {  // Greek
    if (C == 0x370 || C == 0x372 || C == 0x376) return C + 1;
    if (In(C, 0x3FD, 0x3FF)) return C - 0x82;
    if (C == 0x386) return 0x3AC;
    if (In(C, 0x388, 0x38A)) return C + 0x25;
    if (In(C, 0x391, 0x3A1) || In(C, 0x3A3, 0x3AB)) return C + 0x20;
    switch (C) {
      case 0x37F: return 0x3F3;
      case 0x38C: return 0x3CC;
      case 0x38E: return 0x3CD;
      case 0x38F: return 0x3CE;
      case 0x3CF: return 0x3D7;
      case 0x3F4: return 0x3B8;
      case 0x3F7: return 0x3F8;
      case 0x3F9: return 0x3F2;
      case 0x3FA: return 0x3FB;
      default: break;
    }
    if (In(C, 0x3D8, 0x3EE) && Even(C)) return C + 1;
    return C;
  }
  if (In(C, 0x400, 0x52F)) {  // Cyrillic and its supplement
    if (In(C, 0x400, 0x40F)) return C + 0x50;
    if (In(C, 0x410, 0x42F)) return C + 0x20;
    if (C == 0x4C0) return 0x4CF;
    if (In(C, 0x4C1, 0x4CD)) return Even(C) ? C : C + 1;
    if ((In(C, 0x460, 0x480) || In(C, 0x48A, 0x4BE) || In(C, 0x4D0, 0x52E)) && Even(C)) return C + 1;
    return C;
  }
  if (In(C, 0x1E00, 0x1EFF)) {  // Latin Extended Additional
    if (C == 0x1E9E) return 0xDF;  // capital sharp s
    if ((In(C, 0x1E00, 0x1E94) || In(C, 0x1EA0, 0x1EFE)) && Even(C)) return C + 1;
    return C;
  }
  return C;
}

std::string UpperCase(std::string_view S) { return MapCodePoints(S, UnicodeUpper); }

std::string LowerCase(std::string_view S) { return MapCodePoints(S, UnicodeLower); }

int CompareStr(std::string_view A, std::string_view B) noexcept {
  // Byte order of UTF-8 is code-point order.
  const int R = A.compare(B);
  return R < 0 ? -1 : (R > 0 ? 1 : 0);
}

int CompareText(std::string_view A, std::string_view B) noexcept {
  std::size_t PA = 0;
  std::size_t PB = 0;
  while (PA < A.size() && PB < B.size()) {
    const char32_t CA = UnicodeLower(DecodeForCompare(A, PA));
    const char32_t CB = UnicodeLower(DecodeForCompare(B, PB));
    if (CA != CB) return CA < CB ? -1 : 1;
  }
  if (PA < A.size()) return 1;
  if (PB < B.size()) return -1;
  return 0;
}

bool SameText(std::string_view A, std::string_view B) noexcept { return CompareText(A, B) == 0; }

std::string Trim(std::string_view S) { return std::string(TrimView(S)); }

std::string TrimLeft(std::string_view S) {
  std::size_t B = 0;
  while (B < S.size() && IsBlank(S[B])) ++B;
  return std::string(S.substr(B));
}

std::string TrimRight(std::string_view S) {
  std::size_t E = S.size();
  while (E > 0 && IsBlank(S[E - 1])) --E;
  return std::string(S.substr(0, E));
}

std::string StringReplaceAll(std::string_view S, std::string_view From, std::string_view To) {
  if (From.empty()) return std::string(S);
  std::string Result;
  Result.reserve(S.size());
  std::size_t Pos = 0;
  for (std::size_t At; (At = S.find(From, Pos)) != std::string_view::npos; Pos = At + From.size()) {
    Result.append(S.substr(Pos, At - Pos));
    Result.append(To);
  }
  Result.append(S.substr(Pos));
  return Result;
}

// ================================================================ files

bool FileExists(const std::string& FileName) {
  std::error_code Error;
  return std::filesystem::is_regular_file(FileName, Error);
}

bool DeleteFile(const std::string& FileName) {
  std::error_code Error;
  // The file system would also take an empty directory; a file is asked for.
  if (std::filesystem::is_directory(std::filesystem::symlink_status(FileName, Error))) return false;
  return std::filesystem::remove(FileName, Error);
}

bool RenameFile(const std::string& OldName, const std::string& NewName) {
  std::error_code Error;
  // The system's rename replaces a file that is there; the host's refuses.
  if (std::filesystem::exists(std::filesystem::symlink_status(NewName, Error))) return false;
  std::filesystem::rename(OldName, NewName, Error);
  return !Error;
}

}  // namespace cogent
