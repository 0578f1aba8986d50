#include "transport/socket_binding.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

#include "platform/kernel32.h"
#include "transport/entry_point.h"
#include "transport/os_version.h"

namespace qv {
namespace {

constexpr WORD kInterfaceVersion = 0x0202;  // 2.2
constexpr DWORD kOldestMajorVersion = 5;
constexpr std::size_t kMaxProviders = 32;

// The bound functions: built under the library lock, then published and never changed again.
struct Binding {
  SocketApi sockets;
  NameConversionApi names;
  HMODULE socket_module = nullptr;
  HMODULE name_module = nullptr;
  ws2::WsaData interface_data = {};
};
Binding binding;
std::atomic<const SocketApi*> published_sockets;
std::atomic<const NameConversionApi*> published_names;

// Successful starts not yet stopped.
std::atomic<LONG> start_count;

// Whether a TCP provider for IPv6 is installed, once the providers could be enumerated.
enum class Ipv6Provider { kUnknown, kAbsent, kInstalled };
std::atomic<Ipv6Provider> ipv6_provider = Ipv6Provider::kUnknown;

OSVERSIONINFOA SystemVersion() {
  OSVERSIONINFOA version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  QueryOsVersion(&version);
  return version;
}

template <typename Function>
void Find(HMODULE module, const char* name, Function& function) {
  function = FindEntryPoint<Function>(module, name);
}

SocketApi FindSocketFunctions(HMODULE module) {
  SocketApi api;
  Find(module, "closesocket", api.closesocket);
  Find(module, "connect", api.connect);
  Find(module, "gethostbyname", api.gethostbyname);
  Find(module, "gethostname", api.gethostname);
  Find(module, "getservbyname", api.getservbyname);
  Find(module, "getsockopt", api.getsockopt);
  Find(module, "htonl", api.htonl);
  Find(module, "htons", api.htons);
  Find(module, "inet_ntoa", api.inet_ntoa);
  Find(module, "ioctlsocket", api.ioctlsocket);
  Find(module, "recv", api.recv);
  Find(module, "select", api.select);
  Find(module, "send", api.send);
  Find(module, "setsockopt", api.setsockopt);
  Find(module, "shutdown", api.shutdown);
  Find(module, "socket", api.socket);
  Find(module, "WSAAsyncSelect", api.WSAAsyncSelect);
  Find(module, "WSACleanup", api.WSACleanup);
  Find(module, "WSAEnumProtocolsA", api.WSAEnumProtocolsA);
  Find(module, "WSAGetLastError", api.WSAGetLastError);
  Find(module, "WSASetLastError", api.WSASetLastError);
  Find(module, "WSAStartup", api.WSAStartup);
  return api;
}

// The functions that know both families. Without getaddrinfo none of them is used, so that all
// address operations take their IPv4 fallback together.
void FindFamilyNeutralFunctions(HMODULE module, SocketApi& api) {
  Find(module, "getaddrinfo", api.getaddrinfo);
  if (api.getaddrinfo == nullptr) return;
  Find(module, "freeaddrinfo", api.freeaddrinfo);
  Find(module, "getnameinfo", api.getnameinfo);
  Find(module, "inet_ntop", api.inet_ntop);
  Find(module, "inet_pton", api.inet_pton);
}

// The module stays loaded until the process ends; false when there is none.
bool BindSockets(bool family_neutral) {
  if (binding.socket_module != nullptr) return true;
  binding.socket_module = LoadLibraryA("ws2_32.dll");
  if (binding.socket_module == nullptr) return false;
  binding.sockets = FindSocketFunctions(binding.socket_module);
  if (family_neutral) FindFamilyNeutralFunctions(binding.socket_module, binding.sockets);
  published_sockets.store(&binding.sockets, std::memory_order_release);
  return true;
}

// A missing module is no failure: host names are then limited to ASCII.
void BindNameConversion() {
  if (binding.name_module != nullptr) return;
  binding.name_module = LoadLibraryA("normaliz.dll");
  if (binding.name_module == nullptr) return;
  NameConversionApi& api = binding.names;
  Find(binding.name_module, "IdnToAscii", api.IdnToAscii);
  if (api.IdnToAscii != nullptr) {
    Find(binding.name_module, "IdnToNameprepUnicode", api.IdnToNameprepUnicode);
  }
  published_names.store(&api, std::memory_order_release);
}

DWORD SystemNotReady() {
  RestoreSocketError(ws2::kErrorSystemNotReady);
  return ws2::kErrorSystemNotReady;
}

}  // namespace

DWORD StartSockets() {
  const OSVERSIONINFOA version = SystemVersion();
  if (version.dwPlatformId != VER_PLATFORM_WIN32_NT ||
      version.dwMajorVersion < kOldestMajorVersion) {
    return SystemNotReady();
  }
  if (!BindSockets(SystemKnowsIpv6())) return SystemNotReady();
  BindNameConversion();

  const SocketApi& api = binding.sockets;
  if (api.WSAStartup == nullptr || api.WSACleanup == nullptr) return SystemNotReady();
  // Stops without a start leave the count below zero; this start counts all the same.
  while (++start_count < 1) continue;
  RestoreSocketError(0);
  const int failure = api.WSAStartup(kInterfaceVersion, &binding.interface_data);
  if (failure != 0) --start_count;
  return static_cast<DWORD>(failure);
}

int StopSockets() {
  const SocketApi& api = Sockets();
  if (api.WSACleanup == nullptr || --start_count < 0) return SocketsNotInitialized();
  return api.WSACleanup();
}

const SocketApi& Sockets() {
  static constexpr SocketApi kNone;
  const SocketApi* api = published_sockets.load(std::memory_order_acquire);
  return api == nullptr ? kNone : *api;
}

const NameConversionApi& NameConversion() {
  static constexpr NameConversionApi kNone;
  const NameConversionApi* api = published_names.load(std::memory_order_acquire);
  return api == nullptr ? kNone : *api;
}

int LastSocketError() {
  const ws2::WsaGetLastErrorFn get = Sockets().WSAGetLastError;
  return get == nullptr ? static_cast<int>(::GetLastError()) : get();
}

void RestoreSocketError(int number) {
  if (const ws2::WsaSetLastErrorFn set = Sockets().WSASetLastError) {
    set(number);
  } else {
    ::SetLastError(static_cast<DWORD>(number));
  }
}

int SocketsNotInitialized() {
  RestoreSocketError(ws2::kErrorNotInitialised);
  return ws2::kSocketError;
}

bool IdnAvailable() {
  const NameConversionApi& api = NameConversion();
  return api.IdnToAscii != nullptr && api.IdnToNameprepUnicode != nullptr;
}

bool SystemKnowsIpv6() {
  const OSVERSIONINFOA version = SystemVersion();
  return version.dwMajorVersion > kOldestMajorVersion ||
         (version.dwMajorVersion == kOldestMajorVersion && version.dwMinorVersion != 0);
}

bool Ipv6Available() {
  const ws2::EnumProtocolsFn enumerate = Sockets().WSAEnumProtocolsA;
  if (enumerate == nullptr) {
    SocketsNotInitialized();
    return false;
  }
  if (!SystemKnowsIpv6()) {
    RestoreSocketError(ws2::kErrorAddressFamily);
    return false;
  }
  if (ipv6_provider == Ipv6Provider::kUnknown) {
    std::array<int, 3> protocols = {ws2::kProtocolTcp, ws2::kProtocolUdp, 0};
    std::array<ws2::ProtocolInfo, kMaxProviders> catalogue = {};
    DWORD bytes = sizeof(catalogue);
    const int count = enumerate(protocols.data(), catalogue.data(), &bytes);
    // Not remembered, so that the next call asks again.
    if (count < 0) return false;
    const auto known = std::min(static_cast<std::size_t>(count), catalogue.size());
    const bool found = std::any_of(
        catalogue.begin(), catalogue.begin() + static_cast<std::ptrdiff_t>(known),
        [](const ws2::ProtocolInfo& provider) {
          return provider.family == ws2::kFamilyInet6 && provider.type == ws2::kTypeStream &&
                 provider.protocol == ws2::kProtocolTcp;
        });
    ipv6_provider = found ? Ipv6Provider::kInstalled : Ipv6Provider::kAbsent;
  }
  if (ipv6_provider == Ipv6Provider::kInstalled) return true;
  RestoreSocketError(ws2::kErrorProtocolNotSupported);
  return false;
}

}  // namespace qv
