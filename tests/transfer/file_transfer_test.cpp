// Downloads into files, uploads and multipart posts.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace {

using test::RawServer;

class FileTransferTest : public test::SessionTest {
 protected:
  std::string Path(const std::string& name) const {
    return directory_.path().string() + "/" + name;
  }

  void Write(const std::string& name, const std::string& bytes) {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  int Download(HCLIENT client, const std::string& name, DWORD options = 0, ULONGLONG offset = 0) {
    return HttpGetFileExA(client, Path(name).c_str(), "/data", options, offset);
  }

  test::TempDir directory_;
};

TEST_F(FileTransferTest, DownloadsWhatEveryFramingDelivers) {
  test::WebServer web;
  const std::string bytes = test::Pattern(3 << 20);
  web.AddFile("a.bin", bytes);
  const HCLIENT client = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  for (const char* resource : {"/a.bin", "/chunked/a.bin", "/untilclose/a.bin"}) {
    EXPECT_EQ(HttpGetFileA(client, Path("out").c_str(), resource, 0, 0), 200) << resource;
    EXPECT_TRUE(Read("out") == bytes) << resource;
  }
}

TEST_F(FileTransferTest, ResumesOnlyWhereTheServerSaysSo) {
  struct Case {
    const char* reply;
    int result;
    DWORD error;
    const char* content;
  };
  const Case cases[] = {
      {"HTTP/1.1 206 Partial\r\nContent-Range: bytes 3-5/6\r\nContent-Length: 3\r\n\r\ndef", 206, 0,
       "abcdef"},
      {"HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-2/6\r\nContent-Length: 3\r\n\r\nabc", -1,
       QV_ERROR_INVALID_CONTENT_RANGE, "abc"},
      {"HTTP/1.1 206 Partial\r\nContent-Length: 3\r\n\r\ndef", -1, QV_ERROR_INVALID_CONTENT_RANGE,
       "abc"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nXY", 200, 0, "XY"},
      {"HTTP/1.1 416 No\r\nContent-Length: 0\r\n\r\n", -1, QV_ERROR_INVALID_CONTENT_RANGE, "abc"},
  };
  for (const Case& entry : cases) {
    RawServer server(RawServer::Script{{{entry.reply}}});
    const HCLIENT client = Connect(server.port());
    Write("part", "abc");
    EXPECT_EQ(Download(client, "part", HTTP_TRANSFER_COMPRESS, 3), entry.result) << entry.reply;
    if (entry.error != 0) {
      EXPECT_EQ(LastError(), entry.error) << entry.reply;
    }
    EXPECT_EQ(Read("part"), entry.content) << entry.reply;
    ASSERT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(test::HeaderOf(server.requests()[0], "Range"), "bytes=3-");
    EXPECT_FALSE(test::HeaderOf(server.requests()[0], "Accept-Encoding"));
  }
}

TEST_F(FileTransferTest, RangeIsAskedForOnce) {
  RawServer server(test::OneConnection(
      {"HTTP/1.1 206 P\r\nContent-Range: bytes 1-1/2\r\nContent-Length: 1\r\n\r\nb",
       test::Response("200 OK", {}, "ab")}));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  Write("part", "a");
  EXPECT_EQ(Download(client, "part", 0, 1), 206);
  EXPECT_EQ(Get(client, "/data").body, "ab");
  EXPECT_FALSE(test::HeaderOf(server.requests()[1], "Range"));
}

TEST_F(FileTransferTest, ReportsLocalFaults) {
  RawServer server([](test::Connection& connection) {
    while (connection.ReadRequest()) connection.Send(test::Response("200 OK", {}, "body"));
  });
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(Download(client, "missing", 0, 5), -1);
  EXPECT_EQ(LastError(), QV_ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Download(client, "no/such/folder", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_FILE_NOT_CREATED);
  EXPECT_EQ(HttpGetFileA(client, directory_.path().string().c_str(), "/data", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_FILE_NOT_CREATED);
  EXPECT_EQ(HttpGetFileA(client, "/dev/full", "/data", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_FILE_WRITE_FAILED);
  EXPECT_EQ(Download(client, "good"), 200);
  EXPECT_EQ(Read("good"), "body");
}

TEST_F(FileTransferTest, ConvertsLineEndsAcrossPieces) {
  RawServer server(test::OneConnection({test::ChunkedResponse(
      "200 OK", {"Content-Type: text/plain"}, {"a\r", "\nb", "\n", "c\n\nd"})}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(Download(client, "text", HTTP_TRANSFER_CONVERT), 200);
  EXPECT_EQ(Read("text"), "a\r\nb\r\nc\r\n\r\nd");
}

TEST_F(FileTransferTest, DecodesACompressedFileInPlace) {
  test::WebServer web;
  const std::string text(200000, 'z');
  web.AddFile("a.txt", text);
  const HCLIENT client = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpGetFileA(client, Path("a").c_str(), "/gzip/a.txt", HTTP_TRANSFER_COMPRESS, 0), 200);
  EXPECT_TRUE(Read("a") == text);
}

TEST_F(FileTransferTest, ADamagedCompressedFileStaysAsReceived) {
  const std::string damaged = "\x1f\x8b\x08 not gzip at all";
  RawServer server(
      test::OneConnection({test::Response("200 OK", {"Content-Encoding: gzip"}, damaged)}));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(Download(client, "bad"), -1);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FILE_TYPE);
  EXPECT_EQ(Read("bad"), damaged);
}

TEST_F(FileTransferTest, UploadsAndReadsTheAnswer) {
  test::WebServer web;
  const std::string bytes = test::Pattern(5 << 20);
  Write("up", bytes);
  const HCLIENT client = Connect(web.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpPutFileA(client, Path("up").c_str(), "/dav/up.bin", 0, 0), 201);
  EXPECT_TRUE(web.ReadDav("up.bin") == bytes);
  EXPECT_EQ(HttpPutFileA(client, Path("up").c_str(), "/dav/up.bin", 1, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_OPTION_NOT_SUPPORTED);
  EXPECT_EQ(HttpPutFileA(client, Path("none").c_str(), "/dav/x", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(HttpPutFileA(client, directory_.path().string().c_str(), "/dav/x", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FILE_TYPE);
}

TEST_F(FileTransferTest, ARefusedUploadReportsTheAnswer) {
  RawServer server([](test::Connection& connection) {
    connection.ReadHead();
    connection.Send("HTTP/1.1 403 No\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    connection.Close();
  });
  Write("up", test::Pattern(8 << 20));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(HttpPutFileA(client, Path("up").c_str(), "/x", 0, 0), -1);
  EXPECT_EQ(LastError(), QV_ERROR_ACCESS_DENIED);
}

TEST_F(FileTransferTest, PostsAMultipartDocumentOfExactLength) {
  RawServer server(test::OneConnection({test::Response("200 OK", {}, "thanks"),
                                        test::Response("200 OK", {}, "again"),
                                        test::Response("200 OK", {}, "")}));
  Write("form", "file bytes");
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  EXPECT_EQ(HttpPostFileA(client, Path("form").c_str(), "/form", nullptr, 0, 0), 200);
  HTTPTRANSFERSTATUSEX status;
  EXPECT_EQ(HttpGetTransferStatusEx(client, &status), 0);
  EXPECT_EQ(status.dwBytesCopied, 10u);
  const std::string request = server.requests()[0];
  const std::string body = test::BodyOf(request);
  EXPECT_EQ(test::HeaderOf(request, "Content-Length"), std::to_string(body.size()));
  EXPECT_NE(body.find("name=\"File1\"; filename=\"" + Path("form") + "\""), std::string::npos);
  EXPECT_NE(body.find("\r\n\r\nfile bytes\r\n----"), std::string::npos);
  EXPECT_EQ(Get(client, "/next").body, "again");
  EXPECT_EQ(Command(client, "POST", "/next", "{}"), 200);
  EXPECT_EQ(test::HeaderOf(server.requests()[2], "Content-Type").value_or("").find("multipart"),
            std::string::npos);
}

TEST_F(FileTransferTest, AnAcceptEncodingOfTheApplicationStays) {
  RawServer server(test::OneConnection({test::Response("200 OK", {}, "abc")}));
  const HCLIENT client = Connect(server.port());
  HttpSetRequestHeaderA(client, "Accept-Encoding", "gzip, deflate");
  EXPECT_EQ(Download(client, "file"), 200);
  EXPECT_EQ(test::HeaderOf(server.requests()[0], "Accept-Encoding"), "gzip, deflate");
}

}  // namespace
