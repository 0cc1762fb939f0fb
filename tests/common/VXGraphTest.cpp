#include "cogent/common/VXGraph.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "../TestErrors.h"
#include "cogent/foundation/VXCollections.h"  // a TStrings to order into

using namespace cogent;
using cogent::test::ErrorOf;

namespace {

using TLines = std::vector<std::string>;
TLines GLog;  // what the hooks of TLogNode saw

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
    GLog.push_back("+" + GetName() + ">" + ToNode->GetName());
  }
  void RemovingEdgeTo(TGGraphNode* ToNode) override { GLog.push_back("-" + GetName() + ">" + ToNode->GetName()); }
  void AddingEdgeFrom(TGGraphNode* FromNode) override {
    GLog.push_back("+" + GetName() + "<" + FromNode->GetName() + "#" + std::to_string(GetPredecessorCount()));
    TGLinkedGraphNode::AddingEdgeFrom(FromNode);
  }
  void RemovingEdgeFrom(TGGraphNode* FromNode) override {
    GLog.push_back("-" + GetName() + "<" + FromNode->GetName() + "#" + std::to_string(GetPredecessorCount()));
    TGLinkedGraphNode::RemovingEdgeFrom(FromNode);
  }
};

TLines Successors(const TGGraphNode* Node) {
  TLines Names;
  for (int I = 0; I < Node->GetEdgeCount(); ++I) Names.push_back(Node->GetEdge(I)->GetToNode()->GetName());
  return Names;
}

TGGraph* NewLogGraph() { return new TGGraph(nullptr, TGGraph::NodeClassOf<TLogNode>()); }

// Nodes a, b and c of Graph, as the class the graph makes.
template <class N = TGGraphNode>
std::array<N*, 3> Abc(TGGraph& Graph) {
  return {static_cast<N*>(Graph.CreateNode("a")), static_cast<N*>(Graph.CreateNode("b")),
          static_cast<N*>(Graph.CreateNode("c"))};
}

}  // namespace

TEST(VXGraph, LinkedNodesKnowPredecessorsAndHooksRunBefore) {
  GLog.clear();
  std::unique_ptr<TGGraph> Graph(NewLogGraph());
  const auto [A, B, C] = Abc<TLogNode>(*Graph);
  EXPECT_NE(dynamic_cast<TLogEdge*>(A->AddEdge(C)), nullptr);
  B->AddEdge(C);
  A->AddEdge(C);
  EXPECT_EQ(C->GetPredecessorCount(), 3);
  EXPECT_EQ(C->GetPredecessor(1), B);
  EXPECT_EQ(GLog, (TLines{"+a>c", "+c<a#0", "+b>c", "+c<b#1", "+a>c", "+c<a#2"}));

  // A vetoed edge leaves both ends as they were.
  A->FVetoAdd = true;
  EXPECT_THROW(A->AddEdge(B), EGraphError);
  EXPECT_EQ(A->GetEdgeCount(), 2);
  EXPECT_EQ(B->GetPredecessorCount(), 0);
  A->FVetoAdd = false;

  GLog.clear();
  B->RemoveEdge(0);
  EXPECT_EQ(GLog, (TLines{"-b>c", "-c<b#3"}));
  EXPECT_EQ(C->GetPredecessorCount(), 2);

  GLog.clear();
  C->RemovePredecessors();
  EXPECT_EQ(GLog, (TLines{"-a>c", "-c<a#2", "-a>c", "-c<a#1"}));
  EXPECT_EQ(C->GetPredecessorCount(), 0);
  EXPECT_EQ(A->GetEdgeCount(), 0);
}

TEST(VXGraph, RemovingANodeTellsOnlyTheNodesThatStay) {
  GLog.clear();
  std::unique_ptr<TGGraph> Graph(NewLogGraph());
  const auto [A, B, C] = Abc<TLogNode>(*Graph);
  A->AddEdge(B);
  B->AddEdge(C);
  B->AddEdge(B);
  A->AddEdge(C);
  GLog.clear();
  Graph->RemoveNode(B);
  EXPECT_EQ(GLog, (TLines{"-a>b", "-c<b#2"}));
  EXPECT_EQ(Graph->GetNodeCount(), 2);
  EXPECT_EQ(Successors(A), (TLines{"c"}));
  EXPECT_EQ(C->GetPredecessorCount(), 1);

  // Extract hands the node over without its edges.
  GLog.clear();
  std::unique_ptr<TGGraphNode> Taken = Graph->Extract(C);
  EXPECT_EQ(Taken.get(), C);
  EXPECT_EQ(C->GetGraph(), nullptr);
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(C->GetPredecessorCount(), 0);
  EXPECT_EQ(GLog, (TLines{"-a>c"}));
  EXPECT_EQ(Graph->GetNodeCount(), 1);

  EXPECT_EQ(ErrorOf<EGraphError>([&] { Graph->RemoveNode(C); }), "Graph node \"c\" does not belong to this graph");
  EXPECT_EQ(ErrorOf<EGraphError>([&] { A->AddEdge(nullptr); }), "Graph node is nil");
  // Back in, then refused by a second graph without being freed.
  Graph->AddNode(std::move(Taken));
  TGGraph Other;
  EXPECT_EQ(ErrorOf<EGraphError>([&] { Other.AddNode(std::unique_ptr<TGGraphNode>(C)); }),
            "Graph node \"c\" already belongs to a graph");
  EXPECT_EQ(Graph->IndexOfNode(C), 1);
}

TEST(VXGraph, DeletedNodesLeaveNoDanglingEdges) {
  TGGraph Graph;
  const auto [A, B, C] = Abc(Graph);
  A->AddEdge(B);
  B->AddEdge(C);
  C->AddEdge(A);
  C->AddEdge(B);
  delete B;  // by other means than the graph
  EXPECT_EQ(Graph.GetNodeCount(), 2);
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(Successors(C), (TLines{"a"}));

  // Edges across graphs are cut when either graph goes.
  auto Outside = std::make_unique<TGGraph>();
  TGGraphNode* X = Outside->CreateNode("x");
  X->AddEdge(A);
  A->AddEdge(X);
  Outside.reset();
  EXPECT_EQ(A->GetEdgeCount(), 0);
  EXPECT_EQ(Successors(C), (TLines{"a"}));
}

TEST(VXGraph, Acyclicity) {
  // Edges between nodes 0, 1 and 2.
  const struct {
    bool Directed;
    std::vector<std::pair<int, int>> Edges;
    bool Acyclic;
  } Cases[] = {{true, {{0, 1}, {0, 2}, {1, 2}}, true},
               {false, {{0, 1}, {0, 2}, {1, 2}}, false},  // a cycle when direction is ignored
               {true, {{0, 1}, {1, 2}, {2, 0}}, false},
               {true, {{0, 1}, {2, 2}}, false},
               {false, {{0, 1}, {2, 0}}, true},
               {false, {{0, 1}, {2, 0}, {2, 0}}, false}};  // two edges between one pair
  for (const auto& Case : Cases) {
    TGGraph Graph;
    Graph.SetDirected(Case.Directed);
    const auto Nodes = Abc(Graph);
    for (const auto& [From, To] : Case.Edges) Nodes[From]->AddEdge(Nodes[To]);
    EXPECT_EQ(Graph.IsAcyclic(), Case.Acyclic) << &Case - Cases;
  }

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
  for (const char* Name : {"shirt", "tie", "socks", "jacket", "shoes", "trousers"}) Graph.CreateNode(Name);
  auto Edge = [&](const char* From, const char* To) { Graph.FindNode(From)->AddEdge(Graph.FindNode(To)); };
  for (const auto& [From, To] : {std::pair{"shirt", "tie"}, {"tie", "jacket"}, {"trousers", "shoes"},
                                 {"socks", "shoes"}, {"shirt", "jacket"}})
    Edge(From, To);
  TStringList<> Order;
  Order.Add("stale");
  Graph.TopologicalOrder(Order);
  EXPECT_EQ(Order.GetText(), "shirt\r\ntie\r\nsocks\r\njacket\r\ntrousers\r\nshoes\r\n");
  EXPECT_EQ(Order.GetObject(5), Graph.FindNode("shoes"));

  Edge("jacket", "shirt");
  EXPECT_EQ(ErrorOf<EGraphError>([&] { Graph.TopologicalOrder(Order); }), "Graph has a cycle and no topological order");
  EXPECT_EQ(Order.GetCount(), 6);
}
