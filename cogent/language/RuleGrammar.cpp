// The grammar of defrule: the declarations, the conditional elements with
// their constraints, and the actions. The parser does no analysis of its
// own: constraints become slot tests on the pattern, and each finished
// pattern goes to the rule, which works out its bindings as it takes it in.
// The rule is held in an update while it is read, so that nothing of it
// reaches the engine before ParseExpression registers it whole.

#include <memory>
#include <string>

#include "cogent/facts/KBContext.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

bool Is(const IStreamToken& Token, char Punctuation) { return Token->GetDataType() == Punctuation; }
bool IsAtom(const IStreamToken& Token, const char* Text) {
  return Token->GetDataType() == dtAtom && Token->GetText() == Text;
}
bool IsVariableToken(const IStreamToken& Token) {
  return Token->GetDataType() == dtVariable || Token->GetDataType() == dtMultiVariable;
}

IKBValue ValueOf(const IFunCall& Call) { return IKBValue(new TKBValue(Call)); }

// Keeps a count of nesting for the length of one grammar operation.
class TNesting {
public:
  explicit TNesting(int& ADepth) : FDepth(++ADepth) {}
  TNesting(const TNesting&) = delete;
  TNesting& operator=(const TNesting&) = delete;
  ~TNesting() { --FDepth; }
  int Depth() const noexcept { return FDepth; }

private:
  int& FDepth;
};

}  // namespace

// ---------------------------------------------------------------- the rule

std::unique_ptr<TRule> TKBRuleParser::ParseRule() {
  static const std::string Where = "ParseRule";
  TKBRuleStream& Tokens = Stream();
  std::string Name;
  std::string Comment;
  std::string Module;
  IStreamToken Token = ParseHeader(Name, Comment, Module, true, "defrule", Where, _SExpectedDefRule);
  // The name is checked as the rule would check it on a rename; the rule is
  // made with its name in place, so that it never stands in a table under
  // another one.
  CheckKBName(Name);
  auto Rule = std::make_unique<TRule>(GetOwner(), Module, Name);
  Rule->BeginUpdate();
  try {
    Rule->SetComment(Comment);
    if (Is(Token, '(')) {
      const IStreamToken Head = Tokens.NextToken();
      if (IsAtom(Head, "declare"))
        Token = ParseRuleDeclaration(Rule.get());
      else
        Tokens.PutBackToken(Head);
    }
    // The variables live as long as the rule is read; an error frees them
    // with it, so nothing of a failed rule is left registered anywhere.
    TRuleVariables Variables;
    Tokens.PutBackToken(Token);
    ParseRulePatterns(Rule.get(), Variables);
    // "=>" is two tokens, so a blank may stand between them.
    if (!Is(Tokens.NextToken(), '=') || !IsAtom(Tokens.NextToken(), ">")) ParseError(Where, _SExpectedEqGT);
    ParseRuleActions(Rule.get(), Variables);
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
    // A redefinition of what the rule depends on compiles the rule again
    // from the text it was read from.
    Rule->SetSource(Tokens.GetExpressionSource());
    if (OnParseRule) OnParseRule(this, Rule.get());
  } catch (...) {
    Rule->EndUpdate();
    throw;
  }
  Rule->EndUpdate();
  return Rule;
}

IStreamToken TKBRuleParser::ParseRuleDeclaration(TRule* Rule) {
  static const std::string Where = "ParseRule";
  TKBRuleStream& Tokens = Stream();
  IStreamToken Token = Tokens.NextToken();
  while (Is(Token, '(')) {
    const IStreamToken Property = Tokens.NextToken();
    const bool Salience = IsAtom(Property, "salience");
    const bool AutoFocus = IsAtom(Property, "auto-focus");
    const bool OneShot = IsAtom(Property, "oneshot");
    const bool Enabled = IsAtom(Property, "enabled");
    if (!Salience && !AutoFocus && !OneShot && !Enabled) ParseError(Where, _SExpectedRuleProperty);
    const IStreamToken Argument = Tokens.NextToken();
    const std::int32_t Kind = Argument->GetDataType();
    if (Salience) {
      // Kept as written; the rule evaluates it, now and whenever asked.
      if (Kind == dtInteger || Kind == dtVariable) {
        Rule->SetSalience(Argument->Value());
      } else if (Kind == '(') {
        Tokens.PutBackToken(Argument);
        Rule->SetSalience(ValueOf(ParseFunCall()));
      } else {
        ParseError(Where, _SExpectedIntVarFun, std::string("salience"));
      }
    } else {
      // The switches are settled now: a call runs during parsing, and only
      // TRUE turns a switch on.
      IKBValue Value;
      if (Kind == '(') {
        Tokens.PutBackToken(Argument);
        Value = ParseNExecuteFunCall();
      } else {
        Value = Argument->Value();
      }
      const bool Flag = Value && Value->Equals(FCTrue);
      if (OneShot)
        Rule->SetOneShot(Flag);
      else if (AutoFocus)
        Rule->SetAutoFocus(Flag);
      else
        Rule->SetEnabled(Flag);
    }
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
    Token = Tokens.NextToken();
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  return Tokens.NextToken();
}

// ---------------------------------------------------------------- the left-hand side

void TKBRuleParser::ParseRulePatterns(TRule* Rule, TRuleVariables& Variables) {
  static const std::string Where = "ParseRulePatterns";
  TKBRuleStream& Tokens = Stream();
  if (Rule == nullptr) throw EKBException(_SMissingRule);
  IStreamToken Token = Tokens.NextToken();
  while (Is(Token, '(') || Token->GetDataType() == dtVariable) {
    std::string BoundName;
    if (Token->GetDataType() == dtVariable) {
      BoundName = Token->GetText();
      if (!IsAtom(Tokens.NextToken(), "<-")) ParseError(Where, _SExpectedAssignment);
    } else {
      Tokens.PutBackToken(Token);
    }
    std::unique_ptr<TKBPattern> Pattern = ParsePattern(0, Variables);
    // A test element puts no fact in the token, so there is nothing to bind.
    if (!BoundName.empty() && (Pattern->GetNegatedCount() != 0 || Pattern->GetName() == STestCE))
      ParseError(Where, _SInvalidTestBinding);
    Pattern->SetBoundName(BoundName);
    // The rule works the pattern out as it enters, before the next is read;
    // its errors pass as they are.
    Rule->GetPatterns()->Add(std::move(Pattern));
    Token = Tokens.NextToken();
  }
  Tokens.PutBackToken(Token);
}

std::unique_ptr<TKBPattern> TKBRuleParser::ParsePattern(std::int32_t NegatedCount, TRuleVariables& Variables) {
  static const std::string Where = "ParsePattern";
  TKBRuleStream& Tokens = Stream();
  // Elements nest by recursion: text nested without end must end in an
  // error, not in a stack overflow.
  const TNesting Nesting(FCallDepth);
  if (Nesting.Depth() > MaxCallNesting)
    ParseError(Where,
               Format(_SSyntaxError, Format("conditional elements nested more than %d deep", MaxCallNesting)));
  const IStreamToken Open = Tokens.NextToken();
  const IStreamToken Head = Tokens.NextToken();
  if (!Is(Open, '(') || Head->GetDataType() != dtAtom) ParseError(Where, _SExpectedAtom);
  const std::string Comment = Trim(Open->GetWhitespace());
  const std::string& Name = Head->GetText();

  std::unique_ptr<TKBPattern> Result;
  // Each wrapper takes exactly one element.
  const auto Wrapped = [&](std::int32_t Count) {
    Result = ParsePattern(Count, Variables);
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
  };
  if (Name == "not") {
    Wrapped(NegatedCount + 1);
  } else if (Name == "unique") {
    Wrapped(NegatedCount);
    Result->SetUnique(true);
  } else if (Name == "exists") {
    Wrapped(NegatedCount + 2);
  } else if (Name == "explicit") {
    Wrapped(NegatedCount);
    Result->SetExplicit(true);
  } else if (Name == STestCE) {
    Result = ParseTestElement(NegatedCount);
  } else {
    Result = ParseFactPattern(Name, NegatedCount, Variables);
  }
  // The outermost comment wins: it is set last.
  Result->SetComment(Comment);
  return Result;
}

std::unique_ptr<TKBPattern> TKBRuleParser::ParseTestElement(std::int32_t NegatedCount) {
  static const std::string Where = "ParsePattern";
  TKBRuleStream& Tokens = Stream();
  // The test stays a positive element: not only inverts its test.
  auto Result = std::make_unique<TKBPattern>(nullptr, STestCE, Engine().CreateFactTemplate(STestCE), 0);
  const IFunCall Call = ParseFunCall();
  Result->AddTest(SDefaultSlotName, ValueOf(Call), NoSubIndex, (NegatedCount & 1) != 0, true);
  if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
  return Result;
}

std::unique_ptr<TKBPattern> TKBRuleParser::ParseFactPattern(const std::string& Name, std::int32_t NegatedCount,
                                                            TRuleVariables& Variables) {
  static const std::string Where = "ParsePattern";
  TKBRuleStream& Tokens = Stream();
  // An unknown relation makes an ordered template, which stays even if the
  // rule fails.
  const IFactTemplate Template = Engine().CreateFactTemplate(Name);
  const bool Ordered = Template->ContainsSlot(SDefaultSlotName);
  auto Result = std::make_unique<TKBPattern>(nullptr, Name, Template, NegatedCount);
  IStreamToken Token = Tokens.NextToken();
  while (Ordered || Is(Token, '(')) {
    std::string SlotName = SDefaultSlotName;
    if (!Ordered) {
      const IStreamToken SlotToken = Tokens.NextToken();
      if (SlotToken->GetDataType() != dtAtom) ParseError(Where, _SBadSlotName, SlotToken->ToString());
      SlotName = SlotToken->GetText();
      Token = Tokens.NextToken();
    }
    const IFactSlot Slot = Template->GetSlot(SlotName);
    const TKBTypes Types = Slot->GetSlotType();
    const IKBDefinedType SlotType = Slot->GetExtendedTypeInfo();
    TSlotPosition Position{Result.get(),
                           SlotName,
                           Types.Contains(dtMultiSlot),
                           Types.Contains(dtFuzzy),
                           SlotType ? SlotType->GetFuzzyType() : nullptr,
                           NoSubIndex,
                           true};
    if (Position.MultiSlot) Position.SubIndex = 0;
    while (!Is(Token, ')')) {
      ParseConstraintTerm(Token, Position, Variables);
      Token = Tokens.NextToken();
      if (Is(Token, '&')) {
        // "&" leaves the conjunction as "|" may have left it.
        Token = Tokens.NextToken();
      } else if (Is(Token, '|')) {
        Position.Conjunction = false;
        Token = Tokens.NextToken();
      } else if (!Position.MultiSlot && !Is(Token, ')')) {
        ParseError(Where, _SNotMultiSlot, SlotName);
      } else {
        ++Position.SubIndex;
        Position.Conjunction = true;
      }
    }
    // A multislot is matched by its length: as many positions as written.
    if (Position.MultiSlot) Result->SetSlotLength(Result->IndexOfSlotName(SlotName), Position.SubIndex);
    if (Ordered) break;
    Token = Tokens.NextToken();
  }
  // Only ")" closes the pattern; a stray word behind the last slot would
  // otherwise surface as a puzzling error much later.
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParsePattern) OnParsePattern(this, Result.get());
  return Result;
}

void TKBRuleParser::ParseConstraintTerm(IStreamToken Token, TSlotPosition& Position, TRuleVariables& Variables) {
  static const std::string Where = "ParsePattern";
  TKBRuleStream& Tokens = Stream();
  TKBPattern& Pattern = *Position.Pattern;
  const bool Negated = Is(Token, '~');
  if (Negated) Token = Tokens.NextToken();
  const std::int32_t Kind = Token->GetDataType();

  if (Position.Fuzzy && !IsVariableToken(Token)) {
    IKBValue Value;
    if (Kind == dtAtom && Token->GetText() == ":") {
      Value = ValueOf(ParseFunCall());
    } else {
      Tokens.PutBackToken(Token);
      const IKBValue Read = ParseValue();
      if (!Read) ParseError(Where, _SBadSlotValue, Token->ToString());
      // A fuzzy expression is evaluated against the slot's fuzzy variable;
      // one that waits for the expression evaluator or a shape function
      // stands as read.
      TKBContext* Global = Engine().GetGlobalContext();
      Value = AwaitsShapeFunction(Read) ? Read : Read->Resolve(Global);
      if (Value && Value->GetDType() != dtFuzzy) {
        if (const IKBValue Evaluated = FuzzyTermValue(Position.FuzzyVariable, Value, Global)) Value = Evaluated;
      }
    }
    Pattern.AddTest(Position.SlotName, Value, Position.SubIndex, Negated, Position.Conjunction);
    return;
  }

  IKBValue Value;
  if (IsVariableToken(Token)) {
    // The first use of a name fixes its kind for the whole rule.
    const std::string& Name = Token->GetText();
    std::int32_t FirstKind = Kind;
    if (!Variables.TryGetValue(Name, FirstKind)) {
      FirstKind = Kind;
      Variables.Add(Name, Kind);
    }
    // "?:" reads as the ":" of a predicate, once its name is in the table.
    if (Name == ":")
      Value = ValueOf(ParseFunCall());
    else
      Value = IKBValue(new TKBValue(Name, static_cast<TKBType>(FirstKind)));
  } else if (Kind == dtAtom && Token->GetText() == ":") {
    Value = ValueOf(ParseFunCall());
  } else if (Kind == dtAtom || Kind == dtString || Kind == dtInteger || Kind == dtFloat) {
    Value = Token->Value();
  } else if (Kind == '=') {
    // "=(expr)" binds a hidden variable and tests it by value against the
    // expression; "~" applies to the comparison only.
    const IFunCall Expression = ParseFunCall();
    const IKBValue Hidden(
        new TKBValue(GenerateSymbol(SEqStarPrefix), Position.MultiSlot ? dtMultiVariable : dtVariable));
    Pattern.AddTest(Position.SlotName, Hidden, Position.SubIndex, false, Position.Conjunction);
    const IFunCall Compare(new TFunctionCall(FEngine, "eq*"));
    Compare->AddArgument(Hidden->Clone());
    Compare->AddArgument(Expression);
    Value = ValueOf(Compare);
  } else {
    ParseError(Where, _SBadSlotValue, Token->ToString());
  }
  Pattern.AddTest(Position.SlotName, Value, Position.SubIndex, Negated, Position.Conjunction);
}

// ---------------------------------------------------------------- the right-hand side

void TKBRuleParser::ParseRuleActions(TRule* Rule, TRuleVariables& /*Variables*/) {
  TKBRuleStream& Tokens = Stream();
  if (Rule == nullptr) throw EKBException(_SMissingRule);
  IStreamToken Token = Tokens.NextToken();
  // Only calls are actions; anything else ends the list, and the caller
  // finds it in place of the closing parenthesis.
  while (Is(Token, '(')) {
    Tokens.PutBackToken(Token);
    Rule->GetActions()->Add(ParseFunCall());
    Token = Tokens.NextToken();
  }
  Tokens.PutBackToken(Token);
}

}  // namespace cogent
