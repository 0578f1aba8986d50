// HttpGetData: outputs, options, line ends and the state that it leaves.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

class GetDataTest : public SessionTest {
 protected:
  // A session with a server that gives this one reply.
  HCLIENT Open(const std::string& reply, DWORD options = 0) {
    server_ = std::make_unique<RawServer>(ConnectionForEach({reply}));
    return Connect(server_->port(), options);
  }

  std::unique_ptr<RawServer> server_;
};

TEST_F(GetDataTest, ArgumentsAreCheckedAndOutputsCleared) {
  const HCLIENT session = Open(Response("200 OK", {}, "body"));
  char buffer[4] = "abc";
  DWORD length = sizeof(buffer);
  EXPECT_EQ(HttpGetData(session, "/", nullptr, &length, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(HttpGetData(session, "/", buffer, nullptr, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  for (const char* resource : {static_cast<const char*>(nullptr), ""}) {
    length = sizeof(buffer);
    buffer[0] = 'a';
    EXPECT_EQ(HttpGetData(session, resource, buffer, &length, 0), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(buffer[0], '\0');
    auto block = reinterpret_cast<HGLOBAL>(&length);
    length = 0;
    EXPECT_EQ(HttpGetData(session, resource, &block, &length, 0), HTTP_ERROR);
    EXPECT_EQ(block, nullptr);
  }
  EXPECT_EQ(Get(session, "/").body, "body");  // nothing was sent before
}

TEST_F(GetDataTest, BufferReceivesWhatFits) {
  struct Case {
    std::string body;
    DWORD capacity;
    std::string received;
  };
  const std::vector<Case> cases = {
      {"0123456789", 16, "0123456789"},
      {"0123456789", 10, "0123456789"},
      {"0123456789", 4, "0123"},
      {"0123456789", 1, "0"},
      {"", 4, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.capacity);
    const HCLIENT session = Open(Response("200 OK", {}, c.body));
    std::string buffer(16, '#');
    DWORD length = c.capacity;
    EXPECT_EQ(HttpGetData(session, "/", buffer.data(), &length, 0), 200);
    EXPECT_EQ(length, c.received.size());
    EXPECT_EQ(buffer.substr(0, length), c.received);
    EXPECT_EQ(buffer.substr(c.capacity), std::string(16 - c.capacity, '#'));
    if (c.body.empty()) {
      EXPECT_EQ(buffer[0], '\0');
    }
  }
}

TEST_F(GetDataTest, BlockIsOneByteLongerAndEndsWithZero) {
  for (const std::string& body : {std::string("x"), Pattern(16384), Pattern(100000)}) {
    for (const bool chunked : {false, true}) {
      const HCLIENT session =
          Open(chunked ? ChunkedResponse("200 OK", {}, {body}) : Response("200 OK", {}, body));
      HGLOBAL block = nullptr;
      DWORD length = 0;
      ASSERT_EQ(HttpGetData(session, "/", &block, &length, 0), 200);
      ASSERT_NE(block, nullptr);
      EXPECT_EQ(length, body.size());
      EXPECT_EQ(GlobalSize(block), body.size() + 1);
      const auto* bytes = static_cast<const char*>(GlobalLock(block));
      EXPECT_EQ(std::string(bytes, length), body);
      EXPECT_EQ(bytes[length], '\0');
      GlobalUnlock(block);
      EXPECT_EQ(GlobalFree(block), nullptr);
    }
  }
}

TEST_F(GetDataTest, EmptyBodyGivesNoBlock) {
  for (const std::string& reply :
       {Response("200 OK", {}, ""), ChunkedResponse("200 OK", {}, {}), Head("200 OK"),
        std::string("HTTP/1.1 204 No Content\r\n\r\n")}) {
    SCOPED_TRACE(reply);
    const HCLIENT session = Open(reply);
    auto block = reinterpret_cast<HGLOBAL>(this);
    DWORD length = 0;
    EXPECT_GE(HttpGetData(session, "/", &block, &length, 0), 200);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 0u);
  }
}

TEST_F(GetDataTest, LineEnds) {
  struct Case {
    const char* type;
    std::string body;
    std::string converted;
  };
  const std::vector<Case> cases = {
      {"text/plain", "a\nb\nc\n", "a\r\nb\r\nc\r\n"},
      {"text/html", "a\nb", "a\r\nb\r\n"},
      {"text/plain", "\na", "\r\na\r\n"},
      {"text/plain", "\n", "\r\n"},
      {"text/plain", "a\r\nb\nc", "a\r\nb\nc"},  // the first line end decides
      {"text/plain", "no line end", "no line end"},
      {"image/png", "a\nb\n", "a\nb\n"},
      {"application/octet-stream", "a\nb\n", "a\nb\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.body));
    const std::string type = std::string("Content-Type: ") + c.type;
    EXPECT_EQ(Get(Open(Response("200 OK", {type}, c.body)), "/", HTTP_TRANSFER_CONVERT).body,
              c.converted);
    EXPECT_EQ(Get(Open(Response("200 OK", {type}, c.body)), "/").body, c.body);
  }
  // Without Content-Type the name of the resource decides.
  EXPECT_EQ(Get(Open(Response("200 OK", {}, "a\n")), "/x.txt", HTTP_TRANSFER_CONVERT).body,
            "a\r\n");
  EXPECT_EQ(Get(Open(Response("200 OK", {}, "a\n")), "/x.png", HTTP_TRANSFER_CONVERT).body, "a\n");
}

TEST_F(GetDataTest, LeavesAnIdleSessionAndTheCountersOfTheBody) {
  const HCLIENT session =
      Open(Response("200 OK", {"X-Field: value"}, std::string(5000, 'x')), HTTP_OPTION_HIRES_TIMER);
  EXPECT_EQ(Get(session, "/").body.size(), 5000u);
  EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
  EXPECT_EQ(HttpGetResultCode(session), 200);
  char value[16] = "";
  EXPECT_TRUE(HttpGetResponseHeader(session, "X-Field", value, sizeof(value)));
  HTTPTRANSFERSTATUSEX status{};
  EXPECT_EQ(HttpGetTransferStatusEx(session, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 5000u);
  EXPECT_EQ(status.dwBytesCopied, 5000u);
  EXPECT_EQ(status.dwTimeEstimated, status.dwTimeElapsed);  // it is over
}

struct Nested {
  int calls = 0;
  INT status = 0;
  INT result = 0;
  DWORD error = 0;
};

void CALLBACK CallAgain(HCLIENT client, UINT, DWORD, DWORD_PTR parameter) {
  auto* nested = reinterpret_cast<Nested*>(parameter);
  if (nested->calls++ > 0) return;
  nested->status = HttpGetStatus(client);
  char buffer[4];
  DWORD length = sizeof(buffer);
  nested->result = HttpGetData(client, "/nested", buffer, &length, 0);
  nested->error = HttpGetLastError();
}

TEST_F(GetDataTest, NestedCallFromAnEventIsRefused) {
  const HCLIENT session = Open(Response("200 OK", {}, "body"));
  Nested nested;
  ASSERT_EQ(HttpRegisterEvent(session, HTTP_EVENT_PROGRESS, CallAgain,
                              reinterpret_cast<DWORD_PTR>(&nested)),
            0);
  EXPECT_EQ(Get(session, "/").body, "body");
  EXPECT_GE(nested.calls, 1);
  EXPECT_EQ(nested.status, HTTP_STATUS_GETDATA);
  EXPECT_EQ(nested.result, HTTP_ERROR);
  EXPECT_EQ(nested.error, DWORD{QV_ERROR_OPERATION_IN_PROGRESS});
}

TEST_F(GetDataTest, EveryPriorityGivesTheWholeBody) {
  const std::string body = Pattern(40000);
  for (INT priority = HTTP_PRIORITY_LOWEST; priority <= HTTP_PRIORITY_HIGHEST; ++priority) {
    SCOPED_TRACE(priority);
    const HCLIENT session =
        Open(ChunkedResponse("200 OK", {}, {body.substr(0, 9), body.substr(9)}));
    EXPECT_EQ(HttpSetPriority(session, priority), HTTP_PRIORITY_NORMAL);
    EXPECT_EQ(Get(session, "/").body, body);
  }
}

TEST_F(GetDataTest, WideResourceName) {
  const HCLIENT session = Open(Response("200 OK", {}, "body"));
  char buffer[16] = "";
  DWORD length = sizeof(buffer);
  EXPECT_EQ(HttpGetDataW(session, u"/caf\u00e9", buffer, &length, 0), 200);
  EXPECT_EQ(std::string(buffer, length), "body");
  ASSERT_EQ(server_->requests().size(), 1u);
  EXPECT_EQ(FirstLineOf(server_->requests()[0]), "GET /caf%c3%a9 HTTP/1.1");
}

}  // namespace
}  // namespace test
