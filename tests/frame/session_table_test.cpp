// Client handles: how they are formed, reused and refused.
#include <functional>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::RawServer;

constexpr HCLIENT kLowestBase = 4096;
constexpr HCLIENT kHighestBase = 4351;

class SessionTableTest : public test::SessionTest {
 protected:
  RawServer server_{[](test::Connection& connection) { connection.WaitForClose(); }};
};

TEST_F(SessionTableTest, HandlesCountFromTheBaseAndTheLowestFreeSlotIsReused) {
  const HCLIENT first = Connect(server_.port());
  const HCLIENT second = Connect(server_.port());
  const HCLIENT third = Connect(server_.port());
  EXPECT_GE(first, kLowestBase);
  EXPECT_LE(first, kHighestBase);
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(third, first + 2);

  ASSERT_EQ(HttpDisconnect(third), 0);
  ASSERT_EQ(HttpDisconnect(first), 0);
  EXPECT_EQ(Connect(server_.port()), first);
  EXPECT_EQ(Connect(server_.port()), third);
  EXPECT_EQ(Connect(server_.port()), first + 3);
}

TEST_F(SessionTableTest, GrowsBeyondOneTableOfSlots) {
  constexpr HCLIENT kSessions = 257;
  const HCLIENT first = Connect(server_.port());
  for (HCLIENT i = 1; i < kSessions; ++i) ASSERT_EQ(Connect(server_.port()), first + i);
  EXPECT_TRUE(HttpIsConnected(first));
  EXPECT_TRUE(HttpIsConnected(first + kSessions - 1));
  EXPECT_FALSE(HttpIsConnected(first + kSessions));
}

TEST_F(SessionTableTest, AFailedConnectLeavesNoSession) {
  const test::RefusingPort refusing;
  const HCLIENT first = Connect(server_.port());
  EXPECT_EQ(HttpConnectA("127.0.0.1", refusing.port(), 5, 0, 0, nullptr), INVALID_CLIENT);
  EXPECT_EQ(LastError(), QV_ERROR_CONNECTION_REFUSED);
  EXPECT_EQ(Connect(server_.port()), first + 1);
}

struct Refusal {
  const char* name;
  std::function<bool(HCLIENT)> fails;
};

// Whether each function answers a handle with its failure value.
std::vector<Refusal> Refusals() {
  static char text[64];
  static char16_t wide[64];
  static INT length = 0;
  static BOOL flag = FALSE;
  static BYTE bytes[8];
  static DWORD size = 0;
  static ULONGLONG large = 0;
  static SYSTEMTIME time{};
  static HTTPTRANSFERSTATUS status;
  static HTTPTRANSFERSTATUSEX status_ex;
  length = sizeof(text);
  return {
      {"Disconnect", [](HCLIENT h) { return HttpDisconnect(h) == HTTP_ERROR; }},
      {"Read", [](HCLIENT h) { return HttpRead(h, bytes, 8) == HTTP_ERROR; }},
      {"Write", [](HCLIENT h) { return HttpWrite(h, bytes, 8) == HTTP_ERROR; }},
      {"IsReadable", [](HCLIENT h) { return !HttpIsReadable(h, 0, nullptr); }},
      {"IsWritable", [](HCLIENT h) { return !HttpIsWritable(h, 0); }},
      {"IsConnected", [](HCLIENT h) { return !HttpIsConnected(h); }},
      {"IsBlocking", [](HCLIENT h) { return !HttpIsBlocking(h); }},
      {"GetTimeout", [](HCLIENT h) { return HttpGetTimeout(h) == HTTP_ERROR; }},
      {"SetTimeout", [](HCLIENT h) { return HttpSetTimeout(h, 1) == HTTP_ERROR; }},
      {"GetOption", [](HCLIENT h) { return HttpGetOption(h, 1, &flag) == HTTP_ERROR; }},
      {"SetOption", [](HCLIENT h) { return HttpSetOption(h, 1, TRUE) == HTTP_ERROR; }},
      {"GetEncodingType", [](HCLIENT h) { return HttpGetEncodingType(h) == HTTP_ERROR; }},
      {"SetEncodingType", [](HCLIENT h) { return HttpSetEncodingType(h, 1) == HTTP_ERROR; }},
      {"GetPriority", [](HCLIENT h) { return HttpGetPriority(h) == HTTP_ERROR; }},
      {"SetPriority", [](HCLIENT h) { return HttpSetPriority(h, 1) == HTTP_ERROR; }},
      {"GetStatus", [](HCLIENT h) { return HttpGetStatus(h) == HTTP_ERROR; }},
      {"TransferStatus", [](HCLIENT h) { return HttpGetTransferStatus(h, &status) == HTTP_ERROR; }},
      {"TransferStatusEx",
       [](HCLIENT h) { return HttpGetTransferStatusEx(h, &status_ex) == HTTP_ERROR; }},
      {"ResourceUrl", [](HCLIENT h) { return HttpGetResourceUrlA(h, text, 64) == HTTP_ERROR; }},
      {"ResourceUrlW", [](HCLIENT h) { return HttpGetResourceUrlW(h, wide, 64) == HTTP_ERROR; }},
      {"RedirectUrl", [](HCLIENT h) { return HttpGetRedirectUrlA(h, text, 64) == HTTP_ERROR; }},
      {"GetContentType", [](HCLIENT h) { return HttpGetContentTypeA(h, text, 64) == 0; }},
      {"SetContentType", [](HCLIENT h) { return !HttpSetContentTypeA(h, "text/plain"); }},
      {"SetRequestHeader", [](HCLIENT h) { return !HttpSetRequestHeaderA(h, "A", "b"); }},
      {"GetRequestHeader", [](HCLIENT h) { return !HttpGetRequestHeaderA(h, "A", text, 64); }},
      {"GetResponseHeader", [](HCLIENT h) { return !HttpGetResponseHeaderA(h, "A", text, 64); }},
      {"GetRequestHeaderW", [](HCLIENT h) { return !HttpGetRequestHeaderW(h, u"A", wide, 64); }},
      {"FirstHeader",
       [](HCLIENT h) { return !HttpGetFirstHeaderA(h, 0, text, &length, text, &length); }},
      {"NextHeader",
       [](HCLIENT h) { return !HttpGetNextHeaderA(h, 0, text, &length, text, &length); }},
      {"FirstHeaderW",
       [](HCLIENT h) { return !HttpGetFirstHeaderW(h, 0, wide, &length, wide, &length); }},
      {"DeleteHeaders", [](HCLIENT h) { return !HttpDeleteHeaders(h, 0); }},
      {"ClearHeaders", [](HCLIENT h) { return HttpClearHeaders(h) == HTTP_ERROR; }},
      {"AddRequestHeaders", [](HCLIENT h) { return !HttpAddRequestHeadersA(h, "A: b"); }},
      {"ResultCode", [](HCLIENT h) { return HttpGetResultCode(h) == HTTP_ERROR; }},
      {"ResultString", [](HCLIENT h) { return HttpGetResultStringA(h, text, 64) == 0; }},
      {"ContentLength", [](HCLIENT h) { return !HttpGetContentLength(h, &size); }},
      {"ContentLengthEx", [](HCLIENT h) { return !HttpGetContentLengthEx(h, &large); }},
      {"Command",
       [](HCLIENT h) { return HttpCommandA(h, "GET", "/", nullptr, 0, 0) == HTTP_ERROR; }},
      {"Authenticate", [](HCLIENT h) { return HttpAuthenticateA(h, 1, "u", "p") == HTTP_ERROR; }},
      {"SetBearerToken", [](HCLIENT h) { return HttpSetBearerTokenA(h, "t") == HTTP_ERROR; }},
      {"GetBearerToken", [](HCLIENT h) { return HttpGetBearerTokenA(h, text, 64) == HTTP_ERROR; }},
      {"FirstCookie",
       [](HCLIENT h) { return HttpGetFirstCookieA(h, text, &length, text, &length) == 0; }},
      {"NextCookie",
       [](HCLIENT h) { return HttpGetNextCookieA(h, 1, text, &length, text, &length) == 0; }},
      {"GetCookie",
       [](HCLIENT h) {
         return !HttpGetCookieA(h, "a", text, 64, nullptr, 0, nullptr, 0, &time, &size);
       }},
      {"SetCookie", [](HCLIENT h) { return !HttpSetCookieA(h, "a", "b"); }},
      {"EnableCompression", [](HCLIENT h) { return HttpEnableCompression(h, 1) == HTTP_ERROR; }},
      {"RegisterEvent",
       [](HCLIENT h) { return HttpRegisterEvent(h, 1, nullptr, 0) == HTTP_ERROR; }},
      {"GetData", [](HCLIENT h) { return test::SessionTest::Get(h, "/").result == HTTP_ERROR; }},
      {"GetText", [](HCLIENT h) { return HttpGetTextA(h, "/", text, 64) == HTTP_ERROR; }},
      {"FileSize", [](HCLIENT h) { return HttpGetFileSizeA(h, "/", &size) == HTTP_ERROR; }},
      {"FileTime", [](HCLIENT h) { return HttpGetFileTimeA(h, "/", &time, 0) == HTTP_ERROR; }},
      {"DeleteFile", [](HCLIENT h) { return HttpDeleteFileA(h, "/") == HTTP_ERROR; }},
      {"OpenFile", [](HCLIENT h) { return HttpOpenFileA(h, "/", 0) == HTTP_ERROR; }},
      {"CreateFile", [](HCLIENT h) { return HttpCreateFileA(h, "/a.txt", 1, 0) == HTTP_ERROR; }},
      {"CloseFile", [](HCLIENT h) { return HttpCloseFile(h) == HTTP_ERROR; }},
  };
}

TEST_F(SessionTableTest, EveryFunctionRefusesAHandleOfNoSession) {
  const HCLIENT live = Connect(server_.port());
  const HCLIENT released = Connect(server_.port());
  ASSERT_EQ(HttpDisconnect(released), 0);
  constexpr HCLIENT kHighHalf = HCLIENT{1} << 32;
  const HCLIENT no_sessions[] = {0,          kLowestBase - 1,  released,      live + 256,
                                 0x7FFFFFFF, live + kHighHalf, INVALID_CLIENT};
  for (const Refusal& refusal : Refusals()) {
    for (const HCLIENT handle : no_sessions) {
      HttpSetLastError(0);
      EXPECT_TRUE(refusal.fails(handle)) << refusal.name << " " << handle;
      EXPECT_EQ(LastError(), QV_ERROR_INVALID_HANDLE) << refusal.name << " " << handle;
    }
  }
  EXPECT_EQ(HttpAttachThread(released, 0), 0xFFFFFFFFu);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HANDLE);
  EXPECT_EQ(HttpCancel(released), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_HANDLE);
  EXPECT_EQ(HttpCancel(INVALID_CLIENT), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_OPERATION_NOT_BLOCKING);
  EXPECT_TRUE(HttpIsConnected(live));
}

}  // namespace
