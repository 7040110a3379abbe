#include "velmora/sysrecords/record_header.hpp"

#include <gtest/gtest.h>

#include "velmora/com/error.hpp"

namespace velmora {
namespace {

AdoRecordHeaderPtr Filled() {
  auto h = std::make_shared<AdoRecordHeader>();
  h->Unk(42);
  h->RcDate(com::Date(40000.5));
  h->RcUser("anna");
  h->RmDate(com::Date(40001.25));
  h->RmUser("bruno");
  h->Prefix("SU");
  h->TableName("SYS_UNK");
  return h;
}

// Writes a header into a bag, then reads it back from the bag's bytes.
AdoRecordHeaderPtr RoundTrip(AdoRecordHeader& header) {
  com::PropertyBag out;
  header.WriteProperties(out);
  com::PropertyBag in;
  in.Contents(out.Contents());
  auto back = std::make_shared<AdoRecordHeader>();
  back->ReadProperties(in);
  return back;
}

TEST(RecordHeader, StartsEmpty) {
  AdoRecordHeader h;
  EXPECT_EQ(h.Unk(), 0);
  EXPECT_EQ(h.RcDate().value, 0.0);
  EXPECT_EQ(h.RcUser(), "");
  EXPECT_EQ(h.RmDate().value, 0.0);
  EXPECT_EQ(h.RmUser(), "");
  EXPECT_FALSE(h.Small());
  EXPECT_FALSE(h.Simple());
  EXPECT_EQ(h.Prefix(), "");
  EXPECT_EQ(h.TableName(), "");
}

TEST(RecordHeader, ColumnSuffixesNeverIncludeThePrefix) {
  AdoRecordHeader h;
  h.Prefix("SU");
  EXPECT_EQ(h.FD_HDR_UNK(), "UNK");
  EXPECT_EQ(h.FD_HDR_RCDATE(), "RCDATE");
  EXPECT_EQ(h.FD_HDR_RCUSER(), "RCUSER");
  EXPECT_EQ(h.FD_HDR_RMDATE(), "RMDATE");
  EXPECT_EQ(h.FD_HDR_RMUSER(), "RMUSER");
}

TEST(RecordHeader, KeyIsTheDecimalUnk) {
  AdoRecordHeader h;
  EXPECT_EQ(h.Key(), "0");
  h.Unk(42);
  EXPECT_EQ(h.Key(), "42");
  h.Unk(-7);
  EXPECT_EQ(h.Key(), "-7");
}

TEST(RecordHeader, CopyToCopiesValuesButNotTheLayout) {
  auto source = Filled();
  source->Small(true);
  source->Simple(true);
  auto target = std::make_shared<AdoRecordHeader>();
  source->CopyTo(target);
  EXPECT_EQ(target->Unk(), 42);
  EXPECT_EQ(target->RcDate().value, 40000.5);
  EXPECT_EQ(target->RcUser(), "anna");
  EXPECT_EQ(target->RmDate().value, 40001.25);
  EXPECT_EQ(target->RmUser(), "bruno");
  EXPECT_EQ(target->Prefix(), "SU");
  EXPECT_EQ(target->TableName(), "SYS_UNK");
  EXPECT_FALSE(target->Small());
  EXPECT_FALSE(target->Simple());
}

TEST(RecordHeader, CopyToNothingFails) {
  try {
    Filled()->CopyTo(nullptr);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 91);
  }
}

TEST(RecordHeader, PropertyBagRoundTripKeepsEverythingButSimple) {
  auto h = Filled();
  h->Small(true);
  h->Simple(true);
  auto back = RoundTrip(*h);
  EXPECT_EQ(back->Unk(), 42);
  EXPECT_EQ(back->RcDate().value, 40000.5);
  EXPECT_EQ(back->RcUser(), "anna");
  EXPECT_EQ(back->RmDate().value, 40001.25);
  EXPECT_EQ(back->RmUser(), "bruno");
  EXPECT_TRUE(back->Small());
  EXPECT_FALSE(back->Simple());
  EXPECT_EQ(back->Prefix(), "SU");
  EXPECT_EQ(back->TableName(), "SYS_UNK");
}

TEST(RecordHeader, ReadingABagLeavesSimpleAlone) {
  com::PropertyBag bag;
  Filled()->WriteProperties(bag);
  AdoRecordHeader h;
  h.Simple(true);
  h.ReadProperties(bag);
  EXPECT_TRUE(h.Simple());
  EXPECT_EQ(h.Unk(), 42);
}

TEST(RecordHeader, PropertyBagUsesTheDocumentedKeys) {
  auto h = Filled();
  com::PropertyBag bag;
  h->WriteProperties(bag);
  EXPECT_EQ(bag.ReadProperty("Unk").Get<int32_t>(), 42);
  EXPECT_EQ(bag.ReadProperty("RcUser").Get<std::string>(), "anna");
  EXPECT_EQ(bag.ReadProperty("RmDate").Get<com::Date>().value, 40001.25);
  EXPECT_EQ(bag.ReadProperty("Prefix").Get<std::string>(), "SU");
  EXPECT_EQ(bag.ReadProperty("TableName").Get<std::string>(), "SYS_UNK");
  EXPECT_TRUE(bag.ReadProperty("Simple", "absent").IsString());
}

TEST(RecordHeader, ZeroValuesAreNotStored) {
  AdoRecordHeader empty;
  com::PropertyBag bag;
  empty.WriteProperties(bag);
  for (const char* key : {"Unk", "RcDate", "RcUser", "RmDate", "RmUser", "Small", "Prefix", "TableName"}) {
    EXPECT_EQ(bag.ReadProperty(key, "absent").Get<std::string>(), "absent") << key;
  }
  auto back = RoundTrip(empty);
  EXPECT_EQ(back->Unk(), 0);
  EXPECT_EQ(back->Prefix(), "");
}

}  // namespace
}  // namespace velmora
