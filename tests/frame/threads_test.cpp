// Sessions and threads: ownership, what any thread may do, and the error slot of each thread.
#include <functional>
#include <thread>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::RawServer;

constexpr DWORD kNoThread = 0xFFFFFFFFu;

class ThreadsTest : public test::SessionTest {
 protected:
  static void InOtherThread(const std::function<void()>& body) { std::thread(body).join(); }

  RawServer server_{[](test::Connection& connection) { connection.WaitForClose(); }};
};

TEST_F(ThreadsTest, TheErrorSlotBelongsToTheThread) {
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  InOtherThread([] {
    EXPECT_EQ(HttpGetLastError(), 0u);
    HttpSetLastError(QV_ERROR_FILE_EMPTY);
  });
  EXPECT_EQ(LastError(), QV_ERROR_END_OF_FILE);
}

TEST_F(ThreadsTest, AForeignThreadMayNotUseASession) {
  const HCLIENT client = Connect(server_.port());
  InOtherThread([&] {
    EXPECT_FALSE(HttpSetRequestHeaderA(client, "X-A", "1"));
    EXPECT_EQ(LastError(), QV_ERROR_NOT_HANDLE_OWNER);
    EXPECT_EQ(HttpSetTimeout(client, 9), HTTP_ERROR);
    EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
    EXPECT_FALSE(HttpIsConnected(client));
    HttpSetLastError(0);
    EXPECT_EQ(HttpDisconnect(client), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_NOT_HANDLE_OWNER);
  });
  EXPECT_TRUE(HttpIsConnected(client));
  EXPECT_EQ(HttpGetTimeout(client), 5);
  EXPECT_FALSE(HttpGetRequestHeaderA(client, "X-A", nullptr, 0));
}

TEST_F(ThreadsTest, AnyThreadMayWatchASession) {
  const HCLIENT client = Connect(server_.port());
  InOtherThread([&] {
    HTTPTRANSFERSTATUS status;
    HTTPTRANSFERSTATUSEX status_ex;
    EXPECT_EQ(HttpGetStatus(client), HTTP_STATUS_IDLE);
    EXPECT_FALSE(HttpIsBlocking(client));
    EXPECT_EQ(HttpGetTransferStatus(client, &status), 0);
    EXPECT_EQ(HttpGetTransferStatusEx(client, &status_ex), 0);
    EXPECT_EQ(HttpCancel(client), 0);
    EXPECT_EQ(LastError(), 0u);
  });
}

TEST_F(ThreadsTest, AttachThreadMovesASessionThereAndBack) {
  const HCLIENT client = Connect(server_.port());
  const DWORD here = HttpAttachThread(client, 0);
  EXPECT_NE(here, kNoThread);
  EXPECT_NE(here, 0u);
  InOtherThread([&] {
    EXPECT_EQ(HttpAttachThread(client, 0), here);
    EXPECT_TRUE(HttpIsConnected(client));
    EXPECT_NE(HttpAttachThread(client, here), here);
    EXPECT_FALSE(HttpIsConnected(client));
    EXPECT_EQ(LastError(), QV_ERROR_NOT_HANDLE_OWNER);
  });
  EXPECT_TRUE(HttpIsConnected(client));
  EXPECT_EQ(HttpAttachThread(client, 0), here);
}

TEST_F(ThreadsTest, AFreeThreadedSessionServesEveryThread) {
  const HCLIENT from_start = Connect(server_.port(), HTTP_OPTION_FREETHREAD);
  const HCLIENT later = Connect(server_.port());
  ASSERT_EQ(HttpSetOption(later, HTTP_OPTION_FREETHREAD, TRUE), 0);
  InOtherThread([&] {
    EXPECT_TRUE(HttpIsConnected(later));
    EXPECT_EQ(HttpSetOption(later, HTTP_OPTION_FREETHREAD, FALSE), 0);
    EXPECT_FALSE(HttpIsConnected(later));
    EXPECT_EQ(HttpDisconnect(from_start), 0);
  });
  EXPECT_TRUE(HttpIsConnected(later));
  EXPECT_FALSE(HttpIsConnected(from_start));
}

}  // namespace
