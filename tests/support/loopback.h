// Ports of the loopback interface in the states that a client can meet.
#ifndef SUPPORT_LOOPBACK_H_
#define SUPPORT_LOOPBACK_H_

#include <cstdint>
#include <vector>

#include "support/unique_fd.h"

namespace test {

enum class Family { kIpv4, kIpv6 };

// A stream socket bound to a free port of 127.0.0.1 or ::1. Throws std::system_error.
UniqueFd BindLoopback(Family family = Family::kIpv4);

// The port that a socket is bound to.
std::uint16_t PortOf(const UniqueFd& socket);

// A socket connected to a loopback port. Throws std::system_error.
UniqueFd ConnectLoopback(std::uint16_t port, Family family = Family::kIpv4);

// Whether this machine has an IPv6 loopback address.
bool HasIpv6Loopback();

// A port that was free a moment ago, for a server that insists on choosing its port itself.
// Somebody else can take it in between, so that the caller has to be ready to try again.
std::uint16_t FreePort();

// A port that refuses connections, and that nobody else gets, as long as the object lives.
class RefusingPort {
 public:
  RefusingPort() : socket_(BindLoopback()) {}
  std::uint16_t port() const { return PortOf(socket_); }

 private:
  UniqueFd socket_;
};

// A port that leaves connection attempts unanswered as long as the object lives.
class SilentPort {
 public:
  SilentPort();
  std::uint16_t port() const { return PortOf(listener_); }

 private:
  UniqueFd listener_;
  std::vector<UniqueFd> waiting_;  // fill the queue of connections that are not yet accepted
};

}  // namespace test

#endif  // SUPPORT_LOOPBACK_H_
