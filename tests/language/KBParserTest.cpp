#include "cogent/language/KBParser.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/language/KBTokenizer.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using langtest::ErrorOf;

using TTexts = std::vector<std::string>;

// A rule parser whose rule grammar and top-level calls only record that they
// were reached and skip their text. A construct named "broken", or the word "boom"
// inside one, is a grammar error; "plain" raises an error of the value layer
// and "abort" the silent EAbort.
class TRecordingParser : public TKBRuleParser {
public:
  using TKBRuleParser::TKBRuleParser;

  TTexts Calls;

  std::unique_ptr<TRule> ParseRule() override {
    const std::string Name = Skip("ParseRule");
    auto Rule = std::make_unique<TRule>(GetOwner());
    Rule->SetRuleName(Name);
    return Rule;
  }
  // "nothing" gives nil, anything else an atom.
  IKBValue ParseNExecuteFunCall() override {
    const std::string Name = Skip("Execute", false);
    if (Name == "nothing") return FCNil;
    return IKBValue(new TKBValue(Name + "-result", dtAtom));
  }

private:
  // Reads "(keyword name ...)", or "(name ...)" without a keyword, up to its
  // closing parenthesis and gives the name.
  std::string Skip(const std::string& Where, bool HasKeyword = true) {
    TKBRuleStream& Tokens = *GetStream();
    const std::int32_t Level = Tokens.GetParenthesisLevel();
    Tokens.NextToken();
    if (HasKeyword) Tokens.NextToken();
    const IStreamToken NameToken = Tokens.NextToken();
    const std::string Name = NameToken->GetText();
    Calls.push_back(Where + " " + Name);
    if (Name == "broken") ParseError(Where, "%s is broken", Name);
    if (Name == "plain") throw EKBException("plain failure");
    if (Name == "abort") throw EAbort("aborted");
    while (Tokens.GetParenthesisLevel() > Level) {
      const IStreamToken Token = Tokens.NextToken();
      if (Token->IsEOF()) break;
      if (Token->GetText() == "boom") ParseError(Where, "boom");
    }
    return Name;
  }
};

// An engine with a recording parser that logs the echo and each OnParse.
struct TRecordingEngine {
  TInferenceEngine Engine;
  std::string Output;
  TTexts Parsed;

  explicit TRecordingEngine(TErrorHandling ErrorHandling = ehRaiseImmediate) {
    Engine.SetParserType(TKBParserClass::Of<TRecordingParser>());
    Engine.SetParserErrorHandling(ErrorHandling);
    Engine.OnPrintOut = [this](TObject*, const std::string&, const std::string& Text) { Output += Text; };
    Engine.SetOnParse([this](TObject*, TParsedType Kind, TObject*, const IInterface&) {
      Parsed.push_back(EnumName(Kind));
    });
  }
  TRecordingParser& Parser() { return dynamic_cast<TRecordingParser&>(*Engine.GetParser()); }
  bool HasTemplate(const std::string& Name) { return static_cast<bool>(Engine.FindFactTemplate(Name)); }
};

// ---------------------------------------------------------------- the top-level loop

TEST(KBParserTest, ConstructsReachTheirOperationsAndTheEngine) {
  TRecordingEngine R;
  const IModule Main = R.Engine.GetCurrentModule();
  ASSERT_TRUE(R.Engine.Parse(
      "(deftemplate person (slot name))\r\n"
      "(defrule r1 (person) => (foo))\r\n"
      "(deftype colour extends (type SYMBOL))\r\n"
      "(printout t \"hi\")\r\n"
      "atom 42\r\n",
      false));

  EXPECT_EQ(R.Parser().Calls, (TTexts{"ParseRule r1"}));
  EXPECT_EQ(R.Parsed, (TTexts{"ptFactTemplate", "ptRule", "ptDefType", "ptFunCall", "ptValue", "ptValue", "ptEOF"}));
  // A rule echoes its id; without Execute a top-level call is kept as a
  // call value and echoed.
  EXPECT_EQ(R.Output, "person\r\n0\r\ncolour\r\n(printout t \"hi\")\r\natom\r\n42\r\n");
  EXPECT_TRUE(Main->GetRules()->ContainsKey("r1"));
}

TEST(KBParserTest, TopLevelCallsValuesAndTheEnd) {
  TRecordingEngine R;
  // With Execute the call's result is echoed; a nil result echoes nothing
  // and reports ptNone, like a bare nil.
  ASSERT_TRUE(R.Engine.Parse("(foo) (nothing) nil bar", true));
  EXPECT_EQ(R.Parser().Calls, (TTexts{"Execute foo", "Execute nothing"}));
  EXPECT_EQ(R.Parsed, (TTexts{"ptFunCall", "ptNone", "ptNone", "ptValue", "ptEOF"}));
  EXPECT_EQ(R.Output, "foo-result\r\nbar\r\n");

  // A bare string is no construct.
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { R.Engine.Parse("\"abc\"", true); }),
            "Parsing Error, Unexpected symbol, expected a \"(\", constant, or global variable: \\\"abc\"\\ in "
            "GetConstructType at line 1: \\\"abc\"\\ ");
}

TEST(KBParserTest, ConstructTypeIsPeeked) {
  TInferenceEngine Engine;
  EXPECT_EQ(Engine.ParseConstructType("(defrule r)"), ptRule);
  EXPECT_EQ(Engine.ParseConstructType("  "), ptEOF);
  EXPECT_EQ(Engine.ParseConstructType("$?rest"), ptValue);

  // The token stays unread: twice the same answer, then the token itself.
  TKBRuleStream Tokens(new TVXStringStream("(deftype t) word"), nullptr, true);
  TKBParser& Parser = *Engine.GetParser();
  Parser.SetStream(&Tokens);
  EXPECT_EQ(Parser.GetConstructType(), ptDefType);
  EXPECT_EQ(Parser.GetConstructType(), ptDefType);
  EXPECT_EQ(Tokens.NextToken()->GetDataType(), '(');
  Tokens.MoveToNextConstruct();
  EXPECT_EQ(Parser.GetConstructType(), ptValue);
  EXPECT_EQ(Tokens.NextToken()->GetText(), "word");
  Parser.SetStream(nullptr);
}

// ---------------------------------------------------------------- errors

TEST(KBParserTest, ErrorHandlingModes) {
  const std::string Text =
      "(deftemplate a)\n(defrule broken (x) => (y))\n(deftemplate b)\n(defrule broken)\n(deftemplate c)\n";
  const std::string Rule = "Parsing Error, broken is broken in ParseRule at line 2:  ( defrule broken ";
  const std::string Second = "Parsing Error, broken is broken in ParseRule at line 4:  ( defrule broken ";

  // Raising at once stops at the first error; what came before stays and
  // nothing after is read.
  TRecordingEngine Immediate;
  try {
    Immediate.Engine.Parse(Text, true);
    FAIL() << "no error";
  } catch (const EKBParseException& E) {
    EXPECT_EQ(E.what(), Rule);
    EXPECT_EQ(E.GetLineNumber(), 2);
  }
  EXPECT_TRUE(Immediate.HasTemplate("a"));
  EXPECT_FALSE(Immediate.HasTemplate("b"));
  // Errors of other layers pass unframed.
  TRecordingEngine Plain;
  try {
    Plain.Engine.Parse("(defrule plain)", true);
    FAIL() << "no error";
  } catch (const EKBParseException&) {
    FAIL() << "framed";
  } catch (const EKBException& E) {
    EXPECT_STREQ(E.what(), "plain failure");
  }

  TRecordingEngine R(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { R.Engine.Parse(Text, false); }),
            "Errors parsing stream:\r\n" + Rule + "\r\n" + Second + "\r\n");
  // Recovery skips the rest of each broken construct; the good ones stand.
  EXPECT_TRUE(R.HasTemplate("a"));
  EXPECT_TRUE(R.HasTemplate("b"));
  EXPECT_TRUE(R.HasTemplate("c"));

  // With a limit of 0 the first error ends the parse, in its own words.
  TRecordingEngine First(ehRaiseAllAtEnd);
  First.Engine.SetParserMaxErrors(0);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { First.Engine.Parse(Text, false); }), Rule + "\r\n");
  EXPECT_TRUE(First.HasTemplate("a"));
  EXPECT_FALSE(First.HasTemplate("b"));

  // Other errors are framed by the loop; top-level calls run whatever
  // Execute says.
  TRecordingEngine Framed(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { Framed.Engine.Parse("(foo)\n(defrule plain (x))", false); }),
            "Parsing Error, plain failure in Parse at line 2:  ( defrule plain \r\n");
  EXPECT_EQ(Framed.Parser().Calls, (TTexts{"Execute foo", "ParseRule plain"}));

  // The tokenizer's own error comes bare.
  TRecordingEngine Unterminated(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { Unterminated.Engine.Parse("(deftemplate a)\n(foo \"abc", true); }),
            "Invalid string value, string was not terminated\r\n");
  EXPECT_TRUE(Unterminated.HasTemplate("a"));

  // EAbort ends the parse silently.
  TRecordingEngine Aborted(ehRaiseAllAtEnd);
  EXPECT_TRUE(Aborted.Engine.Parse("(deftemplate a) (abort) (deftemplate b)", true));
  EXPECT_TRUE(Aborted.HasTemplate("a"));
  EXPECT_FALSE(Aborted.HasTemplate("b"));
}

TEST(KBParserTest, LongExpressionsAreShortenedInTheMiddle) {
  // The expression's text is " ( defrule r1 <filler> boom " at the error:
  // looking at the head put the "(" back.
  const auto MessageFor = [](std::size_t FillerLength) {
    TRecordingEngine R;
    const std::string Text = "(defrule r1 " + std::string(FillerLength, 'x') + " boom)";
    return ErrorOf<EKBParseException>([&] { R.Engine.Parse(Text, true); });
  };
  const auto TextOf = [](std::size_t FillerLength) {
    return " ( defrule r1 " + std::string(FillerLength, 'x') + " boom ";
  };
  const std::string Frame = "Parsing Error, boom in ParseRule at line 1: ";

  const std::string Short = TextOf(235);
  ASSERT_EQ(Short.size(), 255U);
  EXPECT_EQ(MessageFor(235), Frame + Short);

  const std::string Long = TextOf(236);
  ASSERT_EQ(Long.size(), 256U);
  EXPECT_EQ(MessageFor(236), Frame + Long.substr(0, 128) + "... \r\n" + Long.substr(127, 128));
}

TEST(KBParserTest, RecoverySkipsEachConstructWhole) {
  TInferenceEngine Engine;
  // What can be read is.
  std::string Output;
  Engine.OnPrintOut = [&](TObject*, const std::string&, const std::string& Text) { Output += Text; };
  Engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { Engine.Parse("(defmodule t (export NONE))\n(foo (bar))\nbaz", true); }),
            "Errors parsing stream:\r\n"
            "Parsing Error, Missing module export keyword (?ALL, ?NONE, deftype, or deftemplate): \"NONE\" in ParseModule at line 1:  ( defmodule t ( export NONE \r\n"
            "Parsing Error, Function is unimplemented or unassigned: foo in Parse at line 2:  ( foo ( bar ) ) \r\n");
  EXPECT_EQ(Output, "baz\r\n");
}

// ---------------------------------------------------------------- the engine's side

TEST(KBParserTest, TheParsersStreamIsRestored) {
  TInferenceEngine Engine;
  TKBParser& Parser = *Engine.GetParser();
  // A stream left in the parser is the engine's to free.
  auto* Kept = new TKBRuleStream(new TVXStringStream("kept"), nullptr, true);
  Parser.SetStream(Kept);
  EXPECT_THROW(Engine.Parse("(defrule r)", true), EKBParseException);
  EXPECT_EQ(Parser.GetStream(), Kept);
  EXPECT_THROW(Engine.Parse("x", dtFunCall), EKBParseException);
  EXPECT_EQ(Parser.GetStream(), Kept);
  EXPECT_TRUE(Engine.Parse("x", true));
  EXPECT_EQ(Parser.GetStream(), Kept);
  EXPECT_EQ(Kept->NextToken()->GetText(), "kept");
}

TEST(KBParserTest, ParseTextAsAKindOfValue) {
  TInferenceEngine Engine;
  EXPECT_EQ(Engine.Parse("x", dtMultiVariable)->GetToString(), "$?x");
  EXPECT_EQ(Engine.Parse("anything", dtNone)->GetDType(), dtNone);

  // Quotes go from both ends, as many as there are; inner ones stay.
  EXPECT_EQ(Engine.Parse("\"\"\"a\"b\"\"", dtString)->GetAsString(), "a\"b");

  EXPECT_EQ(Engine.Parse("7", dtFactId)->GetToString(), "<Fact-7>");
  EXPECT_EQ(Engine.Parse("2.5", dtFloat)->GetToString(), "2.5000");
  EXPECT_THROW(Engine.Parse("4x", dtInteger), EConvertError);

  const auto KindError = [&](TKBType Kind) { return ErrorOf<EKBException>([&] { Engine.Parse("1", Kind); }); };
  EXPECT_EQ(KindError(dtSingletons), "Unable to parse strings of dtSingletons at this time");
  EXPECT_EQ(KindError(static_cast<TKBType>(200)), "Unable to parse strings of Unknown Type (200) at this time");

  // Calls, facts and lists are read by the parser; a list that reads as
  // nothing is the shared empty list.
  EXPECT_EQ(Engine.Parse("(foo 1)", dtFunCall)->GetAsFunCall()->GetName(), "foo");
  EXPECT_EQ(Engine.Parse("(pair)", dtFact)->GetAsFact()->GetTemplate()->GetTemplateName(), "pair");
  EXPECT_EQ(Engine.Parse("a b", dtList)->GetAsList()->GetCount(), 2);
  EXPECT_EQ(Engine.Parse("", dtList), FCNilList);
}

TEST(KBParserTest, ParserAndTokenizerClassesCanBeReplaced) {
  TInferenceEngine Engine;
  Engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  Engine.SetOnParseRule([&](TObject*, TRule*) {});
  TKBRuleStream Tokens(new TVXStringStream("(a)"), nullptr, true);
  Engine.GetParser()->SetStream(&Tokens);

  // Another class: a new parser with the engine's switches and stream, and
  // no handlers.
  Engine.SetParserType(TKBParserClass::Of<TRecordingParser>());
  TKBParser* Parser = Engine.GetParser();
  ASSERT_NE(dynamic_cast<TRecordingParser*>(Parser), nullptr);
  EXPECT_EQ(Parser->GetErrorHandling(), ehRaiseAllAtEnd);
  EXPECT_EQ(Parser->GetStream(), &Tokens);
  EXPECT_FALSE(Engine.GetOnParseRule());

  // Another tokenizer class takes the stream away from the parser; its
  // tokenizers still learn the engine.
  class TOtherStream : public TKBRuleStream {
  public:
    using TKBRuleStream::TKBRuleStream;
  };
  Engine.SetTokenizerType(TKBTokenizerClass::Of<TOtherStream>());
  EXPECT_EQ(Parser->GetStream(), nullptr);
  TVXStringStream Text("?");
  const std::unique_ptr<TGTextStream> Tokenizer = Engine.NewTokenizer(&Text, nullptr);
  auto* Other = dynamic_cast<TOtherStream*>(Tokenizer.get());
  ASSERT_NE(Other, nullptr);
  EXPECT_EQ(Other->GetEngine(), &Engine);
}

TEST(KBParserTest, TokenizerOnAFile) {
  TInferenceEngine Engine;
  // One file per process, so that parallel runs don't share it.
  const std::string FileName = testing::TempDir() + "KBParserTest-" + std::to_string(::getpid()) + ".clp";
  {
    TFileStream File(FileName, fmCreate);
    File.WriteBuffer("(deftemplate a)\n?", 17);
  }
  const std::unique_ptr<TGTextStream> Tokenizer = Engine.NewTokenizer(FileName, fmOpenRead);
  auto* Tokens = dynamic_cast<TKBRuleStream*>(Tokenizer.get());
  ASSERT_NE(Tokens, nullptr);
  EXPECT_EQ(Tokens->GetEngine(), &Engine);
  Tokens->MoveToNextConstruct();
  EXPECT_EQ(Tokens->NextToken()->GetText(), "(");
  Tokens->MoveToNextConstruct();
  EXPECT_THROW(Engine.NewTokenizer(FileName + ".missing", fmOpenRead), EFOpenError);
  std::remove(FileName.c_str());
}

// ---------------------------------------------------------------- the parser's services

TEST(KBParserTest, SyntaxStatementsAndGeneratedVariables) {
  TKBRuleParser Parser(nullptr, nullptr);
  const IUserFunction Function = TKBUserFunction::Create<TKBUserFunction>("foo");
  Function->SetArgumentString("   ");
  EXPECT_EQ(Parser.GetSyntaxStatement(Function), "(foo)");
  Function->SetArgumentString("  <expression>* ?x  ");
  EXPECT_EQ(Parser.GetSyntaxStatement(Function), "(foo <expression>* ?x)");

  const IFactTemplate Person(new TFactTemplate(nullptr, "person"));
  TStringList<> Used;
  Used.Add("pname");
  Used.Add("personname1");
  EXPECT_EQ(Parser.GenerateVariable(&Used, Person, "p", "name", false)->GetAsString(), "pname");
  // Numbered names take the template's name.
  EXPECT_EQ(Parser.GenerateVariable(&Used, Person, "p", "name", true)->GetToString(), "?personname2");
}

TEST(KBParserTest, MissingEngineOrStream) {
  TKBRuleParser Alone(nullptr, nullptr);
  EXPECT_EQ(ErrorOf<EKBException>([&] { Alone.ParseExpression(true); }), "Unknown/Undefined Inference Engine");
  EXPECT_FALSE(Alone.LoadFacts());

  TInferenceEngine Engine;
  Engine.GetParser()->SetStream(nullptr);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { Engine.GetParser()->Parse(true); }), "Unexpected end of stream");
}

TEST(KBParserTest, LoadFactsAssertsEachFact) {
  TInferenceEngine Engine;
  TKBParser& Parser = *Engine.GetParser();
  const int Before = Engine.GetFacts()->GetCount();
  TKBRuleStream Tokens(new TVXStringStream("(a 1)\r\n(b)\r\n"), nullptr, true);
  Parser.SetStream(&Tokens);
  EXPECT_TRUE(Parser.LoadFacts());
  Parser.SetStream(nullptr);
  EXPECT_EQ(Engine.GetFacts()->GetCount(), Before + 2);
  EXPECT_EQ(Engine.GetFacts()->Get(Before + 1)->ToString(), "(b)");
}

}  // namespace
}  // namespace cogent
