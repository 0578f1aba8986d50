// Owner of zlib's decoding state.
#ifndef QV_TRANSFER_INFLATER_H_
#define QV_TRANSFER_INFLATER_H_

#include <zlib.h>

#include <cstddef>
#include <span>
#include <string_view>

#include "frame/error.h"

namespace qv {

// Decodes a zlib stream, or gzip members one after another (RFC 1952 section 2.2), that come in
// pieces. What follows them and does not begin as a member is left out.
class Inflater {
 public:
  // What cannot be decoded is the error `malformed`.
  explicit Inflater(Error malformed);
  ~Inflater();
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // Decodes from the front of `input`, from which it takes away what it used, into `output`; the
  // count of bytes there. It goes on until one of the two is used up or the end is reached.
  Result<std::size_t> Decode(std::string_view& input, std::span<char> output);

  // The streams that began have come to their end.
  bool complete() const { return state_ != State::kInside; }
  // And nothing of what is still to come belongs to them.
  bool ended() const { return state_ == State::kEnded; }

 private:
  enum class State { kInside, kBetween, kEnded };

  Error Step(std::string_view& input, std::span<char> output, std::size_t& count);
  Error FindMember(std::string_view& input);
  Error BeginMember();

  z_stream stream_{};
  Error malformed_;
  bool ready_;
  bool begun_ = false;
  bool gzip_ = false;        // members may follow
  std::size_t matched_ = 0;  // bytes of the next member's magic number
  State state_ = State::kInside;
};

}  // namespace qv

#endif  // QV_TRANSFER_INFLATER_H_
