#include "database_description.hpp"

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <unordered_set>
#include <vector>

#include "velmora/ado/recordset.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/schema/schema_info.hpp"

namespace velmora::tool {
namespace {

// Tables described per DatabaseInfo call between two progress reports.
constexpr std::size_t kBatchSize = 25;
constexpr auto kReportInterval = std::chrono::milliseconds(250);

AdoFlagsPtr FlagsFor(const DescribeOptions& options, const std::string& include) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("DBMS", com::Variant(options.dbms));
  if (!include.empty()) flags->WriteProperty("INCLTABLES", com::Variant(include));
  if (!options.exclude.empty()) flags->WriteProperty("EXCLTABLES", com::Variant(options.exclude));
  return flags;
}

// The names of the base tables, as DatabaseInfo lists them.
std::vector<std::string> BaseTableNames(const std::shared_ptr<ado::Connection>& connection) {
  com::VariantArray criteria;
  criteria.items = {com::Variant(), com::Variant(), com::Variant(), com::Variant("TABLE")};
  const auto rs = connection->OpenSchema(ado::adSchemaTables, com::Variant(std::move(criteria)));
  std::vector<std::string> names;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    int16_t vType = 0;
    names.push_back(com::CStr(FieldValueGet(rs->Fields()->Item(com::Variant("TABLE_NAME")), vType, false)));
  }
  return names;
}

// Whether a comma-separated list names `name` whole, without regard to case
// (DatabaseInfo's reading of its lists).
bool ListNames(const std::string& list, const std::string& name) {
  return com::FoldKeyCase("," + list + ",").find(com::FoldKeyCase("," + name + ",")) != std::string::npos;
}

bool Wanted(const DescribeOptions& options, const std::string& name) {
  if (!options.exclude.empty() && ListNames(options.exclude, name)) return false;
  return options.include.empty() || ListNames(options.include, name);
}

class ProgressReport {
 public:
  ProgressReport(bool forced, std::size_t total) : forced_(forced), total_(total) {}

  void Described(std::size_t done) {
    const auto now = std::chrono::steady_clock::now();
    const bool last = done == total_;
    if (now - lastReport_ >= kReportInterval || (last && (forced_ || reported_))) {
      std::cerr << "described " << done << "/" << total_ << " tables" << std::endl;
      lastReport_ = now;
      reported_ = true;
    }
  }

 private:
  bool forced_;
  std::size_t total_;
  std::chrono::steady_clock::time_point lastReport_ = std::chrono::steady_clock::now();
  bool reported_ = false;
};

// Adds the tables of `part` that were asked for in this batch: a name that
// holds a comma can make the batch's list match another table as well.
void Merge(const com::CollectionPtr& part, const std::unordered_set<std::string>& batch, com::Collection& tables) {
  for (const com::Variant& item : *part) {
    const auto table = item.ObjectAs<AdoTable>();
    if (table && batch.contains(table->Name()) && !tables.HasKey(table->Name())) {
      tables.Add(item, com::Variant(table->Name()));
    }
  }
}

com::CollectionPtr DescribeInBatches(const std::shared_ptr<ado::Connection>& connection,
                                     const DescribeOptions& options) {
  std::vector<std::string> names;
  for (std::string& name : BaseTableNames(connection)) {
    if (Wanted(options, name)) names.push_back(std::move(name));
  }
  auto tables = std::make_shared<com::Collection>();
  ProgressReport progress(options.progress, names.size());
  for (std::size_t first = 0; first < names.size(); first += kBatchSize) {
    const std::size_t end = std::min(names.size(), first + kBatchSize);
    std::string include;
    std::unordered_set<std::string> batch;
    for (std::size_t i = first; i < end; ++i) {
      include += (include.empty() ? "" : ",") + names[i];
      batch.insert(names[i]);
    }
    com::CollectionPtr part;
    DatabaseInfo(connection, part, FlagsFor(options, include));
    Merge(part, batch, *tables);
    progress.Described(end);
  }
  if (names.empty()) progress.Described(0);
  return tables;
}

}  // namespace

com::CollectionPtr DescribeDatabase(const std::shared_ptr<ado::Connection>& connection,
                                    const DescribeOptions& options) {
  if (options.progress || ::isatty(STDERR_FILENO) == 1) return DescribeInBatches(connection, options);
  com::CollectionPtr tables;
  DatabaseInfo(connection, tables, FlagsFor(options, options.include));
  return tables;
}

}  // namespace velmora::tool
