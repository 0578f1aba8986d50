// References to environment variables in text.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "kernel32/utf.h"
#include "platform/kernel32.h"

namespace {

std::optional<std::string> Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<std::string> HomeDirectory() {
  auto home = Variable("HOME");
  return home && !home->empty() ? home : std::nullopt;
}

// The places that the platform has in variables which Linux does not set.
std::optional<std::string> LinuxCounterpart(std::string_view name) {
  if (name == "TEMP" || name == "TMP") {
    auto directory = Variable("TMPDIR");
    return directory && !directory->empty() ? directory : "/tmp";
  }
  if (name == "USERPROFILE") return HomeDirectory();
  if (name == "APPDATA") {
    auto directory = Variable("XDG_CONFIG_HOME");
    if (directory && !directory->empty()) return directory;
    const auto home = HomeDirectory();
    return home ? std::optional<std::string>(*home + "/.config") : std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::string> LookUp(const std::string& name) {
  if (auto value = Variable(name.c_str())) return value;
  std::string upper = name;
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  if (auto value = Variable(upper.c_str())) return value;
  return LinuxCounterpart(upper);
}

std::string Expand(std::string_view source) {
  constexpr char kMark = '%';
  std::string expanded;
  size_t position = 0;
  for (;;) {
    const size_t open = source.find(kMark, position);
    const size_t close = open == std::string_view::npos ? open : source.find(kMark, open + 1);
    if (close == std::string_view::npos) return expanded.append(source.substr(position));
    const auto value = LookUp(std::string(source.substr(open + 1, close - open - 1)));
    if (value) {
      expanded.append(source.substr(position, open - position)).append(*value);
      position = close + 1;
    } else {
      // The mark that ends an unknown name may begin the next one.
      expanded.append(source.substr(position, close - position));
      position = close;
    }
  }
}

template <typename Unit>
DWORD Deliver(const std::basic_string<Unit>& text, Unit* target, DWORD capacity) {
  const size_t needed = text.size() + 1;
  if (target != nullptr && needed <= capacity) {
    std::memcpy(target, text.c_str(), needed * sizeof(Unit));
  } else if (target != nullptr && capacity > 0) {
    target[0] = 0;
  }
  return static_cast<DWORD>(needed);
}

}  // namespace

DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR source, LPSTR target, DWORD capacity) noexcept {
  if (source == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return Deliver(Expand(source), target, capacity);
}

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR target, DWORD capacity) noexcept {
  if (source == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::string expanded = Expand(platform::Utf8FromUtf16(source));
  return Deliver(platform::Utf16FromUtf8(expanded), target, capacity);
}
