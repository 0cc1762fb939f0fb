// The command-line host without a process: its input completeness check,
// its line ends, its input handlers and its error reports.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "cli/Shell.h"
#include "cogent/language/KBTokenizer.h"

namespace cogent {
namespace {

TEST(ShellTest, InputIsCompleteWhenEveryParenthesisCloses) {
  EXPECT_TRUE(IsCompleteInput("(+ 1 2)\n"));
  EXPECT_TRUE(IsCompleteInput("symbol\n"));
  EXPECT_TRUE(IsCompleteInput("\n"));
  EXPECT_TRUE(IsCompleteInput("(a) (b (c))\n"));
  EXPECT_FALSE(IsCompleteInput("(deftemplate t\n"));
  EXPECT_FALSE(IsCompleteInput("(a (b)\n"));
  // Parentheses in strings and comments do not count.
  EXPECT_TRUE(IsCompleteInput("(assert (note \"(\"))\n"));
  EXPECT_FALSE(IsCompleteInput("(assert (note \")\"\n"));
  EXPECT_TRUE(IsCompleteInput("(a ; )) (\n)\n"));
  EXPECT_FALSE(IsCompleteInput("(a ; )\n"));
  // An escaped quote does not end a string; a string left open is unfinished.
  EXPECT_TRUE(IsCompleteInput("(a \"x\\\")\")\n"));
  EXPECT_FALSE(IsCompleteInput("(a \"x\\\")\n"));
  EXPECT_FALSE(IsCompleteInput("\"open\n"));
  // One closing parenthesis too many is for the parser to report.
  EXPECT_TRUE(IsCompleteInput(") (\n"));
}

TEST(ShellTest, LineEndsBecomeLineFeeds) {
  std::ostringstream Out;
  {
    TLineEndFilter Filter(Out);
    Filter.Write("a\r\nb");
    Filter.Write("\r");
    Filter.Write("\nc\r");
    Filter.Write("d\r\n\r\n");
    Filter.Write("e\r");
  }
  // A CR that no LF follows stays as it is, also the last one.
  EXPECT_EQ(Out.str(), "a\nb\nc\rd\n\ne\r");
}

class ShellHostTest : public ::testing::Test {
protected:
  std::ostringstream Out;
  std::ostringstream Err;
  std::istringstream In;
  TStreamLineReader Reader{In};
  TShell Shell{Out, Err, Reader};

  void Input(const std::string& Text) { In.str(Text); }
  std::string ReadLine() {
    std::string Line = "untouched";
    Shell.GetEngine().OnReadLine(nullptr, "t", Line);
    return Line;
  }
  std::string ReadToken() {
    IStreamToken Token;
    Shell.GetEngine().OnReadToken(nullptr, "t", Token);
    return Token->IsEOF() ? "<EOF>" : Token->ToString();
  }
};

TEST_F(ShellHostTest, ReadLineGivesLinesThenEmptyAtTheEnd) {
  Input("first line\r\nsecond\n");
  EXPECT_EQ(ReadLine(), "first line");
  EXPECT_EQ(ReadLine(), "second");
  EXPECT_EQ(ReadLine(), "");
  EXPECT_EQ(ReadLine(), "");
}

TEST_F(ShellHostTest, ReadTokenGivesTheFirstTokenOfTheNextLineWithOne) {
  Input("red green blue\n\n   \n42 x\n\"a string\" y\n");
  EXPECT_EQ(ReadToken(), "red");
  // The rest of that line is gone; blank lines hold no token.
  EXPECT_EQ(ReadToken(), "42");
  EXPECT_EQ(ReadToken(), "\\\"a string\"\\");
  EXPECT_EQ(ReadToken(), "<EOF>");
  EXPECT_EQ(ReadToken(), "<EOF>");
}

TEST_F(ShellHostTest, ErrorsNameTheFileAndTheLineWhereTheFailingCallBegins) {
  EXPECT_EQ(Shell.LoadText("(+ 1 2)\n\n(bind ?x\n  (nothing-here))\n(assert (after))", "prog.kb"), srError);
  EXPECT_EQ(Err.str(), "prog.kb:3: Function is unimplemented or unassigned: nothing-here\n");
  EXPECT_EQ(Shell.GetEngine().GetFactCount(), 1);
  // The parser gets its own stream back, also after an error.
  EXPECT_EQ(Shell.GetEngine().GetParser()->GetStream(), nullptr);
  EXPECT_EQ(Shell.LoadText("(assert (fine))\n(exit)\n(assert (never))", "quit.kb"), srExit);
  EXPECT_EQ(Shell.GetEngine().GetFactCount(), 2);
  EXPECT_EQ(Out.str(), "");
}

TEST_F(ShellHostTest, ASessionPrintsValuesKeepsConstructsQuietAndGoesOnAfterErrors) {
  std::istringstream Session("(deftemplate t\n  (slot a))\n(nothing)\n(+ 1\n 2) (assert (t (a 1)))\n(exit)\n(+ 5 5)\n");
  TStreamLineReader SessionReader(Session);
  EXPECT_EQ(Shell.RunSession(SessionReader), srExit);
  EXPECT_EQ(Out.str(), "3\n<Fact-1>\n");
  EXPECT_EQ(Err.str(), "Function is unimplemented or unassigned: nothing\n");
  // After the session the parser echoes as it did before.
  EXPECT_FALSE(Shell.GetEngine().GetParser()->GetEcho());
}

}  // namespace
}  // namespace cogent
