#include "cogent/common/VXInterfaceList.h"

namespace cogent {

template class TInterfaceListPersistent<TRefCounted>;
template class TInterfaceListIterator<TRefCounted>;

void RaiseListIndexError(int Index) { throw EListError(Format(SListIndexError, Index)); }

// ---------------------------------------------------------------- TStringsIterator

std::string TStringsIterator::CurrentElement() const {
  return FIndex > 0 && FIndex <= GetCount() ? FStrings->Get(FIndex - 1) : std::string();
}

int TStringsIterator::GetCount() const { return FStrings != nullptr ? FStrings->GetCount() : 0; }

bool TStringsIterator::HasMoreElements() const { return FIndex < GetCount(); }

std::string TStringsIterator::NextElement() {
  if (!HasMoreElements()) RaiseListIndexError(FIndex);
  return FStrings->Get(FIndex++);
}

void TStringsIterator::Reset() { FIndex = 0; }

// ---------------------------------------------------------------- TIQueue

void TIQueue::Push(const IInterface& Item) { Add(Item); }

IInterface TIQueue::Pop() {
  if (IsEmpty()) throw EListError(SUnbalancedOperation);
  return Extract(0);
}

IInterface TIQueue::Peek() const {
  if (IsEmpty()) throw EListError(SUnbalancedOperation);
  return First();
}

// ---------------------------------------------------------------- TIStack

void TIStack::Push(const IInterface& Item) { Add(Item); }

IInterface TIStack::Pop() {
  if (IsEmpty()) throw EListError(SUnbalancedOperation);
  return Extract(GetCount() - 1);
}

IInterface TIStack::Peek() const {
  if (IsEmpty()) throw EListError(SUnbalancedOperation);
  return Last();
}

}  // namespace cogent
