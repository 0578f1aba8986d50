// URLs through the exported functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support_library/session_fixture.h"

namespace {

constexpr DWORD kSlotBefore = QV_ERROR_INVALID_HANDLE;
constexpr INT kRoom = 8192;
constexpr DWORD kNormalize = HTTP_URLOPT_NORMALIZE;
constexpr DWORD kKeepQuery = HTTP_URLOPT_KEEPQUERY;

using Text = std::optional<std::string>;

struct FreeRecord {
  void operator()(LPHTTPURLCOMPONENTSA record) const { EXPECT_TRUE(HttpFreeUrlA(record)); }
  void operator()(LPHTTPURLCOMPONENTSW record) const { EXPECT_TRUE(HttpFreeUrlW(record)); }
};
using RecordA = std::unique_ptr<HTTPURLCOMPONENTSA, FreeRecord>;
using RecordW = std::unique_ptr<HTTPURLCOMPONENTSW, FreeRecord>;

RecordA Parse(const char* text, DWORD options = 0) {
  auto* record = reinterpret_cast<LPHTTPURLCOMPONENTSA>(1);
  const BOOL parsed = HttpParseUrlA(text, options, &record);
  EXPECT_EQ(parsed != FALSE, record != nullptr) << text;
  return RecordA(record);
}

Text TextOf(LPCSTR text) { return text == nullptr ? Text() : Text(text); }

// The strings of these tests that take both forms are ASCII.
std::u16string Widened(const std::string& text) { return {text.begin(), text.end()}; }
Text TextOf(LPCWSTR text) {
  if (text == nullptr) return std::nullopt;
  const std::u16string wide = text;
  return std::string(wide.begin(), wide.end());
}

class UrlApiTest : public ::testing::Test {
 protected:
  void SetUp() override { HttpSetLastError(kSlotBefore); }
  void TearDown() override {
    EXPECT_EQ(HttpGetLastError(), kSlotBefore);
    HttpSetLastError(0);
  }
};

TEST_F(UrlApiTest, SchemesAreKnownWithoutCase) {
  const std::vector<std::pair<const char*, DWORD>> cases = {
      {nullptr, 0},      {"", 0},           {"  ", 0},        {"http", 0},
      {"http:", 1},      {"HTTP://h/", 1},  {"feed:x", 1},    {" \t\nHTTPS://host", 2},
      {"ftp://host", 0}, {"http ://h", 0},  {"host:80", 0},   {"://", 0},
      {"httpsx://", 0},  {"feed:https", 1}, {"a/http://", 0},
  };
  for (const auto& [text, scheme] : cases) {
    EXPECT_EQ(HttpCheckUrlA(text), scheme) << text;
    if (text != nullptr) {
      EXPECT_EQ(HttpCheckUrlW(Widened(text).c_str()), scheme) << text;
    }
  }
  EXPECT_EQ(HttpCheckUrlW(nullptr), 0u);
}

struct ParseCase {
  const char* text;
  DWORD options;
  DWORD scheme;
  DWORD port;
  const char* host;
  const char* resource;
  Text query = {};
  Text user = {};
  Text password = {};
};

template <class Record>
void ExpectParts(const Record& record, const ParseCase& expected) {
  SCOPED_TRACE(expected.text);
  EXPECT_EQ(record.nScheme, expected.scheme);
  EXPECT_EQ(record.nPort, expected.port);
  EXPECT_EQ(TextOf(record.lpszHostName), expected.host);
  EXPECT_EQ(TextOf(record.lpszResource), expected.resource);
  EXPECT_EQ(TextOf(record.lpszQuery), expected.query);
  EXPECT_EQ(TextOf(record.lpszUserName), expected.user);
  EXPECT_EQ(TextOf(record.lpszPassword), expected.password);
}

TEST_F(UrlApiTest, UrlsAreSplitIntoTheirParts) {
  constexpr const char* kFull = "https://me:secret@[fe80::1]:8443/a/b?c=d";
  const std::vector<ParseCase> cases = {
      {"http://host.example", 0, 1, 80, "host.example", "/"},
      {" \tHTTP://Host.example", 0, 1, 80, "Host.example", "/"},
      {kFull, 0, 2, 8443, "fe80::1", "/a/b", "c=d", "me", "secret"},
      {kFull, kKeepQuery, 2, 8443, "fe80::1", "/a/b?c=d", {}, "me", "secret"},
      {"http://h:0/", 0, 1, 80, "h", "/"},
      {"http://h:65535/", 0, 1, 65535, "h", "/"},
      {"https://h:65536/", 0, 2, 443, "h", "/"},
      {"http://h:18446744073709551617/", 0, 1, 80, "h", "/"},
      {"http://h:000081/", 0, 1, 81, "h", "/"},
      {"https://h:/", 0, 2, 443, "h", "/"},
      {"http://[::1]", 0, 1, 80, "::1", "/"},
      {"http://[::1]:/x", 0, 1, 80, "::1", "/x"},
      {"host.example/a?b", 0, 1, 80, "host.example", "/a", "b"},
      {"host.example", 0, 1, 80, "host.example", "/"},
      {"/a/b?c", 0, 1, 80, "", "/a/b", "c"},
      {"feed://h/rss", 0, 1, 80, "h", "/rss"},
      {"feed:https://h/rss", 0, 2, 443, "h", "/rss"},
      {"FEED:HTTP://h/rss", 0, 1, 80, "h", "/rss"},
      {"http://h?a=b", 0, 1, 80, "h?a=b", "/"},
      {"http://h/?", 0, 1, 80, "h", "/", ""},
      {"http://h/?a?b", 0, 1, 80, "h", "/", "a?b"},
      {"http://h/a#b ", 0, 1, 80, "h", "/a#b "},
      {"http://@h/", 0, 1, 80, "h", "/", {}, ""},
      {"http://me@h/", 0, 1, 80, "h", "/", {}, "me"},
      {"http://me:@h/", 0, 1, 80, "h", "/", {}, "me", ""},
      {"http://me:a:b@h/", 0, 1, 80, "h", "/", {}, "me", "a:b"},
      {"http://h/a@b:c", 0, 1, 80, "h", "/a@b:c"},
      {"http:///a", 0, 1, 80, "", "/a"},
      {"http://h/a//./b/../c?d/../e", kNormalize, 1, 80, "h", "/a/c", "d/../e"},
      {"http://h/a/../b?c/../d", kNormalize | kKeepQuery, 1, 80, "h", "/d"},
      {"http://h/a/../b", 0, 1, 80, "h", "/a/../b"},
  };
  for (const ParseCase& test : cases) {
    const RecordA record = Parse(test.text, test.options);
    ASSERT_TRUE(record) << test.text;
    ExpectParts(*record, test);

    LPHTTPURLCOMPONENTSW wide = nullptr;
    ASSERT_TRUE(HttpParseUrlW(Widened(test.text).c_str(), test.options, &wide)) << test.text;
    ExpectParts(*RecordW(wide), test);
  }
}

TEST_F(UrlApiTest, OtherTextsAreNoUrls) {
  for (const char* text :
       {"", " \r\n", "ftp://host/", "host:8080", "host:8080/path", "http:/host", "http:host",
        "http:", ":", "://h", "http://h:8o/", "http://h:-1/", "http://h:80:80/", "http://h: 80/",
        "http://[::1/", "http://[::1]:x/", "http://::1/", "feed:ftp://h/", "host/a?b=http://c"}) {
    EXPECT_FALSE(Parse(text)) << text;
    auto* wide = reinterpret_cast<LPHTTPURLCOMPONENTSW>(1);
    EXPECT_FALSE(HttpParseUrlW(Widened(text).c_str(), 0, &wide)) << text;
    EXPECT_EQ(wide, nullptr);
  }
  EXPECT_FALSE(Parse(nullptr));
  EXPECT_FALSE(HttpParseUrlA("http://h", 0, nullptr));
  EXPECT_FALSE(HttpParseUrlW(u"http://h", 0, nullptr));
  EXPECT_FALSE(HttpFreeUrlA(nullptr));
  EXPECT_FALSE(HttpFreeUrlW(nullptr));
}

TEST_F(UrlApiTest, WideTextKeepsItsCharacters) {
  LPHTTPURLCOMPONENTSW parsed = nullptr;
  ASSERT_TRUE(HttpParseUrlW(u"http://b\u00FCcher.example/\u20AC?\U0001F600", 0, &parsed));
  const RecordW record(parsed);
  EXPECT_EQ(std::u16string(record->lpszHostName), u"b\u00FCcher.example");
  EXPECT_EQ(std::u16string(record->lpszResource), u"/\u20AC");
  EXPECT_EQ(std::u16string(record->lpszQuery), u"\U0001F600");

  WCHAR text[kRoom] = u"?";
  EXPECT_EQ(HttpCreateUrlW(record.get(), 0, text, kRoom), 26);
  EXPECT_EQ(std::u16string(text), u"http://b\u00FCcher.example/\u20AC?\U0001F600");
}

TEST_F(UrlApiTest, LongTextsAreSplitWhole) {
  const std::string path = "/" + std::string(100000, 'p');
  const std::string text = "http://u:p@h" + path + "?q";
  const RecordA record = Parse(text.c_str());
  ASSERT_TRUE(record);
  EXPECT_EQ(record->lpszResource, path);
  EXPECT_EQ(TextOf(record->lpszQuery), "q");
}

struct CreateCase {
  HTTPURLCOMPONENTSA record;
  DWORD options;
  const char* url;  // empty: fails
};

HTTPURLCOMPONENTSA Record(DWORD scheme, DWORD port, const char* host, const char* resource,
                          const char* query = nullptr, const char* user = nullptr,
                          const char* password = nullptr) {
  const auto part = [](const char* text) { return const_cast<LPSTR>(text); };
  return {scheme, port, part(host), part(resource), part(query), part(user), part(password)};
}

// What both forms compose, which must be the same.
std::string Create(const HTTPURLCOMPONENTSA& parts, DWORD options, INT capacity = kRoom) {
  HTTPURLCOMPONENTSA record = parts;
  std::vector<char> text(static_cast<std::size_t>(std::max(capacity, 1)), '?');
  const INT length = HttpCreateUrlA(&record, options, text.data(), capacity);
  if (length > 0) {
    EXPECT_EQ(text[static_cast<std::size_t>(length)], '\0');
  }

  std::vector<std::u16string> strings;
  strings.reserve(5);
  const auto widen = [&](LPCSTR part) -> LPWSTR {
    return part == nullptr ? nullptr : strings.emplace_back(Widened(part)).data();
  };
  HTTPURLCOMPONENTSW wide_record = {parts.nScheme,
                                    parts.nPort,
                                    widen(parts.lpszHostName),
                                    widen(parts.lpszResource),
                                    widen(parts.lpszQuery),
                                    widen(parts.lpszUserName),
                                    widen(parts.lpszPassword)};
  std::vector<WCHAR> wide(text.size(), u'?');
  EXPECT_EQ(HttpCreateUrlW(&wide_record, options, wide.data(), capacity), length);
  std::string url(text.data(), static_cast<std::size_t>(length));
  if (capacity > 0) {
    EXPECT_EQ(TextOf(wide.data()), url);
  }
  return url;
}

TEST_F(UrlApiTest, PartsAreComposed) {
  constexpr DWORD kEncode = HTTP_URLOPT_ENCODEQUERY;
  const std::vector<CreateCase> cases = {
      {Record(1, 80, "h", "/"), 0, "http://h/"},
      {Record(1, 0, "h", nullptr), 0, "http://h/"},
      {Record(2, 80, "h", ""), 0, "https://h:80/"},
      {Record(2, 443, "h", "a/b", "c=d"), 0, "https://h/a/b?c=d"},
      {Record(1, 81, "::1", "/", "", "me", "secret"), 0, "http://me:secret@[::1]:81/"},
      {Record(1, 80, "10.0.0.1", "/", nullptr, "me", ""), 0, "http://me@10.0.0.1/"},
      {Record(1, 80, "h", "/", nullptr, nullptr, "secret"), 0, "http://h/"},
      {Record(0, 80, "h", "a", "q"), 0, "/a?q"},
      {Record(0, 0, nullptr, nullptr), 0, "/"},
      {Record(3, 80, "h", "/"), 0, ""},
      {Record(1, 80, "", "/"), 0, ""},
      {Record(1, 80, nullptr, "/"), 0, ""},
      {Record(1, 80, "h", "/a/../b"), 0, "http://h/a/../b"},
      {Record(1, 80, "h", "a//b/../c"), kNormalize, "http://h/a/c"},
      {Record(1, 80, "h", "/", "a b=c"), 0, "http://h/?a b=c"},
      {Record(1, 80, "h", "/", "ab=c d.e%41"), kEncode, "http://h/?ab=c%20d%2ee%41"},
      {Record(1, 80, "h", "/", "    "), kEncode, ""},  // longer than twice the query
  };
  for (const CreateCase& test : cases) {
    EXPECT_EQ(Create(test.record, test.options), test.url) << test.url;
  }
}

TEST_F(UrlApiTest, ComposedTextIsShorterThanItsRoom) {
  const HTTPURLCOMPONENTSA record = Record(1, 80, "h", "/a", "b");  // http://h/a?b
  EXPECT_EQ(Create(record, 0, 13), "http://h/a?b");
  for (const INT capacity : {12, 11, 9, 7, 1, 0, -1}) {
    EXPECT_EQ(Create(record, 0, capacity), "") << capacity;
  }
  // Room beyond 5119 characters does not count.
  const std::string prefix = "http://h/";
  std::string path(5118 - prefix.size(), 'p');
  EXPECT_EQ(Create(Record(1, 80, "h", path.c_str()), 0), prefix + path);
  EXPECT_EQ(Create(Record(1, 80, "h", path.c_str()), 0, 5119), prefix + path);
  path += 'p';
  EXPECT_EQ(Create(Record(1, 80, "h", path.c_str()), 0), "");

  HTTPURLCOMPONENTSA parts = record;
  char text[kRoom];
  EXPECT_EQ(HttpCreateUrlA(nullptr, 0, text, kRoom), 0);
  EXPECT_EQ(HttpCreateUrlA(&parts, 0, nullptr, kRoom), 0);
  WCHAR wide[kRoom] = u"?";
  EXPECT_EQ(HttpCreateUrlW(nullptr, 0, wide, kRoom), 0);
  EXPECT_EQ(wide[0], u'\0');
}

using UrlValidationTest = test::SessionTest;

TEST_F(UrlValidationTest, UrlsMustNameAHostThatResolves) {
  for (const char* url : {"http://127.0.0.1", " HTTPS://me@127.0.0.1:8443/x?y", "http://[::1]/"}) {
    EXPECT_TRUE(HttpValidateUrlA(url)) << url << std::hex << LastError();
    EXPECT_TRUE(HttpValidateUrlW(Widened(url).c_str())) << url;
  }
  const std::vector<std::pair<const char*, DWORD>> cases = {
      {nullptr, QV_ERROR_INVALID_RESOURCE},
      {"", QV_ERROR_INVALID_RESOURCE},
      {"http:/", QV_ERROR_INVALID_RESOURCE},
      {"127.0.0.1/", QV_ERROR_INVALID_RESOURCE},
      {"feed://127.0.0.1/", QV_ERROR_INVALID_RESOURCE},
      {"feed:http://127.0.0.1/", QV_ERROR_INVALID_RESOURCE},
      {"http://127.0.0.1:x/", QV_ERROR_INVALID_RESOURCE},
      {"http:///x", QV_ERROR_INVALID_HOSTNAME},
  };
  for (const auto& [url, error] : cases) {
    HttpSetLastError(0);
    EXPECT_FALSE(HttpValidateUrlA(url)) << url;
    EXPECT_EQ(LastError(), error) << url;
  }
  HttpSetLastError(0);
  EXPECT_FALSE(HttpValidateUrlW(nullptr));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_RESOURCE);
}

TEST_F(UrlValidationTest, HostNamesGiveTheirAddress) {
  for (const char* name : {"127.0.0.1", "http://127.0.0.1:1/x"}) {
    char address[64] = "?";
    EXPECT_TRUE(HttpValidateHostNameA(name, address, sizeof(address))) << name;
    EXPECT_STREQ(address, "127.0.0.1");
    WCHAR wide[64] = u"?";
    EXPECT_TRUE(HttpValidateHostNameW(Widened(name).c_str(), wide, 64)) << name;
    EXPECT_EQ(TextOf(wide), "127.0.0.1");
  }
  char cut[5] = {'?', '?', '?', '?', '?'};
  EXPECT_TRUE(HttpValidateHostNameA("127.0.0.1", cut, sizeof(cut)));
  EXPECT_STREQ(cut, "127.");
  WCHAR wide_cut[5] = {u'?', u'?', u'?', u'?', u'?'};
  EXPECT_TRUE(HttpValidateHostNameW(u"127.0.0.1", wide_cut, 5));
  EXPECT_EQ(TextOf(wide_cut), "127.");
  EXPECT_TRUE(HttpValidateHostNameA("127.0.0.1", nullptr, 0));
  EXPECT_TRUE(HttpValidateHostNameW(u"127.0.0.1", nullptr, 64));
}

TEST_F(UrlValidationTest, TextsThatCannotBeHostNamesAreRefused) {
  const std::string too_long(1025, 'a');
  for (const char* name : {static_cast<const char*>(nullptr), "", too_long.c_str(),
                           "http://127.0.0.1:x/", "http:///x", "https:"}) {
    char address[64] = "?";
    HttpSetLastError(0);
    EXPECT_FALSE(HttpValidateHostNameA(name, address, sizeof(address)));
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_HOSTNAME);
    EXPECT_STREQ(address, "");
  }
  WCHAR wide[64] = u"?";
  EXPECT_FALSE(HttpValidateHostNameW(nullptr, wide, 64));
  EXPECT_EQ(wide[0], u'\0');
}

}  // namespace
