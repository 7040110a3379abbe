#pragma once
// AdoMacros: the library's global entry point. Velmora::Macros() gives this
// thread's instance, whose members can be used like free functions.
//
// The class holds three pieces of state and otherwise forwards every member,
// unchanged, to the routine that implements it; it adds no validation,
// conversion or error handler of its own, so an error raised by the routine
// reaches the caller with the routine's Source.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"
#include "velmora/facade/ado_flags_enum.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::ado {
class Connection;
}

namespace velmora {

class AdoFlags;

// The value of an omitted string argument of SQLPROVIDER and JETPROVIDER:
// one U+0000 character. Any other string counts as given, the empty one too.
inline const std::string kOmittedArgument(1, '\0');

class AdoMacros : public com::Object {
 public:
  static constexpr std::string_view kClassId = "{D9C28A58-B819-4EDB-840D-C9222000DD43}";
  static constexpr std::string_view kInterfaceId = "{DCDCC1BD-0B29-4F67-B93D-1DE60EE0E320}";

  // Key names for the connection options. Never empty: reading it when no
  // object is held creates one. Assigned by reference.
  std::shared_ptr<AdoFlagsEnum> ConnectionOption();
  void ConnectionOption(std::shared_ptr<AdoFlagsEnum> value);

  // The AnsiBlob argument that FieldValueSet, FieldValueSet2 and
  // FieldValueGet pass; starts False.
  bool DefaultAnsiBlob() const noexcept { return defaultAnsiBlob_; }
  void DefaultAnsiBlob(bool value) noexcept { defaultAnsiBlob_ = value; }

  // This thread's default connection, shared by every AdoMacros on the
  // thread (empty when never set). When set, GetUnk, TableLock and
  // TableLockEx work on it instead of their connection argument.
  std::shared_ptr<ado::Connection> DefaultConnection() const;
  void DefaultConnection(std::shared_ptr<ado::Connection> value);

  // Counters and table locks (velmora/sysrecords/system_records.hpp); when
  // DefaultConnection is set they work on it instead of dbConnection.
  // TableLock is TableLockEx with Force false.
  TableLockReturn TableLock(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                            bool Activate, int32_t timeOut = 30) const;
  TableLockReturn TableLockEx(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                              bool Activate, int32_t timeOut = 30, bool Force = false) const;
  int32_t GetUnk(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                 int32_t timeOut = 30) const;

  // Connection strings. SQLPROVIDER: "Provider=<Provider>" and, when any
  // other argument is given, ";Extended Properties=" and in double quotes
  // the given ones as DRIVER=, SERVER=, UID=, APP=, WSID=, DATABASE=,
  // Trusted_Connection=, DSN= (in that order, values as they stand,
  // separated by ";"). JETPROVIDER: the embedded provider with "Data
  // Source=<Source>" when given. Both open connections: the embedded
  // provider opens the SQLite file, Extended Properties go to the driver.
  std::string SQLPROVIDER(const std::string& Server = kOmittedArgument, const std::string& UID = kOmittedArgument,
                          const std::string& App = kOmittedArgument, const std::string& WSID = kOmittedArgument,
                          const std::string& DATABASE = kOmittedArgument,
                          const std::string& TrustedConnection = kOmittedArgument,
                          const std::string& DSN = kOmittedArgument, const std::string& Driver = kOmittedArgument,
                          const std::string& Provider = "MSDASQL.1") const;
  std::string JETPROVIDER(const std::string& Source = kOmittedArgument) const;
  // The version of the data-access layer: this library's major, minor,
  // build (patch) and fix level (0), and a text that also names the object
  // model's version and the ODBC driver manager's.
  void AdoVersion(int32_t& Major, int32_t& Minor, int32_t& Build, int32_t& Qfe, std::string& ToString) const;
  // Compacts the database file DbName in place (schema/maintenance.hpp);
  // false on success. TmpFile, when empty, receives the temporary file used.
  bool CompactMdb(const std::string& DbName, std::string& TmpFile) const;
  bool CompactMdb(const std::string& DbName) const;
  // Whether a replica table caught up with its origin: the greatest value of
  // OrigField in OrigTable and of ReplicaField in ReplicaTable, each read
  // through its own connection string with SELECT TOP 1 ... ORDER BY ...
  // DESC (names through SQLName). 0 both empty or equal, 1 one side empty or
  // different, -1 after an error was reported (it is re-raised with the
  // Source "Velmora.AdoMacros.RecorsetsCompare"). Both connections are
  // always closed.
  int32_t RecorsetsCompare(const std::string& OrigConn, const std::string& OrigTable, const std::string& OrigField,
                           const std::string& ReplicaConn, const std::string& ReplicaTable,
                           const std::string& ReplicaField) const;

  // Type names and type mapping.
  std::string VbTypeToStr(int16_t vType) const;
  int16_t FieldTypeConstToVb(int32_t iType) const;
  std::string FieldTypeConstToStr(int32_t iType) const;
  int32_t FieldTypeStringToConst(const std::string& SType) const;
  com::Variant FieldDefaultValue(int16_t vType) const;

  // Schema information (velmora/schema/schema_info.hpp).
  int32_t AdoDataAttributesToJet(int32_t AType, bool AIsNullable) const;
  int32_t AdoDataPrecisionToJet(int32_t AType, int32_t APrecision) const;
  int32_t AdoDataSizeToJet(int32_t AType, int32_t ASize) const;
  int32_t AdoDataTypeToJet(int32_t AType) const;
  bool TypesInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTypes,
                 const std::shared_ptr<AdoFlags>& Flags = {}) const;
  bool TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable,
                 const std::shared_ptr<AdoFlags>& Flags = {}) const;
  bool TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable,
                 const std::shared_ptr<AdoFlags>& Flags, com::CollectionPtr& DataTypes) const;
  bool DatabaseInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTables,
                    const std::shared_ptr<AdoFlags>& Flags = {}) const;

  // Connection settings in a flag collection (velmora/flags/connection_options.hpp).
  void ConnectionOptionsGet(const std::shared_ptr<AdoFlags>& Flags, std::string& retDBMS, std::string& retUserName,
                            std::string& retPassword, int32_t& retPrompt, int32_t& retDbOptions) const;
  void ConnectionOptionsSet(std::shared_ptr<AdoFlags>& Flags, const std::string& DBMS = "",
                            const std::string& UserName = "", const std::string& Password = "", int32_t Prompt = 0,
                            int32_t DbOptions = 0) const;

  // Field value access and SQL text (velmora/fields/field_access.hpp,
  // sql_text.hpp, connection_utils.hpp), in the order of the interface.
  // StringToBlob and BlobToString take their own AnsiBlob (default True);
  // FieldValueSet, FieldValueSet2 and FieldValueGet pass DefaultAnsiBlob;
  // FieldGet, FieldRead and FieldWrite always pass False. FieldValueSet
  // never stores Null for a neutral value (DefaultToNull False), and
  // FieldValueGet works on a copy of vType.
  void StringToBlob(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value,
                    bool AnsiBlob = true) const;
  std::string BlobToString(const std::shared_ptr<ado::Field>& Field, bool AnsiBlob = true) const;
  bool IsValidBookmark(const std::shared_ptr<ado::Recordset>& rs, const com::Variant& Bookmark) const;
  std::string SQLName(const std::string& Name) const;
  std::string QueryArgument(const com::Variant& Argument, int16_t vType = 0, int32_t Flags = 0) const;
  void ErrorSet(const std::shared_ptr<ado::Connection>& cnn) const;
  void ConnectionClose(const std::shared_ptr<ado::Connection>& cnn) const;
  void RecordsetClose(std::shared_ptr<ado::Recordset>& rs) const;
  void FieldValueSet(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value) const;
  void FieldGet(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, com::Variant& Value,
                int32_t Flags = FLDRW_ONLYIFEXISTS) const;
  com::Variant FieldRead(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, int16_t& vType,
                         int32_t Flags = FLDRW_ONLYIFEXISTS) const;
  void FieldWrite(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key,
                  const com::Variant& Value, int32_t Flags = FLDRW_ONLYIFEXISTS) const;
  com::Variant FieldValueGet(const std::shared_ptr<ado::Field>& Field, int16_t vType = 0) const;
  void FieldDefaultSet(const std::shared_ptr<ado::Field>& Field) const;
  void FieldValueSet2(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value,
                      bool DefaultToNull = false) const;

 private:
  std::shared_ptr<AdoFlagsEnum> connectionOption_;
  bool defaultAnsiBlob_ = false;
};

// This thread's AdoMacros (created on first use, with the library's classes
// registered).
AdoMacros& Macros();

}  // namespace velmora
