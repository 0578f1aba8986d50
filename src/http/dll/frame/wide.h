// Conversion of text for the W forms: UTF-16 outside, UTF-8 inside.
#ifndef QV_FRAME_WIDE_H_
#define QV_FRAME_WIDE_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvplatform.h"

namespace qv {

// Unpaired surrogates become U+FFFD.
std::string Utf8FromWide(std::u16string_view text);

// Malformed sequences become U+FFFD.
std::u16string WideFromUtf8(std::string_view text);

// The same, but nothing for malformed text.
std::optional<std::u16string> WideFromUtf8Strict(std::string_view text);

// A UTF-16 argument as the UTF-8 argument of the A form; NULL stays NULL. Lives as long as the
// call:
//   HttpFooA(hClient, NarrowText(lpszName))
class NarrowText {
 public:
  explicit NarrowText(LPCWSTR text);
  std::string_view view() const { return text_; }                         // empty for NULL
  operator LPCSTR() const { return present_ ? text_.c_str() : nullptr; }  // NOLINT

 private:
  bool present_;
  std::string text_;
};

// The byte buffer in which an A form writes its result for a W caller with room for `capacity`
// characters: NULL when the caller gave none, else big enough for any UTF-8 of that many
// characters.
class NarrowBuffer {
 public:
  NarrowBuffer(LPCWSTR target, INT capacity);

  LPSTR data() { return present_ ? bytes_.data() : nullptr; }
  INT capacity() const;
  std::string_view text() const { return bytes_.data(); }  // up to the terminator

 private:
  bool present_;
  std::vector<char> bytes_;
};

// Copies text with a terminator into a buffer of `capacity` characters, cut to fit (never between
// the halves of a surrogate pair); returns the length copied.
INT CopyWide(std::u16string_view text, LPWSTR target, INT capacity);

// Copies text with a terminator, cut to fit; returns the length copied.
INT CopyText(std::string_view text, LPSTR target, INT capacity);

}  // namespace qv

#endif  // QV_FRAME_WIDE_H_
