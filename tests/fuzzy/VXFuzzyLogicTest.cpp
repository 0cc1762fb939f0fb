#include "cogent/fuzzy/VXFuzzyLogic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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
  const IFuzzySet Step = MakeSet({{5, 0}, {5, 1}, {10, 1}});
  const struct {
    IFuzzySet Set;
    double X, Degree;
  } Cases[] = {{Tri, 5, 1},       {Tri, 2.5, 0.5},  {Tri, 8, 0.4}, {Tri, 0, 0},  {Low, -100, 1},
               {Low, 100, 0},     {Step, 4.999, 0}, {Step, 5, 1},  {Step, 7, 1}, {IFuzzySet(new TFuzzySet()), 3, 0}};
  for (const auto& C : Cases) EXPECT_DOUBLE_EQ(C.Set->DegreeOfMembership(C.X), C.Degree) << C.X;
}

TEST(VXFuzzyLogicTest, BadPointsAreRefused) {
  TFuzzySet Set;
  Set.SetPoints({{1, 1}, {3, 0}}, fstTriangle);
  EXPECT_EQ(Set.GetFuzzySetType(), fstTriangle);
  Set.AddPoint(4, 0);
  EXPECT_EQ(Set.GetFuzzySetType(), fstCustom);

  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.AddPoint(std::nan(""), 0); }), SFuzzyInvalidPoint);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.AddPoint(3.5, 0); }),
            "Invalid fuzzy set point (3.5000 0.0000): points must come in order of x, and it follows x 4.0000");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.AddPoint(5, 1.5); }),
            "Invalid fuzzy set point (5.0000 1.5000): the membership must lie between 0 and 1");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.AddPoint(5, -0.1); }),
            "Invalid fuzzy set point (5.0000 -0.1000): the membership must lie between 0 and 1");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.SetPoints({{0, 0}, {1, HUGE_VAL}}, fstS); }), SFuzzyInvalidPoint);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.SetPoints({{3, 0}, {1, 1}}, fstS); }),
            "Invalid fuzzy set point (1.0000 1.0000): points must come in order of x, and it follows x 3.0000");
  EXPECT_EQ(Set.GetPoints(), (TFuzzyPoints{{1, 1}, {3, 0}, {4, 0}}));
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
  const IFuzzySet Spikes = MakeSet({{2, 0.5}, {2, 0}, {8, 0}, {8, 1}});
  EXPECT_DOUBLE_EQ(Spikes->MomentDefuzzify(), 6.0);

  // The greatest membership in two places apart leaves the maximum undecided.
  EXPECT_TRUE(TwoPeaks->IsUndecidable());
  EXPECT_TRUE(TwoPlateaus->IsUndecidable());
  EXPECT_FALSE(Trapezoid->IsUndecidable());
  EXPECT_FALSE(MakeSet({{0, 1}, {10, 0}})->IsUndecidable());
  EXPECT_DOUBLE_EQ(Spikes->GetCompatibilityIndex(), 1.0);
  EXPECT_DOUBLE_EQ(MakeSet({{0, 0}, {5, 0.6}, {10, 0}})->GetCompatibilityIndex(), 0.6);

  // Nothing above 0: no crisp value, and undecidable.
  for (const IFuzzySet& Empty : {MakeSet({{1, 0}, {9, 0}}), IFuzzySet(new TFuzzySet())}) {
    EXPECT_EQ(ErrorOf<EVXException>([&] { Empty->MomentDefuzzify(); }), SFuzzyEmptyDefuzzify);
    EXPECT_EQ(ErrorOf<EVXException>([&] { Empty->MaximumDefuzzify(); }), SFuzzyEmptyDefuzzify);
    EXPECT_TRUE(Empty->IsUndecidable());
    EXPECT_DOUBLE_EQ(Empty->GetCompatibilityIndex(), 0.0);
  }
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

  // Sets held that are no terms, like the empty set made on demand, and the
  // threshold do not count.
  const IFuzzyVariable Bare(new TFuzzyVariable("temp"));
  Bare->SetUniverse(0, 100);
  Bare->SetUnits("deg C");
  Bare->AddTerm(Variable->GetTerm(0)->Clone());
  Bare->AddTerm(Variable->GetTerm(1)->Clone());
  Bare->SetEqualityThreshold(0.3F);
  EXPECT_TRUE(Bare->Equals(Variable));

  Copy->GetTerm(0)->AddPoint(100, 0);
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

namespace {

// Memberships of Set at each x, as text to compare at once.
std::vector<double> DegreesAt(const IFuzzySet& Set, std::initializer_list<double> Xs) {
  std::vector<double> Result;
  for (const double X : Xs) Result.push_back(std::round(Set->DegreeOfMembership(X) * 1e6) / 1e6);
  return Result;
}

using Degrees = std::vector<double>;

IFuzzySet Shaped(const std::function<void(TFuzzySet&)>& Build) {
  IFuzzySet Set(new TFuzzySet());
  Build(*Set);
  return Set;
}

}  // namespace

TEST(VXFuzzyLogicTest, CurvesAndTheirFigures) {
  const IFuzzySet Tri = Shaped([](TFuzzySet& S) { S.TriangleCurve(0, 5, 10); });
  EXPECT_EQ(Tri->GetPoints(), (TFuzzyPoints{{0, 0}, {5, 1}, {10, 0}}));
  EXPECT_EQ(Tri->GetFuzzySetType(), fstTriangle);

  const IFuzzySet S = Shaped([](TFuzzySet& Set) { Set.SCurve(7, 0, 10, 5, true); });
  EXPECT_EQ(S->GetPointCount(), 15);
  EXPECT_EQ(S->GetFuzzySetType(), fstS);
  EXPECT_EQ(DegreesAt(S, {-3, 0, 5, 10, 12}), (Degrees{0, 0, 0.5, 1, 1}));
  // A parabola on each side of the mid-point: 0.5 (k/7)^2 at its points.
  EXPECT_NEAR(S->DegreeOfMembership(10.0 / 7.0), 0.5 * 4.0 / 49.0, 1e-12);
  const IFuzzySet Z = Shaped([](TFuzzySet& Set) { Set.SCurve(7, 0, 10, 5, false); });
  EXPECT_EQ(DegreesAt(Z, {0, 5, 10}), (Degrees{1, 0.5, 0}));
  EXPECT_EQ(Z->GetFuzzySetType(), fstZ);

  // The maximum of a pi or beta set is its centre.
  const IFuzzySet Pi = Shaped([](TFuzzySet& Set) { Set.BellCurve(7, 2, 5); });
  EXPECT_EQ(DegreesAt(Pi, {3, 4, 5, 6, 7}), (Degrees{0, 0.5, 1, 0.5, 0}));
  EXPECT_EQ(Pi->GetPointCount(), 29);
  EXPECT_DOUBLE_EQ(Pi->MaximumDefuzzify(), 5.0);
  const IFuzzySet Pi3 = Shaped([](TFuzzySet& Set) { Set.BellCurve(7, 3, 9, 5); });
  EXPECT_EQ(DegreesAt(Pi3, {3, 4, 5, 7, 9}), (Degrees{0, 0.5, 1, 0.5, 0}));
  EXPECT_DOUBLE_EQ(Pi3->MaximumDefuzzify(), 5.0);
  EXPECT_DOUBLE_EQ(Pi3->GetX(0), 3.0);
  EXPECT_DOUBLE_EQ(Pi3->GetX(Pi3->GetPointCount() - 1), 9.0);

  // 1 / (1 + w ((x - c) / i)^2), stopping at the ends of the range.
  const IFuzzySet Beta = Shaped([](TFuzzySet& Set) { Set.BetaCurve(4, 4, 5, 2); });
  EXPECT_EQ(DegreesAt(Beta, {0.5, 1, 3, 5, 7, 9, 9.5}), (Degrees{0, 0.2, 0.5, 1, 0.5, 0.2, 0}));
  EXPECT_EQ(Beta->GetPointCount(), 11);
  EXPECT_DOUBLE_EQ(Beta->GetBetaInflection(), 2.0);
  EXPECT_DOUBLE_EQ(Beta->MaximumDefuzzify(), 5.0);
  const IFuzzySet Weighted = Shaped([](TFuzzySet& Set) { Set.BetaCurve(4, 4, 5, 2, 3); });
  EXPECT_DOUBLE_EQ(Weighted->DegreeOfMembership(3), 0.25);
  // The weight can be read back from the second point, the first on the curve.
  const double X1 = Weighted->GetX(1), Y1 = Weighted->GetY(1);
  EXPECT_NEAR((1 / Y1 - 1) / std::pow((X1 - 5) / 2, 2), 3.0, 1e-12);
  EXPECT_DOUBLE_EQ(Weighted->GetBetaWeight(), 3.0);
  EXPECT_DOUBLE_EQ(Tri->GetBetaInflection(), 0.0);

  // A number as a set: its only peak stands at it.
  const IFuzzySet Number = Shaped([](TFuzzySet& Set) { Set.TriangleCurve(25, 25, 25); });
  EXPECT_EQ(DegreesAt(Number, {24.99, 25, 25.01}), (Degrees{0, 1, 0}));
  EXPECT_DOUBLE_EQ(Number->MaximumDefuzzify(), 25.0);
  EXPECT_DOUBLE_EQ(Number->GetCrispValue(), 25.0);

  // Zero widths give vertical edges, never a division by zero.
  const IFuzzySet Crisp = Shaped([](TFuzzySet& Set) { Set.BellCurve(7, 0, 25); });
  EXPECT_EQ(Crisp->GetPoints(), (TFuzzyPoints{{25, 0}, {25, 1}, {25, 0}}));
  EXPECT_EQ(Shaped([](TFuzzySet& Set) { Set.SCurve(7, 4, 4, 4, true); })->GetPoints(),
            (TFuzzyPoints{{4, 0}, {4, 1}}));
  EXPECT_EQ(Shaped([](TFuzzySet& Set) { Set.BetaCurve(7, 0, 3, 1); })->GetPoints(),
            (TFuzzyPoints{{3, 0}, {3, 1}, {3, 0}}));

  TFuzzySet Set;
  Set.TriangleCurve(0, 1, 2);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.TriangleCurve(5, 0, 10); }),
            "Invalid triangle curve: its points must come in order of x");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.SCurve(7, 10, 0, 5, false); }),
            "Invalid z curve: its points must come in order of x");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BellCurve(0, 2, 5); }),
            "Invalid pi curve: steps must be between 1 and 1000, not 0");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BellCurve(7, -2, 5); }), "Invalid pi curve: its range must not be negative");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BetaCurve(7, 4, 5, 0); }),
            "Invalid beta curve: its inflection must lie above 0");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BetaCurve(7, 4, 5, 2, -1); }),
            "Invalid beta curve: its weight must not be negative");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BetaCurve(7, 4, HUGE_VAL, 2); }),
            "Invalid beta curve: numbers must be finite");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set.BellCurve(7, 1e308, 1e308); }), "Invalid pi curve: numbers must be finite");
  EXPECT_EQ(Set.GetPoints(), (TFuzzyPoints{{0, 0}, {1, 1}, {2, 0}}));
}

TEST(VXFuzzyLogicTest, HedgesChangeEveryMembership) {
  const auto Hedged = [](TFuzzyHedge H, const IFuzzySet& Source = Triangle(0, 5, 10)) {
    IFuzzySet Set = Source->Clone();
    Set->Hedge(H);
    return Set;
  };
  // Curved hedges draw the sloped pieces with extra points, so that the
  // figures hold between the original points too.
  EXPECT_EQ(DegreesAt(Hedged(fhNot), {-1, 2.5, 5, 11}), (Degrees{1, 0.5, 0, 1}));
  EXPECT_EQ(DegreesAt(Hedged(fhVery), {1.25, 2.5, 5}), (Degrees{0.0625, 0.25, 1}));
  EXPECT_EQ(DegreesAt(Hedged(fhMoreOrLess), {1.25, 2.5}), (Degrees{0.5, 0.707107}));
  EXPECT_EQ(DegreesAt(Hedged(fhIntensify), {1.25, 2.5, 3.75}), (Degrees{0.125, 0.5, 0.875}));
  // slightly: min(y, 1 - y^2) scaled to 1, whose peak lies where y = 0.618.
  const IFuzzySet Slightly = Hedged(fhSlightly);
  EXPECT_EQ(DegreesAt(Slightly, {0, 2.5, 5}), (Degrees{0, 0.809017, 0}));
  EXPECT_DOUBLE_EQ(Slightly->GetCompatibilityIndex(), 1.0);
  EXPECT_EQ(DegreesAt(Hedged(fhNorm, MakeSet({{0, 0}, {5, 0.5}, {10, 0}})), {2.5, 5}), (Degrees{0.5, 1}));

  // Degenerate sets: nothing to scale, a constant from nothing.
  EXPECT_EQ(Hedged(fhNorm, MakeSet({{0, 0}, {10, 0}}))->GetPoints(), (TFuzzyPoints{{0, 0}, {10, 0}}));
  EXPECT_EQ(Hedged(fhSlightly, MakeSet({{0, 0}, {10, 0}}))->GetCompatibilityIndex(), 0.0);
  EXPECT_EQ(Hedged(fhVery, IFuzzySet(new TFuzzySet()))->GetPointCount(), 0);
  EXPECT_EQ(DegreesAt(Hedged(fhNot, IFuzzySet(new TFuzzySet())), {-50, 50}), (Degrees{1, 1}));
  EXPECT_EQ(DegreesAt(Hedged(fhVery, MakeSet({{3, 0.5}})), {0, 3, 9}), (Degrees{0.25, 0.25, 0.25}));
  // A crisp edge keeps its jump.
  EXPECT_EQ(Hedged(fhNot, MakeSet({{5, 0}, {5, 1}, {10, 1}}))->GetPoints(), (TFuzzyPoints{{5, 1}, {5, 0}, {10, 0}}));

  IFuzzySet Set = Triangle(0, 5, 10);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set->Hedge(static_cast<TFuzzyHedge>(42)); }), "Invalid fuzzy hedge (42)");
}

TEST(VXFuzzyLogicTest, ScalarSteps) {
  const auto Stepped = [](TBaseFuzzyHedge H, double N, bool Clip) {
    IFuzzySet Set = Triangle(0, 5, 10);
    Set->Hedge(H, N, Clip);
    return Set;
  };
  // Capped at 0.6: a trapezoid, with corners where the triangle crosses 0.6.
  const IFuzzySet Capped = Stepped(bhMinimum, 0.6, true);
  EXPECT_EQ(Capped->GetPoints(), (TFuzzyPoints{{0, 0}, {3, 0.6}, {7, 0.6}, {10, 0}}));
  EXPECT_DOUBLE_EQ(Capped->MaximumDefuzzify(), 5.0);
  EXPECT_EQ(DegreesAt(Stepped(bhProduct, 0.5, true), {2.5, 5}), (Degrees{0.25, 0.5}));
  EXPECT_EQ(DegreesAt(Stepped(bhMaximum, 0.2, true), {-5, 0.5, 5}), (Degrees{0.2, 0.2, 1}));
  EXPECT_EQ(DegreesAt(Stepped(bhSubtract, 0.5, true), {2.5, 4, 5}), (Degrees{0, 0.3, 0.5}));
  // Above 1: cut, or the whole curve scaled down by its peak.
  const IFuzzySet Cut = Stepped(bhAdd, 0.5, true);
  EXPECT_EQ(DegreesAt(Cut, {0, 2.5, 5, 7.5}), (Degrees{0.5, 1, 1, 1}));
  EXPECT_DOUBLE_EQ(Cut->MaximumDefuzzify(), 5.0);
  EXPECT_EQ(DegreesAt(Stepped(bhAdd, 0.5, false), {0, 2.5, 5}), (Degrees{0.333333, 0.666667, 1}));
  EXPECT_EQ(DegreesAt(Stepped(bhDivide, 0.5, true), {1.25, 2.5, 5}), (Degrees{0.5, 1, 1}));
  EXPECT_EQ(DegreesAt(Stepped(bhDivide, 0.5, false), {2.5, 5}), (Degrees{0.5, 1}));

  IFuzzySet Set = Triangle(0, 5, 10);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set->Hedge(bhDivide, 0, true); }), "Invalid number for fuzzy hedge /: 0");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set->Hedge(bhPower, -1, true); }), "Invalid number for fuzzy hedge ^: -1");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set->Hedge(bhRoot, std::nan(""), true); }),
            "Invalid number for fuzzy hedge root: NAN");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Set->Hedge(static_cast<TBaseFuzzyHedge>(8), 1, true); }),
            "Invalid fuzzy hedge (8)");
  EXPECT_EQ(Set->GetPoints(), Triangle(0, 5, 10)->GetPoints());

  // An empty set becomes a constant where the step lifts 0.
  IFuzzySet Empty(new TFuzzySet());
  Empty->Hedge(bhAdd, 0.3, true);
  EXPECT_EQ(DegreesAt(Empty, {-7, 7}), (Degrees{0.3, 0.3}));
}

TEST(VXFuzzyLogicTest, UnionAndIntersectionUnderEachOperation) {
  const IFuzzySet A = Triangle(0, 5, 10), B = Triangle(5, 10, 15);
  A->SetName("a");
  B->SetName("b");
  // At 6 a is 0.8 and b 0.2; at 2 a is 0.4 and b 0.
  const struct {
    TFuzzyOperation Operation;
    Degrees Union, Intersection;
  } Cases[] = {
      {foZadeh, {0.8, 0.4}, {0.2, 0}},
      {foMean, {0.5, 0.2}, {0.5, 0.2}},
      {foMeanSqr, {0.34, 0.08}, {0.34, 0.08}},
      {foMeanSqrt, {0.67082, 0.316228}, {0.67082, 0.316228}},
      {foProduct, {0.84, 0.4}, {0.16, 0}},
      {foBoundedSum, {1, 0.4}, {0, 0}},
      {foSum, {1, 0.4}, {0, 0}},
  };
  for (const auto& C : Cases) {
    EXPECT_EQ(DegreesAt(A->Union(B, C.Operation), {6, 2}), C.Union) << FuzzyOperationNames[C.Operation];
    EXPECT_EQ(DegreesAt(A->Intersection(B, C.Operation), {6, 2}), C.Intersection) << FuzzyOperationNames[C.Operation];
  }
  // Zadeh is exact at the crossing of the two curves; A and B stay as they were.
  EXPECT_EQ(A->Union(B)->GetPoints(), (TFuzzyPoints{{0, 0}, {5, 1}, {7.5, 0.5}, {10, 1}, {15, 0}}));
  EXPECT_DOUBLE_EQ(A->Intersection(B)->MaximumDefuzzify(), 7.5);
  EXPECT_EQ(A->GetPoints(), Triangle(0, 5, 10)->GetPoints());
  // A sum above 1 is scaled down by its peak.
  EXPECT_EQ(DegreesAt(A->Union(Triangle(2.5, 5, 7.5), foSum), {2.5, 5}), (Degrees{0.25, 1}));
  // Bounded sums bend exactly where a + b reaches 1.
  EXPECT_EQ(DegreesAt(A->Union(Triangle(2, 7, 12), foBoundedSum), {3, 3.5, 4}), (Degrees{0.8, 1, 1}));

  const IFuzzySet Union = A->Union(B, foProduct);
  EXPECT_EQ(Union->GetName(), "a or-product b");
  EXPECT_EQ(A->Intersection(B)->GetName(), "a and b");
  EXPECT_EQ(Union->GetFuzzySetType(), fstCustom);
  EXPECT_FALSE(Union->GetIsTerm());
  // A crisp edge keeps its jump; an empty set is 0 everywhere.
  const IFuzzySet Step = MakeSet({{5, 0}, {5, 1}, {10, 1}});
  EXPECT_EQ(Step->Intersection(A)->GetPoints(), (TFuzzyPoints{{0, 0}, {5, 0}, {5, 1}, {10, 0}}));
  EXPECT_EQ(Step->Union(A)->GetPoints(), (TFuzzyPoints{{0, 0}, {5, 1}, {10, 1}}));
  EXPECT_EQ(IFuzzySet(new TFuzzySet())->Union(A)->GetPoints(), A->GetPoints());
  EXPECT_EQ(A->Intersection(IFuzzySet(new TFuzzySet()))->GetCompatibilityIndex(), 0.0);

  // Sets of two variables of different names don't mix; the result takes the
  // variable of either.
  const IFuzzyVariable Temp = Temperature(), Speed(new TFuzzyVariable("speed"));
  const IFuzzySet Fast = MakeSet({{0, 0}, {1, 1}}, Speed.get(), "fast");
  EXPECT_EQ(ErrorOf<EVXException>([&] { Temp->GetTerm(0)->Union(Fast); }),
            "Fuzzy variables are different, hot is a term from temp and fast is a term from speed");
  EXPECT_EQ(A->Union(Temp->GetTerm(0))->GetVariable(), Temp.get());
  EXPECT_EQ(ErrorOf<EVXException>([&] { A->Intersection(nullptr); }), "Missing fuzzy set to combine with a");
  EXPECT_EQ(ErrorOf<EVXException>([&] { A->Union(B, static_cast<TFuzzyOperation>(7)); }),
            "Invalid fuzzy operation (7)");
}

TEST(VXFuzzyLogicTest, WordsAndNamesAreLookedUpExactly) {
  bool IsUnion = false;
  TFuzzyOperation Operation = foMean;
  EXPECT_TRUE(IsFuzzyKeyword("or", IsUnion, Operation));
  EXPECT_TRUE(IsUnion);
  EXPECT_EQ(Operation, foZadeh);
  EXPECT_TRUE(IsFuzzyKeyword("and-mean-sqrt", IsUnion, Operation));
  EXPECT_FALSE(IsUnion);
  EXPECT_EQ(Operation, foMeanSqrt);
  for (const char* Text : {"and-", "or-bogus", "orx", "AND", "", "-or"})
    EXPECT_FALSE(IsFuzzyKeyword(Text, IsUnion, Operation)) << Text;
  EXPECT_EQ(Operation, foMeanSqrt);

  TBaseFuzzyHedge BaseHedge = bhAdd;
  bool Clip = false;
  EXPECT_TRUE(IsFuzzyHedgeOperator("at-most", BaseHedge, Clip));
  EXPECT_EQ(BaseHedge, bhMinimum);
  EXPECT_TRUE(Clip);
  EXPECT_TRUE(IsFuzzyHedgeOperator("scaled/", BaseHedge, Clip));
  EXPECT_EQ(BaseHedge, bhDivide);
  EXPECT_FALSE(Clip);
  EXPECT_FALSE(IsFuzzyHedgeOperator("very"));
  EXPECT_FALSE(IsFuzzyHedge("at-most"));

  TFuzzyCorrelationMethod Correlation = fcmMinimum;
  EXPECT_TRUE(IsFuzzyCorrelation("product", Correlation));
  EXPECT_FALSE(IsFuzzyCorrelation("Minimum", Correlation));  // exact names; a miss leaves the result
  EXPECT_EQ(Correlation, fcmProduct);
  TFuzzyHedge Hedge = fhNot;
  EXPECT_TRUE(IsFuzzyHedge("more-or-less", Hedge));
  EXPECT_EQ(Hedge, fhMoreOrLess);
  EXPECT_FALSE(IsFuzzyHedge("zadeh"));
}

TEST(VXFuzzyLogicTest, CorrelationAndInferenceForTheEngine) {
  EXPECT_EQ(FuzzyCorrelationBaseHedge(fcmMinimum), 7);
  EXPECT_EQ(FuzzyCorrelationBaseHedge(fcmProduct), 2);
  const TFuzzyOperation Expected[] = {foZadeh, foSum, foMean, foProduct, foBoundedSum};
  for (int Method = 0; Method < 5; ++Method)
    EXPECT_EQ(FuzzyInferenceOperation(static_cast<TFuzzyInferenceMethod>(Method)), Expected[Method]);
  EXPECT_EQ(FuzzyInferenceOperation(static_cast<TFuzzyInferenceMethod>(9)), foZadeh);

  // The term shared by the variable keeps its shape.
  const IFuzzyVariable Temp = Temperature();
  const IFuzzySet Cold = Temp->FindFuzzySet("cold");
  const IFuzzySet Weak = FuzzyCorrelate(Cold, fcmMinimum, 0.6);
  EXPECT_EQ(DegreesAt(Weak, {0, 10, 20, 40}), (Degrees{0.6, 0.6, 0.6, 0.2}));
  EXPECT_EQ(DegreesAt(FuzzyCorrelate(Cold, fcmProduct, 0.5), {0, 25}), (Degrees{0.5, 0.25}));
  EXPECT_DOUBLE_EQ(Cold->DegreeOfMembership(0), 1.0);
  EXPECT_EQ(Weak->GetVariable(), Temp.get());
  EXPECT_EQ(FuzzyCorrelate(nullptr, fcmMinimum, 0.5), nullptr);

  const IFuzzySet Hot = Temp->FindFuzzySet("hot");
  EXPECT_EQ(DegreesAt(FuzzyCombine(Cold, Hot, fimMinMax, true), {0, 50, 100}), (Degrees{1, 0, 1}));
  EXPECT_EQ(DegreesAt(FuzzyCombine(Cold, Hot, fimProduct, false), {25, 75}), (Degrees{0, 0}));
}

TEST(VXFuzzyLogicTest, TermsStayInsideTheUniverse) {
  const IFuzzyVariable Temp = Temperature();
  EXPECT_EQ(ErrorOf<EVXException>([&] { Temp->AddTerm(MakeSet({{90, 0}, {120, 1}}, nullptr, "scalding")); }),
            "Fuzzy term scalding lies outside the universe of discourse of temp: 0.0000 to 100.0000");
  EXPECT_EQ(Temp->FindFuzzySet("scalding"), nullptr);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Temp->SetUniverse(0, 50); }),
            "Fuzzy term hot lies outside the universe of discourse of temp: 0.0000 to 50.0000");
  EXPECT_DOUBLE_EQ(Temp->GetUniverseHigh(), 100.0);
  EXPECT_EQ(ErrorOf<EVXException>([&] { Temp->SetUniverse(5, 5); }),
            "Invalid low and high limits specified: 5.0000 to 5.0000");
  // Sets that are no terms are not held to it; wider is fine.
  Temp->AddFuzzySet(MakeSet({{-10, 1}}, nullptr, "loose"));
  Temp->SetUniverse(-20, 200);
  Temp->AddTerm(MakeSet({{90, 0}, {120, 1}}, nullptr, "scalding"));

  // Until its universe is set, a variable takes any term: a range may follow.
  const IFuzzyVariable Fresh(new TFuzzyVariable("fresh"));
  Fresh->AddTerm(MakeSet({{10, 0}, {50, 1}}, nullptr, "up"));
  EXPECT_EQ(ErrorOf<EVXException>([&] { Fresh->SetUniverse(20, 60); }),
            "Fuzzy term up lies outside the universe of discourse of fresh: 20.0000 to 60.0000");
  Fresh->SetUniverse(0, 60);
  EXPECT_TRUE(Fresh->Clone()->Equals(Fresh));
}
