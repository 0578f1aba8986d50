// Setting and finding header fields of a session.
#ifndef QV_PROTOCOL_HEADERS_H_
#define QV_PROTOCOL_HEADERS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

struct Session;
class HeaderList;

inline constexpr uint64_t kNoRangeOffset = ~uint64_t{0};

// Sets a request header, or removes it when the value is empty after leading white space.
// QV_ERROR_INVALID_HEADER_NAME, QV_ERROR_INVALID_HEADER_VALUE.
Error SetRequestHeader(Session& session, std::string_view name, std::string_view value);

// Sets a request header unless the list has it.
Error SetRequestHeaderIfAbsent(Session& session, std::string_view name, std::string_view value);

// Stores a field of the response as it arrived; one without a value is not kept.
void StoreResponseField(Session& session, std::string_view name, std::string_view value);

// The value of the first response field of that name, at most `limit` characters long; nothing when
// there is none or it is longer.
std::optional<std::string_view> ResponseField(const Session& session, std::string_view name,
                                              std::size_t limit);

// The request header "Range" for everything from an offset on, for the next request alone; 0
// removes it.
Error SetRangeOffset(Session& session, uint64_t offset);

// The list of a header type; NULL for any other value.
HeaderList* HeaderListOf(Session& session, DWORD type);

// The list to enumerate, after the checks of HttpGetFirstHeader (`first`: it is rewound, too) or of
// HttpGetNextHeader.
Result<HeaderList*> ListToEnumerate(Session& session, DWORD type, const INT* name_length,
                                    const INT* value_length, bool first);

// The request headers of a text of lines; the number that was set.
Result<int> AddRequestHeaders(Session& session, std::string_view text);

// Both lists emptied, the default user agent put back.
Error ClearHeaders(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_HEADERS_H_
