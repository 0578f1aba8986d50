// What callbacks of tasks may do, and the end of the library under running tasks.
#include <cstdlib>
#include <functional>

#include "support/temp_dir.h"
#include "tasks/task_fixture.h"

namespace test {
namespace {

constexpr auto kNobody = [](Connection& connection) { connection.WaitForClose(); };

// A callback that runs a function of the test once, at an event.
struct Deed {
  UINT event;
  std::function<void(HCLIENT)> run;
  std::atomic<bool> begun{false};
  std::atomic<bool> done{false};
  std::atomic<bool> completed{false};  // the task's last call is over

  static void CALLBACK Run(HCLIENT client, UINT event, DWORD, DWORD_PTR parameter) {
    auto* deed = reinterpret_cast<Deed*>(parameter);
    if (event == deed->event && !deed->begun.exchange(true)) {
      deed->run(client);
      deed->done = true;
    }
    if (event == HTTP_EVENT_DISCONNECT) deed->completed = true;
  }
  DWORD_PTR parameter() { return reinterpret_cast<DWORD_PTR>(this); }
};

class TaskCallbacksTest : public TaskTest {
 protected:
  const RawServer server_{[](Connection& connection) {
    if (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "body"));
    connection.WaitForClose();
  }};
};

TEST_F(TaskCallbacksTest, ATaskCannotWaitForItself) {
  for (const UINT event : {HTTP_EVENT_CONNECT, HTTP_EVENT_PROGRESS}) {
    std::vector<DWORD> errors;
    Deed deed{event, [&errors](HCLIENT client) {
                DWORD task = HttpGetTaskId(client);
                const std::function<BOOL()> calls[] = {
                    [=] { return HttpTaskWait(task, kForever, 0, nullptr, nullptr); },
                    [=] { return HttpTaskAbort(task, kForever); },
                    [=] { return HttpTaskSuspend(task); },
                    [=] { return HttpTaskResume(task); },
                };
                for (const auto& call : calls) {
                  HttpSetLastError(0);
                  EXPECT_FALSE(call());
                  errors.push_back(LastError());
                }
                EXPECT_TRUE(HttpTaskWaitAll(&task, 1, kForever, 0));
                EXPECT_FALSE(HttpTaskWaitAny(&task, 1, 0, 0));
                HttpSetLastError(0);
                EXPECT_EQ(HttpGetTaskHandle(task), client);
                EXPECT_EQ(LastError(), 0u);
              }};
    Download download;
    Start(download, server_.url("/"), INVALID_CLIENT, Deed::Run, deed.parameter());
    EXPECT_EQ(Finish(download.id, deed), 0u);
    EXPECT_EQ(errors, std::vector<DWORD>(4, QV_ERROR_THREAD_DEADLOCK));
  }
}

// The session goes at different times under the task; another takes its handle at once.
TEST_F(TaskCallbacksTest, TheSessionMayBeClosed) {
  for (const UINT event : {HTTP_EVENT_CONNECT, HTTP_EVENT_PROGRESS, HTTP_EVENT_DISCONNECT}) {
    SCOPED_TRACE(event);
    HCLIENT another = INVALID_CLIENT;
    Deed deed{event, [&](HCLIENT client) {
                EXPECT_EQ(HttpDisconnect(client), 0);
                another = HttpConnectA("127.0.0.1", server_.port(), 5, 0, 0, nullptr);
                EXPECT_EQ(another, client);
              }};
    Download download;
    Start(download, server_.url("/"), INVALID_CLIENT, Deed::Run, deed.parameter());
    const bool over = event == HTTP_EVENT_DISCONNECT;
    EXPECT_EQ(Finish(download.id, deed), over ? 0 : DWORD{QV_ERROR_INVALID_HANDLE});
    EXPECT_EQ(HttpGetStatus(another), HTTP_STATUS_IDLE);  // left alone
    HttpAttachThread(another, 0);
    EXPECT_EQ(HttpDisconnect(another), 0);
  }
}

TEST_F(TaskCallbacksTest, TasksMayStartAndAbortOthers) {
  GatedServer gated;
  Download second;
  Download third;
  Deed deed{HTTP_EVENT_DISCONNECT, [&](HCLIENT) {
              Start(second, gated.url());
              EXPECT_TRUE(WaitForBytes(second.id, 1));
              EXPECT_TRUE(HttpTaskAbort(second.id, kForever));
              Start(third, server_.url("/"));
              EXPECT_EQ(Finish(third.id), 0u);
            }};
  Download first;
  Start(first, server_.url("/"), INVALID_CLIENT, Deed::Run, deed.parameter());
  ASSERT_TRUE(WaitUntil([&] { return deed.completed.load(); }));
  EXPECT_EQ(HttpGetTaskError(second.id), DWORD{QV_ERROR_OPERATION_CANCELED});
  EXPECT_EQ(third.body(), "body");
}

// Two tasks whose callbacks suspend each other do not keep others from resuming both.
TEST_F(TaskCallbacksTest, TasksMaySuspendEachOther) {
  Download downloads[2];
  std::atomic<DWORD> ids[2] = {0, 0};
  const auto suspend = [&ids](int other) {
    return [&ids, other](HCLIENT) {
      WaitUntil([&ids] { return ids[0] != 0 && ids[1] != 0; });
      HttpTaskSuspend(ids[other]);
    };
  };
  Deed deeds[2] = {{HTTP_EVENT_CONNECT, suspend(1)}, {HTTP_EVENT_CONNECT, suspend(0)}};
  for (int i : {0, 1}) {
    ids[i] = Start(downloads[i], server_.url("/"), INVALID_CLIENT, Deed::Run, deeds[i].parameter());
  }
  EXPECT_TRUE(WaitUntil([&] {
    for (const DWORD id : ids) HttpTaskResume(id);
    return HttpTaskDone(ids[0]) == 1 && HttpTaskDone(ids[1]) == 1;
  }));
  EXPECT_EQ(Finish(ids[0], deeds[0]), 0u);
  EXPECT_EQ(Finish(ids[1], deeds[1]), 0u);
}

class TaskShutdownTest : public TaskTest {
 protected:
  void SetUp() override {
    TaskTest::SetUp();
    // What the first use of the library leaves for good is there before the count.
    const RawServer warm_up(OneConnection({Response("200 OK", {}, "body")}));
    Download download;
    Start(download, warm_up.url("/"));
    EXPECT_EQ(Finish(download.id), 0u);
  }

  void TearDown() override {
    TaskTest::TearDown();
    EXPECT_TRUE(WaitUntil([this] { return Threads() <= threads_; })) << Threads();
    EXPECT_TRUE(WaitUntil([this] { return OpenDescriptors() <= descriptors_; }));
  }

 private:
  const std::ptrdiff_t threads_ = Threads();
  const std::ptrdiff_t descriptors_ = OpenDescriptors();
};

TEST_F(TaskShutdownTest, EndsTasksInEveryPhaseAndCallsNoCallback) {
  const SilentPort silent;
  const RawServer mute(kNobody);
  GatedServer gated;
  const TempDir folder;
  EventLog log;
  std::vector<Download> downloads(12);
  std::vector<DWORD> files;
  for (std::size_t i = 0; i < downloads.size(); ++i) {
    const std::string urls[] = {"http://127.0.0.1:" + std::to_string(silent.port()) + "/",
                                mute.url("/"), gated.url()};
    Start(downloads[i], urls[i % 3], INVALID_CLIENT, EventLog::Record, log.parameter());
    if (i < 6) {
      EXPECT_TRUE(HttpTaskSuspend(downloads[i].id));
    }
    files.push_back(HttpAsyncGetFileA(INVALID_CLIENT, folder.file(std::to_string(i)).c_str(),
                                      gated.url().c_str(), 0, 0, nullptr, 0));
  }
  for (const DWORD file : files) ASSERT_TRUE(WaitForBytes(file, 1));
  HttpUninitialize();
  for (const Download& download : downloads) {
    EXPECT_EQ(HttpTaskDone(download.id), DWORD{QV_ERROR_INVALID_TASK});
  }
  EXPECT_EQ(log.Count(HTTP_EVENT_DISCONNECT), 0u);
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
}

// The callback is inside the library when the library ends.
TEST_F(TaskShutdownTest, EndsCallbacksThatWaitInTheLibrary) {
  const RawServer mute(kNobody);
  GatedServer gated;
  Download stalled;
  const std::vector<std::function<void(HCLIENT)>> waits = {
      [&](HCLIENT) { HttpTaskWait(stalled.id, 0xFFFFFFFF, 0, nullptr, nullptr); },
      [&](HCLIENT) { HttpTaskWaitAll(&stalled.id, 1, 0xFFFFFFFF, 0); },
      [&](HCLIENT) { HttpTaskAbort(stalled.id, 0xFFFFFFFF); },
      [&](HCLIENT) {
        const HCLIENT own = HttpConnectA("127.0.0.1", mute.port(), 20, 0, 0, nullptr);
        Get(own, "/");
      },
      [&](HCLIENT) {
        Download another;
        while (HttpAsyncGetDataA(INVALID_CLIENT, "/", another.buffer.data(), &another.length, 0,
                                 nullptr, 0) != 0) {
        }
      },
  };
  for (const auto& wait : waits) {
    Start(stalled, gated.url());
    Deed deed{HTTP_EVENT_CONNECT, wait};
    Download download;
    Start(download, gated.url(), INVALID_CLIENT, Deed::Run, deed.parameter());
    ASSERT_TRUE(WaitUntil([&] { return deed.begun.load(); }));
    HttpUninitialize();
    EXPECT_TRUE(deed.done);
    ASSERT_TRUE(HttpInitializeA(nullptr, 0));
  }
}

// A callback ends the library under its own transfer and under other tasks.
TEST_F(TaskShutdownTest, ACallbackMayEndTheLibrary) {
  for (const UINT event : {HTTP_EVENT_CONNECT, HTTP_EVENT_PROGRESS, HTTP_EVENT_DISCONNECT}) {
    const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
    GatedServer gated;
    Download others[3];
    for (Download& other : others) Start(other, gated.url());
    Deed deed{event, [](HCLIENT) { HttpUninitialize(); }};
    Download download;
    Start(download, server.url("/"), INVALID_CLIENT, Deed::Run, deed.parameter());
    const bool last = event == HTTP_EVENT_DISCONNECT;
    ASSERT_TRUE(WaitUntil([&] { return last ? deed.completed.load() : deed.done.load(); }));
    EXPECT_EQ(HttpTaskDone(download.id), DWORD{QV_ERROR_INVALID_TASK});
    EXPECT_EQ(HttpTaskDone(others[0].id), DWORD{QV_ERROR_INVALID_TASK});
    EXPECT_TRUE(server.WaitForEnds(1));
    ASSERT_TRUE(HttpInitializeA(nullptr, 0));
  }
}

// A callback that never comes back loses its thread, and the end of the library does not hang.
TEST_F(TaskShutdownTest, ACallbackThatDoesNotReturnIsEnded) {
  const RefusingPort refusing;  // without a connection the thread leaves no descriptor behind
  Deed deed{HTTP_EVENT_CONNECT, [](HCLIENT) {
              while (true) Sleep(10);
            }};
  Download download;
  Start(download, "http://127.0.0.1:" + std::to_string(refusing.port()) + "/", INVALID_CLIENT,
        Deed::Run, deed.parameter());
  ASSERT_TRUE(WaitUntil([&] { return deed.begun.load(); }));
  HttpUninitialize();
  EXPECT_FALSE(deed.done);
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
}

// The process ends while tasks run and are suspended, and nobody has ended the library.
TEST(TaskProcessTest, EndsUnderRunningTasks) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [] {
    HttpInitializeA(nullptr, 0);
    GatedServer gated;
    static std::vector<Download> downloads(4);
    for (Download& download : downloads) {
      download.id = HttpAsyncGetDataA(INVALID_CLIENT, gated.url().c_str(), download.buffer.data(),
                                      &download.length, 0, nullptr, 0);
    }
    HttpTaskSuspend(downloads[0].id);
    std::exit(5);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(5), "^$");
}

}  // namespace
}  // namespace test
