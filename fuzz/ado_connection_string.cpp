// Fuzzes the connection-string parser: any input either parses or raises
// com::Error; what parses rebuilds into a string that parses to the same pairs.
#include <cstdint>
#include <stdexcept>
#include <string>

#include "ado/connection_string.hpp"
#include "velmora/com/error.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  using namespace velmora::ado::detail;
  try {
    const auto pairs = ParseConnectionString(text);
    const auto again = ParseConnectionString(BuildOdbcString(pairs));
    if (again.size() != pairs.size()) throw std::logic_error("rebuilt string has other pairs");
    for (size_t i = 0; i < pairs.size(); ++i) {
      if (again[i].value != pairs[i].value) throw std::logic_error("rebuilt value differs");
    }
  } catch (const velmora::com::Error&) {
    // malformed input is reported, not crashed on
  }
  return 0;
}
