// Sessions that never wait: connects, requests and responses through the messages of a window.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "events/window_fixture.h"
#include "support/loopback.h"
#include "support/raw_server.h"

namespace test {
namespace {

using AsyncSessionTest = EventTest;

TEST_F(AsyncSessionTest, FetchesThroughMessagesAlone) {
  const std::string body = Pattern(300000);
  const RawServer server(
      OneConnection({Response("200 OK", {}, body), Response("200 OK", {}, "b")}));
  const HCLIENT client = ConnectAsync(server.port());
  ASSERT_NE(client, INVALID_CLIENT);
  EXPECT_EQ(HttpGetStatus(client), HTTP_STATUS_CONNECT);
  EXPECT_FALSE(HttpIsConnected(client));
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
  EXPECT_EQ(window_.events().front().error, 0u);
  EXPECT_EQ(window_.events().front().client, client);
  EXPECT_EQ(HttpGetStatus(client), HTTP_STATUS_IDLE);
  EXPECT_TRUE(HttpIsConnected(client));

  std::string received;
  bool whole = false;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event != HTTP_EVENT_READ || whole) return;
    const DWORD error = ReadAvailable(client, received);
    EXPECT_TRUE(error == 0 || error == QV_ERROR_OPERATION_WOULD_BLOCK) << std::hex << error;
    whole = error == 0;
  };
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);  // nothing has come yet
  ASSERT_TRUE(EventWindow::PumpUntil([&] { return whole; }));
  EXPECT_TRUE(window_.Has(HTTP_EVENT_COMMAND));
  EXPECT_EQ(HttpGetResultCode(client), 200);
  EXPECT_EQ(received, body);
  EXPECT_EQ(HttpCloseFile(client), 0);

  received.clear();
  whole = false;
  EXPECT_EQ(HttpCommandA(client, "GET", "/2", nullptr, 0, 0), 0);
  ASSERT_TRUE(EventWindow::PumpUntil([&] { return whole; }));
  EXPECT_EQ(received, "b");
  EXPECT_TRUE(window_.others().empty());
  EXPECT_EQ(HttpDisconnect(client), 0);
  EXPECT_FALSE(window_.IsSubclassed());
}

TEST_F(AsyncSessionTest, FailedConnectIsReportedAndTheSessionGone) {
  unsigned port = 0;
  {
    const RawServer server(RawServer::Script{});
    port = server.port();
  }
  DWORD error_inside = 0;
  bool existed = false;
  window_.on_event = [&](const ReceivedEvent& event) {
    error_inside = LastError();
    existed = Exists(event.client);
  };
  const HCLIENT client = ConnectAsync(port);
  ASSERT_NE(client, INVALID_CLIENT);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
  EXPECT_EQ(window_.events().front().error, 10061u);
  EXPECT_EQ(error_inside, DWORD{QV_ERROR_CONNECTION_REFUSED});
  EXPECT_TRUE(existed);
  EXPECT_FALSE(Exists(client));
  EXPECT_FALSE(window_.IsSubclassed());
}

TEST_F(AsyncSessionTest, ArgumentsAreChecked) {
  EXPECT_EQ(HttpAsyncConnectA("127.0.0.1", 9, 1, 0, 0, nullptr, window_.handle(), WM_USER - 1),
            INVALID_CLIENT);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  const auto no_window = reinterpret_cast<HWND>(std::uintptr_t{0x7FFF0});
  EXPECT_EQ(HttpAsyncConnectW(u"127.0.0.1", 9, 1, 0, 0, nullptr, no_window, kEventMessage),
            INVALID_CLIENT);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
}

TEST_F(AsyncSessionTest, ErrorResponsesAndRedirectsAreHandledOnArrival) {
  const RawServer server(RawServer::Script{
      {{.reply = Response("302 Found", {"Location: /there"}, "")}},
      {{.reply = Response("404 Not Found", {}, "no")}, {.reply = Response("200 OK", {}, "yes")}}});
  const HCLIENT client =
      ConnectAsyncAndWait(server.port(), HTTP_OPTION_KEEPALIVE | HTTP_OPTION_REDIRECT);
  UINT command_error = 0;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_COMMAND && event.error != 0) command_error = event.error;
  };
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_REDIRECT));
  // The redirect was followed to its end within the same notification.
  EXPECT_EQ(command_error, UINT{QV_ERROR_RESOURCE_NOT_FOUND & 0xFFFF});
  EXPECT_EQ(HttpGetResultCode(client), 404);
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(Get(client, "/next").body, "yes");
}

// Functions that move a whole body wait, and the session is asynchronous again afterwards; also
// from inside the event that tells that the connection is there.
TEST_F(AsyncSessionTest, WholeTransfersWork) {
  const std::string large = Pattern(5 * 1024 * 1024);
  const RawServer server(OneConnection({Response("200 OK", {}, large), Response("200 OK", {}, "p"),
                                        Response("200 OK", {"Last-Modified: x"}, ""),
                                        Response("200 OK", {}, "late")}));
  Fetched inside{};
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_CONNECT) inside = Get(event.client, "/inside");
  };
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  EXPECT_EQ(inside.result, 200);
  EXPECT_EQ(inside.body, large);
  EventWindow::Pump();
  EXPECT_FALSE(window_.Has(HTTP_EVENT_READ)) << "nothing is left to read";
  // The socket's buffers do not hold this, but nothing of it is lost.
  HttpSetEncodingType(client, HTTP_ENCODING_XML);
  EXPECT_EQ(HttpCommandA(client, "POST", "/", large.data(), static_cast<DWORD>(large.size()), 0),
            0);
  EXPECT_EQ(HttpGetResultCode(client), 200);
  EXPECT_EQ(HttpCloseFile(client), 0);
  DWORD size = 1;
  EXPECT_EQ(HttpGetFileSizeA(client, "/size", &size), 200);
  BYTE byte = 0;
  EXPECT_EQ(HttpCommandA(client, "GET", "/late", nullptr, 0, 0), 0);
  window_.Clear();
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_READ));
  EXPECT_EQ(HttpRead(client, &byte, 1), 1);
  EXPECT_EQ(byte, 'l');
  EXPECT_EQ(BodyOf(server.requests()[1]).size(), large.size());
}

TEST_F(AsyncSessionTest, EndOfTheConnectionIsReported) {
  const RawServer server(
      RawServer::Script{{{.reply = Response("200 OK", {}, "last"), .close_after = true}}});
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
  std::string body;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_READ) ReadAvailable(client, body);
  };
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_DISCONNECT));
  EXPECT_EQ(body, "last");
  EXPECT_TRUE(Exists(client));
}

// The session ends inside each event that can come; nothing of it is touched afterwards.
TEST_F(AsyncSessionTest, EventsMayCloseTheirSession) {
  for (const UINT closing_event : {HTTP_EVENT_CONNECT, HTTP_EVENT_WRITE, HTTP_EVENT_COMMAND,
                                   HTTP_EVENT_READ, HTTP_EVENT_DISCONNECT, HTTP_EVENT_REDIRECT}) {
    SCOPED_TRACE(closing_event);
    const std::string status = closing_event == HTTP_EVENT_REDIRECT ? "302 Found" : "200 OK";
    const RawServer server(RawServer::Script{
        {{.reply = Response(status, {"Location: /"}, "x"), .close_after = true}}});
    HCLIENT client = ConnectAsync(server.port(), HTTP_OPTION_REDIRECT);
    window_.on_event = [&](const ReceivedEvent& event) {
      if (event.event == closing_event) {
        EXPECT_EQ(HttpDisconnect(client), 0);
      } else if (event.event == HTTP_EVENT_CONNECT) {
        EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
      } else if (event.event == HTTP_EVENT_READ) {
        std::string body;
        ReadAvailable(client, body);
      }
    };
    window_.Clear();
    EXPECT_TRUE(EventWindow::PumpUntil([&] { return !Exists(client); }));
    EXPECT_TRUE(server.WaitForEnds(1));
    EventWindow::Pump();
    EXPECT_FALSE(window_.IsSubclassed());
  }
}

// One HttpRead per event is enough, wherever the bytes are, and no read waits: neither for the
// header nor inside the event that tells of it.
TEST_F(AsyncSessionTest, EachReadThatLeavesSomethingIsFollowedByAnEvent) {
  const std::string body = Pattern(100000);
  std::atomic<int> allowed{0};
  const RawServer server([&](Connection& connection) {
    connection.ReadRequest();
    WaitUntil([&] { return allowed > 0; });
    connection.Send(Head("200 OK", {"Content-Length: 100000"}));
    WaitUntil([&] { return allowed > 1; });
    connection.Send(body);
    connection.WaitForClose();
  });
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
  std::string received;
  EXPECT_EQ(ReadAvailable(client, received), DWORD{QV_ERROR_OPERATION_WOULD_BLOCK});
  DWORD error_inside = 0;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_COMMAND) {
      error_inside = ReadAvailable(client, received);
      allowed = 2;
    }
    BYTE piece[5000];
    if (event.event != HTTP_EVENT_READ) return;
    const INT count = HttpRead(client, piece, sizeof piece);
    if (count > 0) received.append(reinterpret_cast<char*>(piece), static_cast<std::size_t>(count));
  };
  allowed = 1;
  EXPECT_TRUE(EventWindow::PumpUntil([&] { return received.size() >= body.size(); }));
  EXPECT_EQ(received, body);
  EXPECT_EQ(error_inside, DWORD{QV_ERROR_OPERATION_WOULD_BLOCK});
}

TEST_F(AsyncSessionTest, BytesReceivedBeforeTheWindowCameAreAnnounced) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 200);
  EXPECT_EQ(HttpEnableEvents(client, window_.handle(), kEventMessage), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_READ));
  std::string body;
  EXPECT_EQ(ReadAvailable(client, body), 0u);
  EXPECT_EQ(body, "body");
}

// The connect ended while nothing could be delivered: its outcome is not forgotten, and it is not
// taken for that of another connection.
TEST_F(AsyncSessionTest, ConnectsThatEndWhileFrozen) {
  const RefusingPort refusing;
  const HCLIENT refused = ConnectAsync(refusing.port());
  EXPECT_EQ(HttpFreezeEvents(refused, TRUE), 0);
  const RawServer server(RawServer::Script{{}, {{.reply = Response("200 OK", {}, "1")}}});
  const HCLIENT client = ConnectAsync(server.port());
  EXPECT_EQ(HttpFreezeEvents(client, TRUE), 0);
  EXPECT_TRUE(server.WaitForConnections(1));
  for (int i = 0; i < 20; ++i) {
    EventWindow::Pump();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_TRUE(window_.events().empty());
  EXPECT_EQ(HttpFreezeEvents(refused, FALSE), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
  EXPECT_EQ(window_.events().front().error, 10061u);
  EXPECT_FALSE(Exists(refused));

  window_.Clear();
  EXPECT_EQ(Get(client, "/").body, "1");  // over a connection of its own
  EXPECT_EQ(HttpFreezeEvents(client, FALSE), 0);
  EventWindow::Pump();
  EXPECT_FALSE(window_.Has(HTTP_EVENT_CONNECT));
  EXPECT_EQ(HttpGetStatus(client), HTTP_STATUS_IDLE);
}

// The result of a PUT is that of its response, which is announced: at once, or once the body that
// was promised is written.
TEST_F(AsyncSessionTest, PutsAreAnsweredLikeOtherRequests) {
  const RawServer server(
      OneConnection({Response("409 Conflict", {}, ""), Response("201 Created", {}, "")}));
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  UINT error = 0;
  window_.on_event = [&](const ReceivedEvent& event) {
    if (event.event == HTTP_EVENT_COMMAND) error = event.error;
  };
  EXPECT_EQ(HttpCommandA(client, "PUT", "/empty", nullptr, 0, 0), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_COMMAND));
  EXPECT_EQ(error, UINT{QV_ERROR_RESOURCE_CONFLICT & 0xFFFF});
  EXPECT_EQ(HttpGetResultCode(client), 409);
  EXPECT_EQ(HttpCloseFile(client), 0);

  window_.Clear();
  EXPECT_EQ(HttpCreateFileA(client, "/file.txt", 4, 0), 0);
  EXPECT_EQ(HttpGetResultCode(client), 0);
  EXPECT_EQ(HttpWrite(client, reinterpret_cast<const BYTE*>("data"), 4), 4);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_COMMAND));
  EXPECT_EQ(HttpGetResultCode(client), 201);
  EXPECT_EQ(HttpCloseFile(client), 0);
  EXPECT_EQ(BodyOf(server.requests().back()), "data");
}

void CALLBACK Throw(HCLIENT, UINT, DWORD, DWORD_PTR) { throw std::runtime_error("by a callback"); }

TEST_F(AsyncSessionTest, ExceptionsOfCallbacksLeaveTheSessionUsable) {
  const RawServer server(RawServer::Script{{{.reply = Response("200 OK", {}, "1")}},
                                           {{.reply = Response("200 OK", {}, "2")}}});
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  HttpRegisterEvent(client, HTTP_EVENT_COMMAND, Throw, 0);
  EXPECT_EQ(Get(client, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INTERNAL_FAILURE});
  HttpCloseFile(client);
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_READ));
  std::string body;
  EXPECT_EQ(ReadAvailable(client, body), 0u);
  EXPECT_EQ(body, "2");
  EXPECT_TRUE(window_.others().empty());
  EXPECT_EQ(HttpDisableEvents(client), 0) << "no event is being delivered";
}

}  // namespace
}  // namespace test
