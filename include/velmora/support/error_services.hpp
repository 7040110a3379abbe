#pragma once
// Error services of the support object: raising an error towards the caller
// and the operating system's message text for a system error code.
#include <cstdint>
#include <string>

#include "velmora/com/variant.hpp"

namespace velmora::support {

// Bits of the ErrorFlags argument of ReraiseError and RaiseError.
inline constexpr int32_t kErrorFlagAppendSystemText = 2;  // append SystemErrorText(LastDllError)
inline constexpr int32_t kErrorFlagPassThrough = 4;       // no capture: arguments passed as given
inline constexpr int32_t kErrorFlagPassThroughAlt = 8;    // same as 4

// True when `flags` asks for the pass-through mode (bit 4 or bit 8).
constexpr bool IsPassThrough(int32_t flags) noexcept {
  return (flags & (kErrorFlagPassThrough | kErrorFlagPassThroughAlt)) != 0;
}

class ErrorServices {
 public:
  // Raises a com::Error carrying Number, Source, Description, HelpFile and
  // HelpContext (which arrives as decimal text, or as a number, and is
  // converted back to 32 bits).
  //
  // With flag bit 4 or 8, every item that is Missing (or cannot be converted)
  // is taken from the pending error, i.e. the exception being handled (see
  // CurrentError in reraise.hpp), so that a handler that passes only a new
  // Source keeps the first number and description. Without those bits a
  // missing item is 0 or empty.
  //
  // LastDllError, Flags (apart from 4 and 8), Extra and Tag are accepted for
  // the published argument list and are not used: the error carries no
  // field for them.
  [[noreturn]] void RaiseError(const com::Variant& number, const com::Variant& source,
                               const com::Variant& description, const com::Variant& helpFile,
                               const com::Variant& helpContext, const com::Variant& lastDllError, int32_t flags,
                               const com::Variant& extra, int32_t tag) const;

  // The operating system's message for a system error code. On Linux the
  // codes are errno values (they stand in for the Windows system error
  // codes: 5 is EIO, "Input/output error", not "Access is denied.").
  std::string SystemErrorText(int32_t code) const;
};

}  // namespace velmora::support
