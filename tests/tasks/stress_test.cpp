// Many threads steer many tasks at random; many tasks in sequence leave nothing behind.
#include <array>
#include <fstream>
#include <random>

#include "support/web_server.h"
#include "tasks/task_fixture.h"

namespace test {
namespace {

constexpr int kThreads = 5;
constexpr int kSteps = 200;

// Sanitizers keep what is freed for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryIsFreed = false;
#else
constexpr bool kMemoryIsFreed = true;
#endif
constexpr int kInSequence = kMemoryIsFreed ? 10000 : 1000;

class TaskStressTest : public TaskTest {
 protected:
  // Answers at once, in drops, or with the beginning only, as the path says.
  static void Serve(Connection& connection) {
    const auto request = connection.ReadRequest();
    if (!request) return;
    if (FirstLineOf(*request).starts_with("GET /drops")) {
      connection.Send(Head("200 OK", {"Content-Length: 2000"}));
      connection.SendInPieces(Pattern(2000), 50, std::chrono::milliseconds(1));
    } else if (FirstLineOf(*request).starts_with("GET /stall")) {
      connection.Send(Head("200 OK", {"Content-Length: 2000"}) + "beginning");
    } else {
      connection.Send(Response("200 OK", {}, "body"));
    }
    connection.WaitForClose();
  }

  static long ResidentPages() {
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident;
  }

  const RawServer server_{Serve};
};

// Random numbers of 32 bits.
class Random {
 public:
  explicit Random(unsigned seed) : generator_(seed) {}
  DWORD operator()() { return static_cast<DWORD>(generator_()); }

 private:
  std::mt19937 generator_;
};

// What the threads share. A buffer belongs to one task at a time and is never used twice.
class Chaos {
 public:
  Chaos(const RawServer& server, HCLIENT shared) : server_(server), shared_(shared) {}

  bool IsOver() const { return finished_ == kThreads; }

  void Run(unsigned seed) {
    Random random(seed);
    std::vector<Download> downloads(kSteps);
    const HCLIENT own = HttpConnectA("127.0.0.1", server_.port(), 5, 0, 0, nullptr);
    for (Download& download : downloads) {
      Step(random, download, own);
      ChangeOwnSession(random, own);
    }
    HttpDisconnect(own);
    EndAll(downloads);
    ++finished_;
  }

 private:
  static void CALLBACK Watch(HCLIENT client, UINT, DWORD, DWORD_PTR) {
    HTTPTRANSFERSTATUSEX status;
    HttpGetTransferStatusEx(client, &status);
    HttpGetTaskHandle(HttpGetTaskId(client));
  }

  // Settings that a task of another thread may copy at this moment.
  static void ChangeOwnSession(Random& random, HCLIENT own) {
    const std::string user(random() % 40, 'u');
    HttpAuthenticateA(own, HTTP_AUTH_BASIC, user.c_str(), "secret");
    HttpEnableCompression(own, random() % 2 == 0);
    HttpSetTimeout(own, 5);
    HttpSetOption(own, HTTP_OPTION_KEEPALIVE, random() % 2 == 0);
  }

  DWORD AnyTask(Random& random) { return newest_ - std::min<DWORD>(newest_, random() % 20); }

  void Step(Random& random, Download& download, HCLIENT own) {
    static constexpr const char* kPaths[] = {"/quick", "/drops", "/drops", "/stall"};
    const DWORD task = AnyTask(random);
    HTTPTRANSFERSTATUSEX status;
    std::array<DWORD, 128> ids;
    switch (random() % 8) {
      case 0:
        HttpTaskSuspend(task);
        break;
      case 1:
        HttpTaskResume(task);
        break;
      case 2:
        HttpTaskAbort(task, random() % 20);
        break;
      case 3:
        HttpTaskWait(task, random() % 20, 0, nullptr, nullptr);
        break;
      case 4:
        HttpEnumTasks(ids.data(), static_cast<INT>(ids.size()), random() % 8);
        break;
      case 5:
        HttpGetTaskStatusEx(task, 0, &status);
        HttpGetTaskHandle(task);
        HttpGetTaskError(task);
        break;
      default: {
        const HCLIENT sessions[] = {own, shared_, INVALID_CLIENT};
        const HCLIENT session = sessions[random() % 3];
        const char* path = kPaths[random() % 4];
        const std::string resource = session == INVALID_CLIENT ? server_.url(path) : path;
        download.id = HttpAsyncGetDataA(session, resource.c_str(), download.buffer.data(),
                                        &download.length, 0, Watch, 0);
        if (download.id != 0) newest_ = download.id;
      }
    }
  }

  // No buffer may go before its task has ended.
  static void EndAll(const std::vector<Download>& downloads) {
    for (const Download& download : downloads) {
      if (download.id == 0) continue;
      EXPECT_TRUE(WaitUntil([&] {
        HttpTaskAbort(download.id, 100);
        const DWORD done = HttpTaskDone(download.id);
        return done == 1 || done == QV_ERROR_INVALID_TASK;
      }));
    }
  }

  const RawServer& server_;
  const HCLIENT shared_;
  std::atomic<int> finished_{0};
  std::atomic<DWORD> newest_{0};
};

TEST_F(TaskStressTest, ThreadsSteerTasksAtRandom) {
  const HCLIENT shared = Connect(server_.port());
  Chaos chaos(server_, shared);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kThreads; ++i) threads.emplace_back([&chaos, i] { chaos.Run(i + 1); });
  Random random(99);
  while (!chaos.IsOver()) {  // the owner of the session changes it meanwhile
    const std::string token(random() % 100 + 1, 't');
    HttpSetBearerTokenA(shared, token.c_str());
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(List(HTTP_TASK_DEFAULT), std::vector<DWORD>{});
}

// The server is another process, so that what grows here is the library's.
TEST_F(TaskStressTest, TasksInSequenceLeaveNothingBehind) {
  const WebServer server;
  server.AddFile("file", "body");
  const auto run = [&server](int count) {
    for (int i = 0; i < count; ++i) {
      Download download(16);
      Start(download, server.url("/file"));
      ASSERT_EQ(Finish(download.id), 0u);
      ASSERT_EQ(download.body(), "body");
    }
  };
  run(150);  // fills the table and what is kept for good
  const std::ptrdiff_t descriptors = OpenDescriptors();
  const std::ptrdiff_t threads = Threads();
  const long pages = ResidentPages();
  run(kInSequence);
  EXPECT_TRUE(WaitUntil([=] { return OpenDescriptors() <= descriptors; }));
  EXPECT_TRUE(WaitUntil([=] { return Threads() <= threads; }));
  constexpr long kSparePages = 256;  // 1 MiB
  if (kMemoryIsFreed) {
    EXPECT_LT(ResidentPages() - pages, kSparePages);
  }
}

}  // namespace
}  // namespace test
