#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>
#include <string>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/ComponentStreams.h"
#include "cogent/host/Streams.h"
#include "cogent/host/SysUtils.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

std::string Text(const TMemoryStream& Stream) {
  return std::string(reinterpret_cast<const char*>(Stream.Memory()), Stream.Bytes().size());
}

std::string RunOutput(TInferenceEngine& Engine, TConsole& Console) {
  Console.Output.clear();
  Engine.Reset();
  Engine.Run();
  return Console.Output;
}

TEST(PersistenceTest, AssignCopiesTheWholeEngine) {
  auto Owned = std::make_unique<TInferenceEngine>();
  TInferenceEngine& Source = *Owned;
  TConsole SourceConsole(Source);
  Source.Parse(
      "(deftype small extends (type INTEGER) (range 0 9))"
      "(deftemplate sized (slot s (type small)))"
      "(deftemplate item (slot n (type INTEGER)))"
      "(deffacts items (item (n 1)) (item (n 2)))"
      "(defglobal ?*scale* = 10)"
      "(deffunction scaled (?x) (* ?x ?*scale*))"
      "(defrule show (item (n ?n)) => (printout t (scaled ?n) crlf))"
      "(defmodule MAIN (export deftemplate item))"
      "(defmodule SIDE (import MAIN deftemplate item))"
      "(defrule SIDE::count (item (n ?n&:(> ?n 1))) => (printout t \"side \" ?n crlf))",
      true);
  Source.SetStrategy(ssBreadthFirst);
  Source.SetFactDuplication(true);
  Source.SetResetGlobals(false);
  const std::string Expected = RunOutput(Source, SourceConsole);
  Source.Parse("(assert (item (n 3)))", true);
  Source.PushFocus("MAIN");
  Source.PushFocus("SIDE");
  Source.SetCurrentModule(Source.GetModules()->GetModule("SIDE"));

  TInferenceEngine Copy;
  TConsole CopyConsole(Copy);
  Copy.Assign(&Source);
  EXPECT_EQ(Copy.GetStrategy(), ssBreadthFirst);
  EXPECT_TRUE(Copy.GetFactDuplication());
  EXPECT_FALSE(Copy.GetResetGlobals());
  EXPECT_EQ(Copy.GetTypeChecks(), Source.GetTypeChecks());
  EXPECT_EQ(Copy.GetModules()->ToNamesString(" "), "MAIN SIDE");
  EXPECT_EQ(Copy.GetFocusStack()->ToNamesString(" "), "SIDE MAIN");
  EXPECT_EQ(Copy.GetCurrentModule()->GetName(), "SIDE");
  EXPECT_TRUE(Copy.GetRules()->ContainsKey("count"));
  // The facts of each module come along; the copy's ids are its own.
  EXPECT_EQ(Copy.GetFacts()->ToString(), Source.GetFacts()->ToString());

  // What was defined works alike: types, templates, fact sets, globals,
  // deffunctions and rules of both modules.
  const IModule Main = Copy.GetModules()->GetModule("MAIN");
  Copy.SetCurrentModule(Main);
  EXPECT_TRUE(Copy.GetDefinedTypes()->ContainsKey("small"));
  EXPECT_EQ(Copy.GetFactTemplates()->LocalsToString(), Source.GetModules()->GetModule("MAIN")->GetFactTemplates()->LocalsToString());
  EXPECT_EQ(Copy.GetGlobalVariables()->ToString(), Source.GetGlobalVariables()->ToString());
  EXPECT_EQ(RunOutput(Copy, CopyConsole), Expected);
  // The copy stands alone: the source can change and go.
  Source.Parse("(undefrule show)", true);
  Owned.reset();
  EXPECT_EQ(RunOutput(Copy, CopyConsole), Expected);
}

TEST(PersistenceTest, OneKindOfConstructAtATime) {
  TInferenceEngine Engine;
  TConsole Console(Engine);
  Engine.Parse(
      "(deftemplate a (slot x))"
      "(deftemplate b (slot x))"
      "(defrule main-rule (a (x ?x)) => (printout t \"main \" ?x crlf))"
      "(defmodule OTHER)"
      "(deftemplate c (slot x))"
      "(defrule other-rule (c (x ?x)) => (printout t \"other \" ?x crlf))",
      true);

  // Rules read into OTHER take the place of OTHER's rules alone.
  TMemoryStream Rules;
  const std::string RuleText = "(defrule fresh (c (x ?x)) => (printout t \"fresh \" ?x crlf))";
  Rules.Write(RuleText.data(), static_cast<std::int64_t>(RuleText.size()));
  Rules.SetPosition(0);
  Engine.LoadRules(Rules, nullptr);
  EXPECT_EQ(Engine.GetRules()->GetCount(), 1);
  EXPECT_TRUE(Engine.GetRules()->ContainsKey("fresh"));
  EXPECT_TRUE(Engine.GetModules()->GetModule("MAIN")->GetRules()->ContainsKey("main-rule"));

  // Facts: a template named in another case writes nothing but the preamble.
  Engine.SetCurrentModule(Engine.GetModules()->GetModule("MAIN"));
  Engine.Parse("(assert (a (x 1)) (b (x 2)) (a (x 3)))", true);
  TMemoryStream None, Some, All;
  Engine.SaveFacts(None, "A", nullptr);
  Engine.SaveFacts(Some, "a", nullptr);
  Engine.SaveFacts(All, nullptr);
  EXPECT_EQ(Text(None), "");
  EXPECT_EQ(Text(Some), "(a (x 1))\r\n(a (x 3))\r\n");
  EXPECT_EQ(Text(All), "(Initial-Fact)\r\n(a (x 1))\r\n(b (x 2))\r\n(a (x 3))\r\n");

  // Loading facts adds to those there.
  Engine.SetFactDuplication(true);
  Some.SetPosition(0);
  Engine.LoadFacts(Some, nullptr);
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 6);

  // Templates saved and loaded again come back as they were.
  TMemoryStream Templates;
  Engine.SaveFactTemplates(Templates, nullptr);
  const std::string Saved = Text(Templates);
  Templates.SetPosition(0);
  Engine.LoadFactTemplates(Templates, nullptr);
  TMemoryStream Again;
  Engine.SaveFactTemplates(Again, nullptr);
  EXPECT_EQ(Text(Again), Saved);
}

TEST(PersistenceTest, AFailedFileSaveLeavesTheOldFile) {
  const std::string Folder = GetTempPath() + "/cogent-persistence-" + IntToStr(::getpid());
  ForceDirectories(Folder);
  const std::string File = Folder + "/templates.kb";
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate a (slot x))", true);
  Engine.SaveFactTemplates(File, nullptr);
  const std::int64_t Size = TFileStream(File, fmOpenRead).GetSize();
  EXPECT_GT(Size, 0);

  // A folder in the way of the file, and a folder that isn't there.
  EXPECT_NE(ErrorOf([&] { Engine.SaveRules(Folder, nullptr); }), "");
  EXPECT_NE(ErrorOf([&] { Engine.SaveRules(Folder + "/no/such.kb", nullptr); }), "");
  EXPECT_EQ(GetFiles(Folder, "*").size(), 1u);
  EXPECT_EQ(TFileStream(File, fmOpenRead).GetSize(), Size);
  DeleteDirectory(Folder, true);
}

TEST(PersistenceTest, ComponentStreams) {
  // No packages: the module text still asserts and focuses.
  TInferenceEngine Engine;
  Engine.SetPackages(TFunctionPackages());
  TMemoryStream Form;
  const std::string Source =
      "object TInferenceEngine\r\n"
      "  ModuleText = \"(assert (point (x 1)))\\r\\n(focus MAIN)\"\r\n"
      "  FactsList = (\"(point (x 2))\")\r\n"
      "  FactTemplates.Templates = (\"(deftemplate point (slot x))\")\r\n"
      "  GlobalVariables.Variables = (\"?*limit* = 3\")\r\n"
      "end\r\n";
  Form.Write(Source.data(), static_cast<std::int64_t>(Source.size()));
  Form.SetPosition(0);
  ReadComponent(Form, Engine);
  EXPECT_FALSE(Engine.GetComponentState().Contains(csLoading));
  // The templates came first, and emptying their table took the initial fact.
  EXPECT_EQ(Engine.GetFacts()->ToString(), "(point (x 2))\r\n(point (x 1))");
  EXPECT_EQ(Engine.GetFocusStack()->ToNamesString(" "), "MAIN");
  EXPECT_FALSE(Engine.ContainsUserFunction("assert"));

  // What is written reads back; a name nobody defines is an error.
  TMemoryStream Written;
  WriteComponent(Written, Engine);
  EXPECT_TRUE(Text(Written).starts_with("object TInferenceEngine\r\n  GlobalVariables.Variables = (\"?*limit* = 3\")\r\n"
                                         "  ModuleText = \"(defmodule MAIN)"));
  TInferenceEngine Copy;
  Written.SetPosition(0);
  ReadComponent(Written, Copy);
  EXPECT_TRUE(Copy.GetFacts()->ToString().ends_with(Engine.GetFacts()->ToString()));
  TMemoryStream Unknown;
  const std::string Bad = "object TInferenceEngine Nope = \"x\" end";
  Unknown.Write(Bad.data(), static_cast<std::int64_t>(Bad.size()));
  Unknown.SetPosition(0);
  EXPECT_EQ(ErrorOf([&] { ReadComponent(Unknown, Engine); }),
            "Error reading TInferenceEngine: property Nope does not exist");
}

}  // namespace
}  // namespace cogent
