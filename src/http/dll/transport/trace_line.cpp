#include "transport/trace_line.h"

#include <cstdio>

#include "platform/ws2_32.h"

namespace qv::trace {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kColonAfter = 8;

// A failure that is part of ordinary work.
bool IsExpected(int socket_error) {
  return socket_error == ws2::kErrorWouldBlock || socket_error >= ws2::kErrorHostNotFound;
}

struct Severity {
  bool error = false;
  bool warning = false;
};

// Whether a line of that severity passes the filter of the flags.
bool Passes(DWORD flags, DWORD level, bool counts_as_error) {
  if ((flags & kFlagSilent) != 0) return false;
  if ((level & kLevelSecureContent) != 0 && (flags & kFlagNoSecureContent) != 0) return false;
  if ((flags & (kFlagError | kFlagWarning)) == 0) return true;
  return counts_as_error || (level & flags) != 0;
}

std::string HexDump(const LineHead& head, std::string_view bytes) {
  std::string dump;
  const std::string indent(head.name.size() + 1, ' ');
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
    const std::string_view block = bytes.substr(offset, kBytesPerLine);
    char number[24];
    std::snprintf(number, sizeof(number), "%04zX  ", offset);
    dump.append(indent).append(number);
    std::string shown;
    for (std::size_t i = 0; i < kBytesPerLine; ++i) {
      if (i >= block.size()) {
        dump += "   ";
        continue;
      }
      const auto byte = static_cast<unsigned char>(block[i]);
      std::snprintf(number, sizeof(number), "%02X%c", byte, i + 1 == kColonAfter ? ':' : ' ');
      dump += number;
      shown += byte >= 32 && byte <= 126 ? block[i] : '.';
    }
    dump.append(" ").append(shown).append(kLineEnd);
  }
  return dump;
}

}  // namespace

std::optional<std::string> FormatLine(const LineHead& head, DWORD flags, const LineKind& kind,
                                      std::string_view text) {
  const bool is_dump = (kind.level & kFlagHexDump) != 0;
  if (is_dump && (flags & kFlagHexDump) == 0) return std::nullopt;
  Severity severity;
  bool counts_as_error = kind.failed;
  if (kind.failed) {
    severity.warning = IsExpected(kind.socket_error);
    severity.error = !severity.warning;
    if (severity.warning && (flags & kFlagWarning) == 0) counts_as_error = false;
  }
  if (!Passes(flags, kind.level, counts_as_error)) return std::nullopt;
  if (is_dump) return HexDump(head, text);
  severity.warning |= (kind.level & kFlagWarning) != 0;
  severity.error |= (kind.level & kFlagError) != 0;
  char start[48];
  std::snprintf(start, sizeof(start), " %04lX %04ld ", static_cast<unsigned long>(head.key),
                static_cast<long>(head.elapsed));
  std::string line = head.name + start;
  line += severity.warning ? "WRN: " : severity.error ? "ERR: " : "INF: ";
  line += text;
  if (severity.warning || severity.error) line += " [" + std::to_string(kind.socket_error) + "]";
  return line.append(kLineEnd);
}

}  // namespace qv::trace
