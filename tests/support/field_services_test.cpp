#include "velmora/support/field_services.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support_common/raised_error.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

using com::Missing;
using test::RaisedError;

com::ByteArray Bytes(std::string_view text) {
  return com::ByteArray(text.begin(), text.end());
}

// The error record as one comparable value.
std::tuple<int32_t, std::string, std::string, std::string, int32_t> Record() {
  const PendingError& r = Support().ErrorRecord();
  return {r.number, r.source, r.description, r.helpFile, r.helpContext};
}

// Each test starts from an empty error record on its thread.
class FieldServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { Support().ClearErrorRecord(); }
  void TearDown() override { Support().ClearErrorRecord(); }
};

TEST_F(FieldServicesTest, AnsiBytesAreWindows1252) {
  EXPECT_EQ(Support().AnsiBytesFromString("Perché €"), Bytes("Perch\xE9 \x80"));
  EXPECT_EQ(Support().AnsiBytesFromString(""), com::ByteArray());
}

TEST_F(FieldServicesTest, CharacterOutsideTheCodePageBecomesQuestionMark) {
  EXPECT_EQ(Support().AnsiBytesFromString("π=3"), Bytes("?=3"));
}

TEST_F(FieldServicesTest, EveryAnsiByteComesBackUnchanged) {
  com::ByteArray all(256);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<uint8_t>(i);
  const std::string text = Support().StringFromAnsiBytes(all);
  EXPECT_EQ(Support().AnsiBytesFromString(text), all);
}

TEST_F(FieldServicesTest, AnsiBytesReadAsCharacters) {
  EXPECT_EQ(Support().StringFromAnsiBytes(Bytes("Citt\xE0 \x80 \x9C")), "Città € œ");
}

TEST_F(FieldServicesTest, ErrorHeadingIsOneLineOfText) {
  const std::string heading = Support().ErrorHeading();
  EXPECT_FALSE(heading.empty());
  EXPECT_EQ(heading.find('\n'), std::string::npos);
}

TEST_F(FieldServicesTest, SetErrorWithNothingPendingKeepsMissingItemsEmpty) {
  Support().SetError(Missing, Missing, "provider said no");
  EXPECT_EQ(Record(), std::make_tuple(0, "", "provider said no", "", 0));
}

TEST_F(FieldServicesTest, SetErrorKeepsTheRecordsOtherItems) {
  Support().SetError(int32_t{3021}, "Velmora.Test.Proc", "first", "app.hlp", int32_t{7});
  Support().SetError(Missing, Missing, "second");
  EXPECT_EQ(Record(), std::make_tuple(3021, "Velmora.Test.Proc", "second", "app.hlp", 7));
}

TEST_F(FieldServicesTest, SetErrorInAHandlerStartsFromTheExceptionBeingHandled) {
  Support().SetError(int32_t{1}, "old", "old");
  try {
    throw com::Error(-2147217900, "syntax error", "Velmora.ado.odbc", "help.chm", 12);
  } catch (...) {
    Support().SetError(Missing, Missing, "every provider error");
  }
  EXPECT_EQ(Record(),
            std::make_tuple(-2147217900, "Velmora.ado.odbc", "every provider error", "help.chm", 12));
}

TEST_F(FieldServicesTest, SetErrorTreatsAnUnconvertibleItemAsMissing) {
  Support().SetError(int32_t{5}, "s", "d");
  Support().SetError("not a number", Missing, "e");
  EXPECT_EQ(Support().ErrorRecord().number, 5);
  EXPECT_EQ(Support().ErrorRecord().description, "e");
}

TEST_F(FieldServicesTest, RaiseErrorRecordRaisesTheRecord) {
  Support().SetError(int32_t{20000}, "Velmora.Test.Proc", "No such record.", "f.hlp", int32_t{3});
  const com::Error e = RaisedError([] { Support().RaiseErrorRecord(); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
  EXPECT_EQ(e.Description(), "No such record.");
  EXPECT_EQ(e.HelpFile(), "f.hlp");
  EXPECT_EQ(e.HelpContext(), 3);
  EXPECT_EQ(Record(), std::make_tuple(0, "", "", "", 0));  // used once
}

TEST_F(FieldServicesTest, SetErrorTwiceInOneHandlerBuildsOnTheRecord) {
  try {
    throw com::Error(3021, "No current record.", "Velmora.ado");
  } catch (...) {
    Support().SetError(int32_t{20000}, Missing, "first");
    Support().SetError(Missing, "Velmora.Test.Proc", Missing);
  }
  EXPECT_EQ(Record(), std::make_tuple(20000, "Velmora.Test.Proc", "first", "", 0));
}

TEST_F(FieldServicesTest, TheRecordBelongsToTheExceptionHandledWhenItWasSet) {
  EXPECT_FALSE(Support().TakeErrorRecordFor(nullptr));
  try {
    throw com::Error(1, "one");
  } catch (...) {
    const std::exception_ptr handled = std::current_exception();
    Support().SetError(Missing, Missing, "composed");
    EXPECT_FALSE(Support().TakeErrorRecordFor(std::make_exception_ptr(com::Error(1, "one"))));
    EXPECT_FALSE(Support().TakeErrorRecordFor(nullptr));
    const std::optional<PendingError> taken = Support().TakeErrorRecordFor(handled);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->description, "composed");
    EXPECT_FALSE(Support().TakeErrorRecordFor(handled));  // taken once
  }
}

TEST_F(FieldServicesTest, NoFieldsCollectionHoldsNothing) {
  EXPECT_FALSE(Support().CollectionItemExists(nullptr, "ID"));
}

}  // namespace
}  // namespace velmora
