// Enabling, freezing and ending events, and the windows they are sent to.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "events/window_fixture.h"
#include "support/raw_server.h"

namespace test {
namespace {

constexpr UINT kSocketEvent = HTTP_EVENT_READ;

TEST_F(EventTest, OnlySocketEventsSubclassTheWindow) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpEnableEventsEx(client, window_.handle(), kEventMessage, HTTP_EVENT_PROGRESS), 0);
  EXPECT_FALSE(window_.IsSubclassed());
  EXPECT_EQ(Get(client, "/").body, "body");
  EXPECT_TRUE(window_.Has(HTTP_EVENT_PROGRESS));
  EXPECT_FALSE(window_.Has(HTTP_EVENT_COMMAND));
  EXPECT_EQ(HttpEnableEvents(client, window_.handle(), kEventMessage), 0);
  EXPECT_TRUE(window_.IsSubclassed());
  EXPECT_EQ(HttpDisableEvents(client), 0);
  EXPECT_FALSE(window_.IsSubclassed());
}

TEST_F(EventTest, SessionsShareAWindow) {
  const RawServer server(RawServer::Script{{{}}, {{.reply = Response("200 OK", {}, "2")}}});
  const HCLIENT first = Connect(server.port());
  const HCLIENT second = Connect(server.port());
  for (const HCLIENT client : {first, second}) {
    EXPECT_EQ(HttpEnableEventsEx(client, window_.handle(), kEventMessage, kSocketEvent), 0);
  }
  const WNDPROC library_procedure = window_.procedure();
  HttpDisconnect(first);
  EXPECT_EQ(window_.procedure(), library_procedure);
  EXPECT_EQ(HttpCommandA(second, "GET", "/", nullptr, 0, 0), 0);
  ASSERT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_READ));
  EXPECT_EQ(window_.events().front().client, second);
  HttpDisconnect(second);
  EXPECT_FALSE(window_.IsSubclassed());
  EXPECT_TRUE(window_.others().empty());
}

TEST_F(EventTest, ArgumentsAreChecked) {
  const RawServer server(RawServer::Script{{{}}});
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpEnableEvents(client, window_.handle(), WM_USER - 1), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  std::thread([&] {
    EventWindow foreign;
    // The session belongs to the main thread, so to ask from there the owner changes for a moment.
    const DWORD owner = HttpAttachThread(client, 0);
    EXPECT_EQ(HttpEnableEvents(client, window_.handle(), kEventMessage), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_NOT_HANDLE_OWNER});
    EXPECT_EQ(HttpEnableEvents(client, foreign.handle(), kEventMessage), 0);
    EXPECT_EQ(HttpDisableEvents(client), 0);
    HttpAttachThread(client, owner);
  }).join();
  EXPECT_EQ(HttpEnableEvents(INVALID_CLIENT, window_.handle(), kEventMessage), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(EventTest, EventsCannotBeDisabledFromInsideOne) {
  const RawServer server(RawServer::Script{{{}}});
  INT result = 0;
  DWORD error = 0;
  window_.on_event = [&](const ReceivedEvent& event) {
    result = HttpDisableEvents(event.client);
    error = LastError();
  };
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  EXPECT_EQ(result, HTTP_ERROR);
  EXPECT_EQ(error, DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
  EXPECT_EQ(HttpDisableEvents(client), 0);
}

TEST_F(EventTest, FrozenNotificationsAreReplayed) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  const HCLIENT client = ConnectAsyncAndWait(server.port());
  EXPECT_EQ(HttpFreezeEvents(client, TRUE), 0);
  window_.Clear();
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), 0);
  ASSERT_TRUE(HttpIsReadable(client, 5, nullptr));
  EventWindow::Pump();
  EXPECT_TRUE(window_.events().empty());
  EXPECT_EQ(HttpFreezeEvents(client, FALSE), 0);
  EXPECT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_READ));
  EXPECT_EQ(HttpGetResultCode(client), 200);
}

TEST_F(EventTest, DestroyedWindowLeavesUsableSessions) {
  const RawServer server(RawServer::Script{{{.reply = Response("200 OK", {}, "1")}},
                                           {{.reply = Response("200 OK", {}, "2")}}});
  const HCLIENT first = ConnectAsyncAndWait(server.port());
  const HCLIENT second = ConnectAsync(server.port());
  EXPECT_TRUE(EventWindow::PumpUntil([&] { return HttpIsConnected(second) != FALSE; }));
  EXPECT_TRUE(DestroyWindow(window_.handle()));
  EXPECT_EQ(HttpCommandA(first, "GET", "/", nullptr, 0, 0), 200);  // waits again
  EXPECT_EQ(Get(second, "/").body, "2");
  HttpDisconnect(first);
  HttpDisconnect(second);
}

TEST_F(EventTest, TheLastUninitializeRestoresWindows) {
  const RawServer server(RawServer::Script{{{}}});
  ConnectAsyncAndWait(server.port());
  EXPECT_TRUE(window_.IsSubclassed());
  HttpUninitialize();
  EXPECT_FALSE(window_.IsSubclassed());
  EXPECT_TRUE(HttpInitializeA(nullptr, 0));
}

struct Call {
  UINT event = 0;
  DWORD error = 0;
  HCLIENT other = INVALID_CLIENT;
};

void CALLBACK Record(HCLIENT, UINT event, DWORD error, DWORD_PTR parameter) {
  auto* call = reinterpret_cast<Call*>(parameter);
  call->event = event;
  call->error = error;
}

TEST_F(EventTest, CallbacksNeedNoWindow) {
  const RawServer server(RawServer::Script{{{.reply = "", .how = RawServer::How::kStall}}});
  const HCLIENT client = Connect(server.port(), 0, 0, 1);
  Call call;
  EXPECT_EQ(
      HttpRegisterEvent(client, HTTP_EVENT_TIMEOUT, Record, reinterpret_cast<DWORD_PTR>(&call)), 0);
  EXPECT_EQ(HttpCommandA(client, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(call.event, UINT{HTTP_EVENT_TIMEOUT});
  EXPECT_EQ(call.error, DWORD{QV_ERROR_OPERATION_TIMEOUT});
}

// Transfers of low priority keep the application's windows alive, and leave it the request to quit.
TEST_F(EventTest, PacedTransfersDispatchMessages) {
  constexpr UINT kAppMessage = WM_APP + 1;
  const std::string body = Pattern(100000);
  const RawServer server(
      OneConnection({Response("200 OK", {}, body), Response("200 OK", {}, body)}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  HttpSetPriority(client, HTTP_PRIORITY_LOW);
  PostMessageA(window_.handle(), kAppMessage, 0, 0);
  EXPECT_EQ(Get(client, "/").body, body);
  EXPECT_TRUE(window_.others().empty()) << "dispatched without an active window";
  SetActiveWindow(window_.handle());
  PostQuitMessage(5);
  EXPECT_EQ(Get(client, "/").body, body);
  EXPECT_EQ(window_.others(), std::vector<UINT>{kAppMessage});
  MSG message{};
  ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT});
  EXPECT_EQ(message.wParam, WPARAM{5});
}

}  // namespace
}  // namespace test
