// Request headers from a text of lines, as an application may have it in a file or a constant.
#include <algorithm>
#include <string>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/headers.h"

namespace qv {
namespace {

constexpr std::size_t kLongestLine = 1023;  // what is longer is dropped

// Collects one line: white space is dropped at its start and behind the first colon, and a run of
// it elsewhere becomes one space.
class HeaderLine {
 public:
  void Add(char c) {
    if (IsSpace(c)) {
      if (text_.size() == value_start_ || text_.back() == ' ') return;
      c = ' ';
    }
    if (text_.size() == kLongestLine) return;
    text_.push_back(c);
    if (c == ':' && value_start_ == 0) {
      colon_ = text_.size() - 1;
      value_start_ = text_.size();
    }
  }

  bool blank() const { return Trim(text_).empty(); }
  bool has_colon() const { return value_start_ != 0; }
  std::string_view name() const { return TrimRight(std::string_view(text_).substr(0, colon_)); }
  std::string_view value() const { return TrimRight(std::string_view(text_).substr(value_start_)); }
  void Clear() { *this = HeaderLine(); }

 private:
  std::string text_;
  std::size_t colon_ = 0;
  std::size_t value_start_ = 0;  // behind the colon, 0 before one was seen
};

Error EndLine(Session& session, HeaderLine& line, int& count) {
  if (!line.blank()) {
    if (!line.has_colon()) return QV_ERROR_INVALID_REQUEST_HEADER;
    if (Error error = SetRequestHeader(session, line.name(), line.value())) return error;
    ++count;
  }
  line.Clear();
  return kNoError;
}

}  // namespace

Result<int> AddRequestHeaders(Session& session, std::string_view text) {
  HeaderLine line;
  int count = 0;
  for (char c : text) {
    if (c != '\r' && c != '\n') {
      line.Add(c);
    } else if (Error error = EndLine(session, line, count)) {
      return error;
    }
  }
  if (Error error = EndLine(session, line, count)) return error;
  return count;
}

}  // namespace qv
