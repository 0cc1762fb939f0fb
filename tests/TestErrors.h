#pragma once
// The message of an expected error, shared by every test program.

#include <exception>
#include <string>

namespace cogent::test {

// The message of the E that Action raises (any exception by default), or
// "no error"; an exception of another class passes through.
template <class E = std::exception, class F>
std::string ErrorOf(F&& Action) {
  try {
    Action();
  } catch (const E& Error) {
    return Error.what();
  }
  return "no error";
}

}  // namespace cogent::test
