#pragma once
// The text form of one flag value: the variant type code in four hex
// digits, the marker ":~:", and the value as text.
#include <string>
#include <string_view>

#include "velmora/com/variant.hpp"

namespace velmora::flags {

// Type code of a string holding control characters, stored as hex of its
// UTF-8 bytes (the code of a byte array).
inline constexpr int kControlStringCode = 0x2011;

// "CCCC:~:VALUE" for `value`; a string holding any of `controlChars` gets
// the code 2011 and its hex form. Types without a text form raise 20000
// "bad data type".
std::string EncodeFlagValue(const com::Variant& value, const std::string& controlChars);
// The value of a "CCCC:~:VALUE" text. A code that is not hex raises 13, an
// unknown code or a missing marker 20000 "bad data type"; a value that does
// not convert to its type raises the conversion's error (13 or 6).
com::Variant DecodeFlagValue(std::string_view text);

}  // namespace velmora::flags
