// The writing side of field value access.
#include <algorithm>

#include "com/utf.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

namespace {

// The leftmost `count` characters (code points) of UTF-8 text.
std::string LeftChars(const std::string& text, int32_t count) {
  return text.substr(0, com::detail::OffsetAfterChars(text, 0, count));
}

bool IsZeroNumber(const com::Variant& value) {
  return com::IsNumeric(value) && com::VarEqual(value, com::Variant(int16_t{0}));
}

// True when a text column stores `value` as it is: a string no longer in
// bytes than the column's size has no more characters either.
bool StoredAsIs(const ado::Field& field, const com::Variant& value, bool defaultToNull) {
  const std::string* text = value.TryGet<std::string>();
  return text && !(defaultToNull && text->empty()) &&
         text->size() <= static_cast<std::size_t>(std::max(field.DefinedSize(), 0));
}

// The value a text column stores: Null for "" with DefaultToNull, else the
// text cut to the column's defined size.
com::Variant TextToStore(const ado::Field& field, const com::Variant& value, bool defaultToNull) {
  const std::string text = com::CStr(value);
  if (defaultToNull && text.empty()) return com::Null;
  return LeftChars(text, field.DefinedSize());
}

}  // namespace

void StringToBlob(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob) {
  Field->AppendChunk(BlobChunkOf(Value, AnsiBlob));
}

void FieldValueSet2(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob,
                    bool DefaultToNull) {
  if (Value.IsNull()) {
    Field->Value(com::Null);
    return;
  }
  if ((Field->Attributes() & ado::adFldLong) != 0) {
    StringToBlob(Field, Value, AnsiBlob);
    return;
  }
  switch (FieldTypeConstToVb(Field->Type())) {
    case com::vbDate:
      // Tolerant: a value that is not a date stores the date 0.
      if (Value.TryGet<com::Date>()) {
        Field->Value(Value);
      } else {
        Field->Value(com::IsDate(Value) ? com::Variant(com::CDate(Value)) : com::Variant(int16_t{0}));
      }
      return;
    case com::vbString:
      if (StoredAsIs(*Field, Value, DefaultToNull)) {
        Field->Value(Value);
      } else {
        Field->Value(TextToStore(*Field, Value, DefaultToNull));
      }
      return;
    case com::vbBoolean:
      Field->Value(DefaultToNull && com::VarEqual(Value, com::Variant(false)) ? com::Variant(com::Null)
                                                                              : Value);
      return;
    default:
      Field->Value(DefaultToNull && IsZeroNumber(Value) ? com::Variant(com::Null) : Value);
      return;
  }
}

void FieldValueSet(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob) {
  FieldValueSet2(Field, Value, AnsiBlob, false);
}

void FieldDefaultSet(const std::shared_ptr<ado::Field>& Field) {
  if ((Field->Attributes() & ado::adFldIsNullable) != 0) {
    Field->Value(com::Null);
  } else {
    Field->Value(FieldDefaultValue(FieldTypeConstToVb(Field->Type())));
  }
}

void FieldWrite(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, const com::Variant& Value,
                int32_t Flags) {
  const bool exists = Support().CollectionItemExists(Fields, Key);
  if (!exists && (Flags & FLDRW_ONLYIFEXISTS) != 0) return;
  FieldValueSet2(Fields->Item(Key), Value, false, false);
}

}  // namespace velmora
