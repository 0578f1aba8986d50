// Bytes received from a secure connection: encrypted records, the last one perhaps incomplete.
#ifndef QV_TLS_RECORD_BUFFER_H_
#define QV_TLS_RECORD_BUFFER_H_

#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

namespace qv {

class RecordBuffer {
 public:
  static constexpr std::size_t kCapacity = 65536;

  bool empty() const { return begin_ == end_; }
  std::span<char> unread() { return {data_.get() + begin_, end_ - begin_}; }

  // Drops all but the last `count` bytes.
  void KeepLast(std::size_t count) { begin_ = end_ - count; }

  // Free space behind what is there, which may move to the start; empty when the buffer is full.
  std::span<char> PrepareFill() {
    if (!data_) data_ = std::make_unique_for_overwrite<char[]>(kCapacity);
    if (begin_ > 0) {
      std::memmove(data_.get(), data_.get() + begin_, end_ - begin_);
      end_ -= begin_;
      begin_ = 0;
    }
    return {data_.get() + end_, kCapacity - end_};
  }
  void Filled(std::size_t count) { end_ += count; }

 private:
  std::unique_ptr<char[]> data_;  // taken at the first use
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace qv

#endif  // QV_TLS_RECORD_BUFFER_H_
