// Fuzz target: LineSplit and the flag text form of one value. Malformed
// text must raise com::Error, never crash; a value that decodes must encode
// back to a text that decodes to the same type.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "flags/flag_text.hpp"
#include "velmora/com/error.hpp"
#include "velmora/flags/ado_flags.hpp"

namespace {

void CheckValueText(std::string_view text, const std::string& controlChars) {
  velmora::com::Variant value;
  try {
    value = velmora::flags::DecodeFlagValue(text);
  } catch (const velmora::com::Error&) {
    return;
  }
  const std::string again = velmora::flags::EncodeFlagValue(value, controlChars);
  if (velmora::flags::DecodeFlagValue(again).VarType() != value.VarType()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  velmora::AdoFlags flags;
  CheckValueText(input, flags.ControlCharacters());
  // The first byte picks the separator: the default "::", NUL (as Load
  // uses) or the byte itself.
  const std::string separator = size == 0 || data[0] < 0x80 ? "::" : data[0] < 0xC0 ? std::string(1, '\0')
                                                                                      : std::string(1, input[0]);
  try {
    flags.LineSplit(input, separator);
  } catch (const velmora::com::Error&) {
    if (flags.Count() != 0) std::abort();  // a failed split stores nothing
  }
  return 0;
}
