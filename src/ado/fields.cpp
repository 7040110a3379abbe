#include "ado/error_map.hpp"
#include "ado/recordset_internal.hpp"
#include "ado/variant_index.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado {
namespace {

constexpr const char* kFieldsSource = "Velmora.ado.Fields";

// Names compare without regard to ASCII case; they are kept folded once.
std::string FoldAscii(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

}  // namespace

FieldPtr Fields::Item(const com::Variant& index) const {
  if (auto name = index.TryGet<std::string>()) {
    const int32_t i = IndexOf(*name);
    if (i < 0) detail::RaiseAdo(adErrItemNotFound, kFieldsSource, "field '" + *name + "'");
    return items_[static_cast<size_t>(i)];
  }
  const int64_t i = detail::PositionOf(index);
  if (i < 0 || i >= Count()) detail::RaiseAdo(adErrItemNotFound, kFieldsSource, "field position");
  return items_[static_cast<size_t>(i)];
}

int32_t Fields::IndexOf(const std::string& name) const {
  const std::string folded = FoldAscii(name);
  for (size_t i = 0; i < foldedNames_.size(); ++i) {
    if (foldedNames_[i] == folded) return static_cast<int32_t>(i);
  }
  return -1;
}

void Fields::Append(const std::string& name, int32_t type, int32_t definedSize, int32_t attrib,
                    const com::Variant& fieldValue) {
  (void)fieldValue;
  if (open_) detail::RaiseAdo(adErrIllegalOperation, kFieldsSource, "Append on an open recordset");
  if (name.empty()) detail::RaiseAdo(adErrInvalidArgument, kFieldsSource, "Append without a name");
  if (IndexOf(name) >= 0) detail::RaiseAdo(adErrObjectInCollection, kFieldsSource, "field '" + name + "'");
  detail::ColumnInfo c;
  c.name = name;
  c.type = type;
  c.definedSize = definedSize;
  c.attributes = attrib == adFldUnspecified ? 0 : attrib;
  if (type == adLongVarBinary || type == adLongVarWChar || type == adLongVarChar) c.attributes |= adFldLong;
  c.precision = 0;
  c.scale = 0;
  items_.push_back(Field::Internal::Appended(c));
  foldedNames_.push_back(FoldAscii(name));
}

std::vector<detail::ColumnInfo> Fields::Internal::Definitions(const Fields& fields) {
  std::vector<detail::ColumnInfo> out;
  for (const auto& f : fields.items_) {
    detail::ColumnInfo c;
    c.name = f->Name();
    c.type = f->Type();
    c.definedSize = f->DefinedSize();
    c.attributes = f->Attributes();
    c.precision = f->Precision();
    c.scale = f->NumericScale();
    out.push_back(std::move(c));
  }
  return out;
}

void Fields::Internal::Bind(Fields& fields, const detail::Cursor* cursor, detail::RecordEditor* editor,
                            int32_t count, bool keepAppended) {
  if (keepAppended) {
    for (size_t i = 0; i < fields.items_.size(); ++i) {
      Field::Internal::Attach(*fields.items_[i], cursor, editor, static_cast<int32_t>(i));
    }
  } else {
    Unbind(fields);
    for (int32_t i = 0; i < count; ++i) {
      fields.items_.push_back(Field::Internal::Bound(cursor, editor, i));
      fields.foldedNames_.push_back(FoldAscii(cursor->Columns()[static_cast<size_t>(i)].name));
    }
  }
  fields.open_ = true;
}

void Fields::Internal::Unbind(Fields& fields) noexcept {
  for (auto& f : fields.items_) Field::Internal::Detach(*f);
  fields.items_.clear();
  fields.foldedNames_.clear();
  fields.open_ = false;
}

}  // namespace velmora::ado
