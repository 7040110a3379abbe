#pragma once
// The order of keys: binary, code unit by code unit, as the keys' UTF-16 form
// compares. Keys are held as UTF-8, whose byte order is code-point order;
// the two differ in one place only: characters U+E000..U+FFFF are single
// UTF-16 units above the surrogates that encode characters beyond U+FFFF,
// so in UTF-16 they sort after those characters, while their UTF-8 lead
// bytes (0xEE, 0xEF) sort before the 0xF0..0xF4 of the others.
#include <algorithm>
#include <string_view>

namespace velmora::collections {

// Negative, zero or positive as `a` sorts before, equal to or after `b`.
inline int CompareKeys(std::string_view a, std::string_view b) noexcept {
  const auto [ia, ib] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (ia == a.end()) return ib == b.end() ? 0 : -1;
  if (ib == b.end()) return 1;
  const auto x = static_cast<unsigned char>(*ia);
  const auto y = static_cast<unsigned char>(*ib);
  const auto upperBmp = [](unsigned char lead) { return lead == 0xEE || lead == 0xEF; };
  const auto beyondBmp = [](unsigned char lead) { return lead >= 0xF0 && lead <= 0xF4; };
  if (upperBmp(x) && beyondBmp(y)) return 1;
  if (beyondBmp(x) && upperBmp(y)) return -1;
  return x < y ? -1 : 1;
}

}  // namespace velmora::collections
