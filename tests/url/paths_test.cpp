// Normalized paths and URLs, and the URLs of resources on a server.
#include <gtest/gtest.h>

#include <string>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

class PathsTest : public test::SessionTest {};

TEST_F(PathsTest, NormalizesPathsAndTellsWhatIsWrong) {
  struct Case {
    const char* resource;
    const char* expected;
    DWORD error;
  };
  const Case cases[] = {
      {"/a//b/./c/../d", "/a/b/d", 0},
      {"/../a", "/a", 0},
      {"/a/b/..", "/a/b/..", 0},
      {"  http://h/x/./y?q=1", "/x/y", 0},
      {"", nullptr, QV_ERROR_INVALID_FILE_NAME},
      {"http:nothing", nullptr, QV_ERROR_INVALID_URL_SCHEME},
  };
  for (const Case& entry : cases) {
    char text[64];
    const INT length = HttpNormalizePathA(entry.resource, text, sizeof(text));
    if (entry.expected == nullptr) {
      EXPECT_EQ(length, HTTP_ERROR) << entry.resource;
      EXPECT_EQ(LastError(), entry.error) << entry.resource;
    } else {
      EXPECT_STREQ(text, entry.expected);
      EXPECT_EQ(HttpNormalizePathA(entry.resource, nullptr, 0), length);
      EXPECT_EQ(HttpNormalizePathA(entry.resource, text, length), HTTP_ERROR);
      EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
    }
  }
}

TEST_F(PathsTest, NormalizesUrls) {
  char16_t text[64];
  EXPECT_EQ(HttpNormalizeUrlW(u"HTTP://Host:80/a/./b?q=1", text, 64), 19);
  EXPECT_EQ(std::u16string(text), u"http://Host/a/b?q=1");
  EXPECT_EQ(HttpNormalizeUrlW(u"host/a", text, 64), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_URL_SCHEME);
  // The normalized form has one character more, which is too many: nothing, and a terminator.
  const std::string longest = "http://h?" + std::string(1014, 'q');
  char buffer[4] = "old";
  EXPECT_EQ(HttpNormalizeUrlA(longest.c_str(), buffer, sizeof(buffer)), 0);
  EXPECT_STREQ(buffer, "");
}

TEST_F(PathsTest, NamesResourcesOfASession) {
  test::RawServer server(test::RawServer::Script{{}});
  const HCLIENT client = Connect(server.port());
  char url[64];
  EXPECT_GT(HttpGetFilePathUrlA(client, "dir/./f.txt", url, sizeof(url)), 0);
  EXPECT_EQ(std::string(url), "http://127.0.0.1:" + std::to_string(server.port()) + "/dir/f.txt");
  EXPECT_GT(HttpGetFilePathUrlA(INVALID_CLIENT, "http://u:p@h/x", url, sizeof(url)), 0);
  EXPECT_STREQ(url, "http://h/x");
  EXPECT_EQ(HttpGetFilePathUrlA(INVALID_CLIENT, "http://h/x", url, -1), 0);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_STREQ(url, "http://h/x") << "there was no room for anything";
  EXPECT_EQ(HttpGetFilePathUrlA(INVALID_CLIENT, "x", url, sizeof(url)), 0);
  EXPECT_EQ(LastError(), QV_ERROR_NOT_CONNECTED);
}

}  // namespace
