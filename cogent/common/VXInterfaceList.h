#pragma once
// Counted lists of counted interfaces, their iterators, and the queue and
// stack built on them.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"

namespace cogent {

enum TListNotification : std::uint8_t { lnAdded, lnExtracted, lnDeleted };

inline constexpr const char* SUnbalancedOperation = "Unbalanced stack or queue operation";

[[noreturn]] void RaiseListIndexError(int Index);

// A reference-counted list of Ref<T>. Items may be nil; identity decides
// IndexOf and Remove. Every change reaches Notify after it is made, so that
// a descendant sees the list as it now is.
//
// T may still be incomplete where a descendant is declared: nothing in the
// class body needs it, only the member bodies do. A list of many small
// instances may keep its items through an allocator of its own.
template <class T = TRefCounted, class TItemAllocator = std::allocator<Ref<T>>>
class TInterfaceListPersistent : public TPersistent {
public:
  using TItem = Ref<T>;
  using TItems = std::vector<TItem, TItemAllocator>;
  using TCompare = std::function<int(const TItem&, const TItem&)>;
  using const_iterator = typename TItems::const_iterator;

  TInterfaceListPersistent() = default;
  TInterfaceListPersistent(const TInterfaceListPersistent&) = delete;
  TInterfaceListPersistent& operator=(const TInterfaceListPersistent&) = delete;
  ~TInterfaceListPersistent() override = default;

  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  bool IsEmpty() const noexcept { return FItems.empty(); }

  TItem Get(int Index) const { return GetRef(Index); }
  // Checked, without touching the reference count.
  const TItem& GetRef(int Index) const {
    CheckIndex(Index, GetCount());
    return FItems[static_cast<std::size_t>(Index)];
  }
  void Put(int Index, TItem Item) {
    CheckIndex(Index, GetCount());
    TItem Old = std::exchange(FItems[static_cast<std::size_t>(Index)], std::move(Item));
    Notify(Old, lnDeleted);
    Notify(FItems[static_cast<std::size_t>(Index)], lnAdded);
  }

  int Add(TItem Item) {
    const int Index = AddSilently(std::move(Item));
    Notify(FItems.back(), lnAdded);
    return Index;
  }
  // Add without a word to Notify, for a descendant whose Notify does nothing
  // with an add.
  int AddSilently(TItem Item) {
    // Room for three from the start: the smallest block of the heap (or of
    // the pool) holds as many, where a list of three grown one item at a
    // time would end in a block of four.
    if (FItems.capacity() == 0) FItems.reserve(3);
    FItems.push_back(std::move(Item));
    return GetCount() - 1;
  }
  void Insert(int Index, TItem Item) {
    CheckIndex(Index, GetCount() + 1);
    const auto Pos = FItems.insert(FItems.begin() + Index, std::move(Item));
    Notify(*Pos, lnAdded);
  }
  void Delete(int Index) { TakeOut(Index, lnDeleted); }
  // Takes the item out and hands it over; Notify hears lnExtracted.
  TItem Extract(int Index) { return TakeOut(Index, lnExtracted); }

  int IndexOf(const T* Item) const noexcept {
    for (std::size_t I = 0; I < FItems.size(); ++I)
      if (FItems[I].get() == Item) return static_cast<int>(I);
    return -1;
  }
  int IndexOf(const TItem& Item) const noexcept { return IndexOf(Item.get()); }
  // The index the item had, or -1 when it isn't there.
  int Remove(const TItem& Item) {
    const int Index = IndexOf(Item);
    if (Index >= 0) Delete(Index);
    return Index;
  }

  TItem First() const { return FItems.empty() ? TItem() : FItems.front(); }
  TItem Last() const { return FItems.empty() ? TItem() : FItems.back(); }

  virtual void Clear() {
    TItems Old;
    Old.swap(FItems);
    for (const TItem& Item : Old) Notify(Item, lnDeleted);
  }

  void Exchange(int Index1, int Index2) {
    CheckIndex(Index1, GetCount());
    CheckIndex(Index2, GetCount());
    std::swap(FItems[static_cast<std::size_t>(Index1)], FItems[static_cast<std::size_t>(Index2)]);
  }

  // Stable. A comparer that raises leaves the list as it was.
  void Sort(const TCompare& Compare) {
    TItems Sorted(FItems);
    std::stable_sort(Sorted.begin(), Sorted.end(),
                     [&Compare](const TItem& A, const TItem& B) { return Compare(A, B) < 0; });
    FItems.swap(Sorted);
  }

  // From a list of the same item type: the same items, in the same order.
  void Assign(TPersistent* Source) override {
    if (Source == this) return;
    if (auto* List = dynamic_cast<TInterfaceListPersistent*>(Source)) {
      TItems Items(List->FItems);
      Clear();
      for (TItem& Item : Items) Add(std::move(Item));
      return;
    }
    TPersistent::Assign(Source);
  }

  void Reserve(int Capacity) {
    if (Capacity > 0) FItems.reserve(static_cast<std::size_t>(Capacity));
  }
  const TItems& Items() const noexcept { return FItems; }
  const_iterator begin() const noexcept { return FItems.begin(); }
  const_iterator end() const noexcept { return FItems.end(); }

protected:
  virtual void Notify(const TItem& Item, TListNotification Action) {
    (void)Item;
    (void)Action;
  }

  static void CheckIndex(int Index, int Limit) {
    if (Index < 0 || Index >= Limit) RaiseListIndexError(Index);
  }

private:
  TItem TakeOut(int Index, TListNotification Action) {
    CheckIndex(Index, GetCount());
    TItem Item = std::move(FItems[static_cast<std::size_t>(Index)]);
    FItems.erase(FItems.begin() + Index);
    Notify(Item, Action);
    return Item;
  }

  TItems FItems;
};

// ---------------------------------------------------------------- iterators

// Walks a list that it borrows: the list must outlive the iterator.
// NextElement gives each item in turn; CurrentElement is the one given last
// (nil before the first).
template <class T = TRefCounted>
class TInterfaceListIterator : public TCustomIterator<Ref<T>> {
public:
  explicit TInterfaceListIterator(const TInterfaceListPersistent<T>* AList) : FList(AList) {}

  Ref<T> CurrentElement() const override {
    return FIndex > 0 && FIndex <= GetCount() ? FList->Get(FIndex - 1) : Ref<T>();
  }
  int GetCount() const override { return FList != nullptr ? FList->GetCount() : 0; }
  bool HasMoreElements() const override { return FIndex < GetCount(); }
  Ref<T> NextElement() override {
    if (!HasMoreElements()) RaiseListIndexError(FIndex);
    return FList->Get(FIndex++);
  }
  void Reset() override { FIndex = 0; }

protected:
  const TInterfaceListPersistent<T>* GetList() const noexcept { return FList; }

private:
  const TInterfaceListPersistent<T>* FList;
  int FIndex = 0;
};

// Walks the lines of a TStrings that it borrows.
class TStringsIterator : public TCustomIterator<std::string> {
public:
  explicit TStringsIterator(const TStrings* AStrings) : FStrings(AStrings) {}

  std::string CurrentElement() const override;
  int GetCount() const override;
  bool HasMoreElements() const override;
  std::string NextElement() override;
  void Reset() override;

private:
  const TStrings* FStrings;
  int FIndex = 0;
};

// ---------------------------------------------------------------- queue and stack

// First in, first out.
class TIQueue : public TInterfaceListPersistent<> {
public:
  void Push(const IInterface& Item);
  // The oldest item, taken out; EListError SUnbalancedOperation when empty.
  IInterface Pop();
  IInterface Peek() const;
};

// Last in, first out.
class TIStack : public TInterfaceListPersistent<> {
public:
  void Push(const IInterface& Item);
  // The newest item, taken out; EListError SUnbalancedOperation when empty.
  IInterface Pop();
  IInterface Peek() const;
};

}  // namespace cogent
