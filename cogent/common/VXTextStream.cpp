#include "cogent/common/VXTextStream.h"

#include <algorithm>
#include <cstring>

namespace cogent {

namespace {

constexpr char32_t CR = U'\r';
constexpr char32_t LF = U'\n';
constexpr char32_t ReplacementChar = 0xFFFD;

bool IsUTF8(const TEncoding* Encoding) { return Encoding == nullptr || Encoding == TEncoding::UTF8(); }

}  // namespace

// ---------------------------------------------------------------- TGBufferStream

TGBufferStream::TGBufferStream(TStream* ASource, bool AOwnsSource, std::size_t ABufferSize)
    : FSource(ASource), FOwnsSource(AOwnsSource), FBuffer(std::max<std::size_t>(ABufferSize, 16)) {
  if (FSource == nullptr) throw EArgumentException("TGBufferStream needs a source stream");
}

TGBufferStream::~TGBufferStream() {
  if (FOwnsSource) {
    delete FSource;
    return;
  }
  // A borrowed source is left where the reader stands.
  try {
    DiscardReadAhead();
  } catch (...) {  // NOLINT: a destructor must not raise
  }
}

int TGBufferStream::ReadByteSlow() { return Fill() ? FBuffer[FPos++] : -1; }

bool TGBufferStream::Fill() {
  FPos = 0;
  FEnd = 0;
  const std::int64_t Got = FSource->Read(FBuffer.data(), static_cast<std::int64_t>(FBuffer.size()));
  if (Got > 0) FEnd = static_cast<std::size_t>(Got);
  return FEnd > 0;
}

std::int64_t TGBufferStream::Read(void* Buffer, std::int64_t Count) {
  if (Count <= 0) return 0;
  auto* Out = static_cast<std::uint8_t*>(Buffer);
  std::int64_t Done = 0;
  while (Done < Count && !FBack.empty()) {
    Out[Done++] = FBack.back();
    FBack.pop_back();
  }
  while (Done < Count) {
    if (FPos >= FEnd) {
      // A large read skips the buffer.
      if (Count - Done >= static_cast<std::int64_t>(FBuffer.size())) {
        FPos = FEnd = 0;
        const std::int64_t Got = FSource->Read(Out + Done, Count - Done);
        if (Got <= 0) break;
        Done += Got;
        continue;
      }
      if (!Fill()) break;
    }
    const std::size_t Take = std::min(FEnd - FPos, static_cast<std::size_t>(Count - Done));
    std::memcpy(Out + Done, FBuffer.data() + FPos, Take);
    FPos += Take;
    Done += static_cast<std::int64_t>(Take);
  }
  return Done;
}

std::int64_t TGBufferStream::Write(const void* Buffer, std::int64_t Count) {
  DiscardReadAhead();
  return FSource->Write(Buffer, Count);
}

std::int64_t TGBufferStream::Seek(std::int64_t Offset, TSeekOrigin Origin) {
  const std::int64_t Ahead = static_cast<std::int64_t>(FEnd - FPos) + static_cast<std::int64_t>(FBack.size());
  const std::int64_t Here = std::max<std::int64_t>(0, FSource->Seek(0, soCurrent) - Ahead);
  if (Origin == soCurrent && Offset == 0) return Here;
  FBack.clear();
  FPos = FEnd = 0;
  if (Origin == soCurrent) return FSource->Seek(Here + Offset, soBeginning);
  return FSource->Seek(Offset, Origin);
}

std::int64_t TGBufferStream::GetSize() { return FSource->GetSize(); }

void TGBufferStream::SetSize(std::int64_t NewSize) {
  DiscardReadAhead();
  FSource->SetSize(NewSize);
}

void TGBufferStream::PutBack(const void* Bytes, std::size_t Count) {
  const auto* In = static_cast<const std::uint8_t*>(Bytes);
  for (std::size_t I = Count; I > 0; --I) FBack.push_back(In[I - 1]);
}

void TGBufferStream::PutBackChar(char32_t C, const TEncoding* Encoding) {
  std::string Text;
  UTF8Append(Text, C);
  if (IsUTF8(Encoding)) {
    PutBack(Text.data(), Text.size());
  } else {
    const TBytes Bytes = Encoding->GetBytes(Text);
    PutBack(Bytes.data(), Bytes.size());
  }
}

bool TGBufferStream::IsEof() { return FBack.empty() && FPos >= FEnd && !Fill(); }

void TGBufferStream::DiscardReadAhead() {
  FBack.clear();
  if (FPos < FEnd) FSource->Seek(-static_cast<std::int64_t>(FEnd - FPos), soCurrent);
  FPos = FEnd = 0;
}

// ---------------------------------------------------------------- TGTextStream

TGTextStream::TGTextStream(TStream* AStream, TEncoding* AEncoding, bool AOwnsStream)
    : FStream(AStream), FGivenEncoding(AEncoding) {
  if (AStream == nullptr) throw EArgumentException("TGTextStream needs a stream");
  if (AOwnsStream) FOwnedStream.reset(AStream);
  FBuffer = std::make_unique<TGBufferStream>(AStream, false);
}

TGTextStream::TGTextStream(const std::string& FileName, std::uint16_t Mode, TEncoding* AEncoding)
    : FOwnedStream(std::make_unique<TFileStream>(FileName, Mode)),
      FStream(FOwnedStream.get()),
      FBuffer(std::make_unique<TGBufferStream>(FStream, false)),
      FGivenEncoding(AEncoding) {}

TGTextStream::~TGTextStream() = default;

void TGTextStream::ResolveEncoding() {
  if (FEncoding != nullptr) return;
  TEncoding* Encoding = FGivenEncoding != nullptr ? FGivenEncoding : TEncoding::UTF8();
  // The preamble stands at the start of the stream, wherever reading starts.
  const std::int64_t Here = FBuffer->GetPosition();
  std::uint8_t Head[4];
  FBuffer->Seek(0, soBeginning);
  const std::int64_t Got = FBuffer->Read(Head, sizeof Head);
  TEncoding* Found = nullptr;
  const std::size_t PreambleLength =
      Got > 0 ? TEncoding::GetBufferEncoding(Head, static_cast<std::size_t>(Got), Found) : 0;
  if (PreambleLength > 0 && Found != nullptr) Encoding = Found;
  FBuffer->Seek(std::max<std::int64_t>(Here, static_cast<std::int64_t>(PreambleLength)), soBeginning);
  FEncoding = Encoding;
  if (Encoding == TEncoding::UTF8())
    FDecoder = dcUTF8;
  else if (Encoding == TEncoding::Unicode())
    FDecoder = dcUTF16LE;
  else if (Encoding == TEncoding::BigEndianUnicode())
    FDecoder = dcUTF16BE;
  else
    FDecoder = dcSingleByte;
}

TEncoding* TGTextStream::GetEncoding() {
  ResolveEncoding();
  return FEncoding;
}

char32_t TGTextStream::ReadChar() {
  ResolveEncoding();
  switch (FDecoder) {
    case dcUTF8:
      return ReadUTF8();
    case dcUTF16LE:
      return ReadUTF16(false);
    case dcUTF16BE:
      return ReadUTF16(true);
    case dcSingleByte:
      break;
  }
  return ReadSingleByte();
}

char32_t TGTextStream::ReadUTF8() {
  const int B0 = FBuffer->ReadByte();
  if (B0 < 0) return EndOfStream;
  if (B0 < 0x80) return static_cast<char32_t>(B0);
  int Need;
  char32_t C;
  int Low = 0x80;
  int High = 0xBF;
  if (B0 >= 0xC2 && B0 <= 0xDF) {
    Need = 1;
    C = static_cast<char32_t>(B0 & 0x1F);
  } else if (B0 >= 0xE0 && B0 <= 0xEF) {
    Need = 2;
    C = static_cast<char32_t>(B0 & 0x0F);
    if (B0 == 0xE0) Low = 0xA0;   // overlong
    if (B0 == 0xED) High = 0x9F;  // surrogates
  } else if (B0 >= 0xF0 && B0 <= 0xF4) {
    Need = 3;
    C = static_cast<char32_t>(B0 & 0x07);
    if (B0 == 0xF0) Low = 0x90;   // overlong
    if (B0 == 0xF4) High = 0x8F;  // above U+10FFFF
  } else {
    return ReplacementChar;
  }
  for (int I = 0; I < Need; ++I) {
    const int B = FBuffer->ReadByte();
    if (B < 0) return ReplacementChar;
    if (B < Low || B > High) {
      // The byte may begin the next character.
      FBuffer->PutBackByte(static_cast<std::uint8_t>(B));
      return ReplacementChar;
    }
    C = (C << 6) | static_cast<char32_t>(B & 0x3F);
    Low = 0x80;
    High = 0xBF;
  }
  return C;
}

char32_t TGTextStream::ReadUTF16(bool BigEndian) {
  // -1 at the end, -2 for a lone last byte.
  const auto ReadUnit = [this, BigEndian](std::uint8_t (&Bytes)[2]) -> long {
    const int B0 = FBuffer->ReadByte();
    if (B0 < 0) return -1;
    const int B1 = FBuffer->ReadByte();
    if (B1 < 0) return -2;
    Bytes[0] = static_cast<std::uint8_t>(B0);
    Bytes[1] = static_cast<std::uint8_t>(B1);
    return BigEndian ? (B0 << 8) | B1 : (B1 << 8) | B0;
  };
  std::uint8_t Bytes[2];
  const long U = ReadUnit(Bytes);
  if (U == -1) return EndOfStream;
  if (U < 0 || (U >= 0xDC00 && U <= 0xDFFF)) return ReplacementChar;
  if (U < 0xD800 || U > 0xDBFF) return static_cast<char32_t>(U);
  const long Low = ReadUnit(Bytes);
  if (Low >= 0xDC00 && Low <= 0xDFFF)
    return 0x10000 + ((static_cast<char32_t>(U) - 0xD800) << 10) + (static_cast<char32_t>(Low) - 0xDC00);
  if (Low >= 0) FBuffer->PutBack(Bytes, 2);
  return ReplacementChar;
}

char32_t TGTextStream::ReadSingleByte() {
  const int B = FBuffer->ReadByte();
  if (B < 0) return EndOfStream;
  const auto Byte = static_cast<std::uint8_t>(B);
  const std::string Text = FEncoding->GetString(&Byte, 1);
  std::size_t Pos = 0;
  return Text.empty() ? ReplacementChar : UTF8Decode(Text, Pos);
}

char32_t TGTextStream::GetChar() {
  char32_t C;
  if (!FPutBack.empty()) {
    C = FPutBack.back();
    FPutBack.pop_back();
  } else {
    C = ReadChar();
    if (C == EndOfStream) return C;
  }
  if (C == CR || (C == LF && FCurrentChar != CR)) ++FLineNumber;
  // Long histories are cut in halves, so that keeping it stays cheap.
  if (FHistory.size() >= 2 * HistoryDepth) FHistory.erase(0, HistoryDepth);
  FHistory.push_back(C);
  if (FRecording) FRecord.push_back(C);
  FLastChar = FCurrentChar;
  FCurrentChar = C;
  return C;
}

void TGTextStream::PutBack(char32_t C) {
  if (C == EndOfStream) return;
  FPutBack.push_back(C);
  if (!FHistory.empty()) FHistory.pop_back();
  if (FRecording && !FRecord.empty()) FRecord.pop_back();
  const std::size_t Size = FHistory.size();
  FCurrentChar = Size > 0 ? FHistory[Size - 1] : 0;
  FLastChar = Size > 1 ? FHistory[Size - 2] : 0;
  if (C == CR || (C == LF && FCurrentChar != CR)) --FLineNumber;
}

std::string TGTextStream::StopRecording() {
  FRecording = false;
  std::string Text;
  Text.reserve(FRecord.size());
  for (const char32_t C : FRecord) UTF8Append(Text, C);
  FRecord.clear();
  return Text;
}

std::string TGTextStream::GetLine() {
  std::string Line;
  for (;;) {
    const char32_t C = GetChar();
    if (C == EndOfStream || C == LF) break;
    if (C == CR) {
      const char32_t Next = GetChar();
      if (Next != LF) PutBack(Next);
      break;
    }
    UTF8Append(Line, C);
  }
  return Line;
}

bool TGTextStream::SkipInLineSpaces() {
  for (;;) {
    const char32_t C = GetChar();
    if (C == EndOfStream) return false;
    if (C == LF) return true;
    if (C == CR) {
      const char32_t Next = GetChar();
      if (Next != LF) PutBack(Next);
      return true;
    }
    if (C > 32) {
      PutBack(C);
      return false;
    }
  }
}

void TGTextStream::Put(std::string_view Text) {
  ResolveEncoding();
  FPutBack.clear();
  if (!FPreambleChecked) {
    FPreambleChecked = true;
    if (FGivenEncoding != nullptr && FBuffer->GetSize() == 0) {
      const TBytes Preamble = FEncoding->GetPreamble();
      if (!Preamble.empty()) FBuffer->WriteBuffer(Preamble.data(), static_cast<std::int64_t>(Preamble.size()));
    }
  }
  if (Text.empty()) return;
  if (FDecoder == dcUTF8) {
    FBuffer->WriteBuffer(Text.data(), static_cast<std::int64_t>(Text.size()));
  } else {
    const TBytes Bytes = FEncoding->GetBytes(Text);
    FBuffer->WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
  }
}

void TGTextStream::PutLine(std::string_view Text) {
  Put(Text);
  PutEOL();
}

void TGTextStream::PutEOL() { Put(sLineBreak); }

bool TGTextStream::IsEof() {
  if (!FPutBack.empty()) return false;
  ResolveEncoding();
  return FBuffer->IsEof();
}

std::int64_t TGTextStream::GetPosition() { return FBuffer->GetPosition(); }

void TGTextStream::SetPosition(std::int64_t Value) {
  FPutBack.clear();
  FBuffer->Seek(Value, soBeginning);
}

std::int64_t TGTextStream::GetSize() { return FBuffer->GetSize(); }

void TGTextStream::SeekToEnd() {
  FPutBack.clear();
  FBuffer->Seek(0, soEnd);
}

// ---------------------------------------------------------------- TVXStringStream

TVXStringStream::TVXStringStream(std::string_view AString, TEncoding* AEncoding)
    : FEncoding(AEncoding != nullptr ? AEncoding : TEncoding::UTF8()), FIsUTF8(IsUTF8(FEncoding)) {
  SetDataString(AString);
}

std::int64_t TVXStringStream::Read(void* Buffer, std::int64_t Count) {
  const std::int64_t Take = std::min(Count, GetSize() - FPosition);
  if (Take <= 0) return 0;
  std::memcpy(Buffer, FData.data() + FPosition, static_cast<std::size_t>(Take));
  FPosition += Take;
  return Take;
}

std::int64_t TVXStringStream::Write(const void* Buffer, std::int64_t Count) {
  if (Count <= 0) return 0;
  FData.resize(static_cast<std::size_t>(FPosition));
  FData.append(static_cast<const char*>(Buffer), static_cast<std::size_t>(Count));
  FPosition += Count;
  return Count;
}

std::int64_t TVXStringStream::Seek(std::int64_t Offset, TSeekOrigin Origin) {
  std::int64_t Base = 0;
  if (Origin == soCurrent) Base = FPosition;
  if (Origin == soEnd) Base = GetSize();
  // Clamped by hand: Base + Offset could overflow.
  if (Offset < -Base)
    FPosition = 0;
  else if (Offset > GetSize() - Base)
    FPosition = GetSize();
  else
    FPosition = Base + Offset;
  return FPosition;
}

void TVXStringStream::SetSize(std::int64_t NewSize) {
  FData.resize(static_cast<std::size_t>(std::max<std::int64_t>(NewSize, 0)));
  FPosition = std::min(FPosition, GetSize());
}

std::string TVXStringStream::GetDataString() const {
  if (FIsUTF8) return FData;
  return FEncoding->GetString(reinterpret_cast<const std::uint8_t*>(FData.data()), FData.size());
}

void TVXStringStream::SetDataString(std::string_view S) {
  if (FIsUTF8) {
    FData.assign(S);
  } else {
    const TBytes Bytes = FEncoding->GetBytes(S);
    FData.assign(Bytes.begin(), Bytes.end());
  }
  FPosition = 0;
}

void TVXStringStream::WriteString(std::string_view S) {
  if (FIsUTF8) {
    Write(S.data(), static_cast<std::int64_t>(S.size()));
  } else {
    const TBytes Bytes = FEncoding->GetBytes(S);
    Write(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
  }
}

}  // namespace cogent
