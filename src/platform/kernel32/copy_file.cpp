// CopyFileW: contents and permissions.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <memory>
#include <string>

#include "kernel32/errno_map.h"
#include "kernel32/file_object.h"
#include "kernel32/paths.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace platform {
namespace {

constexpr size_t kCopyBufferBytes = size_t{64} * 1024;
constexpr mode_t kPermissions = 0777;

int WriteAll(int descriptor, const std::byte* data, size_t size) {
  while (size > 0) {
    const ssize_t put = write(descriptor, data, size);
    if (put < 0 && errno != EINTR) return errno;
    if (put > 0) {
      data += put;
      size -= static_cast<size_t>(put);
    }
  }
  return 0;
}

// 0 or a value of errno.
int CopyContents(int source, int target) {
  const auto buffer = std::make_unique<std::byte[]>(kCopyBufferBytes);
  for (;;) {
    Checkpoint();
    const ssize_t got = read(source, buffer.get(), kCopyBufferBytes);
    if (got == 0) return 0;
    if (got < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (const int error = WriteAll(target, buffer.get(), static_cast<size_t>(got)); error != 0) {
      return error;
    }
  }
}

// Opens the target without emptying it: it may turn out to be the source under another name.
Descriptor OpenTarget(const std::string& path, mode_t mode, bool only_new, bool* created) {
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
  Descriptor fresh(open(path.c_str(), flags | O_EXCL, mode));
  *created = fresh.IsOpen();
  if (fresh.IsOpen() || only_new || errno != EEXIST) return fresh;
  return Descriptor(open(path.c_str(), flags, mode));
}

// 0 or an error of the platform, for a target that was there before.
DWORD PrepareExisting(int target, const struct stat& source_status) {
  struct stat status;
  if (fstat(target, &status) != 0) return ErrorFromErrno(errno);
  if (status.st_dev == source_status.st_dev && status.st_ino == source_status.st_ino) {
    return ERROR_SHARING_VIOLATION;
  }
  if ((status.st_mode & S_IWUSR) == 0) return ERROR_ACCESS_DENIED;
  if (S_ISREG(status.st_mode) && ftruncate(target, 0) != 0) return ErrorFromErrno(errno);
  return ERROR_SUCCESS;
}

BOOL Copy(const std::string& from, const std::string& to, bool only_new) {
  const Descriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC));
  if (!source.IsOpen()) return FailOnPath(errno, from);
  struct stat status;
  if (fstat(source.get(), &status) != 0) return FailWithErrno(errno);
  if (S_ISDIR(status.st_mode)) return Fail(ERROR_ACCESS_DENIED);
  bool created = false;
  const Descriptor target = OpenTarget(to, status.st_mode & kPermissions, only_new, &created);
  if (!target.IsOpen()) return FailOnPath(errno, to);
  if (!created) {
    const DWORD error = PrepareExisting(target.get(), status);
    if (error != ERROR_SUCCESS) return Fail(error);
  }
  const int error = CopyContents(source.get(), target.get());
  if (error == 0) return TRUE;
  if (created) unlink(to.c_str());
  return FailWithErrno(error);
}

}  // namespace
}  // namespace platform

BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) noexcept {
  platform::Checkpoint();
  const auto source = platform::NativePath(from);
  const auto target = source ? platform::NativePath(to) : std::nullopt;
  return target ? platform::Copy(*source, *target, fail_if_exists != FALSE) : FALSE;
}
