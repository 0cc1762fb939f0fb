#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {

TEST(ListFunctions, BuildingKeepsNestedListsWholeAndSharesNothing) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtList ", Eval(Engine, "(create$)"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(length$ (create$))"));
  EXPECT_EQ("nil", Eval(Engine, "(first$ (create$))"));
  EXPECT_EQ("dtList a 1 \"s\" 2.5000 ", Eval(Engine, "(create$ a 1 \"s\" 2.5)"));
  // A list argument is one item, at every step.
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(length$ (create$ a (create$ b c)))"));
  EXPECT_EQ("dtList b c ", Eval(Engine, "(nth$ 1 (create$ a (create$ b c)))"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(member$ (create$ b c) (create$ a (create$ b c)))"));
  SetVariable(Engine, "l", List({Atom("a"), Atom("b")}));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(length$ (create$ $?l))"));
  EXPECT_EQ("dtAtom a", Eval(Engine, "(first$ ?l)"));
  EXPECT_EQ("dtList b ", Eval(Engine, "(rest$ ?l)"));
  EXPECT_EQ("dtList ", Eval(Engine, "(rest$ (create$ a))"));

  // Results are copies: changing one leaves the source alone.
  const IKBValue Source = List({Atom("a"), List({Atom("b")})});
  SetVariable(Engine, "s", Source);
  for (const char* Call : {"(create$ ?s)", "(rest$ ?s)", "(insert$ ?s 0 x)", "(subseq$ ?s 0 1)", "(delete$ ?s 0 0)",
                           "(replace$ ?s 0 0 y)"}) {
    const IKBValue Result = Engine.ParseNExecuteFunCall(Call);
    const IValueVector Items = Result->GetAsList();
    for (int I = 0; I < Items->GetCount(); ++I) Items->Get(I)->SetAsAtom("changed");
    Items->Add(Atom("more"));
    EXPECT_EQ(Source->GetToString(), "a b  ") << Call;
  }
}

TEST(ListFunctions, IndicesCountFromZeroAndTheListGuardsItsEnds) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom a", Eval(Engine, "(nth$ 0 (create$ a b))"));
  EXPECT_EQ("dtAtom b", Eval(Engine, "(nth$ 1 (create$ a b))"));
  EXPECT_EQ("dtAtom b", Eval(Engine, "(nth$ 1.9 (create$ a b))"));
  EXPECT_EQ("List index out of bounds (2)", ErrorOfCall(Engine, "(nth$ 2 (create$ a b))"));
  EXPECT_EQ("List index out of bounds (-1)", ErrorOfCall(Engine, "(nth$ -1 (create$ a b))"));
  EXPECT_EQ("List index out of bounds (0)", ErrorOfCall(Engine, "(rest$ (create$))"));

  EXPECT_EQ("dtList b c ", Eval(Engine, "(subseq$ (create$ a b c) 1 2)"));
  EXPECT_EQ("dtList c ", Eval(Engine, "(subseq$ (create$ a b c) 2 2)"));
  EXPECT_EQ("List index out of bounds (3)", ErrorOfCall(Engine, "(subseq$ (create$ a b c) 2 3)"));
  EXPECT_EQ("List index out of bounds (3)", ErrorOfCall(Engine, "(subseq$ (create$ a b c) 0 2147483647)"));
  EXPECT_EQ("List index out of bounds (-1)", ErrorOfCall(Engine, "(subseq$ (create$ a b c) -1 0)"));

  EXPECT_EQ("dtList b c ", Eval(Engine, "(delete$ (create$ a b c) 0 0)"));
  EXPECT_EQ("dtList a ", Eval(Engine, "(delete$ (create$ a b c) 1 2147483647)"));
  // Indices beyond the list match no item.
  EXPECT_EQ("dtList a b ", Eval(Engine, "(delete$ (create$ a b) 5 9)"));
  EXPECT_EQ("dtList a b ", Eval(Engine, "(delete$ (create$ a b) -9 -1)"));

  // A bad range is found before the list is read.
  for (const char* Function : {"subseq$", "delete$", "replace$"}) {
    EXPECT_EQ("Invalid multifield begin and end parameters: 2, 1",
              ErrorOfCall(Engine, std::string("(") + Function + " (create$ a b c) 2 1)"));
    EXPECT_EQ("Invalid multifield begin and end parameters: 2, 1",
              ErrorOfCall(Engine, std::string("(") + Function + " notalist 2 1)"));
  }
}

TEST(ListFunctions, InsertedValuesLandInReverseOrder) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtList a y x b ", Eval(Engine, "(insert$ (create$ a b) 1 x y)"));
  EXPECT_EQ("dtList a b z ", Eval(Engine, "(insert$ (create$ a b) 2 z)"));
  EXPECT_EQ("dtInteger 2", Eval(Engine, "(length$ (insert$ (create$ a) 0 (create$ c d)))"));
  EXPECT_EQ("List index out of bounds (3)", ErrorOfCall(Engine, "(insert$ (create$ a b) 3 z)"));
  // Nothing to insert: the copy, whatever its kind.
  EXPECT_EQ("dtAtom a", Eval(Engine, "(insert$ a 0)"));
  EXPECT_EQ("Not a list type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(insert$ a 0 x)"));

  EXPECT_EQ("dtList a y x c ", Eval(Engine, "(replace$ (create$ a b c) 1 1 x y)"));
  EXPECT_EQ("dtList z ", Eval(Engine, "(replace$ (create$ a b c) 0 2 z)"));
  EXPECT_EQ("dtList a ", Eval(Engine, "(replace$ (create$ a b c) 1 2)"));
  // The start is checked against the list left over, and only when there is
  // something to put there.
  EXPECT_EQ("dtList a b ", Eval(Engine, "(replace$ (create$ a b) 5 6)"));
  EXPECT_EQ("List index out of bounds (5)", ErrorOfCall(Engine, "(replace$ (create$ a b) 5 6 x)"));
}

TEST(ListFunctions, MembershipAndContiguousRuns) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(member$ b (create$ a b b))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(member$ z (create$ a b))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(member$ a (create$))"));
  // Kind and value both count.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(member$ \"a\" (create$ a))"));
  EXPECT_EQ("dtInteger 0", Eval(Engine, "(member$ 1.0 (create$ 1.00001))"));

  EXPECT_EQ("dtInteger 1", Eval(Engine, "(member b a b)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(member z a b)"));
  // A list argument is compared whole, not looked into.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(member a (create$ a))"));
  EXPECT_EQ("dtInteger 1", Eval(Engine, "(member (create$ a) b (create$ a))"));

  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(subsetp (create$ b c) (create$ a b c))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(subsetp (create$ a c) (create$ a b c))"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(subsetp a (create$ x a))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(subsetp a (create$))"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(subsetp (create$ a b) (create$ a c a b))"));
  // An empty first list, and a run that reaches past the end, are the
  // list's index error.
  EXPECT_EQ("List index out of bounds (0)", ErrorOfCall(Engine, "(subsetp (create$) (create$ a))"));
  EXPECT_EQ("List index out of bounds (2)", ErrorOfCall(Engine, "(subsetp (create$ b c) (create$ a b))"));
}

TEST(ListFunctions, ExplodeSplitsAtBlanksAndImplodeJoins) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtList red green ", Eval(Engine, "(explode$ \"  red   green \")"));
  EXPECT_EQ("dtList ", Eval(Engine, "(explode$ \"   \")"));
  EXPECT_EQ("dtList ", Eval(Engine, "(explode$ \"\")"));
  // Every word is an atom, numbers and quotes too.
  SetVariable(Engine, "w", Engine.ParseNExecuteFunCall("(explode$ \"1 2.5 \\\"q\")"));
  EXPECT_EQ("dtAtom 1", Eval(Engine, "(nth$ 0 ?w)"));
  EXPECT_EQ("dtAtom 2.5", Eval(Engine, "(nth$ 1 ?w)"));
  EXPECT_EQ("dtAtom \"q", Eval(Engine, "(nth$ 2 ?w)"));
  // A tab inside a word stays; behind a blank it goes with the blank.
  SetVariable(Engine, "t", Str("a\tb \tc"));
  EXPECT_EQ("dtList a\tb c ", Eval(Engine, "(explode$ ?t)"));
  // Text beyond ASCII passes whole.
  EXPECT_EQ("dtList grün 日本 ε ", Eval(Engine, "(explode$ \"grün 日本  ε\")"));
  EXPECT_EQ("dtString \"grün 日本 ε\"", Eval(Engine, "(implode$ (explode$ \" grün 日本  ε \"))"));

  EXPECT_EQ("dtString \"a b\"", Eval(Engine, "(implode$ (explode$ \"a b\"))"));
  EXPECT_EQ("dtString \"1 2.5000 s\"", Eval(Engine, "(implode$ (create$ 1 2.5 \"s\"))"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(implode$ (create$))"));
  EXPECT_EQ("Not a string type.  Value (b ) is a dtList type",
            ErrorOfCall(Engine, "(implode$ (create$ a (create$ b)))"));
}

TEST(ListFunctions, WrongKindsAndCountsOfArguments) {
  TInferenceEngine Engine;
  EXPECT_EQ("Not a list type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(length$ a)"));
  EXPECT_EQ("Not a list type.  Value (\"a b\") is a dtString type", ErrorOfCall(Engine, "(first$ \"a b\")"));
  EXPECT_EQ("Not a list type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(rest$ a)"));
  EXPECT_EQ("Not a list type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(member$ a a)"));
  EXPECT_EQ("Not a integer type.  Value (x) is a dtAtom type", ErrorOfCall(Engine, "(nth$ x (create$ a))"));
  EXPECT_EQ("Not a integer type.  Value (x) is a dtAtom type", ErrorOfCall(Engine, "(subseq$ (create$ a) x 1)"));
  EXPECT_EQ("Too few arguments for length$", ErrorOfCall(Engine, "(length$)"));
  EXPECT_EQ("Too many arguments for nth$", ErrorOfCall(Engine, "(nth$ 1 (create$ a) b)"));
  EXPECT_EQ("Too few arguments for insert$", ErrorOfCall(Engine, "(insert$ (create$ a))"));
  EXPECT_EQ("Too few arguments for replace$", ErrorOfCall(Engine, "(replace$ (create$ a) 0)"));
  EXPECT_EQ("Too few arguments for member", ErrorOfCall(Engine, "(member a)"));
  EXPECT_EQ("Too many arguments for explode$", ErrorOfCall(Engine, "(explode$ a b)"));
}

}  // namespace cogent::test
