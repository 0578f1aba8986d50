// What servers do in the middle of secure sessions, and what they do wrong.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <thread>

#include "events/window_fixture.h"
#include "support/raw_server.h"
#include "tls/tls_fixture.h"

namespace test {
namespace {

class RunningSessionTest : public TlsTest {
 protected:
  TlsServerOptions OfVersion(int version) const {
    TlsServerOptions options = Signed();
    options.lowest_version = options.highest_version = version;
    return options;
  }

  // What the server sends from now on is kept back, to be sent in pieces.
  static std::string Withhold(TlsConnection& connection, const std::function<void()>& produce) {
    BIO* const memory = BIO_new(BIO_s_mem());
    BIO* const socket = SSL_get_wbio(connection.ssl());
    BIO_up_ref(socket);
    SSL_set0_wbio(connection.ssl(), memory);
    produce();
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    std::string bytes(data, static_cast<std::size_t>(size));
    SSL_set0_wbio(connection.ssl(), socket);
    return bytes;
  }

  // Counts the events of a session.
  static void CALLBACK Count(HCLIENT /*client*/, UINT /*event*/, DWORD /*error*/,
                             DWORD_PTR counter) {
    ++*reinterpret_cast<int*>(counter);
  }
};

TEST_F(RunningSessionTest, KeysAndHandshakesChangeInTheMiddleOfBodies) {
  const std::string body = Pattern(300000);
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    std::string uploaded;
    std::atomic<int> changes = 0;
    const TlsServer server(OfVersion(version), [&](TlsConnection& connection) {
      const auto change = [&] {
        const bool newest = version == TLS1_3_VERSION;
        if (newest ? connection.UpdateKeys() : connection.Renegotiate()) ++changes;
      };
      connection.ReadRequest();
      const std::string response = Response("200 OK", {}, body);
      connection.Send(response.substr(0, 100000));
      change();
      connection.Send(response.substr(100000));
      if (version == TLS1_3_VERSION) change();  // before the answer to the first was read
      uploaded = connection.ReadRequest().value_or("");
      connection.Send(Response("200 OK", {}, ""));
      connection.WaitForCloseNotify();
    });
    const HCLIENT client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE);
    EXPECT_TRUE(Get(client, "/").body == body) << std::hex << LastError();
    EXPECT_EQ(HttpPutDataA(client, "/", body.data(), static_cast<DWORD>(body.size()), 0), 200);
    HttpDisconnect(client);
    EXPECT_TRUE(BodyOf(uploaded) == body);
    EXPECT_EQ(server.handshakes(), 1u);
    EXPECT_EQ(changes, version == TLS1_3_VERSION ? 2 : 1);
  }
}

// A server that asks an idle connection for another handshake and then is silent is not waited for.
TEST_F(RunningSessionTest, IdleConnectionsAreNotRenegotiated) {
  const TlsServer server(OfVersion(TLS1_2_VERSION), [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Response("200 OK", {}, std::to_string(connection.index())));
    if (connection.index() == 0) {
      SSL_renegotiate(connection.ssl());
      SSL_do_handshake(connection.ssl());
      char bytes[1000];
      while (recv(SSL_get_fd(connection.ssl()), bytes, sizeof(bytes), 0) > 0) {
      }
    }
  });
  const HCLIENT client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE, nullptr, 2);
  int timeouts = 0;
  HttpRegisterEvent(client, HTTP_EVENT_TIMEOUT, Count, reinterpret_cast<DWORD_PTR>(&timeouts));
  EXPECT_EQ(Get(client, "/").body, "0");
  DWORD available = 0;
  EXPECT_TRUE(WaitUntil([&] { return HttpIsReadable(client, 0, &available) != FALSE; }));
  EXPECT_EQ(Get(client, "/").body, "1") << std::hex << LastError();
  EXPECT_EQ(timeouts, 0);
  HttpDisconnect(client);
}

// While another handshake is under way, nothing is known about the session.
TEST_F(RunningSessionTest, RenegotiationsAreLimitedInTime) {
  TlsServerOptions options = OfVersion(TLS1_2_VERSION);
  options.resumable = false;  // or the next handshake would begin with what the last one settled
  const TlsServer server(options, [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 100"}) + "begin");
    SSL_renegotiate(connection.ssl());
    SSL_do_handshake(connection.ssl());
    char bytes[1000];
    while (recv(SSL_get_fd(connection.ssl()), bytes, sizeof(bytes), 0) > 0) {
    }
  });
  const HCLIENT client = ConnectSecurely(server.port(), 0, nullptr, 1);
  DWORD error = 0;
  const auto ask = [](HCLIENT session, UINT, DWORD, DWORD_PTR result) {
    SECURITYINFOA info{};
    info.dwSize = sizeof(info);
    if (HttpGetSecurityInformationA(session, &info)) return;
    *reinterpret_cast<DWORD*>(result) = HttpGetLastError();
  };
  HttpRegisterEvent(client, HTTP_EVENT_TIMEOUT, ask, reinterpret_cast<DWORD_PTR>(&error));
  EXPECT_EQ(Get(client, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(error, DWORD{QV_ERROR_SECURITY_CONTEXT});
  HttpDisconnect(client);
}

// A message of the protocol's own, of which the rest comes when the client already wants to send.
TEST_F(RunningSessionTest, MessagesOfTheProtocolAreCompletedBeforeSending) {
  std::atomic<HCLIENT> client = INVALID_CLIENT;
  std::atomic<bool> half_sent = false, wants_to_send = false;
  const TlsServer server(OfVersion(TLS1_3_VERSION), [&](TlsConnection& connection) {
    SSL_CTX_set_session_ticket_cb(
        SSL_get_SSL_CTX(connection.ssl()),
        [](SSL* ssl, void*) {
          const std::string data(1000, 'x');
          return SSL_SESSION_set1_ticket_appdata(SSL_get_session(ssl), data.data(), data.size());
        },
        nullptr, nullptr);
    connection.ReadRequest();
    connection.Send(Response("200 OK", {}, "first"));
    SSL_set_max_send_fragment(connection.ssl(), 512);
    const std::string ticket = Withhold(connection, [&] {
      SSL_new_session_ticket(connection.ssl());
      SSL_do_handshake(connection.ssl());
    });
    const auto high = static_cast<unsigned char>(ticket[3]);
    const std::size_t first = 5 + high * 256u + static_cast<unsigned char>(ticket[4]);
    EXPECT_LT(first, ticket.size());
    connection.SendRaw(ticket.substr(0, first));
    half_sent = true;
    WaitUntil([&] { return wants_to_send && HttpIsBlocking(client) != FALSE; });
    connection.SendRaw(ticket.substr(first));
    if (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "second"));
    connection.WaitForCloseNotify();
  });
  client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Get(client, "/").body, "first");
  EXPECT_TRUE(WaitUntil([&] { return half_sent.load(); }));
  wants_to_send = true;
  EXPECT_EQ(Get(client, "/").body, "second") << std::hex << LastError();
  HttpDisconnect(client);
  EXPECT_EQ(server.handshakes(), 1u);
}

TEST_F(RunningSessionTest, ConnectionsWithPartOfARecordAreNotUsedAgain) {
  const TlsServer server(Signed(), [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Response("200 OK", {}, std::to_string(connection.index())));
    connection.SendRaw(std::string("\x17\x03\x03", 3));
    connection.WaitForCloseNotify();
  });
  const HCLIENT client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Get(client, "/").body, "0");
  DWORD available = 0;
  EXPECT_TRUE(WaitUntil([&] { return HttpIsReadable(client, 0, &available) != FALSE; }));
  EXPECT_EQ(Get(client, "/").body, "1") << std::hex << LastError();
  HttpDisconnect(client);
}

// Handshakes that go on and on, and those that end in a reset.
TEST_F(RunningSessionTest, HandshakesEnd) {
  const std::string begin_of_record("\x16\x03\x03\x40\x00", 5);
  const std::pair<RawServer::Handler, DWORD> kCases[] = {
      {[&](Connection& connection) {
         connection.SendInPieces(begin_of_record + std::string(16384, '\x01'), 1,
                                 std::chrono::milliseconds(20));
       },
       QV_ERROR_OPERATION_TIMEOUT},
      {[](Connection& connection) {
         connection.ReadBytes(5);  // the connect is over then
         connection.Reset();
       },
       QV_ERROR_SECURITY_CONTEXT},
  };
  for (const auto& [handler, error] : kCases) {
    const RawServer server(handler);
    EXPECT_EQ(ConnectSecurely(server.port(), 0, nullptr, 1), INVALID_CLIENT);
    EXPECT_EQ(LastError(), error);
  }
}

// Whoever was connected to a good server is not led to one that cannot prove to be it.
TEST_F(RunningSessionTest, CertificatesAreCheckedAtEachConnect) {
  const TlsIdentity stranger = MakeAuthority("Stranger");
  for (const bool good_first : {true, false}) {
    const TlsServer server(Signed(), [](TlsConnection& connection) {
      connection.ReadRequest();
      connection.Send(Response("200 OK", {}, "x"));
    });
    Trust(good_first ? authority_.CertificatePem() : stranger.CertificatePem());
    const HCLIENT client = ConnectSecurely(server.port(), HTTP_OPTION_KEEPALIVE);
    EXPECT_EQ(Get(client, "/").body, "x");
    Trust(stranger.CertificatePem());
    const Fetched second = Get(client, "/");
    if (good_first) {
      EXPECT_EQ(second.result, HTTP_ERROR);
      EXPECT_EQ(LastError(), DWORD{QV_ERROR_SECURITY_CERTIFICATE});
    } else {
      EXPECT_EQ(second.body, "x");
    }
    EXPECT_TRUE(WaitUntil([&] { return server.handshakes() == 2; }));
    HttpDisconnect(client);
  }
}

// Sessions that are closed inside an event which their channel causes.
TEST_F(RunningSessionTest, EndInsideEvents) {
  const TlsServer server(Signed(), [](TlsConnection& connection) {
    connection.ReadRequest();
    connection.Send(Head("200 OK", {"Content-Length: 100"}) + "begin");
    connection.WaitForCloseNotify();
  });
  const auto close = [](HCLIENT client, UINT, DWORD, DWORD_PTR) { HttpDisconnect(client); };
  const HCLIENT client = ConnectSecurely(server.port(), 0, nullptr, 1);
  HttpRegisterEvent(client, HTTP_EVENT_TIMEOUT, close, 0);
  EXPECT_EQ(Get(client, "/").result, HTTP_ERROR);
  EXPECT_EQ(HttpGetStatus(client), HTTP_ERROR);

  const RawServer silent(
      RawServer::Script{{{.reply = "", .how = RawServer::How::kStall, .before_request = true}}});
  const std::pair<UINT, std::uint16_t> kCases[] = {{HTTP_EVENT_CONNECT, server.port()},
                                                   {HTTP_EVENT_READ, server.port()},
                                                   {HTTP_EVENT_TIMEOUT, silent.port()}};
  for (const auto& [last_event, port] : kCases) {
    EventWindow window;
    window.on_event = [&, last = last_event](const ReceivedEvent& event) {
      if (event.event == last) {
        HttpDisconnect(event.client);
      } else if (event.event == HTTP_EVENT_CONNECT) {
        HttpCommandA(event.client, "GET", "/", nullptr, 0, 0);
      }
    };
    const HCLIENT asynchronous = HttpAsyncConnectA("127.0.0.1", port, 1, HTTP_OPTION_SECURE, 0,
                                                   nullptr, window.handle(), kEventMessage);
    ASSERT_NE(asynchronous, INVALID_CLIENT);
    EXPECT_TRUE(window.PumpUntilEvent(last_event)) << last_event;
    EXPECT_EQ(HttpGetStatus(asynchronous), HTTP_ERROR);
    EXPECT_EQ(window.events().back().event, last_event);
  }
}

TEST_F(RunningSessionTest, WritesGoOnWhenTheServerReadsAgain) {
  const std::string content = Pattern(8 * 1024 * 1024);
  std::atomic<bool> blocked = false;
  std::string received;
  const TlsServer server(Signed(), [&](TlsConnection& connection) {
    WaitUntil([&] { return blocked.load(); });
    received = connection.ReadRequest().value_or("");
    connection.Send(Response("201 Created", {}, ""));
    connection.WaitForCloseNotify();
  });
  EventWindow window;
  std::size_t sent = 0;
  window.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_CONNECT) {
      EXPECT_EQ(HttpCreateFileA(event.client, "/up", static_cast<DWORD>(content.size()), 0), 0);
    }
    if (event.event != HTTP_EVENT_CONNECT && event.event != HTTP_EVENT_WRITE) return;
    while (sent < content.size()) {
      const auto* data = reinterpret_cast<const BYTE*>(content.data()) + sent;
      const INT count = HttpWrite(event.client, data, static_cast<INT>(content.size() - sent));
      if (count <= 0) {
        EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_WOULD_BLOCK});
        blocked = true;
        return;
      }
      sent += static_cast<std::size_t>(count);
    }
  };
  const HCLIENT client =
      HttpAsyncConnectA("127.0.0.1", server.port(), 20, HTTP_OPTION_SECURE | HTTP_OPTION_KEEPALIVE,
                        0, nullptr, window.handle(), kEventMessage);
  ASSERT_NE(client, INVALID_CLIENT);
  EXPECT_TRUE(EventWindow::PumpUntil([&] { return sent == content.size(); }));
  EXPECT_TRUE(blocked);
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(HttpGetResultCode(client), 201);
  HttpDisconnect(client);
  EXPECT_TRUE(BodyOf(received) == content);
}

}  // namespace
}  // namespace test
