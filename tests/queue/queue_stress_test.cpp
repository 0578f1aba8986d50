// Many queues at once, and many threads at the same queues.
#include <array>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "queue/queue_fixture.h"
#include "support/messages.h"
#include "support/raw_server.h"
#include "support/web_server.h"

namespace {

constexpr DWORD kLongWaitMs = 60000;

class QueueStressTest : public test::QueueTest {};

TEST_F(QueueStressTest, AThousandFilesInManyQueues) {
  constexpr int kQueues = 25;
  constexpr int kFiles = 40;
  const test::WebServer web;
  const std::string content = test::Pattern(3000);
  web.AddFile("a.bin", content);
  std::vector<HQUEUE> queues;
  for (int i = 0; i < kQueues; ++i) {
    queues.push_back(Create(kFiles));
    for (int file = 0; file < kFiles; ++file) {
      Add(queues.back(), std::to_string(i * kFiles + file), web.url("/a.bin"));
    }
    ASSERT_TRUE(Start(queues.back()));
  }
  for (const HQUEUE queue : queues) {
    test::WaitUntil([&] { return StatusOf(queue).dwThreadId == 0; },
                    std::chrono::milliseconds(kLongWaitMs));
    const HTTPQUEUESTATUS status = StatusOf(queue);
    EXPECT_EQ(status.dwCompletedFiles, DWORD{kFiles});
    EXPECT_EQ(status.qwTotalBytes, kFiles * content.size());
  }
  for (int file = 0; file < kQueues * kFiles; ++file) {
    EXPECT_TRUE(folder_.Read(std::to_string(file)) == content) << file;
  }
}

TEST_F(QueueStressTest, AFullQueueIsWorkedOff) {
  const HQUEUE queue = Create();
  for (DWORD id = 1; id <= 1000; ++id) {
    ASSERT_EQ(Add(queue, "x", "http://h.example/" + std::to_string(id), 4), id);
  }
  EXPECT_QUEUE_ERROR(QV_ERROR_TOO_MANY_FILES,
                     HttpAddQueuedFileA(queue, 1, "x", "http://h.example/", 0, 0));
  ASSERT_TRUE(Start(queue));
  EXPECT_TRUE(WaitForWorkerEnd(queue));
  EXPECT_EQ(StatusOf(queue).dwCompletedFiles, 1000u);
  EXPECT_EQ(HttpEnumQueuedFilesA(queue, "*9", 0, 0, nullptr, 0), 100);
  EXPECT_EQ(HttpGetQueueHeapSize(queue, nullptr), (1000 * 16704 + 136) / 4096 * 4096 + 4096);
}

// A few handles that several threads use, replace and delete without regard for each other.
class SharedQueues {
 public:
  SharedQueues(std::string folder, std::string url) : folder_(folder), url_(url) {
    for (auto& queue : queues_) queue = HttpCreateQueue(20, 3, 0);
  }

  void Act(std::mt19937& random, test::QueueObserver& observer) {
    std::atomic<HQUEUE>& slot = queues_[random() % queues_.size()];
    const HQUEUE queue = slot;
    const DWORD id = static_cast<DWORD>(random() % 8);
    switch (random() % 16) {
      case 0:
        if (HttpDeleteQueue(queue)) slot = HttpCreateQueue(20, 3, 0);
        break;
      case 1:
      case 2:
        HttpStartQueue(queue, 0, 0, test::QueueObserver::Callback, observer.parameter());
        break;
      case 3:
        HttpStopQueue(queue);
        break;
      case 4:
        HttpSuspendQueue(queue);
        break;
      case 5:
      case 6:
        HttpResumeQueue(queue);
        break;
      case 7:
        HttpCancelQueuedFile(queue, id);
        break;
      case 8:
        HttpRemoveQueuedFile(queue, id);
        break;
      case 9:
        HttpResetQueue(queue, 0);
        break;
      case 10:
        HttpWaitForQueue(queue, 20, nullptr, nullptr);
        break;
      case 11:
        HttpClearQueue(queue);
        break;
      default:
        Add(queue, id);
        Look(queue);
        break;
    }
  }

  const std::array<std::atomic<HQUEUE>, 6>& queues() const { return queues_; }

 private:
  void Add(HQUEUE queue, DWORD id) const {
    const std::string local = folder_ + "/" + std::to_string(queue) + "-" + std::to_string(id);
    HttpAddQueuedFileA(queue, 1, local.c_str(), (url_ + std::to_string(id)).c_str(), 0, 0);
  }

  static void Look(HQUEUE queue) {
    HTTPQUEUEDFILEA file;
    for (DWORD id = HttpGetFirstQueuedFileA(queue, 0, 0, &file); id != 0;) {
      id = HttpGetNextQueuedFileA(queue, &file);
    }
    HTTPTRANSFERSTATUSEX progress;
    HttpGetTransferStatusEx(HttpGetQueueClient(queue), &progress);
    HttpFindQueuedFileA(queue, "*1", 0, 0);
    HttpGetThreadQueue(HttpGetQueueThread(queue));
  }

  const std::string folder_;
  const std::string url_;
  std::array<std::atomic<HQUEUE>, 6> queues_;
};

TEST_F(QueueStressTest, ManyThreadsControlTheSameQueues) {
  constexpr int kThreads = 4;
  constexpr int kActions = 4000;  // of each thread, or fewer when there were enough transfers
  constexpr std::size_t kTransfers = 40;
  const std::string answer = test::Response("200 OK", {}, test::Pattern(20000));
  const test::RawServer server([&](test::Connection& connection) {
    while (const auto request = connection.ReadRequest()) {
      connection.SendInPieces(answer, 5000, std::chrono::milliseconds(10));
    }
  });
  test::QueueObserver observer([](UINT_PTR handle, UINT event) {
    if (event == HTTP_EVENT_FILEOPEN && handle % 5 == 0)
      HttpCancelQueuedFile(HttpGetThreadQueue(0), 0);
  });
  SharedQueues shared(folder_.path().string(), server.url("/"));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      std::mt19937 random(static_cast<unsigned>(i));
      for (int action = 0; action < kActions && server.connections() < kTransfers; ++action) {
        shared.Act(random, observer);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& queue : shared.queues()) {
    if (HttpGetQueueStatus(queue, nullptr) == HTTP_ERROR) continue;
    const HTTPQUEUESTATUS status = StatusOf(queue);
    EXPECT_LE(status.dwTotalFiles, 20u);
    for (const DWORD count :
         {status.dwWaitingFiles, status.dwCompletedFiles, status.dwFailedFiles}) {
      EXPECT_LE(count, DWORD{kThreads * kActions});  // no count has gone below zero
    }
  }
  EXPECT_GT(server.requests().size(), kTransfers / 4);
  HttpUninitialize();  // while some of them run
}

}  // namespace
