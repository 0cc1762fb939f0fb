#include <gtest/gtest.h>

#include "FunctionsTestSupport.h"

namespace cogent::test {

TEST(PredicateFunctions, KindsAndWholeNumbers) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(numberp 3)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(numberp \"3\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(lexemep \"3\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(symbolp a)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(stringp a)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(floatp 1.5)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(integerp 1.5)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(evenp 3.9)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(oddp -3)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(lexemep 1)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(fuzzyp 1)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(objectp a)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(external-addressp 1)"));
  // Whole numbers: a float or a number in text is truncated first.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(evenp \"4\")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(evenp -2147483648)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(oddp 2147483647)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(oddp -3.9)"));
  EXPECT_EQ("Not a integer type.  Value (a) is a dtAtom type", ErrorOfCall(Engine, "(evenp a)"));
  EXPECT_EQ("Too few arguments for oddp", ErrorOfCall(Engine, "(oddp)"));
  EXPECT_EQ("dtAtom dtInteger", Eval(Engine, "(get-type 3)"));
  EXPECT_EQ("dtAtom dtFloat", Eval(Engine, "(get-type 3.0)"));
  EXPECT_EQ("dtAtom dtString", Eval(Engine, "(get-type \"3\")"));
  EXPECT_EQ("dtAtom dtAtom", Eval(Engine, "(get-type a)"));
  SetVariable(Engine, "l", List({}));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(multifieldp ?l)"));
  EXPECT_EQ("dtAtom dtList", Eval(Engine, "(get-type ?l)"));
  IUserFunction Numberp;
  ASSERT_TRUE(Engine.ContainsUserFunction("numberp", Numberp));
  EXPECT_EQ("Returns TRUE if the argument is of the following type(s): Integer, Float.  If the argument is any other "
            "type, FALSE is returned",
            Numberp->GetComment());
  EXPECT_EQ("Too many arguments for numberp", ErrorOfCall(Engine, "(numberp 1 2)"));
}

TEST(PredicateFunctions, PackagesReloadTheirFunctionsByClassName) {
  TInferenceEngine Engine;
  TUserPackage* Package = nullptr;
  for (int I = 0; I < Engine.GetComponentCount(); ++I)
    if (Engine.GetComponent(I)->ClassName() == "TPredicatePackage") Package = dynamic_cast<TUserPackage*>(Engine.GetComponent(I));
  ASSERT_TRUE(Package);
  const std::string Saved = Package->GetPackageFunctions();
  Package->SetPackageFunctions(Saved);
  EXPECT_EQ(Saved, Package->GetPackageFunctions());
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(numberp 1.5)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(stringp 1.5)"));
}

}  // namespace cogent::test
