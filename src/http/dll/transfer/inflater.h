// Owner of zlib's decoding state.
#ifndef QV_TRANSFER_INFLATER_H_
#define QV_TRANSFER_INFLATER_H_

#include <zlib.h>

namespace qv {

class Inflater {
 public:
  Inflater() : ready_(inflateInit2(&stream_, kWindowBits) == Z_OK) {}
  ~Inflater() {
    if (ready_) inflateEnd(&stream_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  bool ready() const { return ready_; }
  z_stream& stream() { return stream_; }

 private:
  static constexpr int kWindowBits = 15 + 32;  // zlib and gzip headers are recognised

  z_stream stream_{};
  bool ready_;
};

}  // namespace qv

#endif  // QV_TRANSFER_INFLATER_H_
