#pragma once
// Field services of the support object: whether a Fields collection holds a
// field, the ANSI code page (Windows-1252) both ways, and the thread's error
// record, which ErrorSet fills with a connection's provider errors.
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/com/variant.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora::ado {
class Fields;
}

namespace velmora::support {

// The code page that stands for the system ANSI code page.
inline constexpr const char* kAnsiCodePage = "WINDOWS-1252";

class FieldServices {
 public:
  // True when `fields` holds a field named `key` (without regard to case);
  // false for no collection.
  bool CollectionItemExists(const std::shared_ptr<ado::Fields>& fields, const std::string& key) const;

  // The text's bytes in the ANSI code page: one byte a character; a
  // character the code page lacks becomes "?".
  com::ByteArray AnsiBytesFromString(std::string_view text) const;
  // The other direction: each byte becomes one character. Every byte value
  // comes back from AnsiBytesFromString unchanged.
  std::string StringFromAnsiBytes(const uint8_t* data, std::size_t size) const;
  std::string StringFromAnsiBytes(const com::ByteArray& bytes) const {
    return StringFromAnsiBytes(bytes.data(), bytes.size());
  }

  // The heading line put above the provider errors of a connection.
  std::string ErrorHeading() const;

  // Sets this thread's error record, the error the caller will raise or
  // report. Each Missing item is taken from the pending error: the record
  // itself when it was set while the same exception was being handled, else
  // the exception being handled, else (outside a handler) the record as it
  // is. Never raises; an item that cannot be converted counts as Missing.
  //
  // Set inside a handler, the record becomes the pending error of that
  // handler: Reraise and ReraiseError raise it (see CurrentError).
  void SetError(const com::Variant& number, const com::Variant& source, const com::Variant& description,
                const com::Variant& helpFile = com::Missing,
                const com::Variant& helpContext = com::Missing) noexcept;
  // The error record (number 0 and empty texts when none is set).
  const PendingError& ErrorRecord() const noexcept { return record_; }
  void ClearErrorRecord() noexcept;
  // The record, which is then cleared, when it was set while `handled` was
  // the exception being handled; nothing otherwise (nothing for no
  // exception), so that a record left over from an earlier failure is never
  // mistaken for the error of a later one.
  std::optional<PendingError> TakeErrorRecordFor(const std::exception_ptr& handled) noexcept;
  // Raises the error record as a com::Error and clears it.
  [[noreturn]] void RaiseErrorRecord();

 private:
  PendingError record_;
  // The exception being handled when the record was set (none outside a
  // handler).
  std::exception_ptr recordHandled_;
};

}  // namespace velmora::support
