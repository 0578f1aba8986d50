// Tasks over TLS.
#include <atomic>

#include "tls/tls_fixture.h"

namespace test {
namespace {

constexpr DWORD kForever = 20000;  // milliseconds

class SecureTaskTest : public TlsTest {
 protected:
  struct Outcome {
    DWORD error;
    std::string body;
  };

  static Outcome Run(HCLIENT client, const std::string& resource, HTTPEVENTPROC callback = nullptr,
                     DWORD_PTR parameter = 0) {
    char buffer[64];
    DWORD length = sizeof(buffer);
    const DWORD task =
        HttpAsyncGetDataA(client, resource.c_str(), buffer, &length, 0, callback, parameter);
    Outcome outcome{QV_ERROR_TASK_ACTIVE, {}};
    EXPECT_TRUE(HttpTaskWait(task, kForever, 0, nullptr, &outcome.error));
    outcome.body.assign(buffer, length);
    return outcome;
  }

  static std::string Url(const TlsServer& server) {
    return "https://127.0.0.1:" + std::to_string(server.port()) + "/";
  }
};

TEST_F(SecureTaskTest, IdentifiesItselfAsTheSessionDoes) {
  TlsServerOptions options = Signed();
  options.client_certificate = TlsServerOptions::ClientCertificate::kOptional;
  options.client_authorities = {authority_};
  const TlsServer server(options, [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Response("200 OK", {}, "[" + connection.client_subject() + "]"));
    connection.WaitForCloseNotify();
  });
  const TlsIdentity me = MakeIdentity({.common_name = "me"}, &authority_);
  const std::string file = WriteFile("me.p12", MakePkcs12(me, {.password = "secret"}));
  SECURITYCREDENTIALSA credentials{};
  credentials.dwSize = sizeof(credentials);
  credentials.dwOptions = CREDENTIAL_STORE_FILE;
  credentials.lpszCertStore = file.c_str();
  credentials.lpszPassword = "secret";
  credentials.lpszCertName = "me";
  const HCLIENT session = ConnectSecurely(server.port(), 0, &credentials);
  ASSERT_NE(session, INVALID_CLIENT) << std::hex << LastError();
  EXPECT_EQ(Run(session, "/").body, "[me]");
  EXPECT_EQ(Run(session, Url(server)).body, "[me]");
  // The certificate is not for other hosts, which the name of this one stands for.
  const std::string other = "https://localhost:" + std::to_string(server.port()) + "/";
  EXPECT_EQ(Run(session, other).body, "[]");
  EXPECT_EQ(Run(INVALID_CLIENT, Url(server)).body, "[]");
  HttpDisconnect(session);
}

// The connect callback learns of a refused certificate before anything is sent, and may end it.
TEST_F(SecureTaskTest, TheCallbackMayRefuseAServer) {
  TlsServerOptions self_signed;
  self_signed.identity = MakeIdentity({});
  std::atomic<int> requests{0};
  const TlsServer server(self_signed, [&requests](TlsConnection& connection) {
    if (connection.ReadRequest()) ++requests;
    connection.Send(Response("200 OK", {}, "body"));
    connection.WaitForCloseNotify();
  });
  const HTTPEVENTPROC refuse = [](HCLIENT client, UINT event, DWORD, DWORD_PTR seen) {
    if (event != HTTP_EVENT_CONNECT) return;
    *reinterpret_cast<DWORD*>(seen) = HttpGetLastError();
    if (HttpGetLastError() == QV_ERROR_SECURITY_CERTIFICATE) HttpDisconnect(client);
  };
  DWORD seen = 0;
  const Outcome refused =
      Run(INVALID_CLIENT, Url(server), refuse, reinterpret_cast<DWORD_PTR>(&seen));
  EXPECT_EQ(seen, DWORD{QV_ERROR_SECURITY_CERTIFICATE});
  EXPECT_EQ(refused.error, DWORD{QV_ERROR_INVALID_HANDLE});
  EXPECT_EQ(requests, 0);
  EXPECT_EQ(Run(INVALID_CLIENT, Url(server)).body, "body");
}

}  // namespace
}  // namespace test
