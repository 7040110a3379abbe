#include "sysrecords/record_fields.hpp"

#include "velmora/ado/recordset.hpp"
#include "velmora/com/collection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora::sysrecords {
namespace {

// System records hold no long columns; a header column that is long in an
// application table is read and written as UTF-16LE bytes.
constexpr bool kAnsiBlob = false;

ado::FieldPtr ColumnOf(const std::shared_ptr<ado::Recordset>& rs, const std::string& name) {
  if (!rs) com::Raise(com::errObjectNotSet);
  return rs->Fields()->Item(com::Variant(name));
}

template <class T>
T ReadConverted(const std::shared_ptr<ado::Recordset>& rs, const std::string& name, T (*convert)(const com::Variant&)) {
  const com::Variant value = ReadColumn(rs, name);
  try {
    return convert(value);
  } catch (const com::Error& e) {
    throw com::Error(e.Number(), e.Description() + ": field '" + name + "'", e.Source(), e.HelpFile(),
                     e.HelpContext());
  }
}

}  // namespace

int32_t ReadLong(const std::shared_ptr<ado::Recordset>& rs, const std::string& name) {
  return ReadConverted(rs, name, com::CLng);
}

com::Date ReadDate(const std::shared_ptr<ado::Recordset>& rs, const std::string& name) {
  return ReadConverted(rs, name, com::CDate);
}

std::string ReadText(const std::shared_ptr<ado::Recordset>& rs, const std::string& name) {
  return ReadConverted(rs, name, com::CStr);
}

com::Variant ReadColumn(const std::shared_ptr<ado::Recordset>& rs, const std::string& name) {
  int16_t vType = 0;
  return FieldValueGet(ColumnOf(rs, name), vType, kAnsiBlob);
}

void WriteColumn(const std::shared_ptr<ado::Recordset>& rs, const std::string& name, const com::Variant& value) {
  FieldValueSet(ColumnOf(rs, name), value, kAnsiBlob);
}

std::shared_ptr<ado::Connection> ActiveConnection(const std::shared_ptr<ado::Recordset>& rs) {
  if (!rs) com::Raise(com::errObjectNotSet);
  return rs->ActiveConnection().ObjectAs<ado::Connection>();
}

std::string NumberKey(int32_t number) { return com::Format(com::Variant(number), "000000000000"); }

bool SameText(const std::string& a, const std::string& b) { return com::FoldKeyCase(a) == com::FoldKeyCase(b); }

void RaiseNotAValidIndex() { com::Raise(com::errLibrary, "Not a valid index"); }

void RaiseNothing(const char* className, const char* procedure) {
  com::Raise(com::errObjectNotSet, {}, ErrorSource(className, procedure));
}

}  // namespace velmora::sysrecords
