#ifndef TOOLS_QVHTTP_CONNECTION_H_
#define TOOLS_QVHTTP_CONNECTION_H_

#include <string>

#include "options.h"
#include "qvhttp12.h"

// Opens a session to the server of a URL. It belongs to the calling thread and is to be closed with
// HttpDisconnect. With `is_trusted` the server gets the client certificate, and is asked for by the
// name that the options give. A server whose certificate is not valid is refused, except with
// --insecure. Throws Failure.
HCLIENT Connect(const HTTPURLCOMPONENTSA& parts, const Options& options, bool is_trusted);

// As Connect, whatever the server's certificate is like.
HCLIENT ConnectUnchecked(const HTTPURLCOMPONENTSA& parts, const Options& options, bool is_trusted);

// What is wrong with the certificate of a session's server, in words; empty: nothing is.
std::string CertificateFault(HCLIENT client);

// The words for a SECURITY_CERT_*; empty for a valid certificate.
std::string CertificateFaultText(DWORD status);

#endif  // TOOLS_QVHTTP_CONNECTION_H_
