#include "protocol/parameters.h"

#include "frame/session.h"
#include "url/encoder.h"

namespace qv {
namespace {

INT EncodingFor(Method method, INT session_encoding) {
  const bool none = session_encoding == HTTP_ENCODING_NONE;
  switch (method) {
    case Method::kPost:
    case Method::kPut:
      return session_encoding;
    case Method::kPatch:
    case Method::kBproppatch:
      return HTTP_ENCODING_NONE;
    case Method::kPropfind:
    case Method::kBpropfind:
    case Method::kProppatch:
      return none ? HTTP_ENCODING_URL : HTTP_ENCODING_NONE;
    default:
      return none ? HTTP_ENCODING_URL : session_encoding;
  }
}

Result<std::string> Encoded(EncodeMode mode, std::string_view parameters) {
  std::optional<std::string> text = EncodeText(mode, parameters);
  if (!text || text->empty()) return Error(QV_ERROR_DATA_NOT_ENCODED);
  return *std::move(text);
}

}  // namespace

Result<std::string> EncodeParameters(const Session& session, std::string_view parameters) {
  if (!NeedsEncoding(parameters)) return std::string(parameters);
  switch (EncodingFor(session.request.method, session.settings.encoding)) {
    case HTTP_ENCODING_URL:
      return Encoded(EncodeMode::kData, parameters);
    case HTTP_ENCODING_XMLURL:
      return Encoded(EncodeMode::kXml, parameters);
    case HTTP_ENCODING_NONE:
    case HTTP_ENCODING_XML:
    case HTTP_ENCODING_JSON:
    case HTTP_ENCODING_UTF8:
    case HTTP_ENCODING_ANSI:
      return std::string(parameters);
    default:
      return Error(QV_ERROR_INVALID_ENCODING_TYPE);
  }
}

}  // namespace qv
