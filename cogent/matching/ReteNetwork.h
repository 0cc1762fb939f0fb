#pragma once
// The compiled network of a module's rules. A rule becomes, per pattern, a
// chain of one-input nodes that test a single fact, then a ladder of joins
// that combine the patterns from left to right, and last a terminal node
// that holds the rule's activations. Rules share every node they can.
//
// Tokens flow depth first: the engine hands each asserted or retracted fact
// to ProcessToken, and when the call returns every memory and every terminal
// node is up to date.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "cogent/common/VXGraph.h"
#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBModule.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/matching/KBToken.h"

namespace cogent {

class IKnowledgeBase;
class TReteNetwork;
class TReteNode;
class TPatternMatchTerminalNode;
class TActivation;

// ---------------------------------------------------------------- IReteRule

// What the network asks of a rule: its patterns and bindings to compile, the
// switches that decide whether a match becomes an activation, and the account
// of its compilation. TRule is the implementation; the network and the
// activations hold rules only through this view.
class IReteRule {
public:
  // The rule as a component, for free notification.
  virtual TComponent* GetRuleComponent() noexcept = 0;
  virtual const TKBName& GetRuleName() const noexcept = 0;
  virtual int GetPatternCount() const noexcept = 0;
  virtual TKBPattern* GetPattern(int Index) const = 0;
  // Appends a pattern, which the rule works out as any added pattern.
  virtual void AppendPattern(std::unique_ptr<TKBPattern> Pattern) = 0;
  virtual TBinding* GetBindingByName(const TKBName& Name) const noexcept = 0;
  virtual const std::string& GetCompilation() const noexcept = 0;
  virtual void SetCompilation(const std::string& Value) = 0;
  virtual bool GetEnabled() const noexcept = 0;
  virtual bool GetOneShot() const noexcept = 0;
  virtual bool GetHasFired() const noexcept = 0;
  virtual std::int32_t GetSalience() const noexcept = 0;
  // Works the salience out anew, as an activation enters the agenda.
  virtual std::int32_t EvaluateSalience() = 0;
  // An activation takes the focus to the rule's module.
  virtual bool GetAutoFocus() const noexcept = 0;
  virtual void Fire(const IReteToken& Token) = 0;

protected:
  ~IReteRule() = default;
};

// ---------------------------------------------------------------- TActivation

class TActivationAgenda;

// The agenda that holds an activation, as the activation sees it.
class IActivationHolder {
public:
  // The activation is being freed while it still stands there: its entry goes
  // quietly, without freeing it again.
  virtual void ActivationFreed(TActivation* Activation) noexcept = 0;

protected:
  ~IActivationHolder() = default;
};

// One rule with one token that satisfies all its patterns. The agenda owns
// an activation once the engine has it; a network without an engine owns its
// activations itself. The terminal node that made it lists it until it is
// stood down or fired.
class TActivation : public TPersistent {
public:
  COGENT_POOLED(TActivation)

  TActivation(IReteRule* ARule, const IReteToken& AToken, TPatternMatchTerminalNode* ANode, float AStrength);
  TActivation(const TActivation&) = delete;
  TActivation& operator=(const TActivation&) = delete;
  // Leaves the node's list, if it is still there.
  ~TActivation() override;

  IReteRule* GetRule() const noexcept { return FRule; }
  const IReteToken& GetToken() const noexcept { return FToken; }
  TPatternMatchTerminalNode* GetNode() const noexcept { return FNode; }
  float GetStrength() const noexcept { return FStrength; }
  // Clipped to 0 .. 1.
  void SetStrength(float Value) noexcept;

  // The same rule, token and node, with strength 1.
  virtual std::unique_ptr<TActivation> Clone() const;
  // Runs the rule on the token, then tells the node that the rule fired.
  virtual bool Fire();
  // "10 fire-alarm : f-3, f-7 (1.0000)".
  std::string ToString() const override;
  // The same with the salience and strength given: an agenda's entry reads as
  // the activation did when it came in.
  std::string ToString(std::int32_t Salience, float Strength) const;
  void Assign(TPersistent* Source) override;

private:
  friend class TPatternMatchTerminalNode;
  friend class TActivationAgenda;
  // The strength first, beside the reference count, and the other small
  // fields last: an activation is 72 bytes.
  float FStrength = 1.0f;
  IReteRule* FRule;
  IReteToken FToken;
  TPatternMatchTerminalNode* FNode;
  // The agenda that finds the activation's entry without a search, and (below)
  // the entry there. The first agenda to take the activation in while no
  // other holds it sets them; the agenda clears them when the entry goes.
  IActivationHolder* FHolder = nullptr;
  // The node's index by token: the next activation of its bucket, and (below)
  // the sort code it is filed under.
  TActivation* FNextByToken = nullptr;
  // Where the node lists it; -1 once it left the list.
  int FListIndex = -1;
  std::int32_t FHolderEntry = -1;
  std::int32_t FListCode = 0;
  // The node's count of activations, modulo 2^32, when it made this one: the
  // index, built late, files equal tokens newest first by it.
  std::uint32_t FSerial = 0;
};

// ---------------------------------------------------------------- vocabulary

// How a node is reached through an edge.
enum TCallType : std::uint8_t { ctLeft, ctRight, ctSingle, ctActivate };
std::string EnumName(TCallType V);

// The test of a one-input node.
enum TPatternMatchTest : std::uint8_t {
  pmtUnknown,                 // root of a test pseudo-pattern: passes clear tokens only
  pmtTestClassType,           // root of a pattern: the fact's template or one derived from it
  pmtTestEqual,               // whole slot against the value
  pmtTestNotEqual,
  pmtTestSlotValueEqual,      // two slots of the same fact
  pmtTestSlotValueNotEqual,
  pmtTestMultiSlotEqual,      // one position of a multislot against the value
  pmtTestMultiSlotNotEqual,
  pmtTestMultiSlotLength,     // a multislot has exactly so many items
  pmtTestMultiSlotMultiField, // a $? variable stands at this position
  pmtFailTest                 // stops every token that has a fact
};
std::string EnumName(TPatternMatchTest V);

// A node argument: a slot name or a number.
using TNodeArg = std::variant<std::int32_t, std::string>;
using TNodeArgsArray = std::vector<TNodeArg>;
std::string NodeArgToString(const TNodeArg& Arg);

// ---------------------------------------------------------------- TReteEdge

class TReteEdge : public TGGraphEdge {
public:
  TReteEdge(TGGraphNode* AFromNode, TGGraphNode* AToNode) noexcept : TGGraphEdge(AFromNode, AToNode) {}

  TCallType GetCallType() const noexcept { return FCallType; }
  void SetCallType(TCallType Value) noexcept { FCallType = Value; }
  // Every node of a network is a TReteNode.
  TReteNode* GetToReteNode() const noexcept;

private:
  TCallType FCallType = ctSingle;
};

// ---------------------------------------------------------------- TReteNode

class TReteNode : public TGLinkedGraphNode {
public:
  explicit TReteNode(TReteNetwork* ARete) : FRete(ARete) {}

  TReteNetwork* GetRete() const noexcept { return FRete; }
  std::int32_t GetRuleUseCount() const noexcept { return FRuleUseCount; }
  // Never below 0.
  void SetRuleUseCount(std::int32_t Value) noexcept { FRuleUseCount = Value < 0 ? 0 : Value; }
  // A child of the engine's global context, made on first use; nil without
  // an engine.
  TKBContext* GetContext();

  // Value resolved in the node's context with Token and Fact under test;
  // true unless it gives FALSE.
  virtual bool Evaluate(const IKBValue& Call, const IReteToken& Token, const IFact& Fact);
  // The node's work on a token that arrives through an edge of CallType.
  virtual bool CallNode(const IReteToken& Token, TCallType CallType) = 0;
  // What a clear token does to this node alone: memories and activations go.
  virtual void ClearNode() {}
  // Each child through each outgoing edge, in edge order.
  void CallChildren(const IReteToken& Token);
  // Links a child; the edge carries CallType.
  TReteEdge* LinkTo(TReteNode* Child, TCallType CallType);
  int GetChildCount() const noexcept { return GetEdgeCount(); }
  TReteEdge* GetChildEdge(int Index) const { return static_cast<TReteEdge*>(GetEdge(Index)); }

  std::string ToString() const override;

protected:
  std::unique_ptr<TGGraphEdge> NewEdge(TGGraphNode* ToNode) override;
  void AddingEdgeFrom(TGGraphNode* FromNode) override;
  void RemovingEdgeFrom(TGGraphNode* FromNode) override;

private:
  TReteNetwork* FRete;
  std::int32_t FRuleUseCount = 1;
  std::unique_ptr<TKBContext> FContext;
};

using TReteNodeClass = std::function<std::unique_ptr<TReteNode>(TReteNetwork* Rete)>;

// ---------------------------------------------------------------- TPatternMatchNode

// A one-input node: one test on the token's own fact.
class TPatternMatchNode : public TReteNode {
public:
  explicit TPatternMatchNode(TReteNetwork* ARete) : TReteNode(ARete) {}

  const IKBValue& GetValue() const noexcept { return FValue; }
  const TNodeArgsArray& GetArguments() const noexcept { return FArguments; }
  TPatternMatchTest GetPatternMatchTest() const noexcept { return FPatternMatchTest; }
  // Sets the test, its arguments and its value at once.
  virtual void SetPatternMatchTest(TPatternMatchTest Test, const TNodeArgsArray& Args, const IKBValue& Value);

  bool CallNode(const IReteToken& Token, TCallType CallType) override;
  // Compares the values (value2 equal to value1, inverted by Negate) and on
  // success passes the token on, weakened to a fuzzy match's degree.
  virtual bool CallChildren(const IReteToken& Token, const IKBValue& Value1, const IKBValue& Value2, bool Negate);
  using TReteNode::CallChildren;
  // Same test, an equal value (a fuzzy one to degree 1) and the same
  // arguments; a nil Value stands for a node without value.
  virtual bool Equals(TPatternMatchTest Test, const IKBValue& Value, const TNodeArgsArray& Args) const;
  bool Equals(TPatternMatchTest Test, const TNodeArgsArray& Args) const { return Equals(Test, nullptr, Args); }

  // Whether facts of Template pass a root of a pattern: it is the pattern's
  // template or derives from it.
  bool TestClassType(const TFactTemplate* Template) const;

  std::string ToString() const override;

private:
  bool RunTest(const IReteToken& Token);
  bool TestValue(const IReteToken& Token, const IKBValue& Slot, bool Negate);
  bool PassMultiField(const IReteToken& Token);
  // Hangs " for pattern match = " and this node's text on a passing error.
  bool AddsErrorText() const noexcept;

  // A call of <, <=, > or >= between slots of the fact and numbers, which the
  // node compares itself while the call still runs the built-in comparison it
  // was compiled from. Anything else the call runs as written.
  struct TNumericOrder {
    bool Compiled = false;  // the call has been looked at
    TNumericComparison Comparison = TNumericComparison::ncNone;
    const TFunctionCall* Call = nullptr;
    const TKBUserFunction* Function = nullptr;
    const TBindingInfo* Slots[2]{};  // the operands read from the fact; null for a number
    double Numbers[2]{};
  };
  void CompileNumericOrder();
  // 1 or 0 when both operands are numbers, -1 when the call must run.
  int RunNumericOrder(const TFact& Fact) const;

  IKBValue FValue;
  TNodeArgsArray FArguments;
  TPatternMatchTest FPatternMatchTest = pmtUnknown;
  // The arguments as read by the test, worked out once.
  bool FIsCall = false;
  TSlotRef FSlot;
  TSlotRef FSlot2;
  std::int32_t FNumber1 = 0;  // position, length or first sub index
  std::int32_t FNumber2 = NoSubIndex;
  TNumericOrder FOrder;
};

// ---------------------------------------------------------------- TTestNode

// A test conditional element in the ladder: passes a token when all tests
// hold. Keeps no memory.
class TTestNode : public TReteNode {
public:
  explicit TTestNode(TReteNetwork* ARete) : TReteNode(ARete) {}

  int GetTestCount() const noexcept { return static_cast<int>(FTests.size()); }
  TKBSlotTest* GetTest(int Index) const;
  // A pattern test of no pattern on Value.
  virtual void AddTest(TSlotTestType Type, const TKBName& SlotName, std::int32_t SubIndex, const IKBValue& Value);
  void AddTest(TSlotTestType Type, const TKBName& SlotName, const IKBValue& Value) {
    AddTest(Type, SlotName, NoSubIndex, Value);
  }
  void AddTest(std::unique_ptr<TKBSlotTest> Test);
  virtual void ClearTests();
  virtual void DeleteTest(int Index);
  // The same class and tests, in any order; a node with a call among its
  // tests equals no other.
  virtual bool Equals(const TTestNode* Node) const;

  bool CallNode(const IReteToken& Token, TCallType CallType) override;
  std::string ToString() const override;

protected:
  // The first Count tests on Token, and Fact as the fact under test.
  bool RunTests(const IReteToken& Token, const IFact& Fact, int Count);

  std::vector<std::unique_ptr<TKBSlotTest>> FTests;
  // How many tests are not comparisons of slots, which need a context.
  int FContextTests = 0;
};

// ---------------------------------------------------------------- TJoinNode

// Two inputs, two memories. A left token meets the right tokens it passes the
// tests with; a negated join passes a left token while none does.
//
// Joins that one parent feeds through their left inputs with the same key
// may keep one left memory: see ShareLeftMemory.
class TJoinNode : public TTestNode {
public:
  explicit TJoinNode(TReteNetwork* ARete) : TTestNode(ARete) {}
  // Leaves the left memory to the joins that share it.
  ~TJoinNode() override;

  bool GetNegatedPattern() const noexcept { return FNegatedPattern; }
  void SetNegatedPattern(bool Value) noexcept { FNegatedPattern = Value; }
  bool GetUnique() const noexcept { return FUnique; }
  void SetUnique(bool Value) noexcept { FUnique = Value; }
  std::int32_t GetHashKey() const noexcept { return FHashKey; }
  void SetHashKey(std::int32_t Value) noexcept { FHashKey = Value < 1 ? 1 : Value; }
  bool GetShortCut() const noexcept { return FShortCut; }
  // A join behind a negated one for exists: its right tokens are that join's
  // outputs, and one blocks only the left token it extends.
  bool GetBlocksOwnLeft() const noexcept { return FBlocksOwnLeft; }
  void SetBlocksOwnLeft(bool Value) noexcept { FBlocksOwnLeft = Value; }
  std::int32_t GetMatches() const noexcept { return FMatches; }
  TKBPattern* GetPattern() const noexcept { return FPattern; }
  // Raises _SInvalidBackchainPattern for a template that does not chain
  // backward.
  void SetPattern(TKBPattern* Value);
  IReteRule* GetRule() const noexcept { return FRule; }
  void SetRule(IReteRule* Value) noexcept { FRule = Value; }
  TKBTokenTree* GetLeftMemory() const noexcept { return FLeftMemory.get(); }
  TKBTokenTree* GetRightMemory() const noexcept { return FRightMemory.get(); }

  // Makes the memories that are missing and empties those that exist. A
  // shared left memory is emptied for all its joins, which one clear reaches
  // alike.
  virtual void ClearMemory();
  // Takes Sibling's left memory for its own, which the two then share, when
  // Sibling is a join that the same parent feeds through its left input
  // with the same tokens, and both memories are keyed alike and hold the
  // same tokens in the same order. Neither may be negated or a gate of
  // exists, and neither's right input may be fed from that parent, since
  // the memory changes at the first of them to be called and the others
  // take its result when their turn comes.
  bool ShareLeftMemory(TJoinNode* Sibling);
  // Whether the left memory is shared with other joins.
  bool GetLeftShared() const noexcept { return FLeftShare != nullptr; }
  using TTestNode::AddTest;
  // A test of whole slots.
  virtual void AddTest(TSlotTestType Type, std::int32_t TokenIndex, const TKBName& LeftIndex,
                       const TKBName& RightIndex);
  // Positions on either side; whole slots when both sub indices are -1.
  virtual void AddTest(TSlotTestType Type, std::int32_t TokenIndex, const TKBName& LeftIndex, std::int32_t LeftSub,
                       const TKBName& RightIndex, std::int32_t RightSub);
  // Keys the memories by the values of the equality tests of slots, all of
  // them, so that a token meets only the tokens that agree on each.
  virtual void PrepareShortCut();
  // A negated join equals no other; otherwise as a test node.
  bool Equals(const TTestNode* Node) const override;

  bool CallNode(const IReteToken& Token, TCallType CallType) override;
  void ClearNode() override;
  std::string ToString() const override;

private:
  struct TLeftShare;
  // Adds to or removes from the left memory, shared or not; Key is where
  // the token files there.
  bool ChangeLeft(const IReteToken& Token, bool Adding, IReteToken* Removed, std::int32_t& Key);
  // The joins of the share that have not taken their turn on its last change
  // go on with a memory of their own as they saw it.
  void SplitLeftMemory();
  void LeaveLeftShare() noexcept;
  void RunTestsVaryRight(const IReteToken& Left, TKBToken* Stored, std::int32_t LeftKey = -1);
  void RunTestsVaryLeft(const IReteToken& Right);
  // Whether Left and Right (a right token) pass the tests.
  bool Matches(const IReteToken& Left, const TKBToken& Right);
  // Whether the short cut's keys decide its test: both memories keyed by
  // values whose equals key alike, so that a token filed under another key
  // than the one sought cannot pass and is passed over unvisited.
  bool ExactShortCut() const noexcept {
    return FShortCut && !FBlocksOwnLeft && FLeftMemory->GetExactKeys() && FRightMemory->GetExactKeys();
  }
  // Asks for a goal when a stored left token found no match.
  void AskForBackChain(const IReteToken& Token);
  // A new token of Left and Fact, with the lower strength and Action.
  IReteToken Extend(const IReteToken& Left, const IFact& Fact, float RightStrength, TTokenAction Action) const;

  bool FNegatedPattern = false;
  bool FBlocksOwnLeft = false;
  std::unique_ptr<TKBTokenTree> FRightMemory;
  std::shared_ptr<TKBTokenTree> FLeftMemory;
  // The joins that share the left memory, nil while none does.
  std::shared_ptr<TLeftShare> FLeftShare;
  // The share's change this join took its turn on last.
  std::uint64_t FLeftSeen = 0;
  std::int32_t FMatches = 0;
  TKBPattern* FPattern = nullptr;
  IReteRule* FRule = nullptr;
  bool FUnique = false;
  std::int32_t FHashKey = 101;
  bool FShortCut = false;
  std::int32_t FTokenIndex = -1;
  std::int32_t FRightSubIndex = NoSubIndex;
  std::int32_t FLeftSubIndex = NoSubIndex;
  TKBName FLeftFactIndex;
  TKBName FRightFactIndex;
  // The equality tests after the first that key the memories too.
  struct TKeyPair {
    std::int32_t TokenIndex;
    TKBName Left;
    std::int32_t LeftSub;
    TKBName Right;
    std::int32_t RightSub;
  };
  std::vector<TKeyPair> FMoreKeys;
};

// ---------------------------------------------------------------- TPatternMatchTerminalNode

// The end of a rule: one activation for each token that reaches it.
class TPatternMatchTerminalNode : public TReteNode {
public:
  explicit TPatternMatchTerminalNode(TReteNetwork* ARete) : TReteNode(ARete) {}
  // Stands down every activation.
  ~TPatternMatchTerminalNode() override;

  bool GetInitialized() const noexcept { return FInitialized; }
  // Can only set the flag.
  virtual void SetInitialized(bool Value) noexcept { FInitialized = FInitialized || Value; }
  IReteRule* GetRule() const noexcept { return FRule; }
  void SetRule(IReteRule* Value) noexcept { FRule = Value; }
  int GetActivationCount() const noexcept { return static_cast<int>(FActivations.size()); }
  TActivation* GetActivation(int Index) const;
  int IndexOf(const TActivation* Activation) const noexcept;

  bool CallNode(const IReteToken& Token, TCallType CallType) override;
  void ClearNode() override { StandDown(); }
  virtual void AddActivation(const IReteToken& Token);
  virtual void Deactivate(int Index);
  void Deactivate(TActivation* Activation);
  virtual void RuleFired(TActivation* Activation);
  // Every activation, last first.
  virtual void StandDown();
  // The first activation of an equal token.
  virtual void StandDown(const IReteToken& Token);
  // Forgets the activations without telling anybody.
  void FastClear() noexcept;
  // Replacement (an activation of this node) takes Original's place in the
  // list, so that a later retraction stands the replacement down; Original
  // is left unlisted. Nothing happens when the node does not list Original.
  void Relist(TActivation* Original, TActivation* Replacement) noexcept;
  // The rule is gone: neither the node nor its activations name it any more.
  void ForgetRule() noexcept;

  std::string ToString() const override;

private:
  friend class TActivation;
  // An activation that goes away on its own leaves the list quietly: it is
  // on its way out of the agenda already.
  void Forget(TActivation* Activation) noexcept;
  // Takes the activation out of the list and the index.
  void Unlist(TActivation* Activation) noexcept;
  // Files a listed activation under its token's sort code, once the index
  // is built.
  void IndexByToken(TActivation* Activation);
  // Builds the index from the listed activations, oldest first.
  void BuildIndex();
  TActivation*& ByTokenHead(std::int32_t Code) noexcept {
    return FByToken[(static_cast<std::uint32_t>(Code) * 0x9E3779B1u) >> FByTokenShift];
  }

  bool FInitialized = false;
  IReteRule* FRule = nullptr;
  // In no particular order: an activation leaves by a swap with the last.
  pool::TLargeVector<TActivation*> FActivations;
  // The activations by their token's sort code, so that a retraction finds
  // its activation without a scan: buckets (a power of two, at least as many
  // as activations) chained through the activations, the newest first, so
  // that indexing allocates nothing per activation. Built at the first
  // retraction that reaches the node: until then no lookup needs it, and
  // filing and unfiling each activation would cost a random memory access
  // apiece.
  pool::TLargeVector<TActivation*> FByToken;
  std::uint32_t FByTokenShift = 32;
  bool FIndexed = false;
  std::uint32_t FSerial = 0;
};

// ---------------------------------------------------------------- TReteNetwork

using TNetworkActivationEvent = std::function<void(TObject* Sender, TActivation* Activation)>;

class TReteNetwork : public TGGraph {
public:
  using TRuleNodes = std::vector<TReteNode*>;

  TReteNetwork(IKnowledgeBase* AEngine, TModule* AModule);
  ~TReteNetwork() override;

  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }
  void SetEngine(IKnowledgeBase* Value) noexcept { FEngine = Value; }
  TModule* GetModule() const noexcept { return FModule; }
  // What a negated pattern puts in a token; nil without an engine.
  IFact GetNullFact() const;
  bool GetEnabled() const noexcept { return FEnabled; }
  // Disabling clears the network: rules must be added again.
  void SetEnabled(bool Value);
  std::int32_t GetHashKey() const noexcept { return FHashKey; }
  // For joins made from now on.
  void SetHashKey(std::int32_t Value) noexcept { FHashKey = Value < 1 ? 1 : Value; }
  float GetMinActivationStrength() const noexcept { return FMinActivationStrength; }
  // Kept within 0 and 1.
  void SetMinActivationStrength(float Value) noexcept;

  // The classes of the nodes the passes make.
  void SetNodeJoinClass(TReteNodeClass Value) { FNodeJoinClass = std::move(Value); }
  void SetNodeMatchClass(TReteNodeClass Value) { FNodeMatchClass = std::move(Value); }
  void SetNodeTerminalClass(TReteNodeClass Value) { FNodeTerminalClass = std::move(Value); }
  void SetNodeTestClass(TReteNodeClass Value) { FNodeTestClass = std::move(Value); }
  template <class T>
  static TReteNodeClass NodeClassOf() {
    return [](TReteNetwork* Rete) -> std::unique_ptr<TReteNode> { return std::make_unique<T>(Rete); };
  }

  int GetRootCount() const noexcept { return FRoots.GetCount(); }
  TReteNode* GetRoot(int Index) const { return static_cast<TReteNode*>(FRoots.GetNode(Index)); }
  // The nodes a rule uses, a node used twice standing twice; nil for a rule
  // the network does not hold.
  const TRuleNodes* GetRuleNodesList(const IReteRule* Rule) const noexcept;
  int GetRuleCount() const noexcept { return static_cast<int>(FRuleNodes.size()); }

  // ------------------------------------------------------------ compilation
  // Compiles the rule into nodes shared with the rules before it and loads
  // them from the facts in working memory. On an error the network is as it
  // was before the call.
  virtual void AddRule(IReteRule* Rule);
  // Frees exactly the nodes that no other rule uses.
  virtual void RemoveRule(IReteRule* Rule);
  // A copy of the call in which each variable bound by the rule is the
  // address of its value in a token.
  virtual IKBValue Evaluate(const IKBValue& Call, IReteRule* Rule);
  // Whether the compiled call reads a fact other than number Index.
  static bool HasMorePatterns(const IKBValue& Call, std::int32_t Index);

  // ------------------------------------------------------------ propagation
  // Sends the token to each root; true when one of them reported true.
  virtual bool ProcessToken(const IReteToken& Token);
  // ProcessToken of a one-fact token with Action, made only when some root
  // is there to take it.
  bool ProcessFact(const IFact& Fact, TTokenAction Action) {
    return GetRootCount() > 0 && ProcessToken(IReteToken(new TKBToken(Action, Fact)));
  }
  virtual bool ProcessTokenOneNode(const IReteToken& Token, TReteNode* Node);
  virtual void Activate(TActivation* Activation);
  virtual void Deactivate(TActivation* Activation);
  virtual void RuleFired(TActivation* Activation);

  // ------------------------------------------------------------ graph
  TGGraphNode* AddNode(std::unique_ptr<TGGraphNode> Node) override;
  void RemoveNode(TGGraphNode* Node) override;
  std::unique_ptr<TGGraphNode> Extract(TGGraphNode* Node) override;
  // Frees every node and forgets every rule.
  void Clear() override;

  TNetworkActivationEvent OnActivation;
  TNetworkActivationEvent OnDeactivation;
  TNetworkActivationEvent OnRuleFired;
  TNotifyEvent OnChange;
  TNotifyEvent OnNodeChange;

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;

  // One compilation: the rule, its account and the nodes of each pattern.
  struct TCompilation;
  virtual void ProcessFirstPass(TCompilation& C);
  virtual void ProcessSecondPass(TCompilation& C);
  virtual void ProcessThirdPass(TCompilation& C);
  virtual void ProcessFourthPass(TCompilation& C);
  virtual void UpdateNodes(const std::vector<TReteNode*>& FirstNodes);
  // A one-input successor of Parent (a root without one), shared when an
  // equal one exists.
  TPatternMatchNode* CreateSuccessor(TCompilation& C, TReteNode* Parent, TPatternMatchTest Test,
                                     const TNodeArgsArray& Args, const IKBValue& Value);

private:
  friend class TReteNode;
  // Sets to 0 the fact index of every binding the call reads.
  static void CleanUpBinding(const IKBValue& Value);
  std::unique_ptr<TReteNode> MakeNode(const TReteNodeClass& Class) const;
  // Lets each join made for the rule share the left memory of a sibling.
  void ShareLeftMemories(const TCompilation& C);
  // Takes the rule's nodes away again, last first.
  void ReleaseNodes(TRuleNodes& Nodes);
  // Takes a rule's nodes away, handing the goals its joins asked for over.
  void ReleaseRuleNodes(const IReteRule* Rule, TRuleNodes& Nodes);
  // Gives a join that asked for goals with a removed rule's pattern the
  // pattern of another rule that shares it, if one asks too.
  void HandOverGoals(TJoinNode* Join);
  void ForgetNode(TReteNode* Node) noexcept;
  // Takes a node that leaves the graph out of the roots and the rule lists.
  void Detach(TGGraphNode* Node);
  void AddRoot(TReteNode* Node);
  void RemoveRoot(TReteNode* Node) noexcept;
  // The roots that facts of Template can pass, worked out on first use.
  const std::vector<TReteNode*>& RootsFor(const TFactTemplate& Template);
  // The one-input successor of Parent equal to the test, or none.
  TPatternMatchNode* FindSuccessor(TReteNode* Parent, TPatternMatchTest Test, const TNodeArgsArray& Args,
                                   const IKBValue& Value) const;

  IKnowledgeBase* FEngine;
  TModule* FModule;
  TGGraphNodes FRoots;
  // Roots by template, so that a fact meets only the roots of its template
  // and of its ancestors. Any change of the roots empties it; an entry whose
  // template was renamed or given another parent since is worked out again.
  struct TTemplateRoots {
    std::string Name;
    const TFactTemplate* Parent = nullptr;
    std::vector<TReteNode*> Roots;
  };
  std::unordered_map<const TFactTemplate*, TTemplateRoots> FRootsByTemplate;
  std::uint32_t FRootsGeneration = 0;
  // Per rule its nodes, and the rule as the component whose freeing it hears of.
  struct TRuleEntry {
    TComponent* Component = nullptr;
    TRuleNodes Nodes;
  };
  std::unordered_map<const IReteRule*, TRuleEntry> FRuleNodes;
  // The one-input nodes by parent and test, so that a rule finds the node it
  // shares without asking every child of the parent: a network of many
  // rules reads in time that grows as its rules do. Fuzzy values, which
  // equal crisp ones by their membership, are filed under one key of their own.
  struct TShared {
    TReteNode* Parent;
    TPatternMatchNode* Node;
  };
  std::unordered_multimap<std::size_t, TShared> FSharedNodes;
  std::unordered_map<const TReteNode*, std::size_t> FSharedKeys;
  std::int32_t FHashKey = 101;
  float FMinActivationStrength = 0.0f;
  TReteNodeClass FNodeJoinClass;
  TReteNodeClass FNodeMatchClass;
  TReteNodeClass FNodeTerminalClass;
  TReteNodeClass FNodeTestClass;
  bool FEnabled = true;
};

// ---------------------------------------------------------------- inline

inline TReteNode* TReteEdge::GetToReteNode() const noexcept { return static_cast<TReteNode*>(GetToNode()); }

}  // namespace cogent
