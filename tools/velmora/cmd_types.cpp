// `velmora types`: the type tables of the library, computed by calling its
// type-mapping functions over every variant type code, every ADO field type
// and every SQL Server type name they know.
#include <array>
#include <iomanip>
#include <iostream>
#include <string>
#include <string_view>

#include "command.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/variant.hpp"
#include "velmora/fields/type_names.hpp"

namespace velmora::tool {
namespace {

struct AdoType {
  int32_t code;
  std::string_view name;
};

#define VELMORA_ADO_TYPE(name) AdoType{ado::name, #name}
// DataTypeEnum, in order of value.
constexpr std::array kAdoTypes{
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

// The variant type codes a value can have (arrays aside).
constexpr std::array<int16_t, 14> kVariantTypes{
    com::vbEmpty,    com::vbNull,    com::vbInteger, com::vbLong,    com::vbSingle,  com::vbDouble,  com::vbCurrency,
    com::vbDate,     com::vbString,  com::vbObject,  com::vbBoolean, com::vbVariant, com::vbDecimal, com::vbByte,
};

std::string_view AdoTypeName(int32_t code) {
  for (const auto& type : kAdoTypes) {
    if (type.code == code) return type.name;
  }
  return "?";
}

// A variant type code with its name, "8 String"; "-" stands for no name.
std::string VariantTypeText(int16_t code) {
  const std::string name = VbTypeToStr(code);
  return std::to_string(code) + " " + (name.empty() ? "-" : name);
}

void PrintVariantTypes(std::ostream& out) {
  out << "Variant type names (VbTypeToStr)\n"
      << "  " << std::setw(4) << "code" << "  name\n";
  for (int16_t code : kVariantTypes) {
    const std::string name = VbTypeToStr(code);
    out << "  " << std::setw(4) << code << "  " << (name.empty() ? "-" : name) << "\n";
  }
}

void PrintAdoTypes(std::ostream& out) {
  out << "ADO field types (FieldTypeConstToVb, FieldTypeConstToStr)\n"
      << "  " << std::setw(4) << "code" << "  " << std::left << std::setw(20) << "ADO type" << std::setw(14)
      << "variant type" << "SQL Server type" << std::right << "\n";
  for (const auto& type : kAdoTypes) {
    out << "  " << std::setw(4) << type.code << "  " << std::left << std::setw(20) << type.name << std::setw(14)
        << VariantTypeText(FieldTypeConstToVb(type.code)) << FieldTypeConstToStr(type.code) << std::right << "\n";
  }
}

void PrintSqlServerNames(std::ostream& out) {
  out << "SQL Server type names (FieldTypeStringToConst)\n"
      << "  " << std::left << std::setw(18) << "name" << "ADO type" << std::right << "\n";
  for (std::string_view name : FieldTypeNames()) {
    const int32_t code = FieldTypeStringToConst(std::string(name));
    out << "  " << std::left << std::setw(18) << name << std::right << code << " " << AdoTypeName(code) << "\n";
  }
}

}  // namespace

VELMORA_COMMAND("types", "", "print the type tables: variant type names, ADO field types, SQL Server names") {
  if (!args.empty()) return UsageError("types", "takes no arguments");
  PrintVariantTypes(std::cout);
  std::cout << "\n";
  PrintAdoTypes(std::cout);
  std::cout << "\n";
  PrintSqlServerNames(std::cout);
  return kExitOk;
}

}  // namespace velmora::tool
