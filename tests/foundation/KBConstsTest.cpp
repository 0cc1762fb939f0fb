#include "cogent/foundation/KBConsts.h"

#include <gtest/gtest.h>

#include "../TestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;

TEST(KBConsts, KBStringToStringStripsOnePairOfQuotes) {
  const std::pair<const char*, const char*> Cases[] = {
      {"\"", "\""},          {"\"\"", ""},         {"\"\"abc\"\"", "\"abc\""}, {"\"abc", "\"abc"},
      {"abc\"", "abc\""},    {"", ""},             {"\"\xC3\xA9t\xC3\xA9\"", "\xC3\xA9t\xC3\xA9"}};
  for (const auto& [In, Out] : Cases) EXPECT_EQ(KBStringToString(In), Out) << In;
}

TEST(KBConsts, SetToStringAndNames) {
  EXPECT_EQ(SetToString(TKBTypes{}, ", ", true), "[]");
  // Members come out by ordinal, not by the order they were listed in.
  EXPECT_EQ(SetToString(TKBTypes{dtFloat, dtAtom}, ",", true), "[Atom,Float]");
  EXPECT_EQ(SetToString(TKBTypes{dtNone, dtMultiSlot}, "|", false), "None|MultiSlot");
  // A cast-in value outside the enumeration reads nothing past the table.
  EXPECT_EQ(EnumName(static_cast<TSalience>(7)), "");
  EXPECT_EQ(GetKBTypeName(static_cast<TKBType>(KBTypeCount)), "");
}

TEST(KBConsts, CheckKBNameRefusesReservedCharacters) {
  EXPECT_NO_THROW(CheckKBName(""));
  EXPECT_NO_THROW(CheckKBName("caf\xC3\xA9-b_c*d.e=f!"));
  // The first offending character is named, found after a multi-byte one.
  EXPECT_EQ(ErrorOf([] { CheckKBName("\xC3\xA9t\xC3\xA9(x?"); }),
            "\"\xC3\xA9t\xC3\xA9(x?\" contains unexpected character: \"(\"");
}

}  // namespace
}  // namespace cogent
