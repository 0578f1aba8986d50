/*
 * QVHTTP12: queues of files to transfer. Included by qvhttp12.h, which says what holds for every
 * function.
 *
 * A queue is a list of downloads and uploads, each with its own server, that a thread of the
 * library, the worker, transfers one after the other. Create a queue, add files, start it, and
 * watch it; a file that fails does not keep the next ones from being transferred.
 *
 * Any thread may call any of these functions, the worker's own callback included. Every function
 * that takes an HQUEUE fails with QV_ERROR_INVALID_QUEUE_HANDLE when it names no queue. The last
 * HttpUninitialize deletes all queues: it interrupts their transfers and waits for their workers,
 * at most 10 seconds for one whose callback does not return.
 */
#ifndef QVHTTP12_QUEUE_H
#define QVHTTP12_QUEUE_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A queue. At most 256 exist at a time. */
typedef UINT_PTR HQUEUE;
#define INVALID_QUEUE ((HQUEUE) ~(UINT_PTR)0) /* compares equal to HTTP_ERROR */

/* Types of files. A file with any other type, without one of these bits, is completed without a
 * transfer. */
#define HTTP_QUEUE_DOWNLOAD 0x1u
#define HTTP_QUEUE_UPLOAD 0x2u
#define HTTP_QUEUE_LOCALNAME 0x1000u /* with a filter: patterns are for the local file */

/* States of queues. */
#define HTTP_QUEUE_STOPPED 0
#define HTTP_QUEUE_RUNNING 1
#define HTTP_QUEUE_SUSPENDED 2

/* States of files. A cancelled one is HTTP_QUEUE_FILE_FAILED + HTTP_QUEUE_FILE_CANCELED. */
#define HTTP_QUEUE_FILE_WAITING 0u /* also while it is being transferred */
#define HTTP_QUEUE_FILE_COMPLETE 1u
#define HTTP_QUEUE_FILE_FAILED 2u
#define HTTP_QUEUE_FILE_CANCELED 4u

/* The event of a queue's callback that comes with the queue's handle instead of a session's. */
#define HTTP_EVENT_QUEUE 0x1000u

/* A queued file. */
typedef struct _HTTPQUEUEDFILEA {
  DWORD dwFileId;
  DWORD dwFileType;
  DWORD dwFileState;
  DWORD dwTimeElapsed; /* milliseconds; 0 before its transfer begins */
  DWORD dwError;       /* 0 = none */
  DWORD dwReserved;    /* 0 */
  ULONGLONG qwBytesCopied;
  CHAR szLocalFile[512]; /* full path */
  CHAR szRemoteUrl[1024];
} HTTPQUEUEDFILEA, *LPHTTPQUEUEDFILEA;

typedef struct _HTTPQUEUEDFILEW {
  DWORD dwFileId;
  DWORD dwFileType;
  DWORD dwFileState;
  DWORD dwTimeElapsed;
  DWORD dwError;
  DWORD dwReserved;
  ULONGLONG qwBytesCopied;
  WCHAR szLocalFile[512];
  WCHAR szRemoteUrl[1024];
} HTTPQUEUEDFILEW, *LPHTTPQUEUEDFILEW;

typedef struct _HTTPQUEUESTATUS {
  DWORD dwQueueState;
  DWORD dwThreadId; /* of the worker, 0 = none; set until a stopped worker has ended */
  DWORD dwTotalFiles;
  DWORD dwWaitingFiles;
  DWORD dwCompletedFiles;
  DWORD dwFailedFiles;    /* or cancelled */
  DWORD dwTimeElapsed;    /* milliseconds of the current or last run */
  DWORD dwCurrentFile;    /* being transferred, 0 = none */
  DWORD dwLastError;      /* of the file that finished last */
  DWORD dwReserved;       /* 0 */
  ULONGLONG qwLastBytes;  /* of the file that was completed last */
  ULONGLONG qwTotalBytes; /* of all completed files */
} HTTPQUEUESTATUS, *LPHTTPQUEUESTATUS;

/* ==== Queues ================================================================================== */

/*
 * Creates a queue, which is stopped and empty.
 *
 *   nMaxFiles  0 = 1000
 *   nTimeout   seconds for files added without a time-out, taken into 3..60; 0 = 20
 *   dwOptions  HTTP_OPTION_* for files added without options
 *
 * INVALID_QUEUE: QV_ERROR_NETWORK_NOT_INITIALIZED, QV_ERROR_OUT_OF_MEMORY (also: too many queues).
 */
HTTPAPI HQUEUE WINAPI HttpCreateQueue(UINT nMaxFiles, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT;

/*
 * Stops the queue, waits for its worker for at most a second, and deletes the queue with its files.
 * Nonzero, or 0: QV_ERROR_QUEUE_RUNNING (the worker is still at its last file: nothing was deleted,
 * try again later). In the worker's own callback it does not wait: there only a queue that was
 * stopped before, or has ended its run, can be deleted; the file in progress is still transferred.
 */
HTTPAPI BOOL WINAPI HttpDeleteQueue(HQUEUE hQueue) QV_NOEXCEPT;

/*
 * Frees all files of a stopped queue, sets everything that HttpGetQueueStatus reports to 0, counts
 * ids from 1 again, and clears the error slot. Nonzero, or 0: QV_ERROR_QUEUE_EMPTY,
 * QV_ERROR_QUEUE_RUNNING (also while a stopped worker is at its last file).
 */
HTTPAPI BOOL WINAPI HttpClearQueue(HQUEUE hQueue) QV_NOEXCEPT;

/*
 * Has files of a stopped queue wait again: HTTP_QUEUE_FILE_COMPLETE, _FAILED (with the cancelled
 * ones) or _CANCELED; 0 = all. Counts the files anew; bytes, times and the last error become 0.
 * Nonzero, or 0: QV_ERROR_INVALID_PARAMETER, QV_ERROR_QUEUE_EMPTY, QV_ERROR_QUEUE_RUNNING (also
 * while a stopped worker is at its last file).
 */
HTTPAPI BOOL WINAPI HttpResetQueue(HQUEUE hQueue, DWORD dwFileStates) QV_NOEXCEPT;

/* The state of the queue (HTTP_QUEUE_STOPPED, ...), or HTTP_ERROR. The record may be NULL. */
HTTPAPI INT WINAPI HttpGetQueueStatus(HQUEUE hQueue, LPHTTPQUEUESTATUS lpStatus) QV_NOEXCEPT;

/* The bytes that a queue of this many files accounts for, in whole pages; 0 on failure. The
 * variable may be NULL. */
HTTPAPI ULONGLONG WINAPI HttpGetQueueHeapSize(HQUEUE hQueue, LPULONGLONG lpqwHeapSize) QV_NOEXCEPT;

/* ==== Files =================================================================================== */

/*
 * Adds a file whose remote end is a URL, which may name a user and password. As
 * HttpAddQueuedFileEx, with QV_ERROR_INVALID_FILE_NAME for a missing local file and
 * QV_ERROR_INVALID_RESOURCE for anything but a URL.
 */
HTTPAPI DWORD WINAPI HttpAddQueuedFileA(HQUEUE hQueue, DWORD dwFileType, LPCSTR lpszLocalFile,
                                        LPCSTR lpszRemoteUrl, DWORD dwOptions,
                                        UINT nTimeout) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAddQueuedFileW(HQUEUE hQueue, DWORD dwFileType, LPCWSTR lpszLocalFile,
                                        LPCWSTR lpszRemoteUrl, DWORD dwOptions,
                                        UINT nTimeout) QV_NOEXCEPT;

/*
 * Adds a file behind the others; not while the queue is running (a suspended one takes it).
 *
 *   dwFileType        HTTP_QUEUE_DOWNLOAD or HTTP_QUEUE_UPLOAD
 *   lpszHostName      NULL or empty: the host of the URL. It is not looked up here
 *   nHostPort         0 = that of the URL, else 443 with HTTP_OPTION_SECURE and 80 without
 *   nAuthType         HTTP_AUTH_*; used when there is a user name or a password
 *   lpszUserName, lpszPassword  NULL or empty: those of the URL, if any; cut to 1023 bytes
 *   lpszLocalFile     %NAME% references are expanded, a relative name becomes a full path at once
 *   lpszRemoteFile    URL, whose scheme decides about HTTP_OPTION_SECURE, or path with query
 *                     behind the last "?"; the path is cut to 511, the query to 5119 bytes
 *   dwOptions         HTTP_OPTION_* of the session; 0 = those of the queue
 *   nTimeout          seconds, taken into 3..60; 0 = that of the queue (W form: 20)
 *   lpvReserved       NULL
 *
 * The file's id (1, 2, 3, ...), or 0: QV_ERROR_INVALID_QUEUE_HANDLE (also: dwFileType),
 * QV_ERROR_INVALID_PARAMETER, QV_ERROR_TOO_MANY_FILES, QV_ERROR_QUEUE_RUNNING,
 * QV_ERROR_INVALID_HOSTNAME, QV_ERROR_INVALID_SERVICE_PORT, QV_ERROR_INVALID_AUTHENTICATION_TYPE,
 * QV_ERROR_INVALID_FILE_NAME (empty, or a full path of more than 511 characters),
 * QV_ERROR_INVALID_RESOURCE (empty, no URL where one is needed, or too long); for an upload also
 * QV_ERROR_FILE_NOT_FOUND and QV_ERROR_INVALID_FILE_TYPE (no regular file).
 */
HTTPAPI DWORD WINAPI HttpAddQueuedFileExA(HQUEUE hQueue, DWORD dwFileType, LPCSTR lpszHostName,
                                          UINT nHostPort, UINT nAuthType, LPCSTR lpszUserName,
                                          LPCSTR lpszPassword, LPCSTR lpszLocalFile,
                                          LPCSTR lpszRemoteFile, DWORD dwOptions, UINT nTimeout,
                                          LPVOID lpvReserved) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAddQueuedFileExW(HQUEUE hQueue, DWORD dwFileType, LPCWSTR lpszHostName,
                                          UINT nHostPort, UINT nAuthType, LPCWSTR lpszUserName,
                                          LPCWSTR lpszPassword, LPCWSTR lpszLocalFile,
                                          LPCWSTR lpszRemoteFile, DWORD dwOptions, UINT nTimeout,
                                          LPVOID lpvReserved) QV_NOEXCEPT;

/*
 * Takes a file out of a queue that is not running; the counts of waiting, completed and failed
 * files stay. Nonzero, or 0: QV_ERROR_QUEUE_RUNNING, QV_ERROR_FILE_NOT_QUEUED,
 * QV_ERROR_QUEUE_LOCKED (it is being transferred).
 */
HTTPAPI BOOL WINAPI HttpRemoveQueuedFile(HQUEUE hQueue, DWORD dwFileId) QV_NOEXCEPT;

/* Fills a record with one file. Nonzero, or 0: QV_ERROR_INVALID_PARAMETER (no record),
 * QV_ERROR_FILE_NOT_QUEUED. */
HTTPAPI BOOL WINAPI HttpGetQueuedFileA(HQUEUE hQueue, DWORD dwFileId,
                                       LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetQueuedFileW(HQUEUE hQueue, DWORD dwFileId,
                                       LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT;

/*
 * Go through the files in their order. First sets the filter: dwFileType (0, or both types: any),
 * and without the files whose state has a bit of dwExcludeStates. A queue has one such enumeration
 * at a time. The file's id, or 0: QV_ERROR_INVALID_PARAMETER (no record), QV_ERROR_QUEUE_EMPTY
 * (First), QV_ERROR_END_OF_QUEUE.
 */
HTTPAPI DWORD WINAPI HttpGetFirstQueuedFileA(HQUEUE hQueue, DWORD dwFileType, DWORD dwExcludeStates,
                                             LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpGetFirstQueuedFileW(HQUEUE hQueue, DWORD dwFileType, DWORD dwExcludeStates,
                                             LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpGetNextQueuedFileA(HQUEUE hQueue,
                                            LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpGetNextQueuedFileW(HQUEUE hQueue,
                                            LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT;

/*
 * The first file that passes the filter and whose resource path (with HTTP_QUEUE_LOCALNAME: whose
 * local file) matches a pattern, or 0: QV_ERROR_FILE_NOT_QUEUED.
 *
 * "?" is any one character and "*" any number of them; letters compare exactly. A pattern without
 * "\" and "/" looks at the last part of the name only. A "*" ends at the last character that
 * equals the one behind it, or at the first if more wildcards follow.
 */
HTTPAPI DWORD WINAPI HttpFindQueuedFileA(HQUEUE hQueue, LPCSTR lpszFileName, DWORD dwFileType,
                                         DWORD dwExcludeStates) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpFindQueuedFileW(HQUEUE hQueue, LPCWSTR lpszFileName, DWORD dwFileType,
                                         DWORD dwExcludeStates) QV_NOEXCEPT;

/*
 * Stores the ids of the files that pass the filter and match the pattern (NULL or empty: any) in
 * the order of the queue, and returns their count; just counts when the array is NULL or
 * nMaxFileIds is 0. Clears the error slot; a count of 0 comes with QV_ERROR_QUEUE_EMPTY (every
 * file was asked for) or QV_ERROR_FILE_NOT_QUEUED. HTTP_ERROR: QV_ERROR_BUFFER_TOO_SMALL, and
 * nothing is stored.
 */
HTTPAPI INT WINAPI HttpEnumQueuedFilesA(HQUEUE hQueue, LPCSTR lpszFileName, DWORD dwFileType,
                                        DWORD dwExcludeStates, LPDWORD lpdwFileIds,
                                        UINT nMaxFileIds) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpEnumQueuedFilesW(HQUEUE hQueue, LPCWSTR lpszFileName, DWORD dwFileType,
                                        DWORD dwExcludeStates, LPDWORD lpdwFileIds,
                                        UINT nMaxFileIds) QV_NOEXCEPT;

/* ==== The run ================================================================================= */

/*
 * Starts the worker, which transfers the waiting files with this type (0, or both types: all) and
 * ends when none is left. It pauses for 250 ms after each. Files are transferred as by HttpConnect,
 * HttpAuthenticate, and HttpGetFile or HttpPutFile, each over a session of its own; so a server
 * whose certificate is refused is spoken to all the same.
 *
 * The callback, which may be NULL, is called in the worker's thread with dwParam: with the queue's
 * handle and HTTP_EVENT_QUEUE when the worker begins, before and after it is suspended, and when it
 * has ended (also when the queue was deleted meanwhile); and with the handle of a session and
 * HTTP_EVENT_TIMEOUT, _CANCEL, _PROGRESS, _FILEOPEN and _UPLOAD during transfers. It may use all
 * functions, close the session (its file then fails) and end the library.
 *
 * Returns after 50 ms: nonzero, or 0: QV_ERROR_INVALID_PARAMETER (dwReserved is not 0),
 * QV_ERROR_QUEUE_EMPTY, QV_ERROR_QUEUE_RUNNING (there is a worker),
 * QV_ERROR_THREAD_CREATION_FAILED.
 */
HTTPAPI BOOL WINAPI HttpStartQueue(HQUEUE hQueue, DWORD dwFileType, DWORD dwReserved,
                                   HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;

/* Has the worker end behind the file in progress. Nonzero, or 0: QV_ERROR_QUEUE_STOPPED. */
HTTPAPI BOOL WINAPI HttpStopQueue(HQUEUE hQueue) QV_NOEXCEPT;

/*
 * Have the worker wait behind the file in progress, and go on (within 250 ms). Nonzero, or 0:
 * QV_ERROR_QUEUE_EMPTY, QV_ERROR_QUEUE_STOPPED.
 */
HTTPAPI BOOL WINAPI HttpSuspendQueue(HQUEUE hQueue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpResumeQueue(HQUEUE hQueue) QV_NOEXCEPT;

/*
 * Cancels a waiting file, or ends the transfer of the one in progress (dwFileId 0, or its id) with
 * QV_ERROR_OPERATION_CANCELED, also while it is still connecting. Nonzero, or 0:
 * QV_ERROR_QUEUE_STOPPED (0 without a worker), QV_ERROR_FILE_NOT_QUEUED (also 0 between two
 * transfers), QV_ERROR_INVALID_QUEUE_FILE (not waiting any more).
 */
HTTPAPI BOOL WINAPI HttpCancelQueuedFile(HQUEUE hQueue, DWORD dwFileId) QV_NOEXCEPT;

/*
 * Waits for at most dwTimeout milliseconds (0 = not at all) until the worker has ended. Tells the
 * milliseconds since the start and the error of the file that finished last; both may be NULL.
 * Nonzero when the run is over; 0 otherwise, with an error slot of 0 when dwTimeout is 0,
 * QV_ERROR_OPERATION_TIMEOUT, QV_ERROR_QUEUE_STOPPED (not running), QV_ERROR_QUEUE_PAUSED
 * (suspended), QV_ERROR_THREAD_DEADLOCK (in the worker's own callback),
 * QV_ERROR_INVALID_QUEUE_HANDLE (also: deleted meanwhile).
 */
HTTPAPI BOOL WINAPI HttpWaitForQueue(HQUEUE hQueue, DWORD dwTimeout, LPDWORD lpdwTimeElapsed,
                                     LPDWORD lpdwLastError) QV_NOEXCEPT;

/* The thread id of a queue's worker (0: of the queue whose worker calls), or 0:
 * QV_ERROR_QUEUE_STOPPED. */
HTTPAPI DWORD WINAPI HttpGetQueueThread(HQUEUE hQueue) QV_NOEXCEPT;

/* The queue whose worker has a thread id (0: is the calling thread), or INVALID_QUEUE:
 * QV_ERROR_INVALID_PARAMETER. */
HTTPAPI HQUEUE WINAPI HttpGetThreadQueue(DWORD dwThreadId) QV_NOEXCEPT;

/* The session of the transfer in progress (hQueue 0: of the queue whose worker calls), or
 * INVALID_CLIENT: QV_ERROR_QUEUE_STOPPED, QV_ERROR_NO_QUEUED_TRANSFER. It belongs to the worker's
 * thread; others may watch it (HttpGetTransferStatusEx) and cancel it. */
HTTPAPI HCLIENT WINAPI HttpGetQueueClient(HQUEUE hQueue) QV_NOEXCEPT;

#ifdef UNICODE
#define HTTPQUEUEDFILE HTTPQUEUEDFILEW
#define LPHTTPQUEUEDFILE LPHTTPQUEUEDFILEW
#define HttpAddQueuedFile HttpAddQueuedFileW
#define HttpAddQueuedFileEx HttpAddQueuedFileExW
#define HttpEnumQueuedFiles HttpEnumQueuedFilesW
#define HttpFindQueuedFile HttpFindQueuedFileW
#define HttpGetFirstQueuedFile HttpGetFirstQueuedFileW
#define HttpGetNextQueuedFile HttpGetNextQueuedFileW
#define HttpGetQueuedFile HttpGetQueuedFileW
#else
#define HTTPQUEUEDFILE HTTPQUEUEDFILEA
#define LPHTTPQUEUEDFILE LPHTTPQUEUEDFILEA
#define HttpAddQueuedFile HttpAddQueuedFileA
#define HttpAddQueuedFileEx HttpAddQueuedFileExA
#define HttpEnumQueuedFiles HttpEnumQueuedFilesA
#define HttpFindQueuedFile HttpFindQueuedFileA
#define HttpGetFirstQueuedFile HttpGetFirstQueuedFileA
#define HttpGetNextQueuedFile HttpGetNextQueuedFileA
#define HttpGetQueuedFile HttpGetQueuedFileA
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_QUEUE_H */
