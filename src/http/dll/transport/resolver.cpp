#include "transport/resolver.h"

#include <cstring>
#include <string_view>

#include "transport/socket_binding.h"
#include "transport/socket_trace.h"
#include "transport/trace.h"

namespace qv {
namespace {

constexpr int kLocalNameCapacity = 256;

// A socket error number, or an address.
struct Lookup {
  int failure = 0;
  InternetAddress address;
};

// Where no function knows both families: names and dotted addresses of IPv4.
Lookup LookUpByName(const char* host, int family) {
  Lookup lookup;
  if (family == ws2::kFamilyInet6 || std::string_view(host).find(':') != std::string_view::npos) {
    lookup.failure = ws2::kErrorAddressFamily;
    return lookup;
  }
  lookup.address.family = ws2::kFamilyInet;
  if (AddressFromText(ws2::kFamilyInet, host, lookup.address.bytes) == 1) return lookup;

  const ws2::GetHostByNameFn get_host = Sockets().gethostbyname;
  if (get_host == nullptr) {
    lookup.failure = ws2::kErrorNotInitialised;
    return lookup;
  }
  const ws2::HostEnt* entry = get_host(host);
  if (entry == nullptr) {
    lookup.failure = LastSocketError();
    return lookup;
  }
  if (entry->address_type != ws2::kFamilyInet || entry->addresses == nullptr ||
      entry->addresses[0] == nullptr) {
    lookup.failure = ws2::kErrorNoData;
    return lookup;
  }
  std::memcpy(lookup.address.bytes, entry->addresses[0], kIpv4AddressBytes);
  return lookup;
}

// The first address of one family. The family is 0 on return when it is none that can be used.
Lookup LookUpFamily(const char* host, int family) {
  ws2::AddrInfo hints = {};
  hints.family = family;
  hints.type = ws2::kTypeStream;
  ws2::AddrInfo* found = nullptr;
  Lookup lookup;
  lookup.failure = LookUpAddresses(host, hints, &found);
  if (lookup.failure == 0) CopyAddress(*found, &lookup.address);
  FreeAddresses(found);
  return lookup;
}

Lookup LookUpHost(const char* host, int family) {
  if (Sockets().getaddrinfo == nullptr) return LookUpByName(host, family);
  if (family != ws2::kFamilyUnspecified) return LookUpFamily(host, family);
  Lookup lookup = LookUpFamily(host, ws2::kFamilyInet);
  if (lookup.failure == ws2::kErrorHostNotFound) lookup = LookUpFamily(host, ws2::kFamilyInet6);
  return lookup;
}

}  // namespace

Result<InternetAddress> ResolveHost(const char* host, int family) {
  if (host == nullptr || *host == '\0') return Error(QV_ERROR_INVALID_HOSTNAME);
  Lookup lookup = LookUpHost(host, family);
  if (lookup.failure != 0 && family == ws2::kFamilyInet6) {
    lookup = LookUpHost(host, ws2::kFamilyInet);
  }
  if (lookup.failure != 0) return ErrorFromPlatform(static_cast<DWORD>(lookup.failure));
  if (lookup.address.family == ws2::kFamilyUnspecified) return Error(QV_ERROR_INVALID_ADDRESS);
  return lookup.address;
}

std::optional<std::string> LocalHostName() {
  const ws2::GetHostNameFn get_name = Sockets().gethostname;
  char name[kLocalNameCapacity] = {};
  const int result = get_name == nullptr ? SocketsNotInitialized() : get_name(name, sizeof(name));
  if (trace::Active()) trace::TraceHostName(name, result);
  if (result != 0) return std::nullopt;
  return name;
}

}  // namespace qv
