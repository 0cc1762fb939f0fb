#pragma once
// The agenda of a module: the activations that wait to fire, highest salience
// on top (entry 0). Each entry is the activation's text at the moment it came
// in, with the activation as its data.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "cogent/facts/KBModule.h"
#include "cogent/foundation/VXStringList.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

class IKnowledgeBase;

// ---------------------------------------------------------------- TActivationAgenda

class TActivationAgenda : public TStringList<TActivation*> {
public:
  TActivationAgenda() { SetDuplicates(dupAccept); }
  // Frees its activations when it owns them; the base destructor would not.
  ~TActivationAgenda() override;

  // Puts the activation where FindInsertion says (-1 appends); gives the index.
  int Add(TActivation* Activation);
  // Takes the entry out and hands the activation back, unfreed.
  TActivation* Extract(int Index);
  // -1 when the agenda does not hold it. Found through the order keys, not
  // by a walk of the list.
  int IndexOfData(const TActivation* Activation) const;
  TActivation* GetActivations(int Index) const { return GetData(Index); }
  // Replaces the entry's activation; the one it held is not freed.
  void SetActivations(int Index, TActivation* Value);

  bool GetFreeData() const noexcept { return FFreeData; }
  void SetFreeData(bool Value) noexcept { FFreeData = Value; }

  // Copies the entries of another agenda in order; the activations are
  // shared, not cloned.
  void Assign(TPersistent* Source) override;
  void Exchange(int Index1, int Index2) override;
  void Move(int CurIndex, int NewIndex) override;
  void CustomSort(const TStringListSortCompare& Compare) override;

protected:
  // Where a new activation goes; -1 appends.
  virtual int FindInsertion(TActivation* Activation);

  void DoClear() override;
  void DoDelete(int Index) override;
  using TStringList<TActivation*>::InsertItem;
  void InsertItem(int Index, const std::string& S, TObject* AObject, TActivation* const& Data) override;

private:
  // Gives every entry a fresh key, spaced apart, in list order.
  void Renumber();

  bool FFreeData = true;
  // A key per entry that grows with the index, so that an activation's place
  // is found by bisection. A new entry takes a key between its neighbours';
  // when there is no room left they are numbered again.
  std::vector<std::int64_t> FOrder;
  std::unordered_map<const TActivation*, std::int64_t> FKeys;
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
