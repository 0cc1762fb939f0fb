#include "cogent/foundation/KBConsts.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "cogent/host/SysUtils.h"

namespace cogent {
namespace {

std::string CheckKBNameError(std::string_view Name) {
  try {
    CheckKBName(Name);
  } catch (const EKBException& E) {
    return E.what();
  }
  return "<no error>";
}

TEST(KBConsts, KBStringToStringStripsOnePairOfQuotes) {
  EXPECT_EQ(KBStringToString("\""), "\"");
  EXPECT_EQ(KBStringToString("\"\""), "");
  EXPECT_EQ(KBStringToString("\"abc\""), "abc");
  EXPECT_EQ(KBStringToString("\"\"abc\"\""), "\"abc\"");
  EXPECT_EQ(KBStringToString("\"abc"), "\"abc");
  EXPECT_EQ(KBStringToString("abc\""), "abc\"");
  EXPECT_EQ(KBStringToString(""), "");
  EXPECT_EQ(KBStringToString("\"\xC3\xA9t\xC3\xA9\""), "\xC3\xA9t\xC3\xA9");
}

TEST(KBConsts, SetToStringDropsPrefixInOrdinalOrder) {
  EXPECT_EQ(SetToString(TKBTypes{}, ", ", false), "");
  EXPECT_EQ(SetToString(TKBTypes{}, ", ", true), "[]");
  // Members come out by ordinal, not by the order they were listed in.
  EXPECT_EQ(SetToString(TKBTypes{dtFloat, dtAtom}, ", ", false), "Atom, Float");
  EXPECT_EQ(SetToString(TKBTypes{dtFloat, dtAtom}, ",", true), "[Atom,Float]");
  EXPECT_EQ(SetToString(TKBTypes{dtAtom, dtVariable, dtMultiVariable}, ", ", false), "Atom, Variable, MultiVariable");
  EXPECT_EQ(SetToString(TKBTypes{dtNone, dtMultiSlot}, "|", false), "None|MultiSlot");
  EXPECT_EQ(SetToString(TKBTypes{dtFactId, dtFact}, ", ", false), "FactId, Fact");
}

TEST(KBConsts, TypeNamesAreTheValueNames) {
  const char* const Expected[] = {"dtNone",       "dtAtom",       "dtString",        "dtInteger", "dtVariable",
                                  "dtFactId",     "dtFloat",      "dtFunCall",       "dtFact",    "dtList",
                                  "dtDescriptor", "dtObject",     "dtClass",         "dtExternalAddress",
                                  "dtSingletons", "dtFuzzy",      "dtMultiVariable", "dtSlot",    "dtMultiSlot"};
  static_assert(std::size(Expected) == KBTypeCount);
  for (int I = 0; I < KBTypeCount; ++I) EXPECT_EQ(GetKBTypeName(static_cast<TKBType>(I)), Expected[I]) << I;
  // Every type by itself, so a wrong prefix length shows.
  for (int I = 0; I < KBTypeCount; ++I)
    EXPECT_EQ(SetToString(TKBTypes{static_cast<TKBType>(I)}, "", false), std::string(Expected[I]).substr(2));
}

TEST(KBConsts, EnumNames) {
  EXPECT_EQ(EnumName(csImported), "csImported");
  EXPECT_EQ(EnumName(csLocal), "csLocal");
  EXPECT_EQ(EnumName(tcDynamic), "tcDynamic");
  EXPECT_EQ(EnumName(taClear), "taClear");
  EXPECT_EQ(EnumName(taUpdate), "taUpdate");
  EXPECT_EQ(EnumName(dcOverwrite), "dcOverwrite");
  EXPECT_EQ(EnumName(dcError), "dcError");
  EXPECT_EQ(EnumName(ehRaiseAllAtEnd), "ehRaiseAllAtEnd");
  EXPECT_EQ(EnumName(sEveryTime), "sEveryTime");
  EXPECT_EQ(EnumName(rcAction), "rcAction");
  EXPECT_EQ(EnumName(doPrintSetup), "doPrintSetup");
  EXPECT_EQ(EnumName(ssBreadthFirst), "ssBreadthFirst");
  EXPECT_EQ(EnumName(kbcFact), "kbcFact");
  EXPECT_EQ(EnumName(kbcDefRule), "kbcDefRule");
  EXPECT_EQ(EnumName(tstMultiSlot), "tstMultiSlot");
  EXPECT_EQ(EnumName(vcFloat), "vcFloat");
  EXPECT_EQ(EnumName(cwCompilation), "cwCompilation");
  EXPECT_EQ(EnumName(cwFocus), "cwFocus");
  EXPECT_EQ(EnumName(vaEditFactTemplates), "vaEditFactTemplates");
  EXPECT_EQ(EnumName(vaKBRunOneStep), "vaKBRunOneStep");
  EXPECT_EQ(EnumName(vaEditModules), "vaEditModules");
  EXPECT_EQ(EnumName(vvFactTemplates), "vvFactTemplates");
  EXPECT_EQ(EnumName(mkbCustom), "mkbCustom");
  // A cast-in value outside the enumeration reads nothing past the table.
  EXPECT_EQ(EnumName(static_cast<TSalience>(7)), "");
  EXPECT_EQ(GetKBTypeName(static_cast<TKBType>(KBTypeCount)), "");
}

TEST(KBConsts, ConstantSets) {
  EXPECT_EQ(SetToString(KBStringTypes, ",", false), "Atom,String,Variable,MultiVariable,Slot,MultiSlot");
  EXPECT_EQ(SetToString(KBNumericTypes, ",", false), "Integer,Float");
  EXPECT_EQ(SetToString(KBIntegerTypes, ",", false), "Integer,FactId,Descriptor");
  EXPECT_EQ(SetToString(KBFactTypes, ",", false), "Integer,FactId,Float");
  EXPECT_EQ(SetToString(KBVariableTypes, ",", false), "Variable,MultiVariable");
  EXPECT_EQ(SetToString(KBAlwaysValidTypes, ",", false), "None,Variable,FunCall,MultiVariable");
  EXPECT_EQ(SetToString(KBMultiSlotTypes, ",", false), "List,MultiSlot");
  EXPECT_EQ(SetToString(KBSlotTypes, ",", false),
            "Atom,String,Integer,Variable,FactId,Float,FunCall,Fact,Descriptor,Object,Class,ExternalAddress");
  EXPECT_EQ(SetToString(KBSlotTypesWithFuzzy, ",", false),
            "Atom,String,Integer,Variable,FactId,Float,FunCall,Fact,Descriptor,Object,Class,ExternalAddress,"
            "Singletons,Fuzzy");
  EXPECT_EQ(SetToString(KBReparseTypes, ",", false), "FunCall,Fact,Fuzzy");
  EXPECT_TRUE(KBAllWatches ==
              (TConstructWatches{cwActivation, cwFact, cwRule, cwCompilation, cwStatistics, cwFocus}));
  EXPECT_FALSE(KBAllWatches.Contains(static_cast<TConstructWatch>(cwFocus + 1)));
}

TEST(KBConsts, CheckKBNameRefusesReservedCharacters) {
  EXPECT_EQ(CheckKBNameError("my name"), "\"my name\" contains unexpected character: \" \"");
  EXPECT_NO_THROW(CheckKBName(""));
  EXPECT_NO_THROW(CheckKBName("a-b_c*d.e=f!"));
  EXPECT_NO_THROW(CheckKBName("caf\xC3\xA9"));
  // The first offending character is named, found after a multi-byte one.
  EXPECT_EQ(CheckKBNameError("\xC3\xA9t\xC3\xA9(x?"), "\"\xC3\xA9t\xC3\xA9(x?\" contains unexpected character: \"(\"");
  for (char C : std::string_view(SInvalidNameCharacters)) {
    const std::string Name = std::string("a") + C + "b";
    EXPECT_EQ(CheckKBNameError(Name), "\"" + Name + "\" contains unexpected character: \"" + C + "\"") << C;
  }
  EXPECT_EQ(std::string_view(SInvalidNameCharacters).size(), 15u);
}

TEST(KBConsts, MessagesFormat) {
  EXPECT_EQ(Format(_SNotCorrectType, "INTEGER", "abc", GetKBTypeName(dtAtom)),
            "Not a INTEGER type.  Value (abc) is a dtAtom type");
  EXPECT_EQ(Format(_SInvalidSlotValue, Format(_SNotCorrectType, "FLOAT", "x", "dtAtom"), "age"),
            "Not a FLOAT type.  Value (x) is a dtAtom type for age slot");
  EXPECT_EQ(Format(_SInvalidSlotName, "colour"), "No such slot name: \"colour\"");
  EXPECT_EQ(Format(_SParseError, "Expected \")\"", "ParseRule", "3", "(defrule r"),
            "Parsing Error, Expected \")\" in ParseRule at line 3: (defrule r");
  EXPECT_EQ(Format(_SMultipleParseError, "a\r\nb\r\n"), "Errors parsing stream:\r\na\r\nb\r\n");
  EXPECT_EQ(Format(_SOutOfRangeError, 0.0, 100.0), "Range must be between 0.0000 and 100.0000");
  EXPECT_EQ(Format(_SListCardinalityError, 1, 3), "Multislot must have between 1 and 3 elements");
  EXPECT_EQ(Format(_SUnableFindFact, 12), "Unable to find fact f-12");
  EXPECT_EQ(Format(_SInvalidModuleDependency, "A", "B"),
            "Invalid module dependency.  Module \"A\" imports module \"B\" which is later in the module list");
  EXPECT_EQ(Format(_SInvalidArgType, "dtString", SetToString(TKBTypes{dtAtom, dtVariable, dtMultiVariable}, ", ", false)),
            "Invalid argument type for deffunction: \"dtString\".  Expected Atom, Variable, MultiVariable");
  EXPECT_EQ(Format(_SSyntaxError, _SMissingThen), "Syntax Error: Missing \"then\" in an IF statement");
  EXPECT_EQ(Format(SFunctionError, "nth$", Format(_STooFewArgs, "nth$")), "nth$ error: Too few arguments for nth$");
  EXPECT_EQ(std::string(_SPatternMatchError), " for pattern match = ");
  EXPECT_EQ(std::string(_SInvalidTestBinding), "\"not\" and \"test\" CEs cannot be bound to variables");
  EXPECT_EQ(std::string(_SAtomNotEquals), "\"=\" cannot appear as an atom within a fact");
}

}  // namespace
}  // namespace cogent
