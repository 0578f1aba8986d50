// What the measurements transfer: the sizes, and the resources of the server.
#ifndef BENCH_WORKLOAD_H_
#define BENCH_WORKLOAD_H_

#include <cstddef>

namespace bench {

inline constexpr std::size_t kMebi = std::size_t{1} << 20;

inline constexpr std::size_t kSmallBody = 100;
inline constexpr int kSmallGets = 20000;

inline constexpr std::size_t kLargeBody = 1024 * kMebi;
inline constexpr std::size_t kUploadBody = 256 * kMebi;

inline constexpr std::size_t kChunkSize = 64;
inline constexpr std::size_t kChunks = 1000;
inline constexpr std::size_t kChunkedFields = 60;
inline constexpr int kChunkedGets = 1000;

inline constexpr std::size_t kInflatedBody = 64 * kMebi;

inline constexpr int kConnects = 2000;
inline constexpr int kHandshakes = 500;
inline constexpr int kIdleSessions = 1000;

// Bodies of known length.
inline constexpr char kSmallResource[] = "/bytes/100";
inline constexpr char kLargeResource[] = "/bytes/1073741824";
// The small body, after which the server closes the connection.
inline constexpr char kLastResource[] = "/last/100";
// kChunkedFields header fields, and kChunks chunks of kChunkSize bytes.
inline constexpr char kChunkedResource[] = "/chunked";
// kInflatedBody bytes of text, gzip-encoded.
inline constexpr char kEncodedResource[] = "/encoded";
// Takes a body and forgets it.
inline constexpr char kUploadResource[] = "/upload";

}  // namespace bench

#endif  // BENCH_WORKLOAD_H_
