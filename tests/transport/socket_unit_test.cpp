#include <string>
#include <tuple>
#include <vector>

#include "transport/binding_fixture.h"
#include "transport/socket.h"

namespace qv {
namespace {

constexpr ws2::TimeVal kNoTime = {0, 0};
constexpr ws2::TimeVal kLongTime = {30, 0};

class SocketTest : public StartedSocketsTest {
 protected:
  void SetUp() override {
    StartedSocketsTest::SetUp();
    socket_ = CreateStreamSocket(ws2::kFamilyInet, ws2::kProtocolTcp);
    ASSERT_NE(socket_, ws2::kInvalidSocket);
  }
  void TearDown() override {
    if (socket_ != ws2::kInvalidSocket) {
      EXPECT_EQ(CloseSocket(socket_), 0);
    }
    StartedSocketsTest::TearDown();
  }

  void Connect() {
    port_.Listen();
    ASSERT_EQ(ConnectSocket(socket_, port_.address()), 0) << LastSocketError();
    ASSERT_GE(peer_ = port_.Accept(), 0);
  }

  LoopbackPort port_;
  ws2::Socket socket_ = ws2::kInvalidSocket;
  int peer_ = -1;
};

TEST_F(SocketTest, BytesTravelBothWays) {
  Connect();
  ASSERT_EQ(SetNoDelay(socket_), 0);
  EXPECT_EQ(WaitSocket(socket_, ReadyFor::kRead, &kNoTime).count, 0);
  EXPECT_EQ(WaitSocket(socket_, ReadyFor::kWrite, &kNoTime).count, 1);

  ASSERT_EQ(SendBytes(socket_, "ping", 4), 4);
  char received[8] = {};
  ASSERT_EQ(::recv(peer_, received, 4, MSG_WAITALL), 4);
  EXPECT_STREQ(received, "ping");

  ASSERT_EQ(::send(peer_, "answer", 6, 0), 6);
  EXPECT_EQ(WaitSocket(socket_, ReadyFor::kRead, nullptr).count, 1);
  DWORD readable = 0;
  EXPECT_EQ(BytesReadable(socket_, &readable), 0);
  EXPECT_EQ(readable, 6u);
  EXPECT_EQ(ReceiveBytes(socket_, received, sizeof(received)), 6);

  port_.ClosePeer();
  EXPECT_EQ(WaitSocket(socket_, ReadyFor::kRead, &kLongTime).count, 1);
  EXPECT_EQ(ReceiveBytes(socket_, received, sizeof(received)), 0);
}

TEST_F(SocketTest, CallsThatCannotMoveBytesEnd) {
  Connect();
  ASSERT_EQ(SetBlocking(socket_, false), 0);
  char byte;
  EXPECT_EQ(ReceiveBytes(socket_, &byte, 1), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorWouldBlock);

  ASSERT_EQ(SetBlocking(socket_, true), 0);
  ASSERT_EQ(SetReceiveTimeout(socket_, 20), 0);
  EXPECT_EQ(ReceiveBytes(socket_, &byte, 1), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorTimedOut);

  ASSERT_EQ(SetSendTimeout(socket_, 20), 0);
  const std::vector<char> block(1 << 20);
  int sent = 0;
  while ((sent = SendBytes(socket_, block.data(), static_cast<int>(block.size()))) > 0) continue;
  EXPECT_EQ(sent, -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorTimedOut);
}

TEST_F(SocketTest, BlockingConnectReportsTheRefusal) {
  EXPECT_EQ(ConnectSocket(socket_, port_.address()), -1);
  EXPECT_EQ(SocketError(), Error(QV_ERROR_CONNECTION_REFUSED));
}

TEST_F(SocketTest, BackgroundConnectEndsInAnExceptionWhenRefused) {
  ASSERT_EQ(SetBlocking(socket_, false), 0);
  ASSERT_EQ(ConnectSocket(socket_, port_.address()), -1);
  if (LastSocketError() != ws2::kErrorRefused) {  // which loopback may know at once
    ASSERT_EQ(LastSocketError(), ws2::kErrorWouldBlock);
    const ReadyResult ready = WaitSocket(socket_, ReadyFor::kConnect, &kLongTime);
    EXPECT_GE(ready.count, 1);
    EXPECT_TRUE(ready.exception);
    const int pending = PendingError(socket_);
    EXPECT_TRUE(pending == ws2::kErrorRefused || pending == 0) << pending;
  }
}

TEST_F(SocketTest, BackgroundConnectEndsWritable) {
  port_.Listen();
  ASSERT_EQ(SetBlocking(socket_, false), 0);
  if (ConnectSocket(socket_, port_.address()) != 0) {
    ASSERT_EQ(LastSocketError(), ws2::kErrorWouldBlock);
  }
  const ReadyResult ready = WaitSocket(socket_, ReadyFor::kConnect, &kLongTime);
  EXPECT_EQ(ready.count, 1);
  EXPECT_FALSE(ready.exception);
  EXPECT_EQ(PendingError(socket_), 0);
}

// ---- What is asked of the socket interface ----

std::vector<std::tuple<int, int, int>> options_set;  // level, option, value
bool socket_listens = false;
int shutdowns = 0;

int WINAPI FakeSetSockOpt(ws2::Socket, int level, int option, LPCSTR value, int length) {
  int number = 0;
  EXPECT_EQ(length, static_cast<int>(sizeof(number)));
  std::memcpy(&number, value, sizeof(number));
  options_set.emplace_back(level, option, number);
  return -1;
}

ws2::Socket WINAPI FakeSocket(int, int, int) { return 8; }

int WINAPI FakeGetSockOpt(ws2::Socket, int, int option, LPSTR value, int*) {
  EXPECT_EQ(option, ws2::kOptionAcceptConn);
  const int number = socket_listens ? 1 : 0;
  std::memcpy(value, &number, sizeof(number));
  return 0;
}

int WINAPI FakeShutdown(ws2::Socket, int how) {
  EXPECT_EQ(how, ws2::kShutdownSend);
  ++shutdowns;
  return -1;
}

int WINAPI FakeCloseSocket(ws2::Socket) { return 0; }

TEST(SocketOptionsTest, NewSocketsGetLargeBuffersWherePossible) {
  InFreshProcess([] {
    ReplaceFunctions("ws2_32.dll", {{"socket", platform::ExportAddress(&FakeSocket)},
                                    {"setsockopt", platform::ExportAddress(&FakeSetSockOpt)}});
    ASSERT_EQ(StartSockets(), 0u);
    using Options = std::vector<std::tuple<int, int, int>>;
    const Options ipv4 = {{0xFFFF, 0x1001, 131072}, {0xFFFF, 0x1002, 262144}};
    Options ipv6 = ipv4;
    ipv6.insert(ipv6.begin(), {41, 23, 10});
    EXPECT_EQ(CreateStreamSocket(ws2::kFamilyInet, ws2::kProtocolTcp), ws2::Socket{8});
    EXPECT_EQ(options_set, ipv4);
    options_set.clear();
    EXPECT_EQ(CreateStreamSocket(ws2::kFamilyInet6, ws2::kProtocolDefault), ws2::Socket{8});
    EXPECT_EQ(options_set, ipv6);
  });
}

TEST(SocketCloseTest, SendingEndsFirstUnlessTheSocketListens) {
  InFreshProcess([] {
    ReplaceFunctions("ws2_32.dll", {{"getsockopt", platform::ExportAddress(&FakeGetSockOpt)},
                                    {"shutdown", platform::ExportAddress(&FakeShutdown)},
                                    {"closesocket", platform::ExportAddress(&FakeCloseSocket)}});
    ASSERT_EQ(StartSockets(), 0u);
    EXPECT_EQ(CloseSocket(8), 0);
    EXPECT_EQ(shutdowns, 1);
    socket_listens = true;
    EXPECT_EQ(CloseSocket(8), 0);
    EXPECT_EQ(shutdowns, 1);
  });
}

}  // namespace
}  // namespace qv
