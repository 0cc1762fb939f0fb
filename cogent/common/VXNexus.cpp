#include "cogent/common/VXNexus.h"

namespace cogent {

// ---------------------------------------------------------------- TComponentNexus

TComponentNexus::TComponentNexus(THandler AHandler, TComponent* AOwner)
    : TComponent(AOwner), FHandler(std::move(AHandler)) {}

TComponentNexus::~TComponentNexus() {
  // Nobody hears the teardown.
  FHandler = nullptr;
  Destroying();
}

void TComponentNexus::Watch(TComponent* AComponent) {
  if (AComponent != nullptr) AComponent->FreeNotification(this);
}

void TComponentNexus::Unwatch(TComponent* AComponent) {
  if (AComponent != nullptr) AComponent->RemoveFreeNotification(this);
}

void TComponentNexus::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (FHandler) FHandler(AComponent, Operation);
}

// ---------------------------------------------------------------- TGCollectionItem

TGCollectionItem::TGCollectionItem(TComponent* AComponent)
    : FNexus(std::make_unique<TComponentNexus>(
          [this](TComponent* C, TOperation Operation) { Notification(C, Operation); })) {
  SetComponent(AComponent);
}

TGCollectionItem::~TGCollectionItem() {
  FNexus->SetHandler(nullptr);
  FNexus->Unwatch(FComponent);
}

void TGCollectionItem::SetComponent(TComponent* Value) {
  if (Value == FComponent) return;
  FNexus->Unwatch(FComponent);
  FComponent = Value;
  FNexus->Watch(FComponent);
}

void TGCollectionItem::Assign(TPersistent* Source) {
  if (auto* Item = dynamic_cast<TGCollectionItem*>(Source)) {
    SetComponent(Item->FComponent);
    return;
  }
  TPersistent::Assign(Source);
}

void TGCollectionItem::ComponentRemoved(TComponent*) {}

void TGCollectionItem::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation == opRemove && AComponent != nullptr && AComponent == FComponent) {
    FComponent = nullptr;
    ComponentRemoved(AComponent);
  }
}

}  // namespace cogent
