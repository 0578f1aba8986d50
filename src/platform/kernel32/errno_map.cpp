#include "kernel32/errno_map.h"

#include <cerrno>

namespace platform {
namespace {

struct ErrnoEntry {
  int error_number;
  DWORD error;
};

constexpr ErrnoEntry kErrnoTable[] = {
    {0, ERROR_SUCCESS},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EAGAIN, ERROR_NOT_ENOUGH_MEMORY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENOTSUP, ERROR_NOT_SUPPORTED},
    {ENOSYS, ERROR_NOT_SUPPORTED},
    {EEXIST, ERROR_FILE_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_DISK_FULL},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ESPIPE, ERROR_INVALID_FUNCTION},
    {ENOTEMPTY, ERROR_ACCESS_DENIED},
};

}  // namespace

DWORD ErrorFromErrno(int error_number) noexcept {
  for (const ErrnoEntry& entry : kErrnoTable) {
    if (entry.error_number == error_number) return entry.error;
  }
  return ERROR_GEN_FAILURE;
}

BOOL FailWithErrno(int error_number) noexcept { return Fail(ErrorFromErrno(error_number)); }

BOOL Fail(DWORD error) noexcept {
  SetLastError(error);
  return FALSE;
}

}  // namespace platform
