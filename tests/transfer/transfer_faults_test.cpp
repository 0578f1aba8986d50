// Downloads that the disk, the server or the compression spoils.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

constexpr std::size_t kRoom = std::size_t{1} << 20;

std::string Gzip(const std::string& content) {
  constexpr int kGzipFormat = 15 + 16;
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzipFormat, 9, 0), Z_OK);
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

// A disk of kRoom bytes, mounted over a folder.
class SmallDisk {
 public:
  explicit SmallDisk(std::string path) : path_(std::move(path)) {
    const std::string options = "size=" + std::to_string(kRoom);
    mounted_ = mount("tmpfs", path_.c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  ~SmallDisk() {
    if (mounted_) umount2(path_.c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  bool mounted() const { return mounted_; }

 private:
  const std::string path_;
  bool mounted_;
};

// No file of this process grows beyond kRoom bytes.
class FileSizeLimit {
 public:
  FileSizeLimit() : handler_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{kRoom, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  sighandler_t handler_;
  rlimit before_{};
};

class TransferFaultsTest : public SessionTest {
 protected:
  std::string Path(const char* name) const { return folder_.file(name); }

  INT Download(HCLIENT client, const char* name, DWORD options = 0, ULONGLONG offset = 0) {
    HttpSetLastError(0);
    return HttpGetFileExA(client, Path(name).c_str(), "/data", options, offset);
  }

  std::ptrdiff_t CountFiles() const {
    return std::distance(std::filesystem::directory_iterator(folder_.path()), {});
  }

  // Every kind of download into a folder whose files cannot grow beyond kRoom bytes.
  void FillTheDisk();

  TempDir folder_;
};

void TransferFaultsTest::FillTheDisk() {
  const std::string body = Pattern(3 * kRoom);
  const std::string zeros(20 * kRoom, '\0');
  struct Case {
    const char* what;
    std::string reply;
    ULONGLONG offset = 0;
    std::string kept = {};  // of the file, if it matters
  };
  const HeaderLines text = {"Content-Type: text/plain"};
  const std::string part =
      Head("206 Partial", {"Content-Range: bytes 4-3145727/3145728", "Content-Length: 3145724"}) +
      body.substr(4);
  const std::string small_gzip = Gzip(zeros);
  const std::vector<Case> cases = {
      {"length", Response("200 OK", {}, body)},
      {"chunks", ChunkedResponse("200 OK", text, {body.substr(0, kRoom), body.substr(kRoom)})},
      {"a resumed download", part, 4},
      {"decoding", Response("200 OK", {"Content-Encoding: gzip"}, small_gzip), 0, small_gzip},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string small = Response("200 OK", {}, "small");
    const RawServer server(
        RawServer::Script{{{.reply = c.reply}, {.reply = small}, {.reply = small}},
                          {{.reply = small}, {.reply = small}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
    if (c.offset > 0) folder_.Write("data", body.substr(0, c.offset));
    EXPECT_EQ(Download(session, "data", HTTP_TRANSFER_CONVERT, c.offset), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_FILE_WRITE_FAILED}) << std::hex << LastError();
    EXPECT_EQ(HttpGetStatus(session), HTTP_STATUS_IDLE);
    const std::string kept = folder_.Read("data");
    EXPECT_LE(kept.size(), kRoom);
    EXPECT_EQ(CountFiles(), 1);
    if (!c.kept.empty()) {
      EXPECT_TRUE(kept == c.kept);
    } else if (c.reply.find("text/plain") == std::string::npos) {
      EXPECT_TRUE(body.starts_with(kept));
      EXPECT_GT(kept.size(), 4u);
    }
    // With room again, the session goes on.
    std::filesystem::remove(Path("data"));
    EXPECT_EQ(Get(session, "/").body, "small");
    EXPECT_EQ(Download(session, "data"), 200);
    EXPECT_EQ(folder_.Read("data"), "small");
    std::filesystem::remove(Path("data"));
  }
}

TEST_F(TransferFaultsTest, AFullDisk) {
  const SmallDisk disk(folder_.path().string());
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not permitted here";
  FillTheDisk();
}

TEST_F(TransferFaultsTest, FilesThatMayNotGrow) {
  const FileSizeLimit limit;
  FillTheDisk();
}

TEST_F(TransferFaultsTest, AFileAThousandTimesItsDownload) {
  const std::string zeros(30 * kRoom, '\0');
  const std::string gzip = Gzip(zeros);
  ASSERT_LT(gzip.size() * 900, zeros.size());
  const RawServer server(OneConnection({Response("200 OK", {"Content-Encoding: gzip"}, gzip)}));
  EXPECT_EQ(Download(Connect(server.port(), 0, 0, 20), "data"), 200);
  std::ifstream file(Path("data"), std::ios::binary);
  std::string decoded(zeros.size() + 1, 'x');
  file.read(decoded.data(), static_cast<std::streamsize>(decoded.size()));
  EXPECT_EQ(file.gcount(), static_cast<std::streamsize>(zeros.size()));
  decoded.pop_back();
  EXPECT_TRUE(decoded == zeros);
}

TEST_F(TransferFaultsTest, CompressedFilesAreDecodedWholeOrStayAsReceived) {
  const std::string content = Pattern(100000);
  const std::string gzip = Gzip(content);
  const auto changed = [&](std::size_t at) {
    std::string damaged = gzip;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x11);
    return damaged;
  };
  struct Case {
    const char* what;
    std::string received;
    const std::string* decoded = nullptr;  // without: an error
  };
  const std::vector<Case> cases = {
      {"whole", gzip, &content},
      {"with something behind it", gzip + "\r\n", &content},
      {"no magic number", changed(1)},
      {"an unknown method", changed(2)},
      {"reserved flags", changed(3) + std::string(1, '\0')},
      {"damaged", changed(gzip.size() / 2)},
      {"a wrong check sum", changed(gzip.size() - 8)},
      {"a wrong length", changed(gzip.size() - 4)},
      {"without its last byte", gzip.substr(0, gzip.size() - 1)},
      {"without its trailer", gzip.substr(0, gzip.size() - 8)},
      {"half of it", gzip.substr(0, gzip.size() / 2)},
      {"as long as a piece that is read", gzip.substr(0, 65536)},
      {"a header only", gzip.substr(0, 10)},
      {"one byte", gzip.substr(0, 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const HeaderLines encoded = {"Content-Encoding: gzip"};
    const std::string announced =
        Head("200 OK", {"Content-Encoding: gzip", "Content-Length: 99999999"}) + c.received;
    const RawServer server(
        RawServer::Script{{{.reply = Response("200 OK", encoded, c.received)},
                           {.reply = ChunkedResponse("200 OK", encoded,
                                                     {c.received.substr(0, c.received.size() / 2),
                                                      c.received.substr(c.received.size() / 2)})},
                           {.reply = announced, .how = RawServer::How::kClose}},
                          {{.reply = Response("200 OK", {}, "next")}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE, 0, 20);
    for (const char* framing : {"length", "chunks", "cut"}) {
      SCOPED_TRACE(framing);
      EXPECT_EQ(Download(session, "data"), c.decoded != nullptr ? 200 : HTTP_ERROR);
      EXPECT_EQ(LastError(), DWORD{c.decoded != nullptr ? 0 : QV_ERROR_INVALID_FILE_TYPE});
      EXPECT_TRUE(folder_.Read("data") == (c.decoded != nullptr ? *c.decoded : c.received));
      EXPECT_EQ(CountFiles(), 1);
    }
    EXPECT_EQ(Get(session, "/").body, "next");
  }
}

// Bytes never get to a place where they do not belong.
TEST_F(TransferFaultsTest, AnswersToAResumedDownload) {
  struct Case {
    const char* range;  // of a 206 with three bytes
    INT result;
  };
  const std::vector<Case> cases = {
      {"bytes 3-5/6", 206},        {"Bytes 3-5/*", 206},
      {"bytes  3-5/6", 206},       {"bytes 4-6/7", HTTP_ERROR},
      {"bytes */6", HTTP_ERROR},   {"bytes -3/6", HTTP_ERROR},
      {"items 3-5/6", HTTP_ERROR}, {"3-5/6", HTTP_ERROR},
      {"bytes 03x", 206},          {"bytes 18446744073709551619-5/6", HTTP_ERROR},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.range);
    const std::string reply =
        Response("206 Partial", {std::string("Content-Range: ") + c.range}, "def");
    const std::string next = Response("200 OK", {}, "next");
    const RawServer server(
        RawServer::Script{{{.reply = reply}, {.reply = next}}, {{.reply = next}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    folder_.Write("part", "abc");
    EXPECT_EQ(Download(session, "part", 0, 3), c.result);
    EXPECT_EQ(LastError(), DWORD{c.result == 206 ? 0 : QV_ERROR_INVALID_CONTENT_RANGE});
    EXPECT_EQ(folder_.Read("part"), c.result == 206 ? "abcdef" : "abc");
    EXPECT_EQ(Get(session, "/").body, "next");
  }
}

TEST_F(TransferFaultsTest, PartialAnswersNobodyAskedForAndTheirBodies) {
  const std::string next = Response("200 OK", {}, "next");
  const std::string middle = Response("206 Partial", {"Content-Range: bytes 3-5/6"}, "def");
  const std::string ranges =
      Response("206 Partial", {"Content-Type: multipart/byteranges; boundary=x"},
               "--x\r\nContent-Range: bytes 3-5/6\r\n\r\ndef\r\n--x--\r\n");
  struct Case {
    const char* what;
    std::string reply;
    ULONGLONG offset;
    INT result;
    std::string file;
    bool error_data = false;
  };
  const std::vector<Case> cases = {
      {"the middle instead of the whole", middle, 0, HTTP_ERROR, "abc"},
      {"several ranges", ranges, 3, HTTP_ERROR, "abc"},
      {"a part of the rest",
       Head("206 Partial", {"Content-Range: bytes 3-8/9", "Content-Length: 6"}) + "de", 3, 206,
       "abcde"},
      {"the whole, but not all of it", Head("200 OK", {"Content-Length: 9"}) + "AB", 3, 200, "AB"},
      {"an error page", Response("404 Not Found", {}, "page"), 3, HTTP_ERROR, "abc"},
      {"an error page as data", Response("404 Not Found", {}, "page"), 3, 404, "abc", true},
      {"a redirect", Response("302 Found", {"Location: /other"}, "page"), 3, 302, "abc"},
      {"no content", Head("204 No Content"), 3, 204, "abc"},
      {"a transformed whole", Response("203 Other", {}, "AB"), 3, 203, "AB"},
      {"a part behind the end of the file",
       Response("206 Partial", {"Content-Range: bytes 5-6/7"}, "fg"), 5, HTTP_ERROR, "abc"},
      {"the rest of what was longer here",
       Response("206 Partial", {"Content-Range: bytes 1-1/2"}, "B"), 1, 206, "aB"},
      {"nothing new", Response("304 Not Modified", {}, ""), 3, HTTP_ERROR, "abc"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const RawServer server(
        RawServer::Script{{{.reply = c.reply, .how = RawServer::How::kClose}}, {{.reply = next}}});
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    folder_.Write("part", "abc");
    const DWORD options = c.error_data ? DWORD{HTTP_TRANSFER_ERRORDATA} : 0;
    EXPECT_EQ(Download(session, "part", options, c.offset), c.result);
    EXPECT_EQ(folder_.Read("part"), c.file);
    if (c.file == "abcde") {
      HTTPTRANSFERSTATUSEX status{};
      EXPECT_EQ(HttpGetTransferStatusEx(session, &status), 0);
      EXPECT_EQ(status.dwBytesCopied, 5u);  // the offset included
      EXPECT_EQ(status.dwBytesTotal, 9u);
    }
    EXPECT_EQ(Get(session, "/").body, "next");
  }
}

// Bodies that the server cuts short are no error, but it can be seen what is missing.
TEST_F(TransferFaultsTest, MissingBytesShowInTheTransferStatus) {
  const std::string chunked = Head("200 OK", {"Transfer-Encoding: chunked"});
  struct Case {
    const char* what;
    std::string reply;
    std::size_t missing;
  };
  const std::vector<Case> cases = {
      {"a length", Head("200 OK", {"Content-Length: 10"}) + "abc", 7},
      {"within a chunk", chunked + "1\r\na\r\n6\r\nbc", 4},
      {"behind a chunk", chunked + "3\r\nabc\r\n", 1},
      {"whole", chunked + "3\r\nabc\r\n0\r\n\r\n", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const RawServer server(ConnectionForEach({c.reply, c.reply}));
    for (const bool to_file : {true, false}) {
      const HCLIENT session = Connect(server.port());
      EXPECT_EQ(to_file ? Download(session, "data") : Get(session, "/").result, 200);
      HTTPTRANSFERSTATUSEX status{};
      EXPECT_EQ(HttpGetTransferStatusEx(session, &status), 0);
      EXPECT_EQ(status.dwBytesCopied, 3u);
      EXPECT_EQ(status.dwBytesTotal - status.dwBytesCopied, c.missing);
    }
    EXPECT_EQ(folder_.Read("data"), "abc");
  }
}

TEST_F(TransferFaultsTest, GoodChunksBeforeABadOneAreKept) {
  for (const char* bad : {"FFFFFFFFF\r\n", "\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n"}) {
    const RawServer server(OneConnection(
        {Head("200 OK", {"Transfer-Encoding: chunked"}) + "3\r\nabc\r\n2\r\nde\r\n" + bad}));
    EXPECT_EQ(Download(Connect(server.port()), "data"), HTTP_ERROR);
    EXPECT_EQ(LastError(), DWORD{QV_ERROR_INVALID_SERVER_RESPONSE});
    EXPECT_EQ(folder_.Read("data"), "abcde");
  }
}

// Decoding replaces the content of a file and nothing else of it.
TEST_F(TransferFaultsTest, ADecodedFileKeepsItsPermissionsAndItsPlace) {
  using std::filesystem::perms;
  const std::string content = Pattern(1000);
  const std::string reply = Response("200 OK", {"Content-Encoding: x-gzip"}, Gzip(content));
  const RawServer server(ConnectionForEach({reply, reply, reply}));
  folder_.Write("real", "before");
  std::filesystem::permissions(Path("real"), perms::owner_read | perms::owner_write);
  std::filesystem::create_symlink("real", Path("link"));
  EXPECT_EQ(Download(Connect(server.port()), "link"), 200);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_TRUE(folder_.Read("real") == content);
  EXPECT_EQ(std::filesystem::status(Path("real")).permissions(),
            perms::owner_read | perms::owner_write);
  const std::string longest(255, 'n');  // no room for the suffix of a temporary name
  EXPECT_EQ(Download(Connect(server.port()), longest.c_str()), 200);
  EXPECT_TRUE(folder_.Read(longest) == content);
  EXPECT_EQ(CountFiles(), 3);
}

TEST_F(TransferFaultsTest, PlacesWhereNoFileCanBe) {
  const RawServer server([](Connection& connection) {
    while (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "next"));
  });
  const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  folder_.Write("file", "x");
  struct Case {
    const char* name;
    DWORD created;
    DWORD resumed;
  };
  for (const Case& c : std::vector<Case>{
           {"", QV_ERROR_FILE_NOT_CREATED, QV_ERROR_ACCESS_DENIED},  // the folder itself
           {"missing/file", QV_ERROR_FILE_NOT_CREATED, QV_ERROR_FILE_NOT_FOUND},
           {"file/below", QV_ERROR_FILE_NOT_CREATED, QV_ERROR_FILE_NOT_FOUND}}) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Download(session, c.name), HTTP_ERROR);
    EXPECT_EQ(LastError(), c.created) << std::hex << LastError();
    EXPECT_EQ(Download(session, c.name, 0, 1), HTTP_ERROR);
    EXPECT_EQ(LastError(), c.resumed) << std::hex << LastError();
    EXPECT_EQ(Get(session, "/").body, "next");
  }
  EXPECT_EQ(folder_.Read("file"), "x");
}

}  // namespace
}  // namespace test
