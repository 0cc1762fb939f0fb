#pragma once
// The agenda of a module: the activations that wait to fire. It owns them.
// Ordering by salience and strategy comes with the run loop; until then an
// activation is appended.

#include <list>
#include <unordered_map>

#include "cogent/facts/KBModule.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

class IKnowledgeBase;

class TKBAgenda : public TPersistent {
public:
  TKBAgenda(IKnowledgeBase* AEngine, TModule* AModule) : FEngine(AEngine), FModule(AModule) {}
  TKBAgenda(const TKBAgenda&) = delete;
  TKBAgenda& operator=(const TKBAgenda&) = delete;
  ~TKBAgenda() override { Clear(); }

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }
  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  // Raises EListError for an index out of range. Walks the list.
  TActivation* GetActivation(int Index) const;
  // By identity; -1 when absent.
  int IndexOfData(const TActivation* Activation) const noexcept;

  bool Contains(const TActivation* Activation) const noexcept { return FPlaces.count(Activation) > 0; }

  // Takes the activation over; gives its index.
  int Add(TActivation* Activation);
  // Takes the entry out and hands the activation back, unfreed.
  TActivation* Extract(int Index);
  // The same, by identity; nil when the agenda does not hold it.
  TActivation* Extract(const TActivation* Activation);
  // Takes the entry out, then frees the activation.
  void Delete(int Index);
  // Empties the list first and then frees the activations: each one's
  // destructor reaches back into the engine and must find the list final.
  void Clear();

private:
  IKnowledgeBase* FEngine;
  TModule* FModule;
  // In order of arrival, with each activation's place, so that standing one
  // down costs no search.
  std::list<TActivation*> FItems;
  std::unordered_map<const TActivation*, std::list<TActivation*>::iterator> FPlaces;
};

}  // namespace cogent
