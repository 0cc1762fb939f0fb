#pragma once
// Text over byte streams: a buffered reader that can put bytes back, a
// character stream that decodes and encodes an encoding, and a byte stream
// over a string.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cogent/common/VXCommon.h"

namespace cogent {

// ---------------------------------------------------------------- TGBufferStream

// Reads its source ahead in blocks. Bytes put back come out first, the last
// put back first. Writing goes straight to the source, at the position the
// reader has reached: what was read ahead is given back to the source first,
// and bytes that were put back are dropped.
class TGBufferStream : public TStream {
public:
  explicit TGBufferStream(TStream* ASource, bool AOwnsSource = false, std::size_t ABufferSize = 4096);
  ~TGBufferStream() override;
  TGBufferStream(const TGBufferStream&) = delete;
  TGBufferStream& operator=(const TGBufferStream&) = delete;

  std::int64_t Read(void* Buffer, std::int64_t Count) override;
  std::int64_t Write(const void* Buffer, std::int64_t Count) override;
  // Seek(0, soCurrent) only asks; any other seek drops what was read ahead
  // or put back.
  std::int64_t Seek(std::int64_t Offset, TSeekOrigin Origin) override;
  std::int64_t GetSize() override;
  void SetSize(std::int64_t NewSize) override;

  // The next byte, or -1 at the end.
  int ReadByte() {
    if (!FBack.empty()) {
      const int B = FBack.back();
      FBack.pop_back();
      return B;
    }
    if (FPos < FEnd) return FBuffer[FPos++];
    return ReadByteSlow();
  }
  // Bytes[0] is the next byte read, then Bytes[1], ...
  void PutBack(const void* Bytes, std::size_t Count);
  void PutBackByte(std::uint8_t Byte) { FBack.push_back(Byte); }
  // C in Encoding (UTF-8 when nil).
  void PutBackChar(char32_t C, const TEncoding* Encoding = nullptr);
  bool IsEof();
  // Gives what was read ahead back to the source, so that its position is
  // where the reader stands; bytes put back are dropped.
  void DiscardReadAhead();

  TStream* GetSource() const noexcept { return FSource; }
  bool GetOwnsSource() const noexcept { return FOwnsSource; }

private:
  int ReadByteSlow();
  bool Fill();

  TStream* FSource;
  bool FOwnsSource;
  std::vector<std::uint8_t> FBuffer;
  std::size_t FPos = 0;
  std::size_t FEnd = 0;
  std::vector<std::uint8_t> FBack;
};

// ---------------------------------------------------------------- TGTextStream

// Characters over a TStream or a file.
//
// The encoding: a preamble at the start of the stream decides it; otherwise
// the encoding given, or UTF-8 when none was given. A preamble is skipped
// when reading starts at the beginning. Writing into an empty stream with an
// encoding that was given writes that encoding's preamble first.
//
// GetChar gives code points; at the end it gives EndOfStream, which is no
// character (invalid input gives U+FFFD instead). Any number of characters
// can be put back; putting back EndOfStream does nothing, so a reader may
// put back whatever it read. Writing drops what was put back.
//
// Lines: FLineNumber starts at 1 and GetChar adds 1 for CR, and for LF that
// does not follow a CR, so CR, LF and CR LF each end one line. PutBack
// undoes this under the same rule: the stream remembers the characters it
// gave (the last HistoryDepth of them at least), so putting back what was
// read, in reverse, restores the count exactly. FCurrentChar and FLastChar
// are the last and the one but last character given and not put back. A
// descendant that overrides GetChar and PutBack and calls the inherited
// ones has the count for free.
class TGTextStream : public TObject {
public:
  static constexpr char32_t EndOfStream = 0xFFFFFFFFu;
  static constexpr std::size_t HistoryDepth = 1024;

  // Borrows AStream unless AOwnsStream.
  explicit TGTextStream(TStream* AStream, TEncoding* AEncoding = nullptr, bool AOwnsStream = false);
  // Opens the file with a TFileStream mode (fmOpenRead, fmOpenReadWrite,
  // fmCreate) and owns it.
  TGTextStream(const std::string& FileName, std::uint16_t Mode, TEncoding* AEncoding = nullptr);
  ~TGTextStream() override;
  TGTextStream(const TGTextStream&) = delete;
  TGTextStream& operator=(const TGTextStream&) = delete;

  virtual char32_t GetChar();
  virtual void PutBack(char32_t C);
  // The characters up to the next line end (CR, LF or CR LF), which is
  // taken but not returned; at the end, what is left (empty at the end).
  virtual std::string GetLine();
  // Skips characters up to code 32 on the line. True when it stopped by
  // taking a line end (with the LF behind a CR); false at a character above
  // code 32, which stays unread, or at the end.
  virtual bool SkipInLineSpaces();
  virtual void Put(std::string_view Text);
  void PutLine(std::string_view Text);
  void PutEOL();
  // Nothing put back and nothing left in the stream.
  virtual bool IsEof();

  // While recording, the characters given are kept as UTF-8; those put back
  // are taken off again. Stopping gives the text and ends the recording.
  void StartRecording() { FRecording = true; FRecord.clear(); }
  std::string StopRecording();

  // The encoding in use, decided on the first call that needs it.
  TEncoding* GetEncoding();
  TStream* GetStream() const noexcept { return FStream; }
  bool GetOwnsStream() const noexcept { return FOwnedStream != nullptr; }
  int GetLineNumber() const noexcept { return FLineNumber; }
  void SetLineNumber(int Value) noexcept { FLineNumber = Value; }
  // Byte positions in the stream; moving drops what was put back.
  std::int64_t GetPosition();
  void SetPosition(std::int64_t Value);
  std::int64_t GetSize();
  // For appending.
  void SeekToEnd();

protected:
  // One code point decoded from the stream, EndOfStream at its end; no
  // put-back, no line count.
  char32_t ReadChar();

  std::u32string FPutBack;  // the next character is at the back
  int FLineNumber = 1;
  char32_t FLastChar = 0;
  char32_t FCurrentChar = 0;

private:
  std::u32string FHistory;  // characters given, the last one at the back
  std::u32string FRecord;
  bool FRecording = false;
  enum TDecoder : std::uint8_t { dcUTF8, dcUTF16LE, dcUTF16BE, dcSingleByte };

  void ResolveEncoding();
  char32_t ReadUTF8();
  char32_t ReadUTF16(bool BigEndian);
  char32_t ReadSingleByte();

  std::unique_ptr<TStream> FOwnedStream;
  TStream* FStream;
  std::unique_ptr<TGBufferStream> FBuffer;
  TEncoding* FGivenEncoding;
  TEncoding* FEncoding = nullptr;
  TDecoder FDecoder = dcUTF8;
  bool FPreambleChecked = false;
};

// ---------------------------------------------------------------- TVXStringStream

// A byte stream over a text: reading gives the text's bytes in the
// encoding (no preamble), writing adds bytes at the position and ends the
// text after them, so that writing after moving back replaces the rest.
// Positions are clamped to the text.
class TVXStringStream : public TStream {
public:
  explicit TVXStringStream(std::string_view AString = {}, TEncoding* AEncoding = nullptr);

  std::int64_t Read(void* Buffer, std::int64_t Count) override;
  std::int64_t Write(const void* Buffer, std::int64_t Count) override;
  std::int64_t Seek(std::int64_t Offset, TSeekOrigin Origin) override;
  std::int64_t GetSize() override { return static_cast<std::int64_t>(FData.size()); }
  void SetSize(std::int64_t NewSize) override;

  // The text, in UTF-8.
  std::string GetDataString() const;
  // Replaces the text and moves to its start.
  void SetDataString(std::string_view S);
  // Writes S in the stream's encoding.
  void WriteString(std::string_view S);
  TEncoding* GetEncoding() const noexcept { return FEncoding; }
  // The encoded bytes.
  const std::string& GetBytes() const noexcept { return FData; }

private:
  TEncoding* FEncoding;
  bool FIsUTF8;
  std::string FData;
  std::int64_t FPosition = 0;
};

}  // namespace cogent
