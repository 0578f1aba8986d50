#include "server_stream.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "workload.h"

namespace bench {

ServerStream::ServerStream(int socket, SSL_CTX* context) : socket_(socket) {
  if (context == nullptr) return;
  tls_.reset(SSL_new(context));
  if (tls_) SSL_set_fd(tls_.get(), socket);
}

ServerStream::~ServerStream() {
  if (tls_) SSL_shutdown(tls_.get());
  close(socket_);
}

bool ServerStream::Accept() { return !tls_ || SSL_accept(tls_.get()) == 1; }

bool ServerStream::SendAll(std::string_view bytes) {
  if (tls_) {
    std::size_t sent = 0;
    return bytes.empty() || SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &sent) == 1;
  }
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::size_t ServerStream::Receive(char* buffer, std::size_t size) {
  if (tls_) {
    std::size_t count = 0;
    return SSL_read_ex(tls_.get(), buffer, size, &count) == 1 ? count : 0;
  }
  return static_cast<std::size_t>(std::max<ssize_t>(recv(socket_, buffer, size, 0), 0));
}

std::size_t ServerStream::Drop(std::size_t size) {
  size = std::min(size, kMebi);
  if (tls_) {
    static std::vector<char> scratch(kMebi);
    return Receive(scratch.data(), size);
  }
  return static_cast<std::size_t>(std::max<ssize_t>(recv(socket_, nullptr, size, MSG_TRUNC), 0));
}

}  // namespace bench
