#include "partial_record.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

#include "failure.h"

namespace {

constexpr const char* kFormat = "qvhttp partial download 1";
constexpr std::string_view kUrl = "url: ";
constexpr std::string_view kValidator = "validator: ";
constexpr std::string_view kLength = "length: ";

bool IsStrongTag(std::string_view tag) { return !tag.empty() && tag.front() == '"'; }

std::string ValidatorOf(const HeaderList& headers) {
  if (const auto tag = FindField(headers, "ETag")) return IsStrongTag(*tag) ? *tag : "";
  const auto modified = FindField(headers, "Last-Modified");
  const auto date = FindField(headers, "Date");
  // The resource may change again within the second of its modification: the response must be of
  // a later one (RFC 9110 section 8.8.2.2).
  return modified && date && *modified != *date ? *modified : "";
}

// Takes the text behind `key` off a line.
std::optional<std::string> ValueOf(const std::string& line, std::string_view key) {
  if (line.compare(0, key.size(), key) != 0) return std::nullopt;
  return line.substr(key.size());
}

}  // namespace

PartialRecord DescribeResponse(const std::string& url, const HeaderList& headers) {
  PartialRecord record;
  record.url = url;
  const bool refuses_ranges =
      EqualsIgnoringCase(FindField(headers, "Accept-Ranges").value_or(""), "none");
  if (!refuses_ranges) record.validator = ValidatorOf(headers);
  if (!FindField(headers, "Transfer-Encoding")) {
    record.length = ParseNumber(FindField(headers, "Content-Length").value_or(""));
  }
  return record;
}

bool MayMatch(const PartialRecord& record, const HeaderList& headers) {
  const auto now = FindField(headers, IsStrongTag(record.validator) ? "ETag" : "Last-Modified");
  return !now || *now == record.validator;
}

std::optional<PartialRecord> LoadPartialRecord(const std::filesystem::path& file) {
  std::ifstream stream(file);
  PartialRecord record;
  std::string line;
  if (!std::getline(stream, line) || line != kFormat) return std::nullopt;
  while (std::getline(stream, line)) {
    if (const auto url = ValueOf(line, kUrl)) record.url = *url;
    if (const auto validator = ValueOf(line, kValidator)) record.validator = *validator;
    if (const auto length = ValueOf(line, kLength)) record.length = ParseNumber(*length);
  }
  if (record.url.empty() || record.validator.empty()) return std::nullopt;
  return record;
}

void StorePartialRecord(const std::filesystem::path& file, const PartialRecord& record) {
  std::string text = std::string(kFormat) + '\n';
  text.append(kUrl).append(record.url).append("\n");
  text.append(kValidator).append(record.validator).append("\n");
  if (record.length) text.append(kLength).append(std::to_string(*record.length)).append("\n");
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  std::FILE* stream = std::fopen(file.c_str(), "wbx");  // never through somebody else's link
  bool stored = stream != nullptr;
  if (stored) {
    stored = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
    stored = std::fclose(stream) == 0 && stored;
  }
  if (stored) return;
  const std::string reason = std::strerror(errno);
  throw Failure(ExitCode::kFailure, "cannot write " + file.string() + ": " + reason);
}
