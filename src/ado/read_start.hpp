#pragma once
// Starting a read: running a statement and fetching its first rows, waiting
// out another connection's write on an SQLite file.
#include <cstdint>
#include <memory>
#include <string>

#include "ado/cursor.hpp"
#include "ado/odbc/session.hpp"
#include "velmora/ado/errors.hpp"

namespace velmora::ado::detail {

// How long a read waits for a locked SQLite file when its command has no
// time-out (0): every wait stays bounded.
inline constexpr int32_t kLockWaitWithoutTimeoutSeconds = 30;

struct StartedRead {
  std::unique_ptr<Cursor> cursor;  // nullptr when the statement returned no rows
  int64_t rowsAffected = -1;
};

// Runs `sql` (as Session::Execute does) and reads the first rows into a
// Cursor. On SQLite, a plain query that fails with a lock conflict (the file
// locked by another connection's write or commit, which in journal modes
// other than WAL keeps readers out) runs again until `timeoutSeconds` have
// passed; `errors` (when given) is cleared before every try, so that a read
// that got through reports no error.
StartedRead StartRead(Session& session, const std::string& sql, int32_t timeoutSeconds, bool scrollable,
                      const std::string& what, Errors* errors);

}  // namespace velmora::ado::detail
