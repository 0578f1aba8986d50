#include "platform/module.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

TEST(SocketModule, FunctionsCanBeMissing) {
  platform::testing::HideFunction("ws2_32.dll", "getaddrinfo");
  EXPECT_EQ(Ws2<ws2::GetAddrInfoFn>("getaddrinfo"), nullptr);
  EXPECT_NE(Ws2<ws2::FreeAddrInfoFn>("freeaddrinfo"), nullptr);
  platform::testing::Restore();
  EXPECT_NE(Ws2<ws2::GetAddrInfoFn>("getaddrinfo"), nullptr);
}

TEST(SocketModule, StartsAreCounted) {
  const auto start = Ws2<ws2::StartupFn>("WSAStartup");
  const auto stop = Ws2<ws2::CleanupFn>("WSACleanup");
  ws2::WsaData data{};
  const struct {
    WORD asked, agreed;  // the major version is the low byte
  } kVersions[] = {{0x0202, 0x0202}, {0x0101, 0x0101}, {0x0301, 0x0301}, {0x0003, 0x0202}};
  for (const auto& each : kVersions) {
    EXPECT_EQ(start(each.asked, &data), 0);
    EXPECT_EQ(data.version, each.agreed);
    EXPECT_EQ(data.high_version, 0x0202);
  }
  EXPECT_EQ(start(0x0200, &data), ws2::kErrorVersionNotSupported);
  for ([[maybe_unused]] const auto& each : kVersions) EXPECT_EQ(stop(), 0);
  EXPECT_EQ(stop(), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorNotInitialised);
}

TEST(SocketModule, ErrorIsTheThreadsPlatformError) {
  Api().set_last_error(ws2::kErrorRefused);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ws2::kErrorRefused));
  SetLastError(ERROR_ACCESS_DENIED);
  EXPECT_EQ(Api().last_error(), static_cast<int>(ERROR_ACCESS_DENIED));
}

TEST(SocketModule, ListsItsProtocols) {
  const auto enumerate = Ws2<ws2::EnumProtocolsFn>("WSAEnumProtocolsA");
  DWORD length = 0;
  EXPECT_EQ(enumerate(nullptr, nullptr, &length), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorNoBuffers);
  const std::size_t all = length / sizeof(ws2::ProtocolInfo);
  EXPECT_EQ(all, HasIpv6Loopback() ? 4u : 2u);

  int tcp[] = {ws2::kProtocolTcp, 0};
  std::vector<ws2::ProtocolInfo> records(all);
  length = static_cast<DWORD>(records.size() * sizeof(ws2::ProtocolInfo));
  ASSERT_EQ(enumerate(tcp, records.data(), &length), static_cast<int>(all / 2));
  for (std::size_t i = 0; i < all / 2; ++i) {
    EXPECT_EQ(records[i].family, i == 0 ? ws2::kFamilyInet : ws2::kFamilyInet6);
    EXPECT_EQ(records[i].type, ws2::kTypeStream);
    EXPECT_EQ(records[i].protocol, ws2::kProtocolTcp);
  }
  int unknown[] = {99, 0};
  EXPECT_EQ(enumerate(unknown, records.data(), &length), 0);
}

}  // namespace
}  // namespace test
