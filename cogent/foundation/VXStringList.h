#pragma once
// The host's string list, kept sorted on request, with a data item of a
// chosen type beside each line.
//
// C++ note for subclasses: while a base destructor runs, overrides are gone,
// so the list's destructor clears through its own DoClear and tells nobody.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "cogent/foundation/VXCollectionBase.h"
#include "cogent/host/Classes.h"
#include "cogent/host/Guards.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

// ---------------------------------------------------------------- TStringList

// The data of a string list that carries none.
struct TNoData {
  friend bool operator==(TNoData, TNoData) noexcept { return true; }
};

template <class T>
struct TVXStringItem {
  std::string FString;
  TObject* FObject = nullptr;
  [[no_unique_address]] T FData{};
};

// The host's string list with a data item of type T beside each line;
// TStringList<> carries no data.
template <class T = TNoData>
class TStringList : public TStrings {
public:
  using TItem = TVXStringItem<T>;
  using TStringListSortCompare = std::function<int(TStringList& List, int Index1, int Index2)>;

  // The data items in line order.
  class TValueCollection : public TVXEnumerable<T> {
  public:
    class TValueEnumerator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using difference_type = std::ptrdiff_t;
      using value_type = T;
      using reference = const T&;
      using pointer = const T*;

      TValueEnumerator() = default;
      TValueEnumerator(const TStringList* AList, int AIndex) : FList(AList), FIndex(AIndex) {}
      bool MoveNext() { return ++FIndex < FList->FCount; }
      const T& GetCurrent() const { return FList->FList[FIndex].FData; }
      const T& operator*() const { return GetCurrent(); }
      TValueEnumerator& operator++() {
        ++FIndex;
        return *this;
      }
      TValueEnumerator operator++(int) {
        TValueEnumerator Result = *this;
        ++FIndex;
        return Result;
      }
      friend bool operator==(const TValueEnumerator& A, const TValueEnumerator& B) noexcept {
        return A.FIndex == B.FIndex;
      }

    private:
      const TStringList* FList = nullptr;
      int FIndex = -1;
    };

    explicit TValueCollection(const TStringList* AList) : FList(AList) {}
    int GetCount() const noexcept { return FList->FCount; }
    TValueEnumerator begin() const { return TValueEnumerator(FList, 0); }
    TValueEnumerator end() const { return TValueEnumerator(FList, FList->FCount); }
    std::vector<T> ToArray() const override { return std::vector<T>(begin(), end()); }

  protected:
    std::unique_ptr<TEnumerator<T>> DoGetEnumerator() const override {
      return std::make_unique<collections_detail::TEnumeratorAdapter<T, TValueEnumerator>>(TValueEnumerator(FList, -1));
    }

  private:
    const TStringList* FList;
  };

  explicit TStringList(bool OwnsObject = false) : FOwnsObject(OwnsObject) {}
  TStringList(const TStringList&) = delete;
  TStringList& operator=(const TStringList&) = delete;
  ~TStringList() override {
    FOnChange = nullptr;
    FOnChanging = nullptr;
    TStringList::DoClear();
  }

  // ------------------------------------------------ TStrings

  int GetCount() const override { return FCount; }
  std::string Get(int Index) const override { return FList[CheckIndex(Index)].FString; }
  // The line without a copy.
  const std::string& GetString(int Index) const { return FList[CheckIndex(Index)].FString; }

  void Put(int Index, const std::string& S) override {
    if (FSorted) throw EStringListError(SSortedListError);
    CheckIndex(Index);
    Changing();
    FList[Index].FString = S;
    Changed();
  }

  TObject* GetObject(int Index) const override { return FList[CheckIndex(Index)].FObject; }
  void PutObject(int Index, TObject* AObject) override {
    CheckIndex(Index);
    Changing();
    FList[Index].FObject = AObject;
    Changed();
  }

  const T& GetData(int Index) const { return FList[CheckIndex(Index)].FData; }
  void PutData(int Index, const T& Data) {
    CheckIndex(Index);
    Changing();
    FList[Index].FData = Data;
    Changed();
  }

  void Clear() override {
    if (FCount == 0) return;
    Changing();
    DoClear();
    Changed();
  }

  void Delete(int Index) override {
    CheckIndex(Index);
    Changing();
    DoDelete(Index);
    Changed();
  }

  using TStrings::AddObject;
  int Add(const std::string& S) override { return AddObject(S, nullptr, T{}); }
  int AddObject(const std::string& S, TObject* AObject) override { return AddObject(S, AObject, T{}); }
  // On a sorted list the line goes where Find puts it: an equal line is
  // ignored (its index is given), refused, or accepted behind its equals.
  virtual int AddObject(const std::string& S, TObject* AObject, const T& Data) {
    int Result = FCount;
    if (FSorted && Find(S, Result)) {
      if (FDuplicates == dupIgnore) return Result;
      if (FDuplicates == dupError) throw EStringListError(SDuplicateString);
    }
    InsertItem(Result, S, AObject, Data);
    return Result;
  }

  using TStrings::InsertObject;
  void Insert(int Index, const std::string& S) override { InsertObject(Index, S, nullptr, T{}); }
  void InsertObject(int Index, const std::string& S, TObject* AObject) override {
    InsertObject(Index, S, AObject, T{});
  }
  virtual void InsertObject(int Index, const std::string& S, TObject* AObject, const T& Data) {
    if (FSorted) throw EStringListError(SSortedListError);
    if (Index < 0 || Index > FCount) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    InsertItem(Index, S, AObject, Data);
  }

  // Keeps the data of a list of the same class.
  void AddStrings(const TStrings& Strings) override {
    const auto* Other = dynamic_cast<const TStringList*>(&Strings);
    if (Other == nullptr) {
      TStrings::AddStrings(Strings);
      return;
    }
    // Adding a list to itself reads a snapshot.
    const std::vector<TItem> Items(Other->FList.begin(), Other->FList.begin() + Other->FCount);
    const auto Update = UpdateGuard(*this);
    for (const TItem& Item : Items) {
      if (FSorted)
        AddObject(Item.FString, Item.FObject, Item.FData);
      else
        InsertItem(FCount, Item.FString, Item.FObject, Item.FData);
    }
  }

  void Exchange(int Index1, int Index2) override {
    if (FSorted) throw EStringListError(SSortedListError);
    CheckIndex(Index1);
    CheckIndex(Index2);
    Changing();
    ExchangeItems(Index1, Index2);
    Changed();
  }

  // Moves the whole item, data and object included.
  void Move(int CurIndex, int NewIndex) override {
    CheckIndex(CurIndex);
    CheckIndex(NewIndex);
    if (CurIndex == NewIndex) return;
    if (FSorted) throw EStringListError(SSortedListError);
    Changing();
    TItem Item = std::move(FList[CurIndex]);
    if (CurIndex < NewIndex)
      std::move(FList.begin() + CurIndex + 1, FList.begin() + NewIndex + 1, FList.begin() + CurIndex);
    else
      std::move_backward(FList.begin() + NewIndex, FList.begin() + CurIndex, FList.begin() + CurIndex + 1);
    FList[NewIndex] = std::move(Item);
    Changed();
  }

  int IndexOf(const std::string& S) const override {
    if (FSorted) {
      int Index = 0;
      return Find(S, Index) ? Index : -1;
    }
    for (int I = 0; I < FCount; ++I)
      if (CompareStrings(FList[I].FString, S) == 0) return I;
    return -1;
  }

  // Binary search. Index is the first equal line, or with dupAccept the
  // place behind the last one, so that a new equal line goes after its
  // equals; without a hit it is where S belongs.
  virtual bool Find(const std::string& S, int& Index) const {
    bool Result = false;
    int L = 0;
    int H = FCount - 1;
    while (L <= H) {
      const int I = L + (H - L) / 2;
      const int C = CompareStrings(FList[I].FString, S);
      if (C == 0) Result = true;
      if (C < 0 || (C == 0 && FDuplicates == dupAccept))
        L = I + 1;
      else
        H = I - 1;
    }
    Index = L;
    return Result;
  }

  void Assign(TPersistent* Source) override {
    if (Source == this) return;
    if (auto* Other = dynamic_cast<TStringList*>(Source)) {
      const auto Update = UpdateGuard(*this);
      FAssigning = true;
      // Declared after the update guard, so the flag drops before EndUpdate.
      const TFinally Assigned([this] { FAssigning = false; });
      Clear();
      FList.assign(Other->FList.begin(), Other->FList.begin() + Other->FCount);
      FCount = Other->FCount;
      FCaseSensitive = Other->FCaseSensitive;
      FDuplicates = Other->FDuplicates;
      FSorted = Other->FSorted;
      return;
    }
    if constexpr (!std::is_same_v<T, TNoData>) {
      if (auto* Plain = dynamic_cast<TStringList<TNoData>*>(Source)) {
        const auto Update = UpdateGuard(*this);
        Clear();
        FSorted = false;
        FDuplicates = dupAccept;
        for (int I = 0; I < Plain->GetCount(); ++I) AddObject(Plain->GetString(I), Plain->GetObject(I), T{});
        FCaseSensitive = Plain->GetCaseSensitive();
        FDuplicates = Plain->GetDuplicates();
        FSorted = Plain->GetSorted();
        return;
      }
    }
    if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
      const auto Update = UpdateGuard(*this);
      Clear();
      AddStrings(*Strings);
      return;
    }
    TStrings::Assign(Source);
  }

  // ------------------------------------------------ sorting

  // Sorts an unsorted list (a sorted one is in order already).
  virtual void Sort() {
    CustomSort([](TStringList& List, int Index1, int Index2) {
      return List.CompareStrings(List.FList[Index1].FString, List.FList[Index2].FString);
    });
  }
  virtual void CustomSort(const TStringListSortCompare& Compare) {
    if (FSorted || FCount <= 1) return;
    Changing();
    QuickSort(0, FCount - 1, Compare);
    Changed();
  }
  void Sort(const TStringListSortCompare& Compare) { CustomSort(Compare); }

  bool GetSorted() const noexcept { return FSorted; }
  void SetSorted(bool Value) {
    if (Value == FSorted) return;
    if (Value) Sort();
    FSorted = Value;
  }
  TDuplicates GetDuplicates() const noexcept { return FDuplicates; }
  void SetDuplicates(TDuplicates Value) noexcept { FDuplicates = Value; }
  bool GetCaseSensitive() const noexcept { return FCaseSensitive; }
  void SetCaseSensitive(bool Value) {
    if (Value == FCaseSensitive) return;
    FCaseSensitive = Value;
    if (FSorted) {
      FSorted = false;
      SetSorted(true);
    }
  }
  bool GetOwnsObject() const noexcept { return FOwnsObject; }
  void SetOwnsObject(bool Value) noexcept { FOwnsObject = Value; }

  int GetCapacity() const noexcept { return static_cast<int>(FList.size()); }
  void SetCapacity(int NewCapacity) {
    if (NewCapacity < FCount) throw EArgumentOutOfRangeException(SArgumentOutOfRange);
    FList.resize(static_cast<std::size_t>(NewCapacity));
  }

  const TNotifyEvent& GetOnChange() const noexcept { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TNotifyEvent& GetOnChanging() const noexcept { return FOnChanging; }
  void SetOnChanging(TNotifyEvent Value) { FOnChanging = std::move(Value); }

  const TValueCollection& GetValueCollection() const {
    if (!FValueCollection) FValueCollection = std::make_unique<TValueCollection>(this);
    return *FValueCollection;
  }

  // Locale-like: alphabetical regardless of case; when case-sensitive, a tie
  // puts lower case first.
  int CompareStrings(const std::string& S1, const std::string& S2) const override {
    const int Result = CompareText(S1, S2);
    if (Result != 0 || !FCaseSensitive) return Result;
    return -CompareStr(S1, S2);
  }

protected:
  virtual void Changed() {
    if (GetUpdateCount() == 0 && FOnChange) FOnChange(this);
  }
  virtual void Changing() {
    if (GetUpdateCount() == 0 && FOnChanging) FOnChanging(this);
  }

  void SetUpdateState(bool Updating) override {
    if (Updating)
      Changing();
    else
      Changed();
  }

  // The list is empty before any owned object is freed.
  virtual void DoClear() {
    std::vector<TItem> OldList;
    OldList.swap(FList);
    const int OldCount = FCount;
    FCount = 0;
    if (FOwnsObject)
      for (int I = 0; I < OldCount; ++I) delete std::exchange(OldList[I].FObject, nullptr);
  }

  // The line is gone before its owned object is freed.
  virtual void DoDelete(int Index) {
    TObject* Object = FOwnsObject ? FList[Index].FObject : nullptr;
    std::move(FList.begin() + Index + 1, FList.begin() + FCount, FList.begin() + Index);
    --FCount;
    FList[FCount] = TItem{};
    delete Object;
  }

  virtual void InsertItem(int Index, const std::string& S, TObject* AObject) { InsertItem(Index, S, AObject, T{}); }
  virtual void InsertItem(int Index, const std::string& S, TObject* AObject, const T& Data) {
    Changing();
    // Copies first: S or Data may be an item of this list.
    TItem Item{S, AObject, Data};
    if (FCount == static_cast<int>(FList.size())) Grow();
    std::move_backward(FList.begin() + Index, FList.begin() + FCount, FList.begin() + FCount + 1);
    FList[Index] = std::move(Item);
    ++FCount;
    Changed();
  }

  void ExchangeItems(int Index1, int Index2) { std::swap(FList[Index1], FList[Index2]); }

  // The first allocation is of the size needed; after that it doubles.
  void Grow() { FList.resize(FList.empty() ? 1 : FList.size() * 2); }

  int CheckIndex(int Index) const {
    if (Index < 0 || Index >= FCount) throw EStringListError(Format(SListIndexError, Index));
    return Index;
  }

  // Quicksort on the middle element; not stable. Recursion takes the
  // smaller part, and the scans are bounded, so a comparison that is not a
  // consistent order cannot run off the range.
  void QuickSort(int L, int R, const TStringListSortCompare& Compare) {
    while (L < R) {
      int I = L;
      int J = R;
      int P = L + (R - L) / 2;
      do {
        while (I < R && Compare(*this, I, P) < 0) ++I;
        while (J > L && Compare(*this, J, P) > 0) --J;
        if (I <= J) {
          if (I != J) ExchangeItems(I, J);
          if (P == I)
            P = J;
          else if (P == J)
            P = I;
          ++I;
          --J;
        }
      } while (I <= J);
      if (J - L < R - I) {
        if (L < J) QuickSort(L, J, Compare);
        L = I;
      } else {
        if (I < R) QuickSort(I, R, Compare);
        R = J;
      }
    }
  }

  bool FAssigning = false;
  bool FSorted = false;
  TDuplicates FDuplicates = dupIgnore;
  bool FCaseSensitive = false;
  TNotifyEvent FOnChange;
  TNotifyEvent FOnChanging;
  bool FOwnsObject = false;
  mutable std::unique_ptr<TValueCollection> FValueCollection;
  std::vector<TItem> FList;
  int FCount = 0;
};

}  // namespace cogent
