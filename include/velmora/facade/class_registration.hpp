#pragma once
// Registration of the library's persistable classes in com::ClassRegistry,
// so that a PropertyBag can re-create them by ProgID ("Velmora.AdoFlags").
// Macros() and FlagsEnum() do it on first use; a program that reads property
// bags before touching either calls RegisterClasses() itself.
#include <string>
#include <vector>

namespace velmora {

// Registers every persistable class of the library (once per process; later
// calls do nothing).
void RegisterClasses();

// The ProgIDs RegisterClasses() registers.
std::vector<std::string> RegisteredProgIds();

}  // namespace velmora
