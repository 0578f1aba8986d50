// What tasks do: each operation over the wire, its callbacks and its results.
#include <cstring>
#include <functional>

#include "support/temp_dir.h"
#include "support_library/request_text.h"
#include "tasks/task_fixture.h"

namespace test {
namespace {

constexpr DWORD kResultSize = 64;

class TaskOperationsTest : public TaskTest {
 protected:
  // The arguments that the starting functions share.
  struct Arguments {
    HCLIENT client;
    EventLog* log;
    char* result;
    DWORD* length;
  };

  struct Operation {
    const char* name;
    std::function<DWORD(const Arguments&)> start;
    std::string request;  // its first line and body
    bool reports_progress;
    bool gives_result;
  };

  void SetUp() override {
    TaskTest::SetUp();
    form_ = HttpCreateFormA("/r", HTTP_METHOD_POST, 0, 0);
    ASSERT_EQ(HttpAddFormFieldA(form_, "a", "b c", 3, 0), 0);
  }

  std::vector<Operation> Operations() const;

  TempDir folder_;
  const std::string local_ = folder_.Write("up", "file");
  const std::string target_ = folder_.file("down");
  HFORM form_ = INVALID_FORM;
};

#define TASK_TAIL EventLog::Record, a.log->parameter()

std::vector<TaskOperationsTest::Operation> TaskOperationsTest::Operations() const {
  const char* local = local_.c_str();
  const char* target = target_.c_str();
  const std::u16string wide_local(local_.begin(), local_.end());
  const std::u16string wide_target(target_.begin(), target_.end());
  const HFORM form = form_;
  using A = const Arguments&;
  return {
      {"GetFileA", [=](A a) { return HttpAsyncGetFileA(a.client, target, "/r", 0, 0, TASK_TAIL); },
       "GET /r|", true, false},
      {"GetFileExW",
       [=](A a) {
         return HttpAsyncGetFileExW(a.client, wide_target.c_str(), u"/r", 0, 0, TASK_TAIL);
       },
       "GET /r|", true, false},
      {"GetDataA",
       [](A a) { return HttpAsyncGetDataA(a.client, "/r", a.result, a.length, 0, TASK_TAIL); },
       "GET /r|", true, true},
      {"GetDataW",
       [](A a) { return HttpAsyncGetDataW(a.client, u"/r", a.result, a.length, 0, TASK_TAIL); },
       "GET /r|", true, true},
      {"PutFileExA",
       [=](A a) { return HttpAsyncPutFileExA(a.client, local, "/r", 0, 0, TASK_TAIL); },
       "PUT /r|file", true, false},
      {"PutFileW",
       [=](A a) { return HttpAsyncPutFileW(a.client, wide_local.c_str(), u"/r", 0, 0, TASK_TAIL); },
       "PUT /r|file", true, false},
      {"PutDataA", [](A a) { return HttpAsyncPutDataA(a.client, "/r", "data", 4, 77, TASK_TAIL); },
       "PUT /r|data", true, false},
      {"PutDataW", [](A a) { return HttpAsyncPutDataW(a.client, u"/r", "data", 4, 0, TASK_TAIL); },
       "PUT /r|data", true, false},
      {"PostDataA",
       [](A a) {
         return HttpAsyncPostDataA(a.client, "/r", "data", 4, a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|data", false, true},
      {"PostDataW without a result",
       [](A a) {
         return HttpAsyncPostDataW(a.client, u"/r", "data", 4, nullptr, nullptr, 0, TASK_TAIL);
       },
       "POST /r|data", false, false},
      {"PostJsonA",
       [](A a) {
         return HttpAsyncPostJsonA(a.client, "/r", "{}", a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|{}", false, true},
      {"PostJsonW",
       [](A a) {
         return HttpAsyncPostJsonW(a.client, u"/r", u"\"\u00e9\"", a.result, a.length, 0,
                                   TASK_TAIL);
       },
       "POST /r|\"\xc3\xa9\"", false, true},
      {"PostTextA",
       [](A a) {
         return HttpAsyncPostTextA(a.client, "/r", "text", a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|text", false, true},
      {"PostTextW",
       [](A a) {
         return HttpAsyncPostTextW(a.client, u"/r", u"text", a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|text", false, true},
      {"PostXmlA",
       [](A a) {
         return HttpAsyncPostXmlA(a.client, "/r", "<x/>", a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|<x/>", false, true},
      {"PostXmlW",
       [](A a) {
         return HttpAsyncPostXmlW(a.client, u"/r", u"<x/>", a.result, a.length, 0, TASK_TAIL);
       },
       "POST /r|<x/>", false, true},
      {"SubmitFormA",
       [=](A a) { return HttpAsyncSubmitFormA(a.client, form, a.result, a.length, 0, TASK_TAIL); },
       "POST /r|a=b%20c", false, true},
      {"SubmitFormW without a result",
       [=](A a) { return HttpAsyncSubmitFormW(a.client, form, nullptr, nullptr, 0, TASK_TAIL); },
       "POST /r|a=b%20c", false, false},
  };
}

void CheckCallbacks(const std::vector<TaskEvent>& events, bool reports_progress) {
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events.front().event, HTTP_EVENT_CONNECT);
  EXPECT_EQ(events.back().event, HTTP_EVENT_DISCONNECT);
  for (const TaskEvent& event : events) {
    EXPECT_EQ(event.error, 0u);
    EXPECT_NE(event.client, INVALID_CLIENT);
    EXPECT_EQ(event.client, events.front().client);
    EXPECT_EQ(event.thread, events.front().thread);
    EXPECT_NE(event.thread, GetCurrentThreadId());
  }
  EXPECT_EQ(events.size() > 2, reports_progress);
}

TEST_F(TaskOperationsTest, EachRunsOverASessionOfItsOwn) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const RawServer server([](Connection& connection) {
      if (connection.ReadRequest()) connection.Send(Response("200 OK", {}, "body"));
      connection.WaitForClose();
    });
    const HCLIENT session = Connect(server.port());
    EventLog log;
    char result[kResultSize] = "";
    DWORD length = kResultSize;
    const DWORD task = operation.start({session, &log, result, &length});
    ASSERT_NE(task, 0u) << std::hex << LastError();
    EXPECT_EQ(Finish(task, log), 0u);
    EXPECT_EQ(HttpGetTaskError(task), 0u);

    ASSERT_EQ(server.requests(1).size(), 1u);  // not over the session that was named
    const std::string request = server.requests(1)[0];
    const std::string line = FirstLineOf(request);
    EXPECT_EQ(line.substr(0, line.rfind(' ')) + "|" + BodyOf(request), operation.request);
    EXPECT_EQ(server.requests(0).size(), 0u);
    if (operation.gives_result) {
      EXPECT_EQ(std::string(result, length), "body");
    }
    CheckCallbacks(log.events(), operation.reports_progress);
    EXPECT_TRUE(server.WaitForEnds(1));
    EXPECT_TRUE(HttpIsConnected(session));
    EXPECT_EQ(HttpDisconnect(session), 0);
  }
  EXPECT_EQ(folder_.Read("down"), "body");
}

TEST_F(TaskOperationsTest, FilesGoOnAtAnOffset) {
  const RawServer server(OneConnection(
      {Response("HTTP/1.1 206 Partial Content", {"Content-Range: bytes 4-7/8"}, "more")}));
  folder_.Write("down", "some");
  const DWORD task = HttpAsyncGetFileA(INVALID_CLIENT, target_.c_str(), server.url("/r").c_str(), 0,
                                       4, nullptr, 0);
  EXPECT_EQ(Finish(task), 0u);
  EXPECT_EQ(folder_.Read("down"), "somemore");
  HTTPTRANSFERSTATUSEX status;
  EXPECT_EQ(HttpGetTaskStatusEx(task, 0, &status), HTTP_TASK_FINISHED);
  EXPECT_EQ(status.dwBytesCopied, 8u);
}

TEST_F(TaskOperationsTest, HandleModeGivesABlock) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  HGLOBAL block = reinterpret_cast<HGLOBAL>(&block);
  DWORD length = 0;
  const DWORD task = HttpAsyncGetDataA(INVALID_CLIENT, server.url("/").c_str(),
                                       static_cast<void*>(&block), &length, 0, nullptr, 0);
  EXPECT_EQ(Finish(task), 0u);
  EXPECT_EQ(length, 4u);
  EXPECT_STREQ(static_cast<const char*>(GlobalLock(block)), "body");
  GlobalUnlock(block);
  GlobalFree(block);
}

std::atomic<DWORD_PTR> seen_parameter{0};

TEST_F(TaskOperationsTest, ParameterZeroStandsForTheTaskId) {
  const RawServer server(OneConnection({Response("200 OK", {}, "body")}));
  Download download;
  const DWORD task =
      Start(download, server.url("/"), INVALID_CLIENT,
            [](HCLIENT, UINT, DWORD, DWORD_PTR parameter) { seen_parameter = parameter; });
  EXPECT_EQ(Finish(task), 0u);
  EXPECT_EQ(seen_parameter, task);
}

// The form is the one of its handle at the time when the task has connected.
TEST_F(TaskOperationsTest, AFormCanBeDestroyedBeforeItIsSent) {
  const RawServer server([](Connection& connection) { connection.WaitForClose(); });
  const HCLIENT session = Connect(server.port());
  const HTTPEVENTPROC destroy = [](HCLIENT, UINT event, DWORD, DWORD_PTR form) {
    if (event == HTTP_EVENT_CONNECT) HttpDestroyForm(static_cast<HFORM>(form));
  };
  char result[kResultSize];
  DWORD length = kResultSize;
  const DWORD task = HttpAsyncSubmitFormA(session, form_, result, &length, 0, destroy, form_);
  EXPECT_EQ(Finish(task), DWORD{QV_ERROR_INVALID_FORM_HANDLE});
}

// What fails on the worker: the callbacks that come, and the task's error.
TEST_F(TaskOperationsTest, FailuresReachTheCallbackAndTheTask) {
  const RefusingPort refusing;
  const RawServer missing(OneConnection({Response("HTTP/1.1 404 Not Found", {}, "")}));
  const std::string refused = "http://127.0.0.1:" + std::to_string(refusing.port()) + "/";
  struct Failure {
    std::string resource;
    DWORD error;
    std::vector<UINT> events;
  };
  const std::vector<Failure> failures = {
      {"/relative", QV_ERROR_INVALID_RESOURCE, {HTTP_EVENT_DISCONNECT}},
      {"ftp://127.0.0.1/", QV_ERROR_INVALID_RESOURCE, {HTTP_EVENT_DISCONNECT}},
      {refused, QV_ERROR_CONNECTION_REFUSED, {HTTP_EVENT_CONNECT, HTTP_EVENT_DISCONNECT}},
      {missing.url("/"), QV_ERROR_RESOURCE_NOT_FOUND, {HTTP_EVENT_CONNECT, HTTP_EVENT_DISCONNECT}},
  };
  for (const Failure& failure : failures) {
    SCOPED_TRACE(failure.resource);
    EventLog log;
    Download download;
    const DWORD task =
        Start(download, failure.resource, INVALID_CLIENT, EventLog::Record, log.parameter());
    const DWORD error = Finish(task, log);
    EXPECT_EQ(error, failure.error) << std::hex << error;
    EXPECT_EQ(HttpGetTaskError(task), failure.error);
    EXPECT_EQ(HttpTaskDone(task), 1u);
    std::vector<UINT> events;
    for (const TaskEvent& event : log.events()) events.push_back(event.event);
    EXPECT_EQ(events, failure.events);
    EXPECT_EQ(log.events().back().error, failure.error);
  }
}

}  // namespace
}  // namespace test
