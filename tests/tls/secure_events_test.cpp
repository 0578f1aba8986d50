// Asynchronous secure sessions, cancelled handshakes, and systems without security modules.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "events/window_fixture.h"
#include "platform/module.h"
#include "support/raw_server.h"
#include "tls/tls_fixture.h"

namespace test {
namespace {

class SecureEventsTest : public TlsTest {
 protected:
  HCLIENT ConnectAsync(unsigned port) {
    return HttpAsyncConnectA("127.0.0.1", port, 2, HTTP_OPTION_SECURE | HTTP_OPTION_KEEPALIVE, 0,
                             nullptr, window_.handle(), kEventMessage);
  }

  EventWindow window_;
};

// One read for each event, although a record holds more than that.
TEST_F(SecureEventsTest, FetchesThroughMessages) {
  const std::string body = Pattern(200000);
  const TlsServer server(Signed(), [&](TlsConnection& connection) {
    connection.ReadRequest();
    connection.SendInRecords(Response("200 OK", {}, body), 10000);
    connection.WaitForCloseNotify();
  });
  std::string received;
  bool whole = false;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_CONNECT) {
      EXPECT_EQ(event.error, 0u);
      EXPECT_EQ(HttpCommandA(event.client, "GET", "/", nullptr, 0, 0), 0);
    }
    if (event.event != HTTP_EVENT_READ || whole) return;
    BYTE buffer[5000];
    const INT count = HttpRead(event.client, buffer, sizeof buffer);
    EXPECT_TRUE(count > 0 || LastError() == QV_ERROR_OPERATION_WOULD_BLOCK);
    if (count > 0)
      received.append(reinterpret_cast<char*>(buffer), static_cast<std::size_t>(count));
    whole = received.size() == body.size();
  };
  const HCLIENT client = ConnectAsync(server.port());
  ASSERT_NE(client, INVALID_CLIENT);
  ASSERT_TRUE(EventWindow::PumpUntil([&] { return whole; }));
  EXPECT_TRUE(received == body);
  EXPECT_EQ(Info(client).dwCertStatus, DWORD{SECURITY_CERT_VALID});
  HttpDisconnect(client);
}

TEST_F(SecureEventsTest, FailedHandshakesAreReportedAndTheSessionGone) {
  const RawServer server(
      RawServer::Script{{{.reply = "no TLS here, just text", .before_request = true}}});
  const HCLIENT client = ConnectAsync(server.port());
  ASSERT_NE(client, INVALID_CLIENT);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
  EXPECT_EQ(window_.events().front().error, UINT{QV_ERROR_SECURITY_CONTEXT & 0xFFFF});
  EXPECT_EQ(HttpGetStatus(client), HTTP_ERROR);
  EXPECT_FALSE(window_.IsSubclassed());
}

TEST_F(SecureEventsTest, HandshakesCanBeCancelled) {
  const RawServer server(
      RawServer::Script{{{.reply = "", .how = RawServer::How::kStall, .before_request = true}}});
  const HCLIENT client = ConnectAsync(server.port());
  std::thread canceller([&] {
    EXPECT_TRUE(WaitUntil([&] { return HttpIsBlocking(client) != FALSE; }));
    EXPECT_EQ(HttpCancel(client), 0);
  });
  EXPECT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
  canceller.join();
  EXPECT_EQ(window_.events().back().error, UINT{QV_ERROR_OPERATION_CANCELED & 0xFFFF});
}

// In a process of its own, since modules are looked for once.
int UseWithoutModule(const char* module, unsigned plain_port) {
  platform::testing::HideModule(module);
  if (!HttpInitializeA(nullptr, 0)) return 1;
  HttpSetLastError(0);
  if (HttpConnectA("127.0.0.1", 443, 1, 0, 0, nullptr) != INVALID_CLIENT) return 2;
  if (HttpGetLastError() != QV_ERROR_SECURITY_NOT_INITIALIZED) return 3;
  const HCLIENT client = HttpConnectA("127.0.0.1", plain_port, 5, 0, 0, nullptr);
  if (client == INVALID_CLIENT) return 4;
  if (SessionTest::Get(client, "/").body != "plain") return 5;
  SECURITYINFOA info{};
  info.dwSize = sizeof(info);
  if (HttpGetSecurityInformationA(client, &info)) return 6;  // asked for, and not there
  if (HttpGetLastError() != QV_ERROR_SECURITY_NOT_INITIALIZED) return 7;
  HttpUninitialize();
  return 0;
}

TEST(MissingSecurityTest, PlainSessionsWorkAndSecureOnesAreRefused) {
  for (const char* module : {"SECURITY.DLL", "CRYPT32.DLL"}) {
    const RawServer server(RawServer::Script{{{.reply = Response("200 OK", {}, "plain")}}});
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(UseWithoutModule(module, server.port())), ::testing::ExitedWithCode(0),
                "")
        << module;
  }
}

}  // namespace
}  // namespace test
