// W forms of the queue functions.
#include <iterator>

#include "frame/boundary.h"
#include "frame/wide.h"
#include "queue/add_file.h"

namespace {

// A record that an A form fills for a W caller.
class NarrowRecord {
 public:
  explicit NarrowRecord(LPHTTPQUEUEDFILEW target) : target_(target) {}

  LPHTTPQUEUEDFILEA get() { return target_ != nullptr ? &record_ : nullptr; }

  // Hands over what the A form left, also if that is an empty record.
  void Deliver() const {
    if (target_ == nullptr) return;
    *target_ = {};
    target_->dwFileId = record_.dwFileId;
    target_->dwFileType = record_.dwFileType;
    target_->dwFileState = record_.dwFileState;
    target_->dwTimeElapsed = record_.dwTimeElapsed;
    target_->dwError = record_.dwError;
    target_->qwBytesCopied = record_.qwBytesCopied;
    qv::CopyWide(qv::WideFromUtf8(record_.szLocalFile), target_->szLocalFile,
                 static_cast<INT>(std::size(target_->szLocalFile)));
    qv::CopyWide(qv::WideFromUtf8(record_.szRemoteUrl), target_->szRemoteUrl,
                 static_cast<INT>(std::size(target_->szRemoteUrl)));
  }

 private:
  HTTPQUEUEDFILEA record_{};
  const LPHTTPQUEUEDFILEW target_;
};

// Calls fill(record) of an A form and hands the record over.
template <class T, class Fill>
T FillWide(LPHTTPQUEUEDFILEW target, Fill&& fill) noexcept {
  return qv::TwinBoundary<T>(0, [&] {
    NarrowRecord record(target);
    const T result = fill(record.get());
    record.Deliver();
    return result;
  });
}

bool IsEmpty(LPCWSTR text) { return text != nullptr && text[0] == 0; }

}  // namespace

DWORD WINAPI HttpAddQueuedFileW(HQUEUE hQueue, DWORD dwFileType, LPCWSTR lpszLocalFile,
                                LPCWSTR lpszRemoteUrl, DWORD dwOptions, UINT nTimeout) QV_NOEXCEPT {
  return qv::TwinBoundary<DWORD>(0, [&] {
    return HttpAddQueuedFileA(hQueue, dwFileType, qv::NarrowText(lpszLocalFile),
                              qv::NarrowText(lpszRemoteUrl), dwOptions, nTimeout);
  });
}

DWORD WINAPI HttpAddQueuedFileExW(HQUEUE hQueue, DWORD dwFileType, LPCWSTR lpszHostName,
                                  UINT nHostPort, UINT nAuthType, LPCWSTR lpszUserName,
                                  LPCWSTR lpszPassword, LPCWSTR lpszLocalFile,
                                  LPCWSTR lpszRemoteFile, DWORD dwOptions, UINT nTimeout,
                                  LPVOID lpvReserved) QV_NOEXCEPT {
  return qv::Boundary<DWORD>(0, [&]() -> qv::Result<DWORD> {
    if (qv::Error error = qv::CheckFileType(dwFileType)) return error;
    if (IsEmpty(lpszLocalFile)) return qv::Error(QV_ERROR_INVALID_FILE_NAME);
    if (IsEmpty(lpszRemoteFile)) return qv::Error(QV_ERROR_INVALID_RESOURCE);
    const UINT timeout = nTimeout != 0 ? nTimeout : UINT{HTTP_TIMEOUT};
    return HttpAddQueuedFileExA(hQueue, dwFileType, qv::NarrowText(lpszHostName), nHostPort,
                                nAuthType, qv::NarrowText(lpszUserName),
                                qv::NarrowText(lpszPassword), qv::NarrowText(lpszLocalFile),
                                qv::NarrowText(lpszRemoteFile), dwOptions, timeout, lpvReserved);
  });
}

BOOL WINAPI HttpGetQueuedFileW(HQUEUE hQueue, DWORD dwFileId,
                               LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT {
  return FillWide<BOOL>(lpFileInfo, [&](LPHTTPQUEUEDFILEA record) {
    return HttpGetQueuedFileA(hQueue, dwFileId, record);
  });
}

DWORD WINAPI HttpGetFirstQueuedFileW(HQUEUE hQueue, DWORD dwFileType, DWORD dwExcludeStates,
                                     LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT {
  return FillWide<DWORD>(lpFileInfo, [&](LPHTTPQUEUEDFILEA record) {
    return HttpGetFirstQueuedFileA(hQueue, dwFileType, dwExcludeStates, record);
  });
}

DWORD WINAPI HttpGetNextQueuedFileW(HQUEUE hQueue, LPHTTPQUEUEDFILEW lpFileInfo) QV_NOEXCEPT {
  return FillWide<DWORD>(
      lpFileInfo, [&](LPHTTPQUEUEDFILEA record) { return HttpGetNextQueuedFileA(hQueue, record); });
}

DWORD WINAPI HttpFindQueuedFileW(HQUEUE hQueue, LPCWSTR lpszFileName, DWORD dwFileType,
                                 DWORD dwExcludeStates) QV_NOEXCEPT {
  return qv::TwinBoundary<DWORD>(0, [&] {
    return HttpFindQueuedFileA(hQueue, qv::NarrowText(lpszFileName), dwFileType, dwExcludeStates);
  });
}

INT WINAPI HttpEnumQueuedFilesW(HQUEUE hQueue, LPCWSTR lpszFileName, DWORD dwFileType,
                                DWORD dwExcludeStates, LPDWORD lpdwFileIds,
                                UINT nMaxFileIds) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpEnumQueuedFilesA(hQueue, qv::NarrowText(lpszFileName), dwFileType, dwExcludeStates,
                                lpdwFileIds, nMaxFileIds);
  });
}
