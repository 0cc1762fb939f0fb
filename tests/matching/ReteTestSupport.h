#pragma once
// Rules made through the programming interface, for the network's tests and
// benchmarks: patterns with their slot tests, test elements, and a look at
// the agenda.

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../TestSupport.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/rules/KBRule.h"

namespace cogent::test {

inline IKBValue MVar(const std::string& S) { return IKBValue(new TKBValue(S, dtMultiVariable)); }

inline IFunCall Call(const std::string& Name, std::initializer_list<IKBValue> Arguments) {
  IFunCall Result(new TFunctionCall(Name));
  for (const IKBValue& Argument : Arguments) Result->AddArgument(Argument);
  return Result;
}
inline IKBValue CallValue(const IFunCall& Call) { return IKBValue(new TKBValue(Call)); }

// One test of a slot: the value, the position in a multislot, and ~.
struct TSlotTest {
  std::string Slot;
  IKBValue Value;
  std::int32_t Sub = NoSubIndex;
  bool Negated = false;
};

class TRuleBuilder {
public:
  explicit TRuleBuilder(TInferenceEngine& AEngine) : Engine(AEngine) {}

  // A pattern on template Name; Not is the number of enclosing not (2 for
  // exists, 3 for not exists).
  std::unique_ptr<TKBPattern> Pattern(const std::string& Name, std::initializer_list<TSlotTest> Tests = {},
                                      std::int32_t Not = 0, bool Unique = false) {
    IFactTemplate Template = Engine.FindFactTemplate(Name);
    if (!Template) Template = Engine.CreateFactTemplate(Name);
    auto Result = std::make_unique<TKBPattern>(nullptr, Name, Template, Not);
    for (const TSlotTest& Test : Tests) Result->AddTest(Test.Slot, Test.Value, Test.Sub, Test.Negated, true);
    Result->SetUnique(Unique);
    return Result;
  }

  // (test (Call)).
  std::unique_ptr<TKBPattern> Test(const IFunCall& Call) {
    auto Result = std::make_unique<TKBPattern>(nullptr, STestCE, Engine.CreateFactTemplate(STestCE), 0);
    Result->AddTest(SDefaultSlotName, CallValue(Call), NoSubIndex, false, true);
    return Result;
  }

  // A rule of the engine with these patterns, in no table yet.
  template <class... P>
  TRule* NewRule(const std::string& Name, P&&... Patterns) {
    auto* Result = new TRule(&Engine, "", Name);
    (Result->GetPatterns()->Add(std::forward<P>(Patterns)), ...);
    return Result;
  }

  // The same, entered in the current module's table and so compiled.
  template <class... P>
  TRule* Rule(const std::string& Name, P&&... Patterns) {
    TRule* Result = NewRule(Name, std::forward<P>(Patterns)...);
    Engine.GetRules()->Add(Result);
    return Result;
  }

  // The asserted fact of that text.
  IFact Assert(const std::string& Text) {
    const std::int32_t Id = Engine.Assert(Text);
    const int Index = Engine.GetFacts()->FindFact(Id);
    return Index >= 0 ? Engine.GetFacts()->Get(Index) : IFact();
  }

  // "rule: f-1, f-2" for each activation on the agenda, sorted.
  std::vector<std::string> Agenda() const {
    std::vector<std::string> Result;
    for (int I = 0; I < Engine.GetAgendaCount(); ++I) {
      const TActivation* Activation = Engine.GetActivation(I);
      Result.push_back(Activation->GetRule()->GetRuleName() + ": " + Activation->GetToken()->GetToFactsString());
    }
    std::sort(Result.begin(), Result.end());
    return Result;
  }

  TInferenceEngine& Engine;
};

}  // namespace cogent::test
