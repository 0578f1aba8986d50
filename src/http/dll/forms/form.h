// A form: its properties and its fields.
#ifndef QV_FORMS_FORM_H_
#define QV_FORMS_FORM_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

inline constexpr std::size_t kActionCapacity = 5120;  // with the terminator
inline constexpr std::size_t kFieldNameCapacity = 256;
inline constexpr std::size_t kShownNameCapacity = 512;

enum class FieldKind { kValue, kFile };

struct FormField {
  FieldKind kind = FieldKind::kValue;
  DWORD number = 0;        // one more than that of the field before it
  std::string name;        // at most 255 characters
  std::string shown_name;  // of a file, for the server; at most 511 characters
  std::string data;        // its length fits 32 bits
};

// A field does not change once it is in a form, so that an encoder reads it without a lock.
using FormFieldRef = std::shared_ptr<const FormField>;

// What a submission sends: a form as it was at one moment.
struct FormContent {
  UINT method = 0;
  UINT type = 0;
  std::string action;
  std::string boundary;
  std::vector<FormFieldRef> fields;

  bool IsPost() const { return method == HTTP_METHOD_POST; }
  bool IsMultipart() const { return IsPost() && type == HTTP_FORM_MULTIPART; }
};

// All that is asked to change; 0 and NULL stand for what stays.
struct FormChange {
  UINT method = HTTP_METHOD_DEFAULT;
  UINT type = HTTP_FORM_DEFAULT;
  LPCSTR action = nullptr;
};

// QV_ERROR_INVALID_FORM_ACTION: too long, or with a line break.
Error CheckFormAction(LPCSTR action);

// QV_ERROR_INVALID_FORM_METHOD, QV_ERROR_INVALID_FORM_TYPE, QV_ERROR_INVALID_FORM_ACTION.
Error CheckFormChange(const FormChange& change);

// A field's name as a form keeps it, cut to its capacity. QV_ERROR_INVALID_FORM_FIELD for one with
// a line break, which would end the header of its part.
Result<std::string> FieldName(std::string_view name);

// Everything here is called with the library lock held.
class Form {
 public:
  Form(HFORM handle, const FormChange& properties);
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  const FormContent& content() const { return content_; }

  // A checked change. Texts that were handed out stay valid while the action stays the same.
  void Change(const FormChange& change);

  // The action in UTF-16; valid as long as the action itself.
  LPCWSTR WideAction();

  // Appends a field; one without a name is named for its number.
  void Append(FormField field);

  // Removes the first field of that name, compared without case; whether there was one.
  bool Remove(std::string_view name);

  void Clear() { content_.fields.clear(); }

 private:
  FormContent content_;
  std::u16string wide_action_;  // empty until asked for
};

}  // namespace qv

#endif  // QV_FORMS_FORM_H_
