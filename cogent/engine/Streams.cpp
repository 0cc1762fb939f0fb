// The routing of text into and out of the engine: named streams, the capture
// that stands in for the output event, the batch that stands in for the input
// events, and the loading and saving of knowledge as text.

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"

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

void TInferenceEngine::LoadFromStream(TStream& Stream, TEncoding* Encoding) {
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
  TFileStream File(FileName, fmCreate);
  SaveFacts(File, Encoding);
}

void TInferenceEngine::SaveFacts(TStream& Stream, const std::string& TemplateName, TEncoding* Encoding) {
  WriteFacts(Stream, &TemplateName, Encoding);
}

void TInferenceEngine::SaveFacts(const std::string& FileName, const std::string& TemplateName, TEncoding* Encoding) {
  TFileStream File(FileName, fmCreate);
  SaveFacts(File, TemplateName, Encoding);
}

}  // namespace cogent
