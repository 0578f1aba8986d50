// HttpSubmitRequest: one request in one call.
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/loopback.h"
#include "support/messages.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::RawServer;

constexpr DWORD kWholeText = ~DWORD{0};

static_assert(sizeof(HTTPCONNECTIONA) == 104 && sizeof(HTTPCONNECTIONW) == 104);
static_assert(offsetof(HTTPCONNECTIONA, nEncoding) == 16);
static_assert(offsetof(HTTPCONNECTIONA, nAuthType) == 28);
static_assert(offsetof(HTTPCONNECTIONA, lpszProxyServer) == 32);
static_assert(offsetof(HTTPCONNECTIONA, lpszUserAgent) == 56);
static_assert(offsetof(HTTPCONNECTIONA, lpszContentType) == 80);
static_assert(offsetof(HTTPCONNECTIONA, lpCredentials) == 96);

HTTPCONNECTIONA Record(const std::function<void(HTTPCONNECTIONA&)>& change = {}) {
  HTTPCONNECTIONA record{};
  record.dwSize = sizeof(record);
  if (change) change(record);
  return record;
}

class OneCallRequestTest : public test::SessionTest {
 protected:
  // Submits in handle mode.
  static test::Fetched Submit(DWORD type, const std::string& url, HTTPCONNECTIONA* record = nullptr,
                              std::string_view data = {}) {
    HGLOBAL block = nullptr;
    DWORD length = 0;
    test::Fetched fetched{
        HttpSubmitRequestA(type, url.c_str(), record, data.data(), static_cast<DWORD>(data.size()),
                           static_cast<void*>(&block), &length),
        {}};
    if (block != nullptr) {
      fetched.body.assign(static_cast<const char*>(GlobalLock(block)), length);
      GlobalUnlock(block);
      GlobalFree(block);
    }
    return fetched;
  }

  // Answers the one request of each connection.
  static RawServer::Handler Answers(const std::string& reply) {
    return [reply](test::Connection& connection) {
      if (connection.ReadRequest()) connection.Send(reply);
      connection.WaitForClose();
    };
  }
};

TEST_F(OneCallRequestTest, ChoosesMethodAndType) {
  struct Case {
    DWORD type;
    const char* content_type;
    std::string_view data;
    const char* method;
    const char* sent_type;
  };
  const Case cases[] = {
      {HTTP_REQUEST_DEFAULT, nullptr, "", "GET", nullptr},
      {HTTP_REQUEST_GET, nullptr, "left out", "GET", nullptr},
      {HTTP_REQUEST_DEFAULT, nullptr, " {\"a\": 1}", "POST", "application/json"},
      {HTTP_REQUEST_DEFAULT, nullptr, "<?xml?>", "POST", "application/xml"},
      {HTTP_REQUEST_DEFAULT, "", "plain = text & more", "POST", "text/plain"},
      {HTTP_REQUEST_POST, "  ", "\x01\x02", "POST", "application/octet-stream"},
      {HTTP_REQUEST_POST, " image/png", "{}", "POST", "image/png"},
      {HTTP_REQUEST_PUT, nullptr, "[1]", "PUT", "application/json"},
  };
  RawServer server(Answers(test::Response("200 OK", {}, "ok")));
  for (const Case& entry : cases) {
    HTTPCONNECTIONA record = Record();
    record.lpszContentType = entry.content_type;
    const test::Fetched fetched = Submit(entry.type, server.url("/a?b=c"), &record, entry.data);
    EXPECT_EQ(fetched.result, 200) << entry.data << std::hex << LastError();
    EXPECT_EQ(fetched.body, "ok") << entry.data;
    const std::string request = server.requests().back();
    EXPECT_EQ(test::FirstLineOf(request), std::string(entry.method) + " /a?b=c HTTP/1.1");
    EXPECT_EQ(test::HeaderOf(request, "Content-Type").value_or("none"),
              entry.sent_type != nullptr ? entry.sent_type : "none")
        << entry.data;
    const bool has_body = std::string_view(entry.method) != "GET";
    EXPECT_EQ(test::BodyOf(request), has_body ? entry.data : "");
    EXPECT_EQ(test::HeaderOf(request, "Connection"), "Close");
  }
}

TEST_F(OneCallRequestTest, DeliversWholeBodies) {
  RawServer server(Answers(test::Response("200 OK", {}, "12345")));
  const std::string url = server.url("/");
  char buffer[8] = "xxxxxxx";
  DWORD length = 5;
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, buffer, &length), 200);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(std::string_view(buffer), "12345xx");

  std::fill_n(buffer, 7, 'x');
  length = 4;
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, buffer, &length), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(std::string_view(buffer), "xxxxxxx");

  length = 0;
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, nullptr, &length), 200);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, nullptr, nullptr), 200);
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, "text", kWholeText, nullptr, nullptr), 200);
  EXPECT_EQ(test::BodyOf(server.requests().back()), "text");

  RawServer silent(Answers(test::Response("204 None", {}, "")));
  HGLOBAL block = buffer;
  length = 0;
  EXPECT_EQ(HttpSubmitRequestA(0, silent.url("/").c_str(), nullptr, nullptr, 0,
                               static_cast<void*>(&block), &length),
            204);
  EXPECT_EQ(block, nullptr);
  EXPECT_TRUE(server.WaitForEnds(server.connections()));
}

TEST_F(OneCallRequestTest, RefusesWithoutConnecting) {
  RawServer server(RawServer::Script{{}});
  const std::string url = server.url("/");
  struct Case {
    DWORD type;
    std::string url;
    std::function<void(HTTPCONNECTIONA&)> change;
    const char* data;
    DWORD error;
  };
  const Case cases[] = {
      {4, url, {}, "x", QV_ERROR_INVALID_COMMAND},
      {0, "", {}, "x", QV_ERROR_INVALID_RESOURCE},
      {0, "ftp://127.0.0.1/", {}, "x", QV_ERROR_INVALID_RESOURCE},
      {HTTP_REQUEST_POST, url, {}, "", QV_ERROR_INVALID_BUFFER},
      {HTTP_REQUEST_PUT, url, {}, nullptr, QV_ERROR_INVALID_BUFFER},
      {0, url, [](auto& r) { r.dwSize = 96; }, "x", QV_ERROR_INVALID_PARAMETER},
      {0, url, [](auto& r) { r.nProxyType = 1; }, "x", QV_ERROR_INVALID_HOSTNAME},
      {0, url,
       [](auto& r) {
         r.nProxyType = 1;
         r.lpszProxyServer = "127.0.0.1";
       },
       "x", QV_ERROR_FEATURE_NOT_SUPPORTED},
      {0, url, [](auto& r) { r.dwOptions = HTTP_OPTION_PROXY; }, "x",
       QV_ERROR_FEATURE_NOT_SUPPORTED},
      {0, url, [](auto& r) { r.dwVersion = 0x10002; }, "x", QV_ERROR_INVALID_PROTOCOL_VERSION},
      {0, url, [](auto& r) { r.lpszContentType = "x-mine/y"; }, nullptr,
       QV_ERROR_UNSUPPORTED_MEDIA_TYPE},
      {0, url, [](auto& r) { r.lpszContentType = "text/plain\r\nX: y"; }, "x",
       QV_ERROR_UNSUPPORTED_MEDIA_TYPE},
  };
  for (const Case& entry : cases) {
    HTTPCONNECTIONA record = Record(entry.change);
    HGLOBAL untouched = &record;
    DWORD length = 0;
    EXPECT_EQ(HttpSubmitRequestA(entry.type, entry.url.c_str(), &record, entry.data,
                                 entry.data != nullptr ? kWholeText : 7,
                                 static_cast<void*>(&untouched), &length),
              HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error) << &entry - cases;
    EXPECT_EQ(untouched, static_cast<void*>(&record));
  }
  char buffer[4];
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, buffer, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  DWORD length = 4;
  EXPECT_EQ(HttpSubmitRequestA(0, url.c_str(), nullptr, nullptr, 0, nullptr, &length), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_BUFFER);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(server.connections(), 0u);
}

TEST_F(OneCallRequestTest, TheRecordConfiguresTheRequest) {
  RawServer server(Answers(test::Response("200 OK", {}, "ok")));
  HTTPCONNECTIONA record = Record([](HTTPCONNECTIONA& r) {
    r.dwVersion = HTTP_VERSION_10;
    r.dwOptions = HTTP_OPTION_KEEPALIVE;
    r.nEncoding = HTTP_ENCODING_URL;
    r.nAuthType = HTTP_AUTH_BEARER;
    r.lpszPassword = "token";
    r.lpszUserAgent = "Mine/1.0";
    r.lpszHeaders = "X-One: 1\r\nX-Two: 2\r\n";
    r.lpszContentType = "application/x-www-form-urlencoded";
  });
  EXPECT_EQ(Submit(HTTP_REQUEST_POST, server.url("/p"), &record, "a=b c").body, "ok");
  const std::string request = server.requests()[0];
  EXPECT_EQ(test::FirstLineOf(request), "POST /p HTTP/1.0");
  EXPECT_EQ(test::HeaderOf(request, "Connection"), "Close");
  EXPECT_EQ(test::HeaderOf(request, "User-Agent"), "Mine/1.0");
  EXPECT_EQ(test::HeaderOf(request, "Authorization"), "Bearer token");
  EXPECT_EQ(test::HeaderOf(request, "X-One"), "1");
  EXPECT_EQ(test::HeaderOf(request, "X-Two"), "2");
  EXPECT_EQ(test::BodyOf(request), "a=b%20c");

  HTTPCONNECTIONA none{};  // a size of 0: no record, whatever is in it
  none.lpszUserAgent = "Not/1.0";
  EXPECT_EQ(Submit(HTTP_REQUEST_GET, server.url("/"), &none).result, 200);
  EXPECT_NE(test::HeaderOf(server.requests()[1], "User-Agent"), "Not/1.0");
}

TEST_F(OneCallRequestTest, RefusedSettingsSendNothing) {
  const struct {
    std::function<void(HTTPCONNECTIONA&)> change;
    DWORD error;
  } cases[] = {
      {[](auto& r) { r.lpszUserAgent = "a\r\nX: y"; }, QV_ERROR_INVALID_HEADER_VALUE},
      {[](auto& r) { r.lpszHeaders = "no colon"; }, QV_ERROR_INVALID_REQUEST_HEADER},
      {[](auto& r) { r.nEncoding = 77; }, QV_ERROR_INVALID_ENCODING_TYPE},
      {[](auto& r) { r.nAuthType = HTTP_AUTH_DIGEST; }, QV_ERROR_INVALID_AUTHENTICATION_TYPE},
  };
  for (const auto& entry : cases) {
    RawServer server(Answers("never"));
    HTTPCONNECTIONA record = Record(entry.change);
    EXPECT_EQ(Submit(0, server.url("/"), &record).result, HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error) << &entry - cases;
    EXPECT_TRUE(server.WaitForEnds(1));
    EXPECT_TRUE(server.requests().empty());
  }
}

TEST_F(OneCallRequestTest, ErrorAnswersAndRedirects) {
  RawServer missing(Answers(test::Response("404 No", {}, "page")));
  for (const DWORD type : {HTTP_REQUEST_GET, HTTP_REQUEST_POST, HTTP_REQUEST_PUT}) {
    const test::Fetched fetched = Submit(type, missing.url("/"), nullptr, "data");
    EXPECT_EQ(fetched.result, 404) << type;
    EXPECT_EQ(fetched.body, "page") << type;
  }
  const std::string url = missing.url("/");
  EXPECT_EQ(HttpSubmitRequestA(HTTP_REQUEST_PUT, url.c_str(), nullptr, "data", 4, nullptr, nullptr),
            HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_RESOURCE_NOT_FOUND);

  RawServer there(Answers(test::Response("200 OK", {"Content-Type: text/plain"}, "a\nb\n")));
  RawServer here(Answers(test::Response("302 Found", {"Location: " + there.url("/new")}, "")));
  const test::Fetched fetched = Submit(0, here.url("/old"));
  EXPECT_EQ(fetched.result, 200);
  EXPECT_EQ(fetched.body, "a\r\nb\r\n");

  const test::RefusingPort closed;
  EXPECT_EQ(Submit(0, "http://127.0.0.1:" + std::to_string(closed.port()) + "/").result,
            HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_CONNECTION_REFUSED);
}

TEST_F(OneCallRequestTest, WideDataGoOutAsUtf8) {
  const std::u16string text = u"{\"\u00FC\": \"\U0001F600\"}";
  const std::string utf8 = "{\"\xC3\xBC\": \"\xF0\x9F\x98\x80\"}";
  const char16_t half_pair[] = {u'a', 0xD800, 0};
  const std::string half_bytes(reinterpret_cast<const char*>(half_pair), 4);
  const std::string text_bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
  struct Case {
    const char16_t* type;
    const void* data;
    DWORD length;
    DWORD error;
    std::string body;
    const char* sent_type;
  };
  const Case cases[] = {
      {nullptr, text.c_str(), kWholeText, 0, utf8, "application/octet-stream"},
      {u"application/json", text.c_str(), kWholeText, 0, utf8, "application/json"},
      {nullptr, u"{}", kWholeText, 0, "{}", "application/json"},
      {u"text/plain", text_bytes.data(), static_cast<DWORD>(text_bytes.size()), 0, utf8,
       "text/plain"},
      {u"text/plain", "{\"a\":1}", 7, 0, "{\"a\":1}", "text/plain"},
      {u"image/png", text_bytes.data(), static_cast<DWORD>(text_bytes.size()), 0, text_bytes,
       "image/png"},
      {nullptr, half_pair, kWholeText, 0, half_bytes, "application/octet-stream"},
      {nullptr, "\xFF\xFE\xFD", 3, 0, "\xFF\xFE\xFD", "application/octet-stream"},
      {u"text/plain", half_pair, kWholeText, QV_ERROR_INVALID_BUFFER, "", ""},
      {u"text/plain", "\xFF\xFE\xFD", 3, QV_ERROR_INVALID_BUFFER, "", ""},
      {u"x-mine/y", u"a", kWholeText, QV_ERROR_UNSUPPORTED_MEDIA_TYPE, "", ""},
  };
  RawServer server(Answers(test::Response("200 OK", {}, "ok")));
  const std::string narrow_url = server.url("/");
  const std::u16string url(narrow_url.begin(), narrow_url.end());
  for (const Case& entry : cases) {
    HTTPCONNECTIONW record{};
    record.dwSize = sizeof(record);
    record.lpszContentType = entry.type;
    record.lpszUserAgent = u"M\u00FCller";
    char buffer[16] = "";
    DWORD length = sizeof(buffer);
    HttpSetLastError(0);
    const INT result = HttpSubmitRequestW(HTTP_REQUEST_DEFAULT, url.c_str(), &record, entry.data,
                                          entry.length, buffer, &length);
    EXPECT_EQ(result, entry.error == 0 ? 200 : HTTP_ERROR) << &entry - cases;
    EXPECT_EQ(LastError(), entry.error) << &entry - cases;
    EXPECT_EQ(length, entry.error == 0 ? 2u : 0u) << &entry - cases;
    if (entry.error != 0) continue;
    const std::string request = server.requests().back();
    EXPECT_EQ(test::BodyOf(request), entry.body) << &entry - cases;
    EXPECT_EQ(test::HeaderOf(request, "Content-Type"), entry.sent_type) << &entry - cases;
    EXPECT_EQ(test::HeaderOf(request, "User-Agent"), "M\xC3\xBCller");
  }
}

TEST_F(OneCallRequestTest, TheWideFormChecksBeforeItConverts) {
  HTTPCONNECTIONW record{};
  record.dwSize = 96;
  DWORD length = 9;
  EXPECT_EQ(HttpSubmitRequestW(0, u"http://127.0.0.1/", &record, nullptr, 0, nullptr, &length),
            HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(length, 0u);
  for (const char16_t* url : {u"", u"127.0.0.1/", u"http://no.such.host.invalid/"}) {
    EXPECT_EQ(HttpSubmitRequestW(0, url, nullptr, nullptr, 0, nullptr, nullptr), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_RESOURCE);
  }
}

}  // namespace
