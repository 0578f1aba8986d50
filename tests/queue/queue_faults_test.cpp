// Queues when something goes wrong, and callbacks that pull things away from under the worker.
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "queue/queue_fixture.h"
#include "support/loopback.h"
#include "support/messages.h"
#include "support/raw_server.h"

namespace {

constexpr DWORD kLongWaitMs = 60000;

std::size_t EntriesOf(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t Threads() { return EntriesOf("/proc/self/task"); }
std::size_t Descriptors() { return EntriesOf("/proc/self/fd"); }

// Files cannot grow beyond a size, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*const handler_)(int);
  rlimit before_{};
};

class QueueFaultsTest : public test::QueueTest {
 protected:
  // /stall: half a body and then nothing; /reset: half a body, and no server any more. All others:
  // the whole body.
  test::RawServer server_{[this](test::Connection& connection) {
    while (const auto request = connection.ReadRequest()) {
      const std::string answer = test::Response("200 OK", {}, body_);
      const bool stall = request->starts_with("GET /stall");
      const bool reset = request->starts_with("GET /reset");
      connection.Send(answer.substr(0, answer.size() - (stall || reset ? body_.size() / 2 : 0)));
      if (reset) std::thread([this] { server_.StopListening(); }).join();
      if (reset) return connection.Reset();
      if (stall) connection.WaitForClose();
    }
  }};
  const std::string body_ = test::Pattern(200000);
};

TEST_F(QueueFaultsTest, TheServerGoesAwayInTheMiddle) {
  const HQUEUE queue = Create();
  for (const char* path : {"/x", "/reset", "/x", "/x"}) Add(queue, "file", server_.url(path));
  ASSERT_TRUE(Start(queue));
  EXPECT_TRUE(HttpWaitForQueue(queue, kLongWaitMs, nullptr, nullptr));
  EXPECT_EQ(FileOf(queue, 1).dwFileState, HTTP_QUEUE_FILE_COMPLETE);
  for (DWORD id = 2; id <= 4; ++id) {
    EXPECT_EQ(FileOf(queue, id).dwFileState, HTTP_QUEUE_FILE_FAILED) << id;
    EXPECT_EQ(FileOf(queue, id).dwError,
              id == 2 ? QV_ERROR_CONNECTION_RESET : QV_ERROR_CONNECTION_REFUSED);
    EXPECT_EQ(FileOf(queue, id).qwBytesCopied, 0u);
  }
  EXPECT_EQ(StatusOf(queue).dwFailedFiles, 3u);
  EXPECT_EQ(StatusOf(queue).qwTotalBytes, body_.size());
}

TEST_F(QueueFaultsTest, TheDiskIsFull) {
  const HQUEUE queue = Create();
  Add(queue, "file", server_.url("/x"));
  Add(queue, "no/such/folder/file", server_.url("/x"));
  {
    const FileSizeLimit limit(body_.size() / 2);
    ASSERT_TRUE(Start(queue));
    EXPECT_TRUE(HttpWaitForQueue(queue, kLongWaitMs, nullptr, nullptr));
  }
  EXPECT_EQ(FileOf(queue, 1).dwError, QV_ERROR_FILE_WRITE_FAILED);
  EXPECT_EQ(FileOf(queue, 2).dwError, QV_ERROR_FILE_NOT_CREATED);
  // Once there is room the same queue succeeds.
  std::filesystem::create_directories(folder_.path() / "no/such/folder");
  ASSERT_TRUE(HttpResetQueue(queue, HTTP_QUEUE_FILE_FAILED));
  ASSERT_TRUE(Start(queue));
  EXPECT_TRUE(HttpWaitForQueue(queue, kLongWaitMs, nullptr, nullptr));
  EXPECT_EQ(StatusOf(queue).dwCompletedFiles, 2u);
  EXPECT_TRUE(folder_.Read("file") == body_);
}

TEST_F(QueueFaultsTest, ACallbackClosesTheSessionAndOpensAnother) {
  const HQUEUE queue = Create();
  Add(queue, "1", server_.url("/x"));
  Add(queue, "2", server_.url("/x"));
  HCLIENT own = INVALID_CLIENT;
  BOOL connected = FALSE;
  std::atomic<bool> ended{false};
  test::QueueObserver observer([&](UINT_PTR handle, UINT event) {
    if (event == HTTP_EVENT_FILEOPEN && own == INVALID_CLIENT) {
      EXPECT_EQ(HttpDisconnect(handle), 0);
      EXPECT_EQ(HttpGetQueueClient(0), INVALID_CLIENT);
      EXPECT_EQ(LastError(), QV_ERROR_NO_QUEUED_TRANSFER);
      own = HttpConnectA("127.0.0.1", server_.port(), 5, 0, 0, nullptr);
      EXPECT_EQ(own, handle);
    } else if (event == HTTP_EVENT_QUEUE && own != INVALID_CLIENT) {
      connected = HttpIsConnected(own);
      ended = true;
    }
  });
  ASSERT_TRUE(Start(queue, &observer));
  EXPECT_TRUE(HttpWaitForQueue(queue, kLongWaitMs, nullptr, nullptr));
  ASSERT_TRUE(ended);
  EXPECT_TRUE(connected);
  EXPECT_EQ(FileOf(queue, 1).dwFileState, HTTP_QUEUE_FILE_FAILED);
  EXPECT_EQ(FileOf(queue, 1).dwError, QV_ERROR_INVALID_HANDLE);
  EXPECT_EQ(FileOf(queue, 2).dwFileState, HTTP_QUEUE_FILE_COMPLETE);
}

TEST_F(QueueFaultsTest, ACallbackDeletesItsQueue) {
  for (const UINT when : {HTTP_EVENT_QUEUE, HTTP_EVENT_FILEOPEN}) {
    const HQUEUE queue = Create();
    Add(queue, "1", server_.url("/x"));
    Add(queue, "2", server_.url("/x"));
    const std::size_t threads = Threads();
    const std::size_t requests = server_.requests().size();
    bool deleted = false;
    test::QueueObserver observer([&](UINT_PTR, UINT event) {
      if (event != when || deleted) return;
      // A running queue is only stopped: the worker cannot wait for itself.
      EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_RUNNING, HttpDeleteQueue(queue));
      EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_STOPPED, HttpStopQueue(queue));
      EXPECT_TRUE(HttpDeleteQueue(queue));
      EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_QUEUE_HANDLE, HttpDeleteQueue(queue));
      EXPECT_EQ(HttpGetThreadQueue(0), INVALID_QUEUE);
      EXPECT_EQ(Create(), queue);  // the handle has a new owner, which the worker leaves alone
      deleted = true;
    });
    ASSERT_TRUE(Start(queue, &observer));
    EXPECT_TRUE(observer.WaitFor(HTTP_EVENT_QUEUE, 2));
    server_.WaitForEnds(server_.connections());
    EXPECT_TRUE(test::WaitUntil([&] { return Threads() <= threads; }));
    EXPECT_TRUE(deleted);
    EXPECT_EQ(StatusOf(queue).dwTotalFiles, 0u);
    EXPECT_EQ(StatusOf(queue).dwCompletedFiles, 0u);
    EXPECT_TRUE(HttpDeleteQueue(queue));
    EXPECT_EQ(server_.requests().size() - requests, when == HTTP_EVENT_QUEUE ? 0u : 1u);
    EXPECT_EQ(folder_.Read("1") == body_, when != HTTP_EVENT_QUEUE);
  }
}

TEST_F(QueueFaultsTest, ACallbackEndsTheLibrary) {
  const std::size_t threads = Threads();
  const HQUEUE queue = Create();
  const HQUEUE other = Create();
  Add(queue, "1", server_.url("/x"));
  Add(other, "2", server_.url("/stall"));
  test::QueueObserver observer([&](UINT_PTR, UINT event) {
    if (event != HTTP_EVENT_FILEOPEN) return;
    HttpUninitialize();
    EXPECT_EQ(HttpGetQueueStatus(queue, nullptr), HTTP_ERROR);
    EXPECT_EQ(HttpGetQueueClient(0), INVALID_CLIENT);
  });
  ASSERT_TRUE(Start(other));
  ASSERT_TRUE(server_.WaitForRequests(1));
  ASSERT_TRUE(HttpStartQueue(queue, 0, 0, test::QueueObserver::Callback, observer.parameter()));
  EXPECT_TRUE(observer.WaitFor(HTTP_EVENT_QUEUE, 2));
  EXPECT_TRUE(test::WaitUntil([&] { return Threads() <= threads; }));
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
  const HQUEUE next = Create();
  Add(next, "3", server_.url("/x"));
  ASSERT_TRUE(Start(next));
  EXPECT_TRUE(WaitForWorkerEnd(next));
  EXPECT_EQ(StatusOf(next).dwCompletedFiles, 1u);
}

TEST_F(QueueFaultsTest, UninitializeLeavesNothingBehind) {
  const test::SilentPort silent;
  const std::size_t threads = Threads();
  const std::size_t descriptors = Descriptors();
  std::atomic<bool> over{false};
  std::atomic<int> late{0};
  test::QueueObserver observer([&](UINT_PTR, UINT) { late += over ? 1 : 0; });
  test::QueueObserver deleter([&](UINT_PTR, UINT event) {
    late += over ? 1 : 0;
    if (event != HTTP_EVENT_FILEOPEN) return;
    const HQUEUE own = HttpGetThreadQueue(0);
    EXPECT_TRUE(HttpStopQueue(own));
    EXPECT_TRUE(HttpDeleteQueue(own));
  });
  // Transfers that stall, one of a queue that is deleted; a suspended queue; one that connects.
  for (int i = 0; i < 4; ++i) {
    const HQUEUE queue = Create(0, 60);
    Add(queue, std::to_string(i), server_.url("/stall"));
    ASSERT_TRUE(Start(queue, i == 0 ? &deleter : &observer));
  }
  const HQUEUE suspended = Create();
  Add(suspended, "4", server_.url("/x"));
  Add(suspended, "5", server_.url("/x"));
  ASSERT_TRUE(Start(suspended, &observer));
  ASSERT_TRUE(HttpSuspendQueue(suspended));
  const HQUEUE connecting = Create(0, 60);
  Add(connecting, "6", "http://127.0.0.1:" + std::to_string(silent.port()) + "/");
  ASSERT_TRUE(Start(connecting, &observer));
  ASSERT_TRUE(server_.WaitForRequests(5));
  ASSERT_TRUE(deleter.WaitFor(HTTP_EVENT_FILEOPEN, 1));

  HttpUninitialize();
  over = true;
  EXPECT_GE(observer.Count(HTTP_EVENT_QUEUE) + deleter.Count(HTTP_EVENT_QUEUE), 2 * 6);
  EXPECT_TRUE(server_.WaitForEnds(server_.connections()));
  EXPECT_TRUE(test::WaitUntil([&] { return Threads() <= threads; }));
  EXPECT_EQ(late, 0);
  EXPECT_TRUE(test::WaitUntil([&] { return Descriptors() <= descriptors; }));
}

}  // namespace
