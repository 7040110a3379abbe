#include "velmora/support/field_services.hpp"

#include <exception>

#include "velmora/ado/stream.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::support {

namespace {

// Converts a given item; Missing, or an item that cannot be converted, keeps
// `target` as it is.
template <class T, class Convert>
void AssignGiven(T& target, const com::Variant& item, Convert convert) noexcept {
  if (item.IsMissing()) return;
  try {
    target = convert(item);
  } catch (...) {
  }
}

}  // namespace

com::ByteArray FieldServices::AnsiBytesFromString(std::string_view text) const {
  return ado::CharsetBytesFromString(text, kAnsiCodePage);
}

std::string FieldServices::StringFromAnsiBytes(const uint8_t* data, std::size_t size) const {
  return ado::StringFromCharsetBytes(data, size, kAnsiCodePage);
}

std::string FieldServices::ErrorHeading() const {
  return "Errori segnalati dal provider di dati:";
}

void FieldServices::SetError(const com::Variant& number, const com::Variant& source,
                             const com::Variant& description, const com::Variant& helpFile,
                             const com::Variant& helpContext) noexcept {
  try {
    const std::exception_ptr handled = std::current_exception();
    const bool continuesRecord = !handled || handled == recordHandled_;
    PendingError error = continuesRecord ? record_ : ExceptionError(handled);
    AssignGiven(error.number, number, [](const com::Variant& v) { return com::CLng(v); });
    AssignGiven(error.source, source, [](const com::Variant& v) { return com::CStr(v); });
    AssignGiven(error.description, description, [](const com::Variant& v) { return com::CStr(v); });
    AssignGiven(error.helpFile, helpFile, [](const com::Variant& v) { return com::CStr(v); });
    AssignGiven(error.helpContext, helpContext, [](const com::Variant& v) { return com::CLng(v); });
    record_ = std::move(error);
    recordHandled_ = handled;
  } catch (...) {
    // Out of memory while copying texts: the record stays as it was.
  }
}

void FieldServices::ClearErrorRecord() noexcept {
  record_ = PendingError();
  recordHandled_ = nullptr;
}

std::optional<PendingError> FieldServices::TakeErrorRecordFor(const std::exception_ptr& handled) noexcept {
  if (!handled || handled != recordHandled_) return std::nullopt;
  std::optional<PendingError> taken(std::move(record_));
  ClearErrorRecord();
  return taken;
}

void FieldServices::RaiseErrorRecord() {
  PendingError raised = std::move(record_);
  ClearErrorRecord();
  throw com::Error(raised.number, raised.description, raised.source, raised.helpFile, raised.helpContext);
}

}  // namespace velmora::support
