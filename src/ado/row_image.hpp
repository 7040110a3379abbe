#pragma once
// A row's change as a recordset keeps it until it is written to its table:
// what the row held when it was read, what it holds now, and which fields
// changed. Batch recordsets keep one per changed row until UpdateBatch; a
// file writer saves them beside the rows and a reader rebuilds them, so
// that a reloaded recordset still writes what was pending.
#include <vector>

#include "ado/cursor.hpp"

namespace velmora::ado::detail {

enum class RowStatus { Modified, Added, Deleted };

struct RowImage {
  RowStatus status = RowStatus::Modified;
  Row original;               // the values read (empty for an added row)
  Row values;                 // the values now (empty for a deleted row)
  std::vector<bool> changed;  // per column: set by the edit (empty for a deleted row)
};

}  // namespace velmora::ado::detail
