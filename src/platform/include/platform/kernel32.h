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
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
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
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_NOT_LOCKED = 158;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;
inline constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;

// ---- Thread-local slots ----------------------------------------------------------------------
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFFu;
QVPLATFORM_API DWORD WINAPI TlsAlloc(void) noexcept;  // the values of a new slot are NULL
QVPLATFORM_API BOOL WINAPI TlsFree(DWORD index) noexcept;
// A NULL value that is the slot's (no failure) sets the last error to 0.
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
// The objects on the thread's stack are not destroyed and what it held stays held.
QVPLATFORM_API BOOL WINAPI TerminateThread(HANDLE thread, DWORD exit_code) noexcept;
QVPLATFORM_API BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exit_code) noexcept;
// Wait for threads; other kinds of handle are refused with ERROR_INVALID_HANDLE.
QVPLATFORM_API DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept;
QVPLATFORM_API DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles,
                                                   BOOL wait_all, DWORD milliseconds) noexcept;
// Gives a handle back. A thread runs on when its handle is closed.
QVPLATFORM_API BOOL WINAPI CloseHandle(HANDLE handle) noexcept;

// ---- Local memory ----------------------------------------------------------------------------
inline constexpr UINT LMEM_FIXED = 0x0;
inline constexpr UINT LMEM_ZEROINIT = 0x40;
inline constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;
// Fixed blocks only. LocalFree gives NULL on success, which freeing NULL is too.
QVPLATFORM_API HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes) noexcept;
QVPLATFORM_API HLOCAL WINAPI LocalFree(HLOCAL block) noexcept;

// ---- Modules ---------------------------------------------------------------------------------
typedef LONG_PTR(WINAPI* FARPROC)(void);
// Names are compared without case; ".dll" may be left out and a leading directory is ignored.
// FreeLibrary keeps the module, as others may use it.
QVPLATFORM_API HMODULE WINAPI LoadLibraryA(LPCSTR name) noexcept;
QVPLATFORM_API HMODULE WINAPI GetModuleHandleA(LPCSTR name) noexcept;
QVPLATFORM_API FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) noexcept;
QVPLATFORM_API BOOL WINAPI FreeLibrary(HMODULE module) noexcept;
// The path of the executable for a NULL module, else of the file that holds the module; the length
// copied (the capacity, and ERROR_INSUFFICIENT_BUFFER, when it was cut), 0 on failure.
QVPLATFORM_API DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD capacity) noexcept;

// ---- Messages --------------------------------------------------------------------------------
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_HMODULE = 0x800;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
// Looks a message up in a module's message table, then in the system's (errno-like platform error
// numbers), as the flags say; the length written, 0 (ERROR_MR_MID_NOT_FOUND,
// ERROR_INSUFFICIENT_BUFFER) on failure. Inserts are not processed: FORMAT_MESSAGE_IGNORE_INSERTS
// must be given.
QVPLATFORM_API DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD message_id,
                                           DWORD language_id, LPSTR buffer, DWORD capacity,
                                           LPVOID arguments) noexcept;

// ---- Files -----------------------------------------------------------------------------------
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
inline constexpr DWORD MAX_PATH = 260;
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD FILE_APPEND_DATA = 4;  // writes go to the end of the file
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

// Names take both separators; "C:" is the root directory and there are no other drives. Letters
// count exactly, as the file system has them. Share modes hold between the handles of this process.
// A security attribute other than NULL makes a new file readable and writable for its owner only.
// Directories are refused with ERROR_ACCESS_DENIED, and so are files without the owner's write
// permission when they are opened for writing, deleted or replaced.
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
// DIRECTORY, DEVICE (pipe, socket, character or block device) or ARCHIVE, and READONLY when the
// owner may not write.
QVPLATFORM_API DWORD WINAPI GetFileAttributesW(LPCWSTR name) noexcept;
// Only FILE_ATTRIBUTE_READONLY has an effect.
QVPLATFORM_API BOOL WINAPI SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept;
// The full path in the platform's form ("C:\home\me\x"). The length without the terminator; the
// needed capacity (with the terminator) when the buffer is too small; 0 on failure.
QVPLATFORM_API DWORD WINAPI GetFullPathNameW(LPCWSTR name, DWORD capacity, LPWSTR path,
                                             LPWSTR* file_part) noexcept;

// ---- Environment and system ------------------------------------------------------------------
// Expands %NAME% references; unknown names stay as they are. A name is looked up as written, then
// in upper case; TEMP, TMP, USERPROFILE and APPDATA fall back to the places that Linux has for
// them. The count of characters with the terminator (which may exceed the capacity, and then
// nothing usable was written), 0 on failure.
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
// *size is the capacity on entry, the length without the terminator on success and the needed
// capacity when it was too small (ERROR_MORE_DATA).
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
// For records of 148 or 156 bytes; any other size is refused with ERROR_INSUFFICIENT_BUFFER.
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
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;  // UTF-8 only
// CP_ACP stands for the code page of the locale (LC_ALL, LC_CTYPE, LANG), UTF-8 when it names none.
QVPLATFORM_API UINT WINAPI GetACP(void) noexcept;
QVPLATFORM_API BOOL WINAPI IsValidCodePage(UINT code_page) noexcept;
// Both return the count written (needed, for a capacity of 0), with the terminator when the source
// length is -1, and 0 on failure. Without MB_ERR_INVALID_CHARS what is invalid becomes U+FFFD.
// Characters that a code page lacks become the default character, "?" when none is given.
QVPLATFORM_API int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source,
                                              int source_bytes, LPWSTR target,
                                              int capacity) noexcept;
QVPLATFORM_API int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR source,
                                              int source_chars, LPSTR target, int capacity,
                                              LPCSTR default_char, LPBOOL used_default) noexcept;
QVPLATFORM_API int WINAPI lstrlenW(LPCWSTR text) noexcept;

}  // extern "C"

#endif  // PLATFORM_KERNEL32_H_
