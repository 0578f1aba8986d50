// The version of the operating system.
#ifndef QV_TRANSPORT_OS_VERSION_H_
#define QV_TRANSPORT_OS_VERSION_H_

#include "platform/kernel32.h"

namespace qv {

// Fills a record of 148 (OSVERSIONINFOA) or 156 bytes (OSVERSIONINFOEXA), whose size the caller has
// set in it; any other size is refused with the platform error 87. False when no version is known.
// The system is asked once per process; any thread may call this.
bool QueryOsVersion(OSVERSIONINFOA* version);

}  // namespace qv

#endif  // QV_TRANSPORT_OS_VERSION_H_
