#include "forms/form_file.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "forms/form.h"
#include "frame/wide.h"

namespace qv {
namespace {

constexpr std::size_t kLargestRead = std::size_t{1} << 20;

Error ErrorOfOpening(DWORD platform_error) {
  switch (platform_error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return QV_ERROR_FILE_NOT_FOUND;
    case ERROR_TOO_MANY_OPEN_FILES:
      return QV_ERROR_NO_HANDLES;
    case ERROR_INVALID_PARAMETER:
      return QV_ERROR_INVALID_PARAMETER;
    case ERROR_INVALID_NAME:
      return QV_ERROR_INVALID_FILE_NAME;
    default:
      return QV_ERROR_ACCESS_DENIED;
  }
}

}  // namespace

Result<FormFile> FormFile::Open(std::string_view path) {
  const std::u16string name = WideFromUtf8(path);
  const DWORD attributes = GetFileAttributesW(name.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return ErrorOfOpening(::GetLastError());
  // A pipe would be waited for, and a device has no end.
  if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) != 0) {
    return Error(QV_ERROR_ACCESS_DENIED);
  }
  const HANDLE handle = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return ErrorOfOpening(::GetLastError());
  FormFile file(handle, 0);
  LARGE_INTEGER size;
  if (!GetFileSizeEx(handle, &size)) return Error(QV_ERROR_FILE_READ_FAILED);
  file.size_ = static_cast<uint64_t>(size.QuadPart);
  return file;
}

FormFile::FormFile(FormFile&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), size_(other.size_) {}

FormFile::~FormFile() {
  if (handle_ != nullptr) CloseHandle(handle_);
}

Result<std::string> FormFile::ReadAll() {
  if (size_ > std::numeric_limits<DWORD>::max()) return Error(QV_ERROR_OUT_OF_MEMORY);
  std::string content(static_cast<std::size_t>(size_), '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const auto wanted = static_cast<DWORD>(std::min(content.size() - length, kLargestRead));
    DWORD count = 0;
    if (!ReadFile(handle_, content.data() + length, wanted, &count, nullptr)) {
      return Error(QV_ERROR_FILE_READ_FAILED);
    }
    if (count == 0) break;  // it got shorter
    length += count;
  }
  content.resize(length);
  return content;
}

std::string ShownFileName(std::string_view path) {
  for (const char separator : {'\\', '/'}) {
    const std::size_t at = path.rfind(separator);
    if (at != path.npos) path.remove_prefix(at + 1);
  }
  const std::size_t colon = path.find(':');
  if (colon != path.npos) path.remove_prefix(colon + 1);
  return std::string(path.substr(0, kShownNameCapacity - 1));
}

}  // namespace qv
