#include "protocol/origin.h"

#include "frame/session.h"
#include "frame/text.h"

namespace qv {

Origin OriginOf(const Session& session) {
  return {session.connection.host.str(), session.connection.port, session.Has(HTTP_OPTION_SECURE)};
}

bool MaySendCredentials(const Origin& bound, const Origin& target) {
  if (!EqualsNoCase(bound.host, target.host)) return false;
  if (bound.port == target.port && bound.secure == target.secure) return true;
  return !bound.secure && target.secure && bound.port == HTTP_PORT_DEFAULT &&
         target.port == HTTP_PORT_SECURE;
}

}  // namespace qv
