// How a session identifies itself over TLS, and what was found out about the server.
#ifndef QV_TLS_IDENTITY_H_
#define QV_TLS_IDENTITY_H_

#include <optional>
#include <string>

#include "frame/secret.h"
#include "qvhttp12.h"
#include "tls/client_credential.h"

namespace qv {

struct Session;

// What the application gave with the connect. Server name and certificate belong to the host that
// was connected to: a redirect to another host goes without them.
struct TlsIdentity {
  DWORD protocols = SECURITY_PROTOCOL_DEFAULT;
  DWORD store_options = 0;         // CREDENTIAL_STORE_*
  std::string host;                // where the following are for
  std::string server_name;         // instead of the host's, if not empty
  std::string store;               // name or PKCS #12 file
  std::string certificate_name;    // none, if empty
  std::optional<Secret> password;  // of the file
};

struct TlsState {
  TlsIdentity identity;
  std::optional<ClientCredential> credential;  // acquired, and not yet used for a connection
  bool was_good = false;                       // a certificate was accepted before
  DWORD certificate_status = 0;                // error of the last policy check, 0 = good

  // Texts handed out by HttpGetSecurityInformation.
  std::optional<std::string> issuer, subject;
  std::optional<std::u16string> wide_issuer, wide_subject;
};

// Takes over what the application gave (NULL: nothing) for the host of the session.
void SetIdentity(Session& session, const SECURITYCREDENTIALSA* credentials);

// The name under which the server is to identify itself.
std::string ServerNameOf(const Session& session);

// Whether the identity is meant for the host that the session leads to now.
bool IdentityApplies(const Session& session);

}  // namespace qv

#endif  // QV_TLS_IDENTITY_H_
