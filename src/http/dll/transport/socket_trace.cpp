#include "transport/socket_trace.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <new>
#include <optional>
#include <string>

#include "transport/socket_binding.h"
#include "transport/trace.h"

namespace qv::trace {
namespace {

constexpr int kHostNameCapacity = 256;
constexpr int kLevelSocket = ws2::kLevelSocket;

long long Number(ws2::Socket socket) { return static_cast<long long>(socket); }

unsigned long long Address(const void* pointer) {
  return static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pointer));
}

using AddressText = std::array<char, 80>;

// "[address]:port" of a socket address.
AddressText AddressTextOf(const SocketAddress& address) {
  AddressText shown{"[NULL]"};
  const ws2::SockAddr* record = address.get();
  if (record == nullptr) return shown;
  const void* bytes = nullptr;
  WORD port = 0;
  if (record->family == ws2::kFamilyInet6) {
    const auto* ipv6 = reinterpret_cast<const ws2::SockAddrIn6*>(record);
    bytes = ipv6->address;
    port = ipv6->port;
  } else {
    const auto* ipv4 = reinterpret_cast<const ws2::SockAddrIn*>(record);
    bytes = ipv4->address;
    port = ipv4->port;
  }
  const unsigned host_port = static_cast<unsigned>(port >> 8 | (port & 0xFF) << 8);
  const std::optional<std::string> text = AddressToText(record->family, bytes);
  std::snprintf(shown.data(), shown.size(), "[%s]:%u", text ? text->c_str() : "NULL", host_port);
  return shown;
}

// The same; the thread's socket error stays, and a lack of memory costs the address only.
AddressText Shown(const SocketAddress& address) noexcept {
  const int socket_error = LastSocketError();
  AddressText shown{"[NULL]"};
  try {
    shown = AddressTextOf(address);
  } catch (const std::bad_alloc&) {
    shown = {"[?]"};
  }
  RestoreSocketError(socket_error);
  return shown;
}

}  // namespace

void TraceClose(ws2::Socket socket, int result) {
  WriteCall(result == ws2::kSocketError, "closesocket(%lld) returned %d", Number(socket), result);
}

void TraceConnect(ws2::Socket socket, const SocketAddress& address, int result) {
  WriteCall(result == ws2::kSocketError, "connect(%lld, 0x%llx %s, %d) returned %d", Number(socket),
            Address(address.get()), Shown(address).data(), address.length(), result);
}

void TraceCreate(int family, int protocol, ws2::Socket result) {
  WriteCall(result == ws2::kInvalidSocket, "socket(%d, %d, %d) returned %lld", family,
            ws2::kTypeStream, protocol, Number(result));
}

void TraceControl(ws2::Socket socket, LONG command, const ULONG* argument, int result) {
  WriteCall(result == ws2::kSocketError, "ioctlsocket(%lld, 0x%x, 0x%llx) returned %d",
            Number(socket), static_cast<unsigned>(command), Address(argument), result);
}

void TracePendingError(ws2::Socket socket, const int* value, const int* length, int result) {
  WriteCall(result == ws2::kSocketError, "getsockopt(%lld, %d, %d, 0x%llx, 0x%llx) returned %d",
            Number(socket), kLevelSocket, ws2::kOptionError, Address(value), Address(length),
            result);
}

void TraceSelect(const ws2::FdSet* read, const ws2::FdSet* write, const ws2::FdSet* except,
                 const ws2::TimeVal* timeout, int result) {
  WriteCall(result == ws2::kSocketError, "select(%d, 0x%llx, 0x%llx, 0x%llx, 0x%llx) returned %d",
            static_cast<int>(ws2::kSetSize), Address(read), Address(write), Address(except),
            Address(timeout), result);
}

void TraceLookUp(const char* name, const ws2::AddrInfo* hints, ws2::AddrInfo** addresses,
                 int result) {
  WriteCall(result != 0, "getaddrinfo(0x%llx [%s], 0x%llx [%s], 0x%llx, 0x%llx) returned %d",
            Address(name), name != nullptr ? name : "NULL", Address(nullptr), "NULL",
            Address(hints), Address(addresses), result);
}

void TraceHostName(const char* name, int result) {
  if (result == 0) {
    WriteCall(false, "gethostname(0x%llx [%s], %d) returned %d", Address(name), name,
              kHostNameCapacity, result);
  } else {
    WriteCall(true, "gethostname(0x%llx, %d) returned %d", Address(name), kHostNameCapacity,
              result);
  }
}

void TraceNotifications(ws2::Socket socket, HWND window, UINT message, LONG events, int result) {
  WriteCall(result == ws2::kSocketError, "WSAAsyncSelect(%lld, 0x%llx, 0x%x, 0x%x) returned %d",
            Number(socket), Address(window), message, static_cast<unsigned>(events), result);
}

void TraceReceive(ws2::Socket socket, const void* bytes, int capacity, int result) {
  WriteCall(result == ws2::kSocketError, "recv(%lld, 0x%llx, %d, %d) returned %d", Number(socket),
            Address(bytes), capacity, 0, result);
  if (result > 0) {
    WriteData({static_cast<const char*>(bytes), static_cast<std::size_t>(result)});
  }
}

void TraceSend(ws2::Socket socket, const void* bytes, int count, int result) {
  WriteCall(result == ws2::kSocketError, "send(%lld, 0x%llx, %d, %d) returned %d", Number(socket),
            Address(bytes), count, 0, result);
  if (result > 0) {
    WriteData({static_cast<const char*>(bytes), static_cast<std::size_t>(result)});
  }
}

}  // namespace qv::trace
