#pragma once
// The server dialect's data types: the stock types as the catalogue view
// systypes lists them, and the rewriting of column types in CREATE TABLE and
// ALTER TABLE ... ADD into each engine's own (docs/catalogue-views.md).
#include <span>
#include <string>
#include <string_view>

#include "ado/dialect/edit.hpp"
#include "ado/dialect/engine.hpp"

namespace velmora::ado::dialect {

// How a column's declared size arguments give its length, precision and scale.
enum class SizeRule : char {
  Fixed = 'F',           // the type's own values
  Wide = 'W',            // (n) characters of two bytes; (max) is -1
  Bytes = 'B',           // (n) bytes; (max) is -1
  Decimal = 'D',         // (p, s), stored in 5, 9, 13 or 17 bytes
  FractionalTime = 'T',  // (n) digits of seconds' fraction
};

// One stock type; a value of kNone stands for Null.
struct ServerType {
  static constexpr int kNone = -1000;
  std::string_view name;
  int xtype, xusertype, length, xprec, xscale;
  bool variable;
  int prec, scale;
  bool collated;                     // a character type: has a collation
  int legacyType, legacyUserType;    // the older codes, where known
  SizeRule rule;
};

// The stock types in ascending xusertype, as systypes lists them.
std::span<const ServerType> ServerTypes();

// The type a declared type name stands for, as the views present it: the
// stock type of that name with character types as their Unicode kind
// (varchar -> nvarchar), else the engine's own names (integer -> int,
// boolean -> bit ...); empty when the name is neither.
std::string_view PresentedTypeName(std::string_view lowerName);

// Rewrites the column types of CREATE TABLE and ALTER TABLE ... ADD for the
// engine: SQLite keeps the declared names (which it stores) except for what
// it cannot parse ((max)) or do (IDENTITY); PostgreSQL gets its native types.
void RewriteColumnTypes(Edit& edit, Engine engine);

// "name" from [name] (a doubled ] inside stands for one).
std::string QuotedFromBracketed(std::string_view bracketed);

}  // namespace velmora::ado::dialect
