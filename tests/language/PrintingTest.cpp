#include <gtest/gtest.h>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/language/KBRuleParser.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

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
