// The response of a session: its status, fields, and how its body is delimited.
#ifndef QV_PROTOCOL_RESPONSE_STATE_H_
#define QV_PROTOCOL_RESPONSE_STATE_H_

#include <cstdint>
#include <string>

#include "frame/fixed_string.h"
#include "protocol/header_line_reader.h"
#include "protocol/header_list.h"

namespace qv {

inline constexpr std::size_t kResultTextCapacity = 128;

// How a body is delimited (RFC 9112 section 6.3), and what of it is still to come.
struct BodyFraming {
  enum class Kind {
    kNone,        // no body
    kLength,      // a number of bytes
    kChunked,     // chunks, then a trailer section
    kUntilClose,  // everything until the connection ends
  };

  Kind kind = Kind::kNone;
  uint64_t remaining = 0;  // kLength: bytes still to come; kChunked: bytes of the current chunk
  bool complete = true;    // the body was read to its end
  bool started = false;    // some of it was read

  static BodyFraming None() { return {}; }
  static BodyFraming Length(uint64_t length) { return {Kind::kLength, length, length == 0, false}; }
  static BodyFraming Chunked() { return {Kind::kChunked, 0, false, false}; }
  static BodyFraming UntilClose() { return {Kind::kUntilClose, 0, false, false}; }
};

struct ResponseState {
  HeaderList headers;  // in arrival order, duplicates included
  INT result_code = 0;
  FixedString<kResultTextCapacity> result_text;
  HeaderBlockState block;       // the header block as far as it was read
  std::size_t first_field = 0;  // where the fields of the final response begin
  bool pending = false;         // a request was written and its response header not yet read
  bool server_error = false;    // the last status was 500 or above
  bool reusable = true;         // the connection can carry another request after this response

  // Taken from the fields of the final response.
  bool chunked = false;
  bool close_seen = false;
  bool keep_alive_seen = false;
  bool upgrade_seen = false;
  BodyFraming framing;

  bool redirected = false;  // the response redirects
  int redirect_count = 0;   // redirect responses of this command
  std::string location;     // where to

  // Forgets the last response before a new request.
  void Reset();
};

}  // namespace qv

#endif  // QV_PROTOCOL_RESPONSE_STATE_H_
