// The credentials of a session and the origin that they were set for.
#ifndef QV_PROTOCOL_CREDENTIALS_H_
#define QV_PROTOCOL_CREDENTIALS_H_

#include <string_view>

#include "frame/error.h"
#include "frame/fixed_string.h"
#include "protocol/connection.h"
#include "protocol/origin.h"
#include "qvhttp12.h"

namespace qv {

struct Credentials {
  UINT type = HTTP_AUTH_NONE;
  FixedString<kUserCapacity> user;
  FixedString<kPasswordCapacity> password;  // the token with HTTP_AUTH_BEARER
  Origin origin;
};

// The contract of HttpAuthenticate.
Error Authenticate(Session& session, UINT type, std::string_view user, std::string_view password);

// The value of an Authorization field for user and password, or for a bearer token.
std::string BasicAuthorization(std::string_view user, std::string_view password);
std::string BearerAuthorization(std::string_view token);

}  // namespace qv

#endif  // QV_PROTOCOL_CREDENTIALS_H_
