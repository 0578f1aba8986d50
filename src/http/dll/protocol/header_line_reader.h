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
// counts as its first character. Before the first byte of a block was stored, white space and empty
// lines are dropped. A line keeps its first 65535 bytes; what is longer is dropped.
//
// The state of a block lives outside the reader: a wait that ends in the middle of a line (a
// time-out, a cancel request) loses nothing, the next reader goes on where it was.
struct HeaderBlockState {
  std::string line;
  std::size_t block_size = 0;  // bytes taken so far
  std::size_t lines = 0;
  bool started = false;  // a byte of the block was stored
  bool in_line = false;  // the line is not complete
  bool in_quotes = false;
  bool after_space = false;
};

class HeaderLineReader {
 public:
  // A block counts as hostile beyond these limits.
  static constexpr std::size_t kLongestBlock = std::size_t{2} << 20;
  static constexpr std::size_t kMostFields = 20000;
  static constexpr std::size_t kLongestLine = 65535;

  HeaderLineReader(Session& session, HeaderBlockState& state) : session_(session), state_(state) {}

  // Reads the next line; false when the connection ended before it did.
  // QV_ERROR_INVALID_SERVER_RESPONSE for a NUL byte or a block beyond its limits.
  Result<bool> Next();

  // The line without white space at its start; valid until the next call, or until anything else
  // reads from the session.
  std::string_view line() const;

 private:
  // Takes bytes into the line up to and including LF; whether the line is complete.
  Result<bool> Take(std::string_view bytes);

  // Takes a line that lies in the input and needs no change, without a copy; whether it is one.
  bool TakeWhole(std::string_view line);
  Result<bool> EndLine();

  Session& session_;
  HeaderBlockState& state_;
  std::string_view whole_;
};

}  // namespace qv

#endif  // QV_PROTOCOL_HEADER_LINE_READER_H_
