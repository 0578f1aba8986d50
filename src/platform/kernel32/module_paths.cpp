#include "kernel32/module_paths.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "kernel32/errno_map.h"

namespace platform {
namespace {

constexpr std::string_view kExtension = ".dll";

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The file that holds an address, empty when it is unknown.
std::string FileOf(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

std::string ExecutablePath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
  return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

}  // namespace

std::string LowerCase(LPCSTR text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
  return lower;
}

std::string NormalizeModuleName(LPCSTR name) {
  if (name == nullptr) return {};
  std::string normalized = LowerCase(name);
  normalized.erase(0, normalized.find_last_of("/\\") + 1);
  if (normalized.size() > kExtension.size() &&
      normalized.compare(normalized.size() - kExtension.size(), kExtension.size(), kExtension) ==
          0) {
    normalized.resize(normalized.size() - kExtension.size());
  }
  return normalized;
}

std::string ModuleFilePath(const std::string& normalized_name) {
  const std::string own_path = FileOf(reinterpret_cast<const void*>(&LowerCase));
  const size_t slash = own_path.rfind('/');
  if (slash == std::string::npos) return {};
  return own_path.substr(0, slash + 1) + "libqv" + normalized_name + ".so";
}

}  // namespace platform

DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity) noexcept {
  const platform::Module* const record = platform::ModuleFromHandle(module);
  if (record == nullptr || path == nullptr || capacity == 0) {
    SetLastError(record == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::string full =
      platform::IsExecutable(*record) ? platform::ExecutablePath() : platform::FileOf(record);
  if (full.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
  }
  const size_t copied = std::min<size_t>(full.size(), capacity - 1);
  std::memcpy(path, full.data(), copied);
  path[copied] = '\0';
  if (copied == full.size()) return static_cast<DWORD>(copied);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return capacity;
}
