#include "transfer/charset.h"

#include <limits>

#include "platform/kernel32.h"

namespace qv {
namespace {

// In the order in which they are tried: UTF-8, the system's code page, then single-byte pages
// before the multi-byte ones.
constexpr UINT kCandidates[] = {CP_UTF8, CP_ACP, 1252,  1253,  1250,  1251,  1254, 1255, 1256,
                                1257,    50220,  51932, 50225, 50227, 20936, 950,  1258};

// One UTF-16 unit takes at most this many bytes in any code page, with room for shift sequences.
constexpr std::size_t kBytesPerUnit = 4;
constexpr std::size_t kLargestLength = std::numeric_limits<int>::max() / 8;

}  // namespace

std::optional<UINT> DetectCodePage(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return std::nullopt;
  for (UINT code_page : kCandidates) {
    if (code_page == CP_ACP) code_page = GetACP();
    const int units = MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(),
                                          static_cast<int>(text.size()), nullptr, 0);
    if (units > 0) return code_page;
  }
  return std::nullopt;
}

Result<std::u16string> WideFromCodePage(std::string_view text, UINT code_page) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return Error(QV_ERROR_INTERNAL_FAILURE);
  }
  const int size = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(code_page, 0, text.data(), size, nullptr, 0);
  if (units <= 0) return Error(QV_ERROR_INTERNAL_FAILURE);
  std::u16string wide(static_cast<std::size_t>(units), u'\0');
  MultiByteToWideChar(code_page, 0, text.data(), size, wide.data(), units);
  return wide;
}

Result<std::string> CodePageFromWide(std::u16string_view text, UINT code_page) {
  if (text.size() > kLargestLength) return Error(QV_ERROR_OUT_OF_MEMORY);
  std::string narrow(text.size() * kBytesPerUnit + kBytesPerUnit, '\0');
  const int length =
      WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
  if (length < 1) return Error(QV_ERROR_INVALID_CODEPAGE);
  narrow.resize(static_cast<std::size_t>(length));
  return narrow;
}

}  // namespace qv
