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

TEST(ConstructPrinterTest, SlotLayout) {
  IFactTemplate Template(new TFactTemplate(nullptr, "t"));
  // Every kind allowed: only the default follows the name.
  EXPECT_EQ(PrettyPrint(*Template->AddSlot("age", Int(30))), "(slot age (default 30) )");
  EXPECT_EQ(PrettyPrint(*Template->AddMultiSlot("pair", List({Atom("a"), Int(2)}))),
            "(multislot pair (default a 2 ) )");
  IFunCall Call(new TFunctionCall("time"));
  const IFactSlot Stamp = Template->AddSlot("stamp", IKBValue(new TKBValue(Call)));
  Stamp->SetDefaultDynamic(true);
  EXPECT_EQ(PrettyPrint(*Stamp), "(slot stamp (default-dynamic (time)) )");

  // A type puts the default on a line of its own; always-valid kinds are
  // not written.
  const IFactSlot Count = Template->AddSlot("count", Int(5));
  Count->SetSlotType({dtInteger, dtFloat, dtVariable, dtFunCall});
  EXPECT_EQ(PrettyPrint(*Count), "(slot count (type INTEGER FLOAT)" + CRLF + I2 + "(default 5) )");

  // A named type is referred to by its name; the default follows on the line.
  const IFactSlot Paint = Template->AddSlot("paint", Atom("red"));
  Paint->SetExtendedTypeInfo(NamedType("colour", {dtAtom}));
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
}

TEST(ConstructPrinterTest, TemplateLayout) {
  TInferenceEngine Engine;
  const IFactTemplate Colour = Engine.CreateFactTemplate("colour");
  // The hidden slot of an ordered template isn't shown while no type
  // constrains it; the module is named on request.
  EXPECT_EQ(PrettyPrint(*Colour, true), "(deftemplate MAIN::colour \"(Implied)\")");
  EXPECT_EQ(PrettyPrint(*Colour, false), "(deftemplate colour \"(Implied)\")");

  // The comment is quoted as it is; each line of a slot is indented one
  // step further.
  IFactTemplate Gauge(new TFactTemplate(nullptr, "gauge"));
  EXPECT_EQ(PrettyPrint(*Gauge, true), "(deftemplate gauge)");
  Gauge->SetComment("a \"real\" one");
  Gauge->AddSlot("level", Int(1))->SetExtendedTypeInfo(ImplicitType({dtInteger}));
  Gauge->GetSlot("level")->SetSlotDefault(Int(3));
  EXPECT_EQ(PrettyPrint(*Gauge, false), "(deftemplate gauge \"a \"real\" one\"" + CRLF + I1 +
                                            "(slot level (type INTEGER)" + CRLF + I1 + I2 + "(default 3) ))");
}

TEST(ConstructPrinterTest, DefinedTypeLayout) {
  TInferenceEngine Engine;
  IKBDefinedType Score(new TKBDefinedType("score", {dtInteger, dtFloat}, &Engine));
  EXPECT_EQ(PrettyPrint(*Score, true), "(deftype MAIN::score extends (type INTEGER FLOAT))");

  // Open bounds are ?VARIABLE, others whole numbers cut toward zero.
  Score->SetRangeLimited(true);
  Score->SetMinRange(-0.5);
  Score->SetMaxRange(2147483647.0);
  Score->SetUnits("points per game");
  Score->SetCardinalityLimited(true);
  Score->SetMinCardinality(1);
  Score->SetComment("say \"so\"");
  EXPECT_EQ(PrettyPrint(*Score, false), "(deftype score " + CRLF + I1 + "\"say \"so\"\"" + CRLF + I1 +
                                            "extends (type INTEGER FLOAT)" + CRLF + I2 + "(range 0 ?VARIABLE) " +
                                            CRLF + I2 + "(units \"points per game\")" + CRLF + I2 +
                                            "(cardinality 1 ?VARIABLE))");

  // An implicit type is a slot's clauses, left open.
  const IKBDefinedType Own = ImplicitType({dtString, dtAtom});
  Own->SetUnits("m");
  EXPECT_EQ(PrettyPrint(*Own, true), "(type ATOM STRING)" + CRLF + I2 + "(units m)" + CRLF);

  // A fuzzy type's variable writes the body; no clause of the type's own
  // follows.
  const IKBDefinedType Heat = NamedType("heat", {dtFuzzy});
  ASSERT_TRUE(Heat->GetFuzzyType());
  Heat->SetCardinalityLimited(true);
  EXPECT_EQ(PrettyPrint(*Heat, false),
            TrimRight("(deftype heat extends (type FUZZY)" + CRLF + Heat->GetFuzzyType()->ToString()) + ")");
}

// What the writer gives, the reader takes back alike: read, print, read the
// print and print again; both prints agree and both readings are equal.
TEST(ConstructPrinterTest, RoundTrips) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(deftype score extends (type INTEGER FLOAT))"
                           "(deftype colour extends (type ATOM) (allowed-symbols red green))"
                           "(deftype percent extends (type INTEGER) (range 0 100))"
                           "(deftemplate measure is-a percent)",
                           true));
  for (const std::string Text : {
           "(deftype score2 \"a score\" extends (type INTEGER FLOAT) (range ?VARIABLE 10) (units \"points per game\")"
           " (cardinality 1 4))",
           "(deftype small extends (type score) (range 1 5))",
           "(deftype warm extends (type colour) (allowed-symbols red))",
           "(deftype mixed extends (type LEXEME NUMBER) (allowed-values a \"b c\" 1 2.5))",
           "(deftemplate reading \"one reading\" (slot level (type INTEGER) (range 1 10) (default 3)))",
           "(deftemplate tags (multislot tags (type STRING) (default \"a\" \"b c\")))",
           "(deftemplate kind (slot kind (type colour) (default green)))",
           // A float default has four decimals, so a tiny one prints as zero.
           "(deftemplate ratio (slot ratio (default 0.00001)))",
           "(deftemplate quote (slot quote (default \"say \\\"hi\\\"\")))",
           "(deftemplate any (slot any) (multislot many (type ?VARIABLE)))",
           "(deftemplate many (multislot many (type INTEGER) (cardinality 1 ?VARIABLE)))",
           "(deftemplate stamp (slot stamp (default-dynamic (+ 1 2))))",
           "(deftemplate points (slot points (type score)))",
           "(deftemplate measure2 is-a percent)",
           "(deftemplate submeasure extends measure)",
           "(deftemplate counts (multislot __Data (type INTEGER) (range 0 9)))",
           // Constraints on an untyped slot, and on a private copy of a named type.
           "(deftemplate limits (slot j (range 0 10)))",
           "(deftemplate limits2 (slot k (type percent) (units m)))",
       }) {
    std::string Printed[2];
    bool Equal = false;
    if (Text.starts_with("(deftype")) {
      IKBDefinedType Types[2];
      for (int Pass = 0; Pass < 2; ++Pass) {
        Types[Pass] = Engine.ParseDefinedType(Pass ? Printed[0] : Text);
        ASSERT_TRUE(Types[Pass]) << Printed[0];
        Printed[Pass] = Types[Pass]->ToString();
      }
      Equal = Types[0]->Equals(IInterface(Types[1]));
    } else {
      IFactTemplate Templates[2];
      for (int Pass = 0; Pass < 2; ++Pass) {
        Templates[Pass] = Engine.ParseFactTemplate(Pass ? Printed[0] : Text);
        ASSERT_TRUE(Templates[Pass]) << Printed[0];
        Printed[Pass] = Engine.PrettyPrint(Templates[Pass]);
      }
      Equal = Templates[0]->Equals(Templates[1]) && Templates[0]->IsOrdered() == Templates[1]->IsOrdered();
    }
    EXPECT_EQ(Printed[1], Printed[0]) << Text;
    EXPECT_TRUE(Equal) << Printed[0];
  }
}

}  // namespace
}  // namespace cogent
