#pragma once
// The agenda of a module: the activations that wait to fire, highest salience
// on top (entry 0).
//
// Why this is not a plain string list. The engine places a new activation by
// index: the two ends first, then a bisection that reads the rule salience of
// the entry in the middle. With one salience under depth-first every new
// activation goes to index 0, and a flat array moves all the others each time
// (100,000 activations of one rule took seconds); a string list also built
// each entry's text on the way in, though a watcher reads it seldom.
//
// So the entries stand in three parts, in order: a run at the top, an
// order-statistic tree, and a run at the bottom. Nearly every entry comes in
// at one end, under either strategy, and most leave from the top or close to
// it; the runs are flat arrays that take these in O(1), so that a long run of
// firings never walks a tree. The tree is a treap ordered by position alone,
// each node knowing its parent and the size of its subtree: inserting at an
// index, reading entry i, taking out a known entry and finding an entry's
// index each cost O(log n), expected, whatever the order of insertions (the
// node priorities come from the agenda's own generator, never from the
// activations). An entry that comes in or leaves deep inside a run moves the
// whole run into the tree first; an entry moves there once at most, so this
// costs no more than the tree would have. All nodes live in a pool that the
// agenda reuses, so that an insertion allocates nothing once it has grown.
//
// An activation remembers the agenda that holds it and its node there (the
// first agenda that takes it in while no other holds it), so that its index
// and its removal need no search, and the agenda knows at once that it does
// not hold an activation that names no entry of its own. Another agenda that
// shares it, as a copy made for a rebuild does, finds it by a walk of its pool.
//
// An entry's text is what the activation's text was when it came in. The
// salience and strength are kept from that moment; the text itself is built
// only when somebody asks for it.

#include <cstdint>
#include <string>
#include <vector>

#include "cogent/facts/KBModule.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

class IKnowledgeBase;
class TStrings;

// ---------------------------------------------------------------- TActivationAgenda

class TActivationAgenda : public TPersistent, private IActivationHolder {
public:
  TActivationAgenda() = default;
  TActivationAgenda(const TActivationAgenda&) = delete;
  TActivationAgenda& operator=(const TActivationAgenda&) = delete;
  // Frees its activations when it owns them.
  ~TActivationAgenda() override;

  int GetCount() const noexcept { return FCount; }

  // Puts the activation where FindInsertion says (-1 appends); gives the index.
  int Add(TActivation* Activation);
  // Takes the entry out and hands the activation back, unfreed.
  TActivation* Extract(int Index);
  // Takes the entry out; frees the activation when the agenda owns it.
  void Delete(int Index);
  // Empties the agenda, then frees the activations when it owns them.
  void Clear();
  // The index of the entry that the activation names, else of the first that
  // holds it; -1 when none does.
  int IndexOfData(const TActivation* Activation) const;
  // Inline: the engine reads the top entry and the two ends several times a firing.
  TActivation* GetActivations(int Index) const { return At(Select(CheckIndex(Index))).Data; }
  // Replaces the entry's activation; the one it held is not freed, and the
  // entry's text stays.
  void SetActivations(int Index, TActivation* Value);
  // The activations from the top.
  std::vector<TActivation*> ToArray() const;

  bool GetFreeData() const noexcept { return FFreeData; }
  void SetFreeData(bool Value) noexcept { FFreeData = Value; }

  // "10 fire-alarm : f-3, f-7 (1.0000)", with the salience and strength the
  // entry came in with.
  std::string GetString(int Index) const;
  // Replaces the lines of Strings with the entries' texts, from the top, each
  // line's object the activation.
  void GetStrings(TStrings& Strings) const;
  // The entries' texts, each followed by a line break.
  std::string ToString() const override;

  // Copies the entries of another agenda in order, texts included; the
  // activations are shared, not cloned. The agenda's own entries go first,
  // freed when it owns them.
  void Assign(TPersistent* Source) override;

protected:
  // Where a new activation goes; -1 appends.
  virtual int FindInsertion(TActivation* Activation);
  // Takes out the entry at a valid index; frees the activation afterwards
  // when the agenda owns it.
  virtual void DoDelete(int Index);
  // Empties the agenda first: each activation's destructor may reach back into
  // the engine, and must find the agenda in its final state.
  virtual void DoClear();

private:
  // A node of the tree, an entry of one of the runs, or a free node of the
  // pool (Size 0, the next free node in Left). An entry of a run has Size 1,
  // its run in Parent and its place in the run's array in Slot, which is
  // where a node of the tree keeps its left child: a node is 32 bytes.
  struct TNode {
    TActivation* Data = nullptr;
    std::int32_t Left = -1;
    std::int32_t Right = -1;
    std::int32_t Parent = -1;
    std::int32_t Size = 0;
    // What the entry's text needs of the moment the activation came in.
    std::int32_t Salience = 0;
    float Strength = 1.0f;

    std::int32_t& Slot() noexcept { return Left; }
    std::int32_t Slot() const noexcept { return Left; }
  };
  static_assert(sizeof(TNode) <= 32);
  // Parent of an entry of the top run, and of the bottom run.
  static constexpr std::int32_t InTopRun = -2;
  static constexpr std::int32_t InBottomRun = -3;
  // An entry this close to the end of its run comes in or leaves by moving
  // the entries beyond it; deeper, the run goes into the tree.
  static constexpr int NearEnd = 8;

  void ActivationFreed(TActivation* Activation) noexcept override;

  int CheckIndex(int Index) const {
    if (Index < 0 || Index >= GetCount()) IndexError(Index);
    return Index;
  }
  [[noreturn]] static void IndexError(int Index);
  std::int32_t SizeOf(std::int32_t Node) const noexcept {
    return Node < 0 ? 0 : FNodes[static_cast<std::size_t>(Node)].Size;
  }
  int TreeCount() const noexcept { return SizeOf(FRoot); }
  int TopCount() const noexcept { return static_cast<int>(FTop.size()); }
  int BottomCount() const noexcept { return static_cast<int>(FBottom.size()) - FBottomHead; }
  TNode& At(std::int32_t Node) noexcept { return FNodes[static_cast<std::size_t>(Node)]; }
  const TNode& At(std::int32_t Node) const noexcept { return FNodes[static_cast<std::size_t>(Node)]; }

  // The node of entry Index, which must be valid. The runs and the entry
  // last asked for need no walk: the engine reads the top, the bottom and
  // the entry it has just found several times an insertion or a firing.
  std::int32_t Select(int Index) const noexcept {
    if (Index == FCachedIndex) return FCachedNode;
    const int Top = TopCount();
    if (Index < Top) return FTop[static_cast<std::size_t>(Top - 1 - Index)];
    const int Below = Index - Top - TreeCount();
    if (Below >= 0) return FBottom[static_cast<std::size_t>(FBottomHead + Below)];
    return SelectInTree(Index);
  }
  std::int32_t SelectInTree(int Index) const noexcept;
  // The index of a node that holds an entry.
  int RankOf(std::int32_t Node) const noexcept;
  // In order, from the top: the first node, and the one after a node (-1 at the end).
  std::int32_t First() const noexcept;
  std::int32_t Next(std::int32_t Node) const noexcept;

  // Takes a node from the pool and places it at Index (0 .. count).
  std::int32_t InsertNode(int Index, TActivation* Activation, std::int32_t Salience, float Strength);
  // Takes the node out, gives it back to the pool and hands its activation back.
  TActivation* RemoveNode(std::int32_t Node) noexcept;
  // The runs' arrays with their entries' slots, and the moves of a run
  // into the tree.
  void InsertInRun(pool::TLargeVector<std::int32_t>& Run, std::int32_t Parent, int Slot, std::int32_t Node) noexcept;
  void EraseFromRun(pool::TLargeVector<std::int32_t>& Run, int Slot) noexcept;
  void TopIntoTree() noexcept;
  void BottomIntoTree() noexcept;
  // No entries: the pool, the runs and the tree empty.
  void StartOver() noexcept;

  // The tree alone: a node's neighbours and index there, links at an index, unlinks.
  std::int32_t TreeNext(std::int32_t Node) const noexcept;
  std::int32_t TreePrev(std::int32_t Node) const noexcept;
  int TreeRank(std::int32_t Node) const noexcept;
  void LinkInTree(int Index, std::int32_t Node) noexcept;
  void UnlinkFromTree(std::int32_t Node) noexcept;
  // Lifts a node above its parent, keeping the order.
  void RotateUp(std::int32_t Node) noexcept;

  // The activation remembers this agenda when no other holds it.
  void Claim(TActivation* Activation, std::int32_t Node) noexcept;
  void Release(TActivation* Activation, std::int32_t Node) noexcept;
  // Whether the activation finds Node of this agenda as its entry.
  bool Holds(const TActivation* Activation, std::int32_t Node) const noexcept;
  // A node's place in the heap order of the tree: a hash of its index, which
  // has nothing to do with the place of its entry in the agenda's order.
  static std::uint32_t PriorityOf(std::int32_t Node) noexcept;

  bool FFreeData = true;
  pool::TLargeVector<TNode> FNodes;
  // The free nodes of the pool, linked through Left.
  std::int32_t FFreeNode = -1;
  std::int32_t FRoot = -1;
  // The tree's ends, -1 while it is empty.
  std::int32_t FTreeFirst = -1;
  std::int32_t FTreeLast = -1;
  // The run above the tree, the top entry last, and the run below it, from
  // FBottomHead on: the entries before it have left from the run's front.
  pool::TLargeVector<std::int32_t> FTop;
  pool::TLargeVector<std::int32_t> FBottom;
  int FBottomHead = 0;
  int FCount = 0;
  // The entry last looked up by index or found by identity, until the
  // agenda changes: taking an activation off asks for the same entry
  // several times.
  mutable int FCachedIndex = -1;
  mutable std::int32_t FCachedNode = -1;
  // Entries whose activation does not find them: while there are none, an
  // activation that does not name this agenda is on it nowhere.
  int FUnclaimed = 0;
};

// ---------------------------------------------------------------- TKBAgenda

// The agenda of an engine's module: a new activation is placed by the
// engine's conflict resolution. Without an engine it only appends.
class TKBAgenda : public TActivationAgenda {
public:
  TKBAgenda(IKnowledgeBase* AEngine, TModule* AModule) : FEngine(AEngine), FModule(AModule) {}

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  // The owner, not counted.
  TModule* GetModule() const noexcept { return FModule; }

protected:
  int FindInsertion(TActivation* Activation) override;

private:
  IKnowledgeBase* FEngine;
  TModule* FModule;
};

}  // namespace cogent
