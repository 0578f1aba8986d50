// Many requests on one connection.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

class KeepAliveTest : public SessionTest {};

TEST_F(KeepAliveTest, RealServerSeesOneConnection) {
  const WebServer web;
  web.AddFile("small.txt", "small");
  web.AddFile("page.txt", std::string(100000, 'p'));
  const HCLIENT session = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  DWORD size = 0;
  EXPECT_EQ(Get(session, "/small.txt").body, "small");
  EXPECT_EQ(HttpGetFileSize(session, "/small.txt", &size), 200);
  EXPECT_EQ(Get(session, "/chunked/page.txt").body.size(), 100000u);
  EXPECT_EQ(Get(session, "/gzip/page.txt", HTTP_TRANSFER_COMPRESS).body.size(), 100000u);
  EXPECT_EQ(Get(session, "/missing.txt").result, HTTP_ERROR);  // with an error page
  EXPECT_EQ(Get(session, "/status/204").result, 204);
  EXPECT_EQ(Get(session, "/redirect/302/small.txt").result, 302);  // not followed
  EXPECT_EQ(HttpOpenFile(session, "/page.txt", 0), 200);           // not read
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpCreateFile(session, "/dav/new.txt", 3, 0), 200);
  EXPECT_EQ(HttpWrite(session, reinterpret_cast<const BYTE*>("new"), 3), 3);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(Get(session, "/dav/new.txt").body, "new");
  EXPECT_EQ(HttpDeleteFile(session, "/dav/new.txt"), 204);
  EXPECT_EQ(HttpCloseFile(session), 0);
  constexpr std::size_t kRequests = 11;
  ASSERT_TRUE(web.WaitForAccesses(kRequests));
  std::set<unsigned long> connections;
  for (const Access& access : web.access_log()) connections.insert(access.connection);
  EXPECT_EQ(connections.size(), 1u);
}

TEST_F(KeepAliveTest, WithoutTheOptionTheServerIsAskedToClose) {
  const WebServer web;
  web.AddFile("small.txt", "small");
  const HCLIENT session = Connect(web.port());
  EXPECT_EQ(WebServer::HeadersPage(Get(session, "/headers").body, "Connection"), "Close");
  EXPECT_EQ(Get(session, "/small.txt").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED});
  // The option can be set later; the next request then connects anew.
  EXPECT_EQ(HttpSetOption(session, HTTP_OPTION_KEEPALIVE, TRUE), 0);
  EXPECT_EQ(Get(session, "/small.txt").body, "small");
  EXPECT_EQ(Get(session, "/small.txt").body, "small");
  ASSERT_TRUE(web.WaitForAccesses(3));
  const std::vector<Access> log = web.access_log();
  EXPECT_NE(log[0].connection, log[1].connection);
  EXPECT_EQ(log[1].connection, log[2].connection);
}

TEST_F(KeepAliveTest, RestOfABodyIsDroppedUpTo256KiB) {
  struct Case {
    std::string first;
    std::size_t connections;
  };
  const std::vector<Case> cases = {
      {Response("200 OK", {}, std::string(200000, 'x')), 1},
      {ChunkedResponse("200 OK", {}, {std::string(100000, 'x'), std::string(100000, 'x')}), 1},
      {Response("200 OK", {}, std::string(400000, 'x')), 2},
      {ChunkedResponse("200 OK", {}, {std::string(300000, 'x'), std::string(300000, 'x')}), 2},
      {Response("404 Not Found", {}, std::string(200000, 'x')), 1},
      {Response("404 Not Found", {}, std::string(400000, 'x')), 2},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const RawServer::Exchange next{.reply = Response("200 OK", {}, "next")};
    const RawServer server(RawServer::Script{{{.reply = cases[i].first}, next}, {next}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    HttpOpenFile(session, "/", 0);
    HttpCloseFile(session);
    EXPECT_EQ(Get(session, "/").body, "next");
    EXPECT_EQ(server.connections(), cases[i].connections);
    HttpDisconnect(session);
  }
}

}  // namespace
}  // namespace test
