#include "velmora/support/reraise.hpp"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <system_error>

#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"
#include "support_common/raised_error.hpp"

namespace velmora {
namespace {

using com::Missing;
using test::RaisedError;

// Throws `pending`, then runs `handler` inside the catch block, as a
// procedure's error handler does.
template <class Pending>
com::Error HandledBy(const Pending& pending, const std::function<void()>& handler) {
  return RaisedError([&] {
    try {
      throw pending;
    } catch (...) {
      handler();
    }
  });
}

com::Error FirstError() { return com::Error(1234, "first description", "Origin", "help.chm", 77); }

TEST(ErrorSource, JoinsLibraryModuleAndProcedure) {
  EXPECT_EQ(kLibraryName, "Velmora");
  EXPECT_EQ(ErrorSource("modAdoSupport", "TableInfoJet"), "Velmora.modAdoSupport.TableInfoJet");
  EXPECT_EQ(ErrorSource("AdoFlags", "Load"), "Velmora.AdoFlags.Load");
}

TEST(ReraiseErrorCapturing, Number65535BecomesZero) {
  const auto e = HandledBy(com::Error(65535, "odd"), [] { ReraiseError(); });
  EXPECT_EQ(e.Number(), 0);
  EXPECT_EQ(e.Description(), "odd");
}

TEST(ReraiseErrorCapturing, KeepsEverythingWhenNothingIsGiven) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError(); });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Description(), "first description");
  EXPECT_EQ(e.Source(), "Origin");
  EXPECT_EQ(e.HelpFile(), "help.chm");
  EXPECT_EQ(e.HelpContext(), 77);
}

TEST(ReraiseErrorCapturing, GivenDescriptionReplacesCapturedOneCompletely) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError(Missing, Missing, "replacement"); });
  EXPECT_EQ(e.Description(), "replacement");
  EXPECT_EQ(std::string(e.what()).find("first description"), std::string::npos);
  EXPECT_EQ(e.Number(), 1234);
}

TEST(ReraiseErrorCapturing, GivenItemsReplaceCapturedOnes) {
  const auto e = HandledBy(FirstError(), [] {
    ReraiseError(int32_t{42}, "Velmora.Test.Proc", Missing, "other.chm", "9001");
  });
  EXPECT_EQ(e.Number(), 42);
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
  EXPECT_EQ(e.Description(), "first description");
  EXPECT_EQ(e.HelpFile(), "other.chm");
  EXPECT_EQ(e.HelpContext(), 9001);
}

TEST(ReraiseErrorCapturing, NumberGivenAsTextIsConverted) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError("17"); });
  EXPECT_EQ(e.Number(), 17);
}

TEST(ReraiseErrorCapturing, FailureWhileAmendingIsIgnoredAndTheRaiseStillHappens) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError("not a number", "Velmora.Test.Proc"); });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
}

TEST(ReraiseErrorCapturing, Bit2AppendsSystemTextOfLastDllError) {
  const auto e = HandledBy(FirstError(), [] {
    ReraiseError(Missing, Missing, Missing, Missing, Missing, int32_t{5}, support::kErrorFlagAppendSystemText);
  });
  EXPECT_EQ(e.Description(), "first description\r\n" + Support().SystemErrorText(5));
  EXPECT_EQ(Support().SystemErrorText(5), "Input/output error");
}

TEST(ReraiseErrorCapturing, Bit2UsesTheSystemCodeOfAPendingSystemError) {
  const auto e = HandledBy(std::system_error(ENOENT, std::generic_category(), "open"),
                           [] { ReraiseError(Missing, Missing, Missing, Missing, Missing, Missing, 2); });
  EXPECT_EQ(e.Number(), kErrorUnspecified);
  const std::string suffix = "\r\n" + Support().SystemErrorText(ENOENT);
  ASSERT_GE(e.Description().size(), suffix.size());
  EXPECT_EQ(e.Description().substr(e.Description().size() - suffix.size()), suffix);
}

TEST(ReraiseErrorCapturing, WithoutPendingErrorRaisesNumberZero) {
  const auto e = RaisedError([] { ReraiseError(); });
  EXPECT_EQ(e.Number(), 0);
  EXPECT_EQ(e.Description(), "");
}

TEST(ReraisePassThrough, OnlySourceKeepsFirstNumberAndDescription) {
  const auto e = HandledBy(FirstError(), [] { Reraise("Velmora.AdoFlags.Load"); });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Description(), "first description");
  EXPECT_EQ(e.Source(), "Velmora.AdoFlags.Load");
  EXPECT_EQ(e.HelpFile(), "help.chm");
  EXPECT_EQ(e.HelpContext(), 77);
}

TEST(ReraisePassThrough, Bit8BehavesAsBit4) {
  const auto e = HandledBy(FirstError(), [] {
    ReraiseError(Missing, "Velmora.X.Y", Missing, Missing, Missing, Missing, support::kErrorFlagPassThroughAlt);
  });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Description(), "first description");
  EXPECT_EQ(e.Source(), "Velmora.X.Y");
}

TEST(ReraisePassThrough, Number65535IsNotCaptured) {
  const auto e = HandledBy(com::Error(65535, "odd"), [] { Reraise("Velmora.X.Y"); });
  EXPECT_EQ(e.Number(), 65535);
}

TEST(ReraisePassThrough, GivenItemsWinMissingOnesComeFromThePendingError) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError(int32_t{20000}, "Velmora.X.Y", Missing, Missing, 5, Missing, 4); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "first description");
  EXPECT_EQ(e.HelpContext(), 5);
  EXPECT_EQ(e.HelpFile(), "help.chm");
}

TEST(ReraisePassThrough, Bit2IsNotAppliedWithoutCapture) {
  const auto e = HandledBy(FirstError(), [] { ReraiseError(Missing, "Velmora.X.Y", Missing, Missing, Missing, 5, 4 | 2); });
  EXPECT_EQ(e.Description(), "first description");
}

TEST(ReraisePassThrough, StandardExceptionBecomesUnspecifiedFailureWithItsText) {
  const auto e = HandledBy(std::runtime_error("disk on fire"), [] { Reraise("Velmora.X.Y"); });
  EXPECT_EQ(e.Number(), -2147467259);
  EXPECT_EQ(e.Description(), "disk on fire");
  EXPECT_EQ(e.Source(), "Velmora.X.Y");
}

TEST(ReraisePassThrough, OutOfMemoryBecomesError7) {
  const auto e = HandledBy(std::bad_alloc(), [] { Reraise("Velmora.X.Y"); });
  EXPECT_EQ(e.Number(), 7);
  EXPECT_EQ(e.Description(), "Out of memory");
}

TEST(ReraisePassThrough, UnknownExceptionBecomesUnspecifiedError) {
  const auto e = HandledBy(42, [] { Reraise("Velmora.X.Y"); });
  EXPECT_EQ(e.Number(), kErrorUnspecified);
  EXPECT_EQ(e.Description(), "Unspecified error");
}

// Three procedures, each with the library's handler.
void Innermost() {
  try {
    com::Raise(com::errTypeMismatch, "", "com");
  } catch (...) {
    Reraise(ErrorSource("modAdoSupport", "Innermost"));
  }
}
void Middle() {
  try {
    Innermost();
  } catch (...) {
    Reraise(ErrorSource("AdoFlags", "Middle"));
  }
}
void Outermost() {
  try {
    Middle();
  } catch (...) {
    Reraise(ErrorSource("AdoArray", "Outermost"));
  }
}

TEST(ReraiseNested, ThreeLevelsKeepFirstNumberAndDescriptionAndOutermostSource) {
  const auto e = RaisedError(Outermost);
  EXPECT_EQ(e.Number(), 13);
  EXPECT_EQ(e.Description(), "Type mismatch");
  EXPECT_EQ(e.Source(), "Velmora.AdoArray.Outermost");
}

// A handler that composes a better description on the support object before
// re-raising, as ErrorSet does with a connection's provider errors.
class ReraiseComposed : public ::testing::Test {
 protected:
  void SetUp() override { Support().ClearErrorRecord(); }
  void TearDown() override { Support().ClearErrorRecord(); }
};

TEST_F(ReraiseComposed, PassThroughRaisesTheRecordSetInTheHandler) {
  const auto e = HandledBy(FirstError(), [] {
    Support().SetError(Missing, Missing, "composed description");
    Reraise("Velmora.Test.Proc");
  });
  EXPECT_EQ(e.Description(), "composed description");
  EXPECT_EQ(e.Number(), 1234);  // the items not set come from the exception
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
  EXPECT_EQ(e.HelpFile(), "help.chm");
  EXPECT_EQ(e.HelpContext(), 77);
}

TEST_F(ReraiseComposed, CapturingModeRaisesTheRecordSetInTheHandler) {
  const auto e = HandledBy(com::Error(65535, "odd"), [] {
    Support().SetError(int32_t{20000}, Missing, "composed description");
    ReraiseError(Missing, "Velmora.Test.Proc");
  });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "composed description");
  EXPECT_EQ(e.Source(), "Velmora.Test.Proc");
}

TEST_F(ReraiseComposed, TheRecordIsClearedOnceRaised) {
  HandledBy(FirstError(), [] {
    Support().SetError(Missing, Missing, "composed description");
    Reraise("Velmora.Test.Proc");
  });
  EXPECT_EQ(Support().ErrorRecord().description, "");
  const auto next = HandledBy(FirstError(), [] { Reraise("Velmora.Test.Proc"); });
  EXPECT_EQ(next.Description(), "first description");
}

TEST_F(ReraiseComposed, ARecordSetBeforeTheFailureIsNotItsError) {
  Support().SetError(int32_t{3}, "stale", "stale description");
  const auto e = HandledBy(FirstError(), [] { Reraise("Velmora.Test.Proc"); });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Description(), "first description");
}

TEST_F(ReraiseComposed, ARecordSetForAnotherFailureIsNotThisOnesError) {
  const auto e = HandledBy(FirstError(), [] {
    try {
      throw com::Error(5, "inner failure, handled");
    } catch (...) {
      Support().SetError(Missing, Missing, "composed for the inner failure");
    }
    Reraise("Velmora.Test.Proc");
  });
  EXPECT_EQ(e.Number(), 1234);
  EXPECT_EQ(e.Description(), "first description");
}

TEST_F(ReraiseComposed, TheComposedErrorTravelsThroughOuterHandlers) {
  const auto e = RaisedError([] {
    try {
      try {
        com::Raise(com::errTypeMismatch, "", "com");
      } catch (...) {
        Support().SetError(Missing, Missing, "composed description");
        Reraise(ErrorSource("modAdoSupport", "Inner"));
      }
    } catch (...) {
      Reraise(ErrorSource("AdoArray", "Outer"));
    }
  });
  EXPECT_EQ(e.Number(), 13);
  EXPECT_EQ(e.Description(), "composed description");
  EXPECT_EQ(e.Source(), "Velmora.AdoArray.Outer");
}

}  // namespace
}  // namespace velmora
