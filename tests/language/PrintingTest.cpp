#include <gtest/gtest.h>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/language/KBRuleParser.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

TEST(PrintingTest, OrderedFacts) {
  TInferenceEngine Engine;
  const IFact Fact = Engine.CreateFactTemplate("colour")->NewFact();
  EXPECT_EQ(PrettyPrint(Fact), "(colour)");
  Fact->SetValue(SDefaultSlotName, List({Atom("red")}));
  EXPECT_EQ(PrettyPrint(Fact), "(colour red )");
  Fact->SetValue(SDefaultSlotName, List({Str("a b"), Int(2), IKBValue(new TKBValue(1.5))}));
  EXPECT_EQ(Fact->ToString(), "(colour \"a b\" 2 1.5000 )");
}

TEST(PrintingTest, TemplateFactsInSortedSlotOrder) {
  // Without an engine the fact prints through the plain printer.
  IFactTemplate Person(new TFactTemplate(nullptr, "person"));
  Person->AddSlot("name", Str("Ann"));
  Person->AddMultiSlot("tags", FCNilList);
  Person->AddSlot("age", Int(30));
  Person->AddSlot("note", FCNil);
  const IFact Fact = Person->NewFact();
  // A slot whose value prints empty, like FCNil or an empty list, is left out.
  EXPECT_EQ(PrettyPrint(Fact), "(person (age 30) (name \"Ann\"))");
  Fact->SetValue("tags", List({Atom("a"), Atom("b")}));
  EXPECT_EQ(Fact->ToString(), "(person (age 30) (name \"Ann\") (tags a b ))");
  EXPECT_EQ(PrettyPrint(*Fact, "age", std::string("x")), "(age x)");
  EXPECT_EQ(PrettyPrint(*Fact, "age", std::string()), "");
  EXPECT_EQ(Fact->GetToIDString(), "f--1 " + Fact->ToString());
}

TEST(PrintingTest, Calls) {
  IFunCall Call(new TFunctionCall("printout"));
  Call->AddArgument(Atom("t"));
  Call->AddArgument(Str("hi"));
  Call->AddArgument(IKBValue(new TKBValue("x", dtVariable)));
  EXPECT_EQ(PrettyPrint(Call), "(printout t \"hi\" ?x)");

  IFunCall Inner(new TFunctionCall("+"));
  Inner->AddArgument(Int(1));
  Inner->AddArgument(Int(2));
  IFunCall Outer(new TFunctionCall("assert"));
  Outer->AddArgument(IKBValue(new TKBValue(Inner)));
  EXPECT_EQ(Outer->ToString(), "(assert (+ 1 2))");

  // The slot pairs of modify and duplicate.
  IFunCall Modify(new TFunctionCall("modify"));
  Modify->AddArgument(IKBValue(new TKBValue("f", dtVariable)));
  Modify->AddArgument(List({Atom("age"), Int(4)}));
  EXPECT_EQ(PrettyPrint(Modify), "(modify ?f (age 4 ))");
  EXPECT_EQ(PrettyPrint(Modify, false), "(modify ?f age 4)");

  IFunCall Commented(new TFunctionCall("halt"));
  Commented->SetComment("  stop here \r\n; already a comment\r\n\r\nlast");
  EXPECT_EQ(PrettyPrint(Commented), "; stop here\r\n; already a comment\r\n\r\n; last\r\n(halt)");
}

}  // namespace
}  // namespace cogent
