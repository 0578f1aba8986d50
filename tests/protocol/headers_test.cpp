// Request and response headers: setting, finding, enumerating, and adding a block of lines.
#include <string>
#include <utility>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

class HeadersTest : public test::SessionTest {
 protected:
  // The header lists work without any request, so the server has nothing to answer.
  HCLIENT ConnectIdle() { return Connect(idle_.port()); }

  // "Name=value" of every header of a list, joined by "|".
  static std::string Listed(HCLIENT client, DWORD type) {
    std::string text;
    char name[256];
    char value[1024];
    INT name_length = sizeof(name);
    INT value_length = sizeof(value);
    BOOL found = HttpGetFirstHeaderA(client, type, name, &name_length, value, &value_length);
    while (found) {
      EXPECT_EQ(name_length, static_cast<INT>(std::string(name).size()) + 1);
      EXPECT_EQ(value_length, static_cast<INT>(std::string(value).size()) + 1);
      if (!text.empty()) text += '|';
      text.append(name).append("=").append(value);
      name_length = sizeof(name);
      value_length = sizeof(value);
      found = HttpGetNextHeaderA(client, type, name, &name_length, value, &value_length);
    }
    EXPECT_EQ(LastError(), QV_ERROR_HEADER_NOT_FOUND);
    EXPECT_EQ(name_length, 0);
    EXPECT_EQ(value_length, 0);
    return text;
  }
  static std::string Requests(HCLIENT client) { return Listed(client, HTTP_HEADERS_REQUEST); }

  static void Set(HCLIENT client, const char* name, const char* value) {
    EXPECT_TRUE(HttpSetRequestHeaderA(client, name, value)) << name;
  }

 private:
  RawServer idle_{RawServer::Handler([](test::Connection& c) { c.WaitForClose(); })};
};

TEST_F(HeadersTest, SettingKeepsTheFirstPlaceOfAName) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-A", "1");
  Set(client, "X-B", "2");
  Set(client, "x-a", "3");
  EXPECT_EQ(Requests(client), "x-a=3|X-B=2");
}

TEST_F(HeadersTest, ANewNameFillsTheSlotOfARemovedOne) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-A", "1");
  Set(client, "X-B", "2");
  Set(client, "x-a", nullptr);
  EXPECT_EQ(Requests(client), "X-B=2");
  Set(client, "X-C", "3");
  Set(client, "X-D", "4");
  EXPECT_EQ(Requests(client), "X-C=3|X-B=2|X-D=4");
}

TEST_F(HeadersTest, LeadingWhiteSpaceIsDroppedAndTrailingStays) {
  const HCLIENT client = ConnectIdle();
  Set(client, " \tX-A", "\t 1 \t");
  EXPECT_EQ(Requests(client), "X-A=1 \t");
}

struct Refused {
  const char* name;
  const char* value;
  DWORD error;
};

TEST_F(HeadersTest, NamesAndValuesThatAreRefused) {
  constexpr Refused kCases[] = {
      {nullptr, "1", QV_ERROR_INVALID_HEADER_NAME},
      {"", "1", QV_ERROR_INVALID_HEADER_NAME},
      {" \t", "1", QV_ERROR_INVALID_HEADER_NAME},
      {"X\r\nY", "1", QV_ERROR_INVALID_HEADER_NAME},
      {"X\n", "1", QV_ERROR_INVALID_HEADER_NAME},
      {"\rX", "1", QV_ERROR_INVALID_HEADER_NAME},
      {"X", "1\r\nY: 2", QV_ERROR_INVALID_HEADER_VALUE},
      {"X", "1\n", QV_ERROR_INVALID_HEADER_VALUE},
      {"X", "\r1", QV_ERROR_INVALID_HEADER_VALUE},
      {"X", nullptr, QV_ERROR_INVALID_HEADER_VALUE},  // not set, so it cannot be removed
      {"X", "", QV_ERROR_INVALID_HEADER_VALUE},
      {"X", "  ", QV_ERROR_INVALID_HEADER_VALUE},
  };
  const HCLIENT client = ConnectIdle();
  for (const Refused& entry : kCases) {
    HttpSetLastError(0);
    EXPECT_FALSE(HttpSetRequestHeaderA(client, entry.name, entry.value));
    EXPECT_EQ(LastError(), entry.error)
        << testing::PrintToString(entry.name) << ": " << testing::PrintToString(entry.value);
  }
  EXPECT_EQ(Requests(client), "");
}

TEST_F(HeadersTest, GetRequestHeader) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-Name", "value");
  char value[16] = "?";
  HttpSetLastError(QV_ERROR_END_OF_FILE);
  EXPECT_TRUE(HttpGetRequestHeaderA(client, "x-name", value, 6));
  EXPECT_STREQ(value, "value");
  EXPECT_EQ(LastError(), 0u);
  EXPECT_TRUE(HttpGetRequestHeaderA(client, "X-NAME", nullptr, 0));

  EXPECT_FALSE(HttpGetRequestHeaderA(client, "X-Name", value, 5));
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_STREQ(value, "");
  EXPECT_FALSE(HttpGetRequestHeaderA(client, "X-Nam", value, sizeof(value)));
  EXPECT_EQ(LastError(), QV_ERROR_HEADER_NOT_FOUND);
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_FALSE(HttpGetRequestHeaderA(client, none, value, sizeof(value)));
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_NAME);
    EXPECT_FALSE(HttpGetResponseHeaderA(client, none, value, sizeof(value)));
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_NAME);
  }
}

TEST_F(HeadersTest, EnumerationChecksItsArguments) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X", "1");
  char text[16];
  INT room = 16;
  INT none = 0;
  INT other = 16;
  struct Case {
    const char* name;
    bool first;
    DWORD type;
    LPINT name_length;
    LPINT value_length;
    DWORD error;
  };
  const Case cases[] = {
      {"first without name length", true, 0, nullptr, &room, QV_ERROR_INVALID_PARAMETER},
      {"first without value length", true, 0, &room, nullptr, QV_ERROR_INVALID_PARAMETER},
      {"first without room for a name", true, 0, &none, &room, QV_ERROR_BUFFER_TOO_SMALL},
      {"first without room for a value", true, 0, &room, &none, QV_ERROR_BUFFER_TOO_SMALL},
      {"first of no list", true, 2, &room, &other, QV_ERROR_INVALID_PARAMETER},
      {"next without name length", false, 0, nullptr, &room, QV_ERROR_INVALID_PARAMETER},
      {"next without value length", false, 0, &room, nullptr, QV_ERROR_INVALID_PARAMETER},
      {"next of no list", false, 2, &room, &other, QV_ERROR_INVALID_HEADER_TYPE},
  };
  for (const Case& entry : cases) {
    HttpSetLastError(0);
    const auto function = entry.first ? HttpGetFirstHeaderA : HttpGetNextHeaderA;
    EXPECT_FALSE(function(client, entry.type, text, entry.name_length, text, entry.value_length))
        << entry.name;
    EXPECT_EQ(LastError(), entry.error) << entry.name;
  }
}

TEST_F(HeadersTest, EnumerationRepeatsAHeaderThatDidNotFit) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-First", "1");
  Set(client, "X-Second", "second value");
  char name[32];
  char value[32];
  INT name_length = sizeof(name);
  INT value_length = sizeof(value);
  ASSERT_TRUE(HttpGetFirstHeaderA(client, 0, name, &name_length, value, &value_length));

  name_length = sizeof(name);
  value_length = 5;
  EXPECT_FALSE(HttpGetNextHeaderA(client, 0, name, &name_length, value, &value_length));
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(name_length, 9);
  EXPECT_EQ(value_length, 13);
  EXPECT_TRUE(HttpGetNextHeaderA(client, 0, name, &name_length, value, &value_length));
  EXPECT_STREQ(name, "X-Second");
  EXPECT_STREQ(value, "second value");

  name_length = value_length = 1;
  EXPECT_TRUE(HttpGetFirstHeaderA(client, 0, nullptr, &name_length, nullptr, &value_length))
      << "without buffers the lengths are measured";
  EXPECT_EQ(name_length, 8);
  EXPECT_EQ(value_length, 2);
}

TEST_F(HeadersTest, HeadersAddedDuringAnEnumerationAreReached) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-A", "1");
  char name[32];
  char value[32];
  INT name_length = sizeof(name);
  INT value_length = sizeof(value);
  ASSERT_TRUE(HttpGetFirstHeaderA(client, 0, name, &name_length, value, &value_length));
  Set(client, "X-B", "2");
  name_length = sizeof(name);
  value_length = sizeof(value);
  ASSERT_TRUE(HttpGetNextHeaderA(client, 0, name, &name_length, value, &value_length));
  EXPECT_STREQ(name, "X-B");
}

TEST_F(HeadersTest, DeleteHeaders) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-A", "1");
  EXPECT_TRUE(HttpDeleteHeaders(client, HTTP_HEADERS_RESPONSE)) << "an empty list, too";
  EXPECT_EQ(Requests(client), "X-A=1");
  EXPECT_TRUE(HttpDeleteHeaders(client, HTTP_HEADERS_REQUEST));
  EXPECT_EQ(Requests(client), "");
  HttpSetLastError(0);
  EXPECT_FALSE(HttpDeleteHeaders(client, 2));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HEADER_TYPE);
}

TEST_F(HeadersTest, ClearHeadersPutsTheUserAgentBack) {
  const RawServer server(OneConnection({Response("200 OK", {"X-Reply: 1"}, "")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_NOUSERAGENT);
  ASSERT_TRUE(HttpSetDefaultUserAgentA("Tester/1"));
  Set(client, "X-A", "1");
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(HttpClearHeaders(client), 0);
  EXPECT_EQ(Requests(client), "User-Agent=Tester/1");
  EXPECT_EQ(Listed(client, HTTP_HEADERS_RESPONSE), "");
  HttpSetDefaultUserAgentA(nullptr);
}

TEST_F(HeadersTest, ResponseHeadersKeepOrderAndDuplicates) {
  const RawServer server(OneConnection({
      test::Head("200 OK", {"Set-Cookie: a=1", "X-Empty:", "x-reply:   some \"quoted   text\"  x",
                            "Set-Cookie: b=2", "no field", "Content-Length: 0"}),
      Response("200 OK", {"X-Other: 1"}, ""),
  }));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(Listed(client, HTTP_HEADERS_RESPONSE),
            "Set-Cookie=a=1|x-reply=some \"quoted   text\" x|Set-Cookie=b=2|Content-Length=0");
  char value[64];
  EXPECT_TRUE(HttpGetResponseHeaderA(client, "set-cookie", value, sizeof(value)));
  EXPECT_STREQ(value, "a=1") << "the first one";
  EXPECT_FALSE(HttpGetResponseHeaderA(client, "X-Empty", nullptr, 0));
  EXPECT_EQ(LastError(), QV_ERROR_HEADER_NOT_FOUND);

  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(Listed(client, HTTP_HEADERS_RESPONSE), "X-Other=1|Content-Length=0");
}

struct Block {
  const char* name;
  std::string text;
  bool result;
  DWORD error;
  const char* headers;
};

TEST_F(HeadersTest, AddRequestHeaders) {
  const std::string cut = "X=" + std::string(1023 - 2, 'v');  // the line keeps 1023 bytes
  const std::string long_list = cut + "|X-A=1";
  const Block blocks[] = {
      {"line ends of every kind", "X-A: 1\r\nX-B: 2\n\n\r\n  \nX-C : 3\rX-D:4", true, 0,
       "X-A=1|X-B=2|X-C=3|X-D=4"},
      {"white space is collapsed", "\t X-A \t:\t  one  \t two ", true, 0, "X-A=one two"},
      {"later colons belong to the value", "X-A: b:c: d", true, 0, "X-A=b:c: d"},
      {"a name that occurs twice", "X-A: 1\nx-a: 2", true, 0, "x-a=2"},
      {"nothing", "", false, 0, ""},
      {"blank lines only", " \r\n\t\n", false, 0, ""},
      {"no colon", "X-A: 1\nno colon\nX-B: 2", false, QV_ERROR_INVALID_REQUEST_HEADER, "X-A=1"},
      {"no name", "X-A: 1\n: 2", false, QV_ERROR_INVALID_HEADER_NAME, "X-A=1"},
      {"no value", "X-A: 1\nX-B:", false, QV_ERROR_INVALID_HEADER_VALUE, "X-A=1"},
      {"a long line is cut", "X: " + std::string(1500, 'v') + "\nX-A: 1", true, 0,
       long_list.c_str()},
      {"a name without end", std::string(1500, 'n') + ": 1", false, QV_ERROR_INVALID_REQUEST_HEADER,
       ""},
  };
  for (const Block& block : blocks) {
    SCOPED_TRACE(block.name);
    const HCLIENT client = ConnectIdle();
    HttpSetLastError(QV_ERROR_END_OF_FILE);
    EXPECT_EQ(HttpAddRequestHeadersA(client, block.text.c_str()) != FALSE, block.result);
    EXPECT_EQ(LastError(), block.error);
    EXPECT_EQ(Requests(client), block.headers);
  }
  EXPECT_FALSE(HttpAddRequestHeadersA(ConnectIdle(), nullptr));
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_REQUEST_HEADER);
}

TEST_F(HeadersTest, AddRequestHeadersChangesAndRemoves) {
  const HCLIENT client = ConnectIdle();
  Set(client, "X-A", "1");
  Set(client, "X-B", "2");
  EXPECT_TRUE(HttpAddRequestHeadersA(client, "X-B: 3\nX-A:\n"));
  EXPECT_EQ(Requests(client), "X-B=3");
}

}  // namespace
