// TFacts: the facts of one module, kept in ascending id order, with the
// caches that find a fact by its content without scanning working memory.

#include <algorithm>
#include <bit>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/host/Guards.h"

namespace cogent {

namespace {
// Below this many facts a scan beats a binary search.
constexpr int BinarySearchThreshold = 5;

// The module a fact's template calls home.
const TModule* HomeOf(const IFact& Fact) {
  const TFactTemplate* Template = Fact ? Fact->GetTemplate().get() : nullptr;
  return Template ? Template->GetModuleObject() : nullptr;
}
}  // namespace

TFacts::TFacts(TInferenceEngine* AEngine, TModule* AModule) : TKBEngineBound(AEngine, AModule) {
  SetCacheHashCodes(true);
}

TFacts::~TFacts() = default;

// ---------------------------------------------------------------- hash index

std::size_t TFactHashIndex::Home(std::int32_t Hash) const noexcept {
  // The cache line from the high bits of a Fibonacci product of the code's
  // upper bits, which scatters the lines; the place in the line from the
  // code's low bits, every Lanes-th entry, and a lane from the product. Facts
  // numbered in sequence, which differ in those low bits alone, then share a
  // line, and asserting them reads a line per Block facts rather than a
  // distant entry per fact, as the join memories do for integer keys. A run
  // leaves the other lane free for a run that lands on the same line: runs
  // that filled whole lines would pile up into long clusters to probe.
  constexpr std::size_t Line = 64 / sizeof(TEntry);
  constexpr std::size_t Block = std::size_t{1} << TFact::NeighbourBits;
  constexpr std::size_t Lanes = Line / Block;
  const auto Code = static_cast<std::uint32_t>(Hash);
  const auto Scattered = static_cast<std::size_t>(
      (static_cast<std::uint64_t>(Code >> TFact::NeighbourBits) * 0x9E3779B97F4A7C15ULL) >> FShift);
  return (Scattered & FMask & ~(Line - 1)) | (Code & (Block - 1)) * Lanes | (Scattered & (Lanes - 1));
}

std::int32_t TFactHashIndex::HashOf(TEntry Entry) noexcept { return FactOf(Entry)->GetLastHashCode(); }

void TFactHashIndex::Clear() noexcept {
  FEntries.reset();
  FMask = FCount = 0;
  FShift = 64;
}

void TFactHashIndex::Resize(std::size_t Count) {
  // At most half full.
  const std::size_t Capacity = std::bit_ceil(std::max<std::size_t>(16, Count * 2));
  const std::size_t Bytes = Capacity * sizeof(TEntry);
  FEntries = std::unique_ptr<TEntry[], TFreeLargeTable>(static_cast<TEntry*>(pool::AllocateLargeZeroed(Bytes)),
                                                        TFreeLargeTable{Bytes});
  FMask = Capacity - 1;
  FShift = 64 - std::countr_zero(Capacity);
  FCount = 0;
}

void TFactHashIndex::Place(TEntry Entry, std::int32_t Hash) noexcept {
  std::size_t I = Home(Hash);
  while (FEntries[I]) I = (I + 1) & FMask;
  FEntries[I] = Entry;
  ++FCount;
}

void TFactHashIndex::Rebuild(const IFact* Facts, std::size_t Count) {
  Resize(Count);
  // From the list rather than from the old table: the facts come in the order
  // they were made, which is mostly their order in memory.
  for (std::size_t I = 0; I < Count; ++I)
    if (TFact* Fact = Facts[I].get()) {
      const std::int32_t Hash = Fact->GetHashCode();
      Place(EntryOf(Hash, Fact), Hash);
    }
}

bool TFactHashIndex::Add(std::int32_t Hash, TFact* Fact) {
  if (!FEntries || (FCount + 1) * 2 > FMask + 1) return false;
  Place(EntryOf(Hash, Fact), Hash);
  return true;
}

void TFactHashIndex::Erase(std::size_t Index) noexcept {
  // The entries after the hole that may sit there move up into it, so that
  // no removed entry is left behind: a probe still ends at the first empty
  // entry, and churn at a steady count never rebuilds the table (a rebuild
  // would take a second table's worth of fresh pages).
  std::size_t Hole = Index;
  for (std::size_t I = (Hole + 1) & FMask; FEntries[I]; I = (I + 1) & FMask) {
    const std::size_t FromHome = (I - Home(HashOf(FEntries[I]))) & FMask;
    if (FromHome >= ((I - Hole) & FMask)) {
      FEntries[Hole] = FEntries[I];
      Hole = I;
    }
  }
  FEntries[Hole] = 0;
  --FCount;
}

bool TFactHashIndex::Remove(std::int32_t Hash, const TFact* Fact) noexcept {
  if (!FEntries) return false;
  for (std::size_t I = Home(Hash);; I = (I + 1) & FMask) {
    if (!FEntries[I]) return false;
    if (FactOf(FEntries[I]) == Fact) {
      Erase(I);
      return true;
    }
  }
}

bool TFactHashIndex::RemoveAnywhere(const TFact* Fact) noexcept {
  for (std::size_t I = 0; FEntries && I <= FMask; ++I)
    if (FEntries[I] && FactOf(FEntries[I]) == Fact) {
      Erase(I);
      return true;
    }
  return false;
}

// ---------------------------------------------------------------- caches

void TFacts::CreateCache() { FCache.Rebuild(Items().data(), Items().size()); }

void TFacts::FreeCache() { FCache.Clear(); }

void TFacts::SetCacheHashCodes(bool Value) {
  if (Value == FCacheHashCodes) return;
  FCacheHashCodes = Value;
  if (Value)
    CreateCache();
  else
    FreeCache();
}

void TFacts::CacheAdd(const IFact& Fact) {
  // The list holds the fact already: an index that is full is made anew from it.
  if (FCacheHashCodes && Fact && !FCache.Add(Fact->GetHashCode(), Fact.get())) CreateCache();
}

void TFacts::CacheRemove(const IFact& Fact) {
  if (!FCacheHashCodes || !Fact) return;
  // Filed under the hash last worked out; where that moved since, found the long way.
  if (!FCache.Remove(Fact->GetLastHashCode(), Fact.get())) FCache.RemoveAnywhere(Fact.get());
}

// ---------------------------------------------------------------- list work

int TFacts::ListAdd(const IFact& Item) {
  const int Index = AddSilently(Item);
  CacheAdd(Item);
  return Index;
}

void TFacts::ListDelete(int Index) {
  const IFact Fact = Get(Index);
  CacheRemove(Fact);
  TFactList::Delete(Index);
}

int TFacts::Add(const IFact& Item) {
  if (FUpdating || !FEngine) return ListAdd(Item);
  // From outside the list is a door to working memory.
  if (FPreserveIDs && Item && Item->GetID() != -1 && FindFact(Item->GetID()) < 0) {
    const std::int32_t Saved = FEngine->FFactIdCounter;
    FEngine->FFactIdCounter = Item->GetID();
    try {
      FEngine->Assert(Item, false);
    } catch (...) {
      FEngine->FFactIdCounter = std::max(Saved, FEngine->FFactIdCounter);
      throw;
    }
    FMaxID = std::max(FMaxID, Item->GetID());
    FEngine->FFactIdCounter = std::max(Saved, FMaxID + 1);
  } else {
    FEngine->Assert(Item, false);
    if (Item) FMaxID = std::max(FMaxID, Item->GetID());
  }
  return GetCount() - 1;
}

void TFacts::Insert(int Index, const IFact& Item) {
  if (FUpdating || !FEngine) {
    TFactList::Insert(Index, Item);
    CacheAdd(Item);
    return;
  }
  CheckIndex(Index, GetCount() + 1);
  FEngine->Assert(Item, false);
  const int Current = IndexOf(Item);
  if (Current < 0) return;
  FUpdating = true;
  TFactList::Delete(Current);
  TFactList::Insert(std::min(Index, GetCount()), Item);
  FUpdating = false;
}

void TFacts::Delete(int Index) {
  if (!FUpdating && FEngine) {
    FEngine->RetractFact(Index);
    return;
  }
  ListDelete(Index);
}

int TFacts::Remove(const IInterface& Item) {
  const IFact Fact = Item.As<TFact>();
  if (!Fact) return -1;
  const int Index = IndexOf(Fact);
  if (Index < 0) return -1;
  if (!FUpdating && FEngine)
    FEngine->RetractFact(Index);
  else
    ListDelete(Index);
  return Index;
}

void TFacts::Clear() {
  FCache.Clear();
  TFactList::Clear();
  FMaxID = 0;
  if (FEngine) FEngine->RetractFacts();
}

void TFacts::Clear(TConstructScope Scope) {
  for (int I = GetCount() - 1; I >= 0; --I) {
    const IFact Fact = Get(I);
    const bool Local = HomeOf(Fact) == FModule;
    if ((Scope == csImported && Local) || (Scope == csLocal && !Local)) continue;
    if (FEngine)
      FEngine->RemoveFactFromModule(I, Fact, nullptr);
    else
      ListDelete(I);
  }
}

// ---------------------------------------------------------------- lookup

int TFacts::IndexOf(const IFact& Item) const {
  if (!Item) return -1;
  const std::int32_t Id = Item->GetID();
  if (GetCount() < BinarySearchThreshold || Id == -1)
    return TFactList::IndexOf(Item);
  return FindFact(Id);
}

int TFacts::FindFact(std::int32_t FactId) const {
  const auto& List = Items();
  if (GetCount() < BinarySearchThreshold) {
    for (std::size_t I = 0; I < List.size(); ++I)
      if (List[I] && List[I]->GetID() == FactId) return static_cast<int>(I);
    return -1;
  }
  const auto It = std::lower_bound(List.begin(), List.end(), FactId, [](const IFact& Fact, std::int32_t Id) {
    return (Fact ? Fact->GetID() : -1) < Id;
  });
  if (It == List.end() || !*It || (*It)->GetID() != FactId) return -1;
  return static_cast<int>(It - List.begin());
}

int TFacts::FindFact(const IFact& AFact) const {
  if (!AFact) return -1;
  if (!FPreserveIDs && FCacheHashCodes) {
    const TFact* Found = nullptr;
    FCache.ForEach(AFact->GetHashCode(), [&](TFact* Candidate) {
      if ((!Found || Candidate->GetID() < Found->GetID()) && AFact->Equals(IFact(Candidate))) Found = Candidate;
    });
    return Found ? IndexOf(IFact(const_cast<TFact*>(Found))) : -1;
  }
  const auto& List = Items();
  for (std::size_t I = 0; I < List.size(); ++I)
    if (List[I] && List[I]->Equals(AFact)) return static_cast<int>(I);
  return -1;
}

IFact TFacts::GetFactByID(std::int32_t FactId) const {
  const int Index = FindFact(FactId);
  return Index < 0 ? IFact() : Get(Index);
}

void TFacts::SortByID() {
  Sort([](const IFact& A, const IFact& B) {
    const std::int32_t IdA = A ? A->GetID() : -1;
    const std::int32_t IdB = B ? B->GetID() : -1;
    return IdA < IdB ? -1 : (IdA > IdB ? 1 : 0);
  });
}

int TFacts::GetImportCount() const {
  return static_cast<int>(
      std::count_if(begin(), end(), [this](const IFact& Fact) { return HomeOf(Fact) != FModule; }));
}

// ---------------------------------------------------------------- text

std::string TFacts::ToString() const {
  std::string Result;
  for (const IFact& Fact : *this) {
    if (!Result.empty()) Result += sLineBreak;
    if (Fact) Result += Fact->ToString();
  }
  return Result;
}

std::string TFacts::GetToIDString() const {
  std::string Result;
  for (const IFact& Fact : *this) {
    if (!Result.empty()) Result += sLineBreak;
    if (Fact) Result += Fact->GetToIDString();
  }
  return Result;
}

std::string TFacts::LocalsToString(bool IncludeIDs) const {
  std::string Result;
  bool First = true;
  for (const IFact& Fact : *this) {
    if (!Fact || HomeOf(Fact) != FModule) continue;
    if (!First) Result += sLineBreak;
    First = false;
    Result += IndentString() + (IncludeIDs ? Fact->GetToIDString() : Fact->ToString());
  }
  return Result;
}

// ---------------------------------------------------------------- copying

void TFacts::AddCopies(const TFacts& Source) {
  for (const IFact& SourceFact : Source) {
    if (!SourceFact) continue;
    const IFactTemplate SourceTemplate = SourceFact->GetTemplate();
    IFact Copy;
    if (!SourceTemplate || !FEngine || SourceTemplate->GetEngine() == FEngine) {
      Copy = IFact(new TFact(SourceTemplate));
      if (SourceTemplate) Copy->AssignValues(SourceFact);
    } else {
      IFactTemplate Template = FEngine->FindFactTemplate(SourceTemplate->GetTemplateName());
      if (Template && !Template->Equals(SourceTemplate))
        throw EKBException(
            Format(_SFactTemplatesDifferent, Template->GetTemplateName(), SourceTemplate->GetTemplateName()));
      if (!Template) {
        Template = FEngine->CreateFactTemplate(SourceTemplate->GetTemplateName());
        Template->Assign(static_cast<TPersistent*>(SourceTemplate.get()));
      }
      Copy = IFact(new TFact(Template));
      const TStringList<>& Names = SourceTemplate->GetSlotNames();
      for (int I = 0; I < Names.GetCount(); ++I) {
        const std::string Name = Names.Get(I);
        if (const IKBValue Value = SourceFact->GetValue(Name)) Copy->SetValue(Name, Value->Clone());
      }
    }
    Add(Copy);
  }
}

void TFacts::Assign(TPersistent* Source) {
  auto* Facts = dynamic_cast<TFacts*>(Source);
  if (!Facts) {
    TFactList::Assign(Source);
    return;
  }
  if (Facts == this) return;
  Clear();
  AddCopies(*Facts);
}

void TFacts::AssignLocal(TPersistent* Source) {
  auto* Facts = dynamic_cast<TFacts*>(Source);
  if (!Facts) {
    TFactList::Assign(Source);
    return;
  }
  if (Facts == this) return;
  for (int I = GetCount() - 1; I >= 0; --I)
    if (HomeOf(Get(I)) == FModule) Delete(I);
  AddCopies(*Facts);
}

void TFacts::AssignTo(TPersistent* Dest) {
  auto* Strings = dynamic_cast<TStrings*>(Dest);
  if (!Strings) {
    TFactList::AssignTo(Dest);
    return;
  }
  const auto Update = UpdateGuard(*Strings);
  Strings->Clear();
  for (const IFact& Fact : *this) Strings->Add(Fact ? Fact->ToString() : std::string());
}

}  // namespace cogent
