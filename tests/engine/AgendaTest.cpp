#include "cogent/rules/ActivationAgenda.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "../matching/ReteTestSupport.h"
#include "EngineTestSupport.h"

namespace cogent {
namespace {

using namespace test;
using TNames = std::vector<std::string>;

// Each rule matches facts of its own template, so asserting "(a)" activates
// rule a alone. The salience of rule d is read from Salience when evaluated.
class AgendaTest : public ::testing::Test {
protected:
  AgendaTest() {
    auto* Function = new TUserFunction(&Engine, "zz-salience");
    Function->OnCall = [this](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) {
      Result = IKBValue(new TKBValue(Salience));
    };
    Function->SetEngine(&Engine);
  }

  TRule* Rule(const std::string& Name, std::int32_t ASalience = 0) {
    TRule* Result = R.Rule(Name, R.Pattern(Name));
    Result->SetSalience(ASalience);
    return Result;
  }
  std::int32_t Activate(const std::string& Name) { return Engine.Assert(std::string("(") + Name + ")"); }

  // Rule names from the top.
  TNames Order() const {
    TNames Result;
    for (int I = 0; I < Engine.GetAgendaCount(); ++I)
      Result.push_back(Engine.GetActivation(I)->GetRule()->GetRuleName());
    return Result;
  }

  TInferenceEngine Engine;
  TRuleBuilder R{Engine};
  std::int32_t Salience = 0;
};

TEST_F(AgendaTest, StrategiesDecideOnlyAtTheEnds) {
  // Equal salience: in front of the top group under depth, behind the
  // bottom group under breadth.
  for (const char* Name : {"a", "b", "c"}) Rule(Name);
  for (const char* Name : {"a", "b", "c"}) Activate(Name);
  EXPECT_EQ(Order(), (TNames{"c", "b", "a"}));

  TInferenceEngine Breadth;
  Breadth.SetStrategy(ssBreadthFirst);
  TRuleBuilder B(Breadth);
  for (const char* Name : {"a", "b", "c"}) B.Rule(Name, B.Pattern(Name));
  for (const char* Name : {"a", "b", "c"}) Breadth.Assert(std::string("(") + Name + ")");
  for (int I = 0; I < 3; ++I) EXPECT_EQ(Breadth.GetActivation(I)->GetRule()->GetRuleName(), TNames({"a", "b", "c"})[I]);

  // Agenda 10, 5, 5, 5, 1 and a new 5: the bisection probes index 2 first
  // and the newcomer stands there, inside the group, under either strategy.
  for (const TSearchStrategy Strategy : {ssDepthFirst, ssBreadthFirst}) {
    SCOPED_TRACE(EnumName(Strategy));
    Engine.Reset();
    Engine.SetStrategy(Strategy);
    Rule("h", 10);
    Rule("l", 1);
    Rule("m1", 5);
    Rule("m2", 5);
    Rule("m3", 5);
    Rule("m4", 5);
    Rule("s", 7);
    for (const char* Name : {"h", "l", "m1", "m2", "m3"}) Activate(Name);
    EXPECT_EQ(Order(), (TNames{"h", "m3", "m2", "m1", "l"}));
    int Added = -1;
    Engine.OnAddActivation = [&](TObject*, int Index, TActivation*) { Added = Index; };
    Activate("m4");
    EXPECT_EQ(Added, 2);
    EXPECT_EQ(Order(), (TNames{"h", "m3", "m4", "m2", "m1", "l"}));
    // A salience between two groups goes between them.
    Activate("s");
    EXPECT_EQ(Added, 1);
    Engine.OnAddActivation = nullptr;
    Engine.GetRules()->Clear();
  }
}

TEST_F(AgendaTest, SalienceIsReadAsEntriesComeInAndStandingEntriesKeepTheirPlaces) {
  Engine.Parse("(deftemplate d (slot n))", true);
  TRule* D = R.Rule("d", R.Pattern("d"));
  Rule("x", 5);
  D->SetSalience(CallValue(Call("zz-salience", {})));
  Salience = 10;
  Engine.Assert("(d (n 1))");
  Activate("x");
  EXPECT_EQ(Order(), (TNames{"d", "x"}));
  // The rule's salience drops; its standing activation stays on top, and the
  // new one is compared with what the entries' rules read now.
  Salience = 1;
  Engine.Assert("(d (n 2))");
  EXPECT_EQ(Engine.GetActivation(0)->GetToken()->GetToFactsString(), "f-3");
  EXPECT_EQ(Order(), (TNames{"d", "d", "x"}));
  // An entry reads as its activation did when it came in.
  EXPECT_EQ(Engine.GetAgenda()->GetString(1), "10 d : f-1 (1.0000)");
  EXPECT_EQ(Engine.GetActivation(1)->ToString(), "1 d : f-1 (1.0000)");
  EXPECT_EQ(Engine.GetAgenda()->ToString(), "1 d : f-3 (1.0000)\r\n10 d : f-1 (1.0000)\r\n5 x : f-2 (1.0000)\r\n");
  // A rebuild places them all anew.
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Order(), (TNames{"x", "d", "d"}));
}

TEST_F(AgendaTest, NewStrategyRebuildsWithTraceAndEventsAndRetractionStillReachesTheClones) {
  for (const char* Name : {"a", "b", "c"}) Rule(Name);
  std::vector<std::int32_t> Ids;
  for (const char* Name : {"a", "b", "c"}) Ids.push_back(Activate(Name));
  std::vector<std::string> Log;
  Engine.SetWatch(TConstructWatches{cwActivation});
  Engine.OnPrintOut = [&](TObject*, const std::string&, const std::string& Text) { Log.push_back(Text); };
  std::vector<int> Added;
  Engine.OnAddActivation = [&](TObject*, int Index, TActivation*) { Added.push_back(Index); };

  // From the top, each appended: the order stands.
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Order(), (TNames{"c", "b", "a"}));
  EXPECT_EQ(Log, (TNames{"==> Activation: 0 c : f-3 (1.0000)\r\n", "==> Activation: 0 b : f-2 (1.0000)\r\n",
                         "==> Activation: 0 a : f-1 (1.0000)\r\n"}));
  EXPECT_EQ(Added, (std::vector<int>{0, 1, 2}));
  Engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(Log.size(), 3u);

  // From the top, each to the front: reversed.
  Engine.SetStrategy(ssDepthFirst);
  EXPECT_EQ(Order(), (TNames{"a", "b", "c"}));
  EXPECT_EQ(Log.size(), 6u);

  // The nodes list the clones: a retraction takes its activation off, with
  // the event before it goes and the trace line after.
  Log.clear();
  int Removed = -1;
  Engine.OnRemoveActivation = [&](TObject*, int Index, TActivation* Activation) {
    Removed = Index;
    EXPECT_EQ(Engine.GetActivation(Index), Activation);
    EXPECT_EQ(Log, TNames{});
  };
  Engine.Retract(Ids[1]);
  EXPECT_EQ(Removed, 1);
  EXPECT_EQ(Order(), (TNames{"a", "c"}));
  EXPECT_EQ(Log, TNames{"<== Activation: b : f-2\r\n"});
  Engine.OnRemoveActivation = nullptr;
  Engine.Retract(Ids[0]);
  Engine.Retract(Ids[2]);
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
}

TEST_F(AgendaTest, FiringTellsThenRemoves) {
  Rule("a");
  Activate("a");
  TRule* Fired = nullptr;
  Engine.OnRuleFired = [&](TObject*, TRule* Rule) {
    Fired = Rule;
    EXPECT_EQ(Engine.GetAgendaCount(), 1);
  };
  EXPECT_TRUE(Engine.GetActivation(0)->Fire());
  ASSERT_NE(Fired, nullptr);
  EXPECT_EQ(Fired->GetRuleName(), "a");
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
  EXPECT_THROW(Engine.GetActivation(0), EListError);
}

TEST_F(AgendaTest, StandingDownInAnotherModuleLeavesTheCurrentOneCurrent) {
  const IModule Main = Engine.GetCurrentModule();
  const IModule Other = AddModule(Engine, "OTHER");
  Engine.SetCurrentModule(Other);
  Rule("m");
  Activate("m");
  TActivation* Activation = Engine.GetActivation(0);
  Engine.SetCurrentModule(Main);
  Rule("a");
  Activate("a");
  Engine.RemoveActivation(Activation);
  EXPECT_EQ(Engine.GetCurrentModule(), Main);
  EXPECT_EQ(Other->GetAgenda()->GetCount(), 0);
  EXPECT_EQ(Order(), TNames{"a"});
}

TEST_F(AgendaTest, TheFiringActivationStoodDownByItsOwnRuleIsFreedOnce) {
  TRule* A = Rule("a");
  Rule("b");
  Activate("b");
  const std::int32_t Id = Activate("a");
  std::vector<std::string> Log;
  Engine.SetWatch(TConstructWatches{cwActivation});
  Engine.OnPrintOut = [&](TObject*, const std::string&, const std::string& Text) { Log.push_back(Text); };
  TActivation* Removed = nullptr;
  Engine.OnRemoveActivation = [&](TObject*, int, TActivation* Activation) { Removed = Activation; };
  A->OnFire = [&](TObject*, TKBContext*) {
    // The firing activation goes off the agenda here but stays alive: the
    // run loop frees it after the rule.
    Engine.Retract(Id);
    EXPECT_EQ(Removed, Engine.GetCurrentAgendaItem());
    EXPECT_EQ(Removed->GetRule(), A);
    EXPECT_EQ(Order(), TNames{"b"});
  };
  EXPECT_EQ(Engine.Run(1), 1);
  EXPECT_EQ(Order(), TNames{"b"});
  EXPECT_EQ(Log, TNames{"<== Activation: a : f-2\r\n"});
}

TEST_F(AgendaTest, EveryTimeReordersAfterEachFiringAndKeepsRetractionWorking) {
  Engine.Parse("(deftemplate d (slot n))", true);
  TRule* D = R.Rule("d", R.Pattern("d"));
  D->SetSalience(CallValue(Call("zz-salience", {})));
  Rule("x", 5);
  Rule("y", 3);
  Salience = 10;
  Engine.Assert("(d (n 1))");
  const std::int32_t Kept = Engine.Assert("(d (n 2))");
  Engine.Assert("(d (n 3))");
  Activate("x");
  Activate("y");
  EXPECT_EQ(Order(), (TNames{"d", "d", "d", "x", "y"}));
  Salience = 1;
  // Once the top has fired, the agenda is placed anew with d read at 1.
  Engine.SetEvalSalience(sEveryTime);
  EXPECT_EQ(Engine.Run(1), 1);
  EXPECT_EQ(Order(), (TNames{"x", "y", "d", "d"}));
  // The clones are what the nodes list now.
  Engine.Retract(Kept);
  EXPECT_EQ(Order(), (TNames{"x", "y", "d"}));
  // Under the default the places stand.
  Salience = 20;
  Engine.SetEvalSalience(sActivate);
  Engine.Assert("(d (n 4))");
  EXPECT_EQ(Engine.Run(1), 1);
  EXPECT_EQ(Order(), (TNames{"x", "y", "d"}));
  // Several firings under sEveryTime keep the copy between them.
  Engine.SetEvalSalience(sEveryTime);
  EXPECT_EQ(Engine.Run(), 3);
  EXPECT_EQ(Engine.GetAgendaCount(), 0);
}

// ---------------------------------------------------------------- the tree against a vector

// Activations that no node made, placed where the test says.
class TPlacedAgenda : public TActivationAgenda {
public:
  int At = -1;

protected:
  int FindInsertion(TActivation*) override { return At; }
};

TActivation* NewActivation(float Strength = 1.0f) { return new TActivation(nullptr, IReteToken(), nullptr, Strength); }

void ExpectSame(const TActivationAgenda& Agenda, const std::vector<TActivation*>& Model) {
  ASSERT_EQ(Agenda.GetCount(), static_cast<int>(Model.size()));
  EXPECT_EQ(Agenda.ToArray(), Model);
  for (int I = 0; I < Agenda.GetCount(); ++I) {
    ASSERT_EQ(Agenda.GetActivations(I), Model[I]) << I;
    ASSERT_EQ(Agenda.IndexOfData(Model[I]), I) << I;
  }
}

TEST(ActivationAgendaTest, EveryOperationAgreesWithAVectorThroughARandomSequence) {
  TPlacedAgenda Agenda;
  std::vector<TActivation*> Model;
  std::mt19937 Random(20261125);
  auto Pick = [&](int N) { return std::uniform_int_distribution<int>(0, N - 1)(Random); };
  // Half the time within a few places of either end, where the agenda moves
  // entries by hand rather than through its tree.
  auto Place = [&](int N) {
    if (Pick(2) == 0) return Pick(N);
    const int Near = Pick(std::min(N, 12));
    return Pick(2) == 0 ? Near : N - 1 - Near;
  };
  for (int Step = 0; Step < 4000; ++Step) {
    const int Count = static_cast<int>(Model.size());
    const int Choice = Pick(Count < 50 ? 6 : 10);
    if (Choice < 6) {
      // Anywhere, at either end, or out of range, which appends.
      const int Where = Pick(5);
      Agenda.At = Where == 0 ? 0 : Where == 1 ? -1 : Where == 2 ? Count + 3 : Place(Count + 1);
      TActivation* Activation = NewActivation();
      const int Index = Agenda.Add(Activation);
      const int Expected = Agenda.At < 0 || Agenda.At > Count ? Count : Agenda.At;
      ASSERT_EQ(Index, Expected);
      Model.insert(Model.begin() + Index, Activation);
    } else if (Choice < 8) {
      const int Index = Place(Count);
      Agenda.Delete(Index);
      Model.erase(Model.begin() + Index);
    } else if (Choice == 8) {
      // Given back unfreed, then freed here; found no more.
      const int Index = Place(Count);
      std::unique_ptr<TActivation> Taken(Agenda.Extract(Index));
      ASSERT_EQ(Taken.get(), Model[Index]);
      Model.erase(Model.begin() + Index);
      EXPECT_EQ(Agenda.IndexOfData(Taken.get()), -1);
    } else {
      // An activation freed behind the agenda's back leaves its entry.
      const int Index = Place(Count);
      delete Model[Index];
      Model.erase(Model.begin() + Index);
    }
    if (Step % 97 == 0) ExpectSame(Agenda, Model);
  }
  ExpectSame(Agenda, Model);
  EXPECT_THROW(Agenda.Delete(static_cast<int>(Model.size())), EListError);
  EXPECT_THROW(Agenda.GetActivations(-1), EListError);
  EXPECT_EQ(Agenda.IndexOfData(nullptr), -1);

  // A copy shares the activations and finds them by a walk; its text is the
  // original's. Only one of the two may own them.
  {
    TActivationAgenda Copy;
    Copy.SetFreeData(false);
    Copy.Assign(&Agenda);
    ExpectSame(Copy, Model);
    EXPECT_EQ(Copy.ToString(), Agenda.ToString());
    Copy.Delete(0);
    EXPECT_EQ(Copy.IndexOfData(Model[0]), -1);
    EXPECT_EQ(Copy.IndexOfData(Model[1]), 0);
  }
  ExpectSame(Agenda, Model);

  // A replaced activation is not freed, and the entry keeps its text.
  Model[3]->SetStrength(0.25f);
  const std::string Text = Agenda.GetString(3);
  std::unique_ptr<TActivation> Old(Model[3]);
  Model[3] = NewActivation(0.5f);
  Agenda.SetActivations(3, Model[3]);
  ExpectSame(Agenda, Model);
  EXPECT_EQ(Agenda.IndexOfData(Old.get()), -1);
  EXPECT_EQ(Agenda.GetString(3), Text);
  EXPECT_EQ(Text, "0  :  (1.0000)");

  // One activation twice: the entry it names answers first; once that one is
  // out, the other is found by a walk.
  TActivation* Twice = Model[5];
  Agenda.At = 1;
  Agenda.Add(Twice);
  EXPECT_EQ(Agenda.IndexOfData(Twice), 6);
  EXPECT_EQ(Agenda.Extract(6), Twice);
  Model.insert(Model.begin() + 1, Twice);
  Model.erase(Model.begin() + 6);
  ExpectSame(Agenda, Model);

  // Emptied entry by entry from the top, the agenda starts over cleanly.
  while (!Model.empty()) {
    Agenda.Delete(0);
    Model.erase(Model.begin());
  }
  Agenda.At = 0;
  Model.push_back(NewActivation());
  Agenda.Add(Model.back());
  ExpectSame(Agenda, Model);
}

TEST(ActivationAgendaTest, EntriesKeepTheTextOfTheirArrivalAndACloneComesBackAtFullStrength) {
  TActivationAgenda Agenda;
  TActivation* Activation = NewActivation(0.5f);
  Agenda.Add(Activation);
  Activation->SetStrength(0.75f);
  EXPECT_EQ(Agenda.GetString(0), "0  :  (0.5000)");
  EXPECT_EQ(Activation->ToString(), "0  :  (0.7500)");
  EXPECT_EQ(Activation->Clone()->GetStrength(), 1.0f);
  TStringList<> Lines;
  Lines.Add("stale");
  Agenda.GetStrings(Lines);
  ASSERT_EQ(Lines.GetCount(), 1);
  EXPECT_EQ(Lines.Get(0), "0  :  (0.5000)");
  EXPECT_EQ(Lines.GetObject(0), Activation);
}

// ---------------------------------------------------------------- the engine against a model

// The agenda as a vector, placed by the conflict resolution written out
// plainly: the ends first, then the bisection, reading each rule's salience
// as it stands.
class TModelAgenda {
public:
  std::vector<TActivation*> Entries;

  int Place(std::int32_t Salience, TSearchStrategy Strategy) const {
    const int Count = static_cast<int>(Entries.size());
    if (Count == 0) return 0;
    const std::int32_t First = SalienceAt(0);
    const std::int32_t Last = SalienceAt(Count - 1);
    if (Strategy == ssDepthFirst) {
      if (Salience >= First) return 0;
      if (Salience < Last) return Count;
    } else {
      if (Salience <= Last) return Count;
      if (Salience > First) return 0;
    }
    int Lo = 0;
    int Hi = Count - 1;
    while (Lo <= Hi) {
      const int Mid = (Lo + Hi) / 2;
      if (Salience > SalienceAt(Mid))
        Hi = Mid - 1;
      else if (Salience < SalienceAt(Mid))
        Lo = Mid + 1;
      else
        return Mid;
    }
    return Hi + 1;
  }

private:
  std::int32_t SalienceAt(int Index) const { return Entries[static_cast<std::size_t>(Index)]->GetRule()->GetSalience(); }
};

TEST_F(AgendaTest, PlacesAgreeWithTheModelThroughRandomAssertionsRetractionsFiringsAndRebuilds) {
  // Rules of equal and of different saliences, and d, whose salience is read
  // anew at each of its activations, so that the agenda is not sorted by what
  // its rules read now.
  const std::vector<std::pair<const char*, std::int32_t>> Fixed{{"a", 0}, {"b", 0}, {"c", 5}, {"e", 5}, {"f", -3}};
  for (const auto& [Name, Value] : Fixed) Rule(Name, Value);
  TRule* D = Rule("d");
  D->SetSalience(CallValue(Call("zz-salience", {})));

  TModelAgenda Model;
  Engine.OnAddActivation = [&](TObject*, int Index, TActivation* Activation) {
    const int Expected = Model.Place(Activation->GetRule()->GetSalience(), Engine.GetStrategy());
    EXPECT_EQ(Index, Expected);
    Model.Entries.insert(Model.Entries.begin() + Expected, Activation);
  };
  Engine.OnRemoveActivation = [&](TObject*, int Index, TActivation* Activation) {
    const auto Found = std::find(Model.Entries.begin(), Model.Entries.end(), Activation);
    ASSERT_NE(Found, Model.Entries.end());
    EXPECT_EQ(Index, Found - Model.Entries.begin());
    Model.Entries.erase(Found);
  };

  std::mt19937 Random(7);
  auto Pick = [&](int N) { return std::uniform_int_distribution<int>(0, N - 1)(Random); };
  std::vector<std::int32_t> Facts;
  int Serial = 0;
  for (int Step = 0; Step < 1500; ++Step) {
    const int Choice = Pick(20);
    if (Choice < 11 || Facts.empty()) {
      const int Which = Pick(static_cast<int>(Fixed.size()) + 2);
      const std::string Name = Which >= static_cast<int>(Fixed.size()) ? "d" : Fixed[static_cast<std::size_t>(Which)].first;
      Salience = Pick(13) - 4;
      Facts.push_back(Engine.Assert("(" + Name + " " + std::to_string(++Serial) + ")"));
    } else if (Choice < 17) {
      const int Index = Pick(static_cast<int>(Facts.size()));
      Engine.Retract(Facts[static_cast<std::size_t>(Index)]);
      Facts.erase(Facts.begin() + Index);
    } else if (Choice < 19) {
      // The firing takes entry 0, which must be the model's top.
      if (!Model.Entries.empty()) {
        const TActivation* Top = Model.Entries.front();
        EXPECT_EQ(Engine.GetActivation(0), Top);
        Engine.Run(1);
      }
    } else {
      // A rebuild adds clones from the top of a cleared agenda.
      Model.Entries.clear();
      Engine.SetStrategy(Engine.GetStrategy() == ssDepthFirst ? ssBreadthFirst : ssDepthFirst);
    }
    ASSERT_EQ(Engine.GetAgendaCount(), static_cast<int>(Model.Entries.size())) << Step;
    if (Step % 50 == 0) {
      for (int I = 0; I < Engine.GetAgendaCount(); ++I) ASSERT_EQ(Engine.GetActivation(I), Model.Entries[I]) << Step;
    }
  }
  for (int I = 0; I < Engine.GetAgendaCount(); ++I) {
    EXPECT_EQ(Engine.GetActivation(I), Model.Entries[I]);
    EXPECT_EQ(Engine.GetAgenda()->IndexOfData(Model.Entries[I]), I);
  }
  Engine.OnAddActivation = nullptr;
  Engine.OnRemoveActivation = nullptr;
}

}  // namespace
}  // namespace cogent
