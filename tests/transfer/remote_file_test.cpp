// Resources as remote files: queries, deletion, reading with offsets and writing in pieces.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "qvhttp12.h"
#include "support/raw_server.h"
#include "support/web_server.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

const BYTE* Bytes(const std::string& text) { return reinterpret_cast<const BYTE*>(text.data()); }

std::string ReadAll(HCLIENT session) {
  std::string all;
  BYTE buffer[10000];
  INT count = 0;
  while ((count = HttpRead(session, buffer, sizeof(buffer))) > 0) {
    all.append(buffer, buffer + count);
  }
  EXPECT_EQ(count, 0) << std::hex << HttpGetLastError();
  return all;
}

// Writes everything; HttpWrite may take less than it is given.
void WriteAll(HCLIENT session, const std::string& content) {
  for (std::size_t done = 0; done < content.size();) {
    const INT count =
        HttpWrite(session, Bytes(content) + done, static_cast<INT>(content.size() - done));
    ASSERT_GT(count, 0) << std::hex << HttpGetLastError();
    done += static_cast<std::size_t>(count);
  }
}

class RemoteFileTest : public SessionTest {
 protected:
  HCLIENT Open(const std::vector<std::string>& replies, DWORD options = HTTP_OPTION_KEEPALIVE,
               DWORD version = 0) {
    server_ = std::make_unique<RawServer>(OneConnection(replies));
    return Connect(server_->port(), options, version, 2);
  }
  std::string Request(std::size_t index) const {
    const std::vector<std::string> requests = server_->requests();
    return index < requests.size() ? requests[index] : "no request";
  }

  std::unique_ptr<RawServer> server_;
};

TEST_F(RemoteFileTest, Sizes) {
  struct Case {
    std::string reply;
    ULONGLONG size;
    DWORD low;
  };
  const std::vector<Case> cases = {
      {Head("200 OK", {"Content-Length: 1234"}), 1234, 1234},
      {Head("200 OK", {"Content-Length: 0"}), 0, 0},
      {Head("200 OK"), 0, 0},
      {Head("200 OK", {"Content-Length: 4294967294"}), 4294967294u, 4294967294u},
      {Head("200 OK", {"Content-Length: 4294967296"}), 4294967296u, 0xFFFFFFFFu},
      {Head("200 OK", {"Content-Length: 5368709120"}), 5368709120u, 0xFFFFFFFFu},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reply);
    const HCLIENT session = Open({c.reply, c.reply});
    ULONGLONG size = 99;
    DWORD low = 99;
    EXPECT_EQ(HttpGetFileSizeEx(session, "/file", &size), 200);
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(HttpGetFileSize(session, "/file", &low), 200);  // no request was left open
    EXPECT_EQ(low, c.low);
    EXPECT_EQ(FirstLineOf(Request(0)), "HEAD /file HTTP/1.1");
    EXPECT_EQ(server_->connections(), 1u);
  }
}

TEST_F(RemoteFileTest, QueriesThatFail) {
  HCLIENT session = Open({Head("404 Not Found", {"Content-Length: 9"}), Head("200 OK")});
  ULONGLONG size = 99;
  EXPECT_EQ(HttpGetFileSizeEx(session, "/file", &size), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_FOUND});
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(HttpGetFileSizeEx(session, "/file", nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(HttpGetFileSize(session, "/file", nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(HttpGetFileTime(session, "/file", nullptr, FALSE), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(HttpGetFileSizeEx(session, "", &size), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
  session = Open({}, 0, HTTP_VERSION_09);
  SYSTEMTIME time{};
  EXPECT_EQ(HttpGetFileSizeEx(session, "/file", &size), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PROTOCOL_VERSION});
  EXPECT_EQ(HttpGetFileTime(session, "/file", &time, FALSE), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PROTOCOL_VERSION});
}

TEST_F(RemoteFileTest, Times) {
  const HCLIENT session = Open({Head("200 OK", {"Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT"}),
                                Head("200 OK"), Head("200 OK", {"Last-Modified: yesterday"})});
  SYSTEMTIME time{};
  EXPECT_EQ(HttpGetFileTime(session, "/file", &time, FALSE), 200);
  EXPECT_EQ(time.wYear, 1994);
  EXPECT_EQ(time.wMonth, 11);
  EXPECT_EQ(time.wDay, 6);
  EXPECT_EQ(time.wHour, 8);
  EXPECT_EQ(time.wMinute, 49);
  EXPECT_EQ(time.wSecond, 37);
  for (int i = 0; i < 2; ++i) {  // no date, and none that can be read
    time.wYear = 1;
    EXPECT_EQ(HttpGetFileTime(session, "/file", &time, FALSE), 200);
    EXPECT_EQ(time.wYear, 0);
  }
}

TEST_F(RemoteFileTest, QueryWithoutKeepAliveConnectsAnewAfterwards) {
  const RawServer server(
      ConnectionForEach({Head("200 OK", {"Content-Length: 5"}),
                         Head("200 OK", {"Content-Length: 6"}), Response("200 OK", {}, "body")}));
  const HCLIENT session = Connect(server.port());
  DWORD size = 0;
  EXPECT_EQ(HttpGetFileSize(session, "/file", &size), 200);
  EXPECT_EQ(HttpGetResultCode(session), 200);
  EXPECT_TRUE(server.WaitForConnections(2));
  EXPECT_EQ(HttpGetFileSize(session, "/file", &size), 200);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(Get(session, "/file").body, "body");
}

TEST_F(RemoteFileTest, OffsetsBecomeRanges) {
  const std::string reply = Response("206 Partial Content", {}, "rest");
  const HCLIENT session = Open({reply, reply, reply});
  EXPECT_EQ(HttpOpenFile(session, "/file", 100), 206);
  EXPECT_EQ(ReadAll(session), "rest");
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpOpenFileEx(session, "/file", 7, 5000000000u), 206);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpOpenFileEx(session, "/file", 7, 0), 206);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HeaderOf(Request(0), "Range"), "bytes=100-");
  EXPECT_EQ(HeaderOf(Request(1), "Range"), "bytes=5000000000-");
  EXPECT_EQ(HeaderOf(Request(2), "Range"), std::nullopt);
  EXPECT_EQ(server_->connections(), 1u);
  EXPECT_EQ(HttpOpenFileEx(session, "/file", 0, ~ULONGLONG{0}), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CONTENT_RANGE});
}

TEST_F(RemoteFileTest, OpenRequestsHaveToBeClosed) {
  const HCLIENT session = Open({Response("200 OK", {}, "deleted"), Response("200 OK", {}, "x")});
  EXPECT_EQ(HttpDeleteFile(session, "/file"), 200);
  EXPECT_EQ(HttpDeleteFile(session, "/file"), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  DWORD size = 0;
  EXPECT_EQ(HttpGetFileSize(session, "/file", &size), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  EXPECT_EQ(HttpOpenFileEx(session, "/file", 0, 7), HTTP_ERROR);  // its range goes with it
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  EXPECT_EQ(ReadAll(session), "deleted");
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpCloseFile(session), 0);  // nothing open is fine, too
  EXPECT_EQ(HttpDeleteFile(session, "/file"), 200);
  EXPECT_EQ(HeaderOf(Request(1), "Range"), std::nullopt);
  EXPECT_EQ(server_->connections(), 1u);
}

TEST_F(RemoteFileTest, WritingInPieces) {
  const HCLIENT session = Open({Response("201 Created", {}, ""), Response("200 OK", {}, "next")});
  ASSERT_EQ(HttpCreateFile(session, "/file.txt", 10, 0), 200);
  EXPECT_EQ(HttpGetResultCode(session), 200);  // the response is still to come
  EXPECT_EQ(HttpCommand(session, "GET", "/", nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_NOT_COMPLETED});
  WriteAll(session, "01234");
  HTTPTRANSFERSTATUSEX status{};
  EXPECT_EQ(HttpGetTransferStatusEx(session, &status), 0);
  EXPECT_EQ(status.dwBytesTotal, 10u);
  EXPECT_EQ(status.dwBytesCopied, 5u);
  WriteAll(session, "56789");
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpGetResultCode(session), 201);
  const std::string request = Request(0);
  EXPECT_EQ(FirstLineOf(request), "PUT /file.txt HTTP/1.1");
  EXPECT_EQ(HeaderOf(request, "Content-Length"), "10");
  EXPECT_EQ(HeaderOf(request, "Content-Type"), "text/plain");
  EXPECT_EQ(BodyOf(request), "0123456789");
  EXPECT_EQ(Get(session, "/").body, "next");
  EXPECT_EQ(server_->connections(), 1u);
  EXPECT_EQ(CountHeader(Request(1), "Content-Length"), 0u);
}

TEST_F(RemoteFileTest, WritesThatFail) {
  const HCLIENT session = Open({Response("507 Full", {}, "no room")});
  EXPECT_EQ(HttpCreateFile(session, "", 10, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
  EXPECT_EQ(HttpCreateFile(session, nullptr, 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_RESOURCE});
  EXPECT_EQ(HttpCreateFile(session, "/file.txt", 0, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_PARAMETER});
  EXPECT_EQ(HttpCreateFileEx(session, "/file.txt", 0, 10, ~ULONGLONG{0}), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CONTENT_RANGE});
  ASSERT_EQ(HttpCreateFile(session, "/file.txt", 3, 0), 200);
  WriteAll(session, "abc");
  EXPECT_EQ(HttpCloseFile(session), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INSUFFICIENT_STORAGE});
  EXPECT_EQ(HttpGetResultCode(session), 507);
  EXPECT_EQ(HttpCloseFile(session), 0);  // it is closed all the same
}

// A body that is shorter or longer than announced leaves a connection that nobody understands.
TEST_F(RemoteFileTest, WrongNumberOfBytesEndsTheConnection) {
  for (const std::string& content : {std::string("short"), std::string("0123456789 and more")}) {
    SCOPED_TRACE(content);
    const RawServer server(RawServer::Script{
        {{.reply = Response("201 Created", {}, "")}, {.reply = Response("400 Bad", {}, "stale")}},
        {{.reply = Response("200 OK", {}, "next")}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 2);
    ASSERT_EQ(HttpCreateFile(session, "/file.txt", 10, 0), 200);
    WriteAll(session, content);
    EXPECT_EQ(HttpCloseFile(session), 0);
    EXPECT_EQ(Get(session, "/").body, "next") << std::hex << LastError();
  }
}

TEST_F(RemoteFileTest, WideForms) {
  const HCLIENT session = Open({Head("200 OK", {"Content-Length: 5"}), Response("200 OK", {}, "x"),
                                Response("200 OK", {}, "y"), Response("201 Created", {}, "")});
  ULONGLONG size = 0;
  EXPECT_EQ(HttpGetFileSizeExW(session, u"/file", &size), 200);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(HttpDeleteFileW(session, u"/file"), 200);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpOpenFileExW(session, u"/file", 0, 3), 200);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpCreateFileW(session, u"/file.txt", 1, 0), 200);
  WriteAll(session, "z");
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpGetResultCode(session), 201);
}

TEST_F(RemoteFileTest, RealServer) {
  const WebServer web;
  const std::string content = Pattern(3000000);
  web.AddFile("file.bin", content);
  const HCLIENT session = Connect(web.port(), HTTP_OPTION_KEEPALIVE);

  ULONGLONG size = 0;
  EXPECT_EQ(HttpGetFileSizeEx(session, "/file.bin", &size), 200);
  EXPECT_EQ(size, content.size());
  SYSTEMTIME time{};
  EXPECT_EQ(HttpGetFileTime(session, "/file.bin", &time, FALSE), 200);
  EXPECT_GT(time.wYear, 2000);
  EXPECT_EQ(HttpOpenFile(session, "/file.bin", 1000000), 206);
  EXPECT_TRUE(ReadAll(session) == content.substr(1000000));
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpOpenFile(session, "/file.bin", 3000000), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CONTENT_RANGE});

  ASSERT_EQ(HttpCreateFile(session, "/dav/folder/new.bin", static_cast<DWORD>(content.size()), 0),
            200);
  WriteAll(session, content);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_EQ(HttpGetResultCode(session), 201);
  EXPECT_TRUE(web.ReadDav("folder/new.bin") == content);
  EXPECT_TRUE(Get(session, "/dav/folder/new.bin").body == content);
  EXPECT_EQ(HttpDeleteFile(session, "/dav/folder/new.bin"), 204);
  EXPECT_EQ(HttpCloseFile(session), 0);
  EXPECT_FALSE(web.HasDav("folder/new.bin"));
  EXPECT_EQ(HttpDeleteFile(session, "/dav/folder/new.bin"), HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_NOT_FOUND});
}

}  // namespace
}  // namespace test
