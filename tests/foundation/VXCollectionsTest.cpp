#include "cogent/foundation/VXCollections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace cogent {
namespace {

template <class E, class F>
std::string MessageOf(F&& Action) {
  try {
    Action();
  } catch (const E& Error) {
    return Error.what();
  }
  return "<no exception>";
}

// Hash chosen by the test: Key / 100, so keys of one hundred collide.
class THundredsComparer : public TEqualityComparer<int> {
public:
  std::int32_t GetHashCode(const int& Value) const override { return Value / 100; }
};

// Records every step that reaches the overridable notifications.
class TLoggingTable : public TVXHashTable<std::string, int> {
public:
  using TVXHashTable::TVXHashTable;
  std::vector<std::string> Log;
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
  TVXHashTable<int, int> Table(11);
  EXPECT_EQ(Table.GetCapacity(), 16);
  for (int I = 0; I < 12; ++I) Table.Add(I, I);
  EXPECT_EQ(Table.GetCapacity(), 16);
  Table.Add(12, 12);
  EXPECT_EQ(Table.GetCapacity(), 32);

  TVXHashTable<int, int> Empty(0);
  EXPECT_EQ(Empty.GetCapacity(), 0);
  EXPECT_FALSE(Empty.ContainsKey(1));
  Empty.Add(1, 1);
  EXPECT_EQ(Empty.GetCapacity(), 4);
  Empty.Add(2, 2);
  Empty.Add(3, 3);
  Empty.Add(4, 4);
  EXPECT_EQ(Empty.GetCapacity(), 8);

  EXPECT_EQ(MessageOf<EArgumentOutOfRangeException>([&] { Empty.SetCapacity(3); }), "Argument out of range");
  EXPECT_EQ(Empty.GetCapacity(), 8);
  EXPECT_EQ(MessageOf<EArgumentOutOfRangeException>([] { TVXDictionary<int, int> Bad(-1); }),
            "Argument out of range");
  // A capacity equal to a full power of two keeps an empty bucket to stop at.
  Empty.SetCapacity(4);
  EXPECT_EQ(Empty.GetCapacity(), 8);
  EXPECT_FALSE(Empty.ContainsKey(99));
  Empty.Remove(4);
  Empty.TrimExcess();
  EXPECT_EQ(Empty.GetCapacity(), 4);
  for (int I = 1; I <= 3; ++I) EXPECT_EQ(Empty.Get(I), I);
  Empty.Clear();
  EXPECT_EQ(Empty.GetCapacity(), 0);
  Empty.Add(5, 5);
  EXPECT_EQ(Empty.GetCapacity(), 4);
}

TEST(VXDictionaryTest, RemovalInsideProbeRunKeepsTheRunReachable) {
  // Eight buckets; hash codes 6 and 0 land in buckets 7 and 1, so the run
  // 600 601 602 wraps round into the run of 5 and 6.
  TVXDictionary<int, int> Table(8, IEqualityComparer<int>(new THundredsComparer()));
  for (int Key : {600, 601, 602, 5, 6}) Table.Add(Key, Key * 10);
  Table.Remove(601);
  EXPECT_FALSE(Table.ContainsKey(601));
  for (int Key : {600, 602, 5, 6}) EXPECT_EQ(Table.GetItem(Key), Key * 10) << Key;
  Table.Remove(600);
  for (int Key : {602, 5, 6}) EXPECT_EQ(Table.GetItem(Key), Key * 10) << Key;
  EXPECT_EQ(Table.GetCount(), 3);

  // Table order is bucket order of the hash plus one: hash 7 wraps to
  // bucket 0, ahead of hash 0 in bucket 1. A hash of -1 is an ordinary key.
  TVXHashTable<int, int> Order(8, IEqualityComparer<int>(new THundredsComparer()));
  Order.Add(0, 0);
  Order.Add(700, 7);
  Order.Add(-100, -1);
  EXPECT_EQ(Order.GetKeyByIndex(0), 700);
  EXPECT_EQ(Order.GetKeyByIndex(1), 0);
  EXPECT_EQ(Order.GetKeyByIndex(2), -100);  // hash 0 as well, probed on
  EXPECT_EQ(Order.Get(-100), -1);

  // Against a model, with heavy collisions, growth and wrap-around.
  TVXHashTable<int, int> Random(IEqualityComparer<int>(new THundredsComparer()));
  std::map<int, int> Model;
  std::mt19937 Generator(12345);
  for (int Step = 0; Step < 4000; ++Step) {
    const int Key = static_cast<int>(Generator() % 4) * 100 + static_cast<int>(Generator() % 12);
    const int Value = static_cast<int>(Generator() % 1000);
    switch (Generator() % 3) {
      case 0:
        EXPECT_EQ(Random.Put(Key, Value), Model.count(Key) ? Model[Key] : 0);
        Model[Key] = Value;
        break;
      case 1:
        if (!Model.empty()) {
          Random.Remove(Key);
          Model.erase(Key);
        }
        break;
      default:
        if (Step % 500 == 0) Random.TrimExcess();
        break;
    }
    ASSERT_EQ(Random.GetCount(), static_cast<int>(Model.size()));
    for (const auto& [K, V] : Model) {
      int Found = -1;
      ASSERT_TRUE(Random.ContainsKey(K, Found)) << "step " << Step << " key " << K;
      ASSERT_EQ(Found, V);
    }
  }
}

TEST(VXHashTableTest, AddSetRemoveNotifications) {
  TLoggingTable Table;
  int Changes = 0;
  Table.SetOnChange([&](TObject*) { ++Changes; });

  EXPECT_EQ(Table.Put("a", 1), 0);
  EXPECT_EQ(Table.Log, (std::vector<std::string>{"K a cnAdded", "V 1 cnAdded"}));
  EXPECT_EQ(Table.CountSeen, 1);
  Table.Log.clear();

  EXPECT_EQ(Table.Put("a", 2), 1);
  EXPECT_EQ(Table.Log, (std::vector<std::string>{"V 1 cnRemoved", "V 2 cnAdded"}));
  EXPECT_EQ(Table.GetCount(), 1);
  EXPECT_EQ(Changes, 2);
  Table.Log.clear();

  EXPECT_EQ(MessageOf<EListError>([&] { Table.Add("a", 3); }), "Duplicates not allowed in this list");
  EXPECT_EQ(MessageOf<EListError>([&] { Table.Get("b"); }), "Item not found");
  EXPECT_TRUE(Table.Log.empty());
  EXPECT_EQ(Table.Get("a"), 2);

  Table.Add("b", 5);
  Table.Log.clear();
  Table.Remove("zz");  // absent: nothing at all
  EXPECT_TRUE(Table.Log.empty());
  EXPECT_EQ(Changes, 3);

  const auto Pair = Table.ExtractPair("b");
  EXPECT_EQ(Pair.Key, "b");
  EXPECT_EQ(Pair.Value, 5);
  Table.Remove("a");
  EXPECT_EQ(Table.Log, (std::vector<std::string>{"K b cnExtracted", "V 5 cnExtracted", "K a cnRemoved",
                                                  "V 2 cnRemoved"}));
  EXPECT_EQ(Table.CountSeen, 0);
  EXPECT_TRUE(Table.IsEmpty());
  EXPECT_EQ(MessageOf<EGHashtableError>([&] { Table.Remove("a"); }),
            "Cannot remove an item from an empty hash table");
  EXPECT_EQ(Table.ExtractPair("a").Value, 0);

  // Inside a bracket nothing reaches the events and one change comes at the end.
  std::vector<std::string> Events;
  Table.SetOnKeyNotify([&](TObject*, const std::string& Key, TCollectionNotification) { Events.push_back(Key); });
  Changes = 0;
  Table.BeginUpdate();
  Table.Add("x", 1);
  Table.Add("y", 2);
  EXPECT_EQ(Changes, 0);
  Table.EndUpdate();
  EXPECT_EQ(Changes, 1);
  EXPECT_TRUE(Events.empty());
  Table.PutItem("z", 3);
  EXPECT_EQ(Events, std::vector<std::string>{"z"});
}

TEST(VXHashTableTest, ClearNotifiesAfterEmptying) {
  TLoggingTable Table;
  int Changes = 0;
  int EventCalls = 0;
  Table.SetOnChange([&](TObject*) { ++Changes; });
  Table.SetOnKeyNotify([&](TObject*, const std::string&, TCollectionNotification) { ++EventCalls; });
  Table.Add("a", 1);
  Table.Add("b", 2);
  Table.Add("c", 3);
  Table.Log.clear();
  Changes = EventCalls = 0;
  Table.Clear();
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(EventCalls, 0);
  EXPECT_EQ(Table.Log.size(), 6u);
  EXPECT_EQ(Table.CountSeen, 0);
  EXPECT_EQ(Table.GetCapacity(), 0);

  // The plain dictionary passes Clear's notifications to its events.
  TVXDictionary<std::string, int> Dictionary;
  Dictionary.Add("a", 1);
  Dictionary.Add("b", 2);
  std::vector<int> Seen;
  Dictionary.SetOnValueNotify([&](TObject* Sender, const int& Value, TCollectionNotification Action) {
    EXPECT_EQ(Dictionary.GetCount(), 0);
    EXPECT_EQ(Sender, &Dictionary);
    EXPECT_EQ(Action, cnRemoved);
    Seen.push_back(Value);
  });
  Dictionary.Clear();
  std::sort(Seen.begin(), Seen.end());
  EXPECT_EQ(Seen, (std::vector<int>{1, 2}));
}

TEST(VXHashTableTest, IndexedAccessFollowsChanges) {
  TVXHashTable<int, int> Table;
  for (int I = 0; I < 40; ++I) Table.Add(I * 7, I);
  auto Sweep = [&](bool Backward) {
    std::multiset<int> Values;
    const int Count = Table.GetCount();
    for (int I = 0; I < Count; ++I) {
      const int Index = Backward ? Count - 1 - I : I;
      EXPECT_EQ(Table.GetItemByIndex(Index), Table.Get(Table.GetKeyByIndex(Index)));
      Values.insert(Table.GetItemByIndex(Index));
    }
    return Values;
  };
  std::multiset<int> All;
  for (int I = 0; I < 40; ++I) All.insert(I);
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

  EXPECT_EQ(MessageOf<EListError>([&] { Table.GetItemByIndex(40); }), "List index out of bounds (40)");
  EXPECT_EQ(MessageOf<EListError>([&] { Table.GetPairByIndex(-1); }), "List index out of bounds (-1)");
}

TEST(VXDictionaryTest, EnumerationAndViews) {
  TVXDictionary<std::string, int> Dictionary(64);
  Dictionary.Add("one", 1);
  Dictionary.Add("two", 2);
  Dictionary.Add("three", 3);

  std::map<std::string, int> Seen;
  for (const auto& Item : Dictionary) Seen[Item.Key] = Item.Value;
  EXPECT_EQ(Seen, (std::map<std::string, int>{{"one", 1}, {"two", 2}, {"three", 3}}));

  // Keys, values and pairs agree on the table order.
  std::vector<std::string> Keys(Dictionary.GetKeys().begin(), Dictionary.GetKeys().end());
  const auto Values = Dictionary.GetValues().ToArray();
  const auto Pairs = Dictionary.ToArray();
  ASSERT_EQ(Keys.size(), 3u);
  ASSERT_EQ(Values.size(), 3u);
  for (std::size_t I = 0; I < 3; ++I) {
    EXPECT_EQ(Pairs[I].Key, Keys[I]);
    EXPECT_EQ(Pairs[I].Value, Values[I]);
  }

  TVXDictionary<std::string, int> Assigned;
  Assigned.Add("stale", 0);
  Assigned.Assign(&Dictionary);
  EXPECT_EQ(Assigned.GetCount(), 3);
  EXPECT_FALSE(Assigned.ContainsKey("stale"));
  EXPECT_TRUE(Assigned.ContainsValue(3));

  EXPECT_EQ(MessageOf<EListError>([&] { Dictionary.SetItem("four", 4); }), "Item not found");
  int Value = 7;
  EXPECT_FALSE(Dictionary.TryGetValue("four", Value));
  EXPECT_EQ(Value, 0);

  // Values and keys given from the table itself survive the change.
  TVXHashTable<std::string, std::string> Texts(0);
  Texts.Add("k", "value");
  Texts.Put("k", Texts.Get("k"));
  EXPECT_EQ(Texts.Get("k"), "value");
  for (int I = 0; I < 8; ++I) Texts.Add(std::string(20, static_cast<char>('a' + I)), Texts.GetItemByIndex(0));
  EXPECT_EQ(Texts.Get("k"), "value");
  Texts.Remove(Texts.GetKeyByIndex(3));
  EXPECT_EQ(Texts.GetCount(), 8);
}

TEST(VXDictionaryTest, Comparers) {
  TVXDictionary<std::string, int> Exact;
  Exact.Add("Alpha", 1);
  Exact.Add("ALPHA", 2);
  EXPECT_EQ(Exact.GetCount(), 2);

  TVXDictionary<std::string, int> Text(CaseInsensitiveStringComparer());
  Text.Add("Alpha", 1);
  EXPECT_EQ(Text.GetItem("aLPHA"), 1);
  EXPECT_EQ(MessageOf<EListError>([&] { Text.Add("ALPHA", 2); }), "Duplicates not allowed in this list");
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

TEST(VXStringHashTableTest, IteratorsAndStrings) {
  TVXStringHashTable<int> Table(64);
  Table.Add("a", 1);
  Table.Add("b", 2);
  Table.Add("c", 3);

  IStringIterator Keys = Table.Indices();
  EXPECT_EQ(MessageOf<EListError>([&] { Keys->CurrentElement(); }), "List index out of bounds (-1)");
  std::vector<std::string> Seen;
  while (Keys->HasMoreElements()) {
    Seen.push_back(Keys->NextElement());
    EXPECT_EQ(Keys->CurrentElement(), Seen.back());
  }
  EXPECT_EQ(Seen.size(), 3u);
  EXPECT_EQ(Keys->GetCount(), 3);
  EXPECT_EQ(MessageOf<EListError>([&] { Keys->NextElement(); }), "List index out of bounds (3)");
  Keys->Reset();
  EXPECT_EQ(Keys->NextElement(), Seen.front());

  // To strings in table order, and back with empty values in one change.
  TStringList<> Lines;
  Lines.Add("stale");
  Lines.Assign(&Table);
  ASSERT_EQ(Lines.GetCount(), 3);
  for (int I = 0; I < 3; ++I) EXPECT_EQ(Lines.Get(I), Seen[I]);

  TVXStringHashTable<int> Back;
  int Changes = 0;
  Back.SetOnChange([&](TObject*) { ++Changes; });
  Back.Assign(&Lines);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Back.GetCount(), 3);
  EXPECT_EQ(Back.Get("b"), 0);
}

TEST(VXStringHashTableTest, ObjectTableCarriesObjects) {
  TItemObject First(1);
  TItemObject Second(2);
  TVXStringObjectHashTable<TItemObject*> Table;
  Table.Add("first", &First);
  Table.Add("second", &Second);

  auto Elements = Table.Elements();
  int Sum = 0;
  while (Elements->HasMoreElements()) Sum += Elements->NextElement()->Value;
  EXPECT_EQ(Sum, 3);

  TStringList<> Lines;
  Lines.Assign(&Table);
  ASSERT_EQ(Lines.GetCount(), 2);
  EXPECT_EQ(Lines.GetObject(Lines.IndexOf("second")), &Second);

  TVXStringObjectHashTable<TItemObject*> Copy;
  Copy.Assign(&Lines);
  EXPECT_EQ(Copy.Get("first"), &First);

  // An object of the wrong class is refused before anything changes.
  TObject Stranger;
  Lines.AddObject("stranger", &Stranger);
  EXPECT_EQ(MessageOf<EConvertError>([&] { Copy.Assign(&Lines); }).rfind("Cannot assign a TObject", 0), 0u);
  EXPECT_EQ(Copy.GetCount(), 2);
}

// ---------------------------------------------------------------- TStringList

std::vector<std::string> LinesOf(const TStrings& List) {
  std::vector<std::string> Result;
  for (int I = 0; I < List.GetCount(); ++I) Result.push_back(List.Get(I));
  return Result;
}

TEST(StringListTest, SortedDuplicates) {
  TStringList<int> List;
  List.SetSorted(true);
  List.SetDuplicates(dupAccept);
  List.AddObject("b", nullptr, 1);
  List.AddObject("a", nullptr, 2);
  List.AddObject("B", nullptr, 3);
  List.AddObject("c", nullptr, 4);
  List.AddObject("b", nullptr, 5);
  EXPECT_EQ(LinesOf(List), (std::vector<std::string>{"a", "b", "B", "b", "c"}));
  EXPECT_EQ(List.GetData(1), 1);
  EXPECT_EQ(List.GetData(2), 3);
  EXPECT_EQ(List.GetData(3), 5);
  int Index = -1;
  EXPECT_TRUE(List.Find("B", Index));
  EXPECT_EQ(Index, 4);  // behind its equals
  EXPECT_FALSE(List.Find("bb", Index));
  EXPECT_EQ(Index, 4);

  TStringList<int> Unique;
  Unique.SetSorted(true);
  Unique.AddObject("x", nullptr, 1);
  Unique.AddObject("m", nullptr, 2);
  EXPECT_EQ(Unique.AddObject("X", nullptr, 3), 1);  // dupIgnore: the present line
  EXPECT_EQ(Unique.GetCount(), 2);
  EXPECT_EQ(Unique.GetData(1), 1);
  EXPECT_TRUE(Unique.Find("X", Index));
  EXPECT_EQ(Index, 1);
  EXPECT_EQ(Unique.IndexOf("M"), 0);
  EXPECT_EQ(Unique.IndexOf("n"), -1);
  Unique.SetDuplicates(dupError);
  EXPECT_EQ(MessageOf<EStringListError>([&] { Unique.Add("m"); }), "String list does not allow duplicates");
  EXPECT_EQ(Unique.GetCount(), 2);

  EXPECT_EQ(MessageOf<EStringListError>([&] { Unique.Insert(0, "a"); }), "Operation not allowed on sorted list");
  EXPECT_EQ(MessageOf<EStringListError>([&] { Unique.Put(0, "a"); }), "Operation not allowed on sorted list");
  EXPECT_EQ(MessageOf<EStringListError>([&] { Unique.Exchange(0, 1); }), "Operation not allowed on sorted list");

  // Case sensitivity re-sorts a sorted list.
  Unique.SetCaseSensitive(true);
  Unique.SetDuplicates(dupIgnore);
  Unique.Add("M");
  EXPECT_EQ(LinesOf(Unique), (std::vector<std::string>{"m", "M", "x"}));
}

TEST(StringListTest, IndexErrorsAndMoves) {
  TStringList<std::string> List;
  for (const char* S : {"a", "b", "c"}) List.Add(S);
  EXPECT_EQ(MessageOf<EStringListError>([&] { List.Get(3); }), "List index out of bounds (3)");
  EXPECT_EQ(MessageOf<EStringListError>([&] { List.Delete(-1); }), "List index out of bounds (-1)");
  EXPECT_EQ(MessageOf<EArgumentOutOfRangeException>([&] { List.Insert(4, "x"); }), "Argument out of range");
  List.InsertObject(3, "d", nullptr, "data d");
  List.InsertObject(0, "z", nullptr, "data z");
  EXPECT_EQ(LinesOf(List), (std::vector<std::string>{"z", "a", "b", "c", "d"}));
  List.Move(0, 4);
  List.Exchange(0, 1);
  EXPECT_EQ(LinesOf(List), (std::vector<std::string>{"b", "a", "c", "d", "z"}));
  EXPECT_EQ(List.GetData(3), "data d");
  EXPECT_EQ(List.GetData(4), "data z");
  List.Delete(3);
  EXPECT_EQ(List.GetData(3), "data z");
  EXPECT_EQ(List.GetCount(), 4);
}

TEST(StringListTest, SortKeepsData) {
  TStringList<int> List;
  const std::vector<std::string> Words{"pear", "Apple", "fig", "banana", "apple", "kiwi", "Fig", "date"};
  for (int I = 0; I < static_cast<int>(Words.size()); ++I) List.AddObject(Words[I], nullptr, I);
  List.Sort();
  for (int I = 0; I < List.GetCount(); ++I) {
    EXPECT_EQ(List.Get(I), Words[List.GetData(I)]);
    if (I > 0) {
      EXPECT_LE(CompareText(List.Get(I - 1), List.Get(I)), 0);
    }
  }
  List.Sort([](TStringList<int>& L, int A, int B) { return L.GetData(B) - L.GetData(A); });
  for (int I = 0; I < List.GetCount(); ++I) EXPECT_EQ(List.GetData(I), 7 - I);
  // A comparison that is no order must not run off the list.
  List.Sort([](TStringList<int>&, int, int) { return -1; });
  EXPECT_EQ(List.GetCount(), 8);
  List.SetSorted(true);
  EXPECT_EQ(List.GetData(0) == 1 || List.GetData(0) == 4, true);
  std::vector<int> Data(List.GetValueCollection().begin(), List.GetValueCollection().end());
  EXPECT_EQ(Data.size(), 8u);
}

TEST(StringListTest, ChangeEventsOutsideUpdates) {
  TStringList<> List;
  std::vector<std::string> Events;
  List.SetOnChanging([&](TObject*) { Events.push_back("changing " + std::to_string(List.GetCount())); });
  List.SetOnChange([&](TObject*) { Events.push_back("changed " + std::to_string(List.GetCount())); });
  List.Add("a");
  EXPECT_EQ(Events, (std::vector<std::string>{"changing 0", "changed 1"}));
  Events.clear();
  List.BeginUpdate();
  List.Add("b");
  List.Delete(0);
  List.Clear();
  const auto Inside = Events.size();
  List.EndUpdate();
  EXPECT_LE(Inside, 1u);  // at most the bracket's own Changing
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
  Source.AddObject("b", nullptr, 2);
  Source.AddObject("a", nullptr, 1);
  Source.SetSorted(true);

  TStringList<int> Copy;
  Copy.Add("stale");
  Copy.Assign(&Source);
  EXPECT_EQ(LinesOf(Copy), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(Copy.GetData(1), 2);
  EXPECT_TRUE(Copy.GetSorted());
  EXPECT_TRUE(Copy.GetCaseSensitive());
  EXPECT_EQ(Copy.GetDuplicates(), dupAccept);

  TStringList<int> More;
  More.AddObject("c", nullptr, 3);
  More.AddObject("a", nullptr, 10);
  Copy.AddStrings(More);  // sorted target, line by line
  EXPECT_EQ(LinesOf(Copy), (std::vector<std::string>{"a", "a", "b", "c"}));
  EXPECT_EQ(Copy.GetData(0), 1);
  EXPECT_EQ(Copy.GetData(1), 10);
  More.AddStrings(More);  // unsorted, to itself
  EXPECT_EQ(LinesOf(More), (std::vector<std::string>{"c", "a", "c", "a"}));
  EXPECT_EQ(More.GetData(3), 10);

  TStringList<> Plain;
  Plain.SetSorted(true);
  Plain.Add("y");
  Plain.Add("x");
  TStringList<int> FromPlain;
  FromPlain.Assign(&Plain);
  EXPECT_EQ(LinesOf(FromPlain), (std::vector<std::string>{"x", "y"}));
  EXPECT_TRUE(FromPlain.GetSorted());
  EXPECT_EQ(FromPlain.GetData(0), 0);
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
  EXPECT_EQ(MessageOf<EListError>([&] { Table.Clear(); }), "refused a");
  EXPECT_EQ(Table.GetUpdating(), 0);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Table.GetCount(), 0);

  TStringList<> Lines;
  Lines.Add("c");
  Lines.Add("d");
  Table.Refused = "d";
  Changes = 0;
  EXPECT_EQ(MessageOf<EListError>([&] { Table.Assign(&Lines); }), "refused d");
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
  EXPECT_EQ(MessageOf<EStringListError>([&] { Sorted.Assign(&Cased); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(Sorted.GetCount(), 1);
  EXPECT_EQ(ListChanges, 1);

  TRefusingTable CasedObjects;
  CasedObjects.Add("m", nullptr);
  CasedObjects.Add("M", nullptr);
  ListChanges = 0;
  EXPECT_EQ(MessageOf<EStringListError>([&] { Sorted.Assign(&CasedObjects); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);

  // String lists: from one of the same class, and from another.
  TStringList<> Same;
  Same.Add("x");
  Same.Add("X");
  ListChanges = 0;
  EXPECT_EQ(MessageOf<EStringListError>([&] { Sorted.AddStrings(Same); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);

  TStringList<int> Other;
  Other.Add("y");
  Other.Add("Y");
  ListChanges = 0;
  EXPECT_EQ(MessageOf<EStringListError>([&] { Sorted.Assign(&Other); }), Refusal);
  EXPECT_EQ(Sorted.GetUpdateCount(), 0);
  EXPECT_EQ(ListChanges, 1);
  EXPECT_EQ(LinesOf(Sorted), std::vector<std::string>{"y"});
}

}  // namespace
}  // namespace cogent
