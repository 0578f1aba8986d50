// Queues as lists: adding, finding, going through, resetting and removing files.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "queue/queue_fixture.h"

namespace {

// The records are part of the interface.
static_assert(sizeof(HTTPQUEUEDFILEA) == 1568);
static_assert(offsetof(HTTPQUEUEDFILEA, dwTimeElapsed) == 12);
static_assert(offsetof(HTTPQUEUEDFILEA, dwError) == 16);
static_assert(offsetof(HTTPQUEUEDFILEA, qwBytesCopied) == 24);
static_assert(offsetof(HTTPQUEUEDFILEA, szLocalFile) == 32);
static_assert(offsetof(HTTPQUEUEDFILEA, szRemoteUrl) == 544);
static_assert(sizeof(HTTPQUEUEDFILEW) == 3104);
static_assert(offsetof(HTTPQUEUEDFILEW, szLocalFile) == 32);
static_assert(offsetof(HTTPQUEUEDFILEW, szRemoteUrl) == 1056);
static_assert(sizeof(HTTPQUEUESTATUS) == 56);
static_assert(offsetof(HTTPQUEUESTATUS, dwTotalFiles) == 8);
static_assert(offsetof(HTTPQUEUESTATUS, dwTimeElapsed) == 24);
static_assert(offsetof(HTTPQUEUESTATUS, dwLastError) == 32);
static_assert(offsetof(HTTPQUEUESTATUS, qwLastBytes) == 40);
static_assert(offsetof(HTTPQUEUESTATUS, qwTotalBytes) == 48);

using Ids = std::vector<DWORD>;

class QueuedFilesTest : public test::QueueTest {
 protected:
  // The ids that an enumeration by array gives.
  static Ids Enumerate(HQUEUE queue, const char* pattern, DWORD type = 0, DWORD excluded = 0) {
    const INT count = HttpEnumQueuedFilesA(queue, pattern, type, excluded, nullptr, 0);
    Ids ids(static_cast<std::size_t>(std::max(count, 0)));
    EXPECT_EQ(HttpEnumQueuedFilesA(queue, pattern, type, excluded, ids.data(),
                                   static_cast<UINT>(ids.size())),
              count);
    return ids;
  }

  // The ids that going through the files one by one gives.
  static Ids Walk(HQUEUE queue, DWORD type = 0, DWORD excluded = 0) {
    Ids ids;
    HTTPQUEUEDFILEA file;
    for (DWORD id = HttpGetFirstQueuedFileA(queue, type, excluded, &file); id != 0;
         id = HttpGetNextQueuedFileA(queue, &file)) {
      EXPECT_EQ(file.dwFileId, id);
      ids.push_back(id);
    }
    EXPECT_EQ(LastError(), QV_ERROR_END_OF_QUEUE);
    return ids;
  }
};

struct AddCase {
  const char* what;
  DWORD error;  // 0 = the file is added with this URL
  const char* url;
  DWORD type;
  const char* host;
  UINT port;
  UINT auth;
  const char* local;
  const char* remote;
  DWORD options;
};

constexpr DWORD kGet = HTTP_QUEUE_DOWNLOAD;
constexpr DWORD kPut = HTTP_QUEUE_UPLOAD;
constexpr DWORD kTls = HTTP_OPTION_SECURE;

TEST_F(QueuedFilesTest, ArgumentsAreCheckedAndCompleted) {
  const std::string there = folder_.Write("there", "x");
  const std::string directory = folder_.path().string();
  const AddCase cases[] = {
      {"no type", QV_ERROR_INVALID_QUEUE_HANDLE, "", 0x1000, "host", 0, 1, "a", "/x", 0},
      {"two types", QV_ERROR_INVALID_QUEUE_HANDLE, "", 3, "host", 0, 1, "a", "/x", 0},
      {"bad host", QV_ERROR_INVALID_HOSTNAME, "", kGet, "ho_st", 0, 1, "a", "/x", 0},
      {"bad port", QV_ERROR_INVALID_SERVICE_PORT, "", kGet, "host", 65536, 1, "a", "/x", 0},
      {"bad type", QV_ERROR_INVALID_AUTHENTICATION_TYPE, "", kGet, "host", 0, 5, "a", "/x", 0},
      {"no local", QV_ERROR_INVALID_PARAMETER, "", kGet, "host", 0, 1, nullptr, "/x", 0},
      {"no remote", QV_ERROR_INVALID_PARAMETER, "", kGet, "host", 0, 1, "a", nullptr, 0},
      {"blank local", QV_ERROR_INVALID_FILE_NAME, "", kGet, "host", 0, 1, " \t", "/x", 0},
      {"blank remote", QV_ERROR_INVALID_RESOURCE, "", kGet, "host", 0, 1, "a", "", 0},
      {"no host", QV_ERROR_INVALID_RESOURCE, "", kGet, nullptr, 0, 1, "a", "/x", 0},
      {"bad URL", QV_ERROR_INVALID_RESOURCE, "", kGet, "host", 0, 1, "a", "http:x", 0},
      {"query only", QV_ERROR_INVALID_RESOURCE, "", kGet, "host", 0, 1, "a", "?x", 0},
      {"no source", QV_ERROR_FILE_NOT_FOUND, "", kPut, "host", 0, 1, "/no/such", "/x", 0},
      {"folder", QV_ERROR_INVALID_FILE_TYPE, "", kPut, "host", 0, 1, directory.c_str(), "/x", 0},
      {"device", QV_ERROR_INVALID_FILE_TYPE, "", kPut, "host", 0, 1, "/dev/null", "/x", 0},
      {"path", 0, "http://host/x?a=1", kGet, "HOST.", 0, 1, "a", "\\x?a=1", 0},
      {"secure path", 0, "https://host/x", kGet, "host", 443, 1, "a", "/x", kTls},
      {"port", 0, "http://host:8080/a/b", kGet, "host", 8080, 1, "a", "a/b", 0},
      {"last mark", 0, "http://host/a?b?c", kGet, "host", 0, 1, "a", "/a?b?c", 0},
      {"https", 0, "https://h.example/x?y=1", kGet, nullptr, 0, 1, "a", "https://h.example/x?y=1",
       0},
      {"http beats option", 0, "http://h.example/x", kGet, nullptr, 0, 1, "a", "http://h.example/x",
       kTls},
      {"arguments beat URL", 0, "http://host:81/x", kGet, "host", 81, 4, "a",
       "http://u:p@h.example:8080/x", 0},
      {"IPv6", 0, "http://[::1]:8080/x", kGet, nullptr, 0, 1, "a", "http://[::1]:8080/x", 0},
      {"upload", 0, "http://host/x", kPut, "host", 0, 1, there.c_str(), "/x", 0},
      {"other type", 0, "http://host/x", 0x1004, "host", 0, 1, "a", "/x", 0},
  };
  const HQUEUE queue = Create();
  DWORD last = 0;
  for (const AddCase& entry : cases) {
    const DWORD id =
        HttpAddQueuedFileExA(queue, entry.type, entry.host, entry.port, entry.auth, nullptr,
                             nullptr, entry.local, entry.remote, entry.options, 0, nullptr);
    if (entry.error != 0) {
      ExpectError(entry.error, id != 0, entry.what);
      continue;
    }
    EXPECT_EQ(id, ++last) << entry.what << std::hex << LastError();
    EXPECT_STREQ(FileOf(queue, id).szRemoteUrl, entry.url) << entry.what;
  }
  char reserved;
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_PARAMETER,
                     HttpAddQueuedFileExA(queue, kGet, "host", 0, 1, nullptr, nullptr, "a", "/x", 0,
                                          0, &reserved));
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_RESOURCE,
                     HttpAddQueuedFileA(queue, kGet, "a", "/no/url", 0, 0));
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_FILE_NAME,
                     HttpAddQueuedFileA(queue, kGet, nullptr, "http://h.example/", 0, 0));
  EXPECT_EQ(StatusOf(queue).dwWaitingFiles, last);
}

TEST_F(QueuedFilesTest, LocalNamesBecomeFullPathsAndAreNeverCut) {
  const HQUEUE queue = Create();
  const char* url = "http://h.example/x";
  const DWORD relative = HttpAddQueuedFileA(queue, kGet, " downloads/a.txt", url, 0, 0);
  const std::string path = FileOf(queue, relative).szLocalFile;
  EXPECT_TRUE(path.starts_with("C:\\")) << path;
  EXPECT_TRUE(path.ends_with("\\downloads\\a.txt")) << path;
  const DWORD expanded = HttpAddQueuedFileA(queue, kGet, "%TEMP%/a.txt", url, 0, 0);
  EXPECT_EQ(std::string(FileOf(queue, expanded).szLocalFile).find('%'), std::string::npos);

  const std::string longest = "C:\\" + std::string(508, 'x');
  const DWORD fits = HttpAddQueuedFileA(queue, kGet, longest.c_str(), url, 0, 0);
  EXPECT_EQ(FileOf(queue, fits).szLocalFile, longest);
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_FILE_NAME,
                     HttpAddQueuedFileA(queue, kGet, (longest + "x").c_str(), url, 0, 0));
  const std::string umlauts = "C:\\" + std::string(400, 'x') + "\xC3\xBC";
  const DWORD wide = HttpAddQueuedFileA(queue, kGet, umlauts.c_str(), url, 0, 0);
  HTTPQUEUEDFILEW file;
  ASSERT_TRUE(HttpGetQueuedFileW(queue, wide, &file));
  EXPECT_EQ(file.szLocalFile, u"C:\\" + std::u16string(400, u'x') + u"\u00FC");
  EXPECT_EQ(std::u16string(file.szRemoteUrl), u"http://h.example/x");

  const std::string query(5119, 'q');
  EXPECT_QUEUE_ERROR(
      QV_ERROR_INVALID_RESOURCE,
      HttpAddQueuedFileA(queue, kGet, "a", (std::string(url) + "?" + query).c_str(), 0, 0));
}

TEST_F(QueuedFilesTest, WideFormsReportForThemselves) {
  const HQUEUE queue = Create();
  const auto add = [&](const char16_t* local, const char16_t* remote, DWORD type) {
    return HttpAddQueuedFileExW(queue, type, u"host", 0, 1, u"u", u"p", local, remote, 0, 0,
                                nullptr);
  };
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_QUEUE_HANDLE, add(u"", u"", 3));
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_FILE_NAME, add(u"", u"", kGet));
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_RESOURCE, add(u"a", u"", kGet));
  const DWORD first = add(u"a", u"/x/\u00FC.zip", kGet);
  const DWORD second = HttpAddQueuedFileW(queue, kGet, u"b.txt", u"http://h.example/y", 0, 0);
  HTTPQUEUEDFILEW file;
  EXPECT_EQ(HttpGetFirstQueuedFileW(queue, 0, 0, &file), first);
  EXPECT_EQ(HttpGetNextQueuedFileW(queue, &file), second);
  EXPECT_EQ(std::u16string(file.szRemoteUrl), u"http://h.example/y");
  EXPECT_EQ(HttpGetNextQueuedFileW(queue, &file), 0u);
  EXPECT_EQ(file.dwFileId, 0u);
  EXPECT_EQ(HttpFindQueuedFileW(queue, u"\u00FC.*", 0, 0), first);
  DWORD ids[2] = {};
  EXPECT_EQ(HttpEnumQueuedFilesW(queue, nullptr, 0, 0, ids, 2), 2);
  EXPECT_EQ(ids[1], second);
}

struct PatternCase {
  const char* pattern;
  const char* name;  // resource path
  bool matches;
};

TEST_F(QueuedFilesTest, PatternsMatchNames) {
  constexpr PatternCase kCases[] = {
      {"*", "/a/b.zip", true},
      {"*.zip", "/a/b.zip", true},
      {"*.zip", "/c.zip.txt", false},
      {"*.zip", "/a.b.c.zip", true},
      {"  b.zip", "/a/b.zip", true},
      {"b.zip", "/b.zip/c", false},
      {"B.zip", "/a/b.zip", false},
      {"/a/*", "/a/b.zip", true},
      {"/a/*", "/ab/b.zip", false},
      {"?.zip", "/a/b.zip", true},
      {"??.zip", "/a/b.zip", false},
      {"b.zip?", "/a/b.zip", false},
      {"b*z*p", "/a/b.zip", true},
      {"*a?", "/aabc", false},
      {"a**b", "/a-b", true},
      {"*?", "/x", true},
      {"a*", "/a", true},
      {"*x", "/a", false},
      {"\\a\\b.zip", "/a/b.zip", false},
      {"*.tar.gz", "/a.tar.gz", false},
  };
  for (const PatternCase& entry : kCases) {
    const HQUEUE queue = Create();
    const DWORD id = HttpAddQueuedFileExA(queue, kGet, "host", 0, 1, nullptr, nullptr, "local",
                                          entry.name, 0, 0, nullptr);
    EXPECT_EQ(HttpFindQueuedFileA(queue, entry.pattern, 0, 0), entry.matches ? id : 0u)
        << entry.pattern << " " << entry.name;
    EXPECT_TRUE(HttpDeleteQueue(queue));
  }
}

TEST_F(QueuedFilesTest, FiltersChooseFiles) {
  const std::string source = folder_.Write("up.zip", "x");
  const HQUEUE queue = Create();
  EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_EMPTY, HttpEnumQueuedFilesA(queue, " ", 0, 0, nullptr, 0));
  EXPECT_QUEUE_ERROR(QV_ERROR_FILE_NOT_QUEUED,
                     HttpEnumQueuedFilesA(queue, nullptr, kGet, 0, nullptr, 0));
  Add(queue, "1.zip", "http://h.example/a/b.zip");
  Add(queue, "2.txt", "http://h.example/c.zip.txt");
  Add(queue, "up.zip", "http://h.example/put", kPut);
  Add(queue, "4.txt", "http://h.example/d.txt");
  ASSERT_TRUE(HttpCancelQueuedFile(queue, 4));

  EXPECT_EQ(Enumerate(queue, nullptr), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(Enumerate(queue, "*.zip"), (Ids{1}));
  EXPECT_EQ(Enumerate(queue, "*.zip", HTTP_QUEUE_LOCALNAME), (Ids{1, 3}));
  EXPECT_EQ(Enumerate(queue, "*.zip", HTTP_QUEUE_LOCALNAME | kPut), (Ids{3}));
  EXPECT_EQ(Enumerate(queue, nullptr, kGet, HTTP_QUEUE_FILE_CANCELED), (Ids{1, 2}));
  EXPECT_EQ(Enumerate(queue, nullptr, kGet | kPut, HTTP_QUEUE_FILE_COMPLETE), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(Walk(queue), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(Walk(queue, kGet), (Ids{1, 2, 4}));
  EXPECT_EQ(Walk(queue, 0, HTTP_QUEUE_FILE_FAILED), (Ids{1, 2, 3}));
  EXPECT_EQ(HttpFindQueuedFileA(queue, "*.txt", 0, 0), 2u);
  EXPECT_EQ(HttpFindQueuedFileA(queue, "*", kPut, 0), 3u);
  EXPECT_QUEUE_ERROR(QV_ERROR_FILE_NOT_QUEUED, HttpFindQueuedFileA(queue, "d.txt", 0, 2));
  EXPECT_QUEUE_ERROR(QV_ERROR_FILE_NOT_QUEUED, HttpFindQueuedFileA(queue, " ", 0, 0));

  DWORD ids[4] = {};
  EXPECT_EQ(HttpEnumQueuedFilesA(queue, nullptr, 0, 0, ids, 3), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(ids[0], 0u);
  EXPECT_EQ(HttpEnumQueuedFilesA(queue, nullptr, 0, 0, ids, 4), 4);
  EXPECT_EQ(LastError(), 0u);
}

TEST_F(QueuedFilesTest, AnEnumerationSurvivesRemovals) {
  const HQUEUE queue = Create();
  for (const char* name : {"1", "2", "3", "4"}) Add(queue, name, "http://h.example/x");
  HTTPQUEUEDFILEA file;
  EXPECT_EQ(HttpGetFirstQueuedFileA(queue, 0, 0, &file), 1u);
  EXPECT_EQ(HttpGetNextQueuedFileA(queue, &file), 2u);
  EXPECT_TRUE(HttpRemoveQueuedFile(queue, 2));
  EXPECT_TRUE(HttpRemoveQueuedFile(queue, 3));
  EXPECT_EQ(HttpGetNextQueuedFileA(queue, &file), 4u);
  EXPECT_TRUE(HttpRemoveQueuedFile(queue, 4));
  EXPECT_EQ(HttpGetNextQueuedFileA(queue, &file), 0u);
  EXPECT_QUEUE_ERROR(QV_ERROR_FILE_NOT_QUEUED, HttpRemoveQueuedFile(queue, 4));
  EXPECT_EQ(Add(queue, "5", "http://h.example/x"), 5u);
  EXPECT_EQ(Walk(queue), (Ids{1, 5}));
  const HTTPQUEUESTATUS status = StatusOf(queue);
  EXPECT_EQ(status.dwTotalFiles, 2u);
  EXPECT_EQ(status.dwWaitingFiles, 5u);
}

TEST_F(QueuedFilesTest, ResetAndClear) {
  const HQUEUE queue = Create();
  EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_EMPTY, HttpResetQueue(queue, 0));
  EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_EMPTY, HttpClearQueue(queue));
  HTTPQUEUEDFILEA file;
  EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_EMPTY, HttpGetFirstQueuedFileA(queue, 0, 0, &file));
  Add(queue, "1", "http://h.example/x");
  Add(queue, "2", "http://h.example/x");
  EXPECT_TRUE(HttpCancelQueuedFile(queue, 1));
  EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_QUEUE_FILE, HttpCancelQueuedFile(queue, 1));
  EXPECT_QUEUE_ERROR(QV_ERROR_FILE_NOT_QUEUED, HttpCancelQueuedFile(queue, 9));
  EXPECT_QUEUE_ERROR(QV_ERROR_QUEUE_STOPPED, HttpCancelQueuedFile(queue, 0));
  EXPECT_EQ(FileOf(queue, 1).dwFileState, HTTP_QUEUE_FILE_FAILED + HTTP_QUEUE_FILE_CANCELED);
  EXPECT_EQ(StatusOf(queue).dwFailedFiles, 1u);
  for (const DWORD states : {3u, 5u, 6u, 8u}) {
    EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_PARAMETER, HttpResetQueue(queue, states));
  }
  EXPECT_TRUE(HttpResetQueue(queue, HTTP_QUEUE_FILE_COMPLETE));
  EXPECT_EQ(StatusOf(queue).dwFailedFiles, 1u);
  EXPECT_TRUE(HttpResetQueue(queue, HTTP_QUEUE_FILE_CANCELED));
  EXPECT_EQ(StatusOf(queue).dwWaitingFiles, 2u);
  EXPECT_TRUE(HttpCancelQueuedFile(queue, 2));
  EXPECT_TRUE(HttpResetQueue(queue, 0x17));
  EXPECT_EQ(StatusOf(queue).dwWaitingFiles, 2u);

  EXPECT_TRUE(HttpClearQueue(queue));
  EXPECT_EQ(LastError(), 0u);
  HTTPQUEUESTATUS zero{};
  const HTTPQUEUESTATUS status = StatusOf(queue);
  EXPECT_EQ(std::memcmp(&status, &zero, sizeof(zero)), 0);
  EXPECT_EQ(Add(queue, "1", "http://h.example/x"), 1u);
}

TEST_F(QueuedFilesTest, QueuesAreLimited) {
  std::vector<HQUEUE> queues;
  for (int i = 0; i < 256; ++i) queues.push_back(Create(2));
  EXPECT_EQ(HttpCreateQueue(0, 0, 0), INVALID_QUEUE);
  EXPECT_EQ(LastError(), QV_ERROR_OUT_OF_MEMORY);
  ULONGLONG size = 0;
  EXPECT_EQ(HttpGetQueueHeapSize(queues[7], &size), 4096u);
  Add(queues[7], "1", "http://h.example/x");
  EXPECT_EQ(HttpGetQueueHeapSize(queues[7], nullptr), 20480u);
  Add(queues[7], "2", "http://h.example/x");
  EXPECT_QUEUE_ERROR(QV_ERROR_TOO_MANY_FILES,
                     HttpAddQueuedFileA(queues[7], kGet, "3", "http://h.example/x", 0, 0));
  EXPECT_TRUE(HttpDeleteQueue(queues[7]));
  for (const HQUEUE bad : {queues[7], HQUEUE{0}, INVALID_QUEUE, HQUEUE{0xFFFFFFFF}, HQUEUE{1}}) {
    EXPECT_EQ(HttpGetQueueStatus(bad, nullptr), HTTP_ERROR);
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_QUEUE_HANDLE);
    EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_QUEUE_HANDLE, HttpDeleteQueue(bad));
    EXPECT_QUEUE_ERROR(QV_ERROR_INVALID_QUEUE_HANDLE,
                       HttpAddQueuedFileA(bad, kGet, nullptr, nullptr, 0, 0));
  }
  EXPECT_EQ(Create(), queues[7]);
  HttpUninitialize();
  EXPECT_EQ(HttpCreateQueue(0, 0, 0), INVALID_QUEUE);
  EXPECT_EQ(LastError(), QV_ERROR_NETWORK_NOT_INITIALIZED);
  EXPECT_EQ(HttpGetQueueStatus(queues[0], nullptr), HTTP_ERROR);
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
}

}  // namespace
