#include "kernel32/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include "kernel32/errno_map.h"
#include "kernel32/utf.h"

namespace platform {
namespace {

constexpr std::u16string_view kLongPathPrefix = u"\\\\?\\";
constexpr std::u16string_view kSharePrefix = u"\\\\";

bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

bool IsLetter(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

bool HasDrive(std::u16string_view name) {
  return name.size() >= 2 && IsLetter(name[0]) && name[1] == u':';
}

bool IsRootDrive(char16_t letter) { return letter == u'C' || letter == u'c'; }

std::u16string_view WithoutLongPathPrefix(std::u16string_view name) {
  return StartsWith(name, kLongPathPrefix) ? name.substr(kLongPathPrefix.size()) : name;
}

bool ParentExists(const std::string& path) {
  const size_t end = path.find_last_not_of('/');
  const size_t slash = end == std::string::npos ? end : path.rfind('/', end);
  const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  struct stat status;
  return stat(parent.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Adds the components of a path to those there are, resolving "." and "..".
void AppendComponents(std::u16string_view path, std::vector<std::u16string_view>* components) {
  for (size_t start = 0; start <= path.size();) {
    const auto* const end =
        std::find_if(path.data() + start, path.data() + path.size(), IsSeparator);
    const size_t length = static_cast<size_t>(end - (path.data() + start));
    const std::u16string_view component = path.substr(start, length);
    if (component == u"..") {
      if (!components->empty()) components->pop_back();
    } else if (!component.empty() && component != u".") {
      components->push_back(component);
    }
    start += length + 1;
  }
}

}  // namespace

std::optional<std::string> NativePath(LPCWSTR name) {
  if (name == nullptr || *name == u'\0') {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return std::nullopt;
  }
  std::u16string_view rest = WithoutLongPathPrefix(name);
  const bool other_drive = HasDrive(rest) && !IsRootDrive(rest[0]);
  if (other_drive || StartsWith(rest, kSharePrefix)) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return std::nullopt;
  }
  if (HasDrive(rest)) rest.remove_prefix(2);
  bool valid = false;
  std::string path = Utf8FromUtf16(rest, &valid);
  if (!valid) {
    SetLastError(ERROR_INVALID_NAME);
    return std::nullopt;
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  if (path.empty()) path = ".";  // "C:" alone: the current directory of the drive
  return path;
}

BOOL FailOnPath(int error_number, const std::string& path) {
  if (error_number == ENOENT && !ParentExists(path)) return Fail(ERROR_PATH_NOT_FOUND);
  return FailWithErrno(error_number);
}

std::u16string FullPathName(std::u16string_view name, std::u16string_view current_directory) {
  name = WithoutLongPathPrefix(name);
  std::u16string root = u"C:\\";
  bool absolute = false;
  if (StartsWith(name, kSharePrefix)) {
    root = kSharePrefix;
    absolute = true;
  } else if (HasDrive(name)) {
    // There is no current directory on a drive that does not exist.
    absolute = !IsRootDrive(name[0]);
    root[0] = absolute ? name[0] : root[0];
    name.remove_prefix(2);
  }
  absolute = absolute || (!name.empty() && IsSeparator(name[0]));
  std::vector<std::u16string_view> components;
  if (!absolute) AppendComponents(current_directory, &components);
  AppendComponents(name, &components);
  std::u16string full = root;
  for (const std::u16string_view component : components) {
    if (full.size() > root.size()) full += u'\\';
    full += component;
  }
  const bool trailing = !name.empty() && IsSeparator(name.back()) && !components.empty();
  return trailing ? full + u'\\' : full;
}

}  // namespace platform

DWORD WINAPI GetFullPathNameW(LPCWSTR name, DWORD capacity, LPWSTR path,
                              LPWSTR* file_part) noexcept {
  if (file_part != nullptr) *file_part = nullptr;
  if (name == nullptr || *name == u'\0') {
    SetLastError(ERROR_INVALID_NAME);
    return 0;
  }
  char current[PATH_MAX];
  if (getcwd(current, sizeof(current)) == nullptr) {
    platform::FailWithErrno(errno);
    return 0;
  }
  const std::u16string full = platform::FullPathName(name, platform::Utf16FromUtf8(current));
  const auto needed = static_cast<DWORD>(full.size() + 1);
  if (path == nullptr || capacity < needed) return needed;
  std::memcpy(path, full.c_str(), needed * sizeof(WCHAR));
  const size_t last = full.rfind(u'\\') + 1;
  if (file_part != nullptr && last < full.size()) *file_part = path + last;
  return needed - 1;
}
