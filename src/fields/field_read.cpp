// The reading side of field value access.
#include "velmora/ado/recordset.hpp"
#include "ado/error_map.hpp"
#include "com/utf.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

namespace {

bool IsLong(const ado::Field& field) {
  return (field.Attributes() & ado::adFldLong) != 0;
}

// True when the caller tolerates a missing field and field `key` is missing.
bool SkipMissing(const std::shared_ptr<ado::Fields>& fields, const std::string& key, int32_t flags) {
  return (flags & FLDRW_ONLYIFEXISTS) != 0 && !Support().CollectionItemExists(fields, key);
}

}  // namespace

std::string BlobToString(const std::shared_ptr<ado::Field>& Field, bool AnsiBlob) {
  if (Field->ActualSize() <= 0) return BlobTextOf(com::ByteArray(), AnsiBlob);
  // A byte array is read as it is, a string as its UTF-16LE bytes.
  const com::Variant& value = Field->ValueRef();
  if (const auto* bytes = value.TryGet<com::ByteArray>()) return BlobTextOf(*bytes, AnsiBlob);
  if (const auto* text = value.TryGet<std::string>()) {
    return BlobTextOf(com::detail::Utf8ToUtf16Le(*text, com::detail::LoneSurrogates::Keep), AnsiBlob);
  }
  // Neither text nor bytes: the invalid argument a binary stream would refuse.
  ado::detail::RaiseAdo(ado::adErrInvalidArgument, "Velmora.ado.Stream", "a long column holds neither text nor bytes");
}

com::Variant FieldValueGet(const std::shared_ptr<ado::Field>& Field, int16_t& vType, bool AnsiBlob) {
  if (IsLong(*Field)) return BlobToString(Field, AnsiBlob);
  const com::Variant& value = Field->ValueRef();
  if (!value.IsNull()) return value;
  if (vType == com::vbEmpty) vType = FieldTypeConstToVb(Field->Type());
  return FieldDefaultValue(vType);
}

void FieldGet(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, com::Variant& Value,
              int32_t Flags) {
  int16_t vType = Value.VarType();
  if (SkipMissing(Fields, Key, Flags)) {
    Value = FieldDefaultValue(vType);
    return;
  }
  Value = FieldValueGet(Fields->Item(Key), vType, false);
}

com::Variant FieldRead(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, int16_t& vType,
                       int32_t Flags) {
  if (SkipMissing(Fields, Key, Flags)) return FieldDefaultValue(vType);
  return FieldValueGet(Fields->Item(Key), vType, false);
}

}  // namespace velmora
