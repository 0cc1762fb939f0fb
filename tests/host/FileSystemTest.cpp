#include "cogent/host/SysUtils.h"

#include <gtest/gtest.h>

namespace cogent::test {

TEST(FileSystem, MasksMatchWholeNamesByCodePoint) {
  EXPECT_TRUE(MatchesMask("notes.txt", "*.txt"));
  EXPECT_FALSE(MatchesMask("notes.txt.bak", "*.txt"));
  EXPECT_TRUE(MatchesMask("abcbc", "a*bc"));
  EXPECT_TRUE(MatchesMask("axbyc", "a*b*c"));
  EXPECT_FALSE(MatchesMask("axbyd", "a*b*c"));
  EXPECT_TRUE(MatchesMask("", "*"));
  EXPECT_FALSE(MatchesMask("", "?"));
  EXPECT_TRUE(MatchesMask("日.kb", "?.kb"));
  EXPECT_FALSE(MatchesMask("Notes.txt", "notes.*"));
  // Text that is no UTF-8 is matched, never read past.
  EXPECT_TRUE(MatchesMask("a\xff", "a?"));
  EXPECT_FALSE(MatchesMask("a\xe6\x97", "a"));
}

TEST(FileSystem, PathTextTakesTheLastDotAfterTheLastDelimiter) {
  EXPECT_EQ(ExtractFileExt(".profile"), ".profile");
  EXPECT_EQ(ExtractFileExt("a."), ".");
  EXPECT_EQ(ExtractFileExt("d.x/"), "");
  EXPECT_EQ(ExtractFileName("d/"), "");
  EXPECT_EQ(ExtractFilePath("/"), "/");
  EXPECT_EQ(ChangeFileExt("a.tar.gz", ".zip"), "a.tar.zip");
  EXPECT_EQ(ChangeFileExt("a.txt", ""), "a");
  EXPECT_EQ(ChangeFilePath("a.txt", "/"), "/a.txt");
  EXPECT_EQ(IncludeTrailingPathDelimiter("d"), "d/");
  EXPECT_EQ(GetParentDirectory("//"), "");
  EXPECT_EQ(GetParentDirectory("a//b"), "a");
}

}  // namespace cogent::test
