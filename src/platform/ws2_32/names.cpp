// Names and addresses over the system's resolver.
#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "platform/checkpoint.h"
#include "platform/kernel32.h"
#include "ws2_32/addresses.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

// The socket error number for a result of the system's resolver.
int LookUpError(int code) {
  switch (code) {
    case EAI_AGAIN:
      return ::ws2::kErrorTryAgain;
    case EAI_FAIL:
      return ::ws2::kErrorNoRecovery;
    case EAI_MEMORY:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EAI_FAMILY:
      return ::ws2::kErrorAddressFamily;
    case EAI_BADFLAGS:
      return ::ws2::kErrorInvalid;
    case EAI_OVERFLOW:
      return ERROR_INSUFFICIENT_BUFFER;
    case EAI_SYSTEM:
      return SocketErrorOf(errno);
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

// The node's record; nothing for an unknown family.
AddrInfo* MakeNode(const addrinfo& native) {
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
  return &node.release()->info;
}

struct ListDeleter {
  void operator()(AddrInfo* list) const { FreeLookUp(list); }
};
using AddressList = std::unique_ptr<AddrInfo, ListDeleter>;

// A list of all results of a known family.
AddressList MakeList(const addrinfo* native) {
  AddressList list;
  AddrInfo* last = nullptr;
  for (; native != nullptr; native = native->ai_next) {
    AddrInfo* made = MakeNode(*native);
    if (made == nullptr) continue;
    if (last == nullptr) {
      list.reset(made);
    } else {
      last->next = made;
    }
    last = made;
  }
  return list;
}

// 0 or a socket error number.
int Resolve(LPCSTR node, LPCSTR service, const AddrInfo* hints, AddressList& list) {
  if (NeverExists(node)) return ::ws2::kErrorHostNotFound;
  addrinfo native_hints{};
  native_hints.ai_socktype = SOCK_STREAM;
  if (hints != nullptr) {
    native_hints.ai_flags = NativeFlags(hints->flags);
    native_hints.ai_family = NativeFamily(hints->family);
    if (native_hints.ai_family < 0) return ::ws2::kErrorAddressFamily;
  }
  Checkpoint();
  addrinfo* native = nullptr;
  const int code = getaddrinfo(node, service, &native_hints, &native);
  if (code != 0) {
    const int error = LookUpError(code);
    Checkpoint();
    return error;
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(native, freeaddrinfo);
  try {
    list = MakeList(native);
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  return list ? 0 : ::ws2::kErrorHostNotFound;
}

// What a lookup by name hands out: the latest one of each thread.
struct HostRecord {
  HostEnt entry;
  std::string name;
  std::vector<std::array<CHAR, sizeof(in_addr)>> addresses;
  std::vector<LPSTR> address_list;
  LPSTR aliases[1];
};

void Fill(HostRecord& record, LPCSTR name, const AddrInfo* list) {
  record.name = name;
  record.addresses.clear();
  for (; list != nullptr; list = list->next) {
    const auto* source = reinterpret_cast<const ::ws2::SockAddrIn*>(list->address);
    std::memcpy(record.addresses.emplace_back().data(), source->address, sizeof(source->address));
  }
  record.address_list.clear();
  for (auto& address : record.addresses) record.address_list.push_back(address.data());
  record.address_list.push_back(nullptr);
  record.aliases[0] = nullptr;
  record.entry = {record.name.data(), record.aliases, ::ws2::kFamilyInet, sizeof(in_addr),
                  record.address_list.data()};
}

// The platform's record of a service.
struct ServiceRecord {
  LPSTR name;
  LPSTR* aliases;
  LPSTR protocol;
  short port;  // network byte order
};

}  // namespace

int LookUp(LPCSTR node, LPCSTR service, const AddrInfo* hints, AddrInfo** result) noexcept {
  AddressList list;
  const int error = result == nullptr ? ::ws2::kErrorFault : Resolve(node, service, hints, list);
  if (result != nullptr) *result = list.release();
  if (error != 0) SetLastSocketError(error);
  return error;
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
  int error = ToNative(address, length, native);
  if (error == 0) {
    Checkpoint();
    // Services go by number: their names are of no use to callers.
    const int native_flags =
        NI_NUMERICSERV | ((flags & ::ws2::kNiNumericHost) != 0 ? NI_NUMERICHOST : 0);
    const int code = getnameinfo(native.get(), native.length, host, host_capacity, service,
                                 service_capacity, native_flags);
    if (code != 0) error = LookUpError(code);
  }
  if (error != 0) SetLastSocketError(error);
  return error;
}

HostEnt* HostByName(LPCSTR name) noexcept {
  thread_local HostRecord record;
  AddrInfo hints{};
  hints.family = ::ws2::kFamilyInet;
  AddressList list;
  int error = name != nullptr ? Resolve(name, nullptr, &hints, list) : ::ws2::kErrorFault;
  if (error == 0) {
    try {
      Fill(record, name, list.get());
      return &record.entry;
    } catch (const std::bad_alloc&) {
      error = ERROR_NOT_ENOUGH_MEMORY;
    }
  }
  SetLastSocketError(error);
  return nullptr;
}

int HostName(LPSTR name, int capacity) noexcept {
  if (name == nullptr || capacity <= 0) return FailWith(::ws2::kErrorFault);
  if (gethostname(name, static_cast<size_t>(capacity)) != 0) return FailWith(::ws2::kErrorFault);
  name[capacity - 1] = '\0';
  return 0;
}

LPVOID ServiceByName(LPCSTR name, LPCSTR protocol) noexcept {
  constexpr size_t kTextCapacity = 1024;
  thread_local char text[kTextCapacity];
  thread_local ServiceRecord record;
  servent native;
  servent* found = nullptr;
  if (name == nullptr ||
      getservbyname_r(name, protocol, &native, text, sizeof(text), &found) != 0 ||
      found == nullptr) {
    FailWith(::ws2::kErrorNoData);
    return nullptr;
  }
  record = {native.s_name, native.s_aliases, native.s_proto, static_cast<short>(native.s_port)};
  return &record;
}

}  // namespace platform::ws2_32
