// The catalogue of transport protocols.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "ws2_32/errors.h"
#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

using ::ws2::ProtocolInfo;

struct Provider {
  int family;
  int type;
  int protocol;
  int address_size;
  const char* name;
};

constexpr Provider kProviders[] = {
    {::ws2::kFamilyInet, ::ws2::kTypeStream, ::ws2::kProtocolTcp, sizeof(::ws2::SockAddrIn),
     "TCP/IP"},
    {::ws2::kFamilyInet, ::ws2::kTypeDatagram, ::ws2::kProtocolUdp, sizeof(::ws2::SockAddrIn),
     "UDP/IP"},
    {::ws2::kFamilyInet6, ::ws2::kTypeStream, ::ws2::kProtocolTcp, sizeof(::ws2::SockAddrIn6),
     "TCP/IPv6"},
    {::ws2::kFamilyInet6, ::ws2::kTypeDatagram, ::ws2::kProtocolUdp, sizeof(::ws2::SockAddrIn6),
     "UDP/IPv6"},
};

bool SystemHasIpv6() {
  const int descriptor = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return false;
  ::close(descriptor);
  return true;
}

bool IsAsked(const Provider& provider, const int* protocols, bool ipv6) {
  if (provider.family == ::ws2::kFamilyInet6 && !ipv6) return false;
  if (protocols == nullptr) return true;
  for (; *protocols != 0; ++protocols) {
    if (*protocols == provider.protocol) return true;
  }
  return false;
}

ProtocolInfo Describe(const Provider& provider) {
  constexpr int kProtocolVersion = 2;
  ProtocolInfo info{};
  info.version = kProtocolVersion;
  info.family = provider.family;
  info.max_address = info.min_address = provider.address_size;
  info.type = provider.type;
  info.protocol = provider.protocol;
  std::snprintf(info.name, sizeof(info.name), "%s", provider.name);
  return info;
}

}  // namespace

int EnumerateProtocols(int* protocols, LPVOID buffer, LPDWORD length) noexcept {
  if (length == nullptr) return FailWith(::ws2::kErrorFault);
  const bool ipv6 = SystemHasIpv6();
  DWORD needed = 0;
  for (const Provider& provider : kProviders) {
    if (IsAsked(provider, protocols, ipv6)) needed += sizeof(ProtocolInfo);
  }
  if (*length < needed || (buffer == nullptr && needed > 0)) {
    *length = needed;
    return FailWith(::ws2::kErrorNoBuffers);
  }
  auto* next = static_cast<BYTE*>(buffer);
  for (const Provider& provider : kProviders) {
    if (!IsAsked(provider, protocols, ipv6)) continue;
    const ProtocolInfo info = Describe(provider);
    std::memcpy(next, &info, sizeof(info));
    next += sizeof(info);
  }
  *length = needed;
  return static_cast<int>(needed / sizeof(ProtocolInfo));
}

}  // namespace platform::ws2_32
