// HTTP/1.1 in clear over loopback: this library beside libcurl and a bare-socket loop, in turns.
//
//   bench_http1 [--spread] [CASE...]   measures all cases or some, and the memory of idle sessions
//   bench_http1 only CLIENT CASE       runs one case once, for a profiler or strace to watch; the
//                                      thread is then called "measured", the server "bench_server"
//
// Client and server share one processor, unless --spread leaves that to the system. Files are
// written into the folder that BENCH_FOLDER names, else into the current one. With BENCH_ROUNDS set
// every single time is shown, too.
#include <sched.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "bare_client.h"
#include "cases.h"
#include "curl_client.h"
#include "idle_memory.h"
#include "library_client.h"
#include "server.h"
#include "table.h"
#include "workload.h"

namespace bench {
namespace {

constexpr int kRounds = 5;
constexpr char kIdleKey[] = "idle";

class Folder {
 public:
  Folder() {
    const char* parent = std::getenv("BENCH_FOLDER");
    name_ = std::string(parent != nullptr ? parent : ".") + "/bench-XXXXXX";
    if (mkdtemp(name_.data()) == nullptr) throw std::runtime_error("no folder for the files");
  }
  ~Folder() {
    for (const char* file : {"/download", "/upload"}) unlink((name_ + file).c_str());
    rmdir(name_.c_str());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

struct Contenders {
  explicit Contenders(uint16_t port)
      : library(port),
        curl_default(port, CurlForm::kDefault),
        curl_tuned(port, CurlForm::kTuned),
        bare(port) {}

  LibraryClient library;
  CurlClient curl_default;
  CurlClient curl_tuned;
  BareClient bare;
};

// Each contender once unmeasured, and then all of them in turns, starting with another each round.
Row Compare(const Case& what, Contenders& contenders) {
  Client* const clients[] = {&contenders.library, &contenders.curl_default, &contenders.curl_tuned,
                             &contenders.bare};
  constexpr int kCount = 4;
  std::vector<Cost> costs[kCount];
  const bool show_rounds = std::getenv("BENCH_ROUNDS") != nullptr;
  what.prepare();
  for (int round = -1; round < kRounds; ++round) {
    for (int turn = 0; turn < kCount; ++turn) {
      const int who = (turn + round + 1) % kCount;
      what.before();
      const Cost cost = Measure([&] { what.work(*clients[who]); });
      if (round >= 0) costs[who].push_back(cost);
      if (show_rounds) {
        std::fprintf(stderr, "  round %d, client %d: wall %.3f s, CPU %.3f s\n", round + 1, who,
                     cost.wall, cost.cpu);
      }
    }
  }
  return {&what, Median(costs[0]), Median(costs[1]), Median(costs[2]), Median(costs[3])};
}

void MeasureAll(uint16_t port, const std::vector<Case>& cases,
                const std::set<std::string>& chosen) {
  const auto is_chosen = [&](const char* key) { return chosen.empty() || chosen.count(key) > 0; };
  if (is_chosen(kIdleKey)) PrintIdleMemory(port);
  Contenders contenders(port);
  std::vector<Row> rows;
  for (const Case& what : cases) {
    if (!is_chosen(what.key)) continue;
    std::fprintf(stderr, "%s ...\n", what.title);
    rows.push_back(Compare(what, contenders));
  }
  if (rows.empty()) return;
  std::printf("\n");
  PrintTimes(rows);
  std::printf("\n");
  PrintRatios(rows);
}

int RunOne(uint16_t port, const std::vector<Case>& cases, const std::string& who,
           const std::string& key) {
  std::unique_ptr<Client> client;
  if (who == "library") client = std::make_unique<LibraryClient>(port);
  if (who == "default") client = std::make_unique<CurlClient>(port, CurlForm::kDefault);
  if (who == "tuned") client = std::make_unique<CurlClient>(port, CurlForm::kTuned);
  if (who == "bare") client = std::make_unique<BareClient>(port);
  for (const Case& what : cases) {
    if (!client || key != what.key) continue;
    what.prepare();
    prctl(PR_SET_NAME, "measured");
    what.work(*client);
    return 0;
  }
  std::fprintf(stderr, "no such client or case\n");
  return 2;
}

// Two processors make the times depend on how long each of them needs to wake the other, on virtual
// machines several times as long as the work between. On one, what is measured is the work.
void StayOnOneProcessor() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof(allowed), &allowed);
  int last = CPU_SETSIZE - 1;
  while (last > 0 && !CPU_ISSET(last, &allowed)) --last;
  CPU_ZERO(&allowed);
  CPU_SET(last, &allowed);
  sched_setaffinity(0, sizeof(allowed), &allowed);
}

int Run(std::vector<std::string> arguments) {
  const bool spread = !arguments.empty() && arguments.front() == "--spread";
  if (spread) {
    arguments.erase(arguments.begin());
  } else {
    StayOnOneProcessor();
  }
  const Server server;
  if (!HttpInitialize(nullptr, 0)) throw std::runtime_error("HttpInitialize");
  curl_global_init(CURL_GLOBAL_DEFAULT);
  const Folder folder;
  const std::vector<Case> cases = AllCases(folder.name());
  int result = 0;
  if (arguments.size() == 3 && arguments.front() == "only") {
    result = RunOne(server.port(), cases, arguments[1], arguments[2]);
  } else {
    MeasureAll(server.port(), cases, {arguments.begin(), arguments.end()});
  }
  curl_global_cleanup();
  HttpUninitialize();
  return result;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  try {
    return bench::Run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
