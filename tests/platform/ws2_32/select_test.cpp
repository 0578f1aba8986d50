#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "platform/ws2_32/socket_api.h"
#include "support/wait_until.h"

namespace test {
namespace {

constexpr LONG kLongWaitMs = 20000;
constexpr ws2::TimeVal kNoTime{0, 0};

TEST(Select, FailedConnectIsAnExceptionOnly) {
  const RefusingPort refusing;
  TestSocket client;
  client.SetNonBlocking();
  ASSERT_EQ(client.Connect(refusing.port()), -1);
  ASSERT_EQ(Api().last_error(), ws2::kErrorWouldBlock);
  for (int i = 0; i < 2; ++i) {
    const Readiness ready = SelectAll(client, kLongWaitMs);
    EXPECT_EQ(ready.count, 1);
    EXPECT_TRUE(ready.except);
    EXPECT_FALSE(ready.read);
    EXPECT_FALSE(ready.write);
  }
  EXPECT_EQ(client.PendingError(), ws2::kErrorRefused);
  EXPECT_EQ(client.PendingError(), 0);
  EXPECT_TRUE(SelectAll(client, 0).except);
}

TEST(Select, FailedConnectLastsOutAWaitForOtherSets) {
  const RefusingPort refusing;
  TestSocket client;
  client.SetNonBlocking();
  ASSERT_EQ(client.Connect(refusing.port()), -1);
  constexpr std::chrono::milliseconds kWait{150};  // more than one slice of the wait
  const auto start = std::chrono::steady_clock::now();
  ws2::FdSet read{1, {client}};
  ws2::FdSet write{1, {client}};
  const ws2::TimeVal timeout{0, 150000};
  EXPECT_EQ(Api().select(64, &read, &write, nullptr, &timeout), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, kWait);
  EXPECT_EQ(read.count + write.count, 0u);
  EXPECT_EQ(client.PendingError(), ws2::kErrorRefused);
}

TEST(Select, ErrorReadBeforeTheWaitStillMakesAnException) {
  const RefusingPort refusing;
  TestSocket client;
  client.SetNonBlocking();
  client.Connect(refusing.port());
  ASSERT_TRUE(WaitUntil([&] { return client.PendingError() == ws2::kErrorRefused; }));
  const Readiness ready = SelectAll(client, 0);
  EXPECT_TRUE(ready.except);
  EXPECT_FALSE(ready.write);
}

TEST(Select, ReportsDataEndAndReset) {
  Pair pair;
  Readiness ready = SelectAll(pair.client, 0);
  EXPECT_EQ(ready.count, 1);
  EXPECT_TRUE(ready.write);
  ASSERT_EQ(send(pair.server.get(), "x", 1, 0), 1);
  ws2::FdSet read{1, {pair.client}};
  EXPECT_EQ(Api().select(0, &read, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(read.sockets[0], static_cast<ws2::Socket>(pair.client));
  EXPECT_EQ(SelectAll(pair.client, 0).count, 2);
  char byte;
  EXPECT_EQ(Api().receive(pair.client, &byte, 1, 0), 1);
  EXPECT_FALSE(SelectAll(pair.client, 0).read);
  pair.server.Reset();
  read.count = 1;
  EXPECT_EQ(Api().select(0, &read, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(Api().receive(pair.client, &byte, 1, 0), 0);

  Pair reset;
  ResetConnection(reset.server);
  read = {1, {reset.client}};
  ASSERT_EQ(Api().select(0, &read, nullptr, nullptr, nullptr), 1);
  ready = SelectAll(reset.client, 0);
  EXPECT_TRUE(ready.read && ready.write);
  EXPECT_FALSE(ready.except);
}

TEST(Select, ResetRightAfterABackgroundConnectIsNoFailedConnect) {
  const Listener listener;
  TestSocket client;
  client.SetNonBlocking();
  ASSERT_EQ(client.Connect(listener.port()), -1);
  UniqueFd server = listener.Accept();
  ASSERT_TRUE(server.valid());
  ResetConnection(server);
  // The client learns of the connection and of its end at once.
  const Readiness ready = SelectAll(client, kLongWaitMs);
  EXPECT_TRUE(ready.read && ready.write);
  EXPECT_FALSE(ready.except);
  char byte;
  EXPECT_EQ(Api().receive(client, &byte, 1, 0), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorConnectionReset);
}

TEST(Select, OutOfBandDataIsAnException) {
  Pair pair;
  ASSERT_EQ(send(pair.server.get(), "!", 1, MSG_OOB), 1);
  ws2::FdSet except{1, {pair.client}};
  const ws2::TimeVal timeout{20, 0};
  EXPECT_EQ(Api().select(0, nullptr, nullptr, &except, &timeout), 1);
}

TEST(Select, KeepsTheReadyOnes) {
  const Pair silent;
  const Pair talking;
  const Pair ended;
  ASSERT_EQ(send(talking.server.get(), "x", 1, 0), 1);
  ASSERT_EQ(shutdown(ended.server.get(), SHUT_WR), 0);
  ASSERT_TRUE(SelectAll(talking.client, kLongWaitMs).read);
  ASSERT_TRUE(WaitUntil([&] { return SelectAll(ended.client, 0).read; }));
  ws2::FdSet read{3, {silent.client, talking.client, ended.client}};
  ws2::FdSet none{};
  EXPECT_EQ(Api().select(0, &read, &none, nullptr, &kNoTime), 2);
  ASSERT_EQ(read.count, 2u);
  EXPECT_EQ(read.sockets[0], static_cast<ws2::Socket>(talking.client));
  EXPECT_EQ(read.sockets[1], static_cast<ws2::Socket>(ended.client));
}

TEST(Select, TimeOutEmptiesTheSets) {
  const Pair pair;
  ws2::FdSet read{1, {pair.client}};
  const ws2::TimeVal timeout{0, 1500};
  EXPECT_EQ(Api().select(0, &read, nullptr, nullptr, &timeout), 0);
  EXPECT_EQ(read.count, 0u);
}

TEST(Select, RefusesBadArguments) {
  const Pair pair;
  ws2::FdSet empty{};
  ws2::FdSet read{1, {pair.client}};
  ws2::FdSet too_large{ws2::kSetSize + 1, {}};
  const ws2::TimeVal negative{-1, 0};
  const ws2::TimeVal negative_fraction{0, -1};
  const struct {
    ws2::FdSet* set;
    const ws2::TimeVal* timeout;
  } kCases[] = {
      {nullptr, &kNoTime}, {&empty, &kNoTime},          {&empty, nullptr},
      {&read, &negative},  {&read, &negative_fraction}, {&too_large, &kNoTime},
  };
  for (const auto& each : kCases) {
    Api().set_last_error(0);
    EXPECT_EQ(Api().select(0, each.set, nullptr, nullptr, each.timeout), -1);
    EXPECT_EQ(Api().last_error(), ws2::kErrorInvalid);
  }
}

}  // namespace
}  // namespace test
