#include "cogent/fuzzy/VXFuzzyLogic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "../TestErrors.h"

using namespace cogent;

namespace {

IFuzzySet MakeSet(std::initializer_list<TFuzzyPoint> Points, TFuzzyVariable* Variable = nullptr,
                  const std::string& Name = {}) {
  IFuzzySet Set(new TFuzzySet(Variable, Name));
  for (const TFuzzyPoint& P : Points) Set->AddPoint(P.X, P.Y);
  return Set;
}

IFuzzySet Triangle(double L, double C, double R, TFuzzyVariable* Variable = nullptr) {
  return MakeSet({{L, 0.0}, {C, 1.0}, {R, 0.0}}, Variable);
}

using test::ErrorOf;

class TRecordingParser : public IFuzzyParser {
public:
  double EvalFuzzyExpression(const IFuzzyVariable&, const std::string&, IFuzzySet&) override { return 0.0; }
  IFuzzySet EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression) override {
    LastExpression = Expression;
    return Variable->FindFuzzySet("cold");
  }
  IFuzzySet ParseFuzzySet(const IFuzzyVariable&, const std::string&) override { return nullptr; }
  IFuzzyVariable ParseFuzzyVariable(const std::string&) override { return nullptr; }
  std::string PrettyPrint(const IFuzzySet& Set, bool AsDefinition) override {
    return (AsDefinition ? "def:" : "name:") + Set->GetName();
  }
  std::string PrettyPrint(const IFuzzyVariable& Variable) override { return "var:" + Variable->GetName(); }
  std::string LastExpression;
};

class TUnregisteredFuzzySet : public TIFuzzySet {
public:
  using TIFuzzySet::TIFuzzySet;
};

class TRegisteredFuzzySet : public TIFuzzySet {
public:
  using TIFuzzySet::TIFuzzySet;
};

}  // namespace

TEST(VXFuzzyLogicTest, MembershipIsPiecewiseLinearWithFlatEnds) {
  const IFuzzySet Tri = Triangle(0, 5, 10), Low = MakeSet({{0, 1}, {10, 0}});
  // Equal xs are all kept, in the order they came: a crisp edge, closed at 5.
  const IFuzzySet Step = MakeSet({{10, 1}, {5, 0}, {5, 1}});
  EXPECT_EQ(Step->GetPoints(), (TFuzzyPoints{{5, 0}, {5, 1}, {10, 1}}));
  const struct {
    IFuzzySet Set;
    double X, Degree;
  } Cases[] = {{Tri, 5, 1},       {Tri, 2.5, 0.5},  {Tri, 8, 0.4}, {Tri, 0, 0},  {Low, -100, 1},
               {Low, 100, 0},     {Step, 4.999, 0}, {Step, 5, 1},  {Step, 7, 1}, {IFuzzySet(new TFuzzySet()), 3, 0}};
  for (const auto& C : Cases) EXPECT_DOUBLE_EQ(C.Set->DegreeOfMembership(C.X), C.Degree) << C.X;
}

TEST(VXFuzzyLogicTest, PointsStaySortedAndBadPointsAreRefused) {
  TFuzzySet Set;
  Set.BeginUpdate();
  Set.AddPoint(10, 0);
  Set.BeginUpdate();
  Set.AddPoint(0, 0);
  Set.EndUpdate();
  Set.AddPoint(5, 1);
  EXPECT_DOUBLE_EQ(Set.GetX(0), 10.0);  // as they came until the last EndUpdate
  Set.EndUpdate();
  EXPECT_EQ(Set.GetPoints(), (TFuzzyPoints{{0, 0}, {5, 1}, {10, 0}}));

  Set.SetPoints({{3, 0}, {1, 1}}, fstTriangle);
  EXPECT_EQ(Set.GetFuzzySetType(), fstTriangle);
  EXPECT_DOUBLE_EQ(Set.GetX(0), 1.0);
  Set.AddPoint(4, 0);
  EXPECT_EQ(Set.GetFuzzySetType(), fstCustom);

  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.AddPoint(std::nan(""), 0); }), SFuzzyInvalidPoint);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.SetPoints({{0, 0}, {1, HUGE_VAL}}, fstS); }), SFuzzyInvalidPoint);
  EXPECT_EQ(Set.GetPointCount(), 3);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.GetY(3); }), "Fuzzy set point index out of bounds (3)");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.GetX(-1); }), "Fuzzy set point index out of bounds (-1)");
}

TEST(VXFuzzyLogicTest, Defuzzification) {
  // Areas 1, 2 and 3 with centres 4/3, 3 and 6: (4/3 + 6 + 18) / 6 = 38/9.
  const IFuzzySet Trapezoid = MakeSet({{0, 0}, {2, 1}, {4, 1}, {10, 0}});
  EXPECT_NEAR(Trapezoid->MomentDefuzzify(), 38.0 / 9.0, 1e-12);
  EXPECT_DOUBLE_EQ(Trapezoid->MaximumDefuzzify(), 3.0);

  // Plateaus weigh by width: [0, 2] and [6, 10] at the top give (2 * 1 + 4 * 8) / 6.
  const IFuzzySet TwoPlateaus = MakeSet({{0, 1}, {2, 1}, {4, 0}, {6, 1}, {10, 1}});
  EXPECT_DOUBLE_EQ(TwoPlateaus->MaximumDefuzzify(), 34.0 / 6.0);
  const IFuzzySet TwoPeaks = MakeSet({{0, 0}, {2, 1}, {4, 0}, {9, 1}, {12, 0}});
  EXPECT_DOUBLE_EQ(TwoPeaks->MaximumDefuzzify(), 5.5);

  // A crisp number has no area: its crisp value is the number itself.
  const IFuzzySet Crisp = Triangle(25, 25, 25);
  EXPECT_DOUBLE_EQ(Crisp->MomentDefuzzify(), 25.0);
  EXPECT_DOUBLE_EQ(Crisp->MaximumDefuzzify(), 25.0);
  const IFuzzySet Spikes = MakeSet({{2, 0.5}, {2, 0}, {8, 0}, {8, 1.5}});
  EXPECT_DOUBLE_EQ(Spikes->MomentDefuzzify(), 6.5);

  EXPECT_DOUBLE_EQ(MakeSet({{1, 0}, {9, 0}})->MomentDefuzzify(), 0.0);
  EXPECT_DOUBLE_EQ(TFuzzySet().MomentDefuzzify(), 0.0);
  EXPECT_DOUBLE_EQ(TFuzzySet().MaximumDefuzzify(), 0.0);
}

TEST(VXFuzzyLogicTest, MinThresholdEquality) {
  const IFuzzyVariable Variable(new TFuzzyVariable("v"));
  const IFuzzySet A = Triangle(0, 5, 10, Variable.get());
  const IFuzzySet Touching = Triangle(10, 15, 20);
  const IFuzzySet Apart = Triangle(20, 25, 30);
  // No point of either set lies inside the overlap: only the crossing at
  // (7.5, 0.5) shows it.
  const IFuzzySet Overlapping = Triangle(5, 10, 15);

  EXPECT_FALSE(A->Equals(Touching));
  EXPECT_FALSE(A->Equals(Apart));
  EXPECT_TRUE(A->Equals(A));
  Variable->SetEqualityThreshold(0.5F);
  EXPECT_FALSE(A->Equals(Overlapping));  // strictly greater than the threshold
  Variable->SetEqualityThreshold(0.49F);
  EXPECT_TRUE(A->Equals(Overlapping));

  // The threshold is the calling set's; without a variable the default.
  Variable->SetEqualityThreshold(0.9F);
  EXPECT_FALSE(A->Equals(Overlapping));
  EXPECT_TRUE(Overlapping->Equals(A));

  // A degree equal to a single-precision threshold is not above it.
  Variable->SetEqualityThreshold(0.01F);
  EXPECT_FALSE(A->ExceedsEqualityThreshold(0.01));
  EXPECT_FALSE(A->Equals(MakeSet({{0, 0.01}, {10, 0.01}})));  // meets A at y = 0.01
  EXPECT_TRUE(A->ExceedsEqualityThreshold(0.0101));

  EXPECT_FALSE(A->Equals(IInterface(Variable)));
  EXPECT_FALSE(A->Equals(IInterface()));
  EXPECT_FALSE(A->Iterate(IFuzzySet(), &TFuzzySet::FuzzyOperatorMinThreshold));
}

TEST(VXFuzzyLogicTest, MaxOfMinRunningMaximum) {
  const IFuzzySet A = Triangle(0, 5, 10);
  const IFuzzySet B = Triangle(5, 10, 15);
  A->SetRunningMaximum(0.0);
  EXPECT_FALSE(A->Iterate(B, &TFuzzySet::FuzzyOperatorMaxOfMin));
  EXPECT_DOUBLE_EQ(A->GetRunningMaximum(), 0.5);
  // The callback only raises it: resetting is the caller's business.
  A->SetRunningMaximum(0.8);
  A->Iterate(B, &TFuzzySet::FuzzyOperatorMaxOfMin);
  EXPECT_DOUBLE_EQ(A->GetRunningMaximum(), 0.8);

  EXPECT_FLOAT_EQ(A->FuzzyEquals(B), 0.5F);  // from a fresh maximum
  EXPECT_FLOAT_EQ(A->FuzzyEquals(A), 1.0F);
  EXPECT_FLOAT_EQ(A->FuzzyEquals(Triangle(10, 15, 20)), 0.0F);
  EXPECT_FLOAT_EQ(A->FuzzyEquals(IInterface(new TFuzzyVariable("v"))), 0.0F);

  // A crisp edge meets the other curve at its jump; an empty set is 0 everywhere.
  const IFuzzySet Step = MakeSet({{2, 0}, {2, 0.7}, {9, 0.7}});
  EXPECT_FLOAT_EQ(Step->FuzzyEquals(MakeSet({{0, 1}, {10, 0}})), 0.7F);
  EXPECT_FLOAT_EQ(A->FuzzyEquals(IFuzzySet(new TFuzzySet())), 0.0F);
}

TEST(VXFuzzyLogicTest, CloneIsIndependent) {
  const IFuzzyVariable Variable(new TFuzzyVariable("temp"));
  const IFuzzySet Term = Variable->NewFuzzySet("warm");
  Term->SetPoints({{10, 0}, {20, 1}, {30, 0}}, fstTriangle);
  Term->SetExpression("warm");
  Variable->AddTerm(Term);

  const IFuzzySet Copy = Term->Clone();
  EXPECT_EQ(Copy->GetVariable(), Variable.get());
  EXPECT_EQ(Copy->GetExpression(), "warm");
  EXPECT_FALSE(Copy->GetIsTerm());  // a copy is no term of the variable
  EXPECT_TRUE(Copy->SameShape(*Term));

  Copy->AddPoint(40, 1);
  EXPECT_EQ(Term->GetFuzzySetType(), fstTriangle);

  // A subclass is cloned as itself once registered, and refused before.
  const IFuzzySet Unregistered(new TUnregisteredFuzzySet(nullptr, "u"));
  EXPECT_EQ(ErrorOf<EVXException>([&] { Unregistered->Clone(); }),
            "Cannot create an instance of fuzzy class TUnregisteredFuzzySet");
  RegisterClass<TRegisteredFuzzySet, TFuzzySet>();
  const IFuzzySet Registered(new TRegisteredFuzzySet(nullptr, "r"));
  EXPECT_NE(dynamic_cast<TRegisteredFuzzySet*>(Registered->Clone().get()), nullptr);
  Variable->SetFuzzySetClass(ClassOf<TRegisteredFuzzySet>());
  EXPECT_NE(dynamic_cast<TRegisteredFuzzySet*>(Variable->NewFuzzySet("n").get()), nullptr);
}

TEST(VXFuzzyLogicTest, VariableGoesFirst) {
  IFuzzySet Term;
  IFuzzySet Loose;
  {
    const IFuzzyVariable Variable(new TFuzzyVariable("temp"));
    Variable->SetEqualityThreshold(0.5F);
    Term = Variable->NewFuzzySet("cold");
    Variable->AddTerm(Term);
    Loose = Variable->NewFuzzySet("loose");
    IFuzzySet Dropped = Variable->NewFuzzySet("dropped");  // leaves the variable's list first
    Variable->AddTerm(Variable->NewFuzzySet("hot"));
    EXPECT_EQ(Term->GetEqualityThreshold(), 0.5F);
  }
  EXPECT_EQ(Term->GetVariable(), nullptr);
  EXPECT_EQ(Loose->GetVariable(), nullptr);
  EXPECT_EQ(Term->GetEqualityThreshold(), DefaultFuzzyEqualsThreshold);

  // A set that moves to another variable leaves the first one's list.
  const IFuzzyVariable First(new TFuzzyVariable("a"));
  {
    const IFuzzyVariable Second(new TFuzzyVariable("b"));
    Term->SetVariable(First);
    Term->SetVariable(Second);
  }
  EXPECT_EQ(Term->GetVariable(), nullptr);
}

TEST(VXFuzzyLogicTest, UniverseAndThreshold) {
  TFuzzyVariable Variable("temp");
  Variable.SetUniverse(-10, 40);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Variable.SetUniverse(10, 5); }),
            "Invalid low and high limits specified: 10.0000 to 5.0000");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Variable.SetUniverseLow(50.5); }),
            "Invalid low and high limits specified: 50.5000 to 40.0000");
  EXPECT_DOUBLE_EQ(Variable.GetUniverseLow(), -10.0);
  EXPECT_DOUBLE_EQ(Variable.GetUniverseHigh(), 40.0);
  Variable.SetEqualityThreshold(2.0F);
  EXPECT_EQ(Variable.GetEqualityThreshold(), 1.0F);
}

TEST(VXFuzzyLogicTest, VariableHoldsItsSets) {
  const IFuzzyVariable Variable(new TFuzzyVariable("temp"));
  const IFuzzySet Cold = MakeSet({{0, 1}, {50, 0}}, nullptr, "cold");
  EXPECT_EQ(Variable->AddTerm(Cold), 0);
  EXPECT_EQ(Variable->AddTerm(MakeSet({{50, 0}, {100, 1}}, nullptr, "hot")), 1);
  EXPECT_EQ(Cold->GetOrderNumber(), 1);

  // Same name: replaced in place, same order number.
  const IFuzzySet NewCold = MakeSet({{0, 1}, {40, 0}}, nullptr, "cold");
  EXPECT_EQ(Variable->AddTerm(NewCold), 0);
  EXPECT_EQ(Variable->GetTermCount(), 2);
  EXPECT_EQ(NewCold->GetOrderNumber(), 1);
  EXPECT_EQ(Variable->FindFuzzySet("cold"), NewCold);
  EXPECT_EQ(Variable->FindFuzzySet("Cold"), nullptr);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Variable->GetTerm(2); }), "Fuzzy variable term index out of bounds (2)");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Variable->AddTerm(nullptr); }), "Cannot add a nil fuzzy set to fuzzy variable temp");

  const IFuzzySet Empty = Variable->GetEmptyFuzzySet();
  EXPECT_EQ(Variable->GetEmptyFuzzySet(), Empty);
  EXPECT_EQ(Variable->GetTermCount(), 3);
  EXPECT_EQ(Variable->GetFuzzySetFromExpression(""), Empty);
  EXPECT_EQ(Variable->GetFuzzySetFromExpression("hot"), Variable->GetTerm(1));
  EXPECT_EQ(Variable->GetFuzzySetFromExpression("warm"), nullptr);

  TRecordingParser Parser;
  Variable->SetParser(&Parser);
  EXPECT_EQ(Variable->GetFuzzySetFromExpression("very cold"), NewCold);
  EXPECT_EQ(Parser.LastExpression, "very cold");
}

// "temp" over 0 to 100 deg C with the terms hot and cold, and its empty set.
IFuzzyVariable Temperature() {
  const IFuzzyVariable Variable(new TFuzzyVariable("temp"));
  Variable->SetUniverse(0, 100);
  Variable->SetUnits("deg C");
  Variable->AddTerm(MakeSet({{50, 0}, {100, 1}, {100, 0}}, Variable.get(), "hot"));
  Variable->AddTerm(MakeSet({{0, 1}, {50, 0}}, Variable.get(), "cold"));
  Variable->GetEmptyFuzzySet();
  return Variable;
}

TEST(VXFuzzyLogicTest, VariableCloneAndEquality) {
  const IFuzzyVariable Variable = Temperature();
  const IFuzzyVariable Copy = Variable->Clone();
  EXPECT_TRUE(Copy->Equals(Variable));
  ASSERT_EQ(Copy->GetTermCount(), 3);
  EXPECT_NE(Copy->GetTerm(0), Variable->GetTerm(0));
  EXPECT_EQ(Copy->GetTerm(0)->GetVariable(), Copy.get());

  Copy->GetTerm(0)->AddPoint(60, 0);
  EXPECT_FALSE(Copy->Equals(Variable));
  EXPECT_EQ(Variable->GetTerm(0)->GetPointCount(), 3);
  EXPECT_FALSE(Variable->Equals(IInterface(Triangle(0, 1, 2))));
}

TEST(VXFuzzyLogicTest, TextForms) {
  const IFuzzyVariable Variable = Temperature();
  const IFuzzySet Hot = Variable->GetTerm(0);
  EXPECT_EQ(Triangle(0, 5, 10)->ToString(), "((0.0000 0.0000) (5.0000 1.0000) (10.0000 0.0000) )");
  EXPECT_EQ(TFuzzySet().ToString(), "()");
  const std::string I = IndentString(1);
  EXPECT_EQ(Variable->ToString(), I + "(range 0.0000 100.0000)\r\n" + I + "(units \"deg C\")\r\n" + I +
                                      "(values \r\n" + IndentString(2) +
                                      "(term hot ((50.0000 0.0000) (100.0000 1.0000) (100.0000 0.0000) ))\r\n" +
                                      IndentString(2) + "(term cold ((0.0000 1.0000) (50.0000 0.0000) ))\r\n" +
                                      I + ")");

  TRecordingParser Parser;
  Variable->SetParser(&Parser);
  Hot->SetParser(&Parser);
  EXPECT_EQ(Variable->ToString(), "var:temp");
  EXPECT_EQ(Hot->ToString(), "name:hot");
  const IFuzzySet Copy = Hot->Clone();
  EXPECT_EQ(Copy->ToString(), "def:hot");
  // Not held by a handle: the parser can't be given one.
  TFuzzySet Local(nullptr, "local");
  Local.SetParser(&Parser);
  EXPECT_EQ(Local.ToString(), "()");
}

TEST(VXFuzzyLogicTest, NameLookUps) {
  TFuzzyCorrelationMethod Correlation = fcmMinimum;
  EXPECT_TRUE(IsFuzzyCorrelation("product", Correlation));
  EXPECT_FALSE(IsFuzzyCorrelation("Minimum", Correlation));  // exact names; a miss leaves the result
  EXPECT_EQ(Correlation, fcmProduct);
  TFuzzyHedge Hedge = fhNot;
  EXPECT_TRUE(IsFuzzyHedge("more-or-less", Hedge));
  EXPECT_EQ(Hedge, fhMoreOrLess);
  EXPECT_FALSE(IsFuzzyHedge("zadeh"));
}
