// An AdoArray written to a property bag and read back from the bag's bytes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collections/test_record.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/collections/ado_array.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

using testing::TestRecord;

std::shared_ptr<TestRecord> Rec(int32_t id, const std::string& name, const std::string& code) {
  return std::make_shared<TestRecord>(id, std::map<std::string, std::string>{{"NAME", name}, {"CODE", code}});
}

// The bag's bytes, loaded into a new bag.
std::shared_ptr<com::PropertyBag> ThroughBytes(const com::PropertyBag& bag) {
  auto copy = std::make_shared<com::PropertyBag>();
  copy->Contents(bag.Contents());
  return copy;
}

std::shared_ptr<AdoArray> ReadBack(AdoArray& array) {
  com::PropertyBag bag;
  array.WriteProperties(bag);
  auto back = std::make_shared<AdoArray>();
  back->ReadProperties(*ThroughBytes(bag));
  return back;
}

std::vector<int32_t> Walk(AdoArray& array) {
  std::vector<int32_t> ids;
  for (array.MoveFirst(); !array.IsEOF(); array.MoveNext()) ids.push_back(Support().DecodeKeyId(array.Bookmark()));
  return ids;
}

class ArrayPersistence : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { testing::RegisterTestClasses(); }
};

TEST_F(ArrayPersistence, EmptyArrayWritesZeroCountsAndReadsBackEmpty) {
  AdoArray array;
  com::PropertyBag bag;
  array.WriteProperties(bag);
  auto bytes = ThroughBytes(bag);
  EXPECT_EQ(com::CLng(bytes->ReadProperty("RecordCount", int32_t{-1})), -1);  // 0 is the default: not stored
  EXPECT_EQ(com::CLng(bytes->ReadProperty("Indexes", int32_t{-1})), -1);
  AdoArray back;
  back.AddNew(Rec(9, "x", "y"));
  back.ReadProperties(*bytes);
  EXPECT_EQ(back.RecordCount(), 0);
  EXPECT_EQ(back.Index(), "");
}

TEST_F(ArrayPersistence, WritesTheDocumentedKeys) {
  AdoArray array;
  array.AddNew(Rec(5, "b", "2"));
  array.AddNew(Rec(6, "a", "1"));
  array.CreateIndex("NAME");
  array.CreateIndex("CODE", true);
  com::PropertyBag bag;
  array.WriteProperties(bag);
  auto bytes = ThroughBytes(bag);
  EXPECT_EQ(bytes->ReadProperty("RecordCount").Get<int32_t>(), 2);
  EXPECT_EQ(testing::IdOf(bytes->ReadProperty("Record2").Object()), 6);
  EXPECT_EQ(bytes->ReadProperty("Indexes").Get<int32_t>(), 2);
  EXPECT_EQ(bytes->ReadProperty("Index1").Get<std::string>(), "NAME");
  EXPECT_EQ(bytes->ReadProperty("Index2").Get<std::string>(), "CODE");
  // The indexes have no field descriptors: no field count, ascending sort.
  EXPECT_EQ(com::CLng(bytes->ReadProperty("Index2Fields", int32_t{-1})), -1);
  EXPECT_EQ(com::CLng(bytes->ReadProperty("ISort2", int32_t{-1})), -1);
}

TEST_F(ArrayPersistence, RecordsIdsOrderAndIndexesComeBack) {
  AdoArray array;
  array.AddNew(Rec(30, "c", "x"));
  array.AddNew(Rec(10, "a", "z"));
  array.AddNew(Rec(20, "b", "y"));
  array.CreateIndex("NAME");
  array.CreateIndex("CODE", true);
  array.Index("CODE");
  array.MoveLast();
  auto back = ReadBack(array);
  EXPECT_EQ(back->RecordCount(), 3);
  EXPECT_EQ(back->Index(), "");  // the selection is not restored
  EXPECT_EQ(Walk(*back), (std::vector<int32_t>{30, 10, 20}));
  back->Index("NAME");
  EXPECT_EQ(Walk(*back), (std::vector<int32_t>{10, 20, 30}));
  back->Index("CODE");
  EXPECT_EQ(Walk(*back), (std::vector<int32_t>{30, 20, 10}));
  back->Index("NAME");
  EXPECT_EQ(back->Find("b", FIND_EQ), 2);
  EXPECT_EQ(std::dynamic_pointer_cast<TestRecord>(back->Record())->Key("CODE").Get<std::string>(), "y");
}

TEST_F(ArrayPersistence, ArrayInsideABagIsRecreatedByClassName) {
  auto array = std::make_shared<AdoArray>();
  array->AddNew(Rec(1, "a", "b"));
  array->CreateIndex("NAME");
  com::PropertyBag bag;
  bag.WriteProperty("Orders", array);
  auto back = ThroughBytes(bag)->ReadProperty("Orders").ObjectAs<AdoArray>();
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->RecordCount(), 1);
  back->Index("NAME");
  EXPECT_EQ(back->Find("a", FIND_EQ), 1);
}

TEST_F(ArrayPersistence, FieldDescriptorsAndSortAreReadFromTheStoredKeys) {
  com::PropertyBag bag;
  bag.WriteProperty("RecordCount", int32_t{2});
  bag.WriteProperty("Record1", Rec(1, "b", "q"));
  bag.WriteProperty("Record2", Rec(2, "a", "p"));
  bag.WriteProperty("Indexes", int32_t{1});
  bag.WriteProperty("Index1", "NAME");
  bag.WriteProperty("Index1Fields", int32_t{2});
  bag.WriteProperty("Index1Field1", "NAME");
  bag.WriteProperty("Index1Field2", "CODE");
  bag.WriteProperty("ISort1", int32_t{2});
  AdoArray array;
  array.ReadProperties(*ThroughBytes(bag));
  array.Index("NAME");
  // Descending is recorded only: the keys the records give still order
  // ascending.
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{2, 1}));
}

TEST_F(ArrayPersistence, AnIndexThatCannotBeRebuiltIsNotifiedAndSkipped) {
  com::PropertyBag bag;
  bag.WriteProperty("RecordCount", int32_t{1});
  bag.WriteProperty("Record1", Rec(1, "b", "q"));
  bag.WriteProperty("Indexes", int32_t{3});
  bag.WriteProperty("Index1", "MISSING");  // the record has no such key
  bag.WriteProperty("Index2", "NAME");
  bag.WriteProperty("Index3", "name");  // a duplicate name
  const int64_t before = Support().NotificationCount();
  AdoArray array;
  array.ReadProperties(*ThroughBytes(bag));
  EXPECT_EQ(Support().NotificationCount(), before + 2);
  EXPECT_THROW(array.Index("MISSING"), com::Error);
  array.Index("NAME");
  EXPECT_EQ(array.Find("b", FIND_EQ), 1);
}

int32_t ReadFailure(AdoArray& array, com::PropertyBag& bag) {
  const com::Error e = test::RaisedError([&] { array.ReadProperties(bag); });
  EXPECT_NE(e.Description().find("Invalid property bag contents"), std::string::npos) << e.Description();
  return e.Number();
}

// A count that the bag cannot hold is refused at once (a bag of a few bytes
// must not make the reader loop two thousand million times), and the array
// keeps what it had.
TEST_F(ArrayPersistence, CountsLargerThanTheBagAreRefusedBeforeAnythingChanges) {
  for (const char* count : {"Indexes", "RecordCount"}) {
    com::PropertyBag bag;
    bag.WriteProperty(count, int32_t{0x7FFFFFFF});
    AdoArray array;
    array.AddNew(Rec(7, "a", "b"));
    EXPECT_EQ(ReadFailure(array, *ThroughBytes(bag)), com::errLibrary) << count;
    EXPECT_EQ(array.RecordCount(), 1) << count;
  }
}

// The largest counts a bag holds still read: every record and index stored.
TEST_F(ArrayPersistence, CountsThatTheBagHoldsRead) {
  com::PropertyBag bag;
  bag.WriteProperty("RecordCount", int32_t{1});
  bag.WriteProperty("Record1", Rec(1, "b", "q"));
  bag.WriteProperty("Indexes", int32_t{3});
  bag.WriteProperty("Index1", "NAME");
  AdoArray array;
  array.ReadProperties(*ThroughBytes(bag));  // indexes 2 and 3 have no name: notified and skipped
  EXPECT_EQ(array.RecordCount(), 1);
  array.Index("NAME");
  bag.WriteProperty("Indexes", int32_t{5});
  EXPECT_EQ(ReadFailure(array, bag), com::errLibrary);
}

}  // namespace
}  // namespace velmora
