// Reading response headers: status lines, fields, interim responses, errors and queries.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

class ResponseTest : public SessionTest {
 protected:
  // Sends GET to a server with this one reply and leaves the session in `session_`.
  int Ask(const std::string& reply, DWORD options = 0, DWORD version = 0) {
    if (session_ != INVALID_CLIENT) HttpDisconnect(session_);
    server_ = std::make_unique<RawServer>(ConnectionForEach({reply}));
    session_ = Connect(server_->port(), options, version);
    return HttpCommand(session_, "GET", "/", nullptr, 0, 0);
  }

  std::string Field(const char* name) const {
    std::vector<char> value(100000);
    if (!HttpGetResponseHeader(session_, name, value.data(), static_cast<INT>(value.size()))) {
      return "(none)";
    }
    return value.data();
  }

  std::string ResultText() const {
    char text[256] = "";
    HttpGetResultString(session_, text, sizeof(text));
    return text;
  }

  std::string RedirectUrl() const {
    char url[256] = "";
    const INT length = HttpGetRedirectUrl(session_, url, sizeof(url));
    EXPECT_EQ(length, static_cast<INT>(std::string(url).size()));
    return url;
  }

  std::unique_ptr<RawServer> server_;
  HCLIENT session_ = INVALID_CLIENT;
};

TEST_F(ResponseTest, StatusCodesAndTheirErrors) {
  struct Case {
    DWORD error;  // 0: the command succeeds
    std::vector<int> codes;
  };
  const std::vector<Case> cases = {
      {0, {199, 200, 201, 202, 203, 204, 205, 206, 207, 208, 226, 299, 300, 306, 399}},
      {QV_ERROR_RESOURCE_NOT_MODIFIED, {304}},
      {QV_ERROR_PROXY_REQUIRED, {305}},
      {QV_ERROR_INVALID_COMMAND, {400, 418, 501}},
      {QV_ERROR_COMMAND_NOT_AUTHORIZED, {401, 405, 511}},
      {QV_ERROR_RESOURCE_RESTRICTED, {402}},
      {QV_ERROR_ACCESS_DENIED, {403, 451}},
      {QV_ERROR_RESOURCE_NOT_FOUND, {404}},
      {QV_ERROR_INVALID_RESOURCE, {406, 414}},
      {QV_ERROR_PROXY_AUTHENTICATION_REQUIRED, {407}},
      {QV_ERROR_OPERATION_TIMEOUT, {408, 504}},
      {QV_ERROR_RESOURCE_CONFLICT, {409}},
      {QV_ERROR_RESOURCE_REMOVED, {410}},
      {QV_ERROR_CONTENT_LENGTH_REQUIRED, {411}},
      {QV_ERROR_REQUEST_PRECONDITION, {412, 428}},
      {QV_ERROR_UNSUPPORTED_MEDIA_TYPE, {415}},
      {QV_ERROR_INVALID_CONTENT_RANGE, {416}},
      {QV_ERROR_OPERATION_NOT_SUPPORTED, {417, 510}},
      {QV_ERROR_INVALID_SERVER_RESPONSE, {421, 500, 502, 506, 508}},
      {QV_ERROR_INVALID_API_PAYLOAD, {422}},
      {QV_ERROR_PROTOCOL_VERSION_REQUIRED, {426}},
      {QV_ERROR_RATE_LIMIT_EXCEEDED, {429}},
      {QV_ERROR_INVALID_REQUEST_HEADER, {431}},
      {QV_ERROR_SERVICE_UNAVAILABLE, {503}},
      {QV_ERROR_INVALID_PROTOCOL_VERSION, {505}},
      {QV_ERROR_INSUFFICIENT_STORAGE, {507}},
      {QV_ERROR_UNEXPECTED_SERVER_RESPONSE, {413, 423, 499, 509, 599, 600, 999, 12345}},
  };
  for (const Case& c : cases) {
    for (int code : c.codes) {
      if (code == 199) continue;  // an interim response, see below
      SCOPED_TRACE(code);
      const int result = Ask(Response(std::to_string(code) + " Text", {}, ""));
      EXPECT_EQ(result, c.error == 0 ? code : HTTP_ERROR);
      if (c.error != 0) {
        EXPECT_EQ(LastError(), c.error);
      }
      EXPECT_EQ(HttpGetResultCode(session_), code);
      EXPECT_EQ(ResultText(), "Text");
    }
  }
}

TEST_F(ResponseTest, StatusLines) {
  struct Case {
    const char* line;
    int code;
    std::string text;
  };
  const std::string long_text(300, 't');
  const std::string long_line = "HTTP/1.1 200 " + long_text;
  const std::vector<Case> cases = {
      {"HTTP/1.1 200 OK", 200, "OK"},
      {"HTTP/1.0 200 OK", 200, "OK"},
      {"http/1.0 200 Fine", 200, "Fine"},
      {"HTTP/2 200", 200, ""},
      {"HTTP/1.1   201   Two   spaces", 201, "Two spaces"},
      {"HTTP/1.1\t200\tOK", 0, ""},  // no space: nothing is taken from the line
      {"HTTP/1.1", 0, ""},
      {"HTTP/1.1 OK", 0, "OK"},
      {"HTTP/1.1 -200 OK", 0, "-200 OK"},
      {"\r\n\r\n HTTP/1.1 200 OK", 200, "OK"},
      {long_line.c_str(), 200, long_text.substr(0, 127)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Ask(std::string(c.line) + "\r\nContent-Length: 0\r\n\r\n"), c.code);
    EXPECT_EQ(HttpGetResultCode(session_), c.code);
    EXPECT_EQ(ResultText(), c.text);
  }
}

TEST_F(ResponseTest, Fields) {
  const std::string long_value(70000, 'v');
  EXPECT_EQ(Ask("HTTP/1.1 200 OK\r\n"
                "X-One:one\r\n"
                "x-spaces:   a   b \t c\r\n"
                "X-Quoted: \"a   b\"   c\r\n"
                "X-Twice: first\nX-Twice: second\r\n"  // LF alone ends a line, too
                "X-Trailing: value \t \r\n"
                "X-Colon: a:b\r\n"
                "X-Empty:\r\n"
                "no colon here\r\n"
                "X-C\rR: dr\ropped\r\n"
                "X-Long: " +
                long_value +
                "\r\n"
                "X-After: yes\r\n"
                "Content-Length: 0\r\n\r\n"),
            200);
  EXPECT_EQ(Field("x-one"), "one");
  EXPECT_EQ(Field("X-Spaces"), "a b c");
  EXPECT_EQ(Field("X-Quoted"), "\"a   b\" c");
  EXPECT_EQ(Field("X-Twice"), "first");
  EXPECT_EQ(Field("X-Trailing"), "value");
  EXPECT_EQ(Field("X-Colon"), "a:b");
  EXPECT_EQ(Field("X-Empty"), "(none)");
  EXPECT_EQ(Field("X-CR"), "dropped");
  EXPECT_EQ(Field("X-Long"), long_value.substr(0, 65535 - std::string("X-Long: ").size()));
  EXPECT_EQ(Field("X-After"), "yes");
}

TEST_F(ResponseTest, InterimResponsesArePassedOver) {
  const std::string final = Response("200 OK", {"X-Final: yes"}, "body");
  const std::vector<std::string> interims = {
      "HTTP/1.1 100 Continue\r\n\r\n",
      "HTTP/1.1 102 Processing\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n",
      // What an interim response says about the body and the connection does not count.
      "HTTP/1.1 103 Hints\r\nContent-Length: 99\r\nTransfer-Encoding: chunked\r\n"
      "Connection: close\r\nX-Interim: seen\r\n\r\n",
  };
  for (const std::string& interim : interims) {
    SCOPED_TRACE(interim);
    const RawServer server(OneConnection({interim + final, final}));
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    const Fetched fetched = Get(session, "/");
    EXPECT_EQ(fetched.result, 200);
    EXPECT_EQ(fetched.body, "body");
    char value[16] = "";
    const bool fields_kept = interim.find("X-Interim") == std::string::npos ||
                             HttpGetResponseHeader(session, "X-Interim", value, sizeof(value));
    EXPECT_TRUE(fields_kept);
    EXPECT_EQ(Get(session, "/").body, "body");
    EXPECT_EQ(server.connections(), 1u);
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
  // Only HTTP/1.1 knows interim responses, and 101 is final.
  EXPECT_EQ(Ask("HTTP/1.0 100 Continue\r\n\r\n" + final, 0, HTTP_VERSION_10), 100);
  EXPECT_EQ(Ask("HTTP/1.1 101 Switching\r\nUpgrade: x\r\n\r\nstream"), 101);
  BYTE buffer[16];
  EXPECT_EQ(HttpRead(session_, buffer, sizeof(buffer)), 6);
}

TEST_F(ResponseTest, LocationOfAnInterimResponseIsNotFollowed) {
  EXPECT_EQ(Ask("HTTP/1.1 103 Hints\r\nLocation: /wrong\r\n\r\n" +
                Response("302 Found", {"Location: /right"}, "")),
            302);
  EXPECT_EQ(RedirectUrl(), "http://127.0.0.1:" + std::to_string(server_->port()) + "/right");
}

TEST_F(ResponseTest, ErrorResponsesAsData) {
  EXPECT_EQ(Ask(Response("404 Not Found", {}, "page"), HTTP_OPTION_ERRORDATA), 404);
  BYTE buffer[16];
  EXPECT_EQ(HttpRead(session_, buffer, sizeof(buffer)), 4);
  EXPECT_EQ(Ask(Response("599 Odd", {}, ""), HTTP_OPTION_ERRORDATA), 599);
  EXPECT_EQ(Ask(Response("600 Odd", {}, ""), HTTP_OPTION_ERRORDATA), HTTP_ERROR);
  EXPECT_EQ(Ask(Response("304 Not Modified", {}, ""), HTTP_OPTION_ERRORDATA), HTTP_ERROR);
  // For one transfer only.
  const RawServer server(OneConnection(
      {Response("404 Not Found", {}, "page"), Response("404 Not Found", {}, "page")}));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const Fetched page = Get(session, "/", HTTP_TRANSFER_ERRORDATA);
  EXPECT_EQ(page.result, 404);
  EXPECT_EQ(page.body, "page");
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_FOUND});
  EXPECT_EQ(server.connections(), 1u);
}

TEST_F(ResponseTest, CommandEventCarriesTheError) {
  const RawServer server(OneConnection({Response("200 OK", {}, ""), Response("404 No", {}, "")}));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  std::vector<DWORD> errors;
  const HTTPEVENTPROC record = [](HCLIENT, UINT, DWORD error, DWORD_PTR parameter) {
    reinterpret_cast<std::vector<DWORD>*>(parameter)->push_back(error);
  };
  ASSERT_EQ(
      HttpRegisterEvent(session, HTTP_EVENT_COMMAND, record, reinterpret_cast<DWORD_PTR>(&errors)),
      0);
  Get(session, "/");
  Get(session, "/");
  EXPECT_EQ(errors, (std::vector<DWORD>{0, QV_ERROR_RESOURCE_NOT_FOUND}));
}

TEST_F(ResponseTest, ResultStringChecksItsBufferAndCuts) {
  ASSERT_EQ(Ask(Response("200 All fine", {}, "")), 200);
  char text[16] = "";
  EXPECT_EQ(HttpGetResultString(session_, text, sizeof(text)), 8);
  EXPECT_STREQ(text, "All fine");
  EXPECT_EQ(HttpGetResultString(session_, text, 4), 3);
  EXPECT_STREQ(text, "All");
  EXPECT_EQ(HttpGetResultString(session_, text, 1), 0);
  EXPECT_EQ(HttpGetResultString(session_, text, 0), 0);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(HttpGetResultString(session_, nullptr, 16), 0);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  WCHAR wide[16] = {};
  EXPECT_EQ(HttpGetResultStringW(session_, wide, 16), 8);
  EXPECT_EQ(std::u16string(wide), u"All fine");
}

TEST_F(ResponseTest, ContentLength) {
  ULONGLONG length = 99;
  EXPECT_EQ(Ask("HTTP/1.1 204 No Content\r\n\r\n"), 204);
  EXPECT_TRUE(HttpGetContentLengthEx(session_, &length));
  EXPECT_EQ(length, 0u);

  EXPECT_EQ(Ask("HTTP/1.1 200 OK\r\nContent-Length: 5000000000\r\n\r\n"), 200);
  EXPECT_TRUE(HttpGetContentLengthEx(session_, &length));
  EXPECT_EQ(length, 5000000000u);
  DWORD low = 0;
  EXPECT_TRUE(HttpGetContentLength(session_, &low));
  EXPECT_EQ(low, static_cast<DWORD>(5000000000u));
  EXPECT_TRUE(HttpGetContentLengthEx(session_, nullptr));

  EXPECT_EQ(Ask(ChunkedResponse("200 OK", {}, {"Wiki", "pedia"})), 200);
  length = low = 99;
  EXPECT_FALSE(HttpGetContentLengthEx(session_, &length));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_HEADER_NOT_FOUND});
  EXPECT_EQ(length, 0u);
  EXPECT_FALSE(HttpGetContentLength(session_, &low));
  EXPECT_EQ(low, 0u);

  // After a transfer, what was received counts.
  const RawServer server(ConnectionForEach({ChunkedResponse("200 OK", {}, {"Wiki", "pedia"})}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(Get(session, "/").body, "Wikipedia");
  EXPECT_TRUE(HttpGetContentLengthEx(session, &length));
  EXPECT_EQ(length, 9u);
}

TEST_F(ResponseTest, RedirectThatIsNotFollowed) {
  for (int code : {301, 302, 303, 307, 308}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(
        Ask(Response(std::to_string(code) + " Moved", {"Location: http://other.test/x"}, "moved")),
        code);
    EXPECT_EQ(RedirectUrl(), "http://other.test/x");
    BYTE buffer[16];
    EXPECT_EQ(HttpRead(session_, buffer, sizeof(buffer)), 5);
  }
  EXPECT_EQ(Ask(Response("302 Found", {"location: /path?a=b"}, "")), 302);
  EXPECT_EQ(RedirectUrl(), "http://127.0.0.1:" + std::to_string(server_->port()) + "/path?a=b");
  EXPECT_EQ(HttpGetRedirectUrl(session_, nullptr, 0), static_cast<INT>(RedirectUrl().size()));
  char small[8];
  EXPECT_EQ(HttpGetRedirectUrl(session_, small, sizeof(small)), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  EXPECT_EQ(Ask(Response("200 OK", {"Location: /ignored"}, "")), 200);
  EXPECT_EQ(RedirectUrl(), "");
}

TEST_F(ResponseTest, RedirectWithoutLocationHasNone) {
  const RawServer server(OneConnection(
      {Response("302 Found", {"Location: /old"}, ""), Response("302 Found", {}, "")}));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Get(session, "/").result, 302);
  EXPECT_GT(HttpGetRedirectUrl(session, nullptr, 0), 0);
  EXPECT_EQ(HttpSetOption(session, HTTP_OPTION_REDIRECT, TRUE), 0);
  EXPECT_EQ(Get(session, "/").result, 302);  // nothing to follow
  EXPECT_EQ(HttpGetRedirectUrl(session, nullptr, 0), 0);
}

TEST_F(ResponseTest, ContentTypeAndItsClass) {
  ASSERT_EQ(Ask(Response("200 OK", {"Content-Type: text/html; charset=utf-8"}, "")), 200);
  char type[64] = "";
  EXPECT_EQ(HttpGetContentType(session_, type, sizeof(type)), HTTP_CONTENT_TEXT);
  EXPECT_STREQ(type, "text/html; charset=utf-8");
  char cut[5] = "";
  EXPECT_EQ(HttpGetContentType(session_, cut, sizeof(cut)), HTTP_CONTENT_TEXT);
  EXPECT_STREQ(cut, "text");
  ASSERT_EQ(Ask(Response("200 OK", {}, "")), 200);
  EXPECT_EQ(HttpGetContentType(session_, type, sizeof(type)), HTTP_CONTENT_UNKNOWN);
  EXPECT_STREQ(type, "");
}

// HTTP/0.9 has neither status nor fields: the whole answer is the body.
TEST_F(ResponseTest, Http09) {
  const RawServer server([](Connection& connection) {
    EXPECT_EQ(connection.ReadBytes(11), "GET /page\r\n");
    connection.Send("HTTP/1.1 404 is text here\r\n\r\n");
  });
  const HCLIENT session = Connect(server.port(), 0, HTTP_VERSION_09);
  const Fetched page = Get(session, "/page");
  EXPECT_EQ(page.result, 200);
  EXPECT_EQ(page.body, "HTTP/1.1 404 is text here\r\n\r\n");
}

}  // namespace
}  // namespace test
