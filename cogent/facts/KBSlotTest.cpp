#include "cogent/facts/KBSlotTest.h"

#include <utility>

#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/KBToken.h"
#include "cogent/rules/KBRule.h"

namespace cogent {

namespace {

// Calls are mutable (a rule renames variables inside them), so a test never
// shares a call, nor the calls nested in it, with the value it came from.
IKBValue CloneTestValue(const IKBValue& Value) {
  if (!Value) return nullptr;
  if (Value->GetDType() != dtFunCall) return Value->Clone();
  const IFunCall Source = Value->GetAsFunCall();
  if (!Source) return Value->Clone();
  const IFunCall Call = Source->Clone();
  for (int I = 0; I < Call->GetArgumentCount(); ++I) {
    const IKBValue Argument = Call->GetArgument(I);
    if (Argument && Argument->GetDType() == dtFunCall) Call->SetArgument(I, CloneTestValue(Argument));
  }
  return IKBValue(new TKBValue(Call));
}

bool SameValue(const IKBValue& A, const IKBValue& B) {
  if (A.get() == B.get()) return true;
  return A && B && A->Equals(B);
}

// The item at SubIndex of a multislot's list, the whole value for NoSubIndex;
// nil for a position the list lacks.
IKBValue SlotItem(const IFact& Fact, const TSlotRef& Slot, std::int32_t SubIndex) {
  IKBValue Value = Fact->GetValue(Slot);
  if (SubIndex == NoSubIndex || !Value || Value->GetDType() != dtList) return SubIndex == NoSubIndex ? Value : nullptr;
  const IValueVector List = Value->GetAsList();
  if (!List || SubIndex < 0 || SubIndex >= List->GetCount()) return nullptr;
  return List->Get(SubIndex);
}


constexpr const char* SRuleMissing = "Rule missing for pattern";

}  // namespace

std::string EnumName(TSlotTestType V) {
  switch (V) {
    case sttEquals:
      return "sttEquals";
    case sttNotEquals:
      return "sttNotEquals";
  }
  return {};
}

// ---------------------------------------------------------------- TKBSlotTest

bool TKBSlotTest::Equals(const TKBSlotTest* Test) const {
  return Test && typeid(*Test) == typeid(*this) && Test->FSlotTestType == FSlotTestType;
}

std::string TKBSlotTest::ToString() const { return FSlotTestType == sttEquals ? "=" : "<>"; }

void TKBSlotTest::Assign(TPersistent* Source) {
  if (auto* Test = dynamic_cast<TKBSlotTest*>(Source)) {
    FSlotTestType = Test->FSlotTestType;
    return;
  }
  TPersistent::Assign(Source);
}

// ---------------------------------------------------------------- TKBJoinTest

TKBJoinTest::TKBJoinTest(TSlotTestType AType, const TKBName& ALeftIndex, const TKBName& ARightIndex,
                         std::int32_t ATokenIndex)
    : TKBSlotTest(AType), FRightIndex(ARightIndex), FLeftIndex(ALeftIndex), FTokenIndex(ATokenIndex) {}

TKBJoinTest::TKBJoinTest(TSlotTestType AType, const TKBName& ALeftIndex, std::int32_t ALeftSubIndex,
                         const TKBName& ARightIndex, std::int32_t ARightSubIndex, std::int32_t ATokenIndex)
    : TKBSlotTest(AType),
      FRightSubIndex(ARightSubIndex),
      FRightIndex(ARightIndex),
      FLeftIndex(ALeftIndex),
      FTokenIndex(ATokenIndex),
      FLeftSubIndex(ALeftSubIndex),
      FJoinTestType(tstMultiSlot) {}

std::unique_ptr<TKBSlotTest> TKBJoinTest::Clone() const {
  auto Result = std::make_unique<TKBJoinTest>(FSlotTestType, GetLeftIndex(), GetRightIndex(), FTokenIndex);
  Result->Assign(const_cast<TKBJoinTest*>(this));
  return Result;
}

bool TKBJoinTest::Equals(const TKBSlotTest* Test) const {
  if (!TKBSlotTest::Equals(Test)) return false;
  const auto* Other = static_cast<const TKBJoinTest*>(Test);
  return Other->GetLeftIndex() == GetLeftIndex() && Other->GetRightIndex() == GetRightIndex() &&
         Other->FLeftSubIndex == FLeftSubIndex && Other->FRightSubIndex == FRightSubIndex &&
         Other->FTokenIndex == FTokenIndex && Other->FJoinTestType == FJoinTestType;
}

bool TKBJoinTest::PerformTest(TKBContext* Context) const {
  if (!Context || !Context->GetToken()) return true;
  return Test(*Context->GetToken(), Context->GetFact());
}

bool TKBJoinTest::Test(const TKBToken& LeftToken, const IFact& Right) const {
  const IFact& Left = LeftToken.GetFacts(FTokenIndex);
  if (!Left || !Right) return true;
  bool Result;
  if (FJoinTestType == tstSlot)
    Result = SameValue(Left->GetValueRef(FLeftIndex), Right->GetValueRef(FRightIndex));
  else
    Result = SameValue(SlotItem(Left, FLeftIndex, FLeftSubIndex), SlotItem(Right, FRightIndex, FRightSubIndex));
  return FSlotTestType == sttNotEquals ? !Result : Result;
}

std::string TKBJoinTest::ToString() const {
  std::string Result = TKBSlotTest::ToString() + " " + EnumName(FJoinTestType) + " TokenIdx: " + IntToStr(FTokenIndex);
  Result += " Left: " + GetLeftIndex();
  if (FJoinTestType == tstMultiSlot) Result += " " + IntToStr(FLeftSubIndex);
  Result += " Right: " + GetRightIndex();
  if (FJoinTestType == tstMultiSlot) Result += " " + IntToStr(FRightSubIndex);
  return Result;
}

void TKBJoinTest::Assign(TPersistent* Source) {
  if (auto* Test = dynamic_cast<TKBJoinTest*>(Source)) {
    TKBSlotTest::Assign(Source);
    FRightSubIndex = Test->FRightSubIndex;
    FRightIndex = Test->FRightIndex;
    FLeftIndex = Test->FLeftIndex;
    FTokenIndex = Test->FTokenIndex;
    FLeftSubIndex = Test->FLeftSubIndex;
    FJoinTestType = Test->FJoinTestType;
    return;
  }
  TKBSlotTest::Assign(Source);
}

// ---------------------------------------------------------------- TKBPatternMatchTest

TKBPatternMatchTest::TKBPatternMatchTest(TKBPattern* APattern) : FPattern(APattern) {}

TKBPatternMatchTest::TKBPatternMatchTest(TKBPattern* APattern, TSlotTestType AType, std::int32_t ASubIndex,
                                         const IKBValue& AValue)
    : TKBSlotTest(AType), FSlotValue(CloneTestValue(AValue)), FMultiSlotSubIndex(ASubIndex), FPattern(APattern) {}

TKBPatternMatchTest::TKBPatternMatchTest(TKBPattern* APattern, TSlotTestType AType, const IKBValue& AValue)
    : TKBPatternMatchTest(APattern, AType, NoSubIndex, AValue) {}

TKBPatternMatchTest::TKBPatternMatchTest(TKBPattern* APattern, const TKBPatternMatchTest& ATest, const IKBValue& AValue)
    : TKBSlotTest(ATest.FSlotTestType),
      FSlotValue(CloneTestValue(AValue)),
      FMultiSlotSubIndex(ATest.FMultiSlotSubIndex),
      FConjunction(ATest.FConjunction),
      FPattern(APattern) {}

void TKBPatternMatchTest::SetSlotValue(const IKBValue& Value) {
  FSlotValue = CloneTestValue(Value);
  if (FPattern) FPattern->TestChange(this);
}

void TKBPatternMatchTest::SetMultiSlotSubIndex(std::int32_t Value) {
  if (Value == FMultiSlotSubIndex) return;
  FMultiSlotSubIndex = Value;
  if (FPattern) FPattern->TestChange(this);
}

void TKBPatternMatchTest::SetConjunction(bool Value) {
  if (Value == FConjunction) return;
  FConjunction = Value;
  if (FPattern) FPattern->TestConjunctionChange(this);
}

void TKBPatternMatchTest::SetSlotTestType(TSlotTestType Value) {
  if (Value == FSlotTestType) return;
  FSlotTestType = Value;
  if (FPattern) FPattern->TestChange(this);
}

std::unique_ptr<TKBSlotTest> TKBPatternMatchTest::Clone() const {
  return std::make_unique<TKBPatternMatchTest>(FPattern, *this, FSlotValue);
}

bool TKBPatternMatchTest::Equals(const TKBSlotTest* Test) const {
  if (!TKBSlotTest::Equals(Test)) return false;
  const auto* Other = static_cast<const TKBPatternMatchTest*>(Test);
  return SameValue(Other->FSlotValue, FSlotValue) && Other->FMultiSlotSubIndex == FMultiSlotSubIndex &&
         Other->FConjunction == FConjunction;
}

bool TKBPatternMatchTest::Equals(bool ANegated, bool AConjunction, std::int32_t ASubIndex,
                                 const IKBValue& AValue) const {
  return AConjunction == FConjunction && Equals(ANegated, ASubIndex, AValue);
}

bool TKBPatternMatchTest::Equals(bool ANegated, std::int32_t ASubIndex, const IKBValue& AValue) const {
  return (FSlotTestType == sttNotEquals) == ANegated && ASubIndex == FMultiSlotSubIndex && SameValue(AValue, FSlotValue);
}

bool TKBPatternMatchTest::PerformTest(TKBContext* Context) const {
  const IKBValue Result = FSlotValue ? FSlotValue->Resolve(Context) : IKBValue();
  const bool IsFalse = Result && Result->Equals(FCFalse);
  return FSlotTestType == sttEquals ? !IsFalse : IsFalse;
}

std::string TKBPatternMatchTest::ToString() const {
  std::string Result = TKBSlotTest::ToString() + " SubIdx: " + IntToStr(FMultiSlotSubIndex);
  if (FSlotValue) Result += " Slot: " + FSlotValue->ToString();
  return Result;
}

void TKBPatternMatchTest::Assign(TPersistent* Source) {
  if (auto* Test = dynamic_cast<TKBPatternMatchTest*>(Source)) {
    if (Test == this) return;
    TKBSlotTest::Assign(Source);
    FSlotValue = CloneTestValue(Test->FSlotValue);
    FMultiSlotSubIndex = Test->FMultiSlotSubIndex;
    const bool WasConjunction = FConjunction;
    FConjunction = Test->FConjunction;
    if (FPattern) {
      if (WasConjunction != FConjunction) FPattern->TestConjunctionChange(this);
      FPattern->TestChange(this);
    }
    return;
  }
  TKBSlotTest::Assign(Source);
}

IFunCall TKBPatternMatchTest::ConvertToFunCall(IReasoner* Reasoner, const IKBValue& Variable) const {
  if (FSlotValue && FSlotValue->GetDType() == dtFunCall) {
    if (FSlotTestType == sttEquals) return FSlotValue->GetAsFunCall();
    IFunCall Result(new TFunctionCall(Reasoner, "not"));
    Result->AddArgument(FSlotValue);
    return Result;
  }
  IFunCall Result(new TFunctionCall(Reasoner, FSlotTestType == sttEquals ? "eq" : "neq"));
  Result->AddArgument(FSlotValue ? FSlotValue->Clone() : IKBValue(new TKBValue()));
  Result->AddArgument(Variable ? Variable->Clone() : IKBValue(new TKBValue()));
  return Result;
}

// ---------------------------------------------------------------- TSlotTests

TSlotTests::~TSlotTests() {
  for (TKBPatternMatchTest* Test : FItems) delete Test;
}

void TSlotTests::CheckIndex(int Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
}

TKBPatternMatchTest* TSlotTests::GetItem(int Index) const {
  CheckIndex(Index);
  return FItems[static_cast<std::size_t>(Index)];
}

int TSlotTests::IndexOf(const TKBPatternMatchTest* Test) const noexcept {
  for (std::size_t I = 0; I < FItems.size(); ++I)
    if (FItems[I] == Test) return static_cast<int>(I);
  return -1;
}

int TSlotTests::Add(std::unique_ptr<TKBPatternMatchTest> Test) {
  if (!Test) return -1;
  Insert(GetCount(), std::move(Test));
  return GetCount() - 1;
}

void TSlotTests::Insert(int Index, std::unique_ptr<TKBPatternMatchTest> Test) {
  if (Index < 0 || Index > GetCount()) throw EListError(Format(SListIndexError, Index));
  if (!Test) return;
  TKBPatternMatchTest* Item = Test.get();
  FItems.insert(FItems.begin() + Index, Item);
  Test.release();
  Item->SetPattern(FPattern);
  Notify(Item, cnAdded);
}

void TSlotTests::SetItem(int Index, std::unique_ptr<TKBPatternMatchTest> Test) {
  CheckIndex(Index);
  Delete(Index);
  Insert(Index, std::move(Test));
}

void TSlotTests::Delete(int Index) {
  CheckIndex(Index);
  TKBPatternMatchTest* Item = FItems[static_cast<std::size_t>(Index)];
  FItems.erase(FItems.begin() + Index);
  Notify(Item, cnRemoved);
}

int TSlotTests::Remove(const TKBPatternMatchTest* Test) {
  const int Index = IndexOf(Test);
  if (Index >= 0) Delete(Index);
  return Index;
}

std::unique_ptr<TKBPatternMatchTest> TSlotTests::Extract(const TKBPatternMatchTest* Test) {
  const int Index = IndexOf(Test);
  if (Index < 0 || !Test) return nullptr;
  std::unique_ptr<TKBPatternMatchTest> Result(FItems[static_cast<std::size_t>(Index)]);
  FItems.erase(FItems.begin() + Index);
  Notify(Result.get(), cnExtracted);
  return Result;
}

void TSlotTests::Clear() {
  while (!FItems.empty()) Delete(GetCount() - 1);
}

void TSlotTests::Notify(TKBPatternMatchTest* Test, TCollectionNotification Action) {
  if (!Test) return;
  // The test is freed even when the pattern's report raises.
  std::unique_ptr<TKBPatternMatchTest> Removed(Action == cnRemoved ? Test : nullptr);
  if (FPattern) FPattern->TestNotification(Test, Action);
}

// ---------------------------------------------------------------- TKBPattern

TKBPattern::TKBPattern(TComponent* AOwner, const TKBName& AName, TFactTemplate* ATemplate, std::int32_t ANegatedCount)
    : TKBPattern(AOwner, AName, IFactTemplate(ATemplate), ANegatedCount) {}

TKBPattern::TKBPattern(TComponent* AOwner, const TKBName& AName, const IFactTemplate& ATemplate,
                       std::int32_t ANegatedCount) {
  InitializeClass(AOwner, AName, ATemplate, ANegatedCount);
}

TKBPattern::TKBPattern(TComponent* AOwner, TKBPattern* APattern, const TKBName& AName, std::int32_t ANegatedCount) {
  InitializeClass(AOwner, AName, APattern ? APattern->FFactTemplate : IFactTemplate(), ANegatedCount);
  if (!APattern) return;
  IKnowledgeBase* Generator = Engine();
  BeginUpdate();
  for (int Slot = 0; Slot < APattern->GetSlotCount(); ++Slot) {
    const std::string SlotName = APattern->GetSlotName(Slot);
    int Line = IndexOfSlotName(SlotName);
    if (Line < 0) Line = FTests.AddObject(SlotName, nullptr, -1);
    FTests.PutData(Line, APattern->GetSlotLength(Slot));
    const TSlotTests* Tests = APattern->GetSlotTests(Slot);
    if (!Tests) continue;
    for (const TKBPatternMatchTest* Test : *Tests) {
      if (!Test) continue;
      IKBValue Value = Test->GetSlotValue();
      if (IsVariable(Value) && Value->GetAsString().starts_with(SBlankPrefix)) {
        if (!Generator) throw EKBException(_SUnknownEngine);
        const char* Prefix = Value->GetAsString().starts_with(SBlankMulti) ? SBlankMulti : SBlankPrefix;
        Value = IKBValue(new TKBValue(Generator->GenerateSymbol(Prefix), Value->GetDType()));
      }
      SlotTestsFor(Line)->Add(std::make_unique<TKBPatternMatchTest>(this, *Test, Value));
    }
  }
  // No rule hears of a pattern under construction.
  FUpdateCount = 0;
}

TKBPattern::~TKBPattern() = default;

void TKBPattern::ClearLines() {
  // Each test is taken out with a report, so that the counters follow.
  for (int I = 0; I < FTests.GetCount(); ++I)
    if (auto* Tests = static_cast<TSlotTests*>(FTests.GetObject(I))) Tests->Clear();
  FTests.Clear();
}

void TKBPattern::InitializeClass(TComponent* AOwner, const TKBName& AName, const IFactTemplate& ATemplate,
                                 std::int32_t ANegatedCount) {
  FOwner = AOwner;
  FName = AName;
  FFactTemplate = ATemplate;
  FNegatedCount = ANegatedCount;
  ClearLines();
  FTests.SetOwnsObject(true);
  FTests.SetCaseSensitive(true);
  FTests.SetSorted(true);
  if (!FFactTemplate) return;
  const TStringList<>& Names = FFactTemplate->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) FTests.AddObject(Names.GetString(I), nullptr, -1);
}

std::unique_ptr<TKBPattern> TKBPattern::NewInstance(TComponent* AOwner, const TKBName& AName,
                                                    const IFactTemplate& ATemplate, std::int32_t ANegatedCount) const {
  return std::make_unique<TKBPattern>(AOwner, AName, ATemplate, ANegatedCount);
}

IKnowledgeBase* TKBPattern::Engine() const noexcept {
  if (TRule* Rule = GetRule())
    if (IKnowledgeBase* Result = KnowledgeBaseOf(Rule->GetEngine())) return Result;
  if (IKnowledgeBase* Result = KnowledgeBaseOf(FOwner)) return Result;
  return FFactTemplate ? FFactTemplate->GetEngine() : nullptr;
}

TRule* TKBPattern::GetRule() const noexcept { return dynamic_cast<TRule*>(FOwner); }

// ------------------------------------------------------------ properties

void TKBPattern::SetComment(const std::string& Value) {
  if (Value == FComment) return;
  FComment = Value;
  Change();
}

void TKBPattern::SetFactTemplate(const IFactTemplate& Value) {
  if (Value == FFactTemplate) return;
  FFactTemplate = Value;
  Change();
}

void TKBPattern::SetNegatedCount(std::int32_t Value) {
  if (Value == FNegatedCount) return;
  FNegatedCount = Value;
  Change();
}

void TKBPattern::SetBoundName(const TKBName& Value) {
  if (IsNegated() && FName == STestCE) throw EKBException(_SInvalidPatternBinding);
  if (Value == FBoundName) return;
  FBoundName = Value;
  Change();
}

void TKBPattern::SetName(const TKBName& Value) {
  if (Value == FName) return;
  FName = Value;
  Change();
}

void TKBPattern::SetUnique(bool Value) {
  if (Value == FUnique) return;
  FUnique = Value;
  Change();
}

void TKBPattern::SetExplicit(bool Value) {
  if (Value == FExplicit) return;
  FExplicit = Value;
  Change();
}

void TKBPattern::SetOwner(TComponent* Value) {
  if (Value == FOwner) return;
  // The old owner hears of the pattern leaving, the new one of its coming.
  const bool BothSet = FOwner && Value;
  if (BothSet) Change();
  FOwner = Value;
  if (BothSet) Change();
}

// ------------------------------------------------------------ slots and tests

TSlotTests* TKBPattern::GetSlotTests(int Slot) const { return static_cast<TSlotTests*>(FTests.GetObject(Slot)); }

int TKBPattern::GetSlotTestCount(int Slot) const {
  const TSlotTests* Tests = GetSlotTests(Slot);
  return Tests ? Tests->GetCount() : 0;
}

TKBPatternMatchTest* TKBPattern::GetSlotTest(int Slot, int Index) const {
  const TSlotTests* Tests = GetSlotTests(Slot);
  if (!Tests) throw EListError(Format(SListIndexError, Index));
  return Tests->GetItem(Index);
}

void TKBPattern::SetSlotTest(int Slot, int Index, std::unique_ptr<TKBPatternMatchTest> Test) {
  TSlotTests* Tests = GetSlotTests(Slot);
  if (!Tests) throw EListError(Format(SListIndexError, Index));
  Tests->SetItem(Index, std::move(Test));
}

TSlotTests* TKBPattern::SlotTestsFor(int Slot) {
  auto* Tests = static_cast<TSlotTests*>(FTests.GetObject(Slot));
  if (!Tests) {
    Tests = new TSlotTests(this);
    FTests.PutObject(Slot, Tests);
  }
  return Tests;
}

void TKBPattern::SetSlotLength(int Slot, std::int32_t Length) {
  if (FTests.GetData(Slot) != Length) FTests.PutData(Slot, Length);
}

std::unique_ptr<TKBPatternMatchTest> TKBPattern::CreatePatternMatchTest(TKBPattern* APattern, TSlotTestType AType,
                                                                        std::int32_t ASubIndex,
                                                                        const IKBValue& AValue) {
  return std::make_unique<TKBPatternMatchTest>(APattern, AType, ASubIndex, AValue);
}

std::unique_ptr<TKBPatternMatchTest> TKBPattern::CreatePatternMatchTest(const TKBPatternMatchTest& ATest) {
  return std::make_unique<TKBPatternMatchTest>(this, ATest, ATest.GetSlotValue());
}

TKBPatternMatchTest* TKBPattern::AddTest(const TKBName& SlotName, std::unique_ptr<TKBPatternMatchTest> Test) {
  if (!FFactTemplate) throw EKBException(_SNoTemplate);
  if (!FFactTemplate->ContainsSlot(SlotName)) throw EKBException(Format(_SInvalidSlotName, SlotName));
  int Line = IndexOfSlotName(SlotName);
  if (Line < 0) Line = FTests.AddObject(SlotName, nullptr, -1);
  TKBPatternMatchTest* Result = Test.get();
  SlotTestsFor(Line)->Add(std::move(Test));
  return Result;
}

TKBPatternMatchTest* TKBPattern::AddTest(const TKBName& SlotName, const IKBValue& Value, std::int32_t SubIndex,
                                         bool Negated, bool Conjunction) {
  std::unique_ptr<TKBPatternMatchTest> Test =
      CreatePatternMatchTest(this, Negated ? sttNotEquals : sttEquals, SubIndex, Value);
  // Not through SetConjunction: the test is not counted yet.
  if (!Conjunction) {
    Test->SetPattern(nullptr);
    Test->SetConjunction(false);
    Test->SetPattern(this);
  }
  return AddTest(SlotName, std::move(Test));
}

void TKBPattern::SetTests(const TStrings& Source) {
  if (&Source == &FTests) return;
  // Checked first, so that a refused source leaves the lines as they are.
  for (int I = 0; I < Source.GetCount(); ++I) {
    const auto* Tests = dynamic_cast<const TSlotTests*>(Source.GetObject(I));
    if (!Tests || Tests->GetCount() == 0) continue;
    if (!FFactTemplate) throw EKBException(_SNoTemplate);
    if (!FFactTemplate->ContainsSlot(Source.Get(I))) throw EKBException(Format(_SInvalidSlotName, Source.Get(I)));
  }
  const auto* Slots = dynamic_cast<const TPatternSlots*>(&Source);
  const auto Update = UpdateGuard(*this);
  ClearLines();
  for (int I = 0; I < Source.GetCount(); ++I) {
    const std::string SlotName = Source.Get(I);
    int Line = IndexOfSlotName(SlotName);
    if (Line < 0) Line = FTests.AddObject(SlotName, nullptr, -1);
    if (Slots) FTests.PutData(Line, Slots->GetData(I));
    const auto* Tests = dynamic_cast<const TSlotTests*>(Source.GetObject(I));
    if (!Tests) continue;
    for (const TKBPatternMatchTest* Test : *Tests)
      if (Test) AddTest(SlotName, CreatePatternMatchTest(*Test));
  }
}

// ------------------------------------------------------------ alternatives

void TKBPattern::FixTests() {
  if (FNumORConstraints == 0) return;
  TRule* Rule = GetRule();
  IKnowledgeBase* Host = Engine();
  IReasoner* Reasoner = Host;

  // The new lists are built before any is replaced, so that a refusal
  // leaves the pattern as it was.
  struct TRebuilt {
    int Line;
    std::vector<std::unique_ptr<TKBPatternMatchTest>> Tests;
  };
  std::vector<TRebuilt> Rebuilt;
  for (int Line = 0; Line < FTests.GetCount(); ++Line) {
    const TSlotTests* Tests = GetSlotTests(Line);
    if (!Tests || Tests->GetCount() == 0) continue;
    bool HasAlternative = false;
    for (const TKBPatternMatchTest* Test : *Tests) HasAlternative = HasAlternative || !Test->GetConjunction();
    if (!HasAlternative) continue;

    TRebuilt Slot{Line, {}};
    const std::string SlotName = FTests.Get(Line);
    const int Count = Tests->GetCount();
    int I = 0;
    while (I < Count) {
      const std::int32_t Position = Tests->GetItem(I)->GetMultiSlotSubIndex();
      int End = I;
      bool Alternative = false;
      while (End < Count && Tests->GetItem(End)->GetMultiSlotSubIndex() == Position) {
        Alternative = Alternative || !Tests->GetItem(End)->GetConjunction();
        ++End;
      }
      if (!Alternative) {
        for (; I < End; ++I) Slot.Tests.push_back(CreatePatternMatchTest(*Tests->GetItem(I)));
        continue;
      }

      // The binder holds the slot's value for the alternatives to test. A
      // negated variable is a test of its own, not a binding.
      IKBValue Binder;
      const TKBPatternMatchTest* First = Tests->GetItem(I);
      if (First->GetSlotValue() && First->GetSlotValue()->GetDType() == dtVariable &&
          First->GetSlotTestType() == sttEquals) {
        Binder = First->GetSlotValue();
        ++I;
      } else {
        if (!Rule) throw EKBException(SRuleMissing);
        if (!Host) throw EKBException(_SUnknownEngine);
        const std::string Name = Host->GenerateSymbol(SBlankPrefix);
        Binder = IKBValue(new TKBValue(Name, dtVariable));
        Rule->AddBinding(Name, Rule->GetPatterns()->GetCount() - 1, SlotName, Position);
      }
      Slot.Tests.push_back(CreatePatternMatchTest(this, sttEquals, Position, Binder));

      const IFunCall OrCall(new TFunctionCall(Reasoner, "or"));
      while (I < End) {
        int N = 1;
        while (I + N < End && Tests->GetItem(I + N)->GetConjunction()) ++N;
        if (N == 1) {
          OrCall->AddArgument(Tests->GetItem(I)->ConvertToFunCall(Reasoner, Binder));
        } else {
          const IFunCall AndCall(new TFunctionCall(Reasoner, "and"));
          for (int K = I; K < I + N; ++K) AndCall->AddArgument(Tests->GetItem(K)->ConvertToFunCall(Reasoner, Binder));
          OrCall->AddArgument(AndCall);
        }
        I += N;
      }
      Slot.Tests.push_back(CreatePatternMatchTest(this, sttEquals, Position, IKBValue(new TKBValue(OrCall))));
    }
    Rebuilt.push_back(std::move(Slot));
  }

  const auto Update = UpdateGuard(*this);
  for (TRebuilt& Slot : Rebuilt) {
    TSlotTests* Tests = SlotTestsFor(Slot.Line);
    Tests->Clear();
    for (auto& Test : Slot.Tests) Tests->Add(std::move(Test));
  }
}

// ------------------------------------------------------------ change

void TKBPattern::BeginUpdate() { ++FUpdateCount; }

void TKBPattern::EndUpdate() {
  if (FUpdateCount > 0) --FUpdateCount;
  if (FUpdateCount == 0) Change();
}

void TKBPattern::Change() {
  if (FUpdateCount != 0) return;
  if (TRule* Rule = GetRule()) Rule->Change(this);
  if (FOnChange) FOnChange(this);
}

void TKBPattern::TestNotification(TKBPatternMatchTest* Test, TCollectionNotification Action) {
  if (!Test) return;
  if (Action == cnAdded) {
    ++FNumSlotTests;
    if (!Test->GetConjunction()) ++FNumORConstraints;
  } else if (Action == cnExtracted || Action == cnRemoved) {
    --FNumSlotTests;
    if (!Test->GetConjunction()) --FNumORConstraints;
  }
  Change();
}

void TKBPattern::TestChange(TKBPatternMatchTest* Test) {
  (void)Test;
  Change();
}

void TKBPattern::TestConjunctionChange(TKBPatternMatchTest* Test) {
  if (!Test) return;
  FNumORConstraints += Test->GetConjunction() ? -1 : 1;
  Change();
}

// ------------------------------------------------------------ copies and text

void TKBPattern::Assign(TPersistent* Source) {
  auto* Pattern = dynamic_cast<TKBPattern*>(Source);
  if (!Pattern) {
    TPersistent::Assign(Source);
    return;
  }
  if (Pattern == this) return;
  const auto Update = UpdateGuard(*this);
  // The template first: the tests are checked against it.
  const IFactTemplate OldTemplate = FFactTemplate;
  FFactTemplate = Pattern->FFactTemplate;
  try {
    SetTests(Pattern->FTests);
  } catch (...) {
    FFactTemplate = OldTemplate;
    throw;
  }
  FComment = Pattern->FComment;
  FBoundName = Pattern->FBoundName;
  FUnique = Pattern->FUnique;
  FExplicit = Pattern->FExplicit;
  FName = Pattern->FName;
  FNegatedCount = Pattern->FNegatedCount;
}

std::unique_ptr<TKBPattern> TKBPattern::Clone(TComponent* AOwner) const {
  IFactTemplate Template = FFactTemplate;
  IKnowledgeBase* Target = KnowledgeBaseOf(AOwner);
  if (Target && Template && Template->GetEngine() != Target) {
    // The pattern moves to another engine: it takes that engine's template.
    IFactTemplate Found = Target->FindFactTemplate(Template->GetTemplateName());
    if (!Found) {
      Found = Target->CreateFactTemplate(Template->GetTemplateName());
      Found->Assign(static_cast<TPersistent*>(Template.get()));
    }
    Template = Found;
  }
  std::unique_ptr<TKBPattern> Result = NewInstance(AOwner, FName, Template, FNegatedCount);
  Result->Assign(const_cast<TKBPattern*>(this));
  Result->FFactTemplate = Template;
  return Result;
}

std::string TKBPattern::ToString() const { return PrettyPrint(*this, Engine()); }

}  // namespace cogent
