#include "transport/trace_file.h"

#include <algorithm>
#include <array>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "platform/shell32.h"

namespace qv::trace {
namespace {

constexpr std::string_view kDefaultName = "Quorvane.log";
constexpr std::size_t kPathCapacity = 256;
constexpr std::size_t kLongestDirectory = 223;
constexpr DWORD kExpansionCapacity = 255;
constexpr std::array<std::string_view, 8> kRefusedExtensions = {"bat", "cmd", "com", "dll",
                                                                "exe", "lib", "obj", "ocx"};

constexpr bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::string InDirectory(std::string directory, std::string_view name) {
  if (!directory.empty() && !IsSeparator(directory.back())) directory += '\\';
  return directory.append(name);
}

std::optional<std::string> InDocuments(std::string_view name) {
  char documents[MAX_PATH];
  if (SHGetFolderPathA(nullptr, CSIDL_PERSONAL, nullptr, 0, documents) != 0) return std::nullopt;
  return InDirectory(documents, name);
}

std::string Expanded(std::string_view name) {
  if (name.find('%') == name.npos) return std::string(name);
  char expanded[kExpansionCapacity];
  const DWORD count =
      ExpandEnvironmentStringsA(std::string(name).c_str(), expanded, kExpansionCapacity);
  return count > 1 && count <= kExpansionCapacity ? expanded : std::string(name);
}

std::optional<std::string> FullPath(const std::string& name) {
  WCHAR full[kPathCapacity];
  const DWORD length = GetFullPathNameW(WideFromUtf8(name).c_str(), kPathCapacity, full, nullptr);
  if (length == 0 || length >= kPathCapacity) return std::nullopt;
  return Utf8FromWide({full, length});
}

bool HasRefusedExtension(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  if (dot == path.npos) return false;
  return std::any_of(
      kRefusedExtensions.begin(), kRefusedExtensions.end(),
      [&](std::string_view refused) { return EqualsNoCase(path.substr(dot + 1), refused); });
}

DWORD AttributesOf(const std::string& path) {
  return GetFileAttributesW(WideFromUtf8(path).c_str());
}

// Works out the path; `refused` tells about an extension that no log file has.
std::optional<std::string> PathOf(const std::string& name, bool& refused) {
  if (name.empty()) return InDocuments(kDefaultName);
  const DWORD attributes = AttributesOf(name);
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return InDirectory(name.substr(0, kLongestDirectory), kDefaultName);
  }
  const bool bare = name.find_first_of(":/\\") == name.npos;
  std::optional<std::string> path = bare ? InDocuments(name) : FullPath(name);
  refused = path && HasRefusedExtension(*path);
  return path;
}

}  // namespace

std::optional<std::string> ResolveLogFile(std::string_view name) {
  bool refused = false;
  std::optional<std::string> path = PathOf(Expanded(name), refused);
  if (!path || refused || path->size() >= kPathCapacity) return std::nullopt;
  const DWORD attributes = AttributesOf(*path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return path;
  constexpr DWORD kUnusable = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE |
                              FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_READONLY;
  if ((attributes & kUnusable) != 0) return std::nullopt;
  SetFileAttributesW(WideFromUtf8(*path).c_str(),
                     (attributes & ~FILE_ATTRIBUTE_HIDDEN) | FILE_ATTRIBUTE_ARCHIVE);
  return path;
}

void DeleteLogFile(const std::string& path) {
  const DWORD attributes = AttributesOf(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) != 0) return;
  DeleteFileW(WideFromUtf8(path).c_str());
}

void AppendToLogFile(const std::string& path, std::string_view text) {
  int owner_only = 0;  // any security record means that others have no access
  const HANDLE file =
      CreateFileW(WideFromUtf8(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  &owner_only, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  DWORD written = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(file);
}

}  // namespace qv::trace
