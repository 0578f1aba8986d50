#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

using AddressList = std::unique_ptr<ws2::AddrInfo, ws2::FreeAddrInfoFn>;

struct LookUpResult {
  int error;
  AddressList list;
};

LookUpResult LookUp(LPCSTR name, int family, int flags = 0, LPCSTR service = nullptr) {
  ws2::AddrInfo hints{};
  hints.family = family;
  hints.flags = flags;
  hints.type = ws2::kTypeStream;
  ws2::AddrInfo* list = nullptr;
  const int error = Ws2<ws2::GetAddrInfoFn>("getaddrinfo")(name, service, &hints, &list);
  return {error, AddressList(list, Ws2<ws2::FreeAddrInfoFn>("freeaddrinfo"))};
}

std::string TextOf(const ws2::SockAddr& address, SIZE_T length) {
  char host[64] = {};
  const int error = Ws2<ws2::GetNameInfoFn>("getnameinfo")(
      &address, static_cast<int>(length), host, sizeof(host), nullptr, 0, ws2::kNiNumericHost);
  return error == 0 ? host : "error " + std::to_string(error);
}

TEST(Names, LiteralAddressesAreResolvedAndWrittenBack) {
  const struct {
    const char* name;
    int asked, family;
    SIZE_T length;
  } kCases[] = {
      {"127.0.0.1", ws2::kFamilyInet, ws2::kFamilyInet, sizeof(ws2::SockAddrIn)},
      {"192.0.2.77", ws2::kFamilyUnspecified, ws2::kFamilyInet, sizeof(ws2::SockAddrIn)},
      {"::1", ws2::kFamilyInet6, ws2::kFamilyInet6, sizeof(ws2::SockAddrIn6)},
      {"2001:db8::7", ws2::kFamilyUnspecified, ws2::kFamilyInet6, sizeof(ws2::SockAddrIn6)},
  };
  for (const auto& each : kCases) {
    const LookUpResult found = LookUp(each.name, each.asked, ws2::kAiNumericHost, "8080");
    ASSERT_EQ(found.error, 0) << each.name;
    EXPECT_EQ(found.list->family, each.family) << each.name;
    EXPECT_EQ(found.list->address->family, each.family) << each.name;
    EXPECT_EQ(found.list->type, ws2::kTypeStream);
    EXPECT_EQ(found.list->address_length, each.length);
    EXPECT_EQ(found.list->next, nullptr);
    EXPECT_EQ(reinterpret_cast<const ws2::SockAddrIn*>(found.list->address)->port, htons(8080));
    EXPECT_EQ(TextOf(*found.list->address, found.list->address_length), each.name);
  }
}

TEST(Names, LocalhostIsTheLoopbackAddress) {
  const LookUpResult found = LookUp("localhost", ws2::kFamilyInet, ws2::kAiCanonName);
  ASSERT_EQ(found.error, 0);
  EXPECT_EQ(TextOf(*found.list->address, found.list->address_length), "127.0.0.1");
  EXPECT_NE(found.list->canonical_name, nullptr);
}

TEST(Names, FailuresHaveTheirNumbers) {
  const struct {
    const char* name;
    int family, flags, error;
  } kCases[] = {
      {"does-not-exist.invalid", ws2::kFamilyUnspecified, 0, ws2::kErrorHostNotFound},
      {"DOES-NOT-EXIST.INVALID.", ws2::kFamilyInet, 0, ws2::kErrorHostNotFound},
      {"invalid", ws2::kFamilyInet6, 0, ws2::kErrorHostNotFound},
      {"localhost", ws2::kFamilyInet, ws2::kAiNumericHost, ws2::kErrorHostNotFound},
      // Another family is worth asking for.
      {"::1", ws2::kFamilyInet, 0, ws2::kErrorHostNotFound},
      {"127.0.0.1", 10, 0, ws2::kErrorAddressFamily},
  };
  for (const auto& each : kCases) {
    Api().set_last_error(0);
    const LookUpResult found = LookUp(each.name, each.family, each.flags);
    EXPECT_EQ(found.error, each.error) << each.name;
    EXPECT_EQ(Api().last_error(), each.error) << each.name;
    EXPECT_EQ(found.list, nullptr);
  }
}

TEST(Names, HostByName) {
  const auto host_by_name = Ws2<ws2::GetHostByNameFn>("gethostbyname");
  for (const char* name : {"192.0.2.1", "localhost"}) {
    const ws2::HostEnt* host = host_by_name(name);
    ASSERT_NE(host, nullptr) << name;
    EXPECT_STREQ(host->name, name);
    EXPECT_EQ(host->address_type, ws2::kFamilyInet);
    ASSERT_EQ(host->address_length, 4);
    const BYTE expected[] = {static_cast<BYTE>(name[0] == '1' ? 192 : 127), 0,
                             static_cast<BYTE>(name[0] == '1' ? 2 : 0), 1};
    EXPECT_EQ(std::memcmp(host->addresses[0], expected, sizeof(expected)), 0);
    EXPECT_EQ(host->aliases[0], nullptr);
  }
  EXPECT_EQ(host_by_name("nobody.invalid"), nullptr);
  EXPECT_EQ(Api().last_error(), ws2::kErrorHostNotFound);
}

TEST(Names, ThisMachineHasOne) {
  const auto host_name = Ws2<ws2::GetHostNameFn>("gethostname");
  char name[256] = {};
  EXPECT_EQ(host_name(name, sizeof(name)), 0);
  EXPECT_GT(std::strlen(name), 0u);
  EXPECT_EQ(host_name(name, 1), -1);
  EXPECT_EQ(Api().last_error(), ws2::kErrorFault);
}

TEST(Addresses, TextRoundTrips) {
  const struct {
    int family;
    const char *text, *canonical;
  } kCases[] = {
      {ws2::kFamilyInet, "10.0.0.1", "10.0.0.1"},
      {ws2::kFamilyInet, "255.255.255.255", "255.255.255.255"},
      {ws2::kFamilyInet6, "::1", "::1"},
      {ws2::kFamilyInet6, "2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
      {ws2::kFamilyInet6, "::ffff:1.2.3.4", "::ffff:1.2.3.4"},
  };
  const auto from_text = Ws2<ws2::InetPtonFn>("inet_pton");
  const auto to_text = Ws2<ws2::InetNtopFn>("inet_ntop");
  for (const auto& each : kCases) {
    BYTE address[16] = {};
    char text[46] = {};
    EXPECT_EQ(from_text(each.family, each.text, address), 1) << each.text;
    EXPECT_EQ(to_text(each.family, address, text, sizeof(text)), text);
    EXPECT_STREQ(text, each.canonical);
  }
}

TEST(Addresses, WhatIsNoAddressIsRefused) {
  const auto from_text = Ws2<ws2::InetPtonFn>("inet_pton");
  const auto to_text = Ws2<ws2::InetNtopFn>("inet_ntop");
  BYTE address[16] = {};
  for (const char* text : {"", "1.2.3", "1.2.3.256", "::1", "host", "1.2.3.4 "}) {
    EXPECT_EQ(from_text(ws2::kFamilyInet, text, address), 0) << text;
  }
  char text[46];
  for (const int family : {0, 10, 99}) {  // 10 is the system's number of IPv6
    EXPECT_EQ(from_text(family, "::1", address), -1);
    EXPECT_EQ(Api().last_error(), ws2::kErrorAddressFamily);
    EXPECT_EQ(to_text(family, address, text, sizeof(text)), nullptr);
    EXPECT_EQ(Api().last_error(), ws2::kErrorAddressFamily);
  }
  EXPECT_EQ(to_text(ws2::kFamilyInet, address, text, 3), nullptr);
}

TEST(Addresses, NumbersAreInNetworkOrder) {
  EXPECT_EQ(Ws2<ws2::HtonsFn>("htons")(0x1234), htons(0x1234));
  const ULONG address = Ws2<ws2::HtonlFn>("htonl")(0x7F000001);
  EXPECT_STREQ(Ws2<ws2::InetNtoaFn>("inet_ntoa")(address), "127.0.0.1");
}

}  // namespace
}  // namespace test
