#include "velmora/support/error_services.hpp"

#include <cstring>
#include <optional>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora::support {
namespace {

// An argument as a 32-bit integer; nothing when it is Missing or cannot be
// converted (the item is then filled in as a missing one).
std::optional<int32_t> LongArgument(const com::Variant& value) {
  if (value.IsMissing()) return std::nullopt;
  try {
    return com::CLng(value);
  } catch (...) {
    return std::nullopt;
  }
}

std::optional<std::string> TextArgument(const com::Variant& value) {
  if (value.IsMissing()) return std::nullopt;
  try {
    return com::CStr(value);
  } catch (...) {
    return std::nullopt;
  }
}

// glibc declares either the GNU strerror_r (returns the message) or the XSI
// one (fills the buffer, returns 0 on success); these overloads take both.
[[maybe_unused]] const char* StrerrorMessage(const char* message, const char*) { return message; }
[[maybe_unused]] const char* StrerrorMessage(int rc, const char* buffer) { return rc == 0 ? buffer : nullptr; }

}  // namespace

void ErrorServices::RaiseError(const com::Variant& number, const com::Variant& source,
                               const com::Variant& description, const com::Variant& helpFile,
                               const com::Variant& helpContext, const com::Variant& /*lastDllError*/,
                               int32_t flags, const com::Variant& /*extra*/, int32_t /*tag*/) const {
  const PendingError pending = IsPassThrough(flags) ? CurrentError() : PendingError{};
  throw com::Error(LongArgument(number).value_or(pending.number),
                   TextArgument(description).value_or(pending.description),
                   TextArgument(source).value_or(pending.source), TextArgument(helpFile).value_or(pending.helpFile),
                   LongArgument(helpContext).value_or(pending.helpContext));
}

std::string ErrorServices::SystemErrorText(int32_t code) const {
  char buffer[256] = {};
  const char* message = StrerrorMessage(strerror_r(code, buffer, sizeof buffer), buffer);
  if (message == nullptr || *message == '\0') return "Unknown error " + std::to_string(code);
  return message;
}

}  // namespace velmora::support
