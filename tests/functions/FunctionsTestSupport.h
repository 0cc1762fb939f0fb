#pragma once
// Helpers shared by the function packages' tests: calls are written in the
// rule language and run by the engine, as a host runs them.

#include <string>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
