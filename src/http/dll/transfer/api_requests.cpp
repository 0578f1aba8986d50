// Exported functions: whole requests in one call.
#include <cstring>
#include <limits>

#include "frame/boundary.h"
#include "frame/library.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/transfer_status.h"
#include "transfer/one_call_file.h"
#include "transfer/one_call_request.h"

namespace {

constexpr DWORD kTextLength = ~DWORD{0};  // of data that are a text with a terminator

BOOL TransferFile(qv::FileDirection direction, const qv::OneCallFile& call,
                  HTTPTRANSFERSTATUSEX* status) {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (status != nullptr) *status = {};
    const qv::Result<HTTPTRANSFERSTATUSEX> outcome = qv::TransferOneFile(direction, call);
    if (!outcome) return outcome.error();
    if (status != nullptr) *status = *outcome;
    return TRUE;
  });
}

BOOL TransferFile(qv::FileDirection direction, const qv::OneCallFile& call,
                  HTTPTRANSFERSTATUS* status) {
  HTTPTRANSFERSTATUSEX outcome;
  if (!TransferFile(direction, call, &outcome)) return FALSE;
  if (status != nullptr) *status = qv::NarrowTransferStatus(outcome);
  return TRUE;
}

qv::Result<std::string_view> RequestData(LPCVOID data, DWORD size) {
  if (data == nullptr) return std::string_view();
  const auto* bytes = static_cast<const char*>(data);
  if (size != kTextLength) return std::string_view(bytes, size);
  const std::string_view text = bytes;
  if (text.size() > std::numeric_limits<DWORD>::max()) return qv::Error(QV_ERROR_OUT_OF_MEMORY);
  return text;
}

// Where the body of a response goes: nowhere, into a buffer that has to hold all of it, or into a
// memory block.
class WholeBodyOutput {
 public:
  WholeBodyOutput(LPVOID target, LPDWORD length) : target_(target), length_(length) {
    if (length == nullptr) return;
    capacity_ = *length;
    *length = 0;
  }

  bool wanted() const { return target_ != nullptr; }

  qv::Error Check() const {
    if (target_ != nullptr && length_ == nullptr) return QV_ERROR_BUFFER_TOO_SMALL;
    const bool homeless = target_ == nullptr && capacity_ != 0;
    return homeless ? qv::Error(QV_ERROR_INVALID_BUFFER) : qv::kNoError;
  }

  qv::Error Deliver(qv::MemoryBody body) {
    if (length_ != nullptr) *length_ = static_cast<DWORD>(body.length);
    if (target_ == nullptr) return qv::kNoError;
    if (capacity_ == 0) {
      *static_cast<HGLOBAL*>(target_) = body.block.Release();
      return qv::kNoError;
    }
    if (body.length > capacity_) return QV_ERROR_BUFFER_TOO_SMALL;
    if (body.length > 0) std::memcpy(target_, body.block.data(), body.length);
    return qv::kNoError;
  }

 private:
  LPVOID target_;
  LPDWORD length_;
  DWORD capacity_ = 0;
};

}  // namespace

BOOL WINAPI HttpDownloadFileExA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                                DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TransferFile(qv::FileDirection::kDownload,
                      {qv::TextOf(lpszLocalFile), qv::TextOf(lpszFileURL), nTimeout, dwOptions,
                       lpEventProc, dwParam},
                      lpStatus);
}

BOOL WINAPI HttpDownloadFileA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                              DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                              HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TransferFile(qv::FileDirection::kDownload,
                      {qv::TextOf(lpszLocalFile), qv::TextOf(lpszFileURL), nTimeout, dwOptions,
                       lpEventProc, dwParam},
                      lpStatus);
}

BOOL WINAPI HttpUploadFileExA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                              DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                              HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TransferFile(qv::FileDirection::kUpload,
                      {qv::TextOf(lpszLocalFile), qv::TextOf(lpszFileURL), nTimeout, dwOptions,
                       lpEventProc, dwParam},
                      lpStatus);
}

BOOL WINAPI HttpUploadFileA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                            DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                            HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TransferFile(qv::FileDirection::kUpload,
                      {qv::TextOf(lpszLocalFile), qv::TextOf(lpszFileURL), nTimeout, dwOptions,
                       lpEventProc, dwParam},
                      lpStatus);
}

BOOL WINAPI HttpVerifyFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                            DWORD dwReserved) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    const std::string_view local = qv::TextOf(lpszLocalFile);
    const std::string_view remote = qv::TextOf(lpszRemoteFile);
    if (!local.empty() && !remote.empty() && dwReserved != 0) {
      return qv::Error(QV_ERROR_INVALID_PARAMETER);
    }
    if (qv::Error error = qv::VerifyFile(session, local, remote)) return error;
    return TRUE;
  });
}

INT WINAPI HttpSubmitRequestA(DWORD dwRequestType, LPCSTR lpszResource,
                              LPHTTPCONNECTIONA lpConnection, LPCVOID lpvRequest,
                              DWORD dwRequestLength, LPVOID lpvResponse,
                              LPDWORD lpdwResponseLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    WholeBodyOutput output(lpvResponse, lpdwResponseLength);
    if (qv::Error error = qv::library::CheckInitialized()) return error;
    if (dwRequestType > HTTP_REQUEST_PUT) return qv::Error(QV_ERROR_INVALID_COMMAND);
    if (qv::Error error = output.Check()) return error;
    const qv::Result<std::string_view> data = RequestData(lpvRequest, dwRequestLength);
    if (!data) return data.error();
    qv::Result<qv::OneCallResponse> response = qv::SubmitRequest(
        {dwRequestType, qv::TextOf(lpszResource), lpConnection, *data, output.wanted()});
    if (!response) return response.error();
    if (qv::Error error = output.Deliver(std::move(response->body))) return error;
    return response->result_code;
  });
}
