// What happens in a session after its handshake, and what is left of it for the next one.
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <atomic>
#include <string>

#include "platform/security/tls_client.h"
#include "support/messages.h"

namespace test {
namespace {

TlsServerOptions Server(int version) {
  TlsServerOptions options;
  options.identity = MakeIdentity({});
  options.lowest_version = version;
  options.highest_version = version;
  return options;
}

TEST(TlsSession, KeysAreUpdatedInBothDirections) {
  TlsPeer peer(Server(TLS1_3_VERSION));
  TlsClient client(peer);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  const std::string large = Pattern(16384);
  for (int round = 0; round < 3; ++round) {
    for (const char* const data : {"a", "b", "c"}) {
      SSL_key_update(peer.ssl(), SSL_KEY_UPDATE_REQUESTED);
      peer.Write(data);
    }
    EXPECT_EQ(client.ReceiveAll(3), "abc");
    EXPECT_TRUE(client.Send(large)) << "the answers and a full record";
    EXPECT_TRUE(peer.Read() == large);
    EXPECT_TRUE(client.Send("small"));
    EXPECT_EQ(peer.Read(), "small");
  }
  EXPECT_EQ(client.Close(), SEC_E_OK);
  peer.Read();
  EXPECT_TRUE(peer.received_close_notify());
}

TEST(TlsSession, EndlessKeyUpdatesEndIt) {
  TlsPeer peer(Server(TLS1_3_VERSION));
  TlsClient client(peer);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  for (int i = 0; i < 100; ++i) {
    SSL_key_update(peer.ssl(), SSL_KEY_UPDATE_REQUESTED);
    peer.Write("x");
    if (client.Receive() != "x") break;
  }
  EXPECT_FALSE(client.Send("x"));
  EXPECT_LT(client.status(), 0) << "instead of using up the memory";
}

TEST(TlsSession, TheServerMayAskForAnotherHandshake) {
  TlsPeer peer(Server(TLS1_2_VERSION));
  TlsClient client(peer);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  ASSERT_TRUE(client.Send("before"));
  EXPECT_EQ(peer.Read(), "before");
  peer.AskForHandshake();
  EXPECT_EQ(client.Receive(), "");
  EXPECT_EQ(client.status(), SEC_E_INCOMPLETE_MESSAGE) << "nothing but the handshake came";
  EXPECT_EQ(client.renegotiations(), 1);
  EXPECT_EQ(SSL_renegotiate_pending(peer.ssl()), 0);
  peer.Write("after");
  EXPECT_EQ(client.Receive(), "after");
  ASSERT_TRUE(client.Send("after, too"));
  EXPECT_EQ(peer.Read(), "after, too");
}

TEST(TlsSession, ARenegotiationCannotExchangeTheServer) {
  TlsPeer peer(Server(TLS1_2_VERSION));
  TlsClient client(peer);
  ASSERT_EQ(client.Connect(), SEC_E_OK);
  const TlsIdentity other = MakeIdentity({});
  ASSERT_EQ(SSL_use_certificate(peer.ssl(), other.certificate.get()), 1);
  ASSERT_EQ(SSL_use_PrivateKey(peer.ssl(), other.key.get()), 1);
  peer.AskForHandshake();
  EXPECT_EQ(client.Receive(), "");
  EXPECT_EQ(client.status(), SEC_E_CERT_UNKNOWN);
  EXPECT_FALSE(client.Send("secret"));
}

TEST(TlsSession, TheEndIsToldFromACut) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    TlsPeer closing(Server(version));
    TlsClient client(closing);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    closing.Write("last");
    SSL_shutdown(closing.ssl());
    EXPECT_EQ(client.Receive(), "last");
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(client.Receive(), "");
      EXPECT_EQ(client.status(), SEC_I_CONTEXT_EXPIRED);
    }
    // The other direction is still open, until it is closed, too.
    EXPECT_TRUE(client.Send("more"));
    EXPECT_EQ(client.Close(), SEC_E_OK);
    EXPECT_FALSE(client.Send("too late"));
    EXPECT_EQ(client.status(), SEC_E_CONTEXT_EXPIRED);

    TlsPeer cut(Server(version));
    TlsClient other(cut);
    ASSERT_EQ(other.Connect(), SEC_E_OK);
    cut.Write("incomplete");
    cut.outgoing().pop_back();
    EXPECT_EQ(other.Receive(), "");
    EXPECT_EQ(other.status(), SEC_E_INCOMPLETE_MESSAGE);
  }
}

TEST(TlsSession, ChangedRecordsEndIt) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    TlsPeer peer(Server(version));
    TlsClient client(peer);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    peer.Write("data");
    peer.outgoing().back() ^= 1;
    EXPECT_EQ(client.Receive(), "");
    EXPECT_EQ(client.status(), SEC_E_MESSAGE_ALTERED);
    EXPECT_EQ(client.Receive(), "");
    EXPECT_EQ(client.status(), SEC_E_MESSAGE_ALTERED) << "for good";
    EXPECT_FALSE(client.Send("x"));
    // The token of the shutdown is the alert that tells the server.
    EXPECT_EQ(client.Close(), SEC_E_OK);
    peer.Read();
    EXPECT_EQ(peer.received_alert(), SSL_AD_BAD_RECORD_MAC);
  }
}

TEST(TlsSession, GarbageBetweenRecordsIsRefused) {
  for (const std::string& garbage :
       {std::string("HTTP/1.1 200 OK"), std::string("\x17\x03\x03\xff\xff", 5),
        std::string("\0", 1), std::string("\x17\x02", 2)}) {
    TlsPeer peer(Server(TLS1_3_VERSION));
    TlsClient client(peer);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    peer.Write("good");
    peer.outgoing() += garbage;
    EXPECT_EQ(client.Receive(), "good");
    EXPECT_EQ(client.Receive(), "");
    EXPECT_EQ(client.status(), SEC_E_INVALID_TOKEN);
  }
}

TEST(TlsSession, KeysAndHandshakesChangeOverTheNetwork) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    std::atomic<int> good = 0;
    {
      TlsServer server(Server(version), [&](TlsConnection& connection) {
        if (version == TLS1_3_VERSION ? connection.UpdateKeys() : connection.Renegotiate()) ++good;
        const auto request = connection.ReadRequest();
        if (request && connection.SendInRecords(*request, 7)) ++good;
        if (connection.SendCloseNotify() && connection.WaitForCloseNotify()) ++good;
      });
      SocketTransport transport(server.port());
      TlsClient client(transport);
      ASSERT_EQ(client.Connect(), SEC_E_OK);
      const std::string request = "GET / HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody";
      ASSERT_TRUE(client.Send(request));
      EXPECT_EQ(client.ReceiveAll(request.size()), request);
      EXPECT_EQ(client.Receive(), "");
      EXPECT_EQ(client.status(), SEC_I_CONTEXT_EXPIRED);
      EXPECT_EQ(client.Close(), SEC_E_OK);
      EXPECT_EQ(client.renegotiations(), version == TLS1_2_VERSION ? 1 : 0);
    }
    EXPECT_EQ(good, 3);
  }
}

// OpenSSL takes old errors in its queue for the reason of a failure, or a success for one.
TEST(TlsSession, ErrorsOfTheApplicationStayItsOwn) {
  TlsServer server(Server(TLS1_3_VERSION), [](TlsConnection& connection) {
    const auto bytes = connection.ReadBytes(4);
    if (bytes) connection.Send(*bytes);
    connection.SendRaw("rubbish");
    connection.WaitForCloseNotify();
  });
  ERR_clear_error();
  ERR_raise_data(ERR_LIB_USER, 77, "of the application");
  {
    SocketTransport transport(server.port());
    TlsClient client(transport);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    EXPECT_TRUE(client.Send("ping"));
    EXPECT_EQ(client.Receive(), "ping");
    EXPECT_EQ(client.Receive(), "");
    EXPECT_EQ(client.status(), SEC_E_INVALID_TOKEN);
  }
  EXPECT_EQ(ImportPfx("rubbish", u""), nullptr);
  const char* data = nullptr;
  int flags = 0;
  const unsigned long error = ERR_get_error_all(nullptr, nullptr, nullptr, &data, &flags);
  EXPECT_EQ(ERR_GET_LIB(error), ERR_LIB_USER);
  EXPECT_EQ(ERR_GET_REASON(error), 77);
  EXPECT_STREQ(data, "of the application");
  EXPECT_EQ(ERR_get_error(), 0u) << "nothing is left behind";
}

TEST(TlsResumption, IsBoundToNamePortAndProtocols) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    TlsPeer first(Server(version));
    const DWORD bit = version == TLS1_2_VERSION ? SP_PROT_TLS1_2_CLIENT : SP_PROT_TLS1_3_CLIENT;
    const std::string name = "resumption" + std::to_string(version) + ".example";
    const struct {
      std::string target;
      DWORD protocols;
      bool resumed;
      DWORD port = 443;
    } kCases[] = {
        {name, 0, false},
        {name, 0, true},
        {"RESUMPTION" + std::to_string(version) + ".example.", 0, true},
        {"other.example", 0, false},
        {name, 0, false, 8443},
        {name, 0, true},
        {name, bit, false},
        {name, bit, true},
    };
    for (const auto& each : kCases) {
      SCOPED_TRACE(testing::Message() << version << each.target << each.protocols);
      TlsPeer peer(first.settings());
      ClientOptions options;
      options.target = each.target;
      options.protocols = each.protocols;
      options.port = each.port;
      TlsClient client(peer, options);
      ASSERT_EQ(client.Connect(), SEC_E_OK);
      peer.Write("x");
      EXPECT_EQ(client.Receive(), "x") << "and the sessions that came before it";
      EXPECT_EQ(peer.resumed(), each.resumed);
      // The certificate is there for validation in any case.
      PCCERT_CONTEXT certificate = nullptr;
      EXPECT_EQ(Provider()->QueryContextAttributesA(client.context(),
                                                    SECPKG_ATTR_REMOTE_CERT_CONTEXT, &certificate),
                SEC_E_OK);
      EXPECT_NE(OwnedContext(certificate), nullptr);
      EXPECT_NE(client.ConnectionInfo().aiExch, 0U);
    }
  }
}

TEST(TlsResumption, ServersThatForgotHandshakeInFull) {
  ClientOptions options;
  options.target = "forgetful.example";
  for (int i = 0; i < 3; ++i) {
    TlsPeer peer(Server(i == 1 ? TLS1_3_VERSION : TLS1_2_VERSION));
    TlsClient client(peer, options);
    ASSERT_EQ(client.Connect(), SEC_E_OK);
    peer.Write("x");
    EXPECT_EQ(client.Receive(), "x");
    EXPECT_FALSE(peer.resumed());
  }
}

}  // namespace
}  // namespace test
