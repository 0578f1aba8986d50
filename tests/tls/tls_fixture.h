// Sessions with TLS servers whose certificates an authority of the test has signed.
#ifndef TLS_TLS_FIXTURE_H_
#define TLS_TLS_FIXTURE_H_

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/messages.h"
#include "support/temp_dir.h"
#include "support/tls_server.h"
#include "support/wait_until.h"
#include "support_library/session_fixture.h"

namespace test {

class TlsTest : public SessionTest {
 protected:
  TlsTest() { Trust(authority_.CertificatePem()); }
  ~TlsTest() override { unsetenv("SSL_CERT_FILE"); }

  // Makes these certificates (and lists of revoked ones) the trusted roots.
  void Trust(const std::string& pem) {
    setenv("SSL_CERT_FILE", WriteFile("roots" + std::to_string(++roots_) + ".pem", pem).c_str(), 1);
  }

  std::string WriteFile(const std::string& name, const std::string& content) {
    const std::string path = (directory_.path() / name).string();
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  TlsServerOptions Signed(const IdentityOptions& identity = {}) const {
    TlsServerOptions options;
    options.identity = MakeIdentity(identity, &authority_);
    return options;
  }

  // Answers each request on a connection with the next of these replies, then waits for the end.
  static TlsServer::Handler Replies(std::vector<std::string> replies) {
    return [replies = std::move(replies)](TlsConnection& connection) {
      for (const std::string& reply : replies) {
        if (!connection.ReadRequest() || !connection.Send(reply)) return;
      }
      connection.WaitForCloseNotify();
    };
  }

  HCLIENT ConnectSecurely(unsigned port, DWORD options = 0,
                          SECURITYCREDENTIALSA* credentials = nullptr, UINT timeout = 5) {
    HttpSetLastError(0);
    client_ =
        HttpConnectA("127.0.0.1", port, timeout, options | HTTP_OPTION_SECURE, 0, credentials);
    return client_;
  }

  static SECURITYINFOA Info(HCLIENT client) {
    SECURITYINFOA info{};
    info.dwSize = sizeof(info);
    EXPECT_TRUE(HttpGetSecurityInformationA(client, &info)) << std::hex << LastError();
    return info;
  }

  TempDir directory_;
  TlsIdentity authority_ = MakeAuthority();
  HCLIENT client_ = INVALID_CLIENT;

 private:
  int roots_ = 0;
};

}  // namespace test

#endif  // TLS_TLS_FIXTURE_H_
