#include "transport/address.h"

#include <cstdio>
#include <cstring>

#include "transport/dotted_address.h"
#include "transport/socket_binding.h"
#include "transport/socket_trace.h"
#include "transport/trace.h"

namespace qv {
namespace {

constexpr std::size_t kAddressTextCapacity = 256;
constexpr UINT kMaxPort = 65535;
constexpr UINT kByteMask = 0xFF;
constexpr int kByteBits = 8;

int Failure(int number) {
  RestoreSocketError(number);
  return ws2::kSocketError;
}

std::size_t AddressBytes(int family) {
  return family == ws2::kFamilyInet6 ? kIpv6AddressBytes : kIpv4AddressBytes;
}

// The same two bytes on every machine, without asking the socket interface.
WORD NetworkOrder(UINT port) {
  const BYTE bytes[sizeof(WORD)] = {static_cast<BYTE>(port >> kByteBits),
                                    static_cast<BYTE>(port & kByteMask)};
  WORD value = 0;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

int AddressByNumericLookup(int family, const char* text, void* bytes) {
  ws2::AddrInfo hints = {};
  hints.flags = ws2::kAiNumericHost;
  hints.family = family;
  ws2::AddrInfo* found = nullptr;
  const int failure = LookUpAddresses(text, hints, &found);
  if (failure == ws2::kErrorHostNotFound) return 0;
  if (failure != 0) return Failure(failure);
  InternetAddress address;
  const bool copied = CopyAddress(*found, &address) && address.family == family;
  FreeAddresses(found);
  if (!copied) return 0;
  std::memcpy(bytes, address.bytes, AddressBytes(family));
  return 1;
}

std::optional<std::string> TextByNameInfo(const InternetAddress& address) {
  const Result<SocketAddress> socket_address = BuildSocketAddress(address, 0);
  if (!socket_address) return std::nullopt;
  char text[kAddressTextCapacity] = {};
  const int failure =
      Sockets().getnameinfo(socket_address.value().get(), socket_address.value().length(), text,
                            sizeof(text), nullptr, 0, ws2::kNiNumericHost);
  if (failure != 0) {
    RestoreSocketError(failure);
    return std::nullopt;
  }
  return text;
}

std::string DottedText(const BYTE* bytes) {
  if (const ws2::InetNtoaFn to_text = Sockets().inet_ntoa) {
    DWORD packed = 0;
    std::memcpy(&packed, bytes, sizeof(packed));
    if (const char* text = to_text(packed)) return text;
  }
  char text[sizeof("255.255.255.255")];
  std::snprintf(text, sizeof(text), "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
  return text;
}

}  // namespace

int AddressFromText(int family, const char* text, void* bytes) {
  if (text == nullptr || bytes == nullptr) return Failure(ws2::kErrorInvalid);
  const SocketApi& api = Sockets();
  if (api.inet_pton != nullptr) return api.inet_pton(family, text, bytes);
  if (family != ws2::kFamilyInet && family != ws2::kFamilyInet6) {
    return Failure(ws2::kErrorAddressFamily);
  }
  if (api.getaddrinfo != nullptr) return AddressByNumericLookup(family, text, bytes);
  if (family != ws2::kFamilyInet) return Failure(ws2::kErrorAddressFamily);
  return ParseDottedAddress(text, static_cast<BYTE*>(bytes)) ? 1 : 0;
}

std::optional<std::string> AddressToText(int family, const void* bytes) {
  if (bytes == nullptr || (family != ws2::kFamilyInet && family != ws2::kFamilyInet6)) {
    RestoreSocketError(ws2::kErrorInvalid);
    return std::nullopt;
  }
  const SocketApi& api = Sockets();
  if (api.inet_ntop != nullptr) {
    char text[kAddressTextCapacity] = {};
    if (api.inet_ntop(family, bytes, text, sizeof(text)) == nullptr) return std::nullopt;
    return text;
  }
  if (api.getnameinfo != nullptr) {
    InternetAddress address;
    address.family = family;
    std::memcpy(address.bytes, bytes, AddressBytes(family));
    return TextByNameInfo(address);
  }
  if (family != ws2::kFamilyInet) {
    RestoreSocketError(ws2::kErrorAddressFamily);
    return std::nullopt;
  }
  return DottedText(static_cast<const BYTE*>(bytes));
}

int LookUpAddresses(const char* name, const ws2::AddrInfo& hints, ws2::AddrInfo** addresses) {
  const SocketApi& api = Sockets();
  if (api.getaddrinfo == nullptr) return ws2::kErrorNotInitialised;
  *addresses = nullptr;
  const int failure = api.getaddrinfo(name, nullptr, &hints, addresses);
  if (trace::Active()) trace::TraceLookUp(name, &hints, addresses, failure);
  if (failure == 0 && *addresses == nullptr) return ws2::kErrorHostNotFound;
  return failure;
}

void FreeAddresses(ws2::AddrInfo* addresses) {
  const ws2::FreeAddrInfoFn free_addresses = Sockets().freeaddrinfo;
  if (free_addresses != nullptr && addresses != nullptr) free_addresses(addresses);
}

bool CopyAddress(const ws2::AddrInfo& record, InternetAddress* address) {
  *address = {};
  // Copied first: the record's bytes need not be aligned for the larger forms.
  if (record.family == ws2::kFamilyInet && record.address_length >= sizeof(ws2::SockAddrIn)) {
    ws2::SockAddrIn source;
    std::memcpy(&source, record.address, sizeof(source));
    std::memcpy(address->bytes, source.address, kIpv4AddressBytes);
  } else if (record.family == ws2::kFamilyInet6 &&
             record.address_length >= sizeof(ws2::SockAddrIn6)) {
    ws2::SockAddrIn6 source;
    std::memcpy(&source, record.address, sizeof(source));
    std::memcpy(address->bytes, source.address, kIpv6AddressBytes);
  } else {
    return false;
  }
  address->family = record.family;
  return true;
}

const ws2::SockAddr* SocketAddress::get() const {
  return reinterpret_cast<const ws2::SockAddr*>(storage_);
}

Result<SocketAddress> BuildSocketAddress(const InternetAddress& address, UINT port) {
  if (port > kMaxPort) return Error(QV_ERROR_INVALID_SERVICE_PORT);
  SocketAddress result;
  const auto store = [&result, &address, port](auto form) {
    form.family = static_cast<WORD>(address.family);
    form.port = NetworkOrder(port);
    std::memcpy(form.address, address.bytes, sizeof(form.address));
    std::memcpy(result.storage_, &form, sizeof(form));
    result.length_ = sizeof(form);
  };
  if (address.family == ws2::kFamilyInet) {
    store(ws2::SockAddrIn{});
  } else if (address.family == ws2::kFamilyInet6) {
    store(ws2::SockAddrIn6{});
  } else {
    return Error(QV_ERROR_PROTOCOL_FAMILY);
  }
  return result;
}

}  // namespace qv
