// What is found out about server certificates, and how sessions identify themselves.
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>

#include "platform/kernel32.h"
#include "tls/tls_fixture.h"

namespace test {
namespace {

static_assert(sizeof(SECURITYINFOA) == 88 && sizeof(SECURITYINFOW) == 88);
static_assert(offsetof(SECURITYINFOA, dwCertStatus) == 28);
static_assert(offsetof(SECURITYINFOA, stCertIssued) == 32);
static_assert(offsetof(SECURITYINFOA, lpszCertIssuer) == 64);
static_assert(offsetof(SECURITYINFOA, lpszFingerprint) == 80);
static_assert(sizeof(SECURITYCREDENTIALSA) == 64 && sizeof(SECURITYCREDENTIALSW) == 64);
static_assert(offsetof(SECURITYCREDENTIALSA, lpszHostName) == 16);
static_assert(offsetof(SECURITYCREDENTIALSA, lpszCertName) == 48);

using CertificatesTest = TlsTest;

TEST_F(CertificatesTest, ServerCertificatesAreJudged) {
  const TlsIdentity stranger = MakeAuthority("Somebody Else");
  TlsServerOptions revoked = Signed();
  TlsServerOptions unknown_root, self_signed;
  unknown_root.identity = MakeIdentity({}, &stranger);
  self_signed.identity = MakeIdentity({});
  const struct {
    const char* what;
    TlsServerOptions options;
    DWORD status;
  } cases[] = {
      {"good", Signed(), SECURITY_CERT_VALID},
      {"other name", Signed({.alternative_names = "DNS:example.test"}),
       SECURITY_CERT_NAME_MISMATCH},
      {"expired", Signed({.valid_from_days = -20, .valid_to_days = -10}), SECURITY_CERT_EXPIRED},
      {"too early", Signed({.valid_from_days = 5, .valid_to_days = 10}), SECURITY_CERT_EXPIRED},
      {"revoked", revoked, SECURITY_CERT_REVOKED},
      {"unknown root", unknown_root, SECURITY_CERT_UNTRUSTED},
      {"self-signed", self_signed, SECURITY_CERT_UNTRUSTED},
  };
  Trust(authority_.CertificatePem() + MakeRevocationList(authority_, {revoked.identity}));
  for (const auto& test_case : cases) {
    SCOPED_TRACE(test_case.what);
    const TlsServer server(test_case.options, Replies({Response("200 OK", {}, "usable")}));
    const HCLIENT client = ConnectSecurely(server.port());
    ASSERT_NE(client, INVALID_CLIENT) << std::hex << LastError();
    const bool good = test_case.status == SECURITY_CERT_VALID;
    EXPECT_EQ(LastError(), good ? 0u : DWORD{QV_ERROR_SECURITY_CERTIFICATE});
    EXPECT_EQ(Info(client).dwCertStatus, test_case.status);
    EXPECT_EQ(Get(client, "/").body, "usable");
    HttpDisconnect(client);
    const HCLIENT trusting = ConnectSecurely(server.port(), HTTP_OPTION_TRUSTEDSITE);
    EXPECT_EQ(LastError(), 0u);
    EXPECT_EQ(Info(trusting).dwCertStatus, DWORD{SECURITY_CERT_VALID});
    HttpDisconnect(trusting);
  }
}

TEST_F(CertificatesTest, AnotherServerNameCanBeGiven) {
  const TlsServer server(Signed({.alternative_names = "DNS:*.example.test"}),
                         [](TlsConnection& connection) {
                           connection.ReadRequest();
                           connection.Send(Response("200 OK", {}, connection.server_name()));
                         });
  SECURITYCREDENTIALSA credentials{};
  credentials.dwSize = sizeof(credentials);
  credentials.lpszHostName = "www.example.test";
  const HCLIENT client = ConnectSecurely(server.port(), 0, &credentials);
  EXPECT_EQ(LastError(), 0u);
  EXPECT_EQ(Info(client).dwCertStatus, DWORD{SECURITY_CERT_VALID});
  EXPECT_EQ(Get(client, "/").body, "www.example.test");
  HttpDisconnect(client);
}

TEST_F(CertificatesTest, InformationIsComplete) {
  const TlsServer server(Signed({.common_name = "server", .organization = "Ünïts"}), Replies({}));
  const HCLIENT client = ConnectSecurely(server.port());
  unsigned char large[100];
  std::fill(std::begin(large), std::end(large), static_cast<unsigned char>(0xEE));
  auto* info = reinterpret_cast<SECURITYINFOA*>(large);
  info->dwSize = sizeof(large);
  ASSERT_TRUE(HttpGetSecurityInformationA(client, info));
  EXPECT_EQ(info->dwSize, 88u);
  EXPECT_EQ(large[99], 0);
  EXPECT_EQ(info->dwProtocol, DWORD{SECURITY_PROTOCOL_TLS13});
  EXPECT_EQ(info->dwCipher, DWORD{SECURITY_CIPHER_AES});
  EXPECT_EQ(info->dwCipherStrength, 256u);
  EXPECT_EQ(info->dwHash, DWORD{SECURITY_HASH_SHA384});
  EXPECT_EQ(info->dwKeyExchange, DWORD{SECURITY_KEYEX_ECDH});
  EXPECT_NE(std::string(info->lpszCertSubject).find("CN=server"), std::string::npos);
  EXPECT_NE(std::string(info->lpszCertIssuer).find("Test Authority"), std::string::npos);
  EXPECT_EQ(info->lpszFingerprint, nullptr);
  SYSTEMTIME now;
  GetSystemTime(&now);
  EXPECT_GE(info->stCertExpires.wYear, now.wYear);
  SECURITYINFOW wide{};
  wide.dwSize = sizeof(wide);
  ASSERT_TRUE(HttpGetSecurityInformationW(client, &wide));
  EXPECT_NE(std::u16string(wide.lpszCertSubject).find(u"Ünïts"), std::u16string::npos);
  EXPECT_EQ(wide.dwCipherStrength, 256u);
  info->dwSize = 87;
  EXPECT_FALSE(HttpGetSecurityInformationA(client, info));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  HttpDisconnect(client);
}

class ClientCertificatesTest : public TlsTest {
 protected:
  // The subject that a server sees which asks for a certificate of the authority; the error of the
  // connect or of the request otherwise, as text.
  std::string Identify(SECURITYCREDENTIALSA* credentials, bool required = true) {
    TlsServerOptions options = Signed();
    using Wish = TlsServerOptions::ClientCertificate;
    options.client_certificate = required ? Wish::kRequired : Wish::kOptional;
    options.client_authorities = {authority_};
    const TlsServer server(options, [](TlsConnection& connection) {
      connection.ReadRequest();
      connection.Send(Response("200 OK", {}, "[" + connection.client_subject() + "]"));
      connection.WaitForCloseNotify();
    });
    const HCLIENT client = ConnectSecurely(server.port(), 0, credentials);
    if (client == INVALID_CLIENT) return ErrorName();
    const Fetched fetched = Get(client, "/");
    const std::string result = fetched.result == HTTP_ERROR ? ErrorName() : fetched.body;
    HttpDisconnect(client);
    return result;
  }

  static std::string ErrorName() {
    switch (LastError()) {
      case QV_ERROR_SECURITY_CREDENTIALS:
        return "credentials";
      case QV_ERROR_FILE_NOT_FOUND:
        return "file not found";
      case QV_ERROR_INVALID_FILE_TYPE:
        return "file type";
      case QV_ERROR_INVALID_FILE_NAME:
        return "file name";
      case QV_ERROR_SECURITY_CONTEXT:
      case QV_ERROR_SECURITY_DECRYPTION:
      case QV_ERROR_CONNECTION_CLOSED:
        return "refused";
      default:
        return std::to_string(LastError());
    }
  }

  TlsIdentity alice_ = MakeIdentity(
      {.common_name = "Alice", .alternative_names = "", .extended_usage = "clientAuth"},
      &authority_);
};

TEST_F(ClientCertificatesTest, ComeFromFilesAndStores) {
  const std::string file =
      WriteFile("alice.p12", MakePkcs12(alice_, {.password = "pw", .friendly_name = "My Alice"}));
  const std::string open = WriteFile("open.p12", MakePkcs12(alice_, {.password = ""}));
  const TlsIdentity stranger = MakeAuthority("Stranger");
  const std::string foreign =
      WriteFile("foreign.p12", MakePkcs12(MakeIdentity({.common_name = "Mallory"}, &stranger)));
  const std::string expired = WriteFile(
      "expired.p12",
      MakePkcs12(MakeIdentity({.common_name = "Alice", .valid_from_days = -9, .valid_to_days = -2},
                              &authority_)));
  const std::string text = WriteFile("text", "no certificate");
  const std::string missing = file + ".missing";
  std::filesystem::create_directories(directory_.path() / "user/my");
  WriteFile("user/my/alice.pem", alice_.Pem());
  setenv("QVHTTP_USER_CERTIFICATES", (directory_.path() / "user").c_str(), 1);
  setenv("QVHTTP_MACHINE_CERTIFICATES", (directory_.path() / "none").c_str(), 1);
  const struct {
    const char* store;
    const char* name;
    const char* password;
    DWORD options;
    const char* seen;
  } cases[] = {
      {file.c_str(), "my alice", "pw", 0, "[Alice]"},
      {file.c_str(), "Alic", "pw", CREDENTIAL_STORE_FILE, "[Alice]"},
      {open.c_str(), "Alice", nullptr, 0, "[Alice]"},
      {nullptr, "Alice", nullptr, 0, "[Alice]"},
      {"hkcu:My", "Alice", nullptr, CREDENTIAL_STORE_LOCAL_MACHINE, "[Alice]"},
      {"MY", "Alice", nullptr, CREDENTIAL_STORE_LOCAL_MACHINE | CREDENTIAL_STORE_CURRENT_USER,
       "[Alice]"},
      {file.c_str(), "Bob", "pw", 0, "credentials"},
      {file.c_str(), "Alice", "wrong", 0, "credentials"},
      {text.c_str(), "Alice", nullptr, 0, "credentials"},
      {missing.c_str(), "Alice", nullptr, CREDENTIAL_STORE_FILE, "file not found"},
      {missing.c_str(), "Alice", nullptr, 0, "credentials"},
      {nullptr, "Alice", nullptr, CREDENTIAL_STORE_FILE, "file name"},
      {"HKLM:", "Alice", nullptr, 0, "credentials"},
      {file.c_str(), nullptr, "pw", 0, "refused"},  // no certificate is named, so none is sent
      {foreign.c_str(), "Mallory", nullptr, 0, "refused"},
      {expired.c_str(), "Alice", nullptr, 0, "refused"},
  };
  for (const auto& test_case : cases) {
    LPSECURITYCREDENTIALSA credentials = nullptr;
    ASSERT_TRUE(HttpCreateSecurityCredentialsA(0, test_case.options, nullptr, test_case.password,
                                               test_case.store, test_case.name, nullptr,
                                               &credentials));
    EXPECT_EQ(Identify(credentials), test_case.seen)
        << (test_case.store != nullptr ? test_case.store : "NULL") << ' ' << test_case.options;
    HttpDeleteSecurityCredentialsA(&credentials);
    EXPECT_EQ(credentials, nullptr);
  }
  EXPECT_EQ(Identify(nullptr, false), "[]");
  unsetenv("QVHTTP_USER_CERTIFICATES");
  unsetenv("QVHTTP_MACHINE_CERTIFICATES");
}

TEST_F(ClientCertificatesTest, RecordsAreCopiesInOneBlock) {
  LPSECURITYCREDENTIALSW wide = nullptr;
  for (int i = 0; i < 2; ++i) {  // the second call frees the first record
    ASSERT_TRUE(HttpCreateSecurityCredentialsW(SECURITY_PROTOCOL_TLS12, 4, u"üser", u"pass",
                                               u"store", nullptr, nullptr, &wide));
  }
  EXPECT_EQ(wide->dwSize, 64u);
  EXPECT_EQ(wide->dwProtocol, DWORD{SECURITY_PROTOCOL_TLS12});
  EXPECT_EQ(wide->dwOptions, 4u);
  EXPECT_EQ(std::u16string(wide->lpszUserName), u"üser");
  EXPECT_EQ(std::u16string(wide->lpszCertStore), u"store");
  EXPECT_EQ(wide->lpszCertName, nullptr);
  EXPECT_EQ(wide->lpszHostName, nullptr);
  wide->dwSize = 63;
  EXPECT_EQ(HttpConnectW(u"127.0.0.1", 1, 1, HTTP_OPTION_SECURE, 0, wide), INVALID_CLIENT);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  // Texts of the record itself make up its successor.
  ASSERT_TRUE(HttpCreateSecurityCredentialsW(0, 1, wide->lpszPassword, wide->lpszUserName, nullptr,
                                             wide->lpszCertStore, nullptr, &wide));
  EXPECT_EQ(std::u16string(wide->lpszUserName), u"pass");
  EXPECT_EQ(std::u16string(wide->lpszPassword), u"üser");
  EXPECT_EQ(std::u16string(wide->lpszCertName), u"store");
  HttpDeleteSecurityCredentialsW(&wide);
  EXPECT_EQ(wide, nullptr);
  HttpDeleteSecurityCredentialsW(&wide);
  EXPECT_FALSE(
      HttpCreateSecurityCredentialsA(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
}

}  // namespace
}  // namespace test
