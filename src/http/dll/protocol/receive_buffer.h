// Bytes received from the peer and not yet handed out.
#ifndef QV_PROTOCOL_RECEIVE_BUFFER_H_
#define QV_PROTOCOL_RECEIVE_BUFFER_H_

#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace qv {

// One block that is filled when it is empty and then read from its start: a read position moves,
// the bytes do not, unless what is left of them is too little to go on with. The memory is taken at
// the first use.
class ReceiveBuffer {
 public:
  static constexpr std::size_t kCapacity = 16384;

  bool empty() const { return begin_ == end_; }
  std::size_t size() const { return end_ - begin_; }
  std::string_view view() const { return {data_.get() + begin_, size()}; }
  void Consume(std::size_t count) { begin_ += count; }
  void Clear() { begin_ = end_ = 0; }

  // The whole block for a receive of up to kCapacity bytes; what was in it is forgotten.
  char* PrepareFill() {
    if (!data_) data_ = std::make_unique_for_overwrite<char[]>(kCapacity);
    Clear();
    return data_.get();
  }
  void Filled(std::size_t count) { end_ = count; }

  // Room behind what is waiting, which moves to the start of the block. Filled then takes the count
  // of both.
  std::span<char> PrepareAppend() {
    const std::size_t waiting = size();
    if (!data_) data_ = std::make_unique_for_overwrite<char[]>(kCapacity);
    if (begin_ > 0) std::memmove(data_.get(), data_.get() + begin_, waiting);
    begin_ = 0;
    end_ = waiting;
    return {data_.get() + waiting, kCapacity - waiting};
  }

 private:
  std::unique_ptr<char[]> data_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace qv

#endif  // QV_PROTOCOL_RECEIVE_BUFFER_H_
