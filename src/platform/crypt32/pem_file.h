// Certificates and keys in PEM text (RFC 7468).
#ifndef PLATFORM_CRYPT32_PEM_FILE_H_
#define PLATFORM_CRYPT32_PEM_FILE_H_

#include <string_view>

#include "crypt32/certificate.h"

namespace platform::crypt32 {

// The certificates of a text in their order, each with its private key when that is in the text or
// in the other one. A line "friendlyName: ..." in front of a certificate names it. Keys that are
// encrypted are passed over: nobody can be asked for their password.
CertificateList ReadPem(std::string_view text, std::string_view keys_elsewhere = {});

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_PEM_FILE_H_
