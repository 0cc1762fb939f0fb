#include "cogent/facts/KBModule.h"

#include <gtest/gtest.h>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBFacts.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using test::ErrorOf;

const char* const MainReserved = "Module \"MAIN\" is reserved name and cannot be used for any other module";

IModule AddModule(TInferenceEngine& Engine, const std::string& Name) {
  IModule Module(new TModule(&Engine, false));
  Module->SetName(Name);
  Engine.AddModule(Module);
  return Module;
}

TEST(KBModuleTest, FocusSwitchesTheEnginesCollections) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  const IModule Other = AddModule(Engine, "OTHER");
  // Adding a module leaves the current one current.
  EXPECT_EQ(Engine.GetCurrentModule(), Main);

  int Changes = 0;
  Engine.OnChangeCurrentModule = [&](TObject*) { ++Changes; };
  Engine.SetCurrentModule(Other);
  Engine.SetCurrentModule(Other);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Engine.GetFacts(), Other->GetFacts());
  EXPECT_EQ(Engine.GetRules(), Other->GetRules());
  EXPECT_EQ(Engine.GetNullFact(), Other->GetNullFact());
  // Each module has collections and implied templates of its own.
  EXPECT_NE(Other->GetFacts(), Main->GetFacts());
  EXPECT_NE(Other->GetFactTemplates()->Get("Initial-Fact"), Main->GetFactTemplates()->Get("Initial-Fact"));
  // What is made in one module is not seen from the other.
  Engine.CreateFactTemplate("only-other");
  Main->FocusModule();  // the silent hop
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Engine.GetFactTemplates(), Main->GetFactTemplates());
  EXPECT_FALSE(Main->GetFactTemplates()->ContainsKey("only-other"));
  EXPECT_TRUE(Other->GetFactTemplates()->ContainsKey("only-other"));
}

TEST(KBModuleTest, CollectionsComeWithTheFirstFocusAndGoWithRelease) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  IModule Other(new TModule(&Engine, false));
  EXPECT_EQ(Other->GetAgenda(), nullptr);
  // Initialize from elsewhere focuses back the module that was current.
  Other->Initialize();
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  ASSERT_NE(Other->GetFacts(), nullptr);
  Other->Release();
  EXPECT_EQ(Other->GetFacts(), nullptr);
  Other->FocusModule();
  EXPECT_EQ(Engine.GetFacts(), Other->GetFacts());
  EXPECT_EQ(Other->GetFactTemplates()->GetCount(), 2);  // the two implied templates, anew
  Main->FocusModule();
}

TEST(KBModuleTest, ModuleOutlivesItsEngine) {
  IModule Listed, Loose;
  {
    TInferenceEngine Engine;
    Listed = AddModule(Engine, "LISTED");
    Listed->AddImport("MAIN");
    Engine.SetCurrentModule(Listed);
    Engine.CreateFactTemplate("t")->NewFact();
    Loose = IModule(new TModule(&Engine, false));
    Loose->FocusModule();
  }
  // The sanitizer build sees a leak or a use after free here otherwise.
  for (const IModule& M : {Listed, Loose}) {
    EXPECT_EQ(M->GetEngine(), nullptr);
    M->FocusModule();  // does nothing without an engine
    M->SetName("RENAMED");
  }
  Listed->Release();
  EXPECT_EQ(Listed->GetImportModuleCount(), 1);
}

TEST(KBModuleTest, NamesEqualsAndImports) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  Main->SetName("MAIN");  // its own name: nothing happens
  EXPECT_EQ(ErrorOf([&] { Main->SetName("OTHER"); }), MainReserved);
  IModule M(new TModule(&Engine, false));
  EXPECT_EQ(ErrorOf([&] { M->SetName("MAIN"); }), MainReserved);
  EXPECT_EQ(ErrorOf([&] { M->SetName("a b"); }), "\"a b\" contains unexpected character: \" \"");
  M->SetName("SENSORS");

  M->AddImport("A");
  const IModuleImport B = M->AddImport("B");
  M->AddImport(IModuleImport());  // nil: ignored
  EXPECT_EQ(M->IndexOfImport("B"), 1);
  EXPECT_EQ(M->RemoveImport("A"), 0);
  EXPECT_EQ(M->RemoveImport("A"), -1);
  EXPECT_EQ(M->IndexOfImport(B), 0);
  EXPECT_EQ(ErrorOf([&] { M->GetImportModule(1); }), "List index out of bounds (1)");
  EXPECT_EQ(M->GetExportItems()->GetModule(), M.get());

  // Equal by name; a copy takes name, comment and declarations of its own.
  M->SetComment("note");
  IModule Copy(new TModule(&Engine, false));
  EXPECT_FALSE(Copy->Equals(IInterface(M)));
  Copy->Assign(IInterface(M));
  EXPECT_TRUE(Copy->Equals(IInterface(M)));
  EXPECT_EQ(Copy->GetComment(), "note");
  ASSERT_EQ(Copy->GetImportModuleCount(), 1);
  EXPECT_NE(Copy->GetImportModule(0), B);
  EXPECT_EQ(Copy->GetImportModule(0)->GetModule(), Copy.get());
  EXPECT_FALSE(M->Equals(IInterface(Main)));
  EXPECT_FALSE(M->Equals(nullptr));
  EXPECT_EQ(ErrorOf([&] { M->Assign(IInterface(test::Int(1))); }), "Unknown interface supplied to engine value");
}

class TShared : public TModuleConstruct {};

TEST(KBModuleTest, ConstructsKeepTheirImportModules) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  const IModule Other = AddModule(Engine, "OTHER");
  const Ref<TShared> Construct(new TShared());
  EXPECT_FALSE(Construct->IsShared());
  Construct->AddImportModule(Main.get());
  Construct->AddImportModule(nullptr);  // ignored
  Construct->AddImportModule(Other.get());
  EXPECT_TRUE(Construct->IsShared());
  EXPECT_EQ(Construct->GetImportModule(1), Other);
  Construct->RemoveImportModule(Main.get());
  Construct->RemoveImportModule(Main.get());  // absent: nothing
  EXPECT_EQ(Construct->IndexOfImportModule(Other.get()), 0);
  EXPECT_EQ(ErrorOf([&] { Construct->GetImportModule(1); }), "List index out of bounds (1)");
}

}  // namespace
}  // namespace cogent
