// The grammar of fuzzy knowledge: singleton point lists, the terms of a fuzzy
// variable and the clauses of a fuzzy deftype, and the first step of turning
// what was read into fuzzy sets.

#include <array>
#include <string>
#include <string_view>

#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent {

namespace {

bool Is(const IStreamToken& Token, char Punctuation) { return Token->GetDataType() == Punctuation; }

// The functions that shape a set from its corners.
constexpr std::array<std::string_view, 5> ShapeFunctions{"s", "z", "tri", "pi", "beta"};

bool IsShapeFunction(std::string_view Name) {
  for (const std::string_view Shape : ShapeFunctions)
    if (Name == Shape) return true;
  return false;
}

// A list whose items are all sets: terms side by side, evaluated.
bool AllFuzzy(const IKBValue& Value) {
  const IValueVector List = Value->GetAsList();
  if (!List) return false;
  for (int I = 0; I < List->GetCount(); ++I)
    if (!List->Get(I) || List->Get(I)->GetDType() != dtFuzzy) return false;
  return true;
}

}  // namespace

// ---------------------------------------------------------------- terms as sets

IFuzzyParser* TKBRuleParser::GetFuzzyParser() const { return dynamic_cast<IFuzzyParser*>(GetOwner()); }

bool TKBRuleParser::AwaitsShapeFunction(const IKBValue& Value) const {
  if (!Value || Value->GetDType() != dtFunCall) return false;
  const IFunCall Call = Value->GetAsFunCall();
  return Call && IsShapeFunction(Call->GetName()) && !(FEngine && FEngine->ContainsUserFunction(Call->GetName()));
}

IKBValue TKBRuleParser::FuzzyTermValue(const IFuzzyVariable& Variable, const IKBValue& Value, TKBContext* Context) {
  if (!Value || !FEngine || AwaitsShapeFunction(Value)) return nullptr;
  const IKBValue Result = FEngine->EvalFuzzyExpression(Variable, Value, Context);
  if (!Result) return nullptr;
  if (Result->GetDType() == dtFuzzy || Result == FCNil || Result == FCNilList) return Result;
  if (Result->GetDType() == dtList && AllFuzzy(Result)) return Result;
  // What waits for a context stays as written: an expression in postfix
  // order would not read again as the same expression.
  return nullptr;
}

// ---------------------------------------------------------------- singletons

ISingletonsVector TKBRuleParser::ParseSingletons() {
  static const std::string Where = "ParseFuzzyPoints";
  TKBRuleStream& Tokens = Stream();
  const ISingletonsVector Result(new TSingletonsVector(dynamic_cast<ISingletonsParser*>(GetOwner())));
  if (!Is(Tokens.NextToken(), '(')) ParseError(Where, _SMissingOpenParens);

  // A number or a variable stands for itself, a call for its result later;
  // a multifield variable is no coordinate.
  const auto ReadCoordinate = [&]() -> IKBValue {
    const IStreamToken Token = Tokens.NextToken();
    IKBValue Result;
    switch (Token->GetDataType()) {
      case dtInteger:
      case dtFloat:
      case dtVariable:
        Result = Token->Value();
        break;
      case '(':
        Tokens.PutBackToken(Token);
        Result = IKBValue(new TKBValue(ParseFunCall()));
        break;
      default:
        ParseError(Where, _SExpectedNumVarFun);
    }
    return Result;
  };

  IStreamToken Token = Tokens.NextToken();
  while (Is(Token, '(')) {
    const IKBValue X = ReadCoordinate();
    const IKBValue Y = ReadCoordinate();
    Result->Add(X, Y);
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
    Token = Tokens.NextToken();
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseSingletons) OnParseSingletons(this, Result);
  return Result;
}

// ---------------------------------------------------------------- one term

IFuzzySet TKBRuleParser::ParseFuzzySet(const IFuzzyVariable& Variable) {
  static const std::string Where = "ParseFuzzySet";
  TKBRuleStream& Tokens = Stream();
  IKnowledgeBase& Target = Engine();
  std::string Name;
  std::string Comment;
  ParseHeader(Name, Comment, false, _SFuzzyTermKeyword, Where, _SExpectedFuzzySet);

  const IKBValue Read = ParseValue();
  if (!Read) ParseError(Where, _SMissingFuzzySetValues);
  // Calls and globals in a term are evaluated now, in the global context.
  IKBValue Value = AwaitsShapeFunction(Read) ? Read : Read->Resolve(Target.GetGlobalContext());
  if (!Value) ParseError(Where, _SMissingFuzzySetValues);
  if (Value->GetDType() != dtFuzzy) {
    const IKBValue Evaluated = FuzzyTermValue(Variable, Value, Target.GetGlobalContext());
    if (Evaluated) Value = Evaluated;
  }

  IFuzzySet Result;
  if (Value->GetDType() == dtFuzzy) {
    Result = Value->GetAsFuzzy();
    // A term built on an earlier one is a set of its own: renaming or
    // reshaping it must leave the earlier term as it is.
    if (Result && (Result->GetIsTerm() || (Variable && Variable->FindFuzzySet(Result->GetName()) == Result)))
      Result = Result->Clone();
    // A term made by an expression is written back as that expression.
    if (Result && Read->GetDType() == dtList && Result->GetFuzzySetType() == fstCustom)
      Result->SetExpression(TrimRight(Read->GetToString()));
  } else if (AwaitsShapeFunction(Value)) {
    // Kept as read until the shape functions are there to build its points.
    const Ref<TKBFuzzySet> Pending(new TKBFuzzySet(Variable, Name));
    Pending->SetDefinition(Value);
    Result = Pending;
  } else {
    // The conversion error of the value's kind.
    Result = Value->GetAsFuzzy();
  }
  if (!Result) ParseError(Where, _SMissingFuzzySetValues);

  Result->SetName(Name);
  Result->SetParser(GetFuzzyParser());
  if (Result->GetVariable() == nullptr && Variable) Result->SetVariable(Variable);
  if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseFuzzySet) OnParseFuzzySet(this, Result);
  return Result;
}

// ---------------------------------------------------------------- the body of a fuzzy deftype

IFuzzyVariable TKBRuleParser::ParseFuzzyVariable() {
  static const std::string Where = "ParseFuzzyVariable";
  static const std::string Keywords = "range, units, or values";
  TKBRuleStream& Tokens = Stream();
  const IFuzzyVariable Result(new TKBFuzzyVariable(std::string()));
  Result->SetParser(GetFuzzyParser());

  IStreamToken Token = Tokens.NextToken();
  while (!Is(Token, ')')) {
    const IStreamToken Keyword = Tokens.NextToken();
    if (!Is(Token, '(')) ParseError(Where, _SMissingOpenParens);
    if (Keyword->GetDataType() != dtAtom) ParseError(Where, _SExpectedKeyword, Keywords);
    // The clause keywords are case-sensitive.
    const std::string& Text = Keyword->GetText();
    if (Text == "range") {
      Tokens.PutBackToken(Keyword);
      Tokens.PutBackToken(Token);
      Token = ParseRangeAndCardinality(nullptr, Result, false, false);
    } else if (Text == "units") {
      const IStreamToken Units = Tokens.NextToken();
      if (Is(Units, ')') || Units->IsEOF()) ParseError(Where, _SExpectedValue);
      Result->SetUnits(Units->GetText().empty() ? Units->ToString() : Units->GetText());
      Token = Tokens.NextToken();
    } else if (Text == "values") {
      for (Token = Tokens.NextToken(); !Is(Token, ')'); Token = Tokens.NextToken()) {
        // The end of the text is no term, so the loop cannot outrun it.
        Tokens.PutBackToken(Token);
        const IFuzzySet Term = ParseFuzzySet(Result);
        // The variable's refusal (a term outside the universe) is said where
        // the term stands.
        try {
          Result->AddTerm(Term);
        } catch (const EFuzzyException& E) {
          ParseError(Where, std::string(E.what()));
        }
      }
    } else {
      ParseError(Where, _SExpectedKeyword, Keywords);
    }
    if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
    Token = Tokens.NextToken();
  }
  Tokens.PutBackToken(Token);
  if (OnParseFuzzyVariable) OnParseFuzzyVariable(this, Result);
  return Result;
}

}  // namespace cogent
