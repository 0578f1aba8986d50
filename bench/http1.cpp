// HTTP/1.1 over loopback, beside a bare-socket loop in the same run: small GETs on one connection,
// and a large body into memory. With "syscalls" it only makes small GETs, for strace to count.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "bare_client.h"
#include "bench_server.h"
#include "measure.h"
#include "qvhttp12.h"

namespace {

constexpr std::size_t kSmallBody = 100;
constexpr std::size_t kLargeBody = std::size_t{1} << 30;
constexpr int kSmallCount = 20000;
constexpr int kRounds = 5;

class Session {
 public:
  explicit Session(uint16_t port)
      : handle_(HttpConnect("127.0.0.1", port, 0, HTTP_OPTION_KEEPALIVE, 0, nullptr)) {
    if (handle_ == INVALID_CLIENT) throw std::runtime_error("cannot connect");
  }
  ~Session() { HttpDisconnect(handle_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void Get(std::size_t size) {
    const std::string resource = "/" + std::to_string(size);
    HGLOBAL block = nullptr;
    DWORD length = 0;
    const int result = HttpGetData(handle_, resource.c_str(), &block, &length, 0);
    if (result != 200 || length != size) throw std::runtime_error("GET failed");
    GlobalFree(block);
  }

 private:
  HCLIENT handle_;
};

template <class Client>
void SmallGets(Client& client, int count) {
  for (int i = 0; i < count; ++i) client.Get(kSmallBody);
}

void Report(const char* what, const bench::Cost& ours, const bench::Cost& limit) {
  std::printf(
      "%-34s wall %7.3f s  cpu %7.3f s | bare socket wall %7.3f s  cpu %7.3f s | "
      "ratio wall %.2f  cpu %.2f\n",
      what, ours.wall, ours.cpu, limit.wall, limit.cpu, ours.wall / limit.wall,
      ours.cpu / limit.cpu);
}

template <class Work, class Limit>
void Compare(const char* what, Work&& work, Limit&& limit) {
  std::vector<bench::Cost> ours;
  std::vector<bench::Cost> bare;
  for (int round = 0; round < kRounds; ++round) {
    ours.push_back(bench::Measure(work));
    bare.push_back(bench::Measure(limit));
  }
  Report(what, bench::Median(ours), bench::Median(bare));
}

void ReportHeapGrowth(Session& session) {
  SmallGets(session, 1000);
  const std::size_t before = mallinfo2().uordblks;
  SmallGets(session, 1000);
  const std::size_t after = mallinfo2().uordblks;
  std::printf("heap in use after 1000 more GETs   %+ld bytes\n",
              static_cast<long>(after) - static_cast<long>(before));
}

int Run(bool only_small, uint16_t port) {
  Session session(port);
  if (only_small) {
    SmallGets(session, 1000);
    return 0;
  }
  bench::BareClient bare(port);
  SmallGets(session, 1000);
  SmallGets(bare, 1000);
  Compare(
      "20000 small GETs, one connection", [&] { SmallGets(session, kSmallCount); },
      [&] { SmallGets(bare, kSmallCount); });
  Compare(
      "1 GiB into memory", [&] { session.Get(kLargeBody); }, [&] { bare.Get(kLargeBody); });
  ReportHeapGrowth(session);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bool only_small = argc > 1 && std::strcmp(argv[1], "syscalls") == 0;
  try {
    bench::BenchServer server;
    if (!HttpInitialize(nullptr, 0)) return 1;
    const int result = Run(only_small, server.port());
    HttpUninitialize();
    return result;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
