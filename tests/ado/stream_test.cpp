#include "velmora/ado/stream.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "velmora/com/error.hpp"
#include "support_common/raised_error.hpp"

namespace {

using velmora::ado::Stream;
namespace ado = velmora::ado;
namespace com = velmora::com;

using velmora::test::ErrorNumber;

std::shared_ptr<Stream> OpenStream(int32_t type) {
  auto s = std::make_shared<Stream>();
  s->Type(type);
  s->Open();
  return s;
}

com::ByteArray Bytes(std::string_view text) {
  return com::ByteArray(text.begin(), text.end());
}

TEST(Stream, NewStreamIsClosedTextUnicode) {
  Stream s;
  EXPECT_EQ(s.State(), 0);
  EXPECT_EQ(s.Type(), ado::adTypeText);
  EXPECT_EQ(s.Charset(), "Unicode");
  EXPECT_EQ(s.LineSeparator(), ado::adCRLF);
  EXPECT_EQ(s.Mode(), 0);
}

TEST(Stream, ClosedStreamRaises3704) {
  Stream s;
  EXPECT_EQ(ErrorNumber([&] { s.Size(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.IsEOS(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.Position(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.Position(0); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.Read(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.ReadText(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.SetEOS(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { s.Close(); }), ado::adErrObjectClosed);
}

TEST(Stream, OpenWithoutSourceIsEmpty) {
  Stream s;
  s.Open();
  EXPECT_EQ(s.State(), 1);
  EXPECT_EQ(s.Size(), 0);
  EXPECT_EQ(s.Position(), 0);
  EXPECT_TRUE(s.IsEOS());
  EXPECT_EQ(ErrorNumber([&] { s.Open(); }), ado::adErrObjectOpen);
}

TEST(Stream, OpenWithSourceIsNotSupported) {
  Stream s;
  EXPECT_EQ(ErrorNumber([&] { s.Open(com::Variant("file.bin")); }), ado::adErrFeatureNotAvailable);
  EXPECT_EQ(s.State(), 0);
}

TEST(Stream, CloseTwiceRaises) {
  Stream s;
  s.Open();
  s.Close();
  EXPECT_EQ(s.State(), 0);
  EXPECT_EQ(ErrorNumber([&] { s.Close(); }), ado::adErrObjectClosed);
  s.Open();  // can be opened again, empty
  EXPECT_EQ(s.Size(), 0);
}

TEST(Stream, TextStreamCountsBytesWithByteOrderMark) {
  auto s = OpenStream(ado::adTypeText);
  EXPECT_EQ(s->ReadText(), "");
  s->WriteText("test");
  EXPECT_EQ(s->Size(), 10);
  EXPECT_EQ(s->Position(), 10);
  EXPECT_EQ(s->ReadText(ado::adReadAll), "");
  EXPECT_TRUE(s->IsEOS());
  s->Position(0);
  EXPECT_EQ(s->ReadText(), "test");
  EXPECT_TRUE(s->IsEOS());
}

TEST(Stream, SetEOSTruncatesAtPosition) {
  auto s = OpenStream(ado::adTypeText);
  s->WriteText("test");
  s->Position(6);
  EXPECT_EQ(s->Size(), 10);
  s->Position(2);
  s->SetEOS();
  EXPECT_EQ(s->Size(), 2);
  EXPECT_EQ(s->Position(), 2);
}

TEST(Stream, TextStreamRejectsByteOperations) {
  auto s = OpenStream(ado::adTypeText);
  EXPECT_EQ(ErrorNumber([&] { s->Read(); }), ado::adErrIllegalOperation);
  EXPECT_EQ(ErrorNumber([&] { s->Write(Bytes("ab")); }), ado::adErrIllegalOperation);
}

TEST(Stream, BinaryStreamRejectsTextOperations) {
  auto s = OpenStream(ado::adTypeBinary);
  EXPECT_EQ(ErrorNumber([&] { s->ReadText(); }), ado::adErrIllegalOperation);
  EXPECT_EQ(ErrorNumber([&] { s->WriteText("x"); }), ado::adErrIllegalOperation);
}

TEST(Stream, BinaryReadOfEmptyStreamIsNull) {
  auto s = OpenStream(ado::adTypeBinary);
  EXPECT_TRUE(s->Read(1).IsNull());
  EXPECT_TRUE(s->Read().IsNull());
}

TEST(Stream, BinaryWriteRejectsEmptyAndNonBytes) {
  auto s = OpenStream(ado::adTypeBinary);
  EXPECT_EQ(ErrorNumber([&] { s->Write(com::Variant()); }), ado::adErrInvalidArgument);
  EXPECT_EQ(ErrorNumber([&] { s->Write(com::Null); }), ado::adErrInvalidArgument);
  EXPECT_EQ(ErrorNumber([&] { s->Write(int32_t{4}); }), ado::adErrInvalidArgument);
}

TEST(Stream, BinaryWriteThenReadAll) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::ByteArray{1, 2, 3, 4});
  EXPECT_EQ(s->Position(), 4);
  s->Position(0);
  const com::Variant all = s->Read(ado::adReadAll);
  EXPECT_EQ(all.VarType(), com::vbByteArray);
  EXPECT_EQ(all.Get<com::ByteArray>(), (com::ByteArray{1, 2, 3, 4}));
  EXPECT_EQ(s->Position(), 4);
  EXPECT_TRUE(s->Read().IsNull());
}

TEST(Stream, BinaryReadCountStopsAtEnd) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::ByteArray{9, 8, 7});
  s->Position(1);
  EXPECT_EQ(s->Read(1).Get<com::ByteArray>(), (com::ByteArray{8}));
  EXPECT_EQ(s->Read(10).Get<com::ByteArray>(), (com::ByteArray{7}));
  EXPECT_EQ(ErrorNumber([&] { s->Read(-3); }), ado::adErrInvalidArgument);
}

TEST(Stream, WriteOverwritesThenExtends) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::ByteArray{1, 2, 3});
  s->Position(1);
  s->Write(com::ByteArray{5, 6, 7});
  s->Position(0);
  EXPECT_EQ(s->Read().Get<com::ByteArray>(), (com::ByteArray{1, 5, 6, 7}));
}

TEST(Stream, PositionBeyondEndExtendsWithZeros) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Position(3);
  EXPECT_EQ(s->Size(), 3);
  s->Position(0);
  EXPECT_EQ(s->Read().Get<com::ByteArray>(), (com::ByteArray{0, 0, 0}));
  EXPECT_EQ(ErrorNumber([&] { s->Position(-1); }), ado::adErrInvalidArgument);
}

TEST(Stream, StringWrittenToBinaryStreamGivesUtf16leBytes) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::Variant("Aé€"));
  s->Position(0);
  EXPECT_EQ(s->Read().Get<com::ByteArray>(), (com::ByteArray{0x41, 0x00, 0xE9, 0x00, 0xAC, 0x20}));
}

TEST(Stream, EmptyStringWritesNothing) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::Variant(""));
  EXPECT_EQ(s->Size(), 0);
}

TEST(Stream, TypeAndCharsetAreFixedAwayFromTheStart) {
  auto s = OpenStream(ado::adTypeBinary);
  s->Write(com::ByteArray{1, 2});
  EXPECT_EQ(ErrorNumber([&] { s->Type(ado::adTypeText); }), ado::adErrIllegalOperation);
  EXPECT_EQ(ErrorNumber([&] { s->Charset("utf-8"); }), ado::adErrIllegalOperation);
  s->Position(0);
  s->Type(ado::adTypeText);
  EXPECT_EQ(s->Type(), ado::adTypeText);
  EXPECT_EQ(ErrorNumber([&] { s->Type(3); }), ado::adErrInvalidArgument);
}

TEST(Stream, TextWrittenAsUnicodeReadsBackAsBytes) {
  auto s = OpenStream(ado::adTypeText);
  s->WriteText("hi");
  s->Position(0);
  s->Type(ado::adTypeBinary);
  EXPECT_EQ(s->Read().Get<com::ByteArray>(), (com::ByteArray{0xFF, 0xFE, 'h', 0, 'i', 0}));
}

TEST(Stream, UnknownCharsetRaises) {
  Stream s;
  EXPECT_EQ(ErrorNumber([&] { s.Charset("no-such-charset"); }), ado::adErrInvalidArgument);
  EXPECT_EQ(s.Charset(), "Unicode");
}

TEST(Stream, Windows1252TextHasOneByteACharacter) {
  auto s = OpenStream(ado::adTypeText);
  s->Charset("windows-1252");
  s->WriteText("Perché €");
  EXPECT_EQ(s->Size(), 8);
  s->Position(0);
  EXPECT_EQ(s->ReadText(6), "Perché");
  EXPECT_EQ(s->Position(), 6);
  EXPECT_EQ(s->ReadText(), " €");
}

TEST(Stream, Utf8TextStartsWithByteOrderMark) {
  auto s = OpenStream(ado::adTypeText);
  s->Charset("utf-8");
  s->WriteText("né");
  EXPECT_EQ(s->Size(), 3 + 3);
  s->Position(0);
  EXPECT_EQ(s->ReadText(), "né");
}

TEST(Stream, WriteLineAndReadLine) {
  auto s = OpenStream(ado::adTypeText);
  s->WriteText("one", ado::adWriteLine);
  s->WriteText("two", ado::adWriteLine);
  s->WriteText("three");
  s->Position(0);
  EXPECT_EQ(s->ReadText(ado::adReadLine), "one");
  EXPECT_EQ(s->ReadText(ado::adReadLine), "two");
  EXPECT_EQ(s->ReadText(ado::adReadLine), "three");
  EXPECT_TRUE(s->IsEOS());
}

TEST(Stream, LineFeedSeparator) {
  auto s = OpenStream(ado::adTypeText);
  s->Charset("utf-8");
  s->LineSeparator(ado::adLF);
  s->WriteText("a\r", ado::adWriteLine);
  s->WriteText("b");
  s->Position(0);
  EXPECT_EQ(s->ReadText(ado::adReadLine), "a\r");
  EXPECT_EQ(s->ReadText(ado::adReadLine), "b");
  EXPECT_EQ(ErrorNumber([&] { s->LineSeparator(7); }), ado::adErrInvalidArgument);
}

TEST(Stream, ReadTextCountsCharactersNotBytes) {
  auto s = OpenStream(ado::adTypeText);
  s->WriteText("a😀b");
  s->Position(0);
  EXPECT_EQ(s->ReadText(2), "a😀");
  EXPECT_EQ(s->ReadText(5), "b");
}

// The blob rules: text through a binary stream, two bytes a character.
TEST(Utf16leBytes, RoundTripIncludingSupplementaryCharacters) {
  const std::string text = "Città 😀 ÿ";
  const com::ByteArray bytes = ado::Utf16leBytesFromString(text);
  EXPECT_EQ(bytes.size(), 2u * 10u);  // 8 BMP characters and one surrogate pair
  EXPECT_EQ(ado::StringFromUtf16leBytes(bytes), text);
}

TEST(Utf16leBytes, SingleByteTextReadAsUnicodeHalvesTheLength) {
  const com::ByteArray ansi = Bytes("abcdef");
  EXPECT_EQ(ado::StringFromUtf16leBytes(ansi), "\u6261\u6463\u6665");
}

TEST(Utf16leBytes, OddLastByteIsDropped) {
  EXPECT_EQ(ado::StringFromUtf16leBytes(Bytes("abc")), "\u6261");
  EXPECT_EQ(ado::StringFromUtf16leBytes(Bytes("a")), "");
}

TEST(Utf16leBytes, LoneSurrogatesSurviveTheRoundTrip) {
  const com::ByteArray lone{0x61, 0xD9, 0x41, 0x00, 0x00, 0xDC};  // high, 'A', low
  const std::string text = ado::StringFromUtf16leBytes(lone);
  EXPECT_EQ(text,
            "\xED\xA5\xA1"
            "A"
            "\xED\xB0\x80");
  EXPECT_EQ(ado::Utf16leBytesFromString(text), lone);
}

TEST(Utf16leBytes, InvalidUtf8BecomesReplacementCharacter) {
  EXPECT_EQ(ado::Utf16leBytesFromString("a\xFF"), (com::ByteArray{'a', 0, 0xFD, 0xFF}));
  EXPECT_EQ(ado::Utf16leBytesFromString("\xE2\x82"), (com::ByteArray{0xFD, 0xFF, 0xFD, 0xFF}));
}

TEST(CharsetBytes, Windows1252KeepsEveryByte) {
  com::ByteArray all(256);
  for (int i = 0; i < 256; ++i) all[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
  const std::string text = ado::StringFromCharsetBytes(all.data(), all.size(), "WINDOWS-1252");
  EXPECT_EQ(ado::CharsetBytesFromString(text, "WINDOWS-1252"), all);
  EXPECT_EQ(ado::StringFromCharsetBytes(all.data() + 0x80, 2, "WINDOWS-1252"), "€\u0081");
}

TEST(CharsetBytes, UnrepresentableCharacterBecomesQuestionMark) {
  EXPECT_EQ(ado::CharsetBytesFromString("aΩ😀b", "WINDOWS-1252"), Bytes("a??b"));
}

TEST(CharsetBytes, UnknownCharsetRaises) {
  EXPECT_EQ(ErrorNumber([] { ado::CharsetBytesFromString("x", "no-such-charset"); }),
            ado::adErrInvalidArgument);
}

}  // namespace
