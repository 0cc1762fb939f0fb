// The frame of the rule parser: the loop over top-level constructs, their
// registration with the engine, error wording, collection and recovery.

#include <exception>

#include "cogent/engine/KBCollections.h"
#include "cogent/language/KBRuleParser.h"

namespace cogent {

namespace {

constexpr std::size_t LongExpression = 256;
constexpr std::size_t ExpressionEnd = 128;

// The line of the token last handed out; the stream's own line when even
// that cannot be had (a token that fails to read).
std::int32_t CurrentLine(TKBRuleStream& Stream) {
  try {
    return Stream.GetCurrentToken()->GetLineNumber();
  } catch (const EKBException&) {
    return Stream.GetLineNumber();
  }
}

}  // namespace

TKBRuleParser::TKBRuleParser(TComponent* AOwner, TGTextStream* AStream)
    : TKBParser(AOwner, nullptr), FEngine(KnowledgeBaseOf(AOwner)) {
  SetStream(AStream);
  AddSlotFunction("assert", 0, 0);
  AddSlotFunction("fuzzy-assert", 0, 0);
  AddSlotFunction("fuzzy-assert-unconditional", 0, 0);
  AddSlotFunction("modify", 1, 65535);
  AddSlotFunction("duplicate", 1, 65535);
}

void TKBRuleParser::Assign(TPersistent* Source) {
  TKBParser::Assign(Source);
  if (auto* Other = dynamic_cast<TKBRuleParser*>(Source)) SetSlotFunctions(Other->FSlotFunctions);
}

void TKBRuleParser::SetStream(TGTextStream* Value) {
  TKBParser::SetStream(Value);
  FRuleStream = dynamic_cast<TKBRuleStream*>(Value);
}

TKBRuleStream& TKBRuleParser::Stream() const {
  // Without a stream there is nothing to read.
  if (FRuleStream == nullptr) throw EKBParseException(_SUnexpectedEOF);
  return *FRuleStream;
}

IKnowledgeBase& TKBRuleParser::Engine() const {
  if (FEngine == nullptr) throw EKBException(_SUnknownEngine);
  return *FEngine;
}

// ---------------------------------------------------------------- slot functions

void TKBRuleParser::SetSlotFunctions(const TStringList<TSlotArgRecord>& Value) {
  if (&Value == &FSlotFunctions) return;
  FSlotFunctions.Clear();
  FSlotFunctions.AddStrings(Value);
}

void TKBRuleParser::AddSlotFunction(const std::string& Name, std::uint16_t Start, std::uint16_t End) {
  FSlotFunctions.AddObject(Name, nullptr, TSlotArgRecord{Start, End});
}

std::uint16_t TKBRuleParser::GetSlotFunctionEnd(int Index) const {
  const std::uint16_t End = FSlotFunctions.GetData(Index).End;
  return End == 0 ? 65535 : End;
}

// ---------------------------------------------------------------- small services

void TKBRuleParser::Clear() {
  if (auto* Tokenizer = dynamic_cast<TKBTokenizerStream*>(FStream)) Tokenizer->Clear();
}

std::string TKBRuleParser::GenerateSymbol(const std::string& Prefix) { return Engine().GenerateSymbol(Prefix); }

std::string TKBRuleParser::GenerateVarName(std::int32_t Index, const IFactTemplate&, const std::string& Prefix,
                                           const std::string& SlotName) {
  return Index > 0 ? Prefix + SlotName + IntToStr(Index) : Prefix + SlotName;
}

IKBValue TKBRuleParser::GenerateVariable(const TStrings* Used, const IFactTemplate& Template,
                                         const std::string& SlotName, bool Unique) {
  return GenerateVariable(Used, Template, Template ? Template->GetTemplateName() : std::string(), SlotName, Unique);
}

IKBValue TKBRuleParser::GenerateVariable(const TStrings* Used, const IFactTemplate& Template, const std::string& Prefix,
                                         const std::string& SlotName, bool Unique) {
  std::string Name = GenerateVarName(0, Template, Prefix, SlotName);
  if (Unique && Used != nullptr) {
    // Numbered names take the template's name, whatever the first one took.
    const std::string Numbered = Template ? Template->GetTemplateName() : Prefix;
    for (std::int32_t Index = 1; Used->IndexOf(Name) >= 0; ++Index)
      Name = GenerateVarName(Index, Template, Numbered, SlotName);
  }
  return IKBValue(new TKBValue(Name, dtVariable));
}

std::string TKBRuleParser::GetSyntaxStatement(const IUserFunction& Function) {
  if (!Function) return {};
  const std::string Arguments = Trim(Function->GetArgumentString());
  const std::string& Name = Function->GetFunctionName();
  return Format(RuleSyntaxFormat, Arguments.empty() ? Name : Name + " " + Arguments);
}

std::string TKBRuleParser::GetConstructName(TParsedType ParsedType) {
  switch (ParsedType) {
    case ptRule:
      return _SRuleKeyword;
    case ptFactSet:
      return _SFactSetKeyword;
    case ptFactTemplate:
      return _SFactTemplateKeyword;
    case ptFunction:
      return _SUserFunctionKeyword;
    case ptGlobals:
      return _SDefGlobalKeyword;
    case ptDefType:
      return _SDefinedTypeKeyword;
    case ptDefModule:
      return _SModuleKeyword;
    default:
      return {};
  }
}

TParsedType TKBRuleParser::GetConstructType(const IStreamToken& Token) {
  const std::int32_t Kind = Token->GetDataType();
  if (Kind == dtNone && Token->GetText() == "EOF") return ptEOF;
  switch (Kind) {
    case dtAtom:
    case dtInteger:
    case dtFloat:
    case dtVariable:
    case dtMultiVariable:
      return ptValue;
    case '(': {
      TKBRuleStream& Tokens = Stream();
      Tokens.PutBackToken(Token);
      const std::string Head = Tokens.Head();
      const TParsedType Found = FindConstructType(Head);
      if (Found != ptNone) return Found;
      return Head == "EOF" ? ptEOF : ptFunCall;
    }
    default:
      ParseError("GetConstructType", _SExpectedParenConstVar, Token->ToString());
  }
}

TParsedType TKBRuleParser::GetConstructType() {
  TKBRuleStream& Tokens = Stream();
  const IStreamToken Token = Tokens.NextToken();
  const TParsedType Result = GetConstructType(Token);
  // A '(' is back already.
  if (Token->GetDataType() != '(') Tokens.PutBackToken(Token);
  return Result;
}

// ---------------------------------------------------------------- errors

void TKBRuleParser::ParseError(const std::string& Where, const std::string& Message) {
  RaiseParseError(Where, Message);
}

void TKBRuleParser::RaiseParseError(const std::string& Where, const std::string& Message) const {
  std::int32_t Line = 0;
  std::string Text;
  if (FRuleStream != nullptr) {
    Line = CurrentLine(*FRuleStream);
    Text = FRuleStream->ToString();
  }
  // A long expression keeps its head and its tail, which say where it is.
  const std::size_t Length = UTF8Length(Text);
  if (Length >= LongExpression)
    Text =
        UTF8Copy(Text, 1, ExpressionEnd) + "... " + sLineBreak + UTF8Copy(Text, Length - ExpressionEnd, ExpressionEnd);
  throw EKBParseException(Format(_SParseError, Message, Where, IntToStr(Line), Text), Line);
}

// ---------------------------------------------------------------- the top-level loop

bool TKBRuleParser::Parse(bool Execute) {
  if (GetErrorHandling() == ehRaiseImmediate) {
    while (ParseExpression(Execute)) {
    }
    return true;
  }
  // Both are needed on every round; missing ones would only repeat the error.
  TKBRuleStream& Tokens = Stream();
  Engine();
  TStringList<> Errors;
  std::int32_t LastLine = 0;
  bool Recover = false;
  for (;;) {
    try {
      if (Recover) {
        Recover = false;
        Tokens.MoveToNextConstruct();
      }
      // Top-level calls run in this mode, whatever Execute says.
      if (!ParseExpression(true)) break;
      continue;
    } catch (const EAbort&) {
      break;
    } catch (const EKBParseException& E) {
      LastLine = E.GetLineNumber();
      Errors.Add(E.what());
    } catch (const std::exception& E) {
      LastLine = CurrentLine(Tokens);
      Errors.Add(Format(_SParseError, std::string(E.what()), "Parse", IntToStr(LastLine), Tokens.ToString()));
    }
    if (Errors.GetCount() > GetMaxErrors()) break;
    Recover = true;
  }
  const std::string Text = Errors.GetText();
  if (Errors.GetCount() == 1) throw EKBParseException(Text, LastLine);
  if (Errors.GetCount() > 1) throw EKBParseException(Format(_SMultipleParseError, Text), LastLine);
  return true;
}

bool TKBRuleParser::ParseExpression(bool Execute) {
  IKnowledgeBase& Target = Engine();
  const IStreamToken Token = Stream().NextToken();
  TParsedType Kind = GetConstructType(Token);
  IKBValue Value;
  TObject* Construct = nullptr;
  IInterface ConstructIntf;
  std::string Echo;
  // Constructs enter the engine only once read whole; until then the parse
  // operation, and here the holder, frees them when an error passes.
  switch (Kind) {
    case ptFunction: {
      const IUserFunction Function = ParseFunction();
      if (Function) {
        Target.GetUserFunctions()->Add(Function);
        Echo = Function->GetFunctionName();
      }
      ConstructIntf = Function;
      break;
    }
    case ptRule: {
      // A rule that does not compile stays out of the table and is freed
      // here, and with it whatever nodes it had made.
      std::unique_ptr<TRule> Rule = ParseRule();
      if (Rule) {
        Target.GetRules()->Add(Rule.get());
        Echo = IntToStr(Rule->GetID());
      }
      Construct = Rule.release();
      break;
    }
    case ptValue:
      Value = Token->Value(Target.GetGlobalContext());
      break;
    case ptFunCall:
      if (Execute) {
        Value = ParseNExecuteFunCall();
      } else if (const IFunCall Call = ParseFunCall()) {
        Value = IKBValue(new TKBValue(Call));
      }
      break;
    case ptFactSet: {
      std::unique_ptr<TFactSet> FactSet = ParseFactSet();
      if (FactSet) {
        FactSet->SetEngineNoParse(GetOwner());
        Target.GetFactSets()->Add(FactSet.get());
        Echo = IntToStr(FactSet->GetCount());
      }
      Construct = FactSet.release();
      break;
    }
    case ptFactTemplate: {
      const IFactTemplate Template = ParseFactTemplate();
      if (Template) {
        Target.GetFactTemplates()->Add(Template);
        Echo = Template->GetTemplateName();
      }
      ConstructIntf = Template;
      break;
    }
    case ptGlobals:
      ParseGlobalVariables();
      break;
    case ptDefType: {
      const IKBDefinedType DefinedType = ParseDefinedType();
      if (DefinedType) {
        Target.GetDefinedTypes()->Add(DefinedType);
        Echo = DefinedType->GetName();
      }
      ConstructIntf = DefinedType;
      break;
    }
    case ptDefModule: {
      IModule Module = ParseModule();
      if (Module && Module->IsMain() && Target.GetModules()->IndexOf(Module->GetName()) >= 0) {
        // The main module takes the new declaration and keeps its knowledge;
        // others import from it, and it imports nothing.
        const IModule Main = Target.GetModules()->GetModule(Module->GetName());
        Main->AssignModuleDefinition(Module);
        Module = Main;
      } else if (Module) {
        Target.AddModule(Module);
      }
      if (Module) {
        Target.SetCurrentModule(Module);
        Echo = Module->GetName();
      }
      ConstructIntf = Module;
      break;
    }
    case ptEOF:
      Value = FCEOF;
      break;
    case ptNone:
      break;
  }
  if (Kind == ptValue || Kind == ptFunCall) {
    if (!Value || Value->Equals(FCNil)) {
      Kind = ptNone;
    } else {
      Echo = Value->ToString();
      ConstructIntf = Value;
    }
  }
  if (GetEcho() && Kind != ptNone && Kind != ptGlobals && Kind != ptEOF) Target.PrintOut("", Echo + sLineBreak);
  if (OnParse) OnParse(this, Kind, Construct, ConstructIntf);
  return !(Value && Value->Equals(FCEOF));
}

bool TKBRuleParser::LoadFacts() {
  if (FEngine == nullptr) return false;
  TKBRuleStream& Tokens = Stream();
  for (IStreamToken Token = Tokens.NextToken(); !Token->IsEOF(); Token = Tokens.NextToken()) {
    Tokens.PutBackToken(Token);
    FEngine->Assert(ParseFact(), false);
  }
  return true;
}

}  // namespace cogent
