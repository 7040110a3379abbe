#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"
#include "ado/recordset_internal.hpp"

namespace velmora::test {
namespace {

using ado::Recordset;

class RecordsetTest : public EngineTest {
 protected:
  std::string Numbers(int count) {
    const std::string t = Table("nums", "id INTEGER PRIMARY KEY, name VARCHAR(20)");
    cn->BeginTrans();
    for (int i = 1; i <= count; ++i) {
      cn->Execute("INSERT INTO " + t + " VALUES (" + std::to_string(i) + ", 'n" + std::to_string(i) + "')");
    }
    cn->CommitTrans();
    return t;
  }
};

TEST_P(RecordsetTest, ForwardOnlyWalkReadsEveryRowInOrder) {
  const std::string t = Numbers(600);
  auto rs = Open("SELECT id, name FROM " + t + " ORDER BY id");
  EXPECT_EQ(rs->State(), ado::adStateOpen);
  EXPECT_FALSE(rs->IsBOF());
  int expected = 1;
  for (; !rs->IsEOF(); rs->MoveNext(), ++expected) {
    EXPECT_EQ(rs->Fields()->Item(com::Variant("ID"))->Value().Get<int32_t>(), expected);
    EXPECT_EQ(rs->Fields()->Item(com::Variant(int32_t{1}))->Value().Get<std::string>(), "n" + std::to_string(expected));
  }
  EXPECT_EQ(expected, 601);
  EXPECT_EQ(rs->RecordCount(), -1);
  EXPECT_LE(ado::Recordset::Internal::CursorOf(*rs).RowsHeld(), 600u);  // never the whole result
  try {
    rs->MoveNext();
    FAIL() << "MoveNext at EOF must raise";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrNoCurrentRecord);
  }
  EXPECT_THROW(rs->MovePrevious(), com::Error);
  try {
    rs->Bookmark();
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrFeatureNotAvailable);
  }
}

TEST_P(RecordsetTest, ForwardOnlyMoveFirstRunsTheStatementAgain) {
  const std::string t = Numbers(700);
  auto rs = Open("SELECT id FROM " + t + " ORDER BY id");
  while (!rs->IsEOF()) rs->MoveNext();
  rs->MoveFirst();
  EXPECT_EQ(rs->Fields()->Item(com::Variant("id"))->Value().Get<int32_t>(), 1);
  rs->MoveLast();
  EXPECT_EQ(rs->Fields()->Item(com::Variant("id"))->Value().Get<int32_t>(), 700);
}

TEST_P(RecordsetTest, ScrollableCursorMovesBothWaysAndCounts) {
  const std::string t = Numbers(300);
  auto rs = Open("SELECT id FROM " + t + " ORDER BY id", ado::adOpenStatic);
  auto id = rs->Fields()->Item(com::Variant("id"));
  EXPECT_EQ(id->Value().Get<int32_t>(), 1);
  rs->MovePrevious();
  EXPECT_TRUE(rs->IsBOF());
  EXPECT_FALSE(rs->IsEOF());
  EXPECT_THROW(id->Value(), com::Error);
  rs->MoveNext();
  rs->MoveNext();
  EXPECT_EQ(id->Value().Get<int32_t>(), 2);
  EXPECT_EQ(ado::Recordset::Internal::CursorOf(*rs).RowsHeld(), 256u);  // only what was read so far
  EXPECT_EQ(rs->RecordCount(), 300);
  EXPECT_EQ(id->Value().Get<int32_t>(), 2);  // counting does not move
  rs->MoveLast();
  EXPECT_EQ(id->Value().Get<int32_t>(), 300);
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
  rs->MovePrevious();
  EXPECT_EQ(id->Value().Get<int32_t>(), 300);
  rs->Move(-10);
  EXPECT_EQ(id->Value().Get<int32_t>(), 290);
  EXPECT_EQ(rs->AbsolutePosition(), 290);
}

TEST_P(RecordsetTest, BookmarksReturnToTheirRowAndInvalidOnesRaise) {
  const std::string t = Numbers(20);
  auto rs = Open("SELECT id FROM " + t + " ORDER BY id", ado::adOpenKeyset);
  rs->Move(4);
  const com::Variant mark = rs->Bookmark();
  EXPECT_EQ(mark.VarType(), com::vbDouble);
  rs->MoveLast();
  rs->Bookmark(mark);
  EXPECT_EQ(rs->Fields()->Item(com::Variant("id"))->Value().Get<int32_t>(), 5);
  for (const com::Variant& bad : {com::Variant(), com::Variant(0.0), com::Variant(21.0), com::Variant("x"),
                                  com::Variant(2.5)}) {
    try {
      rs->Bookmark(bad);
      FAIL() << "bookmark accepted";
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), ado::adErrInvalidArgument);
    }
  }
  EXPECT_EQ(rs->Fields()->Item(com::Variant("id"))->Value().Get<int32_t>(), 5);
}

TEST_P(RecordsetTest, EmptyResultIsBothBofAndEof) {
  const std::string t = Numbers(0);
  for (int32_t cursor : {ado::adOpenForwardOnly, ado::adOpenDynamic}) {
    auto rs = Open("SELECT * FROM " + t, cursor);
    EXPECT_TRUE(rs->IsBOF());
    EXPECT_TRUE(rs->IsEOF());
    EXPECT_EQ(rs->Fields()->Count(), 2);
    try {
      rs->EditMode();
      FAIL();
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), ado::adErrNoCurrentRecord);
    }
  }
}

TEST_P(RecordsetTest, TableAndUnknownCommandTypes) {
  const std::string t = Numbers(3);
  auto rs = std::make_shared<Recordset>();
  rs->Open(com::Variant(t), com::Variant(cn), ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdTable);
  EXPECT_EQ(rs->RecordCount(), 3);
  rs->Close();
  rs->Open(com::Variant(t), com::Variant(cn), ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdUnknown);
  EXPECT_EQ(rs->RecordCount(), 3);
  rs->Close();
  rs->Open(com::Variant("SELECT TOP 2 [id] FROM [" + t + "] ORDER BY [id] DESC"), com::Variant(cn),
           ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdUnknown);
  EXPECT_EQ(rs->RecordCount(), 2);
  EXPECT_EQ(rs->Fields()->Item(com::Variant(int32_t{0}))->Value().Get<int32_t>(), 3);
  EXPECT_EQ(rs->Source(), "SELECT TOP 2 [id] FROM [" + t + "] ORDER BY [id] DESC");
}

TEST_P(RecordsetTest, StateCloseAndActiveConnection) {
  const std::string t = Numbers(2);
  auto rs = std::make_shared<Recordset>();
  EXPECT_EQ(rs->State(), ado::adStateClosed);
  EXPECT_TRUE(rs->ActiveConnection().IsObject());
  EXPECT_EQ(rs->ActiveConnection().Object(), nullptr);
  try {
    rs->Close();
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrObjectClosed);
  }
  rs->Open(com::Variant("SELECT * FROM " + t), com::Variant(cn));
  EXPECT_EQ(rs->ActiveConnection().ObjectAs<ado::Connection>(), cn);
  auto field = rs->Fields()->Item(com::Variant("name"));
  try {
    rs->Open(com::Variant("SELECT 1"), com::Variant(cn));
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrObjectOpen);
  }
  rs->Close();
  EXPECT_EQ(rs->State(), ado::adStateClosed);
  EXPECT_EQ(rs->Fields()->Count(), 0);
  EXPECT_THROW(field->Name(), com::Error);
  EXPECT_THROW(rs->IsEOF(), com::Error);
  // A connection string as ActiveConnection opens a connection of its own.
  rs->Open(com::Variant("SELECT * FROM " + t), com::Variant(ConnectionString()));
  EXPECT_NE(rs->ActiveConnection().ObjectAs<ado::Connection>(), cn);
  EXPECT_FALSE(rs->IsEOF());
}

TEST_P(RecordsetTest, OpenWithoutConnectionOrSourceRaises) {
  auto rs = std::make_shared<Recordset>();
  try {
    rs->Open(com::Variant("SELECT 1"));
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrInvalidConnection);
  }
  try {
    rs->Open(com::Missing, com::Variant(cn));
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrInvalidArgument);
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, RecordsetTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
