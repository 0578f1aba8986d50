// The server of the measurements: a process of its own, so that its CPU time does not count.
#ifndef BENCH_BENCH_SERVER_H_
#define BENCH_BENCH_SERVER_H_

#include <sys/types.h>

#include <cstdint>

namespace bench {

// Answers every request on a kept connection: "GET /N" gets a body of N bytes.
class BenchServer {
 public:
  BenchServer();
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  uint16_t port() const { return port_; }

 private:
  pid_t pid_ = -1;
  uint16_t port_ = 0;
};

}  // namespace bench

#endif  // BENCH_BENCH_SERVER_H_
