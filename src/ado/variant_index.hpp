#pragma once
// A position given as a Variant (Fields.Item, a bookmark).
#include <cmath>
#include <cstdint>

#include "velmora/com/variant.hpp"

namespace velmora::ado::detail {

// The whole number a numeric Variant holds (fractions dropped toward minus
// infinity), or -1 when it holds none.
inline int64_t PositionOf(const com::Variant& v) {
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  if (auto p = v.TryGet<double>()) return std::isfinite(*p) ? static_cast<int64_t>(std::floor(*p)) : -1;
  if (auto p = v.TryGet<float>()) return std::isfinite(*p) ? static_cast<int64_t>(std::floor(*p)) : -1;
  return -1;
}

}  // namespace velmora::ado::detail
