#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "platform/user32/recording_window.h"

namespace test {
namespace {

std::vector<WPARAM> WParams(const std::vector<MSG>& messages) {
  std::vector<WPARAM> values;
  for (const MSG& message : messages) values.push_back(message.wParam);
  return values;
}

TEST(Messages, ComeInTheOrderOfPosting) {
  const RecordingWindow window;
  ASSERT_TRUE(PostMessageW(window, kMessage, 1, -1));
  ASSERT_TRUE(PostMessageA(nullptr, kMessage, 2, 0));  // to the thread
  ASSERT_TRUE(PostMessageW(window, kMessage + 1, 3, 0));
  MSG message;
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    EXPECT_EQ(message.hwnd, static_cast<HWND>(window));
    EXPECT_EQ(message.message, kMessage);
    EXPECT_EQ(message.wParam, 1u);
    EXPECT_EQ(message.lParam, -1);
  }
  EXPECT_EQ(WParams(TakeAll()), (std::vector<WPARAM>{1, 2, 3}));
  EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, 0x80));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_FLAGS);
}

TEST(Messages, FiltersPickAndKeepTheRest) {
  const RecordingWindow first;
  const RecordingWindow second;
  const struct {
    HWND window;
    UINT low, high;
    std::vector<WPARAM> picked, kept;
  } kCases[] = {
      {first, 0, 0, {1, 3}, {2, 4}},
      {second, 0, 0, {2}, {1, 3, 4}},
      {nullptr, kMessage, kMessage, {1, 2}, {3, 4}},
      {nullptr, kMessage + 1, 0xFFFF, {3, 4}, {1, 2}},
      {first, kMessage + 1, kMessage + 1, {3}, {1, 2, 4}},
      {nullptr, 1, 2, {}, {1, 2, 3, 4}},
  };
  for (const auto& each : kCases) {
    PostMessageW(first, kMessage, 1, 0);
    PostMessageW(second, kMessage, 2, 0);
    PostMessageW(first, kMessage + 1, 3, 0);
    PostMessageW(nullptr, kMessage + 2, 4, 0);
    std::vector<MSG> picked;
    MSG message;
    while (PeekMessageW(&message, each.window, each.low, each.high, PM_REMOVE)) {
      picked.push_back(message);
    }
    EXPECT_EQ(WParams(picked), each.picked);
    EXPECT_EQ(WParams(TakeAll()), each.kept);
  }
}

TEST(Messages, QuitComesLastAndOnce) {
  const RecordingWindow window;
  PostQuitMessage(42);
  PostMessageW(window, kMessage, 1, 0);
  MSG message;
  EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), TRUE);
  EXPECT_EQ(message.wParam, 1u);
  EXPECT_TRUE(PeekMessageW(&message, window, kMessage, kMessage, PM_NOREMOVE));  // past any filter
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), FALSE);
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 42u);
  EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST(Messages, OfADestroyedWindowAreDropped) {
  const RecordingWindow stays;
  {
    const RecordingWindow goes;
    PostMessageW(goes, kMessage, 1, 0);
    PostMessageW(stays, kMessage, 2, 0);
    PostMessageW(goes, kMessage, 3, 0);
  }
  EXPECT_EQ(WParams(TakeAll()), (std::vector<WPARAM>{2}));
}

TEST(Messages, QueueHasALimit) {
  constexpr WPARAM kLimit = 10000;
  const RecordingWindow window;
  WPARAM posted = 0;
  while (posted <= kLimit && PostMessageW(window, kMessage, posted, 0)) ++posted;
  EXPECT_EQ(posted, kLimit);
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_QUOTA);
  EXPECT_EQ(TakeAll().size(), kLimit);
}

// A thread with a window whose handler is given, that pumps until it is told to quit.
class WindowThread {
 public:
  explicit WindowThread(RecordingWindow::Handler handler)
      : thread_([this, handler = std::move(handler)] { Run(handler); }) {
    WaitUntil([this] { return window.load() != nullptr; });
  }
  ~WindowThread() {
    PostMessageW(window, WM_CLOSE, 0, 0);
    thread_.join();
  }

  std::atomic<HWND> window{nullptr};

 private:
  void Run(const RecordingWindow::Handler& handler) {
    const RecordingWindow own(handler);
    window = own;
    MSG message;
    while (IsWindow(own) && GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  }

  std::thread thread_;
};

TEST(SentMessages, AreAnsweredByTheWindowsThread) {
  std::atomic<DWORD> answered_by{0};
  const WindowThread other([&](const Note& note) {
    answered_by = GetCurrentThreadId();
    return static_cast<LRESULT>(note.wparam) + note.lparam;
  });
  std::vector<std::thread> senders;
  for (WPARAM i = 0; i < 4; ++i) {
    senders.emplace_back([&other, i] {
      for (LPARAM k = 0; k < 50; ++k) {
        EXPECT_EQ(SendMessageW(other.window, kMessage, i, k), static_cast<LRESULT>(i) + k);
      }
    });
  }
  for (std::thread& sender : senders) sender.join();
  EXPECT_EQ(answered_by, GetWindowThreadProcessId(other.window, nullptr));
  EXPECT_NE(answered_by, GetCurrentThreadId());
}

// Each side sends back while it answers, down to depth 0: both wait and serve at the same time.
TEST(SentMessages, ThreadsThatSendToEachOtherDoNotLock) {
  std::atomic<HWND> here{nullptr};
  const auto bounce = [](HWND target, const Note& note) {
    return note.wparam == 0 ? LRESULT{0} : SendMessageW(target, kMessage, note.wparam - 1, 0) + 1;
  };
  const WindowThread other([&](const Note& note) { return bounce(here, note); });
  const RecordingWindow own([&](const Note& note) { return bounce(other.window, note); });
  here = own;
  EXPECT_EQ(SendMessageW(other.window, kMessage, 9, 0), 9);

  // At once from both sides.
  std::thread starter([&] { EXPECT_EQ(SendMessageW(own, kMessage, 20, 0), 20); });
  EXPECT_EQ(SendMessageW(other.window, kMessage, 20, 0), 20);
  std::atomic<bool> joined{false};
  std::thread joiner([&] {
    starter.join();
    joined = true;
  });
  EXPECT_TRUE(DispatchUntil([&] { return joined.load(); }));
  joiner.join();
}

// Posted messages wait while a thread serves what is sent.
TEST(SentMessages, OvertakePostedOnes) {
  RecordingWindow window;
  PostMessageW(window, kMessage, 1, 0);
  std::thread sender([&] { SendMessageW(window, kMessage, 2, 0); });
  MSG message;
  EXPECT_TRUE(WaitUntil([&] {
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    return window.notes().back().wparam == 2;
  }));
  sender.join();
  EXPECT_EQ(WParams(TakeAll()), (std::vector<WPARAM>{1}));
}

// The window goes before its thread serves the message, or the thread is ended while it does.
TEST(SentMessages, ToAWindowThatGoesReturn) {
  std::atomic<bool> failed{false};
  std::thread sender;
  {
    const RecordingWindow window;
    sender = std::thread([&, target = static_cast<HWND>(window)] {
      failed = SendMessageW(target, kMessage, 0, 0) == 0 &&
               GetLastError() == ERROR_INVALID_WINDOW_HANDLE;
    });
    ASSERT_TRUE(WaitUntil([] { return IsReadable(QvMessageDescriptor()); }));
  }
  sender.join();
  EXPECT_TRUE(failed);

  static std::atomic<HWND> window;
  static std::atomic<bool> serving;
  const LPTHREAD_START_ROUTINE serve = [](LPVOID) -> DWORD {
    const RecordingWindow own([](const Note&) {
      serving = true;
      Sleep(INFINITE);
      return LRESULT{0};
    });
    window = own;
    MSG message;
    GetMessageW(&message, nullptr, 0, 0);
    return 0;
  };
  const HANDLE thread = CreateThread(nullptr, 0, serve, nullptr, 0, nullptr);
  ASSERT_TRUE(WaitUntil([] { return window.load() != nullptr; }));
  std::thread second([] { EXPECT_EQ(SendMessageW(window, kMessage, 0, 0), 0); });
  ASSERT_TRUE(WaitUntil([] { return serving.load(); }));
  TerminateThread(thread, 0);
  second.join();
  EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
  CloseHandle(thread);
}

TEST(Waiting, GetMessageWaitsForWhatMatches) {
  const RecordingWindow window;
  PostMessageW(window, kMessage + 1, 1, 0);  // waits in the queue all the time
  std::thread poster([&] {
    PostMessageW(window, kMessage + 1, 2, 0);
    PostMessageW(window, kMessage, 3, 0);
  });
  MSG message;
  EXPECT_EQ(GetMessageW(&message, window, kMessage, kMessage), TRUE);
  EXPECT_EQ(message.wParam, 3u);
  poster.join();
  EXPECT_TRUE(WaitMessage());  // the others are still there
  EXPECT_EQ(WParams(TakeAll()), (std::vector<WPARAM>{1, 2}));
}

TEST(Waiting, SuspendedThreadServesNothing) {
  static std::atomic<HWND> window;
  static std::atomic<int> served;
  window = nullptr;
  served = 0;
  const LPTHREAD_START_ROUTINE pump = [](LPVOID) -> DWORD {
    const RecordingWindow own([](const Note&) { return LRESULT{++served}; });
    window = own;
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      if (message.message == WM_CLOSE) return 0;
      DispatchMessageW(&message);
    }
    return 1;
  };
  const HANDLE thread = CreateThread(nullptr, 0, pump, nullptr, 0, nullptr);
  ASSERT_TRUE(WaitUntil([] { return window.load() != nullptr; }));
  EXPECT_EQ(SuspendThread(thread), 0u);
  PostMessageW(window, kMessage, 0, 0);
  EXPECT_EQ(WaitForSingleObject(thread, 50), WAIT_TIMEOUT);
  ResumeThread(thread);
  EXPECT_TRUE(WaitUntil([] { return served >= 1; }));
  PostMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
  CloseHandle(thread);
}

TEST(Descriptor, IsReadableExactlyWhileSomethingWaits) {
  const RecordingWindow window;
  PostMessageW(window, kMessage, 1, 0);  // before there is a descriptor in this thread, perhaps
  const int descriptor = QvMessageDescriptor();
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(QvMessageDescriptor(), descriptor);
  EXPECT_TRUE(IsReadable(descriptor));
  PostMessageW(window, kMessage, 2, 0);
  MSG message;
  PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
  EXPECT_TRUE(IsReadable(descriptor));
  PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
  EXPECT_TRUE(IsReadable(descriptor));
  PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
  EXPECT_FALSE(IsReadable(descriptor));
  PostQuitMessage(0);
  EXPECT_TRUE(IsReadable(descriptor));
  TakeAll();
  EXPECT_FALSE(IsReadable(descriptor));
  {
    const RecordingWindow goes;
    PostMessageW(goes, kMessage, 3, 0);
    EXPECT_TRUE(IsReadable(descriptor));
  }
  EXPECT_FALSE(IsReadable(descriptor));
  std::thread sender([&] { SendMessageW(window, kMessage, 4, 0); });
  EXPECT_TRUE(IsReadable(descriptor, 20000));
  PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
  EXPECT_FALSE(IsReadable(descriptor));
  sender.join();
}

}  // namespace
}  // namespace test
