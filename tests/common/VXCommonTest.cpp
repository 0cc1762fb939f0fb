#include "cogent/common/VXCommon.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string_view>

using namespace cogent;

TEST(VXCommon, HashIsStableAndSeeded) {
  // Stored tables and token keys depend on these never changing.
  EXPECT_EQ(CalculateHash(""), -1421968373);
  EXPECT_EQ(CalculateHash("MAIN"), 162081800);
  EXPECT_EQ(CalculateHash("Gr\xC3\xB6\xC3\x9F" "e"), -621488954);
  EXPECT_EQ(CalculateHash("MAIN", 1), -849430504);
  // Bytes, not C strings: an embedded NUL counts.
  EXPECT_NE(CalculateHash(std::string_view("a\0b", 3)), CalculateHash("a"));
}

TEST(VXCommon, NumbersAndRanges) {
  EXPECT_TRUE(FloatEquals(1.25, 1.0, 0.25));
  EXPECT_FALSE(FloatEquals(1.0, 1.3, 0.25));
  const double Inf = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(FloatEquals(Inf, Inf, 0.0));
  EXPECT_FALSE(FloatEquals(std::nan(""), std::nan(""), 1.0));
  // (Bottom, Top]; a Top below Bottom wraps round; Bottom equal to Top is empty.
  const struct { int Bottom, Value, Top; bool In; } Cases[] = {
      {2, 2, 5, false}, {2, 5, 5, true},  {2, 6, 5, false}, {8, 9, 2, true}, {8, 0, 2, true},
      {8, 2, 2, true},  {8, 8, 2, false}, {8, 3, 2, false}, {4, 4, 4, false}, {4, 5, 4, false}};
  for (const auto& C : Cases) EXPECT_EQ(InCircularRange(C.Bottom, C.Value, C.Top), C.In) << C.Bottom << " " << C.Value;
}

TEST(VXCommon, TextHelpers) {
  const std::string_view Forbidden = " '\"#()[]?:$&;<>";
  EXPECT_EQ(ContainsCharacters("plain-name", Forbidden), 0u);
  // "ÄÖü?x": the "?" is the fourth character, the seventh byte.
  EXPECT_EQ(ContainsCharacters("\xC3\x84\xC3\x96\xC3\xBC?x", Forbidden), 4u);
  // Non-ASCII characters in the set.
  EXPECT_EQ(ContainsCharacters("abc\xE2\x82\xAC", "\xE2\x82\xAC"), 4u);
  // A character that shares a lead byte with one in the set is no match.
  EXPECT_EQ(ContainsCharacters("\xC3\xA8", "\xC3\xA9"), 0u);

  EXPECT_EQ(RenameCopy("rule"), "Copy_of_rule");
  EXPECT_EQ(RenameCopy("Copy_of_rule"), "Copy_2_of_rule");
  EXPECT_EQ(RenameCopy("Copy_2_of_rule"), "Copy_3_of_rule");
  EXPECT_EQ(RenameCopy("Copy_x_of_rule"), "Copy_of_Copy_x_of_rule");
  EXPECT_EQ(IndentString(2), "      ");
  EXPECT_EQ(IndentString(-1), "");

  TMemoryStream Stream;
  WritePreambleToStream(Stream, *TEncoding::Unicode());
  WriteStringToStream(Stream, "A\xC3\xA9", *TEncoding::Unicode());
  EXPECT_EQ(Stream.Bytes(), (TBytes{0xFF, 0xFE, 'A', 0, 0xE9, 0}));
}
