#include "idle_memory.h"

#include <malloc.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

#include "curl_client.h"
#include "library_client.h"
#include "measure.h"
#include "workload.h"

namespace bench {
namespace {

// What the first sessions allocate for the whole process does not count.
constexpr int kWarmUp = 10;

void Report(const char* what, const std::function<void()>& open_one) {
  for (int i = 0; i < kWarmUp; ++i) open_one();
  const long before = ResidentKib();
  for (int i = 0; i < kIdleSessions; ++i) open_one();
  std::printf("| %s | %.1f |\n", what, static_cast<double>(ResidentKib() - before) / kIdleSessions);
}

// A request that leaves something behind shows here.
void ReportHeapGrowth(LibrarySession& session) {
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < kIdleSessions; ++i) session.Get(kSmallResource, kSmallBody);
  std::printf("\nHeap in use after %d more GETs of one session: %+ld bytes\n", kIdleSessions,
              static_cast<long>(mallinfo2().uordblks) - static_cast<long>(before));
}

}  // namespace

void PrintIdleMemory(const Endpoint& endpoint) {
  std::vector<std::unique_ptr<LibrarySession>> sessions;
  std::vector<std::unique_ptr<CurlClient>> handles;
  std::printf("| idle after a GET, connection kept | KiB each |\n|---|---|\n");
  Report("session of the library", [&] {
    sessions.push_back(std::make_unique<LibrarySession>(endpoint, HTTP_OPTION_KEEPALIVE));
    sessions.back()->Get(kSmallResource, kSmallBody);
  });
  Report("libcurl, default", [&] {
    handles.push_back(std::make_unique<CurlClient>(endpoint, CurlForm::kDefault));
    handles.back()->Get(kSmallResource, kSmallBody);
  });
  ReportHeapGrowth(*sessions.front());
}

}  // namespace bench
