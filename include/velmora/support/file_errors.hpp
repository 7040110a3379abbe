#pragma once
// Runtime errors for failed file operations, numbered as the runtime numbers
// them, so that a caller can tell a missing folder from a missing file, a
// refused permission or another access problem.
#include <cstdint>
#include <string>

namespace velmora::support {

inline constexpr int32_t errFileNotFound = 53;
inline constexpr int32_t errPermissionDenied = 70;
inline constexpr int32_t errPathFileAccess = 75;
inline constexpr int32_t errPathNotFound = 76;

// The number for a failure with errno `error` on `path`: 76 when a folder
// of the path is missing or is not a folder, 53 when only the file itself
// is missing, 70 when permission is refused, 75 otherwise.
int32_t FileErrorNumber(const std::string& path, int error);

// Raises that error, described as "<runtime text>: cannot <action> '<path>':
// <cause>", the cause naming the missing folder or the folder in the way.
[[noreturn]] void RaiseFileError(const std::string& action, const std::string& path, int error);

}  // namespace velmora::support
