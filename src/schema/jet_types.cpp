// The values a column described in ADO terms is created with in a Jet
// database. Pure mappings: no error handling, they never fail.
#include "velmora/ado/types.hpp"
#include "velmora/schema/schema_info.hpp"

namespace velmora {
namespace {

constexpr int32_t kJetColumnNullable = 2;  // ADOX adColNullable

}  // namespace

int32_t AdoDataAttributesToJet(int32_t AType, bool AIsNullable) {
  (void)AType;  // the attributes depend on nullability alone
  return AIsNullable ? kJetColumnNullable : 0;
}

int32_t AdoDataPrecisionToJet(int32_t AType, int32_t APrecision) {
  return AType == ado::adBoolean ? 0 : APrecision;
}

int32_t AdoDataSizeToJet(int32_t AType, int32_t ASize) { return AType == ado::adBoolean ? 2 : ASize; }

// Jet receives every text type as variable-length Unicode text, the long
// ones included.
int32_t AdoDataTypeToJet(int32_t AType) {
  switch (AType) {
    case ado::adChar:
    case ado::adWChar:
    case ado::adVarChar:
    case ado::adLongVarChar:
    case ado::adLongVarWChar: return ado::adVarWChar;
    case ado::adDBTimeStamp: return ado::adDate;
    default: return AType;
  }
}

}  // namespace velmora
