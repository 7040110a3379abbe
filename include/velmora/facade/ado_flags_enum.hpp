#pragma once
// AdoFlagsEnum: the global object that publishes the key names the library
// understands in an AdoFlags collection. AFE_DBMS_JET and AFE_DBMS_SQL are
// values of the "DBMS" key, not keys themselves.
#include <string>
#include <string_view>

#include "velmora/com/object.hpp"

namespace velmora {

class AdoFlagsEnum : public com::Object {
 public:
  static constexpr std::string_view kClassId = "{2A1903EB-8D43-42C5-A3D0-49E69274641A}";
  static constexpr std::string_view kInterfaceId = "{C4EE253A-8D72-4811-8C6B-3B67CEDBE13F}";

  std::string AFE_KEEPFILE() const { return "KEEPFILE"; }
  std::string AFE_FLUSHDATA() const { return "FLUSHDATA"; }
  std::string AFE_FILENAME() const { return "FILENAME"; }
  std::string AFE_INCLTABLES() const { return "INCLTABLES"; }
  std::string AFE_EXCLTABLES() const { return "EXCLTABLES"; }
  std::string AFE_DBMS_JET() const { return "JET"; }
  std::string AFE_RECORDSET() const { return "RECORDSET"; }
  std::string AFE_FORMAT() const { return "FORMAT"; }
  std::string AFE_DBMS_SQL() const { return "SQL"; }
  std::string AFE_DBMS() const { return "DBMS"; }
  std::string AFE_OPTIONS() const { return "OPTIONS"; }
  std::string AFE_PASSWORD() const { return "PASSWORD"; }
  std::string AFE_USERNAME() const { return "USERNAME"; }
  std::string AFE_PROMPT() const { return "PROMPT"; }
};

// This thread's AdoFlagsEnum (created on first use).
AdoFlagsEnum& FlagsEnum();

}  // namespace velmora
