// ntdll: the version query, found by name.
#include "platform/ntdll.h"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "kernel32/os_version.h"
#include "platform/module.h"

namespace {

constexpr LONG kStatusSuccess = 0;
constexpr LONG kStatusInvalidParameter = static_cast<LONG>(0xC000000D);

// OSVERSIONINFOW: the record without its last five fields.
constexpr DWORD kBasicSize = offsetof(OSVERSIONINFOEXW, wServicePackMajor);

LONG WINAPI RtlGetVersion(OSVERSIONINFOEXW* version) {
  if (version == nullptr) return kStatusInvalidParameter;
  OSVERSIONINFOEXW full = {};
  full.dwOSVersionInfoSize = version->dwOSVersionInfoSize;
  platform::FillBasicVersion(full);
  full.wProductType = platform::kOsProductWorkstation;
  if (version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXW)) {
    *version = full;
    return kStatusSuccess;
  }
  // Callers with the basic record have no memory behind it.
  if (version->dwOSVersionInfoSize != kBasicSize) return kStatusInvalidParameter;
  std::memcpy(static_cast<void*>(version), &full, kBasicSize);
  return kStatusSuccess;
}

const platform::ModuleExport kExports[] = {
    {"RtlGetVersion", platform::ExportAddress(&RtlGetVersion)},
};

const platform::Module kModule = {"ntdll.dll", kExports, std::size(kExports), nullptr, 0, nullptr};

[[maybe_unused]] const bool attached = [] {
  platform::AttachModule(kModule);
  return true;
}();

}  // namespace
