// Reads the lines of a header block or a trailer section from a session's input.
#ifndef QV_PROTOCOL_HEADER_LINE_READER_H_
#define QV_PROTOCOL_HEADER_LINE_READER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// A line ends at LF; CR is dropped wherever it stands. Outside double quotes a run of white space
// counts as its first character. A line keeps its first 65535 bytes; what is longer is dropped.
class HeaderLineReader {
 public:
  // A block counts as hostile beyond these limits.
  static constexpr std::size_t kLongestBlock = std::size_t{2} << 20;
  static constexpr std::size_t kMostFields = 20000;
  static constexpr std::size_t kLongestLine = 65535;

  enum class Start {
    kResponse,  // white space before the first byte of the response is dropped, empty lines too
    kTrailer,
  };

  HeaderLineReader(Session& session, Start start)
      : session_(session), started_(start == Start::kTrailer) {}

  // Reads the next line; false when the connection ended before it did.
  // QV_ERROR_INVALID_SERVER_RESPONSE for a NUL byte or a block beyond its limits.
  Result<bool> Next();

  // The line without white space at its start; valid until the next call.
  std::string_view line() const;

 private:
  // Takes bytes into the line up to and including LF; whether the line is complete.
  Result<bool> Take(std::string_view bytes);

  Session& session_;
  std::string line_;
  std::size_t block_size_ = 0;
  std::size_t lines_ = 0;
  bool started_;  // a byte of the block was stored
  bool in_quotes_ = false;
  bool after_space_ = false;
};

}  // namespace qv

#endif  // QV_PROTOCOL_HEADER_LINE_READER_H_
