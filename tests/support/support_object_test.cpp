#include "velmora/support/support_object.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/per_thread.hpp"
#include "support_common/raised_error.hpp"

namespace velmora {
namespace {

using com::Missing;
using test::RaisedError;

TEST(SupportObject, OnePerThreadCreatedOnFirstUse) { test::ExpectOnePerThread(Support); }

TEST(SupportObjectRaiseError, RaisesEveryGivenItem) {
  const auto e = RaisedError([] {
    Support().RaiseError(int32_t{20000}, "Velmora.Test.Proc", "No such record.", "app.hlp", "4321", 0, 0,
                         Missing, 0);
  });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
  EXPECT_EQ(e.Description(), "No such record.");
  EXPECT_EQ(e.HelpFile(), "app.hlp");
  EXPECT_EQ(e.HelpContext(), 4321);
  EXPECT_STREQ(e.what(), "No such record.");
}

TEST(SupportObjectRaiseError, NegativeHelpContextTextIsConvertedBack) {
  const auto e = RaisedError([] { Support().RaiseError(1, "s", "d", "f", "-12", 0, 0, Missing, 0); });
  EXPECT_EQ(e.HelpContext(), -12);
}

TEST(SupportObjectRaiseError, MissingItemsAreEmptyWithoutPassThroughEvenWithAPendingError) {
  const auto e = RaisedError([] {
    try {
      throw com::Error(99, "pending", "P", "p.hlp", 3);
    } catch (...) {
      Support().RaiseError(Missing, "S", Missing, Missing, Missing, Missing, 0, Missing, 0);
    }
  });
  EXPECT_EQ(e.Number(), 0);
  EXPECT_EQ(e.Description(), "");
  EXPECT_EQ(e.HelpFile(), "");
  EXPECT_EQ(e.HelpContext(), 0);
}

TEST(SupportObjectRaiseError, PassThroughFillsMissingItemsFromThePendingError) {
  const auto e = RaisedError([] {
    try {
      throw com::Error(99, "pending", "P", "p.hlp", 3);
    } catch (...) {
      Support().RaiseError(Missing, Missing, Missing, Missing, Missing, Missing, 4, Missing, 0);
    }
  });
  EXPECT_EQ(e.Number(), 99);
  EXPECT_EQ(e.Description(), "pending");
  EXPECT_EQ(e.Source(), "P");
  EXPECT_EQ(e.HelpFile(), "p.hlp");
  EXPECT_EQ(e.HelpContext(), 3);
}

TEST(SupportObjectSystemErrorText, GivesTheSystemMessage) {
  EXPECT_EQ(Support().SystemErrorText(ENOENT), "No such file or directory");
  EXPECT_EQ(Support().SystemErrorText(EACCES), "Permission denied");
}

TEST(SupportObjectSystemErrorText, UnknownCodeIsNamed) {
  EXPECT_EQ(Support().SystemErrorText(987654), "Unknown error 987654");
}

}  // namespace
}  // namespace velmora
