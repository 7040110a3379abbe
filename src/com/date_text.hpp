#pragma once
// Dates as text: "yyyy-mm-dd hh:nn:ss" (date or time alone when the other
// part is zero) and the en-US forms accepted when parsing.
#include <optional>
#include <string>
#include <string_view>

#include "velmora/com/datetime.hpp"

namespace velmora::com::detail {

std::optional<Date> ParseDate(std::string_view text);
std::string FormatDate(Date d);

}  // namespace velmora::com::detail
