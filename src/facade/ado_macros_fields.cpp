// The AdoMacros members of field value access and SQL text: forwarders with
// the AnsiBlob each one passes.
#include "velmora/facade/ado_macros.hpp"
#include "velmora/fields/sql_text.hpp"

namespace velmora {

void AdoMacros::StringToBlob(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value,
                             bool AnsiBlob) const {
  velmora::StringToBlob(Field, Value, AnsiBlob);
}

std::string AdoMacros::BlobToString(const std::shared_ptr<ado::Field>& Field, bool AnsiBlob) const {
  return velmora::BlobToString(Field, AnsiBlob);
}

bool AdoMacros::IsValidBookmark(const std::shared_ptr<ado::Recordset>& rs,
                                const com::Variant& Bookmark) const {
  return velmora::IsValidBookmark(rs, Bookmark);
}

std::string AdoMacros::SQLName(const std::string& Name) const {
  return velmora::SQLName(Name);
}

std::string AdoMacros::QueryArgument(const com::Variant& Argument, int16_t vType, int32_t Flags) const {
  return velmora::QueryArgument(Argument, vType, Flags);
}

void AdoMacros::ErrorSet(const std::shared_ptr<ado::Connection>& cnn) const {
  velmora::ErrorSet(cnn);
}

void AdoMacros::ConnectionClose(const std::shared_ptr<ado::Connection>& cnn) const {
  velmora::ConnectionClose(cnn);
}

void AdoMacros::RecordsetClose(std::shared_ptr<ado::Recordset>& rs) const {
  velmora::RecordsetClose(rs);
}

void AdoMacros::FieldValueSet(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value) const {
  velmora::FieldValueSet2(Field, Value, defaultAnsiBlob_, false);
}

void AdoMacros::FieldGet(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key,
                         com::Variant& Value, int32_t Flags) const {
  velmora::FieldGet(Fields, Key, Value, Flags);
}

com::Variant AdoMacros::FieldRead(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key,
                                  int16_t& vType, int32_t Flags) const {
  return velmora::FieldRead(Fields, Key, vType, Flags);
}

void AdoMacros::FieldWrite(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key,
                           const com::Variant& Value, int32_t Flags) const {
  velmora::FieldWrite(Fields, Key, Value, Flags);
}

com::Variant AdoMacros::FieldValueGet(const std::shared_ptr<ado::Field>& Field, int16_t vType) const {
  // vType is this member's own copy: a Null read may set it, the caller never sees it.
  return velmora::FieldValueGet(Field, vType, defaultAnsiBlob_);
}

void AdoMacros::FieldDefaultSet(const std::shared_ptr<ado::Field>& Field) const {
  velmora::FieldDefaultSet(Field);
}

void AdoMacros::FieldValueSet2(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value,
                               bool DefaultToNull) const {
  velmora::FieldValueSet2(Field, Value, defaultAnsiBlob_, DefaultToNull);
}

}  // namespace velmora
