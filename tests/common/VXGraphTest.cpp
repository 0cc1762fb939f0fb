#include "cogent/common/VXGraph.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/TestStrings.h"

using namespace cogent;

namespace {

std::vector<std::string>* GLog = nullptr;

void Log(const std::string& Line) {
  if (GLog) GLog->push_back(Line);
}

class TLogEdge : public TGGraphEdge {
public:
  using TGGraphEdge::TGGraphEdge;
};

// Logs every hook as "name>to" / "name<from", with "+" for adding and "-"
// for removing, and the predecessor count the node had at that moment.
class TLogNode : public TGLinkedGraphNode {
public:
  using TGLinkedGraphNode::TGLinkedGraphNode;
  bool FVetoAdd = false;

protected:
  std::unique_ptr<TGGraphEdge> NewEdge(TGGraphNode* ToNode) override {
    return std::make_unique<TLogEdge>(this, ToNode);
  }
  void AddingEdgeTo(TGGraphNode* ToNode) override {
    if (FVetoAdd) throw EGraphError("veto");
    Log("+" + GetName() + ">" + ToNode->GetName());
  }
  void RemovingEdgeTo(TGGraphNode* ToNode) override { Log("-" + GetName() + ">" + ToNode->GetName()); }
  void AddingEdgeFrom(TGGraphNode* FromNode) override {
    Log("+" + GetName() + "<" + FromNode->GetName() + "#" + std::to_string(GetPredecessorCount()));
    TGLinkedGraphNode::AddingEdgeFrom(FromNode);
  }
  void RemovingEdgeFrom(TGGraphNode* FromNode) override {
    Log("-" + GetName() + "<" + FromNode->GetName() + "#" + std::to_string(GetPredecessorCount()));
    TGLinkedGraphNode::RemovingEdgeFrom(FromNode);
  }
};

struct TLogScope {
  std::vector<std::string> Lines;
  TLogScope() { GLog = &Lines; }
  ~TLogScope() { GLog = nullptr; }
};

std::vector<std::string> Successors(const TGGraphNode* Node) {
  std::vector<std::string> Names;
  for (int I = 0; I < Node->GetEdgeCount(); ++I) Names.push_back(Node->GetEdge(I)->GetToNode()->GetName());
  return Names;
}

TGGraph* NewLogGraph() { return new TGGraph(nullptr, TGGraph::NodeClassOf<TLogNode>()); }

}  // namespace

TEST(VXGraph, EdgesKeepOrderAndRepeat) {
  TGGraph Graph;
  TGGraphNode* A = Graph.CreateNode("a");
  TGGraphNode* B = Graph.CreateNode("b");
  TGGraphNode* C = Graph.CreateNode("c");
  A->AddEdge(B);
  A->AddEdge(C);
  A->AddEdge(B);
  EXPECT_EQ(Successors(A), (std::vector<std::string>{"b", "c", "b"}));
  A->RemoveEdge(0);
  EXPECT_EQ(Successors(A), (std::vector<std::string>{"c", "b"}));
  try {
    A->AddEdge(nullptr);
    FAIL();
  } catch (const EGraphError& E) {
    EXPECT_STREQ(E.what(), "Graph node is nil");
  }
  EXPECT_EQ(Graph.FindNode("c"), C);
}

TEST(VXGraph, LinkedNodesKnowPredecessorsAndHooksRunBefore) {
  TLogScope Scope;
  std::unique_ptr<TGGraph> Graph(NewLogGraph());
  auto* A = static_cast<TLogNode*>(Graph->CreateNode("a"));
  auto* B = static_cast<TLogNode*>(Graph->CreateNode("b"));
  auto* C = static_cast<TLogNode*>(Graph->CreateNode("c"));
  EXPECT_NE(dynamic_cast<TLogEdge*>(A->AddEdge(C)), nullptr);
  B->AddEdge(C);
  A->AddEdge(C);
  EXPECT_EQ(C->GetPredecessorCount(), 3);
  EXPECT_EQ(C->GetPredecessor(1), B);
  EXPECT_EQ(Scope.Lines, (std::vector<std::string>{"+a>c", "+c<a#0", "+b>c", "+c<b#1", "+a>c", "+c<a#2"}));

  // A vetoed edge leaves both ends as they were.
  A->FVetoAdd = true;
  EXPECT_THROW(A->AddEdge(B), EGraphError);
  EXPECT_EQ(A->GetEdgeCount(), 2);
  EXPECT_EQ(B->GetPredecessorCount(), 0);
  A->FVetoAdd = false;

  Scope.Lines.clear();
  B->RemoveEdge(0);
  EXPECT_EQ(Scope.Lines, (std::vector<std::string>{"-b>c", "-c<b#3"}));
  EXPECT_EQ(C->GetPredecessorCount(), 2);

  Scope.Lines.clear();
  C->RemovePredecessors();
  EXPECT_EQ(Scope.Lines, (std::vector<std::string>{"-a>c", "-c<a#2", "-a>c", "-c<a#1"}));
  EXPECT_EQ(C->GetPredecessorCount(), 0);
  EXPECT_EQ(A->GetEdgeCount(), 0);
}

TEST(VXGraph, RemovingANodeTellsOnlyTheNodesThatStay) {
  TLogScope Scope;
  std::unique_ptr<TGGraph> Graph(NewLogGraph());
  auto* A = static_cast<TLogNode*>(Graph->CreateNode("a"));
  auto* B = static_cast<TLogNode*>(Graph->CreateNode("b"));
  auto* C = static_cast<TLogNode*>(Graph->CreateNode("c"));
  A->AddEdge(B);
  B->AddEdge(C);
  B->AddEdge(B);
  A->AddEdge(C);
  Scope.Lines.clear();
  Graph->RemoveNode(B);
  EXPECT_EQ(Scope.Lines, (std::vector<std::string>{"-a>b", "-c<b#2"}));
  EXPECT_EQ(Graph->GetNodeCount(), 2);
  EXPECT_EQ(Successors(A), (std::vector<std::string>{"c"}));
  EXPECT_EQ(C->GetPredecessorCount(), 1);

  // Extract hands the node over without its edges.
  Scope.Lines.clear();
  std::unique_ptr<TGGraphNode> Taken = Graph->Extract(C);
  EXPECT_EQ(Taken.get(), C);
  EXPECT_EQ(C->GetGraph(), nullptr);
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(C->GetPredecessorCount(), 0);
  EXPECT_EQ(Scope.Lines, (std::vector<std::string>{"-a>c"}));
  EXPECT_EQ(Graph->GetNodeCount(), 1);

  try {
    Graph->RemoveNode(C);
    FAIL();
  } catch (const EGraphError& E) {
    EXPECT_STREQ(E.what(), "Graph node \"c\" does not belong to this graph");
  }
  // Back in, then refused by a second graph without being freed.
  Graph->AddNode(std::move(Taken));
  TGGraph Other;
  try {
    Other.AddNode(std::unique_ptr<TGGraphNode>(C));
    FAIL();
  } catch (const EGraphError& E) {
    EXPECT_STREQ(E.what(), "Graph node \"c\" already belongs to a graph");
  }
  EXPECT_EQ(Graph->IndexOfNode(C), 1);
}

TEST(VXGraph, DeletedNodesLeaveNoDanglingEdges) {
  TLogScope Scope;
  TGGraph Graph;
  TGGraphNode* A = Graph.CreateNode("a");
  TGGraphNode* B = Graph.CreateNode("b");
  TGGraphNode* C = Graph.CreateNode("c");
  A->AddEdge(B);
  B->AddEdge(C);
  C->AddEdge(A);
  C->AddEdge(B);
  delete B;  // by other means than the graph
  EXPECT_EQ(Graph.GetNodeCount(), 2);
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(Successors(C), (std::vector<std::string>{"a"}));

  // Edges across graphs are cut when either graph goes.
  auto Outside = std::make_unique<TGGraph>();
  TGGraphNode* X = Outside->CreateNode("x");
  X->AddEdge(A);
  A->AddEdge(X);
  Outside.reset();
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(Successors(C), (std::vector<std::string>{"a"}));

  C->FastClear();
  EXPECT_EQ(C->GetEdgeCount(), 0);
  Graph.Clear();
  EXPECT_EQ(Graph.GetNodeCount(), 0);
}

TEST(VXGraph, Acyclicity) {
  TGGraph Graph;
  TGGraphNode* A = Graph.CreateNode("a");
  TGGraphNode* B = Graph.CreateNode("b");
  TGGraphNode* C = Graph.CreateNode("c");
  A->AddEdge(B);
  A->AddEdge(C);
  B->AddEdge(C);
  EXPECT_TRUE(Graph.IsAcyclic());
  Graph.SetDirected(false);
  EXPECT_FALSE(Graph.IsAcyclic());  // a-b-c-a ignoring direction
  Graph.SetDirected(true);
  C->AddEdge(A);
  EXPECT_FALSE(Graph.IsAcyclic());
  C->RemoveEdge(0);
  C->AddEdge(C);
  EXPECT_FALSE(Graph.IsAcyclic());

  TGGraph Tree(nullptr);
  Tree.SetDirected(false);
  TGGraphNode* R = Tree.CreateNode("r");
  R->AddEdge(Tree.CreateNode("s"));
  TGGraphNode* T = Tree.CreateNode("t");
  T->AddEdge(R);
  EXPECT_TRUE(Tree.IsAcyclic());
  T->AddEdge(R);  // two edges between one pair
  EXPECT_FALSE(Tree.IsAcyclic());

  // A long chain must not exhaust the stack.
  TGGraph Chain;
  TGGraphNode* Prev = Chain.CreateNode("0");
  for (int I = 1; I < 100000; ++I) {
    TGGraphNode* Next = Chain.CreateNode(std::to_string(I));
    Prev->AddEdge(Next);
    Prev = Next;
  }
  EXPECT_TRUE(Chain.IsAcyclic());
  Prev->AddEdge(Chain.GetNode(0));
  EXPECT_FALSE(Chain.IsAcyclic());
}

TEST(VXGraph, TopologicalOrder) {
  TGGraph Graph;
  TGGraphNode* Shirt = Graph.CreateNode("shirt");
  TGGraphNode* Tie = Graph.CreateNode("tie");
  TGGraphNode* Socks = Graph.CreateNode("socks");
  TGGraphNode* Jacket = Graph.CreateNode("jacket");
  TGGraphNode* Shoes = Graph.CreateNode("shoes");
  TGGraphNode* Trousers = Graph.CreateNode("trousers");
  Shirt->AddEdge(Tie);
  Tie->AddEdge(Jacket);
  Trousers->AddEdge(Shoes);
  Socks->AddEdge(Shoes);
  Shirt->AddEdge(Jacket);
  TTestStrings Order;
  Order.Add("stale");
  Graph.TopologicalOrder(Order);
  EXPECT_EQ(Order.FLines, (std::vector<std::string>{"shirt", "tie", "socks", "jacket", "trousers", "shoes"}));
  EXPECT_EQ(Order.GetObject(5), Shoes);

  Jacket->AddEdge(Shirt);
  try {
    Graph.TopologicalOrder(Order);
    FAIL();
  } catch (const EGraphError& E) {
    EXPECT_STREQ(E.what(), "Graph has a cycle and no topological order");
  }
  EXPECT_EQ(Order.GetCount(), 6);
}
