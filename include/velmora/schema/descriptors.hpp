#pragma once
// Schema descriptors: plain property holders for what reading a schema finds
// out about a database -- one data type (AdoDataType), one column
// (AdoField), one index (AdoIndex), one table (AdoTable). Every property is
// a get/put pair over a private member with no validation; a new object has
// every member at its zero value (empty, 0, false, no object).
//
// `N...` properties describe a type as the native engine knows it, `A...`
// properties as an ADO DataTypeEnum value.
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/collection.hpp"
#include "velmora/com/object.hpp"

namespace velmora {

// The key set attached to an index. Only a pointer is held here: the key set
// belongs to the collections layer above this one.
class AdoKeySet;

// Sort orders (SortOrderEnum) and null handling of an index (AllowNullsEnum).
inline constexpr int32_t kSortAscending = 1;
inline constexpr int32_t kSortDescending = 2;
inline constexpr int32_t kIndexNullsAllow = 0;
inline constexpr int32_t kIndexNullsDisallow = 1;
inline constexpr int32_t kIndexNullsIgnore = 2;
inline constexpr int32_t kIndexNullsIgnoreAny = 4;

class AdoDataType : public com::Object {
 public:
  const std::string& NName() const noexcept { return nName_; }
  void NName(std::string value) { nName_ = std::move(value); }
  const std::string& AName() const noexcept { return aName_; }
  void AName(std::string value) { aName_ = std::move(value); }
  int32_t NType() const noexcept { return nType_; }
  void NType(int32_t value) noexcept { nType_ = value; }
  int32_t AType() const noexcept { return aType_; }
  void AType(int32_t value) noexcept { aType_ = value; }
  bool Fixed() const noexcept { return fixed_; }
  void Fixed(bool value) noexcept { fixed_ = value; }

 private:
  std::string nName_;
  std::string aName_;
  int32_t nType_ = 0;
  int32_t aType_ = 0;
  bool fixed_ = false;
};

class AdoField : public com::Object {
 public:
  int32_t AType() const noexcept { return aType_; }
  void AType(int32_t value) noexcept { aType_ = value; }
  const std::string& ATypeName() const noexcept { return aTypeName_; }
  void ATypeName(std::string value) { aTypeName_ = std::move(value); }
  // Sort order of the column inside an index (kSortAscending...).
  int32_t Collation() const noexcept { return collation_; }
  void Collation(int32_t value) noexcept { collation_ = value; }
  int32_t Id() const noexcept { return id_; }
  void Id(int32_t value) noexcept { id_ = value; }
  bool IsNullable() const noexcept { return isNullable_; }
  void IsNullable(bool value) noexcept { isNullable_ = value; }
  const std::string& Name() const noexcept { return name_; }
  void Name(std::string value) { name_ = std::move(value); }
  int32_t NType() const noexcept { return nType_; }
  void NType(int32_t value) noexcept { nType_ = value; }
  const std::string& NTypeName() const noexcept { return nTypeName_; }
  void NTypeName(std::string value) { nTypeName_ = std::move(value); }
  int32_t NumScale() const noexcept { return numScale_; }
  void NumScale(int32_t value) noexcept { numScale_ = value; }
  int32_t Precision() const noexcept { return precision_; }
  void Precision(int32_t value) noexcept { precision_ = value; }
  int32_t Size() const noexcept { return size_; }
  void Size(int32_t value) noexcept { size_ = value; }
  bool Fixed() const noexcept { return fixed_; }
  void Fixed(bool value) noexcept { fixed_ = value; }

  // Sets every property of `target` from this field, in interface order.
  // `target` must be an object (91 otherwise); it is not created here.
  void CopyTo(const std::shared_ptr<AdoField>& target) const;

 private:
  int32_t aType_ = 0;
  std::string aTypeName_;
  int32_t collation_ = 0;
  int32_t id_ = 0;
  bool isNullable_ = false;
  std::string name_;
  int32_t nType_ = 0;
  std::string nTypeName_;
  int32_t numScale_ = 0;
  int32_t precision_ = 0;
  int32_t size_ = 0;
  bool fixed_ = false;
};

class AdoIndex : public com::Object {
 public:
  bool Clustered() const noexcept { return clustered_; }
  void Clustered(bool value) noexcept { clustered_ = value; }
  // Copies of the table's fields for the index's columns, keyed by name.
  const com::CollectionPtr& Fields() const noexcept { return fields_; }
  void Fields(com::CollectionPtr value) noexcept { fields_ = std::move(value); }
  // Null handling (kIndexNullsAllow...).
  int32_t HasNulls() const noexcept { return hasNulls_; }
  void HasNulls(int32_t value) noexcept { hasNulls_ = value; }
  bool IsObject() const noexcept { return isObject_; }
  void IsObject(bool value) noexcept { isObject_ = value; }
  const std::string& Name() const noexcept { return name_; }
  void Name(std::string value) { name_ = std::move(value); }
  const std::string& Note() const noexcept { return note_; }
  void Note(std::string value) { note_ = std::move(value); }
  bool Primary() const noexcept { return primary_; }
  void Primary(bool value) noexcept { primary_ = value; }
  bool Unique() const noexcept { return unique_; }
  void Unique(bool value) noexcept { unique_ = value; }
  int32_t Collation() const noexcept { return collation_; }
  void Collation(int32_t value) noexcept { collation_ = value; }
  const std::shared_ptr<AdoKeySet>& KeySet() const noexcept { return keySet_; }
  void KeySet(std::shared_ptr<AdoKeySet> value) noexcept { keySet_ = std::move(value); }

 private:
  bool clustered_ = false;
  com::CollectionPtr fields_;
  int32_t hasNulls_ = 0;
  bool isObject_ = false;
  std::string name_;
  std::string note_;
  bool primary_ = false;
  bool unique_ = false;
  int32_t collation_ = 0;
  std::shared_ptr<AdoKeySet> keySet_;
};

class AdoTable : public com::Object {
 public:
  // One AdoField per column, in column order, keyed by name.
  const com::CollectionPtr& Fields() const noexcept { return fields_; }
  void Fields(com::CollectionPtr value) noexcept { fields_ = std::move(value); }
  int32_t Id() const noexcept { return id_; }
  void Id(int32_t value) noexcept { id_ = value; }
  // One AdoIndex per index, keyed by name.
  const com::CollectionPtr& Indexes() const noexcept { return indexes_; }
  void Indexes(com::CollectionPtr value) noexcept { indexes_ = std::move(value); }
  const std::string& Name() const noexcept { return name_; }
  void Name(std::string value) { name_ = std::move(value); }
  const std::string& Owner() const noexcept { return owner_; }
  void Owner(std::string value) { owner_ = std::move(value); }

 private:
  com::CollectionPtr fields_;
  int32_t id_ = 0;
  com::CollectionPtr indexes_;
  std::string name_;
  std::string owner_;
};

using AdoDataTypePtr = std::shared_ptr<AdoDataType>;
using AdoFieldPtr = std::shared_ptr<AdoField>;
using AdoIndexPtr = std::shared_ptr<AdoIndex>;
using AdoTablePtr = std::shared_ptr<AdoTable>;

}  // namespace velmora
