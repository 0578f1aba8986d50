// Queues for the time of one test, and what their callbacks are told.
#ifndef QUEUE_QUEUE_FIXTURE_H_
#define QUEUE_QUEUE_FIXTURE_H_

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"
#include "support/wait_until.h"
#include "support_library/session_fixture.h"

namespace test {

// Records the events of a queue and lets a test act inside them.
class QueueObserver {
 public:
  using Reaction = std::function<void(UINT_PTR handle, UINT event)>;

  explicit QueueObserver(Reaction reaction = {}) : reaction_(std::move(reaction)) {}

  static void CALLBACK Callback(HCLIENT handle, UINT event, DWORD error, DWORD_PTR parameter) {
    reinterpret_cast<QueueObserver*>(parameter)->OnEvent(handle, event, error);
  }
  DWORD_PTR parameter() { return reinterpret_cast<DWORD_PTR>(this); }

  // How often an event came.
  int Count(UINT event) const {
    const std::lock_guard guard(lock_);
    return static_cast<int>(std::count(events_.begin(), events_.end(), event));
  }
  bool WaitFor(UINT event, int count) const {
    return WaitUntil([&] { return Count(event) >= count; });
  }

 private:
  void OnEvent(HCLIENT handle, UINT event, DWORD error) {
    if (event == HTTP_EVENT_QUEUE) {
      EXPECT_EQ(error, 0u);
    }
    if (reaction_) reaction_(handle, event);
    // The last thing: who waits for the event may end the observer.
    const std::lock_guard guard(lock_);
    events_.push_back(event);
  }

  const Reaction reaction_;
  mutable std::mutex lock_;
  std::vector<UINT> events_;
};

class QueueTest : public SessionTest {
 protected:
  static HQUEUE Create(UINT max_files = 0, UINT timeout = 0, DWORD options = 0) {
    const HQUEUE queue = HttpCreateQueue(max_files, timeout, options);
    EXPECT_NE(queue, INVALID_QUEUE) << std::hex << LastError();
    return queue;
  }

  // Adds a file whose local end is in the test's folder.
  DWORD Add(HQUEUE queue, const std::string& local, const std::string& url,
            DWORD type = HTTP_QUEUE_DOWNLOAD, DWORD options = 0) const {
    const DWORD id =
        HttpAddQueuedFileA(queue, type, folder_.file(local).c_str(), url.c_str(), options, 0);
    EXPECT_NE(id, 0u) << url << ": " << std::hex << LastError();
    return id;
  }

  static HTTPQUEUEDFILEA FileOf(HQUEUE queue, DWORD id) {
    HTTPQUEUEDFILEA file;
    EXPECT_TRUE(HttpGetQueuedFileA(queue, id, &file)) << std::hex << LastError();
    return file;
  }

  static HTTPQUEUESTATUS StatusOf(HQUEUE queue) {
    HTTPQUEUESTATUS status;
    EXPECT_NE(HttpGetQueueStatus(queue, &status), HTTP_ERROR) << std::hex << LastError();
    return status;
  }

  static bool Start(HQUEUE queue, QueueObserver* observer = nullptr, DWORD type = 0) {
    const bool started =
        HttpStartQueue(queue, type, 0, observer != nullptr ? QueueObserver::Callback : nullptr,
                       observer != nullptr ? observer->parameter() : 0) != FALSE;
    EXPECT_TRUE(started) << std::hex << LastError();
    return started;
  }

  static bool WaitForWorkerEnd(HQUEUE queue) {
    return WaitUntil([&] { return StatusOf(queue).dwThreadId == 0; });
  }

  static bool WaitForCurrentFile(HQUEUE queue, DWORD id) {
    return WaitUntil([&] { return StatusOf(queue).dwCurrentFile == id; });
  }

  // Fails with an error, as the call says.
  static void ExpectError(DWORD error, bool succeeded, const char* what) {
    EXPECT_FALSE(succeeded) << what;
    EXPECT_EQ(LastError(), error) << what << " " << std::hex << LastError();
  }

  TempDir folder_;
};

}  // namespace test

#define EXPECT_QUEUE_ERROR(error, call) ExpectError(error, (call) != 0, #call)

#endif  // QUEUE_QUEUE_FIXTURE_H_
