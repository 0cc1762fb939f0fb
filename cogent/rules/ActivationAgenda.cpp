#include "cogent/rules/ActivationAgenda.h"

#include <utility>

#include "cogent/foundation/KBInterfaces.h"
#include "cogent/host/Classes.h"
#include "cogent/host/Guards.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

// ================================================================ TActivationAgenda

TActivationAgenda::~TActivationAgenda() { TActivationAgenda::DoClear(); }

int TActivationAgenda::Add(TActivation* Activation) {
  const int Count = GetCount();
  const int At = FindInsertion(Activation);
  const int Index = At < 0 || At > Count ? Count : At;
  const IReteRule* Rule = Activation ? Activation->GetRule() : nullptr;
  InsertNode(Index, Activation, Rule ? Rule->GetSalience() : 0, Activation ? Activation->GetStrength() : 1.0f);
  return Index;
}

TActivation* TActivationAgenda::Extract(int Index) {
  CheckIndex(Index);
  TActivation* Result = GetActivations(Index);
  const bool FreeData = FFreeData;
  FFreeData = false;
  RunThenClose([this, Index] { DoDelete(Index); }, [this, FreeData] { FFreeData = FreeData; });
  return Result;
}

void TActivationAgenda::Delete(int Index) { DoDelete(CheckIndex(Index)); }

void TActivationAgenda::Clear() { DoClear(); }

int TActivationAgenda::IndexOfData(const TActivation* Activation) const {
  if (!Activation || FRoot < 0) return -1;
  if (Activation->FHolder == static_cast<const IActivationHolder*>(this)) {
    FCachedNode = Activation->FHolderEntry;
    FCachedIndex = RankOf(FCachedNode);
    return FCachedIndex;
  }
  if (FUnclaimed == 0) return -1;
  // Perhaps one of the entries that the activation does not name: a walk of
  // the pool, which is in no order, so the first entry is the one of least
  // index.
  int Result = -1;
  for (std::size_t Node = 0; Node < FNodes.size(); ++Node)
    if (FNodes[Node].Size > 0 && FNodes[Node].Data == Activation) {
      const int Index = RankOf(static_cast<std::int32_t>(Node));
      if (Result < 0 || Index < Result) Result = Index;
    }
  return Result;
}

void TActivationAgenda::SetActivations(int Index, TActivation* Value) {
  const std::int32_t Node = Select(CheckIndex(Index));
  TActivation* Old = At(Node).Data;
  if (Old && !Holds(Old, Node)) --FUnclaimed;
  Release(Old, Node);
  At(Node).Data = Value;
  Claim(Value, Node);
  if (Value && !Holds(Value, Node)) ++FUnclaimed;
}

std::vector<TActivation*> TActivationAgenda::ToArray() const {
  std::vector<TActivation*> Result;
  Result.reserve(static_cast<std::size_t>(GetCount()));
  for (std::int32_t Node = First(); Node >= 0; Node = Next(Node)) Result.push_back(At(Node).Data);
  return Result;
}

std::string TActivationAgenda::GetString(int Index) const {
  const TNode& Node = At(Select(CheckIndex(Index)));
  return Node.Data ? Node.Data->ToString(Node.Salience, Node.Strength) : std::string();
}

void TActivationAgenda::GetStrings(TStrings& Strings) const {
  Strings.BeginUpdate();
  const TFinally End([&Strings] { Strings.EndUpdate(); });
  Strings.Clear();
  for (std::int32_t Node = First(); Node >= 0; Node = Next(Node)) {
    const TNode& Entry = At(Node);
    Strings.AddObject(Entry.Data ? Entry.Data->ToString(Entry.Salience, Entry.Strength) : std::string(), Entry.Data);
  }
}

std::string TActivationAgenda::ToString() const {
  std::string Result;
  for (std::int32_t Node = First(); Node >= 0; Node = Next(Node)) {
    const TNode& Entry = At(Node);
    if (Entry.Data) Result += Entry.Data->ToString(Entry.Salience, Entry.Strength);
    Result += sLineBreak;
  }
  return Result;
}

void TActivationAgenda::Assign(TPersistent* Source) {
  if (Source == this) return;
  if (const auto* Other = dynamic_cast<const TActivationAgenda*>(Source)) {
    Clear();
    for (std::int32_t Node = Other->First(); Node >= 0; Node = Other->Next(Node)) {
      const TNode& Entry = Other->At(Node);
      InsertNode(GetCount(), Entry.Data, Entry.Salience, Entry.Strength);
    }
    return;
  }
  TPersistent::Assign(Source);
}

int TActivationAgenda::FindInsertion(TActivation* Activation) {
  (void)Activation;
  return -1;
}

void TActivationAgenda::DoDelete(int Index) {
  TActivation* Activation = RemoveNode(Select(Index));
  if (FFreeData) delete Activation;
}

void TActivationAgenda::DoClear() {
  std::vector<TActivation*> Owned;
  if (FFreeData) Owned.reserve(static_cast<std::size_t>(GetCount()));
  for (std::int32_t Node = First(); Node >= 0; Node = Next(Node)) {
    TActivation* Activation = At(Node).Data;
    Release(Activation, Node);
    if (FFreeData && Activation) Owned.push_back(Activation);
  }
  // The pool keeps its room for the next entries.
  FNodes.clear();
  FFreeNodes.clear();
  FRoot = -1;
  FUnclaimed = 0;
  FCachedIndex = -1;
  for (TActivation* Activation : Owned) delete Activation;
}

void TActivationAgenda::ActivationFreed(TActivation* Activation) noexcept {
  const std::int32_t Node = Activation->FHolderEntry;
  if (Node >= 0 && static_cast<std::size_t>(Node) < FNodes.size() && At(Node).Size > 0 && At(Node).Data == Activation)
    RemoveNode(Node);
}

void TActivationAgenda::IndexError(int Index) { throw EListError(Format(SListIndexError, Index)); }

// ---------------------------------------------------------------- the tree

std::int32_t TActivationAgenda::Select(int Index) const noexcept {
  if (Index == FCachedIndex) return FCachedNode;
  FCachedIndex = Index;
  std::int32_t Node = FRoot;
  for (;;) {
    const std::int32_t Left = SizeOf(At(Node).Left);
    if (Index < Left) {
      Node = At(Node).Left;
    } else if (Index == Left) {
      FCachedNode = Node;
      return Node;
    } else {
      Index -= Left + 1;
      Node = At(Node).Right;
    }
  }
}

int TActivationAgenda::RankOf(std::int32_t Node) const noexcept {
  int Result = SizeOf(At(Node).Left);
  for (std::int32_t Parent = At(Node).Parent; Parent >= 0; Node = Parent, Parent = At(Node).Parent)
    if (At(Parent).Right == Node) Result += SizeOf(At(Parent).Left) + 1;
  return Result;
}

std::int32_t TActivationAgenda::First() const noexcept {
  std::int32_t Node = FRoot;
  if (Node < 0) return -1;
  while (At(Node).Left >= 0) Node = At(Node).Left;
  return Node;
}

std::int32_t TActivationAgenda::Next(std::int32_t Node) const noexcept {
  if (At(Node).Right >= 0) {
    Node = At(Node).Right;
    while (At(Node).Left >= 0) Node = At(Node).Left;
    return Node;
  }
  std::int32_t Parent = At(Node).Parent;
  while (Parent >= 0 && At(Parent).Right == Node) {
    Node = Parent;
    Parent = At(Node).Parent;
  }
  return Parent;
}

std::int32_t TActivationAgenda::InsertNode(int Index, TActivation* Activation, std::int32_t Salience,
                                           float Strength) {
  FCachedIndex = -1;
  std::int32_t Node;
  if (!FFreeNodes.empty()) {
    Node = FFreeNodes.back();
    FFreeNodes.pop_back();
  } else {
    Node = static_cast<std::int32_t>(FNodes.size());
    FNodes.emplace_back();
  }
  TNode& Entry = At(Node);
  Entry = TNode{Activation, -1, -1, -1, 1, NextPriority(), Salience, Strength};
  if (FRoot < 0) {
    FRoot = Node;
  } else {
    // Down to the leaf place of the index, counting the newcomer on the way.
    std::int32_t Parent = FRoot;
    for (;;) {
      TNode& P = At(Parent);
      ++P.Size;
      const std::int32_t Left = SizeOf(P.Left);
      if (Index <= Left) {
        if (P.Left < 0) {
          P.Left = Node;
          break;
        }
        Parent = P.Left;
      } else {
        Index -= Left + 1;
        if (P.Right < 0) {
          P.Right = Node;
          break;
        }
        Parent = P.Right;
      }
    }
    At(Node).Parent = Parent;
    while (At(Node).Parent >= 0 && At(At(Node).Parent).Priority < At(Node).Priority) RotateUp(Node);
  }
  Claim(Activation, Node);
  if (Activation && !Holds(Activation, Node)) ++FUnclaimed;
  return Node;
}

TActivation* TActivationAgenda::RemoveNode(std::int32_t Node) noexcept {
  FCachedIndex = -1;
  // Down until it has one child at most, keeping the heap on the priorities.
  for (;;) {
    const std::int32_t Left = At(Node).Left;
    const std::int32_t Right = At(Node).Right;
    if (Left < 0 || Right < 0) break;
    RotateUp(At(Left).Priority > At(Right).Priority ? Left : Right);
  }
  const std::int32_t Child = At(Node).Left >= 0 ? At(Node).Left : At(Node).Right;
  const std::int32_t Parent = At(Node).Parent;
  if (Child >= 0) At(Child).Parent = Parent;
  if (Parent < 0)
    FRoot = Child;
  else if (At(Parent).Left == Node)
    At(Parent).Left = Child;
  else
    At(Parent).Right = Child;
  for (std::int32_t Above = Parent; Above >= 0; Above = At(Above).Parent) --At(Above).Size;
  TActivation* Result = At(Node).Data;
  if (Result && !Holds(Result, Node)) --FUnclaimed;
  Release(Result, Node);
  At(Node) = TNode{};
  if (FRoot < 0) {
    // The last entry left: the pool starts over.
    FNodes.clear();
    FFreeNodes.clear();
  } else {
    FFreeNodes.push_back(Node);
  }
  return Result;
}

void TActivationAgenda::RotateUp(std::int32_t Node) noexcept {
  const std::int32_t Parent = At(Node).Parent;
  const std::int32_t Grand = At(Parent).Parent;
  if (At(Parent).Left == Node) {
    const std::int32_t Inner = At(Node).Right;
    At(Parent).Left = Inner;
    if (Inner >= 0) At(Inner).Parent = Parent;
    At(Node).Right = Parent;
  } else {
    const std::int32_t Inner = At(Node).Left;
    At(Parent).Right = Inner;
    if (Inner >= 0) At(Inner).Parent = Parent;
    At(Node).Left = Parent;
  }
  At(Parent).Parent = Node;
  At(Node).Parent = Grand;
  if (Grand < 0)
    FRoot = Node;
  else if (At(Grand).Left == Parent)
    At(Grand).Left = Node;
  else
    At(Grand).Right = Node;
  At(Node).Size = At(Parent).Size;
  At(Parent).Size = SizeOf(At(Parent).Left) + SizeOf(At(Parent).Right) + 1;
}

void TActivationAgenda::Claim(TActivation* Activation, std::int32_t Node) noexcept {
  if (!Activation || Activation->FHolder) return;
  Activation->FHolder = this;
  Activation->FHolderEntry = Node;
}

bool TActivationAgenda::Holds(const TActivation* Activation, std::int32_t Node) const noexcept {
  return Activation->FHolder == static_cast<const IActivationHolder*>(this) && Activation->FHolderEntry == Node;
}

void TActivationAgenda::Release(TActivation* Activation, std::int32_t Node) noexcept {
  if (!Activation || !Holds(Activation, Node)) return;
  Activation->FHolder = nullptr;
  Activation->FHolderEntry = -1;
}

std::uint32_t TActivationAgenda::NextPriority() noexcept {
  // xorshift32: cheap, and independent of what the agenda holds.
  FSeed ^= FSeed << 13;
  FSeed ^= FSeed >> 17;
  FSeed ^= FSeed << 5;
  return FSeed;
}

// ================================================================ TKBAgenda

int TKBAgenda::FindInsertion(TActivation* Activation) {
  if (GetCount() == 0 || !FEngine || !Activation) return -1;
  const IReteRule* Rule = Activation->GetRule();
  return FEngine->SearchSalience(Rule ? Rule->GetSalience() : 0);
}

}  // namespace cogent
