#pragma once
// Catalog: the tables and views of a connection's database with their
// columns and indexes, read from the engine's catalogue (docs/catalog.md).
// Read-only: nothing here writes to the database except Catalog.Create,
// which makes a new one.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/ado/connection.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado {

// Column.Attributes (ColumnAttributesEnum).
inline constexpr int32_t adColFixed = 1;
inline constexpr int32_t adColNullable = 2;
// Column.SortOrder (SortOrderEnum).
inline constexpr int32_t adSortAscending = 1;
inline constexpr int32_t adSortDescending = 2;
// Index.IndexNulls (AllowNullsEnum).
inline constexpr int32_t adIndexNullsAllow = 0;
inline constexpr int32_t adIndexNullsDisallow = 1;
inline constexpr int32_t adIndexNullsIgnore = 2;
inline constexpr int32_t adIndexNullsIgnoreAny = 4;

// The 0-based position `index` stands for in `names`: a name (without
// regard to case) or a number. Raises adErrItemNotFound (3265) otherwise.
size_t CatalogItemPosition(const com::Variant& index, const std::vector<std::string>& names, const char* collection);

// Columns, Indexes, Tables: by name (without regard to case) or by 0-based
// position; missing items raise adErrItemNotFound (3265).
template <class T>
class CatalogItems : public com::Object {
 public:
  using Ptr = std::shared_ptr<T>;
  CatalogItems(std::vector<Ptr> items, const char* collection) : items_(std::move(items)), collection_(collection) {
    for (const Ptr& item : items_) names_.push_back(item->Name());
  }
  int32_t Count() const noexcept { return static_cast<int32_t>(items_.size()); }
  Ptr Item(const com::Variant& index) const { return items_[CatalogItemPosition(index, names_, collection_)]; }
  Ptr operator[](int32_t index) const { return Item(com::Variant(index)); }
  Ptr operator[](const std::string& name) const { return Item(com::Variant(name)); }
  typename std::vector<Ptr>::const_iterator begin() const { return items_.begin(); }
  typename std::vector<Ptr>::const_iterator end() const { return items_.end(); }

 private:
  std::vector<Ptr> items_;
  std::vector<std::string> names_;
  const char* collection_;
};

class Column : public com::Object {
 public:
  struct Definition {
    std::string name;
    int32_t type = 0;  // DataTypeEnum, as a Recordset's Field.Type reports it
    int32_t definedSize = 0;
    int32_t precision = 0;
    int32_t numericScale = 0;
    int32_t attributes = 0;  // adColFixed | adColNullable
    int32_t sortOrder = adSortAscending;
  };
  explicit Column(Definition d) : d_(std::move(d)) {}
  const std::string& Name() const noexcept { return d_.name; }
  int32_t Type() const noexcept { return d_.type; }
  int32_t DefinedSize() const noexcept { return d_.definedSize; }
  int32_t Precision() const noexcept { return d_.precision; }
  int32_t NumericScale() const noexcept { return d_.numericScale; }
  int32_t Attributes() const noexcept { return d_.attributes; }
  // Meaningful on an index's columns: ascending or descending in the key.
  int32_t SortOrder() const noexcept { return d_.sortOrder; }

 private:
  Definition d_;
};
using ColumnPtr = std::shared_ptr<Column>;
using Columns = CatalogItems<Column>;
using ColumnsPtr = std::shared_ptr<Columns>;

class Index : public com::Object {
 public:
  struct Definition {
    std::string name;
    bool clustered = false;
    int32_t indexNulls = adIndexNullsAllow;
    bool primaryKey = false;
    bool unique = false;
  };
  Index(Definition d, ColumnsPtr columns) : d_(std::move(d)), columns_(std::move(columns)) {}
  const std::string& Name() const noexcept { return d_.name; }
  bool Clustered() const noexcept { return d_.clustered; }
  int32_t IndexNulls() const noexcept { return d_.indexNulls; }
  bool PrimaryKey() const noexcept { return d_.primaryKey; }
  bool Unique() const noexcept { return d_.unique; }
  // The key's columns in order, each with its SortOrder.
  ColumnsPtr Columns() const noexcept { return columns_; }

 private:
  Definition d_;
  ColumnsPtr columns_;
};
using IndexPtr = std::shared_ptr<Index>;
using Indexes = CatalogItems<Index>;
using IndexesPtr = std::shared_ptr<Indexes>;

// A base table ("TABLE") or a view ("VIEW"). Columns and indexes are read
// from the connection on first use, then kept.
class Table : public com::Object {
 public:
  Table(ConnectionPtr connection, std::string schema, std::string name, std::string type);
  const std::string& Name() const noexcept { return name_; }
  const std::string& Type() const noexcept { return type_; }
  ColumnsPtr Columns() const;
  IndexesPtr Indexes() const;

 private:
  ConnectionPtr connection_;
  std::string schema_, name_, type_;
  mutable ColumnsPtr columns_;
  mutable IndexesPtr indexes_;
};
using TablePtr = std::shared_ptr<Table>;
using Tables = CatalogItems<Table>;
using TablesPtr = std::shared_ptr<Tables>;

class Catalog : public com::Object {
 public:
  // The Connection object (no object when none was set).
  com::Variant ActiveConnection() const;
  // A Connection object, or a connection string (a new Connection is
  // opened on it). Forgets the tables read through the previous one.
  void ActiveConnection(const com::Variant& connection);
  // The tables and views, read on first use.
  TablesPtr Tables() const;
  // Makes a new, empty database and opens it as the active connection. The
  // embedded provider's string ("Provider=Microsoft.Jet.OLEDB.4.0;Data
  // Source=<path>") makes a new SQLite file, refusing one that exists; other
  // strings raise adErrFeatureNotAvailable. Returns the Connection.
  ConnectionPtr Create(const std::string& connectionString);

 private:
  ConnectionPtr connection_;
  mutable TablesPtr tables_;
};
using CatalogPtr = std::shared_ptr<Catalog>;

}  // namespace velmora::ado
