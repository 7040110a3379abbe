#include "schema/info_common.hpp"

#include "velmora/ado/connection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/flags/connection_options.hpp"

namespace velmora::schema {

std::string DbmsOf(const AdoFlagsPtr& flags) {
  std::string dbms, user, password;
  int32_t prompt = 0, options = 0;
  ConnectionOptionsGet(flags, dbms, user, password, prompt, options);
  return dbms;
}

com::Variant ValueOf(const ado::Recordset& rs, const std::string& name) {
  int16_t vType = 0;
  return FieldValueGet(rs.Fields()->Item(com::Variant(name)), vType, false);
}

std::string TextOf(const ado::Recordset& rs, const std::string& name) { return com::CStr(ValueOf(rs, name)); }

namespace {

com::Variant NumericValueOf(const ado::Recordset& rs, const std::string& name) {
  com::Variant value = ValueOf(rs, name);
  if (const auto* text = value.TryGet<std::string>(); text && text->empty()) return com::Variant(int32_t{0});
  return value;
}

}  // namespace

int32_t NumberOf(const ado::Recordset& rs, const std::string& name) { return com::CLng(NumericValueOf(rs, name)); }

bool FlagOf(const ado::Recordset& rs, const std::string& name) { return com::CBool(NumericValueOf(rs, name)); }

std::shared_ptr<ado::Recordset> OpenQuery(const std::shared_ptr<ado::Connection>& cnn, const std::string& sql,
                                          int32_t lockType) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant(sql), com::Variant(cnn), ado::adOpenDynamic, lockType, ado::adCmdText);
  return rs;
}

}  // namespace velmora::schema
