// `velmora types`: the type tables of the library, computed by calling its
// type-mapping functions over every variant type code, every ADO field type
// and every SQL Server type name they know.
#include <array>
#include <iomanip>
#include <iostream>
#include <string>
#include <string_view>

#include "ado_type_names.hpp"
#include "command.hpp"
#include "velmora/com/variant.hpp"
#include "velmora/fields/type_names.hpp"

namespace velmora::tool {
namespace {

// The variant type codes a value can have (arrays aside).
constexpr std::array<int16_t, 14> kVariantTypes{
    com::vbEmpty,    com::vbNull,    com::vbInteger, com::vbLong,    com::vbSingle,  com::vbDouble,  com::vbCurrency,
    com::vbDate,     com::vbString,  com::vbObject,  com::vbBoolean, com::vbVariant, com::vbDecimal, com::vbByte,
};

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
