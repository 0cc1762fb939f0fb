#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "../TestSupport.h"
#include "../matching/ReteTestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/host/Guards.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/language/KBTokenizer.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;
using TTexts = std::vector<std::string>;

// "sub:|~value": the position in a multislot, an alternative, a negation.
std::string TestText(const TKBPatternMatchTest& Test) {
  std::string Result;
  if (Test.GetMultiSlotSubIndex() != NoSubIndex) Result += IntToStr(Test.GetMultiSlotSubIndex()) + ":";
  if (!Test.GetConjunction()) Result += "|";
  if (Test.GetSlotTestType() == sttNotEquals) Result += "~";
  const IKBValue& Value = Test.GetSlotValue();
  return Result + (Value->GetDType() == dtFunCall ? Value->GetAsFunCall()->ToString() : Value->ToString());
}

// Generated names lose their numbers.
std::string Unnumbered(const std::string& Text) {
  return std::regex_replace(Text, std::regex("(" + std::string(SEqStarPrefix) + "|" + SBlankPrefix + "\\$?)[0-9]+"), "$1");
}

// "name/count [unique] [explicit] [?f<-] {comment}" and each slot that has
// tests or a length: " slot[length]: test test".
std::string Describe(const TKBPattern& Pattern) {
  std::string Result = Pattern.GetName() + "/" + IntToStr(Pattern.GetNegatedCount());
  if (Pattern.GetUnique()) Result += " unique";
  if (Pattern.GetExplicit()) Result += " explicit";
  if (!Pattern.GetBoundName().empty()) Result += " ?" + Pattern.GetBoundName() + "<-";
  if (!Pattern.GetComment().empty()) Result += " {" + Pattern.GetComment() + "}";
  for (int Slot = 0; Slot < Pattern.GetSlotCount(); ++Slot) {
    const TSlotTests* Tests = Pattern.GetSlotTests(Slot);
    if (!Tests && Pattern.GetSlotLength(Slot) < 0) continue;
    Result += " " + Pattern.GetSlotName(Slot);
    if (Pattern.GetSlotLength(Slot) >= 0) Result += "[" + IntToStr(Pattern.GetSlotLength(Slot)) + "]";
    Result += ":";
    if (Tests)
      for (const TKBPatternMatchTest* Test : *Tests) Result += " " + TestText(*Test);
  }
  return Result;
}

TRule* RuleNamed(TInferenceEngine& Engine, const std::string& Name) {
  TRule* Rule = nullptr;
  return Engine.GetRules()->TryGetValue(Name, Rule) ? Rule : nullptr;
}

std::string Patterns(const TRule& Rule) {
  std::string Result;
  for (const TKBPattern* Pattern : *Rule.GetPatterns()) Result += (Result.empty() ? "" : " + ") + Describe(*Pattern);
  return Result;
}

// An engine with the templates person (name, age, multislot tags) and the
// host functions the tests call: zz-true (counted in Calls), zz-ten and
// zz-plus, and eq* by number, which the grammar generates, until the
// built-in packages are there.
struct TRuleEngine {
  TInferenceEngine Engine;
  std::string Output;
  int Calls = 0;
  TRuleVariables Variables;

  TRuleEngine() {
    langtest::CaptureOutput(Engine, Output);
    langtest::AddFunction(Engine, "zz-true", [this](TObject*, const IFunCall&, TKBContext*, IKBValue& Out) {
      ++Calls;
      Out = FCTrue;
    });
    langtest::AddFunction(Engine, "zz-ten",
                          [](TObject*, const IFunCall&, TKBContext*, IKBValue& Out) { Out = test::Int(10); });
    const auto Compare = [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Out) {
      const double A = Call->GetArgument(0)->Resolve(Context)->GetAsFloat();
      const IKBValue B = Call->GetArgument(1)->Resolve(Context);
      Out = A == B->GetAsFloat() ? FCTrue : FCFalse;
    };
    langtest::AddFunction(Engine, "eq*", Compare);
    langtest::AddFunction(Engine, "zz-plus", [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Out) {
      Out = test::Int(Call->GetArgument(0)->Resolve(Context)->GetAsInteger() +
                      Call->GetArgument(1)->Resolve(Context)->GetAsInteger());
    });
    EXPECT_TRUE(Engine.Parse("(deftemplate person (slot name) (slot age) (multislot tags))", true));
    Output.clear();
  }

  // One conditional element read by itself, with the table of this engine.
  std::unique_ptr<TKBPattern> Pattern(const std::string& Text) {
    TKBRuleStream Tokens(new TVXStringStream(Text), nullptr, true);
    Tokens.SetEngine(&Engine);
    TKBParser& Parser = *Engine.GetParser();
    Parser.SetStream(&Tokens);
    const TFinally Restore([&Parser] { Parser.SetStream(nullptr); });
    return Parser.ParsePattern(0, Variables);
  }
  std::string Read(const std::string& Text) { return Unnumbered(Describe(*Pattern(Text))); }
  std::string ErrorReading(const std::string& Text) {
    return ErrorOf([&] { Pattern(Text); });
  }
  std::string ErrorParsing(const std::string& Text) {
    return ErrorOf([&] { Engine.Parse(Text, true); });
  }
  int Nodes() const { return Engine.GetRete()->GetNodeCount(); }
};

// ---------------------------------------------------------------- the rule as a whole

TEST(RuleGrammarTest, ARuleIsReadWholeAndEntersTheEngine) {
  TRuleEngine R;
  std::vector<TRule*> Heard;
  R.Engine.SetOnParseRule([&](TObject*, TRule* Rule) { Heard.push_back(Rule); });
  TTexts PatternsHeard;
  R.Engine.SetOnParsePattern([&](TObject*, TKBPattern* Pattern) { PatternsHeard.push_back(Pattern->GetName()); });
  TTexts Kinds;
  R.Engine.SetOnParse([&](TObject*, TParsedType Kind, TObject* Construct, const IInterface&) {
    Kinds.push_back(EnumName(Kind) + (dynamic_cast<TRule*>(Construct) ? " rule" : ""));
  });
  ASSERT_TRUE(R.Engine.Parse("(defrule r \"greets\" (declare (salience 10)) (a) => (b 1) (c))\n"
                             "(defrule bare => )",
                             true));
  TRule* Rule = RuleNamed(R.Engine, "r");
  ASSERT_TRUE(Rule);
  EXPECT_EQ(Heard, (std::vector<TRule*>{Rule, RuleNamed(R.Engine, "bare")}));
  EXPECT_EQ(Kinds, (TTexts{"ptRule rule", "ptRule rule", "ptEOF"}));
  EXPECT_EQ(PatternsHeard, (TTexts{"a"}));
  // Each rule echoes its id.
  EXPECT_EQ(R.Output, IntToStr(Rule->GetID()) + "\r\n" + IntToStr(RuleNamed(R.Engine, "bare")->GetID()) + "\r\n");
  EXPECT_EQ(Rule->GetComment(), "greets");
  EXPECT_EQ(Rule->GetSalience(), 10);
  // An ordered pattern without fields matches only facts without any.
  EXPECT_EQ(Patterns(*Rule), "a/0 __Data[0]:");
  ASSERT_EQ(Rule->GetActions()->GetCount(), 2);
  EXPECT_EQ(Rule->GetActions()->GetItem(0)->ToString(), "(b 1)");
  EXPECT_EQ(Rule->GetActions()->GetItem(1)->ToString(), "(c)");
  // A rule without patterns hangs from the initial fact.
  EXPECT_EQ(Patterns(*RuleNamed(R.Engine, "bare")), "Initial-Fact/0");

  // It is compiled: a matching fact stands on the agenda at once.
  test::TRuleBuilder B(R.Engine);
  B.Assert("(a)");
  B.Assert("(a 1)");
  EXPECT_EQ(B.Agenda(), (TTexts{"bare: f-0", "r: f-1"}));

  // "=>" may be written with a blank; the name may carry its module.
  const IModule Other = langtest::AddModule(R.Engine, "OTHER");
  ASSERT_TRUE(R.Engine.Parse("(defrule OTHER::q (a) = > )", true));
  EXPECT_EQ(R.Engine.GetCurrentModule(), Other);
  ASSERT_TRUE(RuleNamed(R.Engine, "q"));
  EXPECT_EQ(RuleNamed(R.Engine, "q")->GetModule(), "OTHER");
}

TEST(RuleGrammarTest, DeclarationsSetSalienceAndSwitches) {
  TRuleEngine R;
  R.Engine.GetGlobalVariables()->Add("*s*", test::Int(7));
  ASSERT_TRUE(R.Engine.Parse("(defrule g (declare (salience ?*s*) (auto-focus TRUE)) => )\n"
                             "(defrule c (declare (salience (zz-ten))) => )\n"
                             "(defrule o (declare (oneshot (zz-true)) (enabled yes)) => )\n"
                             "(defrule plain => )",
                             true));
  TRule* G = RuleNamed(R.Engine, "g");
  EXPECT_EQ(G->GetSalience(), 7);
  EXPECT_EQ(G->GetSalienceValue()->GetDType(), dtVariable);
  EXPECT_TRUE(G->GetAutoFocus());
  // A salience call is kept as written and evaluated by the rule.
  TRule* C = RuleNamed(R.Engine, "c");
  EXPECT_EQ(C->GetSalience(), 10);
  ASSERT_EQ(C->GetSalienceValue()->GetDType(), dtFunCall);
  EXPECT_EQ(C->GetSalienceValue()->GetAsFunCall()->ToString(), "(zz-ten)");
  // A switch's call runs while the rule is read; only TRUE turns it on.
  TRule* O = RuleNamed(R.Engine, "o");
  EXPECT_EQ(R.Calls, 1);
  EXPECT_TRUE(O->GetOneShot());
  EXPECT_FALSE(O->GetEnabled());
  TRule* Plain = RuleNamed(R.Engine, "plain");
  EXPECT_TRUE(Plain->GetEnabled());
  EXPECT_FALSE(Plain->GetOneShot() || Plain->GetAutoFocus());
  EXPECT_EQ(Plain->GetSalience(), 0);

  const std::string Frame = "Parsing Error, ";
  EXPECT_EQ(R.ErrorParsing("(defrule x (declare (foo 1)) => )"),
            Frame + "Expected rule property, salience, oneshot, or enabled in ParseRule at line 1:  ( defrule x ( declare "
                    "( foo ");
  EXPECT_EQ(R.ErrorParsing("(defrule x (declare (salience 1.5)) => )"),
            Frame + "Expected integer, variable, or function call for salience in ParseRule at line 1:  ( defrule x ( "
                    "declare ( salience 1.5000 ");
  EXPECT_EQ(R.ErrorParsing("(defrule x (declare (salience 1) => )"),
            Frame + "Expected \")\" in ParseRule at line 1:  ( defrule x ( declare ( salience 1 ) = ");
  EXPECT_FALSE(RuleNamed(R.Engine, "x"));
}

// ---------------------------------------------------------------- conditional elements

TEST(RuleGrammarTest, WrappersAndTestElements) {
  TRuleEngine R;
  EXPECT_EQ(R.Read("(not (not (a 1)))"), "a/2 __Data[1]: 0:1");
  EXPECT_EQ(R.Read("(not (exists (a)))"), "a/3 __Data[0]:");
  EXPECT_EQ(R.Read("(unique (explicit (a)))"), "a/0 unique explicit __Data[0]:");
  EXPECT_TRUE(R.Engine.FindFactTemplate("a")->IsOrdered());
  // A test stays a positive element; an odd count inverts its test.
  EXPECT_EQ(R.Read("(test (zz-true 1))"), "test/0 __Data: (zz-true 1)");
  EXPECT_EQ(R.Read("(not (test (zz-true)))"), "test/0 __Data: ~(zz-true)");
  // The outermost comment is the pattern's.
  EXPECT_EQ(R.Read("; outer\n(not ; inner\n (a))"), "a/1 {; outer} __Data[0]:");

  const std::string Frame = "Parsing Error, ";
  EXPECT_EQ(R.ErrorReading("(exists (a) (b))"), Frame + "Expected \")\" in ParsePattern at line 1: ( exists ( a ) ( ");
  EXPECT_EQ(R.ErrorReading("(\"a\")"), Frame + "Expected \"( <atom>\" in ParsePattern at line 1: ( \\\"a\"\\ ");
  // "or" is no conditional element but a relation, whose pattern cannot hold
  // a "(".
  EXPECT_EQ(R.ErrorReading("(or (a) (b))"), Frame + "Bad Slot Value: ( in ParsePattern at line 1: ( or ( ");
  EXPECT_TRUE(R.Engine.FindFactTemplate("or"));
  // Nesting without end is an error, not a stack overflow.
  std::string Deep;
  for (int I = 0; I < 2 * MaxCallNesting; ++I) Deep += "(not ";
  EXPECT_NE(R.ErrorReading(Deep + "(a)").find("conditional elements nested more than"), std::string::npos);
}

TEST(RuleGrammarTest, ConstraintsBecomeTestsAtTheirPositions) {
  TRuleEngine R;
  // Connectives: "~" negates one term, "|" makes the rest of a position
  // alternatives, "&" keeps what "|" left.
  EXPECT_EQ(R.Read("(person (name ?x&~1|2))"), "person/0 name: ?x ~1 |2");
  EXPECT_EQ(R.Read("(person (name 1|2&3))"), "person/0 name: 1 |2 |3");
  EXPECT_EQ(R.Read("(person (age \"s\") (name 1.5))"), "person/0 age: \"s\" name: 1.5000");
  // Ordered and multislots count positions, and their length is tested.
  EXPECT_EQ(R.Read("(a ?x $?y ?z)"), "a/0 __Data[3]: 0:?x 1:$?y 2:?z");
  EXPECT_EQ(R.Read("(a)"), "a/0 __Data[0]:");
  EXPECT_EQ(R.Read("(person (tags) (name))"), "person/0 tags[0]:");
  EXPECT_EQ(R.Read("(person (tags red ~blue&?q))"), "person/0 tags[2]: 0:red 1:~blue 1:?q");
  // Predicates, also after "&" and as the variable "?:".
  EXPECT_EQ(R.Read("(person (age :(zz-true)) (name ?n&:(zz-true ?n)))"),
            "person/0 age: (zz-true) name: ?n (zz-true ?n)");
  EXPECT_EQ(R.Read("(person (age ?:(zz-true)))"), "person/0 age: (zz-true)");
  EXPECT_TRUE(R.Variables.ContainsKey(":"));
  // "=" binds a hidden variable and compares it by value; "~" goes to the
  // comparison.
  EXPECT_EQ(R.Read("(person (age ~=(zz-plus 1 2)) (tags =(zz-ten)))"),
            "person/0 age: ?_eq_ ~(eq* ?_eq_ (zz-plus 1 2)) tags[1]: 0:$?_eq_ 0:(eq* $?_eq_ (zz-ten))");
  // Wildcards are variables with names of their own.
  EXPECT_EQ(R.Read("(a ? $?)"), "a/0 __Data[2]: 0:?_blank_ 1:$?_blank_$");
  // The first use of a name fixes its kind for the whole rule.
  R.Variables.Clear();
  EXPECT_EQ(R.Read("(a ?x $?y)"), "a/0 __Data[2]: 0:?x 1:$?y");
  EXPECT_EQ(R.Read("(b $?x ?y)"), "b/0 __Data[2]: 0:?x 1:$?y");
  EXPECT_EQ(R.Variables.GetCount(), 2);
}

TEST(RuleGrammarTest, FuzzySlotsReadWholeExpressions) {
  TRuleEngine R;
  IKBDefinedType Level(new TKBDefinedType("level", TKBTypes{dtFuzzy}, &R.Engine));
  R.Engine.GetDefinedTypes()->Add(Level);
  IFuzzyVariable Variable(new TKBFuzzyVariable("level"));
  Level->SetFuzzyType(Variable);
  Variable->AddTerm(Variable->NewFuzzySet("high"));
  ASSERT_TRUE(R.Engine.Parse("(deftemplate reading (slot value (type level)))", true));
  // Variables and predicates as in any slot; anything else is one
  // expression up to the slot's end, hedges and all.
  EXPECT_EQ(R.Read("(reading (value ?v&:(zz-true ?v)))"), "reading/0 value: ?v (zz-true ?v)");
  // A hedged term is a set of its own, written by its shape (no points here).
  EXPECT_EQ(R.Read("(reading (value very high))"), "reading/0 value: ()");
  // A term by name is the variable's own set, written by its name.
  EXPECT_EQ(R.Read("(reading (value ~high))"), "reading/0 value: ~high");
  EXPECT_EQ(R.Read("(reading (value 3))"), "reading/0 value: (tri 3.0000 3.0000 3.0000)");
}

TEST(RuleGrammarTest, ErrorsInPatterns) {
  TRuleEngine R;
  const std::string Frame = "Parsing Error, ";
  EXPECT_EQ(R.ErrorReading("(person (name 1 2))"),
            Frame + "Slot \"name\" is not a multislot in ParsePattern at line 1: ( person ( name 1 2 ");
  EXPECT_EQ(R.ErrorReading("(person (name &))"), Frame + "Bad Slot Value: & in ParsePattern at line 1: ( person ( name & ");
  EXPECT_EQ(R.ErrorReading("(person (name ~~1))"),
            Frame + "Bad Slot Value: ~ in ParsePattern at line 1: ( person ( name ~ ~ ");
  EXPECT_EQ(R.ErrorReading("(person (1 2))"), Frame + "Bad Slot Name: 1 in ParsePattern at line 1: ( person ( 1 ");
  EXPECT_EQ(R.ErrorReading("(a 1\n"), Frame + "Bad Slot Value: EOF in ParsePattern at line 2: ( a 1 \r\nEOF ");
  EXPECT_EQ(R.ErrorReading("(person (name 1)\n nonsense)"),
            Frame + "Expected \")\" in ParsePattern at line 2: ( person ( name 1 ) \r\nnonsense ");
  // The template's own error for a slot it lacks.
  EXPECT_EQ(R.ErrorReading("(person (height 1))"), "No such slot name: \"height\"");
}

// ---------------------------------------------------------------- patterns entering the rule

TEST(RuleGrammarTest, PatternsAreBoundAndAnalysedAsTheyEnter) {
  TRuleEngine R;
  ASSERT_TRUE(R.Engine.Parse("(defrule r ?f <- (a ?x) (test (zz-true ?x)) (person (age ?x) (name ~?x)) => )", true));
  TRule* Rule = RuleNamed(R.Engine, "r");
  ASSERT_TRUE(Rule);
  EXPECT_EQ(Patterns(*Rule), "a/0 ?f<- __Data[1]: 0:?x + test/0 __Data: (zz-true ?x) + person/0 age: ?x name: ~?x");
  ASSERT_TRUE(Rule->GetBindingByName("f"));
  EXPECT_EQ(Rule->GetBindingByName("f")->GetSlotIndex(), SPatternBinding);
  EXPECT_EQ(Rule->GetBindingByName("x")->GetFactIndex(), 0);

  // Alternatives are folded into one call on a binding variable.
  ASSERT_TRUE(R.Engine.Parse("(defrule alt (person (name ?n&a|b)) => )", true));
  EXPECT_EQ(Patterns(*RuleNamed(R.Engine, "alt")), "person/0 name: ?n (or (eq a ?n) (eq b ?n))");

  // Bad bindings are the parser's to refuse.
  const std::string Frame = "Parsing Error, ";
  EXPECT_EQ(R.ErrorParsing("(defrule x ?f <- (not (a)) => )"),
            Frame + "\"not\" and \"test\" CEs cannot be bound to variables in ParseRulePatterns at line 1:  ( defrule x "
                    "?f <- ( not ( a ) ) ");
  EXPECT_EQ(R.ErrorParsing("(defrule x (a) ?f <- (test (zz-true)) => )"),
            Frame + "\"not\" and \"test\" CEs cannot be bound to variables in ParseRulePatterns at line 1:  ( defrule x "
                    "( a ) ?f <- ( test ( zz-true ) ) ");
  EXPECT_EQ(R.ErrorParsing("(defrule x ?f (a) => )"),
            Frame + "Expected \"<-\" in ParseRulePatterns at line 1:  ( defrule x ?f ( ");
  EXPECT_EQ(R.ErrorParsing("(defrule x (a) = (b))"),
            Frame + "Expected \"=>\" in ParseRule at line 1:  ( defrule x ( a ) = ( ");
  EXPECT_EQ(R.ErrorParsing("(defrule x (a) => (b) 5)"),
            Frame + "Expected \")\" in ParseRule at line 1:  ( defrule x ( a ) = > ( b ) 5 ");
  EXPECT_EQ(R.ErrorParsing("(defrule x#y (a) => )"), "\"x#y\" contains unexpected character: \"#\"");
  EXPECT_FALSE(RuleNamed(R.Engine, "x"));
}

// ---------------------------------------------------------------- a rule that fails

TEST(RuleGrammarTest, AFailedRuleLeavesNothingBehind) {
  TRuleEngine R;
  test::TRuleBuilder B(R.Engine);
  ASSERT_TRUE(R.Engine.Parse("(defrule keep (a ?x) (b ?x) => )", true));
  B.Assert("(a 1)");
  B.Assert("(b 1)");
  ASSERT_EQ(B.Agenda(), (TTexts{"keep: f-1, f-2"}));
  const int Nodes = R.Nodes();
  const int Rules = R.Engine.GetRules()->GetCount();

  // The rule's own errors pass unframed when raised at once: a negated first
  // use from the rule, a variable bound nowhere from the network, which had
  // made nodes by then.
  EXPECT_EQ(R.ErrorParsing("(defrule keep (a ?x) (person (name ~?y)) => )"),
            "First Use of Variable is negated, variable name is y");
  EXPECT_EQ(R.ErrorParsing("(defrule other (a ?x) (b ?x) (test (zz-true ?nowhere)) => )"),
            "Unknown variable name: nowhere");
  // A rule that fails while it is read leaves one of its name in place,
  // with its nodes and its activation.
  EXPECT_EQ(R.Engine.GetRules()->GetCount(), Rules);
  ASSERT_TRUE(RuleNamed(R.Engine, "keep"));
  EXPECT_EQ(Patterns(*RuleNamed(R.Engine, "keep")), "a/0 __Data[1]: 0:?x + b/0 __Data[1]: 0:?x");
  EXPECT_EQ(R.Nodes(), Nodes);
  EXPECT_EQ(B.Agenda(), (TTexts{"keep: f-1, f-2"}));

  // Collecting errors, each reaches the user framed with its line, and the
  // next construct is read as usual.
  R.Engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  EXPECT_EQ(R.ErrorParsing("(defrule n1\n  (a ?x)\n  (not (b ~?z))\n  =>)\n"
                           "(defrule n2 (a ?x) (test (zz-true ?nowhere)) => )\n"
                           "(defrule n3 (c) => (assert (newt)))\n"
                           "(defrule n4\n (a ?x) => (zz-true ?x))"),
            "Errors parsing stream:\r\n"
            "Parsing Error, First Use of Variable is negated, variable name is z in Parse at line 3:  ( defrule n1 ( "
            "a ?x ) ( not ( b ~ ?z ) ) \r\n"
            "Parsing Error, Unknown variable name: nowhere in Parse at line 5:  ( defrule n2 ( a ?x ) ( test ( "
            "zz-true ?nowhere ) ) = > ) \r\n");
  EXPECT_FALSE(RuleNamed(R.Engine, "n1") || RuleNamed(R.Engine, "n2"));
  ASSERT_TRUE(RuleNamed(R.Engine, "n3") && RuleNamed(R.Engine, "n4"));
  EXPECT_TRUE(R.Engine.FindFactTemplate("newt"));
  EXPECT_EQ(B.Agenda(), (TTexts{"keep: f-1, f-2", "n4: f-1"}));

  // A template unknown where one must exist: a fact in an action.
  R.Engine.GetParser()->SetExplicitCreateTemplates(true);
  EXPECT_EQ(R.ErrorParsing("\n(defrule n5 (a ?x) => (assert (ghost ?x)))"),
            "Parsing Error, Unknown fact template: ghost in ParseFact at line 2:  ( defrule n5 ( a ?x ) = > ( "
            "assert ( ghost \r\n");
  EXPECT_FALSE(RuleNamed(R.Engine, "n5"));
}

// ---------------------------------------------------------------- parsed rules at work

TEST(RuleGrammarTest, ParsedRulesProduceActivations) {
  TRuleEngine R;
  test::TRuleBuilder B(R.Engine);
  ASSERT_TRUE(R.Engine.Parse("(defrule join (a ?x) (b ?x) => )\n"
                             "(defrule none (a ?x) (not (b ?x)) => )\n"
                             "(defrule some (a ?) (exists (b ?)) => )\n"
                             "(defrule young (person (age ?a&:(zz-true ?a)) (name ~bob)) => )\n"
                             "(defrule three (person (tags ?first $?rest)) => )\n"
                             "(defrule sum (a ?x) (person (age =(zz-plus 1 ?x))) => )",
                             true));
  B.Assert("(a 1)");
  EXPECT_EQ(B.Agenda(), (TTexts{"none: f-1, f--1"}));
  B.Assert("(b 2)");
  EXPECT_EQ(B.Agenda(), (TTexts{"none: f-1, f--1", "some: f-1, f--1"}));
  B.Assert("(b 1)");
  EXPECT_EQ(B.Agenda(), (TTexts{"join: f-1, f-3", "some: f-1, f--1"}));
  B.Assert("(person (name bob) (age 3) (tags x y z))");
  B.Assert("(person (name ann) (age 2) (tags x y))");
  EXPECT_EQ(B.Agenda(),
            (TTexts{"join: f-1, f-3", "some: f-1, f--1", "sum: f-1, f-5", "three: f-4", "three: f-5", "young: f-5"}));
}

}  // namespace
}  // namespace cogent
