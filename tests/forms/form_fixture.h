// Forms that end with the test, and what a server saw of them.
#ifndef FORMS_FORM_FIXTURE_H_
#define FORMS_FORM_FIXTURE_H_

#include <fstream>
#include <string>
#include <vector>

#include "support/form_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace test {

inline constexpr DWORD kWholeText = ~DWORD{0};  // the length of a text with a terminator

class FormTest : public SessionTest {
 protected:
  void TearDown() override {
    for (const HFORM form : forms_) HttpDestroyForm(form);
    SessionTest::TearDown();
  }

  HFORM Create(const char* action, UINT method, UINT type = HTTP_FORM_DEFAULT) {
    const HFORM form = HttpCreateFormA(action, method, type, 0);
    EXPECT_NE(form, INVALID_FORM) << std::hex << LastError();
    if (form != INVALID_FORM) forms_.push_back(form);
    return form;
  }

  static void Add(HFORM form, const char* name, const std::string& value) {
    EXPECT_EQ(HttpAddFormFieldA(form, name, value.data(), static_cast<DWORD>(value.size()), 0), 0)
        << name << std::hex << LastError();
  }

  std::string WriteFile(const std::string& name, const std::string& content) const {
    return directory_.Write(name, content);
  }

  // Submits a form and takes the answer.
  static Fetched Submit(HCLIENT client, HFORM form, DWORD options = 0) {
    HGLOBAL block = nullptr;
    DWORD length = 0;
    Fetched fetched{HttpSubmitFormA(client, form, static_cast<void*>(&block), &length, options),
                    {}};
    if (block != nullptr) {
      fetched.body.assign(static_cast<const char*>(GlobalLock(block)), length);
      GlobalUnlock(block);
      GlobalFree(block);
    }
    return fetched;
  }

  // What a form server saw of a form.
  static SeenForm See(HCLIENT client, HFORM form) {
    const Fetched fetched = Submit(client, form);
    EXPECT_EQ(fetched.result, 200) << std::hex << LastError();
    return FormServer::ReadAnswer(fetched.body);
  }

  TempDir directory_;

 private:
  std::vector<HFORM> forms_;
};

}  // namespace test

#endif  // FORMS_FORM_FIXTURE_H_
