#include "cogent/engine/InferenceEngine.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "cogent/facts/KBSlotTest.h"
#include "cogent/foundation/VXCollections.h"
#include "cogent/functions/KBPackages.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/ActivationAgenda.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

TEST(InferenceEngineTest, NewEngineState) {
  TInferenceEngine Engine;
  ASSERT_EQ(Engine.GetModules()->GetCount(), 1);
  const IModule Main = Engine.GetModules()->Get(0);
  EXPECT_EQ(Main->GetName(), "MAIN");
  EXPECT_TRUE(Main->IsMain());
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Engine.GetFocusStack()->GetCount(), 1);
  EXPECT_EQ(Engine.GetCurrentFocus(), Main);

  // The engine's cache is the main module's collections.
  EXPECT_EQ(Engine.GetFacts(), Main->GetFacts());
  EXPECT_EQ(Engine.GetAgenda(), Main->GetAgenda());
  EXPECT_EQ(Engine.GetRete(), Main->GetRete());
  EXPECT_EQ(Engine.GetFactsPending(), Main->GetFactsPending());
  ASSERT_NE(Engine.GetInitialFactPattern(), nullptr);
  EXPECT_EQ(Engine.GetInitialFactPattern()->GetName(), "Initial-Fact");
  ASSERT_TRUE(Engine.GetNullFact());
  EXPECT_EQ(Engine.GetNullFact()->GetTemplate()->GetTemplateName(), "__NOT-OR-TEST-CE*");
  EXPECT_EQ(Engine.FindFactTemplate("Initial-Fact")->GetComment(), "(Implied)");

  EXPECT_EQ(Engine.GetDuplicateConstructs(), dcOverwrite);
  EXPECT_EQ(Engine.GetPackages(), AllFunctionPackages);
  EXPECT_FALSE(Engine.GetFactDuplication());
  EXPECT_TRUE(Engine.GetFuzzyAutoTerms());
  EXPECT_FLOAT_EQ(Engine.GetFuzzyEqualsThreshold(), 0.01f);
  EXPECT_FLOAT_EQ(Engine.GetMinActivationStrength(), 0.0f);
  EXPECT_EQ(Engine.GetParserErrorHandling(), ehRaiseImmediate);
  EXPECT_EQ(Engine.GetParserMaxErrors(), 10);
  EXPECT_TRUE(Engine.GetResetGlobals());
  EXPECT_EQ(Engine.GetStrategy(), ssDepthFirst);
  EXPECT_EQ(Engine.GetTypeChecks(), TTypeChecks{tcStatic});
  EXPECT_TRUE(Engine.GetWatch().Empty());
  EXPECT_FLOAT_EQ(Engine.GetVersion(), 6.0f);
  EXPECT_FALSE(Engine.GetIsRunning());
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
  EXPECT_EQ(Engine.GetCurrentAgendaItem(), nullptr);
  EXPECT_NE(Engine.GetUserFunctions(), nullptr);
  EXPECT_NE(Engine.GetGlobalVariables(), nullptr);
  EXPECT_NE(Engine.GetStorage(), nullptr);
  EXPECT_NE(Engine.GetIOStreams(), nullptr);
}

TEST(InferenceEngineTest, IdsAndSymbols) {
  TInferenceEngine Engine;
  const std::int32_t First = Engine.NewFactId();
  EXPECT_EQ(Engine.NewFactId(), First + 1);
  EXPECT_EQ(Engine.GetFactIdCounter(), First + 2);
  EXPECT_EQ(Engine.NewRuleId(), 0);
  EXPECT_EQ(Engine.NewRuleId(), 1);

  EXPECT_EQ(Engine.GenerateSymbol("gen"), "gen0");
  Engine.SetSymbolIndex(5);
  EXPECT_EQ(Engine.GenerateSymbol("x"), "x5");
  Engine.SetSymbolIndex(3);  // never goes back: one above where it stood
  EXPECT_EQ(Engine.GetSymbolIndex(), 7);
}

TEST(InferenceEngineTest, FactoryAndImpliedTemplates) {
  TInferenceEngine Engine;
  std::unique_ptr<TObject> Pending(Engine.CreateKBObject(otFactsPending, nullptr));
  EXPECT_NE(dynamic_cast<TFactsPending*>(Pending.get()), nullptr);
  EXPECT_EQ(Engine.CreateKBObject(static_cast<TKBObjectType>(99), nullptr), nullptr);

  const IFactTemplate Implied = Engine.CreateFactTemplate("colour");
  EXPECT_EQ(Implied->GetComment(), "(Implied)");
  EXPECT_EQ(Implied->GetModule(), Engine.GetCurrentModule());
  Implied->SetComment("mine");
  EXPECT_EQ(Engine.CreateFactTemplate("colour"), Implied);
  EXPECT_EQ(Implied->GetComment(), "mine");
  EXPECT_EQ(ErrorOf([&] { Engine.CreateFactTemplate("bad name"); }),
            "\"bad name\" contains unexpected character: \" \"");
}

TEST(InferenceEngineTest, FocusingAModuleSwapsTheCache) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  IModule Other(new TModule(&Engine, false));
  Other->SetName("OTHER");
  Engine.AddModule(Other);
  EXPECT_EQ(Engine.GetModules()->IndexOf("OTHER"), 1);
  EXPECT_EQ(Engine.GetModules()->ToNamesString(", "), "MAIN, OTHER");

  int Changes = 0;
  Engine.OnChangeCurrentModule = [&](TObject* Sender) {
    EXPECT_EQ(Sender, &Engine);
    ++Changes;
  };
  Engine.SetCurrentModule(Other);
  EXPECT_EQ(Changes, 1);
  EXPECT_EQ(Engine.GetCurrentModule(), Other);
  EXPECT_EQ(Engine.GetFacts(), Other->GetFacts());
  EXPECT_NE(Engine.GetFacts(), Main->GetFacts());
  EXPECT_EQ(Engine.GetNullFact(), Other->GetNullFact());
  Engine.SetCurrentModule(Other);
  EXPECT_EQ(Changes, 1);

  // FocusModule is the silent hop.
  Main->FocusModule();
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Engine.GetFactTemplates(), Main->GetFactTemplates());
  EXPECT_EQ(Changes, 1);

  // Each module has its own implied templates.
  EXPECT_NE(Other->GetFactTemplates()->Get("Initial-Fact"), Main->GetFactTemplates()->Get("Initial-Fact"));
}

TEST(InferenceEngineTest, FactDuplicationTurnsOffTheCurrentCacheOnly) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  IModule Other(new TModule(&Engine, false));
  Other->SetName("OTHER");
  Engine.AddModule(Other);
  Other->FocusModule();
  Engine.SetFactDuplication(true);
  EXPECT_FALSE(Other->GetFacts()->GetCacheHashCodes());
  EXPECT_TRUE(Main->GetFacts()->GetCacheHashCodes());
}

class THostPackage : public TUserPackage {
public:
  explicit THostPackage(TComponent* AOwner, int* ALive) : TUserPackage(AOwner), FLive(ALive) { ++*FLive; }
  ~THostPackage() override { --*FLive; }

private:
  int* FLive;
};

TEST(InferenceEngineTest, ChangingPackagesFreesHostPackages) {
  TInferenceEngine Engine;
  int Live = 0;
  int Rebuilt = 0;
  new THostPackage(&Engine, &Live);
  Engine.OnAddDefaultPackages = [&](TObject*) { ++Rebuilt; };
  Engine.SetPackages(AllFunctionPackages);  // same set: nothing happens
  EXPECT_EQ(Live, 1);
  EXPECT_EQ(Rebuilt, 0);
  Engine.SetPackages(TFunctionPackages{pStandard, pMath});
  EXPECT_EQ(Live, 0);
  EXPECT_EQ(Rebuilt, 1);
  EXPECT_EQ(Engine.GetPackages(), (TFunctionPackages{pStandard, pMath}));

  // Packages still owned when the engine goes are freed with it.
  { TInferenceEngine Other; new THostPackage(&Other, &Live); }
  EXPECT_EQ(Live, 0);
}

TEST(InferenceEngineTest, ConstructEventsAndTeardown) {
  std::vector<std::string> Heard;
  std::size_t BeforeTeardown = 0;
  {
    TInferenceEngine Engine;
    Engine.OnNewFactTemplate = [&](TObject*, const IFactTemplate& T) { Heard.push_back("new " + T->GetTemplateName()); };
    Engine.OnClearRules = [&](TObject*) { Heard.push_back("clear rules"); };
    Engine.OnClearModules = [&](TObject*) { Heard.push_back("clear modules"); };
    Engine.OnClearFacts = [&](TObject*) { Heard.push_back("clear facts"); };
    Engine.OnRemoveModule = [&](TObject*, const IModule& M) { Heard.push_back("remove " + M->GetName()); };
    Engine.OnAddModule = [&](TObject*, const IModule& M) { Heard.push_back("module " + M->GetName()); };
    Engine.CreateFactTemplate("t");
    Engine.ClearRules();
    EXPECT_EQ(Heard, (std::vector<std::string>{"new t", "clear rules"}));
    IModule Other(new TModule(&Engine, false));
    Other->SetName("M2");
    EXPECT_EQ(Engine.AddModule(Other), 1);
    EXPECT_EQ(Heard.back(), "module M2");
    BeforeTeardown = Heard.size();
  }
  // No handler hears the teardown.
  EXPECT_EQ(Heard.size(), BeforeTeardown);
}

TEST(InferenceEngineTest, LockIsReentrant) {
  TInferenceEngine Engine;
  Engine.Unlock();  // before any Lock: nothing to leave
  Engine.Lock();
  Engine.Lock();
  Engine.Unlock();
  Engine.Unlock();
}

// A host subclass replaces a collection through the factory.
class TCountingFacts : public TFacts {
public:
  using TFacts::TFacts;
};

class TCustomEngine : public TInferenceEngine {
public:
  TCustomEngine() : TInferenceEngine(nullptr, TDeferredConstruction{}) { Construct(); }
  TObject* CreateKBObject(TKBObjectType KBObject, TModule* Module) override {
    if (KBObject == otFacts) return new TCountingFacts(this, Module);
    return TInferenceEngine::CreateKBObject(KBObject, Module);
  }
};

TEST(InferenceEngineTest, SubclassFactoryBuildsTheModulesCollections) {
  TCustomEngine Engine;
  EXPECT_NE(dynamic_cast<TCountingFacts*>(Engine.GetFacts()), nullptr);
}

TEST(ModuleTest, NamesAndMain) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  Main->SetName("MAIN");  // its own name: nothing happens
  EXPECT_EQ(ErrorOf([&] { Main->SetName("OTHER"); }),
            "Module \"MAIN\" is reserved name and cannot be used for any other module");
  IModule Other(new TModule(&Engine, false));
  EXPECT_EQ(ErrorOf([&] { Other->SetName("MAIN"); }),
            "Module \"MAIN\" is reserved name and cannot be used for any other module");
  EXPECT_EQ(ErrorOf([&] { Other->SetName("a b"); }), "\"a b\" contains unexpected character: \" \"");
  Other->SetName("SENSORS");
  EXPECT_EQ(Other->GetName(), "SENSORS");
}

TEST(ModuleTest, CollectionsComeWithTheFirstFocusAndGoWithRelease) {
  TInferenceEngine Engine;
  const IModule Main = Engine.GetCurrentModule();
  IModule Other(new TModule(&Engine, false));
  EXPECT_EQ(Other->GetAgenda(), nullptr);
  Other->FocusModule();
  ASSERT_NE(Other->GetFacts(), nullptr);
  EXPECT_EQ(Engine.GetFacts(), Other->GetFacts());

  // Initialize from elsewhere focuses back the module that was current.
  IModule Third(new TModule(&Engine, false));
  Main->FocusModule();
  Third->Initialize();
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_NE(Third->GetFacts(), nullptr);

  Main->FocusModule();
  Other->Release();
  EXPECT_EQ(Other->GetFacts(), nullptr);
  Other->FocusModule();
  EXPECT_NE(Other->GetFacts(), nullptr);
  EXPECT_EQ(Other->GetFactTemplates()->GetCount(), 2);  // the two implied templates, anew
  Main->FocusModule();
}

TEST(ModuleTest, ModuleOutlivesItsEngine) {
  IModule Kept;
  {
    TInferenceEngine Engine;
    Kept = IModule(new TModule(&Engine, false));
    Kept->FocusModule();
    Engine.GetModules()->Get(0)->FocusModule();
  }
  EXPECT_EQ(Kept->GetEngine(), nullptr);
  Kept->FocusModule();  // does nothing without an engine
  Kept->Release();
}

TEST(ModuleTest, ImportDeclarations) {
  TInferenceEngine Engine;
  IModule M(new TModule(&Engine, false));
  M->AddImport("A");
  const IModuleImport B = M->AddImport("B");
  EXPECT_EQ(M->GetImportModuleCount(), 2);
  EXPECT_EQ(M->IndexOfImport("B"), 1);
  EXPECT_EQ(M->IndexOfImport(B), 1);
  EXPECT_EQ(M->RemoveImport("A"), 0);
  EXPECT_EQ(M->RemoveImport("A"), -1);
  EXPECT_EQ(M->GetImportModule(0), B);
  EXPECT_THROW(M->GetImportModule(5), EListError);
  IModule Copy(new TModule(&Engine, false));
  Copy->Assign(IInterface(M));
  EXPECT_EQ(Copy->GetImportModuleCount(), 1);
  EXPECT_TRUE(Copy->Equals(IInterface(M)));
  ASSERT_TRUE(M->GetExportItems());
  EXPECT_EQ(M->GetExportItems()->GetModule(), M.get());
}

}  // namespace
}  // namespace cogent

namespace cogent {
namespace {

TEST(InferenceEngineTest, RuleDestroyedByItsOwnerLeavesTheTable) {
  TInferenceEngine Engine;
  int Removed = 0;
  Engine.OnRemoveRule = [&](TObject*, TRule*) { ++Removed; };
  TComponent Owner(nullptr);
  auto* Rule = new TRule(&Owner);
  Rule->SetRuleName("r");
  Engine.GetRules()->Add(Rule);
  EXPECT_EQ(Rule->GetEngine(), &Engine);
  ASSERT_EQ(Engine.GetRules()->GetCount(), 1);
  delete Rule;
  EXPECT_EQ(Engine.GetRules()->GetCount(), 0);
  EXPECT_EQ(Removed, 1);
}

}  // namespace
}  // namespace cogent
