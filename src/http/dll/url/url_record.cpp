#include "url/url_record.h"

#include <algorithm>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"

namespace qv {
namespace {

static_assert(sizeof(HTTPURLCOMPONENTSA) == 48);
static_assert(sizeof(HTTPURLCOMPONENTSW) == 48);

// Room for the terminators and for the "/" of a URL without path.
constexpr std::size_t kSpareCharacters = 128;

std::string Converted(std::string_view text, char /*tag*/) { return std::string(text); }
std::u16string Converted(std::string_view text, char16_t /*tag*/) { return WideFromUtf8(text); }

// Packs texts one after another behind the record.
template <class Char>
class Packer {
 public:
  explicit Packer(Char* start) : next_(start) {}

  Char* Add(std::string_view text) {
    const auto converted = Converted(text, Char{});
    Char* packed = next_;
    next_ = std::copy(converted.begin(), converted.end(), next_);
    *next_++ = Char{};
    return packed;
  }
  Char* Add(const std::optional<std::string>& text) {
    return text ? Add(std::string_view(*text)) : nullptr;
  }

 private:
  Char* next_;
};

template <class Record, class Char>
Record* MakeRecord(const Url& url, std::size_t text_length) {
  const std::size_t bytes = sizeof(Record) + (text_length + kSpareCharacters) * sizeof(Char);
  auto* record = static_cast<Record*>(LocalAlloc(LPTR, bytes));
  if (record == nullptr) return nullptr;
  Packer<Char> packer(reinterpret_cast<Char*>(record + 1));
  record->nScheme = url.scheme;
  record->nPort = url.port;
  record->lpszHostName = packer.Add(std::string_view(url.host));
  record->lpszResource = packer.Add(std::string_view(url.resource));
  record->lpszQuery = packer.Add(url.query);
  record->lpszUserName = packer.Add(url.user);
  record->lpszPassword = packer.Add(url.password);
  return record;
}

std::optional<std::string> OptionalText(LPCSTR text) {
  if (TextOf(text).empty()) return std::nullopt;
  return std::string(text);
}

}  // namespace

LPHTTPURLCOMPONENTSA MakeUrlRecord(const Url& url, std::size_t text_length) {
  return MakeRecord<HTTPURLCOMPONENTSA, char>(url, text_length);
}

LPHTTPURLCOMPONENTSW MakeWideUrlRecord(const Url& url, std::size_t text_length) {
  return MakeRecord<HTTPURLCOMPONENTSW, char16_t>(url, text_length);
}

Url UrlOfRecord(const HTTPURLCOMPONENTSA& record) {
  Url url;
  url.scheme = record.nScheme;
  url.port = record.nPort;
  url.host = TextOf(record.lpszHostName);
  url.resource = TextOf(record.lpszResource);
  url.query = OptionalText(record.lpszQuery);
  url.user = OptionalText(record.lpszUserName);
  url.password = OptionalText(record.lpszPassword);
  return url;
}

}  // namespace qv
