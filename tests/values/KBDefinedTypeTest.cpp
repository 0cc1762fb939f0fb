#include "cogent/values/KBDefinedType.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../TestSupport.h"
#include "cogent/facts/KBPackages.h"

namespace cogent {
namespace {

using namespace test;

// A reasoner that records renames and prints a type by its name; it also
// offers itself as a fuzzy parser.
class TFakeReasoner final : public IReasoner, public IFuzzyParser {
public:
  std::vector<std::string> Renames;
  bool RefuseRename = false;
  IModule Module;

  std::string PrettyPrint(const IUserFunction&) const override { return {}; }
  std::string PrettyPrint(const TKBDefinedType& Type) const override { return "<" + Type.GetName() + ">"; }
  void RenameDefinedType(TKBDefinedType*, const std::string& OldName, const std::string& NewName) override {
    if (RefuseRename) throw EKBException("taken");
    Renames.push_back(OldName + ">" + NewName);
  }
  void AddUserFunction(const IUserFunction&) override {}
  void RemoveUserFunction(const IUserFunction&) override {}
  bool ContainsUserFunction(const std::string&) const override { return false; }
  bool ContainsUserFunction(const std::string&, IUserFunction&) const override { return false; }
  IUserFunction GetUserFunction(const std::string&) const override { return nullptr; }
  void SetUserFunction(const std::string&, const IUserFunction&) override {}
  IModule GetCurrentModule() const override { return Module; }

  double EvalFuzzyExpression(const IFuzzyVariable&, const std::string&, IFuzzySet&) override { return 0.0; }
  IFuzzySet EvalFuzzyExpression(const IFuzzyVariable&, const std::string&) override { return nullptr; }
  IFuzzySet ParseFuzzySet(const IFuzzyVariable&, const std::string&) override { return nullptr; }
  IFuzzyVariable ParseFuzzyVariable(const std::string&) override { return nullptr; }
  std::string PrettyPrint(const IFuzzySet&, bool) override { return {}; }
  std::string PrettyPrint(const IFuzzyVariable&) override { return {}; }
};

IKBDefinedType Type(const std::string& Name, TKBTypes Types = KBSlotTypes, IReasoner* Reasoner = nullptr) {
  return IKBDefinedType(new TKBDefinedType(Name, Types, Reasoner));
}

IKBValue FuzzyValue(const IFuzzySet& Set) { return IKBValue(new TKBValue(Set)); }

// Which of Values T takes, one '+' or '-' each.
std::string Validity(const IKBDefinedType& T, std::initializer_list<IKBValue> Values) {
  std::string Result;
  for (const IKBValue& Value : Values) Result += T->IsValid(Value) ? '+' : '-';
  return Result;
}

TEST(KBDefinedTypeTest, NamesAreCheckedAndReportedToTheReasoner) {
  EXPECT_EQ(ErrorOf([] { Type("bad(name"); }), "\"bad(name\" contains unexpected character: \"(\"");
  TFakeReasoner Reasoner;
  const IKBDefinedType T = Type("size", KBSlotTypes, &Reasoner);
  EXPECT_TRUE(Reasoner.Renames.empty());
  EXPECT_EQ(ErrorOf([&] { T->SetName("a b;c"); }), "\"a b;c\" contains unexpected character: \" \"");
  T->SetName("width");
  EXPECT_EQ(Reasoner.Renames, std::vector<std::string>{"size>width"});
  // The reasoner refusing the name leaves the old one.
  Reasoner.RefuseRename = true;
  EXPECT_EQ(ErrorOf([&] { T->SetName("height"); }), "taken");
  EXPECT_EQ(T->GetName(), "width");
  // The reasoner prints the type; AssignTo a string list appends that text.
  EXPECT_EQ(T->ToString(), "<width>");
  TStringList<> Lines;
  Lines.Add("first");
  Lines.Assign(T.get());
  EXPECT_EQ(Lines.GetText(), "first\r\n<width>\r\n");
  T->SetReasoner(nullptr);
  EXPECT_EQ(T->ToString(), "width");
}

TEST(KBDefinedTypeTest, BoundsAndCardinalitiesFollowEachOther) {
  const IKBDefinedType T = Type("t", TKBTypes{dtInteger, dtFloat});
  auto Limits = [&] {
    return Format("%g..%g %d..%d", T->GetMinRange(), T->GetMaxRange(), T->GetMinCardinality(), T->GetMaxCardinality());
  };
  T->SetMinRange(5.0);
  T->SetMaxRange(2.0);
  EXPECT_EQ(Limits(), "2..2 0..2147483647");
  T->SetMinRange(9.5);
  EXPECT_EQ(Limits(), "9.5..9.5 0..2147483647");
  T->SetMaxCardinality(-4);
  EXPECT_EQ(Limits(), "9.5..9.5 0..0");
  T->SetMinCardinality(3);
  EXPECT_EQ(Limits(), "9.5..9.5 3..3");
  T->SetMaxCardinality(1);
  EXPECT_EQ(Limits(), "9.5..9.5 1..1");
  T->SetMinCardinality(-2);
  EXPECT_EQ(Limits(), "9.5..9.5 0..1");
}

TEST(KBDefinedTypeTest, AncestorsMayNotLoop) {
  const IKBDefinedType A = Type("a"), B = Type("b"), C = Type("c");
  EXPECT_EQ(ErrorOf([&] { A->SetAncestor(A); }),
            "Type inheritance loop detected, a type cannot be an ancestor of itself");
  B->SetAncestor(A);
  C->SetImplicit(true);
  C->SetAncestor(B);
  EXPECT_FALSE(C->GetImplicit());
  EXPECT_EQ(ErrorOf([&] { A->SetAncestor(C); }),
            "Type inheritance loop detected, a type cannot be an ancestor of itself");
  EXPECT_FALSE(A->GetAncestor());
  C->SetAncestor(nullptr);
  A->SetAncestor(C);
  EXPECT_EQ(A->GetAncestor(), C);
}

TEST(KBDefinedTypeTest, BaseTypesAreReducedAndFuzzyStandsAlone) {
  const IKBDefinedType T = Type("t", TKBTypes{dtInteger});
  EXPECT_EQ(ErrorOf([&] { T->SetBaseTypes(TKBTypes{dtFuzzy, dtAtom}); }),
            "Cannot mix fuzzy type with other primitive types");
  EXPECT_EQ(T->GetBaseTypes(), TKBTypes{dtInteger});
  // The list kinds of a multislot are not the type's.
  T->SetBaseTypes(TKBTypes{dtAtom, dtList, dtMultiSlot});
  EXPECT_EQ(T->GetBaseTypes(), TKBTypes{dtAtom});
  T->SetBaseTypes(TKBTypes{dtFuzzy, dtList, dtMultiSlot});
  EXPECT_EQ(T->GetBaseTypes(), TKBTypes{dtFuzzy});
  EXPECT_TRUE(T->GetFuzzyType());
}

TEST(KBDefinedTypeTest, ConstraintListsExistWhileInForce) {
  const IKBDefinedType T = Type("t");
  EXPECT_EQ(T->GetConstraintAtomsCount(), 0);
  EXPECT_EQ(ErrorOf([&] { T->GetConstraintAtom(0); }), "Defined Type t does not have Atom constraints");
  EXPECT_EQ(ErrorOf([&] { T->DeleteConstraint(0, vcFloat); }), "Defined Type t does not have Float constraints");
  EXPECT_EQ(ErrorOf([&] { T->AddConstraint(Atom("red")); }), "Defined Type t cannot contain Atom constraint types");

  T->SetConstraints(TValueConstraints{vcAtom, vcInteger});
  T->AddConstraint(Atom("Red"));
  T->AddConstraint(Atom("red"));  // the same atom, regardless of case
  T->AddConstraint(Atom("green"));
  T->AddConstraint(Int(4));
  T->AddConstraint(Int(4));
  EXPECT_EQ(T->GetConstraintAtomsCount(), 2);
  EXPECT_EQ(T->GetConstraintAtom(0), "Red");
  EXPECT_EQ(T->GetConstraintIntegersCount(), 1);
  EXPECT_EQ(ErrorOf([&] { T->GetConstraintInteger(1); }), "List index out of bounds (1)");
  EXPECT_EQ(ErrorOf([&] { T->AddConstraint(Str("s")); }), "Defined Type t cannot contain String constraint types");

  T->RemoveConstraint(Atom("RED"));
  T->RemoveConstraint(Var("x"));  // not a constraint kind: ignored
  EXPECT_EQ(T->GetConstraintAtomsCount(), 1);
  EXPECT_EQ(T->GetConstraintAtom(0), "green");

  // A kind that leaves the set takes its list along; one that stays keeps it.
  T->SetConstraints(TValueConstraints{vcAtom});
  EXPECT_EQ(T->GetConstraintIntegersCount(), 0);
  EXPECT_EQ(T->GetConstraintAtom(0), "green");
  EXPECT_EQ(ErrorOf([&] { T->GetConstraintInteger(0); }), "Defined Type t does not have Integer constraints");
  T->SetConstraints(TValueConstraints{vcAtom, vcString, vcFloat});
  T->ClearConstraints(TValueConstraints{vcString, vcInteger});
  EXPECT_EQ(T->GetConstraints(), (TValueConstraints{vcAtom, vcFloat}));
  T->ClearConstraints();
  EXPECT_TRUE(T->GetConstraints().Empty());
}

TEST(KBDefinedTypeTest, NumbersStandInForEachOtherAndTextIgnoresCase) {
  // Only floats in force: an integer is tested against them.
  const IKBDefinedType F = Type("f", TKBTypes{dtInteger, dtFloat});
  F->SetConstraints(TValueConstraints{vcFloat});
  F->AddConstraint(Flt(2.0));
  F->AddConstraint(Flt(2.00001));  // equal within the float tolerance
  F->AddConstraint(Int(5));        // kept as a float
  ASSERT_EQ(F->GetConstraintFloatsCount(), 2);
  EXPECT_EQ(F->GetConstraintFloat(1)->GetDType(), dtFloat);
  TValueConstraint Kind = vcAtom;
  EXPECT_TRUE(F->IsConstraint(Int(2), Kind));
  EXPECT_EQ(Kind, vcFloat);
  EXPECT_EQ(Validity(F, {Int(2), Flt(5.00004), Int(3)}), "++-");

  // Only integers in force: a whole float is tested against them, any other
  // float has no list in force.
  const IKBDefinedType I = Type("i", TKBTypes{dtInteger, dtFloat});
  I->SetConstraints(TValueConstraints{vcInteger});
  I->AddConstraint(Int(2));
  I->AddConstraint(Flt(7.0));
  EXPECT_EQ(I->GetConstraintIntegersCount(), 2);
  EXPECT_EQ(I->GetConstraintInteger(1), 7);
  EXPECT_EQ(Validity(I, {Flt(2.0), Flt(3.0), Flt(2.5), Flt(1e20)}), "+-++");  // no Integer holds 1e20
  EXPECT_EQ(ErrorOf([&] { I->AddConstraint(Flt(2.5)); }), "Defined Type i cannot contain Float constraint types");
  I->RemoveConstraint(Flt(7.0));
  EXPECT_EQ(I->GetConstraintIntegersCount(), 1);

  // Atoms and strings ignore case; each kind has its own list.
  const IKBDefinedType T = Type("colour", TKBTypes{dtAtom, dtString});
  T->SetConstraints(TValueConstraints{vcAtom, vcString});
  T->AddConstraint(Atom("Red"));
  T->AddConstraint(Str("Dark Blue"));
  EXPECT_EQ(Validity(T, {Atom("RED"), Str("dark blue"), Str("red"), Atom("green")}), "++--");
}

TEST(KBDefinedTypeTest, InvalidValuesSayWhy) {
  const IKBDefinedType T = Type("t", TKBTypes{dtInteger});
  T->SetRangeLimited(true);
  T->SetMinRange(1);
  T->SetMaxRange(10);
  EXPECT_EQ(T->GetInvalidValueString(Int(11)), "Value \"11\" is not valid, Range must be between 1.0000 and 10.0000");
  EXPECT_EQ(T->GetInvalidValueString(Atom("abc")),
            "Value \"abc\" is not valid, Not a INTEGER type.  Value (abc) is a dtAtom type");
  // Variables and calls are judged later.
  EXPECT_EQ(Validity(T, {Int(10), Var("x"), IKBValue(new TKBValue(std::string("rest"), dtMultiVariable))}), "+++");

  // The allowed list is checked before the range.
  T->SetConstraints(TValueConstraints{vcInteger});
  T->AddConstraint(Int(3));
  T->AddConstraint(Int(30));
  EXPECT_EQ(T->GetInvalidValueString(Int(4)), "Value \"4\" is not valid, Not in allowed values");
  EXPECT_EQ(T->GetInvalidValueString(Int(30)), "Value \"30\" is not valid, Range must be between 1.0000 and 10.0000");

  // A list: the cardinality first, then the first bad item, whole.
  T->SetCardinalityLimited(true);
  T->SetMaxCardinality(2);
  T->SetMinCardinality(1);
  EXPECT_EQ(Validity(T, {List({Int(3)}), List({})}), "+-");
  EXPECT_EQ(T->GetInvalidValueString(List({Int(3), Int(3), Atom("x")})),
            "Value \"3 3 x \" is not valid, Multislot must have between 1 and 2 elements");
  EXPECT_EQ(T->GetInvalidValueString(List({Int(3), Int(4)})),
            "Value \"3 4 \" is not valid, Value \"4\" is not valid, Not in allowed values");
  T->SetMinCardinality(0);
  EXPECT_TRUE(T->IsValid(List({})));

  const IKBDefinedType Text = Type("text", TKBTypes{dtAtom, dtString});
  EXPECT_EQ(Text->GetInvalidValueString(Flt(2.5)),
            "Value \"2.5000\" is not valid, Not a ATOM, STRING type.  Value (2.5000) is a dtFloat type");
}

TEST(KBDefinedTypeTest, DefaultsFollowTheType) {
  // The first allowed value, else the range's lower bound, else empty; a list
  // repeats it as often as its minimum cardinality asks.
  const struct {
    TKBTypes Types;
    std::vector<IKBValue> Allowed;
    double Min, Max;  // a range in force when they differ
    int MinItems;     // above 0: a list
    std::string Text;
  } Cases[] = {{TKBTypes{dtAtom, dtInteger}, {}, 0, 0, 0, ""},
               {TKBTypes{dtAtom}, {Atom("red"), Atom("blue")}, 0, 0, 0, "red"},
               {TKBTypes{dtInteger}, {}, -1e300, 1e300, 0, "-2147483648"},  // clamped, not undefined
               {TKBTypes{dtFloat}, {}, 0.25, 1.0, 0, "0.2500"},
               {TKBTypes{dtInteger}, {Int(5)}, 3.7, 9.0, 2, "5 5 "}};
  for (const auto& Case : Cases) {
    const IKBDefinedType T = Type("t", Case.Types);
    if (!Case.Allowed.empty()) T->SetConstraints(TValueConstraints{vcAtom, vcInteger});
    for (const IKBValue& Value : Case.Allowed) T->AddConstraint(Value);
    T->SetRangeLimited(Case.Min != Case.Max);
    T->SetMaxRange(Case.Max);
    T->SetMinRange(Case.Min);
    T->SetCardinalityLimited(true);
    T->SetMinCardinality(Case.MinItems);
    EXPECT_EQ(T->CreateValidDefault(Case.MinItems > 0)->GetToString(), Case.Text);
  }

  // An empty list of its own, not the shared constant.
  const IKBDefinedType Count = Type("count", TKBTypes{dtInteger});
  EXPECT_NE(Count->CreateValidDefault(true), FCNilList);
  Count->SetCardinalityLimited(true);
  Count->SetMinCardinality(2000000000);
  EXPECT_EQ(ErrorOf([&] { Count->CreateValidDefault(true); }),
            "A default list of 2000000000 elements is too long, the most is 1048576");
}

IKBDefinedType RichType(IReasoner* Reasoner) {
  const IKBDefinedType T = Type("rich", TKBTypes{dtAtom, dtString, dtInteger, dtFloat}, Reasoner);
  T->SetRangeLimited(true);
  T->SetMaxRange(100.0);
  T->SetMinRange(-1.5);
  T->SetCardinalityLimited(true);
  T->SetMaxCardinality(4);
  T->SetMinCardinality(1);
  T->SetConstraints(TValueConstraints{vcAtom, vcString, vcInteger, vcFloat});
  T->AddConstraint(Atom("a"));
  T->AddConstraint(Str("b"));
  T->AddConstraint(Int(1));
  T->AddConstraint(Flt(1.5));
  return T;
}

TEST(KBDefinedTypeTest, CloneAssignAndEquals) {
  TFakeReasoner Reasoner;
  const IKBDefinedType Base = Type("base", KBSlotTypes, &Reasoner);
  const IKBDefinedType T = RichType(&Reasoner);
  T->SetAncestor(Base);
  T->SetImplicit(true);

  const IKBDefinedType Copy = T->Clone();
  EXPECT_NE(Copy, T);
  EXPECT_TRUE(Copy->Equals(IInterface(T)));
  EXPECT_NE(Copy->GetConstraintFloat(0), T->GetConstraintFloat(0));  // the list is copied

  // Comment, units and implicitness are not compared; limits and lists are.
  Copy->SetComment("other");
  Copy->SetUnits("mm");
  Copy->SetImplicit(false);
  EXPECT_TRUE(Copy->Equals(IInterface(T)));
  Copy->SetMaxRange(100.00001);
  EXPECT_TRUE(Copy->Equals(IInterface(T)));
  Copy->SetMaxCardinality(5);
  EXPECT_FALSE(Copy->Equals(IInterface(T)));
  Copy->SetMaxCardinality(4);
  Copy->AddConstraint(Atom("z"));
  EXPECT_FALSE(Copy->Equals(IInterface(T)));
  Copy->RemoveConstraint(Atom("z"));
  EXPECT_TRUE(Copy->Equals(IInterface(T)));

  // A type of another reasoner does not take the ancestor.
  const IKBDefinedType Stranger = Type("stranger");
  Stranger->Assign(IInterface(T));
  EXPECT_FALSE(Stranger->GetAncestor());
  EXPECT_TRUE(Stranger->Equals(IInterface(T)));
  // Anything else is refused.
  EXPECT_EQ(ErrorOf([&] { Stranger->Assign(IInterface(Int(1))); }), "Cannot assign a TKBValue to a TKBDefinedType");
  // Assigning would close a loop through the ancestor: refused, nothing changed.
  const IKBDefinedType Child = Type("child", KBSlotTypes, &Reasoner);
  Child->SetAncestor(Base);
  EXPECT_EQ(ErrorOf([&] { Base->Assign(IInterface(Child)); }),
            "Type inheritance loop detected, base type cannot be an ancestor of itself");
  EXPECT_EQ(Base->GetName(), "base");
}

TEST(KBDefinedTypeTest, UpdatesGatherChanges) {
  const IKBDefinedType T = Type("t");
  int Changes = 0;
  T->SetOnChange([&](TObject* Sender) {
    EXPECT_EQ(Sender, T.get());
    ++Changes;
  });
  T->SetComment("c");
  EXPECT_EQ(Changes, 1);
  T->SetComment("c");  // the present value: nothing happens
  T->SetMaxCardinality(2147483647);
  EXPECT_EQ(Changes, 1);
  T->BeginUpdate();
  T->BeginUpdate();
  T->SetUnits("kg");
  T->SetRangeLimited(true);
  T->EndUpdate();
  EXPECT_EQ(Changes, 1);
  T->EndUpdate();
  EXPECT_EQ(Changes, 2);
  // Assign is one change.
  T->Assign(IInterface(RichType(nullptr)));
  EXPECT_EQ(Changes, 3);
  // A failed setter neither changes nor tells.
  EXPECT_EQ(ErrorOf([&] { T->SetName("a b"); }), "\"a b\" contains unexpected character: \" \"");
  EXPECT_EQ(Changes, 3);
}

TEST(KBDefinedTypeTest, FuzzyTypeHoldsItsVariable) {
  TFakeReasoner Reasoner;
  const IKBDefinedType T = Type("temp", TKBTypes{dtFloat}, &Reasoner);
  T->SetRangeLimited(true);
  T->SetMaxRange(100.0);
  T->SetMinRange(0.0);
  T->SetBaseTypes(TKBTypes{dtFuzzy});
  const IFuzzyVariable Variable = T->GetFuzzyType();
  ASSERT_TRUE(Variable);
  EXPECT_EQ(Variable->GetParser(), static_cast<IFuzzyParser*>(&Reasoner));
  // A bound the variable refuses leaves the type alone.
  EXPECT_EQ(ErrorOf([&] { T->SetMaxRange(-5.0); }), "Invalid low and high limits specified: -5.0000 to -5.0000");
  EXPECT_DOUBLE_EQ(T->GetMaxRange(), 100.0);

  // Its own sets, and what can still become one, are valid.
  const IFuzzySet Hot = Variable->NewFuzzySet("hot");
  Variable->AddTerm(Hot);
  EXPECT_EQ(Validity(T, {FuzzyValue(Hot), Atom("hot"), Str("hot"), Int(3), Flt(3.5), Var("x")}), "++++++");
  const IFuzzyVariable Stranger(new TKBFuzzyVariable("other"));
  const IFuzzySet Cold = Stranger->NewFuzzySet("cold");
  EXPECT_EQ(T->GetInvalidValueString(FuzzyValue(Cold)), "Value \"" + FuzzyValue(Cold)->GetToString() +
                                                            "\" is not valid, invalid fuzzy value");

  // The default is the variable's empty set.
  const IKBValue Default = T->CreateValidDefault(false);
  ASSERT_EQ(Default->GetDType(), dtFuzzy);
  EXPECT_EQ(Default->GetAsFuzzy(), Variable->FindFuzzySet(SEmptyFuzzy));
  EXPECT_TRUE(T->IsValid(Default));

  // Clones hold equal variables of their own.
  const IKBDefinedType Copy = T->Clone();
  EXPECT_NE(Copy->GetFuzzyType(), Variable);
  EXPECT_TRUE(Copy->Equals(IInterface(T)));

  // A plain type lets its variable go.
  T->SetBaseTypes(TKBTypes{dtInteger});
  EXPECT_FALSE(T->GetFuzzyType());
  EXPECT_EQ(Variable->GetParser(), nullptr);
  // Made fuzzy, a type has its variable at once; without one it defaults to nil.
  const IKBDefinedType Made = Type("made", TKBTypes{dtFuzzy});
  EXPECT_TRUE(Made->GetFuzzyType());
  Made->SetFuzzyType(nullptr);
  EXPECT_EQ(Made->GetBaseTypes(), TKBTypes{dtFuzzy});
  EXPECT_EQ(Made->CreateValidDefault(false), FCNil);
}

TEST(KBDefinedTypeTest, AllowedClausesText) {
  EXPECT_EQ(GetAllowedString(*Type("t")), "");
  // Each kind prints in its own order, whatever order the values came in;
  // short of all four, numbers come before lexemes.
  const struct {
    TValueConstraints Kinds;
    std::vector<IKBValue> Values;
    std::string Text;
  } Cases[] = {
      {{vcAtom}, {Atom("red"), Atom("green")}, "   (allowed-symbols red green )\r\n"},
      {{vcString}, {Str("say \"hi\"")}, "   (allowed-strings \"say \\\"hi\\\"\" )\r\n"},
      {{vcAtom, vcString}, {Str("s"), Atom("x")}, "   (allowed-lexemes x \"s\" )\r\n"},
      {{vcInteger}, {Int(-3), Int(12)}, "   (allowed-integers -3 12 ) \r\n"},
      {{vcInteger, vcFloat}, {Flt(0.5), Int(2), Flt(2.5)}, "   (allowed-numbers 2 0.5000 2.5000 ) \r\n"},
      {{vcAtom, vcInteger}, {Atom("a"), Int(2)}, "   (allowed-integers 2 ) \r\n   (allowed-symbols a )\r\n"},
      {{vcAtom, vcString, vcInteger, vcFloat},
       {Flt(1.0), Int(2), Str("s"), Atom("a")},
       "   (allowed-values a \"s\" 2 1.0000 )\r\n"}};
  for (const auto& Case : Cases) {
    const IKBDefinedType T = Type("t");
    T->SetConstraints(Case.Kinds);
    for (const IKBValue& Value : Case.Values) T->AddConstraint(Value);
    EXPECT_EQ(GetAllowedString(*T), Case.Text);
  }
}

}  // namespace
}  // namespace cogent
