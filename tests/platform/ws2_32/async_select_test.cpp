#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/user32/recording_window.h"
#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

constexpr UINT kSocketMessage = WM_USER + 100;
constexpr LONG kAll = ws2::kFdRead | ws2::kFdWrite | ws2::kFdConnect | ws2::kFdClose;

int AsyncSelect(ws2::Socket socket, HWND window, LONG events, UINT message = kSocketMessage) {
  static const auto function = Ws2<ws2::AsyncSelectFn>("WSAAsyncSelect");
  return function(socket, window, message, events);
}

constexpr LPARAM With(LONG event, int error) {
  return static_cast<LPARAM>(static_cast<DWORD>(event) | static_cast<DWORD>(error) << 16);
}

// A window and the notifications that it was given for one socket, in order.
class Watcher {
 public:
  operator HWND() const { return window_; }

  std::vector<LPARAM> Received(ws2::Socket socket, UINT message = kSocketMessage) const {
    std::vector<LPARAM> events;
    for (const Note& note : window_.notes()) {
      if (note.message == message && note.wparam == socket) events.push_back(note.lparam);
    }
    return events;
  }
  // Waits until the socket has had exactly these.
  ::testing::AssertionResult Has(ws2::Socket socket, const std::vector<LPARAM>& expected) {
    DispatchUntil([&] { return Received(socket).size() >= expected.size(); });
    Settle();
    const std::vector<LPARAM> received = Received(socket);
    if (received == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "received " << ::testing::PrintToString(received);
  }
  // Dispatches what is due; afterwards nothing may keep the descriptor readable.
  static void Settle() {
    while (IsReadable(QvMessageDescriptor())) {
      MSG message;
      if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
  }

 private:
  RecordingWindow window_;
};

std::string Receive(ws2::Socket socket, int most) {
  std::string data(static_cast<size_t>(most), '\0');
  const int count = Api().receive(socket, data.data(), most, 0);
  data.resize(count > 0 ? static_cast<size_t>(count) : 0);
  return data;
}

void SendAll(const UniqueFd& peer, const std::string& data) {
  ASSERT_EQ(send(peer.get(), data.data(), data.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(data.size()));
}

// What the peer sent is there.
bool Arrives(ws2::Socket socket, ULONG bytes) {
  return WaitUntil([&] {
    ULONG readable = 0;
    return Api().control(socket, ws2::kIoctlBytesReadable, &readable) == 0 && readable >= bytes;
  });
}

TEST(AsyncSelect, ConnectIsFollowedByWrite) {
  const Listener listener;
  Watcher window;
  const TestSocket client;
  ASSERT_EQ(AsyncSelect(client, window, kAll), 0);
  Watcher::Settle();  // an idle socket has nothing to tell
  ASSERT_EQ(client.Connect(listener.port()), -1);
  ASSERT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  EXPECT_TRUE(window.Has(client, {ws2::kFdConnect, ws2::kFdWrite}));
  EXPECT_EQ(Api().send(client, "x", 1, 0), 1);
}

TEST(AsyncSelect, CanBeginWhileTheSocketConnects) {
  const Listener listener;
  Watcher window;
  const TestSocket client;
  client.SetNonBlocking();
  client.Connect(listener.port());
  ASSERT_EQ(AsyncSelect(client, window, ws2::kFdConnect), 0);
  EXPECT_TRUE(window.Has(client, {ws2::kFdConnect}));
}

TEST(AsyncSelect, FailedConnectBringsItsErrorAndNothingElse) {
  const RefusingPort refusing;
  const Listener listener;
  Watcher window;
  const TestSocket client;
  ASSERT_EQ(AsyncSelect(client, window, kAll), 0);
  client.Connect(refusing.port());
  const LPARAM refused = With(ws2::kFdConnect, ws2::kErrorRefused);
  EXPECT_TRUE(window.Has(client, {refused}));
  // The next connect is reported anew.
  client.Connect(listener.port());
  EXPECT_TRUE(window.Has(client, {refused, ws2::kFdConnect, ws2::kFdWrite}));
}

TEST(AsyncSelect, ReadComesAgainAfterEachReceive) {
  Pair pair;
  Watcher window;
  ASSERT_EQ(AsyncSelect(pair.client, window, ws2::kFdRead | ws2::kFdClose), 0);
  Watcher::Settle();
  SendAll(pair.server, "abcdef");
  ASSERT_TRUE(Arrives(pair.client, 6));
  EXPECT_TRUE(window.Has(pair.client, {1}));  // once, although it is not read
  SendAll(pair.server, "ghi");
  ASSERT_TRUE(Arrives(pair.client, 9));
  EXPECT_TRUE(window.Has(pair.client, {1}));
  EXPECT_EQ(Receive(pair.client, 4), "abcd");  // five are left
  EXPECT_TRUE(window.Has(pair.client, {1, 1}));
  char byte;
  EXPECT_EQ(Api().receive(pair.client, &byte, 1, ws2::kFlagPeek), 1);
  EXPECT_TRUE(window.Has(pair.client, {1, 1, 1}));
  EXPECT_EQ(Receive(pair.client, 10), "efghi");
  EXPECT_TRUE(window.Has(pair.client, {1, 1, 1}));  // nothing is left
  EXPECT_EQ(Receive(pair.client, 10), "");          // would block
  SendAll(pair.server, "x");
  EXPECT_TRUE(window.Has(pair.client, {1, 1, 1, 1}));
}

TEST(AsyncSelect, WriteComesAfterASendWouldBlock) {
  Pair pair;
  Watcher window;
  ASSERT_EQ(AsyncSelect(pair.client, window, ws2::kFdWrite), 0);
  EXPECT_TRUE(window.Has(pair.client, {2}));  // connected: at once
  const std::string block(65536, 'x');
  size_t sent = 0;
  for (;;) {
    const int count = Api().send(pair.client, block.data(), static_cast<int>(block.size()), 0);
    if (count < 0) break;
    sent += static_cast<size_t>(count);
  }
  ASSERT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  EXPECT_TRUE(window.Has(pair.client, {2}));
  std::thread reader([&] {
    std::string buffer(65536, '\0');
    for (size_t read = 0; read < sent;) {
      const ssize_t count = recv(pair.server.get(), buffer.data(), buffer.size(), 0);
      if (count <= 0) return;
      read += static_cast<size_t>(count);
    }
  });
  EXPECT_TRUE(window.Has(pair.client, {2, 2}));
  EXPECT_EQ(Api().send(pair.client, "x", 1, 0), 1);
  EXPECT_TRUE(window.Has(pair.client, {2, 2}));
  reader.join();
}

TEST(AsyncSelect, CloseComesOnceAndAfterTheData) {
  enum Way { kOrderly, kReset };
  const struct {
    Way way;
    std::string data;
    LONG events;
    std::vector<LPARAM> before, after;  // before and after the data is received
  } kCases[] = {
      {kOrderly, "", ws2::kFdRead | ws2::kFdClose, {32}, {32}},
      {kOrderly, "abc", ws2::kFdRead | ws2::kFdClose, {1}, {1, 32}},
      {kOrderly, "abc", ws2::kFdClose, {}, {32}},
      {kOrderly, "abc", ws2::kFdRead, {1}, {1}},
      {kReset, "", kAll, {With(32, 10054)}, {With(32, 10054)}},
      {kReset, "abc", ws2::kFdRead | ws2::kFdClose, {1}, {1, With(32, 10054)}},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.data + " " + std::to_string(each.events) + " " + std::to_string(each.way));
    Pair pair;
    Watcher window;
    SendAll(pair.server, each.data);
    ASSERT_TRUE(Arrives(pair.client, static_cast<ULONG>(each.data.size())));
    if (each.way == kReset) {
      ResetConnection(pair.server);
    } else {
      pair.server.Reset();
    }
    ASSERT_TRUE(SelectAll(pair.client, 20000).read);
    ASSERT_EQ(AsyncSelect(pair.client, window, each.events), 0);
    EXPECT_TRUE(window.Has(pair.client, each.before));
    EXPECT_EQ(each.data.empty() ? "" : Receive(pair.client, 10), each.data);
    EXPECT_TRUE(window.Has(pair.client, each.after));
    char byte;
    for (const int error : {each.way == kReset ? ws2::kErrorConnectionReset : 0, 0}) {
      Api().set_last_error(0);
      EXPECT_EQ(Api().receive(pair.client, &byte, 1, 0), error == 0 ? 0 : -1);
      EXPECT_EQ(Api().last_error(), error);
    }
    EXPECT_TRUE(window.Has(pair.client, each.after));
  }
}

// An end that comes while the notifications are on, and while a send waits for its turn.
TEST(AsyncSelect, CloseComesWhenThePeerGoes) {
  for (const bool reset : {false, true}) {
    Pair pair;
    Watcher window;
    ASSERT_EQ(AsyncSelect(pair.client, window, kAll), 0);
    EXPECT_TRUE(window.Has(pair.client, {2}));
    const std::string block(65536, 'x');
    while (reset && Api().send(pair.client, block.data(), static_cast<int>(block.size()), 0) > 0) {
    }
    if (reset) {
      ResetConnection(pair.server);
      EXPECT_TRUE(window.Has(pair.client, {2, With(32, 10054)}));
    } else {
      pair.server.Reset();
      EXPECT_TRUE(window.Has(pair.client, {2, 32}));
    }
  }
}

TEST(AsyncSelect, CancelDropsWhatWaits) {
  const struct {
    const char* name;
    void (*cancel)(std::unique_ptr<Pair>& pair, HWND window);
  } kCases[] = {
      {"no events", [](auto& pair, HWND) { EXPECT_EQ(AsyncSelect(pair->client, nullptr, 0), 0); }},
      {"window destroyed", [](auto&, HWND window) { EXPECT_TRUE(DestroyWindow(window)); }},
      {"socket closed", [](auto& pair, HWND) { pair.reset(); }},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.name);
    auto pair = std::make_unique<Pair>();
    Watcher window;
    ASSERT_EQ(AsyncSelect(pair->client, window, kAll), 0);
    SendAll(pair->server, "abc");
    ASSERT_TRUE(Arrives(pair->client, 3));
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));  // gathers, takes nothing
    each.cancel(pair, window);
    EXPECT_FALSE(IsReadable(QvMessageDescriptor()));
    EXPECT_TRUE(TakeAll().empty());
    if (pair) SendAll(pair->server, "def");
    EXPECT_TRUE(TakeAll().empty());
  }
}

TEST(AsyncSelect, SecondCallReplacesTheFirst) {
  const Listener listener;
  Watcher window;
  const TestSocket client;
  ASSERT_EQ(AsyncSelect(client, window, kAll), 0);
  client.Connect(listener.port());
  MSG message;
  ASSERT_TRUE(WaitUntil([&] { return PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) != 0; }));
  // The end of the connect was gathered, but nobody has seen it: the other message brings it.
  constexpr UINT kOther = kSocketMessage + 1;
  ASSERT_EQ(AsyncSelect(client, window, kAll, kOther), 0);
  EXPECT_TRUE(DispatchUntil([&] { return window.Received(client, kOther).size() == 2; }));
  EXPECT_EQ(window.Received(client, kOther), (std::vector<LPARAM>{ws2::kFdConnect, ws2::kFdWrite}));
  EXPECT_TRUE(window.Received(client).empty());
  // Now it is connected, which is no news; that it can be written is told once more.
  ASSERT_EQ(AsyncSelect(client, window, ws2::kFdConnect | ws2::kFdWrite), 0);
  EXPECT_TRUE(window.Has(client, {ws2::kFdWrite}));
  EXPECT_EQ(window.Received(client, kOther).size(), 2u);
}

TEST(AsyncSelect, KeepsTheSocketNonBlocking) {
  Pair pair;
  const RecordingWindow window;
  ASSERT_EQ(AsyncSelect(pair.client, window, ws2::kFdRead), 0);
  char byte;
  EXPECT_EQ(Api().receive(pair.client, &byte, 1, 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  ULONG off = 0;
  EXPECT_EQ(Api().control(pair.client, ws2::kIoctlNonBlocking, &off), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorInvalid);
  EXPECT_EQ(AsyncSelect(pair.client, window, 0), 0);
  EXPECT_EQ(Api().control(pair.client, ws2::kIoctlNonBlocking, &off), 0);
}

TEST(AsyncSelect, RefusesBadArguments) {
  const Pair pair;
  const RecordingWindow window;
  const auto stale = reinterpret_cast<HWND>(UINT_PTR{0xFFFFFFF0});
  constexpr ws2::Socket kNoSocket = 1000000;
  const struct {
    ws2::Socket socket;
    HWND window;
    LONG events;
    int error;
  } kCases[] = {
      {kNoSocket, window, ws2::kFdRead, ws2::kErrorNotSocket},
      {pair.client, stale, ws2::kFdRead, ws2::kErrorInvalid},
      {pair.client, window, 0x10000, ws2::kErrorInvalid},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(AsyncSelect(each.socket, each.window, each.events), -1);
    EXPECT_EQ(Api().last_error(), each.error);
  }
}

TEST(AsyncSelect, ManySocketsShareAWindow) {
  constexpr size_t kCount = 100;
  Watcher window;
  std::vector<std::unique_ptr<Pair>> pairs;
  for (size_t i = 0; i < kCount; ++i) {
    pairs.push_back(std::make_unique<Pair>());
    ASSERT_EQ(AsyncSelect(pairs[i]->client, window, ws2::kFdRead | ws2::kFdClose), 0);
  }
  for (const auto& pair : pairs) SendAll(pair->server, "x");
  for (const auto& pair : pairs) EXPECT_TRUE(window.Has(pair->client, {1}));
  for (const auto& pair : pairs) {
    EXPECT_EQ(Receive(pair->client, 1), "x");
    pair->server.Reset();
  }
  for (const auto& pair : pairs) EXPECT_TRUE(window.Has(pair->client, {1, 32}));
}

// Sockets that other threads read, close and cancel while the pump looks after them.
TEST(AsyncSelect, ThreadsMayUseTheSocketsMeanwhile) {
  const RecordingWindow window;
  std::atomic<int> running{3};
  std::vector<std::thread> threads;
  for (int i = running; i > 0; --i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        const Pair pair;
        EXPECT_EQ(AsyncSelect(pair.client, window, kAll), 0);
        SendAll(pair.server, "abc");
        EXPECT_TRUE(Arrives(pair.client, 3));
        EXPECT_EQ(Receive(pair.client, 2), "ab");
        EXPECT_EQ(Api().send(pair.client, "x", 1, 0), 1);
        EXPECT_EQ(AsyncSelect(pair.client, nullptr, round % 2 == 0 ? 0 : ws2::kFdRead),
                  round % 2 == 0 ? 0 : -1);
      }
      --running;
    });
  }
  EXPECT_TRUE(DispatchUntil([&] { return running == 0; }));
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(TakeAll().empty());
}

// The window's own thread waits in GetMessage; the socket belongs to another thread.
TEST(AsyncSelect, WakesGetMessage) {
  Pair pair;
  std::atomic<HWND> target{nullptr};
  std::atomic<LPARAM> received{0};
  std::thread pump([&] {
    const RecordingWindow window;
    target = window;
    MSG message;
    if (GetMessageW(&message, window, kSocketMessage, kSocketMessage) > 0) {
      received = message.lParam;
    }
  });
  ASSERT_TRUE(WaitUntil([&] { return target.load() != nullptr; }));
  ASSERT_EQ(AsyncSelect(pair.client, target, ws2::kFdRead), 0);
  SendAll(pair.server, "x");
  pump.join();
  EXPECT_EQ(received, ws2::kFdRead);
  char byte;  // the window went with its thread, and with it the notifications
  EXPECT_EQ(Api().receive(pair.client, &byte, 1, 0), 1);
}

}  // namespace
}  // namespace test
