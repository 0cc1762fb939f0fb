// SysUtils' file system and operating system: std::filesystem underneath,
// its refusals turned into EInOutError with the path and the system's reason.

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "cogent/host/SysUtils.h"

#ifndef _WIN32
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>
#endif

namespace cogent {

namespace fs = std::filesystem;

namespace {

// Paths are UTF-8 text on every platform.
fs::path ToPath(std::string_view Text) { return fs::path(std::u8string(Text.begin(), Text.end())); }

std::string FromPath(const fs::path& Path) {
  const std::u8string Text = Path.u8string();
  return std::string(Text.begin(), Text.end());
}

[[noreturn]] void Fail(const char* Operation, const std::string& Path, const std::error_code& Error) {
  throw EInOutError(Format(SPathError, Operation, Path, Error.message()));
}

[[noreturn]] void Fail(const char* Operation, const std::string& Path, std::errc Error) {
  Fail(Operation, Path, std::make_error_code(Error));
}

void CheckPath(const std::string& Path) {
  if (Path.empty()) throw EArgumentException(SPathEmpty);
}

// Anything at all under that name, a dangling link too.
bool Exists(const fs::path& Path) {
  std::error_code Ignored;
  return fs::exists(fs::symlink_status(Path, Ignored));
}

bool IsDirectory(const fs::path& Path) {
  std::error_code Ignored;
  return fs::is_directory(Path, Ignored);
}

// A name beside Target that nothing has, for a copy that is not whole yet.
fs::path ScratchBeside(const fs::path& Target) {
  static std::atomic<unsigned> Counter{0};
  const auto Now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const std::string Name = FromPath(Target.filename());
  for (;;) {
    const std::string Stamp = IntToHex(Now, 8) + "-" + IntToStr(++Counter);
    fs::path Scratch = Target.parent_path() / ToPath("." + Name + ".cogent-" + Stamp + ".tmp");
    if (!Exists(Scratch)) return Scratch;
  }
}

void RemoveQuietly(const fs::path& Path) {
  std::error_code Ignored;
  fs::remove_all(Path, Ignored);
}

// Whether Inner is Outer or lies below it, after links are resolved.
bool IsWithin(const fs::path& Inner, const fs::path& Outer) {
  std::error_code Error;
  const fs::path A = fs::weakly_canonical(Inner, Error);
  if (Error) return false;
  const fs::path B = fs::weakly_canonical(Outer, Error);
  if (Error) return false;
  // "." for the same place, a path that climbs out for another, nothing
  // across roots.
  const fs::path Relative = A.lexically_normal().lexically_relative(B.lexically_normal());
  return !Relative.empty() && *Relative.begin() != "..";
}

// The last "." or delimiter, npos when there is neither.
std::size_t LastDotOrDelimiter(std::string_view FileName) noexcept {
  for (std::size_t I = FileName.size(); I > 0; --I)
    if (FileName[I - 1] == '.' || IsPathDelimiter(FileName[I - 1])) return I - 1;
  return std::string_view::npos;
}

std::size_t LastDelimiter(std::string_view FileName) noexcept {
  for (std::size_t I = FileName.size(); I > 0; --I)
    if (IsPathDelimiter(FileName[I - 1])) return I - 1;
  return std::string_view::npos;
}

std::vector<std::string> ListEntries(const std::string& Dir, std::string_view Mask, bool Directories) {
  CheckPath(Dir);
  if (!DirectoryExists(Dir)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Dir));
  std::vector<std::string> Result;
  std::error_code Error;
  for (fs::directory_iterator It(ToPath(Dir), Error), End; !Error && It != End; It.increment(Error)) {
    std::error_code Ignored;
    // A link counts as what it leads to; a dangling one as a file.
    if (It->is_directory(Ignored) != Directories) continue;
    if (!Mask.empty() && !MatchesMask(FromPath(It->path().filename()), Mask)) continue;
    Result.push_back(FromPath(It->path()));
  }
  if (Error) Fail("list", Dir, Error);
  return Result;
}

}  // namespace

// ---------------------------------------------------------------- path text

bool IsPathDelimiter(char C) noexcept {
#ifdef _WIN32
  return C == '\\' || C == '/';
#else
  return C == '/';
#endif
}

std::string ExtractFileExt(std::string_view FileName) {
  const std::size_t I = LastDotOrDelimiter(FileName);
  return I != std::string_view::npos && FileName[I] == '.' ? std::string(FileName.substr(I)) : std::string();
}

std::string ExtractFileName(std::string_view FileName) {
  const std::size_t I = LastDelimiter(FileName);
  return std::string(I == std::string_view::npos ? FileName : FileName.substr(I + 1));
}

std::string ExtractFilePath(std::string_view FileName) {
  const std::size_t I = LastDelimiter(FileName);
  return I == std::string_view::npos ? std::string() : std::string(FileName.substr(0, I + 1));
}

std::string ChangeFileExt(std::string_view FileName, std::string_view Extension) {
  const std::size_t I = LastDotOrDelimiter(FileName);
  const std::size_t Keep = I != std::string_view::npos && FileName[I] == '.' ? I : FileName.size();
  return std::string(FileName.substr(0, Keep)) + std::string(Extension);
}

std::string ChangeFilePath(std::string_view FileName, std::string_view Path) {
  if (Path.empty()) return ExtractFileName(FileName);
  return IncludeTrailingPathDelimiter(Path) + ExtractFileName(FileName);
}

std::string IncludeTrailingPathDelimiter(std::string_view Path) {
  std::string Result(Path);
  if (Result.empty() || !IsPathDelimiter(Result.back())) Result += PathDelim;
  return Result;
}

bool MatchesMask(std::string_view Name, std::string_view Mask) {
  const std::u32string N = UTF8ToUTF32(Name);
  const std::u32string M = UTF8ToUTF32(Mask);
  // Greedy, going back to the last star on a mismatch: linear in practice,
  // never worse than the product of the lengths.
  std::size_t I = 0, J = 0;
  std::size_t Star = std::u32string::npos, Resume = 0;
  while (I < N.size()) {
    if (J < M.size() && (M[J] == U'?' || M[J] == N[I])) {
      ++I;
      ++J;
    } else if (J < M.size() && M[J] == U'*') {
      Star = J++;
      Resume = I;
    } else if (Star != std::u32string::npos) {
      J = Star + 1;
      I = ++Resume;
    } else {
      return false;
    }
  }
  while (J < M.size() && M[J] == U'*') ++J;
  return J == M.size();
}

// ---------------------------------------------------------------- places

std::string GetHomePath() {
#ifdef _WIN32
  if (const char* Home = std::getenv("USERPROFILE"); Home && *Home) return Home;
#else
  if (const char* Home = std::getenv("HOME"); Home && *Home) return Home;
  if (const passwd* User = getpwuid(getuid()); User && User->pw_dir && *User->pw_dir) return User->pw_dir;
#endif
  throw EInOutError(SNoHomePath);
}

std::string GetDocumentsPath() {
  if (const char* Documents = std::getenv("XDG_DOCUMENTS_DIR"); Documents && *Documents) return Documents;
  return IncludeTrailingPathDelimiter(GetHomePath()) + "Documents";
}

std::string GetTempPath() {
  std::error_code Error;
  const fs::path Path = fs::temp_directory_path(Error);
  if (Error) Fail("find", "the temporary directory", Error);
  return FromPath(Path);
}

// ---------------------------------------------------------------- files

void CopyFile(const std::string& Source, const std::string& Dest, bool Overwrite) {
  CheckPath(Source);
  CheckPath(Dest);
  const fs::path From = ToPath(Source), To = ToPath(Dest);
  std::error_code Error;
  const fs::file_status Status = fs::status(From, Error);
  if (!fs::exists(Status)) throw EFileNotFoundException(Format(SFileNotFound, Source));
  if (fs::is_directory(Status)) Fail("copy", Source, std::errc::is_a_directory);
  if (IsDirectory(To)) Fail("copy to", Dest, std::errc::is_a_directory);
  if (!Overwrite && Exists(To)) throw EInOutError(Format(SPathExists, Dest));

  const fs::path Scratch = ScratchBeside(To);
  fs::copy_file(From, Scratch, fs::copy_options::none, Error);
  if (Error) {
    RemoveQuietly(Scratch);
    Fail("copy", Source, Error);
  }
  // The target appears whole or not at all.
  if (!Overwrite && Exists(To)) {
    RemoveQuietly(Scratch);
    throw EInOutError(Format(SPathExists, Dest));
  }
  fs::rename(Scratch, To, Error);
  if (Error) {
    RemoveQuietly(Scratch);
    Fail("copy to", Dest, Error);
  }
}

void MoveFile(const std::string& Source, const std::string& Dest) {
  CheckPath(Source);
  CheckPath(Dest);
  const fs::path From = ToPath(Source), To = ToPath(Dest);
  if (!Exists(From)) throw EFileNotFoundException(Format(SFileNotFound, Source));
  if (IsDirectory(From)) Fail("move", Source, std::errc::is_a_directory);
  // The system's rename would replace the target; a move refuses.
  if (Exists(To)) throw EInOutError(Format(SPathExists, Dest));
  std::error_code Error;
  fs::rename(From, To, Error);
  if (Error != std::errc::cross_device_link) {
    if (Error) Fail("move", Source, Error);
    return;
  }
  CopyFile(Source, Dest, false);
  fs::remove(From, Error);
  if (Error) {
    // Both would be there: take the copy back, so that nothing moved.
    RemoveQuietly(To);
    Fail("move", Source, Error);
  }
}

void SaveFileReplacing(const std::string& FileName, std::string_view Bytes) {
  CheckPath(FileName);
  const fs::path Target = ToPath(FileName);
  if (IsDirectory(Target)) Fail("write", FileName, std::errc::is_a_directory);
  const fs::path Scratch = ScratchBeside(Target);
  std::error_code Error;
  {
    std::ofstream File(Scratch, std::ios::binary | std::ios::trunc);
    if (!File) Fail("create", FileName, std::error_code(errno, std::generic_category()));
    File.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
    File.close();
    if (!File) Error = std::make_error_code(std::errc::io_error);
  }
  if (!Error) fs::rename(Scratch, Target, Error);
  if (Error) {
    RemoveQuietly(Scratch);
    Fail("write", FileName, Error);
  }
}

// ---------------------------------------------------------------- directories

std::string GetCurrentDir() {
  std::error_code Error;
  const fs::path Path = fs::current_path(Error);
  if (Error) Fail("read", "the current directory", Error);
  return FromPath(Path);
}

void SetCurrentDir(const std::string& Dir) {
  CheckPath(Dir);
  if (!DirectoryExists(Dir)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Dir));
  std::error_code Error;
  fs::current_path(ToPath(Dir), Error);
  if (Error) Fail("enter", Dir, Error);
}

bool DirectoryExists(const std::string& Dir) { return !Dir.empty() && IsDirectory(ToPath(Dir)); }

std::vector<std::string> GetFiles(const std::string& Dir, std::string_view Mask) {
  return ListEntries(Dir, Mask, false);
}

std::vector<std::string> GetDirectories(const std::string& Dir, std::string_view Mask) {
  return ListEntries(Dir, Mask, true);
}

bool IsDirectoryEmpty(const std::string& Dir) {
  CheckPath(Dir);
  if (!DirectoryExists(Dir)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Dir));
  std::error_code Error;
  const bool Result = fs::is_empty(ToPath(Dir), Error);
  if (Error) Fail("read", Dir, Error);
  return Result;
}

std::string GetParentDirectory(const std::string& Path) {
  CheckPath(Path);
  std::string_view Text = Path;
  // A delimiter at the end names no further level; a root stays.
  while (Text.size() > 1 && IsPathDelimiter(Text.back())) Text.remove_suffix(1);
  if (Text.size() == 1 && IsPathDelimiter(Text[0])) return {};
  const std::size_t I = LastDelimiter(Text);
  if (I == std::string_view::npos) return {};
  std::size_t End = I;
  while (End > 0 && IsPathDelimiter(Text[End - 1])) --End;
  return std::string(Text.substr(0, End == 0 ? 1 : End));
}

std::string GetDirectoryRoot(const std::string& Path) {
  CheckPath(Path);
  std::error_code Error;
  const fs::path Absolute = fs::absolute(ToPath(Path), Error);
  if (Error) Fail("read", Path, Error);
  return FromPath(Absolute.root_path());
}

void ForceDirectories(const std::string& Dir) {
  CheckPath(Dir);
  std::error_code Error;
  fs::create_directories(ToPath(Dir), Error);
  if (Error) Fail("create", Dir, Error);
  if (!DirectoryExists(Dir)) Fail("create", Dir, std::errc::not_a_directory);
}

void CopyDirectory(const std::string& Source, const std::string& Dest) {
  CheckPath(Source);
  CheckPath(Dest);
  const fs::path From = ToPath(Source), To = ToPath(Dest);
  if (!DirectoryExists(Source)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Source));
  if (Exists(To)) throw EInOutError(Format(SPathExists, Dest));
  // A copy inside its own source would take itself along without end.
  if (IsWithin(To, From)) Fail("copy", Source, std::errc::invalid_argument);

  const fs::path Scratch = ScratchBeside(To);
  std::error_code Error;
  // Links are copied as links, so that a loop of links is no loop here.
  fs::copy(From, Scratch, fs::copy_options::recursive | fs::copy_options::copy_symlinks, Error);
  if (!Error && Exists(To)) Error = std::make_error_code(std::errc::file_exists);
  if (!Error) fs::rename(Scratch, To, Error);
  if (Error) {
    RemoveQuietly(Scratch);
    Fail("copy", Source, Error);
  }
}

void MoveDirectory(const std::string& Source, const std::string& Dest) {
  CheckPath(Source);
  CheckPath(Dest);
  const fs::path From = ToPath(Source), To = ToPath(Dest);
  if (!DirectoryExists(Source)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Source));
  // The system's rename would replace an empty directory; a move refuses.
  if (Exists(To)) throw EInOutError(Format(SPathExists, Dest));
  std::error_code Error;
  fs::rename(From, To, Error);
  if (Error != std::errc::cross_device_link) {
    if (Error) Fail("move", Source, Error);
    return;
  }
  CopyDirectory(Source, Dest);
  fs::remove_all(From, Error);
  // The copy is whole; what is left of the source is reported.
  if (Error) Fail("move", Source, Error);
}

void DeleteDirectory(const std::string& Dir, bool Recursive) {
  CheckPath(Dir);
  if (!DirectoryExists(Dir)) throw EDirectoryNotFoundException(Format(SDirectoryNotFound, Dir));
  const fs::path Path = ToPath(Dir);
  std::error_code Error;
  // A link to a directory goes as a link: its target is never emptied.
  if (Recursive)
    fs::remove_all(Path, Error);
  else
    fs::remove(Path, Error);
  if (Error) Fail("delete", Dir, Error);
}

// ---------------------------------------------------------------- the operating system

namespace {

constexpr const char* ArchitectureNames[] = {"arIntelX86", "arIntelX64", "arARM32", "arARM64", "arUnknown"};
constexpr const char* PlatformNames[] = {"pfWindows", "pfMacOS", "pfiOS",    "pfAndroid",
                                         "pfWinRT",   "pfLinux", "pfUnknown"};

struct TOSFacts {
  std::string Name;
  std::int32_t Major = 0;
  std::int32_t Minor = 0;
  std::int32_t Build = 0;
};

// The numbers at the start of a release text such as "6.1.0-13-amd64".
void ReadRelease(std::string_view Release, TOSFacts& Facts) {
  std::int32_t* const Parts[] = {&Facts.Major, &Facts.Minor, &Facts.Build};
  std::size_t Pos = 0;
  for (std::int32_t* Part : Parts) {
    const std::size_t Start = Pos;
    while (Pos < Release.size() && Release[Pos] >= '0' && Release[Pos] <= '9') ++Pos;
    if (Pos == Start || !TryStrToInt(Release.substr(Start, Pos - Start), *Part)) return;
    if (Pos >= Release.size() || Release[Pos] != '.') return;
    ++Pos;
  }
}

// The distribution's own name, where it gives one.
std::string PrettyName() {
  std::ifstream File("/etc/os-release");
  std::string Line;
  while (std::getline(File, Line)) {
    if (Line.rfind("PRETTY_NAME=", 0) != 0) continue;
    std::string Value = Trim(Line.substr(12));
    if (Value.size() >= 2 && (Value.front() == '"' || Value.front() == '\'') && Value.back() == Value.front())
      Value = Value.substr(1, Value.size() - 2);
    return Value;
  }
  return {};
}

const TOSFacts& OSFacts() {
  static const TOSFacts Facts = [] {
    TOSFacts Result;
#ifdef _WIN32
    Result.Name = "Windows";
#else
    utsname System{};
    if (uname(&System) == 0) {
      ReadRelease(System.release, Result);
      Result.Name = PrettyName();
      if (Result.Name.empty()) Result.Name = std::string(System.sysname) + " " + System.release;
    }
#endif
    return Result;
  }();
  return Facts;
}

}  // namespace

const char* GetArchitectureName(TArchitecture Value) noexcept {
  return Value <= arUnknown ? ArchitectureNames[Value] : ArchitectureNames[arUnknown];
}

const char* GetPlatformName(TPlatform Value) noexcept {
  return Value <= pfUnknown ? PlatformNames[Value] : PlatformNames[pfUnknown];
}

const std::string& TOSVersion::GetName() { return OSFacts().Name; }

TArchitecture TOSVersion::GetArchitecture() noexcept {
#if defined(__x86_64__) || defined(_M_X64)
  return arIntelX64;
#elif defined(__i386__) || defined(_M_IX86)
  return arIntelX86;
#elif defined(__aarch64__) || defined(_M_ARM64)
  return arARM64;
#elif defined(__arm__) || defined(_M_ARM)
  return arARM32;
#else
  return arUnknown;
#endif
}

TPlatform TOSVersion::GetPlatform() noexcept {
#if defined(_WIN32)
  return pfWindows;
#elif defined(__ANDROID__)
  return pfAndroid;
#elif defined(__APPLE__)
  return pfMacOS;
#elif defined(__linux__)
  return pfLinux;
#else
  return pfUnknown;
#endif
}

std::int32_t TOSVersion::GetMajor() { return OSFacts().Major; }
std::int32_t TOSVersion::GetMinor() { return OSFacts().Minor; }
std::int32_t TOSVersion::GetBuild() { return OSFacts().Build; }

}  // namespace cogent
