#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/common/VXTextStream.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPackages.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

std::string Text(const TMemoryStream& Stream) {
  return std::string(reinterpret_cast<const char*>(Stream.Memory()), Stream.Bytes().size());
}

TEST(StreamsTest, PrintOutRouting) {
  TMemoryStream Named;  // outlives the engine, whose stream table writes into it
  TInferenceEngine Engine;
  std::vector<std::string> Log;

  // Nothing is listening: standard output goes nowhere, a named one is an error.
  Engine.PrintOut("", "lost");
  EXPECT_EQ(ErrorOf([&] { Engine.PrintOut("nope", "x"); }), "Function is unimplemented or unassigned: printout");

  Engine.OnPrintOut = [&](TObject*, const std::string& Id, const std::string& Text) { Log.push_back(Id + "|" + Text); };
  Engine.PrintOut("t", "there");
  Engine.PrintOut("nope", "x");  // a handler but no such stream: dropped
  EXPECT_EQ(Log, (std::vector<std::string>{"t|there"}));

  Engine.GetIOStreams()->Add("out", new TGTextStream(&Named));
  auto* Capture = new TMemoryStream();
  EXPECT_TRUE(Engine.StartCapture(Capture, nullptr));
  Engine.PrintOut("", "one ");
  Engine.PrintOut("t", "two");
  Engine.PrintOut("out", "to a stream");  // a named stream keeps its text while a capture runs
  EXPECT_EQ(Text(*Capture), "one two");
  EXPECT_EQ(Text(Named), "to a stream");
  EXPECT_TRUE(Engine.StopCapture());
  EXPECT_TRUE(Engine.StopCapture());
  Engine.PrintOut("back");
  EXPECT_EQ(Log, (std::vector<std::string>{"t|there", "|back"}));
}

TEST(StreamsTest, ReadingFromNamedStreamsAndHandlers) {
  TInferenceEngine Engine;
  EXPECT_EQ(ErrorOf([&] { Engine.ReadLine("t"); }),
            "The read event has not been implemented or unassigned.\r\nAssign a handler that waits until input is "
            "available.");
  EXPECT_EQ(ErrorOf([&] { Engine.ReadToken(""); }),
            "The readline event has not been implemented or unassigned.\r\nAssign a handler that waits until input "
            "is available.");

  // A name without a stream goes to the handler under that name.
  std::vector<std::string> Asked;
  Engine.OnReadLine = [&](TObject*, const std::string& Id, std::string& Line) {
    Asked.push_back(Id);
    Line = "typed";
  };
  EXPECT_EQ(Engine.ReadLine("keyboard"), "typed");
  EXPECT_EQ(Asked, std::vector<std::string>{"keyboard"});

  // One token takes its whole line; a stream at its end reads as an empty line.
  TVXStringStream Source("a b c\r\nsecond line\r\n");
  Engine.GetIOStreams()->Add("in", Engine.NewTokenizer(&Source, nullptr).release());
  EXPECT_EQ(Engine.ReadToken("in")->GetText(), "a");
  EXPECT_EQ(Engine.ReadLine("in"), "second line");
  EXPECT_EQ(Engine.ReadLine("in"), "");
  EXPECT_TRUE(Engine.ReadToken("in")->IsEOF());

  TMemoryStream Plain;
  Engine.GetIOStreams()->Add("plain", new TGTextStream(&Plain));
  EXPECT_EQ(ErrorOf([&] { Engine.ReadToken("plain"); }), "Invalid class typecast");

  // Streams are never shared: the other engine would free them a second time.
  TInferenceEngine Other;
  Other.GetIOStreams()->Assign(Engine.GetIOStreams());
  EXPECT_EQ(Other.GetIOStreams()->GetCount(), 0);
  Engine.GetIOStreams()->Clear();
}

TEST(StreamsTest, BatchFeedsItsOwnLinesToReadersAndNests) {
  TInferenceEngine Engine;
  TConsole Listener(Engine);
  TVXStringStream Inner("(printout t \"inner \" (readline) crlf)\r\nin-line\r\n(nosuch-function)\r\nnever\r\n");
  auto* RunInner = new TUserFunction(&Engine, "run-inner");
  RunInner->OnCall = [&](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) {
    TKBTokenizerStream* Outer = Engine.GetInputStream();
    EXPECT_NE(ErrorOf([&] { Engine.Batch(Inner, nullptr); }), "no error");
    EXPECT_EQ(Engine.GetInputStream(), Outer);
    Result = FCTrue;
  };
  RunInner->SetEngine(&Engine);

  TVXStringStream Outer(
      "(printout t \"got \" (readline) crlf)\r\nhello there\r\n(run-inner)\r\n(printout t \"read \" (read) crlf)\r\n"
      "word rest\r\n");
  EXPECT_TRUE(Engine.Batch(Outer, nullptr));
  // Each line taken as input is echoed before the program prints it; the
  // inner batch stops at its failing line.
  EXPECT_EQ(Listener.Output,
            "hello there\r\ngot hello there\r\nin-line\r\ninner in-line\r\nword\r\nread word\r\n");
  EXPECT_EQ(Engine.GetInputStream(), nullptr);

  TTempFolder Folder;
  EXPECT_NE(ErrorOf([&] { Engine.Batch(Folder / "missing.clp", nullptr); }).find("Cannot open file"),
            std::string::npos);
}

TEST(StreamsTest, CaptureToAFile) {
  TTempFolder Folder;
  TInferenceEngine Engine;
  EXPECT_FALSE(Engine.StartCapture(Folder / "no-such-folder/out.txt", nullptr));

  // Without a handler no watch line is made, not even for the capture; with
  // one, the line goes to the capture and the handler hears nothing.
  Engine.SetWatch(TConstructWatches{cwFact});
  ASSERT_TRUE(Engine.StartCapture(Folder / "out.txt", nullptr));
  Engine.Assert("(a 1)");
  Engine.PrintOut("t", "one");
  TConsole Console(Engine);
  Engine.Assert("(a 2)");
  EXPECT_TRUE(Engine.StopCapture());
  EXPECT_EQ(ReadFile(Folder / "out.txt"), "one ==> f-2 (a 2 )\r\n");
  EXPECT_EQ(Console.Output, "");
}

TEST(StreamsTest, SavingAndLoadingFacts) {
  TTempFolder Folder;
  TInferenceEngine Engine;
  TConsole Listener(Engine);
  Engine.Assert("(a 1)");
  Engine.Assert("(b \"two words\")");
  Engine.Assert("(a 3)");
  Engine.SaveFacts(Folder / "all.txt", nullptr);
  EXPECT_EQ(ReadFile(Folder / "all.txt"), "(Initial-Fact)\r\n(a 1 )\r\n(b \"two words\" )\r\n(a 3 )\r\n");
  Engine.SaveFacts(Folder / "a.txt", "a", nullptr);
  EXPECT_EQ(ReadFile(Folder / "a.txt"), "(a 1 )\r\n(a 3 )\r\n");
  Engine.SaveFacts(Folder / "A.txt", "A", nullptr);
  EXPECT_EQ(ReadFile(Folder / "A.txt"), "");

  // Loading adds to what is there.
  TInferenceEngine Other;
  Other.Assert("(c 0)");
  Other.LoadFacts(Folder / "a.txt", nullptr);
  EXPECT_EQ(Other.GetFactCount(), 4);
  EXPECT_EQ(Other.GetFact(3)->ToString(), "(a 3 )");
  EXPECT_NE(ErrorOf([&] { Other.LoadFacts(Folder / "missing.txt", nullptr); }).find("Cannot open file"),
            std::string::npos);
}

TEST(StreamsTest, LoadingTextRunsItsCallsAndGivesTheParserItsStreamBack) {
  TTempFolder Folder;
  TInferenceEngine Engine;
  TConsole Listener(Engine);
  TGTextStream* const ParserStream = Engine.GetParser()->GetStream();
  WriteFile(Folder / "kb.clp", "(deftemplate point (slot x))\r\n(assert (point (x 1)))\r\n(printout t \"loaded\")\r\n");
  Engine.LoadFromFile(Folder / "kb.clp", nullptr);
  EXPECT_NE(Engine.FindFactTemplate("point"), nullptr);
  EXPECT_EQ(Engine.GetFactCount(), 2);
  EXPECT_EQ(Listener.Output, "loaded");

  // Nothing is cleared, and a failing text leaves what came before it.
  WriteFile(Folder / "bad.clp", "(assert (q 1))\r\n(deftemplate\r\n");
  EXPECT_NE(ErrorOf([&] { Engine.LoadFromFile(Folder / "bad.clp", nullptr); }), "no error");
  EXPECT_EQ(Engine.GetFactCount(), 3);
  EXPECT_EQ(Engine.GetParser()->GetStream(), ParserStream);
}

}  // namespace
}  // namespace cogent
