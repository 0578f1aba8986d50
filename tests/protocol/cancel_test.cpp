// HttpCancel: what it ends, and that the session can be used afterwards.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

struct CancelEvents {
  int count = 0;
  DWORD error = 0;
};

void CALLBACK CountCancel(HCLIENT, UINT, DWORD error, DWORD_PTR parameter) {
  auto* events = reinterpret_cast<CancelEvents*>(parameter);
  ++events->count;
  events->error = error;
}

class CancelTest : public SessionTest {
 protected:
  // Runs an operation and cancels it from another thread once it waits for the server.
  static void CancelWhileBlocked(HCLIENT session, const std::function<void()>& operation) {
    std::thread canceller([&] {
      EXPECT_TRUE(WaitUntil([&] { return HttpIsBlocking(session) != FALSE; }));
      EXPECT_EQ(HttpCancel(session), 0);
    });
    operation();
    canceller.join();
  }
};

TEST_F(CancelTest, HandlesAreChecked) {
  EXPECT_EQ(HttpCancel(INVALID_CLIENT), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_NOT_BLOCKING});
  EXPECT_EQ(HttpCancel(HCLIENT{12345}), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

// A server that falls silent: before its header, within it, and within bodies.
TEST_F(CancelTest, EndsWaitsEverywhereAndTheNextRequestIsNotDisturbed) {
  const std::vector<std::string> beginnings = {
      "",
      "HTTP/1.1 200 OK\r\nContent-Le",
      Head("200 OK", {"Content-Length: 100"}) + "some",
      Head("200 OK", {"Transfer-Encoding: chunked"}) + "4\r\nsome\r\n1",
      Head("200 OK") + "some",
  };
  for (const std::string& beginning : beginnings) {
    SCOPED_TRACE(beginning);
    const RawServer server(RawServer::Script{{{.reply = beginning, .how = RawServer::How::kStall}},
                                             {{.reply = Response("200 OK", {}, "next")}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
    CancelEvents events;
    ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_CANCEL, CountCancel,
                                reinterpret_cast<DWORD_PTR>(&events)),
              0);
    std::thread canceller([&] {
      EXPECT_TRUE(server.WaitForRequests(1));
      EXPECT_TRUE(WaitUntil([&] { return HttpIsBlocking(session) != FALSE; }));
      EXPECT_EQ(HttpCancel(session), 0);
    });
    EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED});
    canceller.join();
    EXPECT_EQ(events.count, 1);
    EXPECT_EQ(events.error, DWORD{QV_ERROR_OPERATION_CANCELED});
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    EXPECT_FALSE(HttpIsBlocking(session));
    EXPECT_EQ(Get(session, "/").body, "next");
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
}

TEST_F(CancelTest, CancelledReadCanBeRepeated) {
  std::atomic<bool> go_on{false};
  const RawServer server([&](Connection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 4"}));
    WaitUntil([&] { return go_on.load(); });
    connection.Send("body");
    connection.WaitForClose();
  });
  const HCLIENT session = Connect(server.port(), 0, 0, 20);
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  BYTE buffer[4];
  CancelWhileBlocked(session, [&] {
    EXPECT_EQ(HttpRead(session, buffer, 4), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED});
  });
  go_on = true;
  EXPECT_GT(HttpRead(session, buffer, 4), 0);
}

TEST_F(CancelTest, RequestFromBeforeTheOperationIsForgotten) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(HttpCancel(session), 0);
  EXPECT_EQ(Get(session, "/").body, "body");
}

TEST_F(CancelTest, ProgressEventCanCancelATransferThatNeverWaitsLong) {
  const RawServer server([](Connection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK"));
    const std::string block = Pattern(1000);
    while (connection.SendInPieces(block, 100, std::chrono::milliseconds(5))) {
    }
  });
  const HCLIENT session = Connect(server.port());
  const HTTPEVENTPROC cancel = [](HCLIENT client, UINT, DWORD, DWORD_PTR) {
    EXPECT_EQ(HttpCancel(client), 0);
  };
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_PROGRESS, cancel, 0), 0);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED});
}

// The callback closes the session under the transfer that raised the event.
TEST_F(CancelTest, EventMayCloseTheSession) {
  const RawServer server(RawServer::Script{
      {{.reply = Head("200 OK", {"Content-Length: 100"}), .how = RawServer::How::kStall}}});
  const HCLIENT session = Connect(server.port(), 0, 0, 1);
  const HTTPEVENTPROC close = [](HCLIENT client, UINT, DWORD, DWORD_PTR) {
    EXPECT_EQ(HttpDisconnect(client), 0);
  };
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_TIMEOUT, close, 0), 0);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(HttpGetStatus(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

}  // namespace
}  // namespace test
