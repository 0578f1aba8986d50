// The version that the layer reports: that of the platform whose behaviour it has.
#ifndef PLATFORM_KERNEL32_OS_VERSION_H_
#define PLATFORM_KERNEL32_OS_VERSION_H_

#include "platform/kernel32.h"

namespace platform {

inline constexpr DWORD kOsMajorVersion = 10;
inline constexpr DWORD kOsMinorVersion = 0;
inline constexpr DWORD kOsBuild = 19045;
inline constexpr BYTE kOsProductWorkstation = 1;

// Fills a version record of any of the forms: all but its leading size, which the caller has set.
template <typename Record>
void FillBasicVersion(Record& record) noexcept {
  const DWORD size = record.dwOSVersionInfoSize;
  record = {};
  record.dwOSVersionInfoSize = size;
  record.dwMajorVersion = kOsMajorVersion;
  record.dwMinorVersion = kOsMinorVersion;
  record.dwBuildNumber = kOsBuild;
  record.dwPlatformId = VER_PLATFORM_WIN32_NT;
}

}  // namespace platform

#endif  // PLATFORM_KERNEL32_OS_VERSION_H_
