#include "kernel32/charset_converter.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

#include "kernel32/code_page_names.h"
#include "kernel32/utf.h"

namespace platform {
namespace {

// UTF-16 of this machine's byte order and without a byte-order mark.
constexpr const char* kUtf16Name =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "UTF-16LE" : "UTF-16BE";

// A converter that appends to a string, whatever the unit of the string is.
class Converter {
 public:
  Converter(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {}
  ~Converter() {
    if (IsOpen()) iconv_close(descriptor_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

  // Converts until the source ends or holds something that cannot be converted, and takes what was
  // converted off the source. 0, or EILSEQ or EINVAL (the source ends inside a character).
  template <typename Unit>
  int Append(std::string_view* source, std::basic_string<Unit>* target) {
    char* from = const_cast<char*>(source->data());
    size_t from_left = source->size();
    const int error = Run(&from, &from_left, target);
    *source = std::string_view(from, from_left);
    return error;
  }

  // Returns to the initial shift state.
  template <typename Unit>
  void AppendReset(std::basic_string<Unit>* target) {
    Run(nullptr, nullptr, target);
  }

 private:
  template <typename Unit>
  int Run(char** from, size_t* from_left, std::basic_string<Unit>* target) {
    constexpr size_t kPieceBytes = 1024;
    alignas(Unit) char piece[kPieceBytes];
    for (;;) {
      char* to = piece;
      size_t to_left = sizeof(piece);
      const size_t result = iconv(descriptor_, from, from_left, &to, &to_left);
      const int error = result == static_cast<size_t>(-1) ? errno : 0;
      target->append(reinterpret_cast<const Unit*>(piece),
                     static_cast<size_t>(to - piece) / sizeof(Unit));
      if (error != E2BIG) return error;
    }
  }

  iconv_t descriptor_;
};

std::string_view BytesOf(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

// The bytes of the first character of UTF-16 text.
size_t FirstCharacterBytes(std::string_view utf16) {
  char16_t units[2] = {};
  std::memcpy(units, utf16.data(), utf16.size() < sizeof(units) ? utf16.size() : sizeof(units));
  const bool pair = IsHighSurrogate(units[0]) && IsLowSurrogate(units[1]);
  return pair ? sizeof(units) : sizeof(units[0]);
}

void AppendDefault(Converter& converter, LPCSTR default_char, std::string* target) {
  if (default_char != nullptr) {
    converter.AppendReset(target);
    target->append(default_char);
    return;
  }
  std::string_view question_mark = BytesOf(u"?");
  converter.Append(&question_mark, target);
}

}  // namespace

bool HasConverter(UINT code_page) noexcept {
  const char* const name = ConverterName(code_page);
  return name != nullptr && Converter(kUtf16Name, name).IsOpen() &&
         Converter(name, kUtf16Name).IsOpen();
}

bool DecodeCodePage(UINT code_page, std::string_view source, std::u16string* target, bool* valid) {
  const char* const name = ConverterName(code_page);
  if (name == nullptr) return false;
  Converter converter(kUtf16Name, name);
  if (!converter.IsOpen()) return false;
  *valid = true;
  while (!source.empty() && converter.Append(&source, target) != 0) {
    *valid = false;
    target->push_back(static_cast<char16_t>(kReplacementCharacter));
    if (!source.empty()) source.remove_prefix(1);
  }
  converter.AppendReset(target);
  return true;
}

bool EncodeCodePage(UINT code_page, std::u16string_view source, LPCSTR default_char,
                    std::string* target, bool* used_default) {
  const char* const name = ConverterName(code_page);
  if (name == nullptr) return false;
  Converter converter(name, kUtf16Name);
  if (!converter.IsOpen()) return false;
  *used_default = false;
  std::string_view bytes = BytesOf(source);
  while (!bytes.empty() && converter.Append(&bytes, target) != 0) {
    *used_default = true;
    AppendDefault(converter, default_char, target);
    if (!bytes.empty()) bytes.remove_prefix(FirstCharacterBytes(bytes));
  }
  converter.AppendReset(target);
  return true;
}

}  // namespace platform
