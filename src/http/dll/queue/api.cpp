// Exported functions: queues and their files.
#include <span>

#include "frame/text.h"
#include "queue/add_file.h"
#include "queue/control.h"
#include "queue/queue_boundary.h"

namespace {

// What a queue is said to take from memory: for itself and each of its files, in whole pages and
// one more.
constexpr ULONGLONG kQueueBytes = 136;
constexpr ULONGLONG kFileBytes = 16704;
constexpr ULONGLONG kPageBytes = 4096;

// States that HttpResetQueue can choose.
constexpr DWORD kAnyFileState = 7;

bool IsResetState(DWORD states) {
  return states == 0 || states == HTTP_QUEUE_FILE_COMPLETE || states == HTTP_QUEUE_FILE_FAILED ||
         states == HTTP_QUEUE_FILE_CANCELED;
}

// Gives the next file of the enumeration to the caller.
qv::Result<DWORD> Advance(qv::Queue& queue, LPHTTPQUEUEDFILEA target) {
  const qv::QueuedFile* file = queue.Advance();
  if (file == nullptr) return qv::Error(QV_ERROR_END_OF_QUEUE);
  *target = file->Describe();
  return file->id;
}

}  // namespace

HQUEUE WINAPI HttpCreateQueue(UINT nMaxFiles, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT {
  return qv::Boundary<HQUEUE>(INVALID_QUEUE, [&]() -> qv::Result<HQUEUE> {
    qv::LibraryLock lock;
    if (qv::Error error = qv::library::CheckInitialized()) return error;
    qv::Result<qv::QueueRef> queue = qv::QueueTable::Get().Create(nMaxFiles, nTimeout, dwOptions);
    if (!queue) return queue.error();
    return (*queue)->handle();
  });
}

BOOL WINAPI HttpDeleteQueue(HQUEUE hQueue) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (qv::Error error = qv::DeleteQueue(hQueue)) return error;
    return TRUE;
  });
}

DWORD WINAPI HttpAddQueuedFileExA(HQUEUE hQueue, DWORD dwFileType, LPCSTR lpszHostName,
                                  UINT nHostPort, UINT nAuthType, LPCSTR lpszUserName,
                                  LPCSTR lpszPassword, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                  DWORD dwOptions, UINT nTimeout, LPVOID lpvReserved) QV_NOEXCEPT {
  return qv::Boundary<DWORD>(0, [&] {
    return qv::AddFile(hQueue,
                       {dwFileType, lpszHostName, nHostPort, nAuthType, lpszUserName, lpszPassword,
                        lpszLocalFile, lpszRemoteFile, dwOptions, nTimeout, lpvReserved});
  });
}

DWORD WINAPI HttpAddQueuedFileA(HQUEUE hQueue, DWORD dwFileType, LPCSTR lpszLocalFile,
                                LPCSTR lpszRemoteUrl, DWORD dwOptions, UINT nTimeout) QV_NOEXCEPT {
  const qv::Error error = [&]() -> qv::Error {
    if (qv::TrimLeft(qv::TextOf(lpszLocalFile)).empty()) return QV_ERROR_INVALID_FILE_NAME;
    const bool is_url = HttpCheckUrlA(lpszRemoteUrl) != 0;
    return is_url ? qv::kNoError : qv::Error(QV_ERROR_INVALID_RESOURCE);
  }();
  if (error) {
    return qv::QueueBoundary<DWORD>(hQueue, 0,
                                    [&](qv::Queue&) -> qv::Result<DWORD> { return error; });
  }
  return HttpAddQueuedFileExA(hQueue, dwFileType, nullptr, 0, HTTP_AUTH_BASIC, nullptr, nullptr,
                              lpszLocalFile, lpszRemoteUrl, dwOptions, nTimeout, nullptr);
}

BOOL WINAPI HttpClearQueue(HQUEUE hQueue) QV_NOEXCEPT {
  const BOOL cleared = qv::QueueAction(hQueue, [](qv::Queue& queue) { return queue.Clear(); });
  if (cleared) qv::SetLastError(qv::kNoError);
  return cleared;
}

BOOL WINAPI HttpRemoveQueuedFile(HQUEUE hQueue, DWORD dwFileId) QV_NOEXCEPT {
  return qv::QueueAction(hQueue, [&](qv::Queue& queue) { return queue.Remove(dwFileId); });
}

BOOL WINAPI HttpResetQueue(HQUEUE hQueue, DWORD dwFileStates) QV_NOEXCEPT {
  return qv::QueueAction(hQueue, [&](qv::Queue& queue) -> qv::Error {
    const bool any = (dwFileStates & kAnyFileState) == kAnyFileState;
    const DWORD states = any ? 0 : dwFileStates;
    if (!IsResetState(states)) return QV_ERROR_INVALID_PARAMETER;
    return queue.Reset(states);
  });
}

BOOL WINAPI HttpGetQueuedFileA(HQUEUE hQueue, DWORD dwFileId,
                               LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT {
  if (lpFileInfo != nullptr) *lpFileInfo = {};
  return qv::QueueAction(hQueue, [&](qv::Queue& queue) -> qv::Error {
    if (lpFileInfo == nullptr) return QV_ERROR_INVALID_PARAMETER;
    const qv::QueuedFile* file = queue.Find(dwFileId);
    if (file == nullptr) return QV_ERROR_FILE_NOT_QUEUED;
    *lpFileInfo = file->Describe();
    return qv::kNoError;
  });
}

DWORD WINAPI HttpGetFirstQueuedFileA(HQUEUE hQueue, DWORD dwFileType, DWORD dwExcludeStates,
                                     LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT {
  if (lpFileInfo != nullptr) *lpFileInfo = {};
  return qv::QueueBoundary<DWORD>(hQueue, 0, [&](qv::Queue& queue) -> qv::Result<DWORD> {
    if (lpFileInfo == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    if (queue.size() == 0) return qv::Error(QV_ERROR_QUEUE_EMPTY);
    queue.Rewind(qv::FileFilter::Of(dwFileType, dwExcludeStates));
    return Advance(queue, lpFileInfo);
  });
}

DWORD WINAPI HttpGetNextQueuedFileA(HQUEUE hQueue, LPHTTPQUEUEDFILEA lpFileInfo) QV_NOEXCEPT {
  if (lpFileInfo != nullptr) *lpFileInfo = {};
  return qv::QueueBoundary<DWORD>(hQueue, 0, [&](qv::Queue& queue) -> qv::Result<DWORD> {
    if (lpFileInfo == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    return Advance(queue, lpFileInfo);
  });
}

DWORD WINAPI HttpFindQueuedFileA(HQUEUE hQueue, LPCSTR lpszFileName, DWORD dwFileType,
                                 DWORD dwExcludeStates) QV_NOEXCEPT {
  return qv::QueueBoundary<DWORD>(hQueue, 0, [&](qv::Queue& queue) -> qv::Result<DWORD> {
    const auto filter = qv::FileFilter::Of(dwFileType, dwExcludeStates, lpszFileName);
    const bool named = !filter.pattern.empty();
    const qv::QueuedFile* file = named ? queue.FindFirst(filter) : nullptr;
    if (file == nullptr) return qv::Error(QV_ERROR_FILE_NOT_QUEUED);
    return file->id;
  });
}

INT WINAPI HttpEnumQueuedFilesA(HQUEUE hQueue, LPCSTR lpszFileName, DWORD dwFileType,
                                DWORD dwExcludeStates, LPDWORD lpdwFileIds,
                                UINT nMaxFileIds) QV_NOEXCEPT {
  // An empty selection is a count of 0 with a reason.
  DWORD reason = 0;
  const INT count =
      qv::QueueBoundary<INT>(hQueue, HTTP_ERROR, [&](qv::Queue& queue) -> qv::Result<INT> {
        const auto filter = qv::FileFilter::Of(dwFileType, dwExcludeStates, lpszFileName);
        const std::size_t found = queue.Select(filter, {});
        if (found == 0) reason = filter.IsOpen() ? QV_ERROR_QUEUE_EMPTY : QV_ERROR_FILE_NOT_QUEUED;
        if (found != 0 && lpdwFileIds != nullptr && nMaxFileIds != 0) {
          if (nMaxFileIds < found) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
          queue.Select(filter, {lpdwFileIds, found});
        }
        return static_cast<INT>(found);
      });
  if (count != HTTP_ERROR) qv::SetLastError(reason);
  return count;
}

ULONGLONG WINAPI HttpGetQueueHeapSize(HQUEUE hQueue, LPULONGLONG lpqwHeapSize) QV_NOEXCEPT {
  return qv::QueueBoundary<ULONGLONG>(hQueue, 0, [&](qv::Queue& queue) -> qv::Result<ULONGLONG> {
    const ULONGLONG used = queue.size() * kFileBytes + kQueueBytes;
    const ULONGLONG size = used / kPageBytes * kPageBytes + kPageBytes;
    if (lpqwHeapSize != nullptr) *lpqwHeapSize = size;
    return size;
  });
}

INT WINAPI HttpGetQueueStatus(HQUEUE hQueue, LPHTTPQUEUESTATUS lpStatus) QV_NOEXCEPT {
  return qv::QueueBoundary<INT>(hQueue, HTTP_ERROR, [&](qv::Queue& queue) -> qv::Result<INT> {
    if (lpStatus != nullptr) *lpStatus = queue.Status();
    return static_cast<INT>(queue.state());
  });
}
