#include <gtest/gtest.h>

#include <string>

#include "velmora/ado/stream.hpp"
#include "velmora/fields/field_access.hpp"

namespace velmora {
namespace {

com::ByteArray Bytes(std::string_view text) {
  return com::ByteArray(text.begin(), text.end());
}

// What a long column holds after StringToBlob (a binary column keeps the
// chunk's bytes; a string chunk is stored as its UTF-16LE bytes).
com::ByteArray StoredBytes(const com::Variant& chunk) {
  if (const auto* bytes = chunk.TryGet<com::ByteArray>()) return *bytes;
  return ado::Utf16leBytesFromString(chunk.Get<std::string>());
}

std::string RoundTrip(const std::string& text, bool writeAnsi, bool readAnsi) {
  return BlobTextOf(StoredBytes(BlobChunkOf(com::Variant(text), writeAnsi)), readAnsi);
}

TEST(BlobChunkOf, AnsiTextBecomesWindows1252Bytes) {
  const com::Variant chunk = BlobChunkOf(com::Variant("Perché €"), true);
  EXPECT_EQ(chunk.VarType(), com::vbByteArray);
  EXPECT_EQ(chunk.Get<com::ByteArray>(), Bytes("Perch\xE9 \x80"));
}

TEST(BlobChunkOf, UnicodeTextGoesAsText) {
  const com::Variant chunk = BlobChunkOf(com::Variant("Perché"), false);
  EXPECT_EQ(chunk.VarType(), com::vbString);
  EXPECT_EQ(chunk.Get<std::string>(), "Perché");
}

TEST(BlobChunkOf, EmptyTextStaysAnEmptyString) {
  const com::Variant chunk = BlobChunkOf(com::Variant(""), true);
  EXPECT_EQ(chunk.VarType(), com::vbString);
  EXPECT_EQ(chunk.Get<std::string>(), "");
}

TEST(BlobChunkOf, BytesAndOtherValuesGoAsGiven) {
  EXPECT_EQ(BlobChunkOf(com::Variant(com::ByteArray{1, 2}), true).Get<com::ByteArray>(),
            (com::ByteArray{1, 2}));
  EXPECT_EQ(BlobChunkOf(com::Variant(int32_t{5}), true).VarType(), com::vbLong);
}

TEST(BlobTextOf, SameSettingBothWaysRoundTrips) {
  EXPECT_EQ(RoundTrip("Città € œ", true, true), "Città € œ");
  EXPECT_EQ(RoundTrip("Città € 😀 Ω", false, false), "Città € 😀 Ω");
}

TEST(BlobTextOf, AnsiBlobLosesCharactersOutsideTheCodePage) {
  EXPECT_EQ(RoundTrip("Ω😀", true, true), "??");
}

TEST(BlobTextOf, AnsiWrittenUnicodeReadGivesHalfTheLengthOfPairedBytes) {
  const std::string read = RoundTrip("abcdef", true, false);
  EXPECT_EQ(read, "\u6261\u6463\u6665");  // 'a'+'b'<<8, 'c'+'d'<<8, 'e'+'f'<<8
}

TEST(BlobTextOf, AnsiWrittenOddLengthLosesTheLastByteReadAsUnicode) {
  EXPECT_EQ(RoundTrip("abc", true, false), "\u6261");
}

TEST(BlobTextOf, UnicodeWrittenAnsiReadGivesTwiceTheLength) {
  EXPECT_EQ(RoundTrip("abc", false, true), std::string("a\0b\0c\0", 6));
}

TEST(BlobTextOf, OddByteCountKeepsEveryByteOnTheAnsiPath) {
  EXPECT_EQ(BlobTextOf(Bytes("abc"), true), "abc");
}

TEST(BlobTextOf, NoBytesIsEmptyText) {
  EXPECT_EQ(BlobTextOf({}, true), "");
  EXPECT_EQ(BlobTextOf({}, false), "");
}

TEST(BlobTextOf, AnsiBytesThatPairIntoASurrogateSurviveAsUnicode) {
  // "aÙ" in Windows-1252 is 61 D9: read two a character it is the lone
  // surrogate U+D961, which must come back as the same two bytes.
  const std::string read = RoundTrip("aÙ", true, false);
  EXPECT_EQ(ado::Utf16leBytesFromString(read), Bytes("a\xD9"));
}

}  // namespace
}  // namespace velmora
