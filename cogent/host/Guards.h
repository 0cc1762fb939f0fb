#pragma once
// Scope guards for the paired calls of the object model: BeginUpdate with
// EndUpdate, a saved state put back. The closing call runs however the scope
// ends; when it fails while an exception is already on its way, the first
// exception wins, otherwise its own error passes as the open-coded pair would.

#include <exception>
#include <utility>

namespace cogent {

// Runs a scope's closing call. Exceptions is std::uncaught_exceptions() as it
// stood when the scope opened: more now means the scope is unwinding.
template <class F>
void CloseScope(int Exceptions, F&& Action) {
  if (std::uncaught_exceptions() <= Exceptions) {
    Action();
    return;
  }
  try {
    Action();
  } catch (...) {
  }
}

template <class F>
class TFinally {
public:
  explicit TFinally(F AAction) : FAction(std::move(AAction)) {}
  TFinally(const TFinally&) = delete;
  TFinally& operator=(const TFinally&) = delete;
  ~TFinally() noexcept(false) { CloseScope(FExceptions, FAction); }

private:
  F FAction;
  int FExceptions = std::uncaught_exceptions();
};

// Body, then Closing however Body ends, with the same rule as TFinally. For
// hot paths: it does not ask for the exceptions in flight.
template <class TBody, class TClosing>
void RunThenClose(TBody&& Body, TClosing&& Closing) {
  try {
    Body();
  } catch (...) {
    try {
      Closing();
    } catch (...) {
    }
    throw;
  }
  Closing();
}

// BeginUpdate now, EndUpdate at the end of the scope:
//   const auto Update = UpdateGuard(List);
template <class T>
[[nodiscard]] auto UpdateGuard(T& Object) {
  Object.BeginUpdate();
  return TFinally([&Object] { Object.EndUpdate(); });
}

}  // namespace cogent
