#ifndef TOOLS_QVHTTP_CONTENT_RANGE_H_
#define TOOLS_QVHTTP_CONTENT_RANGE_H_

#include <cstdint>
#include <optional>
#include <string_view>

// A Content-Range of bytes (RFC 9110 section 14.4).
struct ContentRange {
  struct Span {
    std::uint64_t first;
    std::uint64_t last;
  };
  std::optional<Span> span;             // nothing: "*", no range of the resource could be sent
  std::optional<std::uint64_t> length;  // of the whole resource; nothing: "*"
};

// Nothing for a text that is none, or that contradicts itself.
std::optional<ContentRange> ParseContentRange(std::string_view text);

#endif  // TOOLS_QVHTTP_CONTENT_RANGE_H_
