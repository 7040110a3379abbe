#pragma once
// Exact conversions of driver data into variant values: decimal and currency
// text (never through a double) and calendar parts into OLE dates.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/com/datetime.hpp"

namespace velmora::ado::detail {

// "-123.4500", "1e3" is not accepted; nullopt when the text is not a plain
// decimal number or does not fit 96 bits / scale 28.
std::optional<com::Decimal> DecimalFromText(std::string_view text);
// A decimal number rounded to four places (half away from zero); currency
// symbols and group separators are ignored. nullopt on bad text or overflow.
std::optional<com::Currency> CurrencyFromText(std::string_view text);
// A 64-bit integer as a Decimal.
com::Decimal DecimalFromInt64(int64_t value);
com::Decimal DecimalFromUInt64(uint64_t value);

// An OLE date from its parts (fraction: nanoseconds, kept to the millisecond
// precision of a double date).
com::Date DateFromParts(int year, int month, int day, int hour, int minute, int second, uint32_t fraction);

}  // namespace velmora::ado::detail
