// Passwords, which do not stay in memory when they are no longer used.
#ifndef QV_FRAME_SECRET_H_
#define QV_FRAME_SECRET_H_

#include <cstddef>
#include <string>

namespace qv {

// Overwrites memory that is not read again, which a compiler may otherwise leave out.
inline void WipeBytes(void* bytes, std::size_t size) {
  auto* volatile_bytes = static_cast<volatile unsigned char*>(bytes);
  for (std::size_t i = 0; i < size; ++i) volatile_bytes[i] = 0;
}

// Empties a text and leaves nothing of it in its memory.
template <class Text>
void Wipe(Text& text) {
  text.resize(text.capacity());  // a shorter text may have replaced a longer one
  WipeBytes(text.data(), text.size() * sizeof(typename Text::value_type));
  text.clear();
}

// A text that is wiped when it ends or is replaced. Each copy is one more place that holds it.
template <class Text>
class BasicSecret {
 public:
  BasicSecret() = default;
  explicit BasicSecret(Text&& text) : text_(text) { Wipe(text); }
  BasicSecret(const BasicSecret& other) = default;
  BasicSecret& operator=(const BasicSecret& other) {
    if (this == &other) return *this;
    Wipe(text_);
    text_ = other.text_;
    return *this;
  }
  ~BasicSecret() { Wipe(text_); }

  const Text& text() const { return text_; }

 private:
  Text text_;
};

using Secret = BasicSecret<std::string>;
using WideSecret = BasicSecret<std::u16string>;

}  // namespace qv

#endif  // QV_FRAME_SECRET_H_
