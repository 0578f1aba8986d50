// What a connection is made with: protocol versions and the client's certificate.
#ifndef PLATFORM_SECURITY_CREDENTIAL_H_
#define PLATFORM_SECURITY_CREDENTIAL_H_

#include <memory>
#include <string>

#include "crypt32/certificate.h"
#include "platform/security.h"
#include "security/key_log.h"

namespace platform::security {

// Never changes; shared by its handle and the contexts that use it.
struct Credential {
  int lowest_version = 0;  // TLS1_VERSION...
  int highest_version = 0;
  DWORD port = 0;                                 // of the server; 0: not known
  crypt32::CertificateRef certificate;            // null: none
  std::shared_ptr<STACK_OF(X509)> intermediates;  // for the server, from the certificate upwards
  std::string fingerprint;                        // of the certificate; empty without one
  std::shared_ptr<const KeyLog> key_log;
};
using CredentialRef = std::shared_ptr<const Credential>;

// From an SCHANNEL_CRED or SCH_CREDENTIALS.
SECURITY_STATUS MakeCredential(const void* description, CredentialRef& credential);

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_CREDENTIAL_H_
