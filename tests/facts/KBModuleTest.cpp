#include "cogent/facts/KBModule.h"

#include <gtest/gtest.h>

#include <functional>

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
    Listed->AddImport(Listed->AddImport("MAIN"));
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

  // A declaration made by name is the caller's to enter.
  const IModuleImport A = M->AddImport("A");
  EXPECT_EQ(M->GetImportModuleCount(), 0);
  M->AddImport(A);
  const IModuleImport B = M->AddImport("B");
  M->AddImport(B);
  M->AddImport(IModuleImport());  // nil: ignored
  EXPECT_EQ(M->IndexOfImport("B"), 1);
  EXPECT_EQ(M->RemoveImport("A"), 0);
  EXPECT_EQ(M->RemoveImport("A"), -1);
  EXPECT_EQ(M->IndexOfImport(B), 0);
  EXPECT_EQ(ErrorOf([&] { M->GetImportModule(1); }), "List index out of bounds (1)");
  EXPECT_EQ(M->GetExportItems()->GetOwnerModule(), M.get());

  // Equal by identity; a copy takes name, comment and declarations of its own.
  M->SetComment("note");
  B->SetFactTemplatesShared(mkbAll);
  IModule Copy(new TModule(&Engine, false));
  Copy->Assign(IInterface(M));
  EXPECT_FALSE(Copy->Equals(IInterface(M)));
  EXPECT_TRUE(M->Equals(IInterface(M)));
  EXPECT_EQ(Copy->GetName(), "SENSORS");
  EXPECT_EQ(Copy->GetComment(), "note");
  ASSERT_EQ(Copy->GetImportModuleCount(), 1);
  EXPECT_NE(Copy->GetImportModule(0), B);
  EXPECT_EQ(Copy->GetImportModule(0)->GetOwnerModule(), Copy.get());
  EXPECT_EQ(Copy->GetImportModule(0)->GetModule(), "B");
  EXPECT_EQ(Copy->GetImportModule(0)->GetFactTemplatesShared(), mkbAll);
  EXPECT_FALSE(M->Equals(IInterface(Main)));
  EXPECT_FALSE(M->Equals(nullptr));
  EXPECT_EQ(ErrorOf([&] { M->Assign(IInterface(test::Int(1))); }), "Unknown interface supplied to engine value");

  // A module of the engine may not take the name of another one.
  IModule First(new TModule(&Engine, false));
  First->SetName("FIRST");
  Engine.AddModule(First);
  IModule Second(new TModule(&Engine, false));
  Second->SetName("SECOND");
  Engine.AddModule(Second);
  EXPECT_EQ(ErrorOf([&] { Second->SetName("FIRST"); }), "Module Name already exists: \"FIRST\"");
  EXPECT_EQ(Second->GetName(), "SECOND");
  EXPECT_EQ(Engine.GetModules()->IndexOf("SECOND"), 2);
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

// ---------------------------------------------------------------- import and export

TEST(KBModuleTest, DeclarationsSettleTheirShareByTheirLists) {
  TInferenceEngine Engine;
  const IModuleImport D = Engine.GetCurrentModule()->AddImport("A");
  EXPECT_EQ(D->GetFactTemplatesShared(), mkbNone);
  D->GetFactTemplates().Add("t");
  EXPECT_EQ(D->GetFactTemplatesShared(), mkbCustom);
  EXPECT_EQ(D->GetDefinedTypesShared(), mkbNone);  // each kind on its own
  D->GetFactTemplates().Clear();
  EXPECT_EQ(D->GetFactTemplatesShared(), mkbNone);
  D->GetDefinedTypes().Add("u");
  D->SetDefinedTypesShared(mkbAll);
  EXPECT_EQ(D->GetDefinedTypes().GetCount(), 0);
  EXPECT_EQ(D->GetDefinedTypesShared(), mkbAll);  // emptied by the share, not back to none

  TStringList<> Names;
  Names.Add("x");
  Names.Add("y");
  D->SetFactTemplates(&Names);
  EXPECT_EQ(D->GetFactTemplatesShared(), mkbCustom);
  const IModuleImport Copy = D->CloneInterface().As<TModuleImportExport>();
  ASSERT_TRUE(Copy);
  EXPECT_EQ(Copy->GetModule(), "A");
  EXPECT_EQ(Copy->GetOwnerModule(), D->GetOwnerModule());
  EXPECT_EQ(Copy->GetDefinedTypesShared(), mkbAll);
  EXPECT_EQ(Copy->GetFactTemplates().GetText(), "x\r\ny\r\n");
  EXPECT_FALSE(Copy->Equals(IInterface(D)));  // identity, not content
  D->SetFactTemplatesShared(mkbNone);
  EXPECT_EQ(D->GetFactTemplates().GetCount(), 0);
  EXPECT_EQ(Copy->GetFactTemplates().GetCount(), 2);
}

// A module that imports by Declare's setting of one declaration from Exporter.
IModule AddImporter(TInferenceEngine& Engine, const std::string& Name, const std::string& Exporter,
                    const std::function<void(TModuleImportExport&)>& Declare) {
  IModule Module(new TModule(&Engine, false));
  Module->SetName(Name);
  const IModuleImport Import = Module->AddImport(Exporter);
  Declare(*Import);
  Module->AddImport(Import);
  Engine.AddModule(Module);
  return Module;
}

const auto ImportAll = [](TModuleImportExport& D) { D.SetFactTemplatesShared(mkbAll); };

TEST(KBModuleTest, ImportTakesWhatTheExporterOwnsAndLetsOut) {
  TInferenceEngine Engine;
  const IModule A = AddModule(Engine, "A");
  A->GetExportItems()->GetFactTemplates().Add("shared");
  A->GetExportItems()->GetFactTemplates().Add("missing");  // never defined: skipped
  A->GetExportItems()->GetFactTemplates().Add("PRIVATE");  // names are exact
  Engine.SetCurrentModule(A);
  const IFactTemplate Shared = Engine.CreateFactTemplate("shared");
  Engine.CreateFactTemplate("private");
  Engine.Assert("(shared 1)");
  Engine.Assert("(private 1)");
  const IModule Main = Engine.GetModules()->GetModule("MAIN");
  Engine.SetCurrentModule(Main);

  // The exporter's standing facts of what was imported come in; others don't.
  const IModule B = AddImporter(Engine, "B", "A", ImportAll);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);  // the import focused back
  EXPECT_EQ(B->GetFactTemplates()->Get("shared"), Shared);
  EXPECT_FALSE(B->GetFactTemplates()->ContainsKey("private"));
  EXPECT_FALSE(B->GetFactTemplates()->ContainsKey("missing"));
  ASSERT_EQ(B->GetFacts()->GetCount(), 1);
  EXPECT_EQ(B->GetFacts()->Get(0), A->GetFacts()->Get(0));
  EXPECT_EQ(Shared->IndexOfImportModule(B.get()), 1);

  // An import by name asks for what the export may not give.
  const IModule Named = AddImporter(Engine, "NAMED", "A", [](TModuleImportExport& D) {
    D.GetFactTemplates().Add("private");
    D.GetFactTemplates().Add("shared");
  });
  EXPECT_FALSE(Named->GetFactTemplates()->ContainsKey("private"));
  EXPECT_TRUE(Named->GetFactTemplates()->ContainsKey("shared"));

  // What B imported, it does not pass on, even exporting all.
  B->GetExportItems()->SetFactTemplatesShared(mkbAll);
  const IModule C = AddImporter(Engine, "C", "B", ImportAll);
  EXPECT_FALSE(C->GetFactTemplates()->ContainsKey("shared"));
  EXPECT_EQ(C->GetFacts()->GetCount(), 0);
  // An exporter that exports nothing gives nothing, and says nothing.
  const IModule D = AddImporter(Engine, "D", "MAIN", [](TModuleImportExport& D) {
    D.SetFactTemplatesShared(mkbAll);
    D.SetDefinedTypesShared(mkbAll);
  });
  EXPECT_EQ(D->GetFactTemplates()->GetImportCount(), 0);

  // A fact asserted later reaches the importers too; an importer that goes
  // leaves the template's modules.
  Engine.SetCurrentModule(A);
  Engine.Assert("(shared 2)");
  EXPECT_EQ(B->GetFacts()->GetCount(), 2);
  Engine.RemoveModule(B);
  EXPECT_EQ(Shared->IndexOfImportModule(B.get()), -1);
  EXPECT_EQ(Shared->GetImportModuleCount(), 2);  // A and NAMED
}

TEST(KBModuleTest, ImportsOfModulesThatCannotExportLeaveTheEngineAsItWas) {
  TInferenceEngine Engine;
  const IModule A = AddModule(Engine, "A");
  A->GetExportItems()->SetFactTemplatesShared(mkbAll);
  EXPECT_EQ(ErrorOf([&] { AddImporter(Engine, "B", "NOWHERE", ImportAll); }), "No such module with name=NOWHERE exists");
  EXPECT_EQ(ErrorOf([&] { AddImporter(Engine, "B", "B", ImportAll); }), "Module \"B\" cannot import from itself");
  // Replacing A by a module that imports from A would import from itself.
  EXPECT_EQ(ErrorOf([&] { AddImporter(Engine, "A", "A", ImportAll); }), "Module \"A\" cannot import from itself");
  EXPECT_EQ(Engine.GetModules()->ToNamesString(","), "MAIN,A");
  EXPECT_EQ(Engine.GetModules()->GetModule("A"), A);

  // Two exporters of one name clash in the importer's table: the half-made
  // module goes out again, and the first template no longer counts it.
  Engine.SetDuplicateConstructs(dcError);
  Engine.SetCurrentModule(A);
  const IFactTemplate T = Engine.CreateFactTemplate("t");
  const IModule A2 = AddModule(Engine, "A2");
  A2->GetExportItems()->SetFactTemplatesShared(mkbAll);
  Engine.SetCurrentModule(A2);
  Engine.CreateFactTemplate("t");
  IModule B(new TModule(&Engine, false));
  B->SetName("B");
  for (const char* Exporter : {"A", "A2"}) {
    const IModuleImport Import = B->AddImport(Exporter);
    Import->GetFactTemplates().Add("t");
    B->AddImport(Import);
  }
  EXPECT_EQ(ErrorOf([&] { Engine.AddModule(B); }), "Fact Template Name already exists: \"t\"");
  EXPECT_EQ(Engine.GetModules()->ToNamesString(","), "MAIN,A,A2");
  EXPECT_EQ(T->GetImportModuleCount(), 1);
}

}  // namespace
}  // namespace cogent
