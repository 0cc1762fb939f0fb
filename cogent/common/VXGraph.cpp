#include "cogent/common/VXGraph.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <unordered_map>

#include "cogent/host/Guards.h"

namespace cogent {

namespace {

// Grows like push_back would, so that the push after the hooks can't fail.
template <class V>
void ReserveOneMore(V& Vector) {
  if (Vector.size() == Vector.capacity()) Vector.reserve(std::max<std::size_t>(4, Vector.capacity() * 2));
}

[[noreturn]] void RaiseNilNode() { throw EGraphError(SNilGraphNode); }

}  // namespace

// ---------------------------------------------------------------- TGGraphNode

TGGraphNode::~TGGraphNode() {
  FastClear();
  DropIncomingRaw();
  if (FGraph != nullptr) FGraph->NodeGone(this);
}

TGGraphEdge* TGGraphNode::AddEdge(TGGraphNode* ToNode) {
  if (ToNode == nullptr) RaiseNilNode();
  ReserveOneMore(FEdges);
  ReserveOneMore(ToNode->FInNodes);
  AddingEdgeTo(ToNode);
  std::unique_ptr<TGGraphEdge> Edge = NewEdge(ToNode);
  if (!Edge) RaiseNilNode();
  if (auto* Linked = dynamic_cast<TGLinkedGraphNode*>(ToNode)) Linked->AddingEdgeFrom(this);
  TGGraphEdge* Result = Edge.get();
  FEdges.push_back(std::move(Edge));
  ToNode->FInNodes.push_back(this);
  return Result;
}

TGGraphEdge* TGGraphNode::GetEdge(int Index) const {
  if (Index < 0 || Index >= GetEdgeCount()) throw EListError(Format(SListIndexError, Index));
  return FEdges[static_cast<std::size_t>(Index)].get();
}

void TGGraphNode::RemoveEdge(int Index) {
  TGGraphNode* ToNode = GetEdge(Index)->GetToNode();
  RemovingEdgeTo(ToNode);
  if (auto* Linked = dynamic_cast<TGLinkedGraphNode*>(ToNode)) Linked->RemovingEdgeFrom(this);
  UnlinkEdgeRaw(static_cast<std::size_t>(Index));
}

int TGGraphNode::IndexOfEdge(const TGGraphNode* ToNode) const noexcept {
  for (std::size_t I = 0; I < FEdges.size(); ++I)
    if (FEdges[I]->GetToNode() == ToNode) return static_cast<int>(I);
  return -1;
}

void TGGraphNode::Clear() {
  while (!FEdges.empty()) RemoveEdge(GetEdgeCount() - 1);
}

void TGGraphNode::FastClear() noexcept {
  for (const auto& Edge : FEdges) Edge->GetToNode()->ForgetInNode(this);
  FEdges.clear();
}

std::unique_ptr<TGGraphEdge> TGGraphNode::NewEdge(TGGraphNode* ToNode) {
  return std::make_unique<TGGraphEdge>(this, ToNode);
}

void TGGraphNode::AddingEdgeTo(TGGraphNode*) {}

void TGGraphNode::RemovingEdgeTo(TGGraphNode*) {}

void TGGraphNode::UnlinkEdgeRaw(std::size_t Index) noexcept {
  TGGraphNode* ToNode = FEdges[Index]->GetToNode();
  FEdges.erase(FEdges.begin() + static_cast<std::ptrdiff_t>(Index));
  ToNode->ForgetInNode(this);
}

void TGGraphNode::DropIncomingRaw() noexcept {
  while (!FInNodes.empty()) {
    TGGraphNode* FromNode = FInNodes.back();
    auto& Edges = FromNode->FEdges;
    const auto Pos = std::find_if(Edges.rbegin(), Edges.rend(),
                                  [this](const auto& Edge) { return Edge->GetToNode() == this; });
    // Every entry has its edge; the guard only keeps a broken invariant from looping.
    if (Pos == Edges.rend()) {
      FInNodes.pop_back();
      continue;
    }
    Edges.erase(std::next(Pos).base());
    FInNodes.pop_back();
  }
}

void TGGraphNode::ForgetInNode(TGGraphNode* FromNode) noexcept {
  const auto Pos = std::find(FInNodes.rbegin(), FInNodes.rend(), FromNode);
  if (Pos != FInNodes.rend()) FInNodes.erase(std::next(Pos).base());
}

// ---------------------------------------------------------------- TGLinkedGraphNode

TGGraphNode* TGLinkedGraphNode::GetPredecessor(int Index) const {
  if (Index < 0 || Index >= GetPredecessorCount()) throw EListError(Format(SListIndexError, Index));
  return InNodes()[static_cast<std::size_t>(Index)];
}

void TGLinkedGraphNode::RemovePredecessors() {
  while (!InNodes().empty()) {
    TGGraphNode* FromNode = InNodes().back();
    int Index = FromNode->GetEdgeCount() - 1;
    while (Index >= 0 && FromNode->FEdges[static_cast<std::size_t>(Index)]->GetToNode() != this) --Index;
    if (Index < 0) {  // cannot happen while the invariant holds
      ForgetInNode(FromNode);
      continue;
    }
    FromNode->RemoveEdge(Index);
  }
}

void TGLinkedGraphNode::AddingEdgeFrom(TGGraphNode*) {}

void TGLinkedGraphNode::RemovingEdgeFrom(TGGraphNode*) {}

// ---------------------------------------------------------------- TGGraphNodes

TGGraphNode* TGGraphNodes::GetNode(int Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
  return FNodes[static_cast<std::size_t>(Index)];
}

int TGGraphNodes::Add(TGGraphNode* Node) {
  if (Node == nullptr) RaiseNilNode();
  FNodes.push_back(Node);
  return GetCount() - 1;
}

void TGGraphNodes::Insert(int Index, TGGraphNode* Node) {
  if (Index < 0 || Index > GetCount()) throw EListError(Format(SListIndexError, Index));
  if (Node == nullptr) RaiseNilNode();
  FNodes.insert(FNodes.begin() + Index, Node);
}

void TGGraphNodes::Delete(int Index) {
  if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
  FNodes.erase(FNodes.begin() + Index);
}

int TGGraphNodes::IndexOf(const TGGraphNode* Node) const noexcept {
  const auto Pos = std::find(FNodes.begin(), FNodes.end(), Node);
  return Pos == FNodes.end() ? -1 : static_cast<int>(Pos - FNodes.begin());
}

int TGGraphNodes::Remove(const TGGraphNode* Node) {
  const int Index = IndexOf(Node);
  if (Index >= 0) Delete(Index);
  return Index;
}

// ---------------------------------------------------------------- TGCustomGraph

TGCustomGraph::~TGCustomGraph() {
  Destroying();
  TGCustomGraph::Clear();
}

TGGraphNode* TGCustomGraph::CreateNode(const std::string& Name) {
  std::unique_ptr<TGGraphNode> Node = NewNode();
  if (!Node) RaiseNilNode();
  Node->SetName(Name);
  return AddNode(std::move(Node));
}

TGGraphNode* TGCustomGraph::AddNode(std::unique_ptr<TGGraphNode> Node) {
  if (!Node) RaiseNilNode();
  if (Node->FGraph != nullptr) {
    // Its graph owns it: refuse it without freeing it.
    TGGraphNode* Owned = Node.release();
    throw EGraphError(Format(SNodeInOtherGraph, Owned->GetName()));
  }
  FNodes.push_back(Node.get());
  Node->FGraph = this;
  return Node.release();
}

TGGraphNode* TGCustomGraph::FindNode(std::string_view Name) const noexcept {
  for (TGGraphNode* Node : FNodes)
    if (Node->GetName() == Name) return Node;
  return nullptr;
}

TGGraphNode* TGCustomGraph::GetNode(int Index) const {
  if (Index < 0 || Index >= GetNodeCount()) throw EListError(Format(SListIndexError, Index));
  return FNodes[static_cast<std::size_t>(Index)];
}

int TGCustomGraph::IndexOfNode(const TGGraphNode* Node) const noexcept {
  const auto Pos = std::find(FNodes.begin(), FNodes.end(), Node);
  return Pos == FNodes.end() ? -1 : static_cast<int>(Pos - FNodes.begin());
}

int TGCustomGraph::CheckedIndexOf(const TGGraphNode* Node) const {
  if (Node == nullptr) RaiseNilNode();
  const int Index = IndexOfNode(Node);
  if (Index < 0) throw EGraphError(Format(SNodeNotInGraph, Node->GetName()));
  return Index;
}

void TGCustomGraph::RemoveNode(TGGraphNode* Node) { delete TakeOut(Node); }

std::unique_ptr<TGGraphNode> TGCustomGraph::Extract(TGGraphNode* Node) {
  return std::unique_ptr<TGGraphNode>(TakeOut(Node));
}

TGGraphNode* TGCustomGraph::TakeOut(TGGraphNode* Node) {
  CheckedIndexOf(Node);
  // The neighbours that stay hear of the edges that go; the node itself is
  // leaving and is not told.
  while (!Node->FInNodes.empty()) {
    TGGraphNode* FromNode = Node->FInNodes.back();
    if (FromNode != Node) FromNode->RemovingEdgeTo(Node);
    int Index = FromNode->GetEdgeCount() - 1;
    while (Index >= 0 && FromNode->FEdges[static_cast<std::size_t>(Index)]->GetToNode() != Node) --Index;
    if (Index < 0)
      Node->ForgetInNode(FromNode);
    else
      FromNode->UnlinkEdgeRaw(static_cast<std::size_t>(Index));
  }
  while (!Node->FEdges.empty()) {
    const std::size_t Index = Node->FEdges.size() - 1;
    if (auto* Linked = dynamic_cast<TGLinkedGraphNode*>(Node->FEdges[Index]->GetToNode()))
      Linked->RemovingEdgeFrom(Node);
    Node->UnlinkEdgeRaw(Index);
  }
  NodeGone(Node);
  return Node;
}

void TGCustomGraph::Clear() {
  std::vector<TGGraphNode*> Nodes;
  Nodes.swap(FNodes);
  for (TGGraphNode* Node : Nodes) Node->FGraph = nullptr;
  for (auto Pos = Nodes.rbegin(); Pos != Nodes.rend(); ++Pos) delete *Pos;
}

void TGCustomGraph::NodeGone(TGGraphNode* Node) noexcept {
  const auto Pos = std::find(FNodes.rbegin(), FNodes.rend(), Node);
  if (Pos != FNodes.rend()) FNodes.erase(std::next(Pos).base());
  Node->FGraph = nullptr;
}

bool TGCustomGraph::IsAcyclic() const {
  if (!IsDirected()) {
    // Union-find: an edge between two nodes already joined closes a cycle.
    std::unordered_map<const TGGraphNode*, const TGGraphNode*> Parent;
    const auto Find = [&Parent](const TGGraphNode* N) {
      const TGGraphNode* Root = N;
      for (auto It = Parent.find(Root); It != Parent.end() && It->second != Root; It = Parent.find(Root))
        Root = It->second;
      // Path compression keeps long chains cheap.
      while (N != Root) {
        const TGGraphNode* Next = Parent[N];
        Parent[N] = Root;
        N = Next;
      }
      return Root;
    };
    for (const TGGraphNode* Node : FNodes) Parent.emplace(Node, Node);
    for (const TGGraphNode* Node : FNodes)
      for (const auto& Edge : Node->FEdges) {
        Parent.emplace(Edge->GetToNode(), Edge->GetToNode());
        const TGGraphNode* A = Find(Node);
        const TGGraphNode* B = Find(Edge->GetToNode());
        if (A == B) return false;
        Parent[A] = B;
      }
    return true;
  }
  // Depth first without recursion: a Rete chain may be thousands deep.
  enum TColor : std::uint8_t { White, Grey, Black };
  std::unordered_map<const TGGraphNode*, TColor> Color;
  struct TFrame {
    const TGGraphNode* Node;
    std::size_t Next;
  };
  std::vector<TFrame> Stack;
  for (const TGGraphNode* Start : FNodes) {
    if (Color[Start] != White) continue;
    Color[Start] = Grey;
    Stack.push_back({Start, 0});
    while (!Stack.empty()) {
      TFrame& Top = Stack.back();
      if (Top.Next < Top.Node->FEdges.size()) {
        const TGGraphNode* To = Top.Node->FEdges[Top.Next++]->GetToNode();
        TColor& C = Color[To];
        if (C == Grey) return false;
        if (C == White) {
          C = Grey;
          Stack.push_back({To, 0});
        }
      } else {
        Color[Top.Node] = Black;
        Stack.pop_back();
      }
    }
  }
  return true;
}

void TGCustomGraph::TopologicalOrder(TStrings& Strings) const {
  if (!IsDirected()) throw EGraphError(SGraphNotDirected);
  std::unordered_map<const TGGraphNode*, std::size_t> IndexOfNodes;
  for (std::size_t I = 0; I < FNodes.size(); ++I) IndexOfNodes.emplace(FNodes[I], I);
  std::vector<int> InDegree(FNodes.size(), 0);
  for (const TGGraphNode* Node : FNodes)
    for (const auto& Edge : Node->FEdges) {
      const auto It = IndexOfNodes.find(Edge->GetToNode());
      if (It != IndexOfNodes.end()) ++InDegree[It->second];
    }
  // Kahn's method, always taking the earliest ready node.
  std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>> Ready;
  for (std::size_t I = 0; I < FNodes.size(); ++I)
    if (InDegree[I] == 0) Ready.push(I);
  std::vector<TGGraphNode*> Order;
  Order.reserve(FNodes.size());
  while (!Ready.empty()) {
    const std::size_t I = Ready.top();
    Ready.pop();
    Order.push_back(FNodes[I]);
    for (const auto& Edge : FNodes[I]->FEdges) {
      const auto It = IndexOfNodes.find(Edge->GetToNode());
      if (It != IndexOfNodes.end() && --InDegree[It->second] == 0) Ready.push(It->second);
    }
  }
  if (Order.size() != FNodes.size()) throw EGraphError(SGraphHasCycle);
  const auto Update = UpdateGuard(Strings);
  Strings.Clear();
  for (TGGraphNode* Node : Order) Strings.AddObject(Node->GetName(), Node);
}

// ---------------------------------------------------------------- TGGraph

TGGraph::TGGraph(TComponent* AOwner, TNodeClass ANodeClass)
    : TGCustomGraph(AOwner), FNodeClass(std::move(ANodeClass)) {
  if (!FNodeClass) FNodeClass = NodeClassOf<TGGraphNode>();
}

std::unique_ptr<TGGraphNode> TGGraph::NewNode() { return FNodeClass ? FNodeClass() : nullptr; }

}  // namespace cogent
