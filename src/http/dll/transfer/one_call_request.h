// A whole request in one call.
#ifndef QV_TRANSFER_ONE_CALL_REQUEST_H_
#define QV_TRANSFER_ONE_CALL_REQUEST_H_

#include <string_view>

#include "frame/error.h"
#include "qvhttp12.h"
#include "transfer/memory_sink.h"

namespace qv {

struct OneCallRequest {
  DWORD type = HTTP_REQUEST_DEFAULT;  // checked
  std::string_view url;
  const HTTPCONNECTIONA* connection = nullptr;
  std::string_view data;
  bool wants_body = false;
};

struct OneCallResponse {
  MemoryBody body;
  INT result_code = 0;
};

// The contract of HttpSubmitRequest, but for its outputs.
Result<OneCallResponse> SubmitRequest(const OneCallRequest& request);

}  // namespace qv

#endif  // QV_TRANSFER_ONE_CALL_REQUEST_H_
