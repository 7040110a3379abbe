// The reading side of field value access.
#include "velmora/ado/recordset.hpp"
#include "velmora/ado/stream.hpp"
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
  com::ByteArray bytes;
  if (Field->ActualSize() > 0) {
    // The value goes through a binary stream: a string comes out as its
    // UTF-16LE bytes, a byte array as itself.
    auto stream = std::make_shared<ado::Stream>();
    stream->Type(ado::adTypeBinary);
    stream->Open(com::Missing, 0, ado::adOpenStreamUnspecified);
    stream->Write(Field->Value());
    stream->Position(0);
    com::Variant read = stream->Read(ado::adReadAll);
    stream->Close();
    if (auto* content = read.TryGet<com::ByteArray>()) bytes = std::move(*content);
  }
  return BlobTextOf(bytes, AnsiBlob);
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
