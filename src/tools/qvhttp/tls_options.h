#ifndef TOOLS_QVHTTP_TLS_OPTIONS_H_
#define TOOLS_QVHTTP_TLS_OPTIONS_H_

#include <memory>
#include <string>

#include "client_certificate.h"
#include "qvhttp12.h"

// How secure connections are made.
struct TlsOptions {
  DWORD protocols = 0;                                   // SECURITY_PROTOCOL_*; 0: 1.2 and 1.3
  std::shared_ptr<const ClientCertificate> certificate;  // --cert
  std::string certificate_name;                          // --cert-name, in the user's store
  std::string server_name;                               // --sni; empty: the host of the URL
  bool insecure = false;

  // Whether there is anything to tell the library.
  bool IsSet() const {
    return protocols != 0 || certificate || !certificate_name.empty() || !server_name.empty();
  }
};

#endif  // TOOLS_QVHTTP_TLS_OPTIONS_H_
