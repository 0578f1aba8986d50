#include "forms/form.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <utility>

#include "frame/library.h"
#include "frame/text.h"
#include "frame/wide.h"

namespace qv {
namespace {

constexpr std::string_view kLineBreaks = "\r\n";

bool HasLineBreak(std::string_view text) { return text.find_first_of(kLineBreaks) != text.npos; }

// The delimiter of a multipart document. Its random part keeps it from being guessed by whoever
// supplies the content of a field.
std::string MakeBoundary(HFORM handle) {
  char text[128];
  std::snprintf(text, sizeof(text), "--------------------QV%04d%04llu%08lX%08lX",
                kLibraryVersionBuild, static_cast<unsigned long long>(handle),
                static_cast<unsigned long>(std::random_device{}() & 0xFFFFFFFFu),
                static_cast<unsigned long>(GetTickCount()));
  return text;
}

}  // namespace

Error CheckFormAction(LPCSTR action) {
  const std::string_view text = TextOf(action);
  const bool fits = text.size() < kActionCapacity && !HasLineBreak(text);
  return fits ? kNoError : Error(QV_ERROR_INVALID_FORM_ACTION);
}

Error CheckFormChange(const FormChange& change) {
  if (change.method > HTTP_METHOD_POST) return QV_ERROR_INVALID_FORM_METHOD;
  if (change.type > HTTP_FORM_MULTIPART) return QV_ERROR_INVALID_FORM_TYPE;
  return CheckFormAction(change.action);
}

Result<std::string> FieldName(std::string_view name) {
  if (HasLineBreak(name)) return Error(QV_ERROR_INVALID_FORM_FIELD);
  return std::string(name.substr(0, kFieldNameCapacity - 1));
}

Form::Form(HFORM handle, const FormChange& properties) {
  content_.method = HTTP_METHOD_GET;
  content_.type = HTTP_FORM_ENCODED;
  content_.boundary = MakeBoundary(handle);
  Change(properties);
}

void Form::Change(const FormChange& change) {
  if (change.method != HTTP_METHOD_DEFAULT) content_.method = change.method;
  if (change.type != HTTP_FORM_DEFAULT) content_.type = change.type;
  if (change.action == nullptr || content_.action == change.action) return;
  content_.action = change.action;
  wide_action_.clear();
}

LPCWSTR Form::WideAction() {
  if (wide_action_.empty()) wide_action_ = WideFromUtf8(content_.action);
  return wide_action_.c_str();
}

void Form::Append(FormField field) {
  field.number = content_.fields.empty() ? 1 : content_.fields.back()->number + 1;
  if (field.name.empty()) field.name = "Field" + std::to_string(field.number);
  content_.fields.push_back(std::make_shared<const FormField>(std::move(field)));
}

bool Form::Remove(std::string_view name) {
  std::vector<FormFieldRef>& fields = content_.fields;
  const auto found = std::find_if(fields.begin(), fields.end(), [name](const FormFieldRef& field) {
    return EqualsNoCase(field->name, name);
  });
  if (found == fields.end()) return false;
  fields.erase(found);
  return true;
}

}  // namespace qv
