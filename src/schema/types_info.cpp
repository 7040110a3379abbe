// TypesInfo: the catalogue of a database's data types, keyed by native code.
#include <array>

#include "schema/info_common.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {
namespace {

struct JetType {
  int32_t nativeType;
  int32_t adoType;
  bool fixed;
};

// The Jet catalogue is not read from the database. Codes 6, 13, 14, 17, 18
// and 19 are missing on purpose: they are gaps of the code space.
constexpr std::array<JetType, 16> kJetTypes{{{1, ado::adBoolean, true},
                                              {2, ado::adTinyInt, true},
                                              {3, ado::adSmallInt, true},
                                              {4, ado::adInteger, true},
                                              {5, ado::adCurrency, true},
                                              {7, ado::adDouble, true},
                                              {8, ado::adDate, true},
                                              {9, ado::adBinary, true},
                                              {10, ado::adVarWChar, false},
                                              {11, ado::adVarBinary, false},
                                              {12, ado::adLongVarWChar, false},
                                              {15, ado::adGUID, true},
                                              {16, ado::adBigInt, true},
                                              {20, ado::adDecimal, true},
                                              {21, ado::adSingle, true},
                                              {129, ado::adChar, true}}};

void DataTypeAdd(com::Collection& types, const std::string& nName, int32_t nType, int32_t aType, bool fixed) {
  auto type = std::make_shared<AdoDataType>();
  type->NName(nName);
  type->NType(nType);
  type->AName(FieldTypeConstToStr(aType));
  type->AType(aType);
  type->Fixed(fixed);
  types.Add(com::Variant(type), com::Variant(DataTypeKey(nType)));
}

void AddJetTypes(com::Collection& types) {
  for (const JetType& t : kJetTypes) DataTypeAdd(types, FieldTypeConstToStr(t.adoType), t.nativeType, t.adoType, t.fixed);
}

// One systypes row. A name that FieldTypeStringToConst does not know, or a
// code already in the catalogue (a user type and its base type, sysname and
// nvarchar), is skipped silently: the first row of a code wins.
void AddServerType(com::Collection& types, const ado::Recordset& rs) {
  const std::string name = schema::TextOf(rs, "name");
  int32_t xtype = 0;
  bool variable = false;
  schema::IgnoringErrors([&] { xtype = schema::NumberOf(rs, "xtype"); });
  schema::IgnoringErrors([&] { variable = schema::FlagOf(rs, "variable"); });
  schema::IgnoringErrors([&] {
    const int32_t aType = FieldTypeStringToConst(name);
    // Fixed is systypes.variable as it stands, not negated; the column is
    // a bit (a Boolean on one engine, 0/1 on another).
    DataTypeAdd(types, name, xtype, aType, variable);
  });
}

void AddServerTypes(com::Collection& types, const std::shared_ptr<ado::Connection>& cnn,
                    std::shared_ptr<ado::Recordset>& rs) {
  rs = schema::OpenQuery(cnn, "SELECT * FROM systypes", ado::adLockReadOnly);
  for (; !rs->IsEOF(); rs->MoveNext()) AddServerType(types, *rs);
}

}  // namespace

std::string DataTypeKey(int32_t nativeType) {
  return "K" + std::to_string(nativeType < 0 ? -static_cast<int64_t>(nativeType) : nativeType);
}

bool TypesInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTypes, const AdoFlagsPtr& Flags) {
  std::shared_ptr<ado::Recordset> rs;
  return schema::RunRoutine("TypesInfo", rs, [&] {
    const std::string dbms = schema::DbmsOf(Flags);
    RetTypes = std::make_shared<com::Collection>();
    if (dbms == "JET") AddJetTypes(*RetTypes);
    else if (dbms == "SQL") AddServerTypes(*RetTypes, cnn, rs);
  });
}

}  // namespace velmora
