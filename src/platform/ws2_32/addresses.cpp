#include "ws2_32/addresses.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>

#include "ws2_32/errors.h"

namespace platform::ws2_32 {

int NativeFamily(int family) {
  switch (family) {
    case ::ws2::kFamilyUnspecified:
      return AF_UNSPEC;
    case ::ws2::kFamilyInet:
      return AF_INET;
    case ::ws2::kFamilyInet6:
      return AF_INET6;
    default:
      return -1;
  }
}

int PlatformFamily(int native) {
  return native == AF_INET6 ? ::ws2::kFamilyInet6 : native == AF_INET ? ::ws2::kFamilyInet : 0;
}

int ToNative(const SockAddr* address, int length, NativeAddress& native) {
  if (address == nullptr || length < static_cast<int>(sizeof(address->family))) {
    return ::ws2::kErrorFault;
  }
  if (address->family == ::ws2::kFamilyInet) {
    ::ws2::SockAddrIn source;
    if (length < static_cast<int>(sizeof(source))) return ::ws2::kErrorFault;
    std::memcpy(&source, address, sizeof(source));
    auto& target = reinterpret_cast<sockaddr_in&>(native.storage);
    target.sin_family = AF_INET;
    target.sin_port = source.port;
    std::memcpy(&target.sin_addr, source.address, sizeof(source.address));
    native.length = sizeof(target);
    return 0;
  }
  if (address->family == ::ws2::kFamilyInet6) {
    ::ws2::SockAddrIn6 source;
    if (length < static_cast<int>(sizeof(source))) return ::ws2::kErrorFault;
    std::memcpy(&source, address, sizeof(source));
    auto& target = reinterpret_cast<sockaddr_in6&>(native.storage);
    target.sin6_family = AF_INET6;
    target.sin6_port = source.port;
    target.sin6_flowinfo = source.flow_info;
    target.sin6_scope_id = source.scope_id;
    std::memcpy(&target.sin6_addr, source.address, sizeof(source.address));
    native.length = sizeof(target);
    return 0;
  }
  return ::ws2::kErrorAddressFamily;
}

int FromNative(const sockaddr* native, void* address, int capacity) {
  if (native->sa_family == AF_INET) {
    const auto& source = reinterpret_cast<const sockaddr_in&>(*native);
    ::ws2::SockAddrIn target{};
    target.family = ::ws2::kFamilyInet;
    target.port = source.sin_port;
    std::memcpy(target.address, &source.sin_addr, sizeof(target.address));
    if (capacity < static_cast<int>(sizeof(target))) return 0;
    std::memcpy(address, &target, sizeof(target));
    return sizeof(target);
  }
  if (native->sa_family == AF_INET6) {
    const auto& source = reinterpret_cast<const sockaddr_in6&>(*native);
    ::ws2::SockAddrIn6 target{};
    target.family = ::ws2::kFamilyInet6;
    target.port = source.sin6_port;
    target.flow_info = source.sin6_flowinfo;
    target.scope_id = source.sin6_scope_id;
    std::memcpy(target.address, &source.sin6_addr, sizeof(target.address));
    if (capacity < static_cast<int>(sizeof(target))) return 0;
    std::memcpy(address, &target, sizeof(target));
    return sizeof(target);
  }
  return 0;
}

ULONG HostToNetworkLong(ULONG value) noexcept { return htonl(value); }
WORD HostToNetworkShort(WORD value) noexcept { return htons(value); }

LPSTR AddressToDottedText(DWORD address) noexcept {
  thread_local char text[INET_ADDRSTRLEN];
  const in_addr native{address};
  return const_cast<LPSTR>(inet_ntop(AF_INET, &native, text, sizeof(text)));
}

LPCSTR AddressToText(int family, LPCVOID address, LPSTR text, SIZE_T capacity) noexcept {
  const int native = NativeFamily(family);
  if (native != AF_INET && native != AF_INET6) {
    FailWith(::ws2::kErrorAddressFamily);
    return nullptr;
  }
  if (address == nullptr || text == nullptr) {
    FailWith(::ws2::kErrorInvalid);
    return nullptr;
  }
  const char* result = inet_ntop(native, address, text, static_cast<socklen_t>(capacity));
  if (result == nullptr) FailWith(::ws2::kErrorInvalid);
  return result;
}

int AddressFromText(int family, LPCSTR text, LPVOID address) noexcept {
  const int native = NativeFamily(family);
  if (native != AF_INET && native != AF_INET6) return FailWith(::ws2::kErrorAddressFamily);
  if (text == nullptr || address == nullptr) return FailWith(::ws2::kErrorFault);
  return inet_pton(native, text, address);
}

}  // namespace platform::ws2_32
