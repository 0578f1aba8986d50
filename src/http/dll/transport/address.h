// Internet addresses: binary, text, and the form that sockets take.
#ifndef QV_TRANSPORT_ADDRESS_H_
#define QV_TRANSPORT_ADDRESS_H_

#include <cstddef>
#include <optional>
#include <string>

#include "frame/error.h"
#include "platform/ws2_32.h"

namespace qv {

inline constexpr std::size_t kIpv4AddressBytes = 4;
inline constexpr std::size_t kIpv6AddressBytes = 16;

// An address in network order (IPv4 uses the first four bytes); family 0 stands for none.
struct InternetAddress {
  int family = ws2::kFamilyUnspecified;
  BYTE bytes[kIpv6AddressBytes] = {};
};

// Reads an address of a family (2: 4 bytes, 23: 16 bytes). 1 when the text is one, 0 when it is
// not, -1 with the socket error set when that cannot be told.
int AddressFromText(int family, const char* text, void* bytes);

// The canonical text of an address; nothing, with the socket error set, on failure.
std::optional<std::string> AddressToText(int family, const void* bytes);

// Looks up the addresses of a name; one record at least on success (0), else a socket error number.
// The records are given back with FreeAddresses. Needs getaddrinfo (10093).
int LookUpAddresses(const char* name, const ws2::AddrInfo& hints, ws2::AddrInfo** addresses);
void FreeAddresses(ws2::AddrInfo* addresses);

// Takes the address out of a record; false when its family is not one of the two.
bool CopyAddress(const ws2::AddrInfo& record, InternetAddress* address);

// An address and a port, as connect takes them.
class SocketAddress {
 public:
  const ws2::SockAddr* get() const;
  int length() const { return length_; }

 private:
  friend Result<SocketAddress> BuildSocketAddress(const InternetAddress& address, UINT port);

  alignas(ws2::SockAddrIn6) BYTE storage_[sizeof(ws2::SockAddrIn6)] = {};
  int length_ = 0;
};

// Fails with QV_ERROR_PROTOCOL_FAMILY for a family that is none of the two and with
// QV_ERROR_INVALID_SERVICE_PORT for a port beyond 65535.
Result<SocketAddress> BuildSocketAddress(const InternetAddress& address, UINT port);

}  // namespace qv

#endif  // QV_TRANSPORT_ADDRESS_H_
