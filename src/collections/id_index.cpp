#include "collections/id_index.hpp"

namespace velmora::collections {
namespace {

constexpr int kInitialBits = 4;

}  // namespace

IdIndex::IdIndex() { Clear(); }

void IdIndex::Clear() {
  slots_.assign(size_t{1} << kInitialBits, Slot{});
  chain_.clear();
  used_ = 0;
  shift_ = 32 - kInitialBits;
}

size_t IdIndex::Home(int32_t id) const noexcept {
  // Fibonacci hashing spreads consecutive ids over the table.
  return (static_cast<uint32_t>(id) * 0x9E3779B9u) >> shift_;
}

size_t IdIndex::Probe(int32_t id) const noexcept {
  const size_t mask = slots_.size() - 1;
  size_t slot = Home(id);
  while (slots_[slot].head != kNoNode && slots_[slot].id != id) slot = (slot + 1) & mask;
  return slot;
}

NodeRef IdIndex::Find(int32_t id) const noexcept { return slots_[Probe(id)].head; }

void IdIndex::Add(int32_t id, NodeRef node) {
  if (node >= chain_.size()) chain_.resize(node + size_t{1} + chain_.size() / 2, kNoNode);
  Slot& slot = slots_[Probe(id)];
  if (slot.head == kNoNode) {
    slot.id = id;
    chain_[node] = kNoNode;
    slot.head = node;
    if (++used_ * 2 > slots_.size()) Grow();
  } else {
    chain_[node] = slot.head;
    slot.head = node;
  }
}

void IdIndex::Remove(int32_t id, NodeRef node) {
  const size_t at = Probe(id);
  Slot& slot = slots_[at];
  if (slot.head == node) {
    slot.head = chain_[node];
    if (slot.head == kNoNode) EraseSlot(at);
    return;
  }
  for (NodeRef n = slot.head; n != kNoNode; n = chain_[n]) {
    if (chain_[n] == node) {
      chain_[n] = chain_[node];
      return;
    }
  }
}

void IdIndex::EraseSlot(size_t hole) {
  // Backward-shift deletion: later entries of the probe run move into the
  // hole when their home slot allows it, so lookups never need tombstones.
  const size_t mask = slots_.size() - 1;
  --used_;
  for (size_t next = (hole + 1) & mask; slots_[next].head != kNoNode; next = (next + 1) & mask) {
    const size_t home = Home(slots_[next].id);
    const bool canMove = ((next - home) & mask) >= ((next - hole) & mask);
    if (canMove) {
      slots_[hole] = slots_[next];
      hole = next;
    }
  }
  slots_[hole] = Slot{};
}

void IdIndex::Grow() {
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  --shift_;
  for (const Slot& slot : old) {
    if (slot.head != kNoNode) slots_[Probe(slot.id)] = slot;
  }
}

}  // namespace velmora::collections
