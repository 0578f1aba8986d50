#include "transfer/retrieve.h"

#include "frame/session.h"
#include "protocol/content_encoding.h"
#include "protocol/engine.h"
#include "protocol/headers.h"
#include "transfer/body_loop.h"
#include "transfer/inflate_block.h"
#include "transfer/line_ends.h"
#include "transfer/transfer_scope.h"
#include "url/content_type.h"

namespace qv {
namespace {

constexpr std::size_t kLongestContentType = 1023;

Error Decode(const Session& session, DWORD options, MemoryBody& body, bool& still_encoded) {
  const ContentEncoding encoding = ContentEncodingOf(session);
  still_encoded = encoding != ContentEncoding::kIdentity;
  if (!still_encoded || (options & HTTP_TRANSFER_COMPRESS) == 0) return kNoError;
  if (encoding == ContentEncoding::kCompress) return QV_ERROR_INVALID_ENCODING_TYPE;
  Result<MemoryBody> decoded = InflateBlock({body.block.data(), body.length});
  if (!decoded) return decoded.error();
  body = *std::move(decoded);
  still_encoded = false;
  return kNoError;
}

Error Process(const Session& session, DWORD options, MemoryBody& body) {
  bool still_encoded = false;
  if (body.length == 0) return kNoError;
  if (Error error = Decode(session, options, body, still_encoded)) return error;
  const bool convert = (options & HTTP_TRANSFER_CONVERT) != 0 && !still_encoded;
  if (!convert || body.length == 0 || ContentClassOf(session) != HTTP_CONTENT_TEXT) return kNoError;
  return ConvertLineEnds(body);
}

Result<MemoryBody> Exchange(Session& session, std::string_view resource, DWORD options) {
  if ((options & HTTP_TRANSFER_COMPRESS) != 0) {
    if (Error error = SetRequestHeader(session, "Accept-Encoding", kAcceptedEncodings)) {
      return error;
    }
  }
  {
    const ErrorDataScope error_data(session, (options & HTTP_TRANSFER_ERRORDATA) != 0);
    Result<INT> result = session.engine->Command(session, {"GET", resource});
    if (!result) return result.error();
  }
  Result<MemorySink> sink = MemorySink::Create(session);
  if (!sink) return sink.error();
  if (Error error = ReceiveBody(session, *sink)) return error;
  Result<MemoryBody> body = sink->Take();
  if (!body) return body;
  if (Error error = Process(session, options, *body)) return error;
  return body;
}

}  // namespace

Result<RetrievedData> Retrieve(Session& session, std::string_view resource, DWORD options) {
  if (resource.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (Error error = CheckTransferPossible(session)) return error;
  if (session.settings.compression) options |= HTTP_TRANSFER_COMPRESS;
  if (session.settings.version == HTTP_VERSION_09) options &= ~HTTP_TRANSFER_COMPRESS;
  TransferScope transfer(session, HTTP_STATUS_GETDATA);
  Result<MemoryBody> body = Exchange(session, resource, options);
  if (Error gone = session.CheckAlive()) return body ? gone : body.error();
  if (!body) {
    transfer.Abandon();
    return body.error();
  }
  if (Error error = transfer.Close()) return error;
  return RetrievedData{*std::move(body), session.response.result_code};
}

INT ContentClassOf(const Session& session) {
  if (const auto type = ResponseField(session, "Content-Type", kLongestContentType)) {
    return ClassifyContentType(*type);
  }
  return ContentTypeOfFile(session.request.path).content_class;
}

}  // namespace qv
