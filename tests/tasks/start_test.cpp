// Starting tasks: which arguments are refused, and what a task takes over from a session.
#include <functional>

#include "tasks/task_fixture.h"

namespace test {
namespace {

class TaskStartTest : public TaskTest {
 protected:
  // A server that answers every request and keeps the connection.
  static void Answer(Connection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "body"));
  }
  const RawServer server_{Answer};
  const RawServer other_{Answer};
};

TEST_F(TaskStartTest, ArgumentsAreCheckedAtOnce) {
  const HCLIENT session = Connect(server_.port());
  char buffer[8];
  DWORD length = sizeof(buffer);
  DWORD none = 0;
  struct Refusal {
    const char* name;
    std::function<DWORD()> start;
    DWORD error;
  };
  const std::vector<Refusal> refusals = {
      {"unknown session",
       [&] { return HttpAsyncGetDataA(12345, nullptr, nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_HANDLE},
      {"no local file", [&] { return HttpAsyncGetFileA(session, "", nullptr, 0, 0, nullptr, 0); },
       QV_ERROR_INVALID_FILE_NAME},
      {"no remote file", [&] { return HttpAsyncPutFileExW(session, u"x", u"", 0, 0, nullptr, 0); },
       QV_ERROR_INVALID_RESOURCE},
      {"no resource",
       [&] { return HttpAsyncGetDataA(session, "", nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_RESOURCE},
      {"no buffer",
       [&] { return HttpAsyncGetDataA(session, "/", nullptr, &length, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"no length",
       [&] { return HttpAsyncGetDataW(session, u"/", buffer, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"nothing to put", [&] { return HttpAsyncPutDataA(session, "/", nullptr, 1, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"nothing to post",
       [&] { return HttpAsyncPostDataA(session, "/", nullptr, 1, nullptr, &none, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"empty document",
       [&] { return HttpAsyncPostJsonA(session, "/", "", nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"no document",
       [&] { return HttpAsyncPostXmlW(session, u"/", nullptr, nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_PARAMETER},
      {"a form without a session",
       [&] { return HttpAsyncSubmitFormA(INVALID_CLIENT, 1, nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_HANDLE},
      {"no form", [&] { return HttpAsyncSubmitFormW(session, 1, nullptr, nullptr, 0, nullptr, 0); },
       QV_ERROR_INVALID_FORM_HANDLE},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.name);
    HttpSetLastError(0);
    EXPECT_EQ(refusal.start(), 0u);
    EXPECT_EQ(LastError(), refusal.error);
  }
  EXPECT_EQ(HttpEnumTasks(nullptr, 0, HTTP_TASK_DEFAULT), 0);
}

TEST_F(TaskStartTest, NothingStartsBeforeInitialization) {
  HttpUninitialize();
  char buffer[8];
  DWORD length = sizeof(buffer);
  EXPECT_EQ(
      HttpAsyncGetDataA(INVALID_CLIENT, server_.url("/").c_str(), buffer, &length, 0, nullptr, 0),
      0u);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_NETWORK_NOT_INITIALIZED});
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
}

TEST_F(TaskStartTest, AUrlLeadsElsewhereAndTheRestOfTheSessionCounts) {
  const HCLIENT session = Connect(server_.port(), HTTP_OPTION_NOUSERAGENT, HTTP_VERSION_10, 7);
  ASSERT_EQ(HttpEnableCompression(session, TRUE), 0);
  struct Way {
    HCLIENT client;
    std::string resource;
    const RawServer& server;
    bool as_session;
  };
  const std::vector<Way> ways = {
      {session, "/path?query", server_, true},
      {session, other_.url("/path?query"), other_, true},
      {INVALID_CLIENT, other_.url("/path?query"), other_, false},
  };
  for (const Way& way : ways) {
    SCOPED_TRACE(way.resource);
    const std::size_t before = way.server.requests().size();
    EventLog log;
    Download download;
    Start(download, way.resource, way.client, EventLog::Record, log.parameter());
    EXPECT_EQ(Finish(download.id, log), 0u);
    EXPECT_EQ(download.body(), "body");
    ASSERT_EQ(way.server.requests().size(), before + 1);
    const std::string request = way.server.requests().back();
    EXPECT_EQ(FirstLineOf(request),
              way.as_session ? "GET /path?query HTTP/1.0" : "GET /path?query HTTP/1.1");
    EXPECT_EQ(HeaderOf(request, "User-Agent").has_value(), !way.as_session);
    EXPECT_EQ(HeaderOf(request, "Accept-Encoding").has_value(), way.as_session);
  }
}

// Credentials go to the server that they were set for; those of a URL go where it leads.
TEST_F(TaskStartTest, CredentialsStayWithTheirServer) {
  const HCLIENT basic = Connect(server_.port());
  ASSERT_EQ(HttpAuthenticateA(basic, HTTP_AUTH_BASIC, "me", "secret"), 0);
  const HCLIENT bearer = Connect(server_.port());
  ASSERT_EQ(HttpSetBearerTokenA(bearer, "token"), 0);
  const auto with_user = [](std::string url) {
    return url.insert(url.find("://") + 3, "you:word@");
  };
  struct Way {
    HCLIENT client;
    std::string resource;
    const RawServer& server;
    std::optional<std::string> authorization;
  };
  const std::vector<Way> ways = {
      {basic, "/", server_, "Basic bWU6c2VjcmV0"},
      {bearer, "/", server_, "Bearer token"},
      {basic, server_.url("/"), server_, "Basic bWU6c2VjcmV0"},
      {basic, other_.url("/"), other_, std::nullopt},
      {bearer, with_user(other_.url("/")), other_, "Basic eW91OndvcmQ="},
      {INVALID_CLIENT, with_user(other_.url("/")), other_, "Basic eW91OndvcmQ="},
  };
  for (const Way& way : ways) {
    SCOPED_TRACE(way.resource);
    Download download;
    Start(download, way.resource, way.client);
    EXPECT_EQ(Finish(download.id), 0u);
    ASSERT_FALSE(way.server.requests().empty());
    EXPECT_EQ(HeaderOf(way.server.requests().back(), "Authorization"), way.authorization);
  }
}

TEST_F(TaskStartTest, TheSessionMayBelongToAnotherThreadAndBeClosedMeanwhile) {
  GatedServer gated;
  const HCLIENT session = Connect(gated.server().port());
  Download download;
  std::thread([&] { Start(download, "/", session); }).join();
  ASSERT_TRUE(WaitForBytes(download.id, 1));
  EXPECT_EQ(HttpDisconnect(session), 0);
  gated.Open();
  EXPECT_EQ(Finish(download.id), 0u);
  EXPECT_EQ(download.body(), gated.body());
}

TEST_F(TaskStartTest, LongTextsAreCut) {
  constexpr std::size_t kLongest = 5119;
  const std::string resource = "/?" + std::string(6000, 'x');
  const HCLIENT session = Connect(server_.port());
  Download download;
  Start(download, resource, session);
  EXPECT_EQ(Finish(download.id), 0u);
  ASSERT_EQ(server_.requests().size(), 1u);
  EXPECT_EQ(FirstLineOf(server_.requests()[0]),
            "GET " + resource.substr(0, kLongest) + " HTTP/1.1");
}

}  // namespace
}  // namespace test
