#pragma once
// The names of the ADO field types (DataTypeEnum), shared by the commands
// that print types: `types` lists them all, `info` names each column's type.
#include <array>
#include <cstdint>
#include <string_view>

#include "velmora/ado/types.hpp"

namespace velmora::tool {

struct AdoType {
  int32_t code;
  std::string_view name;
};

#define VELMORA_ADO_TYPE(name) AdoType{ado::name, #name}
// DataTypeEnum, in order of value.
inline constexpr std::array kAdoTypes{
    VELMORA_ADO_TYPE(adEmpty),         VELMORA_ADO_TYPE(adSmallInt),        VELMORA_ADO_TYPE(adInteger),
    VELMORA_ADO_TYPE(adSingle),        VELMORA_ADO_TYPE(adDouble),          VELMORA_ADO_TYPE(adCurrency),
    VELMORA_ADO_TYPE(adDate),          VELMORA_ADO_TYPE(adBSTR),            VELMORA_ADO_TYPE(adIDispatch),
    VELMORA_ADO_TYPE(adError),         VELMORA_ADO_TYPE(adBoolean),         VELMORA_ADO_TYPE(adVariant),
    VELMORA_ADO_TYPE(adIUnknown),      VELMORA_ADO_TYPE(adDecimal),         VELMORA_ADO_TYPE(adTinyInt),
    VELMORA_ADO_TYPE(adUnsignedTinyInt), VELMORA_ADO_TYPE(adUnsignedSmallInt), VELMORA_ADO_TYPE(adUnsignedInt),
    VELMORA_ADO_TYPE(adBigInt),        VELMORA_ADO_TYPE(adUnsignedBigInt),  VELMORA_ADO_TYPE(adFileTime),
    VELMORA_ADO_TYPE(adGUID),          VELMORA_ADO_TYPE(adBinary),          VELMORA_ADO_TYPE(adChar),
    VELMORA_ADO_TYPE(adWChar),         VELMORA_ADO_TYPE(adNumeric),         VELMORA_ADO_TYPE(adUserDefined),
    VELMORA_ADO_TYPE(adDBDate),        VELMORA_ADO_TYPE(adDBTime),          VELMORA_ADO_TYPE(adDBTimeStamp),
    VELMORA_ADO_TYPE(adChapter),       VELMORA_ADO_TYPE(adPropVariant),     VELMORA_ADO_TYPE(adVarNumeric),
    VELMORA_ADO_TYPE(adVarChar),       VELMORA_ADO_TYPE(adLongVarChar),     VELMORA_ADO_TYPE(adVarWChar),
    VELMORA_ADO_TYPE(adLongVarWChar),  VELMORA_ADO_TYPE(adVarBinary),       VELMORA_ADO_TYPE(adLongVarBinary),
};
#undef VELMORA_ADO_TYPE

// The DataTypeEnum name of `code`; "?" for a code that has none.
constexpr std::string_view AdoTypeName(int32_t code) {
  for (const auto& type : kAdoTypes) {
    if (type.code == code) return type.name;
  }
  return "?";
}

}  // namespace velmora::tool
