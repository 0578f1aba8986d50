#include "url/content_sniffer.h"

#include <algorithm>

#include "frame/text.h"

namespace qv {
namespace {

constexpr std::size_t kMostScanned = 4096;
constexpr char kFirstPrintable = ' ';
constexpr char kLastPrintable = '~';
constexpr std::string_view kXmlOpening = "<?";

bool IsTextByte(char c) {
  if (c == '\b' || c == '\t' || c == '\n' || c == '\r') return true;
  return c >= kFirstPrintable && c <= kLastPrintable;
}

std::string_view GuessTextType(std::string_view text) {
  if (text.size() > kXmlOpening.size() && text.starts_with(kXmlOpening)) return "application/xml";
  if (text.starts_with('[') || text.starts_with('{')) return "application/json";
  return "text/plain";
}

}  // namespace

SniffedType SniffContentType(std::string_view data) {
  if (data.empty()) return {};
  const std::string_view text = TrimLeft(data);
  const std::string_view scanned = text.substr(0, kMostScanned);
  if (!std::all_of(scanned.begin(), scanned.end(), IsTextByte)) {
    return {kSniffedBinary, "application/octet-stream"};
  }
  return {kSniffedText, GuessTextType(text)};
}

}  // namespace qv
