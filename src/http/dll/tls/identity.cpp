#include "tls/identity.h"

#include "frame/session.h"
#include "frame/text.h"

namespace qv {

void SetIdentity(Session& session, const SECURITYCREDENTIALSA* credentials) {
  TlsIdentity& identity = session.tls.identity;
  identity = TlsIdentity{};
  identity.host = session.connection.host;
  if (credentials == nullptr) return;
  if (credentials->dwProtocol != 0) identity.protocols = credentials->dwProtocol;
  identity.store_options = credentials->dwOptions;
  identity.server_name = TextOf(credentials->lpszHostName);
  identity.store = TextOf(credentials->lpszCertStore);
  identity.certificate_name = TextOf(credentials->lpszCertName);
  if (credentials->lpszPassword != nullptr) {
    identity.password = Secret(std::string(credentials->lpszPassword));
  }
}

bool IdentityApplies(const Session& session) {
  return EqualsNoCase(session.tls.identity.host, session.connection.host);
}

std::string ServerNameOf(const Session& session) {
  const TlsIdentity& identity = session.tls.identity;
  if (!identity.server_name.empty() && IdentityApplies(session)) return identity.server_name;
  return std::string(session.connection.host);
}

}  // namespace qv
