#include "cogent/engine/InferenceEngine.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "cogent/facts/KBSlotTest.h"
#include "cogent/rules/ActivationAgenda.h"

#include "../TestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;

TEST(InferenceEngineTest, NewEngineStateAndSymbols) {
  TInferenceEngine Engine;
  ASSERT_EQ(Engine.GetModules()->GetCount(), 1);
  const IModule Main = Engine.GetModules()->Get(0);
  EXPECT_TRUE(Main->IsMain());
  EXPECT_EQ(Engine.GetCurrentFocus(), Main);
  // The engine's cache is the main module's collections, the initial fact
  // asserted as f-0.
  EXPECT_EQ(Engine.GetAgenda(), Main->GetAgenda());
  EXPECT_EQ(Engine.GetInitialFactPattern()->GetName(), "Initial-Fact");
  EXPECT_EQ(Engine.GetNullFact()->GetTemplate()->GetTemplateName(), "__NOT-OR-TEST-CE*");
  EXPECT_EQ(Engine.GetFacts()->GetToIDString(), "f-0 (Initial-Fact)");
  EXPECT_EQ(Engine.GetFactIdCounter(), 1);

  EXPECT_EQ(Engine.GenerateSymbol("gen"), "gen0");
  Engine.SetSymbolIndex(5);
  EXPECT_EQ(Engine.GenerateSymbol("x"), "x5");
  Engine.SetSymbolIndex(3);  // never goes back: one above where it stood
  EXPECT_EQ(Engine.GetSymbolIndex(), 7);
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

TEST(InferenceEngineTest, FactoryAndImpliedTemplates) {
  TCustomEngine Engine;
  EXPECT_NE(dynamic_cast<TCountingFacts*>(Engine.GetFacts()), nullptr);
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

  // Packages still owned when the engine goes are freed with it.
  { TInferenceEngine Other; new THostPackage(&Other, &Live); }
  EXPECT_EQ(Live, 0);
}

TEST(InferenceEngineTest, ConstructEventsAndTeardown) {
  std::vector<std::string> Heard;
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
    AddModule(Engine, "M2");
    // A new module brings its implied templates along.
    EXPECT_EQ(Heard, (std::vector<std::string>{"new t", "clear rules", "new Initial-Fact", "new __NOT-OR-TEST-CE*",
                                               "module M2"}));
    Heard.clear();
  }
  EXPECT_TRUE(Heard.empty());  // no handler hears the teardown
}

}  // namespace
}  // namespace cogent
