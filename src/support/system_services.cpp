#include "velmora/support/system_services.hpp"

#include <pwd.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora::support {
namespace {

std::string EnvironmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::string(value) : std::string();
}

// The account name of the effective user id, or "" when the password
// database has no entry for it.
std::string AccountName() {
  const uid_t uid = geteuid();
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  return found->pw_name ? std::string(found->pw_name) : std::string();
}

}  // namespace

std::string SystemServices::UserName() const {
  if (std::string value = EnvironmentValue(kUserOverrideVariable); !value.empty()) return value;
  if (std::string account = AccountName(); !account.empty()) return account;
  for (const char* variable : {"LOGNAME", "USER"}) {
    if (std::string value = EnvironmentValue(variable); !value.empty()) return value;
  }
  return std::to_string(geteuid());
}

int32_t SystemServices::TickCount() const {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto millis = static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
  // Two's-complement wrap to 32 bits, as the host's tick counter does.
  return static_cast<int32_t>(static_cast<uint32_t>(millis));
}

void SystemServices::NoUniqueNumber() const {
  com::Raise(com::errLibrary, "No unique number was obtained.", ErrorSource("AdoRecordHeader", "RecordSave"));
}

}  // namespace velmora::support
