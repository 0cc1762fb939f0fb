#pragma once
// Patterns and slot tests. A pattern is one conditional element of a rule: a
// template, the tests of each slot, and what not, exists, unique and explicit
// leave on it. A slot test compares a slot (or one position of a multislot)
// with a value, or, in a join, a slot of a fact of the left token with a slot
// of the right fact.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/foundation/VXStringList.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TRule;
class TKBPattern;

enum TSlotTestType : std::uint8_t { sttEquals, sttNotEquals };

std::string EnumName(TSlotTestType V);

// Only tstSlot and tstMultiSlot occur.
using TJoinTestType = TTemplateSlotType;

// ---------------------------------------------------------------- TKBSlotTest

// The base of the tests that the network's nodes run.
class TKBSlotTest : public TPersistent {
public:
  explicit TKBSlotTest(TSlotTestType AType = sttEquals) : FSlotTestType(AType) {}

  TSlotTestType GetSlotTestType() const noexcept { return FSlotTestType; }
  virtual void SetSlotTestType(TSlotTestType Value) { FSlotTestType = Value; }

  // A test of the same class with the same content.
  virtual std::unique_ptr<TKBSlotTest> Clone() const = 0;
  // Same class and same test type.
  virtual bool Equals(const TKBSlotTest* Test) const;
  // Whether the fact (and token) of Context pass.
  virtual bool PerformTest(TKBContext* Context) const = 0;
  // "=" or "<>".
  std::string ToString() const override;
  // Copies the test type from another slot test.
  void Assign(TPersistent* Source) override;

protected:
  TSlotTestType FSlotTestType;
};

using TKBSlotTestClass = TClass;

// ---------------------------------------------------------------- TKBJoinTest

// Compares a slot of one fact of the left token with a slot of the right fact.
class TKBJoinTest : public TKBSlotTest {
public:
  // Two whole slots: tstSlot.
  TKBJoinTest(TSlotTestType AType, const TKBName& ALeftIndex, const TKBName& ARightIndex, std::int32_t ATokenIndex);
  // A position may be involved on either side: tstMultiSlot.
  TKBJoinTest(TSlotTestType AType, const TKBName& ALeftIndex, std::int32_t ALeftSubIndex, const TKBName& ARightIndex,
              std::int32_t ARightSubIndex, std::int32_t ATokenIndex);

  std::int32_t GetRightSubIndex() const noexcept { return FRightSubIndex; }
  const TKBName& GetRightIndex() const noexcept { return FRightIndex.GetName(); }
  const TKBName& GetLeftIndex() const noexcept { return FLeftIndex.GetName(); }
  std::int32_t GetTokenIndex() const noexcept { return FTokenIndex; }
  std::int32_t GetLeftSubIndex() const noexcept { return FLeftSubIndex; }
  TJoinTestType GetJoinTestType() const noexcept { return FJoinTestType; }

  std::unique_ptr<TKBSlotTest> Clone() const override;
  bool Equals(const TKBSlotTest* Test) const override;
  // Context's token is the left token, its fact the right fact. A missing
  // left or right fact passes, whatever the test type.
  bool PerformTest(TKBContext* Context) const override;
  // The same without a context, as a join runs it.
  bool Test(const TKBToken& LeftToken, const IFact& Right) const;
  std::string ToString() const override;
  void Assign(TPersistent* Source) override;

private:
  std::int32_t FRightSubIndex = NoSubIndex;
  TSlotRef FRightIndex;
  TSlotRef FLeftIndex;
  std::int32_t FTokenIndex = 0;
  std::int32_t FLeftSubIndex = NoSubIndex;
  TJoinTestType FJoinTestType = tstSlot;
};

// ---------------------------------------------------------------- TKBPatternMatchTest

// One test of a pattern's slot, or of one position of a multislot, against a
// constant, a variable, a multifield variable or a function call.
class TKBPatternMatchTest : public TKBSlotTest {
public:
  explicit TKBPatternMatchTest(TKBPattern* APattern);
  // The value is cloned.
  TKBPatternMatchTest(TKBPattern* APattern, TSlotTestType AType, std::int32_t ASubIndex, const IKBValue& AValue);
  TKBPatternMatchTest(TKBPattern* APattern, TSlotTestType AType, const IKBValue& AValue);
  // Type, sub index and conjunction of ATest, with AValue (cloned) instead of
  // its value.
  TKBPatternMatchTest(TKBPattern* APattern, const TKBPatternMatchTest& ATest, const IKBValue& AValue);

  // Nil when a network node holds the test.
  TKBPattern* GetPattern() const noexcept { return FPattern; }
  void SetPattern(TKBPattern* Value) noexcept { FPattern = Value; }
  const IKBValue& GetSlotValue() const noexcept { return FSlotValue; }
  // Stores a clone and tells the pattern.
  virtual void SetSlotValue(const IKBValue& Value);
  std::int32_t GetMultiSlotSubIndex() const noexcept { return FMultiSlotSubIndex; }
  virtual void SetMultiSlotSubIndex(std::int32_t Value);
  // False: an alternative to the tests before it at this position.
  bool GetConjunction() const noexcept { return FConjunction; }
  virtual void SetConjunction(bool Value);
  void SetSlotTestType(TSlotTestType Value) override;

  std::unique_ptr<TKBSlotTest> Clone() const override;
  // The base comparison, equal values, sub index and conjunction.
  bool Equals(const TKBSlotTest* Test) const override;
  // Compares with given parts; Negated stands for sttNotEquals.
  bool Equals(bool ANegated, bool AConjunction, std::int32_t ASubIndex, const IKBValue& AValue) const;
  bool Equals(bool ANegated, std::int32_t ASubIndex, const IKBValue& AValue) const;
  // The value resolved in Context; sttEquals passes on anything but FALSE,
  // sttNotEquals on FALSE.
  bool PerformTest(TKBContext* Context) const override;
  std::string ToString() const override;
  // Type, value (a clone), sub index and conjunction; the pattern stays.
  void Assign(TPersistent* Source) override;

  // The test as a call on Variable: (eq value var) or (neq value var) for a
  // plain value; a call value as it stands, or wrapped in (not ...) for
  // sttNotEquals.
  IFunCall ConvertToFunCall(IReasoner* Reasoner, const IKBValue& Variable) const;

private:
  IKBValue FSlotValue;
  std::int32_t FMultiSlotSubIndex = NoSubIndex;
  bool FConjunction = true;
  TKBPattern* FPattern = nullptr;
};

using TKBPatternMatchTestClass = TClass;

// ---------------------------------------------------------------- TSlotTests

// The tests of one slot, in order. Owns them; each change reaches the
// pattern's TestNotification. Removal is reported after the test has left
// the list; a removed test is then freed, an extracted one handed back.
class TSlotTests : public TObject {
public:
  explicit TSlotTests(TKBPattern* APattern) : FPattern(APattern) {}
  TSlotTests(const TSlotTests&) = delete;
  TSlotTests& operator=(const TSlotTests&) = delete;
  // Frees the tests unreported: the pattern goes with them, or has
  // cleared the list first.
  ~TSlotTests() override;

  TKBPattern* GetPattern() const noexcept { return FPattern; }
  void SetPattern(TKBPattern* Value) noexcept { FPattern = Value; }

  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  // Raises EListError for an index out of range.
  TKBPatternMatchTest* GetItem(int Index) const;
  TKBPatternMatchTest* operator[](int Index) const { return GetItem(Index); }
  int IndexOf(const TKBPatternMatchTest* Test) const noexcept;

  // Each gives the index of the new test. A nil test is not stored (Add
  // gives -1), so the list never holds one.
  int Add(std::unique_ptr<TKBPatternMatchTest> Test);
  void Insert(int Index, std::unique_ptr<TKBPatternMatchTest> Test);
  // The old test is removed (and freed), the new one, if any, put in its place.
  void SetItem(int Index, std::unique_ptr<TKBPatternMatchTest> Test);
  void Delete(int Index);
  int Remove(const TKBPatternMatchTest* Test);
  std::unique_ptr<TKBPatternMatchTest> Extract(const TKBPatternMatchTest* Test);
  // Last first, each reported.
  void Clear();

  std::vector<TKBPatternMatchTest*>::const_iterator begin() const noexcept { return FItems.begin(); }
  std::vector<TKBPatternMatchTest*>::const_iterator end() const noexcept { return FItems.end(); }

protected:
  virtual void Notify(TKBPatternMatchTest* Test, TCollectionNotification Action);

private:
  void CheckIndex(int Index) const;

  TKBPattern* FPattern;
  std::vector<TKBPatternMatchTest*> FItems;
};

// ---------------------------------------------------------------- TKBPattern

// The lines of a pattern's tests: one per slot, in sorted name order, with
// the slot's TSlotTests (nil until the first test) and the slot length (-1
// when the number of positions is not tested).
using TPatternSlots = TStringList<std::int32_t>;

// One conditional element of a rule.
class TKBPattern : public TPersistent {
public:
  // A line of length -1 for each slot of the template.
  TKBPattern(TComponent* AOwner, const TKBName& AName, TFactTemplate* ATemplate, std::int32_t ANegatedCount);
  TKBPattern(TComponent* AOwner, const TKBName& AName, const IFactTemplate& ATemplate, std::int32_t ANegatedCount);
  // A companion of APattern under another name, on the same template: each
  // test is repeated, a wildcard getting a fresh name of the same kind.
  TKBPattern(TComponent* AOwner, TKBPattern* APattern, const TKBName& AName, std::int32_t ANegatedCount);
  TKBPattern(const TKBPattern&) = delete;
  TKBPattern& operator=(const TKBPattern&) = delete;
  ~TKBPattern() override;

  // ------------------------------------------------------------ properties
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value);
  const IFactTemplate& GetFactTemplate() const noexcept { return FFactTemplate; }
  const IFactTemplate& GetTemplate() const noexcept { return FFactTemplate; }
  virtual void SetFactTemplate(const IFactTemplate& Value);
  std::int32_t GetNegatedCount() const noexcept { return FNegatedCount; }
  virtual void SetNegatedCount(std::int32_t Value);
  const TKBName& GetBoundName() const noexcept { return FBoundName; }
  // A negated "test" pattern raises _SInvalidPatternBinding.
  virtual void SetBoundName(const TKBName& Value);
  const TNotifyEvent& GetOnChange() const noexcept { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TKBName& GetName() const noexcept { return FName; }
  virtual void SetName(const TKBName& Value);
  bool GetUnique() const noexcept { return FUnique; }
  virtual void SetUnique(bool Value);
  bool GetExplicit() const noexcept { return FExplicit; }
  virtual void SetExplicit(bool Value);
  // A TRule, an engine while a rule copies its patterns, or nil.
  TComponent* GetOwner() const noexcept { return FOwner; }
  virtual void SetOwner(TComponent* Value);
  // The owner when it is a rule.
  TRule* GetRule() const noexcept;

  std::int32_t GetNumSlotTests() const noexcept { return FNumSlotTests; }
  std::int32_t GetNumORConstraints() const noexcept { return FNumORConstraints; }
  // True for an odd number of not.
  bool IsNegated() const noexcept { return (FNegatedCount & 1) != 0; }

  // ------------------------------------------------------------ slots and tests
  const TPatternSlots& GetTests() const noexcept { return FTests; }
  // Replaces the lines by copies of Source's; a TPatternSlots source gives
  // its slot lengths too.
  virtual void SetTests(const TStrings& Source);
  int GetSlotCount() const { return FTests.GetCount(); }
  std::string GetSlotName(int Slot) const { return FTests.Get(Slot); }
  std::int32_t GetSlotLength(int Slot) const { return FTests.GetData(Slot); }
  virtual void SetSlotLength(int Slot, std::int32_t Length);
  // Nil for a slot without tests.
  TSlotTests* GetSlotTests(int Slot) const;
  int GetSlotTestCount(int Slot) const;
  TKBPatternMatchTest* GetSlotTest(int Slot, int Index) const;
  // Replaces a test; the old one is freed.
  void SetSlotTest(int Slot, int Index, std::unique_ptr<TKBPatternMatchTest> Test);
  // -1 for a name without a line.
  int IndexOfSlotName(const TKBName& Name) const { return FTests.IndexOf(Name); }

  virtual std::unique_ptr<TKBPatternMatchTest> CreatePatternMatchTest(TKBPattern* APattern, TSlotTestType AType,
                                                                      std::int32_t ASubIndex, const IKBValue& AValue);
  // A copy of ATest for this pattern.
  virtual std::unique_ptr<TKBPatternMatchTest> CreatePatternMatchTest(const TKBPatternMatchTest& ATest);
  // Appends Test to the slot's tests. Raises _SNoTemplate without a template
  // and _SInvalidSlotName for a slot the template lacks; the test is then
  // freed and the pattern unchanged.
  virtual TKBPatternMatchTest* AddTest(const TKBName& SlotName, std::unique_ptr<TKBPatternMatchTest> Test);
  virtual TKBPatternMatchTest* AddTest(const TKBName& SlotName, const IKBValue& Value, std::int32_t SubIndex,
                                       bool Negated, bool Conjunction);

  // Folds the alternatives of each position into one (or ...) test on a
  // binding variable, since the network has no node for alternatives.
  // Needs the owning rule only when it must make that variable.
  virtual void FixTests();

  // ------------------------------------------------------------ change
  virtual void BeginUpdate();
  virtual void EndUpdate();
  // Outside an update: tells an owning rule, then raises OnChange.
  virtual void Change();
  virtual void TestNotification(TKBPatternMatchTest* Test, TCollectionNotification Action);
  virtual void TestChange(TKBPatternMatchTest* Test);
  virtual void TestConjunctionChange(TKBPatternMatchTest* Test);

  // ------------------------------------------------------------ copies and text
  // Comment, bound name, unique, explicit, name, template, count and tests.
  void Assign(TPersistent* Source) override;
  // A pattern of the same class. An engine as AOwner that is not the
  // template's gets the template by name, made and copied when missing.
  virtual std::unique_ptr<TKBPattern> Clone(TComponent* AOwner) const;
  std::string ToString() const override;

protected:
  struct TDeferredConstruction {};
  // For a subclass that initialises itself.
  TKBPattern(TDeferredConstruction) {}
  virtual void InitializeClass(TComponent* AOwner, const TKBName& AName, const IFactTemplate& ATemplate,
                               std::int32_t ANegatedCount);
  // A new empty pattern of this class; Clone fills it.
  virtual std::unique_ptr<TKBPattern> NewInstance(TComponent* AOwner, const TKBName& AName,
                                                  const IFactTemplate& ATemplate, std::int32_t ANegatedCount) const;

private:
  // The engine of the owner or else of the template; may be nil.
  IKnowledgeBase* Engine() const noexcept;
  TSlotTests* SlotTestsFor(int Slot);
  // Empties FTests, each test reported.
  void ClearLines();

  bool FUnique = false;
  bool FExplicit = false;
  IFactTemplate FFactTemplate;
  std::int32_t FNegatedCount = 0;
  TKBName FBoundName;
  TKBName FName;
  TPatternSlots FTests{true};
  std::int32_t FUpdateCount = 0;
  TComponent* FOwner = nullptr;
  TNotifyEvent FOnChange;
  std::int32_t FNumSlotTests = 0;
  std::int32_t FNumORConstraints = 0;
  std::string FComment;
};

using TKBPatternClass = TClass;

}  // namespace cogent
