#include "cogent/host/Streams.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "../TestErrors.h"

using namespace cogent;
using cogent::test::ErrorOf;

namespace {

const std::string Sample = "Ärger Ελλάδα Привет 😀 end";

// A name in the temporary folder that no other process running these tests uses.
std::string TempName(const std::string& Name) {
  return testing::TempDir() + "cogent-streams-" + std::to_string(getpid()) + "-" + Name;
}

std::string ReadAll(TStream& S) {
  S.SetPosition(0);
  std::string Result(static_cast<std::size_t>(S.GetSize()), '\0');
  S.ReadBuffer(Result.data(), static_cast<std::int64_t>(Result.size()));
  return Result;
}

}  // namespace

TEST(EncodingTest, KnownBytesAndRoundTrips) {
  // A character beyond the basic plane takes a surrogate pair.
  EXPECT_EQ(TEncoding::Unicode()->GetBytes("A😀"), (TBytes{0x41, 0x00, 0x3D, 0xD8, 0x00, 0xDE}));
  EXPECT_EQ(TEncoding::BigEndianUnicode()->GetBytes("Aä"), (TBytes{0x00, 0x41, 0x00, 0xE4}));
  for (TEncoding* E : {TEncoding::UTF8(), TEncoding::Unicode(), TEncoding::BigEndianUnicode()})
    EXPECT_EQ(E->GetString(E->GetBytes(Sample)), Sample) << E->EncodingName();
  EXPECT_EQ(TEncoding::Default(), TEncoding::UTF8());
}

TEST(EncodingTest, MalformedInputGivesReplacementCharacters) {
  TEncoding* LE = TEncoding::Unicode();
  EXPECT_EQ(LE->GetString(TBytes{0x3D, 0xD8, 0x41, 0x00}), "\uFFFDA");  // high surrogate without its pair
  EXPECT_EQ(LE->GetString(TBytes{0x00, 0xDE}), "\uFFFD");               // lone low surrogate
  EXPECT_EQ(LE->GetString(TBytes{0x3D, 0xD8}), "\uFFFD");               // pair cut at the end
  EXPECT_EQ(LE->GetString(TBytes{0x41, 0x00, 0x42}), "A\uFFFD");        // odd byte count
  EXPECT_EQ(TEncoding::UTF8()->GetString(TBytes{0x61, 0xC3, 0x28}), "a\uFFFD(");
  EXPECT_EQ(TEncoding::UTF8()->GetBytes("\xFF"), (TBytes{0xEF, 0xBF, 0xBD}));
  EXPECT_EQ(TEncoding::UTF8()->GetString(nullptr, 0), "");
}

TEST(EncodingTest, PreambleCutShortIsNoPreamble) {
  // Round trips through detection are the text stream's tests; here the
  // buffers too short to hold a whole preamble.
  for (const TBytes& Short : {TBytes{0xEF, 0xBB}, TBytes{0xFF}, TBytes{0xFE}, TBytes{}}) {
    TEncoding* Found = TEncoding::BigEndianUnicode();
    EXPECT_EQ(TEncoding::GetBufferEncoding(Short.data(), Short.size(), Found), 0u);
    EXPECT_EQ(Found, TEncoding::BigEndianUnicode());
    Found = nullptr;
    TEncoding::GetBufferEncoding(Short.data(), Short.size(), Found);
    EXPECT_EQ(Found, TEncoding::UTF8());
  }
}

TEST(MemoryStreamTest, EdgesOfReadingWritingAndSize) {
  TMemoryStream S;
  S.WriteBuffer("hello", 5);
  EXPECT_EQ(S.Seek(-1, soBeginning), -1);  // refused, position kept
  EXPECT_EQ(S.GetPosition(), 5);
  char Buf[4] = {};
  EXPECT_EQ(ErrorOf<EReadError>([&] { S.ReadBuffer(Buf, 1); }), "Stream read error");

  // Writing past the end fills the gap with zeros; a smaller size pulls the position back.
  S.SetPosition(7);
  S.WriteBuffer("!", 1);
  EXPECT_EQ(ReadAll(S), std::string("hello\0\0!", 8));
  S.SetPosition(8);
  S.SetSize(3);
  EXPECT_EQ(S.GetPosition(), 3);
  // Writing from its own memory, which may move as it grows.
  S.WriteBuffer(S.Memory(), 3);
  EXPECT_EQ(ReadAll(S), "helhel");
}

TEST(FileStreamTest, ReadAfterWriteReadOnlyAndTruncation) {
  const std::string Name = TempName("data.txt");
  {
    TFileStream F(Name, fmCreate);
    F.WriteBuffer("abcdef", 6);
    F.SetPosition(1);
    char C = 0;
    F.ReadBuffer(&C, 1);  // a read right after a write
    EXPECT_EQ(C, 'b');
    F.WriteBuffer("X", 1);
  }
  {
    TFileStream F(Name, fmOpenRead | fmShareDenyNone);
    EXPECT_EQ(ReadAll(F), "abXdef");
    EXPECT_EQ(ErrorOf<EWriteError>([&] { F.WriteBuffer("z", 1); }), "Stream write error");
  }
  {
    TFileStream F(Name, fmCreate);  // truncates
    EXPECT_EQ(F.GetSize(), 0);
  }
  std::remove(Name.c_str());
}

TEST(FileStreamTest, ErrorsNameTheFileAndTheReason) {
  const std::string Missing = TempName("missing.txt");
  EXPECT_EQ(ErrorOf<EFOpenError>([&] { TFileStream F(Missing, fmOpenRead); }),
            "Cannot open file \"" + Missing + "\". No such file or directory");
  EXPECT_EQ(ErrorOf<EFOpenError>([&] { TFileStream F(Missing, fmOpenReadWrite); }),
            "Cannot open file \"" + Missing + "\". No such file or directory");
  const std::string NoDir = TempName("no/such/dir.txt");
  EXPECT_EQ(ErrorOf<EFCreateError>([&] { TFileStream F(NoDir, fmCreate); }),
            "Cannot create file \"" + NoDir + "\". No such file or directory");
  const std::string Folder = testing::TempDir();
  EXPECT_EQ(ErrorOf<EFOpenError>([&] { TFileStream F(Folder, fmOpenRead); }),
            "Cannot open file \"" + Folder + "\". Is a directory");
  EXPECT_FALSE(std::filesystem::exists(Missing));
}
