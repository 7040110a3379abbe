#pragma once
// UTF-8 and UTF-16LE helpers.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::com::detail {

// Decodes the code point at `i` and advances past it; on a malformed
// sequence returns false and advances by one byte.
bool NextCodePoint(std::string_view s, size_t& i, char32_t& cp);
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

// UTF-16LE bytes of a UTF-8 text (malformed bytes become U+FFFD) and back
// (unpaired surrogates and a trailing odd byte become U+FFFD).
std::vector<uint8_t> Utf8ToUtf16Le(std::string_view s);
std::string Utf16LeToUtf8(const std::vector<uint8_t>& bytes);

}  // namespace velmora::com::detail
