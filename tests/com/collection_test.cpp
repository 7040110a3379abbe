// Collection: keys without regard to case, positions, errors, and a
// randomized comparison with a plain vector model.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "support_common/raised_error.hpp"
#include "velmora/com.hpp"

namespace velmora::com {
namespace {

using test::ErrorNumber;

TEST(Collection, AddItemRemoveCount) {
  Collection c;
  c.Add(int32_t{10}, "a");
  c.Add(int32_t{20});
  c.Add(int32_t{30}, "C");
  EXPECT_EQ(c.Count(), 3);
  EXPECT_EQ(CLng(c.Item("A")), 10);
  EXPECT_EQ(CLng(c.Item("c")), 30);
  EXPECT_EQ(CLng(c.Item(int32_t{2})), 20);
  EXPECT_EQ(CLng(c.Item(2.4)), 20);
  EXPECT_EQ(CLng(c.Item(int16_t{3})), 30);
  EXPECT_EQ(c.KeyAt(1), "a");
  EXPECT_EQ(c.KeyAt(2), "");
  EXPECT_EQ(c.KeyAt(3), "C");
  c.Remove("A");
  EXPECT_EQ(c.Count(), 2);
  EXPECT_FALSE(c.HasKey("a"));
  c.Remove(int32_t{1});
  EXPECT_EQ(CLng(c.Item(int32_t{1})), 30);
}

TEST(Collection, BeforeAndAfter) {
  Collection c;
  c.Add(Variant("b"), "kb");
  c.Add(Variant("a"), "ka", "KB");                          // before the key
  c.Add(Variant("d"), Missing, Missing, int32_t{2});       // after position 2
  c.Add(Variant("c"), "kc", Missing, Variant("kb"));       // after the key
  c.Add(Variant("first"), Missing, int32_t{1});            // before position 1
  std::vector<std::string> order;
  for (const Variant& v : c) order.push_back(CStr(v));
  EXPECT_EQ(order, (std::vector<std::string>{"first", "a", "b", "c", "d"}));
}

TEST(Collection, Errors) {
  Collection c;
  c.Add(int32_t{1}, "x");
  EXPECT_EQ(ErrorNumber([&] { c.Item("missing"); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Item(int32_t{0}); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Item(int32_t{2}); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Item(Variant()); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Item(Null); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([&] { c.Item(Variant("1")); }), errInvalidProcedureCall);  // a string is a key
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, "X"); }), errDuplicateKey);
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, int32_t{5}); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, "y", "nope"); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, "y", Missing, int32_t{5}); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, "y", int32_t{1}, int32_t{1}); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.Remove("y"); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([&] { c.KeyAt(2); }), errInvalidProcedureCall);
  EXPECT_EQ(c.Count(), 1);  // failed calls change nothing
  EXPECT_FALSE(c.HasKey("y"));
}

TEST(Collection, ObjectsAreShared) {
  Collection c;
  auto inner = std::make_shared<Collection>();
  c.Add(inner, "inner");
  c.Item("inner").ObjectAs<Collection>()->Add(int32_t{1});
  EXPECT_EQ(inner->Count(), 1);
}

TEST(Collection, KeysFoldUnicodeCase) {
  EXPECT_EQ(FoldKeyCase("ABC xyz"), "abc xyz");
  EXPECT_EQ(FoldKeyCase("\xC3\x80\xC3\x89\xC3\x9E"), "\xC3\xA0\xC3\xA9\xC3\xBE");  // ÀÉÞ
  EXPECT_EQ(FoldKeyCase("\xC3\x97"), "\xC3\x97");                                  // × has no case
  EXPECT_EQ(FoldKeyCase("\xC4\x8C\xC5\x81\xC5\xB8"), "\xC4\x8D\xC5\x82\xC3\xBF");  // ČŁŸ
  EXPECT_EQ(FoldKeyCase("\xCE\xA3\xCE\x86\xCF\x82"), "\xCF\x83\xCE\xAC\xCF\x83");  // ΣΆς
  EXPECT_EQ(FoldKeyCase("\xD0\x96\xD0\x81\xD1\x8F"), "\xD0\xB6\xD1\x91\xD1\x8F");  // ЖЁя
  EXPECT_EQ(FoldKeyCase("\xEF\xBC\xA1"), "\xEF\xBD\x81");                          // fullwidth A
  EXPECT_EQ(FoldKeyCase("A\xFF\xC3"), "a\xFF\xC3");                                // malformed bytes kept
  Collection c;
  c.Add(int32_t{1}, "\xD0\x9C\xD0\x98\xD0\xA0");  // МИР
  EXPECT_EQ(CLng(c.Item("\xD0\xBC\xD0\xB8\xD1\x80")), 1);
  EXPECT_EQ(ErrorNumber([&] { c.Add(int32_t{2}, "\xD0\xBC\xD0\xB8\xD1\x80"); }), errDuplicateKey);
}

// The model: a vector of (key, value) searched linearly.
struct ModelItem {
  std::optional<std::string> key;
  int32_t value;
};

class Model {
 public:
  // The 0-based index of the key, -1 when absent.
  int Find(const std::string& key) const {
    for (size_t i = 0; i < items.size(); ++i)
      if (items[i].key && FoldKeyCase(*items[i].key) == FoldKeyCase(key)) return static_cast<int>(i);
    return -1;
  }
  std::vector<ModelItem> items;
};

TEST(Collection, RandomizedAgainstModel) {
  std::mt19937 rng(12345);
  auto pick = [&rng](int n) { return static_cast<int>(std::uniform_int_distribution<int>(0, n - 1)(rng)); };
  const std::vector<std::string> keyPool = {"alpha", "Beta", "GAMMA", "delta", "\xC3\x89t\xC3\xA9", "x1", "x2",
                                            "x3",    "x4",   "x5",    "x6",    "x7",    "x8",    "x9", "x10"};
  auto randomCase = [&](std::string k) {
    for (char& ch : k)
      if (pick(2) && ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 32);
    return k;
  };
  Collection c;
  Model m;
  for (int step = 0; step < 20000; ++step) {
    const int op = pick(10);
    const int n = static_cast<int>(m.items.size());
    // An index: a key (possibly absent) or a position (possibly out of range).
    const bool byKey = pick(2);
    const std::string key = randomCase(keyPool[static_cast<size_t>(pick(static_cast<int>(keyPool.size())))]);
    const int32_t position = pick(n + 2);  // 0 and n+1 are out of range
    const Variant index = byKey ? Variant(key) : Variant(position);
    const int target = byKey ? m.Find(key) : (position >= 1 && position <= n ? position - 1 : -1);
    const bool found = target >= 0;
    if (op < 4) {  // Add
      const int32_t value = step;
      std::optional<std::string> newKey;
      if (pick(3)) newKey = randomCase(keyPool[static_cast<size_t>(pick(static_cast<int>(keyPool.size())))]);
      const int placement = pick(3);  // 0 end, 1 before, 2 after
      int expected = 0;
      if (newKey && m.Find(*newKey) >= 0) expected = errDuplicateKey;
      else if (placement != 0 && !found) expected = errInvalidProcedureCall;
      int got = ErrorNumber([&] {
        c.Add(value, newKey ? Variant(*newKey) : Variant(Missing), placement == 1 ? index : Variant(Missing),
              placement == 2 ? index : Variant(Missing));
      });
      ASSERT_EQ(got, expected) << "step " << step;
      if (expected == 0) {
        size_t at = placement == 0 ? m.items.size() : static_cast<size_t>(placement == 1 ? target : target + 1);
        m.items.insert(m.items.begin() + static_cast<std::ptrdiff_t>(at), {newKey, value});
      }
    } else if (op < 6) {  // Remove
      int got = ErrorNumber([&] { c.Remove(index); });
      ASSERT_EQ(got, found ? 0 : errInvalidProcedureCall) << "step " << step;
      if (found) m.items.erase(m.items.begin() + target);
    } else if (op < 9) {  // Item
      int32_t value = -1;
      int got = ErrorNumber([&] { value = CLng(c.Item(index)); });
      ASSERT_EQ(got, found ? 0 : errInvalidProcedureCall) << "step " << step;
      if (found) {
        ASSERT_EQ(value, m.items[static_cast<size_t>(target)].value);
      }
    } else {  // HasKey and KeyAt
      ASSERT_EQ(c.HasKey(key), m.Find(key) >= 0);
      if (n > 0) {
        const int32_t p = pick(n) + 1;
        ASSERT_EQ(c.KeyAt(p), m.items[static_cast<size_t>(p - 1)].key.value_or(""));
      }
    }
    ASSERT_EQ(c.Count(), static_cast<int32_t>(m.items.size()));
  }
  std::vector<int32_t> got, expected;
  for (const Variant& v : c) got.push_back(CLng(v));
  for (const ModelItem& item : m.items) expected.push_back(item.value);
  EXPECT_EQ(got, expected);
}

TEST(Collection, HundredThousandItems) {
  Collection c;
  const int32_t n = 100000;
  for (int32_t i = 0; i < n; ++i) c.Add(i, "k" + std::to_string(i), i % 2 && i > 1 ? Variant(int32_t{1}) : Variant(Missing));
  ASSERT_EQ(c.Count(), n);
  for (int32_t i = 0; i < n; i += 997) EXPECT_EQ(CLng(c.Item("K" + std::to_string(i))), i);
  // Odd items were put in front, newest first; even items follow in order.
  EXPECT_EQ(CLng(c.Item(int32_t{1})), n - 1);
  EXPECT_EQ(CLng(c.Item(int32_t{n})), n - 2);
  for (int32_t i = 0; i < n; i += 2) c.Remove("k" + std::to_string(i));
  EXPECT_EQ(c.Count(), n / 2);
  EXPECT_EQ(CLng(c.Item(int32_t{n / 2})), 1);
}

}  // namespace
}  // namespace velmora::com
