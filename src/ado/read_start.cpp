#include "ado/read_start.hpp"

#include <chrono>
#include <thread>

#include "ado/dialect/dialect.hpp"
#include "ado/dialect/statements.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::detail {
namespace {

using Clock = std::chrono::steady_clock;

// The driver itself waits about half a second for the lock before it
// reports the conflict; the pause only keeps a conflict that it reports at
// once from turning into a spin.
constexpr auto kPauseBetweenTries = std::chrono::milliseconds(10);

// A read that found the file locked holds no lock of its own (the
// connection would not have needed one): it can wait without keeping anyone
// else waiting. Writes keep reporting a conflict promptly.
bool RetryableConflict(const Session& session, const std::string& sql, const com::Error& e) {
  return session.Dialect().LocksWholeDatabase() && e.Number() == DB_E_CONCURRENCYVIOLATION &&
         dialect::IsPlainQuery(sql);
}

StartedRead RunOnce(Session& session, const std::string& sql, int32_t timeoutSeconds, bool scrollable,
                    const std::string& what) {
  Session::Outcome outcome = session.Execute(sql, timeoutSeconds, what);
  StartedRead read;
  read.rowsAffected = outcome.rowsAffected;
  if (outcome.rows) read.cursor = std::make_unique<Cursor>(std::move(outcome.rows), scrollable);
  return read;
}

}  // namespace

StartedRead StartRead(Session& session, const std::string& sql, int32_t timeoutSeconds, bool scrollable,
                      const std::string& what, Errors* errors) {
  const int32_t waitSeconds = timeoutSeconds > 0 ? timeoutSeconds : kLockWaitWithoutTimeoutSeconds;
  const auto deadline = Clock::now() + std::chrono::seconds(waitSeconds);
  for (;;) {
    if (errors) errors->Clear();
    try {
      return RunOnce(session, sql, timeoutSeconds, scrollable, what);
    } catch (const com::Error& e) {
      if (!RetryableConflict(session, sql, e) || Clock::now() + kPauseBetweenTries >= deadline) throw;
    }
    std::this_thread::sleep_for(kPauseBetweenTries);
  }
}

}  // namespace velmora::ado::detail
