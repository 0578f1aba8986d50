// The lines of a trace log.
#ifndef QV_TRANSPORT_TRACE_LINE_H_
#define QV_TRANSPORT_TRACE_LINE_H_

#include <optional>
#include <string>
#include <string_view>

#include "qvplatform.h"

namespace qv::trace {

// Trace flags, which are also bits of a line's level.
inline constexpr DWORD kFlagError = 1;
inline constexpr DWORD kFlagWarning = 2;
inline constexpr DWORD kFlagHexDump = 4;
inline constexpr DWORD kFlagSilent = 0x10000000;  // nothing is written
inline constexpr DWORD kLevelSecureContent = 0x20000000;
inline constexpr DWORD kFlagNoSecureContent = 0x40000000;

// What every line begins with.
struct LineHead {
  std::string name;   // of the program
  DWORD key = 0;      // thread or process id
  DWORD elapsed = 0;  // ms since the previous line
};

struct LineKind {
  DWORD level = 0;
  bool failed = false;   // a socket call that failed
  int socket_error = 0;  // of that call
};

// The line (or the lines of a hex dump) with their ends; nothing when the flags filter it out.
std::optional<std::string> FormatLine(const LineHead& head, DWORD flags, const LineKind& kind,
                                      std::string_view text);

}  // namespace qv::trace

#endif  // QV_TRANSPORT_TRACE_LINE_H_
