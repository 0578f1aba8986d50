// Submissions: what goes over the wire, and what a server's own library makes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "forms/form_fixture.h"
#include "support/raw_server.h"

namespace {

using test::RawServer;
using test::SeenField;
using test::SeenForm;

class SubmitFormTest : public test::FormTest {
 protected:
  static RawServer::Handler AnswersAll() {
    return [](test::Connection& connection) {
      while (connection.ReadRequest()) connection.Send(test::Response("200 OK", {}, "ok"));
    };
  }
};

TEST_F(SubmitFormTest, AServerSeesEncodedFields) {
  test::FormServer server;
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string every_byte = [] {
    std::string text;
    for (int c = 1; c < 256; ++c) {
      if (std::string_view("&=+%").find(static_cast<char>(c)) == std::string_view::npos) {
        text += static_cast<char>(c);
      }
    }
    return text;
  }();
  for (const UINT method : {HTTP_METHOD_GET, HTTP_METHOD_POST}) {
    const HFORM form = Create("/form", method);
    Add(form, "a", "1");
    Add(form, "b", "x y");
    Add(form, "name with space", "");
    Add(form, "bytes", every_byte);
    Add(form, "escaped", "a%26b%3Dc%2Bd%2541");
    Add(form,
        "gr\xC3\xB6\xC3\x9F"
        "e",
        std::string("\0\r\n\0", 4));
    // Three times as long when it is encoded; too long for a request line.
    const std::string large(method == HTTP_METHOD_POST ? 200000 : 2000, '\xE9');
    Add(form, "large", large);
    const SeenForm seen = See(client, form);
    EXPECT_EQ(seen.path, "/form");
    EXPECT_EQ(seen.method, method == HTTP_METHOD_GET ? "GET" : "POST");
    EXPECT_EQ(seen.type, method == HTTP_METHOD_GET ? "" : "application/x-www-form-urlencoded");
    const std::vector<SeenField> expected = {{"a", "1"},
                                             {"b", "x y"},
                                             {"name with space", ""},
                                             {"bytes", every_byte},
                                             {"escaped", "a&b=c+d%41"},
                                             {"gr\xC3\xB6\xC3\x9F"
                                              "e",
                                              std::string("\0\r\n\0", 4)},
                                             {"large", large}};
    EXPECT_TRUE(seen.fields == expected) << method;
  }
}

TEST_F(SubmitFormTest, AServerSeesPartsOfAMultipartForm) {
  test::FormServer server;
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const std::string bytes = test::Pattern(3 << 20) + "\r\n--\r\n";
  const HFORM form = Create("/upload", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "text", "a&b=c+d%41 \xC3\xBC");
  Add(form, "empty", "");
  Add(form, "say \"hi\"", "quoted");
  Add(form,
      "gr\xC3\xB6\xC3\x9F"
      "e",
      std::string("\0\r\n--\0\xFF", 7));
  ASSERT_EQ(HttpAddFormFileA(form, "file", WriteFile("a b.bin", bytes).c_str(), 0), 0);
  ASSERT_EQ(HttpAddFormFileA(form, nullptr, WriteFile("\xC3\xB6.txt", "").c_str(), 0), 0);
  const std::vector<SeenField> expected = {{"text", "a&b=c+d%41 \xC3\xBC"},
                                           {"empty", ""},
                                           {"say %22hi%22", "quoted"},
                                           {"gr\xC3\xB6\xC3\x9F"
                                            "e",
                                            std::string("\0\r\n--\0\xFF", 7)},
                                           {"file", bytes, "a b.bin"},
                                           {"Field6", "", "\xC3\xB6.txt"}};
  for (int i = 0; i < 2; ++i) {  // a submission does not use the form up
    const SeenForm seen = See(client, form);
    EXPECT_EQ(seen.method, "POST");
    EXPECT_EQ(seen.type, "multipart/form-data");
    EXPECT_TRUE(seen.fields == expected) << i;
  }
}

TEST_F(SubmitFormTest, TheMultipartDocumentIsExact) {
  RawServer server(AnswersAll());
  const HCLIENT client = Connect(server.port());
  const HFORM form = Create("/f?x=1", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "a", "1");
  const std::string path = WriteFile("C:x", "content");
  ASSERT_EQ(HttpAddFormFileW(form, u"b", std::u16string(path.begin(), path.end()).c_str(), 0), 0);
  ASSERT_EQ(Submit(client, form, HTTP_SUBMIT_CONVERT).body, "ok");
  const std::string request = server.requests()[0];
  EXPECT_EQ(test::FirstLineOf(request), "POST /f?x=1 HTTP/1.1");
  const std::string type = test::HeaderOf(request, "Content-Type").value_or("");
  const std::string start = "multipart/form-data; boundary=";
  ASSERT_TRUE(type.starts_with(start)) << type;
  const std::string boundary = type.substr(start.size());
  EXPECT_TRUE(boundary.starts_with("--------------------QV3024" + std::to_string(form)))
      << boundary;
  const std::string body =
      "--" + boundary + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--" + boundary +
      "\r\nContent-Disposition: form-data; name=\"b\"; filename=\"x\"\r\n"
      "Content-Type: application/octet-stream\r\n\r\ncontent\r\n--" +
      boundary + "--\r\n";
  EXPECT_EQ(test::BodyOf(request), body);
  EXPECT_EQ(test::HeaderOf(request, "Content-Length"), std::to_string(body.size()));
}

TEST_F(SubmitFormTest, TheMultipartTypeIsForOneRequest) {
  RawServer server(AnswersAll());
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const HFORM multipart = Create("/m", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  const HFORM encoded = Create("/e", HTTP_METHOD_POST);
  Add(multipart, "a", "1");
  Add(encoded, "a", "1");
  EXPECT_EQ(Submit(client, multipart).result, 200);
  EXPECT_EQ(Submit(client, encoded, HTTP_POST_MULTIPART).result, 200);

  // Neither does one that is refused before it is sent leave its type behind.
  ASSERT_EQ(HttpCommandA(client, "GET", "/open", nullptr, 0, 0), 200);
  EXPECT_EQ(Submit(client, multipart).result, HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_REQUEST_NOT_COMPLETED);
  HttpCloseFile(client);
  EXPECT_EQ(Submit(client, encoded).result, 200);
  // One that the application has set is there again.
  HttpSetRequestHeaderA(client, "Content-Type", "text/mine");
  EXPECT_EQ(Submit(client, multipart).result, 200);
  EXPECT_EQ(Submit(client, encoded).result, 200);
  const std::vector<std::string> requests = server.requests();
  ASSERT_EQ(requests.size(), 6u);
  EXPECT_TRUE(test::HeaderOf(requests[4], "Content-Type").value_or("").starts_with("multipart/"));
  EXPECT_EQ(test::HeaderOf(requests[5], "Content-Type"), "text/mine");
  for (const std::size_t i : {1u, 3u}) {
    EXPECT_EQ(test::HeaderOf(requests[i], "Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(test::BodyOf(requests[i]), "a=1");
  }
}

TEST_F(SubmitFormTest, TheQueryIsAddedToTheAction) {
  RawServer server(AnswersAll());
  const HCLIENT client = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
  const struct {
    std::string action;
    const char* line;
  } cases[] = {{"/action", "GET /action?a=1&b=x%20y HTTP/1.1"},
               {server.url("/url"), "GET /url?a=1&b=x%20y HTTP/1.1"}};
  for (const auto& entry : cases) {
    const HFORM form = Create(entry.action.c_str(), HTTP_METHOD_GET);
    Add(form, "a", "1");
    Add(form, "b", "x y");
    ASSERT_EQ(Submit(client, form).result, 200);
    EXPECT_EQ(test::FirstLineOf(server.requests().back()), entry.line);
  }
}

TEST_F(SubmitFormTest, AMultipartFormTurnedToGetSendsNoFiles) {
  RawServer server(AnswersAll());
  const HCLIENT client = Connect(server.port());
  const HFORM form = Create("/g", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "a", "1");
  ASSERT_EQ(HttpAddFormFileA(form, "f", WriteFile("f", "secret").c_str(), 0), 0);
  const HTTPFORMPROPERTIESA get{HTTP_METHOD_GET, HTTP_FORM_DEFAULT, nullptr, 0, 0};
  ASSERT_EQ(HttpSetFormPropertiesA(form, &get), 0);
  EXPECT_EQ(Submit(client, form).result, 200);
  EXPECT_EQ(test::FirstLineOf(server.requests()[0]), "GET /g?a=1&f= HTTP/1.1");
}

TEST_F(SubmitFormTest, RefusesWhatCannotBeSent) {
  RawServer server(AnswersAll());
  const HCLIENT client = Connect(server.port());
  const HCLIENT oldest = Connect(server.port(), 0, HTTP_VERSION_09);
  const HFORM empty = Create("/", HTTP_METHOD_POST);
  const HFORM homeless = Create(nullptr, HTTP_METHOD_GET);
  const HFORM post = Create("/", HTTP_METHOD_POST);
  Add(homeless, "a", "1");
  Add(post, "a", "1");
  const struct {
    HCLIENT client;
    HFORM form;
    DWORD error;
  } cases[] = {{client, empty, QV_ERROR_EMPTY_FORM},
               {client, homeless, QV_ERROR_INVALID_FORM_ACTION},
               {oldest, post, QV_ERROR_INVALID_FORM_METHOD},
               {INVALID_CLIENT, post, QV_ERROR_INVALID_HANDLE}};
  for (const auto& entry : cases) {
    EXPECT_EQ(Submit(entry.client, entry.form).result, HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error);
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(SubmitFormTest, ErrorsOfTheExchangeComeThrough) {
  RawServer server(RawServer::Script{{{test::Response("404 No", {}, "gone")}},
                                     {{test::Response("404 No", {}, "gone")}},
                                     {{"", RawServer::How::kReset}},
                                     {{test::Response("200 OK", {}, "longer")}}});
  const HFORM form = Create("/", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "a", "1");
  EXPECT_EQ(Submit(Connect(server.port()), form).result, HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_RESOURCE_NOT_FOUND);
  const test::Fetched fetched = Submit(Connect(server.port()), form, HTTP_POST_ERRORDATA);
  EXPECT_EQ(fetched.result, 404);
  EXPECT_EQ(fetched.body, "gone");
  EXPECT_EQ(Submit(Connect(server.port()), form).result, HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_CONNECTION_RESET);
  // A buffer takes what fits, as with the data functions.
  char buffer[4] = "xxx";
  DWORD length = 2;
  EXPECT_EQ(HttpSubmitFormW(Connect(server.port()), form, buffer, &length, 0), 200);
  EXPECT_EQ(length, 2u);
  EXPECT_STREQ(buffer, "lox");
}

TEST_F(SubmitFormTest, ACopyOfWhatWasAddedIsSent) {
  test::FormServer server;
  const HFORM form = Create("/form", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  std::string value = "before";
  const std::string file = WriteFile("f", "before");
  Add(form, "value", value);
  ASSERT_EQ(HttpAddFormFileA(form, "file", file.c_str(), 0), 0);
  value = "after!";
  WriteFile("f", "after!");
  EXPECT_EQ(See(Connect(server.port()), form).fields,
            (std::vector<SeenField>{{"value", "before"}, {"file", "before", "f"}}));
}

// Each thread changes its own field and the form of all, and submits it over its own session.
TEST_F(SubmitFormTest, AnyThreadMayUseAForm) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 25;
  RawServer server(AnswersAll());
  const HFORM form = Create("/f", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "fixed", "1");
  std::atomic<int> failures = 0;
  const auto use = [&](int number) {
    const std::string name = "thread" + std::to_string(number);
    const HCLIENT client =
        HttpConnectA("127.0.0.1", server.port(), 20, HTTP_OPTION_KEEPALIVE, 0, nullptr);
    for (int i = 0; i < kRounds; ++i) {
      const HFORM own = HttpCreateFormA("/own", HTTP_METHOD_POST, 0, 0);
      const std::string value(static_cast<std::size_t>(1000 * i), 'v');
      const bool done =
          HttpAddFormFieldA(form, name.c_str(), value.c_str(), test::kWholeText, 0) == 0 &&
          HttpAddFormFieldA(own, name.c_str(), "x", 1, 0) == 0 &&
          Submit(client, form).body == "ok" && Submit(client, own).body == "ok" &&
          HttpDeleteFormFieldA(form, name.c_str()) == 0 && HttpDestroyForm(own) == 0;
      if (!done) ++failures;
    }
    HttpDisconnect(client);
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(use, i);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(server.requests().size(), std::size_t{2 * kThreads * kRounds});
  for (const std::string& request : server.requests()) {
    EXPECT_EQ(test::HeaderOf(request, "Content-Length"),
              std::to_string(test::BodyOf(request).size()));
  }
}

}  // namespace
