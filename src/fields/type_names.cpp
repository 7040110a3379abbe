#include "velmora/fields/type_names.hpp"

#include <algorithm>
#include <array>

#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"

namespace velmora {
namespace {

using namespace velmora::ado;  // the DataTypeEnum constants

struct NamedType {
  std::string_view name;
  int32_t type;
};

// SQL Server type names and their ADO types, in the order they are tested
// (which is also alphabetical, so that a binary search finds the first match).
constexpr std::array<NamedType, 26> kTypesByName{{
    {"bigint", adBigInt},
    {"binary", adBinary},
    {"bit", adBoolean},
    {"char", adChar},
    {"datetime", adDBTimeStamp},
    {"decimal", adNumeric},
    {"float", adDouble},
    {"image", adVarBinary},
    {"int", adInteger},
    {"money", adCurrency},
    {"nchar", adWChar},
    {"ntext", adLongVarWChar},
    {"numeric", adNumeric},
    {"nvarchar", adVarWChar},
    {"real", adSingle},
    {"smalldatetime", adDate},
    {"smallint", adSmallInt},
    {"smallmoney", adCurrency},
    {"sql_variant", adVariant},
    {"sysname", adVarWChar},
    {"text", adLongVarChar},
    {"timestamp", adBinary},
    {"tinyint", adTinyInt},
    {"uniqueidentifier", adGUID},
    {"varbinary", adVarBinary},
    {"varchar", adVarChar},
}};
static_assert(std::ranges::is_sorted(kTypesByName, {}, &NamedType::name));

// The names alone, for FieldTypeNames().
constexpr auto kTypeNames = [] {
  std::array<std::string_view, kTypesByName.size()> names{};
  std::ranges::transform(kTypesByName, names.begin(), &NamedType::name);
  return names;
}();

}  // namespace

std::string VbTypeToStr(int16_t vType) {
  switch (vType) {
    case com::vbInteger: return "Integer";
    case com::vbLong: return "Long";
    case com::vbSingle: return "Single";
    case com::vbDouble: return "Double";
    case com::vbCurrency: return "Currency";
    case com::vbDate: return "Date";
    case com::vbString: return "String";
    case com::vbBoolean: return "Boolean";
    case com::vbVariant: return "Variant";
    case com::vbByte: return "Byte";
    default: return "";
  }
}

int16_t FieldTypeConstToVb(int32_t iType) {
  switch (iType) {
    case adSmallInt:
    case adUnsignedSmallInt: return com::vbInteger;
    case adInteger:
    case adUnsignedInt: return com::vbLong;
    case adSingle: return com::vbSingle;
    case adDouble:
    case adBigInt:
    case adUnsignedBigInt:
    case adNumeric: return com::vbDouble;
    case adCurrency: return com::vbCurrency;
    case adDate:
    case adDBTimeStamp: return com::vbDate;
    case adBoolean: return com::vbBoolean;
    case adVariant: return com::vbVariant;
    case adTinyInt:
    case adUnsignedTinyInt: return com::vbByte;
    default: return com::vbString;
  }
}

std::string FieldTypeConstToStr(int32_t iType) {
  switch (iType) {
    case adSmallInt:
    case adUnsignedSmallInt: return "smallint";
    case adInteger:
    case adUnsignedInt: return "int";
    case adSingle: return "real";
    case adDouble: return "float";
    case adCurrency: return "money";
    case adDate: return "smalldatetime";
    case adBoolean: return "bit";
    case adVariant: return "sql_variant";
    case adTinyInt:
    case adUnsignedTinyInt: return "tinyint";
    case adBigInt:
    case adUnsignedBigInt: return "bigint";
    case adGUID: return "uniqueidentifier";
    case adBinary: return "binary";
    case adChar: return "char";
    case adWChar: return "nchar";
    case adNumeric: return "decimal";
    case adDBTimeStamp: return "datetime";
    case adVarChar: return "varchar";
    case adLongVarChar: return "text";
    case adVarWChar: return "nvarchar";
    case adLongVarWChar: return "ntext";
    case adVarBinary: return "image";
    default: return "unknown";
  }
}

int32_t FieldTypeStringToConst(const std::string& SType) {
  const auto found = std::ranges::lower_bound(kTypesByName, std::string_view(SType), {}, &NamedType::name);
  if (found == kTypesByName.end() || found->name != SType) com::Raise(com::errLibrary, "Tipo dati sconosciuto.");
  return found->type;
}

com::Variant FieldDefaultValue(int16_t vType) {
  switch (vType) {
    case com::vbInteger:
    case com::vbLong:
    case com::vbSingle:
    case com::vbDouble:
    case com::vbCurrency:
    case com::vbDate:
    case com::vbDecimal:
    case com::vbByte: return com::Variant(int16_t{0});
    case com::vbBoolean: return com::Variant(false);
    default: return com::Variant(std::string());
  }
}

std::span<const std::string_view> FieldTypeNames() { return kTypeNames; }

}  // namespace velmora
