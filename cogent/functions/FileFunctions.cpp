// The standard package's file system and operating system functions. What
// changes files or directories is soft: any failure of the operation is the
// answer FALSE, so that a rule can test it. What reads does not hide the
// system's refusal. The arguments are read before the operation, so a wrong
// kind of argument is an error even for a soft one.

#include "cogent/functions/StandardPackage.h"

#include <functional>
#include <iterator>

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TPathFunction, TKBUserFunction>();
  RegisterClass<TOSVersionFunction, TKBUserFunction>();
  RegisterClass<TFileFunction, TKBUserFunction>();
  RegisterClass<TDirectoryFunction, TKBUserFunction>();
  return true;
}();

constexpr TFamilyMember PathFunctions[] = {
    {"get-home-path", "Returns the user's home directory", "", 0, 0},
    {"get-documents-path", "Returns the user's documents directory", "", 0, 0},
    {"get-temp-path", "Returns the system's directory for temporary files", "", 0, 0},
};

constexpr TFamilyMember OSVersionFunctions[] = {
    {"get-os-name", "Returns the name of the operating system as a string", "", 0, 0},
    {"get-os-architecture", "Returns the processor architecture as an atom", "", 0, 0},
    {"get-os-platform", "Returns the platform as an atom", "", 0, 0},
    {"get-os-build-version", "Returns the build number of the operating system", "", 0, 0},
    {"get-os-major-version", "Returns the major version of the operating system", "", 0, 0},
    {"get-os-minor-version", "Returns the minor version of the operating system", "", 0, 0},
};

constexpr TFamilyMember FileFunctions[] = {
    {"is-file-exists", "Returns TRUE if the file exists; links are followed", "<filename-expression>", 1, 1},
    {"copy-file",
     "Copies the file; an existing target is replaced only when overwrite is TRUE. Returns FALSE when the copy fails",
     "<from-filename-expression> <to-filename-expression>[ <overwrite-boolean-expression>]", 2, 3},
    {"delete-file", "Deletes the file; returns FALSE when that fails", "<filename-expression>", 1, 1},
    {"move-file", "Moves the file; returns FALSE when that fails, also when the target exists",
     "<source-filename-expression> <dest-filename-expression>", 2, 2},
    {"rename-file",
     "Gives the file the name of the new name in its own directory; returns FALSE when that fails",
     "<old-filename-expression> <new-filename-expression>", 2, 2},
    {"get-file-ext", "Returns the extension of the file name with its dot", "<filename-expression>", 1, 1},
    {"get-filename", "Returns the file name without its path", "<filename-expression>", 1, 1},
    {"get-file-path", "Returns the path of the file name with its closing delimiter", "<filename-expression>", 1, 1},
    {"change-file-ext", "Returns the file name with the extension, given with its dot; no file is touched",
     "<filename-expression> <extension-expression>", 2, 2},
    {"change-file-path", "Returns the file name under the path; no file is touched",
     "<filename-expression> <path-expression>", 2, 2},
};

constexpr TFamilyMember DirectoryFunctions[] = {
    {"get-current-dir", "Returns the current directory", "", 0, 0},
    {"set-current-dir", "Makes the directory current and returns it as the system now gives it",
     "<string-expression>", 1, 1},
    {"get-files", "Returns the files directly in the directory, those that match the pattern if one is given",
     "<path-expression>[ <search-pattern-expression>]", 1, 2},
    {"get-dirs",
     "Returns the directories directly in the directory, those that match the pattern if one is given",
     "<path-expression>[ <search-pattern-expression>]", 1, 2},
    {"get-parent-dir", "Returns the directory above the path", "<path-expression>", 1, 1},
    {"get-root-dir", "Returns the root of the path", "<path-expression>", 1, 1},
    {"is-dir-empty", "Returns TRUE if the directory holds nothing", "<path-expression>", 1, 1},
    {"is-dir-exists", "Returns TRUE if the directory exists; links are followed", "<path-expression>", 1, 1},
    {"create-dir", "Makes the directory and every missing one on the way; returns FALSE when that fails",
     "<path-expression>", 1, 1},
    {"copy-dir", "Copies the directory with its contents to a new one; returns FALSE when that fails",
     "<from-path-expression> <to-path-expression>", 2, 2},
    {"move-dir", "Moves or renames the directory with its contents; returns FALSE when that fails",
     "<from-path-expression> <to-path-expression>", 2, 2},
    {"delete-dir",
     "Deletes the directory, with its contents only when recursive is TRUE; returns FALSE when that fails",
     "<path-expression>[ <recursive-boolean-expression>]", 1, 2},
    {"dir-delim", "Returns the delimiter between directories in a path", "", 0, 0},
};


// A host enumeration's value name without its two-letter prefix.
IKBValue EnumerationAtom(const char* Name) {
  const std::string Text = Name;
  return NewAtom(Text.size() > 2 ? Text.substr(2) : Text);
}

// The soft way: the answer is whether the operation went through.
IKBValue Soft(const std::function<void()>& Operation) {
  try {
    Operation();
    return FCTrue;
  } catch (const EAbort&) {
    throw;
  } catch (const std::exception&) {
    return FCFalse;
  }
}

// An optional flag argument: true only where it is TRUE itself.
bool FlagOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return FunCall->GetArgumentCount() > Index && Evaluate(FunCall, Index, Context)->Equals(FCTrue);
}

IKBValue StringList(const std::vector<std::string>& Texts) {
  IValueVector Items(new TValueVector());
  for (const std::string& Text : Texts) Items->Add(NewString(Text));
  return IKBValue(new TKBValue(Items));
}

std::string MaskOf(const IFunCall& FunCall, TKBContext* Context) {
  return FunCall->GetArgumentCount() > 1 ? TextOf(FunCall, 1, Context) : std::string();
}

}  // namespace

// ---------------------------------------------------------------- places

TPathFunction::TPathFunction() { SetFunctionName(PathFunctions[0].Name); }

void TPathFunction::SetPathFunctionType(TPathFunctionType Value) {
  if (static_cast<std::size_t>(Value) < std::size(PathFunctions)) TakeFamilyMember(PathFunctions, PathFunctions[Value].Name, FPathFunctionType);
}

void TPathFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(PathFunctions, Value, FPathFunctionType);
}

void TPathFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  switch (FPathFunctionType) {
    case pftGetHomePath:
      Result = NewString(GetHomePath());
      break;
    case pftGetDocumentsPath:
      Result = NewString(GetDocumentsPath());
      break;
    case pftGetTempPath:
      Result = NewString(GetTempPath());
      break;
  }
}

// ---------------------------------------------------------------- the operating system

TOSVersionFunction::TOSVersionFunction() { SetFunctionName(OSVersionFunctions[0].Name); }

void TOSVersionFunction::SetOSVersionFunctionType(TOSVersionFunctionType Value) {
  if (static_cast<std::size_t>(Value) < std::size(OSVersionFunctions))
    TakeFamilyMember(OSVersionFunctions, OSVersionFunctions[Value].Name, FOSVersionFunctionType);
}

void TOSVersionFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(OSVersionFunctions, Value, FOSVersionFunctionType);
}

void TOSVersionFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  switch (FOSVersionFunctionType) {
    case osvGetOSName:
      Result = NewString(TOSVersion::GetName());
      break;
    case osvGetOSArchitecture:
      Result = EnumerationAtom(GetArchitectureName(TOSVersion::GetArchitecture()));
      break;
    case osvGetOSPlatform:
      Result = EnumerationAtom(GetPlatformName(TOSVersion::GetPlatform()));
      break;
    case osvGetOSBuildVersion:
      Result = NewInteger(TOSVersion::GetBuild());
      break;
    case osvGetOSMajorVersion:
      Result = NewInteger(TOSVersion::GetMajor());
      break;
    case osvGetOSMinorVersion:
      Result = NewInteger(TOSVersion::GetMinor());
      break;
  }
}

// ---------------------------------------------------------------- files

TFileFunction::TFileFunction() { SetFunctionName(FileFunctions[0].Name); }

void TFileFunction::SetFileFunctionType(TFileFunctionType Value) {
  if (static_cast<std::size_t>(Value) < std::size(FileFunctions)) TakeFamilyMember(FileFunctions, FileFunctions[Value].Name, FFileFunctionType);
}

void TFileFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(FileFunctions, Value, FFileFunctionType);
}

void TFileFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string First = TextOf(FunCall, 0, Context);
  switch (FFileFunctionType) {
    case fftIsFileExists:
      Result = Truth(FileExists(First));
      break;
    case fftCopyFile: {
      const std::string Dest = TextOf(FunCall, 1, Context);
      const bool Overwrite = FlagOf(FunCall, 2, Context);
      Result = Soft([&] { CopyFile(First, Dest, Overwrite); });
      break;
    }
    case fftDeleteFile:
      Result = Truth(DeleteFile(First));
      break;
    case fftMoveFile: {
      const std::string Dest = TextOf(FunCall, 1, Context);
      Result = Soft([&] { MoveFile(First, Dest); });
      break;
    }
    case fftRenameFile: {
      // Only the name of the new name counts: the file stays where it is.
      const std::string Dest = ExtractFilePath(First) + ExtractFileName(TextOf(FunCall, 1, Context));
      Result = Soft([&] { MoveFile(First, Dest); });
      break;
    }
    case fftGetFileExt:
      Result = NewString(ExtractFileExt(First));
      break;
    case fftGetFilename:
      Result = NewString(ExtractFileName(First));
      break;
    case fftGetFilePath:
      Result = NewString(ExtractFilePath(First));
      break;
    case fftReplaceFileExt:
      Result = NewString(ChangeFileExt(First, TextOf(FunCall, 1, Context)));
      break;
    case fftReplaceFilePath:
      Result = NewString(ChangeFilePath(First, TextOf(FunCall, 1, Context)));
      break;
  }
}

// ---------------------------------------------------------------- directories

TDirectoryFunction::TDirectoryFunction() { SetFunctionName(DirectoryFunctions[0].Name); }

void TDirectoryFunction::SetDirectoryFunctionType(TDirectoryFunctionType Value) {
  if (static_cast<std::size_t>(Value) < std::size(DirectoryFunctions))
    TakeFamilyMember(DirectoryFunctions, DirectoryFunctions[Value].Name, FDirectoryFunctionType);
}

void TDirectoryFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(DirectoryFunctions, Value, FDirectoryFunctionType);
}

void TDirectoryFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  switch (FDirectoryFunctionType) {
    case dftGetCurrentDir:
      Result = NewString(GetCurrentDir());
      break;
    case dftSetCurrentDir:
      SetCurrentDir(TextOf(FunCall, 0, Context));
      Result = NewString(GetCurrentDir());
      break;
    case dftGetFiles: {
      const std::string Dir = TextOf(FunCall, 0, Context);
      Result = StringList(GetFiles(Dir, MaskOf(FunCall, Context)));
      break;
    }
    case dftGetDirs: {
      const std::string Dir = TextOf(FunCall, 0, Context);
      Result = StringList(GetDirectories(Dir, MaskOf(FunCall, Context)));
      break;
    }
    case dftGetParentDir:
      Result = NewString(GetParentDirectory(TextOf(FunCall, 0, Context)));
      break;
    case dftGetRootDir:
      Result = NewString(GetDirectoryRoot(TextOf(FunCall, 0, Context)));
      break;
    case dftIsDirEmpty:
      Result = Truth(IsDirectoryEmpty(TextOf(FunCall, 0, Context)));
      break;
    case dftIsDirExists:
      Result = Truth(DirectoryExists(TextOf(FunCall, 0, Context)));
      break;
    case dftCreateDir: {
      const std::string Dir = TextOf(FunCall, 0, Context);
      Result = Soft([&] { ForceDirectories(Dir); });
      break;
    }
    case dftCopyDir: {
      const std::string Source = TextOf(FunCall, 0, Context);
      const std::string Dest = TextOf(FunCall, 1, Context);
      Result = Soft([&] { CopyDirectory(Source, Dest); });
      break;
    }
    case dftMoveDir: {
      const std::string Source = TextOf(FunCall, 0, Context);
      const std::string Dest = TextOf(FunCall, 1, Context);
      Result = Soft([&] { MoveDirectory(Source, Dest); });
      break;
    }
    case dftDeleteDir: {
      const std::string Dir = TextOf(FunCall, 0, Context);
      const bool Recursive = FlagOf(FunCall, 1, Context);
      Result = Soft([&] { DeleteDirectory(Dir, Recursive); });
      break;
    }
    case dftDirDelim:
      Result = NewAtom(std::string(1, PathDelim));
      break;
  }
}

}  // namespace cogent
