#include "cogent/host/SafeSave.h"

#include <string_view>

#include "cogent/host/SysUtils.h"

namespace cogent {

void SaveFileWhole(const std::string& FileName, const std::function<void(TStream&)>& Write) {
  // The text is whole before the file is touched.
  TMemoryStream Bytes;
  Write(Bytes);
  SaveFileReplacing(FileName, std::string_view(reinterpret_cast<const char*>(Bytes.Memory()), Bytes.Bytes().size()));
}

}  // namespace cogent
