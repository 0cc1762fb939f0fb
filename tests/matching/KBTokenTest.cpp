#include "cogent/matching/KBToken.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// "item" with a plain slot "name" and a multislot "tags".
IFactTemplate Item() {
  const IFactTemplate T(new TFactTemplate(nullptr, "item"));
  T->AddSlot("name", Atom("none"));
  T->AddMultiSlot("tags", List({}));
  return T;
}

IFact NewFact(const IFactTemplate& T, std::int32_t Id, const std::string& Name = "none") {
  const IFact Fact(new TFact(T));
  Fact->SetID(Id);
  Fact->SetValue("name", Atom(Name));
  return Fact;
}

IReteToken One(const IFact& Fact, TTokenAction Action = taAdd) { return IReteToken(new TKBToken(Action, Fact)); }
IReteToken Extend(const IReteToken& Parent, const IFact& Fact) { return IReteToken(new TKBToken(Parent, Fact)); }

// Tag, count, sort code, strength and negated count.
std::string Summary(const IReteToken& T) {
  return EnumName(T->GetTag()) + " n=" + std::to_string(T->GetCount()) + " sort=" + std::to_string(T->GetSortCode()) +
         " s=" + std::to_string(T->GetStrength()) + " neg=" + std::to_string(T->GetNegatedCount());
}

// The facts at the positions from -1 to the count.
std::vector<IFact> Facts(const IReteToken& T) {
  std::vector<IFact> Result;
  for (int I = -1; I <= T->GetCount(); ++I) Result.push_back(T->GetFacts(I));
  return Result;
}

// The used key range of a memory.
std::string Range(const TKBTokenTree& Memory) {
  return std::to_string(Memory.GetLowIndex()) + ".." + std::to_string(Memory.GetHighIndex());
}

class KBTokenTest : public ::testing::Test {
protected:
  IFactTemplate T = Item();
  IFact F1 = NewFact(T, 1, "a"), F2 = NewFact(T, 2, "b"), F3 = NewFact(T, 3, "c");
};

TEST_F(KBTokenTest, ChainsAreSharedAndWalkedFromTheOldestFact) {
  const IReteToken First = One(F1);
  EXPECT_EQ(Summary(First), "taAdd n=1 sort=1 s=1.000000 neg=0");
  First->SetStrength(0.5f);
  const IReteToken Second = Extend(First, F2);
  const IReteToken Third = Extend(Second, F3);
  // The extension holds only its own fact; the rest is the parent's. The
  // sort code is (1 * 8 + 2) * 8 + 3.
  EXPECT_EQ(Third->GetParent(), Second);
  EXPECT_EQ(Second->GetParent(), First);
  EXPECT_EQ(Third->GetFact(), F3);
  EXPECT_EQ(Facts(Third), (std::vector<IFact>{nullptr, F1, F2, F3, nullptr}));
  EXPECT_EQ(Summary(Third), "taAdd n=3 sort=83 s=0.500000 neg=0");

  // A nil fact keeps its position and weighs nothing in the sort code.
  const IReteToken Gap = Extend(Second, nullptr);
  EXPECT_EQ(Facts(Gap), (std::vector<IFact>{nullptr, F1, F2, nullptr, nullptr}));
  EXPECT_EQ(Summary(Gap), "taAdd n=3 sort=80 s=0.500000 neg=0");

  // A copy shares the chain and starts unblocked.
  Third->SetNegatedCount(2);
  Third->SetTag(taRemove);
  for (const IReteToken& C : {IReteToken(new TKBToken(Third)), IReteToken(new TKBToken(*Third))}) {
    EXPECT_EQ(C->GetParent(), Second);
    EXPECT_EQ(C->GetFact(), F3);
    EXPECT_EQ(Summary(C), "taRemove n=3 sort=83 s=0.500000 neg=0");
  }

  // Clear tokens hold nothing.
  for (const IReteToken& Clear : {IReteToken(new TKBToken()), One(nullptr, taClear)}) {
    EXPECT_EQ(Summary(Clear), "taClear n=0 sort=0 s=1.000000 neg=0");
    EXPECT_EQ(Facts(Clear), (std::vector<IFact>{nullptr, nullptr}));
  }

  // Long chains wrap their sort code instead of overflowing.
  IReteToken Long = One(NewFact(T, std::numeric_limits<std::int32_t>::max()));
  for (int I = 0; I < 40; ++I) Long = Extend(Long, F3);
  EXPECT_EQ(Long->GetCount(), 41);
  EXPECT_EQ(Long->GetFacts(40), F3);
}

TEST_F(KBTokenTest, CountsAndStrengthsAreClampedAndOnlyAFactTokenTakesAnAction) {
  const IReteToken Token = One(F1);
  Token->SetNegatedCount(3);
  EXPECT_EQ(Token->GetNegatedCount(), 3);
  Token->SetNegatedCount(-1);
  EXPECT_EQ(Token->GetNegatedCount(), 0);

  std::string Strengths;
  for (float Strength : {-0.5f, 1.5f, std::nanf("")}) {
    Token->SetStrength(Strength);
    Strengths += std::to_string(Token->GetStrength()) + " ";
  }
  EXPECT_EQ(Strengths, "0.000000 1.500000 0.000000 ");
  Token->SetTag(taUpdate);
  EXPECT_EQ(Token->GetTag(), taUpdate);
  Token->SetTag(taClear);
  EXPECT_EQ(Token->GetTag(), taClear);

  const IReteToken Clear(new TKBToken());
  Clear->SetTag(taClear);
  for (TTokenAction Action : {taAdd, taRemove, taUpdate})
    EXPECT_EQ(ErrorOf([&] { Clear->SetTag(Action); }), "Invalid Token Action");
  EXPECT_EQ(Clear->GetTag(), taClear);

  // A position without a fact is no fact either, whatever the parent's action.
  const IReteToken Gap = Extend(One(F1, taAdd), nullptr);
  EXPECT_EQ(Gap->GetTag(), taAdd);
  Gap->SetTag(taAdd);
  EXPECT_EQ(ErrorOf([&] { Gap->SetTag(taRemove); }), "Invalid Token Action");
  EXPECT_EQ(Gap->GetTag(), taAdd);
}

TEST_F(KBTokenTest, EqualityIsByFactIdsAndStrengthsAlongTheChain) {
  const IReteToken A = Extend(Extend(One(F1), F2), F3);
  EXPECT_TRUE(A->Equals(A));
  EXPECT_FALSE(A->Equals(IReteToken()));

  // Built apart, from another fact with the same id.
  const IReteToken B = Extend(Extend(One(F1, taRemove), NewFact(T, 2, "other")), F3);
  B->SetNegatedCount(4);
  EXPECT_TRUE(A->Equals(B));

  // Another strength anywhere in the chain makes another token.
  B->SetStrength(0.5f);
  EXPECT_FALSE(A->Equals(B));
  const IReteToken WeakRoot = One(F1);
  WeakRoot->SetStrength(0.5f);
  const IReteToken C = Extend(Extend(WeakRoot, F2), F3);
  C->SetStrength(1.0f);
  EXPECT_FALSE(A->Equals(C));

  // Other facts, or the same facts in another order, differ.
  EXPECT_FALSE(A->Equals(Extend(Extend(One(F1), F3), F2)));

  // A shared parent ends the comparison; a missing one on the other side
  // differs, while this side ending first is enough.
  const IReteToken Parent = Extend(One(F1), F2);
  EXPECT_TRUE(Extend(Parent, F3)->Equals(Extend(Parent, F3)));
  const IReteToken Short = One(NewFact(T, 2));
  const IReteToken Pair = Extend(One(NewFact(T, 0)), F2);
  ASSERT_EQ(Short->GetSortCode(), Pair->GetSortCode());
  EXPECT_FALSE(Pair->Equals(Short));
  EXPECT_TRUE(Short->Equals(Pair));

  // Clear tokens are alike.
  EXPECT_TRUE(IReteToken(new TKBToken())->Equals(One(nullptr, taClear)));
  EXPECT_FALSE(IReteToken(new TKBToken())->Equals(One(NewFact(T, 0))));
}

TEST_F(KBTokenTest, TextForms) {
  const IReteToken Token = Extend(Extend(One(F1), F2), F3);
  Token->SetNegatedCount(1);
  EXPECT_EQ(Token->GetToFactsString(), "f-1, f-2, f-3");
  EXPECT_EQ(Token->ToString(), "taAdd cnt=3 negcnt=1\r\n" + F3->ToString() + "\r\n" + F2->ToString() + "\r\n" +
                                   F1->ToString());
  const IReteToken Gap = Extend(One(F1), nullptr);
  EXPECT_EQ(Gap->GetToFactsString(), "f-1");
  EXPECT_EQ(Gap->ToString(), "taAdd cnt=2 negcnt=0\r\n" + F1->ToString());
  EXPECT_EQ(IReteToken(new TKBToken())->ToString(), "taClear cnt=0 negcnt=0");
}

TEST_F(KBTokenTest, MemoryMakesBucketsOnFirstUseAndTracksTheUsedRange) {
  TKBTokenTree Memory(101, 0, NoSubIndex, "", false);
  EXPECT_TRUE(Memory.GetEmpty());
  EXPECT_EQ(Range(Memory), "102..-1");
  EXPECT_EQ(Memory.GetTokens(5), nullptr);

  // Keys 5 and 106 share a bucket and stay apart by Equals.
  const IReteToken Five = One(NewFact(T, 5)), Far = One(NewFact(T, 106)), Low = One(NewFact(T, 2));
  for (const IReteToken& Token : {Five, Far, Low}) EXPECT_TRUE(Memory.Add(Token));
  TKBTokenTree::TTokens* Bucket = Memory.GetTokens(5);
  ASSERT_NE(Bucket, nullptr);
  EXPECT_EQ(Memory.GetTokens(106), Bucket);
  EXPECT_EQ(Memory.GetTokens(-5), Bucket);
  ASSERT_EQ(Bucket->GetCount(), 2);
  EXPECT_EQ(Bucket->Get(0), Five);
  EXPECT_EQ(Bucket->Get(1), Far);
  EXPECT_EQ(Range(Memory), "2..5");
  EXPECT_EQ(Memory.GetTokens(3), nullptr);
  EXPECT_EQ(Memory.GetToFactsString(), "f-2\r\nf-5\r\nf-106\r\n");
  EXPECT_EQ(Memory.ToString(), Low->ToString() + "\r\n" + Five->ToString() + "\r\n" + Far->ToString() + "\r\n");

  // Without nil buckets a lookup makes the bucket.
  Memory.SetAllowNilBucket(false);
  TKBTokenTree::TTokens* Made = Memory.GetTokens(3);
  ASSERT_NE(Made, nullptr);
  EXPECT_TRUE(Made->IsEmpty());
  EXPECT_EQ(Range(Memory), "2..5");
  // The most negative key has a bucket too.
  EXPECT_NE(Memory.GetTokens(std::numeric_limits<std::int32_t>::min()), nullptr);

  // Removal keeps the range and the flag; Clear resets both and keeps buckets.
  for (const IReteToken& Token : {Low, Five, Far}) EXPECT_TRUE(Memory.Remove(Token));
  EXPECT_FALSE(Memory.GetEmpty());
  EXPECT_EQ(Range(Memory), "2..5");
  Memory.Add(Five);
  Memory.Clear();
  EXPECT_TRUE(Memory.GetEmpty());
  EXPECT_EQ(Range(Memory), "102..-1");
  Memory.SetAllowNilBucket(true);
  EXPECT_EQ(Memory.GetTokens(5), Bucket);
  EXPECT_TRUE(Bucket->IsEmpty());

  // A hash below 1 still files tokens.
  TKBTokenTree Single(0, 0, NoSubIndex, "", false);
  EXPECT_EQ(Single.GetHash(), 1);
  EXPECT_TRUE(Single.Add(Five));
  EXPECT_TRUE(Single.Add(Far));
  EXPECT_EQ(Single.GetTokens(7)->GetCount(), 2);
}

TEST_F(KBTokenTest, MemoryRefusesDuplicatesAndRemovesByEquality) {
  TKBTokenTree Memory(101, 0, NoSubIndex, "", true);
  const IReteToken Token = Extend(One(F1), F2);
  EXPECT_TRUE(Memory.Add(Token));
  TKBTokenTree::TTokens* Bucket = Memory.GetTokens(Token->GetSortCode());
  ASSERT_NE(Bucket, nullptr);

  // An equal token, built apart with other flags, is a duplicate.
  const IReteToken Same = Extend(One(F1, taRemove), F2);
  Same->SetNegatedCount(2);
  EXPECT_FALSE(Memory.Add(Same));
  ASSERT_EQ(Bucket->GetCount(), 1);
  EXPECT_EQ(Bucket->Get(0), Token);

  // Another strength is another token.
  const IReteToken Weak = Extend(One(F1), F2);
  Weak->SetStrength(0.25f);
  EXPECT_TRUE(Memory.Add(Weak));
  EXPECT_EQ(Bucket->GetCount(), 2);

  // Removal takes the first equal token, not necessarily the same object.
  EXPECT_FALSE(Memory.Remove(Extend(One(F2), F1)));
  EXPECT_TRUE(Memory.Remove(Same));
  ASSERT_EQ(Bucket->GetCount(), 1);
  EXPECT_EQ(Bucket->Get(0), Weak);
  EXPECT_FALSE(Memory.Remove(Same));
  EXPECT_FALSE(Memory.Add(nullptr));
  EXPECT_FALSE(Memory.Remove(nullptr));
}

TEST_F(KBTokenTest, MemoryKeysBySortCodeFactIdOrSlotValue) {
  const IReteToken Token = Extend(One(F1), F2);  // sort code 10
  EXPECT_EQ(TKBTokenTree(101, 0, NoSubIndex, "", true).GetKey(*Token), 10);
  EXPECT_EQ(TKBTokenTree(101, 0, NoSubIndex, "", false).GetKey(*Token), 1);
  EXPECT_EQ(TKBTokenTree(101, 1, NoSubIndex, "", false).GetKey(*Token), 2);
  // No fact at the key's position keys as 0.
  EXPECT_EQ(TKBTokenTree(101, -1, NoSubIndex, "", false).GetKey(*Token), 0);
  EXPECT_EQ(TKBTokenTree(101, 0, NoSubIndex, "", false).GetKey(*IReteToken(new TKBToken())), 0);

  // Facts with equal values share a bucket whatever their ids.
  const IFact Other = NewFact(T, 77, "b");
  TKBTokenTree ByName(101, 1, NoSubIndex, "name", false);
  const std::int32_t Key = ByName.GetKey(*Token);
  EXPECT_EQ(Key, std::abs(Atom("b")->GetHashCode()));
  EXPECT_EQ(ByName.GetKey(*Extend(One(F3), Other)), Key);

  // One item of a multislot; a missing slot, item or list keys as 0.
  F2->SetValue("tags", List({Atom("x"), Int(-42)}));
  EXPECT_EQ(TKBTokenTree(101, 1, 1, "tags", false).GetKey(*Token), 42);
  EXPECT_EQ(TKBTokenTree(101, 1, 0, "tags", false).GetKey(*Token), std::abs(Atom("x")->GetHashCode()));
  EXPECT_EQ(TKBTokenTree(101, 1, 2, "tags", false).GetKey(*Token), 0);
  EXPECT_EQ(TKBTokenTree(101, 1, 0, "name", false).GetKey(*Token), 0);
  EXPECT_EQ(TKBTokenTree(101, 1, NoSubIndex, "weight", false).GetKey(*Token), 0);
  EXPECT_EQ(TKBTokenTree::GetValueKey(nullptr, "name", NoSubIndex), 0);
  F2->SetValue("name", Int(std::numeric_limits<std::int32_t>::min()));
  EXPECT_GE(ByName.GetKey(*Token), 0);
}

}  // namespace
}  // namespace cogent
