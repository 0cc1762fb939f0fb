#include "cogent/values/KBValue.h"
