#include <vector>

#include "transport/binding_fixture.h"
#include "transport/resolver.h"

namespace qv {
namespace {

constexpr int kForeignFamily = 17;

// A name service that answers by family and remembers what it was asked.
struct NameService {
  int ipv4_failure = 0;
  int ipv6_failure = 0;
  bool foreign_records = false;
  std::vector<int> asked;
  int records = 0;  // not yet given back
};
NameService name_service;

int WINAPI FakeGetAddrInfo(LPCSTR, LPCSTR, const ws2::AddrInfo* hints, ws2::AddrInfo** result) {
  name_service.asked.push_back(hints->family);
  const bool ipv6 = hints->family == ws2::kFamilyInet6;
  if (const int failure = ipv6 ? name_service.ipv6_failure : name_service.ipv4_failure) {
    return failure;
  }
  static ws2::SockAddrIn ipv4_address = {ws2::kFamilyInet, 0, {192, 0, 2, 1}, {}};
  static ws2::SockAddrIn6 ipv6_address = {ws2::kFamilyInet6, 0, 0, {0x20, 0x01, 0x0D, 0xB8}, 0};
  static ws2::AddrInfo record;
  record = {};
  record.family = name_service.foreign_records ? kForeignFamily : hints->family;
  record.address_length = ipv6 ? sizeof(ipv6_address) : sizeof(ipv4_address);
  record.address = ipv6 ? reinterpret_cast<ws2::SockAddr*>(&ipv6_address)
                        : reinterpret_cast<ws2::SockAddr*>(&ipv4_address);
  *result = &record;
  ++name_service.records;
  return 0;
}

void WINAPI FakeFreeAddrInfo(ws2::AddrInfo*) { --name_service.records; }

TEST(ResolverTest, FamiliesAreAskedInOrderOfPreference) {
  constexpr int kNotFound = ws2::kErrorHostNotFound;
  struct Case {
    int requested, ipv4_failure, ipv6_failure;
    std::vector<int> asked;
    int family;  // 0: the error counts
    DWORD error;
  };
  const std::vector<Case> cases = {
      {0, 0, 0, {2}, 2, 0},
      {0, kNotFound, 0, {2, 23}, 23, 0},
      {0, kNotFound, kNotFound, {2, 23}, 0, QV_ERROR_INVALID_HOSTNAME},
      {0, ws2::kErrorTryAgain, 0, {2}, 0, 0x80042AFA},
      {0, kNotFound, ws2::kErrorNoRecovery, {2, 23}, 0, 0x80042AFB},
      {23, 0, 0, {23}, 23, 0},
      {23, 0, kNotFound, {23, 2}, 2, 0},
      {23, 0, ws2::kErrorTryAgain, {23, 2}, 2, 0},
      {23, kNotFound, ws2::kErrorTryAgain, {23, 2}, 0, QV_ERROR_INVALID_HOSTNAME},
      {2, kNotFound, 0, {2}, 0, QV_ERROR_INVALID_HOSTNAME},
  };
  InFreshProcess([&cases] {
    ReplaceFunctions("ws2_32.dll", {{"getaddrinfo", platform::ExportAddress(&FakeGetAddrInfo)},
                                    {"freeaddrinfo", platform::ExportAddress(&FakeFreeAddrInfo)}});
    ASSERT_EQ(StartSockets(), 0u);
    for (std::size_t i = 0; i < cases.size(); ++i) {
      SCOPED_TRACE(i);
      const Case& c = cases[i];
      name_service = {c.ipv4_failure, c.ipv6_failure, false, {}, 0};
      const Result<InternetAddress> address = ResolveHost("host.example", c.requested);
      EXPECT_EQ(name_service.asked, c.asked);
      EXPECT_EQ(address.ok() ? address.value().family : 0, c.family);
      EXPECT_EQ(address.error(), Error(c.error));
      EXPECT_EQ(name_service.records, 0);
      if (!address) continue;
      EXPECT_EQ(AddressToText(c.family, address.value().bytes),
                c.family == ws2::kFamilyInet ? "192.0.2.1" : "2001:db8::");
    }
    name_service = {0, 0, true, {}, 0};
    EXPECT_EQ(ResolveHost("host.example", 0).error(), Error(QV_ERROR_INVALID_ADDRESS));
    EXPECT_EQ(name_service.records, 0);
  });
}

using SystemResolverTest = StartedSocketsTest;

TEST_F(SystemResolverTest, AddressesAndLocalNamesAreFound) {
  struct Case {
    const char* host;
    int requested, family;
    const char* text;
  };
  const Case cases[] = {
      {"127.0.0.1", 0, 2, "127.0.0.1"}, {"127.0.0.1", 23, 2, "127.0.0.1"}, {"::1", 0, 23, "::1"},
      {"::1", 23, 23, "::1"},           {"localhost", 0, 2, "127.0.0.1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.host);
    const Result<InternetAddress> address = ResolveHost(c.host, c.requested);
    ASSERT_TRUE(address) << std::hex << address.error().code();
    EXPECT_EQ(address.value().family, c.family);
    EXPECT_EQ(AddressToText(c.family, address.value().bytes), c.text);
  }
}

TEST_F(SystemResolverTest, EmptyNamesAreRefused) {
  for (const char* host : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(ResolveHost(host, 0).error(), Error(QV_ERROR_INVALID_HOSTNAME));
  }
}

TEST_F(SystemResolverTest, ThisMachineHasAName) {
  char expected[256] = {};
  ASSERT_EQ(::gethostname(expected, sizeof(expected) - 1), 0);
  EXPECT_EQ(LocalHostName(), expected);
}

ws2::HostEnt* WINAPI FakeGetHostByName(LPCSTR name) {
  static char bytes[] = {'\x7F', 0, 0, 2};
  static char* addresses[] = {bytes, nullptr};
  static ws2::HostEnt entry = {nullptr, nullptr, ws2::kFamilyInet, kIpv4AddressBytes, addresses};
  if (std::string_view(name) == "host.example") return &entry;
  RestoreSocketError(ws2::kErrorHostNotFound);
  return nullptr;
}

TEST(ResolverFallbackTest, OnlyIpv4IsFoundByName) {
  InFreshProcess([] {
    ReplaceFunctions("ws2_32.dll",
                     {{"gethostbyname", platform::ExportAddress(&FakeGetHostByName)}});
    platform::testing::HideFunction("ws2_32.dll", "getaddrinfo");
    ASSERT_EQ(StartSockets(), 0u);
    for (const int requested : {0, 23}) {
      for (const char* host : {"127.0.0.2", "host.example"}) {
        const Result<InternetAddress> address = ResolveHost(host, requested);
        ASSERT_TRUE(address) << host;
        EXPECT_EQ(AddressToText(address.value().family, address.value().bytes), "127.0.0.2");
      }
      EXPECT_EQ(ResolveHost("::1", requested).error(), Error(QV_ERROR_PROTOCOL_ADDRESS));
      EXPECT_EQ(ResolveHost("nowhere.example", requested).error(),
                Error(QV_ERROR_INVALID_HOSTNAME));
    }
  });
}

TEST(ResolverFallbackTest, WithoutAnyLookupAddressesAreRead) {
  InFreshProcess([] {
    platform::testing::HideFunction("ws2_32.dll", "getaddrinfo");
    platform::testing::HideFunction("ws2_32.dll", "gethostbyname");
    ASSERT_EQ(StartSockets(), 0u);
    EXPECT_TRUE(ResolveHost("127.0.0.2", 0));
    EXPECT_EQ(ResolveHost("host.example", 0).error(), Error(QV_ERROR_NETWORK_NOT_INITIALIZED));
  });
}

}  // namespace
}  // namespace qv
