// The server of the measurements: a process of its own, so that its CPU time does not count.
#ifndef BENCH_SERVER_H_
#define BENCH_SERVER_H_

#include <openssl/ssl.h>
#include <sys/types.h>

#include <cstdint>

namespace bench {

// Answers the resources of workload.h on kept connections, one request at a time. The process ends
// with the object, and with the one that made it.
class Server {
 public:
  // Over TLS where there is a context.
  explicit Server(SSL_CTX* context);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  uint16_t port() const { return port_; }

 private:
  pid_t pid_ = -1;
  uint16_t port_ = 0;
};

}  // namespace bench

#endif  // BENCH_SERVER_H_
