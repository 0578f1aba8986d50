#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/module.h"
#include "platform/security/tls_client.h"
#include "support/messages.h"
#include "support/temp_dir.h"

namespace test {
namespace {

TlsServerOptions Server(int lowest = TLS1_2_VERSION, int highest = TLS1_3_VERSION,
                        const std::string& ciphers = {}, bool rsa = false) {
  static const TlsIdentity ec_identity = MakeIdentity({});
  static const TlsIdentity rsa_identity = [] {
    IdentityOptions options;
    options.rsa = true;
    return MakeIdentity(options);
  }();
  TlsServerOptions options;
  options.identity = rsa ? rsa_identity : ec_identity;
  options.lowest_version = lowest;
  options.highest_version = highest;
  options.ciphers = ciphers;
  return options;
}

TEST(TlsHandshake, SettlesOnTheHighestCommonVersion) {
  constexpr DWORD kFallback = SP_PROT_TLS1_2_CLIENT | SP_PROT_TLS1_CLIENT;
  const struct {
    int lowest, highest;
    DWORD protocols;
    SECURITY_STATUS status;
    DWORD protocol;
  } kCases[] = {
      {TLS1_2_VERSION, TLS1_3_VERSION, 0, SEC_E_OK, SP_PROT_TLS1_3_CLIENT},
      {TLS1_2_VERSION, TLS1_2_VERSION, 0, SEC_E_OK, SP_PROT_TLS1_2_CLIENT},
      {TLS1_2_VERSION, TLS1_3_VERSION, SP_PROT_TLS1_2_CLIENT, SEC_E_OK, SP_PROT_TLS1_2_CLIENT},
      {TLS1_VERSION, TLS1_1_VERSION, kFallback, SEC_E_OK, SP_PROT_TLS1_1_CLIENT},
      {TLS1_VERSION, TLS1_VERSION, kFallback, SEC_E_OK, SP_PROT_TLS1_CLIENT},
      {TLS1_VERSION, TLS1_1_VERSION, 0, SEC_E_UNSUPPORTED_FUNCTION, 0},
      {TLS1_3_VERSION, TLS1_3_VERSION, SP_PROT_TLS1_2_CLIENT, SEC_E_UNSUPPORTED_FUNCTION, 0},
      {TLS1_2_VERSION, TLS1_2_VERSION, SP_PROT_TLS1_3_CLIENT, SEC_E_UNSUPPORTED_FUNCTION, 0},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(testing::Message() << each.highest << " / " << each.protocols);
    TlsPeer peer(Server(each.lowest, each.highest));
    ClientOptions options;
    options.protocols = each.protocols;
    TlsClient client(peer, options);
    EXPECT_EQ(client.Connect(), each.status);
    EXPECT_EQ(client.ConnectionInfo().dwProtocol, each.protocol);
  }
}

struct Suite {
  const char* ciphers;
  int version;
  bool rsa;
  ALG_ID cipher, hash, exchange;
  DWORD cipher_strength, hash_strength;
};
const Suite kSuites[] = {
    {"", TLS1_3_VERSION, false, CALG_AES_256, CALG_SHA_384, CALG_ECDH_EPHEM, 256, 384},
    {"ECDHE-ECDSA-AES128-GCM-SHA256", TLS1_2_VERSION, false, CALG_AES_128, CALG_SHA_256,
     CALG_ECDH_EPHEM, 128, 256},
    {"ECDHE-ECDSA-CHACHA20-POLY1305", TLS1_2_VERSION, false, 0, CALG_SHA_256, CALG_ECDH_EPHEM, 256,
     256},
    {"ECDHE-RSA-AES256-SHA384", TLS1_2_VERSION, true, CALG_AES_256, CALG_SHA_384, CALG_ECDH_EPHEM,
     256, 384},
    {"AES128-SHA", TLS1_2_VERSION, true, CALG_AES_128, CALG_SHA1, CALG_RSA_KEYX, 128, 160},
    {"AES256-SHA", TLS1_VERSION, true, CALG_AES_256, CALG_SHA1, CALG_RSA_KEYX, 256, 160},
};

TEST(TlsHandshake, ConnectionInfoTellsWhatWasNegotiated) {
  for (const Suite& suite : kSuites) {
    SCOPED_TRACE(suite.ciphers);
    TlsPeer peer(Server(suite.version, suite.version, suite.ciphers, suite.rsa));
    ClientOptions options;
    if (suite.version == TLS1_VERSION) options.protocols = SP_PROT_TLS1_CLIENT;
    TlsClient client(peer, options);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    const SecPkgContext_ConnectionInfo info = client.ConnectionInfo();
    EXPECT_EQ(info.aiCipher, suite.cipher);
    EXPECT_EQ(info.dwCipherStrength, suite.cipher_strength);
    EXPECT_EQ(info.aiHash, suite.hash);
    EXPECT_EQ(info.dwHashStrength, suite.hash_strength);
    EXPECT_EQ(info.aiExch, suite.exchange);
    EXPECT_GE(info.dwExchStrength, 224U);
  }
}

TEST(TlsMessages, AllSizesGoBothWaysWithAllKindsOfCipher) {
  constexpr std::size_t kSizes[] = {1, 2, 15, 16, 255, 4096, 16383, 16384};
  for (const Suite& suite : kSuites) {
    TlsPeer peer(Server(suite.version, suite.version, suite.ciphers, suite.rsa));
    ClientOptions options;
    if (suite.version == TLS1_VERSION) options.protocols = SP_PROT_TLS1_CLIENT;
    TlsClient client(peer, options);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    for (const std::size_t size : kSizes) {
      SCOPED_TRACE(testing::Message() << suite.ciphers << " " << size);
      const std::string data = Pattern(size);
      ASSERT_TRUE(client.Send(data));
      EXPECT_TRUE(peer.Read() == data);
      peer.Write(data);
      EXPECT_TRUE(client.ReceiveAll(size) == data);
    }
    EXPECT_FALSE(client.Send(Pattern(16385)));
    EXPECT_EQ(client.status(), SEC_E_INVALID_PARAMETER);
  }
}

TEST(TlsMessages, RecordsMayComeInPiecesOfAnySize) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    for (const std::size_t piece : std::vector<std::size_t>{1, 2, 5, 6, 1000, 1000000}) {
      SCOPED_TRACE(testing::Message() << version << " " << piece);
      TlsPeer peer(Server(version, version));
      peer.set_piece(piece);
      TlsClient client(peer);
      ASSERT_EQ(client.Connect(), SEC_E_OK);
      peer.Write("one");
      peer.Write("two");
      peer.Write(Pattern(3000));
      EXPECT_EQ(client.Receive(), "one");
      EXPECT_EQ(client.Receive(), "two");
      EXPECT_TRUE(client.Receive() == Pattern(3000));
      EXPECT_EQ(client.Receive(), "");
      EXPECT_EQ(client.status(), SEC_E_INCOMPLETE_MESSAGE);
    }
  }
}

TEST(TlsMessages, DataBehindTheLastHandshakeMessageIsKept) {
  TlsPeer peer(Server(TLS1_2_VERSION, TLS1_2_VERSION));
  // The server sends as soon as its side of the handshake is complete, which is with its last
  // message.
  SSL_set_info_callback(peer.ssl(), [](const SSL* ssl, int where, int) {
    if ((where & SSL_CB_HANDSHAKE_DONE) == 0) return;
    SSL_write(const_cast<SSL*>(ssl), "early", 5);
  });
  TlsClient client(peer);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  EXPECT_EQ(client.Receive(), "early");
}

TEST(TlsHandshake, TheServerIsToldNamesOnly) {
  const struct {
    const char *target, *sent;
  } kCases[] = {
      {"localhost", "localhost"},
      {"Example.ORG.", "example.org"},
      {"127.0.0.1", ""},
      {"127.1", ""},
      {"::1", ""},
      {"[fe80::1%eth0]", ""},
      {"b\xC3\xBC"
       "cher.example",
       "xn--bcher-kva.example"},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.target);
    TlsPeer peer(Server());
    ClientOptions options;
    options.target = each.target;
    TlsClient client(peer, options);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    const char* const name = SSL_get_servername(peer.ssl(), TLSEXT_NAMETYPE_host_name);
    EXPECT_STREQ(name != nullptr ? name : "", each.sent);
  }
}

TEST(TlsHandshake, WhatIsNoHandshakeIsRefused) {
  const struct {
    std::string answer;
    SECURITY_STATUS status;
    bool alert_sent;
  } kCases[] = {
      {"HTTP/1.1 400 Bad Request\r\n\r\n", SEC_E_INVALID_TOKEN, false},
      {"220 mail.example ESMTP\r\n", SEC_E_INVALID_TOKEN, false},
      {"SSH", SEC_E_INVALID_TOKEN, false},  // refused before more comes
      {std::string("\x16\x03\x03\xff\xff", 5), SEC_E_INVALID_TOKEN, true},
      {std::string("\x16\x02", 2), SEC_E_INVALID_TOKEN, false},
      // Alerts: handshake_failure, protocol_version, unrecognized_name, internal_error.
      {std::string("\x15\x03\x03\x00\x02\x02\x28", 7), SEC_E_ILLEGAL_MESSAGE, false},
      {std::string("\x15\x03\x01\x00\x02\x02\x46", 7), SEC_E_UNSUPPORTED_FUNCTION, false},
      {std::string("\x15\x03\x03\x00\x02\x02\x70", 7), SEC_E_WRONG_PRINCIPAL, false},
      {std::string("\x15\x03\x03\x00\x02\x02\x50", 7), SEC_E_INTERNAL_ERROR, false},
      // A record with a handshake message that is none.
      {std::string("\x16\x03\x03\x00\x05\xC8\x00\x00\x01\x00", 10), SEC_E_ILLEGAL_MESSAGE, true},
      // Ends in the middle of a record.
      {std::string("\x16\x03\x03\x00\x50\x02\x00", 7), SEC_E_INCOMPLETE_MESSAGE, false},
      {"", SEC_E_INCOMPLETE_MESSAGE, false},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.answer);
    FixedAnswer transport(each.answer);
    TlsClient client(transport);
    EXPECT_EQ(client.Connect(), each.status);
    const std::string alert_record("\x15\x03", 2);
    EXPECT_EQ(transport.sent().find(alert_record, 5) != std::string::npos, each.alert_sent);
  }
}

TEST(TlsHandshake, OpenSslServersAreUnderstood) {
  TlsServer server(Server(), [](TlsConnection& connection) {
    const auto request = connection.ReadBytes(40000);
    if (request) connection.SendInRecords(*request, 16384);
    connection.SendCloseNotify();
  });
  SocketTransport transport(server.port());
  TlsClient client(transport);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  const std::string data = Pattern(40000);
  for (std::size_t sent = 0; sent < data.size(); sent += 16000) {
    ASSERT_TRUE(client.Send(std::string_view(data).substr(sent, 16000)));
  }
  EXPECT_TRUE(client.ReceiveAll(data.size()) == data);
  EXPECT_EQ(client.Receive(), "");
  EXPECT_EQ(client.status(), SEC_I_CONTEXT_EXPIRED);
}

TEST(TlsHandshake, WhatTheServerSentIsThereForValidation) {
  const TlsIdentity authority = MakeAuthority("Root");
  IdentityOptions options;
  options.common_name = "Intermediate";
  options.is_authority = true;
  const TlsIdentity intermediate = MakeIdentity(options, &authority);
  TlsServerOptions server;
  server.identity = MakeIdentity({}, &intermediate);
  server.issuers = {intermediate};
  TlsPeer peer(server);
  TlsClient client(peer);
  PCCERT_CONTEXT context = nullptr;
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  ASSERT_EQ(Provider()->QueryContextAttributesA(client.context(), SECPKG_ATTR_REMOTE_CERT_CONTEXT,
                                                &context),
            SEC_E_OK);
  const OwnedContext owner(context);

  const TempDir folder;
  setenv("SSL_CERT_FILE", folder.Write("root.pem", authority.CertificatePem()).c_str(), 1);
  CERT_CHAIN_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  ASSERT_TRUE(Certificates().get_chain(HCCE_CURRENT_USER, context, nullptr, context->hCertStore,
                                       &parameters, 0, nullptr, &chain));
  unsetenv("SSL_CERT_FILE");
  const OwnedChain chain_owner(chain);
  EXPECT_EQ(chain->TrustStatus.dwErrorStatus, CERT_TRUST_NO_ERROR);
  EXPECT_EQ(chain->rgpChain[0]->cElement, 3U);
}

TEST(TlsHandshake, SecretsAreLoggedWhenAskedFor) {
  const TempDir folder;
  const std::string file = folder.file("keys.log");
  setenv("SSLKEYLOGFILE", file.c_str(), 1);
  TlsPeer peer(Server());
  TlsClient client(peer);
  EXPECT_EQ(client.Connect(), SEC_E_OK);
  unsetenv("SSLKEYLOGFILE");
  const std::string lines = folder.Read("keys.log");
  EXPECT_NE(lines.find("CLIENT_TRAFFIC_SECRET_0 "), std::string::npos);
  EXPECT_EQ(lines.back(), '\n');
}

TEST(TlsProvider, MayBeMissing) {
  platform::testing::HideModule("SECURITY.DLL");
  EXPECT_EQ(LoadLibraryA("SECURITY.DLL"), nullptr);
  platform::testing::Restore();
  EXPECT_NE(LoadLibraryA("SECURITY.DLL"), nullptr);
}

TEST(TlsProvider, RefusesWhatItDoesNotDo) {
  const SecurityFunctionTableA& table = *Provider();
  char package[] = UNISP_NAME_A;
  char other_package[] = "Negotiate";
  SCH_CREDENTIALS unchecked{};
  unchecked.dwVersion = SCH_CREDENTIALS_VERSION;
  SCH_CREDENTIALS good = unchecked;
  good.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION;
  SCH_CREDENTIALS unknown = good;
  unknown.dwVersion = 77;
  TLS_PARAMETERS nothing_left{};
  nothing_left.grbitDisabledProtocols = ~0U;
  SCH_CREDENTIALS disabled = good;
  disabled.cTlsParameters = 1;
  disabled.pTlsParameters = &nothing_left;
  const struct {
    char* package;
    ULONG use;
    SCH_CREDENTIALS* description;
    SECURITY_STATUS status;
  } kCases[] = {
      {other_package, SECPKG_CRED_OUTBOUND, &good, SEC_E_SECPKG_NOT_FOUND},
      {package, 1, &good, SEC_E_UNSUPPORTED_FUNCTION},
      {package, SECPKG_CRED_OUTBOUND, nullptr, SEC_E_UNKNOWN_CREDENTIALS},
      {package, SECPKG_CRED_OUTBOUND, &unknown, SEC_E_UNKNOWN_CREDENTIALS},
      {package, SECPKG_CRED_OUTBOUND, &unchecked, SEC_E_UNSUPPORTED_FUNCTION},
      {package, SECPKG_CRED_OUTBOUND, &disabled, SEC_E_ALGORITHM_MISMATCH},
      {package, SECPKG_CRED_OUTBOUND, &good, SEC_E_OK},
  };
  CredHandle credential{};
  for (const auto& each : kCases) {
    EXPECT_EQ(
        table.AcquireCredentialsHandleA(nullptr, each.package, each.use, nullptr, each.description,
                                        nullptr, nullptr, &credential, nullptr),
        each.status);
  }
  // A credential is no context, and what is freed is no handle any more.
  SecPkgContext_StreamSizes sizes{};
  EXPECT_EQ(table.QueryContextAttributesA(&credential, SECPKG_ATTR_STREAM_SIZES, &sizes),
            SEC_E_INVALID_HANDLE);
  EXPECT_EQ(table.DeleteSecurityContext(&credential), SEC_E_INVALID_HANDLE);
  EXPECT_EQ(table.FreeCredentialsHandle(&credential), SEC_E_OK);
  EXPECT_EQ(table.FreeCredentialsHandle(&credential), SEC_E_INVALID_HANDLE);
}

}  // namespace
}  // namespace test
