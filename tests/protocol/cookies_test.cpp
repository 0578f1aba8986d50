// Cookies: those of a response, and the Cookie header of requests.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

class CookiesTest : public test::SessionTest {
 protected:
  // A session whose last response had these fields.
  HCLIENT AfterResponse(const test::HeaderLines& fields) {
    replies_.push_back(Response("200 OK", fields, ""));
    servers_.push_back(std::make_unique<RawServer>(OneConnection({replies_.back()})));
    const HCLIENT client = Connect(servers_.back()->port());
    EXPECT_EQ(Command(client, "GET", "/"), 200);
    return client;
  }

  // "name=value" of every cookie, joined by "|".
  static std::string Listed(HCLIENT client) {
    std::string text;
    char name[64];
    char value[64];
    INT name_length = sizeof(name);
    INT value_length = sizeof(value);
    DWORD_PTR position = HttpGetFirstCookieA(client, name, &name_length, value, &value_length);
    while (position != 0) {
      if (!text.empty()) text += '|';
      text.append(name).append("=").append(value);
      EXPECT_EQ(static_cast<std::size_t>(name_length), std::string(name).size());
      EXPECT_EQ(static_cast<std::size_t>(value_length), std::string(value).size());
      name_length = sizeof(name);
      value_length = sizeof(value);
      position = HttpGetNextCookieA(client, position, name, &name_length, value, &value_length);
    }
    EXPECT_EQ(name_length, 0);
    EXPECT_EQ(value_length, 0);
    return text;
  }

  struct Cookie {
    bool found = false;
    std::string value = "?";
    std::string path = "?";
    std::string domain = "?";
    SYSTEMTIME expires{};
    DWORD flags = 0xFFFF;
  };
  static Cookie Find(HCLIENT client, const char* name) {
    Cookie cookie;
    char value[64] = "?";
    char path[64] = "?";
    char domain[64] = "?";
    memset(&cookie.expires, 0xAB, sizeof(cookie.expires));
    cookie.found = HttpGetCookieA(client, name, value, 64, path, 64, domain, 64, &cookie.expires,
                                  &cookie.flags) != FALSE;
    cookie.value = value;
    cookie.path = path;
    cookie.domain = domain;
    return cookie;
  }

  static std::string CookieHeader(HCLIENT client) {
    char value[256];
    return HttpGetRequestHeaderA(client, "Cookie", value, sizeof(value)) ? value : "(none)";
  }

 private:
  std::vector<std::string> replies_;
  std::vector<std::unique_ptr<RawServer>> servers_;
};

TEST_F(CookiesTest, AreListedInTheOrderOfTheirArrival) {
  EXPECT_EQ(Listed(AfterResponse({"Set-Cookie: a=1; Path=/", "X: y", "set-cookie: B = 2 =3 ;x",
                                  "Set-Cookie: plain", "Set-Cookie: ; ;late=1"})),
            "a=1|B = 2 =3|plain=|late=1");
  EXPECT_EQ(Listed(AfterResponse({})), "");
}

TEST_F(CookiesTest, AFieldThatIsTooLongEndsTheList) {
  const std::string longest = "c=" + std::string(4095 - 2, 'v');
  HCLIENT client = AfterResponse({"Set-Cookie: a=1", "Set-Cookie: " + longest, "Set-Cookie: b=2"});
  EXPECT_TRUE(Find(client, "b").found);
  client = AfterResponse({"Set-Cookie: a=1", "Set-Cookie: " + longest + "v", "Set-Cookie: b=2"});
  EXPECT_EQ(Listed(client), "a=1");
  client = AfterResponse({"Set-Cookie: a=1", "X-Long: " + longest + "vvv", "Set-Cookie: b=2"});
  EXPECT_EQ(Listed(client), "a=1");
}

TEST_F(CookiesTest, PositionsAndLengthsAreChecked) {
  const HCLIENT client = AfterResponse({"Set-Cookie: name=value", "Set-Cookie: b=2"});
  char name[3] = "?";
  char value[64] = "?";
  INT name_length = sizeof(name);
  INT value_length = sizeof(value);
  const DWORD_PTR first = HttpGetFirstCookieA(client, name, &name_length, value, &value_length);
  EXPECT_NE(first, 0u);
  EXPECT_STREQ(name, "na") << "cut to the buffer";
  EXPECT_EQ(name_length, 2);
  EXPECT_STREQ(value, "value");

  HttpSetLastError(0);
  value_length = sizeof(value);
  EXPECT_EQ(HttpGetNextCookieA(client, first, name, nullptr, value, &value_length), 0u);
  EXPECT_EQ(LastError(), 0u) << "a buffer without a length is no error, but the end";
  EXPECT_NE(HttpGetNextCookieA(client, first, nullptr, nullptr, nullptr, nullptr), 0u);

  for (const DWORD_PTR nowhere : {DWORD_PTR{0}, ~DWORD_PTR{0}, first + 1000}) {
    name_length = sizeof(name);
    value_length = sizeof(value);
    EXPECT_EQ(HttpGetNextCookieA(client, nowhere, name, &name_length, value, &value_length), 0u);
    EXPECT_EQ(name_length, 0);
    EXPECT_EQ(value_length, 0);
  }
}

TEST_F(CookiesTest, OneCookieWithAllItsAttributes) {
  const HCLIENT client = AfterResponse(
      {"Set-Cookie: id=abc;Expires=Wed, 09 Jun 2021 10:18:14 GMT; DOMAIN=example.com ; path=/x; "
       "HttpOnly; Max-Age=5; secure",
       "Set-Cookie: ID=second", "Set-Cookie: s=1; expires=nonsense; path"});
  Cookie cookie = Find(client, "Id");
  EXPECT_TRUE(cookie.found);
  EXPECT_EQ(cookie.value, "abc");
  EXPECT_EQ(cookie.path, "/x");
  EXPECT_EQ(cookie.domain, "example.com");
  EXPECT_EQ(cookie.flags, DWORD{HTTP_COOKIE_SECURE});
  EXPECT_EQ(cookie.expires.wYear, 2021);
  EXPECT_EQ(cookie.expires.wMonth, 6);
  EXPECT_EQ(cookie.expires.wDay, 9);
  EXPECT_EQ(cookie.expires.wDayOfWeek, 3);
  EXPECT_EQ(cookie.expires.wHour, 10);
  EXPECT_EQ(cookie.expires.wMinute, 18);
  EXPECT_EQ(cookie.expires.wSecond, 14);

  cookie = Find(client, "s");
  EXPECT_TRUE(cookie.found);
  EXPECT_EQ(cookie.path, "");
  EXPECT_EQ(cookie.flags, DWORD{HTTP_COOKIE_SESSION});
  EXPECT_EQ(cookie.expires.wYear, 0);
}

TEST_F(CookiesTest, AMissingCookieEmptiesTheOutputs) {
  const HCLIENT client = AfterResponse({"Set-Cookie: a=1"});
  HttpSetLastError(0);
  for (const char* name : {"b", "", static_cast<const char*>(nullptr)}) {
    const Cookie cookie = Find(client, name);
    EXPECT_FALSE(cookie.found);
    EXPECT_EQ(cookie.value + cookie.path + cookie.domain, "");
    EXPECT_EQ(cookie.flags, 0u);
    EXPECT_EQ(cookie.expires.wYear, 0);
  }
  EXPECT_EQ(LastError(), 0u);
  EXPECT_TRUE(HttpGetCookieA(client, "a", nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr));
  char value[1] = {'?'};
  EXPECT_TRUE(HttpGetCookieA(client, "a", value, 1, nullptr, 9, nullptr, 9, nullptr, nullptr));
  EXPECT_EQ(value[0], '\0');
}

TEST_F(CookiesTest, TheListIsThatOfTheResponseFromWhichItWasBuilt) {
  const RawServer server(OneConnection(
      {Response("200 OK", {"Set-Cookie: a=1"}, ""), Response("200 OK", {"Set-Cookie: b=2"}, "")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_TRUE(Find(client, "a").found);
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_TRUE(Find(client, "a").found) << "built already";
  EXPECT_EQ(Listed(client), "b=2");
  EXPECT_TRUE(Find(client, "b").found);
  EXPECT_EQ(CookieHeader(client), "(none)") << "no cookie goes back by itself";
}

struct Change {
  const char* header;  // before, NULL: none
  const char* name;
  const char* value;
  const char* result;
};

TEST_F(CookiesTest, ChangingTheRequestHeader) {
  constexpr Change kCases[] = {
      {nullptr, "a", "1", "a=1"},
      {nullptr, "a", "", "(none)"},
      {nullptr, "a", nullptr, "(none)"},
      {"a=1", "b", "2", "a=1; b=2"},
      {"a=1; b=2; c=3", "B", "9", "a=1; B=9; c=3"},
      {"a=1; b=2; c=3", "b", "", "a=1; c=3"},
      {"a=1;b=2 ;  c=3", "d", "4", "a=1; b=2; c=3; d=4"},
      {"a=1; junk; c=3", "d", "4", "a=1; c=3; d=4"},
      {"a=1; junk; c=3", "junk", "4", "a=1; junk=4; c=3"},
      {"a=1", "b", "", "a=1; b="},
      {"a=1", "a", nullptr, "(none)"},
      {"a=x=y", "b", "z=", "a=x=y; b=z="},
  };
  const HCLIENT client = AfterResponse({});
  for (const Change& entry : kCases) {
    HttpSetRequestHeaderA(client, "Cookie", entry.header);
    EXPECT_TRUE(HttpSetCookieA(client, entry.name, entry.value));
    EXPECT_EQ(CookieHeader(client), entry.result)
        << testing::PrintToString(entry.header) << " + " << entry.name;
  }
}

TEST_F(CookiesTest, NamesAndValuesThatAreRefused) {
  const HCLIENT client = AfterResponse({});
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    HttpSetLastError(0);
    EXPECT_FALSE(HttpSetCookieA(client, name, "1"));
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  }
  EXPECT_FALSE(HttpSetCookieA(client, "a", "1\r\nX-Injected: 1"));
  EXPECT_NE(LastError(), 0u);
  EXPECT_FALSE(HttpSetCookieA(client, "a\n", "1"));
  EXPECT_EQ(CookieHeader(client), "(none)");
}

TEST_F(CookiesTest, AHeaderThatIsTooLongIsReplaced) {
  const HCLIENT client = AfterResponse({});
  const std::string longest = "a=" + std::string(16383 - 2, 'v');
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "Cookie", longest.c_str()));
  EXPECT_TRUE(HttpSetCookieA(client, "b", "2"));
  std::string header(20000, '\0');
  ASSERT_TRUE(HttpGetRequestHeaderA(client, "Cookie", header.data(), 20000));
  EXPECT_EQ(std::string(header.c_str()), longest + "; b=2");
  EXPECT_TRUE(HttpSetCookieA(client, "c", "3"));
  EXPECT_EQ(CookieHeader(client), "c=3");
}

}  // namespace
