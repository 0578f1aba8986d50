// kernel32.dll: ReplaceFileW.
#ifndef PLATFORM_REPLACE_FILE_H_
#define PLATFORM_REPLACE_FILE_H_

#include "qvplatform.h"

extern "C" {

// The replacement takes the name and the permissions of the replaced file, in one step; both must
// be on one volume. A symbolic link is followed to the file that it leads to. There is no backup,
// and there are no flags: NULL and 0, or ERROR_INVALID_PARAMETER.
QVPLATFORM_API BOOL WINAPI ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup,
                                        DWORD flags, LPVOID exclude, LPVOID reserved) noexcept;

}  // extern "C"

#endif  // PLATFORM_REPLACE_FILE_H_
