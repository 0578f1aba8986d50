// Observing and steering tasks from outside.
#include "tasks/task_fixture.h"

namespace test {
namespace {

constexpr std::size_t kMostTasks = 128;
constexpr DWORD kUnknown = 0xFFFFFFF0u;

class TaskSteeringTest : public TaskTest {
 protected:
  // Starts a task that has received half of its body and waits for more.
  DWORD StartHalfWay(Download& download, HTTPEVENTPROC callback = nullptr,
                     DWORD_PTR parameter = 0) {
    const DWORD task = Start(download, gated_.url(), INVALID_CLIENT, callback, parameter);
    EXPECT_TRUE(WaitForBytes(task, gated_.body().size() / 2));
    return task;
  }

  GatedServer gated_;
};

TEST_F(TaskSteeringTest, UnknownTasks) {
  HTTPTRANSFERSTATUS status;
  HTTPTRANSFERSTATUSEX status_ex;
  DWORD elapsed = 1;
  DWORD error = 1;
  for (const DWORD id : {DWORD{0}, kUnknown}) {
    const std::vector<bool> failed = {
        !HttpTaskWait(id, 0, 0, &elapsed, &error),
        !HttpTaskAbort(id, 0),
        !HttpTaskSuspend(id),
        !HttpTaskResume(id),
        HttpTaskDone(id) == QV_ERROR_INVALID_TASK,
        HttpGetTaskError(id) == QV_ERROR_INVALID_TASK,
        HttpGetTaskHandle(id) == INVALID_CLIENT,
        HttpGetTaskStatus(id, &status) == HTTP_ERROR,
        HttpGetTaskStatusEx(id, 0, &status_ex) == HTTP_ERROR,
    };
    EXPECT_EQ(failed, std::vector<bool>(failed.size(), true));
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_TASK});
  }
  EXPECT_EQ(elapsed, 0u);
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(status.dwBytesTotal, 0u);
  EXPECT_EQ(HttpGetTaskId(INVALID_CLIENT), 0u);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(TaskSteeringTest, ARunningTaskCanBeWatched) {
  Download download;
  const DWORD task = StartHalfWay(download);
  EXPECT_EQ(HttpTaskDone(task), 0u);
  EXPECT_EQ(HttpGetTaskError(task), DWORD{QV_ERROR_TASK_ACTIVE});
  HTTPTRANSFERSTATUS status;
  EXPECT_EQ(HttpGetTaskStatus(task, &status), HTTP_TASK_ACTIVE);
  EXPECT_EQ(status.dwBytesTotal, gated_.body().size());
  EXPECT_EQ(status.dwBytesCopied, gated_.body().size() / 2);
  EXPECT_EQ(HttpGetTaskStatus(task, nullptr), HTTP_TASK_ACTIVE);

  HttpSetLastError(0);
  const HCLIENT session = HttpGetTaskHandle(task);
  EXPECT_NE(session, INVALID_CLIENT);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_NOT_CONNECTED});  // it is the worker's
  EXPECT_EQ(HttpGetTaskId(session), task);
  EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_GETDATA);

  DWORD elapsed = 0;
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  EXPECT_FALSE(HttpTaskWait(task, 1, 0, &elapsed, nullptr));
  EXPECT_EQ(LastError(), 0u);
  EXPECT_GT(elapsed, 0u);

  gated_.Open();
  EXPECT_EQ(Finish(task), 0u);
  EXPECT_EQ(HttpGetTaskStatus(task, &status), HTTP_TASK_FINISHED);
  EXPECT_EQ(status.dwBytesCopied, gated_.body().size());
  EXPECT_EQ(HttpGetTaskHandle(task), INVALID_CLIENT);
  EXPECT_EQ(HttpGetTaskId(session), 0u);
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  DWORD error = 1;
  EXPECT_TRUE(HttpTaskWait(task, 0, 0, &elapsed, &error));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(LastError(), 0u);
  EXPECT_FALSE(HttpTaskAbort(task, 0));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_TASK_FINISHED});
}

TEST_F(TaskSteeringTest, ASuspendedTransferGoesOnWithoutLoss) {
  constexpr std::size_t kSize = 400000;
  const std::string body = Pattern(kSize);
  const RawServer server([&body](Connection& connection) {
    if (!connection.ReadRequest()) return;
    connection.Send(Head("200 OK", {"Content-Length: " + std::to_string(kSize)}));
    connection.SendInPieces(body, 1000, std::chrono::milliseconds(1));
    connection.WaitForClose();
  });
  Download download(kSize);
  const DWORD task = Start(download, server.url("/"));
  for (int round = 1; round <= 3; ++round) {
    ASSERT_TRUE(WaitForBytes(task, static_cast<ULONGLONG>(round) * kSize / 10));
    EXPECT_TRUE(HttpTaskSuspend(task));
    EXPECT_TRUE(HttpTaskSuspend(task));
    EXPECT_EQ(HttpGetTaskStatus(task, nullptr), HTTP_TASK_SUSPENDED);
    HttpSetLastError(0);
    EXPECT_FALSE(HttpTaskWait(task, kForever, 0, nullptr, nullptr));
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_TASK_SUSPENDED});
    // It stops: at some time the count stays as it is for a while, and long before the end.
    ULONGLONG stopped_at = 0;
    EXPECT_TRUE(WaitUntil([&] {
      stopped_at = BytesCopied(task);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      return BytesCopied(task) == stopped_at;
    }));
    EXPECT_LT(stopped_at, kSize);
    EXPECT_EQ(List(HTTP_TASK_SUSPENDED), std::vector<DWORD>{task});
    EXPECT_TRUE(HttpTaskResume(task));
    EXPECT_TRUE(HttpTaskResume(task));
    EXPECT_EQ(List(HTTP_TASK_ACTIVE), std::vector<DWORD>{task});
  }
  EXPECT_EQ(Finish(task), 0u);
  EXPECT_EQ(download.body(), body);
  EXPECT_FALSE(HttpTaskSuspend(task));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_ACCESS_DENIED});
  EXPECT_EQ(HttpGetTaskError(task), 0u);
}

TEST_F(TaskSteeringTest, AbortEndsATaskInEveryPhase) {
  const SilentPort silent;
  const RawServer mute([](Connection& connection) { connection.WaitForClose(); });
  const std::pair<const char*, std::string> phases[] = {
      {"connecting", "http://127.0.0.1:" + std::to_string(silent.port()) + "/"},
      {"shaking hands", "https://127.0.0.1:" + std::to_string(mute.port()) + "/"},
      {"waiting", mute.url("/")},
      {"receiving", gated_.url()},
  };
  for (const auto& [phase, url] : phases) {
    for (const bool suspended : {false, true}) {
      SCOPED_TRACE(std::string(phase) + (suspended ? ", suspended" : ""));
      EventLog log;
      Download download;
      const DWORD task = Start(download, url, INVALID_CLIENT, EventLog::Record, log.parameter());
      if (url == gated_.url()) {
        EXPECT_TRUE(WaitForBytes(task, 1));
      }
      if (suspended) {
        EXPECT_TRUE(HttpTaskSuspend(task));
      }
      EXPECT_TRUE(HttpTaskAbort(task, kForever));
      EXPECT_EQ(HttpGetTaskError(task), DWORD{QV_ERROR_OPERATION_CANCELED});
      EXPECT_EQ(log.Count(HTTP_EVENT_CONNECT), 1u);
      ASSERT_EQ(log.Count(HTTP_EVENT_DISCONNECT), 1u);
      EXPECT_EQ(log.events().back().error, DWORD{QV_ERROR_OPERATION_CANCELED});
    }
  }
}

// An abort that does not wait and comes while the connect callback runs is not forgotten.
TEST_F(TaskSteeringTest, AbortBeforeTheTransferBegins) {
  struct State {
    std::atomic<bool> connected{false};
    std::atomic<bool> go_on{false};
  } state;
  const HTTPEVENTPROC hold = [](HCLIENT, UINT event, DWORD, DWORD_PTR parameter) {
    auto* held = reinterpret_cast<State*>(parameter);
    if (event != HTTP_EVENT_CONNECT) return;
    held->connected = true;
    WaitUntil([held] { return held->go_on.load(); });
  };
  Download download;
  const DWORD task =
      Start(download, gated_.url(), INVALID_CLIENT, hold, reinterpret_cast<DWORD_PTR>(&state));
  ASSERT_TRUE(WaitUntil([&] { return state.connected.load(); }));
  EXPECT_FALSE(HttpTaskAbort(task, 0));
  state.go_on = true;
  EXPECT_EQ(Finish(task), DWORD{QV_ERROR_OPERATION_CANCELED});
  EXPECT_TRUE(gated_.server().requests().empty());
}

TEST_F(TaskSteeringTest, WaitsForAnyAndAll) {
  const RawServer quick(ConnectionForEach({Response("200 OK", {}, "body")}));
  EXPECT_TRUE(HttpTaskWaitAll(nullptr, 0, kForever, 0));
  EXPECT_TRUE(HttpTaskWaitAny(nullptr, 0, 0, 0));
  Download waiting;
  Download finished;
  DWORD ids[3] = {StartHalfWay(waiting), Start(finished, quick.url("/")), kUnknown};
  EXPECT_TRUE(HttpTaskWaitAny(ids, 3, kForever, 0));
  EXPECT_EQ(Finish(ids[1]), 0u);
  HttpSetLastError(0);
  EXPECT_FALSE(HttpTaskWaitAll(ids, 3, 1, 0));
  EXPECT_FALSE(HttpTaskWaitAll(nullptr, 0, 0, 0));
  EXPECT_FALSE(HttpTaskWaitAny(ids, 1, 1, 0));
  EXPECT_EQ(LastError(), 0u);
  EXPECT_TRUE(HttpTaskWaitAll(ids + 1, 2, 0, 0));
  EXPECT_FALSE(HttpTaskWaitAny(ids + 2, 1, 0, 0));
  EXPECT_FALSE(HttpTaskWaitAll(ids, 0, 0, 0));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  gated_.Open();
  EXPECT_TRUE(HttpTaskWaitAll(ids, 3, kForever, 0));
  EXPECT_EQ(HttpTaskDone(ids[0]), 1u);
}

TEST_F(TaskSteeringTest, Enumeration) {
  const RawServer quick(ConnectionForEach({Response("200 OK", {}, "body")}));
  Download downloads[3];
  const DWORD finished = Start(downloads[0], quick.url("/"));
  EXPECT_EQ(Finish(finished), 0u);
  const DWORD active = StartHalfWay(downloads[1]);
  const DWORD suspended = StartHalfWay(downloads[2]);
  EXPECT_TRUE(HttpTaskSuspend(suspended));
  EXPECT_EQ(active + 1, suspended);

  EXPECT_EQ(HttpEnumTasks(nullptr, 0, HTTP_TASK_DEFAULT), 2);
  EXPECT_EQ(List(HTTP_TASK_ACTIVE), std::vector<DWORD>{active});
  EXPECT_EQ(List(HTTP_TASK_SUSPENDED), std::vector<DWORD>{suspended});
  const std::vector<DWORD> ended = List(HTTP_TASK_FINISHED);
  EXPECT_NE(std::find(ended.begin(), ended.end(), finished), ended.end());
  EXPECT_EQ(std::find(ended.begin(), ended.end(), active), ended.end());
  DWORD one[2] = {7, 7};
  EXPECT_EQ(HttpEnumTasks(one, 1, HTTP_TASK_DEFAULT), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  EXPECT_EQ(one[0], 0u);
  EXPECT_EQ(one[1], 7u);
  EXPECT_TRUE(HttpTaskResume(suspended));
  gated_.Open();
  EXPECT_TRUE(HttpTaskWaitAll(nullptr, 0, kForever, 0));
}

TEST_F(TaskSteeringTest, A129thUnfinishedTaskIsRefused) {
  std::vector<Download> downloads(kMostTasks, Download(gated_.body().size()));
  for (Download& download : downloads) ASSERT_NE(Start(download, gated_.url()), 0u);
  for (const Download& download : downloads) ASSERT_TRUE(WaitForBytes(download.id, 1));
  char buffer[8];
  DWORD length = sizeof(buffer);
  const std::string url = gated_.url();
  EXPECT_EQ(HttpAsyncGetDataA(INVALID_CLIENT, url.c_str(), buffer, &length, 0, nullptr, 0), 0u);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_TOO_MANY_THREADS});
  EXPECT_EQ(HttpEnumTasks(nullptr, 0, HTTP_TASK_DEFAULT), static_cast<INT>(kMostTasks));

  const DWORD middle = downloads[kMostTasks / 2].id;
  EXPECT_TRUE(HttpTaskAbort(middle, kForever));
  Download last;
  EXPECT_NE(Start(last, gated_.url()), 0u);
  EXPECT_EQ(HttpTaskDone(middle), DWORD{QV_ERROR_INVALID_TASK});  // its place was needed
  gated_.Open();
  EXPECT_TRUE(HttpTaskWaitAll(nullptr, 0, kForever, 0));
  for (const Download& download : downloads) {
    if (download.id != middle) {
      EXPECT_EQ(download.body(), gated_.body());
    }
  }
}

}  // namespace
}  // namespace test
