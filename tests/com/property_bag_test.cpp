// PropertyBag: the default rule, round trips of every type and of nested
// objects through Contents, and rejection of truncated or corrupt bytes.
#include <gtest/gtest.h>

#include <limits>

#include "com/allocation_meter.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com.hpp"

namespace velmora::com {
namespace {

using test::ErrorNumber;

// A persistable class for the tests: a name, a number and an optional child.
class Node : public PersistableObject {
 public:
  static constexpr const char* kProgId = "Velmora.Test.Node";
  std::string ProgID() const override { return kProgId; }
  void InitProperties() override { number = 42; }
  void ReadProperties(PropertyBag& bag) override {
    name = CStr(bag.ReadProperty("Name", ""));
    number = CLng(bag.ReadProperty("Number", int32_t{42}));
    child = bag.ReadProperty("Child", nullptr).ObjectAs<Node>();
  }
  void WriteProperties(PropertyBag& bag) override {
    bag.WriteProperty("Name", name, "");
    bag.WriteProperty("Number", number, int32_t{42});
    bag.WriteProperty("Child", child ? Variant(child) : Variant(nullptr), nullptr);
  }
  std::string name;
  int32_t number = 42;
  std::shared_ptr<Node> child;
};

// An object that writes itself as its own property, without end.
class Loop : public PersistableObject {
 public:
  std::string ProgID() const override { return "Velmora.Test.Loop"; }
  void ReadProperties(PropertyBag&) override {}
  void WriteProperties(PropertyBag& bag) override {
    bag.WriteProperty("Self", std::static_pointer_cast<Object>(shared_from_this()));
  }
};

class PropertyBagTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ClassRegistry::Register(Node::kProgId, [] { return std::make_shared<Node>(); });
  }
  static ByteArray Reloaded(const PropertyBag& bag) { return bag.Contents(); }
};

TEST_F(PropertyBagTest, DefaultsAreNotStored) {
  PropertyBag bag;
  bag.WriteProperty("a", int32_t{5}, int16_t{5});
  bag.WriteProperty("b", Variant("x"), Variant("x"));
  EXPECT_EQ(bag.Contents().size(), 12u);  // header and a count of zero
  EXPECT_EQ(CLng(bag.ReadProperty("a", int32_t{7})), 7);
  bag.WriteProperty("c", int32_t{5}, int32_t{6});
  EXPECT_EQ(CLng(bag.ReadProperty("C", int32_t{7})), 5);  // names without regard to case
  bag.WriteProperty("C", int32_t{6}, int32_t{6});         // rewriting the default removes it
  EXPECT_EQ(CLng(bag.ReadProperty("c", int32_t{7})), 7);
  bag.WriteProperty("n", Null, Null);  // Null = Null is not true: stored
  EXPECT_TRUE(bag.ReadProperty("n", int32_t{1}).IsNull());
  EXPECT_TRUE(bag.ReadProperty("absent").IsEmpty());
}

// Same type and value, Null counting as equal to Null (also inside arrays).
bool Same(const Variant& a, const Variant& b) {
  if (a.VarType() != b.VarType()) return false;
  if (a.IsNull()) return true;
  auto x = a.TryGet<VariantArray>();
  auto y = b.TryGet<VariantArray>();
  if (!x || !y) return VarEqual(a, b);
  return x->lowerBound == y->lowerBound &&
         std::equal(x->items.begin(), x->items.end(), y->items.begin(), y->items.end(), Same);
}

TEST_F(PropertyBagTest, EveryTypeRoundTrips) {
  const std::vector<Variant> values = {
      Variant(),
      Null,
      Missing,
      int16_t{-32768},
      int32_t{std::numeric_limits<int32_t>::max()},
      -1.5f,
      std::numeric_limits<double>::denorm_min(),
      Currency::FromRaw(std::numeric_limits<int64_t>::min()),
      Currency::FromRaw(std::numeric_limits<int64_t>::max()),
      Date(-657434.0),
      Date(-1.25),
      Date(kMaxDate),
      std::string("caf\xC3\xA9 \xF0\x9F\x98\x80"),
      std::string(),
      true,
      false,
      CDec(Variant("-7.9228162514264337593543950335")),
      CDec(Variant("79228162514264337593543950335")),
      uint8_t{255},
      ByteArray{0, 1, 2, 255},
      ByteArray{},
      VariantArray{vbVariant, 1, {int32_t{1}, Variant("two"), Null, ByteArray{3}}},
      VariantArray{vbDouble, 0, {1.0, 2.5}},
      VariantArray{vbString, -3, {}},
      VariantArray{vbByte, 1, {uint8_t{7}, uint8_t{8}}},
      Variant(nullptr),
  };
  PropertyBag bag;
  for (size_t i = 0; i < values.size(); ++i) bag.WriteProperty("p" + std::to_string(i), values[i]);
  PropertyBag copy;
  copy.Contents(bag.Contents());
  EXPECT_EQ(copy.Contents(), bag.Contents());
  for (size_t i = 0; i < values.size(); ++i) {
    Variant back = copy.ReadProperty("P" + std::to_string(i), Variant("default"));
    EXPECT_EQ(back.VarType(), values[i].VarType()) << i;
    EXPECT_TRUE(Same(back, values[i])) << i;
  }
}

TEST_F(PropertyBagTest, NestedObjectsAreRecreated) {
  auto root = std::make_shared<Node>();
  root->name = "root";
  root->number = 1;
  root->child = std::make_shared<Node>();
  root->child->name = "leaf";
  PropertyBag bag;
  bag.WriteProperty("Tree", root);
  root->name = "changed later";  // the bag holds the state at the time of writing
  PropertyBag copy;
  copy.Contents(bag.Contents());
  auto back = copy.ReadProperty("tree").ObjectAs<Node>();
  ASSERT_TRUE(back);
  EXPECT_NE(back, root);
  EXPECT_EQ(back->name, "root");
  EXPECT_EQ(back->number, 1);
  ASSERT_TRUE(back->child);
  EXPECT_EQ(back->child->name, "leaf");
  EXPECT_EQ(back->child->number, 42);
  EXPECT_FALSE(back->child->child);
}

TEST_F(PropertyBagTest, ObjectErrors) {
  PropertyBag bag;
  EXPECT_EQ(ErrorNumber([&] { bag.WriteProperty("x", std::make_shared<Collection>()); }), 330);
  EXPECT_EQ(ErrorNumber([&] { bag.WriteProperty("x", std::make_shared<Loop>()); }), errLibrary);
  EXPECT_EQ(ErrorNumber([] { ClassRegistry::Create("Velmora.Test.Unknown"); }), 429);
  EXPECT_TRUE(ClassRegistry::IsRegistered("velmora.test.node"));

  // A class that is not registered fails when the value is read, not loaded.
  struct Stranger : PersistableObject {
    std::string ProgID() const override { return "Velmora.Test.Stranger"; }
    void ReadProperties(PropertyBag&) override {}
    void WriteProperties(PropertyBag&) override {}
  };
  bag.WriteProperty("s", std::make_shared<Stranger>());
  PropertyBag copy;
  copy.Contents(bag.Contents());
  EXPECT_EQ(ErrorNumber([&] { copy.ReadProperty("s"); }), 429);
}

ByteArray SampleContents() {
  PropertyBag bag;
  auto root = std::make_shared<Node>();
  root->name = "n";
  root->child = std::make_shared<Node>();
  bag.WriteProperty("Tree", root);
  bag.WriteProperty("Text", Variant("abc"));
  bag.WriteProperty("List", VariantArray{vbVariant, 0, {int32_t{1}, CDec(Variant("1.5")), true}});
  bag.WriteProperty("Bytes", ByteArray{1, 2, 3});
  return bag.Contents();
}

void ExpectRejected(const ByteArray& bytes, const std::string& why) {
  PropertyBag bag;
  bag.WriteProperty("keep", int32_t{1});
  try {
    bag.Contents(bytes);
    ADD_FAILURE() << why << ": accepted";
  } catch (const Error& e) {
    EXPECT_EQ(e.Number(), errLibrary) << why;
    EXPECT_NE(e.Description().find("Invalid property bag contents"), std::string::npos) << e.Description();
  }
  EXPECT_EQ(CLng(bag.ReadProperty("keep")), 1) << why;  // the bag is unchanged
}

TEST_F(PropertyBagTest, TruncatedContentsAreRejected) {
  const ByteArray full = SampleContents();
  for (size_t n = 0; n < full.size(); ++n) ExpectRejected(ByteArray(full.begin(), full.begin() + n), std::to_string(n));
  ByteArray longer = full;
  longer.push_back(0);
  ExpectRejected(longer, "trailing byte");
}

// A bag with a single property `p` whose encoded value is `value`.
ByteArray OneProperty(const ByteArray& value) {
  static constexpr uint8_t kHeader[] = {'V', 'P', 'B', 'G', 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 'p'};
  ByteArray b(value.size() + sizeof kHeader);
  std::copy(std::begin(kHeader), std::end(kHeader), b.begin());
  std::copy(value.begin(), value.end(), b.begin() + sizeof kHeader);
  return b;
}

TEST_F(PropertyBagTest, CorruptContentsAreRejected) {
  ByteArray good = SampleContents();
  ByteArray bad = good;
  bad[0] = 'X';
  ExpectRejected(bad, "signature");
  bad = good;
  bad[4] = 2;
  ExpectRejected(bad, "version");
  bad = good;
  bad[6] = 1;
  ExpectRejected(bad, "flags");
  ExpectRejected(OneProperty({99, 0}), "unknown type");
  ExpectRejected(OneProperty({11, 0, 2}), "boolean flag");
  ExpectRejected(OneProperty({9, 0, 7}), "object kind");
  ExpectRejected(OneProperty({14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 29, 0}), "decimal scale");
  ExpectRejected(OneProperty({0x11, 0x20, 0, 0xFF, 0xFF, 0xFF, 0x7F}), "huge byte array");
  ExpectRejected(OneProperty({0x11, 0x20, 2, 0, 0, 0, 0}), "byte array form");
  ExpectRejected(OneProperty({0x0C, 0x20, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), "huge array");
  ExpectRejected(OneProperty({0x05, 0x20, 0, 0, 0, 0, 1, 0, 0, 0, 8, 0, 0, 0, 0, 0}), "array item type");
  ByteArray twice = {'V', 'P', 'B', 'G', 1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 'p', 0, 0, 1, 0, 0, 0, 'P', 0, 0};
  ExpectRejected(twice, "repeated name");
  // Arrays nested deeper than the limit.
  ByteArray deep;
  for (int i = 0; i < 40; ++i) deep.insert(deep.end(), {0x0C, 0x20, 0, 0, 0, 0, 1, 0, 0, 0});
  deep.insert(deep.end(), {0, 0});
  ExpectRejected(OneProperty(deep), "nesting");
}

TEST_F(PropertyBagTest, NestedArraysWithinTheLimitLoad) {
  ByteArray nested;
  for (int i = 0; i < 10; ++i) nested.insert(nested.end(), {0x0C, 0x20, 0, 0, 0, 0, 1, 0, 0, 0});
  nested.insert(nested.end(), {2, 0, 7, 0});
  PropertyBag bag;
  bag.Contents(OneProperty(nested));
  Variant v = bag.ReadProperty("p");
  for (int i = 0; i < 10; ++i) v = Variant(v.Get<VariantArray>().items.at(0));
  EXPECT_EQ(CInt(v), 7);
}

// The header of an array of Variants (lower bound 0) claiming `count` items.
void AppendArrayHeader(ByteArray& out, uint32_t count) {
  out.insert(out.end(), {0x0C, 0x20, 0, 0, 0, 0});
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<uint8_t>(count >> shift));
}

TEST_F(PropertyBagTest, AHugeCountInATinyInputIsRejected) {
  ByteArray value;
  AppendArrayHeader(value, 0x7FFFFFFF);
  value.insert(value.end(), {0, 0});
  ExpectRejected(OneProperty(value), "array count");
  ExpectRejected({'V', 'P', 'B', 'G', 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F}, "property count");
}

// Every level of nested arrays claims as many items as the bytes left could
// hold, and the innermost item is bad: checking the bytes must not reserve
// for counts that nothing backs yet.
TEST_F(PropertyBagTest, ClaimedCountsReserveNothingWhileTheBytesAreChecked) {
  constexpr std::size_t kFiller = 1 << 20;
  ByteArray value;
  for (int level = 0; level < 30; ++level) AppendArrayHeader(value, kFiller / 2);
  value.insert(value.end(), kFiller, 0xFF);  // type code -1: unknown
  const ByteArray bytes = OneProperty(value);
  test::AllocationMeter meter;
  ExpectRejected(bytes, "nested claims");
  EXPECT_LT(meter.PeakBytes(), bytes.size() / 4) << "bytes held while checking " << bytes.size() << " bytes";
}

// Loading keeps a copy of each stored value and nothing more; reading the
// value builds exactly its items.
TEST_F(PropertyBagTest, MemoryForALargeValidBagIsProportionalToItsSize) {
  constexpr uint32_t kItems = 500000;
  ByteArray value;
  AppendArrayHeader(value, kItems);
  value.insert(value.end(), std::size_t{kItems} * 2, 0);  // Empty items
  const ByteArray bytes = OneProperty(value);
  PropertyBag bag;
  {
    test::AllocationMeter meter;
    bag.Contents(bytes);
    EXPECT_LT(meter.PeakBytes(), bytes.size() * 2) << "bytes held loading " << bytes.size() << " bytes";
  }
  const Variant read = bag.ReadProperty("p");
  const auto& items = read.Get<VariantArray>().items;
  EXPECT_EQ(items.size(), kItems);
  EXPECT_EQ(items.capacity(), items.size());
  EXPECT_EQ(bag.Count(), 1);
}

}  // namespace
}  // namespace velmora::com
