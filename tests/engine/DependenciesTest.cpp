// Templates and types that go or are defined anew while facts, rules, fact
// sets and other modules depend on them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

// The facts of the current module as "id text" lines.
std::vector<std::string> FactLines(const TInferenceEngine& Engine) {
  std::vector<std::string> Lines;
  for (int I = 0; I < Engine.GetFactCount(); ++I) Lines.push_back(Engine.GetFact(I)->GetToIDString());
  return Lines;
}

bool HasRule(const TInferenceEngine& Engine, const std::string& Name) { return Engine.GetRules()->ContainsKey(Name); }

const char* const PersonProgram =
    "(deftemplate person (slot name) (slot age))\n"
    "(deftemplate pet (slot name))\n"
    "(deffacts people (person (name Ann) (age 30)) (pet (name Rex)))\n"
    "(defrule greet (person (name ?n)) => (printout t ?n crlf))\n"
    "(defrule make (pet (name ?n)) => (assert (person (name ?n) (age 1))))\n"
    "(defrule pets (pet (name ?n)) => (printout t ?n crlf))\n";

TEST(DependenciesTest, RedefinedTemplateReadsItsDependentsAgain) {
  TInferenceEngine Engine;
  TConsole Console(Engine);
  ASSERT_TRUE(Engine.Parse(PersonProgram, true));
  Engine.Reset();
  Engine.Assert("(person (name Bob) (age 40))");
  TRule* Pets = Engine.GetRules()->Get("pets");

  // A refused redefinition changes nothing.
  Engine.SetDuplicateConstructs(dcError);
  const std::vector<std::string> Before = FactLines(Engine);
  EXPECT_NE(ErrorOf([&] { Engine.Parse("(deftemplate person (slot age) (slot name) (slot city))", true); })
                .find("Fact Template Name already exists: \"person\""),
            std::string::npos);
  EXPECT_EQ(FactLines(Engine), Before);
  EXPECT_EQ(Engine.GetRules()->Get("greet")->GetPatternCount(), 1);

  // Facts come back from their text with new ids, after the others; the
  // rules that match or assert the template are compiled again, and a rule
  // that does neither is the same object.
  Engine.SetDuplicateConstructs(dcOverwrite);
  ASSERT_TRUE(Engine.Parse("(deftemplate person (slot city (default Oslo)) (slot age) (slot name))", true));
  const IFactTemplate Person = Engine.FindFactTemplate("person");
  EXPECT_EQ(FactLines(Engine), (std::vector<std::string>{"f-1 (pet (name Rex))", "f-2 (Initial-Fact)",
                                                         "f-4 (person (age 40) (city Oslo) (name Bob))",
                                                         "f-5 (person (age 30) (city Oslo) (name Ann))"}));
  EXPECT_EQ(Engine.GetFact(2)->GetTemplate(), Person);
  EXPECT_EQ(Engine.GetRules()->Get("greet")->GetPattern(0)->GetTemplate(), Person);
  EXPECT_TRUE(HasRule(Engine, "make"));
  EXPECT_EQ(Engine.GetRules()->Get("pets"), Pets);
  EXPECT_EQ(Engine.Run(), 5);
  EXPECT_EQ(Console.Output, "Ann\r\nBob\r\nRex\r\nRex\r\n");

  // The fact set reads its fact against the template that stands.
  Engine.Reset();
  EXPECT_EQ(FactLines(Engine).front(), "f-0 (person (age 30) (city Oslo) (name Ann))");

  // A dependent that no longer reads is reported once the others are back.
  EXPECT_EQ(ErrorOf([&] { Engine.Parse("(deftemplate person (slot name))", true); }).find("No such slot name"), 0u);
  EXPECT_TRUE(HasRule(Engine, "greet"));  // reads without age
  EXPECT_FALSE(HasRule(Engine, "make"));  // asserts an age
  EXPECT_EQ(Engine.GetFactCount(), 2);
}

TEST(DependenciesTest, RemovedTemplateTakesItsDependentsFromEveryModule) {
  TInferenceEngine Engine;
  TConsole Console(Engine);
  ASSERT_TRUE(Engine.Parse(
      "(defmodule MAIN (export deftemplate person))\n"
      "(deftemplate person (slot name))\n"
      "(deffacts people (person (name Ann)))\n"
      "(defrule greet (person (name ?n)) => )\n"
      "(defrule other => (assert (person (name Bob))))\n"
      "(defmodule OTHER (import MAIN deftemplate person))\n"
      "(defrule OTHER::count (person (name ?n)) => )\n",
      true));
  const IModule Main = Engine.GetModules()->GetModule("MAIN");
  const IModule Other = Engine.GetModules()->GetModule("OTHER");
  Engine.SetCurrentModule(Main);
  Engine.Reset();
  const IFactTemplate Person = Engine.FindFactTemplate("person");
  EXPECT_EQ(Person->GetImportModuleCount(), 2);

  Other->GetFactTemplates()->Remove("person");
  EXPECT_FALSE(Main->GetFactTemplates()->ContainsKey("person"));
  EXPECT_EQ(Person->GetImportModuleCount(), 0);
  EXPECT_EQ(FactLines(Engine), (std::vector<std::string>{"f-1 (Initial-Fact)"}));
  // Only rules with a pattern of it go; an action that asserts it stays.
  EXPECT_FALSE(HasRule(Engine, "greet"));
  EXPECT_TRUE(HasRule(Engine, "other"));
  EXPECT_EQ(Other->GetRules()->GetCount(), 0);
  EXPECT_EQ(Other->GetFacts()->GetCount(), 0);
  // The fact set keeps its text for a template of that name to come.
  EXPECT_EQ(Engine.GetFactSets()->GetItem(0)->GetFacts()->GetFactData(0), nullptr);
  EXPECT_EQ(Engine.GetFactSets()->GetItem(0)->GetCount(), 1);
}

TEST(DependenciesTest, ClearedModuleTakesItsTemplatesFromImporters) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse(
      "(defmodule MAIN (export ?ALL))\n"
      "(deftemplate person (slot name))\n"
      "(defmodule OTHER (import MAIN ?ALL))\n"
      "(deftemplate local (slot x))\n"
      "(defrule OTHER::count (person (name ?n)) => )\n",
      true));
  const IModule Main = Engine.GetModules()->GetModule("MAIN");
  const IModule Other = Engine.GetModules()->GetModule("OTHER");
  Engine.Assert("(person (name Ann))");
  Main->GetFactTemplates()->Clear();
  EXPECT_FALSE(Other->GetFactTemplates()->ContainsKey("person"));
  EXPECT_TRUE(Other->GetFactTemplates()->ContainsKey("local"));
  EXPECT_EQ(Other->GetRules()->GetCount(), 0);
  EXPECT_EQ(Other->GetFacts()->GetCount(), 0);
}

TEST(DependenciesTest, DefinedTypeDefinedAnewOrRemoved) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse(
      "(deftype years extends (type INTEGER) (range 0 150))\n"
      "(deftemplate person (slot name) (slot age (type years)))\n"
      "(deftemplate pet (slot name))\n"
      "(defrule greet (person (name ?n)) => )\n",
      true));
  Engine.Assert("(person (name Ann) (age 30))");
  const IFactTemplate Before = Engine.FindFactTemplate("person");

  // The templates that use the type are defined anew with the new one, and
  // their facts and rules follow.
  ASSERT_TRUE(Engine.Parse("(deftype years extends (type INTEGER) (range 0 120))", true));
  const IKBDefinedType Years = Engine.FindDefinedType("years");
  const IFactTemplate After = Engine.FindFactTemplate("person");
  EXPECT_NE(After, Before);
  EXPECT_EQ(After->GetSlot("age")->GetExtendedTypeInfo(), Years);
  EXPECT_EQ(Engine.GetFact(Engine.GetFactCount() - 1)->GetTemplate(), After);
  EXPECT_EQ(Engine.GetRules()->Get("greet")->GetPattern(0)->GetTemplate(), After);

  // A removed type takes the templates that use it, and theirs.
  Engine.GetDefinedTypes()->Remove("years");
  EXPECT_EQ(Engine.FindFactTemplate("person"), nullptr);
  EXPECT_NE(Engine.FindFactTemplate("pet"), nullptr);
  EXPECT_FALSE(HasRule(Engine, "greet"));
  for (int I = 0; I < Engine.GetFactCount(); ++I) EXPECT_NE(Engine.GetFact(I)->GetTemplate(), After);
}

TEST(DependenciesTest, WhatDependsOnATemplate) {
  TInferenceEngine Engine;
  ASSERT_TRUE(Engine.Parse("(deftemplate person (slot name))", true));
  const IFactTemplate Person = Engine.FindFactTemplate("person");
  const IFact Fact = Person->NewFact();
  // A fact inside a list inside a nested call is found; text is not.
  const IFunCall Inner(new TFunctionCall(&Engine, "create$"));
  IValueVector List(new TValueVector());
  List->Add(IKBValue(new TKBValue(Fact)));
  Inner->AddArgument(List);
  const IFunCall Outer(new TFunctionCall(&Engine, "length$"));
  Outer->AddArgument(Inner);
  EXPECT_TRUE(TInferenceEngine::IsDependent(Outer, Person));
  const IFunCall Plain(new TFunctionCall(&Engine, "printout"));
  Plain->AddArgument("person", dtAtom);
  EXPECT_FALSE(TInferenceEngine::IsDependent(Plain, Person));
  EXPECT_FALSE(TInferenceEngine::IsDependent(IKBValue(), Person));
}

}  // namespace
}  // namespace cogent
