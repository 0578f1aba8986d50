#include "url/file_url.h"

#include <algorithm>
#include <array>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"

namespace qv {
namespace {

constexpr std::size_t kLongestText = 2094;
constexpr std::size_t kDriveEnd = 2;  // "C:"
constexpr std::string_view kPrefix = "file:";
constexpr std::string_view kForbidden = "<>\"|?*";
constexpr std::string_view kForbiddenEscapes = "<>\"|?*\\/:";
constexpr std::array<std::string_view, 4> kDevices = {"CON", "PRN", "AUX", "NUL"};
constexpr std::array<std::string_view, 2> kNumberedDevices = {"COM", "LPT"};

bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }

bool StartsWithDrive(std::string_view path) {
  return path.size() >= kDriveEnd && IsLetter(path[0]) && (path[1] == ':' || path[1] == '|');
}

// "C$/…", as drives are shared in a network.
bool HasShareOfDrive(std::string_view path) {
  return path.size() > kDriveEnd && IsLetter(path[0]) && path.substr(1, 2) == "$/";
}

std::string_view Unquoted(std::string_view text) {
  text = Trim(text);
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    text = text.substr(1, text.size() - 2);
  }
  return text;
}

std::string ComputerName(COMPUTER_NAME_FORMAT format) {
  char name[128];
  DWORD size = sizeof(name);
  return GetComputerNameExA(format, name, &size) ? std::string(name) : std::string();
}

bool IsLocalMachine(std::string_view host) {
  static const std::array<std::string, 5> names = {
      ".", "localhost", ComputerName(ComputerNameNetBIOS), ComputerName(ComputerNameDnsHostname),
      ComputerName(ComputerNameDnsFullyQualified)};
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return !name.empty() && EqualsNoCase(name, host);
  });
}

bool Exists(const std::string& path) {
  return GetFileAttributesW(WideFromUtf8(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The path of "//host/…": that of the local machine, of a folder of that name, or of the network.
Result<std::string> PathBehindHost(std::string_view text, bool strict) {
  const std::size_t slash = std::min(text.find('/'), text.size());
  const std::string_view host = text.substr(0, slash);
  if (StartsWithDrive(text)) {
    return strict ? Result<std::string>(Error(QV_ERROR_INVALID_PARAMETER)) : std::string(text);
  }
  if (IsLocalMachine(host)) {
    std::string_view path = text.substr(slash);
    if (path.size() > 1 && StartsWithDrive(path.substr(1))) path.remove_prefix(1);
    return std::string(path);
  }
  if (Exists("/" + std::string(host))) {
    return strict ? Result<std::string>(Error(QV_ERROR_INVALID_PARAMETER))
                  : "/" + std::string(text);
  }
  return "//" + std::string(text);
}

// What follows "file:", as a path with forward slashes.
Result<std::string> PathPart(std::string_view text, bool strict) {
  constexpr std::size_t kDriveForm = 3;  // slashes before a path; more name the network
  const std::size_t slashes = std::min(text.find_first_not_of('/'), text.size());
  const std::string_view rest = text.substr(slashes);
  if (slashes == kDriveForm) return "/" + std::string(rest);
  if (slashes > kDriveForm) return "//" + std::string(rest);
  if (slashes == 2) return PathBehindHost(rest, strict);
  if (strict) return Error(QV_ERROR_INVALID_PARAMETER);
  const bool drive = StartsWithDrive(rest) || HasShareOfDrive(rest);
  return drive ? std::string(rest) : "/" + std::string(rest);
}

Result<std::string> Decoded(std::string_view path) {
  std::string decoded;
  for (; !path.empty(); path.remove_prefix(1)) {
    auto c = static_cast<unsigned char>(path.front());
    if (c < 32 || c >= 128) return Error(QV_ERROR_INVALID_CHARSET);
    if (c == '%') {
      const bool complete = path.size() >= 3 && HexValue(path[1]) >= 0 && HexValue(path[2]) >= 0;
      if (!complete) return Error(QV_ERROR_INVALID_CHARSET);
      c = static_cast<unsigned char>(HexValue(path[1]) << 4 | HexValue(path[2]));
      if (c < 32 || kForbiddenEscapes.find(static_cast<char>(c)) != kForbiddenEscapes.npos) {
        return Error(QV_ERROR_INVALID_CHARSET);
      }
      path.remove_prefix(2);
    }
    decoded.push_back(static_cast<char>(c));
  }
  return decoded;
}

// Turns a path into the platform's form and checks its characters.
Error MakeLocal(std::string& path, bool strict) {
  if (path.size() >= kDriveEnd && (path[1] == ':' || path[1] == '|')) {
    if (!IsLetter(path[0]) || (path[1] == '|' && strict)) return QV_ERROR_INVALID_PARAMETER;
    path[1] = ':';
  }
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (path[i] == '/') path[i] = '\\';
    if (kForbidden.find(path[i]) != kForbidden.npos) return QV_ERROR_INVALID_PARAMETER;
  }
  return kNoError;
}

bool IsDevice(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('\\') + 1);
  const auto ends_at = [&](std::size_t length) {
    return name.size() == length || name[length] == '.' || name[length] == ':';
  };
  constexpr std::size_t kLength = 3;
  if (name.size() < kLength) return false;
  const auto starts = [&](std::string_view device) { return StartsWithNoCase(name, device); };
  if (std::any_of(kDevices.begin(), kDevices.end(), starts)) return ends_at(kLength);
  if (std::none_of(kNumberedDevices.begin(), kNumberedDevices.end(), starts)) return false;
  return name.size() > kLength && name[kLength] >= '1' && name[kLength] <= '9' &&
         ends_at(kLength + 1);
}

std::string Expanded(const std::string& path) {
  const DWORD needed = ExpandEnvironmentStringsA(path.c_str(), nullptr, 0);
  std::string expanded(needed, '\0');
  const DWORD count = ExpandEnvironmentStringsA(path.c_str(), expanded.data(), needed);
  if (count <= 1 || count > needed) return path;
  expanded.resize(count - 1);
  return expanded;
}

Result<std::string> FullPath(const std::string& path) {
  const std::u16string wide = WideFromUtf8(path);
  const DWORD needed = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  std::u16string full(needed, u'\0');
  const DWORD length = GetFullPathNameW(wide.c_str(), needed, full.data(), nullptr);
  if (length == 0 || length >= needed) return Error(QV_ERROR_INVALID_FILE_NAME);
  full.resize(length);
  return Utf8FromWide(full);
}

}  // namespace

bool IsFileUrl(std::string_view text) {
  text = Unquoted(text);
  constexpr std::size_t kSlash = kPrefix.size();
  return StartsWithNoCase(text, kPrefix) && text.size() > kSlash &&
         (text[kSlash] == '/' || text[kSlash] == '\\');
}

Result<std::string> LocalPathOfFileUrl(std::string_view url, DWORD options) {
  const bool strict = (options & kFileUrlStrict) != 0;
  if (url.empty() || url.size() > kLongestText) return Error(QV_ERROR_INVALID_PARAMETER);
  std::string text(Unquoted(url));
  if (text.empty()) return Error(QV_ERROR_BUFFER_TOO_SMALL);
  if (!strict) std::replace(text.begin(), text.end(), '\\', '/');
  if (!StartsWithNoCase(text, "file:/")) return Error(QV_ERROR_INVALID_PARAMETER);
  Result<std::string> path = PathPart(std::string_view(text).substr(kPrefix.size()), strict);
  if (!path) return path;
  if (path->empty() || *path == "/") return Error(QV_ERROR_BUFFER_TOO_SMALL);
  if (!strict && HasShareOfDrive(*path)) (*path)[1] = ':';
  path = Decoded(*path);
  if (!path) return path;
  if (Error error = MakeLocal(*path, strict)) return error;
  if ((options & kFileUrlExpand) != 0 && path->find('%') != std::string::npos) {
    path = Expanded(*path);
  }
  if (path->starts_with('\\') && StartsWithDrive(std::string_view(*path).substr(1))) {
    path->erase(0, 1);
  }
  if (IsDevice(*path)) return Error(QV_ERROR_INVALID_FILE_TYPE);
  path = FullPath(*path);
  if (path && (options & kFileUrlLowerCase) != 0) return ToLowerCopy(*path);
  return path;
}

}  // namespace qv
