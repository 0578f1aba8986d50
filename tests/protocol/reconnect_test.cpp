// When a session connects anew before a request, and what is left when it cannot.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

class ReconnectTest : public SessionTest {};

using Exchange = RawServer::Exchange;

// Each first exchange leaves a connection that must not carry the next request, although the server
// keeps it open; the second connection answers "two".
TEST_F(ReconnectTest, ConnectionsThatAreNotToBeUsedAgain) {
  const std::string stale = Response("200 OK", {}, "stale");
  struct Case {
    const char* what;
    std::string first;
    DWORD options;
    int result;
    DWORD error;
  };
  const std::vector<Case> cases = {
      {"close", Response("200 OK", {"Connection: close"}, "one"), HTTP_OPTION_KEEPALIVE, 200, 0},
      {"close among options", Response("200 OK", {"Connection: upgrade, Close"}, "one"),
       HTTP_OPTION_KEEPALIVE, 200, 0},
      {"server error", Response("500 Oops", {}, "one"), HTTP_OPTION_KEEPALIVE, HTTP_ERROR,
       QV_ERROR_INVALID_SERVER_RESPONSE},
      {"server error without keep-alive", Response("503 Busy", {}, ""), 0, HTTP_ERROR,
       QV_ERROR_SERVICE_UNAVAILABLE},
      {"server error as data", Response("500 Oops", {}, "one"),
       HTTP_OPTION_KEEPALIVE | HTTP_OPTION_ERRORDATA, 500, 0},
      {"left-over bytes", Response("200 OK", {}, "one") + stale, HTTP_OPTION_KEEPALIVE, 200, 0},
      {"length and chunks", ChunkedResponse("200 OK", {"Content-Length: 3"}, {"one"}),
       HTTP_OPTION_KEEPALIVE, 200, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const RawServer server(RawServer::Script{{{.reply = c.first}, {.reply = stale}},
                                             {{.reply = Response("200 OK", {}, "two")}}});
    const HCLIENT session = Connect(server.port(), c.options);
    const Fetched one = Get(session, "/one");
    EXPECT_EQ(one.result, c.result);
    if (c.error != 0) {
      EXPECT_EQ(LastError(), c.error);
    }
    const Fetched two = Get(session, "/two");
    EXPECT_EQ(two.result, 200) << std::hex << LastError();
    EXPECT_EQ(two.body, "two");
    EXPECT_EQ(server.requests(0).size(), 1u);
    EXPECT_EQ(server.connections(), 2u);
    HttpDisconnect(session);
  }
}

TEST_F(ReconnectTest, ServerThatClosesWhileTheSessionIsIdle) {
  const RawServer server(
      ConnectionForEach({Response("200 OK", {}, "one"), Response("200 OK", {}, "two")}));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_TRUE(HttpSetRequestHeader(session, "X-Test", "kept"));
  EXPECT_EQ(Get(session, "/").body, "one");
  ASSERT_TRUE(server.WaitForEnds(1));
  EXPECT_EQ(Get(session, "/").body, "two");
  ASSERT_EQ(server.requests(1).size(), 1u);
  EXPECT_EQ(HeaderOf(server.requests(1)[0], "X-Test"), "kept");
  EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
}

TEST_F(ReconnectTest, WithoutKeepAliveASecondRequestFails) {
  const RawServer server(
      ConnectionForEach({Response("200 OK", {}, "one"), Head("200 OK", {"Content-Length: 7"})}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(Get(session, "/").body, "one");
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED});
  EXPECT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED});
  // Queries connect anew by themselves, before and after the request.
  DWORD size = 0;
  EXPECT_EQ(HttpGetFileSize(session, "/", &size), 200);
  EXPECT_EQ(size, 7u);
  EXPECT_TRUE(server.WaitForConnections(3));
}

TEST_F(ReconnectTest, RefusedReconnectEndsAsTimeOutAndReleasesTheSession) {
  RawServer server(ConnectionForEach({Response("200 OK", {}, "one")}));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 1);
  EXPECT_EQ(Get(session, "/").body, "one");
  ASSERT_TRUE(server.WaitForEnds(1));
  server.StopListening();
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(HttpGetStatus(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(ReconnectTest, OpenRequestIsReportedBeforeAnyReconnect) {
  const RawServer server(
      RawServer::Script{{{.reply = Response("200 OK", {"Connection: close"}, "one")}}});
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), 200);
  EXPECT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  BYTE body[8];
  EXPECT_EQ(HttpRead(session, body, sizeof(body)), 3);  // the open request is as it was
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(server.connections(), 1u);
}

// The response to a streamed body announces the end of the connection like any other.
TEST_F(ReconnectTest, StreamedUploadWhoseResponseSaysClose) {
  const RawServer server(
      RawServer::Script{{{.reply = Response("201 Created", {"Connection: close"}, "")},
                         {.reply = Response("200 OK", {}, "stale")}},
                        {{.reply = Response("200 OK", {}, "two")}}});
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(HttpCreateFile(session, "/file.txt", 3, 0), 200);
  ASSERT_EQ(HttpWrite(session, reinterpret_cast<const BYTE*>("abc"), 3), 3);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpGetResultCode(session), 201);
  EXPECT_EQ(Get(session, "/").body, "two");
}

}  // namespace
}  // namespace test
