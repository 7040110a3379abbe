#include <gtest/gtest.h>

#include <set>

#include "velmora/com/collection.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

TEST(KeyIdServices, BookmarksAreFourCharactersAndRoundTrip) {
  for (int32_t id : {0, 1, -1, 42, 255, 256, INT32_MIN, INT32_MAX, 0x01020304}) {
    const std::string bookmark = Support().EncodeKeyId(id);
    EXPECT_EQ(bookmark.size(), 8u);  // four 2-byte characters
    EXPECT_EQ(Support().DecodeKeyId(bookmark), id);
  }
}

TEST(KeyIdServices, DistinctIdsGiveDistinctBookmarks) {
  std::set<std::string> seen;
  for (int32_t id = -3000; id <= 3000; ++id) seen.insert(Support().EncodeKeyId(id * 65537));
  EXPECT_EQ(seen.size(), 6001u);
}

TEST(KeyIdServices, DecodeRefusesOtherText) {
  for (const std::string& text : {std::string(), std::string("abcd"), std::string("abcdefgh"),
                                 Support().EncodeKeyId(5).substr(0, 6), Support().EncodeKeyId(5) + "x"}) {
    try {
      Support().DecodeKeyId(text);
      FAIL() << text;
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), 5);
    }
  }
}

TEST(KeyIdServices, FindKeyIdSlotMatchesWholeSlotsOnly) {
  const auto& s = Support();
  const std::string slots = s.EncodeKeyId(7) + s.EncodeKeyId(9) + s.EncodeKeyId(7);
  EXPECT_EQ(s.FindKeyIdSlot(slots, s.EncodeKeyId(7)), 1);
  EXPECT_EQ(s.FindKeyIdSlot(slots, s.EncodeKeyId(9)), 2);
  EXPECT_EQ(s.FindKeyIdSlot(slots, s.EncodeKeyId(7), 2), 3);
  EXPECT_EQ(s.FindKeyIdSlot(slots, s.EncodeKeyId(8)), 0);
  // Characters 3 to 6 straddle slots 1 and 2: never a match.
  EXPECT_EQ(s.FindKeyIdSlot(slots, slots.substr(4, 8)), 0);
  EXPECT_EQ(s.FindKeyIdSlot("abcdefgh", "efgh"), 2);
  EXPECT_EQ(s.FindKeyIdSlot("abcdefgh", "cdef"), 0);
  EXPECT_EQ(s.FindKeyIdSlot("abcdef", "ef"), 0);  // a short tail is no slot
  EXPECT_EQ(s.FindKeyIdSlot("", "abcd"), 0);
}

TEST(KeyIdServices, NewKeyIdsAreFreshAndNeverZero) {
  std::set<int32_t> seen;
  for (int i = 0; i < 10000; ++i) {
    const int32_t id = Support().NewKeyId();
    EXPECT_NE(id, 0);
    EXPECT_TRUE(seen.insert(id).second);
  }
}

TEST(KeyIdServices, CollectionHasKeyByKeyOrPosition) {
  auto c = std::make_shared<com::Collection>();
  c->Add(int32_t{1}, "Alpha");
  c->Add(int32_t{2});
  EXPECT_TRUE(Support().CollectionHasKey("alpha", c));
  EXPECT_FALSE(Support().CollectionHasKey("beta", c));
  EXPECT_TRUE(Support().CollectionHasKey(int32_t{2}, c));
  EXPECT_FALSE(Support().CollectionHasKey(int32_t{3}, c));
  EXPECT_FALSE(Support().CollectionHasKey(com::Null, c));
  EXPECT_FALSE(Support().CollectionHasKey("alpha", nullptr));
}

TEST(KeyIdServices, TrimTrailingSeparatorRemovesOne) {
  EXPECT_EQ(Support().TrimTrailingSeparator("A+B+", "+"), "A+B");
  EXPECT_EQ(Support().TrimTrailingSeparator("A+B", "+"), "A+B");
  EXPECT_EQ(Support().TrimTrailingSeparator("", "+"), "");
  EXPECT_EQ(Support().TrimTrailingSeparator("x;;", ";"), "x;");
}

TEST(KeyIdServices, NotifyCountsAndCallsTheHandler) {
  int calls = 0;
  const int64_t before = Support().NotificationCount();
  Support().NotificationHandler([&] { ++calls; });
  Support().Notify();
  Support().NotificationHandler(nullptr);
  Support().Notify();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(Support().NotificationCount(), before + 2);
}

}  // namespace
}  // namespace velmora
