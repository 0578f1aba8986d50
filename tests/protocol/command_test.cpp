// Commands: their arguments, and one request after the other.
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

const std::string kOk = Response("200 OK", {}, "");

std::string RedirectTo(const std::string& location) {
  return Response("302 Found", {"Location: " + location}, "");
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

TEST_F(CommandTest, AbsoluteUrls) {
  const RawServer server(OneConnection(std::vector<std::string>(5, kOk)));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string root = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string other_port = "http://127.0.0.1:1/x";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {root + "/a/b?c=d", "/a/b?c=d"}, {root, "/"},
      {root + "/a/../b", "/b"},        {"http://other.example/x", "http://other.example/x"},
      {other_port, other_port},
  };
  for (const auto& [resource, target] : cases) {
    EXPECT_EQ(Command(client, "GET", resource.c_str()), 200) << resource;
    EXPECT_EQ(test::FirstLineOf(server.requests().back()), "GET " + target + " HTTP/1.1");
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

TEST_F(CommandTest, EachCommandMayBeRedirectedAnew) {
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

}  // namespace
