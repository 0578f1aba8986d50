// normaliz.dll: internationalized domain names over libidn2 (RFC 5891, UTS #46).
#include <idn2.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "platform/module.h"
#include "platform/ws2_32.h"

namespace {

constexpr int kIdnFlags = IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL;

int Fail(DWORD error) {
  SetLastError(error);
  return 0;
}

std::string Utf8Of(LPCWSTR text, int length) {
  std::string narrow(static_cast<size_t>(std::max(length, 0)) * 3 + 1, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<size_t>(size));
  return narrow;
}

// Writes UTF-8 text as UTF-16, with the terminator when the source came with one.
int Deliver(std::string_view text, bool terminated, LPWSTR target, int capacity) {
  const int bytes = static_cast<int>(text.size()) + (terminated ? 1 : 0);
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, target, capacity);
}

using IdnText = std::unique_ptr<char, void (*)(void*)>;

// The ASCII form of a name; nothing when it is not a valid one.
IdnText ToAscii(const std::string& name) {
  char* ascii = nullptr;
  if (idn2_to_ascii_8z(name.c_str(), &ascii, kIdnFlags) != IDN2_OK) ascii = nullptr;
  return {ascii, idn2_free};
}

int Convert(LPCWSTR source, int length, LPWSTR target, int capacity, bool to_unicode) {
  if (source == nullptr || length == 0) return Fail(ERROR_INVALID_PARAMETER);
  const bool terminated = length < 0;
  if (terminated) length = lstrlenW(source);
  const IdnText ascii = ToAscii(Utf8Of(source, length));
  if (!ascii) return Fail(ERROR_INVALID_NAME);
  if (!to_unicode) return Deliver(ascii.get(), terminated, target, capacity);
  char* unicode = nullptr;
  if (idn2_to_unicode_8z8z(ascii.get(), &unicode, 0) != IDN2_OK) return Fail(ERROR_INVALID_NAME);
  const IdnText owner(unicode, idn2_free);
  return Deliver(unicode, terminated, target, capacity);
}

int WINAPI IdnToAscii(DWORD /*flags*/, LPCWSTR source, int length, LPWSTR target, int capacity) {
  return Convert(source, length, target, capacity, false);
}

int WINAPI IdnToNameprepUnicode(DWORD /*flags*/, LPCWSTR source, int length, LPWSTR target,
                                int capacity) {
  return Convert(source, length, target, capacity, true);
}

const platform::ModuleExport kExports[] = {
    {"IdnToAscii", platform::ExportAddress(&IdnToAscii)},
    {"IdnToNameprepUnicode", platform::ExportAddress(&IdnToNameprepUnicode)},
};

const platform::Module kModule = {"normaliz.dll", kExports, std::size(kExports),
                                  nullptr,        0,        nullptr};

}  // namespace

extern "C" QVPLATFORM_API const platform::Module* QvGetModuleRecord() { return &kModule; }
