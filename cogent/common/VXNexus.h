#pragma once
// Free notification for objects that are no components: a small component
// hears the removal of the components it watches and passes it on.

#include <functional>
#include <memory>

#include "cogent/common/VXCommon.h"

namespace cogent {

// Relays every Notification it receives to its handler. Its holder watches
// a component with Watch (the component's FreeNotification) and frees the
// nexus when the holder goes, which ends the watching on both sides.
class TComponentNexus : public TComponent {
public:
  using THandler = std::function<void(TComponent* AComponent, TOperation Operation)>;

  explicit TComponentNexus(THandler AHandler, TComponent* AOwner = nullptr);
  ~TComponentNexus() override;

  void SetHandler(THandler Value) { FHandler = std::move(Value); }
  // Tell the nexus when AComponent goes; nil is ignored.
  void Watch(TComponent* AComponent);
  void Unwatch(TComponent* AComponent);

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  THandler FHandler;
};

// A reference from a persistent item to a component, kept true in both
// directions: when the component goes the item forgets it (and hears it in
// ComponentRemoved), and when the item goes the component no longer tells it.
class TGCollectionItem : public TPersistent {
public:
  explicit TGCollectionItem(TComponent* AComponent = nullptr);
  ~TGCollectionItem() override;
  TGCollectionItem(const TGCollectionItem&) = delete;
  TGCollectionItem& operator=(const TGCollectionItem&) = delete;

  TComponent* GetComponent() const noexcept { return FComponent; }
  void SetComponent(TComponent* Value);
  // From another item: the same component.
  void Assign(TPersistent* Source) override;

protected:
  // Called after the item has forgotten AComponent.
  virtual void ComponentRemoved(TComponent* AComponent);

private:
  void Notification(TComponent* AComponent, TOperation Operation);

  TComponent* FComponent = nullptr;
  std::unique_ptr<TComponentNexus> FNexus;
};

}  // namespace cogent
