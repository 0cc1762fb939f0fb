#include "cogent/foundation/KBConsts.h"

#include <array>
#include <cstddef>

#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

// Looks a value name up by ordinal. A value outside the enumeration can only
// come from a cast; it gets the empty name rather than a read past the table.
template <class E, std::size_t N>
std::string NameOf(const std::array<const char*, N>& Names, E Value) {
  const auto Ordinal = static_cast<std::size_t>(Value);
  return Ordinal < N ? std::string(Names[Ordinal]) : std::string();
}

constexpr std::array<const char*, KBTypeCount> KBTypeNames{
    "dtNone",   "dtAtom",       "dtString", "dtInteger", "dtVariable",        "dtFactId",
    "dtFloat",  "dtFunCall",    "dtFact",   "dtList",    "dtDescriptor",      "dtObject",
    "dtClass",  "dtExternalAddress",        "dtSingletons",                   "dtFuzzy",
    "dtMultiVariable",          "dtSlot",   "dtMultiSlot"};

constexpr std::array<const char*, 2> ConstructScopeNames{"csImported", "csLocal"};
constexpr std::array<const char*, 2> TypeCheckNames{"tcStatic", "tcDynamic"};
constexpr std::array<const char*, 4> TokenActionNames{"taClear", "taAdd", "taRemove", "taUpdate"};
constexpr std::array<const char*, 3> DuplicateConstructsNames{"dcOverwrite", "dcIgnore", "dcError"};
constexpr std::array<const char*, 2> ErrorHandlingNames{"ehRaiseImmediate", "ehRaiseAllAtEnd"};
constexpr std::array<const char*, 2> SalienceNames{"sActivate", "sEveryTime"};
constexpr std::array<const char*, 2> RuleConstructNames{"rcPattern", "rcAction"};
constexpr std::array<const char*, 6> DialogOptionNames{"doNew",    "doOpen",  "doSave",
                                                       "doSaveAs", "doPrint", "doPrintSetup"};
constexpr std::array<const char*, 2> SearchStrategyNames{"ssDepthFirst", "ssBreadthFirst"};
constexpr std::array<const char*, 5> EngineConstructNames{"kbcDefType", "kbcDefTemplate", "kbcFactSet",
                                                          "kbcFact", "kbcDefRule"};
constexpr std::array<const char*, 2> TemplateSlotTypeNames{"tstSlot", "tstMultiSlot"};
constexpr std::array<const char*, 4> ValueConstraintNames{"vcAtom", "vcString", "vcInteger", "vcFloat"};
constexpr std::array<const char*, 6> ConstructWatchNames{"cwActivation",  "cwFact",       "cwRule",
                                                         "cwCompilation", "cwStatistics", "cwFocus"};
constexpr std::array<const char*, 13> ValidActionNames{
    "vaFileNew",      "vaFileOpen", "vaFileSave", "vaFileSaveAs", "vaEditTypes",
    "vaEditFacts",    "vaEditFactTemplates",      "vaEditRules",  "vaKBRun",
    "vaKBRunOneStep", "vaKBReset",  "vaFileView", "vaEditModules"};
constexpr std::array<const char*, 4> ValidViewNames{"vvAgenda", "vvFacts", "vvFactTemplates", "vvRules"};
constexpr std::array<const char*, 3> SharedConstructsNames{"mkbNone", "mkbAll", "mkbCustom"};

// A value added to an enumeration without its name would shift every later name.
template <std::size_t N>
constexpr bool AllNamed(const std::array<const char*, N>& Names) {
  for (const char* Name : Names)
    if (Name == nullptr) return false;
  return true;
}
static_assert(AllNamed(KBTypeNames));
static_assert(ConstructScopeNames.size() == csLocal + 1 && AllNamed(ConstructScopeNames));
static_assert(TypeCheckNames.size() == tcDynamic + 1 && AllNamed(TypeCheckNames));
static_assert(TokenActionNames.size() == taUpdate + 1 && AllNamed(TokenActionNames));
static_assert(DuplicateConstructsNames.size() == dcError + 1 && AllNamed(DuplicateConstructsNames));
static_assert(ErrorHandlingNames.size() == ehRaiseAllAtEnd + 1 && AllNamed(ErrorHandlingNames));
static_assert(SalienceNames.size() == sEveryTime + 1 && AllNamed(SalienceNames));
static_assert(RuleConstructNames.size() == rcAction + 1 && AllNamed(RuleConstructNames));
static_assert(DialogOptionNames.size() == doPrintSetup + 1 && AllNamed(DialogOptionNames));
static_assert(SearchStrategyNames.size() == ssBreadthFirst + 1 && AllNamed(SearchStrategyNames));
static_assert(EngineConstructNames.size() == kbcDefRule + 1 && AllNamed(EngineConstructNames));
static_assert(TemplateSlotTypeNames.size() == tstMultiSlot + 1 && AllNamed(TemplateSlotTypeNames));
static_assert(ValueConstraintNames.size() == vcFloat + 1 && AllNamed(ValueConstraintNames));
static_assert(ConstructWatchNames.size() == cwFocus + 1 && AllNamed(ConstructWatchNames));
static_assert(ValidActionNames.size() == vaEditModules + 1 && AllNamed(ValidActionNames));
static_assert(ValidViewNames.size() == vvRules + 1 && AllNamed(ValidViewNames));
static_assert(SharedConstructsNames.size() == mkbCustom + 1 && AllNamed(SharedConstructsNames));

}  // namespace

std::string GetKBTypeName(TKBType AType) { return NameOf(KBTypeNames, AType); }

std::string SetToString(TKBTypes ATypes, std::string_view Separator, bool Bracket) {
  std::string Result;
  if (Bracket) Result += '[';
  bool First = true;
  for (int I = 0; I < KBTypeCount; ++I) {
    const auto Type = static_cast<TKBType>(I);
    if (!ATypes.Contains(Type)) continue;
    if (!First) Result += Separator;
    First = false;
    // Every value name carries the two-letter "dt" prefix.
    Result += KBTypeNames[static_cast<std::size_t>(I)] + 2;
  }
  if (Bracket) Result += ']';
  return Result;
}

std::string KBStringToString(std::string_view S) {
  // A quote is one byte in UTF-8, so two bytes are two characters here.
  if (S.size() > 1 && S.front() == '"' && S.back() == '"') return std::string(S.substr(1, S.size() - 2));
  return std::string(S);
}

std::string EnumName(TConstructScope V) { return NameOf(ConstructScopeNames, V); }
std::string EnumName(TTypeCheck V) { return NameOf(TypeCheckNames, V); }
std::string EnumName(TTokenAction V) { return NameOf(TokenActionNames, V); }
std::string EnumName(TDuplicateConstructs V) { return NameOf(DuplicateConstructsNames, V); }
std::string EnumName(TErrorHandling V) { return NameOf(ErrorHandlingNames, V); }
std::string EnumName(TSalience V) { return NameOf(SalienceNames, V); }
std::string EnumName(TRuleConstruct V) { return NameOf(RuleConstructNames, V); }
std::string EnumName(TKBDialogOption V) { return NameOf(DialogOptionNames, V); }
std::string EnumName(TSearchStrategy V) { return NameOf(SearchStrategyNames, V); }
std::string EnumName(TInferenceEngineConstruct V) { return NameOf(EngineConstructNames, V); }
std::string EnumName(TTemplateSlotType V) { return NameOf(TemplateSlotTypeNames, V); }
std::string EnumName(TValueConstraint V) { return NameOf(ValueConstraintNames, V); }
std::string EnumName(TConstructWatch V) { return NameOf(ConstructWatchNames, V); }
std::string EnumName(TValidAction V) { return NameOf(ValidActionNames, V); }
std::string EnumName(TValidView V) { return NameOf(ValidViewNames, V); }
std::string EnumName(TSharedConstructs V) { return NameOf(SharedConstructsNames, V); }

void CheckKBName(std::string_view AName) {
  const std::size_t Position = ContainsCharacters(AName, SInvalidNameCharacters);
  if (Position == 0) return;
  throw EKBException(Format(_SUnexpectedCharacters, AName, UTF8Copy(AName, Position, 1)));
}

}  // namespace cogent
