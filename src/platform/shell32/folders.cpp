// The user's folders, as the desktop's settings name them (xdg-user-dirs).
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>

#include "platform/shell32.h"

namespace {

constexpr LONG kSuccess = 0;
constexpr LONG kFailure = static_cast<LONG>(0x80004005);          // E_FAIL
constexpr LONG kInvalidArgument = static_cast<LONG>(0x80070057);  // E_INVALIDARG

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool IsDirectory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The value of XDG_DOCUMENTS_DIR="…" in the settings file, where $HOME stands for the home folder.
std::optional<std::string> ConfiguredDocuments(const std::string& home) {
  const std::string config = Variable("XDG_CONFIG_HOME");
  std::ifstream file((config.empty() ? home + "/.config" : config) + "/user-dirs.dirs");
  constexpr const char* kKey = "XDG_DOCUMENTS_DIR=\"";
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(kKey, 0) != 0) continue;
    std::string path = line.substr(std::strlen(kKey));
    path.resize(std::min(path.find('"'), path.size()));
    constexpr const char* kHome = "$HOME";
    if (path.rfind(kHome, 0) == 0) path.replace(0, std::strlen(kHome), home);
    return path;
  }
  return std::nullopt;
}

std::string Documents() {
  const std::string direct = Variable("XDG_DOCUMENTS_DIR");
  if (!direct.empty()) return direct;
  const std::string home = Variable("HOME");
  if (home.empty()) return "";
  if (const auto configured = ConfiguredDocuments(home); configured && IsDirectory(*configured)) {
    return *configured;
  }
  const std::string usual = home + "/Documents";
  return IsDirectory(usual) ? usual : home;
}

}  // namespace

LONG WINAPI SHGetFolderPathA(HWND /*owner*/, int folder, HANDLE /*token*/, DWORD /*flags*/,
                             LPSTR path) noexcept {
  if (path == nullptr || folder != CSIDL_PERSONAL) return kInvalidArgument;
  *path = '\0';
  try {
    const std::string documents = Documents();
    if (documents.empty()) return kFailure;
    std::u16string wide(documents.size() + 1, u'\0');
    MultiByteToWideChar(CP_UTF8, 0, documents.c_str(), -1, wide.data(),
                        static_cast<int>(wide.size()));
    WCHAR full[MAX_PATH];
    const DWORD length = GetFullPathNameW(wide.c_str(), MAX_PATH, full, nullptr);
    if (length == 0 || length >= MAX_PATH) return kFailure;
    const int written = WideCharToMultiByte(CP_UTF8, 0, full, -1, path, static_cast<int>(MAX_PATH),
                                            nullptr, nullptr);
    return written > 0 ? kSuccess : kFailure;
  } catch (const std::bad_alloc&) {
    return kFailure;
  }
}
