#include <cstdint>

#include "platform/ntdll.h"
#include "transport/binding_fixture.h"
#include "transport/os_version.h"
#include "transport/resolver.h"
#include "transport/socket.h"
#include "transport/socket_binding.h"

namespace qv {
namespace {

// Every call that needs an entry point of its own.
struct Call {
  const char* function;
  std::int64_t (*run)();
};
const Call kCalls[] = {
    {"socket", [] { return static_cast<std::int64_t>(CreateStreamSocket(2, 6)); }},
    {"setsockopt", [] { return static_cast<std::int64_t>(CreateStreamSocket(2, 6)); }},
    {"setsockopt", [] { return std::int64_t{SetNoDelay(0)}; }},
    {"connect", [] { return std::int64_t{ConnectSocket(0, SocketAddress())}; }},
    {"closesocket", [] { return std::int64_t{CloseSocket(0)}; }},
    {"shutdown", [] { return std::int64_t{ShutdownSocket(0, ws2::kShutdownBoth)}; }},
    {"ioctlsocket", [] { return std::int64_t{SetBlocking(0, true)}; }},
    {"ioctlsocket",
     [] {
       DWORD count = 0;
       return std::int64_t{BytesReadable(0, &count)};
     }},
    {"getsockopt", [] { return std::int64_t{PendingError(0)}; }},
    {"select", [] { return std::int64_t{WaitSocket(0, ReadyFor::kRead, nullptr).count}; }},
    {"send", [] { return std::int64_t{SendBytes(0, "", 0)}; }},
    {"recv",
     [] {
       char byte;
       return std::int64_t{ReceiveBytes(0, &byte, 1)};
     }},
    {"gethostname", [] { return std::int64_t{LocalHostName().has_value() ? 0 : -1}; }},
    {"WSAAsyncSelect", [] { return std::int64_t{RequestNotifications(0, nullptr, 0, 0)}; }},
    {"WSAEnumProtocolsA", [] { return std::int64_t{Ipv6Available() ? 1 : -1}; }},
};

void ExpectNotInitialized(const Call& call) {
  SCOPED_TRACE(call.function);
  RestoreSocketError(0);
  EXPECT_EQ(call.run(), -1);
  EXPECT_EQ(LastSocketError(), ws2::kErrorNotInitialised);
  EXPECT_EQ(SocketError(), Error(QV_ERROR_NETWORK_NOT_INITIALIZED));
}

TEST(SocketBindingTest, NothingWorksBeforeTheFirstStart) {
  InFreshProcess([] {
    for (const Call& call : kCalls) ExpectNotInitialized(call);
    EXPECT_EQ(StopSockets(), -1);
    EXPECT_EQ(LastSocketError(), ws2::kErrorNotInitialised);
    EXPECT_FALSE(IdnAvailable());
  });
}

TEST(SocketBindingTest, MissingFunctionsFailAlone) {
  InFreshProcess([] {
    for (const Call& call : kCalls) platform::testing::HideFunction("ws2_32.dll", call.function);
    ASSERT_EQ(StartSockets(), 0u);
    for (const Call& call : kCalls) ExpectNotInitialized(call);
    EXPECT_TRUE(ResolveHost("127.0.0.1", 0));
    EXPECT_EQ(StopSockets(), 0);
  });
}

TEST(SocketBindingTest, MissingInterfaceFailsTheStart) {
  const std::function<void()> preparations[] = {
      [] { platform::testing::HideModule("ws2_32.dll"); },
      [] { platform::testing::HideFunction("ws2_32.dll", "WSAStartup"); },
      [] { platform::testing::HideFunction("ws2_32.dll", "WSACleanup"); },
  };
  for (const auto& prepare : preparations) {
    InFreshProcess([&prepare] {
      prepare();
      EXPECT_EQ(StartSockets(), DWORD{ws2::kErrorSystemNotReady});
      EXPECT_EQ(SocketError(), Error(QV_ERROR_NETWORK_NOT_READY));
      EXPECT_EQ(StopSockets(), -1);
      EXPECT_EQ(LastSocketError(), ws2::kErrorNotInitialised);
    });
  }
}

int starts = 0;
int cleanups = 0;
int startup_result = 0;

int WINAPI FakeStartup(WORD version, ws2::WsaData* data) {
  EXPECT_EQ(version, 0x0202);
  EXPECT_NE(data, nullptr);
  ++starts;
  return startup_result;
}

int WINAPI FakeCleanup() {
  ++cleanups;
  return 0;
}

TEST(SocketBindingTest, StartsAndStopsAreCounted) {
  InFreshProcess([] {
    ReplaceFunctions("ws2_32.dll", {{"WSAStartup", platform::ExportAddress(&FakeStartup)},
                                    {"WSACleanup", platform::ExportAddress(&FakeCleanup)}});
    ASSERT_EQ(StartSockets(), 0u);
    RestoreSocketError(ws2::kErrorTimedOut);
    ASSERT_EQ(StartSockets(), 0u);
    EXPECT_EQ(LastSocketError(), 0);
    EXPECT_EQ(StopSockets(), 0);
    EXPECT_EQ(StopSockets(), 0);
    for (int excess = 0; excess < 3; ++excess) {
      EXPECT_EQ(StopSockets(), -1);
      EXPECT_EQ(LastSocketError(), ws2::kErrorNotInitialised);
    }
    EXPECT_EQ(cleanups, 2);

    ASSERT_EQ(StartSockets(), 0u);
    EXPECT_EQ(StopSockets(), 0);
    EXPECT_EQ(StopSockets(), -1);
    EXPECT_EQ(cleanups, 3);

    startup_result = ws2::kErrorProcessLimit;
    EXPECT_EQ(StartSockets(), DWORD{ws2::kErrorProcessLimit});
    EXPECT_EQ(StopSockets(), -1);
    EXPECT_EQ(starts, 4);
    EXPECT_EQ(cleanups, 3);
  });
}

TEST(SocketBindingTest, ThreadErrorStandsInForTheSocketError) {
  InFreshProcess([] {
    platform::testing::HideFunction("ws2_32.dll", "WSAGetLastError");
    platform::testing::HideFunction("ws2_32.dll", "WSASetLastError");
    ASSERT_EQ(StartSockets(), 0u);
    RestoreSocketError(ws2::kErrorTimedOut);
    EXPECT_EQ(::GetLastError(), DWORD{ws2::kErrorTimedOut});
    EXPECT_EQ(LastSocketError(), ws2::kErrorTimedOut);
  });
}

TEST(SocketBindingTest, NameConversionNeedsBothFunctions) {
  for (const char* function : {"IdnToAscii", "IdnToNameprepUnicode"}) {
    InFreshProcess([function] {
      platform::testing::HideFunction("normaliz.dll", function);
      ASSERT_EQ(StartSockets(), 0u);
      EXPECT_FALSE(IdnAvailable());
      EXPECT_EQ(NameConversion().IdnToNameprepUnicode, nullptr);
    });
  }
}

// ---- IPv6 ----

int provider_count = 0;
int provider_family = 0;
int enumerations = 0;

int WINAPI FakeEnumProtocols(int* protocols, LPVOID buffer, LPDWORD bytes) {
  ++enumerations;
  EXPECT_EQ(protocols[0], ws2::kProtocolTcp);
  EXPECT_EQ(protocols[1], ws2::kProtocolUdp);
  EXPECT_EQ(protocols[2], 0);
  EXPECT_EQ(*bytes, 11904u);
  ws2::ProtocolInfo provider = {};
  for (int i = 0; i < provider_count; ++i) {
    provider.family = i + 1 < provider_count ? ws2::kFamilyInet : provider_family;
    provider.type = ws2::kTypeStream;
    provider.protocol = ws2::kProtocolTcp;
    static_cast<ws2::ProtocolInfo*>(buffer)[i] = provider;
  }
  if (provider_count < 0) RestoreSocketError(ws2::kErrorNoBuffers);
  return provider_count;
}

TEST(Ipv6Test, AvailabilityFollowsTheInstalledProviders) {
  struct Case {
    int count, family;
    bool available;
  };
  for (const Case& c : {Case{2, ws2::kFamilyInet6, true}, Case{2, ws2::kFamilyInet, false},
                        Case{0, 0, false}, Case{32, ws2::kFamilyInet6, true}}) {
    InFreshProcess([&c] {
      ReplaceFunctions("ws2_32.dll",
                       {{"WSAEnumProtocolsA", platform::ExportAddress(&FakeEnumProtocols)}});
      ASSERT_EQ(StartSockets(), 0u);
      // A failed enumeration is asked again.
      provider_count = -1;
      EXPECT_FALSE(Ipv6Available());
      EXPECT_EQ(LastSocketError(), ws2::kErrorNoBuffers);
      provider_count = c.count;
      provider_family = c.family;
      for (int repeat = 0; repeat < 2; ++repeat) {
        RestoreSocketError(0);
        EXPECT_EQ(Ipv6Available(), c.available);
        EXPECT_EQ(LastSocketError(), c.available ? 0 : ws2::kErrorProtocolNotSupported);
      }
      EXPECT_EQ(enumerations, 2);
    });
  }
}

// ---- The version of the system ----

DWORD major_version = 0;
DWORD minor_version = 0;
DWORD platform_id = VER_PLATFORM_WIN32_NT;

LONG WINAPI FakeGetVersion(OSVERSIONINFOEXW* version) {
  EXPECT_EQ(version->dwOSVersionInfoSize, 284u);
  version->dwMajorVersion = major_version;
  version->dwMinorVersion = minor_version;
  version->dwPlatformId = platform_id;
  return 0;
}

TEST(OsVersionTest, OldSystemsAreLimitedOrRefused) {
  struct Case {
    DWORD major, minor, platform;
    DWORD start_result;
    bool ipv6;
  };
  for (const Case& c :
       {Case{4, 0, VER_PLATFORM_WIN32_NT, ws2::kErrorSystemNotReady, false},
        Case{10, 0, 1, ws2::kErrorSystemNotReady, true},
        Case{5, 0, VER_PLATFORM_WIN32_NT, 0, false}, Case{5, 1, VER_PLATFORM_WIN32_NT, 0, true}}) {
    InFreshProcess([&c] {
      ReplaceFunctions("ntdll.dll", {{"RtlGetVersion", platform::ExportAddress(&FakeGetVersion)}});
      major_version = c.major;
      minor_version = c.minor;
      platform_id = c.platform;
      EXPECT_EQ(StartSockets(), c.start_result);
      EXPECT_EQ(SystemKnowsIpv6(), c.ipv6);
      if (c.start_result != 0) return;
      EXPECT_EQ(Sockets().getaddrinfo != nullptr, c.ipv6);
      EXPECT_EQ(Sockets().inet_pton != nullptr, c.ipv6);
      if (c.ipv6) return;
      EXPECT_FALSE(Ipv6Available());
      EXPECT_EQ(LastSocketError(), ws2::kErrorAddressFamily);
      EXPECT_EQ(CreateStreamSocket(ws2::kFamilyInet6, 0), ws2::kInvalidSocket);
      EXPECT_EQ(LastSocketError(), ws2::kErrorAddressFamily);
    });
  }
}

TEST(OsVersionTest, BothRecordSizesAreFilled) {
  OSVERSIONINFOEXA extended;
  std::memset(&extended, 0xEE, sizeof(extended));
  extended.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
  auto* const basic = reinterpret_cast<OSVERSIONINFOA*>(&extended);
  ASSERT_TRUE(QueryOsVersion(basic));
  EXPECT_EQ(basic->dwOSVersionInfoSize, 148u);
  EXPECT_EQ(basic->dwMajorVersion, 10u);
  EXPECT_EQ(basic->dwPlatformId, VER_PLATFORM_WIN32_NT);
  EXPECT_STREQ(basic->szCSDVersion, "");
  EXPECT_EQ(extended.wSuiteMask, 0xEEEE);

  extended.dwOSVersionInfoSize = sizeof(extended);
  ASSERT_TRUE(QueryOsVersion(basic));
  EXPECT_EQ(extended.dwOSVersionInfoSize, 156u);
  EXPECT_NE(extended.wSuiteMask, 0xEEEE);

  for (const DWORD size : {0u, 147u, 149u, 155u, 157u, 284u}) {
    ::SetLastError(0);
    extended.dwOSVersionInfoSize = size;
    EXPECT_FALSE(QueryOsVersion(basic));
    EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
  }
}

}  // namespace
}  // namespace qv
