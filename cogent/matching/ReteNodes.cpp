// The nodes of the network and what they do to the tokens that reach them:
// one-input tests, test nodes, joins with their memories, terminal nodes with
// their activations.

#include <algorithm>
#include <array>
#include <bit>
#include <type_traits>

#include "cogent/facts/KBPackages.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/foundation/KBMessages.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

namespace {

constexpr std::array<const char*, 4> CallTypeNames{"ctLeft", "ctRight", "ctSingle", "ctActivate"};
constexpr std::array<const char*, 11> PatternMatchTestNames{
    "pmtUnknown",           "pmtTestClassType",       "pmtTestEqual",           "pmtTestNotEqual",
    "pmtTestSlotValueEqual", "pmtTestSlotValueNotEqual", "pmtTestMultiSlotEqual", "pmtTestMultiSlotNotEqual",
    "pmtTestMultiSlotLength", "pmtTestMultiSlotMultiField", "pmtFailTest"};
static_assert(CallTypeNames.size() == ctActivate + 1);
static_assert(PatternMatchTestNames.size() == pmtFailTest + 1);

// Clears a context's token and fact when a test is done with them.
class TContextScope {
public:
  TContextScope(TKBContext* AContext, const IReteToken& Token) : FContext(AContext) {
    if (FContext) FContext->SetToken(Token);
  }
  ~TContextScope() {
    if (!FContext) return;
    FContext->SetToken(nullptr);
    FContext->SetFact(nullptr);
  }
  TContextScope(const TContextScope&) = delete;
  TContextScope& operator=(const TContextScope&) = delete;

private:
  TKBContext* FContext;
};

// Item Index of a list value; nil for anything else.
IKBValue ListItem(const IKBValue& Value, std::int32_t Index) {
  if (!Value || Value->GetDType() != dtList || Index < 0) return nullptr;
  const IValueVector List = Value->GetAsList();
  if (!List || Index >= List->GetCount()) return nullptr;
  return List->GetRef(Index);
}

// Whether Right extends a token whose facts are Left's, by fact identity.
bool ExtendsLeft(const TKBToken& Right, const TKBToken& Left) noexcept {
  const TKBToken* A = Right.GetParent().get();
  const TKBToken* B = &Left;
  if (!A || A->GetCount() != B->GetCount() || A->GetSortCode() != B->GetSortCode()) return false;
  while (A && B) {
    if (A == B) return true;
    const TFact* FA = A->GetFact().get();
    const TFact* FB = B->GetFact().get();
    if (FA != FB && (!FA || !FB || FA->GetID() != FB->GetID())) return false;
    A = A->GetParent().get();
    B = B->GetParent().get();
  }
  return A == B;
}

}  // namespace

std::string EnumName(TCallType V) { return CallTypeNames[V]; }
std::string EnumName(TPatternMatchTest V) { return PatternMatchTestNames[V]; }

std::string NodeArgToString(const TNodeArg& Arg) {
  if (const auto* Number = std::get_if<std::int32_t>(&Arg)) return IntToStr(*Number);
  return std::get<std::string>(Arg);
}

// ================================================================ TActivation

// A large agenda holds activations by the million: one fits a 72-byte block.
static_assert(sizeof(TActivation) <= 72);

TActivation::TActivation(IReteRule* ARule, const IReteToken& AToken, TPatternMatchTerminalNode* ANode,
                         float AStrength)
    : FRule(ARule), FToken(AToken), FNode(ANode) {
  SetStrength(AStrength);
}

TActivation::~TActivation() {
  if (FHolder) FHolder->ActivationFreed(this);
  if (FNode) FNode->Forget(this);
}

void TActivation::SetStrength(float Value) noexcept { FStrength = Value < 0.0f ? 0.0f : (Value > 1.0f ? 1.0f : Value); }

std::unique_ptr<TActivation> TActivation::Clone() const {
  // A clone is nobody's entry: the node does not list it.
  return std::make_unique<TActivation>(FRule, FToken, FNode, 1.0f);
}

bool TActivation::Fire() {
  if (FRule) FRule->Fire(FToken);
  // The node may free the activation: nothing of it is touched afterwards.
  if (FNode) FNode->RuleFired(this);
  return true;
}

std::string TActivation::ToString() const { return ToString(FRule ? FRule->GetSalience() : 0, FStrength); }

std::string TActivation::ToString(std::int32_t Salience, float Strength) const {
  std::string Result = IntToStr(Salience) + " " + (FRule ? FRule->GetRuleName() : "");
  Result += " : " + (FToken ? FToken->GetToFactsString() : std::string()) + " (" + Format("%.4f", Strength) + ")";
  return Result;
}

void TActivation::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TActivation*>(Source)) {
    FRule = Other->FRule;
    FToken = Other->FToken;
    FNode = Other->FNode;
    FStrength = Other->FStrength;
    return;
  }
  TPersistent::Assign(Source);
}

// ================================================================ TReteNode

TKBContext* TReteNode::GetContext() {
  if (!FContext) {
    IKnowledgeBase* Engine = FRete ? FRete->GetEngine() : nullptr;
    TKBContext* Global = Engine ? Engine->GetGlobalContext() : nullptr;
    FContext = Global ? Global->Push() : std::make_unique<TKBContext>(nullptr, nullptr);
  }
  return FContext.get();
}

bool TReteNode::Evaluate(const IKBValue& Call, const IReteToken& Token, const IFact& Fact) {
  TKBContext* Context = GetContext();
  const TContextScope Scope(Context, Token);
  Context->SetFact(Fact);
  const IKBValue Result = Call ? Call->Resolve(Context) : IKBValue();
  return !(Result && Result->Equals(FCFalse));
}

void TReteNode::CallChildren(const IReteToken& Token) {
  // By index, so that a host that changes the graph from an event does not
  // pull the list from under the walk.
  for (int I = 0; I < GetEdgeCount(); ++I) {
    const auto* Edge = static_cast<const TReteEdge*>(EdgeAt(I));
    Edge->GetToReteNode()->CallNode(Token, Edge->GetCallType());
  }
}

TReteEdge* TReteNode::LinkTo(TReteNode* Child, TCallType CallType) {
  auto* Edge = static_cast<TReteEdge*>(AddEdge(Child));
  Edge->SetCallType(CallType);
  return Edge;
}

std::string TReteNode::ToString() const {
  return GetName() + " In/Out#: " + IntToStr(GetPredecessorCount()) + "/" + IntToStr(GetEdgeCount()) +
         " RuleUse: " + IntToStr(FRuleUseCount);
}

std::unique_ptr<TGGraphEdge> TReteNode::NewEdge(TGGraphNode* ToNode) { return std::make_unique<TReteEdge>(this, ToNode); }

void TReteNode::AddingEdgeFrom(TGGraphNode* FromNode) {
  TGLinkedGraphNode::AddingEdgeFrom(FromNode);
  if (GetPredecessorCount() == 0 && FRete) FRete->RemoveRoot(this);
}

void TReteNode::RemovingEdgeFrom(TGGraphNode* FromNode) {
  TGLinkedGraphNode::RemovingEdgeFrom(FromNode);
  if (GetPredecessorCount() == 1 && FRete && GetGraph() == FRete) FRete->AddRoot(this);
}

// ================================================================ TPatternMatchNode

void TPatternMatchNode::SetPatternMatchTest(TPatternMatchTest Test, const TNodeArgsArray& Args, const IKBValue& Value) {
  FPatternMatchTest = Test;
  FArguments = Args;
  FValue = Value;
  FIsCall = Value && Value->GetDType() == dtFunCall;
  FOrder = {};
  auto Text = [&](std::size_t I) -> std::string {
    if (I >= Args.size()) return {};
    if (const auto* S = std::get_if<std::string>(&Args[I])) return *S;
    return NodeArgToString(Args[I]);
  };
  auto Number = [&](std::size_t I, std::int32_t Default) -> std::int32_t {
    if (I >= Args.size()) return Default;
    if (const auto* N = std::get_if<std::int32_t>(&Args[I])) return *N;
    return Default;
  };
  FSlot.SetName(Text(0));
  if (Test == pmtTestSlotValueEqual || Test == pmtTestSlotValueNotEqual) {
    FSlot2.SetName(Text(1));
    FNumber1 = Number(2, NoSubIndex);
    FNumber2 = Number(3, NoSubIndex);
  } else {
    FSlot2.SetName({});
    FNumber1 = Number(1, NoSubIndex);
    FNumber2 = NoSubIndex;
  }
}

bool TPatternMatchNode::AddsErrorText() const noexcept {
  switch (FPatternMatchTest) {
    case pmtTestEqual:
    case pmtTestNotEqual:
    case pmtTestSlotValueEqual:
    case pmtTestSlotValueNotEqual:
    case pmtTestMultiSlotEqual:
    case pmtTestMultiSlotNotEqual:
      return true;
    default:
      return false;
  }
}

bool TPatternMatchNode::CallNode(const IReteToken& Token, TCallType CallType) {
  (void)CallType;
  if (!Token) return false;
  if (Token->GetTag() == taClear) {
    TReteNode::CallChildren(Token);
    return true;
  }
  if (!AddsErrorText()) return RunTest(Token);
  try {
    return RunTest(Token);
  } catch (Exception& E) {
    E.SetMessage(E.GetMessage() + _SPatternMatchError + ToString());
    throw;
  }
}

bool TPatternMatchNode::TestClassType(const TFactTemplate* Template) const {
  if (!FValue || !Template) return false;
  // Every fact meets the roots: the pattern's name, a symbol, is read
  // without a copy.
  std::string Converted;
  std::string_view Wanted = FValue->GetText();
  if (Wanted.empty()) {
    Converted = FValue->GetAsString();
    Wanted = Converted;
  }
  if (Template->GetTemplateName() == Wanted) return true;
  // A pattern on a parent template sees the facts of derived templates too,
  // as long as they have the parent's slots: the later tests and the
  // bindings read them.
  for (IFactTemplate Parent = Template->GetParent(); Parent; Parent = Parent->GetParent()) {
    if (Parent->GetTemplateName() != Wanted) continue;
    const TStringList<>& Names = Parent->GetSlotNames();
    for (int I = 0; I < Names.GetCount(); ++I)
      if (!Template->ContainsSlot(Names.Get(I))) return false;
    return true;
  }
  return false;
}

bool TPatternMatchNode::TestValue(const IReteToken& Token, const IKBValue& Slot, bool Negate) {
  if (!FIsCall) return CallChildren(Token, FValue, Slot, Negate);
  const int Ordered =
      FOrder.Comparison != TNumericComparison::ncNone ? RunNumericOrder(*Token->GetFact()) : -1;
  bool Result = Ordered >= 0 ? Ordered == 1 : Evaluate(FValue, Token, Token->GetFact());
  // The call has found its function by now.
  if (!FOrder.Compiled) CompileNumericOrder();
  if (Negate) Result = !Result;
  if (Result) TReteNode::CallChildren(Token);
  return Result;
}

void TPatternMatchNode::CompileNumericOrder() {
  FOrder = {};
  FOrder.Compiled = true;
  const IFunCall Call = FValue ? FValue->GetAsFunCall() : IFunCall();
  if (!Call || Call->GetArgumentCount() != 2 || !Call->GetUserFunction()) return;
  TNumericOrder Order;
  Order.Compiled = true;
  Order.Comparison = Call->GetUserFunction()->GetNumericComparison();
  if (Order.Comparison == TNumericComparison::ncNone) return;
  for (int I = 0; I < 2; ++I) {
    const IKBValue Argument = Call->GetArgument(I);
    if (!Argument) return;
    switch (Argument->GetDType()) {
      case dtInteger:
      case dtFloat:
        Order.Numbers[I] = Argument->GetAsFloat();
        break;
      case dtObject: {
        const auto* Info = ObjectAs<TBindingInfo>(Argument->GetAsObject());
        if (!Info || Info->IsFactAddress() || Info->IsLocal() || Info->GetSubIndex() != NoSubIndex) return;
        Order.Slots[I] = Info;
        break;
      }
      default:
        return;
    }
  }
  // The node's value holds the call, its arguments and its function.
  Order.Call = Call.get();
  Order.Function = Call->GetUserFunction().get();
  FOrder = Order;
}

int TPatternMatchNode::RunNumericOrder(const TFact& Fact) const {
  if (FOrder.Call->GetUserFunction().get() != FOrder.Function) return -1;
  double X[2];
  for (int I = 0; I < 2; ++I) {
    if (!FOrder.Slots[I]) {
      X[I] = FOrder.Numbers[I];
      continue;
    }
    const TKBValue* Value = Fact.GetValueRef(FOrder.Slots[I]->GetSlotRef()).get();
    if (!Value || (Value->GetDType() != dtInteger && Value->GetDType() != dtFloat)) return -1;
    X[I] = Value->GetAsFloat();
  }
  switch (FOrder.Comparison) {
    case TNumericComparison::ncLess:
      return X[0] < X[1];
    case TNumericComparison::ncLessEqual:
      return X[0] <= X[1];
    case TNumericComparison::ncGreater:
      return X[0] > X[1];
    case TNumericComparison::ncGreaterEqual:
      return X[0] >= X[1];
    default:
      return -1;
  }
}

bool TPatternMatchNode::RunTest(const IReteToken& Token) {
  const TFact* Fact = Token->GetFact().get();
  if (!Fact) return false;
  switch (FPatternMatchTest) {
    case pmtUnknown:
    case pmtFailTest:
      return false;
    case pmtTestClassType:
      if (!TestClassType(Fact->GetTemplateRef().get())) return false;
      TReteNode::CallChildren(Token);
      return true;
    case pmtTestEqual:
    case pmtTestNotEqual: {
      const IKBValue& Slot = Fact->ContainsKeyRef(FSlot);
      return Slot && TestValue(Token, Slot, FPatternMatchTest == pmtTestNotEqual);
    }
    case pmtTestSlotValueEqual:
    case pmtTestSlotValueNotEqual: {
      IKBValue First = Fact->ContainsKey(FSlot);
      IKBValue Second = Fact->ContainsKey(FSlot2);
      if (First && FNumber1 != NoSubIndex) First = ListItem(First, FNumber1);
      if (Second && FNumber2 != NoSubIndex) Second = ListItem(Second, FNumber2);
      if (!First || !Second) return false;
      return CallChildren(Token, Second, First, FPatternMatchTest == pmtTestSlotValueNotEqual);
    }
    case pmtTestMultiSlotEqual:
    case pmtTestMultiSlotNotEqual: {
      const IKBValue Item = ListItem(Fact->ContainsKey(FSlot), FNumber1);
      return Item && TestValue(Token, Item, FPatternMatchTest == pmtTestMultiSlotNotEqual);
    }
    case pmtTestMultiSlotLength: {
      const IKBValue& Slot = Fact->ContainsKeyRef(FSlot);
      if (!Slot || Slot->GetDType() != dtList) return false;
      const IValueVector List = Slot->GetAsList();
      if ((List ? List->GetCount() : 0) != FNumber1) return false;
      TReteNode::CallChildren(Token);
      return true;
    }
    case pmtTestMultiSlotMultiField:
      return PassMultiField(Token);
  }
  return false;
}

bool TPatternMatchNode::PassMultiField(const IReteToken& Token) {
  const IFact& Fact = Token->GetFact();
  const IKBValue Slot = Fact->ContainsKey(FSlot);
  if (!Slot) return false;
  if (Slot->Equals(FCNil)) {
    TReteNode::CallChildren(Token);
    return true;
  }
  if (Slot->GetDType() != dtList) return false;
  const IValueVector List = Slot->GetAsList();
  const std::int32_t N = List ? List->GetCount() : 0;
  const std::int32_t P = FNumber1 < 0 ? 0 : FNumber1;
  // The variable takes all the items from P on, then one fewer each round.
  for (std::int32_t I = 0; I <= N - P; ++I) {
    const std::int32_t R = N - P - I;
    IValueVector Shaped(new TValueVector());
    IValueVector Taken(new TValueVector());
    for (std::int32_t K = 0; K < P; ++K) Shaped->Add(List->GetRef(K));
    for (std::int32_t K = P; K < P + R; ++K) Taken->Add(List->GetRef(K));
    Shaped->Add(IKBValue(new TKBValue(Taken)));
    for (std::int32_t K = P + R; K < N; ++K) Shaped->Add(List->GetRef(K));
    const IFact Clone = Fact->Clone();
    Clone->SetID(Fact->GetID());
    Clone->SetValue(FSlot.GetName(), IKBValue(new TKBValue(Shaped)));
    TReteNode::CallChildren(IReteToken(new TKBToken(IReteToken(), Clone, Token->GetTag(), Token->GetStrength())));
  }
  return true;
}

bool TPatternMatchNode::CallChildren(const IReteToken& Token, const IKBValue& Value1, const IKBValue& Value2,
                                     bool Negate) {
  bool Result = Value2 && Value2->Equals(Value1);
  if (Negate) Result = !Result;
  if (!Result) return false;
  const bool Fuzzy1 = Value1 && Value1->GetDType() == dtFuzzy;
  const bool Fuzzy2 = Value2 && Value2->GetDType() == dtFuzzy;
  if (!Fuzzy1 && !Fuzzy2) {
    TReteNode::CallChildren(Token);
    return Result;
  }
  const IFuzzySet Set = Fuzzy2 ? Value2->GetAsFuzzy() : Value1->GetAsFuzzy();
  const IKBValue& Other = Fuzzy2 ? Value1 : Value2;
  const float Degree = Set ? Set->FuzzyEquals(IInterface(Other)) : 0.0f;
  if (Token->GetStrength() > Degree) {
    if (Degree >= GetRete()->GetMinActivationStrength()) {
      IReteToken Weaker(new TKBToken(*Token));
      Weaker->SetStrength(Degree);
      TReteNode::CallChildren(Weaker);
    }
  } else {
    TReteNode::CallChildren(Token);
  }
  return Result;
}

bool TPatternMatchNode::Equals(TPatternMatchTest Test, const IKBValue& Value, const TNodeArgsArray& Args) const {
  if (Test != FPatternMatchTest) return false;
  if (!Value) {
    if (FValue) return false;
  } else {
    if (!FValue || Args.size() != FArguments.size()) return false;
    if (Value->GetDType() == dtFuzzy || FValue->GetDType() == dtFuzzy) {
      const bool Mine = FValue->GetDType() == dtFuzzy;
      const IFuzzySet Set = Mine ? FValue->GetAsFuzzy() : Value->GetAsFuzzy();
      if (!Set || Set->FuzzyEquals(IInterface(Mine ? Value : FValue)) < 1.0f) return false;
    } else if (!FValue->Equals(Value)) {
      return false;
    }
  }
  return Args == FArguments;
}

std::string TPatternMatchNode::ToString() const {
  std::string Result = TReteNode::ToString();
  if (FValue) Result += " Value: " + FValue->ToString();
  Result += " Test: " + EnumName(FPatternMatchTest);
  if (!FArguments.empty()) {
    Result += " Args: (";
    for (std::size_t I = 0; I < FArguments.size(); ++I) Result += (I ? ", " : "") + NodeArgToString(FArguments[I]);
    Result += ")";
  }
  return Result;
}

// ================================================================ TTestNode

TKBSlotTest* TTestNode::GetTest(int Index) const {
  if (Index < 0 || Index >= GetTestCount()) throw EListError(Format(SListIndexError, Index));
  return FTests[static_cast<std::size_t>(Index)].get();
}

void TTestNode::AddTest(TSlotTestType Type, const TKBName& SlotName, std::int32_t SubIndex, const IKBValue& Value) {
  (void)SlotName;
  AddTest(std::make_unique<TKBPatternMatchTest>(nullptr, Type, SubIndex, Value));
}

void TTestNode::AddTest(std::unique_ptr<TKBSlotTest> Test) {
  if (!Test) return;
  if (!dynamic_cast<const TKBJoinTest*>(Test.get())) ++FContextTests;
  FTests.push_back(std::move(Test));
}

void TTestNode::ClearTests() {
  FTests.clear();
  FContextTests = 0;
}

void TTestNode::DeleteTest(int Index) {
  if (!dynamic_cast<const TKBJoinTest*>(GetTest(Index))) --FContextTests;
  FTests.erase(FTests.begin() + Index);
}

bool TTestNode::Equals(const TTestNode* Node) const {
  if (Node == this) return true;
  if (!Node || typeid(*Node) != typeid(*this) || Node->GetTestCount() != GetTestCount()) return false;
  auto HasCall = [](const TTestNode& N) {
    return std::any_of(N.FTests.begin(), N.FTests.end(),
                       [](const auto& T) { return dynamic_cast<const TKBPatternMatchTest*>(T.get()) != nullptr; });
  };
  if (HasCall(*this) || HasCall(*Node)) return false;
  return std::all_of(FTests.begin(), FTests.end(), [&](const auto& Mine) {
    return std::any_of(Node->FTests.begin(), Node->FTests.end(),
                       [&](const auto& Theirs) { return Mine->Equals(Theirs.get()); });
  });
}

bool TTestNode::RunTests(const IReteToken& Token, const IFact& Fact, int Count) {
  if (FTests.empty() || Count <= 0) return true;
  TKBContext* Context = GetContext();
  const TContextScope Scope(Context, Token);
  Context->SetFact(Fact);
  const std::size_t N = std::min<std::size_t>(static_cast<std::size_t>(Count), FTests.size());
  for (std::size_t I = 0; I < N; ++I)
    if (!FTests[I]->PerformTest(Context)) return false;
  return true;
}

bool TTestNode::CallNode(const IReteToken& Token, TCallType CallType) {
  (void)CallType;
  if (!Token) return false;
  if (Token->GetTag() != taClear && !RunTests(Token, nullptr, GetTestCount())) return false;
  CallChildren(Token);
  return true;
}

std::string TTestNode::ToString() const {
  std::string Result = TReteNode::ToString() + " NumTests: " + IntToStr(GetTestCount());
  for (const auto& Test : FTests) Result += " (" + Test->ToString() + ")";
  return Result;
}

// ================================================================ TJoinNode

// Joins that share a left memory take turns on each change of it. Their
// parent calls them one after the other with the same token object, and
// between the first call and the last only the subtrees of the joins
// already called run, which feed no right input of the others: so the first
// join to come makes the change and the others, in their turn, take its
// result. Anything else that reaches the memory while some have still to
// take their turn (a token from a nested assertion, a right token of a join
// still to take its turn, a clear, or the next change after an error broke
// the round off) first gives those joins a memory of their own, as they saw
// it.
struct TJoinNode::TLeftShare {
  std::vector<TJoinNode*> Users;
  // The last change, numbered, and how many joins took their turn on it.
  std::uint64_t Serial = 0;
  std::size_t Turns = 0;
  // Held, so that no later token can come at the same address while turns
  // are open.
  IReteToken Token;
  IReteToken Removed;
  bool Adding = false;
  bool Result = false;
  // An added token grows the memory once all took their turn, so that the
  // joins still to take theirs can be given the memory as it was.
  bool GrowDue = false;
  std::int32_t Key = 0;
  // Where the removed token stood.
  std::int32_t RemovedKey = 0;
  std::int32_t Before = -1;

  bool Open() const noexcept { return Token && Turns < Users.size(); }
  // A join's turn on the last change, when that was made with Token: the
  // change's result goes to Result. False when the join has to make a
  // change of its own.
  bool TakeTurn(TKBTokenTree& Memory, const IReteToken& Token, bool Adding, std::uint64_t& Seen,
                IReteToken* Taken, std::int32_t& TakenKey, bool& Result) {
    if (Seen == Serial || Token != this->Token || Adding != this->Adding || !Open()) return false;
    Seen = Serial;
    TakenKey = Key;
    if (Taken) *Taken = Removed;
    Result = this->Result;
    if (++Turns == Users.size()) {
      if (GrowDue) Memory.GrowWhenFull();
      Forget();
    }
    return true;
  }
  void Forget() noexcept {
    Token.reset();
    Removed.reset();
    GrowDue = false;
    Turns = Users.size();
  }
};

TJoinNode::~TJoinNode() { LeaveLeftShare(); }

void TJoinNode::SetPattern(TKBPattern* Value) {
  if (Value) {
    const IFactTemplate& Template = Value->GetFactTemplate();
    if (!Template || !Template->IsBackwardChaining()) throw EKBException(_SInvalidBackchainPattern);
  }
  FPattern = Value;
}

void TJoinNode::ClearMemory() {
  if (!FLeftMemory) {
    FLeftMemory = std::make_shared<TKBTokenTree>(FHashKey, FTokenIndex, FLeftSubIndex, FLeftFactIndex, !FShortCut);
    for (const TKeyPair& Pair : FMoreKeys) FLeftMemory->AddKeyPart(Pair.TokenIndex, Pair.Left, Pair.LeftSub);
  } else {
    if (FLeftShare && FLeftShare->Open()) SplitLeftMemory();
    FLeftMemory->Clear();
    if (FLeftShare) FLeftShare->Forget();
  }
  if (!FRightMemory) {
    FRightMemory = std::make_unique<TKBTokenTree>(FHashKey, 0, FRightSubIndex, FRightFactIndex, false);
    for (const TKeyPair& Pair : FMoreKeys) FRightMemory->AddKeyPart(0, Pair.Right, Pair.RightSub);
    // The right tokens of an exists gate each extend one left token.
    FRightMemory->SetKeyByParent(FBlocksOwnLeft);
  } else {
    FRightMemory->Clear();
  }
}

void TJoinNode::ClearNode() {
  if (FLeftMemory) {
    if (FLeftShare && FLeftShare->Open()) SplitLeftMemory();
    FLeftMemory->Clear();
    if (FLeftShare) FLeftShare->Forget();
  }
  if (FRightMemory) FRightMemory->Clear();
}

bool TJoinNode::ShareLeftMemory(TJoinNode* Sibling) {
  if (!Sibling || Sibling == this || FLeftShare || FNegatedPattern || FBlocksOwnLeft || Sibling->FNegatedPattern ||
      Sibling->FBlocksOwnLeft || !FLeftMemory || !Sibling->FLeftMemory || FLeftMemory == Sibling->FLeftMemory)
    return false;
  if (!FLeftMemory->KeysAlike(*Sibling->FLeftMemory) || !FLeftMemory->SameTokens(*Sibling->FLeftMemory)) return false;
  std::shared_ptr<TLeftShare> Share = Sibling->FLeftShare;
  if (Share && Share->Open()) return false;
  if (!Share) {
    Share = std::make_shared<TLeftShare>();
    Share->Users.reserve(2);
    Share->Users.push_back(Sibling);
    Sibling->FLeftSeen = 0;
    Sibling->FLeftShare = Share;
  }
  Share->Users.push_back(this);
  Share->Turns = Share->Users.size();
  FLeftShare = std::move(Share);
  FLeftMemory = Sibling->FLeftMemory;
  FLeftSeen = FLeftShare->Serial;
  return true;
}

void TJoinNode::SplitLeftMemory() {
  const std::shared_ptr<TLeftShare> Share = FLeftShare;
  const std::shared_ptr<TKBTokenTree> Memory = FLeftMemory;
  auto View = std::make_shared<TKBTokenTree>(Memory->GetHash(), Memory->GetTokenIndex(), Memory->GetSubIndex(),
                                             Memory->GetFactIndex(), Memory->GetUseHashCode());
  View->CopyKeyParts(*Memory);
  View->CopyFrom(*Memory, Share->Adding && Share->Result ? Share->Token.get() : nullptr,
                 !Share->Adding && Share->Result ? Share->Removed : IReteToken(), Share->RemovedKey, Share->Before);
  std::vector<TJoinNode*> Ahead, Behind;
  for (TJoinNode* User : Share->Users) (User->FLeftSeen == Share->Serial ? Ahead : Behind).push_back(User);
  std::shared_ptr<TLeftShare> Rest;
  if (Behind.size() > 1) {
    Rest = std::make_shared<TLeftShare>();
    Rest->Users = Behind;
    Rest->Turns = Behind.size();
  }
  if (Share->GrowDue) Memory->GrowWhenFull();
  for (TJoinNode* User : Behind) {
    User->FLeftMemory = View;
    User->FLeftShare = Rest;
    User->FLeftSeen = 0;
  }
  Share->Users = std::move(Ahead);
  Share->Forget();
  if (Share->Users.size() < 2)
    for (TJoinNode* User : Share->Users) User->FLeftShare.reset();
}

void TJoinNode::LeaveLeftShare() noexcept {
  if (!FLeftShare) return;
  if (FLeftShare->Open()) {
    // The joins still to take their turn must not be left with a change
    // that nobody will take back for them.
    try {
      SplitLeftMemory();
    } catch (...) {
      // Out of memory: they go on with the memory as it is.
    }
    if (!FLeftShare) return;
  }
  const std::shared_ptr<TLeftShare> Share = std::move(FLeftShare);
  std::vector<TJoinNode*>& Users = Share->Users;
  Users.erase(std::remove(Users.begin(), Users.end(), this), Users.end());
  if (Share->Token && FLeftSeen == Share->Serial && Share->Turns > 0) --Share->Turns;
  if (Share->Token && Share->Turns < Users.size() && Users.size() > 1) return;
  // The turns are over, or there is nobody left to share with.
  if (Share->GrowDue) {
    try {
      FLeftMemory->GrowWhenFull();
    } catch (...) {
      // Longer buckets, no more.
    }
  }
  Share->Forget();
  if (Users.size() < 2)
    for (TJoinNode* User : Users) User->FLeftShare.reset();
}

bool TJoinNode::ChangeLeft(const IReteToken& Token, bool Adding, IReteToken* Removed, std::int32_t& Key) {
  if (FLeftShare) {
    if (bool Result; FLeftShare->TakeTurn(*FLeftMemory, Token, Adding, FLeftSeen, Removed, Key, Result)) return Result;
    // Splitting may leave this join a memory of its own.
    if (FLeftShare->Open()) SplitLeftMemory();
  }
  TKBTokenTree& Memory = *FLeftMemory;
  // The key goes back to the caller, whose walk of the right memory looks
  // it up without working it out again.
  bool Exact = false;
  Key = Memory.GetKey(*Token, Adding && Memory.GetExactKeys() ? &Exact : nullptr);
  if (!FLeftShare)
    return Adding ? Memory.Add(Token, Key, true, Exact) : Memory.Remove(Token, Key, Removed, nullptr, nullptr);
  TLeftShare& Share = *FLeftShare;
  IReteToken Out;
  std::int32_t RemovedKey = 0;
  std::int32_t Before = -1;
  const bool Result =
      Adding ? Memory.Add(Token, Key, false, Exact) : Memory.Remove(Token, Key, &Out, &RemovedKey, &Before);
  ++Share.Serial;
  Share.Turns = 1;
  Share.Token = Token;
  Share.Adding = Adding;
  Share.Result = Result;
  Share.GrowDue = Adding && Result;
  Share.Key = Key;
  Share.RemovedKey = RemovedKey;
  Share.Before = Before;
  if (Removed) *Removed = Out;
  Share.Removed = std::move(Out);
  FLeftSeen = Share.Serial;
  return Result;
}

void TJoinNode::AddTest(TSlotTestType Type, std::int32_t TokenIndex, const TKBName& LeftIndex,
                        const TKBName& RightIndex) {
  TTestNode::AddTest(std::make_unique<TKBJoinTest>(Type, LeftIndex, RightIndex, TokenIndex));
}

void TJoinNode::AddTest(TSlotTestType Type, std::int32_t TokenIndex, const TKBName& LeftIndex, std::int32_t LeftSub,
                        const TKBName& RightIndex, std::int32_t RightSub) {
  if (LeftSub == NoSubIndex && RightSub == NoSubIndex)
    AddTest(Type, TokenIndex, LeftIndex, RightIndex);
  else
    TTestNode::AddTest(std::make_unique<TKBJoinTest>(Type, LeftIndex, LeftSub, RightIndex, RightSub, TokenIndex));
}

void TJoinNode::PrepareShortCut() {
  auto Equality = [this](std::size_t I, TJoinTestType Kind) -> const TKBJoinTest* {
    const auto* Join = dynamic_cast<const TKBJoinTest*>(FTests[I].get());
    return Join && Join->GetJoinTestType() == Kind && Join->GetSlotTestType() == sttEquals ? Join : nullptr;
  };
  auto Find = [&](TJoinTestType Kind) -> std::size_t {
    for (std::size_t I = 0; I < FTests.size(); ++I)
      if (Equality(I, Kind)) return I;
    return FTests.size();
  };
  FMoreKeys.clear();
  std::size_t Index = Find(tstSlot);
  if (Index == FTests.size()) Index = Find(tstMultiSlot);
  if (Index < FTests.size()) {
    const auto* Join = static_cast<const TKBJoinTest*>(FTests[Index].get());
    FRightFactIndex = Join->GetRightIndex();
    FTokenIndex = Join->GetTokenIndex();
    FLeftFactIndex = Join->GetLeftIndex();
    if (Join->GetJoinTestType() == tstMultiSlot) {
      FLeftSubIndex = Join->GetLeftSubIndex();
      FRightSubIndex = Join->GetRightSubIndex();
    }
    FShortCut = true;
    std::swap(FTests[0], FTests[Index]);
    // Every other equality narrows the key: a token then walks past only
    // the tokens whose keys collide, not all that share the first value.
    for (std::size_t I = 1; I < FTests.size(); ++I) {
      const TKBJoinTest* More = Equality(I, tstSlot);
      if (!More) More = Equality(I, tstMultiSlot);
      if (!More) continue;
      const bool Items = More->GetJoinTestType() == tstMultiSlot;
      FMoreKeys.push_back({More->GetTokenIndex(), More->GetLeftIndex(), Items ? More->GetLeftSubIndex() : NoSubIndex,
                           More->GetRightIndex(), Items ? More->GetRightSubIndex() : NoSubIndex});
    }
  }
  if (FLeftShare) {
    // The keys may change: the other joins keep the memory.
    LeaveLeftShare();
  }
  // The keys may have changed: memories made before are made anew.
  FLeftMemory.reset();
  FRightMemory.reset();
  ClearMemory();
}

bool TJoinNode::Equals(const TTestNode* Node) const {
  if (FNegatedPattern) return false;
  const auto* Join = dynamic_cast<const TJoinNode*>(Node);
  if (!Join || Join->FNegatedPattern) return false;
  return TTestNode::Equals(Node);
}

bool TJoinNode::Matches(const IReteToken& Left, const TKBToken& Right) {
  if (FBlocksOwnLeft) return ExtendsLeft(Right, *Left);
  if (FContextTests == 0) {
    // Comparisons of slots only: every test is a join test, and none needs
    // a context.
    for (const auto& Test : FTests)
      if (!static_cast<const TKBJoinTest*>(Test.get())->Test(*Left, Right.GetFact())) return false;
    return true;
  }
  // The context holds the left token for the whole walk; only the fact moves.
  TKBContext* Context = GetContext();
  Context->SetFact(Right.GetFact());
  for (const auto& Test : FTests)
    if (!Test->PerformTest(Context)) return false;
  return true;
}

IReteToken TJoinNode::Extend(const IReteToken& Left, const IFact& Fact, float RightStrength,
                             TTokenAction Action) const {
  return IReteToken(new TKBToken(Left, Fact, Action, std::min(Left->GetStrength(), RightStrength)));
}

bool TJoinNode::CallNode(const IReteToken& Token, TCallType CallType) {
  FMatches = 0;
  if (!Token) return false;
  if (Token->GetTag() == taClear) {
    ClearMemory();
    CallChildren(Token);
    return false;
  }
  if (!FLeftMemory || !FRightMemory) ClearMemory();
  const bool Adding = Token->GetTag() != taRemove;
  switch (CallType) {
    case ctLeft:
      if (FNegatedPattern && Adding) {
        // A negated join keeps its count on the stored token, so it stores a
        // copy; nothing else changes a token once made.
        const IReteToken Stored(new TKBToken(*Token));
        std::int32_t Key;
        if (ChangeLeft(Stored, true, nullptr, Key)) {
          RunTestsVaryRight(Token, Stored.get(), Key);
          AskForBackChain(Token);
        }
      } else if (Adding) {
        // Many joins may follow one node, most with nothing to meet: the
        // calls that would find nothing to do are not made.
        std::int32_t Key;
        bool Added;
        if (!FLeftShare || !FLeftShare->TakeTurn(*FLeftMemory, Token, true, FLeftSeen, nullptr, Key, Added))
          Added = ChangeLeft(Token, true, nullptr, Key);
        if (Added) {
          if (FRightMemory->GetCount() > 0) RunTestsVaryRight(Token, Token.get(), Key);
          if (FPattern) AskForBackChain(Token);
        }
      } else {
        IReteToken Removed;
        std::int32_t Key;
        if (ChangeLeft(Token, false, &Removed, Key)) RunTestsVaryRight(Token, Removed.get(), Key);
      }
      break;
    case ctRight:
      // Right tokens are never changed by the join, so the token itself is
      // kept; the walk files it first.
      RunTestsVaryLeft(Token);
      break;
    default:
      throw EKBException(Format(_SInvalidCallType, EnumName(CallType)));
  }
  return true;
}

void TJoinNode::RunTestsVaryRight(const IReteToken& Left, TKBToken* Stored, std::int32_t LeftKey) {
  // Nothing to meet: only a negated join has work to do.
  if (!FNegatedPattern && FRightMemory->GetCount() == 0) return;
  const TTokenAction Action = Left->GetTag();
  const bool Removing = Action == taRemove;
  if (FNegatedPattern && Removing) {
    // The stored copy knows whether the left token was blocked; a free one
    // takes back what it passed.
    if (!Stored || Stored->GetNegatedCount() == 0) {
      ++FMatches;
      CallChildren(Extend(Left, GetRete()->GetNullFact(), Left->GetStrength(), Action));
    }
    return;
  }
  std::int32_t Blocking = 0;
  TKBContext* Context = FContextTests == 0 || FBlocksOwnLeft ? nullptr : GetContext();
  const TContextScope Scope(Context, Left);
  if (FShortCut && LeftKey < 0) LeftKey = FLeftMemory->GetKey(*Left);
  // Two loops, by ByKey's type: a walk that need not compare keys pays
  // nothing for the comparison.
  auto Walk = [&](const TKBTokenTree::TTokens& Bucket, auto ByKey) {
    for (auto It = Bucket.begin(); It != Bucket.end(); ++It) {
      if (decltype(ByKey)::value && It.Key() != LeftKey) continue;
      const IReteToken& Right = *It;
      if (!Matches(Left, *Right)) continue;
      if (FNegatedPattern) {
        ++Blocking;
        continue;
      }
      const IReteToken Held(Right);
      if (!Removing) ++FMatches;
      CallChildren(Extend(Left, Held->GetFact(), Held->GetStrength(), Action));
      if (FUnique && !Removing) return false;
    }
    return true;
  };
  if (FShortCut || FBlocksOwnLeft) {
    // A left token's key in its own memory is the key of the right tokens it
    // can meet: the short cut's value, or for a gate the token itself.
    const TKBTokenTree::TTokens Bucket = FRightMemory->GetTokens(LeftKey >= 0 ? LeftKey : FLeftMemory->GetKey(*Left));
    if (ExactShortCut())
      Walk(Bucket, std::true_type());
    else
      Walk(Bucket, std::false_type());
  } else if (!FRightMemory->GetEmpty()) {
    for (std::int32_t B = FRightMemory->GetLowIndex(); B <= FRightMemory->GetHighIndex(); ++B)
      if (!Walk(FRightMemory->GetTokens(B), std::false_type())) break;
  }
  if (!FNegatedPattern) return;
  if (Blocking > 0) {
    if (Stored) Stored->SetNegatedCount(Blocking);
    return;
  }
  ++FMatches;
  CallChildren(Extend(Left, GetRete()->GetNullFact(), Left->GetStrength(), Action));
}

void TJoinNode::RunTestsVaryLeft(const IReteToken& Right) {
  // The right token goes into the memory or out of it first, under a key
  // worked out once for the memory and the walk; an add of a token held
  // already or the removal of one not held changes nothing.
  const TTokenAction Action = Right->GetTag();
  const bool Adding = Action != taRemove;
  bool Exact = false;
  const std::int32_t Key = FRightMemory->GetKey(*Right, Adding && FRightMemory->GetExactKeys() ? &Exact : nullptr);
  const bool Changed =
      Adding ? FRightMemory->Add(Right, Key, true, Exact) : FRightMemory->Remove(Right, Key, nullptr, nullptr, nullptr);
  if (!Changed) return;
  // A join still to take its turn on the shared memory's last change must
  // not see it yet.
  if (FLeftShare && FLeftShare->Open()) SplitLeftMemory();
  if (FLeftMemory->GetCount() == 0) return;
  TKBContext* Context = FContextTests == 0 || FBlocksOwnLeft ? nullptr : GetContext();
  const std::int32_t RightKey = FShortCut || FBlocksOwnLeft ? Key : 0;
  auto Walk = [&](const TKBTokenTree::TTokens& Bucket, auto ByKey) {
    for (auto It = Bucket.begin(); It != Bucket.end(); ++It) {
      if (decltype(ByKey)::value && It.Key() != RightKey) continue;
      const IReteToken& Left = *It;
      if (Context) Context->SetToken(Left);
      if (!Matches(Left, *Right)) continue;
      const IReteToken Held(Left);
      if (!FNegatedPattern) {
        CallChildren(Extend(Held, Right->GetFact(), Right->GetStrength(), Action));
      } else if (Action != taRemove) {
        // The first right token to block the left one takes back what it passed.
        const std::int32_t Count = Held->GetNegatedCount();
        Held->SetNegatedCount(Count + 1);
        if (Count == 0) CallChildren(Extend(Held, GetRete()->GetNullFact(), Held->GetStrength(), taRemove));
      } else if (Held->GetNegatedCount() > 0) {
        // An exists gate loses a right token also when the left token it
        // extends is being retracted, just before that left token reaches
        // the gate: freeing it now would raise an activation that its own
        // removal takes back at once. The left token goes blocked instead.
        if (FBlocksOwnLeft && Right->GetParent() && Right->GetParent()->GetTag() == taRemove) continue;
        Held->SetNegatedCount(Held->GetNegatedCount() - 1);
        if (Held->GetNegatedCount() == 0)
          CallChildren(Extend(Held, GetRete()->GetNullFact(), Held->GetStrength(), Held->GetTag()));
      }
    }
  };
  const TContextScope Scope(Context, nullptr);
  if (FShortCut || FBlocksOwnLeft) {
    if (ExactShortCut())
      Walk(FLeftMemory->GetTokens(RightKey), std::true_type());
    else
      Walk(FLeftMemory->GetTokens(RightKey), std::false_type());
  } else {
    for (std::int32_t B = FLeftMemory->GetLowIndex(); B <= FLeftMemory->GetHighIndex(); ++B)
      Walk(FLeftMemory->GetTokens(B), std::false_type());
  }
}

void TJoinNode::AskForBackChain(const IReteToken& Token) {
  if (!FPattern || FMatches != 0 || FPattern->GetName().starts_with(SBackChainPrefix)) return;
  IKnowledgeBase* Engine = GetRete()->GetEngine();
  if (!Engine) return;
  const IFactTemplate Template = Engine->CreateFactTemplate(SBackChainPrefix + FPattern->GetName());
  const IFact Goal(new TFact(Template));
  for (int Slot = 0; Slot < FPattern->GetSlotCount(); ++Slot) {
    const std::string SlotName = FPattern->GetSlotName(Slot);
    IFactSlot TemplateSlot;
    const bool Multi = Template->ContainsSlot(SlotName, TemplateSlot) && TemplateSlot &&
                       TemplateSlot->GetSlotType().Contains(dtMultiSlot);
    IKBValue Value = Multi ? FCNilList : FCNil;
    IValueVector List;
    if (const TSlotTests* Tests = FPattern->GetSlotTests(Slot)) {
      for (const TKBPatternMatchTest* Test : *Tests) {
        if (Test->GetSlotTestType() == sttNotEquals) continue;
        const IKBValue& TestValue = Test->GetSlotValue();
        IKBValue Found = TestValue;
        if (IsVariable(TestValue)) {
          Found = Value;
          const TBinding* Binding = FRule ? FRule->GetBindingByName(TestValue->GetAsString()) : nullptr;
          if (Binding && Binding->GetFactIndex() < Token->GetCount())
            if (const IFact& Source = Token->GetFacts(Binding->GetFactIndex()))
              if (IKBValue Held = Source->ContainsKey(Binding->GetSlotIndex())) Found = Held;
        }
        if (!Multi) {
          Value = Found;
          break;
        }
        if (!List) List = IValueVector(new TValueVector());
        const std::int32_t At = Test->GetMultiSlotSubIndex();
        if (At >= 0 && At < List->GetCount())
          List->Put(At, Found);
        else
          List->Add(Found);
      }
    }
    if (Multi && List) {
      for (int I = 0; I < List->GetCount(); ++I)
        if (!List->GetRef(I)) List->Put(I, FCNil);
      Value = IKBValue(new TKBValue(List));
    }
    Goal->SetValue(SlotName, Value);
  }
  Engine->AddPendingFact(Goal, true);
}

std::string TJoinNode::ToString() const {
  std::string Result = TTestNode::ToString();
  if (FNegatedPattern) Result += " *NEGATED*";
  if (FLeftMemory) Result += " Left Memory: " + FLeftMemory->GetToFactsString();
  if (FRightMemory) Result += " Right Memory: " + FRightMemory->GetToFactsString();
  return Result;
}

// ================================================================ TPatternMatchTerminalNode

TPatternMatchTerminalNode::~TPatternMatchTerminalNode() { StandDown(); }

TActivation* TPatternMatchTerminalNode::GetActivation(int Index) const {
  if (Index < 0 || Index >= GetActivationCount()) throw EListError(Format(SListIndexError, Index));
  return FActivations[static_cast<std::size_t>(Index)];
}

int TPatternMatchTerminalNode::IndexOf(const TActivation* Activation) const noexcept {
  return Activation && Activation->FNode == this ? Activation->FListIndex : -1;
}

bool TPatternMatchTerminalNode::CallNode(const IReteToken& Token, TCallType CallType) {
  (void)CallType;
  if (!Token) return false;
  switch (Token->GetTag()) {
    case taClear:
      StandDown();
      break;
    case taAdd:
    case taUpdate:
      AddActivation(Token);
      break;
    case taRemove:
      StandDown(Token);
      break;
  }
  return true;
}

void TPatternMatchTerminalNode::AddActivation(const IReteToken& Token) {
  if (Token->GetTag() == taAdd && FRule &&
      ((FRule->GetOneShot() && FRule->GetHasFired()) || !FRule->GetEnabled()))
    return;
  if (Token->GetTag() == taUpdate && FInitialized) return;
  auto* Activation = new TActivation(FRule, Token, this, Token->GetStrength());
  Activation->FListIndex = GetActivationCount();
  FActivations.push_back(Activation);
  Activation->FListCode = Token->GetSortCode();
  Activation->FSerial = ++FSerial;
  if (FIndexed) IndexByToken(Activation);
  GetRete()->Activate(Activation);
}

void TPatternMatchTerminalNode::IndexByToken(TActivation* Activation) {
  if (FActivations.size() > FByToken.size()) {
    // Four times the buckets: a large node rehashes its activations, one
    // cache miss each, a third as often as doubling would. A bucket is the
    // top bits of the hash, so old bucket B spreads over new buckets
    // Spread*B and the next Spread-1 alone, and a tail for each of those is
    // all a chain needs to keep its order: equal tokens are still met
    // newest first.
    constexpr std::size_t Spread = 4;
    pool::TLargeVector<TActivation*> Old(FByToken.empty() ? 16 : FByToken.size() * Spread, nullptr);
    Old.swap(FByToken);
    FByTokenShift = static_cast<std::uint32_t>(32 - std::countr_zero(FByToken.size()));
    for (std::size_t B = 0; B < Old.size(); ++B) {
      std::array<TActivation*, Spread> Tails{};
      for (TActivation* Next = Old[B]; Next;) {
        TActivation* Moved = Next;
        Next = Moved->FNextByToken;
        Moved->FNextByToken = nullptr;
        const std::size_t Bucket = static_cast<std::size_t>(&ByTokenHead(Moved->FListCode) - FByToken.data());
        TActivation*& Tail = Tails[(Bucket - B * Spread) % Spread];
        (Tail ? Tail->FNextByToken : FByToken[Bucket]) = Moved;
        Tail = Moved;
      }
    }
  }
  TActivation*& Head = ByTokenHead(Activation->FListCode);
  Activation->FNextByToken = Head;
  Head = Activation;
}

void TPatternMatchTerminalNode::BuildIndex() {
  pool::TLargeVector<TActivation*> Listed(FActivations);
  // Oldest first, by age rather than by serial, so that the order holds
  // across the serial's wrapping round.
  const auto Age = [this](const TActivation* A) { return static_cast<std::uint32_t>(FSerial - A->FSerial); };
  std::sort(Listed.begin(), Listed.end(),
            [&Age](const TActivation* A, const TActivation* B) { return Age(A) > Age(B); });
  FIndexed = true;
  for (TActivation* Activation : Listed) IndexByToken(Activation);
}

void TPatternMatchTerminalNode::Unlist(TActivation* Activation) noexcept {
  const int Index = IndexOf(Activation);
  if (Index < 0) return;
  TActivation* Last = FActivations.back();
  FActivations[static_cast<std::size_t>(Index)] = Last;
  Last->FListIndex = Index;
  FActivations.pop_back();
  Activation->FListIndex = -1;
  if (!FIndexed) return;
  for (TActivation** Link = &ByTokenHead(Activation->FListCode); *Link; Link = &(*Link)->FNextByToken)
    if (*Link == Activation) {
      *Link = Activation->FNextByToken;
      break;
    }
  Activation->FNextByToken = nullptr;
}

void TPatternMatchTerminalNode::Deactivate(int Index) { Deactivate(GetActivation(Index)); }

void TPatternMatchTerminalNode::Deactivate(TActivation* Activation) {
  if (IndexOf(Activation) < 0) return;
  Unlist(Activation);
  GetRete()->Deactivate(Activation);
}

void TPatternMatchTerminalNode::RuleFired(TActivation* Activation) {
  Unlist(Activation);
  GetRete()->RuleFired(Activation);
}

void TPatternMatchTerminalNode::StandDown() {
  while (!FActivations.empty()) Deactivate(FActivations.back());
}

void TPatternMatchTerminalNode::StandDown(const IReteToken& Token) {
  if (FActivations.empty()) return;
  if (!FIndexed) BuildIndex();
  const std::int32_t Code = Token->GetSortCode();
  for (TActivation* Activation = ByTokenHead(Code); Activation; Activation = Activation->FNextByToken)
    if (Activation->FListCode == Code && Activation->FToken && Activation->FToken->Equals(Token)) {
      Deactivate(Activation);
      return;
    }
}

void TPatternMatchTerminalNode::FastClear() noexcept {
  for (TActivation* Activation : FActivations) Activation->FListIndex = -1;
  FActivations.clear();
  // Until the next retraction that reaches the node, no index again.
  pool::TLargeVector<TActivation*>().swap(FByToken);
  FByTokenShift = 32;
  FIndexed = false;
}

void TPatternMatchTerminalNode::Forget(TActivation* Activation) noexcept { Unlist(Activation); }

void TPatternMatchTerminalNode::Relist(TActivation* Original, TActivation* Replacement) noexcept {
  const int Index = IndexOf(Original);
  if (Index < 0 || !Replacement || Replacement->FNode != this || IndexOf(Replacement) >= 0) return;
  if (Replacement->FToken != Original->FToken) return;
  FActivations[static_cast<std::size_t>(Index)] = Replacement;
  Replacement->FListIndex = Index;
  Original->FListIndex = -1;
  // The same token, so the same sort code: the replacement takes the
  // original's place in its bucket, and in the order of the index.
  Replacement->FListCode = Original->FListCode;
  Replacement->FSerial = Original->FSerial;
  if (!FIndexed) return;
  for (TActivation** Link = &ByTokenHead(Original->FListCode); *Link; Link = &(*Link)->FNextByToken)
    if (*Link == Original) {
      Replacement->FNextByToken = Original->FNextByToken;
      *Link = Replacement;
      break;
    }
  Original->FNextByToken = nullptr;
}

void TPatternMatchTerminalNode::ForgetRule() noexcept {
  FRule = nullptr;
  for (TActivation* Activation : FActivations) Activation->FRule = nullptr;
}

std::string TPatternMatchTerminalNode::ToString() const {
  return TReteNode::ToString() + " Rule: " + (FRule ? FRule->GetRuleName() : std::string());
}

}  // namespace cogent
