#include "protocol/response_framing.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "frame/session.h"
#include "frame/text.h"

namespace qv {
namespace {

constexpr INT kFirstFinalStatus = 200;
constexpr INT kSwitchingProtocols = 101;
constexpr INT kNoContent = 204;
constexpr INT kNotModified = 304;

bool HasNoBody(const Session& session) {
  const INT status = session.response.result_code;
  if (session.request.method == Method::kHead) return true;
  if (status == kNoContent || status == kNotModified) return true;
  return status >= 100 && status < kFirstFinalStatus && status != kSwitchingProtocols;
}

// A length is digits and nothing else.
std::optional<uint64_t> ParseLength(std::string_view text) {
  text = Trim(text);
  if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigit)) return std::nullopt;
  return ParseLeadingDecimal(text);
}

// Takes the members of a Content-Length value, all of which must say the same.
Error TakeLengths(std::string_view value, std::optional<uint64_t>& length) {
  while (true) {
    const std::size_t comma = value.find(',');
    const std::optional<uint64_t> member = ParseLength(value.substr(0, comma));
    if (!member || (length && *length != *member)) return QV_ERROR_INVALID_SERVER_RESPONSE;
    length = member;
    if (comma == value.npos) return kNoError;
    value.remove_prefix(comma + 1);
  }
}

}  // namespace

Result<BodyFraming> FramingOf(Session& session, std::size_t first_field) {
  std::optional<uint64_t> length;
  bool transfer_coded = false;
  for (const HeaderEntry& field : session.response.headers.entries().subspan(first_field)) {
    if (EqualsNoCase(field.name, "Transfer-Encoding")) transfer_coded = true;
    if (!EqualsNoCase(field.name, "Content-Length")) continue;
    if (Error error = TakeLengths(field.value, length)) return error;
  }
  if (HasNoBody(session)) return BodyFraming::None();
  if (transfer_coded && length) session.response.reusable = false;
  if (session.response.chunked) return BodyFraming::Chunked();
  if (length && !transfer_coded) return BodyFraming::Length(*length);
  session.response.reusable = false;
  return BodyFraming::UntilClose();
}

}  // namespace qv
