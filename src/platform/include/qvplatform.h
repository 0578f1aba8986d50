/*
 * The part of the platform layer that applications of QVHTTP12 need: the vocabulary of the
 * interface (types, calling convention, calendar records), movable memory blocks, and windows with
 * their messages.
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
 * there is not enough memory. The caller owns the block and gives it back with GlobalFree. The
 * handle of a movable block is no address: GlobalLock gives that, for an empty block too. The
 * handle of a fixed block is its address.
 */
QVPLATFORM_API HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes) QV_NOEXCEPT;

/*
 * Changes the size of a block; with GMEM_ZEROINIT what is added is filled with zeros. The handle
 * stays the same, the address may change while the block is not locked. A locked or fixed block
 * that cannot grow where it is fails with ERROR_NOT_ENOUGH_MEMORY unless uFlags has GMEM_MOVEABLE;
 * the new address of a fixed block is its new handle. NULL on failure, and then the block is as it
 * was. Blocks keep spare capacity, so that growing step by step is cheap.
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

/* ---- Windows and messages ------------------------------------------------------------------ */

/*
 * Windows are message-only: they are never seen, they belong to the thread that created them, and
 * they receive messages in its message loop. Functions that end in A and W differ in the text of
 * class names only.
 *
 * Each thread has a queue. It is served when the thread retrieves messages (PeekMessage,
 * GetMessage, WaitMessage) or waits in SendMessage. Socket notifications of the library are
 * gathered on the same occasions. A program with a loop of its own adds the descriptor of the
 * thread's queue to what it polls and empties the queue when the descriptor is readable:
 *
 *   struct pollfd entries[] = {{QvMessageDescriptor(), POLLIN, 0}, ...};
 *   for (;;) {
 *     MSG message;
 *     while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
 *       if (message.message == WM_QUIT) return (int)message.wParam;
 *       DispatchMessageW(&message);
 *     }
 *     poll(entries, count, -1);
 *     ...
 *   }
 *
 * A program without one calls GetMessageW and DispatchMessageW until GetMessageW returns FALSE.
 *
 * No C++ exception may leave a window procedure.
 */

typedef HANDLE HINSTANCE;
typedef HANDLE HICON;
typedef HANDLE HCURSOR;
typedef HANDLE HBRUSH;
typedef HANDLE HMENU;
typedef WORD ATOM;

typedef LRESULT(CALLBACK* WNDPROC)(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

#define HWND_MESSAGE ((HWND)(LONG_PTR)-3)

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_USER 0x0400
#define WM_APP 0x8000

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define PM_NOYIELD 0x0002

#define GWLP_WNDPROC (-4)
#define GWLP_USERDATA (-21)

typedef struct _POINT {
  LONG x;
  LONG y;
} POINT;

typedef struct _MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time; /* GetTickCount when the message was posted */
  POINT pt;   /* always 0, 0 */
} MSG, *LPMSG;

/* Only lpfnWndProc and lpszClassName count; cbClsExtra and cbWndExtra must be 0. */
typedef struct _WNDCLASSA {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
} WNDCLASSA;

typedef struct _WNDCLASSW {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
} WNDCLASSW;

/* lParam of WM_NCCREATE and WM_CREATE: the arguments of CreateWindowEx. */
typedef struct _CREATESTRUCTA {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCSTR lpszName;
  LPCSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTA;

typedef struct _CREATESTRUCTW {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTW;

/*
 * The atom of the new class, which may stand for its name; 0 on failure. Classes belong to the
 * process and their names are compared without case.
 */
QVPLATFORM_API ATOM WINAPI RegisterClassA(const WNDCLASSA* lpWndClass) QV_NOEXCEPT;
QVPLATFORM_API ATOM WINAPI RegisterClassW(const WNDCLASSW* lpWndClass) QV_NOEXCEPT;

/* Fails with ERROR_CLASS_HAS_WINDOWS while the class has any. */
QVPLATFORM_API BOOL WINAPI UnregisterClassA(LPCSTR lpClassName, HINSTANCE hInstance) QV_NOEXCEPT;
QVPLATFORM_API BOOL WINAPI UnregisterClassW(LPCWSTR lpClassName, HINSTANCE hInstance) QV_NOEXCEPT;

/*
 * A new window of the calling thread, NULL on failure. hWndParent is HWND_MESSAGE or NULL and hMenu
 * is NULL. The window procedure receives WM_NCCREATE (FALSE refuses) and WM_CREATE (-1 refuses).
 */
QVPLATFORM_API HWND WINAPI CreateWindowExA(DWORD dwExStyle, LPCSTR lpClassName, LPCSTR lpWindowName,
                                           DWORD dwStyle, int X, int Y, int nWidth, int nHeight,
                                           HWND hWndParent, HMENU hMenu, HINSTANCE hInstance,
                                           LPVOID lpParam) QV_NOEXCEPT;
QVPLATFORM_API HWND WINAPI CreateWindowExW(DWORD dwExStyle, LPCWSTR lpClassName,
                                           LPCWSTR lpWindowName, DWORD dwStyle, int X, int Y,
                                           int nWidth, int nHeight, HWND hWndParent, HMENU hMenu,
                                           HINSTANCE hInstance, LPVOID lpParam) QV_NOEXCEPT;

/*
 * Destroys a window of the calling thread (ERROR_ACCESS_DENIED for another's): its procedure
 * receives WM_DESTROY and WM_NCDESTROY, and what is still in the queue for it is dropped. Windows
 * that a thread leaves behind go with it, and their procedures are not called.
 */
QVPLATFORM_API BOOL WINAPI DestroyWindow(HWND hWnd) QV_NOEXCEPT;

QVPLATFORM_API BOOL WINAPI IsWindow(HWND hWnd) QV_NOEXCEPT;

/* The id of the thread that owns the window, 0 when it is no window. */
QVPLATFORM_API DWORD WINAPI GetWindowThreadProcessId(HWND hWnd, LPDWORD lpdwProcessId) QV_NOEXCEPT;

/*
 * The calling thread's active window, NULL when it has none. A window becomes active by
 * SetActiveWindow only, which returns the one before. Making one active tells the library that it
 * may dispatch the thread's messages while it paces a transfer.
 */
QVPLATFORM_API HWND WINAPI GetActiveWindow(void) QV_NOEXCEPT;
QVPLATFORM_API HWND WINAPI SetActiveWindow(HWND hWnd) QV_NOEXCEPT;

/*
 * GWLP_WNDPROC replaces the window procedure (the new one passes on to the old one, the result,
 * with CallWindowProc); GWLP_USERDATA is the application's. Other values of nIndex are refused with
 * ERROR_INVALID_INDEX. 0 on failure.
 */
QVPLATFORM_API LONG_PTR WINAPI GetWindowLongPtrA(HWND hWnd, int nIndex) QV_NOEXCEPT;
QVPLATFORM_API LONG_PTR WINAPI GetWindowLongPtrW(HWND hWnd, int nIndex) QV_NOEXCEPT;
QVPLATFORM_API LONG_PTR WINAPI SetWindowLongPtrA(HWND hWnd, int nIndex,
                                                 LONG_PTR dwNewLong) QV_NOEXCEPT;
QVPLATFORM_API LONG_PTR WINAPI SetWindowLongPtrW(HWND hWnd, int nIndex,
                                                 LONG_PTR dwNewLong) QV_NOEXCEPT;
QVPLATFORM_API LRESULT WINAPI CallWindowProcA(WNDPROC lpPrevWndFunc, HWND hWnd, UINT Msg,
                                              WPARAM wParam, LPARAM lParam) QV_NOEXCEPT;
QVPLATFORM_API LRESULT WINAPI CallWindowProcW(WNDPROC lpPrevWndFunc, HWND hWnd, UINT Msg,
                                              WPARAM wParam, LPARAM lParam) QV_NOEXCEPT;

/* Accepts WM_NCCREATE, destroys the window for WM_CLOSE and returns 0 for all other messages. */
QVPLATFORM_API LRESULT WINAPI DefWindowProcA(HWND hWnd, UINT Msg, WPARAM wParam,
                                             LPARAM lParam) QV_NOEXCEPT;
QVPLATFORM_API LRESULT WINAPI DefWindowProcW(HWND hWnd, UINT Msg, WPARAM wParam,
                                             LPARAM lParam) QV_NOEXCEPT;

/*
 * Appends a message to the queue of the window's thread; a NULL window stands for the calling
 * thread itself. A queue holds 10,000 messages (ERROR_NOT_ENOUGH_QUOTA).
 */
QVPLATFORM_API BOOL WINAPI PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam,
                                        LPARAM lParam) QV_NOEXCEPT;
QVPLATFORM_API BOOL WINAPI PostMessageW(HWND hWnd, UINT Msg, WPARAM wParam,
                                        LPARAM lParam) QV_NOEXCEPT;

/* WM_QUIT with the exit code as wParam, retrieved when no posted message matches any more. */
QVPLATFORM_API void WINAPI PostQuitMessage(int nExitCode) QV_NOEXCEPT;

/*
 * Calls the window procedure and returns its result. The procedure of another thread's window is
 * called by that thread when it serves its queue; the caller waits and serves messages that are
 * sent to it meanwhile. 0 (ERROR_INVALID_WINDOW_HANDLE) when the window is gone before that.
 */
QVPLATFORM_API LRESULT WINAPI SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam,
                                           LPARAM lParam) QV_NOEXCEPT;
QVPLATFORM_API LRESULT WINAPI SendMessageW(HWND hWnd, UINT Msg, WPARAM wParam,
                                           LPARAM lParam) QV_NOEXCEPT;

/*
 * Retrieve the first message for hWnd (NULL: for all windows of the thread and the thread itself)
 * with a number from wMsgFilterMin to wMsgFilterMax (both 0: every number). PeekMessage returns
 * FALSE when there is none. GetMessage waits for one and returns FALSE for WM_QUIT, and -1 when
 * hWnd is no window of the thread.
 */
QVPLATFORM_API BOOL WINAPI PeekMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                        UINT wMsgFilterMax, UINT wRemoveMsg) QV_NOEXCEPT;
QVPLATFORM_API BOOL WINAPI PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                        UINT wMsgFilterMax, UINT wRemoveMsg) QV_NOEXCEPT;
QVPLATFORM_API BOOL WINAPI GetMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                       UINT wMsgFilterMax) QV_NOEXCEPT;
QVPLATFORM_API BOOL WINAPI GetMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                       UINT wMsgFilterMax) QV_NOEXCEPT;

/* Waits until a message can be retrieved, also one that was there before. */
QVPLATFORM_API BOOL WINAPI WaitMessage(void) QV_NOEXCEPT;

/* There are no keys: FALSE. */
QVPLATFORM_API BOOL WINAPI TranslateMessage(const MSG* lpMsg) QV_NOEXCEPT;

/* Calls the procedure of the message's window and returns its result. */
QVPLATFORM_API LRESULT WINAPI DispatchMessageA(const MSG* lpMsg) QV_NOEXCEPT;
QVPLATFORM_API LRESULT WINAPI DispatchMessageW(const MSG* lpMsg) QV_NOEXCEPT;

/*
 * A descriptor for poll, select or epoll that is readable while a message that was posted or sent
 * to the calling thread, or a socket notification, waits. It is the layer's, the same for each call
 * of a thread, and valid until the thread ends: do not read from it or close it. -1 on failure.
 * Retrieving the last message makes it unreadable; now and then it is readable without a message.
 */
QVPLATFORM_API int QvMessageDescriptor(void) QV_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* QVPLATFORM_H */
