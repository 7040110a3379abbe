// Fuzz target: the flag buffer reader. Malformed buffers must raise
// com::Error, never crash; an accepted buffer must serialize back to a
// buffer that reads as the same number of flags.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "velmora/com/error.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/support/profile_services.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  std::string buffer(reinterpret_cast<const char*>(data), size);
  // Most inputs are used as the body of a buffer with a valid header and
  // checksum, so that the fuzzer reaches the value reader; inputs starting
  // with 'V' are taken as they are, to exercise the header and trailer checks.
  if (size == 0 || data[0] != 'V') {
    const velmora::support::ProfileServices profile;
    std::string sealed;
    profile.TypedBufferStart(sealed);
    sealed += buffer;
    profile.TypedBufferFinish(sealed);
    buffer = std::move(sealed);
  }
  velmora::AdoFlags flags;
  try {
    flags.Deserialize(buffer);
  } catch (const velmora::com::Error&) {
    if (flags.Count() != 0) std::abort();  // a rejected buffer stores nothing
    return 0;
  }
  // A flag is two values of at least 7 bytes each.
  if (static_cast<std::size_t>(flags.Count()) > buffer.size() / 14) std::abort();
  std::string again;
  flags.Serialize(again);
  velmora::AdoFlags copy;
  copy.Deserialize(again);
  if (copy.Count() != flags.Count()) std::abort();
  return 0;
}
