// The version and the computer's name.
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include "kernel32/errno_map.h"
#include "kernel32/os_version.h"
#include "platform/kernel32.h"

namespace {

constexpr size_t kMaxNetBiosName = 15;

std::string HostName() {
  char name[HOST_NAME_MAX + 1] = {};
  return gethostname(name, sizeof(name) - 1) == 0 ? name : "localhost";
}

std::string NetBiosName(const std::string& label) {
  std::string name = label.substr(0, kMaxNetBiosName);
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return name;
}

std::string ComputerName(COMPUTER_NAME_FORMAT type) {
  std::string full = HostName();
  const size_t dot = full.find('.');
  switch (type) {
    case ComputerNameNetBIOS:
      return NetBiosName(full.substr(0, dot));
    case ComputerNameDnsHostname:
      return full.substr(0, dot);
    case ComputerNameDnsDomain:
      return dot == std::string::npos ? std::string() : full.substr(dot + 1);
    case ComputerNameDnsFullyQualified:
      break;
  }
  return full;
}

}  // namespace

BOOL WINAPI GetComputerNameExA(COMPUTER_NAME_FORMAT type, LPSTR name, LPDWORD size) noexcept {
  if (size == nullptr || type < ComputerNameNetBIOS || type > ComputerNameDnsFullyQualified) {
    return platform::Fail(ERROR_INVALID_PARAMETER);
  }
  const std::string text = ComputerName(type);
  const auto needed = static_cast<DWORD>(text.size() + 1);
  if (name == nullptr || *size < needed) {
    *size = needed;
    return platform::Fail(ERROR_MORE_DATA);
  }
  std::memcpy(name, text.c_str(), needed);
  *size = needed - 1;
  return TRUE;
}

BOOL WINAPI GetVersionExA(OSVERSIONINFOA* version) noexcept {
  if (version != nullptr && version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOA)) {
    platform::FillBasicVersion(*version);
    return TRUE;
  }
  if (version != nullptr && version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXA)) {
    auto* const extended = reinterpret_cast<OSVERSIONINFOEXA*>(version);
    platform::FillBasicVersion(*extended);
    extended->wProductType = platform::kOsProductWorkstation;
    return TRUE;
  }
  return platform::Fail(ERROR_INSUFFICIENT_BUFFER);
}
