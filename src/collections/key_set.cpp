#include "velmora/collections/key_set.hpp"

#include <limits>

#include "collections/guarded.hpp"
#include "collections/id_index.hpp"
#include "collections/position_tree.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/keyid_services.hpp"

namespace velmora {
namespace {

using collections::Guarded;
using collections::kNoNode;
using collections::NodeRef;

constexpr std::string_view kClass = "AdoKeySet";
constexpr int32_t errNoCurrentRecord = 3021;
constexpr int32_t errInvalidBookmark = 3159;

[[noreturn]] void RaiseDirect(int32_t number, const char* description) {
  com::Raise(number, description, std::string(kLibraryName) + "." + std::string(kClass));
}

}  // namespace

// The sequence is a position tree plus an index from key id to nodes. The
// cursor is the key id of the current record (its bookmark decoded), kept
// only while a record is current.
struct AdoKeySet::Impl {
  collections::PositionTree tree;
  collections::IdIndex ids;
  int32_t descents = 0;  // neighbours out of ascending order; 0 = sorted
  bool hasCurrent = false;
  int32_t currentId = 0;
  bool bof = false;
  bool eof = false;

  void SetCurrent(NodeRef node) {
    hasCurrent = true;
    currentId = tree.Id(node);
    bof = eof = false;
  }

  // The cursor after a search: the record found, or none with BOF and EOF.
  void ShowFound(int32_t position, NodeRef node) {
    if (position != 0) {
      SetCurrent(node);
    } else {
      hasCurrent = false;
      bof = eof = true;
    }
  }

  // One record forward or back; off either end no record is current and
  // EOF or BOF is set.
  void Step(bool forward) {
    const NodeRef node = CurrentNode();
    const NodeRef neighbour = forward ? tree.Next(node) : tree.Previous(node);
    if (neighbour != kNoNode) {
      SetCurrent(neighbour);
    } else {
      hasCurrent = false;
      (forward ? eof : bof) = true;
    }
  }

  // The record a key id stands for: of several records sharing it, the one
  // at the lowest position.
  NodeRef LowestNode(int32_t id) const {
    NodeRef best = ids.Find(id);
    if (best == kNoNode || ids.NextWithSameId(best) == kNoNode) return best;
    int32_t bestPosition = tree.PositionOf(best);
    for (NodeRef n = ids.NextWithSameId(best); n != kNoNode; n = ids.NextWithSameId(n)) {
      const int32_t position = tree.PositionOf(n);
      if (position < bestPosition) {
        best = n;
        bestPosition = position;
      }
    }
    return best;
  }

  NodeRef NodeOfBookmark(std::string_view bookmark) const {
    int32_t id = 0;
    return support::BookmarkToKeyId(bookmark, id) ? LowestNode(id) : kNoNode;
  }

  NodeRef NodeOfBookmarkOrRaise(std::string_view bookmark) const {
    const NodeRef node = NodeOfBookmark(bookmark);
    if (node == kNoNode) RaiseDirect(com::errLibrary, "No such record.");
    return node;
  }

  // The record the current bookmark stands for; raises 3021 (and forgets
  // the bookmark) when there is none.
  NodeRef CurrentNode() {
    const NodeRef node = hasCurrent ? LowestNode(currentId) : kNoNode;
    if (node != kNoNode) return node;
    hasCurrent = false;
    RaiseDirect(errNoCurrentRecord, "No current record.");
  }

  std::string CurrentBookmark() {
    CurrentNode();
    return support::KeyIdToBookmark(currentId);
  }

  bool OutOfOrder(NodeRef a, NodeRef b) const {
    return a != kNoNode && b != kNoNode && tree.Key(a) > tree.Key(b);
  }

  NodeRef Insert(NodeRef before, const std::string& key, int32_t id) {
    if (tree.Size() == std::numeric_limits<int32_t>::max()) com::Raise(com::errOverflow);
    const NodeRef previous = before == kNoNode ? tree.Last() : tree.Previous(before);
    descents -= OutOfOrder(previous, before);
    const NodeRef node = tree.InsertBefore(before, key, id);
    descents += OutOfOrder(previous, node) + OutOfOrder(node, before);
    ids.Add(id, node);
    return node;
  }

  void Erase(NodeRef node) {
    const NodeRef previous = tree.Previous(node);
    const NodeRef next = tree.Next(node);
    descents += OutOfOrder(previous, next) - OutOfOrder(previous, node) - OutOfOrder(node, next);
    ids.Remove(tree.Id(node), node);
    tree.Erase(node);
  }

  void Clear() {
    tree.Clear();
    ids.Clear();
    descents = 0;
    hasCurrent = false;
    bof = eof = true;
  }

  int32_t Locate(const std::string& key, FindMethodEnum method, NodeRef& node) const;
  int32_t LocateSorted(const std::string& key, FindMethodEnum method, NodeRef& node) const;
  int32_t LocateByProbes(const std::string& key, FindMethodEnum method, NodeRef& node) const;
};

int32_t AdoKeySet::Impl::Locate(const std::string& key, FindMethodEnum method, NodeRef& node) const {
  node = kNoNode;
  if (tree.Size() == 0) return 0;
  return descents == 0 ? LocateSorted(key, method, node) : LocateByProbes(key, method, node);
}

// On ordered keys the binary search and its walks end on a bound of the run
// of keys equal to `key`, so the bounds are computed directly.
int32_t AdoKeySet::Impl::LocateSorted(const std::string& key, FindMethodEnum method, NodeRef& node) const {
  int32_t position = 0;
  switch (method) {
    case FIND_GE:
      node = tree.Bound(key, false, position);
      break;
    case FIND_GT:
      node = tree.Bound(key, true, position);
      break;
    case FIND_LE:
    case FIND_LT: {
      const NodeRef bound = tree.Bound(key, method == FIND_LE, position);
      node = bound == kNoNode ? tree.Last() : tree.Previous(bound);
      --position;
      break;
    }
    default:  // FIND_EQ and any other value
      node = tree.Bound(key, false, position);
      if (node != kNoNode && tree.Key(node) != key) node = kNoNode;
      break;
  }
  return node == kNoNode ? 0 : position;
}

// The search exactly as the rules state it, for keys that Append has left
// out of order: a binary search on positions, then a walk by method.
int32_t AdoKeySet::Impl::LocateByProbes(const std::string& key, FindMethodEnum method, NodeRef& node) const {
  const int32_t count = tree.Size();
  int32_t lo = 1;
  int32_t hi = count;
  int32_t pos = 1;
  bool found = false;
  while (lo <= hi) {
    pos = lo + (hi - lo) / 2;
    node = tree.At(pos);
    const int comparison = tree.Key(node).compare(key);
    if (comparison < 0) {
      lo = pos + 1;
    } else if (comparison > 0) {
      hi = pos - 1;
    } else {
      found = true;
      break;
    }
  }
  auto stepLeft = [&] { --pos; node = tree.Previous(node); };
  auto stepRight = [&] { ++pos; node = tree.Next(node); };
  auto walkLessThan = [&] {
    if (pos < count) stepRight();
    while (pos >= 1 && tree.Key(node).compare(key) >= 0) stepLeft();
    return pos;
  };
  auto walkGreaterThan = [&] {
    if (pos > 1) stepLeft();
    while (tree.Key(node).compare(key) <= 0) {
      stepRight();
      if (pos > count) return 0;
    }
    return pos;
  };
  switch (method) {
    case FIND_GT:
      return walkGreaterThan();
    case FIND_LT:
      return walkLessThan();
    case FIND_LE:
      if (!found) return walkLessThan();
      while (pos < count && tree.Key(tree.Next(node)) == key) stepRight();
      return pos;
    case FIND_GE:
      if (!found) return walkGreaterThan();
      [[fallthrough]];
    default:  // FIND_EQ and any other value
      if (!found) return 0;
      while (pos > 1 && tree.Key(tree.Previous(node)) == key) stepLeft();
      return pos;
  }
}

AdoKeySet::AdoKeySet() : impl_(std::make_unique<Impl>()) {}
AdoKeySet::~AdoKeySet() = default;

bool AdoKeySet::Delete(const std::string& keyId) {
  return Guarded(kClass, "Delete", [&] {
    const std::string bookmark = keyId.empty() ? impl_->CurrentBookmark() : keyId;
    const NodeRef node = impl_->NodeOfBookmarkOrRaise(bookmark);
    if (impl_->tree.Size() == 1) {
      impl_->Clear();
      return false;
    }
    const bool wasCurrent = impl_->hasCurrent && impl_->currentId == impl_->tree.Id(node);
    NodeRef follower = impl_->tree.Next(node);
    if (follower == kNoNode) follower = impl_->tree.Previous(node);
    impl_->Erase(node);
    if (wasCurrent) impl_->currentId = impl_->tree.Id(follower);
    return false;
  });
}

int32_t AdoKeySet::BookmarkToIndex(const std::string& keyId, bool errorFree) const {
  const NodeRef node = errorFree ? impl_->NodeOfBookmark(keyId) : impl_->NodeOfBookmarkOrRaise(keyId);
  return node == kNoNode ? 0 : impl_->tree.PositionOf(node);
}

bool AdoKeySet::MovePrevious() {
  return Guarded(kClass, "MovePrevious", [&] {
    impl_->Step(false);
    return false;
  });
}

bool AdoKeySet::MoveNext() {
  return Guarded(kClass, "MoveNext", [&] {
    impl_->Step(true);
    return false;
  });
}

bool AdoKeySet::MoveFirst() {
  return Guarded(kClass, "MoveFirst", [&] {
    if (impl_->tree.Size() == 0) impl_->CurrentNode();
    impl_->SetCurrent(impl_->tree.First());
    return false;
  });
}

bool AdoKeySet::MoveLast() {
  return Guarded(kClass, "MoveLast", [&] {
    if (impl_->tree.Size() == 0) impl_->CurrentNode();
    impl_->SetCurrent(impl_->tree.Last());
    return false;
  });
}

bool AdoKeySet::IsEOF() const noexcept { return impl_->tree.Size() == 0 || impl_->eof; }
bool AdoKeySet::IsBOF() const noexcept { return impl_->tree.Size() == 0 || impl_->bof; }

bool AdoKeySet::IsValidBookmark(const std::string& bookmark) const {
  return impl_->NodeOfBookmark(bookmark) != kNoNode;
}

std::string AdoKeySet::Bookmark() { return impl_->CurrentBookmark(); }

void AdoKeySet::Bookmark(const std::string& value) {
  const NodeRef node = impl_->NodeOfBookmark(value);
  if (node == kNoNode) RaiseDirect(errInvalidBookmark, "Not a valid bookmark.");
  impl_->hasCurrent = true;
  impl_->currentId = impl_->tree.Id(node);
}

bool AdoKeySet::Append(const std::string& keyValue, int32_t keyId) {
  return Guarded(kClass, "Append", [&] {
    impl_->SetCurrent(impl_->Insert(kNoNode, keyValue, keyId));
    return false;
  });
}

bool AdoKeySet::AddNew(const std::string& keyValue, int32_t keyId) {
  return Guarded(kClass, "AddNew", [&] {
    NodeRef before = kNoNode;
    // The search moves the cursor as Find does; the new record then
    // replaces it as the current one.
    impl_->ShowFound(impl_->Locate(keyValue, FIND_GE, before), before);
    impl_->SetCurrent(impl_->Insert(before, keyValue, keyId));
    return false;
  });
}

int32_t AdoKeySet::Find(const std::string& keyToFind, FindMethodEnum method) {
  return Guarded(kClass, "Find", [&] {
    NodeRef node = kNoNode;
    const int32_t position = impl_->Locate(keyToFind, method, node);
    impl_->ShowFound(position, node);
    return position;
  });
}

int32_t AdoKeySet::RecordCount() const noexcept { return impl_->tree.Size(); }

void AdoKeySet::Clear() { impl_->Clear(); }

std::string AdoKeySet::Key(const std::string& keyId) {
  std::string bookmark = keyId;
  if (bookmark.empty()) {
    bookmark = impl_->CurrentBookmark();
  } else {
    Bookmark(bookmark);
  }
  return impl_->tree.Key(impl_->NodeOfBookmarkOrRaise(bookmark));
}

}  // namespace velmora
