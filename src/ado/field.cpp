#include <algorithm>

#include "ado/error_map.hpp"
#include "ado/recordset_internal.hpp"
#include "com/utf.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado {

// ---- Binding -----------------------------------------------------------------

const detail::Cursor& Field::Binding::Cursor() const {
  if (!cursor) detail::RaiseAdo(adErrObjectNotSet, detail::kFieldSource, "the recordset was closed");
  return *cursor;
}

detail::RecordEditor& Field::Binding::Editor() const {
  if (!editor) detail::RaiseAdo(adErrObjectNotSet, detail::kFieldSource, "the recordset is not open");
  return *editor;
}

const detail::ColumnInfo& Field::Binding::Info() const {
  if (editor) return editor->Columns()[static_cast<size_t>(ordinal)];
  if (definition) return *definition;
  return Cursor().Columns()[static_cast<size_t>(ordinal)];
}

// ---- Internal ----------------------------------------------------------------

FieldPtr Field::Internal::Bound(const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t ordinal) {
  FieldPtr field(new Field());
  Attach(*field, cursor, editor, ordinal);
  return field;
}

FieldPtr Field::Internal::Appended(const detail::ColumnInfo& definition) {
  FieldPtr field(new Field());
  field->binding_->definition = definition;
  return field;
}

void Field::Internal::Attach(Field& field, const detail::Cursor* cursor, detail::RecordEditor* editor,
                             int32_t ordinal) noexcept {
  field.binding_->cursor = cursor;
  field.binding_->editor = editor;
  field.binding_->ordinal = ordinal;
}

void Field::Internal::Detach(Field& field) noexcept {
  field.binding_->cursor = nullptr;
  field.binding_->editor = nullptr;
  field.binding_->definition.reset();
}

// ---- Field -------------------------------------------------------------------

Field::Field() : binding_(std::make_unique<Binding>()) {}
Field::~Field() = default;

void Field::Value(const com::Variant& value) { binding_->Editor().SetValue(binding_->ordinal, value); }
com::Variant Field::OriginalValue() const { return binding_->Editor().OriginalValue(binding_->ordinal); }
void Field::AppendChunk(const com::Variant& data) { binding_->Editor().AppendChunk(binding_->ordinal, data); }

void Field::Precision(uint8_t value) {
  if (!binding_->definition || binding_->cursor) {
    detail::RaiseAdo(adErrIllegalOperation, detail::kFieldSource, "Precision");
  }
  binding_->definition->precision = value;
}

void Field::NumericScale(uint8_t value) {
  if (!binding_->definition || binding_->cursor) {
    detail::RaiseAdo(adErrIllegalOperation, detail::kFieldSource, "NumericScale");
  }
  binding_->definition->scale = value;
}

std::string Field::Name() const { return binding_->Info().name; }
int32_t Field::Type() const { return binding_->Info().type; }
int32_t Field::Attributes() const {
  if (binding_->editor) return binding_->editor->Attributes(binding_->ordinal);
  return binding_->Info().attributes;
}
int32_t Field::DefinedSize() const { return binding_->Info().definedSize; }
uint8_t Field::Precision() const { return binding_->Info().precision; }
uint8_t Field::NumericScale() const { return binding_->Info().scale; }

const com::Variant& Field::ValueRef() const {
  const detail::Cursor& c = binding_->Cursor();
  if (!c.HasCurrent()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kFieldSource, "reading " + Name());
  return c.Current()[static_cast<size_t>(binding_->ordinal)];
}

com::Variant Field::Value() const { return ValueRef(); }

int32_t Field::ActualSize() const {
  const com::Variant& v = ValueRef();
  if (v.IsNull()) return 0;
  if (auto s = v.TryGet<std::string>()) return static_cast<int32_t>(s->size());
  if (auto b = v.TryGet<com::ByteArray>()) return static_cast<int32_t>(b->size());
  return DefinedSize();
}

com::Variant Field::GetChunk(int32_t length) {
  if (!(Attributes() & adFldLong)) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kFieldSource, "GetChunk on a field that is not long");
  }
  if (length < 0) detail::RaiseAdo(adErrInvalidArgument, detail::kFieldSource, "GetChunk length");
  const com::Variant& v = ValueRef();
  const int64_t row = binding_->Cursor().Position();
  if (row != chunkRow_) {
    chunkRow_ = row;
    chunkOffset_ = 0;
  }
  if (v.IsNull()) return com::Null;
  if (auto b = v.TryGet<com::ByteArray>()) {
    if (chunkOffset_ >= b->size()) return com::Null;
    const size_t n = std::min(b->size() - chunkOffset_, static_cast<size_t>(length));
    com::ByteArray part(b->begin() + static_cast<std::ptrdiff_t>(chunkOffset_),
                        b->begin() + static_cast<std::ptrdiff_t>(chunkOffset_ + n));
    chunkOffset_ += n;
    return part;
  }
  const std::string& s = v.Get<std::string>();
  if (chunkOffset_ >= s.size()) return com::Null;
  // Text chunks count characters: advance over whole UTF-8 sequences.
  const size_t end = com::detail::OffsetAfterChars(s, chunkOffset_, length);
  std::string part = s.substr(chunkOffset_, end - chunkOffset_);
  chunkOffset_ = end;
  return part;
}

}  // namespace velmora::ado
