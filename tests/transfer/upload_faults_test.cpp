// Uploads that the server or the local file spoils.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

constexpr std::size_t kSmall = 300000;
// More than the socket buffers of both ends hold.
constexpr std::size_t kLarge = std::size_t{6} << 20;

class UploadFaultsTest : public SessionTest {
 protected:
  struct Upload {
    const char* name;
    std::function<INT(HCLIENT)> run;
  };

  void UseBodyOf(std::size_t size) {
    data_.assign(size, 'u');
    path_ = folder_.Write("upload.bin", data_);
  }

  // Every function that sends a body.
  std::vector<Upload> Uploads() const {
    const auto size = static_cast<DWORD>(data_.size());
    return {
        {"HttpPutFile", [this](HCLIENT h) { return HttpPutFileA(h, path_.c_str(), "/x", 0, 0); }},
        {"HttpPostFile",
         [this](HCLIENT h) { return HttpPostFileA(h, path_.c_str(), "/x", nullptr, 0, 0); }},
        {"HttpPutData",
         [this, size](HCLIENT h) { return HttpPutDataA(h, "/x", data_.data(), size, 0); }},
        {"HttpPutDataEx",
         [this, size](HCLIENT h) {
           char result[16];
           DWORD length = sizeof(result);
           return HttpPutDataExA(h, "/x", data_.data(), size, result, &length, 0);
         }},
        {"HttpPostData",
         [this, size](HCLIENT h) {
           return HttpPostDataA(h, "/x", data_.data(), size, nullptr, nullptr, 0);
         }},
        {"HttpCommand",
         [this, size](HCLIENT h) {
           return HttpCommandA(h, "POST", "/x", const_cast<char*>(data_.data()), size, 0);
         }},
    };
  }

  // The first connection is spoilt, later ones answer every request.
  static RawServer::Handler SpoilFirst(RawServer::Handler spoil) {
    return [spoil = std::move(spoil)](Connection& connection) {
      if (connection.index() == 0) return spoil(connection);
      while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "next"));
    };
  }

  static bool IsBroken(DWORD error) {
    return error == QV_ERROR_CONNECTION_RESET || error == QV_ERROR_CONNECTION_ABORTED ||
           error == QV_ERROR_CONNECTION_CLOSED;
  }

  // The session is idle, and its next request is answered by its own response.
  static void ExpectUsable(HCLIENT session) {
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    EXPECT_FALSE(HttpIsBlocking(session));
    EXPECT_EQ(Get(session, "/").body, "next") << std::hex << LastError();
  }

  TempDir folder_;
  std::string data_;
  std::string path_;
};

TEST_F(UploadFaultsTest, ServersThatDoNotWantTheBody) {
  struct Case {
    const char* what;
    std::size_t size;
    RawServer::Handler spoil;
    DWORD error;  // 0: any of a broken connection
  };
  const std::string refusal = Head("403 No", {"Content-Length: 0", "Connection: close"});
  const std::vector<Case> cases = {
      {"a refusal by a server that takes the rest", kSmall,
       [&](Connection& connection) {
         connection.ReadHead();
         connection.Send(refusal);
         connection.FinishSending();
         connection.WaitForClose();
       },
       QV_ERROR_ACCESS_DENIED},
      {"a refusal by a server that closes", kLarge,
       [&](Connection& connection) {
         connection.ReadHead();
         connection.Send(refusal);
         connection.Close();
       },
       QV_ERROR_ACCESS_DENIED},
      {"a reset within the body", kSmall,
       [](Connection& connection) {
         connection.ReadHead();
         connection.ReadBytes(100000);
         connection.Reset();
       },
       0},
  };
  for (const Case& c : cases) {
    UseBodyOf(c.size);
    for (const Upload& upload : Uploads()) {
      SCOPED_TRACE(std::string(upload.name) + ": " + c.what);
      const RawServer server(SpoilFirst(c.spoil));
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
      EXPECT_EQ(upload.run(session), HTTP_ERROR);
      EXPECT_TRUE(c.error != 0 ? LastError() == c.error : IsBroken(LastError()))
          << std::hex << LastError();
      ExpectUsable(session);
      EXPECT_EQ(HttpDisconnect(session), 0);
    }
  }
}

// The page of a refusal is data for whoever wants it.
TEST_F(UploadFaultsTest, ARefusalAsData) {
  UseBodyOf(kLarge);
  const RawServer server(SpoilFirst([](Connection& connection) {
    connection.ReadHead();
    connection.Send(Response("413 Too Large", {"Connection: close"}, "page"));
    connection.FinishSending();
    connection.WaitForClose();
  }));
  const HCLIENT session =
      Connect(server.port(), HTTP_OPTION_KEEPALIVE | HTTP_OPTION_ERRORDATA, 0, 20);
  const auto size = static_cast<DWORD>(data_.size());
  ASSERT_EQ(HttpCommandA(session, "POST", "/x", data_.data(), size, 0), 413);
  char page[8] = "";
  EXPECT_EQ(HttpRead(session, reinterpret_cast<LPBYTE>(page), sizeof(page)), 4);
  EXPECT_STREQ(page, "page");
  EXPECT_EQ(HttpCloseFile(session), 0);
  ExpectUsable(session);
}

// An interim response is no answer to a body that did not wait for it.
TEST_F(UploadFaultsTest, StreamsDoNotTakeTheInterimResponse) {
  UseBodyOf(kSmall);
  for (const Upload& upload : Uploads()) {
    SCOPED_TRACE(upload.name);
    const RawServer server([](Connection& connection) {
      const auto head = connection.ReadHead();
      connection.Send("HTTP/1.1 100 Continue\r\n\r\n");
      const std::string length = HeaderOf(head.value_or(""), "Content-Length").value_or("0");
      EXPECT_TRUE(connection.ReadBytes(std::stoul(length)));
      connection.Send(Response("201 Created", {}, ""));
      connection.WaitForClose();
    });
    const HCLIENT session = Connect(server.port());
    HttpSetRequestHeaderA(session, "Expect", "100-Continue");
    EXPECT_EQ(upload.run(session), 201);
  }
}

// An empty body is one: the server is told so, and its answer is the result.
TEST_F(UploadFaultsTest, EmptyBodies) {
  const RawServer server([](Connection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("201 Created", {}, ""));
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpPutDataExA(session, "/a", nullptr, 0, nullptr, nullptr, 0), 201);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpPutTextA(session, "/a", ""), 201);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpPostDataA(session, "/a", nullptr, 0, nullptr, nullptr, 0), 201);
  EXPECT_EQ(HttpCloseFile(session), 0);
  ASSERT_EQ(server.requests().size(), 3u);
  for (const std::string& request : server.requests()) {
    EXPECT_EQ(HeaderOf(request, "Content-Length"), "0");
  }
}

// A callback cannot end the request whose body is on its way.
TEST_F(UploadFaultsTest, ClosingFromInsideATransfer) {
  UseBodyOf(kSmall);
  for (const Upload& upload : Uploads()) {
    SCOPED_TRACE(upload.name);
    const RawServer server([](Connection& connection) {
      while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "next"));
    });
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
    const auto close = [](HCLIENT client, UINT, DWORD, DWORD_PTR) {
      EXPECT_EQ(HttpCloseFile(client), HTTP_ERROR);
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
    };
    EXPECT_EQ(HttpRegisterEvent(session, HTTP_EVENT_PROGRESS, close, 0), 0);
    EXPECT_EQ(upload.run(session), 200) << std::hex << LastError();
    HttpDisableEvents(session);
    HttpCloseFile(session);
    ExpectUsable(session);
  }
}

// An upload without an answer did not succeed: an error, or a result code that is none.
TEST_F(UploadFaultsTest, AServerThatEndsInsteadOfAnswering) {
  UseBodyOf(kSmall);
  for (const std::size_t taken : {kSmall / 3, kSmall}) {
    for (const Upload& upload : Uploads()) {
      SCOPED_TRACE(std::string(upload.name) + " " + std::to_string(taken));
      const RawServer server(SpoilFirst([taken](Connection& connection) {
        connection.ReadHead();
        connection.ReadBytes(taken);
        connection.Close();
      }));
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
      const INT result = upload.run(session);
      if (result == HTTP_ERROR) {
        EXPECT_TRUE(IsBroken(LastError())) << std::hex << LastError();
      } else {
        EXPECT_EQ(result, 0);
      }
      EXPECT_EQ(HttpGetResultCode(session), 0);
      HttpCloseFile(session);
      ExpectUsable(session);
    }
  }
}

// What a connection that is used up still holds is not taken for the answer to an upload.
TEST_F(UploadFaultsTest, LeftOverBytesAreNoAnswer) {
  UseBodyOf(kSmall);
  for (const Upload& upload : Uploads()) {
    SCOPED_TRACE(upload.name);
    const RawServer server(
        OneConnection({Response("200 OK", {}, "body") + Response("403 No", {"X: left over"}, "")}));
    const HCLIENT session = Connect(server.port());
    BYTE body[4];
    ASSERT_EQ(HttpOpenFileA(session, "/", 0), 200);
    ASSERT_EQ(HttpRead(session, body, sizeof(body)), 4);
    ASSERT_EQ(HttpCloseFile(session), 0);
    EXPECT_EQ(upload.run(session), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED}) << std::hex << LastError();
    EXPECT_EQ(server.requests().size(), 1u);
  }
}

// A server that answers nothing: with the body unread, and with all of it read. The waits of all
// functions run side by side.
TEST_F(UploadFaultsTest, SilentServersEndInTheTimeout) {
  UseBodyOf(kLarge);
  std::atomic<bool> over{false};
  const auto unread = [&](Connection& connection) {
    connection.ReadHead();
    WaitUntil([&] { return over.load(); });
  };
  const auto unanswered = [](Connection& connection) {
    connection.ReadRequest();
    connection.WaitForClose();
  };
  std::vector<std::unique_ptr<RawServer>> servers;
  std::vector<std::thread> threads;
  const std::vector<Upload> uploads = Uploads();
  for (const Upload& upload : uploads) {
    for (const RawServer::Handler& spoil :
         {RawServer::Handler(unread), RawServer::Handler(unanswered)}) {
      servers.push_back(std::make_unique<RawServer>(SpoilFirst(spoil)));
      threads.emplace_back([&upload, &server = *servers.back()] {
        SCOPED_TRACE(upload.name);
        const HCLIENT session =
            HttpConnectA("127.0.0.1", server.port(), 20, HTTP_OPTION_KEEPALIVE, 0, nullptr);
        EXPECT_EQ(HttpSetTimeout(session, 1), 0);
        int timeouts = 0;  // nobody waits again for an answer that did not come
        const auto count = [](HCLIENT, UINT, DWORD, DWORD_PTR counter) {
          ++*reinterpret_cast<int*>(counter);
        };
        HttpRegisterEvent(session, HTTP_EVENT_TIMEOUT, count,
                          reinterpret_cast<DWORD_PTR>(&timeouts));
        EXPECT_EQ(upload.run(session), HTTP_ERROR);
        EXPECT_EQ(timeouts, 1);
        EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT}) << std::hex << LastError();
        HttpSetTimeout(session, 20);
        ExpectUsable(session);
        EXPECT_EQ(HttpDisconnect(session), 0);
      });
    }
  }
  for (std::thread& thread : threads) thread.join();
  over = true;
}

// The file changes while it is being sent: the server never gets more than what was announced, and
// less than that is no success.
TEST_F(UploadFaultsTest, FilesThatChangeTheirSize) {
  struct Case {
    std::uintmax_t size;
    INT result;
  };
  for (const Case& c : std::vector<Case>{{kLarge / 2, HTTP_ERROR}, {kLarge * 2, 200}}) {
    for (const Upload& upload : {Uploads()[0], Uploads()[1]}) {
      SCOPED_TRACE(std::string(upload.name) + " " + std::to_string(c.size));
      UseBodyOf(kLarge);
      std::atomic<bool> whole{false};
      const RawServer server(SpoilFirst([&](Connection& connection) {
        const std::optional<std::string> head = connection.ReadHead();
        std::filesystem::resize_file(path_, c.size);
        const std::string length = HeaderOf(head.value_or(""), "Content-Length").value_or("0");
        const auto body = connection.ReadBytes(std::stoul(length));
        whole = body.has_value();
        if (!body) return;
        EXPECT_TRUE(body->ends_with(body->starts_with("--") ? "--\r\n" : "u"));
        connection.Send(Response("200 OK", {}, ""));
        EXPECT_FALSE(connection.ReadBytes(1)) << "bytes behind the announced body";
      }));
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
      EXPECT_EQ(upload.run(session), c.result);
      if (c.result == HTTP_ERROR) {
        EXPECT_EQ(LastError(), DWORD{QV_ERROR_FILE_READ_FAILED});
        ExpectUsable(session);
      }
      EXPECT_EQ(HttpDisconnect(session), 0);
      EXPECT_TRUE(server.WaitForEnds(1));
      EXPECT_EQ(whole, c.result == 200);
    }
  }
}

TEST_F(UploadFaultsTest, LocalFilesThatCannotBeSent) {
  const RawServer server([](Connection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "next"));
  });
  const std::string empty = folder_.Write("empty", "");
  const std::string missing = folder_.file("no/such/file");
  const std::string directory = folder_.path().string();
  // A file of the system's own whose size is 4096 and which cannot be read.
  const std::string unreadable = "/sys/class/net/lo/speed";
  struct Case {
    std::string path;
    DWORD put_error;
    DWORD post_error;  // 0: posted
  };
  std::vector<Case> cases = {
      {empty, QV_ERROR_INVALID_PARAMETER, 0},
      {missing, QV_ERROR_FILE_NOT_FOUND, QV_ERROR_FILE_NOT_FOUND},
      {directory, QV_ERROR_INVALID_FILE_TYPE, QV_ERROR_FILE_NOT_FOUND},
  };
  if (std::filesystem::exists(unreadable)) {
    cases.push_back({unreadable, QV_ERROR_FILE_READ_FAILED, QV_ERROR_FILE_READ_FAILED});
  }
  if (geteuid() != 0) {  // no file is unreadable for root
    const std::string locked = folder_.Write("locked", "secret");
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    cases.push_back({locked, QV_ERROR_ACCESS_DENIED, QV_ERROR_FILE_NOT_FOUND});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    EXPECT_EQ(HttpPutFileA(session, c.path.c_str(), "/x", 0, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), c.put_error) << std::hex << LastError();
    ExpectUsable(session);
    EXPECT_EQ(HttpPostFileA(session, c.path.c_str(), "/x", nullptr, 0, 0),
              c.post_error == 0 ? 200 : HTTP_ERROR);
    if (c.post_error != 0) {
      EXPECT_EQ(LastError(), c.post_error) << std::hex << LastError();
    }
    ExpectUsable(session);
  }
}

}  // namespace
}  // namespace test
