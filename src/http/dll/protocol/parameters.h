// Encoding of the parameters of a command.
#ifndef QV_PROTOCOL_PARAMETERS_H_
#define QV_PROTOCOL_PARAMETERS_H_

#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// The parameters of the session's current method in the encoding that the method and the session's
// encoding type ask for; URL-safe parameters stay as they are. QV_ERROR_INVALID_ENCODING_TYPE,
// QV_ERROR_DATA_NOT_ENCODED.
Result<std::string> EncodeParameters(const Session& session, std::string_view parameters);

}  // namespace qv

#endif  // QV_PROTOCOL_PARAMETERS_H_
