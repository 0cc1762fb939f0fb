#pragma once
// Tokens: what flows through the network. For now a token carries its facts
// and what it does; shared chains, strengths and token memories come with
// matching.

#include <utility>
#include <vector>

#include "cogent/facts/KBFacts.h"

namespace cogent {

class TKBToken : public TRefCounted {
public:
  // A token of one fact; a nil fact (a clear) makes a token of none.
  TKBToken(TTokenAction AAction, const IFact& AFact) : FAction(AAction) {
    if (AFact) FFacts.push_back(AFact);
  }
  // The facts in pattern order, the first pattern's fact first.
  TKBToken(TTokenAction AAction, std::vector<IFact> AFacts) : FAction(AAction), FFacts(std::move(AFacts)) {}

  TTokenAction GetAction() const noexcept { return FAction; }
  // The last fact, nil for a token of none.
  IFact GetFact() const { return FFacts.empty() ? IFact() : FFacts.back(); }
  int GetFactCount() const noexcept { return static_cast<int>(FFacts.size()); }
  // Raises EListError for an index out of range.
  IFact GetFact(int Index) const {
    if (Index < 0 || Index >= GetFactCount()) throw EListError(Format(SListIndexError, Index));
    return FFacts[static_cast<std::size_t>(Index)];
  }

protected:
  ~TKBToken() override = default;

private:
  TTokenAction FAction;
  std::vector<IFact> FFacts;
};

using IReteToken = Ref<TKBToken>;

}  // namespace cogent
