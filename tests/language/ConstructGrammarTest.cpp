#include <gtest/gtest.h>

#include <map>
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

std::string Kinds(TKBTypes Types) {
  return Types == KBSlotTypes || Types == KBSlotTypes + KBMultiSlotTypes ? "any" : SetToString(Types, " ", false);
}

// "name "comment": kinds < ancestor range lo..hi units u card lo..hi" and the
// allowed values by kind.
std::string Summary(const IKBDefinedType& T) {
  std::string R = T->GetImplicit() ? "implicit" : T->GetName();
  if (!T->GetComment().empty()) R += " \"" + T->GetComment() + "\"";
  R += ": " + Kinds(T->GetBaseTypes());
  if (T->GetAncestor()) R += " < " + T->GetAncestor()->GetName();
  if (T->GetRangeLimited()) R += " range " + FloatToStr(T->GetMinRange()) + ".." + FloatToStr(T->GetMaxRange());
  if (!T->GetUnits().empty()) R += " units " + T->GetUnits();
  if (T->GetCardinalityLimited())
    R += " card " + IntToStr(T->GetMinCardinality()) + ".." + IntToStr(T->GetMaxCardinality());
  const auto Allowed = [&R](const char* Label, int Count, const auto& Item) {
    if (Count) R += std::string(" ") + Label;
    for (int I = 0; I < Count; ++I) R += " " + Item(I);
  };
  Allowed("ints", T->GetConstraintIntegersCount(), [&](int I) { return IntToStr(T->GetConstraintInteger(I)); });
  Allowed("floats", T->GetConstraintFloatsCount(), [&](int I) { return T->GetConstraintFloat(I)->ToString(); });
  Allowed("strings", T->GetConstraintStringsCount(), [&](int I) { return T->GetConstraintString(I); });
  Allowed("atoms", T->GetConstraintAtomsCount(), [&](int I) { return T->GetConstraintAtom(I); });
  return R;
}

// "kinds = default:kind [dynamic] {type}".
std::string Summary(const IFactSlot& S) {
  const IKBValue Default = S->GetSlotDefault();
  const std::string Text = Default->GetDType() == dtFuzzy ? Default->GetAsFuzzy()->GetName() : Default->ToString();
  std::string R = Kinds(S->GetSlotType()) + " = " + Text + ":" + Kinds(TKBTypes{Default->GetDType()});
  if (S->GetDefaultDynamic()) R += " dynamic";
  if (S->GetExtendedTypeInfo()) R += " {" + Summary(S->GetExtendedTypeInfo()) + "}";
  return R;
}

// "name [ordered] [< parent] "comment"" and its slots by name.
std::string Summary(const IFactTemplate& T) {
  std::string R = T->GetTemplateName() + (T->IsOrdered() ? " ordered" : "");
  if (T->GetParent()) R += " < " + T->GetParent()->GetTemplateName();
  if (!T->GetComment().empty()) R += " \"" + T->GetComment() + "\"";
  std::map<std::string, std::string> Slots;
  for (int I = 0; I < T->GetSlotNames().GetCount(); ++I)
    Slots[T->GetSlotNames().Get(I)] = Summary(T->GetSlot(T->GetSlotNames().Get(I)));
  for (const auto& [Name, Slot] : Slots) R += " | " + Name + " " + Slot;
  return R;
}

// A construct or slot read on its own, in short.
std::string Read(TInferenceEngine& Engine, const std::string& Text) {
  if (Text.starts_with("(deftemplate")) return Summary(Engine.ParseFactTemplate(Text));
  if (Text.starts_with("(deftype")) return Summary(Engine.ParseDefinedType(Text));
  return Summary(SlotOf(Engine, Text));
}

// Functions, globals and types that the tables below refer to: zz-seven and
// zz-five (counted in Calls), ?*max* 9, ?*top* 7.5, ?*kind* word; the types
// small (INTEGER), word (ATOM) and level (fuzzy, with the set high); the
// template base (a INTEGER 4, b).
void Prepare(TInferenceEngine& Engine, int& Calls) {
  AddConstant(Engine, "zz-seven", Int(7), Calls);
  AddConstant(Engine, "zz-five", Int(5), Calls);
  Engine.GetGlobalVariables()->Add("*max*", Int(9));
  Engine.GetGlobalVariables()->Add("*top*", test::Flt(7.5));
  Engine.GetGlobalVariables()->Add("*kind*", test::Atom("word"));
  AddType(Engine, "small", TKBTypes{dtInteger});
  AddType(Engine, "word", TKBTypes{dtAtom});
  const IKBDefinedType Level = AddType(Engine, "level", TKBTypes{dtFuzzy});
  IFuzzyVariable Variable(new TKBFuzzyVariable("level"));
  Level->SetFuzzyType(Variable);
  Variable->AddTerm(Variable->NewFuzzySet("high"));
  ASSERT_TRUE(Engine.Parse("(deftemplate base (slot a (type INTEGER) (default 4)) (slot b))", true));
}

// ---------------------------------------------------------------- templates and types entering the engine

TEST(ConstructGrammarTest, ConstructsEnterTheEngineWhole) {
  TInferenceEngine Engine;
  std::string Output;
  langtest::CaptureOutput(Engine, Output);
  std::vector<std::string> Heard;
  Engine.SetOnParseFactTemplate([&](TObject*, const IFactTemplate& T) { Heard.push_back(T->GetTemplateName()); });
  Engine.SetOnParseDefinedType([&](TObject*, const IKBDefinedType& T) { Heard.push_back(T->GetName()); });

  EXPECT_TRUE(Engine.Parse("(deftemplate person \"people we know\"\n"
                           "  (slot name (type STRING))\n"
                           "  (field age (type INTEGER) (default 1.5)))\n"
                           "(deftype length extends (type INTEGER) (range 0 10) (units cm))\n"
                           "(deftemplate empty)",
                           true));
  EXPECT_EQ(Output, "person\r\nlength\r\nempty\r\n");
  EXPECT_EQ(Heard, (std::vector<std::string>{"person", "length", "empty"}));
  const IFactTemplate Person = Engine.FindFactTemplate("person");
  ASSERT_TRUE(Person);
  // Defaults are converted to the slot's kind of number; without one each
  // slot gets one of its type.
  EXPECT_EQ(Summary(Person), "person \"people we know\" | age Integer = 1:Integer | name String = \"\":String");
  EXPECT_EQ(Person->GetModule(), Engine.GetCurrentModule());
  // A template without slots is ordered once it enters the engine.
  EXPECT_TRUE(Engine.FindFactTemplate("empty")->IsOrdered());
  // A type extending another copies its limits, and its own override them.
  ASSERT_TRUE(Engine.Parse("(deftype tiny \"smaller\" extends (type length FLOAT) (range 0 2))", true));
  EXPECT_EQ(Summary(Engine.GetDefinedTypes()->Get("tiny")), "tiny \"smaller\": Integer Float < length range 0..2 units cm");
  EXPECT_EQ(Summary(Engine.GetDefinedTypes()->Get("length")), "length: Integer range 0..10 units cm");

  // A broken construct is not registered; collecting errors, the parse goes
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
  EXPECT_EQ(Heard.size(), 5U);
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

// ---------------------------------------------------------------- what is read, in short

TEST(ConstructGrammarTest, WhatIsRead) {
  TInferenceEngine Engine;
  int Calls = 0;
  Prepare(Engine, Calls);
  const std::pair<const char*, const char*> Cases[] = {
      // Kinds.
      {"(slot b (type ?VARIABLE))", "any = :Atom"},
      {"(multislot b (type STRING))", "String List MultiSlot = :List"},
      // Kinds that hold handles are integers too, and so default to 0.
      {"(slot b (type OBJECT FACTID))", "Integer FactId Object = 0:Integer"},
      {"(slot b (type CLASS))", "Integer Class = 0:Integer"},
      // Qualifiers ignore case.
      {"(slot b (TYPE INTEGER))", "Integer = 0:Integer"},
      {"(slot b (type FLOAT) (default 1))", "Float = 1.0000:Float"},
      // A defined type names the kinds and constrains the slot; a global may
      // name it too.
      {"(slot b (type small FLOAT))", "Integer Float = 0:Integer {small: Integer}"},
      {"(slot b (type ?*kind*))", "Atom = :Atom {word: Atom}"},
      // Defaults: calls run at once unless dynamic; variables must be globals.
      {"(slot b (default (zz-seven)))", "any = 7:Integer"},
      {"(slot b (default-dynamic (zz-seven)))", "any = (zz-seven):FunCall dynamic"},
      {"(multislot b (default a \"s\" 3 (zz-seven)))", "any = a \"s\" 3 (zz-seven) :List"},
      {"(slot b (type INTEGER) (default ?*max*))", "Integer = 9:Integer"},
      // Constraints live in an implicit type; "?VARIABLE" leaves one end
      // open; calls and globals give bounds.
      {"(slot b (type INTEGER) (range 0 10) (units cm))", "Integer = 0:Integer {implicit: Integer range 0..10 units cm}"},
      {"(slot b (range ?VARIABLE 10))", "any = :Atom {implicit: any range -2147483648..10}"},
      {"(slot b (RANGE (zz-five) ?*top*))", "any = :Atom {implicit: any range 5..7.5}"},
      {"(multislot b (cardinality 1 3.9))", "any =  :List {implicit: any card 1..3}"},
      // A named type is never changed through a slot: the slot gets a copy.
      {"(slot b (type small) (range 0 1) (allowed-integers 0 1))", "Integer = 0:Integer {implicit: Integer range 0..1 ints 0 1}"},
      {"(slot b (type small))", "Integer = 0:Integer {small: Integer}"},
      // Allowed lists convert their items, never the shared constants.
      {"(slot b (allowed-numbers \"1\" 2 2.5))", "any = :Atom {implicit: any ints 1 2 floats 2.5000}"},
      {"(slot b (allowed-strings TRUE 1) (allowed-symbols FALSE 5))", "any = FALSE:Atom {implicit: any strings TRUE 1 atoms FALSE 5}"},
      // Without a default the limits choose one that they allow.
      {"(slot b (type INTEGER) (range 5 10))", "Integer = 5:Integer {implicit: Integer range 5..10}"},
      {"(slot b (allowed-symbols red green))", "any = red:Atom {implicit: any atoms red green}"},
      {"(multislot b (cardinality 2 3))", "any =   :List {implicit: any card 2..3}"},
      // A fuzzy default names a set of the type's variable; a count of items
      // is the one limit a fuzzy slot takes.
      {"(slot b (type level) (default high))", "Fuzzy = high:Fuzzy {level: Fuzzy}"},
      {"(multislot b (type level) (cardinality 0 2))",
       "List Fuzzy MultiSlot = :List {implicit: Fuzzy < level card 0..2}"},
      // Templates: a child copies its parent's slots and overrides them; an
      // unknown parent is no parent; is-a makes one typed multislot.
      {"(deftemplate child \"kid\" extends base (slot b (default x)) (slot c))",
       "child < base \"kid\" | a Integer = 4:Integer | b any = x:Atom | c any = :Atom"},
      {"(deftemplate orphan extends nobody)", "orphan"},
      {"(deftemplate numbers is-a small)", "numbers ordered | __Data Integer List MultiSlot = :List {small: Integer}"},
      {"(deftype percent \"a share\" extends (type INTEGER FLOAT) (range 0 100) (units %) (cardinality 1 ?VARIABLE)"
       " (allowed-integers 0 50 100))",
       "percent \"a share\": Integer Float range 0..100 units % card 1..2147483647 ints 0 50 100"},
  };
  for (const auto& [Text, Expected] : Cases) EXPECT_EQ(Read(Engine, Text), Expected) << Text;
  // The plain default and the bound ran their calls, the dynamic default
  // didn't; the parent keeps its own slots.
  EXPECT_EQ(Calls, 2);
  EXPECT_EQ(FCTrue->GetDType(), dtAtom);
  EXPECT_EQ(Engine.FindFactTemplate("base")->GetSlotCount(), 2);
  EXPECT_EQ(SlotOf(Engine, "(slot b (range 0 1))")->GetExtendedTypeInfo()->GetReasoner(),
            static_cast<IReasoner*>(&Engine));
}

TEST(ConstructGrammarTest, Errors) {
  TInferenceEngine Engine;
  int Calls = 0;
  Prepare(Engine, Calls);
  const std::pair<const char*, const char*> Cases[] = {
      {"(deftemplate)", "Parsing Error, Missing name in ParseFullName at line 1: ( deftemplate ) "},
      {"(deftemplate a b)",
       "Parsing Error, Expected \"(\", \"extends\", or \"is-a\" in ParseFactTemplate at line 1: ( deftemplate a b "},
      {"(deftemplate a (slot b)",
       "Parsing Error, Expected \")\" in ParseFactTemplate at line 1: ( deftemplate a ( slot b ) EOF "},
      {"(deftemplate n is-a large)",
       "Parsing Error, type name unknown or invalid: large in ParseFactTemplate at line 1: ( deftemplate n is-a large "},
      {"(deftemplate n is-a 1)",
       "Parsing Error, Missing name of type for fact template in ParseFactTemplate at line 1: ( deftemplate n is-a 1 "},
      {"(deftemplate n extends (slot a))",
       "Parsing Error, Missing name of parent template to extend in ParseFactTemplate at line 1: "
       "( deftemplate n extends ( "},
      // Kinds and slot words don't ignore case.
      {"(slot b (type integer))",
       "Parsing Error, Invalid slot type: integer in ParseSlotTypes at line 1: ( slot b ( type integer "},
      {"(slot b (type ?INTEGER))", "Corrupted Binding, variable not found: INTEGER"},
      {"(slot b (type FUZZY INTEGER))",
       "Parsing Error, Cannot mix fuzzy type with other primitive types in ParseSlotTypes at line 1: "
       "( slot b ( type FUZZY INTEGER "},
      {"(slot b (type small word))",
       "Parsing Error, Multiple inheritance is not allowed for deftypes in ParseSlotTypes at line 1: "
       "( slot b ( type small word "},
      // A default of another kind is refused when read; one written before
      // the type is checked against the slot at the end.
      {"(slot b (type INTEGER) (default abc))",
       "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for ParseValue slot in "
       "ParseValue(SlotTypes) at line 1: ( slot b ( type INTEGER ) ( default abc "},
      {"(slot b (default abc) (type INTEGER))",
       "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for b slot in "
       "ParseFactTemplateSlot at line 1: ( slot b ( default abc ) ( type INTEGER ) ) "},
      {"(slot b (range a 1))",
       "Parsing Error, Expected integer, variable, or function call for range in ParseDefinedType at line 1: "
       "( slot b ( range a "},
      {"(slot b (allowed-colours red))",
       "Parsing Error, Expected allowed value argument for deftype, received allowed-colours in "
       "ParseDefinedType at line 1: ( slot b ( allowed-colours "},
      // Defaults are measured against the limits, a copied named type's too.
      {"(slot b (range 0 10) (default 20))",
       "Parsing Error, Value \"20\" is not valid, Range must be between 0.0000 and 10.0000 for b slot in "
       "ParseFactTemplateSlot at line 1: ( slot b ( range 0 10 ) ( default 20 ) ) "},
      {"(slot b (type word) (allowed-symbols x) (default y))",
       "Parsing Error, Value \"y\" is not valid, Not in allowed values in ParseValue(SlotTypes) at line 1: "
       "( slot b ( type word ) ( allowed-symbols x ) ( default y "},
      // A fuzzy slot needs its type to read a default, and takes no new range.
      {"(slot b (type FUZZY) (default high))",
       "Parsing Error, Fuzzy Type Definition needed to parse value in ParseValue(SlotTypes) at line 1: "
       "( slot b ( type FUZZY ) ( default "},
      {"(slot b (type level) (range 0 1))",
       "Parsing Error, Invalid attempt to modify fuzzy type in fact template slot, fuzzy types cannot be "
       "modified in ParseFactTemplateSlot at line 1: ( slot b ( type level ) ( range "},
      {"(deftype t)",
       "Parsing Error, Missing keyword.  Expected \"extends\" in ParseDefinedType at line 1: ( deftype t ) "},
      {"(deftype t extends (types INTEGER))",
       "Parsing Error, Missing keyword.  Expected \"type\" in ParseDefinedType at line 1: ( deftype t extends ( types "},
  };
  for (const auto& [Text, Expected] : Cases) EXPECT_EQ(ErrorOf([&] { Read(Engine, Text); }), Expected) << Text;
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFactTemplate("(deftype a)"); }),
            "Parsing Error, Expected \"( deftemplate\" in ParseFactTemplate at line 1: ( deftype ");
  // The body of a fuzzy type is read as a fuzzy variable, not as clauses.
  const std::string Fuzzy = ErrorOf([&] { Read(Engine, "(deftype t extends (type FUZZY) (allowed-values a))"); });
  EXPECT_NE(Fuzzy.find(" in ParseFuzzyVariable at line 1: "), std::string::npos) << Fuzzy;

  // Every cut of a good template or type fails cleanly.
  for (const std::string Good :
       {"(deftemplate a \"c\" (slot b (type INTEGER) (range 0 ?VARIABLE) (default 3)) "
        "(multislot c (cardinality 1 2) (allowed-symbols x y)) (slot d (units cm) (default-dynamic (f))))",
        "(deftype t \"c\" extends (type small) (range ?VARIABLE 50) (units \"per cent\") (cardinality 0 3) "
        "(allowed-values 0 10 50))"}) {
    ASSERT_EQ(ErrorOf([&] { Read(Engine, Good); }), "no error");
    for (std::size_t Length = 0; Length < Good.size(); ++Length)
      EXPECT_THROW(Read(Engine, Good.substr(0, Length)), EKBException) << Good.substr(0, Length);
  }
}

// Fact sets are read apart from the engine and asserted at reset; globals
// keep their expressions, which a reset evaluates again.
TEST(ConstructGrammarTest, FactSetsAndGlobals) {
  TInferenceEngine Engine;
  int Calls = 0;
  AddConstant(Engine, "zz-five", Int(5), Calls);
  Engine.Parse("(deffacts start \"first things\" (item apple) (count 3)) (defglobal ?*x* = 1 ?*y* = (zz-five))", true);
  ASSERT_EQ(Engine.GetFactSets()->GetCount(), 1);
  const TFactSet* Start = Engine.GetFactSets()->GetItem(0);
  EXPECT_EQ(Start->GetComment(), "first things");
  EXPECT_EQ(Start->GetCount(), 2);
  EXPECT_EQ(Engine.GetFactCount(), 1);  // the initial fact alone
  EXPECT_EQ(Engine.ParseValue("?*y*")->Resolve(Engine.GetGlobalContext())->GetAsInteger(), 5);
  EXPECT_EQ(Calls, 1);
  Engine.ParseNExecuteFunCall("(bind ?*x* 7)");
  Engine.Reset();
  EXPECT_EQ(Engine.GetFactCount(), 3);
  EXPECT_EQ(Engine.ParseValue("?*x*")->Resolve(Engine.GetGlobalContext())->GetAsInteger(), 1);
  EXPECT_EQ(Calls, 2);

  EXPECT_NE(ErrorOf([&] { Engine.Parse("(deffacts bad (item) 3)", true); }).find("Expected \")\" in ParseFactSet"),
            std::string::npos);
  EXPECT_NE(ErrorOf([&] { Engine.Parse("(defglobal ?*z* = )", true); }).find("Expected value missing"),
            std::string::npos);
  EXPECT_NE(ErrorOf([&] { Engine.Parse("(defglobal ?*z* = 1", true); }).find("ParseGlobalVariables"),
            std::string::npos);
  EXPECT_EQ(Engine.GetFactSets()->GetCount(), 1);
}

}  // namespace
}  // namespace cogent

namespace cogent {
namespace {

TEST(ConstructGrammarTest, Modules) {
  TInferenceEngine Engine;
  Engine.Parse(
      "(defmodule MAIN \"main\" (export deftemplate reading \"level\"))"
      "(deftemplate reading (slot v)) (deftemplate level (slot v)) (deftemplate hidden)"
      "(defmodule SENSE \"reads\" (import MAIN deftemplate ?ALL) (import MAIN deftype x) (export ?ALL))"
      "(deftemplate alarm)",
      true);
  const IModule Main = Engine.GetModules()->GetModule("MAIN");
  const IModule Sense = Engine.GetModules()->GetModule("SENSE");
  // The main module takes a declaration in place and keeps its knowledge.
  EXPECT_EQ(Engine.GetModules()->ToNamesString(","), "MAIN,SENSE");
  EXPECT_EQ(Main->GetComment(), "main");
  EXPECT_TRUE(Main->GetFactTemplates()->ContainsKey("reading"));
  EXPECT_EQ(Main->GetExportItems()->GetFactTemplates().GetText(), "reading\r\nlevel\r\n");
  // The new module is current, and one import of a module gathers its statements.
  EXPECT_EQ(Engine.GetCurrentModule(), Sense);
  EXPECT_EQ(Sense->GetComment(), "reads");
  ASSERT_EQ(Sense->GetImportModuleCount(), 1);
  const IModuleImport Import = Sense->GetImportModule(0);
  EXPECT_EQ(Import->GetFactTemplatesShared(), mkbAll);
  EXPECT_EQ(Import->GetDefinedTypesShared(), mkbCustom);
  EXPECT_EQ(Sense->GetExportItems()->GetDefinedTypesShared(), mkbAll);
  EXPECT_EQ(Sense->GetFactTemplates()->Get("reading"), Main->GetFactTemplates()->Get("reading"));
  EXPECT_TRUE(Sense->GetFactTemplates()->ContainsKey("level"));
  EXPECT_FALSE(Sense->GetFactTemplates()->ContainsKey("hidden"));
  EXPECT_TRUE(Sense->GetFactTemplates()->ContainsKey("alarm"));
}

TEST(ConstructGrammarTest, ModuleErrorsLeaveTheModulesAsTheyWere) {
  TInferenceEngine Engine;
  Engine.Parse("(defmodule A (export ?ALL)) (defmodule B (import A deftemplate x y))", true);
  const std::pair<const char*, const char*> Cases[] = {
      {"(defmodule C (import Z ?ALL))",
       "Parsing Error, Module does not exist: \"Z\" in ParseModule at line 1:  ( defmodule C ( import Z "},
      {"(defmodule A)", "Parsing Error, Module Name already exists: \"A\" in ParseModule at line 1:  ( defmodule A ) "},
      {"(defmodule MAIN (import MAIN ?ALL))",
       "Parsing Error, Module \"MAIN\" cannot import from itself in ParseModule at line 1:  ( defmodule MAIN ( import "
       "MAIN "},
      {"(defmodule MAIN (import A ?ALL))",
       "Parsing Error, Invalid module dependency.  Module \"MAIN\" imports module \"A\" which is later in the module "
       "list in ParseModule at line 1:  ( defmodule MAIN ( import A "},
      {"(defmodule C (export NONE))",
       "Parsing Error, Missing module export keyword (?ALL, ?NONE, deftype, or deftemplate): \"NONE\" in ParseModule "
       "at line 1:  ( defmodule C ( export NONE "},
      {"(defmodule C (export deftype 1))",
       "Parsing Error, Missing module export keyword (?ALL, ?NONE, deftype, or deftemplate): \"1\" in ParseModule at "
       "line 1:  ( defmodule C ( export deftype 1 "},
      {"(defmodule C (import A deftemplate x 1))",
       "Parsing Error, Invalid name in defmodule name list: \"1\" in ParseNameList at line 1:  ( defmodule C ( import "
       "A deftemplate x 1 "},
      {"(defmodule C (imports A))",
       "Parsing Error, Invalid defmodule keyword: \"imports\" in ParseModule at line 1:  ( defmodule C ( imports "},
      {"(defmodule C (export ?ALL)",
       "Parsing Error, Expected \")\" in ParseModule at line 1:  ( defmodule C ( export ?ALL ) EOF "},
      {"(defmodule C (export ?ALL x))",
       "Parsing Error, Expected \")\" in ParseModule at line 1:  ( defmodule C ( export ?ALL x "},
  };
  for (const auto& [Text, Message] : Cases) {
    EXPECT_EQ(ErrorOf<EKBParseException>([&] { Engine.Parse(Text, true); }), Message) << Text;
    EXPECT_EQ(Engine.GetModules()->ToNamesString(","), "MAIN,A,B") << Text;
  }
}

}  // namespace
}  // namespace cogent

namespace cogent {
namespace {

TEST(ConstructGrammarTest, ConstructHelpIsCommentText) {
  TInferenceEngine Engine;
  TKBParser& Parser = *Engine.GetParser();
  EXPECT_EQ(Parser.PrettyPrint(ptValue), "");
  const std::string FactSets = Parser.PrettyPrint(ptFactSet);
  EXPECT_TRUE(FactSets.starts_with(";; deffacts function\r\n;; \r\n;; Fact sets, or deffacts, define "));
  EXPECT_TRUE(FactSets.ends_with(";; \r\n;; Syntax:\r\n;; (deffacts <name> [\"comment\"] <fact>*)"));
  // Wrapped at the column, and no line escapes the comment.
  for (TParsedType Kind : {ptRule, ptFactTemplate, ptFunction, ptGlobals, ptDefType, ptDefModule}) {
    const std::string Help = Parser.PrettyPrint(Kind);
    ASSERT_FALSE(Help.empty());
    std::size_t Start = 0;
    while (Start < Help.size()) {
      const std::size_t End = std::min(Help.find("\r\n", Start), Help.size());
      EXPECT_EQ(Help.compare(Start, 3, ";; "), 0) << Help.substr(Start, End - Start);
      Start = End + 2;
    }
  }
}

}  // namespace
}  // namespace cogent
