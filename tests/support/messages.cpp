#include "support/messages.h"

#include <strings.h>

#include <cstdint>
#include <cstdio>

namespace test {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeadEnd = "\r\n\r\n";

std::string Joined(const HeaderLines& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).append(kLineEnd);
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::vector<std::string> HeadersNamed(std::string_view message, std::string_view name) {
  std::vector<std::string> values;
  const std::string_view head = message.substr(0, message.find(kHeadEnd));
  std::size_t start = head.find(kLineEnd);
  while (start != std::string_view::npos) {
    start += kLineEnd.size();
    const std::size_t end = head.find(kLineEnd, start);
    const std::string_view line =
        head.substr(start, end == std::string_view::npos ? end : end - start);
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && SameName(line.substr(0, colon), name)) {
      const std::size_t value = line.find_first_not_of(" \t", colon + 1);
      values.emplace_back(value == std::string_view::npos ? "" : line.substr(value));
    }
    start = end;
  }
  return values;
}

}  // namespace

std::string Head(std::string_view status, const HeaderLines& headers) {
  std::string text;
  if (!status.starts_with("HTTP/")) text.append("HTTP/1.1 ");
  return text.append(status).append(kLineEnd).append(Joined(headers)).append(kLineEnd);
}

std::string Response(std::string_view status, const HeaderLines& headers, std::string_view body) {
  HeaderLines all = headers;
  all.push_back("Content-Length: " + std::to_string(body.size()));
  return Head(status, all).append(body);
}

std::string Chunked(const std::vector<std::string>& pieces, const HeaderLines& trailers) {
  std::string text;
  for (const std::string& piece : pieces) {
    if (piece.empty()) continue;  // would be the last chunk
    char size[2 * sizeof(std::size_t) + 1];
    std::snprintf(size, sizeof(size), "%zx", piece.size());
    text.append(size).append(kLineEnd).append(piece).append(kLineEnd);
  }
  return text.append("0").append(kLineEnd).append(Joined(trailers)).append(kLineEnd);
}

std::string ChunkedResponse(std::string_view status, const HeaderLines& headers,
                            const std::vector<std::string>& pieces, const HeaderLines& trailers) {
  HeaderLines all = headers;
  all.push_back("Transfer-Encoding: chunked");
  return Head(status, all) + Chunked(pieces, trailers);
}

std::string FirstLineOf(std::string_view message) {
  return std::string(message.substr(0, message.find(kLineEnd)));
}

std::optional<std::string> HeaderOf(std::string_view message, std::string_view name) {
  const std::vector<std::string> values = HeadersNamed(message, name);
  if (values.empty()) return std::nullopt;
  return values.front();
}

std::size_t CountHeader(std::string_view message, std::string_view name) {
  return HeadersNamed(message, name).size();
}

std::string BodyOf(std::string_view message) {
  const std::size_t end = message.find(kHeadEnd);
  if (end == std::string_view::npos) return {};
  return std::string(message.substr(end + kHeadEnd.size()));
}

std::string Pattern(std::size_t size) {
  // The constants of a linear congruential generator with the full period of 2^32 (Numerical
  // Recipes, section 7.1); its high bits are the good ones.
  constexpr std::uint32_t kFactor = 1664525;
  constexpr std::uint32_t kIncrement = 1013904223;
  std::string bytes(size, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) {
    state = state * kFactor + kIncrement;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

}  // namespace test
