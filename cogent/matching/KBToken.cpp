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

// ================================================================ TKBToken

TKBToken::TKBToken(TTokenAction AAction, const IFact& AFact) noexcept
    : FCount(AFact ? 1 : 0), FFact(AFact), FSortCode(AFact ? AFact->GetID() : 0), FTag(AAction) {}

TKBToken::TKBToken(const TKBToken& Source) noexcept
    : TKBTokenPersistent(Source),
      FCount(Source.FCount),
      FFact(Source.FFact),
      FParent(Source.FParent),
      FStrength(Source.FStrength),
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
      FFact(AFact),
      FParent(AParent),
      FStrength(AParent ? AParent->FStrength : 1.0f),
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
      FBuckets(static_cast<std::size_t>(FHash)),
      FLowIndex(FHash + 1) {}

TKBTokenTree::~TKBTokenTree() = default;

std::int32_t TKBTokenTree::BucketIndex(std::int32_t Key) const noexcept {
  // In 64 bits, so that the most negative key has a magnitude too.
  std::int64_t Index = static_cast<std::int64_t>(Key) % FHash;
  return static_cast<std::int32_t>(Index < 0 ? -Index : Index);
}

TKBTokenTree::TTokens* TKBTokenTree::Bucket(std::int32_t Key, bool Create) {
  Ref<TTokens>& Slot = FBuckets[static_cast<std::size_t>(BucketIndex(Key))];
  if (!Slot && Create) Slot = Ref<TTokens>(new TTokens());
  return Slot.get();
}

TKBTokenTree::TTokens* TKBTokenTree::GetTokens(std::int32_t Key) { return Bucket(Key, !FAllowNilBucket); }

std::int32_t TKBTokenTree::GetValueKey(const TFact* Fact, const TSlotRef& Slot, std::int32_t SubIndex) {
  if (!Fact) return 0;
  const IKBValue& Value = Fact->ContainsKeyRef(Slot);
  if (!Value) return 0;
  if (SubIndex == NoSubIndex) return AbsKey(Value->GetHashCode());
  if (Value->GetDType() != dtList) return 0;
  const IValueVector List = Value->GetAsList();
  if (!List || SubIndex < 0 || SubIndex >= List->GetCount()) return 0;
  const IKBValue& Item = List->GetRef(SubIndex);
  return Item ? AbsKey(Item->GetHashCode()) : 0;
}

std::int32_t TKBTokenTree::GetKey(const TKBToken& Token) const {
  if (FKeyByParent) return Token.GetParent() ? AbsKey(Token.GetParent()->GetSortCode()) : 0;
  if (FUseHashCode) return AbsKey(Token.GetSortCode());
  const IFact& Fact = Token.GetFacts(FTokenIndex);
  if (FFactIndex.GetName().empty()) return Fact ? AbsKey(Fact->GetID()) : 0;
  return GetValueKey(Fact.get(), FFactIndex, FSubIndex);
}

bool TKBTokenTree::Add(const IReteToken& Token) {
  if (!Token) return false;
  const std::int32_t Key = GetKey(*Token);
  TTokens* Tokens = Bucket(Key, true);
  const std::int32_t Index = BucketIndex(Key);
  if (Index < FLowIndex) FLowIndex = Index;
  if (Index > FHighIndex) FHighIndex = Index;
  for (const IReteToken& Held : *Tokens)
    if (Held && Held->Equals(Token.get())) return false;
  Tokens->Add(Token);
  FEmpty = false;
  if (++FCount > 4 * static_cast<std::int64_t>(FHash)) Grow();
  return true;
}

void TKBTokenTree::Grow() {
  // Buckets stay short however many tokens come: a memory of many tokens
  // spreads them over more buckets, each token filed by its key as before.
  std::vector<Ref<TTokens>> Old;
  Old.swap(FBuckets);
  FHash = FHash > (1 << 29) ? FHash : FHash * 2 + 1;
  FBuckets.resize(static_cast<std::size_t>(FHash));
  FLowIndex = FHash + 1;
  FHighIndex = -1;
  for (const Ref<TTokens>& Tokens : Old)
    if (Tokens)
      for (const IReteToken& Held : *Tokens) {
        const std::int32_t Key = GetKey(*Held);
        const std::int32_t Index = BucketIndex(Key);
        FLowIndex = std::min(FLowIndex, Index);
        FHighIndex = std::max(FHighIndex, Index);
        Bucket(Key, true)->Add(Held);
      }
}

bool TKBTokenTree::Remove(const IReteToken& Token, IReteToken* Removed) {
  if (!Token) return false;
  TTokens* Tokens = Bucket(GetKey(*Token), false);
  if (!Tokens) return false;
  const int Count = Tokens->GetCount();
  for (int I = 0; I < Count; ++I)
    if (const IReteToken& Held = Tokens->GetRef(I); Held && Held->Equals(Token.get())) {
      if (Removed) *Removed = Held;
      Tokens->Delete(I);
      --FCount;
      return true;
    }
  return false;
}

void TKBTokenTree::Clear() {
  if (FEmpty) return;
  for (const Ref<TTokens>& Tokens : FBuckets)
    if (Tokens) Tokens->Clear();
  FEmpty = true;
  FCount = 0;
  FHighIndex = -1;
  FLowIndex = FHash + 1;
}

std::string TKBTokenTree::ToString() const {
  std::string Result;
  for (const Ref<TTokens>& Tokens : FBuckets)
    if (Tokens)
      for (const IReteToken& Token : *Tokens) {
        Result += Token->ToString();
        Result += sLineBreak;
      }
  return Result;
}

std::string TKBTokenTree::GetToFactsString() const {
  std::string Result;
  for (const Ref<TTokens>& Tokens : FBuckets)
    if (Tokens && !Tokens->IsEmpty())
      for (const IReteToken& Token : *Tokens) {
        Result += Token->GetToFactsString();
        Result += sLineBreak;
      }
  return Result;
}

}  // namespace cogent
