#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/security/tls_client.h"

namespace test {
namespace {

using ClientCertificate = TlsServerOptions::ClientCertificate;

// An authority with an intermediate, certificates for clients, and a server that accepts them.
class ClientCertificates : public testing::Test {
 protected:
  ClientCertificates() {
    IdentityOptions options;
    options.common_name = "Client Intermediate";
    options.is_authority = true;
    intermediate_ = MakeIdentity(options, &authority_);
    options.is_authority = false;
    options.extended_usage = "clientAuth";
    options.common_name = "alice";
    alice_ = MakeIdentity(options, &intermediate_);
    options.common_name = "expired alice";
    options.valid_from_days = -20;
    options.valid_to_days = -10;
    expired_ = MakeIdentity(options, &intermediate_);
  }

  TlsServerOptions Server(ClientCertificate asked, int version) const {
    TlsServerOptions options;
    options.identity = server_;
    options.client_certificate = asked;
    options.client_authorities = {authority_};
    options.lowest_version = version;
    options.highest_version = version;
    return options;
  }

  OwnedStore Store(const TlsIdentity& identity) const {
    Pkcs12Options options;
    options.issuers = {intermediate_, authority_};
    return ImportPfx(MakePkcs12(identity, options), u"");
  }

  static std::string SubjectSeenBy(TlsPeer& peer) {
    X509* const certificate = SSL_get0_peer_certificate(peer.ssl());
    char name[64] = {};
    if (certificate != nullptr) {
      X509_NAME_get_text_by_NID(X509_get_subject_name(certificate), NID_commonName, name,
                                sizeof(name));
    }
    return name;
  }

  const TlsIdentity authority_ = MakeAuthority("Client Authority");
  const TlsIdentity server_ = MakeIdentity({});
  const TlsIdentity stranger_ = MakeIdentity({});
  TlsIdentity intermediate_, alice_, expired_;
};

TEST_F(ClientCertificates, AreShownWhenAsked) {
  enum class Given { kNone, kInCredential, kInStore };
  const struct {
    const char* what;
    ClientCertificate asked;
    Given given;
    const TlsIdentity* identity;
    bool accepted;
    const char* seen;
    bool interrupted;  // the caller was asked for another credential
  } kCases[] = {
      {"not asked", ClientCertificate::kIgnored, Given::kInCredential, &alice_, true, "", false},
      {"asked", ClientCertificate::kRequired, Given::kInCredential, &alice_, true, "alice", false},
      {"optional", ClientCertificate::kOptional, Given::kInCredential, &alice_, true, "alice",
       false},
      {"found on request", ClientCertificate::kRequired, Given::kInStore, &alice_, true, "alice",
       true},
      {"optional, none", ClientCertificate::kOptional, Given::kNone, nullptr, true, "", true},
      {"required, none", ClientCertificate::kRequired, Given::kNone, nullptr, false, "", true},
      {"none that fits", ClientCertificate::kRequired, Given::kInStore, &stranger_, false, "",
       true},
      {"none that is valid", ClientCertificate::kOptional, Given::kInStore, &expired_, true, "",
       true},
      {"of a stranger", ClientCertificate::kRequired, Given::kInCredential, &stranger_, false, "",
       false},
  };
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    for (const auto& each : kCases) {
      SCOPED_TRACE(testing::Message() << version << " " << each.what);
      TlsPeer peer(Server(each.asked, version));
      const OwnedStore store = each.identity != nullptr ? Store(*each.identity) : nullptr;
      const OwnedContext context = store != nullptr ? FirstOf(store) : nullptr;
      ClientOptions options;
      options.target = std::string(each.what) + std::to_string(version);
      if (each.given == Given::kInCredential) options.certificate = context.get();
      if (each.given == Given::kInStore) options.store = store.get();
      TlsClient client(peer, options);
      const SECURITY_STATUS status = client.Connect();
      // In TLS 1.3 the server's refusal comes after the client's side of the handshake.
      std::string received;
      if (status == SEC_E_OK) {
        peer.outgoing();  // the server completes its side
        if (SSL_is_init_finished(peer.ssl())) peer.Write("hello");
        received = client.Receive();
      }
      EXPECT_EQ(received == "hello", each.accepted);
      if (!each.accepted) {
        EXPECT_LT(client.status(), 0);
        EXPECT_NE(client.status(), SEC_E_INCOMPLETE_MESSAGE);
      }
      EXPECT_EQ(each.accepted ? SubjectSeenBy(peer) : "", each.seen);
      const auto& steps = client.steps();
      EXPECT_EQ(std::count(steps.begin(), steps.end(), SEC_I_INCOMPLETE_CREDENTIALS),
                each.interrupted ? 1 : 0);
    }
  }
}

TEST_F(ClientCertificates, MayBeAskedForLater) {
  TlsPeer peer(Server(ClientCertificate::kIgnored, TLS1_2_VERSION));
  const OwnedStore store = Store(alice_);
  ClientOptions options;
  options.store = store.get();
  TlsClient client(peer, options);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  X509_STORE_add_cert(SSL_CTX_get_cert_store(peer.settings()), authority_.certificate.get());
  SSL_set_verify(peer.ssl(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
  peer.AskForHandshake();
  client.Receive();
  EXPECT_EQ(SubjectSeenBy(peer), "alice");
  peer.Write("welcome");
  EXPECT_EQ(client.Receive(), "welcome");
}

TEST_F(ClientCertificates, SessionsOfOneAreNotForOthers) {
  TlsPeer first(Server(ClientCertificate::kOptional, TLS1_3_VERSION));
  const OwnedStore store = Store(alice_);
  const OwnedContext alice = FirstOf(store);
  const struct {
    PCCERT_CONTEXT certificate;
    bool resumed;
    const char* seen;
  } kCases[] = {
      {alice.get(), false, "alice"},
      {nullptr, false, ""},
      {nullptr, true, ""},
      {alice.get(), true, "alice"},
  };
  for (const auto& each : kCases) {
    TlsPeer peer(first.settings());
    ClientOptions options;
    options.target = "members.example";
    options.certificate = each.certificate;
    TlsClient client(peer, options);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    peer.Write("x");
    EXPECT_EQ(client.Receive(), "x");
    EXPECT_EQ(peer.resumed(), each.resumed);
    EXPECT_EQ(SubjectSeenBy(peer), each.seen);
  }
}

TEST_F(ClientCertificates, NeedTheirKey) {
  Pkcs12Options options;
  options.issuers = {intermediate_};
  const OwnedStore store = ImportPfx(MakePkcs12(alice_, options), u"");
  PCCERT_CONTEXT context = Certificates().next(store.get(), nullptr);
  context = Certificates().next(store.get(), context);  // the intermediate
  const OwnedContext owner(context);
  ASSERT_NE(context, nullptr);
  FixedAnswer transport("");
  ClientOptions client_options;
  client_options.certificate = context;
  TlsClient client(transport, client_options);
  EXPECT_EQ(client.Connect(), SEC_E_NO_CREDENTIALS);
}

}  // namespace
}  // namespace test
