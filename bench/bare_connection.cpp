#include "bare_connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {

BareConnection::BareConnection(uint16_t port, SSL_CTX* context, SSL_SESSION* resumed)
    : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("bare: connect");
  }
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  if (context != nullptr) StartTls(context, resumed);
}

BareConnection::~BareConnection() {
  if (tls_) SSL_shutdown(tls_.get());
  close(socket_);
}

void BareConnection::StartTls(SSL_CTX* context, SSL_SESSION* resumed) {
  tls_.reset(SSL_new(context));
  SSL_set_fd(tls_.get(), socket_);
  X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls_.get()), "127.0.0.1");
  if (resumed != nullptr) SSL_set_session(tls_.get(), resumed);
  if (SSL_connect(tls_.get()) != 1) throw std::runtime_error("bare: handshake");
}

void BareConnection::Send(std::string_view bytes) {
  if (tls_) {
    std::size_t sent = 0;
    if (SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &sent) != 1) {
      throw std::runtime_error("bare: send");
    }
    return;
  }
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) throw std::runtime_error("bare: send");
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::size_t BareConnection::Receive(char* buffer, std::size_t size) {
  if (tls_) {
    std::size_t count = 0;
    if (SSL_read_ex(tls_.get(), buffer, size, &count) != 1) {
      throw std::runtime_error("bare: receive");
    }
    return count;
  }
  const ssize_t count = recv(socket_, buffer, size, 0);
  if (count <= 0) throw std::runtime_error("bare: receive");
  return static_cast<std::size_t>(count);
}

std::string_view BareConnection::ReadHeader() {
  constexpr std::string_view kEndOfHeader = "\r\n\r\n";
  std::size_t have = 0;
  const void* end = nullptr;
  while (end == nullptr) {
    have += Receive(buffer_ + have, sizeof(buffer_) - have);
    end = memmem(buffer_, have, kEndOfHeader.data(), kEndOfHeader.size());
  }
  const std::size_t length =
      static_cast<std::size_t>(static_cast<const char*>(end) - buffer_) + kEndOfHeader.size();
  header_ = {buffer_, length};
  return {buffer_ + length, have - length};
}

std::string_view BareConnection::StartGet(std::string_view resource) {
  std::string request = "GET ";
  request.append(resource).append(" HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Keep-Alive\r\n\r\n");
  Send(request);
  return ReadHeader();
}

void BareConnection::TakeHeader() { ReadHeader(); }

std::size_t BareConnection::content_length() const {
  constexpr std::string_view kField = "\r\nContent-Length: ";
  const void* field = memmem(header_.data(), header_.size(), kField.data(), kField.size());
  if (field == nullptr) throw std::runtime_error("bare: no length");
  return std::strtoull(static_cast<const char*>(field) + kField.size(), nullptr, 10);
}

}  // namespace bench
