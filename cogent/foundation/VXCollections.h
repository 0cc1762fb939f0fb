#pragma once
// The generic containers that the engine's collections derive from, all in
// one include. A file that needs one of them includes its own header.

#include "cogent/foundation/VXAssignList.h"
#include "cogent/foundation/VXCollectionBase.h"
#include "cogent/foundation/VXDictionary.h"
#include "cogent/foundation/VXHashTable.h"
#include "cogent/foundation/VXStringList.h"
