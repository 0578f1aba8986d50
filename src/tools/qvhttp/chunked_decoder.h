#ifndef TOOLS_QVHTTP_CHUNKED_DECODER_H_
#define TOOLS_QVHTTP_CHUNKED_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

// Takes the chunked transfer coding off a body (RFC 9112 section 7.1) that arrives in pieces of any
// size. It is strict: whatever is no chunked body throws Failure.
class ChunkedDecoder {
 public:
  using Sink = std::function<void(std::string_view)>;

  // Decodes the next bytes and hands their content to `sink`. Bytes behind the end are ignored.
  void Decode(std::string_view input, const Sink& sink);

  // Whether the last chunk and the trailer section have been seen.
  bool AtEnd() const { return state_ == State::kEnd; }

 private:
  enum class State {
    kSize,       // hexadecimal digits of a chunk size
    kExtension,  // behind them, up to CR
    kSizeLf,     // LF of the size line
    kData,       // chunk content
    kDataCr,     // CR LF behind it
    kDataLf,
    kTrailerStart,  // first byte of a trailer line
    kTrailerLine,   // rest of a trailer line, up to LF
    kFinalLf,       // LF of the empty line that ends the body
    kEnd,
  };

  void DecodeFraming(char byte);
  void AddSizeDigit(char digit);
  void CountLineByte();

  State state_ = State::kSize;
  std::uint64_t remaining_ = 0;   // of the chunk at hand
  unsigned int size_digits_ = 0;  // seen in the size line at hand
  std::size_t line_bytes_ = 0;    // of the size line, or of the whole trailer section
};

#endif  // TOOLS_QVHTTP_CHUNKED_DECODER_H_
