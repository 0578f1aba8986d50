#include "bench_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace bench {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

bool SendAll(int socket, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = send(socket, data, size, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool Answer(int socket, std::size_t size) {
  static const std::vector<char> block(kBlock, 'x');
  std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
      std::to_string(size) + "\r\n\r\n";
  const std::size_t first = std::min<std::size_t>(size, 4096);
  head.append(block.data(), first);
  if (!SendAll(socket, head.data(), head.size())) return false;
  for (std::size_t left = size - first; left > 0;) {
    const std::size_t piece = std::min(left, kBlock);
    if (!SendAll(socket, block.data(), piece)) return false;
    left -= piece;
  }
  return true;
}

void Serve(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  std::string request;
  char buffer[16384];
  while (true) {
    const std::size_t end = request.find("\r\n\r\n");
    if (end == std::string::npos) {
      const ssize_t count = recv(socket, buffer, sizeof(buffer), 0);
      if (count <= 0) break;
      request.append(buffer, static_cast<std::size_t>(count));
      continue;
    }
    const std::size_t size = std::strtoull(request.c_str() + request.find('/') + 1, nullptr, 10);
    request.erase(0, end + 4);
    if (!Answer(socket, size)) break;
  }
  close(socket);
}

}  // namespace

BenchServer::BenchServer() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      listen(listener, SOMAXCONN) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no loopback port");
  }
  port_ = ntohs(address.sin_port);
  pid_ = fork();
  if (pid_ != 0) {
    close(listener);
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  while (true) {
    const int socket = accept(listener, nullptr, nullptr);
    if (socket < 0) _exit(1);
    std::thread(Serve, socket).detach();
  }
}

BenchServer::~BenchServer() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

}  // namespace bench
