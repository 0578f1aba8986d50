#include "forms/form_encoder.h"

#include <cstdint>
#include <limits>

#include "url/encoder.h"

namespace qv {
namespace {

constexpr uint64_t kLongestBody = std::numeric_limits<DWORD>::max();
constexpr std::string_view kDelimiterMark = "--";
constexpr std::string_view kLineEnd = "\r\n";

// A quoted name: a quote in it goes out as browsers write it (HTML standard, "multipart/form-data
// encoding algorithm").
void AppendQuoted(std::string& text, std::string_view name) {
  text += '"';
  for (const char c : name) {
    if (c == '"') {
      text += "%22";
    } else {
      text += c;
    }
  }
  text += '"';
}

// Everything of a part before its data.
std::string PartHead(const FormContent& form, const FormField& field) {
  std::string head(kDelimiterMark);
  head.append(form.boundary).append(kLineEnd);
  head += "Content-Disposition: form-data; name=";
  AppendQuoted(head, field.name);
  if (field.kind == FieldKind::kFile) {
    head += "; filename=";
    AppendQuoted(head, field.shown_name);
    head += "\r\nContent-Type: application/octet-stream";
  }
  return head.append(kLineEnd).append(kLineEnd);
}

Result<std::string> EncodeMultipart(const FormContent& form) {
  std::vector<std::string> heads;
  const std::string end =
      std::string(kDelimiterMark).append(form.boundary).append(kDelimiterMark).append(kLineEnd);
  uint64_t length = end.size();
  for (const FormFieldRef& field : form.fields) {
    heads.push_back(PartHead(form, *field));
    length += heads.back().size() + field->data.size() + kLineEnd.size();
  }
  if (length > kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
  std::string body;
  body.reserve(static_cast<std::size_t>(length));
  for (std::size_t i = 0; i < heads.size(); ++i) {
    body.append(heads[i]).append(form.fields[i]->data).append(kLineEnd);
  }
  return body.append(end);
}

Result<std::string> EncodePairs(const FormContent& form) {
  std::string body;
  for (const FormFieldRef& field : form.fields) {
    if (!body.empty()) body += '&';
    body.append(field->name).append("=");
    if (field->kind == FieldKind::kFile) continue;
    const std::optional<std::string> value = EncodeText(EncodeMode::kData, field->data);
    if (!value || body.size() + value->size() > kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
    body += *value;
  }
  if (body.size() > kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
  return body;
}

}  // namespace

Result<std::string> EncodeForm(const FormContent& form) {
  if (form.fields.empty()) return Error(QV_ERROR_EMPTY_FORM);
  return form.IsMultipart() ? EncodeMultipart(form) : EncodePairs(form);
}

}  // namespace qv
