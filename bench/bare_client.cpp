#include "bare_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {
namespace {

constexpr std::size_t kReceive = std::size_t{1} << 20;

}  // namespace

BareClient::BareClient(uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("cannot connect");
  }
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

BareClient::~BareClient() { close(socket_); }

void BareClient::Get(std::size_t size) {
  const std::string request = "GET /" + std::to_string(size) +
                              " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Keep-Alive\r\n\r\n";
  if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) < 0)
    throw std::runtime_error("send");
  char head[16384];
  std::size_t got = 0;
  char* body = nullptr;
  while (body == nullptr) {
    const ssize_t count = recv(socket_, head + got, sizeof(head) - got, 0);
    if (count <= 0) throw std::runtime_error("recv");
    got += static_cast<std::size_t>(count);
    body = static_cast<char*>(memmem(head, got, "\r\n\r\n", 4));
  }
  body += 4;
  const std::size_t first = got - static_cast<std::size_t>(body - head);
  const std::unique_ptr<char, void (*)(void*)> block(static_cast<char*>(std::malloc(size + 1)),
                                                     std::free);
  std::memcpy(block.get(), body, first);
  for (std::size_t have = first; have < size;) {
    const ssize_t count = recv(socket_, block.get() + have, std::min(size - have, kReceive), 0);
    if (count <= 0) throw std::runtime_error("recv");
    have += static_cast<std::size_t>(count);
  }
}

}  // namespace bench
