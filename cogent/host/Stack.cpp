#include "cogent/host/Stack.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace cogent {

namespace {

// The lowest frame address that still leaves the reserve: 1 when the
// system does not say where the stack ends, which no frame is below.
std::uintptr_t FindLimit() noexcept {
  std::uintptr_t Result = 1;
  pthread_attr_t Attributes;
  if (pthread_getattr_np(pthread_self(), &Attributes) == 0) {
    void* Address = nullptr;
    std::size_t Size = 0;
    if (pthread_attr_getstack(&Attributes, &Address, &Size) == 0 && Address)
      Result = reinterpret_cast<std::uintptr_t>(Address) + std::min<std::size_t>(256 * 1024, Size / 4);
    pthread_attr_destroy(&Attributes);
  }
  return Result;
}

// Asked once per thread. A plain thread-local with a constant start needs no
// guard, so the question costs a load and a compare: it is asked at every
// call the user's text makes.
thread_local std::uintptr_t Limit = 0;

}  // namespace

bool StackNearlyExhausted() noexcept {
  if (Limit == 0) Limit = FindLimit();
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < Limit;
}

}  // namespace cogent
