// File names of the platform and paths of the system.
#ifndef PLATFORM_KERNEL32_PATHS_H_
#define PLATFORM_KERNEL32_PATHS_H_

#include <optional>
#include <string>
#include <string_view>

#include "platform/kernel32.h"

namespace platform {

// The path of a name: both separators, "C:" as the root directory. Nothing, with the last error
// set, for a name that has none.
std::optional<std::string> NativePath(LPCWSTR name);

// The last error for a failed call on a path: a missing file is told from a missing directory on
// the way to it. Returns FALSE.
BOOL FailOnPath(int error_number, const std::string& path);

// The absolute, resolved form of a name ("C:\home\me\x"), from the name alone; relative names start
// at the current directory, given in native form.
std::u16string FullPathName(std::u16string_view name, std::u16string_view current_directory);

}  // namespace platform

#endif  // PLATFORM_KERNEL32_PATHS_H_
