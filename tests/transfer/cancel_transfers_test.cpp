// HttpCancel from another thread, at every stage of downloads and uploads.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

class CancelTransfersTest : public SessionTest {
 protected:
  struct Transfer {
    const char* name;
    std::function<INT(HCLIENT)> run;
  };

  std::vector<Transfer> Downloads() const {
    return {
        {"memory", [](HCLIENT h) { return Get(h, "/data", HTTP_TRANSFER_COMPRESS).result; }},
        {"file",
         [this](HCLIENT h) {
           return HttpGetFileA(h, folder_.file("down").c_str(), "/data",
                               HTTP_TRANSFER_COMPRESS | HTTP_TRANSFER_CONVERT, 0);
         }},
        {"text",
         [](HCLIENT h) {
           char text[64];
           INT length = sizeof(text);
           return HttpGetTextExA(h, "/data", text, &length, 65001, 0);
         }},
        {"answer of a post",
         [](HCLIENT h) {
           char text[64];
           DWORD length = sizeof(text);
           return HttpPostTextExA(h, "/data", "text", text, &length, 65001, 0);
         }},
    };
  }

  std::vector<Transfer> Uploads() const {
    return {
        {"HttpPutFile", [this](HCLIENT h) { return HttpPutFileA(h, path_.c_str(), "/x", 0, 0); }},
        {"HttpPostFile",
         [this](HCLIENT h) { return HttpPostFileA(h, path_.c_str(), "/x", nullptr, 0, 0); }},
        {"HttpPutData",
         [this](HCLIENT h) {
           return HttpPutDataA(h, "/x", data_.data(), static_cast<DWORD>(data_.size()), 0);
         }},
        {"HttpPostData",
         [this](HCLIENT h) {
           return HttpPostDataA(h, "/x", data_.data(), static_cast<DWORD>(data_.size()), nullptr,
                                nullptr, 0);
         }},
    };
  }

  // Runs a transfer with a server that spoils its first connection, cancels it as soon as the
  // server is at `stage` and the session waits, and looks at what the session can do then.
  void CancelAt(const Transfer& transfer, const RawServer::Handler& spoil,
                const std::function<bool(HCLIENT)>& stage) {
    over_ = false;
    const RawServer server([&](Connection& connection) {
      if (connection.index() == 0) return spoil(connection);
      while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "next"));
    });
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 60);
    std::thread canceller([&] {
      EXPECT_TRUE(WaitUntil([&] { return stage(session) && HttpIsBlocking(session); }));
      EXPECT_EQ(HttpCancel(session), 0);
    });
    EXPECT_EQ(transfer.run(session), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED}) << std::hex << LastError();
    canceller.join();
    over_ = true;  // for a server that waits for it
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    EXPECT_FALSE(HttpIsBlocking(session));
    if (++runs_ % 2 == 0) {
      EXPECT_EQ(Get(session, "/").body, "next") << std::hex << LastError();
    }
    EXPECT_EQ(HttpDisconnect(session), 0);
  }

  TempDir folder_;
  const std::string data_ = std::string(std::size_t{6} << 20, 'u');  // more than sockets hold
  const std::string path_ = folder_.Write("up", data_);
  std::atomic<bool> over_{false};
  int runs_ = 0;
};

TEST_F(CancelTransfersTest, WhileTheServerIsSilent) {
  const std::string gzip_head("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10);
  const HeaderLines chunked = {"Transfer-Encoding: chunked"};
  const std::vector<std::string> beginnings = {
      "",
      "HTTP/1.1 ",
      "HTTP/1.1 200 OK\r\nContent-Type: te",
      "HTTP/1.1 100 Continue\r\n\r\n",
      Head("200 OK", {"Content-Length: 100", "Content-Type: text/plain"}),
      Head("200 OK", {"Content-Length: 100", "Content-Type: text/plain"}) + "line\r",
      Head("200 OK", chunked),
      Head("200 OK", chunked) + "4",
      Head("200 OK", chunked) + "4\r\nab",
      Head("200 OK", chunked) + "4\r\nabcd\r\n",
      Head("200 OK", chunked) + "4\r\nabcd\r\n0\r\nTrailer: ",
      Head("200 OK", {"Content-Length: 100", "Content-Encoding: gzip"}) + gzip_head,
      Head("200 OK") + "until the end",
  };
  for (const std::string& beginning : beginnings) {
    const bool all = beginning.empty() || beginning.ends_with('\r');
    const std::vector<Transfer> downloads = Downloads();
    for (std::size_t i = 0; i < (all ? downloads.size() : 2); ++i) {
      const Transfer& transfer = downloads[i];
      SCOPED_TRACE(std::string(transfer.name) + " after " + beginning);
      std::atomic<bool> sent{false};
      CancelAt(
          transfer,
          [&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(beginning);
            sent = true;
            connection.WaitForClose();
          },
          [&](HCLIENT) { return sent.load(); });
    }
  }
}

// The transfer moves on all the time, and is cancelled after so many bytes.
TEST_F(CancelTransfersTest, WhileTheBodyComes) {
  const std::string block = Pattern(5000);
  const std::string chunk = "1388\r\n" + block + "\r\n";
  ASSERT_EQ(block.size(), 0x1388u);
  struct Case {
    const char* what;
    std::string head;
    const std::string& piece;
  };
  const std::vector<Case> cases = {
      {"length", Head("200 OK", {"Content-Length: 4000000000", "Content-Type: text/plain"}), block},
      {"chunks", Head("200 OK", {"Transfer-Encoding: chunked"}), chunk},
      {"gzip", Head("200 OK", {"Content-Encoding: gzip"}), block},
  };
  for (const Case& c : cases) {
    for (const ULONGLONG moved : {1u, 20000u, 300000u}) {
      const Transfer file = Downloads()[1];
      SCOPED_TRACE(std::string(c.what) + " " + std::to_string(moved));
      CancelAt(
          file,
          [&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(c.head);
            while (connection.SendInPieces(c.piece, 1000, std::chrono::milliseconds(1))) {
            }
          },
          [&](HCLIENT session) {
            HTTPTRANSFERSTATUSEX status{};
            HttpGetTransferStatusEx(session, &status);
            return status.dwBytesCopied >= moved;
          });
    }
  }
}

TEST_F(CancelTransfersTest, WhileABodyIsSent) {
  for (const Transfer& transfer : Uploads()) {
    for (const std::size_t read : {std::size_t{0}, data_.size()}) {
      SCOPED_TRACE(std::string(transfer.name) + " " + std::to_string(read));
      std::atomic<bool> stalled{false};
      CancelAt(
          transfer,
          [&](Connection& connection) {
            connection.ReadHead();
            connection.ReadBytes(read);
            stalled = true;
            WaitUntil([&] { return over_.load(); });
          },
          [&](HCLIENT) { return stalled.load(); });
    }
  }
}

TEST_F(CancelTransfersTest, WhileAnInterimResponseIsAwaited) {
  const Transfer post = Uploads()[3];
  const Transfer expecting{post.name, [&](HCLIENT h) {
                             HttpSetRequestHeaderA(h, "Expect", "100-continue");
                             const INT result = post.run(h);
                             const DWORD error = LastError();
                             HttpSetRequestHeaderA(h, "Expect", nullptr);
                             HttpSetLastError(error);
                             return result;
                           }};
  std::atomic<bool> stalled{false};
  CancelAt(
      expecting,
      [&](Connection& connection) {
        connection.ReadHead();
        stalled = true;
        connection.WaitForClose();
      },
      [&](HCLIENT) { return stalled.load(); });
}

// A body without bytes leaves no later moment to look.
TEST_F(CancelTransfersTest, InsideTheLastEventBeforeAnEmptyBody) {
  const RawServer server([&](Connection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, ""));
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
  const HTTPEVENTPROC cancel = [](HCLIENT client, UINT, DWORD, DWORD_PTR) { HttpCancel(client); };
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_FILEOPEN, cancel, 0), 0);
  const std::string target = folder_.file("empty");
  EXPECT_EQ(HttpGetFileA(session, target.c_str(), "/", 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED});
  HttpRegisterEvent(session, HTTP_EVENT_FILEOPEN, nullptr, 0);
  EXPECT_EQ(HttpGetFileA(session, target.c_str(), "/", 0, 0), 200);
}

// Cancelled or not, at any moment: a transfer is whole or it fails, and the next one starts clean.
TEST_F(CancelTransfersTest, AtRandomMoments) {
  const std::string body = Pattern(200000);
  const RawServer server([&](Connection& connection) {
    while (connection.ReadRequest()) {
      if (!connection.Send(ChunkedResponse("200 OK", {}, {body.substr(0, 7), body.substr(7)})))
        return;
    }
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
  std::atomic<bool> over{false};
  std::thread canceller([&] {
    for (unsigned pause = 0; !over; pause = (pause + 7) % 31) {
      WaitUntil([&] { return over.load(); }, std::chrono::milliseconds(pause / 4));
      HttpCancel(session);
    }
  });
  constexpr int kTransfers = 100;
  for (int i = 0; i < kTransfers; ++i) {
    const Fetched fetched = Get(session, "/");
    if (fetched.result == HTTP_ERROR) {
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED}) << std::hex << LastError();
    } else {
      EXPECT_TRUE(fetched.body == body) << fetched.body.size();
    }
  }
  over = true;
  canceller.join();
  EXPECT_TRUE(Get(session, "/").body == body);
}

}  // namespace
}  // namespace test
