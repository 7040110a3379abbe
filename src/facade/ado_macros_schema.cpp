// The schema information members of AdoMacros: forwarders.
#include "velmora/facade/ado_macros.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/schema/maintenance.hpp"

namespace velmora {

int32_t AdoMacros::AdoDataAttributesToJet(int32_t AType, bool AIsNullable) const {
  return velmora::AdoDataAttributesToJet(AType, AIsNullable);
}

int32_t AdoMacros::AdoDataPrecisionToJet(int32_t AType, int32_t APrecision) const {
  return velmora::AdoDataPrecisionToJet(AType, APrecision);
}

int32_t AdoMacros::AdoDataSizeToJet(int32_t AType, int32_t ASize) const {
  return velmora::AdoDataSizeToJet(AType, ASize);
}

int32_t AdoMacros::AdoDataTypeToJet(int32_t AType) const { return velmora::AdoDataTypeToJet(AType); }

bool AdoMacros::TypesInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTypes,
                          const std::shared_ptr<AdoFlags>& Flags) const {
  return velmora::TypesInfo(cnn, RetTypes, Flags);
}

bool AdoMacros::TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable,
                          const std::shared_ptr<AdoFlags>& Flags) const {
  return velmora::TableInfo(cnn, RetTable, Flags);
}

bool AdoMacros::TableInfo(const std::shared_ptr<ado::Connection>& cnn, const AdoTablePtr& RetTable,
                          const std::shared_ptr<AdoFlags>& Flags, com::CollectionPtr& DataTypes) const {
  return velmora::TableInfo(cnn, RetTable, Flags, DataTypes);
}

bool AdoMacros::DatabaseInfo(const std::shared_ptr<ado::Connection>& cnn, com::CollectionPtr& RetTables,
                             const std::shared_ptr<AdoFlags>& Flags) const {
  return velmora::DatabaseInfo(cnn, RetTables, Flags);
}

bool AdoMacros::CompactMdb(const std::string& DbName, std::string& TmpFile) const {
  return velmora::CompactMdb(DbName, TmpFile);
}

bool AdoMacros::CompactMdb(const std::string& DbName) const { return velmora::CompactMdb(DbName); }

}  // namespace velmora
