#include "support/loopback.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace test {
namespace {

struct Address {
  sockaddr_storage storage{};
  socklen_t length = 0;

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

Address LoopbackAddress(Family family, std::uint16_t port) {
  Address address;
  if (family == Family::kIpv6) {
    auto* in6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    in6->sin6_family = AF_INET6;
    in6->sin6_addr = in6addr_loopback;
    in6->sin6_port = htons(port);
    address.length = sizeof(*in6);
  } else {
    auto* in = reinterpret_cast<sockaddr_in*>(&address.storage);
    in->sin_family = AF_INET;
    in->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    in->sin_port = htons(port);
    address.length = sizeof(*in);
  }
  return address;
}

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

UniqueFd NewSocket(Family family, int flags = 0) {
  const int domain = family == Family::kIpv6 ? AF_INET6 : AF_INET;
  UniqueFd socket(::socket(domain, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
  if (!socket.valid()) ThrowErrno("socket");
  return socket;
}

}  // namespace

UniqueFd BindLoopback(Family family) {
  UniqueFd socket = NewSocket(family);
  const Address address = LoopbackAddress(family, 0);
  if (bind(socket.get(), address.get(), address.length) != 0) ThrowErrno("bind");
  return socket;
}

std::uint16_t PortOf(const UniqueFd& socket) {
  sockaddr_storage storage{};
  socklen_t length = sizeof(storage);
  if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&storage), &length) != 0) {
    ThrowErrno("getsockname");
  }
  return ntohs(storage.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(storage).sin6_port
                                             : reinterpret_cast<sockaddr_in&>(storage).sin_port);
}

UniqueFd ConnectLoopback(std::uint16_t port, Family family) {
  UniqueFd socket = NewSocket(family);
  const Address address = LoopbackAddress(family, port);
  if (connect(socket.get(), address.get(), address.length) != 0) ThrowErrno("connect");
  return socket;
}

bool HasIpv6Loopback() {
  try {
    BindLoopback(Family::kIpv6);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

std::uint16_t FreePort() { return PortOf(BindLoopback()); }

SilentPort::SilentPort() : listener_(BindLoopback()) {
  if (listen(listener_.get(), 0) != 0) ThrowErrno("listen");
  const Address address = LoopbackAddress(Family::kIpv4, port());
  constexpr int kMostConnections = 64;
  constexpr int kUnansweredMilliseconds = 100;
  for (int i = 0; i < kMostConnections; ++i) {
    UniqueFd socket = NewSocket(Family::kIpv4, SOCK_NONBLOCK);
    if (connect(socket.get(), address.get(), address.length) != 0 && errno != EINPROGRESS) {
      ThrowErrno("connect");
    }
    pollfd connected{socket.get(), POLLOUT, 0};
    const bool answered = poll(&connected, 1, kUnansweredMilliseconds) != 0;
    waiting_.push_back(std::move(socket));
    if (!answered) return;
  }
  throw std::runtime_error("the queue of a listening socket does not fill");
}

}  // namespace test
