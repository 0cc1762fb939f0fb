// The grammar every construct shares: names, free and typed values, lists,
// facts with their slots, function calls, slot pairs and global variables.
// Recursive descent straight over the tokens: each operation builds the
// final object and leaves the stream on the token after what it read.

#include <string>

#include "cogent/common/VXCommon.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

bool IsEnd(const IStreamToken& Token) { return Token->GetDataType() == ')' || Token->IsEOF(); }

IKBValue ValueOf(const IFunCall& Call) { return IKBValue(new TKBValue(Call)); }

}  // namespace

// ---------------------------------------------------------------- names

std::string TKBRuleParser::ParseFullName(std::string& Module) {
  const IStreamToken Token = Stream().NextToken();
  if (Token->GetDataType() != dtAtom) ParseError("ParseFullName", _SMissingName);
  const std::string& Text = Token->GetText();
  const std::size_t Colons = Text.find("::");
  if (Colons == std::string::npos) {
    Module.clear();
    return Text;
  }
  const std::string Qualifier = Text.substr(0, Colons);
  IKnowledgeBase& Target = Engine();
  const IModule Current = Target.GetCurrentModule();
  if (!(Current && Current->GetName() == Qualifier)) {
    const TModules* Modules = Target.GetModules();
    if (Modules == nullptr || Modules->IndexOf(Qualifier) < 0) ParseError("ParseFullName", _SNoSuchModule, Qualifier);
  }
  Module = Qualifier;
  return Text.substr(Colons + 2);
}

// ---------------------------------------------------------------- free values

IKBValue TKBRuleParser::ParseValue() {
  TKBRuleStream& Tokens = Stream();
  IKBValue Result;
  IValueVector List;
  for (;;) {
    const IStreamToken Token = Tokens.NextToken();
    const std::int32_t Kind = Token->GetDataType();
    if (IsEnd(Token)) {
      Tokens.PutBackToken(Token);
      break;
    }
    IKBValue Item;
    if (IsWordOrNumber(Kind)) {
      Item = Token->Value();
    } else if (Kind == '[' || Kind == ']') {
      Item = IKBValue(new TKBValue(Token->GetText(), dtAtom));
    } else if (Kind == '(') {
      const IStreamToken Next = Tokens.NextToken();
      Tokens.PutBackToken(Next);
      Tokens.PutBackToken(Token);
      if (Next->GetDataType() == '(')
        Item = IKBValue(new TKBValue(ParseSingletons()));
      else
        Item = ValueOf(ParseFunCall());
    } else if (List) {
      // Whatever cannot be an item ends a list.
      Tokens.PutBackToken(Token);
      break;
    } else {
      ParseError("ParseValue", _SBadArgument, Token->ToString());
    }
    if (!Result) {
      Result = Item;
    } else {
      if (!List) {
        List = IValueVector(new TValueVector());
        List->Add(Result);
        Result = IKBValue(new TKBValue(List));
      }
      List->Add(Item);
    }
  }
  return Result;
}

// ---------------------------------------------------------------- lists

IValueVector TKBRuleParser::ParseList() {
  TKBRuleStream& Tokens = Stream();
  IValueVector Result(new TValueVector());
  for (;;) {
    const IStreamToken Token = Tokens.NextToken();
    const std::int32_t Kind = Token->GetDataType();
    if (IsEnd(Token)) {
      Tokens.PutBackToken(Token);
      break;
    }
    if (IsWordOrNumber(Kind)) {
      Result->Add(Token->Value());
    } else if (Kind == '[' || Kind == ']') {
      Result->Add(IKBValue(new TKBValue(Token->GetText(), dtAtom)));
    } else if (Kind == '(') {
      const IStreamToken Next = Tokens.NextToken();
      Tokens.PutBackToken(Next);
      Tokens.PutBackToken(Token);
      if (Next->GetDataType() == '(')
        Result->Add(IKBValue(new TKBValue(ParseSingletons())));
      else
        Result->Add(ValueOf(ParseFunCall()));
    } else if (Kind == '=') {
      // "=" only marks a call whose result is the item.
      const IStreamToken Next = Tokens.NextToken();
      if (Next->GetDataType() != '(') ParseError("ParseList", _SAtomNotEquals);
      Tokens.PutBackToken(Next);
      Result->Add(ValueOf(ParseFunCall()));
    } else {
      ParseError("ParseList", _SBadSlotValue, Token->ToString());
    }
  }
  return Result;
}

IValueVector TKBRuleParser::ParseValuePair() {
  TKBRuleStream& Tokens = Stream();
  IValueVector Result(new TValueVector());
  const IStreamToken Open = Tokens.NextToken();
  if (Open->GetDataType() != '(') ParseError("ParseValuePair", _SExpectedAtom);
  const IStreamToken Name = Tokens.NextToken();
  if (Name->GetDataType() != dtAtom) ParseError("ParseValuePair", _SExpectedAtom);
  Result->Add(IKBValue(new TKBValue(Name->GetText(), dtAtom)));
  const IKBValue Value = ParseValue();
  if (!Value) ParseError("ParseValuePair", _SExpectedValue);
  Result->Add(Value);
  if (Tokens.NextToken()->GetDataType() != ')') ParseError("ParseValuePair", _SMissingCloseParens);
  return Result;
}

// ---------------------------------------------------------------- typed values

IKBValue TKBRuleParser::ParseValue(TKBTypes Types, const IKBDefinedType& DefinedType) {
  static const std::string Where = "ParseValue(SlotTypes)";
  TKBRuleStream& Tokens = Stream();
  // A fuzzy value becomes a set of the type's variable where it can be made
  // one now; an expression that waits for its evaluation stays as read.
  const auto FuzzyExpression = [&](const IKBValue& Value) -> IKBValue {
    if (!Value) return Value;
    const IKBValue Evaluated = FuzzyTermValue(DefinedType->GetFuzzyType(), Value, nullptr);
    return Evaluated ? Evaluated : Value;
  };
  IKBValue Result;
  if (Types.Contains(dtMultiSlot)) {
    Result = IKBValue(new TKBValue(ParseList()));
    if (GetTypeCheck() && Types.Contains(dtFuzzy)) {
      if (!DefinedType) ParseError(Where, _SNeedFuzzyType);
      const IKBValue Evaluated = FuzzyExpression(Result);
      if (!Evaluated || Evaluated->Equals(FCNil)) ParseError(Where, _SInvalidFuzzyExpression, Result->GetToString());
      if (Evaluated->GetDType() == dtList) {
        Result = Evaluated;
      } else {
        IValueVector Single(new TValueVector());
        Single->Add(Evaluated);
        Result = IKBValue(new TKBValue(Single));
      }
    }
  } else if (Types.Contains(dtFuzzy)) {
    if (!DefinedType) ParseError(Where, _SNeedFuzzyType);
    Result = FuzzyExpression(ParseValue());
  } else {
    const IStreamToken Token = Tokens.NextToken();
    const std::int32_t Kind = Token->GetDataType();
    if (IsWordOrNumber(Kind)) {
      Result = Token->Value();
    } else if (Kind == '(') {
      Tokens.PutBackToken(Token);
      Result = ValueOf(ParseFunCall());
    } else if (Kind == '=') {
      const IStreamToken Next = Tokens.NextToken();
      if (Next->GetDataType() != '(') ParseError(Where, _SAtomNotEquals);
      Tokens.PutBackToken(Next);
      Result = ValueOf(ParseFunCall());
    } else {
      ParseError(Where, _SBadSlotValue, Token->ToString());
    }
  }

  if (!GetTypeCheck() || !Result) return Result;
  const TKBType Kind = Result->GetDType();
  if (KBAlwaysValidTypes.Contains(Kind)) return Result;
  if (DefinedType) {
    if (!DefinedType->IsValid(Result)) ParseError(Where, DefinedType->GetInvalidValueString(Result));
    return Result;
  }
  if (Types.Contains(Kind)) return Result;
  // Numbers cross to the kind the slot takes; the value is fresh from its
  // token, so changing it in place touches nobody else.
  if (Kind == dtFloat && Types.Contains(dtInteger)) {
    Result->SetAsInteger(static_cast<std::int32_t>(Result->GetAsFloat()));
  } else if (Kind == dtInteger && Types.Contains(dtFloat)) {
    Result->SetAsFloat(Result->GetAsInteger());
  } else {
    const std::string Reason = Format(_SNotCorrectType, VXUpperCase(SetToString(Types, ", ", false)),
                                      Result->GetToString(), GetKBTypeName(Kind));
    ParseError(Where, _SInvalidSlotValue, Reason, std::string("ParseValue"));
  }
  return Result;
}

IKBValue TKBRuleParser::ParseValue(const IFactSlot& Slot) {
  if (!Slot) return ParseValue();
  const IKBValue Result = ParseValue(Slot->GetSlotType(), Slot->GetExtendedTypeInfo());
  if (GetTypeCheck() && !Slot->IsValid(Result)) {
    if (Result->GetDType() == dtInteger && Slot->GetSlotType().Contains(dtFloat))
      Result->SetAsFloat(Result->GetAsInteger());
    else
      ParseError("ParseValue(Fact Slot)", Slot->GetInvalidValueString(Result));
  }
  return Result;
}

// ---------------------------------------------------------------- facts

IFact TKBRuleParser::ParseFact() {
  TKBRuleStream& Tokens = Stream();
  const IStreamToken Open = Tokens.NextToken();
  if (Open->GetDataType() != '(') ParseError("ParseFact", _SExpectedAtom);
  const IStreamToken Name = Tokens.NextToken();
  if (Name->GetDataType() != dtAtom) ParseError("ParseFact", _SExpectedAtom);
  IKnowledgeBase& Target = Engine();
  IFactTemplate Template;
  if (GetExplicitCreateTemplates()) {
    Template = Target.FindFactTemplate(Name->GetText());
    if (!Template) ParseError("ParseFact", _SUnknownFactTemplate, Name->GetText());
  } else {
    Template = Target.CreateFactTemplate(Name->GetText());
  }
  const IFact Fact(new TFact(Template));
  IStreamToken Token = Tokens.NextToken();
  while (Token->GetDataType() != ')') {
    ParseFactSlot(Fact);
    Token = Tokens.GetCurrentToken();
    // An ordered fact reads all its fields as one slot.
    if (Template->IsOrdered()) break;
  }
  if (Token->GetDataType() != ')') ParseError("ParseFact", _SMissingCloseParens);
  if (OnParseFact) OnParseFact(this, Fact);
  return Fact;
}

std::string TKBRuleParser::ParseFactSlot(const IFact& Fact) {
  TKBRuleStream& Tokens = Stream();
  const IFactTemplate Template = Fact ? Fact->GetTemplate() : nullptr;
  if (!Template) throw EKBException(_SNoTemplate);
  const IStreamToken Token = Tokens.GetCurrentToken();
  std::string SlotName;
  if (Template->IsOrdered()) {
    SlotName = SDefaultSlotName;
    Tokens.PutBackToken(Token);
  } else {
    if (Token->GetDataType() != '(') ParseError("ParseFactSlot", _SMissingOpenParens);
    const IStreamToken Name = Tokens.NextToken();
    if (Name->GetDataType() != dtAtom) ParseError("ParseFactSlot", _SBadSlotName, Name->ToString());
    SlotName = Name->GetText();
  }
  const IFactSlot Slot = Template->GetSlot(SlotName);
  Fact->SetValue(SlotName, ParseValue(Slot));
  if (Tokens.NextToken()->GetDataType() != ')') ParseError("ParseFactSlot", _SMissingCloseParens);
  // The ")" of an ordered fact's one slot closes the fact itself.
  if (!Template->IsOrdered()) Tokens.NextToken();
  return SlotName;
}

// ---------------------------------------------------------------- function calls

IFunCall TKBRuleParser::ParseFunCall() {
  TKBRuleStream& Tokens = Stream();
  struct TDepth {
    int& Depth;
    explicit TDepth(int& ADepth) : Depth(++ADepth) {}
    ~TDepth() { --Depth; }
  } Depth(FCallDepth);
  if (FCallDepth > MaxCallNesting)
    ParseError("ParseFunCall", Format(_SSyntaxError, Format("calls nested more than %d deep", MaxCallNesting)));
  const IStreamToken Open = Tokens.NextToken();
  if (Open->GetDataType() != '(') ParseError("ParseFunCall", _SMissingOpenParens);
  // Comments before a call travel with it.
  const std::string Comment = Trim(Open->GetWhitespace());

  const IStreamToken Head = Tokens.NextToken();
  std::string Name;
  IKBValue FirstArgument;
  switch (Head->GetDataType()) {
    case dtAtom:
    case '=':
      Name = Head->GetText();
      break;
    case dtVariable:
    case dtMultiVariable:
      Name = "__get-var";
      FirstArgument = Head->Value();
      break;
    default:
      ParseError("ParseFunCall", _SMissingName);
  }

  const int Entry = IndexOfSlotFunction(Name);
  const bool FactFunction = Entry >= 0 && GetSlotFunctionStart(Entry) == 0;
  const bool SlotFunction = Entry >= 0 && GetSlotFunctionStart(Entry) > 0;

  const IFunCall Call(new TFunctionCall(FEngine, Name));
  Call->SetComment(Comment);
  if (FirstArgument) Call->AddArgument(FirstArgument);
  for (IStreamToken Token = Tokens.NextToken(); Token->GetDataType() != ')'; Token = Tokens.NextToken()) {
    const std::int32_t Kind = Token->GetDataType();
    if (IsWordOrNumber(Kind)) {
      Call->AddArgument(Token->Value());
    } else if (Token->IsEOF()) {
      ParseError("ParseFunCall", _SUnexpectedEOF);
    } else if (Kind == '(') {
      const IStreamToken Next = Tokens.NextToken();
      Tokens.PutBackToken(Next);
      Tokens.PutBackToken(Token);
      const int Position = Call->GetArgumentCount() + 1;
      if (FactFunction) {
        Call->AddArgument(ParseFact());
      } else if (SlotFunction && GetSlotFunctionStart(Entry) <= Position && Position <= GetSlotFunctionEnd(Entry)) {
        Call->AddArgument(ParseValuePair());
      } else if (Next->GetDataType() == '(') {
        Call->AddArgument(IKBValue(new TKBValue(ParseSingletons())));
      } else {
        Call->AddArgument(ParseFunCall());
      }
    } else {
      // Punctuation is passed on as its character, for functions that read it.
      Call->AddArgument(std::string(1, static_cast<char>(Kind)), dtString);
    }
  }
  if (OnParseFunCall) OnParseFunCall(this, Call);
  return Call;
}

IKBValue TKBRuleParser::ParseNExecuteFunCall() {
  const IFunCall Call = ParseFunCall();
  if (!Call) return nullptr;
  return Call->Execute(Engine().GetGlobalContext());
}

// ---------------------------------------------------------------- global variables

IKBValue TKBRuleParser::ParseVariable(std::string& Name) {
  TKBRuleStream& Tokens = Stream();
  const IStreamToken Token = Tokens.NextToken();
  if (Token->GetDataType() != dtVariable) ParseError("ParseVariable", _SMissingName);
  const std::string& Text = Token->GetText();
  if (Text.size() < 2 || Text.front() != '*' || Text.back() != '*')
    ParseError("ParseVariable", _SBadVariableName, Text);
  Name = Text;
  if (Tokens.NextToken()->GetDataType() != '=') ParseError("ParseVariable", _SExpectedChar, std::string("="));
  const IStreamToken ValueToken = Tokens.NextToken();
  const std::int32_t Kind = ValueToken->GetDataType();
  IKBValue Value;
  if (Kind == '(') {
    Tokens.PutBackToken(ValueToken);
    Value = ValueOf(ParseFunCall());
  } else if (IsWordOrNumber(Kind)) {
    Value = ValueToken->Value();
  } else {
    // A ")" or the end here would otherwise be taken for the value.
    ParseError("ParseVariable", _SExpectedValue);
  }
  if (OnParseVariable) OnParseVariable(this, Name, Value);
  return Value;
}

}  // namespace cogent
