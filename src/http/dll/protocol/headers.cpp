#include "protocol/headers.h"

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/user_agent.h"

namespace qv {
namespace {

constexpr std::string_view kLineBreaks = "\r\n";

bool HasLineBreak(std::string_view text) {
  return text.find_first_of(kLineBreaks) != text.npos || text.find('\0') != text.npos;
}

// Headers that carry credentials and go to the origin for which the application set them.
bool IsCredential(std::string_view name) {
  return EqualsNoCase(name, "Authorization") || EqualsNoCase(name, "Cookie");
}

}  // namespace

Error SetRequestHeader(Session& session, std::string_view name, std::string_view value) {
  if (HasLineBreak(name)) return QV_ERROR_INVALID_HEADER_NAME;
  name = TrimLeft(name);
  if (name.empty()) return QV_ERROR_INVALID_HEADER_NAME;
  if (HasLineBreak(value)) return QV_ERROR_INVALID_HEADER_VALUE;
  value = TrimLeft(value);
  HeaderList& headers = session.request.headers;
  if (value.empty()) {
    return headers.Remove(name) ? kNoError : Error(QV_ERROR_INVALID_HEADER_VALUE);
  }
  if (EqualsNoCase(name, "Expect") && EqualsNoCase(value, "100-Continue")) {
    session.request.expect_continue = true;
  }
  HeaderEntry& entry = headers.Set(name, value);
  if (IsCredential(name)) entry.origin = OriginOf(session);
  return kNoError;
}

Error SetRequestHeaderIfAbsent(Session& session, std::string_view name, std::string_view value) {
  if (session.request.headers.Find(name) != nullptr) return kNoError;
  return SetRequestHeader(session, name, value);
}

void StoreResponseField(Session& session, std::string_view name, std::string_view value) {
  name = TrimLeft(name);
  value = Trim(value);
  ResponseState& response = session.response;
  if (EqualsNoCase(name, "Transfer-Encoding")) response.chunked = EqualsNoCase(value, "chunked");
  if (name.empty() || value.empty()) return;
  if (EqualsNoCase(name, "Connection")) {
    const std::string options = ToLowerCopy(value);
    if (options.find("close") != options.npos) {
      response.close_seen = true;
      response.keep_alive_seen = false;
    }
    if (options.find("keep-alive") != options.npos) {
      response.keep_alive_seen = true;
      response.close_seen = false;
    }
    if (options.find("upgrade") != options.npos) response.upgrade_seen = true;
  }
  response.headers.Append(name, value);
}

std::optional<std::string_view> ResponseField(const Session& session, std::string_view name,
                                              std::size_t limit) {
  const HeaderEntry* entry = session.response.headers.Find(name);
  if (entry == nullptr || entry->value.size() > limit) return std::nullopt;
  return entry->value;
}

Error SetRangeOffset(Session& session, uint64_t offset) {
  if (offset == kNoRangeOffset) return QV_ERROR_INVALID_CONTENT_RANGE;
  if (offset == 0) {
    session.request.headers.Remove("Range");
    return kNoError;
  }
  HeaderEntry& range =
      session.request.headers.Set("Range", "bytes=" + std::to_string(offset) + "-");
  range.lifetime = Lifetime::kNextRequest;
  return kNoError;
}

HeaderList* HeaderListOf(Session& session, DWORD type) {
  if (type == HTTP_HEADERS_REQUEST) return &session.request.headers;
  return type == HTTP_HEADERS_RESPONSE ? &session.response.headers : nullptr;
}

Result<HeaderList*> ListToEnumerate(Session& session, DWORD type, const INT* name_length,
                                    const INT* value_length, bool first) {
  if (name_length == nullptr || value_length == nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  if (first && (*name_length < 1 || *value_length < 1)) return Error(QV_ERROR_BUFFER_TOO_SMALL);
  HeaderList* list = HeaderListOf(session, type);
  if (list == nullptr) {
    return Error(first ? QV_ERROR_INVALID_PARAMETER : QV_ERROR_INVALID_HEADER_TYPE);
  }
  if (first) list->Rewind();
  return list;
}

Error ClearHeaders(Session& session) {
  session.request.headers.Clear();
  session.response.headers.Clear();
  return SetRequestHeader(session, "User-Agent", DefaultUserAgent());
}

}  // namespace qv
