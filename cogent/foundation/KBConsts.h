#pragma once
// The vocabulary every unit shares: enumerations and sets, the name type, the
// exception root, reserved literals, type keywords and the message table.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cogent/common/VXCommon.h"
#include "cogent/host/Sets.h"

namespace cogent {

using TKBName = std::string;

COGENT_DECLARE_EXCEPTION(EKBException, EVXException)

// ---------------------------------------------------------------- TKBType

enum TKBType : std::uint8_t {
  dtNone,
  dtAtom,
  dtString,
  dtInteger,
  dtVariable,
  dtFactId,
  dtFloat,
  dtFunCall,
  dtFact,
  dtList,
  dtDescriptor,
  dtObject,
  dtClass,
  dtExternalAddress,
  dtSingletons,
  dtFuzzy,
  dtMultiVariable,
  dtSlot,
  dtMultiSlot
};
inline constexpr int KBTypeCount = dtMultiSlot + 1;
using TKBTypes = TSet<TKBType>;

inline constexpr TKBTypes KBStringTypes{dtAtom, dtString, dtVariable, dtMultiVariable, dtSlot, dtMultiSlot};
inline constexpr TKBTypes KBNumericTypes{dtInteger, dtFloat};
inline constexpr TKBTypes KBIntegerTypes{dtInteger, dtFactId, dtDescriptor};
inline constexpr TKBTypes KBFactTypes{dtInteger, dtFactId, dtFloat};
inline constexpr TKBTypes KBVariableTypes{dtVariable, dtMultiVariable};
inline constexpr TKBTypes KBAlwaysValidTypes{dtNone, dtVariable, dtFunCall, dtMultiVariable};
inline constexpr TKBTypes KBMultiSlotTypes{dtList, dtMultiSlot};
inline constexpr TKBTypes KBSlotTypes =
    TKBTypes::Range(dtAtom, dtFact) + TKBTypes{dtDescriptor, dtObject, dtClass, dtExternalAddress};
inline constexpr TKBTypes KBSlotTypesWithFuzzy = KBSlotTypes + TKBTypes{dtSingletons, dtFuzzy};
inline constexpr TKBTypes KBReparseTypes{dtFunCall, dtFact, dtFuzzy};

// ---------------------------------------------------------------- other enumerations

enum TConstructScope : std::uint8_t { csImported, csLocal };
using TConstructScopes = TSet<TConstructScope>;

enum TTypeCheck : std::uint8_t { tcStatic, tcDynamic };
using TTypeChecks = TSet<TTypeCheck>;

enum TTokenAction : std::uint8_t { taClear, taAdd, taRemove, taUpdate };

enum TDuplicateConstructs : std::uint8_t { dcOverwrite, dcIgnore, dcError };

enum TErrorHandling : std::uint8_t { ehRaiseImmediate, ehRaiseAllAtEnd };

enum TSalience : std::uint8_t { sActivate, sEveryTime };

enum TRuleConstruct : std::uint8_t { rcPattern, rcAction };

enum TKBDialogOption : std::uint8_t { doNew, doOpen, doSave, doSaveAs, doPrint, doPrintSetup };
using TKBDialogOptions = TSet<TKBDialogOption>;

enum TSearchStrategy : std::uint8_t { ssDepthFirst, ssBreadthFirst };

enum TInferenceEngineConstruct : std::uint8_t { kbcDefType, kbcDefTemplate, kbcFactSet, kbcFact, kbcDefRule };

enum TTemplateSlotType : std::uint8_t { tstSlot, tstMultiSlot };

enum TValueConstraint : std::uint8_t { vcAtom, vcString, vcInteger, vcFloat };
using TValueConstraints = TSet<TValueConstraint>;

enum TConstructWatch : std::uint8_t { cwActivation, cwFact, cwRule, cwCompilation, cwStatistics, cwFocus };
using TConstructWatches = TSet<TConstructWatch>;
inline constexpr TConstructWatches KBAllWatches = TConstructWatches::Range(cwActivation, cwFocus);

enum TValidAction : std::uint8_t {
  vaFileNew,
  vaFileOpen,
  vaFileSave,
  vaFileSaveAs,
  vaEditTypes,
  vaEditFacts,
  vaEditFactTemplates,
  vaEditRules,
  vaKBRun,
  vaKBRunOneStep,
  vaKBReset,
  vaFileView,
  vaEditModules
};
using TValidActions = TSet<TValidAction>;

enum TValidView : std::uint8_t { vvAgenda, vvFacts, vvFactTemplates, vvRules };
using TValidViews = TSet<TValidView>;

// Which constructs of a kind a module exports or imports.
enum TSharedConstructs : std::uint8_t { mkbNone, mkbAll, mkbCustom };

// ---------------------------------------------------------------- method types

using TPrintOutEvent = std::function<void(TObject* Sender, const std::string& OutID, const std::string& Text)>;
using TReadLineEvent = std::function<void(TObject* Sender, const std::string& InID, std::string& Text)>;
using TInferenceEvent = std::function<void(TObject* Sender, std::int32_t RulesFired)>;

// ---------------------------------------------------------------- constants

inline constexpr std::int32_t NoSubIndex = -1;
inline constexpr std::int32_t LocalBindingIndex = -2;
inline constexpr int DefaultPrintMargin = 200;
inline constexpr int WrapTextColumn = 60;

// Reserved literals.
inline constexpr const char* SFactPrefix = "__factidx";
inline constexpr const char* SEqStarPrefix = "_eq_";
inline constexpr const char* SBackChainPrefix = "need-";
inline constexpr const char* SBlankMulti = "_blank_$";
inline constexpr const char* SBlankPrefix = "_blank_";
inline constexpr const char* SDefaultSlotName = "__Data";
inline constexpr const char* STestCE = "test";
inline constexpr const char* SLocalBinding = "__LOCAL";
inline constexpr const char* SPatternBinding = "__PATTERN";
inline constexpr const char* SRuleBinding = "__RULE";
inline constexpr const char* SInitialFactPattern = "Initial-Fact";
inline constexpr const char* SInitialFact = "(Initial-Fact)";
inline constexpr const char* SNullFact = "__NOT-OR-TEST-CE*";
inline constexpr const char* SMultiSlotVar = "$?__var";
inline constexpr const char* SSlotVar = "?__var";
inline constexpr const char* SFunctionError = "%s error: %s";
inline constexpr const char* CommentFormat = "%s";
inline constexpr const char* SyntaxFormat = "     Syntax: %s";
inline constexpr const char* RuleSyntaxFormat = "(%s)";
inline constexpr const char* SImplicitDefinedType = "implicit";

// Type keywords of slot qualifiers.
inline constexpr const char* STypeSymbolKeyword = "SYMBOL";
inline constexpr const char* STypeAtomKeyword = "ATOM";
inline constexpr const char* STypeStringKeyword = "STRING";
inline constexpr const char* STypeIntegerKeyword = "INTEGER";
inline constexpr const char* STypeFloatKeyword = "FLOAT";
inline constexpr const char* STypeLexemeKeyword = "LEXEME";
inline constexpr const char* STypeNumberKeyword = "NUMBER";
inline constexpr const char* STypeClassKeyword = "CLASS";
inline constexpr const char* STypeDescriptorKeyword = "DESCRIPTOR";
inline constexpr const char* STypeObjectKeyword = "OBJECT";
inline constexpr const char* STypeExternalAddrKeyword = "EXTERNALADDRESS";
inline constexpr const char* STypeFuzzyKeyword = "FUZZY";
inline constexpr const char* STypeFactKeyword = "FACT";
inline constexpr const char* STypeFactIdKeyword = "FACTID";
inline constexpr const char* STypeVariableKeyword = "?VARIABLE";

// ---------------------------------------------------------------- names of values

// The enumeration's value name as it stands: GetKBTypeName(dtFloat) is "dtFloat".
std::string GetKBTypeName(TKBType AType);
// Members in ordinal order, each name without its two-letter prefix.
std::string SetToString(TKBTypes ATypes, std::string_view Separator, bool Bracket);
// Strips one pair of enclosing double quotes.
std::string KBStringToString(std::string_view S);

// The value names of the other enumerations, by ordinal.
std::string EnumName(TConstructScope V);
std::string EnumName(TTypeCheck V);
std::string EnumName(TTokenAction V);
std::string EnumName(TDuplicateConstructs V);
std::string EnumName(TErrorHandling V);
std::string EnumName(TSalience V);
std::string EnumName(TRuleConstruct V);
std::string EnumName(TKBDialogOption V);
std::string EnumName(TSearchStrategy V);
std::string EnumName(TInferenceEngineConstruct V);
std::string EnumName(TTemplateSlotType V);
std::string EnumName(TValueConstraint V);
std::string EnumName(TConstructWatch V);
std::string EnumName(TValidAction V);
std::string EnumName(TValidView V);
std::string EnumName(TSharedConstructs V);

// The name check of the name setters of slots, templates, rules, modules and
// defined types: raises _SUnexpectedCharacters for a blank or one of
// '"#()[]?:$&;<>. The empty name passes.
void CheckKBName(std::string_view AName);
inline constexpr const char* SInvalidNameCharacters = " '\"#()[]?:$&;<>";

}  // namespace cogent

#include "cogent/foundation/KBMessages.h"
