#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../engine/EngineTestSupport.h"
#include "FunctionsTestSupport.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/functions/KBHelperFunctions.h"

namespace cogent::test {

namespace {

std::string Quoted(const std::string& Text) { return "\"" + Text + "\""; }

std::string Formatted(const std::string& Format, std::initializer_list<IKBValue> Arguments) {
  IValueVector Vector(new TValueVector());
  for (const IKBValue& Argument : Arguments) Vector->Add(Argument);
  return RuleFormat(Format, Vector);
}

}  // namespace

TEST(IOFunctions, PrintOutShowsEachKindAndRoutesByChannel) {
  TInferenceEngine Engine;
  TConsole Console(Engine);
  SetVariable(Engine, "l", List({Int(1), Int(2)}));
  EXPECT_EQ("nil", Eval(Engine, "(printout t \"a\" crlf \"crlf\" b 3.5 7 ?l)"));
  EXPECT_EQ(Console.Output, "a\r\ncrlfb3.50007(1 2 )");
  Console.Output.clear();
  EXPECT_EQ("nil", Eval(Engine, "(printout)"));
  EXPECT_EQ(Console.Output, "");
  EXPECT_EQ(Console.Ids, (std::vector<std::string>{"t", ""}));

  Engine.OnPrintOut = nullptr;
  EXPECT_EQ(ErrorOfCall(Engine, "(printout nowhere x)"), "Function is unimplemented or unassigned: printout");
}

TEST(IOFunctions, FormatPrintsAndStrFormatGives) {
  TInferenceEngine Engine;
  TConsole Console(Engine);
  EXPECT_EQ("nil", Eval(Engine, "(format t \"%d|%5.1f|%s\" 3 2.25 \"q\")"));
  EXPECT_EQ(Console.Output, "3|  2.3|\"q\"");
  EXPECT_EQ("dtString \"a 1 b 2\"", Eval(Engine, "(str-format \"a %d b %d\" 1 2)"));
  // The format is taken as written: a variable gives its name.
  SetVariable(Engine, "f", Str("%d"));
  EXPECT_EQ("dtString \"f 1\"", Eval(Engine, "(str-format ?f 1)"));
}

TEST(IOFunctions, RuleFormatDirectives) {
  EXPECT_EQ(Formatted("x", {Int(1), Int(2)}), "x 1 2");
  EXPECT_EQ(Formatted("%s", {Str("abc")}), "\"abc\"");
  EXPECT_EQ(Formatted("x", {Str("abc"), Atom("y")}), "x abc y");
  EXPECT_EQ(Formatted("x", {List({Atom("a"), Atom("b")})}), "x (a b )");
  EXPECT_EQ(Formatted("%.2f %d", {Flt(3.14159), Flt(3.14159)}), "3.14 3");
  EXPECT_EQ(Formatted("%5d|%-5d|%x|%u", {Int(42), Int(42), Int(255), Int(-1)}), "   42|42   |FF|4294967295");
  // A line break takes no argument, with or without arguments to place.
  EXPECT_EQ(Formatted("a%nb%d", {Int(1)}), "a\r\nb1");
  EXPECT_EQ(Formatted("a%nb", {}), "a\r\nb");
  // A directive of another type, or none at all, uses its argument and stays,
  // so it takes every later argument too.
  EXPECT_EQ(Formatted("%5n|%d", {Int(1), Int(2)}), "%5n|%d");
  EXPECT_EQ(Formatted("%", {Int(1)}), "%");
  EXPECT_EQ(Formatted("%% ", {Int(1)}), "%% ");
  // "%%d" gives "%d", which the next argument fills; text put in is scanned too.
  EXPECT_EQ(Formatted("%%d", {Int(1), Int(2)}), "2");
  EXPECT_EQ(Formatted("%s", {Atom("%d"), Int(5)}), "5");
  EXPECT_EQ(Formatted("%d %d", {Int(1)}), "1 %d");
  EXPECT_NE(ErrorOf([] { Formatted("%d", {List({})}); }), "no error");
}

TEST(IOFunctions, OpenReadAndClose) {
  TTempFolder Folder;
  const std::string File = Quoted(Folder / "in.txt");
  WriteFile(Folder / "in.txt", "first line\r\n42 rest\r\n\r\nlast\r\n");
  TInferenceEngine Engine;
  EXPECT_EQ(ErrorOfCall(Engine, "(open " + File + " in \"q\")"), "Invalid File Access Specifier: \"q\"");
  EXPECT_EQ(Engine.GetIOStreams()->GetCount(), 0);

  EXPECT_EQ("dtAtom in", Eval(Engine, "(open " + File + " in)"));
  EXPECT_EQ(ErrorOfCall(Engine, "(open " + File + " in \"r\")"), "Duplicates not allowed in this list");
  EXPECT_EQ("dtAtom first", Eval(Engine, "(read in)"));
  EXPECT_EQ("dtInteger 42", Eval(Engine, "(read in)"));
  EXPECT_EQ("dtAtom EOF", Eval(Engine, "(readline in)"));  // an empty line
  EXPECT_EQ("dtString \"last\"", Eval(Engine, "(readline in)"));
  EXPECT_EQ("dtAtom EOF", Eval(Engine, "(readline in)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(close in)"));
  EXPECT_EQ(ErrorOfCall(Engine, "(close in)"), "Invalid stream name: in");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(close)"));
  EXPECT_EQ(ErrorOfCall(Engine, "(open " + Quoted(Folder / "none.txt") + " in)").rfind("Cannot open file", 0), 0u);

  // Without a stream or a handler the console has nothing to give.
  EXPECT_EQ(ErrorOfCall(Engine, "(read)").rfind("The readline event has not been implemented", 0), 0u);
  EXPECT_EQ(ErrorOfCall(Engine, "(readline t)").rfind("The read event has not been implemented", 0), 0u);
}

TEST(IOFunctions, WriteAppendAndCapture) {
  TTempFolder Folder;
  const std::string File = Quoted(Folder / "out.txt");
  TInferenceEngine Engine;
  TConsole Console(Engine);
  Eval(Engine, "(open " + File + " out \"w\")");
  Eval(Engine, "(printout out \"one\")");
  EXPECT_EQ(ErrorOfCall(Engine, "(read out)"), "Invalid class typecast");
  Eval(Engine, "(close out)");
  Eval(Engine, "(open " + File + " out \"a\")");
  Eval(Engine, "(format out \" %s\" two)");
  Eval(Engine, "(close)");
  EXPECT_EQ(ReadFile(Folder / "out.txt"), "one two");

  // While a capture runs the console's text goes to the file instead.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(dribble-on " + Quoted(Folder / "no/such.txt") + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(dribble-on " + Quoted(Folder / "log.txt") + ")"));
  Eval(Engine, "(printout t captured)");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(dribble-off)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(dribble-off)"));
  Eval(Engine, "(printout t heard)");
  EXPECT_EQ(ReadFile(Folder / "log.txt"), "captured");
  EXPECT_EQ(Console.Output, "heard");
}

TEST(IOFunctions, RemoveAndRenameFailSoftly) {
  TTempFolder Folder;
  WriteFile(Folder / "a.txt", "a");
  WriteFile(Folder / "b.txt", "b");
  const std::string A = Quoted(Folder / "a.txt");
  const std::string C = Quoted(Folder / "c.txt");
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(rename " + A + " " + Quoted(Folder / "b.txt") + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(rename " + A + " " + C + ")"));
  EXPECT_EQ(ReadFile(Folder / "c.txt"), "a");
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(rename " + A + " " + C + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(remove " + C + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(remove " + C + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(remove " + Quoted(Folder / "") + ")"));
}

}  // namespace cogent::test
