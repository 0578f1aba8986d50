#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "platform/ws2_32/socket_api.h"
#include "support/wait_until.h"

namespace test {
namespace {

constexpr LONG kLongWaitMs = 20000;

TEST(Sockets, MoveDataAndPeekAndEnd) {
  Pair pair;
  EXPECT_NE(fcntl(static_cast<int>(pair.client), F_GETFD) & FD_CLOEXEC, 0);
  ASSERT_EQ(Api().send(pair.client, "hello", 5, 0), 5);
  char buffer[16] = {};
  ASSERT_EQ(recv(pair.server.get(), buffer, 5, MSG_WAITALL), 5);
  EXPECT_STREQ(buffer, "hello");

  ASSERT_EQ(send(pair.server.get(), "abc", 3, 0), 3);
  EXPECT_EQ(Api().receive(pair.client, buffer, 1, ws2::kFlagPeek), 1);
  ULONG readable = 0;
  EXPECT_EQ(Api().control(pair.client, ws2::kIoctlBytesReadable, &readable), 0);
  EXPECT_EQ(readable, 3u);
  EXPECT_EQ(Api().receive(pair.client, buffer, sizeof(buffer), 0), 3);
  EXPECT_EQ(std::string(buffer, 3), "abc");
  pair.server.Reset();
  EXPECT_EQ(Api().receive(pair.client, buffer, sizeof(buffer), 0), 0);
}

TEST(Sockets, TimeLimitAndWouldBlockAreToldApart) {
  char buffer[4096] = {};
  Pair pair;
  ASSERT_EQ(pair.client.Set(ws2::kLevelSocket, ws2::kOptionReceiveTimeout, 20), 0);
  ASSERT_EQ(pair.client.Set(ws2::kLevelSocket, ws2::kOptionSendTimeout, 20), 0);
  EXPECT_EQ(Api().receive(pair.client, buffer, sizeof(buffer), 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorTimedOut);
  while (Api().send(pair.client, buffer, sizeof(buffer), 0) > 0) {
  }
  EXPECT_EQ(Api().last_error(), ws2::kErrorTimedOut);
  pair.client.SetNonBlocking();
  EXPECT_EQ(Api().receive(pair.client, buffer, sizeof(buffer), 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  while (Api().send(pair.client, buffer, sizeof(buffer), 0) > 0) {
  }
  EXPECT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  EXPECT_FALSE(SelectAll(pair.client, 0).write);
}

TEST(Sockets, ReportWhyNothingCanBeSent) {
  TestSocket unconnected;
  EXPECT_EQ(Api().send(unconnected, "x", 1, 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorNotConnected);

  Pair shut;
  EXPECT_EQ(Api().shutdown(shut.client, ws2::kShutdownSend), 0);
  EXPECT_EQ(Api().send(shut.client, "x", 1, 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorShutdown);

  Pair reset;
  ResetConnection(reset.server);
  ASSERT_TRUE(SelectAll(reset.client, kLongWaitMs).read);
  char buffer[4];
  EXPECT_EQ(Api().receive(reset.client, buffer, sizeof(buffer), 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorConnectionReset);
  EXPECT_EQ(Api().send(reset.client, "x", 1, 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorConnectionReset);
}

TEST(Sockets, RefuseBadArguments) {
  const struct {
    int family, type, error;
  } kCases[] = {
      {ws2::kFamilyInet, 99, ws2::kErrorSocketNotSupported},
      {99, ws2::kTypeStream, ws2::kErrorAddressFamily},
      {10, ws2::kTypeStream, ws2::kErrorAddressFamily},  // the system's number of IPv6
      {ws2::kFamilyUnspecified, ws2::kTypeStream, ws2::kErrorAddressFamily},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(Api().create(each.family, each.type, 0), ws2::kInvalidSocket);
    EXPECT_EQ(Api().last_error(), each.error) << each.family << " " << each.type;
  }
  Pair pair;
  char buffer[4];
  EXPECT_EQ(Api().receive(pair.client, buffer, sizeof(buffer), 0x40), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorOperationNotSupported);
  EXPECT_EQ(Api().shutdown(pair.client, 3), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorInvalid);
  ULONG argument = 0;
  EXPECT_EQ(Api().control(pair.client, 1, &argument), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorInvalid);
  const ws2::SockAddrIn address = LoopbackAddress(1);
  EXPECT_EQ(Api().connect(pair.client, reinterpret_cast<const ws2::SockAddr*>(&address), 8), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorFault);
}

TEST(Sockets, NumbersThatAreNoSocketAreReported) {
  constexpr ws2::Socket kBeyondDescriptors = (ws2::Socket{1} << 32) + 1;
  constexpr ws2::Socket kNeverOpened = 1000000;
  for (const ws2::Socket socket : {ws2::kInvalidSocket, kBeyondDescriptors, kNeverOpened}) {
    char buffer[4] = {};
    ULONG argument = 1;
    const DWORD value = 262144;
    const auto set = [&](int level, int option) {
      return Api().set_option(socket, level, option, reinterpret_cast<LPCSTR>(&value),
                              sizeof(value));
    };
    const auto expect_not_socket = [&](const char* name, auto call) {
      Api().set_last_error(0);
      EXPECT_EQ(call(), -1) << name;
      EXPECT_EQ(Api().last_error(), ws2::kErrorNotSocket) << name;
    };
    expect_not_socket("recv", [&] { return Api().receive(socket, buffer, 4, 0); });
    expect_not_socket("send", [&] { return Api().send(socket, buffer, 4, 0); });
    expect_not_socket("select", [&] { return SelectAll(socket, 0).count; });
    expect_not_socket("shutdown", [&] { return Api().shutdown(socket, ws2::kShutdownBoth); });
    expect_not_socket("ioctl",
                      [&] { return Api().control(socket, ws2::kIoctlNonBlocking, &argument); });
    expect_not_socket("no delay", [&] { return set(ws2::kLevelTcp, ws2::kOptionTcpNoDelay); });
    expect_not_socket("send size", [&] { return set(ws2::kLevelSocket, ws2::kOptionSendBuffer); });
    expect_not_socket("receive size",
                      [&] { return set(ws2::kLevelSocket, ws2::kOptionReceiveBuffer); });
    expect_not_socket("close", [&] { return Api().close(socket); });
  }
}

TEST(Connect, InTheBackgroundCompletesOnce) {
  const Listener listener;
  TestSocket client;
  client.SetNonBlocking();
  ASSERT_EQ(client.Connect(listener.port()), -1);
  ASSERT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  const Readiness ready = SelectAll(client, kLongWaitMs);
  EXPECT_TRUE(ready.write);
  EXPECT_FALSE(ready.except);
  EXPECT_EQ(client.PendingError(), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(client.Connect(listener.port()), -1);
    EXPECT_EQ(Api().last_error(), ws2::kErrorIsConnected);
  }
}

TEST(Connect, PendingIsReported) {
  const SilentPort silent;
  TestSocket client;
  client.SetNonBlocking();
  ASSERT_EQ(client.Connect(silent.port()), -1);
  ASSERT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  EXPECT_EQ(client.Connect(silent.port()), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorAlready);
  EXPECT_EQ(SelectAll(client, 10).count, 0);
}

TEST(Connect, BlockingReportsRefusal) {
  const RefusingPort refusing;
  TestSocket client;
  EXPECT_EQ(client.Connect(refusing.port()), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorRefused);
}

TEST(Connect, AfterAFailureCanBeTriedAgain) {
  const RefusingPort refusing;
  const Listener listener;
  TestSocket client;
  client.SetNonBlocking();
  client.Connect(refusing.port());
  ASSERT_TRUE(SelectAll(client, kLongWaitMs).except);
  EXPECT_EQ(client.Connect(listener.port()), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  EXPECT_TRUE(SelectAll(client, kLongWaitMs).write);
}

// Signals that interrupt what the thread of a test waits for.
std::atomic<int> signals{0};

class Interrupted : public ::testing::Test {
 protected:
  void SetUp() override {
    signals = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++signals; };  // without SA_RESTART
    sigaction(SIGUSR1, &action, &before_);
  }
  void TearDown() override { sigaction(SIGUSR1, &before_, nullptr); }

  static void Interrupt(std::thread& thread) {
    constexpr int kTimes = 10;
    for (int i = 0; i < kTimes; ++i) {
      const int before = signals;
      pthread_kill(thread.native_handle(), SIGUSR1);
      ASSERT_TRUE(WaitUntil([&] { return signals > before; })) << "the call is over already";
    }
  }

 private:
  struct sigaction before_ {};
};

TEST_F(Interrupted, ReceiveGoesOn) {
  Pair pair;
  int result = 0;
  std::thread receiver([&] {
    char byte;
    result = Api().receive(pair.client, &byte, 1, 0);
  });
  Interrupt(receiver);
  EXPECT_EQ(send(pair.server.get(), "x", 1, 0), 1);
  receiver.join();
  EXPECT_EQ(result, 1);
}

TEST_F(Interrupted, ConnectGoesOnUntilItIsComplete) {
  const Listener listener(0);
  std::vector<UniqueFd> waiting;  // fills the queue, so that the connect has to wait
  waiting.push_back(ConnectLoopback(listener.port()));
  TestSocket client;
  ASSERT_EQ(client.Set(ws2::kLevelSocket, ws2::kOptionSendTimeout, 20), 0);
  int result = -1;
  std::thread connector([&] { result = client.Connect(listener.port()); });
  Interrupt(connector);
  const UniqueFd first = listener.Accept();
  connector.join();
  EXPECT_EQ(result, 0) << Api().last_error();
  EXPECT_EQ(Api().send(client, "x", 1, 0), 1);
}

}  // namespace
}  // namespace test
