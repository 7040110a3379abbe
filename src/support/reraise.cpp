#include "velmora/support/reraise.hpp"

#include <exception>
#include <new>
#include <optional>
#include <system_error>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

// The captured number 65535 is passed on as 0.
constexpr int32_t kCapturedNumberReplacedByZero = 65535;
constexpr int32_t kOutOfMemory = 7;

// Runs one amendment of the captured record; a failure is ignored, so that
// the raise still happens.
template <class Step>
void IgnoringErrors(Step&& step) noexcept {
  try {
    step();
  } catch (...) {
  }
}

// A pending error with only a number, a description and a system code.
PendingError Described(int32_t number, std::string description, int32_t lastDllError = 0) {
  PendingError e;
  e.number = number;
  e.description = std::move(description);
  e.lastDllError = lastDllError;
  return e;
}

bool CarriesSystemCode(const std::system_error& e) {
  return e.code().category() == std::system_category() || e.code().category() == std::generic_category();
}

}  // namespace

std::string ErrorSource(std::string_view module, std::string_view procedure) {
  std::string source(kLibraryName);
  source.append(".").append(module).append(".").append(procedure);
  return source;
}

PendingError ExceptionError(const std::exception_ptr& exception) {
  if (!exception) return {};
  try {
    std::rethrow_exception(exception);
  } catch (const com::Error& e) {
    return {e.Number(), e.Description(), e.Source(), e.HelpFile(), e.HelpContext(), 0};
  } catch (const std::bad_alloc&) {
    return Described(kOutOfMemory, com::StandardDescription(kOutOfMemory));
  } catch (const std::system_error& e) {
    return Described(kErrorUnspecified, e.what(), CarriesSystemCode(e) ? e.code().value() : 0);
  } catch (const std::exception& e) {
    return Described(kErrorUnspecified, e.what());
  } catch (...) {
    return Described(kErrorUnspecified, "Unspecified error");
  }
}

PendingError CurrentError() {
  const std::exception_ptr pending = std::current_exception();
  if (std::optional<PendingError> composed = Support().TakeErrorRecordFor(pending))
    return *std::move(composed);
  return ExceptionError(pending);
}

void ReraiseError(const com::Variant& number, const com::Variant& source, const com::Variant& description,
                  const com::Variant& helpFile, const com::Variant& helpContext,
                  const com::Variant& lastDllError, int32_t flags, const com::Variant& extra, int32_t tag) {
  if (support::IsPassThrough(flags)) {
    Support().RaiseError(number, source, description, helpFile, helpContext, lastDllError, flags, extra, tag);
  }

  PendingError captured = CurrentError();
  if (captured.number == kCapturedNumberReplacedByZero) captured.number = 0;
  std::string helpContextText = std::to_string(captured.helpContext);

  if (!number.IsMissing()) IgnoringErrors([&] { captured.number = com::CLng(number); });
  // A given description wins outright: the captured one is not kept, not
  // even in brackets.
  if (!description.IsMissing()) IgnoringErrors([&] { captured.description = com::CStr(description); });
  if (!helpContext.IsMissing()) IgnoringErrors([&] { helpContextText = com::CStr(helpContext); });
  if (!helpFile.IsMissing()) IgnoringErrors([&] { captured.helpFile = com::CStr(helpFile); });
  if (!lastDllError.IsMissing()) IgnoringErrors([&] { captured.lastDllError = com::CLng(lastDllError); });
  if (!source.IsMissing()) IgnoringErrors([&] { captured.source = com::CStr(source); });
  if (flags & support::kErrorFlagAppendSystemText) {
    IgnoringErrors([&] {
      captured.description += "\r\n" + Support().SystemErrorText(captured.lastDllError);
    });
  }

  Support().RaiseError(captured.number, captured.source, captured.description, captured.helpFile,
                       helpContextText, captured.lastDllError, flags, extra, tag);
}

void Reraise(const std::string& source) {
  ReraiseError(com::Missing, source, com::Missing, com::Missing, com::Missing, com::Missing,
               support::kErrorFlagPassThrough);
}

}  // namespace velmora
