// Text of limited length: what does not fit is cut, as the interface says for texts in records.
#ifndef QV_FRAME_FIXED_STRING_H_
#define QV_FRAME_FIXED_STRING_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace qv {

// Holds at most Capacity - 1 characters; Capacity counts the terminator. Memory is taken for what
// is stored, not for the capacity.
template <std::size_t Capacity>
class FixedString {
 public:
  static constexpr std::size_t kMaxLength = Capacity - 1;

  FixedString() = default;
  FixedString& operator=(std::string_view text) {
    text_.assign(text.substr(0, kMaxLength));
    return *this;
  }

  void clear() { text_.clear(); }
  bool empty() const { return text_.empty(); }
  std::size_t size() const { return text_.size(); }
  const char* c_str() const { return text_.c_str(); }
  const std::string& str() const { return text_; }
  operator std::string_view() const { return text_; }  // NOLINT(google-explicit-constructor)

 private:
  std::string text_;
};

}  // namespace qv

#endif  // QV_FRAME_FIXED_STRING_H_
