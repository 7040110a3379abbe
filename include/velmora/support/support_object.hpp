#pragma once
// SupportObject: the per-thread service object of the library (operating
// system services, error raising, text encodings, key ids). It is created on
// first use on each thread and lives as long as the thread.
//
// Its operations are grouped by subject; each group is a base class declared
// in its own header, so that SupportObject is the sum of them.
#include "velmora/support/error_services.hpp"
#include "velmora/support/field_services.hpp"
#include "velmora/support/file_services.hpp"
#include "velmora/support/keyid_services.hpp"
#include "velmora/support/profile_services.hpp"
#include "velmora/support/system_services.hpp"

namespace velmora {

class SupportObject : public support::ErrorServices, public support::KeyIdServices,
                      public support::ProfileServices, public support::FieldServices,
                      public support::SystemServices, public support::FileServices {
 public:
  SupportObject() = default;
};

// This thread's support object (created on first use).
SupportObject& Support();

}  // namespace velmora
