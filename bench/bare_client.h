// The limit: a loop over a bare socket that does no more than the exchange needs.
#ifndef BENCH_BARE_CLIENT_H_
#define BENCH_BARE_CLIENT_H_

#include <cstddef>
#include <cstdint>
#include <memory>

namespace bench {

class BareClient {
 public:
  explicit BareClient(uint16_t port);
  ~BareClient();
  BareClient(const BareClient&) = delete;
  BareClient& operator=(const BareClient&) = delete;

  // Fetches "/size" into memory of its own and drops it.
  void Get(std::size_t size);

 private:
  int socket_;
};

}  // namespace bench

#endif  // BENCH_BARE_CLIENT_H_
