// ntdll: the version query. Found by name (GetModuleHandleA "ntdll.dll", GetProcAddress
// "RtlGetVersion"), as applications do on the platform.
#ifndef PLATFORM_NTDLL_H_
#define PLATFORM_NTDLL_H_

#include "qvplatform.h"

struct OSVERSIONINFOEXW {  // 284 bytes
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
};

// Fills the record (dwOSVersionInfoSize is set by the caller); 0 on success.
typedef LONG(WINAPI* RtlGetVersionFn)(OSVERSIONINFOEXW* version);

#endif  // PLATFORM_NTDLL_H_
