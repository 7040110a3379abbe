#include "info_output.hpp"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "ado_type_names.hpp"
#include "json_writer.hpp"
#include "velmora/schema/descriptors.hpp"

namespace velmora::tool {
namespace {

// The objects of class T a descriptor collection holds, in its order (an
// absent collection holds none).
template <class T>
std::vector<std::shared_ptr<T>> ObjectsOf(const com::CollectionPtr& items) {
  std::vector<std::shared_ptr<T>> objects;
  if (!items) return objects;
  for (const com::Variant& item : *items) {
    if (auto object = item.ObjectAs<T>()) objects.push_back(std::move(object));
  }
  return objects;
}

const char* SortOrderName(int32_t collation) { return collation == kSortDescending ? "desc" : "asc"; }
const char* YesNo(bool value) { return value ? "yes" : "no"; }

// Rows of cells printed under a header with every column as wide as its
// widest cell; columns marked in `numeric` are aligned to the right.
class AlignedTable {
 public:
  AlignedTable(std::vector<std::string> header, std::vector<bool> numeric)
      : rows_{std::move(header)}, numeric_(std::move(numeric)) {}
  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

  void Print(std::ostream& out, const std::string& indent) const {
    std::vector<std::size_t> widths(numeric_.size(), 0);
    for (const auto& row : rows_) {
      for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    }
    for (const auto& row : rows_) {
      std::string line = indent;
      for (std::size_t c = 0; c < row.size(); ++c) {
        const std::string padding(widths[c] - row[c].size(), ' ');
        if (c > 0) line += "  ";
        line += numeric_[c] ? padding + row[c] : row[c] + padding;
      }
      line.erase(line.find_last_not_of(' ') + 1);
      out << line << '\n';
    }
  }

 private:
  std::vector<std::vector<std::string>> rows_;
  std::vector<bool> numeric_;
};

std::string TypeText(const std::string& name, int32_t code) {
  return (name.empty() ? "-" : name) + " " + std::to_string(code);
}

void PrintColumnsText(std::ostream& out, const AdoTable& table) {
  AlignedTable columns({"column", "native type", "ADO type", "size", "precision", "scale", "nullable"},
                       {false, false, false, true, true, true, false});
  for (const auto& field : ObjectsOf<AdoField>(table.Fields())) {
    columns.Add({field->Name(), TypeText(field->NTypeName(), field->NType()),
                 TypeText(std::string(AdoTypeName(field->AType())), field->AType()), std::to_string(field->Size()),
                 std::to_string(field->Precision()), std::to_string(field->NumScale()),
                 YesNo(field->IsNullable())});
  }
  columns.Print(out, "  ");
}

std::string IndexColumnsText(const AdoIndex& index) {
  std::string text;
  for (const auto& field : ObjectsOf<AdoField>(index.Fields())) {
    text += (text.empty() ? "" : ", ") + field->Name() + " " + SortOrderName(field->Collation());
  }
  return text;
}

void PrintIndexesText(std::ostream& out, const AdoTable& table) {
  const auto indexes = ObjectsOf<AdoIndex>(table.Indexes());
  if (indexes.empty()) {
    out << "  no indexes\n";
    return;
  }
  AlignedTable rows({"index", "columns", "primary", "unique", "constraint"}, {false, false, false, false, false});
  for (const auto& index : indexes) {
    rows.Add({index->Name(), IndexColumnsText(*index), YesNo(index->Primary()), YesNo(index->Unique()),
              YesNo(index->IsObject())});
  }
  rows.Print(out, "  ");
}

void WriteColumnJson(JsonWriter& json, const AdoField& field) {
  json.BeginObject();
  json.Member("name", field.Name());
  json.Member("native_type", field.NTypeName());
  json.Member("native_code", field.NType());
  json.Member("ado_type", AdoTypeName(field.AType()));
  json.Member("ado_code", field.AType());
  json.Member("size", field.Size());
  json.Member("precision", field.Precision());
  json.Member("scale", field.NumScale());
  json.Member("nullable", field.IsNullable());
  json.EndObject();
}

void WriteIndexJson(JsonWriter& json, const AdoIndex& index) {
  json.BeginObject();
  json.Member("name", index.Name());
  json.Member("primary", index.Primary());
  json.Member("unique", index.Unique());
  json.Member("constraint", index.IsObject());
  json.Key("columns");
  json.BeginArray();
  for (const auto& field : ObjectsOf<AdoField>(index.Fields())) {
    json.BeginObject();
    json.Member("name", field->Name());
    json.Member("order", SortOrderName(field->Collation()));
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
}

void WriteTableJson(JsonWriter& json, const AdoTable& table) {
  json.BeginObject();
  json.Member("name", table.Name());
  json.Member("owner", table.Owner());
  json.Key("columns");
  json.BeginArray();
  for (const auto& field : ObjectsOf<AdoField>(table.Fields())) WriteColumnJson(json, *field);
  json.EndArray();
  json.Key("indexes");
  json.BeginArray();
  for (const auto& index : ObjectsOf<AdoIndex>(table.Indexes())) WriteIndexJson(json, *index);
  json.EndArray();
  json.EndObject();
}

}  // namespace

void PrintTablesText(std::ostream& out, const com::CollectionPtr& tables) {
  const auto described = ObjectsOf<AdoTable>(tables);
  for (const auto& table : described) {
    out << "table " << table->Name();
    if (!table->Owner().empty()) out << " (owner " << table->Owner() << ")";
    out << "\n";
    PrintColumnsText(out, *table);
    PrintIndexesText(out, *table);
    out << "\n";
  }
  out << described.size() << (described.size() == 1 ? " table\n" : " tables\n");
}

void PrintTablesJson(std::ostream& out, const com::CollectionPtr& tables, const std::string& dbms) {
  JsonWriter json(out);
  json.BeginObject();
  json.Member("dbms", dbms);
  json.Key("tables");
  json.BeginArray();
  for (const auto& table : ObjectsOf<AdoTable>(tables)) WriteTableJson(json, *table);
  json.EndArray();
  json.EndObject();
  out << '\n';
}

}  // namespace velmora::tool
