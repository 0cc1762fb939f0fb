#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;
using test::Flt;
using test::Int;
using test::Str;
using langtest::AddFunction;
using langtest::ParserOf;

// person: name (string), age (integer), weight (float), tags (atoms).
IFactTemplate AddPerson(TInferenceEngine& Engine) {
  IFactTemplate Person(new TFactTemplate(&Engine, "person"));
  Person->AddSlot("name", Str(""))->SetSlotType(TKBTypes{dtString});
  Person->AddSlot("age", Int(0))->SetSlotType(TKBTypes{dtInteger});
  Person->AddSlot("weight", Flt(1.5))->SetSlotType(TKBTypes{dtFloat});
  Person->AddMultiSlot("tags", FCNilList)->SetSlotType(TKBTypes{dtAtom, dtList, dtMultiSlot});
  Engine.GetFactTemplates()->Add(Person);
  return Person;
}

std::vector<TKBType> KindsOf(const IFunCall& Call) {
  std::vector<TKBType> Result;
  for (int I = 0; I < Call->GetArgumentCount(); ++I) Result.push_back(Call->GetArgument(I)->GetDType());
  return Result;
}

std::vector<TKBType> KindsOf(const IValueVector& Items) {
  std::vector<TKBType> Result;
  for (const IKBValue& Item : *Items) Result.push_back(Item->GetDType());
  return Result;
}

// ---------------------------------------------------------------- values

TEST(ValueGrammarTest, FreeValuesOfEveryForm) {
  TInferenceEngine Engine;
  // The printed form shows kind and content at once.
  const std::pair<const char*, const char*> Forms[] = {
      {"abc", "abc"}, {R"("say \"hi\" \\ \n")", R"("say \"hi\" \\ n")"}, {"-42", "-42"}, {"1e3", "1000.0000"},
      {"?x", "?x"},   {"$?rest", "$?rest"},                            {"?*limit*", "?*limit*"}};
  for (const auto& [Text, Form] : Forms) EXPECT_EQ(Engine.ParseValue(Text)->GetToString(), Form) << Text;
  EXPECT_EQ(Engine.ParseValue("nil"), FCNil);
  EXPECT_EQ(Engine.ParseValue(""), nullptr);

  // A closing parenthesis ends the value and stays unread; other tokens end
  // a list but cannot stand alone.
  EXPECT_EQ(Engine.ParseValue("a b ) c")->GetAsList()->GetCount(), 2);
  EXPECT_EQ(Engine.ParseList(") a")->GetCount(), 0);
  EXPECT_EQ(ErrorOf([&] { Engine.ParseValue("& a"); }), "Parsing Error, Bad Argument: & in ParseValue at line 1: & ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseList("a = 3"); }),
            "Parsing Error, \"=\" cannot appear as an atom within a fact in ParseList at line 1: 3 ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseList("a ~ b"); }), "Parsing Error, Bad Slot Value: ~ in ParseList at line 1: ~ ");
}

TEST(ValueGrammarTest, WhatEachReaderMakesOfItsItems) {
  TInferenceEngine Engine;
  const std::string Items = "a \"s\" 1 2.5 ?x $?y (g 1) ";
  const std::vector<TKBType> Kinds = {dtAtom, dtString, dtInteger, dtFloat, dtVariable, dtMultiVariable, dtFunCall};
  // Several items make a value a list; in a list "=" marks a call; a call
  // keeps its arguments as written, operators and brackets as strings.
  const std::tuple<std::function<std::vector<TKBType>(const std::string&)>, std::string, std::vector<TKBType>>
      Table[] = {
          {[&](const std::string& T) { return KindsOf(Engine.ParseValue(T)->GetAsList()); }, "[", {dtAtom}},
          {[&](const std::string& T) { return KindsOf(Engine.ParseList(T)); }, "= (g) [", {dtFunCall, dtAtom}},
          {[&](const std::string& T) { return KindsOf(Engine.ParseFunCall("(f " + T + ")")); }, "& | ~ = [ ]",
           std::vector<TKBType>(6, dtString)},
      };
  for (const auto& [Read, Tail, TailKinds] : Table) {
    std::vector<TKBType> Expected = Kinds;
    Expected.insert(Expected.end(), TailKinds.begin(), TailKinds.end());
    EXPECT_EQ(Read(Items + Tail), Expected) << Tail;
  }
}

TEST(ValueGrammarTest, GlobalVariables) {
  TInferenceEngine Engine;
  std::vector<std::string> Heard;
  Engine.SetOnParseVariable(
      [&](TObject*, const std::string& Name, const IKBValue& Value) { Heard.push_back(Name + "=" + Value->ToString()); });
  std::string Name;
  EXPECT_EQ(Engine.ParseVariable("?*limit* = 10", Name)->GetAsInteger(), 10);
  EXPECT_EQ(Name, "*limit*");
  Engine.ParseVariable("?*start* = (now 1)", Name);
  Engine.ParseVariable("?*who* = ?*limit*", Name);
  EXPECT_EQ(Heard, (std::vector<std::string>{"*limit*=10", "*start*=(now 1)", "*who*=?*limit*"}));

  EXPECT_EQ(ErrorOf([&] { Engine.ParseVariable("?*x = 1", Name); }),
            "Parsing Error, Bad Variable Name, must start and end with an asterisk: *x in ParseVariable at line 1: ?*x ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseVariable("?*x* =", Name); }),
            "Parsing Error, Expected value missing in ParseVariable at line 1: EOF ");
}

TEST(ValueGrammarTest, FullNames) {
  TInferenceEngine Engine;
  langtest::AddModule(Engine, "OTHER");
  std::string Module = "stale";
  EXPECT_EQ(Engine.ParseFullName("plain", Module), "plain");
  EXPECT_EQ(Module, "");
  EXPECT_EQ(Engine.ParseFullName("OTHER::thing", Module), "thing");
  EXPECT_EQ(Module, "OTHER");
}

// ---------------------------------------------------------------- calls

TEST(ValueGrammarTest, FunctionCallsKeepTheirArgumentsAsWritten) {
  TInferenceEngine Engine;
  const IFunCall Call = Engine.ParseFunCall("(f (g 1))");
  EXPECT_EQ(Call->GetName(), "f");
  EXPECT_EQ(Call->GetReasoner(), static_cast<IReasoner*>(&Engine));
  EXPECT_EQ(Call->GetArgument(0)->GetAsFunCall()->GetName(), "g");

  // A variable head reads the variable; "=" is a name like any other.
  const IFunCall GetVar = Engine.ParseFunCall("(?x 1 2)");
  EXPECT_EQ(GetVar->GetName(), "__get-var");
  EXPECT_EQ(GetVar->ToString(), "(__get-var ?x 1 2)");

  // Comments before the call travel with it.
  EXPECT_EQ(Engine.ParseFunCall("  ; the sum\r\n  (f)")->GetComment(), "; the sum");

  // Each call read, nested ones first, is announced.
  std::vector<std::string> Heard;
  Engine.SetOnParseFunCall([&](TObject*, const IFunCall& Heard1) { Heard.push_back(Heard1->GetName()); });
  Engine.ParseFunCall("(outer (inner (deepest)))");
  EXPECT_EQ(Heard, (std::vector<std::string>{"deepest", "inner", "outer"}));

  EXPECT_EQ(ErrorOf([&] { Engine.ParseFunCall("f"); }), "Parsing Error, Expected \"(\" in ParseFunCall at line 1: f ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFunCall("(1 2)"); }),
            "Parsing Error, Missing name in ParseFunCall at line 1: ( 1 ");
  // Looking ahead at "(g" put it back, which took the line break with it.
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFunCall("(f 1\n (g 2)"); }),
            "Parsing Error, Unexpected end of stream in ParseFunCall at line 2: ( f 1 ( g 2 ) EOF ");
}

TEST(ValueGrammarTest, FactAndSlotFunctions) {
  TInferenceEngine Engine;
  AddPerson(Engine);

  // assert and its kin take facts.
  const IFunCall Assert = Engine.ParseFunCall("(assert (a) (person (age 3)) (b c))");
  ASSERT_EQ(KindsOf(Assert), (std::vector<TKBType>{dtFact, dtFact, dtFact}));
  EXPECT_EQ(Assert->GetArgument(1)->GetAsFact()->GetValue("age")->GetAsInteger(), 3);
  EXPECT_EQ(Assert->GetArgument(2)->GetAsFact()->ToString(), "(b c )");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFunCall("(assert ((a)))"); }),
            "Parsing Error, Expected \"( <atom>\" in ParseFact at line 1: ( assert ( ( ");

  // modify and duplicate take slot pairs after their first argument.
  const IFunCall Modify = Engine.ParseFunCall("(modify ?f (colour red) (colours red blue) (size (+ 1 2)))");
  ASSERT_EQ(KindsOf(Modify), (std::vector<TKBType>{dtVariable, dtList, dtList, dtList}));
  EXPECT_EQ(Modify->GetArgument(2)->GetAsList()->Get(1)->GetDType(), dtList);
  EXPECT_EQ(Modify->GetArgument(3)->GetAsList()->Get(1)->GetDType(), dtFunCall);
  EXPECT_EQ(Modify->ToString(), "(modify ?f (colour red ) (colours red blue  ) (size (+ 1 2) ))");
  // Pairs start at the first argument: one in parentheses is a pair too.
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFunCall("(modify ?f (1 2))"); }),
            "Parsing Error, Expected \"( <atom>\" in ParseValuePair at line 1: ( modify ?f ( 1 ");

  // A host's own entries: pairs for the second argument only.
  TKBRuleParser& Parser = ParserOf(Engine);
  Parser.AddSlotFunction("zz-set", 2, 2);
  EXPECT_EQ(KindsOf(Engine.ParseFunCall("(zz-set (g) (a 1) (h))")), (std::vector<TKBType>{dtFunCall, dtList, dtFunCall}));
}

TEST(ValueGrammarTest, TopLevelCallsRunThroughTheEngine) {
  TInferenceEngine Engine;
  AddFunction(Engine, "zz-sum", [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
    std::int32_t Sum = 0;
    for (int I = 0; I < Call->GetArgumentCount(); ++I) Sum += Call->GetArgument(I)->Resolve(Context)->GetAsInteger();
    Result = Int(Sum);
  });
  std::string Output;
  langtest::CaptureOutput(Engine, Output);

  EXPECT_TRUE(Engine.Parse("(zz-sum 1 2 (zz-sum 3 4))\n(zz-sum)", true));
  EXPECT_EQ(Output, "10\r\n0\r\n");
  EXPECT_EQ(Engine.ParseNExecuteFunCall("(zz-sum 5 (zz-sum 6))")->GetAsInteger(), 11);
  Output.clear();
  EXPECT_TRUE(Engine.Parse("(zz-sum 1 2)", false));
  EXPECT_EQ(Output, "(zz-sum 1 2)\r\n");

  // A fact function of the host: its facts arrive parsed and are asserted.
  AddPerson(Engine);
  ParserOf(Engine).AddSlotFunction("zz-assert", 0, 0);
  AddFunction(Engine, "zz-assert", [&](TObject*, const IFunCall& Call, TKBContext*, IKBValue& Result) {
    for (int I = 0; I < Call->GetArgumentCount(); ++I) Result = Int(Engine.Assert(Call->GetArgument(I)->GetAsFact()));
  });
  Output.clear();
  const int Before = Engine.GetFacts()->GetCount();
  EXPECT_TRUE(Engine.Parse("(zz-assert (person (name \"Ann\")) (colour red))", true));
  EXPECT_EQ(Engine.GetFacts()->GetCount(), Before + 2);
  EXPECT_EQ(Engine.GetFacts()->Get(Before)->ToString(), "(person (age 0) (name \"Ann\") (weight 1.5000))");

  // Grammar errors carry their line; an unknown slot is the template's own
  // error, framed only by the collecting loop.
  EXPECT_EQ(ErrorOf([&] { Engine.Parse("(zz-sum 1)\n(zz-assert\n  (person (age abc)))", true); }),
            "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for ParseValue slot in "
            "ParseValue(SlotTypes) at line 3:  ( zz-assert ( person ( age abc ");
  Engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf([&] { Engine.Parse("(zz-assert (a))\n\n(zz-assert (person\n (height 3)))\n(zz-assert (b))", true); }),
            "Parsing Error, No such slot name: \"height\" in Parse at line 4:  ( zz-assert ( person \r\n( height \r\n");
  EXPECT_NE(Engine.FindFactTemplate("b"), nullptr);
}

// ---------------------------------------------------------------- facts

TEST(ValueGrammarTest, OrderedFacts) {
  TInferenceEngine Engine;
  std::vector<std::string> Heard;
  Engine.SetOnParseFact([&](TObject*, const IFact& Fact) { Heard.push_back(Fact->ToString()); });

  ASSERT_EQ(Engine.FindFactTemplate("colour"), nullptr);
  const IFact Fact = Engine.ParseFact("(colour red \"dark red\" 3 (mix a b))");
  const IFactTemplate Colour = Engine.FindFactTemplate("colour");
  ASSERT_NE(Colour, nullptr);
  EXPECT_EQ(Fact->GetTemplate(), Colour);
  EXPECT_TRUE(Colour->IsOrdered());
  EXPECT_EQ(Fact->GetValue(SDefaultSlotName)->GetAsList()->Get(3)->GetDType(), dtFunCall);

  // No fields: the empty multifield of the default.
  EXPECT_TRUE(Engine.ParseFact("(colour)")->GetValue(SDefaultSlotName)->Equals(FCNilList));
  EXPECT_EQ(Heard, (std::vector<std::string>{"(colour red \"dark red\" 3 (mix a b) )", "(colour)"}));

  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("colour red"); }),
            "Parsing Error, Expected \"( <atom>\" in ParseFact at line 1: colour ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(colour red"); }),
            "Parsing Error, Expected \")\" in ParseFactSlot at line 1: ( colour red EOF ");

  // Templates must exist when asked; a template made before a later error stays.
  Engine.GetParser()->SetExplicitCreateTemplates(true);
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(shape round)"); }),
            "Parsing Error, Unknown fact template: shape in ParseFact at line 1: ( shape ");
  EXPECT_EQ(Engine.FindFactTemplate("shape"), nullptr);
  EXPECT_EQ(Engine.ParseFact("(colour blue)")->GetTemplate(), Colour);
  Engine.GetParser()->SetExplicitCreateTemplates(false);
  EXPECT_THROW(Engine.ParseFact("(shape round ~)"), EKBParseException);
  EXPECT_NE(Engine.FindFactTemplate("shape"), nullptr);
}

TEST(ValueGrammarTest, TemplateFactsAndTheirDefaults) {
  TInferenceEngine Engine;
  const IFactTemplate Person = AddPerson(Engine);
  const IFact Ann = Engine.ParseFact("(person (tags tall dark) (name \"Ann\"))");
  EXPECT_EQ(Ann->GetTemplate(), Person);
  EXPECT_EQ(Ann->GetValue("tags")->GetAsList()->GetCount(), 2);
  // Slots left out take their defaults.
  EXPECT_EQ(Engine.ParseFact("(person)")->ToString(), "(person (age 0) (name \"\") (weight 1.5000))");

  // Numbers cross to the slot's kind.
  EXPECT_EQ(Engine.ParseFact("(person (age 7.9))")->GetValue("age")->GetToString(), "7");
  EXPECT_EQ(Engine.ParseFact("(person (weight 7))")->GetValue("weight")->GetToString(), "7.0000");

  // Variables and calls pass every test at parse time; "=" marks a call.
  EXPECT_EQ(Engine.ParseFact("(person (age ?x))")->GetValue("age")->GetDType(), dtVariable);
  EXPECT_EQ(Engine.ParseFact("(person (age = (f 1)))")->GetValue("age")->ToString(), "(f 1)");

  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (age = 3))"); }),
            "Parsing Error, \"=\" cannot appear as an atom within a fact in ParseValue(SlotTypes) at line 1: "
            "( person ( age = 3 ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (age))"); }),
            "Parsing Error, Bad Slot Value: ) in ParseValue(SlotTypes) at line 1: ( person ( age ) ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (age 1 2))"); }),
            "Parsing Error, Expected \")\" in ParseFactSlot at line 1: ( person ( age 1 2 ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (\"age\" 1))"); }),
            "Parsing Error, Bad Slot Name: \\\"age\"\\ in ParseFactSlot at line 1: ( person ( \\\"age\"\\ ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (age 1)"); }),
            "Parsing Error, Expected \"(\" in ParseFactSlot at line 1: ( person ( age 1 ) EOF ");
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (height 1))"); }), "No such slot name: \"height\"");

  // One slot read into a fact of the caller's.
  const IFact Bob = Person->NewFact();
  EXPECT_EQ(Engine.ParseFactSlot("(age 5.5)", Bob), "age");
  EXPECT_EQ(Bob->GetValue("age")->GetAsInteger(), 5);
  const IFact Pair = Engine.ParseFact("(pair)");
  // An ordered fact's fields run up to the fact's own ")".
  EXPECT_EQ(Engine.ParseFactSlot("x y)", Pair), SDefaultSlotName);
  EXPECT_EQ(Pair->ToString(), "(pair x y )");
}

TEST(ValueGrammarTest, StaticTypeChecks) {
  TInferenceEngine Engine;
  const IFactTemplate Person = AddPerson(Engine);
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person\n  (name \"Ann\")\n  (age abc))"); }),
            "Parsing Error, Not a INTEGER type.  Value (abc) is a dtAtom type for ParseValue slot in "
            "ParseValue(SlotTypes) at line 3: ( person \r\n( name \\\"Ann\"\\ ) \r\n( age abc ");
  // The items of a multislot are checked against the slot.
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (tags a 2))"); }),
            "Parsing Error, Not a ATOM, LIST, MULTISLOT type.  Value (a 2 ) is a dtInteger (2) type for tags slot in "
            "ParseValue(Fact Slot) at line 1: ( person ( tags a 2 ");

  // A defined type decides instead of the slot's types.
  IKBDefinedType Small(new TKBDefinedType("small", TKBTypes{dtInteger}));
  Person->GetSlot("age")->SetExtendedTypeInfo(Small);
  EXPECT_EQ(Engine.ParseFact("(person (age 4))")->GetValue("age")->GetAsInteger(), 4);
  EXPECT_EQ(ErrorOf([&] { Engine.ParseFact("(person (age 4.5))"); }),
            "Parsing Error, Value \"4.5000\" is not valid, Not a INTEGER type.  Value (4.5000) is a dtFloat type in "
            "ParseValue(SlotTypes) at line 1: ( person ( age 4.5000 ");

  // Typed values read directly.
  EXPECT_EQ(Engine.ParseValue("3.7", TKBTypes{dtInteger}, nullptr)->GetAsInteger(), 3);

  // Without static checks anything goes.
  Engine.SetTypeChecks(TTypeChecks{});
  const IFact Fact = Engine.ParseFact("(person (age abc) (weight 2) (tags 1 2.5))");
  EXPECT_EQ(Fact->GetValue("age")->GetDType(), dtAtom);
  EXPECT_EQ(Fact->GetValue("weight")->GetDType(), dtInteger);
}

// ---------------------------------------------------------------- round trips and text

TEST(ValueGrammarTest, PrintedFactsReadBackEqual) {
  TInferenceEngine Engine;
  AddPerson(Engine);
  const std::vector<std::string> Texts = {
      "(person (name \"say \\\"hi\\\" \\\\\") (age 42) (weight -2.25) (tags x y z))",
      "(person (age ?a) (name (concat \"a\" ?b)) (tags $?all [ ]))",
      "(person)",
      "(point 1 -2.5 \"q\\\"uote\" ?v $?w (f (g 1) \"s\") TRUE)",
      "(point)",
  };
  for (const std::string& Text : Texts) {
    const IFact First = Engine.ParseFact(Text);
    const std::string Printed = First->ToString();
    const IFact Second = Engine.ParseFact(Printed);
    EXPECT_TRUE(First->Equals(Second)) << Text << " printed as " << Printed;
    EXPECT_EQ(Second->ToString(), Printed);
  }

  // A fact copied into another engine is read there, its calls bound there.
  TInferenceEngine To;
  const IFact Target(new TFact(IFactTemplate(new TFactTemplate(&To, "local"))));
  Target->Assign(IInterface(Engine.ParseFact("(order 3 (price 7))")));
  EXPECT_EQ(Target->ToString(), "(order 3 (price 7) )");
  EXPECT_EQ(Target->GetValue(SDefaultSlotName)->GetAsList()->Get(1)->GetAsFunCall()->GetReasoner(),
            static_cast<IReasoner*>(&To));
}

TEST(ValueGrammarTest, CallsNestedWithoutEndAreRefused) {
  TInferenceEngine Engine;
  const auto Nested = [](int Depth) {
    std::string Text;
    for (int I = 0; I < Depth; ++I) Text += "(f ";
    return Text + "1" + std::string(static_cast<std::size_t>(Depth), ')');
  };
  const IFunCall Deepest = Engine.ParseFunCall(Nested(MaxCallNesting));
  ASSERT_TRUE(Deepest);
  EXPECT_EQ(Deepest->GetName(), "f");
  // The engine survives text nested far deeper than any program needs.
  const std::string Error = test::ErrorOf([&] { Engine.ParseFunCall(Nested(100000)); });
  EXPECT_EQ(Error.rfind("Parsing Error, Syntax Error: calls nested more than 500 deep in ParseFunCall at line 1: ", 0),
            0u)
      << Error.substr(0, 200);
  EXPECT_EQ(Engine.ParseFunCall("(g 1)")->ToString(), "(g 1)");
}

}  // namespace
}  // namespace cogent
