// Credentials: setting them, how they are sent, and where they are not sent.
#include <optional>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::OneConnection;
using test::RawServer;
using test::Response;

using MaybeText = std::optional<std::string>;

const std::string kOk = Response("200 OK", {}, "");

class AuthenticationTest : public test::SessionTest {
 protected:
  // The Authorization header of one more request.
  MaybeText Sent(HCLIENT client, const RawServer& server) {
    EXPECT_EQ(Command(client, "GET", "/"), 200);
    return test::HeaderOf(server.requests().back(), "Authorization");
  }
  static RawServer::Script Answers(std::size_t count) {
    return OneConnection(std::vector<std::string>(count, kOk));
  }
};

struct Given {
  UINT type;
  const char* user;
  const char* password;
  MaybeText sent;
};

TEST_F(AuthenticationTest, CredentialsAreSentWithEveryLaterRequest) {
  const Given cases[] = {
      {HTTP_AUTH_NONE, nullptr, nullptr, std::nullopt},
      {HTTP_AUTH_BASIC, "Aladdin", "open sesame", "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ=="},
      {HTTP_AUTH_BASIC, "user", nullptr, "Basic dXNlcjo="},
      {HTTP_AUTH_BASIC, nullptr, "secret", "Basic OnNlY3JldA=="},
      {HTTP_AUTH_BASIC, "", nullptr, std::nullopt},
      {HTTP_AUTH_BEARER, "ignored", " \ttoken.123", "Bearer token.123"},
      {HTTP_AUTH_BEARER, "ignored", "", std::nullopt},
      {HTTP_AUTH_BASIC, "a", "b", "Basic YTpi"},
      {HTTP_AUTH_NONE, "a", "b", std::nullopt},
  };
  const RawServer server(Answers(2 * std::size(cases)));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  for (const Given& entry : cases) {
    EXPECT_EQ(HttpAuthenticateA(client, entry.type, entry.user, entry.password), 0);
    EXPECT_EQ(Sent(client, server), entry.sent);
    EXPECT_EQ(Sent(client, server), entry.sent);
  }
}

TEST_F(AuthenticationTest, UnknownTypesChangeNothing) {
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  ASSERT_EQ(HttpAuthenticateA(client, HTTP_AUTH_BASIC, "a", "b"), 0);
  for (const UINT type : {UINT{HTTP_AUTH_DIGEST}, UINT{HTTP_AUTH_NTLM}, 5u, 0xFFFFu}) {
    HttpSetLastError(0);
    EXPECT_EQ(HttpAuthenticateA(client, type, "x", "y"), HTTP_ERROR) << type;
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_AUTHENTICATION_TYPE) << type;
  }
  EXPECT_EQ(Sent(client, server), "Basic YTpi");
}

struct Limit {
  UINT type;
  std::size_t user;
  std::size_t password;
  DWORD error;
};

TEST_F(AuthenticationTest, Limits) {
  constexpr Limit kCases[] = {
      {HTTP_AUTH_BASIC, 1023, 4095, 0},
      {HTTP_AUTH_BASIC, 1024, 0, QV_ERROR_INVALID_USERNAME},
      {HTTP_AUTH_BASIC, 1, 4096, QV_ERROR_INVALID_PASSWORD},
      {HTTP_AUTH_BEARER, 0, 4095, 0},
      {HTTP_AUTH_BEARER, 0, 4096, QV_ERROR_INVALID_PARAMETER},
  };
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  for (const Limit& entry : kCases) {
    const std::string user(entry.user, 'u');
    const std::string password(entry.password, 'p');
    HttpSetLastError(0);
    EXPECT_EQ(HttpAuthenticateA(client, entry.type, user.c_str(), password.c_str()),
              entry.error == 0 ? 0 : HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error) << entry.user << " " << entry.password;
  }
}

TEST_F(AuthenticationTest, ATokenCannotBreakTheHeader) {
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpSetBearerTokenA(client, "token\r\nX-Injected: 1"), HTTP_ERROR);
  EXPECT_NE(LastError(), 0u);
  EXPECT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(server.requests().back().find("Injected"), std::string::npos);
}

TEST_F(AuthenticationTest, BearerToken) {
  const RawServer server(Answers(1));
  const HCLIENT client = Connect(server.port());
  char token[16] = "?";
  EXPECT_EQ(HttpGetBearerTokenA(client, token, sizeof(token)), 0);
  EXPECT_STREQ(token, "");
  EXPECT_EQ(HttpSetBearerTokenA(client, " \t abc"), 0);
  EXPECT_EQ(HttpGetBearerTokenA(client, token, 4), 3);
  EXPECT_STREQ(token, "abc");

  HttpSetLastError(0);
  EXPECT_EQ(HttpGetBearerTokenA(client, token, 3), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_STREQ(token, "");
  EXPECT_EQ(HttpGetBearerTokenA(client, token, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(HttpGetBearerTokenA(client, nullptr, 16), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);

  for (const char* none : {static_cast<const char*>(nullptr), "", "  "}) {
    EXPECT_EQ(HttpSetBearerTokenA(client, "abc"), 0);
    EXPECT_EQ(HttpSetBearerTokenA(client, none), 0);
    EXPECT_EQ(HttpGetBearerTokenA(client, token, sizeof(token)), 0);
  }
  EXPECT_EQ(HttpSetBearerTokenA(client, "abc"), 0);
  EXPECT_EQ(HttpAuthenticateA(client, HTTP_AUTH_BASIC, "u", "p"), 0);
  EXPECT_EQ(HttpGetBearerTokenA(client, token, sizeof(token)), 0);
}

TEST_F(AuthenticationTest, StoredCredentialsReplaceTheHeaderOfTheApplication) {
  const RawServer server(Answers(2));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  ASSERT_TRUE(HttpSetRequestHeaderA(client, "authorization", "Custom 1"));
  EXPECT_EQ(Sent(client, server), "Custom 1");
  ASSERT_EQ(HttpSetBearerTokenA(client, "abc"), 0);
  EXPECT_EQ(Sent(client, server), "Bearer abc");
  EXPECT_EQ(test::CountHeader(server.requests().back(), "Authorization"), 1u);
}

TEST_F(AuthenticationTest, AChallengeFailsTheCommand) {
  const RawServer server(
      OneConnection({Response("401 Who?", {"WWW-Authenticate: Basic realm=\"x\""}, "body"), kOk}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Command(client, "GET", "/"), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_COMMAND_NOT_AUTHORIZED);
  EXPECT_EQ(HttpGetResultCode(client), 401);
  ASSERT_EQ(HttpAuthenticateA(client, HTTP_AUTH_BASIC, "a", "b"), 0);
  EXPECT_EQ(Sent(client, server), "Basic YTpi");
}

TEST_F(AuthenticationTest, ACookieAddedElsewhereDoesNotTakeTheOthersAlong) {
  const RawServer target(OneConnection({kOk, kOk}));
  const std::string location = target.url("/");
  const RawServer server(OneConnection({Response("307 Moved", {"Location: " + location}, "")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_REDIRECT | HTTP_OPTION_KEEPALIVE);
  ASSERT_TRUE(HttpSetCookieA(client, "secret", "of-the-first-server"));
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  ASSERT_TRUE(HttpSetCookieA(client, "own", "1"));
  ASSERT_EQ(Command(client, "GET", "/"), 200);
  EXPECT_EQ(test::HeaderOf(target.requests().at(1), "Cookie"), "own=1");
}

}  // namespace
