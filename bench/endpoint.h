// Where the clients connect to.
#ifndef BENCH_ENDPOINT_H_
#define BENCH_ENDPOINT_H_

#include <cstdint>
#include <string>

namespace bench {

// A port of the loopback address.
struct Endpoint {
  uint16_t port = 0;
  std::string authority;  // PEM file with the certificate to trust; empty: in clear

  bool secure() const { return !authority.empty(); }
};

}  // namespace bench

#endif  // BENCH_ENDPOINT_H_
