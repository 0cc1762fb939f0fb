#include "cogent/language/KBParser.h"

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

TParsedType TKBParser::FindConstructType(const std::string& Name) {
  // Kinds without a keyword have empty names; empty text must not match them.
  if (Name.empty()) return ptNone;
  for (int Kind = ptNone; Kind <= ptEOF; ++Kind)
    if (GetConstructName(static_cast<TParsedType>(Kind)) == Name) return static_cast<TParsedType>(Kind);
  return ptNone;
}

}  // namespace cogent
