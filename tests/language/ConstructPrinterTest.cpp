#include <gtest/gtest.h>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

const std::string CRLF = "\r\n";
const std::string I1 = IndentString(1);
const std::string I2 = IndentString(2);

IKBDefinedType NamedType(const std::string& Name, TKBTypes Types) {
  return IKBDefinedType(new TKBDefinedType(Name, Types));
}

IKBDefinedType ImplicitType(TKBTypes Types) {
  IKBDefinedType Type(new TKBDefinedType());
  Type->SetBaseTypes(Types);
  Type->SetImplicit(true);
  return Type;
}

TEST(ConstructPrinterTest, SlotDefaults) {
  IFactTemplate Template(new TFactTemplate(nullptr, "t"));
  // Every kind allowed: only the default follows the name.
  EXPECT_EQ(PrettyPrint(*Template->AddSlot("age", Int(30))), "(slot age (default 30) )");
  // A float default has four decimals, so a tiny one prints as zero.
  EXPECT_EQ(PrettyPrint(*Template->AddSlot("ratio", Flt(0.00001))), "(slot ratio (default 0.0000) )");
  EXPECT_EQ(PrettyPrint(*Template->AddSlot("name", Str("say \"hi\""))), "(slot name (default \"say \\\"hi\\\"\") )");
  // The empty value, the empty list and a value with no text say nothing.
  EXPECT_EQ(PrettyPrint(*Template->AddSlot("note", FCNil)), "(slot note )");
  EXPECT_EQ(PrettyPrint(*Template->AddMultiSlot("pair", List({Atom("a"), Int(2)}))),
            "(multislot pair (default a 2 ) )");

  // A dynamic default keeps its call.
  IFunCall Call(new TFunctionCall("time"));
  const IFactSlot Stamp = Template->AddSlot("stamp", IKBValue(new TKBValue(Call)));
  Stamp->SetDefaultDynamic(true);
  EXPECT_EQ(PrettyPrint(*Stamp), "(slot stamp (default-dynamic (time)) )");
}

TEST(ConstructPrinterTest, SlotTypesWithoutDefinedType) {
  IFactTemplate Template(new TFactTemplate(nullptr, "t"));
  const IFactSlot Count = Template->AddSlot("count", Int(5));
  Count->SetSlotType({dtInteger});
  // The default goes on a line of its own.
  EXPECT_EQ(PrettyPrint(*Count), "(slot count (type INTEGER)" + CRLF + I2 + "(default 5) )");
  // Always-valid kinds are not written.
  Count->SetSlotType({dtInteger, dtFloat, dtVariable, dtFunCall});
  EXPECT_EQ(PrettyPrint(*Count), "(slot count (type INTEGER FLOAT)" + CRLF + I2 + "(default 5) )");

  // All plain kinds of a multislot are as good as no type.
  const IFactSlot Names = Template->AddMultiSlot("names", List({Str("x")}));
  Names->SetSlotType(KBSlotTypes + KBMultiSlotTypes);
  EXPECT_EQ(PrettyPrint(*Names), "(multislot names (default \"x\" ) )");
}

TEST(ConstructPrinterTest, SlotWithDefinedType) {
  IFactTemplate Template(new TFactTemplate(nullptr, "t"));
  // A named type is referred to by its name; the default follows on the line.
  const IKBDefinedType Colour = NamedType("colour", {dtAtom});
  const IFactSlot Paint = Template->AddSlot("paint", Atom("red"));
  Paint->SetExtendedTypeInfo(Colour);
  Paint->SetSlotDefault(Atom("red"));
  EXPECT_EQ(PrettyPrint(*Paint), "(slot paint (type colour)" + I2 + "(default red) )");

  // An implicit type writes its own clauses and stays open.
  const IKBDefinedType Own = ImplicitType({dtInteger});
  Own->SetRangeLimited(true);
  Own->SetMinRange(1);
  Own->SetMaxRange(10);
  const IFactSlot Level = Template->AddSlot("level", Int(1));
  Level->SetExtendedTypeInfo(Own);
  Level->SetSlotDefault(Int(3));
  EXPECT_EQ(PrettyPrint(*Level),
            "(slot level (type INTEGER)" + CRLF + I2 + "(range 1 10) " + CRLF + I2 + "(default 3) )");
  Level->SetSlotDefault(FCNil);
  EXPECT_EQ(PrettyPrint(*Level), "(slot level (type INTEGER)" + CRLF + I2 + "(range 1 10) " + CRLF + ")");

  // In a template each line of a slot is indented one step further.
  IFactTemplate Gauge(new TFactTemplate(nullptr, "gauge"));
  Gauge->AddSlot("level", Int(1))->SetExtendedTypeInfo(Own);
  Gauge->GetSlot("level")->SetSlotDefault(Int(3));
  EXPECT_EQ(PrettyPrint(*Gauge, false), "(deftemplate gauge" + CRLF + I1 + "(slot level (type INTEGER)" + CRLF + I1 +
                                            I2 + "(range 1 10) " + CRLF + I1 + I2 + "(default 3) ))");
}

TEST(ConstructPrinterTest, Templates) {
  IFactTemplate Person(new TFactTemplate(nullptr, "person"));
  // Nothing but the name for a template with no slots.
  EXPECT_EQ(PrettyPrint(*Person, false), "(deftemplate person)");
  Person->SetComment("a \"real\" one");
  Person->AddSlot("age", Int(30));
  EXPECT_EQ(PrettyPrint(*Person, false),
            "(deftemplate person \"a \"real\" one\"" + CRLF + I1 + "(slot age (default 30) ))");
  // Without an engine there is no module to name.
  EXPECT_EQ(PrettyPrint(*Person, true), PrettyPrint(*Person, false));
}

TEST(ConstructPrinterTest, OrderedTemplates) {
  IFactTemplate Colour(new TFactTemplate(nullptr, "colour"));
  const IFactSlot Data = Colour->AddMultiSlot(SDefaultSlotName, FCNilList);
  ASSERT_TRUE(Colour->IsOrdered());
  // The hidden slot isn't shown while no type constrains it.
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour)");
  Colour->SetComment("(Implied)");
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour \"(Implied)\")");
  Colour->SetComment("");

  Data->SetExtendedTypeInfo(NamedType("temperature", {dtFloat}));
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour is-a temperature)");
  // Behind a parent the typed slot is written out: "extends" and "is-a" don't go together.
  IFactTemplate Hue(new TFactTemplate(nullptr, "hue", "", Colour));
  ASSERT_TRUE(Hue->IsOrdered());
  EXPECT_EQ(PrettyPrint(*Hue, false),
            "(deftemplate hue" + CRLF + I1 + "extends colour (multislot __Data (type temperature)))");

  Data->SetExtendedTypeInfo(ImplicitType({dtInteger}));
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour (multislot __Data (type INTEGER)" + CRLF + "))");
}

TEST(ConstructPrinterTest, EngineTemplatesAndModules) {
  TInferenceEngine Engine;
  const IFactTemplate Colour = Engine.CreateFactTemplate("colour");
  ASSERT_TRUE(Colour);
  EXPECT_EQ(PrettyPrint(*Colour, true), "(deftemplate MAIN::colour \"(Implied)\")");
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour \"(Implied)\")");
  EXPECT_EQ(Colour->ToString(), Engine.PrettyPrint(Colour));

  IFactTemplate Item(new TFactTemplate(&Engine, "item"));
  const IFactSlot Size = Item->AddSlot("size", Int(1));
  Size->SetSlotType({dtInteger});
  EXPECT_EQ(Size->ToString(), "(slot size (type INTEGER)" + CRLF + I2 + "(default 1) )");
  EXPECT_EQ(Item->ToString(), Engine.PrettyPrint(IFactTemplate(Item)));

  IKBDefinedType Score(new TKBDefinedType("score", {dtInteger}, &Engine));
  EXPECT_EQ(PrettyPrint(*Score, true), "(deftype MAIN::score extends (type INTEGER))");
  EXPECT_EQ(PrettyPrint(*Score, false), "(deftype score extends (type INTEGER))");
}

TEST(ConstructPrinterTest, DefinedTypeClauses) {
  const IKBDefinedType Score = NamedType("score", {dtInteger, dtFloat});
  EXPECT_EQ(PrettyPrint(*Score, false), "(deftype score extends (type INTEGER FLOAT))");

  // Open bounds are ?VARIABLE, others whole numbers cut toward zero.
  Score->SetRangeLimited(true);
  Score->SetMaxRange(10.9);
  EXPECT_EQ(PrettyPrint(*Score, false),
            "(deftype score extends (type INTEGER FLOAT)" + CRLF + I2 + "(range ?VARIABLE 10))");
  Score->SetMinRange(-0.5);
  EXPECT_NE(PrettyPrint(*Score, false).find("(range 0 10))"), std::string::npos);
  Score->SetMinRange(-1.5);
  Score->SetMaxRange(2147483647.0);
  EXPECT_NE(PrettyPrint(*Score, false).find("(range -1 ?VARIABLE))"), std::string::npos);
  Score->SetMinRange(0.5);
  Score->SetMaxRange(3);

  Score->SetUnits("points per game");
  Score->SetCardinalityLimited(true);
  Score->SetMinCardinality(1);
  EXPECT_EQ(PrettyPrint(*Score, false), "(deftype score extends (type INTEGER FLOAT)" + CRLF + I2 + "(range 0 3) " +
                                            CRLF + I2 + "(units \"points per game\")" + CRLF + I2 +
                                            "(cardinality 1 ?VARIABLE))");
  Score->SetUnits("pts");
  Score->SetMaxCardinality(4);
  EXPECT_NE(PrettyPrint(*Score, false).find(I2 + "(units pts)" + CRLF + I2 + "(cardinality 1 4))"),
            std::string::npos);

  // A comment stands on its own line, quoted as it is.
  const IKBDefinedType Noted = NamedType("noted", {dtString});
  Noted->SetComment("say \"so\"");
  EXPECT_EQ(PrettyPrint(*Noted, false),
            "(deftype noted " + CRLF + I1 + "\"say \"so\"\"" + CRLF + I1 + "extends (type STRING))");

  // An implicit type is a slot's clauses, left open.
  const IKBDefinedType Own = ImplicitType({dtString, dtAtom});
  Own->SetUnits("m");
  EXPECT_EQ(PrettyPrint(*Own, true), "(type ATOM STRING)" + CRLF + I2 + "(units m)" + CRLF);
}

TEST(ConstructPrinterTest, FuzzyDefinedType) {
  const IKBDefinedType Heat = NamedType("heat", {dtFuzzy});
  ASSERT_TRUE(Heat->GetFuzzyType());
  Heat->SetUnits("degrees");
  Heat->SetCardinalityLimited(true);
  // The variable writes the body; no clause of the type's own follows.
  const std::string Text = PrettyPrint(*Heat, false);
  EXPECT_EQ(Text, TrimRight("(deftype heat extends (type FUZZY)" + CRLF + Heat->GetFuzzyType()->ToString()) + ")");
  EXPECT_EQ(Text.find("(cardinality"), std::string::npos);
}

// What the writer gives, the reader takes back alike.
TEST(ConstructPrinterTest, RoundTrips) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(deftype score \"a score\" extends (type INTEGER FLOAT) (range ?VARIABLE 10)"
                           " (units \"points per game\") (cardinality 1 4))"
                           "(deftype colour extends (type ATOM) (allowed-symbols red green))"
                           "(deftype percent extends (type INTEGER) (range 0 100))",
                           true));
  for (const std::string Text : {
           "(deftype score2 \"a score\" extends (type INTEGER FLOAT) (range ?VARIABLE 10) (units \"points per game\")"
           " (cardinality 1 4))",
           "(deftype small extends (type score) (range 1 5))",
           "(deftype warm extends (type colour) (allowed-symbols red))",
           "(deftype mixed extends (type LEXEME NUMBER) (allowed-values a \"b c\" 1 2.5))",
       }) {
    const IKBDefinedType Type = Engine.ParseDefinedType(Text);
    ASSERT_TRUE(Type) << Text;
    const std::string Printed = Type->ToString();
    const IKBDefinedType Back = Engine.ParseDefinedType(Printed);
    ASSERT_TRUE(Back) << Printed;
    EXPECT_TRUE(Type->Equals(IInterface(Back))) << Printed;
    EXPECT_EQ(Back->ToString(), Printed);
  }

  for (const std::string Text : {
           "(deftemplate reading \"one reading\" (slot level (type INTEGER) (range 1 10) (default 3))"
           " (multislot tags (type STRING) (default \"a\" \"b c\")) (slot kind (type colour) (default green))"
           " (slot ratio (default 0.00001)) (slot any) (multislot many (type INTEGER) (cardinality 1 ?VARIABLE))"
           " (slot stamp (default-dynamic (+ 1 2))) (slot points (type score)))",
           "(deftemplate measure is-a percent)",
           "(deftemplate submeasure extends measure)",
           "(deftemplate counts (multislot __Data (type INTEGER) (range 0 9)))",
           // Constraints on an untyped slot, and on a private copy of a named type.
           "(deftemplate limits (slot j (range 0 10)) (slot k (type percent) (units m)))",
       }) {
    ASSERT_TRUE(Engine.Parse(Text, true)) << Text;
    const IFactTemplate Template = Engine.FindFactTemplate(Text.substr(13, Text.find(' ', 13) - 13));
    ASSERT_TRUE(Template) << Text;
    const std::string Printed = Engine.PrettyPrint(Template);
    const IFactTemplate Back = Engine.ParseFactTemplate(Printed);
    ASSERT_TRUE(Back) << Printed;
    EXPECT_TRUE(Template->Equals(Back)) << Printed;
    EXPECT_TRUE(Back->Equals(Template)) << Printed;
    // The slots come in table order, which may differ after a rebuild.
    EXPECT_EQ(Engine.PrettyPrint(Back).size(), Printed.size());
    EXPECT_EQ(Back->IsOrdered(), Template->IsOrdered());
  }
}

}  // namespace
}  // namespace cogent
