// The library started for one test, with what tests of tasks share.
#ifndef TASKS_TASK_FIXTURE_H_
#define TASKS_TASK_FIXTURE_H_

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {

inline constexpr DWORD kForever = 20000;  // milliseconds; far more than anything here takes

struct TaskEvent {
  UINT event;
  DWORD error;
  HCLIENT client;
  DWORD thread;
};

// Remembers the calls of a callback, whose parameter is the address of the log.
class EventLog {
 public:
  static void CALLBACK Record(HCLIENT client, UINT event, DWORD error, DWORD_PTR parameter) {
    auto* log = reinterpret_cast<EventLog*>(parameter);
    {
      const std::lock_guard lock(log->lock_);
      log->events_.push_back({event, error, client, GetCurrentThreadId()});
    }
    if (event == HTTP_EVENT_DISCONNECT) log->completed = true;
  }

  std::atomic<bool> completed{false};  // the last call is over

  DWORD_PTR parameter() { return reinterpret_cast<DWORD_PTR>(this); }

  std::vector<TaskEvent> events() const {
    const std::lock_guard lock(lock_);
    return events_;
  }
  std::size_t Count(UINT event) const {
    const std::vector<TaskEvent> all = events();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [event](const TaskEvent& e) { return e.event == event; }));
  }

 private:
  mutable std::mutex lock_;
  std::vector<TaskEvent> events_;
};

// A download into a buffer of the test, which the task fills.
struct Download {
  explicit Download(std::size_t capacity = 65536)
      : buffer(capacity), length(static_cast<DWORD>(capacity)) {}
  std::string body() const { return {buffer.data(), length}; }

  std::vector<char> buffer;
  DWORD length;
  DWORD id = 0;
};

// Sends the first half of a body, and the rest when the test opens the gate.
class GatedServer {
 public:
  explicit GatedServer(std::size_t body_size = 20000)
      : body_(Pattern(body_size)), server_([this](Connection& connection) { Serve(connection); }) {}
  ~GatedServer() { Open(); }
  GatedServer(const GatedServer&) = delete;
  GatedServer& operator=(const GatedServer&) = delete;

  void Open() { open_ = true; }
  const std::string& body() const { return body_; }
  const RawServer& server() const { return server_; }
  std::string url(std::string_view path = "/") const { return server_.url(path); }

 private:
  void Serve(Connection& connection) {
    if (!connection.ReadRequest()) return;
    const std::string_view body = body_;
    connection.Send(Head("200 OK", {"Content-Length: " + std::to_string(body.size())}));
    connection.Send(body.substr(0, body.size() / 2));
    while (!open_) {
      if (!server_.Pause(std::chrono::milliseconds(2))) return;
    }
    connection.Send(body.substr(body.size() / 2));
    connection.WaitForClose();
  }

  const std::string body_;
  std::atomic<bool> open_{false};
  RawServer server_;
};

class TaskTest : public SessionTest {
 protected:
  static DWORD Start(Download& download, const std::string& resource,
                     HCLIENT client = INVALID_CLIENT, HTTPEVENTPROC callback = nullptr,
                     DWORD_PTR parameter = 0) {
    download.id = HttpAsyncGetDataA(client, resource.c_str(), download.buffer.data(),
                                    &download.length, 0, callback, parameter);
    EXPECT_NE(download.id, 0u) << std::hex << LastError();
    return download.id;
  }

  // Waits for a task; its error, or what kept the wait from success.
  static DWORD Finish(DWORD task) {
    DWORD error = 0;
    if (!HttpTaskWait(task, kForever, 0, nullptr, &error)) {
      ADD_FAILURE() << "task " << task << " has not finished, " << std::hex << LastError();
    }
    return error;
  }

  static ULONGLONG BytesCopied(DWORD task) {
    HTTPTRANSFERSTATUSEX status;
    return HttpGetTaskStatusEx(task, 0, &status) == HTTP_ERROR ? 0 : status.dwBytesCopied;
  }

  // Waits for the last call of its callback, too, which may come after the task has finished.
  template <class Callback>
  static DWORD Finish(DWORD task, const Callback& callback) {
    const DWORD error = Finish(task);
    EXPECT_TRUE(WaitUntil([&] { return callback.completed.load(); }));
    return error;
  }

  // Waits until so much of a body has come.
  static bool WaitForBytes(DWORD task, ULONGLONG count) {
    return WaitUntil([=] { return BytesCopied(task) >= count; });
  }

  static std::vector<DWORD> List(DWORD options) {
    std::vector<DWORD> ids(128);
    const INT count = HttpEnumTasks(ids.data(), static_cast<INT>(ids.size()), options);
    EXPECT_NE(count, HTTP_ERROR);
    ids.resize(static_cast<std::size_t>(std::max(count, 0)));
    return ids;
  }

  // What the process has open and running.
  static std::ptrdiff_t Entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder),
                         std::filesystem::directory_iterator());
  }
  static std::ptrdiff_t OpenDescriptors() { return Entries("/proc/self/fd"); }
  static std::ptrdiff_t Threads() { return Entries("/proc/self/task"); }
};

}  // namespace test

#endif  // TASKS_TASK_FIXTURE_H_
