#pragma once
#include <mutex>

namespace cogent {

// Re-entrant for the thread that holds it.
class TCriticalSection {
public:
  void Acquire() { FMutex.lock(); }
  void Release() { FMutex.unlock(); }
  void Enter() { Acquire(); }
  void Leave() { Release(); }
  bool TryEnter() { return FMutex.try_lock(); }

private:
  std::recursive_mutex FMutex;
};

}  // namespace cogent
