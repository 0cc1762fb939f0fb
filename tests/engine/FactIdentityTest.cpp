#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "cogent/engine/InferenceEngine.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

TEST(FactIdentityTest, FactsWhoseTextsRunTogetherAreDistinct) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate p (slot a) (slot b))", true);
  EXPECT_GE(Engine.Assert("(p (a 1) (b 23))"), 0);
  EXPECT_GE(Engine.Assert("(p (a 12) (b 3))"), 0);
  EXPECT_GE(Engine.Assert("(q 1 23)"), 0);
  EXPECT_GE(Engine.Assert("(q 12 3)"), 0);
  EXPECT_EQ(Engine.Assert("(p (b 3) (a 12))"), -1);
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 5);
}

// Every fact the callback builds is distinct from the others; each is kept,
// and an equal one asserted again is refused without a trace.
void AssertAllThenAgain(TInferenceEngine& Engine, int Count, const std::function<IFact(int)>& Make) {
  const int Before = Engine.GetFacts()->GetCount();
  for (int I = 0; I < Count; ++I) ASSERT_GE(Engine.Assert(Make(I)), 0) << I;
  ASSERT_EQ(Engine.GetFacts()->GetCount(), Before + Count);
  const std::int32_t Counter = Engine.GetFactIdCounter();
  for (int I = 0; I < Count; ++I) ASSERT_EQ(Engine.Assert(Make(I)), -1) << I;
  EXPECT_EQ(Engine.GetFacts()->GetCount(), Before + Count);
  EXPECT_EQ(Engine.GetFactIdCounter(), Counter);
}

TEST(FactIdentityTest, TwoHundredThousandDistinctFactsAreAllKept) {
  TInferenceEngine Engine;
  Engine.Parse("(deftemplate p (slot a) (slot b))", true);
  const IFactTemplate P = Engine.FindFactTemplate("p");
  const IFactTemplate Q = Engine.CreateFactTemplate("q");
  const IFactTemplate R = Engine.CreateFactTemplate("r");
  constexpr int Side = 300;  // pairs like (1 23) and (12 3) among them
  AssertAllThenAgain(Engine, Side * Side, [&](int I) {
    const IFact Fact = P->NewFact();
    Fact->SetValue("a", Int(I / Side));
    Fact->SetValue("b", Int(I % Side));
    return Fact;
  });
  AssertAllThenAgain(Engine, Side * Side, [&](int I) {
    const IFact Fact = Q->NewFact();
    Fact->SetValue(SDefaultSlotName, List({Int(I / Side), Int(I % Side)}));
    return Fact;
  });
  AssertAllThenAgain(Engine, 20000, [&](int I) {
    const IFact Fact = R->NewFact();
    Fact->SetValue(SDefaultSlotName, List({Flt(1.0 + I * 0.0001)}));
    return Fact;
  });
  // A float within the same ten-thousandth is the same fact.
  const IFact Near = R->NewFact();
  Near->SetValue(SDefaultSlotName, List({Flt(1.00004)}));
  EXPECT_EQ(Engine.Assert(Near), -1);
}

TEST(FactIdentityTest, RetractionFindsTheFactAmongEqualHashes) {
  TInferenceEngine Engine;
  const std::int32_t A = Engine.Assert("(s x 1.5)");
  const std::int32_t B = Engine.Assert("(s x 1.50001)");
  EXPECT_GE(A, 0);
  EXPECT_EQ(B, -1);
  Engine.Retract(Engine.ParseFact("(s x 1.5)"));
  EXPECT_EQ(Engine.GetFacts()->FindFact(A), -1);
  EXPECT_GE(Engine.Assert("(s x 1.5)"), 0);
}

TEST(FactIdentityTest, DuplicationAllowedKeepsEqualFacts) {
  TInferenceEngine Engine;
  Engine.SetFactDuplication(true);
  EXPECT_GE(Engine.Assert("(t 1)"), 0);
  EXPECT_GE(Engine.Assert("(t 1)"), 0);
  Engine.SetFactDuplication(false);
  EXPECT_EQ(Engine.Assert("(t 1)"), -1);
  Engine.Retract(Engine.ParseFact("(t 1)"));
  Engine.Retract(Engine.ParseFact("(t 1)"));
  EXPECT_EQ(Engine.GetFacts()->GetCount(), 1);
}

}  // namespace
}  // namespace cogent
