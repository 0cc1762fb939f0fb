#pragma once
// Helpers shared by the test programs.

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <random>
#include <sstream>
#include <string>

#include "TestErrors.h"
#include "cogent/values/KBValue.h"

namespace cogent::test {

inline IKBValue Atom(const std::string& S) { return IKBValue(new TKBValue(S, dtAtom)); }
inline IKBValue Str(const std::string& S) { return IKBValue(new TKBValue(S, dtString)); }
inline IKBValue Int(std::int32_t I) { return IKBValue(new TKBValue(I, dtInteger)); }
inline IKBValue Flt(double D) { return IKBValue(new TKBValue(D)); }
inline IKBValue Var(const std::string& S) { return IKBValue(new TKBValue(S, dtVariable)); }
inline IKBValue List(std::initializer_list<IKBValue> Items) {
  IValueVector Vector(new TValueVector());
  for (const IKBValue& Item : Items) Vector->Add(Item);
  return IKBValue(new TKBValue(Vector));
}

// A folder of its own under the system's temporary folder, removed with
// everything in it when the test is done.
class TTempFolder {
public:
  TTempFolder() {
    std::random_device Random;
    FPath = std::filesystem::temp_directory_path() /
            ("cogent-test-" + std::to_string(Random()) + "-" + std::to_string(Random()));
    std::filesystem::create_directories(FPath);
  }
  ~TTempFolder() {
    std::error_code Ignored;
    std::filesystem::remove_all(FPath, Ignored);
  }
  TTempFolder(const TTempFolder&) = delete;
  TTempFolder& operator=(const TTempFolder&) = delete;

  std::string operator/(const std::string& Name) const { return (FPath / Name).string(); }

private:
  std::filesystem::path FPath;
};

inline std::string ReadFile(const std::string& FileName) {
  std::ifstream File(FileName, std::ios::binary);
  std::ostringstream Text;
  Text << File.rdbuf();
  return Text.str();
}

inline void WriteFile(const std::string& FileName, const std::string& Text) {
  std::ofstream(FileName, std::ios::binary) << Text;
}

}  // namespace cogent::test
