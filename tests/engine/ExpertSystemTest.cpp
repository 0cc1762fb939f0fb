// The printed forms of rules, modules and fuzzy sets, the text of a whole
// system, and saving it to streams and files.

#include <gtest/gtest.h>

#include <string>

#include "cogent/cogent.h"
#include "cogent/facts/KBPrinter.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

TRule* RuleOf(TInferenceEngine& Engine, const std::string& Name) {
  TRule* Rule = nullptr;
  Engine.GetRules()->TryGetValue(Name, Rule);
  return Rule;
}

TEST(ExpertSystemTest, RulesPrintTheirDeclarationsPatternsAndActions) {
  TInferenceEngine Engine;
  Engine.GetParser()->SetEcho(false);
  Engine.Parse(R"((deftemplate a (slot x))
    (defrule r1 "says hi" (declare (auto-focus TRUE) (salience 5))
      ?f <- (a (x ?v&~1)) (not (a (x 2))) (exists (a (x 3)))
      => (modify ?f (x 3)) (printout t ?v crlf))
    (defrule r2 (declare (enabled FALSE)) (test (> 1 0)) =>))",
               true);
  EXPECT_EQ(RuleOf(Engine, "r1")->ToString(),
            "(defrule MAIN::r1\r\n"
            "   \"says hi\"\r\n"
            "   (declare (salience 5) (auto-focus TRUE))\r\n"
            "   ?f <- (a (x ?v&~1) )\r\n"
            "   (not (a (x 2) ))\r\n"
            "   (exists (a (x 3) ))\r\n"
            "   =>\r\n"
            "   (modify ?f (x 3 ))\r\n"
            "   (printout t ?v crlf))");
  // A rule that starts with a test hangs from the initial fact, which prints.
  EXPECT_EQ(PrettyPrint(*RuleOf(Engine, "r2"), false),
            "(defrule r2\r\n"
            "   (declare (enabled FALSE))\r\n"
            "   (Initial-Fact )\r\n"
            "   (test (> 1 0))\r\n"
            "   =>)");
}

TEST(ExpertSystemTest, ModulesAndTheWholeSystem) {
  TInferenceEngine Engine;
  Engine.GetParser()->SetEcho(false);
  Engine.Parse(R"((defglobal ?*n* = 1)
    (deffunction twice (?x) "doubles" (* 2 ?x))
    (defmodule A "shares" (export deftemplate ?ALL))
    (deftemplate item (slot n))
    (defmodule B (import A deftemplate item))
    (defrule B::see (item (n ?n)) => (printout t ?n crlf))
    (focus B A))",
               true);
  const TModules& Modules = *Engine.GetModules();
  EXPECT_EQ(Modules.GetModule("A")->ToString(), "(defmodule A \"shares\"\r\n   (export deftemplate ?ALL))");
  EXPECT_EQ(Modules.GetModule("B")->ToString(), "(defmodule B\r\n   (import A deftemplate item ))");
  EXPECT_EQ(Engine.PrettyPrintGlobalVariables(), "(defglobal ?*n* = 1)");

  const std::string Full = Engine.GetExpertSystem();
  EXPECT_NE(Full.find("\r\n(deffunction twice (?x)\r\n   \"doubles\"\r\n   (* 2 ?x)\r\n)\r\n"), std::string::npos);
  EXPECT_NE(Full.find("; Number of Modules:          3\r\n(set-fact-duplication TRUE)\r\n"), std::string::npos);
  // Names go without their module: each construct follows its defmodule.
  EXPECT_NE(Full.find("(defrule see\r\n"), std::string::npos);
  EXPECT_TRUE(Full.ends_with("\r\n(focus B A MAIN)\r\n"));
  // The compact form has no comments, globals or deffunctions.
  const std::string Compact = Engine.GetExpertSystem(true);
  EXPECT_EQ(Compact.find(';'), std::string::npos);
  EXPECT_EQ(Compact.find("defglobal"), std::string::npos);
  EXPECT_EQ(Compact.find("deffunction"), std::string::npos);
  // The parser prints qualified names again afterwards.
  EXPECT_TRUE(Engine.GetParser()->GetPrintModuleQualifiers());

  // Setting the text starts from an empty system and ends reset.
  TInferenceEngine Copy;
  Copy.GetParser()->SetEcho(false);
  Copy.SetExpertSystem(Full);
  EXPECT_EQ(Copy.GetModules()->ToNamesString(","), "MAIN,A,B");
  EXPECT_EQ(Copy.GetFocusStack()->ToNamesString(","), "MAIN");
}

TEST(ExpertSystemTest, FuzzySetsPrintTheirShapes) {
  const IFuzzyVariable Variable(new TFuzzyVariable("t"));
  Variable->SetUniverse(0.0, 10.0);
  const IFuzzySet Custom(new TFuzzySet(Variable, "c"));
  for (const TFuzzyPoint P : {TFuzzyPoint{0, 1}, TFuzzyPoint{1, 0.5}, TFuzzyPoint{2, 0}}) Custom->AddPoint(P.X, P.Y);
  EXPECT_EQ(PrettyPrint(*Custom, true), "(term c ((0.0000 1.0000) (1.0000 0.5000) (2.0000 0.0000) ))");
  EXPECT_EQ(PrettyPrint(*Custom, false), "c");

  const IFuzzySet Pi(new TFuzzySet(Variable, "p"));
  Pi->BellCurve(7, 2.0, 5.0);
  EXPECT_EQ(PrettyPrint(*Pi, true), "(term p (pi 5.0000 2.0000))");
  Pi->BellCurve(7, 1.0, 8.0, 5.0);
  EXPECT_EQ(PrettyPrint(*Pi, true), "(term p (pi 1.0000 5.0000 8.0000))");
  // A beta curve of no width prints without dividing by it.
  const IFuzzySet Beta(new TFuzzySet(Variable, "b"));
  Beta->BetaCurve(1, 0.0, 3.0, 1.0);
  EXPECT_EQ(PrettyPrint(*Beta, true), "(term b (beta 3.0000 0.0000 1.0000))");

  // Terms print by their order number, not by their place in the list.
  Variable->AddTerm(Custom);
  Variable->AddTerm(Pi);
  Custom->SetOrderNumber(9);
  EXPECT_EQ(PrettyPrint(*Variable),
            "   (range 0.0000 10.0000)\r\n   (values \r\n"
            "      (term p (pi 1.0000 5.0000 8.0000))\r\n"
            "      (term c ((0.0000 1.0000) (1.0000 0.5000) (2.0000 0.0000) ))\r\n   )");
}

// A stream that takes Limit bytes and refuses the rest, like a full disk.
class TFullStream : public TMemoryStream {
public:
  explicit TFullStream(std::int64_t Limit) : FLimit(Limit) {}
  std::int64_t Write(const void* Buffer, std::int64_t Count) override {
    const std::int64_t Room = FLimit - GetSize();
    return TMemoryStream::Write(Buffer, Count < Room ? Count : (Room > 0 ? Room : 0));
  }

private:
  std::int64_t FLimit;
};

TEST(ExpertSystemTest, FailedSavesAndLoadsSayWhyAndKeepTheOldFile) {
  TInferenceEngine Engine;
  Engine.GetParser()->SetEcho(false);
  Engine.Parse("(deftemplate a (slot x)) (defrule r (a (x ?x)) => (printout t ?x crlf))", true);
  TFullStream Full(20);
  EXPECT_EQ(ErrorOf([&] { Engine.SaveToStream(Full, nullptr); }), "Stream write error");

  const TTempFolder Folder;
  const std::string File = Folder / "saved.kb";
  WriteFile(File, "old");
  EXPECT_EQ(ErrorOf([&] { Engine.SaveToFile(Folder / "none/saved.kb", nullptr); }),
            "Cannot create \"" + (Folder / "none/saved.kb") + "\". No such file or directory");
  EXPECT_EQ(ReadFile(File), "old");
  Engine.SaveToFile(File, nullptr);
  const std::string Saved = ReadFile(File);
  EXPECT_NE(Saved.find("(defrule r\r\n"), std::string::npos);

  // A saved file cut short: the error names the file and the line.
  WriteFile(File, Saved.substr(0, Saved.find("=>")));
  TInferenceEngine Other;
  Other.GetParser()->SetEcho(false);
  const std::string Error = ErrorOf([&] { Other.LoadFromFile(File, nullptr); });
  EXPECT_TRUE(Error.starts_with(File + ":")) << Error;

  // A knowledge base saved by a later version is refused whole.
  std::string Later = Saved;
  Later.replace(Later.find(" v") + 2, 6, "99.0000");
  WriteFile(File, Later);
  TInferenceEngine Fresh;
  EXPECT_EQ(ErrorOf([&] { Fresh.LoadFromFile(File, nullptr); }),
            "This knowledge base was saved by version 99.0000 of the engine, which is later than this one (6.0000)");
  EXPECT_FALSE(Fresh.FindFactTemplate("a"));
}

}  // namespace
}  // namespace cogent
