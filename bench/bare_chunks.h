// Finds the chunks of a chunked body and moves their data together; no checks.
#ifndef BENCH_BARE_CHUNKS_H_
#define BENCH_BARE_CHUNKS_H_

#include <cstddef>

namespace bench {

class BareChunks {
 public:
  // Moves the data among the bytes to their start: how many that are.
  std::size_t Compact(char* bytes, std::size_t size);

  // The last chunk and the empty line behind it were found.
  bool ended() const { return ended_; }

 private:
  enum class State { kSize, kData, kLineEnd };

  const char* TakeSizeLine(const char* from, const char* end);
  const char* TakeLineEnd(const char* from, const char* end);

  State state_ = State::kSize;
  std::size_t left_ = 0;    // of the chunk, or of the line end behind it
  std::size_t number_ = 0;  // of an incomplete size line
  bool last_ = false;
  bool ended_ = false;
};

}  // namespace bench

#endif  // BENCH_BARE_CHUNKS_H_
