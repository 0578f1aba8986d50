// Where bodies end: lengths, chunks, the end of the connection, and responses that have none.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

using How = RawServer::How;

class FramingTest : public SessionTest {};

struct Reply {
  std::string what;
  std::string bytes;
  std::string body;
  bool kept = true;  // the connection carries the next request
};

std::vector<Reply> Replies() {
  const std::string chunked_head = Head("200 OK", {"Transfer-Encoding: chunked"});
  return {
      {"length", Response("200 OK", {}, "content"), "content"},
      {"length 0", Response("200 OK", {}, ""), ""},
      {"the same length twice", Head("200 OK", {"Content-Length: 3", "Content-Length: 3"}) + "abc",
       "abc"},
      {"a list of the same length", Head("200 OK", {"Content-Length: 3, 3"}) + "abc", "abc"},
      {"length with zeros and spaces", Head("200 OK", {"Content-Length:   0003  "}) + "abc", "abc"},
      {"chunks", ChunkedResponse("200 OK", {}, {"Wiki", "pedia"}), "Wikipedia"},
      {"no chunks", ChunkedResponse("200 OK", {}, {}), ""},
      {"upper case", Head("200 OK", {"TRANSFER-ENCODING: CHUNKED"}) + Chunked({"abc"}), "abc"},
      {"white space behind the coding",
       "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked \r\n\r\n" + Chunked({"abc"}), "abc"},
      {"extensions",
       chunked_head + "1a;name=\"value\"\r\nabcdefghijklmnopqrstuvwxyz\r\n1A ; x\r\n" +
           "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n0;last\r\n\r\n",
       "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"},
      {"zeros before sizes", chunked_head + "00000000000003\r\nabc\r\n0000\r\n\r\n", "abc"},
      {"line ends as data", chunked_head + "6\r\n\r\n0\r\n\r\r\n0\r\n\r\n", "\r\n0\r\n\r"},
      {"trailers", ChunkedResponse("200 OK", {}, {"abc"}, {"X-Trailer: yes", "X-Other: no"}),
       "abc"},
      {"no content", "HTTP/1.1 204 No Content\r\nContent-Length: 3\r\n\r\n", ""},
      {"chunks and a length", ChunkedResponse("200 OK", {"Content-Length: 99"}, {"abc"}), "abc",
       false},
  };
}

TEST_F(FramingTest, ReplyIsReadToItsEndHoweverItIsSplit) {
  for (const Reply& reply : Replies()) {
    for (How how : {How::kWhole, How::kBytewise}) {
      SCOPED_TRACE(reply.what + (how == How::kWhole ? "" : ", bytewise"));
      const RawServer::Exchange next{.reply = Response("200 OK", {}, "next")};
      const RawServer server(RawServer::Script{{{.reply = reply.bytes, .how = how}, next}, {next}});
      const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
      const Fetched fetched = Get(session, "/");
      EXPECT_NE(fetched.result, HTTP_ERROR) << std::hex << LastError();
      EXPECT_EQ(fetched.body, reply.body);
      EXPECT_EQ(Get(session, "/").body, "next");
      EXPECT_EQ(server.connections(), reply.kept ? 1u : 2u);
      HttpDisconnect(session);
    }
  }
}

TEST_F(FramingTest, TrailersJoinTheResponseFields) {
  const RawServer server(
      OneConnection({ChunkedResponse("200 OK", {"X-First: yes"}, {"abc"}, {"X-Trailer: value"})}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(Get(session, "/").body, "abc");
  char value[16] = "";
  EXPECT_TRUE(HttpGetResponseHeader(session, "X-Trailer", value, sizeof(value)));
  EXPECT_STREQ(value, "value");
}

// The connection's end ends these bodies; they are delivered as they are.
TEST_F(FramingTest, BodiesThatEndWithTheConnection) {
  const std::string chunked_head = Head("200 OK", {"Transfer-Encoding: chunked"});
  const std::string large = Pattern(300000);
  struct Case {
    std::string what;
    std::string bytes;
    std::string body;
  };
  const std::vector<Case> cases = {
      {"no length", Head("200 OK") + large, large},
      {"no length and no body", Head("200 OK"), ""},
      {"another coding", Head("200 OK", {"Transfer-Encoding: gzip, chunked"}) + "abc", "abc"},
      {"another coding and a length",
       Head("200 OK", {"Transfer-Encoding: gzip", "Content-Length: 1"}) + "abc", "abc"},
      {"shorter than announced", Head("200 OK", {"Content-Length: 100"}) + "abc", "abc"},
      {"a large length", Head("200 OK", {"Content-Length: 4000000000"}) + "abc", "abc"},
      {"within a chunk", chunked_head + "10\r\nabc", "abc"},
      {"a large chunk", chunked_head + "FFFFFFFF\r\nabc", "abc"},
      {"before the last chunk", chunked_head + "3\r\nabc\r\n", "abc"},
      {"without the blank line at the end", chunked_head + "3\r\nabc\r\n0\r\n", "abc"},
      {"a header that ends early", "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const RawServer server(ConnectionForEach({c.bytes, Response("200 OK", {}, "next")}));
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
    const Fetched fetched = Get(session, "/");
    EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
    EXPECT_EQ(fetched.body, c.body);
    EXPECT_EQ(Get(session, "/").body, "next");
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
}

TEST_F(FramingTest, ShortBodyShowsInTheTransferStatus) {
  const RawServer server(ConnectionForEach({Head("200 OK", {"Content-Length: 100"}) + "abc"}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(Get(session, "/").body, "abc");
  HTTPTRANSFERSTATUS status{};
  EXPECT_EQ(HttpGetTransferStatus(session, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 100u);
  EXPECT_EQ(status.dwBytesCopied, 3u);
}

// No body follows, whatever length is announced, and the connection is kept.
TEST_F(FramingTest, ResponsesWithoutBody) {
  const RawServer server(OneConnection({
      Head("200 OK", {"Content-Length: 100"}),                           // to HEAD
      Head("200 OK", {"Transfer-Encoding: chunked"}),                    // to HEAD
      Head("404 Not Found", {"Content-Length: 100"}),                    // to HEAD
      Head("204 No Content", {"Transfer-Encoding: chunked"}),            // to GET
      Head("304 Not Modified", {"Content-Length: 100", "ETag: \"x\""}),  // to GET
      Response("200 OK", {}, "next"),
  }));
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
  EXPECT_EQ(HttpCommand(session, "HEAD", "/", nullptr, 0, 0), 200);
  EXPECT_EQ(HttpCommand(session, "HEAD", "/", nullptr, 0, 0), 200);
  EXPECT_EQ(HttpCommand(session, "HEAD", "/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(Get(session, "/").result, 204);
  EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_MODIFIED});
  EXPECT_EQ(Get(session, "/").body, "next");
  EXPECT_EQ(server.connections(), 1u);
}

TEST_F(FramingTest, BodyBeyond32BitsIsRefusedByTheDataFunctions) {
  for (const char* length : {"4294967295", "4294967296", "18446744073709551615"}) {
    SCOPED_TRACE(length);
    const RawServer server(
        ConnectionForEach({Head("200 OK", {std::string("Content-Length: ") + length}) + "abc",
                           Response("200 OK", {}, "next")}));
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
    EXPECT_EQ(Get(session, "/").result, HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_OUT_OF_MEMORY});
    EXPECT_EQ(Get(session, "/").body, "next");
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
}

TEST_F(FramingTest, RealServer) {
  const WebServer web;
  const std::string large = Pattern(std::size_t{64} << 20);
  const std::string text = "line one\nline two\n" + std::string(200000, 'x');
  web.AddFile("large.bin", large);
  web.AddFile("text.txt", text);
  web.AddFile("empty.txt", "");
  struct Case {
    const char* resource;
    const std::string& body;
  };
  const std::string empty;
  const std::vector<Case> cases = {
      {"/text.txt", text},           {"/chunked/text.txt", text},
      {"/chunked/large.bin", large}, {"/untilclose/text.txt", text},
      {"/large.bin", large},         {"/empty.txt", empty},
      {"/chunked/empty.txt", empty}, {"/close/text.txt", text},
  };
  const HCLIENT session = Connect(web.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.resource);
    const Fetched fetched = Get(session, c.resource);
    EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
    EXPECT_TRUE(fetched.body == c.body) << fetched.body.size() << " bytes";
  }
}

}  // namespace
}  // namespace test
