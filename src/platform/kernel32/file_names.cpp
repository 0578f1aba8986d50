// What is done to files by name: delete, move, attributes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "kernel32/errno_map.h"
#include "kernel32/paths.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace {

using platform::Fail;
using platform::FailOnPath;
using platform::NativePath;

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool IsReadOnly(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & S_IWUSR) == 0;
}

// Renames unless the target exists; 0 or a value of errno.
int RenameToNew(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system that cannot refuse by itself: the name is looked at first.
  struct stat status;
  if (lstat(to.c_str(), &status) == 0) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// Whether a target may be replaced; a missing one may.
bool MayReplace(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return true;
  return !S_ISDIR(status.st_mode) && !IsReadOnly(status);
}

// A failed rename: what is missing is the source, or else the target's directory.
BOOL FailOnRename(int error_number, const std::string& from, const std::string& to) {
  if (error_number == EEXIST) return Fail(ERROR_ALREADY_EXISTS);
  struct stat status;
  return FailOnPath(error_number, lstat(from.c_str(), &status) == 0 ? to : from);
}

}  // namespace

BOOL WINAPI DeleteFileW(LPCWSTR name) noexcept {
  platform::Checkpoint();
  const auto path = NativePath(name);
  if (!path) return FALSE;
  struct stat status;
  if (lstat(path->c_str(), &status) != 0) return FailOnPath(errno, *path);
  if (S_ISDIR(status.st_mode) || IsReadOnly(status)) return Fail(ERROR_ACCESS_DENIED);
  return unlink(path->c_str()) == 0 ? TRUE : FailOnPath(errno, *path);
}

BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept {
  platform::Checkpoint();
  if ((flags & ~MOVEFILE_REPLACE_EXISTING) != 0) return Fail(ERROR_INVALID_PARAMETER);
  const auto source = NativePath(from);
  const auto target = source ? NativePath(to) : std::nullopt;
  if (!target) return FALSE;
  if (flags == 0) {
    const int error = RenameToNew(*source, *target);
    return error == 0 ? TRUE : FailOnRename(error, *source, *target);
  }
  if (!MayReplace(*target)) return Fail(ERROR_ACCESS_DENIED);
  if (rename(source->c_str(), target->c_str()) == 0) return TRUE;
  return FailOnRename(errno, *source, *target);
}

DWORD WINAPI GetFileAttributesW(LPCWSTR name) noexcept {
  platform::Checkpoint();
  const auto path = NativePath(name);
  if (!path) return INVALID_FILE_ATTRIBUTES;
  struct stat status;
  if (stat(path->c_str(), &status) != 0) {
    FailOnPath(errno, *path);
    return INVALID_FILE_ATTRIBUTES;
  }
  const DWORD kind = S_ISDIR(status.st_mode)   ? FILE_ATTRIBUTE_DIRECTORY
                     : S_ISREG(status.st_mode) ? FILE_ATTRIBUTE_ARCHIVE
                                               : FILE_ATTRIBUTE_DEVICE;
  return kind | (IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0);
}

BOOL WINAPI SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept {
  platform::Checkpoint();
  const auto path = NativePath(name);
  if (!path) return FALSE;
  struct stat status;
  if (stat(path->c_str(), &status) != 0) return FailOnPath(errno, *path);
  const bool read_only = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (read_only == IsReadOnly(status)) return TRUE;
  const mode_t mode = read_only ? status.st_mode & ~kWriteBits : status.st_mode | S_IWUSR;
  constexpr mode_t kPermissions = 07777;
  return chmod(path->c_str(), mode & kPermissions) == 0 ? TRUE : FailOnPath(errno, *path);
}
