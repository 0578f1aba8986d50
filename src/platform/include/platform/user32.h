// user32: message-only windows and the message queues of threads. The functions are those that
// applications call, too; what only the library and the layer's tests need is added here.
#ifndef PLATFORM_USER32_H_
#define PLATFORM_USER32_H_

#include "qvplatform.h"

inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_INVALID_MENU_HANDLE = 1401;
inline constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
inline constexpr DWORD ERROR_CLASS_ALREADY_EXISTS = 1410;
inline constexpr DWORD ERROR_CLASS_DOES_NOT_EXIST = 1411;
inline constexpr DWORD ERROR_CLASS_HAS_WINDOWS = 1412;
inline constexpr DWORD ERROR_INVALID_INDEX = 1413;
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

#endif  // PLATFORM_USER32_H_
