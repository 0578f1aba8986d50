// Reading, writing and positioning through file handles.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "kernel32/errno_map.h"
#include "kernel32/file_object.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace {

using platform::Fail;
using platform::FailWithErrno;
using platform::FileObject;

// The file behind a handle that has the access; null with the last error set otherwise.
std::shared_ptr<FileObject> FindWithAccess(HANDLE handle, DWORD access) {
  auto file = platform::Find<FileObject>(handle);
  if (!file || file->Allows(access)) return file;
  SetLastError(ERROR_ACCESS_DENIED);
  return nullptr;
}

BOOL ReadInto(const FileObject& file, LPVOID buffer, DWORD bytes, LPDWORD read_bytes) {
  auto* const target = static_cast<std::byte*>(buffer);
  while (*read_bytes < bytes) {
    const ssize_t got = read(file.descriptor(), target + *read_bytes, bytes - *read_bytes);
    if (got == 0) break;
    if (got > 0) {
      *read_bytes += static_cast<DWORD>(got);
      if (!file.IsRegular()) break;  // a pipe or device gives what it has
    } else if (errno != EINTR) {
      return *read_bytes > 0 ? TRUE : FailWithErrno(errno);
    }
  }
  return TRUE;
}

BOOL WriteFrom(const FileObject& file, LPCVOID buffer, DWORD bytes, LPDWORD written) {
  const auto* const source = static_cast<const std::byte*>(buffer);
  while (*written < bytes) {
    const ssize_t put = write(file.descriptor(), source + *written, bytes - *written);
    if (put >= 0) {
      *written += static_cast<DWORD>(put);
    } else if (errno != EINTR) {
      return FailWithErrno(errno);
    }
  }
  return TRUE;
}

}  // namespace

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read,
                     LPVOID overlapped) noexcept {
  platform::Checkpoint();
  DWORD count = 0;
  LPDWORD const counter = read != nullptr ? read : &count;
  *counter = 0;
  const auto object = FindWithAccess(file, GENERIC_READ);
  if (!object) return FALSE;
  if (overlapped != nullptr) return Fail(ERROR_NOT_SUPPORTED);
  return ReadInto(*object, buffer, bytes, counter);
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written,
                      LPVOID overlapped) noexcept {
  platform::Checkpoint();
  DWORD count = 0;
  LPDWORD const counter = written != nullptr ? written : &count;
  *counter = 0;
  const auto object = FindWithAccess(file, GENERIC_WRITE | FILE_APPEND_DATA);
  if (!object) return FALSE;
  if (overlapped != nullptr) return Fail(ERROR_NOT_SUPPORTED);
  return WriteFrom(*object, buffer, bytes, counter);
}

BOOL WINAPI SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position,
                             DWORD method) noexcept {
  constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};  // FILE_BEGIN, _CURRENT, _END
  const auto object = platform::Find<FileObject>(file);
  if (!object) return FALSE;
  if (method > FILE_END) return Fail(ERROR_INVALID_PARAMETER);
  const off_t reached = lseek(object->descriptor(), distance.QuadPart, kOrigins[method]);
  if (reached < 0) return errno == EINVAL ? Fail(ERROR_NEGATIVE_SEEK) : FailWithErrno(errno);
  if (position != nullptr) position->QuadPart = reached;
  return TRUE;
}

BOOL WINAPI SetEndOfFile(HANDLE file) noexcept {
  const auto object = FindWithAccess(file, GENERIC_WRITE | FILE_APPEND_DATA);
  if (!object) return FALSE;
  const off_t position = lseek(object->descriptor(), 0, SEEK_CUR);
  if (position < 0 || ftruncate(object->descriptor(), position) != 0) return FailWithErrno(errno);
  return TRUE;
}

BOOL WINAPI GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept {
  const auto object = platform::Find<FileObject>(file);
  if (!object) return FALSE;
  if (size == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  struct stat status;
  if (fstat(object->descriptor(), &status) != 0) return FailWithErrno(errno);
  if (!object->IsRegular()) return Fail(ERROR_INVALID_FUNCTION);
  size->QuadPart = status.st_size;
  return TRUE;
}
