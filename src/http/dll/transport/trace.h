// The trace log: a text file that shows what the library does, for one thread or the whole process.
//
// Nothing is formatted while no trace is on: callers ask trace::Active() first, which the functions
// here do inline.
#ifndef QV_TRANSPORT_TRACE_H_
#define QV_TRANSPORT_TRACE_H_

#include <atomic>
#include <string_view>

#include "qvplatform.h"

namespace qv::trace {

// The level of a line.
enum class Level : DWORD {
  kInformation = 0,
  kError = 1,
  kWarning = 2,
  kHexDump = 4,
  kSecureContent = 0x20000000,  // announces decrypted or encrypted data
  kCall = 0x80000000,           // a call of the socket interface
};

// The contracts of HttpEnableTrace and HttpDisableTrace.
bool Enable(LPCSTR file, DWORD flags);
bool Disable();

// Trace entries that exist.
extern std::atomic<int> live_entries;
inline bool Active() { return live_entries.load(std::memory_order_relaxed) > 0; }

// Writes a text line, formatted as printf does and cut at 1023 characters. The thread's socket
// error stays as it is.
void WriteMessage(Level level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Writes the line of a socket call; one that failed is an error, with the socket error behind it.
void WriteCall(bool failed, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Writes bytes as a hex dump.
void WriteData(std::string_view bytes);

// Announces decrypted or encrypted content ("decrypted") and writes it as a hex dump, unless the
// trace is to be without.
void WriteSecureContent(const char* what, std::string_view bytes);

}  // namespace qv::trace

// A message at a level; the arguments are evaluated only while a trace is on.
#define QV_TRACE(level, ...)                                                                      \
  do {                                                                                            \
    if (::qv::trace::Active()) ::qv::trace::WriteMessage(::qv::trace::Level::level, __VA_ARGS__); \
  } while (false)

#endif  // QV_TRANSPORT_TRACE_H_
