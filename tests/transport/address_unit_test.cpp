#include <array>

#include "transport/address.h"
#include "transport/binding_fixture.h"
#include "transport/dotted_address.h"

namespace qv {
namespace {

using Bytes = std::array<BYTE, kIpv6AddressBytes>;

constexpr Bytes kIpv6Loopback = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr Bytes kIpv4Sample = {192, 0, 2, 33};

// Holds in every mode of operation.
void ExpectIpv4Conversion() {
  Bytes bytes = {};
  EXPECT_EQ(AddressFromText(ws2::kFamilyInet, "192.0.2.33", bytes.data()), 1);
  EXPECT_EQ(bytes, kIpv4Sample);
  for (const char* text : {"", "a.b.c.d", "1.2.3.4.5", "300.1.1.1", "host.example", "::1"}) {
    EXPECT_EQ(AddressFromText(ws2::kFamilyInet, text, bytes.data()), 0) << text;
  }
  EXPECT_EQ(AddressToText(ws2::kFamilyInet, kIpv4Sample.data()), "192.0.2.33");

  EXPECT_EQ(AddressFromText(ws2::kFamilyInet, nullptr, bytes.data()), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorInvalid);
  EXPECT_EQ(AddressFromText(ws2::kFamilyInet, "192.0.2.33", nullptr), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorInvalid);
  constexpr int kUnknownFamily = 17;
  EXPECT_EQ(AddressFromText(kUnknownFamily, "192.0.2.33", bytes.data()), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorAddressFamily);
  EXPECT_FALSE(AddressToText(kUnknownFamily, kIpv4Sample.data()));
  EXPECT_EQ(LastSocketError(), ws2::kErrorInvalid);
}

void ExpectIpv6Conversion() {
  Bytes bytes = {};
  EXPECT_EQ(AddressFromText(ws2::kFamilyInet6, "0:0::1", bytes.data()), 1);
  EXPECT_EQ(bytes, kIpv6Loopback);
  EXPECT_EQ(AddressFromText(ws2::kFamilyInet6, "1:2:3", bytes.data()), 0);
  EXPECT_EQ(AddressFromText(ws2::kFamilyInet6, "192.0.2.33", bytes.data()), 0);
  EXPECT_EQ(AddressToText(ws2::kFamilyInet6, kIpv6Loopback.data()), "::1");
}

using AddressTest = StartedSocketsTest;

TEST_F(AddressTest, TextIsConverted) {
  ExpectIpv4Conversion();
  ExpectIpv6Conversion();
}

TEST(AddressFallbackTest, NumericLookupStandsInForTheConversionFunctions) {
  InFreshProcess([] {
    platform::testing::HideFunction("ws2_32.dll", "inet_pton");
    platform::testing::HideFunction("ws2_32.dll", "inet_ntop");
    ASSERT_EQ(StartSockets(), 0u);
    ExpectIpv4Conversion();
    ExpectIpv6Conversion();
  });
}

TEST(AddressFallbackTest, WithoutNameLookupOnlyIpv4IsKnown) {
  for (const bool hide_text_function : {false, true}) {
    InFreshProcess([hide_text_function] {
      platform::testing::HideFunction("ws2_32.dll", "getaddrinfo");
      if (hide_text_function) platform::testing::HideFunction("ws2_32.dll", "inet_ntoa");
      ASSERT_EQ(StartSockets(), 0u);
      ExpectIpv4Conversion();
      Bytes bytes = {};
      EXPECT_EQ(AddressFromText(ws2::kFamilyInet6, "::1", bytes.data()), -1);
      EXPECT_EQ(LastSocketError(), ws2::kErrorAddressFamily);
      EXPECT_FALSE(AddressToText(ws2::kFamilyInet6, kIpv6Loopback.data()));
      EXPECT_EQ(LastSocketError(), ws2::kErrorAddressFamily);
    });
  }
}

TEST(DottedAddressTest, ClassicFormsAreRead) {
  struct Case {
    const char* text;
    std::array<BYTE, kIpv4AddressBytes> bytes;
  };
  const Case cases[] = {
      {"0", {0, 0, 0, 0}},
      {"4294967295", {255, 255, 255, 255}},
      {"0x7F000001", {127, 0, 0, 1}},
      {"127.1", {127, 0, 0, 1}},
      {"10.0xFFFFFF", {10, 255, 255, 255}},
      {"10.1.65535", {10, 1, 255, 255}},
      {"10.1.2.255", {10, 1, 2, 255}},
      {"010.08.0X1f.1", {10, 8, 31, 1}},
      {"10.0.0.1 host", {10, 0, 0, 1}},
      {"10.0.0.1\t", {10, 0, 0, 1}},
      {"10.0.0.1\r\n", {10, 0, 0, 1}},
  };
  for (const Case& c : cases) {
    std::array<BYTE, kIpv4AddressBytes> bytes = {};
    EXPECT_TRUE(ParseDottedAddress(c.text, bytes.data())) << c.text;
    EXPECT_EQ(bytes, c.bytes) << c.text;
  }
  for (const char* text : {"",
                           ".",
                           "1.",
                           "1..2",
                           ".1",
                           "0x",
                           "0x.1",
                           "4294967296",
                           "99999999999999999999999",
                           "10.16777216",
                           "10.1.65536",
                           "10.1.2.256",
                           "256.1",
                           "1.2.3.4.",
                           "1.2.3.4.5",
                           "1.2.3.4x",
                           "1.2a",
                           " 1.2.3.4",
                           "-1",
                           "1.2.3.4\v"}) {
    std::array<BYTE, kIpv4AddressBytes> bytes = {9, 9, 9, 9};
    EXPECT_FALSE(ParseDottedAddress(text, bytes.data())) << text;
    EXPECT_EQ(bytes[0], 9) << text;
  }
}

std::string BytesOf(const SocketAddress& address) {
  return {reinterpret_cast<const char*>(address.get()), static_cast<std::size_t>(address.length())};
}

TEST(SocketAddressTest, HasTheFormOfItsFamily) {
  InternetAddress address;
  std::memcpy(address.bytes, kIpv4Sample.data(), kIpv4AddressBytes);
  address.family = ws2::kFamilyInet;
  Result<SocketAddress> built = BuildSocketAddress(address, 443);
  ASSERT_TRUE(built);
  EXPECT_EQ(BytesOf(*built), std::string("\x02\0\x01\xBB\xC0\0\x02\x21\0\0\0\0\0\0\0\0", 16));

  address.family = ws2::kFamilyInet6;
  std::memcpy(address.bytes, kIpv6Loopback.data(), kIpv6AddressBytes);
  built = BuildSocketAddress(address, 65535);
  ASSERT_TRUE(built);
  EXPECT_EQ(BytesOf(*built),
            std::string("\x17\0\xFF\xFF", 4) + std::string(19, '\0') + '\1' + std::string(4, '\0'));
}

TEST(SocketAddressTest, ForeignFamiliesAndPortsAreRefused) {
  InternetAddress address;
  EXPECT_EQ(BuildSocketAddress(address, 80).error(), Error(QV_ERROR_PROTOCOL_FAMILY));
  address.family = ws2::kFamilyInet;
  EXPECT_EQ(BuildSocketAddress(address, 65536).error(), Error(QV_ERROR_INVALID_SERVICE_PORT));
}

}  // namespace
}  // namespace qv
