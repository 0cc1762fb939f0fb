#include "cogent/language/KBParser.h"

#include "cogent/common/VXCommon.h"
#include "cogent/facts/KBPrinter.h"

namespace cogent {

std::string EnumName(TParsedType V) {
  static constexpr const char* Names[] = {"ptNone",    "ptValue",        "ptFunCall",  "ptRule",
                                          "ptFactSet", "ptFactTemplate", "ptFunction", "ptGlobals",
                                          "ptDefType", "ptDefModule",    "ptEOF"};
  if (V > ptEOF) return {};
  return Names[V];
}

TKBParser::TKBParser(TComponent* AOwner, TGTextStream* AStream) : FOwner(AOwner), FStream(AStream) {}

void TKBParser::Assign(TPersistent* Source) {
  auto* Other = dynamic_cast<TKBParser*>(Source);
  if (Other == nullptr) {
    TPersistent::Assign(Source);
    return;
  }
  SetStream(Other->FStream);
  FExplicitCreateTemplates = Other->FExplicitCreateTemplates;
  FTypeCheck = Other->FTypeCheck;
  FAutoRenameCopy = Other->FAutoRenameCopy;
  FIgnoreModuleQualifier = Other->FIgnoreModuleQualifier;
  FPrintModuleQualifiers = Other->FPrintModuleQualifiers;
  FEcho = Other->FEcho;
  FErrorHandling = Other->FErrorHandling;
  FMaxErrors = Other->FMaxErrors;
}

void TKBParser::SetStream(TGTextStream* Value) { FStream = Value; }

void TKBParser::ClearEvents() {
  OnParse = nullptr;
  OnParseFact = nullptr;
  OnParseFactSet = nullptr;
  OnParseFactTemplate = nullptr;
  OnParseFunCall = nullptr;
  OnParseFunction = nullptr;
  OnParseVariable = nullptr;
  OnParsePattern = nullptr;
  OnParseRule = nullptr;
  OnParseDefinedType = nullptr;
  OnParseFuzzySet = nullptr;
  OnParseFuzzyVariable = nullptr;
  OnParseSingletons = nullptr;
  OnParseModule = nullptr;
}

namespace {

struct TConstructHelp {
  TParsedType Kind;
  const char* Comment;
  const char* Syntax;
};

constexpr TConstructHelp ConstructHelp[] = {
    {ptRule, _SRuleComment, _SRuleSyntax},
    {ptFactSet, _SFactSetComment, _SFactSetSyntax},
    {ptFactTemplate, _SDefTemplateComment, _SFactTemplateSyntax},
    {ptFunction, _SUserFunctionComment, _SUserFunctionSyntax},
    {ptGlobals, _SDefGlobalComment, _SDefGlobalSyntax},
    {ptDefType, _SDefTypeComment, _SDefinedTypeSyntax},
    {ptDefModule, _SModuleComment, _SModuleSyntax},
};

}  // namespace

std::string TKBParser::PrettyPrint(TParsedType ParsedType) {
  for (const TConstructHelp& Help : ConstructHelp) {
    if (Help.Kind != ParsedType) continue;
    const std::string Text = GetConstructName(ParsedType) + " " + _SFunctionKeyword + sLineBreak + sLineBreak +
                             WrapText(Help.Comment, sLineBreak, static_cast<std::size_t>(WrapTextColumn)) +
                             sLineBreak + sLineBreak + _SSyntax + sLineBreak + Help.Syntax;
    // Every line, the first too, is a comment line.
    std::string Result = ";; ";
    for (std::size_t I = 0; I < Text.size(); ++I) {
      Result += Text[I];
      if (Text[I] == '\n') Result += ";; ";
    }
    return Result;
  }
  return {};
}

std::string TKBParser::PrettyPrint(const TFactSet& FactSet) {
  return cogent::PrettyPrint(FactSet, GetPrintModuleQualifiers());
}

std::string TKBParser::PrettyPrint(const IFact& Fact) { return cogent::PrettyPrint(Fact); }

std::string TKBParser::PrettyPrint(const IFact& Fact, const std::string& SlotName) {
  return Fact ? cogent::PrettyPrint(*Fact, SlotName) : std::string();
}

std::string TKBParser::PrettyPrint(const IFact& Fact, const std::string& SlotName, const IKBValue& Value) {
  return Fact ? cogent::PrettyPrint(*Fact, SlotName, Value) : std::string();
}

std::string TKBParser::PrettyPrint(const IFact& Fact, const std::string& SlotName, const std::string& Text) {
  return Fact ? cogent::PrettyPrint(*Fact, SlotName, Text) : std::string();
}

std::string TKBParser::PrettyPrint(const IFactSlot& Slot) { return Slot ? cogent::PrettyPrint(*Slot) : std::string(); }

std::string TKBParser::PrettyPrint(const IFactTemplate& Template) {
  return Template ? cogent::PrettyPrint(*Template, GetPrintModuleQualifiers()) : std::string();
}

std::string TKBParser::PrettyPrint(const IFunCall& FunCall) { return cogent::PrettyPrint(FunCall); }

std::string TKBParser::PrettyPrint(const IFuzzySet& FuzzySet, bool AsDefinition) {
  return FuzzySet ? cogent::PrettyPrint(*FuzzySet, AsDefinition) : std::string();
}

std::string TKBParser::PrettyPrint(const IFuzzyVariable& Variable) {
  return Variable ? cogent::PrettyPrint(*Variable) : std::string();
}

std::string TKBParser::PrettyPrint(const IModule& Module) {
  return Module ? cogent::PrettyPrint(*Module) : std::string();
}

std::string TKBParser::PrettyPrint(const TRule& Rule) { return cogent::PrettyPrint(Rule, GetPrintModuleQualifiers()); }

std::string TKBParser::PrettyPrint(const TRule& Rule, TRuleConstruct Construct) {
  return cogent::PrettyPrint(Rule, Construct);
}

std::string TKBParser::PrettyPrint(const TKBPattern& Pattern) {
  return cogent::PrettyPrint(Pattern, KnowledgeBaseOf(FOwner));
}

std::string TKBParser::PrettyPrint(const std::string& Name, const IKBValue& Value) {
  return cogent::PrettyPrint(Name, Value);
}

std::string TKBParser::PrettyPrint(const ISingletonsVector& Singletons) {
  return Singletons ? cogent::PrettyPrint(*Singletons) : std::string();
}

std::string TKBParser::PrettyPrint(const IUserFunction& Function) {
  return Function ? cogent::PrettyPrint(*Function) : std::string();
}

std::string TKBParser::PrettyPrint(const IKBDefinedType& DefinedType) {
  return DefinedType ? cogent::PrettyPrint(*DefinedType, GetPrintModuleQualifiers()) : std::string();
}

TParsedType TKBParser::FindConstructType(const std::string& Name) {
  // Kinds without a keyword have empty names; empty text must not match them.
  if (Name.empty()) return ptNone;
  for (int Kind = ptNone; Kind <= ptEOF; ++Kind)
    if (GetConstructName(static_cast<TParsedType>(Kind)) == Name) return static_cast<TParsedType>(Kind);
  return ptNone;
}

}  // namespace cogent
