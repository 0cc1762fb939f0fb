#pragma once
// Tokens, the partial matches that flow through a network, and the token
// memories that join nodes keep for their two inputs.
//
// Tokens are made by the thousand while matching, so a token holds one fact
// of its own and shares the earlier ones through its parent: extending a
// chain of n facts costs one allocation and no copy of n references.

#include <cstdint>
#include <string>
#include <vector>

#include "cogent/common/VXInterfaceList.h"
#include "cogent/facts/KBFacts.h"

namespace cogent {

class TKBToken;
using IReteToken = Ref<TKBToken>;

// ---------------------------------------------------------------- TKBToken

class TKBTokenPersistent : public TPersistent {};

class TKBToken : public TKBTokenPersistent {
public:
  COGENT_POOLED(TKBToken)

  // A clear token: no fact, nothing in the chain.
  TKBToken() noexcept = default;
  // A one-fact token keyed by the fact's id; a nil fact makes a token of
  // none, which is what a clear needs.
  TKBToken(TTokenAction AAction, const IFact& AFact) noexcept;
  // A copy that shares the chain; the copy is not blocked by anything yet.
  TKBToken(const TKBToken& Source) noexcept;
  explicit TKBToken(const IReteToken& Source) noexcept;
  // Extends the chain by one fact; the action and strength are the parent's.
  // A nil fact keeps the position without a fact.
  TKBToken(const IReteToken& AParent, const IFact& AFact) noexcept;
  // Extends the chain with the action and strength given; what a join makes.
  TKBToken(const IReteToken& AParent, const IFact& AFact, TTokenAction AAction, float AStrength) noexcept;
  TKBToken& operator=(const TKBToken&) = delete;

  // Same instance, or equal sort codes, fact ids and strengths all along the
  // chain, up to where either side has no parent or both share one. The
  // action and the negated count play no part, and a clone of a fact with
  // the same id counts as that fact.
  virtual bool Equals(const TKBToken* Other) const noexcept;
  bool Equals(const IReteToken& Other) const noexcept { return Equals(Other.get()); }
  // Consistent with Equals: equal tokens have equal sort codes.
  std::int32_t GetHashCode() const noexcept { return FSortCode; }

  std::int32_t GetNegatedCount() const noexcept { return FNegatedCount; }
  // A negative count is stored as 0.
  virtual void SetNegatedCount(std::int32_t Value) noexcept { FNegatedCount = Value < 0 ? 0 : Value; }
  std::int32_t GetCount() const noexcept { return FCount; }
  // This token's own fact, the newest of the chain.
  const IFact& GetFact() const noexcept { return FFact; }
  // Fact Index of the chain, 0 the oldest; nil outside 0 .. GetCount()-1.
  const IFact& GetFacts(std::int32_t Index) const noexcept;
  const IReteToken& GetParent() const noexcept { return FParent; }
  std::int32_t GetSortCode() const noexcept { return FSortCode; }
  TTokenAction GetTag() const noexcept { return FTag; }
  // Raises _SInvalidTokenAction for any action but taClear on a token
  // without a fact.
  virtual void SetTag(TTokenAction Value);
  float GetStrength() const noexcept { return FStrength; }
  // A negative strength (or none at all) is stored as 0; above 1 is kept.
  void SetStrength(float Value) noexcept { FStrength = Value >= 0.0f ? Value : 0.0f; }

  // The action, the counts, then each fact's text from this token up.
  std::string ToString() const override;
  // "f-1, f-2, ...", the oldest fact first.
  std::string GetToFactsString() const;

protected:
  ~TKBToken() override = default;

private:
  // The counts and the strength first, where they fill the gap the count of
  // references leaves: a token is 48 bytes, not 56.
  std::int32_t FCount = 0;
  std::int32_t FNegatedCount = 0;
  float FStrength = 1.0f;
  IFact FFact;
  IReteToken FParent;
  std::int32_t FSortCode = 0;
  TTokenAction FTag = taClear;
};

// ---------------------------------------------------------------- TKBTokenTree

// A token memory: a hash table of tokens in FHash buckets that grows when it
// holds four tokens a bucket. A token is keyed by its sort code, by the id of
// one of its facts, or by the hash of a slot value (or of one item of it) of
// that fact, so that a join only compares the tokens of one bucket. A join
// that tests several slots for equality keys on all of them: further parts
// (see AddKeyPart) mix their values' hashes into the first one's.
//
// The tokens sit in one array of entries, each keeping its key; a bucket is
// a chain through the array in the order its tokens came. Growing relinks the
// entries without working out a key again, and neither adding to a bucket nor
// clearing makes or frees anything per bucket.
class TKBTokenTree : public TPersistent {
  struct TEntry {
    IReteToken Token;
    std::int32_t Key;
    // The bucket's next entry, or of the free list; -1 at the end.
    std::int32_t Next;
  };
  using TEntries = pool::TLargeVector<TEntry>;
  struct TKeyPart {
    std::int32_t TokenIndex;
    TSlotRef Slot;
    std::int32_t SubIndex;
  };

public:
  // The tokens of one bucket, oldest first; good until the memory changes.
  class TTokens {
  public:
    class iterator {
    public:
      iterator(const TEntries* AEntries, std::int32_t AAt) noexcept : FEntries(AEntries), FAt(AAt) {}
      const IReteToken& operator*() const noexcept { return (*FEntries)[static_cast<std::size_t>(FAt)].Token; }
      // The key the token is filed under, read without visiting the token.
      std::int32_t Key() const noexcept { return (*FEntries)[static_cast<std::size_t>(FAt)].Key; }
      iterator& operator++() noexcept {
        FAt = (*FEntries)[static_cast<std::size_t>(FAt)].Next;
        return *this;
      }
      bool operator==(const iterator& Other) const noexcept { return FAt == Other.FAt; }

    private:
      const TEntries* FEntries;
      std::int32_t FAt;
    };
    TTokens(const TEntries* AEntries, std::int32_t AFirst) noexcept : FEntries(AEntries), FFirst(AFirst) {}
    iterator begin() const noexcept { return {FEntries, FFirst}; }
    iterator end() const noexcept { return {FEntries, -1}; }
    bool IsEmpty() const noexcept { return FFirst < 0; }

  private:
    const TEntries* FEntries;
    std::int32_t FFirst;
  };

  // A hash below 1 is taken as 1.
  TKBTokenTree(std::int32_t AHash, std::int32_t ATokenIndex, std::int32_t ASubIndex, const TKBName& AFactIndex,
               bool AUseHashCode);
  TKBTokenTree(const TKBTokenTree&) = delete;
  TKBTokenTree& operator=(const TKBTokenTree&) = delete;
  ~TKBTokenTree() override;

  // Each bucket's tokens by GetToFactsString, one a line.
  virtual std::string GetToFactsString() const;
  // Empties the buckets and forgets the used range.
  virtual void Clear();
  // False, and nothing added, when the bucket already holds an equal token.
  virtual bool Add(const IReteToken& Token);
  // Takes out the first equal token, handed to Removed when asked for; false
  // when there is none. The used range stays as it was.
  virtual bool Remove(const IReteToken& Token, IReteToken* Removed = nullptr);

  // What joins that share one memory need. Add with the key worked out
  // already (and whether it is exact), growing later (GrowWhenFull) when
  // MayGrow is false. Remove with the key worked out, which also tells where
  // the token stood: its entry's key and the entry before it in the bucket
  // (-1 when it came first).
  bool Add(const IReteToken& Token, std::int32_t Key, bool MayGrow, bool Exact = false);
  bool Remove(const IReteToken& Token, std::int32_t Key, IReteToken* Removed, std::int32_t* RemovedKey,
              std::int32_t* Before);
  void GrowWhenFull();
  // Becomes Source as it stood before its last change: the same buckets in
  // the same order, but without the token object Without, and with Restore
  // (keyed RestoreKey) back after entry Before of Source's bucket. Made with
  // Source's hash.
  void CopyFrom(const TKBTokenTree& Source, const TKBToken* Without, const IReteToken& Restore,
                std::int32_t RestoreKey, std::int32_t Before);
  // Whether every token gets the same key here as in Other.
  bool KeysAlike(const TKBTokenTree& Other) const noexcept;
  // Keys by one more value besides the slot given at creation: the slot (or
  // its item SubIndex) of fact TokenIndex. Only for a memory keyed by a slot.
  void AddKeyPart(std::int32_t ATokenIndex, const TKBName& AFactIndex, std::int32_t ASubIndex);
  // The further parts of Other's key, in place of this one's.
  void CopyKeyParts(const TKBTokenTree& Other) { FMoreKeys = Other.FMoreKeys; }
  int GetKeyPartCount() const noexcept { return static_cast<int>(FMoreKeys.size()) + 1; }
  // Whether both hold the same token objects in the same buckets and order.
  bool SameTokens(const TKBTokenTree& Other) const noexcept;

  // The bucket of Key (its sign ignored); empty while unused.
  TTokens GetTokens(std::int32_t Key) const noexcept {
    return {&FEntries, FBuckets[static_cast<std::size_t>(BucketIndex(Key))]};
  }
  // Where Token is filed; never negative. Exact, when given, tells whether
  // the key is exact (see GetExactKeys).
  std::int32_t GetKey(const TKBToken& Token, bool* Exact = nullptr) const;
  // The hash of a fact's slot value, or of item SubIndex of it (NoSubIndex
  // for the whole value), never negative. A fact without the slot or the item
  // keys as 0, which only puts it in bucket 0: the tests decide a match.
  static std::int32_t GetValueKey(const TFact* Fact, const TSlotRef& Slot, std::int32_t SubIndex,
                                  bool* Exact = nullptr);
  // Whether every token added since creation or the last Clear is keyed by a
  // value whose equals share its key: a plain value, present. Two such keys
  // that differ then say that the values differ, without a visit to either
  // token.
  bool GetExactKeys() const noexcept { return FExactKeys; }

  std::string ToString() const override;

  bool GetUseHashCode() const noexcept { return FUseHashCode; }
  const TKBName& GetFactIndex() const noexcept { return FFactIndex.GetName(); }
  std::int32_t GetSubIndex() const noexcept { return FSubIndex; }
  std::int32_t GetHash() const noexcept { return FHash; }
  std::int32_t GetTokenIndex() const noexcept { return FTokenIndex; }
  // Keys each token by its parent's sort code: a memory of tokens that each
  // extend a token of another memory by one fact.
  bool GetKeyByParent() const noexcept { return FKeyByParent; }
  void SetKeyByParent(bool Value) noexcept { FKeyByParent = Value; }
  int GetCount() const noexcept { return static_cast<int>(FCount); }
  // No token added since creation or the last Clear.
  bool GetEmpty() const noexcept { return FEmpty; }
  // The buckets that may hold tokens lie within these; FHash+1 and -1 when
  // none was used.
  std::int32_t GetLowIndex() const noexcept { return FLowIndex; }
  std::int32_t GetHighIndex() const noexcept { return FHighIndex; }

private:
  std::int32_t BucketIndex(std::int32_t Key) const noexcept {
    // In 64 bits, so that the most negative key has a magnitude too.
    const std::int64_t Index = static_cast<std::int64_t>(Key) % FHash;
    return static_cast<std::int32_t>(Index < 0 ? -Index : Index);
  }
  // The key of a memory keyed by several slots.
  std::int32_t GetMixedKey(const TKBToken& Token, const TFact* First, bool* Exact) const;
  // Appends entry At to the bucket whose last entry is Tail (-1: none).
  void Link(std::int32_t At, std::int32_t Bucket, std::int32_t Tail) noexcept;
  void Grow();

  bool FUseHashCode;
  TSlotRef FFactIndex;
  std::int32_t FSubIndex;
  std::int32_t FHash;
  std::int32_t FTokenIndex;
  std::vector<TKeyPart> FMoreKeys;
  // Each bucket's first entry, -1 when it is empty.
  pool::TLargeVector<std::int32_t> FBuckets;
  TEntries FEntries;
  // The first unused entry of FEntries, chained through Next.
  std::int32_t FFree = -1;
  bool FKeyByParent = false;
  bool FEmpty = true;
  bool FExactKeys = true;
  std::int32_t FLowIndex;
  std::int32_t FHighIndex = -1;
  std::int64_t FCount = 0;
};

// ---------------------------------------------------------------- inline

inline const IFact& TKBToken::GetFacts(std::int32_t Index) const noexcept {
  static const IFact NoFact;
  if (Index < 0 || Index >= FCount) return NoFact;
  const TKBToken* Token = this;
  // Each token up the chain holds one fact fewer.
  while (Token->FCount - Index >= 2) {
    Token = Token->FParent.get();
    if (!Token) return NoFact;
  }
  return Token->FFact;
}

}  // namespace cogent
