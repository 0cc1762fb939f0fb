#include "cogent/language/KBTokenizer.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBContext.h"
#include "cogent/language/KBParser.h"
#include "LanguageTestSupport.h"

namespace cogent {
namespace {

using langtest::ErrorOf;

using TTexts = std::vector<std::string>;

std::unique_ptr<TKBRuleStream> Open(const std::string& Text) {
  return std::make_unique<TKBRuleStream>(new TVXStringStream(Text), nullptr, true);
}

std::unique_ptr<TKBRuleStream> OpenBytes(const TBytes& Bytes, TEncoding* Encoding) {
  auto* Memory = new TMemoryStream();
  Memory->WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
  Memory->SetPosition(0);
  return std::make_unique<TKBRuleStream>(Memory, Encoding, true);
}

// A compact form of a token: its kind, its text or number, and its line.
std::string Describe(const IStreamToken& T, bool WithLine = true) {
  static const std::map<std::int32_t, std::string> Kinds = {
      {dtAtom, "a:"}, {dtString, "s:"}, {dtInteger, "i:"}, {dtFloat, "f:"}, {dtVariable, "v:"}, {dtMultiVariable, "m:"}};
  const std::int32_t Kind = T->GetDataType();
  const std::string Line = WithLine ? "@" + IntToStr(T->GetLineNumber()) : "";
  if (Kind == dtNone) return "EOF" + Line;
  const auto Known = Kinds.find(Kind);
  const std::string Body = Kind == dtInteger || Kind == dtFloat ? FloatToStr(T->GetNumber()) : T->GetText();
  return (Known != Kinds.end() ? Known->second : "p" + IntToStr(Kind) + ":") + Body + Line;
}

// Every token up to and including the end token.
TTexts Tokens(TKBRuleStream& S) {
  TTexts Result;
  for (;;) {
    const IStreamToken T = S.NextToken();
    Result.push_back(Describe(T));
    if (T->IsEOF()) return Result;
  }
}

TTexts Tokens(const std::string& Text) { return Tokens(*Open(Text)); }

// The tokens before the end, without their lines, in one text.
std::string Kinds(TKBRuleStream& S) {
  std::string Result;
  for (IStreamToken T = S.NextToken(); !T->IsEOF(); T = S.NextToken())
    Result += (Result.empty() ? "" : " ") + Describe(T, false);
  return Result;
}

const std::string Unicode = "(gr\xC3\xB6\xC3\x9F" "e \"\xC3\xBC\xE2\x82\xAC\xF0\x9D\x84\x9E\" ?\xC3\xA4)";
const std::string UnicodeTokens =
    "p40:( a:gr\xC3\xB6\xC3\x9F" "e s:\xC3\xBC\xE2\x82\xAC\xF0\x9D\x84\x9E v:\xC3\xA4 p41:)";

IStreamToken First(const std::string& Text) { return Open(Text)->NextToken(); }

class TExposedRuleStream : public TKBRuleStream {
public:
  using TKBRuleStream::FinishToken;
  using TKBRuleStream::TKBRuleStream;
};

TEST(KBTokenizerTest, TokenKindsAndValues) {
  const std::vector<std::pair<std::string, std::string>> Cases = {
      {"(a \"x\\\"y\" 12 -3.5 ?v $?w)", "p40:( a:a s:x\"y i:12 f:-3.5 v:v m:w p41:)"},
      // Punctuation stands alone, whatever follows.
      {"&=[]|~", "p38:& p61:= p91:[ p93:] p124:| p126:~"},
      // "<" ends a word but opens one; "=" and "::" stay inside words.
      {"=> a<b <= x=y m::n", "p61:= a:> a:a a:<b a:<= a:x=y a:m::n"},
      // A backslash takes the next character into the word; at the very end
      // it just ends the word.
      {"a\\ b c\\(d abc\\", "a:a b a:c(d a:abc"},
      {"-5 +3.2 1.5E-2 3. -.5 007", "i:-5 f:3.2 f:0.015 f:3 f:-0.5 i:7"},
      {"1e - 5- 1e+", "a:1e a:- a:5- a:1e+"},
      // Beyond 32 bits a whole number reads as a float.
      {"2147483647 2147483648", "i:2147483647 f:2147483648"},
      {"\"a\\\\b\\n\\\"\"", "s:a\\bn\""},
      // Comment and blank characters inside a string are plain text; a
      // comment ends a word that runs into it.
      {"\"a ; (b) \t\" abc;def\nx", "s:a ; (b) \t a:abc a:x"},
      // Without an engine the stream numbers wildcards itself.
      {"(? $? ?)", "p40:( v:_blank_1 m:_blank_$2 v:_blank_3 p41:)"},
      // "(größe "ü€𝄞" ?ä)"
      {Unicode, UnicodeTokens},
  };
  for (const auto& [Text, Expected] : Cases) EXPECT_EQ(Kinds(*Open(Text)), Expected) << Text;
  // The encoding given reaches the characters underneath.
  EXPECT_EQ(Kinds(*OpenBytes(TEncoding::Unicode()->GetBytes(Unicode), TEncoding::Unicode())), UnicodeTokens);
}

TEST(KBTokenizerTest, LineNumbers) {
  // CR, LF and CR LF each end one line; a word that ends on a line end
  // stands on its own line.
  EXPECT_EQ(Tokens("a\nb\r\nc\rd\n\n(e\r\n f)\r\n"),
            (TTexts{"a:a@1", "a:b@2", "a:c@3", "a:d@4", "p40:(@6", "a:e@6", "a:f@7", "p41:)@7", "EOF@8"}));
  // A string holds its line ends as written and counts each once; it stands
  // on the line of its closing quote.
  const auto S = Open("x\r\n\"p\r\nq\rr\ns\" y");
  EXPECT_EQ(Describe(S->NextToken()), "a:x@1");
  const IStreamToken Str = S->NextToken();
  EXPECT_EQ(Str->GetText(), "p\r\nq\rr\ns");
  EXPECT_EQ(Str->GetLineNumber(), 5);
  EXPECT_EQ(Describe(S->NextToken()), "a:y@5");
}

TEST(KBTokenizerTest, TokenErrors) {
  // An unterminated string raises when its expression is first touched.
  const std::string Expected = "Invalid string value, string was not terminated";
  for (const std::string Text : {"\"abc", "\"abc\\", "(a \"b c)", "\"abc\\\""}) {
    const auto S = Open(Text);
    EXPECT_EQ(ErrorOf<EKBParseException>([&] { S->NextToken(); }), Expected) << Text;
    // The string ran to the end of the text, so nothing but the end follows.
    EXPECT_TRUE(S->NextToken()->IsEOF());
  }
  // Expressions before it are handed out; the error comes with the first
  // token of its own expression, before "(" is handed out.
  const auto S = Open("(ok) (a \"b");
  for (int I = 0; I < 3; ++I) S->NextToken();
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { S->NextToken(); }), Expected);
  EXPECT_EQ(S->GetParenthesisLevel(), 0);

  // The error names the line where the string opens, not the end of the text.
  const auto Open3 = Open("(ok)\n(a \"b\nc\n\nd");
  Open3->NextToken();
  Open3->NextToken();
  Open3->NextToken();
  try {
    Open3->NextToken();
    ADD_FAILURE() << "an open string was accepted";
  } catch (const EKBParseException& E) {
    EXPECT_EQ(E.GetLineNumber(), 2);
  }

  TExposedRuleStream Hinted(new TVXStringStream(""), nullptr, true);
  EXPECT_EQ(ErrorOf<EKBParseException>([&] { Hinted.FinishToken(';', ";"); }),
            "Invalid Token hint for parsing token: 59");
}

TEST(KBTokenizerTest, CommentsAndWhiteSpaceTravelWithTheNextToken) {
  const auto S = Open("; head\r\n  (a ; tail\n b)");
  const IStreamToken Paren = S->NextToken();
  EXPECT_EQ(Paren->GetWhitespace(), "; head\r\n  ");
  EXPECT_EQ(Paren->GetLineNumber(), 2);
  // The blank that ends a word is the word's own.
  EXPECT_EQ(S->NextToken()->GetWhitespace(), " ");
  const IStreamToken B = S->NextToken();
  EXPECT_EQ(Describe(B), "a:b@3");
  EXPECT_EQ(B->GetWhitespace(), "; tail\r\n ");
  EXPECT_EQ(S->NextToken()->GetWhitespace(), "");
}

TEST(KBTokenizerTest, WildcardsGetFreshNames) {
  auto* Engine = new TInferenceEngine();
  const std::string Before = Engine->GenerateSymbol("s");
  const auto S = Open("?");
  S->SetEngine(Engine);
  // The engine's own counter goes on.
  const std::string A = S->NextToken()->GetText();
  EXPECT_EQ(A, SBlankPrefix + IntToStr(StrToInt(Before.substr(1)) + 1));
  delete Engine;
  EXPECT_EQ(S->GetEngine(), nullptr);
  EXPECT_EQ(S->NextToken()->GetDataType(), dtNone);
}

TEST(KBTokenizerTest, TokenValuesBindingsAndEquality) {
  EXPECT_TRUE(SameObject(First("TRUE")->Value(), FCTrue));
  EXPECT_TRUE(SameObject(First("nil")->Value(), FCNil));
  EXPECT_TRUE(SameObject(First("")->Value(), FCEOF));
  // Punctuation has no value of its own: its code as a string.
  const IKBValue Paren = First("(")->Value();
  EXPECT_EQ(Paren->GetDType(), dtString);
  EXPECT_EQ(Paren->GetAsString(), "40");

  // Numbers are truncated into the integer kinds, saturating.
  IStreamToken T(new TKBStreamToken(dtFactId, 1, "", 7.9));
  EXPECT_EQ(T->Value()->GetAsFactId(), 7);
  T->SetDataType(dtInteger);
  T->SetNumber(1e300);
  EXPECT_EQ(T->Value()->GetAsInteger(), 2147483647);

  TKBContext Context(nullptr, nullptr);
  const IKBValue Bound(new TKBValue(3, dtInteger));
  Context.AddLocalBinding("x", Bound);
  Context.AddLocalBinding("all", Bound);
  // The binding's own value, not a copy.
  EXPECT_TRUE(SameObject(First("?x")->Value(&Context), Bound));
  EXPECT_TRUE(SameObject(First("$?all")->Value(&Context), Bound));

  EXPECT_EQ(ErrorOf<EKBException>([&] { First("?y")->Value(&Context); }), "Unknown variable name: y");
  // What a lost encoding leaves of a name: question marks only.
  IStreamToken Marks(new TKBStreamToken(dtVariable, 1, "??"));
  EXPECT_EQ(ErrorOf<EKBException>([&] { Marks->Value(&Context); }),
            "Invalid variable name, ??.  Possible encoding error");

  IStreamToken A(new TKBStreamToken(dtAtom, 3, "a"));
  // Kind, line and number decide; the text does not.
  EXPECT_TRUE(A->Equals(IInterface(new TKBStreamToken(dtAtom, 3, "b"))));
  EXPECT_FALSE(A->Equals(IInterface(new TKBStreamToken(dtAtom, 4, "a"))));
  EXPECT_FALSE(A->Equals(IInterface(new TKBValue(std::string("a"), dtAtom))));
  EXPECT_EQ(ErrorOf<EConvertError>([&] { A->Assign(IInterface(new TKBValue(1.0))); }),
            "Cannot assign a TKBValue to a TKBStreamToken");
}

TEST(KBTokenizerTest, PutBackRewindsTokensLevelAndText) {
  const auto S = Open("(a (b) c)");
  const IStreamToken Open1 = S->NextToken();
  const IStreamToken A = S->NextToken();
  const IStreamToken Open2 = S->NextToken();
  const IStreamToken B = S->NextToken();
  EXPECT_EQ(S->ToString(), "( a ( b ");
  EXPECT_EQ(S->GetParenthesisLevel(), 2);
  S->PutBackToken(B);
  S->PutBackToken(Open2);
  S->PutBackToken(A);
  EXPECT_EQ(S->ToString(), "( ");
  EXPECT_EQ(S->GetParenthesisLevel(), 1);
  EXPECT_TRUE(SameObject(S->GetCurrentToken(), A));
  // The last one put back comes first, and the very same tokens come again.
  EXPECT_TRUE(SameObject(S->NextToken(), A));
  EXPECT_EQ(Tokens(*S), (TTexts{"p40:(@1", "a:b@1", "p41:)@1", "a:c@1", "p41:)@1", "EOF@1"}));
  EXPECT_EQ(S->GetParenthesisLevel(), 0);

  // Rewinding over a line break drops it with the token.
  const auto U = Open("(a\r\n\"s\")");
  for (int I = 0; I < 3; ++I) U->NextToken();
  EXPECT_EQ(U->ToString(), "( a \r\n\\\"s\"\\ ");
  U->PutBackToken(U->GetCurrentToken());
  EXPECT_EQ(U->ToString(), "( a ");
}

TEST(KBTokenizerTest, CurrentExpressionTextAndHead) {
  const auto S = Open("(defrule r\r\n  (a ?x)\r\n  =>\r\n  (b \"s\" 1.5))\r\nnext");
  EXPECT_EQ(S->GetCurrentToken()->GetDataType(), '(');  // fetched on first ask
  while (S->GetParenthesisLevel() > 0) S->NextToken();
  EXPECT_EQ(S->ToString(), "( defrule r \r\n( a ?x ) \r\n= > \r\n( b \\\"s\"\\ 1.5000 ) ) ");
  // A new expression starts a new text, on a new line.
  EXPECT_EQ(Describe(S->NextToken()), "a:next@5");
  EXPECT_EQ(S->ToString(), "\r\nnext ");

  const std::vector<std::pair<std::string, std::string>> Heads = {
      {"(deftemplate t)", "deftemplate"}, {"(?v 1)", "v"}, {"(= 1 2)", "="}, {"(\"s\")", ""}, {"(1)", ""}};
  for (const auto& [Text, Head] : Heads) {
    const auto H = Open(Text);
    EXPECT_EQ(H->Head(), Head) << Text;
    // Nothing was consumed.
    EXPECT_EQ(H->NextToken()->GetDataType(), '(') << Text;
    EXPECT_EQ(H->GetParenthesisLevel(), 1) << Text;
  }
}

TEST(KBTokenizerTest, MoveToNextConstructSkipsTheBrokenExpression) {
  const auto S = Open("(a (b c) d)\r\n(e) f");
  for (int I = 0; I < 4; ++I) S->NextToken();  // ( a ( b
  EXPECT_EQ(S->GetParenthesisLevel(), 2);
  S->MoveToNextConstruct();
  EXPECT_EQ(S->GetParenthesisLevel(), 0);
  EXPECT_EQ(Describe(S->NextToken()), "p40:(@2");
  EXPECT_EQ(S->ToString(), "\r\n( ");
  S->NextToken();
  S->NextToken();
  // At level 0 it does nothing.
  S->MoveToNextConstruct();
  EXPECT_EQ(Describe(S->NextToken()), "a:f@2");
  // An expression that never closes ends at the end token.
  const auto T = Open("(a (b");
  T->NextToken();
  T->MoveToNextConstruct();
  EXPECT_TRUE(T->NextToken()->IsEOF());
}

TEST(KBTokenizerTest, ClearDiscardAndEnd) {
  // Clear drops what was read ahead.
  const auto S = Open("(a b) (c)");
  S->NextToken();
  S->Clear();
  EXPECT_EQ(S->ToString(), "");
  EXPECT_EQ(Describe(S->NextToken()), "p40:(@1");
  EXPECT_EQ(Describe(S->NextToken()), "a:c@1");

  // DiscardUntilEOL drops the rest of the line, which joins the next
  // token's white space; a word that ended the line leaves the next alone.
  for (const std::string Eol : {"\r\n", "\n", "\r"}) {
    const auto D = Open("a b c" + Eol + "d" + Eol + "e");
    EXPECT_EQ(D->NextToken()->GetText(), "a");
    D->DiscardUntilEOL();
    const IStreamToken Next = D->NextToken();
    EXPECT_EQ(Next->GetText(), "d");
    EXPECT_EQ(Next->GetWhitespace().rfind("b c\r\n", 0), 0u);
    D->DiscardUntilEOL();
    EXPECT_EQ(D->NextToken()->GetText(), "e");
  }

}

TEST(KBTokenizerTest, DeeplyNestedExpressionsAreReadWhole) {
  constexpr int Depth = 20000;
  auto Stream = Open(std::string(Depth, '(') + "a" + std::string(Depth, ')') + " b");
  for (int I = 0; I < Depth; ++I) ASSERT_EQ(Stream->NextToken()->GetDataType(), '(');
  EXPECT_EQ(Stream->NextToken()->GetText(), "a");
  for (int I = 0; I < Depth; ++I) ASSERT_EQ(Stream->NextToken()->GetDataType(), ')');
  EXPECT_EQ(Stream->GetParenthesisLevel(), 0);
  EXPECT_EQ(Stream->NextToken()->GetText(), "b");
}

}  // namespace
}  // namespace cogent
