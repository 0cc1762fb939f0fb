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
  TActivation* Result = GetActivations(Index);
  const bool FreeData = FFreeData;
  FFreeData = false;
  RunThenClose([this, Index] { DoDelete(Index); }, [this, FreeData] { FFreeData = FreeData; });
  return Result;
}

void TActivationAgenda::Delete(int Index) { DoDelete(CheckIndex(Index)); }

void TActivationAgenda::Clear() { DoClear(); }

int TActivationAgenda::IndexOfData(const TActivation* Activation) const {
  if (!Activation || FCount == 0) return -1;
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
  StartOver();
  for (TActivation* Activation : Owned) delete Activation;
}

void TActivationAgenda::StartOver() noexcept {
  // The pool and the runs keep their room for the next entries.
  FNodes.clear();
  FFreeNode = -1;
  FTop.clear();
  FBottom.clear();
  FBottomHead = 0;
  FRoot = FTreeFirst = FTreeLast = -1;
  FCount = 0;
  FUnclaimed = 0;
  FCachedIndex = -1;
}

void TActivationAgenda::ActivationFreed(TActivation* Activation) noexcept {
  const std::int32_t Node = Activation->FHolderEntry;
  if (Node >= 0 && static_cast<std::size_t>(Node) < FNodes.size() && At(Node).Size > 0 && At(Node).Data == Activation)
    RemoveNode(Node);
}

void TActivationAgenda::IndexError(int Index) { throw EListError(Format(SListIndexError, Index)); }

// ---------------------------------------------------------------- the entries

std::int32_t TActivationAgenda::SelectInTree(int Index) const noexcept {
  FCachedIndex = Index;
  Index -= TopCount();
  std::int32_t Node = FRoot;
  if (Index == 0) {
    Node = FTreeFirst;
  } else if (Index == TreeCount() - 1) {
    Node = FTreeLast;
  } else {
    for (;;) {
      const std::int32_t Left = SizeOf(At(Node).Left);
      if (Index < Left) {
        Node = At(Node).Left;
      } else if (Index == Left) {
        break;
      } else {
        Index -= Left + 1;
        Node = At(Node).Right;
      }
    }
  }
  FCachedNode = Node;
  return Node;
}

int TActivationAgenda::RankOf(std::int32_t Node) const noexcept {
  const TNode& Entry = At(Node);
  if (Entry.Parent == InTopRun) return TopCount() - 1 - Entry.Slot();
  if (Entry.Parent == InBottomRun) return TopCount() + TreeCount() + Entry.Slot() - FBottomHead;
  return TopCount() + TreeRank(Node);
}

std::int32_t TActivationAgenda::First() const noexcept {
  if (!FTop.empty()) return FTop.back();
  if (FRoot >= 0) return FTreeFirst;
  return BottomCount() > 0 ? FBottom[static_cast<std::size_t>(FBottomHead)] : -1;
}

std::int32_t TActivationAgenda::Next(std::int32_t Node) const noexcept {
  const TNode& Entry = At(Node);
  std::int32_t Result = -1;
  if (Entry.Parent == InBottomRun) {
    const std::size_t Slot = static_cast<std::size_t>(Entry.Slot()) + 1;
    return Slot < FBottom.size() ? FBottom[Slot] : -1;
  }
  if (Entry.Parent == InTopRun)
    Result = Entry.Slot() > 0 ? FTop[static_cast<std::size_t>(Entry.Slot() - 1)] : FTreeFirst;
  else
    Result = TreeNext(Node);
  if (Result < 0 && BottomCount() > 0) Result = FBottom[static_cast<std::size_t>(FBottomHead)];
  return Result;
}

std::int32_t TActivationAgenda::InsertNode(int Index, TActivation* Activation, std::int32_t Salience,
                                           float Strength) {
  FCachedIndex = -1;
  // Room first: nothing below may throw once the node is taken.
  if (FTop.size() == FTop.capacity()) FTop.reserve(FTop.empty() ? 16 : 2 * FTop.size());
  if (FBottom.size() == FBottom.capacity()) FBottom.reserve(FBottom.empty() ? 16 : 2 * FBottom.size());
  std::int32_t Node = FFreeNode;
  if (Node >= 0) {
    FFreeNode = At(Node).Left;
  } else {
    Node = static_cast<std::int32_t>(FNodes.size());
    FNodes.emplace_back();
  }
  At(Node) = TNode{Activation, -1, -1, -1, 1, Salience, Strength};
  const int Top = TopCount();
  const int Tree = TreeCount();
  if (Index == 0) {
    At(Node).Parent = InTopRun;
    At(Node).Slot() = Top;
    FTop.push_back(Node);
  } else if (Index == FCount) {
    InsertInRun(FBottom, InBottomRun, static_cast<int>(FBottom.size()), Node);
  } else if (Index < Top) {
    if (Index <= NearEnd) {
      InsertInRun(FTop, InTopRun, Top - Index, Node);
    } else {
      TopIntoTree();
      LinkInTree(Index, Node);
    }
  } else if (Index <= Top + Tree) {
    LinkInTree(Index - Top, Node);
  } else if (FCount - Index <= NearEnd) {
    InsertInRun(FBottom, InBottomRun, FBottomHead + Index - Top - Tree, Node);
  } else {
    BottomIntoTree();
    LinkInTree(Index - Top, Node);
  }
  ++FCount;
  Claim(Activation, Node);
  if (Activation && !Holds(Activation, Node)) ++FUnclaimed;
  return Node;
}

TActivation* TActivationAgenda::RemoveNode(std::int32_t Node) noexcept {
  FCachedIndex = -1;
  TNode& Entry = At(Node);
  if (Entry.Parent == InTopRun) {
    if (Entry.Slot() == TopCount() - 1) {
      FTop.pop_back();
    } else if (TopCount() - 1 - Entry.Slot() <= NearEnd) {
      EraseFromRun(FTop, Entry.Slot());
    } else {
      TopIntoTree();
      UnlinkFromTree(Node);
    }
  } else if (Entry.Parent == InBottomRun) {
    if (Entry.Slot() == FBottomHead) {
      // Leaves from the front of the run: the run starts later, and drops
      // what lies before it once that is the larger part.
      if (++FBottomHead == static_cast<int>(FBottom.size())) {
        FBottom.clear();
        FBottomHead = 0;
      } else if (FBottomHead >= 2 * NearEnd && 2 * FBottomHead >= static_cast<int>(FBottom.size())) {
        FBottom.erase(FBottom.begin(), FBottom.begin() + FBottomHead);
        FBottomHead = 0;
        for (std::size_t Slot = 0; Slot < FBottom.size(); ++Slot)
          At(FBottom[Slot]).Slot() = static_cast<std::int32_t>(Slot);
      }
    } else if (static_cast<int>(FBottom.size()) - 1 - Entry.Slot() <= NearEnd) {
      EraseFromRun(FBottom, Entry.Slot());
    } else {
      BottomIntoTree();
      UnlinkFromTree(Node);
    }
  } else {
    UnlinkFromTree(Node);
  }
  --FCount;
  TActivation* Result = At(Node).Data;
  if (Result && !Holds(Result, Node)) --FUnclaimed;
  Release(Result, Node);
  if (FCount == 0) {
    // The last entry left.
    StartOver();
  } else {
    // Size 0 and no activation is all that a walk of the pool asks of it.
    TNode& Free = At(Node);
    Free.Data = nullptr;
    Free.Size = 0;
    Free.Left = FFreeNode;
    FFreeNode = Node;
  }
  return Result;
}

void TActivationAgenda::InsertInRun(pool::TLargeVector<std::int32_t>& Run, std::int32_t Parent, int Slot,
                                    std::int32_t Node) noexcept {
  // The room is there: InsertNode made it.
  Run.push_back(Node);
  for (std::size_t After = Run.size() - 1; After > static_cast<std::size_t>(Slot); --After) {
    const std::int32_t Moved = Run[After - 1];
    Run[After] = Moved;
    At(Moved).Slot() = static_cast<std::int32_t>(After);
  }
  Run[static_cast<std::size_t>(Slot)] = Node;
  At(Node).Slot() = Slot;
  At(Node).Parent = Parent;
}

void TActivationAgenda::EraseFromRun(pool::TLargeVector<std::int32_t>& Run, int Slot) noexcept {
  const std::size_t Last = Run.size() - 1;
  for (std::size_t After = static_cast<std::size_t>(Slot); After < Last; ++After) {
    const std::int32_t Moved = Run[After + 1];
    Run[After] = Moved;
    At(Moved).Slot() = static_cast<std::int32_t>(After);
  }
  Run.pop_back();
}

void TActivationAgenda::TopIntoTree() noexcept {
  // From the bottom of the run up, each in front of the tree.
  for (const std::int32_t Node : FTop) LinkInTree(0, Node);
  FTop.clear();
}

void TActivationAgenda::BottomIntoTree() noexcept {
  for (std::size_t Slot = static_cast<std::size_t>(FBottomHead); Slot < FBottom.size(); ++Slot)
    LinkInTree(TreeCount(), FBottom[Slot]);
  FBottom.clear();
  FBottomHead = 0;
}

// ---------------------------------------------------------------- the tree

std::int32_t TActivationAgenda::TreeNext(std::int32_t Node) const noexcept {
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

std::int32_t TActivationAgenda::TreePrev(std::int32_t Node) const noexcept {
  if (At(Node).Left >= 0) {
    Node = At(Node).Left;
    while (At(Node).Right >= 0) Node = At(Node).Right;
    return Node;
  }
  std::int32_t Parent = At(Node).Parent;
  while (Parent >= 0 && At(Parent).Left == Node) {
    Node = Parent;
    Parent = At(Node).Parent;
  }
  return Parent;
}

int TActivationAgenda::TreeRank(std::int32_t Node) const noexcept {
  if (Node == FTreeFirst) return 0;
  if (Node == FTreeLast) return TreeCount() - 1;
  int Result = SizeOf(At(Node).Left);
  for (std::int32_t Parent = At(Node).Parent; Parent >= 0; Node = Parent, Parent = At(Node).Parent)
    if (At(Parent).Right == Node) Result += SizeOf(At(Parent).Left) + 1;
  return Result;
}

void TActivationAgenda::LinkInTree(int Index, std::int32_t Node) noexcept {
  TNode& Entry = At(Node);
  Entry.Left = Entry.Right = Entry.Parent = -1;
  Entry.Size = 1;
  if (FRoot < 0) {
    FRoot = FTreeFirst = FTreeLast = Node;
    return;
  }
  const int Count = TreeCount();
  std::int32_t Parent;
  if (Index == 0 || Index == Count) {
    // At an end: below the end node, counted on the way up.
    const bool AtFront = Index == 0;
    Parent = AtFront ? FTreeFirst : FTreeLast;
    (AtFront ? At(Parent).Left : At(Parent).Right) = Node;
    (AtFront ? FTreeFirst : FTreeLast) = Node;
    for (std::int32_t Above = Parent; Above >= 0; Above = At(Above).Parent) ++At(Above).Size;
  } else {
    // Down to the leaf place of the index, counting the newcomer on the way.
    Parent = FRoot;
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
  }
  At(Node).Parent = Parent;
  while (At(Node).Parent >= 0 && PriorityOf(At(Node).Parent) < PriorityOf(Node)) RotateUp(Node);
}

void TActivationAgenda::UnlinkFromTree(std::int32_t Node) noexcept {
  if (Node == FTreeFirst) FTreeFirst = TreeNext(Node);
  if (Node == FTreeLast) FTreeLast = TreePrev(Node);
  // Down until it has one child at most, keeping the heap on the priorities.
  for (;;) {
    const std::int32_t Left = At(Node).Left;
    const std::int32_t Right = At(Node).Right;
    if (Left < 0 || Right < 0) break;
    RotateUp(PriorityOf(Left) > PriorityOf(Right) ? Left : Right);
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

std::uint32_t TActivationAgenda::PriorityOf(std::int32_t Node) noexcept {
  // A mixing step that is one to one: no two nodes share a priority.
  auto X = static_cast<std::uint32_t>(Node) + 0x9E3779B9u;
  X = (X ^ (X >> 16)) * 0x85EBCA6Bu;
  X = (X ^ (X >> 13)) * 0xC2B2AE35u;
  return X ^ (X >> 16);
}

// ================================================================ TKBAgenda

int TKBAgenda::FindInsertion(TActivation* Activation) {
  if (GetCount() == 0 || !FEngine || !Activation) return -1;
  const IReteRule* Rule = Activation->GetRule();
  return FEngine->SearchSalience(Rule ? Rule->GetSalience() : 0);
}

}  // namespace cogent
