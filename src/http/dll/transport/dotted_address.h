// The classic text of an IPv4 address, for where the socket interface cannot read it.
#ifndef QV_TRANSPORT_DOTTED_ADDRESS_H_
#define QV_TRANSPORT_DOTTED_ADDRESS_H_

#include "qvplatform.h"

namespace qv {

// Reads one to four parts, decimal (also with leading zeros) or hexadecimal after "0x"; the last
// part fills the bytes that are left. The text ends at the terminator or a blank. `bytes` has room
// for four and is written on success only.
bool ParseDottedAddress(const char* text, BYTE* bytes);

}  // namespace qv

#endif  // QV_TRANSPORT_DOTTED_ADDRESS_H_
