// What goes over the wire: request line, default headers and body.
#include <functional>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/request_text.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::RequestText;
using test::Response;

const std::string kOk = test::Response("200 OK", {}, "");

class CompositionTest : public test::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    ASSERT_TRUE(HttpSetDefaultUserAgentA("Tester/1"));
  }
  void TearDown() override {
    HttpSetDefaultUserAgentA(nullptr);
    SessionTest::TearDown();
  }

  // Many replies over one kept connection.
  static RawServer::Script Answers(std::size_t count) {
    return OneConnection(std::vector<std::string>(count, kOk));
  }
};

struct WholeRequest {
  const char* name;
  DWORD options;
  DWORD version;
  std::function<void(HCLIENT)> prepare;
  const char* method;
  const char* resource;
  const char* parameters;
  const char* expected;
};

void Nothing(HCLIENT) {}

TEST_F(CompositionTest, WholeRequests) {
  const WholeRequest cases[] = {
      {"the simplest", 0, 0, Nothing, "GET", "/", "", R"(GET / HTTP/1.1
Host: {host}
Connection: Close
Accept: */*
User-Agent: Tester/1

)"},
      {"keep-alive without caches", HTTP_OPTION_KEEPALIVE | HTTP_OPTION_NOCACHE, 0, Nothing, "HEAD",
       "/a?b=c", "", R"(HEAD /a?b=c HTTP/1.1
Host: {host}
Connection: Keep-Alive
Accept: */*
Cache-Control: no-cache, no-store
User-Agent: Tester/1

)"},
      {"HTTP/1.0 names no host for an address", HTTP_OPTION_NOCACHE | HTTP_OPTION_NOUSERAGENT,
       HTTP_VERSION_10, Nothing, "GET", "/", "", R"(GET / HTTP/1.0
Connection: Close
Accept: */*
Pragma: no-cache

)"},
      {"the application's headers keep their place and win, but for Connection", 0, 0,
       [](HCLIENT client) {
         HttpAddRequestHeadersA(
             client,
             "X-First: 1\nconnection: upgrade\naccept: text/html\nhost: virtual\n"
             "user-agent: Mine/2\nContent-Type: text/plain\n");
       },
       "GET", "/", "", R"(GET / HTTP/1.1
X-First: 1
Connection: Close
accept: text/html
host: virtual
user-agent: Mine/2

)"},
      {"POST of a form", 0, 0, Nothing, "POST", "/form", "a=1&b=two words", R"(POST /form HTTP/1.1
Host: {host}
Connection: Close
Content-Type: application/x-www-form-urlencoded
Content-Length: 17
User-Agent: Tester/1

a=1&b=two%20words)"},
      {"PUT", 0, 0, [](HCLIENT client) { HttpSetEncodingType(client, HTTP_ENCODING_NONE); }, "PUT",
       "/file", "raw \r\n data",
       R"(PUT /file HTTP/1.1
Host: {host}
Connection: Close
Content-Type: application/octet-stream
Content-Length: 11
User-Agent: Tester/1

raw )"
       "\r\n data"},
      {"PATCH has no type of its own", 0, 0, Nothing, "PATCH", "/x", "{\"a\": 1}",
       R"(PATCH /x HTTP/1.1
Host: {host}
Connection: Close
Content-Length: 8
User-Agent: Tester/1

{"a": 1})"},
      {"PROPFIND", 0, 0, Nothing, "PROPFIND", "/dav", "<propfind/>", R"(PROPFIND /dav HTTP/1.1
Host: {host}
Connection: Close
Content-Type: application/xml
Depth: 0
Content-Length: 11
User-Agent: Tester/1

<propfind/>)"},
      {"BPROPFIND keeps the application's headers", 0, 0,
       [](HCLIENT client) { HttpAddRequestHeadersA(client, "Depth: 1\nContent-Type: text/xml"); },
       "BPROPFIND", "/dav", "<propfind/>", R"(BPROPFIND /dav HTTP/1.1
Depth: 1
Content-Type: text/xml
Host: {host}
Connection: Close
Content-Length: 11
User-Agent: Tester/1

<propfind/>)"},
      {"PROPPATCH", 0, 0, Nothing, "PROPPATCH", "/dav", "<x/>", R"(PROPPATCH /dav HTTP/1.1
Host: {host}
Connection: Close
Content-Type: application/xml
Content-Length: 4
User-Agent: Tester/1

<x/>)"},
      {"POST without parameters has no body headers", 0, 0, Nothing, "POST", "/", "",
       R"(POST / HTTP/1.1
Host: {host}
Connection: Close
User-Agent: Tester/1

)"},
      {"an unknown method", 0, 0, Nothing, "report", "/x", "a=1", R"(REPORT /x?a=1 HTTP/1.1
Host: {host}
Connection: Close
User-Agent: Tester/1

)"},
      {"DELETE", 0, 0, Nothing, "DELETE", "/x?y", "a=1", R"(DELETE /x?y&a=1 HTTP/1.1
Host: {host}
Connection: Close
User-Agent: Tester/1

)"},
  };
  for (const WholeRequest& entry : cases) {
    SCOPED_TRACE(entry.name);
    const RawServer server(Answers(1));
    const HCLIENT client = Connect(server.port(), entry.options, entry.version);
    entry.prepare(client);
    EXPECT_EQ(Command(client, entry.method, entry.resource, entry.parameters), 200);
    ASSERT_TRUE(server.WaitForRequests(1));
    EXPECT_EQ(server.requests().front(), RequestText(entry.expected, server.port()));
  }
}

struct Line {
  INT encoding;
  const char* method;
  std::string resource;
  std::string parameters;
  std::string expected;  // between method and version
};

TEST_F(CompositionTest, RequestTargets) {
  constexpr INT kUrl = HTTP_ENCODING_URL;
  constexpr INT kNone = HTTP_ENCODING_NONE;
  const std::string longest(509, 'x');
  const Line cases[] = {
      {kUrl, "GET", "/plain/path.html", "", "/plain/path.html"},
      {kUrl, "GET", "relative", "", "/relative"},
      {kUrl, "REPORT", "relative", "", "relative"},
      {kUrl, "OPTIONS", "*", "", "/*"},
      {kUrl, "GET", "/two words", "", "/two%20words"},
      {kUrl, "GET", "/safe%20escape+plus", "", "/safe%20escape+plus"},
      {kUrl, "GET", "/100%xyz", "", "/100%25xyz"},
      {kUrl, "GET", "/\xC3\xA4", "", "/%c3%a4"},
      {kUrl, "GET", "/line\r\nbreak", "", "/line%0d%0abreak"},
      {kUrl, "GET", "/a b?c d&e=f", "", "/a%20b?c%20d&e=f"},
      {kUrl, "GET", "/a?b=c%20d", "", "/a?b=c%20d"},
      {kUrl, "GET", "/a?b?c", "", "/a?b%3fc"},
      {kNone, "GET", "/a?b c", "", "/a?b c"},
      {kUrl, "GET", "/a", "x=1", "/a?x=1"},
      {kUrl, "GET", "/a?y=2", "x=1", "/a?y=2&x=1"},
      {kUrl, "GET", "/a", "x=one two", "/a?x=one%20two"},
      {kNone, "GET", "/a", "x=one two", "/a?x=one%20two"},
      {HTTP_ENCODING_JSON, "GET", "/a", "x=one two", "/a?x=one two"},
      {HTTP_ENCODING_XMLURL, "GET", "/a", "x=<one two>", "/a?x=%3cone two%3e"},
      {kUrl, "GET", "/" + longest, "", "/" + longest},
  };
  const RawServer server(Answers(std::size(cases)));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  std::size_t count = 0;
  for (const Line& entry : cases) {
    ASSERT_EQ(HttpSetEncodingType(client, entry.encoding), 0);
    EXPECT_EQ(Command(client, entry.method, entry.resource.c_str(), entry.parameters), 200)
        << entry.resource;
    ASSERT_TRUE(server.WaitForRequests(++count));
    EXPECT_EQ(test::FirstLineOf(server.requests().back()),
              std::string(entry.method) + " " + entry.expected + " HTTP/1.1");
  }
  EXPECT_EQ(server.connections(), 1u);
}

TEST_F(CompositionTest, PathsThatDoNotFitAreRefusedBeforeAnythingIsSent) {
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  const std::string too_long = "/" + std::string(511, 'x');
  const std::string grows = "/" + std::string(200, ' ');
  for (const std::string& path : {too_long, too_long + "?query", grows, grows + "?query"}) {
    HttpSetLastError(0);
    EXPECT_EQ(Command(client, "GET", path.c_str()), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_FILE_NAME) << path;
  }
  EXPECT_EQ(Command(client, "GET", "/"), 200) << "nothing was sent, so the connection is usable";
  EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(CompositionTest, NothingBreaksTheRequestLine) {
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  struct Case {
    const char* method;
    const char* resource;
    std::string parameters;
  };
  const Case cases[] = {
      {"GET\r\nX: 1", "/", ""},
      {"GET /x", "/", ""},
      {"GET", "/a?b\r\nX: 1", ""},
      {"GET", "/a", "b\r\nX: 1"},
      {"GET", "/a", std::string("b\0c", 3)},
  };
  HttpSetEncodingType(client, HTTP_ENCODING_JSON);
  for (const Case& entry : cases) {
    if (std::string(entry.resource).find('?') != std::string::npos) {
      HttpSetEncodingType(client, HTTP_ENCODING_NONE);
    }
    HttpSetLastError(0);
    EXPECT_EQ(Command(client, entry.method, entry.resource, entry.parameters), HTTP_ERROR);
    EXPECT_NE(LastError(), 0u) << entry.method << " " << entry.resource;
    HttpSetEncodingType(client, HTTP_ENCODING_JSON);
  }
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(CompositionTest, TheTypeOfAPostFollowsTheEncodingType) {
  struct Case {
    INT encoding;
    const char* type;  // NULL: none
    const char* body;
  };
  constexpr Case kCases[] = {
      {HTTP_ENCODING_NONE, nullptr, "a=<b> c"},
      {HTTP_ENCODING_URL, "application/x-www-form-urlencoded", "a=%3cb%3e%20c"},
      {HTTP_ENCODING_XML, "application/xml", "a=<b> c"},
      {HTTP_ENCODING_JSON, "application/json", "a=<b> c"},
      {HTTP_ENCODING_UTF8, "text/plain; charset=utf-8", "a=<b> c"},
      {HTTP_ENCODING_XMLURL, "application/x-www-form-urlencoded", "a=%3cb%3e c"},
  };
  const RawServer server(Answers(std::size(kCases) + 1));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  std::size_t count = 0;
  for (const Case& entry : kCases) {
    ASSERT_EQ(HttpSetEncodingType(client, entry.encoding), 0);
    HttpSetContentTypeA(client, nullptr);
    EXPECT_EQ(Command(client, "POST", "/", "a=<b> c"), 200);
    ASSERT_TRUE(server.WaitForRequests(++count));
    const std::string request = server.requests().back();
    EXPECT_EQ(test::HeaderOf(request, "Content-Type"),
              entry.type != nullptr ? std::optional<std::string>(entry.type) : std::nullopt);
    EXPECT_EQ(test::BodyOf(request), entry.body);
  }
  ASSERT_TRUE(HttpSetContentTypeA(client, "text/csv"));
  EXPECT_EQ(Command(client, "POST", "/", "a,b"), 200);
  ASSERT_TRUE(server.WaitForRequests(++count));
  EXPECT_EQ(test::HeaderOf(server.requests().back(), "Content-Type"), "text/csv");
}

TEST_F(CompositionTest, HeadersPersistButThoseOfABodyDoNot) {
  const RawServer server(Answers(3));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "X-Kept", "1"));
  EXPECT_EQ(Command(client, "POST", "/", "a=1"), 200);
  EXPECT_EQ(Command(client, "DELETE", "/"), 200);
  ASSERT_EQ(HttpSetOption(client, HTTP_OPTION_NOUSERAGENT, TRUE), 0);
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  ASSERT_TRUE(server.WaitForRequests(3));
  const std::vector<std::string> requests = server.requests();
  EXPECT_EQ(test::HeaderOf(requests[0], "Content-Length"), "3");
  EXPECT_EQ(test::CountHeader(requests[1], "Content-Length"), 0u);
  EXPECT_EQ(test::CountHeader(requests[1], "User-Agent"), 1u);
  EXPECT_EQ(test::CountHeader(requests[2], "User-Agent"), 0u);
  EXPECT_EQ(test::CountHeader(requests[2], "Content-Type"), 0u);
  for (const std::string& request : requests) {
    EXPECT_EQ(test::HeaderOf(request, "X-Kept"), "1");
    EXPECT_EQ(test::CountHeader(request, "Host"), 1u);
  }
}

TEST_F(CompositionTest, LargeHeaderBlocksAndBodiesAreWrittenWholeAndInOrder) {
  constexpr int kHeaders = 60;
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  std::string block;
  for (int i = 0; i < kHeaders; ++i) {
    const std::string name = "X-" + std::to_string(i);
    const std::string value(900, static_cast<char>('a' + i % 26));
    ASSERT_TRUE(HttpSetRequestHeaderA(client, name.c_str(), value.c_str()));
    block += name + ": " + value + "\r\n";
  }
  ASSERT_EQ(HttpSetEncodingType(client, HTTP_ENCODING_NONE), 0);
  const std::string body = test::Pattern(300'000);
  EXPECT_EQ(Command(client, "POST", "/", body), 200);
  ASSERT_TRUE(server.WaitForRequests(1));
  const std::string request = server.requests().front();
  EXPECT_NE(request.find("\r\n" + block), std::string::npos);
  EXPECT_TRUE(test::BodyOf(request) == body);
}

// Reads the head of a request, answers it, and goes on as told.
RawServer::Handler ExpectHandler(std::string interim, std::string* body, std::string final) {
  return [=](test::Connection& connection) {
    const auto head = connection.ReadHead();
    if (!head) return;
    if (!interim.empty() && !connection.Send(interim)) return;
    if (body != nullptr) *body = connection.ReadBytes(5).value_or("none");
    connection.Send(final);
    connection.WaitForClose();
  };
}

TEST_F(CompositionTest, ABodyWaitsForTheInterimResponseOnce) {
  std::string body;
  const RawServer server(ExpectHandler("HTTP/1.1 100 Continue\r\n\r\n", &body, kOk));
  const HCLIENT client = Connect(server.port());
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "expect", "100-continue"));
  EXPECT_EQ(Command(client, "POST", "/", "hello"), 200);
  EXPECT_EQ(body, "hello");
  EXPECT_TRUE(HttpGetRequestHeaderA(client, "Expect", nullptr, 0)) << "the header stays";
  EXPECT_EQ(HttpGetTimeout(client), 5) << "the time-out is restored";
}

TEST_F(CompositionTest, WithoutAnInterimResponseTheBodyIsSentAfterTheTimeout) {
  std::string body;
  const RawServer server(ExpectHandler("", &body, kOk));
  const HCLIENT client = Connect(server.port(), 0, 0, 1);
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "Expect", "100-Continue"));
  EXPECT_EQ(Command(client, "POST", "/", "hello"), 200);
  EXPECT_EQ(body, "hello");
}

TEST_F(CompositionTest, ALateInterimResponseIsNotTakenForTheFinalOne) {
  std::string body;
  const RawServer server(ExpectHandler("", &body, "HTTP/1.1 100 Continue\r\n\r\n" + kOk));
  const HCLIENT client = Connect(server.port(), 0, 0, 1);
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "Expect", "100-Continue"));
  EXPECT_EQ(Command(client, "POST", "/", "hello"), 200);
  EXPECT_EQ(body, "hello");
}

TEST_F(CompositionTest, ARefusalInPlaceOfTheInterimResponseKeepsTheBody) {
  struct Case {
    DWORD options;
    INT result;
    DWORD error;
  };
  constexpr Case kCases[] = {{0, HTTP_ERROR, QV_ERROR_ACCESS_DENIED},
                             {HTTP_OPTION_ERRORDATA, 403, 0}};
  for (const Case& entry : kCases) {
    const RawServer server(
        ExpectHandler("", nullptr, Response("403 Forbidden", {"Connection: close"}, "no")));
    const HCLIENT client = Connect(server.port(), entry.options);
    ASSERT_TRUE(HttpSetRequestHeaderA(client, "Expect", "100-Continue"));
    HttpSetLastError(0);
    EXPECT_EQ(Command(client, "POST", "/", "hello"), entry.result);
    EXPECT_EQ(LastError(), entry.error);
    EXPECT_EQ(HttpGetResultCode(client), 403);
    HttpDisconnect(client);
  }
}

TEST_F(CompositionTest, HostNamesAndPorts) {
  const RawServer server(RawServer::Script{{{kOk}}, {{kOk}}});
  const std::string port = std::to_string(server.port());
  for (const DWORD version : {HTTP_VERSION_10, HTTP_VERSION_11}) {
    const HCLIENT client = HttpConnectA("localhost", server.port(), 5, 0, version, nullptr);
    ASSERT_NE(client, INVALID_CLIENT);
    EXPECT_EQ(Command(client, "GET", "/"), 200);
    EXPECT_EQ(test::HeaderOf(server.requests().back(), "Host"), "localhost:" + port);
    HttpDisconnect(client);
  }
}

TEST_F(CompositionTest, AnIpv6HostIsBracketed) {
  if (!test::HasIpv6Loopback()) GTEST_SKIP() << "no IPv6 loopback";
  const RawServer server(OneConnection({kOk}), test::Family::kIpv6);
  const HCLIENT client = HttpConnectA("::1", server.port(), 5, 0, 0, nullptr);
  ASSERT_NE(client, INVALID_CLIENT);
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(test::HeaderOf(server.requests().back(), "Host"),
            "[::1]:" + std::to_string(server.port()));
  HttpDisconnect(client);
}

}  // namespace
