// Distinguished names as text.
#ifndef PLATFORM_CRYPT32_NAMES_H_
#define PLATFORM_CRYPT32_NAMES_H_

#include <openssl/x509.h>

#include <string>

#include "platform/crypt32.h"

namespace platform::crypt32 {

enum class NameForm {
  kValues,  // "DE, Smith, host"
  kX500,    // "C=DE, O=Smith, CN=host"
};

// The whole name in UTF-8, in the order of its encoding. The separator stands between the values of
// one relative name.
std::string NameText(const X509_NAME* name, NameForm form, const char* separator = " + ");

// The value by which people know the name, in UTF-8: common name, unit, organization or mail
// address, whichever is there first; else any value; "" for an empty name.
std::string DisplayName(const X509_NAME* name);

DWORD WINAPI CertGetNameStringA(PCCERT_CONTEXT context, DWORD type, DWORD flags,
                                LPVOID type_parameter, LPSTR text, DWORD capacity) noexcept;
DWORD WINAPI CertNameToStrA(DWORD encoding, PCERT_NAME_BLOB name, DWORD type, LPSTR text,
                            DWORD capacity) noexcept;

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_NAMES_H_
