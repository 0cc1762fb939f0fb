#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../TestErrors.h"
#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"
#include "cogent/host/Sets.h"

using namespace cogent;
using cogent::test::ErrorOf;

namespace {

using TLog = std::vector<std::string>;

// Records what it hears as "<me> <insert|remove> <other>[ dying]", its own
// destruction as "~<me>" and its loading as "<me> loaded".
class TRecorder : public TComponent {
public:
  // Named before it joins its owner, so that the insertion is heard by name.
  TRecorder(TComponent* AOwner, std::string AName, TLog* ALog) : TComponent(nullptr), FLog(ALog) {
    SetName(AName);
    if (AOwner) AOwner->InsertComponent(this);
  }
  explicit TRecorder(TComponent* AOwner) : TComponent(AOwner) {}
  using TComponent::HearNoSiblings;
  ~TRecorder() override {
    Destroying();
    Log("~" + GetName());
  }

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override {
    const bool Dying = AComponent->GetComponentState().Contains(csDestroying);
    const std::string Heard = Operation == opInsert ? " insert " : " remove ";
    Log(GetName() + Heard + AComponent->GetName() + (Dying ? " dying" : ""));
    TComponent::Notification(AComponent, Operation);
  }
  void Loaded() override {
    TComponent::Loaded();
    Log(GetName() + " loaded");
  }

private:
  void Log(const std::string& Line) {
    if (FLog) FLog->push_back(Line);
  }
  TLog* FLog = nullptr;
};

template <class T>
class TBox : public TPersistent {};

class TShape : public TPersistent {};
class TCircle : public TShape {};

}  // namespace

// ---------------------------------------------------------------- classes

TEST(ClassRegistryTest, FactoriesAndAssignErrors) {
  TLog Log;
  TRecorder Owner(nullptr, "Owner", &Log);

  EXPECT_EQ(TMetaClass::FindClass("TBox"), nullptr);  // known but never registered
  RegisterClass<TPersistent>();
  RegisterClass<TShape, TPersistent>();
  RegisterClass<TCircle, TShape>();
  RegisterClass<TComponent, TPersistent>();
  RegisterClass<TRecorder, TComponent>();
  EXPECT_EQ(TMetaClass::FindClass("tcircle"), ClassOf<TCircle>());

  std::unique_ptr<TObject> Made(ClassOf<TCircle>()->CreateInstance());
  EXPECT_NE(dynamic_cast<TCircle*>(Made.get()), nullptr);
  TMetaClass::FindClass("TRecorder")->CreateInstance(&Owner);
  EXPECT_EQ(Owner.GetComponentCount(), 1);
  EXPECT_FALSE(ClassOf<TBox<int>>()->CanCreate());
  EXPECT_EQ(ClassOf<TBox<int>>()->CreateInstance(), nullptr);

  // Neither side knows how: the message names both classes.
  TCircle A;
  TShape Shape;
  EXPECT_EQ(ErrorOf<EConvertError>([&] { A.Assign(&Shape); }), "Cannot assign a TShape to a TCircle");
  EXPECT_EQ(ErrorOf<EConvertError>([&] { A.Assign(nullptr); }), "Cannot assign a nil to a TCircle");
}

// ---------------------------------------------------------------- components

TEST(ComponentTest, OwnershipAndInsertNotifications) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* A = new TRecorder(Owner, "A", &Log);
  EXPECT_EQ(Log, (TLog{"O insert A", "A insert A"}));
  Log.clear();
  auto* B = new TRecorder(Owner, "B", &Log);
  // The owner, then its components from the last.
  EXPECT_EQ(Log, (TLog{"O insert B", "B insert B", "A insert B"}));
  EXPECT_EQ(A->GetOwner(), Owner);
  EXPECT_EQ(B->GetComponentIndex(), 1);
  EXPECT_EQ(Owner->FindComponent("b"), B);
  EXPECT_EQ(ErrorOf<EInvalidOperation>([&] { A->InsertComponent(Owner); }),
            "A component cannot own itself or its owner");
  EXPECT_EQ(Owner->GetComponentCount(), 2);

  // A component freed alone leaves its owner, which tells the others.
  Log.clear();
  delete A;
  EXPECT_EQ(Log, (TLog{"~A", "O remove A dying", "B remove A dying"}));
  EXPECT_EQ(Owner->GetComponentCount(), 1);
  EXPECT_EQ(B->GetComponentIndex(), 0);

  // Moving a component to another owner.
  TRecorder Other(nullptr, "P", &Log);
  Log.clear();
  Other.InsertComponent(B);
  EXPECT_EQ(Owner->GetComponentCount(), 0);
  EXPECT_EQ(B->GetOwner(), &Other);
  EXPECT_EQ(Log, (TLog{"O remove B", "P insert B", "B insert B"}));
  delete Owner;
}

TEST(ComponentTest, AComponentThatHearsNoSiblingsStillHearsWhatItWatches) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* Deaf = new TRecorder(Owner, "D", &Log);
  Deaf->HearNoSiblings();
  auto* A = new TRecorder(Owner, "A", &Log);
  auto* B = new TRecorder(Owner, "B", &Log);
  Deaf->FreeNotification(B);
  Log.clear();
  delete A;
  EXPECT_EQ(Log, (TLog{"~A", "O remove A dying", "B remove A dying"}));
  Log.clear();
  delete B;
  EXPECT_EQ(Log, (TLog{"~B", "D remove B dying", "O remove B dying"}));
  EXPECT_EQ(Owner->GetComponentCount(), 1);
  delete Owner;
}

TEST(ComponentTest, OwnerDestroysItsComponentsLastFirstAndWatchersHear) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* A = new TRecorder(Owner, "A", &Log);
  new TRecorder(A, "A1", &Log);
  auto* B = new TRecorder(Owner, "B", &Log);
  TRecorder Watcher(nullptr, "W", &Log);
  Watcher.FreeNotification(B);
  Log.clear();
  delete Owner;
  // A watched component is first removed with notification, which its
  // siblings hear (the owner's own override is gone by then); the watcher
  // hears as it goes. The others are just unlinked.
  EXPECT_EQ(Log, (TLog{"~O", "A remove B dying", "~B", "W remove B dying", "~A", "~A1"}));
}

TEST(ComponentTest, FreeNotificationOrderAndDestroyingState) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* Sibling = new TRecorder(Owner, "S", &Log);
  auto* C = new TRecorder(Owner, "C", &Log);
  new TRecorder(C, "C1", &Log);
  auto* R1 = new TRecorder(nullptr, "R1", &Log);
  auto* R2 = new TRecorder(nullptr, "R2", &Log);
  C->FreeNotification(R1);
  R2->FreeNotification(C);  // mutual: the direction doesn't matter
  C->FreeNotification(R1);  // idempotent
  EXPECT_TRUE(C->GetComponentState().Contains(csFreeNotification));
  Log.clear();
  delete C;
  // Listeners last first, each seeing the component dying; then the owned
  // components; then the owner and its other components.
  EXPECT_EQ(Log, (TLog{"~C", "R2 remove C dying", "R1 remove C dying", "~C1", "O remove C dying",
                       "S remove C dying"}));

  // Both sides were unlinked: freeing the listeners now tells nobody of C.
  Log.clear();
  delete R1;
  delete R2;
  EXPECT_EQ(Log, (TLog{"~R1", "~R2"}));

  // A listener that goes first unlinks itself from the component it watched.
  auto* R3 = new TRecorder(nullptr, "R3", &Log);
  Sibling->FreeNotification(R3);
  delete R3;
  Log.clear();
  auto* R4 = new TRecorder(nullptr, "R4", &Log);
  Sibling->FreeNotification(R4);
  Sibling->RemoveFreeNotification(R4);
  delete Sibling;
  EXPECT_EQ(Log, (TLog{"~S", "O remove S dying"}));
  delete R4;
  delete Owner;
}

TEST(ComponentTest, DesigningAndLoadingReachOwnedComponents) {
  TLog Log;
  TRecorder Owner(nullptr, "O", &Log);
  auto* A = new TRecorder(&Owner, "A", &Log);
  auto* A1 = new TRecorder(A, "A1", &Log);
  Owner.SetDesigning(true);
  EXPECT_TRUE(A1->GetComponentState().Contains(csDesigning));
  Owner.SetDesigning(false);
  EXPECT_FALSE(A1->GetComponentState().Contains(csDesigning));

  Owner.BeginLoading();
  EXPECT_TRUE(A1->GetComponentState().Contains(csLoading));
  Log.clear();
  Owner.EndLoading();
  EXPECT_EQ(Log, (TLog{"O loaded", "A loaded", "A1 loaded"}));
  EXPECT_FALSE(A1->GetComponentState().Contains(csLoading));
  Owner.EndLoading();  // not loading: Loaded isn't called again
  EXPECT_EQ(Log.size(), 3U);
}

// ---------------------------------------------------------------- sets and references

namespace {
enum TColor : std::uint8_t { clRed, clGreen, clBlue, clWhite = 63 };
using TColors = TSet<TColor>;

int Alive = 0;

class TNode : public TRefCounted {
public:
  TNode() { ++Alive; }
  ~TNode() override { --Alive; }
};
class TLeaf : public TNode {};
}  // namespace

TEST(SetTest, RangeAndTheTopBit) {
  static_assert(TColors::Range(clRed, clBlue) == TColors{clRed, clGreen, clBlue});
  // The top bit of the word is a member like any other.
  EXPECT_EQ((TColors{clRed} + TColors{clWhite}).Bits(), (std::uint64_t{1} << 63) | 1u);
}

TEST(RefTest, CountsAndReleasesOnce) {
  {
    Ref<TNode> A = MakeRef<TLeaf>();
    Ref<TNode> B = A;
    Ref<TNode> C = std::move(B);
    EXPECT_FALSE(B);
    C = A;  // same object: the count holds
    EXPECT_EQ(A->GetRefCount(), 2);
    Ref<TLeaf> Leaf = A.As<TLeaf>();
    EXPECT_EQ(A->GetRefCount(), 3);
    EXPECT_TRUE(SameObject(A, Leaf));
    EXPECT_EQ(Alive, 1);
  }
  EXPECT_EQ(Alive, 0);
}
