#include "cogent/common/VXInterfaceList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../TestErrors.h"

using namespace cogent;
using cogent::test::ErrorOf;

namespace {

class TItem : public TRefCounted {
public:
  explicit TItem(int AValue, int* ALive = nullptr) : FValue(AValue), FLive(ALive) {
    if (FLive) ++*FLive;
  }
  ~TItem() override {
    if (FLive) --*FLive;
  }
  int FValue;
  int* FLive;
};
using IItem = Ref<TItem>;

// Records every notification as "+v", "-v", "xv" ("nil" for nil items) and
// the count the list had when it was told.
class TLoggingList : public TInterfaceListPersistent<TItem> {
public:
  std::vector<std::string> Log;

protected:
  void Notify(const IItem& Item, TListNotification Action) override {
    static const char* Marks[] = {"+", "x", "-"};
    Log.push_back(Marks[Action] + (Item ? std::to_string(Item->FValue) : std::string("nil")) + "@" +
                  std::to_string(GetCount()));
  }
};

// The items' values in order, "nil" for nil items.
std::string ValuesOf(const TInterfaceListPersistent<TItem>& List) {
  std::string Result;
  for (const IItem& Item : List) Result += (Item ? std::to_string(Item->FValue) : std::string("nil")) + " ";
  return Result;
}

}  // namespace

TEST(VXInterfaceList, IdentityDecidesIndexOfAndRemove) {
  TLoggingList List;
  const IItem A = MakeRef<TItem>(7);
  const IItem B = MakeRef<TItem>(7);  // equal value, other object
  List.Add(A);
  List.Add(nullptr);
  List.Add(B);
  EXPECT_EQ(List.IndexOf(A), 0);
  EXPECT_EQ(List.Remove(A), 0);
  EXPECT_EQ(List.Remove(A), -1);
  EXPECT_EQ(List.IndexOf(B), 1);
  List.Clear();
  EXPECT_EQ(List.Last(), nullptr);
}

TEST(VXInterfaceList, NotifyFollowsEachChange) {
  TLoggingList List;
  List.Add(MakeRef<TItem>(1));
  List.Insert(0, MakeRef<TItem>(0));
  List.Put(1, MakeRef<TItem>(5));
  List.Insert(2, nullptr);  // at the count: appends
  EXPECT_EQ(ErrorOf<EListError>([&] { List.Get(3); }), "List index out of bounds (3)");
  const IItem Taken = List.Extract(0);
  List.Delete(1);
  List.Add(MakeRef<TItem>(9));
  List.Clear();
  EXPECT_EQ(Taken->FValue, 0);
  EXPECT_EQ(List.Log, (std::vector<std::string>{"+1@1", "+0@2", "-1@2", "+5@2", "+nil@3", "x0@2", "-nil@1", "+9@2",
                                                 "-5@0", "-9@0"}));
}

TEST(VXInterfaceList, ItemsAreReleasedWithTheList) {
  int Live = 0;
  {
    auto List = MakeRef<TInterfaceListPersistent<TItem>>();
    for (int I = 0; I < 5; ++I) List->Add(MakeRef<TItem>(I, &Live));
    const IItem Kept = List->Get(3);
    EXPECT_EQ(Kept->GetRefCount(), 2);
    EXPECT_EQ(List->GetRef(3)->GetRefCount(), 2);  // no copy through GetRef
    List->Delete(0);
    EXPECT_EQ(Live, 4);
    List.reset();
    EXPECT_EQ(Live, 1);
    EXPECT_EQ(Kept->FValue, 3);
  }
  EXPECT_EQ(Live, 0);
}

TEST(VXInterfaceList, SortIsStableAndSafe) {
  TInterfaceListPersistent<TItem> List;
  for (int V : {3, 1, 2, 1, 3}) List.Add(MakeRef<TItem>(V));
  const IItem FirstOne = List.Get(1);
  const IItem SecondOne = List.Get(3);
  List.Sort([](const IItem& A, const IItem& B) { return A->FValue - B->FValue; });
  EXPECT_EQ(ValuesOf(List), "1 1 2 3 3 ");
  EXPECT_TRUE(SameObject(List.Get(0), FirstOne));
  EXPECT_TRUE(SameObject(List.Get(1), SecondOne));

  // A comparer that raises leaves every item in place.
  int Calls = 0;
  EXPECT_THROW(List.Sort([&Calls](const IItem&, const IItem&) -> int {
    if (++Calls == 3) throw EVXException("stop");
    return 1;
  }),
               EVXException);
  EXPECT_EQ(ValuesOf(List), "1 1 2 3 3 ");
}

TEST(VXInterfaceList, AssignCopiesTheSameItems) {
  TInterfaceListPersistent<TItem> Source;
  Source.Add(MakeRef<TItem>(1));
  Source.Add(nullptr);
  TLoggingList Target;
  Target.Add(MakeRef<TItem>(9));
  Target.Log.clear();
  Target.Assign(&Source);
  EXPECT_EQ(ValuesOf(Target), "1 nil ");
  EXPECT_TRUE(SameObject(Target.Get(0), Source.Get(0)));
  EXPECT_EQ(Target.Log, (std::vector<std::string>{"-9@0", "+1@1", "+nil@2"}));

  TInterfaceListPersistent<TRefCounted> Other;
  EXPECT_THROW(Target.Assign(&Other), EConvertError);
  EXPECT_EQ(ValuesOf(Target), "1 nil ");
}

TEST(VXInterfaceList, IteratorQueueAndStack) {
  TInterfaceListPersistent<TItem> List;
  TIQueue Queue;
  TIStack Stack;
  for (int V : {4, 5}) {
    List.Add(MakeRef<TItem>(V));
    Queue.Push(List.Last());
    Stack.Push(List.Last());
  }
  auto It = MakeRef<TInterfaceListIterator<TItem>>(&List);
  std::string Seen;
  while (It->HasMoreElements()) Seen += std::to_string(It->NextElement()->FValue);
  It->Reset();
  EXPECT_EQ(Seen + std::to_string(It->NextElement()->FValue), "454");
  EXPECT_TRUE(SameObject(Queue.Pop(), List.Get(0)));
  EXPECT_TRUE(SameObject(Stack.Pop(), List.Get(1)));
  Stack.Pop();
  EXPECT_EQ(ErrorOf<EListError>([&] { Stack.Pop(); }), "Unbalanced stack or queue operation");
}
