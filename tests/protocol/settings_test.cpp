// Settings of a session, its status, and the URLs and content type that it reports.
#include <cstring>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

class SettingsTest : public test::SessionTest {
 protected:
  static std::string ResourceUrl(HCLIENT client) {
    char url[512];
    return HttpGetResourceUrlA(client, url, sizeof(url)) == HTTP_ERROR ? "error" : url;
  }
};

struct Change {
  INT set;
  INT result;
  INT stored;
};

TEST_F(SettingsTest, Timeout) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port(), 0, 0, 0);
  EXPECT_EQ(HttpGetTimeout(client), HTTP_TIMEOUT);
  constexpr Change kCases[] = {{7, 0, 7},       {0, 0, 0},       {3600, 0, 3600},
                               {3601, 0, 3600}, {7200, 0, 3600}, {-5, 0, -5}};
  for (const Change& change : kCases) {
    EXPECT_EQ(HttpSetTimeout(client, change.set), change.result) << change.set;
    EXPECT_EQ(HttpGetTimeout(client), change.stored) << change.set;
  }
}

TEST_F(SettingsTest, EncodingType) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpGetEncodingType(client), HTTP_ENCODING_URL);
  constexpr Change kCases[] = {
      {HTTP_ENCODING_NONE, 0, 0},   {HTTP_ENCODING_URL, 0, 1},  {HTTP_ENCODING_XML, 0, 2},
      {HTTP_ENCODING_JSON, 0, 3},   {HTTP_ENCODING_UTF8, 0, 4}, {HTTP_ENCODING_ANSI, HTTP_ERROR, 4},
      {HTTP_ENCODING_XMLURL, 0, 6}, {7, HTTP_ERROR, 6},         {-1, HTTP_ERROR, 6},
  };
  for (const Change& change : kCases) {
    HttpSetLastError(0);
    EXPECT_EQ(HttpSetEncodingType(client, change.set), change.result) << change.set;
    EXPECT_EQ(HttpGetEncodingType(client), change.stored) << change.set;
    const bool failed = change.result == HTTP_ERROR;
    EXPECT_EQ(LastError(), failed ? QV_ERROR_INVALID_ENCODING_TYPE : 0u) << change.set;
  }
}

TEST_F(SettingsTest, PriorityReturnsThePreviousOne) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpGetPriority(client), HTTP_PRIORITY_NORMAL);
  constexpr Change kCases[] = {{HTTP_PRIORITY_HIGH, 2, 3},   {HTTP_PRIORITY_CRITICAL, 3, 4},
                               {HTTP_PRIORITY_LOW, 4, 1},    {HTTP_PRIORITY_BACKGROUND, 1, 0},
                               {5, HTTP_ERROR, 0},           {HTTP_PRIORITY_INVALID, HTTP_ERROR, 0},
                               {HTTP_PRIORITY_DEFAULT, 0, 2}};
  for (const Change& change : kCases) {
    HttpSetLastError(0);
    EXPECT_EQ(HttpSetPriority(client, change.set), change.result) << change.set;
    EXPECT_EQ(HttpGetPriority(client), change.stored) << change.set;
    const bool failed = change.result == HTTP_ERROR;
    EXPECT_EQ(LastError(), failed ? QV_ERROR_INVALID_PARAMETER : 0u) << change.set;
  }
}

TEST_F(SettingsTest, SomeOptionsCanBeChanged) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  constexpr DWORD kChangeable[] = {HTTP_OPTION_NOCACHE,     HTTP_OPTION_KEEPALIVE,
                                   HTTP_OPTION_REDIRECT,    HTTP_OPTION_ERRORDATA,
                                   HTTP_OPTION_NOUSERAGENT, HTTP_OPTION_FREETHREAD,
                                   HTTP_OPTION_HIRES_TIMER};
  for (const DWORD option : kChangeable) {
    for (const BOOL wanted : {7, 0}) {
      HttpSetLastError(QV_ERROR_END_OF_FILE);
      EXPECT_EQ(HttpSetOption(client, option, wanted), 0) << option;
      EXPECT_EQ(LastError(), 0u);
      BOOL enabled = -1;
      HttpSetLastError(QV_ERROR_END_OF_FILE);
      EXPECT_EQ(HttpGetOption(client, option, &enabled), 0);
      EXPECT_EQ(LastError(), 0u);
      EXPECT_EQ(enabled != FALSE, wanted != FALSE) << option;
    }
  }
}

TEST_F(SettingsTest, OtherOptionsCannotBeChanged) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  constexpr DWORD kRefused[] = {0,
                                HTTP_OPTION_PROXY,
                                HTTP_OPTION_HTTP2,
                                HTTP_OPTION_HTTP3,
                                HTTP_OPTION_TUNNEL,
                                HTTP_OPTION_TRUSTEDSITE,
                                HTTP_OPTION_SECURE,
                                HTTP_OPTION_SECURE_FALLBACK,
                                HTTP_OPTION_PREFER_IPV6,
                                HTTP_OPTION_NOCACHE | HTTP_OPTION_KEEPALIVE,
                                0x200,
                                0x80000000u};
  for (const DWORD option : kRefused) {
    for (const BOOL wanted : {TRUE, FALSE}) {
      HttpSetLastError(0);
      EXPECT_EQ(HttpSetOption(client, option, wanted), HTTP_ERROR) << option;
      EXPECT_EQ(LastError(), QV_ERROR_INVALID_OPTION) << option;
    }
  }
  BOOL enabled = TRUE;
  EXPECT_EQ(HttpGetOption(client, HTTP_OPTION_SECURE, &enabled), 0);
  EXPECT_FALSE(enabled);
  EXPECT_EQ(HttpGetOption(client, HTTP_OPTION_NOCACHE | HTTP_OPTION_KEEPALIVE, &enabled), 0);
  EXPECT_TRUE(enabled) << "any of the bits counts";
  EXPECT_EQ(HttpGetOption(client, 0, &enabled), 0);
  EXPECT_FALSE(enabled);
  EXPECT_EQ(HttpGetOption(client, HTTP_OPTION_SECURE, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
}

TEST_F(SettingsTest, StatusRecordsAreRequired) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpGetStatus(client), HTTP_STATUS_IDLE);
  EXPECT_EQ(HttpGetTransferStatus(client, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  HttpSetLastError(0);
  EXPECT_EQ(HttpGetTransferStatusEx(client, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
}

TEST_F(SettingsTest, TransferStatusOfANewSessionAndAfterATransfer) {
  const RawServer server(OneConnection({Response("200 OK", {}, "twelve bytes")}));
  const HCLIENT client = Connect(server.port());
  HTTPTRANSFERSTATUSEX status;
  memset(&status, 0xAB, sizeof(status));
  ASSERT_EQ(HttpGetTransferStatusEx(client, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 0u);
  EXPECT_EQ(status.dwBytesCopied, 0u);
  EXPECT_EQ(status.dwBytesPerSecond, 0u);
  EXPECT_EQ(status.dwTimeElapsed, 0u);
  EXPECT_EQ(status.dwTimeEstimated, 0u);
  EXPECT_EQ(status.dwReserved, 0u);

  EXPECT_EQ(Get(client, "/").result, 200);
  ASSERT_EQ(HttpGetTransferStatusEx(client, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 12u);
  EXPECT_EQ(status.dwBytesCopied, 12u);
  EXPECT_EQ(status.dwTimeEstimated, status.dwTimeElapsed);
  HTTPTRANSFERSTATUS narrow;
  ASSERT_EQ(HttpGetTransferStatus(client, &narrow), 0);
  EXPECT_EQ(narrow.dwBytesTotal, 12u);
  EXPECT_EQ(narrow.dwBytesCopied, 12u);
}

TEST_F(SettingsTest, AShortBodyShowsInTheTransferStatus) {
  const RawServer server(RawServer::Script{
      {{test::Head("200 OK", {"Content-Length: 100"}) + "only this", RawServer::How::kClose}}});
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(Get(client, "/").body, "only this");
  HTTPTRANSFERSTATUS status;
  ASSERT_EQ(HttpGetTransferStatus(client, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 100u);
  EXPECT_EQ(status.dwBytesCopied, 9u);
}

TEST_F(SettingsTest, ResourceUrl) {
  const std::string reply = Response("200 OK", {}, "");
  const RawServer server(OneConnection({reply, reply, reply, reply}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string root = "http://127.0.0.1:" + std::to_string(server.port());
  EXPECT_EQ(ResourceUrl(client), root + "/");
  struct Case {
    const char* resource;
    const char* url;
  };
  constexpr Case kCases[] = {
      {"/a/b.txt", "/a/b.txt"},
      {"/plain?x=1&y=2", "/plain?x=1&y=2"},
      {"/two words", "/two%20words"},
      {"/q?two%20words", "/q?two%20words"},
  };
  for (const Case& entry : kCases) {
    EXPECT_EQ(Command(client, "GET", entry.resource), 200);
    EXPECT_EQ(ResourceUrl(client), root + entry.url) << entry.resource;
  }

  const std::string url = ResourceUrl(client);
  const auto length = static_cast<INT>(url.size());
  EXPECT_EQ(HttpGetResourceUrlA(client, nullptr, 0), length);
  std::string buffer(url.size() + 1, '?');
  EXPECT_EQ(HttpGetResourceUrlA(client, buffer.data(), length), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(buffer[0], '\0');
}

TEST_F(SettingsTest, ResourceUrlFitsABufferOfItsLengthAndATerminator) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  const std::string url = ResourceUrl(client);
  std::string buffer(url.size() + 1, '?');
  const auto length = static_cast<INT>(url.size());
  EXPECT_EQ(HttpGetResourceUrlA(client, buffer.data(), length + 1), length);
  EXPECT_STREQ(buffer.c_str(), url.c_str());
}

TEST_F(SettingsTest, RedirectUrl) {
  const RawServer server(OneConnection({
      Response("200 OK", {}, ""),
      Response("302 Found", {"Location: /moved?a=b"}, ""),
      Response("301 Moved", {"Location: http://elsewhere.example:81/x"}, ""),
      Response("302 Found", {}, ""),
  }));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string root = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string expected[] = {"", root + "/moved?a=b", "http://elsewhere.example:81/x", ""};
  const INT results[] = {200, 302, 301, 302};
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    ASSERT_EQ(Command(client, "GET", "/"), results[i]);
    char url[256] = "?";
    const auto length = static_cast<INT>(expected[i].size());
    EXPECT_EQ(HttpGetRedirectUrlA(client, nullptr, 0), length) << i;
    EXPECT_EQ(HttpGetRedirectUrlA(client, url, sizeof(url)), length) << i;
    EXPECT_EQ(url, expected[i]);
    if (length == 0) continue;
    HttpSetLastError(0);
    EXPECT_EQ(HttpGetRedirectUrlA(client, url, length), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
    EXPECT_EQ(HttpGetRedirectUrlA(client, url, length + 1), length);
  }
}

TEST_F(SettingsTest, ContentTypeOfTheResponse) {
  struct Case {
    const char* field;
    INT content_class;
    const char* text;
  };
  constexpr Case kCases[] = {
      {"Content-Type: text/html; charset=utf-8", HTTP_CONTENT_TEXT, "text/html; charset=utf-8"},
      {"content-type:image/png", HTTP_CONTENT_IMAGE, "image/png"},
      {"Content-Type: application/octet-stream", HTTP_CONTENT_BINARY, "application/octet-stream"},
      {"X-None: 1", HTTP_CONTENT_UNKNOWN, ""},
  };
  std::vector<std::string> replies;
  for (const Case& entry : kCases) replies.push_back(Response("200 OK", {entry.field}, ""));
  const RawServer server(OneConnection(replies));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  for (const Case& entry : kCases) {
    ASSERT_EQ(Command(client, "GET", "/"), 200);
    char type[64] = "?";
    EXPECT_EQ(HttpGetContentTypeA(client, nullptr, 0), entry.content_class);
    EXPECT_EQ(HttpGetContentTypeA(client, type, sizeof(type)), entry.content_class);
    EXPECT_STREQ(type, entry.text);
  }
}

TEST_F(SettingsTest, ALongContentTypeIsCutToTheBuffer) {
  const RawServer server(OneConnection({Response("200 OK", {"Content-Type: text/plain"}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  char type[5] = "?";
  EXPECT_EQ(HttpGetContentTypeA(client, type, sizeof(type)), HTTP_CONTENT_TEXT);
  EXPECT_STREQ(type, "text");
}

TEST_F(SettingsTest, SetContentTypeSetsAndRemovesTheRequestHeader) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  char value[64];
  EXPECT_TRUE(HttpSetContentTypeA(client, " \ttext/csv"));
  EXPECT_TRUE(HttpGetRequestHeaderA(client, "Content-Type", value, sizeof(value)));
  EXPECT_STREQ(value, "text/csv");
  HttpSetLastError(0);
  EXPECT_FALSE(HttpSetContentTypeA(client, "nonsense"));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(HttpGetRequestHeaderA(client, "Content-Type", nullptr, 0));
  HttpSetLastError(0);
  EXPECT_FALSE(HttpSetContentTypeA(client, "text/csv\r\nX-Injected: 1"));
  EXPECT_NE(LastError(), 0u);
  for (const char* none : {static_cast<const char*>(nullptr), "", "  "}) {
    EXPECT_TRUE(HttpSetContentTypeA(client, "text/csv"));
    EXPECT_TRUE(HttpSetContentTypeA(client, none));
    EXPECT_FALSE(HttpGetRequestHeaderA(client, "Content-Type", nullptr, 0));
    EXPECT_TRUE(HttpSetContentTypeA(client, none)) << "removing what is not there";
  }
}

}  // namespace
