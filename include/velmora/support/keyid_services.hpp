#pragma once
// Key-id services of the support object: the 4-character bookmark form of a
// 32-bit record id, the slot search over bookmarks laid end to end, fresh
// record ids, collection key tests, the trailing-separator trim and the
// change notification used when a restored index cannot be rebuilt.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "velmora/com/collection.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::support {

// Number of characters (code points) of every bookmark.
inline constexpr int32_t kKeyIdChars = 4;

// The bookmark of `keyId`: four code points U+0100..U+01FF, one per byte of
// the id, most significant byte first (8 bytes of UTF-8). Distinct ids give
// distinct bookmarks.
std::string KeyIdToBookmark(int32_t keyId);
// The id of a bookmark made by KeyIdToBookmark; false for any other text.
bool BookmarkToKeyId(std::string_view bookmark, int32_t& keyId) noexcept;

class KeyIdServices {
 public:
  // The 4-character bookmark form of a key id.
  std::string EncodeKeyId(int32_t keyId) const { return KeyIdToBookmark(keyId); }
  // The key id of a bookmark; raises 5 when the text is not a bookmark.
  int32_t DecodeKeyId(const std::string& bookmark) const;
  // Treats `slots` as consecutive 4-character slots and returns the 1-based
  // number of the first slot, from slot `start` on, equal to `bookmark`;
  // 0 when there is none. Only whole, slot-aligned slots match.
  int32_t FindKeyIdSlot(std::string_view slots, std::string_view bookmark, int32_t start = 1) const;
  // A fresh record id for a record that has none: never 0, never repeated in
  // this process (negative numbers counting down from a random start, so
  // that they stay clear of the positive numbers of database counters).
  int32_t NewKeyId();
  // True when `collection` has an item under `key`: a string key is looked
  // up as a key, a number as a 1-based position; anything else, or no
  // collection, gives false.
  bool CollectionHasKey(const com::Variant& key, const com::CollectionPtr& collection) const;
  // `text` without one trailing `separator` (unchanged when it does not end
  // with it).
  std::string TrimTrailingSeparator(std::string_view text, std::string_view separator) const;

  // Notification that some state could not be rebuilt (for instance an index
  // of a restored record array). The library does not depend on its effect:
  // it counts the notifications of this thread and calls the handler set by
  // the application, if any.
  void Notify();
  int64_t NotificationCount() const noexcept { return notifications_; }
  void NotificationHandler(std::function<void()> handler) { handler_ = std::move(handler); }

 private:
  int64_t notifications_ = 0;
  std::function<void()> handler_;
};

}  // namespace velmora::support
