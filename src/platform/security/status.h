// OpenSSL's errors as results of the interface.
#ifndef PLATFORM_SECURITY_STATUS_H_
#define PLATFORM_SECURITY_STATUS_H_

#include "platform/security.h"

namespace platform::security {

// What the errors of the thread's queue mean, which they leave.
SECURITY_STATUS TakeFailure() noexcept;

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_STATUS_H_
