// The scripted server does to a plain socket what its script says.
#include "support/raw_server.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>

namespace test {
namespace {

using Exchange = RawServer::Exchange;
using How = RawServer::How;

constexpr const char* kGet = "GET / HTTP/1.1\r\nHost: test\r\n\r\n";

void SendAll(const UniqueFd& socket, std::string_view bytes) {
  ASSERT_EQ(send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
}

struct Received {
  std::string bytes;
  std::size_t reads = 0;
  int error = 0;  // errno of the last read; 0 when it found the end or enough
};

Received Receive(const UniqueFd& socket, std::size_t enough = SIZE_MAX) {
  const timeval patience{20, 0};
  setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  Received result;
  char block[4096];
  while (result.bytes.size() < enough) {
    const ssize_t count = recv(socket.get(), block, sizeof(block), 0);
    if (count < 0) result.error = errno;
    if (count <= 0) break;
    result.bytes.append(block, static_cast<std::size_t>(count));
    ++result.reads;
  }
  return result;
}

TEST(RawServer, EndsEachReplyAsTold) {
  const std::string reply = Response("200 OK", {"X-Test: 1"}, "body");
  struct Case {
    const char* name;
    Exchange exchange;
    int error;
  };
  const Case cases[] = {
      {"whole, then the next request ends it", {.reply = reply}, 0},
      {"bytewise", {.reply = reply, .how = How::kBytewise, .close_after = true}, 0},
      {"drip", {.reply = reply, .how = How::kDrip, .close_after = true, .piece = 10}, 0},
      {"reset", {.reply = reply, .how = How::kReset}, ECONNRESET},
      {"close", {.reply = reply, .how = How::kClose}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RawServer server(RawServer::Script{{c.exchange}});
    const UniqueFd client = ConnectLoopback(server.port());
    SendAll(client, kGet);
    Received received = Receive(client, reply.size());
    EXPECT_EQ(received.bytes, reply);
    if (c.exchange.how == How::kWhole) SendAll(client, kGet);
    EXPECT_EQ(Receive(client).error, c.error);
    EXPECT_TRUE(server.WaitForEnds(1));
    EXPECT_EQ(server.requests().front(), kGet);
  }
}

TEST(RawServer, RecordsRequestsBodiesAndFragments) {
  RawServer server(OneConnection({Response("200 OK", {}, "a"), Response("200 OK", {}, "b")}));
  const std::string put = "PUT /x HTTP/1.1\r\ncontent-length: 4\r\n\r\nwxyz";
  UniqueFd client = ConnectLoopback(server.port());
  SendAll(client, put + kGet);  // at once: the second must not be lost
  const std::string replies = Response("200 OK", {}, "a") + Response("200 OK", {}, "b");
  EXPECT_EQ(Receive(client, replies.size()).bytes, replies);
  SendAll(client, put.substr(0, put.size() - 1));
  client.Reset();
  ASSERT_TRUE(server.WaitForEnds(1));
  EXPECT_EQ(server.requests(), (std::vector<std::string>{put, kGet}));
  EXPECT_EQ(server.fragments(), std::vector<std::string>{put.substr(0, put.size() - 1)});
  EXPECT_EQ(BodyOf(server.requests(0)[0]), "wxyz");
  EXPECT_EQ(HeaderOf(server.requests(0)[1], "HOST"), "test");
  EXPECT_EQ(HeaderOf(server.requests(0)[1], "Content-Length"), std::nullopt);
  EXPECT_EQ(FirstLineOf(put), "PUT /x HTTP/1.1");
}

TEST(RawServer, DestructionEndsWhatStillRuns) {
  UniqueFd stalled, silent, flooded;
  {
    RawServer server([](Connection& connection) {
      if (connection.index() == 0) connection.ReadRequest();
      if (connection.index() == 1) connection.WaitForClose();
      // More than the buffers of both sides hold.
      if (connection.index() == 2) connection.Send(std::string(64 << 20, 'x'));
    });
    silent = ConnectLoopback(server.port());
    stalled = ConnectLoopback(server.port());
    flooded = ConnectLoopback(server.port());
    ASSERT_TRUE(server.WaitForConnections(3));
  }
  EXPECT_EQ(Receive(silent).bytes, "");
  EXPECT_EQ(Receive(stalled).bytes, "");
}

TEST(RawServer, SpeaksFirstAndRefusesAfterStopListening) {
  RawServer server(RawServer::Script{{{.reply = "HTTP/1.1 408 Request Timeout\r\n\r\n",
                                       .close_after = true,
                                       .before_request = true}}});
  const UniqueFd client = ConnectLoopback(server.port());
  EXPECT_EQ(Receive(client).bytes, "HTTP/1.1 408 Request Timeout\r\n\r\n");
  server.StopListening();
  EXPECT_THROW(ConnectLoopback(server.port()), std::system_error);
  EXPECT_EQ(server.connections(), 1u);
}

TEST(RawServer, ServesIpv6) {
  if (!HasIpv6Loopback()) GTEST_SKIP() << "no IPv6 loopback address";
  RawServer server(ConnectionForEach({"x"}), Family::kIpv6);
  const UniqueFd client = ConnectLoopback(server.port(), Family::kIpv6);
  SendAll(client, kGet);
  EXPECT_EQ(Receive(client).bytes, "x");
}

TEST(Loopback, PortsThatRefuseOrStaySilent) {
  const RefusingPort refusing;
  EXPECT_THROW(ConnectLoopback(refusing.port()), std::system_error);

  const SilentPort silent;
  const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(silent.port());
  EXPECT_EQ(connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), -1);
  EXPECT_EQ(errno, EINPROGRESS);
  EXPECT_FALSE(WaitUntil(
      [&] {
        sockaddr_in peer{};
        socklen_t length = sizeof(peer);
        return getpeername(socket.get(), reinterpret_cast<sockaddr*>(&peer), &length) == 0;
      },
      std::chrono::milliseconds(200)));
}

TEST(Messages, ChunkedBodies) {
  EXPECT_EQ(Chunked({"abc", "", std::string(16, 'z')}, {"X-Sum: 1"}),
            "3\r\nabc\r\n10\r\nzzzzzzzzzzzzzzzz\r\n0\r\nX-Sum: 1\r\n\r\n");
  EXPECT_EQ(ChunkedResponse("HTTP/1.0 203 Odd", {"A: b"}, {}),
            "HTTP/1.0 203 Odd\r\nA: b\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
}

}  // namespace
}  // namespace test
