// Following redirects.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

std::string Redirect(const std::string& location, int code = 302) {
  return Response(std::to_string(code) + " Moved", {"Location: " + location}, "moved");
}

class RedirectTest : public SessionTest {
 protected:
  static constexpr DWORD kOptions = HTTP_OPTION_REDIRECT | HTTP_OPTION_KEEPALIVE;

  static std::string RedirectUrl(HCLIENT session) {
    char url[512] = "";
    HttpGetRedirectUrl(session, url, sizeof(url));
    return url;
  }
};

TEST_F(RedirectTest, LocationsLeadToTheirResource) {
  struct Case {
    std::string location;
    std::string target;  // of the second request line
  };
  const std::vector<Case> cases = {
      {"/new", "/new"},
      {"/new?a=b&c=d", "/new?a=b&c=d"},
      {"URL/new/path?a=b", "/new/path?a=b"},
      {"URL", "/"},
      {"relative", "/folder/relative"},
      {"sub/relative?x=1", "/folder/sub/relative?x=1"},
      {"?only=query", "/folder/page?only=query"},
      {"login?return=http://127.0.0.1/x", "/folder/login?return=http://127.0.0.1/x"},
      {"/new#fragment", "/new"},
      {"AUTHORITY/new", "/new"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.location);
    std::string location = c.location;
    const RawServer server([&](Connection& connection) {
      if (!connection.ReadRequest()) return;
      connection.Send(connection.index() == 0 ? Redirect(location)
                                              : Response("200 OK", {}, "arrived"));
    });
    const std::string authority = "//127.0.0.1:" + std::to_string(server.port());
    if (location.starts_with("URL")) location.replace(0, 3, "http:" + authority);
    if (location.starts_with("AUTHORITY")) location.replace(0, 9, authority);
    const HCLIENT session = Connect(server.port(), kOptions);
    const Fetched fetched = Get(session, "/folder/page?q");
    EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
    EXPECT_EQ(fetched.body, "arrived");
    EXPECT_EQ(server.requests(0).size(), 1u);  // the first connection is closed
    ASSERT_EQ(server.requests(1).size(), 1u);
    EXPECT_EQ(FirstLineOf(server.requests(1)[0]), "GET " + c.target + " HTTP/1.1");
    HttpDisconnect(session);
  }
}

TEST_F(RedirectTest, MethodAndParametersStayForEveryStatus) {
  for (int code : {301, 302, 303, 307, 308}) {
    SCOPED_TRACE(code);
    const RawServer server(
        ConnectionForEach({Redirect("/new", code), Response("200 OK", {}, "done")}));
    const HCLIENT session = Connect(server.port(), kOptions);
    EXPECT_EQ(Command(session, "POST", "/form", "a=b c"), 200);
    const std::vector<std::string> requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(FirstLineOf(requests[1]), "POST /new HTTP/1.1");
    EXPECT_FALSE(BodyOf(requests[0]).empty());
    EXPECT_EQ(BodyOf(requests[1]), BodyOf(requests[0]));  // not encoded once more
    EXPECT_EQ(CountHeader(requests[1], "Content-Length"), 1u);
    HttpDisconnect(session);
  }
}

TEST_F(RedirectTest, AtMostThreeAreFollowedInOneCommand) {
  const std::vector<std::string> four(4, Redirect("/again"));
  std::vector<std::string> replies = four;
  replies.push_back(Redirect("/again"));  // the count starts anew with each command
  replies.push_back(Response("200 OK", {}, "arrived"));
  const RawServer server(ConnectionForEach(replies));
  const HCLIENT session = Connect(server.port(), kOptions);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_REDIRECTED});
  EXPECT_EQ(HttpGetResultCode(session), 302);
  EXPECT_EQ(server.requests().size(), 4u);
  EXPECT_EQ(Get(session, "/").body, "arrived");
}

TEST_F(RedirectTest, OutcomeOfTheLastRequestCounts) {
  const RawServer server(
      ConnectionForEach({Redirect("/gone"), Response("410 Gone", {}, "gone page")}));
  const HCLIENT session = Connect(server.port(), kOptions);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_REMOVED});
  EXPECT_EQ(HttpGetResultCode(session), 410);
}

TEST_F(RedirectTest, AnotherServer) {
  const RawServer target(ConnectionForEach(
      {Response("200 OK", {"X-Server: target"}, "arrived"), Response("200 OK", {}, "again")}));
  const std::string host = "localhost:" + std::to_string(target.port());
  const RawServer first(ConnectionForEach(
      {Response("302 Found", {"X-Server: first", "Location: http://" + host + "/new"}, "")}));
  const HCLIENT session = Connect(first.port(), kOptions);
  std::vector<UINT> events;
  const HTTPEVENTPROC record = [](HCLIENT, UINT event, DWORD, DWORD_PTR parameter) {
    reinterpret_cast<std::vector<UINT>*>(parameter)->push_back(event);
  };
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_COMMAND | HTTP_EVENT_REDIRECT, record,
                              reinterpret_cast<DWORD_PTR>(&events)),
            0);
  EXPECT_EQ(Get(session, "/").body, "arrived");
  EXPECT_EQ(events,
            (std::vector<UINT>{HTTP_EVENT_COMMAND, HTTP_EVENT_REDIRECT, HTTP_EVENT_COMMAND}));
  ASSERT_EQ(target.requests().size(), 1u);
  EXPECT_EQ(HeaderOf(target.requests()[0], "Host"), host);
  char field[16] = "";
  EXPECT_TRUE(HttpGetResponseHeader(session, "X-Server", field, sizeof(field)));
  EXPECT_STREQ(field, "target");
  EXPECT_EQ(RedirectUrl(session), "http://" + host + "/new");
  char url[128] = "";
  EXPECT_GT(HttpGetResourceUrl(session, url, sizeof(url)), 0);
  EXPECT_EQ(url, "http://" + host + "/new");
  ASSERT_TRUE(target.WaitForEnds(1));
  EXPECT_EQ(Get(session, "/").body, "again");  // the session leads there from now on
}

TEST_F(RedirectTest, Failures) {
  const RefusingPort refusing;
  struct Case {
    std::string location;
    DWORD error;
    bool released;
  };
  const std::vector<Case> cases = {
      {"http://", QV_ERROR_INVALID_HOSTNAME, false},
      {"#fragment", QV_ERROR_INVALID_RESOURCE, false},
      {"ftp://127.0.0.1/x", QV_ERROR_INVALID_RESOURCE, false},
      {"http://" + std::string(64, 'a') + "/", QV_ERROR_INVALID_HOSTNAME, false},
      {"https://127.0.0.1:" + std::to_string(refusing.port()) + "/", QV_ERROR_OPERATION_TIMEOUT,
       true},
      {"http://127.0.0.1:" + std::to_string(refusing.port()) + "/", QV_ERROR_OPERATION_TIMEOUT,
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.location);
    const RawServer server(ConnectionForEach({Redirect(c.location)}));
    const HCLIENT session = Connect(server.port(), kOptions, 0, 1);
    EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
    EXPECT_EQ(LastError(), c.error) << std::hex << LastError();
    if (c.released) {
      EXPECT_EQ(HttpGetStatus(session), HTTP_ERROR);
    } else {
      EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    }
    HttpDisconnect(session);
  }
}

TEST_F(RedirectTest, RedirectToTlsIsNotFollowedInClear) {
  const RawServer target(ConnectionForEach({Response("200 OK", {}, "in clear")}));
  const RawServer server(
      ConnectionForEach({Redirect("https://127.0.0.1:" + std::to_string(target.port()) + "/")}));
  const HCLIENT session = Connect(server.port(), kOptions, 0, 1);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(target.requests().size(), 0u);
}

TEST_F(RedirectTest, RealServer) {
  const WebServer web;
  web.AddFile("page.txt", "content");
  const HCLIENT session = Connect(web.port(), kOptions);
  for (const char* kind : {"/redirect/", "/relative/"}) {
    for (const char* code : {"301", "302", "303", "307", "308"}) {
      SCOPED_TRACE(std::string(kind) + code);
      const Fetched fetched = Get(session, (std::string(kind) + code + "/page.txt").c_str());
      EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
      EXPECT_EQ(fetched.body, "content");
    }
  }
  DWORD size = 0;
  EXPECT_EQ(HttpGetFileSize(session, "/redirect/302/page.txt", &size), 200);
  EXPECT_EQ(size, 7u);
}

}  // namespace
}  // namespace test
