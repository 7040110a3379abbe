#pragma once
// Schema information: the catalogue of a database's data types
// (TypesInfo), one table's columns and indexes (TableInfo), every base
// table of a database (DatabaseInfo), and the conversions of an ADO column
// description to the values a Jet column is created with.
//
// The DBMS comes from the flags' connection options: "SQL" reads the server
// catalogue views (systypes, sysobjects, syscolumns) with plain SQL, "JET"
// reads the schema rowsets and the catalog object; both answer on SQLite and
// PostgreSQL. Any other DBMS value is refused by the connection options
// ("DBMS non supportato.", 20000) and that error reaches the caller through
// the operation's own handler.
//
// The operations return false on success. A failure is re-raised with the
// routine's Source ("Velmora.modAdoSupport.TableInfoSQL", ...): the first
// error's number and description reach the caller, and what was filled
// before the failure stays filled.
#include <cstdint>
#include <memory>

#include "velmora/com/collection.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/schema/descriptors.hpp"

namespace velmora::ado {
class Connection;
}

namespace velmora {

// The catalogue key of a native type code: "K" and the code in decimal.
std::string DataTypeKey(int32_t nativeType);

// Replaces RetTypes with the data types of the database, AdoDataType
// objects keyed by DataTypeKey(NType). "JET": a fixed list of sixteen types
// (the connection is not used); "SQL": the rows of systypes, where the first
// row of a code wins and names that FieldTypeStringToConst does not know are
// skipped. Fixed is taken from systypes.variable as it stands.
bool TypesInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTypes,
               const AdoFlagsPtr& Flags = {});

// Describes the table named RetTable->Name(): Owner, Id (SQL only), Fields
// (AdoField per column, keyed by name) and Indexes (AdoIndex per index,
// keyed by name, holding copies of the table's fields). DataTypes, when
// empty, is built with TypesInfo and handed back for the next call.
bool TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable,
               const AdoFlagsPtr& Flags = {});
bool TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable, const AdoFlagsPtr& Flags,
               com::CollectionPtr& DataTypes);

// Replaces RetTables with an AdoTable (described by TableInfo) for every
// base table, keyed by name. Flags "INCLTABLES" and "EXCLTABLES" are
// comma-separated names compared whole and without regard to case (a name
// in both is left out); the type catalogue is built once per call.
bool DatabaseInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTables,
                  const AdoFlagsPtr& Flags = {});

// A Jet column's attributes: adColNullable (2) when nullable, else 0.
int32_t AdoDataAttributesToJet(int32_t AType, bool AIsNullable);
// A Jet column's precision: 0 for adBoolean, else APrecision.
int32_t AdoDataPrecisionToJet(int32_t AType, int32_t APrecision);
// A Jet column's size: 2 for adBoolean, else ASize.
int32_t AdoDataSizeToJet(int32_t AType, int32_t ASize);
// A Jet column's type: every text type becomes adVarWChar (202), the long
// ones included; adDBTimeStamp becomes adDate; the rest stay.
int32_t AdoDataTypeToJet(int32_t AType);

}  // namespace velmora
