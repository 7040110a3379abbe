#pragma once
// The library's error convention.
//
// A procedure that can fail runs its body in a try block; its handler is
//
//   catch (...) { Reraise(ErrorSource("AdoFlags", "Load")); }
//
// which raises the pending error (the exception being handled) again as a
// com::Error with the same number and description and the procedure's full
// name, "Velmora.AdoFlags.Load", as its Source. Errors re-raised through
// several procedures therefore reach the client with the first number and
// description and the Source of the outermost library procedure.
//
// The pending error is read from std::current_exception():
//  - a com::Error gives its number, description, source, help file and help
//    context;
//  - std::bad_alloc gives 7 "Out of memory";
//  - any other std::exception gives -2147467259 (0x80004005, the generic
//    COM failure) with its what() as description; a std::system_error also
//    gives its error code as LastDllError;
//  - anything else gives -2147467259 "Unspecified error";
//  - with no exception pending everything is 0 or empty.
//
// A handler may compose a better description before re-raising: when the
// support object's error record (SupportObject::SetError, which ErrorSet
// uses) was set while the exception being handled was pending, that record
// is the pending error instead, and it is cleared once read.
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "velmora/com/variant.hpp"

namespace velmora {

// The component's name, the first part of every Source the library sets.
inline constexpr std::string_view kLibraryName = "Velmora";

// Number given to a pending exception that is not a com::Error.
inline constexpr int32_t kErrorUnspecified = -2147467259;  // 0x80004005

// "Velmora.<module>.<procedure>", the Source of a library procedure.
std::string ErrorSource(std::string_view module, std::string_view procedure);

// What is known about the pending error.
struct PendingError {
  int32_t number = 0;
  std::string description;
  std::string source;
  std::string helpFile;
  int32_t helpContext = 0;
  int32_t lastDllError = 0;
};
// The error an exception carries, read as described above (the support
// object's error record is not consulted).
PendingError ExceptionError(const std::exception_ptr& exception);
// The pending error: the support object's error record when it was set while
// the exception being handled was pending (the record is then cleared),
// otherwise ExceptionError of the exception being handled.
PendingError CurrentError();

// Raises the pending error again (module TarnExtra).
//
// Capturing mode (flags without bit 4 or 8): the pending error is captured
// (number 65535 becomes 0), each given argument replaces the captured item
// (a given Description replaces the captured one outright), bit 2 appends
// "\r\n" + SystemErrorText(LastDllError) to the description, and the result
// is raised. A failure while amending the record is ignored.
//
// Pass-through mode (bit 4 or 8): nothing is captured; the arguments go to
// SupportObject::RaiseError as given, which fills the missing items from the
// pending error.
//
// Called from a catch handler; it always throws a com::Error.
[[noreturn]] void ReraiseError(const com::Variant& number = com::Missing,
                               const com::Variant& source = com::Missing,
                               const com::Variant& description = com::Missing,
                               const com::Variant& helpFile = com::Missing,
                               const com::Variant& helpContext = com::Missing,
                               const com::Variant& lastDllError = com::Missing, int32_t flags = 0,
                               const com::Variant& extra = com::Missing, int32_t tag = 0);

// The handler of every library procedure: ReraiseError with only Source
// given and flags 4.
[[noreturn]] void Reraise(const std::string& source);

}  // namespace velmora
