// The default user agent of the process.
#include <string>
#include <thread>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

constexpr const char* kBuiltIn =
    "Mozilla/5.0 (Windows NT 10.0) Chrome/134.0.0.0 Safari/537.36 Quorvane/12.0";

class UserAgentTest : public test::SessionTest {
 protected:
  void TearDown() override {
    HttpSetDefaultUserAgentA(nullptr);
    SessionTest::TearDown();
  }
  static std::string Default() {
    char text[1024] = "?";
    const INT length = HttpGetDefaultUserAgentA(text, sizeof(text));
    EXPECT_EQ(static_cast<std::size_t>(length), std::string(text).size());
    return text;
  }
};

TEST_F(UserAgentTest, IsBuiltFromThePlatformAndTheVersion) {
  EXPECT_EQ(Default(), kBuiltIn);
  for (const char* none : {static_cast<const char*>(nullptr), "", " \t "}) {
    ASSERT_TRUE(HttpSetDefaultUserAgentA(" \tMine/1.0 "));
    EXPECT_EQ(Default(), "Mine/1.0 ");
    EXPECT_TRUE(HttpSetDefaultUserAgentA(none));
    EXPECT_EQ(Default(), kBuiltIn);
  }
}

TEST_F(UserAgentTest, TheBufferNeedsOneCharacterToSpare) {
  ASSERT_TRUE(HttpSetDefaultUserAgentA("12345"));
  struct Case {
    INT capacity;
    INT result;
    DWORD error;
  };
  constexpr Case kCases[] = {{7, 5, 0},
                             {5000, 5, 0},
                             {6, HTTP_ERROR, QV_ERROR_BUFFER_TOO_SMALL},
                             {1, HTTP_ERROR, QV_ERROR_BUFFER_TOO_SMALL},
                             {0, HTTP_ERROR, QV_ERROR_BUFFER_TOO_SMALL},
                             {-1, HTTP_ERROR, QV_ERROR_BUFFER_TOO_SMALL}};
  std::string text(5000, '?');
  for (const Case& entry : kCases) {
    HttpSetLastError(0);
    EXPECT_EQ(HttpGetDefaultUserAgentA(text.data(), entry.capacity), entry.result)
        << entry.capacity;
    EXPECT_EQ(LastError(), entry.error);
  }
  EXPECT_EQ(HttpGetDefaultUserAgentA(nullptr, 100), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_BUFFER);
}

TEST_F(UserAgentTest, TextsThatAreRefused) {
  ASSERT_TRUE(HttpSetDefaultUserAgentA("Mine/1.0"));
  for (const std::string& text :
       {std::string(1024, 'x'), std::string("Mine/1.0\r\nX-Injected: 1"), std::string("a\nb")}) {
    HttpSetLastError(0);
    EXPECT_FALSE(HttpSetDefaultUserAgentA(text.c_str()));
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Default(), "Mine/1.0");
  }
  EXPECT_TRUE(HttpSetDefaultUserAgentA(std::string(1023, 'x').c_str()));
}

TEST_F(UserAgentTest, IsSharedByAllThreadsAndSessions) {
  const std::string ok = test::Response("200 OK", {}, "");
  const test::RawServer server(test::RawServer::Script{{{ok}}, {{ok}}});
  const HCLIENT first = Connect(server.port());
  const HCLIENT second = Connect(server.port());
  std::thread([] { EXPECT_TRUE(HttpSetDefaultUserAgentA("Shared/1")); }).join();
  for (const HCLIENT client : {first, second}) {
    EXPECT_EQ(Command(client, "GET", "/"), 200);
    EXPECT_EQ(test::HeaderOf(server.requests().back(), "User-Agent"), "Shared/1");
  }
}

}  // namespace
