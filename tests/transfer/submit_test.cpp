// POST, PUT and PATCH of data and text.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::RawServer;

constexpr UINT kUtf8Page = 65001;

class SubmitTest : public test::SessionTest {
 protected:
  // Answers every request with its own body.
  static void Echo(test::Connection& connection) {
    while (auto request = connection.ReadRequest()) {
      connection.Send(
          test::Response("200 OK", {"Content-Type: text/plain"}, test::BodyOf(*request)));
    }
  }
};

TEST_F(SubmitTest, TypesAndEncodesByFunction) {
  RawServer server(Echo);
  char result[64];
  struct Case {
    std::function<int(HCLIENT, LPVOID, LPDWORD)> call;
    const char* method;
    const char* type;
    const char* body;
  };
  const Case cases[] = {
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPostDataA(h, "/", "a b", 3, r, n, 0); },
       "POST", "application/x-www-form-urlencoded", "a%20b"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPostJsonA(h, "/", "{\"a\": 1}", r, n, 0); },
       "POST", "application/json", "{\"a\": 1}"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPostXmlW(h, u"/", u"<\u00e4/>", r, n, 0); },
       "POST", "application/xml", "<\xc3\xa4/>"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPostTextA(h, "/", "x y", r, n, 0); }, "POST",
       "text/plain; charset=utf-8", "x y"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPutDataExA(h, "/", "a b", 3, r, n, 0); },
       "PUT", "application/octet-stream", "a b"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPutTextExW(h, u"/", u"t t", r, n, 0); },
       "PUT", "text/plain; charset=utf-8", "t t"},
      {[](HCLIENT h, LPVOID r, LPDWORD n) { return HttpPatchDataA(h, "/", "p p", r, n, 0); },
       "PATCH", nullptr, "p p"},
  };
  for (const Case& entry : cases) {
    const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    DWORD length = sizeof(result);
    ASSERT_EQ(entry.call(client, result, &length), 200) << entry.body;
    EXPECT_EQ(std::string(result, length), entry.body);
    const std::string request = server.requests().back();
    EXPECT_EQ(test::FirstLineOf(request), std::string(entry.method) + " / HTTP/1.1");
    if (entry.type != nullptr) {
      EXPECT_EQ(test::HeaderOf(request, "Content-Type"), entry.type);
    } else {
      EXPECT_FALSE(test::HeaderOf(request, "Content-Type"));
    }
  }
}

TEST_F(SubmitTest, MultipartAndOwnTypesAreLeftAlone) {
  RawServer server(Echo);
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  HttpSetRequestHeaderA(client, "Content-Type", "multipart/form-data");
  HGLOBAL block = nullptr;
  DWORD length = 0;
  EXPECT_EQ(HttpPostDataA(client, "/", "a b", 3, &block, &length, 0), 200);
  EXPECT_EQ(test::BodyOf(server.requests()[0]), "a b");
  EXPECT_EQ(GlobalFree(block), nullptr);
  EXPECT_EQ(HttpGetEncodingType(client), HTTP_ENCODING_URL);
  HttpSetRequestHeaderA(client, "Content-Type", "application/own");
  EXPECT_EQ(HttpPostJsonA(client, "/", "{}", &block, &(length = 0), 0), 200);
  EXPECT_EQ(test::HeaderOf(server.requests()[1], "Content-Type"), "application/own");
  GlobalFree(block);
}

TEST_F(SubmitTest, WithoutAResultTheRequestStaysOpen) {
  RawServer server(Echo);
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpPostDataA(client, "/", "abc", 3, nullptr, nullptr, 0), 200);
  EXPECT_EQ(HttpPostDataA(client, "/", "abc", 3, nullptr, nullptr, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_REQUEST_NOT_COMPLETED);
  BYTE body[8];
  EXPECT_EQ(HttpRead(client, body, sizeof(body)), 3);
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(HttpPostDataA(client, "/", nullptr, 0, nullptr, nullptr, 0), 200);
}

TEST_F(SubmitTest, ArgumentsAreChecked) {
  RawServer server(Echo);
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  char result[8];
  DWORD length = 1;
  const auto error_of = [](int outcome) { return outcome == -1 ? LastError() : 0; };
  EXPECT_EQ(error_of(HttpPostDataA(client, "", "x", 1, nullptr, nullptr, 0)),
            QV_ERROR_INVALID_RESOURCE);
  EXPECT_EQ(error_of(HttpPostDataA(client, "/", nullptr, 1, nullptr, nullptr, 0)),
            QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error_of(HttpPostDataA(client, "/", "x", 1, result, nullptr, 0)),
            QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error_of(HttpPostJsonA(client, "/", "", nullptr, nullptr, 0)),
            QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error_of(HttpPutDataA(client, "/", "x", 0, 0)), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error_of(HttpPutTextA(client, "/", nullptr)), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error_of(HttpPostTextExA(client, "/", "x", result, &length, kUtf8Page, 0)),
            QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(SubmitTest, TextResponsesAreConvertedAndCut) {
  RawServer server(Echo);
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  char result[6];
  DWORD length = sizeof(result);
  EXPECT_EQ(HttpPostTextExA(client, "/", "a\nb\xc3\xa4\xc3\xa4", result, &length, kUtf8Page, 0),
            200);
  EXPECT_EQ(std::string(result, length), "a\r\nb");
  char16_t wide[16];
  length = 16;
  EXPECT_EQ(HttpPostTextExW(client, u"/", u"\u00e4", wide, &length, kUtf8Page, 0), 200);
  EXPECT_EQ(std::u16string(wide, length), u"\u00e4");
}

TEST_F(SubmitTest, StreamedPutReachesARealServer) {
  test::WebServer web;
  const std::string bytes = test::Pattern(1 << 20);
  const HCLIENT client = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpPutDataA(client, "/dav/p.bin", bytes.data(), static_cast<DWORD>(bytes.size()), 0),
            201);
  EXPECT_TRUE(web.ReadDav("p.bin") == bytes);
}

}  // namespace
