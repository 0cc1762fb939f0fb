#pragma once
// Files written whole or not at all.

#include <functional>
#include <string>

#include "cogent/host/Streams.h"

namespace cogent {

// Write fills a scratch file beside FileName, which then takes FileName's
// place. When the scratch cannot be made, Write raises or the rename fails,
// the scratch goes, a file already under FileName stays as it was, and the
// error is raised: EFCreateError naming FileName for the file system's part.
void SaveFileWhole(const std::string& FileName, const std::function<void(TStream&)>& Write);

}  // namespace cogent
