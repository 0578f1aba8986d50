// The trace log, as a file that a user reads.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/loopback.h"
#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace {

class TraceTest : public test::SessionTest {
 protected:
  std::string Path(const std::string& name) const { return (directory_.path() / name).string(); }

  std::string Log(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  test::TempDir directory_;
};

TEST_F(TraceTest, ShowsAnExchangeWithItsData) {
  test::RawServer server(test::OneConnection({test::Response("200 OK", {}, "hello")}));
  ASSERT_TRUE(HttpEnableTraceA(Path("log").c_str(), TRACE_INFO));
  const HCLIENT client = Connect(server.port());
  EXPECT_EQ(Get(client, "/").body, "hello");
  EXPECT_TRUE(HttpDisableTrace());
  EXPECT_FALSE(HttpDisableTrace());
  const std::string log = Log("log");
  EXPECT_NE(log.find(" INF: started thread 0x"), std::string::npos) << log;
  EXPECT_NE(log.find("[12.0.3024]\r\n"), std::string::npos) << log;
  EXPECT_NE(log.find(" WRN: connect("), std::string::npos) << log;
  EXPECT_NE(
      log.find(" 0000  47 45 54 20 2F 20 48 54:54 50 2F 31 2E 31 0D 0A  GET / HTTP/1.1..\r\n"),
      std::string::npos)
      << log;
  EXPECT_NE(log.find(" INF: stopped thread 0x"), std::string::npos) << log;
  struct stat status;
  ASSERT_EQ(stat(Path("log").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

// Every line of a log with exchanges of all kinds has a known form, and what users look for is
// there.
TEST_F(TraceTest, EveryLineHasItsForm) {
  const std::string number = "-?[0-9]+", hex = "0x[0-9a-f]+";
  const std::string call =
      "((closesocket|recv|send|socket|ioctlsocket|getsockopt|select|connect|"
      "WSAAsyncSelect|getaddrinfo)\\([^()]*\\) returned " +
      number + ")";
  const std::string message =
      "(started thread 0x[0-9A-F]{4} trace on .*|stopped thread 0x[0-9A-F]{4} trace on .*|"
      "server returned 5 bytes of chunked data|"
      "received [0-9]+ bytes with a content length of [0-9]+ bytes|"
      "server using persistent connection with unknown content length)";
  const std::regex line_form("\\S+ [0-9A-F]{4} [0-9]{4,} (INF|WRN|ERR): (" + call + "|" + message +
                             ")( \\[" + number + "\\])?");
  const std::regex dump_form(" +[0-9A-F]{4}  ([0-9A-F]{2}[ :]| {3}){16} [ -~]{1,16}");
  const test::RawServer server(test::RawServer::Script{
      {{.reply = test::Response("200 OK", {}, "whole")},
       {.reply = test::ChunkedResponse("200 OK", {}, {"ab", "cde"})},
       {.reply = test::Head("200 OK", {"Content-Length: 9"}) + "cut", .close_after = true}},
      {{.reply = test::Head("200 OK") + "until close", .close_after = true}}});
  ASSERT_TRUE(HttpEnableTraceA(Path("log").c_str(), TRACE_HEXDUMP));
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  for (const char* body : {"whole", "abcde", "cut", "until close"}) {
    EXPECT_EQ(Get(client, "/").body, body);
  }
  HttpDisconnect(client);
  EXPECT_TRUE(HttpDisableTrace());
  const std::string log = Log("log");
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    ASSERT_TRUE(line.ends_with('\r')) << line;
    line.pop_back();
    EXPECT_TRUE(std::regex_match(line, line_form) || std::regex_match(line, dump_form)) << line;
  }
  for (const char* wanted :
       {" INF: received 5 bytes with a content length of 5 bytes\r",
        " INF: server returned 5 bytes of chunked data\r",
        " WRN: received 3 bytes with a content length of 9 bytes [",
        " WRN: server using persistent connection with unknown content length ["}) {
    EXPECT_NE(log.find(wanted), std::string::npos) << wanted;
  }
}

TEST_F(TraceTest, ErrorsOnlyShowsWhatFailed) {
  test::RawServer server(test::OneConnection({test::Response("200 OK", {}, "hello")}));
  test::RefusingPort refusing;
  ASSERT_TRUE(HttpEnableTraceA(Path("errors").c_str(), TRACE_ERROR));
  EXPECT_EQ(Get(Connect(server.port()), "/").body, "hello");
  EXPECT_EQ(Log("errors"), "");
  EXPECT_EQ(HttpConnectA("127.0.0.1", refusing.port(), 5, 0, 0, nullptr), INVALID_CLIENT);
  EXPECT_TRUE(HttpDisableTrace());
  const std::string log = Log("errors");
  EXPECT_NE(log.find(" ERR: connect("), std::string::npos) << log;
  EXPECT_NE(log.find("returned -1 [10061]\r\n"), std::string::npos) << log;
  EXPECT_EQ(log.find("INF:"), std::string::npos) << log;
}

TEST_F(TraceTest, CallsAreCountedAndNamesChecked) {
  EXPECT_FALSE(HttpEnableTraceA(Path("x.EXE").c_str(), TRACE_INFO));
  EXPECT_TRUE(HttpDisableTrace());  // the entry exists, without a file
  ASSERT_TRUE(HttpEnableTraceA(directory_.path().c_str(), TRACE_INFO));
  ASSERT_TRUE(HttpEnableTraceA(nullptr, TRACE_INFO));
  EXPECT_TRUE(HttpDisableTrace());
  EXPECT_EQ(Log("Quorvane.log").find("stopped"), std::string::npos);
  EXPECT_TRUE(HttpDisableTrace());
  EXPECT_NE(Log("Quorvane.log").find("stopped"), std::string::npos);
}

// Whoever gives the last reference back ends the log, once, however many do so at a time.
TEST_F(TraceTest, ThreadsShareTheTraceOfTheProcess) {
  std::atomic<int> disabled{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 50; ++j) {
        EXPECT_TRUE(HttpEnableTraceA(Path("process").c_str(), TRACE_PROCESS));
        if (HttpDisableTrace()) ++disabled;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(disabled, 200);
  EXPECT_FALSE(HttpDisableTrace());
  const std::string log = Log("process");
  const auto count = [&](const char* text) {
    const std::regex word(text);
    return std::distance(std::sregex_iterator(log.begin(), log.end(), word), {});
  };
  EXPECT_GT(count("started process"), 0);
  EXPECT_EQ(count("started process"), count("stopped process"));
}

}  // namespace
