// UTF-16 text that is to be sent as UTF-8.
#ifndef QV_TRANSFER_ONE_CALL_TEXT_H_
#define QV_TRANSFER_ONE_CALL_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

// Nothing for a text with half of a surrogate pair, or of more units than an INT can count.
std::optional<std::string> StrictUtf8(std::u16string_view text);

// The request data of HttpSubmitRequestW as the A form is to send them, for a content type, which
// may be empty. `data` are bytes in either case; `is_text` tells that they are a UTF-16 text for
// sure. QV_ERROR_UNSUPPORTED_MEDIA_TYPE, QV_ERROR_INVALID_BUFFER (a text that is malformed).
Result<std::string> NarrowRequestData(std::string_view data, bool is_text,
                                      std::string_view content_type);

}  // namespace qv

#endif  // QV_TRANSFER_ONE_CALL_TEXT_H_
