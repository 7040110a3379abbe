// The changes a batch recordset keeps are plain row images: taken from one
// recordset and given to another on the same table, UpdateBatch writes them.
#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"
#include "ado/recordset_internal.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

using ado::detail::RowImage;
using ado::detail::RowStatus;

class RowImageTest : public EngineTest {
 protected:
  ado::RecordsetPtr Batch(const std::string& t, const ado::ConnectionPtr& c) {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT id, name FROM " + t + " ORDER BY id"), com::Variant(c), ado::adOpenStatic,
             ado::adLockBatchOptimistic, ado::adCmdText);
    return rs;
  }
  std::string Names(const std::string& t) {
    std::string out;
    for (auto rs = cn->Execute("SELECT id, name FROM " + t + " ORDER BY id"); !rs->IsEOF(); rs->MoveNext()) {
      out += com::CStr(rs->Fields()->Item(com::Variant("id"))->Value()) + "=" +
             com::CStr(rs->Fields()->Item(com::Variant("name"))->Value()) + ";";
    }
    return out;
  }
};

TEST_P(RowImageTest, PendingChangesAreImagesThatAnotherRecordsetWrites) {
  const std::string t = Table("images", "id INTEGER PRIMARY KEY, name VARCHAR(20)");
  for (const char* row : {"(1, 'one')", "(2, 'two')", "(3, 'three')"}) {
    cn->Execute("INSERT INTO " + t + " VALUES " + row);
  }
  auto made = Batch(t, cn);
  made->Fields()->Item(com::Variant("name"))->Value(com::Variant("uno"));  // row 1 modified
  made->MoveNext();
  made->Delete();  // row 2 deleted
  made->AddNew();
  made->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{4}));
  made->Fields()->Item(com::Variant("name"))->Value(com::Variant("four"));
  made->Update();

  const std::vector<RowImage> images = ado::Recordset::Internal::PendingChanges(*made);
  ASSERT_EQ(images.size(), 3u);
  EXPECT_EQ(images[0].status, RowStatus::Modified);
  EXPECT_EQ(com::CStr(images[0].original[1]), "one");
  EXPECT_EQ(com::CStr(images[0].values[1]), "uno");
  EXPECT_EQ(images[0].changed, (std::vector<bool>{false, true}));
  EXPECT_EQ(images[1].status, RowStatus::Deleted);
  EXPECT_EQ(com::CLng(images[1].original[0]), 2);
  EXPECT_TRUE(images[1].values.empty());
  EXPECT_EQ(images[2].status, RowStatus::Added);
  EXPECT_TRUE(images[2].original.empty());
  EXPECT_EQ(com::CStr(images[2].values[1]), "four");
  made->Close();  // nothing was written
  EXPECT_EQ(Names(t), "1=one;2=two;3=three;");

  auto other = std::make_shared<ado::Connection>();
  other->Open(ConnectionString());
  auto rebuilt = Batch(t, other);
  ado::Recordset::Internal::RestorePendingChanges(*rebuilt, images);
  rebuilt->UpdateBatch();
  EXPECT_EQ(Names(t), "1=uno;3=three;4=four;");
}

TEST_P(RowImageTest, ImagesMustFitABatchRecordsetsColumns) {
  const std::string t = Table("fit", "id INTEGER PRIMARY KEY, name VARCHAR(20)");
  auto batch = Batch(t, cn);
  RowImage narrow{RowStatus::Added, {}, {com::Variant(int32_t{1})}, {true}};
  EXPECT_EQ(ErrorNumber([&] { ado::Recordset::Internal::RestorePendingChanges(*batch, {narrow}); }),
            ado::adErrInvalidArgument);
  auto optimistic = std::make_shared<ado::Recordset>();
  optimistic->Open(com::Variant("SELECT id, name FROM " + t), com::Variant(cn), ado::adOpenStatic,
                   ado::adLockOptimistic, ado::adCmdText);
  EXPECT_EQ(ErrorNumber([&] { ado::Recordset::Internal::RestorePendingChanges(*optimistic, {}); }),
            ado::adErrIllegalOperation);
}

INSTANTIATE_TEST_SUITE_P(Engines, RowImageTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
