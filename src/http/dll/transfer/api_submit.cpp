// Exported functions: data submission.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/headers.h"
#include "transfer/delivery.h"
#include "transfer/submit.h"
#include "transfer/submit_text.h"

namespace {

std::string_view BytesOf(LPCVOID data, DWORD size) {
  if (data == nullptr) return {};
  return {static_cast<const char*>(data), size};
}

// Where the response goes: nowhere, or to the caller's outputs.
class ResultOutput {
 public:
  ResultOutput(LPVOID target, LPDWORD length) : wanted_(target != nullptr) {
    if (target != nullptr && length != nullptr) {
      output_.emplace(target, length);
    } else if (length != nullptr) {
      *length = 0;
    }
  }

  bool wanted() const { return wanted_; }
  qv::Error Check() const {
    return wanted_ && !output_ ? qv::Error(QV_ERROR_INVALID_PARAMETER) : qv::kNoError;
  }
  void Deliver(qv::MemoryBody body) {
    if (output_) output_->Deliver(std::move(body));
  }

 private:
  bool wanted_;
  std::optional<qv::BodyOutput> output_;
};

// The arguments of a function that sends bytes.
qv::Error CheckInput(LPCSTR resource, LPCVOID data, DWORD size, const ResultOutput& output) {
  if (qv::Error error = output.Check()) return error;
  if (qv::TextOf(resource).empty()) return QV_ERROR_INVALID_RESOURCE;
  return data == nullptr && size != 0 ? qv::Error(QV_ERROR_INVALID_PARAMETER) : qv::kNoError;
}

using Submitter = qv::Result<qv::SubmissionResult> (*)(qv::Session&, qv::Submission);

// Submits and hands the response over; the result code.
qv::Result<INT> SubmitInto(qv::Session& session, qv::Submission submission, ResultOutput& output,
                           Submitter submit) {
  if (qv::Error error = output.Check()) return error;
  submission.collect = output.wanted();
  qv::Result<qv::SubmissionResult> result = submit(session, submission);
  if (!result) return result.error();
  output.Deliver(std::move(result->body));
  return result->result_code;
}

qv::Result<qv::SubmissionResult> SubmitPlain(qv::Session& session, qv::Submission submission) {
  return qv::Submit(session, submission);
}

// A PUT of bytes of a type of their own, unless the application set one.
qv::Result<INT> PutTyped(qv::Session& session, LPCSTR resource, std::string_view body,
                         std::string_view type, ResultOutput& output, DWORD options) {
  if (qv::Error error = output.Check()) return error;
  if (qv::TextOf(resource).empty()) return qv::Error(QV_ERROR_INVALID_RESOURCE);
  if (qv::Error error = qv::SetRequestHeaderIfAbsent(session, "Content-Type", type)) return error;
  qv::Submission submission;
  submission.method = "PUT";
  submission.resource = resource;
  submission.body = body;
  submission.encoding = HTTP_ENCODING_NONE;
  submission.status = HTTP_STATUS_PUTDATA;
  submission.options = options;
  return SubmitInto(session, submission, output, SubmitPlain);
}

// A text of a type of its own, unless the application set one.
INT PostTyped(HCLIENT client, LPCSTR resource, LPCSTR text, LPVOID result, LPDWORD result_length,
              DWORD options, std::string_view type) {
  return qv::SessionBoundary<INT>(client, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
    ResultOutput output(result, result_length);
    if (qv::TextOf(text).empty()) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    if (qv::Error error = qv::SetRequestHeaderIfAbsent(session, "Content-Type", type)) {
      return error;
    }
    qv::Submission submission;
    submission.resource = qv::TextOf(resource);
    submission.body = text;
    submission.encoding = HTTP_ENCODING_NONE;
    submission.options = options | HTTP_POST_CONVERT;
    return SubmitInto(session, submission, output, qv::SubmitPost);
  });
}

}  // namespace

INT WINAPI HttpPostDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer, DWORD cbBuffer,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        ResultOutput output(lpvResult, lpcbResult);
        if (qv::Error error = CheckInput(lpszResource, lpvBuffer, cbBuffer, output)) {
          return error;
        }
        qv::Submission submission;
        submission.resource = qv::TextOf(lpszResource);
        submission.body = BytesOf(lpvBuffer, cbBuffer);
        submission.options = dwOptions;
        return SubmitInto(session, submission, output, qv::SubmitPost);
      });
}

INT WINAPI HttpPutDataExA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer, DWORD cbBuffer,
                          LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        ResultOutput output(lpvResult, lpcbResult);
        if (qv::Error error = CheckInput(lpszResource, lpvBuffer, cbBuffer, output)) return error;
        return PutTyped(session, lpszResource, BytesOf(lpvBuffer, cbBuffer),
                        "application/octet-stream", output, dwOptions);
      });
}

INT WINAPI HttpPatchDataA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszPatchData,
                          LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        ResultOutput output(lpvResult, lpcbResult);
        if (qv::Error error = CheckInput(lpszResource, nullptr, 0, output)) {
          return error;
        }
        if (qv::TextOf(lpszPatchData).empty()) return qv::Error(QV_ERROR_INVALID_PARAMETER);
        qv::Submission submission;
        submission.method = "PATCH";
        submission.resource = qv::TextOf(lpszResource);
        submission.body = lpszPatchData;
        submission.encoding = HTTP_ENCODING_NONE;
        submission.options = dwOptions;
        return SubmitInto(session, submission, output, SubmitPlain);
      });
}

INT WINAPI HttpPutDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer, DWORD dwLength,
                        DWORD dwReserved) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (qv::TextOf(lpszResource).empty()) return qv::Error(QV_ERROR_INVALID_RESOURCE);
        if (lpvBuffer == nullptr || dwLength == 0 || dwReserved != 0) {
          return qv::Error(QV_ERROR_INVALID_PARAMETER);
        }
        return qv::StreamPut(session, lpszResource, BytesOf(lpvBuffer, dwLength));
      });
}

INT WINAPI HttpPostJsonA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszJsonData,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return PostTyped(hClient, lpszResource, lpszJsonData, lpvResult, lpcbResult, dwOptions,
                   "application/json");
}

INT WINAPI HttpPostXmlA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszXmlData, LPVOID lpvResult,
                        LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return PostTyped(hClient, lpszResource, lpszXmlData, lpvResult, lpcbResult, dwOptions,
                   "application/xml");
}

INT WINAPI HttpPostTextA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return PostTyped(hClient, lpszResource, lpszTextData, lpvResult, lpcbResult, dwOptions,
                   qv::kUtf8TextType);
}

INT WINAPI HttpPostTextExA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                           LPSTR lpszResult, LPDWORD lpdwLength, UINT nCodePage,
                           DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        return qv::PostTextEx(session, qv::TextOf(lpszResource), qv::TextOf(lpszTextData),
                              lpszResult, lpdwLength, nCodePage, dwOptions);
      });
}

INT WINAPI HttpPutTextA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszBuffer) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (lpszBuffer == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
        ResultOutput nowhere(nullptr, nullptr);
        return PutTyped(session, lpszResource, lpszBuffer, qv::kTextType, nowhere, 0);
      });
}

INT WINAPI HttpPutTextExA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszBuffer, LPVOID lpvResult,
                          LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        ResultOutput output(lpvResult, lpcbResult);
        return PutTyped(session, lpszResource, qv::TextOf(lpszBuffer), qv::kTextType, output,
                        dwOptions | HTTP_POST_CONVERT);
      });
}
