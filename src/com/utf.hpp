#pragma once
// The text unit: code points, UTF-8 <-> UTF-16 (as char16_t units or as
// UTF-16LE bytes, one codec behind both), other character sets through
// iconv, and the validity checks of text handed to an engine.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::com::detail {

inline constexpr char32_t kReplacementChar = 0xFFFD;

// What the codecs make of a surrogate code point that is not part of a
// pair: U+FFFD (Replace), or a character of its own, written in UTF-8 in
// the generalized three-byte form (Keep), so that UTF-16 data that is not
// well-formed comes back as the same units.
enum class LoneSurrogates { Replace, Keep };
// What UTF-16LE bytes of odd length end with: U+FFFD, or nothing.
enum class OddLastByte { Replace, Drop };

// Decodes the code point at `i` and advances past it; on a malformed
// sequence returns false and advances by one byte. An encoded surrogate is
// malformed unless `surrogates` keeps it.
bool NextCodePoint(std::string_view s, size_t& i, char32_t& cp,
                   LoneSurrogates surrogates = LoneSurrogates::Replace);
// The byte offset after the first `count` characters of `s`, counting a
// lead byte with its continuation bytes as one character.
size_t OffsetAfterChars(std::string_view s, size_t start, int64_t count);
// The offset of the first byte that does not begin a well-formed UTF-8
// sequence (overlong forms, encoded surrogates and values beyond U+10FFFF
// are malformed); npos when the whole text is well-formed.
size_t FirstMalformedUtf8(std::string_view s);
bool IsValidUtf8(std::string_view s);
// Text handed to a database engine: raises 5 (invalid procedure call or
// argument) with a description that starts with `what` ("the statement
// text") unless `text` is well-formed UTF-8 without a NUL character. Engines would alter either silently (replace malformed bytes,
// end the text at the NUL), so both are refused before they get there.
void RequireEngineText(std::string_view text, const std::string& what);
void AppendUtf8(std::string& out, char32_t cp);

// UTF-8 to UTF-16: each malformed byte becomes U+FFFD.
std::u16string Utf8ToUtf16(std::string_view s, LoneSurrogates surrogates = LoneSurrogates::Replace);
std::vector<uint8_t> Utf8ToUtf16Le(std::string_view s, LoneSurrogates surrogates = LoneSurrogates::Replace);

// UTF-16 to UTF-8.
void AppendUtf8FromUtf16(std::string& out, std::u16string_view units,
                         LoneSurrogates surrogates = LoneSurrogates::Replace);
std::string Utf16LeToUtf8(const uint8_t* data, size_t size, LoneSurrogates surrogates, OddLastByte oddByte);
inline std::string Utf16LeToUtf8(const std::vector<uint8_t>& bytes) {
  return Utf16LeToUtf8(bytes.data(), bytes.size(), LoneSurrogates::Replace, OddLastByte::Replace);
}
// The character at `offset` of UTF-16LE bytes (at least two left) and the
// offset after it.
char32_t NextUtf16LeChar(const uint8_t* data, size_t size, size_t& offset, LoneSurrogates surrogates);

// Other character sets, named as iconv names them ("WINDOWS-1252"). Each
// returns nullopt when iconv does not know the set. A character the set
// lacks becomes '?', except U+0080..U+009F, which become their own byte; a
// byte that does not decode becomes the character of the same value.
bool IsKnownCharset(const std::string& charset);
std::optional<std::vector<uint8_t>> CharsetBytesFromUtf8(std::string_view text, const std::string& charset);
std::optional<std::string> Utf8FromCharsetBytes(const uint8_t* data, size_t size, const std::string& charset);
// The character at `offset` of bytes in the set (at least one left) and the
// offset after it; nullopt when iconv does not know the set.
std::optional<char32_t> NextCharsetChar(const uint8_t* data, size_t size, size_t& offset,
                                        const std::string& charset);

// ASCII letters compared without regard to case (keys of connection
// strings, driver and character-set names, column names from a driver).
bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b);
bool ContainsIgnoringAsciiCase(std::string_view text, std::string_view part);

}  // namespace velmora::com::detail
