#include "cogent/host/Stack.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace cogent {

namespace {

struct TStackBounds {
  std::uintptr_t Low = 0;  // 0 when unknown
  std::size_t Reserve = 0;
};

// Asked once per thread.
const TStackBounds& Bounds() noexcept {
  thread_local const TStackBounds Result = [] {
    TStackBounds Bounds;
    pthread_attr_t Attributes;
    if (pthread_getattr_np(pthread_self(), &Attributes) == 0) {
      void* Address = nullptr;
      std::size_t Size = 0;
      if (pthread_attr_getstack(&Attributes, &Address, &Size) == 0) {
        Bounds.Low = reinterpret_cast<std::uintptr_t>(Address);
        Bounds.Reserve = std::min<std::size_t>(256 * 1024, Size / 4);
      }
      pthread_attr_destroy(&Attributes);
    }
    return Bounds;
  }();
  return Result;
}

}  // namespace

bool StackNearlyExhausted() noexcept {
  const TStackBounds& Stack = Bounds();
  if (Stack.Low == 0) return false;
  const auto Here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  return Here < Stack.Low + Stack.Reserve;
}

}  // namespace cogent
