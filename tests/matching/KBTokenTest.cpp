#include "cogent/matching/KBToken.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// "item" with the one slot "name".
IFactTemplate Item() {
  const IFactTemplate T(new TFactTemplate(nullptr, "item"));
  T->AddSlot("name", Atom("none"));
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

class KBTokenTest : public ::testing::Test {
protected:
  IFactTemplate T = Item();
  IFact F1 = NewFact(T, 1, "a"), F2 = NewFact(T, 2, "b"), F3 = NewFact(T, 3, "c");
};

TEST_F(KBTokenTest, ChainsAreSharedWalkedFromTheOldestFactAndPrinted) {
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
  EXPECT_EQ(Third->GetToFactsString(), "f-1, f-2, f-3");
  EXPECT_EQ(Third->ToString(), "taAdd cnt=3 negcnt=0\r\n" + F3->ToString() + "\r\n" + F2->ToString() + "\r\n" +
                                   F1->ToString());

  // A nil fact keeps its position and weighs nothing in the sort code.
  const IReteToken Gap = Extend(Second, nullptr);
  EXPECT_EQ(Facts(Gap), (std::vector<IFact>{nullptr, F1, F2, nullptr, nullptr}));
  EXPECT_EQ(Summary(Gap), "taAdd n=3 sort=80 s=0.500000 neg=0");
  EXPECT_EQ(Gap->GetToFactsString(), "f-1, f-2");
  EXPECT_EQ(Gap->ToString(), "taAdd cnt=3 negcnt=0\r\n" + F2->ToString() + "\r\n" + F1->ToString());

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
    EXPECT_EQ(Clear->ToString(), "taClear cnt=0 negcnt=0");
  }

  // Long chains wrap their sort code instead of overflowing.
  IReteToken Long = One(NewFact(T, std::numeric_limits<std::int32_t>::max()));
  for (int I = 0; I < 40; ++I) Long = Extend(Long, F3);
  EXPECT_EQ(Long->GetCount(), 41);
  EXPECT_EQ(Long->GetFacts(40), F3);
}

TEST_F(KBTokenTest, MemoryKeysByValueRefusesDuplicatesAndRemovesByEquality) {
  // Keyed on the name in the second fact: equal names share a bucket
  // whatever the ids. Without a slot the key is the sort code or the id.
  TKBTokenTree Memory(101, 1, NoSubIndex, "name", false);
  const IReteToken Token = Extend(One(F1), F2);
  const std::int32_t Key = Memory.GetKey(*Token);
  EXPECT_EQ(Key, std::abs(Atom("b")->GetHashCode()));
  EXPECT_EQ(Memory.GetKey(*Extend(One(F3), NewFact(T, 77, "b"))), Key);
  EXPECT_EQ(TKBTokenTree(101, 0, NoSubIndex, "", true).GetKey(*Token), 10);
  EXPECT_EQ(TKBTokenTree(101, 1, NoSubIndex, "", false).GetKey(*Token), 2);

  EXPECT_TRUE(Memory.Add(Token));
  const auto InBucket = [&] {
    std::vector<IReteToken> Tokens;
    for (const IReteToken& Held : Memory.GetTokens(Key)) Tokens.push_back(Held);
    return Tokens;
  };
  // An equal token, built apart with other flags, is a duplicate; another
  // strength makes another token.
  const IReteToken Same = Extend(One(F1, taRemove), F2);
  Same->SetNegatedCount(2);
  EXPECT_FALSE(Memory.Add(Same));
  const IReteToken Weak = Extend(One(F1), F2);
  Weak->SetStrength(0.25f);
  EXPECT_TRUE(Memory.Add(Weak));
  EXPECT_EQ(InBucket().size(), 2u);

  // Removal takes the first equal token, not necessarily the same object.
  EXPECT_TRUE(Memory.Remove(Same));
  EXPECT_EQ(InBucket(), std::vector<IReteToken>{Weak});
  EXPECT_FALSE(Memory.Remove(Same));
  EXPECT_FALSE(Memory.Add(nullptr));
  EXPECT_FALSE(Memory.Remove(nullptr));

  // The most negative value still keys into the table.
  F2->SetValue("name", Int(std::numeric_limits<std::int32_t>::min()));
  EXPECT_GE(Memory.GetKey(*Token), 0);
}

TEST_F(KBTokenTest, MemoryGrowsAndReusesRoomKeepingEachBucketsOrder) {
  // Keyed by fact id, one bucket at first: the fifth token grows it to
  // three, each bucket keeping the order its tokens came in.
  TKBTokenTree Memory(1, 0, NoSubIndex, "", false);
  std::vector<IReteToken> Tokens;
  for (const std::int32_t Id : {5, 3, 8, 6, 1, 4, 2, 7}) {
    Tokens.push_back(One(NewFact(T, Id)));
    EXPECT_TRUE(Memory.Add(Tokens.back()));
  }
  EXPECT_EQ(Memory.GetHash(), 3);
  EXPECT_EQ(Memory.GetToFactsString(), "f-3\r\nf-6\r\nf-1\r\nf-4\r\nf-7\r\nf-5\r\nf-8\r\nf-2\r\n");
  // Room a removed token leaves is taken again, the new token last in its bucket.
  EXPECT_TRUE(Memory.Remove(Tokens[3]));
  EXPECT_TRUE(Memory.Remove(Tokens[0]));
  EXPECT_TRUE(Memory.Add(One(NewFact(T, 9))));
  EXPECT_TRUE(Memory.Add(Tokens[0]));
  EXPECT_EQ(Memory.GetToFactsString(), "f-3\r\nf-9\r\nf-1\r\nf-4\r\nf-7\r\nf-8\r\nf-2\r\nf-5\r\n");
  EXPECT_EQ(Memory.GetCount(), 8);
  Memory.Clear();
  EXPECT_EQ(Memory.GetToFactsString(), "");
  EXPECT_TRUE(Memory.Add(Tokens[1]));
  EXPECT_EQ(Memory.GetToFactsString(), "f-3\r\n");
  EXPECT_EQ(Memory.GetLowIndex(), 0);
  EXPECT_EQ(Memory.GetHighIndex(), 0);
}

TEST(KBTokenTreeKeys, SeveralSlotsKeyAlikeOnBothSidesAndOnlyPlainValuesAreExact) {
  // A join on (a of fact 1, b of fact 0): the left memory reads the token,
  // the right memory the one fact, and both must file a match alike.
  const IFactTemplate P(new TFactTemplate(nullptr, "pair"));
  P->AddSlot("a", Int(0));
  P->AddSlot("b", Int(0));
  auto Pair = [&](std::int32_t Id, const IKBValue& A, const IKBValue& B) {
    const IFact Fact(new TFact(P));
    Fact->SetID(Id);
    Fact->SetValue("a", A);
    Fact->SetValue("b", B);
    return Fact;
  };
  TKBTokenTree Left(101, 1, NoSubIndex, "a", false);
  Left.AddKeyPart(0, "b", NoSubIndex);
  TKBTokenTree Right(101, 0, NoSubIndex, "a", false);
  Right.AddKeyPart(0, "b", NoSubIndex);
  const IReteToken Token = Extend(One(Pair(1, Int(9), Int(2))), Pair(2, Int(1), Int(8)));
  const std::int32_t Key = Left.GetKey(*Token);
  EXPECT_EQ(Right.GetKey(*One(Pair(3, Int(1), Int(2)))), Key);
  EXPECT_NE(Right.GetKey(*One(Pair(4, Int(1), Int(3)))), Key);
  EXPECT_NE(Right.GetKey(*One(Pair(5, Int(2), Int(2)))), Key);

  // Keys alike need the same parts in the same order.
  TKBTokenTree FirstOnly(101, 0, NoSubIndex, "a", false);
  EXPECT_FALSE(Right.KeysAlike(FirstOnly));
  FirstOnly.AddKeyPart(0, "b", NoSubIndex);
  EXPECT_TRUE(Right.KeysAlike(FirstOnly));

  // A list in any part leaves the keys inexact until the memory is emptied.
  EXPECT_TRUE(Right.Add(One(Pair(6, Int(1), Int(2)))));
  EXPECT_TRUE(Right.GetExactKeys());
  EXPECT_TRUE(Right.Add(One(Pair(7, Int(1), List({Int(2)})))));
  EXPECT_FALSE(Right.GetExactKeys());
  Right.Clear();
  EXPECT_TRUE(Right.GetExactKeys());
}

}  // namespace
}  // namespace cogent
