#pragma once
// Type names and type mapping between the three type vocabularies the
// library meets: variant type codes, ADO DataTypeEnum values of fields, and
// SQL Server type names of schema information.
//
// The tables are deliberately not symmetric ("image" and "varbinary" both
// give 204, which gives back "image"; "timestamp" gives 128, which gives back
// "binary"; ...). These functions have no error handler: the one raise,
// an unknown name in FieldTypeStringToConst, travels to the caller's handler.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "velmora/com/variant.hpp"

namespace velmora {

// Name of a variant type code ("Integer" for 2 ... "Byte" for 17); the empty
// string for codes without a name (0, 1, 9, 14...).
std::string VbTypeToStr(int16_t vType);

// The variant type that holds values of an ADO field type; 64-bit integers
// and adNumeric are carried as doubles, everything not listed as strings.
int16_t FieldTypeConstToVb(int32_t iType);

// The SQL Server type name of an ADO field type; "unknown" when there is none.
std::string FieldTypeConstToStr(int32_t iType);

// The ADO field type of a SQL Server type name (exact, case-sensitive).
// An unknown name raises 20000 "Tipo dati sconosciuto." with no Source.
int32_t FieldTypeStringToConst(const std::string& SType);

// The neutral value for a variant type: the 16-bit integer 0 for the numeric
// and date types (not a value of the requested type), False for booleans,
// the empty string for everything else.
com::Variant FieldDefaultValue(int16_t vType);

// The names FieldTypeStringToConst knows, in the order it tests them.
std::span<const std::string_view> FieldTypeNames();

}  // namespace velmora
