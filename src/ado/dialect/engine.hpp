#pragma once
// The engines the library knows by name. Only the dialects and the place
// that picks one when a session connects name them.
namespace velmora::ado::dialect {

enum class Engine { SQLite, PostgreSQL, Other };

}  // namespace velmora::ado::dialect
