#include "cogent/matching/KBToken.h"

#include <algorithm>
#include <cstdlib>

#include "cogent/values/KBValue.h"

namespace cogent {

namespace {

// Sort codes are meant to wrap on long chains, so the arithmetic is unsigned.
std::int32_t ExtendSortCode(std::int32_t Parent, const IFact& Fact) noexcept {
  const std::uint32_t Id = Fact ? static_cast<std::uint32_t>(Fact->GetID()) : 0u;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(Parent) * 8u + Id);
}

bool SameFactId(const IFact& A, const IFact& B) noexcept {
  if (!A || !B) return A.get() == B.get();
  return A->GetID() == B->GetID();
}

// The absolute value; the one negative number without one maps onto itself
// in unsigned arithmetic, which only decides a bucket.
std::int32_t AbsKey(std::int32_t Key) noexcept {
  const std::uint32_t Magnitude = Key < 0 ? 0u - static_cast<std::uint32_t>(Key) : static_cast<std::uint32_t>(Key);
  return static_cast<std::int32_t>(Magnitude & 0x7FFFFFFFu);
}

}  // namespace

// Join memories hold tokens by the million: one fits a 48-byte block.
static_assert(sizeof(TKBToken) <= 48);

// ================================================================ TKBToken

TKBToken::TKBToken(TTokenAction AAction, const IFact& AFact) noexcept
    : FCount(AFact ? 1 : 0), FFact(AFact), FSortCode(AFact ? AFact->GetID() : 0), FTag(AAction) {}

TKBToken::TKBToken(const TKBToken& Source) noexcept
    : TKBTokenPersistent(Source),
      FCount(Source.FCount),
      FStrength(Source.FStrength),
      FFact(Source.FFact),
      FParent(Source.FParent),
      FSortCode(Source.FSortCode),
      FTag(Source.FTag) {}

TKBToken::TKBToken(const IReteToken& Source) noexcept {
  if (!Source) return;
  FCount = Source->FCount;
  FFact = Source->FFact;
  FParent = Source->FParent;
  FStrength = Source->FStrength;
  FSortCode = Source->FSortCode;
  FTag = Source->FTag;
}

TKBToken::TKBToken(const IReteToken& AParent, const IFact& AFact) noexcept
    : FCount(AParent ? AParent->FCount + 1 : 1),
      FStrength(AParent ? AParent->FStrength : 1.0f),
      FFact(AFact),
      FParent(AParent),
      FSortCode(ExtendSortCode(AParent ? AParent->FSortCode : 0, AFact)),
      FTag(AParent ? AParent->FTag : taClear) {}

TKBToken::TKBToken(const IReteToken& AParent, const IFact& AFact, TTokenAction AAction, float AStrength) noexcept
    : TKBToken(AParent, AFact) {
  FTag = AAction;
  SetStrength(AStrength);
}

bool TKBToken::Equals(const TKBToken* Other) const noexcept {
  // Iterative, so that long chains cost no stack.
  const TKBToken* A = this;
  const TKBToken* B = Other;
  for (;;) {
    if (A == B) return true;
    if (!B) return false;
    if (A->FSortCode != B->FSortCode || A->FStrength != B->FStrength || !SameFactId(A->FFact, B->FFact)) return false;
    if (!A->FParent) return true;
    A = A->FParent.get();
    B = B->FParent.get();
  }
}

void TKBToken::SetTag(TTokenAction Value) {
  if (Value == FTag) return;
  if (Value != taClear && !FFact) throw EKBException(_SInvalidTokenAction);
  FTag = Value;
}

std::string TKBToken::ToString() const {
  std::string Result = EnumName(FTag) + " cnt=" + IntToStr(FCount) + " negcnt=" + IntToStr(FNegatedCount);
  for (const TKBToken* Token = this; Token; Token = Token->FParent.get())
    if (Token->FFact) {
      Result += sLineBreak;
      Result += Token->FFact->ToString();
    }
  return Result;
}

std::string TKBToken::GetToFactsString() const {
  std::vector<std::int32_t> Ids;
  Ids.reserve(static_cast<std::size_t>(FCount > 0 ? FCount : 0));
  for (const TKBToken* Token = this; Token; Token = Token->FParent.get())
    if (Token->FFact) Ids.push_back(Token->FFact->GetID());
  std::string Result;
  for (auto It = Ids.rbegin(); It != Ids.rend(); ++It) {
    if (!Result.empty()) Result += ", ";
    Result += "f-";
    Result += IntToStr(*It);
  }
  return Result;
}

// ================================================================ TKBTokenTree

TKBTokenTree::TKBTokenTree(std::int32_t AHash, std::int32_t ATokenIndex, std::int32_t ASubIndex,
                           const TKBName& AFactIndex, bool AUseHashCode)
    : FUseHashCode(AUseHashCode),
      FFactIndex(AFactIndex),
      FSubIndex(ASubIndex),
      FHash(AHash < 1 ? 1 : AHash),
      FTokenIndex(ATokenIndex),
      FBuckets(static_cast<std::size_t>(FHash), -1),
      FLowIndex(FHash + 1) {}

TKBTokenTree::~TKBTokenTree() = default;

std::int32_t TKBTokenTree::GetValueKey(const TFact* Fact, const TSlotRef& Slot, std::int32_t SubIndex, bool* Exact) {
  // Plain values only: a fuzzy value equals crisp ones that key otherwise,
  // and a missing one keys as 0 while the tests pass it.
  auto Keyed = [Exact](const IKBValue& Value) -> std::int32_t {
    if (Exact) {
      switch (Value->GetDType()) {
        case dtNone:
        case dtAtom:
        case dtString:
        case dtInteger:
        case dtFloat:
        case dtFactId:
          *Exact = true;
          break;
        default:
          break;
      }
    }
    return AbsKey(Value->GetHashCode());
  };
  if (Exact) *Exact = false;
  if (!Fact) return 0;
  const IKBValue& Value = Fact->ContainsKeyRef(Slot);
  if (!Value) return 0;
  if (SubIndex == NoSubIndex) return Keyed(Value);
  if (Value->GetDType() != dtList) return 0;
  const IValueVector List = Value->GetAsList();
  if (!List || SubIndex < 0 || SubIndex >= List->GetCount()) return 0;
  const IKBValue& Item = List->GetRef(SubIndex);
  return Item ? Keyed(Item) : 0;
}

std::int32_t TKBTokenTree::GetKey(const TKBToken& Token, bool* Exact) const {
  if (Exact) *Exact = false;
  if (FKeyByParent) return Token.GetParent() ? AbsKey(Token.GetParent()->GetSortCode()) : 0;
  if (FUseHashCode) return AbsKey(Token.GetSortCode());
  const IFact& Fact = Token.GetFacts(FTokenIndex);
  if (FFactIndex.GetName().empty()) return Fact ? AbsKey(Fact->GetID()) : 0;
  if (!FMoreKeys.empty()) return GetMixedKey(Token, Fact.get(), Exact);
  return GetValueKey(Fact.get(), FFactIndex, FSubIndex, Exact);
}

std::int32_t TKBTokenTree::GetMixedKey(const TKBToken& Token, const TFact* First, bool* Exact) const {
  bool PartExact = false;
  // The first part as it stands, so that tokens of neighbouring values keep
  // nearby buckets while the other parts hardly vary.
  std::uint32_t Mixed = static_cast<std::uint32_t>(GetValueKey(First, FFactIndex, FSubIndex, &PartExact));
  bool AllExact = PartExact;
  std::uint32_t Salt = 0;
  for (const TKeyPart& Part : FMoreKeys) {
    const TFact* Fact = Part.TokenIndex == FTokenIndex ? First : Token.GetFacts(Part.TokenIndex).get();
    const auto Key = static_cast<std::uint32_t>(GetValueKey(Fact, Part.Slot, Part.SubIndex, &PartExact));
    AllExact = AllExact && PartExact;
    Mixed ^= (Key + ++Salt) * 0x9E3779B1u;
  }
  if (Exact) *Exact = AllExact;
  return static_cast<std::int32_t>(Mixed & 0x7FFFFFFFu);
}

void TKBTokenTree::AddKeyPart(std::int32_t ATokenIndex, const TKBName& AFactIndex, std::int32_t ASubIndex) {
  FMoreKeys.push_back({ATokenIndex, TSlotRef(AFactIndex), ASubIndex});
}

void TKBTokenTree::Link(std::int32_t At, std::int32_t Bucket, std::int32_t Tail) noexcept {
  FEntries[static_cast<std::size_t>(At)].Next = -1;
  if (Tail < 0)
    FBuckets[static_cast<std::size_t>(Bucket)] = At;
  else
    FEntries[static_cast<std::size_t>(Tail)].Next = At;
  if (Bucket < FLowIndex) FLowIndex = Bucket;
  if (Bucket > FHighIndex) FHighIndex = Bucket;
}

bool TKBTokenTree::Add(const IReteToken& Token) {
  if (!Token) return false;
  bool Exact = false;
  const std::int32_t Key = GetKey(*Token, FExactKeys ? &Exact : nullptr);
  return Add(Token, Key, true, Exact);
}

bool TKBTokenTree::Add(const IReteToken& Token, std::int32_t Key, bool MayGrow, bool Exact) {
  if (!Token) return false;
  const std::int32_t Index = BucketIndex(Key);
  std::int32_t Tail = -1;
  for (std::int32_t At = FBuckets[static_cast<std::size_t>(Index)]; At >= 0;
       At = FEntries[static_cast<std::size_t>(At)].Next) {
    // Equal tokens have equal keys: the key is compared first, beside the
    // token, so that a full bucket costs no visit to its other tokens.
    const TEntry& Held = FEntries[static_cast<std::size_t>(At)];
    if (Held.Key == Key && Held.Token->Equals(Token.get())) return false;
    Tail = At;
  }
  std::int32_t At = FFree;
  if (At >= 0) {
    TEntry& Entry = FEntries[static_cast<std::size_t>(At)];
    FFree = Entry.Next;
    Entry.Token = Token;
    Entry.Key = Key;
  } else {
    At = static_cast<std::int32_t>(FEntries.size());
    FEntries.push_back({Token, Key, -1});
  }
  Link(At, Index, Tail);
  FEmpty = false;
  FExactKeys = FExactKeys && Exact;
  ++FCount;
  if (MayGrow) GrowWhenFull();
  return true;
}

void TKBTokenTree::GrowWhenFull() {
  // A memory that joins look up by key holds a token a bucket at most: its
  // tokens' keys often come in runs (ids, counters), which then meet empty
  // buckets on the way in, and a lookup visits no token filed long before
  // under a key of the same bucket. A memory that joins walk whole keeps
  // four a bucket, so that the walk passes fewer empty buckets.
  const bool Keyed = FKeyByParent || (!FUseHashCode && !FFactIndex.GetName().empty());
  if (FCount > (Keyed ? 1 : 4) * static_cast<std::int64_t>(FHash)) Grow();
}

void TKBTokenTree::Grow() {
  // Buckets stay short however many tokens come: a memory of many tokens
  // spreads them over more buckets. The entries are relinked bucket by
  // bucket, so that tokens of one new bucket keep the order they had.
  pool::TLargeVector<std::int32_t> Old(static_cast<std::size_t>(FHash > (1 << 29) ? FHash : FHash * 2 + 1), -1);
  Old.swap(FBuckets);
  FHash = static_cast<std::int32_t>(FBuckets.size());
  FLowIndex = FHash + 1;
  FHighIndex = -1;
  pool::TLargeVector<std::int32_t> Tails(FBuckets.size(), -1);
  for (std::int32_t At : Old)
    while (At >= 0) {
      const std::int32_t Next = FEntries[static_cast<std::size_t>(At)].Next;
      const std::int32_t Index = BucketIndex(FEntries[static_cast<std::size_t>(At)].Key);
      Link(At, Index, Tails[static_cast<std::size_t>(Index)]);
      Tails[static_cast<std::size_t>(Index)] = At;
      At = Next;
    }
}

bool TKBTokenTree::Remove(const IReteToken& Token, IReteToken* Removed) {
  return Token && Remove(Token, GetKey(*Token), Removed, nullptr, nullptr);
}

bool TKBTokenTree::Remove(const IReteToken& Token, std::int32_t Key, IReteToken* Removed, std::int32_t* RemovedKey,
                          std::int32_t* Before) {
  if (!Token) return false;
  std::int32_t* Previous = &FBuckets[static_cast<std::size_t>(BucketIndex(Key))];
  std::int32_t Last = -1;
  for (std::int32_t At = *Previous; At >= 0; At = *Previous) {
    TEntry& Held = FEntries[static_cast<std::size_t>(At)];
    if (Held.Token->Equals(Token.get())) {
      *Previous = Held.Next;
      if (RemovedKey) *RemovedKey = Held.Key;
      if (Before) *Before = Last;
      if (Removed)
        *Removed = std::move(Held.Token);
      else
        Held.Token.reset();
      Held.Next = FFree;
      FFree = At;
      --FCount;
      return true;
    }
    Previous = &Held.Next;
    Last = At;
  }
  return false;
}

void TKBTokenTree::CopyFrom(const TKBTokenTree& Source, const TKBToken* Without, const IReteToken& Restore,
                            std::int32_t RestoreKey, std::int32_t Before) {
  Clear();
  FBuckets.assign(static_cast<std::size_t>(Source.FHash), -1);
  FHash = Source.FHash;
  FLowIndex = FHash + 1;
  FHighIndex = -1;
  FEntries.reserve(static_cast<std::size_t>(Source.FCount) + 1);
  const std::int32_t RestoreBucket = Restore ? BucketIndex(RestoreKey) : -1;
  for (std::int32_t Bucket = 0; Bucket < FHash; ++Bucket) {
    std::int32_t Tail = -1;
    auto Append = [&](const IReteToken& Token, std::int32_t Key) {
      const auto At = static_cast<std::int32_t>(FEntries.size());
      FEntries.push_back({Token, Key, -1});
      Link(At, Bucket, Tail);
      Tail = At;
      ++FCount;
    };
    if (Bucket == RestoreBucket && Before < 0) Append(Restore, RestoreKey);
    for (std::int32_t At = Source.FBuckets[static_cast<std::size_t>(Bucket)]; At >= 0;
         At = Source.FEntries[static_cast<std::size_t>(At)].Next) {
      const TEntry& Held = Source.FEntries[static_cast<std::size_t>(At)];
      if (Held.Token.get() != Without) Append(Held.Token, Held.Key);
      if (Bucket == RestoreBucket && At == Before) Append(Restore, RestoreKey);
    }
  }
  FEmpty = FCount == 0 && Source.FEmpty;
  FExactKeys = Source.FExactKeys;
}

bool TKBTokenTree::KeysAlike(const TKBTokenTree& Other) const noexcept {
  if (FKeyByParent != Other.FKeyByParent || FUseHashCode != Other.FUseHashCode) return false;
  if (FKeyByParent || FUseHashCode) return true;
  if (FTokenIndex != Other.FTokenIndex || FSubIndex != Other.FSubIndex ||
      FFactIndex.GetName() != Other.FFactIndex.GetName() || FMoreKeys.size() != Other.FMoreKeys.size())
    return false;
  for (std::size_t I = 0; I < FMoreKeys.size(); ++I) {
    const TKeyPart& Mine = FMoreKeys[I];
    const TKeyPart& Theirs = Other.FMoreKeys[I];
    if (Mine.TokenIndex != Theirs.TokenIndex || Mine.SubIndex != Theirs.SubIndex ||
        Mine.Slot.GetName() != Theirs.Slot.GetName())
      return false;
  }
  return true;
}

bool TKBTokenTree::SameTokens(const TKBTokenTree& Other) const noexcept {
  if (FHash != Other.FHash || FCount != Other.FCount) return false;
  for (std::size_t Bucket = 0; Bucket < FBuckets.size(); ++Bucket) {
    std::int32_t Mine = FBuckets[Bucket];
    std::int32_t Theirs = Other.FBuckets[Bucket];
    while (Mine >= 0 && Theirs >= 0) {
      const TEntry& A = FEntries[static_cast<std::size_t>(Mine)];
      const TEntry& B = Other.FEntries[static_cast<std::size_t>(Theirs)];
      if (A.Token != B.Token || A.Key != B.Key) return false;
      Mine = A.Next;
      Theirs = B.Next;
    }
    if (Mine != Theirs) return false;
  }
  return true;
}

void TKBTokenTree::Clear() {
  if (FEmpty) return;
  if (FLowIndex <= FHighIndex)
    std::fill(FBuckets.begin() + FLowIndex, FBuckets.begin() + FHighIndex + 1, -1);
  FEntries.clear();
  FFree = -1;
  FEmpty = true;
  FExactKeys = true;
  FCount = 0;
  FHighIndex = -1;
  FLowIndex = FHash + 1;
}

std::string TKBTokenTree::ToString() const {
  std::string Result;
  for (std::int32_t Bucket = 0; Bucket < FHash; ++Bucket)
    for (const IReteToken& Token : GetTokens(Bucket)) {
      Result += Token->ToString();
      Result += sLineBreak;
    }
  return Result;
}

std::string TKBTokenTree::GetToFactsString() const {
  std::string Result;
  for (std::int32_t Bucket = 0; Bucket < FHash; ++Bucket)
    for (const IReteToken& Token : GetTokens(Bucket)) {
      Result += Token->GetToFactsString();
      Result += sLineBreak;
    }
  return Result;
}

}  // namespace cogent
