#include "cogent/host/Streams.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "HostTestSupport.h"

using namespace cogent;
using cogent::hosttest::ErrorOf;

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

TEST(EncodingTest, PreambleDetection) {
  for (TEncoding* E : {TEncoding::UTF8(), TEncoding::Unicode(), TEncoding::BigEndianUnicode()}) {
    // Written with its preamble, text comes back through detection.
    TBytes All = E->GetPreamble();
    const TBytes Body = E->GetBytes(Sample);
    All.insert(All.end(), Body.begin(), Body.end());
    TEncoding* Found = nullptr;
    const std::size_t Skip = TEncoding::GetBufferEncoding(All.data(), All.size(), Found);
    EXPECT_EQ(Found, E);
    EXPECT_EQ(Found->GetString(All.data() + Skip, All.size() - Skip), Sample);
  }
  // Without a preamble: nothing to skip, UTF-8 when no encoding was given,
  // the given one kept otherwise.
  const TBytes Plain = TEncoding::UTF8()->GetBytes(Sample);
  TEncoding* Found = nullptr;
  EXPECT_EQ(TEncoding::GetBufferEncoding(Plain.data(), Plain.size(), Found), 0u);
  EXPECT_EQ(Found, TEncoding::UTF8());
  Found = TEncoding::BigEndianUnicode();
  EXPECT_EQ(TEncoding::GetBufferEncoding(Plain.data(), 2, Found), 0u);
  EXPECT_EQ(Found, TEncoding::BigEndianUnicode());
  const std::uint8_t Short[] = {0xEF, 0xBB};
  Found = nullptr;
  EXPECT_EQ(TEncoding::GetBufferEncoding(Short, 2, Found), 0u);
  EXPECT_EQ(TEncoding::GetBufferEncoding(nullptr, 0, Found), 0u);
}

TEST(MemoryStreamTest, ReadWriteSeekAndSize) {
  TMemoryStream S;
  S.WriteBuffer("hello world", 11);
  EXPECT_EQ(S.GetSize(), 11);
  EXPECT_EQ(S.GetPosition(), 11);
  EXPECT_EQ(S.Seek(-5, soEnd), 6);
  char Buf[8] = {};
  EXPECT_EQ(S.Read(Buf, 100), 5);
  EXPECT_EQ(std::string(Buf, 5), "world");
  EXPECT_EQ(S.Read(Buf, 1), 0);
  EXPECT_EQ(S.Seek(-1, soBeginning), -1);  // refused, position kept
  EXPECT_EQ(S.GetPosition(), 11);
  EXPECT_EQ(ErrorOf<EReadError>([&] { S.ReadBuffer(Buf, 1); }), "Stream read error");

  // Writing past the end fills the gap with zeros.
  S.SetPosition(13);
  S.WriteBuffer("!", 1);
  EXPECT_EQ(ReadAll(S), std::string("hello world\0\0!", 14));
  S.SetPosition(20);
  S.SetSize(5);
  EXPECT_EQ(S.GetPosition(), 5);
  EXPECT_EQ(ReadAll(S), "hello");
  EXPECT_EQ(ErrorOf<EStreamError>([&] { S.SetSize(-1); }), "Error setting stream size");

  // Writing from its own memory, and saving into itself.
  S.SetPosition(5);
  S.WriteBuffer(S.Memory(), 5);
  EXPECT_EQ(ReadAll(S), "hellohello");
  S.SaveToStream(S);
  EXPECT_EQ(ReadAll(S), "hellohellohellohello");

  TMemoryStream Copy;
  Copy.WriteBuffer("x", 1);
  S.SetPosition(7);
  EXPECT_EQ(Copy.CopyFrom(S, 0), 20);  // 0 copies all from the start
  EXPECT_EQ(ReadAll(Copy), "xhellohellohellohello");
  S.SetPosition(5);
  Copy.Clear();
  EXPECT_EQ(Copy.CopyFrom(S, 3), 3);
  EXPECT_EQ(ReadAll(Copy), "hel");
  EXPECT_EQ(ErrorOf<EReadError>([&] { Copy.CopyFrom(S, 100); }), "Stream read error");
  TMemoryStream Loaded;
  Loaded.LoadFromStream(S);
  EXPECT_EQ(Loaded.Bytes(), S.Bytes());
}

TEST(FileStreamTest, CreateOpenModesAndMemoryStreamFiles) {
  const std::string Name = TempName("data.txt");
  {
    TFileStream F(Name, fmCreate);
    F.WriteBuffer("abcdef", 6);
    EXPECT_EQ(F.GetSize(), 6);
    F.SetPosition(1);
    char C = 0;
    F.ReadBuffer(&C, 1);  // a read right after a write
    EXPECT_EQ(C, 'b');
    F.WriteBuffer("X", 1);
    EXPECT_EQ(F.GetFileName(), Name);
  }
  {
    TFileStream F(Name, fmOpenRead | fmShareDenyNone);
    EXPECT_EQ(ReadAll(F), "abXdef");
    EXPECT_EQ(ErrorOf<EWriteError>([&] { F.WriteBuffer("z", 1); }), "Stream write error");
    EXPECT_THROW(F.SetSize(1), EStreamError);
  }
  {
    TFileStream F(Name, fmOpenWrite);  // opens without truncating
    EXPECT_EQ(F.GetSize(), 6);
    F.Seek(0, soEnd);
    F.WriteBuffer("gh", 2);
  }
  {
    TFileStream F(Name, fmOpenReadWrite);
    EXPECT_EQ(ReadAll(F), "abXdefgh");
    F.SetSize(3);
    EXPECT_EQ(F.GetSize(), 3);
    EXPECT_EQ(F.GetPosition(), 3);
    EXPECT_EQ(ReadAll(F), "abX");
  }
  {
    TFileStream F(Name, fmCreate);  // truncates
    EXPECT_EQ(F.GetSize(), 0);
  }

  TMemoryStream Out;
  const TBytes Bytes = TEncoding::Unicode()->GetBytes(Sample);
  Out.WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
  Out.SaveToFile(Name);
  TMemoryStream In;
  In.LoadFromFile(Name);
  EXPECT_EQ(In.Bytes(), Bytes);
  EXPECT_THROW(In.LoadFromFile(TempName("none")), EFOpenError);
  EXPECT_EQ(In.Bytes(), Bytes);  // a failed load changes nothing
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
