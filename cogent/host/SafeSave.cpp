#include "cogent/host/SafeSave.h"

#include <atomic>
#include <filesystem>
#include <system_error>

#include "cogent/host/SysUtils.h"

namespace cogent {

namespace fs = std::filesystem;

namespace {

fs::path ToPath(const std::string& Text) { return fs::path(std::u8string(Text.begin(), Text.end())); }

std::string FromPath(const fs::path& Path) {
  const std::u8string Text = Path.u8string();
  return std::string(Text.begin(), Text.end());
}

// A name beside Target that nothing has yet.
fs::path ScratchFor(const fs::path& Target) {
  static std::atomic<unsigned> Counter{0};
  for (;;) {
    fs::path Scratch = Target;
    Scratch += ToPath(".cogent-save-" + IntToStr(++Counter) + ".tmp");
    std::error_code Ignored;
    if (!fs::exists(fs::symlink_status(Scratch, Ignored))) return Scratch;
  }
}

void RemoveQuietly(const fs::path& Path) {
  std::error_code Ignored;
  fs::remove(Path, Ignored);
}

}  // namespace

void SaveFileWhole(const std::string& FileName, const std::function<void(TStream&)>& Write) {
  const fs::path Target = ToPath(FileName);
  std::error_code Error;
  if (fs::is_directory(Target, Error))
    throw EFCreateError(Format(SFCreateError, FileName, std::make_error_code(std::errc::is_a_directory).message()));
  const fs::path Scratch = ScratchFor(Target);
  try {
    TFileStream Stream(FromPath(Scratch), fmCreate);
    Write(Stream);
  } catch (const EFCreateError& E) {
    RemoveQuietly(Scratch);
    // The reason is the folder's, so it is the target's too.
    std::string Message = E.GetMessage();
    const std::string ScratchName = FromPath(Scratch);
    if (const std::size_t At = Message.find(ScratchName); At != std::string::npos)
      Message.replace(At, ScratchName.size(), FileName);
    throw EFCreateError(Message);
  } catch (...) {
    RemoveQuietly(Scratch);
    throw;
  }
  fs::rename(Scratch, Target, Error);
  if (Error) {
    RemoveQuietly(Scratch);
    throw EFCreateError(Format(SFCreateError, FileName, Error.message()));
  }
}

}  // namespace cogent
