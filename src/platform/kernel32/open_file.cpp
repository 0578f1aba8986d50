// CreateFileW: opening and creating files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "kernel32/errno_map.h"
#include "kernel32/file_object.h"
#include "kernel32/paths.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace platform {
namespace {

struct OpenRequest {
  std::string path;
  DWORD access;
  DWORD share;
  DWORD disposition;
  DWORD flags;
  bool owner_only;

  bool MayCreate() const {
    return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  }
  bool MayOpen() const { return disposition != CREATE_NEW; }
  bool Writes() const { return (access & (GENERIC_WRITE | FILE_APPEND_DATA)) != 0 || Truncates(); }
  // Without the right to write elsewhere, everything goes to the end of the file.
  bool AppendsOnly() const {
    return (access & (GENERIC_WRITE | FILE_APPEND_DATA)) == FILE_APPEND_DATA;
  }
  bool Truncates() const {
    return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
  }
  mode_t Mode() const {
    constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t all = owner_only ? 0600 : 0666;
    return (flags & FILE_ATTRIBUTE_READONLY) != 0 ? all & ~kWriteBits : all;
  }
};

int OpenMode(const OpenRequest& request) {
  // Emptying a file takes the right to write, which CREATE_ALWAYS has without asking for it.
  const bool write = request.Writes();
  const bool read = (request.access & GENERIC_READ) != 0;
  const int append = request.AppendsOnly() ? O_APPEND : 0;
  if (read && write) return O_RDWR | append;
  if (write) return O_WRONLY | append;
  // Attributes and existence need no right to the contents.
  return read || request.MayCreate() ? O_RDONLY : O_PATH;
}

int OpenRetrying(const std::string& path, int flags, mode_t mode) {
  for (;;) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
    if (descriptor >= 0 || errno != EINTR) return descriptor;
  }
}

struct Opened {
  int descriptor;
  bool existed;
};

// A file that comes or goes between the two attempts is tried again, a few times.
Opened OpenOrCreate(const OpenRequest& request) {
  constexpr int kAttempts = 8;
  const int mode = OpenMode(request);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (request.MayCreate()) {
      const int flags = mode | O_CREAT | O_EXCL;
      const int created = OpenRetrying(request.path, flags, request.Mode());
      if (created >= 0 || errno != EEXIST || !request.MayOpen()) return {created, false};
    }
    const int opened = OpenRetrying(request.path, mode, 0);
    if (opened >= 0 || errno != ENOENT || !request.MayCreate()) return {opened, true};
  }
  return {-1, false};
}

// The handle for an open descriptor, after the checks that the system does not make for us.
HANDLE Accept(const OpenRequest& request, Descriptor descriptor, bool existed) {
  const auto refuse = [](DWORD error) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  };
  struct stat status;
  if (fstat(descriptor.get(), &status) != 0) return refuse(ErrorFromErrno(errno));
  if (S_ISDIR(status.st_mode)) return refuse(ERROR_ACCESS_DENIED);
  if (existed && request.Writes() && (status.st_mode & S_IWUSR) == 0)
    return refuse(ERROR_ACCESS_DENIED);
  const int number = descriptor.get();
  const bool regular = S_ISREG(status.st_mode);
  auto file = std::make_shared<FileObject>(
      std::move(descriptor), FileUse{status.st_dev, status.st_ino, request.access, request.share},
      regular);
  if (!file->Share()) return refuse(ERROR_SHARING_VIOLATION);
  if (existed && regular && request.Truncates() && ftruncate(number, 0) != 0) {
    return refuse(ErrorFromErrno(errno));
  }
  if ((request.flags & FILE_FLAG_SEQUENTIAL_SCAN) != 0) {
    posix_fadvise(number, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
  const HANDLE handle = OpenHandle(std::move(file));
  const bool tells = request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS;
  if (tells) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return handle;
}

HANDLE Open(const OpenRequest& request) {
  const Opened opened = OpenOrCreate(request);
  if (opened.descriptor >= 0) {
    return Accept(request, Descriptor(opened.descriptor), opened.existed);
  }
  FailOnPath(errno, request.path);
  return INVALID_HANDLE_VALUE;
}

}  // namespace
}  // namespace platform

HANDLE WINAPI CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPVOID security,
                          DWORD disposition, DWORD flags, HANDLE) noexcept {
  platform::Checkpoint();
  constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE | FILE_APPEND_DATA;
  if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING || (access & ~kAccess) != 0 ||
      (disposition == TRUNCATE_EXISTING && (access & GENERIC_WRITE) == 0)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  try {
    const auto path = platform::NativePath(name);
    if (!path) return INVALID_HANDLE_VALUE;
    return platform::Open({*path, access, share, disposition, flags, security != nullptr});
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
  }
}
