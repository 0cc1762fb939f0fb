// The network: how a rule becomes nodes shared with the rules before it, how
// its nodes leave again, and where tokens enter.

#include "cogent/matching/ReteNetwork.h"

#include <algorithm>
#include <unordered_set>

#include "cogent/facts/KBPackages.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/foundation/KBMessages.h"

namespace cogent {

namespace {

bool IsCall(const IKBValue& Value) noexcept { return Value && Value->GetDType() == dtFunCall; }

// Up to this many roots a fact is offered to each of them.
constexpr int FewRoots = 4;

// A node class set by a host that makes no node of the kind a pass needs.
constexpr const char* SWrongNodeClass = "The network's %s class makes no %s";

// The binding address a compiled argument stands for, or nil.
TBindingInfo* BindingOf(const IKBValue& Value) {
  if (!Value || Value->GetDType() != dtObject) return nullptr;
  return dynamic_cast<TBindingInfo*>(Value->GetAsObject());
}

// Calls Fn with every binding address in a compiled call and its nested calls.
template <class F>
void ForEachBinding(const IKBValue& Call, F&& Fn) {
  if (TBindingInfo* Info = BindingOf(Call)) {
    Fn(*Info);
    return;
  }
  if (!IsCall(Call)) return;
  const IFunCall Function = Call->GetAsFunCall();
  for (int I = 0; Function && I < Function->GetArgumentCount(); ++I) ForEachBinding(Function->GetArgument(I), Fn);
}

}  // namespace

// What one AddRule works with: the rule, the nodes of its patterns and the
// account it gives of each step.
struct TReteNetwork::TCompilation {
  IReteRule* Rule;
  TRuleNodes* RuleNodes;
  std::vector<TReteNode*> FirstNodes;
  std::vector<TReteNode*> Nodes;
  std::string Account;
  // Where each pattern's facts stand in a token: test patterns hold none.
  std::vector<std::int32_t> FactIndex;
  // The joins made for the rule, with the nodes that feed their two inputs.
  struct TNewJoin {
    TJoinNode* Join;
    TReteNode* Left;
    TReteNode* Right;
  };
  std::vector<TNewJoin> Joins;
};

// ================================================================ TReteNetwork

TReteNetwork::TReteNetwork(IKnowledgeBase* AEngine, TModule* AModule)
    : TGGraph(nullptr),
      FEngine(AEngine),
      FModule(AModule),
      FNodeJoinClass(NodeClassOf<TJoinNode>()),
      FNodeMatchClass(NodeClassOf<TPatternMatchNode>()),
      FNodeTerminalClass(NodeClassOf<TPatternMatchTerminalNode>()),
      FNodeTestClass(NodeClassOf<TTestNode>()) {}

TReteNetwork::~TReteNetwork() {
  Destroying();
  Clear();
}

IFact TReteNetwork::GetNullFact() const { return FEngine ? FEngine->GetNullFact() : IFact(); }

void TReteNetwork::SetEnabled(bool Value) {
  if (Value == FEnabled) return;
  FEnabled = Value;
  if (!Value) Clear();
}

void TReteNetwork::SetMinActivationStrength(float Value) noexcept {
  FMinActivationStrength = Value < 0.0f ? 0.0f : (Value > 1.0f ? 1.0f : Value);
}

const TReteNetwork::TRuleNodes* TReteNetwork::GetRuleNodesList(const IReteRule* Rule) const noexcept {
  const auto It = FRuleNodes.find(Rule);
  return It == FRuleNodes.end() ? nullptr : &It->second.Nodes;
}

// ------------------------------------------------------------ graph

TGGraphNode* TReteNetwork::AddNode(std::unique_ptr<TGGraphNode> Node) {
  TGGraphNode* Added = TGGraph::AddNode(std::move(Node));
  auto* Rete = static_cast<TReteNode*>(Added);
  if (Rete->GetPredecessorCount() == 0) AddRoot(Rete);
  return Added;
}

void TReteNetwork::AddRoot(TReteNode* Node) {
  if (FRoots.IndexOf(Node) >= 0) return;
  FRoots.Add(Node);
  FRootsByTemplate.clear();
  ++FRootsGeneration;
}

void TReteNetwork::RemoveRoot(TReteNode* Node) noexcept {
  if (FRoots.Remove(Node) < 0) return;
  FRootsByTemplate.clear();
  ++FRootsGeneration;
}

const std::vector<TReteNode*>& TReteNetwork::RootsFor(const TFactTemplate& Template) {
  const IFactTemplate Parent = Template.GetParent();
  TTemplateRoots& Entry = FRootsByTemplate[&Template];
  if (Entry.Name == Template.GetTemplateName() && Entry.Parent == Parent.get() && !Entry.Name.empty())
    return Entry.Roots;
  Entry.Name = Template.GetTemplateName();
  Entry.Parent = Parent.get();
  Entry.Roots.clear();
  for (TGGraphNode* Root : FRoots) {
    auto* Node = static_cast<TReteNode*>(Root);
    // A test root passes nothing but clear tokens; a pattern root only its
    // template's facts. A node of another kind is asked every time.
    if (const auto* Match = dynamic_cast<const TPatternMatchNode*>(Node)) {
      if (Match->GetPatternMatchTest() == pmtUnknown) continue;
      if (Match->GetPatternMatchTest() == pmtTestClassType && !Match->TestClassType(&Template)) continue;
    }
    Entry.Roots.push_back(Node);
  }
  return Entry.Roots;
}

void TReteNetwork::ForgetNode(TReteNode* Node) noexcept {
  RemoveRoot(Node);
  if (const auto Shared = FSharedKeys.find(Node); Shared != FSharedKeys.end()) {
    const auto [First, Last] = FSharedNodes.equal_range(Shared->second);
    for (auto It = First; It != Last; ++It)
      if (It->second.Node == Node) {
        FSharedNodes.erase(It);
        break;
      }
    FSharedKeys.erase(Shared);
  }
  // A node that leaves by other ways than RemoveRule leaves the rule lists.
  for (auto& [Rule, Entry] : FRuleNodes) {
    TRuleNodes& Nodes = Entry.Nodes;
    for (auto It = Nodes.begin(); It != Nodes.end() && Node->GetRuleUseCount() > 0;) {
      if (*It == Node) {
        It = Nodes.erase(It);
        Node->SetRuleUseCount(Node->GetRuleUseCount() - 1);
      } else {
        ++It;
      }
    }
  }
}

void TReteNetwork::RemoveNode(TGGraphNode* Node) {
  Detach(Node);
  TGGraph::RemoveNode(Node);
}

std::unique_ptr<TGGraphNode> TReteNetwork::Extract(TGGraphNode* Node) {
  Detach(Node);
  return TGGraph::Extract(Node);
}

void TReteNetwork::Detach(TGGraphNode* Node) {
  auto* Rete = static_cast<TReteNode*>(Node);
  if (!Rete || Rete->GetGraph() != this) return;
  // Without its edges first, so that the hooks do not make it a root again.
  Rete->RemovePredecessors();
  Rete->Clear();
  ForgetNode(Rete);
}

void TReteNetwork::Clear() {
  for (auto& [Rule, Entry] : FRuleNodes)
    if (Entry.Component) Entry.Component->RemoveFreeNotification(this);
  FRuleNodes.clear();
  FSharedNodes.clear();
  FSharedKeys.clear();
  FRoots.Clear();
  FRootsByTemplate.clear();
  ++FRootsGeneration;
  TGGraph::Clear();
}

void TReteNetwork::Notification(TComponent* AComponent, TOperation Operation) {
  TGGraph::Notification(AComponent, Operation);
  if (Operation != opRemove) return;
  // A rule freed while the network still holds it is only half an object by
  // now: its nodes go without asking it anything.
  for (auto& [Rule, Entry] : FRuleNodes)
    if (Entry.Component == AComponent) {
      for (TReteNode* Node : Entry.Nodes)
        if (auto* Terminal = dynamic_cast<TPatternMatchTerminalNode*>(Node); Terminal && Terminal->GetRule() == Rule)
          Terminal->ForgetRule();
      TRuleNodes Taken = std::move(Entry.Nodes);
      const IReteRule* Key = Rule;
      FRuleNodes.erase(Key);
      ReleaseRuleNodes(Key, Taken);
      return;
    }
}

// ------------------------------------------------------------ compilation

std::unique_ptr<TReteNode> TReteNetwork::MakeNode(const TReteNodeClass& Class) const {
  std::unique_ptr<TReteNode> Node = Class ? Class(const_cast<TReteNetwork*>(this)) : nullptr;
  if (!Node) throw EKBException(Format(SWrongNodeClass, "node", "node"));
  return Node;
}

void TReteNetwork::CleanUpBinding(const IKBValue& Value) {
  ForEachBinding(Value, [](TBindingInfo& Info) { Info.SetFactIndex(0); });
}

bool TReteNetwork::HasMorePatterns(const IKBValue& Call, std::int32_t Index) {
  bool Result = false;
  ForEachBinding(Call, [&](const TBindingInfo& Info) { Result = Result || Info.GetFactIndex() != Index; });
  return Result;
}

IKBValue TReteNetwork::Evaluate(const IKBValue& Call, IReteRule* Rule) {
  if (!IsCall(Call)) return Call;
  const IFunCall Source = Call->GetAsFunCall();
  if (!Source) return Call;
  IFunCall Compiled = Source->Clone();
  for (int I = 0; I < Compiled->GetArgumentCount(); ++I) {
    const IKBValue Argument = Compiled->GetArgument(I);
    if (IsVariable(Argument)) {
      const TKBName Name = Argument->GetAsString();
      if (const TBinding* Binding = Rule ? Rule->GetBindingByName(Name) : nullptr) {
        auto* Info = new TBindingInfo(Binding->GetFactIndex(), Binding->GetSlotIndex(), Binding->GetSubIndex());
        Compiled->SetArgument(I, IKBValue(new TKBValue(Info, true)));
      } else {
        TKBContext* Global = FEngine ? FEngine->GetGlobalContext() : nullptr;
        if (!Global || !Global->FindGlobalBinding(Name)) throw EKBException(Format(_SUnknownVariable, Name));
      }
    } else if (IsCall(Argument)) {
      Compiled->SetArgument(I, Evaluate(Argument, Rule));
    }
  }
  return IKBValue(new TKBValue(Compiled));
}

namespace {

// What a one-input node is filed under: its parent, its test and the kind of
// its value. Value hashes are those of equality, so equal tests meet.
std::size_t ShareKey(const TReteNode* Parent, TPatternMatchTest Test, const TNodeArgsArray& Args,
                     const IKBValue& Value, bool AsFuzzy) {
  std::size_t Key = std::hash<const void*>()(Parent) * 31 + static_cast<std::size_t>(Test);
  for (const TNodeArg& Arg : Args) Key = Key * 31 + std::hash<TNodeArg>()(Arg);
  const std::size_t ValueKey =
      !Value ? 0 : AsFuzzy ? 0x9e3779b9u : static_cast<std::uint32_t>(Value->GetHashCode()) + 1;
  return Key * 31 + ValueKey;
}

}  // namespace

TPatternMatchNode* TReteNetwork::FindSuccessor(TReteNode* Parent, TPatternMatchTest Test, const TNodeArgsArray& Args,
                                                const IKBValue& Value) const {
  const bool Fuzzy = Value && Value->GetDType() == dtFuzzy;
  if (Fuzzy) {
    // A fuzzy value may equal a node's crisp one: every candidate is asked.
    for (const auto& [Key, Entry] : FSharedNodes)
      if (Entry.Parent == Parent && Entry.Node->Equals(Test, Value, Args)) return Entry.Node;
    return nullptr;
  }
  for (const bool AsFuzzy : {false, true}) {
    const auto [First, Last] = FSharedNodes.equal_range(ShareKey(Parent, Test, Args, Value, AsFuzzy));
    for (auto It = First; It != Last; ++It)
      if (It->second.Parent == Parent && It->second.Node->Equals(Test, Value, Args)) return It->second.Node;
    if (!Value) break;
  }
  return nullptr;
}

TPatternMatchNode* TReteNetwork::CreateSuccessor(TCompilation& C, TReteNode* Parent, TPatternMatchTest Test,
                                                 const TNodeArgsArray& Args, const IKBValue& Value) {
  // Inside a one-input node the fact under test is the token's only fact.
  CleanUpBinding(Value);
  if (TPatternMatchNode* Found = FindSuccessor(Parent, Test, Args, Value)) {
    Found->SetRuleUseCount(Found->GetRuleUseCount() + 1);
    C.RuleNodes->push_back(Found);
    if (Parent) C.Account += "=1";
    return Found;
  }
  std::unique_ptr<TReteNode> Made = MakeNode(FNodeMatchClass);
  auto* Node = dynamic_cast<TPatternMatchNode*>(Made.get());
  if (!Node) throw EKBException(Format(SWrongNodeClass, "match", "one-input node"));
  Node->SetPatternMatchTest(Test, Args, Value);
  AddNode(std::move(Made));
  C.RuleNodes->push_back(Node);
  if (Parent) Parent->LinkTo(Node, ctSingle);
  const std::size_t Key = ShareKey(Parent, Test, Args, Value, Value && Value->GetDType() == dtFuzzy);
  FSharedNodes.emplace(Key, TShared{Parent, Node});
  FSharedKeys.emplace(Node, Key);
  C.Account += "+1";
  return Node;
}

void TReteNetwork::ProcessFirstPass(TCompilation& C) {
  for (int I = 0; I < C.Rule->GetPatternCount(); ++I) {
    const TKBPattern* Pattern = C.Rule->GetPattern(I);
    const bool IsTest = Pattern->GetName() == STestCE;
    TReteNode* Node = CreateSuccessor(C, nullptr, IsTest ? pmtUnknown : pmtTestClassType, {0, 0},
                                      IKBValue(new TKBValue(Pattern->GetName(), dtAtom)));
    C.FirstNodes.push_back(Node);
    if (!IsTest) {
      // Markers first, since they reshape the fact that the later nodes see;
      // then lengths, then constants.
      for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot)
        if (const TSlotTests* Tests = Pattern->GetSlotTests(Slot))
          for (const TKBPatternMatchTest* Test : *Tests)
            if (Test->GetSlotValue() && Test->GetSlotValue()->GetDType() == dtMultiVariable)
              Node = CreateSuccessor(C, Node, pmtTestMultiSlotMultiField,
                                     {Pattern->GetSlotName(Slot), Test->GetMultiSlotSubIndex(), 0}, nullptr);
      for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot)
        if (Pattern->GetSlotLength(Slot) > -1)
          Node = CreateSuccessor(C, Node, pmtTestMultiSlotLength,
                                 {Pattern->GetSlotName(Slot), Pattern->GetSlotLength(Slot), 0}, nullptr);
      for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot) {
        const TSlotTests* Tests = Pattern->GetSlotTests(Slot);
        if (!Tests) continue;
        for (const TKBPatternMatchTest* Test : *Tests) {
          const IKBValue& Value = Test->GetSlotValue();
          if (!Value || IsVariable(Value)) continue;
          const std::int32_t Sub = Test->GetMultiSlotSubIndex();
          const bool Negated = Test->GetSlotTestType() == sttNotEquals;
          const TPatternMatchTest Kind = Sub != NoSubIndex ? (Negated ? pmtTestMultiSlotNotEqual : pmtTestMultiSlotEqual)
                                                           : (Negated ? pmtTestNotEqual : pmtTestEqual);
          IKBValue Compiled = Value;
          if (IsCall(Value)) {
            // A call that reads other patterns joins them in the ladder.
            Compiled = Evaluate(Value, C.Rule);
            if (HasMorePatterns(Compiled, C.FactIndex[static_cast<std::size_t>(I)])) continue;
          }
          Node = CreateSuccessor(C, Node, Kind, {Pattern->GetSlotName(Slot), Sub}, Compiled);
        }
      }
    }
    C.Nodes.push_back(Node);
  }
}

void TReteNetwork::ProcessSecondPass(TCompilation& C) {
  for (int I = 0; I < C.Rule->GetPatternCount(); ++I) {
    const TKBPattern* Pattern = C.Rule->GetPattern(I);
    if (Pattern->GetName() == STestCE) continue;
    std::unordered_set<std::string> Seen;
    TReteNode*& Node = C.Nodes[static_cast<std::size_t>(I)];
    for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot) {
      const TSlotTests* Tests = Pattern->GetSlotTests(Slot);
      if (!Tests) continue;
      for (const TKBPatternMatchTest* Test : *Tests) {
        const IKBValue& Value = Test->GetSlotValue();
        if (!IsVariable(Value) || Seen.count(Value->GetAsString())) continue;
        for (int Later = Slot + 1; Later < Pattern->GetSlotCount(); ++Later) {
          const TSlotTests* LaterTests = Pattern->GetSlotTests(Later);
          if (!LaterTests) continue;
          for (const TKBPatternMatchTest* Other : *LaterTests) {
            if (!Other->GetSlotValue() || !Other->GetSlotValue()->Equals(Value)) continue;
            const int Equal = (Test->GetSlotTestType() == sttEquals) + (Other->GetSlotTestType() == sttEquals);
            if (Equal == 0) continue;
            Node = CreateSuccessor(C, Node, Equal == 2 ? pmtTestSlotValueEqual : pmtTestSlotValueNotEqual,
                                   {Pattern->GetSlotName(Slot), Pattern->GetSlotName(Later),
                                    Test->GetMultiSlotSubIndex(), Other->GetMultiSlotSubIndex()},
                                   nullptr);
          }
        }
        Seen.insert(Value->GetAsString());
      }
    }
  }
}

void TReteNetwork::ProcessThirdPass(TCompilation& C) {
  for (int I = 1; I < C.Rule->GetPatternCount(); ++I) {
    TKBPattern* Pattern = C.Rule->GetPattern(I);
    const bool IsTest = Pattern->GetName() == STestCE;
    const std::int32_t FactIndex = C.FactIndex[static_cast<std::size_t>(I)];
    std::unique_ptr<TReteNode> Made = MakeNode(IsTest ? FNodeTestClass : FNodeJoinClass);
    auto* Node = dynamic_cast<TTestNode*>(Made.get());
    auto* Join = dynamic_cast<TJoinNode*>(Made.get());
    if (!Node || (!IsTest && !Join)) throw EKBException(Format(SWrongNodeClass, IsTest ? "test" : "join", IsTest ? "test node" : "join"));
    if (Join) {
      Join->SetNegatedPattern(Pattern->GetNegatedCount() > 0);
      Join->SetUnique(Pattern->GetUnique());
      Join->SetHashKey(FHashKey);
    }
    const IFactTemplate& Template = Pattern->GetFactTemplate();
    const bool BackChaining = Template && Template->IsBackwardChaining();
    std::unordered_set<std::string> Seen;
    for (int Slot = 0; Slot < Pattern->GetSlotCount(); ++Slot) {
      const TSlotTests* Tests = Pattern->GetSlotTests(Slot);
      if (!Tests) continue;
      const std::string SlotName = Pattern->GetSlotName(Slot);
      for (const TKBPatternMatchTest* Test : *Tests) {
        const IKBValue& Value = Test->GetSlotValue();
        if (IsVariable(Value)) {
          const TKBName Name = Value->GetAsString();
          if (Seen.count(Name)) continue;
          const TBinding* Binding = C.Rule->GetBindingByName(Name);
          if (!Binding) throw EKBException(Format(_SCorruptedVariable, Name));
          // First bound in this very pattern: the chain tests it.
          if (Binding->GetFactIndex() == FactIndex || !Join) continue;
          Join->AddTest(Test->GetSlotTestType(), Binding->GetFactIndex(), Binding->GetSlotIndex(),
                        Binding->GetSubIndex(), SlotName, Test->GetMultiSlotSubIndex());
          Seen.insert(Name);
        } else if (IsCall(Value)) {
          if (BackChaining) throw EKBException(Format(_SBackChainFuncallPatterns, Pattern->GetName()));
          const IKBValue Compiled = Evaluate(Value, C.Rule);
          if (!IsTest && !HasMorePatterns(Compiled, FactIndex)) continue;
          Node->AddTest(Test->GetSlotTestType(), SlotName, Test->GetMultiSlotSubIndex(), Compiled);
        }
      }
    }

    TReteNode* Left = C.Nodes[static_cast<std::size_t>(I - 1)];
    TReteNode* Right = C.Nodes[static_cast<std::size_t>(I)];
    TReteNode* Present = nullptr;
    if (Join && Pattern->GetNegatedCount() == 0) {
      for (int E = 0; E < Left->GetChildCount() && !Present; ++E) {
        const TReteEdge* Edge = Left->GetChildEdge(E);
        auto* Child = dynamic_cast<TJoinNode*>(Edge->GetToReteNode());
        if (!Child || Child->GetNegatedPattern() || Edge->GetCallType() != ctLeft) continue;
        bool FedByRight = false;
        for (int R = 0; R < Right->GetChildCount() && !FedByRight; ++R)
          FedByRight = Right->GetChildEdge(R)->GetToNode() == Child && Right->GetChildEdge(R)->GetCallType() == ctRight;
        if (FedByRight && Child->Equals(Join)) Present = Child;
      }
    }
    if (Present) {
      Present->SetRuleUseCount(Present->GetRuleUseCount() + 1);
      C.RuleNodes->push_back(Present);
      C.Account += "=2";
    } else {
      if (Join && BackChaining && !Pattern->GetExplicit()) {
        Join->SetPattern(Pattern);
        Join->SetRule(C.Rule);
      }
      if (Join) Join->PrepareShortCut();
      Present = static_cast<TReteNode*>(AddNode(std::move(Made)));
      C.RuleNodes->push_back(Present);
      Left->LinkTo(Present, ctLeft);
      Right->LinkTo(Present, ctRight);
      if (Join) C.Joins.push_back({Join, Left, Right});
      C.Account += "+2";
    }
    // exists and not-exists: each further join passes a left token exactly
    // while the one before it blocks that token.
    for (std::int32_t K = 1; K < Pattern->GetNegatedCount(); ++K) {
      std::unique_ptr<TReteNode> GateMade = MakeNode(FNodeJoinClass);
      auto* Gate = dynamic_cast<TJoinNode*>(GateMade.get());
      if (!Gate) throw EKBException(Format(SWrongNodeClass, "join", "join"));
      Gate->SetNegatedPattern(Pattern->GetNegatedCount() - K > 0);
      Gate->SetHashKey(FHashKey);
      Gate->SetBlocksOwnLeft(true);
      Gate->ClearMemory();
      TReteNode* Next = static_cast<TReteNode*>(AddNode(std::move(GateMade)));
      C.RuleNodes->push_back(Next);
      Left->LinkTo(Next, ctLeft);
      Present->LinkTo(Next, ctRight);
      Present = Next;
    }
    C.Nodes[static_cast<std::size_t>(I - 1)] = Present;
    C.Nodes[static_cast<std::size_t>(I)] = Present;
  }
}

void TReteNetwork::ProcessFourthPass(TCompilation& C) {
  std::unique_ptr<TReteNode> Made = MakeNode(FNodeTerminalClass);
  auto* Terminal = dynamic_cast<TPatternMatchTerminalNode*>(Made.get());
  if (!Terminal) throw EKBException(Format(SWrongNodeClass, "terminal", "terminal node"));
  Terminal->SetRule(C.Rule);
  AddNode(std::move(Made));
  C.RuleNodes->push_back(Terminal);
  C.Account += "+t";
  C.Nodes.back()->LinkTo(Terminal, ctActivate);
  UpdateNodes(C.FirstNodes);
  Terminal->SetInitialized(true);
}

void TReteNetwork::UpdateNodes(const std::vector<TReteNode*>& FirstNodes) {
  if (!FEngine) return;
  // A root that two patterns share is fed once.
  std::vector<TReteNode*> Roots;
  for (TReteNode* Node : FirstNodes)
    if (std::find(Roots.begin(), Roots.end(), Node) == Roots.end()) Roots.push_back(Node);
  const int Count = FEngine->GetFactCount();
  for (int I = 0; I < Count; ++I) {
    const IFact Fact = FEngine->GetFact(I);
    if (!Fact) continue;
    // A memory refuses what it holds: the remove lets the add run through
    // the joins that other rules share.
    const IReteToken Remove(new TKBToken(taRemove, Fact));
    for (TReteNode* Node : Roots) ProcessTokenOneNode(Remove, Node);
    const IReteToken Add(new TKBToken(taAdd, Fact));
    for (TReteNode* Node : Roots) ProcessTokenOneNode(Add, Node);
  }
}

namespace {

// The node that feeds Join's right input, or nil.
TReteNode* RightParentOf(const TJoinNode* Join) {
  for (int I = 0; I < Join->GetPredecessorCount(); ++I) {
    auto* Parent = static_cast<TReteNode*>(Join->GetPredecessor(I));
    for (int E = 0; E < Parent->GetChildCount(); ++E)
      if (Parent->GetChildEdge(E)->GetToNode() == Join && Parent->GetChildEdge(E)->GetCallType() == ctRight)
        return Parent;
  }
  return nullptr;
}

// Whether Node is Parent or one of the one-input nodes below it; anything
// but a chain of one-input nodes counts as below.
bool FedFrom(TReteNode* Node, const TReteNode* Parent) {
  while (Node != Parent) {
    if (!dynamic_cast<const TPatternMatchNode*>(Node) || Node->GetPredecessorCount() > 1) return true;
    if (Node->GetPredecessorCount() == 0) return false;
    Node = static_cast<TReteNode*>(Node->GetPredecessor(0));
  }
  return true;
}

}  // namespace

void TReteNetwork::ShareLeftMemories(const TCompilation& C) {
  // Joins that one parent feeds alike keep one left memory, which each
  // token then reaches once however many rules follow it. A join fed on
  // its right from that parent could meet a token there before its turn on
  // the left, so it keeps its own.
  for (const TCompilation::TNewJoin& New : C.Joins) {
    if (New.Join->GetNegatedPattern() || New.Join->GetBlocksOwnLeft() || FedFrom(New.Right, New.Left)) continue;
    const TKBTokenTree* Memory = New.Join->GetLeftMemory();
    if (!Memory) continue;
    for (int E = 0; E < New.Left->GetChildCount(); ++E) {
      const TReteEdge* Edge = New.Left->GetChildEdge(E);
      auto* Sibling = dynamic_cast<TJoinNode*>(Edge->GetToReteNode());
      if (!Sibling || Sibling == New.Join || Edge->GetCallType() != ctLeft || Sibling->GetNegatedPattern() ||
          Sibling->GetBlocksOwnLeft())
        continue;
      // The cheap questions first: a parent may feed many joins.
      const TKBTokenTree* Theirs = Sibling->GetLeftMemory();
      if (!Theirs || !Memory->KeysAlike(*Theirs) || !Memory->SameTokens(*Theirs)) continue;
      // A join that shares already was asked when it took the memory.
      if (!Sibling->GetLeftShared()) {
        TReteNode* Right = RightParentOf(Sibling);
        if (!Right || FedFrom(Right, New.Left)) continue;
      }
      if (New.Join->ShareLeftMemory(Sibling)) break;
    }
  }
}

void TReteNetwork::ReleaseNodes(TRuleNodes& Nodes) {
  while (!Nodes.empty()) {
    TReteNode* Node = Nodes.back();
    Nodes.pop_back();
    Node->SetRuleUseCount(Node->GetRuleUseCount() - 1);
    if (Node->GetRuleUseCount() == 0) RemoveNode(Node);
  }
}

void TReteNetwork::AddRule(IReteRule* Rule) {
  if (!FEnabled || !Rule) return;
  if (Rule->GetPatternCount() == 0 && FEngine && FEngine->GetInitialFactPattern()) {
    TComponent* Owner = FEngine ? dynamic_cast<TComponent*>(FEngine) : nullptr;
    Rule->AppendPattern(FEngine->GetInitialFactPattern()->Clone(Owner));
    if (FRuleNodes.count(Rule)) return;
  }
  if (Rule->GetPatternCount() == 0) return;
  RemoveRule(Rule);

  TRuleEntry& Entry = FRuleNodes[Rule];
  TCompilation C{Rule, &Entry.Nodes, {}, {}, Rule->GetRuleName() + ": ", {}, {}};
  std::int32_t Facts = 0;
  for (int I = 0; I < Rule->GetPatternCount(); ++I) {
    C.FactIndex.push_back(Facts);
    if (Rule->GetPattern(I)->GetName() != STestCE) ++Facts;
  }
  std::size_t Loaded = 0;
  try {
    ProcessFirstPass(C);
    ProcessSecondPass(C);
    ProcessThirdPass(C);
    Loaded = 1;
    ProcessFourthPass(C);
  } catch (...) {
    // Nothing of the rule stays: its nodes go, and when loading from working
    // memory was under way the roots it shares are loaded once more, so that
    // no memory is left half filled.
    std::vector<TReteNode*> Shared;
    if (Loaded)
      for (TReteNode* Root : C.FirstNodes)
        if (Root->GetRuleUseCount() > std::count(C.RuleNodes->begin(), C.RuleNodes->end(), Root))
          Shared.push_back(Root);
    ReleaseNodes(*C.RuleNodes);
    FRuleNodes.erase(Rule);
    try {
      UpdateNodes(Shared);
    } catch (...) {
      // The error of another rule's test; the first error is the one to report.
    }
    throw;
  }
  ShareLeftMemories(C);
  Rule->SetCompilation(C.Account);
  Entry.Component = Rule->GetRuleComponent();
  if (Entry.Component) Entry.Component->FreeNotification(this);
  if (OnChange) OnChange(this);
}

void TReteNetwork::RemoveRule(IReteRule* Rule) {
  const auto It = FRuleNodes.find(Rule);
  if (It == FRuleNodes.end()) return;
  TRuleNodes Nodes = std::move(It->second.Nodes);
  TComponent* Component = It->second.Component;
  FRuleNodes.erase(It);
  if (Component) Component->RemoveFreeNotification(this);
  ReleaseRuleNodes(Rule, Nodes);
}

void TReteNetwork::ReleaseRuleNodes(const IReteRule* Rule, TRuleNodes& Nodes) {
  // A join that asks for goals with this rule's pattern and stays for other
  // rules must not keep the pattern, which goes with the rule.
  std::vector<TJoinNode*> Asking;
  for (TReteNode* Node : Nodes)
    if (auto* Join = dynamic_cast<TJoinNode*>(Node);
        Join && Join->GetRule() == Rule && Join->GetRuleUseCount() > std::count(Nodes.begin(), Nodes.end(), Node) &&
        std::find(Asking.begin(), Asking.end(), Join) == Asking.end())
      Asking.push_back(Join);
  ReleaseNodes(Nodes);
  for (TJoinNode* Join : Asking) HandOverGoals(Join);
}

void TReteNetwork::HandOverGoals(TJoinNode* Join) {
  Join->SetPattern(nullptr);
  Join->SetRule(nullptr);
  for (auto& [Rule, Entry] : FRuleNodes) {
    // The k-th join or test node of a rule's list stands for its pattern k;
    // the gates of exists belong to the join before them.
    int Index = 0;
    for (TReteNode* Node : Entry.Nodes) {
      auto* Step = dynamic_cast<TTestNode*>(Node);
      if (!Step || (dynamic_cast<TJoinNode*>(Step) && static_cast<TJoinNode*>(Step)->GetBlocksOwnLeft())) continue;
      ++Index;
      if (Node != Join) continue;
      TKBPattern* Pattern = Index < Rule->GetPatternCount() ? Rule->GetPattern(Index) : nullptr;
      if (Pattern && !Pattern->GetExplicit()) {
        Join->SetPattern(Pattern);
        Join->SetRule(const_cast<IReteRule*>(Rule));
        return;
      }
      break;
    }
  }
}

// ------------------------------------------------------------ propagation

bool TReteNetwork::ProcessToken(const IReteToken& Token) {
  if (!Token) return false;
  const TTokenAction Action = Token->GetTag();
  if (!FEnabled && (Action == taAdd || Action == taUpdate)) return false;
  if (Action == taClear) {
    // Every node once, whatever the number of ways into it.
    for (int I = 0; I < GetNodeCount(); ++I) static_cast<TReteNode*>(GetNode(I))->ClearNode();
    return GetRootCount() > 0;
  }
  bool Result = false;
  const TFact* Fact = Token->GetFact().get();
  // With a few roots asking each is cheaper than finding the template's.
  const TFactTemplate* Template = Fact && FRoots.GetCount() > FewRoots ? Fact->GetTemplateRef().get() : nullptr;
  if (!Template) {
    for (int I = 0; I < FRoots.GetCount(); ++I)
      Result = static_cast<TReteNode*>(FRoots.GetNode(I))->CallNode(Token, ctSingle) || Result;
    return Result;
  }
  // A host that changes the roots from an event ends the walk: the list is gone.
  const std::uint32_t Generation = FRootsGeneration;
  const std::vector<TReteNode*>& Roots = RootsFor(*Template);
  for (std::size_t I = 0; I < Roots.size() && Generation == FRootsGeneration; ++I)
    Result = Roots[I]->CallNode(Token, ctSingle) || Result;
  return Result;
}

bool TReteNetwork::ProcessTokenOneNode(const IReteToken& Token, TReteNode* Node) {
  return Node && Node->CallNode(Token, ctSingle);
}

void TReteNetwork::Activate(TActivation* Activation) {
  if (FEngine) FEngine->AddActivation(Activation);
  if (OnActivation) OnActivation(this, Activation);
}

void TReteNetwork::Deactivate(TActivation* Activation) {
  // The event comes first: the engine frees the activation.
  if (OnDeactivation) OnDeactivation(this, Activation);
  if (FEngine)
    FEngine->RemoveActivation(Activation);
  else
    delete Activation;
}

void TReteNetwork::RuleFired(TActivation* Activation) {
  if (OnRuleFired) OnRuleFired(this, Activation);
  if (FEngine)
    FEngine->RuleFired(Activation);
  else
    delete Activation;
}

}  // namespace cogent
