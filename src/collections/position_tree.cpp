#include "collections/position_tree.hpp"

#include <algorithm>
#include <utility>

namespace velmora::collections {

PositionTree::PositionTree() { nodes_.emplace_back(); }

void PositionTree::Clear() {
  nodes_.clear();
  nodes_.emplace_back();
  free_.clear();
  root_ = kNoNode;
}

NodeRef PositionTree::At(int32_t position) const noexcept {
  if (position < 1 || position > Size()) return kNoNode;
  NodeRef n = root_;
  for (;;) {
    const int32_t leftSize = Count(Left(n));
    if (position <= leftSize) {
      n = Left(n);
    } else if (position == leftSize + 1) {
      return n;
    } else {
      position -= leftSize + 1;
      n = Right(n);
    }
  }
}

int32_t PositionTree::PositionOf(NodeRef node) const noexcept {
  int32_t position = Count(Left(node)) + 1;
  for (NodeRef n = node; nodes_[n].parent != kNoNode; n = nodes_[n].parent) {
    const NodeRef p = nodes_[n].parent;
    if (Right(p) == n) position += Count(Left(p)) + 1;
  }
  return position;
}

NodeRef PositionTree::Extreme(NodeRef n, int side) const noexcept {
  while (n != kNoNode && nodes_[n].child[side] != kNoNode) n = nodes_[n].child[side];
  return n;
}

NodeRef PositionTree::Neighbour(NodeRef node, int side) const noexcept {
  if (nodes_[node].child[side] != kNoNode) return Extreme(nodes_[node].child[side], 1 - side);
  NodeRef p = nodes_[node].parent;
  while (p != kNoNode && nodes_[p].child[side] == node) {
    node = p;
    p = nodes_[p].parent;
  }
  return p;
}

NodeRef PositionTree::First() const noexcept { return Extreme(root_, kLeft); }
NodeRef PositionTree::Last() const noexcept { return Extreme(root_, kRight); }
NodeRef PositionTree::Next(NodeRef node) const noexcept { return Neighbour(node, kRight); }
NodeRef PositionTree::Previous(NodeRef node) const noexcept { return Neighbour(node, kLeft); }

NodeRef PositionTree::NewNode(std::string key, int32_t id) {
  NodeRef n;
  if (!free_.empty()) {
    n = free_.back();
    free_.pop_back();
  } else {
    n = static_cast<NodeRef>(nodes_.size());
    nodes_.emplace_back();
  }
  Node& node = nodes_[n];
  node.key = std::move(key);
  node.id = id;
  node.size = 1;
  node.height = 1;
  return n;
}

void PositionTree::Attach(NodeRef parent, NodeRef child, int side) {
  nodes_[child].parent = parent;
  if (parent == kNoNode) {
    root_ = child;
  } else {
    nodes_[parent].child[side] = child;
  }
}

NodeRef PositionTree::InsertBefore(NodeRef before, std::string key, int32_t id) {
  const NodeRef n = NewNode(std::move(key), id);
  if (before == kNoNode) {
    Attach(Last(), n, kRight);
  } else if (Left(before) == kNoNode) {
    Attach(before, n, kLeft);
  } else {
    Attach(Extreme(Left(before), kRight), n, kRight);
  }
  FixUpwards(nodes_[n].parent);
  return n;
}

void PositionTree::ReplaceChild(NodeRef parent, NodeRef oldChild, NodeRef newChild) {
  if (newChild != kNoNode) nodes_[newChild].parent = parent;
  if (parent == kNoNode) {
    root_ = newChild;
  } else {
    nodes_[parent].child[Left(parent) == oldChild ? kLeft : kRight] = newChild;
  }
}

void PositionTree::Erase(NodeRef z) {
  const Node gone = std::move(nodes_[z]);
  NodeRef fixFrom;
  if (gone.child[kLeft] == kNoNode || gone.child[kRight] == kNoNode) {
    fixFrom = gone.parent;
    ReplaceChild(gone.parent, z, gone.child[kLeft] != kNoNode ? gone.child[kLeft] : gone.child[kRight]);
  } else {
    // The successor takes the erased node's place; nodes are relinked, never
    // copied, so that references to the other nodes stay valid.
    const NodeRef y = Extreme(gone.child[kRight], kLeft);
    if (nodes_[y].parent != z) {
      fixFrom = nodes_[y].parent;
      ReplaceChild(nodes_[y].parent, y, Right(y));
      nodes_[y].child[kRight] = gone.child[kRight];
      nodes_[gone.child[kRight]].parent = y;
    } else {
      fixFrom = y;
    }
    ReplaceChild(gone.parent, z, y);
    nodes_[y].child[kLeft] = gone.child[kLeft];
    nodes_[gone.child[kLeft]].parent = y;
  }
  nodes_[z] = Node{};
  free_.push_back(z);
  FixUpwards(fixFrom);
}

void PositionTree::Update(NodeRef n) noexcept {
  Node& node = nodes_[n];
  node.size = Count(node.child[kLeft]) + Count(node.child[kRight]) + 1;
  node.height = std::max(Height(node.child[kLeft]), Height(node.child[kRight])) + 1;
}

NodeRef PositionTree::Rotate(NodeRef n, int side) {
  const int other = 1 - side;
  const NodeRef lifted = nodes_[n].child[side];
  const NodeRef moved = nodes_[lifted].child[other];
  nodes_[n].child[side] = moved;
  if (moved != kNoNode) nodes_[moved].parent = n;
  ReplaceChild(nodes_[n].parent, n, lifted);
  nodes_[lifted].child[other] = n;
  nodes_[n].parent = lifted;
  Update(n);
  Update(lifted);
  return lifted;
}

NodeRef PositionTree::Rebalance(NodeRef n) {
  Update(n);
  const int32_t balance = Height(Left(n)) - Height(Right(n));
  if (balance >= -1 && balance <= 1) return n;
  // The taller side is lifted; a child leaning the other way is first
  // straightened by a rotation of its own.
  const int tall = balance > 1 ? kLeft : kRight;
  const NodeRef child = nodes_[n].child[tall];
  if (Height(nodes_[child].child[tall]) < Height(nodes_[child].child[1 - tall])) Rotate(child, 1 - tall);
  return Rotate(n, tall);
}

void PositionTree::FixUpwards(NodeRef n) {
  while (n != kNoNode) n = nodes_[Rebalance(n)].parent;
}

NodeRef PositionTree::Bound(std::string_view key, bool strict, int32_t& position) const noexcept {
  NodeRef found = kNoNode;
  int32_t before = 0;  // entries known to lie before the current subtree
  position = Size() + 1;
  for (NodeRef n = root_; n != kNoNode;) {
    const int comparison = std::string_view(nodes_[n].key).compare(key);
    if (strict ? comparison > 0 : comparison >= 0) {
      found = n;
      position = before + Count(Left(n)) + 1;
      n = Left(n);
    } else {
      before += Count(Left(n)) + 1;
      n = Right(n);
    }
  }
  return found;
}

}  // namespace velmora::collections
