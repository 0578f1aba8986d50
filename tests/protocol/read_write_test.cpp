// HttpRead, HttpWrite, readiness and disconnect.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

const BYTE* Bytes(std::string_view text) { return reinterpret_cast<const BYTE*>(text.data()); }

struct Body {
  std::string bytes;
  int last = 0;  // what the read after the last byte returned
};

Body ReadAll(HCLIENT session, INT piece) {
  Body body;
  std::vector<BYTE> buffer(static_cast<std::size_t>(piece));
  while ((body.last = HttpRead(session, buffer.data(), piece)) > 0) {
    body.bytes.append(buffer.begin(), buffer.begin() + body.last);
  }
  return body;
}

class ReadWriteTest : public SessionTest {};

TEST_F(ReadWriteTest, ArgumentsAreChecked) {
  const RawServer server(OneConnection({}));
  const HCLIENT session = Connect(server.port());
  BYTE byte = 0;
  EXPECT_EQ(HttpRead(session, nullptr, 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_BUFFER});
  EXPECT_EQ(HttpWrite(session, nullptr, 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_BUFFER});
  for (INT size : {0, -1}) {
    EXPECT_EQ(HttpRead(session, &byte, size), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
    EXPECT_EQ(HttpWrite(session, &byte, size), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_BUFFER_TOO_SMALL});
  }
  EXPECT_EQ(HttpDisconnect(session), 0);
  EXPECT_EQ(HttpRead(session, &byte, 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
  EXPECT_EQ(HttpDisconnect(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(ReadWriteTest, BodyOfKnownLengthComesInAnyPieceSize) {
  const std::string content = Pattern(100000);
  for (INT piece : {7, 16383, 16384, 16385, 200000}) {
    SCOPED_TRACE(piece);
    // Bytes behind the body show that it is not read beyond its length.
    const RawServer server(OneConnection({Response("200 OK", {}, content) + "behind"}));
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    ASSERT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), 200);
    const Body body = ReadAll(session, piece);
    EXPECT_EQ(body.bytes, content);
    EXPECT_EQ(body.last, 0);
    BYTE byte = 0;
    EXPECT_EQ(HttpRead(session, &byte, 1), 0);  // again, without waiting for the server
    HTTPTRANSFERSTATUSEX status{};
    EXPECT_EQ(HttpGetTransferStatusEx(session, &status), 0);
    EXPECT_EQ(status.dwBytesCopied, content.size());
    EXPECT_EQ(status.dwBytesTotal, content.size());
    EXPECT_EQ(HttpCloseFile(session), 0);
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
}

TEST_F(ReadWriteTest, BodyUntilTheConnectionEnds) {
  const std::string content = Pattern(50000);
  const RawServer server(ConnectionForEach({Head("200 OK") + content}));
  const HCLIENT session = Connect(server.port());
  ASSERT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), 200);
  const Body body = ReadAll(session, 4096);
  EXPECT_EQ(body.bytes, content);
  EXPECT_EQ(body.last, 0);
  BYTE byte = 0;
  EXPECT_EQ(HttpRead(session, &byte, 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED});
  EXPECT_EQ(HttpWrite(session, &byte, 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_CLOSED});
}

TEST_F(ReadWriteTest, ChunkedBodyComesWithItsFraming) {
  const std::string chunks = Chunked({"Wiki", "pedia"});
  const RawServer server(
      ConnectionForEach({Head("200 OK", {"Transfer-Encoding: chunked"}) + chunks}));
  const HCLIENT session = Connect(server.port());
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  EXPECT_EQ(ReadAll(session, 5).bytes, chunks);
}

// What the application read by itself says nothing about where a chunk ends, so that the rest must
// not be taken for chunks: here the data of the chunk looks like the end of the body.
TEST_F(ReadWriteTest, ConnectionOfARawChunkedReadIsNotUsedAgain) {
  const std::string inner = "0\r\n\r\n";
  const std::string forged = Response("200 OK", {}, "forged");
  const std::string data = inner + forged;
  char size[16];
  std::snprintf(size, sizeof(size), "%zx\r\n", data.size());
  const RawServer server(
      RawServer::Script{{{.reply = Head("200 OK", {"Transfer-Encoding: chunked"}) + size + inner},
                         {.reply = forged + "\r\n0\r\n\r\n"}},
                        {{.reply = Response("200 OK", {}, "right")}}});
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  BYTE buffer[16];
  ASSERT_EQ(HttpRead(session, buffer, static_cast<INT>(std::string_view(size).size())),
            static_cast<INT>(std::string_view(size).size()));
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(Get(session, "/").body, "right");
}

TEST_F(ReadWriteTest, TimedOutReadCanBeRepeated) {
  std::atomic<bool> go_on{false};
  const RawServer server([&](Connection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 4"}));
    WaitUntil([&] { return go_on.load(); });
    connection.Send("body");
    connection.WaitForClose();
  });
  const HCLIENT session = Connect(server.port(), 0, 0, 1);
  struct Seen {
    int count = 0;
    DWORD error = 0;
  } seen;
  const HTTPEVENTPROC on_timeout = [](HCLIENT, UINT event, DWORD error, DWORD_PTR parameter) {
    auto* target = reinterpret_cast<Seen*>(parameter);
    EXPECT_EQ(event, HTTP_EVENT_TIMEOUT);
    ++target->count;
    target->error = error;
  };
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_TIMEOUT, on_timeout,
                              reinterpret_cast<DWORD_PTR>(&seen)),
            0);
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  BYTE buffer[8];
  EXPECT_EQ(HttpRead(session, buffer, sizeof(buffer)), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(seen.count, 1);
  EXPECT_EQ(seen.error, DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
  EXPECT_FALSE(HttpIsBlocking(session));
  EXPECT_TRUE(HttpIsConnected(session));
  go_on = true;
  EXPECT_EQ(ReadAll(session, 8).bytes, "body");
}

TEST_F(ReadWriteTest, SessionWithoutARequestIsAPlainStream) {
  const RawServer server([](Connection& connection) {
    const std::optional<std::string> line = connection.ReadBytes(6);
    connection.Send("echo " + line.value_or("nothing"));
  });
  const HCLIENT session = Connect(server.port(), 0, 0, 5);
  EXPECT_EQ(HttpWrite(session, Bytes("hello\n"), 6), 6);
  EXPECT_EQ(ReadAll(session, 100).bytes, "echo hello\n");
}

TEST_F(ReadWriteTest, Readiness) {
  std::atomic<bool> go_on{false};
  const RawServer server([&](Connection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 10"}));
    WaitUntil([&] { return go_on.load(); });
    connection.Send("0123456789");
    connection.WaitForClose();
  });
  const HCLIENT session = Connect(server.port());
  EXPECT_TRUE(HttpIsWritable(session, 0));
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  DWORD available = 99;
  EXPECT_FALSE(HttpIsReadable(session, 0, &available));
  EXPECT_EQ(available, 0u);
  EXPECT_FALSE(HttpIsReadable(session, 0, nullptr));
  go_on = true;
  EXPECT_TRUE(HttpIsReadable(session, 20, &available));
  EXPECT_TRUE(WaitUntil([&] { return HttpIsReadable(session, 0, &available) && available == 10; }));
  BYTE buffer[4];
  EXPECT_EQ(HttpRead(session, buffer, 4), 4);
  EXPECT_TRUE(HttpIsReadable(session, 0, &available));  // now from the session's own buffer
  EXPECT_EQ(available, 6u);
  EXPECT_EQ(HttpDisconnect(session), 0);
  EXPECT_FALSE(HttpIsReadable(session, 0, &available));
  EXPECT_FALSE(HttpIsWritable(session, 0));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(ReadWriteTest, WriteToAServerThatDoesNotRead) {
  std::atomic<bool> over{false};
  const RawServer server([&](Connection&) { WaitUntil([&] { return over.load(); }); });
  const HCLIENT session = Connect(server.port(), 0, 0, 1);
  const std::string block(1 << 20, 'x');
  constexpr int kMostBlocks = 256;  // more than any socket holds back
  int sent = 0;
  for (int i = 0; i < kMostBlocks && sent >= 0; ++i) {
    sent = HttpWrite(session, Bytes(block), static_cast<INT>(block.size()));
    EXPECT_NE(sent, 0);
  }
  EXPECT_EQ(sent, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
  EXPECT_FALSE(HttpIsWritable(session, 0));
  EXPECT_EQ(HttpDisconnect(session), 0);
  over = true;
}

TEST_F(ReadWriteTest, ResetIsAnErrorOfTheSocketLayer) {
  const RawServer server(
      RawServer::Script{{{.reply = Head("200 OK", {"Content-Length: 100"}) + "some",
                          .how = RawServer::How::kReset}}});
  const HCLIENT session = Connect(server.port());
  ASSERT_EQ(HttpOpenFile(session, "/", 0), 200);
  ASSERT_TRUE(server.WaitForEnds(1));
  const Body body = ReadAll(session, 100);
  EXPECT_EQ(body.last, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_CONNECTION_RESET});
}

TEST_F(ReadWriteTest, OtherThreadsMayOnlyAsk) {
  const RawServer server([](Connection& connection) { connection.WaitForClose(); });
  const HCLIENT session = Connect(server.port(), 0, 0, 20);
  std::thread([&] {
    BYTE byte = 0;
    EXPECT_EQ(HttpRead(session, &byte, 1), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_NOT_HANDLE_OWNER});
    EXPECT_EQ(HttpWrite(session, &byte, 1), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_NOT_HANDLE_OWNER});
    EXPECT_EQ(HttpDisconnect(session), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_NOT_HANDLE_OWNER});
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    EXPECT_FALSE(HttpIsBlocking(session));
  }).join();
}

TEST_F(ReadWriteTest, SessionThatWaitsCannotBeClosedByAnotherThread) {
  const RawServer server([](Connection& connection) {
    connection.ReadRequest();
    connection.WaitForClose();
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_FREETHREAD, 0, 20);
  std::thread reader([&] {
    EXPECT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_CANCELED});
  });
  ASSERT_TRUE(server.WaitForRequests(1));
  // A session also waits while it writes, for a moment.
  ASSERT_TRUE(WaitUntil([&] { return HttpGetStatus(session) == HTTP_STATUS_READ; }));
  EXPECT_TRUE(HttpIsBlocking(session));
  EXPECT_EQ(HttpDisconnect(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
  EXPECT_EQ(HttpCloseFile(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
  EXPECT_FALSE(HttpIsWritable(session, 0));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
  EXPECT_EQ(HttpCancel(session), 0);
  reader.join();
}

TEST_F(ReadWriteTest, DisconnectEndsTheConnection) {
  std::atomic<bool> closed{false};
  const RawServer server([&](Connection& connection) { closed = connection.WaitForClose(); });
  const HCLIENT session = Connect(server.port());
  ASSERT_TRUE(server.WaitForConnections(1));
  HttpSetLastError(QV_ERROR_RESOURCE_NOT_FOUND);
  EXPECT_EQ(HttpDisconnect(session), 0);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_FOUND});  // left as it was
  EXPECT_TRUE(server.WaitForEnds(1));
  EXPECT_TRUE(closed);
}

}  // namespace
}  // namespace test
