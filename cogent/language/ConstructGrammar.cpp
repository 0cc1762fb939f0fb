// The grammar of templates, their slots and defined types: construct
// headers, slot qualifiers, type names, ranges, cardinalities and allowed
// values. Constructs are built free of the engine; ParseExpression registers
// them once they are read whole.

#include <cmath>
#include <string>

#include "cogent/common/VXCommon.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

bool IsAtom(const IStreamToken& Token) { return Token->GetDataType() == dtAtom; }
bool Is(const IStreamToken& Token, char Punctuation) { return Token->GetDataType() == Punctuation; }

// The text a message quotes: numbers have none of their own.
std::string TextOf(const IStreamToken& Token) {
  return Token->GetText().empty() ? Token->ToString() : Token->GetText();
}

// Whether a construct of that kind already has Name in the current module
// (for modules and functions: in the engine).
bool NameTaken(const IKnowledgeBase& Engine, TParsedType Kind, const std::string& Name) {
  switch (Kind) {
    case ptFactTemplate:
      return Engine.GetFactTemplates() && Engine.GetFactTemplates()->ContainsKey(Name);
    case ptDefType:
      return Engine.GetDefinedTypes() && Engine.GetDefinedTypes()->ContainsKey(Name);
    case ptFactSet:
      return Engine.GetFactSets() && Engine.GetFactSets()->IndexOf(Name) >= 0;
    case ptRule:
      return Engine.GetRules() && Engine.GetRules()->ContainsKey(Name);
    case ptFunction:
      return Engine.GetUserFunctions() && Engine.GetUserFunctions()->ContainsKey(Name);
    case ptDefModule:
      return Engine.GetModules() && Engine.GetModules()->IndexOf(Name) >= 0;
    default:
      return false;
  }
}

// The module of that name, nil for none.
TModule* ModuleNamed(const IKnowledgeBase& Engine, const std::string& Name) {
  const TModules* Modules = Engine.GetModules();
  if (Modules == nullptr || Name.empty() || Modules->IndexOf(Name) < 0) return nullptr;
  return Modules->GetModule(Name).get();
}

// The type names and what each adds; "?VARIABLE" is handled apart.
struct TTypeKeyword {
  const char* Keyword;
  TKBTypes Types;
};
const TTypeKeyword TypeKeywords[] = {
    {STypeSymbolKeyword, TKBTypes{dtAtom}},
    {STypeAtomKeyword, TKBTypes{dtAtom}},
    {STypeStringKeyword, TKBTypes{dtString}},
    {STypeLexemeKeyword, TKBTypes{dtAtom, dtString}},
    {STypeIntegerKeyword, TKBTypes{dtInteger}},
    {STypeFloatKeyword, TKBTypes{dtFloat}},
    {STypeNumberKeyword, TKBTypes{dtInteger, dtFloat}},
    {STypeClassKeyword, TKBTypes{dtClass, dtInteger}},
    {STypeDescriptorKeyword, TKBTypes{dtDescriptor, dtInteger}},
    {STypeObjectKeyword, TKBTypes{dtObject, dtInteger}},
    {STypeExternalAddrKeyword, TKBTypes{dtExternalAddress, dtInteger}},
    {STypeFuzzyKeyword, TKBTypes{dtFuzzy}},
    {STypeFactIdKeyword, TKBTypes{dtFactId, dtInteger}},
    {STypeFactKeyword, TKBTypes{dtFact}},
};

// The allowed- clauses: the constraint kinds each puts in force and how an
// item is brought to them.
enum TItemConversion : std::uint8_t { icNone, icLexeme, icString, icAtom, icNumber, icInteger, icFloat };
struct TAllowedClause {
  const char* Keyword;
  TValueConstraints Kinds;
  TItemConversion Conversion;
};
const TAllowedClause AllowedClauses[] = {
    {"allowed-values", TValueConstraints{vcAtom, vcString, vcInteger, vcFloat}, icNone},
    {"allowed-lexemes", TValueConstraints{vcAtom, vcString}, icLexeme},
    {"allowed-strings", TValueConstraints{vcString}, icString},
    {"allowed-symbols", TValueConstraints{vcAtom}, icAtom},
    {"allowed-numbers", TValueConstraints{vcInteger, vcFloat}, icNumber},
    {"allowed-integers", TValueConstraints{vcInteger}, icInteger},
    {"allowed-floats", TValueConstraints{vcFloat}, icFloat},
};

// Items are converted into new values: the one read may be a shared constant
// (TRUE, nil) or a global's own value, which must not change.
IKBValue Converted(const IKBValue& Item, TItemConversion Conversion) {
  const TKBType Kind = Item->GetDType();
  switch (Conversion) {
    case icNone:
      return Item;
    case icLexeme:
      return Kind == dtAtom || Kind == dtString ? Item : IKBValue(new TKBValue(Item->GetAsString(), dtString));
    case icString:
      return IKBValue(new TKBValue(Item->GetAsString(), dtString));
    case icAtom:
      return IKBValue(new TKBValue(Item->GetAsAtom(), dtAtom));
    case icNumber:
      return Kind == dtInteger || Kind == dtFloat ? Item : IKBValue(new TKBValue(Item->GetAsInteger(), dtInteger));
    case icInteger:
      return IKBValue(new TKBValue(Item->GetAsInteger(), dtInteger));
    case icFloat:
      return IKBValue(new TKBValue(Item->GetAsFloat()));
  }
  return Item;
}

}  // namespace

// ---------------------------------------------------------------- headers

namespace {

// "(" Keyword, else the construct's own message.
void ReadKeyword(TKBRuleParser& Parser, TKBRuleStream& Tokens, const std::string& Keyword, const std::string& Where,
                 const std::string& Message) {
  const IStreamToken Open = Tokens.NextToken();
  if (!Is(Open, '(')) Parser.ParseError(Where, Message);
  const IStreamToken Word = Tokens.NextToken();
  if (!IsAtom(Word) || Word->GetText() != Keyword) Parser.ParseError(Where, Message);
}

// The comment, when asked for, and the first token behind the header;
// without a comment nothing more is read and the name's token comes back.
IStreamToken ReadComment(TKBRuleStream& Tokens, bool HasComment, std::string& Comment) {
  if (!HasComment) return Tokens.GetCurrentToken();
  IStreamToken Token = Tokens.NextToken();
  if (Token->GetDataType() == dtString) {
    Comment = Token->GetText();
    Token = Tokens.NextToken();
  }
  return Token;
}

}  // namespace

IStreamToken TKBRuleParser::ParseHeader(std::string& Name, std::string& Comment, std::string& Module, bool HasComment,
                                        const std::string& Keyword, const std::string& Where,
                                        const std::string& Message) {
  TKBRuleStream& Tokens = Stream();
  IKnowledgeBase& Target = Engine();
  Comment.clear();
  ReadKeyword(*this, Tokens, Keyword, Where, Message);
  Name = ParseFullName(Module);
  const IModule Current = Target.GetCurrentModule();
  if (!GetIgnoreModuleQualifier() && !Module.empty()) {
    // The switch outlives the construct: what follows goes there too.
    if (!Current || Current->GetName() != Module) Target.SetCurrentModule(Target.GetModules()->GetModule(Module));
  } else {
    Module = Current ? Current->GetName() : std::string();
  }
  if (GetAutoRenameCopy())
    while (NameTaken(Target, FindConstructType(Keyword), Name)) Name = RenameCopy(Name);
  return ReadComment(Tokens, HasComment, Comment);
}

IStreamToken TKBRuleParser::ParseHeader(std::string& Name, std::string& Comment, bool HasComment,
                                        const std::string& Keyword, const std::string& Where,
                                        const std::string& Message) {
  TKBRuleStream& Tokens = Stream();
  Comment.clear();
  ReadKeyword(*this, Tokens, Keyword, Where, Message);
  const IStreamToken Token = Tokens.NextToken();
  if (!IsAtom(Token)) ParseError(Where, _SMissingName);
  // "::" means nothing here: the name stands as written.
  Name = Token->GetText();
  if (GetAutoRenameCopy()) {
    const IKnowledgeBase& Target = Engine();
    while (NameTaken(Target, FindConstructType(Keyword), Name)) Name = RenameCopy(Name);
  }
  return ReadComment(Tokens, HasComment, Comment);
}

// ---------------------------------------------------------------- types, ranges and allowed values

TKBTypes TKBRuleParser::ParseSlotTypes(IKBDefinedType& DefinedType) {
  static const std::string Where = "ParseSlotTypes";
  TKBRuleStream& Tokens = Stream();
  DefinedType = nullptr;
  TKBTypes Types;
  IStreamToken Token = Tokens.NextToken();
  for (; !Is(Token, ')'); Token = Tokens.NextToken()) {
    const std::int32_t Kind = Token->GetDataType();
    // The end of the text is neither, so the loop cannot outrun it.
    if (Kind != dtAtom && Kind != dtVariable) ParseError(Where, _SInvalidSlotType, Token->ToString());
    const std::string Written = Token->ToString();
    if (Written == STypeVariableKeyword) {
      Types = KBSlotTypes;
      continue;
    }
    bool Known = false;
    for (const TTypeKeyword& Entry : TypeKeywords)
      if (Written == Entry.Keyword) {
        Types = Types + Entry.Types;
        Known = true;
        break;
      }
    if (Known) continue;
    const IKBValue Value = Token->Value()->Resolve(Engine().GetGlobalContext());
    const IKBDefinedType Found =
        Value && Value->GetDType() != dtList ? Engine().FindDefinedType(Value->GetAsString()) : nullptr;
    if (!Found) ParseError(Where, _SInvalidSlotType, Token->ToString());
    if (DefinedType) ParseError(Where, _SNoMultiTypeInheritance);
    Types = Types + Found->GetBaseTypes();
    DefinedType = Found;
  }
  Tokens.PutBackToken(Token);
  if (Types.Contains(dtFuzzy) && Types != TKBTypes{dtFuzzy}) ParseError(Where, _SCannotMixFuzzy);
  return Types;
}

IStreamToken TKBRuleParser::ParseRangeAndCardinality(const IKBDefinedType& DefinedType,
                                                      const IFuzzyVariable& FuzzyVariable, bool AllowVariables,
                                                      bool IsCardinality) {
  static const std::string Where = "ParseDefinedType";
  TKBRuleStream& Tokens = Stream();
  // Without a type the bounds are a fuzzy variable's universe.
  const bool Cardinality = IsCardinality && DefinedType;
  const std::string Clause = Cardinality ? "cardinality" : "range";

  if (!Is(Tokens.NextToken(), '(')) ParseError(Where, _SMissingOpenParens);
  const IStreamToken Word = Tokens.NextToken();
  if (!Cardinality && (!IsAtom(Word) || !SameText(Word->GetText(), "range"))) ParseError(Where, _SMissingRange);
  if (Cardinality && !IsAtom(Word)) ParseError(Where, _SExpectedKeyword, Clause);
  if (DefinedType) {
    if (Cardinality)
      DefinedType->SetCardinalityLimited(true);
    else
      DefinedType->SetRangeLimited(true);
  }

  // A bound: its value, or nil for "?VARIABLE", which leaves that end open.
  const auto ReadBound = [&]() -> IKBValue {
    const IStreamToken Token = Tokens.NextToken();
    IKBValue Result;
    switch (Token->GetDataType()) {
      case dtInteger:
      case dtFloat:
        return Token->Value();
      case dtVariable:
        if (!AllowVariables) ParseError(Where, _SExpectedValue);
        if (Token->ToString() == STypeVariableKeyword) return nullptr;
        Result = Token->Value()->Resolve(Engine().GetGlobalContext());
        break;
      case '(':
        Tokens.PutBackToken(Token);
        Result = ParseNExecuteFunCall();
        break;
      default:
        ParseError(Where, _SExpectedIntVarFun, Clause);
    }
    if (!Result) ParseError(Where, _SExpectedValue);
    return Result;
  };

  const IKBValue Low = ReadBound();
  const IKBValue High = ReadBound();
  if (Cardinality) {
    if (Low) DefinedType->SetMinCardinality(Low->GetAsInteger());
    if (High) DefinedType->SetMaxCardinality(High->GetAsInteger());
  } else if (DefinedType) {
    if (Low) DefinedType->SetMinRange(Low->GetAsNumeric());
    if (High) DefinedType->SetMaxRange(High->GetAsNumeric());
  } else if (FuzzyVariable && (Low || High)) {
    // Both ends at once: one end alone could cross the other's old place.
    const double LowEnd = Low ? Low->GetAsNumeric() : FuzzyVariable->GetUniverseLow();
    const double HighEnd = High ? High->GetAsNumeric() : FuzzyVariable->GetUniverseHigh();
    // An empty universe holds no term; said here, where its line is known.
    if (!(std::isfinite(LowEnd) && std::isfinite(HighEnd) && LowEnd < HighEnd)) ParseError(Where, _SInvalidLowHiLimits, LowEnd, HighEnd);
    try {
      FuzzyVariable->SetUniverse(LowEnd, HighEnd);
    } catch (const EFuzzyException& E) {
      // A universe that leaves out a term read before it.
      ParseError(Where, std::string(E.what()));
    }
  }

  const IStreamToken Close = Tokens.NextToken();
  if (!Is(Close, ')')) ParseError(Where, _SMissingCloseParens);
  return Close;
}

IStreamToken TKBRuleParser::ParseAllowedEnumerations(const IKBDefinedType& DefinedType) {
  static const std::string Where = "ParseDefinedType";
  TKBRuleStream& Tokens = Stream();
  if (!Is(Tokens.NextToken(), '(')) ParseError(Where, _SMissingOpenParens);
  const IStreamToken Word = Tokens.NextToken();
  const TAllowedClause* Clause = nullptr;
  if (IsAtom(Word))
    for (const TAllowedClause& Entry : AllowedClauses)
      if (SameText(Word->GetText(), Entry.Keyword)) {
        Clause = &Entry;
        break;
      }
  if (Clause == nullptr) ParseError(Where, _SMissingAllowedEnumeration, TextOf(Word));
  if (!DefinedType) ParseError(Where, _SSyntaxError, std::string("allowed values need a defined type"));
  DefinedType->SetConstraints(DefinedType->GetConstraints() + Clause->Kinds);

  IStreamToken Token = Tokens.NextToken();
  for (; !Is(Token, ')'); Token = Tokens.NextToken()) {
    // The end token would make an item of its own, again and again.
    if (Token->IsEOF()) ParseError(Where, _SMissingCloseParens);
    IKBValue Item;
    if (Is(Token, '(')) {
      Tokens.PutBackToken(Token);
      Item = ParseNExecuteFunCall();
    } else if (IsWordOrNumber(Token->GetDataType())) {
      Item = Token->Value()->Resolve(Engine().GetGlobalContext());
    } else {
      // Punctuation is no value to allow.
      ParseError(Where, _SBadArgument, Token->ToString());
    }
    if (!Item) ParseError(Where, _SExpectedValue);
    DefinedType->AddConstraint(Converted(Item, Clause->Conversion));
  }
  return Token;
}

// ---------------------------------------------------------------- templates

IFactTemplate TKBRuleParser::ParseFactTemplate() {
  static const std::string Where = "ParseFactTemplate";
  TKBRuleStream& Tokens = Stream();
  IKnowledgeBase& Target = Engine();
  std::string Name;
  std::string Comment;
  std::string Module;
  IStreamToken Token = ParseHeader(Name, Comment, Module, true, "deftemplate", Where, _SExpectedDefTemplate);

  std::string ParentName;
  IKBDefinedType IsA;
  if (IsAtom(Token)) {
    const std::string& Word = Token->GetText();
    if (Word == "extends") {
      const IStreamToken Parent = Tokens.NextToken();
      if (!IsAtom(Parent)) ParseError(Where, _SMissingParentTemplateName);
      ParentName = Parent->GetText();
    } else if (Word == "is-a") {
      const IStreamToken TypeName = Tokens.NextToken();
      if (!IsAtom(TypeName)) ParseError(Where, _SMissingIsaTypeName);
      IsA = Target.FindDefinedType(TypeName->GetText());
      if (!IsA) ParseError(Where, _SUnknownTypeName, TypeName->GetText());
    } else {
      ParseError(Where, _SExpectedExtends);
    }
    Token = Tokens.NextToken();
  }

  // An unknown parent is no parent.
  const IFactTemplate Parent = ParentName.empty() ? nullptr : Target.FindFactTemplate(ParentName);
  const IFactTemplate Template(new TFactTemplate(GetOwner(), Name, Comment, Parent));
  if (TModule* Home = ModuleNamed(Target, Module)) Template->SetModule(Home);

  if (IsA) {
    // Ordered, with its one multislot typed.
    Template->AddMultiSlot(SDefaultSlotName, FCNilList)->SetExtendedTypeInfo(IsA);
  } else {
    while (Is(Token, '(')) {
      Tokens.PutBackToken(Token);
      Template->AddSlot(ParseFactTemplateSlot());
      Token = Tokens.NextToken();
    }
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseFactTemplate) OnParseFactTemplate(this, Template);
  return Template;
}

IFactSlot TKBRuleParser::ParseFactTemplateSlot() {
  static const std::string Where = "ParseFactTemplateSlot";
  static const std::string AllowedPrefix = "allowed-";
  TKBRuleStream& Tokens = Stream();
  IKnowledgeBase& Target = Engine();

  if (!Is(Tokens.NextToken(), '(')) ParseError(Where, _SMissingOpenParens);
  const IStreamToken Kind = Tokens.NextToken();
  const std::string& KindWord = Kind->GetText();
  if (!IsAtom(Kind) || (KindWord != "slot" && KindWord != "field" && KindWord != "multislot"))
    ParseError(Where, _SInvalidSlotType, Kind->ToString());
  TKBTypes Types = KBSlotTypes;
  if (KindWord == "multislot") Types = Types + KBMultiSlotTypes;

  const IStreamToken NameToken = Tokens.NextToken();
  if (!IsAtom(NameToken)) ParseError(Where, _SBadSlotName, NameToken->ToString());
  const IFactSlot Slot(new TFactSlot());
  Slot->SetName(NameToken->GetText());

  // The type that values of the slot are read against: the named type of a
  // "type" qualifier, or the slot's private copy of it. A type made for the
  // slot from nothing is not used here, so a default written after a range
  // is checked against the range only at the end, as one written before it.
  IKBDefinedType DefinedType;
  IKBValue Default;

  // Constraints written on the slot go into an implicit type of its own; a
  // named type is copied first, so that it never changes through a slot.
  const auto MakeImplicitType = [&] {
    const IKBDefinedType Present = Slot->GetExtendedTypeInfo();
    if (!Present) {
      const IKBDefinedType Implicit(new TKBDefinedType(&Target));
      Slot->SetExtendedTypeInfo(Implicit);
      Implicit->SetImplicit(true);
    } else if (!Present->GetImplicit()) {
      DefinedType = IKBDefinedType(new TKBDefinedType(&Target));
      DefinedType->Assign(IInterface(Present));
      // The copy is the slot's own and has no name: written out, it reads
      // back as an implicit type.
      DefinedType->SetName(SImplicitDefinedType);
      // A fuzzy copy keeps where its variable came from, to be written back
      // as that type.
      if (Present->GetFuzzyType()) DefinedType->SetAncestor(Present);
      Slot->SetExtendedTypeInfo(DefinedType);
      DefinedType->SetImplicit(true);
    }
  };
  const auto RefuseFuzzy = [&] {
    if (Types.Contains(dtFuzzy) || Slot->GetSlotType().Contains(dtFuzzy)) ParseError(Where, _SFuzzyDefinitionError);
  };

  IStreamToken Token = Tokens.NextToken();
  while (Is(Token, '(')) {
    const IStreamToken Open = Token;
    const IStreamToken Qualifier = Tokens.NextToken();
    if (!IsAtom(Qualifier)) ParseError(Where, _SInvalidSlotQualifier, TextOf(Qualifier));
    const std::string& Word = Qualifier->GetText();
    if (SameText(Word, "default") || SameText(Word, "default-dynamic")) {
      IKBValue Value = Types.Contains(dtMultiSlot) ? IKBValue(new TKBValue(ParseList()))
                                                   : ParseValue(Types, DefinedType);
      if (SameText(Word, "default-dynamic")) {
        // Evaluated anew for each fact.
        Slot->SetDefaultDynamic(true);
      } else if (!AwaitsShapeFunction(Value)) {
        // Calls run now; variables must be globals.
        Value = Value->Resolve(Target.GetGlobalContext());
      }
      Default = Value ? Value : FCNil;
    } else if (SameText(Word, "type")) {
      const bool Multi = Types.Contains(dtList) || Types.Contains(dtMultiSlot);
      IKBDefinedType Named;
      Types = ParseSlotTypes(Named);
      if (Multi) Types = Types + KBMultiSlotTypes;
      if (Named) {
        DefinedType = Named;
        Slot->SetExtendedTypeInfo(Named);
      }
    } else if (SameText(Word, "range") || SameText(Word, "cardinality")) {
      const bool Cardinality = SameText(Word, "cardinality");
      if (!Cardinality) RefuseFuzzy();
      MakeImplicitType();
      Tokens.PutBackToken(Qualifier);
      Tokens.PutBackToken(Open);
      Tokens.PutBackToken(ParseRangeAndCardinality(Slot->GetExtendedTypeInfo(), nullptr, true, Cardinality));
    } else if (SameText(Word, "units")) {
      RefuseFuzzy();
      MakeImplicitType();
      const IStreamToken Units = Tokens.NextToken();
      if (Is(Units, ')') || Units->IsEOF()) ParseError(Where, _SExpectedValue);
      Slot->GetExtendedTypeInfo()->SetUnits(TextOf(Units));
    } else if (SameText(Word.substr(0, AllowedPrefix.size()), AllowedPrefix)) {
      RefuseFuzzy();
      MakeImplicitType();
      Tokens.PutBackToken(Qualifier);
      Tokens.PutBackToken(Open);
      Tokens.PutBackToken(ParseAllowedEnumerations(Slot->GetExtendedTypeInfo()));
    } else {
      ParseError(Where, _SInvalidSlotQualifier, Word);
    }
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
    Token = Tokens.NextToken();
  }
  if (!Is(Token, ')')) ParseError("ParseFactTemplate", _SMissingCloseParens);

  Slot->SetSlotType(Types);
  const bool Multi = Types.Contains(dtList);

  // A word given to a fuzzy slot names a set of the type's fuzzy variable.
  if (Default && Types.Contains(dtFuzzy) && (Default->GetDType() == dtAtom || Default->GetDType() == dtString)) {
    const IKBDefinedType FuzzyType = Slot->GetExtendedTypeInfo();
    if (const IFuzzyVariable Variable = FuzzyType ? FuzzyType->GetFuzzyType() : nullptr) {
      const std::string Text = Default->GetAsString();
      IFuzzySet Set = Variable->FindFuzzySet(Text);
      if (!Set) Set = Variable->GetFuzzySetFromExpression(Text);
      if (Set) Default = IKBValue(new TKBValue(Set));
    }
  }

  if (Default && GetTypeCheck() && Default != FCNil && Default != FCNilList && !Slot->IsValid(Default)) {
    // An integer may stand for a float, as long as the float is valid too.
    IKBValue Widened;
    if (Types.Contains(dtFloat) && Default->GetDType() == dtInteger)
      Widened = IKBValue(new TKBValue(static_cast<double>(Default->GetAsInteger())));
    if (!Widened || !Slot->IsValid(Widened)) ParseError(Where, Slot->GetInvalidValueString(Default));
    Default = Widened;
  }

  if (Default) {
    Slot->SetSlotDefault(Default);
  } else {
    // The default made along the way may not suit the final type, nor, for a
    // multislot, be a list at all.
    const IKBValue Present = Slot->GetSlotDefault();
    if (!Present || (Multi && Present->GetDType() != dtList) || (GetTypeCheck() && !Slot->IsValid(Present)))
      Slot->SetSlotDefault(Slot->CreateValidDefault(Multi));
  }
  return Slot;
}

// ---------------------------------------------------------------- defined types

IKBDefinedType TKBRuleParser::ParseDefinedType() {
  static const std::string Where = "ParseDefinedType";
  TKBRuleStream& Tokens = Stream();
  IKnowledgeBase& Target = Engine();
  std::string Name;
  std::string Comment;
  std::string Module;
  const IStreamToken Extends = ParseHeader(Name, Comment, Module, true, "deftype", Where, _SExpectedDefType);

  const IKBDefinedType Type(new TKBDefinedType(&Target));
  Type->SetName(Name);
  Type->SetComment(Comment);
  if (TModule* Home = ModuleNamed(Target, Module)) Type->SetModule(Home);

  if (!IsAtom(Extends) || Extends->GetText() != "extends") ParseError(Where, _SExpectedKeyword, std::string("extends"));
  if (!Is(Tokens.NextToken(), '(')) ParseError(Where, _SMissingOpenParens);
  const IStreamToken TypeWord = Tokens.NextToken();
  if (!IsAtom(TypeWord) || TypeWord->GetText() != "type") ParseError(Where, _SExpectedKeyword, std::string("type"));

  IKBDefinedType Ancestor;
  const TKBTypes Types = ParseSlotTypes(Ancestor);
  Type->SetBaseTypes(Types);
  if (Ancestor) {
    // Inheritance copies: the ancestor's limits become this type's own, and
    // the kinds named beside the ancestor are added to its kinds.
    Type->Assign(IInterface(Ancestor));
    Type->SetAncestor(Ancestor);
    Type->SetBaseTypes(Type->GetBaseTypes() + Types);
    Type->SetName(Name);
    Type->SetComment(Comment);
  }
  if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);

  IStreamToken Token;
  if (Type->GetBaseTypes().Contains(dtFuzzy)) {
    const IFuzzyVariable Variable = ParseFuzzyVariable();
    if (Variable) {
      Variable->SetName(Type->GetName());
      Type->SetFuzzyType(Variable);
      Type->SetUnits(Variable->GetUnits());
    }
    Token = Tokens.NextToken();
  } else {
    Token = Tokens.NextToken();
    while (Is(Token, '(')) {
      const IStreamToken Word = Tokens.NextToken();
      const std::string& Text = Word->GetText();
      if (IsAtom(Word) && (SameText(Text, "range") || SameText(Text, "cardinality"))) {
        Tokens.PutBackToken(Word);
        Tokens.PutBackToken(Token);
        ParseRangeAndCardinality(Type, nullptr, true, SameText(Text, "cardinality"));
      } else if (IsAtom(Word) && SameText(Text, "units")) {
        const IStreamToken Units = Tokens.NextToken();
        if (Is(Units, ')') || Units->IsEOF()) ParseError(Where, _SExpectedValue);
        Type->SetUnits(TextOf(Units));
        if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
      } else {
        Tokens.PutBackToken(Word);
        Tokens.PutBackToken(Token);
        ParseAllowedEnumerations(Type);
      }
      Token = Tokens.NextToken();
    }
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseDefinedType) OnParseDefinedType(this, Type);
  return Type;
}

// ---------------------------------------------------------------- deffunction

IUserFunction TKBRuleParser::ParseFunction() {
  static const std::string Where = "ParseFunction";
  TKBRuleStream& Tokens = Stream();
  std::string Name;
  std::string Comment;
  IStreamToken Token = ParseHeader(Name, Comment, true, "deffunction", Where, _SExpectedDefFunction);
  const Ref<TInterpretedFunction> Function = TKBUserFunction::Create<TInterpretedFunction>(Name);

  if (!Is(Token, '(')) ParseError(Where, _SMissingOpenParens);
  for (Token = Tokens.NextToken(); Token->GetDataType() == dtVariable || Token->GetDataType() == dtMultiVariable;
       Token = Tokens.NextToken()) {
    // A wildcard takes all the arguments left, so nothing may follow it.
    const int Count = Function->GetArgumentCount();
    if (Count > 0 && Function->GetArguments(Count - 1)->GetDType() == dtMultiVariable)
      ParseError(Where, _SWildcardParameterNotLast, Token->ToString());
    Function->AddArgument(Token->GetText(), static_cast<TKBType>(Token->GetDataType()));
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);

  // A comment may also follow the parameters; the later one wins.
  Token = Tokens.NextToken();
  if (Token->GetDataType() == dtString) {
    Comment = Token->GetText();
    Token = Tokens.NextToken();
  }
  Function->SetComment(Comment);

  for (; !Is(Token, ')'); Token = Tokens.NextToken()) {
    switch (Token->GetDataType()) {
      case '(':
        Tokens.PutBackToken(Token);
        Function->AddStatement(ParseFunCall());
        break;
      case dtAtom:
      case dtString:
      case dtInteger:
      case dtFloat:
      case dtVariable:
      case dtMultiVariable:
        Function->AddStatement(Token->Value());
        break;
      default:
        ParseError(Where, _SUnexpectedCharacter, Token->IsEOF() ? std::string("EOF") : Token->ToString());
    }
  }
  if (OnParseFunction) OnParseFunction(this, Function);
  return Function;
}

// ---------------------------------------------------------------- deffacts and defglobal

std::unique_ptr<TFactSet> TKBRuleParser::ParseFactSet() {
  static const std::string Where = "ParseFactSet";
  TKBRuleStream& Tokens = Stream();
  std::string Name;
  std::string Comment;
  std::string Module;
  IStreamToken Token = ParseHeader(Name, Comment, Module, true, "deffacts", Where, _SExpectedDeffacts);
  // Built apart from the engine, so that nothing is asserted while it grows.
  auto FactSet = std::make_unique<TFactSet>(GetOwner(), Module, Name);
  FactSet->SetComment(Comment);
  for (; Is(Token, '('); Token = Tokens.NextToken()) {
    Tokens.PutBackToken(Token);
    FactSet->AddFact(ParseFact());
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseFactSet) OnParseFactSet(this, FactSet.get());
  return FactSet;
}

bool TKBRuleParser::ParseGlobalVariables() {
  static const std::string Where = "ParseGlobalVariables";
  TKBRuleStream& Tokens = Stream();
  ReadKeyword(*this, Tokens, "defglobal", Where, _SExpectedDefGlobal);
  TGlobalVariables* Globals = Engine().GetGlobalVariables();
  // The globals are defined once all of them have been read, so that a
  // definition that does not read defines none.
  std::vector<std::pair<std::string, IKBValue>> Read;
  for (IStreamToken Token = Tokens.NextToken(); !Is(Token, ')'); Token = Tokens.NextToken()) {
    if (Token->IsEOF()) ParseError(Where, _SUnexpectedEOF);
    Tokens.PutBackToken(Token);
    std::string Name;
    IKBValue Value = ParseVariable(Name);
    Read.emplace_back(std::move(Name), std::move(Value));
  }
  // Kept as written: the table evaluates each now and again at each reset.
  if (Globals != nullptr)
    for (const auto& [Name, Value] : Read) Globals->Put(Name, Value);
  return true;
}

// ---------------------------------------------------------------- defmodule

void TKBRuleParser::ParseNameList(TStrings& Strings) {
  static const std::string Where = "ParseNameList";
  TKBRuleStream& Tokens = Stream();
  IStreamToken Token = Tokens.NextToken();
  for (; !Is(Token, ')') && !Token->IsEOF(); Token = Tokens.NextToken()) {
    if (!IsAtom(Token) && Token->GetDataType() != dtString) ParseError(Where, _SBadNameList, Token->ToString());
    Strings.Add(Token->GetText());
  }
  Tokens.PutBackToken(Token);
}

namespace {

bool IsVariable(const IStreamToken& Token, const char* Text) {
  return Token->GetDataType() == dtVariable && Token->GetText() == Text;
}

}  // namespace

IModule TKBRuleParser::ParseModule() {
  static const std::string Where = "ParseModule";
  TKBRuleStream& Tokens = Stream();
  const IKnowledgeBase& Target = Engine();
  std::string Name;
  std::string Comment;
  IStreamToken Token = ParseHeader(Name, Comment, true, "defmodule", Where, _SExpectedDefModule);
  const bool IsMain = Name == MainModuleName;
  // The main module is declared again in place; any other name is refused
  // while its module stands, so that a definition never throws knowledge away.
  if (!IsMain && NameTaken(Target, ptDefModule, Name)) ParseError(Where, _SDuplicateModuleNames, Name);
  const IModule Module(new TModule(GetOwner(), IsMain));
  Module->SetName(Name);
  Module->SetComment(Comment);

  for (; Is(Token, '('); Token = Tokens.NextToken()) {
    const IStreamToken Keyword = Tokens.NextToken();
    const bool IsExport = IsAtom(Keyword) && Keyword->GetText() == "export";
    if (!IsExport && !(IsAtom(Keyword) && Keyword->GetText() == "import"))
      ParseError(Where, _SInvalidModulekeyword, Keyword->ToString());

    IModuleImport Declaration = Module->GetExportItems();
    if (!IsExport) {
      const IStreamToken Exporter = Tokens.NextToken();
      const std::string ExporterName = Exporter->GetText();
      if (!IsAtom(Exporter) || !NameTaken(Target, ptDefModule, ExporterName))
        ParseError(Where, _SModuleNotExist, Exporter->ToString());
      // Every module stands after the modules it imports from, and the main
      // module stands first.
      if (ExporterName == Name) ParseError(Where, _SModuleImportsItself, Name);
      if (IsMain) ParseError(Where, _SInvalidModuleDependency, Name, ExporterName);
      const int Existing = Module->IndexOfImport(ExporterName);
      Declaration = Existing >= 0 ? Module->GetImportModule(Existing)
                                  : IModuleImport(new TModuleImportExport(Module.get(), ExporterName));
    }

    const IStreamToken Share = Tokens.NextToken();
    if (IsVariable(Share, "ALL") || IsVariable(Share, "NONE")) {
      const TSharedConstructs Shared = IsVariable(Share, "ALL") ? mkbAll : mkbNone;
      Declaration->SetDefinedTypesShared(Shared);
      Declaration->SetFactTemplatesShared(Shared);
    } else {
      const bool IsType = IsAtom(Share) && Share->GetText() == "deftype";
      if (!IsType && !(IsAtom(Share) && Share->GetText() == "deftemplate"))
        ParseError(Where, _SMissingModuleExportID, Share->ToString());
      const IStreamToken Names = Tokens.NextToken();
      if (IsVariable(Names, "ALL") || IsVariable(Names, "NONE")) {
        const TSharedConstructs Shared = IsVariable(Names, "ALL") ? mkbAll : mkbNone;
        if (IsType)
          Declaration->SetDefinedTypesShared(Shared);
        else
          Declaration->SetFactTemplatesShared(Shared);
      } else if (IsAtom(Names)) {
        Tokens.PutBackToken(Names);
        ParseNameList(IsType ? Declaration->GetDefinedTypes() : Declaration->GetFactTemplates());
      } else {
        ParseError(Where, _SMissingModuleExportID, Names->ToString());
      }
    }

    if (!IsExport && Module->IndexOfImport(Declaration) < 0) Module->AddImport(Declaration);
    if (!Is(Tokens.NextToken(), ')')) ParseError(Where, _SMissingCloseParens);
  }
  if (!Is(Token, ')')) ParseError(Where, _SMissingCloseParens);
  if (OnParseModule) OnParseModule(this, Module);
  return Module;
}

}  // namespace cogent
