// Whether URLs and host names lead to a host.
#ifndef QV_URL_VALIDATION_H_
#define QV_URL_VALIDATION_H_

#include <string_view>

#include "frame/error.h"
#include "transport/address.h"

namespace qv {

// Resolves the host of an http or https URL. QV_ERROR_INVALID_RESOURCE for any other text, else the
// resolver's error.
Error ValidateUrl(std::string_view text);

// Resolves a host name, or the host of a URL. QV_ERROR_INVALID_HOSTNAME for a text that is neither,
// else the resolver's error.
Result<InternetAddress> ValidateHostName(std::string_view name);

}  // namespace qv

#endif  // QV_URL_VALIDATION_H_
