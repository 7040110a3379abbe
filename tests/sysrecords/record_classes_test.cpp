// AdoUnk and AdoSysLock as value holders: constants, keys, copies and
// property bags.
#include <gtest/gtest.h>

#include "support_common/raised_error.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/ado_unk.hpp"

namespace velmora {
namespace {

// Property bags re-create the header by its class name.
void RegisterHeader() {
  com::ClassRegistry::Register(AdoRecordHeader::kProgID, [] { return std::make_shared<AdoRecordHeader>(); });
}

template <class T>
std::shared_ptr<T> RoundTrip(T& source) {
  RegisterHeader();
  com::PropertyBag out;
  source.WriteProperties(out);
  com::PropertyBag in;
  in.Contents(out.Contents());
  auto back = std::make_shared<T>();
  back->ReadProperties(in);
  return back;
}

void ExpectNotAValidIndex(const std::function<void()>& call) {
  const com::Error e = test::RaisedError(call);
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Not a valid index");
  EXPECT_EQ(e.Source(), "");
}

TEST(AdoUnk, ConstantsAndTheHeaderItCreates) {
  AdoUnk unk;
  EXPECT_EQ(unk.TB_SYS_UNK(), "SYS_UNK");
  EXPECT_EQ(unk.PFX_SYS_UNK(), "SU");
  EXPECT_EQ(unk.FD_SU_TABLE(), "SU_TABLE");
  EXPECT_EQ(unk.FD_SU_VALUE(), "SU_VALUE");
  EXPECT_EQ(unk.FD_SU_RMUSER(), "SU_RMUSER");
  EXPECT_EQ(unk.FD_SU_RMDATE(), "SU_RMDATE");
  EXPECT_EQ(unk.TableName(), "SYS_UNK");
  EXPECT_EQ(unk.Prefix(), "SU");
  EXPECT_EQ(unk.Header()->Prefix(), "SU");
  EXPECT_EQ(unk.Header()->TableName(), "SYS_UNK");
  EXPECT_TRUE(unk.Header()->Small());
  EXPECT_FALSE(unk.Header()->Simple());
}

TEST(AdoUnk, AHeaderSetToNothingIsCreatedAgainWithoutLayout) {
  AdoUnk unk;
  unk.Header(nullptr);
  EXPECT_EQ(unk.Header()->Prefix(), "");
  EXPECT_FALSE(unk.Header()->Small());
}

TEST(AdoUnk, Keys) {
  AdoUnk unk;
  unk.SU_TABLE("Orders");
  unk.SU_VALUE(123);
  EXPECT_EQ(unk.Key("SU_TABLE"), "Orders");
  EXPECT_EQ(unk.Key("SU_VALUE"), "000000000123");
  EXPECT_EQ(unk.Key("su_value"), "000000000123");
  unk.SU_VALUE(7);
  EXPECT_EQ(unk.Key("Su_Value"), "000000000007");
  ExpectNotAValidIndex([&] { unk.Key("SU_RMUSER"); });
  ExpectNotAValidIndex([&] { unk.Key(""); });
}

TEST(AdoUnk, CopyToLeavesTheTargetsHeaderAlone) {
  auto source = std::make_shared<AdoUnk>();
  source->SU_TABLE("Orders");
  source->SU_VALUE(9);
  source->Header()->RmUser("anna");
  auto target = std::make_shared<AdoUnk>();
  target->Header()->RmUser("bruno");
  source->CopyTo(target);
  EXPECT_EQ(target->SU_TABLE(), "Orders");
  EXPECT_EQ(target->SU_VALUE(), 9);
  EXPECT_EQ(target->Header()->RmUser(), "bruno");
  EXPECT_EQ(source->Header()->RmUser(), "anna");
  EXPECT_THROW(source->CopyTo(nullptr), com::Error);
}

TEST(AdoUnk, ThePropertyBagKeepsOnlyTheHeader) {
  AdoUnk unk;
  unk.SU_TABLE("Orders");
  unk.SU_VALUE(12);
  unk.Header()->RmUser("anna");
  auto back = RoundTrip(unk);
  EXPECT_EQ(back->SU_TABLE(), "");
  EXPECT_EQ(back->SU_VALUE(), 0);
  EXPECT_EQ(back->Header()->RmUser(), "anna");
  EXPECT_EQ(back->Header()->Prefix(), "SU");
  EXPECT_TRUE(back->Header()->Small());
}

TEST(AdoUnk, ThePropertyBagWritesEachValueUnderItsOwnText) {
  AdoUnk unk;
  unk.SU_TABLE("Orders");
  unk.SU_VALUE(12);
  com::PropertyBag bag;
  unk.WriteProperties(bag);
  EXPECT_EQ(bag.ReadProperty("Orders", "absent").Get<std::string>(), "Orders");
  EXPECT_EQ(bag.ReadProperty("12", "absent").Get<int32_t>(), 12);
  EXPECT_EQ(bag.ReadProperty("SU_TABLE", "absent").Get<std::string>(), "absent");
}

TEST(AdoUnk, ValuesEqualToTheirKeysSurviveTheRoundTrip) {
  AdoUnk unk;
  unk.SU_TABLE("SU_TABLE");
  auto back = RoundTrip(unk);
  EXPECT_EQ(back->SU_TABLE(), "SU_TABLE");
}

TEST(AdoSysLock, ConstantsAndTheHeaderItCreates) {
  AdoSysLock lock;
  EXPECT_EQ(lock.FD_LK_HEADER(), "HEADER");
  EXPECT_EQ(lock.PF_SYS_LOCK(), "LK");
  EXPECT_EQ(lock.PK_SYS_LOCK(), "PK_SYS_LOCK");
  EXPECT_EQ(lock.IX_LK_NAME(), "IX_LK_NAME");
  EXPECT_EQ(lock.FD_LK_LOCKED(), "LK_LOCKED");
  EXPECT_EQ(lock.FD_LK_RMDATE(), "LK_RMDATE");
  EXPECT_EQ(lock.FD_LK_RCUSER(), "LK_RCUSER");
  EXPECT_EQ(lock.FD_LK_RCDATE(), "LK_RCDATE");
  EXPECT_EQ(lock.FD_LK_UNK(), "LK_UNK");
  EXPECT_EQ(lock.TB_SYS_LOCK(), "SYS_LOCK");
  EXPECT_EQ(lock.FD_LK_NAME(), "LK_NAME");
  EXPECT_EQ(lock.TableName(), "SYS_LOCK");
  EXPECT_EQ(lock.Prefix(), "LK");
  EXPECT_EQ(lock.Header()->Prefix(), "LK");
  EXPECT_EQ(lock.Header()->TableName(), "SYS_LOCK");
  EXPECT_FALSE(lock.Header()->Small());
  EXPECT_FALSE(lock.Header()->Simple());
}

TEST(AdoSysLock, HeaderValuesPassStraightThrough) {
  AdoSysLock lock;
  lock.LK_UNK(5);
  lock.LK_RCDATE(com::Date(40000.5));
  lock.LK_RCUSER("anna");
  lock.LK_RMDATE(com::Date(40001.5));
  lock.LK_RMUSER("bruno");
  EXPECT_EQ(lock.Header()->Unk(), 5);
  EXPECT_EQ(lock.Header()->RcDate().value, 40000.5);
  EXPECT_EQ(lock.Header()->RcUser(), "anna");
  EXPECT_EQ(lock.Header()->RmDate().value, 40001.5);
  EXPECT_EQ(lock.Header()->RmUser(), "bruno");
  lock.Header()->Unk(6);
  EXPECT_EQ(lock.LK_UNK(), 6);
}

TEST(AdoSysLock, Keys) {
  AdoSysLock lock;
  lock.LK_NAME("ORDERS");
  lock.LK_UNK(42);
  EXPECT_EQ(lock.Key("IX_LK_NAME"), "ORDERS");
  EXPECT_EQ(lock.Key("ix_lk_name"), "ORDERS");
  EXPECT_EQ(lock.Key("PK_SYS_LOCK"), "000000000042");
  ExpectNotAValidIndex([&] { lock.Key("LK_NAME"); });
}

TEST(AdoSysLock, CopyToLeavesTheTargetsHeaderAlone) {
  auto source = std::make_shared<AdoSysLock>();
  source->LK_NAME("ORDERS");
  source->LK_LOCKED("S");
  source->LK_RCUSER("anna");
  auto target = std::make_shared<AdoSysLock>();
  source->CopyTo(target);
  EXPECT_EQ(target->LK_NAME(), "ORDERS");
  EXPECT_EQ(target->LK_LOCKED(), "S");
  EXPECT_EQ(target->LK_RCUSER(), "");
}

TEST(AdoSysLock, ThePropertyBagRoundTripsEverything) {
  AdoSysLock lock;
  lock.LK_NAME("ORDERS");
  lock.LK_LOCKED("S");
  lock.LK_RCUSER("anna");
  lock.LK_UNK(3);
  auto back = RoundTrip(lock);
  EXPECT_EQ(back->LK_NAME(), "ORDERS");
  EXPECT_EQ(back->LK_LOCKED(), "S");
  EXPECT_EQ(back->LK_RCUSER(), "anna");
  EXPECT_EQ(back->LK_UNK(), 3);
  EXPECT_EQ(back->Header()->Prefix(), "LK");
}

TEST(SystemServices, UserNameHonoursTheOverrideAndFallsBackToTheAccount) {
  setenv(support::kUserOverrideVariable, "tester", 1);
  EXPECT_EQ(Support().UserName(), "tester");
  unsetenv(support::kUserOverrideVariable);
  EXPECT_FALSE(Support().UserName().empty());
  EXPECT_NE(Support().UserName(), "tester");
}

TEST(SystemServices, TheTickIsMonotonicMilliseconds) {
  const int32_t first = Support().TickCount();
  timespec pause{0, 20'000'000};
  nanosleep(&pause, nullptr);
  const int32_t later = Support().TickCount();
  EXPECT_GE(later - first, 20);
  EXPECT_LT(later - first, 5000);
}

TEST(SystemServices, TheNoNumberSignalRaises) {
  try {
    Support().NoUniqueNumber();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Source(), "Velmora.AdoRecordHeader.RecordSave");
  }
}

}  // namespace
}  // namespace velmora
