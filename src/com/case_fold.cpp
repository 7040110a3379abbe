// Folding of keys for comparison without regard to case: simple case folding
// of the scripts keys are written in (Latin, Greek, Cyrillic, Armenian,
// Georgian, fullwidth Latin). Bytes that are not valid UTF-8 pass unchanged.
#include <string>
#include <string_view>

#include "utf.hpp"
#include "velmora/com/collection.hpp"

namespace velmora::com {
namespace {

struct Range {
  char32_t first, last;
  enum Kind { Offset, EvenUpper, OddUpper } kind;
  int32_t offset;  // for Offset ranges
};

// Upper-case ranges: a fixed offset to the lower case, or alternating
// upper/lower pairs starting at an even or odd code point.
constexpr Range kRanges[] = {
    {0x41, 0x5A, Range::Offset, 32},        {0xC0, 0xD6, Range::Offset, 32},
    {0xD8, 0xDE, Range::Offset, 32},        {0x100, 0x12F, Range::EvenUpper, 0},
    {0x132, 0x137, Range::EvenUpper, 0},    {0x139, 0x148, Range::OddUpper, 0},
    {0x14A, 0x177, Range::EvenUpper, 0},    {0x179, 0x17E, Range::OddUpper, 0},
    {0x1CD, 0x1DC, Range::OddUpper, 0},     {0x1DE, 0x1EF, Range::EvenUpper, 0},
    {0x1F8, 0x21F, Range::EvenUpper, 0},    {0x222, 0x233, Range::EvenUpper, 0},
    {0x388, 0x38A, Range::Offset, 37},      {0x38E, 0x38F, Range::Offset, 63},
    {0x391, 0x3A1, Range::Offset, 32},      {0x3A3, 0x3AB, Range::Offset, 32},
    {0x3D8, 0x3EF, Range::EvenUpper, 0},    {0x400, 0x40F, Range::Offset, 80},
    {0x410, 0x42F, Range::Offset, 32},      {0x460, 0x481, Range::EvenUpper, 0},
    {0x48A, 0x4BF, Range::EvenUpper, 0},    {0x4C1, 0x4CE, Range::OddUpper, 0},
    {0x4D0, 0x52F, Range::EvenUpper, 0},    {0x531, 0x556, Range::Offset, 48},
    {0x10A0, 0x10C5, Range::Offset, 0x1C60}, {0x1E00, 0x1E95, Range::EvenUpper, 0},
    {0x1EA0, 0x1EFF, Range::EvenUpper, 0},  {0xFF21, 0xFF3A, Range::Offset, 32},
};

struct Single {
  char32_t from, to;
};
constexpr Single kSingles[] = {
    {0xB5, 0x3BC},  {0x130, 0x69},  {0x178, 0xFF},  {0x17F, 0x73},  {0x386, 0x3AC}, {0x38C, 0x3CC},
    {0x3C2, 0x3C3}, {0x4C0, 0x4CF}, {0x1E9E, 0xDF}, {0x212A, 0x6B}, {0x212B, 0xE5},
};

char32_t FoldCodePoint(char32_t c) {
  for (const Range& r : kRanges) {
    if (c < r.first || c > r.last) continue;
    switch (r.kind) {
      case Range::Offset: return c + static_cast<char32_t>(r.offset);
      case Range::EvenUpper: return c % 2 == 0 ? c + 1 : c;
      case Range::OddUpper: return c % 2 == 1 ? c + 1 : c;
    }
  }
  for (const Single& s : kSingles)
    if (s.from == c) return s.to;
  return c;
}

}  // namespace

std::string FoldKeyCase(std::string_view key) {
  std::string out;
  out.reserve(key.size());
  for (size_t i = 0; i < key.size();) {
    const auto byte = static_cast<unsigned char>(key[i]);
    if (byte < 0x80) {
      out.push_back(static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte));
      ++i;
      continue;
    }
    const size_t start = i;
    char32_t cp = 0;
    if (detail::NextCodePoint(key, i, cp)) detail::AppendUtf8(out, FoldCodePoint(cp));
    else out.append(key.substr(start, i - start));
  }
  return out;
}

}  // namespace velmora::com
