// Following redirects.
#ifndef QV_PROTOCOL_REDIRECT_H_
#define QV_PROTOCOL_REDIRECT_H_

#include <string>

#include "frame/error.h"

namespace qv {

struct Session;

// Sends the session's current command again to the location that its response names: the same
// method and parameters, over a new connection to the host of the location, which becomes the
// session's host. The outcome is that of the command sent.
Error FollowRedirect(Session& session, std::string location);

}  // namespace qv

#endif  // QV_PROTOCOL_REDIRECT_H_
