// WebDAV (RFC 4918) and plain requests with a real server, Apache.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "events/window_fixture.h"
#include "support/apache_server.h"
#include "support/messages.h"

namespace test {
namespace {

using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view kLockInfo =
    "<?xml version=\"1.0\"?><D:lockinfo xmlns:D=\"DAV:\"><D:lockscope><D:exclusive/></D:lockscope>"
    "<D:locktype><D:write/></D:locktype><D:owner>tester</D:owner></D:lockinfo>";

// The contents of every element of this name in the DAV: namespace, whatever its prefix.
std::vector<std::string> Elements(const std::string& xml, const std::string& name) {
  std::vector<std::string> found;
  const std::string end = ":" + name + ">";
  for (std::size_t at = 0; (at = xml.find(end, at)) != xml.npos;) {
    at += end.size();
    const std::size_t close = xml.find("</", at);
    if (close == xml.npos) break;
    found.push_back(xml.substr(at, close - at));
    at = xml.find('>', close);
  }
  return found;
}

class WebDavTest : public EventTest {
 protected:
  void SetUp() override {
    EventTest::SetUp();
    client_ = Connect(apache_.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
  }

  void SetHeaders(const Headers& headers) {
    for (const auto& [name, value] : headers) {
      EXPECT_TRUE(HttpSetRequestHeaderA(client_, name.c_str(), value.c_str())) << name;
    }
  }

  void RemoveHeaders(const Headers& headers) {
    for (const auto& [name, value] : headers) HttpSetRequestHeaderA(client_, name.c_str(), nullptr);
  }

  std::string ReadBody() {
    std::string body;
    BYTE buffer[4096];
    INT count = 0;
    while ((count = HttpRead(client_, buffer, sizeof(buffer))) > 0) {
      body.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(count));
    }
    return body;
  }

  std::string ResponseHeader(const char* name) {
    char value[512] = "";
    HttpGetResponseHeaderA(client_, name, value, sizeof(value));
    return value;
  }

  // One request and its response, successful or not.
  Fetched Request(const char* method, const char* resource, const Headers& headers = {},
                  const std::string& body = {}) {
    SetHeaders(headers);
    HttpSetLastError(0);
    const INT result = HttpCommandA(client_, method, resource, body.empty() ? nullptr : body.data(),
                                    static_cast<DWORD>(body.size()), 0);
    Fetched fetched{result == HTTP_ERROR ? HttpGetResultCode(client_) : result, {}};
    if (result != HTTP_ERROR) fetched.body = ReadBody();
    HttpCloseFile(client_);
    RemoveHeaders(headers);
    return fetched;
  }

  int Put(const char* resource, const std::string& content, const Headers& headers = {}) {
    SetHeaders(headers);
    char body[512];
    DWORD length = sizeof(body);
    INT result = HttpPutDataExA(client_, resource, content.data(),
                                static_cast<DWORD>(content.size()), body, &length, 0);
    if (result == HTTP_ERROR) result = HttpGetResultCode(client_);
    RemoveHeaders(headers);
    return result;
  }

  // Locks a resource and returns the token. The command takes no body for this method, so it is
  // written by hand: in an asynchronous session the command does not wait for the response.
  std::string Lock(const char* resource) {
    const Headers headers = {{"Content-Type", "application/xml"},
                             {"Content-Length", std::to_string(kLockInfo.size())},
                             {"Timeout", "Second-600"},
                             {"Depth", "infinity"}};
    SetHeaders(headers);
    EXPECT_EQ(HttpEnableEventsEx(client_, window_.handle(), kEventMessage, HTTP_EVENT_READ), 0);
    EXPECT_EQ(HttpCommandA(client_, "LOCK", resource, nullptr, 0, 0), 0);
    EXPECT_EQ(HttpWrite(client_, reinterpret_cast<const BYTE*>(kLockInfo.data()),
                        static_cast<INT>(kLockInfo.size())),
              static_cast<INT>(kLockInfo.size()));
    EXPECT_EQ(HttpDisableEvents(client_), 0);
    const INT result = HttpGetResultCode(client_);
    EXPECT_TRUE(result == 200 || result == 201) << result << " " << std::hex << LastError();
    EXPECT_NE(ReadBody().find("opaquelocktoken:"), std::string::npos);
    EXPECT_EQ(HttpCloseFile(client_), 0);
    RemoveHeaders(headers);
    return ResponseHeader("Lock-Token");
  }

  std::set<std::string> List(const char* folder) {
    const Fetched list = Request("PROPFIND", folder, {{"Depth", "1"}},
                                 "<?xml version=\"1.0\"?><D:propfind xmlns:D=\"DAV:\"><D:prop>"
                                 "<D:resourcetype/></D:prop></D:propfind>");
    EXPECT_EQ(list.result, 207);
    const std::vector<std::string> names = Elements(list.body, "href");
    return {names.begin(), names.end()};
  }

  ApacheServer apache_;
  HCLIENT client_ = INVALID_CLIENT;
};

TEST_F(WebDavTest, ATreeIsBuiltListedCopiedMovedAndRemoved) {
  EXPECT_EQ(Request("MKCOL", "/dav/a").result, 201);
  EXPECT_EQ(Request("MKCOL", "/dav/a").result, 405);  // it is there already
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_COMMAND_NOT_AUTHORIZED});
  EXPECT_EQ(Request("MKCOL", "/dav/no/b").result, 409);  // no parent
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_RESOURCE_CONFLICT});
  EXPECT_EQ(Request("MKCOL", "/dav/a/sub").result, 201);
  EXPECT_EQ(Put("/dav/a/one.txt", "one"), 201);
  EXPECT_EQ(Request("PUT", "/dav/a/two.txt", {}, "two").result, 201);
  EXPECT_EQ(Put("/dav/a/sub/three.txt", Pattern(100000)), 201);
  EXPECT_EQ(List("/dav/a/"),
            (std::set<std::string>{"/dav/a/", "/dav/a/one.txt", "/dav/a/two.txt", "/dav/a/sub/"}));
  EXPECT_EQ(Request("PROPFIND", "/dav/a/", {{"Depth", "infinity"}}).result, 207);

  const auto to = [&](const std::string& path) {
    return Headers{{"Destination", apache_.url(path)}, {"Overwrite", "F"}};
  };
  EXPECT_EQ(Request("COPY", "/dav/a/", to("/dav/b/")).result, 201);
  EXPECT_TRUE(apache_.ReadDav("b/sub/three.txt") == Pattern(100000));
  EXPECT_EQ(Request("COPY", "/dav/a/one.txt", to("/dav/b/two.txt")).result, 412);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_REQUEST_PRECONDITION});
  EXPECT_EQ(apache_.ReadDav("b/two.txt"), "two");
  EXPECT_EQ(
      Request("COPY", "/dav/a/one.txt", {{"Destination", apache_.url("/dav/b/two.txt")}}).result,
      204);
  EXPECT_EQ(apache_.ReadDav("b/two.txt"), "one");
  EXPECT_EQ(Request("MOVE", "/dav/b/", to("/dav/c%20d/")).result, 201);
  EXPECT_FALSE(apache_.HasDav("b"));
  EXPECT_EQ(apache_.ReadDav("c d/two.txt"), "one");
  EXPECT_EQ(List("/dav/"), (std::set<std::string>{"/dav/", "/dav/a/", "/dav/c%20d/"}));
  for (const char* folder : {"/dav/a/", "/dav/c%20d/"}) {
    EXPECT_EQ(Request("DELETE", folder).result, 204) << folder;
  }
  EXPECT_EQ(List("/dav/"), std::set<std::string>{"/dav/"});

  // All of it on one connection, responses of every kind included.
  const std::vector<ApacheAccess> log = apache_.WaitForAccesses(17);
  ASSERT_EQ(log.size(), 17u);
  for (std::size_t i = 0; i < log.size(); ++i) {
    EXPECT_EQ(log[i].client_port, log[0].client_port) << log[i].request_line;
    EXPECT_EQ(log[i].earlier, i) << log[i].request_line;
  }
}

TEST_F(WebDavTest, PropertiesAreSetReadBackAndRemoved) {
  const std::string value = "caf\xc3\xa9 &amp; 100% = 1/1";
  const auto ask = [&] {
    return Request("PROPFIND", "/dav/p.txt", {},
                   "<D:propfind xmlns:D=\"DAV:\"><D:prop><x:mood xmlns:x=\"urn:x\"/>"
                   "<D:getcontentlength/></D:prop></D:propfind>");
  };
  ASSERT_EQ(Put("/dav/p.txt", "content"), 201);
  EXPECT_EQ(Request("PROPPATCH", "/dav/p.txt", {},
                    "<D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop><x:mood xmlns:x=\"urn:x\">" +
                        value + "</x:mood></D:prop></D:set></D:propertyupdate>")
                .result,
            207);
  Fetched found = ask();
  EXPECT_EQ(found.result, 207);
  EXPECT_EQ(Elements(found.body, "mood"), std::vector<std::string>{value});
  EXPECT_EQ(Elements(found.body, "getcontentlength"), std::vector<std::string>{"7"});
  EXPECT_EQ(Elements(found.body, "status"), std::vector<std::string>{"HTTP/1.1 200 OK"});
  EXPECT_EQ(Request("PROPPATCH", "/dav/p.txt", {},
                    "<D:propertyupdate xmlns:D=\"DAV:\"><D:remove><D:prop><x:mood "
                    "xmlns:x=\"urn:x\"/></D:prop></D:remove></D:propertyupdate>")
                .result,
            207);
  found = ask();
  EXPECT_EQ(found.body.find("caf"), std::string::npos);
  EXPECT_EQ(Elements(found.body, "status"),
            (std::vector<std::string>{"HTTP/1.1 200 OK", "HTTP/1.1 404 Not Found"}));
}

TEST_F(WebDavTest, ALockKeepsOthersOut) {
  ASSERT_EQ(Put("/dav/l.txt", "before"), 201);
  const std::string token = Lock("/dav/l.txt");
  ASSERT_TRUE(token.starts_with("<opaquelocktoken:")) << token;
  const Headers condition = {{"If", "(" + token + ")"}};

  EXPECT_EQ(Put("/dav/l.txt", "intruder"), 423);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_UNEXPECTED_SERVER_RESPONSE});
  EXPECT_EQ(Request("DELETE", "/dav/l.txt").result, 423);
  EXPECT_EQ(apache_.ReadDav("l.txt"), "before");
  EXPECT_EQ(Put("/dav/l.txt", "owner", condition), 204);
  EXPECT_EQ(apache_.ReadDav("l.txt"), "owner");
  // Without a body the command renews the lock.
  EXPECT_EQ(Request("LOCK", "/dav/l.txt", condition).result, 200);
  EXPECT_EQ(Request("UNLOCK", "/dav/l.txt", {{"Lock-Token", token}}).result, 204);
  EXPECT_EQ(Put("/dav/l.txt", "anyone"), 204);
  EXPECT_EQ(apache_.ReadDav("l.txt"), "anyone");
  EXPECT_EQ(Request("DELETE", "/dav/l.txt").result, 204);
}

TEST_F(WebDavTest, FilesGoUpAndDown) {
  const TempDir folder;
  const std::string large = Pattern(600000);
  folder.Write("up", large);
  EXPECT_EQ(HttpPutFileA(client_, folder.file("up").c_str(), "/dav/large.bin", 0, 0), 201);
  EXPECT_TRUE(apache_.ReadDav("large.bin") == large);
  EXPECT_EQ(HttpGetFileA(client_, folder.file("down").c_str(), "/dav/large.bin", 0, 0), 200);
  EXPECT_TRUE(folder.Read("down") == large);
  // A file of which the end is missing.
  folder.Write("down", large.substr(0, 200000));
  EXPECT_EQ(HttpGetFileExA(client_, folder.file("down").c_str(), "/dav/large.bin", 0, 200000), 206);
  EXPECT_TRUE(folder.Read("down") == large);
  EXPECT_EQ(HttpGetFileExA(client_, folder.file("down").c_str(), "/dav/large.bin", 0, large.size()),
            HTTP_ERROR);
  EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_CONTENT_RANGE});
  EXPECT_TRUE(folder.Read("down") == large);
}

TEST_F(WebDavTest, PlainRequestsShareOneConnection) {
  const std::string text(200000, 't');
  apache_.AddFile("a.txt", text);
  apache_.AddFile("empty.txt", "");
  EXPECT_TRUE(Get(client_, "/a.txt").body == text);
  EXPECT_EQ(Get(client_, "/empty.txt").result, 200);
  ULONGLONG size = 0;
  EXPECT_EQ(HttpGetFileSizeExA(client_, "/a.txt", &size), 200);
  EXPECT_EQ(size, text.size());
  SYSTEMTIME time{};
  EXPECT_EQ(HttpGetFileTimeA(client_, "/a.txt", &time, FALSE), 200);
  EXPECT_GT(time.wYear, 2000);
  EXPECT_EQ(Get(client_, "/missing.txt").result, HTTP_ERROR);
  EXPECT_TRUE(Get(client_, "/gzip/a.txt", HTTP_TRANSFER_COMPRESS).body == text);
  EXPECT_EQ(ResponseHeader("Content-Encoding"), "gzip");
  EXPECT_EQ(Request("OPTIONS", "/dav/").result, 200);
  EXPECT_NE(ResponseHeader("DAV").find("1,2"), std::string::npos);
  HttpSetRequestHeaderA(client_, "Range", "bytes=-5");
  EXPECT_EQ(Get(client_, "/a.txt").body, "ttttt");
  EXPECT_EQ(Get(client_, "/close/a.txt").body, "ttttt");
  const std::vector<ApacheAccess> log = apache_.WaitForAccesses(9);
  ASSERT_EQ(log.size(), 9u);
  EXPECT_EQ(log.back().client_port, log.front().client_port);
  EXPECT_EQ(Get(client_, "/empty.txt").result, 200);  // on a connection of its own
  EXPECT_NE(apache_.WaitForAccesses(10).back().client_port, log.front().client_port);
}

}  // namespace
}  // namespace test
