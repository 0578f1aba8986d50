// Servers that break the protocol, on purpose or not. Each ends in its error or a correct body
// within the time-out, and the next request of the session is answered by its own response.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

using Exchange = RawServer::Exchange;
using How = RawServer::How;

constexpr UINT kTimeout = 1;                      // seconds, of the sessions
constexpr std::chrono::seconds kLongestCall{15};  // far above what a call takes when it is bounded

std::string Repeated(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

long PeakMemoryKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

struct Hostile {
  std::string what;
  std::string reply;
  How how = How::kClose;
  int result = HTTP_ERROR;
  DWORD error = 0;   // of a failure
  std::string body;  // of a success
};

class HostileServerTest : public SessionTest {
 protected:
  void Try(const std::vector<Hostile>& cases) {
    for (const Hostile& c : cases) {
      SCOPED_TRACE(c.what);
      const RawServer server(RawServer::Script{{{.reply = c.reply, .how = c.how}},
                                               {{.reply = Response("200 OK", {}, "next")}}});
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, kTimeout);
      HttpSetLastError(0);
      const auto start = std::chrono::steady_clock::now();
      const Fetched fetched = Get(session, "/");
      EXPECT_LT(std::chrono::steady_clock::now() - start, kLongestCall);
      EXPECT_EQ(fetched.result, c.result);
      if (c.result == HTTP_ERROR) {
        EXPECT_EQ(LastError(), c.error) << std::hex << LastError();
      }
      EXPECT_EQ(fetched.body, c.body);
      EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
      if (c.how != How::kStall) {
        EXPECT_TRUE(server.WaitForEnds(1));
      }
      EXPECT_EQ(Get(session, "/").body, "next") << std::hex << LastError();
      HttpDisconnect(session);
    }
  }
};

constexpr DWORD kInvalid = QV_ERROR_INVALID_SERVER_RESPONSE;

TEST_F(HostileServerTest, Headers) {
  const std::string line = "HTTP/1.1 200 OK\r\n";
  const std::string length = "Content-Length: 3\r\n";
  const std::string end = "\r\nabc";
  const std::string mebibyte(std::size_t{1} << 20, 'x');
  Try({
      {"nothing at all", "", How::kClose, 0, 0, ""},
      {"no status line", "X-Field: value\r\n" + length + end, How::kClose, 0, 0, "abc"},
      {"noise", "\x16\x03\x01\x02 noise\r\n\r\n", How::kClose, 0, 0, ""},
      {"a header line of 1 MiB", line + "X-Long: " + mebibyte + "\r\n" + length + end, How::kClose,
       200, 0, "abc"},
      {"a status line of 1 MiB", "HTTP/1.1 200 " + mebibyte + "\r\n" + length + end, How::kClose,
       200, 0, "abc"},
      {"a header line without end", line + "X-Long: " + mebibyte + mebibyte + mebibyte, How::kStall,
       HTTP_ERROR, kInvalid, ""},
      {"header lines without end", line + Repeated("X: y\r\n", 30000), How::kStall, HTTP_ERROR,
       kInvalid, ""},
      {"15,000 fields", line + Repeated("X: y\r\n", 15000) + length + end, How::kClose, 200, 0,
       "abc"},
      {"interim responses without end", Repeated("HTTP/1.1 100 Continue\r\n\r\n", 100000),
       How::kStall, HTTP_ERROR, kInvalid, ""},
      {"blank lines without end", Repeated("\r\n", 1500000), How::kStall, HTTP_ERROR, kInvalid, ""},
      {"some blank lines", Repeated("\r\n", 1000) + line + length + end, How::kClose, 200, 0,
       "abc"},
      {"NUL in the status line", std::string("HTTP/1.1 200 O\0K\r\n", 18) + length + end,
       How::kStall, HTTP_ERROR, kInvalid, ""},
      {"NUL in a field", line + std::string("X: a\0b\r\n", 8) + length + end, How::kStall,
       HTTP_ERROR, kInvalid, ""},
      {"a status beyond 32 bits", "HTTP/1.1 4294967496 OK\r\n" + length + end, How::kStall,
       HTTP_ERROR, kInvalid, ""},
      {"a status beyond 64 bits", "HTTP/1.1 18446744073709551816 OK\r\n" + length + end,
       How::kStall, HTTP_ERROR, kInvalid, ""},
      {"an open quote", line + "X: \"open\r\n" + length + end, How::kClose, 200, 0, "abc"},
      {"silence within the header", line + "Content-Le", How::kStall, HTTP_ERROR,
       QV_ERROR_OPERATION_TIMEOUT, ""},
      {"silence instead of a header", "", How::kStall, HTTP_ERROR, QV_ERROR_OPERATION_TIMEOUT, ""},
      {"a reset within the header", line + "Content-Le", How::kReset, HTTP_ERROR,
       QV_ERROR_CONNECTION_RESET, ""},
  });
}

TEST_F(HostileServerTest, Lengths) {
  std::vector<Hostile> cases;
  for (const char* value : {"-1", "+3", "3x", "0x3", "3 4", "abc", "3,4", "3,", ",3", "1e1",
                            "18446744073709551616", "99999999999999999999999999"}) {
    cases.push_back({std::string("length ") + value,
                     Head("200 OK", {std::string("Content-Length: ") + value}) + "abc", How::kStall,
                     HTTP_ERROR, kInvalid, ""});
  }
  cases.push_back({"two lengths",
                   Head("200 OK", {"Content-Length: 3", "Content-Length: 4"}) + "abc", How::kStall,
                   HTTP_ERROR, kInvalid, ""});
  cases.push_back({"two lengths of an error",
                   Head("404 No", {"Content-Length: 3", "Content-Length: 4"}) + "abc", How::kStall,
                   HTTP_ERROR, kInvalid, ""});
  cases.push_back({"silence within the body", Head("200 OK", {"Content-Length: 9"}) + "abc",
                   How::kStall, HTTP_ERROR, QV_ERROR_OPERATION_TIMEOUT, ""});
  cases.push_back({"a reset within the body", Head("200 OK", {"Content-Length: 9"}) + "abc",
                   How::kReset, HTTP_ERROR, QV_ERROR_CONNECTION_RESET, ""});
  cases.push_back({"silence after a body without length", Head("200 OK") + "abc", How::kStall,
                   HTTP_ERROR, QV_ERROR_OPERATION_TIMEOUT, ""});
  Try(cases);
}

TEST_F(HostileServerTest, Chunks) {
  const std::string head = Head("200 OK", {"Transfer-Encoding: chunked"});
  const std::string good = "3\r\nabc\r\n";
  const std::string end = "0\r\n\r\n";
  const std::string mebibyte(std::size_t{1} << 20, 'x');
  const std::vector<std::string> bad_sizes = {
      "100000000\r\n",          // 2^32
      "FFFFFFFFFFFFFFFFF\r\n",  // beyond 64 bits
      "3;" + std::string(300, 'e') + "\r\nabc\r\n",
      std::string(300, '0') + "\r\n",
      Repeated("\r\n", 1000),
  };
  std::vector<Hostile> cases;
  for (const std::string& bad : bad_sizes) {
    const std::string name = "size line " + bad.substr(0, 20);
    cases.push_back({name, head + bad + end, How::kStall, HTTP_ERROR, kInvalid, ""});
    // The bad line must not be overlooked when it arrives together with a good chunk.
    cases.push_back(
        {name + " after a chunk", head + good + bad + end, How::kStall, HTTP_ERROR, kInvalid, ""});
  }
  cases.push_back({"no digits", head + good + "xyz\r\n\r\n", How::kClose, 200, 0, "abc"});
  cases.push_back({"a negative size", head + good + "-3\r\n\r\n", How::kClose, 200, 0, "abc"});
  cases.push_back({"the end within a size line", head + good + "1", How::kClose, HTTP_ERROR,
                   QV_ERROR_CONNECTION_CLOSED, ""});
  cases.push_back(
      {"no last chunk", head + good, How::kStall, HTTP_ERROR, QV_ERROR_OPERATION_TIMEOUT, ""});
  cases.push_back({"silence within a chunk", head + "9\r\nabc", How::kStall, HTTP_ERROR,
                   QV_ERROR_OPERATION_TIMEOUT, ""});
  cases.push_back({"a reset within a chunk", head + "9\r\nabc", How::kReset, HTTP_ERROR,
                   QV_ERROR_CONNECTION_RESET, ""});
  cases.push_back({"an over-long trailer", head + good + "0\r\nX: " + mebibyte + "\r\n\r\n",
                   How::kClose, 200, 0, "abc"});
  cases.push_back({"trailers without end", head + good + "0\r\n" + Repeated("X: y\r\n", 30000),
                   How::kStall, HTTP_ERROR, kInvalid, ""});
  cases.push_back({"NUL in a trailer", head + good + std::string("0\r\nX: a\0b\r\n\r\n", 13),
                   How::kStall, HTTP_ERROR, kInvalid, ""});
  cases.push_back({"trailers that are not finished", head + good + "0\r\nX: y\r\n", How::kStall,
                   HTTP_ERROR, QV_ERROR_OPERATION_TIMEOUT, ""});
  Try(cases);
}

// The pause falls into a size line: what was read of it must not be forgotten, or "1a" becomes "a".
TEST_F(HostileServerTest, PauseWithinASizeLine) {
  const RawServer server([](Connection& connection) {
    if (!connection.ReadRequest()) return;
    if (connection.index() > 0) {
      connection.Send(Response("200 OK", {}, "next"));
      return;
    }
    connection.Send(Head("200 OK", {"Transfer-Encoding: chunked"}) + "3\r\nabc\r\n1");
    if (connection.WaitForClose(std::chrono::milliseconds(1500))) return;
    connection.Send("a\r\n0123456789\r\n0\r\n\r\n");
    connection.WaitForClose();
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, kTimeout);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_OPERATION_TIMEOUT});
  EXPECT_EQ(Get(session, "/").body, "next");
}

// Bytes that nobody asked for never answer the next request.
TEST_F(HostileServerTest, BytesBehindAResponse) {
  const std::string forged = Response("200 OK", {}, "forged");
  const std::vector<std::string> firsts = {
      Response("200 OK", {}, "abc"),       ChunkedResponse("200 OK", {}, {"abc"}),
      "HTTP/1.1 204 No Content\r\n\r\n",   Response("404 Not Found", {}, "abc"),
      "HTTP/1.1 304 Not Modified\r\n\r\n", Response("302 Found", {}, "abc"),
  };
  for (const std::string& first : firsts) {
    SCOPED_TRACE(first);
    const RawServer server(RawServer::Script{{{.reply = first + forged}, {.reply = forged}},
                                             {{.reply = Response("200 OK", {}, "next")}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, kTimeout);
    Get(session, "/");
    EXPECT_EQ(Get(session, "/").body, "next");
    HttpDisconnect(session);
  }
  // Nor does the body of a response that the application did not read.
  const RawServer server(RawServer::Script{
      {{.reply = Head("200 OK", {"Content-Length: 1000"}) + forged}, {.reply = forged}},
      {{.reply = Response("200 OK", {}, "next")}}});
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, kTimeout);
  EXPECT_EQ(HttpOpenFile(session, "/", 0), 200);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(Get(session, "/").body, "next");
}

// Closing a request reads on for a moment only, however slowly the rest of the body comes.
TEST_F(HostileServerTest, BodyThatDripsWhileItIsDiscarded) {
  const RawServer server([](Connection& connection) {
    const bool first = connection.index() == 0;
    if (!connection.ReadRequest()) return;
    if (!first) {
      connection.Send(Response("200 OK", {}, "next"));
      return;
    }
    connection.Send(Head("404 Not Found", {"Content-Length: 200000"}));
    constexpr std::size_t kDrips = 400;  // 20 seconds
    connection.SendInPieces(std::string(kDrips, 'x'), 1, std::chrono::milliseconds(50));
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, kTimeout);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_FOUND});
  EXPECT_LT(std::chrono::steady_clock::now() - start, kLongestCall);
  EXPECT_EQ(Get(session, "/").body, "next");
}

TEST_F(HostileServerTest, MemoryIsBoundedWhateverIsAnnounced) {
  constexpr long kMostKib = 64 * 1024;
  const long before = PeakMemoryKib();
  const std::string head = Head("200 OK", {"Transfer-Encoding: chunked"});
  Try({
      {"a large length", Head("200 OK", {"Content-Length: 4294967294"}) + "abc", How::kClose, 200,
       0, "abc"},
      {"a large chunk", head + "FFFFFFFF\r\nabc", How::kClose, 200, 0, "abc"},
      {"a large error body", Head("404 No", {"Content-Length: 18446744073709551615"}) + "abc",
       How::kStall, HTTP_ERROR, QV_ERROR_RESOURCE_NOT_FOUND, ""},
  });
  EXPECT_LT(PeakMemoryKib() - before, kMostKib);
}

TEST_F(HostileServerTest, RepliesSplitAnywhere) {
  const std::vector<std::string> replies = {
      Response("200 OK", {"X-Field: value"}, "abc"),
      ChunkedResponse("200 OK", {}, {"abc"}, {"X-Trailer: yes"}),
      "HTTP/1.1 100 Continue\r\n\r\n" + Response("200 OK", {}, "abc"),
  };
  for (const std::string& reply : replies) {
    for (std::size_t split = 1; split < reply.size(); ++split) {
      SCOPED_TRACE(testing::Message() << split << " of " << reply);
      const RawServer server([&](Connection& connection) {
        while (connection.ReadRequest()) {
          connection.SendInPieces(reply, split, std::chrono::milliseconds(1));
        }
      });
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 5);
      EXPECT_EQ(Get(session, "/").body, "abc");
      EXPECT_EQ(Get(session, "/").body, "abc");
      EXPECT_EQ(server.connections(), 1u);
      HttpDisconnect(session);
    }
  }
}

}  // namespace
}  // namespace test
