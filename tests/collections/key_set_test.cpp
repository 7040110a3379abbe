#include "velmora/collections/key_set.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support_common/raised_error.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

std::string Bm(int32_t id) { return Support().EncodeKeyId(id); }

using test::RaisedError;

std::shared_ptr<AdoKeySet> SetOf(const std::vector<std::string>& keys) {
  auto set = std::make_shared<AdoKeySet>();
  int32_t id = 1;
  for (const auto& key : keys) set->AddNew(key, id++);
  return set;
}

TEST(KeySet, NewSetIsEmptyWithBothEnds) {
  AdoKeySet set;
  EXPECT_EQ(set.RecordCount(), 0);
  EXPECT_TRUE(set.IsBOF());
  EXPECT_TRUE(set.IsEOF());
}

TEST(KeySet, FindOnEmptySetGivesZeroAndBothEnds) {
  AdoKeySet set;
  EXPECT_EQ(set.Find("a", FIND_GE), 0);
  EXPECT_TRUE(set.IsBOF());
  EXPECT_TRUE(set.IsEOF());
}

TEST(KeySet, FindMethodsOnDuplicateKeys) {
  auto set = SetOf({"a", "b", "b", "c"});
  EXPECT_EQ(set->Find("b", FIND_EQ), 2);
  EXPECT_EQ(set->Find("b", FIND_GE), 2);
  EXPECT_EQ(set->Find("b", FIND_LE), 3);
  EXPECT_EQ(set->Find("b", FIND_GT), 4);
  EXPECT_EQ(set->Find("b", FIND_LT), 1);
  EXPECT_EQ(set->Find("bb", FIND_EQ), 0);
  EXPECT_EQ(set->Find("bb", FIND_GE), 4);
  EXPECT_EQ(set->Find("bb", FIND_LE), 3);
  EXPECT_EQ(set->Find("z", FIND_GT), 0);
  EXPECT_EQ(set->Find("A", FIND_LT), 0);  // capitals sort before small letters
}

TEST(KeySet, KeysCompareInCodePointOrder) {
  // Binary comparison is byte-wise on UTF-8, which orders as code points:
  // U+FFFD comes before U+1F600.
  const std::string replacement = "\xEF\xBF\xBD";  // U+FFFD
  const std::string smiley = "\xF0\x9F\x98\x80";   // U+1F600
  auto set = SetOf({smiley, "z", replacement});
  std::vector<std::string> seen;
  for (set->MoveFirst(); !set->IsEOF(); set->MoveNext()) seen.push_back(set->Key());
  EXPECT_EQ(seen, (std::vector<std::string>{"z", replacement, smiley}));
  EXPECT_EQ(set->Find(smiley, FIND_LT), 2);
  EXPECT_EQ(set->Find(replacement, FIND_GT), 3);
}

TEST(KeySet, FindWithAnUnknownMethodActsAsEqual) {
  auto set = SetOf({"a", "b", "b", "c"});
  EXPECT_EQ(set->Find("b", static_cast<FindMethodEnum>(7)), 2);
  EXPECT_EQ(set->Find("bb", static_cast<FindMethodEnum>(-1)), 0);
}

TEST(KeySet, FindMovesTheCursorOrClearsIt) {
  auto set = SetOf({"a", "b", "c"});
  EXPECT_EQ(set->Find("b", FIND_EQ), 2);
  EXPECT_EQ(set->Key(), "b");
  EXPECT_FALSE(set->IsBOF());
  EXPECT_FALSE(set->IsEOF());
  EXPECT_EQ(set->Find("x", FIND_EQ), 0);
  EXPECT_TRUE(set->IsBOF());
  EXPECT_TRUE(set->IsEOF());
  EXPECT_EQ(RaisedError([&] { set->Bookmark(); }).Number(), 3021);
}

TEST(KeySet, AddNewGoesAheadOfEqualKeysAndBecomesCurrent) {
  auto set = SetOf({"a", "b", "c"});  // ids 1, 2, 3
  EXPECT_FALSE(set->AddNew("b", 9));
  EXPECT_EQ(set->Bookmark(), Bm(9));
  EXPECT_EQ(set->BookmarkToIndex(Bm(9)), 2);
  EXPECT_EQ(set->BookmarkToIndex(Bm(2)), 3);
  EXPECT_EQ(set->RecordCount(), 4);
}

TEST(KeySet, AppendCanBreakTheOrderAndFindStillAnswers) {
  auto set = SetOf({"b", "d"});
  set->Append("a", 3);
  set->Append("c", 4);  // keys now b, d, a, c
  EXPECT_EQ(set->Bookmark(), Bm(4));
  // The ordered search over unordered keys: probes 2 (d > c), then 1
  // (b < c), so the greater-or-equal walk ends on position 2.
  EXPECT_EQ(set->Find("c", FIND_GE), 2);
  EXPECT_EQ(set->Find("c", FIND_EQ), 0);
  EXPECT_EQ(set->Find("a", FIND_LT), 0);
  EXPECT_EQ(set->Find("e", FIND_LE), 4);
}

TEST(KeySet, DeletingTheCurrentRecordMakesTheFollowerCurrent) {
  auto set = SetOf({"a", "b", "c"});
  set->Bookmark(Bm(2));
  EXPECT_FALSE(set->Delete());
  EXPECT_EQ(set->Bookmark(), Bm(3));
  EXPECT_EQ(set->RecordCount(), 2);
}

TEST(KeySet, DeletingTheCurrentLastRecordMakesTheNewLastCurrent) {
  auto set = SetOf({"a", "b", "c"});
  set->MoveLast();
  set->Delete();
  EXPECT_EQ(set->Bookmark(), Bm(2));
}

TEST(KeySet, DeletingAnotherRecordKeepsTheCurrentOne) {
  auto set = SetOf({"a", "b", "c"});
  set->MoveFirst();
  set->Delete(Bm(3));
  EXPECT_EQ(set->Bookmark(), Bm(1));
  EXPECT_EQ(set->RecordCount(), 2);
}

TEST(KeySet, DeletingTheOnlyRecordEmptiesTheSet) {
  auto set = SetOf({"a"});
  set->Delete();
  EXPECT_EQ(set->RecordCount(), 0);
  EXPECT_TRUE(set->IsBOF());
  EXPECT_TRUE(set->IsEOF());
}

TEST(KeySet, DeleteLeavesTheFlagsAlone) {
  auto set = SetOf({"a", "b", "c"});
  set->MoveLast();
  set->MoveNext();  // EOF, no current record
  set->Bookmark(Bm(2));
  set->Delete();
  EXPECT_TRUE(set->IsEOF());
  EXPECT_EQ(set->Bookmark(), Bm(3));
}

TEST(KeySet, DeleteErrorsCarryTheProcedureSource) {
  auto set = SetOf({"a"});
  set->Find("z", FIND_EQ);
  auto noCurrent = RaisedError([&] { set->Delete(); });
  EXPECT_EQ(noCurrent.Number(), 3021);
  EXPECT_EQ(noCurrent.Description(), "No current record.");
  EXPECT_EQ(noCurrent.Source(), "Velmora.AdoKeySet.Delete");
  auto unknown = RaisedError([&] { set->Delete(Bm(77)); });
  EXPECT_EQ(unknown.Number(), 20000);
  EXPECT_EQ(unknown.Description(), "No such record.");
  EXPECT_EQ(unknown.Source(), "Velmora.AdoKeySet.Delete");
}

TEST(KeySet, MoveNextOffTheEndSetsEofThenFails) {
  auto set = SetOf({"a", "b"});
  set->MoveLast();
  set->MoveNext();
  EXPECT_TRUE(set->IsEOF());
  EXPECT_FALSE(set->IsBOF());
  EXPECT_EQ(RaisedError([&] { set->Bookmark(); }).Number(), 3021);
  auto again = RaisedError([&] { set->MoveNext(); });
  EXPECT_EQ(again.Number(), 3021);
  EXPECT_EQ(again.Description(), "No current record.");
  EXPECT_EQ(again.Source(), "Velmora.AdoKeySet.MoveNext");
}

TEST(KeySet, MovePreviousOffTheStartSetsBofOnly) {
  auto set = SetOf({"a", "b"});
  set->MoveFirst();
  set->MovePrevious();
  EXPECT_TRUE(set->IsBOF());
  EXPECT_FALSE(set->IsEOF());
  EXPECT_EQ(RaisedError([&] { set->MovePrevious(); }).Source(), "Velmora.AdoKeySet.MovePrevious");
}

TEST(KeySet, MoveFirstAndLastOnAnEmptySetFail) {
  AdoKeySet set;
  auto first = RaisedError([&] { set.MoveFirst(); });
  EXPECT_EQ(first.Number(), 3021);
  EXPECT_EQ(first.Source(), "Velmora.AdoKeySet.MoveFirst");
  EXPECT_EQ(RaisedError([&] { set.MoveLast(); }).Source(), "Velmora.AdoKeySet.MoveLast");
}

TEST(KeySet, WalkVisitsEveryRecordInOrder) {
  auto set = SetOf({"d", "b", "a", "c"});
  std::string seen;
  for (set->MoveFirst(); !set->IsEOF(); set->MoveNext()) seen += set->Key();
  EXPECT_EQ(seen, "abcd");
  seen.clear();
  for (set->MoveLast(); !set->IsBOF(); set->MovePrevious()) seen += set->Key();
  EXPECT_EQ(seen, "dcba");
}

TEST(KeySet, PuttingABookmarkAfterEofLeavesEofTrue) {
  auto set = SetOf({"a", "b"});
  set->MoveLast();
  set->MoveNext();
  set->Bookmark(Bm(1));
  EXPECT_TRUE(set->IsEOF());
  EXPECT_EQ(set->Key(), "a");
}

TEST(KeySet, PuttingAnUnknownBookmarkChangesNothing) {
  auto set = SetOf({"a", "b"});
  set->MoveFirst();
  for (const std::string& bad : {std::string(), std::string("abcd"), Bm(5), Bm(1).substr(0, 6)}) {
    auto error = RaisedError([&] { set->Bookmark(bad); });
    EXPECT_EQ(error.Number(), 3159);
    EXPECT_EQ(error.Description(), "Not a valid bookmark.");
    EXPECT_EQ(set->Bookmark(), Bm(1));
  }
}

TEST(KeySet, KeyWithoutCurrentRecordFails) {
  auto set = SetOf({"a"});
  set->Find("q", FIND_EQ);
  EXPECT_EQ(RaisedError([&] { set->Key(""); }).Number(), 3021);
}

TEST(KeySet, KeyOfABookmarkMovesTheCursor) {
  auto set = SetOf({"a", "b", "c"});
  set->MoveFirst();
  EXPECT_EQ(set->Key(Bm(3)), "c");
  EXPECT_EQ(set->Bookmark(), Bm(3));
  EXPECT_EQ(RaisedError([&] { set->Key(Bm(42)); }).Number(), 3159);
}

TEST(KeySet, BookmarkToIndexOfAnUnknownBookmark) {
  auto set = SetOf({"a"});
  auto error = RaisedError([&] { set->BookmarkToIndex(Bm(2)); });
  EXPECT_EQ(error.Number(), 20000);
  EXPECT_EQ(error.Description(), "No such record.");
  EXPECT_LT(set->BookmarkToIndex(Bm(2), true), 1);
  EXPECT_FALSE(set->IsValidBookmark(Bm(2)));
  EXPECT_TRUE(set->IsValidBookmark(Bm(1)));
}

TEST(KeySet, EqualKeyIdsShareABookmarkThatFindsTheLowerPosition) {
  AdoKeySet set;
  set.AddNew("b", 5);
  set.AddNew("a", 5);
  set.AddNew("c", 5);
  EXPECT_EQ(set.RecordCount(), 3);
  EXPECT_EQ(set.BookmarkToIndex(Bm(5)), 1);
  set.MoveLast();
  // The current bookmark stands for position 1, so the cursor is there.
  EXPECT_EQ(set.Key(), "a");
  set.MoveNext();
  EXPECT_EQ(set.Key(), "a");
}

TEST(KeySet, ClearEmptiesTheSet) {
  auto set = SetOf({"a", "b"});
  set->Clear();
  EXPECT_EQ(set->RecordCount(), 0);
  EXPECT_TRUE(set->IsBOF());
  EXPECT_TRUE(set->IsEOF());
  EXPECT_FALSE(set->IsValidBookmark(Bm(1)));
  set->Append("x", 1);
  EXPECT_FALSE(set->IsBOF());
  EXPECT_EQ(set->Key(), "x");
}

TEST(KeySet, LargeSetKeepsOrderAndPositions) {
  AdoKeySet set;
  std::multimap<std::string, int32_t> reference;
  uint32_t state = 12345;
  for (int32_t id = 1; id <= 20000; ++id) {
    state = state * 1103515245u + 12345u;
    const std::string key = std::to_string(state % 5000);
    set.AddNew(key, id);
    reference.emplace(key, id);
  }
  for (int32_t id = 1; id <= 20000; id += 3) set.Delete(Bm(id));
  std::erase_if(reference, [](const auto& entry) { return entry.second % 3 == 1; });
  ASSERT_EQ(set.RecordCount(), static_cast<int32_t>(reference.size()));
  int32_t position = 0;
  std::string previous;
  for (set.MoveFirst(); !set.IsEOF(); set.MoveNext()) {
    const std::string key = set.Key();
    EXPECT_LE(previous, key);
    EXPECT_EQ(set.BookmarkToIndex(set.Bookmark()), ++position);
    previous = key;
  }
  EXPECT_EQ(position, set.RecordCount());
}

}  // namespace
}  // namespace velmora
