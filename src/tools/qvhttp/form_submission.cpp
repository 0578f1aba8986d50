#include "form_submission.h"

#include <string_view>

#include "failure.h"

namespace {

class Form {
 public:
  Form(const FormData& data, const std::string& action)
      : form_(HttpCreateFormA(action.c_str(), data.is_post ? HTTP_METHOD_POST : HTTP_METHOD_GET,
                              data.is_multipart ? HTTP_FORM_MULTIPART : HTTP_FORM_ENCODED, 0)) {
    if (form_ == INVALID_FORM) throw LibraryFailure(ExitCode::kFailure, "cannot make the form");
  }
  ~Form() { HttpDestroyForm(form_); }
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  HFORM get() const { return form_; }

 private:
  HFORM form_;
};

// In an url-encoded form the library sends names as they are, and so what separates fields and
// what is an escape already: all that is no unreserved character is escaped here (RFC 3986 section
// 2.3).
std::string Escape(const std::string& text) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  constexpr std::string_view kUnreservedMarks = "-._~";
  std::string escaped;
  for (const char c : text) {
    const bool unreserved = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                            (c >= 'a' && c <= 'z') ||
                            kUnreservedMarks.find(c) != std::string_view::npos;
    const auto byte = static_cast<unsigned char>(c);
    if (unreserved) {
      escaped += c;
    } else {
      escaped.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return escaped;
}

void AddField(HFORM form, const FormField& field, bool is_multipart) {
  INT result = HTTP_ERROR;
  if (field.is_file) {
    result = HttpAddFormFileA(form, field.name.c_str(), field.value.c_str(), 0);
  } else {
    const std::string name = is_multipart ? field.name : Escape(field.name);
    const std::string value = is_multipart ? field.value : Escape(field.value);
    result =
        HttpAddFormFieldA(form, name.c_str(), value.data(), static_cast<DWORD>(value.size()), 0);
  }
  if (result == HTTP_ERROR) {
    throw LibraryFailure(ExitCode::kFailure,
                         "field " + field.name + (field.is_file ? ", file " + field.value : ""));
  }
}

// The query of a form takes the place of that of its URL, as in browsers (HTML standard, "mutate
// action URL").
std::string ActionOf(const FormData& data, const std::string& target) {
  return data.is_post ? target : target.substr(0, target.find('?'));
}

}  // namespace

int SubmitForm(HCLIENT client, const FormData& data, const std::string& target,
               std::string& response) {
  const Form form(data, ActionOf(data, target));
  for (const FormField& field : data.fields) AddField(form.get(), field, data.is_multipart);
  HGLOBAL body = nullptr;
  DWORD length = 0;
  const INT status =
      HttpSubmitFormA(client, form.get(), static_cast<LPVOID>(&body), &length, HTTP_SUBMIT_DEFAULT);
  if (body == nullptr) return status;
  if (const void* bytes = GlobalLock(body)) {
    response.assign(static_cast<const char*>(bytes), length);
    GlobalUnlock(body);
  }
  GlobalFree(body);
  return status;
}
