#include "protocol/user_agent.h"

#include "frame/library.h"
#include "transport/entry_point.h"
#include "transport/os_version.h"

namespace qv {
namespace {

// Guarded by the library lock.
std::string& Stored() {
  static std::string& text = *new std::string;
  return text;
}

bool IsEmulated() {
  using IsWow64ProcessFn = BOOL(WINAPI*)(HANDLE process, LPBOOL emulated);
  const auto function =
      FindEntryPoint<IsWow64ProcessFn>(GetModuleHandleA("kernel32.dll"), "IsWow64Process");
  BOOL emulated = FALSE;
  const HANDLE current_process = INVALID_HANDLE_VALUE;
  return function != nullptr && function(current_process, &emulated) && emulated;
}

std::string PlatformName() {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (!QueryOsVersion(&version)) return "Unknown";
  std::string name = version.dwPlatformId == VER_PLATFORM_WIN32_NT ? "Windows NT " : "Windows ";
  name += std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion);
  if (IsEmulated()) name += "; WOW64";
  return name;
}

std::string Build() {
  return "Mozilla/5.0 (" + PlatformName() + ") Chrome/134.0.0.0 Safari/537.36 Quorvane/" +
         std::to_string(kLibraryVersionMajor) + "." + std::to_string(kLibraryVersionMinor);
}

}  // namespace

std::string DefaultUserAgent() {
  LibraryLock lock;
  if (Stored().empty()) Stored() = Build();
  return Stored();
}

void SetDefaultUserAgent(std::string_view text) {
  LibraryLock lock;
  Stored() = text;
}

}  // namespace qv
