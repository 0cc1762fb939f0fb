#include "cogent/rules/ActivationAgenda.h"

#include <algorithm>
#include <limits>

#include "cogent/foundation/KBInterfaces.h"

namespace cogent {

namespace {
// Room between the keys of neighbours as they are numbered, so that many
// entries fit in between before the next numbering.
constexpr std::int64_t OrderGap = std::int64_t{1} << 20;
constexpr std::int64_t OrderLimit = std::numeric_limits<std::int64_t>::max() / 2;
}  // namespace

// ================================================================ TActivationAgenda

TActivationAgenda::~TActivationAgenda() {
  FOnChange = nullptr;
  FOnChanging = nullptr;
  TActivationAgenda::DoClear();
}

int TActivationAgenda::Add(TActivation* Activation) {
  const int At = FindInsertion(Activation);
  const int Index = At < 0 || At > FCount ? FCount : At;
  InsertItem(Index, Activation ? Activation->ToString() : std::string(), nullptr, Activation);
  return Index;
}

TActivation* TActivationAgenda::Extract(int Index) {
  TActivation* Result = GetActivations(Index);
  const bool FreeData = FFreeData;
  FFreeData = false;
  const TFinally Restore([this, FreeData] { FFreeData = FreeData; });
  Delete(Index);
  return Result;
}

int TActivationAgenda::IndexOfData(const TActivation* Activation) const {
  const auto Key = FKeys.find(Activation);
  if (Key == FKeys.end()) return -1;
  const auto Place = std::lower_bound(FOrder.begin(), FOrder.end(), Key->second);
  const auto Index = static_cast<int>(Place - FOrder.begin());
  if (Place != FOrder.end() && *Place == Key->second && FList[Index].FData == Activation) return Index;
  // The keys can only be wrong when the data was changed behind the agenda's back.
  for (int I = 0; I < FCount; ++I)
    if (FList[I].FData == Activation) return I;
  return -1;
}

void TActivationAgenda::SetActivations(int Index, TActivation* Value) {
  const TActivation* Old = GetActivations(Index);
  PutData(Index, Value);
  if (const auto Key = FKeys.find(Old); Key != FKeys.end() && Key->second == FOrder[Index]) FKeys.erase(Key);
  if (Value) FKeys[Value] = FOrder[Index];
}

void TActivationAgenda::Assign(TPersistent* Source) {
  TStringList<TActivation*>::Assign(Source);
  Renumber();
}

void TActivationAgenda::Exchange(int Index1, int Index2) {
  TStringList<TActivation*>::Exchange(Index1, Index2);
  Renumber();
}

void TActivationAgenda::Move(int CurIndex, int NewIndex) {
  TStringList<TActivation*>::Move(CurIndex, NewIndex);
  Renumber();
}

void TActivationAgenda::CustomSort(const TStringListSortCompare& Compare) {
  TStringList<TActivation*>::CustomSort(Compare);
  Renumber();
}

int TActivationAgenda::FindInsertion(TActivation* Activation) {
  (void)Activation;
  return -1;
}

void TActivationAgenda::DoClear() {
  std::vector<TActivation*> Owned;
  if (FFreeData) {
    Owned.reserve(static_cast<std::size_t>(FCount));
    for (int I = 0; I < FCount; ++I) Owned.push_back(FList[I].FData);
  }
  FOrder.clear();
  FKeys.clear();
  TStringList<TActivation*>::DoClear();
  // Each activation's destructor reaches back into its node and the engine:
  // the list is final by then.
  for (TActivation* Activation : Owned) delete Activation;
}

void TActivationAgenda::DoDelete(int Index) {
  TActivation* Activation = FList[Index].FData;
  if (const auto Key = FKeys.find(Activation); Key != FKeys.end() && Key->second == FOrder[Index]) FKeys.erase(Key);
  FOrder.erase(FOrder.begin() + Index);
  TStringList<TActivation*>::DoDelete(Index);
  if (FFreeData) delete Activation;
}

void TActivationAgenda::InsertItem(int Index, const std::string& S, TObject* AObject, TActivation* const& Data) {
  auto KeyAt = [this](int At) -> std::int64_t {
    const bool HasLow = At > 0;
    const bool HasHigh = At < static_cast<int>(FOrder.size());
    if (!HasLow && !HasHigh) return 0;
    if (!HasLow) return FOrder[At] - OrderGap;
    if (!HasHigh) return FOrder[At - 1] + OrderGap;
    return FOrder[At - 1] + (FOrder[At] - FOrder[At - 1]) / 2;
  };
  std::int64_t Key = KeyAt(Index);
  const bool Taken = (Index > 0 && Key == FOrder[Index - 1]) ||
                     (Index < static_cast<int>(FOrder.size()) && Key == FOrder[Index]);
  if (Taken || Key > OrderLimit || Key < -OrderLimit) {
    Renumber();
    Key = KeyAt(Index);
  }
  FOrder.insert(FOrder.begin() + Index, Key);
  try {
    TStringList<TActivation*>::InsertItem(Index, S, AObject, Data);
  } catch (...) {
    FOrder.erase(FOrder.begin() + Index);
    throw;
  }
  if (Data) FKeys[Data] = Key;
}

void TActivationAgenda::Renumber() {
  FOrder.resize(static_cast<std::size_t>(FCount));
  FKeys.clear();
  for (int I = 0; I < FCount; ++I) {
    FOrder[I] = I * OrderGap;
    if (FList[I].FData) FKeys[FList[I].FData] = FOrder[I];
  }
}

// ================================================================ TKBAgenda

int TKBAgenda::FindInsertion(TActivation* Activation) {
  if (GetCount() == 0 || !FEngine || !Activation) return -1;
  const IReteRule* Rule = Activation->GetRule();
  return FEngine->SearchSalience(Rule ? Rule->GetSalience() : 0);
}

}  // namespace cogent
