#pragma once
// Files written whole or not at all.

#include <functional>
#include <string>

#include "cogent/host/Streams.h"

namespace cogent {

// Write fills a stream in memory, whose bytes then replace FileName whole
// (SaveFileReplacing): when Write raises or the file cannot be written, a
// file already under FileName stays as it was.
void SaveFileWhole(const std::string& FileName, const std::function<void(TStream&)>& Write);

}  // namespace cogent
