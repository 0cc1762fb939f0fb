#include <gtest/gtest.h>

#include <string>

#include "FunctionsTestSupport.h"
#include "cogent/functions/KBHelperFunctions.h"

namespace cogent::test {

namespace {

// Four characters of one, two, three and four bytes.
const std::string Mixed = "é日本😀";

std::string Formatted(const std::string& Format, std::initializer_list<IKBValue> Arguments) {
  IValueVector Vector(new TValueVector());
  for (const IKBValue& Argument : Arguments) Vector->Add(Argument);
  return RuleFormat(Format, Vector);
}

}  // namespace

TEST(StringFunctions, JoiningAndMeasuringCountCharacters) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtString \"ab12.5000\"", Eval(Engine, "(str-cat a \"b\" 1 2.5)"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(str-cat)"));
  EXPECT_EQ("dtAtom ab", Eval(Engine, "(sym-cat a b)"));
  EXPECT_EQ("dtAtom ", Eval(Engine, "(sym-cat)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(str-length \"\")"));
  EXPECT_EQ("dtInteger 4", Eval(Engine, "(str-length \"" + Mixed + "\")"));
  EXPECT_EQ("dtInteger 6", Eval(Engine, "(str-length 1.5)"));  // "1.5000"
  SetVariable(Engine, "l", List({Atom("a")}));
  EXPECT_EQ("Not a string type.  Value (a ) is a dtList type", ErrorOfCall(Engine, "(str-cat x ?l)"));
  EXPECT_EQ("Too few arguments for str-length", ErrorOfCall(Engine, "(str-length)"));
  EXPECT_EQ("Too many arguments for str-length", ErrorOfCall(Engine, "(str-length a b)"));
}

TEST(StringFunctions, SearchingAndComparing) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(str-index \"b\" \"abc\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(str-index \"z\" \"abc\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(str-index \"\" \"abc\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(str-index \"a\" \"\")"));
  // Positions count characters, not bytes.
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(str-index \"本\" \"" + Mixed + "\")"));
  EXPECT_EQ("dtInteger 4", Eval(Engine, "(str-index \"😀\" \"" + Mixed + "\")"));

  EXPECT_EQ("dtInteger 0", Eval(Engine, "(str-compare abc \"abc\")"));
  EXPECT_EQ("dtInteger -1", Eval(Engine, "(str-compare \"ab\" \"abc\")"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(str-compare \"a\" \"B\")"));  // case counts
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(str-compare \"é\" \"z\")"));  // by code point
  EXPECT_EQ("dtInteger -1", Eval(Engine, "(str-compare \"\" \"a\")"));
  EXPECT_EQ("Too many arguments for str-compare", ErrorOfCall(Engine, "(str-compare a b c)"));
}

TEST(StringFunctions, SubStringEnds) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtString \"ab\"", Eval(Engine, "(sub-string 1 2 \"abc\")"));
  EXPECT_EQ("dtString \"bc\"", Eval(Engine, "(sub-string 2 9 \"abc\")"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(sub-string 3 2 \"abc\")"));
  EXPECT_EQ("dtString \"c\"", Eval(Engine, "(sub-string 3 3 abc)"));
  EXPECT_EQ("dtString \"日本\"", Eval(Engine, "(sub-string 2 3 \"" + Mixed + "\")"));
  EXPECT_EQ("dtString \"😀\"", Eval(Engine, "(sub-string 4 2147483647 \"" + Mixed + "\")"));
  EXPECT_EQ("Invalid substring parameters: 0, 1", ErrorOfCall(Engine, "(sub-string 0 1 \"abc\")"));
  EXPECT_EQ("Invalid substring parameters: 4, 4", ErrorOfCall(Engine, "(sub-string 4 4 \"abc\")"));
  EXPECT_EQ("Invalid substring parameters: 3, 1", ErrorOfCall(Engine, "(sub-string 3 1 \"abc\")"));
  EXPECT_EQ("Invalid substring parameters: 1, 0", ErrorOfCall(Engine, "(sub-string 1 0 \"\")"));
  EXPECT_EQ("Invalid substring parameters: 2, -2147483648",
            ErrorOfCall(Engine, "(sub-string 2 -2147483648 \"abc\")"));
  EXPECT_EQ("Invalid substring parameters: 5, 9", ErrorOfCall(Engine, "(sub-string 5 9 \"" + Mixed + "\")"));
  // The text is read before the positions.
  EXPECT_EQ("Not a integer type.  Value (x) is a dtAtom type", ErrorOfCall(Engine, "(sub-string x 1 \"abc\")"));
  EXPECT_EQ("Too few arguments for sub-string", ErrorOfCall(Engine, "(sub-string 1 2)"));
}

TEST(StringFunctions, CaseKeepsTheKind) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom ABC", Eval(Engine, "(upcase abc)"));
  EXPECT_EQ("dtString \"ABC\"", Eval(Engine, "(upcase \"abc\")"));
  EXPECT_EQ("dtString \"ÉTÉ 日本\"", Eval(Engine, "(upcase \"été 日本\")"));
  EXPECT_EQ("dtAtom àb", Eval(Engine, "(lowcase ÀB)"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(lowcase \"\")"));
  EXPECT_EQ("Value and type mismatch", ErrorOfCall(Engine, "(upcase 3)"));
  EXPECT_EQ("Value and type mismatch", ErrorOfCall(Engine, "(lowcase 2.5)"));
}

TEST(StringFunctions, InvalidUTF8IsRefused) {
  TInferenceEngine Engine;
  // A stray continuation byte, a sequence cut off at the end, an overlong
  // form and a surrogate.
  for (const std::string Bad : {"a\x80", "\xE6\x97", "\xC0\xAF", "\xED\xA0\x80"}) {
    SetVariable(Engine, "bad", Str(Bad));
    for (const std::string Call : {"(str-length ?bad)", "(str-cat a ?bad)", "(sym-cat ?bad)", "(str-index a ?bad)",
                                   "(str-compare ?bad a)", "(sub-string 1 1 ?bad)", "(upcase ?bad)",
                                   "(lowcase ?bad)"}) {
      const std::string Name = Call.substr(1, Call.find(' ') - 1);
      EXPECT_EQ("Invalid UTF-8 text given to " + Name, ErrorOfCall(Engine, Call)) << Call;
    }
    EXPECT_EQ("Invalid UTF-8 text to format", ErrorOf([&] { Formatted("%s", {Str(Bad)}); }));
    EXPECT_EQ("Invalid UTF-8 text to format", ErrorOf([&] { Formatted(Bad, {}); }));
  }
  // The replacement character itself is text like any other.
  SetVariable(Engine, "ok", Str("\xEF\xBF\xBD"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(str-length ?ok)"));
}

TEST(StringFunctions, FormatDirectivesWithWidthsAndPrecision) {
  // Widths and precisions count characters.
  EXPECT_EQ(Formatted("[%5s][%-5s]", {Atom("日本"), Atom("é")}), "[   日本][é    ]");
  EXPECT_EQ(Formatted("%.2s|%.3s", {Atom("日本語"), Str("日本語")}), "日本|\"日本");
  EXPECT_EQ(Formatted("%8.3f|%-8.1f|%f", {Flt(3.14159), Int(2), Str("1.5")}), "   3.142|2.0     |1.50");
  EXPECT_EQ(Formatted("%e", {Flt(1234.5)}), "1.23450000000000E+003");
  EXPECT_EQ(Formatted("%.3e|%g|%g", {Flt(1234.5), Flt(0.5), Int(100)}), "1.23E+003|0.5|100");
  EXPECT_EQ(Formatted("%m|%.0m", {Flt(1234.5), Int(-3)}), "$1,234.50|-$3");
  EXPECT_EQ(Formatted("%x|%5d|%u", {Int(-1), Flt(-2.9), Int(7)}), "FFFFFFFF|   -2|7");
  EXPECT_EQ(Formatted("%p", {IKBValue(new TKBValue(static_cast<TObject*>(nullptr), false))}), "0000000000000000");
  // Unused arguments follow after a blank, each by its kind.
  EXPECT_EQ(Formatted("n", {Flt(2.5), Str("q"), IKBValue(new TKBValue(3, dtFactId))}), "n 2.5000 q 3");
  // Directives left without an argument stay; a line break stays one.
  EXPECT_EQ(Formatted("%d%n%s", {Int(1)}), "1\r\n%s");
  EXPECT_EQ(Formatted("a%5n", {Int(1)}), "a%5n");
  EXPECT_EQ(Formatted("%D|%d", {Int(1), Int(2)}), "%D|%d");
  // The value is converted first, and its conversion error is the one raised.
  EXPECT_EQ(ErrorOf([] { Formatted("%d", {Atom("x")}); }), "Not a integer type.  Value (x) is a dtAtom type");
  EXPECT_EQ(ErrorOf([] { Formatted("%p", {Int(1)}); }), "Not a External Address type.  Value (1) is a dtInteger type");
}

}  // namespace cogent::test
