#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;

IFuzzyVariable VariableOf(TInferenceEngine& Engine, const std::string& TypeName) {
  const IKBDefinedType Type = Engine.FindDefinedType(TypeName);
  return Type ? Type->GetFuzzyType() : nullptr;
}

// "(x y) (x y) ..." of a set's points.
std::string Points(const IFuzzySet& Set) {
  std::string Result;
  for (const TFuzzyPoint& Point : Set->GetPoints())
    Result += "(" + FloatToStr(Point.X) + " " + FloatToStr(Point.Y) + ") ";
  return Result;
}

// The names of the variable's terms in order, each with what it waits on.
std::string Terms(const IFuzzyVariable& Variable) {
  std::string Result;
  for (int I = 0; I < Variable->GetTermCount(); ++I) {
    const IFuzzySet& Term = Variable->GetTerm(I);
    Result += Term->GetName();
    if (const auto* Pending = dynamic_cast<const TKBFuzzySet*>(Term.get()); Pending && Pending->GetDefinition())
      Result += "=" + Pending->GetDefinition()->ToString();
    Result += " ";
  }
  return Result;
}

// The stream of the engine's parser over Text, for the operations that the
// engine does not wrap.
struct TTextParser {
  TInferenceEngine& Engine;
  TKBRuleParser& Parser;
  TTextParser(TInferenceEngine& AEngine, const std::string& Text)
      : Engine(AEngine), Parser(langtest::ParserOf(AEngine)) {
    Parser.SetStream(new TKBRuleStream(new TVXStringStream(Text), nullptr, true));
  }
  ~TTextParser() {
    TGTextStream* Stream = Parser.GetStream();
    Parser.SetStream(nullptr);
    delete Stream;
  }
  std::string Rest() { return Parser.GetStream()->NextToken()->ToString(); }
};

// ---------------------------------------------------------------- the body of a fuzzy type

TEST(FuzzyGrammarTest, DeftypeBuildsItsVariable) {
  TInferenceEngine Engine;
  Engine.SetFuzzyAutoTerms(false);
  // Without the package of fuzzy functions the shapes wait on their terms.
  Engine.SetPackages(AllFunctionPackages - TFunctionPackages{pFuzzyLogic});
  Engine.Parse(
      "(deftype temp extends (type FUZZY) (range 0 100) (units C)"
      "  (values (term cold (z 0 50)) (term hot (s 50 100))))",
      true);
  const IKBDefinedType Type = Engine.FindDefinedType("temp");
  ASSERT_TRUE(Type);
  const IFuzzyVariable Variable = Type->GetFuzzyType();
  ASSERT_TRUE(Variable);
  EXPECT_EQ(Type->GetBaseTypes(), TKBTypes{dtFuzzy});
  EXPECT_EQ(Variable->GetName(), "temp");
  EXPECT_EQ(Variable->GetUniverseLow(), 0.0);
  EXPECT_EQ(Variable->GetUniverseHigh(), 100.0);
  EXPECT_EQ(Variable->GetUnits(), "C");
  EXPECT_EQ(Type->GetUnits(), "C");
  EXPECT_EQ(Type->GetMaxRange(), 100.0);
  // The shapes wait for their functions, with the call kept on the term.
  EXPECT_EQ(Terms(Variable), "cold=(z 0 50) hot=(s 50 100) ");
  EXPECT_TRUE(Variable->GetTerm(0)->GetIsTerm());
  EXPECT_EQ(Variable->GetTerm(1)->GetVariable(), Variable.get());
  // A clone of the type clones the pending terms with what they wait on.
  EXPECT_EQ(Terms(Type->Clone()->GetFuzzyType()), "cold=(z 0 50) hot=(s 50 100) ");
  {
    // With them, a shape is built as it is read.
    TInferenceEngine Full;
    Full.SetFuzzyAutoTerms(false);
    Full.Parse("(deftype temp extends (type FUZZY) (range 0 100) (values (term cold (z 0 50))))", true);
    const IFuzzyVariable Shaped = VariableOf(Full, "temp");
    ASSERT_TRUE(Shaped);
    EXPECT_EQ(Terms(Shaped), "cold ");
    const IFuzzySet Cold = Shaped->FindFuzzySet("cold");
    EXPECT_EQ(Cold->GetFuzzySetType(), fstZ);
    EXPECT_EQ(Cold->DegreeOfMembership(0), 1.0);
    EXPECT_EQ(Cold->DegreeOfMembership(50), 0.0);
    EXPECT_EQ(Cold->GetVariable(), Shaped.get());
  }

  // Clauses come in any order and again: a later range or units wins, each
  // values adds; bounds may be calls, units a string.
  Engine.Parse(
      "(deftype level extends (type FUZZY) (values (term a ((0 1) (5 0)))) (range 0 5) (units \"m s\")"
      "  (values (term b 3)) (range -1 (+ 4 6)) (units cm) (values))",
      true);
  const IFuzzyVariable Level = VariableOf(Engine, "level");
  ASSERT_TRUE(Level);
  EXPECT_EQ(Level->GetUniverseLow(), -1.0);
  EXPECT_EQ(Level->GetUniverseHigh(), 10.0);
  EXPECT_EQ(Level->GetUnits(), "cm");
  EXPECT_EQ(Terms(Level), "a b ");

  // An empty body keeps the new variable's universe and has no terms.
  Engine.Parse("(deftype bare extends (type FUZZY))", true);
  ASSERT_TRUE(VariableOf(Engine, "bare"));
  EXPECT_EQ(VariableOf(Engine, "bare")->GetTermCount(), 0);
}

TEST(FuzzyGrammarTest, TermValuesBecomeSets) {
  TInferenceEngine Engine;
  Engine.SetFuzzyAutoTerms(false);
  Engine.Parse("(defglobal ?*peak* = 4)", true);
  Engine.Parse(
      "(deftype t extends (type FUZZY) (range 0 10)"
      "  (values (term a ((0 0) (?*peak* 1) (8 0)))"  // points, a global resolved at once
      "          (term b 5)"                          // a crisp number
      "          (term c a)"                          // an earlier term, as a set of its own
      "          (term d \"b\")"
      "          (term e very a)"                     // an expression on a clone of a
      "          (term f (+ 1 2))))",                 // a call's number
      true);
  const IFuzzyVariable Variable = VariableOf(Engine, "t");
  ASSERT_TRUE(Variable);
  EXPECT_EQ(Terms(Variable), "a b c d e f ");
  const IFuzzySet A = Variable->FindFuzzySet("a");
  EXPECT_EQ(Points(A), "(0 0) (4 1) (8 0) ");
  EXPECT_EQ(Points(Variable->FindFuzzySet("b")), "(5 0) (5 1) (5 0) ");
  EXPECT_EQ(Points(Variable->FindFuzzySet("f")), "(3 0) (3 1) (3 0) ");
  const IFuzzySet C = Variable->FindFuzzySet("c");
  EXPECT_NE(C, A);
  EXPECT_EQ(Points(C), Points(A));
  EXPECT_EQ(Variable->GetTerm(0), A);
  EXPECT_EQ(Points(Variable->FindFuzzySet("d")), "(5 0) (5 1) (5 0) ");
  EXPECT_EQ(Variable->FindFuzzySet("e")->GetExpression(), "very a");
  EXPECT_DOUBLE_EQ(Variable->FindFuzzySet("e")->DegreeOfMembership(2), 0.25);
  EXPECT_EQ(Points(A), "(0 0) (4 1) (8 0) ");
  // Sets of the variable compare with numbers.
  EXPECT_TRUE(IKBValue(new TKBValue(A))->Equals(test::Int(4)));
}

// ---------------------------------------------------------------- singletons

TEST(FuzzyGrammarTest, SingletonsReadAsWritten) {
  TInferenceEngine Engine;
  // Outside a term a point list stays unresolved, variables and calls too.
  const IKBValue Value = Engine.ParseValue("((?x 1) (2 (+ 0 0)) (3.5 0))");
  ASSERT_EQ(Value->GetDType(), dtSingletons);
  const ISingletonsVector Points = Value->GetAsSingletons();
  ASSERT_EQ(Points->GetCount(), 3);
  EXPECT_EQ(Points->GetXValues(0)->GetDType(), dtVariable);
  EXPECT_EQ(Points->GetYValues(1)->GetDType(), dtFunCall);
  EXPECT_EQ(Points->GetXValues(2)->GetDType(), dtFloat);
  {
    TTextParser Text(Engine, "() next");
    EXPECT_EQ(Text.Parser.ParseSingletons()->GetCount(), 0);
    EXPECT_EQ(Text.Rest(), "next");
  }
  std::vector<std::string> Heard;
  Engine.GetParser()->OnParseSingletons = [&](TObject*, const ISingletonsVector& V) {
    Heard.push_back(IntToStr(V->GetCount()));
  };
  Engine.GetParser()->OnParseFuzzySet = [&](TObject*, const IFuzzySet& S) { Heard.push_back(S->GetName()); };
  Engine.GetParser()->OnParseFuzzyVariable = [&](TObject*, const IFuzzyVariable& V) {
    Heard.push_back("variable " + IntToStr(V->GetTermCount()));
  };
  Engine.Parse("(deftype t extends (type FUZZY) (values (term a ((0 1) (1 0)))))", true);
  EXPECT_EQ(Heard, (std::vector<std::string>{"2", "a", "variable 1"}));

  const std::pair<const char*, const char*> Errors[] = {
      {"x", "Expected \"(\""},
      {"((0 1 2))", "Expected \")\""},
      {"((0))", "Expected number, variable, or function call"},
      {"((a 1))", "Expected number, variable, or function call"},
      {"(($?x 1))", "Expected number, variable, or function call"},
      {"((0 1) x)", "Expected \")\""},
      {"((0 1)", "Expected \")\""},
  };
  for (const auto& [Input, Message] : Errors) {
    TTextParser Text(Engine, Input);
    const std::string Error = ErrorOf<EKBParseException>([&] { Text.Parser.ParseSingletons(); });
    EXPECT_EQ(Error.rfind("Parsing Error, " + std::string(Message) + " in ParseFuzzyPoints at line 1:", 0), 0U)
        << Input << ": " << Error;
  }
}

// ---------------------------------------------------------------- errors

TEST(FuzzyGrammarTest, BadBodiesDefineNothing) {
  TInferenceEngine Engine;
  const std::string Head = "(deftype t extends (type FUZZY) ";
  const std::pair<std::string, std::string> Cases[] = {
      {"(range ?x 100))", "Expected value missing in ParseDefinedType"},
      {"(Range 0 1))", "Missing keyword.  Expected \"range, units, or values\" in ParseFuzzyVariable"},
      {"(colour red))", "Missing keyword.  Expected \"range, units, or values\" in ParseFuzzyVariable"},
      {"(5 0 1))", "Missing keyword.  Expected \"range, units, or values\" in ParseFuzzyVariable"},
      {"range 0 1)", "Expected \"(\" in ParseFuzzyVariable"},
      {"(units))", "Expected value missing in ParseFuzzyVariable"},
      {"(units C F))", "Expected \")\" in ParseFuzzyVariable"},
      {"(range 5 5))", "Invalid low and high limits specified: 5.0000 to 5.0000 in ParseDefinedType"},
      {"(range 9 1))", "Invalid low and high limits specified: 9.0000 to 1.0000 in ParseDefinedType"},
      {"(values (term a ((0 1 2)))))", "Expected \")\" in ParseFuzzyPoints"},
      {"(values (term a)))", "Missing fuzzy set \"values\" statement in ParseFuzzySet"},
      {"(values (trem a 1)))", "Expected \"( term\" in ParseFuzzySet"},
      {"(values (term 5 1)))", "Missing name in ParseFuzzySet"},
      {"(values a))", "Expected \"( term\" in ParseFuzzySet"},
      {"(values (term a ()))))", "Missing name in ParseFunCall"},
      {"(values (term a 1)", "Expected \"( term\" in ParseFuzzySet"},
      {"", "Expected \"(\" in ParseFuzzyVariable"},
      // Terms and the universe hold each other in, in either order.
      {"(range 0 10) (values (term a 20)))",
       "Fuzzy term a lies outside the universe of discourse of : 0.0000 to 10.0000 in ParseFuzzyVariable"},
      {"(values (term a 20)) (range 0 10))",
       "Fuzzy term a lies outside the universe of discourse of : 0.0000 to 10.0000 in ParseDefinedType"},
  };
  for (const auto& [Body, Message] : Cases) {
    const std::string Error = ErrorOf<EKBParseException>([&] { Engine.Parse(Head + Body, true); });
    EXPECT_EQ(Error.rfind("Parsing Error, " + Message + " at line 1:", 0), 0U) << Body << ": " << Error;
    EXPECT_FALSE(Engine.FindDefinedType("t")) << Body;
  }
  // Errors of the evaluation itself pass as they are.
  EXPECT_EQ(ErrorOf<EKBException>([&] { Engine.Parse(Head + "(values (term a b) (term b 1)))", true); }),
            "Invalid item in fuzzy expression: b");
  EXPECT_FALSE(Engine.FindDefinedType("t"));
  // A term that gives no set at all, or more than one.
  EXPECT_EQ(ErrorOf<EKBException>([&] { Engine.Parse(Head + "(values (term a 1 2)))", true); })
                .rfind("Not a fuzzy value type", 0),
            0U);
  EXPECT_FALSE(ErrorOf<EKBException>([&] { Engine.Parse(Head + "(values (term a (sym-cat x))))", true); }).empty());

  // The engine reads on, and a good type after a bad one stands.
  Engine.Parse(Head + "(values (term a 1)))", true);
  ASSERT_TRUE(VariableOf(Engine, "t"));
  EXPECT_EQ(Terms(VariableOf(Engine, "t")), "a low medium high ");

  // ParseFuzzyVariable stops at the deftype's ")" and leaves it.
  TTextParser Text(Engine, "(units K) (range 1 2)) next");
  const IFuzzyVariable Variable = Text.Parser.ParseFuzzyVariable();
  EXPECT_EQ(Variable->GetUnits(), "K");
  EXPECT_EQ(Text.Rest(), ")");
  EXPECT_EQ(Text.Rest(), "next");
}

// ---------------------------------------------------------------- fuzzy values in slots and patterns

TEST(FuzzyGrammarTest, FuzzySlotsTakeExpressions) {
  TInferenceEngine Engine;
  Engine.Parse(
      "(deftype temp extends (type FUZZY) (range 0 100)"
      "  (values (term cold ((0 1) (50 0))) (term hot ((50 0) (100 1)))))"
      "(deftemplate reading (slot t (type temp) (default cold)) (multislot ts (type temp) (cardinality 0 3)))",
      true);
  const IFuzzyVariable Temp = VariableOf(Engine, "temp");
  ASSERT_TRUE(Temp);
  const IFactTemplate Reading = Engine.FindFactTemplate("reading");
  ASSERT_TRUE(Reading);
  EXPECT_EQ(Reading->GetSlot("t")->GetSlotDefault()->GetAsFuzzy(), Temp->FindFuzzySet("cold"));
  const IKBDefinedType Multi = Reading->GetSlot("ts")->GetExtendedTypeInfo();
  ASSERT_TRUE(Multi && Multi->GetFuzzyType());
  EXPECT_TRUE(Multi->GetCardinalityLimited());
  EXPECT_TRUE(Multi->GetFuzzyType()->FindFuzzySet("hot"));

  // Written out, the slots name their type and read back alike.
  const std::string Written = Reading->ToString();
  EXPECT_NE(Written.find("(multislot ts (type temp)"), std::string::npos) << Written;
  EXPECT_NE(Written.find("(cardinality 0 3)"), std::string::npos) << Written;
  {
    TInferenceEngine Other;
    Other.Parse(Engine.FindDefinedType("temp")->ToString() + Written, true);
    ASSERT_TRUE(Other.FindFactTemplate("reading"));
    EXPECT_EQ(Other.FindFactTemplate("reading")->ToString(), Written);
  }

  // A term by name, a number, points, an expression on a clone of its term.
  const std::pair<const char*, const char*> Values[] = {
      {"hot", "hot"}, {"25", "25"}, {"((0 0) (1 1))", "((0.0000 0.0000) (1.0000 1.0000) )"}, {"very hot", "hot"}};
  for (const auto& [Text, Form] : Values) {
    const IFact Fact = Engine.ParseFact(std::string("(reading (t ") + Text + "))");
    const IKBValue Value = Fact->GetValue("t");
    EXPECT_EQ(Value->GetDType() == dtFuzzy ? Value->GetAsFuzzy()->GetName() : Value->ToString(), Form) << Text;
    if (Value->GetDType() == dtFuzzy) {
      EXPECT_EQ(Value->GetAsFuzzy()->GetVariable(), Temp.get()) << Text;
    }
  }
  EXPECT_DOUBLE_EQ(Engine.ParseFact("(reading (t very hot))")->GetValue("t")->GetAsFuzzy()->DegreeOfMembership(75),
                   0.25);
  EXPECT_DOUBLE_EQ(Temp->FindFuzzySet("hot")->DegreeOfMembership(75), 0.5);
  EXPECT_EQ(ErrorOf<EKBException>([&] { Engine.ParseFact("(reading (t warm))"); }),
            "Invalid item in fuzzy expression: warm");
  EXPECT_EQ(Engine.ParseFact("(reading (ts hot cold))")->GetValue("ts")->GetAsList()->GetCount(), 2);

  // A pattern's test on a fuzzy slot is a set of the slot's variable.
  Engine.Parse("(defrule r (reading (t hot)) => (printout t hot crlf))", true);
  std::string Output;
  langtest::CaptureOutput(Engine, Output);
  Engine.Reset();
  Engine.Assert("(reading (t ((90 0) (100 1))))");
  Engine.Run();
  EXPECT_EQ(Output, "hot\r\n");
}

}  // namespace
}  // namespace cogent
