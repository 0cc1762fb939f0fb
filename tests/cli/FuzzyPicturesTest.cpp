// The pictures that --plot-svg writes: one per fuzzy variable of the types
// of every module.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/FuzzyPictures.h"

namespace cogent {
namespace {

IKBDefinedType FuzzyType(const std::string& Name, const std::vector<std::string>& Terms) {
  const IKBDefinedType Type(new TKBDefinedType(Name, TKBTypes{dtFuzzy}));
  const IFuzzyVariable Variable(new TFuzzyVariable(Name));
  Variable->SetUniverse(0.0, 10.0);
  for (const std::string& Term : Terms) {
    const IFuzzySet Set = Variable->NewFuzzySet(Term);
    Set->AddPoint(0.0, 0.0);
    Set->AddPoint(10.0, 1.0);
    Variable->AddTerm(Set);
  }
  Type->SetFuzzyType(Variable);
  return Type;
}

std::size_t Count(const std::string& Text, const std::string& What) {
  std::size_t Result = 0;
  for (std::size_t Pos = Text.find(What); Pos != std::string::npos; Pos = Text.find(What, Pos + 1)) ++Result;
  return Result;
}

TEST(FuzzyPicturesTest, EachFuzzyVariableOfEveryModuleOnce) {
  TInferenceEngine Engine;
  Engine.SetFuzzyAutoTerms(false);
  const IModule Main = Engine.GetModules()->Get(0);
  const IKBDefinedType Temp = FuzzyType("temp", {"cold", "warm", "hot"});
  Main->GetDefinedTypes()->Add(FuzzyType("speed", {"slow"}));
  Main->GetDefinedTypes()->Add(IKBDefinedType(new TKBDefinedType("size", TKBTypes{dtInteger})));
  Main->GetDefinedTypes()->Add(Temp);
  const IModule Other(new TModule(&Engine, false));
  Other->SetName("OTHER");
  Engine.AddModule(Other);
  Other->GetDefinedTypes()->Add(Temp);
  Other->GetDefinedTypes()->Add(FuzzyType("speed", {"slow", "fast"}));

  std::vector<std::string> Names;
  for (const IFuzzyVariable& Variable : FuzzyVariablesOf(Engine)) Names.push_back(Variable->GetName());
  EXPECT_EQ(Names, (std::vector<std::string>{"speed", "temp", "speed"}));

  const std::filesystem::path Dir = std::filesystem::temp_directory_path() / "cogent-plot-svg-test" / "out";
  std::filesystem::remove_all(Dir.parent_path());
  const std::vector<std::string> Files = SaveFuzzyPictures(Engine, Dir.string());
  ASSERT_EQ(Files.size(), 3U);
  const char* Expected[] = {"speed.svg", "temp.svg", "speed-2.svg"};
  const std::size_t Curves[] = {1, 3, 2};
  for (std::size_t I = 0; I < 3; ++I) {
    EXPECT_EQ(std::filesystem::path(Files[I]).filename(), Expected[I]);
    std::ifstream In(Files[I]);
    std::stringstream Text;
    Text << In.rdbuf();
    EXPECT_EQ(Count(Text.str(), "<polyline"), Curves[I]) << Files[I];
  }
  std::filesystem::remove_all(Dir.parent_path());
}

}  // namespace
}  // namespace cogent
