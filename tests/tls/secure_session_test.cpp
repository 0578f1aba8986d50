// https as an application uses it: transfers, kept connections, redirects, and how sessions end.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/raw_server.h"
#include "tls/tls_fixture.h"

namespace test {
namespace {

using SecureSessionTest = TlsTest;

struct Version {
  int lowest, highest;
  DWORD selected;
  DWORD negotiated;  // 0: none
};

TEST_F(SecureSessionTest, VersionsAreNegotiatedAsSelected) {
  const Version versions[] = {
      {TLS1_2_VERSION, TLS1_3_VERSION, 0, SECURITY_PROTOCOL_TLS13},
      {TLS1_2_VERSION, TLS1_2_VERSION, 0, SECURITY_PROTOCOL_TLS12},
      {TLS1_2_VERSION, TLS1_3_VERSION, SECURITY_PROTOCOL_TLS12, SECURITY_PROTOCOL_TLS12},
      {TLS1_2_VERSION, TLS1_3_VERSION, SECURITY_PROTOCOL_TLS13, SECURITY_PROTOCOL_TLS13},
      {TLS1_2_VERSION, TLS1_2_VERSION, SECURITY_PROTOCOL_TLS13, 0},
      {TLS1_3_VERSION, TLS1_3_VERSION, SECURITY_PROTOCOL_TLS12, 0},
  };
  const std::string body = Pattern(100000);
  for (const Version& version : versions) {
    TlsServerOptions options = Signed();
    options.lowest_version = version.lowest;
    options.highest_version = version.highest;
    const TlsServer server(options, Replies({Response("200 OK", {}, body)}));
    SECURITYCREDENTIALSA credentials{};
    credentials.dwSize = sizeof(credentials);
    credentials.dwProtocol = version.selected;
    const HCLIENT client = ConnectSecurely(server.port(), 0, &credentials);
    EXPECT_EQ(credentials.dwProtocol,
              version.selected != 0 ? version.selected : DWORD{SECURITY_PROTOCOL_DEFAULT});
    if (version.negotiated == 0) {
      EXPECT_EQ(client, INVALID_CLIENT);
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_SECURITY_CONTEXT});
      continue;
    }
    ASSERT_NE(client, INVALID_CLIENT) << std::hex << LastError();
    EXPECT_EQ(LastError(), 0u);
    EXPECT_EQ(Info(client).dwProtocol, version.negotiated);
    EXPECT_EQ(Get(client, "/").body, body);
    HttpDisconnect(client);
  }
}

// Session tickets arrive after the first response; they are no reason to connect anew.
TEST_F(SecureSessionTest, ConnectionsAreKeptAndEndWithACloseNotify) {
  std::atomic<bool> ended_properly = false;
  const TlsServer server(Signed(), [&](TlsConnection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "kept"));
    ended_properly = (SSL_get_shutdown(connection.ssl()) & SSL_RECEIVED_SHUTDOWN) != 0;
  });
  const HCLIENT client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Get(client, "/").body, "kept");
  EXPECT_EQ(server.handshakes(), 1u);
  HttpDisconnect(client);
  EXPECT_TRUE(WaitUntil([&] { return ended_properly.load(); }));
}

// A resumed session tells the same as the first, but trusts nobody for having trusted before.
TEST_F(SecureSessionTest, SessionsAreResumed) {
  const TlsIdentity stranger = MakeAuthority("Stranger");
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    std::atomic<int> resumed = 0;
    TlsServerOptions options = Signed();
    options.lowest_version = options.highest_version = version;
    const auto answer = [&](TlsConnection& connection) {
      if (connection.resumed()) ++resumed;
      connection.ReadRequest();
      connection.Send(Response("200 OK", {}, "x"));
      connection.WaitForCloseNotify();
    };
    const TlsServer server(options, answer), neighbour(options, answer);
    const auto report = [&](const TlsServer& to, DWORD expected_error) {
      const HCLIENT client = ConnectSecurely(to.port());
      EXPECT_EQ(LastError(), expected_error);
      EXPECT_EQ(Get(client, "/").body, "x");
      const SECURITYINFOA info = Info(client);
      std::string text(info.lpszCertIssuer);
      text.append(info.lpszCertSubject);
      text.append(reinterpret_cast<const char*>(&info), offsetof(SECURITYINFOA, lpszCertIssuer));
      HttpDisconnect(client);
      return std::pair(text, info.dwCertStatus);
    };
    const auto first = report(server, 0);
    EXPECT_EQ(report(neighbour, 0), first);
    EXPECT_EQ(resumed, 0);
    EXPECT_EQ(report(server, 0), first);
    EXPECT_EQ(resumed, 1);
    Trust(stranger.CertificatePem());
    EXPECT_EQ(report(server, QV_ERROR_SECURITY_CERTIFICATE).second, DWORD{SECURITY_CERT_UNTRUSTED});
    Trust(authority_.CertificatePem());
  }
}

TEST_F(SecureSessionTest, RecordsOfEverySizeArrive) {
  const std::string body = Pattern(40000);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{100}, std::size_t{16384}}) {
    const std::string content = body.substr(0, piece == 1 ? 500 : body.size());
    const TlsServer server(Signed(), [&](TlsConnection& connection) {
      connection.ReadRequest();
      connection.SendInRecords(
          ChunkedResponse("200 OK", {}, {content.substr(0, 7), content.substr(7)}), piece);
      connection.WaitForCloseNotify();
    });
    EXPECT_EQ(Get(ConnectSecurely(server.port()), "/").body, content);
    HttpDisconnect(client_);
  }
}

TEST_F(SecureSessionTest, UploadsArriveWhole) {
  const std::string content = Pattern(3 * 1024 * 1024 + 17);
  std::string received;
  const TlsServer server(Signed(), [&](TlsConnection& connection) {
    received = connection.ReadRequest().value_or("");
    connection.Send(Response("201 Created", {}, ""));
  });
  const std::string file = WriteFile("upload", content);
  EXPECT_EQ(HttpPutFileA(ConnectSecurely(server.port()), file.c_str(), "/upload.bin", 0, 0), 201);
  EXPECT_TRUE(BodyOf(received) == content);
}

// A body that lasts until the end of the connection: the trace tells a proper end of the session
// from a cut.
TEST_F(SecureSessionTest, EndsOfTheConnectionEndTheBody) {
  for (const bool close_notify : {true, false}) {
    const TlsServer server(Signed(), [&](TlsConnection& connection) {
      connection.ReadRequest();
      connection.Send(Head("200 OK") + "until the end");
      if (close_notify) connection.SendCloseNotify();
    });
    const std::string log = (directory_.path() / "log").string();
    ASSERT_TRUE(HttpEnableTraceA(log.c_str(), TRACE_INFO));
    const HCLIENT client = ConnectSecurely(server.port());
    EXPECT_EQ(Get(client, "/").body, "until the end");
    HttpDisconnect(client);
    EXPECT_TRUE(HttpDisableTrace());
    std::ifstream file(log, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text.find("without ending the secure session") == std::string::npos, close_notify);
    std::filesystem::remove(log);
  }
}

TEST_F(SecureSessionTest, DamagedRecordsFail) {
  const TlsServer server(Signed(), [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 100"}) + "begin");
    connection.SendRaw(std::string("\x17\x03\x03\x00\x20", 5) + std::string(32, 'x'));
    connection.WaitForCloseNotify();
  });
  const HCLIENT client = ConnectSecurely(server.port());
  EXPECT_EQ(Get(client, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_SECURITY_DECRYPTION});
}

TEST_F(SecureSessionTest, ServersThatSpeakNoTlsAreRefused) {
  using How = RawServer::How;
  const std::vector<std::pair<RawServer::Exchange, DWORD>> cases = {
      {{.reply = "HTTP/1.1 400 Bad Request\r\n\r\n", .before_request = true},
       QV_ERROR_SECURITY_CONTEXT},
      {{.reply = std::string("\x15\x03\x01\x00\x02\x02\x28", 7), .before_request = true},
       QV_ERROR_SECURITY_CONTEXT},
      {{.reply = "", .how = How::kClose, .before_request = true}, QV_ERROR_SECURITY_CONTEXT},
      {{.reply = "", .how = How::kStall, .before_request = true}, QV_ERROR_OPERATION_TIMEOUT},
      {{.reply = std::string("\x16\x03\x03\x40", 4), .how = How::kStall, .before_request = true},
       QV_ERROR_OPERATION_TIMEOUT},
  };
  for (const auto& [exchange, error] : cases) {
    const RawServer server(RawServer::Script{{exchange}});
    EXPECT_EQ(ConnectSecurely(server.port(), 0, nullptr, 1), INVALID_CLIENT);
    EXPECT_EQ(LastError(), error);
  }
}

TEST_F(SecureSessionTest, RedirectsLeadIntoTlsAndOut) {
  std::string secure_target;
  const RawServer plain([&](Connection& connection) {
    const auto request = connection.ReadRequest();
    if (!request) return;
    const bool first = FirstLineOf(*request).starts_with("GET /first");
    connection.Send(first ? Response("302 Found", {"Location: " + secure_target}, "")
                          : Response("200 OK", {}, "plain again"));
  });
  const TlsServer secure(Signed(),
                         Replies({Response("302 Found", {"Location: " + plain.url("/last")}, "")}));
  secure_target = "https://127.0.0.1:" + std::to_string(secure.port()) + "/second";
  const HCLIENT client = Connect(plain.port(), HTTP_OPTION_REDIRECT);
  EXPECT_EQ(Get(client, "/first").body, "plain again") << std::hex << LastError();
  EXPECT_EQ(secure.handshakes(), 1u);
  EXPECT_EQ(Info(client).dwProtocol, 0u);
}

TEST_F(SecureSessionTest, WantedHttp2FallsBack) {
  const TlsServer server(Signed(), Replies({Response("200 OK", {}, "1.1")}));
  HttpSetLastError(0);
  const std::string log = (directory_.path() / "log").string();
  ASSERT_TRUE(HttpEnableTraceA(log.c_str(), TRACE_INFO));
  const HCLIENT client = HttpConnectA("127.0.0.1", server.port(), 5, HTTP_OPTION_HTTP2, 0, nullptr);
  ASSERT_NE(client, INVALID_CLIENT);
  EXPECT_EQ(Get(client, "/").body, "1.1");
  EXPECT_TRUE(HttpDisableTrace());
  std::ifstream file(log, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(text.find(" WRN: h2 connection fallback initiated"), std::string::npos);
  EXPECT_NE(text.find(" INF: decrypted buffer of "), std::string::npos);
  HttpDisconnect(client);
}

// Nothing of what is encrypted appears in a trace that is to be without it.
TEST_F(SecureSessionTest, TracesKeepSecretsWhenAsked) {
  constexpr DWORD kWithoutContent = 0x40000000;
  const TlsServer server(Signed(), Replies({Response("200 OK", {}, "the-secret-answer")}));
  const std::string log = (directory_.path() / "log").string();
  ASSERT_TRUE(HttpEnableTraceA(log.c_str(), TRACE_HEXDUMP | kWithoutContent));
  const HCLIENT client = ConnectSecurely(server.port());
  EXPECT_EQ(Get(client, "/the-secret-question").body, "the-secret-answer");
  EXPECT_TRUE(HttpDisableTrace());
  std::ifstream file(log, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(text.find("send("), std::string::npos);
  EXPECT_EQ(text.find("crypted buffer"), std::string::npos);
  EXPECT_EQ(text.find("secret"), std::string::npos);
}

TEST_F(SecureSessionTest, ManySessionsAtOnce) {
  constexpr int kThreads = 10, kSessions = 10;
  const TlsServer server(Signed(), Replies({Response("200 OK", {}, "many")}));
  std::atomic<int> good = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      std::vector<HCLIENT> clients;
      for (int k = 0; k < kSessions; ++k) {
        clients.push_back(
            HttpConnectA("127.0.0.1", server.port(), 20, HTTP_OPTION_SECURE, 0, nullptr));
      }
      for (const HCLIENT client : clients) {
        if (Get(client, "/").body == "many") ++good;
        HttpDisconnect(client);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kSessions);
}

}  // namespace
}  // namespace test
