// W forms of the functions for whole requests.
#include <optional>
#include <string>

#include "frame/boundary.h"
#include "frame/library.h"
#include "frame/wide.h"
#include "qvhttp12.h"
#include "tls/credentials_record.h"
#include "transfer/one_call_text.h"
#include "url/validation.h"

namespace {

constexpr DWORD kTextLength = ~DWORD{0};  // of data that are a text with a terminator

// The narrow form of a connection record; its texts live as long as it does.
class NarrowConnection {
 public:
  explicit NarrowConnection(const HTTPCONNECTIONW& wide)
      : proxy_server_(wide.lpszProxyServer),
        proxy_user_(wide.lpszProxyUser),
        proxy_password_(wide.lpszProxyPassword),
        user_agent_(wide.lpszUserAgent),
        user_name_(wide.lpszUserName),
        password_(wide.lpszPassword),
        content_type_(wide.lpszContentType),
        headers_(wide.lpszHeaders) {
    if (wide.lpCredentials != nullptr) credentials_.emplace(*wide.lpCredentials);
    record_ = {sizeof(record_),
               wide.dwOptions,
               wide.dwVersion,
               wide.nTimeout,
               wide.nEncoding,
               wide.nProxyType,
               wide.nProxyPort,
               wide.nAuthType,
               proxy_server_,
               proxy_user_,
               proxy_password_,
               user_agent_,
               user_name_,
               password_,
               content_type_,
               headers_,
               credentials_ ? credentials_->get() : nullptr};
  }
  NarrowConnection(const NarrowConnection&) = delete;
  NarrowConnection& operator=(const NarrowConnection&) = delete;

  HTTPCONNECTIONA* get() { return &record_; }
  std::string_view content_type() const { return content_type_.view(); }

 private:
  qv::NarrowText proxy_server_, proxy_user_, proxy_password_, user_agent_, user_name_, password_,
      content_type_, headers_;
  std::optional<qv::NarrowCredentials> credentials_;
  HTTPCONNECTIONA record_;
};

qv::Error CheckRecord(const HTTPCONNECTIONW* record) {
  if (record == nullptr || record->dwSize == 0) return qv::kNoError;
  const bool known = record->dwSize == sizeof(*record) &&
                     (record->lpCredentials == nullptr ||
                      record->lpCredentials->dwSize >= sizeof(*record->lpCredentials));
  return known ? qv::kNoError : qv::Error(QV_ERROR_INVALID_PARAMETER);
}

std::string_view RequestBytes(LPCVOID data, DWORD size) {
  if (data == nullptr) return {};
  if (size != kTextLength) return {static_cast<const char*>(data), size};
  const std::u16string_view text = static_cast<LPCWSTR>(data);
  return {static_cast<const char*>(data), text.size() * sizeof(WCHAR)};
}

}  // namespace

BOOL WINAPI HttpDownloadFileW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                              DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                              HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpDownloadFileA(qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszFileURL), nTimeout,
                             dwOptions, lpStatus, lpEventProc, dwParam);
  });
}

BOOL WINAPI HttpDownloadFileExW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                                DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpDownloadFileExA(qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszFileURL), nTimeout,
                               dwOptions, lpStatus, lpEventProc, dwParam);
  });
}

BOOL WINAPI HttpUploadFileW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                            DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                            HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpUploadFileA(qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszFileURL), nTimeout,
                           dwOptions, lpStatus, lpEventProc, dwParam);
  });
}

BOOL WINAPI HttpUploadFileExW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                              DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                              HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpUploadFileExA(qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszFileURL), nTimeout,
                             dwOptions, lpStatus, lpEventProc, dwParam);
  });
}

BOOL WINAPI HttpVerifyFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                            DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpVerifyFileA(hClient, qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszRemoteFile),
                           dwReserved);
  });
}

INT WINAPI HttpSubmitRequestW(DWORD dwRequestType, LPCWSTR lpszResource,
                              LPHTTPCONNECTIONW lpConnection, LPCVOID lpvRequest,
                              DWORD dwRequestLength, LPVOID lpvResponse,
                              LPDWORD lpdwResponseLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    DWORD length = 0;  // the capacity, which the A form reads
    if (lpdwResponseLength != nullptr) {
      length = *lpdwResponseLength;
      *lpdwResponseLength = 0;
    }
    if (qv::Error error = qv::library::CheckInitialized()) return error;
    const qv::NarrowText resource(lpszResource);
    if (qv::ValidateUrl(resource.view())) return qv::Error(QV_ERROR_INVALID_RESOURCE);
    if (qv::Error error = CheckRecord(lpConnection)) return error;
    std::optional<NarrowConnection> connection;
    if (lpConnection != nullptr && lpConnection->dwSize != 0) connection.emplace(*lpConnection);
    const qv::Result<std::string> data = qv::NarrowRequestData(
        RequestBytes(lpvRequest, dwRequestLength), dwRequestLength == kTextLength,
        connection ? connection->content_type() : std::string_view());
    if (!data) return data.error();
    if (data->size() >= kTextLength) return qv::Error(QV_ERROR_OUT_OF_MEMORY);
    const INT result = HttpSubmitRequestA(
        dwRequestType, resource, connection ? connection->get() : nullptr, data->data(),
        static_cast<DWORD>(data->size()), lpvResponse, lpdwResponseLength ? &length : nullptr);
    if (lpdwResponseLength != nullptr) *lpdwResponseLength = length;
    if (result == HTTP_ERROR) return qv::Error();
    return result;
  });
}
