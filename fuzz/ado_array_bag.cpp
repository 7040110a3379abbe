// Fuzz target: an AdoArray read from arbitrary property bag bytes. Bytes the
// bag rejects, or properties the array cannot use, raise com::Error; nothing
// crashes, and whatever counts the bag claims, reading stays bounded by the
// bag's size. An array that reads writes back to a bag that reads the same.
#include <cstdint>
#include <cstdlib>

#include "velmora/collections/ado_array.hpp"
#include "velmora/com.hpp"
#include "velmora/facade/class_registration.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmora;
  RegisterClasses();
  com::PropertyBag bag;
  AdoArray array;
  try {
    bag.Contents(com::ByteArray(data, data + size));
    array.ReadProperties(bag);
  } catch (const com::Error&) {
    return 0;
  }
  com::PropertyBag written;
  array.WriteProperties(written);
  AdoArray again;
  again.ReadProperties(written);
  if (again.RecordCount() != array.RecordCount()) std::abort();
  return 0;
}
