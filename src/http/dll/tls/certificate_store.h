// Where client certificates come from: system stores and PKCS #12 files.
#ifndef QV_TLS_CERTIFICATE_STORE_H_
#define QV_TLS_CERTIFICATE_STORE_H_

#include <string>

#include "tls/client_credential.h"
#include "tls/identity.h"

namespace qv {

// Opens the store that the identity names: "HKLM:name" and "HKCU:name" are system stores of the
// machine and of the user; an existing file is a PKCS #12 file; other names are system stores
// unless the options say file. Without a name it is the system store "MY".
// QV_ERROR_INVALID_FILE_NAME, QV_ERROR_FILE_NOT_FOUND, QV_ERROR_INVALID_FILE_TYPE,
// QV_ERROR_SECURITY_CREDENTIALS.
Result<CertificateStore> OpenCertificateStore(const TlsIdentity& identity);

// The first certificate with that friendly name, else the first whose subject contains the text;
// NULL when there is none.
Certificate FindClientCertificate(const CertificateStore& store, const std::string& name);

}  // namespace qv

#endif  // QV_TLS_CERTIFICATE_STORE_H_
