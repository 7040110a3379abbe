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
void AppendUtf8(std::string& out, char32_t cp);

// UTF-16LE bytes of a UTF-8 text (malformed bytes become U+FFFD) and back
// (unpaired surrogates and a trailing odd byte become U+FFFD).
std::vector<uint8_t> Utf8ToUtf16Le(std::string_view s);
std::string Utf16LeToUtf8(const std::vector<uint8_t>& bytes);

}  // namespace velmora::com::detail
