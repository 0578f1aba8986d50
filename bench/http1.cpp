// HTTP/1.1 over loopback: this library beside libcurl and a bare loop, in turns.
//
//   bench_http1 [--tls] [--spread] [CASE...]    measures all cases or some, in clear also the
//   memory
//                                               of idle sessions
//   bench_http1 [--tls] only CLIENT CASE        runs one case once, for a profiler or strace to
//                                               watch; the thread is then called "measured", the
//                                               server "bench_server"
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
#include "endpoint.h"
#include "identity.h"
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
    for (const char* file : {"/download", "/upload", "/authority.pem"}) {
      unlink((name_ + file).c_str());
    }
    rmdir(name_.c_str());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

struct Contenders {
  explicit Contenders(const Endpoint& endpoint)
      : library(endpoint),
        curl_default(endpoint, CurlForm::kDefault),
        curl_tuned(endpoint, CurlForm::kTuned),
        bare(endpoint) {}

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

// The servers of a run, and the cases that they are asked for.
class Site {
 public:
  Site(bool secure, const std::string& folder)
      : authority_(secure ? folder + "/authority.pem" : ""),
        context_(secure ? NewServerContext(authority_) : nullptr),
        full_context_(secure ? WithoutResumption(context_.get()) : nullptr),
        server_(context_.get()),
        full_server_(full_context_.get()),
        cases_(secure ? SecureCases(folder) : PlainCases(folder)) {
    if (secure) setenv("SSL_CERT_FILE", authority_.c_str(), 1);
  }

  const std::vector<Case>& cases() const { return cases_; }
  Endpoint endpoint() const { return {server_.port(), authority_}; }
  Endpoint EndpointOf(const Case& what) const {
    return {what.full_handshake ? full_server_.port() : server_.port(), authority_};
  }

 private:
  std::string authority_;
  ContextPtr context_;
  ContextPtr full_context_;
  Server server_;
  Server full_server_;
  std::vector<Case> cases_;
};

void MeasureAll(const Site& site, const std::set<std::string>& chosen) {
  const auto is_chosen = [&](const char* key) { return chosen.empty() || chosen.count(key) > 0; };
  if (!site.endpoint().secure() && is_chosen(kIdleKey)) PrintIdleMemory(site.endpoint());
  std::vector<Row> rows;
  for (const Case& what : site.cases()) {
    if (!is_chosen(what.key)) continue;
    std::fprintf(stderr, "%s ...\n", what.title);
    Contenders contenders(site.EndpointOf(what));
    rows.push_back(Compare(what, contenders));
  }
  if (rows.empty()) return;
  std::printf("\n");
  PrintTimes(rows);
  std::printf("\n");
  PrintRatios(rows);
}

std::unique_ptr<Client> NewClient(const std::string& name, const Endpoint& endpoint) {
  if (name == "library") return std::make_unique<LibraryClient>(endpoint);
  if (name == "default") return std::make_unique<CurlClient>(endpoint, CurlForm::kDefault);
  if (name == "tuned") return std::make_unique<CurlClient>(endpoint, CurlForm::kTuned);
  if (name == "bare") return std::make_unique<BareClient>(endpoint);
  return nullptr;
}

int RunOne(const Site& site, const std::string& who, const std::string& key) {
  for (const Case& what : site.cases()) {
    if (key != what.key) continue;
    const std::unique_ptr<Client> client = NewClient(who, site.EndpointOf(what));
    if (!client) break;
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

bool TakeFlag(std::vector<std::string>& arguments, const char* flag) {
  return std::erase(arguments, flag) > 0;
}

int Run(std::vector<std::string> arguments) {
  const bool secure = TakeFlag(arguments, "--tls");
  if (!TakeFlag(arguments, "--spread")) StayOnOneProcessor();
  const Folder folder;
  const Site site(secure, folder.name());
  if (!HttpInitialize(nullptr, 0)) throw std::runtime_error("HttpInitialize");
  curl_global_init(CURL_GLOBAL_DEFAULT);
  int result = 0;
  if (arguments.size() == 3 && arguments.front() == "only") {
    result = RunOne(site, arguments[1], arguments[2]);
  } else {
    MeasureAll(site, {arguments.begin(), arguments.end()});
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
