#pragma once
// Graphs of named nodes joined by edges. A node owns its outgoing edges; a
// graph owns its nodes. Every node also knows its incoming edges, so that a
// node can go away at any time without leaving an edge that points at it.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cogent/common/VXCommon.h"

namespace cogent {

COGENT_DECLARE_EXCEPTION(EGraphError, EVXException)

inline constexpr const char* SNilGraphNode = "Graph node is nil";
inline constexpr const char* SNodeNotInGraph = "Graph node \"%s\" does not belong to this graph";
inline constexpr const char* SNodeInOtherGraph = "Graph node \"%s\" already belongs to a graph";
inline constexpr const char* SGraphHasCycle = "Graph has a cycle and no topological order";
inline constexpr const char* SGraphNotDirected = "An undirected graph has no topological order";

class TGGraphNode;
class TGLinkedGraphNode;
class TGCustomGraph;

// ---------------------------------------------------------------- TGGraphEdge

class TGGraphEdge : public TPersistent {
public:
  TGGraphEdge(TGGraphNode* AFromNode, TGGraphNode* AToNode) noexcept : FFromNode(AFromNode), FToNode(AToNode) {}

  TGGraphNode* GetFromNode() const noexcept { return FFromNode; }
  TGGraphNode* GetToNode() const noexcept { return FToNode; }

private:
  TGGraphNode* FFromNode;
  TGGraphNode* FToNode;
};

// ---------------------------------------------------------------- TGGraphNode

// The hooks run before the change they announce, so a hook that raises
// vetoes it and nothing changes. Deleting a node removes all its edges, in
// and out, without calling any hook, and takes it out of its graph.
class TGGraphNode : public TPersistent {
public:
  TGGraphNode() = default;
  explicit TGGraphNode(std::string AName) : FName(std::move(AName)) {}
  TGGraphNode(const TGGraphNode&) = delete;
  TGGraphNode& operator=(const TGGraphNode&) = delete;
  ~TGGraphNode() override;

  const std::string& GetName() const noexcept { return FName; }
  virtual void SetName(const std::string& Value) { FName = Value; }
  TGCustomGraph* GetGraph() const noexcept { return FGraph; }

  // A new edge on every call, also to a node already linked; edges keep the
  // order in which they were added.
  TGGraphEdge* AddEdge(TGGraphNode* ToNode);
  TGGraphEdge* GetEdge(int Index) const;
  int GetEdgeCount() const noexcept { return static_cast<int>(FEdges.size()); }
  int GetOutDegree() const noexcept { return GetEdgeCount(); }
  void RemoveEdge(int Index);
  // The first edge to ToNode, or -1.
  int IndexOfEdge(const TGGraphNode* ToNode) const noexcept;
  // Removes every outgoing edge, last first, through the hooks.
  virtual void Clear();
  // Drops every outgoing edge without calling any hook.
  void FastClear() noexcept;

  std::string ToString() const override { return FName; }

protected:
  // The edge factory: a descendant makes edges of its own class here.
  virtual std::unique_ptr<TGGraphEdge> NewEdge(TGGraphNode* ToNode);
  virtual void AddingEdgeTo(TGGraphNode* ToNode);
  virtual void RemovingEdgeTo(TGGraphNode* ToNode);

  // Sources of the incoming edges, one entry per edge.
  const std::vector<TGGraphNode*>& InNodes() const noexcept { return FInNodes; }
  // GetEdge for an index known to be valid, as a walk by count has it.
  TGGraphEdge* EdgeAt(int Index) const noexcept { return FEdges[static_cast<std::size_t>(Index)].get(); }

private:
  friend class TGLinkedGraphNode;
  friend class TGCustomGraph;

  void UnlinkEdgeRaw(std::size_t Index) noexcept;
  void DropIncomingRaw() noexcept;
  void ForgetInNode(TGGraphNode* FromNode) noexcept;

  std::string FName;
  std::vector<std::unique_ptr<TGGraphEdge>> FEdges;
  std::vector<TGGraphNode*> FInNodes;
  TGCustomGraph* FGraph = nullptr;
};

// ---------------------------------------------------------------- TGLinkedGraphNode

// A node that is told of its incoming edges and can drop them. Within the
// hooks the predecessors are still as they were before the change: in
// AddingEdgeFrom the new edge is not yet counted, in RemovingEdgeFrom the
// edge going is still counted.
class TGLinkedGraphNode : public TGGraphNode {
public:
  using TGGraphNode::TGGraphNode;

  int GetPredecessorCount() const noexcept { return static_cast<int>(InNodes().size()); }
  int GetInDegree() const noexcept { return GetPredecessorCount(); }
  TGGraphNode* GetPredecessor(int Index) const;
  // Removes every incoming edge through the hooks of both ends.
  void RemovePredecessors();

protected:
  friend class TGGraphNode;
  friend class TGCustomGraph;
  virtual void AddingEdgeFrom(TGGraphNode* FromNode);
  virtual void RemovingEdgeFrom(TGGraphNode* FromNode);
};

// ---------------------------------------------------------------- TGGraphNodes

// A list of nodes that owns none of them.
class TGGraphNodes {
public:
  using const_iterator = std::vector<TGGraphNode*>::const_iterator;

  int GetCount() const noexcept { return static_cast<int>(FNodes.size()); }
  TGGraphNode* GetNode(int Index) const;
  int Add(TGGraphNode* Node);
  void Insert(int Index, TGGraphNode* Node);
  void Delete(int Index);
  int IndexOf(const TGGraphNode* Node) const noexcept;
  // The index the node had, or -1.
  int Remove(const TGGraphNode* Node);
  void Clear() noexcept { FNodes.clear(); }
  const_iterator begin() const noexcept { return FNodes.begin(); }
  const_iterator end() const noexcept { return FNodes.end(); }

private:
  std::vector<TGGraphNode*> FNodes;
};

// ---------------------------------------------------------------- graphs

// Owns its nodes. A node that is deleted by other means leaves the graph by
// itself; the overridable RemoveNode, Extract and Clear are not called then.
class TGCustomGraph : public TComponent {
public:
  explicit TGCustomGraph(TComponent* AOwner = nullptr) : TComponent(AOwner) {}
  ~TGCustomGraph() override;

  // A new node of the graph's node class, not yet in the graph.
  virtual std::unique_ptr<TGGraphNode> NewNode() = 0;
  // NewNode named and added.
  TGGraphNode* CreateNode(const std::string& Name);
  // Takes the node over; it must not be in a graph already.
  virtual TGGraphNode* AddNode(std::unique_ptr<TGGraphNode> Node);
  // The first node of that name (exact), or nil.
  TGGraphNode* FindNode(std::string_view Name) const noexcept;
  TGGraphNode* GetNode(int Index) const;
  int GetNodeCount() const noexcept { return static_cast<int>(FNodes.size()); }
  int IndexOfNode(const TGGraphNode* Node) const noexcept;
  // Removes the node's edges, in and out, through the hooks, then frees it.
  virtual void RemoveNode(TGGraphNode* Node);
  // Takes the node out of the graph, edges and all, and hands it over.
  virtual std::unique_ptr<TGGraphNode> Extract(TGGraphNode* Node);
  // Frees every node, without hooks.
  virtual void Clear();

  virtual bool IsDirected() const noexcept { return true; }
  // Directed: no path leads from a node back to itself. Undirected: the
  // graph is a forest (two edges between one pair make a cycle).
  bool IsAcyclic() const;
  // The names of all nodes, each with its node as object, every node before
  // the nodes its edges lead to; ties keep the order of the nodes in the
  // graph. Edges to nodes outside the graph are ignored. A cycle raises
  // EGraphError and leaves Strings as it was.
  void TopologicalOrder(TStrings& Strings) const;

private:
  friend class TGGraphNode;
  void NodeGone(TGGraphNode* Node) noexcept;
  TGGraphNode* TakeOut(TGGraphNode* Node);
  int CheckedIndexOf(const TGGraphNode* Node) const;

  std::vector<TGGraphNode*> FNodes;
};

class TGGraph : public TGCustomGraph {
public:
  using TNodeClass = std::function<std::unique_ptr<TGGraphNode>()>;

  // Nodes are TGGraphNode until another node class is set.
  explicit TGGraph(TComponent* AOwner = nullptr, TNodeClass ANodeClass = nullptr);

  std::unique_ptr<TGGraphNode> NewNode() override;
  const TNodeClass& GetNodeClass() const noexcept { return FNodeClass; }
  void SetNodeClass(TNodeClass Value) { FNodeClass = std::move(Value); }
  bool IsDirected() const noexcept override { return FDirected; }
  bool GetDirected() const noexcept { return FDirected; }
  void SetDirected(bool Value) noexcept { FDirected = Value; }

  // A node class that makes nodes of type T.
  template <class T>
  static TNodeClass NodeClassOf() {
    return [] { return std::unique_ptr<TGGraphNode>(new T()); };
  }

private:
  TNodeClass FNodeClass;
  bool FDirected = true;
};

}  // namespace cogent
