// Loads arbitrary bytes as property bag contents: they either load (and then
// write back to the same bytes) or are rejected with error 20000.
#include <cstdint>
#include <cstdlib>

#include "velmora/com.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmora::com;
  const ByteArray bytes(data, data + size);
  PropertyBag bag;
  try {
    bag.Contents(bytes);
  } catch (const Error& e) {
    if (e.Number() != errLibrary) std::abort();
    return 0;
  }
  // Each property takes at least 6 bytes (name length and type code).
  if (static_cast<size_t>(bag.Count()) > size / 6) std::abort();
  // Whatever loads writes back unchanged, except that names come back in
  // folded order; a second round must be stable.
  const ByteArray once = bag.Contents();
  PropertyBag again;
  again.Contents(once);
  if (again.Contents() != once) std::abort();
  return 0;
}
