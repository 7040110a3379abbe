// AdoFlag and AdoFlags: the keyed collection of named settings.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "velmora/com/error.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "support_common/raised_error.hpp"

namespace velmora {
namespace {

using velmora::test::ErrorNumber;

TEST(AdoFlags, WritingTheSameNameInAnotherCaseKeepsOneFlagWithTheLatestCase) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("dbms", com::Variant("JET"));
  flags->WriteProperty("DBMS", com::Variant("SQL"));
  ASSERT_EQ(flags->Count(), 1);
  EXPECT_EQ(flags->Item(int32_t{1})->Name(), "DBMS");
  EXPECT_EQ(flags->Item(int32_t{1})->Value().Get<std::string>(), "SQL");
  EXPECT_EQ(flags->ReadProperty("Dbms", com::Variant()).Get<std::string>(), "SQL");
}

TEST(AdoFlags, ReadingAMissingNameReturnsTheDefaultAndAddsNothing) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("A", com::Variant(int32_t{1}));
  const com::Variant value = flags->ReadProperty("B", com::Variant(int16_t{7}));
  EXPECT_EQ(value.VarType(), com::vbInteger);
  EXPECT_EQ(value.Get<int16_t>(), 7);
  EXPECT_EQ(flags->Count(), 1);
}

TEST(AdoFlags, PositionOneIsTheFirstFlagWrittenAndOrderIsFirstInsertion) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("first", com::Variant(int32_t{1}));
  flags->WriteProperty("second", com::Variant(int32_t{2}));
  flags->WriteProperty("FIRST", com::Variant(int32_t{3}));  // rewrite keeps its place
  EXPECT_EQ(flags->Item(int32_t{1})->Name(), "FIRST");
  std::vector<std::string> names;
  for (const AdoFlagPtr& flag : *flags) names.push_back(flag->Name());
  EXPECT_EQ(names, (std::vector<std::string>{"FIRST", "second"}));
}

TEST(AdoFlags, ClearEmptiesTheCollectionAndDetachesHeldFlags) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("A", com::Variant("x"));
  const AdoFlagPtr held = flags->Item(com::Variant("a"));
  flags->Clear();
  EXPECT_EQ(flags->Count(), 0);
  ASSERT_TRUE(held);
  EXPECT_EQ(held->Name(), "A");
  EXPECT_EQ(held->Value().Get<std::string>(), "x");
  flags->WriteProperty("A", com::Variant("y"));
  EXPECT_EQ(held->Value().Get<std::string>(), "x");  // the new flag is another object
}

TEST(AdoFlags, ObjectValuesAreHeldAndReturnedByReference) {
  auto flags = std::make_shared<AdoFlags>();
  auto inner = std::make_shared<AdoFlags>();
  flags->WriteProperty("OBJ", com::Variant(inner));
  EXPECT_EQ(flags->ReadProperty("obj", com::Variant()).Object(), inner);
  auto fallback = std::make_shared<AdoFlags>();
  EXPECT_EQ(flags->ReadProperty("none", com::Variant(fallback)).Object(), fallback);
}

TEST(AdoFlags, ItemAndRemoveOfMissingKeysRaiseFive) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("A", com::Variant(int32_t{1}));
  EXPECT_EQ(ErrorNumber([&] { flags->Item(com::Variant("B")); }), 5);
  EXPECT_EQ(ErrorNumber([&] { flags->Item(int32_t{2}); }), 5);
  EXPECT_EQ(ErrorNumber([&] { flags->Remove(com::Variant("B")); }), 5);
  flags->Remove(com::Variant("a"));
  EXPECT_EQ(flags->Count(), 0);
}

TEST(AdoFlags, ItemExistNeverRaises) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("A", com::Variant(int32_t{1}));
  EXPECT_TRUE(flags->ItemExist(com::Variant("a")));
  EXPECT_TRUE(flags->ItemExist(int32_t{1}));
  EXPECT_FALSE(flags->ItemExist(com::Variant("B")));
  EXPECT_FALSE(flags->ItemExist(int32_t{0}));
  EXPECT_FALSE(flags->ItemExist(int32_t{2}));
  EXPECT_FALSE(flags->ItemExist(com::Null));
}

TEST(AdoFlags, ControlCharacterSetIsCodesZeroToThirtyOneAndDelete) {
  const AdoFlags flags;
  const std::string& set = flags.ControlCharacters();
  ASSERT_EQ(set.size(), 33u);
  for (int code = 0; code < 32; ++code) EXPECT_EQ(set[static_cast<std::size_t>(code)], static_cast<char>(code));
  EXPECT_EQ(set[32], '\x7F');
}

TEST(AdoFlag, CopyToCopiesNameAndValue) {
  auto source = std::make_shared<AdoFlag>();
  source->Name("TIMEOUT");
  source->Value(com::Variant(int32_t{30}));
  auto target = std::make_shared<AdoFlag>();
  source->CopyTo(target);
  EXPECT_EQ(target->Name(), "TIMEOUT");
  EXPECT_EQ(target->Value().Get<int32_t>(), 30);
}

TEST(AdoFlag, CopyToCannotAssignAnObjectByValue) {
  auto source = std::make_shared<AdoFlag>();
  source->Name("OBJ");
  source->Value(com::Variant(std::make_shared<AdoFlags>()));
  auto target = std::make_shared<AdoFlag>();
  EXPECT_EQ(ErrorNumber([&] { source->CopyTo(target); }), 438);
  EXPECT_EQ(ErrorNumber([&] { source->CopyTo(nullptr); }), 91);
}

}  // namespace
}  // namespace velmora
