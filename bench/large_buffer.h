// Memory for large bodies, as cheap as the system has it: fresh pages, huge ones where that helps.
#ifndef BENCH_LARGE_BUFFER_H_
#define BENCH_LARGE_BUFFER_H_

#include <cstddef>

namespace bench {

class LargeBuffer {
 public:
  explicit LargeBuffer(std::size_t size);
  ~LargeBuffer();
  LargeBuffer(const LargeBuffer&) = delete;
  LargeBuffer& operator=(const LargeBuffer&) = delete;

  // Twice the size; the content moves without a copy.
  void Grow();

  char* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  char* data_;
  std::size_t size_;
};

}  // namespace bench

#endif  // BENCH_LARGE_BUFFER_H_
