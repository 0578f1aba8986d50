// https with servers as they are in use: nginx and the one of the openssl command.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/server_process.h"
#include "tls/tls_fixture.h"

namespace test {
namespace {

class RealServersTest : public TlsTest {
 protected:
  // nginx with one protocol; /about tells how the client identified itself.
  ServerProcess Nginx(const std::string& protocol, const std::string& verify) {
    const std::string home = directory_.path().string();
    std::filesystem::create_directories(directory_.path() / "www");
    return ServerProcess([&](std::uint16_t port) {
      std::string text = "daemon off; master_process off; pid " + home + "/nginx.pid;\n";
      if (geteuid() == 0) text += "user root;\n";
      text += "events {}\nhttp { access_log off; client_max_body_size 0;\n";
      for (const char* use : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        text += std::string(use) + "_temp_path " + home + "/tmp_" + use + ";\n";
      }
      text += "server { listen 127.0.0.1:" + std::to_string(port) + " ssl; root " + home +
              "/www; ssl_certificate " + pem_ + "; ssl_certificate_key " + pem_ +
              "; ssl_protocols " + protocol +
              "; ssl_ciphers ALL:@SECLEVEL=0; ssl_session_cache shared:a:1m; ssl_verify_client " +
              verify + "; ssl_client_certificate " + authority_pem_ +
              ";\n  location = /about { return 200 \"$ssl_protocol [$ssl_server_name] "
              "$ssl_client_verify $ssl_client_s_dn\"; }\n"
              "  location /up/ { dav_methods PUT; create_full_put_path on; } } }\n";
      const std::string file = WriteFile("nginx.conf", text);
      return std::vector<std::string>{"nginx", "-p", home, "-c", file, "-e", home + "/error.log"};
    });
  }

  const std::string pem_ = WriteFile("server.pem", MakeIdentity({}, &authority_).Pem());
  const std::string authority_pem_ = WriteFile("authority.pem", authority_.CertificatePem());
};

TEST_F(RealServersTest, NginxServesBothVersionsAndOlderOnesAreRefused) {
  const struct {
    const char* protocol;
    DWORD options;
    DWORD negotiated;  // 0: none
  } kCases[] = {
      {"TLSv1.3", 0, SECURITY_PROTOCOL_TLS13},
      {"TLSv1.2", 0, SECURITY_PROTOCOL_TLS12},
      {"TLSv1.1", 0, 0},
      {"TLSv1.1", HTTP_OPTION_SECURE_FALLBACK, SECURITY_PROTOCOL_TLS11},
      {"TLSv1", HTTP_OPTION_SECURE_FALLBACK, SECURITY_PROTOCOL_TLS10},
  };
  const std::string body = Pattern(1000000);
  std::filesystem::create_directories(directory_.path() / "www/up");
  WriteFile("www/file", body);
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.protocol);
    const ServerProcess server = Nginx(each.protocol, "off");
    const HCLIENT client =
        ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE | each.options, nullptr, 20);
    if (each.negotiated == 0) {
      EXPECT_EQ(client, INVALID_CLIENT);
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_SECURITY_CONTEXT});
      continue;
    }
    ASSERT_NE(client, INVALID_CLIENT) << std::hex << LastError();
    const SECURITYINFOA info = Info(client);
    EXPECT_EQ(info.dwProtocol, each.negotiated);
    EXPECT_EQ(info.dwCertStatus, DWORD{SECURITY_CERT_VALID});
    EXPECT_EQ(Get(client, "/about").body, std::string(each.protocol) + " [] NONE ");
    EXPECT_TRUE(Get(client, "/file").body == body);
    EXPECT_EQ(HttpPutDataA(client, "/up/file", body.data(), static_cast<DWORD>(body.size()), 0),
              each.protocol == std::string("TLSv1.3") ? 201 : 204);
    EXPECT_TRUE(Get(client, "/up/file").body == body);
    HttpDisconnect(client);
  }
}

TEST_F(RealServersTest, NginxChecksClientCertificates) {
  const TlsIdentity stranger = MakeAuthority("Stranger");
  const IdentityOptions expired{
      .common_name = "Expired", .valid_from_days = -9, .valid_to_days = -3};
  const std::string alice =
      WriteFile("alice.p12", MakePkcs12(MakeIdentity({.common_name = "Alice"}, &authority_)));
  const std::string old = WriteFile("old.p12", MakePkcs12(MakeIdentity(expired, &authority_)));
  const std::string wrong =
      WriteFile("wrong.p12", MakePkcs12(MakeIdentity({.common_name = "Alice"}, &stranger)));
  const struct {
    const char* verify;
    const char* file;
    const char* name;
    int result;
    const char* seen;
  } kCases[] = {
      {"on", alice.c_str(), "Alice", 200, "[] SUCCESS CN=Alice"},
      {"on", nullptr, nullptr, 400, nullptr},
      {"on", wrong.c_str(), "Alice", 400, nullptr},
      {"on", old.c_str(), "Expired", 400, nullptr},
      {"optional", nullptr, nullptr, 200, "[] NONE "},
      {"optional", alice.c_str(), "Alice", 200, "[] SUCCESS CN=Alice"},
  };
  for (const char* protocol : {"TLSv1.2", "TLSv1.3"}) {
    for (const auto& each : kCases) {
      SCOPED_TRACE(testing::Message() << protocol << each.verify << each.file);
      const ServerProcess server = Nginx(protocol, each.verify);
      SECURITYCREDENTIALSA credentials{};
      credentials.dwSize = sizeof(credentials);
      credentials.lpszCertStore = each.file;
      credentials.lpszCertName = each.name;
      const HCLIENT client = ConnectSecurely(server.port(), 0, &credentials, 20);
      ASSERT_NE(client, INVALID_CLIENT) << std::hex << LastError();
      const Fetched fetched = Get(client, "/about");
      EXPECT_EQ(HttpGetResultCode(client), each.result);
      if (each.seen != nullptr) {
        EXPECT_EQ(fetched.body, std::string(protocol) + " " + each.seen);
      }
      HttpDisconnect(client);
    }
  }
}

TEST_F(RealServersTest, TheOpenSslCommandServesBothVersions) {
  const std::pair<const char*, DWORD> kCases[] = {{"-tls1_2", SECURITY_PROTOCOL_TLS12},
                                                  {"-tls1_3", SECURITY_PROTOCOL_TLS13}};
  for (const auto& [version, negotiated] : kCases) {
    const ServerProcess server([&](std::uint16_t port) {
      return std::vector<std::string>{
          "openssl", "s_server", "-accept", "127.0.0.1:" + std::to_string(port),
          "-cert",   pem_,       "-key",    pem_,
          "-www",    "-quiet",   version};
    });
    for (int i = 0; i < 2; ++i) {  // the second session is a resumed one
      const HCLIENT client = ConnectSecurely(server.port(), 0, nullptr, 20);
      ASSERT_NE(client, INVALID_CLIENT) << std::hex << LastError();
      EXPECT_EQ(Info(client).dwProtocol, negotiated);
      const Fetched page = Get(client, "/");
      EXPECT_EQ(page.result, 200);
      EXPECT_NE(page.body.find(i == 0 ? "New, " : "Reused, "), std::string::npos) << page.body;
      HttpDisconnect(client);
    }
  }
}

}  // namespace
}  // namespace test
