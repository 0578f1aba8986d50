// Base64 and the percent-encodings of URL text.
#ifndef QV_URL_ENCODER_H_
#define QV_URL_ENCODER_H_

#include <optional>
#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

enum class EncodeMode {
  kBase64 = 1,  // RFC 4648 section 4, no line breaks
  kPath = 2,    // the path of a request target
  kData = 3,    // queries, forms and other URL-encoded data
  kXml = 4,     // as kData, with spaces and ".", "-", "_", "/" kept
};

// Writes the encoded text with a terminator into a buffer of `capacity` bytes, which must be at
// least one and a half times the input and the terminator. Returns the length written. Escapes that
// are already in the text stay as they are. Fails with QV_ERROR_BUFFER_TOO_SMALL when an escape
// does not fit, and with the error 0 for unusable arguments and when other text does not fit.
Result<INT> Encode(EncodeMode mode, std::string_view input, LPSTR output, INT capacity);

// The same with room for any result; nothing for a text too long to be counted in an INT.
std::optional<std::string> EncodeText(EncodeMode mode, std::string_view text);

// Whether a text must be percent-encoded before it can be part of a URL.
bool NeedsEncoding(std::string_view text);

}  // namespace qv

#endif  // QV_URL_ENCODER_H_
