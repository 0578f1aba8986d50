// normaliz.dll: internationalized domain names over libidn2 (RFC 5891, UTS #46).
//
// A name is converted label by label. Labels in ASCII only change their case: hosts use forms that
// the rules for internationalized labels forbid, such as hyphens in the third and fourth place.
#include <idn2.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "platform/module.h"
#include "platform/ws2_32.h"

namespace {

constexpr int kIdnFlags = IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL;
constexpr std::size_t kMaxLabel = 63;  // characters (RFC 1035 section 2.3.4)
constexpr int kMaxName = 255;
constexpr std::size_t kMaxUtf8PerUnit = 3;

enum class Form { kAscii, kUnicode };

int Fail(DWORD error) {
  SetLastError(error);
  return 0;
}

// The full stops of UTS #46 section 2.3.
bool IsFullStop(WCHAR c) { return c == u'.' || c == u'\u3002' || c == u'\uFF0E' || c == u'\uFF61'; }

bool IsControl(char c) {
  constexpr unsigned char kLastControl = 0x1F;
  constexpr unsigned char kDelete = 0x7F;
  const auto byte = static_cast<unsigned char>(c);
  return byte <= kLastControl || byte == kDelete;
}

bool IsHostCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// In UTF-8, with ASCII full stops; nothing for what is no well-formed text.
std::optional<std::string> Utf8Of(std::u16string text) {
  std::replace_if(text.begin(), text.end(), IsFullStop, u'.');
  std::string narrow(text.size() * kMaxUtf8PerUnit, '\0');
  const int size =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                          narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
  if (size <= 0) return std::nullopt;
  narrow.resize(static_cast<std::size_t>(size));
  return narrow;
}

using IdnText = std::unique_ptr<char, void (*)(void*)>;

// Throws what an allocation in the IDN library means here; otherwise whether it succeeded.
bool Succeeded(int code) {
  if (code == IDN2_MALLOC) throw std::bad_alloc();
  return code == IDN2_OK;
}

std::optional<std::string> ConvertLabel(const std::string& label, Form form) {
  if (std::any_of(label.begin(), label.end(), IsControl)) return std::nullopt;
  const bool is_ascii = std::none_of(label.begin(), label.end(),
                                     [](char c) { return static_cast<signed char>(c) < 0; });
  if (is_ascii) {
    if (label.size() > kMaxLabel) return std::nullopt;
    std::string lower(label);
    std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
    return lower;
  }
  char* converted = nullptr;
  if (!Succeeded(idn2_to_ascii_8z(label.c_str(), &converted, kIdnFlags))) return std::nullopt;
  const IdnText ascii(converted, idn2_free);
  // Some letters turn into a slash, a full stop or another delimiter: such a name would lead to a
  // host other than the one it shows.
  const std::string_view text(ascii.get());
  if (!std::all_of(text.begin(), text.end(), IsHostCharacter)) return std::nullopt;
  if (form == Form::kAscii) return std::string(text);
  if (!Succeeded(idn2_to_unicode_8z8z(ascii.get(), &converted, 0))) return std::nullopt;
  return IdnText(converted, idn2_free).get();
}

// The name in one of its forms, in UTF-8; nothing when it is not a valid name.
std::optional<std::string> ConvertName(const std::string& name, Form form) {
  std::string result;
  std::size_t start = 0;
  while (start < name.size()) {
    const std::size_t end = std::min(name.find('.', start), name.size());
    if (end == start) return std::nullopt;  // only the root, at the end, has no text
    const auto label = ConvertLabel(name.substr(start, end - start), form);
    if (!label || label->empty()) return std::nullopt;
    result += *label;
    if (end < name.size()) result += '.';
    start = end + 1;
  }
  if (result.empty() || result.size() > kMaxName * kMaxUtf8PerUnit) return std::nullopt;
  if (form == Form::kAscii && result.size() > kMaxName) return std::nullopt;
  return result;
}

int Convert(LPCWSTR source, int length, LPWSTR target, int capacity, Form form) noexcept try {
  if (source == nullptr || length == 0 || length < -1) return Fail(ERROR_INVALID_PARAMETER);
  const bool terminated = length < 0;
  if (terminated) length = lstrlenW(source);
  if (length == 0 || length > kMaxName) return Fail(ERROR_INVALID_NAME);
  const auto name = Utf8Of({source, static_cast<std::size_t>(length)});
  if (!name) return Fail(ERROR_INVALID_NAME);
  const auto converted = ConvertName(*name, form);
  if (!converted) return Fail(ERROR_INVALID_NAME);
  const int bytes = static_cast<int>(converted->size()) + (terminated ? 1 : 0);
  return MultiByteToWideChar(CP_UTF8, 0, converted->c_str(), bytes, target, capacity);
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

int WINAPI IdnToAscii(DWORD /*flags*/, LPCWSTR source, int length, LPWSTR target,
                      int capacity) noexcept {
  return Convert(source, length, target, capacity, Form::kAscii);
}

int WINAPI IdnToNameprepUnicode(DWORD /*flags*/, LPCWSTR source, int length, LPWSTR target,
                                int capacity) noexcept {
  return Convert(source, length, target, capacity, Form::kUnicode);
}

const platform::ModuleExport kExports[] = {
    {"IdnToAscii", platform::ExportAddress(&IdnToAscii)},
    {"IdnToNameprepUnicode", platform::ExportAddress(&IdnToNameprepUnicode)},
};

const platform::Module kModule = {"normaliz.dll", kExports, std::size(kExports),
                                  nullptr,        0,        nullptr};

}  // namespace

extern "C" QVPLATFORM_API const platform::Module* QvGetModuleRecord() { return &kModule; }
