// One connection of the server, in clear or over TLS.
#ifndef BENCH_SERVER_STREAM_H_
#define BENCH_SERVER_STREAM_H_

#include <openssl/ssl.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace bench {

class ServerStream {
 public:
  // Takes a connected socket; over TLS where there is a context.
  ServerStream(int socket, SSL_CTX* context);
  ~ServerStream();
  ServerStream(const ServerStream&) = delete;
  ServerStream& operator=(const ServerStream&) = delete;

  // Makes the handshake, over TLS; whether the connection can be used.
  bool Accept();

  bool SendAll(std::string_view bytes);
  // The number of bytes, 0 at the end or on failure.
  std::size_t Receive(char* buffer, std::size_t size);
  // Takes at most that many bytes and forgets them, in clear without a copy; 0 at the end.
  std::size_t Drop(std::size_t size);

 private:
  struct FreeTls {
    void operator()(SSL* tls) const { SSL_free(tls); }
  };

  int socket_;
  std::unique_ptr<SSL, FreeTls> tls_;
};

}  // namespace bench

#endif  // BENCH_SERVER_STREAM_H_
