#include <gtest/gtest.h>

#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

TEST(SocketOptions, ReadBackWhatWasSet) {
  const struct {
    int level, option;
    DWORD value;
  } kCases[] = {
      {ws2::kLevelSocket, ws2::kOptionKeepAlive, 1},
      {ws2::kLevelSocket, ws2::kOptionSendTimeout, 30000},
      {ws2::kLevelSocket, ws2::kOptionReceiveTimeout, 5000},
      {ws2::kLevelSocket, ws2::kOptionReceiveTimeout, 0},
      {ws2::kLevelTcp, ws2::kOptionTcpNoDelay, 1},
      {ws2::kLevelTcp, ws2::kOptionTcpNoDelay, 0},
  };
  const TestSocket socket;
  for (const auto& each : kCases) {
    EXPECT_EQ(socket.Set(each.level, each.option, each.value), 0) << each.option;
    EXPECT_EQ(socket.Get(each.level, each.option), static_cast<int>(each.value)) << each.option;
  }
  EXPECT_EQ(socket.Get(ws2::kLevelSocket, ws2::kOptionType), ws2::kTypeStream);
  EXPECT_EQ(socket.Get(ws2::kLevelSocket, ws2::kOptionAcceptConn), 0);
}

TEST(SocketOptions, BufferSizesAreAtLeastWhatWasAsked) {
  constexpr int kBeyondTheSystem = 1 << 30;
  for (const int option : {ws2::kOptionSendBuffer, ws2::kOptionReceiveBuffer}) {
    for (const int size : {4096, 131072, 262144, kBeyondTheSystem}) {
      const TestSocket socket;
      EXPECT_EQ(socket.Set(ws2::kLevelSocket, option, static_cast<DWORD>(size)), 0);
      EXPECT_GE(socket.Get(ws2::kLevelSocket, option), size);
    }
  }
  // A new socket does not inherit what was asked of the descriptor's last one.
  const TestSocket fresh;
  EXPECT_LT(fresh.Get(ws2::kLevelSocket, ws2::kOptionReceiveBuffer), kBeyondTheSystem);
}

TEST(SocketOptions, ProtectionLevelIsForIpv6) {
  const TestSocket ipv4;
  EXPECT_EQ(ipv4.Set(ws2::kLevelIpv6, ws2::kOptionIpv6ProtectionLevel, 10), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorNoProtocolOption);
  if (!HasIpv6Loopback()) GTEST_SKIP() << "no IPv6 here";
  const TestSocket ipv6(ws2::kFamilyInet6);
  EXPECT_EQ(ipv6.Set(ws2::kLevelIpv6, ws2::kOptionIpv6ProtectionLevel, 10), 0);
}

TEST(SocketOptions, UnknownOnesAndWrongLengthsAreRefused) {
  const TestSocket socket;
  for (const int level : {ws2::kLevelSocket, ws2::kLevelTcp, ws2::kLevelIpv6, 1}) {
    EXPECT_EQ(socket.Set(level, 0x7777, 1), -1);
    EXPECT_EQ(Api().last_error(), ws2::kErrorNoProtocolOption);
    EXPECT_EQ(socket.Get(level, 0x7777), -1);
    EXPECT_EQ(Api().last_error(), ws2::kErrorNoProtocolOption);
  }
  char value[sizeof(int)] = {};
  EXPECT_EQ(Api().set_option(socket, ws2::kLevelSocket, ws2::kOptionKeepAlive, value, 1), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorFault);
  int length = 2;
  EXPECT_EQ(Api().get_option(socket, ws2::kLevelSocket, ws2::kOptionError, value, &length), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorFault);
}

}  // namespace
}  // namespace test
