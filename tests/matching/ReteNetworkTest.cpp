#include "cogent/matching/ReteNetwork.h"

#include <gtest/gtest.h>

#include "ReteTestSupport.h"

namespace cogent {
namespace {

using namespace test;
using TAgenda = std::vector<std::string>;

class ReteNetworkTest : public ::testing::Test {
protected:
  ReteNetworkTest() {
    Engine.Parse("(deftemplate a (slot x) (slot y)) (deftemplate b (slot x) (slot y)) "
                 "(deftemplate c (slot x) (multislot items))",
                 true);
  }
  TInferenceEngine Engine;
  TRuleBuilder R{Engine};
};

TEST_F(ReteNetworkTest, JoinNotAndExistsSmoke) {
  R.Rule("j", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}));
  R.Rule("n", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 1));
  R.Rule("e", R.Pattern("a", {{"x", Var("x")}}), R.Pattern("b", {{"x", Var("x")}}, 2));
  const IFact A1 = R.Assert("(a (x 1))");
  const IFact A2 = R.Assert("(a (x 2))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"n: f-1, f--1", "n: f-2, f--1"}));
  const IFact B1 = R.Assert("(b (x 1))");
  EXPECT_EQ(R.Agenda(), (TAgenda{"e: f-1, f--1", "j: f-1, f-3", "n: f-2, f--1"}));
  Engine.Retract(B1);
  EXPECT_EQ(R.Agenda(), (TAgenda{"n: f-1, f--1", "n: f-2, f--1"}));
}

}  // namespace
}  // namespace cogent
