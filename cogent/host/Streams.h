#pragma once
// The host's byte streams and text encodings.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "cogent/host/Classes.h"

namespace cogent {

using TBytes = std::vector<std::uint8_t>;

// ---------------------------------------------------------------- TEncoding

// Converts between UTF-8 text and the bytes of one encoding. The instances are
// process-wide and never freed by callers.
class TEncoding {
public:
  virtual ~TEncoding() = default;
  virtual std::string EncodingName() const = 0;
  virtual TBytes GetPreamble() const = 0;
  virtual TBytes GetBytes(std::string_view S) const = 0;
  // Malformed input yields U+FFFD, never an error.
  virtual std::string GetString(const std::uint8_t* Bytes, std::size_t Count) const = 0;
  std::string GetString(const TBytes& Bytes) const { return GetString(Bytes.data(), Bytes.size()); }

  static TEncoding* UTF8();
  static TEncoding* Unicode();           // UTF-16 little endian
  static TEncoding* BigEndianUnicode();  // UTF-16 big endian
  static TEncoding* Default() { return UTF8(); }

  // Finds the encoding (of the three above) whose preamble starts Buffer,
  // sets AEncoding to it and gives the preamble's length in bytes; gives 0
  // (and AEncoding left as it was, UTF-8 when nil) when none does.
  static std::size_t GetBufferEncoding(const std::uint8_t* Buffer, std::size_t Count, TEncoding*& AEncoding);
};

// ---------------------------------------------------------------- TStream

enum TSeekOrigin : std::uint8_t { soBeginning, soCurrent, soEnd };

class TStream : public TObject {
public:
  virtual std::int64_t Read(void* Buffer, std::int64_t Count) = 0;
  virtual std::int64_t Write(const void* Buffer, std::int64_t Count) = 0;
  virtual std::int64_t Seek(std::int64_t Offset, TSeekOrigin Origin) = 0;

  // Seek gives the new position, or -1 (position unchanged) when refused,
  // as for a position before the start.
  std::int64_t GetPosition() { return Seek(0, soCurrent); }
  void SetPosition(std::int64_t Pos) { Seek(Pos, soBeginning); }
  virtual std::int64_t GetSize();
  virtual void SetSize(std::int64_t NewSize);

  // Raise EReadError / EWriteError when the whole count can't be moved.
  void ReadBuffer(void* Buffer, std::int64_t Count);
  void WriteBuffer(const void* Buffer, std::int64_t Count);
  // Copies Count bytes from Source; 0 (or less) copies all of Source from its
  // start. Gives the count copied.
  std::int64_t CopyFrom(TStream& Source, std::int64_t Count);
};

class TMemoryStream : public TStream {
public:
  std::int64_t Read(void* Buffer, std::int64_t Count) override;
  std::int64_t Write(const void* Buffer, std::int64_t Count) override;
  std::int64_t Seek(std::int64_t Offset, TSeekOrigin Origin) override;
  std::int64_t GetSize() override { return static_cast<std::int64_t>(FData.size()); }
  void SetSize(std::int64_t NewSize) override;

  void Clear();
  const std::uint8_t* Memory() const noexcept { return FData.data(); }
  const TBytes& Bytes() const noexcept { return FData; }
  void LoadFromStream(TStream& Stream);
  void SaveToStream(TStream& Stream);
  void LoadFromFile(const std::string& FileName);
  void SaveToFile(const std::string& FileName);

private:
  TBytes FData;
  std::int64_t FPosition = 0;
};

// Open modes of a file stream.
inline constexpr std::uint16_t fmOpenRead = 0x0000;
inline constexpr std::uint16_t fmOpenWrite = 0x0001;
inline constexpr std::uint16_t fmOpenReadWrite = 0x0002;
inline constexpr std::uint16_t fmCreate = 0xFF00;
inline constexpr std::uint16_t fmShareDenyNone = 0x0040;

class TFileStream : public TStream {
public:
  // fmCreate creates or truncates (read and write); fmOpenRead reads;
  // fmOpenWrite and fmOpenReadWrite open an existing file without truncating.
  // Raises EFOpenError / EFCreateError with the file name and the system's
  // reason; a directory is refused. SetSize raises EStreamError
  // SStreamSetSize when the file can't be resized (read only).
  TFileStream(const std::string& FileName, std::uint16_t Mode);
  ~TFileStream() override;
  TFileStream(const TFileStream&) = delete;
  TFileStream& operator=(const TFileStream&) = delete;

  std::int64_t Read(void* Buffer, std::int64_t Count) override;
  std::int64_t Write(const void* Buffer, std::int64_t Count) override;
  std::int64_t Seek(std::int64_t Offset, TSeekOrigin Origin) override;
  void SetSize(std::int64_t NewSize) override;
  const std::string& GetFileName() const noexcept { return FFileName; }

private:
  // The C library needs a seek between a read and a write on one FILE.
  enum TLastOp : std::uint8_t { loNone, loRead, loWrite };
  void SwitchTo(TLastOp Op);

  std::string FFileName;
  std::FILE* FFile = nullptr;
  TLastOp FLastOp = loNone;
};

}  // namespace cogent
