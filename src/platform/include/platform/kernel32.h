// kernel32: processes, threads, memory, files, code pages and modules, as far as the library calls
// them. Results, error numbers and ownership are the platform's.
#ifndef PLATFORM_KERNEL32_H_
#define PLATFORM_KERNEL32_H_

#include "qvplatform.h"

extern "C" {

// ---- Error numbers ---------------------------------------------------------------------------
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;
inline constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;

// ---- Thread-local slots ----------------------------------------------------------------------
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFFu;
QVPLATFORM_API DWORD WINAPI TlsAlloc(void) noexcept;
QVPLATFORM_API BOOL WINAPI TlsFree(DWORD index) noexcept;
QVPLATFORM_API LPVOID WINAPI TlsGetValue(DWORD index) noexcept;
QVPLATFORM_API BOOL WINAPI TlsSetValue(DWORD index, LPVOID value) noexcept;

// ---- Critical sections: recursive, owned by a thread ------------------------------------------
struct CRITICAL_SECTION {
  LPVOID impl;
};
QVPLATFORM_API void WINAPI InitializeCriticalSection(CRITICAL_SECTION* section) noexcept;
QVPLATFORM_API void WINAPI DeleteCriticalSection(CRITICAL_SECTION* section) noexcept;
QVPLATFORM_API void WINAPI EnterCriticalSection(CRITICAL_SECTION* section) noexcept;
QVPLATFORM_API BOOL WINAPI TryEnterCriticalSection(CRITICAL_SECTION* section) noexcept;
QVPLATFORM_API void WINAPI LeaveCriticalSection(CRITICAL_SECTION* section) noexcept;

// ---- Processes and threads -------------------------------------------------------------------
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);
inline constexpr DWORD CREATE_SUSPENDED = 0x4;
inline constexpr DWORD STILL_ACTIVE = 259;
inline constexpr DWORD INFINITE = 0xFFFFFFFFu;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

QVPLATFORM_API DWORD WINAPI GetCurrentProcessId(void) noexcept;
QVPLATFORM_API HANDLE WINAPI CreateThread(LPVOID attributes, SIZE_T stack_size,
                                          LPTHREAD_START_ROUTINE start, LPVOID parameter,
                                          DWORD flags, LPDWORD thread_id) noexcept;
// Both return the previous suspend count, all bits set on failure. A suspended thread stops at its
// next platform call that may block or move data.
QVPLATFORM_API DWORD WINAPI SuspendThread(HANDLE thread) noexcept;
QVPLATFORM_API DWORD WINAPI ResumeThread(HANDLE thread) noexcept;
// Ends the thread at its next platform call that may block or move data; it does not wait for that.
QVPLATFORM_API BOOL WINAPI TerminateThread(HANDLE thread, DWORD exit_code) noexcept;
QVPLATFORM_API BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exit_code) noexcept;
QVPLATFORM_API DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept;
QVPLATFORM_API DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles,
                                                   BOOL wait_all, DWORD milliseconds) noexcept;
QVPLATFORM_API BOOL WINAPI CloseHandle(HANDLE handle) noexcept;

// ---- Local memory ----------------------------------------------------------------------------
inline constexpr UINT LMEM_FIXED = 0x0;
inline constexpr UINT LMEM_ZEROINIT = 0x40;
inline constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;
QVPLATFORM_API HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes) noexcept;
QVPLATFORM_API HLOCAL WINAPI LocalFree(HLOCAL block) noexcept;

// ---- Modules ---------------------------------------------------------------------------------
typedef LONG_PTR(WINAPI* FARPROC)(void);
QVPLATFORM_API HMODULE WINAPI LoadLibraryA(LPCSTR name) noexcept;
QVPLATFORM_API HMODULE WINAPI GetModuleHandleA(LPCSTR name) noexcept;
QVPLATFORM_API FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) noexcept;
QVPLATFORM_API BOOL WINAPI FreeLibrary(HMODULE module) noexcept;
// The path of the executable for a NULL module; the length copied, 0 on failure.
QVPLATFORM_API DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity) noexcept;

// ---- Messages --------------------------------------------------------------------------------
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_HMODULE = 0x800;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
// Looks a message up in a module's message table, then in the system's (errno-like platform error
// numbers), as the flags say; the length written, 0 (ERROR_MR_MID_NOT_FOUND,
// ERROR_INSUFFICIENT_BUFFER) on failure. Inserts are not processed.
QVPLATFORM_API DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD message_id,
                                           DWORD language_id, LPSTR buffer, DWORD capacity,
                                           LPVOID arguments) noexcept;

// ---- Files -----------------------------------------------------------------------------------
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
inline constexpr DWORD MAX_PATH = 260;
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x2;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x4;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_DEVICE = 0x40;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFu;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

QVPLATFORM_API HANDLE WINAPI CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPVOID security,
                                         DWORD disposition, DWORD flags,
                                         HANDLE template_file) noexcept;
QVPLATFORM_API BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read,
                                    LPVOID overlapped) noexcept;
QVPLATFORM_API BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written,
                                     LPVOID overlapped) noexcept;
QVPLATFORM_API BOOL WINAPI SetFilePointerEx(HANDLE file, LARGE_INTEGER distance,
                                            LARGE_INTEGER* position, DWORD method) noexcept;
QVPLATFORM_API BOOL WINAPI SetEndOfFile(HANDLE file) noexcept;
QVPLATFORM_API BOOL WINAPI GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept;
QVPLATFORM_API BOOL WINAPI DeleteFileW(LPCWSTR name) noexcept;
QVPLATFORM_API BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept;
QVPLATFORM_API BOOL WINAPI CopyFileW(LPCWSTR from, LPCWSTR to, BOOL fail_if_exists) noexcept;
QVPLATFORM_API DWORD WINAPI GetFileAttributesW(LPCWSTR name) noexcept;
QVPLATFORM_API BOOL WINAPI SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept;
// The full path in the platform's form ("C:\home\me\x"). The length without the terminator; the
// needed capacity (with the terminator) when the buffer is too small; 0 on failure.
QVPLATFORM_API DWORD WINAPI GetFullPathNameW(LPCWSTR name, DWORD capacity, LPWSTR path,
                                             LPWSTR* file_part) noexcept;

// ---- Environment and system ------------------------------------------------------------------
// Expands %NAME% references; unknown names stay as they are. The count of characters with the
// terminator (which may exceed the capacity, and then nothing usable was written), 0 on failure.
QVPLATFORM_API DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR source, LPSTR target,
                                                      DWORD capacity) noexcept;
QVPLATFORM_API DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR target,
                                                      DWORD capacity) noexcept;
enum COMPUTER_NAME_FORMAT {
  ComputerNameNetBIOS = 0,
  ComputerNameDnsHostname = 1,
  ComputerNameDnsDomain = 2,
  ComputerNameDnsFullyQualified = 3,
};
QVPLATFORM_API BOOL WINAPI GetComputerNameExA(COMPUTER_NAME_FORMAT type, LPSTR name,
                                              LPDWORD size) noexcept;

struct OSVERSIONINFOA {  // 148 bytes
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  CHAR szCSDVersion[128];
};
struct OSVERSIONINFOEXA {  // 156 bytes
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  CHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
};
inline constexpr DWORD VER_PLATFORM_WIN32_NT = 2;
QVPLATFORM_API BOOL WINAPI GetVersionExA(OSVERSIONINFOA* version) noexcept;

// ---- Local time ------------------------------------------------------------------------------
QVPLATFORM_API void WINAPI GetLocalTime(LPSYSTEMTIME time) noexcept;
QVPLATFORM_API void WINAPI GetSystemTime(LPSYSTEMTIME time) noexcept;

// ---- Code pages ------------------------------------------------------------------------------
inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_THREAD_ACP = 3;
inline constexpr UINT CP_US_ASCII = 20127;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_PRECOMPOSED = 1;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;
QVPLATFORM_API UINT WINAPI GetACP(void) noexcept;
QVPLATFORM_API BOOL WINAPI IsValidCodePage(UINT code_page) noexcept;
QVPLATFORM_API int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source,
                                              int source_bytes, LPWSTR target,
                                              int capacity) noexcept;
QVPLATFORM_API int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR source,
                                              int source_chars, LPSTR target, int capacity,
                                              LPCSTR default_char, LPBOOL used_default) noexcept;
QVPLATFORM_API int WINAPI lstrlenW(LPCWSTR text) noexcept;

}  // extern "C"

#endif  // PLATFORM_KERNEL32_H_
