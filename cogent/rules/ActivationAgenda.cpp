#include "cogent/rules/ActivationAgenda.h"

#include <iterator>

namespace cogent {

TActivation* TKBAgenda::GetActivation(int Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
  return *std::next(FItems.begin(), Index);
}

int TKBAgenda::IndexOfData(const TActivation* Activation) const noexcept {
  const auto Place = FPlaces.find(Activation);
  return Place == FPlaces.end() ? -1 : static_cast<int>(std::distance(FItems.cbegin(), std::list<TActivation*>::const_iterator(Place->second)));
}

int TKBAgenda::Add(TActivation* Activation) {
  if (!Activation || Contains(Activation)) return IndexOfData(Activation);
  FPlaces.emplace(Activation, FItems.insert(FItems.end(), Activation));
  return GetCount() - 1;
}

TActivation* TKBAgenda::Extract(int Index) { return Extract(GetActivation(Index)); }

TActivation* TKBAgenda::Extract(const TActivation* Activation) {
  const auto Place = FPlaces.find(Activation);
  if (Place == FPlaces.end()) return nullptr;
  TActivation* Result = *Place->second;
  FItems.erase(Place->second);
  FPlaces.erase(Place);
  return Result;
}

void TKBAgenda::Delete(int Index) { delete Extract(Index); }

void TKBAgenda::Clear() {
  std::list<TActivation*> Items;
  Items.swap(FItems);
  FPlaces.clear();
  for (TActivation* Activation : Items) delete Activation;
}

}  // namespace cogent
