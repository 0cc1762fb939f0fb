#include <gtest/gtest.h>

#include <string>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBFacts.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// "person" with slots name, age and mood (a fuzzy slot).
IFactTemplate Person(TPersistent* Owner = nullptr) {
  const IFactTemplate T(new TFactTemplate(Owner, "person"));
  T->AddSlot("name", Atom("nobody"));
  T->AddSlot("age", Int(0));
  T->AddSlot("mood", Atom("calm"))->SetSlotType(TKBTypes{dtFuzzy});
  return T;
}

TEST(FactTest, ValuesAreFilledLazilySharedOnSetAndNilStoredAsNil) {
  const IFactTemplate T = Person();
  const IFact Fact(new TFact(T));
  EXPECT_EQ(Fact->GetSlotNames()->GetCount(), 0);
  const IKBValue Name = Fact->GetValue("name");
  EXPECT_EQ(Name->GetAsAtom(), "nobody");
  EXPECT_NE(Name, T->GetSlot("name")->GetSlotDefault());
  EXPECT_EQ(Fact->GetValue("name"), Name);
  EXPECT_EQ(Fact->ContainsKey("age"), Fact->GetValue("age"));

  const IKBValue Age = Int(42);
  Fact->SetValue("age", Age);
  EXPECT_EQ(Fact->GetValue("age"), Age);
  Fact->SetValue("name", nullptr);
  EXPECT_EQ(Fact->GetValue("name"), FCNil);

  EXPECT_EQ(Fact->ContainsKey("height"), nullptr);
  EXPECT_EQ(ErrorOf([&] { Fact->GetValue("height"); }), "No such slot name: \"height\"");
  EXPECT_EQ(ErrorOf([&] { IFact(new TFact())->GetValue("a"); }), "Fact Template is missing");
}

TEST(FactTest, DynamicChecksConvertOrRefuse) {
  TInferenceEngine Engine;
  Engine.SetTypeChecks(TTypeChecks{tcDynamic});
  const IFactTemplate T(new TFactTemplate(&Engine, "reading"));
  T->AddSlot("value", Int(0))->SetSlotType(TKBTypes{dtFloat});
  const IFact Fact = T->NewFact();

  // An integer for a float slot is converted in place, and kept.
  const IKBValue Given = Int(3);
  Fact->SetValue("value", Given);
  EXPECT_EQ(Given->GetDType(), dtFloat);
  EXPECT_EQ(Fact->GetValue("value"), Given);
  EXPECT_EQ(ErrorOf([&] { Fact->SetValue("value", Atom("high")); }),
            "Not a FLOAT type.  Value (high) is a dtAtom type for value slot");
  EXPECT_EQ(Fact->GetValue("value"), Given);

  Engine.SetTypeChecks(TTypeChecks{});
  Fact->SetValue("value", Atom("high"));
  EXPECT_EQ(Fact->GetValue("value")->GetAsAtom(), "high");
}

TEST(FactTest, EqualityAndHash) {
  const IFactTemplate T = Person();
  const IFact A(new TFact(T));
  const IFact B(new TFact(T));
  A->SetValue("name", Atom("ann"));
  A->SetValue("age", Int(30));
  B->SetValue("age", Int(30));
  B->SetValue("name", Atom("ann"));
  // Fuzzy slots take no part in equality, nor in the hash.
  A->SetValue("mood", Atom("happy"));
  B->SetValue("mood", Atom("sad"));
  EXPECT_TRUE(A->Equals(B));
  EXPECT_EQ(A->GetHashCode(), B->GetHashCode());

  B->SetValue("age", Int(31));
  EXPECT_FALSE(A->Equals(B));
  EXPECT_NE(A->GetHashCode(), B->GetHashCode());

  // Templates compare by identity, not by content.
  const IFact C(new TFact(Person()));
  C->SetValue("name", Atom("ann"));
  C->SetValue("age", Int(30));
  EXPECT_FALSE(A->Equals(C));
}

TEST(FactTest, SetTemplateKeepsCommonSlots) {
  const IFact Fact(new TFact(Person()));
  const IKBValue Name = Atom("bob");
  Fact->SetValue("name", Name);
  Fact->SetValue("age", Int(5));
  const IFactTemplate Pet(new TFactTemplate(nullptr, "pet"));
  Pet->AddSlot("name", Atom("rex"));
  Pet->AddSlot("kind", Atom("dog"));
  Fact->SetTemplate(Pet);
  EXPECT_EQ(Fact->GetValue("name"), Name);
  EXPECT_EQ(Fact->GetValue("kind")->GetAsAtom(), "dog");
  EXPECT_EQ(Fact->ContainsKey("age"), nullptr);
}

TEST(FactTest, CopiesCloneValuesAndKeepTheNumber) {
  const IFactTemplate T = Person();
  const IFact Source(new TFact(T));
  Source->SetValue("name", Atom("cy"));
  Source->SetID(12);
  const IFact Copy = Source->Clone();
  EXPECT_EQ(Copy->GetTemplate(), T);
  EXPECT_EQ(Copy->GetID(), 12);
  EXPECT_TRUE(Copy->Equals(Source));
  EXPECT_NE(Copy->GetValue("name"), Source->GetValue("name"));

  // AssignValues takes the values only; Assign the number too.
  const IFact Target(new TFact(T));
  Target->AssignValues(Source);
  EXPECT_TRUE(Target->Equals(Source));
  EXPECT_EQ(Target->GetID(), -1);
  const IFact Persisted(new TFact());
  Persisted->Assign(static_cast<TPersistent*>(Source.get()));
  EXPECT_TRUE(Persisted->Equals(Source));
  EXPECT_EQ(Persisted->GetID(), 12);
  const IFact Stranger(new TFact(IFactTemplate(new TFactTemplate(nullptr, "other"))));
  EXPECT_EQ(ErrorOf([&] { Stranger->AssignValues(Source); }),
            "Unable to assign slot values, fact templates are different: other and person");

  // Across engines the target takes its own engine's template of that name.
  TInferenceEngine From, To;
  const IFactTemplate Point = From.CreateFactTemplate("point");
  Point->AddSlot("x", Int(0));
  const IFact Fact = Point->NewFact();
  Fact->SetValue("x", Int(7));
  const IFact Moved(new TFact(IFactTemplate(new TFactTemplate(&To, "local"))));
  Moved->Assign(IInterface(Fact));
  ASSERT_NE(To.FindFactTemplate("point"), nullptr);
  EXPECT_EQ(Moved->GetTemplate(), To.FindFactTemplate("point"));
  EXPECT_EQ(Moved->GetValue("x")->GetAsInteger(), 7);
}

TEST(FactTest, IdStringPadsToTheCounter) {
  TInferenceEngine Engine;
  const IFact Fact = IFactTemplate(new TFactTemplate(&Engine, "p"))->NewFact();
  while (Engine.GetFactIdCounter() < 100) Engine.NewFactId();
  Fact->SetID(7);
  EXPECT_EQ(Fact->GetToIDString(), "f-007 " + Fact->ToString());

  const IFact Free = IFactTemplate(new TFactTemplate(nullptr, "p"))->NewFact();
  Free->SetID(7);
  EXPECT_EQ(Free->GetToIDString(), "f-7 " + Free->ToString());
}

}  // namespace
}  // namespace cogent
