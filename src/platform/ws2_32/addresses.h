// Socket addresses: the platform's records and the system's.
#ifndef PLATFORM_WS2_32_ADDRESSES_H_
#define PLATFORM_WS2_32_ADDRESSES_H_

#include <sys/socket.h>

#include "ws2_32/functions.h"

namespace platform::ws2_32 {

struct NativeAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

// AF_INET, AF_INET6 or AF_UNSPEC for a family of the platform's numbering; -1 for any other.
int NativeFamily(int family);
int PlatformFamily(int native);

// 0, or a socket error number.
int ToNative(const SockAddr* address, int length, NativeAddress& native);

// The platform's record in memory of `capacity` bytes; the bytes used, 0 for an unknown family.
int FromNative(const sockaddr* native, void* address, int capacity);

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_ADDRESSES_H_
