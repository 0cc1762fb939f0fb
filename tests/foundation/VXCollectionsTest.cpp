#include "cogent/foundation/VXCollections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "../TestErrors.h"

namespace cogent {
namespace {

using TLines = std::vector<std::string>;

using test::ErrorOf;

// Hash chosen by the test: Key / 100, so keys of one hundred collide.
class THundredsComparer : public TEqualityComparer<int> {
public:
  std::int32_t GetHashCode(const int& Value) const override { return Value / 100; }
};
IEqualityComparer<int> Hundreds() { return IEqualityComparer<int>(new THundredsComparer()); }

// Records every step that reaches the overridable notifications.
class TLoggingTable : public TVXHashTable<std::string, int> {
public:
  using TVXHashTable::TVXHashTable;
  TLines Log;
  int CountSeen = -1;

protected:
  void KeyNotify(const std::string& Key, TCollectionNotification Action) override {
    CountSeen = FCount;
    Log.push_back("K " + Key + " " + EnumName(Action));
    TVXHashTable::KeyNotify(Key, Action);
  }
  void ValueNotify(const int& Value, TCollectionNotification Action) override {
    Log.push_back("V " + std::to_string(Value) + " " + EnumName(Action));
    TVXHashTable::ValueNotify(Value, Action);
  }
};

TEST(VXDictionaryTest, CapacityAndGrowth) {
  TVXHashTable<int, int> Empty(0);
  EXPECT_EQ(Empty.GetCapacity(), 0);
  EXPECT_FALSE(Empty.ContainsKey(1));
  for (int I = 1; I <= 4; ++I) Empty.Add(I, I);  // grows past three quarters full
  EXPECT_EQ(Empty.GetCapacity(), 8);

  EXPECT_EQ(ErrorOf<EArgumentOutOfRangeException>([&] { Empty.SetCapacity(3); }), "Argument out of range");
  EXPECT_EQ(Empty.GetCapacity(), 8);
  EXPECT_EQ(ErrorOf<EArgumentOutOfRangeException>([] { TVXDictionary<int, int> Bad(-1); }),
            "Argument out of range");
  // A capacity equal to a full power of two keeps an empty bucket to stop at.
  Empty.SetCapacity(4);
  EXPECT_EQ(Empty.GetCapacity(), 8);
  Empty.Remove(4);
  Empty.TrimExcess();
  EXPECT_EQ(Empty.GetCapacity(), 4);
  EXPECT_EQ(Empty.Get(3), 3);
  Empty.Clear();
  EXPECT_EQ(Empty.GetCapacity(), 0);
}

TEST(VXDictionaryTest, AgreesWithAModelUnderCollisions) {
  // Heavy collisions, growth, and removal inside probe runs; hash -2 lands in
  // the last bucket, so its run wraps round into hash -1's, an ordinary hash.
  TVXHashTable<int, int> Random(Hundreds());
  std::map<int, int> Model;
  std::mt19937 Generator(12345);
  for (int Step = 0; Step < 4000; ++Step) {
    const int Group = static_cast<int>(Generator() % 6) - 2, Offset = static_cast<int>(Generator() % 12);
    const int Key = Group * 100 + (Group < 0 ? -Offset : Offset);
    const int Value = static_cast<int>(Generator() % 1000);
    const auto Choice = Generator() % 3;
    if (Choice == 0) {
      EXPECT_EQ(Random.Put(Key, Value), Model.count(Key) ? Model[Key] : 0);
      Model[Key] = Value;
    } else if (Choice == 1 && !Model.empty()) {
      Random.Remove(Key);
      Model.erase(Key);
    } else if (Choice == 2 && Step % 500 == 0) {
      Random.TrimExcess();
    }
    ASSERT_EQ(Random.GetCount(), static_cast<int>(Model.size()));
    for (const auto& [K, V] : Model) {
      int Found = -1;
      ASSERT_TRUE(Random.ContainsKey(K, Found)) << "step " << Step << " key " << K;
      ASSERT_EQ(Found, V);
    }
  }
}

TEST(VXHashTableTest, NotificationsChangesAndClear) {
  TLoggingTable Table;
  int Changes = 0;
  Table.SetOnChange([&](TObject*) { ++Changes; });
  EXPECT_EQ(Table.Put("a", 1), 0);
  EXPECT_EQ(Table.CountSeen, 1);  // counted before it is told
  EXPECT_EQ(Table.Put("a", 2), 1);
  EXPECT_EQ(Table.Log, (TLines{"K a cnAdded", "V 1 cnAdded", "V 1 cnRemoved", "V 2 cnAdded"}));
  Table.Log.clear();

  EXPECT_EQ(ErrorOf<EListError>([&] { Table.Add("a", 3); }), "Duplicates not allowed in this list");
  EXPECT_EQ(ErrorOf<EListError>([&] { Table.Get("b"); }), "Item not found");
  Table.Remove("zz");  // absent: nothing at all
  EXPECT_TRUE(Table.Log.empty());
  EXPECT_EQ(Changes, 2);
  EXPECT_EQ(Table.Get("a"), 2);

  Table.Add("b", 5);
  const auto Pair = Table.ExtractPair("b");
  EXPECT_EQ(Pair.Key + "=" + std::to_string(Pair.Value), "b=5");
  Table.Remove("a");
  EXPECT_EQ(Table.Log, (TLines{"K b cnAdded", "V 5 cnAdded", "K b cnExtracted", "V 5 cnExtracted", "K a cnRemoved",
                               "V 2 cnRemoved"}));
  EXPECT_EQ(Table.CountSeen, 0);
  EXPECT_EQ(ErrorOf<EGHashtableError>([&] { Table.Remove("a"); }),
            "Cannot remove an item from an empty hash table");
  EXPECT_EQ(Table.ExtractPair("a").Value, 0);

  // Inside a bracket nothing reaches the events and one change comes at the end.
  TLines Events;
  Table.SetOnKeyNotify([&](TObject*, const std::string& Key, TCollectionNotification) { Events.push_back(Key); });
  Changes = 0;
  Table.BeginUpdate();
  Table.Add("x", 1);
  Table.Add("y", 2);
  EXPECT_EQ(Changes, 0);
  Table.EndUpdate();
  EXPECT_EQ(Changes, 1);
  Table.PutItem("z", 3);
  EXPECT_EQ(Events, TLines{"z"});

  // Clear empties first, tells the overrides but not the events, and is one change.
  Table.Log.clear();
  Changes = 0;
  Table.Clear();
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Events.size(), 1u);
  EXPECT_EQ(Table.Log.size(), 6u);
  EXPECT_EQ(Table.CountSeen, 0);

  // The plain dictionary passes Clear's notifications to its events.
  TVXDictionary<std::string, int> Dictionary;
  Dictionary.Add("a", 1);
  Dictionary.Add("b", 2);
  TLines Seen;
  Dictionary.SetOnValueNotify([&](TObject* Sender, const int& Value, TCollectionNotification Action) {
    EXPECT_EQ(Sender, &Dictionary);
    Seen.push_back(EnumName(Action) + " " + std::to_string(Value) + " of " + std::to_string(Dictionary.GetCount()));
  });
  Dictionary.Clear();
  std::sort(Seen.begin(), Seen.end());
  EXPECT_EQ(Seen, (TLines{"cnRemoved 1 of 0", "cnRemoved 2 of 0"}));
}

TEST(VXHashTableTest, IndexedAccessFollowsChanges) {
  TVXHashTable<int, int> Table;
  std::multiset<int> All;
  for (int I = 0; I < 40; ++I) {
    Table.Add(I * 7, I);
    All.insert(I);
  }
  auto Sweep = [&](bool Backward) {
    std::multiset<int> Values;
    for (int I = 0; I < Table.GetCount(); ++I) {
      const int Index = Backward ? Table.GetCount() - 1 - I : I;
      EXPECT_EQ(Table.GetItemByIndex(Index), Table.Get(Table.GetKeyByIndex(Index)));
      Values.insert(Table.GetPairByIndex(Index).Value);
    }
    return Values;
  };
  EXPECT_EQ(Sweep(false), All);
  EXPECT_EQ(Sweep(true), All);
  Table.Remove(7 * 3);
  All.erase(3);
  EXPECT_EQ(Sweep(false), All);
  Table.Add(1000, 99);
  All.insert(99);
  EXPECT_EQ(Sweep(true), All);
  Table.SetCapacity(256);  // a rehash moves every position
  EXPECT_EQ(Sweep(false), All);

  EXPECT_EQ(ErrorOf<EListError>([&] { Table.GetItemByIndex(40); }), "List index out of bounds (40)");
  EXPECT_EQ(ErrorOf<EListError>([&] { Table.GetPairByIndex(-1); }), "List index out of bounds (-1)");
}

TEST(VXDictionaryTest, EnumerationViewsAndAliasing) {
  TVXDictionary<std::string, int> Dictionary(64);
  for (const auto& [Key, Value] : {std::pair{"one", 1}, {"two", 2}, {"three", 3}}) Dictionary.Add(Key, Value);
  // The loop, the pairs, and the keys beside the values agree on the table order.
  auto Text = [](const std::string& Key, int Value) { return Key + "=" + std::to_string(Value); };
  TLines FromLoop, FromArray, FromViews;
  for (const auto& Item : Dictionary) FromLoop.push_back(Text(Item.Key, Item.Value));
  for (const auto& Pair : Dictionary.ToArray()) FromArray.push_back(Text(Pair.Key, Pair.Value));
  const auto Values = Dictionary.GetValues().ToArray();
  for (const std::string& Key : Dictionary.GetKeys()) FromViews.push_back(Text(Key, Values.at(FromViews.size())));
  EXPECT_EQ(FromArray, FromLoop);
  EXPECT_EQ(FromViews, FromLoop);
  std::sort(FromLoop.begin(), FromLoop.end());
  EXPECT_EQ(FromLoop, (TLines{"one=1", "three=3", "two=2"}));

  TVXDictionary<std::string, int> Assigned;
  Assigned.Add("stale", 0);
  Assigned.Assign(&Dictionary);
  EXPECT_EQ(Assigned.GetCount(), 3);
  EXPECT_FALSE(Assigned.ContainsKey("stale"));
  EXPECT_TRUE(Assigned.ContainsValue(3));

  EXPECT_EQ(ErrorOf<EListError>([&] { Dictionary.SetItem("four", 4); }), "Item not found");
  int Value = 7;
  EXPECT_FALSE(Dictionary.TryGetValue("four", Value));
  EXPECT_EQ(Value, 0);

  // Values and keys given from the table itself survive the change.
  TVXHashTable<std::string, std::string> Texts(0);
  Texts.Add("k", "value");
  Texts.Put("k", Texts.Get("k"));
  for (int I = 0; I < 8; ++I) Texts.Add(std::string(20, static_cast<char>('a' + I)), Texts.GetItemByIndex(0));
  EXPECT_EQ(Texts.Get("k"), "value");
  Texts.Remove(Texts.GetKeyByIndex(3));
  EXPECT_EQ(Texts.GetCount(), 8);
}

TEST(VXDictionaryTest, Comparers) {
  TVXDictionary<std::string, int> Exact;
  Exact.Add("Alpha", 1);
  Exact.Add("ALPHA", 2);  // the default comparer is exact

  TVXDictionary<std::string, int> Text(CaseInsensitiveStringComparer());
  Text.Add("Alpha", 1);
  EXPECT_EQ(Text.GetItem("aLPHA"), 1);
  EXPECT_EQ(ErrorOf<EListError>([&] { Text.Add("ALPHA", 2); }), "Duplicates not allowed in this list");
  Text.Add("Ärger", 3);
  EXPECT_EQ(Text.GetItem("äRGER"), 3);
  // Keys too long for the stack buffer hash alike too.
  const std::string Long(300, 'x');
  Text.Add(Long + "Y", 4);
  EXPECT_EQ(Text.GetItem(UpperCase(Long) + "y"), 4);

  // A counted handle as key is released when its entry goes.
  TVXDictionary<IInterface, int> Handles;
  IInterface A(new TRefCounted());
  Handles.Add(A, 1);
  Handles.Remove(A);
  EXPECT_EQ(A->GetRefCount(), 1);
}

struct TItemObject : TObject {
  explicit TItemObject(int AValue) : Value(AValue) {}
  int Value;
};

std::vector<std::string> LinesOf(const TStrings& List) {
  std::vector<std::string> Result;
  for (int I = 0; I < List.GetCount(); ++I) Result.push_back(List.Get(I));
  return Result;
}

TEST(VXStringHashTableTest, IteratorsAndStrings) {
  TVXStringHashTable<int> Table(64);
  for (const char* Key : {"a", "b", "c"}) Table.Add(Key, 1);
  IStringIterator Keys = Table.Indices();
  EXPECT_EQ(ErrorOf<EListError>([&] { Keys->CurrentElement(); }), "List index out of bounds (-1)");
  TLines Seen;
  while (Keys->HasMoreElements()) {
    Seen.push_back(Keys->NextElement());
    EXPECT_EQ(Keys->CurrentElement(), Seen.back());
  }
  EXPECT_EQ(std::set<std::string>(Seen.begin(), Seen.end()).size(), 3u);
  EXPECT_EQ(ErrorOf<EListError>([&] { Keys->NextElement(); }), "List index out of bounds (3)");
  Keys->Reset();
  EXPECT_EQ(Keys->NextElement(), Seen.front());

  // To strings in table order, and back with empty values in one change.
  TStringList<> Lines;
  Lines.Add("stale");
  Lines.Assign(&Table);
  EXPECT_EQ(LinesOf(Lines), Seen);
  TVXStringHashTable<int> Back;
  int Changes = 0;
  Back.SetOnChange([&](TObject*) { ++Changes; });
  Back.Assign(&Lines);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Back.GetCount(), 3);
  EXPECT_EQ(Back.Get("b"), 0);
}

TEST(VXStringHashTableTest, ObjectTableCarriesObjects) {
  TItemObject First(1), Second(2);
  TVXStringObjectHashTable<TItemObject*> Table;
  Table.Add("first", &First);
  Table.Add("second", &Second);
  auto Elements = Table.Elements();
  int Sum = 0;
  while (Elements->HasMoreElements()) Sum += Elements->NextElement()->Value;
  EXPECT_EQ(Sum, 3);

  TStringList<> Lines;
  Lines.Assign(&Table);
  EXPECT_EQ(Lines.GetObject(Lines.IndexOf("second")), &Second);
  TVXStringObjectHashTable<TItemObject*> Copy;
  Copy.Assign(&Lines);
  EXPECT_EQ(Copy.Get("first"), &First);
  // An object of the wrong class is refused before anything changes.
  TObject Stranger;
  Lines.AddObject("stranger", &Stranger);
  EXPECT_EQ(ErrorOf<EConvertError>([&] { Copy.Assign(&Lines); }).rfind("Cannot assign a TObject", 0), 0u);
  EXPECT_EQ(Copy.GetCount(), 2);
}

// ---------------------------------------------------------------- TStringList

template <class T>
std::vector<T> DataOf(const TStringList<T>& List) {
  return List.GetValueCollection().ToArray();
}

template <class T>
void AddAll(TStringList<T>& List, std::initializer_list<std::pair<const char*, T>> Items) {
  for (const auto& [S, Data] : Items) List.AddObject(S, nullptr, Data);
}

TEST(StringListTest, SortedDuplicates) {
  TStringList<int> List;
  List.SetSorted(true);
  List.SetDuplicates(dupAccept);
  AddAll(List, {{"b", 1}, {"a", 2}, {"B", 3}, {"c", 4}, {"b", 5}});
  EXPECT_EQ(LinesOf(List), (TLines{"a", "b", "B", "b", "c"}));
  EXPECT_EQ(DataOf(List), (std::vector<int>{2, 1, 3, 5, 4}));
  int Index = -1;
  EXPECT_TRUE(List.Find("B", Index));
  EXPECT_EQ(Index, 4);  // behind its equals
  EXPECT_FALSE(List.Find("bb", Index));
  EXPECT_EQ(Index, 4);

  TStringList<int> Unique;
  Unique.SetSorted(true);
  AddAll(Unique, {{"x", 1}, {"m", 2}});
  EXPECT_EQ(Unique.AddObject("X", nullptr, 3), 1);  // dupIgnore: the present line
  EXPECT_EQ(DataOf(Unique), (std::vector<int>{2, 1}));
  EXPECT_EQ(Unique.IndexOf("M"), 0);
  EXPECT_EQ(Unique.IndexOf("n"), -1);
  Unique.SetDuplicates(dupError);
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Unique.Add("m"); }), "String list does not allow duplicates");
  EXPECT_EQ(Unique.GetCount(), 2);
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Unique.Insert(0, "a"); }), "Operation not allowed on sorted list");
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Unique.Put(0, "a"); }), "Operation not allowed on sorted list");
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Unique.Exchange(0, 1); }), "Operation not allowed on sorted list");

  // Case sensitivity re-sorts a sorted list.
  Unique.SetCaseSensitive(true);
  Unique.SetDuplicates(dupIgnore);
  Unique.Add("M");
  EXPECT_EQ(LinesOf(Unique), (TLines{"m", "M", "x"}));
}

TEST(StringListTest, IndexErrorsAndMovesCarryTheData) {
  TStringList<std::string> List;
  for (const char* S : {"a", "b", "c"}) List.AddObject(S, nullptr, S);
  EXPECT_EQ(ErrorOf<EStringListError>([&] { List.Get(3); }), "List index out of bounds (3)");
  EXPECT_EQ(ErrorOf<EStringListError>([&] { List.Delete(-1); }), "List index out of bounds (-1)");
  EXPECT_EQ(ErrorOf<EArgumentOutOfRangeException>([&] { List.Insert(4, "x"); }), "Argument out of range");
  List.InsertObject(3, "d", nullptr, "d");
  List.InsertObject(0, "z", nullptr, "z");
  EXPECT_EQ(LinesOf(List), (TLines{"z", "a", "b", "c", "d"}));
  List.Move(0, 4);
  List.Exchange(0, 1);
  List.Delete(3);
  EXPECT_EQ(LinesOf(List), (TLines{"b", "a", "c", "z"}));
  EXPECT_EQ(DataOf(List), LinesOf(List));
}

TEST(StringListTest, SortKeepsData) {
  TStringList<int> List;
  const TLines Words{"pear", "Apple", "fig", "banana", "apple", "kiwi", "Fig", "date"};
  for (int I = 0; I < 8; ++I) List.AddObject(Words[I], nullptr, I);
  List.Sort();
  for (int I = 0; I < 8; ++I) EXPECT_EQ(List.Get(I), Words[List.GetData(I)]);
  for (int I = 1; I < 8; ++I) EXPECT_LE(CompareText(List.Get(I - 1), List.Get(I)), 0);
  List.Sort([](TStringList<int>& L, int A, int B) { return L.GetData(B) - L.GetData(A); });
  EXPECT_EQ(DataOf(List), (std::vector<int>{7, 6, 5, 4, 3, 2, 1, 0}));
  // A comparison that is no order must not run off the list.
  List.Sort([](TStringList<int>&, int, int) { return -1; });
  EXPECT_EQ(List.GetCount(), 8);
  List.SetSorted(true);
  EXPECT_TRUE(List.GetData(0) == 1 || List.GetData(0) == 4);  // "Apple" or "apple"
}

TEST(StringListTest, ChangeEventsOutsideUpdates) {
  TStringList<> List;
  TLines Events;
  List.SetOnChanging([&](TObject*) { Events.push_back("changing " + std::to_string(List.GetCount())); });
  List.SetOnChange([&](TObject*) { Events.push_back("changed " + std::to_string(List.GetCount())); });
  List.Add("a");
  EXPECT_EQ(Events, (TLines{"changing 0", "changed 1"}));
  Events.clear();
  List.BeginUpdate();
  List.Add("b");
  List.Delete(0);
  List.Clear();
  EXPECT_LE(Events.size(), 1u);  // at most the bracket's own Changing
  List.EndUpdate();
  EXPECT_EQ(Events.back(), "changed 0");
}

class TTrackedObject : public TObject {
public:
  TTrackedObject(TStringList<>* AList, std::vector<int>* ACounts) : FList(AList), FCounts(ACounts) {}
  ~TTrackedObject() override {
    FCounts->push_back(FList->GetCount());
    EXPECT_EQ(FList->IndexOfObject(this), -1);
  }

private:
  TStringList<>* FList;
  std::vector<int>* FCounts;
};

TEST(StringListTest, OwnedObjectsAreFreedAfterTheirLines) {
  std::vector<int> Counts;
  {
    TStringList<> List(true);
    for (const char* S : {"a", "b", "c", "d"}) List.AddObject(S, new TTrackedObject(&List, &Counts));
    List.Delete(1);
    EXPECT_EQ(Counts, std::vector<int>{3});
    List.Clear();
    EXPECT_EQ(Counts, (std::vector<int>{3, 0, 0, 0}));
    List.AddObject("e", new TTrackedObject(&List, &Counts));
  }
  EXPECT_EQ(Counts.size(), 5u);
}

TEST(StringListTest, AssignAndAddStringsKeepData) {
  TStringList<int> Source;
  Source.SetCaseSensitive(true);
  Source.SetDuplicates(dupAccept);
  AddAll(Source, {{"b", 2}, {"a", 1}});
  Source.SetSorted(true);

  TStringList<int> Copy;
  Copy.Add("stale");
  Copy.Assign(&Source);
  EXPECT_EQ(LinesOf(Copy), (TLines{"a", "b"}));
  EXPECT_EQ(DataOf(Copy), (std::vector<int>{1, 2}));
  EXPECT_TRUE(Copy.GetSorted() && Copy.GetCaseSensitive() && Copy.GetDuplicates() == dupAccept);

  TStringList<int> More;
  AddAll(More, {{"c", 3}, {"a", 10}});
  // Each data item below belongs to one line, so the data show the lines.
  Copy.AddStrings(More);  // sorted target, line by line
  EXPECT_EQ(DataOf(Copy), (std::vector<int>{1, 10, 2, 3}));
  More.AddStrings(More);  // unsorted, to itself
  EXPECT_EQ(DataOf(More), (std::vector<int>{3, 10, 3, 10}));

  // A list without data gives its lines and flags, and empty data.
  TStringList<> Plain;
  Plain.SetSorted(true);
  for (const char* S : {"y", "x"}) Plain.Add(S);
  TStringList<int> FromPlain;
  FromPlain.Assign(&Plain);
  EXPECT_EQ(LinesOf(FromPlain), (TLines{"x", "y"}));
  EXPECT_TRUE(FromPlain.GetSorted());
  EXPECT_EQ(DataOf(FromPlain), (std::vector<int>{0, 0}));
}

// ---------------------------------------------------------------- update brackets

// Refuses one key in its notifications, so that work inside a bracket fails
// part way.
class TRefusingTable : public TVXStringObjectHashTable<TItemObject*> {
public:
  using TVXStringObjectHashTable::TVXStringObjectHashTable;
  std::string Refused;

protected:
  void KeyNotify(const std::string& Key, TCollectionNotification Action) override {
    if (Key == Refused) throw EListError("refused " + Key);
    TVXStringObjectHashTable::KeyNotify(Key, Action);
  }
};

// A failure inside an update bracket leaves it closed, with its one change.
TEST(VXCollectionsTest, UpdateBracketsCloseWhenTheWorkFails) {
  TRefusingTable Table;
  int Changes = 0;
  Table.SetOnChange([&](TObject*) { ++Changes; });
  Table.Add("a", nullptr);
  Table.Add("b", nullptr);
  Table.Refused = "a";
  Changes = 0;
  EXPECT_EQ(ErrorOf<EListError>([&] { Table.Clear(); }), "refused a");
  EXPECT_EQ(Table.GetUpdating(), 0);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Table.GetCount(), 0);

  TStringList<> Lines;
  Lines.Add("c");
  Lines.Add("d");
  Table.Refused = "d";
  Changes = 0;
  EXPECT_EQ(ErrorOf<EListError>([&] { Table.Assign(&Lines); }), "refused d");
  EXPECT_EQ(Table.GetUpdating(), 0);
  EXPECT_EQ(Changes, 1);
  EXPECT_TRUE(Table.ContainsKey("c"));

  // Keys that differ only in case meet a sorted list that refuses duplicates.
  TStringList<> Sorted;
  Sorted.SetSorted(true);
  Sorted.SetDuplicates(dupError);
  int ListChanges = 0;
  Sorted.SetOnChange([&](TObject*) { ++ListChanges; });
  const std::string Refusal = "String list does not allow duplicates";
  TVXStringHashTable<int> Cased;
  Cased.Add("k", 1);
  Cased.Add("K", 2);
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Sorted.Assign(&Cased); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(Sorted.GetCount(), 1);
  EXPECT_EQ(ListChanges, 1);

  TRefusingTable CasedObjects;
  CasedObjects.Add("m", nullptr);
  CasedObjects.Add("M", nullptr);
  ListChanges = 0;
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Sorted.Assign(&CasedObjects); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);

  // String lists: from one of the same class, and from another.
  TStringList<> Same;
  Same.Add("x");
  Same.Add("X");
  ListChanges = 0;
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Sorted.AddStrings(Same); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);

  TStringList<int> Other;
  Other.Add("y");
  Other.Add("Y");
  ListChanges = 0;
  EXPECT_EQ(ErrorOf<EStringListError>([&] { Sorted.Assign(&Other); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);
  EXPECT_EQ(LinesOf(Sorted), std::vector<std::string>{"y"});
}

}  // namespace
}  // namespace cogent
