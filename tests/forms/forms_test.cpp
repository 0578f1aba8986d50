// Forms as such: handles, properties, fields.
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "forms/form_fixture.h"
#include "support/raw_server.h"

namespace {

using test::kWholeText;

static_assert(sizeof(HTTPFORMPROPERTIESA) == 24 && sizeof(HTTPFORMPROPERTIESW) == 24);
static_assert(offsetof(HTTPFORMPROPERTIESA, lpszFormAction) == 8);
static_assert(offsetof(HTTPFORMPROPERTIESA, dwReserved1) == 16);

constexpr uid_t kNobody = 65534;

class FormsTest : public test::FormTest {
 protected:
  // The query that a GET form makes of its fields, as the request line shows it.
  std::string QueryOf(HFORM form) {
    test::RawServer server(test::OneConnection({test::Response("200 OK", {}, "ok")}));
    const HCLIENT client = Connect(server.port());
    if (Submit(client, form).result != 200) return "not sent";
    const std::string line = test::FirstLineOf(server.requests()[0]);
    const std::size_t mark = line.find('?');
    return line.substr(mark + 1, line.rfind(' ') - mark - 1);
  }
};

TEST_F(FormsTest, CreationChecksItsArguments) {
  const std::string longest(5119, 'a');
  const std::string too_long(5120, 'a');
  struct Case {
    const char* action;
    UINT method;
    UINT type;
    DWORD reserved;
    DWORD error;
  };
  const Case cases[] = {
      {nullptr, 0, 0, 0, 0},
      {longest.c_str(), HTTP_METHOD_POST, HTTP_FORM_MULTIPART, 0, 0},
      {too_long.c_str(), 3, 3, 1, QV_ERROR_INVALID_FORM_ACTION},
      {"/a\r\nX: y", HTTP_METHOD_POST, 0, 0, QV_ERROR_INVALID_FORM_ACTION},
      {"/", 3, 0, 0, QV_ERROR_INVALID_FORM_METHOD},
      {"/", ~0u, 0, 0, QV_ERROR_INVALID_FORM_METHOD},
      {"/", HTTP_METHOD_POST, 3, 0, QV_ERROR_INVALID_FORM_TYPE},
      {"/", HTTP_METHOD_GET, HTTP_FORM_MULTIPART, 0, QV_ERROR_INVALID_FORM_TYPE},
      {"/", HTTP_METHOD_DEFAULT, HTTP_FORM_MULTIPART, 0, QV_ERROR_INVALID_FORM_TYPE},
      {"/", 0, 0, 1, QV_ERROR_INVALID_PARAMETER},
  };
  for (const Case& entry : cases) {
    HttpSetLastError(0);
    const HFORM form = HttpCreateFormA(entry.action, entry.method, entry.type, entry.reserved);
    EXPECT_EQ(form == INVALID_FORM, entry.error != 0) << &entry - cases;
    EXPECT_EQ(LastError(), entry.error) << &entry - cases;
    if (form != INVALID_FORM) {
      EXPECT_EQ(HttpDestroyForm(form), 0);
    }
  }
}

TEST_F(FormsTest, NeedsTheLibrary) {
  HttpUninitialize();
  EXPECT_EQ(HttpCreateFormA("/", 0, 0, 0), INVALID_FORM);
  EXPECT_EQ(LastError(), QV_ERROR_NETWORK_NOT_INITIALIZED);
  ASSERT_TRUE(HttpInitializeA(nullptr, 0));
}

TEST_F(FormsTest, HandlesAreConsecutiveAndComeBack) {
  std::vector<HFORM> forms;
  for (int i = 0; i < 300; ++i) forms.push_back(Create("/", 0));
  for (std::size_t i = 1; i < forms.size(); ++i) EXPECT_EQ(forms[i], forms[0] + i);
  EXPECT_LE(forms.back(), 0xFFFFFFFFu);
  EXPECT_EQ(HttpDestroyForm(forms[7]), 0);
  EXPECT_EQ(HttpDestroyForm(forms[7]), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FORM_HANDLE);
  EXPECT_EQ(Create("/", 0), forms[7]);
}

TEST_F(FormsTest, EveryFunctionRefusesAnUnknownHandle) {
  const HFORM gone = Create("/", 0);
  HttpDestroyForm(gone);
  test::RawServer server(test::RawServer::Script{{}});
  const HCLIENT client = Connect(server.port());
  HTTPFORMPROPERTIESA narrow{};
  HTTPFORMPROPERTIESW wide{};
  for (const HFORM form : {gone, HFORM{0}, INVALID_FORM, gone + (HFORM{1} << 32)}) {
    int call = 0;
    for (const INT result :
         {HttpDestroyForm(form), HttpGetFormPropertiesA(form, &narrow),
          HttpGetFormPropertiesW(form, &wide), HttpSetFormPropertiesA(form, &narrow),
          HttpSetFormPropertiesW(form, &wide), HttpAddFormFieldA(form, "a", "b", 1, 0),
          HttpAddFormFieldW(form, u"a", u"b", kWholeText, 0),
          HttpAddFormFileA(form, "a", "/etc/passwd", 0),
          HttpAddFormFileW(form, u"a", u"/etc/passwd", 0), HttpDeleteFormFieldA(form, "a"),
          HttpDeleteFormFieldW(form, u"a"), HttpClearForm(form), Submit(client, form).result}) {
      EXPECT_EQ(result, HTTP_ERROR) << form << ", call " << call;
      ++call;
    }
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_FORM_HANDLE);
  }
}

TEST_F(FormsTest, PropertiesChangeWhereTheyAreGiven) {
  const HFORM form = Create("/one", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  HTTPFORMPROPERTIESA have{9, 9, nullptr, 9, 9};
  ASSERT_EQ(HttpGetFormPropertiesA(form, &have), 0);
  EXPECT_EQ(have.nFormMethod, UINT{HTTP_METHOD_POST});
  EXPECT_EQ(have.nFormType, UINT{HTTP_FORM_MULTIPART});
  EXPECT_STREQ(have.lpszFormAction, "/one");
  EXPECT_EQ(have.dwReserved1 | have.dwReserved2, 0u);

  // A record that was asked for can be given back, and the text in it stays good.
  have.nFormType = HTTP_FORM_ENCODED;
  EXPECT_EQ(HttpSetFormPropertiesA(form, &have), 0);
  EXPECT_STREQ(have.lpszFormAction, "/one");

  const std::string too_long(5120, 'a');
  const struct {
    HTTPFORMPROPERTIESA properties;
    DWORD error;
  } refused[] = {{{3, 0, "/two", 0, 0}, QV_ERROR_INVALID_FORM_METHOD},
                 {{1, 3, "/two", 0, 0}, QV_ERROR_INVALID_FORM_TYPE},
                 {{1, 1, too_long.c_str(), 0, 0}, QV_ERROR_INVALID_FORM_ACTION},
                 {{1, 1, "/\n", 0, 0}, QV_ERROR_INVALID_FORM_ACTION}};
  for (const auto& entry : refused) {
    EXPECT_EQ(HttpSetFormPropertiesA(form, &entry.properties), HTTP_ERROR);
    EXPECT_EQ(LastError(), entry.error);
  }
  EXPECT_EQ(HttpSetFormPropertiesA(form, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(HttpGetFormPropertiesW(form, nullptr), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_PARAMETER);
  ASSERT_EQ(HttpGetFormPropertiesA(form, &have), 0);
  EXPECT_EQ(have.nFormMethod, UINT{HTTP_METHOD_POST});
  EXPECT_EQ(have.nFormType, UINT{HTTP_FORM_ENCODED});
  EXPECT_STREQ(have.lpszFormAction, "/one");
}

TEST_F(FormsTest, WidePropertiesFollowTheAction) {
  const HFORM form = HttpCreateFormW(u"/gr\u00FC\u00DFe", 0, 0, 0);
  ASSERT_NE(form, INVALID_FORM);
  HTTPFORMPROPERTIESA narrow{};
  HTTPFORMPROPERTIESW wide{};
  ASSERT_EQ(HttpGetFormPropertiesA(form, &narrow), 0);
  EXPECT_STREQ(narrow.lpszFormAction,
               "/gr\xC3\xBC\xC3\x9F"
               "e");
  ASSERT_EQ(HttpGetFormPropertiesW(form, &wide), 0);
  const LPCWSTR first = wide.lpszFormAction;
  ASSERT_EQ(HttpGetFormPropertiesW(form, &wide), 0);
  EXPECT_EQ(wide.lpszFormAction, first);  // valid as long as the action
  EXPECT_EQ(std::u16string_view(first), u"/gr\u00FC\u00DFe");
  wide.lpszFormAction = u"/neu";
  EXPECT_EQ(HttpSetFormPropertiesW(form, &wide), 0);
  ASSERT_EQ(HttpGetFormPropertiesW(form, &wide), 0);
  EXPECT_EQ(std::u16string_view(wide.lpszFormAction), u"/neu");
  EXPECT_EQ(HttpDestroyForm(form), 0);
}

TEST_F(FormsTest, FieldsKeepTheirOrderAndTheirNamesUnique) {
  const HFORM form = Create("/q", HTTP_METHOD_GET);
  const std::string long_name(300, 'n');
  EXPECT_EQ(HttpAddFormFieldA(form, nullptr, "first", kWholeText, 77), 0);
  Add(form, "a", "1");
  Add(form, "b", "2");
  Add(form, "A", "3");  // replaces "a", at the end
  EXPECT_EQ(HttpAddFormFieldA(form, "", "none", 0, 0), 0);
  EXPECT_EQ(HttpAddFormFieldA(form, "null", nullptr, 5, 0), 0);
  Add(form, long_name.c_str(), "x");
  Add(form, long_name.c_str(), "y");
  EXPECT_EQ(QueryOf(form), "Field1=first&b=2&A=3&Field5=&null=&" + std::string(255, 'n') + "=y");

  EXPECT_EQ(HttpDeleteFormFieldA(form, long_name.c_str()), 0);
  EXPECT_EQ(HttpDeleteFormFieldA(form, "NULL"), 0);
  EXPECT_EQ(HttpDeleteFormFieldW(form, u"field1"), 0);
  EXPECT_EQ(QueryOf(form), "b=2&A=3&Field5=");
  for (const char* name : {"", "c", "field1"}) {
    EXPECT_EQ(HttpDeleteFormFieldA(form, name), HTTP_ERROR) << name;
    EXPECT_EQ(LastError(), QV_ERROR_INVALID_FORM_FIELD) << name;
  }
  EXPECT_EQ(HttpClearForm(form), 0);
  EXPECT_EQ(HttpDeleteFormFieldA(form, "b"), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_EMPTY_FORM);
  Add(form, nullptr, "again");  // numbers begin anew
  EXPECT_EQ(QueryOf(form), "Field1=again");
}

TEST_F(FormsTest, WideTextsBecomeUtf8AndBytesStay) {
  const HFORM form = Create("/q", HTTP_METHOD_GET);
  EXPECT_EQ(HttpAddFormFieldW(form, u"text", u"\u00FC\U0001F600", kWholeText, 0), 0);
  EXPECT_EQ(HttpAddFormFieldW(form, u"bytes", "\xFF\x00z", 3, 0), 0);
  EXPECT_EQ(HttpAddFormFieldW(form, u"none", nullptr, kWholeText, 0), 0);
  EXPECT_EQ(QueryOf(form), "text=%c3%bc%f0%9f%98%80&bytes=%ff%00z&none=");
  const char16_t half_pair[] = {u'a', 0xD800, 0};
  EXPECT_EQ(HttpAddFormFieldW(form, u"text", half_pair, kWholeText, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_UNICOODE);
}

TEST_F(FormsTest, NamesCannotEndAHeader) {
  const HFORM form = Create("/q", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  const std::string file = WriteFile("line\nend", "x");
  const std::string plain = WriteFile("plain", "x");
  EXPECT_EQ(HttpAddFormFieldA(form, "a\r\nX: y", "b", 1, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FORM_FIELD);
  EXPECT_EQ(HttpAddFormFileA(form, "a\nb", plain.c_str(), 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FORM_FIELD);
  EXPECT_EQ(HttpAddFormFileA(form, "a", file.c_str(), 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FILE_NAME);
}

TEST_F(FormsTest, FilesGoIntoMultipartFormsOnly) {
  const std::string file = WriteFile("a.bin", "content");
  const std::string pipe = directory_.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const HFORM get = Create("/", HTTP_METHOD_GET);
  const HFORM encoded = Create("/", HTTP_METHOD_POST);
  const HFORM multipart = Create("/", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  const std::string folder = directory_.path().string();
  const std::string missing = directory_.file("missing");
  const struct {
    HFORM form;
    std::string file;
    DWORD error;
  } cases[] = {{get, file, QV_ERROR_INVALID_FORM_METHOD},
               {encoded, file, QV_ERROR_INVALID_FORM_TYPE},
               {encoded, "", QV_ERROR_INVALID_FILE_NAME},
               {multipart, "", QV_ERROR_INVALID_FILE_NAME},
               {multipart, missing, QV_ERROR_FILE_NOT_FOUND},
               {multipart, folder, QV_ERROR_ACCESS_DENIED},
               {multipart, pipe, QV_ERROR_ACCESS_DENIED},
               {multipart, "/dev/zero", QV_ERROR_ACCESS_DENIED}};
  for (const auto& entry : cases) {
    EXPECT_EQ(HttpAddFormFileA(entry.form, "f", entry.file.c_str(), 0), HTTP_ERROR) << entry.file;
    EXPECT_EQ(LastError(), entry.error) << entry.file;
  }
  EXPECT_EQ(HttpAddFormFileA(multipart, "f", nullptr, 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_INVALID_FILE_NAME);
  EXPECT_EQ(HttpAddFormFileA(multipart, "f", file.c_str(), 0), 0);
}

// Whoever runs the tests: root gives its rights up for a moment, in this thread alone.
TEST_F(FormsTest, AFileThatCannotBeReadChangesNothing) {
  const HFORM form = Create("/", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  Add(form, "f", "stays");
  const std::string file = WriteFile("locked", "content");
  const std::string plain = WriteFile("plain", "content");
  ASSERT_EQ(chmod(file.c_str(), 0), 0);
  setfsuid(kNobody);
  EXPECT_EQ(HttpAddFormFileA(form, "f", file.c_str(), 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_ACCESS_DENIED);
  setfsuid(geteuid());

  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(HttpAddFormFileA(form, "f", plain.c_str(), 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_NO_HANDLES);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(HttpDeleteFormFieldA(form, "f"), 0);
}

TEST_F(FormsTest, AFileLongerThan32BitsIsRefused) {
  const std::string file = WriteFile("huge", "");
  if (truncate(file.c_str(), off_t{1} << 32) != 0) GTEST_SKIP() << "no sparse files here";
  const HFORM form = Create("/", HTTP_METHOD_POST, HTTP_FORM_MULTIPART);
  EXPECT_EQ(HttpAddFormFileA(form, "f", file.c_str(), 0), HTTP_ERROR);
  EXPECT_EQ(LastError(), QV_ERROR_OUT_OF_MEMORY);
}

}  // namespace
