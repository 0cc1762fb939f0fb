#pragma once
// Helpers shared by the host layer's tests.

#include <string>

namespace cogent::hosttest {

// The message of the E that Call raises, or "no error".
template <class E, class F>
std::string ErrorOf(F&& Call) {
  try {
    Call();
  } catch (const E& Error) {
    return Error.what();
  }
  return "no error";
}

}  // namespace cogent::hosttest
