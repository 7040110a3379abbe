// The control-character test and the hex form of strings holding them.
#include <gtest/gtest.h>

#include <string>

#include "velmora/com/error.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {
namespace {

using namespace std::string_literals;

const ProfileServices kProfile;

std::string ControlSet() {
  std::string set;
  for (int c = 0; c < 32; ++c) set += static_cast<char>(c);
  return set + '\x7F';
}

TEST(ControlCharacters, FoundAnywhereInTheText) {
  const std::string set = ControlSet();
  EXPECT_FALSE(kProfile.StringHasAnyChar("plain text, àèìòù €", set));
  EXPECT_TRUE(kProfile.StringHasAnyChar("tab\there", set));
  EXPECT_TRUE(kProfile.StringHasAnyChar("nul\0"s, set));
  EXPECT_TRUE(kProfile.StringHasAnyChar("del\x7F", set));
  EXPECT_TRUE(kProfile.StringHasAnyChar("\n", set));
  EXPECT_FALSE(kProfile.StringHasAnyChar("", set));
}

TEST(ControlCharacters, NonAsciiMembersMatchWholeCodePoints) {
  EXPECT_TRUE(kProfile.StringHasAnyChar("prezzo 5€", "€"));
  EXPECT_FALSE(kProfile.StringHasAnyChar("prezzo 5$", "€"));
  // "₤" shares its first two bytes with "€": only the whole character counts.
  EXPECT_FALSE(kProfile.StringHasAnyChar("₤", "€"));
  EXPECT_FALSE(kProfile.StringHasAnyChar("abc", ""));
}

TEST(ControlStringForm, IsUpperCaseHexOfTheUtf8Bytes) {
  EXPECT_EQ(kProfile.ControlStringEncode("a\tb"), "610962");
  EXPECT_EQ(kProfile.ControlStringEncode("è\n"), "C3A80A");
  EXPECT_EQ(kProfile.ControlStringEncode(""), "");
}

TEST(ControlStringForm, DecodesBackEveryByte) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  EXPECT_EQ(kProfile.ControlStringDecode(kProfile.ControlStringEncode(all)), all);
  EXPECT_EQ(kProfile.ControlStringDecode("c3a80a"), "è\n");
}

TEST(ControlStringForm, MalformedHexRaisesBadDataType) {
  for (const char* bad : {"6", "6G", "61 2", "0x61"}) {
    try {
      kProfile.ControlStringDecode(bad);
      ADD_FAILURE() << "accepted " << bad;
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), 20000);
      EXPECT_EQ(e.Description(), "bad data type");
    }
  }
}

}  // namespace
}  // namespace velmora::support
