// Line ends of text that comes in pieces.
#ifndef QV_TRANSFER_LINE_END_STREAM_H_
#define QV_TRANSFER_LINE_END_STREAM_H_

#include <string>
#include <string_view>

namespace qv {

// Inserts a CR before each LF that does not follow one, also when the two come in different pieces.
class LineEndStream {
 public:
  // The converted piece; valid until the next call.
  std::string_view Convert(std::string_view piece) {
    converted_.clear();
    for (char c : piece) {
      if (c == '\n' && last_ != '\r') converted_ += '\r';
      converted_ += last_ = c;
    }
    return converted_;
  }

 private:
  std::string converted_;
  char last_ = '\0';
};

}  // namespace qv

#endif  // QV_TRANSFER_LINE_END_STREAM_H_
