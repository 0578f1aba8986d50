// Sending a body to a resource and collecting the response.
#ifndef QV_TRANSFER_SUBMIT_H_
#define QV_TRANSFER_SUBMIT_H_

#include <string_view>

#include "frame/error.h"
#include "qvhttp12.h"
#include "transfer/memory_sink.h"

namespace qv {

struct Session;

// The encoding type of the session stays as it is.
inline constexpr INT kKeepEncoding = -1;

struct Submission {
  std::string_view method;
  std::string_view resource;
  std::string_view body;
  INT encoding = kKeepEncoding;  // for the time of the call
  INT status = HTTP_STATUS_POSTDATA;
  DWORD options = 0;     // HTTP_POST_CONVERT, HTTP_POST_ERRORDATA
  bool collect = false;  // the response body; without it the request stays open
};

struct SubmissionResult {
  MemoryBody body;
  INT result_code = 0;
};

Result<SubmissionResult> Submit(Session& session, const Submission& submission);

// A POST as HttpPostData sends it: multipart documents and HTTP/0.9 have rules of their own.
Result<SubmissionResult> SubmitPost(Session& session, Submission submission);

// A PUT whose body is written in pieces.
Result<INT> StreamPut(Session& session, std::string_view resource, std::string_view body);

}  // namespace qv

#endif  // QV_TRANSFER_SUBMIT_H_
