// Building responses and taking requests apart, as plain text.
#ifndef SUPPORT_MESSAGES_H_
#define SUPPORT_MESSAGES_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

// Header lines without their line ends, for example "Content-Type: text/plain".
using HeaderLines = std::vector<std::string>;

// A response without framing headers of its own. The status is "200 OK", or a whole status line
// when it begins with "HTTP/".
std::string Head(std::string_view status, const HeaderLines& headers = {});

// A response with Content-Length.
std::string Response(std::string_view status, const HeaderLines& headers, std::string_view body);

// A body in the chunked coding, one chunk for each piece that is not empty, then the last chunk and
// the trailer lines.
std::string Chunked(const std::vector<std::string>& pieces, const HeaderLines& trailers = {});

// A response with Transfer-Encoding: chunked.
std::string ChunkedResponse(std::string_view status, const HeaderLines& headers,
                            const std::vector<std::string>& pieces,
                            const HeaderLines& trailers = {});

// Parts of a message: its first line, the value of its first header with a name (compared without
// regard to case), the number of headers with that name, and what follows the blank line.
std::string FirstLineOf(std::string_view message);
std::optional<std::string> HeaderOf(std::string_view message, std::string_view name);
std::size_t CountHeader(std::string_view message, std::string_view name);
std::string BodyOf(std::string_view message);

// Bytes that repeat only after a long way, so that displaced content is noticed. All values occur.
std::string Pattern(std::size_t size);

}  // namespace test

#endif  // SUPPORT_MESSAGES_H_
