#include <gtest/gtest.h>

#include <string>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/values/KBDefinedType.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

IFactTemplate Template(const std::string& Name, TPersistent* Owner = nullptr) {
  return IFactTemplate(new TFactTemplate(Owner, Name));
}

TEST(FactTemplateTest, OrderedFlagFollowsAddsAndRenamesOnly) {
  const IFactTemplate T = Template("colour");
  T->AddMultiSlot(SDefaultSlotName, FCNilList);
  EXPECT_TRUE(T->IsOrdered());
  T->AddSlot("x", Atom("a"));
  EXPECT_FALSE(T->IsOrdered());
  // Removal leaves the flag alone until the next add or rename.
  T->RemoveSlot("x");
  EXPECT_FALSE(T->IsOrdered());
  T->AddMultiSlot(SDefaultSlotName, List({Atom("red")}));
  EXPECT_TRUE(T->IsOrdered());

  // A rename is heard by the template, which keys the slot anew.
  const IFactTemplate Single = Template("single");
  Single->AddSlot("a", Atom("v"))->SetName(SDefaultSlotName);
  EXPECT_TRUE(Single->IsOrdered());
  EXPECT_FALSE(Single->ContainsSlot("a"));
  EXPECT_EQ(Single->GetSlotNames().GetCount(), 1);
}

TEST(FactTemplateTest, AddSlotErrorsLeaveTheTemplateUnchanged) {
  const IFactTemplate T = Template("t");
  const IKBValue MultiDefault = List({Atom("a")});
  const IFactSlot Multi = T->AddMultiSlot("m", MultiDefault);
  const IFactSlot Plain = T->AddSlot("s", Atom("x"));
  const IKBValue MultiBefore = Multi->GetSlotDefault();
  const IKBValue PlainBefore = Plain->GetSlotDefault();

  EXPECT_EQ(ErrorOf([&] { T->AddSlot("m", Atom("y")); }), _SInvalidExistingMultiSlotChange);
  EXPECT_EQ(ErrorOf([&] { T->AddMultiSlot("s", List({})); }), _SInvalidExistingSlotChange);
  EXPECT_EQ(Multi->GetSlotDefault(), MultiBefore);
  EXPECT_EQ(Plain->GetSlotDefault(), PlainBefore);

  EXPECT_EQ(ErrorOf([&] { T->AddSlot("n", nullptr); }), "Bad Slot Type");
  EXPECT_EQ(ErrorOf([&] { T->AddSlot("n", List({Atom("q")})); }), "Invalid default slot value: " + List({Atom("q")})->GetToString());
  EXPECT_EQ(ErrorOf([&] { T->AddMultiSlot("n", Int(3)); }), "Invalid default value for a multislot, must be a multifield: 3");
  EXPECT_EQ(ErrorOf([&] { T->AddMultiSlot("  ", List({})); }), "Bad Slot Name:   ");
  EXPECT_EQ(ErrorOf([&] { T->AddSlot("a b", Atom("x")); }), Format(_SUnexpectedCharacters, "a b", " "));
  EXPECT_EQ(T->GetSlotCount(), 2);

  // A redefinition changes the default of the slot in place.
  EXPECT_EQ(T->AddSlot("s", Atom("z")), Plain);
  EXPECT_EQ(Plain->GetSlotDefault()->GetAsAtom(), "z");
}

TEST(FactTemplateTest, LookupAndRenameErrors) {
  const IFactTemplate T = Template("t");
  T->AddSlot("a", Atom("x"));
  EXPECT_EQ(ErrorOf([&] { T->GetSlot("zz"); }), "No such slot name: \"zz\"");
  const IFactSlot Other(new TFactSlot());
  Other->SetName("b");
  EXPECT_EQ(ErrorOf([&] { T->SetSlot("a", Other); }), "Index does not match fact slot name: a and b");
  EXPECT_EQ(T->GetSlot("a")->GetSlotDefault()->GetAsAtom(), "x");
  EXPECT_EQ(ErrorOf([&] { T->SetTemplateName("a(b"); }), Format(_SUnexpectedCharacters, "a(b", "("));
  EXPECT_EQ(T->GetTemplateName(), "t");
}

TEST(FactTemplateTest, FuzzyFlagHashAndFuzzyTypes) {
  const IFactTemplate T = Template("t");
  T->AddSlot("a", Atom("x"));
  EXPECT_FALSE(T->IsFuzzy());
  const IFactSlot F = T->AddSlot("f", Atom("x"));
  F->SetSlotType(TKBTypes{dtFuzzy});
  EXPECT_TRUE(T->IsFuzzy());
  EXPECT_EQ(ErrorOf([&] { F->SetSlotType(TKBTypes{dtFuzzy, dtAtom}); }),
            "Cannot mix fuzzy type with other primitive types");
  T->RemoveSlot("f");
  EXPECT_FALSE(T->IsFuzzy());

  // The hash depends on the name and the slot names only.
  const IFactTemplate A = Template("p");
  A->AddSlot("x", Atom("1"));
  A->AddSlot("y", Atom("2"));
  const IFactTemplate B = Template("p");
  B->AddSlot("y", Int(5));
  B->AddSlot("x", Int(6));
  EXPECT_EQ(A->GetHashCode(), B->GetHashCode());
  B->GetSlot("y")->SetName("z");
  EXPECT_NE(A->GetHashCode(), B->GetHashCode());
}

TEST(FactSlotTest, ValidityOfNilAndItsMessages) {
  const IFactTemplate T = Template("t");
  const IFactSlot Plain = T->AddSlot("n", Int(1));
  Plain->SetSlotType(TKBTypes{dtInteger});
  const IFactSlot Multi = T->AddMultiSlot("m", List({}));
  EXPECT_TRUE(Plain->IsValid(FCNil));
  EXPECT_FALSE(Multi->IsValid(FCNil));
  EXPECT_TRUE(Multi->IsValid(FCNilList));

  EXPECT_EQ(Plain->GetInvalidValueString(Int(4)), "");
  EXPECT_EQ(Plain->GetInvalidValueString(Atom("abc")), "Not a INTEGER type.  Value (abc) is a dtAtom type for n slot");
  Multi->SetSlotType(TKBTypes{dtInteger, dtList, dtMultiSlot});
  const IKBValue Bad = List({Int(1), Atom("abc")});
  EXPECT_FALSE(Multi->IsValid(Bad));
  EXPECT_EQ(Multi->GetInvalidValueString(Bad), "Not a " + VXUpperCase(SetToString(Multi->GetSlotType(), ", ", false)) +
                                                   " type.  Value (" + Bad->GetToString() +
                                                   ") is a dtAtom (abc) type for m slot");
}

TEST(FactSlotTest, DefaultsAreClonedAndFollowTheType) {
  const IFactTemplate T = Template("t");
  const IKBValue Given = Atom("v");
  const IFactSlot Slot = T->AddSlot("a", Given);
  EXPECT_NE(Slot->GetSlotDefault(), Given);
  EXPECT_TRUE(Slot->GetSlotDefault()->Equals(Given));
  // Constants are shared; a call is never shared between templates.
  Slot->SetSlotDefault(FCTrue);
  EXPECT_EQ(Slot->GetSlotDefault(), FCTrue);
  const IFunCall Call(new TFunctionCall("gensym"));
  T->AddSlot("c", IKBValue(new TKBValue(Call)));
  EXPECT_NE(T->GetSlot("c")->GetSlotDefault()->GetAsFunCall(), Call);

  // A new type keeps a valid default and replaces an invalid one.
  Slot->SetSlotDefault(Int(7));
  Slot->SetSlotType(TKBTypes{dtInteger, dtFloat});
  EXPECT_EQ(Slot->GetSlotDefault()->GetAsInteger(), 7);
  Slot->SetSlotType(TKBTypes{dtFloat});
  EXPECT_EQ(Slot->GetSlotDefault()->GetDType(), dtFloat);
  EXPECT_EQ(Slot->GetSlotDefault()->GetAsFloat(), 0.0);
  Slot->SetSlotType(TKBTypes{dtFuzzy});
  EXPECT_EQ(Slot->GetSlotDefault(), FCNil);
  EXPECT_EQ(Slot->CreateValidDefault(true)->GetDType(), dtList);
}

TEST(FactSlotTest, DynamicChecksGuardDefaults) {
  TInferenceEngine Engine;
  Engine.SetTypeChecks(TTypeChecks{tcDynamic});
  const IFactTemplate T = Template("t", &Engine);
  const IFactSlot Slot = T->AddSlot("n", Int(1));
  Slot->SetSlotType(TKBTypes{dtInteger});
  EXPECT_EQ(ErrorOf([&] { Slot->SetSlotDefault(Atom("x")); }), "Invalid default slot value: x");
  EXPECT_EQ(Slot->GetSlotDefault()->GetAsInteger(), 1);
  // A default changed from the outside is checked too.
  const IKBValue Default = Slot->GetSlotDefault();
  EXPECT_EQ(ErrorOf([&] { Default->SetAsAtom("y"); }), "Value \"y\" is not valid, n");
  // Once the slot is gone its old default no longer reports to it.
  Slot->SetSlotDefault(Int(2));
  EXPECT_EQ(ErrorOf([&] { Default->SetAsAtom("z"); }), "no error");
  // A slot that left its template is outside the engine's checks.
  const IKBValue Last = Slot->GetSlotDefault();
  T->RemoveSlot("n");
  EXPECT_EQ(ErrorOf([&] { Last->SetAsAtom("z"); }), "no error");
}

TEST(FactSlotTest, OldDefaultForgetsADeadSlot) {
  IKBValue Default = Template("t")->AddSlot("a", Atom("x"))->GetSlotDefault();
  Default->SetAsAtom("y");  // would reach a freed slot if the hook stayed
  EXPECT_EQ(Default->GetAsAtom(), "y");
}

TEST(FactSlotTest, ExtendedTypeInfo) {
  const IFactTemplate T = Template("t");
  const IKBDefinedType Type(new TKBDefinedType("num", TKBTypes{dtInteger, dtFloat}));
  const IFactSlot Slot = T->AddSlot("a", Int(1));
  Slot->SetExtendedTypeInfo(Type);
  EXPECT_EQ(Slot->GetSlotType(), (TKBTypes{dtInteger, dtFloat}));
  EXPECT_EQ(T->ContainsType(Type), Slot);

  const IFactTemplate Ordered = Template("o");
  const IFactSlot Data = Ordered->AddMultiSlot(SDefaultSlotName, FCNilList);
  Data->SetExtendedTypeInfo(Type);
  EXPECT_EQ(Data->GetSlotType(), (TKBTypes{dtInteger, dtFloat, dtList, dtMultiSlot}));
}

TEST(FactTemplateTest, AddSlotCopiesAndEqualsLooksOneWay) {
  const IFactTemplate A = Template("p");
  const IFactSlot Given = A->AddSlot("x", Int(1));
  const IFactTemplate B = Template("p");
  const IFactSlot Copy = B->AddSlot(Given);
  EXPECT_NE(Copy, Given);
  EXPECT_TRUE(Copy->Equals(Given));
  EXPECT_TRUE(A->Equals(B));
  B->AddSlot("y", Int(2));
  EXPECT_TRUE(A->Equals(B));
  EXPECT_FALSE(B->Equals(A));
  B->AddSlot("x", Int(9));
  EXPECT_FALSE(A->Equals(B));
  // A slot that left its template no longer names it.
  B->RemoveSlot("x");
  EXPECT_EQ(Copy->GetTemplateName(), "");
}

TEST(FactTemplateTest, InheritanceCopiesTheParent) {
  TInferenceEngine Engine;
  const IFactTemplate Parent = Template("animal");
  Parent->AddSlot("legs", Int(4));
  Parent->SetBackwardChaining(true);
  const IFactTemplate Child(new TFactTemplate(nullptr, "dog", "a dog", Parent));
  EXPECT_EQ(Child->GetParent(), Parent);
  EXPECT_TRUE(Child->IsBackwardChaining());
  EXPECT_NE(Child->GetSlot("legs"), Parent->GetSlot("legs"));
  EXPECT_NE(Child->GetHashCode(), Parent->GetHashCode());
  Parent->AddSlot("legs", Int(2));
  Parent->AddSlot("tail", Atom("yes"));
  EXPECT_EQ(Child->GetSlot("legs")->GetSlotDefault()->GetAsInteger(), 4);
  EXPECT_FALSE(Child->ContainsSlot("tail"));

  const IFactTemplate Foreign(new TFactTemplate(&Engine, "cat", "", Parent));
  EXPECT_EQ(Foreign->GetParent(), nullptr);
  EXPECT_TRUE(Foreign->ContainsSlot("tail"));
}

TEST(FactTemplateTest, CloneAndNewFact) {
  const IFactTemplate T = Template("p");
  T->AddSlot("x", Int(1));
  T->AddMultiSlot("l", List({Atom("a")}));
  const IFactTemplate Copy = T->Clone(nullptr);
  EXPECT_TRUE(Copy->Equals(T));
  EXPECT_NE(Copy->GetSlot("x"), T->GetSlot("x"));

  const IFact Fact = T->NewFact();
  EXPECT_EQ(Fact->GetValue("x")->GetAsInteger(), 1);
  EXPECT_NE(Fact->GetValue("x"), T->GetSlot("x")->GetSlotDefault());

  EXPECT_EQ(ErrorOf([&] { Copy->FillFactWithDefaults(Fact); }),
            "Unable to assign slot values, fact templates are different: p and p");
  EXPECT_EQ(ErrorOf([&] { T->FillFactWithDefaults(IFact(new TFact())); }), "Fact Template is missing");
}

TEST(FactTemplateTest, CopiesReadTheirSlotsAgainInTheirEngine) {
  const char* const TypeText = "(deftype size extends (type INTEGER) (range 0 9))";
  TInferenceEngine Origin;
  Origin.Parse(TypeText, true);
  const IFactTemplate T = Origin.ParseFactTemplate(
      "(deftemplate box (slot s (type size) (default 3)) (slot n (type INTEGER) (range 1 5) (default 2))"
      " (multislot tags (type SYMBOL) (cardinality 0 2)))");
  ASSERT_TRUE(T);

  // Another engine binds the slots to its own type of the same name.
  TInferenceEngine Target;
  Target.Parse(TypeText, true);
  const IFactTemplate Copy = T->Clone(&Target);
  EXPECT_TRUE(Copy->Equals(T));
  EXPECT_EQ(Copy->GetSlot("s")->GetExtendedTypeInfo(), Target.GetDefinedTypes()->GetItem("size"));
  EXPECT_EQ(Copy->GetSlot("s")->GetSlotDefault()->GetAsInteger(), 3);
  const IKBDefinedType Implicit = Copy->GetSlot("n")->GetExtendedTypeInfo();
  ASSERT_TRUE(Implicit);
  EXPECT_NE(Implicit, T->GetSlot("n")->GetExtendedTypeInfo());
  EXPECT_FALSE(Copy->GetSlot("n")->IsValid(Int(6)));

  // A child in the same engine is read the same way.
  const IFactTemplate Child(new TFactTemplate(&Origin, "crate", "", T));
  EXPECT_EQ(Child->GetSlot("s")->GetExtendedTypeInfo(), Origin.GetDefinedTypes()->GetItem("size"));

  // An engine without the type can't read the slot, and the template that
  // was to take the copy stays as it was.
  TInferenceEngine Bare;
  const IFactTemplate Other = Bare.ParseFactTemplate("(deftemplate other (slot z))");
  const std::string Error = ErrorOf([&] { Other->Assign(IInterface(T)); });
  EXPECT_NE(Error.find("Invalid slot type: size"), std::string::npos) << Error;
  EXPECT_EQ(Other->GetSlotCount(), 1);
  EXPECT_TRUE(Other->ContainsSlot("z"));
}

TEST(FactTemplateTest, EngineOwnerGivesHomeModule) {
  TInferenceEngine Engine;
  EXPECT_EQ(Template("p", &Engine)->GetModule(), Engine.GetCurrentModule());

  // The engine hears of a rename before the name changes, and may refuse it.
  const IFactTemplate P = Engine.CreateFactTemplate("p");
  Engine.CreateFactTemplate("q");
  P->SetTemplateName("r");
  EXPECT_EQ(Engine.FindFactTemplate("r"), P);
  EXPECT_EQ(Engine.FindFactTemplate("p"), nullptr);
  EXPECT_EQ(ErrorOf([&] { P->SetTemplateName("q"); }), Format(_SDuplicateTemplateNames, "q"));
  EXPECT_EQ(P->GetTemplateName(), "r");
}

}  // namespace
}  // namespace cogent
