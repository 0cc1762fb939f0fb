// The engine's side of parsing: the parser and tokenizer classes, the frame
// that lends the parser a stream over a text, and the parse events, which
// live in the parser.

#include <string_view>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/language/KBTokenizer.h"

namespace cogent {

// ---------------------------------------------------------------- parser and tokenizer classes

void TInferenceEngine::SetParser(TKBParser* Value) {
  if (FParser && Value != nullptr && Value != FParser.get()) FParser->Assign(Value);
}

void TInferenceEngine::SetParserType(const TKBParserClass& Value) {
  if (!Value || Value == FParserType) return;
  const TKBParserClass Old = FParserType;
  FParserType = Value;
  std::unique_ptr<TKBParser> Parser;
  try {
    // The new parser takes over the stream, which may be the engine's.
    Parser = NewParser(FParser ? FParser->GetStream() : nullptr);
  } catch (...) {
    FParserType = Old;
    throw;
  }
  if (!Parser) {
    FParserType = Old;
    return;
  }
  FParser = std::move(Parser);
}

void TInferenceEngine::SetTokenizerType(const TKBTokenizerClass& Value) {
  if (!Value || Value == FTokenizerType) return;
  FTokenizerType = Value;
  // A stream of the old class is no use to the parser any more.
  if (FParser) FParser->SetStream(nullptr);
}

std::unique_ptr<TKBParser> TInferenceEngine::NewParser(TGTextStream* Stream) {
  std::unique_ptr<TKBParser> Result(FParserType ? FParserType.Create(this, Stream) : nullptr);
  if (Result) {
    Result->SetErrorHandling(FParserErrorHandling);
    Result->SetMaxErrors(FParserMaxErrors);
    Result->SetTypeCheck(FTypeChecks.Contains(tcStatic));
  }
  return Result;
}

namespace {

std::unique_ptr<TGTextStream> TellEngine(std::unique_ptr<TGTextStream> Tokenizer, TInferenceEngine* Engine) {
  if (auto* RuleStream = dynamic_cast<TKBRuleStream*>(Tokenizer.get())) RuleStream->SetEngine(Engine);
  return Tokenizer;
}

}  // namespace

std::unique_ptr<TGTextStream> TInferenceEngine::NewTokenizer(TStream* Stream, TEncoding* Encoding) {
  if (!FTokenizerType) return nullptr;
  return TellEngine(std::unique_ptr<TGTextStream>(FTokenizerType.CreateOnStream(Stream, Encoding)), this);
}

std::unique_ptr<TGTextStream> TInferenceEngine::NewTokenizer(const std::string& FileName, std::uint16_t Mode) {
  if (!FTokenizerType) return nullptr;
  return TellEngine(std::unique_ptr<TGTextStream>(FTokenizerType.CreateOnFile(FileName, Mode)), this);
}

// ---------------------------------------------------------------- the frame

void TInferenceEngine::ParseFrame(const std::string& AString, TEncoding* Encoding,
                                  const std::function<void(TKBParser&)>& Operation) {
  TVXStringStream Source(AString, Encoding);
  ParseFrame(Source, Encoding, Operation);
}

void TInferenceEngine::ParseFrame(TStream& Stream, TEncoding* Encoding,
                                  const std::function<void(TKBParser&)>& Operation) {
  const std::unique_ptr<TGTextStream> Tokenizer = NewTokenizer(&Stream, Encoding);
  TKBParser& Parser = *FParser;
  TGTextStream* const Previous = Parser.GetStream();
  Parser.SetStream(Tokenizer.get());
  const TFinally Restore([&Parser, Previous] { Parser.SetStream(Previous); });
  Operation(Parser);
}

bool TInferenceEngine::Parse(const std::string& AString, bool Execute, TEncoding* Encoding) {
  bool Result = false;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.Parse(Execute); });
  return Result;
}

IKBValue TInferenceEngine::Parse(const std::string& AString, TKBType Kind, TEncoding* Encoding) {
  IKBValue Result(new TKBValue());
  switch (Kind) {
    case dtNone:
      break;
    case dtAtom:
      Result->SetAsAtom(AString);
      break;
    case dtVariable:
      Result->SetAsVariable(AString);
      break;
    case dtMultiVariable:
      Result->SetAsMultiVariable(AString);
      break;
    case dtSlot:
      Result->SetAsSlot(AString);
      break;
    case dtMultiSlot:
      Result->SetAsMultiSlot(AString);
      break;
    case dtString: {
      std::string_view Text(AString);
      while (!Text.empty() && Text.front() == '"') Text.remove_prefix(1);
      while (!Text.empty() && Text.back() == '"') Text.remove_suffix(1);
      Result->SetAsString(std::string(Text));
      break;
    }
    case dtInteger:
      Result->SetAsInteger(StrToInt(AString));
      break;
    case dtFactId:
      Result->SetAsFactId(StrToInt(AString));
      break;
    case dtFloat:
      Result->SetAsFloat(StrToFloat(AString));
      break;
    case dtFunCall:
      Result->SetAsFunCall(ParseFunCall(AString, Encoding));
      break;
    case dtFact:
      Result->SetAsFact(ParseFact(AString, Encoding));
      break;
    case dtList: {
      const IKBValue Value = ParseValue(AString, Encoding);
      return Value ? Value : FCNilList;
    }
    default: {
      const std::string TypeName = static_cast<int>(Kind) < KBTypeCount
                                       ? GetKBTypeName(Kind)
                                       : "Unknown Type (" + IntToStr(static_cast<int>(Kind)) + ")";
      throw EKBException(Format(_SParseTypeError, TypeName));
    }
  }
  return Result;
}

// ---------------------------------------------------------------- the family

TParsedType TInferenceEngine::ParseConstructType(const std::string& AString, TEncoding* Encoding) {
  TParsedType Result = ptNone;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.GetConstructType(); });
  return Result;
}

IKBDefinedType TInferenceEngine::ParseDefinedType(const std::string& AString, TEncoding* Encoding) {
  IKBDefinedType Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseDefinedType(); });
  return Result;
}

IFact TInferenceEngine::ParseFact(const std::string& AString, TEncoding* Encoding) {
  IFact Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFact(); });
  return Result;
}

std::string TInferenceEngine::ParseFactSlot(const std::string& AString, const IFact& Fact, TEncoding* Encoding) {
  std::string Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFactSlot(Fact); });
  return Result;
}

std::unique_ptr<TFactSet> TInferenceEngine::ParseFactSet(const std::string& AString, TEncoding* Encoding) {
  std::unique_ptr<TFactSet> Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFactSet(); });
  return Result;
}

IFunCall TInferenceEngine::ParseFunCall(const std::string& AString, TEncoding* Encoding) {
  IFunCall Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFunCall(); });
  return Result;
}

std::string TInferenceEngine::ParseFullName(const std::string& AString, std::string& Module, TEncoding* Encoding) {
  std::string Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFullName(Module); });
  return Result;
}

IFactTemplate TInferenceEngine::ParseFactTemplate(const std::string& AString, TEncoding* Encoding) {
  IFactTemplate Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFactTemplate(); });
  return Result;
}

IFactSlot TInferenceEngine::ParseFactTemplateSlot(const std::string& AString, TEncoding* Encoding) {
  IFactSlot Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFactTemplateSlot(); });
  return Result;
}

IUserFunction TInferenceEngine::ParseFunction(const std::string& AString, TEncoding* Encoding) {
  IUserFunction Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseFunction(); });
  return Result;
}

bool TInferenceEngine::ParseGlobalVariables(const std::string& AString, TEncoding* Encoding) {
  bool Result = false;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseGlobalVariables(); });
  return Result;
}

IKBValue TInferenceEngine::ParseVariable(const std::string& AString, std::string& Name, TEncoding* Encoding) {
  IKBValue Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseVariable(Name); });
  return Result;
}

IValueVector TInferenceEngine::ParseList(const std::string& AString, TEncoding* Encoding) {
  IValueVector Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseList(); });
  return Result;
}

IKBValue TInferenceEngine::ParseNExecuteFunCall(const std::string& AString, TEncoding* Encoding) {
  IKBValue Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseNExecuteFunCall(); });
  return Result;
}

IModule TInferenceEngine::ParseModule(const std::string& AString, TEncoding* Encoding) {
  IModule Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseModule(); });
  return Result;
}

std::unique_ptr<TRule> TInferenceEngine::ParseRule(const std::string& AString, TEncoding* Encoding) {
  std::unique_ptr<TRule> Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseRule(); });
  return Result;
}

void TInferenceEngine::ParseRulePatterns(const std::string& AString, TRule* Rule, TRuleVariables& Variables,
                                         TEncoding* Encoding) {
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Parser.ParseRulePatterns(Rule, Variables); });
}

void TInferenceEngine::ParseRuleActions(const std::string& AString, TRule* Rule, TRuleVariables& Variables,
                                        TEncoding* Encoding) {
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Parser.ParseRuleActions(Rule, Variables); });
}

IKBValue TInferenceEngine::ParseValue(const std::string& AString, TEncoding* Encoding) {
  IKBValue Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseValue(); });
  return Result;
}

IKBValue TInferenceEngine::ParseValue(const std::string& AString, const IFactSlot& Slot, TEncoding* Encoding) {
  IKBValue Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseValue(Slot); });
  return Result;
}

IKBValue TInferenceEngine::ParseValue(const std::string& AString, TKBTypes Types, const IKBDefinedType& DefinedType,
                                      TEncoding* Encoding) {
  IKBValue Result;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Result = Parser.ParseValue(Types, DefinedType); });
  return Result;
}

// ---------------------------------------------------------------- parse events

TParseEvent TInferenceEngine::GetOnParse() const {
  return FParser ? FParser->OnParse : nullptr;
}
void TInferenceEngine::SetOnParse(TParseEvent Value) {
  if (FParser) FParser->OnParse = std::move(Value);
}
TParseDefinedTypeEvent TInferenceEngine::GetOnParseDefinedType() const {
  return FParser ? FParser->OnParseDefinedType : nullptr;
}
void TInferenceEngine::SetOnParseDefinedType(TParseDefinedTypeEvent Value) {
  if (FParser) FParser->OnParseDefinedType = std::move(Value);
}
TParseFactEvent TInferenceEngine::GetOnParseFact() const {
  return FParser ? FParser->OnParseFact : nullptr;
}
void TInferenceEngine::SetOnParseFact(TParseFactEvent Value) {
  if (FParser) FParser->OnParseFact = std::move(Value);
}
TParseFactSetEvent TInferenceEngine::GetOnParseFactSet() const {
  return FParser ? FParser->OnParseFactSet : nullptr;
}
void TInferenceEngine::SetOnParseFactSet(TParseFactSetEvent Value) {
  if (FParser) FParser->OnParseFactSet = std::move(Value);
}
TParseFactTemplateEvent TInferenceEngine::GetOnParseFactTemplate() const {
  return FParser ? FParser->OnParseFactTemplate : nullptr;
}
void TInferenceEngine::SetOnParseFactTemplate(TParseFactTemplateEvent Value) {
  if (FParser) FParser->OnParseFactTemplate = std::move(Value);
}
TParseFunctionEvent TInferenceEngine::GetOnParseFunction() const {
  return FParser ? FParser->OnParseFunction : nullptr;
}
void TInferenceEngine::SetOnParseFunction(TParseFunctionEvent Value) {
  if (FParser) FParser->OnParseFunction = std::move(Value);
}
TParseFunCallEvent TInferenceEngine::GetOnParseFunCall() const {
  return FParser ? FParser->OnParseFunCall : nullptr;
}
void TInferenceEngine::SetOnParseFunCall(TParseFunCallEvent Value) {
  if (FParser) FParser->OnParseFunCall = std::move(Value);
}
TParseFuzzySetEvent TInferenceEngine::GetOnParseFuzzySet() const {
  return FParser ? FParser->OnParseFuzzySet : nullptr;
}
void TInferenceEngine::SetOnParseFuzzySet(TParseFuzzySetEvent Value) {
  if (FParser) FParser->OnParseFuzzySet = std::move(Value);
}
TParseFuzzyVariableEvent TInferenceEngine::GetOnParseFuzzyVariable() const {
  return FParser ? FParser->OnParseFuzzyVariable : nullptr;
}
void TInferenceEngine::SetOnParseFuzzyVariable(TParseFuzzyVariableEvent Value) {
  if (FParser) FParser->OnParseFuzzyVariable = std::move(Value);
}
TParseSingletonsEvent TInferenceEngine::GetOnParseSingletons() const {
  return FParser ? FParser->OnParseSingletons : nullptr;
}
void TInferenceEngine::SetOnParseSingletons(TParseSingletonsEvent Value) {
  if (FParser) FParser->OnParseSingletons = std::move(Value);
}
TParseVariableEvent TInferenceEngine::GetOnParseVariable() const {
  return FParser ? FParser->OnParseVariable : nullptr;
}
void TInferenceEngine::SetOnParseVariable(TParseVariableEvent Value) {
  if (FParser) FParser->OnParseVariable = std::move(Value);
}
TParsePatternEvent TInferenceEngine::GetOnParsePattern() const {
  return FParser ? FParser->OnParsePattern : nullptr;
}
void TInferenceEngine::SetOnParsePattern(TParsePatternEvent Value) {
  if (FParser) FParser->OnParsePattern = std::move(Value);
}
TParseModuleEvent TInferenceEngine::GetOnParseModule() const {
  return FParser ? FParser->OnParseModule : nullptr;
}
void TInferenceEngine::SetOnParseModule(TParseModuleEvent Value) {
  if (FParser) FParser->OnParseModule = std::move(Value);
}
TParseRuleEvent TInferenceEngine::GetOnParseRule() const {
  return FParser ? FParser->OnParseRule : nullptr;
}
void TInferenceEngine::SetOnParseRule(TParseRuleEvent Value) {
  if (FParser) FParser->OnParseRule = std::move(Value);
}

}  // namespace cogent
