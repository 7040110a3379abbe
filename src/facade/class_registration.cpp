#include "velmora/facade/class_registration.hpp"

#include <memory>
#include <mutex>

#include "velmora/com/property_bag.hpp"
#include "velmora/collections/ado_array.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/ado_unk.hpp"
#include "velmora/sysrecords/record_header.hpp"

namespace velmora {
namespace {

using Creator = std::shared_ptr<com::PersistableObject> (*)();

template <class T>
std::shared_ptr<com::PersistableObject> Create() {
  return std::make_shared<T>();
}

// Every persistable class of the library, one line each:
//   &Create<AdoRecordHeader>,
// Each class names itself through ProgID(), so the list holds no names.
const std::vector<Creator>& PersistableClasses() {
  static const std::vector<Creator> classes{&Create<AdoRecordHeader>, &Create<AdoArray>, &Create<AdoUnk>,
                                               &Create<AdoSysLock>};
  return classes;
}

}  // namespace

void RegisterClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (Creator create : PersistableClasses()) com::ClassRegistry::Register(create()->ProgID(), create);
  });
}

std::vector<std::string> RegisteredProgIds() {
  std::vector<std::string> progIds;
  for (Creator create : PersistableClasses()) progIds.push_back(create()->ProgID());
  return progIds;
}

}  // namespace velmora
