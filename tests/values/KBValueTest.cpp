#include "cogent/values/KBValue.h"

#include <gtest/gtest.h>

#include <limits>

#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/matching/KBToken.h"
#include "cogent/values/KBFuzzyLogic.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// A component that a value can own; it counts how many of its kind live.
class TOwnedThing : public TComponent {
public:
  explicit TOwnedThing(TComponent* AOwner) : TComponent(AOwner) { ++Alive; }
  ~TOwnedThing() override {
    Destroying();
    --Alive;
  }
  void Assign(TPersistent* Source) override {
    if (auto* Thing = dynamic_cast<TOwnedThing*>(Source))
      Payload = Thing->Payload;
    else
      TComponent::Assign(Source);
  }
  int Payload = 0;
  static inline int Alive = 0;
};

// A component without a factory: it can be owned but not copied.
class TUncopyable : public TComponent {
public:
  using TComponent::TComponent;
  ~TUncopyable() override { Destroying(); }
};

class TCall : public TFunctionCall {
public:
  TCall(std::string Name, IKBValue Result) : TFunctionCall(std::move(Name)), FResult(std::move(Result)) {}
  IKBValue Execute(TObject*) override { return FResult; }

private:
  IKBValue FResult;
};

TEST(KBValueTest, ConstructorsCheckTheKind) {
  EXPECT_EQ(ErrorOf([] { IKBValue V(new TKBValue(3, dtFloat)); }), "Value and type mismatch");
  EXPECT_EQ(ErrorOf([] { IKBValue V(new TKBValue("x", dtInteger)); }), "Value and type mismatch");
  EXPECT_EQ(IKBValue(new TKBValue(7, dtFactId))->GetToString(), "<Fact-7>");
  EXPECT_EQ(IKBValue(new TKBValue(7, dtDescriptor))->GetToString(), "<UNKNOWN>");
  EXPECT_EQ(IKBValue(new TKBValue("x", dtMultiVariable))->GetToString(), "$?x");
  // An empty value: no text, hash 0, equal to another empty one.
  IKBValue A(new TKBValue());
  EXPECT_TRUE(A->Equals(IKBValue(new TKBValue())));
  EXPECT_EQ(A->GetHashCode(), 0);
  EXPECT_EQ(ErrorOf([&] { A->GetAsString(); }), "Not a string type.  Value () is a dtNone type");
}

TEST(KBValueTest, NumericConversions) {
  EXPECT_EQ(Atom("12")->GetAsInteger(), 12);
  EXPECT_EQ(Str("12.9")->GetAsInteger(), 12);
  EXPECT_EQ(Flt(-2.7)->GetAsInteger(), -2);
  EXPECT_DOUBLE_EQ(FCNil->GetAsFloat(), 0.0);
  EXPECT_EQ(ErrorOf([] { Atom("")->GetAsFloat(); }), "Not a numeric type.  Value () is a dtAtom type");
  EXPECT_EQ(ErrorOf([] { Atom("12abc")->GetAsInteger(); }), "Not a integer type.  Value (12abc) is a dtAtom type");
  EXPECT_EQ(ErrorOf([] { Flt(1e20)->GetAsInteger(); }),
            "Not a integer type.  Value (100000000000000000000.0000) is a dtFloat type");
  EXPECT_EQ(Flt(3.9)->GetAsFactId(), 3);
  EXPECT_EQ(ErrorOf([] { Atom("3")->GetAsFactId(); }), "Not a fact id type.  Value (3) is a dtAtom type");
  EXPECT_EQ(ErrorOf([] { Int(3)->GetAsExternalAddress(); }),
            "Not a External Address type.  Value (3) is a dtInteger type");
}

TEST(KBValueTest, TextConversionsAndPrinting) {
  EXPECT_EQ(Int(-5)->GetAsString(), "-5");
  EXPECT_EQ(Flt(3.0)->GetAsString(), "3.0000");
  EXPECT_EQ(Flt(-0.00001)->GetToString(), "0.0000");
  EXPECT_EQ(Str("a\\b")->GetToString(), "\"a\\\\b\"");
  EXPECT_EQ(Str("a\"b")->GetToString(), "\"a\\\"b\"");
  EXPECT_EQ(List({Int(1), Atom("b"), Str("c")})->GetToString(), "1 b \"c\" ");
  EXPECT_EQ(Str("Ärger")->GetAsAtom(), "Ärger");  // the kind-named getters read any text
}

TEST(KBValueTest, StrictAndLooseEquality) {
  for (const auto& [A, B] :
       {std::pair{Int(1), Flt(1.0)}, {Atom("abc"), Str("abc")}, {Flt(1.0), Flt(1.01)}, {Int(1), IKBValue()}})
    EXPECT_FALSE(A->Equals(B)) << A->ToString();
  EXPECT_TRUE(List({Int(1), Atom("a")})->Equals(List({Int(1), Atom("a")})));
  EXPECT_FALSE(List({Int(1), Atom("a")})->Equals(List({Atom("a"), Int(1)})));
  IKBValue V = Int(2);
  EXPECT_TRUE(V->Equals(IInterface(V)));
  EXPECT_FALSE(V->Equals(IInterface(FCNilList->GetAsList())));

  // Loosely, numbers compare by value, text as a number where the other is one.
  const IKBValue Empty(new TKBValue());
  for (const auto& [A, B] : {std::pair{Int(1), Flt(1.0)}, {Int(3), Flt(3.7)}, {Flt(3.0), Atom("3.0")},
                             {Atom("3"), Int(3)}, {Atom(""), Empty}, {Empty, Str("")}})
    EXPECT_TRUE(A->EqualsStar(B)) << A->ToString() << " " << B->ToString();
  EXPECT_FALSE(Empty->EqualsStar(Str("x")));
  EXPECT_EQ(ErrorOf([] { Int(3)->EqualsStar(Atom("abc")); }), "Not a integer type.  Value (abc) is a dtAtom type");
  IFunCall Call(new TCall("f", Int(1)));
  EXPECT_FALSE(IKBValue(new TKBValue(Call))->EqualsStar(Int(1)));
  // The hash follows loose equality.
  EXPECT_EQ(Atom("x")->GetHashCode(), Str("x")->GetHashCode());
  EXPECT_EQ(List({Int(1), Int(2)})->GetHashCode(), List({Int(2), Int(1)})->GetHashCode());
}

// Floats are equal when they agree to four decimals; equal floats hash alike.
TEST(KBValueTest, FloatEqualityAndHashAgree) {
  const struct {
    double A, B;
    bool Equal;
  } Cases[] = {{1.0, 1.00004, true},      {0.1 + 0.2, 0.3, true},   {-0.0, 0.0, true},
               {1e300, 1e300, true},      {-1.23451, -1.2345, true}, {1.0, 1.00006, false},
               {1.00004, 1.00006, false}, {1e12, 1e12 + 0.5, false}, {3e7, 3e11, false}};
  for (const auto& Case : Cases) {
    SCOPED_TRACE(std::to_string(Case.A) + " " + std::to_string(Case.B));
    EXPECT_EQ(Flt(Case.A)->Equals(Flt(Case.B)), Case.Equal);
    EXPECT_EQ(Flt(Case.B)->Equals(Flt(Case.A)), Case.Equal);
    if (Case.Equal) {
      EXPECT_EQ(Flt(Case.A)->GetHashCode(), Flt(Case.B)->GetHashCode());
    }
  }
  const double NaN = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(Flt(NaN)->Equals(Flt(-NaN)));
  EXPECT_EQ(Flt(NaN)->GetHashCode(), Flt(-NaN)->GetHashCode());
  EXPECT_NE(Flt(1.0)->GetHashCode(), Flt(1.0001)->GetHashCode());
}

TEST(KBValueTest, SettersRetypeAndNotify) {
  IKBValue V(new TKBValue());
  int Changes = 0;
  V->SetOnChange([&](const IKBValue& Changed) {
    EXPECT_EQ(Changed.get(), V.get());
    ++Changes;
  });
  V->SetAsInteger(4);
  V->SetAsInteger(4);
  EXPECT_EQ(Changes, 2);  // also when the content doesn't change
  V->Reset();  // silent
  EXPECT_EQ(Changes, 2);
  EXPECT_EQ(V->GetDType(), dtNone);

  // Retyping a list releases the vector; another holder keeps it.
  IValueVector Vector(new TValueVector());
  Vector->Add(Int(1));
  V->SetAsList(Vector);
  EXPECT_EQ(Vector->GetRefCount(), 2);
  V->SetAsInteger(9);
  EXPECT_EQ(Vector->GetRefCount(), 1);
  EXPECT_EQ(Vector->GetCount(), 1);
}

TEST(KBValueTest, AssignAndCloneCopyDepth) {
  IKBValue Inner = List({Int(1)});
  IKBValue Outer = List({Inner, Atom("x")});
  Outer->SetTag(42);

  // The class-level copy shares the vector.
  IKBValue Shallow = Outer->Clone();
  EXPECT_EQ(Shallow->GetAsList().get(), Outer->GetAsList().get());
  EXPECT_EQ(Shallow->GetTag(), 42);

  // The interface-level copy clones the list and its items, whose own lists
  // are copied at the class level and so stay shared.
  IKBValue Deep(new TKBValue());
  Deep->Assign(IInterface(Outer));
  EXPECT_NE(Deep->GetAsList().get(), Outer->GetAsList().get());
  EXPECT_NE(Deep->GetAsList()->Get(0).get(), Inner.get());
  EXPECT_EQ(Deep->GetAsList()->Get(0)->GetAsList().get(), Inner->GetAsList().get());
  EXPECT_TRUE(Deep->Equals(Outer));
  EXPECT_EQ(Deep->GetTag(), 42);

  // AssignTo goes through the target's setters and leaves its tag alone.
  IKBValue Target = Int(5);
  int Changes = 0;
  Target->SetOnChange([&](const IKBValue&) { ++Changes; });
  Outer->AssignTo(Target);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Target->GetTag(), 0);
  EXPECT_NE(Target->GetAsList().get(), Outer->GetAsList().get());
  IKBValue(new TKBValue())->AssignTo(Target);
  EXPECT_EQ(Target->GetDType(), dtNone);

  // Assign from something that isn't a value leaves the target as it was.
  IValueVector Vector(new TValueVector());
  EXPECT_EQ(ErrorOf([&] { Target->Assign(IInterface(Vector)); }), "Unknown interface supplied to engine value");
  EXPECT_THROW(Target->Assign(static_cast<TPersistent*>(Vector.get())), EConvertError);
  EXPECT_EQ(Target->GetDType(), dtNone);
}

TEST(KBValueTest, OwnedComponents) {
  RegisterClass<TOwnedThing, TComponent>();
  const int Before = TOwnedThing::Alive;
  {
    auto* Thing = new TOwnedThing(nullptr);
    Thing->Payload = 7;
    IKBValue V(new TKBValue(Thing, true));
    EXPECT_TRUE(V->IsOwningObject());
    EXPECT_EQ(V->GetToString(), "<Object: TOwnedThing>");

    // A copy owns a copy of the component.
    IKBValue Copy = V->Clone();
    EXPECT_TRUE(Copy->IsOwningObject());
    EXPECT_NE(Copy->GetAsObject(), Thing);
    EXPECT_EQ(dynamic_cast<TOwnedThing*>(Copy->GetAsObject())->Payload, 7);
    EXPECT_EQ(TOwnedThing::Alive, Before + 2);

    // Destroyed elsewhere, the component leaves the value empty.
    delete Thing;
    EXPECT_EQ(V->GetDType(), dtNone);
    EXPECT_EQ(TOwnedThing::Alive, Before + 1);

    // Storing the owned object again neither frees it nor leaves it dangling.
    auto* Other = new TOwnedThing(nullptr);
    V->SetAsOwnedObject(Other);
    V->SetAsOwnedObject(Other);
    EXPECT_EQ(V->GetAsObject(), Other);
  }
  // Releasing an owning value frees its component.
  EXPECT_EQ(TOwnedThing::Alive, Before);

  // An owned object that is no component is freed with the value too.
  struct TPlain : TObject {
    explicit TPlain(int& AAlive) : Alive(AAlive) { ++Alive; }
    ~TPlain() override { --Alive; }
    int& Alive;
  };
  int PlainAlive = 0;
  {
    IKBValue V(new TKBValue(new TPlain(PlainAlive), true));
    EXPECT_TRUE(V->IsOwningObject());
  }
  EXPECT_EQ(PlainAlive, 0);

  // A borrowed object is not freed.
  auto* Borrowed = new TOwnedThing(nullptr);
  { IKBValue V(new TKBValue(Borrowed, false)); }
  EXPECT_EQ(TOwnedThing::Alive, Before + 1);
  delete Borrowed;

  // A component whose class can't be made again can't be copied.
  IKBValue Unique(new TKBValue(new TUncopyable(nullptr), true));
  EXPECT_EQ(ErrorOf([&] { Unique->Clone(); }), "Uncloneable value.  Value owned an object of &s class type");
}

TEST(KBValueTest, BorrowedComponentsAreLetGo) {
  // Freed elsewhere, a borrowed component leaves every value that held it,
  // copies included, holding nil.
  auto* Thing = new TOwnedThing(nullptr);
  IKBValue V(new TKBValue(Thing, false));
  IKBValue Copy = V->Clone();
  IKBValue Set(new TKBValue());
  Set->SetAsObject(Thing);
  delete Thing;
  for (const IKBValue& Held : {V, Copy, Set}) {
    EXPECT_EQ(Held->GetDType(), dtObject);
    EXPECT_EQ(Held->GetAsObject(), nullptr);
    EXPECT_EQ(Held->GetToString(), "");
  }

  // A value that lets go first leaves nothing behind in the component, also
  // when the component itself holds the value and goes with it.
  struct TSelfHolder : TComponent {
    TSelfHolder() : TComponent(nullptr) { Self = IKBValue(new TKBValue(this, false)); }
    ~TSelfHolder() override {
      Destroying();
      Self = nullptr;
    }
    IKBValue Self;
  };
  auto* Holder = new TSelfHolder;
  { IKBValue Other(new TKBValue(Holder, false)); }
  delete Holder;
}

TEST(KBValueTest, PointerKindsShareTheCell) {
  int Dummy = 0;
  IKBValue Address(new TKBValue());
  Address->SetAsExternalAddress(&Dummy);
  EXPECT_EQ(Address->GetAsExternalAddress(), &Dummy);
  EXPECT_EQ(Address->GetAsInteger(),
            static_cast<std::int32_t>(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&Dummy))));
  auto* Thing = new TUncopyable(nullptr);
  IKBValue Object(new TKBValue(Thing, false));
  EXPECT_EQ(Object->GetAsExternalAddress(), static_cast<void*>(static_cast<TObject*>(Thing)));
  delete Thing;
  IKBValue Class(new TKBValue(ClassOf<TUncopyable>()));
  EXPECT_TRUE(Class->Equals(IKBValue(new TKBValue(ClassOf<TUncopyable>()))));
}

TEST(KBValueTest, ResolveRunsCallsAndFollowsBindingsAndTokenAddresses) {
  IKBValue Constant = Int(3);
  EXPECT_EQ(Constant->Resolve(nullptr).get(), Constant.get());
  IFunCall Call(new TCall("f", Atom("done")));
  IKBValue CallValue(new TKBValue(Call));
  EXPECT_EQ(CallValue->Resolve(nullptr)->GetAsAtom(), "done");
  EXPECT_EQ(CallValue->GetToString(), "(f)");
  EXPECT_EQ(ErrorOf([] { IKBValue(new TKBValue("x", dtVariable))->Resolve(nullptr); }),
            "No context found when trying to resolve a dtVariable value");

  // Variables follow the context's bindings.
  TKBContext Context(nullptr, nullptr);
  const IKBValue Bound = Atom("lamp");
  Context.AddLocalBinding("x", Bound);
  Context.AddBinding("unfilled", 0, "name", NoSubIndex);
  EXPECT_EQ(IKBValue(new TKBValue("x", dtVariable))->Resolve(&Context), Bound);
  EXPECT_EQ(IKBValue(new TKBValue("x", dtMultiVariable))->Resolve(&Context), Bound);
  EXPECT_EQ(ErrorOf([&] { IKBValue(new TKBValue("y", dtVariable))->Resolve(&Context); }),
            "Corrupted Binding, variable not found: y");
  EXPECT_EQ(ErrorOf([&] { IKBValue(new TKBValue("unfilled", dtVariable))->Resolve(&Context); }),
            "Corrupted Binding, variable not found: unfilled");
  TComponent NotAContext(nullptr);
  EXPECT_EQ(ErrorOf([&] { IKBValue(new TKBValue("x", dtMultiVariable))->Resolve(&NotAContext); }),
            "No context found when trying to resolve a dtMultiVariable value");

  // Addresses into a token of one fact, and the fact under test past it.
  const IFactTemplate T(new TFactTemplate(nullptr, "item"));
  T->AddSlot("name", Atom("none"));
  T->AddMultiSlot("tags", List({Atom("a"), Atom("b")}));
  const IFact First(new TFact(T));
  First->SetID(5);
  First->SetValue("name", Atom("first"));
  const IFact Tested(new TFact(T));
  Tested->SetValue("name", Atom("tested"));
  Context.SetToken(IReteToken(new TKBToken(taAdd, First)));
  auto ResolveAt = [&](TBindingInfo& Info, TObject* In) { return IKBValue(new TKBValue(&Info, false))->Resolve(In); };
  TBindingInfo Name(0, "name"), Id(0, SPatternBinding), Tag(0, "tags", 1), Next(1, "name");
  EXPECT_EQ(IKBValue(new TKBValue(&Name, false))->GetToString(), "<TBindingInfo: FactIdx=0 SlotIdx=name>");
  EXPECT_EQ(ResolveAt(Name, &Context), First->GetValue("name"));
  EXPECT_EQ(ResolveAt(Id, &Context)->GetToString(), "<Fact-5>");
  EXPECT_EQ(ResolveAt(Tag, &Context)->GetAsAtom(), "b");
  EXPECT_THROW(ResolveAt(Next, &Context), EListError);
  Context.SetFact(Tested);
  EXPECT_EQ(ResolveAt(Next, &Context)->GetAsAtom(), "tested");
  EXPECT_EQ(ErrorOf([&] { ResolveAt(Name, &NotAContext); }),
            "No context found when trying to resolve a dtObject value");
  // Any other object stands for itself.
  const IKBValue Other(new TKBValue(&NotAContext, false));
  EXPECT_EQ(Other->Resolve(nullptr), Other);
}

TEST(KBValueTest, SingletonsResolveToAFuzzySet) {
  ISingletonsVector Points(new TSingletonsVector());
  Points->Add(Int(0), Int(0));
  Points->Add(Int(5), Flt(1.0));
  Points->Add(Int(10), Int(0));
  IKBValue Value(new TKBValue(Points));
  EXPECT_EQ(Value->GetToString(), "(0 0) (5 1.0000) (10 0) ");
  IKBValue Fuzzy = Value->Resolve(nullptr);
  ASSERT_EQ(Fuzzy->GetDType(), dtFuzzy);
  EXPECT_DOUBLE_EQ(Fuzzy->GetAsFuzzy()->DegreeOfMembership(2.5), 0.5);
  EXPECT_NEAR(Fuzzy->GetAsFloat(), 5.0, 1e-9);
  // A fuzzy value equals a number where its membership is above the threshold.
  EXPECT_TRUE(Fuzzy->Equals(Int(5)));
  EXPECT_TRUE(Int(5)->Equals(Fuzzy));
  EXPECT_FALSE(Fuzzy->Equals(Int(20)));
  EXPECT_FALSE(Fuzzy->Equals(Atom("5")));
  EXPECT_TRUE(Fuzzy->Equals(Fuzzy->Clone()));
  // A fuzzy value that holds no set prints empty and has no number.
  const IKBValue NoSet(new TKBValue(IFuzzySet()));
  EXPECT_EQ(NoSet->GetToString(), "");
  EXPECT_THROW(NoSet->GetAsFloat(), EKBException);
  EXPECT_TRUE(NoSet->Equals(NoSet->Clone()));
  EXPECT_FALSE(NoSet->Equals(Fuzzy));
  EXPECT_FALSE(Fuzzy->Equals(NoSet));
}

TEST(ValueVectorTest, ListBehaviour) {
  IValueVector A(new TValueVector());
  IKBValue One = Int(1);
  A->Add(One);
  A->Add(IKBValue());
  A->Append(A);
  EXPECT_EQ(A->GetValueCount(), 4);
  EXPECT_EQ(A->Get(2).get(), One.get());
  EXPECT_EQ(A->ToString(), "1  1  ");

  IValueVector B = A->Clone();
  EXPECT_TRUE(B->Equals(A));
  EXPECT_NE(B->Get(0).get(), One.get());
  B->Put(1, Int(2));
  EXPECT_FALSE(B->Equals(A));
  EXPECT_FALSE(A->Equals(static_cast<const TObject*>(FCNil.get())));
  EXPECT_TRUE(A->Equals(static_cast<const TObject*>(A.get())));

  EXPECT_THROW(A->Get(9), EListError);
  EXPECT_THROW(A->Assign(static_cast<TPersistent*>(B.get())), EKBException);
}

TEST(SingletonsVectorTest, PairsStayTogether) {
  ISingletonsVector S(new TSingletonsVector());
  S->Add(Int(1), Flt(0.5));
  S->Insert(0, Int(0), Int(0));
  ISingletonsVector C = S->Clone();
  EXPECT_TRUE(C->Equals(S));
  EXPECT_NE(C->GetXValues(1).get(), S->GetXValues(1).get());
  C->Delete(0);
  EXPECT_FALSE(C->Equals(S));
  EXPECT_EQ(C->ToString(), "(1 0.5000) ");
}

}  // namespace
}  // namespace cogent
