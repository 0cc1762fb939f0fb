#include "cogent/common/VXTextStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace cogent;

namespace {

constexpr char32_t End = TGTextStream::EndOfStream;

// "Grüße €" and a character outside the basic plane (U+1D11E).
const std::string Text = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC";
const std::string Clef = "\xF0\x9D\x84\x9E";

TMemoryStream* MemoryOf(const TBytes& Bytes) {
  auto* M = new TMemoryStream();
  if (!Bytes.empty()) M->WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
  M->SetPosition(0);
  return M;
}

std::u32string ReadAll(TGTextStream& S) {
  std::u32string Result;
  for (char32_t C = S.GetChar(); C != End; C = S.GetChar()) Result.push_back(C);
  return Result;
}

std::string TempFile(const char* Name) { return testing::TempDir() + Name; }

}  // namespace

TEST(VXTextStream, RoundTripsInEachEncodingWithPreamble) {
  struct TCase {
    TEncoding* Encoding;
    TBytes Head;  // preamble and "G"
  };
  const std::vector<TCase> Cases{{TEncoding::UTF8(), {0xEF, 0xBB, 0xBF, 'G'}},
                                 {TEncoding::Unicode(), {0xFF, 0xFE, 'G', 0}},
                                 {TEncoding::BigEndianUnicode(), {0xFE, 0xFF, 0, 'G'}}};
  for (const TCase& Case : Cases) {
    SCOPED_TRACE(Case.Encoding->EncodingName());
    TMemoryStream M;
    {
      TGTextStream W(&M, Case.Encoding);
      W.PutLine(Text);
      W.Put(Clef + "x");
      W.PutEOL();
    }
    const TBytes& Bytes = M.Bytes();
    ASSERT_GT(Bytes.size(), 8u);
    EXPECT_EQ(TBytes(Bytes.begin(), Bytes.begin() + 4), Case.Head);

    // The preamble decides, whatever encoding the reader was given.
    for (TEncoding* Given : {static_cast<TEncoding*>(nullptr), TEncoding::UTF8(), TEncoding::Unicode()}) {
      M.SetPosition(0);
      TGTextStream R(&M, Given);
      EXPECT_EQ(R.GetEncoding(), Case.Encoding);
      EXPECT_EQ(ReadAll(R), U"Gr\u00FC\u00DFe \u20AC\r\n\U0001D11Ex\r\n");
      EXPECT_EQ(R.GetLineNumber(), 3);
    }
  }
}

TEST(VXTextStream, GivenEncodingWithoutPreamble) {
  for (TEncoding* Encoding : {TEncoding::UTF8(), TEncoding::Unicode(), TEncoding::BigEndianUnicode()}) {
    SCOPED_TRACE(Encoding->EncodingName());
    TVXStringStream Source(Text + "\n" + Clef, Encoding);
    TGTextStream R(&Source, Encoding);
    EXPECT_EQ(R.GetLine(), Text);
    EXPECT_EQ(ReadAll(R), U"\U0001D11E");
  }
  // Without a preamble or an encoding the text is UTF-8.
  TVXStringStream Plain(Text);
  TGTextStream R(&Plain);
  EXPECT_EQ(R.GetLine(), Text);
  EXPECT_EQ(R.GetEncoding(), TEncoding::UTF8());
}

TEST(VXTextStream, PutBackAnyNumberKeepsTheLineCount) {
  TVXStringStream Source("a\r\nb\rc\nd\n\ne");
  TGTextStream S(&Source);
  std::u32string Read;
  std::vector<int> Lines;
  for (char32_t C = S.GetChar(); C != End; C = S.GetChar()) {
    Read.push_back(C);
    Lines.push_back(S.GetLineNumber());
  }
  EXPECT_EQ(Read, U"a\r\nb\rc\nd\n\ne");
  EXPECT_EQ(Lines, (std::vector<int>{1, 2, 2, 2, 3, 3, 4, 4, 5, 6, 6}));
  S.PutBack(End);  // a reader may give back what it got
  for (auto It = Read.rbegin(); It != Read.rend(); ++It) S.PutBack(*It);
  EXPECT_EQ(S.GetLineNumber(), 1);
  EXPECT_FALSE(S.IsEof());
  EXPECT_EQ(ReadAll(S), Read);
  EXPECT_EQ(S.GetLineNumber(), 6);
}

TEST(VXTextStream, MalformedInputGivesReplacementCharacters) {
  std::unique_ptr<TMemoryStream> M(MemoryOf({'a', 0xFF, 'b', 0xE2, 0x82, 'c', 0xED, 0xA0, 0x80, 0xE2, 0x82}));
  TGTextStream S(M.get(), TEncoding::UTF8());
  // A broken sequence yields U+FFFD and the byte that broke it starts anew.
  EXPECT_EQ(ReadAll(S), U"a\uFFFDb\uFFFDc\uFFFD\uFFFD\uFFFD\uFFFD");

  std::unique_ptr<TMemoryStream> W(MemoryOf({0x00, 0xD8, 'A', 0x00, 0x00, 0xDC, 'B'}));
  TGTextStream U(W.get(), TEncoding::Unicode());
  // A high surrogate without its pair, a lone low one, a last odd byte.
  EXPECT_EQ(ReadAll(U), U"\uFFFDA\uFFFD\uFFFD");
}

TEST(VXTextStream, BorrowedStreamIsLeftWhereReadingStopped) {
  TVXStringStream Source("line1\nline2\n");
  {
    TGTextStream S(&Source);
    EXPECT_EQ(S.GetLine(), "line1");
    EXPECT_FALSE(S.GetOwnsStream());
  }
  EXPECT_EQ(Source.GetPosition(), 6);
  EXPECT_THROW(TGTextStream(nullptr), EArgumentException);

  // Writing after reading lands where reading stopped.
  TGTextStream S(&Source);
  EXPECT_EQ(S.GetChar(), U'l');
  S.PutBack(U'l');
  S.Put("X");  // forgets the character put back; the text goes after it
  EXPECT_EQ(Source.GetDataString(), "line1\nlX");
  EXPECT_TRUE(S.IsEof());
}

TEST(VXTextStream, FilesCreateReadAndAppend) {
  const std::string Name = TempFile("cogent_text_stream.txt");
  {
    TGTextStream W(Name, fmCreate, TEncoding::Unicode());
    W.PutLine("alpha");
    W.PutLine(Text);
  }
  {
    TGTextStream A(Name, fmOpenReadWrite);
    A.SeekToEnd();
    A.PutLine("tail");  // in the file's encoding, found from its preamble
    EXPECT_EQ(A.GetEncoding(), TEncoding::Unicode());
  }
  {
    TGTextStream R(Name, fmOpenRead);
    EXPECT_EQ(R.GetEncoding(), TEncoding::Unicode());
    EXPECT_EQ(R.GetLine(), "alpha");
    EXPECT_EQ(R.GetLine(), Text);
    EXPECT_EQ(R.GetLine(), "tail");
    EXPECT_TRUE(R.IsEof());
  }
  std::remove(Name.c_str());
  EXPECT_THROW(TGTextStream(TempFile("no/such/dir/file.txt"), fmOpenRead), EFOpenError);
}

TEST(VXTextStream, StringStreamSeeksStayInTheText) {
  TVXStringStream Stream("abc");
  EXPECT_EQ(Stream.Seek(-10, soCurrent), 0);
  EXPECT_EQ(Stream.Seek(10, soBeginning), 3);
  EXPECT_EQ(Stream.Seek(std::numeric_limits<std::int64_t>::max(), soEnd), 3);
}
