#pragma once
// SQL text: identifiers and values quoted as SQL literals. The texts are
// exact: other parts of the library build their statements from them.
#include <cstdint>
#include <string>

#include "velmora/com/variant.hpp"

namespace velmora {

// Flags of QueryArgument.
enum QueryArgumentFlags : int32_t {
  QAFNoTime = 1,  // a date as 'yyyymmdd', without its time of day
};

// Quotes each dot-separated part of a name in square brackets: "dbo.Orders"
// gives "[dbo].[Orders]", "" gives "[]", ".x" gives "[].[x]". Nothing inside
// a part is escaped (a "]" is copied as it is). Cannot fail.
std::string SQLName(const std::string& Name);

// The value as an SQL literal. The type used is vType, or the value's own
// variant type when vType is 0:
//  - Null (whatever the type): "Null";
//  - 7 (date): CONVERT(DATETIME, 'yyyy-mm-dd hh:nn:ss', 102), or 'yyyymmdd'
//    with QAFNoTime; a value whose text is empty is the date 0 (1899-12-30);
//  - 8 (string): the text in apostrophes, each apostrophe doubled;
//  - anything else: the value's text, unquoted ("42", "True", "1.5").
// A value that cannot be converted raises the conversion error with Source
// "Velmora.modAdoSupport.QueryArgument".
std::string QueryArgument(const com::Variant& Argument, int16_t vType = 0, int32_t Flags = 0);

}  // namespace velmora
