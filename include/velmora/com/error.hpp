#pragma once
// The error raised by every operation of the library: a COM automation error
// with number, source, description, help file and help context.
#include <cstdint>
#include <stdexcept>
#include <string>

namespace velmora::com {

// Run-time error numbers that clients know.
inline constexpr int32_t errInvalidProcedureCall = 5;
inline constexpr int32_t errOverflow = 6;
inline constexpr int32_t errSubscriptOutOfRange = 9;
inline constexpr int32_t errTypeMismatch = 13;
inline constexpr int32_t errObjectNotSet = 91;
inline constexpr int32_t errInvalidUseOfNull = 94;
inline constexpr int32_t errCannotCreateObject = 429;
inline constexpr int32_t errNoSuchMember = 438;
inline constexpr int32_t errDuplicateKey = 457;
// The library's own errors.
inline constexpr int32_t errLibrary = 20000;

class Error : public std::runtime_error {
 public:
  Error(int32_t number, std::string description, std::string source = {}, std::string helpFile = {},
        int32_t helpContext = 0);

  int32_t Number() const noexcept { return number_; }
  const std::string& Source() const noexcept { return source_; }
  const std::string& Description() const noexcept { return description_; }
  const std::string& HelpFile() const noexcept { return helpFile_; }
  int32_t HelpContext() const noexcept { return helpContext_; }

 private:
  int32_t number_;
  std::string description_;
  std::string source_;
  std::string helpFile_;
  int32_t helpContext_;
};

// Raises error `number` with `description`; the standard descriptions of the
// run-time numbers above are used when `description` is empty.
[[noreturn]] void Raise(int32_t number, const std::string& description = {}, const std::string& source = {});
// The standard description of a run-time error number ("Overflow" for 6...).
std::string StandardDescription(int32_t number);

}  // namespace velmora::com
