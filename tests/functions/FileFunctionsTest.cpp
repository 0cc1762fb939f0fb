#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "FunctionsTestSupport.h"
#include "cogent/functions/StandardPackage.h"

namespace cogent::test {

namespace {

std::string Quoted(const std::string& Text) { return "\"" + Text + "\""; }

// The names in a folder, sorted: what a test expects to find there, and
// nothing a failed operation left behind.
std::vector<std::string> Names(const std::string& Folder) {
  std::vector<std::string> Result;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder))
    Result.push_back(Entry.path().filename().string());
  std::sort(Result.begin(), Result.end());
  return Result;
}

using TNames = std::vector<std::string>;

}  // namespace

TEST(FileFunctions, PathTextTouchesNoFile) {
  TInferenceEngine Engine;
  EXPECT_EQ("dtString \".txt\"", Eval(Engine, "(get-file-ext \"/x/a.b/c.txt\")"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(get-file-ext \"/x/a.b/c\")"));
  EXPECT_EQ("dtString \"c.txt\"", Eval(Engine, "(get-filename \"/x/a.b/c.txt\")"));
  EXPECT_EQ("dtString \"/x/a.b/\"", Eval(Engine, "(get-file-path \"/x/a.b/c.txt\")"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(get-file-path \"c.txt\")"));
  EXPECT_EQ("dtString \"a.bak\"", Eval(Engine, "(change-file-ext \"a.txt\" \".bak\")"));
  EXPECT_EQ("dtString \"d.x/a.bak\"", Eval(Engine, "(change-file-ext \"d.x/a\" \".bak\")"));
  EXPECT_EQ("dtString \"/y/a.txt\"", Eval(Engine, "(change-file-path \"/x/a.txt\" \"/y\")"));
  EXPECT_EQ("dtString \"/y/a.txt\"", Eval(Engine, "(change-file-path \"/x/a.txt\" \"/y/\")"));
  EXPECT_EQ("dtString \"a.txt\"", Eval(Engine, "(change-file-path \"/x/a.txt\" \"\")"));
  EXPECT_EQ("dtString \"grüße/\"", Eval(Engine, "(get-file-path \"grüße/日本.txt\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-file-exists \"/no/such/file\")"));
  EXPECT_EQ("dtAtom /", Eval(Engine, "(dir-delim)"));

  EXPECT_EQ("dtString \"/a/b\"", Eval(Engine, "(get-parent-dir \"/a/b/c\")"));
  EXPECT_EQ("dtString \"/a\"", Eval(Engine, "(get-parent-dir \"/a/b//\")"));
  EXPECT_EQ("dtString \"/\"", Eval(Engine, "(get-parent-dir \"/a\")"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(get-parent-dir \"/\")"));
  EXPECT_EQ("dtString \"\"", Eval(Engine, "(get-parent-dir \"a\")"));
  EXPECT_EQ("dtString \"/\"", Eval(Engine, "(get-root-dir \"a/b\")"));
  EXPECT_EQ("The path is empty", ErrorOfCall(Engine, "(get-parent-dir \"\")"));
  EXPECT_EQ("The path is empty", ErrorOfCall(Engine, "(get-root-dir \"\")"));
}

TEST(FileFunctions, FileOperationsFailSoftlyAndLeaveNothingHalfDone) {
  TTempFolder Folder;
  const std::string A = Quoted(Folder / "a.txt"), B = Quoted(Folder / "b.txt");
  WriteFile(Folder / "a.txt", "new");
  WriteFile(Folder / "b.txt", "old");
  std::filesystem::create_directory(Folder / "d");
  TInferenceEngine Engine;

  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(is-file-exists " + A + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-file-exists " + Quoted(Folder / "d") + ")"));
  // An existing target stays unless overwrite is TRUE itself.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + A + " " + B + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + A + " " + B + " 1)"));
  EXPECT_EQ(ReadFile(Folder / "b.txt"), "old");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(copy-file " + A + " " + B + " TRUE)"));
  EXPECT_EQ(ReadFile(Folder / "b.txt"), "new");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(copy-file " + A + " " + Quoted(Folder / "c.txt") + ")"));
  EXPECT_EQ(ReadFile(Folder / "c.txt"), "new");
  // A missing source, a directory either way, a missing target directory.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + Quoted(Folder / "none") + " " + B + " TRUE)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + Quoted(Folder / "d") + " " + Quoted(Folder / "e") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + A + " " + Quoted(Folder / "d") + " TRUE)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + A + " " + Quoted(Folder / "no/x.txt") + ")"));
  EXPECT_EQ(Names(Folder / ""), (TNames{"a.txt", "b.txt", "c.txt", "d"}));
  EXPECT_EQ(Names(Folder / "d"), TNames{});

  // Without permission to read, when the system enforces it for this user.
  if (geteuid() != 0) {
    std::filesystem::permissions(Folder / "c.txt", std::filesystem::perms::none);
    EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-file " + Quoted(Folder / "c.txt") + " " + B + " TRUE)"));
    EXPECT_EQ(ReadFile(Folder / "b.txt"), "new");
    std::filesystem::permissions(Folder / "c.txt", std::filesystem::perms::owner_all);
  }

  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(move-file " + A + " " + B + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(move-file " + A + " " + Quoted(Folder / "d/a.txt") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(move-file " + A + " " + Quoted(Folder / "e.txt") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(move-file " + Quoted(Folder / "d") + " " + Quoted(Folder / "e") + ")"));
  // The new name's path is ignored: the file stays in its directory.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(rename-file " + Quoted(Folder / "d/a.txt") + " \"/elsewhere/z.txt\")"));
  EXPECT_EQ(Names(Folder / "d"), TNames{"z.txt"});

  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(delete-file " + B + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-file " + B + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-file " + Quoted(Folder / "d") + ")"));
  EXPECT_EQ(Names(Folder / ""), (TNames{"c.txt", "d"}));

  // A wrong kind of argument is an error, also where failures are soft.
  EXPECT_EQ("Not a string type.  Value (a ) is a dtList type", ErrorOfCall(Engine, "(delete-file (create$ a))"));
  EXPECT_EQ("Too many arguments for copy-file", ErrorOfCall(Engine, "(copy-file a b TRUE d)"));
  EXPECT_EQ("Too few arguments for rename-file", ErrorOfCall(Engine, "(rename-file a)"));
}

TEST(FileFunctions, DirectoriesAreListedCopiedMovedAndDeleted) {
  TTempFolder Folder;
  const std::string Root = Quoted(Folder / "t");
  TInferenceEngine Engine;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(create-dir " + Quoted(Folder / "t/sub/deep") + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(create-dir " + Quoted(Folder / "t/sub") + ")"));
  WriteFile(Folder / "t/one.kb", "1");
  WriteFile(Folder / "t/two.txt", "2");
  WriteFile(Folder / "t/ü.kb", "3");
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(create-dir " + Quoted(Folder / "t/one.kb/x") + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(is-dir-exists " + Root + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-dir-exists " + Quoted(Folder / "t/one.kb") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-dir-empty " + Root + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(is-dir-empty " + Quoted(Folder / "t/sub/deep") + ")"));

  // One level deep, each entry under the directory as given.
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(length$ (get-files " + Root + "))"));
  EXPECT_EQ("dtList " + Quoted(Folder / "t/sub") + " ", Eval(Engine, "(get-dirs " + Root + ")"));
  EXPECT_EQ("dtList " + Quoted(Folder / "t/two.txt") + " ", Eval(Engine, "(get-files " + Root + " \"*.txt\")"));
  EXPECT_EQ("dtList " + Quoted(Folder / "t/ü.kb") + " ", Eval(Engine, "(get-files " + Root + " \"?.kb\")"));
  EXPECT_EQ("dtList ", Eval(Engine, "(get-files " + Quoted(Folder / "t/sub/deep") + " \"*.clp\")"));
  EXPECT_EQ("dtList ", Eval(Engine, "(get-dirs " + Root + " \"x*\")"));
  const std::string Missing = Folder / "none";
  EXPECT_EQ("Directory \"" + Missing + "\" not found", ErrorOfCall(Engine, "(get-files " + Quoted(Missing) + ")"));
  EXPECT_EQ("Directory \"" + Missing + "\" not found", ErrorOfCall(Engine, "(is-dir-empty " + Quoted(Missing) + ")"));

  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(copy-dir " + Root + " " + Quoted(Folder / "c") + ")"));
  EXPECT_EQ(Names(Folder / "c"), (TNames{"one.kb", "sub", "two.txt", "ü.kb"}));
  EXPECT_EQ(Names(Folder / "c/sub"), TNames{"deep"});
  // The target must be new, and may not lie inside the source.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-dir " + Root + " " + Quoted(Folder / "c") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-dir " + Root + " " + Quoted(Folder / "t/sub/copy") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(copy-dir " + Quoted(Missing) + " " + Quoted(Folder / "x") + ")"));
  EXPECT_EQ(Names(Folder / "t/sub"), TNames{"deep"});

  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(move-dir " + Quoted(Folder / "c") + " " + Root + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(move-dir " + Quoted(Folder / "c") + " " + Quoted(Folder / "m") + ")"));
  EXPECT_EQ(Names(Folder / ""), (TNames{"m", "t"}));

  // Only an empty directory goes unless recursive is TRUE itself.
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m") + ")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m") + " yes)"));
  EXPECT_EQ(Names(Folder / "m"), (TNames{"one.kb", "sub", "two.txt", "ü.kb"}));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m/one.kb") + " TRUE)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m/sub/deep") + ")"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m") + " TRUE)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(delete-dir " + Quoted(Folder / "m") + " TRUE)"));
  EXPECT_EQ(Names(Folder / ""), TNames{"t"});
}

TEST(FileFunctions, CurrentDirectoryAndSystemFacts) {
  TTempFolder Folder;
  TInferenceEngine Engine;
  const std::string Before = std::filesystem::current_path().string();
  const std::string Here = std::filesystem::canonical(Folder / "").string();
  EXPECT_EQ("dtString " + Quoted(Here), Eval(Engine, "(set-current-dir " + Quoted(Folder / "") + ")"));
  EXPECT_EQ("dtString " + Quoted(Here), Eval(Engine, "(get-current-dir)"));
  EXPECT_EQ("Directory \"nowhere\" not found", ErrorOfCall(Engine, "(set-current-dir nowhere)"));
  std::filesystem::current_path(Before);

  EXPECT_EQ("dtString " + Quoted(GetTempPath()), Eval(Engine, "(get-temp-path)"));
  EXPECT_EQ("dtString", Eval(Engine, "(get-home-path)").substr(0, 8));
  EXPECT_EQ("dtString", Eval(Engine, "(get-documents-path)").substr(0, 8));
  EXPECT_EQ("dtString", Eval(Engine, "(get-os-name)").substr(0, 8));
  EXPECT_EQ("dtAtom Linux", Eval(Engine, "(get-os-platform)"));
  EXPECT_EQ("dtAtom", Eval(Engine, "(get-os-architecture)").substr(0, 6));
  EXPECT_EQ("dtInteger " + std::to_string(TOSVersion::GetMajor() + 1), Eval(Engine, "(+ (get-os-major-version) 1)"));
  EXPECT_EQ("dtInteger", Eval(Engine, "(get-os-build-version)").substr(0, 9));
  EXPECT_EQ("Too many arguments for get-os-name", ErrorOfCall(Engine, "(get-os-name 1)"));
  EXPECT_EQ("Too many arguments for dir-delim", ErrorOfCall(Engine, "(dir-delim x)"));
}

TEST(FileFunctions, AFamilyMemberFollowsItsNameOrItsCode) {
  const Ref<TDirectoryFunction> Function = TKBUserFunction::Create<TDirectoryFunction>();
  EXPECT_EQ(Function->GetFunctionName(), "get-current-dir");
  EXPECT_EQ(Function->GetMaxArgumentCount(), 0);
  Function->SetFunctionName("delete-dir");
  EXPECT_EQ(Function->GetDirectoryFunctionType(), dftDeleteDir);
  EXPECT_EQ(Function->GetArgumentString(), "<path-expression>[ <recursive-boolean-expression>]");
  EXPECT_EQ(Function->GetMinArgumentCount(), 1);
  EXPECT_EQ(Function->GetMaxArgumentCount(), 2);
  // A name from outside the family keeps the code.
  Function->SetFunctionName("remove-tree");
  EXPECT_EQ(Function->GetDirectoryFunctionType(), dftDeleteDir);
  Function->SetDirectoryFunctionType(dftDirDelim);
  EXPECT_EQ(Function->GetDirectoryFunctionType(), dftDirDelim);
  EXPECT_EQ(Function->GetMaxArgumentCount(), 0);
  EXPECT_EQ(Function->GetFunctionName(), "remove-tree");
}

}  // namespace cogent::test
