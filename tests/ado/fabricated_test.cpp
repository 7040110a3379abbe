// Recordsets built from appended fields, held in memory, and long values
// written in chunks.
#include <gtest/gtest.h>

#include <functional>

#include "ado/engine_fixture.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "support_common/raised_error.hpp"

namespace velmora::test {
namespace {

using ado::Recordset;

// An open, empty fabricated recordset with one Long field "field".
std::shared_ptr<Recordset> Fabricated() {
  auto rs = std::make_shared<Recordset>();
  rs->Fields()->Append("field", ado::adInteger, 4);
  rs->Open();
  return rs;
}

TEST(ObjectModelFacts, NewRecordsetDefaults) {
  Recordset rs;
  EXPECT_EQ(rs.State(), ado::adStateClosed);
  EXPECT_EQ(rs.CursorLocation(), ado::adUseServer);
  EXPECT_EQ(rs.CursorType(), ado::adOpenForwardOnly);
  EXPECT_EQ(rs.LockType(), ado::adLockReadOnly);
  EXPECT_EQ(rs.CacheSize(), 1);
  rs.CacheSize(5);
  EXPECT_EQ(rs.CacheSize(), 5);
  EXPECT_EQ(rs.Fields()->Count(), 0);
}

TEST(ObjectModelFacts, ClosedRecordsetRaisesObjectClosed) {
  Recordset rs;
  EXPECT_EQ(ErrorNumber([&] { rs.Close(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { rs.EditMode(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { rs.Bookmark(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { rs.Bookmark(com::Variant(1.0)); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { rs.AddNew(); }), ado::adErrObjectClosed);
  auto open = Fabricated();
  open->Close();
  EXPECT_EQ(ErrorNumber([&] { open->Close(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { open->AddNew(); }), ado::adErrObjectClosed);
}

TEST(ObjectModelFacts, OpenWithoutACurrentRecord) {
  auto rs = Fabricated();
  EXPECT_EQ(ErrorNumber([&] { rs->EditMode(); }), ado::adErrNoCurrentRecord);
  EXPECT_EQ(ErrorNumber([&] { rs->Bookmark(); }), ado::adErrNoCurrentRecord);
  EXPECT_EQ(ErrorNumber([&] { rs->Bookmark(com::Variant()); }), ado::adErrInvalidArgument);
  EXPECT_EQ(ErrorNumber([&] { rs->Open(); }), ado::adErrObjectOpen);
}

TEST(ObjectModelFacts, FieldsItemTakesAnyNumberAsAnIndex) {
  auto rs = Fabricated();
  auto fields = rs->Fields();
  const ado::FieldPtr first = fields->Item(com::Variant("field"));
  EXPECT_EQ(fields->Item(com::Variant(int32_t{0})), first);
  EXPECT_EQ(fields->Item(com::Variant(int16_t{0})), first);
  EXPECT_EQ(fields->Item(com::Variant(uint8_t{0})), first);
  EXPECT_EQ(fields->Item(com::Variant(0.1)), first);
  EXPECT_EQ(fields->Item(com::Variant("FIELD")), first);
  EXPECT_EQ(ErrorNumber([&] { fields->Item(com::Variant(int32_t{1000})); }), ado::adErrItemNotFound);
  EXPECT_EQ(ErrorNumber([&] { fields->Item(com::Variant(int32_t{-1})); }), ado::adErrItemNotFound);
  EXPECT_EQ(ErrorNumber([&] { fields->Item(com::Variant("nothing")); }), ado::adErrItemNotFound);
  EXPECT_EQ(ErrorNumber([&] { fields->Item(com::Variant()); }), ado::adErrItemNotFound);
  EXPECT_EQ(ErrorNumber([&] { fields->Item(com::Null); }), ado::adErrItemNotFound);
  EXPECT_EQ(rs->Fields(), fields);  // always the same collection
}

TEST(ObjectModelFacts, AppendedFieldsDescribeThemselves) {
  Recordset rs;
  rs.Fields()->Append("a", ado::adInteger, 4);
  rs.Fields()->Append("b", ado::adVarWChar, 10);
  EXPECT_EQ(rs.Fields()->Count(), 2);
  auto a = rs.Fields()->Item(com::Variant("a"));
  EXPECT_EQ(a->Name(), "a");
  EXPECT_EQ(a->Type(), ado::adInteger);
  EXPECT_EQ(a->DefinedSize(), 4);
  EXPECT_EQ(a->Attributes(), 0);
  EXPECT_EQ(a->Precision(), 0);
  EXPECT_EQ(a->NumericScale(), 0);
  a->Precision(7);
  a->NumericScale(12);
  EXPECT_EQ(a->Precision(), 7);
  EXPECT_EQ(a->NumericScale(), 12);
  rs.Open();
  EXPECT_EQ(rs.Fields()->Item(com::Variant("a")), a);
  EXPECT_EQ(a->Precision(), 7);
}

TEST(ObjectModelFacts, NewConnectionDefaults) {
  ado::Connection cn;
  EXPECT_EQ(cn.State(), ado::adStateClosed);
  EXPECT_EQ(cn.CommandTimeout(), 30);
  cn.CommandTimeout(300);
  EXPECT_EQ(cn.CommandTimeout(), 300);
  EXPECT_EQ(cn.CursorLocation(), ado::adUseServer);
  EXPECT_EQ(cn.Provider(), "MSDASQL");
  EXPECT_TRUE(cn.ConnectionString().IsNull());
  EXPECT_FALSE(cn.Version().empty());
  EXPECT_EQ(ErrorNumber([&] { cn.Close(); }), ado::adErrObjectClosed);
  cn.ConnectionString("Provider=MSDASQL.1;Extended Properties=\"DRIVER=SQLite3\"");
  EXPECT_EQ(cn.ConnectionString().Get<std::string>(), "Provider=MSDASQL.1;Extended Properties=\"DRIVER=SQLite3\"");
  EXPECT_EQ(cn.Provider(), "MSDASQL.1");
}

TEST(Fabricated, OpenNeedsAppendedFields) {
  auto rs = std::make_shared<Recordset>();
  EXPECT_EQ(ErrorNumber([&] { rs->Open(); }), ado::adErrInvalidConnection);
  rs->Fields()->Append("field", ado::adInteger, 4);
  auto field = rs->Fields()->Item(com::Variant("field"));
  EXPECT_EQ(rs->Fields()->Count(), 1);
  EXPECT_EQ(field->Type(), ado::adInteger);
  EXPECT_EQ(field->DefinedSize(), 4);
  EXPECT_EQ(field->Attributes(), 0);
  EXPECT_EQ(field->Precision(), 0);
  field->Precision(7);
  field->NumericScale(12);
  EXPECT_EQ(field->Precision(), 7);
  EXPECT_EQ(field->NumericScale(), 12);
  EXPECT_EQ(ErrorNumber([&] { rs->Fields()->Append("FIELD", ado::adInteger, 4); }), ado::adErrObjectInCollection);
  rs->Open();
  EXPECT_EQ(rs->State(), ado::adStateOpen);
  EXPECT_TRUE(rs->IsBOF());
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_EQ(rs->RecordCount(), 0);
  EXPECT_TRUE(rs->ActiveConnection().IsObject());
  EXPECT_FALSE(rs->ActiveConnection().Object());
  EXPECT_EQ(rs->Fields()->Item(com::Variant("field")), field);  // the same object
  EXPECT_EQ(ErrorNumber([&] { rs->EditMode(); }), ado::adErrNoCurrentRecord);
  EXPECT_EQ(ErrorNumber([&] { rs->Open(); }), ado::adErrObjectOpen);
  EXPECT_EQ(ErrorNumber([&] { rs->Fields()->Append("late", ado::adInteger, 4); }), ado::adErrIllegalOperation);
}

TEST(Fabricated, AddNewEditsAndNavigates) {
  auto rs = std::make_shared<Recordset>();
  rs->Fields()->Append("field", ado::adInteger, 4);
  rs->Open();
  auto field = rs->Fields()->Item(com::Variant("field"));
  rs->AddNew();
  EXPECT_FALSE(rs->IsBOF());
  EXPECT_FALSE(rs->IsEOF());
  EXPECT_EQ(rs->EditMode(), ado::adEditAdd);
  EXPECT_EQ(rs->RecordCount(), 1);
  EXPECT_TRUE(field->Value().IsEmpty());
  field->Value(com::Variant(int32_t{-1}));
  EXPECT_EQ(field->Value().VarType(), com::vbLong);
  EXPECT_EQ(field->Value().Get<int32_t>(), -1);
  rs->Update();
  rs->Cancel();
  EXPECT_EQ(rs->EditMode(), ado::adEditAdd);  // without a connection the row stays in add mode
  rs->AddNew();
  EXPECT_TRUE(field->Value().IsEmpty());
  field->Value(com::Variant("2"));  // converted to the field's type
  EXPECT_EQ(field->Value().Get<int32_t>(), 2);
  rs->MoveFirst();
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  EXPECT_EQ(field->Value().Get<int32_t>(), -1);
  rs->MoveNext();
  EXPECT_FALSE(rs->IsEOF());
  EXPECT_EQ(field->Value().Get<int32_t>(), 2);
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_FALSE(rs->IsBOF());
  EXPECT_EQ(ErrorNumber([&] { rs->MoveNext(); }), ado::adErrNoCurrentRecord);
  rs->MoveFirst();
  rs->MovePrevious();
  EXPECT_TRUE(rs->IsBOF());
  EXPECT_FALSE(rs->IsEOF());
  EXPECT_EQ(ErrorNumber([&] { field->Value(); }), ado::adErrNoCurrentRecord);
  rs->MoveLast();
  rs->Delete();
  rs->MoveFirst();
  EXPECT_EQ(rs->RecordCount(), 1);
  rs->Close();
  EXPECT_EQ(rs->Fields()->Count(), 0);
  EXPECT_EQ(ErrorNumber([&] { field->Name(); }), ado::adErrObjectNotSet);
}

TEST(Fabricated, CancelUpdateOfAnAddedRowDropsIt) {
  auto rs = std::make_shared<Recordset>();
  rs->Fields()->Append("name", ado::adVarWChar, 20);
  rs->Open();
  rs->AddNew();
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("gone"));
  rs->CancelUpdate();
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_EQ(rs->RecordCount(), 0);
}

TEST(Fabricated, LongFieldsTakeChunks) {
  auto rs = std::make_shared<Recordset>();
  rs->Fields()->Append("memo", ado::adLongVarWChar, 0);
  rs->Fields()->Append("data", ado::adLongVarBinary, 0);
  rs->Fields()->Append("id", ado::adInteger, 4);
  rs->Open();
  auto memo = rs->Fields()->Item(com::Variant("memo"));
  auto data = rs->Fields()->Item(com::Variant("data"));
  EXPECT_TRUE(memo->Attributes() & ado::adFldLong);
  rs->AddNew();
  memo->AppendChunk(com::Variant("ab"));
  memo->AppendChunk(com::Variant("cd"));
  memo->AppendChunk(com::Variant());  // an empty chunk adds nothing
  EXPECT_EQ(memo->Value().Get<std::string>(), "abcd");
  data->AppendChunk(com::Variant("A"));  // a string goes in as its UTF-16LE bytes
  data->AppendChunk(com::Variant(com::ByteArray{1, 2}));
  EXPECT_EQ(data->Value().Get<com::ByteArray>(), (com::ByteArray{'A', 0, 1, 2}));
  EXPECT_EQ(data->ActualSize(), 4);
  EXPECT_EQ(ErrorNumber([&] { rs->Fields()->Item(com::Variant("id"))->AppendChunk(com::Variant("1")); }),
            ado::adErrFeatureNotAvailable);
}

class LongValueTest : public EngineTest {};

TEST_P(LongValueTest, TenMegabyteValuesRoundTrip) {
  const std::string t = Table("longs", std::string("id INTEGER PRIMARY KEY, memo TEXT, data ") +
                                           (IsPg() ? "BYTEA" : "BLOB"));
  std::string text(10 * 1024 * 1024, 'x');
  for (size_t i = 0; i < text.size(); i += 997) text[i] = static_cast<char>('a' + i % 26);
  com::ByteArray bytes(10 * 1024 * 1024);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 31 % 251);
  auto rs = std::make_shared<Recordset>();
  rs->Open(com::Variant("SELECT * FROM " + t), com::Variant(cn), ado::adOpenKeyset, ado::adLockOptimistic,
           ado::adCmdText);
  EXPECT_TRUE(rs->Fields()->Item(com::Variant("memo"))->Attributes() & ado::adFldLong);
  EXPECT_TRUE(rs->Fields()->Item(com::Variant("data"))->Attributes() & ado::adFldLong);
  rs->AddNew();
  rs->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{1}));
  auto memo = rs->Fields()->Item(com::Variant("memo"));
  memo->AppendChunk(com::Variant(text.substr(0, 4 * 1024 * 1024)));
  memo->AppendChunk(com::Variant(text.substr(4 * 1024 * 1024)));
  rs->Fields()->Item(com::Variant("data"))->AppendChunk(com::Variant(bytes));
  rs->Update();
  rs->Close();
  auto back = cn->Execute("SELECT memo, data FROM " + t);
  EXPECT_EQ(back->Fields()->Item(com::Variant("memo"))->ActualSize(), static_cast<int32_t>(text.size()));
  EXPECT_TRUE(back->Fields()->Item(com::Variant("memo"))->Value().Get<std::string>() == text);
  EXPECT_TRUE(back->Fields()->Item(com::Variant("data"))->Value().Get<com::ByteArray>() == bytes);
  EXPECT_EQ(back->Fields()->Item(com::Variant("data"))->ActualSize(), static_cast<int32_t>(bytes.size()));
}

TEST_P(LongValueTest, AnEmptyChunkStoresAnEmptyValue) {
  const std::string t = Table("empties", std::string("id INTEGER PRIMARY KEY, memo TEXT, data ") +
                                             (IsPg() ? "BYTEA" : "BLOB"));
  cn->Execute("INSERT INTO " + t + " (id, memo) VALUES (1, 'old')");
  auto rs = std::make_shared<Recordset>();
  rs->Open(com::Variant("SELECT * FROM " + t), com::Variant(cn), ado::adOpenKeyset, ado::adLockPessimistic,
           ado::adCmdText);
  rs->Fields()->Item(com::Variant("memo"))->AppendChunk(com::Variant(""));
  rs->Fields()->Item(com::Variant("data"))->AppendChunk(com::Variant(com::ByteArray()));
  rs->Update();
  auto back = cn->Execute("SELECT memo, data FROM " + t);
  EXPECT_EQ(back->Fields()->Item(com::Variant("memo"))->Value().Get<std::string>(), "");
  EXPECT_EQ(back->Fields()->Item(com::Variant("data"))->ActualSize(), 0);
  EXPECT_FALSE(back->Fields()->Item(com::Variant("data"))->Value().IsNull());
}

INSTANTIATE_TEST_SUITE_P(Engines, LongValueTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
