#pragma once
// A sequence of (key, id) entries addressed by 1-based position: an AVL tree
// ordered by position (not by key), each node knowing the size of its
// subtree, so that reaching a position, the position of a node, insertion
// and removal anywhere all cost O(log n). Nodes live in one vector and are
// named by index; index 0 is the empty node. Node indexes stay valid until
// the node is erased, so other structures may point at them.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::collections {

using NodeRef = uint32_t;
inline constexpr NodeRef kNoNode = 0;

class PositionTree {
 public:
  PositionTree();

  int32_t Size() const noexcept { return Count(root_); }
  void Clear();

  const std::string& Key(NodeRef node) const noexcept { return nodes_[node].key; }
  int32_t Id(NodeRef node) const noexcept { return nodes_[node].id; }

  // The node at a 1-based position, kNoNode outside 1..Size().
  NodeRef At(int32_t position) const noexcept;
  // The 1-based position of a node.
  int32_t PositionOf(NodeRef node) const noexcept;
  NodeRef First() const noexcept;
  NodeRef Last() const noexcept;
  NodeRef Next(NodeRef node) const noexcept;
  NodeRef Previous(NodeRef node) const noexcept;

  // Inserts a new entry in front of `before` (at the end when kNoNode).
  NodeRef InsertBefore(NodeRef before, std::string key, int32_t id);
  void Erase(NodeRef node);

  // For a sequence in ascending key order: the first node whose key is
  // >= `key` (or > `key` when `strict`), and its position; kNoNode and
  // Size() + 1 when there is none.
  NodeRef Bound(std::string_view key, bool strict, int32_t& position) const noexcept;

 private:
  struct Node {
    std::string key;
    int32_t id = 0;
    NodeRef child[2] = {kNoNode, kNoNode};  // kLeft, kRight
    NodeRef parent = kNoNode;
    int32_t size = 0;
    int32_t height = 0;
  };

  // Sides of a node; the mirror image of an operation swaps them.
  static constexpr int kLeft = 0;
  static constexpr int kRight = 1;

  int32_t Count(NodeRef n) const noexcept { return nodes_[n].size; }
  int32_t Height(NodeRef n) const noexcept { return nodes_[n].height; }
  NodeRef Left(NodeRef n) const noexcept { return nodes_[n].child[kLeft]; }
  NodeRef Right(NodeRef n) const noexcept { return nodes_[n].child[kRight]; }
  // The outermost node of a subtree on one side.
  NodeRef Extreme(NodeRef n, int side) const noexcept;
  // The neighbour of a node on one side in sequence order.
  NodeRef Neighbour(NodeRef n, int side) const noexcept;
  NodeRef NewNode(std::string key, int32_t id);
  void Attach(NodeRef parent, NodeRef child, int side);
  void ReplaceChild(NodeRef parent, NodeRef oldChild, NodeRef newChild);
  void Update(NodeRef n) noexcept;
  // Lifts the child on `side` above `n`; returns it.
  NodeRef Rotate(NodeRef n, int side);
  NodeRef Rebalance(NodeRef n);
  void FixUpwards(NodeRef n);

  std::vector<Node> nodes_;
  std::vector<NodeRef> free_;
  NodeRef root_ = kNoNode;
};

}  // namespace velmora::collections
