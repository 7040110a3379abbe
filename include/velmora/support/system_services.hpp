#pragma once
// System services of the support object: who the current user is, a
// millisecond tick for deadlines, and the signal raised when a record could
// not be given a unique number.
#include <cstdint>
#include <string>

namespace velmora::support {

// Environment variable that, when set to a non-empty value, replaces the
// current user's name. Meant for tests that act as several users from one
// account, and for a service that works on behalf of a named user.
inline constexpr const char* kUserOverrideVariable = "VELMORA_USER";

class SystemServices {
 public:
  // The name of the user the process runs as: VELMORA_USER when set, else
  // the account of the effective user id in the password database (what
  // the system itself reports as the logged-on user of this process, also
  // under su or sudo), else LOGNAME, else USER, else the user id in decimal.
  // Read on every call, so a change of VELMORA_USER is seen at once.
  std::string UserName() const;

  // Milliseconds of the monotonic clock (CLOCK_MONOTONIC, unaffected by
  // changes of the wall clock), wrapped to 32 bits as a signed value, as a
  // host tick counter is: it wraps after about 24.8 days of uptime, and the
  // wrap is not handled by its users.
  int32_t TickCount() const;

  // The failure signal of a record save that obtained no unique number:
  // raises error 20000 "No unique number was obtained." with the Source
  // "Velmora.AdoRecordHeader.RecordSave".
  [[noreturn]] void NoUniqueNumber() const;
};

}  // namespace velmora::support
