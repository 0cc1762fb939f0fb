#include "cogent/common/VXNexus.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace cogent;

namespace {

struct TEvent {
  TComponent* Component;
  TOperation Operation;
};

class TProbeItem : public TGCollectionItem {
public:
  using TGCollectionItem::TGCollectionItem;
  std::vector<TComponent*> FRemoved;

protected:
  void ComponentRemoved(TComponent* AComponent) override { FRemoved.push_back(AComponent); }
};

}  // namespace

TEST(VXNexus, RelaysRemovalOfWatchedComponents) {
  std::vector<TEvent> Events;
  auto Record = [&Events](TComponent* C, TOperation Op) { Events.push_back({C, Op}); };
  TComponentNexus Nexus(Record);
  auto* Watched = new TComponent(nullptr);
  auto* Other = new TComponent(nullptr);
  Nexus.Watch(Watched);
  Nexus.Watch(Other);
  Nexus.Watch(nullptr);
  Nexus.Unwatch(Other);
  delete Other;
  EXPECT_TRUE(Events.empty());
  delete Watched;
  ASSERT_EQ(Events.size(), 1u);
  EXPECT_EQ(Events[0].Component, Watched);
  EXPECT_EQ(Events[0].Operation, opRemove);

  // An owner's component reaches the nexus as well when the nexus is owned.
  Events.clear();
  {
    TComponent Owner(nullptr);
    auto* Relay = new TComponentNexus(Record, &Owner);
    auto* Child = new TComponent(nullptr);
    Relay->Watch(Child);
    delete Child;
    ASSERT_EQ(Events.size(), 1u);
    EXPECT_EQ(Events[0].Component, Child);
  }
  // The nexus went with its owner and told nobody of its own teardown.
  EXPECT_EQ(Events.size(), 1u);

  // The watcher may go first.
  auto* Outliving = new TComponent(nullptr);
  {
    TComponentNexus Gone(Record);
    Gone.Watch(Outliving);
  }
  delete Outliving;  // must not reach the freed nexus
  EXPECT_EQ(Events.size(), 1u);
}

TEST(VXNexus, CollectionItemAndComponentForgetEachOther) {
  auto* A = new TComponent(nullptr);
  auto* B = new TComponent(nullptr);
  TProbeItem Item(A);
  EXPECT_EQ(Item.GetComponent(), A);
  Item.SetComponent(B);
  delete A;  // no longer watched
  EXPECT_TRUE(Item.FRemoved.empty());
  EXPECT_EQ(Item.GetComponent(), B);

  TProbeItem Copy;
  Copy.Assign(&Item);
  EXPECT_EQ(Copy.GetComponent(), B);
  delete B;
  EXPECT_EQ(Item.GetComponent(), nullptr);
  EXPECT_EQ(Copy.GetComponent(), nullptr);
  EXPECT_EQ(Item.FRemoved, (std::vector<TComponent*>{B}));

  auto* C = new TComponent(nullptr);
  {
    TProbeItem Gone(C);
  }
  delete C;  // the item went first; nothing may reach it
}
