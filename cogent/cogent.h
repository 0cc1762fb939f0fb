#pragma once
// The one header a host includes.

#include "cogent/engine/InferenceEngine.h"
#include "cogent/engine/KBCollections.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/VXCollections.h"
#include "cogent/host/TypInfo.h"
#include "cogent/values/KBFuzzyLogic.h"
#include "cogent/values/KBValue.h"
