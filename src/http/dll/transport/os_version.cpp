#include "transport/os_version.h"

#include <cstring>

#include "platform/ntdll.h"
#include "transport/entry_point.h"

namespace qv {
namespace {

static_assert(sizeof(OSVERSIONINFOA) == 148);
static_assert(sizeof(OSVERSIONINFOEXA) == 156);
static_assert(sizeof(OSVERSIONINFOEXW) == 284);

// RtlGetVersion tells the true version, GetVersionExA may tell one that suits the program.
OSVERSIONINFOEXA ReadVersion() {
  OSVERSIONINFOEXA version = {};
  const auto get_version =
      FindEntryPoint<RtlGetVersionFn>(GetModuleHandleA("ntdll.dll"), "RtlGetVersion");
  if (get_version != nullptr) {
    OSVERSIONINFOEXW wide = {};
    wide.dwOSVersionInfoSize = sizeof(wide);
    if (get_version(&wide) == 0) {
      version.dwMajorVersion = wide.dwMajorVersion;
      version.dwMinorVersion = wide.dwMinorVersion;
      version.dwBuildNumber = wide.dwBuildNumber;
      version.dwPlatformId = wide.dwPlatformId;
      version.wServicePackMajor = wide.wServicePackMajor;
      version.wServicePackMinor = wide.wServicePackMinor;
      version.wSuiteMask = wide.wSuiteMask;
      version.wProductType = wide.wProductType;
    }
  }
  if (version.dwMajorVersion == 0) {
    version.dwOSVersionInfoSize = sizeof(version);
    GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version));
  }
  return version;
}

}  // namespace

bool QueryOsVersion(OSVERSIONINFOA* version) {
  const DWORD size = version == nullptr ? 0 : version->dwOSVersionInfoSize;
  if (size != sizeof(OSVERSIONINFOA) && size != sizeof(OSVERSIONINFOEXA)) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  static const OSVERSIONINFOEXA known = ReadVersion();
  // The basic record is the beginning of the extended one.
  std::memcpy(static_cast<void*>(version), &known, size);
  version->dwOSVersionInfoSize = size;
  return known.dwMajorVersion != 0;
}

}  // namespace qv
