// One file of a queue: what is to be transferred, and what has become of it.
#ifndef QV_QUEUE_QUEUED_FILE_H_
#define QV_QUEUE_QUEUED_FILE_H_

#include <cstdint>
#include <string_view>

#include "frame/error.h"
#include "frame/fixed_string.h"
#include "platform/kernel32.h"
#include "qvhttp12.h"

namespace qv {

// Capacities in characters, with the terminator.
inline constexpr std::size_t kQueuedHostCapacity = 256;
inline constexpr std::size_t kQueuedCredentialCapacity = 1024;
inline constexpr std::size_t kQueuedPathCapacity = 512;
inline constexpr std::size_t kQueuedUrlCapacity = 5120;

inline constexpr DWORD kBothFileTypes = HTTP_QUEUE_DOWNLOAD | HTTP_QUEUE_UPLOAD;
inline constexpr DWORD kCanceledState = HTTP_QUEUE_FILE_FAILED | HTTP_QUEUE_FILE_CANCELED;

// Limits of a time-out, in seconds.
inline constexpr UINT kShortestTimeout = 3;
inline constexpr UINT kLongestTimeout = 60;

struct QueuedFile {
  DWORD id = 0;
  DWORD type = 0;  // HTTP_QUEUE_DOWNLOAD, HTTP_QUEUE_UPLOAD, or a value for which nothing is moved
  DWORD state = HTTP_QUEUE_FILE_WAITING;
  DWORD options = 0;  // HTTP_OPTION_*
  UINT timeout = 0;   // seconds
  UINT port = 0;
  UINT auth_type = HTTP_AUTH_NONE;
  FixedString<kQueuedHostCapacity> host;
  FixedString<kQueuedCredentialCapacity> user;
  FixedString<kQueuedCredentialCapacity> password;
  FixedString<kQueuedPathCapacity> local_file;  // full path with backslashes
  FixedString<kQueuedPathCapacity> path;        // of the resource, with forward slashes
  FixedString<kQueuedUrlCapacity> query;
  FixedString<kQueuedUrlCapacity> url;

  bool transferring = false;  // the worker has begun and not yet booked it
  DWORD added_tick = 0;       // ms, as the other ticks
  DWORD start_tick = 0;       // 0 = not begun
  DWORD end_tick = 0;         // 0 = not over
  Error error;
  uint64_t bytes = 0;

  bool IsWaiting() const { return state == HTTP_QUEUE_FILE_WAITING; }
  bool IsCanceled() const { return (state & HTTP_QUEUE_FILE_CANCELED) != 0; }
  bool MovesData() const { return type == HTTP_QUEUE_DOWNLOAD || type == HTTP_QUEUE_UPLOAD; }

  // Back to the state in which nothing was transferred.
  void Reset();

  HTTPQUEUEDFILEA Describe() const;
};

// Which files a function looks at.
struct FileFilter {
  DWORD type = 0;  // 0 = any
  DWORD excluded_states = 0;
  std::string_view pattern;  // of the name; empty = any
  bool local_names = false;  // the name is the local file, not the resource path

  // From the arguments of a function; HTTP_QUEUE_LOCALNAME is taken off the type.
  static FileFilter Of(DWORD type, DWORD excluded_states, LPCSTR pattern = nullptr);

  bool IsOpen() const { return type == 0 && excluded_states == 0 && pattern.empty(); }
  bool Passes(const QueuedFile& file) const;
};

// Milliseconds from start to end (to now, while there is no end); 0 without a start.
DWORD ElapsedTicks(DWORD start, DWORD end);

}  // namespace qv

#endif  // QV_QUEUE_QUEUED_FILE_H_
