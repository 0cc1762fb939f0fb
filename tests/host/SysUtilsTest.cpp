#include "cogent/host/SysUtils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "../TestErrors.h"

using namespace cogent;

using cogent::test::ErrorOf;

TEST(FormatTest, IntegerAndPointerDirectives) {
  EXPECT_EQ(Format("%5d|%-5d|", 42, 42), "   42|42   |");
  EXPECT_EQ(Format("%.5d", -12), "-00012");
  EXPECT_EQ(Format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  // Unsigned and hexadecimal read a negative Integer as its 32-bit word.
  EXPECT_EQ(Format("%u", -1), "4294967295");
  EXPECT_EQ(Format("%x|%.4x|%X", 255, 255, -1), "FF|00FF|FFFFFFFF");
  const void* Nil = nullptr;
  EXPECT_EQ(Format("%p|%p", Nil, reinterpret_cast<const void*>(std::uintptr_t{0xABCDEF})),
            "0000000000000000|0000000000ABCDEF");
}

TEST(FormatTest, StringsIndexesStarsAndPercent) {
  EXPECT_EQ(Format("%s|%8s|%-8s|", "abc", "abc", "abc"), "abc|     abc|abc     |");
  // Width and precision count characters, not bytes.
  EXPECT_EQ(Format("%.3s|%7s|", "Ärger", "Ärger"), "Ärg|  Ärger|");
  const char* Nil = nullptr;
  EXPECT_EQ(Format("[%s]", Nil), "[]");
  EXPECT_EQ(Format("%1:s %0:s %s", "a", "b"), "b a b");
  EXPECT_EQ(Format("%*d|%-*d|%.*f", 4, 7, 3, 7, 1, 2.25), "   7|7  |2.3");
  EXPECT_EQ(Format("100%% of %%d", 1), "100% of %d");
  EXPECT_EQ(Format("%05d", 42), "   42");  // the host has no zero flag: 05 is a width
}

TEST(FormatTest, FloatDirectives) {
  EXPECT_EQ(Format("%f", 2.5), "2.50");
  EXPECT_EQ(Format("%.0f|%.0f", 2.5, -2.5), "3|-3");
  EXPECT_EQ(Format("%.2f|%.2f", 0.125, 2.675), "0.13|2.67");  // exact half away from zero; 2.675 lies below
  EXPECT_EQ(Format("%e", 1000.0), "1.00000000000000E+003");
  EXPECT_EQ(Format("%g|%g|%g|%g", 0.1, 123456.789, 0.0001, 0.0), "0.1|123456.789|0.0001|0");
  EXPECT_EQ(Format("%n|%.0n|%n", 1234567.891, -1234.5, 12.0), "1,234,567.89|-1,235|12.00");
  EXPECT_EQ(Format("%m|%m", 1234.5, -0.5), "$1,234.50|-$0.50");
  EXPECT_EQ(Format("%f|%e|%8g|", std::nan(""), -HUGE_VAL, HUGE_VAL), "NAN|-INF|     INF|");
}

TEST(FormatTest, MismatchesAndMissingArgumentsRaise) {
  const auto FormatError = [](auto... Args) { return ErrorOf<EConvertError>([&] { Format(Args...); }); };
  const auto Invalid = [](const char* F) { return std::string("Format '") + F + "' invalid or incompatible with argument"; };
  EXPECT_EQ(FormatError("%d", 1.5), Invalid("%d"));
  EXPECT_EQ(FormatError("%p", 1), Invalid("%p"));
  EXPECT_EQ(FormatError("%*d", "4", 1), Invalid("%*d"));
  EXPECT_EQ(FormatError("x %q", 1), Invalid("x %q"));
  EXPECT_EQ(FormatError("%99999999999d", 1), Invalid("%99999999999d"));
  EXPECT_EQ(FormatError("%s and %s", "one"), "No argument for format '%s and %s'");
}

TEST(ConversionTest, IntegersConsumeTheWholeText) {
  EXPECT_EQ(StrToInt(" 42 "), 42);
  EXPECT_EQ(StrToInt("$FF"), 255);
  EXPECT_EQ(StrToInt("$FFFFFFFF"), -1);  // the host reads hex as the 32-bit word
  EXPECT_EQ(StrToInt("-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(StrToInt64("9223372036854775807"), std::numeric_limits<std::int64_t>::max());

  for (const char* Bad : {"", " ", "+", "-", "12a", "1 2", "- 1", "0x", "$", "$1G", "1.0", "2147483648",
                          "-2147483649", "$100000000", "99999999999999999999"}) {
    std::int32_t V = 99;
    EXPECT_FALSE(TryStrToInt(Bad, V)) << Bad;
    EXPECT_EQ(V, 99) << Bad;
  }
  std::int64_t V64 = 0;
  EXPECT_FALSE(TryStrToInt64("9223372036854775808", V64));
  EXPECT_EQ(ErrorOf<EConvertError>([] { StrToInt("12a"); }), "'12a' is not a valid integer value");
}

TEST(ConversionTest, FloatsConsumeTheWholeText) {
  EXPECT_EQ(StrToFloat(".5"), 0.5);
  EXPECT_EQ(StrToFloat(" +3.25\t"), 3.25);
  EXPECT_EQ(StrToFloat("1e-400"), 0.0);  // underflow reads as zero

  for (const char* Bad : {"", ".", "-", "e3", "1e", "1e+", "1.5.2", "1,5", "inf", "nan", "-INF", "1e400", "0x10",
                          "1 000", "1.5x"}) {
    double V = 7;
    EXPECT_FALSE(TryStrToFloat(Bad, V)) << Bad;
    EXPECT_EQ(V, 7) << Bad;
  }
  EXPECT_EQ(ErrorOf<EConvertError>([] { StrToFloat("abc"); }), "'abc' is not a valid floating point value");
}

TEST(ConversionTest, NumbersToText) {
  EXPECT_EQ(FloatToStr(0.1), "0.1");
  EXPECT_EQ(FloatToStr(0.0), "0");
  for (double V : {1.0 / 3.0, 2.0 / 3.0, 123456789.123456789, 5e-324, 1.7976931348623157e308, -0.000123})
    EXPECT_EQ(StrToFloat(FloatToStr(V)), V) << FloatToStr(V);
}

TEST(UnicodeTest, LengthsAndSubstringsCountCodePoints) {
  EXPECT_EQ(UTF8Length("a😀b"), 3u);
  EXPECT_EQ(UTF8Copy("Ärger", 2, 3), "rge");
  EXPECT_EQ(UTF8Copy("Привет", 5, 100), "ет");
  EXPECT_EQ(UTF32ToUTF8(UTF8ToUTF32("Ärger 😀")), "Ärger 😀");
}

TEST(UnicodeTest, MalformedBytesNeverOverrun) {
  std::size_t Pos = 0;
  EXPECT_EQ(UTF8Decode(std::string_view("\xC3", 1), Pos), U'\uFFFD');
  EXPECT_EQ(Pos, 1u);
  Pos = 0;
  EXPECT_EQ(UTF8Decode(std::string_view("\xF0\x9F\x98", 3), Pos), U'\uFFFD');  // truncated
  EXPECT_EQ(Pos, 1u);
  EXPECT_EQ(UTF8Decode("", Pos = 0), U'\uFFFD');
  EXPECT_EQ(Pos, 0u);
  EXPECT_EQ(UTF8ToUTF32("\xC0\x80"), std::u32string(U"\uFFFD\uFFFD"));  // overlong
  EXPECT_EQ(UTF8ToUTF32("\xED\xA0\x80"), std::u32string(U"\uFFFD\uFFFD\uFFFD"));  // surrogate
  EXPECT_EQ(UTF8ToUTF32("\xF4\x90\x80\x80").size(), 4u);  // beyond U+10FFFF
  EXPECT_EQ(UTF8Length("a\xFF"), 2u);
  // Case mapping leaves bytes it can't read as they were.
  EXPECT_EQ(UpperCase("a\xFF\xC3"), "A\xFF\xC3");
  std::string Out;
  UTF8Append(Out, 0xD800);
  UTF8Append(Out, 0x110000);
  EXPECT_EQ(Out, "\uFFFD\uFFFD");
}

TEST(UnicodeTest, CaseMappingAndComparison) {
  EXPECT_EQ(UpperCase("ärger straße ÿ"), "ÄRGER STRAßE Ÿ");
  EXPECT_EQ(LowerCase("ŁÓDŹ İ Ǎ Ș"), "łódź i ǎ ș");
  EXPECT_EQ(UpperCase("ελλάδα ς ώ"), "ΕΛΛΆΔΑ Σ Ώ");
  EXPECT_EQ(UpperCase("привет ёж ґ"), "ПРИВЕТ ЁЖ Ґ");

  EXPECT_EQ(CompareText("ärger", "ÄRGER"), 0);
  EXPECT_TRUE(SameText("Привет", "пРИВЕТ"));
  EXPECT_LT(CompareText("a", "B"), 0);
  EXPECT_LT(CompareText("z", "ä"), 0);  // by code point after lowering
  EXPECT_GT(CompareStr("a", "B"), 0);
  EXPECT_LT(CompareStr("Z", "Ä"), 0);
  EXPECT_NE(CompareText("\xFE", "\xFF"), 0);
}
