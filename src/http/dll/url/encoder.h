// Encoding of bytes as text: base64 (RFC 4648) and three percent-encodings of URL text (RFC 3986).
#ifndef QV_URL_ENCODER_H_
#define QV_URL_ENCODER_H_

#include <optional>
#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

enum class EncodeMode {
  kBase64 = 1,  // credentials
  kPath = 2,    // the path of a request target
  kData = 3,    // queries and url-encoded bodies
  kXml = 4,     // as kData, but spaces and path characters are kept
};

// Encodes into a buffer and terminates the text; the characters written. The capacity must be at
// least half as much again as the input, plus one. Fails with the error 0, or with
// QV_ERROR_BUFFER_TOO_SMALL when an escape does not fit.
Result<INT> Encode(EncodeMode mode, std::string_view input, LPSTR output, INT capacity);

// Encodes with as much room as it takes; nothing when the input is too long.
std::optional<std::string> EncodeText(EncodeMode mode, std::string_view input);

// Whether text holds something that must be escaped in a URL. Well-formed escapes and "+" are fine.
bool NeedsEncoding(std::string_view text);

}  // namespace qv

#endif  // QV_URL_ENCODER_H_
