#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cogent/host/Classes.h"
#include "cogent/host/RefCounted.h"
#include "cogent/host/Sets.h"

using namespace cogent;

namespace {

using TLog = std::vector<std::string>;

// Records what it hears as "<me> <insert|remove> <other>[ dying]", and its own
// destruction as "~<me>".
class TRecorder : public TComponent {
public:
  // Named before it joins its owner, so that the insertion is heard by name.
  TRecorder(TComponent* AOwner, std::string AName, TLog* ALog) : TComponent(nullptr), FLog(ALog) {
    SetName(AName);
    if (AOwner) AOwner->InsertComponent(this);
  }
  explicit TRecorder(TComponent* AOwner) : TComponent(AOwner) {}
  ~TRecorder() override {
    Destroying();
    if (FLog) FLog->push_back("~" + GetName());
  }
  int LoadedCalls = 0;

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override {
    if (FLog) {
      std::string Line = GetName() + (Operation == opInsert ? " insert " : " remove ") + AComponent->GetName();
      if (AComponent->GetComponentState().Contains(csDestroying)) Line += " dying";
      FLog->push_back(Line);
    }
    TComponent::Notification(AComponent, Operation);
  }
  void Loaded() override {
    TComponent::Loaded();
    ++LoadedCalls;
    if (FLog) FLog->push_back(GetName() + " loaded");
  }

private:
  TLog* FLog = nullptr;
};

template <class T>
class TBox : public TPersistent {};

class TShape : public TPersistent {};
class TCircle : public TShape {
public:
  int Radius = 0;
  void Assign(TPersistent* Source) override {
    if (auto* Other = dynamic_cast<TCircle*>(Source)) {
      Radius = Other->Radius;
      return;
    }
    TShape::Assign(Source);
  }
};

std::string AssignError(TPersistent& Dest, TPersistent* Source) {
  try {
    Dest.Assign(Source);
  } catch (const EConvertError& E) {
    return E.what();
  }
  return "no error";
}

}  // namespace

// ---------------------------------------------------------------- classes

TEST(ClassRegistryTest, NamesParentsAndFactories) {
  TLog Log;
  TRecorder Owner(nullptr, "Owner", &Log);
  EXPECT_EQ(Owner.ClassName(), "TRecorder");

  EXPECT_EQ(TMetaClass::FindClass("TBox"), nullptr);  // known but never registered
  RegisterClass<TPersistent>();
  RegisterClass<TShape, TPersistent>();
  RegisterClass<TCircle, TShape>();
  RegisterClass<TComponent, TPersistent>();
  RegisterClass<TRecorder, TComponent>();
  EXPECT_EQ(TMetaClass::FindClass("tcircle"), ClassOf<TCircle>());
  EXPECT_TRUE(ClassOf<TCircle>()->InheritsFrom(ClassOf<TPersistent>()));
  EXPECT_EQ(ClassOf<TCircle>()->ClassParent(), ClassOf<TShape>());

  std::unique_ptr<TObject> Made(ClassOf<TCircle>()->CreateInstance());
  EXPECT_NE(dynamic_cast<TCircle*>(Made.get()), nullptr);
  TObject* Child = TMetaClass::FindClass("TRecorder")->CreateInstance(&Owner);
  EXPECT_EQ(Owner.GetComponentCount(), 1);
  EXPECT_EQ(Owner.GetComponent(0), Child);
  EXPECT_FALSE(ClassOf<TBox<int>>()->CanCreate());
  EXPECT_EQ(ClassOf<TBox<int>>()->CreateInstance(), nullptr);
}

TEST(PersistentTest, AssignErrorsNameBothClasses) {
  TCircle A;
  TCircle B;
  B.Radius = 3;
  A.Assign(&B);
  EXPECT_EQ(A.Radius, 3);
  TShape Shape;
  EXPECT_EQ(AssignError(A, &Shape), "Cannot assign a TShape to a TCircle");
  EXPECT_EQ(AssignError(A, nullptr), "Cannot assign a nil to a TCircle");
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
  try {
    A->InsertComponent(Owner);
    FAIL();
  } catch (const EInvalidOperation& E) {
    EXPECT_STREQ(E.what(), "A component cannot own itself or its owner");
  }
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

TEST(ComponentTest, OwnerDestroysItsComponentsLastFirst) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* A = new TRecorder(Owner, "A", &Log);
  new TRecorder(A, "A1", &Log);
  new TRecorder(Owner, "B", &Log);
  Log.clear();
  delete Owner;
  EXPECT_EQ(Log, (TLog{"~O", "~B", "~A", "~A1"}));
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

TEST(ComponentTest, WatchedComponentIsAnnouncedWhenItsOwnerGoes) {
  TLog Log;
  auto* Owner = new TRecorder(nullptr, "O", &Log);
  auto* C = new TRecorder(Owner, "C", &Log);
  TRecorder Watcher(nullptr, "W", &Log);
  Watcher.FreeNotification(C);
  Log.clear();
  delete Owner;
  // The owner's own override is gone by then; the watcher still hears.
  EXPECT_EQ(Log, (TLog{"~O", "~C", "W remove C dying"}));
}

TEST(ComponentTest, DesigningAndLoadingReachOwnedComponents) {
  TLog Log;
  TRecorder Owner(nullptr, "O", &Log);
  auto* A = new TRecorder(&Owner, "A", &Log);
  auto* A1 = new TRecorder(A, "A1", &Log);
  Owner.SetDesigning(true);
  EXPECT_TRUE(A1->GetComponentState().Contains(csDesigning));
  Owner.SetDesigning(false);
  EXPECT_TRUE((A1->GetComponentState() * TComponentState{csDesigning}).Empty());

  Owner.BeginLoading();
  EXPECT_TRUE(A1->GetComponentState().Contains(csLoading));
  Log.clear();
  Owner.EndLoading();
  EXPECT_EQ(Log, (TLog{"O loaded", "A loaded", "A1 loaded"}));
  EXPECT_FALSE(A1->GetComponentState().Contains(csLoading));
  Owner.EndLoading();  // not loading: Loaded isn't called again
  EXPECT_EQ(A->LoadedCalls, 1);
}

// ---------------------------------------------------------------- TStrings

namespace {

// The least concrete list: lines and objects in vectors, update calls logged.
class TLines : public TStrings {
public:
  int GetCount() const override { return static_cast<int>(FItems.size()); }
  std::string Get(int Index) const override { return FItems[Check(Index)].first; }
  TObject* GetObject(int Index) const override { return FItems[Check(Index)].second; }
  void PutObject(int Index, TObject* AObject) override { FItems[Check(Index)].second = AObject; }
  void Clear() override { FItems.clear(); }
  void Delete(int Index) override { FItems.erase(FItems.begin() + static_cast<std::ptrdiff_t>(Check(Index))); }
  void Insert(int Index, const std::string& S) override {
    if (Index < 0 || Index > GetCount()) ListError(SListIndexError, Index);
    FItems.insert(FItems.begin() + Index, {S, nullptr});
  }
  std::vector<bool> Updates;
  bool FailClosing = false;

protected:
  void SetUpdateState(bool Updating) override {
    Updates.push_back(Updating);
    if (!Updating && FailClosing) throw EListError("closing refused");
  }

private:
  std::size_t Check(int Index) const {
    if (Index < 0 || Index >= GetCount()) ListError(SListIndexError, Index);
    return static_cast<std::size_t>(Index);
  }
  std::vector<std::pair<std::string, TObject*>> FItems;
};

}  // namespace

TEST(StringsTest, TextRoundTripAndUpdateBrackets) {
  TLines L;
  L.SetText("a\r\nb\nc\rd");
  EXPECT_EQ(L.GetCount(), 4);
  EXPECT_EQ(L.GetText(), "a\r\nb\r\nc\r\nd\r\n");
  EXPECT_EQ(L.Updates, (std::vector<bool>{true, false}));
  L.SetText("\r\n\n");
  EXPECT_EQ(L.GetCount(), 2);
  EXPECT_EQ(L.Get(0), "");

  L.Updates.clear();
  L.BeginUpdate();
  L.BeginUpdate();
  L.Add("x");
  L.EndUpdate();
  EXPECT_EQ(L.GetUpdateCount(), 1);
  L.EndUpdate();
  L.EndUpdate();  // unbalanced: ignored
  EXPECT_EQ(L.Updates, (std::vector<bool>{true, false}));
  EXPECT_EQ(L.GetUpdateCount(), 0);

  // A bracket whose closing fails passes the error on, its count back at 0.
  TLines Source;
  Source.Add("y");
  L.FailClosing = true;
  std::string Message = "<no exception>";
  try {
    L.AddStrings(Source);
  } catch (const EListError& Error) {
    Message = Error.what();
  }
  EXPECT_EQ(Message, "closing refused");
  EXPECT_EQ(L.GetUpdateCount(), 0);
  EXPECT_EQ(L.Get(L.GetCount() - 1), "y");
}

TEST(StringsTest, EditingKeepsObjects) {
  TLines L;
  TObject X;
  TObject Y;
  EXPECT_EQ(L.AddObject("one", &X), 0);
  EXPECT_EQ(L.Add("Two"), 1);
  L.AddObject("three", &Y);
  L.Put(0, "uno");
  EXPECT_EQ(L.GetObject(0), &X);
  L.Exchange(0, 2);
  EXPECT_EQ(L.GetText(), "three\r\nTwo\r\nuno\r\n");
  EXPECT_EQ(L.GetObject(0), &Y);
  EXPECT_EQ(L.GetObject(2), &X);
  L.Move(2, 0);
  EXPECT_EQ(L.GetText(), "uno\r\nthree\r\nTwo\r\n");
  EXPECT_EQ(L.IndexOfObject(&X), 0);
  EXPECT_EQ(L.IndexOf("TWO"), 2);  // case-insensitive

  TLines Copy;
  Copy.Add("old");
  Copy.Assign(&L);
  EXPECT_TRUE(Copy.Equals(L));
  EXPECT_EQ(Copy.GetObject(0), &X);
  Copy.Put(2, "two");
  EXPECT_FALSE(Copy.Equals(L));  // lines compare exactly
  TLog Log;
  TRecorder Component(nullptr, "C", &Log);
  EXPECT_EQ(AssignError(Copy, &Component), "Cannot assign a TRecorder to a TLines");
}

TEST(StringsTest, NameValueLines) {
  TLines L;
  L.SetText("Alpha=1\nplain\nBeta=x=y\n=empty");
  EXPECT_EQ(L.IndexOfName("beta"), 2);
  EXPECT_EQ(L.GetValue("BETA"), "x=y");
  EXPECT_EQ(L.GetValue("plain"), "");
  L.SetValue("alpha", "2");
  EXPECT_EQ(L.Get(0), "alpha=2");
  L.SetValue("Gamma", "3");
  EXPECT_EQ(L.Get(4), "Gamma=3");
  L.SetValue("Beta", "");
  EXPECT_EQ(L.GetText(), "alpha=2\r\nplain\r\n=empty\r\nGamma=3\r\n");
}

// ---------------------------------------------------------------- sets, references, locks

namespace {
enum TColor : std::uint8_t { clRed, clGreen, clBlue, clBlack, clWhite = 63 };
using TColors = TSet<TColor>;
}  // namespace

TEST(SetTest, Operations) {
  constexpr TColors Warm{clRed};
  constexpr TColors Prime{clRed, clGreen, clBlue};
  static_assert(Prime.Contains(clGreen) && !Prime.Contains(clBlack));
  static_assert(TColors::Range(clRed, clBlue) == Prime);
  // The top bit of the word is a member like any other.
  EXPECT_EQ((Warm + TColors{clWhite}).Bits(), (std::uint64_t{1} << 63) | 1u);
  TColors S;
  S.Include(clWhite).Include(clBlack).Exclude(clBlack);
  EXPECT_EQ(S, TColors{clWhite});
}

namespace {

int Alive = 0;

class TNode : public TRefCounted {
public:
  TNode() { ++Alive; }
  ~TNode() override { --Alive; }
};
class TLeaf : public TNode {};
class TOther : public TRefCounted {};

}  // namespace

TEST(RefTest, CountsAndReleasesOnce) {
  {
    Ref<TNode> A = MakeRef<TLeaf>();
    EXPECT_EQ(A->GetRefCount(), 1);
    Ref<TNode> B = A;
    EXPECT_EQ(A->GetRefCount(), 2);
    Ref<TNode> C = std::move(B);
    EXPECT_FALSE(B);
    EXPECT_EQ(A->GetRefCount(), 2);
    C = A;  // same object: the count holds
    EXPECT_EQ(A->GetRefCount(), 2);

    Ref<TLeaf> Leaf = A.As<TLeaf>();
    EXPECT_EQ(A->GetRefCount(), 3);
    EXPECT_TRUE(SameObject(A, Leaf));

    TNode* Raw = Ref<TNode>(A).detach();  // keeps the reference it had
    EXPECT_EQ(A->GetRefCount(), 4);
    Raw->_Release();
    EXPECT_EQ(Alive, 1);
  }
  EXPECT_EQ(Alive, 0);
}
