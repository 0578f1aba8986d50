// PKCS #12 files (RFC 7292).
#ifndef PLATFORM_CRYPT32_PKCS12_H_
#define PLATFORM_CRYPT32_PKCS12_H_

#include <string_view>

#include "crypt32/certificate.h"

namespace platform::crypt32 {

bool IsPkcs12(std::string_view file);

enum class Pkcs12Result { kRead, kWrongPassword, kUnreadable };

// Reads the certificates, those that the file has the key of first. A null password
// stands for none, which opens files with an empty password too; else it is UTF-8.
Pkcs12Result ReadPkcs12(std::string_view file, const char* password, CertificateList& certificates);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_PKCS12_H_
