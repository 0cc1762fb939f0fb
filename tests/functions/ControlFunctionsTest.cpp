#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {
TEST(ControlFunctions, Smoke) {
  TInferenceEngine Engine;
  EXPECT_EQ("TRUE", Engine.ParseNExecuteFunCall("(and 1 2)")->GetToString());
}
}
