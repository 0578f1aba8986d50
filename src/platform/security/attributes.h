// What can be asked about a context.
#ifndef PLATFORM_SECURITY_ATTRIBUTES_H_
#define PLATFORM_SECURITY_ATTRIBUTES_H_

#include "platform/security.h"
#include "security/tls_context.h"

namespace platform::security {

// Fills the record that belongs to the attribute.
SECURITY_STATUS QueryAttribute(const TlsContext& context, ULONG attribute, LPVOID buffer);

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_ATTRIBUTES_H_
