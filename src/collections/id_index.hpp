#pragma once
// From a record id to the tree nodes that carry it. Ids are normally
// unique, so each id maps to one node; an id given twice is kept as a short
// chain of nodes (the records with equal bookmarks). Open addressing with
// linear probing in a flat array: no allocation per entry.
#include <cstdint>
#include <vector>

#include "collections/position_tree.hpp"

namespace velmora::collections {

class IdIndex {
 public:
  IdIndex();

  void Clear();
  // The first node carrying `id`, kNoNode when none; NextWithSameId walks
  // the others.
  NodeRef Find(int32_t id) const noexcept;
  NodeRef NextWithSameId(NodeRef node) const noexcept { return chain_[node]; }
  void Add(int32_t id, NodeRef node);
  void Remove(int32_t id, NodeRef node);

 private:
  struct Slot {
    int32_t id = 0;
    NodeRef head = kNoNode;  // kNoNode: the slot is free
  };

  size_t Home(int32_t id) const noexcept;
  size_t Probe(int32_t id) const noexcept;  // the slot of id, or the free slot where it would go
  void Grow();
  void EraseSlot(size_t slot);

  std::vector<Slot> slots_;
  std::vector<NodeRef> chain_;  // by node: the next node with the same id
  size_t used_ = 0;
  int shift_ = 0;
};

}  // namespace velmora::collections
