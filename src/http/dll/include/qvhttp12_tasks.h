/*
 * QVHTTP12: transfers in the background. Included by qvhttp12.h, which says what holds for every
 * function.
 *
 * A task is one transfer on a thread of its own, over a session of its own. The HttpAsync functions
 * start it and return its id; the application is told by a callback, or asks and waits with the
 * functions at the end. Ids count from 1, so that 0 is the failure value.
 *
 * Where the task connects to. The task takes over the connection settings of the session that is
 * named (its owner does not matter, it goes on being usable, and it may be closed once the task
 * runs): server, time-out, options, version, proxy, credentials, compression and client
 * certificate. INVALID_CLIENT stands for no session. A resource or remote file that is a URL
 * replaces the server, and brings its own user name and password; without a session it has to be
 * one. Credentials go only to the server that they were set for.
 *
 * The callback, which may be NULL, is called in the task's thread with the task's session:
 *
 *   HTTP_EVENT_CONNECT     connected, or dwError says why not (the session is then INVALID_CLIENT).
 *                          For a server whose certificate is refused HttpGetLastError gives
 *                          QV_ERROR_SECURITY_CERTIFICATE here; HttpDisconnect ends the task
 *   HTTP_EVENT_PROGRESS    files and data are moving on (not while posting)
 *   HTTP_EVENT_DISCONNECT  the task has finished, dwError is its outcome; also when it never
 *                          connected, and then this is the only call if the resource was malformed
 *
 * It gets dwParam, or the task's id when that is 0. It may use the session, steer other tasks,
 * start new ones and end the library; it cannot wait for, suspend or abort its own task
 * (QV_ERROR_THREAD_DEADLOCK).
 *
 * Texts are copied (up to 5119 bytes; documents whole). Buffers and length variables are the
 * application's; they have to stay, untouched, until the task has finished.
 *
 * The last HttpUninitialize aborts all tasks. Callbacks are not called any more from then on; one
 * that does not return within a second loses its thread.
 */
#ifndef QVHTTP12_TASKS_H
#define QVHTTP12_TASKS_H

#include "qvhttp12.h"
#include "qvhttp12_forms.h"

#ifdef __cplusplus
extern "C" {
#endif

/* States of tasks, and which of them HttpEnumTasks lists. */
#define HTTP_TASK_DEFAULT 0 /* active and suspended */
#define HTTP_TASK_ACTIVE 1
#define HTTP_TASK_SUSPENDED 2
#define HTTP_TASK_FINISHED 4

/* ==== Starting ================================================================================ */

/*
 * Every one of these returns the id of the new task, or 0: QV_ERROR_INVALID_HANDLE,
 * QV_ERROR_INVALID_RESOURCE or QV_ERROR_INVALID_FILE_NAME (NULL or empty),
 * QV_ERROR_INVALID_PARAMETER (a buffer, length or document is missing), QV_ERROR_TOO_MANY_THREADS
 * (128 tasks that have not finished), QV_ERROR_THREAD_CREATION_FAILED,
 * QV_ERROR_NETWORK_NOT_INITIALIZED. All that goes wrong later is the task's error. They wait up to
 * 50 ms for the task to connect.
 */

/* A download into a file and an upload of one: HttpGetFileEx and HttpPutFileEx as tasks. */
HTTPAPI DWORD WINAPI HttpAsyncGetFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                       DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                                       DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncGetFileW(HCLIENT hClient, LPCWSTR lpszLocalFile,
                                       LPCWSTR lpszRemoteFile, DWORD dwOptions, DWORD dwOffset,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncGetFileExA(HCLIENT hClient, LPCSTR lpszLocalFile,
                                         LPCSTR lpszRemoteFile, DWORD dwOptions, ULONGLONG qwOffset,
                                         HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncGetFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile,
                                         LPCWSTR lpszRemoteFile, DWORD dwOptions,
                                         ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                         DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPutFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                       DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                                       DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPutFileW(HCLIENT hClient, LPCWSTR lpszLocalFile,
                                       LPCWSTR lpszRemoteFile, DWORD dwOptions, DWORD dwOffset,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPutFileExA(HCLIENT hClient, LPCSTR lpszLocalFile,
                                         LPCSTR lpszRemoteFile, DWORD dwOptions, ULONGLONG qwOffset,
                                         HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPutFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile,
                                         LPCWSTR lpszRemoteFile, DWORD dwOptions,
                                         ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                         DWORD_PTR dwParam) QV_NOEXCEPT;

/* HttpGetData as a task. With *lpdwLength 0 the handle at lpvBuffer is NULL until the task ends. */
HTTPAPI DWORD WINAPI HttpAsyncGetDataA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer,
                                       LPDWORD lpdwLength, DWORD dwOptions,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncGetDataW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer,
                                       LPDWORD lpdwLength, DWORD dwOptions,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;

/* HttpPutData as a task; dwReserved is not read. */
HTTPAPI DWORD WINAPI HttpAsyncPutDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                       DWORD dwLength, DWORD dwReserved, HTTPEVENTPROC lpEventProc,
                                       DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPutDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                       DWORD dwLength, DWORD dwReserved, HTTPEVENTPROC lpEventProc,
                                       DWORD_PTR dwParam) QV_NOEXCEPT;

/* HttpPostData as a task. */
HTTPAPI DWORD WINAPI HttpAsyncPostDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                        DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                        DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                        DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                        DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                        DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                        DWORD_PTR dwParam) QV_NOEXCEPT;

/* HttpPostJson, HttpPostText and HttpPostXml as tasks; the document is copied. */
HTTPAPI DWORD WINAPI HttpAsyncPostJsonA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszJsonData,
                                        LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostJsonW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszJsonData,
                                        LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostTextA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                                        LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostTextW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                                        LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostXmlA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszXmlData,
                                       LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncPostXmlW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszXmlData,
                                       LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                       HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;

/*
 * HttpSubmitForm as a task. It needs a session, whose server the form goes to, and a form
 * (QV_ERROR_INVALID_FORM_HANDLE): what it holds when the task has connected is sent, and if it is
 * destroyed before, the task fails.
 */
HTTPAPI DWORD WINAPI HttpAsyncSubmitFormA(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                          LPDWORD lpcbResult, DWORD dwOptions,
                                          HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpAsyncSubmitFormW(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                          LPDWORD lpcbResult, DWORD dwOptions,
                                          HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;

/* ==== Observing and steering ================================================================== */

/*
 * For any task, from any thread. An unknown id is QV_ERROR_INVALID_TASK. A finished task stays
 * known until its place is needed for a new one (there are 128). Times are in milliseconds;
 * 0xFFFFFFFF waits without limit. dwReserved is not read.
 */

/*
 * Waits until a task has finished. Both outputs may be NULL: the time from its start to its end (or
 * to now), and its error (0 = success, or not finished). Nonzero when it has finished, 0 when not;
 * in both cases the error slot is 0. 0 at once with QV_ERROR_THREAD_DEADLOCK for the own task, and
 * with QV_ERROR_TASK_SUSPENDED. A task has finished just before its last callback: what the
 * callback uses must stay until it has been called.
 */
HTTPAPI BOOL WINAPI HttpTaskWait(DWORD nTaskId, DWORD dwMilliseconds, DWORD dwReserved,
                                 LPDWORD lpdwElapsed, LPDWORD lpdwError) QV_NOEXCEPT;

/*
 * Wait until all of the listed tasks, or one of them, have finished. Without a list (NULL): all
 * that run now; none at all is success. Unknown tasks and the own one count as finished for the
 * first function, and are left out by the second. Nonzero, or 0 when the time is over (without an
 * error) and for a list without entries (QV_ERROR_BUFFER_TOO_SMALL).
 */
HTTPAPI BOOL WINAPI HttpTaskWaitAll(const DWORD* lpTasks, INT nTasks, DWORD dwMilliseconds,
                                    DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpTaskWaitAny(const DWORD* lpTasks, INT nTasks, DWORD dwMilliseconds,
                                    DWORD dwReserved) QV_NOEXCEPT;

/*
 * Cancels a task's operation, a suspended one included, and waits for its end. The task finishes
 * with QV_ERROR_OPERATION_CANCELED and its callback is called as always. Nonzero when it has ended
 * within the time, 0 when it is still ending (no error); QV_ERROR_TASK_FINISHED,
 * QV_ERROR_THREAD_DEADLOCK.
 */
HTTPAPI BOOL WINAPI HttpTaskAbort(DWORD nTaskId, DWORD dwMilliseconds) QV_NOEXCEPT;

/*
 * Suspend a task, at the next point where it moves data or waits, and let it go on; the transfer
 * loses nothing unless the server gives up. One resume undoes any number of suspends. Nonzero, also
 * when there was nothing to do; 0: QV_ERROR_THREAD_DEADLOCK, QV_ERROR_ACCESS_DENIED (its thread has
 * ended).
 */
HTTPAPI BOOL WINAPI HttpTaskSuspend(DWORD nTaskId) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpTaskResume(DWORD nTaskId) QV_NOEXCEPT;

/* 1 when a task has finished, 0 when not, QV_ERROR_INVALID_TASK. */
HTTPAPI DWORD WINAPI HttpTaskDone(DWORD nTaskId) QV_NOEXCEPT;

/*
 * The error of a finished task, 0 for success; QV_ERROR_TASK_ACTIVE before its end,
 * QV_ERROR_TASK_SUSPENDED for one that was suspended when it had finished, QV_ERROR_INVALID_TASK.
 */
HTTPAPI DWORD WINAPI HttpGetTaskError(DWORD nTaskId) QV_NOEXCEPT;

/* The task whose session this is, 0 (QV_ERROR_INVALID_HANDLE) when there is none. */
HTTPAPI DWORD WINAPI HttpGetTaskId(HCLIENT hClient) QV_NOEXCEPT;

/*
 * The session of a task, INVALID_CLIENT before it is connected and after the end
 * (QV_ERROR_NOT_CONNECTED). The error is set also where the session is returned, when the calling
 * thread may not use it; HttpCancel, HttpGetStatus and HttpGetTransferStatus work all the same.
 */
HTTPAPI HCLIENT WINAPI HttpGetTaskHandle(DWORD nTaskId) QV_NOEXCEPT;

/*
 * The state of a task (HTTP_TASK_ACTIVE, HTTP_TASK_SUSPENDED or HTTP_TASK_FINISHED), and its
 * progress in a record, which may be NULL; that of a finished one is what it had reached when it
 * succeeded. HTTP_ERROR: QV_ERROR_INVALID_TASK; with a record also QV_ERROR_NOT_CONNECTED.
 */
HTTPAPI INT WINAPI HttpGetTaskStatus(DWORD nTaskId, LPHTTPTRANSFERSTATUS lpStatus) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetTaskStatusEx(DWORD nTaskId, DWORD dwReserved,
                                       LPHTTPTRANSFERSTATUSEX lpStatusEx) QV_NOEXCEPT;

/*
 * Lists tasks: the states that dwOptions names (HTTP_TASK_*), finished ones for two minutes. The
 * list is filled with 0 first; with a NULL list the tasks are only counted. Returns the number, or
 * HTTP_ERROR: QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpEnumTasks(LPDWORD lpTasks, INT nMaxTasks, DWORD dwOptions) QV_NOEXCEPT;

#ifdef UNICODE
#define HttpAsyncGetFile HttpAsyncGetFileW
#define HttpAsyncGetFileEx HttpAsyncGetFileExW
#define HttpAsyncPutFile HttpAsyncPutFileW
#define HttpAsyncPutFileEx HttpAsyncPutFileExW
#define HttpAsyncGetData HttpAsyncGetDataW
#define HttpAsyncPutData HttpAsyncPutDataW
#define HttpAsyncPostData HttpAsyncPostDataW
#define HttpAsyncPostJson HttpAsyncPostJsonW
#define HttpAsyncPostText HttpAsyncPostTextW
#define HttpAsyncPostXml HttpAsyncPostXmlW
#define HttpAsyncSubmitForm HttpAsyncSubmitFormW
#else
#define HttpAsyncGetFile HttpAsyncGetFileA
#define HttpAsyncGetFileEx HttpAsyncGetFileExA
#define HttpAsyncPutFile HttpAsyncPutFileA
#define HttpAsyncPutFileEx HttpAsyncPutFileExA
#define HttpAsyncGetData HttpAsyncGetDataA
#define HttpAsyncPutData HttpAsyncPutDataA
#define HttpAsyncPostData HttpAsyncPostDataA
#define HttpAsyncPostJson HttpAsyncPostJsonA
#define HttpAsyncPostText HttpAsyncPostTextA
#define HttpAsyncPostXml HttpAsyncPostXmlA
#define HttpAsyncSubmitForm HttpAsyncSubmitFormA
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_TASKS_H */
