// TFactSets: the ordered fact sets of one module. The sets are components of
// their owners; the list only refers to them and never frees one.

#include <algorithm>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBFacts.h"

namespace cogent {

namespace {

[[noreturn]] void FactSetIndexError(int Index) { throw EListError(Format(SListIndexError, Index)); }

}  // namespace

TFactSets::TFactSets(TInferenceEngine* AEngine, TModule* AModule) : TKBEngineBound(AEngine, AModule) {}

TFactSets::~TFactSets() {
  // A module silences the list before freeing it, and its sets keep their
  // engine; a list freed while still bound lets its sets go.
  std::vector<TFactSet*> Items;
  Items.swap(FItems);
  if (!FEngine) return;
  for (TFactSet* FactSet : Items)
    if (FactSet->GetEngine() == FEngine) FactSet->SetEngineNoParse(nullptr);
}

void TFactSets::Entered(TFactSet* FactSet) {
  if (FEngine && FactSet->GetEngine() != FEngine) FactSet->SetEngineNoParse(FEngine);
}

void TFactSets::Left(TFactSet* FactSet) {
  // A set that is still in the list under another index keeps its engine.
  if (FEngine && FactSet->GetEngine() == FEngine && IndexOf(FactSet) < 0) FactSet->SetEngineNoParse(nullptr);
}

int TFactSets::Add(TFactSet* FactSet) {
  if (!FactSet) return -1;
  const int Present = IndexOf(FactSet);
  if (Present >= 0) return Present;
  const int Named = IndexOf(FactSet->GetFactSetName());
  if (Named >= 0) {
    // The one it replaces leaves first, so that it takes nothing with it.
    TFactSet* Old = FItems[static_cast<std::size_t>(Named)];
    FItems.erase(FItems.begin() + Named);
    Left(Old);
  }
  Entered(FactSet);
  FItems.push_back(FactSet);
  return GetCount() - 1;
}

void TFactSets::Insert(int Index, TFactSet* FactSet) {
  if (Index < 0 || Index > GetCount()) FactSetIndexError(Index);
  if (!FactSet) return;
  Entered(FactSet);
  FItems.insert(FItems.begin() + Index, FactSet);
}

int TFactSets::Remove(TFactSet* FactSet) {
  const int Index = IndexOf(FactSet);
  if (Index >= 0) Delete(Index);
  return Index;
}

void TFactSets::Delete(int Index) {
  if (Index < 0 || Index >= GetCount()) FactSetIndexError(Index);
  TFactSet* FactSet = FItems[static_cast<std::size_t>(Index)];
  FItems.erase(FItems.begin() + Index);
  Left(FactSet);
}

void TFactSets::Extract(TFactSet* FactSet) {
  // Every occurrence: a set on its way out must leave no entry behind.
  FItems.erase(std::remove(FItems.begin(), FItems.end(), FactSet), FItems.end());
}

int TFactSets::IndexOf(const TFactSet* FactSet) const {
  if (!FactSet) return -1;
  const auto It = std::find(FItems.begin(), FItems.end(), FactSet);
  return It == FItems.end() ? -1 : static_cast<int>(It - FItems.begin());
}

int TFactSets::IndexOf(const TKBName& Name) const {
  for (std::size_t I = 0; I < FItems.size(); ++I)
    if (FItems[I]->GetFactSetName() == Name) return static_cast<int>(I);
  return -1;
}

TFactSet* TFactSets::GetItem(int Index) const {
  if (Index < 0 || Index >= GetCount()) FactSetIndexError(Index);
  return FItems[static_cast<std::size_t>(Index)];
}

void TFactSets::SetItem(int Index, TFactSet* FactSet) {
  if (Index < 0 || Index >= GetCount()) FactSetIndexError(Index);
  TFactSet* Old = FItems[static_cast<std::size_t>(Index)];
  if (Old == FactSet) return;
  if (!FactSet) {
    Delete(Index);
    return;
  }
  Entered(FactSet);
  FItems[static_cast<std::size_t>(Index)] = FactSet;
  Left(Old);
}

void TFactSets::Clear() {
  std::vector<TFactSet*> Items;
  Items.swap(FItems);
  for (TFactSet* FactSet : Items) Left(FactSet);
}

std::string TFactSets::ToString() const {
  std::string Result;
  for (const TFactSet* FactSet : FItems) Result += FactSet->ToString() + sLineBreak;
  return Result;
}

}  // namespace cogent
