#include "transfer/one_call_text.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "frame/text.h"
#include "platform/kernel32.h"
#include "url/content_sniffer.h"
#include "url/content_type.h"

namespace qv {
namespace {

constexpr std::size_t kUtf8PerUnit = 3;

std::optional<std::string> StrictUtf8OfBytes(std::string_view data) {
  if (data.size() % sizeof(char16_t) != 0) return std::nullopt;
  std::u16string text(data.size() / sizeof(char16_t), u'\0');
  std::memcpy(text.data(), data.data(), data.size());  // they need not be aligned
  return StrictUtf8(text);
}

// UTF-16 has zero bytes where its characters are ASCII: such bytes are no UTF-16.
bool IsAsciiText(std::string_view data) { return SniffContentType(data).kind == kSniffedText; }

}  // namespace

std::optional<std::string> StrictUtf8(std::u16string_view text) {
  if (text.empty()) return std::string();
  if (text.size() > std::numeric_limits<int>::max() / kUtf8PerUnit) return std::nullopt;
  std::string narrow(text.size() * kUtf8PerUnit, '\0');
  const int length =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                          narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
  if (length <= 0) return std::nullopt;
  narrow.resize(static_cast<std::size_t>(length));
  return narrow;
}

Result<std::string> NarrowRequestData(std::string_view data, bool is_text,
                                      std::string_view content_type) {
  content_type = TrimLeft(content_type);
  const INT content_class = ClassifyContentType(content_type);
  if (!content_type.empty() && content_class == HTTP_CONTENT_UNKNOWN) {
    return Error(QV_ERROR_UNSUPPORTED_MEDIA_TYPE);
  }
  const bool text_type = content_class == HTTP_CONTENT_TEXT;
  const bool may_be_text = content_type.empty() || text_type;
  if (data.empty() || !may_be_text || (!is_text && IsAsciiText(data))) return std::string(data);
  if (std::optional<std::string> narrow = StrictUtf8OfBytes(data)) return *std::move(narrow);
  if (text_type) return Error(QV_ERROR_INVALID_BUFFER);
  return std::string(data);
}

}  // namespace qv
