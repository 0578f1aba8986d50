// Exported functions: starting tasks.
#include "forms/form_table.h"
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "tasks/worker.h"

namespace {

using qv::TaskOperation;
using qv::TaskRequest;

// Who starts a task and hears of it: the arguments that every starting function has.
struct Starter {
  HCLIENT client;
  HTTPEVENTPROC callback;
  DWORD_PTR parameter;
};

// Looks the session up, has `fill` check the arguments and fill the request, and starts the task.
template <class Fill>
DWORD Start(const Starter& starter, TaskOperation operation, Fill&& fill) {
  return qv::Boundary<DWORD>(0, [&]() -> qv::Result<DWORD> {
    TaskRequest request;
    request.operation = operation;
    request.callback = starter.callback;
    request.parameter = starter.parameter;
    if (starter.client != INVALID_CLIENT) {
      qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Find(starter.client);
      if (!session) return session.error();
      request.session = *session;
    }
    if (qv::Error error = fill(request)) return error;
    return qv::StartTask(std::move(request));
  });
}

qv::Error SetResource(TaskRequest& request, LPCSTR resource) {
  if (qv::TextOf(resource).empty()) return QV_ERROR_INVALID_RESOURCE;
  request.resource = resource;
  return qv::kNoError;
}

DWORD StartFileTransfer(const Starter& starter, TaskOperation operation, LPCSTR local_file,
                        LPCSTR remote_file, DWORD options, ULONGLONG offset) {
  return Start(starter, operation, [&](TaskRequest& request) -> qv::Error {
    if (qv::TextOf(local_file).empty()) return QV_ERROR_INVALID_FILE_NAME;
    request.local_file = local_file;
    request.options = options;
    request.offset = offset;
    return SetResource(request, remote_file);
  });
}

DWORD StartDocumentPost(const Starter& starter, TaskOperation operation, LPCSTR resource,
                        LPCSTR document, LPVOID result, LPDWORD result_length, DWORD options) {
  return Start(starter, operation, [&](TaskRequest& request) -> qv::Error {
    if (qv::Error error = SetResource(request, resource)) return error;
    if (qv::TextOf(document).empty()) return QV_ERROR_INVALID_PARAMETER;
    request.document = document;
    request.result = result;
    request.result_length = result_length;
    request.options = options;
    return qv::kNoError;
  });
}

}  // namespace

DWORD WINAPI HttpAsyncGetFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                 DWORD dwOptions, ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                 DWORD_PTR dwParam) QV_NOEXCEPT {
  return StartFileTransfer({hClient, lpEventProc, dwParam}, TaskOperation::kGetFile, lpszLocalFile,
                           lpszRemoteFile, dwOptions, qwOffset);
}

DWORD WINAPI HttpAsyncGetFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                               DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return HttpAsyncGetFileExA(hClient, lpszLocalFile, lpszRemoteFile, dwOptions, dwOffset,
                             lpEventProc, dwParam);
}

DWORD WINAPI HttpAsyncPutFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                 DWORD dwOptions, ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                 DWORD_PTR dwParam) QV_NOEXCEPT {
  return StartFileTransfer({hClient, lpEventProc, dwParam}, TaskOperation::kPutFile, lpszLocalFile,
                           lpszRemoteFile, dwOptions, qwOffset);
}

DWORD WINAPI HttpAsyncPutFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                               DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return HttpAsyncPutFileExA(hClient, lpszLocalFile, lpszRemoteFile, dwOptions, dwOffset,
                             lpEventProc, dwParam);
}

DWORD WINAPI HttpAsyncGetDataA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer,
                               LPDWORD lpdwLength, DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return Start({hClient, lpEventProc, dwParam}, TaskOperation::kGetData,
               [&](TaskRequest& request) -> qv::Error {
                 if (qv::Error error = SetResource(request, lpszResource)) return error;
                 if (lpvBuffer == nullptr || lpdwLength == nullptr) {
                   return QV_ERROR_INVALID_PARAMETER;
                 }
                 if (*lpdwLength == 0) *static_cast<HGLOBAL*>(lpvBuffer) = nullptr;
                 request.result = lpvBuffer;
                 request.result_length = lpdwLength;
                 request.options = dwOptions;
                 return qv::kNoError;
               });
}

DWORD WINAPI HttpAsyncPutDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                               DWORD dwLength, DWORD /*dwReserved*/, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return Start({hClient, lpEventProc, dwParam}, TaskOperation::kPutData,
               [&](TaskRequest& request) -> qv::Error {
                 if (qv::Error error = SetResource(request, lpszResource)) return error;
                 if (lpvBuffer == nullptr && dwLength != 0) return QV_ERROR_INVALID_PARAMETER;
                 request.data = lpvBuffer;
                 request.data_length = dwLength;
                 return qv::kNoError;
               });
}

DWORD WINAPI HttpAsyncPostDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                DWORD_PTR dwParam) QV_NOEXCEPT {
  return Start({hClient, lpEventProc, dwParam}, TaskOperation::kPostData,
               [&](TaskRequest& request) -> qv::Error {
                 if (qv::Error error = SetResource(request, lpszResource)) return error;
                 if (lpvBuffer == nullptr && cbBuffer != 0) return QV_ERROR_INVALID_PARAMETER;
                 request.data = lpvBuffer;
                 request.data_length = cbBuffer;
                 request.result = lpvResult;
                 request.result_length = lpcbResult;
                 request.options = dwOptions;
                 return qv::kNoError;
               });
}

DWORD WINAPI HttpAsyncPostJsonA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszJsonData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return StartDocumentPost({hClient, lpEventProc, dwParam}, TaskOperation::kPostJson, lpszResource,
                           lpszJsonData, lpvResult, lpcbResult, dwOptions);
}

DWORD WINAPI HttpAsyncPostTextA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return StartDocumentPost({hClient, lpEventProc, dwParam}, TaskOperation::kPostText, lpszResource,
                           lpszTextData, lpvResult, lpcbResult, dwOptions);
}

DWORD WINAPI HttpAsyncPostXmlA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszXmlData,
                               LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                               HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return StartDocumentPost({hClient, lpEventProc, dwParam}, TaskOperation::kPostXml, lpszResource,
                           lpszXmlData, lpvResult, lpcbResult, dwOptions);
}

DWORD WINAPI HttpAsyncSubmitFormA(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                  LPDWORD lpcbResult, DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                  DWORD_PTR dwParam) QV_NOEXCEPT {
  return Start({hClient, lpEventProc, dwParam}, TaskOperation::kSubmitForm,
               [&](TaskRequest& request) -> qv::Error {
                 if (hClient == INVALID_CLIENT) return QV_ERROR_INVALID_HANDLE;
                 if (qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(hForm); !form) {
                   return form.error();
                 }
                 request.form = hForm;
                 request.result = lpvResult;
                 request.result_length = lpcbResult;
                 request.options = dwOptions;
                 return qv::kNoError;
               });
}
