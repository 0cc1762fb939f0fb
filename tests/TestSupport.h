#pragma once
// Helpers shared by the test programs.

#include <initializer_list>
#include <string>

#include "TestErrors.h"
#include "cogent/values/KBValue.h"

namespace cogent::test {

inline IKBValue Atom(const std::string& S) { return IKBValue(new TKBValue(S, dtAtom)); }
inline IKBValue Str(const std::string& S) { return IKBValue(new TKBValue(S, dtString)); }
inline IKBValue Int(std::int32_t I) { return IKBValue(new TKBValue(I, dtInteger)); }
inline IKBValue Flt(double D) { return IKBValue(new TKBValue(D)); }
inline IKBValue Var(const std::string& S) { return IKBValue(new TKBValue(S, dtVariable)); }
inline IKBValue List(std::initializer_list<IKBValue> Items) {
  IValueVector Vector(new TValueVector());
  for (const IKBValue& Item : Items) Vector->Add(Item);
  return IKBValue(new TKBValue(Vector));
}

}  // namespace cogent::test
