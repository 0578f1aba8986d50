#include "content_range.h"

#include "fields.h"

namespace {

constexpr std::string_view kUnit = "bytes ";
constexpr std::string_view kUnknown = "*";

std::optional<ContentRange::Span> ParseSpan(std::string_view text) {
  const auto dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = ParseNumber(text.substr(0, dash));
  const auto last = ParseNumber(text.substr(dash + 1));
  if (!first || !last || *last < *first) return std::nullopt;
  return ContentRange::Span{*first, *last};
}

}  // namespace

std::optional<ContentRange> ParseContentRange(std::string_view text) {
  if (!StartsWithIgnoringCase(text, kUnit)) return std::nullopt;
  text = TrimBlanks(text.substr(kUnit.size()));
  const auto slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const std::string_view span = text.substr(0, slash);
  const std::string_view length = text.substr(slash + 1);
  ContentRange range;
  range.length = ParseNumber(length);
  if (!range.length && length != kUnknown) return std::nullopt;
  range.span = ParseSpan(span);
  if (!range.span && span != kUnknown) return std::nullopt;
  if (range.span && range.length && range.span->last >= *range.length) return std::nullopt;
  return range;
}
