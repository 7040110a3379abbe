#pragma once
// The collection keyed by string: ordered items with optional keys compared
// without regard to case, 1-based positions. A missing key or position
// raises 5, a duplicate key raises 457. Lookup by key and by position, and
// insertion and removal anywhere, cost O(log n).
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::com {

class Collection : public Object {
 public:
  Collection();
  ~Collection() override;

  // Adds `item` under `key` (Missing: no key). `before` or `after` (a key or
  // a 1-based position; at most one of them) place it; otherwise it goes at
  // the end.
  void Add(const Variant& item, const Variant& key = Missing, const Variant& before = Missing,
           const Variant& after = Missing);
  // The item with this key (a string) or at this 1-based position (a number).
  Variant Item(const Variant& index) const;
  void Remove(const Variant& index);
  int32_t Count() const noexcept;

  // True when an item has this key (no error raised).
  bool HasKey(const std::string& key) const;
  // The key of the item at a 1-based position ("" when it has none).
  std::string KeyAt(int32_t position) const;

  // Enumeration in order.
  class const_iterator {
   public:
    using value_type = Variant;
    using difference_type = std::ptrdiff_t;
    const_iterator() = default;
    Variant operator*() const;
    const_iterator& operator++() {
      ++pos_;
      return *this;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.pos_ == b.pos_; }

   private:
    friend class Collection;
    const_iterator(const Collection* c, int32_t pos) : c_(c), pos_(pos) {}
    const Collection* c_ = nullptr;
    int32_t pos_ = 0;
  };
  const_iterator begin() const { return {this, 1}; }
  const_iterator end() const { return {this, Count() + 1}; }

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

using CollectionPtr = std::shared_ptr<Collection>;

// Folds a key for comparison without regard to case (Unicode simple case
// folding of the code points, UTF-8 in and out).
std::string FoldKeyCase(std::string_view key);

}  // namespace velmora::com
