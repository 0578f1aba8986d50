// System stores: folders of certificate files.
#ifndef PLATFORM_CRYPT32_SYSTEM_STORE_H_
#define PLATFORM_CRYPT32_SYSTEM_STORE_H_

#include <optional>
#include <string>

#include "crypt32/certificate.h"

namespace platform::crypt32 {

enum class StoreOwner { kUser, kMachine };

// Reads all files of a store's folder: PEM (.pem, .crt, .cer; a key may stand in a file of the same
// name that ends in .key), DER certificates (.crt, .cer) and PKCS #12 without password (.p12,
// .pfx). A certificate with a key and without a friendly name is known by the name of its file.
// Nothing when there is no such folder. The name is UTF-8.
std::optional<CertificateList> ReadSystemStore(StoreOwner owner, const std::string& name);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_SYSTEM_STORE_H_
