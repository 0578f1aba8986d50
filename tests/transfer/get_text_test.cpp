// HttpGetText and HttpGetTextEx: line ends, cutting, character sets.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

constexpr UINT kUtf8 = 65001;
constexpr UINT kWestern = 1252;
constexpr UINT kCyrillic = 1251;

class GetTextTest : public SessionTest {
 protected:
  HCLIENT Open(const std::string& body, const std::string& type = "text/plain") {
    HeaderLines headers;
    if (!type.empty()) headers.push_back("Content-Type: " + type);
    server_ = std::make_unique<RawServer>(ConnectionForEach({Response("200 OK", headers, body)}));
    return Connect(server_->port());
  }

  std::unique_ptr<RawServer> server_;
};

TEST_F(GetTextTest, TextIsCutToItsBuffer) {
  struct Case {
    INT capacity;
    std::string text;
  };
  for (const Case& c : std::vector<Case>{
           {32, "one\r\ntwo\r\n"}, {11, "one\r\ntwo\r\n"}, {10, "one\r\ntwo\r"}, {1, ""}}) {
    SCOPED_TRACE(c.capacity);
    const HCLIENT session = Open("one\ntwo");
    std::vector<char> buffer(64, '#');
    EXPECT_EQ(HttpGetText(session, "/", buffer.data(), c.capacity), 200);
    EXPECT_EQ(std::string(buffer.data()), c.text);
    EXPECT_EQ(buffer[static_cast<std::size_t>(c.capacity)], '#');
    ASSERT_EQ(server_->requests().size(), 1u);
    EXPECT_EQ(HeaderOf(server_->requests()[0], "Accept"),
              "text/*, application/json, application/xhtml+xml, application/xml");
  }
}

TEST_F(GetTextTest, ArgumentsAreChecked) {
  const HCLIENT session = Open("text");
  char buffer[8] = "before";
  EXPECT_EQ(HttpGetText(session, "/", nullptr, 8), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_BUFFER});
  EXPECT_EQ(HttpGetText(session, "", buffer, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
  EXPECT_EQ(HttpGetText(session, "/", buffer, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  WCHAR wide[8] = {};
  EXPECT_EQ(HttpGetTextW(session, u"/", nullptr, 8), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_BUFFER});
  EXPECT_EQ(HttpGetTextW(session, u"/", wide, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  EXPECT_EQ(HttpGetTextW(session, nullptr, wide, 8), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
  EXPECT_EQ(server_->requests().size(), 0u);
}

TEST_F(GetTextTest, WideTextIsNotCut) {
  struct Case {
    std::string body;
    INT capacity;
    DWORD error;
    std::u16string text;
  };
  const std::vector<Case> cases = {
      {"caf\xc3\xa9", 32, 0, u"caf\u00e9"},
      {"\xf0\x9f\x98\x80", 32, 0, u"\U0001F600"},
      {"abcd", 7, 0, u"abcd"},  // two characters more than the text and its terminator
      {"abcd", 6, QV_ERROR_BUFFER_TOO_SMALL, u""},
      {"abcdefghijkl", 8, QV_ERROR_BUFFER_TOO_SMALL, u""},
      {"caf\xe9", 32, QV_ERROR_INVALID_ENCODING_TYPE, u""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.body);
    const HCLIENT session = Open(c.body);
    std::vector<WCHAR> buffer(64, u'#');
    EXPECT_EQ(HttpGetTextW(session, u"/", buffer.data(), c.capacity), c.error ? HTTP_ERROR : 200);
    if (c.error != 0) {
      EXPECT_EQ(LastError(), c.error);
    }
    EXPECT_EQ(std::u16string(buffer.data()), c.text);
  }
}

struct Text {
  INT result;
  INT length;
  std::string text;
};

Text GetBlock(HCLIENT session, UINT code_page) {
  HGLOBAL block = nullptr;
  INT length = 0;
  Text text{HttpGetTextEx(session, "/", &block, &length, code_page, 0), length, ""};
  if (block != nullptr) {
    EXPECT_GT(GlobalSize(block), static_cast<SIZE_T>(length));
    const auto* bytes = static_cast<const char*>(GlobalLock(block));
    EXPECT_EQ(bytes[length], '\0');
    text.text.assign(bytes, static_cast<std::size_t>(length));
    GlobalUnlock(block);
    GlobalFree(block);
  }
  return text;
}

TEST_F(GetTextTest, CharacterSetsAreDetectedAndConverted) {
  struct Case {
    std::string body;
    UINT code_page;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"plain", kUtf8, "plain"},
      {"plain", kWestern, "plain"},
      {"caf\xc3\xa9", kUtf8, "caf\xc3\xa9"},
      {"caf\xc3\xa9", kWestern, "caf\xe9"},
      {"caf\xe9", kWestern, "caf\xe9"},  // not UTF-8: the first page that fits
      {"caf\xe9", kUtf8, "caf\xc3\xa9"},
      {"\xd0\x9c\xd0\xb8\xd1\x80", kCyrillic, "\xcc\xe8\xf0"},
      {"one\ntwo", kUtf8, "one\r\ntwo\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.body) + " " + std::to_string(c.code_page));
    const Text block = GetBlock(Open(c.body), c.code_page);
    EXPECT_EQ(block.result, 200) << std::hex << LastError();
    EXPECT_EQ(block.text, c.text);
    char buffer[64] = "";
    INT length = sizeof(buffer);
    EXPECT_EQ(HttpGetTextEx(Open(c.body), "/", buffer, &length, c.code_page, 0), 200);
    EXPECT_EQ(std::string(buffer), c.text);
    EXPECT_EQ(length, static_cast<INT>(c.text.size()));
  }
}

TEST_F(GetTextTest, BufferNeedsTwoMoreThanTheText) {
  for (UINT code_page : {kUtf8, kWestern}) {
    char buffer[64] = "";
    INT length = 6;
    EXPECT_EQ(HttpGetTextEx(Open("text"), "/", buffer, &length, code_page, 0), 200);
    EXPECT_STREQ(buffer, "text");
    length = 5;
    EXPECT_EQ(HttpGetTextEx(Open("text"), "/", buffer, &length, code_page, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
    EXPECT_EQ(length, 0);
    EXPECT_STREQ(buffer, "");
  }
}

TEST_F(GetTextTest, OnlyTextIsAccepted) {
  struct Case {
    const char* type;
    INT result;
  };
  for (const Case& c :
       std::vector<Case>{{"image/png", HTTP_ERROR}, {"text/html", 200}, {"", 200}}) {
    SCOPED_TRACE(c.type);
    const Text text = GetBlock(Open("text", c.type), kUtf8);
    EXPECT_EQ(text.result, c.result);
    if (c.result == HTTP_ERROR) {
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CONTENT_TYPE});
    }
  }
}

TEST_F(GetTextTest, EmptyTextGivesNothing) {
  const Text text = GetBlock(Open(""), kUtf8);
  EXPECT_EQ(text.result, 200);
  EXPECT_EQ(text.length, 0);
}

TEST_F(GetTextTest, ArgumentsOfTheExtendedForms) {
  const HCLIENT session = Open("text");
  char buffer[8] = "";
  WCHAR wide[8] = {};
  INT length = 8;
  EXPECT_EQ(HttpGetTextEx(session, "/", nullptr, &length, kUtf8, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_BUFFER});
  EXPECT_EQ(HttpGetTextEx(session, "/", buffer, nullptr, kUtf8, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  struct Case {
    const char* resource;
    const WCHAR* wide_resource;
    INT capacity;
    UINT code_page;
    DWORD error;
  };
  const std::vector<Case> cases = {
      {"/", u"/", -1, kUtf8, QV_ERROR_BUFFER_TOO_SMALL},
      {"/", u"/", 8, 4711, QV_ERROR_INVALID_CODEPAGE},
      {"", u"", 8, 4711, QV_ERROR_INVALID_CODEPAGE},
      {"", u"", 8, kUtf8, QV_ERROR_INVALID_RESOURCE},
      {nullptr, nullptr, 8, kUtf8, QV_ERROR_INVALID_RESOURCE},
      {"/", u"/", 0x7FFFFFFF, kUtf8, QV_ERROR_INVALID_PARAMETER},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.error);
    length = c.capacity;
    EXPECT_EQ(HttpGetTextEx(session, c.resource, buffer, &length, c.code_page, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), c.error);
    length = c.capacity;
    EXPECT_EQ(HttpGetTextExW(session, c.wide_resource, wide, &length, c.code_page, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), c.error);
  }
  length = 8;
  EXPECT_EQ(HttpGetTextExW(session, u"/", wide, &length, kWestern, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CODEPAGE});
  EXPECT_EQ(server_->requests().size(), 0u);
}

TEST_F(GetTextTest, WideFormOfTheExtendedFunction) {
  struct Case {
    std::string body;
    std::u16string text;
  };
  for (const Case& c :
       std::vector<Case>{{"caf\xc3\xa9", u"caf\u00e9"}, {"caf\xe9", u"caf\u00e9"}}) {
    for (UINT code_page : {0u, kUtf8}) {
      SCOPED_TRACE(c.body);
      WCHAR buffer[32] = {};
      INT length = 32;
      EXPECT_EQ(HttpGetTextExW(Open(c.body), u"/", buffer, &length, code_page, 0), 200);
      EXPECT_EQ(std::u16string(buffer), c.text);
      EXPECT_EQ(length, 4);
      length = 5;
      EXPECT_EQ(HttpGetTextExW(Open(c.body), u"/", buffer, &length, code_page, 0), HTTP_ERROR);
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
      HGLOBAL block = nullptr;
      length = 0;
      EXPECT_EQ(HttpGetTextExW(Open(c.body), u"/", &block, &length, code_page, 0), 200);
      ASSERT_NE(block, nullptr);
      EXPECT_EQ(GlobalSize(block), (c.text.size() + 1) * sizeof(WCHAR));
      EXPECT_EQ(std::u16string(static_cast<const WCHAR*>(GlobalLock(block))), c.text);
      GlobalUnlock(block);
      GlobalFree(block);
    }
  }
}

}  // namespace
}  // namespace test
