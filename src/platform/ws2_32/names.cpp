// Names and addresses over the system's resolver.
#include <netdb.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "ws2_32/addresses.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

constexpr int kNotEnoughMemory = 8;

int LookUpError(int code) {
  switch (code) {
    case EAI_AGAIN:
      return ::ws2::kErrorTryAgain;
    case EAI_FAIL:
      return ::ws2::kErrorNoRecovery;
    case EAI_MEMORY:
      return kNotEnoughMemory;
    case EAI_FAMILY:
      return ::ws2::kErrorAddressFamily;
    case EAI_BADFLAGS:
      return ::ws2::kErrorInvalid;
    default:
      return ::ws2::kErrorHostNotFound;
  }
}

// Names under "invalid." never exist, and no server is asked for them (RFC 6761 section 6.4).
bool NeverExists(LPCSTR node) {
  if (node == nullptr) return false;
  std::string_view name(node);
  if (name.ends_with('.')) name.remove_suffix(1);
  constexpr std::string_view kInvalid = "invalid";
  if (name.size() < kInvalid.size()) return false;
  const std::string_view end = name.substr(name.size() - kInvalid.size());
  if (strncasecmp(end.data(), kInvalid.data(), kInvalid.size()) != 0) return false;
  return name.size() == kInvalid.size() || name[name.size() - kInvalid.size() - 1] == '.';
}

int NativeFlags(int flags) {
  int native = 0;
  if ((flags & ::ws2::kAiPassive) != 0) native |= AI_PASSIVE;
  if ((flags & ::ws2::kAiCanonName) != 0) native |= AI_CANONNAME;
  if ((flags & ::ws2::kAiNumericHost) != 0) native |= AI_NUMERICHOST;
  return native;
}

// One result, its address and its name in one allocation.
struct ResultNode {
  AddrInfo info{};
  ::ws2::SockAddrIn6 address{};
  std::string name;
};

ResultNode* MakeNode(const addrinfo& native) {
  auto node = std::make_unique<ResultNode>();
  const int length = FromNative(native.ai_addr, &node->address, sizeof(node->address));
  if (length == 0) return nullptr;
  node->info.family = PlatformFamily(native.ai_family);
  node->info.type = ::ws2::kTypeStream;
  node->info.protocol = ::ws2::kProtocolTcp;
  node->info.address_length = static_cast<SIZE_T>(length);
  node->info.address = reinterpret_cast<SockAddr*>(&node->address);
  if (native.ai_canonname != nullptr) {
    node->name = native.ai_canonname;
    node->info.canonical_name = node->name.data();
  }
  return node.release();
}

}  // namespace

int LookUp(LPCSTR node, LPCSTR service, const AddrInfo* hints, AddrInfo** result) noexcept {
  if (result == nullptr) return ::ws2::kErrorFault;
  *result = nullptr;
  if (NeverExists(node)) return ::ws2::kErrorHostNotFound;
  addrinfo native_hints{};
  native_hints.ai_socktype = SOCK_STREAM;
  if (hints != nullptr) {
    native_hints.ai_flags = NativeFlags(hints->flags);
    native_hints.ai_family = NativeFamily(hints->family);
    if (native_hints.ai_family < 0) return ::ws2::kErrorAddressFamily;
  }
  addrinfo* native = nullptr;
  if (const int code = getaddrinfo(node, service, &native_hints, &native); code != 0) {
    return LookUpError(code);
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(native, freeaddrinfo);
  try {
    AddrInfo** next = result;
    for (const addrinfo* entry = native; entry != nullptr; entry = entry->ai_next) {
      ResultNode* made = MakeNode(*entry);
      if (made == nullptr) continue;
      *next = &made->info;
      next = &made->info.next;
    }
  } catch (const std::bad_alloc&) {
    FreeLookUp(*result);
    *result = nullptr;
    return kNotEnoughMemory;
  }
  return *result != nullptr ? 0 : ::ws2::kErrorHostNotFound;
}

void FreeLookUp(AddrInfo* list) noexcept {
  static_assert(offsetof(ResultNode, info) == 0);
  while (list != nullptr) {
    AddrInfo* next = list->next;
    delete reinterpret_cast<ResultNode*>(list);
    list = next;
  }
}

int NameOf(const SockAddr* address, int length, LPSTR host, DWORD host_capacity, LPSTR service,
           DWORD service_capacity, int flags) noexcept {
  NativeAddress native;
  if (const int error = ToNative(address, length, native); error != 0) return error;
  const int native_flags =
      NI_NUMERICSERV | ((flags & ::ws2::kNiNumericHost) != 0 ? NI_NUMERICHOST : 0);
  const int code = getnameinfo(native.get(), native.length, host, host_capacity, service,
                               service_capacity, native_flags);
  return code == 0 ? 0 : LookUpError(code);
}

HostEnt* HostByName(LPCSTR name) noexcept {
  struct Record {
    HostEnt entry;
    std::string name;
    BYTE address[4];
    LPSTR addresses[2];
    LPSTR aliases[1];
  };
  thread_local Record record;
  AddrInfo hints{};
  hints.family = ::ws2::kFamilyInet;
  AddrInfo* found = nullptr;
  if (const int error = LookUp(name, nullptr, &hints, &found); error != 0) {
    FailWith(error);
    return nullptr;
  }
  const auto* address = reinterpret_cast<const ::ws2::SockAddrIn*>(found->address);
  std::memcpy(record.address, address->address, sizeof(record.address));
  FreeLookUp(found);
  record.name = name != nullptr ? name : "";
  record.addresses[0] = reinterpret_cast<LPSTR>(record.address);
  record.addresses[1] = nullptr;
  record.aliases[0] = nullptr;
  record.entry = {record.name.data(), record.aliases, ::ws2::kFamilyInet, sizeof(record.address),
                  record.addresses};
  return &record.entry;
}

int HostName(LPSTR name, int capacity) noexcept {
  if (name == nullptr || capacity <= 0) return FailWith(::ws2::kErrorFault);
  if (gethostname(name, static_cast<size_t>(capacity)) != 0) return FailWith(::ws2::kErrorFault);
  name[capacity - 1] = '\0';
  return 0;
}

LPVOID ServiceByName(LPCSTR name, LPCSTR protocol) noexcept {
  servent* entry = name != nullptr ? getservbyname(name, protocol) : nullptr;
  if (entry == nullptr) FailWith(::ws2::kErrorNoData);
  return entry;
}

}  // namespace platform::ws2_32
