#include "server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "server_content.h"
#include "server_stream.h"
#include "workload.h"

namespace bench {
namespace {

constexpr std::size_t kBlock = kMebi;
constexpr std::size_t kFirstPiece = 4096;  // of a body, sent with the header
constexpr std::string_view kEndOfHeader = "\r\n\r\n";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool SendBytes(ServerStream& stream, std::size_t size, std::string_view more_fields) {
  static const std::vector<char> block(kBlock, 'x');
  std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
      std::to_string(size) + "\r\n";
  head.append(more_fields).append("\r\n");
  const std::size_t first = std::min(size, kFirstPiece);
  head.append(block.data(), first);
  if (!stream.SendAll(head)) return false;
  for (std::size_t left = size - first; left > 0;) {
    const std::size_t piece = std::min(left, kBlock);
    if (!stream.SendAll({block.data(), piece})) return false;
    left -= piece;
  }
  return true;
}

// Takes the body of a request without copying it; `here` bytes of it have come with the header.
bool TakeUpload(ServerStream& stream, std::string_view header, std::size_t here) {
  constexpr std::string_view kLength = "\r\nContent-Length: ";
  const std::size_t field = header.find(kLength);
  if (field == header.npos) return false;
  const std::size_t size = std::strtoull(header.data() + field + kLength.size(), nullptr, 10);
  if (header.find("\r\nExpect:") != header.npos &&
      !stream.SendAll("HTTP/1.1 100 Continue\r\n\r\n")) {
    return false;
  }
  for (std::size_t have = here; have < size;) {
    const std::size_t count = stream.Drop(size - have);
    if (count == 0) return false;
    have += count;
  }
  return stream.SendAll("HTTP/1.1 204 No Content\r\n\r\n");
}

// Answers one request; false when the connection is at its end.
bool ServeOne(ServerStream& stream) {
  char buffer[16384];
  std::size_t have = 0;
  std::size_t end = std::string_view::npos;
  while (end == std::string_view::npos) {
    const std::size_t count = stream.Receive(buffer + have, sizeof(buffer) - have);
    if (count == 0) return false;
    have += count;
    end = std::string_view(buffer, have).find(kEndOfHeader);
  }
  const std::string_view header(buffer, end + kEndOfHeader.size());
  const std::string_view target = header.substr(header.find(' ') + 1);
  const auto number = [&] {
    return std::strtoull(target.data() + target.find('/', 1) + 1, nullptr, 10);
  };
  if (StartsWith(target, "/bytes/")) return SendBytes(stream, number(), "");
  if (StartsWith(target, kChunkedResource)) {
    static const std::string response = ChunkedResponse();
    return stream.SendAll(response);
  }
  if (StartsWith(target, kEncodedResource)) {
    static const std::string response = EncodedResponse();
    return stream.SendAll(response);
  }
  if (StartsWith(target, kUploadResource)) return TakeUpload(stream, header, have - header.size());
  SendBytes(stream, number(), "Connection: close\r\n");
  return false;
}

// `stream` is NULL for the listener.
void Watch(int poll, int socket, ServerStream* stream) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.ptr = stream;
  epoll_ctl(poll, EPOLL_CTL_ADD, socket, &event);
}

[[noreturn]] void Serve(int listener, SSL_CTX* context) {
  const int poll = epoll_create1(EPOLL_CLOEXEC);
  Watch(poll, listener, nullptr);
  while (true) {
    epoll_event event{};
    if (epoll_wait(poll, &event, 1, -1) != 1) continue;
    if (auto* const stream = static_cast<ServerStream*>(event.data.ptr); stream != nullptr) {
      if (!ServeOne(*stream)) delete stream;  // the system watches what is open
      continue;
    }
    const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) _exit(1);
    const int on = 1;
    setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    auto stream = std::make_unique<ServerStream>(accepted, context);
    if (stream->Accept()) Watch(poll, accepted, stream.release());
  }
}

int Listen(uint16_t& port) {
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
  port = ntohs(address.sin_port);
  return listener;
}

}  // namespace

Server::Server(SSL_CTX* context) {
  const int listener = Listen(port_);
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "bench_server");
    try {
      signal(SIGPIPE, SIG_IGN);
      Serve(listener, context);
    } catch (const std::exception&) {
      _exit(1);
    }
  }
  close(listener);
  if (pid_ < 0) throw std::runtime_error("cannot start the server");
}

Server::~Server() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

}  // namespace bench
