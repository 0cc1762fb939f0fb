#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;
using test::Int;

// A host function of the engine that counts its calls and gives Result.
void AddConstant(TInferenceEngine& Engine, const std::string& Name, IKBValue Result, int& Calls) {
  langtest::AddFunction(Engine, Name, [Result, &Calls](TObject*, const IFunCall&, TKBContext*, IKBValue& Out) {
    ++Calls;
    Out = Result;
  });
}

IKBDefinedType AddType(TInferenceEngine& Engine, const std::string& Name, TKBTypes Types) {
  IKBDefinedType Type(new TKBDefinedType(Name, Types, &Engine));
  Engine.GetDefinedTypes()->Add(Type);
  return Type;
}

IFactSlot SlotOf(TInferenceEngine& Engine, const std::string& Text) { return Engine.ParseFactTemplateSlot(Text); }

using langtest::AddModule;

// ---------------------------------------------------------------- templates

TEST(ConstructGrammarTest, TemplatesEnterTheEngineWhole) {
  TInferenceEngine Engine;
  std::string Output;
  langtest::CaptureOutput(Engine, Output);
  std::vector<std::string> Heard;
  Engine.SetOnParseFactTemplate([&](TObject*, const IFactTemplate& T) { Heard.push_back(T->GetTemplateName()); });

  EXPECT_TRUE(Engine.Parse("(deftemplate person \"people we know\"\n"
                           "  (slot name (type STRING))\n"
                           "  (field age (type INTEGER) (default 1.5))\n"
                           "  (multislot tags)\n"
                           "  (slot weight (type FLOAT) (default 1)))",
                           true));
  EXPECT_EQ(Output, "person\r\n");
  EXPECT_EQ(Heard, (std::vector<std::string>{"person"}));
  const IFactTemplate Person = Engine.FindFactTemplate("person");
  ASSERT_TRUE(Person);
  EXPECT_EQ(Person->GetComment(), "people we know");
  EXPECT_FALSE(Person->IsOrdered());
  EXPECT_EQ(Person->GetSlotCount(), 4);
  EXPECT_EQ(Person->GetModule(), Engine.GetCurrentModule());

  // Defaults are converted to the slot's kind of number.
  const IKBValue Age = Person->GetSlot("age")->GetSlotDefault();
  EXPECT_EQ(Age->GetDType(), dtInteger);
  EXPECT_EQ(Age->GetAsInteger(), 1);
  const IKBValue Weight = Person->GetSlot("weight")->GetSlotDefault();
  EXPECT_EQ(Weight->GetDType(), dtFloat);
  EXPECT_DOUBLE_EQ(Weight->GetAsFloat(), 1.0);
  // Without a default each slot gets one of its type.
  EXPECT_EQ(Person->GetSlot("name")->GetSlotDefault()->GetDType(), dtString);

  // A template without slots is ordered once it enters the engine.
  EXPECT_TRUE(Engine.Parse("(deftemplate empty)", true));
  EXPECT_TRUE(Engine.FindFactTemplate("empty")->IsOrdered());

  // A broken template is not registered; collecting errors, the parse goes
  // on behind it.
  EXPECT_THROW(Engine.Parse("(deftemplate broken (slot a) (slot b (type WORD)))", true), EKBParseException);
  EXPECT_FALSE(Engine.FindFactTemplate("broken"));
  Engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf([&] {
              Engine.Parse("(deftemplate broken (slot b (type WORD) (default 1)))\n(deftemplate after)", true);
            }),
            "Parsing Error, Invalid slot type: WORD in ParseSlotTypes at line 1:  ( deftemplate broken ( slot b "
            "( type WORD \r\n");
  EXPECT_FALSE(Engine.FindFactTemplate("broken"));
  EXPECT_TRUE(Engine.FindFactTemplate("after"));
}

TEST(ConstructGrammarTest, HeadersWithoutModules) {
  TInferenceEngine Engine;
  AddModule(Engine, "a");
  TKBRuleParser& Parser = langtest::ParserOf(Engine);
  std::string Name;
  std::string Comment = "stale";
  const auto Read = [&](const std::string& Text, bool HasComment) {
    TVXStringStream Source(Text);
    TKBRuleStream Tokens(&Source);
    Tokens.SetEngine(&Engine);
    Parser.SetStream(&Tokens);
    IStreamToken Token;
    const std::string Error = ErrorOf([&] {
      Token = Parser.ParseHeader(Name, Comment, HasComment, "deffunction", "ParseFunction", _SExpectedDefFunction);
    });
    Parser.SetStream(nullptr);
    return Error == "no error" ? Token->ToString() : Error;
  };
  // "::" means nothing here, and no module switches.
  EXPECT_EQ(Read("(deffunction a::b \"does b\" (?x))", true), "(");
  EXPECT_EQ(Name, "a::b");
  EXPECT_EQ(Comment, "does b");
  EXPECT_EQ(Engine.GetCurrentModule()->GetName(), "MAIN");
  // Without a comment nothing behind the name is read.
  EXPECT_EQ(Read("(deffunction g \"no comment\")", false), "g");
  EXPECT_EQ(Read("(defrule g)", true),
            "Parsing Error, Expected \"( deffunction\" in ParseFunction at line 1: ( defrule ");
}

TEST(ConstructGrammarTest, SlotTypes) {
  TInferenceEngine Engine;
  EXPECT_EQ(SlotOf(Engine, "(slot b (type ?VARIABLE))")->GetSlotType(), KBSlotTypes);
  EXPECT_EQ(SlotOf(Engine, "(multislot b (type STRING))")->GetSlotType(), (TKBTypes{dtString, dtList, dtMultiSlot}));
  EXPECT_EQ(SlotOf(Engine, "(slot b (type OBJECT FACTID))")->GetSlotType(), (TKBTypes{dtObject, dtFactId, dtInteger}));
  // Kinds that hold handles are integers too, and so default to 0.
  EXPECT_EQ(SlotOf(Engine, "(slot b (type CLASS))")->GetSlotDefault()->GetDType(), dtInteger);
  // Qualifiers ignore case; kinds and slot words don't.
  EXPECT_EQ(SlotOf(Engine, "(slot b (TYPE INTEGER))")->GetSlotType(), TKBTypes{dtInteger});
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type integer))"); }),
            "Parsing Error, Invalid slot type: integer in ParseSlotTypes at line 1: ( slot b ( type integer ");
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type ?INTEGER))"); }),
            "Corrupted Binding, variable not found: INTEGER");
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type FUZZY INTEGER))"); }),
            "Parsing Error, Cannot mix fuzzy type with other primitive types in ParseSlotTypes at line 1: "
            "( slot b ( type FUZZY INTEGER ");

  // A defined type names the kinds and constrains the slot.
  const IKBDefinedType Small = AddType(Engine, "small", TKBTypes{dtInteger});
  const IKBDefinedType Word = AddType(Engine, "word", TKBTypes{dtAtom});
  const IFactSlot Typed = SlotOf(Engine, "(slot b (type small FLOAT))");
  EXPECT_EQ(Typed->GetExtendedTypeInfo(), Small);
  EXPECT_EQ(Typed->GetSlotType(), (TKBTypes{dtInteger, dtFloat}));
  // A global may name it too.
  Engine.GetGlobalVariables()->Add("*kind*", test::Atom("word"));
  EXPECT_EQ(SlotOf(Engine, "(slot b (type ?*kind*))")->GetExtendedTypeInfo(), Word);
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type small word))"); }),
            "Parsing Error, Multiple inheritance is not allowed for deftypes in ParseSlotTypes at line 1: "
            "( slot b ( type small word ");
}

TEST(ConstructGrammarTest, SlotDefaults) {
  TInferenceEngine Engine;
  int Calls = 0;
  AddConstant(Engine, "zz-seven", Int(7), Calls);

  // "default" runs its call at once; "default-dynamic" keeps it for each fact.
  const IFactSlot Now = SlotOf(Engine, "(slot b (default (zz-seven)))");
  EXPECT_EQ(Calls, 1);
  EXPECT_EQ(Now->GetSlotDefault()->GetAsInteger(), 7);
  EXPECT_FALSE(Now->GetDefaultDynamic());
  const IFactSlot Later = SlotOf(Engine, "(slot b (default-dynamic (zz-seven)))");
  EXPECT_EQ(Calls, 1);
  EXPECT_TRUE(Later->GetDefaultDynamic());
  EXPECT_EQ(Later->GetSlotDefault()->GetDType(), dtFunCall);

  // A multislot's default is a list of the items written, kept unresolved.
  const IKBValue List = SlotOf(Engine, "(multislot b (default a \"s\" 3 (zz-seven)))")->GetSlotDefault();
  ASSERT_EQ(List->GetDType(), dtList);
  ASSERT_EQ(List->GetAsList()->GetCount(), 4);
  EXPECT_EQ(List->GetAsList()->Get(3)->GetDType(), dtFunCall);

  // Variables must be globals.
  Engine.GetGlobalVariables()->Add("*max*", Int(9));
  EXPECT_EQ(SlotOf(Engine, "(slot b (type INTEGER) (default ?*max*))")->GetSlotDefault()->GetAsInteger(), 9);

  // A default of another kind is refused when read.
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type INTEGER) (default abc))"); }),
            "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for ParseValue slot in "
            "ParseValue(SlotTypes) at line 1: ( slot b ( type INTEGER ) ( default abc ");
  // One written before the type is checked against the slot at the end.
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (default abc) (type INTEGER))"); }),
            "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for b slot in "
            "ParseFactTemplateSlot at line 1: ( slot b ( default abc ) ( type INTEGER ) ) ");
}

TEST(ConstructGrammarTest, SlotAndTemplateErrors) {
  TInferenceEngine Engine;
  const auto Error = [&](const std::string& Text) { return ErrorOf([&] { Engine.ParseFactTemplate(Text); }); };
  EXPECT_EQ(Error("(deftype a)"),
            "Parsing Error, Expected \"( deftemplate\" in ParseFactTemplate at line 1: ( deftype ");
  EXPECT_EQ(Error("(deftemplate)"), "Parsing Error, Missing name in ParseFullName at line 1: ( deftemplate ) ");
  EXPECT_EQ(Error("(deftemplate a b)"),
            "Parsing Error, Expected \"(\", \"extends\", or \"is-a\""
            " in ParseFactTemplate at line 1: ( deftemplate a b ");
  EXPECT_EQ(Error("(deftemplate a (slot b)"),
            "Parsing Error, Expected \")\" in ParseFactTemplate at line 1: ( deftemplate a ( slot b ) EOF ");

  // Every cut of a good template fails cleanly.
  const std::string Good =
      "(deftemplate a \"c\" (slot b (type INTEGER) (range 0 ?VARIABLE) (default 3)) "
      "(multislot c (cardinality 1 2) (allowed-symbols x y)) (slot d (units cm) (default-dynamic (f))))";
  ASSERT_TRUE(Engine.ParseFactTemplate(Good));
  for (std::size_t Length = 0; Length < Good.size(); ++Length)
    EXPECT_THROW(Engine.ParseFactTemplate(Good.substr(0, Length)), EKBException) << Good.substr(0, Length);
}

// ---------------------------------------------------------------- headers, modules, inheritance

TEST(ConstructGrammarTest, QualifiedHeadersSwitchTheModuleAndTakenNamesRename) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  const IModule Other = AddModule(Engine, "OTHER");
  ASSERT_EQ(Engine.GetCurrentModule(), Main);

  EXPECT_TRUE(Engine.Parse("(deftemplate OTHER::thing (slot a))", true));
  // The switch stays for what follows.
  EXPECT_EQ(Engine.GetCurrentModule(), Other);
  const IFactTemplate Thing = Engine.FindFactTemplate("thing");
  ASSERT_TRUE(Thing);
  EXPECT_EQ(Thing->GetModule(), Other);
  EXPECT_TRUE(Other->GetFactTemplates()->ContainsKey("thing"));
  EXPECT_FALSE(Main->GetFactTemplates()->ContainsKey("thing"));
  EXPECT_TRUE(Engine.Parse("(deftype MAIN::small extends (type INTEGER))", true));
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_TRUE(Main->GetDefinedTypes()->ContainsKey("small"));

  // An unknown module is refused and nothing switches.
  EXPECT_EQ(ErrorOf([&] { Engine.Parse("(deftemplate NOWHERE::x)", true); }),
            "Parsing Error, No such module with name=NOWHERE exists in ParseFullName at line 1: "
            " ( deftemplate NOWHERE::x ");
  EXPECT_EQ(Engine.GetCurrentModule(), Main);

  // Ignored qualifiers leave the construct in the current module.
  Engine.GetParser()->SetIgnoreModuleQualifier(true);
  EXPECT_TRUE(Engine.Parse("(deftemplate OTHER::stay)", true));
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_TRUE(Main->GetFactTemplates()->ContainsKey("stay"));

  // A taken name can be renamed instead.
  langtest::ParserOf(Engine).SetAutoRenameCopy(true);
  EXPECT_TRUE(Engine.Parse("(deftemplate a) (deftemplate a) (deftemplate a)", true));
  for (const std::string& Name : {std::string("a"), RenameCopy("a"), RenameCopy(RenameCopy("a"))})
    EXPECT_TRUE(Engine.FindFactTemplate(Name)) << Name;
}

TEST(ConstructGrammarTest, ExtendsAndIsA) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(deftemplate base (slot a (type INTEGER) (default 4)) (slot b))", true));
  ASSERT_TRUE(Engine.Parse("(deftemplate child \"kid\" extends base (slot b (default x)) (slot c))", true));
  const IFactTemplate Base = Engine.FindFactTemplate("base");
  const IFactTemplate Child = Engine.FindFactTemplate("child");
  ASSERT_TRUE(Child);
  EXPECT_EQ(Child->GetParent(), Base);
  EXPECT_EQ(Child->GetComment(), "kid");
  EXPECT_EQ(Child->GetSlotCount(), 3);
  EXPECT_EQ(Child->GetSlot("a")->GetSlotDefault()->GetAsInteger(), 4);
  EXPECT_EQ(Child->GetSlot("b")->GetSlotDefault()->GetAsString(), "x");
  // The parent keeps its own slots.
  EXPECT_EQ(Base->GetSlotCount(), 2);
  EXPECT_NE(Base->GetSlot("a"), Child->GetSlot("a"));

  // An unknown parent is no parent.
  const IFactTemplate Orphan = Engine.ParseFactTemplate("(deftemplate orphan extends nobody)");
  EXPECT_FALSE(Orphan->GetParent());
  EXPECT_EQ(Orphan->GetSlotCount(), 0);

  // is-a: one typed multislot, so the template is ordered.
  const IKBDefinedType Small = AddType(Engine, "small", TKBTypes{dtInteger});
  const IFactTemplate Numbers = Engine.ParseFactTemplate("(deftemplate numbers is-a small)");
  EXPECT_TRUE(Numbers->IsOrdered());
  const IFactSlot Data = Numbers->GetSlot(SDefaultSlotName);
  EXPECT_EQ(Data->GetExtendedTypeInfo(), Small);
  EXPECT_EQ(Data->GetSlotType(), (TKBTypes{dtInteger, dtList, dtMultiSlot}));
  EXPECT_EQ(Data->GetSlotDefault(), FCNilList);

  EXPECT_EQ(ErrorOf([&] { Engine.ParseFactTemplate("(deftemplate n is-a large)"); }),
            "Parsing Error, type name unknown or invalid: large in ParseFactTemplate at line 1: "
            "( deftemplate n is-a large ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFactTemplate("(deftemplate n is-a 1)"); }),
            "Parsing Error, Missing name of type for fact template in ParseFactTemplate at line 1: "
            "( deftemplate n is-a 1 ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFactTemplate("(deftemplate n extends (slot a))"); }),
            "Parsing Error, Missing name of parent template to extend in ParseFactTemplate at line 1: "
            "( deftemplate n extends ( ");
}

// ---------------------------------------------------------------- constraints on slots

TEST(ConstructGrammarTest, SlotConstraintsLiveInAnImplicitType) {
  TInferenceEngine Engine;
  const IFactSlot Ranged = SlotOf(Engine, "(slot b (type INTEGER) (range 0 10) (units cm))");
  const IKBDefinedType Own = Ranged->GetExtendedTypeInfo();
  ASSERT_TRUE(Own);
  EXPECT_TRUE(Own->GetImplicit());
  EXPECT_EQ(Own->GetReasoner(), static_cast<IReasoner*>(&Engine));
  EXPECT_TRUE(Own->GetRangeLimited());
  EXPECT_DOUBLE_EQ(Own->GetMinRange(), 0.0);
  EXPECT_DOUBLE_EQ(Own->GetMaxRange(), 10.0);
  EXPECT_EQ(Own->GetUnits(), "cm");
  EXPECT_EQ(Own->GetBaseTypes(), TKBTypes{dtInteger});
  EXPECT_EQ(Ranged->GetSlotType(), TKBTypes{dtInteger});

  // "?VARIABLE" leaves one end open; calls and globals give bounds.
  int Calls = 0;
  AddConstant(Engine, "zz-five", Int(5), Calls);
  Engine.GetGlobalVariables()->Add("*top*", test::Flt(7.5));
  const IKBDefinedType Open = SlotOf(Engine, "(slot b (range ?VARIABLE 10))")->GetExtendedTypeInfo();
  EXPECT_TRUE(Open->GetRangeLimited());
  EXPECT_DOUBLE_EQ(Open->GetMinRange(), -2147483648.0);
  EXPECT_DOUBLE_EQ(Open->GetMaxRange(), 10.0);
  const IKBDefinedType Computed = SlotOf(Engine, "(slot b (RANGE (zz-five) ?*top*))")->GetExtendedTypeInfo();
  EXPECT_EQ(Calls, 1);
  EXPECT_DOUBLE_EQ(Computed->GetMinRange(), 5.0);
  EXPECT_DOUBLE_EQ(Computed->GetMaxRange(), 7.5);
  const IFactSlot Counted = SlotOf(Engine, "(multislot b (cardinality 1 3.9))");
  EXPECT_TRUE(Counted->GetExtendedTypeInfo()->GetCardinalityLimited());
  EXPECT_EQ(Counted->GetExtendedTypeInfo()->GetMinCardinality(), 1);
  EXPECT_EQ(Counted->GetExtendedTypeInfo()->GetMaxCardinality(), 3);

  // A named type is never changed through a slot: the slot gets a copy.
  const IKBDefinedType Small = AddType(Engine, "small", TKBTypes{dtInteger});
  const IFactSlot Copied = SlotOf(Engine, "(slot b (type small) (range 0 1) (allowed-integers 0 1))");
  const IKBDefinedType Copy = Copied->GetExtendedTypeInfo();
  ASSERT_TRUE(Copy);
  EXPECT_NE(Copy, Small);
  EXPECT_TRUE(Copy->GetImplicit());
  EXPECT_TRUE(Copy->GetRangeLimited());
  EXPECT_FALSE(Small->GetRangeLimited());

  // Bounds and clauses that can't be read.
  const auto Error = [&](const std::string& Text) { return ErrorOf([&] { SlotOf(Engine, Text); }); };
  EXPECT_EQ(Error("(slot b (range a 1))"),
            "Parsing Error, Expected integer, variable, or function call for range in ParseDefinedType at line 1: "
            "( slot b ( range a ");
  EXPECT_EQ(Error("(slot b (allowed-colours red))"),
            "Parsing Error, Expected allowed value argument for deftype, received allowed-colours in "
            "ParseDefinedType at line 1: ( slot b ( allowed-colours ");
}

TEST(ConstructGrammarTest, FuzzySlots) {
  TInferenceEngine Engine;
  const IKBDefinedType Level = AddType(Engine, "level", TKBTypes{dtFuzzy});
  IFuzzyVariable Variable(new TKBFuzzyVariable("level"));
  Level->SetFuzzyType(Variable);
  Variable->AddTerm(Variable->NewFuzzySet("high"));

  // A default names a set of the type's variable.
  const IFactSlot Slot = SlotOf(Engine, "(slot b (type level) (default high))");
  const IKBValue Default = Slot->GetSlotDefault();
  ASSERT_EQ(Default->GetDType(), dtFuzzy);
  EXPECT_EQ(Default->GetAsFuzzy()->GetName(), "high");
  EXPECT_EQ(Slot->GetSlotType(), TKBTypes{dtFuzzy});
  // A fuzzy slot needs its type to read a default at all.
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type FUZZY) (default high))"); }),
            "Parsing Error, Fuzzy Type Definition needed to parse value in ParseValue(SlotTypes) at line 1: "
            "( slot b ( type FUZZY ) ( default ");

  // New limits are refused, all but a count of items.
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type level) (range 0 1))"); }),
            "Parsing Error, Invalid attempt to modify fuzzy type in fact template slot, fuzzy types cannot be "
            "modified in ParseFactTemplateSlot at line 1: ( slot b ( type level ) ( range ");
  const IFactSlot Counted = SlotOf(Engine, "(multislot b (type level) (cardinality 0 2))");
  EXPECT_TRUE(Counted->GetExtendedTypeInfo()->GetCardinalityLimited());
  EXPECT_TRUE(Counted->GetSlotType().Contains(dtFuzzy));
}

// Checks that need the defined type's own rules: ranges, allowed lists and
// their conversions, and defaults measured against them.
TEST(ConstructGrammarTest, ConstraintsAreEnforced) {
  TInferenceEngine Engine;
  const IKBDefinedType Numbers = SlotOf(Engine, "(slot b (allowed-numbers \"1\" 2 2.5))")->GetExtendedTypeInfo();
  EXPECT_EQ(Numbers->GetConstraints(), (TValueConstraints{vcInteger, vcFloat}));
  ASSERT_EQ(Numbers->GetConstraintIntegersCount(), 2);
  EXPECT_EQ(Numbers->GetConstraintInteger(0), 1);
  EXPECT_EQ(Numbers->GetConstraintInteger(1), 2);
  EXPECT_EQ(Numbers->GetConstraintFloatsCount(), 1);
  // Conversions never touch the shared constants.
  const IKBDefinedType Strings = SlotOf(Engine, "(slot b (allowed-strings TRUE 1) (allowed-symbols FALSE 5))")
                                     ->GetExtendedTypeInfo();
  ASSERT_EQ(Strings->GetConstraintStringsCount(), 2);
  EXPECT_EQ(Strings->GetConstraintString(0), "TRUE");
  EXPECT_EQ(FCTrue->GetDType(), dtAtom);
  ASSERT_EQ(Strings->GetConstraintAtomsCount(), 2);
  EXPECT_EQ(Strings->GetConstraintAtom(1), "5");

  // The default is measured against the limits; one the limits refuse is an
  // error, and a slot without one gets a default that they allow.
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (range 0 10) (default 20))"); }),
            "Parsing Error, Value \"20\" is not valid, Range must be between 0.0000 and 10.0000 for b slot in "
            "ParseFactTemplateSlot at line 1: ( slot b ( range 0 10 ) ( default 20 ) ) ");
  EXPECT_EQ(SlotOf(Engine, "(slot b (type INTEGER) (range 5 10))")->GetSlotDefault()->GetAsInteger(), 5);
  EXPECT_EQ(SlotOf(Engine, "(slot b (allowed-symbols red green))")->GetSlotDefault()->GetAsString(), "red");
  EXPECT_EQ(SlotOf(Engine, "(multislot b (cardinality 2 3))")->GetSlotDefault()->GetAsList()->GetCount(), 2);
  // A copied named type keeps its own limits for the slot's default.
  AddType(Engine, "word", TKBTypes{dtAtom});
  EXPECT_EQ(ErrorOf([&] { SlotOf(Engine, "(slot b (type word) (allowed-symbols x) (default y))"); }),
            "Parsing Error, Value \"y\" is not valid, Not in allowed values in ParseValue(SlotTypes) at line 1: "
            "( slot b ( type word ) ( allowed-symbols x ) ( default y ");
}

// ---------------------------------------------------------------- defined types

TEST(ConstructGrammarTest, DefinedTypes) {
  TInferenceEngine Engine;
  std::string Output;
  langtest::CaptureOutput(Engine, Output);
  std::vector<std::string> Heard;
  Engine.SetOnParseDefinedType([&](TObject*, const IKBDefinedType& T) { Heard.push_back(T->GetName()); });

  EXPECT_TRUE(Engine.Parse("(deftype percent \"a share\" extends (type INTEGER FLOAT) (range 0 100) (units %)"
                           " (cardinality 1 ?VARIABLE) (allowed-integers 0 50 100))",
                           true));
  EXPECT_EQ(Output, "percent\r\n");
  EXPECT_EQ(Heard, (std::vector<std::string>{"percent"}));
  const IKBDefinedType Percent = Engine.GetDefinedTypes()->Get("percent");
  ASSERT_TRUE(Percent);
  EXPECT_EQ(Percent->GetComment(), "a share");
  EXPECT_EQ(Percent->GetBaseTypes(), (TKBTypes{dtInteger, dtFloat}));
  EXPECT_TRUE(Percent->GetRangeLimited());
  EXPECT_DOUBLE_EQ(Percent->GetMaxRange(), 100.0);
  EXPECT_EQ(Percent->GetConstraints(), TValueConstraints{vcInteger});

  // A type used by a slot: by name, unchanged.
  const IFactSlot Share = SlotOf(Engine, "(slot s (type percent))");
  EXPECT_EQ(Share->GetExtendedTypeInfo(), Percent);
  EXPECT_EQ(Share->GetSlotType(), (TKBTypes{dtInteger, dtFloat}));

  const auto Error = [&](const std::string& Text) { return ErrorOf([&] { Engine.ParseDefinedType(Text); }); };
  EXPECT_EQ(Error("(deftype t)"),
            "Parsing Error, Missing keyword.  Expected \"extends\" in ParseDefinedType at line 1: ( deftype t ) ");
  EXPECT_EQ(Error("(deftype t extends (types INTEGER))"),
            "Parsing Error, Missing keyword.  Expected \"type\" in ParseDefinedType at line 1: "
            "( deftype t extends ( types ");
  // The body of a fuzzy type is read as a fuzzy variable, not as clauses.
  const std::string Fuzzy = Error("(deftype t extends (type FUZZY) (allowed-values a))");
  EXPECT_NE(Fuzzy.find(" in ParseFuzzyVariable at line 1: "), std::string::npos) << Fuzzy;
  EXPECT_EQ(Heard.size(), 1U);

  // Every cut of a good type fails cleanly.
  const std::string Good =
      "(deftype t \"c\" extends (type percent) (range ?VARIABLE 50) (units \"per cent\") (cardinality 0 3) "
      "(allowed-values 0 10 50))";
  ASSERT_TRUE(Engine.ParseDefinedType(Good));
  for (std::size_t Length = 0; Length < Good.size(); ++Length)
    EXPECT_THROW(Engine.ParseDefinedType(Good.substr(0, Length)), EKBException) << Good.substr(0, Length);

  // A type extending another copies its limits, and its own override them.
  ASSERT_TRUE(Engine.Parse("(deftype small extends (type INTEGER) (range 0 10) (units cm))", true));
  ASSERT_TRUE(Engine.Parse("(deftype tiny \"smaller\" extends (type small FLOAT) (range 0 2))", true));
  const IKBDefinedType Small = Engine.GetDefinedTypes()->Get("small");
  const IKBDefinedType Tiny = Engine.GetDefinedTypes()->Get("tiny");
  ASSERT_TRUE(Tiny);
  EXPECT_EQ(Tiny->GetAncestor(), Small);
  EXPECT_EQ(Tiny->GetUnits(), "cm");
  EXPECT_DOUBLE_EQ(Tiny->GetMaxRange(), 2.0);
  EXPECT_DOUBLE_EQ(Small->GetMaxRange(), 10.0);
  EXPECT_EQ(Small->GetBaseTypes(), TKBTypes{dtInteger});
}

}  // namespace
}  // namespace cogent
