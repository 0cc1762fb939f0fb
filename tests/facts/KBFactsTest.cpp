#include "cogent/facts/KBFacts.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/values/KBDefinedType.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

IFactTemplate Template(const std::string& Name, TPersistent* Owner = nullptr) {
  return IFactTemplate(new TFactTemplate(Owner, Name));
}

// "person" with slots name, age and mood (a fuzzy slot).
IFactTemplate Person(TPersistent* Owner = nullptr) {
  const IFactTemplate T = Template("person", Owner);
  T->AddSlot("name", Atom("nobody"));
  T->AddSlot("age", Int(0));
  T->AddSlot("mood", Atom("calm"))->SetSlotType(TKBTypes{dtFuzzy});
  return T;
}

// An engine with a second module OTHER, MAIN current, and a template
// "visitor" with one slot, name.
class KBFactsTest : public ::testing::Test {
protected:
  KBFactsTest() {
    Main = Engine.GetModules()->Get(0);
    Other = IModule(new TModule(&Engine, false));
    Other->SetName("OTHER");
    Engine.AddModule(Other);
    Main->FocusModule();
    Visitor = Engine.CreateFactTemplate("visitor");
    Visitor->AddSlot("name", Atom("nobody"));
  }

  IFact NewVisitor(const std::string& Name) {
    IFact Fact = Visitor->NewFact();
    Fact->SetValue("name", Atom(Name));
    return Fact;
  }

  // Records each assertion, and its visitor as "<name>@<current module>".
  void Hear() {
    Heard.clear();
    Engine.OnAssertion = [this](TObject*, const IFact& Fact) {
      Asserted.push_back(Fact);
      Heard.push_back(Fact->GetValue("name")->ToString() + "@" + Engine.GetCurrentModule()->GetName());
    };
  }

  TInferenceEngine Engine;
  IModule Main;
  IModule Other;
  IFactTemplate Visitor;
  std::vector<IFact> Asserted;
  std::vector<std::string> Heard;
};

// Facts

TEST(FactTest, ValuesAreFilledLazilySharedOnSetAndKeptAcrossTemplates) {
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

  // A new template keeps the values of the slots both have.
  const IFactTemplate Pet = Template("pet");
  Pet->AddSlot("age", Int(1));
  Pet->AddSlot("kind", Atom("dog"));
  Fact->SetTemplate(Pet);
  EXPECT_EQ(Fact->GetValue("age"), Age);
  EXPECT_EQ(Fact->GetValue("kind")->GetAsAtom(), "dog");
  EXPECT_EQ(Fact->ContainsKey("name"), nullptr);
  EXPECT_EQ(ErrorOf([&] { Fact->GetValue("height"); }), "No such slot name: \"height\"");
  EXPECT_EQ(ErrorOf([&] { IFact(new TFact())->GetValue("a"); }), "Fact Template is missing");
}

TEST(FactTest, SlotPositionsOutliveChangesOfTheTemplate) {
  const IFactTemplate T = Person();
  const IFact Fact(new TFact(T));
  Fact->SetValue("age", Int(42));
  const TSlotRef Age("age");
  const TSlotRef Height("height");
  EXPECT_EQ(Fact->GetValue(Age)->GetAsInteger(), 42);
  EXPECT_EQ(Fact->ContainsKey(Height), nullptr);

  // A slot added after the fact was made reads its default through a
  // reference that had found nothing before.
  T->AddSlot("height", Int(170));
  EXPECT_EQ(Fact->ContainsKey(Height)->GetAsInteger(), 170);
  EXPECT_EQ(Fact->GetValueRef(Age)->GetAsInteger(), 42);

  // A slot taken away and given back keeps its place, and the fact its value.
  T->RemoveSlot("age");
  EXPECT_EQ(Fact->ContainsKey(Age), nullptr);
  EXPECT_EQ(ErrorOf([&] { Fact->SetValue("age", Int(1)); }), "No such slot name: \"age\"");
  const int AgeAt = T->PositionOf("age");
  EXPECT_EQ(ErrorOf([&] { Fact->SetValueAt(AgeAt, Int(1)); }),
            "No such slot name: \"" + std::to_string(AgeAt) + "\"");
  EXPECT_EQ(ErrorOf([&] { Fact->SetValueAt(-1, Int(1)); }), "No such slot name: \"-1\"");
  T->AddSlot("age", Int(0));
  EXPECT_EQ(Fact->GetValue("age")->GetAsInteger(), 42);

  // A renamed slot answers to its new name only, a long one too.
  T->GetSlot("age")->SetName("age-in-whole-years-since-birth");
  Fact->SetValue("age-in-whole-years-since-birth", Int(43));
  EXPECT_EQ(Fact->GetValue("age-in-whole-years-since-birth")->GetAsInteger(), 43);
  // By position, as the template gives it for the name; nil stores nil.
  Fact->SetValueAt(T->PositionOf("age-in-whole-years-since-birth"), Int(44));
  EXPECT_EQ(Fact->GetValue("age-in-whole-years-since-birth")->GetAsInteger(), 44);
  Fact->SetValueAt(T->PositionOf("name"), nullptr);
  EXPECT_EQ(Fact->GetValue("name"), FCNil);
  EXPECT_EQ(ErrorOf([&] { Fact->SetValue("age", Int(1)); }), "No such slot name: \"age\"");
}

TEST(FactTest, NamesAlikeFindTheirOwnSlotsInSmallAndLargeTemplates) {
  // Names of one length and first byte, in a template whose names are
  // compared in place and in one past that many slots.
  for (const int Extra : {0, 12}) {
    const IFactTemplate T = Template("t");
    for (const char* Name : {"ab", "ac", "abc", "b"}) T->AddSlot(Name, Int(0));
    for (int I = 0; I < Extra; ++I) T->AddSlot("x" + std::to_string(I), Int(0));
    const IFact Fact(new TFact(T));
    Fact->SetValue("ac", Int(2));
    Fact->SetValue("abc", Int(3));
    Fact->SetValue("ab", Int(1));
    EXPECT_EQ(Fact->GetValue("ab")->GetAsInteger(), 1);
    EXPECT_EQ(Fact->GetValue("ac")->GetAsInteger(), 2);
    EXPECT_EQ(Fact->GetValue("abc")->GetAsInteger(), 3);
    EXPECT_EQ(Fact->GetValue("b")->GetAsInteger(), 0);
    EXPECT_EQ(ErrorOf([&] { Fact->SetValue("ad", Int(1)); }), "No such slot name: \"ad\"");
    EXPECT_EQ(ErrorOf([&] { Fact->SetValue("", Int(1)); }), "No such slot name: \"\"");
    // Equal content hashes alike, whatever order the values came in.
    const IFact Other(new TFact(T));
    Other->SetValue("ab", Int(1));
    Other->SetValue("abc", Int(3));
    Other->SetValue("ac", Int(2));
    EXPECT_TRUE(Fact->Equals(Other));
    EXPECT_EQ(Fact->GetHashCode(), Other->GetHashCode());
    Other->SetValue("b", Int(4));
    EXPECT_NE(Fact->GetHashCode(), Other->GetHashCode());
  }
}

TEST_F(KBFactsTest, DynamicChecksGuardValuesAndDefaults) {
  Engine.SetTypeChecks(TTypeChecks{tcDynamic});
  const IFactTemplate T = Template("reading", &Engine);
  T->AddSlot("value", Int(0))->SetSlotType(TKBTypes{dtFloat});
  const IFact Fact = T->NewFact();
  // An integer for a float slot is converted in place, and kept.
  const IKBValue Given = Int(3);
  Fact->SetValue("value", Given);
  EXPECT_EQ(Given->GetDType(), dtFloat);
  EXPECT_EQ(ErrorOf([&] { Fact->SetValue("value", Atom("high")); }),
            "Not a FLOAT type.  Value (high) is a dtAtom type for value slot");
  EXPECT_EQ(Fact->GetValue("value"), Given);

  const IFactSlot Slot = T->AddSlot("n", Int(1));
  Slot->SetSlotType(TKBTypes{dtInteger});
  EXPECT_EQ(ErrorOf([&] { Slot->SetSlotDefault(Atom("x")); }), "Invalid default slot value: x");
  EXPECT_EQ(Slot->GetSlotDefault()->GetAsInteger(), 1);
  // A default changed from the outside is checked too.
  const IKBValue Default = Slot->GetSlotDefault();
  EXPECT_EQ(ErrorOf([&] { Default->SetAsAtom("y"); }), "Value \"y\" is not valid, n");
  // A replaced default, and one whose slot left the template, report to no slot.
  Slot->SetSlotDefault(Int(2));
  EXPECT_EQ(ErrorOf([&] { Default->SetAsAtom("z"); }), "no error");
  const IKBValue Last = Slot->GetSlotDefault();
  T->RemoveSlot("n");
  EXPECT_EQ(ErrorOf([&] { Last->SetAsAtom("z"); }), "no error");

  Engine.SetTypeChecks(TTypeChecks{});
  Fact->SetValue("value", Atom("high"));
  EXPECT_EQ(Fact->GetValue("value")->GetAsAtom(), "high");
}

TEST(FactTest, EqualityHashAndCopies) {
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
  // Facts of two templates hash apart even where their values differ in
  // just the bits that the templates' addresses do.
  const IFactTemplate U = Template("u"), V = Template("v");
  U->AddSlot("n", Int(0));
  V->AddSlot("n", Int(0));
  const auto Apart = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(U.get()) ^
                                                reinterpret_cast<std::uintptr_t>(V.get()));
  const IFact OfU(new TFact(U)), OfV(new TFact(V));
  OfU->SetValue("n", Int(5));
  OfV->SetValue("n", Int(static_cast<std::int32_t>(5U ^ Apart)));
  EXPECT_NE(OfU->GetHashCode(), OfV->GetHashCode());
  // Facts numbered in sequence part in their codes' low bits only, so that
  // the index can file them side by side; their codes still all differ.
  constexpr int Run = 1 << TFact::NeighbourBits;
  std::set<std::int32_t> Codes;
  for (int N = 4 * Run; N < 5 * Run; ++N) {
    const IFact Numbered(new TFact(U));
    Numbered->SetValue("n", Int(N));
    Codes.insert(Numbered->GetHashCode());
  }
  EXPECT_EQ(Codes.size(), static_cast<std::size_t>(Run));
  EXPECT_EQ(*Codes.begin() >> TFact::NeighbourBits, *Codes.rbegin() >> TFact::NeighbourBits);

  // Copies clone the values and keep the number; AssignValues takes the
  // values only, Assign the number too.
  const IFact Source = A;
  Source->SetID(12);
  const IFact Copy = Source->Clone();
  EXPECT_EQ(Copy->GetID(), 12);
  EXPECT_TRUE(Copy->Equals(Source));
  EXPECT_NE(Copy->GetValue("name"), Source->GetValue("name"));
  const IFact Target(new TFact(T));
  Target->AssignValues(Source);
  EXPECT_TRUE(Target->Equals(Source));
  EXPECT_EQ(Target->GetID(), -1);
  const IFact Persisted(new TFact());
  Persisted->Assign(static_cast<TPersistent*>(Source.get()));
  EXPECT_TRUE(Persisted->Equals(Source));
  EXPECT_EQ(Persisted->GetID(), 12);
  const IFact Stranger(new TFact(Template("other")));
  EXPECT_EQ(ErrorOf([&] { Stranger->AssignValues(Source); }),
            "Unable to assign slot values, fact templates are different: other and person");
}

// Templates and their slots

TEST(FactTemplateTest, OrderedAndFuzzyFlagsFollowTheSlots) {
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

  // The fuzzy flag follows the slots, and fuzzy mixes with no other type.
  const IFactSlot F = T->AddSlot("f", Atom("x"));
  F->SetSlotType(TKBTypes{dtFuzzy});
  EXPECT_TRUE(T->IsFuzzy());
  EXPECT_EQ(ErrorOf([&] { F->SetSlotType(TKBTypes{dtFuzzy, dtAtom}); }),
            "Cannot mix fuzzy type with other primitive types");
  T->RemoveSlot("f");
  EXPECT_FALSE(T->IsFuzzy());
}

TEST(FactTemplateTest, SlotErrorsLeaveTheTemplateUnchanged) {
  const IFactTemplate T = Template("t");
  const IFactSlot Multi = T->AddMultiSlot("m", List({Atom("a")}));
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
  EXPECT_EQ(ErrorOf([&] { T->GetSlot("zz"); }), "No such slot name: \"zz\"");
  const IFactSlot Stray(new TFactSlot());
  Stray->SetName("b");
  EXPECT_EQ(ErrorOf([&] { T->SetSlot("s", Stray); }), "Index does not match fact slot name: s and b");
  EXPECT_EQ(ErrorOf([&] { T->SetTemplateName("a(b"); }), Format(_SUnexpectedCharacters, "a(b", "("));
  EXPECT_EQ(T->GetTemplateName(), "t");
  EXPECT_EQ(T->GetSlotCount(), 2);
  EXPECT_EQ(T->GetSlot("s"), Plain);

  // A redefinition changes the default of the slot in place.
  EXPECT_EQ(T->AddSlot("s", Atom("z")), Plain);
  EXPECT_EQ(Plain->GetSlotDefault()->GetAsAtom(), "z");
}

TEST(FactSlotTest, TypesValidityAndMessages) {
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
  EXPECT_FALSE(Multi->IsValid(List({Int(1), Atom("abc")})));

  // A defined type gives the slot its types, the ordered data slot's with the list types.
  const IKBDefinedType Type(new TKBDefinedType("num", TKBTypes{dtInteger, dtFloat}));
  Plain->SetExtendedTypeInfo(Type);
  EXPECT_EQ(Plain->GetSlotType(), (TKBTypes{dtInteger, dtFloat}));
  EXPECT_EQ(T->ContainsType(Type), Plain);
  const IFactSlot Data = Template("o")->AddMultiSlot(SDefaultSlotName, FCNilList);
  Data->SetExtendedTypeInfo(Type);
  EXPECT_EQ(Data->GetSlotType(), (TKBTypes{dtInteger, dtFloat, dtList, dtMultiSlot}));
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

  // The default of a slot that is gone no longer reports to it.
  IKBValue Orphan = Template("t")->AddSlot("a", Atom("x"))->GetSlotDefault();
  Orphan->SetAsAtom("y");
  EXPECT_EQ(Orphan->GetAsAtom(), "y");
}

TEST(FactTemplateTest, AddSlotCopiesEqualsLooksOneWayAndHashReadsNames) {
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

  // The hash depends on the name and the slot names only, in any order.
  const IFactTemplate C = Template("p");
  C->AddSlot("y", Int(5));
  C->AddSlot("x", Int(6));
  A->AddSlot("y", Atom("a"));
  EXPECT_EQ(C->GetHashCode(), A->GetHashCode());
  C->GetSlot("y")->SetName("z");
  EXPECT_NE(C->GetHashCode(), A->GetHashCode());
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

TEST(FactTemplateTest, NewFactAndFillingWithDefaults) {
  const IFactTemplate T = Template("p");
  T->AddSlot("x", Int(1));
  const IFact Fact = T->NewFact();
  EXPECT_EQ(Fact->GetValue("x")->GetAsInteger(), 1);
  EXPECT_NE(Fact->GetValue("x"), T->GetSlot("x")->GetSlotDefault());
  EXPECT_EQ(ErrorOf([&] { T->Clone(nullptr)->FillFactWithDefaults(Fact); }),
            "Unable to assign slot values, fact templates are different: p and p");
  EXPECT_EQ(ErrorOf([&] { T->FillFactWithDefaults(IFact(new TFact())); }), "Fact Template is missing");

  // A default made dynamic after facts were made is worked out for the next.
  TInferenceEngine Engine;
  Engine.ResetGlobalVariable("g", Int(7));
  const IFactTemplate Stamped(new TFactTemplate(&Engine, "stamped"));
  const IFactSlot Slot = Stamped->AddSlot("n", Var("g"));
  EXPECT_EQ(Stamped->NewFact()->GetValue("n")->GetToString(), "?g");
  Slot->SetDefaultDynamic(true);
  EXPECT_EQ(Stamped->NewFact()->GetValue("n")->GetAsInteger(), 7);
}

TEST(FactTemplateTest, CopiesReadTheirSlotsAgainInTheirEngine) {
  const char* const TypeText = "(deftype size extends (type INTEGER) (range 0 9))";
  TInferenceEngine Origin;
  Origin.Parse(TypeText, true);
  const IFactTemplate T = Origin.ParseFactTemplate(
      "(deftemplate box (slot s (type size) (default 3)) (slot n (type INTEGER) (range 1 5) (default 2)))");
  ASSERT_TRUE(T);

  // A slot's own constraints become a type of the copy's own.
  TInferenceEngine Target;
  Target.Parse(TypeText, true);
  const IFactTemplate Copy = T->Clone(&Target);
  EXPECT_TRUE(Copy->Equals(T));
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

TEST_F(KBFactsTest, EngineOwnerGivesHomeModuleAndMayRefuseARename) {
  EXPECT_EQ(Template("p", &Engine)->GetModule(), Main);
  // The engine hears of a rename before the name changes.
  const IFactTemplate P = Engine.CreateFactTemplate("p");
  P->SetTemplateName("r");
  EXPECT_EQ(Engine.FindFactTemplate("r"), P);
  EXPECT_EQ(Engine.FindFactTemplate("p"), nullptr);
  EXPECT_EQ(ErrorOf([&] { P->SetTemplateName("visitor"); }), Format(_SDuplicateTemplateNames, "visitor"));
  EXPECT_EQ(P->GetTemplateName(), "r");
}

// Fact sets

TEST_F(KBFactsTest, FactSetLinesKeepTextAndParsedFact) {
  TFactSet Set(nullptr);
  const IFact Ann = NewVisitor("Ann");
  const IFact Bob = NewVisitor("Bob");
  Set.AddFact(Ann);
  Set.AddFact(Bob);
  EXPECT_EQ(Set.GetFacts()->Get(0), Ann->ToString());
  EXPECT_EQ(Set.IndexOf(Bob), 1);
  EXPECT_EQ(Set.IndexOf(NewVisitor("Bob")), -1);  // by object, not by content
  Set.Remove(Ann);
  Set.Remove(Ann);  // not there: nothing happens
  ASSERT_EQ(Set.GetCount(), 1);
  EXPECT_EQ(Set.GetFact(0), Bob);
  EXPECT_EQ(ErrorOf([&] { Set.GetFact(3); }), "List index out of bounds (3)");
}

TEST_F(KBFactsTest, FactSetResetAssertsClonesInOrderIntoItsModule) {
  auto* Set = new TFactSet(&Engine, "", "people");
  Set->SetEngine(&Engine);
  const IFact Ann = NewVisitor("Ann");
  Set->AddFact(Ann);
  Set->AddFact(NewVisitor("Bob"));

  // An empty module means MAIN, whatever module is current.
  Hear();
  Other->FocusModule();
  Set->Reset();
  EXPECT_EQ(Heard, (std::vector<std::string>{"Ann@MAIN", "Bob@MAIN"}));
  // Clones are asserted; the set's own facts stay unasserted.
  EXPECT_NE(Asserted[0], Ann);
  EXPECT_TRUE(Asserted[0]->Equals(Ann));
  EXPECT_EQ(Ann->GetID(), -1);
  EXPECT_EQ(Engine.GetCurrentModule(), Other);

  // The current module comes back also when an assertion fails.
  Set->SetFact(0, NewVisitor("Cid"));
  Engine.OnAssertion = [](TObject*, const IFact&) { throw std::runtime_error("refused"); };
  EXPECT_EQ(ErrorOf([&] { Set->Reset(); }), "refused");
  EXPECT_EQ(Engine.GetCurrentModule(), Other);

  // A set of another module asserts there, and MAIN comes back.
  Main->FocusModule();
  auto* Elsewhere = new TFactSet(&Engine, "OTHER", "visitors");
  Elsewhere->SetEngine(&Engine);
  Elsewhere->AddFact(NewVisitor("Eve"));
  Hear();
  Elsewhere->Reset();
  EXPECT_EQ(Heard, std::vector<std::string>{"Eve@OTHER"});
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
}

TEST_F(KBFactsTest, EngineResetAssertsTheSetsBeforeTheInitialFact) {
  TFactSet Set(nullptr, "", "people");
  Set.SetEngine(&Engine);
  Set.AddFact(NewVisitor("Ann"));
  Set.AddFact(NewVisitor("Bob"));
  Engine.OnAssertion = [&](TObject*, const IFact& Fact) {
    Heard.push_back(IntToStr(Fact->GetID()) + " " + Fact->GetTemplate()->GetTemplateName());
  };
  Engine.Reset();
  EXPECT_EQ(Heard, (std::vector<std::string>{"0 visitor", "1 visitor", "2 Initial-Fact"}));

  // Clearing the module lets the set go alive, without its engine.
  Engine.Clear(Main);
  EXPECT_EQ(Main->GetFactSets()->GetCount(), 0);
  EXPECT_EQ(Set.GetEngine(), nullptr);
  EXPECT_EQ(Set.GetCount(), 2);
}

TEST_F(KBFactsTest, FactSetModuleMovesTheSetOrRefusesAnUnknownName) {
  TFactSet Set(nullptr, "", "moving");
  Set.SetEngine(&Engine);
  ASSERT_EQ(Main->GetFactSets()->IndexOf(&Set), 0);
  EXPECT_EQ(ErrorOf([&] { Set.SetModule("NOWHERE"); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Set.GetModule(), "");
  EXPECT_EQ(Main->GetFactSets()->IndexOf(&Set), 0);

  Set.SetModule("OTHER");
  EXPECT_EQ(Set.GetEngine(), &Engine);
  EXPECT_EQ(Main->GetFactSets()->IndexOf(&Set), -1);
  EXPECT_EQ(Other->GetFactSets()->IndexOf(&Set), 0);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);

  // Without an engine any name is kept; entering an engine then checks it.
  TFactSet Free(nullptr);
  Free.SetModule("NOWHERE");
  EXPECT_EQ(Free.GetModule(), "NOWHERE");
  EXPECT_EQ(ErrorOf([&] { Free.SetEngine(&Engine); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Free.GetEngine(), nullptr);
  // Focusing a module that doesn't exist: nothing without force, the error with it.
  Free.SetEngineNoParse(&Engine);
  EXPECT_FALSE(Free.FocusModule(false));
  EXPECT_EQ(ErrorOf([&] { Free.FocusModule(true); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
}

TEST_F(KBFactsTest, FactSetListOperationsMoveTheEngine) {
  TFactSets* Sets = Main->GetFactSets();
  TFactSet A(nullptr, "", "a");
  TFactSet B(nullptr, "", "b");
  TFactSet C(nullptr, "", "c");
  A.AddFact(NewVisitor("Ann"));
  Sets->Add(&A);
  EXPECT_EQ(Sets->Add(&A), 0);  // the same set gives its index
  Sets->Insert(0, &B);
  EXPECT_EQ(Sets->GetItem(0), &B);
  EXPECT_EQ(B.GetEngine(), &Engine);

  Sets->SetItem(0, &C);
  EXPECT_EQ(B.GetEngine(), nullptr);
  EXPECT_EQ(C.GetEngine(), &Engine);
  EXPECT_EQ(Sets->Remove(&B), -1);
  EXPECT_EQ(Sets->Remove(&A), 1);
  EXPECT_EQ(A.GetEngine(), nullptr);
  EXPECT_EQ(A.GetCount(), 1);  // leaving keeps the facts

  // A set of an existing name replaces the old one.
  TFactSet NewC(nullptr, "", "c");
  NewC.SetEngine(&Engine);
  ASSERT_EQ(Sets->GetCount(), 1);
  EXPECT_EQ(Sets->GetItem(0), &NewC);
  EXPECT_EQ(C.GetEngine(), nullptr);

  Sets->Add(&A);
  Sets->Clear();
  EXPECT_EQ(Sets->GetCount(), 0);
  EXPECT_EQ(A.GetEngine(), nullptr);
  EXPECT_EQ(NewC.GetEngine(), nullptr);
}

TEST_F(KBFactsTest, FactSetsLeaveWithTheirOwnersAndEngines) {
  // Destroyed by its owner, in a module that is not current.
  auto Owner = std::make_unique<TComponent>(nullptr);
  auto* Set = new TFactSet(Owner.get(), "OTHER", "owned");
  Set->SetEngine(&Engine);
  ASSERT_EQ(Other->GetFactSets()->GetCount(), 1);
  Owner.reset();
  EXPECT_EQ(Other->GetFactSets()->GetCount(), 0);

  // Taken from the engine's components, the set leaves the current list.
  auto* Owned = new TFactSet(&Engine, "", "engine's");
  Owned->SetEngine(&Engine);
  ASSERT_EQ(Main->GetFactSets()->GetCount(), 1);
  Engine.RemoveComponent(Owned);
  EXPECT_EQ(Main->GetFactSets()->GetCount(), 0);
  delete Owned;

  // The module's teardown frees no set.
  TFactSet Survivor(nullptr, "OTHER", "survivor");
  Survivor.SetEngine(&Engine);
  Other->Release();
  EXPECT_EQ(Survivor.GetFactSetName(), "survivor");
  EXPECT_EQ(Survivor.GetEngine(), &Engine);

  // An engine that goes first leaves its sets without engine, and frees those it owns.
  TFactSet Left(nullptr, "", "left behind");
  {
    TInferenceEngine Gone;
    Left.SetEngine(&Gone);
    (new TFactSet(&Gone, "", "owned"))->SetEngine(&Gone);
  }
  EXPECT_EQ(Left.GetEngine(), nullptr);
  Left.Reset();  // no engine: nothing to do
}

TEST_F(KBFactsTest, FactSetCloneAssignAndText) {
  TFactSet Set(nullptr, "OTHER", "people");
  Set.SetComment("who is here");
  const IFact Ann = NewVisitor("Ann");
  Set.AddFact(Ann);
  const std::string Text = "(deffacts people \"who is here\"\r\n   " + Ann->ToString() + ")";
  EXPECT_EQ(Set.ToString(), Text);
  std::unique_ptr<TFactSet> Copy(Set.Clone(nullptr));
  EXPECT_EQ(Copy->ToString(), Text);
  EXPECT_EQ(Copy->GetModule(), "OTHER");
  EXPECT_NE(Copy->GetFact(0), Ann);

  // Assigning to a set of an engine checks the module first.
  TFactSet Bound(nullptr);
  Bound.SetEngine(&Engine);
  TFactSet Bad(nullptr, "NOWHERE", "bad");
  EXPECT_EQ(ErrorOf([&] { Bound.Assign(&Bad); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(Bound.GetFactSetName(), "FactSet");
  Bound.Assign(&Set);
  EXPECT_EQ(Other->GetFactSets()->IndexOf(&Bound), 0);
  EXPECT_EQ(Bound.GetCount(), 1);
}

}  // namespace
}  // namespace cogent
