// DatabaseInfo: every base table of a database, described by TableInfo.
#include "schema/info_common.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/com/collection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {
namespace {

// ",A,B," from "A,B": a comma before and after unless already there. Blanks
// stay part of the names.
std::string Normalised(std::string list) {
  if (list.empty()) return list;
  if (list.front() != ',') list.insert(list.begin(), ',');
  if (list.back() != ',') list.push_back(',');
  return list;
}

// Whole names between commas, compared without regard to case.
bool ListHolds(const std::string& foldedList, const std::string& name) {
  return foldedList.find(com::FoldKeyCase("," + name + ",")) != std::string::npos;
}

struct TableLists {
  std::string include;  // normalised and folded; empty: every table
  std::string exclude;

  bool Takes(const std::string& name) const {
    if (!exclude.empty() && ListHolds(exclude, name)) return false;  // before the include test
    return include.empty() || ListHolds(include, name);
  }
};

TableLists ListsOf(const AdoFlagsPtr& flags) {
  TableLists lists;
  if (!flags) return lists;
  lists.exclude = com::FoldKeyCase(Normalised(com::CStr(flags->ReadProperty("EXCLTABLES", com::Variant("")))));
  lists.include = com::FoldKeyCase(Normalised(com::CStr(flags->ReadProperty("INCLTABLES", com::Variant("")))));
  // DBMS is read as the other keys are; the branch is chosen from the
  // connection options by TypesInfo and TableInfo.
  (void)flags->ReadProperty("DBMS", com::Variant("SQL"));
  return lists;
}

com::Variant BaseTablesOnly() {
  com::VariantArray criteria;
  criteria.items = {com::Variant(), com::Variant(), com::Variant(), com::Variant("TABLE")};
  return com::Variant(std::move(criteria));
}

}  // namespace

bool DatabaseInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTables,
                  const AdoFlagsPtr& Flags) {
  std::shared_ptr<ado::Recordset> rs;
  return schema::RunRoutine("DatabaseInfo", rs, [&] {
    schema::DbmsOf(Flags);
    RetTables = std::make_shared<com::Collection>();
    const TableLists lists = ListsOf(Flags);
    // One type catalogue for every table of the call.
    com::CollectionPtr types;
    TypesInfo(cnn, types, Flags);
    rs = cnn->OpenSchema(ado::adSchemaTables, BaseTablesOnly());
    for (; !rs->IsEOF(); rs->MoveNext()) {
      auto table = std::make_shared<AdoTable>();
      table->Name(schema::TextOf(*rs, "TABLE_NAME"));
      if (!lists.Takes(table->Name())) continue;
      TableInfo(cnn, table, Flags, types);
      RetTables->Add(com::Variant(table), com::Variant(table->Name()));
    }
  });
}

}  // namespace velmora
