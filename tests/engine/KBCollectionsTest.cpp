#include "cogent/engine/KBCollections.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

IFactTemplate MakeTemplate(TInferenceEngine& Engine, const std::string& Name, const std::string& Slot = "name") {
  IFactTemplate Template(new TFactTemplate(&Engine, Name));
  if (!Slot.empty()) Template->AddSlot(Slot, FCNil);
  return Template;
}

// A rule that reports its own end.
struct TWatchedRule : TRule {
  TWatchedRule(TComponent* AOwner, const std::string& Name, bool* AGone = nullptr) : TRule(AOwner), Gone(AGone) {
    SetRuleName(Name);
  }
  ~TWatchedRule() override {
    if (Gone) *Gone = true;
  }
  bool* Gone;
};

TEST(KBCollectionsTest, TemplateRedefinitionFollowsThePolicy) {
  TInferenceEngine Engine;
  TFactTemplates* Templates = Engine.GetFactTemplates();
  const IFactTemplate First = MakeTemplate(Engine, "person");
  Templates->Add(First);
  const int Count = Templates->GetCount();

  const IFactTemplate Second = MakeTemplate(Engine, "person", "age");
  Engine.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { Templates->Add(Second); }), "Fact Template Name already exists: \"person\"");
  Templates->Add(First);  // the same template again is no redefinition
  EXPECT_EQ(Second->GetImportModuleCount(), 0);
  Engine.SetDuplicateConstructs(dcIgnore);
  Templates->Add(Second);
  EXPECT_EQ(Templates->Get("person"), First);

  Engine.SetDuplicateConstructs(dcOverwrite);
  Templates->Add(Second);
  EXPECT_EQ(Templates->Get("person"), Second);
  EXPECT_EQ(Templates->GetCount(), Count);
  EXPECT_EQ(First->GetImportModuleCount(), 0);
  EXPECT_EQ(Second->GetImportModuleCount(), 1);

  // A template without slots gets the data multislot.
  const IFactTemplate Point = MakeTemplate(Engine, "point", "");
  Templates->Add(Point);
  EXPECT_EQ(Point->GetSlotCount(), 1);
  EXPECT_TRUE(Point->GetSlot("__Data")->IsMultiSlot());
}

TEST(KBCollectionsTest, SharedTemplatesAreCountedAsImports) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetModules()->Get(0);
  const IModule Other = AddModule(Engine, "OTHER");
  TFactTemplates* MainTable = Main->GetFactTemplates();
  TFactTemplates* OtherTable = Other->GetFactTemplates();

  const IFactTemplate Person = MakeTemplate(Engine, "person");
  MainTable->Add(Person);
  OtherTable->Add(Person);
  EXPECT_EQ(Person->GetModule(), Main);
  EXPECT_EQ(MainTable->GetImportCount(), 0);
  EXPECT_EQ(OtherTable->GetImportCount(), 1);
  EXPECT_EQ(OtherTable->GetLocalsCount(), OtherTable->GetCount() - 1);

  // Only the imported ones go with csImported, and a removed template leaves
  // every module that holds it.
  const int Locals = OtherTable->GetLocalsCount();
  OtherTable->Clear(csImported);
  EXPECT_EQ(OtherTable->GetImportCount(), 0);
  EXPECT_EQ(OtherTable->GetCount(), Locals);
  EXPECT_FALSE(MainTable->ContainsKey("person"));
  EXPECT_EQ(Person->GetImportModuleCount(), 0);

  Engine.SetCurrentModule(Main);
  MainTable->Add(Person);
  OtherTable->Add(Person);
  EXPECT_EQ(MainTable->Remove("person"), Person);
  EXPECT_FALSE(OtherTable->ContainsKey("person"));
  EXPECT_EQ(OtherTable->GetImportCount(), 0);
  EXPECT_EQ(Person->GetImportModuleCount(), 0);
  EXPECT_FALSE(MainTable->Remove("person"));

  // A rename rekeys every table that holds the template, and any of them may refuse it.
  MainTable->Add(Person);
  OtherTable->Add(Person);
  OtherTable->Add(MakeTemplate(Engine, "other"));
  Person->SetTemplateName("human");
  EXPECT_EQ(OtherTable->Get("human"), Person);
  EXPECT_EQ(ErrorOf([&] { Person->SetTemplateName("other"); }), "Fact Template Name already exists: \"other\"");
  EXPECT_EQ(Person->GetTemplateName(), "human");
}

TEST(KBCollectionsTest, TemplateNeedsTheDefinedTypesOfItsModule) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetModules()->Get(0);
  const IFactTemplate Person = MakeTemplate(Engine, "person");
  const IKBDefinedType Age(new TKBDefinedType("age-type", TKBTypes{dtInteger}));
  Main->GetDefinedTypes()->Add(Age);
  Person->GetSlot("name")->SetExtendedTypeInfo(Age);

  // With one module nothing is checked.
  Main->GetFactTemplates()->Add(Person);
  const IModule Other = AddModule(Engine, "OTHER");
  TFactTemplates* OtherTable = Other->GetFactTemplates();
  const int Count = OtherTable->GetCount();
  EXPECT_EQ(ErrorOf([&] { OtherTable->Add(Person); }),
            "Fact Template, \"person\", depends on non-imported Defined Type: \"age-type\"");
  EXPECT_EQ(OtherTable->GetCount(), Count);
  EXPECT_EQ(Person->GetImportModuleCount(), 1);

  Other->GetDefinedTypes()->Add(Age);
  OtherTable->Add(Person);
  EXPECT_EQ(OtherTable->Get("person"), Person);
}

TEST(KBCollectionsTest, DefinedTypeRedefinitionAndRemoval) {
  TInferenceEngine Engine;
  TKBDefinedTypes* Types = Engine.GetDefinedTypes();
  // The policies are the templates' own; the message is the table's.
  const IKBDefinedType First(new TKBDefinedType("size"));
  Types->Add(First);
  Engine.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { Types->Add(IKBDefinedType(new TKBDefinedType("size"))); }),
            "Defined Type Name already exists: \"size\"");
  EXPECT_EQ(Types->Remove("size"), First);
  EXPECT_EQ(Types->GetCount(), 0);
  EXPECT_EQ(First->GetImportModuleCount(), 0);
}

TEST(KBCollectionsTest, TemplateTextPutsParentsFirst) {
  TInferenceEngine Engine;
  TFactTemplates* Templates = Engine.GetFactTemplates();
  const IFactTemplate Animal = MakeTemplate(Engine, "animal");
  const IFactTemplate Dog = MakeTemplate(Engine, "dog");
  const IFactTemplate Puppy = MakeTemplate(Engine, "puppy");
  Puppy->SetParent(Dog);
  Dog->SetParent(Animal);
  Templates->Add(Puppy);
  Templates->Add(Dog);
  Templates->Add(Animal);
  const std::string Text = Templates->LocalsToString();
  const auto A = Text.find("(deftemplate MAIN::animal");
  const auto D = Text.find("(deftemplate MAIN::dog");
  ASSERT_NE(Text.find("(deftemplate MAIN::puppy"), std::string::npos);
  EXPECT_LT(A, D);
  EXPECT_LT(D, Text.find("(deftemplate MAIN::puppy"));

  Animal->SetParent(Puppy);
  EXPECT_EQ(ErrorOf([&] { (void)Templates->ToString(); }), "Fact templates inheritance structure corrupted");
  Animal->SetParent(nullptr);  // no cycle of references may outlive the test
}

TEST(KBCollectionsTest, RuleRedefinitionFollowsThePolicy) {
  TInferenceEngine Engine;
  TRules* Rules = Engine.GetRules();
  std::vector<std::string> Log;
  Engine.OnAddRule = [&](TObject*, TRule* R) { Log.push_back("add " + R->GetRuleName()); };
  Engine.OnRemoveRule = [&](TObject*, TRule* R) { Log.push_back("remove " + R->GetRuleName()); };
  Engine.OnPrintOut = [&](TObject*, const std::string& Id, const std::string& Text) { Log.push_back(Id + "|" + Text); };
  Engine.SetWatch(TConstructWatches{cwCompilation});

  bool FirstGone = false;
  auto* First = new TWatchedRule(&Engine, "r1", &FirstGone);
  Rules->Add(First);
  Engine.SetWatch({});

  bool SecondGone = false;
  auto* Second = new TWatchedRule(&Engine, "r1", &SecondGone);
  Engine.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { Rules->Add(Second); }), "Duplicate Rules defined with same name: \"r1\"");
  Engine.SetDuplicateConstructs(dcIgnore);
  Rules->Add(Second);
  EXPECT_EQ(Rules->Get("r1"), First);

  // Overwriting frees the old rule that the engine owns.
  Engine.SetDuplicateConstructs(dcOverwrite);
  Rules->Add(Second);
  EXPECT_TRUE(FirstGone);
  EXPECT_EQ(Rules->Get("r1"), Second);

  // Remove(Key, Rule) only for that very rule; a rule the host owns
  // outlives removal and loses its engine.
  TWatchedRule Hosted(nullptr, "r1");
  Rules->Remove("r1", &Hosted);
  Rules->Remove("r1", Second);
  EXPECT_TRUE(SecondGone);
  Rules->Add(&Hosted);
  Rules->Remove("r1", &Hosted);
  // A rule its owner frees leaves the table.
  auto* Freed = new TWatchedRule(&Hosted, "r2");
  Rules->Add(Freed);
  delete Freed;
  EXPECT_EQ(Rules->GetCount(), 0);
  // The compilation trace, then one event per change; none for the refused rules.
  EXPECT_EQ(Log, (std::vector<std::string>{"|r1: +1+t\r\n", "add r1", "remove r1", "add r1", "remove r1", "add r1",
                                           "remove r1", "add r2", "remove r2"}));
  EXPECT_EQ(Hosted.GetEngine(), nullptr);

  // Clear frees the rules the engine owns, lets the others go and starts the ids over.
  bool OwnedGone = false;
  Rules->Add(new TWatchedRule(&Engine, "beta", &OwnedGone));
  Rules->Add(&Hosted);
  Engine.NewRuleId();
  Rules->Clear();
  EXPECT_TRUE(OwnedGone);
  EXPECT_EQ(Hosted.GetEngine(), nullptr);
  EXPECT_EQ(Engine.NewRuleId(), 0);
}

TEST(KBCollectionsTest, UserFunctionsKnowTheirEngine) {
  TInferenceEngine Engine;
  TUserFunctions* Functions = Engine.GetUserFunctions();
  const int Base = Functions->GetCount();
  const int BaseInterpreted = Functions->GetNumInterpreted();

  const IUserFunction Plain(new TKBUserFunction("zz-plain"));
  const IUserFunction Defined(new TInterpretedFunction("zz-defined"));
  EXPECT_EQ(ErrorOf([&] { Functions->Put("zz-other", Plain); }), "Function names do not match: zz-other and zz-plain");
  EXPECT_EQ(Functions->GetCount(), Base);

  Functions->Add(Plain);
  Functions->Add(Defined);
  EXPECT_EQ(Functions->GetNumInterpreted(), BaseInterpreted + 1);

  const IUserFunction Again(new TKBUserFunction("zz-plain"));
  Engine.SetDuplicateConstructs(dcOverwrite);
  Functions->Add(Again);
  EXPECT_EQ(Functions->Get("zz-plain"), Again);
  EXPECT_EQ(Plain->GetReasonerCount(), 0);

  EXPECT_EQ(Functions->Remove("zz-defined"), Defined);
  EXPECT_EQ(Functions->GetNumInterpreted(), BaseInterpreted);

  // A second engine shares the functions that are not interpreted.
  Functions->Add(Defined);
  {
    TInferenceEngine Copy;
    Copy.GetUserFunctions()->Assign(*Functions, true);
    EXPECT_EQ(Copy.GetUserFunctions()->GetCount(), Functions->GetCount());
    EXPECT_EQ(Again->GetReasonerCount(), 2);
  }
  EXPECT_EQ(Again->GetReasonerCount(), 1);
}

TEST(KBCollectionsTest, StreamTableOwnsItsStreams) {
  TInferenceEngine Engine;
  TIOStreams* Streams = Engine.GetIOStreams();
  TMemoryStream Memory;
  auto* First = new TGTextStream(&Memory);
  Streams->Add("out", First);
  auto* Other = new TGTextStream(&Memory);
  Engine.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { Streams->Add("out", Other); }), "Duplicate streams defined with same name: \"out\"");
  EXPECT_EQ(Streams->Get("out"), First);
  Engine.SetDuplicateConstructs(dcOverwrite);
  Streams->Add("out", Other);  // the old stream is freed
  EXPECT_EQ(Streams->Get("out"), Other);
  EXPECT_EQ(ErrorOf([&] { Streams->Remove("nope"); }), "Invalid stream name: nope");
  EXPECT_EQ(Streams->GetCount(), 1);

  // A table that does not own its streams leaves them alive, but Clear frees all.
  Streams->SetFreeStream(false);
  TGTextStream Kept(&Memory);
  Streams->Add("kept", &Kept);
  Streams->Remove("kept");
  Streams->Clear();
  EXPECT_EQ(Streams->GetCount(), 0);
}

TEST(KBCollectionsTest, ModuleListOperationsAreEngineOperations) {
  TInferenceEngine Engine;
  TModules* Modules = Engine.GetModules();
  std::vector<std::string> Log;
  Engine.OnAddModule = [&](TObject*, const IModule& M) { Log.push_back("add " + M->GetName()); };
  Engine.OnRemoveModule = [&](TObject*, const IModule& M) { Log.push_back("remove " + M->GetName()); };
  Engine.OnClearModules = [&](TObject*) { Log.push_back("clear"); };
  EXPECT_EQ(ErrorOf([&] { (void)Modules->GetModule("nope"); }), "No such module with name=nope exists");

  // A module of the same name replaces the old one, which lets its collections go.
  const IModule A = AddModule(Engine, "A");
  IModule A2(new TModule(&Engine, false));
  A2->SetName("A");
  Modules->Insert(0, A2);
  EXPECT_EQ(Modules->GetCount(), 2);
  EXPECT_EQ(Modules->Get(1), A2);
  EXPECT_EQ(A->GetFacts(), nullptr);

  Engine.PushFocus(A2);
  Modules->Remove(A2);
  EXPECT_EQ(Engine.GetFocusStack()->IndexOf(A2), -1);
  EXPECT_EQ(Engine.GetCurrentModule(), Modules->Get(0));
  Modules->Clear();
  EXPECT_EQ(Engine.GetCurrentModule(), nullptr);
  EXPECT_EQ(Log, (std::vector<std::string>{"add A", "remove A", "add A", "remove A", "remove MAIN", "clear"}));

  // Imports must name modules earlier in the list; a module that breaks the
  // order is refused before anything changes.
  Engine.Clear();
  IModule X(new TModule(&Engine, false));
  X->SetName("X");
  X->AddImport(X->AddImport("Y"));
  EXPECT_EQ(ErrorOf([&] { Engine.AddModule(X); }), "No such module with name=Y exists");
  X->ClearImports();
  Engine.AddModule(X);
  IModule NewMain(new TModule(&Engine, true));
  NewMain->AddImport(NewMain->AddImport("X"));
  EXPECT_EQ(ErrorOf([&] { Modules->Add(NewMain); }),
            "Invalid module dependency.  Module \"MAIN\" imports module \"X\" which is later in the module list");
  EXPECT_EQ(Modules->ToNamesString(","), "MAIN,X");
}

// Removal moves later entries of a run back into the hole: whatever is
// taken out, from the middle of a run of equal homes or from a run that
// wraps past the table's end, the rest is still found under its hash.
TEST(KBCollectionsTest, FactIndexFindsEveryFactLeftAfterRemovals) {
  // Three contents only, so that runs collide and overlap; the index reads
  // each fact's own hash when entries move.
  const IFactTemplate Template(new TFactTemplate(nullptr, "t"));
  Template->AddSlot("a", FCNil);
  std::vector<IFact> Facts;
  for (int I = 0; I < 24; ++I) {
    Facts.push_back(Template->NewFact());
    Facts.back()->SetValue("a", IKBValue(new TKBValue(I % 3, dtInteger)));
  }
  TFactHashIndex Index;
  EXPECT_FALSE(Index.Add(Facts[0]->GetHashCode(), Facts[0].get()));
  Index.Rebuild(Facts.data(), Facts.size());
  const auto HashOf = [&](int I) { return Facts[static_cast<std::size_t>(I)]->GetHashCode(); };
  const auto Found = [&](int I) {
    int Seen = 0;
    Index.ForEach(HashOf(I), [&](TFact* Fact) { Seen += Fact == Facts[static_cast<std::size_t>(I)].get(); });
    return Seen;
  };
  for (const int I : {4, 0, 13, 23, 1, 9, 16}) {
    EXPECT_TRUE(Index.Remove(HashOf(I), Facts[static_cast<std::size_t>(I)].get()));
    EXPECT_FALSE(Index.Remove(HashOf(I), Facts[static_cast<std::size_t>(I)].get()));
  }
  EXPECT_TRUE(Index.RemoveAnywhere(Facts[5].get()));
  for (int I = 0; I < 24; ++I) {
    const bool Gone = I == 4 || I == 0 || I == 13 || I == 23 || I == 1 || I == 9 || I == 16 || I == 5;
    EXPECT_EQ(Found(I), Gone ? 0 : 1) << I;
  }
}

}  // namespace
}  // namespace cogent
