// The collection keyed by string, kept as an implicit treap (a randomized
// balanced tree ordered by position, each node knowing the size of its
// subtree and its parent) plus a hash map from folded key to node. Position
// lookup, key lookup, insertion and removal anywhere cost O(log n).
#include "velmora/com/collection.hpp"

#include <unordered_map>
#include <vector>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {

struct Collection::Impl {
  struct Node {
    Variant item;
    std::string key;  // as given; empty when `hasKey` is false
    bool hasKey = false;
    uint64_t priority = 0;
    int32_t size = 1;
    Node* left = nullptr;
    Node* right = nullptr;
    Node* parent = nullptr;
  };

  Node* root = nullptr;
  std::unordered_map<std::string, Node*> byKey;  // folded key -> node
  uint64_t seed = 0x9E3779B97F4A7C15ull;

  Impl() = default;
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    std::vector<Node*> pending;
    if (root) pending.push_back(root);
    while (!pending.empty()) {
      Node* n = pending.back();
      pending.pop_back();
      if (n->left) pending.push_back(n->left);
      if (n->right) pending.push_back(n->right);
      delete n;
    }
  }

  uint64_t NextPriority() {  // splitmix64
    uint64_t z = (seed += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

  static int32_t Size(const Node* n) { return n ? n->size : 0; }

  static void Update(Node* n) {
    n->size = 1 + Size(n->left) + Size(n->right);
    if (n->left) n->left->parent = n;
    if (n->right) n->right->parent = n;
  }

  static Node* Merge(Node* a, Node* b) {
    if (!a || !b) return a ? a : b;
    if (a->priority > b->priority) {
      a->right = Merge(a->right, b);
      Update(a);
      return a;
    }
    b->left = Merge(a, b->left);
    Update(b);
    return b;
  }

  // The first `count` nodes of `t` go to `a`, the rest to `b`.
  static void Split(Node* t, int32_t count, Node*& a, Node*& b) {
    if (!t) {
      a = b = nullptr;
      return;
    }
    if (Size(t->left) < count) {
      Split(t->right, count - Size(t->left) - 1, t->right, b);
      a = t;
    } else {
      Split(t->left, count, a, t->left);
      b = t;
    }
    Update(t);
  }

  void SetRoot(Node* n) {
    root = n;
    if (root) root->parent = nullptr;
  }

  void InsertAt(int32_t index, Node* n) {
    Node *a = nullptr, *b = nullptr;
    Split(root, index, a, b);
    if (a) a->parent = nullptr;
    if (b) b->parent = nullptr;
    SetRoot(Merge(Merge(a, n), b));
  }

  Node* EraseAt(int32_t index) {
    Node *a = nullptr, *rest = nullptr, *middle = nullptr, *b = nullptr;
    Split(root, index, a, rest);
    Split(rest, 1, middle, b);
    if (a) a->parent = nullptr;
    if (b) b->parent = nullptr;
    SetRoot(Merge(a, b));
    middle->parent = nullptr;
    return middle;
  }

  // The node at a 0-based index the caller has checked.
  Node& At(int32_t index) const {
    Node* n = root;
    while (n) {
      const int32_t left = Size(n->left);
      if (index < left) {
        n = n->left;
      } else if (index == left) {
        return *n;
      } else {
        index -= left + 1;
        n = n->right;
      }
    }
    Raise(errInvalidProcedureCall);
  }

  static int32_t IndexOf(const Node* n) {
    int32_t index = Size(n->left);
    for (; n->parent; n = n->parent)
      if (n == n->parent->right) index += Size(n->parent->left) + 1;
    return index;
  }

  // The item named by a key (a string) or a 1-based position (a number);
  // raises 5 when there is no such item.
  Node& Find(const Variant& index) const {
    if (auto key = index.TryGet<std::string>()) {
      auto it = byKey.find(FoldKeyCase(*key));
      if (it == byKey.end()) Raise(errInvalidProcedureCall);
      return *it->second;
    }
    if (!index.TryGet<Date>() && !IsNumeric(index)) Raise(errTypeMismatch);
    const int32_t position = CLng(index);
    if (position < 1 || position > Size(root)) Raise(errInvalidProcedureCall);
    return At(position - 1);
  }
  int32_t Resolve(const Variant& index) const { return IndexOf(&Find(index)); }
};

Collection::Collection() : impl_(std::make_unique<Impl>()) {}
Collection::~Collection() = default;

void Collection::Add(const Variant& item, const Variant& key, const Variant& before, const Variant& after) {
  if (!before.IsMissing() && !after.IsMissing()) Raise(errInvalidProcedureCall);
  std::string folded;
  const bool hasKey = !key.IsMissing();
  if (hasKey) {
    if (!key.IsString()) Raise(errTypeMismatch);
    folded = FoldKeyCase(key.Get<std::string>());
    if (impl_->byKey.count(folded)) Raise(errDuplicateKey);
  }
  int32_t index = Count();
  if (!before.IsMissing()) index = impl_->Resolve(before);
  else if (!after.IsMissing()) index = impl_->Resolve(after) + 1;

  auto node = std::make_unique<Impl::Node>();
  node->item = item;
  node->hasKey = hasKey;
  if (hasKey) node->key = key.Get<std::string>();
  node->priority = impl_->NextPriority();
  if (hasKey) impl_->byKey.emplace(std::move(folded), node.get());
  impl_->InsertAt(index, node.release());
}

Variant Collection::Item(const Variant& index) const { return impl_->Find(index).item; }

void Collection::Remove(const Variant& index) {
  std::unique_ptr<Impl::Node> removed(impl_->EraseAt(impl_->Resolve(index)));
  if (removed->hasKey) impl_->byKey.erase(FoldKeyCase(removed->key));
}

int32_t Collection::Count() const noexcept { return Impl::Size(impl_->root); }

bool Collection::HasKey(const std::string& key) const { return impl_->byKey.count(FoldKeyCase(key)) != 0; }

std::string Collection::KeyAt(int32_t position) const {
  if (position < 1 || position > Count()) Raise(errInvalidProcedureCall);
  return impl_->At(position - 1).key;
}

Variant Collection::const_iterator::operator*() const { return c_->Item(Variant(pos_)); }

}  // namespace velmora::com
