// Commands: arguments, the order of requests, reconnecting, redirects.
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

const std::string kOk = Response("200 OK", {}, "");

std::string RedirectTo(const std::string& location, const char* status = "302 Found") {
  return Response(status, {"Location: " + location}, "");
}

class CommandTest : public test::SessionTest {};

struct Refused {
  const char* method;
  const char* resource;
  DWORD reserved;
  DWORD error;
};

TEST_F(CommandTest, ArgumentsThatAreRefused) {
  const RawServer server(OneConnection({kOk}));
  const HCLIENT client = Connect(server.port());
  constexpr Refused kCases[] = {
      {nullptr, "/", 0, QV_ERROR_INVALID_COMMAND},
      {"", "/", 0, QV_ERROR_INVALID_COMMAND},
      {"", "", 1, QV_ERROR_INVALID_COMMAND},
      {"GET", nullptr, 0, QV_ERROR_INVALID_RESOURCE},
      {"GET", "", 0, QV_ERROR_INVALID_RESOURCE},
      {"GET", "/", 1, QV_ERROR_INVALID_PARAMETER},
      {"GET", "/", 0x40000, QV_ERROR_INVALID_PARAMETER},
  };
  for (const Refused& entry : kCases) {
    HttpSetLastError(0);
    EXPECT_EQ(HttpCommandA(client, entry.method, entry.resource, nullptr, 0, entry.reserved),
              HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error);
  }
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(CommandTest, MethodsAreSentInUpperCase) {
  constexpr const char* kMethods[] = {"get",  "Head",   "oPTIONS", "copy",  "move",
                                      "lock", "unlock", "delete",  "mkcol", "search"};
  const RawServer server(OneConnection(std::vector<std::string>(std::size(kMethods), kOk)));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  for (const char* method : kMethods) EXPECT_EQ(Command(client, method, "/"), 200) << method;
  const std::vector<std::string> requests = server.requests();
  ASSERT_EQ(requests.size(), std::size(kMethods));
  EXPECT_EQ(test::FirstLineOf(requests[0]), "GET / HTTP/1.1");
  EXPECT_EQ(test::FirstLineOf(requests[2]), "OPTIONS / HTTP/1.1");
  EXPECT_EQ(test::FirstLineOf(requests.back()), "SEARCH / HTTP/1.1");
}

TEST_F(CommandTest, ARequestIsOpenUntilItIsClosedButNotAfterHead) {
  const RawServer server(OneConnection({kOk, kOk, kOk}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(HttpCommandA(client, "HEAD", "/1", nullptr, 0, 0), 200);
  ASSERT_EQ(HttpCommandA(client, "GET", "/2", nullptr, 0, 0), 200);
  HttpSetLastError(0);
  EXPECT_EQ(HttpCommandA(client, "GET", "/3", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_REQUEST_NOT_COMPLETED);
  EXPECT_EQ(HttpGetResultCode(client), 200) << "nothing has changed";
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(HttpCommandA(client, "GET", "/4", nullptr, 0, 0), 200);
  EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(CommandTest, TheOpenRequestIsCheckedBeforeAnyReconnect) {
  const RawServer server(
      RawServer::Script{{{Response("200 OK", {"Connection: close"}, "body")}}, {{kOk}}});
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(HttpCommandA(client, "GET", "/1", nullptr, 0, 0), 200);
  EXPECT_EQ(HttpCommandA(client, "GET", "/2", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_REQUEST_NOT_COMPLETED);
  EXPECT_EQ(server.connections(), 1u);
}

TEST_F(CommandTest, AbsoluteUrls) {
  const RawServer server(OneConnection(std::vector<std::string>(6, kOk)));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string root = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string other_port = "http://127.0.0.1:1/x";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {root + "/a/b?c=d", "/a/b?c=d"},
      {root, "/"},
      {root + "?q=1", "/?q=1"},
      {root + "/a/../b", "/b"},
      {"http://other.example/x", "http://other.example/x"},
      {other_port, other_port},
  };
  for (const auto& [resource, target] : cases) {
    EXPECT_EQ(Command(client, "GET", resource.c_str()), 200) << resource;
    EXPECT_EQ(test::FirstLineOf(server.requests().back()), "GET " + target + " HTTP/1.1");
  }
}

struct Renewal {
  const char* name;
  DWORD options;
  std::string first_reply;
  bool server_closes;
  INT first_result;
  INT second_result;
  DWORD error;
  std::size_t connections;
};

TEST_F(CommandTest, WhenTheConnectionIsRenewed) {
  const std::string failing = Response("500 Oops", {}, "sorry");
  const std::string closing = Response("200 OK", {"Connection: close"}, "body");
  const std::string kept = Response("200 OK", {}, "body");
  constexpr DWORD kKeep = HTTP_OPTION_KEEPALIVE;
  const Renewal cases[] = {
      {"kept", kKeep, kept, false, 200, 200, 0, 1},
      {"kept, said to be closed", kKeep, closing, false, 200, 200, 0, 2},
      {"kept, closed in silence", kKeep, kept, true, 200, 200, 0, 2},
      {"kept, server error", kKeep, failing, false, HTTP_ERROR, 200, 0, 2},
      {"not kept, server error", 0, failing, false, HTTP_ERROR, 200, 0, 2},
      {"not kept, closed", 0, closing, true, 200, HTTP_ERROR, QV_ERROR_CONNECTION_CLOSED, 1},
      {"kept, client error", kKeep, Response("404 No", {}, "x"), false, HTTP_ERROR, 200, 0, 1},
      {"kept, bytes behind the response", kKeep, kept + "HTTP/1.1 404 Left over\r\n\r\n", false,
       200, 200, 0, 2},
  };
  for (const Renewal& entry : cases) {
    SCOPED_TRACE(entry.name);
    RawServer::Exchange first{entry.first_reply};
    first.close_after = entry.server_closes;
    const RawServer server(RawServer::Script{{first, {kOk}}, {{kOk}}});
    const HCLIENT client = Connect(server.port(), entry.options);
    EXPECT_EQ(Command(client, "GET", "/1"), entry.first_result);
    if (entry.server_closes) {
      ASSERT_TRUE(server.WaitForEnds(1));
      EXPECT_TRUE(HttpIsReadable(client, 5, nullptr)) << "the end of the connection";
    }
    HttpSetLastError(0);
    EXPECT_EQ(Command(client, "GET", "/2"), entry.second_result);
    EXPECT_EQ(LastError(), entry.error);
    EXPECT_EQ(server.connections(), entry.connections);
    HttpDisconnect(client);
  }
}

TEST_F(CommandTest, ReconnectingClearsTheErrorOfTheLastRequest) {
  const RawServer server(RawServer::Script{{{Response("500 Oops", {}, "")}}, {{kOk}}});
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpCommandA(client, "GET", "/1", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_SERVER_RESPONSE);
  EXPECT_EQ(HttpCommandA(client, "GET", "/2", nullptr, 0, 0), 200);
  EXPECT_EQ(LastError(), 0u);
}

TEST_F(CommandTest, AFailedReconnectEndsTheSession) {
  RawServer server(RawServer::Script{{{Response("200 OK", {"Connection: close"}, "")}}});
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 1);
  EXPECT_EQ(Command(client, "GET", "/1"), 200);
  server.StopListening();
  EXPECT_EQ(HttpCommandA(client, "GET", "/2", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_NE(LastError(), 0u);
  EXPECT_EQ(HttpGetStatus(client), HTTP_ERROR) << "the session is released";
}

TEST_F(CommandTest, APutWithoutParametersIsStreamed) {
  const RawServer server(OneConnection({Response("201 Created", {}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "Content-Length", "5"));
  EXPECT_EQ(HttpCommandA(client, "PUT", "/x", nullptr, 0, 0), 200) << "no response was read yet";
  EXPECT_EQ(HttpWrite(client, reinterpret_cast<const BYTE*>("hello"), 5), 5);
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(HttpGetResultCode(client), 201);
  EXPECT_EQ(test::BodyOf(server.requests().front()), "hello");
}

TEST_F(CommandTest, AResponseWithoutBodyOrBeforeAnyCommandIsReadRaw) {
  const RawServer server([](test::Connection& connection) {
    if (connection.ReadRequest()) connection.Send("HTTP/1.1 200 Raw\r\n\r\n");
    connection.WaitForClose();
  });
  const HCLIENT client = Connect(server.port());
  const std::string request = "GET / HTTP/1.1\r\n\r\n";
  const auto size = static_cast<INT>(request.size());
  ASSERT_EQ(HttpWrite(client, reinterpret_cast<const BYTE*>(request.data()), size), size);
  BYTE bytes[64];
  const INT count = HttpRead(client, bytes, sizeof(bytes));
  ASSERT_GT(count, 0);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), 5), "HTTP/");
}

class RedirectCommandTest : public test::SessionTest {};

TEST_F(RedirectCommandTest, KeepsMethodAndParametersForEveryStatus) {
  for (const char* status : {"301 A", "302 B", "303 C", "307 D", "308 E"}) {
    SCOPED_TRACE(status);
    const RawServer server(
        RawServer::Script{{{RedirectTo("/new?x=1", status)}}, {{Response("200 OK", {}, "there")}}});
    const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT);
    ASSERT_TRUE(HttpSetRequestHeaderA(client, "X-Kept", "1"));
    EXPECT_EQ(Command(client, "POST", "/old", "a=two words"), 200);
    const std::vector<std::string> requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(test::FirstLineOf(requests[1]), "POST /new?x=1 HTTP/1.1");
    EXPECT_EQ(test::BodyOf(requests[1]), "a=two%20words") << "not encoded twice";
    EXPECT_EQ(test::HeaderOf(requests[1], "X-Kept"), "1");
    EXPECT_EQ(server.connections(), 2u);
  }
}

TEST_F(RedirectCommandTest, FollowsToAnotherHostAndPort) {
  const RawServer target(OneConnection({kOk}));
  const std::string port = std::to_string(target.port());
  const RawServer server(OneConnection({RedirectTo("http://localhost:" + port + "/x/../y?z")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT);
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  ASSERT_EQ(target.requests().size(), 1u);
  EXPECT_EQ(test::FirstLineOf(target.requests()[0]), "GET /y?z HTTP/1.1");
  EXPECT_EQ(test::HeaderOf(target.requests()[0], "Host"), "localhost:" + port);
  char url[256];
  HttpGetResourceUrlA(client, url, sizeof(url));
  EXPECT_EQ(std::string(url), "http://localhost:" + port + "/y?z");
}

TEST_F(RedirectCommandTest, FollowsAtMostThree) {
  struct Case {
    int redirects;
    INT result;
    DWORD error;
  };
  constexpr Case kCases[] = {{3, 200, 0}, {4, HTTP_ERROR, QV_ERROR_RESOURCE_REDIRECTED}};
  for (const Case& entry : kCases) {
    RawServer::Script script;
    for (int i = 0; i < entry.redirects; ++i) script.push_back({{RedirectTo("/again")}});
    script.push_back({{kOk}});
    const RawServer server(script);
    const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT);
    HttpSetLastError(0);
    EXPECT_EQ(Command(client, "GET", "/"), entry.result);
    EXPECT_EQ(LastError(), entry.error);
    EXPECT_EQ(server.requests().size(), 4u);
  }
}

TEST_F(RedirectCommandTest, TheCountStartsAnewWithEachCommand) {
  RawServer::Script script;
  for (int i = 0; i < 2; ++i) {
    script.push_back({{RedirectTo("/a")}});
    script.push_back({{RedirectTo("/b")}});
    script.push_back({{kOk}, {RedirectTo("/c")}});
  }
  const RawServer server(script);
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT | HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Command(client, "GET", "/1"), 200);
  EXPECT_EQ(Command(client, "GET", "/2"), 200);
}

struct BadLocation {
  const char* location;
  DWORD error;
};

TEST_F(RedirectCommandTest, LocationsThatLeadNowhere) {
  constexpr BadLocation kCases[] = {
      {"ftp://127.0.0.1/x", QV_ERROR_INVALID_RESOURCE},
      {"http://", QV_ERROR_INVALID_RESOURCE},
      {"http://no-such-host.invalid/", QV_ERROR_INVALID_HOSTNAME},
      {"https://127.0.0.1:1/", QV_ERROR_CONNECTION_REFUSED},
  };
  for (const BadLocation& entry : kCases) {
    const RawServer server(OneConnection({RedirectTo(entry.location)}));
    const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT, 0, 1);
    HttpSetLastError(0);
    EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), HTTP_ERROR) << entry.location;
    if (entry.error == QV_ERROR_CONNECTION_REFUSED) {
      EXPECT_NE(LastError(), 0u) << entry.location;  // a refused reconnect may end as a time-out
    } else {
      EXPECT_EQ(LastError(), entry.error) << entry.location;
    }
  }
}

TEST_F(RedirectCommandTest, TheFailureOfTheTargetIsTheFailureOfTheCommand) {
  const RawServer server(
      RawServer::Script{{{RedirectTo("/gone")}}, {{Response("410 Gone", {}, "")}}});
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT);
  EXPECT_EQ(Command(client, "GET", "/"), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_RESOURCE_REMOVED);
  EXPECT_EQ(HttpGetResultCode(client), 410);
}

TEST_F(RedirectCommandTest, ARedirectWithoutLocationIsTheResponse) {
  const RawServer server(OneConnection({Response("302 Found", {}, "body")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT);
  const test::Fetched fetched = Get(client, "/");
  EXPECT_EQ(fetched.result, 302);
  EXPECT_EQ(fetched.body, "body");
}

}  // namespace
