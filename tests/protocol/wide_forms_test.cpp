// The W forms: UTF-16 at the interface, UTF-8 on the wire, lengths and capacities in characters.
#include <string>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

// "Grün" and a character outside the basic plane.
constexpr const char16_t* kWide = u"Gr\u00FCn \U0001F600";  // 7 characters
constexpr const char* kUtf8 = "Gr\xC3\xBCn \xF0\x9F\x98\x80";
constexpr INT kWideLength = 7;

class WideFormsTest : public test::SessionTest {
 protected:
  void TearDown() override {
    HttpSetDefaultUserAgentA(nullptr);
    SessionTest::TearDown();
  }
};

TEST_F(WideFormsTest, ConnectAndCommand) {
  const RawServer server(
      RawServer::Script{{{Response("200 Fein", {}, "")}}, {{Response("200 Fein", {}, "")}}});
  const HCLIENT client = HttpConnectW(u"localhost", server.port(), 5, 0, 0, nullptr);
  ASSERT_NE(client, INVALID_CLIENT);
  EXPECT_EQ(HttpCommandW(client, u"post", u"/\u00FC", "a=1", 3, 0), 200);
  EXPECT_EQ(test::FirstLineOf(server.requests()[0]), "POST /%c3%bc HTTP/1.1");
  EXPECT_EQ(test::BodyOf(server.requests()[0]), "a=1") << "parameters are bytes";
  char16_t text[16];
  EXPECT_EQ(HttpGetResultStringW(client, text, 16), 4);
  EXPECT_EQ(std::u16string(text), u"Fein");
  EXPECT_EQ(HttpGetResultStringW(client, nullptr, 16), 0);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(HttpCommandW(client, nullptr, u"/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_COMMAND);
  HttpDisconnect(client);

  const std::string url = server.url("/");
  const HCLIENT other = HttpConnectUrlW(std::u16string(url.begin(), url.end()).c_str(), 5, 0);
  ASSERT_NE(other, INVALID_CLIENT);
  HttpDisconnect(other);
  EXPECT_EQ(HttpConnectW(nullptr, 80, 5, 0, 0, nullptr), INVALID_CLIENT);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HOSTNAME);
}

TEST_F(WideFormsTest, RequestHeaders) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  ASSERT_TRUE(HttpSetRequestHeaderW(client, u"X-Name", kWide));
  char narrow[64];
  ASSERT_TRUE(HttpGetRequestHeaderA(client, "X-Name", narrow, sizeof(narrow)));
  EXPECT_STREQ(narrow, kUtf8);

  char16_t wide[64] = u"?";
  EXPECT_TRUE(HttpGetRequestHeaderW(client, u"x-name", wide, kWideLength + 1));
  EXPECT_EQ(std::u16string(wide), kWide);
  EXPECT_FALSE(HttpGetRequestHeaderW(client, u"x-name", wide, kWideLength));
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(wide[0], u'\0');
  EXPECT_TRUE(HttpGetRequestHeaderW(client, u"x-name", nullptr, 0));
  EXPECT_FALSE(HttpGetRequestHeaderW(client, u"x-none", wide, 64));
  EXPECT_EQ(LastError(), QV_ERROR_HEADER_NOT_FOUND);
  EXPECT_FALSE(HttpGetRequestHeaderW(client, nullptr, wide, 64));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_NAME);

  EXPECT_TRUE(HttpAddRequestHeadersW(client, u"X-Two: \u00FC\nX-Name:\n"));
  ASSERT_TRUE(HttpGetRequestHeaderA(client, "X-Two", narrow, sizeof(narrow)));
  EXPECT_STREQ(narrow, "\xC3\xBC");
  EXPECT_FALSE(HttpAddRequestHeadersW(client, nullptr));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_REQUEST_HEADER);
  EXPECT_FALSE(HttpSetRequestHeaderW(client, nullptr, u"1"));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_NAME);
}

TEST_F(WideFormsTest, EnumerationCountsCharacters) {
  const std::string field = "X-Name: " + std::string(kUtf8);
  const RawServer server(
      OneConnection({Response("200 OK", {field, "Content-Type: text/plain"}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  char16_t name[32];
  char16_t value[32];
  INT name_length = 32;
  INT value_length = kWideLength;
  EXPECT_FALSE(HttpGetFirstHeaderW(client, 1, name, &name_length, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(name_length, 7);
  EXPECT_EQ(value_length, kWideLength + 1);
  EXPECT_TRUE(HttpGetNextHeaderW(client, 1, name, &name_length, value, &value_length));
  EXPECT_EQ(std::u16string(name), u"X-Name");
  EXPECT_EQ(std::u16string(value), kWide);
  EXPECT_EQ(HttpGetContentTypeW(client, value, 5), HTTP_CONTENT_TEXT);
  EXPECT_EQ(std::u16string(value), u"text");
  EXPECT_TRUE(HttpGetResponseHeaderW(client, u"x-name", value, 32));
  EXPECT_EQ(std::u16string(value), kWide);

  EXPECT_FALSE(HttpGetFirstHeaderW(client, 1, name, nullptr, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  name_length = 0;
  EXPECT_FALSE(HttpGetFirstHeaderW(client, 1, name, &name_length, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  name_length = value_length = 32;
  EXPECT_FALSE(HttpGetFirstHeaderW(client, 2, name, &name_length, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(HttpGetNextHeaderW(client, 2, name, &name_length, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_TYPE);
}

TEST_F(WideFormsTest, Urls) {
  const RawServer server(OneConnection({Response("302 Found", {"Location: /new"}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(Command(client, "GET", "/old"), 302);
  const std::string root = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string resource = root + "/old";
  const std::string redirect = root + "/new";
  char16_t url[128];
  struct Case {
    INT(WINAPI* function)(HCLIENT, LPWSTR, INT);
    std::string expected;
  };
  for (const auto& [function, expected] :
       {Case{HttpGetResourceUrlW, resource}, Case{HttpGetRedirectUrlW, redirect}}) {
    const auto length = static_cast<INT>(expected.size());
    EXPECT_EQ(function(client, nullptr, 0), length);
    EXPECT_EQ(function(client, url, length + 1), length);
    EXPECT_EQ(std::u16string(url), std::u16string(expected.begin(), expected.end()));
    HttpSetLastError(0);
    EXPECT_EQ(function(client, url, length), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  }
}

TEST_F(WideFormsTest, Credentials) {
  const RawServer server(OneConnection({Response("200 OK", {}, "")}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpSetBearerTokenW(client, u" t\u00F6ken"), 0);
  char16_t token[16];
  EXPECT_EQ(HttpGetBearerTokenW(client, token, 6), 5);
  EXPECT_EQ(std::u16string(token), u"t\u00F6ken");
  EXPECT_EQ(HttpGetBearerTokenW(client, token, 5), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(HttpGetBearerTokenW(client, nullptr, 5), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(HttpAuthenticateW(client, HTTP_AUTH_BASIC, u"\u00FC", nullptr), 0);
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(test::HeaderOf(server.requests()[0], "Authorization"), "Basic w7w6");
}

TEST_F(WideFormsTest, Cookies) {
  const RawServer server(OneConnection(
      {Response("200 OK", {"Set-Cookie: n=Gr\xC3\xBCn; path=/\xC3\xBC; domain=d"}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  char16_t name[8];
  char16_t value[8];
  char16_t path[8];
  char16_t domain[8];
  INT name_length = 8;
  INT value_length = 4;
  const DWORD_PTR first = HttpGetFirstCookieW(client, name, &name_length, value, &value_length);
  EXPECT_NE(first, 0u);
  EXPECT_EQ(std::u16string(name), u"n");
  EXPECT_EQ(name_length, 1);
  EXPECT_EQ(std::u16string(value), u"Gr\u00FC") << "cut to the buffer";
  EXPECT_EQ(value_length, 3);
  EXPECT_EQ(HttpGetNextCookieW(client, first, name, &name_length, value, &value_length), 0u);
  EXPECT_EQ(name_length, 0);
  DWORD flags = 0;
  EXPECT_TRUE(HttpGetCookieW(client, u"N", value, 8, path, 8, domain, 8, nullptr, &flags));
  EXPECT_EQ(std::u16string(value), u"Gr\u00FCn");
  EXPECT_EQ(std::u16string(path), u"/\u00FC");
  EXPECT_EQ(std::u16string(domain), u"d");
  EXPECT_EQ(flags, DWORD{HTTP_COOKIE_SESSION});
  EXPECT_TRUE(HttpSetCookieW(client, u"a", u"\u00FC"));
  EXPECT_TRUE(HttpGetRequestHeaderW(client, u"Cookie", value, 8));
  EXPECT_EQ(std::u16string(value), u"a=\u00FC");
  EXPECT_FALSE(HttpSetCookieW(client, nullptr, u"1"));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
}

TEST_F(WideFormsTest, UserAgentAndContentType) {
  const RawServer server(OneConnection({}));
  const HCLIENT client = Connect(server.port());
  ASSERT_TRUE(HttpSetDefaultUserAgentW(u"\u00FCber"));
  char16_t text[16];
  EXPECT_EQ(HttpGetDefaultUserAgentW(text, 6), 4);
  EXPECT_EQ(std::u16string(text), u"\u00FCber");
  EXPECT_EQ(HttpGetDefaultUserAgentW(text, 5), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(HttpGetDefaultUserAgentW(text, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(HttpGetDefaultUserAgentW(nullptr, 5), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_BUFFER);
  EXPECT_TRUE(HttpSetContentTypeW(client, u"text/csv"));
  EXPECT_TRUE(HttpGetRequestHeaderW(client, u"content-type", text, 16));
  EXPECT_EQ(std::u16string(text), u"text/csv");
  EXPECT_FALSE(HttpSetContentTypeW(client, u"?"));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
}

TEST_F(WideFormsTest, MalformedTextBecomesReplacementCharacters) {
  const RawServer server(OneConnection({Response("200 OK", {"X-Bad: a\xFFz"}, "")}));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  char16_t value[8];
  EXPECT_TRUE(HttpGetResponseHeaderW(client, u"X-Bad", value, 8));
  EXPECT_EQ(std::u16string(value), u"a\uFFFDz");
  constexpr char16_t kLoneSurrogate[] = {u'a', 0xD800, u'z', 0};
  ASSERT_TRUE(HttpSetRequestHeaderW(client, u"X-Bad", kLoneSurrogate));
  char narrow[16];
  ASSERT_TRUE(HttpGetRequestHeaderA(client, "X-Bad", narrow, sizeof(narrow)));
  EXPECT_STREQ(narrow, "a\xEF\xBF\xBDz");
}

}  // namespace
