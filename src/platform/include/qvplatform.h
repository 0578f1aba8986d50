/*
 * The part of the platform layer that applications of QVHTTP12 need: the vocabulary of the
 * interface (types, calling convention, calendar records) and movable memory blocks.
 *
 * Everything here keeps the meaning that its name has on the platform where the interface was
 * designed; sizes are those of that platform in 64 bit (LONG and DWORD have 32 bits, WCHAR 16).
 * Compiles as C11 and as C++.
 */
#ifndef QVPLATFORM_H
#define QVPLATFORM_H

#include <stddef.h>
#include <stdint.h>

#ifndef __cplusplus
#include <uchar.h>
#endif

#ifdef __cplusplus
extern "C" {
#define QV_NOEXCEPT noexcept
#else
#define QV_NOEXCEPT
#endif

/* Marks what the layer's libraries offer; all other symbols of theirs are hidden. */
#define QVPLATFORM_API __attribute__((visibility("default")))

/* Calling conventions: the platform's C convention is the only one here. */
#define WINAPI
#define CALLBACK

/* ---- Types ------------------------------------------------------------------------------- */

typedef int BOOL;
typedef int INT;
typedef unsigned int UINT;
typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef char CHAR;
typedef char16_t WCHAR; /* one UTF-16 code unit */
typedef size_t SIZE_T;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t DWORD_PTR;

typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BOOL* LPBOOL;
typedef BYTE* LPBYTE;
typedef INT* LPINT;
typedef LONG* LPLONG;
typedef DWORD* LPDWORD;
typedef ULONGLONG* LPULONGLONG;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;

typedef void* HANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
typedef HANDLE HMODULE;
typedef HANDLE HWND;

typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

/* Calendar date and time; wMonth counts from 1, wDayOfWeek from Sunday = 0. */
typedef struct _SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
} SYSTEMTIME, *LPSYSTEMTIME;

/* ---- The thread's last error --------------------------------------------------------------- */

/* The calling thread's last platform error, 0 when none was set. */
QVPLATFORM_API DWORD WINAPI GetLastError(void) QV_NOEXCEPT;
QVPLATFORM_API void WINAPI SetLastError(DWORD dwErrCode) QV_NOEXCEPT;

/* ---- Movable memory blocks ----------------------------------------------------------------- */

#define GMEM_FIXED 0x0000
#define GMEM_MOVEABLE 0x0002
#define GMEM_ZEROINIT 0x0040
#define GMEM_MODIFY 0x0080
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

/*
 * Allocates a block of dwBytes bytes and returns its handle, NULL (ERROR_NOT_ENOUGH_MEMORY) when
 * there is not enough memory. The caller owns the block and gives it back with GlobalFree. The handle
 * of a movable block is no address: GlobalLock gives that, for an empty block too. The handle of a
 * fixed block is its address.
 */
QVPLATFORM_API HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes) QV_NOEXCEPT;

/*
 * Changes the size of a block; with GMEM_ZEROINIT what is added is filled with zeros. The handle
 * stays the same, the address may change while the block is not locked. A locked or fixed block that
 * cannot grow where it is fails with ERROR_NOT_ENOUGH_MEMORY unless uFlags has GMEM_MOVEABLE; the
 * new address of a fixed block is its new handle. NULL on failure, and then the block is as it was.
 * Blocks keep spare capacity, so that growing step by step is cheap.
 */
QVPLATFORM_API HGLOBAL WINAPI GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags) QV_NOEXCEPT;

/* Frees a block. NULL on success; the handle itself (ERROR_INVALID_HANDLE) on failure. */
QVPLATFORM_API HGLOBAL WINAPI GlobalFree(HGLOBAL hMem) QV_NOEXCEPT;

/* The address of a block, which stays until the matching GlobalUnlock; NULL on failure. */
QVPLATFORM_API LPVOID WINAPI GlobalLock(HGLOBAL hMem) QV_NOEXCEPT;

/* Undoes one GlobalLock. Nonzero while the block is still locked, 0 when it is not. */
QVPLATFORM_API BOOL WINAPI GlobalUnlock(HGLOBAL hMem) QV_NOEXCEPT;

/* The size of a block in bytes, 0 (ERROR_INVALID_HANDLE) when the handle is not a block's. */
QVPLATFORM_API SIZE_T WINAPI GlobalSize(HGLOBAL hMem) QV_NOEXCEPT;

/* ---- Time ---------------------------------------------------------------------------------- */

/* Milliseconds since an arbitrary start; wraps to 0 after 49.7 days. */
QVPLATFORM_API DWORD WINAPI GetTickCount(void) QV_NOEXCEPT;

/* Lets the calling thread sleep for dwMilliseconds. */
QVPLATFORM_API void WINAPI Sleep(DWORD dwMilliseconds) QV_NOEXCEPT;

/* A small number that identifies the calling thread in this process. */
QVPLATFORM_API DWORD WINAPI GetCurrentThreadId(void) QV_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* QVPLATFORM_H */
