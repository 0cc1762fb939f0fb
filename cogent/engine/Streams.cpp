// The routing of text into and out of the engine: named streams, the capture
// that stands in for the output event, the batch that stands in for the input
// events, and the loading and saving of knowledge as text.

#include <algorithm>

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/host/SafeSave.h"

namespace cogent {

namespace {

bool IsStandardDevice(const std::string& ID) noexcept { return ID.empty() || ID == "t"; }

TKBTokenizerStream& AsTokenizer(TGTextStream* Stream) {
  auto* Result = dynamic_cast<TKBTokenizerStream*>(Stream);
  if (!Result) throw EInvalidCast(SInvalidCast);
  return *Result;
}

// One token, the rest of its line dropped: one read takes one line.
IStreamToken TokenOfLine(TKBTokenizerStream& Stream) {
  IStreamToken Result = Stream.NextToken();
  Stream.DiscardUntilEOL();
  return Result;
}

}  // namespace

// ---------------------------------------------------------------- output

void TInferenceEngine::PrintOut(const std::string& OutID, const std::string& Text) {
  if (!IsStandardDevice(OutID)) {
    TGTextStream* Stream = nullptr;
    if (FIOStreams && FIOStreams->TryGetValue(OutID, Stream) && Stream) {
      Stream->Put(Text);
      return;
    }
    if (!OnPrintOut) throw EKBException(Format(_SNoSuchFunction, "printout"));
    // A handler is there but the name isn't: the text goes nowhere.
    return;
  }
  if (FOutputStream) {
    WriteStringToStream(*FOutputStream, Text, static_cast<TEncoding*>(nullptr));
    return;
  }
  if (OnPrintOut) OnPrintOut(this, OutID, Text);
}

bool TInferenceEngine::StartCapture(TStream* Stream, TEncoding* Encoding) {
  if (Stream != FOutputStream.get()) FOutputStream.reset(Stream);
  if (Stream) WritePreambleToStream(*Stream, Encoding);
  return true;
}

bool TInferenceEngine::StartCapture(const std::string& FileName, TEncoding* Encoding) {
  std::unique_ptr<TStream> File;
  try {
    File = std::make_unique<TFileStream>(FileName, fmCreate);
    StartCapture(File.get(), Encoding);
  } catch (...) {
    // The capture may have taken the file over before it failed.
    if (File && FOutputStream.get() == File.get()) (void)File.release();
    return false;
  }
  (void)File.release();
  return true;
}

bool TInferenceEngine::StopCapture() {
  FOutputStream.reset();
  return true;
}

// ---------------------------------------------------------------- input

std::string TInferenceEngine::ReadLine(const std::string& InID) {
  if (!IsStandardDevice(InID)) {
    TGTextStream* Stream = nullptr;
    if (FIOStreams && FIOStreams->TryGetValue(InID, Stream) && Stream)
      return Stream->IsEof() ? std::string() : Stream->GetLine();
  }
  if (FInputStream) {
    std::string Line = FInputStream->GetLine();
    PrintOut("", Line + sLineBreak);
    return Line;
  }
  std::string Line;
  if (!OnReadLine) throw EKBException(Format(_SNoReadFunctionWarning, "read"));
  OnReadLine(this, InID, Line);
  return Line;
}

IStreamToken TInferenceEngine::ReadToken(const std::string& InID) {
  if (!IsStandardDevice(InID)) {
    TGTextStream* Stream = nullptr;
    if (FIOStreams && FIOStreams->TryGetValue(InID, Stream) && Stream) return TokenOfLine(AsTokenizer(Stream));
  }
  if (FInputStream) {
    IStreamToken Token = TokenOfLine(*FInputStream);
    PrintOut("", Token->ToString() + sLineBreak);
    return Token;
  }
  if (!OnReadToken) throw EKBException(Format(_SNoReadFunctionWarning, "readline"));
  IStreamToken Token;
  OnReadToken(this, InID, Token);
  // A handler that found nothing has reached the end of its input.
  if (!Token) Token = IStreamToken(new TKBStreamToken(dtNone, 0, "EOF"));
  return Token;
}

// ---------------------------------------------------------------- batch

bool TInferenceEngine::Batch(TStream& Stream, TEncoding* Encoding) {
  std::unique_ptr<TKBTokenizerStream> Previous = std::move(FInputStream);
  const TFinally Restore([this, &Previous] { FInputStream = std::move(Previous); });
  std::unique_ptr<TGTextStream> Tokenizer = NewTokenizer(&Stream, Encoding);
  TKBTokenizerStream& Tokens = AsTokenizer(Tokenizer.get());
  (void)Tokenizer.release();
  FInputStream.reset(&Tokens);
  while (!FInputStream->IsEof()) Parse(FInputStream->GetLine(), true, Encoding);
  return true;
}

bool TInferenceEngine::Batch(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  return Batch(File, Encoding);
}

// ---------------------------------------------------------------- loading and saving

namespace {

constexpr const char* SLaterVersion =
    "This knowledge base was saved by version %.4f of the engine, which is later than this one (%.4f)";

// A saved knowledge base names the version that wrote it on its second
// line. One from a later version is refused before anything of it is read;
// other text, and a stream that cannot go back, pass unchecked.
void CheckSavedVersion(TStream& Stream, float Version) {
  std::string Head(256, '\0');
  try {
    const std::int64_t Start = Stream.GetPosition();
    const std::int64_t Count = Stream.Read(Head.data(), static_cast<std::int64_t>(Head.size()));
    Stream.SetPosition(Start);
    Head.resize(static_cast<std::size_t>(std::max<std::int64_t>(Count, 0)));
  } catch (const Exception&) {
    return;
  }
  if (Head.starts_with("\xEF\xBB\xBF")) Head.erase(0, 3);
  const std::string Rule = "; *************************";
  const std::string Mark = "; Inference Engine v";
  if (!Head.starts_with(Rule)) return;
  const std::size_t At = Head.find(Mark);
  if (At == std::string::npos || Head.find_first_not_of("\r\n", Rule.size()) != At) return;
  const std::size_t From = At + Mark.size();
  const std::size_t To = Head.find(' ', From);
  double Saved = 0;
  if (To == std::string::npos || !TryStrToFloat(Head.substr(From, To - From), Saved)) return;
  if (Saved > static_cast<double>(Version) + 0.00005)
    throw EKBException(Format(SLaterVersion, Saved, static_cast<double>(Version)));
}

}  // namespace

void TInferenceEngine::LoadFromStream(TStream& Stream, TEncoding* Encoding) {
  CheckSavedVersion(Stream, FVersion);
  ParseFrame(Stream, Encoding, [](TKBParser& Parser) { Parser.Parse(true); });
}

void TInferenceEngine::LoadFromFile(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  try {
    LoadFromStream(File, Encoding);
  } catch (const EKBParseException& E) {
    // What was read before the error stays; the message says where it stopped.
    throw EKBParseException(FileName + ":" + IntToStr(E.GetLineNumber()) + ": " + E.what(), E.GetLineNumber());
  }
}

void TInferenceEngine::LoadFacts(TStream& Stream, TEncoding* Encoding) {
  ParseFrame(Stream, Encoding, [](TKBParser& Parser) { Parser.LoadFacts(); });
}

void TInferenceEngine::LoadFacts(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  LoadFacts(File, Encoding);
}

void TInferenceEngine::WriteFacts(TStream& Stream, const std::string* TemplateName, TEncoding* Encoding) {
  WritePreambleToStream(Stream, Encoding);
  if (!FCache.Facts) return;
  for (const IFact& Fact : *FCache.Facts) {
    if (TemplateName) {
      const IFactTemplate Template = Fact->GetTemplate();
      if (!Template || Template->GetTemplateName() != *TemplateName) continue;
    }
    WriteStringToStream(Stream, Fact->ToString() + sLineBreak, Encoding);
  }
}

void TInferenceEngine::SaveFacts(TStream& Stream, TEncoding* Encoding) { WriteFacts(Stream, nullptr, Encoding); }

void TInferenceEngine::SaveFacts(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveFacts(Stream, Encoding); });
}

void TInferenceEngine::SaveFacts(TStream& Stream, const std::string& TemplateName, TEncoding* Encoding) {
  WriteFacts(Stream, &TemplateName, Encoding);
}

void TInferenceEngine::SaveFacts(const std::string& FileName, const std::string& TemplateName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveFacts(Stream, TemplateName, Encoding); });
}

}  // namespace cogent
