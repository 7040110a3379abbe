#include "velmora/collections/ado_array.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collections/test_record.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

void testing::RegisterTestClasses() {
  com::ClassRegistry::Register(TestRecord::kProgID, [] { return std::make_shared<TestRecord>(); });
  com::ClassRegistry::Register(AdoRecordHeader::kProgID, [] { return std::make_shared<AdoRecordHeader>(); });
  com::ClassRegistry::Register(AdoArray::kProgID, [] { return std::make_shared<AdoArray>(); });
}

namespace {

using testing::TestRecord;

std::shared_ptr<TestRecord> Rec(int32_t id, const std::string& name = "", const std::string& code = "") {
  return std::make_shared<TestRecord>(id, std::map<std::string, std::string>{{"NAME", name}, {"CODE", code}});
}

using test::RaisedError;

using testing::IdOf;

// The ids met by a walk from the first record of the active order.
std::vector<int32_t> Walk(AdoArray& array) {
  std::vector<int32_t> ids;
  for (array.MoveFirst(); !array.IsEOF(); array.MoveNext()) {
    ids.push_back(Support().DecodeKeyId(array.Bookmark()));
  }
  return ids;
}

TEST(AdoArray, AddNewGivesAFreshIdAndWritesItBack) {
  AdoArray array;
  auto rec = Rec(0);
  EXPECT_FALSE(array.AddNew(rec));
  EXPECT_NE(rec->Header()->Unk(), 0);
  EXPECT_EQ(array.RecordCount(), 1);
  auto again = RaisedError([&] { array.AddNew(rec); });
  EXPECT_EQ(again.Number(), com::errDuplicateKey);
  EXPECT_EQ(again.Source(), "Velmora.AdoArray.AddNew");
  EXPECT_EQ(array.RecordCount(), 1);
}

TEST(AdoArray, BookmarkCreateMatchesTheBookmarkAfterAddNew) {
  AdoArray array;
  auto rec = Rec(77);
  array.AddNew(rec);
  EXPECT_EQ(array.BookmarkCreate(rec->Header()->Unk()), array.Bookmark());
  EXPECT_EQ(array.BookmarkCreate(com::Variant("77")), Support().EncodeKeyId(77));
}

TEST(AdoArray, RecordIsTheCurrentRecord) {
  AdoArray array;
  auto first = Rec(1);
  auto second = Rec(2);
  array.AddNew(first);
  array.AddNew(second);
  EXPECT_EQ(array.Record(), second);
  array.MoveFirst();
  EXPECT_EQ(array.Record(), first);
}

TEST(AdoArray, RecordWithoutCurrentRecordFails) {
  AdoArray array;
  EXPECT_EQ(RaisedError([&] { array.Record(); }).Number(), 3021);
  array.AddNew(Rec(1));
  array.MoveNext();
  auto error = RaisedError([&] { array.Record(); });
  EXPECT_EQ(error.Number(), 3021);
  EXPECT_EQ(error.Description(), "No current record.");
}

TEST(AdoArray, DeleteKeepsTheIdInTheBaseOrder) {
  AdoArray array;
  for (int32_t id : {1, 2, 3}) array.AddNew(Rec(id));
  array.Bookmark(array.BookmarkCreate(2));
  EXPECT_FALSE(array.Delete());
  EXPECT_EQ(array.RecordCount(), 2);
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{1, 2, 3}));
}

TEST(AdoArray, DeleteRemovesTheRecordFromEveryIndex) {
  AdoArray array;
  array.AddNew(Rec(1, "b"));
  array.AddNew(Rec(2, "a"));
  array.AddNew(Rec(3, "c"));
  array.CreateIndex("NAME");
  array.Index("NAME");
  array.Find("b", FIND_EQ);
  array.Delete();
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{2, 3}));
  EXPECT_EQ(array.RecordCount(), 2);
}

TEST(AdoArray, DeleteWithoutCurrentRecordFails) {
  AdoArray array;
  auto error = RaisedError([&] { array.Delete(); });
  EXPECT_EQ(error.Number(), 3021);
  EXPECT_EQ(error.Source(), "Velmora.AdoArray.Delete");
}

TEST(AdoArray, IndexOrdersByTheRecordsKeys) {
  AdoArray array;
  array.AddNew(Rec(1, "b"));
  array.AddNew(Rec(2, "a"));
  array.AddNew(Rec(3, "b"));
  EXPECT_FALSE(array.CreateIndex("NAME"));
  EXPECT_EQ(array.Index(), "");  // a new index is not selected
  array.Index("NAME");
  array.MoveFirst();
  EXPECT_EQ(IdOf(array.Record()), 2);
  EXPECT_EQ(array.Find("b", FIND_LE), 3);
  // Record 3 went ahead of the equal key of record 1.
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{2, 3, 1}));
}

TEST(AdoArray, DescendingIndexOrdersLikeAnAscendingOne) {
  AdoArray array;
  for (int32_t id = 1; id <= 6; ++id) {
    const std::string key(1, static_cast<char>('a' + (id * 5) % 7));
    array.AddNew(std::make_shared<TestRecord>(id, std::map<std::string, std::string>{{"UP", key}, {"DOWN", key}}));
  }
  array.CreateIndex("UP");
  array.CreateIndex("DOWN", true);
  std::vector<std::vector<int32_t>> orders;
  for (const char* name : {"UP", "DOWN"}) {
    array.Index(name);
    orders.push_back(Walk(array));
  }
  EXPECT_EQ(orders[0], orders[1]);
}

TEST(AdoArray, UnknownIndexNameKeepsThePreviousSelection) {
  AdoArray array;
  array.CreateIndex("NAME");
  array.Index("NAME");
  for (const char* name : {"NOPE", ""}) {
    auto error = RaisedError([&] { array.Index(name); });
    EXPECT_EQ(error.Number(), 3015);
    EXPECT_EQ(error.Description(), "Index not found.");
    EXPECT_EQ(array.Index(), "NAME");
  }
}

TEST(AdoArray, FindAndKeyNeedASelectedIndex) {
  AdoArray array;
  array.AddNew(Rec(1, "a"));
  auto find = RaisedError([&] { array.Find("a", FIND_EQ); });
  EXPECT_EQ(find.Number(), 3019);
  EXPECT_EQ(find.Description(), "No current index.");
  EXPECT_EQ(find.Source(), "Velmora.AdoArray.Find");
  EXPECT_EQ(RaisedError([&] { array.Key("1"); }).Number(), 3019);
}

TEST(AdoArray, RecordAddedAfterCreateIndexIsInEveryIndex) {
  AdoArray array;
  array.AddNew(Rec(1, "m", "z"));
  array.AddNew(Rec(2, "x", "a"));
  array.CreateIndex("NAME");
  array.CreateIndex("CODE");
  array.AddNew(Rec(3, "n", "b"));
  array.Index("NAME");
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{1, 3, 2}));
  array.Index("CODE");
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{2, 3, 1}));
}

TEST(AdoArray, KeyOfARecordByKeyTextOrPositionMovesTheIndexCursor) {
  AdoArray array;
  array.AddNew(Rec(10, "b"));
  array.AddNew(Rec(20, "a"));
  array.CreateIndex("NAME");
  array.Index("NAME");
  EXPECT_EQ(array.Key("10"), "b");
  EXPECT_EQ(array.Bookmark(), array.BookmarkCreate(10));
  EXPECT_EQ(array.Key(int32_t{2}), "a");
  EXPECT_EQ(array.Bookmark(), array.BookmarkCreate(20));
}

TEST(AdoArray, BookmarksStayValidAcrossIndexes) {
  AdoArray array;
  array.AddNew(Rec(1, "b"));
  array.AddNew(Rec(2, "a"));
  array.CreateIndex("NAME");
  array.MoveFirst();
  const std::string bookmark = array.Bookmark();
  array.Index("NAME");
  EXPECT_TRUE(array.IsValidBookmark(bookmark));
  array.Bookmark(bookmark);
  EXPECT_EQ(IdOf(array.Record()), 1);
  array.MoveNext();
  EXPECT_TRUE(array.IsEOF());
}

TEST(AdoArray, ObjectsWithoutTheRecordInterfaceAreRefused) {
  AdoArray array;
  auto error = RaisedError([&] { array.AddNew(std::make_shared<AdoRecordHeader>()); });
  EXPECT_EQ(error.Number(), 438);
  EXPECT_EQ(error.Source(), "Velmora.AdoArray.AddNew");
  EXPECT_EQ(RaisedError([&] { array.AddNew(nullptr); }).Number(), 91);
  EXPECT_EQ(array.RecordCount(), 0);
}

TEST(AdoArray, FailingKeyStopsCreateIndexWithoutRegisteringIt) {
  AdoArray array;
  array.AddNew(Rec(1, "a"));
  array.AddNew(std::make_shared<TestRecord>(2, std::map<std::string, std::string>{}));
  auto error = RaisedError([&] { array.CreateIndex("NAME"); });
  EXPECT_EQ(error.Number(), 5);
  EXPECT_EQ(error.Source(), "Velmora.AdoArray.CreateIndex");
  EXPECT_EQ(RaisedError([&] { array.Index("NAME"); }).Number(), 3015);
}

TEST(AdoArray, FailingKeyFailsAddNewAfterTheRecordEntered) {
  AdoArray array;
  array.CreateIndex("NAME");
  auto keyless = std::make_shared<TestRecord>(5, std::map<std::string, std::string>{});
  auto error = RaisedError([&] { array.AddNew(keyless); });
  EXPECT_EQ(error.Number(), 5);
  EXPECT_EQ(error.Source(), "Velmora.AdoArray.AddNew");
  EXPECT_EQ(array.RecordCount(), 1);
  EXPECT_EQ(Walk(array), (std::vector<int32_t>{5}));
}

TEST(AdoArray, DuplicateIndexNameFails) {
  AdoArray array;
  array.CreateIndex("NAME");
  auto error = RaisedError([&] { array.CreateIndex("name"); });
  EXPECT_EQ(error.Number(), com::errDuplicateKey);
  EXPECT_EQ(error.Source(), "Velmora.AdoArray.CreateIndex");
}

TEST(AdoArray, NewEnumGivesTheRecordsInInsertionOrder) {
  AdoArray array;
  for (int32_t id : {3, 1, 2}) array.AddNew(Rec(id));
  std::vector<int32_t> ids;
  for (const com::Variant& item : *array.NewEnum()) ids.push_back(IdOf(item.Object()));
  EXPECT_EQ(ids, (std::vector<int32_t>{3, 1, 2}));
}

TEST(AdoArray, ClearDropsRecordsAndIndexes) {
  AdoArray array;
  array.AddNew(Rec(1, "a"));
  array.CreateIndex("NAME");
  array.Index("NAME");
  array.Clear();
  EXPECT_EQ(array.RecordCount(), 0);
  EXPECT_EQ(array.Index(), "");
  EXPECT_TRUE(array.IsEOF());
  EXPECT_EQ(RaisedError([&] { array.Index("NAME"); }).Number(), 3015);
  array.AddNew(Rec(1, "a"));
  EXPECT_EQ(array.RecordCount(), 1);
}

TEST(AdoArray, MoveErrorsCarryTheArraySource) {
  AdoArray array;
  EXPECT_EQ(RaisedError([&] { array.MoveFirst(); }).Source(), "Velmora.AdoArray.MoveFirst");
  EXPECT_EQ(RaisedError([&] { array.MoveLast(); }).Source(), "Velmora.AdoArray.MoveLast");
  EXPECT_EQ(RaisedError([&] { array.MoveNext(); }).Source(), "Velmora.AdoArray.MoveNext");
  EXPECT_EQ(RaisedError([&] { array.MovePrevious(); }).Source(), "Velmora.AdoArray.MovePrevious");
}

TEST(AdoArray, IndexAttachedKeySetIsAnOrdinaryKeySet) {
  AdoIndex index;
  auto keySet = std::make_shared<AdoKeySet>();
  index.KeySet(keySet);
  index.KeySet()->AddNew("k", 1);
  EXPECT_EQ(keySet->RecordCount(), 1);
}

}  // namespace
}  // namespace velmora
