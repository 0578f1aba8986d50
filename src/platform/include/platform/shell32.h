// shell32: the user's folders.
#ifndef PLATFORM_SHELL32_H_
#define PLATFORM_SHELL32_H_

#include "platform/kernel32.h"

extern "C" {

inline constexpr int CSIDL_PERSONAL = 5;  // documents

// The path of a folder of the user, in the platform's form, into a buffer of MAX_PATH bytes. 0 on
// success; a nonzero result when there is none or it does not fit. Documents are where
// XDG_DOCUMENTS_DIR of the user's user-dirs.dirs file says, else in "Documents" of the home folder
// if that exists, else in the home folder itself.
QVPLATFORM_API LONG WINAPI SHGetFolderPathA(HWND owner, int folder, HANDLE token, DWORD flags,
                                            LPSTR path) noexcept;

}  // extern "C"

#endif  // PLATFORM_SHELL32_H_
