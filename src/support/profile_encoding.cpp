// The control-character test and the hexadecimal form of strings that hold
// control characters (flag type code 2011).
#include <array>
#include <bitset>

#include "velmora/com/error.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

int HexValue(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Length of the UTF-8 sequence starting with `lead` (1 for a stray byte).
std::size_t SequenceLength(unsigned char lead) noexcept {
  if (lead >= 0xF0) return 4;
  if (lead >= 0xE0) return 3;
  if (lead >= 0xC0) return 2;
  return 1;
}

}  // namespace

// ASCII members are looked up in a bitmap in one pass over the text; any
// other member is a UTF-8 sequence, and since UTF-8 synchronises itself a
// substring search finds exactly the whole code point.
bool ProfileServices::StringHasAnyChar(std::string_view text, std::string_view charSet) const {
  std::bitset<128> ascii;
  bool hasAscii = false;
  for (std::size_t i = 0; i < charSet.size();) {
    const auto lead = static_cast<unsigned char>(charSet[i]);
    const std::size_t length = std::min(SequenceLength(lead), charSet.size() - i);
    if (lead < 0x80) {
      ascii.set(lead);
      hasAscii = true;
    } else if (text.find(charSet.substr(i, length)) != std::string_view::npos) {
      return true;
    }
    i += length;
  }
  if (!hasAscii) return false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && ascii.test(byte)) return true;
  }
  return false;
}

std::string ProfileServices::ControlStringEncode(std::string_view text) const {
  std::string encoded;
  encoded.reserve(text.size() * 2);
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    encoded += kHexDigits[byte >> 4];
    encoded += kHexDigits[byte & 0x0F];
  }
  return encoded;
}

std::string ProfileServices::ControlStringDecode(std::string_view encoded) const {
  if (encoded.size() % 2 != 0) com::Raise(com::errLibrary, "bad data type");
  std::string text;
  text.reserve(encoded.size() / 2);
  for (std::size_t i = 0; i < encoded.size(); i += 2) {
    const int high = HexValue(encoded[i]);
    const int low = HexValue(encoded[i + 1]);
    if (high < 0 || low < 0) com::Raise(com::errLibrary, "bad data type");
    text += static_cast<char>(high * 16 + low);
  }
  return text;
}

}  // namespace velmora::support
