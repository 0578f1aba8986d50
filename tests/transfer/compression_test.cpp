// Compressed bodies: asking for them and decoding them in memory.
#include <gtest/gtest.h>
#include <zlib.h>

#include <memory>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

// Window bits of zlib for its formats.
constexpr int kZlibFormat = 15;
constexpr int kGzipFormat = 15 + 16;
constexpr int kRawFormat = -15;

std::string Compressed(const std::string& content, int format, const std::string& dictionary = {}) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, format, 9, Z_DEFAULT_STRATEGY),
            Z_OK);
  if (!dictionary.empty()) {
    deflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(dictionary.data()),
                         static_cast<uInt>(dictionary.size()));
  }
  std::string out(deflateBound(&stream, static_cast<uLong>(content.size())) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

class CompressionTest : public SessionTest {
 protected:
  HCLIENT Open(const std::string& encoding, const std::string& body, DWORD version = 0) {
    server_ = std::make_unique<RawServer>(ConnectionForEach(
        {Response("200 OK", {"Content-Encoding: " + encoding, "Content-Type: text/plain"}, body)}));
    return Connect(server_->port(), 0, version);
  }

  std::unique_ptr<RawServer> server_;
};

TEST_F(CompressionTest, BodiesAreDecodedWhenAskedFor) {
  const std::string text = "line one\nline two\n" + Pattern(1000);
  const std::string gzip = Compressed(text, kGzipFormat);
  const std::string zlib = Compressed(text, kZlibFormat);
  struct Case {
    const char* encoding;
    const std::string& body;
    const std::string& decoded;
  };
  const std::vector<Case> cases = {
      {"gzip", gzip, text},    {"GZIP", gzip, text},          {"deflate", zlib, text},
      {"deflate", gzip, text}, {"zlib", zlib, text},          {"identity", gzip, gzip},
      {"X-Gzip", gzip, text},  {"gzip, deflate", gzip, gzip},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    EXPECT_EQ(Get(Open(c.encoding, c.body), "/", HTTP_TRANSFER_COMPRESS).body, c.decoded);
    EXPECT_EQ(HeaderOf(server_->requests()[0], "Accept-Encoding"), "gzip, deflate");
    EXPECT_EQ(Get(Open(c.encoding, c.body), "/").body, c.body);
    EXPECT_EQ(HeaderOf(server_->requests()[0], "Accept-Encoding"), std::nullopt);
  }
}

TEST_F(CompressionTest, SessionSettingCountsForEveryTransfer) {
  const std::string gzip = Compressed("text", kGzipFormat);
  HCLIENT session = Open("gzip", gzip);
  EXPECT_EQ(HttpEnableCompression(session, TRUE), 0);
  EXPECT_EQ(Get(session, "/").body, "text");
  session = Open("gzip", gzip);
  EXPECT_EQ(HttpEnableCompression(session, TRUE), 0);
  EXPECT_EQ(HttpEnableCompression(session, FALSE), 0);
  EXPECT_EQ(Get(session, "/").body, gzip);
  EXPECT_EQ(HttpEnableCompression(HCLIENT{4711}, TRUE), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_HANDLE});
}

TEST_F(CompressionTest, LineEndsAreThoseOfTheDecodedText) {
  const std::string gzip = Compressed("a\nb", kGzipFormat);
  constexpr DWORD kBoth = HTTP_TRANSFER_COMPRESS | HTTP_TRANSFER_CONVERT;
  EXPECT_EQ(Get(Open("gzip", gzip), "/", kBoth).body, "a\r\nb\r\n");
  // A body that stays compressed is no text.
  const std::string with_line_end = "\x1f\x8b\n not really\n";
  EXPECT_EQ(Get(Open("gzip", with_line_end), "/", HTTP_TRANSFER_CONVERT).body, with_line_end);
}

TEST_F(CompressionTest, LengthsOfDecodedBodies) {
  for (const std::size_t size : {1u, 65535u, 65536u, 65537u, 1000000u, 20000000u}) {
    SCOPED_TRACE(size);
    for (const std::string& content : {Pattern(size), std::string(size, 'z')}) {
      const Fetched fetched =
          Get(Open("gzip", Compressed(content, kGzipFormat)), "/", HTTP_TRANSFER_COMPRESS);
      EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
      EXPECT_TRUE(fetched.body == content) << fetched.body.size();
    }
  }
  EXPECT_EQ(Get(Open("gzip", Compressed("", kGzipFormat)), "/", HTTP_TRANSFER_COMPRESS).body, "");
}

// Each member ends with a check sum of its own (RFC 1952 section 2.2).
TEST_F(CompressionTest, MembersThatFollowOneAnother) {
  const std::string first = Compressed("one ", kGzipFormat);
  const std::string second = Compressed(Pattern(100000), kGzipFormat);
  struct Case {
    const char* what;
    std::string body;
    std::string decoded;  // empty: an error
  };
  const std::vector<Case> cases = {
      {"two members", first + second, "one " + Pattern(100000)},
      {"an empty one between", first + Compressed("", kGzipFormat) + first, "one one "},
      {"zeros behind", first + std::string(512, '\0'), "one "},
      {"half a magic number behind", first + '\x1f', "one "},
      {"a member behind zlib data", Compressed("zlib", kZlibFormat) + first, "zlib"},
      {"a header only", first + first.substr(0, 10), ""},
      {"a damaged one", first + "\x1f\x8b" + Pattern(50), ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Fetched fetched = Get(Open("gzip", c.body), "/", HTTP_TRANSFER_COMPRESS);
    EXPECT_EQ(fetched.result, c.decoded.empty() ? HTTP_ERROR : 200);
    EXPECT_TRUE(fetched.body == c.decoded);
  }
}

// What comes behind the body does not say what it was.
TEST_F(CompressionTest, TrailersDoNotDescribeTheBody) {
  const HeaderLines trailers = {"Content-Encoding: gzip", "Content-Type: text/plain", "X-Sum: 1"};
  const RawServer server(
      OneConnection({ChunkedResponse("200 OK", {"Content-Type: image/png"}, {"a\nb"}, trailers)}));
  const HCLIENT session = Connect(server.port());
  EXPECT_EQ(Get(session, "/", HTTP_TRANSFER_COMPRESS | HTTP_TRANSFER_CONVERT).body, "a\nb");
  char value[32] = "";
  EXPECT_FALSE(HttpGetResponseHeader(session, "Content-Encoding", value, sizeof(value)));
  EXPECT_TRUE(HttpGetResponseHeader(session, "X-Sum", value, sizeof(value)));
}

TEST_F(CompressionTest, WhatCannotBeDecodedIsAnError) {
  const std::string content = Pattern(1000);
  const std::string gzip = Compressed(content, kGzipFormat);
  std::string damaged = gzip;
  damaged[gzip.size() / 2] = static_cast<char>(damaged[gzip.size() / 2] ^ 0x55);
  std::string bad_sum = gzip;
  bad_sum[gzip.size() - 6] = static_cast<char>(bad_sum[gzip.size() - 6] ^ 1);
  struct Case {
    const char* what;
    const char* encoding;
    std::string body;
  };
  const std::vector<Case> cases = {
      {"raw deflate", "deflate", Compressed(content, kRawFormat)},
      {"truncated", "gzip", gzip.substr(0, gzip.size() / 2)},
      {"the last byte missing", "gzip", gzip.substr(0, gzip.size() - 1)},
      {"the first byte only", "gzip", gzip.substr(0, 1)},
      {"damaged", "gzip", damaged},
      {"a wrong check sum", "gzip", bad_sum},
      {"no compression at all", "gzip", content},
      {"a dictionary", "zlib", Compressed(content, kZlibFormat, "dictionary")},
      {"compress", "compress", gzip},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const HCLIENT session = Open(c.encoding, c.body);
    const Fetched fetched = Get(session, "/", HTTP_TRANSFER_COMPRESS);
    EXPECT_EQ(fetched.result, HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_ENCODING_TYPE});
    EXPECT_EQ(fetched.body, "");
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    EXPECT_EQ(Get(Open(c.encoding, c.body), "/").body, c.body);
  }
}

TEST_F(CompressionTest, NotForHttp09) {
  const RawServer server([](Connection& connection) {
    EXPECT_EQ(connection.ReadBytes(7), "GET /\r\n");
    connection.Send("text");
  });
  const HCLIENT session = Connect(server.port(), 0, HTTP_VERSION_09);
  EXPECT_EQ(Get(session, "/", HTTP_TRANSFER_COMPRESS).body, "text");
}

TEST_F(CompressionTest, RealServer) {
  const WebServer web;
  const std::string text(500000, 'x');
  web.AddFile("text.txt", text);
  const HCLIENT session = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  const Fetched plain = Get(session, "/gzip/text.txt");
  EXPECT_TRUE(plain.body == text);
  EXPECT_EQ(HttpEnableCompression(session, TRUE), 0);
  const Fetched decoded = Get(session, "/gzip/text.txt");
  EXPECT_TRUE(decoded.body == text) << decoded.body.size();
  char encoding[16] = "";
  EXPECT_TRUE(HttpGetResponseHeader(session, "Content-Encoding", encoding, sizeof(encoding)));
  EXPECT_STREQ(encoding, "gzip");
}

}  // namespace
}  // namespace test
