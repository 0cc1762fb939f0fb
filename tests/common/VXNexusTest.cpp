#include "cogent/common/VXNexus.h"

#include <gtest/gtest.h>

#include <vector>

using namespace cogent;

namespace {

struct TEvent {
  TComponent* Component;
  TOperation Operation;
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
