#include "cogent/host/Streams.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <system_error>

namespace cogent {

// ================================================================ TEncoding

namespace {

constexpr char32_t ReplacementChar = 0xFFFD;

// Well-formed UTF-8: each invalid byte becomes U+FFFD.
template <class Sink>
void ForEachCodePoint(std::string_view S, Sink Put) {
  std::size_t Pos = 0;
  while (Pos < S.size()) Put(UTF8Decode(S, Pos));
}

std::string SanitizedUTF8(std::string_view S) {
  std::string Result;
  Result.reserve(S.size());
  std::size_t Pos = 0;
  while (Pos < S.size()) {
    const std::size_t Start = Pos;
    const char32_t C = UTF8Decode(S, Pos);
    if (C == ReplacementChar && Pos == Start + 1)
      UTF8Append(Result, C);
    else
      Result.append(S.substr(Start, Pos - Start));
  }
  return Result;
}

class TUTF8Encoding final : public TEncoding {
public:
  using TEncoding::GetString;
  std::string EncodingName() const override { return "UTF-8"; }
  TBytes GetPreamble() const override { return {0xEF, 0xBB, 0xBF}; }
  TBytes GetBytes(std::string_view S) const override {
    const std::string Clean = SanitizedUTF8(S);
    return TBytes(Clean.begin(), Clean.end());
  }
  std::string GetString(const std::uint8_t* Bytes, std::size_t Count) const override {
    if (Count == 0) return std::string();
    return SanitizedUTF8(std::string_view(reinterpret_cast<const char*>(Bytes), Count));
  }
};

class TUTF16Encoding final : public TEncoding {
public:
  using TEncoding::GetString;
  explicit TUTF16Encoding(bool ABigEndian) : FBigEndian(ABigEndian) {}
  std::string EncodingName() const override { return FBigEndian ? "UTF-16BE" : "UTF-16LE"; }
  TBytes GetPreamble() const override {
    if (FBigEndian) return {0xFE, 0xFF};
    return {0xFF, 0xFE};
  }
  TBytes GetBytes(std::string_view S) const override {
    TBytes Result;
    Result.reserve(S.size() * 2);
    ForEachCodePoint(S, [&](char32_t C) {
      if (C < 0x10000) {
        PutUnit(Result, static_cast<std::uint16_t>(C));
      } else {
        C -= 0x10000;
        PutUnit(Result, static_cast<std::uint16_t>(0xD800 + (C >> 10)));
        PutUnit(Result, static_cast<std::uint16_t>(0xDC00 + (C & 0x3FF)));
      }
    });
    return Result;
  }
  std::string GetString(const std::uint8_t* Bytes, std::size_t Count) const override {
    std::string Result;
    Result.reserve(Count);
    std::size_t I = 0;
    while (I + 1 < Count) {
      const char32_t U = Unit(Bytes + I);
      I += 2;
      char32_t C = U;
      if (U >= 0xD800 && U <= 0xDBFF) {
        C = ReplacementChar;
        if (I + 1 < Count) {
          const char32_t V = Unit(Bytes + I);
          if (V >= 0xDC00 && V <= 0xDFFF) {
            C = 0x10000 + ((U - 0xD800) << 10) + (V - 0xDC00);
            I += 2;
          }
        }
      } else if (U >= 0xDC00 && U <= 0xDFFF) {
        C = ReplacementChar;
      }
      UTF8Append(Result, C);
    }
    if (I < Count) UTF8Append(Result, ReplacementChar);  // a lone last byte
    return Result;
  }

private:
  void PutUnit(TBytes& Out, std::uint16_t U) const {
    const auto Hi = static_cast<std::uint8_t>(U >> 8);
    const auto Lo = static_cast<std::uint8_t>(U & 0xFF);
    Out.push_back(FBigEndian ? Hi : Lo);
    Out.push_back(FBigEndian ? Lo : Hi);
  }
  char32_t Unit(const std::uint8_t* P) const {
    return FBigEndian ? static_cast<char32_t>(P[0] << 8 | P[1]) : static_cast<char32_t>(P[1] << 8 | P[0]);
  }

  bool FBigEndian;
};

}  // namespace

// The instances live as long as the process: text may be written from static
// destructors too.
TEncoding* TEncoding::UTF8() {
  static TEncoding* const Instance = new TUTF8Encoding;
  return Instance;
}

TEncoding* TEncoding::Unicode() {
  static TEncoding* const Instance = new TUTF16Encoding(false);
  return Instance;
}

TEncoding* TEncoding::BigEndianUnicode() {
  static TEncoding* const Instance = new TUTF16Encoding(true);
  return Instance;
}

std::size_t TEncoding::GetBufferEncoding(const std::uint8_t* Buffer, std::size_t Count, TEncoding*& AEncoding) {
  for (TEncoding* E : {UTF8(), Unicode(), BigEndianUnicode()}) {
    const TBytes Preamble = E->GetPreamble();
    if (Count >= Preamble.size() && std::memcmp(Buffer, Preamble.data(), Preamble.size()) == 0) {
      AEncoding = E;
      return Preamble.size();
    }
  }
  if (!AEncoding) AEncoding = UTF8();
  return 0;
}

// ================================================================ TStream

std::int64_t TStream::GetSize() {
  const std::int64_t Pos = Seek(0, soCurrent);
  const std::int64_t Result = Seek(0, soEnd);
  Seek(Pos, soBeginning);
  return Result;
}

// A stream that cannot change its size ignores the request, as the host's
// base stream does.
void TStream::SetSize(std::int64_t) {}

void TStream::ReadBuffer(void* Buffer, std::int64_t Count) {
  if (Count < 0) throw EReadError(SReadError);
  auto* P = static_cast<std::uint8_t*>(Buffer);
  while (Count > 0) {
    const std::int64_t N = Read(P, Count);
    if (N <= 0 || N > Count) throw EReadError(SReadError);
    P += N;
    Count -= N;
  }
}

void TStream::WriteBuffer(const void* Buffer, std::int64_t Count) {
  if (Count < 0) throw EWriteError(SWriteError);
  const auto* P = static_cast<const std::uint8_t*>(Buffer);
  while (Count > 0) {
    const std::int64_t N = Write(P, Count);
    if (N <= 0 || N > Count) throw EWriteError(SWriteError);
    P += N;
    Count -= N;
  }
}

std::int64_t TStream::CopyFrom(TStream& Source, std::int64_t Count) {
  if (Count <= 0) {
    Source.SetPosition(0);
    Count = Source.GetSize();
  }
  constexpr std::int64_t BufferSize = 64 * 1024;
  std::vector<std::uint8_t> Buffer(static_cast<std::size_t>(std::clamp<std::int64_t>(Count, 0, BufferSize)));
  for (std::int64_t Left = Count; Left > 0;) {
    const std::int64_t N = std::min(Left, BufferSize);
    Source.ReadBuffer(Buffer.data(), N);
    WriteBuffer(Buffer.data(), N);
    Left -= N;
  }
  return Count;
}

// ================================================================ TMemoryStream

std::int64_t TMemoryStream::Read(void* Buffer, std::int64_t Count) {
  const auto Size = static_cast<std::int64_t>(FData.size());
  if (Count <= 0 || FPosition >= Size) return 0;
  const std::int64_t N = std::min(Count, Size - FPosition);
  std::memcpy(Buffer, FData.data() + FPosition, static_cast<std::size_t>(N));
  FPosition += N;
  return N;
}

std::int64_t TMemoryStream::Write(const void* Buffer, std::int64_t Count) {
  if (Count <= 0 || Count > std::numeric_limits<std::int64_t>::max() - FPosition) return 0;
  const std::int64_t End = FPosition + Count;
  if (static_cast<std::uint64_t>(End) > FData.max_size()) return 0;
  if (End > static_cast<std::int64_t>(FData.size())) {
    // The source may lie in our own memory, which growing moves.
    const auto* Src = static_cast<const std::uint8_t*>(Buffer);
    if (!FData.empty() && Src >= FData.data() && Src < FData.data() + FData.size()) {
      const TBytes Copy(Src, Src + Count);
      FData.resize(static_cast<std::size_t>(End));
      std::memcpy(FData.data() + FPosition, Copy.data(), Copy.size());
      FPosition = End;
      return Count;
    }
    FData.resize(static_cast<std::size_t>(End));
  }
  std::memmove(FData.data() + FPosition, Buffer, static_cast<std::size_t>(Count));
  FPosition = End;
  return Count;
}

std::int64_t TMemoryStream::Seek(std::int64_t Offset, TSeekOrigin Origin) {
  std::int64_t Base;
  switch (Origin) {
    case soBeginning: Base = 0; break;
    case soCurrent: Base = FPosition; break;
    case soEnd: Base = static_cast<std::int64_t>(FData.size()); break;
    default: return -1;
  }
  if (Offset > 0 && Base > std::numeric_limits<std::int64_t>::max() - Offset) return -1;
  const std::int64_t NewPosition = Base + Offset;
  if (NewPosition < 0) return -1;
  FPosition = NewPosition;
  return FPosition;
}

void TMemoryStream::SetSize(std::int64_t NewSize) {
  if (NewSize < 0 || static_cast<std::uint64_t>(NewSize) > FData.max_size()) throw EStreamError(SStreamSetSize);
  FData.resize(static_cast<std::size_t>(NewSize));
  FPosition = std::min(FPosition, NewSize);
}

void TMemoryStream::Clear() {
  FData.clear();
  FPosition = 0;
}

void TMemoryStream::LoadFromStream(TStream& Stream) {
  if (&Stream == this) return;
  Stream.SetPosition(0);
  const std::int64_t Count = Stream.GetSize();
  SetSize(Count);
  if (Count != 0) Stream.ReadBuffer(FData.data(), Count);
}

void TMemoryStream::SaveToStream(TStream& Stream) {
  if (FData.empty()) return;
  if (&Stream == this) {
    const TBytes Copy = FData;
    Stream.WriteBuffer(Copy.data(), static_cast<std::int64_t>(Copy.size()));
    return;
  }
  Stream.WriteBuffer(FData.data(), static_cast<std::int64_t>(FData.size()));
}

void TMemoryStream::LoadFromFile(const std::string& FileName) {
  TFileStream Stream(FileName, fmOpenRead);
  LoadFromStream(Stream);
}

void TMemoryStream::SaveToFile(const std::string& FileName) {
  TFileStream Stream(FileName, fmCreate);
  SaveToStream(Stream);
}

// ================================================================ TFileStream

namespace {

[[noreturn]] void RaiseFileError(bool Create, const std::string& FileName, int Error) {
  const std::string Reason = std::generic_category().message(Error);
  if (Create) throw EFCreateError(Format(SFCreateError, FileName, Reason));
  throw EFOpenError(Format(SFOpenError, FileName, Reason));
}

}  // namespace

TFileStream::TFileStream(const std::string& FileName, std::uint16_t Mode) : FFileName(FileName) {
  const bool Create = (Mode & fmCreate) == fmCreate;
  const char* OpenMode = nullptr;
  if (Create) {
    OpenMode = "w+b";
  } else {
    switch (Mode & 3) {
      case fmOpenRead: OpenMode = "rb"; break;
      case fmOpenWrite:
      case fmOpenReadWrite: OpenMode = "r+b"; break;
      default: RaiseFileError(false, FileName, EINVAL);
    }
  }
  // A name with a NUL would open some other file.
  if (FileName.find('\0') != std::string::npos) RaiseFileError(Create, FileName, EINVAL);
  FFile = std::fopen(FileName.c_str(), OpenMode);
  if (!FFile) RaiseFileError(Create, FileName, errno);
  struct stat Info {};
  if (fstat(fileno(FFile), &Info) == 0 && S_ISDIR(Info.st_mode)) {
    std::fclose(FFile);
    FFile = nullptr;
    RaiseFileError(Create, FileName, EISDIR);
  }
}

TFileStream::~TFileStream() {
  if (FFile) std::fclose(FFile);
}

void TFileStream::SwitchTo(TLastOp Op) {
  if (FLastOp != loNone && FLastOp != Op) fseeko(FFile, 0, SEEK_CUR);
  FLastOp = Op;
}

std::int64_t TFileStream::Read(void* Buffer, std::int64_t Count) {
  if (Count <= 0) return 0;
  SwitchTo(loRead);
  const std::size_t N = std::fread(Buffer, 1, static_cast<std::size_t>(Count), FFile);
  if (N < static_cast<std::size_t>(Count)) std::clearerr(FFile);  // a later read may find more
  return static_cast<std::int64_t>(N);
}

std::int64_t TFileStream::Write(const void* Buffer, std::int64_t Count) {
  if (Count <= 0) return 0;
  SwitchTo(loWrite);
  const std::size_t N = std::fwrite(Buffer, 1, static_cast<std::size_t>(Count), FFile);
  if (N < static_cast<std::size_t>(Count)) std::clearerr(FFile);
  return static_cast<std::int64_t>(N);
}

std::int64_t TFileStream::Seek(std::int64_t Offset, TSeekOrigin Origin) {
  int Whence;
  switch (Origin) {
    case soBeginning: Whence = SEEK_SET; break;
    case soCurrent: Whence = SEEK_CUR; break;
    case soEnd: Whence = SEEK_END; break;
    default: return -1;
  }
  if (fseeko(FFile, static_cast<off_t>(Offset), Whence) != 0) return -1;
  FLastOp = loNone;
  return static_cast<std::int64_t>(ftello(FFile));
}

void TFileStream::SetSize(std::int64_t NewSize) {
  if (NewSize < 0) throw EStreamError(SStreamSetSize);
  std::fflush(FFile);
  const std::int64_t Position = static_cast<std::int64_t>(ftello(FFile));
  if (ftruncate(fileno(FFile), static_cast<off_t>(NewSize)) != 0) throw EStreamError(SStreamSetSize);
  // Repositioning also drops buffered bytes that the truncation made stale.
  fseeko(FFile, static_cast<off_t>(std::min(Position, NewSize)), SEEK_SET);
  FLastOp = loNone;
}

}  // namespace cogent
