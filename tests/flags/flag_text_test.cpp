// Flag text formats: Save and Load through INI files, LineSplit, and the
// Serialize / Deserialize buffer.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

using namespace std::string_literals;
using test::RaisedError;

std::string ReadText(const std::string& path) { return test::FileContents(path); }

std::string IniPath() { return test::TempFile(".ini").string(); }

com::Date December31At230509() { return com::Date(com::DateSerial(2009, 12, 31).value + com::TimeSerial(23, 5, 9).value); }

// One flag of every type that has a text form, strings with control
// characters and non-ASCII text included.
std::shared_ptr<AdoFlags> FlagsOfEveryType() {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("Int", com::Variant(int16_t{-32768}));
  flags->WriteProperty("TIMEOUT", com::Variant(int32_t{30}));
  flags->WriteProperty("Single", com::Variant(0.1f));
  flags->WriteProperty("Double", com::Variant(0.1 + 0.2));
  flags->WriteProperty("Big", com::Variant(1.5e300));
  flags->WriteProperty("Tiny", com::Variant(-2.5e-12));
  flags->WriteProperty("Money", com::Variant(com::Currency::FromRaw(-9223372036854775807LL)));
  flags->WriteProperty("When", com::Variant(December31At230509()));
  flags->WriteProperty("Old", com::Variant(com::Date(com::DateSerial(1899, 12, 29).value - 0.25)));
  flags->WriteProperty("Text", com::Variant("Perché sì: 日本語 € \"q\" ; [x] = y "));
  flags->WriteProperty("Control", com::Variant("tab\there\r\nnul\0del\x7F"s));
  flags->WriteProperty("Empty", com::Variant(""));
  flags->WriteProperty("Yes", com::Variant(true));
  flags->WriteProperty("No", com::Variant(false));
  flags->WriteProperty("Byte", com::Variant(uint8_t{255}));
  flags->WriteProperty("Città", com::Variant("Forlì"));
  return flags;
}

void ExpectSameFlags(const AdoFlags& expected, const AdoFlags& actual) {
  ASSERT_EQ(expected.Count(), actual.Count());
  for (int32_t i = 1; i <= expected.Count(); ++i) {
    const AdoFlagPtr a = expected.Item(i), b = actual.Item(i);
    SCOPED_TRACE(a->Name());
    EXPECT_EQ(a->Name(), b->Name());
    EXPECT_EQ(a->Value().VarType(), b->Value().VarType());
    EXPECT_TRUE(a->Value().IsNull() ? b->Value().IsNull() : com::VarEqual(a->Value(), b->Value()));
  }
}

// ------------------------------------------------------------ Save / Load

TEST(FlagsSave, A32BitIntegerIsWrittenWithCode0003) {
  const auto path = IniPath();
  AdoFlags flags;
  flags.WriteProperty("TIMEOUT", com::Variant(int32_t{30}));
  EXPECT_TRUE(flags.Save(path, "Settings"));
  EXPECT_EQ(ReadText(path), "[Settings]\r\nTIMEOUT=0003:~:30\r\n");
}

TEST(FlagsSave, ADateIsWrittenAsFourteenDigitsAndLoadsBackTheSame) {
  const auto path = IniPath();
  AdoFlags flags;
  flags.WriteProperty("WHEN", com::Variant(December31At230509()));
  flags.Save(path, "S");
  EXPECT_EQ(ReadText(path), "[S]\r\nWHEN=0007:~:20091231230509\r\n");
  AdoFlags loaded;
  EXPECT_TRUE(loaded.Load(path, "S"));
  const com::Variant when = loaded.ReadProperty("when", com::Variant());
  ASSERT_EQ(when.VarType(), com::vbDate);
  EXPECT_EQ(when.Get<com::Date>(), December31At230509());
}

TEST(FlagsSave, TypeCodesOfEachTypeAndTheControlStringForm) {
  const auto path = IniPath();
  AdoFlags flags;
  flags.WriteProperty("I", com::Variant(int16_t{2}));
  flags.WriteProperty("S", com::Variant(1.5f));
  flags.WriteProperty("D", com::Variant(0.25));
  flags.WriteProperty("C", com::Variant(com::Currency::FromRaw(15000)));
  flags.WriteProperty("T", com::Variant("x"));
  flags.WriteProperty("B", com::Variant(true));
  flags.WriteProperty("Y", com::Variant(uint8_t{9}));
  flags.WriteProperty("H", com::Variant("a\tb"));
  flags.Save(path, "S");
  EXPECT_EQ(ReadText(path),
            "[S]\r\nI=0002:~:2\r\nS=0004:~:1.5\r\nD=0005:~:0.25\r\nC=0006:~:1.5\r\nT=0008:~:x\r\n"
            "B=000B:~:True\r\nY=0011:~:9\r\nH=2011:~:610962\r\n");
}

TEST(FlagsSave, NullFailsWithBadDataTypeAfterWritingTheFlagsBeforeIt) {
  const auto path = IniPath();
  AdoFlags flags;
  flags.WriteProperty("A", com::Variant(int32_t{1}));
  flags.WriteProperty("N", com::Null);
  flags.WriteProperty("B", com::Variant(int32_t{2}));
  const com::Error e = RaisedError([&] { flags.Save(path, "S"); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "bad data type");
  EXPECT_EQ(e.Source(), "Velmora.AdoFlags");
  EXPECT_EQ(ReadText(path), "[S]\r\nA=0003:~:1\r\n");
}

TEST(FlagsSave, OtherUnsupportedTypesFailToo) {
  for (const com::Variant& value : {com::Variant(), com::Variant(std::make_shared<AdoFlags>()),
                                    com::Variant(com::Decimal{}), com::Variant(com::ByteArray{1})}) {
    AdoFlags flags;
    flags.WriteProperty("X", value);
    EXPECT_EQ(RaisedError([&] { flags.Save(IniPath(), "S"); }).Description(), "bad data type");
  }
}

TEST(FlagsSave, ReplacesSameNamedEntriesAndKeepsTheOthers) {
  const auto path = IniPath();
  std::ofstream(path) << "; settings\n[S]\nKEEP=0008:~:kept\ntimeout=0003:~:5\n[T]\nX=1\n";
  AdoFlags flags;
  flags.WriteProperty("TIMEOUT", com::Variant(int32_t{30}));
  flags.WriteProperty("NEW", com::Variant("n"));
  flags.Save(path, "s");
  EXPECT_EQ(ReadText(path), "; settings\n[S]\nKEEP=0008:~:kept\ntimeout=0003:~:30\nNEW=0008:~:n\n[T]\nX=1\n");
}

TEST(FlagsLoad, AMissingSectionOrFileLeavesTheCollectionUnchanged) {
  const auto path = IniPath();
  AdoFlags flags;
  flags.WriteProperty("A", com::Variant(int32_t{1}));
  EXPECT_TRUE(flags.Load(path, "S"));
  std::ofstream(path) << "[Other]\nB=0003:~:2\n";
  EXPECT_TRUE(flags.Load(path, "S"));
  ASSERT_EQ(flags.Count(), 1);
  EXPECT_EQ(flags.Item(int32_t{1})->Value().Get<int32_t>(), 1);
}

TEST(FlagsLoad, KeepsFlagsAbsentFromTheSectionAndOverwritesPresentOnes) {
  const auto path = IniPath();
  std::ofstream(path) << "[S]\r\n a = 0003:~:2 \r\nnot a flag\r\n";
  AdoFlags flags;
  flags.WriteProperty("A", com::Variant(int32_t{1}));
  flags.WriteProperty("KEEP", com::Variant("k"));
  flags.Load(path, "s");
  ASSERT_EQ(flags.Count(), 2);
  EXPECT_EQ(flags.Item(int32_t{1})->Name(), "a");
  EXPECT_EQ(flags.ReadProperty("A", com::Variant()).Get<int32_t>(), 2);
}

// A NUL byte ends a line's text: "X\0=v" is the line "X", not a flag named ""
// (the section's lines reach the flag reader NUL-separated).
TEST(FlagsLoad, ANulByteEndsTheLineAndMakesNoFlagWithAnEmptyName) {
  const auto path = IniPath();
  std::ofstream(path, std::ios::binary) << "[S]\nX\0=0008:~:v\nA=0003:~:1\0=0008:~:w\n"s;
  AdoFlags flags;
  flags.Load(path, "S");
  ASSERT_EQ(flags.Count(), 1);
  EXPECT_EQ(flags.Item(int32_t{1})->Name(), "A");
  EXPECT_EQ(flags.Item(int32_t{1})->Value().Get<int32_t>(), 1);
  EXPECT_FALSE(flags.ItemExist(""));
}

TEST(FlagsLoad, BadDataReportsTheLoadSource) {
  const auto path = IniPath();
  std::ofstream(path) << "[S]\nX=0009:~:1\n";
  AdoFlags flags;
  const com::Error e = RaisedError([&] { flags.Load(path, "S"); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "bad data type");
  EXPECT_EQ(e.Source(), "Velmora.AdoFlags.Load");
}

TEST(FlagsIni, EveryTypeRoundTripsWithNameValueAndType) {
  const auto path = IniPath();
  const auto flags = FlagsOfEveryType();
  flags->Save(path, "Every");
  AdoFlags loaded;
  loaded.Load(path, "Every");
  ExpectSameFlags(*flags, loaded);
}

// --------------------------------------------------------------- LineSplit

TEST(FlagsLineSplit, DefaultSeparatorCutsSeveralFlags) {
  AdoFlags flags;
  EXPECT_TRUE(flags.LineSplit("A=0002:~:1::B=0008:~:x"));
  ASSERT_EQ(flags.Count(), 2);
  const com::Variant a = flags.ReadProperty("A", com::Variant());
  EXPECT_EQ(a.VarType(), com::vbInteger);
  EXPECT_EQ(a.Get<int16_t>(), 1);
  EXPECT_EQ(flags.ReadProperty("B", com::Variant()).Get<std::string>(), "x");
}

TEST(FlagsLineSplit, CutsAtTheFirstEqualsAndKeepsTheRestOfTheValue) {
  AdoFlags flags;
  flags.LineSplit("EXPR=0008:~:a=b;c=d|N=0003:~:7", "|");
  EXPECT_EQ(flags.ReadProperty("EXPR", com::Variant()).Get<std::string>(), "a=b;c=d");
  EXPECT_EQ(flags.ReadProperty("N", com::Variant()).Get<int32_t>(), 7);
}

TEST(FlagsLineSplit, PiecesWithoutEqualsAreSkipped) {
  AdoFlags flags;
  flags.LineSplit("::junk::A=0003:~:1::");
  ASSERT_EQ(flags.Count(), 1);
  EXPECT_EQ(flags.Item(int32_t{1})->Name(), "A");
}

TEST(FlagsLineSplit, ControlStringFormDecodesToAString) {
  AdoFlags flags;
  flags.LineSplit("H=2011:~:610962");
  const com::Variant h = flags.ReadProperty("H", com::Variant());
  EXPECT_EQ(h.VarType(), com::vbString);
  EXPECT_EQ(h.Get<std::string>(), "a\tb");
}

TEST(FlagsLineSplit, UnknownCodesFailWithBadDataTypeUnderTheLineSplitSource) {
  for (const char* text : {"X=0009:~:1", "X=0001:~:", "X=000E:~:1", "X=0003-~-1", "X=0003", "X=3", "X=0003:~"}) {
    AdoFlags flags;
    const com::Error e = RaisedError([&] { flags.LineSplit(text); });
    EXPECT_EQ(e.Number(), 20000) << text;
    EXPECT_EQ(e.Description(), "bad data type") << text;
    EXPECT_EQ(e.Source(), "Velmora.AdoFlags.LineSplit") << text;
  }
}

TEST(FlagsLineSplit, MalformedValuesRaiseConversionErrorsAndStoreNothing) {
  AdoFlags flags;
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=0003:~:1::B=00G3:~:1"); }).Number(), 13);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=0003:~:abc"); }).Number(), 13);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A="); }).Number(), 13);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=0002:~:99999"); }).Number(), 6);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=0007:~:20091331230509"); }).Number(), 13);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=0007:~:2009123123050"); }).Number(), 13);
  EXPECT_EQ(RaisedError([&] { flags.LineSplit("A=2011:~:6"); }).Number(), 20000);
  EXPECT_EQ(flags.Count(), 0);
}

// ------------------------------------------------------ Serialize buffers

TEST(FlagsSerialize, EveryTypeRoundTripsThroughAnotherCollection) {
  const auto flags = FlagsOfEveryType();
  flags->WriteProperty("Null", com::Null);
  flags->WriteProperty("Nothing", com::Variant());
  flags->WriteProperty("Bytes", com::Variant(com::ByteArray{0, 1, 255}));
  std::string buffer = "previous contents";
  EXPECT_TRUE(flags->Serialize(buffer));
  AdoFlags copy;
  EXPECT_TRUE(copy.Deserialize(buffer));
  ExpectSameFlags(*flags, copy);
}

TEST(FlagsSerialize, AnEmptyCollectionGivesAValidBuffer) {
  std::string buffer;
  AdoFlags().Serialize(buffer);
  AdoFlags copy;
  copy.WriteProperty("KEEP", com::Variant(int32_t{1}));
  copy.Deserialize(buffer);
  EXPECT_EQ(copy.Count(), 1);
}

TEST(FlagsSerialize, ObjectsFailUnderTheLoadSourceAndLeaveAnEmptyBuffer) {
  AdoFlags flags;
  flags.WriteProperty("OBJ", com::Variant(std::make_shared<AdoFlags>()));
  std::string buffer = "x";
  const com::Error e = RaisedError([&] { flags.Serialize(buffer); });
  EXPECT_EQ(e.Description(), "bad data type");
  EXPECT_EQ(e.Source(), "Velmora.AdoFlags.Load");
  EXPECT_EQ(buffer, "");
}

TEST(FlagsDeserialize, TruncatedOrCorruptBuffersFailUnderTheLoadSourceAndStoreNothing) {
  std::string buffer;
  FlagsOfEveryType()->Serialize(buffer);
  std::string corrupt = buffer;
  corrupt[buffer.size() / 2] ^= 0x20;
  for (const std::string& bad : {buffer.substr(0, buffer.size() - 1), buffer.substr(0, buffer.size() / 2), corrupt,
                                 std::string("not a buffer"), std::string()}) {
    AdoFlags flags;
    const com::Error e = RaisedError([&] { flags.Deserialize(bad); });
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Description().rfind("Invalid flag buffer: ", 0), 0u) << e.Description();
    EXPECT_EQ(e.Source(), "Velmora.AdoFlags.Load");
    EXPECT_EQ(flags.Count(), 0);
  }
}

// A sealed buffer (header and checksum) around `body`.
std::string Sealed(const std::string& body) {
  std::string buffer;
  Support().TypedBufferStart(buffer);
  buffer += body;
  Support().TypedBufferFinish(buffer);
  return buffer;
}

// Counts larger than the bytes that follow could hold are refused before
// anything is read for them.
TEST(FlagsDeserialize, CountsLargerThanTheDataAreRefused) {
  const std::string hugeFlagCount = "0003:10:2147483647";
  const std::string hugeArray = "0003:1:10008:1:a200C:14:[0:4294967295]";
  for (const std::string& body : {hugeFlagCount, hugeArray}) {
    AdoFlags flags;
    const com::Error e = RaisedError([&] { flags.Deserialize(Sealed(body)); });
    EXPECT_EQ(e.Number(), 20000) << body;
    EXPECT_NE(e.Description().find("count larger than the data"), std::string::npos) << e.Description();
    EXPECT_EQ(flags.Count(), 0);
  }
}

}  // namespace
}  // namespace velmora
