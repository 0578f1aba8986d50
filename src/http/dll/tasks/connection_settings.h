// What a task's session takes over from the session that the application named.
#ifndef QV_TASKS_CONNECTION_SETTINGS_H_
#define QV_TASKS_CONNECTION_SETTINGS_H_

#include <optional>
#include <string>

#include "frame/session_table.h"
#include "protocol/connection.h"
#include "protocol/origin.h"
#include "tls/identity.h"

namespace qv {

struct ConnectionSettings {
  std::string host;
  UINT port = 0;
  UINT timeout = 0;  // seconds
  DWORD options = 0;
  DWORD version = 0;
  bool compression = false;

  DWORD proxy_type = kProxyNone;
  std::string proxy_host;
  UINT proxy_port = 0;
  std::string proxy_user;
  std::string proxy_password;

  UINT authentication = HTTP_AUTH_NONE;
  std::string user;
  std::string password;                     // or bearer token
  std::optional<Origin> credential_origin;  // nothing: for wherever the session leads

  std::optional<TlsIdentity> identity;  // of a secure session
};

// A copy of the session's settings, taken under the library lock.
ConnectionSettings SettingsOf(const Session& session);

// Leads to the server that a resource names, if it is a URL. QV_ERROR_INVALID_RESOURCE when it is a
// malformed one, or when there is no host or no path.
Error LeadToResource(ConnectionSettings& settings, const std::string& resource);

}  // namespace qv

#endif  // QV_TASKS_CONNECTION_SETTINGS_H_
