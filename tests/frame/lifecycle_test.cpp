// Starting and stopping the library, as an application sees it.
#include <gtest/gtest.h>

#include <thread>

#include "qvhttp12.h"
#include "support/raw_server.h"

namespace {

using test::RawServer;

class LifecycleTest : public ::testing::Test {
 protected:
  static HCLIENT Connect(unsigned port) {
    return HttpConnectA("127.0.0.1", port, 5, 0, 0, nullptr);
  }
  // Every connection stays until the client closes it.
  RawServer server_{[](test::Connection& connection) { connection.WaitForClose(); }};
};

TEST_F(LifecycleTest, NothingConnectsBeforeInitialization) {
  HttpSetLastError(0);
  EXPECT_EQ(Connect(server_.port()), INVALID_CLIENT);
  EXPECT_EQ(HttpGetLastError(), QV_ERROR_NETWORK_NOT_INITIALIZED);
  HttpSetLastError(0);
  EXPECT_EQ(HttpConnectUrlA(server_.url("/").c_str(), 5, 0), INVALID_CLIENT);
  EXPECT_EQ(HttpGetLastError(), QV_ERROR_NETWORK_NOT_INITIALIZED);
}

TEST_F(LifecycleTest, UninitializeWithoutInitializeDoesNothing) {
  HttpUninitialize();
  HttpUninitialize();
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
  const HCLIENT client = Connect(server_.port());
  EXPECT_NE(client, INVALID_CLIENT);
  EXPECT_EQ(HttpDisconnect(client), 0);
  HttpUninitialize();
  EXPECT_EQ(Connect(server_.port()), INVALID_CLIENT);
}

TEST_F(LifecycleTest, InitializeIgnoresItsArgumentsAndClearsTheErrorSlot) {
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  EXPECT_TRUE(HttpInitializeA("not a key", ~DWORD_PTR{0}));
  EXPECT_EQ(HttpGetLastError(), 0u);
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  EXPECT_TRUE(HttpInitializeW(u"not a key", 7));
  EXPECT_EQ(HttpGetLastError(), 0u);
  HttpUninitialize();
  HttpUninitialize();
}

TEST_F(LifecycleTest, TheLastUninitializeReleasesTheSessionsOfEveryThread) {
  ASSERT_TRUE(HttpInitializeA("", 0));
  ASSERT_TRUE(HttpInitializeA("", 0));
  const HCLIENT own = Connect(server_.port());
  HCLIENT foreign = INVALID_CLIENT;
  std::thread([&] { foreign = Connect(server_.port()); }).join();
  ASSERT_NE(own, INVALID_CLIENT);
  ASSERT_NE(foreign, INVALID_CLIENT);

  HttpUninitialize();
  EXPECT_TRUE(HttpIsConnected(own));
  EXPECT_EQ(HttpGetStatus(foreign), HTTP_STATUS_IDLE);

  HttpSetLastError(QV_ERROR_END_OF_FILE);
  HttpUninitialize();
  EXPECT_EQ(HttpGetLastError(), QV_ERROR_END_OF_FILE);
  EXPECT_TRUE(server_.WaitForEnds(2));
  for (const HCLIENT client : {own, foreign}) {
    EXPECT_EQ(HttpGetStatus(client), HTTP_ERROR);
    EXPECT_EQ(HttpGetLastError(), QV_ERROR_INVALID_HANDLE);
  }
}

TEST_F(LifecycleTest, CanBeStartedAgain) {
  HCLIENT first = INVALID_CLIENT;
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(HttpInitializeA(nullptr, 0));
    const HCLIENT client = Connect(server_.port());
    ASSERT_NE(client, INVALID_CLIENT);
    if (round == 0) first = client;
    EXPECT_EQ(client, first);  // the table is empty again
    HttpUninitialize();
    EXPECT_FALSE(HttpIsConnected(client));
  }
}

struct StoredError {
  DWORD set;
  DWORD stored;
};

TEST_F(LifecycleTest, SetLastErrorAddsTheFacilityToPlatformNumbers) {
  constexpr StoredError kCases[] = {
      {10060, QV_ERROR_OPERATION_TIMEOUT},
      {QV_ERROR_OPERATION_TIMEOUT, QV_ERROR_OPERATION_TIMEOUT},
      {1, 0x80040001u},
      {0xFFFF, 0x8004FFFFu},
      {0x10000, 0x10000},
      {0x12345, 0x12345},
      {0xFFFFFFFFu, 0xFFFFFFFFu},
      {0, 0},
  };
  for (const StoredError& entry : kCases) {
    HttpSetLastError(entry.set);
    EXPECT_EQ(HttpGetLastError(), entry.stored) << std::hex << entry.set;
  }
}

}  // namespace
