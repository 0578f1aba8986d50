// ReplaceFileW: a file takes the place of another.
#include "platform/replace_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "kernel32/errno_map.h"
#include "kernel32/paths.h"
#include "platform/checkpoint.h"

namespace platform {
namespace {

constexpr mode_t kPermissions = 0777;

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

BOOL Replace(const std::string& replaced, const std::string& replacement) {
  const std::unique_ptr<char, FreeDeleter> target(realpath(replaced.c_str(), nullptr));
  struct stat status;
  if (!target || stat(target.get(), &status) != 0) return FailOnPath(errno, replaced);
  if (!S_ISREG(status.st_mode) || (status.st_mode & S_IWUSR) == 0) return Fail(ERROR_ACCESS_DENIED);
  if (chmod(replacement.c_str(), status.st_mode & kPermissions) != 0 ||
      rename(replacement.c_str(), target.get()) != 0) {
    return FailOnPath(errno, replacement);
  }
  return TRUE;
}

}  // namespace
}  // namespace platform

BOOL WINAPI ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup, DWORD flags, LPVOID,
                         LPVOID) noexcept {
  platform::Checkpoint();
  if (backup != nullptr || flags != 0) return platform::Fail(ERROR_INVALID_PARAMETER);
  const auto target = platform::NativePath(replaced);
  const auto source = target ? platform::NativePath(replacement) : std::nullopt;
  return source ? platform::Replace(*target, *source) : FALSE;
}
