#include "utf.hpp"

#include <cstdio>

#include "velmora/com/error.hpp"

namespace velmora::com::detail {
namespace {
constexpr char32_t kReplacement = 0xFFFD;

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }
}  // namespace

bool NextCodePoint(std::string_view s, size_t& i, char32_t& cp) {
  const auto lead = static_cast<unsigned char>(s[i]);
  int length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
  if (length == 0 || i + static_cast<size_t>(length) > s.size()) {
    ++i;
    return false;
  }
  char32_t value = length == 1 ? lead : lead & (0x7F >> length);
  for (int k = 1; k < length; ++k) {
    const auto c = static_cast<unsigned char>(s[i + static_cast<size_t>(k)]);
    if (!IsContinuation(c)) {
      ++i;
      return false;
    }
    value = (value << 6) | (c & 0x3F);
  }
  static constexpr char32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kMinimum[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    ++i;
    return false;
  }
  i += static_cast<size_t>(length);
  cp = value;
  return true;
}

size_t FirstMalformedUtf8(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    const size_t start = i;
    char32_t cp = 0;
    if (!NextCodePoint(s, i, cp)) return start;
  }
  return std::string_view::npos;
}

bool IsValidUtf8(std::string_view s) { return FirstMalformedUtf8(s) == std::string_view::npos; }

void RequireEngineText(std::string_view text, const std::string& what) {
  const size_t bad = FirstMalformedUtf8(text);
  if (bad != std::string_view::npos) {
    char byte[8];
    std::snprintf(byte, sizeof byte, "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(text[bad])));
    Raise(errInvalidProcedureCall,
          what + " is not valid UTF-8 (byte " + byte + " at offset " + std::to_string(bad) + ")");
  }
  const size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    Raise(errInvalidProcedureCall, what + " holds a NUL character (at offset " + std::to_string(nul) +
                                       "), which the engine would cut");
  }
}

void AppendUtf8(std::string& out, char32_t cp) {
  auto put = [&out](char32_t bits) { out.push_back(static_cast<char>(bits)); };
  if (cp < 0x80) {
    put(cp);
  } else if (cp < 0x800) {
    put(0xC0 | (cp >> 6));
    put(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    put(0xE0 | (cp >> 12));
    put(0x80 | ((cp >> 6) & 0x3F));
    put(0x80 | (cp & 0x3F));
  } else {
    put(0xF0 | (cp >> 18));
    put(0x80 | ((cp >> 12) & 0x3F));
    put(0x80 | ((cp >> 6) & 0x3F));
    put(0x80 | (cp & 0x3F));
  }
}

std::vector<uint8_t> Utf8ToUtf16Le(std::string_view s) {
  std::vector<uint8_t> out;
  out.reserve(s.size() * 2);
  auto unit = [&out](char32_t u) {
    out.push_back(static_cast<uint8_t>(u & 0xFF));
    out.push_back(static_cast<uint8_t>(u >> 8));
  };
  for (size_t i = 0; i < s.size();) {
    char32_t cp = kReplacement;
    if (!NextCodePoint(s, i, cp)) cp = kReplacement;
    if (cp >= 0x10000) {
      unit(0xD800 + ((cp - 0x10000) >> 10));
      unit(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      unit(cp);
    }
  }
  return out;
}

std::string Utf16LeToUtf8(const std::vector<uint8_t>& bytes) {
  std::string out;
  out.reserve(bytes.size());
  const size_t units = bytes.size() / 2;
  auto at = [&bytes](size_t k) { return static_cast<char32_t>(bytes[2 * k] | (bytes[2 * k + 1] << 8)); };
  for (size_t k = 0; k < units; ++k) {
    char32_t u = at(k);
    if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units && at(k + 1) >= 0xDC00 && at(k + 1) <= 0xDFFF) {
      AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (at(k + 1) - 0xDC00));
      ++k;
    } else {
      AppendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
    }
  }
  if (bytes.size() % 2 != 0) AppendUtf8(out, kReplacement);
  return out;
}

}  // namespace velmora::com::detail
