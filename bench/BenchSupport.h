#pragma once
// What the benchmarks share.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "cogent/engine/InferenceEngine.h"

namespace cogent::bench {

// False, after reporting, when the agenda does not hold Expected activations.
inline bool CheckAgendaCount(benchmark::State& State, const TInferenceEngine& Engine, std::int64_t Expected,
                             const char* When) {
  const std::int64_t Count = Engine.GetAgendaCount();
  if (Count == Expected) return true;
  const std::string Message = std::string("agenda ") + When + ": " + std::to_string(Count) + " activations, " +
                              std::to_string(Expected) + " expected";
  State.SkipWithError(Message.c_str());
  return false;
}

}  // namespace cogent::bench
