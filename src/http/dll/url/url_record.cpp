#include "url/url_record.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <string_view>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"

namespace qv {
namespace {

// Characters behind the strings that a record has in any case. A text that is cut into the five
// parts needs six more than its own length: a terminator for each, and a "/" for a missing path.
constexpr std::size_t kSpareCharacters = 128;

constexpr std::size_t kHeaderBytes = 48;

template <class Record>
constexpr bool HasInterfaceLayout() {
  return sizeof(Record) == kHeaderBytes && offsetof(Record, nScheme) == 0 &&
         offsetof(Record, nPort) == 4 && offsetof(Record, lpszHostName) == 8 &&
         offsetof(Record, lpszResource) == 16 && offsetof(Record, lpszQuery) == 24 &&
         offsetof(Record, lpszUserName) == 32 && offsetof(Record, lpszPassword) == 40;
}
static_assert(HasInterfaceLayout<HTTPURLCOMPONENTSA>());
static_assert(HasInterfaceLayout<HTTPURLCOMPONENTSW>());

// Packs strings one after another into the block behind a header.
template <class Char>
class StringPacker {
 public:
  StringPacker(void* behind_header, std::size_t capacity)
      : next_(static_cast<Char*>(behind_header)), left_(capacity) {}

  Char* Add(std::basic_string_view<Char> text) {
    assert(text.size() < left_);
    Char* const start = next_;
    next_ = std::copy(text.begin(), text.end(), next_);
    *next_++ = Char{};
    left_ -= text.size() + 1;
    return start;
  }

 private:
  Char* next_;
  std::size_t left_;
};

// `convert` turns a part into a string of the record's characters.
template <class Record, class Char, class Convert>
Record* NewRecord(const Url& url, std::size_t text_length, Convert convert) {
  const std::size_t capacity = text_length + kSpareCharacters;
  const auto host = convert(url.host);
  const auto resource = convert(url.resource);
  const auto query = convert(url.query.value_or(""));
  const auto user = convert(url.user.value_or(""));
  const auto password = convert(url.password.value_or(""));

  // Nothing below can fail, so the block needs no owner before it is handed over.
  auto* record = static_cast<Record*>(LocalAlloc(LPTR, sizeof(Record) + capacity * sizeof(Char)));
  if (record == nullptr) return nullptr;
  StringPacker<Char> strings(record + 1, capacity);
  record->nScheme = url.scheme;
  record->nPort = url.port;
  record->lpszHostName = strings.Add(host);
  record->lpszResource = strings.Add(resource);
  if (url.query) record->lpszQuery = strings.Add(query);
  if (url.user) record->lpszUserName = strings.Add(user);
  if (url.password) record->lpszPassword = strings.Add(password);
  return record;
}

std::string Narrow(LPCSTR text) { return std::string(TextOf(text)); }
std::string Narrow(LPCWSTR text) { return text == nullptr ? std::string() : Utf8FromWide(text); }

template <class Record>
Url UrlFrom(const Record& record) {
  return {record.nScheme,
          record.nPort,
          Narrow(record.lpszHostName),
          Narrow(record.lpszResource),
          Narrow(record.lpszQuery),
          Narrow(record.lpszUserName),
          Narrow(record.lpszPassword)};
}

}  // namespace

HTTPURLCOMPONENTSA* NewUrlRecordA(const Url& url, std::size_t text_length) {
  return NewRecord<HTTPURLCOMPONENTSA, char>(url, text_length,
                                             [](const std::string& part) { return part; });
}

HTTPURLCOMPONENTSW* NewUrlRecordW(const Url& url, std::size_t text_length) {
  return NewRecord<HTTPURLCOMPONENTSW, char16_t>(
      url, text_length, [](const std::string& part) { return WideFromUtf8(part); });
}

bool FreeUrlRecord(void* record) { return record != nullptr && LocalFree(record) == nullptr; }

Url UrlOfRecord(const HTTPURLCOMPONENTSA& record) { return UrlFrom(record); }
Url UrlOfRecord(const HTTPURLCOMPONENTSW& record) { return UrlFrom(record); }

}  // namespace qv
